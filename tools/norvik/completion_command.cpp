// norvik completion / manpage: shell completions for bash, zsh and fish and the manual page, all
// made from the program's own option definitions, so that they never disagree with what norvik
// accepts. The build runs these commands and `cmake --install` installs their output.
#include <algorithm>
#include <fstream>
#include <iostream>
#include <sstream>

#include "cli.h"
#include "norvik/calendar/calendar_types.h"
#include "norvik/environment/user_language.h"
#include "norvik/platform/environment.h"
#include "norvik/platform/time_zone.h"

namespace norvik::cli {
namespace {

struct OptionInfo {
  std::vector<std::string> longNames;   // without "--"
  std::vector<std::string> shortNames;  // without "-"
  bool takesValue = false;
  std::vector<std::string> choices;  // the values an IsMember check allows
  std::string valueName;
  std::string description;
};

struct PositionalInfo {
  std::string name;
  std::string description;
  bool required = false;
  std::vector<std::string> choices;  // the values it allows, when they are a fixed set
};

// One command of the tree: "" for the program itself, "/language/set" for norvik language set.
struct CommandInfo {
  std::string path;
  std::vector<std::string> words;  // norvik, language, set
  std::string description;
  std::vector<std::string> children;
  std::vector<std::string> childDescriptions;
  std::vector<OptionInfo> options;
  std::vector<PositionalInfo> positionals;
};

// The allowed values of "TEXT:{auto,always,never}".
std::vector<std::string> choicesOf(const std::string& typeName) {
  std::vector<std::string> out;
  const std::size_t open = typeName.find('{');
  const std::size_t close = typeName.find('}', open);
  if (open == std::string::npos || close == std::string::npos) return out;
  std::stringstream list(typeName.substr(open + 1, close - open - 1));
  for (std::string item; std::getline(list, item, ',');) {
    if (!item.empty()) out.push_back(item);
  }
  return out;
}

// The values of options and arguments whose fixed set the program checks itself rather than
// through an IsMember check: languages (--lang, language set's code), calendars and time zones.
std::vector<std::string> checkedValuesOf(const std::vector<std::string>& longNames) {
  std::vector<std::string> out;
  const auto named = [&](const char* name) {
    return std::find(longNames.begin(), longNames.end(), name) != longNames.end();
  };
  if (named("lang") || named("code")) {
    for (const auto& entry : NVUserLanguage::supportedLanguages()) out.emplace_back(entry.code);
    out.emplace_back("system");
  } else if (named("calendar")) {
    for (const auto& type : NVCalendarDateType::allCases()) {
      if (type != NVCalendarDateType::NONE() && !type->rawValue().empty()) {
        out.push_back(type->rawValue());
      }
    }
    out.emplace_back("all");
  } else if (named("time-zone")) {
    out = platform::TimeZone::knownTimeZoneIdentifiers();
    if (std::find(out.begin(), out.end(), "UTC") == out.end()) out.emplace_back("UTC");
  }
  return out;
}

void collect(CLI::App& app, const std::string& path, std::vector<std::string> words,
             std::vector<CommandInfo>& out) {
  CommandInfo info;
  info.path = path;
  info.words = words;
  info.description = app.get_description();
  for (const CLI::Option* option : app.get_options()) {
    if (option->get_group().empty()) continue;  // hidden
    if (option->get_positional() && !option->nonpositional()) {
      std::vector<std::string> choices = choicesOf(option->get_type_name());
      if (choices.empty()) choices = checkedValuesOf({option->get_name(true)});
      info.positionals.push_back({option->get_name(true), option->get_description(),
                                  option->get_required(), std::move(choices)});
      continue;
    }
    OptionInfo o;
    o.longNames = option->get_lnames();
    o.shortNames = option->get_snames();
    o.takesValue = option->get_expected_max() > 0 && option->get_type_size_max() > 0;
    o.choices = choicesOf(option->get_type_name());
    if (o.choices.empty() && o.takesValue) o.choices = checkedValuesOf(o.longNames);
    o.valueName = option->get_type_name();
    o.description = option->get_description();
    info.options.push_back(std::move(o));
  }
  std::vector<CLI::App*> children = app.get_subcommands([](CLI::App*) { return true; });
  for (CLI::App* child : children) {
    if (child->get_group().empty()) continue;
    info.children.push_back(child->get_name());
    info.childDescriptions.push_back(child->get_description());
  }
  out.push_back(info);
  for (CLI::App* child : children) {
    if (child->get_group().empty()) continue;
    std::vector<std::string> childWords = words;
    childWords.push_back(child->get_name());
    collect(*child, path + "/" + child->get_name(), childWords, out);
  }
}

std::vector<CommandInfo> commandTree(CLI::App& root) {
  std::vector<CommandInfo> out;
  collect(root, "", {root.get_name()}, out);
  return out;
}

std::string join(const std::vector<std::string>& items, const std::string& separator) {
  std::string out;
  for (const std::string& item : items) out += (out.empty() ? "" : separator) + item;
  return out;
}

std::vector<std::string> optionWords(const CommandInfo& command) {
  std::vector<std::string> words;
  for (const OptionInfo& o : command.options) {
    for (const std::string& name : o.longNames) words.push_back("--" + name);
    for (const std::string& name : o.shortNames) words.push_back("-" + name);
  }
  return words;
}

// Options that take a value and the values they allow, over the whole tree.
std::vector<std::pair<std::string, std::vector<std::string>>> valueOptions(
    const std::vector<CommandInfo>& tree) {
  std::vector<std::pair<std::string, std::vector<std::string>>> out;
  for (const CommandInfo& command : tree) {
    for (const OptionInfo& o : command.options) {
      if (!o.takesValue) continue;
      std::vector<std::string> names;
      for (const std::string& name : o.longNames) names.push_back("--" + name);
      for (const std::string& name : o.shortNames) names.push_back("-" + name);
      for (const std::string& name : names) {
        bool known = false;
        for (const auto& entry : out) known = known || entry.first == name;
        if (!known) out.emplace_back(name, o.choices);
      }
    }
  }
  return out;
}

// Single-quoted for sh and zsh.
std::string shellQuoted(const std::string& text) {
  std::string out = "'";
  for (char c : text) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return out + "'";
}

// The shared part of the bash and zsh scripts: which words are subcommands and options of a
// command, and which options take a value.
std::string shellTables(const std::vector<CommandInfo>& tree) {
  std::ostringstream out;
  out << "__norvik_children() {\n  case \"$1\" in\n";
  for (const CommandInfo& c : tree) {
    out << "    " << shellQuoted(c.path) << ") echo " << shellQuoted(join(c.children, " "))
        << " ;;\n";
  }
  out << "  esac\n}\n__norvik_options() {\n  case \"$1\" in\n";
  for (const CommandInfo& c : tree) {
    out << "    " << shellQuoted(c.path) << ") echo " << shellQuoted(join(optionWords(c), " "))
        << " ;;\n";
  }
  out << "  esac\n}\n__norvik_values() {\n  case \"$1\" in\n";
  for (const auto& [name, choices] : valueOptions(tree)) {
    out << "    " << shellQuoted(name) << ") echo " << shellQuoted(join(choices, " "))
        << "; return 0 ;;\n";
  }
  out << "  esac\n  return 1\n}\n__norvik_arguments() {\n  case \"$1\" in\n";
  for (const CommandInfo& c : tree) {
    if (c.positionals.empty() || c.positionals.front().choices.empty()) continue;
    out << "    " << shellQuoted(c.path) << ") echo "
        << shellQuoted(join(c.positionals.front().choices, " ")) << " ;;\n";
  }
  out << "  esac\n}\n";
  return out.str();
}

// Finds the command path of the words before the cursor; sets cmdpath (used by bash and zsh).
constexpr const char* kWalkWords = R"sh(    if ((skip)); then skip=0; continue; fi
    case "$word" in
      --*=*) ;;
      -*) __norvik_values "$word" >/dev/null && skip=1 ;;
      *) case " $(__norvik_children "$cmdpath") " in
           *" $word "*) cmdpath="$cmdpath/$word" ;;
         esac ;;
    esac
)sh";

