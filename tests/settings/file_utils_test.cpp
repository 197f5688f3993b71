#include "norvik/settings/file_utils.h"

#include <glib.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "support/test_support.h"

namespace norvik {
namespace {

using platform::Environment;
using platform::ScopedEnvironment;

Environment withDirectories(std::string documents, std::string group) {
  Environment env = testing::baseEnvironment();
  env.documentsDirectory = std::move(documents);
  env.appGroupContainerDirectory = std::move(group);
  return env;
}

unsigned modeOf(const std::string& path) {
  struct stat info {};
  return stat(path.c_str(), &info) == 0 ? (info.st_mode & 07777) : 0;
}

TEST(NVFileUtils, DocumentDirectoryPathIsNormalisedAndItsURLEncoded) {
  {
    ScopedEnvironment scope(withDirectories("/srv/x/./My Docs#1/old/../été?/", ""));
    EXPECT_EQ(NVFileUtils::documentDirectoryPath(), "/srv/x/My Docs#1/été?");
    EXPECT_EQ(NVFileUtils::documentDirectoryURL(), "file:///srv/x/My%20Docs%231/%C3%A9t%C3%A9%3F/");
  }
  {
    ScopedEnvironment scope(withDirectories("/", ""));
    EXPECT_EQ(NVFileUtils::documentDirectoryPath(), "/");
    EXPECT_EQ(NVFileUtils::documentDirectoryURL(), "file:///");
  }
  {
    ScopedEnvironment scope(withDirectories("", ""));
    EXPECT_EQ(NVFileUtils::documentDirectoryPath(), "");
    EXPECT_EQ(NVFileUtils::documentDirectoryURL(), "");
  }
  {
    ScopedEnvironment scope(withDirectories("relative/docs", ""));
    EXPECT_EQ(NVFileUtils::documentDirectoryPath(),
              (std::filesystem::current_path() / "relative/docs").string());
  }
}

TEST(NVFileUtils, LeadingTildeIsExpanded) {
  {
    ScopedEnvironment scope(withDirectories("~/Documents", ""));
    EXPECT_EQ(NVFileUtils::documentDirectoryPath(), std::string(g_get_home_dir()) + "/Documents");
  }
  if (const passwd* root = getpwnam("root"); root != nullptr) {
    ScopedEnvironment scope(withDirectories("~root/Docs", ""));
    EXPECT_EQ(NVFileUtils::documentDirectoryPath(), std::string(root->pw_dir) + "/Docs");
  }
  {
    // An unknown user is not expanded; the text is then a relative path.
    ScopedEnvironment scope(withDirectories("~no-such-user-here/Docs", ""));
    EXPECT_EQ(NVFileUtils::documentDirectoryPath(),
              (std::filesystem::current_path() / "~no-such-user-here/Docs").string());
  }
}

TEST(NVFileUtils, GroupContainerIsCreatedPrivateWhenMissing) {
  testing::TempDir dir;
  const std::string container = dir.file("outer dir/group");
  ScopedEnvironment scope(withDirectories("", container + "/"));
  std::optional<std::string> url = NVFileUtils::groupContainerDirectoryURL();
  ASSERT_TRUE(url.has_value());
  EXPECT_EQ(*url, "file://" + dir.path() + "/outer%20dir/group/");
  EXPECT_EQ(NVFileUtils::groupContainerDirectoryPath(), container);
  EXPECT_EQ(modeOf(container), 0700u);
  EXPECT_EQ(modeOf(dir.file("outer dir")), 0700u);

  // An existing directory is used as it is, its contents kept.
  std::ofstream(container + "/keep") << "x";
  chmod(container.c_str(), 0750);
  EXPECT_EQ(NVFileUtils::groupContainerDirectoryPath(), container);
  EXPECT_EQ(modeOf(container), 0750u);
  EXPECT_TRUE(std::filesystem::exists(container + "/keep"));
}

TEST(NVFileUtils, GroupContainerAbsentWhenUnavailable) {
  {
    ScopedEnvironment scope(withDirectories("/docs", ""));
    EXPECT_FALSE(NVFileUtils::groupContainerDirectoryURL().has_value());
    EXPECT_FALSE(NVFileUtils::groupContainerDirectoryPath().has_value());
  }
  testing::TempDir dir;
  std::ofstream(dir.file("plain")) << "not a directory";
  for (const std::string& place : {dir.file("plain"), dir.file("plain/group")}) {
    ScopedEnvironment scope(withDirectories("/docs", place));
    EXPECT_FALSE(NVFileUtils::groupContainerDirectoryURL().has_value()) << place;
    EXPECT_FALSE(NVFileUtils::groupContainerDirectoryPath().has_value()) << place;
  }
  EXPECT_TRUE(std::filesystem::is_regular_file(dir.file("plain")));
}

}  // namespace
}  // namespace norvik
