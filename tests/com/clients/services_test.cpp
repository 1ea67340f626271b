// ADO, files and settings of a user's session.
#include <fstream>
#include <map>

#include <gtest/gtest.h>

#include "base/error.h"
#include "catalogue/clsLDB.h"
#include "platform/com/com_host.h"
#include "platform/com/moment.h"
#include "platform/com/objects.h"
#include "tests/com/clients/recorder.h"
#include "tests/support/raised.h"

namespace ohmwise {
namespace {

using testing::CallLog;
using testing::ErrorOf;
using testing::Recorder;
using testing::StandIn;

class ServicesTest : public ::testing::Test {
 protected:
  void SetUp() override { objects_at_start_ = LiveObjectCount(); }
  void TearDown() override {
    com::NoteEntry();  // what is remembered is let go
    EXPECT_EQ(LiveObjectCount(), objects_at_start_);
    EXPECT_EQ(Recorder::live, 0);
  }

  /// Two rows that lack one column.
  Ref<IDispatch> MakeRecordset() {
    const Ref<Recorder> records = Recorder::Make(u"Recordset", nullptr);
    records->On(u"MoveNext", [this](auto&) {
      ++row_;
      return Value();
    });
    records->On(u"Fields", [this](auto&) {
      const Ref<Recorder> fields = Recorder::Make(u"Fields", nullptr);
      fields->On(u"Item", [this](const std::vector<Value>& a) -> Value {
        if (a[0].ToText() == u"Absent") {
          Raise(Err{3265}, u"Item cannot be found in the collection.");
        }
        const Ref<Recorder> field = Recorder::Make(u"Field", nullptr);
        field->On(u"Value", [this](auto&) -> Value {
          if (row_ > 2) Raise(Err::kNoCurrentRecord, u"no current record");
          return Value(row_);
        });
        return Dispatched(field);
      });
      return Dispatched(fields);
    });
    return records;
  }
  static Value Dispatched(const Ref<Recorder>& object) {
    return Value(com::FromDispatch(object.get()));
  }

  com::ComHost host_;
  HostScope scope_{host_};
  CallLog log_;
  int32_t row_ = 1;

 private:
  int64_t objects_at_start_ = 0;
};

TEST_F(ServicesTest, FailuresOfTheProviderArriveUnchanged) {
  EXCEPINFO refused{};
  refused.scode = static_cast<HRESULT>(0x80040E37);
  refused.bstrDescription = const_cast<wchar_t*>(L"The engine cannot find the table 'Nope'.");
  StandIn connections(L"ADODB.Connection", [&]() -> Ref<IDispatch> {
    const Ref<Recorder> connection = Recorder::Make(u"Connection", nullptr);
    connection->Fail(u"Open", DISP_E_EXCEPTION, refused);
    return connection;
  });
  StandIn recordsets(L"ADODB.Recordset", [this] { return MakeRecordset(); });
  try {
    host_.database().MakeConnection()->Open(u"Provider=None");
    ADD_FAILURE() << "nothing was raised";
  } catch (const AutomationError& error) {
    EXPECT_EQ(static_cast<uint32_t>(error.number()), 0x80040E37u);
    EXPECT_EQ(error.description(), u"The engine cannot find the table 'Nope'.");
  }
  const RecordsetRef records = host_.database().MakeRecordset();
  EXPECT_EQ(ErrorOf([&] { records->Field(u"Absent"); }), 3265);
  records->MoveNext();
  records->MoveNext();
  EXPECT_EQ(ErrorOf([&] { records->Field(0); }), 3021);
}

/// Takes the class from its name for a time, as where its program is not installed.
class Uninstalled {
 public:
  explicit Uninstalled(const wchar_t* class_name) : path_(std::wstring(class_name) + L"\\CLSID") {
    DWORD bytes = sizeof id_;
    RegGetValueW(HKEY_CLASSES_ROOT, path_.c_str(), nullptr, RRF_RT_REG_SZ, nullptr, id_, &bytes);
    RegDeleteKeyW(HKEY_CLASSES_ROOT, path_.c_str());
  }
  ~Uninstalled() {
    RegSetKeyValueW(HKEY_CLASSES_ROOT, path_.c_str(), nullptr, REG_SZ, id_,
                    static_cast<DWORD>((wcslen(id_) + 1) * sizeof(wchar_t)));
  }

