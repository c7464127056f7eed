#include "ComponentGalleryViewController.h"

#include <QGridLayout>
#include <QLabel>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QRadialGradient>
#include <QScrollArea>
#include <QTimer>
#include <QVBoxLayout>

#include "Halvane/DesignSystem/DSColor.h"
#include "Halvane/DesignSystem/DSTypography.h"
#include "Halvane/DesignSystem/DSL10n.h"
#include "Halvane/DesignSystem/Widgets/DSFont.h"
#include "Halvane/DesignSystem/Widgets/DSL10nLookup.h"
#include "Halvane/DesignSystem/Widgets/DSQtStyle.h"
#include "Halvane/DesignSystem/Widgets/DSButton.h"
#include "Halvane/DesignSystem/Widgets/DSCardView.h"
#include "Halvane/DesignSystem/Widgets/DSLabel.h"
#include "Halvane/Panels/Widgets/AdjustPanelView.h"
#include "Halvane/Panels/Widgets/AdjustSlider.h"
#include "Halvane/Panels/Widgets/AdjustSliderBar.h"
#include "Halvane/Panels/Widgets/ExportProgressView.h"
#include "Halvane/Panels/Widgets/IconButton.h"
#include "Halvane/Panels/Widgets/RoundButton.h"
#include "Halvane/Panels/Widgets/TextButton.h"
#include "Halvane/Panels/Widgets/ToolStripButton.h"
#include "Halvane/Panels/Widgets/ToolStripView.h"
#include "Halvane/Panels/Widgets/TopBarView.h"
#include "Halvane/Panels/Widgets/UndoRedoBar.h"

namespace halvane::gallery {

using namespace halvane::panels;

namespace {

constexpr int kMargin = 16;

// A rounded surface of one colour behind a group of components.
class Surface : public QWidget {
public:
  Surface(DSRGBA fill, qreal radius, QWidget* parent = nullptr) : QWidget(parent), fill_(fill), radius_(radius) {}

protected:
  void paintEvent(QPaintEvent*) override {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QPainterPath path = continuousRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), radius_);
    painter.fillPath(path, qColor(fill_));
    painter.setPen(QPen(qColor(DSColor::separator), 1));
    painter.drawPath(path);
  }

private:
  DSRGBA fill_;
  qreal radius_;
};

// Stands in for the preview: a quiet dusk gradient, so the chrome is seen over a picture.
class PreviewStandIn : public QWidget {
public:
  // inset: the room around the picture; a screen for the progress card has none.
  explicit PreviewStandIn(int inset, qreal radius, QWidget* parent = nullptr)
      : QWidget(parent), inset_(inset), radius_(radius) {}

protected:
  void paintEvent(QPaintEvent*) override {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF area = QRectF(rect()).adjusted(inset_, inset_ / 4, -inset_, -inset_ / 4);
    QLinearGradient sky(area.topLeft(), area.bottomLeft());
    sky.setColorAt(0, QColor(38, 58, 104));
    sky.setColorAt(0.55, QColor(196, 118, 92));
    sky.setColorAt(1, QColor(58, 40, 52));
    const QPainterPath frame = continuousRoundedRect(area, radius_);
    painter.fillPath(frame, sky);
    QRadialGradient sun(QPointF(area.center().x(), area.top() + area.height() * 0.58), area.width() * 0.22);
    sun.setColorAt(0, QColor(255, 214, 150, 230));
    sun.setColorAt(1, QColor(255, 214, 150, 0));
    painter.setClipPath(frame);
    painter.fillRect(area, sun);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(24, 22, 34, 220));
    QPainterPath hills;
    hills.moveTo(area.left(), area.bottom());
    hills.lineTo(area.left(), area.top() + area.height() * 0.72);
    hills.cubicTo(area.left() + area.width() * 0.3, area.top() + area.height() * 0.6,
                  area.left() + area.width() * 0.55, area.top() + area.height() * 0.8, area.right(),
                  area.top() + area.height() * 0.66);
    hills.lineTo(area.right(), area.bottom());
    painter.drawPath(hills);
  }

