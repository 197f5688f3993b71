#include "support/test_support.h"

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <thread>

namespace norvik::testing {
namespace {

std::string& binaryPath() {
  static std::string path;
  return path;
}

std::string& sharedContainer() {
  static std::string path;
  return path;
}

}  // namespace

namespace {

// A child test process makes its directories inside its parent's, so that whatever a child leaves
// behind (it may be killed) goes when the parent removes its own.
constexpr const char* kParentDirectoryVariable = "NORVIK_TEST_PARENT_DIR";

}  // namespace

TempDir::TempDir() {
  const char* parent = std::getenv(kParentDirectoryVariable);
  const std::filesystem::path base =
      parent && *parent ? std::filesystem::path(parent) : std::filesystem::temp_directory_path();
  std::string pattern = (base / "norvik-test-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
  path_ = pattern;
}

TempDir::~TempDir() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

platform::Environment baseEnvironment() {
  platform::Environment env;
  env.preferredLanguages = {"en-US"};
  env.localeIdentifier = "en_US";
  env.timeZoneIdentifier = "UTC";
  env.clock = [] { return 1710072000.0; };  // 2024-03-10T12:00:00Z
  env.device = {"", "x86_64", "Debian GNU/Linux", "12", "test-host"};
  if (const char* shared = std::getenv("NORVIK_TEST_APP_GROUP_DIR"); shared && *shared) {
    env.appGroupContainerDirectory = shared;
  } else {
    env.appGroupContainerDirectory = sharedContainer();
  }
  const char* datadir = std::getenv("NORVIK_TEST_DATADIR");
  if (!datadir || !*datadir) datadir = NORVIK_TEST_DATADIR_DEFAULT;
  env.mainBundlePath = std::string(datadir) + "/MainBundle";
  env.documentsDirectory = env.appGroupContainerDirectory + "/Documents";
  return env;
}

void installBaseEnvironment(const char* argv0) {
  std::error_code ec;
  auto exe = std::filesystem::canonical("/proc/self/exe", ec);
  binaryPath() = ec ? std::string(argv0) : exe.string();
  // One container per test binary run, removed at exit; tests that need isolation make their own.
  static TempDir container;
  // Every process this one starts (child tests, helpers that run the binary again) inherits it.
  setenv(kParentDirectoryVariable, container.path().c_str(), 1);
  sharedContainer() = container.path() + "/group";
  std::filesystem::create_directories(sharedContainer());
  platform::setEnvironment(baseEnvironment());
}

const std::string& testBinaryPath() {
  return binaryPath();
}

std::string childRole() {
  const char* role = std::getenv("NORVIK_TEST_CHILD_ROLE");
  return role ? role : "";
}

int runChildTest(const std::string& testName, const std::map<std::string, std::string>& env,
                 double timeoutSeconds) {
  pid_t pid = fork();
  if (pid < 0) return -1;
  if (pid == 0) {
    for (const auto& [key, value] : env) setenv(key.c_str(), value.c_str(), 1);
    std::string filter = "--gtest_filter=" + testName;
    execl(binaryPath().c_str(), binaryPath().c_str(), filter.c_str(),
          "--gtest_also_run_disabled_tests", static_cast<char*>(nullptr));
    _exit(127);
  }
  auto deadline = std::chrono::steady_clock::now() +
                  std::chrono::duration_cast<std::chrono::steady_clock::duration>(
                      std::chrono::duration<double>(timeoutSeconds));
  int status = 0;
  while (true) {
    pid_t done = waitpid(pid, &status, WNOHANG);
    if (done == pid) break;
    if (done < 0) return -1;
    if (std::chrono::steady_clock::now() > deadline) {
      kill(pid, SIGKILL);
      waitpid(pid, &status, 0);
      return -1;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace norvik::testing
