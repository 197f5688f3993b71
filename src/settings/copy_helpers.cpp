#include "norvik/settings/copy_helpers.h"

namespace norvik {

// Values share their nested containers copy-on-write, so a plain copy is already as independent
// of its source as an element-by-element one: a change through either side copies first.
platform::Array nv_deepMutableCopy(const platform::Array& array) {
  return array;
}

platform::Dictionary nv_deepMutableCopy(const platform::Dictionary& dictionary) {
  return dictionary;
}

platform::Array nv_deepCopy(const platform::Array& array) {
  return array;
}

platform::Dictionary nv_deepCopy(const platform::Dictionary& dictionary) {
  return dictionary;
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
