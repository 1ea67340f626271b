#pragma once

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/error.h"
#include "base/text.h"
#include "platform/host.h"

namespace ohmwise::testing {

/// A host whose database writes down how it is opened, every statement and every field that is
/// written, and answers statements with rows given beforehand. The language database answers
/// "T<number>" and is not written down.
class RecordingDatabase final : public Host, public Database {
 public:
  using Row = std::vector<std::pair<std::u16string, Value>>;

  /// What the classes are given in place of the database itself: clients that call it. Null for
  /// none.
  static inline Database& (*between)(Database& database) = nullptr;
  /// Lets go of what such clients remember; a test counts objects afterwards.
  static inline void (*let_go)() = [] {};

  std::map<std::u16string, std::vector<Row>> answers;  ///< by statement
  std::vector<Row> otherwise;                          ///< rows of all other statements
  std::optional<std::u16string> refused;               ///< opening this fails
  NumberFormat numbers;
  std::vector<std::u16string> log;
  int never_closed = 0;  ///< recordsets that were let go while open

  std::vector<std::u16string> TakeLog() { return std::exchange(log, {}); }

  Database& database() override { return between ? between(*this) : *this; }
  NumberFormat number_format() override { return numbers; }
  std::u16string LibraryFolder() override { return u"library/"; }
  void ShowMessageBox(std::u16string_view text, std::u16string_view title,
                      MessageIcon icon) override {
    Add(u"box \"" + std::u16string(text) + u"\" \"" + std::u16string(title) + u"\" " +
        DecimalText(static_cast<int32_t>(icon)));
  }
  std::unique_ptr<MessageWindow> MakeMessageWindow(const MessageFormLayout&) override {
    Raise(Err::kUnsupportedMember);
  }
  void ProcessEvents() override {}

  ConnectionRef MakeConnection() override {
    return MakeRef<LoggedConnection>(*this, ++connections_);
  }
  // A recordset gets its number when it opens something of the catalogue.
  RecordsetRef MakeRecordset() override { return MakeRef<LoggedRecordset>(*this); }

 private:
  static std::u16string Shown(const Value& value) {
    switch (value.kind()) {
      case Value::Kind::kText:
        return u"\"" + value.AsText() + u"\"";
      case Value::Kind::kInt16:
        return value.ToText() + u"%";  // 16 and 32 bits are different things to a provider
      default:
        return value.ToText();
    }
  }
  void Add(std::u16string line) { log.push_back(std::move(line)); }

  class LoggedConnection final : public Counted<Connection> {
   public:
    LoggedConnection(RecordingDatabase& host, int32_t number) : host_(host), number_(number) {}
    std::u16string Name() const { return u"c" + DecimalText(number_); }

    int32_t State() override {
      if (!IsLanguage()) host_.Add(Name() + u".State");
      return open_ ? kStateOpen : kStateClosed;
    }
    void SetCursorLocation(int32_t location) override { location_ = location; }
    void Open(std::u16string_view text) override {
      language_ = text.find(u"LangDB.mdb") != text.npos;
      if (!IsLanguage()) {
        host_.Add(Name() + u".CursorLocation=" + DecimalText(location_));
        host_.Add(Name() + u".Open " + std::u16string(text));
      }
      if (text == host_.refused) Raise(Err::kProvider, u"no such file");
      open_ = true;
    }
    void Close() override {
      if (!IsLanguage()) host_.Add(Name() + u".Close");
      open_ = false;
    }
    bool IsLanguage() const { return language_; }

   private:
    RecordingDatabase& host_;
    int32_t number_;
    int32_t location_ = 0;
    bool language_ = false;
    bool open_ = false;
  };

  class LoggedRecordset final : public Counted<Recordset> {
   public:
    explicit LoggedRecordset(RecordingDatabase& host) : host_(host) {}
    ~LoggedRecordset() override { host_.never_closed += open_ ? 1 : 0; }

    int32_t State() override { return open_ ? kStateOpen : kStateClosed; }
    void Open(std::u16string_view sql, const ConnectionRef& connection, int32_t cursor_type,
              int32_t lock_type) override {
      auto& of = dynamic_cast<LoggedConnection&>(*connection);
      if (open_) Raise(Err::kProvider, u"open already");
      rows_ = of.IsLanguage() ? std::vector<Row>() : host_.otherwise;
      at_ = 0;
      new_ = false;
      open_ = !sql.starts_with(u"DELETE");
      if (of.IsLanguage()) {
        language_ = true;
        const size_t number = sql.rfind(u"SID=");
        if (number != sql.npos)
          rows_ = {{{u"Mssg", u"T" + std::u16string(sql.substr(number + 4))}}};
        return;
      }
      if (number_ == 0) number_ = ++host_.recordsets_;
      Add(u".Open " + std::u16string(sql) + u", " + of.Name() + u", " + DecimalText(cursor_type) +
          u", " + DecimalText(lock_type));
      if (sql == host_.refused) Raise(Err::kProvider, u"refused");
      const auto answer = host_.answers.find(std::u16string(sql));
      if (answer != host_.answers.end()) rows_ = answer->second;
    }
    bool EndOfFile() override { return at_ >= rows_.size(); }
    void MoveNext() override { ++at_; }
    Value Field(std::u16string_view name) override {
      for (const auto& [field, value] : Current()) {
        if (field == name) return value;
      }
      Raise(Err::kProvider, u"unknown field");
    }
    Value Field(int32_t index) override { return Current().at(static_cast<size_t>(index)).second; }
    void SetField(std::u16string_view name, const Value& value) override {
      Add(u"(" + std::u16string(name) + u")=" + Shown(value));
      Current().emplace_back(name, value);
    }
    void AddNew() override { new_ = true; }
    void Update() override {}
    void Close() override { open_ = false; }

   private:
    void Add(std::u16string_view call) {
      if (!language_) host_.Add(u"r" + DecimalText(number_) + std::u16string(call));
    }
    Row& Current() {
      if (new_) return added_;
      if (at_ >= rows_.size()) Raise(Err::kNoCurrentRecord);
      return rows_[at_];
    }

    RecordingDatabase& host_;
    int32_t number_ = 0;
    bool language_ = false;
    std::vector<Row> rows_;
    Row added_;
    size_t at_ = 0;
    bool new_ = false;
    bool open_ = false;
  };

  int32_t connections_ = 0;
  int32_t recordsets_ = 0;
};

}  // namespace ohmwise::testing
