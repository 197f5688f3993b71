#include "norvik/environment/app_constants.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <set>

#include "support/test_support.h"

namespace norvik {
namespace {

// A main bundle whose Info.plist has the given marketing and build versions.
void writeInfoPlist(const std::string& directory, const std::string& version,
                    const std::string& build) {
  std::ofstream(directory + "/Info.plist")
      << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>"
      << "<key>CFBundleIdentifier</key><string>app.norvik.test</string>"
      << "<key>CFBundleShortVersionString</key><string>" << version << "</string>"
      << "<key>CFBundleVersion</key><string>" << build << "</string></dict></plist>\n";
}

TEST(AppConstants, VersionIntegerKeepsItsCollisions) {
  EXPECT_EQ(NVConstants::versionInteger("6.3.1"), 6310);
  EXPECT_EQ(NVConstants::versionInteger("6.3"), 6300);
  EXPECT_EQ(NVConstants::versionInteger("6.3.10"), 6310);
  EXPECT_EQ(NVConstants::versionInteger("6"), 6000);
  EXPECT_EQ(NVConstants::versionInteger("10.0.1"), 1001);
  EXPECT_EQ(NVConstants::versionInteger("6.3.1.25"), 6312);
  EXPECT_EQ(NVConstants::versionInteger("6.3b2"), 6300);
  EXPECT_EQ(NVConstants::versionInteger(""), 0);
  EXPECT_EQ(NVConstants::versionInteger("beta"), 0);
  EXPECT_EQ(NVConstants::versionInteger("99999999999999999999999"), 9223);
}

TEST(AppConstants, BundleFactsComeFromTheMainBundle) {
  testing::TempDir bundle;
  writeInfoPlist(bundle.path(), "6.3.1", "1234");
  platform::ScopedEnvironment scope(testing::baseEnvironment());
  platform::modifyEnvironment([&](platform::Environment& e) { e.mainBundlePath = bundle.path(); });
  EXPECT_EQ(NVConstants::bundleIdentifier(), "app.norvik.test");
  EXPECT_EQ(NVConstants::bundleVersionString(), "6.3.1");
  EXPECT_EQ(NVConstants::buildVersionString(), "1234");
  EXPECT_EQ(NVConstants::bundleVersionInteger(), 6310);

  testing::TempDir empty;
  platform::modifyEnvironment([&](platform::Environment& e) { e.mainBundlePath = empty.path(); });
  EXPECT_FALSE(NVConstants::bundleVersionString());
  EXPECT_EQ(NVConstants::bundleVersionInteger(), 0);
}

TEST(AppConstants, DeviceTypeFollowsTheIdiom) {
  platform::ScopedEnvironment scope(testing::baseEnvironment());
  const std::pair<const char*, int> cases[] = {
      {"phone", 0}, {"pad", 1}, {"tv", 2}, {"carPlay", 3}, {"", 5}, {"mac", 5}, {"watch", 5}};
  for (const auto& [idiom, type] : cases) {
    platform::modifyEnvironment([&](platform::Environment& e) { e.device.idiom = idiom; });
    EXPECT_EQ(NVCurrentDeviceType(), type) << idiom;
    EXPECT_EQ(NVCurrentDeviceIsiPhone(), type == 0);
    EXPECT_EQ(NVCurrentDeviceIsiPad(), type == 1);
  }
  EXPECT_FALSE(NVCurrentDeviceIsSimulator());
}

TEST(AppConstants, PhoneGenerationTest) {
  platform::ScopedEnvironment scope(testing::baseEnvironment());
  const std::pair<const char*, bool> cases[] = {{"iPhone9,1", false}, {"iPhone10,1", true},
                                                {"iPhone12,3", true}, {"iPad13,1", false},
                                                {"x86_64", false},    {"iPhone", false}};
  for (const auto& [model, later] : cases) {
    platform::modifyEnvironment(
        [&](platform::Environment& e) { e.device.modelIdentifier = model; });
    EXPECT_EQ(isLaterThanIPhone8(), later) << model;
  }
}

TEST(AppConstants, SystemVersionsCompareNumericallyPartByPart) {
  platform::ScopedEnvironment scope(testing::baseEnvironment());
  platform::modifyEnvironment([](platform::Environment& e) { e.device.systemVersion = "10.0"; });
  EXPECT_TRUE(NVSystemVersionLaterThanVersion("9.3"));
  EXPECT_FALSE(NVSystemVersionLaterThanVersion("10"));
  EXPECT_TRUE(NVSystemVersionEqualToVersion("10"));
  EXPECT_TRUE(NVSystemVersionLaterThanOrEqualToVersion("10.0.0"));
  EXPECT_FALSE(NVSystemVersionLaterThanOrEqualToVersion("10.0.1"));
  EXPECT_LT(compareVersionsNumerically("12.2", "12.10"), 0);
  EXPECT_GT(compareVersionsNumerically("17.2", "17.1.9"), 0);
}

TEST(AppConstants, AngleConversions) {
  EXPECT_DOUBLE_EQ(DEGREE_TO_RADIAN(180), 3.141592653589793);
  EXPECT_DOUBLE_EQ(RADIAN_TO_DEGREE(DEGREE_TO_RADIAN(90)), 90);
}

TEST(AppConstants, IdentifiersAndEncoding) {
  std::set<std::string> seen;
  for (int i = 0; i < 100; ++i) {
    const std::string id = generate32UUID();
    ASSERT_EQ(id.size(), 32u);
    EXPECT_EQ(id.find_first_not_of("0123456789abcdef"), std::string::npos) << id;
    EXPECT_EQ(id[12], '4') << id;  // version 4
    seen.insert(id);
  }
  EXPECT_EQ(seen.size(), 100u);
  EXPECT_EQ(urlEncoded("Anna's iPhone"), "Anna%27s%20iPhone");
  EXPECT_EQ(urlEncoded("a-b_c.d~e/f?g=h&i"), "a-b_c.d~e%2Ff%3Fg%3Dh%26i");
  EXPECT_EQ(urlEncoded("Zoë"), "Zo%C3%AB");
}

// Child: decides whether it is an extension, then changes the environment, which must not change
// the remembered answer.
TEST(AppConstants, DISABLED_ExtensionChild) {
  if (testing::childRole().empty()) GTEST_SKIP();
  const bool byFlag = testing::childRole() == "flag";
  testing::TempDir parent;
  const std::string appex = parent.path() + "/Widget.appex";
  std::filesystem::create_directory(appex);
  platform::modifyEnvironment([&](platform::Environment& e) {
    e.isAppExtension = byFlag;
    if (testing::childRole() == "appex") e.mainBundlePath = appex;
  });
  const bool expected = testing::childRole() != "app";
  const bool first = IsAppExtension();
  platform::modifyEnvironment([&](platform::Environment& e) {
    e.isAppExtension = !expected;
    e.mainBundlePath = expected ? parent.path() : appex;
  });
  EXPECT_EQ(first, expected);
  EXPECT_EQ(IsAppExtension(), expected);
}

TEST(AppConstants, ExtensionIsDecidedOncePerProcess) {
  for (const char* role : {"app", "flag", "appex"}) {
    EXPECT_EQ(testing::runChildTest("AppConstants.DISABLED_ExtensionChild",
                                    {{"NORVIK_TEST_CHILD_ROLE", role}}),
              0)
        << role;
  }
}

}  // namespace
}  // namespace norvik
