// The order of wire names against a collator with numeric order, over the same pairs of UTF-16
// texts: pairs drawn at random, and the pairs that filing texts one by one into a sorted list asks.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>
#include <unicode/ucol.h>

#include "shapeutil/clsLMisc.h"

namespace {

using ohmwise::clsLMisc;
using Pairs = std::vector<std::pair<uint32_t, uint32_t>>;

std::u16string Number(uint32_t number) {
  const std::string digits = std::to_string(number);
  return {digits.begin(), digits.end()};
}

std::vector<std::u16string> ReferenceTexts(size_t count) {
  std::mt19937 random(4711);
  const auto below = [&random](uint32_t limit) { return static_cast<uint32_t>(random() % limit); };
  const char16_t* const kinds[] = {u"K", u"Q", u"F", u"M", u"S", u"T", u"H", u"KM"};
  std::vector<std::u16string> texts;
  for (size_t i = 0; i < count; ++i) {
    const std::u16string kind = kinds[below(8)];
    switch (below(8)) {
      case 0:
        texts.push_back(u"-" + kind + Number(below(40)) + static_cast<char16_t>(u'A' + below(4)));
        break;
      case 1:
        texts.push_back(u"W00" + Number(10 + below(90)));
        break;
      case 2:
        texts.push_back(Number(1 + below(50)) + kind + Number(1 + below(20)));
        break;
      case 3:
        texts.push_back(u"X" + Number(1 + below(9)) + u":" + Number(1 + below(60)));
        break;
      case 4:
        texts.push_back(Number(1 + below(2000)));
        break;
      case 5:
        texts.push_back(u"=A" + Number(below(9)) + u"+S" + Number(below(9)) + u"-" + kind +
                        Number(below(99)));
        break;
      default:
        texts.push_back(kind + Number(1 + below(200)));
    }
  }
  return texts;
}

const std::vector<std::u16string>& Texts() {
  static const std::vector<std::u16string> texts = ReferenceTexts(4000);
  return texts;
}

const Pairs& RandomPairs() {
  static const Pairs pairs = [] {
    std::mt19937 random(42);
    Pairs made;
    for (int i = 0; i < 1 << 16; ++i) {
      made.emplace_back(random() % Texts().size(), random() % Texts().size());
    }
    return made;
  }();
  return pairs;
}

const Pairs& SortPairs() {
  static const Pairs pairs = [] {
    clsLMisc misc;
    Pairs asked;
    std::vector<uint32_t> sorted;
    for (uint32_t next = 0; next < Texts().size(); ++next) {
      size_t low = 0;
      size_t high = sorted.size();
      while (low < high) {
        const size_t middle = (low + high) / 2;
        asked.emplace_back(next, sorted[middle]);
        if (misc.NetComp(Texts()[next], Texts()[sorted[middle]]) > 0) {
          low = middle + 1;
        } else {
          high = middle;
        }
      }
      sorted.insert(sorted.begin() + static_cast<std::ptrdiff_t>(low), next);
    }
    return asked;
  }();
  return pairs;
}

void BM_NetComp(benchmark::State& state, const Pairs& (*pairs)()) {
  clsLMisc misc;
  const std::vector<std::u16string>& texts = Texts();
  const Pairs& asked = pairs();
  for (auto _ : state) {
    int64_t sum = 0;
    for (const auto& [a, b] : asked) sum += misc.NetComp(texts[a], texts[b]);
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(asked.size()));
}

void BM_Collator(benchmark::State& state, const Pairs& (*pairs)()) {
  UErrorCode status = U_ZERO_ERROR;
  UCollator* collator = ucol_open("en", &status);
  ucol_setAttribute(collator, UCOL_NUMERIC_COLLATION, UCOL_ON, &status);
  if (U_FAILURE(status)) {
    std::fprintf(stderr, "collator: %s\n", u_errorName(status));
    std::exit(EXIT_FAILURE);
  }
  const std::vector<std::u16string>& texts = Texts();
  const Pairs& asked = pairs();
  for (auto _ : state) {
    int64_t sum = 0;
    for (const auto& [a, b] : asked) {
      sum += ucol_strcoll(collator, texts[a].data(), static_cast<int32_t>(texts[a].size()),
                          texts[b].data(), static_cast<int32_t>(texts[b].size()));
    }
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(asked.size()));
  ucol_close(collator);
}

BENCHMARK_CAPTURE(BM_NetComp, random_pairs, RandomPairs);
BENCHMARK_CAPTURE(BM_Collator, random_pairs, RandomPairs);
BENCHMARK_CAPTURE(BM_NetComp, sorted_insert, SortPairs);
BENCHMARK_CAPTURE(BM_Collator, sorted_insert, SortPairs);

}  // namespace

BENCHMARK_MAIN();
