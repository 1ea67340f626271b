#include <cwchar>

#include "Ohmwise6.h"
#include "platform/com/moment.h"
#include "platform/com/objects.h"
#include "platform/database.h"
#include "tests/com/clients/recorder.h"
#include "tests/com/server/server.h"

namespace ohmwise::com {
namespace {

/// A sign of the user's locale for the time of a test.
class UserSign {
 public:
  UserSign(LCTYPE which, const wchar_t* sign) : which_(which) {
    GetLocaleInfoW(LOCALE_USER_DEFAULT, which, before_, static_cast<int>(std::size(before_)));
    EXPECT_TRUE(SetLocaleInfoW(LOCALE_USER_DEFAULT, which, sign));
  }
  ~UserSign() { SetLocaleInfoW(LOCALE_USER_DEFAULT, which_, before_); }
  UserSign(const UserSign&) = delete;
  UserSign& operator=(const UserSign&) = delete;

 private:
  LCTYPE which_;
  wchar_t before_[16] = L"";
};

using testing::Recorder;

/// A provider whose tables have one row of zeros; it writes down what fields are set to.
Ref<IDispatch> MakeProvider(testing::CallLog* log) {
  const Ref<Recorder> provider = Recorder::Make(u"Provider", nullptr);
  for (const char16_t* member : {u"CursorLocation", u"Open", u"Close", u"AddNew", u"Update"}) {
    provider->On(member, nullptr);
  }
  provider->On(u"State", [](auto&) { return Value(kStateOpen); });
  provider->On(u"EOF", [](auto&) { return Value(false); });
  provider->On(u"Fields", [log](auto&) {
    const Ref<Recorder> fields = Recorder::Make(u"Fields", nullptr);
    fields->On(u"Item", [log](const std::vector<Value>& which) {
      const Ref<Recorder> field = Recorder::Make(which.at(0).ToText(), log);
      field->On(u"Value", [](auto&) { return Value(int32_t{0}); });
      return Value(FromDispatch(field.get()));
    });
    return Value(FromDispatch(fields.get()));
  });
  return provider;
}

using LocaleTest = ServerTest;

TEST_F(LocaleTest, NumbersAreReadInTheUsersFormAndWrittenInTheOneThatIsKept) {
  const UserSign decimal(LOCALE_SDECIMAL, L","), grouping(LOCALE_STHOUSAND, L".");
  const UserSign of_sums(LOCALE_SMONDECIMALSEP, L","), in_sums(LOCALE_SMONTHOUSANDSEP, L".");
  testing::CallLog log;
  testing::StandIn connections(L"ADODB.Connection", [] { return MakeProvider(nullptr); });
  testing::StandIn recordsets(L"ADODB.Recordset", [&log] { return MakeProvider(&log); });
  const Ref<IDispatch> catalogue = server_.Make(L"clsLDB");
  ASSERT_EQ(Call(catalogue.get(), L"OpenDB", {u"C:\\Ohmwise6.mdb"}).number, 0);
  std::vector<Value> component(13, Value(u"x"));
  component[8] = Value(u"1.012,255");
  component[9] = Value(false);
  EXPECT_EQ(Call(catalogue.get(), L"AddComponent", component).number, 0);
  std::erase_if(log, [](const std::u16string& line) { return !line.starts_with(u"put Price"); });
  EXPECT_EQ(log, testing::CallLog{u"put Price.Value(1012.26)"});

  // So are arguments of another type.
  const Ref<IDispatch> record = server_.Make(L"clsLCmpRec");
  EXPECT_EQ(Put(record.get(), L"Price", Value(u"1.012,25")).number, 0);
  EXPECT_EQ(FromVariant(Get(record.get(), L"Price").value.get()).ToDouble(), 1012.25);
  EXPECT_EQ(Put(record.get(), L"Name", Value(2.5)).number, 0);
  EXPECT_EQ(Get(record.get(), L"Name").Text(), u"2,5");
  // What goes into formulas has a point everywhere.
  const Ref<IDispatch> texts = server_.Make(L"clsLMisc");
  EXPECT_EQ(Call(texts.get(), L"Locale", {1234.5}).Text(), u"1234.5");
  NoteEntry();
}

}  // namespace
}  // namespace ohmwise::com
