// The DLL between its client and the programs that it works with: doubles of them record what is
// called, fail in their own ways, and call back.
#include <optional>
#include <set>
#include <utility>

#include <gtest/gtest.h>

#include "Ohmwise6.h"
#include "base/text.h"
#include "platform/com/error_mapping.h"
#include "platform/com/moment.h"
#include "platform/com/objects.h"
#include "platform/database.h"
#include "tests/com/clients/recorder.h"
#include "tests/com/server/server.h"

namespace ohmwise::testing {

namespace {

using com::Outcome;

Value Dispatched(const Ref<Recorder>& object) { return Value(com::FromDispatch(object.get())); }

class ServerProvidersTest : public ::testing::Test {
 protected:
  void TearDown() override {
    records_ = nullptr;
    EXPECT_TRUE(server_->CanUnload()) << "objects are alive at the end of the test";
    server_.reset();
    EXPECT_FALSE(GetModuleHandleW(L"Ohmwise6.dll")) << "the DLL stays in memory";
    EXPECT_EQ(Live(), 0);
  }

  /// Objects that somebody holds, what the test's own side remembers apart.
  static int64_t Live() {
    com::NoteEntry();
    return Recorder::live;
  }
  Ref<Recorder> Make(const char16_t* name, std::initializer_list<const char16_t*> members) {
    const Ref<Recorder> object = Recorder::Make(name, &log_);
    for (const char16_t* member : members) object->On(member, nullptr);
    return object;
  }
  Ref<IDispatch> MakeConnection() {
    const Ref<Recorder> connection = Recorder::Make(u"Connection", nullptr);
    for (const char16_t* member : {u"CursorLocation", u"Open", u"Close"}) {
      connection->On(member, nullptr);
    }
    connection->On(u"State", [](auto&) { return Value(kStateOpen); });
    return connection;
  }
  /// One row: the texts of the program by their number, and any other field.
  Ref<IDispatch> MakeRecordset() {
    const Ref<Recorder> records = Recorder::Make(u"Recordset", nullptr);
    const auto sql = std::make_shared<std::u16string>();
    records->On(u"Open", [this, sql](const std::vector<Value>& arguments) {
      *sql = arguments.at(0).ToText();
      log_.push_back(*sql);
      return Value();
    });
    for (const char16_t* member : {u"Close", u"MoveNext"}) records->On(member, nullptr);
    records->On(u"EOF", [](auto&) { return Value(false); });
    records->On(u"Fields", [sql](auto&) {
      const Ref<Recorder> fields = Recorder::Make(u"Fields", nullptr);
      fields->On(u"Item", [sql](const std::vector<Value>& which) {
        const Ref<Recorder> field = Recorder::Make(u"Field", nullptr);
        const bool text = which.at(0).ToText() == u"Mssg";
        field->On(u"Value", [sql, text](auto&) -> Value {
          if (text) return Value(u"text " + sql->substr(sql->rfind(u'=') + 1));
          return Value(int32_t{0});
        });
        return Dispatched(field);
      });
      return Dispatched(fields);
    });
    records_ = records;
    return records;
  }
  /// The spreadsheet program; ending it fails.
  Ref<IDispatch> MakeProgram() {
    const Ref<Recorder> program = Make(u"Program", {u"Visible"});
    program->On(u"Workbooks", [this](auto&) { return Dispatched(Make(u"Workbooks", {u"Add"})); });
    program->On(u"ActiveSheet", [this](auto&) {
      const Ref<Recorder> sheet = Recorder::Make(u"Sheet", &log_);
      sheet->On(u"Range", [this](auto&) { return Dispatched(Make(u"Range", {u"Value"})); });
      return Dispatched(sheet);
    });
    EXCEPINFO refused{};
    refused.scode = static_cast<HRESULT>(0x800A03EC);
    refused.bstrDescription = const_cast<wchar_t*>(L"A workbook is being edited.");
    refused.bstrSource = const_cast<wchar_t*>(L"Spreadsheet");
    program->Fail(u"Quit", DISP_E_EXCEPTION, refused);
    return program;
  }

