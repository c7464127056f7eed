#include "Halvane/DesignSystem/Widgets/DSL10nLookup.h"

#include <QCoreApplication>
#include <QPointer>
#include <QTranslator>

namespace halvane::DSL10n {

namespace {
QString fromView(std::string_view text) { return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())); }
}  // namespace

QString localized(std::string_view key, std::string_view defaultText, std::string_view /*comment*/) {
  const QByteArray id(key.data(), static_cast<qsizetype>(key.size()));
  const QString translated = qtTrId(id.constData());
  // qtTrId answers with the ID itself when no table has it.
  if (translated.isEmpty() || translated == QLatin1String(id)) return fromView(defaultText);
  return translated;
}

QString text(const LocalizedText& entry) { return localized(entry.key, entry.defaultText, entry.comment); }

QString filterName(const FilterDefinition& filter) { return localized(filter.displayNameKey(), filter._displayName); }

QString formatted(const LocalizedText& entry, const QString& value) {
  QString result = text(entry);
  for (const QLatin1String placeholder : {QLatin1String("%d"), QLatin1String("%@")}) {
    const qsizetype at = result.indexOf(placeholder);
    if (at >= 0) return result.replace(at, placeholder.size(), value);
  }
  return result;
}

bool installTranslator(const QLocale& locale) {
  static QPointer<QTranslator> installed;
  auto* application = QCoreApplication::instance();
  if (!application) return false;
  if (installed) {
    QCoreApplication::removeTranslator(installed);
    delete installed;
  }
  auto translator = new QTranslator(application);
  if (!translator->load(locale, QStringLiteral("halvane"), QStringLiteral("_"), QStringLiteral(":/i18n"))) {
    delete translator;
    return false;
  }
  QCoreApplication::installTranslator(translator);
  installed = translator;
  return true;
}

}  // namespace halvane::DSL10n
