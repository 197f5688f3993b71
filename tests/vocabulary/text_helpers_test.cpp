#include "norvik/vocabulary/text_helpers.h"

#include <gtest/gtest.h>
#include <unicode/regex.h>
#include <unicode/unistr.h>

#include <filesystem>
#include <fstream>
#include <list>
#include <map>
#include <memory>
#include <random>

#include "norvik/platform/environment.h"
#include "norvik/settings/registry.h"
#include "norvik/vocabulary/smart_projects.h"
#include "support/test_support.h"

namespace norvik {
namespace {

// A main bundle with an English table that marks every translation, so a test can tell a
// looked-up text from its key.
class LocalizedBundle : public ::testing::Test {
 protected:
  void SetUp() override {
    std::filesystem::create_directories(bundle_.path() + "/en.lproj");
    std::ofstream(bundle_.path() + "/en.lproj/Localizable.strings")
        << "\"Inbox\" = \"[Inbox]\";\n\"All\" = \"[All]\";\n\"Next 7 Days\" = \"[Next 7 Days]\";\n"
        << "\"project_Won't do\" = \"[Won't Do]\";\n\"Can Edit\" = \"[Can Edit]\";\n"
        << "\"Can Comment\" = \"[Can Comment]\";\n\"Read Only\" = \"[Read Only]\";\n"
        << "\"md_attachment_placeholder_image\" = \"[Image]\";\n"
        << "\"md_attachment_placeholder_file\" = \"[File]\";\n";
    std::ofstream(bundle_.path() + "/en.lproj/Special.strings") << "\"、\" = \", \";\n";
    std::ofstream(bundle_.path() + "/Info.plist")
        << "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>CFBundleDevelopmentRegion"
        << "</key><string>en</string></dict></plist>\n";
    platform::modifyEnvironment(
        [&](platform::Environment& e) { e.mainBundlePath = bundle_.path(); });
  }

