#pragma once
// NVIdleRunner: runs a piece of work once, at the first moment after execute() when the main loop
// of the calling thread has nothing else to do (platform/idle_hook.h says what that moment is).
//
// A runner belongs to the thread that calls execute(): execute(), stop() and isExecuting() are
// called on that thread only (normally the main thread), and the work runs there. It is not
// synchronised.

#include <functional>
#include <memory>

namespace norvik::platform {
class IdleHook;
}

namespace norvik {

class NVIdleRunner : public std::enable_shared_from_this<NVIdleRunner> {
 public:
  // A runner for `block`, not yet attached. Runners live in shared pointers: while attached, a
  // runner keeps itself alive, so a caller may execute() it and let go of it.
  static std::shared_ptr<NVIdleRunner> create(std::function<void()> block);
  ~NVIdleRunner();
  NVIdleRunner(const NVIdleRunner&) = delete;
  NVIdleRunner& operator=(const NVIdleRunner&) = delete;

  // Attaches the runner to the calling thread's main loop. Does nothing once the work has run or
  // after stop().
  void execute();
  // Detaches a runner that is executing; its work then never runs, and execute() does nothing
  // from then on. Does nothing for a runner that is not executing.
  void stop();
  // True from execute() until the work has run or stop() was called.
  bool isExecuting() const { return isExecuting_; }

 private:
  explicit NVIdleRunner(std::function<void()> block);
  void idle();

  std::function<void()> block_;
  // The attachment to the loop: present from creation until the work ran or the runner stopped.
  std::unique_ptr<platform::IdleHook> observer_;
  bool isExecuting_ = false;
  std::shared_ptr<NVIdleRunner> self_;  // set while attached
};

}  // namespace norvik
