// The shipped string tables against the list of keys the library looks up.
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <set>
#include <vector>

#include "norvik/platform/format.h"
#include "norvik/platform/strings_table.h"
#include "platform/localized_keys.h"
#include "support/test_support.h"

namespace norvik {
namespace {

namespace fs = std::filesystem;

// One printf specifier: its argument position (1-based) and conversion character.
struct Specifier {
  int position;
  char conversion;
};

// The specifiers of a format text, positions resolved; "%%" takes no argument.
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

// Sample arguments of the kinds a key's specifiers take, in position order.
std::vector<platform::FormatArgument> argumentsFor(const std::vector<Specifier>& specifiers) {
  std::map<int, char> byPosition;
  for (const auto& s : specifiers) byPosition.emplace(s.position, s.conversion);
  std::vector<platform::FormatArgument> arguments;
  for (const auto& [position, conversion] : byPosition) {
    if (std::string_view("diuxXoc").find(conversion) != std::string_view::npos) {
      arguments.emplace_back(7);
    } else if (std::string_view("fFeEgGaA").find(conversion) != std::string_view::npos) {
      arguments.emplace_back(1.5);
    } else {
      arguments.emplace_back("text");
    }
  }
  return arguments;
}

std::set<int> positionsOf(const std::vector<Specifier>& specifiers) {
  std::set<int> positions;
  for (const auto& s : specifiers) positions.insert(s.position);
  return positions;
}

std::string tableName(std::string_view table) {
  return table.empty() ? "Localizable" : std::string(table);
}

class StringTablesTest : public ::testing::Test {
 protected:
  void SetUp() override {
    bundle_ = testing::baseEnvironment().mainBundlePath;
    for (const auto& entry : fs::directory_iterator(bundle_)) {
      const std::string name = entry.path().filename().string();
      if (name.ends_with(".lproj")) localizations_.push_back(name.substr(0, name.size() - 6));
    }
  }
  platform::StringsTable table(const std::string& localization, std::string_view name) {
    return platform::readStringsTableFile(bundle_ + "/" + localization + ".lproj/" +
                                          tableName(name) + ".strings");
  }
  std::string bundle_;
  std::vector<std::string> localizations_;
};

TEST_F(StringTablesTest, EnglishHoldsEveryKeyTheLibraryLooksUp) {
  std::map<std::string, platform::StringsTable> english;
  std::size_t keys = 0;
  for (const auto& group : detail::kLocalizedKeyGroups) {
    for (const auto& key : group.keys) {
      auto [it, added] = english.try_emplace(tableName(key.table));
      if (added) {
        it->second = table("en", key.table);
        ASSERT_FALSE(it->second.error) << it->first << ": " << describeError(it->second);
      }
      const std::string* text = it->second.find(key.key);
      EXPECT_NE(text, nullptr) << group.module << " looks up \"" << key.key << "\" in " << it->first
                               << ", which English lacks";
      if (text && (key.key.find('_') != std::string_view::npos)) {
        // A key that is not readable English has an English text of its own.
        EXPECT_NE(*text, key.key) << key.key;
      }
      ++keys;
    }
  }
  EXPECT_GT(keys, 150u);
}

TEST_F(StringTablesTest, TranslationsFormatTheKeysArguments) {
  const std::set<std::string> required{"en", "zh-Hans", "zh-Hant", "ja", "ko",
                                       "de", "fr",      "es",      "ru", "pt-BR"};
  for (const auto& code : required) {
    EXPECT_NE(std::find(localizations_.begin(), localizations_.end(), code), localizations_.end())
        << code;
  }
  for (const auto& code : localizations_) {
    std::map<std::string, platform::StringsTable> tables;
    for (const auto& group : detail::kLocalizedKeyGroups) {
      for (const auto& key : group.keys) {
        auto [it, added] = tables.try_emplace(tableName(key.table));
        if (added) {
          it->second = table(code, key.table);
          // A missing table is allowed (lookups fall back to English); a broken one is not.
          EXPECT_FALSE(it->second.error && it->second.error->line > 0)
              << code << "/" << it->first << ": " << describeError(it->second);
        }
        const std::string* text = it->second.find(key.key);
        if (!text) {
          if (required.count(code)) ADD_FAILURE() << code << " lacks \"" << key.key << "\"";
          continue;
        }
        const auto keySpecifiers = specifiersOf(key.key);
        if (keySpecifiers.empty()) {
          EXPECT_TRUE(specifiersOf(*text).empty())
              << code << ": \"" << *text << "\" takes arguments that \"" << key.key
              << "\" is never given";
          continue;
        }
        const auto arguments = argumentsFor(keySpecifiers);
        ASSERT_TRUE(platform::tryFormat(key.key, arguments)) << key.key;
        EXPECT_TRUE(platform::tryFormat(*text, arguments))
            << code << ": \"" << *text << "\" cannot format the arguments of \"" << key.key << "\"";
        EXPECT_EQ(positionsOf(specifiersOf(*text)), positionsOf(keySpecifiers))
            << code << ": \"" << *text << "\" drops or adds arguments of \"" << key.key << "\"";
      }
    }
  }
}

TEST(SpecifierCheck, CatchesTranslationsThatCannotFormat) {
  // The checker itself: a translation with the wrong kind or a dropped argument is caught.
  const auto key = specifiersOf("Every %d weeks on %@");
  const auto arguments = argumentsFor(key);
  EXPECT_TRUE(platform::tryFormat("%2$@, alle %1$d Wochen", arguments));
  EXPECT_FALSE(platform::tryFormat("Alle %@ Wochen am %d", arguments));
  EXPECT_NE(positionsOf(specifiersOf("Alle Wochen am %2$@")), positionsOf(key));
  EXPECT_TRUE(specifiersOf("100%% sicher").empty());
}

}  // namespace
}  // namespace norvik
