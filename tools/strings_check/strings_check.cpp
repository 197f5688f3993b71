#include "strings_check.h"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <sstream>

#include "norvik/calendar/calendar_types.h"
#include "norvik/calendar/date_utils.h"
#include "norvik/environment/user_language.h"
#include "norvik/platform/bundle.h"
#include "norvik/platform/calendar.h"
#include "norvik/platform/environment.h"
#include "norvik/platform/format.h"
#include "norvik/platform/localized_string.h"
#include "norvik/platform/strings_table.h"
#include "norvik/recurrence/recurrence_rule.h"
#include "norvik/recurrence/repeat_description.h"
#include "norvik/vocabulary/smart_projects.h"
#include "norvik/vocabulary/text_helpers.h"
#include "platform/localized_lookup.h"

namespace norvik::strings_check {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kDefaultTable = "Localizable";
constexpr std::string_view kRequiredTables[] = {"Localizable", "Special"};

// The kind of argument a conversion takes: 'i' integer, 'f' real, 's' text or object.
char kindOf(char conversion) {
  if (std::string_view("diuxXoc").find(conversion) != std::string_view::npos) return 'i';
  if (std::string_view("fFeEgGaA").find(conversion) != std::string_view::npos) return 'f';
  return 's';
}

// Sample arguments of the kinds a key's specifiers take, in position order.
std::vector<platform::FormatArgument> sampleArguments(const std::map<int, char>& kinds) {
  std::vector<platform::FormatArgument> arguments;
  int expected = 1;
  for (const auto& [position, kind] : kinds) {
    for (; expected < position; ++expected) arguments.emplace_back("unused");
    if (kind == 'i') {
      arguments.emplace_back(7);
    } else if (kind == 'f') {
      arguments.emplace_back(1.5);
    } else {
      arguments.emplace_back("text");
    }
    ++expected;
  }
  return arguments;
}

std::string tableName(std::string_view table) {
  return table.empty() ? std::string(kDefaultTable) : std::string(table);
}

// Direction marks and embeddings: none belongs in a table, whatever the language's direction.
constexpr std::string_view kDirectionMarks[] = {
    "\xE2\x80\x8E", "\xE2\x80\x8F", "\xD8\x9C",  // U+200E, U+200F, U+061C
    "\xE2\x80\xAA", "\xE2\x80\xAB", "\xE2\x80\xAC", "\xE2\x80\xAD", "\xE2\x80\xAE",  // U+202A..E
    "\xE2\x81\xA6", "\xE2\x81\xA7", "\xE2\x81\xA8", "\xE2\x81\xA9",                  // U+2066..9
};

bool hasDirectionMark(std::string_view text) {
  return std::any_of(
      std::begin(kDirectionMarks), std::end(kDirectionMarks),
      [&](std::string_view mark) { return text.find(mark) != std::string_view::npos; });
}

// --- Source scanning -----------------------------------------------------------------------

// `source` with comments blanked out (string and character literals kept).
std::string withoutComments(std::string_view source) {
  std::string out(source);
  for (std::size_t i = 0; i < out.size(); ++i) {
    const char c = out[i];
    if (c == '"' || c == '\'') {
      for (++i; i < out.size() && out[i] != c; ++i) {
        if (out[i] == '\\') ++i;
      }
    } else if (c == '/' && i + 1 < out.size() && out[i + 1] == '/') {
      for (; i < out.size() && out[i] != '\n'; ++i) out[i] = ' ';
    } else if (c == '/' && i + 1 < out.size() && out[i + 1] == '*') {
      const std::size_t end = out.find("*/", i + 2);
      const std::size_t stop = end == std::string::npos ? out.size() : end + 2;
      for (; i < stop; ++i) {
        if (out[i] != '\n') out[i] = ' ';
      }
      --i;
    }
  }
  return out;
}

int hexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// Reads the string literal whose opening quote is at `i`; leaves `i` after the closing quote.
std::string readLiteral(std::string_view s, std::size_t& i) {
  std::string value;
  for (++i; i < s.size() && s[i] != '"'; ++i) {
    if (s[i] != '\\' || i + 1 >= s.size()) {
      value.push_back(s[i]);
      continue;
    }
    const char e = s[++i];
    switch (e) {
      case 'n':
        value.push_back('\n');
        break;
      case 't':
        value.push_back('\t');
        break;
      case '0':
        value.push_back('\0');
        break;
      case 'x': {
        int code = 0;
        while (i + 1 < s.size() && hexDigit(s[i + 1]) >= 0) code = code * 16 + hexDigit(s[++i]);
        value.push_back(static_cast<char>(code));
        break;
      }
      default:
        value.push_back(e);
    }
  }
  ++i;
  return value;
}

}  // namespace

