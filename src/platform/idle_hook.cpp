#include "norvik/platform/idle_hook.h"

#include <glib.h>

#include <climits>
#include <mutex>

namespace norvik::platform {

// The hook's source runs at the lowest priority a GLib source can have: the loop dispatches only
// the highest priority among ready sources, so this one is dispatched only in an iteration where
// nothing else is ready, which is the moment the loop would otherwise wait.
namespace {
constexpr int kIdlePriority = INT_MAX;
}  // namespace

struct IdleHook::State {
  std::function<void()> work;
  // Guards `source`. The source itself is attached to one context and is thread-safe to destroy.
  std::mutex mutex;
  GSource* source = nullptr;  // ours (one reference) while attached

  // Takes the source out of the state; the caller destroys and releases it outside the lock.
  GSource* takeSource() {
    std::lock_guard lock(mutex);
    GSource* source_ = source;
    source = nullptr;
    return source_;
  }

  static gboolean fire(gpointer data) {
    // A copy, so that the state outlives the work even if the work destroys the hook.
    std::shared_ptr<State> state = *static_cast<std::shared_ptr<State>*>(data);
    GSource* current = g_main_current_source();
    {
      std::lock_guard lock(state->mutex);
      if (state->source != current) return G_SOURCE_REMOVE;  // detached meanwhile
      state->source = nullptr;
    }
    g_source_unref(current);  // the reference kept while attached; GLib holds its own here
    if (state->work) {
      try {
        state->work();
      } catch (...) {
        // An exception must not unwind through the loop's C frames; the work is over either way.
      }
    }
    return G_SOURCE_REMOVE;
  }

  static void release(gpointer data) { delete static_cast<std::shared_ptr<State>*>(data); }
};

IdleHook::IdleHook(std::function<void()> work) : state_(std::make_shared<State>()) {
  state_->work = std::move(work);
}

IdleHook::~IdleHook() {
  detach();
}

bool IdleHook::attach() {
  std::lock_guard lock(state_->mutex);
  if (state_->source) return false;
  GSource* source = g_idle_source_new();
  g_source_set_priority(source, kIdlePriority);
  g_source_set_name(source, "norvik idle hook");
  g_source_set_callback(source, &State::fire, new std::shared_ptr<State>(state_), &State::release);
  GMainContext* context = g_main_context_ref_thread_default();
  g_source_attach(source, context);
  g_main_context_unref(context);
  state_->source = source;
  return true;
}

bool IdleHook::detach() {
  GSource* source = state_->takeSource();
  if (!source) return false;
  g_source_destroy(source);
  g_source_unref(source);
  return true;
}

bool IdleHook::isAttached() const {
  std::lock_guard lock(state_->mutex);
  return state_->source != nullptr;
}

}  // namespace norvik::platform
