#pragma once

#include <chrono>

#include "platform/database.h"

namespace ohmwise::embedded {

/// The databases of the headless host: SQLite files, PostgreSQL servers and, for reading, Jet
/// files, behind the connection strings and the SQL of the Jet provider; see README.md. One object
/// serves one thread.
class EmbeddedDatabase final : public Database {
 public:
  /// `busy_timeout`: how long a statement waits for another program that writes the database.
  explicit EmbeddedDatabase(std::chrono::milliseconds busy_timeout = std::chrono::seconds(10))
      : busy_timeout_(busy_timeout) {}

  ConnectionRef MakeConnection() override;
  RecordsetRef MakeRecordset() override;

 private:
  std::chrono::milliseconds busy_timeout_;
};

}  // namespace ohmwise::embedded
