#include "sort/clsLOSort.h"

#include "base/error.h"

namespace ohmwise {

namespace {

/// Lends the record to a stored object and gives it back its own, whatever happens.
std::u16string StoredText(const ObjectRef& record, const Value& stored) {
  const Value own = record->Get(u"Data");
  record->Put(u"Data", stored);
  std::u16string text;
  try {
    text = record->Get(u"GetData").ToText();
  } catch (...) {
    record->Put(u"Data", own);
    throw;
  }
  record->Put(u"Data", own);
  return text;
}

}  // namespace

void clsLOSort::Add(const ObjectRef& Obj) {
  const auto record = [&Obj]() -> Object& {
    if (!Obj) Raise(Err::kObjectNotSet);
    return *Obj;
  };
  sort::SortedInsert(target_, sort::PresenceTest::kReadByKey,
                     {.sort_text = [&] { return record().Get(u"GetData").ToText(); },
                      .key = [&] { return record().Get(u"GetKey").ToText(); },
                      .item = [&] { return record().Get(u"Data"); },
                      .stored_text = [&](const Value& stored) { return StoredText(Obj, stored); }});
}

}  // namespace ohmwise
