#include "catalogue/clsLDB.h"

#include "base/conversion.h"
#include "base/error.h"
#include "base/text.h"
#include "lang/clsLLang.h"
#include "lang/text_numbers.h"
#include "platform/host.h"

namespace ohmwise {
namespace {

constexpr std::u16string_view kProvider = u"Provider=Microsoft.Jet.OLEDB.4.0;Data Source=";
constexpr std::u16string_view kMarkers = u"Select * from Misc";

}  // namespace

clsLDB::~clsLDB() {
  if (!connection_) return;
  try {
    if (connection_->State() != kStateClosed) connection_->Close();
  } catch (...) {  // A provider that cannot close any more has nothing left to give back.
  }
}

void clsLDB::OpenDB(std::u16string_view DBPath) {
  if (connection_ && connection_->State() == kStateOpen) connection_->Close();
  connection_ = CurrentHost().database().MakeConnection();
  connection_->SetCursorLocation(kCursorLocationClient);
  connection_->Open(std::u16string(kProvider).append(DBPath));
}

RecordsetRef clsLDB::Open(std::u16string_view sql) {
  if (!connection_) Raise(Err::kObjectNotSet);
  RecordsetRef records = CurrentHost().database().MakeRecordset();
  Reopen(records, sql);
  return records;
}

void clsLDB::Reopen(const RecordsetRef& records, std::u16string_view sql) {
  records->Open(sql, connection_, kCursorDynamic, kLockOptimistic);
}

void clsLDB::Run(std::u16string_view delete_statement) {
  const RecordsetRef records = Open(delete_statement);
  if (records->State() == kStateOpen) records->Close();
}

int32_t clsLDB::NextKey(std::u16string_view max_query) {
  const RecordsetRef records = Open(max_query);
  const int32_t next = ToInt32(records->Field(0).ToDouble() + 1);
  records->Close();
  return next;
}

RecordsetRef clsLDB::Lookup(std::u16string_view sql, std::u16string_view fallback, bool silent) {
  RecordsetRef records = Open(sql);
  if (!records->EndOfFile()) return records;
  if (!silent) {
    const std::u16string message = SharedLang().GetStr(text_number::kNotFound);
    CurrentHost().ShowMessageBox(message, SharedLang().GetStr(text_number::kError),
                                 MessageIcon::kExclamation);
  }
  if (records->State() != kStateClosed) records->Close();
  Reopen(records, fallback);
  return records;
}

int16_t clsLDB::Version() {
  const RecordsetRef records = Open(kMarkers);
  const int16_t version = records->Field(u"Version").ToInt16();
  records->Close();
  return version;
}

void clsLDB::SetVersion(int16_t v) {
  const RecordsetRef records = Open(kMarkers);
  records->SetField(u"Version", v);
  records->Update();
  records->Close();
}

// The table spells the field with a small g.
bool clsLDB::UpGraded() {
  const RecordsetRef records = Open(kMarkers);
  const bool upgraded = records->Field(u"Upgraded").ToBoolean();
  records->Close();
  return upgraded;
}

void clsLDB::SetUpGraded(bool v) {
  const RecordsetRef records = Open(kMarkers);
  records->SetField(u"Upgraded", v);
  records->Update();
  records->Close();
}

RecordsetRef clsLDB::GetSQL(std::u16string_view tSQL) { return Open(tSQL); }

}  // namespace ohmwise
