#include "norvik/environment/user_language.h"

#include <glib.h>
#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <thread>

#include "environment/language_test_support.h"
#include "norvik/environment/message_identifiers.h"
#include "norvik/platform/calendar.h"
#include "norvik/platform/date_formatter.h"
#include "norvik/platform/localized_string.h"
#include "norvik/platform/message_channel.h"

namespace norvik {
namespace {

using platform::Value;
using testing::LanguageFixture;

class UserLanguageTest : public LanguageFixture {};

TEST_F(UserLanguageTest, TypeComesFromAnExactlyEqualStoredCode) {
  EXPECT_EQ(NVUserLanguage::userLanguageType(), 0u);
  storeCode(Value("en"));
  EXPECT_EQ(NVUserLanguage::userLanguageType(), 3u);
  storeCode(Value("pt-BR"));
  EXPECT_EQ(NVUserLanguage::userLanguageType(), 16u);
  EXPECT_EQ(NVUserLanguage::userLanguageID(), "pt-BR");
  for (const char* code : {"en-GB", "EN", "zh-hans", "pt", ""}) {
    storeCode(Value(code));
    EXPECT_EQ(NVUserLanguage::userLanguageType(), 0u) << code;
    EXPECT_EQ(NVUserLanguage::userLanguageID(), std::nullopt) << code;
  }
  storeCode(Value(3));  // a number is not a code
  EXPECT_EQ(NVUserLanguage::userLanguageType(), 0u);
}

TEST_F(UserLanguageTest, TableKeepsItsNumberingAndNativeNames) {
  const auto languages = NVUserLanguage::supportedLanguages();
  ASSERT_EQ(languages.size(), 37u);
  for (std::size_t i = 0; i < languages.size(); ++i) {
    EXPECT_EQ(languages[i].type, i + 1);
    EXPECT_EQ(NVUserLanguage::userLanguageIDForType(static_cast<std::int64_t>(i + 1)),
              std::string(languages[i].code));
  }
  EXPECT_EQ(languages[12].nativeName, "P\xD1\x83\xD1\x81\xD1\x81\xD0\xBA\xD0\xB8\xD0\xB9");
  EXPECT_EQ(languages[19].nativeName, "latviešu");
  EXPECT_EQ(languages[23].nativeName, " فارسی");
  EXPECT_EQ(languages[21].code, "sk");
  EXPECT_EQ(languages[22].code, "uk");
  for (std::int64_t type : {0, 38, -1, -3}) {
    EXPECT_EQ(NVUserLanguage::userLanguageIDForType(type), std::nullopt) << type;
  }
}

TEST_F(UserLanguageTest, NameOfSystemChoiceNeedsTwoPreferredLanguages) {
  setLanguages({"de-DE"});  // the localized fallback, in the system's language
  EXPECT_EQ(NVUserLanguage::userLanguageName(), "Systemstandard");
  setLanguages({"de-DE", "en-US"});
  EXPECT_EQ(NVUserLanguage::userLanguageName(), "Deutsch");
  setLanguages({"zh-HK", "en-US"});
  EXPECT_EQ(NVUserLanguage::userLanguageName(), "System Default");
  setLanguages({"pt-PT", "en-US"});
  EXPECT_EQ(NVUserLanguage::userLanguageName(), "System Default");
  setLanguages({"zh-Hans-CN", "en-US"});
  EXPECT_EQ(NVUserLanguage::userLanguageName(), "简体中文");
  setLanguages({"en-GB", "de"});
  EXPECT_EQ(NVUserLanguage::userLanguageName(), "English");
  // The fallback follows the chosen language; a chosen language shows its own native name.
  storeCode(Value("de"));
  NVUserLanguage::updateUserLanguageAndNotify();
  EXPECT_EQ(NVUserLanguage::userLanguageName(), "Deutsch");
  storeCode(Value("ru"));
  EXPECT_EQ(NVUserLanguage::userLanguageName(), "Pусский");
}

TEST_F(UserLanguageTest, LookupFallsBackFromChosenToSystemToEnglishToKey) {
  setLanguages({"fr-FR", "en-US"});
  NVUserLanguage::updateUserLanguageAndNotify();
  // Following the system: French, then English for what French lacks.
  EXPECT_EQ(BundleEx::localizedStringForKey("Today"), "Aujourd'hui");
  EXPECT_EQ(BundleEx::localizedStringForKey("only_english"), "Only in English");
  ASSERT_TRUE(NVUserLanguage::setUserLanguageType(14));
  EXPECT_EQ(BundleEx::attachedLanguageCode(), "de");
  EXPECT_EQ(BundleEx::localizedStringForKey("Today"), "Heute");
  EXPECT_EQ(platform::localizedString("Today"), "Heute");  // every library lookup follows
  EXPECT_EQ(BundleEx::localizedStringForKey("only_english"), "Only in English");
  EXPECT_EQ(BundleEx::localizedStringForKey("blank"), "");  // an empty translation stands
  EXPECT_EQ(BundleEx::localizedStringForKey("nowhere"), "nowhere");
  EXPECT_EQ(BundleEx::localizedStringForKey("nowhere", "Default"), "Default");
  EXPECT_EQ(platform::specialLocalizedString("comma"), ", ");
  ASSERT_TRUE(NVUserLanguage::setUserLanguageType(5));  // Japanese has only a Special table
  EXPECT_EQ(platform::specialLocalizedString("comma"), "、");
  EXPECT_EQ(platform::localizedString("Today"), "Today");
  ASSERT_TRUE(NVUserLanguage::setUserLanguageType(4));  // no Korean folder: the system's choice
  EXPECT_EQ(BundleEx::attachedLanguageCode(), std::nullopt);
  EXPECT_EQ(platform::localizedString("Today"), "Aujourd'hui");
}

// Lookups remember their resolution per thread; a thread that has looked up before still sees a
// language switch, a change of the system's languages and a new main bundle on its next lookup.
TEST_F(UserLanguageTest, EveryThreadSeesASwitchAtOnce) {
  setLanguages({"fr-FR", "en-US"});
  NVUserLanguage::updateUserLanguageAndNotify();
  std::mutex mutex;
  std::condition_variable changed;
  int asked = 0;
  int answered = 0;
  std::vector<std::string> seen;
  std::thread worker([&] {
    for (int round = 1; round <= 4; ++round) {
      std::unique_lock lock(mutex);
      changed.wait(lock, [&] { return asked == round; });
      seen.push_back(platform::localizedString("Today") + "|" +
                     platform::specialLocalizedString("comma"));
      answered = round;
      changed.notify_all();
    }
  });
  auto ask = [&] {
    std::unique_lock lock(mutex);
    ++asked;
    changed.notify_all();
    changed.wait(lock, [&] { return answered == asked; });
  };
  ask();
  ASSERT_TRUE(NVUserLanguage::setUserLanguageType(14));
  ask();
  ASSERT_TRUE(NVUserLanguage::setUserLanguageType(0));
  setLanguages({"en-GB"});
  ask();
  ASSERT_TRUE(NVUserLanguage::setUserLanguageType(5));
  ask();
  worker.join();
  EXPECT_EQ(seen,
            (std::vector<std::string>{"Aujourd'hui|, ", "Heute|, ", "Today (GB)|, ", "Today|、"}));
}

TEST_F(UserLanguageTest, SettingTheCurrentTypePostsNothing) {
  int posts = 0;
  auto token = platform::NotificationCenter::defaultCenter().addObserver(
      NVUserLanguageDidChangeNotification, nullptr, [&](const platform::Notification& n) {
        ++posts;
        EXPECT_EQ(n.object, nullptr);
        EXPECT_FALSE(n.userInfo.has_value());
      });
  platform::ScopedObserver scoped(platform::NotificationCenter::defaultCenter(), token);
  EXPECT_FALSE(NVUserLanguage::setUserLanguageType(0));
  EXPECT_EQ(posts, 0);
  EXPECT_TRUE(NVUserLanguage::setUserLanguageType(14));
  EXPECT_EQ(posts, 1);
  EXPECT_FALSE(NVUserLanguage::setUserLanguageType(14));
  EXPECT_EQ(posts, 1);
  EXPECT_EQ(NVAppGroupUserDefaults().stringForKey(kNVAppUserLanguageKey), "de");
  EXPECT_TRUE(NVUserLanguage::setUserLanguageType(0));
  EXPECT_EQ(posts, 2);
  EXPECT_TRUE(NVAppGroupUserDefaults().objectForKey(kNVAppUserLanguageKey).isNull());
  EXPECT_EQ(BundleEx::attachedLanguageCode(), std::nullopt);
}

TEST_F(UserLanguageTest, StoredValueThatIsNotAPlainCodeSelectsNoFolder) {
  platform::modifyEnvironment(
      [](platform::Environment& env) { env.preferredLanguages = {"en-US"}; });
  testing::writeFile(dir_.file("outside.lproj/Localizable.strings"), "\"Today\" = \"pwned\";\n");
  for (const std::string& code :
       std::vector<std::string>{"../outside", dir_.file("outside"), std::string(".."), "de/..",
                                std::string("de\0x", 4)}) {
    storeCode(Value(code));
    NVUserLanguage::updateUserLanguageAndNotify();
    EXPECT_EQ(NVUserLanguage::userLanguageType(), 0u);
    EXPECT_EQ(BundleEx::attachedLanguageCode(), std::nullopt) << code;
    EXPECT_EQ(platform::localizedString("Today"), "Today") << code;
  }
}

TEST_F(UserLanguageTest, SharedFormattersFollowTheChosenLanguage) {
  setLanguages({"en-US"}, "en_GB");
  EXPECT_TRUE(NVUserLanguage::localeForCurrentLanguage().isAutoupdating());
  ASSERT_TRUE(NVUserLanguage::setUserLanguageType(14));
  // The chosen language with the system's region.
  EXPECT_EQ(NVUserLanguage::localeForCurrentLanguage().identifier(), "de_GB");
  EXPECT_EQ(platform::DateFormatter::shared().locale().identifier(), "de_GB");
  EXPECT_EQ(platform::Calendar::autoupdatingCurrent().locale().identifier(), "de_GB");
  ASSERT_TRUE(NVUserLanguage::setUserLanguageType(0));
  EXPECT_EQ(platform::DateFormatter::shared().locale().identifier(), "en_GB");
}

TEST_F(UserLanguageTest, ProcessChoiceWinsForThisProcessAndIsNeverStored) {
  setLanguages({"en-US"});
  storeCode(Value("de"));
  ASSERT_TRUE(NVUserLanguage::setProcessUserLanguageType(15));  // French for this process
  EXPECT_EQ(NVUserLanguage::userLanguageType(), 15u);
  EXPECT_EQ(BundleEx::attachedLanguageCode(), "fr");
  EXPECT_EQ(platform::localizedString("Today"), "Aujourd'hui");
  EXPECT_EQ(NVAppGroupUserDefaults().stringForKey(kNVAppUserLanguageKey), "de");
  // Choosing the stored language is still a change of the stored choice...
  EXPECT_FALSE(NVUserLanguage::setUserLanguageType(14));
  // ...and storing another one leaves this process in its own language.
  EXPECT_TRUE(NVUserLanguage::setUserLanguageType(5));
  EXPECT_EQ(NVAppGroupUserDefaults().stringForKey(kNVAppUserLanguageKey), "ja");
  EXPECT_EQ(BundleEx::attachedLanguageCode(), "fr");
  // Following the system for this process only, then back to the stored choice.
  ASSERT_TRUE(NVUserLanguage::setProcessUserLanguageType(0));
  EXPECT_EQ(NVUserLanguage::userLanguageID(), std::nullopt);
  EXPECT_EQ(platform::localizedString("Today"), "Today");
  for (std::int64_t bad : {-1, 38, 1000}) {
    EXPECT_FALSE(NVUserLanguage::setProcessUserLanguageType(bad)) << bad;
    EXPECT_EQ(NVUserLanguage::userLanguageType(), 0u) << bad;
  }
  ASSERT_TRUE(NVUserLanguage::setProcessUserLanguageType(std::nullopt));
  EXPECT_EQ(NVUserLanguage::userLanguageType(), 5u);
  EXPECT_EQ(BundleEx::attachedLanguageCode(), "ja");
}

class Label : public NVUserLanguageObserving {
 public:
  void nv_userLanguage_refreshUI(bool isInitialRefresh) override {
    (isInitialRefresh ? initial : later)++;
  }
  int initial = 0;
  int later = 0;
};

TEST_F(UserLanguageTest, ObservingObjectsRegisterOnceAndStopWhenDestroyed) {
  auto& center = platform::NotificationCenter::defaultCenter();
  const auto before = center.observerCount();
  {
    Label label;
    label.nv_userLanguage_startObserving();
    label.nv_userLanguage_startObserving(false);
    EXPECT_EQ(label.initial, 1);
    EXPECT_EQ(center.observerCount(), before + 1);
    NVUserLanguage::setUserLanguageType(15);
    EXPECT_EQ(label.later, 1);
    label.nv_userLanguage_stopObserving();
    NVUserLanguage::setUserLanguageType(0);
    EXPECT_EQ(label.later, 1);
    label.nv_userLanguage_startObserving(false);
  }
  EXPECT_EQ(center.observerCount(), before);
}

// Iterates the default main loop until `done` or the deadline.
template <typename Done>
bool runMainLoopUntil(Done done, std::chrono::milliseconds limit) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  while (!done()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    while (g_main_context_iteration(nullptr, FALSE)) {
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return true;
}

TEST_F(UserLanguageTest, ChangeMessageFromThisProcessIsIgnored) {
  auto& observer = NVUserLanguageChangeObserver::sharedObserver();
  ASSERT_NE(observer.wormhole(), nullptr);
  int posts = 0;
  platform::ScopedObserver scoped(
      platform::NotificationCenter::defaultCenter(),
      platform::NotificationCenter::defaultCenter().addObserver(
          NVUserLanguageDidChangeNotification, nullptr, [&](const auto&) { ++posts; }));
  observer.postChange();  // carries this bundle's identifier
  runMainLoopUntil([] { return false; }, std::chrono::milliseconds(300));
  EXPECT_EQ(posts, 0);
  observer.wormhole()->passMessage(NVUserLanguageDidChangeNotification,
                                   Value("app.norvik.taskcalendar.widget"));
  EXPECT_TRUE(runMainLoopUntil([&] { return posts == 1; }, std::chrono::seconds(5)));
}

// Start-up applies the stored code as it stands, without the table check. Runs in a fresh child
// process, where no lookup has happened yet.
TEST(UserLanguageStartUp, DISABLED_AppliesStoredCodeBeforeFirstLookup) {
  if (testing::childRole().empty()) GTEST_SKIP();
  platform::modifyEnvironment([](platform::Environment& env) {
    env.mainBundlePath = std::getenv("NORVIK_TEST_BUNDLE");
    env.preferredLanguages = {"fr-FR"};
  });
  EXPECT_EQ(NVUserLanguage::userLanguageType(), 0u);
  if (testing::childRole() == "en-GB") {
    EXPECT_EQ(platform::localizedString("Today"), "Today (GB)");
    EXPECT_EQ(BundleEx::attachedLanguageCode(), "en-GB");
  } else {
    EXPECT_EQ(platform::localizedString("Today"), "Aujourd'hui");
    EXPECT_EQ(BundleEx::attachedLanguageCode(), std::nullopt);
  }
}

TEST(UserLanguageStartUp, StoredCodeOutsideTheTableStillSelectsItsFolder) {
  testing::TempDir dir;
  testing::writeLanguageBundle(dir.file("Main.bundle"), "app.norvik.taskcalendar.tests");
  testing::writeFile(dir.file("Main.bundle/x.lproj/Localizable.strings"), "\"Today\" = \"x\";");
  for (std::string role : {"en-GB", "../Main.bundle/x", "/etc"}) {
    const std::string group = dir.file("group-" + std::to_string(role.size()));
    {
      platform::ScopedEnvironment env([&] {
        auto e = testing::baseEnvironment();
        e.appGroupContainerDirectory = group;
        return e;
      }());
      std::filesystem::create_directories(group);
      auto store = NVAppGroupUserDefaults();
      store.setObject(Value(role), kNVAppUserLanguageKey);
      ASSERT_TRUE(store.synchronize());
    }
    EXPECT_EQ(
        testing::runChildTest("UserLanguageStartUp.DISABLED_AppliesStoredCodeBeforeFirstLookup",
                              {{"NORVIK_TEST_CHILD_ROLE", role},
                               {"NORVIK_TEST_APP_GROUP_DIR", group},
                               {"NORVIK_TEST_BUNDLE", dir.file("Main.bundle")}}),
        0)
        << role;
  }
}

}  // namespace
}  // namespace norvik
