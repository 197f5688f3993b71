#include "norvik/calendar/timeline_time_zones.h"

#include <gtest/gtest.h>

#include <unordered_set>

#include "support/test_support.h"

namespace norvik {
namespace {

using Item = NVTimelineTimeZoneItem;
using Zones = NVTimelineTimeZones;

TEST(NVTimelineTimeZoneItem, EqualityHashAndDescription) {
  Item empty(std::nullopt, std::nullopt);
  EXPECT_TRUE(empty.isEqual(Item(std::nullopt, std::nullopt)));
  EXPECT_EQ(empty.hash(), 0u);
  EXPECT_FALSE(empty.isEqual(Item(std::string(), std::nullopt)));  // absent is not ""
  EXPECT_FALSE(Item("Home", "Europe/Berlin").isEqual(Item("Home", "Europe/Paris")));

  Item home("Home", "Europe/Berlin");
  Item copy = home.copy();
  EXPECT_TRUE(copy.isEqual(home));
  EXPECT_EQ(copy.hash(), home.hash());
  copy.label = "Office";
  EXPECT_EQ(home.label, "Home");  // a copy is independent

  EXPECT_EQ(home.description(),
            "NVTimelineTimeZoneItem:\n.rawValue: Home\ntimeZone: Europe/Berlin\n");
  EXPECT_EQ(empty.description(), "NVTimelineTimeZoneItem:\n.rawValue: \ntimeZone: \n");
}

TEST(NVTimelineTimeZones, EnabledHasThreeStatesAndListsCompareInOrder) {
  Zones absent(std::nullopt, std::nullopt, std::nullopt);
  Zones off(false, std::nullopt, std::nullopt);
  Zones on(true, std::nullopt, std::nullopt);
  EXPECT_FALSE(absent.isEqual(off));
  EXPECT_FALSE(off.isEqual(on));
  EXPECT_TRUE(absent.isEqual(absent.copy()));
  EXPECT_NE(on.hash(), off.hash());

  Item a("A", "Asia/Tokyo");
  Item b("B", "America/New_York");
  Zones ab(true, Zones::ItemList{a, b}, Zones::ItemList{});
  EXPECT_TRUE(ab.isEqual(Zones(true, Zones::ItemList{a, b}, Zones::ItemList{})));
  EXPECT_EQ(ab.hash(), Zones(true, Zones::ItemList{a, b}, Zones::ItemList{}).hash());
  EXPECT_FALSE(ab.isEqual(Zones(true, Zones::ItemList{b, a}, Zones::ItemList{})));
  EXPECT_FALSE(ab.isEqual(Zones(true, Zones::ItemList{a}, Zones::ItemList{})));
  // An empty list is not an absent one.
  EXPECT_FALSE(ab.isEqual(Zones(true, Zones::ItemList{a, b}, std::nullopt)));

  std::unordered_set<Zones> set{absent, off, on, ab, ab.copy()};
  EXPECT_EQ(set.size(), 4u);
}

TEST(NVTimelineTimeZones, DescriptionPrintsAbsentValuesAsFalseAndEmptyLists) {
  EXPECT_EQ(Zones(std::nullopt, std::nullopt, std::nullopt).description(),
            "NVTimelineTimeZones:\nenabled: false\ncurrent: (\n)\nadditional: (\n)\n");
  Zones zones(true, Zones::ItemList{Item("A", "Asia/Tokyo"), Item(std::nullopt, "UTC")},
              std::nullopt);
  EXPECT_EQ(zones.description(),
            "NVTimelineTimeZones:\nenabled: true\ncurrent: (\n"
            "    NVTimelineTimeZoneItem:\n.rawValue: A\ntimeZone: Asia/Tokyo\n,\n"
            "    NVTimelineTimeZoneItem:\n.rawValue: \ntimeZone: UTC\n\n"
            ")\nadditional: (\n)\n");
}

TEST(NVTimelineTimeZones, CurrentTimeZoneIsSearchedInTheCurrentListOnly) {
  platform::Environment environment = testing::baseEnvironment();
  environment.timeZoneIdentifier = "Europe/Berlin";
  platform::ScopedEnvironment berlin(environment);

  Zones zones(true,
              Zones::ItemList{Item("none", std::nullopt), Item("tokyo", "Asia/Tokyo"),
                              Item("home", "Europe/Berlin"), Item("again", "Europe/Berlin")},
              std::nullopt);
  auto found = zones.getCurrentTimeZone();
  ASSERT_TRUE(found);
  EXPECT_EQ(found->label, "home");

  Zones onlyAdditional(true, std::nullopt, Zones::ItemList{Item("home", "Europe/Berlin")});
  EXPECT_FALSE(onlyAdditional.getCurrentTimeZone());
  Zones otherSpelling(true, Zones::ItemList{Item("home", "europe/berlin")}, std::nullopt);
  EXPECT_FALSE(otherSpelling.getCurrentTimeZone());
}

TEST(NVTimelineTimeZones, StoredFormKeepsEveryFieldAndAbsentState) {
  const std::vector<Zones> samples = {
      Zones(std::nullopt, std::nullopt, std::nullopt),
      Zones(false, Zones::ItemList{}, std::nullopt),
      Zones(true, std::nullopt, Zones::ItemList{}),
      Zones(true,
            Zones::ItemList{Item(std::nullopt, std::nullopt), Item("", ""),
                            Item("Zürich \"office\"", "Europe/Zurich")},
            Zones::ItemList{Item(std::nullopt, "Asia/Tokyo"), Item("Label only", std::nullopt)}),
  };
  for (const Zones& zones : samples) {
    std::string stored = zones.toJSON();
    auto restored = Zones::fromJSON(stored);
    ASSERT_TRUE(restored) << stored;
    EXPECT_TRUE(restored->isEqual(zones)) << stored;
    EXPECT_EQ(restored->toJSON(), stored);
  }
  EXPECT_FALSE(Zones::fromJSON("not json"));
  EXPECT_FALSE(Zones::fromJSON("[]"));
  EXPECT_FALSE(Zones::fromJSON(R"({"enabled": 1})"));
  EXPECT_FALSE(Zones::fromJSON(R"({"current": {}})"));
  EXPECT_FALSE(Zones::fromJSON(R"({"current": [{"label": 3}]})"));
  auto tolerant = Zones::fromJSON(R"({"enabled": true, "future": 1})");
  ASSERT_TRUE(tolerant);
  EXPECT_TRUE(tolerant->isEqual(Zones(true, std::nullopt, std::nullopt)));
}

}  // namespace
}  // namespace norvik
