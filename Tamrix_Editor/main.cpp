// tamrix-editor: the editor on one photo or video.
//
//   tamrix-editor [FILE]                 opens FILE; without it, the desktop's file chooser
//   tamrix-editor --locale de FILE       in German (the desktop's language by default)
//   tamrix-editor --tool TOOL FILE       enters TOOL (transform, filter, ...) on opening
//   tamrix-editor --screenshot PNG FILE  writes the window once the picture shows, and quits
#include <QApplication>
#include <QCommandLineParser>
#include <QFileDialog>
#include <QFileInfo>
#include <QLocale>
#include <QStandardPaths>
#include <QTimer>

#include <cstdio>
#include <memory>

#include "Halvane/DesignSystem/Widgets/DSL10nLookup.h"
#include "Halvane/Editor/AppContainer.h"
#include "Halvane/Editor/Widgets/EditorPreview.h"
#include "Halvane/Editor/Widgets/MediaViewController.h"
#include "MediaFile.h"
#include "Platform/Dispatch/DisplayLink.h"
#include "Platform/Dispatch/NotificationCenter.h"
#include "Platform/Dispatch/SystemNotifications.h"
#include "Platform/Qt/QtAudioSink.h"
#include "Platform/Qt/QtDisplayLink.h"
#include "Platform/Qt/QtMainQueue.h"
#include "Platform/System/MemoryPressureMonitor.h"

namespace {

constexpr QSize kPhoneWindowSize{430, 860};
// How long a screenshot waits for the first frame (lavapipe renders slowly).
constexpr int kScreenshotLimitMs = 60000;
// The settling time of the opening transitions after the first frame.
constexpr int kScreenshotSettleMs = 700;

QString chooseFile() {
  QString start = QStandardPaths::writableLocation(QStandardPaths::PicturesLocation);
  return QFileDialog::getOpenFileName(nullptr, QStringLiteral("Open"), start,
                                      QStringLiteral("Photos and videos (*.jpg *.jpeg *.png *.heic *.heif *.webp "
                                                     "*.mov *.mp4 *.m4v);;All files (*)"));
}

// Grabs the window once a frame shows and the opening has settled; or, when the load
// failed and the alert came instead, right away.
void scheduleScreenshot(halvane::editor::MediaViewController& editor, const QString& path, int& status) {
  auto* poll = new QTimer(&editor);
  auto waited = std::make_shared<int>(0);
  QObject::connect(poll, &QTimer::timeout, &editor, [&editor, &status, path, poll, waited] {
    *waited += poll->interval();
    const auto* preview = editor.preview();
    const bool framed = preview && !preview->surface()->shownFrame().isNull();
    if (!framed && *waited < kScreenshotLimitMs) return;
    poll->stop();
    QTimer::singleShot(framed ? kScreenshotSettleMs : 0, &editor, [&editor, &status, path, framed] {
      const bool saved = editor.window()->grab().save(path);
      if (!saved) std::fprintf(stderr, "tamrix-editor: cannot write %s\n", qPrintable(path));
      if (!framed) std::fprintf(stderr, "tamrix-editor: no frame within %d s\n", kScreenshotLimitMs / 1000);
      status = saved && framed ? 0 : 1;
      QApplication::quit();
    });
  });
  poll->start(100);
}

// In a desktop session the file choosers go through the XDG desktop portal, which
// shows the desktop's own (and works from a sandbox); the theme falls back to Qt's
// chooser where no portal answers. A theme the user chose stays.
void preferPortalFileChooser() {
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORMTHEME") && !qEnvironmentVariableIsEmpty("XDG_CURRENT_DESKTOP") &&
      !qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS")) {
    qputenv("QT_QPA_PLATFORMTHEME", "xdgdesktopportal");
  }
}

// The kernel's memory pressure becomes the application's memory warning. A kernel
// without pressure reports, or one that refuses the trigger, leaves the editor without
// warnings, as a machine with memory to spare would.
std::unique_ptr<platform::system::MemoryPressureMonitor> watchMemoryPressure() {
  auto trigger = platform::system::openMemoryPressureTrigger();
  if (!trigger) return nullptr;
  return std::make_unique<platform::system::MemoryPressureMonitor>(std::move(trigger.value()), [] {
    platform::dispatch::NotificationCenter::defaultCenter().post(platform::dispatch::kMemoryWarningNotification);
  });
}

}  // namespace

int main(int argc, char** argv) {
  preferPortalFileChooser();
  QApplication application(argc, argv);
  QApplication::setApplicationName(QStringLiteral("tamrix-editor"));
  QApplication::setApplicationDisplayName(QStringLiteral("Tamrix Editor"));
  QCommandLineParser parser;
  parser.setApplicationDescription(QStringLiteral("Edits one photo or video."));
  parser.addHelpOption();
  parser.addPositionalArgument(QStringLiteral("FILE"), QStringLiteral("The photo or video to open."));
  const QCommandLineOption locale(QStringLiteral("locale"), QStringLiteral("Show the texts of <language>."),
                                  QStringLiteral("language"));
  const QCommandLineOption tool(QStringLiteral("tool"), QStringLiteral("Enter <tool> on opening."),
                                QStringLiteral("tool"));
  const QCommandLineOption screenshot(QStringLiteral("screenshot"),
                                      QStringLiteral("Write the window to <png> once the picture shows, then quit."),
                                      QStringLiteral("png"));
  parser.addOptions({locale, tool, screenshot});
  parser.process(application);
  halvane::DSL10n::installTranslator(parser.isSet(locale) ? QLocale(parser.value(locale)) : QLocale::system());

  halvane::HalvaneConfig configuration;
  if (parser.isSet(tool)) {
    configuration.initialTool = halvane::mediaToolFromRawValue(parser.value(tool).toStdString());
    if (!configuration.initialTool) {
      std::fprintf(stderr, "tamrix-editor: unknown tool '%s'\n", qPrintable(parser.value(tool)));
      return 2;
    }
  }
  const QStringList files = parser.positionalArguments();
  if (files.size() > 1) {
    std::fprintf(stderr, "tamrix-editor: opens one file at a time\n");
    return 2;
  }
  const QString file = files.isEmpty() ? chooseFile() : files.first();
  if (file.isEmpty()) return 0;

  auto mainQueue = std::make_shared<platform::qt::QtMainQueue>();
  platform::dispatch::MainQueue::setShared(mainQueue);
  auto displayLinks = platform::qt::QtDisplayLinkDriver::create();
  platform::dispatch::setDisplayLinkFactory(displayLinks->factory());
  const auto memoryPressure = watchMemoryPressure();
  int status = 0;
  {
    auto container = halvane::AppContainer::create(configuration);
    const QFileInfo info(file);
    halvane::editor::MediaViewController editor(tamrix::mediaContentForFile(info.absoluteFilePath().toStdString()),
                                                container,
                                                {.mainQueue = mainQueue,
                                                 .audioSink = std::make_shared<platform::qt::QtAudioSink>(),
                                                 .sourceName = info.fileName().toStdString()});
    editor.setWindowTitle(info.fileName());
    editor.resize(kPhoneWindowSize);
    editor.onDismissed = [&editor] { editor.close(); };
    editor.show();
    editor.activateWindow();
    if (parser.isSet(screenshot)) scheduleScreenshot(editor, parser.value(screenshot), status);
    const int loopStatus = QApplication::exec();
    if (status == 0) status = loopStatus;
  }
  platform::dispatch::setDisplayLinkFactory(nullptr);
  platform::dispatch::MainQueue::setShared(nullptr);
  return status;
}
