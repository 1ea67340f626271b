// Takes any bytes as an options file. Whatever is written must be read back, a second value must
// survive the writing of a first, and a refusal must be the one error that there is.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <string>
#include <string_view>

#include "base/error.h"
#include "base/text.h"
#include "platform/embedded/settings/ini_text.h"

namespace {

using ohmwise::embedded::FindIniValue;
using ohmwise::embedded::WithIniValue;

void Require(bool holds, const char* what) {
  if (holds) return;
  std::cerr << what << '\n';
  std::abort();
}

std::optional<std::u16string> Read(std::string_view text, std::u16string_view section,
                                   std::u16string_view key) {
  try {
    return FindIniValue(text, section, key, "file");
  } catch (const ohmwise::AutomationError& error) {
    Require(error.number() == ohmwise::Err::kHost, "a refusal of another kind");
    return std::nullopt;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // The first bytes give section, key and value of any code units; the rest is the file.
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  const size_t cut = std::min(size, size_t{16});
  std::u16string units[3];
  for (size_t i = 0; i + 1 < cut; i += 2) {
    units[i / 2 % 3] += static_cast<char16_t>(data[i] | data[i + 1] << 8);
  }
  const auto& [section, key, value] = units;
  const std::string_view file = input.substr(cut);
  const auto kept = Read(file, u"Options", u"a");
  const std::string written = WithIniValue(file, section, key, value);
  Require(Read(written, section, key) == value, "a value changed by being written");
  Require(WithIniValue(written, section, key, value) == written, "writing again changes the file");
  const bool same = ohmwise::EqualNoCase(section, u"Options") && ohmwise::EqualNoCase(key, u"a");
  Require(same || Read(written, u"Options", u"a") == kept, "another value changed");
  return 0;
}
