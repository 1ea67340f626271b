#pragma once

#include <cstddef>
#include <cstdint>

namespace ohmwise::embedded {

/// What the program that reads Jet files says, piece by piece: a tag, the number of bytes (32
/// bits), the bytes.
enum class JetTag : uint8_t {
  kTable = 'T',   ///< name
  kColumn = 'C',  ///< digit of its `ColumnType`, name
  kRow = 'R',     ///< its values follow
  kText = 'V',
  kNull = 'N',
  kEnd = 'E'
};

/// Forms take 65,535 characters; libmdb takes this much memory for every text.
inline constexpr size_t kLongestJetText = size_t{256} << 10;

}  // namespace ohmwise::embedded
