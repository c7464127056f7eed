#include "Halvane/Import/MediaPickerResult.h"

namespace halvane {

std::string MediaPickerError::localizedDescription() const {
  switch (kind) {
    case Kind::loadFailed:
      return underlying ? "Failed to load media: " + *underlying : std::string("Failed to load media");
    case Kind::cancelled: return "Selection was cancelled";
    case Kind::unsupportedType: return "Unsupported media type";
  }
  return "Failed to load media";
}

}  // namespace halvane
