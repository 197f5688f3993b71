// Feeds arbitrary bytes to the property-list reader (XML and binary). A decoded Value is written in
// both formats and read again: in the binary format it must come back equal whenever its strings
// are plain (valid UTF-8 without NUL, which the writer repairs or cuts); in XML, dates lose their
// fraction of a second, so there the second round trip must equal the first.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "fuzz_support.h"
#include "norvik/platform/property_list.h"

using namespace norvik::platform;
using norvik::fuzz::check;
using norvik::fuzz::sameValue;

namespace {

bool plainText(const std::string& s) {
  if (s.find('\0') != std::string::npos) return false;
  // Strict UTF-8: no overlong forms, surrogates or code points above U+10FFFF.
  for (std::size_t i = 0; i < s.size();) {
    const auto c = static_cast<unsigned char>(s[i]);
    std::size_t n = c < 0x80           ? 1
                    : (c >> 5) == 0x6  ? 2
                    : (c >> 4) == 0xE  ? 3
                    : (c >> 3) == 0x1E ? 4
                                       : 0;
    if (n == 0 || i + n > s.size()) return false;
    std::uint32_t cp = n == 1 ? c : c & (0x7F >> n);
    for (std::size_t k = 1; k < n; ++k) {
      const auto d = static_cast<unsigned char>(s[i + k]);
      if ((d & 0xC0) != 0x80) return false;
      cp = (cp << 6) | (d & 0x3F);
    }
    if ((n == 2 && cp < 0x80) || (n == 3 && cp < 0x800) || (n == 4 && cp < 0x10000) ||
        cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) {
      return false;
    }
    i += n;
  }
  return true;
}

bool plainStrings(const Value& v) {
  if (const auto* s = v.string()) return plainText(*s);
  if (const auto* array = v.array()) {
    for (const auto& element : *array) {
      if (!plainStrings(element)) return false;
    }
  }
  if (const auto* dictionary = v.dictionary()) {
    for (const auto& [key, element] : *dictionary) {
      if (!plainText(key) || !plainStrings(element)) return false;
    }
  }
  return true;
}

Value roundTrip(const Value& v, PropertyListFormat format) {
  const Data bytes = encodePropertyList(v, format);
  check(!bytes.empty(), "a decoded property list can be written");
  const std::optional<Value> again = decodePropertyList(
      std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
  check(again.has_value(), "a written property list reads again");
  return *again;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const std::optional<Value> value = decodePropertyList(bytes);
  if (!value) return 0;
  norvik::fuzz::checkValue(*value);

  const Value binary = roundTrip(*value, PropertyListFormat::Binary);
  if (plainStrings(*value)) check(sameValue(binary, *value), "binary round trip is equal");
  check(sameValue(roundTrip(binary, PropertyListFormat::Binary), binary),
        "a second binary round trip is equal");

  const Value xml = roundTrip(binary, PropertyListFormat::XML);
  check(sameValue(roundTrip(xml, PropertyListFormat::XML), xml),
        "a second XML round trip is equal");
  return 0;
}