 private:
  std::wstring path_;
  wchar_t id_[64] = L"";
};

TEST_F(ServicesTest, WithoutAdoOnlyOpeningFails) {
  const Uninstalled no_connection(L"ADODB.Connection");
  const Uninstalled no_recordset(L"ADODB.Recordset");
  clsLDB catalogue;
  EXPECT_EQ(ErrorOf([&] { catalogue.OpenDB(u"x.mdb"); }), 429);
  EXPECT_EQ(ErrorOf([&] { catalogue.GetSQL(u"Select 1"); }), 429);
  EXPECT_EQ(host_.database().MakeConnection()->State(), kStateClosed);
}

TEST_F(ServicesTest, ReportsCallTheSpreadsheetProgramByName) {
  const auto make = [this](const char16_t* name, std::vector<std::u16string> members) {
    const Ref<Recorder> object = Recorder::Make(name, &log_);
    for (std::u16string& member : members) object->On(std::move(member), nullptr);
    return object;
  };
  const auto make_range = [&make] {
    const Ref<Recorder> range =
        make(u"Range", {u"Value", u"Hidden", u"HorizontalAlignment", u"AutoFit", u"Select"});
    range->On(u"Font", [&make](auto&) { return Dispatched(make(u"Font", {u"Bold", u"Color"})); });
    range->On(u"Columns", [&make](auto&) { return Dispatched(make(u"Columns", {u"AutoFit"})); });
    return Dispatched(range);
  };
  StandIn excel(L"Excel.application", [&]() -> Ref<IDispatch> {
    const Ref<Recorder> program = make(u"Application", {u"Visible", u"Quit"});
    program->On(u"Workbooks", [&make](auto&) { return Dispatched(make(u"Workbooks", {u"Add"})); });
    program->On(u"ActiveSheet", [&](auto&) {
      const Ref<Recorder> sheet = Recorder::Make(u"Sheet", &log_);
      for (const char16_t* area : {u"Range", u"Rows", u"Columns", u"Cells"}) {
        sheet->On(area, [&make_range](auto&) { return make_range(); });
      }
      return Dispatched(sheet);
    });
    return program;
  });
  const SpreadsheetApplicationRef program = host_.spreadsheet().CreateApplication();
  program->SetVisible(true);
  program->Workbooks()->Add();
  const WorksheetRef sheet = program->ActiveSheet();
  const Value row[] = {Value(u"Qty"), Value(12.5)};
  sheet->Range(u"A3:B3")->SetValues(row);
  sheet->Cells(4, 1)->SetValue(Value(u"K1"));
  sheet->Rows(Value(int32_t{3}))->Font()->SetColor(255);
  sheet->Columns(Value(u"B:D"))->SetHidden(true);
  sheet->Range(u"A:C")->Columns()->AutoFit();
  sheet->Range(u"A1")->SetHorizontalAlignment(sheet_alignment::kCenter);
  program->Quit();
  EXPECT_EQ(
      log_,
      (CallLog{u"put Application.Visible(True)", u"Application.Workbooks()", u"Workbooks.Add()",
               u"Application.ActiveSheet()", u"Sheet.Range(A3:B3)", u"put Range.Value({Qty; 12.5})",
               u"Sheet.Cells(4, 1)", u"put Range.Value(K1)", u"Sheet.Rows(3)", u"Range.Font()",
               u"put Font.Color(255)", u"Sheet.Columns(B:D)", u"put Range.Hidden(True)",
               u"Sheet.Range(A:C)", u"Range.Columns()", u"Columns.AutoFit()", u"Sheet.Range(A1)",
               u"put Range.HorizontalAlignment(3)", u"Application.Quit()"}));
}

TEST_F(ServicesTest, TextFilesAreReadThroughTheScriptingRuntime) {
  wchar_t folder[MAX_PATH];
  GetTempPathW(MAX_PATH, folder);
  const std::u16string path = std::u16string(com::Narrow(folder)) + u"ohmwise options.txt";
  {
    std::ofstream file(reinterpret_cast<const wchar_t*>(path.c_str()), std::ios::binary);
    file << "first\r\n\r\nlast";
  }
  FileSystem& files = host_.files();
  EXPECT_TRUE(files.FileExists(path));
  EXPECT_FALSE(files.FileExists(com::Narrow(folder)));
  EXPECT_FALSE(files.FileExists(u""));
  {
    const std::unique_ptr<TextFile> file = files.OpenText(path);
    EXPECT_EQ(file->ReadLine(), u"first");
    EXPECT_EQ(file->ReadLine(), u"");
    EXPECT_FALSE(file->AtEnd());
    EXPECT_EQ(file->ReadLine(), u"last");
    EXPECT_TRUE(file->AtEnd());
    EXPECT_EQ(ErrorOf([&] { file->ReadLine(); }), 62);
  }
  EXPECT_TRUE(DeleteFileW(com::Wide(path.c_str()))) << "the file was left open";
  EXPECT_EQ(ErrorOf([&] { files.OpenText(path); }), 53);
  EXPECT_EQ(ErrorOf([&] { files.OpenText(path + u"\\no\\folder.txt"); }), 53);
}

TEST_F(ServicesTest, SettingsAreWhereTheRuntimeKeepsThem) {
  constexpr wchar_t kPlace[] = L"Software\\VB and VBA Program Settings\\OhmwiseTest\\Options";
  SettingsStore& store = host_.settings_store();
  EXPECT_FALSE(store.Read(u"OhmwiseTest", u"Options", u"Grid"));

  const std::u16string values[] = {u"",
                                   u"A",
                                   u" blanks kept ",
                                   u"\u00E9\u4E2D\xD800 lone",
                                   std::u16string(u"zero\0inside", 11),
                                   std::u16string(5000, u'x')};
  for (const std::u16string& value : values) {
    store.Write(u"OhmwiseTest", u"Options", u"Grid", value);
    EXPECT_EQ(store.Read(u"ohmwisetest", u"OPTIONS", u"gRID"), value);
  }
  wchar_t text[16];
  DWORD bytes = sizeof text;
  RegSetKeyValueW(HKEY_CURRENT_USER, kPlace, L"Written", REG_SZ, L"outside", 16);
  EXPECT_EQ(store.Read(u"OhmwiseTest", u"Options", u"Written"), u"outside");
  store.Write(u"OhmwiseTest", u"Options", u"Written", u"inside");
  EXPECT_EQ(
      RegGetValueW(HKEY_CURRENT_USER, kPlace, L"Written", RRF_RT_REG_SZ, nullptr, text, &bytes),
      ERROR_SUCCESS);
  EXPECT_EQ(std::wstring(text), L"inside");
  const DWORD number = 5;
  RegSetKeyValueW(HKEY_CURRENT_USER, kPlace, L"Number", REG_DWORD, &number, sizeof number);
  EXPECT_FALSE(store.Read(u"OhmwiseTest", u"Options", u"Number"));

  for (const auto& [application, section, key] :
       {std::tuple{u"", u"Options", u"K"}, {u"A", u"", u"K"}, {u"A", u"Options", u""}}) {
    EXPECT_EQ(ErrorOf([&] { store.Write(application, section, key, u"v"); }), 5);
  }
  RegDeleteTreeW(HKEY_CURRENT_USER, L"Software\\VB and VBA Program Settings\\OhmwiseTest");
}

}  // namespace
}  // namespace ohmwise
