// strings_check: checks the string tables of a main bundle against the keys the library looks up.
//
//   strings_check --bundle resources/MainBundle --sources src      check every .lproj folder
//   strings_check --sources src --list-keys                         print the keys, table first
//
// The keys are read from the sources' lookup calls and recorded while the library describes a
// broad set of rules, so the list follows the code. Exit status: 0 when every table passes, 1 when
// any check fails, 2 on a usage error.
#include <unistd.h>

#include <filesystem>
#include <iostream>
#include <string>

#include "norvik/platform/environment.h"
#include "strings_check.h"

int main(int argc, char** argv) {
  std::string bundle;
  std::string sources;
  bool listKeys = false;
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    if (argument == "--bundle" && i + 1 < argc) {
      bundle = argv[++i];
    } else if (argument == "--sources" && i + 1 < argc) {
      sources = argv[++i];
    } else if (argument == "--list-keys") {
      listKeys = true;
    } else {
      std::cerr << "usage: strings_check [--bundle DIR] [--sources DIR] [--list-keys]\n";
      return 2;
    }
  }
  if (bundle.empty() && !listKeys) {
    std::cerr << "strings_check: --bundle DIR is required\n";
    return 2;
  }
  // The library runs in a container of its own: the check never touches the user's settings.
  namespace fs = std::filesystem;
  const fs::path container =
      fs::temp_directory_path() / ("strings_check-main-" + std::to_string(::getpid()));
  std::error_code ignored;
  fs::create_directories(container, ignored);
  norvik::platform::modifyEnvironment([&](norvik::platform::Environment& env) {
    env.appGroupContainerDirectory = container.string();
  });
  using namespace norvik::strings_check;
  KeySet keys = recordLibraryKeys();
  fs::remove_all(container, ignored);
  if (!sources.empty()) keys.merge(scanSourceKeys(sources));
  if (listKeys) {
    for (const auto& [table, key] : keys) std::cout << table << "\t" << key << "\n";
    if (bundle.empty()) return 0;
  }
  std::vector<std::string> notes;
  const auto problems = checkBundle(bundle, keys, notes);
  for (const auto& note : notes) std::cerr << "note: " << note << "\n";
  for (const auto& problem : problems) std::cout << problem << "\n";
  std::cerr << "strings_check: " << keys.size() << " keys, " << problems.size() << " problems\n";
  return problems.empty() ? 0 : 1;
}
