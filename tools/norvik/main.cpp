// norvik: the library's main job on a terminal.
#include <iostream>
#include <vector>

#include "cli.h"
#include "norvik/environment/user_language.h"
#include "norvik/platform/environment.h"
#include "norvik/platform/logger.h"

namespace {

// Applies the global options to the library's environment before any command runs.
void applyGlobalOptions(const norvik::cli::GlobalOptions& options) {
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

void addRegisteredCommands(CLI::App& app, const GlobalOptions& options, Action& run) {
  for (CommandAdder adder : registry()) adder(app, options, run);
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
    printError(std::string(e.what()) + " (see norvik --help)");
    return 2;
  }

  try {
    applyGlobalOptions(options);
    return action ? action() : runOverview(options);
  } catch (const UsageError& e) {
    printError(e.what());
    return 2;
  } catch (const std::exception& e) {
    printError(e.what());
    return 1;
  }
}