  testing::TempDir bundle_;
  platform::ScopedEnvironment scope_{testing::baseEnvironment()};
};

TEST(TextHelpers, SearchKeywordsSplitOnlyAtBlanks) {
  EXPECT_EQ(nv_searchKeywords_array("  buy   milk \t"), (std::vector<std::string>{"buy", "milk"}));
  EXPECT_EQ(nv_searchKeywords("milk milk"), (std::set<std::string>{"milk"}));
  EXPECT_EQ(nv_searchKeywords_array("b a b A"), (std::vector<std::string>{"b", "a", "A"}));
  EXPECT_EQ(nv_searchKeywords_array("tea\tcake"), (std::vector<std::string>{"tea\tcake"}));
  EXPECT_TRUE(nv_searchKeywords("").empty());
  EXPECT_TRUE(nv_searchKeywords_array(" \t ").empty());
}

TEST(TextHelpers, DefaultAvatarAddresses) {
  EXPECT_TRUE(isDefaultAvatarURL("https://www.lumo.cn/static/img/avatar-3.png"));
  EXPECT_TRUE(isDefaultAvatarURL("https://www.lumo.cn/static/img/avatar.png"));
  EXPECT_TRUE(isDefaultAvatarURL("https://cdn.example.com/image/avatar.png"));
  EXPECT_FALSE(isDefaultAvatarURL("https://wwwXlumo.cn/static/img/avatar.png"));  // dots escaped
  EXPECT_FALSE(isDefaultAvatarURL("https://www.lumo.cn/static/img/avatar.jpg"));
  EXPECT_FALSE(isDefaultAvatarURL("https://cdn.example.com/image/avatar.png?x=1"));
}

TEST(TextHelpers, PlaceholderEmailsKeepTheirLooseDots) {
  EXPECT_TRUE(isFakedEmailFormat("abc@user.norvik.com"));
  EXPECT_TRUE(isFakedEmailFormat("a.b-c+d@user.lumocn.com"));
  EXPECT_TRUE(isFakedEmailFormat("abc@user..com"));
  EXPECT_FALSE(isFakedEmailFormat("abc@user.com"));      // "user", one character, one more, "com"
  EXPECT_TRUE(isFakedEmailFormat("abc@userXlumoYcom"));  // unescaped dots match anything
  EXPECT_FALSE(isFakedEmailFormat("abc@user.norvik.com.cn"));
  EXPECT_FALSE(isFakedEmailFormat("abc@users.example.com"));
  EXPECT_FALSE(isFakedEmailFormat("@user.com"));
}

TEST(TextHelpers, TrimMarkdownLinkKeepsLinkText) {
  EXPECT_EQ(trimMarkdownLink("[a](x) and [b](y)"), "a and b");
  EXPECT_EQ(trimMarkdownLink("no links [here]"), "no links [here]");
  EXPECT_EQ(trimMarkdownLink("[é](ü) [](z)"), "é [](z)");
  EXPECT_EQ(trimMarkdownLink(""), "");
}

TEST(TextHelpers, ApplicationBundleIdentifier) {
  EXPECT_TRUE(isApplicationBundleID("app.norvik.taskcalendar"));
  EXPECT_FALSE(isApplicationBundleID("app.norvik.taskcalendar.widget"));
  EXPECT_FALSE(isApplicationBundleID("App.norvik.taskcalendar"));
}

TEST(TextHelpers, CollectionHelpersOverAnyRange) {
  const std::list<std::string> words{"apple", "avocado", "banana", "", "blueberry"};
  auto byLetter = group(words, [](const std::string& w) {
    return w.empty() ? std::nullopt : std::optional<char>(w[0]);
  });
  EXPECT_EQ(byLetter.size(), 2u);
  EXPECT_EQ(byLetter['b'], (std::vector<std::string>{"banana", "blueberry"}));
  auto byFirst = toDictionary(words, [](const std::string& w) { return w.substr(0, 1); });
  EXPECT_EQ(byFirst["a"], "avocado");  // the later element wins
  EXPECT_EQ(byFirst[""], "");
  auto lengths = toDictionary(
      std::vector<int>{1, 2, 3, 4}, [](int i) { return i % 2; }, [](int i) { return i * 10; });
  EXPECT_EQ(lengths[0], 40);
  EXPECT_EQ(lengths[1], 30);
  int seen = 0;
  EXPECT_FALSE(every(std::vector<int>{2, 3, 4}, [&](int i) {
    ++seen;
    return i % 2 == 0;
  }));
  EXPECT_EQ(seen, 2);
  EXPECT_TRUE(every(std::vector<int>{}, [](int) { return false; }));
  EXPECT_EQ(count(words, [](const std::string& w) { return w.starts_with('a'); }), 2u);
}

TEST_F(LocalizedBundle, PermissionsAndLocalizedKeys) {
  EXPECT_EQ(NVProjectPermission{"comment"}.localizedDescription(), "[Can Comment]");
  EXPECT_EQ(NVProjectPermission{"read"}.localizedDescription(), "[Read Only]");
  EXPECT_EQ(NVProjectPermission{"write"}.localizedDescription(), "[Can Edit]");
  EXPECT_EQ(NVProjectPermission{"owner"}.localizedDescription(), "[Can Edit]");
  EXPECT_EQ(NVProjectPermission{"Read"}.localizedDescription(), "[Can Edit]");
  EXPECT_EQ(localized("Inbox"), "[Inbox]");
  EXPECT_EQ(localized("not a key"), "not a key");
  EXPECT_EQ(specialLocalized("、"), ", ");
}

TEST_F(LocalizedBundle, MarkdownAttachmentsBecomePlaceholders) {
  const std::string content =
      "Plan ![image](64f0a1/photo.jpg) and ![FILE](64f0a2/report.pdf) see [site](https://x.org) "
      "![logo](https://x.org/l.png)";
  EXPECT_EQ(processingMarkdownAttachmentsAsTaskContent(content),
            "Plan [Image] and [File] see [site](https://x.org) ![logo](https://x.org/l.png)");
  EXPECT_EQ(processingMarkdownAttachmentsWithoutLinkImage(content),
            "Plan [Image] and [File] see [site](https://x.org) ");
  EXPECT_EQ(replacingMarkdownElementsAsTaskContent(content),
            "Plan [Image] and [File] see site (https://x.org) ![logo](https://x.org/l.png)");
  EXPECT_EQ(processingMarkdownElementsAsTaskContent("[a](b) ![file](id/x.txt) ![c](d)"),
            "a [File] ![c](d)");
  EXPECT_EQ(replacingMarkdownElementsAsTaskContent("[https://x.org](https://x.org)"),
            "https://x.org");
  EXPECT_EQ(processingMarkdownAttachmentsAsTaskContentByFileName(
                content, [](std::string_view name) { return "<" + std::string(name) + ">"; }),
            "Plan <photo.jpg> and <report.pdf> see [site](https://x.org) "
            "![logo](https://x.org/l.png)");
  EXPECT_EQ(processingMarkdownAttachmentsAsTaskContent("![image](/abs/path.png)"),
            "![image](/abs/path.png)");
}

// The link helpers were first written with these regular expressions; the linear scanners that
// replaced them must give the same text for every input. `address` writes a link as
// "text (address)" (the address alone when both are the same); otherwise the first group, or
// nothing for a pattern without groups, replaces each match.
std::string regexReference(const char* pattern, const std::string& text, bool address = false) {
  UErrorCode status = U_ZERO_ERROR;
  UParseError parseError{};
  std::unique_ptr<icu::RegexPattern> compiled(
      icu::RegexPattern::compile(icu::UnicodeString::fromUTF8(pattern), 0, parseError, status));
  const icu::UnicodeString subject = icu::UnicodeString::fromUTF8(text);
  std::unique_ptr<icu::RegexMatcher> matcher(compiled->matcher(subject, status));
  icu::UnicodeString result;
  int32_t copied = 0;
  bool matched = false;
  while (matcher->find(status)) {
    matched = true;
    result.append(subject, copied, matcher->start(status) - copied);
    icu::UnicodeString first = matcher->groupCount() > 0 ? matcher->group(1, status) : "";
    if (address) {
      icu::UnicodeString second = matcher->group(2, status);
      if (first != second) first.append(" (").append(second).append(")");
    }
    result.append(first);
    copied = matcher->end(status);
  }
  if (!matched) return text;
  result.append(subject, copied, subject.length() - copied);
  std::string out;
  return result.toUTF8String(out);
}

TEST_F(LocalizedBundle, LinkHelpersAgreeWithTheRegularExpressionsOnRandomAndAdversarialText) {
  const char* lazyLink = R"(\[(.+?)\]\(.+?\))";
  const char* link = R"((?<!!)\[([^\]]+)\]\(([^()\s]+)\))";
  const char* image = R"(!\[[^\]]*\]\([^()\s]+\))";
  // Pieces that make and break links: brackets, line ends of every kind, white space that ends
  // an address, characters outside the Basic Multilingual Plane, and attachments.
  const std::vector<std::string> pieces = {"[",
                                           "]",
                                           "(",
                                           ")",
                                           "!",
                                           "](",
                                           "a",
                                           "b",
                                           "x/y",
                                           " ",
                                           "\t",
                                           "\n",
                                           "\r",
                                           "\v",
                                           "\f",
                                           "\u0085",
                                           "\u2028",
                                           "\u2029",
                                           "\u00a0",
                                           "\u3000",
                                           "\u200b",
                                           "\u1680",
                                           "é",
                                           "😀",
                                           "![image](id/p.png)",
                                           "![file](id/r.pdf)",
                                           "[a](b)",
                                           "[x](x)",
                                           "\xff"};
  std::vector<std::string> corpus = {"",
                                     std::string(500, '['),
                                     "!" + std::string(300, '['),
                                     std::string(200, '[') + "](x)",
                                     "[a](" + std::string(200, ')'),
                                     "[" + std::string(100, ']') + "(" + std::string(100, ')')};
  std::string repeated;
  for (int i = 0; i < 100; ++i) repeated += "[a](b";
  corpus.push_back(repeated);
  std::mt19937 random(2025);
  for (int i = 0; i < 20000; ++i) {
    std::string text;
    for (int n = static_cast<int>(random() % 24); n > 0; --n)
      text += pieces[random() % pieces.size()];
    corpus.push_back(text);
  }
  for (const std::string& text : corpus) {
    ASSERT_EQ(trimMarkdownLink(text), regexReference(lazyLink, text)) << text;
    const std::string attachments = processingMarkdownAttachmentsAsTaskContent(text);
    ASSERT_EQ(processingMarkdownElementsAsTaskContent(text), regexReference(link, attachments))
        << text;
    ASSERT_EQ(replacingMarkdownElementsAsTaskContent(text), regexReference(link, attachments, true))
        << text;
    ASSERT_EQ(processingMarkdownAttachmentsWithoutLinkImage(text),
              regexReference(image, attachments))
        << text;
  }
}

TEST_F(LocalizedBundle, SmartListNamesAndInboxes) {
  NVUserDefaultManager::shared().setCurrentInboxID("u42box");
  EXPECT_EQ(SmartProject::nameForSmartProjectID("localInboxID"), "[Inbox]");
  EXPECT_EQ(SmartProject::nameForSmartProjectID("u42box"), "[Inbox]");
  EXPECT_EQ(SmartProject::nameForSmartProjectID("Inbox123"), "[Inbox]");
  EXPECT_EQ(SmartProject::nameForSmartProjectID("INBOX"), "[Inbox]");
  EXPECT_EQ(SmartProject::nameForSmartProjectID(kNVNext7DaysSmartProjectID), "[Next 7 Days]");
  EXPECT_EQ(SmartProject::nameForSmartProjectID(kNVAbandonedSmartProjectID), "[Won't Do]");
  // A display key without a translation shows as the key.
  EXPECT_EQ(SmartProject::nameForSmartProjectID(kNVHabitSmartProjectID), "Habit");
  EXPECT_EQ(SmartProject::nameForSmartProjectID("smart_all_project_id"), "");
  EXPECT_EQ(SmartProject::nameForSmartProjectID("inbo"), "");
  EXPECT_EQ(SmartProject::nameForSmartProjectID(""), "");
}

}  // namespace
}  // namespace norvik