private:
  int inset_;
  qreal radius_;
};

// A colour token: a rounded chip of the colour over the screen's surface, with its name.
class Swatch : public QWidget {
public:
  Swatch(QString name, DSRGBA colour, QWidget* parent) : QWidget(parent), name_(std::move(name)), colour_(colour) {
    setFixedHeight(58);
    setAccessibleName(name_);
  }

protected:
  void paintEvent(QPaintEvent*) override {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF chip(0.5, 0.5, width() - 1.0, 34);
    const QPainterPath path = continuousRoundedRect(chip, 8);
    painter.fillPath(path, qColor(colour_));
    painter.setPen(QPen(qColor(DSColor::separator), 1));
    painter.drawPath(path);
    painter.setPen(qColor(DSColor::textSecondary));
    painter.setFont(DSFont::font(DSTypography::captionSmall));
    painter.drawText(QRectF(0, 38, width(), 18), Qt::AlignLeft | Qt::AlignVCenter, name_);
  }

private:
  QString name_;
  DSRGBA colour_;
};

QLabel* makeLabel(const QString& text, const QFont& font, const DSRGBA& color, QWidget* parent) {
  auto* label = new QLabel(text, parent);
  label->setFont(font);
  QPalette palette = label->palette();
  palette.setColor(QPalette::WindowText, qColor(color));
  label->setPalette(palette);
  return label;
}

// A picture a host might supply for the share button: a bright badge with a glyph.
QImage sampleShareBadge() {
  QImage image(96, 96, QImage::Format_ARGB32_Premultiplied);
  image.fill(Qt::transparent);
  QPainter painter(&image);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(Qt::NoPen);
  painter.setBrush(QColor(255, 252, 0));
  painter.drawRoundedRect(QRectF(0, 0, 96, 96), 22, 22);
  painter.setBrush(QColor(20, 20, 20));
  painter.drawEllipse(QRectF(28, 22, 40, 40));
  painter.drawRoundedRect(QRectF(20, 58, 56, 18), 9, 9);
  return image;
}

}  // namespace

ComponentGalleryViewController::ComponentGalleryViewController(QWidget* parent)
    : QWidget(parent), content_(new QWidget), column_(new QVBoxLayout(content_)) {
  setWindowTitle(QStringLiteral("Component Gallery"));
  setAutoFillBackground(true);
  QPalette palette = this->palette();
  palette.setColor(QPalette::Window, qColor(DSColor::bgPrimary));
  setPalette(palette);
  content_->setPalette(palette);
  content_->setAutoFillBackground(true);

  column_->setContentsMargins(0, 20, 0, 28);
  column_->setSpacing(24);
  auto* heading = makeLabel(QStringLiteral("Component Gallery"), DSFont::font(DSTypography::largeTitle), DSColor::textPrimary, content_);
  heading->setContentsMargins(kMargin + 4, 0, kMargin, 0);
  column_->addWidget(heading);

  buildLive();
  buildButtons();
  buildCardAndLabels();
  buildColours();
  buildToolStrips();
  buildTopBars();
  buildUndoRedo();
  buildProgress();
  buildAdjust();
  column_->addStretch();

  auto* scroll = new QScrollArea(this);
  scroll->setWidget(content_);
  scroll->setWidgetResizable(true);
  scroll->setFrameShape(QFrame::NoFrame);
  scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  auto* fill = new QVBoxLayout(this);
  fill->setContentsMargins(0, 0, 0, 0);
  fill->addWidget(scroll);
  resize(kPhoneWidth + 2 * kMargin, 860);
}

QWidget* ComponentGalleryViewController::addSection(const QString& key, const QString& title) {
  auto* section = new QWidget(content_);
  section->setAccessibleName(title);
  auto* layout = new QVBoxLayout(section);
  layout->setContentsMargins(kMargin, 0, kMargin, 6);
  layout->setSpacing(10);
  auto* caption = makeLabel(title.toUpper(), DSFont::font(DSTypography::caption), DSColor::textSecondary, section);
  QFont font = caption->font();
  font.setLetterSpacing(QFont::AbsoluteSpacing, 1.2);
  font.setWeight(QFont::DemiBold);
  caption->setFont(font);
  caption->setContentsMargins(4, 0, 0, 0);
  layout->addWidget(caption);
  column_->addWidget(section);
  sections_[key] = section;
  return section;
}

