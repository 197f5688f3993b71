// The Markdown link helpers on one 1 MB line: brackets only (every '[' opens a link that never
// closes, the worst case for a backtracking search) and task content full of links, images and
// attachments.
#include <benchmark/benchmark.h>

#include <string>

#include "norvik/vocabulary/text_helpers.h"

namespace {

constexpr std::size_t kMegabyte = 1 << 20;

std::string line(int kind) {
  if (kind == 0) return std::string(kMegabyte, '[');
  const std::string piece =
      "see [site](https://x.org/a) and ![image](64f0a1/p.png) or [open [nested] (x) ![c](d) ";
  std::string text;
  while (text.size() + piece.size() <= kMegabyte) text += piece;
  return text;
}

template <std::string (*Helper)(std::string_view)>
void BM_Helper(benchmark::State& state) {
  const std::string text = line(static_cast<int>(state.range(0)));
  for (auto _ : state) benchmark::DoNotOptimize(Helper(text));
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
}

using norvik::processingMarkdownElementsAsTaskContent;
using norvik::replacingMarkdownElementsAsTaskContent;
using norvik::trimMarkdownLink;
BENCHMARK(BM_Helper<trimMarkdownLink>)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Helper<processingMarkdownElementsAsTaskContent>)
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Helper<replacingMarkdownElementsAsTaskContent>)
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
