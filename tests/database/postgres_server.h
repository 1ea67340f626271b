#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>

namespace ohmwise::testing {

/// A PostgreSQL server of this process alone: its own data in a temporary folder, on a free port of
/// 127.0.0.1. It ends with this object, and should this process be killed, with the process.
class PostgresServer {
 public:
  /// Tests care for what a killed client leaves behind, not for power cuts of the server.
  enum class Durability { kMemory, kDisk };
  explicit PostgresServer(Durability durability = Durability::kMemory);
  ~PostgresServer();
  PostgresServer(const PostgresServer&) = delete;
  PostgresServer& operator=(const PostgresServer&) = delete;

  /// Why there is no server; "" when there is one.
  const std::string& failure() const { return failure_; }
  /// Makes an empty database and returns its URL.
  std::u16string MakeDatabase();

 private:
  bool Start(const std::filesystem::path& programs);

  Durability durability_;
  std::filesystem::path folder_;
  std::string failure_;
  pid_t process_ = -1;
  int port_ = 0;
  int databases_ = 0;
};

}  // namespace ohmwise::testing
