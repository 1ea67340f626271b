#include "platform/com/server/registration.h"

#include <array>
#include <string>
#include <string_view>

#include "platform/com/error_mapping.h"
#include "platform/com/server/class_entry.h"
#include "platform/com/server/interfaces.h"
#include "platform/com/server/module.h"
#include "platform/com/windows.h"

// The type library is entered by hand as well: the system's call for one user is missing where the
// library has to be usable without rights on the machine, and one way serves both.
namespace ohmwise::com {
namespace {

constexpr std::wstring_view kVersion = L"6.0";
constexpr std::wstring_view kPlatform = sizeof(void*) == 8 ? L"win64" : L"win32";
/// The system's own marshaller of automation interfaces.
constexpr std::wstring_view kAutomationProxy = L"{00020424-0000-0000-C000-000000000046}";

std::wstring Text(const GUID& id) {
  std::array<wchar_t, 40> text{};
  StringFromGUID2(id, text.data(), static_cast<int>(text.size()));
  return text.data();
}

std::wstring_view ProgId(const ClassEntry& entry) { return Wide(entry.source); }
std::wstring_view ClassName(const ClassEntry& entry) {
  const std::wstring_view name = ProgId(entry);
  return name.substr(name.find(L'.') + 1);
}

std::wstring ClassKey(const ClassEntry& entry) { return L"CLSID\\" + Text(*entry.clsid); }
std::wstring InterfaceKey(const ClassEntry& entry) { return L"Interface\\" + Text(*entry.iid); }
std::wstring LibraryKey() { return L"TypeLib\\" + Text(LIBID_Ohmwise6); }

/// Software\Classes of the machine or of the user.
class Classes {
 public:
  explicit Classes(Registration scope) {
    const HKEY root = scope == Registration::kUser ? HKEY_CURRENT_USER : HKEY_LOCAL_MACHINE;
    status_ = RegCreateKeyExW(root, L"Software\\Classes", 0, nullptr, 0, KEY_READ | KEY_WRITE,
                              nullptr, &key_, nullptr);
  }
  ~Classes() {
    if (key_) RegCloseKey(key_);
  }
  Classes(const Classes&) = delete;
  Classes& operator=(const Classes&) = delete;

  void CheckOpen() const { Check(HRESULT_FROM_WIN32(static_cast<DWORD>(status_))); }

  void Set(const std::wstring& path, std::wstring_view value, const wchar_t* name = nullptr) {
    const std::wstring text(value);
    HKEY key = nullptr;
    LSTATUS status =
        RegCreateKeyExW(key_, path.c_str(), 0, nullptr, 0, KEY_WRITE, nullptr, &key, nullptr);
    if (status == ERROR_SUCCESS) {
      status = RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                              static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
      RegCloseKey(key);
    }
    Check(HRESULT_FROM_WIN32(static_cast<DWORD>(status)));
  }
  void Remove(const std::wstring& path) noexcept {
    if (key_) RegDeleteTreeW(key_, path.c_str());
  }
  /// A key that only this server had entries in.
  void RemoveEmpty(const wchar_t* path) noexcept {
    HKEY key = nullptr;
    if (!key_ || RegOpenKeyExW(key_, path, 0, KEY_READ, &key) != ERROR_SUCCESS) return;
    DWORD keys = 1, values = 1;
    RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, &keys, nullptr, nullptr, &values, nullptr,
                     nullptr, nullptr, nullptr);
    RegCloseKey(key);
    if (keys == 0 && values == 0) RegDeleteKeyW(key_, path);
  }

 private:
  HKEY key_ = nullptr;
  LSTATUS status_;
};

void RegisterClass(Classes& classes, const ClassEntry& entry, std::wstring_view path) {
  const std::wstring key = ClassKey(entry);
  classes.Set(key, ClassName(entry));
  classes.Set(key + L"\\InprocServer32", path);
  classes.Set(key + L"\\InprocServer32", L"Apartment", L"ThreadingModel");
  classes.Set(key + L"\\ProgID", ProgId(entry));
  classes.Set(key + L"\\Programmable", L"");
  classes.Set(key + L"\\TypeLib", Text(LIBID_Ohmwise6));
  classes.Set(key + L"\\VERSION", kVersion);
  const std::wstring name(ProgId(entry));
  classes.Set(name, ClassName(entry));
  classes.Set(name + L"\\CLSID", Text(*entry.clsid));
}

void RegisterInterface(Classes& classes, const ClassEntry& entry) {
  const std::wstring key = InterfaceKey(entry);
  classes.Set(key, L"_" + std::wstring(ClassName(entry)));
  classes.Set(key + L"\\ProxyStubClsid32", kAutomationProxy);
  classes.Set(key + L"\\TypeLib", Text(LIBID_Ohmwise6));
  classes.Set(key + L"\\TypeLib", kVersion, L"Version");
}

}  // namespace

void Register(Registration scope) {
  Classes classes(scope);
  classes.CheckOpen();
  const std::wstring path = ModulePath();
  for (const ClassEntry* entry : PublicClasses()) {
    RegisterClass(classes, *entry, path);
    RegisterInterface(classes, *entry);
  }
  const std::wstring library = LibraryKey() + L"\\" + std::wstring(kVersion);
  classes.Set(library, L"Ohmwise 6 class library");
  classes.Set(library + L"\\0\\" + std::wstring(kPlatform), path);
  classes.Set(library + L"\\FLAGS", L"0");
  classes.Set(library + L"\\HELPDIR", path.substr(0, path.find_last_of(L'\\')));
}

void Unregister(Registration scope) noexcept {
  try {
    Classes classes(scope);
    for (const ClassEntry* entry : PublicClasses()) {
      classes.Remove(std::wstring(ProgId(*entry)));
      classes.Remove(ClassKey(*entry));
      classes.Remove(InterfaceKey(*entry));
    }
    classes.Remove(LibraryKey());
    for (const wchar_t* key : {L"CLSID", L"Interface", L"TypeLib"}) classes.RemoveEmpty(key);
  } catch (...) {
    // Without memory for the names of the keys there is nothing else to try.
  }
}

}  // namespace ohmwise::com
