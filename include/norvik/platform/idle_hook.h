#pragma once
// Work that runs when a thread's main loop becomes idle. The main loop of a thread is the GLib
// main context that the thread iterates: its thread-default context, else the process's global
// default context (the one the main thread's loop runs).
//
// "Idle" means that the loop has nothing else to dispatch: no source of any priority is ready,
// idle sources of the program included, so the loop would otherwise go to sleep. The hook runs at
// the first such moment after attach(), once, and detaches itself before it calls the work. Every
// hook that is attached to the same loop when an idle moment comes runs at that moment, in the
// order of the attach() calls.
//
// An IdleHook may be attached, detached and destroyed from any thread. Its work runs on the thread
// that iterates the loop, and only while that thread iterates it: a thread that never runs its
// loop never runs its hooks.

#include <functional>
#include <memory>

namespace norvik::platform {

class IdleHook {
 public:
  // A detached hook for `work` (an empty function makes a hook that runs nothing).
  explicit IdleHook(std::function<void()> work);
  // Detaches: the work does not start after the destructor returns.
  ~IdleHook();
  IdleHook(const IdleHook&) = delete;
  IdleHook& operator=(const IdleHook&) = delete;

  // Attaches to the main loop of the calling thread. Returns false (and changes nothing) when the
  // hook is already attached. A hook that has run may be attached again and runs again.
  bool attach();
  // Detaches; the work does not start after this returns (a call already running goes on).
  // Returns false when the hook was not attached.
  bool detach();
  // True from attach() until the work starts or detach() is called.
  bool isAttached() const;

 private:
  struct State;
  std::shared_ptr<State> state_;
};

}  // namespace norvik::platform
