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

}  // namespace norvik::cli