std::string bashScript(const std::vector<CommandInfo>& tree) {
  std::ostringstream out;
  out << "# bash completion for norvik (made by: norvik completion bash)\n" << shellTables(tree);
  out << R"sh(_norvik() {
  local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD-1]}
  local cmdpath="" word i skip=0 values
  for ((i = 1; i < COMP_CWORD; i++)); do
    word=${COMP_WORDS[i]}
)sh" << kWalkWords
      << R"sh(  done
  if [[ $prev == -* ]] && values=$(__norvik_values "$prev"); then
    if [[ -n $values ]]; then
      mapfile -t COMPREPLY < <(compgen -W "$values" -- "$cur")
    else
      mapfile -t COMPREPLY < <(compgen -f -- "$cur")
    fi
    return
  fi
  local words="$(__norvik_children "$cmdpath") $(__norvik_arguments "$cmdpath")"
  [[ $cur == -* ]] && words="$(__norvik_options "$cmdpath") $(__norvik_options "")"
  mapfile -t COMPREPLY < <(compgen -W "$words" -- "$cur")
}
complete -F _norvik norvik
)sh";
  return out.str();
}

std::string zshEscaped(const std::string& text) {
  std::string out;
  for (char c : text) {
    if (c == ':' || c == '\\') out += '\\';
    out += c;
  }
  return out;
}

