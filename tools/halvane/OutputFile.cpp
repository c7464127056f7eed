#include "OutputFile.h"

#include <sys/stat.h>

#include "Command.h"

namespace halvane::cli {

void checkOutputPath(const std::string& input, const std::string& output, bool overwrite) {
  struct stat in {}, out {};
  // stat follows links: a link to the input, or a hard link, is the input itself.
  if (::stat(input.c_str(), &in) == 0 && ::stat(output.c_str(), &out) == 0 && in.st_dev == out.st_dev &&
      in.st_ino == out.st_ino) {
    throw CommandError(output + ": is the input file; the source is never replaced, choose another output");
  }
  if (!overwrite && ::lstat(output.c_str(), &out) == 0) {
    throw CommandError(output + ": already exists (-y or --overwrite replaces it)");
  }
}

}  // namespace halvane::cli
