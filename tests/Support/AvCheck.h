#pragma once
// Test clip makers stop at the first FFmpeg failure with its text.
extern "C" {
#include <libavutil/error.h>
}

#include <stdexcept>
#include <string>

namespace testsupport {

inline void avCheck(int status, const char* what) {
  if (status < 0) {
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(status, text, sizeof text);
    throw std::runtime_error(std::string(what) + ": " + text);
  }
}

}  // namespace testsupport
