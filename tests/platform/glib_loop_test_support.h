#pragma once
// A GLib main loop of the test's own: a fresh context made the thread-default one for the test's
// lifetime, so hooks attached by the code under test land on it and on nothing else.

#include <glib.h>

#include <functional>
#include <memory>

#include "norvik/platform/idle_hook.h"

namespace norvik::testing {

class ThreadLoop {
 public:
  ThreadLoop() : context_(g_main_context_new()) { g_main_context_push_thread_default(context_); }
  ~ThreadLoop() {
    g_main_context_pop_thread_default(context_);
    g_main_context_unref(context_);
  }
  ThreadLoop(const ThreadLoop&) = delete;
  ThreadLoop& operator=(const ThreadLoop&) = delete;

  GMainContext* context() const { return context_; }

  // Adds an idle source of the default idle priority that runs `step` until it returns false.
  void addIdle(std::function<bool()> step) {
    GSource* source = g_idle_source_new();
    auto* data = new std::function<bool()>(std::move(step));
    g_source_set_callback(
        source,
        [](gpointer p) -> gboolean {
          return (*static_cast<std::function<bool()>*>(p))() ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
        },
        data, [](gpointer p) { delete static_cast<std::function<bool()>*>(p); });
    g_source_attach(source, context_);
    g_source_unref(source);
  }

  // Runs the loop until its next idle moment has come: a hook attached now runs after every hook
  // attached before it, and quits the loop. A safety timeout ends a loop that never gets idle.
  void runUntilIdle() {
    GMainLoop* loop = g_main_loop_new(context_, FALSE);
    platform::IdleHook quit([loop] { g_main_loop_quit(loop); });
    quit.attach();
    GSource* timeout = g_timeout_source_new_seconds(10);
    g_source_set_callback(
        timeout,
        [](gpointer l) -> gboolean {
          g_main_loop_quit(static_cast<GMainLoop*>(l));
          return G_SOURCE_REMOVE;
        },
        loop, nullptr);
    g_source_attach(timeout, context_);
    g_main_loop_run(loop);
    g_source_destroy(timeout);
    g_source_unref(timeout);
    g_main_loop_unref(loop);
  }

 private:
  GMainContext* context_;
};

}  // namespace norvik::testing