namespace {
// One example inside a section: the component on a card, with a caption naming its state.
QWidget* addExample(QWidget* section, QWidget* component, const QString& state, int inset = 1) {
  auto* card = new Surface(DSColor::bgPrimary, 16, section);
  auto* layout = new QVBoxLayout(card);
  layout->setContentsMargins(inset, 16, inset, 10);
  layout->setSpacing(8);
  component->setParent(card);
  layout->addWidget(component);
  auto* caption = makeLabel(state, DSFont::font(DSTypography::caption), DSColor::textSecondary, card);
  caption->setAlignment(Qt::AlignCenter);
  layout->addWidget(caption);
  section->layout()->addWidget(card);
  return card;
}
}  // namespace

void ComponentGalleryViewController::buildLive() {
  QWidget* section = addSection(QStringLiteral("live"), QStringLiteral("Live editor chrome"));
  auto* phone = new Surface(DSColor::bgPrimary, 20, section);
  phone->setAccessibleName(QStringLiteral("Live editor"));
  auto* stack = new QVBoxLayout(phone);
  // Inside the frame's outline and clear of its rounded corners.
  stack->setContentsMargins(1, 4, 1, 14);
  stack->setSpacing(8);

  auto* topBar = new TopBarView(phone);
  topBar->setTitle(DSL10n::text(DSL10n::Editor::editTitle));
  auto* preview = new PreviewStandIn(kMargin, 12, phone);
  preview->setFixedHeight(230);
  liveUndoRedo_ = new UndoRedoBar(phone);
  auto* strip = new ToolStripView(phone);
  stack->addWidget(topBar);
  stack->addWidget(preview);
  stack->addWidget(liveUndoRedo_);
  stack->addWidget(strip);
  section->layout()->addWidget(phone);

  stateLabel_ = makeLabel(QStringLiteral("Ready"), DSFont::font(DSTypography::caption), DSColor::textSecondary, section);
  stateLabel_->setAccessibleName(QStringLiteral("Gallery state"));
  stateLabel_->setAccessibleDescription(stateLabel_->text());
  stateLabel_->setAlignment(Qt::AlignCenter);
  section->layout()->addWidget(stateLabel_);

  const auto updateHistory = [this] {
    liveUndoRedo_->undoButton()->setEnabled(editCount_ > 0);
    liveUndoRedo_->redoButton()->setEnabled(undoneCount_ > 0);
  };
  strip->onToolSelected = [this, updateHistory](MediaTool tool) {
    ++editCount_;
    undoneCount_ = 0;
    updateHistory();
    report(QStringLiteral("Selected %1").arg(DSL10n::text(mediaToolInfo(tool).title)));
  };
  liveUndoRedo_->onUndo = [this, updateHistory] {
    --editCount_;
    ++undoneCount_;
    updateHistory();
    report(QStringLiteral("Undo"));
  };
  liveUndoRedo_->onRedo = [this, updateHistory] {
    ++editCount_;
    --undoneCount_;
    updateHistory();
    report(QStringLiteral("Redo"));
  };
  topBar->onClose = [this] { report(QStringLiteral("Close")); };
  topBar->onShare = [this, phone] {
    report(QStringLiteral("Share"));
    auto* progress = new ExportProgressView;
    progress->show(phone);
    auto* ticker = new QTimer(progress);
    progress->onCancel = [this, progress, ticker] {
      ticker->stop();
      progress->dismiss([this] { report(QStringLiteral("Export cancelled")); });
    };
    connect(ticker, &QTimer::timeout, progress, [this, progress, ticker, step = 0]() mutable {
      progress->setProgress(++step / 120.0);
      if (step == 120) {
        ticker->stop();
        progress->dismiss([this] { report(QStringLiteral("Export finished")); });
      }
    });
    ticker->start(50);
  };
}

