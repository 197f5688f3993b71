#include "norvik/platform/message_channel.h"

#include <fcntl.h>
#include <gio/gio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <map>
#include <mutex>
#include <random>

#include "norvik/platform/environment.h"
#include "norvik/platform/property_list.h"

namespace fs = std::filesystem;

namespace norvik::detail {
namespace {

constexpr std::string_view kMessageSuffix = ".message";
constexpr std::string_view kMessageKey = "message";
constexpr std::string_view kNonceKey = "nonce";

bool isPlainName(std::string_view name, std::size_t maxLength) {
  if (name.empty() || name.size() > maxLength || name.front() == '.') return false;
  return std::all_of(name.begin(), name.end(), [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '.' ||
           c == '-' || c == '_';
  });
}

std::int64_t randomNonce() {
  static thread_local std::mt19937_64 engine{std::random_device{}()};
  return static_cast<std::int64_t>(engine() >> 1);
}

bool ensurePrivateDirectory(const std::string& path) {
  std::error_code ec;
  if (fs::is_directory(path, ec)) return true;
  fs::create_directories(path, ec);
  if (!fs::is_directory(path, ec)) return false;
  ::chmod(path.c_str(), 0700);
  return true;
}

bool writeAll(int fd, const std::uint8_t* bytes, std::size_t size) {
  while (size > 0) {
    const ssize_t n = ::write(fd, bytes, size);
    if (n < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    bytes += n;
    size -= static_cast<std::size_t>(n);
  }
  return true;
}

}  // namespace
}  // namespace norvik::detail

namespace norvik::platform {

// Listeners and the last nonce heard per identifier are guarded by `mutex`; the monitor is made
// and fed on the default main context, and its callback holds only a weak reference to the Impl.
struct MessageChannel::Impl : std::enable_shared_from_this<MessageChannel::Impl> {
  std::string directory;
  mutable std::mutex mutex;
  std::map<std::string, std::shared_ptr<const Listener>, std::less<>> listeners;
  std::map<std::string, std::int64_t, std::less<>> lastNonce;
  GFileMonitor* monitor = nullptr;
  gulong handler = 0;
  bool monitorRequested = false;

  std::string pathFor(std::string_view identifier) const {
    return directory + "/" + std::string(identifier) + std::string(detail::kMessageSuffix);
  }

  std::optional<Value> readEnvelope(std::string_view identifier) const {
    auto decoded = readPropertyListFile(pathFor(identifier));
    if (!decoded || !decoded->isDictionary()) return std::nullopt;
    return decoded;
  }

  void fileAppeared(const std::string& fileName) {
    if (fileName.size() <= detail::kMessageSuffix.size() ||
        !fileName.ends_with(detail::kMessageSuffix)) {
      return;
    }
    const std::string identifier =
        fileName.substr(0, fileName.size() - detail::kMessageSuffix.size());
    if (!MessageChannel::isValidIdentifier(identifier)) return;
    auto envelope = readEnvelope(identifier);
    if (!envelope) return;
    const auto nonce = (*envelope)[detail::kNonceKey].int64Value().value_or(0);
    std::shared_ptr<const Listener> listener;
    {
      std::lock_guard lock(mutex);
      auto found = listeners.find(identifier);
      if (found == listeners.end()) return;
      // One write can be reported twice (created, then changes done); the nonce tells them apart.
      auto [last, inserted] = lastNonce.try_emplace(identifier, nonce);
      if (!inserted) {
        if (last->second == nonce) return;
        last->second = nonce;
      }
      listener = found->second;
    }
    const Value& message = (*envelope)[detail::kMessageKey];
    try {
      (*listener)(message);
    } catch (...) {
      // A listener's failure must not reach the main loop.
    }
  }

  static void onChange(GFileMonitor*, GFile* file, GFile* otherFile, GFileMonitorEvent event,
                       gpointer data) {
    GFile* target = nullptr;
    switch (event) {
      case G_FILE_MONITOR_EVENT_CREATED:
      case G_FILE_MONITOR_EVENT_CHANGES_DONE_HINT:
      case G_FILE_MONITOR_EVENT_MOVED_IN:
        target = file;
        break;
      case G_FILE_MONITOR_EVENT_RENAMED:
        target = otherFile;
        break;
      default:
        return;
    }
    if (!target) return;
    auto self = static_cast<std::weak_ptr<Impl>*>(data)->lock();
    if (!self) return;
    char* name = g_file_get_basename(target);
    if (!name) return;
    std::string fileName(name);
    g_free(name);
    self->fileAppeared(fileName);
  }

  static void freeWeak(gpointer data, GClosure*) { delete static_cast<std::weak_ptr<Impl>*>(data); }

  // Runs on the default main context.
  static gboolean startMonitor(gpointer data) {
    auto self = static_cast<std::weak_ptr<Impl>*>(data)->lock();
    if (!self) return G_SOURCE_REMOVE;
    GFile* dir = g_file_new_for_path(self->directory.c_str());
    GFileMonitor* monitor =
        g_file_monitor_directory(dir, G_FILE_MONITOR_WATCH_MOVES, nullptr, nullptr);
    g_object_unref(dir);
    if (!monitor) return G_SOURCE_REMOVE;
    const gulong handler =
        g_signal_connect_data(monitor, "changed", G_CALLBACK(&Impl::onChange),
                              new std::weak_ptr<Impl>(self), &Impl::freeWeak, GConnectFlags{});
    std::lock_guard lock(self->mutex);
    self->monitor = monitor;
    self->handler = handler;
    return G_SOURCE_REMOVE;
  }

