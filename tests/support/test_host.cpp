#include "tests/support/test_host.h"

#include <optional>

#include "base/conversion.h"
#include "base/error.h"
#include "base/text.h"
#include "platform/database.h"
#include "tests/support/door.h"

namespace ohmwise::testing {

namespace {

Door* installed_door = nullptr;

class FakeConnection : public Connection {
 public:
  explicit FakeConnection(TestHost& host) : host_(host) {}
  int32_t State() override { return state_; }
  void SetCursorLocation(int32_t) override {}
  void Open(std::u16string_view) override {
    if (!host_.language_database) Raise(Err::kProvider, u"no such file");
    state_ = kStateOpen;
  }
  void Close() override { state_ = kStateClosed; }

 private:
  TestHost& host_;
  int32_t state_ = kStateClosed;
};

/// Answers the text query with one row; every other table is empty.
class FakeRecordset : public Recordset {
 public:
  explicit FakeRecordset(TestHost& host) : host_(host) {}
  int32_t State() override { return open_ ? kStateOpen : kStateClosed; }
  void Open(std::u16string_view sql, const ConnectionRef&, int32_t, int32_t) override {
    open_ = true;
    row_.reset();
    const size_t number = sql.rfind(u"SID=");
    if (number != sql.npos) row_ = host_.Text(TextToInt32(sql.substr(number + 4)));
  }
  bool EndOfFile() override { return !row_; }
  void MoveNext() override { row_.reset(); }
  Value Field(std::u16string_view) override {
    if (!row_) Raise(Err::kNoCurrentRecord);
    return Value(*row_);
  }
  Value Field(int32_t) override { return Field(u""); }
  void SetField(std::u16string_view, const Value&) override { Raise(Err::kProvider); }
  void AddNew() override { Raise(Err::kProvider); }
  void Update() override { Raise(Err::kProvider); }
  void Close() override { open_ = false; }

 private:
  TestHost& host_;
  bool open_ = false;
  std::optional<std::u16string> row_;
};

class RecordingWindow : public MessageWindow {
 public:
  explicit RecordingWindow(TestHost& host) : host_(host) { ++host_.open_windows; }
  ~RecordingWindow() override {
    --host_.open_windows;
    if (shown_) --host_.shown_windows;
  }
  void SetTitle(std::u16string_view) override {}
  void SetLabel(std::u16string_view text) override { host_.progress.emplace_back(text); }
  void Show() override {
    if (!shown_) ++host_.shown_windows;
    shown_ = true;
  }
  void Repaint() override {}

 private:
  TestHost& host_;
  bool shown_ = false;
};

}  // namespace

struct TestHost::FakeDatabase final : Database {
  explicit FakeDatabase(TestHost& host) : host_(host) {}
  ConnectionRef MakeConnection() override { return MakeRef<Counted<FakeConnection>>(host_); }
  RecordsetRef MakeRecordset() override { return MakeRef<Counted<FakeRecordset>>(host_); }
  TestHost& host_;
};

TestHost::TestHost() : database_(std::make_unique<FakeDatabase>(*this)) {}
TestHost::~TestHost() = default;

Database& TestHost::database() { return *database_; }

void TestHost::ShowMessageBox(std::u16string_view text, std::u16string_view title,
                              MessageIcon icon) {
  boxes.push_back({std::u16string(text), std::u16string(title), icon});
}

std::unique_ptr<MessageWindow> TestHost::MakeMessageWindow(const MessageFormLayout&) {
  return std::make_unique<RecordingWindow>(*this);
}

CollectionRef TestHost::AsCollection(const ObjectRef& object) {
  if (CollectionRef foreign = Door::Current().ForeignCollection(object)) return foreign;
  return Host::AsCollection(object);
}

ShapeRef TestHost::AsShape(const ObjectRef& object) {
  if (ShapeRef foreign = Door::Current().ForeignShape(object)) return foreign;
  return Host::AsShape(object);
}

Door& Door::Current() {
  static Door direct;
  return installed_door ? *installed_door : direct;
}

void Door::Install(Door& door) { installed_door = &door; }

std::u16string TestHost::Text(int32_t number) {
  texts_read.push_back(number);
  const auto found = texts.find(number);
  return found != texts.end() ? found->second : u"T" + DecimalText(number);
}

}  // namespace ohmwise::testing
