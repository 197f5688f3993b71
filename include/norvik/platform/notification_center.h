#pragma once
// In-process broadcast notifications. A poster names a notification, optionally says who sent it
// and attaches a user-information dictionary; every observer registered for that name (or for all
// names) and that sender (or for any sender) is called synchronously on the posting thread, in the
// order in which the observers were registered.
//
// Threads: observers may be added, removed and notifications posted from any thread at any time,
// also from inside an observer's callback.
// - An observer added during a post is not called for that post.
// - An observer removed before its turn in a post that is under way is not called by that post.
// - When a removal returns, the removed callback will not be started again on any thread, and it is
//   not running on any other thread: removal waits for calls in progress elsewhere. Calls on the
//   removing thread itself (removal from inside the callback, or from something it called) are not
//   waited for; they run to their end. The one exception that keeps removal free of deadlock: when
//   two threads each remove, from inside a callback, an observer whose callback the other thread is
//   running (directly or through a longer chain of such waits), the removal that would close the
//   circle does not wait for that call.
// A callback must not wait for another thread that is itself removing that callback's observer.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "norvik/platform/value.h"

namespace norvik::platform {

struct Notification {
  std::string name;
  // Identity of the sender, compared by address and never dereferenced; null for none.
  const void* object = nullptr;
  std::optional<Dictionary> userInfo;
};

using NotificationCallback = std::function<void(const Notification&)>;

// Handle of one registration. A default-constructed token names no registration. Tokens are unique
// across all centres of the process, so a token given to another centre removes nothing.
struct ObserverToken {
  std::uint64_t id = 0;
  explicit operator bool() const noexcept { return id != 0; }
  friend bool operator==(ObserverToken, ObserverToken) = default;
};

class NotificationCenter {
 public:
  NotificationCenter();
  ~NotificationCenter();  // a centre must outlive every post and removal made on it
  NotificationCenter(const NotificationCenter&) = delete;
  NotificationCenter& operator=(const NotificationCenter&) = delete;

  // The process's centre. It lives until the process ends and is never destroyed, so threads still
  // posting while the process exits do not touch a dead object.
  static NotificationCenter& defaultCenter();

  // Registers `callback` for notifications named `name` (an empty name: every name) sent by
  // `sender` (null: any sender). Returns the registration's token; an empty callback registers
  // nothing and gives the empty token.
  ObserverToken addObserver(std::string_view name, const void* sender,
                            NotificationCallback callback);
  // The same, recording `observer` as the owner of the registration so that
  // removeObserver(observer, name) can find it later. A null observer is the same as none.
  ObserverToken addObserver(const void* observer, std::string_view name, const void* sender,
                            NotificationCallback callback);

  // Removes the registration of `token`. Returns false when it was already removed, is empty or
  // belongs to another centre. Waits as the header comment says.
  bool removeObserver(ObserverToken token);
  // Removes every registration owned by `observer` for `name` (empty: every name) and `sender`
  // (null: any sender). A null observer removes nothing. Returns how many were removed.
  std::size_t removeObserver(const void* observer, std::string_view name = {},
                             const void* sender = nullptr);

  // Delivers a notification to the matching observers on the calling thread and returns when all
  // have been called. A notification with an empty name is not delivered. An exception thrown by a
  // callback is caught and dropped; delivery goes on with the next observer.
  void post(std::string_view name, const void* object = nullptr,
            std::optional<Dictionary> userInfo = std::nullopt);
  void post(const Notification& notification);

  // Number of registrations currently in the centre.
  std::size_t observerCount() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

// Removes its registration when destroyed. Move-only.
class ScopedObserver {
 public:
  ScopedObserver() = default;
  ScopedObserver(NotificationCenter& center, ObserverToken token) noexcept
      : center_(&center), token_(token) {}
  ScopedObserver(ScopedObserver&& other) noexcept;
  ScopedObserver& operator=(ScopedObserver&& other) noexcept;
  ScopedObserver(const ScopedObserver&) = delete;
  ScopedObserver& operator=(const ScopedObserver&) = delete;
  ~ScopedObserver();

  ObserverToken token() const noexcept { return token_; }
  // Removes the registration now; later calls do nothing.
  void reset();
  // Gives up ownership without removing; returns the token.
  ObserverToken release() noexcept;

 private:
  NotificationCenter* center_ = nullptr;
  ObserverToken token_;
};

}  // namespace norvik::platform
