// One codec operation per process, for run.sh to time beside vips and ImageMagick,
// which also start a process per operation.
//   CodecsCli prepare OUT.jpg OUT.bgra   the 12-megapixel input: JPEG (quality 0.9) and
//                                        its decoded pixels as raw BGRA, so that every
//                                        encoder starts from the pixels every decoder
//                                        gets; prints "WIDTH HEIGHT"
//   CodecsCli decode IN                  decodes any supported image fully
//   CodecsCli encode IN.bgra W H Q OUT   encodes raw BGRA at quality Q (0 to 1)
//   CodecsCli help                       prints this usage: the cost of starting
// The encode maps its input, as vips does with its own format, and writes with a plain
// write, as the peers do, not through the flushed temporary file of writeJPEG, so that
// all three pay the same file-system costs.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include "CodecsInput.h"
#include "Platform/Media/ImageDecoder.h"
#include "Platform/Media/ImageEncoder.h"

namespace {

using namespace platform::media;

bool writePlain(const char* path, const std::uint8_t* data, std::size_t size) {
  std::ofstream out(path, std::ios::binary);
  out.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  return static_cast<bool>(out);
}

int usage(std::FILE* out = stderr) {
  std::fprintf(out,
               "usage: CodecsCli prepare OUT.jpg OUT.bgra\n"
               "       CodecsCli decode IN\n"
               "       CodecsCli encode IN.bgra WIDTH HEIGHT QUALITY OUT.jpg\n"
               "       CodecsCli help\n");
  return out == stderr ? 2 : 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return usage();
  const std::string command = argv[1];
  if (command == "help") return usage(stdout);
  if (command == "prepare" && argc == 4) {
    auto input = codecs_bench::loadInput();
    if (!input) return 1;
    auto pixels = decodeImage(input->jpeg);
    if (!pixels) {
      std::fprintf(stderr, "%s\n", pixels.error().message.c_str());
      return 1;
    }
    if (!writePlain(argv[2], input->jpeg.data(), input->jpeg.size()) ||
        !writePlain(argv[3], pixels->pixels.data(), pixels->pixels.size())) {
      std::fprintf(stderr, "cannot write the input files\n");
      return 1;
    }
    std::printf("%d %d\n", input->photo.width, input->photo.height);
    return 0;
  }
  if (command == "decode" && argc == 3) {
    auto image = decodeImageFile(argv[2]);
    if (!image) {
      std::fprintf(stderr, "%s\n", image.error().message.c_str());
      return 1;
    }
    return 0;
  }
  if (command == "encode" && argc == 7) {
    const int fd = ::open(argv[2], O_RDONLY | O_CLOEXEC);
    struct stat info {};
    if (fd < 0 || ::fstat(fd, &info) != 0) {
      std::fprintf(stderr, "cannot open %s\n", argv[2]);
      return 1;
    }
    BgraView view;
    view.width = std::atoi(argv[3]);
    view.height = std::atoi(argv[4]);
    view.bytesPerRow = static_cast<std::size_t>(view.width) * 4;
    const std::size_t size = view.bytesPerRow * static_cast<std::size_t>(std::max(view.height, 0));
    if (static_cast<std::size_t>(info.st_size) < size || size == 0) {
      std::fprintf(stderr, "%s is smaller than %s x %s BGRA pixels\n", argv[2], argv[3], argv[4]);
      return 1;
    }
    void* mapped = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE, fd, 0);
    ::close(fd);
    if (mapped == MAP_FAILED) {
      std::fprintf(stderr, "cannot map %s\n", argv[2]);
      return 1;
    }
    view.pixels = static_cast<const std::uint8_t*>(mapped);
    auto jpeg = encodeJPEG(view, std::atof(argv[5]));
    ::munmap(mapped, size);
    if (!jpeg) {
      std::fprintf(stderr, "%s\n", jpeg.error().message.c_str());
      return 1;
    }
    return writePlain(argv[6], jpeg->data(), jpeg->size()) ? 0 : 1;
  }
  return usage();
}
