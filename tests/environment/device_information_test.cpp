#include <gtest/gtest.h>

#include <fstream>

#include "norvik/environment/app_constants.h"
#include "norvik/platform/json.h"
#include "norvik/settings/registry.h"
#include "support/test_support.h"

namespace norvik {
namespace {

class DeviceInformation : public ::testing::Test {
 protected:
  void SetUp() override {
    std::ofstream(bundle_.path() + "/Info.plist")
        << "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict>"
        << "<key>CFBundleShortVersionString</key><string>6.3.1</string>"
        << "<key>CFBundleVersion</key><string>1234</string></dict></plist>\n";
    platform::modifyEnvironment([&](platform::Environment& e) {
      e.mainBundlePath = bundle_.path();
      e.device.systemName = "PhoneOS";
      e.device.systemVersion = "17.2";
      e.device.name = "Anna's phone";
      e.device.modelIdentifier = "iPhone12,1";
    });
  }

  platform::Dictionary describe(const char* idiom, bool build,
                                std::optional<std::string_view> campaign) {
    platform::modifyEnvironment([&](platform::Environment& e) { e.device.idiom = idiom; });
    auto value =
        platform::decodeJSON(NVUtils::deviceInformationWithBuildVersionIncluded(build, campaign));
    return value && value->dictionary() ? *value->dictionary() : platform::Dictionary{};
  }

  testing::TempDir bundle_;
  platform::ScopedEnvironment scope_{testing::baseEnvironment()};
};

TEST_F(DeviceInformation, KeysPerDeviceType) {
  const auto phone = describe("phone", true, "spring");
  EXPECT_EQ(phone.at("platform"), platform::Value("ios_iphone"));
  EXPECT_EQ(phone.at("os"), platform::Value("PhoneOS 17.2"));
  EXPECT_EQ(phone.at("name"), platform::Value("Anna%27s%20phone"));
  EXPECT_EQ(phone.at("device"), platform::Value("iPhone12.1"));
  EXPECT_EQ(phone.at("channel"), platform::Value("app_store"));
  EXPECT_EQ(phone.at("campaign"), platform::Value("spring"));
  EXPECT_EQ(phone.at("version"), platform::Value("6310(1234)"));
  EXPECT_EQ(phone.size(), 8u);

  EXPECT_EQ(describe("pad", false, std::nullopt).at("platform"), platform::Value("ios_ipad"));
  const auto tv = describe("tv", false, std::nullopt);
  EXPECT_FALSE(tv.count("platform"));
  EXPECT_FALSE(tv.count("campaign"));
  EXPECT_EQ(tv.at("version"), platform::Value("6310"));
  EXPECT_FALSE(describe("", false, std::nullopt).count("platform"));
}

TEST_F(DeviceInformation, AppIDIsMadeOnceAndKept) {
  const std::string first = NVConstants::appID();
  EXPECT_EQ(first.size(), 32u);
  EXPECT_EQ(NVConstants::appID(), first);
  EXPECT_EQ(NVUserDefaultManager::shared().appID(), first);
  EXPECT_EQ(describe("phone", false, std::nullopt).at("id"), platform::Value(first));
  NVUserDefaultManager::shared().setAppID(std::string("stored-id"));
  EXPECT_EQ(NVConstants::appID(), "stored-id");
}

}  // namespace
}  // namespace norvik
