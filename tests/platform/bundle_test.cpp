#include "norvik/platform/bundle.h"

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <thread>

#include "support/test_support.h"

namespace norvik::platform {
namespace {

namespace fs = std::filesystem;
using Strings = std::vector<std::string>;

void writeFile(const std::string& path, std::string_view contents) {
  fs::create_directories(fs::path(path).parent_path());
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out << contents;
}

std::string infoPlist(std::string_view entries) {
  return std::string(
             "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<dict>\n") +
         std::string(entries) + "</dict>\n</plist>\n";
}

Environment withLanguages(Strings languages) {
  Environment env = testing::baseEnvironment();
  env.preferredLanguages = std::move(languages);
  return env;
}

// A bundle with several localizations, a resource in the root, localized resources and a table
// outside the bundle that a path escaping it would reach.
class BundleTest : public ::testing::Test {
 protected:
  void SetUp() override {
    root_ = dir_.file("App.bundle");
    writeFile(root_ + "/Info.plist",
              infoPlist("<key>CFBundleIdentifier</key><string>app.test</string>"
                        "<key>CFBundleVersion</key><integer>42</integer>"
                        "<key>CFBundleDevelopmentRegion</key><string>en</string>"));
    writeFile(root_ + "/en.lproj/Localizable.strings",
              "\"Inbox\" = \"Inbox\";\n\"Today\" = \"Today\";\n");
    writeFile(root_ + "/en.lproj/Special.strings", "\"comma\" = \", \";\n");
    writeFile(root_ + "/de.lproj/Localizable.strings",
              "/* German */\n\"Inbox\" = \"Eingang\";\n\"Today\" = \"Heute\";\n");
    writeFile(root_ + "/zh-Hans.lproj/Localizable.strings", "\"Inbox\" = \"收集箱\";");
    writeFile(root_ + "/zh-Hant.lproj/Localizable.strings", "\"Inbox\" = \"收集箱(繁)\";");
    writeFile(root_ + "/pt-BR.lproj/Localizable.strings", "\"Inbox\" = \"Caixa de entrada\";");
    writeFile(root_ + "/fr.lproj/Special.strings", "\"comma\" = \" , \";");
    fs::create_directories(root_ + "/Base.lproj");
    fs::create_directories(root_ + "/bad code.lproj");
    writeFile(root_ + "/SolarTerms.plist", infoPlist(""));
    writeFile(root_ + "/de.lproj/SolarTerms.plist", infoPlist(""));
    writeFile(root_ + "/en.lproj/Help.html", "<p>help</p>");
    writeFile(root_ + "/de.lproj/Hilfe.html", "<p>Hilfe</p>");
    writeFile(root_ + "/Sounds/ding.caf", "ding");
    writeFile(root_ + "/de.lproj/Sounds/gong.caf", "gong");
    // Reachable only by escaping the bundle.
    writeFile(dir_.file("outside.lproj/Localizable.strings"), "\"Inbox\" = \"escaped\";");
    writeFile(dir_.file("secret.strings"), "\"Inbox\" = \"escaped\";");
    writeFile(dir_.file("secret.txt"), "secret");
  }

  std::shared_ptr<Bundle> bundle() const { return Bundle::atPath(root_); }

