#include "norvik/vocabulary/quick_add.h"

#include <gtest/gtest.h>

#include <limits>
#include <unordered_set>

#include "norvik/platform/environment.h"
#include "support/test_support.h"

namespace norvik {
namespace {

using platform::Dictionary;
using platform::Value;

TEST(QuickAddConfigName, RawValuesAreExactAndCaseSensitive) {
  ASSERT_EQ(allQuickAddConfigNames().size(), 11u);
  for (NVQuickAddConfigName name : allQuickAddConfigNames()) {
    EXPECT_EQ(quickAddConfigNameFromRawValue(rawValue(name)), name);
    EXPECT_EQ(decodeQuickAddConfigName(encodeQuickAddConfigName(name)), name);
  }
  EXPECT_EQ(rawValue(NVQuickAddConfigName::convertNote), "convert_note");
  EXPECT_EQ(rawValue(NVQuickAddConfigName::template_), "template");
  EXPECT_FALSE(quickAddConfigNameFromRawValue("Date"));
  EXPECT_FALSE(quickAddConfigNameFromRawValue("convertNote"));
  EXPECT_FALSE(decodeQuickAddConfigName(Value(3)));
}

TEST(QuickAddButtonItem, DictionaryFormAndItsMinusOneAsymmetry) {
  const NVQuickAddButtonItem pinned(NVQuickAddConfigName::tag, 1700000000000);
  EXPECT_EQ(NVQuickAddButtonItem::itemBy(pinned.toRemoteDict()), pinned);

  const NVQuickAddButtonItem unpinned = NVQuickAddButtonItem::assignItem();
  const Dictionary form = unpinned.toRemoteDict();
  EXPECT_EQ(form.size(), 2u);
  EXPECT_EQ(form.at("key"), Value("assign"));
  EXPECT_EQ(form.at("pinTimestamp").int64Value(), -1);
  const NVQuickAddButtonItem back = NVQuickAddButtonItem::itemBy(form);
  EXPECT_EQ(back.pinTimestamp, std::optional<std::int64_t>(-1));
  EXPECT_FALSE(back.isVisiable());
  EXPECT_EQ(back.requirePinTimestamp(), -1);
  EXPECT_NE(back, unpinned);
}

TEST(QuickAddButtonItem, DamagedDictionariesFallBackToTheUnpinnedDateTool) {
  const NVQuickAddButtonItem date = NVQuickAddButtonItem::dateItem();
  EXPECT_EQ(NVQuickAddButtonItem::itemBy(Dictionary{}), date);
  EXPECT_EQ(NVQuickAddButtonItem::itemBy(Dictionary{{"key", Value("Date")}}), date);
  EXPECT_EQ(NVQuickAddButtonItem::itemBy(Dictionary{{"key", Value(2)}, {"pinTimestamp", Value(5)}}),
            date);
  EXPECT_EQ(NVQuickAddButtonItem::itemBy(Value("tag")), date);
  EXPECT_EQ(NVQuickAddButtonItem::itemBy(Dictionary{{"key", Value("tag")}}),
            NVQuickAddButtonItem::tagItem());
  EXPECT_EQ(NVQuickAddButtonItem::itemBy(
                Dictionary{{"key", Value("tag")}, {"pinTimestamp", Value("12")}}),
            NVQuickAddButtonItem::tagItem());
  EXPECT_EQ(NVQuickAddButtonItem::itemBy(
                Dictionary{{"key", Value("tag")}, {"pinTimestamp", Value(12.5)}}),
            NVQuickAddButtonItem::tagItem());
  EXPECT_EQ(NVQuickAddButtonItem::itemBy(
                Dictionary{{"key", Value("list")}, {"pinTimestamp", Value(12.0)}})
                .pinTimestamp,
            std::optional<std::int64_t>(12));
}

TEST(QuickAddButtonItem, VisibilityEqualityHashAndDescription) {
  EXPECT_FALSE(NVQuickAddButtonItem(NVQuickAddConfigName::date, 0).isVisiable());
  EXPECT_TRUE(NVQuickAddButtonItem(NVQuickAddConfigName::date, 1).isVisiable());
  EXPECT_FALSE(NVQuickAddButtonItem::dateItem().isVisiable());

  const NVQuickAddButtonItem a(NVQuickAddConfigName::list, 7);
  NVQuickAddButtonItem copy = a;
  EXPECT_EQ(copy, a);
  EXPECT_EQ(copy.hash(), a.hash());
  copy.pinTimestamp = 8;
  EXPECT_NE(copy, a);
  EXPECT_NE(NVQuickAddButtonItem(NVQuickAddConfigName::list, 7),
            NVQuickAddButtonItem(NVQuickAddConfigName::tag, 7));
  std::unordered_set<NVQuickAddButtonItem> set{a, NVQuickAddButtonItem::listItem(), a};
  EXPECT_EQ(set.size(), 2u);

  EXPECT_EQ(NVQuickAddButtonItem(NVQuickAddConfigName::convertEvent, 42).description(),
            "NVQuickAddButtonItem:\nkey: convert_event\npinTimestamp: 42\n");
  EXPECT_EQ(NVQuickAddButtonItem::imageItem().description(),
            "NVQuickAddButtonItem:\nkey: image\npinTimestamp: -1\n");
}

TEST(QuickAddButtonItem, DefaultsPinTheFirstFiveOneMillisecondApart) {
  platform::ScopedEnvironment scope(testing::baseEnvironment());
  platform::modifyEnvironment(
      [](platform::Environment& e) { e.clock = [] { return 1710072000.25; }; });
  const auto items = NVQuickAddButtonItem::defaults();
  ASSERT_EQ(items.size(), 11u);
  for (std::size_t i = 0; i < items.size(); ++i) {
    EXPECT_EQ(items[i].key, allQuickAddConfigNames()[i]);
    if (i < 5) {
      EXPECT_EQ(items[i].pinTimestamp,
                std::optional<std::int64_t>(1710072000250 + std::int64_t(i)));
    } else {
      EXPECT_FALSE(items[i].pinTimestamp) << i;
    }
  }
  platform::modifyEnvironment([](platform::Environment& e) {
    e.clock = [] { return std::numeric_limits<double>::quiet_NaN(); };
  });
  EXPECT_EQ(NVQuickAddButtonItem::defaults()[4].pinTimestamp, std::optional<std::int64_t>(4));
}

}  // namespace
}  // namespace norvik
