#include "platform/com/registry_store.h"

#include <limits>
#include <string>

#include "base/error.h"
#include "base/text.h"
#include "platform/com/windows.h"

namespace ohmwise::com {

namespace {

constexpr std::u16string_view kRoot = u"Software\\VB and VBA Program Settings\\";

class Key {
 public:
  ~Key() {
    if (key_) RegCloseKey(key_);
  }
  Key() = default;
  Key(const Key&) = delete;
  Key& operator=(const Key&) = delete;
  HKEY get() const noexcept { return key_; }
  HKEY* place() noexcept { return &key_; }

 private:
  HKEY key_ = nullptr;
};

/// The registry takes a name up to its first zero.
std::u16string Name(std::u16string_view name) {
  if (name.empty() || name.find(u'\0') != name.npos) Raise(Err::kInvalidCall);
  return std::u16string(name);
}

std::u16string PathOf(std::u16string_view application, std::u16string_view section) {
  return std::u16string(kRoot) + Name(application) + u"\\" + Name(section);
}

void Check(LSTATUS status, std::u16string_view path) {
  if (status == ERROR_SUCCESS) return;
  Raise(status == ERROR_ACCESS_DENIED ? Err::kPermissionDenied : Err::kHost,
        u"The registry key HKEY_CURRENT_USER\\" + std::u16string(path) +
            u" cannot be used: error " + DecimalText(static_cast<int32_t>(status)) + u".");
}

}  // namespace

std::optional<std::u16string> RegistryStore::Read(std::u16string_view application,
                                                  std::u16string_view section,
                                                  std::u16string_view key) {
  const std::u16string path = PathOf(application, section);
  const std::u16string name = Name(key);
  Key opened;
  LSTATUS status =
      RegOpenKeyExW(HKEY_CURRENT_USER, Wide(path.c_str()), 0, KEY_QUERY_VALUE, opened.place());
  if (status == ERROR_FILE_NOT_FOUND || status == ERROR_PATH_NOT_FOUND) return std::nullopt;
  Check(status, path);

  std::u16string text(128, u'\0');
  DWORD type = 0, bytes = 0;
  do {  // again when the value has grown meanwhile
    bytes = static_cast<DWORD>(text.size() * sizeof(char16_t));
    status = RegQueryValueExW(opened.get(), Wide(name.c_str()), nullptr, &type,
                              reinterpret_cast<BYTE*>(text.data()), &bytes);
    if (status == ERROR_MORE_DATA) text.resize(bytes / sizeof(char16_t) + 1);
  } while (status == ERROR_MORE_DATA);
  if (status == ERROR_FILE_NOT_FOUND) return std::nullopt;
  Check(status, path);
  if (type != REG_SZ && type != REG_EXPAND_SZ) return std::nullopt;
  text.resize(bytes / sizeof(char16_t));
  if (!text.empty() && text.back() == u'\0') text.pop_back();
  return text;
}

void RegistryStore::Write(std::u16string_view application, std::u16string_view section,
                          std::u16string_view key, std::u16string_view value) {
  const std::u16string path = PathOf(application, section);
  const std::u16string name = Name(key);
  const std::u16string text(value);
  if (text.size() >= std::numeric_limits<DWORD>::max() / sizeof(char16_t)) {
    Raise(Err::kInvalidCall);
  }
  Key opened;
  Check(RegCreateKeyExW(HKEY_CURRENT_USER, Wide(path.c_str()), 0, nullptr, REG_OPTION_NON_VOLATILE,
                        KEY_SET_VALUE, nullptr, opened.place(), nullptr),
        path);
  Check(RegSetValueExW(opened.get(), Wide(name.c_str()), 0, REG_SZ,
                       reinterpret_cast<const BYTE*>(text.c_str()),
                       static_cast<DWORD>((text.size() + 1) * sizeof(char16_t))),
        path);
  Check(RegFlushKey(opened.get()), path);
}

std::u16string RegistryStore::Location() {
  return u"HKEY_CURRENT_USER\\" + std::u16string(kRoot) + u"Ohmwise";
}

}  // namespace ohmwise::com
