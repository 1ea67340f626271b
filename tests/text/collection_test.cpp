#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "base/collection.h"
#include "base/error.h"
#include "base/text.h"

namespace ohmwise {
namespace {

template <class Step>
int32_t ErrorOf(Step&& step) {
  try {
    step();
    return 0;
  } catch (const AutomationError& error) {
    return static_cast<int32_t>(error.number());
  }
}

struct ModelItem {
  int32_t value;
  std::optional<std::u16string> key;
};

/// The collection in its plainest form, one scan per operation.
class Model {
 public:
  int32_t Insert(int32_t value, const std::optional<std::u16string>& key, int32_t place) {
    if (place < 0 || place > static_cast<int32_t>(items.size())) return 9;
    if (key && Find(*key) >= 0) return 457;
    items.insert(items.begin() + place, {value, key});
    return 0;
  }
  int32_t Find(std::u16string_view key) const {
    for (size_t i = 0; i < items.size(); ++i) {
      if (items[i].key && EqualNoCase(*items[i].key, key)) return static_cast<int32_t>(i);
    }
    return -1;
  }
  std::vector<ModelItem> items;
};

TEST(CollectionTest, RandomOperationsAgreeWithAPlainList) {
  std::mt19937 random(7);
  Model model;
  const CollectionRef collection = MakeCollection();
  const auto pick = [&](int32_t below) {
    return static_cast<int32_t>(random() % static_cast<uint32_t>(below));
  };
  for (int32_t step = 0; step < 20000; ++step) {
    const auto count = static_cast<int32_t>(model.items.size());
    std::optional<std::u16string> key;
    if (pick(3) != 0) {
      key = (pick(2) ? u"ä" : u"Ä") + DecimalText(pick(400)) + (pick(2) ? u"k" : u"K");
    }
    const int32_t position = pick(count + 3) - 1;  // one below and one above the range as well
    int32_t expected = 0, actual = 0;
    switch (pick(6)) {
      case 0:
        expected = model.Insert(step, key, count);
        actual = ErrorOf([&] { collection->Add(Value(step), key); });
        break;
      case 1:
        expected = position < 1 || position > count ? 9 : model.Insert(step, key, position - 1);
        actual = ErrorOf([&] { collection->AddBefore(Value(step), key, position); });
        break;
      case 2:
        expected = position < 1 || position > count ? 9 : model.Insert(step, key, position);
        actual = ErrorOf([&] { collection->AddAfter(Value(step), key, position); });
        break;
      case 3:
        if (count < 60) break;  // keep it populated
        expected = position < 1 || position > count ? 9 : 0;
        if (expected == 0) model.items.erase(model.items.begin() + position - 1);
        actual = ErrorOf([&] { collection->Remove(position); });
        break;
      case 4: {
        if (!key) break;
        const int32_t found = model.Find(*key);
        expected = found < 0 ? 5 : 0;
        if (found >= 0) model.items.erase(model.items.begin() + found);
        actual = ErrorOf([&] { collection->Remove(*key); });
        break;
      }
      default: {
        if (!key) break;
        const int32_t found = model.Find(*key);
        expected = found < 0 ? 5 : 0;
        actual = ErrorOf([&] {
          EXPECT_EQ(collection->Item(*key).ToInt32(),
                    model.items[static_cast<size_t>(found)].value);
        });
      }
    }
    ASSERT_EQ(actual, expected) << "step " << step;
    ASSERT_EQ(collection->Count(), static_cast<int32_t>(model.items.size())) << "step " << step;
    if (step % 50 != 0) continue;
    for (size_t i = 0; i < model.items.size(); ++i) {
      ASSERT_EQ(collection->Item(static_cast<int32_t>(i) + 1).ToInt32(), model.items[i].value)
          << "step " << step << ", position " << i + 1;
    }
  }
}

TEST(CollectionTest, EmptyTextIsAKeyAndNoKeyIsNone) {
  const CollectionRef collection = MakeCollection();
  collection->Add(Value(u"without"));
  collection->Add(Value(u"with"), u"");
  EXPECT_EQ(collection->Item(u"").ToText(), u"with");
  EXPECT_EQ(ErrorOf([&] { collection->Add(Value(u"again"), u""); }), 457);
  collection->Add(Value(u"another without"));
  EXPECT_EQ(collection->Count(), 3);
}

TEST(CollectionTest, LateBoundCallsFollowTheRuntime) {
  const CollectionRef collection = MakeCollection();
  const auto add = [&](std::vector<Value> arguments) {
    return ErrorOf([&] { collection->Call(u"add", arguments); });
  };
  EXPECT_EQ(add({u"b", u"B"}), 0);
  EXPECT_EQ(add({u"a", u"A", u"b"}), 0);                    // before a key
  EXPECT_EQ(add({u"c", Value(), Value(), 2.0}), 0);         // after a position
  EXPECT_EQ(add({u"x", u"X", int32_t{1}, int32_t{1}}), 5);  // before and after together
  EXPECT_EQ(add({u"x", int32_t{4}}), 13);                   // a key that is no text
  EXPECT_EQ(add({u"x", u"X", u"missing"}), 5);
  EXPECT_EQ(add({u"x", u"X", int32_t{9}}), 9);
  std::u16string order;
  for (int32_t i = 1; i <= collection->Get(u"Count").ToInt32(); ++i) {
    const Value index[] = {i};
    order += collection->Get(u"ITEM", index).ToText();
  }
  EXPECT_EQ(order, u"abc");
  EXPECT_EQ(ErrorOf([&] { collection->Call(u"Sort"); }), 438);
}

TEST(CollectionTest, LetsGoOfItsItems) {
  const int64_t before = LiveObjectCount();
  {
    const CollectionRef outer = MakeCollection();
    for (int32_t i = 0; i < 1000; ++i) outer->Add(Value(MakeCollection()), DecimalText(i));
    for (int32_t i = 0; i < 500; ++i) outer->Remove(DecimalText(i));
    EXPECT_EQ(LiveObjectCount(), before + 501);
  }
  EXPECT_EQ(LiveObjectCount(), before);
}

}  // namespace
}  // namespace ohmwise
