#pragma once

#include <chrono>

#include "platform/database.h"

namespace ohmwise::embedded {

/// A connection that is still closed; `Open` chooses the engine.
ConnectionRef MakeEngineConnection(std::chrono::milliseconds busy_timeout);
/// A recordset that is still closed.
RecordsetRef MakeEngineRecordset();

}  // namespace ohmwise::embedded
