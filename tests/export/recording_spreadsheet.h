#pragma once

#include <string>
#include <utility>
#include <vector>

#include "base/conversion.h"
#include "base/error.h"
#include "base/text.h"
#include "platform/spreadsheet.h"
#include "tests/support/test_host.h"

namespace ohmwise::testing {

/// A host with a spreadsheet program that writes every call down by the program's own names; the
/// n-th call fails when asked.
class RecordingSpreadsheet final : public TestHost, public Spreadsheet {
 public:
  std::vector<std::u16string> log;
  int calls_until_failure = 0;  ///< 0: none fails

  std::vector<std::u16string> TakeLog() { return std::exchange(log, {}); }

  ohmwise::Spreadsheet& spreadsheet() override { return *this; }
  SpreadsheetApplicationRef CreateApplication() override {
    Add(u"CreateObject Excel.application");
    return MakeRef<Application>(*this);
  }

 private:
  using Text = std::u16string;

  void Add(Text line) {
    log.push_back(std::move(line));
    if (calls_until_failure > 0 && --calls_until_failure == 0) Raise(Err::kHost, u"refused");
  }
  static Text Shown(const Value& value) {
    return value.IsText() ? u"\"" + value.AsText() + u"\"" : value.ToText();
  }

  class Font final : public Counted<SheetFont> {
   public:
    Font(RecordingSpreadsheet& host, Text owner) : host_(host), owner_(std::move(owner)) {}
    void SetBold(bool bold) override {
      host_.Add(owner_ + u".Bold=" + (bold ? u"True" : u"False"));
    }
    void SetColor(int32_t color) override { host_.Add(owner_ + u".Color=" + DecimalText(color)); }

   private:
    RecordingSpreadsheet& host_;
    Text owner_;
  };

  class Range final : public Counted<SheetRange> {
   public:
    Range(RecordingSpreadsheet& host, Text name) : host_(host), name_(std::move(name)) {}
    void SetValue(const Value& value) override { host_.Add(name_ + u"=" + Shown(value)); }
    void SetValues(std::span<const Value> row) override {
      Text line = name_ + u"=";
      for (const Value& value : row) line += Shown(value) + u";";
      host_.Add(line);
    }
    SheetFontRef Font() override {
      return MakeRef<RecordingSpreadsheet::Font>(host_, name_ + u".Font");
    }
    void SetHidden(bool hidden) override {
      host_.Add(name_ + u".Hidden=" + (hidden ? u"True" : u"False"));
    }
    void SetHorizontalAlignment(int16_t alignment) override {
      host_.Add(name_ + u".HorizontalAlignment=" + DecimalText(int32_t{alignment}));
    }
    Ref<SheetRange> Columns() override { return MakeRef<Range>(host_, name_ + u".Columns"); }
    void AutoFit() override { host_.Add(name_ + u".AutoFit"); }
    void Select() override { host_.Add(name_ + u".Select"); }

   private:
    RecordingSpreadsheet& host_;
    Text name_;
  };

  class Sheet final : public Counted<Worksheet> {
   public:
    explicit Sheet(RecordingSpreadsheet& host) : host_(host) {}
    SheetRangeRef Range(std::u16string_view address) override {
      if (address.find(u'[') != address.npos) Raise(Err::kHost, u"no such range");
      return Make(u"Range(" + Text(address) + u")");
    }
    SheetRangeRef Rows(const Value& rows) override { return Make(u"Rows(" + Shown(rows) + u")"); }
    SheetRangeRef Columns(const Value& columns) override {
      return Make(u"Columns(" + Shown(columns) + u")");
    }
    SheetRangeRef Cells(int32_t row, int32_t column) override {
      return Make(u"Cells(" + DecimalText(row) + u"," + DecimalText(column) + u")");
    }

   private:
    SheetRangeRef Make(Text name) { return MakeRef<RecordingSpreadsheet::Range>(host_, name); }
    RecordingSpreadsheet& host_;
  };

  class Books final : public Counted<SheetWorkbooks> {
   public:
    explicit Books(RecordingSpreadsheet& host) : host_(host) {}
    void Add() override { host_.Add(u"Workbooks.Add"); }

   private:
    RecordingSpreadsheet& host_;
  };

  class Application final : public Counted<SpreadsheetApplication> {
   public:
    explicit Application(RecordingSpreadsheet& host) : host_(host) {}
    void SetVisible(bool visible) override {
      host_.Add(visible ? u"Visible=True" : u"Visible=False");
    }
    SheetWorkbooksRef Workbooks() override { return MakeRef<Books>(host_); }
    WorksheetRef ActiveSheet() override {
      host_.Add(u"ActiveSheet");
      return MakeRef<Sheet>(host_);
    }
    void Quit() override { host_.Add(u"Quit"); }

   private:
    RecordingSpreadsheet& host_;
  };
};

}  // namespace ohmwise::testing