  static void freeInvokeData(gpointer data) { delete static_cast<std::weak_ptr<Impl>*>(data); }

  void requestMonitor() {
    {
      std::lock_guard lock(mutex);
      if (monitorRequested) return;
      monitorRequested = true;
    }
    // Runs at once when this thread may own the default context, else from that context's loop.
    g_main_context_invoke_full(nullptr, G_PRIORITY_DEFAULT, &Impl::startMonitor,
                               new std::weak_ptr<Impl>(weak_from_this()), &Impl::freeInvokeData);
  }

  ~Impl() {
    if (monitor) {
      g_file_monitor_cancel(monitor);
      g_signal_handler_disconnect(monitor, handler);
      g_object_unref(monitor);
    }
  }
};

bool isAppGroupEnabled(std::string_view applicationGroupIdentifier) {
  if (applicationGroupIdentifier != kNVAppGroupIdentifier) return false;
  const std::string container = currentEnvironment()->appGroupContainerDirectory;
  return !container.empty() && detail::ensurePrivateDirectory(container);
}

std::shared_ptr<MessageChannel> MessageChannel::open(std::string_view applicationGroupIdentifier,
                                                     std::string_view directory) {
  try {
    if (!detail::isPlainName(directory, 200) || !isAppGroupEnabled(applicationGroupIdentifier)) {
      return nullptr;
    }
    auto impl = std::make_shared<Impl>();
    impl->directory =
        currentEnvironment()->appGroupContainerDirectory + "/" + std::string(directory);
    if (!detail::ensurePrivateDirectory(impl->directory)) return nullptr;
    return std::make_shared<MessageChannel>(std::move(impl));
  } catch (const std::exception&) {
    return nullptr;
  }
}

MessageChannel::MessageChannel(std::shared_ptr<Impl> impl) : impl_(std::move(impl)) {}

MessageChannel::~MessageChannel() = default;

const std::string& MessageChannel::directoryPath() const {
  return impl_->directory;
}

bool MessageChannel::isValidIdentifier(std::string_view identifier) {
  return detail::isPlainName(identifier, 200);
}

bool MessageChannel::passMessage(std::string_view identifier, const Value& message) {
  if (!isValidIdentifier(identifier)) return false;
  try {
    Dictionary envelope;
    if (!message.isNull()) envelope.emplace(detail::kMessageKey, message);
    envelope.emplace(detail::kNonceKey, Value(detail::randomNonce()));
    const Data bytes = encodePropertyList(Value(std::move(envelope)), PropertyListFormat::Binary);
    const std::string target = impl_->pathFor(identifier);
    const std::string temporary = impl_->directory + "/." + std::string(identifier) + "." +
                                  std::to_string(::getpid()) + "." +
                                  std::to_string(detail::randomNonce()) + ".tmp";
    const int fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (fd < 0) return false;
    const bool written = detail::writeAll(fd, bytes.data(), bytes.size());
    const bool closed = ::close(fd) == 0;
    if (!written || !closed || ::rename(temporary.c_str(), target.c_str()) != 0) {
      ::unlink(temporary.c_str());
      return false;
    }
    return true;
  } catch (const std::exception&) {
    return false;
  }
}

std::optional<Value> MessageChannel::messageWithIdentifier(std::string_view identifier) const {
  if (!isValidIdentifier(identifier)) return std::nullopt;
  try {
    auto envelope = impl_->readEnvelope(identifier);
    if (!envelope) return std::nullopt;
    return (*envelope)[detail::kMessageKey];
  } catch (const std::exception&) {
    return std::nullopt;
  }
}

void MessageChannel::clearMessageContentsForIdentifier(std::string_view identifier) {
  if (!isValidIdentifier(identifier)) return;
  ::unlink(impl_->pathFor(identifier).c_str());
}

void MessageChannel::clearAllMessageContents() {
  std::error_code ec;
  for (const auto& entry : fs::directory_iterator(impl_->directory, ec)) {
    const std::string name = entry.path().filename().string();
    if (name.ends_with(detail::kMessageSuffix)) ::unlink(entry.path().c_str());
  }
}

bool MessageChannel::listenForMessageWithIdentifier(std::string_view identifier,
                                                    Listener listener) {
  if (!isValidIdentifier(identifier) || !listener) return false;
  try {
    auto shared = std::make_shared<const Listener>(std::move(listener));
    {
      std::lock_guard lock(impl_->mutex);
      impl_->listeners.insert_or_assign(std::string(identifier), std::move(shared));
    }
    impl_->requestMonitor();
    return true;
  } catch (const std::exception&) {
    return false;
  }
}

void MessageChannel::stopListeningForMessageWithIdentifier(std::string_view identifier) {
  std::lock_guard lock(impl_->mutex);
  if (auto found = impl_->listeners.find(identifier); found != impl_->listeners.end()) {
    impl_->listeners.erase(found);
  }
}

bool MessageChannel::isMonitoring() const {
  std::lock_guard lock(impl_->mutex);
  return impl_->monitor != nullptr;
}

}  // namespace norvik::platform
