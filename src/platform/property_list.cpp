#include "norvik/platform/property_list.h"

#include <glib.h>
#include <plist/plist.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <limits>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace norvik::platform {
namespace {

// Containers nested deeper than this are refused. libplist's binary reader and its tree destructor
// recurse once per level, so the depth is checked on the raw bytes before libplist sees them.
constexpr std::size_t kMaxDepth = 512;

struct PlistDeleter {
  void operator()(void* node) const { plist_free(node); }
};
using PlistPtr = std::unique_ptr<void, PlistDeleter>;

// ---- Depth guards on the raw bytes ----

std::uint64_t readBigEndian(const unsigned char* p, std::size_t size) {
  std::uint64_t value = 0;
  for (std::size_t i = 0; i < size; ++i) value = (value << 8) | p[i];
  return value;
}

// Walks the object graph of a binary property list ("bplist00": objects, an offset table and a
// 32-byte trailer) without decoding any value, and accepts it only when every path from the top
// object has at most kMaxDepth containers, no container contains itself, and every dictionary key
// is a string without NUL characters (libplist aborts on any other key).
bool binaryGraphAcceptable(std::string_view bytes) {
  const auto* base = reinterpret_cast<const unsigned char*>(bytes.data());
  const std::size_t size = bytes.size();
  if (size < 8 + 32) return false;
  const unsigned char* trailer = base + size - 32;
  const std::size_t offsetSize = trailer[6];
  const std::size_t refSize = trailer[7];
  const std::uint64_t objectCount = readBigEndian(trailer + 8, 8);
  const std::uint64_t top = readBigEndian(trailer + 16, 8);
  const std::uint64_t tableOffset = readBigEndian(trailer + 24, 8);
  const std::size_t objectsEnd = size - 32;
  if (offsetSize < 1 || offsetSize > 8 || refSize < 1 || refSize > 8) return false;
  if (objectCount == 0 || top >= objectCount || tableOffset >= objectsEnd) return false;
  if (objectCount > (objectsEnd - tableOffset) / offsetSize) return false;

  // The object at `offset` begins with a marker byte whose low half is its count, or 0xF with the
  // count following as an integer object. Gives where the contents begin and the count.
  struct Header {
    std::size_t position;
    std::uint64_t count;
  };
  auto header = [&](std::uint64_t offset) -> std::optional<Header> {
    std::size_t position = offset + 1;
    std::uint64_t count = base[offset] & 0x0F;
    if (count == 0x0F) {
      if (position >= tableOffset || (base[position] >> 4) != 0x1) return std::nullopt;
      const std::size_t width = std::size_t{1} << (base[position] & 0x0F);
      if (width > 8 || position + 1 + width > tableOffset) return std::nullopt;
      count = readBigEndian(base + position + 1, width);
      position += 1 + width;
    }
    return Header{position, count};
  };

  // Whether object `index` is an ASCII (0x5) or UTF-16 (0x6) string without a NUL character.
  auto plainKey = [&](std::uint64_t index) -> bool {
    if (index >= objectCount) return false;
    const std::uint64_t offset = readBigEndian(base + tableOffset + index * offsetSize, offsetSize);
    if (offset >= tableOffset) return false;
    const unsigned kind = base[offset] >> 4;
    const auto found = header(offset);
    if ((kind != 0x5 && kind != 0x6) || !found) return false;
    const std::size_t unit = kind == 0x6 ? 2 : 1;
    if (found->count > (tableOffset - found->position) / unit) return false;
    for (std::uint64_t i = 0; i < found->count; ++i) {
      if (readBigEndian(base + found->position + i * unit, unit) == 0) return false;
    }
    return true;
  };

  // Where the references of object `index` lie; std::nullopt when the object lies outside the data.
  struct Object {
    bool container;
    std::size_t refs, count;
  };
  auto object = [&](std::uint64_t index) -> std::optional<Object> {
    const std::uint64_t offset = readBigEndian(base + tableOffset + index * offsetSize, offsetSize);
    if (offset >= tableOffset) return std::nullopt;
    const unsigned kind = base[offset] >> 4;
    if (kind != 0xA && kind != 0xC && kind != 0xD) return Object{false, 0, 0};
    const auto found = header(offset);
    if (!found) return std::nullopt;
    const std::size_t position = found->position;
    std::uint64_t count = found->count;
    if (kind == 0xD) {
      if (count > tableOffset) return std::nullopt;
      if (count > (tableOffset - position) / refSize) return std::nullopt;
      for (std::uint64_t i = 0; i < count; ++i) {
        if (!plainKey(readBigEndian(base + position + i * refSize, refSize))) return std::nullopt;
      }
      count *= 2;  // keys, then values
    }
    if (count > (tableOffset - position) / refSize) return std::nullopt;
    return Object{true, position, count};
  };

  // Depth-first walk with an explicit stack; `height` memoises the containers on the longest path
  // from each finished object down, so shared objects are walked once.
  enum : std::uint8_t { kUnseen, kOpen, kDone };
  std::vector<std::uint8_t> state(objectCount, kUnseen);
  std::vector<std::uint16_t> height(objectCount, 0);
  struct Frame {
    std::uint64_t index;
    std::size_t refs, count, next;
  };
  std::vector<Frame> stack;

  auto enter = [&](std::uint64_t index) -> bool {
    if (index >= objectCount || state[index] == kOpen) return false;  // dangling, or a cycle
    if (state[index] == kUnseen) {
      auto found = object(index);
      if (!found) return false;
      if (found->count > 0) {
        if (stack.size() >= kMaxDepth) return false;
        state[index] = kOpen;
        stack.push_back(Frame{index, found->refs, found->count, 0});
        return true;
      }
      state[index] = kDone;
      height[index] = found->container ? 1 : 0;
    }
    return stack.size() + height[index] <= kMaxDepth;
  };

  if (!enter(top)) return false;
  while (!stack.empty()) {
    Frame& frame = stack.back();
    if (frame.next == frame.count) {
      std::uint16_t tallest = 0;
      for (std::size_t i = 0; i < frame.count; ++i) {
        const auto child = readBigEndian(base + frame.refs + i * refSize, refSize);
        tallest = std::max(tallest, height[child]);
      }
      state[frame.index] = kDone;
      height[frame.index] = static_cast<std::uint16_t>(tallest + 1);
      stack.pop_back();
      continue;
    }
    const auto child = readBigEndian(base + frame.refs + frame.next * refSize, refSize);
    ++frame.next;
    if (!enter(child)) return false;
  }
  return true;
}

// Counts the open <array> and <dict> elements of an XML property list, skipping comments, CDATA
// sections, declarations and self-closing elements.
bool xmlDepthWithinLimit(std::string_view text) {
  std::size_t depth = 0;
  std::size_t i = 0;
  auto skipPast = [&](std::string_view terminator) {
    const std::size_t end = text.find(terminator, i);
    i = end == std::string_view::npos ? text.size() : end + terminator.size();
  };
  while ((i = text.find('<', i)) != std::string_view::npos) {
    const std::string_view rest = text.substr(i);
    if (rest.starts_with("<!--")) {
      skipPast("-->");
    } else if (rest.starts_with("<![CDATA[")) {
      skipPast("]]>");
    } else if (rest.starts_with("<?") || rest.starts_with("<!")) {
      skipPast(">");
    } else {
      const bool closing = rest.starts_with("</");
      const std::size_t nameStart = closing ? 2 : 1;
      const std::size_t nameEnd = rest.find_first_of(" \t\r\n/>", nameStart);
      const std::string_view name = rest.substr(nameStart, nameEnd - nameStart);
      skipPast(">");
      const bool selfClosing = i >= 2 && text[i - 2] == '/';
      if (name != "array" && name != "dict") continue;
      if (closing) {
        if (depth > 0) --depth;
      } else if (!selfClosing && ++depth > kMaxDepth) {
        return false;
      }
    }
  }
  return true;
}

// ---- Value to libplist ----

// libplist takes NUL-terminated UTF-8 (a string is cut at its first NUL byte), and its binary
// writer fails on invalid UTF-8, so invalid sequences become U+FFFD first.
std::string validUTF8(const std::string& text) {
  if (g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr)) return text;
  gchar* valid = g_utf8_make_valid(text.data(), static_cast<gssize>(text.size()));
  std::string result(valid);
  g_free(valid);
  return result;
}