std::vector<Specifier> specifiersOf(std::string_view text) {
  std::vector<Specifier> found;
  int next = 1;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') continue;
    std::size_t j = i + 1;
    if (j < text.size() && text[j] == '%') {
      i = j;
      continue;
    }
    int position = 0;
    std::size_t k = j;
    while (k < text.size() && std::isdigit(static_cast<unsigned char>(text[k]))) {
      position = position * 10 + (text[k] - '0');
      ++k;
    }
    if (k < text.size() && text[k] == '$' && k > j) {
      j = k + 1;
    } else {
      position = next++;
    }
    while (j < text.size() &&
           std::string_view("-+ #0123456789.hlqLzjt").find(text[j]) != std::string_view::npos) {
      ++j;
    }
    if (j < text.size()) found.push_back({position, text[j]});
    i = j;
  }
  return found;
}

bool specifiersCompatible(std::string_view key, std::string_view translation, std::string& why) {
  std::map<int, char> keyKinds;
  for (const Specifier& s : specifiersOf(key)) keyKinds.emplace(s.position, kindOf(s.conversion));
  std::map<int, char> kinds;
  for (const Specifier& s : specifiersOf(translation)) {
    const char kind = kindOf(s.conversion);
    auto [it, added] = kinds.emplace(s.position, kind);
    if (!added && it->second != kind) {
      why = "uses argument " + std::to_string(s.position) + " as two kinds";
      return false;
    }
  }
  if (kinds != keyKinds) {
    why = "its arguments (" + std::to_string(kinds.size()) + ") differ from the key's (" +
          std::to_string(keyKinds.size()) + ") in number, position or kind";
    return false;
  }
  if (!keyKinds.empty() && !platform::tryFormat(translation, sampleArguments(keyKinds))) {
    why = "cannot format the key's arguments";
    return false;
  }
  return true;
}

KeySet scanSourceText(std::string_view rawSource) {
  static const std::regex call(
      R"(\b(lookUp|lookUpFormat|lookUpSpecial|lookUpSpecialFormat|localizedString|)"
      R"(specialLocalizedString|localizedStringForKey|localized|specialLocalized|)"
      R"(formatLocalized)\s*\()");
  const std::string source = withoutComments(rawSource);
  KeySet keys;
  for (std::sregex_iterator it(source.begin(), source.end(), call), end; it != end; ++it) {
    const std::string name = (*it)[1].str();
    std::size_t i = static_cast<std::size_t>(it->position(0) + it->length(0));
    // The literals of the first argument at its own level ("a" and "b" of `x ? "a" : "b"`), and
    // the whole argument list, to see which table the call names.
    std::vector<std::string> literals;
    bool lastWasLiteral = false;
    bool inFirst = true;
    int depth = 0;
    const std::size_t start = i;
    for (; i < source.size(); ++i) {
      const char c = source[i];
      if (c == '"') {
        const bool raw = i > 0 && source[i - 1] == 'R';
        if (raw) {
          const std::size_t open = source.find('(', i);
          if (open == std::string::npos) break;
          const std::string close = ")" + source.substr(i + 1, open - i - 1) + "\"";
          const std::size_t stop = source.find(close, open);
          if (stop == std::string::npos) break;
          i = stop + close.size() - 1;
          lastWasLiteral = false;
          continue;
        }
        std::string value = readLiteral(source, i);
        --i;
        if (inFirst && depth == 0) {
          if (lastWasLiteral) {
            literals.back() += value;
          } else {
            literals.push_back(std::move(value));
          }
        }
        lastWasLiteral = true;
        continue;
      }
      if (c == '\'') {
        for (++i; i < source.size() && source[i] != '\''; ++i) {
          if (source[i] == '\\') ++i;
        }
        lastWasLiteral = false;
        continue;
      }
      if (std::isspace(static_cast<unsigned char>(c))) continue;
      lastWasLiteral = false;
      if (c == '(' || c == '[' || c == '{') ++depth;
      if (c == ')' || c == ']' || c == '}') {
        if (depth == 0) break;
        --depth;
      }
      if (c == ',' && depth == 0) inFirst = false;
      if (c == ';') break;
    }
    if (literals.empty()) continue;
    const std::string_view arguments(source.data() + start, i - start);
    const bool special = name == "lookUpSpecial" || name == "lookUpSpecialFormat" ||
                         name == "specialLocalizedString" || name == "specialLocalized" ||
                         arguments.find("kNVSpecialStringTable") != std::string_view::npos;
    for (auto& literal : literals) {
      keys.emplace(special ? "Special" : std::string(kDefaultTable), std::move(literal));
    }
  }
  return keys;
}

