#pragma once

#include "platform/database.h"

namespace ohmwise::com {

/// The database through ADO: "ADODB.Connection" and "ADODB.Recordset", called by name. Where ADO is
/// not installed, `Open` says so.
class AdoDatabase final : public Database {
 public:
  ConnectionRef MakeConnection() override;
  RecordsetRef MakeRecordset() override;
};

}  // namespace ohmwise::com
