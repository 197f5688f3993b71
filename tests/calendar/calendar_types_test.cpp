#include "norvik/calendar/calendar_types.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <set>

#include "norvik/platform/environment.h"
#include "support/test_support.h"

namespace norvik {
namespace {

// A bundle whose English table translates some display-name keys, so that the lookup shows.
class CalendarTypesTest : public ::testing::Test {
 protected:
  void SetUp() override {
    const std::string root = dir_.file("Main.bundle");
    std::filesystem::create_directories(root + "/en.lproj");
    std::ofstream(root + "/en.lproj/Localizable.strings")
        << "\"Chinese Lunar\" = \"Lunar (zh)\";\n\"None\" = \"(none)\";\n"
           "\"Hijri\xEF\xBC\x88"
           "Civil\xEF\xBC\x89\" = \"Hijri civil\";\n";
    platform::Environment env = testing::baseEnvironment();
    env.mainBundlePath = root;
    scoped_ = std::make_unique<platform::ScopedEnvironment>(env);
  }
  testing::TempDir dir_;
  std::unique_ptr<platform::ScopedEnvironment> scoped_;
};

TEST_F(CalendarTypesTest, DisplayNamesAreLookedUpByExactIdentifier) {
  EXPECT_EQ(NVCalendarDateType::LUNAR()->getDisplayName(), "Lunar (zh)");
  EXPECT_EQ(NVCalendarDateType::HIJRI()->getDisplayName(), "Hijri civil");
  // Untranslated keys come back as the English key, full-width parentheses included.
  EXPECT_EQ(NVCalendarDateType::HIJRI_SAUDI()->getDisplayName(),
            "Hijri\xEF\xBC\x88"
            "Saudi\xEF\xBC\x89");
  EXPECT_EQ(NVCalendarDateType::HEBCAL()->getDisplayName(), "Hebrew");
  EXPECT_EQ(NVCalendarDateType::SHAKA()->getDisplayName(), "Saka Era");
  EXPECT_EQ(NVCalendarDateType::KOREAN()->getDisplayName(), "Korean Lunar");
  EXPECT_EQ(NVCalendarDateType::NONE()->getDisplayName(), "(none)");
  EXPECT_EQ(NVCalendarDateType::initWithRawValue("gregorian")->getDisplayName(), "(none)");
  EXPECT_EQ(NVCalendarDateType::initWithRawValue("Hijri")->getDisplayName(), "(none)");
  // An equal but separate instance names the same calendar.
  EXPECT_EQ(NVCalendarDateType::initWithRawValue("vietnam")->getDisplayName(), "Vietnamese Lunar");
}

TEST(CalendarTypes, SingletonsAndAllCases) {
  const auto& all = NVCalendarDateType::allCases();
  ASSERT_EQ(all.size(), 10u);
  EXPECT_EQ(&all, &NVCalendarDateType::allCases());
  EXPECT_EQ(all.front(), NVCalendarDateType::NONE());
  EXPECT_EQ(all.back(), NVCalendarDateType::HIJRI_SAUDI());
  EXPECT_EQ(all[7], NVCalendarDateType::VIETNAM());
  std::set<std::string> raw;
  for (const auto& type : all) raw.insert(type->rawValue());
  EXPECT_EQ(raw.size(), 10u);
  EXPECT_EQ(NVCalendarDateType::NONE()->rawValue(), "");
  EXPECT_EQ(NVCalendarDateType::HIJRI_KUWAITI()->rawValue(), "hijri-kuwaiti");
  EXPECT_EQ(NVCalendarDateType::LUNAR().get(), NVCalendarDateType::LUNAR().get());
  EXPECT_NE(NVCalendarDateType::initWithRawValue("lunar"), NVCalendarDateType::LUNAR());

  EXPECT_EQ(NVCalendarTextLocale::ZHCN()->rawValue(), "zh-rCN");
  EXPECT_EQ(NVCalendarTextLocale::ZHHK()->rawValue(), "zh-rHK");
  EXPECT_EQ(NVCalendarTextLocale::IW()->rawValue(), "iw");
  EXPECT_EQ(NVCalendarTextLocale::FA().get(), NVCalendarTextLocale::FA().get());
  EXPECT_NE(NVCalendarTextLocale::localeWithRawValue("en"), NVCalendarTextLocale::EN());
  EXPECT_EQ(NVCalendarTextLocale::localeWithRawValue("zh_CN")->rawValue(), "zh_CN");
}

}  // namespace
}  // namespace norvik
