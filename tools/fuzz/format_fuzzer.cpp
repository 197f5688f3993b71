// Fuzzes the printf-style format engine with typed arguments in two ways, chosen by the first byte:
//  - an arbitrary format text with a random list of typed arguments, kept in a heap block of
//    exactly its size so that AddressSanitizer sees any read past the list. A result must fit the
//    size limit, a text without '%' must come back unchanged, and extra arguments the text does not
//    use must not change the result;
//  - one specifier built from the input, on an integer, a real or an ASCII string, whose result
//    must equal the C library's snprintf of the same specifier.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "fuzz_support.h"
#include "norvik/platform/format.h"

using namespace norvik::platform;
using norvik::fuzz::check;

namespace {

FormatArgument makeArgument(FuzzedDataProvider& in) {
  switch (in.ConsumeIntegralInRange(0, 8)) {
    case 0:
      return FormatArgument(in.ConsumeIntegral<std::int64_t>());
    case 1:
      return FormatArgument(in.ConsumeIntegral<std::uint64_t>());
    case 2:
      return FormatArgument(in.ConsumeFloatingPoint<double>());
    case 3:
      return FormatArgument(in.ConsumeBool());
    case 4:
      return FormatArgument(in.ConsumeRandomLengthString(64));
    case 5:
      return FormatArgument(nullptr);
    case 6:
      return FormatArgument(Value(in.ConsumeIntegral<std::int64_t>()));
    case 7:
      return FormatArgument(Value(in.ConsumeFloatingPoint<double>()));
    default:
      return FormatArgument(Value(Array{Value(in.ConsumeRandomLengthString(16)), Value(true)}));
  }
}

// The first n arguments in a heap block of exactly that size: a read of list[n] lands outside it.
std::vector<FormatArgument> heapList(const std::vector<FormatArgument>& arguments, std::size_t n) {
  return std::vector<FormatArgument>(arguments.begin(), arguments.begin() + n);
}

void arbitraryFormat(FuzzedDataProvider& in) {
  std::vector<FormatArgument> arguments;
  const std::size_t count = in.ConsumeIntegralInRange<std::size_t>(0, 6);
  for (std::size_t i = 0; i < count; ++i) arguments.push_back(makeArgument(in));
  const std::size_t used = in.ConsumeIntegralInRange<std::size_t>(0, count);
  const std::string format = in.ConsumeRemainingBytesAsString();

  const std::vector<FormatArgument> list = heapList(arguments, used);
  const auto result = tryFormat(format, std::span<const FormatArgument>(list.data(), list.size()));
  if (format.find('%') == std::string::npos) {
    check(result == format, "a text without '%' is its own result");
  }
  if (!result) return;
  check(result->size() <= kMaxFormatOutput, "a result fits the size limit");
  const auto more = tryFormat(format, arguments);
  check(more == result, "unused extra arguments change nothing");
  check(formatWithFallback(format, "fallback", list) == *result, "the fallback is not used");
}

// One specifier against snprintf.
void againstSnprintf(FuzzedDataProvider& in) {
  std::string directive = "%";
  const bool left = in.ConsumeBool(), plus = in.ConsumeBool(), space = in.ConsumeBool();
  const bool zero = in.ConsumeBool(), alt = in.ConsumeBool();
  const int kind = in.ConsumeIntegralInRange(0, 2);  // integer, real, string
  if (left) directive += '-';
  if (plus) directive += '+';
  if (space) directive += ' ';
  if (zero && kind != 2) directive += '0';
  if (alt && kind != 2) directive += '#';
  if (in.ConsumeBool()) directive += std::to_string(in.ConsumeIntegralInRange(0, 80));
  if (in.ConsumeBool()) directive += "." + std::to_string(in.ConsumeIntegralInRange(0, 80));

  char buffer[512];
  std::string expected;
  std::optional<std::string> actual;
  if (kind == 0) {
    static constexpr char kConversions[] = {'d', 'i', 'u', 'x', 'X', 'o'};
    directive += "ll";
    directive += in.PickValueInArray(kConversions);
    const auto value = in.ConsumeIntegral<long long>();
    std::snprintf(buffer, sizeof buffer, directive.c_str(), value);
    actual = tryFormat(directive, std::vector<FormatArgument>{FormatArgument(value)});
  } else if (kind == 1) {
    static constexpr char kConversions[] = {'f', 'F', 'e', 'E', 'g', 'G', 'a', 'A'};
    directive += in.PickValueInArray(kConversions);
    const auto value = in.ConsumeFloatingPoint<double>();
    std::snprintf(buffer, sizeof buffer, directive.c_str(), value);
    actual = tryFormat(directive, std::vector<FormatArgument>{FormatArgument(value)});
  } else {
    std::string text = in.ConsumeRandomLengthString(100);
    for (char& c : text) c = static_cast<char>(0x20 + static_cast<unsigned char>(c) % 0x5F);
    directive += 's';
    std::snprintf(buffer, sizeof buffer, directive.c_str(), text.c_str());
    actual = tryFormat(directive, std::vector<FormatArgument>{FormatArgument(text)});
  }
  expected = buffer;
  if (actual != expected) {
    std::fprintf(stderr, "%s: engine '%s', snprintf '%s'\n", directive.c_str(),
                 actual ? actual->c_str() : "(mismatch)", expected.c_str());
    norvik::fuzz::fail("a specifier formats as snprintf does");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider in(data, size);
  if (in.ConsumeBool()) {
    againstSnprintf(in);
  } else {
    arbitraryFormat(in);
  }
  return 0;
}
