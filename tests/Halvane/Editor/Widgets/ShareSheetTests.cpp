// The desktop share sheet: the name it suggests, the all-or-nothing copy of a file, a
// picture saved as a JPEG of its size, and its single report when it closes.
#include <gtest/gtest.h>

#include <QApplication>

#include <filesystem>
#include <fstream>

#include "Halvane/Editor/Widgets/ShareSheet.h"
#include "Platform/Media/ImageDecoder.h"
#include "Support/TestFiles.h"

namespace halvane::editor {
namespace {

namespace fs = std::filesystem;

fs::path writeFile(const fs::path& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
  return path;
}

std::string readFile(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

TEST(ShareOffer, SuggestsANameFromTheSource) {
  struct Case {
    ShareOffer offer;
    std::string expected;
  };
  const Case cases[] = {
      {{platform::media::Image{}, "hopper.png", true}, "hopper-edited.jpg"},
      {{fs::path("/tmp/4F2A.mov"), "train.mov", false}, "train-edited.mov"},
      {{fs::path("/tmp/x.jpg"), "", true}, "photo-edited.jpg"},
      {{fs::path("/tmp/noextension"), "", false}, "video-edited.jpg"},
      {{fs::path("/tmp/a.mov"), "archive.tar.mov", false}, "archive.tar-edited.mov"},
  };
  for (const auto& c : cases) EXPECT_EQ(suggestedFileName(c.offer), c.expected) << c.offer.sourceName;
}

TEST(ShareOffer, CopiesAFileWholeOrNotAtAll) {
  const fs::path folder = fs::path(testsupport::temporaryFolder()) / "share-copy";
  fs::create_directories(folder);
  const fs::path source = writeFile(folder / "source.mov", "movie bytes");
  const fs::path target = writeFile(folder / "target.mov", "an older file");

  EXPECT_EQ(copyFileAtomically(source, target), "");
  EXPECT_EQ(readFile(target), "movie bytes");
  EXPECT_NE(copyFileAtomically(source, source), "");
  EXPECT_EQ(readFile(source), "movie bytes");
  EXPECT_NE(copyFileAtomically(source, folder / "missing" / "target.mov"), "");
  EXPECT_NE(copyFileAtomically(folder / "gone.mov", target), "");
  EXPECT_EQ(readFile(target), "movie bytes");
  // Nothing half-written is left beside the targets.
  EXPECT_EQ(std::distance(fs::directory_iterator(folder), fs::directory_iterator()), 2);
}

TEST(ShareSheet, SavesAPictureAsAJpegOfItsSizeAndReportsOnceWhenClosed) {
  auto photo = platform::media::decodeImageFile(testsupport::sample("photo/hopper.png"));
  ASSERT_TRUE(photo);
  const int width = photo.value().width;
  const int height = photo.value().height;
  int finished = 0;
  auto* sheet = ShareSheet::present({std::move(photo.value()), "hopper.png", true}, nullptr, [&] { ++finished; });
  const fs::path target = fs::path(testsupport::temporaryFolder()) / "saved.jpg";
  ASSERT_TRUE(sheet->saveTo(QString::fromStdString(target.string())));
  auto saved = platform::media::decodeImageFile(target);
  ASSERT_TRUE(saved) << saved.error().message;
  EXPECT_EQ(saved.value().width, width);
  EXPECT_EQ(saved.value().height, height);
  // A folder that is not there: an error in the sheet, nothing written.
  EXPECT_FALSE(sheet->saveTo(QString::fromStdString((target.parent_path() / "missing" / "x.jpg").string())));

  EXPECT_EQ(finished, 0);
  sheet->reject();
  QCoreApplication::processEvents();
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  EXPECT_EQ(finished, 1);
}

}  // namespace
}  // namespace halvane::editor
