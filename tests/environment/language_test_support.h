#pragma once
// A small main bundle and a fresh application-group container for the environment tests.

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <string_view>

#include "norvik/environment/user_language.h"
#include "norvik/platform/environment.h"
#include "support/test_support.h"

namespace norvik::testing {

inline void writeFile(const std::string& path, std::string_view contents) {
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out << contents;
}

// Writes a bundle with English, German, Japanese (Special only) and en-GB tables under `root`.
inline void writeLanguageBundle(const std::string& root, std::string_view bundleIdentifier) {
  writeFile(root + "/Info.plist",
            std::string("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>"
                        "<key>CFBundleIdentifier</key><string>") +
                std::string(bundleIdentifier) +
                "</string><key>CFBundleDevelopmentRegion</key><string>en</string></dict></plist>");
  writeFile(root + "/en.lproj/Localizable.strings",
            "\"System Default\" = \"System Default\";\n\"Today\" = \"Today\";\n"
            "\"only_english\" = \"Only in English\";\n");
  writeFile(root + "/en.lproj/Special.strings", "\"comma\" = \", \";\n");
  writeFile(root + "/de.lproj/Localizable.strings",
            "\"System Default\" = \"Systemstandard\";\n\"Today\" = \"Heute\";\n"
            "\"blank\" = \"\";\n");
  writeFile(root + "/ja.lproj/Special.strings", "\"comma\" = \"、\";\n");
  writeFile(root + "/en-GB.lproj/Localizable.strings", "\"Today\" = \"Today (GB)\";\n");
  writeFile(root + "/fr.lproj/Localizable.strings", "\"Today\" = \"Aujourd'hui\";\n");
}

// Each test gets its own bundle and container; the chosen language starts as "follow the system".
class LanguageFixture : public ::testing::Test {
 protected:
  void SetUp() override {
    // The process's change observer stays on the container in force at start-up: start up while
    // that is the test binary's shared container, which outlives every test.
    BundleEx::installOnMainBundle();
    bundle_ = dir_.file("Main.bundle");
    writeLanguageBundle(bundle_, "app.norvik.taskcalendar.tests");
    platform::Environment env = baseEnvironment();
    env.mainBundlePath = bundle_;
    env.appGroupContainerDirectory = dir_.file("group");
    std::filesystem::create_directories(env.appGroupContainerDirectory);
    scoped_ = std::make_unique<platform::ScopedEnvironment>(env);
    NVUserLanguage::updateUserLanguageAndNotify();
  }
  void TearDown() override {
    NVUserLanguage::setProcessUserLanguageType(std::nullopt);
    scoped_.reset();
    NVUserLanguage::updateUserLanguageAndNotify();
  }

  void setLanguages(std::vector<std::string> languages, std::string locale = "en_US") {
    platform::modifyEnvironment([&](platform::Environment& env) {
      env.preferredLanguages = std::move(languages);
      env.localeIdentifier = std::move(locale);
    });
  }
  void storeCode(const platform::Value& code) {
    auto store = NVAppGroupUserDefaults();
    store.setObject(code, kNVAppUserLanguageKey);
    store.synchronize();
  }

  TempDir dir_;
  std::string bundle_;
  std::unique_ptr<platform::ScopedEnvironment> scoped_;
};

}  // namespace norvik::testing
