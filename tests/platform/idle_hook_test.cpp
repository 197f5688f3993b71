#include "norvik/platform/idle_hook.h"

#include <glib.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/glib_loop_test_support.h"

namespace norvik::platform {
namespace {

using testing::ThreadLoop;

TEST(IdleHook, RunsOnceWhenTheLoopHasNothingElseToDo) {
  ThreadLoop loop;
  std::vector<std::string> log;
  IdleHook hook([&] { log.push_back("idle"); });
  EXPECT_TRUE(hook.attach());
  EXPECT_FALSE(hook.attach());
  // Pending work of the program, even idle work, comes first.
  int busy = 3;
  loop.addIdle([&] {
    log.push_back("busy");
    return --busy > 0;
  });
  loop.runUntilIdle();
  loop.runUntilIdle();
  EXPECT_EQ(log, (std::vector<std::string>{"busy", "busy", "busy", "idle"}));
  EXPECT_FALSE(hook.isAttached());

  // Attached again, it runs again at the next idle moment.
  EXPECT_TRUE(hook.attach());
  loop.runUntilIdle();
  EXPECT_EQ(log.size(), 5u);
}

TEST(IdleHook, HooksOfOneIdleMomentRunInAttachOrderExceptDetachedOrDestroyedOnes) {
  ThreadLoop loop;
  std::vector<int> order;
  std::vector<std::unique_ptr<IdleHook>> hooks;
  for (int i = 0; i < 4; ++i) {
    hooks.push_back(std::make_unique<IdleHook>([&, i] {
      order.push_back(i);
      hooks[static_cast<std::size_t>(i)].reset();
    }));
  }
  for (auto& hook : hooks) hook->attach();
  hooks[2]->detach();
  IdleHook late([&] { order.push_back(99); });
  late.attach();
  {
    IdleHook gone([&] { order.push_back(100); });
    gone.attach();
  }
  loop.runUntilIdle();
  EXPECT_EQ(order, (std::vector<int>{0, 1, 3, 99}));
}

}  // namespace
}  // namespace norvik::platform