void ComponentGalleryViewController::buildButtons() {
  QWidget* section = addSection(QStringLiteral("buttons"), QStringLiteral("Buttons"));
  auto* panel = new Surface(DSColor::bgPrimary, 16, section);
  auto* grid = new QGridLayout(panel);
  grid->setContentsMargins(12, 14, 12, 12);
  grid->setHorizontalSpacing(8);
  grid->setVerticalSpacing(10);
  const std::pair<DSButtonStyle, QString> styles[] = {{DSButtonStyle::primary, QStringLiteral("Primary")},
                                                      {DSButtonStyle::secondary, QStringLiteral("Secondary")},
                                                      {DSButtonStyle::tertiary, QStringLiteral("Tertiary")}};
  const QString states[] = {QStringLiteral("Enabled"), QStringLiteral("Highlighted"), QStringLiteral("Disabled"),
                            QStringLiteral("Loading")};
  for (int row = 0; row < 4; ++row) {
    auto* state = DSLabel::caption(states[row], panel);
    grid->addWidget(state, 2 * row, 0, 1, 3);
    for (int column = 0; column < 3; ++column) {
      // A loading button carries its indicator beside the title: a short title fits.
      auto* button = new DSButton(row == 3 ? QStringLiteral("Save") : styles[column].second, styles[column].first, panel);
      button->setMinimumWidth(0);
      button->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
      if (row == 1) button->setDown(true);
      if (row == 2) button->setEnabled(false);
      if (row == 3) button->setLoading(true);
      grid->addWidget(button, 2 * row + 1, column);
    }
  }
  section->layout()->addWidget(panel);
}

void ComponentGalleryViewController::buildCardAndLabels() {
  QWidget* section = addSection(QStringLiteral("card-labels"), QStringLiteral("Card and labels"));
  auto* card = new DSCardView(section);
  card->contentStack()->addWidget(DSLabel::largeTitle(QStringLiteral("Large title"), card));
  card->contentStack()->addWidget(DSLabel::title(QStringLiteral("Title"), card));
  card->contentStack()->addWidget(DSLabel::headline(QStringLiteral("Headline"), card));
  card->contentStack()->addWidget(
      DSLabel::body(QStringLiteral("Body text runs over as many lines as it needs, in the editor's light text."), card));
  card->contentStack()->addWidget(DSLabel::caption(QStringLiteral("Caption, secondary text"), card));
  section->layout()->addWidget(card);
}

void ComponentGalleryViewController::buildColours() {
  QWidget* section = addSection(QStringLiteral("colours"), QStringLiteral("Colours"));
  auto* panel = new Surface(DSColor::bgPrimary, 16, section);
  auto* grid = new QGridLayout(panel);
  grid->setContentsMargins(12, 12, 12, 12);
  grid->setHorizontalSpacing(10);
  grid->setVerticalSpacing(10);
  const std::pair<const char*, DSRGBA> tokens[] = {
      {"bgPrimary", DSColor::bgPrimary},     {"bgSecondary", DSColor::bgSecondary},
      {"bgTertiary", DSColor::bgTertiary},   {"bgElevated", DSColor::bgElevated},
      {"accent", DSColor::accent},           {"accentSoft", DSColor::accentSoft},
      {"textPrimary", DSColor::textPrimary}, {"textSecondary", DSColor::textSecondary},
      {"separator", DSColor::separator},     {"destructive", DSColor::destructive},
      {"warning", DSColor::warning},         {"success", DSColor::success},
      {"textOnAccent", DSColor::textOnAccent}, {"scrim", DSColor::scrim.withAlpha(DSColor::kScrimAlpha)}};
  int index = 0;
  for (const auto& [name, colour] : tokens) {
    auto* swatch = new Swatch(QString::fromLatin1(name), colour, panel);
    grid->addWidget(swatch, index / 3, index % 3);
    ++index;
  }
  section->layout()->addWidget(panel);
}

