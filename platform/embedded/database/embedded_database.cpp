#include "platform/embedded/database/embedded_database.h"

#include "platform/embedded/database/recordset.h"

namespace ohmwise::embedded {

ConnectionRef EmbeddedDatabase::MakeConnection() { return MakeEngineConnection(busy_timeout_); }

RecordsetRef EmbeddedDatabase::MakeRecordset() { return MakeEngineRecordset(); }

}  // namespace ohmwise::embedded
