// halvane-gallery: the developer's showcase of the editor's components.
//
//   halvane-gallery                       shows the gallery
//   halvane-gallery --locale de           in German (the desktop's language by default)
//   halvane-gallery --screenshots DIR     writes the gallery and each section as PNG
//                                         files into DIR at the screen's pixel ratio,
//                                         named gallery.png and gallery-SECTION.png
#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QLocale>
#include <QTimer>
#include <cstdio>

#include "ComponentGalleryViewController.h"
#include "Halvane/DesignSystem/Widgets/DSL10nLookup.h"

namespace {

// Waits for the window to be drawn and the opening transitions to settle, then grabs.
int writeScreenshots(halvane::gallery::ComponentGalleryViewController& gallery, const QString& folder) {
  if (!QDir().mkpath(folder)) {
    std::fprintf(stderr, "halvane-gallery: cannot create %s\n", qPrintable(folder));
    return 1;
  }
  int failures = 0;
  const auto save = [&](QWidget* widget, const QString& name) {
    const QString path = QDir(folder).filePath(name);
    if (!widget->grab().save(path)) {
      std::fprintf(stderr, "halvane-gallery: cannot write %s\n", qPrintable(path));
      ++failures;
    }
  };
  save(gallery.content(), QStringLiteral("gallery.png"));
  for (const auto& [key, section] : gallery.sections()) save(section, QStringLiteral("gallery-%1.png").arg(key));
  return failures == 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  QApplication::setApplicationName(QStringLiteral("halvane-gallery"));
  QCommandLineParser parser;
  parser.setApplicationDescription(QStringLiteral("The editor's components in their states."));
  parser.addHelpOption();
  const QCommandLineOption screenshots(QStringLiteral("screenshots"),
                                       QStringLiteral("Write PNG screenshots into <folder> and quit."),
                                       QStringLiteral("folder"));
  parser.addOption(screenshots);
  const QCommandLineOption locale(QStringLiteral("locale"), QStringLiteral("Show the texts of <language>."),
                                  QStringLiteral("language"));
  parser.addOption(locale);
  parser.process(application);
  halvane::DSL10n::installTranslator(parser.isSet(locale) ? QLocale(parser.value(locale)) : QLocale::system());

  halvane::gallery::ComponentGalleryViewController gallery;
  gallery.show();
  if (parser.isSet(screenshots)) {
    int status = 1;
    QTimer::singleShot(900, &gallery, [&] {
      status = writeScreenshots(gallery, parser.value(screenshots));
      QApplication::quit();
    });
    QApplication::exec();
    return status;
  }
  return QApplication::exec();
}
