#include "norvik/settings/copy_helpers.h"

namespace norvik {

namespace {

// A nested array or dictionary is copied element by element; other values are copied as they are.
platform::Value copiedElement(const platform::Value& element) {
  if (const platform::Array* array = element.array()) return platform::Value(nv_deepCopy(*array));
  if (const platform::Dictionary* dictionary = element.dictionary()) {
    return platform::Value(nv_deepCopy(*dictionary));
  }
  return element;
}

}  // namespace

platform::Array nv_deepMutableCopy(const platform::Array& array) {
  platform::Array copy;
  copy.reserve(array.size());
  for (const platform::Value& element : array) copy.push_back(copiedElement(element));
  return copy;
}

platform::Dictionary nv_deepMutableCopy(const platform::Dictionary& dictionary) {
  platform::Dictionary copy;
  for (const auto& [key, element] : dictionary)
    copy.emplace_hint(copy.end(), key, copiedElement(element));
  return copy;
}

platform::Array nv_deepCopy(const platform::Array& array) {
  return nv_deepMutableCopy(array);
}

platform::Dictionary nv_deepCopy(const platform::Dictionary& dictionary) {
  return nv_deepMutableCopy(dictionary);
}

platform::Array filter(
    const platform::Array& array,
    const std::function<bool(const platform::Value&, std::size_t, bool&)>& test) {
  platform::Array passed;
  if (!test) return passed;
  bool stop = false;
  for (std::size_t index = 0; index < array.size() && !stop; ++index) {
    if (test(array[index], index, stop)) passed.push_back(array[index]);
  }
  return passed;
}

bool NVObjectIsNilOrNull(const std::optional<platform::Value>& object) {
  return !object || object->isNull();
}

bool NVObjectIsEqualToObject(const std::optional<platform::Value>& a,
                             const std::optional<platform::Value>& b) {
  if (!a && !b) return true;
  if (!a || !b) return false;
  return *a == *b;
}

bool NVObjectIsDifferentFromObject(const std::optional<platform::Value>& a,
                                   const std::optional<platform::Value>& b) {
  return !NVObjectIsEqualToObject(a, b);
}

}  // namespace norvik
