#include "norvik/vocabulary/lunar_festival.h"

#include <gtest/gtest.h>

#include "norvik/environment/site_domain.h"
#include "norvik/environment/user_language.h"

namespace norvik {
namespace {

platform::Date noon(int y, int m, int d) {
  return platform::Date(static_cast<double>(civilDayFromGregorian(y, m, d)) * 86400.0 + 43200.0);
}

TEST(LunarFestival, ModeFollowsSiteDomainThenLanguage) {
  const std::string china = NVSiteDomainConfigurator::LumoDomain();
  const HolidayNameBlock block = [](platform::Date, const platform::TimeZone&) {
    return std::optional<std::string>("憲法記念日");
  };
  EXPECT_EQ(festivalOrLunarCalendar(noon(2024, 2, 10), 1, china, std::nullopt, block), "春节");
  EXPECT_EQ(festivalOrLunarCalendar(noon(2021, 5, 16), 1, china, std::nullopt, nullptr), "母亲节");
  // Not the China-region domain, English interface: nothing, for every date.
  const std::string other = NVSiteDomainConfigurator::NorvikDomain();
  for (int day = 1; day <= 28; ++day) {
    EXPECT_EQ(festivalOrLunarCalendar(noon(2024, 2, day), 1, other, std::nullopt, block), "");
  }
  // Japanese interface: only the holiday names of the callback.
  ASSERT_TRUE(NVUserLanguage::setUserLanguageType(5));
  EXPECT_EQ(festivalOrLunarCalendar(noon(2024, 2, 10), 1, other, std::nullopt, block),
            "憲法記念日");
  EXPECT_EQ(festivalOrLunarCalendar(noon(2024, 2, 10), 1, other, std::nullopt, nullptr), "");
  // The China-region domain wins over the language.
  EXPECT_EQ(festivalOrLunarCalendar(noon(2024, 2, 10), 1, china, std::nullopt, block), "春节");
  NVUserLanguage::setUserLanguageType(0);
}

}  // namespace
}  // namespace norvik
