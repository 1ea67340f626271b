#include "lang/clsLLang.h"

#include <memory>
#include <utility>

#include "base/conversion.h"
#include "base/error.h"
#include "base/text.h"
#include "lang/text_numbers.h"
#include "platform/host.h"
#include "shapeutil/clsLMisc.h"

namespace ohmwise {
namespace {

constexpr std::u16string_view kProvider =
    u"Provider=Microsoft.Jet.OLEDB.4.0;Jet OLEDB:Database Password=Qm7TzK2pLw9XcVb4NsRd;"
    u"Data Source=";
constexpr std::u16string_view kDatabaseFile = u"LangDB.mdb";
constexpr int32_t kCacheSize = 50;

// The folder with a separator at its end. Hosts name it with their own one, so either counts as an
// end; a folder without any gets the one it uses itself.
std::u16string DataFolder() {
  std::u16string folder = CurrentHost().LibraryFolder();
  if (!folder.ends_with(u'\\') && !folder.ends_with(u'/')) {
    folder += folder.find(u'/') == std::u16string::npos ? u'\\' : u'/';
  }
  // A build run from a development sub-folder finds the data in the folder above.
  return ReplaceAll(folder, u"Development", u"");
}

thread_local clsLLang* shared_lang = nullptr;

}  // namespace

clsLLang::clsLLang() {
  const std::u16string source = DataFolder().append(kDatabaseFile);
  Database& database = CurrentHost().database();
  connection_ = database.MakeConnection();
  records_ = database.MakeRecordset();
  connection_->SetCursorLocation(kCursorLocationClient);
  connection_->Open(std::u16string(kProvider).append(source));
  Query(records_, u"Select * from Misc");
  if (!records_->EndOfFile()) language_ = records_->Field(u"CurLang").ToInt16();
  records_->Close();
}

clsLLang::~clsLLang() {
  try {
    if (connection_->State() != kStateClosed) connection_->Close();
  } catch (...) {  // A provider that cannot close any more has nothing left to give back.
  }
}

void clsLLang::Query(const RecordsetRef& records, std::u16string_view sql) {
  records->Open(sql, connection_, kCursorDynamic, kLockOptimistic);
}

std::u16string clsLLang::GetStr(int32_t SID) {
  const std::u16string key = DecimalText(SID);
  if (!cache_) cache_ = MakeCollection();
  if (SharedMisc().GotInCollection(cache_, key)) {
    std::u16string text = cache_->Item(key).ToText();
    cache_->Remove(key);
    cache_->Add(text, key);
    return text;
  }
  Query(records_,
        u"Select * from Mssg where LID=" + DecimalText(int32_t{language_}) + u" and SID=" + key);
  std::u16string text(kNoTextSentence);
  if (!records_->EndOfFile()) text = records_->Field(u"Mssg").ToText();
  records_->Close();
  if (cache_->Count() >= kCacheSize) cache_->Remove(1);
  cache_->Add(text, key);
  return text;
}

void clsLLang::SetLanguage(int16_t Value) {
  const RecordsetRef records = CurrentHost().database().MakeRecordset();
  Query(records, u"Select * From Misc");
  if (records->Field(u"CurLang").ToInt32() != Value) {
    const std::u16string message = SharedLang().GetStr(text_number::kNewLanguage);
    CurrentHost().ShowMessageBox(message, SharedLang().GetStr(text_number::kLanguageTitle),
                                 MessageIcon::kInformation);
    records->SetField(u"CurLang", ohmwise::Value(Value));
    records->Update();
  }
  records->Close();
}

void clsLLang::InitCombo(const ObjectRef& cmbActive) {
  if (!cmbActive) Raise(Err::kObjectNotSet);
  cmbActive->Call(u"Clear");
  Query(records_, u"Select * from Lang");
  for (; !records_->EndOfFile(); records_->MoveNext()) {
    const Value name = records_->Field(u"Lang");
    cmbActive->Call(u"AddItem", {&name, 1});
  }
  records_->Close();
  Query(records_, u"Select * from Misc");
  cmbActive->Put(u"ListIndex", records_->Field(u"CurLang"));
  records_->Close();
}

clsLLang& SharedLang() {
  if (!shared_lang) {
    auto made = std::make_unique<clsLLang>();
    AtHostEnd([] { delete std::exchange(shared_lang, nullptr); });
    shared_lang = made.release();
  }
  return *shared_lang;
}

std::u16string UserText(int32_t number) {
  try {
    return SharedLang().GetStr(number);
  } catch (const AutomationError&) {
    return std::u16string(kNoTextSentence);
  }
}

std::u16string StoredText(int32_t number) {
  std::u16string text = SharedLang().GetStr(number);
  if (text == kNoTextSentence) {
    Raise(Err::kProvider, u"LangDB.mdb has no text " + DecimalText(number) + u".");
  }
  return text;
}

}  // namespace ohmwise
