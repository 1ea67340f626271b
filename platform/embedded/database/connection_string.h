#pragma once

#include <string>
#include <string_view>

namespace ohmwise::embedded {

/// What a provider connection string says.
struct ConnectionString {
  std::u16string provider;
  std::u16string data_source;
};

/// Reads "key=value;…": keys without case, blanks around keys and values dropped, a value between
/// quotes may hold ";". Of keys given twice the last counts. The password and the other items that
/// a file without users needs not are accepted and not kept. Raises the provider's error for an
/// unknown provider or item and for a missing data source.
ConnectionString ParseConnectionString(std::u16string_view text);

}  // namespace ohmwise::embedded