void ComponentGalleryViewController::buildToolStrips() {
  QWidget* section = addSection(QStringLiteral("tool-strip"), QStringLiteral("Tool strip"));
  addExample(section, new ToolStripView, QStringLiteral("Video: six tools, none selected"));
  auto* selected = new ToolStripView;
  selected->selectTool(MediaTool::filter);
  addExample(section, selected, QStringLiteral("Filter selected"));
  auto* photo = new ToolStripView;
  photo->setVideoToolsVisible(false);
  photo->selectTool(MediaTool::adjust);
  photo->toolButton(MediaTool::focus)->setDown(true);
  addExample(section, photo, QStringLiteral("Photo: four tools, Adjust selected, Focus held"));
}

void ComponentGalleryViewController::buildTopBars() {
  QWidget* section = addSection(QStringLiteral("top-bar"), QStringLiteral("Top bar"));
  auto* plain = new TopBarView;
  plain->setTitle(DSL10n::text(DSL10n::Editor::editTitle));
  addExample(section, plain, QStringLiteral("Title, close and share"));
  auto* pictured = new TopBarView;
  pictured->setTitle(DSL10n::text(DSL10n::Editor::editTitle));
  pictured->setShareButtonImage(sampleShareBadge());
  addExample(section, pictured, QStringLiteral("Host's share picture, 28 by 28 in its own colours"));
  auto* held = new TopBarView;
  held->closeButton()->setDown(true);
  addExample(section, held, QStringLiteral("Close held: dimmed"));
}

void ComponentGalleryViewController::buildUndoRedo() {
  QWidget* section = addSection(QStringLiteral("undo-redo"), QStringLiteral("Undo and redo"));
  addExample(section, new UndoRedoBar, QStringLiteral("Nothing to undo or redo"));
  auto* undo = new UndoRedoBar;
  undo->undoButton()->setEnabled(true);
  addExample(section, undo, QStringLiteral("Undo enabled"));
  auto* both = new UndoRedoBar;
  both->undoButton()->setEnabled(true);
  both->redoButton()->setEnabled(true);
  both->redoButton()->setDown(true);
  addExample(section, both, QStringLiteral("Both enabled, redo held"));
}

void ComponentGalleryViewController::buildProgress() {
  QWidget* section = addSection(QStringLiteral("progress"), QStringLiteral("Progress card"));
  const auto host = [] {
    auto* frame = new PreviewStandIn(0, 0);
    frame->setFixedHeight(240);
    return frame;
  };
  QWidget* determinate = host();
  addExample(section, determinate, QStringLiteral("Export at 42%"), kMargin);
  auto* exporting = new ExportProgressView;
  exporting->show(determinate);
  exporting->setProgress(0.42);
  QWidget* indeterminate = host();
  addExample(section, indeterminate, QStringLiteral("Import of unknown length"), kMargin);
  auto* importing = new ExportProgressView;
  importing->show(indeterminate);
  importing->setIndeterminate(DSL10n::text(DSL10n::Import::importing));
}

void ComponentGalleryViewController::report(const QString& what) {
  stateLabel_->setText(what);
  // A label's name stays its own; what it reads goes out as its description.
  stateLabel_->setAccessibleDescription(what);
}

void ComponentGalleryViewController::buildAdjust() {
  QWidget* section = addSection(QStringLiteral("adjust"), QStringLiteral("Adjust tool"));
  auto* bar = new AdjustSliderBar(std::make_shared<platform::system::DesktopHaptics>());
  bar->slider()->configure(-1, 1, 0);
  bar->slider()->setValue(0.5f);
  addExample(section, bar, QStringLiteral("Brightness ruler at +50, its reset at the right"));
  addExample(section, new KelvinPresetRow(kKelvinPresets), QStringLiteral("Warmth presets"));
  auto* panel = new AdjustPanelView;
  panel->setFixedHeight(panel->sizeHint().height());
  EditState changed;
  changed.exposure = 0.5f;
  changed.temperature = 7839;
  panel->updateModifiedDots(changed);
  panel->selectTool(AdjustTool::temperature);
  addExample(section, panel, QStringLiteral("Warmth selected; Exposure and Warmth changed"));
}

}  // namespace halvane::gallery
