#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "Halvane/Rendering/RenderingEngine.h"
#include "Platform/Media/ImageDecoder.h"
#include "ToolRunner.h"

namespace halvane {
namespace {

namespace fs = std::filesystem;
using testing::runTool;

class HalvaneTool : public ::testing::Test {
 protected:
  void SetUp() override {
    folder = fs::temp_directory_path() / ("halvane-tool-" + std::to_string(::getpid()));
    fs::create_directories(folder);
  }
  void TearDown() override { fs::remove_all(folder); }
  fs::path folder;
};

fs::path sample(const char* relative) { return fs::path(HALVANE_MEDIA_DIR) / relative; }

std::vector<uint8_t> fileBytes(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return std::vector<uint8_t>(std::istreambuf_iterator<char>(file), {});
}

// Every sample photo comes out upright (a quarter turn swaps the sides) at full size;
// classic-car.heic among them is the tiled phone HEIC that comes out portrait.
TEST_F(HalvaneTool, RendersEverySamplePhotoUprightAtItsSize) {
  int rendered = 0;
  for (const char* sampleFolder : {"photo", "exif-orientation", "livephoto"}) {
    for (const auto& entry : fs::directory_iterator(sample(sampleFolder))) {
      const fs::path& photo = entry.path();
      const auto extension = photo.extension().string();
      if (extension != ".jpg" && extension != ".png" && extension != ".webp" && extension != ".heic" &&
          extension != ".HEIC")
        continue;
      auto source = platform::media::decodeImageFile(photo);
      ASSERT_TRUE(source) << photo;
      const auto output = folder / (photo.stem().string() + ".jpg");
      const auto result = runTool({"render", photo.string(), output.string()});
      ASSERT_EQ(result.exitStatus, 0) << photo << ": " << result.standardError;
      auto written = platform::media::decodeImageFile(output);
      ASSERT_TRUE(written) << photo;
      const int raw = int(source->orientation);
      const bool swapped = raw == 2 || raw == 3 || raw == 6 || raw == 7;
      EXPECT_EQ(written->width, swapped ? source->height : source->width) << photo;
      EXPECT_EQ(written->height, swapped ? source->width : source->height) << photo;
      EXPECT_EQ(written->orientation, platform::media::ImageOrientation::up) << photo;
      fs::remove(output);
      ++rendered;
    }
  }
  EXPECT_GE(rendered, 15);
}

TEST_F(HalvaneTool, CropAndTurnFollowOutputSize) {
  const auto input = sample("exif-orientation/Landscape_0.jpg");
  auto source = platform::media::decodeImageFile(input);
  ASSERT_TRUE(source);
  const auto output = folder / "turned.jpg";
  const auto result = runTool({"render", input.string(), output.string(), "--set", "rotationQuarterTurns=1", "--set",
                               "cropRect=[[0.1,0.2],[0.5,0.3]]"});
  ASSERT_EQ(result.exitStatus, 0) << result.standardError;
  EditState state;
  state.rotationQuarterTurns = 1;
  state.cropRect = {0.1, 0.2, 0.5, 0.3};
  const auto size = RenderingEngine::outputSize(uint64_t(source->width), uint64_t(source->height), state);
  auto written = platform::media::decodeImageFile(output);
  ASSERT_TRUE(written);
  EXPECT_EQ(written->width, int(size.width));
  EXPECT_EQ(written->height, int(size.height));
}

TEST_F(HalvaneTool, CompressedPresetLimitsTheLongestSide) {
  const auto output = folder / "small.jpg";
  const auto result = runTool({"render", sample("photo/sewing-threads.heic").string(),
                               output.string(), "--preset", "compressed"});
  ASSERT_EQ(result.exitStatus, 0) << result.standardError;
  auto written = platform::media::decodeImageFile(output);
  ASSERT_TRUE(written);
  EXPECT_EQ(std::max(written->width, written->height), 2048);
}

TEST_F(HalvaneTool, FailuresExplainThemselvesAndLeaveNoFile) {
  const auto output = folder / "out.jpg";
  const auto landscape = (sample("exif-orientation/Landscape_0.jpg")).string();
  const auto text = folder / "text.jpg";
  std::ofstream(text) << "not a picture";
  std::ofstream(folder / "empty.jpg").flush();
  const std::vector<std::vector<std::string>> failing = {
      {"render", (folder / "missing.jpg").string(), output.string()},
      {"render", text.string(), output.string()},
      {"render", (folder / "empty.jpg").string(), output.string()},
      {"render", landscape, output.string(), "--set", "exposure=7"},
      {"render", landscape, output.string(), "--set", "noSuchField=1"},
      {"render", landscape, output.string(), "--set", "exposure"},
      {"render", landscape, output.string(), "--preset", "huge"},
      {"render", landscape, output.string(), "--edit", (folder / "missing.json").string()},
      {"render", landscape},
      {"render", landscape, (folder / "no/such/folder/out.jpg").string()},
  };
  for (const auto& arguments : failing) {
    const auto result = runTool(arguments);
    EXPECT_NE(result.exitStatus, 0) << arguments.back();
    EXPECT_FALSE(result.standardError.empty()) << arguments.back();
    EXPECT_FALSE(fs::exists(output)) << arguments.back();
  }
  // Nothing but the test's own two inputs is left in the folder.
  EXPECT_EQ(std::distance(fs::directory_iterator(folder), fs::directory_iterator()), 2);
}

TEST_F(HalvaneTool, EditFileAndSettingsCombine) {
  const auto edit = folder / "edit.json";
  std::ofstream(edit) << R"({"exposure": 1.5, "filterType": 12})";
  const auto result = runTool({"edit", "--print", "--edit", edit.string(), "--set", "contrast=1.25"});
  ASSERT_EQ(result.exitStatus, 0) << result.standardError;
  EXPECT_NE(result.standardOutput.find("\"exposure\": 1.5"), std::string::npos);
  EXPECT_NE(result.standardOutput.find("\"filterType\": 12"), std::string::npos);
  EXPECT_NE(result.standardOutput.find("\"contrast\": 1.25"), std::string::npos);
  std::ofstream(edit) << "[1, 2]";
  EXPECT_NE(runTool({"edit", "--print", "--edit", edit.string()}).exitStatus, 0);
}

TEST_F(HalvaneTool, PreviewRunsTheFrameLoopAndWritesTheLastFrame) {
  const auto script = folder / "script.json";
  std::ofstream(script) << R"([{"tick": 2, "set": {"rotationQuarterTurns": 1}}, {"tick": 4, "set": {"exposure": 1}}])";
  const auto output = folder / "frame.png";
  const auto result = runTool({"preview", sample("photo/hopper.png").string(), output.string(),
                               "--ticks", "8", "--size", "200x100", "--script", script.string()});
  ASSERT_EQ(result.exitStatus, 0) << result.standardError;
  auto frame = platform::media::decodeImageFile(output);
  ASSERT_TRUE(frame);
  EXPECT_EQ(frame->width, 200);
  EXPECT_EQ(frame->height, 100);
  // A square picture in a wide frame: black bars left and right, picture in the middle.
  EXPECT_EQ(frame->pixel(5, 50)[1], 0);
  EXPECT_GT(int(frame->pixel(100, 50)[0]) + frame->pixel(100, 50)[1] + frame->pixel(100, 50)[2], 0);
  std::ofstream(script) << "{}";
  EXPECT_NE(runTool({"preview", "x.png", output.string(), "--script", script.string()}).exitStatus, 0);
}

TEST_F(HalvaneTool, PrintsTheDefaultEditAndTheCatalogue) {
  const auto edit = runTool({"edit", "--print-default"});
  ASSERT_EQ(edit.exitStatus, 0);
  EXPECT_EQ(edit.standardOutput.find("\"version\""), edit.standardOutput.find('"'));
  EXPECT_NE(edit.standardOutput.find("\"cropRect\""), std::string::npos);
  const auto filters = runTool({"filters"});
  ASSERT_EQ(filters.exitStatus, 0);
  EXPECT_EQ(std::count(filters.standardOutput.begin(), filters.standardOutput.end(), '\n'), 146 + 11);
}

TEST_F(HalvaneTool, TheInputIsNeverReplaced) {
  const auto input = folder / "in.jpg";
  fs::copy_file(sample("exif-orientation/Landscape_0.jpg"), input);
  fs::create_symlink(input, folder / "link.jpg");
  fs::create_hard_link(input, folder / "hard.jpg");
  fs::create_directory(folder / "sub");
  const auto before = fileBytes(input);
  for (const fs::path& output : {input, folder / "." / "in.jpg", folder / "sub" / ".." / "in.jpg", folder / "link.jpg",
                                 folder / "hard.jpg"}) {
    for (const bool overwrite : {true, false}) {
      std::vector<std::string> arguments = {"render", input.string(), output.string()};
      if (overwrite) arguments.push_back("-y");
      const auto result = runTool(arguments);
      EXPECT_EQ(result.exitStatus, 1) << output;
      EXPECT_NE(result.standardError.find("is the input file"), std::string::npos) << result.standardError;
    }
  }
  EXPECT_EQ(fileBytes(input), before);
}

TEST_F(HalvaneTool, TheOutputTypeFollowsItsNameAndAnExistingOneNeedsOverwrite) {
  const auto input = sample("photo/hopper.png").string();
  const auto png = folder / "out.PNG";
  ASSERT_EQ(runTool({"render", input, png.string()}).exitStatus, 0);
  const auto bytes = fileBytes(png);
  ASSERT_GE(bytes.size(), 8u);
  EXPECT_EQ(std::vector<uint8_t>(bytes.begin(), bytes.begin() + 4), (std::vector<uint8_t>{0x89, 'P', 'N', 'G'}));

  std::ofstream(folder / "old.jpg") << "keep me";
  const auto kept = runTool({"render", input, (folder / "old.jpg").string()});
  EXPECT_EQ(kept.exitStatus, 1);
  EXPECT_NE(kept.standardError.find("already exists"), std::string::npos) << kept.standardError;
  EXPECT_EQ(fileBytes(folder / "old.jpg").size(), 7u);
  ASSERT_EQ(runTool({"render", input, (folder / "old.jpg").string(), "--overwrite"}).exitStatus, 0);
  auto replaced = platform::media::decodeImageFile(folder / "old.jpg");
  ASSERT_TRUE(replaced);
  EXPECT_EQ(fileBytes(folder / "old.jpg")[0], 0xFF);

  EXPECT_EQ(runTool({"render", input, (folder / "out.tif").string()}).exitStatus, 2);
  EXPECT_FALSE(fs::exists(folder / "out.tif"));
  EXPECT_EQ(std::distance(fs::directory_iterator(folder), fs::directory_iterator()), 2);
}

TEST_F(HalvaneTool, DeeplyNestedEditsAreRefusedClearly) {
  const std::string deep = std::string(60000, '[') + std::string(60000, ']');
  std::ofstream(folder / "deep.json") << "{\"exposure\": " << deep << "}";
  const auto file = runTool({"edit", "--print", "--edit", (folder / "deep.json").string()});
  EXPECT_EQ(file.exitStatus, 1);
  EXPECT_NE(file.standardError.find("nested more than"), std::string::npos) << file.standardError;
  const auto setting = runTool({"edit", "--print", "--set", "exposure=" + deep});
  EXPECT_EQ(setting.exitStatus, 2);
  EXPECT_NE(setting.standardError.find("nested more than"), std::string::npos) << setting.standardError;
}

}  // namespace
}  // namespace halvane