std::string zshScript(const std::vector<CommandInfo>& tree) {
  std::ostringstream out;
  out << "#compdef norvik\n# zsh completion for norvik (made by: norvik completion zsh)\n"
      << shellTables(tree);
  out << "__norvik_described() {\n  case \"$1\" in\n";
  for (const CommandInfo& c : tree) {
    out << "    " << shellQuoted(c.path) << ") print -rl --";
    for (std::size_t i = 0; i < c.children.size(); ++i) {
      out << " "
          << shellQuoted(zshEscaped(c.children[i]) + ":" + zshEscaped(c.childDescriptions[i]));
    }
    out << " ;;\n";
  }
  out << "  esac\n}\n";
  out << R"sh(_norvik() {
  local prev=${words[CURRENT-1]} cmdpath="" word i skip=0 values
  for ((i = 2; i < CURRENT; i++)); do
    word=${words[i]}
)sh" << kWalkWords
      << R"sh(  done
  if [[ $prev == -* ]] && values=$(__norvik_values "$prev"); then
    if [[ -n $values ]]; then
      compadd -- ${=values}
    else
      _files
    fi
    return
  fi
  if [[ ${words[CURRENT]} == -* ]]; then
    compadd -- ${=$(__norvik_options "$cmdpath")} ${=$(__norvik_options "")}
  else
    local -a commands
    commands=(${(f)"$(__norvik_described "$cmdpath")"})
    (( ${#commands} )) && _describe -t commands 'norvik command' commands
    compadd -- ${=$(__norvik_arguments "$cmdpath")}
  fi
}
_norvik "$@"
)sh";
  return out.str();
}

std::string fishQuoted(const std::string& text) {
  std::string out = "'";
  for (char c : text) {
    if (c == '\'' || c == '\\') out += '\\';
    out += c;
  }
  return out + "'";
}

std::string fishScript(const std::vector<CommandInfo>& tree) {
  std::ostringstream out;
  out << "# fish completion for norvik (made by: norvik completion fish)\n";
  out << "function __norvik_children\n    switch \"$argv[1]\"\n";
  for (const CommandInfo& c : tree) {
    out << "        case " << fishQuoted(c.path) << "\n            printf '%s\\n'";
    for (const std::string& child : c.children) out << " " << fishQuoted(child);
    out << "\n";
  }
  out << "    end\nend\n";
  std::vector<std::string> valueNames;
  for (const auto& entry : valueOptions(tree)) valueNames.push_back(fishQuoted(entry.first));
  out << "set -g __norvik_value_options " << join(valueNames, " ") << "\n";
  out << R"sh(function __norvik_path
    set -l path ''
    set -l skip 0
    for word in (commandline -opc)[2..-1]
        if test $skip = 1
            set skip 0
            continue
        end
        switch $word
            case '--*=*'
            case '-*'
                contains -- $word $__norvik_value_options; and set skip 1
            case '*'
                contains -- $word (__norvik_children $path); and set path "$path/$word"
        end
    end
    echo $path
end
complete -c norvik -f
)sh";
  for (const CommandInfo& c : tree) {
    const std::string condition =
        c.path.empty() ? "" : " -n " + fishQuoted("test (__norvik_path) = " + c.path);
    const std::string here = " -n " + fishQuoted("test -z (__norvik_path)");
    for (std::size_t i = 0; i < c.children.size(); ++i) {
      out << "complete -c norvik" << (c.path.empty() ? here : condition) << " -a "
          << fishQuoted(c.children[i]) << " -d " << fishQuoted(c.childDescriptions[i]) << "\n";
    }
    if (!c.positionals.empty() && !c.positionals.front().choices.empty()) {
      out << "complete -c norvik" << (c.path.empty() ? here : condition) << " -a "
          << fishQuoted(join(c.positionals.front().choices, " ")) << "\n";
    }
    for (const OptionInfo& o : c.options) {
      // The program's own options apply after every subcommand too.
      out << "complete -c norvik" << condition;
      for (const std::string& name : o.longNames) out << " -l " << fishQuoted(name);
      for (const std::string& name : o.shortNames) {
        out << (name.size() == 1 ? " -s " : " -o ") << fishQuoted(name);
      }
      if (o.takesValue)
        out << (o.choices.empty() ? " -r -F" : " -x -a " + fishQuoted(join(o.choices, " ")));
      out << " -d " << fishQuoted(o.description) << "\n";
    }
  }
  return out.str();
}

