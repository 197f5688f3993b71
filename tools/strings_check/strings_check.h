#pragma once
// The checks of the main bundle's string tables against the keys the library looks up.
//
// The keys come from the code itself, two ways: the string literals the sources pass to the lookup
// functions (scanSourceKeys), and the keys the library asks for while it describes a broad set of
// rules, calendars and lists (recordLibraryKeys), which catches the keys it builds from parts
// ("the 2nd Tuesday", "%@ in Mar", "Hebrew Yearly").

#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace norvik::strings_check {

// Table name ("Localizable", "Special") and key.
using KeySet = std::set<std::pair<std::string, std::string>>;

// One printf specifier of a text: its argument position (1-based) and conversion character.
struct Specifier {
  int position = 0;
  char conversion = 0;
};

// The specifiers of `text` with positions resolved; "%%" takes no argument.
std::vector<Specifier> specifiersOf(std::string_view text);

// Whether `translation` can stand for `key`: it uses exactly the key's argument positions, each
// with a conversion of the same kind (integer, real or text), and formats the key's sample
// arguments. On failure, `why` says what differs.
bool specifiersCompatible(std::string_view key, std::string_view translation, std::string& why);

// The keys passed as string literals to the library's lookup functions in the C++ files under
// `sourceDirectory` (recursively). Files that cannot be read are skipped.
KeySet scanSourceKeys(const std::string& sourceDirectory);

// The keys in C++ source text `source`, as scanSourceKeys finds them in one file.
KeySet scanSourceText(std::string_view source);

// The keys the library looks up while it describes rules of every kind, calendars, ordinal days,
// smart lists and permissions. The library's lookup and environment are replaced meanwhile and
// restored afterwards; call it while no other thread looks up texts.
KeySet recordLibraryKeys();

// Runs every check on the bundle at `bundleDirectory` against `keys`: each `<code>.lproj` folder
// there must hold Localizable.strings and Special.strings that parse, have every key, no
// duplicates, no key the library never uses, specifiers compatible with the key, plural variants
// only on keys counted by a first %d and only with categories ICU has for the language, and no
// direction marks. Returns the problems, one line each ("pl/Localizable: ..."); empty when all
// pass. `notes` receives facts that are not failures (codes of the language list without a folder).
std::vector<std::string> checkBundle(const std::string& bundleDirectory, const KeySet& keys,
                                     std::vector<std::string>& notes);

}  // namespace norvik::strings_check
