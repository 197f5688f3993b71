#pragma once
// Where the application's files live: the user's documents directory and the container directory
// shared by the application group. Both come from the current environment (environment.h).
//
// Paths are absolute and normalised, with a leading "~" or "~user" expanded and without a trailing
// slash ("/home/ada/Documents"); a relative directory is taken from the working directory. URLs are
// "file://" URLs of those paths, percent-encoded where a file URL must be (spaces, "%", "?", "#",
// non-ASCII bytes, ...), with the trailing slash of a directory URL
// ("file:///home/ada/My%20Docs/").

#include <optional>
#include <string>

namespace norvik {

struct NVFileUtils {
  // URL of the documents directory; the empty string when the environment names none.
  static std::string documentDirectoryURL();
  // Path of the documents directory; the empty string when the environment names none.
  static std::string documentDirectoryPath();
  // URL of the application group's container directory, which is created (mode 0700, with any
  // missing parents) when missing. Absent when the environment has no container directory, or it
  // cannot be created, or something other than a directory is in its place.
  static std::optional<std::string> groupContainerDirectoryURL();
  // Path of that URL; absent in the same cases.
  static std::optional<std::string> groupContainerDirectoryPath();
};

}  // namespace norvik