// Text for roff: backslashes doubled, a leading dot or quote protected, dashes as minus signs.
std::string roff(const std::string& text) {
  std::string out;
  for (char c : text) {
    if (c == '\\') {
      out += "\\e";
    } else if (c == '-') {
      out += "\\-";
    } else {
      out += c;
    }
  }
  if (!out.empty() && (out[0] == '.' || out[0] == '\'')) out = "\\&" + out;
  return out;
}

std::string optionSynopsis(const OptionInfo& o) {
  std::vector<std::string> names;
  for (const std::string& name : o.shortNames) names.push_back("\\fB\\-" + roff(name) + "\\fR");
  for (const std::string& name : o.longNames) names.push_back("\\fB\\-\\-" + roff(name) + "\\fR");
  std::string text = join(names, ", ");
  if (o.takesValue) {
    // Long lists (languages, time zones) are named by their value type; the text explains them.
    const bool listed = !o.choices.empty() && o.choices.size() <= 12;
    text += " \\fI" + roff(listed ? join(o.choices, "|") : o.valueName) + "\\fR";
  }
  return text;
}

std::string manPage(const std::vector<CommandInfo>& tree) {
  std::ostringstream out;
  const CommandInfo& root = tree.front();
  out << ".\\\" Made by: norvik manpage\n"
      << ".TH NORVIK 1 \"\" \"norvik " NORVIK_VERSION "\" \"User Commands\"\n"
      << ".SH NAME\nnorvik \\- " << roff(root.description.substr(root.description.find(':') + 2))
      << "\n.SH SYNOPSIS\n\\fBnorvik\\fR [\\fIoptions\\fR] [\\fIcommand\\fR [\\fIargs\\fR]]\n"
      << ".SH DESCRIPTION\nWith no command, \\fBnorvik\\fR shows this month with its lunar texts, "
         "festivals and solar terms, and how a few repeat rules read in the interface language. "
         "Options of the program may also follow a command.\n"
      << ".SH OPTIONS\n";
  for (const OptionInfo& o : root.options) {
    out << ".TP\n" << optionSynopsis(o) << "\n" << roff(o.description) << "\n";
  }
  out << ".SH COMMANDS\n";
  for (std::size_t i = 1; i < tree.size(); ++i) {
    const CommandInfo& c = tree[i];
    out << ".SS \"" << roff(join(c.words, " "));
    if (!c.children.empty()) out << " \\fIcommand\\fR";
    for (const PositionalInfo& p : c.positionals) {
      out << (p.required ? " \\fI" : " [\\fI") << roff(p.name) << (p.required ? "\\fR" : "\\fR]");
    }
    out << "\"\n" << roff(c.description) << "\n";
    for (const PositionalInfo& p : c.positionals) {
      out << ".TP\n\\fI" << roff(p.name) << "\\fR\n" << roff(p.description) << "\n";
    }
    for (const OptionInfo& o : c.options) {
      if (o.longNames == std::vector<std::string>{"help"}) continue;
      out << ".TP\n" << optionSynopsis(o) << "\n" << roff(o.description) << "\n";
    }
  }
  out << ".SH ENVIRONMENT\n"
         ".TP\n\\fBNORVIK_APP_GROUP_DIR\\fR\nThe application-group container (settings, the "
         "chosen language); default $XDG_DATA_HOME/"
      << roff(std::string(kNVAppGroupIdentifier))
      << ".\n"
         ".TP\n\\fBNORVIK_MAIN_BUNDLE\\fR\nThe main bundle with the string tables; default the "
         "share directory beside the program.\n"
         ".TP\n\\fBNO_COLOR\\fR\nWhen set and not empty, no colours unless \\fB\\-\\-color "
         "always\\fR is given.\n"
         ".TP\n\\fBLANG\\fR, \\fBLC_ALL\\fR, \\fBLANGUAGE\\fR, \\fBTZ\\fR\nThe system's "
         "languages, locale (week start, weekend) and time zone.\n"
         ".SH FILES\n"
         ".TP\n\\fI$XDG_DATA_HOME/"
      << roff(std::string(kNVAppGroupIdentifier))
      << "\\fR\nThe application-group container (or \\fB\\-\\-app\\-group\\-dir\\fR): "
         "\\fIPreferences/*.sqlite\\fR hold the shared key-value store and the settings, "
         "\\fINorvik_CustomUserDefaults.sqlite\\fR the settings cache.\n"
         ".TP\n\\fI<container>/OfficialCalendar.txt\\fR\nOverride data for the official "
         "holidays and working days, read before the table shipped in the library's bundle.\n"
         ".TP\n\\fI<prefix>/share/norvik/MainBundle\\fR\nThe main bundle, <prefix> being the "
         "directory above the program (or "
         "\\fB\\-\\-bundle\\fR, \\fBNORVIK_MAIN_BUNDLE\\fR): \\fIInfo.plist\\fR and one "
         "\\fI<code>.lproj\\fR folder of string tables per interface language.\n"
         ".TP\n\\fI<prefix>/share/norvik/LibraryBundle\\fR\nThe library's own bundle: the "
         "solar-term table \\fISolarTerms.plist\\fR and the official calendar.\n"
         ".SH EXIT STATUS\n0 on success, 1 when a command fails, 2 for input that cannot be "
         "used; the reason is one line on standard error, with the help to read.\n"
         ".SH EXAMPLES\n"
         ".TP\n\\fBnorvik month \\-3\\fR\nLast month, this one and the next, with lunar days, "
         "festivals and solar terms.\n"
         ".TP\n\\fBnorvik month \\-y 2025 \\-\\-week\\-start monday\\fR\nThe year 2025, "
         "weeks from Monday.\n"
         ".TP\n\\fBnorvik \\-\\-lang de describe \\(aqFREQ=YEARLY;BYMONTH=3;BYDAY=\\-1FR\\(aq"
         "\\fR\nHow a repeat rule reads in German.\n"
         ".TP\n\\fBnorvik occurrences \\(aqFREQ=MONTHLY;BYDAY=2TU\\(aq \\-\\-start 2024\\-01\\-01 "
         "\\-\\-count 5\\fR\nThe next five dates of a rule.\n"
         ".TP\n\\fBnorvik convert 2024\\-02\\-10 \\-\\-calendar all\\fR\nA day in every other "
         "calendar.\n"
         ".TP\n\\fBnorvik days 2024\\-01\\-01 2024\\-12\\-31 > days.jsonl\\fR\nThe texts of "
         "every day of a year, one JSON object a line.\n"
         ".TP\n\\fBnorvik ics 2025 \\-o festivals.ics\\fR\nFestivals and solar terms of 2025 "
         "as an iCalendar file.\n"
         ".TP\n\\fBnorvik language set ja\\fR\nStore Japanese as the interface language.\n"
         ".SH SEE ALSO\n\\fBcal\\fR(1), \\fBdate\\fR(1), \\fBlocale\\fR(1), "
         "\\fBtzfile\\fR(5)\n";
  return out.str();
}

