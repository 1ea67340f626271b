#include <algorithm>
#include <array>

#include "base/collection.h"
#include "base/error.h"
#include "platform/com/server/classes.h"

namespace ohmwise::com {
namespace {

constexpr const char16_t* kSource = u"Collection";

/// For Each: by position, so that the list may change while it is walked.
class Enumerator final : public IEnumVARIANT {
 public:
  explicit Enumerator(CollectionRef items, int32_t walked = 0)
      : items_(std::move(items)), walked_(walked) {}

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) noexcept override {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (iid != IID_IUnknown && iid != IID_IEnumVARIANT) return E_NOINTERFACE;
    *out = static_cast<IEnumVARIANT*>(this);
    AddRef();
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() noexcept override { return ++count_; }
  ULONG STDMETHODCALLTYPE Release() noexcept override {
    const ULONG left = --count_;
    if (left == 0) delete this;
    return left;
  }
  HRESULT STDMETHODCALLTYPE Next(ULONG count, VARIANT* items, ULONG* fetched) noexcept override {
    if (!items && count > 0) return E_POINTER;
    ULONG done = 0;
    HRESULT result = S_OK;
    try {
      for (; done < count && walked_ < items_->Count(); ++done) {
        ToVariant(items_->Item(walked_ + 1), &items[done]);
        ++walked_;
      }
      if (done < count) result = S_FALSE;
    } catch (...) {
      result = LeaveWithError(IID_IEnumVARIANT, kSource);
      for (ULONG i = 0; i < done; ++i) VariantClear(&items[i]);
      walked_ -= static_cast<int32_t>(done);
      done = 0;
    }
    if (fetched) *fetched = done;
    return result;
  }
  HRESULT STDMETHODCALLTYPE Skip(ULONG count) noexcept override {
    try {
      const auto left = static_cast<ULONG>(std::max(0, items_->Count() - walked_));
      walked_ += static_cast<int32_t>(std::min(count, left));
      return count <= left ? S_OK : S_FALSE;
    } catch (...) {
      return LeaveWithError(IID_IEnumVARIANT, kSource);
    }
  }
  HRESULT STDMETHODCALLTYPE Reset() noexcept override {
    walked_ = 0;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE Clone(IEnumVARIANT** out) noexcept override {
    if (!out) return E_POINTER;
    *out = nullptr;
    try {
      *out = new Enumerator(items_, walked_);
      return S_OK;
    } catch (...) {
      return LeaveWithError(IID_IEnumVARIANT, kSource);
    }
  }

 private:
  ~Enumerator() = default;

  ThreadUse use_;
  CollectionRef items_;
  int32_t walked_;
  std::atomic<ULONG> count_{1};
};

// The runtime's members as the interface has them: positions and keys share an argument.
Value Item(Collection& items, const std::optional<Value>& index) {
  if (!index) Raise(Err::kTypeMismatch);
  return items.Get(u"Item", {&*index, 1});
}
void Add(Collection& items, const Value& item, const Value& key, const Value& before,
         const Value& after) {
  const std::array<Value, 4> arguments{item, key, before, after};
  items.Call(u"Add", arguments);
}
void Remove(Collection& items, const std::optional<Value>& index) {
  if (!index) Raise(Err::kTypeMismatch);
  items.Call(u"Remove", {&*index, 1});
}
Ref<IUnknown> NewEnum(Collection& items) {
  return Ref<IUnknown>::Adopt(new Enumerator(CollectionRef::Share(&items)));
}

constexpr _CollectionVtbl kTable = {
    OHMWISE_DISPATCH_ENTRIES,   .Item = Entry<&Item>{},
    .Add = Entry<&Add>{},       .Count = Entry<&Collection::Count>{},
    .Remove = Entry<&Remove>{}, ._NewEnum = Entry<&NewEnum>{},
};

}  // namespace

const ClassEntry& CollectionClass() {
  static const ClassEntry entry =
      DescribeClass<Collection>(CLSID_Collection, IID__Collection, kSource, &kTable, nullptr, 2);
  return entry;
}

}  // namespace ohmwise::com
