#include "platform/embedded/database/engine.h"

#include <algorithm>

#include "base/error.h"
#include "base/text.h"

namespace ohmwise::embedded {

std::optional<size_t> Table::Find(std::u16string_view column) const {
  for (size_t i = 0; i < columns.size(); ++i) {
    if (EqualNoCase(columns[i].name, column)) return i;
  }
  return std::nullopt;
}

void Table::ListColumns() {
  list.clear();
  for (const Column& column : columns) {
    list += (list.empty() ? "" : ", ") + QuotedName(column.name);
  }
}

std::string QuotedName(std::u16string_view name) {
  std::string result = "\"";
  for (const char c : ToUtf8(name)) {
    result += c;
    if (c == '"') result += c;
  }
  return result + '"';
}

void Session::BeginTransaction() {
  if (transaction_ == Transaction::kCaller) {
    Raise(Err::kProvider, u"A transaction is open already; transactions do not nest.");
  }
  RequireWritable();
  EndKeyTransaction();
  Begin(true);
  transaction_ = Transaction::kCaller;
}

void Session::CommitTransaction() {
  if (transaction_ != Transaction::kCaller) {
    Raise(Err::kProvider, u"No transaction is open.");
  }
  // Busy or out of space: the transaction is still there and the caller decides.
  Commit();
  transaction_ = Transaction::kNone;
}

void Session::RollbackTransaction() {
  if (transaction_ != Transaction::kCaller) {
    Raise(Err::kProvider, u"No transaction is open.");
  }
  Rollback();
  transaction_ = Transaction::kNone;
}

void Session::AddPending(const void* owner, std::u16string_view table) {
  RequireWritable();
  pending_.emplace_back(owner, table);
}

void Session::EndPending(const void* owner) noexcept {
  std::erase_if(pending_, [&](const auto& entry) { return entry.first == owner; });
  if (key_owner_ != owner) return;
  key_owner_ = nullptr;
  if (transaction_ != Transaction::kKey) return;
  transaction_ = Transaction::kNone;
  Rollback();  // nothing was changed in it
}

void Session::BeforeKeyQuery(std::u16string_view table) {
  if (transaction_ != Transaction::kNone) return;  // the lock is ours already
  for (const auto& [owner, name] : pending_) {
    if (!EqualNoCase(name, table)) continue;
    Begin(true);
    transaction_ = Transaction::kKey;
    key_owner_ = owner;
    return;
  }
}

// A change by another owner would hang on the new row's fate; the key is given up instead, and
// should somebody else take it, the new row is refused as a duplicate.
void Session::EndKeyTransaction() {
  if (transaction_ == Transaction::kKey) {
    transaction_ = Transaction::kNone;
    Rollback();
  }
  key_owner_ = nullptr;
}

void Session::AddUnread(UnreadResult* result) { unread_.push_back(result); }

void Session::RemoveUnread(UnreadResult* result) noexcept { std::erase(unread_, result); }

void Session::BeforeChange(const UnreadResult* except) {
  RequireWritable();
  const std::vector<UnreadResult*> results = unread_;
  for (UnreadResult* result : results) {
    if (result != except) result->ReadRows();
  }
}

Session::ChangeScope::ChangeScope(Session& session, const void* owner, bool several)
    : session_(session) {
  if (session.transaction_ == Transaction::kKey) {
    if (session.key_owner_ == owner) {
      own_ = true;
      session.transaction_ = Transaction::kChange;
      session.key_owner_ = nullptr;
      return;
    }
    session.EndKeyTransaction();
  }
  if (session.transaction_ != Transaction::kNone || !several) return;
  session.Begin(false);
  session.transaction_ = Transaction::kChange;
  own_ = true;
}

Session::ChangeScope::~ChangeScope() {
  if (!own_) return;
  session_.transaction_ = Transaction::kNone;
  session_.Rollback();
}

void Session::ChangeScope::Commit() {
  if (!own_) return;
  session_.Commit();
  session_.transaction_ = Transaction::kNone;
  own_ = false;
}

}  // namespace ohmwise::embedded
