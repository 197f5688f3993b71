#include <atomic>
#include <cmath>
#include <iostream>

#include "cli.h"

namespace norvik::cli {
namespace {

std::string base64(const platform::Data& data) {
  static constexpr char kAlphabet[] =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string out;
  std::size_t i = 0;
  for (; i + 2 < data.size(); i += 3) {
    unsigned n = (data[i] << 16) | (data[i + 1] << 8) | data[i + 2];
    for (int shift : {18, 12, 6, 0}) out += kAlphabet[(n >> shift) & 63];
  }
  if (i + 1 == data.size()) {
    unsigned n = data[i] << 16;
    out += kAlphabet[(n >> 18) & 63];
    out += kAlphabet[(n >> 12) & 63];
    out += "==";
  } else if (i + 2 == data.size()) {
    unsigned n = (data[i] << 16) | (data[i + 1] << 8);
    out += kAlphabet[(n >> 18) & 63];
    out += kAlphabet[(n >> 12) & 63];
    out += kAlphabet[(n >> 6) & 63];
    out += '=';
  }
  return out;
}

}  // namespace

nlohmann::json toJSON(const platform::Value& value) {
  using Type = platform::Value::Type;
  switch (value.type()) {
    case Type::Null:
      return nullptr;
    case Type::Boolean:
      return *value.boolValue();
    case Type::Integer:
      return *value.int64Value();
    case Type::Real: {
      double d = *value.doubleValue();
      if (!std::isfinite(d)) return *value.numberText();
      return d;
    }
    case Type::String:
      return *value.string();
    case Type::Date:
      return value.date()->timeIntervalSince1970();
    case Type::Data:
      return base64(*value.data());
    case Type::Array: {
      nlohmann::json out = nlohmann::json::array();
      for (const auto& element : *value.array()) out.push_back(toJSON(element));
      return out;
    }
    case Type::Dictionary: {
      nlohmann::json out = nlohmann::json::object();
      for (const auto& [key, element] : *value.dictionary()) out[key] = toJSON(element);
      return out;
    }
  }
  return nullptr;
}

std::string plainText(const platform::Value& value) {
  if (value.isString() || value.isNumber()) return *value.numberText();
  if (value.isNull()) return "(null)";
  if (value.date()) return value.description();
  return toJSON(value).dump();
}

void printJSON(const nlohmann::json& document) {
  std::cout << document.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) << "\n";
}

namespace {
// The length of the well-formed UTF-8 sequence at the start of `text`, or 0.
std::size_t utf8SequenceLength(std::string_view text) {
  const auto c = static_cast<unsigned char>(text[0]);
  const std::size_t n = c < 0xC2 ? 0 : c < 0xE0 ? 2 : c < 0xF0 ? 3 : c < 0xF5 ? 4 : 0;
  if (n == 0 || text.size() < n) return 0;
  const auto second = static_cast<unsigned char>(text[1]);
  // Overlong forms, surrogates and code points above U+10FFFF have a second byte out of range.
  const unsigned char low = c == 0xE0 ? 0xA0 : c == 0xF0 ? 0x90 : 0x80;
  const unsigned char high = c == 0xED ? 0x9F : c == 0xF4 ? 0x8F : 0xBF;
  if (second < low || second > high) return 0;
  for (std::size_t i = 2; i < n; ++i) {
    if ((static_cast<unsigned char>(text[i]) & 0xC0) != 0x80) return 0;
  }
  return n;
}
}  // namespace

std::string oneLine(std::string_view text, std::size_t limit) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string out;
  std::size_t i = 0;
  while (i < text.size() && out.size() < limit) {
    const auto c = static_cast<unsigned char>(text[i]);
    if (c >= 0x20 && c < 0x7F) {
      out += static_cast<char>(c);
      ++i;
    } else if (c == '\n' || c == '\r' || c == '\t') {
      out += c == '\n' ? "\\n" : c == '\r' ? "\\r" : "\\t";
      ++i;
    } else if (const std::size_t n = c >= 0x80 ? utf8SequenceLength(text.substr(i)) : 0) {
      out.append(text.substr(i, n));
      i += n;
    } else {
      out += "\\x";
      out += kHex[c >> 4];
      out += kHex[c & 0xF];
      ++i;
    }
  }
  if (i < text.size()) out += "...";
  return out;
}

void printError(std::string_view message) {
  static std::atomic<bool> printed{false};
  if (printed.exchange(true)) return;
  std::cerr << "norvik: " << oneLine(message) << "\n";
}

}  // namespace norvik::cli
