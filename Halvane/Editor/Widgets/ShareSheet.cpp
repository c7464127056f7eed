#include "Halvane/Editor/Widgets/ShareSheet.h"

#include <QClipboard>
#include <QDesktopServices>
#include <QDir>
#include <QFileDialog>
#include <QGuiApplication>
#include <QLabel>
#include <QMimeData>
#include <QStandardPaths>
#include <QUrl>
#include <QVBoxLayout>

#include "Halvane/DesignSystem/DSColor.h"
#include "Halvane/DesignSystem/DSL10n.h"
#include "Halvane/DesignSystem/Widgets/DSButton.h"
#include "Halvane/DesignSystem/Widgets/DSL10nLookup.h"
#include "Halvane/DesignSystem/Widgets/DSLabel.h"
#include "Halvane/DesignSystem/Widgets/DSQtStyle.h"
#include "Halvane/Editor/Widgets/QtImage.h"
#include "Halvane/Rendering/PhotoOutput.h"

namespace halvane::editor {

namespace {

QString startFolder(bool isPhoto) {
  const QString folder =
      QStandardPaths::writableLocation(isPhoto ? QStandardPaths::PicturesLocation : QStandardPaths::MoviesLocation);
  return folder.isEmpty() || !QDir(folder).exists() ? QDir::homePath() : folder;
}

}  // namespace

ShareSheet::ShareSheet(ShareOffer offer, QWidget* parent)
    : QDialog(parent), offer_(std::move(offer)), errorLabel_(DSLabel::caption(QString(), this)) {
  setWindowTitle(DSL10n::text(DSL10n::Action::share));
  setAccessibleName(DSL10n::text(DSL10n::Action::share));
  setModal(true);
  QPalette palette = this->palette();
  palette.setColor(QPalette::Window, qColor(DSColor::bgSecondary));
  setPalette(palette);
  setAutoFillBackground(true);

  auto* stack = new QVBoxLayout(this);
  stack->setContentsMargins(20, 20, 20, 20);
  stack->setSpacing(12);
  auto* title = DSLabel::headline(DSL10n::text(DSL10n::Action::share), this);
  title->setAlignment(Qt::AlignCenter);
  stack->addWidget(title);

  const auto addAction = [&](const QString& text, DSButton::Style style, std::function<void()> action) {
    auto* button = new DSButton(text, style, this);
    button->onTap = std::move(action);
    stack->addWidget(button);
    return button;
  };
  addAction(DSL10n::text(DSL10n::Share::saveAs), DSButtonStyle::primary, [this] { saveAs(); });
  addAction(DSL10n::text(DSL10n::Share::copy), DSButtonStyle::secondary, [this] {
    copyToClipboard();
    accept();
  });
  if (std::holds_alternative<std::filesystem::path>(offer_.payload)) {
    addAction(DSL10n::text(DSL10n::Share::open), DSButtonStyle::secondary, [this] { openWithDefaultApplication(); });
  }
  addAction(DSL10n::text(DSL10n::Common::cancel), DSButtonStyle::tertiary, [this] { reject(); });
  errorLabel_->setTextColour(DSColor::destructive);
  errorLabel_->setWordWrap(true);
  errorLabel_->hide();
  stack->addWidget(errorLabel_);
  setMinimumWidth(280);

  connect(this, &QDialog::finished, this, [this] { finish(); });
}

ShareSheet::~ShareSheet() { finish(); }

ShareSheet* ShareSheet::present(ShareOffer offer, QWidget* parent, std::function<void()> onFinished) {
  auto* sheet = new ShareSheet(std::move(offer), parent);
  sheet->onFinished = std::move(onFinished);
  sheet->setAttribute(Qt::WA_DeleteOnClose);
  sheet->open();
  return sheet;
}

void ShareSheet::finish() {
  if (finished_) return;
  finished_ = true;
  if (auto done = std::move(onFinished)) done();
}

void ShareSheet::saveAs() {
  const QString suggested =
      QDir(startFolder(offer_.isPhoto)).filePath(QString::fromStdString(suggestedFileName(offer_)));
  const QString filter = offer_.isPhoto && std::holds_alternative<platform::media::Image>(offer_.payload)
                             ? QStringLiteral("JPEG (*.jpg *.jpeg)")
                             : QString();
  const QString path = QFileDialog::getSaveFileName(this, DSL10n::text(DSL10n::Share::saveAs), suggested, filter);
  if (path.isEmpty()) return;
  if (saveTo(path)) accept();
}

bool ShareSheet::saveTo(const QString& path) {
  std::string error;
  if (const auto* image = std::get_if<platform::media::Image>(&offer_.payload)) {
    if (auto written = writeJPEGFile(*image, PhotoExportPreset::maxQuality, path.toStdString()); !written)
      error = written.error().message;
  } else {
    if (auto copied = copyFileAtomically(std::get<std::filesystem::path>(offer_.payload), path.toStdString()); !copied)
      error = copied.error().message;
  }
  if (error.empty()) return true;
  showError(DSL10n::text(DSL10n::Share::saveFailed) + u'\n' + QString::fromStdString(error));
  return false;
}

void ShareSheet::copyToClipboard() {
  auto* data = new QMimeData;
  if (const auto* image = std::get_if<platform::media::Image>(&offer_.payload)) {
    data->setImageData(qImage(*image));
  } else {
    const QString file = QString::fromStdString(std::get<std::filesystem::path>(offer_.payload).string());
    if (offer_.isPhoto) data->setImageData(QImage(file));
    data->setUrls({QUrl::fromLocalFile(file)});
  }
  QGuiApplication::clipboard()->setMimeData(data);
}

void ShareSheet::openWithDefaultApplication() {
  const auto& file = std::get<std::filesystem::path>(offer_.payload);
  if (QDesktopServices::openUrl(QUrl::fromLocalFile(QString::fromStdString(file.string())))) {
    accept();
  } else {
    showError(DSL10n::text(DSL10n::Share::openFailed));
  }
}

void ShareSheet::showError(const QString& message) {
  errorLabel_->setText(message);
  errorLabel_->show();
}

}  // namespace halvane::editor
