#include "norvik/platform/user_defaults.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>
#include <string>
#include <thread>
#include <vector>

#include "support/test_support.h"

namespace norvik::platform {
namespace {

namespace fs = std::filesystem;
using norvik::testing::childRole;
using norvik::testing::runChildTest;
using norvik::testing::TempDir;

constexpr std::string_view kSuite = kNVAppGroupIdentifier;

// Every value type, nested containers included, as the round-trip tests store them.
Dictionary sampleValues() {
  Dictionary nested{{"flag", Value(true)}, {"list", Value(Array{Value(1), Value("two")})}};
  return {
      {"bool", Value(true)},
      {"boolFalse", Value(false)},
      {"integer", Value(static_cast<long long>(std::numeric_limits<std::int64_t>::min()))},
      {"real", Value(-2.5e-300)},
      {"infinity", Value(std::numeric_limits<double>::infinity())},
      {"string", Value("Grüße, 世界")},
      {"emptyString", Value("")},
      {"date", Value(Date(1710072000.25))},
      {"data", Value(Data{0, 1, 2, 255})},
      {"emptyData", Value(Data{})},
      {"array", Value(Array{Value(1), Value(2.5), Value("x"), Value(Date(0.0)), Value(nested)})},
      {"dictionary", Value(nested)},
      {"emptyArray", Value(Array{})},
      {"", Value("empty key")},
  };
}

std::string readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

std::vector<std::string> filesContaining(const std::string& directory, std::string_view part) {
  std::vector<std::string> found;
  for (const auto& entry : fs::directory_iterator(directory)) {
    std::string name = entry.path().filename().string();
    if (name.find(part) != std::string::npos) found.push_back(entry.path().string());
  }
  return found;
}

class UserDefaultsTest : public ::testing::Test {
 protected:
  UserDefaultsTest() : environment_(makeEnvironment(temp_)) {}

  static Environment makeEnvironment(const TempDir& temp) {
    Environment env = norvik::testing::baseEnvironment();
    env.appGroupContainerDirectory = temp.path() + "/group";  // not there yet: the store makes it
    return env;
  }

  std::string container() const { return temp_.path() + "/group"; }
  std::string preferences() const { return container() + "/Preferences"; }
  std::string databasePath(std::string_view suite = kSuite) const {
    return preferences() + "/" + std::string(suite) + ".sqlite";
  }
  // Runs the child test in `role` on this test's container; true when it passed.
  bool runChild(const std::string& role) const {
    return runChildTest(
               "DISABLED_UserDefaultsChild.Run",
               {{"NORVIK_TEST_CHILD_ROLE", role}, {"NORVIK_TEST_APP_GROUP_DIR", container()}}) == 0;
  }

