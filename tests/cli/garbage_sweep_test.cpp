// Runs the norvik program on garbage: every subcommand (found from the program's own --help, so
// new subcommands are swept too) with empty, huge, negative, non-UTF-8 and very long arguments in
// each positional and each option that takes a value. Every refusal must end with status 1 or 2
// and exactly one line on standard error; a command that takes the text as data (a key, a value,
// an address to test) must answer quietly with valid JSON; nothing may crash or end otherwise.
// The program runs in a private container, home and data directory, and without a session bus, so
// it never touches real state.
#include <glib.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "support/test_support.h"

namespace {

struct ProgramRun {
  explicit ProgramRun(std::vector<std::string> list = {}) : arguments(std::move(list)) {}
  std::vector<std::string> arguments;  // after the program's name
  int status = -1;                     // exit status; -1 when it did not exit normally
  std::string out, err;
};

// The program runs with a fixed environment of its own: only PATH, the sanitizer options and the
// test data directory come from this process.
std::vector<std::string> childEnvironment(const std::string& home) {
  std::vector<std::string> env = {
      "HOME=" + home,
      "XDG_DATA_HOME=" + home + "/data",
      "XDG_CONFIG_HOME=" + home + "/config",
      "XDG_RUNTIME_DIR=" + home + "/run",
      "DBUS_SESSION_BUS_ADDRESS=unix:path=" + home + "/no-bus",
      "LANG=C.UTF-8",
      "TZ=UTC",
  };
  for (const char* name : {"PATH", "ASAN_OPTIONS", "UBSAN_OPTIONS", "LSAN_OPTIONS"}) {
    if (const char* value = g_getenv(name)) env.push_back(std::string(name) + "=" + value);
  }
  return env;
}

void execute(ProgramRun& run, const std::vector<std::string>& env) {
  std::vector<char*> argv{const_cast<char*>(NORVIK_PROGRAM)};
  for (auto& a : run.arguments) argv.push_back(a.data());
  argv.push_back(nullptr);
  std::vector<char*> envp;
  for (const auto& e : env) envp.push_back(const_cast<char*>(e.c_str()));
  envp.push_back(nullptr);
  gchar* out = nullptr;
  gchar* err = nullptr;
  gint wait = 0;
  GError* error = nullptr;
  if (g_spawn_sync(nullptr, argv.data(), envp.data(), G_SPAWN_DEFAULT, nullptr, nullptr, &out, &err,
                   &wait, &error)) {
    run.status = WIFEXITED(wait) ? WEXITSTATUS(wait) : -1;
    run.out = out ? out : "";
    run.err = err ? err : "";
  } else {
    run.err = error ? error->message : "cannot start";
    g_clear_error(&error);
  }
  g_free(out);
  g_free(err);
}

// Runs every argument list, two at a time.
void executeAll(std::vector<ProgramRun>& runs, const std::vector<std::string>& env) {
  std::atomic<std::size_t> next{0};
  auto worker = [&] {
    for (std::size_t i; (i = next++) < runs.size();) execute(runs[i], env);
  };
  std::thread other(worker);
  worker();
  other.join();
}

// The lines of one section ("Subcommands:", "Positionals:", "Options:") of a help text.
std::vector<std::string> section(const std::string& help, const std::string& title) {
  std::vector<std::string> lines;
  std::istringstream in(help);
  bool inside = false;
  for (std::string line; std::getline(in, line);) {
    if (!line.empty() && line[0] != ' ') {
      inside = line == title;
      continue;
    }
    if (inside && line.size() > 2 && line[2] != ' ') lines.push_back(line.substr(2));
  }
  return lines;
}

std::string firstWord(const std::string& line) {
  return line.substr(0, line.find(' '));
}

// One command of the program, as its help describes it.
struct Command {
  std::vector<std::string> path;  // "defaults", "set"
  std::size_t positionals = 0;
  std::vector<std::string> requiredOptions, valueOptions;
};

// Every command and subcommand, read from the help texts.
std::vector<Command> discoverCommands(const std::vector<std::string>& env) {
  std::vector<Command> commands;
  std::vector<std::vector<std::string>> pending = {{}};
  while (!pending.empty()) {
    const std::vector<std::string> path = pending.back();
    pending.pop_back();
    ProgramRun help;
    help.arguments = path;
    help.arguments.push_back("--help");
    execute(help, env);
    EXPECT_EQ(help.status, 0) << "help of " << ::testing::PrintToString(path);
    // The program groups its commands under headings; their subcommands are "Subcommands:".
    for (const char* title : {"Subcommands:", "Calendars:", "Rules:", "Settings:", "Environment:",
                              "Output:", "Other:"}) {
      for (const std::string& line : section(help.out, title)) {
        std::vector<std::string> sub = path;
        sub.push_back(firstWord(line));
        pending.push_back(sub);
      }
    }
    if (path.empty()) continue;
    Command command{path, section(help.out, "Positionals:").size(), {}, {}};
    for (const std::string& line : section(help.out, "Options:")) {
      if (line[0] != '-') continue;
      std::string name = firstWord(line);  // "-c,--count" or "--from"
      if (name.find(',') != std::string::npos) name = name.substr(name.rfind(',') + 1);
      // A value's type follows the name in capitals ("TEXT", "UINT:UINT in [1 - 100000]").
      std::istringstream words(line.substr(firstWord(line).size()));
      std::string type;
      words >> type;
      type = type.substr(0, type.find(':'));
      if (type.empty() ||
          !std::all_of(type.begin(), type.end(), [](char c) { return c >= 'A' && c <= 'Z'; })) {
        continue;  // a flag
      }
      if (line.find("REQUIRED") != std::string::npos) command.requiredOptions.push_back(name);
      command.valueOptions.push_back(name);
    }
    commands.push_back(std::move(command));
  }
  return commands;
}

// One argument list for each place a value goes: the positionals (with the required options), and
// each option that takes a value; the garbage fills every place of the list.
std::vector<std::vector<std::string>> placements(const Command& command, const std::string& value) {
  std::vector<std::string> base = command.path;
  for (std::size_t i = 0; i < command.positionals; ++i) base.push_back(value);
  if (command.positionals == 0) base.push_back(value);  // an argument it does not take
  std::vector<std::vector<std::string>> lists;
  std::vector<std::string> first = base;
  for (const auto& option : command.requiredOptions) {
    first.push_back(option);
    first.push_back(value);
  }
  lists.push_back(first);
  for (const auto& option : command.valueOptions) {
    if (std::find(command.requiredOptions.begin(), command.requiredOptions.end(), option) !=
        command.requiredOptions.end()) {
      continue;
    }
    std::vector<std::string> list = first;
    list.push_back(option);
    list.push_back(value);
    lists.push_back(list);
  }
  return lists;
}

bool validJSON(const std::string& out) {
  if (nlohmann::json::accept(out)) return true;
  // One document a line.
  std::istringstream in(out);
  bool any = false;
  for (std::string line; std::getline(in, line);) {
    if (!nlohmann::json::accept(line)) return false;
    any = true;
  }
  return any;
}

std::string shown(const ProgramRun& run) {
  std::string text;
  for (const std::string& a : run.arguments) {
    text += " '" + (a.size() > 40 ? a.substr(0, 40) + "...(" + std::to_string(a.size()) + ")" : a) +
            "'";
  }
  return "norvik" + text + " -> status " + std::to_string(run.status) +
         ", stderr: " + run.err.substr(0, 200);
}

TEST(GarbageSweep, EveryCommandRefusesGarbageWithOneLine) {
  norvik::testing::TempDir home;
  const std::vector<std::string> env = childEnvironment(home.path());
  const std::vector<Command> commands = discoverCommands(env);
  ASSERT_GE(commands.size(), 20u) << "the help lists the subcommands";

  // Linux refuses a single argument longer than 128 KiB, so the megabyte comes as several.
  const std::string longest(128 * 1024 - 1, '9');
  const std::vector<std::string> garbage = {
      "",
      "-1",
      "-99999999999999999999",
      "99999999999999999999999999999999",
      "2024-99-99T99:99",
      "\xff\xfe\xc0\x80 \xe2\x82",
      std::string(4096, 'x') + "\n" + std::string(4096, '%'),
      longest,
  };
  std::vector<ProgramRun> runs;
  for (const Command& command : commands) {
    for (const std::string& value : garbage) {
      for (auto& list : placements(command, value)) {
        list.insert(list.begin(), {"--app-group-dir", home.path() + "/group", "--json"});
        runs.emplace_back(list);
      }
    }
    // A megabyte of arguments in all.
    ProgramRun megabyte(command.path);
    megabyte.arguments.insert(megabyte.arguments.begin(),
                              {"--app-group-dir", home.path() + "/group"});
    for (int i = 0; i < 8; ++i) megabyte.arguments.push_back(longest);
    runs.push_back(megabyte);
  }
  executeAll(runs, env);

  std::vector<std::string> problems;
  std::size_t accepted = 0;
  for (const ProgramRun& run : runs) {
    const bool json =
        std::find(run.arguments.begin(), run.arguments.end(), "--json") != run.arguments.end();
    const auto errorLines = std::count(run.err.begin(), run.err.end(), '\n');
    std::string problem;
    if (run.status == 0) {
      // Text that a command takes as data (a key, a value, an address to test, a rule that comes
      // back unchanged) is answered normally.
      ++accepted;
      if (!run.err.empty()) problem = "succeeds but writes to standard error";
      if (json && !validJSON(run.out)) problem = "succeeds without valid JSON";
    } else if (run.status != 1 && run.status != 2) {
      problem = "ends with status " + std::to_string(run.status);
    } else if (errorLines != 1 || run.err.back() != '\n') {
      problem = "writes " + std::to_string(errorLines) + " lines to standard error";
    } else if (json && !run.out.empty() && !validJSON(run.out)) {
      problem = "fails with invalid JSON";
    }
    if (!problem.empty()) problems.push_back(problem + ": " + shown(run));
  }
  RecordProperty("runs", static_cast<int>(runs.size()));
  RecordProperty("accepted", static_cast<int>(accepted));
  EXPECT_EQ(problems.size(), 0u) << "of " << runs.size() << " runs";
  for (std::size_t i = 0; i < problems.size() && i < 25; ++i) ADD_FAILURE() << problems[i];
}

}  // namespace