KeySet scanSourceKeys(const std::string& sourceDirectory) {
  KeySet keys;
  std::error_code ec;
  for (fs::recursive_directory_iterator it(sourceDirectory, ec), end; !ec && it != end;
       it.increment(ec)) {
    const fs::path& path = it->path();
    if (path.extension() != ".cpp" && path.extension() != ".h") continue;
    std::ifstream in(path, std::ios::binary);
    if (!in) continue;
    std::stringstream text;
    text << in.rdbuf();
    // Only files that see the localized lookups: others have look-up functions of their own
    // (time zones by name, for one).
    const std::string content = text.str();
    if (content.find("/localized_string.h\"") == std::string::npos &&
        content.find("/user_language.h\"") == std::string::npos) {
      continue;
    }
    keys.merge(scanSourceText(content));
  }
  return keys;
}

namespace {

KeySet& recorded() {
  static KeySet keys;
  return keys;
}

void recordLookup(std::string_view key, std::string_view table) {
  recorded().emplace(tableName(table), std::string(key));
}

// Describes `text` every way the library can: by default and due date, with and without the day
// details and the repetition count, as an interval, after completion and on another calendar.
void describeEveryWay(std::string_view text, platform::Date date) {
  SVRecurrenceError error;
  const auto rule = SVRecurrenceRule::ruleWithIcalString(text, &error);
  if (!rule) return;
  for (const auto from : {SVRecurrenceFromDefault, SVRecurrenceFromDueDate}) {
    for (const bool count : {false, true}) {
      for (const bool details : {false, true}) {
        Repeat::repeatDescriptionWithRRuleByDefaultOrDueDate(rule, from, count, date, details);
      }
    }
  }
  Repeat::intervalDescriptionWithRRule(rule);
  Repeat::repeatDescriptionWithRRuleByCompletedTime(rule, true);
  Repeat::repeatDescriptionWithRRuleByCompletedTime(rule, false);
  Repeat::repeatDescriptionWithLunarRRule(rule, date);
}

}  // namespace

