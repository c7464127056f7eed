#include <cstdio>

#include "Command.h"
#include "EngineStart.h"
#include "EditArguments.h"
#include "Halvane/Rendering/PhotoOutput.h"
#include "Halvane/Rendering/SourceOrientation.h"
#include "OutputFile.h"
#include "TerminationSignals.h"
#include "PhotoSource.h"

namespace halvane::cli {

namespace {

PhotoExportPreset parsePreset(const std::string& name) {
  if (name == "compressed") return PhotoExportPreset::compressed;
  if (name == "balanced") return PhotoExportPreset::balanced;
  if (name == "maxQuality") return PhotoExportPreset::maxQuality;
  throw UsageError("unknown preset '" + name + "' (compressed, balanced or maxQuality)");
}

}  // namespace

// Decodes a photo, turns it upright as the editor does, renders the edit at full size
// and writes the JPEG of the preset, or a PNG when the output is named so. The output
// appears only when complete.
Command makeRenderCommand() {
  return Command{
      "render",
      "render INPUT OUTPUT.jpg|OUTPUT.png [-y|--overwrite] [--edit EDIT.json] [--set field=value]... "
      "[--preset compressed|balanced|maxQuality]",
      [](const std::vector<std::string>& arguments) {
        auto parsed = parseEditOptions(arguments);
        const InputOutput io = parseInputOutput(parsed.rest);
        const PhotoExportPreset preset = io.preset ? parsePreset(*io.preset) : PhotoExportPreset::maxQuality;
        const auto fileType = photoFileTypeForPath(io.output);
        if (!fileType) throw UsageError("the output is a JPEG (.jpg, .jpeg) or PNG (.png) picture: name it so");
        checkOutputPath(io.input, io.output, io.overwrite);

        // A signal during the render stops it before anything is written; the write
        // itself is short and all or nothing, so it is let finish.
        const TerminationGuard guard;
        auto engine = startEngine();
        const PhotoSource source = loadStoredPhotoSource(*engine, io.input);
        const EditState state =
            foldOrientation(parsed.state, source.rawOrientation, source.texture->width(), source.texture->height());
        auto image = engine->renderToImage(source.texture, state, source.colorSpace);
        if (!image) throw CommandError("rendering failed: " + image.error().message);
        const auto limited = limitedImage(*image, platform::media::ImageOrientation::up, preset);
        if (const int signal = TerminationGuard::received()) {
          std::fprintf(stderr, "halvane render: stopped by a signal; nothing was written\n");
          return TerminationGuard::exitStatus(signal);
        }
        const auto existing = io.overwrite ? platform::media::ExistingFile::replace : platform::media::ExistingFile::keep;
        if (auto written = writePhotoFile(limited, preset, io.output, *fileType, existing); !written)
          throw CommandError(written.error().message);
        std::printf("%s: %d x %d\n", io.output.c_str(), limited.width, limited.height);
        return 0;
      }};
}

}  // namespace halvane::cli
