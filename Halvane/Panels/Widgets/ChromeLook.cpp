#include "Halvane/Panels/Widgets/ChromeLook.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QEasingCurve>
#include <QFontDatabase>
#include <QObject>
#include <QPointer>
#include <QPropertyAnimation>
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

namespace {
// A critically-underdamped spring over the unit of its duration, as the platform's
// spring timing with a damping ratio: the natural frequency settles it by the end.
qreal spring074(qreal t) {
  constexpr double zeta = 0.74, omega = 2 * M_PI, omegaD = omega * 0.6726;  // sqrt(1 - 0.74^2)
  return 1 - std::exp(-zeta * omega * t) * (std::cos(omegaD * t) + zeta * omega / omegaD * std::sin(omegaD * t));
}
}  // namespace

void quickSpring(QObject* target, const QByteArray& property, const QVariant& end, std::function<void()> onFinished) {
  const QByteArray key = "_spring_" + property;
  if (auto* running = target->property(key.constData()).value<QObject*>()) delete running;
  auto* animation = new QPropertyAnimation(target, property, target);
  target->setProperty(key.constData(), QVariant::fromValue<QObject*>(animation));
  QEasingCurve curve;
  curve.setCustomType(spring074);
  animation->setEasingCurve(curve);
  animation->setDuration(240);
  animation->setEndValue(end);
  QObject::connect(animation, &QPropertyAnimation::finished, target, [target, key, animation, onFinished] {
    if (target->property(key.constData()).value<QObject*>() == animation)
      target->setProperty(key.constData(), QVariant());
    animation->deleteLater();
    if (onFinished) onFinished();
  });
  animation->start();
}

}  // namespace halvane::panels::look