// libplist keeps a date as seconds since 2001 in a double, but takes and gives it as 32-bit
// seconds and microseconds: dates are limited to 1932-12-13 ... 2069-01-19 and to microseconds.
constexpr double kMinDateSeconds = std::numeric_limits<std::int32_t>::min();
constexpr double kMaxDateSeconds = std::numeric_limits<std::int32_t>::max();

plist_t makeDate(Date date) {
  double seconds = date.timeIntervalSinceReferenceDate();
  if (std::isnan(seconds)) seconds = 0;
  seconds = std::clamp(seconds, kMinDateSeconds, kMaxDateSeconds);
  double whole = std::trunc(seconds);
  auto micros = static_cast<std::int32_t>(std::llround((seconds - whole) * 1e6));
  return plist_new_date(static_cast<std::int32_t>(whole), micros);
}

plist_t toPlist(const Value& value) {
  switch (value.type()) {
    case Value::Type::Null:
      return nullptr;
    case Value::Type::Boolean:
      return plist_new_bool(*value.boolValue() ? 1 : 0);
    case Value::Type::Integer:
      // Stored as the two's complement bits; libplist writes them back as a signed integer.
      return plist_new_uint(static_cast<std::uint64_t>(*value.int64Value()));
    case Value::Type::Real:
      return plist_new_real(*value.doubleValue());
    case Value::Type::String:
      return plist_new_string(validUTF8(*value.string()).c_str());
    case Value::Type::Date:
      return makeDate(*value.date());
    case Value::Type::Data: {
      const Data& data = *value.data();
      return plist_new_data(reinterpret_cast<const char*>(data.data()), data.size());
    }
    case Value::Type::Array: {
      plist_t array = plist_new_array();
      for (const Value& element : *value.array()) {
        if (plist_t item = toPlist(element)) plist_array_append_item(array, item);
      }
      return array;
    }
    case Value::Type::Dictionary: {
      plist_t dictionary = plist_new_dict();
      for (const auto& [key, element] : *value.dictionary()) {
        if (plist_t item = toPlist(element)) {
          plist_dict_set_item(dictionary, validUTF8(key).c_str(), item);
        }
      }
      return dictionary;
    }
  }
  return nullptr;
}

