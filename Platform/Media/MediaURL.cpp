#include "Platform/Media/MediaURL.h"

#include <string_view>

namespace platform::media {

namespace {

int hexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

}  // namespace

std::string pathFromURL(const std::string& urlOrPath) {
  constexpr std::string_view scheme = "file://";
  constexpr std::string_view localHost = "localhost";
  std::string_view rest(urlOrPath);
  if (!rest.starts_with(scheme)) return urlOrPath;
  rest.remove_prefix(scheme.size());
  if (rest.starts_with(localHost) && rest.substr(localHost.size()).starts_with('/')) rest.remove_prefix(localHost.size());
  std::string path;
  path.reserve(rest.size());
  for (std::size_t i = 0; i < rest.size(); ++i) {
    const int high = rest[i] == '%' && i + 2 < rest.size() ? hexValue(rest[i + 1]) : -1;
    const int low = high >= 0 ? hexValue(rest[i + 2]) : -1;
    // %00 stays as it stands: a NUL would cut the path short and name another file.
    if (low >= 0 && high * 16 + low != 0) {
      path += char(high * 16 + low);
      i += 2;
    } else {
      path += rest[i];
    }
  }
  return path;
}

}  // namespace platform::media
