#pragma once

#include <filesystem>
#include <string_view>
#include <vector>

#include "platform/embedded/database/sqlite_session.h"

namespace ohmwise::embedded {

/// A Jet file opened for reading. Its tables are copied into memory when they are first asked for,
/// so statements mean the same as everywhere. Whatever would write is refused with a sentence that
/// says how the file becomes a catalogue of this program.
class JetSession final : public SqliteSession {
 public:
  explicit JetSession(const std::filesystem::path& path);

  const Table& FindTable(std::u16string_view name) override;
  std::vector<std::u16string> TableNames() override { return names_; }

 protected:
  void RequireWritable() const override;

 private:
  void Load(const std::u16string& name);

  std::filesystem::path path_;
  std::vector<std::u16string> names_;
  std::vector<bool> loaded_;
};

}  // namespace ohmwise::embedded
