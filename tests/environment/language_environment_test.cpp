#include "norvik/environment/language_environment.h"

#include <gtest/gtest.h>

#include "environment/language_test_support.h"

namespace norvik {
namespace {

class LanguageEnvironmentTest : public testing::LanguageFixture {
 protected:
  void choose(NVUserLanguageType type) {
    auto code = NVUserLanguage::userLanguageIDForType(type);
    storeCode(code ? platform::Value(*code) : platform::Value());
  }
  void setCarrier(std::optional<platform::CarrierInfo> carrier) {
    platform::modifyEnvironment([&](platform::Environment& env) { env.carrier = carrier; });
  }
};

using E = NVLanguageEnvironment;

TEST_F(LanguageEnvironmentTest, EnglishAndChineseNeedTheHyphenOthersDoNot) {
  setLanguages({"en"});
  EXPECT_FALSE(E::isSystemEnglish());
  EXPECT_FALSE(E::isAppEnglish());
  setLanguages({"en-US"});
  EXPECT_TRUE(E::isSystemEnglish());
  EXPECT_TRUE(E::isAppEnglish());
  setLanguages({"zh"});
  EXPECT_FALSE(E::isSystemChinese());
  setLanguages({"zh-HK"});
  EXPECT_TRUE(E::isSystemChinese());
  EXPECT_TRUE(E::isSystemTraditionalChinese());
  EXPECT_FALSE(E::isSystemSimplifiedChinese());
  setLanguages({"ru"});
  EXPECT_TRUE(E::isSystemRussian());
  setLanguages({"pt-PT"});
  EXPECT_TRUE(E::isSystemPortuguese());
  EXPECT_TRUE(E::isAppPortuguese());
  setLanguages({"he-IL"});
  EXPECT_TRUE(E::isSystemHebrew());
  setLanguages({"iw"});
  EXPECT_TRUE(E::isSystemHebrew());
  setLanguages({"EN-US"});  // case-sensitive
  EXPECT_FALSE(E::isSystemEnglish());
  setLanguages({});
  EXPECT_FALSE(E::isSystemGerman());
  EXPECT_FALSE(E::isAppGerman());
  EXPECT_EQ(E::preferredLanguage(), std::nullopt);
}

TEST_F(LanguageEnvironmentTest, AppPredicatesFollowTheChoiceOverTheSystem) {
  setLanguages({"zh-Hans-CN"});
  choose(2);
  EXPECT_FALSE(E::isAppSimplifiedChinese());
  EXPECT_TRUE(E::isAppTraditionalChinese());
  EXPECT_TRUE(E::isAppChinese());
  EXPECT_TRUE(E::isSystemSimplifiedChinese());
  setLanguages({"ru-RU"});
  choose(3);
  EXPECT_TRUE(E::isSystemRussian());
  EXPECT_FALSE(E::isAppRussian());
  EXPECT_TRUE(E::isAppEnglish());
  EXPECT_EQ(E::preferredLanguage(), "en");
  choose(16);
  EXPECT_TRUE(E::isAppPortuguese());
  choose(22);
  EXPECT_TRUE(E::isAppSlovak());
  EXPECT_FALSE(E::isAppGreek());
  choose(0);
  EXPECT_TRUE(E::isAppRussian());
  EXPECT_EQ(E::preferredLanguage(), "ru-RU");
}

TEST_F(LanguageEnvironmentTest, ServerTagMixesChosenLanguageWithSystemRegion) {
  setLanguages({"en-US"}, "en_US");
  choose(3);
  EXPECT_EQ(E::preferredLanguage_Server(), "en_US");
  choose(1);
  setLanguages({"en-US"}, "zh_CN");
  EXPECT_EQ(E::preferredLanguage_Server(), "zh_CN");
  choose(16);
  setLanguages({"pt-PT"}, "pt_PT");
  EXPECT_EQ(E::preferredLanguage_Server(), "pt_PT");
  choose(3);
  setLanguages({"de-DE"}, "de_DE");
  EXPECT_EQ(E::preferredLanguage_Server(), "en_DE");
  choose(1);
  setLanguages({"en-US"}, "zh");  // no country
  EXPECT_EQ(E::preferredLanguage_Server(), "zh");
  choose(2);
  EXPECT_EQ(E::preferredLanguage_Server(), "zh");
  choose(0);
  setLanguages({"fr-CA"}, "fr_CA");
  EXPECT_EQ(E::preferredLanguage_Server(), "fr_CA");
  setLanguages({"fr-CA"}, "fr");
  EXPECT_EQ(E::preferredLanguage_Server(), "fr");
  setLanguages({"fr-CA"}, "");  // the root locale has no language: the system language as is
  EXPECT_EQ(E::preferredLanguage_Server(), "fr-CA");
}

TEST_F(LanguageEnvironmentTest, LastUserLanguageStoresThePreferredLanguage) {
  EXPECT_EQ(E::lastUserLanguage(), std::nullopt);
  setLanguages({"ja-JP"});
  E::updateLastUserLanguage();
  EXPECT_EQ(E::lastUserLanguage(), "ja-JP");
  choose(14);
  E::updateLastUserLanguage();
  EXPECT_EQ(E::lastUserLanguage(), "de");
}

TEST_F(LanguageEnvironmentTest, CarrierBrandsAndCountries) {
  setCarrier(std::nullopt);  // Linux: no telephony service
  EXPECT_EQ(NVOperatorEnvironment::operatorBrand(), 5u);
  EXPECT_FALSE(NVOperatorEnvironment::isChinese());
  EXPECT_FALSE(NVOperatorEnvironment::isAmerican());
  const std::vector<std::pair<std::string, NVOperatorBrand>> brands{
      {"00", 0}, {"02", 0}, {"07", 0}, {"08", 0}, {"01", 1}, {"06", 1}, {"09", 1},
      {"03", 2}, {"05", 2}, {"11", 2}, {"20", 3}, {"04", 4}, {"", 4},   {"2", 4}};
  for (const auto& [network, brand] : brands) {
    setCarrier(platform::CarrierInfo{"", "460", network, "cn"});
    EXPECT_EQ(NVOperatorEnvironment::operatorBrand(), brand) << network;
    EXPECT_TRUE(NVOperatorEnvironment::isChinese());
  }
  setCarrier(platform::CarrierInfo{"", "4600", "00", "cn"});  // exact for China
  EXPECT_EQ(NVOperatorEnvironment::operatorBrand(), 5u);
  setCarrier(platform::CarrierInfo{"", "3101", "00", ""});  // prefix for the United States
  EXPECT_TRUE(NVOperatorEnvironment::isAmerican());
  setCarrier(platform::CarrierInfo{"", "317", "00", ""});
  EXPECT_FALSE(NVOperatorEnvironment::isAmerican());
}

TEST_F(LanguageEnvironmentTest, RegionPreferences) {
  setLanguages({"en-GB"}, "en_GB");
  setCarrier(std::nullopt);
  EXPECT_FALSE(NVEnvironment::prefersChinese());
  EXPECT_FALSE(NVEnvironment::prefersUSA());
  setLanguages({"en-GB"}, "zh_Hans_CN");
  EXPECT_TRUE(NVLocaleEnvironment::isChina());
  EXPECT_TRUE(NVEnvironment::prefersChinese());
  setLanguages({"en-GB"}, "en_GB");
  choose(1);
  EXPECT_TRUE(NVEnvironment::prefersChinese());
  choose(0);
  setCarrier(platform::CarrierInfo{"", "460", "01", "cn"});
  EXPECT_TRUE(NVEnvironment::prefersChinese());
  setCarrier(platform::CarrierInfo{"", "234", "10", "us"});  // ISO country in any case
  EXPECT_TRUE(NVEnvironment::prefersUSA());
  setCarrier(std::nullopt);
  setLanguages({"es-US"}, "es_US");
  EXPECT_TRUE(NVLocaleEnvironment::isUSA());
  EXPECT_TRUE(NVEnvironment::prefersUSA());
}

}  // namespace
}  // namespace norvik
