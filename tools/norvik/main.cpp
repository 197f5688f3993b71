// norvik: the library's main job on a terminal.
#include <algorithm>
#include <iostream>
#include <vector>

#include "cli.h"
#include "norvik/environment/user_language.h"
#include "norvik/platform/environment.h"
#include "norvik/platform/logger.h"
#include "norvik/platform/time_zone.h"

namespace {

// Applies the global options to the library's environment before any command runs.
void applyGlobalOptions(const norvik::cli::GlobalOptions& options) {
  // An unknown zone would silently become UTC further down: refuse it as an unknown --lang is.
  if (!options.timeZone.empty() && !norvik::platform::TimeZone::withIdentifier(options.timeZone)) {
    throw norvik::cli::UsageError("unknown time zone '" + options.timeZone +
                                  "' (an identifier such as Asia/Shanghai or UTC)");
  }
  norvik::platform::modifyEnvironment([&](norvik::platform::Environment& env) {
    if (!options.appGroupDir.empty()) env.appGroupContainerDirectory = options.appGroupDir;
    if (!options.bundle.empty()) env.mainBundlePath = options.bundle;
    if (!options.timeZone.empty()) env.timeZoneIdentifier = options.timeZone;
  });
  // --lang is this run's language only: nothing is stored and no other process hears of it
  // ("norvik language set" changes the stored choice); "system" follows the system this once.
  if (options.lang.empty()) return;
  if (options.lang == "system") {
    norvik::NVUserLanguage::setProcessUserLanguageType(0);
    return;
  }
  for (const auto& entry : norvik::NVUserLanguage::supportedLanguages()) {
    if (entry.code == options.lang) {
      norvik::NVUserLanguage::setProcessUserLanguageType(entry.type);
      return;
    }
  }
  throw norvik::cli::UsageError("unknown language code '" + options.lang +
                                "' (a supported code such as de or zh-Hans, or system)");
}

// "norvik month --help" for the deepest subcommand the command line chose (as far as it was read),
// "norvik --help" when it chose none.
std::string helpCommandOf(const CLI::App& app) {
  std::string command = "norvik";
  const CLI::App* level = &app;
  for (;;) {
    const std::vector<CLI::App*> chosen = level->get_subcommands();
    if (chosen.empty()) break;
    level = chosen.front();
    command += " " + level->get_name();
  }
  return command + " --help";
}

}  // namespace

namespace norvik::cli {
namespace {
std::vector<CommandAdder>& registry() {
  static std::vector<CommandAdder> adders;
  return adders;
}
}  // namespace

CommandRegistration::CommandRegistration(CommandAdder adder) {
  registry().push_back(adder);
}

namespace {
// The subcommands as --help lists them: by group, and in each group from the most used on.
struct CommandGroup {
  const char* title;
  std::vector<std::string> commands;
};
const std::vector<CommandGroup>& commandGroups() {
  static const std::vector<CommandGroup> groups = {
      {"Calendars",
       {"month", "lunar", "solar", "day", "days", "convert", "ics", "stamp", "timeline"}},
      {"Rules",
       {"describe", "interval", "after-completion", "occurrences", "first-occurrence", "rule",
        "repair"}},
      {"Settings",
       {"settings", "defaults", "keychain", "language", "site", "colors", "themes", "smart-lists"}},
      {"Environment", {"env", "device-info"}},
      {"Output", {"completion", "manpage"}},
  };
  return groups;
}

// The place of a subcommand in that order; commands not in it come last, in the "Other" group.
std::pair<std::size_t, const char*> placeOf(const std::string& name) {
  std::size_t rank = 0;
  for (const CommandGroup& group : commandGroups()) {
    for (const std::string& command : group.commands) {
      if (command == name) return {rank, group.title};
      ++rank;
    }
  }
  return {rank, "Other"};
}
}  // namespace

void addRegisteredCommands(CLI::App& app, const GlobalOptions& options, Action& run) {
  // CLI11 lists subcommands in the order they were added, so each source file's commands are
  // first added to a scratch program to learn their names, then added for real in list order.
  std::vector<std::pair<std::size_t, CommandAdder>> ordered;
  for (CommandAdder adder : registry()) {
    CLI::App scratch;
    Action unused;
    adder(scratch, options, unused);
    std::size_t first = placeOf("").first;
    for (const CLI::App* command : scratch.get_subcommands({})) {
      first = std::min(first, placeOf(command->get_name()).first);
    }
    ordered.emplace_back(first, adder);
  }
  std::stable_sort(ordered.begin(), ordered.end(),
                   [](const auto& a, const auto& b) { return a.first < b.first; });
  for (const auto& entry : ordered) entry.second(app, options, run);
  for (CLI::App* command : app.get_subcommands({})) {
    command->group(placeOf(command->get_name()).second);
  }
}
}  // namespace norvik::cli

int main(int argc, char** argv) {
  using namespace norvik::cli;
  CLI::App app{
      "norvik: recurrence texts, lunar and other calendars, and the shared settings of "
      "the task-and-calendar application"};
  app.name("norvik");
  GlobalOptions options;
  app.add_flag("--json", options.json, "Machine-readable JSON output");
  app.add_option("--app-group-dir", options.appGroupDir,
                 "Application-group container directory (default: NORVIK_APP_GROUP_DIR, else "
                 "$XDG_DATA_HOME/<group>)");
  app.add_option("--bundle", options.bundle, "Main bundle directory (default: NORVIK_MAIN_BUNDLE)");
  app.add_option("--time-zone", options.timeZone, "Time zone identifier, e.g. Asia/Shanghai");
  app.add_option("--lang", options.lang,
                 "Interface language code for this run only (norvik language set stores one)");
  app.add_option("--color", options.color,
                 "Colours: auto (on a terminal unless NO_COLOR is set), "
                 "always or never")
      ->check(CLI::IsMember({"auto", "always", "never"}));
  app.set_version_flag("--version", "norvik " NORVIK_VERSION);
  // Global options may also follow the subcommand: norvik month --color=never.
  app.fallthrough();
  app.require_subcommand(0, 1);

  // The library's log messages are the program's error messages.
  norvik::SVLoggerObjcWrapper::setSink(
      [](const norvik::SVLogRecord& record) { printError(record.message); });

  Action action;
  addRegisteredCommands(app, options, action);

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& e) {
    // Help on any level arrives here as a "successful" parse error and is printed by exit().
    if (e.get_exit_code() == 0) return app.exit(e);
    printError(std::string(e.what()) + " (see " + helpCommandOf(app) + ")");
    return 2;
  }

  try {
    applyGlobalOptions(options);
  } catch (const UsageError& e) {
    printError(std::string(e.what()) + " (see norvik --help)");
    return 2;
  } catch (const std::exception& e) {
    printError(e.what());
    return 1;
  }
  try {
    return action ? action() : runOverview(options);
  } catch (const UsageError& e) {
    printError(std::string(e.what()) + " (see " + helpCommandOf(app) + ")");
    return 2;
  } catch (const std::exception& e) {
    printError(e.what());
    return 1;
  }
}
