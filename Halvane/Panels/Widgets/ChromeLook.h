#pragma once
// The chrome's one door to the design system: colours by token, fonts by text style,
// symbol glyphs, localised texts and the spring of small state changes. Main thread only.
#include <functional>

#include <QColor>
#include <QFont>
#include <QString>

#include "Halvane/Model/FilterCatalogue.h"

class QObject;
class QByteArray;
class QVariant;

namespace halvane::panels::look {

enum class Token { bgPrimary, accent, bgSecondary, bgElevated, textPrimary, textSecondary, accentSoft, textOnAccent, scrim };
QColor color(Token token);

enum class Face { caption2DemiBold, bodyDemiBold, headline, caption };
QFont font(Face face);

// The glyph of a symbol name and the icon font at a point size.
QString symbolGlyph(std::string_view symbolName);
QFont symbolFont(double pointSize);

QString text(LocalizedText entry);

// Animates a property of target to end on the spring of quick changes (damping 0.74
// over 0.24 s), from where it stands now; a running animation of the same property is
// replaced. onFinished runs when it arrives, not when replaced.
void quickSpring(QObject* target, const QByteArray& property, const QVariant& end,
                 std::function<void()> onFinished = {});

}  // namespace halvane::panels::look
