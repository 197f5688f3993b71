#pragma once
// Shared pieces of the norvik program: global options, output helpers and the registration
// functions of the subcommands (one source file each).

#include <CLI/CLI.hpp>
#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "norvik/platform/value.h"

namespace norvik::cli {

struct GlobalOptions {
  bool json = false;
  std::string appGroupDir;
  std::string bundle;
  std::string timeZone;
  std::string lang;
  std::string color = "auto";  // auto, always or never
};

// Raised by a command for input that passes parsing but makes no sense (exit status 2).
struct UsageError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// Converts a Value to JSON for --json output (dates as seconds since 1970, data as base64).
nlohmann::json toJSON(const platform::Value& value);

// Plain text of a value for people: strings as they are, numbers as their text, other values in
// JSON form.
std::string plainText(const platform::Value& value);

// Prints a JSON document on standard output, one line.
void printJSON(const nlohmann::json& document);

// The text made fit for one line of a terminal: control characters and bytes that are not UTF-8
// become escapes (\n, \x1B, \xFF), and text beyond `limit` bytes is cut and marked with "...".
std::string oneLine(std::string_view text, std::size_t limit = 400);

// Prints "norvik: <message>" as one line on standard error (the message through oneLine). Only
// the first error of a run is printed, so that a failing run ends with exactly one line; the
// library's log messages come here too (main installs the logger's sink).
void printError(std::string_view message);

// The action a chosen subcommand runs; it returns the exit status.
using Action = std::function<int()>;

// A subcommand adds itself to the program with a static CommandRegistration in its own source
// file: the function adds the subcommand to `app` and, from the subcommand's callback, sets `run`.
using CommandAdder = void (*)(CLI::App& app, const GlobalOptions& options, Action& run);
struct CommandRegistration {
  explicit CommandRegistration(CommandAdder adder);
};
// Adds every registered subcommand to the program.
void addRegisteredCommands(CLI::App& app, const GlobalOptions& options, Action& run);

// What norvik month shows: `month` is YYYY-MM (with `year` also YYYY) or empty for this month;
// `three` adds the months before and after, `year` shows the whole year; `weekStart` is "monday",
// "sunday" or empty for the locale's first weekday.
struct MonthRequest {
  std::string month;
  bool three = false;
  bool year = false;
  std::string weekStart;
};

// Month calendars with lunar texts, festivals and solar terms.
int runMonth(const GlobalOptions& options, const MonthRequest& request);

// Whether to write colours: --color always or never, else on a terminal unless NO_COLOR is set
// and not empty.
bool useColour(const GlobalOptions& options);

// The main job: this month and example rule descriptions.
int runOverview(const GlobalOptions& options);

}  // namespace norvik::cli
