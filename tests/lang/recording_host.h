#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/error.h"
#include "base/text.h"
#include "platform/host.h"

namespace ohmwise::testing {

/// A host whose every effect is one line of a log, with a database that answers the statements of
/// the language classes and no others.
class RecordingHost final : public Host, public Database {
 public:
  std::u16string folder = u"/data/";
  std::optional<Value> chosen = Value(int32_t{1});  // Misc.CurLang; nullopt: no row
  std::vector<std::u16string> languages = {u"English", u"Deutsch"};
  std::vector<std::u16string> log;

  std::vector<std::u16string> TakeLog() { return std::exchange(log, {}); }

  Database& database() override { return *this; }
  std::u16string LibraryFolder() override { return folder; }
  void ShowMessageBox(std::u16string_view text, std::u16string_view title,
                      MessageIcon icon) override {
    log.push_back(u"box " + DecimalText(static_cast<int32_t>(icon)) + u" " + std::u16string(title) +
                  u": " + std::u16string(text));
  }
  std::unique_ptr<MessageWindow> MakeMessageWindow(const MessageFormLayout&) override {
    return std::make_unique<Window>(*this);
  }
  void ProcessEvents() override { log.push_back(u"events"); }

  ConnectionRef MakeConnection() override { return MakeRef<LoggedConnection>(*this); }
  RecordsetRef MakeRecordset() override { return MakeRef<LoggedRecordset>(*this); }

 private:
  class Window final : public MessageWindow {
   public:
    explicit Window(RecordingHost& host) : host_(host) { host_.log.push_back(u"window made"); }
    ~Window() override { host_.log.push_back(u"window gone"); }
    void SetTitle(std::u16string_view title) override { Add(u"title ", title); }
    void SetLabel(std::u16string_view text) override { Add(u"label ", text); }
    void Show() override { Add(u"show", u""); }
    void Repaint() override { Add(u"repaint", u""); }

   private:
    void Add(std::u16string_view what, std::u16string_view text) {
      host_.log.push_back(std::u16string(what) + std::u16string(text));
    }
    RecordingHost& host_;
  };

  class LoggedConnection final : public Counted<Connection> {
   public:
    explicit LoggedConnection(RecordingHost& host) : host_(host) {}
    int32_t State() override { return open_ ? kStateOpen : kStateClosed; }
    void SetCursorLocation(int32_t location) override {
      host_.log.push_back(u"location " + DecimalText(location));
    }
    void Open(std::u16string_view text) override {
      host_.log.push_back(u"connect " + std::u16string(text));
      open_ = true;
    }
    void Close() override {
      host_.log.push_back(u"disconnect");
      open_ = false;
    }

   private:
    RecordingHost& host_;
    bool open_ = false;
  };

  class LoggedRecordset final : public Counted<Recordset> {
   public:
    explicit LoggedRecordset(RecordingHost& host) : host_(host) {}
    int32_t State() override { return open_ ? kStateOpen : kStateClosed; }
    void Open(std::u16string_view sql, const ConnectionRef& connection, int32_t cursor_type,
              int32_t lock_type) override {
      if (open_ || connection->State() != kStateOpen || cursor_type != kCursorDynamic ||
          lock_type != kLockOptimistic) {
        Raise(Err::kProvider, u"wrong way to open");
      }
      host_.log.emplace_back(sql);
      rows_.clear();
      at_ = 0;
      open_ = true;
      constexpr std::u16string_view text_query = u"Select * from Mssg where LID=";
      if (sql == u"Select * from Misc" || sql == u"Select * From Misc") {
        if (host_.chosen) rows_.push_back({u"CurLang", *host_.chosen});
      } else if (sql == u"Select * from Lang") {
        for (const std::u16string& name : host_.languages) rows_.push_back({u"Lang", name});
      } else if (sql.starts_with(text_query)) {
        // "text 1/12" for number 12 of language 1; number 0 has no row.
        std::u16string text = u"text ";
        text += ReplaceAll(sql.substr(text_query.size()), u" and SID=", u"/");
        if (!text.ends_with(u"/0")) rows_.push_back({u"Mssg", text});
      } else {
        Raise(Err::kProvider, u"unknown statement");
      }
    }
    bool EndOfFile() override { return at_ >= rows_.size(); }
    void MoveNext() override { ++at_; }
    Value Field(std::u16string_view name) override {
      if (EndOfFile()) Raise(Err::kNoCurrentRecord);
      if (rows_[at_].first != name) Raise(Err::kProvider, u"unknown field");
      return rows_[at_].second;
    }
    Value Field(int32_t) override { Raise(Err::kProvider, u"fields have names here"); }
    void SetField(std::u16string_view name, const Value& value) override {
      if (EndOfFile() || rows_[at_].first != name) Raise(Err::kProvider, u"unknown field");
      rows_[at_].second = value;
    }
    void AddNew() override { Raise(Err::kProvider, u"nothing is added here"); }
    void Update() override {
      host_.log.push_back(u"update " + rows_[at_].second.ToText());
      host_.chosen = rows_[at_].second;
    }
    void Close() override { open_ = false; }

   private:
    RecordingHost& host_;
    std::vector<std::pair<std::u16string, Value>> rows_;
    size_t at_ = 0;
    bool open_ = false;
  };
};

}  // namespace ohmwise::testing
