#include "norvik/vocabulary/text_helpers.h"

#include <unicode/regex.h>
#include <unicode/uchar.h>
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

const Pattern& attachmentPattern() {
  static const Pattern pattern = compile(R"(!\[((?i:image|file))\]\([A-Za-z0-9_\-]+/([^\s()]+)\))");
  return pattern;
}

// ---- Markdown links and link images in linear time ----
//
// Regular expressions for "[text](address)" try every '[' and run to the next ']' or the end of the
// line from each, which is quadratic on a long line full of brackets. The scanners below find the
// same matches as those expressions (named beside each), in the same order, with every search
// resuming where the last stopped. They work on the same UTF-16 text as the expressions; every
// character they look for is in the Basic Multilingual Plane, so code units serve.

// A match: [start, end) is replaced; the two groups are [textStart, textEnd) and
// [addressStart, addressEnd).
struct LinkMatch {
  int32_t start, end, textStart, textEnd, addressStart, addressEnd;
};

// "." of a regular expression stops at these.
bool isLineTerminator(char16_t c) {
  return (c >= 0x0a && c <= 0x0d) || c == 0x85 || c == 0x2028 || c == 0x2029;
}

// "\s" of a regular expression.
bool isSpace(char16_t c) {
  return u_isUWhiteSpace(c);
}

// The first position at or after a given one where `Predicate` holds (the length when none).
// Questions must come in non-decreasing order; then every position is looked at once.
template <class Predicate>
class NextPosition {
 public:
  NextPosition(const char16_t* text, int32_t length, Predicate predicate)
      : text_(text), length_(length), predicate_(predicate) {}
  int32_t from(int32_t position) {
    if (asked_ <= position && answer_ >= position) return answer_;
    asked_ = position;
    answer_ = position;
    while (answer_ < length_ && !predicate_(text_, length_, answer_)) ++answer_;
    return answer_;
  }

 private:
  const char16_t* text_;
  int32_t length_;
  Predicate predicate_;
  int32_t asked_ = -1;
  int32_t answer_ = -1;
};

using IsAt = bool (*)(const char16_t* text, int32_t length, int32_t position);

// Links (?<!!)\[([^\]]+)\]\(([^()\s]+)\), or with `image` link images !\[[^\]]*\]\([^()\s]+\).
class LinkScanner {
 public:
  LinkScanner(const icu::UnicodeString& text, bool image)
      : text_(text.getBuffer()),
        length_(text.length()),
        image_(image),
        closes_(text.getBuffer(), text.length(),
                [](const char16_t* t, int32_t, int32_t i) { return t[i] == u']'; }) {}

  std::optional<LinkMatch> next(int32_t from) {
    for (int32_t start = from; start < length_; ++start) {
      int32_t textStart;
      if (image_) {
        if (text_[start] != u'!' || start + 1 >= length_ || text_[start + 1] != u'[') continue;
        textStart = start + 2;
      } else {
        if (text_[start] != u'[' || (start > 0 && text_[start - 1] == u'!')) continue;
        textStart = start + 1;
      }
      // The text runs to the first ']'; without one no later bracket can match either.
      const int32_t close = closes_.from(textStart);
      if (close >= length_) return std::nullopt;
      if (!image_ && close == textStart) continue;
      const int32_t addressEnd = addressEndAfter(close);
      if (addressEnd < 0) continue;
      return LinkMatch{start, addressEnd + 1, textStart, close, close + 2, addressEnd};
    }
    return std::nullopt;
  }

 private:
  // For the ']' at `close`: where "(address)" ends (the position of its ')'), or -1. Every bracket
  // before `close` shares the answer, so it is kept; addresses hold no '(' and one that follows a
  // later ']' stops before it, so no character is looked at twice.
  int32_t addressEndAfter(int32_t close) {
    if (close == checkedClose_) return checkedEnd_;
    checkedClose_ = close;
    checkedEnd_ = -1;
    if (close + 1 >= length_ || text_[close + 1] != u'(') return checkedEnd_;
    int32_t end = close + 2;
    while (end < length_ && text_[end] != u'(' && text_[end] != u')' && !isSpace(text_[end])) ++end;
    if (end > close + 2 && end < length_ && text_[end] == u')') checkedEnd_ = end;
    return checkedEnd_;
  }

