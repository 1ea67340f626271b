#include "platform/database.h"

#include "base/error.h"

namespace ohmwise {
namespace {

[[noreturn]] void Refuse(std::u16string_view what) {
  Raise(Err::kUnsupportedMember, u"This database connection " + std::u16string(what));
}

}  // namespace

void Connection::BeginTrans() { Refuse(u"has no transactions."); }
void Connection::CommitTrans() { Refuse(u"has no transactions."); }
void Connection::RollbackTrans() { Refuse(u"has no transactions."); }
RecordsetRef Connection::OpenSchema(int32_t) { Refuse(u"does not list its tables."); }
std::vector<int32_t> Connection::SearchComponents(std::u16string_view, int32_t) {
  Refuse(u"has no search.");
}

}  // namespace ohmwise