  testing::TempDir dir_;
  std::string root_;
};

TEST_F(BundleTest, AtPathGivesOneObjectPerDirectory) {
  auto bundle = Bundle::atPath(root_);
  ASSERT_NE(bundle, nullptr);
  EXPECT_EQ(bundle->bundlePath(), fs::canonical(root_).string());
  fs::create_directory_symlink(root_, dir_.file("link"));
  for (const std::string& spelling :
       {root_ + "/", root_ + "/de.lproj/..", root_ + "/./", dir_.file("link")}) {
    EXPECT_EQ(Bundle::atPath(spelling), bundle) << spelling;
  }
  EXPECT_EQ(Bundle::atPath(dir_.file("missing")), nullptr);
  EXPECT_EQ(Bundle::atPath(root_ + "/Info.plist"), nullptr);
  EXPECT_EQ(Bundle::atPath(""), nullptr);

  // A removed directory is no bundle any more.
  fs::remove_all(root_);
  EXPECT_EQ(Bundle::atPath(root_), nullptr);
}

TEST_F(BundleTest, InfoDictionary) {
  auto b = bundle();
  EXPECT_EQ(b->bundleIdentifier(), "app.test");
  EXPECT_EQ(b->developmentLocalization(), "en");
  EXPECT_EQ(b->infoDictionary().size(), 3u);
  EXPECT_EQ(b->objectForInfoDictionaryKey("CFBundleVersion"), Value(42));
  EXPECT_FALSE(b->objectForInfoDictionaryKey("Missing").has_value());

  // Malformed and missing property lists give an empty dictionary.
  writeFile(dir_.file("Malformed/Info.plist"), "<plist><dict><key>CFBundleIdentifier</key>");
  EXPECT_FALSE(Bundle::atPath(dir_.file("Malformed"))->bundleIdentifier().has_value());
  fs::create_directories(dir_.file("Empty"));
  EXPECT_TRUE(Bundle::atPath(dir_.file("Empty"))->infoDictionary().empty());
}

TEST(BundleLocalizationChoice, PreferredLocalizationsFromArray) {
  const Strings available{"Base", "de", "en", "pt-BR", "zh-Hans", "zh-Hant", "zh-Hant-HK"};
  struct Case {
    Strings preferences;
    std::string expected;
  };
  const Case cases[] = {
      {{"de-DE"}, "de"},      {{"zh-Hans-CN"}, "zh-Hans"},
      {{"zh-CN"}, "zh-Hans"}, {{"zh"}, "zh-Hans"},
      {{"zh-TW"}, "zh-Hant"}, {{"zh-HK"}, "zh-Hant-HK"},
      {{"pt-BR"}, "pt-BR"},   {{"pt-PT"}, "pt-BR"},
      {{"en-US"}, "en"},      {{"ja-JP", "ko", "de-CH", "en"}, "de"},
      {{"ja"}, "en"},         {{"../de", "not a tag!"}, "en"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(::testing::PrintToString(c.preferences));
    EXPECT_EQ(Bundle::preferredLocalizationsFromArray(available, c.preferences),
              Strings{c.expected});
  }
  // Without a match: the development region, else "en", else the first real localization.
  EXPECT_EQ(Bundle::preferredLocalizationsFromArray(available, {"ja"}, "zh-Hant"),
            Strings{"zh-Hant"});
  EXPECT_EQ(Bundle::preferredLocalizationsFromArray({"Base", "fr", "it"}, {"ja"}), Strings{"fr"});
  EXPECT_EQ(Bundle::preferredLocalizationsFromArray({"Base"}, {"ja"}), Strings{"Base"});
  EXPECT_EQ(Bundle::preferredLocalizationsFromArray({}, {"en"}), Strings{});
  // Legacy folder names, and an exact folder before its likely-script relative.
  EXPECT_EQ(Bundle::preferredLocalizationsFromArray({"English", "German"}, {"de-AT"}),
            Strings{"German"});
  EXPECT_EQ(Bundle::preferredLocalizationsFromArray({"English", "zh_CN"}, {"zh-Hans-CN"}),
            Strings{"zh_CN"});
  EXPECT_EQ(Bundle::preferredLocalizationsFromArray({"zh", "zh-Hans"}, {"zh"}), Strings{"zh"});
  // Another script of the same language is no match.
  EXPECT_EQ(Bundle::preferredLocalizationsFromArray({"fr", "zh-Hans"}, {"zh-Hant-TW"}),
            Strings{"fr"});
  // Invalid folder codes are never chosen.
  EXPECT_EQ(Bundle::preferredLocalizationsFromArray({"../de", "fr"}, {"de"}), Strings{"fr"});
}

TEST_F(BundleTest, LocalizationFollowsEnvironment) {
  auto b = bundle();
  EXPECT_EQ(b->localizations(), (Strings{"Base", "de", "en", "fr", "pt-BR", "zh-Hans", "zh-Hant"}));
  struct Case {
    Strings languages;
    std::string localization;
    std::string inbox;
  };
  const Case cases[] = {
      {{"en-US"}, "en", "Inbox"},           {{"de-DE", "en-US"}, "de", "Eingang"},
      {{"zh-TW"}, "zh-Hant", "收集箱(繁)"}, {{"pt-PT"}, "pt-BR", "Caixa de entrada"},
      {{"ja-JP", "ko-KR"}, "en", "Inbox"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.localization);
    ScopedEnvironment env(withLanguages(c.languages));
    EXPECT_EQ(b->preferredLocalizations(), Strings{c.localization});
    EXPECT_EQ(b->localizedString("Inbox"), c.inbox);
  }
  // modifyEnvironment is seen by the same bundle object.
  ScopedEnvironment env(withLanguages({"en"}));
  EXPECT_EQ(b->localizedString("Today"), "Today");
  modifyEnvironment([](Environment& e) { e.preferredLanguages = {"de"}; });
  EXPECT_EQ(b->localizedString("Today"), "Heute");
}

TEST_F(BundleTest, LocalizedStringTablesAndDefaults) {
  ScopedEnvironment env(withLanguages({"de-DE"}));
  auto b = bundle();
  // The default table, by omission and by name.
  EXPECT_EQ(b->localizedString("Inbox"), "Eingang");
  EXPECT_EQ(b->localizedString("Inbox", "", "Localizable"), "Eingang");
  // Missing keys give the value when there is one, else the key.
  EXPECT_EQ(b->localizedString("Tomorrow"), "Tomorrow");
  EXPECT_EQ(b->localizedString("Tomorrow", "Morgen"), "Morgen");
  // A missing table behaves as an empty one; German has no Special table.
  EXPECT_EQ(b->localizedString("comma", "", "Special"), "comma");
  EXPECT_EQ(b->localizedString("Inbox", "fallback", "NoSuchTable"), "fallback");
  // One localization asked directly.
  EXPECT_EQ(b->localizedString("comma", "", "Special", "en"), ", ");
  EXPECT_EQ(b->localizedString("comma", "", "Special", "fr"), " , ");
  EXPECT_EQ(b->localizedString("Inbox", "", "", "ja"), "Inbox");

  // The bundle of one .lproj folder looks its tables up at its own root.
  auto german = b->bundleForLocalization("de");
  ASSERT_NE(german, nullptr);
  EXPECT_EQ(german, Bundle::atPath(*b->pathForResource("de", "lproj")));
  EXPECT_TRUE(german->localizations().empty());
  EXPECT_EQ(german->localizedString("Today"), "Heute");
  EXPECT_EQ(german->localizedString("Tomorrow", "Morgen"), "Morgen");
  ScopedEnvironment english(withLanguages({"en"}));
  EXPECT_EQ(german->localizedString("Today"), "Heute");
  EXPECT_EQ(b->bundleForLocalization("en")->localizedString("comma", "", "Special"), ", ");
  EXPECT_EQ(b->bundleForLocalization("ja"), nullptr);
}

TEST_F(BundleTest, MalformedTableKeepsEntriesBeforeTheError) {
  writeFile(root_ + "/de.lproj/Broken.strings", "\"a\" = \"A\";\n\"b\" = \"B\"\n\"c\" = \"C\";");
  EXPECT_EQ(bundle()->localizedString("a", "", "Broken", "de"), "A");
  EXPECT_EQ(bundle()->localizedString("c", "", "Broken", "de"), "c");
}

TEST_F(BundleTest, TablesAreReadOnce) {
  auto b = bundle();
  EXPECT_EQ(b->localizedString("Inbox", "", "", "de"), "Eingang");
  EXPECT_EQ(b->localizedString("Later", "", "Late", "de"), "Later");
  writeFile(root_ + "/de.lproj/Localizable.strings", "\"Inbox\" = \"Changed\";");
  writeFile(root_ + "/de.lproj/Late.strings", "\"Later\" = \"Später\";");
  EXPECT_EQ(b->localizedString("Inbox", "", "", "de"), "Eingang");
  EXPECT_EQ(b->localizedString("Later", "", "Late", "de"), "Later");
}

TEST_F(BundleTest, PathForResource) {
  ScopedEnvironment env(withLanguages({"de"}));
  auto b = bundle();
  const std::string base = b->bundlePath();
  // The root wins over the localized copy.
  EXPECT_EQ(b->pathForResource("SolarTerms", "plist"), base + "/SolarTerms.plist");
  EXPECT_EQ(b->pathForResource("SolarTerms", ".plist"), base + "/SolarTerms.plist");
  // Then the preferred localization, then the development one.
  EXPECT_EQ(b->pathForResource("Hilfe", "html"), base + "/de.lproj/Hilfe.html");
  EXPECT_EQ(b->pathForResource("Help", "html"), base + "/en.lproj/Help.html");
  EXPECT_EQ(b->pathForResource("ding", "caf", "Sounds"), base + "/Sounds/ding.caf");
  EXPECT_EQ(b->pathForResource("ding", "caf", "./Sounds/"), base + "/Sounds/ding.caf");
  EXPECT_EQ(b->pathForResource("gong", "caf", "Sounds"), base + "/de.lproj/Sounds/gong.caf");
  {
    ScopedEnvironment french(withLanguages({"fr"}));
    EXPECT_FALSE(b->pathForResource("gong", "caf", "Sounds").has_value());
    EXPECT_FALSE(b->pathForResource("Hilfe", "html").has_value());
  }
  EXPECT_FALSE(b->pathForResource("Missing", "plist").has_value());
  EXPECT_FALSE(b->pathForResource("", "plist").has_value());
  EXPECT_FALSE(b->pathForResource("ding", "caf").has_value());
}

TEST_F(BundleTest, NothingReachesOutsideTheBundle) {
  auto b = bundle();
  // Each of these would name an existing file outside the bundle if it were used as given.
  EXPECT_FALSE(b->pathForResource("../secret", "txt").has_value());
  EXPECT_FALSE(b->pathForResource("secret", "txt", "..").has_value());
  EXPECT_FALSE(b->pathForResource("secret", "txt", "Sounds/../..").has_value());
  EXPECT_FALSE(b->pathForResource("secret", "txt", dir_.path()).has_value());
  EXPECT_FALSE(b->pathForResource("secret", "/../../secret.txt").has_value());
  EXPECT_FALSE(b->pathForResource("outside", "lproj", "..").has_value());

  EXPECT_EQ(b->localizedString("Inbox", "", "", "../outside"), "Inbox");
  EXPECT_EQ(b->localizedString("Inbox", "", "../secret"), "Inbox");
  EXPECT_EQ(b->localizedString("Inbox", "", "../../secret", "de"), "Inbox");
  EXPECT_EQ(b->localizedString("Inbox", "", std::string("Localizable\0x", 13), "de"), "Inbox");
  EXPECT_EQ(b->bundleForLocalization("../outside"), nullptr);
  EXPECT_EQ(b->bundleForLocalization(""), nullptr);

  EXPECT_TRUE(Bundle::isValidLocalizationCode("zh_Hant-TW"));
  EXPECT_FALSE(Bundle::isValidLocalizationCode("de.lproj"));
  EXPECT_FALSE(Bundle::isValidLocalizationCode(std::string(65, 'a')));
  ScopedEnvironment env(withLanguages({"../outside", "outside"}));
  EXPECT_EQ(b->localizedString("Inbox"), "Inbox");
}

TEST_F(BundleTest, MainBundleFollowsEnvironment) {
  // The build tree's bundle, installed by the test environment.
  EXPECT_EQ(Bundle::main()->bundleIdentifier(), "app.norvik.taskcalendar");

  Environment env = withLanguages({"de"});
  env.mainBundlePath = root_;
  {
    ScopedEnvironment scoped(env);
    EXPECT_EQ(Bundle::main(), bundle());
    EXPECT_EQ(Bundle::main()->localizedString("Inbox"), "Eingang");
  }
  EXPECT_EQ(Bundle::main()->bundleIdentifier(), "app.norvik.taskcalendar");

  // A missing directory gives a bundle without resources; it is looked for again only when the
  // environment changes (here: the host names the path again once the directory exists).
  env.mainBundlePath = dir_.file("Later.bundle");
  ScopedEnvironment scoped(env);
  auto missing = Bundle::main();
  ASSERT_NE(missing, nullptr);
  EXPECT_EQ(Bundle::main(), missing);
  EXPECT_EQ(missing->localizedString("Inbox"), "Inbox");
  EXPECT_EQ(missing->localizedString("Inbox", "Eingang?"), "Eingang?");
  EXPECT_FALSE(missing->bundleIdentifier().has_value());
  writeFile(dir_.file("Later.bundle/de.lproj/Localizable.strings"), "\"Inbox\" = \"Eingang\";");
  EXPECT_EQ(Bundle::main(), missing);
  Bundle::setMainBundlePath(dir_.file("Later.bundle"));
  EXPECT_EQ(Bundle::main()->localizedString("Inbox"), "Eingang");
}

// Lookups, first reads of tables and main-bundle queries from several threads while another
// thread keeps changing the preferred languages.
class BundleConcurrency : public BundleTest {};

TEST_F(BundleConcurrency, LookupsWhileLanguagesChange) {
  ScopedEnvironment restore(withLanguages({"en"}));
  auto b = bundle();
  std::atomic<bool> stop{false};
  std::atomic<int> wrong{0};
  std::thread switcher([&] {
    for (int i = 0; i < 200; ++i) {
      modifyEnvironment(
          [i](Environment& e) { e.preferredLanguages = {i % 2 == 0 ? "de" : "zh-Hans"}; });
    }
    stop = true;
  });
  std::vector<std::thread> readers;
  for (int t = 0; t < 4; ++t) {
    readers.emplace_back([&, t] {
      int rounds = 0;
      while (!stop || rounds < 50) {
        ++rounds;
        const std::string inbox = b->localizedString("Inbox");
        if (inbox != "Eingang" && inbox != "收集箱" && inbox != "Inbox") ++wrong;
        const std::string table = "T" + std::to_string(rounds % 7);
        if (b->localizedString("k", "v", table, t % 2 ? "de" : "en") != "v") ++wrong;
        if (!Bundle::main()) ++wrong;
      }
    });
  }
  switcher.join();
  for (auto& r : readers) r.join();
  EXPECT_EQ(wrong.load(), 0);
}

}  // namespace
}  // namespace norvik::platform
