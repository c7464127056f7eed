#pragma once
// The one conversion from the URLs the engine passes around to file system paths:
// "file:///home/user/a%20b.mov" and "file://localhost/home/user/a%20b.mov" give
// "/home/user/a b.mov"; anything without the file:// scheme is a path already and is
// kept exactly as it is ("a%20b.mov" names a file with a percent sign). Every place
// where a URL becomes a path goes through here, so that the file written and the file
// removed are always the same.
#include <string>

namespace platform::media {

std::string pathFromURL(const std::string& urlOrPath);

}  // namespace platform::media
