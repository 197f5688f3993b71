#include "norvik/environment/site_domain.h"

#include <gtest/gtest.h>

#include "environment/language_test_support.h"

namespace norvik {
namespace {

using C = NVSiteDomainConfigurator;
class SiteDomainTest : public testing::LanguageFixture {};

TEST_F(SiteDomainTest, DefaultsOnAFreshInstallation) {
  EXPECT_TRUE(C::builtInNorvikSiteDomain().starts_with("https://"));
  EXPECT_TRUE(C::builtInLumoSiteDomain().starts_with("https://"));
  EXPECT_EQ(C::NorvikSiteDomain(), C::builtInNorvikSiteDomain());
  const std::string host = C::NorvikDomain();
  EXPECT_EQ("https://" + host, C::builtInNorvikSiteDomain());
  EXPECT_TRUE(isNorvikDomain(host));
  EXPECT_FALSE(isNorvikDomain("https://" + host));
  EXPECT_EQ(C::lastSignedAccountType(), 10);
  EXPECT_EQ(C::currentIPType(), 0);
  EXPECT_FALSE(C::isBeforeLoginUserBelongsToNorvik());
  EXPECT_EQ(C::customWebSiteDomain(), std::nullopt);
  EXPECT_EQ(C::beforeLoginLumoUserName(), std::nullopt);
}

TEST_F(SiteDomainTest, ChinaRegionTestsAlsoAcceptTheBuiltInSite) {
  const std::string norvik(C::builtInNorvikSiteDomain());
  const std::string lumo(C::builtInLumoSiteDomain());
  C::setLumoSiteDomain("https://lumo.test.example");
  C::setNorvikSiteDomain("https://https://norvik.test.example");
  EXPECT_TRUE(isLumoSiteDomain("https://lumo.test.example"));
  EXPECT_TRUE(isLumoSiteDomain(lumo));
  EXPECT_TRUE(isLumoDomain("lumo.test.example"));
  EXPECT_TRUE(isLumoDomain(lumo.substr(8)));
  EXPECT_FALSE(isLumoSiteDomain("HTTPS://lumo.test.example"));
  EXPECT_TRUE(isNorvikSiteDomain("https://https://norvik.test.example"));
  EXPECT_FALSE(isNorvikSiteDomain(norvik));
  EXPECT_EQ(C::NorvikDomain(), "norvik.test.example");  // every scheme is removed
  EXPECT_FALSE(isNorvikDomain(norvik.substr(8)));
  C::setNorvikSiteDomain(std::nullopt);
  EXPECT_TRUE(isNorvikSiteDomain(norvik));
}

TEST_F(SiteDomainTest, StoredValuesReachOtherHandlesAndWrongTypesReadAsDefaults) {
  C::setCurrentIPType(2);
  C::setBeforeLoginUserBelongsToNorvik(true);
  C::setCustomWebSiteDomain("https://custom.example");
  C::updateLastSignedAccountType(3);
  EXPECT_EQ(C::currentIPType(), 2);
  EXPECT_TRUE(C::isBeforeLoginUserBelongsToNorvik());
  EXPECT_EQ(C::customWebSiteDomain(), "https://custom.example");
  EXPECT_EQ(C::lastSignedAccountType(), 3);
  auto store = NVAppGroupUserDefaults();
  store.setObject(platform::Value(platform::Array{}), kNVCurrentIPTypeKey);
  store.setObject(platform::Value(42), kNVLumoSiteDomainKey);
  EXPECT_EQ(C::currentIPType(), 0);
  EXPECT_EQ(C::LumoSiteDomain(), C::builtInLumoSiteDomain());
}

TEST_F(SiteDomainTest, PreSignInUserNamesBySite) {
  C::setBeforeLoginNorvikUserName("ann@example.com");
  C::setBeforeLoginLumoUserName("li");
  EXPECT_EQ(C::beforeLoginUsernameWithSiteDomain(C::NorvikSiteDomain()), "ann@example.com");
  EXPECT_EQ(C::beforeLoginUsernameWithSiteDomain("https://unknown.example"), "li");
  EXPECT_EQ(C::beforeLoginUsernameWithSiteDomain(std::nullopt), "li");
  C::setBeforeLoginUsername("+86 13812345678", C::LumoSiteDomain());
  EXPECT_EQ(C::beforeLoginLumoUserName(), "13812345678");
  C::setBeforeLoginUsername("ann smith@example.com", C::NorvikSiteDomain());
  EXPECT_EQ(C::beforeLoginNorvikUserName(), "ann smith@example.com");
  C::setBeforeLoginUsername("+1 13812345678", std::nullopt);  // not a Chinese number: kept whole
  EXPECT_EQ(C::beforeLoginLumoUserName(), "+1 13812345678");
  C::setBeforeLoginUsername(std::nullopt, std::nullopt);
  EXPECT_EQ(C::beforeLoginLumoUserName(), std::nullopt);
}

TEST(MobilePhoneFormat, PrefixesAndDigits) {
  for (const char* yes :
       {"13812345678", "19912345678", "+8613812345678", "+86 13812345678", "008613812345678",
        "0086 13812345678", "8613812345678", "86 15012345678"}) {
    EXPECT_TRUE(isMobilePhoneFormatInChina(yes)) << yes;
  }
  for (const char* no :
       {"", "12812345678", "1381234567", "138123456789", "+86  13812345678", "+8713812345678",
        " 13812345678", "13812345678 ", "1381234567a", "+86-13812345678", "86"}) {
    EXPECT_FALSE(isMobilePhoneFormatInChina(no)) << no;
  }
}

}  // namespace
}  // namespace norvik
