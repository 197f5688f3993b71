#include "norvik/settings/row_encoding.h"

#include <gtest/gtest.h>

#include "norvik/settings/copy_helpers.h"

namespace norvik {
namespace {

TEST(RowEncodingTest, DateListsWriteNumberTextsAndReadBackInOrder) {
  Dictionary row;
  nv_db_setDateArray(row, std::vector<Date>{Date(1700000000), Date(1700000000.5)}, "d");
  EXPECT_EQ(row["d"], Value("1700000000 1700000000.5"));
  EXPECT_EQ(nv_db_dateArrayForKey(row, "d"),
            (std::vector<Date>{Date(1700000000), Date(1700000000.5)}));
  nv_db_setDateArray(row, std::vector<Date>{}, "d");
  EXPECT_EQ(row["d"], Value(""));
  EXPECT_EQ(nv_db_dateArrayForKey(row, "d"), std::vector<Date>{});
  nv_db_setDateSet(row, std::set<Date>{Date(2), Date(1)}, "s");
  EXPECT_EQ(nv_db_dateSetForKey(row, "s"), (std::set<Date>{Date(1), Date(2)}));
  nv_db_setDateArray(row, std::nullopt, "d");
  EXPECT_TRUE(row["d"].isNull());
  EXPECT_EQ(nv_db_dateArrayForKey(row, "d"), std::nullopt);
  EXPECT_EQ(nv_db_dateSetForKey(Dictionary{{"n", Value(5)}}, "n"), std::nullopt);
}

TEST(RowEncodingTest, DateListParsingStopsEarlyAndReadsBadPiecesAsTheEpoch) {
  EXPECT_EQ(sv("10  20").dateArray(), std::vector<Date>{Date(10)});
  EXPECT_EQ(sv(" 10 20").dateArray(), std::vector<Date>{});
  EXPECT_EQ(sv("10 20 ").dateArray(), (std::vector<Date>{Date(10), Date(20)}));
  EXPECT_EQ(sv("word 20").dateArray(), (std::vector<Date>{Date(0), Date(20)}));
  EXPECT_EQ(sv("1e3 2.5 -4 12abc").dateArray(),
            (std::vector<Date>{Date(1000), Date(2.5), Date(-4), Date(0)}));
  EXPECT_EQ(sv("\t5").dateArray(), std::vector<Date>{Date(0)});
  // Numbers without a place in time are the epoch too, so a set of them keeps its order.
  EXPECT_EQ(sv("nan inf -INF 7").dateArray(),
            (std::vector<Date>{Date(0), Date(0), Date(0), Date(7)}));
  EXPECT_EQ(sv("").dateArray(), std::vector<Date>{});
}

TEST(RowEncodingTest, ScalarsAndTheNullObject) {
  Dictionary row;
  nv_db_setURL(row, std::nullopt, "url");
  EXPECT_TRUE(row.at("url").isNull());
  EXPECT_EQ(nv_db_nonnullStringForKey(row, "url"), "");
  EXPECT_EQ(nv_db_nonnullStringForKey(row, "missing"), "");
  nv_db_setDate(row, Date(1.25), "date");
  EXPECT_EQ(row["date"], Value(1.25));
  EXPECT_EQ(nv_db_dateForKey(row, "date"), Date(1.25));
  row["text"] = Value("1700000000");
  EXPECT_EQ(nv_db_dateForKey(row, "text"), std::nullopt) << "a string is not a date";
  EXPECT_EQ(nv_db_numberForKey(row, "text"), std::nullopt);
  EXPECT_FALSE(nv_db_boolForKey(row, "text"));
  EXPECT_EQ(nv_db_integerForKey(row, "text"), 0);
  nv_db_setLongLong(row, INT64_MIN, "ll");
  EXPECT_EQ(nv_db_longLongForKey(row, "ll"), INT64_MIN);
  nv_db_setDouble(row, 2.75, "dbl");
  EXPECT_EQ(nv_db_integerForKey(row, "dbl"), 2);
  nv_db_setBool(row, true, "b");
  EXPECT_TRUE(nv_db_boolForKey(row, "b"));
  nv_db_setNumber(row, Value("not a number"), "num");
  EXPECT_TRUE(row.at("num").isNull());

  nv_setNotNullObject(row, Value(), "b");
  nv_setNotNullObject(row, std::nullopt, "b");
  EXPECT_EQ(row["b"], Value(true)) << "absent and null leave the row alone";
  nv_db_setObject(row, std::nullopt, "b");
  EXPECT_TRUE(row.at("b").isNull());
  EXPECT_EQ(nv_db_objectForKey(row, "b"), std::nullopt);
}

TEST(RowEncodingTest, StringAndReminderTimeSetsAreJSONArrays) {
  Dictionary row;
  nv_db_setStringSet(row, std::set<std::string>{}, "s");
  EXPECT_EQ(row["s"], Value("[]"));
  nv_db_setStringSet(row, std::set<std::string>{"b", "a\"q"}, "s");
  EXPECT_EQ(nv_db_stringSetForKey(row, "s"), (std::set<std::string>{"a\"q", "b"}));
  EXPECT_EQ(sv("").stringSet(), std::set<std::string>{});
  EXPECT_EQ(sv("[\"a\", 1]").stringSet(), std::set<std::string>{});
  EXPECT_EQ(sv("{\"a\":1}").stringSet(), std::set<std::string>{});

  nv_db_setReminderTimeSet(row, std::set<Date>{}, "r");
  EXPECT_EQ(row["r"], Value("[]"));
  // 09:05 and 21:30 UTC (the test environment's zone) on some day.
  nv_db_setReminderTimeSet(row, std::set<Date>{Date(1710061500), Date(1710106200)}, "r");
  EXPECT_EQ(row["r"], Value(R"(["09:05","21:30"])"));
  std::optional<std::set<Date>> times = nv_db_reminderTimeSetForKey(row, "r");
  ASSERT_TRUE(times);
  ASSERT_EQ(times->size(), 2u);
  auto minuteOfDay = [](Date d) {
    return static_cast<long>(d.timeIntervalSince1970()) % 86400 / 60;
  };
  EXPECT_EQ(minuteOfDay(*times->begin()), 9 * 60 + 5);
  EXPECT_EQ(minuteOfDay(*times->rbegin()), 21 * 60 + 30);
  EXPECT_EQ(sv(R"(["7:5x","25:00","12:00"])").reminderTimeSet().size(), 1u);
}

TEST(CopyHelpersTest, DeepCopiesAreIndependentOfTheirSource) {
  Dictionary inner{{"k", Value(1)}};
  platform::Array source{Value(inner), Value("s")};
  platform::Array copy = nv_deepCopy(source);
  source[0].mutableDictionary()->insert_or_assign("k", Value(2));
  EXPECT_EQ(copy[0], Value(Dictionary{{"k", Value(1)}}));
  Dictionary nested{{"a", Value(platform::Array{Value(1)})}};
  Dictionary dictionaryCopy = nv_deepMutableCopy(nested);
  nested["a"].mutableArray()->push_back(Value(2));
  EXPECT_EQ(dictionaryCopy["a"], Value(platform::Array{Value(1)}));
}

TEST(CopyHelpersTest, FilterPredicatesAndAreEqual) {
  platform::Array values{Value(1), Value(2), Value(3), Value(4), Value(5)};
  platform::Array odd =
      filter(values, [](const Value& v, std::size_t, bool&) { return *v.intValue() % 2 == 1; });
  EXPECT_EQ(odd, (platform::Array{Value(1), Value(3), Value(5)}));
  platform::Array upToThird = filter(values, [](const Value&, std::size_t index, bool& stop) {
    stop = index == 2;
    return true;
  });
  EXPECT_EQ(upToThird.size(), 3u);

  EXPECT_TRUE(NVObjectIsNilOrNull(Value()));
  EXPECT_TRUE(NVObjectIsNilOrNull(std::nullopt));
  EXPECT_FALSE(NVObjectIsNilOrNull(Value("")));
  EXPECT_FALSE(NVObjectIsNilOrNull(Value(0)));
  EXPECT_TRUE(NVObjectIsEqualToObject(std::nullopt, std::nullopt));
  EXPECT_FALSE(NVObjectIsEqualToObject(std::nullopt, Value(1)));
  EXPECT_TRUE(NVObjectIsDifferentFromObject(std::nullopt, Value(1)));
  EXPECT_FALSE(NVObjectIsDifferentFromObject(Value(1), Value(1.0)));

  struct Opaque {
    int x;
  };
  EXPECT_FALSE(areEqual(Opaque{1}, Opaque{1})) << "no equality, never equal";
  EXPECT_TRUE(areEqual(std::vector<Opaque>{}, std::vector<Opaque>{}));
  EXPECT_FALSE(areEqual(std::vector<Opaque>{}, std::vector<Opaque>{{1}}));
  EXPECT_FALSE(areEqual(std::vector<Opaque>{{1}}, std::vector<Opaque>{{1}}));
  EXPECT_TRUE(areEqual(std::vector<int>{1, 2}, std::vector<int>{1, 2}));
  EXPECT_TRUE(areEqual(std::string("a"), std::string("a")));
}

}  // namespace
}  // namespace norvik
