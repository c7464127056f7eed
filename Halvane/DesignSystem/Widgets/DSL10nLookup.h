#pragma once
// Looks the engine's texts up through Qt's ID-based translation: the key is the ID, and
// a key the installed tables lack shows its English default text. German ships in the
// resource bundle; English is the default texts themselves. Main thread only.
#include <QLocale>
#include <QString>

#include <string_view>

#include "Halvane/DesignSystem/DSL10n.h"
#include "Halvane/Model/FilterCatalogue.h"

namespace halvane::DSL10n {

QString text(const LocalizedText& entry);
// For call sites that build the key themselves ("filter." + id).
QString localized(std::string_view key, std::string_view defaultText, std::string_view comment = {});
// A look's label: key "filter." + id, its display name as default, no comment.
QString filterName(const FilterDefinition& filter);
// The text with its one placeholder ("%d", "%@") replaced by `value`.
QString formatted(const LocalizedText& entry, const QString& value);

// Installs the table of the first of `locale`'s languages that has one, replacing the
// table an earlier call installed; needs the application object. True when a table was
// found, false for English or a language without one (the default texts then show).
// The editor and the gallery call it once at start with the desktop's locale.
bool installTranslator(const QLocale& locale = QLocale::system());

}  // namespace halvane::DSL10n
