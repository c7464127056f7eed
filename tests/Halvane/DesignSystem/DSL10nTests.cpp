// The texts: the table, which must agree with the texts the model declares for its own
// types; the look-up with English defaults without a table, the German table compiled
// into the resource bundle, the desktop's language chosen from the environment; and the
// German source file kept in step with the text table and the looks of the catalogue.
#include <gtest/gtest.h>

#include <QFile>
#include <QXmlStreamReader>

#include <map>
#include <string>

#include "Halvane/DesignSystem/DSL10n.h"
#include "Halvane/DesignSystem/Widgets/DSL10nLookup.h"
#include "Halvane/Model/FilterCatalogue.h"
#include "Halvane/Model/FocusMode.h"
#include "Halvane/Model/MediaTool.h"

using namespace halvane;

namespace {

QString qs(std::string_view text) { return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())); }

TEST(DSL10nTable, KeysAreUniqueWithTextsAndCommentsAndAgreeWithTheModelsOwnTexts) {
  std::map<std::string_view, LocalizedText> entries;
  for (const LocalizedText& entry : DSL10n::allEntries()) {
    EXPECT_TRUE(entries.emplace(entry.key, entry).second) << entry.key;
    EXPECT_FALSE(entry.defaultText.empty() || entry.comment.empty()) << entry.key;
  }
  auto expectEntry = [&](const LocalizedText& text) {
    EXPECT_TRUE(entries.contains(text.key) && entries.at(text.key) == text) << text.key;
  };
  for (MediaTool tool : kAllMediaTools) expectEntry(mediaToolInfo(tool).title);
  for (FocusMode mode : kAllFocusModes) expectEntry(focusModeTitle(mode));
  for (FilterCategory category : kAllFilterCategories) expectEntry(displayName(category));
}

class DSL10nLookup : public ::testing::Test {
 protected:
  void TearDown() override { DSL10n::installTranslator(QLocale(QLocale::English)); }
};

// English, and a language without a table, show the default texts, also for a key no
// table has.
TEST_F(DSL10nLookup, EnglishShowsTheDefaultTexts) {
  for (const QLocale& locale : {QLocale(QLocale::Japanese), QLocale(QLocale::English)}) {
    EXPECT_FALSE(DSL10n::installTranslator(locale));
    for (const LocalizedText& entry : DSL10n::allEntries()) EXPECT_EQ(DSL10n::text(entry), qs(entry.defaultText));
    EXPECT_EQ(DSL10n::localized("filter.noSuchLook", "No Such Look"), "No Such Look");
    EXPECT_EQ(DSL10n::localized("", "Empty key"), "Empty key");
  }
  EXPECT_EQ(DSL10n::formatted(DSL10n::Adjust::kelvinFormat, QString::number(5500)), "5500 K");
  EXPECT_EQ(DSL10n::formatted(DSL10n::Accessibility::videoDuration, "1:05"), "duration 1:05");
}

TEST_F(DSL10nLookup, GermanTranslatesEveryKeyAndKeepsItsPlaceholders) {
  ASSERT_TRUE(DSL10n::installTranslator(QLocale(QLocale::German, QLocale::Austria)));
  int differing = 0;
  for (const LocalizedText& entry : DSL10n::allEntries()) {
    const QString text = DSL10n::text(entry);
    EXPECT_FALSE(text.isEmpty()) << entry.key;
    for (const char* placeholder : {"%d", "%@"})
      EXPECT_EQ(text.contains(placeholder), qs(entry.defaultText).contains(placeholder)) << entry.key;
    differing += text != qs(entry.defaultText);
  }
  // Names such as "OK", "Gamma" or "Zoom" are the same in German; most texts are not.
  EXPECT_GT(differing, 70);
  EXPECT_EQ(DSL10n::text(DSL10n::Common::cancel), "Abbrechen");
  EXPECT_EQ(DSL10n::formatted(DSL10n::Accessibility::videoDuration, "1:05"), "Dauer 1:05");
  for (const FilterDefinition& filter : FilterCatalogue::all())
    EXPECT_NE(qtTrId(filter.displayNameKey().c_str()), QString::fromStdString(filter.displayNameKey()));
  EXPECT_EQ(DSL10n::filterName(*FilterCatalogue::definitionForID("tealOrange")), "Petrol & Orange");
  EXPECT_EQ(DSL10n::localized("filter.noSuchLook", "No Such Look"), "No Such Look");
}

// Run once with LANGUAGE=en and once with LANGUAGE=de (see CMakeLists.txt).
TEST(DesktopLanguage, TheDesktopsLanguageChoosesTheTable) {
  const bool german = qEnvironmentVariable("LANGUAGE").startsWith("de");
  EXPECT_EQ(DSL10n::installTranslator(), german);
  EXPECT_EQ(DSL10n::text(DSL10n::Action::undo), german ? "Rückgängig" : "Undo");
}

TEST(GermanSource, HoldsEveryKeyAndLookWithItsDefaultTextAndComment) {
  QFile file(HALVANE_GERMAN_TS);
  ASSERT_TRUE(file.open(QIODevice::ReadOnly));
  std::map<std::string, std::array<QString, 3>> messages;  // source, comment, translation
  QXmlStreamReader xml(&file);
  std::string id;
  while (!xml.atEnd()) {
    if (xml.readNext() != QXmlStreamReader::StartElement) continue;
    if (xml.name() == u"message") id = xml.attributes().value("id").toString().toStdString();
    else if (xml.name() == u"source") messages[id][0] = xml.readElementText();
    else if (xml.name() == u"extracomment") messages[id][1] = xml.readElementText();
    else if (xml.name() == u"translation") messages[id][2] = xml.readElementText();
  }
  ASSERT_FALSE(xml.hasError()) << xml.errorString().toStdString();
  auto expectMessage = [&](std::string_view key, std::string_view source, std::string_view comment) {
    const auto found = messages.find(std::string(key));
    ASSERT_NE(found, messages.end()) << key;
    EXPECT_EQ(found->second[0], qs(source)) << key;
    EXPECT_EQ(found->second[1], qs(comment)) << key;
    EXPECT_FALSE(found->second[2].isEmpty()) << key;
  };
  for (const LocalizedText& entry : DSL10n::allEntries()) expectMessage(entry.key, entry.defaultText, entry.comment);
  expectMessage(FilterCatalogue::none().displayNameKey(), FilterCatalogue::none()._displayName, {});
  for (const FilterDefinition& filter : FilterCatalogue::all())
    expectMessage(filter.displayNameKey(), filter._displayName, {});
  EXPECT_EQ(messages.size(), DSL10n::allEntries().size() + FilterCatalogue::all().size() + 1) << "no stale keys";
}

}  // namespace
