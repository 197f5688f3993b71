#pragma once
// How the interface-language layer tells the platform which language the user chose, and how a
// tool can watch every key the library looks up.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace norvik::detail {

using ChosenLanguage = std::optional<std::string> (*)();

// Names the interface language the user chose (a folder code; std::nullopt: the system's
// languages choose) for platform::TextContext::current(). Installed once while the library loads.
void setChosenLanguageSource(ChosenLanguage source) noexcept;

// The installed source's answer now; std::nullopt without a source.
std::optional<std::string> chosenLanguage();

// Tells the platform that the installed source may now answer differently (the user chose another
// language): current() takes a new snapshot. Environment changes are noticed without it.
void lookupLanguageChanged() noexcept;

// A counter that moves on every lookupLanguageChanged().
std::uint64_t lookupLanguageGeneration() noexcept;

using LookupObserver = void (*)(std::string_view key, std::string_view table);

// Calls `observer` (null: none) with every key a text context looks up from now on, before the
// lookup; `table` is "Localizable" or the table named. For tools that list the keys in use.
void setLookupObserver(LookupObserver observer) noexcept;
LookupObserver lookupObserver() noexcept;

}  // namespace norvik::detail
