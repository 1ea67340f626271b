#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "base/value.h"
#include "platform/com/variant.h"
#include "platform/com/windows.h"

namespace ohmwise::com {

/// A public class as its clients know it.
struct PublicClass {
  const wchar_t* name;
  const CLSID& clsid;
  const IID& iid;
};
std::span<const PublicClass> AllClasses();

/// The DLL under test, loaded by its path; no registration is needed.
class Server {
 public:
  Server();
  ~Server();
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  /// A new object of a class. Fails the test and gives null when that is refused.
  Ref<IDispatch> Make(const wchar_t* class_name) const;
  HRESULT TryMake(const CLSID& clsid, const IID& iid, void** out) const;
  template <class Interface>
  Ref<Interface> MakeTyped(const CLSID& clsid, const IID& iid) const {
    Ref<Interface> object;
    EXPECT_EQ(TryMake(clsid, iid, Receive<Interface>(object)), S_OK);
    return object;
  }
  bool CanUnload() const { return Function<HRESULT(WINAPI*)()>("DllCanUnloadNow")() == S_OK; }
  template <class F>
  F Function(const char* name) const {
    return reinterpret_cast<F>(reinterpret_cast<void*>(GetProcAddress(module_, name)));
  }

 private:
  HMODULE module_;
};

/// What a client sees of one call.
struct Outcome {
  HRESULT result = S_OK;
  int32_t number = 0;  ///< as the client's runtime reports it; 0 for success
  std::u16string description, source;
  Variant value;

  std::u16string Text() const { return FromVariant(value.get()).ToText(); }
};

/// Calls a member by name through IDispatch; the arguments in the order of the declaration.
Outcome Invoke(IDispatch* object, const wchar_t* member, WORD flags,
               std::vector<VARIANT> arguments);
/// The same for values of the library.
Outcome Call(IDispatch* object, const wchar_t* member, const std::vector<Value>& arguments = {});
Outcome Get(IDispatch* object, const wchar_t* member, const std::vector<Value>& arguments = {});
Outcome Put(IDispatch* object, const wchar_t* member, const Value& value);
Outcome PutObject(IDispatch* object, const wchar_t* member, IDispatch* value,
                  WORD flags = DISPATCH_PROPERTYPUTREF);

VARIANT ByValue(IDispatch* object);

/// A test with the server; nothing may be alive at its end.
class ServerTest : public ::testing::Test {
 protected:
  ServerTest() { CoInitialize(nullptr); }
  ~ServerTest() override {
    EXPECT_TRUE(server_.CanUnload()) << "objects are alive at the end of the test";
    CoUninitialize();
  }
  Server server_;
};

}  // namespace ohmwise::com
