#include "norvik/settings/keychain.h"

#include <gio/gio.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <thread>

#include "support/test_support.h"

namespace norvik {
namespace {

using testing::childRole;
using testing::TempDir;

// Waits for a child process; its exit status, or -1 when it had to be killed after `seconds`.
int waitForChild(pid_t pid, double seconds) {
  auto deadline = std::chrono::steady_clock::now() +
                  std::chrono::milliseconds(static_cast<long>(seconds * 1000));
  int status = 0;
  while (waitpid(pid, &status, WNOHANG) == 0) {
    if (std::chrono::steady_clock::now() > deadline) {
      kill(pid, SIGKILL);
      waitpid(pid, &status, 0);
      return -1;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// Runs one disabled test of this binary on a private session bus of its own, so that the secret
// service it talks to is the one it starts, never the developer's.
int runOnPrivateBus(const std::string& testName) {
  pid_t pid = fork();
  if (pid == 0) {
    setenv("NORVIK_TEST_CHILD_ROLE", "keychain", 1);
    std::string filter = "--gtest_filter=" + testName;
    execlp("dbus-run-session", "dbus-run-session", "--", testing::testBinaryPath().c_str(),
           filter.c_str(), "--gtest_also_run_disabled_tests", static_cast<char*>(nullptr));
    _exit(127);
  }
  return pid < 0 ? -1 : waitForChild(pid, 120);
}

bool secretServiceOnBus() {
  GDBusConnection* bus = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
  if (!bus) return false;
  GVariant* reply = g_dbus_connection_call_sync(
      bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "NameHasOwner",
      g_variant_new("(s)", "org.freedesktop.secrets"), G_VARIANT_TYPE("(b)"),
      G_DBUS_CALL_FLAGS_NONE, 2000, nullptr, nullptr);
  gboolean owned = FALSE;
  if (reply) {
    g_variant_get(reply, "(b)", &owned);
    g_variant_unref(reply);
  }
  g_object_unref(bus);
  return owned;
}

// A gnome-keyring-daemon with a fresh, unlocked login keyring in a temporary home.
class KeyringDaemon {
 public:
  KeyringDaemon() {
    int input[2];
    if (pipe(input) != 0) return;
    pid_ = fork();
    if (pid_ == 0) {
      dup2(input[0], STDIN_FILENO);
      close(input[0]);
      close(input[1]);
      std::string runtime = home_.file("run");
      mkdir(runtime.c_str(), 0700);
      setenv("HOME", home_.path().c_str(), 1);
      setenv("XDG_DATA_HOME", home_.file("data").c_str(), 1);
      setenv("XDG_CONFIG_HOME", home_.file("config").c_str(), 1);
      setenv("XDG_CACHE_HOME", home_.file("cache").c_str(), 1);
      setenv("XDG_RUNTIME_DIR", runtime.c_str(), 1);
      execlp("gnome-keyring-daemon", "gnome-keyring-daemon", "--foreground", "--unlock",
             "--components=secrets", static_cast<char*>(nullptr));
      _exit(127);
    }
    close(input[0]);
    const char password[] = "norvik-test-password";
    ssize_t written = write(input[1], password, sizeof password - 1);
    close(input[1]);
    if (pid_ < 0 || written < 0) return;
    for (int i = 0; i < 250 && !ready_; ++i) {
      ready_ = secretServiceOnBus();
      if (!ready_) std::this_thread::sleep_for(std::chrono::milliseconds(40));
    }
  }
  ~KeyringDaemon() {
    if (pid_ > 0) {
      kill(pid_, SIGTERM);
      if (waitForChild(pid_, 10) == -1) kill(pid_, SIGKILL);
    }
  }
  bool ready() const { return ready_; }

 private:
  TempDir home_;
  pid_t pid_ = -1;
  bool ready_ = false;
};

TEST(KeychainTest, SecretsLiveInARealSecretService) {
  EXPECT_EQ(runOnPrivateBus("DISABLED_KeychainChild.RoundTrip"), 0);
}

TEST(KeychainTest, WithoutASecretServiceOperationsFailCleanly) {
  TempDir temp;
  EXPECT_EQ(testing::runChildTest("DISABLED_KeychainChild.Unreachable",
                                  {{"NORVIK_TEST_CHILD_ROLE", "unreachable"},
                                   {"DBUS_SESSION_BUS_ADDRESS", "unix:path=" + temp.file("none")}}),
            0);
}

TEST(KeychainTest, BatchResultNames) {
  EXPECT_EQ(NVKeychain::shared().syncedKeychain().service(), "app.norvik.task.sync");
  EXPECT_TRUE(NVKeychain::shared().syncedKeychain().synchronizable());
  EXPECT_EQ(kNVKeyForError, "id2error");
  EXPECT_EQ(kNVKeyForEtag, "id2etag");
  EXPECT_EQ(kNVError_NOT_EXISTED, "NOT_EXISTED");
}

TEST(DISABLED_KeychainChild, RoundTrip) {
  ASSERT_FALSE(childRole().empty());
  KeyringDaemon daemon;
  ASSERT_TRUE(daemon.ready()) << "gnome-keyring-daemon did not come up on the session bus";
  const KeychainStore& synced = NVKeychain::shared().syncedKeychain();

  EXPECT_EQ(synced.getString("token"), std::nullopt);
  ASSERT_TRUE(synced.setString("first", "token"));
  ASSERT_TRUE(synced.setString("sécond", "token"));
  EXPECT_EQ(synced.getString("token"), "sécond");

  // The synchronizable flag is part of an item's identity.
  KeychainStore local(synced.service(), false);
  EXPECT_EQ(local.getString("token"), std::nullopt);
  ASSERT_TRUE(local.setString("local", "token"));
  EXPECT_EQ(synced.getString("token"), "sécond");
  KeychainStore otherService("other.service", true);
  EXPECT_EQ(otherService.getString("token"), std::nullopt);

  platform::Data bytes{0, 1, 0xff, 0xfe, 0};
  ASSERT_TRUE(synced.setData(bytes, "blob"));
  EXPECT_EQ(synced.getData("blob"), bytes);
  EXPECT_EQ(synced.getString("blob"), std::nullopt) << "not UTF-8 text";
  EXPECT_EQ(synced.getData("token"), (platform::Data{'s', 0xc3, 0xa9, 'c', 'o', 'n', 'd'}));

  EXPECT_TRUE(synced.remove("token"));
  EXPECT_EQ(synced.getString("token"), std::nullopt);
  EXPECT_EQ(local.getString("token"), "local");
  EXPECT_TRUE(synced.remove("never stored"));
  EXPECT_FALSE(synced.setString("x", ""));
}

TEST(DISABLED_KeychainChild, Unreachable) {
  ASSERT_FALSE(childRole().empty());
  const KeychainStore& synced = NVKeychain::shared().syncedKeychain();
  EXPECT_FALSE(synced.setString("secret", "token"));
  EXPECT_EQ(synced.getString("token"), std::nullopt);
  EXPECT_EQ(synced.getData("token"), std::nullopt);
  EXPECT_FALSE(synced.remove("token"));
}

}  // namespace
}  // namespace norvik