  TempDir temp_;
  ScopedEnvironment environment_;
};

// The other process of the two-process tests; the role says what it does on the shared container.
TEST(DISABLED_UserDefaultsChild, Run) {
  std::string role = childRole();
  ASSERT_FALSE(role.empty());
  UserDefaults defaults(kSuite);
  ASSERT_TRUE(defaults.isValid());
  if (role == "write-samples") {
    for (const auto& [key, value] : sampleValues()) defaults.setObject(value, key);
    defaults.setDouble(std::numeric_limits<double>::quiet_NaN(), "nan");
    defaults.removeObjectForKey("removed");
    ASSERT_TRUE(defaults.synchronize());
  } else if (role == "write-shared-2") {
    defaults.setInteger(2, "shared");
    defaults.setObject(Value("child"), "theirs");
    ASSERT_TRUE(defaults.synchronize());
  } else if (role == "expect-parent-values") {
    EXPECT_EQ(defaults.stringForKey("mine"), "parent");
    EXPECT_EQ(defaults.integerForKey("shared"), 2);
    EXPECT_TRUE(defaults.objectForKey("gone").isNull());
  } else if (role == "copy-container") {
    defaults.setObject(defaults.objectForKey("container"), "container.copy");
    ASSERT_TRUE(defaults.synchronize());
  } else if (role == "write-without-synchronize") {
    defaults.setObject(Value("at exit"), "unsynchronized");  // written when the process exits
  } else if (role == "write-many") {
    for (int i = 0; i < 300; ++i) {
      defaults.setObject(Value(std::string(100, 'a' + i % 26)), "key" + std::to_string(i));
    }
    ASSERT_TRUE(defaults.synchronize());
  } else {
    FAIL() << "unknown role " << role;
  }
}

TEST_F(UserDefaultsTest, EveryTypeRoundTripsThroughTheDatabaseOfAnotherProcess) {
  UserDefaults mine(kSuite);
  mine.setObject(Value("stale"), "removed");
  ASSERT_TRUE(mine.synchronize());

  ASSERT_TRUE(runChild("write-samples"));

  for (const auto& [key, expected] : sampleValues()) {
    Value actual = mine.objectForKey(key);
    EXPECT_EQ(actual.type(), expected.type()) << key;
    EXPECT_EQ(actual, expected) << key << ": " << actual.description();
  }
  EXPECT_TRUE(std::isnan(mine.doubleForKey("nan")));
  EXPECT_TRUE(mine.objectForKey("removed").isNull());
  Dictionary expected = sampleValues();
  expected.emplace("nan", Value(0.0));
  EXPECT_EQ(mine.dictionaryRepresentation().size(), expected.size());
}

TEST_F(UserDefaultsTest, ContainersReadTheSameInEveryProcess) {
  // Values the property-list form cannot keep exactly: a date beyond 2069 and a string with a NUL.
  Date far(4102444800.123456789);  // 2100-01-01
  Value container(Array{Value(far), Value(std::string("a\0b", 3)), Value(Dictionary{})});
  UserDefaults defaults(kSuite);
  defaults.setObject(container, "container");
  defaults.setObject(Value(far), "date");
  ASSERT_TRUE(defaults.synchronize());
  Value heldHere = defaults.objectForKey("container");

  ASSERT_TRUE(runChild("copy-container"));
  EXPECT_EQ(defaults.objectForKey("container.copy"), heldHere);
  EXPECT_EQ(defaults.dateForKey("date"), far);  // a date of its own is kept exactly
}

TEST_F(UserDefaultsTest, HandlesOfOneProcessSeeWritesAtOnce) {
  UserDefaults first(kSuite);
  UserDefaults second(kSuite);
  UserDefaults otherSuite("other.suite");
  first.setObject(Value(Array{Value("a")}), "list");
  first.setBool(true, "flag");
  EXPECT_EQ(second.arrayForKey("list"), (Array{Value("a")}));
  EXPECT_TRUE(UserDefaults(kSuite).boolForKey("flag"));
  EXPECT_TRUE(otherSuite.objectForKey("flag").isNull());

  second.removeObjectForKey("flag");
  first.setObject(Value(), "list");
  EXPECT_TRUE(first.objectForKey("flag").isNull());
  EXPECT_FALSE(second.arrayForKey("list").has_value());
  EXPECT_TRUE(first.dictionaryRepresentation().empty());
  EXPECT_TRUE(fs::exists(databasePath("other.suite")));
}

TEST_F(UserDefaultsTest, TypedGettersConvertAsThePlatformDoes) {
  UserDefaults defaults(kSuite);
  auto set = [&](const Value& value) { defaults.setObject(value, "k"); };

  for (const char* truthy : {"YES", "yes", "true", "T", "1", "0042", "  -1", "+0y"}) {
    set(Value(truthy));
    EXPECT_TRUE(defaults.boolForKey("k")) << truthy;
  }
  for (const char* falsy : {"NO", "no", "false", "0", "", "000", "-", "x1"}) {
    set(Value(falsy));
    EXPECT_FALSE(defaults.boolForKey("k")) << falsy;
  }
  set(Value(0.25));
  EXPECT_TRUE(defaults.boolForKey("k"));
  set(Value(Date(5.0)));
  EXPECT_FALSE(defaults.boolForKey("k"));
  EXPECT_EQ(defaults.integerForKey("k"), 0);
  EXPECT_EQ(defaults.stringForKey("k"), std::nullopt);

  const std::pair<Value, std::int64_t> integers[] = {
      {Value("42abc"), 42},
      {Value("  -7"), -7},
      {Value("+13"), 13},
      {Value("abc"), 0},
      {Value("99999999999999999999"), std::numeric_limits<std::int64_t>::max()},
      {Value("-9223372036854775808"), std::numeric_limits<std::int64_t>::min()},
      {Value(3.9), 3},
      {Value(-3.9), -3},
      {Value(1e300), std::numeric_limits<std::int64_t>::max()},
      {Value(true), 1},
  };
  for (const auto& [value, expected] : integers) {
    set(value);
    EXPECT_EQ(defaults.integerForKey("k"), expected) << value.description();
  }

  const std::pair<Value, double> reals[] = {
      {Value("2.5e3x"), 2500.0}, {Value(" -0.5"), -0.5},
      {Value("abc"), 0.0},       {Value("1e999"), std::numeric_limits<double>::infinity()},
      {Value("-1e-999"), -0.0},  {Value(7), 7.0},
  };
  for (const auto& [value, expected] : reals) {
    set(value);
    EXPECT_EQ(defaults.doubleForKey("k"), expected) << value.description();
  }

  set(Value(42));
  EXPECT_EQ(defaults.stringForKey("k"), "42");
  set(Value(2.5));
  EXPECT_EQ(defaults.stringForKey("k"), "2.5");
  set(Value(true));
  EXPECT_EQ(defaults.stringForKey("k"), "1");
  set(Value("text"));
  EXPECT_EQ(defaults.stringForKey("k"), "text");
  EXPECT_FALSE(defaults.arrayForKey("k") || defaults.dictionaryForKey("k") ||
               defaults.dataForKey("k") || defaults.dateForKey("k"));
  set(Value(Data{1}));
  EXPECT_EQ(defaults.stringForKey("k"), std::nullopt);
  EXPECT_EQ(defaults.dataForKey("k"), (Data{1}));

  EXPECT_FALSE(defaults.boolForKey("absent"));
  EXPECT_EQ(defaults.integerForKey("absent"), 0);
  EXPECT_EQ(defaults.doubleForKey("absent"), 0.0);
}

TEST_F(UserDefaultsTest, ContainersHoldingTheNullObjectAreRefused) {
  UserDefaults defaults(kSuite);
  defaults.setObject(Value("kept"), "k");
  ::testing::internal::CaptureStderr();
  defaults.setObject(Value(Dictionary{{"a", Value(Array{Value(1), Value()})}}), "k");
  EXPECT_NE(::testing::internal::GetCapturedStderr().find("null object"), std::string::npos);
  EXPECT_EQ(defaults.stringForKey("k"), "kept");
}

TEST_F(UserDefaultsTest, ProcessesSeeEachOthersSynchronizedWrites) {
  UserDefaults defaults(kSuite);
  defaults.setInteger(1, "shared");
  defaults.setObject(Value("x"), "gone");
  ASSERT_TRUE(defaults.synchronize());
  EXPECT_EQ(defaults.integerForKey("shared"), 1);  // now held in this process's copy

  defaults.setObject(Value("parent"), "mine");  // buffered, not yet written
  ASSERT_TRUE(runChild("write-shared-2"));

  EXPECT_EQ(defaults.integerForKey("shared"), 2);
  EXPECT_EQ(UserDefaults(kSuite).stringForKey("theirs"), "child");
  EXPECT_EQ(defaults.stringForKey("mine"), "parent");  // a reload keeps what is still buffered

  defaults.removeObjectForKey("gone");
  ASSERT_TRUE(defaults.synchronize());
  EXPECT_TRUE(runChild("expect-parent-values"));
}

TEST_F(UserDefaultsTest, BufferedWritesAreSavedWhenTheProcessExits) {
  ASSERT_TRUE(runChild("write-without-synchronize"));
  EXPECT_EQ(UserDefaults(kSuite).stringForKey("unsynchronized"), "at exit");
}

TEST_F(UserDefaultsTest, RemovedContainerIsMadeAgain) {
  UserDefaults defaults(kSuite);
  defaults.setInteger(1, "old");
  ASSERT_TRUE(defaults.synchronize());
  fs::remove_all(container());

  UserDefaults again(kSuite);
  EXPECT_TRUE(again.objectForKey("old").isNull());
  again.setInteger(2, "new");
  ASSERT_TRUE(again.synchronize());
  EXPECT_TRUE(fs::exists(databasePath()));
  EXPECT_EQ(defaults.integerForKey("new"), 2);
}

TEST_F(UserDefaultsTest, DamagedDatabaseIsSetAsideAndReplaced) {
  ASSERT_TRUE(fs::create_directories(preferences()));
  std::string garbage(5000, '\0');
  for (std::size_t i = 0; i < garbage.size(); ++i) garbage[i] = static_cast<char>(i * 7919 % 251);
  std::ofstream(databasePath(), std::ios::binary) << garbage;

  ::testing::internal::CaptureStderr();
  UserDefaults defaults(kSuite);
  std::string log = ::testing::internal::GetCapturedStderr();
  EXPECT_NE(log.find("damaged"), std::string::npos) << log;
  ASSERT_TRUE(defaults.isValid());
  EXPECT_TRUE(defaults.dictionaryRepresentation().empty());
  defaults.setBool(true, "works");
  EXPECT_TRUE(defaults.synchronize());

  auto setAside = filesContaining(preferences(), ".corrupt-");
  ASSERT_EQ(setAside.size(), 1u);
  EXPECT_EQ(readFile(setAside[0]), garbage);
}

TEST_F(UserDefaultsTest, DatabaseDamagedInsideIsSetAsideAndReplaced) {
  // Another process fills the database and exits, leaving every row in the main file.
  ASSERT_TRUE(runChild("write-many"));
  ASSERT_GT(fs::file_size(databasePath()), 3u * 4096u);
  {
    std::fstream file(databasePath(), std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(4096);  // the table's root page
    file << std::string(4096, '\x5a');
  }

  ::testing::internal::CaptureStderr();
  UserDefaults defaults(kSuite);
  std::string log = ::testing::internal::GetCapturedStderr();
  EXPECT_NE(log.find("damaged"), std::string::npos) << log;
  ASSERT_TRUE(defaults.isValid());
  EXPECT_TRUE(defaults.objectForKey("key1").isNull());
  defaults.setInteger(5, "fresh");
  EXPECT_TRUE(defaults.synchronize());
  EXPECT_EQ(filesContaining(preferences(), ".corrupt-").size(), 1u);
}

TEST_F(UserDefaultsTest, InvalidSuitesReadAndWriteNothing) {
  const std::string_view names[] = {"", "a/b", "..", "x..y", std::string_view("nul\0", 4)};
  for (std::string_view name : names) {
    ::testing::internal::CaptureStderr();
    UserDefaults defaults(name);
    EXPECT_NE(::testing::internal::GetCapturedStderr().find("invalid suite"), std::string::npos);
    EXPECT_FALSE(defaults.isValid());
    defaults.setInteger(1, "k");
    EXPECT_TRUE(defaults.objectForKey("k").isNull());
    EXPECT_TRUE(defaults.dictionaryRepresentation().empty());
    EXPECT_FALSE(defaults.synchronize());
  }
  EXPECT_FALSE(fs::exists(container()));
}

TEST_F(UserDefaultsTest, MissingContainerGivesAnInvalidHandle) {
  modifyEnvironment([](Environment& env) { env.appGroupContainerDirectory.clear(); });
  ::testing::internal::CaptureStderr();
  UserDefaults defaults(kSuite);
  ::testing::internal::GetCapturedStderr();
  EXPECT_FALSE(defaults.isValid());
}

TEST_F(UserDefaultsTest, FilesArePrivateToTheUser) {
  mode_t previous = umask(0);  // whatever the umask, the store's files stay private
  UserDefaults defaults(kSuite);
  defaults.setObject(Value("secret"), "k");
  bool synchronized = defaults.synchronize();
  umask(previous);
  ASSERT_TRUE(synchronized);

  auto mode = [](const std::string& path) {
    struct stat st {};
    EXPECT_EQ(stat(path.c_str(), &st), 0) << path;
    return st.st_mode & 07777;
  };
  EXPECT_EQ(mode(container()), 0700u);
  EXPECT_EQ(mode(preferences()), 0700u);
  for (const auto& entry : fs::directory_iterator(preferences())) {
    EXPECT_EQ(mode(entry.path().string()), 0600u) << entry.path();
  }
  EXPECT_TRUE(fs::exists(databasePath() + "-wal"));
  EXPECT_TRUE(fs::exists(databasePath() + ".counter"));
}

TEST_F(UserDefaultsTest, StandardSuiteIsNamedAfterTheMainBundle) {
  std::string bundle = temp_.path() + "/Bundle";
  fs::create_directories(bundle);
  std::ofstream(bundle + "/Info.plist")
      << "<?xml version=\"1.0\" encoding=\"UTF-8\"?><plist version=\"1.0\"><dict>"
         "<key>CFBundleIdentifier</key><string>org.example.tool</string></dict></plist>";
  modifyEnvironment([&](Environment& env) { env.mainBundlePath = bundle; });
  EXPECT_EQ(UserDefaults::standard().suiteName(), "org.example.tool");

  modifyEnvironment([&](Environment& env) { env.mainBundlePath = temp_.path() + "/none"; });
  UserDefaults fallback = UserDefaults::standard();
  EXPECT_EQ(fallback.suiteName(), "app.norvik.standard");
  fallback.setBool(true, "k");
  EXPECT_TRUE(UserDefaults("app.norvik.standard").boolForKey("k"));
  EXPECT_FALSE(UserDefaults(kSuite).boolForKey("k"));
}

class UserDefaultsConcurrency : public UserDefaultsTest {};

TEST_F(UserDefaultsConcurrency, NewHandlesOnManyThreadsShareOneSuite) {
  constexpr int kThreads = 4;
  constexpr int kRounds = 150;
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([t] {
      std::string own = "thread" + std::to_string(t);
      for (int i = 0; i < kRounds; ++i) {
        UserDefaults defaults(kSuite);  // a new handle each time, as the application makes them
        defaults.setInteger(i, own);
        defaults.setObject(Value(Array{Value(t), Value(i)}), "last");
        EXPECT_EQ(defaults.integerForKey(own), i);
        Value last = defaults.objectForKey("last");
        EXPECT_TRUE(last.isArray() && last.array()->size() == 2);
        if (i % 25 == 0) {
          EXPECT_TRUE(defaults.synchronize());
        }
        if (i % 10 == 0) {
          EXPECT_GE(defaults.dictionaryRepresentation().size(), 2u);
        }
      }
    });
  }
  for (auto& thread : threads) thread.join();

  UserDefaults defaults(kSuite);
  ASSERT_TRUE(defaults.synchronize());
  for (int t = 0; t < kThreads; ++t) {
    EXPECT_EQ(defaults.integerForKey("thread" + std::to_string(t)), kRounds - 1);
  }
  EXPECT_EQ(defaults.dictionaryRepresentation().size(), kThreads + 1u);
}

}  // namespace
}  // namespace norvik::platform
