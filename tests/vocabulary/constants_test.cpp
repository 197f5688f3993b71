// The exported vocabulary: family sizes, deliberate duplicates and misspellings, and the tables
// that other code walks.
#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>

#include "norvik/vocabulary/shared_constants.h"
#include "norvik/vocabulary/smart_projects.h"
#include "norvik/vocabulary/themes.h"

namespace norvik {
namespace {

TEST(SharedConstants, FamiliesHaveTheirSizes) {
  std::map<std::string_view, std::size_t> sizes;
  std::set<std::string_view> names;
  std::size_t total = 0;
  for (const auto& family : sharedStringConstantFamilies()) {
    sizes[family.title] = family.constants.size();
    total += family.constants.size();
    for (const auto& constant : family.constants) names.insert(constant.name);
  }
  EXPECT_EQ(sizes.size(), 21u);
  EXPECT_EQ(total, 254u);  // 271 constants, 17 of them numeric
  EXPECT_EQ(names.size(), total);
  EXPECT_EQ(sizes["Quick-date configuration keys"], 27u);
  EXPECT_EQ(sizes["Calendar accounts, access privileges and binding keys"], 18u);
  EXPECT_EQ(sizes["Weekday codes"], 7u);
}

TEST(SharedConstants, DeliberateSpellingsAndSharedValues) {
  EXPECT_EQ(NVSortTypeResumeByProject, "ResumeSortTypeByProbject");
  EXPECT_EQ(kNVSwipesConfKeyForPintFocus, "startPomo");
  EXPECT_EQ(kNVAutomicCalendarViewID, "kNVAutomicCalendarViewID");
  EXPECT_EQ(kNVSortOrderSectionKeyForNotAssigned, "-1");
  EXPECT_TRUE(kNVTagParentNone.empty());
  EXPECT_EQ(NVSortConfigGroupKeyOrder, kNVTabBarKeySortOrder);
  EXPECT_EQ(kNVTimelineKeyModifiedDate, kNVTabBarKeyModifiedDate);
  EXPECT_EQ(kNVMatrixKeyModifiedDate, kNVTimetableKeyModifiedDate);
  EXPECT_EQ(kNVSortOrderStep, std::int64_t{1} << 39);
  EXPECT_EQ(kNVStudyRoomNameLengthLimit, 15);
  static_assert(std::is_same_v<decltype(kNVStudyRoomSummaryLengthLimit), const std::int32_t>);
  EXPECT_EQ(kNVHabitStepManual, -1.0);
}

TEST(SmartProjectConstants, IrregularIdentifiersAreKept) {
  EXPECT_EQ(kNVTrashSmartProjectID, "Smart_Trash_PROJECT_ID");
  EXPECT_EQ(kNVAssignedToMeSmartProjectID, "Smart_ASSIGN_ME_PROJECT_ID");
  ASSERT_EQ(SmartProject::nameTable().size(), 15u);
  std::set<std::string_view> identifiers;
  for (const auto& entry : SmartProject::nameTable()) identifiers.insert(entry.identifier);
  EXPECT_EQ(identifiers.size(), 15u);
}

TEST(SmartProjectPredicates, ExactCaseSensitiveMatches) {
  EXPECT_TRUE(isAllSP("Smart_ALL_PROJECT_ID"));
  EXPECT_FALSE(isAllSP("smart_all_project_id"));
  EXPECT_TRUE(isTrashSP("Smart_Trash_PROJECT_ID"));
  EXPECT_FALSE(isTrashSP("Smart_TRASH_PROJECT_ID"));
  EXPECT_FALSE(isTodaySP("Smart_TODAY_PROJECT_ID "));
  EXPECT_TRUE(isMatrixID("quadrant4"));
  EXPECT_FALSE(isMatrixID("quadrant5"));
  EXPECT_FALSE(isMatrixID("Quadrant1"));
}

TEST(SmartProjectPredicates, SmartProjectSetExcludesArchivedEventsLocalCalendarsAndHabits) {
  std::set<std::string_view> smart;
  for (const auto& entry : SmartProject::nameTable()) {
    if (isSmartProject(entry.identifier)) smart.insert(entry.identifier);
  }
  EXPECT_EQ(smart.size(), 11u);
  for (auto outside : {kNVClosedSmartProjectID, kNVEventsSmartProjectID,
                       kNVLocalCalendarsSmartProjectID, kNVHabitSmartProjectID}) {
    EXPECT_FALSE(isSmartProject(outside)) << outside;
  }
  EXPECT_FALSE(isSmartProject(""));
}

TEST(Themes, IdentifiersRoundTripInCaseOrder) {
  const auto all = allThemeIdentifiers();
  ASSERT_EQ(all.size(), 49u);
  EXPECT_EQ(rawValue(all.front()), "default");
  EXPECT_EQ(rawValue(all.back()), "custom");
  std::set<std::string_view> raws;
  for (NVThemeIdentifier theme : all) {
    raws.insert(rawValue(theme));
    EXPECT_EQ(themeIdentifierFromRawValue(rawValue(theme)), theme);
  }
  EXPECT_EQ(raws.size(), 49u);
  EXPECT_EQ(rawValue(NVThemeIdentifier::trueBlackBlue), "true_black_blue");
  EXPECT_EQ(rawValue(NVThemeIdentifier::happy2019), "happy_2019");
  for (auto bad : {"Default", "true-black", "", "default "}) {
    EXPECT_FALSE(themeIdentifierFromRawValue(bad)) << bad;
  }
}

TEST(Themes, SpecialTabbarListLeavesOutTheDeliberateFour) {
  const auto special = themesNeedsSpecialHandlingTabbar();
  ASSERT_EQ(special.size(), 28u);
  std::set<NVThemeIdentifier> members(special.begin(), special.end());
  EXPECT_EQ(members.size(), 28u);
  for (auto out :
       {NVThemeIdentifier::kitty, NVThemeIdentifier::dawn, NVThemeIdentifier::happy2019,
        NVThemeIdentifier::universe, NVThemeIdentifier::custom, NVThemeIdentifier::february}) {
    EXPECT_FALSE(members.count(out)) << rawValue(out);
  }
  EXPECT_EQ(special.front(), NVThemeIdentifier::beijing);
  EXPECT_EQ(special.back(), NVThemeIdentifier::xmas);
  EXPECT_TRUE(members.count(NVThemeIdentifier::bay));
  const auto gradient = themesSolidToGradient();
  EXPECT_EQ(std::vector<std::string_view>(gradient.begin(), gradient.end()),
            (std::vector<std::string_view>{"pink", "green", "yellow"}));
}

}  // namespace
}  // namespace norvik
