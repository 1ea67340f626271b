#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/error.h"
#include "base/text.h"
#include "platform/host.h"
#include "shapeutil/clsLMisc.h"
#include "sort/clsLOSort.h"
#include "sort/clsLSort.h"
#include "sort/clsLSortComp.h"
#include "sort/clsLSortLayShape.h"
#include "tests/support/raised.h"
#include "tests/support/test_drawing.h"

namespace ohmwise {
namespace {

using testing::ErrorOf;

class SortTest : public ::testing::Test {
 protected:
  void SetUp() override { Restart(); }
  void TearDown() override {
    scope_.reset();
    collection_ = nullptr;
    EXPECT_EQ(LiveObjectCount(), live_);
  }

  /// A new collection, and a comparison that remembers no text yet.
  void Restart() {
    scope_.reset();
    scope_.emplace(host_);
    collection_ = MakeCollection();
  }

  std::u16string Order() const {
    std::u16string order;
    for (int32_t i = 1; i <= collection_->Count(); ++i) {
      if (i > 1) order += u' ';
      order += collection_->Item(i).ToText();
    }
    return order;
  }

  int64_t live_ = LiveObjectCount();
  testing::TestHost host_;
  std::optional<HostScope> scope_;
  CollectionRef collection_;
};

std::vector<std::u16string> Words(std::u16string_view text) {
  std::vector<std::u16string> words(1);
  for (const char16_t unit : text) {
    if (unit == u' ') {
      words.emplace_back();
    } else {
      words.back() += unit;
    }
  }
  return words;
}

TEST_F(SortTest, OrderOfTexts) {
  enum Direction { kUnset, kAscending, kDescending };
  struct Row {
    const char* name;
    Direction direction;
    bool duplicates;
    std::u16string_view added, expected;
  };
  const Row rows[] = {
      {"descending unless told otherwise", kUnset, false, u"b a c", u"c b a"},
      {"ascending", kAscending, false, u"b a c", u"a b c"},
      {"set to descending", kDescending, false, u"b a c", u"c b a"},
      {"natural order of wire names", kAscending, false, u"X10 12 A X2 9 A1", u"A A1 X2 X10 9 12"},
      {"keys without case: the first stays", kUnset, false, u"ABC Abc abc", u"ABC"},
      {"duplicates kept", kAscending, true, u"B A B C A", u"A A B B C"},
      {"natural order of wire names, downwards", kUnset, false, u"X10 12 A X2", u"12 X10 X2 A"},
      {"one item, then two", kAscending, false, u"b a aa", u"a aa b"},
      {"four items, every gap", kDescending, false, u"b d f h a c e g i", u"i h g f e d c b a"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    Restart();
    clsLSort sorter;
    sorter.SetDataSet(collection_);
    sorter.SetAllowDuplicates(row.duplicates);
    if (row.direction != kUnset) sorter.SetDescending(row.direction == kDescending);
    for (const std::u16string& word : Words(row.added)) sorter.Add(word);
    EXPECT_EQ(Order(), row.expected);
  }
}

/// A record for `clsLOSort`: Data has a text and a serial number; GetKey is made unique by it.
class Probe final : public Counted<Object> {
 public:
  explicit Probe(Value stored) : data(std::move(stored)) {}
  Value Get(std::u16string_view member, std::span<const Value> arguments = {}) override {
    if (fail_reads > 0 && member != u"Data" && --fail_reads == 0) Raise(Err::kHost, u"gone");
    if (member == u"Data") return data;
    if (member == u"GetData") return data.AsObject()->Get(u"Text");
    if (member == u"GetKey") return data.AsObject()->Get(u"Key");
    return Object::Get(member, arguments);
  }
  void Put(std::u16string_view member, const Value& value, std::span<const Value>) override {
    ASSERT_EQ(member, u"Data");
    data = value;
  }
  Value data;
  int fail_reads = 0;  ///< the n-th read of a text fails
};

class Thing final : public Counted<Object> {
 public:
  Thing(std::u16string text, int32_t serial) : text_(std::move(text)), serial_(serial) {}
  Value Get(std::u16string_view member, std::span<const Value> arguments = {}) override {
    if (member == u"Text") return Value(text_);
    if (member == u"Key") return Value(text_ + u"#" + DecimalText(serial_));
    return Object::Get(member, arguments);
  }
  int32_t serial() const { return serial_; }

 private:
  std::u16string text_;
  int32_t serial_;
};

std::u16string SerialsOf(const CollectionRef& collection) {
  std::u16string order;
  for (int32_t i = 1; i <= collection->Count(); ++i) {
    order += DecimalText(dynamic_cast<Thing&>(*collection->Item(i).AsObject()).serial());
  }
  return order;
}

TEST_F(SortTest, EqualItemsGoBeforeTheirRunAscendingAndBehindItDescending) {
  struct Row {
    bool descending;
    std::u16string_view added, expected;  ///< serials count from 1 in the order of adding
  };
  const Row rows[] = {
      {false, u"B B", u"21"},
      {false, u"B C B", u"312"},
      {false, u"A B B", u"132"},
      {false, u"B B B", u"321"},
      {false, u"A C D B B B", u"165423"},
      {true, u"B B", u"12"},
      {true, u"B C B", u"213"},
      {true, u"A B B", u"231"},
      {true, u"B B B", u"123"},
      {true, u"A C D B B B", u"324561"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(ToUtf8(row.added) + (row.descending ? " down" : " up"));
    Restart();
    clsLOSort sorter;
    sorter.SetDataSet(collection_);
    sorter.SetDescending(row.descending);
    int32_t serial = 0;
    for (const std::u16string& text : Words(row.added)) {
      sorter.Add(MakeRef<Probe>(Value(MakeRef<Thing>(text, ++serial))));
    }
    EXPECT_EQ(SerialsOf(collection_), row.expected);
  }
}

TEST_F(SortTest, ObjectSorterGivesTheProbeItsDataBackWhateverHappens) {
  clsLOSort sorter;
  sorter.SetDataSet(collection_);
  for (const char16_t* text : {u"A", u"C", u"E"}) {
    sorter.Add(MakeRef<Probe>(Value(MakeRef<Thing>(text, 1))));
  }
  const std::u16string before = SerialsOf(collection_);
  // Read 1 is the key, 2 the sort text: from there on the key is known to be missing.
  for (const auto& [fail_at, error] : {std::pair{1, 0}, std::pair{2, -2032465766},
                                       std::pair{3, -2032465766}, std::pair{5, -2032465766}}) {
    const auto thing = MakeRef<Thing>(u"D", 7);
    const auto probe = MakeRef<Probe>(Value(thing));
    probe->fail_reads = fail_at;
    EXPECT_EQ(ErrorOf([&] { sorter.Add(probe); }), error) << fail_at;
    EXPECT_TRUE(Same(probe->data.AsObject(), thing)) << fail_at;
    EXPECT_EQ(SerialsOf(collection_), before) << fail_at;
  }
  EXPECT_EQ(ErrorOf([&] { sorter.Add(nullptr); }), 0);
}

TEST_F(SortTest, EveryFailingCallLeavesTheCollectionAsItWas) {
  constexpr auto kHostError = static_cast<int32_t>(Err::kHost);
  const auto calls_left = std::make_shared<int>(0);
  clsLSort sorter;
  sorter.SetDescending(false);
  for (const bool duplicates : {false, true}) {
    sorter.SetAllowDuplicates(duplicates);
    for (const std::u16string_view before : {u"", u"a", u"a c", u"a c e g"}) {
      // Calls before the answer "no such key": the count, and where there are items the read by
      // key.
      const int trapped = before.empty() ? 99 : 2;
      for (int fail_at = 1;; ++fail_at) {
        SCOPED_TRACE(::testing::Message() << ToUtf8(before) << " call " << fail_at << duplicates);
        *calls_left = 0;
        collection_ = MakeRef<Counted<testing::FailingCollection>>(calls_left);
        sorter.SetDataSet(collection_);
        for (const std::u16string& word : Words(before)) {
          if (!word.empty()) collection_->Add(word, word);
        }
        *calls_left = fail_at;
        const int32_t error = ErrorOf([&] { sorter.Add(u"d"); });
        const bool failed = std::exchange(*calls_left, 0) <= 0;
        if (!failed) {
          EXPECT_GT(fail_at, before.empty() ? 2 : 3);
          break;
        }
        if (!duplicates && fail_at == trapped) {
          // Whatever the read by key fails with counts as "not there".
          EXPECT_EQ(error, 0);
          EXPECT_EQ(collection_->Item(u"d").ToText(), u"d");
          continue;
        }
        EXPECT_EQ(error, duplicates || fail_at < trapped ? 0 : kHostError);
        EXPECT_EQ(Order(), before);
      }
    }
  }
}

TEST_F(SortTest, FailuresAreSwallowedUntilTheKeyIsKnownToBeMissing) {
  // An item without text form makes every comparison with it fail.
  collection_->Add(Value(MakeCollection()), u"odd");
  clsLSort sorter;
  EXPECT_EQ(ErrorOf([&] { sorter.Add(u"x"); }), 0) << "no collection set";
  sorter.SetDataSet(collection_);
  EXPECT_EQ(ErrorOf([&] { sorter.Add(u"x"); }), 13);
  EXPECT_EQ(ErrorOf([&] { sorter.Add(u"ODD"); }), 0) << "present by key, whatever it is";
  sorter.SetAllowDuplicates(true);
  EXPECT_EQ(ErrorOf([&] { sorter.Add(u"x"); }), 0);
  EXPECT_EQ(collection_->Count(), 1);
}

/// Their sort text is read by name from what is stored, and every failure stays silent.
TEST_F(SortTest, LayoutShapesAreReadByNameAndFailSilently) {
  const auto record = [](const char16_t* name, int32_t index) {
    auto made = MakeRef<clsLLayShape>();
    made->SetNameU(name);
    made->SetIndex(index);
    return made;
  };
  clsLSortLayShape layout;
  layout.SetDataSet(collection_);
  layout.SetDescending(false);
  const std::pair<const char16_t*, int32_t> added[] = {
      {u"Rail", 1}, {u"Box10", 2}, {u"Box2", 3}, {u"BOX2", 4}, {u"Duct", 5}};
  for (const auto& [name, index] : added) layout.Add(record(name, index));
  std::u16string order;
  for (int32_t i = 1; i <= collection_->Count(); ++i) {
    order += collection_->Item(i).AsObject()->Get(u"Index").ToText();
  }
  EXPECT_EQ(order, u"5132");
  // An entry without NameU ends every comparison: silently for layout shapes, keyed or not.
  collection_ = MakeCollection();
  collection_->Add(Value(MakeRef<Thing>(u"Text", 1)));
  layout.SetDataSet(collection_);
  for (const bool duplicates : {false, true}) {
    layout.SetAllowDuplicates(duplicates);
    EXPECT_EQ(ErrorOf([&] { layout.Add(record(u"Rail", 1)); }), 0);
    EXPECT_EQ(ErrorOf([&] { layout.Add(nullptr); }), 0);
  }
  EXPECT_EQ(collection_->Count(), 1);
}

TEST_F(SortTest, PositionsEndAtSixteenBits) {
  for (int32_t i = 0; i < 32768; ++i) collection_->Add(Value(u"a"));
  clsLSort sorter;
  sorter.SetDataSet(collection_);
  EXPECT_EQ(ErrorOf([&] { sorter.Add(u"b"); }), 6);
  sorter.SetAllowDuplicates(true);
  EXPECT_EQ(ErrorOf([&] { sorter.Add(u"b"); }), 0);
  EXPECT_EQ(collection_->Count(), 32768);
  collection_->Remove(1);
  sorter.Add(u"b");
  EXPECT_EQ(collection_->Item(1).ToText(), u"b");
}

TEST_F(SortTest, ComponentRecordsAreKnownByTheirIdentityFields) {
  const auto record = [](const char16_t* name, double price, const char16_t* remarks) {
    auto made = MakeRef<clsLCmpRec>();
    made->SetName(name);
    made->SetDesc(u"-D");
    made->SetBrand(u"-B");
    made->SetRating(u"-R");
    made->SetModel(u"-M");
    made->SetOrder(u"-O");
    made->SetSupplier(u"-S");
    made->Put(u"price", Value(price));
    made->SetRemarks(remarks);
    return made;
  };
  clsLSortComp sorter;
  sorter.SetDataSet(collection_);
  sorter.SetDescending(false);
  EXPECT_EQ(sorter.GetDataString(record(u"Relay", 12.25, u"r")), u"Relay-D-B-R-M-O-S12.25");
  EXPECT_EQ(sorter.GetDataString(record(u"Relay", 0, u"")), u"Relay-D-B-R-M-O-S0");
  EXPECT_EQ(ErrorOf([&] { sorter.GetDataString(nullptr); }), 91);
  sorter.Add(record(u"Relay", 2, u"first"));
  sorter.Add(record(u"Fuse", 2, u""));
  sorter.Add(record(u"relay", 2, u"the same but for remarks"));
  ASSERT_EQ(collection_->Count(), 2);
  EXPECT_EQ(clsLCmpRec::From(collection_->Item(1))->Name(), u"Fuse");
  EXPECT_EQ(collection_->Item(2).AsObject()->Get(u"Remarks").ToText(), u"first");
}

TEST_F(SortTest, RecordsConvertWhatIsAssignedByName) {
  const auto record = MakeRef<clsLCmpRec>();
  record->Put(u"QTY", Value(u"12"));
  record->Put(u"Layout", Value(u"True"));
  EXPECT_EQ(record->Qty(), 12);
  EXPECT_TRUE(record->Layout());
  struct Row {
    const char16_t* member;
    Value value;
    int32_t error;
  };
  const Row rows[] = {{u"Qty", u"many", 13},        {u"Qty", 3e9, 6},
                      {u"Price", 1e39, 6},          {u"Layout", u"x", 13},
                      {u"Name", Value::Null(), 94}, {u"Weight", 1.0, 438}};
  for (const Row& row : rows) {
    EXPECT_EQ(ErrorOf([&] { record->Put(row.member, row.value); }), row.error)
        << ToUtf8(row.member);
  }
  EXPECT_EQ(ErrorOf([&] { clsLLayShape::From(Value(record)); }), 13);
}

}  // namespace
}  // namespace ohmwise
