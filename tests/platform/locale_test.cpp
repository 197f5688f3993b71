#include "norvik/platform/locale.h"

#include <gtest/gtest.h>

#include "norvik/platform/environment.h"
#include "support/test_support.h"

namespace norvik::platform {
namespace {

TEST(Locale, IdentifiersTagsAndParts) {
  Locale chinese("zh-Hans-CN");
  EXPECT_EQ(chinese.identifier(), "zh_Hans_CN");
  EXPECT_EQ(chinese.languageCode(), "zh");
  EXPECT_EQ(chinese.scriptCode(), "Hans");
  EXPECT_EQ(chinese.countryCode(), "CN");
  EXPECT_EQ(chinese.languageTag(), "zh-Hans-CN");
  EXPECT_EQ(Locale("en_US_POSIX").variantCode(), "POSIX");
  EXPECT_EQ(Locale("en_US_POSIX").languageTag(), "en-US-u-va-posix");
  EXPECT_EQ(Locale("de_DE.UTF-8").identifier(), "de_DE");
  Locale keyword("en-US-u-ca-chinese");
  EXPECT_EQ(keyword.identifier(), "en_US@calendar=chinese");
  EXPECT_EQ(keyword.keywordValue("calendar"), "chinese");
  EXPECT_EQ(keyword.keywordValue("numbers"), "");
  EXPECT_EQ(Locale("de_DE").displayName(Locale("en_US")), "German (Germany)");
}

TEST(Locale, MalformedAndEmptyInputGiveStatedDefaults) {
  EXPECT_EQ(Locale().identifier(), "en_US_POSIX");
  EXPECT_EQ(Locale("").identifier(), "");
  EXPECT_EQ(Locale("").languageTag(), "und");
  EXPECT_EQ(Locale("en US").identifier(), "en_US_POSIX");
  EXPECT_EQ(Locale("../../etc").identifier(), "en_US_POSIX");
  EXPECT_EQ(Locale(std::string(500, 'a')).identifier(), "en_US_POSIX");
  EXPECT_EQ(canonicalLocaleIdentifier("zh-Hant-TW"), "zh_Hant_TW");
}

TEST(Locale, LikelySubtags) {
  EXPECT_EQ(Locale("zh_CN").maximized().identifier(), "zh_Hans_CN");
  EXPECT_EQ(Locale("zh_TW").maximized().identifier(), "zh_Hant_TW");
  EXPECT_EQ(Locale("zh_Hans_CN").minimized().identifier(), "zh");
  EXPECT_EQ(Locale("sr_RS").maximized().scriptCode(), "Cyrl");
  EXPECT_EQ(Locale("en").maximized().identifier(), "en_Latn_US");
}

TEST(Locale, CurrentAndAutoupdatingFollowTheEnvironment) {
  Environment env = testing::baseEnvironment();
  env.localeIdentifier = "de_DE";
  ScopedEnvironment scoped(env);
  Locale snapshot = Locale::current();
  Locale following = Locale::autoupdatingCurrent();
  EXPECT_EQ(snapshot.identifier(), "de_DE");
  EXPECT_EQ(following.identifier(), "de_DE");
  EXPECT_TRUE(following.isAutoupdating());
  modifyEnvironment([](Environment& e) { e.localeIdentifier = "zh-Hans-CN"; });
  EXPECT_EQ(snapshot.identifier(), "de_DE");
  EXPECT_EQ(following.identifier(), "zh_Hans_CN");
  EXPECT_EQ(following.countryCode(), "CN");
  EXPECT_EQ(following, Locale::autoupdatingCurrent());
  EXPECT_NE(following, Locale("zh_Hans_CN"));
  modifyEnvironment([](Environment& e) { e.localeIdentifier = "not a locale"; });
  EXPECT_EQ(Locale::current().identifier(), "en_US_POSIX");
}

TEST(Locale, CurrentLocaleWithLanguageCodeKeepsRegionAndKeywords) {
  Environment env = testing::baseEnvironment();
  ScopedEnvironment scoped(env);
  EXPECT_EQ(Locale::currentLocaleWithLanguageCode("de").identifier(), "de_US");
  EXPECT_EQ(Locale::currentLocaleWithLanguageCode("zh-Hans").identifier(), "zh_Hans_US");
  EXPECT_EQ(Locale::currentLocaleWithLanguageCode("zh_Hant").identifier(), "zh_Hant_US");
  EXPECT_EQ(Locale::currentLocaleWithLanguageCode("").identifier(), "en_US");
  EXPECT_EQ(Locale::currentLocaleWithLanguageCode("d e").identifier(), "en_US");
  modifyEnvironment([](Environment& e) { e.localeIdentifier = "zh_Hans_CN@calendar=chinese"; });
  EXPECT_EQ(Locale::currentLocaleWithLanguageCode("en").identifier(), "en_CN@calendar=chinese");
  EXPECT_EQ(Locale::currentLocaleWithLanguageCode("ja-JP").identifier(), "ja_CN@calendar=chinese");
}

}  // namespace
}  // namespace norvik::platform