// ---- libplist to Value ----

Value dateFromPlist(plist_t node) {
  std::int32_t seconds = 0;
  std::int32_t micros = 0;
  plist_get_date_val(node, &seconds, &micros);
  // libplist keeps the date as the double seconds + microseconds / 10^6 and gives the microseconds
  // back cut toward zero, one short at times; a date it holds exactly is found among the
  // neighbours, so that a date read and written again stays the same to the last bit.
  double interval = std::numeric_limits<double>::quiet_NaN();
  const std::int64_t given = micros;
  for (const std::int64_t magnitude : {given, given + 1, given - 1}) {
    for (const std::int64_t candidate : {magnitude, -magnitude}) {
      if (candidate < std::numeric_limits<std::int32_t>::min() ||
          candidate > std::numeric_limits<std::int32_t>::max()) {
        continue;
      }
      PlistPtr probe(plist_new_date(seconds, static_cast<std::int32_t>(candidate)));
      if (std::isnan(interval) && plist_compare_node_value(node, probe.get())) {
        interval = static_cast<double>(seconds) + static_cast<double>(candidate) / 1000000;
      }
    }
  }
  if (std::isnan(interval)) {
    // The seconds come truncated toward zero and the microseconds as a magnitude, so the sign of
    // a date within the second before the reference date is found by comparing with that date.
    bool negative = seconds < 0;
    if (seconds == 0 && micros != 0 && micros != std::numeric_limits<std::int32_t>::min()) {
      PlistPtr probe(plist_new_date(0, -micros));
      negative = plist_compare_node_value(node, probe.get()) != 0;
    }
    const double fraction = micros / 1e6;
    interval = negative ? seconds - fraction : seconds + fraction;
  }
  // The same range as the writer's, so that every date read can be written back unchanged.
  interval = std::clamp(interval, kMinDateSeconds, kMaxDateSeconds);
  return Value(Date::fromTimeIntervalSinceReferenceDate(interval));
}

