// Lets the tests of the catalogue's calls run through the clients of ADO: the provider's objects
// are foreign ones that hand every call, by name, to the database that the test keeps.
#include <map>
#include <memory>
#include <utility>

#include "platform/com/ado_database.h"
#include "platform/com/moment.h"
#include "platform/com/objects.h"
#include "tests/catalogue/recording_database.h"
#include "tests/com/clients/recorder.h"

namespace ohmwise::testing {
namespace {

Database* inner = nullptr;
std::map<IDispatch*, ConnectionRef> connections;  // by the foreign object that stands for it

Answer Does(std::function<void()> call) {
  return [call = std::move(call)](const std::vector<Value>&) {
    call();
    return Value();
  };
}

Value Dispatched(const Ref<Recorder>& object) { return Value(com::FromDispatch(object.get())); }

Ref<IDispatch> MakeConnection() {
  const ConnectionRef connection = inner->MakeConnection();
  const Ref<Recorder> door = Recorder::Make(u"Connection", nullptr);
  door->On(u"State", [connection](auto&) { return Value(connection->State()); });
  door->On(u"CursorLocation", [connection](const std::vector<Value>& location) {
    connection->SetCursorLocation(location.at(0).ToInt32());
    return Value();
  });
  door->On(u"Open", [connection](const std::vector<Value>& arguments) {
    connection->Open(arguments.at(0).AsText());
    return Value();
  });
  door->On(u"Close", Does([connection] { connection->Close(); }));
  connections[door.get()] = connection;
  return door;
}

/// A field by its name or its number.
Value MakeField(const RecordsetRef& records, const Value& which) {
  const Ref<Recorder> field = Recorder::Make(u"Field", nullptr);
  field->On(u"Value", [records, which](const std::vector<Value>& written) {
    if (!which.IsText()) return records->Field(which.ToInt32());
    if (written.empty()) return records->Field(which.AsText());
    records->SetField(which.AsText(), written[0]);
    return Value();
  });
  return Dispatched(field);
}

Ref<IDispatch> MakeRecordset() {
  const RecordsetRef records = inner->MakeRecordset();
  const Ref<Recorder> door = Recorder::Make(u"Recordset", nullptr);
  door->On(u"State", [records](auto&) { return Value(records->State()); });
  door->On(u"EOF", [records](auto&) { return Value(records->EndOfFile()); });
  door->On(u"MoveNext", Does([records] { records->MoveNext(); }));
  door->On(u"AddNew", Does([records] { records->AddNew(); }));
  door->On(u"Update", Does([records] { records->Update(); }));
  door->On(u"Close", Does([records] { records->Close(); }));
  door->On(u"Open", [records](const std::vector<Value>& arguments) {
    const Ref<IDispatch> connection = com::ToDispatch(arguments.at(1).AsObject());
    records->Open(arguments[0].AsText(), connections.at(connection.get()),
                  arguments.at(2).ToInt32(), arguments.at(3).ToInt32());
    return Value();
  });
  door->On(u"Fields", [records](auto&) {
    const Ref<Recorder> fields = Recorder::Make(u"Fields", nullptr);
    fields->On(u"Item",
               [records](const std::vector<Value>& which) { return MakeField(records, which[0]); });
    return Dispatched(fields);
  });
  return door;
}

Database& ThroughAdo(Database& database) {
  static StandIn connection_class(L"ADODB.Connection", MakeConnection);
  static StandIn recordset_class(L"ADODB.Recordset", MakeRecordset);
  static com::AdoDatabase ado;
  inner = &database;
  return ado;
}

[[maybe_unused]] const bool installed = [] {
  RecordingDatabase::between = ThroughAdo;
  RecordingDatabase::let_go = [] {
    com::NoteEntry();
    connections.clear();
  };
  return true;
}();

}  // namespace
}  // namespace ohmwise::testing