  CallLog log_;
  Ref<IDispatch> records_;  ///< the last recordset
  StandIn connections_{L"ADODB.Connection", [this] { return MakeConnection(); }};
  StandIn recordsets_{L"ADODB.Recordset", [this] { return MakeRecordset(); }};
  std::optional<com::Server> server_{std::in_place};
};

TEST_F(ServerProvidersTest, ComponentsComeWithTheOrderTheyAreIn) {
  using Passed = std::set<VARTYPE>;
  for (const VARTYPE passed : Passed{VT_BSTR, VT_BYREF | VT_BSTR, VT_BYREF | VT_VARIANT}) {
    SCOPED_TRACE(passed);
    const Ref<IDispatch> catalogue = server_->Make(L"clsLDB");
    ASSERT_EQ(com::Call(catalogue.get(), L"OpenDB", {u"C:\\Ohmwise6.mdb"}).number, 0);
    log_.clear();
    com::Variant order(Value(u"Brand"));
    VARIANT argument = order.get();
    if (passed & VT_BYREF) {
      argument.vt = passed;
      argument.byref = passed == (VT_BYREF | VT_BSTR) ? static_cast<void*>(&order.get().bstrVal)
                                                      : static_cast<void*>(&order.get());
    }
    const Outcome got = com::Invoke(catalogue.get(), L"GetComponents", DISPATCH_METHOD, {argument});
    ASSERT_EQ(got.number, 0);
    EXPECT_EQ(got.value.get().vt, VT_DISPATCH);
    EXPECT_EQ(got.value.get().pdispVal, records_.get());
    EXPECT_EQ(com::FromVariant(order.get()).ToText(),
              passed & VT_BYREF ? u" ORDER BY Brand" : u"Brand");
    EXPECT_EQ(log_, CallLog{u"SELECT * FROM CompDB ORDER BY Brand"});
  }

  const auto catalogue = server_->MakeTyped<_clsLDB>(CLSID_clsLDB, IID__clsLDB);
  com::Bstr path(u"C:\\Ohmwise6.mdb"), order(u"Name"), none;
  ASSERT_EQ(catalogue->OpenDB(path.place()), S_OK);
  Ref<IDispatch> records;
  EXPECT_EQ(catalogue->GetComponents(order.place(), com::Receive<IDispatch>(records)), S_OK);
  EXPECT_EQ(records.get(), records_.get());
  EXPECT_EQ(order.str(), u" ORDER BY Name");
  EXPECT_EQ(catalogue->GetComponents(none.place(), com::Receive<IDispatch>(records)), S_OK);
  EXPECT_EQ(none.str(), u"");
  EXPECT_EQ(log_.back(), u"SELECT * FROM CompDB");
}

TEST_F(ServerProvidersTest, AReportIsWrittenAndTheProgramLetGoAlsoWhenItDoesNotEnd) {
  StandIn programs(L"Excel.application", [this] { return MakeProgram(); });
  const Ref<IDispatch> report = server_->Make(L"clsLExport");
  const Outcome opened = com::Call(report.get(), L"OpenApp");
  EXPECT_EQ(opened.number, 0);
  EXPECT_EQ(opened.Text(), u"True");
  EXPECT_EQ(com::Call(report.get(), L"RowWrite", {int32_t{2}, u"K1|12"}).number, 0);
  EXPECT_EQ(com::Get(report.get(), L"LastRow").Text(), u"2");
  const int64_t with_program = Live();
  const Outcome closed = com::Call(report.get(), L"CloseApp", {true});
  EXPECT_EQ(closed.number, 1004);
  EXPECT_EQ(closed.description, u"A workbook is being edited.");
  EXPECT_EQ(closed.source, u"Spreadsheet");
  EXPECT_EQ(Live(), with_program - 1) << "the program is still held";
  EXPECT_EQ(com::Call(report.get(), L"CloseApp", {true}).number, 0);  // nothing is left to end
  EXPECT_EQ(com::Call(report.get(), L"RowWrite", {int32_t{3}, u"K2"}).number, 0);
  const CallLog want{u"Select * from Misc",
                     u"Select * from Mssg where LID=0 and SID=88",
                     u"put Program.Visible(True)",
                     u"Select * from Mssg where LID=0 and SID=89",
                     u"Program.Workbooks()",
                     u"Workbooks.Add()",
                     u"Select * from Mssg where LID=0 and SID=90",
                     u"Program.ActiveSheet()",
                     u"Select * from Mssg where LID=0 and SID=91",
                     u"Sheet.Range(A2:B2)",
                     u"put Range.Value({K1; 12})",
                     u"Program.Quit()",
                     u"Sheet.Range(A3:A3)",
                     u"put Range.Value({K2})"};
  EXPECT_EQ(log_, want);
}

TEST_F(ServerProvidersTest, WhatForeignObjectsFailWithArrivesAsItIs) {
  EXCEPINFO own{}, without_source{}, by_code{};
  own.scode = static_cast<HRESULT>(0x86DB08A6);
  own.bstrDescription = const_cast<wchar_t*>(L"The shape is protected.");
  own.bstrSource = const_cast<wchar_t*>(L"Drawing");
  without_source.scode = static_cast<HRESULT>(0x80040E37);
  without_source.bstrDescription = own.bstrDescription;
  by_code.wCode = 2000;
  by_code.bstrSource = own.bstrSource;
  by_code.bstrDescription = own.bstrDescription;
  constexpr HRESULT kDisconnected = static_cast<HRESULT>(0x80010108);
  const struct {
    HRESULT result;
    EXCEPINFO exception;
    HRESULT arrives;
    const char16_t* source;
    const char16_t* text;  ///< null: any that is not empty
  } kRows[] = {
      {DISP_E_EXCEPTION, own, own.scode, u"Drawing", u"The shape is protected."},
      {DISP_E_EXCEPTION, without_source, without_source.scode, u"Ohmwise6.clsLMisc",
       u"The shape is protected."},
      {DISP_E_EXCEPTION, by_code, com::ToHresult(Err{2000}), u"Drawing",
       u"The shape is protected."},
      {E_FAIL, {}, E_FAIL, u"Ohmwise6.clsLMisc", nullptr},
      {E_ACCESSDENIED, {}, E_ACCESSDENIED, u"Ohmwise6.clsLMisc", nullptr},
      {kDisconnected, {}, kDisconnected, u"Ohmwise6.clsLMisc", nullptr},
      {E_OUTOFMEMORY,
       {},
       com::ToHresult(Err::kOutOfMemory),
       u"Ohmwise6.clsLMisc",
       u"Out of memory"},
  };
  const Ref<IDispatch> texts = server_->Make(L"clsLMisc");
  for (const auto& row : kRows) {
    const Ref<Recorder> form = Recorder::Make(u"Form", nullptr);
    form->Fail(u"CellsU", S_OK).Fail(u"CellExistsU", row.result, row.exception);
    form->Fail(u"Controls", row.result, row.exception);
    Ref<IDispatch> shape = form;
    const auto table = com::Query<_clsLMisc>(texts.get());
    VARIANT_BOOL got = VARIANT_FALSE;
    IDispatch* place = shape.get();
    EXPECT_EQ(table->GotCompID(&place, &got), row.arrives);
    Ref<IErrorInfo> error;
    ASSERT_EQ(GetErrorInfo(0, com::Receive<IErrorInfo>(error)), S_OK);
    com::Bstr source, text;
    error->GetSource(source.place());
    error->GetDescription(text.place());
    EXPECT_EQ(source.str(), row.source);
    EXPECT_EQ(text.str(), row.text ? row.text : text.str());
    EXPECT_NE(text.str(), u"");

    const Outcome outcome =
        com::Invoke(texts.get(), L"GotCompID", DISPATCH_METHOD, {com::ByValue(form.get())});
    EXPECT_EQ(outcome.number, static_cast<int32_t>(com::ToNumber(row.arrives)));
    EXPECT_EQ(outcome.source, row.source);
    EXPECT_EQ(outcome.description, text.str());
  }
}

TEST_F(ServerProvidersTest, AForeignObjectStaysWhileItIsHeldAndNoLonger) {
  Ref<IDispatch> block = server_->Make(L"clsTBlockObj");
  {
    const Ref<Recorder> shape = Make(u"Shape", {u"CellsU"});
    EXPECT_EQ(com::PutObject(block.get(), L"Data", shape.get()).number, 0);
  }
  EXPECT_EQ(Live(), 1);
  {
    const Outcome held = com::Get(block.get(), L"Data");
    block = nullptr;
    EXPECT_EQ(Live(), 1);  // the client's own count
  }
  EXPECT_EQ(Live(), 0);
}

}  // namespace

}  // namespace ohmwise::testing
