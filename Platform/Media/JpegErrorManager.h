#pragma once
// Private to Platform/Media. libjpeg's default error handler prints and calls exit();
// this one keeps the message and longjmps back to the setjmp of the caller, and it
// silences warnings (the program writes no log). Each function that calls setjmp on
// it holds no C++ object of its own that a longjmp could skip: state lives in the
// caller's frame and is reached through pointers.
#ifndef HALVANE_INSIDE_PlatformMedia
#error "a private header of Platform/Media: include its public headers"
#endif
#include <csetjmp>
#include <cstdio>  // jpeglib.h needs FILE and size_t first

#include <jpeglib.h>

namespace platform::media::detail {

struct JpegErrorManager {
  jpeg_error_mgr manager;
  std::jmp_buf jump;
  char message[JMSG_LENGTH_MAX];

  // Installs the handlers on info; call before jpeg_create_*.
  void attach(jpeg_common_struct* info) {
    message[0] = '\0';
    info->err = jpeg_std_error(&manager);
    manager.error_exit = [](j_common_ptr owner) {
      auto* self = reinterpret_cast<JpegErrorManager*>(owner->err);
      (*owner->err->format_message)(owner, self->message);
      std::longjmp(self->jump, 1);
    };
    manager.output_message = [](j_common_ptr) {};
  }
};

}  // namespace platform::media::detail
