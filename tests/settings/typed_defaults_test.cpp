#include "norvik/settings/typed_defaults.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>

#include "norvik/platform/build_config.h"
#include "norvik/settings/registry.h"
#include "settings/settings_test_support.h"

namespace norvik {
namespace {

using platform::Data;
using platform::Value;
using testing::childRole;
using testing::runChildTest;

Value blob(std::string_view json) {
  return Value(Data(json.begin(), json.end()));
}

class TypedDefaultsTest : public testing::SettingsTest {
 protected:
  bool runChild(const std::string& role) {
    return runChildTest(
               "DISABLED_TypedDefaultsChild.Run",
               {{"NORVIK_TEST_CHILD_ROLE", role}, {"NORVIK_TEST_APP_GROUP_DIR", container()}}) == 0;
  }
};

TEST(DISABLED_TypedDefaultsChild, Run) {
  std::string role = childRole();
  auto& manager = NVUserDefaultManager::shared();
  if (role == "write-token-row-only") {
    // Another version of the application that wrote only the database copy.
    SVCustomUserDefaultsCacheManager::shared().set(blob(R"({"content":"from the child"})"),
                                                   "currentUserToken");
  } else if (role == "write-token") {
    manager.setCurrentUserToken("child token");
    ASSERT_TRUE(NVUserDefaults::shared().synchronize());
  } else {
    FAIL() << "unknown role " << role;
  }
}

TEST_F(TypedDefaultsTest, AFreshInstallationAnswersTheDefaults) {
  auto& manager = NVUserDefaultManager::shared();
  EXPECT_EQ(manager.currentUserID(), 1);
  EXPECT_EQ(manager.currentServerUserID(), -1);
  EXPECT_EQ(manager.currentInboxID(), "localInboxID");
  EXPECT_EQ(manager.currentSiteDomain(), kNVNorvikBuiltInSiteDomain);
  EXPECT_EQ(manager.appID(), std::nullopt);
  EXPECT_TRUE(NVUserDefaults::shared().get(DefaultsKeys::isAtlantisEnabled()));
  EXPECT_EQ(NVUserDefaults::shared().get(DefaultsKeys::timetableScale()), 1.0);
  EXPECT_EQ(NVUserDefaults::shared().get(DefaultsKeys::timelineScale()), 1.0);
  EXPECT_FALSE(manager.shouldPushDailyReminder());
  EXPECT_TRUE(store().dictionaryRepresentation().empty()) << "reading wrote something";
}

TEST_F(TypedDefaultsTest, PerUserKeysFollowTheCurrentUser) {
  auto& manager = NVUserDefaultManager::shared();
  EXPECT_EQ(DefaultsKeys::shouldPushDailyReminder().key(), "shouldPushDailyReminder_1");
  manager.setShouldPushDailyReminder(true);
  manager.setCurrentAuthVID("vid one");
  EXPECT_EQ(store().objectForKey("shouldPushDailyReminder_1"), Value(true));

  manager.setCurrentUserID(7);
  EXPECT_EQ(DefaultsKeys::shouldPushDailyReminder().key(), "shouldPushDailyReminder_7");
  EXPECT_EQ(DefaultsKeys::currentAuthVID().key(), "currentAuthVID_7");
  EXPECT_FALSE(manager.shouldPushDailyReminder()) << "nothing is copied to the new user";
  EXPECT_EQ(manager.currentAuthVID(), std::nullopt);
  manager.setShouldPushDailyReminder(true);
  manager.setCurrentAuthVID("vid seven");
  EXPECT_EQ(store().objectForKey("shouldPushDailyReminder_7"), Value(true));
  EXPECT_EQ(store().objectForKey("currentAuthVID_7"), blob(R"({"content":"vid seven"})"));

  manager.setCurrentUserID(1);
  EXPECT_EQ(manager.currentAuthVID(), "vid one");
}

TEST_F(TypedDefaultsTest, LastSyncedVersionAndDailyReminderShareOneKey) {
  auto& manager = NVUserDefaultManager::shared();
  manager.setShouldPushDailyReminder(true);
  manager.setLastSyncedVersion("5.2.1");
  EXPECT_FALSE(manager.shouldPushDailyReminder()) << "a string is not a Bool";
  EXPECT_EQ(store().objectForKey("shouldPushDailyReminder_1"), Value("5.2.1"));
  manager.setShouldPushDailyReminder(true);
  EXPECT_EQ(manager.lastSyncedVersion(), std::nullopt);
}

TEST_F(TypedDefaultsTest, APlainValueOfAnEarlierVersionMigratesIntoTheCache) {
  store().setObject(Value("old token"), "currentUserToken");
  EXPECT_EQ(NVUserDefaultManager::shared().currentUserToken(), "old token");
  EXPECT_EQ(cache().inDatabaseCache().objectForKey("currentUserToken"), Value("old token"));
  EXPECT_EQ(cache().objectInMemory("currentUserToken"), Value("old token"));
  // A stored value that is not a String still migrates, but reads as absent.
  store().setObject(Value(42), "currentSignAuthID");
  EXPECT_EQ(NVUserDefaultManager::shared().signAuthID(), std::nullopt);
  EXPECT_EQ(cache().inDatabaseCache().objectForKey("currentSignAuthID"), Value(42));

  // So does a blob that does not decode, once: later reads commit nothing and tell nobody.
  store().setObject(blob("not json"), "currentUserToken");
  EXPECT_EQ(NVUserDefaultManager::shared().currentUserToken(), std::nullopt);
  EXPECT_EQ(cache().inDatabaseCache().objectForKey("currentUserToken"), blob("not json"));
  auto commits = [&] {  // the table's change counter, moved by every commit of any process
    std::ifstream counter(cache().inDatabaseCache().databasePath() + ".counter", std::ios::binary);
    std::uint64_t value = 0;
    counter.read(reinterpret_cast<char*>(&value), sizeof value);
    return value;
  };
  std::uint64_t before = commits();
  for (int i = 0; i < 20; ++i) {
    EXPECT_EQ(NVUserDefaultManager::shared().currentUserToken(), std::nullopt);
    EXPECT_EQ(NVUserDefaultManager::shared().signAuthID(), std::nullopt);
  }
  EXPECT_EQ(commits(), before);
  EXPECT_EQ(cache().objectInMemory("currentUserToken"), blob("not json"));
  // The next write of the setting replaces it everywhere.
  NVUserDefaultManager::shared().setCurrentUserToken("new");
  EXPECT_EQ(NVUserDefaultManager::shared().currentUserToken(), "new");
}

TEST_F(TypedDefaultsTest, WritesGoToAllThreeCopiesAndAbsentRemovesThemAll) {
  auto& manager = NVUserDefaultManager::shared();
  manager.setCurrentUserToken("token");
  Value expected = blob(R"({"content":"token"})");
  EXPECT_EQ(store().objectForKey("currentUserToken"), expected);
  EXPECT_EQ(cache().objectInDB("currentUserToken"), expected);
  EXPECT_EQ(cache().objectInMemory("currentUserToken"), expected);

  manager.setCurrentUserToken(std::nullopt);
  EXPECT_TRUE(store().objectForKey("currentUserToken").isNull());
  EXPECT_TRUE(cache().objectInDB("currentUserToken").isNull());
  EXPECT_TRUE(cache().objectInMemory("currentUserToken").isNull());
  EXPECT_EQ(manager.currentUserToken(), std::nullopt);
}

TEST_F(TypedDefaultsTest, TheDatabaseRowWinsWhenTheMemoryCopyIsNotConfirmed) {
  auto& manager = NVUserDefaultManager::shared();
  manager.setCurrentUserToken("mine");
  // The store and the memory copy agree: that pair is trusted, whatever the row says.
  cache().inDatabaseCache().setObject(blob(R"({"content":"row"})"), "currentUserToken");
  EXPECT_EQ(manager.currentUserToken(), "mine");
  // The store now disagrees with memory: the row wins and refreshes the memory copy only.
  store().setObject(blob(R"({"content":"store"})"), "currentUserToken");
  EXPECT_EQ(manager.currentUserToken(), "row");
  EXPECT_EQ(cache().objectInMemory("currentUserToken"), blob(R"({"content":"row"})"));
  EXPECT_EQ(store().objectForKey("currentUserToken"), blob(R"({"content":"store"})"));
  // An unreadable row falls through to the store's value, which is copied into the cache.
  cache().inDatabaseCache().setObject(blob("not json"), "currentUserToken");
  cache().clearCache();
  EXPECT_EQ(manager.currentUserToken(), "store");
  EXPECT_EQ(cache().objectInDB("currentUserToken"), blob(R"({"content":"store"})"));
}

TEST_F(TypedDefaultsTest, ARowWrittenByAnotherProcessWinsOnceMemoryNoLongerMatches) {
  auto& manager = NVUserDefaultManager::shared();
  manager.setCurrentUserToken("parent");
  ASSERT_TRUE(runChild("write-token-row-only"));
  EXPECT_EQ(manager.currentUserToken(), "parent") << "memory confirmed by the store";
  cache().clearCache();
  EXPECT_EQ(manager.currentUserToken(), "from the child");

  ASSERT_TRUE(runChild("write-token"));
  EXPECT_EQ(manager.currentUserToken(), "child token");
}

TEST(DefaultsInt64BridgeTest, TextAndNumberForms) {
  EXPECT_EQ(DefaultsInt64Bridge::parseText("-42"), -42);
  EXPECT_EQ(DefaultsInt64Bridge::parseText("+42"), 42);
  EXPECT_EQ(DefaultsInt64Bridge::parseText("9223372036854775807"), INT64_MAX);
  EXPECT_EQ(DefaultsInt64Bridge::parseText("-9223372036854775808"), INT64_MIN);
  for (std::string_view bad :
       {"", "+", "-", "4 2", " 42", "42 ", "0x10", "9223372036854775808", "+-1", "1.5", "٤٢"}) {
    EXPECT_EQ(DefaultsInt64Bridge::parseText(bad), std::nullopt) << bad;
  }
  EXPECT_EQ(DefaultsInt64Bridge::deserialize(Value(7)), std::nullopt);
}

TEST_F(TypedDefaultsTest, Int64BridgeReadsNumbersAndStrictTextFromTheStore) {
  platform::UserDefaults defaults = store();
  DefaultsKey<std::int64_t> key("int64", 5);
  defaults.setObject(Value(7), "int64");
  EXPECT_EQ(NVUserDefaults::shared().get(key), 7);
  defaults.setObject(Value(-7.9), "int64");
  EXPECT_EQ(NVUserDefaults::shared().get(key), -7);
  defaults.setObject(Value("-42"), "int64");
  EXPECT_EQ(NVUserDefaults::shared().get(key), -42);
  defaults.setObject(Value("4 2"), "int64");
  EXPECT_EQ(NVUserDefaults::shared().get(key), 5);
  NVUserDefaults::shared().set(key, std::int64_t{INT64_MAX});
  EXPECT_EQ(defaults.objectForKey("int64"), Value(static_cast<long long>(INT64_MAX)));
}

// A record with a member that coding skips.
struct Profile {
  std::string name;
  IgnoreCoding<std::string> scratch;
  IgnoreCoding<std::optional<int>> cached;
  void encode(KeyedEncodingContainer& c) const {
    c.encode(name, "name");
    c.encode(scratch, "scratch");
    c.encode(cached, "cached");
  }
  static Profile decode(const KeyedDecodingContainer& c) {
    return Profile{c.decode<std::string>("name"), c.decode<IgnoreCoding<std::string>>("scratch"),
                   c.decode<IgnoreCoding<std::optional<int>>>("cached")};
  }
};

struct NoDefault {
  int x;
  bool operator==(const NoDefault&) const = default;
};
struct HoldsNoDefault {
  IgnoreCoding<NoDefault> member;
  void encode(KeyedEncodingContainer& c) const { c.encode(member, "member"); }
  static HoldsNoDefault decode(const KeyedDecodingContainer& c) {
    return HoldsNoDefault{c.decode<IgnoreCoding<NoDefault>>("member")};
  }
};

TEST(IgnoreCodingTest, TheMemberIsNeitherWrittenNorRead) {
  Profile profile{"Ada", IgnoreCoding<std::string>("secret"), IgnoreCoding<std::optional<int>>(3)};
  EXPECT_EQ(encodeToJSON(profile), R"({"name":"Ada"})");
  auto decoded = decodeFromJSON<Profile>(R"({"name":"Bo","scratch":"x","cached":9})");
  ASSERT_TRUE(decoded);
  EXPECT_EQ(decoded->name, "Bo");
  EXPECT_EQ(decoded->scratch.wrappedValue, "");
  EXPECT_EQ(decoded->cached.wrappedValue, std::nullopt);
  EXPECT_EQ(decodeFromJSON<Profile>(R"({"scratch":"x"})"), std::nullopt) << "name is required";

  try {
    platform::Dictionary empty;
    HoldsNoDefault::decode(KeyedDecodingContainer(empty));
    ADD_FAILURE() << "decoded a member without any default";
  } catch (const DecodingError& error) {
    EXPECT_EQ(error.kind, DecodingError::Kind::keyNotFound);
    EXPECT_EQ(error.key, "member");
    EXPECT_STREQ(error.what(), "Key not found");
  }
  EXPECT_DEATH(IgnoreCoding<NoDefault>::fromCoded(Value()),
               "Type T must conform to either DefaultValueProviding or ExpressibleByNilLiteral");
  EXPECT_TRUE(IgnoreCoding<NoDefault>(NoDefault{1}) == IgnoreCoding<NoDefault>(NoDefault{1}));
}

TEST(CustomUserDefatulsTest, CodingAndConversionOfRawObjects) {
  using Bridge = DefaultsCustomUserDefaultsItemBridge<int>;
  EXPECT_EQ(encodeToJSON(CustomUserDefatuls<std::string>("x")), R"({"content":"x"})");
  EXPECT_EQ(Bridge::deserialize(blob(R"({"content":12})")), CustomUserDefatuls<int>(12));
  EXPECT_EQ(Bridge::deserialize(Value(12)), CustomUserDefatuls<int>(12)) << "an earlier version";
  EXPECT_EQ(Bridge::deserialize(blob(R"({"content":"12"})")), std::nullopt);
  EXPECT_EQ(Bridge::deserialize(blob(R"({"other":12})")), std::nullopt);
  EXPECT_EQ(Bridge::deserialize(Value("12")), std::nullopt);
  EXPECT_EQ(Bridge::deserialize(Value()), std::nullopt);
  // A value without a JSON form is not written: the key is removed instead.
  EXPECT_EQ(DefaultsCustomUserDefaultsItemBridge<double>::encode(
                CustomUserDefatuls<double>(std::numeric_limits<double>::infinity())),
            std::nullopt);
}

}  // namespace
}  // namespace norvik
