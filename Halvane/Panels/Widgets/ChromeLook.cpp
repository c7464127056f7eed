#include "Halvane/Panels/Widgets/ChromeLook.h"

#include "Platform/Qt/SpringAnimator.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QFontDatabase>
#include <QObject>
#include <QVariant>
#include <cmath>
#include <map>

namespace halvane::panels::look {

QColor color(Token token) {
  switch (token) {
    case Token::bgPrimary: return QColor::fromRgbF(0.078f, 0.086f, 0.118f);
    case Token::accent: return QColor::fromRgbF(0.22f, 0.455f, 0.875f);
    case Token::bgSecondary: return QColor::fromRgbF(0.11f, 0.122f, 0.165f);
    case Token::bgElevated: return QColor::fromRgbF(0.176f, 0.196f, 0.255f);
    case Token::textPrimary: return QColor::fromRgbF(0.902f, 0.91f, 0.941f);
    case Token::textSecondary: return QColor::fromRgbF(0.62f, 0.65f, 0.73f);
    case Token::accentSoft: return QColor::fromRgbF(0.22f, 0.455f, 0.875f, 0.15f);
    case Token::textOnAccent: return QColor::fromRgbF(1, 1, 1);
    case Token::scrim: return QColor::fromRgbF(0, 0, 0);
  }
  return {};
}

QFont font(Face face) {
  QFont f(QStringLiteral("DejaVu Sans"));
  switch (face) {
    case Face::caption2DemiBold: f.setPixelSize(11); f.setWeight(QFont::DemiBold); break;
    case Face::bodyDemiBold: f.setPixelSize(17); f.setWeight(QFont::DemiBold); break;
    case Face::headline: f.setPixelSize(17); f.setWeight(QFont::DemiBold); break;
    case Face::caption: f.setPixelSize(12); f.setWeight(QFont::Medium); break;
  }
  return f;
}

QString symbolGlyph(std::string_view name) {
  static const std::map<std::string_view, char16_t> glyphs = {
      {"xmark", 0xe5cd},          {"square.and.arrow.up", 0xe6b8}, {"arrow.uturn.backward", 0xe166},
      {"arrow.uturn.forward", 0xe15a}, {"crop.rotate", 0xe437},     {"wand.and.stars", 0xe663},
      {"slider.horizontal.3", 0xe429}, {"camera.aperture", 0xe3af}, {"scissors", 0xe14e},
      {"speaker.wave.2", 0xe050}};
  const auto it = glyphs.find(name);
  return it == glyphs.end() ? QString() : QString(QChar(it->second));
}

QFont symbolFont(double pointSize) {
  QFont f(QStringLiteral("Material Icons"));
  f.setPixelSize(static_cast<int>(std::lround(pointSize * 1.25)));
  return f;
}

QString text(LocalizedText entry) {
  return QString::fromUtf8(entry.defaultText.data(), static_cast<qsizetype>(entry.defaultText.size()));
}

void quickSpring(QObject* target, const QByteArray& property, const QVariant& end, std::function<void()> onFinished) {
  // One transition per property: a new one stops the old where it stands and starts
  // from there, so a quick second tap never jumps.
  const QString name = QStringLiteral("quickSpring.") + QString::fromLatin1(property);
  for (auto* running : target->findChildren<platform::qt::SpringAnimator*>(name, Qt::FindDirectChildrenOnly))
    running->stop();
  platform::qt::SpringAnimator* transition = platform::qt::startTransition(
      platform::qt::SpringTiming{0.74, 0.24}, target,
      [&](platform::qt::SpringAnimator& animator) { animator.animate(target, property, end); }, std::move(onFinished));
  transition->setObjectName(name);
}

}  // namespace halvane::panels::look
