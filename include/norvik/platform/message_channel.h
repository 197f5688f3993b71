#pragma once
// A message channel between the processes of the application (the application and its extensions),
// kept as files in a directory of the application-group container.
//
// Passing a message writes `<directory>/<identifier>.message` atomically (a new file renamed over
// the old one), holding a property-list value. Listening processes learn of the new file through
// file monitoring, and their listeners run on the process's default main loop (the GLib default
// main context): a process that wants to hear messages must run that loop, or iterate it. Every
// process that listens for an identifier, the sender included, hears each message once. The last
// message of each identifier stays readable until it is cleared.
//
// A channel may be used from any thread. Listeners are called on the thread that runs the default
// main loop, never while the channel holds a lock, so a listener may use the channel.

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "norvik/platform/value.h"

namespace norvik::platform {

// Whether the application group `applicationGroupIdentifier` is usable in this process: it must be
// norvik::kNVAppGroupIdentifier and the environment must name a container directory that exists or
// can be created.
bool isAppGroupEnabled(std::string_view applicationGroupIdentifier);

class MessageChannel {
 public:
  // The channel in the subdirectory `directory` (a plain name: letters, digits, '.', '-', '_', not
  // starting with '.') of the group's container, created with mode 0700 when missing. Null when the
  // group is not enabled, the name is not plain or the directory cannot be made.
  static std::shared_ptr<MessageChannel> open(std::string_view applicationGroupIdentifier,
                                              std::string_view directory);

  ~MessageChannel();
  MessageChannel(const MessageChannel&) = delete;
  MessageChannel& operator=(const MessageChannel&) = delete;

  // Absolute path of the channel's directory.
  const std::string& directoryPath() const;

  // Whether `identifier` may name a message: 1 to 200 letters, digits, '.', '-' or '_', not
  // starting with '.'.
  static bool isValidIdentifier(std::string_view identifier);

  // Writes `message` as the message `identifier` and so tells every listening process. The value
  // travels as a property list (the null object inside containers is dropped). Returns false for
  // an invalid identifier or a failed write (the previous message then stays as it was).
  bool passMessage(std::string_view identifier, const Value& message);

  // The last message passed with `identifier`; std::nullopt when there is none, it was cleared,
  // the identifier is invalid or the file is unreadable.
  std::optional<Value> messageWithIdentifier(std::string_view identifier) const;

  // Removes the stored message of `identifier` / of every identifier. Listeners are not told.
  void clearMessageContentsForIdentifier(std::string_view identifier);
  void clearAllMessageContents();

  // Calls `listener` with each message passed under `identifier` from now on, by any process,
  // replacing an earlier listener of that identifier. Returns false for an invalid identifier or an
  // empty listener. File monitoring starts on the default main loop: at once when the calling
  // thread runs (or may run) that loop, otherwise the next time the loop runs.
  using Listener = std::function<void(const Value& message)>;
  bool listenForMessageWithIdentifier(std::string_view identifier, Listener listener);
  // Stops calling the listener of `identifier`; a call already under way finishes.
  void stopListeningForMessageWithIdentifier(std::string_view identifier);

  // Whether file monitoring has started (it starts with the first listener; see above).
  bool isMonitoring() const;

  struct Impl;
  explicit MessageChannel(std::shared_ptr<Impl> impl);

 private:
  std::shared_ptr<Impl> impl_;
};

}  // namespace norvik::platform
