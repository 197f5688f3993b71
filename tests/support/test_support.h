#pragma once
// Shared test helpers: temporary directories, a fixed environment, and child processes for tests
// that need a second real process.

#include <map>
#include <string>
#include <vector>

#include "norvik/platform/environment.h"

namespace norvik::testing {

// A fresh directory under the system's temporary directory, removed with everything in it.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  const std::string& path() const { return path_; }
  std::string file(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

// The fixed environment every test starts from: English (US) in UTC, a clock at
// 2024-03-10T12:00:00Z, a fresh application-group container and the build tree's main bundle.
platform::Environment baseEnvironment();

// Installs baseEnvironment() for the whole test binary. Called once from main.
void installBaseEnvironment(const char* argv0);

// Path of the running test binary.
const std::string& testBinaryPath();

// Runs this test binary again with only the named test ("Suite.Name") and the given extra
// environment variables, waits at most `timeoutSeconds`, and returns its exit status (-1 on timeout
// or failure to start). A test that acts as the child checks childRole() first.
int runChildTest(const std::string& testName, const std::map<std::string, std::string>& env,
                 double timeoutSeconds = 30.0);

// The value of NORVIK_TEST_CHILD_ROLE in a child started by runChildTest; empty in the parent.
std::string childRole();

}  // namespace norvik::testing
