#include "norvik/settings/file_utils.h"

#include <glib.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <system_error>
#include <vector>

#include "norvik/platform/environment.h"

namespace norvik {
namespace {

// Home directory of the named user from the password database; empty when there is no such user.
std::string homeOfUser(const std::string& user) {
  long suggested = sysconf(_SC_GETPW_R_SIZE_MAX);
  std::vector<char> buffer(suggested > 0 ? static_cast<std::size_t>(suggested) : 16384);
  passwd entry{};
  passwd* found = nullptr;
  if (getpwnam_r(user.c_str(), &entry, buffer.data(), buffer.size(), &found) != 0 || !found ||
      !found->pw_dir) {
    return {};
  }
  return found->pw_dir;
}

// "~" and "~/x" use the current user's home, "~user/x" that user's; an unknown user leaves the
// text as it is, as shells do.
std::string expandTilde(const std::string& path) {
  if (path.empty() || path.front() != '~') return path;
  std::size_t slash = path.find('/');
  std::string user = path.substr(1, slash == std::string::npos ? std::string::npos : slash - 1);
  std::string home = user.empty() ? std::string(g_get_home_dir()) : homeOfUser(user);
  if (home.empty()) return path;
  return home + (slash == std::string::npos ? std::string() : path.substr(slash));
}

// Absolute, lexically normal, no trailing slash but on the root. Empty input stays empty.
std::string normalisedDirectory(const std::string& directory) {
  if (directory.empty()) return {};
  std::error_code ec;
  std::filesystem::path path = std::filesystem::absolute(expandTilde(directory), ec);
  if (ec) return {};
  std::string text = path.lexically_normal().string();
  while (text.size() > 1 && text.back() == '/') text.pop_back();
  return text;
}

// The directory URL of an absolute path; empty when the path is empty.
std::string directoryURL(const std::string& path) {
  if (path.empty()) return {};
  gchar* uri = g_filename_to_uri(path.c_str(), nullptr, nullptr);
  if (uri == nullptr) return {};
  std::string text(uri);
  g_free(uri);
  if (text.back() != '/') text.push_back('/');
  return text;
}

std::optional<std::string> groupContainerPath() {
  std::string path =
      normalisedDirectory(platform::currentEnvironment()->appGroupContainerDirectory);
  if (path.empty()) return std::nullopt;
  if (g_mkdir_with_parents(path.c_str(), 0700) != 0) return std::nullopt;
  struct stat info {};
  if (stat(path.c_str(), &info) != 0 || !S_ISDIR(info.st_mode)) return std::nullopt;
  return path;
}

}  // namespace

std::string NVFileUtils::documentDirectoryURL() {
  try {
    return directoryURL(documentDirectoryPath());
  } catch (...) {
    return {};
  }
}

std::string NVFileUtils::documentDirectoryPath() {
  try {
    return normalisedDirectory(platform::currentEnvironment()->documentsDirectory);
  } catch (...) {
    return {};
  }
}

std::optional<std::string> NVFileUtils::groupContainerDirectoryURL() {
  try {
    std::optional<std::string> path = groupContainerPath();
    if (!path) return std::nullopt;
    std::string url = directoryURL(*path);
    if (url.empty()) return std::nullopt;
    return url;
  } catch (...) {
    return std::nullopt;
  }
}

std::optional<std::string> NVFileUtils::groupContainerDirectoryPath() {
  try {
    return groupContainerPath();
  } catch (...) {
    return std::nullopt;
  }
}

}  // namespace norvik