// Writes `text` to `path`, or to standard output when `path` is empty.
int emit(const std::string& text, const std::string& path) {
  if (path.empty()) {
    std::cout << text;
    return 0;
  }
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file << text;
  if (!file.flush()) throw std::runtime_error("cannot write " + path);
  return 0;
}

void addCompletionCommands(CLI::App& app, const GlobalOptions&, Action& run) {
  auto shell = std::make_shared<std::string>();
  auto output = std::make_shared<std::string>();
  CLI::App* completion =
      app.add_subcommand("completion", "Print the shell completion script for bash, zsh or fish");
  completion->add_option("shell", *shell, "bash, zsh or fish")
      ->required()
      ->check(CLI::IsMember({"bash", "zsh", "fish"}));
  completion->add_option("-o,--output", *output, "Write to this file instead");
  completion->callback([&app, &run, shell, output] {
    run = [&app, shell, output] {
      const std::vector<CommandInfo> tree = commandTree(app);
      return emit(*shell == "bash"  ? bashScript(tree)
                  : *shell == "zsh" ? zshScript(tree)
                                    : fishScript(tree),
                  *output);
    };
  });
  CLI::App* manpage = app.add_subcommand("manpage", "Print the manual page (roff)");
  manpage->add_option("-o,--output", *output, "Write to this file instead");
  manpage->callback([&app, &run, output] {
    run = [&app, output] { return emit(manPage(commandTree(app)), *output); };
  });
}

const CommandRegistration registration(addCompletionCommands);

}  // namespace
}  // namespace norvik::cli
