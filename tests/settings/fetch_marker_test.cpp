#include "norvik/settings/fetch_marker.h"

#include <gtest/gtest.h>

#include "settings/settings_test_support.h"

namespace norvik {
namespace {

using Strings = std::vector<std::string>;

class FetchMarkerTest : public testing::SettingsTest {};

TEST_F(FetchMarkerTest, ListsAppendPerUserAndEntityAndFinishingForgetsOneUser) {
  EXPECT_EQ(NVNewPropertyFetchMarker::newPropertiesToFetch("Task", 1), std::nullopt);
  NVNewPropertyFetchMarker::finishFetchingForUser(1);
  EXPECT_TRUE(store().objectForKey("newPropertiesToFetch").isNull()) << "nothing to finish";

  NVNewPropertyFetchMarker::appendNewPropertiesToFetch({"a"}, "Task", 1);
  NVNewPropertyFetchMarker::appendNewPropertiesToFetch({"a", "b"}, "Task", 1);
  NVNewPropertyFetchMarker::appendNewPropertiesToFetch({"c"}, "Project", 1);
  NVNewPropertyFetchMarker::appendNewPropertiesToFetch({"d"}, "Task", 2);
  EXPECT_EQ(NVNewPropertyFetchMarker::newPropertiesToFetch("Task", 1), (Strings{"a", "a", "b"}));
  EXPECT_EQ(NVNewPropertyFetchMarker::newPropertiesToFetch("Habit", 1), std::nullopt);
  EXPECT_EQ(store().dictionaryForKey("newPropertiesToFetch")->count("2"), 1u);

  NVNewPropertyFetchMarker::finishFetchingForUser(1);
  EXPECT_EQ(NVNewPropertyFetchMarker::newPropertiesToFetch("Task", 1), std::nullopt);
  EXPECT_EQ(NVNewPropertyFetchMarker::newPropertiesToFetch("Task", 2), Strings{"d"});
}

TEST_F(FetchMarkerTest, ARecordOfAnotherShapeStartsAfresh) {
  store().setObject(platform::Value("garbage"), "newPropertiesToFetch");
  NVNewPropertyFetchMarker::appendNewPropertiesToFetch({"x"}, "Task", 3);
  EXPECT_EQ(NVNewPropertyFetchMarker::newPropertiesToFetch("Task", 3), Strings{"x"});
}

}  // namespace
}  // namespace norvik
