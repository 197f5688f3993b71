#include "norvik/platform/notification_center.h"

#include <cxxabi.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace norvik::platform {
namespace {

// Tokens are numbered across all centres so that a token never names a registration of another one.
std::atomic<std::uint64_t> nextTokenId{1};

struct Registration {
  std::uint64_t id = 0;
  const void* observer = nullptr;
  std::string name;  // empty: every name
  const void* sender = nullptr;
  NotificationCallback callback;  // never changed after registration, so read without the lock
  // The two fields below are guarded by State::mutex.
  bool removed = false;
  std::vector<std::thread::id> running;  // one element per call in progress, nested calls repeat
};

using RegistrationPtr = std::shared_ptr<Registration>;

struct StringHash {
  using is_transparent = void;
  std::size_t operator()(std::string_view s) const noexcept {
    return std::hash<std::string_view>{}(s);
  }
};

void eraseFrom(std::vector<RegistrationPtr>& list, const Registration* registration) {
  auto it = std::find_if(list.begin(), list.end(),
                         [&](const RegistrationPtr& r) { return r.get() == registration; });
  if (it != list.end()) list.erase(it);
}

}  // namespace

// All members are guarded by `mutex`. Callbacks run without it held.
struct NotificationCenter::State {
  std::mutex mutex;
  std::condition_variable callFinished;
  // Registrations by name and for every name, each list in registration (= id) order.
  std::unordered_map<std::string, std::vector<RegistrationPtr>, StringHash, std::equal_to<>> byName;
  std::vector<RegistrationPtr> anyName;
  std::unordered_map<std::uint64_t, RegistrationPtr> byId;
  // Threads blocked in a removal, with the registrations whose calls on other threads they wait
  // for. Used to find waits that would go round in a circle.
  std::unordered_map<std::thread::id, std::vector<const Registration*>> waiting;
  std::size_t waiterCount = 0;

  ObserverToken add(const void* observer, std::string_view name, const void* sender,
                    NotificationCallback callback);
  std::vector<RegistrationPtr> matching(std::string_view name, const void* object);
  void deliver(const std::vector<RegistrationPtr>& registrations, const Notification& n);
  void unlink(Registration& registration);
  void waitForOtherCalls(std::unique_lock<std::mutex>& lock,
                         const std::vector<RegistrationPtr>& removed);
  bool reaches(std::thread::id from, std::thread::id target) const;
};

ObserverToken NotificationCenter::State::add(const void* observer, std::string_view name,
                                             const void* sender, NotificationCallback callback) {
  auto registration = std::make_shared<Registration>();
  registration->observer = observer;
  registration->name = std::string(name);
  registration->sender = sender;
  registration->callback = std::move(callback);

  std::lock_guard lock(mutex);
  // The id is drawn under the lock so that ids grow in the order registrations enter this centre.
  registration->id = nextTokenId.fetch_add(1, std::memory_order_relaxed);
  if (name.empty()) {
    anyName.push_back(registration);
  } else {
    auto it = byName.find(name);
    if (it == byName.end())
      it = byName.emplace(std::string(name), std::vector<RegistrationPtr>{}).first;
    it->second.push_back(registration);
  }
  byId.emplace(registration->id, registration);
  return ObserverToken{registration->id};
}

std::vector<RegistrationPtr> NotificationCenter::State::matching(std::string_view name,
                                                                 const void* object) {
  std::vector<RegistrationPtr> result;
  auto senderMatches = [object](const RegistrationPtr& r) {
    return r->sender == nullptr || r->sender == object;
  };
  std::lock_guard lock(mutex);
  const std::vector<RegistrationPtr>* named = nullptr;
  if (auto it = byName.find(name); it != byName.end()) named = &it->second;
  result.reserve((named ? named->size() : 0) + anyName.size());
  // Merge the two lists by id, which keeps the overall registration order.
  auto a = anyName.begin();
  if (named) {
    for (const RegistrationPtr& r : *named) {
      for (; a != anyName.end() && (*a)->id < r->id; ++a) {
        if (senderMatches(*a)) result.push_back(*a);
      }
      if (senderMatches(r)) result.push_back(r);
    }
  }
  for (; a != anyName.end(); ++a) {
    if (senderMatches(*a)) result.push_back(*a);
  }
  return result;
}

void NotificationCenter::State::deliver(const std::vector<RegistrationPtr>& registrations,
                                        const Notification& n) {
  const auto self = std::this_thread::get_id();
  for (const RegistrationPtr& r : registrations) {
    {
      std::lock_guard lock(mutex);
      if (r->removed) continue;
      r->running.push_back(self);
    }
    struct CallEnd {
      State& state;
      Registration& registration;
      std::thread::id self;
      ~CallEnd() {
        std::lock_guard lock(state.mutex);
        auto& running = registration.running;
        running.erase(std::find(running.begin(), running.end(), self));
        if (state.waiterCount > 0) state.callFinished.notify_all();
      }
    } end{*this, *r, self};
    try {
      r->callback(n);
    } catch (abi::__forced_unwind&) {
      throw;  // thread cancellation must unwind
    } catch (...) {
      // One observer's failure does not keep the notification from the others.
    }
  }
}

void NotificationCenter::State::unlink(Registration& registration) {
  registration.removed = true;
  if (registration.name.empty()) {
    eraseFrom(anyName, &registration);
  } else if (auto it = byName.find(registration.name); it != byName.end()) {
    eraseFrom(it->second, &registration);
    if (it->second.empty()) byName.erase(it);
  }
  byId.erase(registration.id);
}

