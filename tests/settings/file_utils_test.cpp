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
  const std::pair<std::string, std::string> cases[] = {
      {"/srv/x/./My Docs#1/old/../été?/", "/srv/x/My Docs#1/été?"},
      {"/", "/"},
      {"", ""},
      {"~/Documents", std::string(g_get_home_dir()) + "/Documents"},
      {"relative/docs", (std::filesystem::current_path() / "relative/docs").string()},
      // An unknown user is not expanded; the text is then a relative path.
      {"~no-such-user-here/D", (std::filesystem::current_path() / "~no-such-user-here/D").string()},
  };
  for (const auto& [documents, path] : cases) {
    ScopedEnvironment scope(withDirectories(documents, ""));
    EXPECT_EQ(NVFileUtils::documentDirectoryPath(), path) << documents;
  }
  if (const passwd* root = getpwnam("root"); root != nullptr) {
    ScopedEnvironment scope(withDirectories("~root/Docs", ""));
    EXPECT_EQ(NVFileUtils::documentDirectoryPath(), std::string(root->pw_dir) + "/Docs");
  }
  ScopedEnvironment scope(withDirectories(cases[0].first, ""));
  EXPECT_EQ(NVFileUtils::documentDirectoryURL(), "file:///srv/x/My%20Docs%231/%C3%A9t%C3%A9%3F/");
  ScopedEnvironment root(withDirectories("/", ""));
  EXPECT_EQ(NVFileUtils::documentDirectoryURL(), "file:///");
  ScopedEnvironment none(withDirectories("", ""));
  EXPECT_EQ(NVFileUtils::documentDirectoryURL(), "");
}

TEST(NVFileUtils, GroupContainerIsCreatedPrivateWhenMissingAndAbsentWhenUnavailable) {
  testing::TempDir dir;
  const std::string container = dir.file("outer dir/group");
  {
    ScopedEnvironment scope(withDirectories("", container + "/"));
    EXPECT_EQ(NVFileUtils::groupContainerDirectoryURL(),
              "file://" + dir.path() + "/outer%20dir/group/");
    EXPECT_EQ(NVFileUtils::groupContainerDirectoryPath(), container);
    EXPECT_EQ(modeOf(container), 0700u);
    EXPECT_EQ(modeOf(dir.file("outer dir")), 0700u);
  }
  std::ofstream(dir.file("plain")) << "not a directory";
  for (const std::string& place : {std::string(), dir.file("plain"), dir.file("plain/group")}) {
    ScopedEnvironment scope(withDirectories("/docs", place));
    EXPECT_FALSE(NVFileUtils::groupContainerDirectoryURL().has_value()) << place;
    EXPECT_FALSE(NVFileUtils::groupContainerDirectoryPath().has_value()) << place;
  }
  EXPECT_TRUE(std::filesystem::is_regular_file(dir.file("plain")));
}

}  // namespace
}  // namespace norvik