KeySet recordLibraryKeys() {
  // A container of its own, so that no stored setting changes what the library looks up.
  const fs::path container =
      fs::temp_directory_path() / ("strings_check-" + std::to_string(::getpid()));
  std::error_code ignored;
  fs::create_directories(container, ignored);
  // Start the language layer in the environment in force, so that its process-wide observer
  // stays on the real container rather than the temporary one.
  BundleEx::installOnMainBundle();
  const platform::Environment previous = *platform::currentEnvironment();
  platform::modifyEnvironment([&](platform::Environment& env) {
    env.appGroupContainerDirectory = container.string();
    env.preferredLanguages = {"en"};
  });
  const detail::LookupObserver previousObserver = detail::lookupObserver();
  detail::setLookupObserver(&recordLookup);
  recorded().clear();

  const platform::Calendar gregorian = platform::Calendar::currentGregorian();
  platform::DateComponents parts;
  parts.year = 2024;
  parts.month = 3;
  parts.day = 14;
  const platform::Date date = gregorian.dateFromComponents(parts).value_or(platform::Date());

  static constexpr std::string_view kDays[] = {"SU", "MO", "TU", "WE", "TH", "FR", "SA"};
  std::vector<std::string> rules = {
      "FREQ=DAILY",
      "FREQ=DAILY;INTERVAL=3",
      "FREQ=DAILY;X-NV-OFFICIAL=WORKDAY",
      "FREQ=DAILY;X-NV-OFFICIAL=HOLIDAY",
      "FREQ=DAILY;X-NV-DATES=20240101,20240202",
      "FREQ=WEEKLY",
      "FREQ=MONTHLY",
      "FREQ=MONTHLY;BYMONTHDAY=1,15,-1",
      "FREQ=MONTHLY;BYMONTHDAY=1,15,28",
      "FREQ=YEARLY",
      "FREQ=YEARLY;BYMONTH=3;BYMONTHDAY=-1",
      "FREQ=YEARLY;BYMONTH=3;BYMONTHDAY=5",
  };
  for (int cycle = 0; cycle < 4; ++cycle) {
    rules.push_back("FREQ=DAILY;X-NV-EBBINGHAUS=" + std::to_string(cycle));
  }
  for (const std::string interval : {"1", "2"}) {
    for (const std::string days :
         {"", "MO,TU,WE,TH,FR", "SA,SU", "SU,MO,TU,WE,TH,FR,SA", "MO,WE"}) {
      rules.push_back("FREQ=WEEKLY;INTERVAL=" + interval + (days.empty() ? "" : ";BYDAY=" + days));
    }
    rules.push_back("FREQ=MONTHLY;INTERVAL=" + interval + ";BYMONTHDAY=5");
    rules.push_back("FREQ=YEARLY;INTERVAL=" + interval + ";BYMONTH=2;BYDAY=1MO");
  }
  for (int day = -1; day <= 31; ++day) {
    if (day != 0) rules.push_back("FREQ=MONTHLY;BYMONTHDAY=" + std::to_string(day));
  }
  for (const int nth : {1, 2, 3, 4, 5, -1}) {
    for (const std::string_view day : kDays) {
      rules.push_back("FREQ=MONTHLY;BYDAY=" + std::to_string(nth) + std::string(day));
    }
  }
  for (int month = 1; month <= 12; ++month) {
    rules.push_back("FREQ=YEARLY;BYMONTH=" + std::to_string(month) + ";BYDAY=2TU");
  }
  for (const std::string scale :
       {"CHINESE", "DANGI", "HEBREW", "INDIAN", "PERSIAN", "ISLAMIC-CIVIL", "ISLAMIC-TBLA",
        "ISLAMIC-UMALQURA", "CHINESE;X-NV-CALENDAR=VIETNAM"}) {
    for (const std::string shape :
         {"FREQ=MONTHLY", "FREQ=MONTHLY;BYMONTHDAY=-1", "FREQ=MONTHLY;BYMONTHDAY=5", "FREQ=YEARLY",
          "FREQ=YEARLY;BYMONTH=1;BYMONTHDAY=-1", "FREQ=WEEKLY"}) {
      rules.push_back("RSCALE=" + scale + ";" + shape);
    }
  }
  for (const std::string& rule : rules) describeEveryWay(rule, date);
  Repeat::repeatDescriptionWithRRuleByDefaultOrDueDate(nullptr, SVRecurrenceFromDefault, date);
  Repeat::repeatDescriptionWithRRuleByCompletedTime(nullptr, true);
  Repeat::repeatDescriptionWithLunarRRule(nullptr, date);

  for (const auto& type : NVCalendarDateType::allCases()) type->getDisplayName();
  NVCalendarDateType::initWithRawValue("unknown")->getDisplayName();
  for (int day = 1; day <= 31; ++day) {
    parts.day = day;
    if (const auto dayDate = gregorian.dateFromComponents(parts)) {
      NVDateUtils::localizedStringFormatD(*dayDate);
    }
  }
  for (const auto& entry : SmartProject::nameTable()) {
    SmartProject::nameForSmartProjectID(entry.identifier);
  }
  SmartProject::nameForSmartProjectID("inbox");
  for (const std::string_view permission :
       {NVProjectPermissionWrite, NVProjectPermissionComment, NVProjectPermissionRead}) {
    NVProjectPermission{std::string(permission)}.localizedDescription();
  }
  detail::setLookupObserver(previousObserver);
  platform::setEnvironment(previous);
  fs::remove_all(container, ignored);
  return recorded();
}

