#include <algorithm>
#include <iterator>
#include <set>
#include <thread>

#include "Ohmwise6.h"
#include "base/text.h"
#include "tests/com/server/server.h"

namespace ohmwise::com {
namespace {

using Lines = std::set<std::wstring>;

/// Keys and values below a key, as lines; names of keys in lower case, as they count without. What
/// stands two levels down and was there before is not opened again.
void Collect(HKEY key, const std::wstring& path, int level, const Lines& before, Lines& lines) {
  lines.insert(path);
  if (level == 2 && (before.empty() || before.contains(path))) return;
  wchar_t name[512];
  BYTE data[2048];
  for (DWORD i = 0;; ++i) {
    DWORD length = 512, size = sizeof data, type = 0;
    const LSTATUS status = RegEnumValueW(key, i, name, &length, nullptr, &type, data, &size);
    if (status == ERROR_NO_MORE_ITEMS) break;
    if (status != ERROR_SUCCESS || type != REG_SZ) continue;
    lines.insert(path + L" " + name + L"=" +
                 std::wstring(reinterpret_cast<const wchar_t*>(data), size / sizeof(wchar_t)));
  }
  for (DWORD i = 0;; ++i) {
    DWORD length = 512;
    if (RegEnumKeyExW(key, i, name, &length, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) {
      break;
    }
    CharLowerBuffW(name, length);
    if (std::wstring_view(name) == L"wow6432node") continue;  // the 32-bit half of 64-bit systems
    HKEY sub = nullptr;
    if (RegOpenKeyExW(key, name, 0, KEY_READ, &sub) != ERROR_SUCCESS) continue;
    Collect(sub, path + L"\\" + name, level + 1, before, lines);
    RegCloseKey(sub);
  }
}

Lines ClassesOf(HKEY root, const Lines& before = {}) {
  Lines lines;
  HKEY key = nullptr;
  if (RegCreateKeyW(root, L"Software\\Classes", &key) == ERROR_SUCCESS) {
    Collect(key, L"", 0, before, lines);
    RegCloseKey(key);
  }
  return lines;
}

Lines Added(const Lines& now, const Lines& before) {
  Lines added;
  std::set_difference(now.begin(), now.end(), before.begin(), before.end(),
                      std::inserter(added, added.end()));
  return added;
}

class RegistrationTest : public ServerTest {
 protected:
  HRESULT Machine(const char* function) const {
    return server_.Function<HRESULT(WINAPI*)()>(function)();
  }
  HRESULT Install(bool install, const wchar_t* arguments) const {
    return server_.Function<HRESULT(WINAPI*)(BOOL, LPCWSTR)>("DllInstall")(install, arguments);
  }

  /// Another apartment calls through the system's marshaller, which reads the interface from the
  /// registered type library.
  void ExpectMarshalled() const {
    const auto here = server_.MakeTyped<_clsLMisc>(CLSID_clsLMisc, IID__clsLMisc);
    IStream* stream = nullptr;
    ASSERT_EQ(CoMarshalInterThreadInterfaceInStream(IID__clsLMisc, here.get(), &stream), S_OK);
    const DWORD waiting = GetCurrentThreadId();
    std::u16string pin, pins;
    std::thread caller([&, waiting] {
      CoInitialize(nullptr);
      {
        Ref<_clsLMisc> there;
        if (SUCCEEDED(
                CoGetInterfaceAndReleaseStream(stream, IID__clsLMisc, Receive<_clsLMisc>(there)))) {
          Bstr list(u"\"h,A1,A2\""), found;
          SHORT number = 2;
          if (SUCCEEDED(there->GetPin(list.place(), &number, found.place()))) {
            pin = found.str();
            pins = list.str();
          }
        }
      }
      CoUninitialize();
      PostThreadMessageW(waiting, WM_QUIT, 0, 0);
    });
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0) DispatchMessageW(&message);
    caller.join();
    EXPECT_EQ(pin, u"A2");
    EXPECT_EQ(pins, u"h,A1,A2");
  }

  static void ExpectUsable() {
    for (const PublicClass& c : AllClasses()) {
      SCOPED_TRACE(ToUtf8(Narrow(c.name)));
      CLSID clsid{};
      EXPECT_EQ(CLSIDFromProgID((std::wstring(L"Ohmwise6.") + c.name).c_str(), &clsid), S_OK);
      EXPECT_EQ(clsid, c.clsid);
      if (std::wstring_view(c.name) == L"clsLLang") continue;  // needs its database
      Ref<IDispatch> object;
      EXPECT_EQ(CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch,
                                 Receive<IDispatch>(object)),
                S_OK);
    }
    Ref<ITypeLib> library;
    EXPECT_EQ(LoadRegTypeLib(LIBID_Ohmwise6, 6, 0, LOCALE_NEUTRAL, Receive<ITypeLib>(library)),
              S_OK);
    CoFreeUnusedLibrariesEx(0, 0);
  }
};

TEST_F(RegistrationTest, ForTheMachineAndForOneUserLeavesNothingBehind) {
  const Lines machine = ClassesOf(HKEY_LOCAL_MACHINE);
  const Lines user = ClassesOf(HKEY_CURRENT_USER);
  for (int round = 0; round < 2; ++round) {  // registering twice changes nothing more
    ASSERT_EQ(Machine("DllRegisterServer"), S_OK);
  }
  ExpectUsable();
  ExpectMarshalled();
  Lines of_machine = Added(ClassesOf(HKEY_LOCAL_MACHINE, machine), machine);
  EXPECT_GT(of_machine.size(), AllClasses().size() * 10);
  EXPECT_EQ(ClassesOf(HKEY_CURRENT_USER, user), user);
  for (int round = 0; round < 2; ++round) ASSERT_EQ(Machine("DllUnregisterServer"), S_OK);
  EXPECT_EQ(ClassesOf(HKEY_LOCAL_MACHINE, machine), machine);

  // For one user: the same entries in the user's own place. (Wine does not look for classes there,
  // so they cannot be made by name here.)
  EXPECT_EQ(Install(true, L"somebody"), E_INVALIDARG);
  ASSERT_EQ(Install(true, L"User"), S_OK);
  Lines of_user = Added(ClassesOf(HKEY_CURRENT_USER, user), user);
  for (const wchar_t* key : {L"\\clsid", L"\\interface", L"\\typelib"}) {
    of_user.erase(key);
    of_machine.erase(key);
  }
  EXPECT_EQ(Added(of_user, of_machine), Lines());
  EXPECT_EQ(Added(of_machine, of_user), Lines());
  EXPECT_EQ(ClassesOf(HKEY_LOCAL_MACHINE, machine), machine);
  ASSERT_EQ(Install(false, L"user"), S_OK);
  EXPECT_EQ(ClassesOf(HKEY_CURRENT_USER, user), user);
}

}  // namespace
}  // namespace ohmwise::com
