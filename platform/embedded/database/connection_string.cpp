#include "platform/embedded/database/connection_string.h"

#include <algorithm>
#include <array>

#include "base/error.h"
#include "base/text.h"

namespace ohmwise::embedded {
namespace {

constexpr std::array<std::u16string_view, 3> kProviders = {
    u"Microsoft.Jet.OLEDB.4.0", u"Microsoft.ACE.OLEDB.12.0", u"Microsoft.ACE.OLEDB.16.0"};
constexpr std::array<std::u16string_view, 6> kIgnoredItems = {
    u"Jet OLEDB:Database Password", u"Jet OLEDB:Engine Type", u"User ID", u"Password", u"Mode",
    u"Persist Security Info"};

template <class Names>
bool IsOneOf(const Names& names, std::u16string_view name) {
  return std::any_of(names.begin(), names.end(),
                     [&](std::u16string_view known) { return EqualNoCase(known, name); });
}

// Takes one value off the front of `rest`, its closing ";" too.
std::u16string TakeValue(std::u16string_view& rest) {
  const size_t start = std::min(rest.find_first_not_of(u' '), rest.size());
  rest.remove_prefix(start);
  std::u16string_view value;
  if (!rest.empty() && (rest.front() == u'"' || rest.front() == u'\'')) {
    const size_t close = rest.find(rest.front(), 1);
    if (close == std::u16string_view::npos) {
      Raise(Err::kProvider, u"The connection string has a quote that is not closed.");
    }
    value = rest.substr(1, close - 1);
    rest.remove_prefix(close + 1);
    const size_t next = std::min(rest.find(u';'), rest.size());
    if (!TrimSpaces(rest.substr(0, next)).empty()) {
      Raise(Err::kProvider, u"The connection string has characters after a closing quote.");
    }
    rest.remove_prefix(std::min(next + 1, rest.size()));
    return std::u16string(value);
  }
  const size_t end = std::min(rest.find(u';'), rest.size());
  value = TrimSpaces(rest.substr(0, end));
  rest.remove_prefix(std::min(end + 1, rest.size()));
  return std::u16string(value);
}

}  // namespace

ConnectionString ParseConnectionString(std::u16string_view text) {
  ConnectionString result;
  while (!TrimSpaces(text).empty()) {
    const size_t equals = text.find(u'=');
    if (equals == std::u16string_view::npos) {
      Raise(Err::kProvider, u"The connection string has an item without \"=\": " +
                                std::u16string(TrimSpaces(text)));
    }
    const std::u16string key(TrimSpaces(text.substr(0, equals)));
    text.remove_prefix(equals + 1);
    std::u16string value = TakeValue(text);
    if (EqualNoCase(key, u"Provider")) {
      result.provider = std::move(value);
    } else if (EqualNoCase(key, u"Data Source")) {
      result.data_source = std::move(value);
    } else if (!IsOneOf(kIgnoredItems, key)) {
      Raise(Err::kProvider, u"The connection string has an unknown item: " + key);
    }
  }
  if (!IsOneOf(kProviders, result.provider)) {
    Raise(Err::kProvider, u"Provider \"" + result.provider +
                              u"\" cannot be found. It may not be properly installed.");
  }
  if (result.data_source.empty()) {
    Raise(Err::kProvider, u"The connection string names no data source.");
  }
  return result;
}

}  // namespace ohmwise::embedded
