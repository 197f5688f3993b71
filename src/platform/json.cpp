#include "norvik/platform/json.h"

#include <glib.h>

#include <cmath>
#include <nlohmann/json.hpp>
#include <utility>
#include <vector>

namespace norvik::platform {
namespace {

using nlohmann::json;

// Containers nested deeper than this are refused, by the reader and the writer alike, so that
// hostile input cannot exhaust the stack of the recursive code that walks a Value.
constexpr std::size_t kMaxDepth = 512;

// ---- Writing ----

class Writer {
 public:
  explicit Writer(JSONWriteOptions options) : options_(options) {}

  bool write(const Value& value, std::size_t depth) {
    switch (value.type()) {
      case Value::Type::Null:
        out_ += "null";
        return true;
      case Value::Type::Boolean:
        out_ += *value.boolValue() ? "true" : "false";
        return true;
      case Value::Type::Integer:
      case Value::Type::Real:
        return writeNumber(value);
      case Value::Type::String:
        return writeString(*value.string());
      case Value::Type::Date:
        return writeNumber(Value(value.date()->timeIntervalSince1970()));
      case Value::Type::Data:
        return writeData(*value.data());
      case Value::Type::Array:
        return writeArray(*value.array(), depth);
      case Value::Type::Dictionary:
        return writeDictionary(*value.dictionary(), depth);
    }
    return false;
  }

  std::string take() { return std::move(out_); }

 private:
  bool writeNumber(const Value& number) {
    auto real = number.doubleValue();
    if (!real || !std::isfinite(*real)) return false;
    // "-0" would read back as the integer 0; "-0.0" keeps the sign of a negative zero.
    if (number.type() == Value::Type::Real && *real == 0 && std::signbit(*real)) {
      out_ += "-0.0";
      return true;
    }
    auto text = number.numberText();
    if (!text) return false;
    out_ += *text;
    return true;
  }

  // nlohmann's serializer escapes quotes, backslashes and control characters and refuses text
  // that is not UTF-8 (type_error 316), which makes the whole document unwritable.
  bool writeString(const std::string& text) {
    try {
      out_ += json(text).dump(-1, ' ', false, json::error_handler_t::strict);
      return true;
    } catch (const json::exception&) {
      return false;
    }
  }

  bool writeData(const Data& data) {
    gchar* base64 = g_base64_encode(data.data(), data.size());
    out_ += '"';
    out_ += base64;
    out_ += '"';
    g_free(base64);
    return true;
  }

  bool writeArray(const Array& array, std::size_t depth) {
    if (depth >= kMaxDepth) return false;
    if (array.empty()) {
      out_ += "[]";
      return true;
    }
    out_ += '[';
    bool first = true;
    for (const Value& element : array) {
      separate(first, depth + 1);
      if (!write(element, depth + 1)) return false;
    }
    newline(depth);
    out_ += ']';
    return true;
  }

  // A Dictionary is ordered by the bytes of its keys, so keys always come out sorted.
  bool writeDictionary(const Dictionary& dictionary, std::size_t depth) {
    if (depth >= kMaxDepth) return false;
    if (dictionary.empty()) {
      out_ += "{}";
      return true;
    }
    out_ += '{';
    bool first = true;
    for (const auto& [key, element] : dictionary) {
      separate(first, depth + 1);
      if (!writeString(key)) return false;
      out_ += options_.prettyPrinted ? " : " : ":";
      if (!write(element, depth + 1)) return false;
    }
    newline(depth);
    out_ += '}';
    return true;
  }

  void separate(bool& first, std::size_t depth) {
    if (!first) out_ += ',';
    first = false;
    newline(depth);
  }

  void newline(std::size_t depth) {
    if (!options_.prettyPrinted) return;
    out_ += '\n';
    out_.append(depth * 2, ' ');
  }

  JSONWriteOptions options_;
  std::string out_;
};

// ---- Reading ----

// Builds a Value straight from nlohmann's SAX events, without an intermediate json tree, and stops
// at the first error or at a container nested deeper than kMaxDepth.
class ValueBuilder : public nlohmann::json_sax<json> {
 public:
  bool null() override { return add(Value()); }
  bool boolean(bool b) override { return add(Value(b)); }
  bool number_integer(number_integer_t i) override { return add(Value(static_cast<long long>(i))); }
  bool number_unsigned(number_unsigned_t u) override {
    return add(Value(static_cast<unsigned long long>(u)));
  }
  bool number_float(number_float_t d, const string_t&) override { return add(Value(d)); }
  bool string(string_t& s) override { return add(Value(std::move(s))); }
  bool binary(binary_t&) override { return false; }  // not produced by the JSON reader

  bool start_object(std::size_t) override { return open(true); }
  bool key(string_t& k) override {
    frames_.back().key = std::move(k);
    return true;
  }
  bool end_object() override { return close(); }
  bool start_array(std::size_t) override { return open(false); }
  bool end_array() override { return close(); }

  bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception&) override {
    return false;
  }

  std::optional<Value> result() { return std::move(root_); }

 private:
  struct Frame {
    bool isObject;
    Array array;
    Dictionary dictionary;
    std::string key;
  };

  bool open(bool isObject) {
    if (frames_.size() >= kMaxDepth) return false;
    frames_.push_back(Frame{isObject, {}, {}, {}});
    return true;
  }

  bool close() {
    Frame frame = std::move(frames_.back());
    frames_.pop_back();
    return frame.isObject ? add(Value(std::move(frame.dictionary)))
                          : add(Value(std::move(frame.array)));
  }

  bool add(Value value) {
    if (frames_.empty()) {
      root_ = std::move(value);
    } else if (Frame& top = frames_.back(); top.isObject) {
      // A repeated key keeps its last value.
      top.dictionary.insert_or_assign(std::move(top.key), std::move(value));
    } else {
      top.array.push_back(std::move(value));
    }
    return true;
  }

  std::vector<Frame> frames_;
  std::optional<Value> root_;
};

}  // namespace

std::optional<std::string> encodeJSON(const Value& value, JSONWriteOptions options) {
  try {
    Writer writer(options);
    if (!writer.write(value, 0)) return std::nullopt;
    return writer.take();
  } catch (const std::exception&) {  // out of memory
    return std::nullopt;
  }
}

std::optional<Value> decodeJSON(std::string_view text) {
  try {
    ValueBuilder builder;
    if (!json::sax_parse(text.begin(), text.end(), &builder)) return std::nullopt;
    return builder.result();
  } catch (const std::exception&) {
    return std::nullopt;
  }
}

}  // namespace norvik::platform
