#include "platform/host.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "base/error.h"

namespace ohmwise {
namespace {

class NamedHost : public Host {
 public:
  explicit NamedHost(std::u16string name) : name_(std::move(name)) {}
  Database& database() override { Raise(Err::kObjectNotSet); }
  std::u16string LibraryFolder() override { return name_; }
  void ShowMessageBox(std::u16string_view, std::u16string_view, MessageIcon) override {}
  std::unique_ptr<MessageWindow> MakeMessageWindow(const MessageFormLayout&) override {
    return nullptr;
  }
  void ProcessEvents() override {}

 private:
  std::u16string name_;
};

std::u16string ended;
template <char16_t name>
void End() {
  ended += name + CurrentHost().LibraryFolder() + u" ";
}

TEST(HostScopeTest, SharedInstancesEndWithTheScopeTheyWereMadeInLastOneFirst) {
  NamedHost first(u"1"), second(u"2");
  {
    const HostScope outer(first);
    AtHostEnd(End<u'a'>);
    {
      const HostScope same(first);
      AtHostEnd(End<u'b'>);
    }
    EXPECT_EQ(ended, u"") << "the host is still installed";
    {
      const HostScope inner(second);
      AtHostEnd(End<u'c'>);
      AtHostEnd([] { AtHostEnd(End<u'd'>); });
    }
    EXPECT_EQ(ended, u"d2 c2 ");
    EXPECT_EQ(CurrentHost().LibraryFolder(), u"1");
  }
  EXPECT_EQ(ended, u"d2 c2 b1 a1 ");
  EXPECT_THROW(CurrentHost(), AutomationError);
}

TEST(HostScopeTest, TypedViewsRefuseOtherKindsByNumber) {
  NamedHost host(u"");
  const HostScope scope(host);
  struct Row {
    Value value;
    int32_t error;
  };
  const CollectionRef collection = MakeCollection();
  for (const Row& row : {Row{Value(collection), 13}, Row{Value::Nothing(), 91}, Row{Value(), 424},
                         Row{Value(u"x"), 424}}) {
    try {
      ToShape(row.value);
      ADD_FAILURE() << row.error;
    } catch (const AutomationError& error) {
      EXPECT_EQ(static_cast<int32_t>(error.number()), row.error);
    }
  }
  EXPECT_TRUE(Same(ToCollection(Value(collection)), collection));
}

}  // namespace
}  // namespace ohmwise
