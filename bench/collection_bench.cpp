// The keyed collection against the plain pair of a vector and a hash map, both in one run. The
// vector holds the positions, the map the keys; a key is found in the map, its position is not.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

#include "base/collection.h"
#include "base/text.h"

namespace ohmwise {
namespace {

std::vector<std::u16string> Keys(int64_t count) {
  std::vector<std::u16string> keys;
  for (int32_t i = 0; i < count; ++i) keys.push_back(u"-K" + DecimalText(i));
  return keys;
}

struct OwnCollection {
  CollectionRef items = MakeCollection();

  void Append(int32_t value, const std::u16string& key) { items->Add(Value(value), key); }
  int32_t At(int32_t position) { return items->Item(position).ToInt32(); }
  int32_t Under(const std::u16string& key) { return items->Item(key).ToInt32(); }
  void InsertAt(int32_t position, int32_t value, const std::u16string& key) {
    items->AddBefore(Value(value), key, position);
  }
  void Remove(const std::u16string& key) { items->Remove(key); }
};

struct PlainCollection {
  struct Item {
    Value value;
    std::u16string key;
  };
  std::vector<Item> items;
  std::unordered_map<std::u16string, Value> keys;

  void Append(int32_t value, const std::u16string& key) {
    keys.emplace(FoldCase(key), value);
    items.push_back({value, key});
  }
  int32_t At(int32_t position) { return items[static_cast<size_t>(position) - 1].value.ToInt32(); }
  int32_t Under(const std::u16string& key) { return keys.at(FoldCase(key)).ToInt32(); }
  void InsertAt(int32_t position, int32_t value, const std::u16string& key) {
    keys.emplace(FoldCase(key), value);
    items.insert(items.begin() + position - 1, {value, key});
  }
  void Remove(const std::u16string& key) {
    keys.erase(FoldCase(key));
    for (auto item = items.begin(); item != items.end(); ++item) {
      if (item->key != key) continue;
      items.erase(item);
      return;
    }
  }
};

template <class Store>
void Fill(Store& store, const std::vector<std::u16string>& keys) {
  for (size_t i = 0; i < keys.size(); ++i) store.Append(static_cast<int32_t>(i), keys[i]);
}

/// Random places, the same for both.
class Places {
 public:
  explicit Places(int64_t count) : any_(1, static_cast<int32_t>(count)) {}
  int32_t Next() { return any_(random_); }

 private:
  std::minstd_rand random_{11};
  std::uniform_int_distribution<int32_t> any_;
};

template <class Store>
void BM_Fill(benchmark::State& state) {
  const auto keys = Keys(state.range(0));
  for (auto _ : state) {
    Store store;
    Fill(store, keys);
    benchmark::DoNotOptimize(store.At(1));
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

template <class Store>
void BM_ReadByPosition(benchmark::State& state) {
  Store store;
  Fill(store, Keys(state.range(0)));
  Places places(state.range(0));
  for (auto _ : state) benchmark::DoNotOptimize(store.At(places.Next()));
}

template <class Store>
void BM_ReadInOrder(benchmark::State& state) {
  Store store;
  Fill(store, Keys(state.range(0)));
  for (auto _ : state) {
    for (int32_t i = 1; i <= state.range(0); ++i) benchmark::DoNotOptimize(store.At(i));
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

template <class Store>
void BM_ReadByKey(benchmark::State& state) {
  const auto keys = Keys(state.range(0));
  Store store;
  Fill(store, keys);
  Places places(state.range(0));
  for (auto _ : state) {
    benchmark::DoNotOptimize(store.Under(keys[static_cast<size_t>(places.Next()) - 1]));
  }
}

/// One insertion in the middle and the removal of the same item by its key.
template <class Store>
void BM_InsertAndRemove(benchmark::State& state) {
  Store store;
  Fill(store, Keys(state.range(0)));
  Places places(state.range(0));
  const std::u16string key = u"-X1";
  for (auto _ : state) {
    store.InsertAt(places.Next(), 1, key);
    store.Remove(key);
  }
}

#define OHMWISE_COMPARE(name)                                      \
  BENCHMARK_TEMPLATE(name, OwnCollection)->Arg(1000)->Arg(100000); \
  BENCHMARK_TEMPLATE(name, PlainCollection)->Arg(1000)->Arg(100000)

OHMWISE_COMPARE(BM_Fill);
OHMWISE_COMPARE(BM_ReadByPosition);
OHMWISE_COMPARE(BM_ReadInOrder);
OHMWISE_COMPARE(BM_ReadByKey);
OHMWISE_COMPARE(BM_InsertAndRemove);

}  // namespace
}  // namespace ohmwise

BENCHMARK_MAIN();