  const char16_t* text_;
  int32_t length_;
  bool image_;
  NextPosition<IsAt> closes_;
  int32_t checkedClose_ = -1;
  int32_t checkedEnd_ = -1;
};

// Markdown links as \[(.+?)\]\(.+?\) finds them: the text is the shortest run up to a "](" that is
// followed, on the same line, by at least one character and a ')'; the destination is the shortest
// such run. The first "](" after the '[' decides: a later one on the line has fewer ')' after it.
class LazyLinkScanner {
 public:
  explicit LazyLinkScanner(const icu::UnicodeString& text)
      : text_(text.getBuffer()),
        length_(text.length()),
        lineEnds_(text_, length_,
                  [](const char16_t* t, int32_t, int32_t i) { return isLineTerminator(t[i]); }),
        openings_(text_, length_,
                  [](const char16_t* t, int32_t n, int32_t i) {
                    return t[i] == u']' && i + 1 < n && t[i + 1] == u'(';
                  }),
        closes_(text_, length_,
                [](const char16_t* t, int32_t, int32_t i) { return t[i] == u')'; }) {}

  std::optional<LinkMatch> next(int32_t from) {
    for (int32_t start = from; start < length_; ++start) {
      if (text_[start] != u'[') continue;
      const int32_t opening = openings_.from(start + 2);
      if (opening >= length_) return std::nullopt;  // no "](" left for any later bracket
      const int32_t lineEnd = lineEnds_.from(start + 1);
      if (opening >= lineEnd) continue;
      const int32_t close = closes_.from(opening + 3);
      if (close >= lineEnd) continue;
      return LinkMatch{start, close + 1, start + 1, opening, opening + 2, close};
    }
    return std::nullopt;
  }

 private:
  const char16_t* text_;
  int32_t length_;
  NextPosition<IsAt> lineEnds_;
  NextPosition<IsAt> openings_;
  NextPosition<IsAt> closes_;
};

// Every match the scanner finds replaced by what `replacement` makes of it (from the text and
// the match); the text unchanged when there is none.
template <class Scanner, class Replacement>
std::string replaceLinks(std::string_view text, Scanner makeScanner, Replacement replacement) {
  const icu::UnicodeString subject = fromUtf8(text);
  auto scanner = makeScanner(subject);
  icu::UnicodeString result;
  int32_t copied = 0;
  bool matched = false;
  while (auto match = scanner.next(copied)) {
    matched = true;
    result.append(subject, copied, match->start - copied);
    replacement(subject, *match, result);
    copied = match->end;
  }
  if (!matched) return std::string(text);
  result.append(subject, copied, subject.length() - copied);
  return toUtf8(result);
}

icu::UnicodeString part(const icu::UnicodeString& text, int32_t start, int32_t end) {
  return icu::UnicodeString(text, start, end - start);
}

auto links = [](const icu::UnicodeString& text) { return LinkScanner(text, false); };

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
  return replaceLinks(
      text, [](const icu::UnicodeString& subject) { return LazyLinkScanner(subject); },
      [](const icu::UnicodeString& subject, const LinkMatch& match, icu::UnicodeString& out) {
        out.append(subject, match.textStart, match.textEnd - match.textStart);
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
  return replaceLinks(
      replacingAttachments(content),
      [](const icu::UnicodeString& subject) { return LinkScanner(subject, true); },
      [](const icu::UnicodeString&, const LinkMatch&, icu::UnicodeString&) {});
}

std::string replacingMarkdownElementsAsTaskContent(std::string_view content) {
  return replaceLinks(
      replacingAttachments(content), links,
      [](const icu::UnicodeString& subject, const LinkMatch& match, icu::UnicodeString& out) {
        const icu::UnicodeString text = part(subject, match.textStart, match.textEnd);
        const icu::UnicodeString address = part(subject, match.addressStart, match.addressEnd);
        if (text == address) {
          out.append(address);
        } else {
          out.append(text).append(" (").append(address).append(")");
        }
      });
}

std::string processingMarkdownElementsAsTaskContent(std::string_view content) {
  return replaceLinks(
      replacingAttachments(content), links,
      [](const icu::UnicodeString& subject, const LinkMatch& match, icu::UnicodeString& out) {
        out.append(subject, match.textStart, match.textEnd - match.textStart);
      });
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
