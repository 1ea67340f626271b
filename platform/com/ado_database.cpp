#include "platform/com/ado_database.h"

#include <memory>
#include <utility>
#include <vector>

#include "base/error.h"
#include "base/text.h"
#include "platform/com/late_binding.h"

namespace ohmwise::com {

namespace {

class RecordsetClient final : public Client<Recordset, Kind::kRecordset> {
 public:
  using Client::Client;
  int32_t State() override { return late_.Number(Member::kState); }
  void Open(std::u16string_view sql, const ConnectionRef& connection, int32_t cursor_type,
            int32_t lock_type) override {
    Forget();
    late_.Call(Member::kOpen, sql, Value(connection), cursor_type, lock_type);
  }
  bool EndOfFile() override { return late_.Flag(Member::kEOF); }
  void MoveNext() override { late_.Call(Member::kMoveNext); }
  Value Field(std::u16string_view name) override {
    return FromVariant(FieldNamed(name).Call(Member::kValue).get());
  }
  Value Field(int32_t index) override {
    LateBound field = FieldAt(index);
    return FromVariant(field.Call(Member::kValue).get());
  }
  void SetField(std::u16string_view name, const Value& value) override {
    FieldNamed(name).Assign(Member::kValue, value);
  }
  void AddNew() override { late_.Call(Member::kAddNew); }
  void Update() override { late_.Call(Member::kUpdate); }
  void Close() override {
    Forget();
    late_.Call(Member::kClose);
  }

 private:
  struct KnownField {
    std::u16string name;
    std::unique_ptr<LateBound> field;
  };

  /// The list and its fields serve every record of one opening, so they are asked for once.
  LateBound& FieldNamed(std::u16string_view name) {
    for (const KnownField& known : fields_) {
      if (EqualNoCase(known.name, name)) return *known.field;
    }
    auto field =
        std::make_unique<LateBound>(Kind::kField, Demand(List().Object(Member::kItem, name)));
    fields_.push_back({std::u16string(name), std::move(field)});
    return *fields_.back().field;
  }
  LateBound FieldAt(int32_t index) {
    return LateBound(Kind::kField, Demand(List().Object(Member::kItem, index)));
  }
  LateBound& List() {
    if (!list_) {
      list_ = std::make_unique<LateBound>(Kind::kFields, Demand(late_.Object(Member::kFields)));
    }
    return *list_;
  }
  void Forget() noexcept {
    fields_.clear();
    list_.reset();
  }
  static Ref<IDispatch> Demand(Ref<IDispatch> object) {
    if (!object) Raise(Err::kProvider, u"The database provider gave no field.");
    return object;
  }

  std::unique_ptr<LateBound> list_;
  std::vector<KnownField> fields_;
};

class ConnectionClient final : public Client<Connection, Kind::kConnection> {
 public:
  using Client::Client;
  int32_t State() override { return late_.Number(Member::kState); }
  void SetCursorLocation(int32_t location) override {
    late_.Assign(Member::kCursorLocation, location);
  }
  void Open(std::u16string_view connection_string) override {
    late_.Call(Member::kOpen, connection_string);
  }
  void Close() override { late_.Call(Member::kClose); }
  void BeginTrans() override { late_.Call(Member::kBeginTrans); }
  void CommitTrans() override { late_.Call(Member::kCommitTrans); }
  void RollbackTrans() override { late_.Call(Member::kRollbackTrans); }
  RecordsetRef OpenSchema(int32_t schema) override {
    Ref<IDispatch> rows = late_.Object(Member::kOpenSchema, schema);
    if (!rows) Raise(Err::kProvider, u"The database provider gave no list of tables.");
    return MakeRef<RecordsetClient>(std::move(rows));
  }
};

// Stand-ins where ADO is not installed: making them cannot fail, opening them does.

class AbsentConnection final : public Counted<Connection> {
 public:
  explicit AbsentConnection(AutomationError failure) : failure_(std::move(failure)) {}
  int32_t State() override { return kStateClosed; }
  void SetCursorLocation(int32_t) override {}
  void Open(std::u16string_view) override { throw failure_; }
  void Close() override { throw failure_; }

 private:
  AutomationError failure_;
};

class AbsentRecordset final : public Counted<Recordset> {
 public:
  explicit AbsentRecordset(AutomationError failure) : failure_(std::move(failure)) {}
  int32_t State() override { return kStateClosed; }
  void Open(std::u16string_view, const ConnectionRef&, int32_t, int32_t) override {
    throw failure_;
  }
  bool EndOfFile() override { throw failure_; }
  void MoveNext() override { throw failure_; }
  Value Field(std::u16string_view) override { throw failure_; }
  Value Field(int32_t) override { throw failure_; }
  void SetField(std::u16string_view, const Value&) override { throw failure_; }
  void AddNew() override { throw failure_; }
  void Update() override { throw failure_; }
  void Close() override { throw failure_; }

 private:
  AutomationError failure_;
};

}  // namespace

ConnectionRef AdoDatabase::MakeConnection() {
  try {
    return MakeRef<ConnectionClient>(CreateByName(L"ADODB.Connection"));
  } catch (const AutomationError& failure) {
    return MakeRef<AbsentConnection>(failure);
  }
}

RecordsetRef AdoDatabase::MakeRecordset() {
  try {
    return MakeRef<RecordsetClient>(CreateByName(L"ADODB.Recordset"));
  } catch (const AutomationError& failure) {
    return MakeRef<AbsentRecordset>(failure);
  }
}

}  // namespace ohmwise::com
