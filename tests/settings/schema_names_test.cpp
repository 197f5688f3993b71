#include "norvik/settings/schema_names.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>

namespace norvik {
namespace {

std::map<std::string, int> valueCounts(std::span<const NamedStringConstant> list) {
  std::map<std::string, int> counts;
  for (const auto& entry : list) ++counts[std::string(entry.value)];
  return counts;
}

TEST(SchemaNames, FamiliesHaveTheirSizesAndNamingPattern) {
  EXPECT_EQ(allDBTableNames().size(), 70u);
  EXPECT_EQ(allDBColumnNames().size(), 380u);
  std::set<std::string_view> names;
  for (const auto& table : allDBTableNames()) {
    EXPECT_TRUE(table.name.starts_with("kNV") && table.name.ends_with("DBTableName")) << table.name;
    EXPECT_FALSE(table.value.empty()) << table.name;
    names.insert(table.name);
  }
  for (const auto& column : allDBColumnNames()) {
    const bool suffixed = column.name.ends_with("DBColumnName") ||
                          column.name.ends_with("DBColumnName_deprecated") ||
                          column.name.ends_with("DBColumnName_New");
    EXPECT_TRUE(column.name.starts_with("kNV") && suffixed) << column.name;
    EXPECT_FALSE(column.value.empty()) << column.name;
    names.insert(column.name);
  }
  EXPECT_EQ(names.size(), 450u);  // no name listed twice
}

TEST(SchemaNames, OnlyTheKnownColumnNamesAreShared) {
  std::set<std::string> shared;
  for (const auto& [value, count] : valueCounts(allDBColumnNames())) {
    if (count > 1) {
      EXPECT_EQ(count, 2) << value;
      shared.insert(value);
    }
  }
  EXPECT_EQ(shared, (std::set<std::string>{"kind", "step", "tasks", "timeline_conf", "visible"}));
  for (const auto& [value, count] : valueCounts(allDBTableNames())) EXPECT_EQ(count, 1) << value;
}

TEST(SchemaNames, OldColumnsAndOddSpellingsAreKept) {
  EXPECT_EQ(kNVProgressDBColumnName, "role_progress");
  EXPECT_EQ(kNVProgressDBColumnName_deprecated, "progress");
  EXPECT_EQ(kNVExDatesDBColumnName_New, "ex_dates_new");
  EXPECT_EQ(kNVSortOrderTypeDBColumnName_deprecated, "duedate_sort_order_type");
  EXPECT_EQ(kNVDefaultTagDBTableName, "default_tag");
  EXPECT_EQ(kNVTagDBTableName, "Tag");
  EXPECT_EQ(kNVFeaturePrompDBTableName, "NVFeaturePrompt");
  EXPECT_EQ(kNVRemarkDBColumnName, "remak");
  EXPECT_EQ(kNVShowFocusInCalendarDBColumnName, "show_fcus_record_in_calendar");
  EXPECT_EQ(kNVWeChatOfficalAccountFollowedDBColumnName, "Wechat_offical_account_followed");
  EXPECT_EQ(kNVNorvikTaskIdDBColumnName, "norvikTaskId");
  EXPECT_EQ(kNVPKIDDBColumnName, "_id");
}

}  // namespace
}  // namespace norvik
