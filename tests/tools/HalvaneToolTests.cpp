// The `halvane` command-line tool, run as its own process: what it writes, its error
// texts and exit codes, and the files it never touches.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "Halvane/Model/FilterCatalogue.h"
#include "Halvane/Rendering/RenderingEngine.h"
#include "Platform/Media/ImageDecoder.h"
#include "Support/TestFiles.h"
#include "Support/ToolProcess.h"

namespace halvane {
namespace {

namespace fs = std::filesystem;
using platform::media::decodeImageFile;
using ::testing::HasSubstr;
using testsupport::fileContents;
using testsupport::Finished;
using testsupport::ToolProcess;
using testsupport::sample;

// The real executable with `arguments`, and `settings` ("NAME=value") added to its environment.
Finished runTool(const std::vector<std::string>& arguments, const std::vector<std::string>& settings = {}) {
  return ToolProcess(HALVANE_TOOL_PATH, arguments, RLIM_INFINITY, settings).wait();
}

class HalvaneTool : public ::testing::Test {
 protected:
  void SetUp() override { fs::create_directories(folder); }
  void TearDown() override { fs::remove_all(folder); }
  long entries() const { return std::distance(fs::directory_iterator(folder), fs::directory_iterator()); }

  const fs::path folder = fs::path(testsupport::temporaryFolder()) / "tool";
  const std::string output = (folder / "out.jpg").string();
};

// A picture stored sideways (EXIF 6) is turned upright before the edit's crop and turn;
// Landscape_0 is its upright reference.
TEST_F(HalvaneTool, TheStoredOrientationThenCropAndTurnGiveTheSizeAndTheCompressedPresetLimitsTheLongestSide) {
  auto upright = decodeImageFile(sample("exif-orientation/Landscape_0.jpg"));
  ASSERT_TRUE(upright);
  auto result = runTool({"render", sample("exif-orientation/Landscape_6.jpg"), output, "--set",
                         "rotationQuarterTurns=1", "--set", "cropRect=[[0.1,0.2],[0.5,0.3]]"});
  ASSERT_EQ(result.exitStatus, 0) << result.standardError;
  const EditState state{.rotationQuarterTurns = 1, .cropRect = {0.1, 0.2, 0.5, 0.3}};
  const auto size = RenderingEngine::outputSize(uint64_t(upright->width), uint64_t(upright->height), state);
  auto written = decodeImageFile(output);
  ASSERT_TRUE(written);
  EXPECT_EQ(std::tuple(written->width, written->height, written->orientation),
            std::tuple(int(size.width), int(size.height), platform::media::ImageOrientation::up));

  const auto small = (folder / "small.jpg").string();
  result = runTool({"render", sample("photo/sewing-threads.heic"), small, "--preset", "compressed"});
  ASSERT_EQ(result.exitStatus, 0) << result.standardError;
  written = decodeImageFile(small);
  ASSERT_TRUE(written);
  EXPECT_EQ(std::max(written->width, written->height), 2048);
}

// Each failure: its exit status (2 for a wrong command line, 1 otherwise) and its reason.
TEST_F(HalvaneTool, FailuresExplainThemselvesAndLeaveNoFile) {
  const auto landscape = sample("exif-orientation/Landscape_0.jpg"), in = folder.string() + "/";
  const std::string deep = std::string(60000, '[') + std::string(60000, ']');
  for (auto [name, text] : {std::pair<const char*, std::string>{"text.jpg", "not a picture"}, {"empty.jpg", ""},
                            {"list.json", "[1, 2]"}, {"object.json", "{}"},
                            {"deep.json", "{\"exposure\": " + deep + "}"}})
    std::ofstream(in + name) << text;
  const struct {
    int status;
    std::string reason;
    std::vector<std::string> arguments, environment = {};
  } failing[] = {
      // clang-format off
      {1, "cannot read '" + in + "missing.jpg': no such file", {"render", in + "missing.jpg", output}},
      {1, "not a JPEG, PNG, HEIF or WebP image", {"render", in + "text.jpg", output}},
      {1, "no data (0 bytes)", {"render", in + "empty.jpg", output}},
      {2, "exposure=7 is outside the field's valid values", {"render", landscape, output, "--set", "exposure=7"}},
      {2, "unknown field 'noSuchField'", {"render", landscape, output, "--set", "noSuchField=1"}},
      {2, "--set takes field=value", {"render", landscape, output, "--set", "exposure"}},
      {2, "unknown preset 'huge'", {"render", landscape, output, "--preset", "huge"}},
      {1, "cannot read the edit file", {"render", landscape, output, "--edit", in + "missing.json"}},
      {2, "needs an input and an output path", {"render", landscape}},
      {1, "does not exist", {"render", landscape, (folder / "no/such/folder/out.jpg").string()}},
      {2, "JPEG (.jpg, .jpeg) or PNG (.png)", {"render", landscape, (folder / "out.tif").string()}},
      {1, "no GPU device could be created: unknown device preference \"bogus\"", {"render", landscape, output},
       {"HALVANE_GPU_DEVICE=bogus"}},
      {1, "must be a JSON object", {"edit", "--print", "--edit", in + "list.json"}},
      {1, "nested more than 64", {"edit", "--print", "--edit", in + "deep.json"}},
      {2, "nested more than 64", {"edit", "--print", "--set", "exposure=" + deep}},
      {1, "is not a JSON array", {"preview", "x.png", in + "frame.png", "--script", in + "object.json"}}};
  // clang-format on
  for (const auto& [status, reason, arguments, environment] : failing) {
    const auto result = runTool(arguments, environment);
    EXPECT_EQ(result.exitStatus, status) << reason;
    EXPECT_THAT(result.standardError, HasSubstr("halvane " + arguments[0] + ": ")) << reason;
    EXPECT_THAT(result.standardError, HasSubstr(reason));
  }
  EXPECT_EQ(entries(), 5) << "nothing but the test's own five inputs";
}

TEST_F(HalvaneTool, PreviewRunsTheFrameLoopAndWritesTheLastFrame) {
  const auto script = (folder / "script.json").string(), frameFile = (folder / "frame.png").string();
  std::ofstream(script) << R"([{"tick": 2, "set": {"rotationQuarterTurns": 1}}, {"tick": 4, "set": {"exposure": 1}}])";
  const auto result = runTool(
      {"preview", sample("photo/hopper.png"), frameFile, "--ticks", "8", "--size", "200x100", "--script", script});
  ASSERT_EQ(result.exitStatus, 0) << result.standardError;
  auto frame = decodeImageFile(frameFile);
  ASSERT_TRUE(frame);
  EXPECT_EQ(std::pair(frame->width, frame->height), std::pair(200, 100));
  // A square picture in a wide frame: black bars left and right, picture in the middle.
  EXPECT_EQ(frame->pixel(5, 50)[1], 0);
  EXPECT_GT(int(frame->pixel(100, 50)[0]) + frame->pixel(100, 50)[1] + frame->pixel(100, 50)[2], 0);
}

TEST_F(HalvaneTool, PrintsTheDefaultEditAnEditOfAFileAndSettingsAndTheCatalogue) {
  const auto edit = runTool({"edit", "--print-default"});
  ASSERT_EQ(edit.exitStatus, 0);
  EXPECT_EQ(edit.standardOutput.find("\"version\""), edit.standardOutput.find('"'));
  EXPECT_THAT(edit.standardOutput, HasSubstr("\"cropRect\""));
  const auto file = (folder / "edit.json").string();
  std::ofstream(file) << R"({"exposure": 1.5, "filterType": 12})";
  const auto combined = runTool({"edit", "--print", "--edit", file, "--set", "contrast=1.25"});
  ASSERT_EQ(combined.exitStatus, 0) << combined.standardError;
  for (const char* field : {"\"exposure\": 1.5", "\"filterType\": 12", "\"contrast\": 1.25"})
    EXPECT_THAT(combined.standardOutput, HasSubstr(field));
  const auto filters = runTool({"filters"});
  ASSERT_EQ(filters.exitStatus, 0);
  // A line for each category and each look.
  EXPECT_EQ(size_t(std::count(filters.standardOutput.begin(), filters.standardOutput.end(), '\n')),
            std::size(kAllFilterCategories) + FilterCatalogue::all().size());
}

TEST_F(HalvaneTool, TheInputIsNeverReplaced) {
  const auto input = folder / "in.jpg";
  fs::copy_file(sample("exif-orientation/Landscape_0.jpg"), input);
  fs::create_symlink(input, folder / "link.jpg");
  fs::create_hard_link(input, folder / "hard.jpg");
  fs::create_directory(folder / "sub");
  const auto before = fileContents(input);
  for (const fs::path& target :
       {input, folder / "." / "in.jpg", folder / "sub" / ".." / "in.jpg", folder / "link.jpg", folder / "hard.jpg"}) {
    const std::string in = input.string(), out = target.string();
    for (const auto& result : {runTool({"render", in, out}), runTool({"render", in, out, "-y"})}) {
      EXPECT_EQ(result.exitStatus, 1) << target;
      EXPECT_THAT(result.standardError, HasSubstr("is the input file"));
    }
  }
  EXPECT_EQ(fileContents(input), before);
}

TEST_F(HalvaneTool, TheOutputTypeFollowsItsNameAndAnExistingOneNeedsOverwrite) {
  const auto input = sample("photo/hopper.png");
  const auto png = (folder / "out.PNG").string(), old = (folder / "old.jpg").string();
  ASSERT_EQ(runTool({"render", input, png}).exitStatus, 0);
  EXPECT_EQ(fileContents(png).substr(0, 4), "\x89PNG");
  std::ofstream(old) << "keep me";
  const auto kept = runTool({"render", input, old});
  EXPECT_EQ(kept.exitStatus, 1);
  EXPECT_THAT(kept.standardError, HasSubstr("already exists"));
  EXPECT_EQ(fileContents(old), "keep me");
  ASSERT_EQ(runTool({"render", input, old, "--overwrite"}).exitStatus, 0);
  EXPECT_TRUE(decodeImageFile(old));
  EXPECT_EQ(fileContents(old)[0], '\xFF');
}

}  // namespace
}  // namespace halvane