// Whether `from` waits, directly or through other waiting threads, for a call running on `target`.
bool NotificationCenter::State::reaches(std::thread::id from, std::thread::id target) const {
  std::vector<std::thread::id> stack{from};
  std::unordered_set<std::thread::id> seen{from};
  while (!stack.empty()) {
    std::thread::id t = stack.back();
    stack.pop_back();
    if (t == target) return true;
    auto it = waiting.find(t);
    if (it == waiting.end()) continue;
    for (const Registration* r : it->second) {
      for (std::thread::id next : r->running) {
        if (next != t && seen.insert(next).second) stack.push_back(next);
      }
    }
  }
  return false;
}

void NotificationCenter::State::waitForOtherCalls(std::unique_lock<std::mutex>& lock,
                                                  const std::vector<RegistrationPtr>& removed) {
  const auto self = std::this_thread::get_id();
  auto runsElsewhere = [self](const Registration* r) {
    return std::any_of(r->running.begin(), r->running.end(),
                       [self](std::thread::id t) { return t != self; });
  };
  // Waiting for a thread that (through others) waits for this one would never end: give up on
  // such a call instead. The thread whose wait would close the circle is the one that sees it.
  auto closesCircle = [&](const Registration* r) {
    return std::any_of(r->running.begin(), r->running.end(),
                       [&](std::thread::id t) { return t != self && reaches(t, self); });
  };

  std::vector<const Registration*> pending;
  for (const RegistrationPtr& r : removed) {
    if (runsElsewhere(r.get())) pending.push_back(r.get());
  }
  if (pending.empty()) return;

  std::vector<const Registration*>& mine = waiting[self];
  struct Leave {
    State& state;
    std::thread::id self;
    ~Leave() { state.waiting.erase(self); }
  } leave{*this, self};
  for (;;) {
    std::erase_if(pending,
                  [&](const Registration* r) { return !runsElsewhere(r) || closesCircle(r); });
    mine = pending;
    if (pending.empty()) break;
    ++waiterCount;
    callFinished.wait(lock);
    --waiterCount;
  }
}

NotificationCenter::NotificationCenter() : state_(std::make_unique<State>()) {}

NotificationCenter::~NotificationCenter() = default;

NotificationCenter& NotificationCenter::defaultCenter() {
  // Deliberately never destroyed: see the header.
  static NotificationCenter* const center = new NotificationCenter();
  return *center;
}

ObserverToken NotificationCenter::addObserver(std::string_view name, const void* sender,
                                              NotificationCallback callback) {
  return addObserver(nullptr, name, sender, std::move(callback));
}

ObserverToken NotificationCenter::addObserver(const void* observer, std::string_view name,
                                              const void* sender, NotificationCallback callback) {
  if (!callback) return {};
  try {
    return state_->add(observer, name, sender, std::move(callback));
  } catch (...) {
    return {};
  }
}

bool NotificationCenter::removeObserver(ObserverToken token) {
  if (!token) return false;
  try {
    std::unique_lock lock(state_->mutex);
    auto it = state_->byId.find(token.id);
    if (it == state_->byId.end()) return false;
    std::vector<RegistrationPtr> removed{it->second};
    state_->unlink(*removed.front());
    state_->waitForOtherCalls(lock, removed);
    return true;
  } catch (...) {
    return false;
  }
}

std::size_t NotificationCenter::removeObserver(const void* observer, std::string_view name,
                                               const void* sender) {
  if (observer == nullptr) return 0;
  try {
    std::unique_lock lock(state_->mutex);
    std::vector<RegistrationPtr> removed;
    auto owned = [&](const RegistrationPtr& r) {
      return r->observer == observer && (sender == nullptr || r->sender == sender);
    };
    if (name.empty()) {
      for (const auto& [id, r] : state_->byId) {
        if (owned(r)) removed.push_back(r);
      }
    } else if (auto it = state_->byName.find(name); it != state_->byName.end()) {
      std::copy_if(it->second.begin(), it->second.end(), std::back_inserter(removed), owned);
    }
    for (const RegistrationPtr& r : removed) state_->unlink(*r);
    state_->waitForOtherCalls(lock, removed);
    return removed.size();
  } catch (...) {
    return 0;
  }
}

void NotificationCenter::post(std::string_view name, const void* object,
                              std::optional<Dictionary> userInfo) {
  if (name.empty()) return;
  std::optional<Notification> notification;
  try {
    notification.emplace(Notification{std::string(name), object, std::move(userInfo)});
  } catch (...) {
    return;
  }
  post(*notification);
}

void NotificationCenter::post(const Notification& notification) {
  if (notification.name.empty()) return;
  std::vector<RegistrationPtr> targets;
  try {
    targets = state_->matching(notification.name, notification.object);
  } catch (...) {
    return;
  }
  state_->deliver(targets, notification);
}

std::size_t NotificationCenter::observerCount() const {
  std::lock_guard lock(state_->mutex);
  return state_->byId.size();
}

ScopedObserver::ScopedObserver(ScopedObserver&& other) noexcept
    : center_(std::exchange(other.center_, nullptr)), token_(std::exchange(other.token_, {})) {}

ScopedObserver& ScopedObserver::operator=(ScopedObserver&& other) noexcept {
  if (this != &other) {
    reset();
    center_ = std::exchange(other.center_, nullptr);
    token_ = std::exchange(other.token_, {});
  }
  return *this;
}

ScopedObserver::~ScopedObserver() {
  reset();
}

void ScopedObserver::reset() {
  if (center_ != nullptr && token_) center_->removeObserver(token_);
  center_ = nullptr;
  token_ = {};
}

ObserverToken ScopedObserver::release() noexcept {
  center_ = nullptr;
  return std::exchange(token_, {});
}

}  // namespace norvik::platform