std::optional<Value> fromPlist(plist_t node, std::size_t depth) {
  switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN: {
      std::uint8_t b = 0;
      plist_get_bool_val(node, &b);
      return Value(b != 0);
    }
    case PLIST_UINT: {
      std::uint64_t bits = 0;
      plist_get_uint_val(node, &bits);
      // libplist marks integers above INT64_MAX by their width; a node made again from the same
      // bits compares equal only when it was a 64-bit signed integer.
      PlistPtr probe(plist_new_uint(bits));
      if (plist_compare_node_value(node, probe.get())) {
        return Value(static_cast<long long>(bits));
      }
      return Value(static_cast<unsigned long long>(bits));  // kept as a real
    }
    case PLIST_UID: {
      std::uint64_t uid = 0;
      plist_get_uid_val(node, &uid);
      return Value(static_cast<unsigned long long>(uid));
    }
    case PLIST_REAL: {
      double d = 0;
      plist_get_real_val(node, &d);
      return Value(d);
    }
    case PLIST_STRING:
    case PLIST_KEY: {
      std::uint64_t length = 0;
      const char* text = plist_get_string_ptr(node, &length);
      return Value(text ? std::string(text, length) : std::string());
    }
    case PLIST_DATE:
      return dateFromPlist(node);
    case PLIST_DATA: {
      std::uint64_t length = 0;
      const auto* bytes = reinterpret_cast<const std::uint8_t*>(plist_get_data_ptr(node, &length));
      return Value(bytes ? Data(bytes, bytes + length) : Data());
    }
    case PLIST_ARRAY: {
      if (depth >= kMaxDepth) return std::nullopt;
      Array array;
      const std::uint32_t size = plist_array_get_size(node);
      array.reserve(size);
      for (std::uint32_t i = 0; i < size; ++i) {
        auto element = fromPlist(plist_array_get_item(node, i), depth + 1);
        if (!element) return std::nullopt;
        array.push_back(std::move(*element));
      }
      return Value(std::move(array));
    }
    case PLIST_DICT: {
      if (depth >= kMaxDepth) return std::nullopt;
      Dictionary dictionary;
      plist_dict_iter iter = nullptr;
      plist_dict_new_iter(node, &iter);
      bool ok = iter != nullptr;
      while (ok) {
        char* key = nullptr;
        plist_t item = nullptr;
        plist_dict_next_item(node, iter, &key, &item);
        if (!item) {
          std::free(key);
          break;
        }
        auto element = fromPlist(item, depth + 1);
        if (element && key) dictionary.insert_or_assign(key, std::move(*element));
        ok = element.has_value();
        std::free(key);
      }
      std::free(iter);
      if (!ok) return std::nullopt;
      return Value(std::move(dictionary));
    }
    case PLIST_NONE:
      break;
  }
  return std::nullopt;
}

// libplist writes a DOCTYPE line that names a vendor's DTD; readers need no DTD, so it is left out.
void dropDoctype(Data& xml) {
  constexpr std::string_view kDoctype = "<!DOCTYPE";
  const std::string_view text(reinterpret_cast<const char*>(xml.data()), xml.size());
  const std::size_t start = text.find(kDoctype);
  const std::size_t end = text.find('\n', start);
  if (start == std::string_view::npos || end == std::string_view::npos) return;
  xml.erase(xml.begin() + static_cast<std::ptrdiff_t>(start),
            xml.begin() + static_cast<std::ptrdiff_t>(end + 1));
}

}  // namespace

Data encodePropertyList(const Value& value, PropertyListFormat format) {
  try {
    PlistPtr root(value.isNull() ? plist_new_string("") : toPlist(value));
    char* bytes = nullptr;
    std::uint32_t length = 0;
    if (format == PropertyListFormat::XML) {
      plist_to_xml(root.get(), &bytes, &length);
    } else {
      plist_to_bin(root.get(), &bytes, &length);
    }
    if (!bytes) return {};
    Data data(bytes, bytes + length);
    if (format == PropertyListFormat::XML) dropDoctype(data);
    if (format == PropertyListFormat::XML) {
      plist_to_xml_free(bytes);
    } else {
      plist_to_bin_free(bytes);
    }
    return data;
  } catch (const std::exception&) {  // out of memory
    return {};
  }
}

std::optional<Value> decodePropertyList(std::string_view bytes) {
  try {
    if (bytes.empty() || bytes.size() > std::numeric_limits<std::uint32_t>::max()) {
      return std::nullopt;
    }
    const auto length = static_cast<std::uint32_t>(bytes.size());
    const bool binary = plist_is_binary(bytes.data(), length) != 0;
    if (binary ? !binaryGraphAcceptable(bytes) : !xmlDepthWithinLimit(bytes)) return std::nullopt;
    plist_t parsed = nullptr;
    plist_from_memory(bytes.data(), length, &parsed);
    PlistPtr root(parsed);
    if (!root) return std::nullopt;
    return fromPlist(root.get(), 0);
  } catch (const std::exception&) {
    return std::nullopt;
  }
}

std::optional<Value> readPropertyListFile(const std::string& path) {
  try {
    std::ifstream file(path, std::ios::binary);
    if (!file) return std::nullopt;
    std::string bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    if (file.bad()) return std::nullopt;
    return decodePropertyList(bytes);
  } catch (const std::exception&) {
    return std::nullopt;
  }
}

}  // namespace norvik::platform
