#pragma once
// The key-value store of settings shared by all processes of the application: a suite of named
// property-list values kept in a database file in the application-group container.
//
// A handle is cheap to make: every handle on the same suite in one process shares one database
// connection and one in-memory copy of the suite. Writes are visible at once to every handle of the
// process; they are buffered and reach the database, and so the other processes, when
// synchronize() is called (or, at the latest, when the process exits normally). A read notices
// writes that another process has synchronised through a change counter in shared memory, and
// then reloads its copy. Handles may be used from several threads at once.
//
// A read never waits for another process's write (the database is in WAL mode); a database that
// can be read but not written is read read-only, so reads still give what is stored, and
// storeStatus() tells when they cannot.

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "norvik/platform/value.h"

namespace norvik::detail {
class DefaultsStore;
}

namespace norvik::platform {

class UserDefaults {
 public:
  // The process's own domain, named after the main bundle's identifier (CFBundleIdentifier in its
  // Info.plist), or "app.norvik.standard" when the bundle has none.
  static UserDefaults standard();

  // Opens the suite `suiteName`: norvik::kNVAppGroupIdentifier is the application group's own
  // suite; any other name gets a database file of its own in the same container. A name that is
  // empty, contains '/', ".." or a NUL character, or a container that is missing from the
  // environment, gives a handle that reads nothing and writes nothing; a message goes to standard
  // error. A container or database that cannot be made or written still gives a valid handle:
  // what is set is kept and read back in memory, and synchronize() reports the failure.
  explicit UserDefaults(std::string_view suiteName);

  UserDefaults(const UserDefaults&) = default;
  UserDefaults(UserDefaults&&) noexcept = default;
  UserDefaults& operator=(const UserDefaults&) = default;
  UserDefaults& operator=(UserDefaults&&) noexcept = default;
  ~UserDefaults();

  // Whether the handle is backed by a database (false for the invalid handles described above).
  bool isValid() const noexcept { return store_ != nullptr; }
  const std::string& suiteName() const noexcept { return suiteName_; }

  // The value stored under `key`; the null object when there is none.
  Value objectForKey(std::string_view key) const;

  // Stores `value` under `key`; the null object removes the key. Scalars, strings and dates are
  // kept exactly; an array or dictionary is kept as its binary property list, and from then on
  // reads (in this process too) give it as that form reads back: strings inside end at a NUL byte
  // and dates inside keep microseconds within 1932-2069. An array or dictionary that holds the null
  // object anywhere has no stored form: it is refused with a message on standard error and the
  // stored value is left as it was.
  void setObject(const Value& value, std::string_view key);
  void removeObjectForKey(std::string_view key);

  // A number's truth (non-zero is true); for a string, true when it starts, after white space, an
  // optional sign and leading zeros, with 'Y', 'y', 'T', 't' or a digit 1-9 ("YES", "true", "1",
  // "0042"); false for everything else and when absent.
  bool boolForKey(std::string_view key) const;
  // A number truncated toward zero (saturating); a string's leading decimal integer after white
  // space and an optional sign, saturating ("42abc" is 42, "  -7" is -7); 0 for everything else.
  std::int64_t integerForKey(std::string_view key) const;
  // A number's value; a string's leading decimal number after white space ("2.5e3x" is 2500); 0 for
  // everything else.
  double doubleForKey(std::string_view key) const;
  // A string, or a number's decimal text ("42", "2.5", "1" for true); std::nullopt otherwise.
  std::optional<std::string> stringForKey(std::string_view key) const;
  // The stored value when it is of the named type; std::nullopt otherwise.
  std::optional<Array> arrayForKey(std::string_view key) const;
  std::optional<Dictionary> dictionaryForKey(std::string_view key) const;
  std::optional<Data> dataForKey(std::string_view key) const;
  std::optional<Date> dateForKey(std::string_view key) const;

  void setBool(bool value, std::string_view key);
  void setInteger(std::int64_t value, std::string_view key);
  void setDouble(double value, std::string_view key);

  // How the suite's database could be reached when it was last needed. Asking reads the database
  // first when another process has changed it, as a read would.
  enum class StoreStatus {
    readWrite,   // reads give the stored values, and synchronize() can save changes
    readOnly,    // reads give the stored values, but the database cannot be written (a read-only
                 // container, a full disk, a file without write permission): synchronize()
                 // returns false
    unreadable,  // the database exists but could not be read, or the handle is invalid: reads
                 // give only what this process set, so a missing value says nothing of the store
  };
  StoreStatus storeStatus() const;
  // Why the database could not be read or written, as one line; empty when nothing failed.
  std::string storeProblem() const;

  // Every key of the suite with its value; empty for an invalid handle.
  Dictionary dictionaryRepresentation() const;

  // Writes the buffered changes of this suite to the database and makes them durable on disk and
  // visible to the other processes, then takes in what other processes have written. Returns false
  // when the database could not be written (a full disk, a read-only container, a lock held by
  // another process past the 5 s busy timeout, which bounds the whole call): the changes stay
  // buffered and readable for the next attempt, and one line goes to standard error per run of
  // failures. False for an invalid handle. A damaged database file is set aside beside the original
  // as "<file>.corrupt-<time>" and replaced by a fresh one holding what this process knows.
  bool synchronize();

 private:
  std::string suiteName_;
  std::shared_ptr<detail::DefaultsStore> store_;  // null for an invalid handle
};

}  // namespace norvik::platform
