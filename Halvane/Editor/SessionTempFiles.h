#pragma once
// The temporary files of one editing session and who owns them. A file has one owner
// at a time: the picker's photo file and a source video in the temporary folder are
// the session's; the export's movie is the session's until it is handed to the host,
// after which the host owns it and teardown leaves it alone. Deletions ignore errors.
// Main thread only.
#include <filesystem>
#include <optional>
#include <set>

namespace halvane {

// The application's folder of temporary files for this user, halvane-UID in $TMPDIR or
// /tmp. Only the path: nothing is made.
std::filesystem::path temporaryDirectory();
// The same folder, made first when missing (readable by its owner only), for a writer
// about to put a file there. A folder that cannot be made shows as that writer's error.
std::filesystem::path makeTemporaryDirectory();
// True when `url` really lies inside that folder (links resolved). Makes nothing.
bool isInTemporaryDirectory(const std::filesystem::path& url);

class SessionTempFiles {
 public:
  // The file the picker left for this photo.
  std::optional<std::filesystem::path> sourceImageFileURL;
  // The source video, when it lies in the temporary folder (then it is ours to delete).
  std::optional<std::filesystem::path> ownedSourceVideoURL;
  bool isVideoURLOwned() const { return ownedSourceVideoURL.has_value(); }
  // The file of the latest video export.
  std::optional<std::filesystem::path> videoTempURL;
  // Files handed to the host: they must survive the session.
  std::set<std::filesystem::path> delegateDeliveredVideoURLs;

  bool isDelivered(const std::filesystem::path& url) const { return delegateDeliveredVideoURLs.count(url) > 0; }
  void markDelivered(const std::filesystem::path& url) { delegateDeliveredVideoURLs.insert(url); }

  // A fresh movie name in the temporary folder; the earlier export's file is deleted
  // unless it was delivered.
  std::filesystem::path beginVideoExport();

  // Deletes the photo file, the owned source video unless delivered, and the latest
  // export unless delivered. Safe to run again.
  void cleanupTempFiles();
};

}  // namespace halvane
