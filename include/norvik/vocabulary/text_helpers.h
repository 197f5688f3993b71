#pragma once
// Small operations on text used all over the application: search keywords, the service's default
// avatar and placeholder e-mail addresses, Markdown links and attachments in task content,
// localized keys, the text of a shared list's permission, and generic collection helpers.
//
// Markdown attachments. Task content refers to its attachments with Markdown image syntax whose
// destination is the attachment's relative path, "<attachment id>/<file name>":
//
//   ![image](64f0c2a1b3/photo.jpg)     an image attachment
//   ![file](64f0c2a1b3/report.pdf)     a file attachment
//
// The text in brackets ("image" or "file", in any letter case) says which; the attachment id is
// letters, digits, '-' and '_'; the file name runs to the closing parenthesis and holds no
// whitespace or parenthesis. Anything else in image syntax, for example an image with a web
// address ![x](https://host/a.png), is a link image, not an attachment.
//
// All functions may be called from any thread.

#include <cstddef>
#include <functional>
#include <optional>
#include <ranges>
#include <set>
#include <string>
#include <string_view>
#include <type_traits>
#include <unordered_map>
#include <utility>
#include <vector>

namespace norvik {

// The keywords of a search text: blanks and tabs trimmed from both ends, split at every single
// blank " " (a tab inside does not split), empty pieces dropped. Empty text gives none.
std::set<std::string> nv_searchKeywords(std::string_view text);
// The same keywords in order of first appearance, later repeats dropped (case-sensitive).
std::vector<std::string> nv_searchKeywords_array(std::string_view text);

// Whether the text is an address of the service's default avatar image: the China-region site's
// secure web address ("https://www." and the last two labels of its host) followed by
// "/static/img/avatar", anything,
// ".png", found anywhere in the text; or a text that ends with "/image/avatar.png".
bool isDefaultAvatarURL(std::string_view text);

// Whether the text contains one of the service's placeholder e-mail addresses, which end the text:
// word characters with "-", "+" or "." between groups, "@user", any one character, then
// optionally the two labels of the China-region site's domain ("lumo", "cn" for api.lumo.cn) and
// the product's name "norvik" in that order,
// any one character and "com". The dots of the pattern match any character on purpose.
bool isFakedEmailFormat(std::string_view text);

// The text with every Markdown link "[text](destination)" replaced by its text; unchanged when
// it has none. ("[a](x) and [b](y)" gives "a and b".)
std::string trimMarkdownLink(std::string_view text);

// Whether the text is the main application's bundle identifier.
bool isApplicationBundleID(std::string_view text);

// The localized text of a key in the user's interface language, from the default table; the key
// itself when no table has it.
std::string localized(std::string_view key);
// The same from the table "Special".
std::string specialLocalized(std::string_view key);

// Markdown task content as plain text.
// Attachments replaced by the localized "md_attachment_placeholder_image" and
// "md_attachment_placeholder_file".
std::string processingMarkdownAttachmentsAsTaskContent(std::string_view content);
// The same, and link images removed.
std::string processingMarkdownAttachmentsWithoutLinkImage(std::string_view content);
// Attachments replaced, then every link "[text](address)" written as "text (address)" (as
// "address" alone when text and address are the same). Image syntax "![...](...)" is not a link.
std::string replacingMarkdownElementsAsTaskContent(std::string_view content);
// Attachments replaced, then link markup removed (each link becomes its text; image syntax stays).
std::string processingMarkdownElementsAsTaskContent(std::string_view content);
// Every attachment replaced by what `placeholder` gives for its file name.
std::string processingMarkdownAttachmentsAsTaskContentByFileName(
    std::string_view content, const std::function<std::string(std::string_view)>& placeholder);

// The permission of a member of a shared list.
inline constexpr std::string_view NVProjectPermissionWrite = "write";
inline constexpr std::string_view NVProjectPermissionComment = "comment";
inline constexpr std::string_view NVProjectPermissionRead = "read";

struct NVProjectPermission {
  std::string rawValue;
  // The localized "Can Comment" for "comment", "Read Only" for "read", and "Can Edit" for
  // "write" and for every other value.
  std::string localizedDescription() const;
};

// Collection helpers over any input range.

// Elements by key, each list in the order of the range; elements whose key is std::nullopt are
// left out. `key` returns std::optional<K>.
template <std::ranges::input_range R, class KeyFn>
auto group(R&& range, KeyFn key) {
  using Element = std::ranges::range_value_t<R>;
  using Key = typename std::invoke_result_t<KeyFn&, std::ranges::range_reference_t<R>>::value_type;
  std::unordered_map<Key, std::vector<Element>> groups;
  for (auto&& element : range) {
    if (auto k = std::invoke(key, element)) groups[std::move(*k)].push_back(element);
  }
  return groups;
}

// Element by key; the later element wins on a shared key.
template <std::ranges::input_range R, class KeyFn>
auto toDictionary(R&& range, KeyFn key) {
  using Element = std::ranges::range_value_t<R>;
  using Key = std::decay_t<std::invoke_result_t<KeyFn&, std::ranges::range_reference_t<R>>>;
  std::unordered_map<Key, Element> dictionary;
  for (auto&& element : range) dictionary.insert_or_assign(std::invoke(key, element), element);
  return dictionary;
}

// Value by key; the later element wins on a shared key.
template <std::ranges::input_range R, class KeyFn, class ValueFn>
auto toDictionary(R&& range, KeyFn key, ValueFn value) {
  using Reference = std::ranges::range_reference_t<R>;
  using Key = std::decay_t<std::invoke_result_t<KeyFn&, Reference>>;
  using Mapped = std::decay_t<std::invoke_result_t<ValueFn&, Reference>>;
  std::unordered_map<Key, Mapped> dictionary;
  for (auto&& element : range) {
    dictionary.insert_or_assign(std::invoke(key, element), std::invoke(value, element));
  }
  return dictionary;
}

// Whether every element satisfies the predicate (true for an empty range); stops at the first
// that does not.
template <std::ranges::input_range R, class Predicate>
bool every(R&& range, Predicate predicate) {
  for (auto&& element : range) {
    if (!std::invoke(predicate, element)) return false;
  }
  return true;
}

// The number of elements that satisfy the predicate.
template <std::ranges::input_range R, class Predicate>
std::size_t count(R&& range, Predicate predicate) {
  std::size_t n = 0;
  for (auto&& element : range) {
    if (std::invoke(predicate, element)) ++n;
  }
  return n;
}

}  // namespace norvik
