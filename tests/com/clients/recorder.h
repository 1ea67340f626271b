#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "base/value.h"
#include "platform/com/windows.h"

namespace ohmwise::testing {

/// What was called, in order: "Recordset.Open(Select * from Misc, [Connection], 2, 3)",
/// "put Connection.CursorLocation(3)".
using CallLog = std::vector<std::u16string>;

/// What a member answers.
using Answer = std::function<Value(const std::vector<Value>& arguments)>;

/// A foreign automation object that writes down what is called, and answers as it was told.
class Recorder final : public IDispatch {
 public:
  /// Identifiers of members count from `first_id` in the order in which they are told.
  static Ref<Recorder> Make(std::u16string name, CallLog* log, DISPID first_id = 1) {
    return Ref<Recorder>::Adopt(new Recorder(std::move(name), log, first_id));
  }
  Recorder& On(std::u16string member, Answer answer);
  /// The member fails with a result of its own, and with exception information when there is some.
  Recorder& Fail(std::u16string member, HRESULT result, EXCEPINFO exception = {});
  /// Whether it says that it has a type description.
  bool described = false;

  /// All that live.
  static int64_t live;

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** out) override;
  ULONG STDMETHODCALLTYPE AddRef() override { return ++count_; }
  ULONG STDMETHODCALLTYPE Release() override;
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override;
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo** info) override;
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR* names, UINT, LCID, DISPID* id) override;
  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* parameters,
                                   VARIANT* result, EXCEPINFO* exception, UINT*) override;

 private:
  struct Told {
    std::u16string name;
    Answer answer;
    HRESULT failure = S_OK;
    EXCEPINFO exception{};
  };
  Recorder(std::u16string name, CallLog* log, DISPID first_id)
      : name_(std::move(name)), log_(log), first_id_(first_id) {
    ++live;
  }
  ~Recorder() { --live; }

  ULONG count_ = 1;
  std::u16string name_;
  CallLog* log_;
  DISPID first_id_;
  std::vector<Told> members_;
};

/// Makes objects of a registered class in this process, in place of those of its server.
class StandIn final : public IClassFactory {
 public:
  /// `make` gives an object with a count for the caller. The class is registered for the time of a
  /// run when it is not.
  StandIn(const wchar_t* class_name, std::function<Ref<IDispatch>()> make);
  ~StandIn();
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** out) override;
  ULONG STDMETHODCALLTYPE AddRef() override { return 2; }  // it belongs to the test
  ULONG STDMETHODCALLTYPE Release() override { return 1; }
  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown*, REFIID id, void** out) override;
  HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }

 private:
  std::function<Ref<IDispatch>()> make_;
  DWORD registration_ = 0;
};

}  // namespace ohmwise::testing