std::vector<std::string> checkBundle(const std::string& bundleDirectory, const KeySet& keys,
                                     std::vector<std::string>& notes) {
  std::vector<std::string> problems;
  std::map<std::string, std::map<std::string, bool>> used;  // table -> key -> counted by %d first
  for (const auto& [table, key] : keys) {
    const auto specifiers = specifiersOf(key);
    const bool counted = std::any_of(specifiers.begin(), specifiers.end(), [](const Specifier& s) {
      return s.position == 1 && (s.conversion == 'd' || s.conversion == 'i');
    });
    used[table][key] = counted;
  }

  std::vector<std::string> codes;
  std::error_code ec;
  for (fs::directory_iterator it(bundleDirectory, ec), end; !ec && it != end; it.increment(ec)) {
    const std::string name = it->path().filename().string();
    if (it->is_directory() && name.size() > 6 && name.ends_with(".lproj")) {
      codes.push_back(name.substr(0, name.size() - 6));
    }
  }
  if (ec) {
    problems.push_back(bundleDirectory + ": cannot be read (" + ec.message() + ")");
    return problems;
  }
  std::sort(codes.begin(), codes.end());
  if (std::find(codes.begin(), codes.end(), "en") == codes.end()) {
    problems.push_back("en: the English folder is missing");
  }

  for (const std::string& code : codes) {
    const fs::path folder = fs::path(bundleDirectory) / (code + ".lproj");
    std::set<std::string> tables(std::begin(kRequiredTables), std::end(kRequiredTables));
    for (fs::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec)) {
      if (it->path().extension() == ".strings") tables.insert(it->path().stem().string());
    }
    const auto categories = platform::pluralCategories(code);
    for (const std::string& table : tables) {
      const std::string where = code + "/" + table + ": ";
      const fs::path path = folder / (table + ".strings");
      if (!fs::is_regular_file(path)) {
        problems.push_back(where + "the file is missing");
        continue;
      }
      const platform::StringsTable parsed = platform::readStringsTableFile(path.string());
      if (parsed.error) {
        problems.push_back(where + platform::describeError(parsed));
        continue;
      }
      // Duplicates: the reader keeps the last of equal keys, so count the entries line by line.
      std::ifstream in(path, std::ios::binary);
      std::map<std::string, int> seen;
      for (std::string line; std::getline(in, line);) {
        const platform::StringsTable one = platform::parseStringsTable(line);
        if (one.error) continue;
        for (const auto& entry : one.entries) {
          if (++seen[entry.first] == 2) problems.push_back(where + "\"" + entry.first + "\" twice");
        }
      }
      const auto& tableKeys = used[table];
      for (const auto& [key, text] : parsed.entries) {
        const std::size_t separator = key.find(platform::kPluralVariantSeparator);
        const std::string base = key.substr(0, separator);
        const auto found = tableKeys.find(base);
        if (found == tableKeys.end()) {
          problems.push_back(where + "\"" + base + "\" is a key the library never looks up");
          continue;
        }
        if (separator != std::string::npos) {
          const std::string category =
              key.substr(separator + platform::kPluralVariantSeparator.size());
          if (!found->second) {
            problems.push_back(where + "\"" + key + "\": only keys counted by a first %d " +
                               "have plural variants");
          } else if (std::find(categories.begin(), categories.end(), category) ==
                     categories.end()) {
            problems.push_back(where + "\"" + key + "\": ICU has no plural category \"" + category +
                               "\" for " + code);
          }
        }
        std::string why;
        if (!specifiersCompatible(base, text, why)) {
          problems.push_back(where + "\"" + key + "\" = \"" + text + "\": " + why);
        }
        if (hasDirectionMark(text)) {
          problems.push_back(where + "\"" + key + "\" holds a direction mark");
        }
        if (code == "en" && separator == std::string::npos && text == key &&
            key.find('_') != std::string::npos) {
          problems.push_back(where + "\"" + key + "\" needs an English text of its own");
        }
      }
      for (const auto& [key, counted] : tableKeys) {
        if (!parsed.find(key)) problems.push_back(where + "lacks \"" + key + "\"");
      }
      // Counts from 2 to 110 falling into several categories: the counted keys likely need
      // variants. Only noted, since some (a day number) read the same for every count.
      std::set<std::string> spread;
      for (int n = 2; n <= 110; ++n) spread.insert(platform::pluralCategory(code, n));
      if (spread.size() > 1) {
        std::string bare;
        for (const auto& [key, counted] : tableKeys) {
          if (!counted || !parsed.find(key)) continue;
          const std::string prefix = key + std::string(platform::kPluralVariantSeparator);
          const auto next = parsed.entries.lower_bound(prefix);
          const bool hasVariant = next != parsed.entries.end() && next->first.starts_with(prefix);
          if (!hasVariant) bare += (bare.empty() ? "\"" : ", \"") + key + "\"";
        }
        if (!bare.empty()) notes.push_back(where + "counted keys without plural variants: " + bare);
      }
    }
  }

  // Each language the user can choose finds its folder under its own code.
  const auto bundle = platform::Bundle::atPath(bundleDirectory);
  const auto localizations = bundle ? bundle->localizations() : std::vector<std::string>{};
  std::set<std::string> offered;
  for (const auto& entry : NVUserLanguage::supportedLanguages()) {
    const std::string code(entry.code);
    offered.insert(code);
    if (std::find(codes.begin(), codes.end(), code) == codes.end()) {
      notes.push_back(code + ": no folder yet");
      continue;
    }
    const auto chosen =
        platform::Bundle::preferredLocalizationsFromArray(localizations, {code}, "en");
    if (chosen != std::vector<std::string>{code} || !bundle->bundleForLocalization(code)) {
      problems.push_back(code + ": the bundle does not pick the folder " + code + ".lproj");
    }
  }
  for (const std::string& code : codes) {
    if (!offered.count(code))
      notes.push_back(code + ": a folder of no language the user can choose");
  }
  return problems;
}

}  // namespace norvik::strings_check
