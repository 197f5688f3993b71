#include "norvik/vocabulary/text_helpers.h"

#include <unicode/regex.h>
#include <unicode/unistr.h>

#include <memory>

#include "norvik/environment/site_domain.h"
#include "norvik/platform/localized_string.h"
#include "platform/icu_support.h"

namespace norvik {
namespace {

using detail::fromUtf8;
using detail::toUtf8;

// A pattern compiled once; a null pointer when it does not compile. Compiled patterns are
// immutable, so every thread may make matchers from it.
using Pattern = std::unique_ptr<const icu::RegexPattern>;

Pattern compile(const icu::UnicodeString& source) {
  UErrorCode status = U_ZERO_ERROR;
  UParseError parseError{};
  Pattern pattern(icu::RegexPattern::compile(source, 0, parseError, status));
  return U_SUCCESS(status) ? std::move(pattern) : nullptr;
}

bool findsIn(const Pattern& pattern, std::string_view text) {
  if (!pattern) return false;
  const icu::UnicodeString subject = fromUtf8(text);
  UErrorCode status = U_ZERO_ERROR;
  std::unique_ptr<icu::RegexMatcher> matcher(pattern->matcher(subject, status));
  return U_SUCCESS(status) && matcher->find(status) && U_SUCCESS(status);
}

// Every match of `pattern` in `text` replaced by what `replacement` makes of the matcher; the
// text unchanged when the pattern is missing or nothing matches.
template <class Replacement>
std::string replaceMatches(const Pattern& pattern, std::string_view text, Replacement replacement) {
  if (!pattern) return std::string(text);
  const icu::UnicodeString subject = fromUtf8(text);
  UErrorCode status = U_ZERO_ERROR;
  std::unique_ptr<icu::RegexMatcher> matcher(pattern->matcher(subject, status));
  if (U_FAILURE(status)) return std::string(text);
  icu::UnicodeString result;
  int32_t copied = 0;
  bool matched = false;
  while (matcher->find(status) && U_SUCCESS(status)) {
    const int32_t start = matcher->start(status);
    const int32_t end = matcher->end(status);
    if (U_FAILURE(status)) break;
    std::optional<icu::UnicodeString> replaced = replacement(*matcher);
    if (!replaced) continue;
    matched = true;
    result.append(subject, copied, start - copied);
    result.append(*replaced);
    copied = end;
  }
  if (!matched) return std::string(text);
  result.append(subject, copied, subject.length() - copied);
  return toUtf8(result);
}

icu::UnicodeString group(icu::RegexMatcher& matcher, int32_t index) {
  UErrorCode status = U_ZERO_ERROR;
  icu::UnicodeString text = matcher.group(index, status);
  return U_SUCCESS(status) ? text : icu::UnicodeString();
}

// The China-region site's secure web address ("https://www." and its domain), and the labels of
// its domain.
struct ChinaSite {
  std::string address;
  std::vector<std::string> hostLabels;
};

ChinaSite chinaSite() {
  std::string_view address = NVSiteDomainConfigurator::builtInLumoSiteDomain();
  std::string_view host = address;
  if (auto scheme = host.find("://"); scheme != std::string_view::npos) {
    host.remove_prefix(scheme + 3);
  }
  host = host.substr(0, host.find('/'));
  // The site's domain is the last two labels of its host ("api.lumo.cn" gives "lumo.cn"); its
  // web pages are served from "www." and that domain.
  if (auto last = host.rfind('.'); last != std::string_view::npos && last > 0) {
    if (auto previous = host.rfind('.', last - 1); previous != std::string_view::npos) {
      host.remove_prefix(previous + 1);
    }
  }
  ChinaSite site{"https://www." + std::string(host), {}};
  while (!host.empty()) {
    const auto dot = host.find('.');
    site.hostLabels.emplace_back(host.substr(0, dot));
    host = dot == std::string_view::npos ? std::string_view{} : host.substr(dot + 1);
  }
  return site;
}

icu::UnicodeString quoted(std::string_view text) {
  icu::UnicodeString result("\\Q");
  result.append(fromUtf8(text));
  result.append("\\E");
  return result;
}

const Pattern& markdownLinkPattern() {
  static const Pattern pattern = compile(R"(\[(.+?)\]\(.+?\))");
  return pattern;
}

const Pattern& attachmentPattern() {
  static const Pattern pattern = compile(R"(!\[((?i:image|file))\]\([A-Za-z0-9_\-]+/([^\s()]+)\))");
  return pattern;
}

const Pattern& imagePattern() {
  static const Pattern pattern = compile(R"(!\[[^\]]*\]\([^()\s]+\))");
  return pattern;
}

const Pattern& linkPattern() {
  static const Pattern pattern = compile(R"((?<!!)\[([^\]]+)\]\(([^()\s]+)\))");
  return pattern;
}

std::string replacingAttachments(std::string_view content) {
  return replaceMatches(attachmentPattern(), content, [](icu::RegexMatcher& matcher) {
    const bool image = group(matcher, 1).caseCompare(icu::UnicodeString("image"), 0) == 0;
    return std::optional(fromUtf8(
        localized(image ? "md_attachment_placeholder_image" : "md_attachment_placeholder_file")));
  });
}

std::vector<std::string> keywords(std::string_view text) {
  std::vector<std::string> pieces;
  const auto first = text.find_first_not_of(" \t");
  if (first == std::string_view::npos) return pieces;
  text = text.substr(first, text.find_last_not_of(" \t") - first + 1);
  while (!text.empty()) {
    const auto blank = text.find(' ');
    if (blank != 0) pieces.emplace_back(text.substr(0, blank));
    text = blank == std::string_view::npos ? std::string_view{} : text.substr(blank + 1);
  }
  return pieces;
}

}  // namespace

std::set<std::string> nv_searchKeywords(std::string_view text) {
  std::vector<std::string> pieces = keywords(text);
  return std::set<std::string>(std::make_move_iterator(pieces.begin()),
                               std::make_move_iterator(pieces.end()));
}

std::vector<std::string> nv_searchKeywords_array(std::string_view text) {
  std::vector<std::string> ordered;
  std::set<std::string> seen;
  for (std::string& piece : keywords(text)) {
    if (seen.insert(piece).second) ordered.push_back(std::move(piece));
  }
  return ordered;
}

bool isDefaultAvatarURL(std::string_view text) {
  static const Pattern pattern = [] {
    icu::UnicodeString source = quoted(chinaSite().address);
    source.append(R"(/static/img/avatar.*\.png)");
    return compile(source);
  }();
  return findsIn(pattern, text) || text.ends_with("/image/avatar.png");
}

bool isFakedEmailFormat(std::string_view text) {
  static const Pattern pattern = [] {
    icu::UnicodeString source(R"(\w+([-+.]\w+)*@user.)");
    for (const std::string& label : chinaSite().hostLabels) {
      source.append("(");
      source.append(quoted(label));
      source.append(")?");
    }
    source.append("(norvik)?.com$");
    return compile(source);
  }();
  return findsIn(pattern, text);
}

std::string trimMarkdownLink(std::string_view text) {
  return replaceMatches(markdownLinkPattern(), text, [](icu::RegexMatcher& matcher) {
    return matcher.groupCount() >= 1 ? std::optional(group(matcher, 1)) : std::nullopt;
  });
}

std::string localized(std::string_view key) {
  return platform::localizedString(key);
}

std::string specialLocalized(std::string_view key) {
  return platform::specialLocalizedString(key);
}

std::string processingMarkdownAttachmentsAsTaskContent(std::string_view content) {
  return replacingAttachments(content);
}

std::string processingMarkdownAttachmentsWithoutLinkImage(std::string_view content) {
  return replaceMatches(imagePattern(), replacingAttachments(content),
                        [](icu::RegexMatcher&) { return std::optional(icu::UnicodeString()); });
}

std::string replacingMarkdownElementsAsTaskContent(std::string_view content) {
  return replaceMatches(linkPattern(), replacingAttachments(content),
                        [](icu::RegexMatcher& matcher) {
                          icu::UnicodeString text = group(matcher, 1);
                          const icu::UnicodeString address = group(matcher, 2);
                          if (text == address) return std::optional(address);
                          text.append(" (").append(address).append(")");
                          return std::optional(text);
                        });
}

std::string processingMarkdownElementsAsTaskContent(std::string_view content) {
  return replaceMatches(
      linkPattern(), replacingAttachments(content),
      [](icu::RegexMatcher& matcher) { return std::optional(group(matcher, 1)); });
}

std::string processingMarkdownAttachmentsAsTaskContentByFileName(
    std::string_view content, const std::function<std::string(std::string_view)>& placeholder) {
  return replaceMatches(attachmentPattern(), content, [&](icu::RegexMatcher& matcher) {
    const std::string fileName = toUtf8(group(matcher, 2));
    return std::optional(fromUtf8(placeholder ? placeholder(fileName) : std::string()));
  });
}

std::string NVProjectPermission::localizedDescription() const {
  if (rawValue == NVProjectPermissionComment) return localized("Can Comment");
  if (rawValue == NVProjectPermissionRead) return localized("Read Only");
  return localized("Can Edit");
}

}  // namespace norvik
