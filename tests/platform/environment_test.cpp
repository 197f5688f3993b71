#include "norvik/platform/environment.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <optional>
#include <thread>
#include <vector>

#include "support/test_support.h"

namespace norvik::platform {
namespace {

// Sets process environment variables for one test and restores them afterwards.
class ScopedVariables {
 public:
  explicit ScopedVariables(const std::map<std::string, std::optional<std::string>>& values) {
    for (const auto& [name, value] : values) {
      const char* old = std::getenv(name.c_str());
      saved_[name] = old ? std::optional<std::string>(old) : std::nullopt;
      if (value) {
        setenv(name.c_str(), value->c_str(), 1);
      } else {
        unsetenv(name.c_str());
      }
    }
  }
  ~ScopedVariables() {
    for (const auto& [name, value] : saved_) {
      if (value) {
        setenv(name.c_str(), value->c_str(), 1);
      } else {
        unsetenv(name.c_str());
      }
    }
  }

 private:
  std::map<std::string, std::optional<std::string>> saved_;
};

TEST(Environment, PosixLocaleNamesBecomePlatformLanguageTags) {
  EXPECT_EQ(languageTagFromPosixLocale("zh_CN.UTF-8"), "zh-Hans-CN");
  EXPECT_EQ(languageTagFromPosixLocale("zh_TW.UTF-8"), "zh-Hant-TW");
  EXPECT_EQ(languageTagFromPosixLocale("zh_HK"), "zh-Hant-HK");
  EXPECT_EQ(languageTagFromPosixLocale("en_US.UTF-8"), "en-US");
  EXPECT_EQ(languageTagFromPosixLocale("pt_BR"), "pt-BR");
  EXPECT_EQ(languageTagFromPosixLocale("de"), "de");
  EXPECT_EQ(languageTagFromPosixLocale("sr_RS@latin"), "sr-Latn-RS");
  EXPECT_EQ(languageTagFromPosixLocale("sr_RS.UTF-8"), "sr-Cyrl-RS");
}

TEST(Environment, LocaleNamesWithoutLanguageGiveNoTag) {
  for (const char* name :
       {"", "C", "POSIX", "C.UTF-8", "../../etc", "en US", "zh_CN/..", "@latin"}) {
    EXPECT_EQ(languageTagFromPosixLocale(name), "") << name;
  }
}

TEST(Environment, PreferredLanguagesFollowLanguageListThenLocale) {
  ScopedVariables vars({{"LANGUAGE", "de_DE:fr"},
                        {"LC_ALL", std::nullopt},
                        {"LC_MESSAGES", std::nullopt},
                        {"LANG", "zh_CN.UTF-8"}});
  Environment env = Environment::fromProcess();
  EXPECT_EQ(env.preferredLanguages, (std::vector<std::string>{"de-DE", "fr", "zh-Hans-CN"}));
  EXPECT_EQ(env.localeIdentifier, "zh_Hans_CN");
}

TEST(Environment, LanguageListIsIgnoredUnderTheCLocale) {
  ScopedVariables vars({{"LANGUAGE", "de"},
                        {"LC_ALL", "C"},
                        {"LC_MESSAGES", std::nullopt},
                        {"LANG", std::nullopt},
                        {"LC_TIME", std::nullopt}});
  Environment env = Environment::fromProcess();
  EXPECT_EQ(env.preferredLanguages, std::vector<std::string>{"en-US"});
  EXPECT_EQ(env.localeIdentifier, "en_US");
}

TEST(Environment, DirectoriesComeFromVariablesWithXdgFallback) {
  ScopedVariables vars({{"NORVIK_APP_GROUP_DIR", std::nullopt},
                        {"XDG_DATA_HOME", "/srv/data"},
                        {"NORVIK_MAIN_BUNDLE", "/opt/bundle"},
                        {"XDG_DOCUMENTS_DIR", "relative/is/ignored"},
                        {"HOME", "/home/tester"},
                        {"TZ", ":Asia/Shanghai"}});
  Environment env = Environment::fromProcess();
  EXPECT_EQ(env.appGroupContainerDirectory, "/srv/data/" + std::string(kNVAppGroupIdentifier));
  EXPECT_EQ(env.mainBundlePath, "/opt/bundle");
  EXPECT_EQ(env.documentsDirectory, "/home/tester/Documents");
  EXPECT_EQ(env.timeZoneIdentifier, "Asia/Shanghai");

  ScopedVariables explicitDir({{"NORVIK_APP_GROUP_DIR", "/tmp/group"}, {"TZ", "Not/AZone"}});
  Environment second = Environment::fromProcess();
  EXPECT_EQ(second.appGroupContainerDirectory, "/tmp/group");
  EXPECT_NE(second.timeZoneIdentifier, "Not/AZone");
  EXPECT_FALSE(second.timeZoneIdentifier.empty());
}

TEST(Environment, ReplacementIsScopedAndCounted) {
  auto before = currentEnvironment();
  std::uint64_t generation = environmentGeneration();
  {
    Environment changed = *before;
    changed.timeZoneIdentifier = "Europe/Berlin";
    changed.clock = [] { return 42.5; };
    ScopedEnvironment scoped(changed);
    EXPECT_EQ(currentEnvironment()->timeZoneIdentifier, "Europe/Berlin");
    EXPECT_EQ(Date::now().timeIntervalSince1970(), 42.5);
    EXPECT_GT(environmentGeneration(), generation);
    // A snapshot taken earlier is not changed by the replacement.
    EXPECT_EQ(before->timeZoneIdentifier, "UTC");
  }
  EXPECT_EQ(currentEnvironment()->timeZoneIdentifier, "UTC");
  modifyEnvironment([](Environment& env) { env.clock = nullptr; });
  double system = systemClockSeconds();
  EXPECT_NEAR(Date::now().timeIntervalSince1970(), system, 5.0);
  setEnvironment(*before);
}

TEST(EnvironmentConcurrency, SnapshotsStayValidWhileReplaced) {
  auto base = *currentEnvironment();
  std::thread writer([&] {
    for (int i = 0; i < 2000; ++i) {
      modifyEnvironment(
          [i](Environment& env) { env.localeIdentifier = i % 2 ? "de_DE" : "fr_FR"; });
    }
  });
  std::size_t seen = 0;
  for (int i = 0; i < 2000; ++i) {
    auto snapshot = currentEnvironment();
    seen += snapshot->localeIdentifier.size();
  }
  writer.join();
  EXPECT_GT(seen, 0u);
  setEnvironment(base);
}

}  // namespace
}  // namespace norvik::platform
