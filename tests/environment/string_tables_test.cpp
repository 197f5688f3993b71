// The table check (tools/strings_check) and the plural-aware, direction-aware formatting of
// looked-up texts.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <thread>

#include "language_test_support.h"
#include "norvik/platform/localized_string.h"
#include "norvik/recurrence/recurrence_rule.h"
#include "norvik/recurrence/repeat_description.h"
#include "strings_check.h"

namespace norvik {
namespace {

using strings_check::KeySet;

constexpr std::string_view kIsolateOpen = "\xE2\x81\xA8";
constexpr std::string_view kIsolateClose = "\xE2\x81\xA9";

bool mentions(const std::vector<std::string>& lines, std::string_view a, std::string_view b) {
  return std::any_of(lines.begin(), lines.end(), [&](const std::string& line) {
    return line.find(a) != std::string::npos && line.find(b) != std::string::npos;
  });
}

TEST(StringsCheck, SourceScanFindsTheLiteralKeysOfLookupCalls) {
  const KeySet keys = strings_check::scanSourceText(R"cpp(
    // lookUp("in a comment")
    return plural ? lookUpFormat("Every %d weeks", n) : lookUp("Weekly");
    text += lookUpSpecialFormat(", %d", v);
    localized(image ? "md_image" : "md_file");
    lookUp(platform::format("the %@ day", ordinal));
    formatLocalized(" (%@)", kNVSpecialStringTable, lookUpSpecial(" (%@)"), text);
    BundleEx::localizedStringForKey("System Default", "", "");
    std::string lookUp(std::string_view key);
    lookUp(
        "Hijri\xEF\xBC\x88"
        "Civil\xEF\xBC\x89");
  )cpp");
  const KeySet expected{{"Localizable", "Every %d weeks"},
                        {"Localizable", "Weekly"},
                        {"Special", ", %d"},
                        {"Localizable", "md_image"},
                        {"Localizable", "md_file"},
                        {"Special", " (%@)"},
                        {"Localizable", "System Default"},
                        {"Localizable",
                         "Hijri\xEF\xBC\x88"
                         "Civil\xEF\xBC\x89"}};
  EXPECT_EQ(keys, expected);
}

TEST(StringsCheck, RecordingFindsTheKeysBuiltFromParts) {
  const KeySet keys = strings_check::recordLibraryKeys();
  for (const std::string_view key :
       {"the 2nd Tuesday", "the last Saturday", "%@ in Mar", "the 31st day", "the 31st",
        "Hebrew Yearly", "Vietnamese Lunar Monthly", "Ebbinghaus_%drd", "Habit",
        "Hijri\xEF\xBC\x88"
        "Saudi\xEF\xBC\x89"}) {
    EXPECT_TRUE(keys.count({"Localizable", std::string(key)})) << key;
  }
  EXPECT_TRUE(keys.count({"Special", " (%@)"}));
  // The lookups go back to the chosen language afterwards.
  EXPECT_EQ(platform::localizedString("Weekly"), "Weekly");
}

TEST(StringsCheck, SpecifiersMayMoveButNotChangeKindOrCount) {
  std::string why;
  EXPECT_TRUE(
      strings_check::specifiersCompatible("Every %d weeks on %@", "%2$@, alle %1$d Wochen", why));
  EXPECT_TRUE(strings_check::specifiersCompatible("Weekly", "100%% sicher", why));
  EXPECT_FALSE(
      strings_check::specifiersCompatible("Every %d weeks on %@", "Alle %@ Wochen am %d", why));
  EXPECT_FALSE(
      strings_check::specifiersCompatible("Every %d weeks on %@", "Alle Wochen am %2$@", why));
  EXPECT_FALSE(strings_check::specifiersCompatible("%1$@ on %2$@", "%1$@ %@", why));
  EXPECT_FALSE(strings_check::specifiersCompatible("Weekly", "Jede %d Woche", why));
}

TEST(StringsCheck, FindsEachKindOfFaultInABundle) {
  testing::TempDir dir;
  const std::string root = dir.file("Main.bundle");
  const std::string good = "\"Every %d days\" = \"Every %d days\";\n\"Weekly\" = \"Weekly\";\n";
  testing::writeFile(root + "/en.lproj/Localizable.strings", good);
  testing::writeFile(root + "/en.lproj/Special.strings", "\"space\" = \" \";\n");
  testing::writeFile(root + "/pl.lproj/Localizable.strings",
                     "\"Every %d days\" = \"Co %@ dni\";\n"
                     "\"Every %d days##few\" = \"Co %d dni\";\n"
                     "\"Every %d days##two\" = \"Co %d dni\";\n"
                     "\"Weekly##one\" = \"Co tydzień\";\n"
                     "\"Unused\" = \"Nieużywany\";\n"
                     "\"Every %d days##few\" = \"Co %d dni\";\n");
  testing::writeFile(root + "/pl.lproj/Special.strings", "\"space\" = \" \xE2\x80\x8E\";\n");
  testing::writeFile(root + "/ar.lproj/Localizable.strings", good + "\"Weekly\" = \"broken;\n");
  testing::writeFile(root + "/ar.lproj/Special.strings", "\"space\" = \" \";\n");
  const KeySet keys{
      {"Localizable", "Every %d days"}, {"Localizable", "Weekly"}, {"Special", "space"}};
  std::vector<std::string> notes;
  const auto problems = strings_check::checkBundle(root, keys, notes);
  EXPECT_FALSE(mentions(problems, "en/", "")) << ::testing::PrintToString(problems);
  EXPECT_TRUE(mentions(problems, "pl/Localizable", "lacks \"Weekly\""));
  EXPECT_TRUE(mentions(problems, "pl/Localizable", "\"Unused\" is a key the library never"));
  EXPECT_TRUE(mentions(problems, "pl/Localizable", "Co %@ dni"));
  EXPECT_TRUE(mentions(problems, "pl/Localizable", "no plural category \"two\""));
  EXPECT_TRUE(mentions(problems, "pl/Localizable", "\"Weekly##one\": only keys counted"));
  EXPECT_TRUE(mentions(problems, "pl/Localizable", "\"Every %d days##few\" twice"));
  EXPECT_TRUE(mentions(problems, "pl/Special", "direction mark"));
  EXPECT_TRUE(mentions(problems, "ar/Localizable", "line 3"));
  EXPECT_EQ(problems.size(), 8u) << ::testing::PrintToString(problems);
  // Languages the user can choose but the bundle lacks are noted, not failed.
  EXPECT_TRUE(mentions(notes, "cs", "no folder yet"));
  EXPECT_FALSE(mentions(notes, "pl", "no folder"));
}

TEST(PluralRules, CategoriesComeFromIcu) {
  EXPECT_EQ(platform::pluralCategory("ru", 21), "one");
  EXPECT_EQ(platform::pluralCategory("ru", 22), "few");
  EXPECT_EQ(platform::pluralCategory("ru", 111), "many");
  EXPECT_EQ(platform::pluralCategory("pl", 1), "one");
  EXPECT_EQ(platform::pluralCategory("pt-BR", 0), "one");
  EXPECT_EQ(platform::pluralCategory("ar", 103), "few");
  EXPECT_EQ(platform::pluralCategory("ar", 2), "two");
  EXPECT_EQ(platform::pluralCategory("ja", 1), "other");
  EXPECT_EQ(platform::pluralCategory("not a code!", 1), "other");
  EXPECT_EQ(platform::pluralCategories("ar").size(), 6u);
  EXPECT_EQ(platform::pluralCategories("zh-Hans"), std::vector<std::string>{"other"});
  EXPECT_TRUE(platform::isRightToLeftLanguage("ur"));
  EXPECT_FALSE(platform::isRightToLeftLanguage("tr"));
}

// A bundle whose Russian table has plural variants and whose German one has none, with an Arabic
// table for the direction of substituted texts.
class LocalizedFormatTest : public testing::LanguageFixture {
 protected:
  void SetUp() override {
    testing::LanguageFixture::SetUp();
    testing::writeFile(bundle_ + "/en.lproj/Localizable.strings",
                       "\"Every %d days\" = \"Every %d days\";\n"
                       "\"Every %d days##one\" = \"Every single day\";\n"
                       "\"Every %d weeks on %@\" = \"Every %d weeks on %@\";\n");
    testing::writeFile(bundle_ + "/ru.lproj/Localizable.strings",
                       "\"Every %d days\" = \"Каждые %d дней\";\n"
                       "\"Every %d days##one\" = \"Каждый %d день\";\n"
                       "\"Every %d days##few\" = \"Каждые %d дня\";\n");
    testing::writeFile(bundle_ + "/ar.lproj/Localizable.strings",
                       "\"Every %d weeks on %@\" = \"كل %d أسابيع في %@\";\n");
  }
  std::string describeDays(std::int64_t n) {
    return platform::formatLocalized("Every %d days", {},
                                     platform::localizedString("Every %d days"), n);
  }
  std::string describeWeeks(std::int64_t n, std::string_view days) {
    return platform::formatLocalized("Every %d weeks on %@", {},
                                     platform::localizedString("Every %d weeks on %@"), n, days);
  }
};

TEST_F(LocalizedFormatTest, CountsTakeTheirLanguagesPluralVariant) {
  ASSERT_TRUE(NVUserLanguage::setUserLanguageType(13));  // ru
  EXPECT_EQ(platform::lookupLanguage(), "ru");
  EXPECT_EQ(describeDays(21), "Каждый 21 день");
  EXPECT_EQ(describeDays(22), "Каждые 22 дня");
  EXPECT_EQ(describeDays(25), "Каждые 25 дней");  // no "many" variant: the plain key
  // A language without the variant never borrows English's.
  ASSERT_TRUE(NVUserLanguage::setUserLanguageType(14));  // de: no such key, English plain text
  EXPECT_EQ(describeDays(1), "Every 1 days");
}

TEST_F(LocalizedFormatTest, RightToLeftTablesIsolateLatinArguments) {
  ASSERT_TRUE(NVUserLanguage::setUserLanguageType(25));  // ar
  const std::string latin = describeWeeks(2, "Mon, Wed");
  EXPECT_EQ(latin, "كل 2 أسابيع في " + std::string(kIsolateOpen) + "Mon, Wed" +
                       std::string(kIsolateClose));
  EXPECT_EQ(describeWeeks(3, "الاثنين"), "كل 3 أسابيع في الاثنين");
  ASSERT_TRUE(NVUserLanguage::setUserLanguageType(13));  // ru: left to right, no marks
  EXPECT_EQ(describeWeeks(2, "Mon, Wed"), "Every 2 weeks on Mon, Wed");
}

TEST_F(LocalizedFormatTest, VariantsFollowALanguageChangeOnOtherThreadsConcurrency) {
  ASSERT_TRUE(NVUserLanguage::setUserLanguageType(13));
  std::atomic<bool> stop{false};
  std::atomic<int> unexpected{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 3; ++t) {
    threads.emplace_back([&] {
      while (!stop.load()) {
        const std::string text = describeDays(21);
        // While the choice flips, the plain text may come from one language and the variant
        // lookup from the other; every result is still a whole text of one of the tables.
        if (text != "Каждый 21 день" && text != "Every 21 days" && text != "Каждые 21 дней") {
          ADD_FAILURE() << text;
          ++unexpected;
        }
      }
    });
  }
  for (int i = 0; i < 40; ++i) NVUserLanguage::setUserLanguageType(i % 2 == 0 ? 14 : 13);
  stop = true;
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(unexpected.load(), 0);
  // Once the choice settles, every thread formats in it.
  EXPECT_EQ(describeDays(21), "Каждый 21 день");
  std::thread([&] { EXPECT_EQ(describeDays(22), "Каждые 22 дня"); }).join();
}

TEST(ShippedTables, RussianDescriptionsAgreeWithTheCount) {
  testing::TempDir dir;
  platform::Environment env = testing::baseEnvironment();
  env.appGroupContainerDirectory = dir.path();
  platform::ScopedEnvironment scoped(env);
  ASSERT_TRUE(NVUserLanguage::setUserLanguageType(13));
  auto describe = [](std::string_view text) {
    SVRecurrenceError error;
    return Repeat::repeatDescriptionWithRRuleByDefaultOrDueDate(
        SVRecurrenceRule::ruleWithIcalString(text, &error), SVRecurrenceFromDefault, std::nullopt,
        false);
  };
  EXPECT_EQ(describe("FREQ=DAILY;INTERVAL=21"), "Каждый 21 день");
  EXPECT_EQ(describe("FREQ=MONTHLY;INTERVAL=3"), "Каждые 3 месяца");
  EXPECT_EQ(describe("FREQ=YEARLY;INTERVAL=5"), "Каждые 5 лет");
  NVUserLanguage::setUserLanguageType(0);
}

}  // namespace
}  // namespace norvik
