#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

#include "catalogue/clsLCmpRec.h"
#include "catalogue/clsLLayShape.h"
#include "platform/com/error_mapping.h"
#include "platform/com/moment.h"
#include "platform/com/objects.h"
#include "platform/com/server/automation_object.h"
#include "platform/com/variant.h"

// From a member function of a class to an entry of its dual interface. The table of the interface
// definition gives the automation types of the entry, the member function its own; what stands
// here converts between the two, in both directions, and lets no exception out.
//
//   const _clsLSortVtbl table = {..., .Add = Entry<&clsLSort::Add>{}, ...};
namespace ohmwise::com {
namespace members {

template <class This, class... Arguments>
using Function = HRESULT(STDMETHODCALLTYPE*)(This*, Arguments...);

template <class T>
struct Tag {};

/// Parameters and result of a member function, or of a free function that takes the object first.
template <class F>
struct Signature;
template <class C, class R, class... P>
struct Signature<R (C::*)(P...)> {
  using Contract = C;
  using Result = R;
  using Parameters = std::tuple<P...>;
};
template <class C, class R, class... P>
struct Signature<R (C::*)(P...) const> : Signature<R (C::*)(P...)> {};
template <class C, class R, class... P>
struct Signature<R (C::*)(P...) noexcept> : Signature<R (C::*)(P...)> {};
template <class C, class R, class... P>
struct Signature<R (C::*)(P...) const noexcept> : Signature<R (C::*)(P...)> {};
template <class C, class R, class... P>
struct Signature<R (*)(C&, P...)> : Signature<R (C::*)(P...)> {};

/// Automation values as the library's own.
inline std::u16string Load(Tag<std::u16string>, BSTR text) { return FromBstr(text); }
inline bool Load(Tag<bool>, VARIANT_BOOL v) { return v != VARIANT_FALSE; }
inline int16_t Load(Tag<int16_t>, SHORT v) { return v; }
inline int32_t Load(Tag<int32_t>, LONG v) { return v; }
inline float Load(Tag<float>, FLOAT v) { return v; }
inline double Load(Tag<double>, DOUBLE v) { return v; }
inline Value Load(Tag<Value>, const VARIANT& v) { return FromVariant(v); }
/// No value for an argument that was left out.
inline std::optional<Value> Load(Tag<std::optional<Value>>, const VARIANT& v) {
  return IsMissing(v) ? std::nullopt : std::optional(FromVariant(v));
}
inline ObjectRef Load(Tag<ObjectRef>, IDispatch* object) { return FromDispatch(object); }
inline CollectionRef Load(Tag<CollectionRef>, IDispatch* object) { return AsCollection(object); }
inline DocumentRef Load(Tag<DocumentRef>, IDispatch* object) { return AsDocument(object); }
inline PageRef Load(Tag<PageRef>, IDispatch* object) { return AsPage(object); }
inline ShapeRef Load(Tag<ShapeRef>, IDispatch* object) { return AsShape(object); }
inline ShapesRef Load(Tag<ShapesRef>, IDispatch* object) { return AsShapes(object); }
template <class Record>
Ref<Record> LoadRecord(IDispatch* object) {
  return object ? Record::From(Value(FromDispatch(object))) : Ref<Record>();
}
inline Ref<clsLCmpRec> Load(Tag<Ref<clsLCmpRec>>, IDispatch* object) {
  return LoadRecord<clsLCmpRec>(object);
}
inline Ref<clsLLayShape> Load(Tag<Ref<clsLLayShape>>, IDispatch* object) {
  return LoadRecord<clsLLayShape>(object);
}

/// The library's values into places of the caller.
inline void Store(const std::u16string& text, BSTR& place) { Assign(place, text); }
inline void Store(bool v, VARIANT_BOOL& place) { place = v ? VARIANT_TRUE : VARIANT_FALSE; }
inline void Store(int16_t v, SHORT& place) { place = v; }
inline void Store(int32_t v, LONG& place) { place = v; }
inline void Store(float v, FLOAT& place) { place = v; }
inline void Store(double v, DOUBLE& place) { place = v; }
inline void Store(const Value& value, VARIANT& place) { ToVariant(value, &place); }
inline void Store(const ObjectRef& object, IDispatch*& place) {
  place = ToDispatch(object).Detach();
}
inline void Store(Ref<IUnknown> object, IUnknown*& place) { place = object.Detach(); }

/// The type that a parameter is kept in during the call. Texts are copied: the caller's variable
/// may change while the call lasts.
template <class Parameter>
using Kept = std::conditional_t<std::is_same_v<std::remove_cvref_t<Parameter>, std::u16string_view>,
                                std::u16string, std::remove_cvref_t<Parameter>>;

[[noreturn]] inline void RefuseNull() {
  Raise(Err{static_cast<int32_t>(E_POINTER)}, u"An argument by reference is a null pointer.");
}

/// An argument of one call.
template <class Parameter, class Automation>
class Argument {
 public:
  static constexpr bool kByReference = std::is_pointer_v<Automation> &&
                                       !std::is_same_v<Automation, BSTR> &&
                                       !std::is_same_v<Automation, IDispatch*>;
  static constexpr bool kWrittenBack =
      std::is_lvalue_reference_v<Parameter> && !std::is_const_v<std::remove_reference_t<Parameter>>;

  explicit Argument(Automation given) : given_(given), value_(Loaded(given)) {}

  Kept<Parameter>& value() noexcept { return value_; }
  void WriteBack() {
    if constexpr (kWrittenBack) Store(value_, *given_);
  }

 private:
  static Kept<Parameter> Loaded(Automation given) {
    using Type = Tag<Kept<Parameter>>;
    if constexpr (kByReference) {
      // Clients leave out an optional variant by a null pointer, too.
      if constexpr (std::is_same_v<Automation, VARIANT*>) {
        if (!given) return {};
      }
      if (!given) RefuseNull();
      return Load(Type(), *given);
    } else {
      return Load(Type(), given);
    }
  }

  Automation given_;
  Kept<Parameter> value_;
};

template <auto Member, class... Given, size_t... I>
void Run(AutomationObject& object, std::tuple<Given...> given, std::index_sequence<I...>) {
  using Types = Signature<decltype(Member)>;
  using Result = typename Types::Result;
  constexpr size_t kParameters = sizeof...(I);
  static_assert(sizeof...(Given) == kParameters + (std::is_void_v<Result> ? 0 : 1),
                "the interface definition and the member differ in their arguments");
  if constexpr (!std::is_void_v<Result>) {
    auto* const place = std::get<kParameters>(given);
    if (!place) RefuseNull();
    *place = {};
  }
  std::tuple<Argument<std::tuple_element_t<I, typename Types::Parameters>,
                      std::tuple_element_t<I, std::tuple<Given...>>>...>
      arguments{std::get<I>(given)...};
  auto& contract = object.contract<typename Types::Contract>();
  const auto write_back = [&] { (std::get<I>(arguments).WriteBack(), ...); };
  const auto run = [&]() -> decltype(auto) {
    try {
      return std::invoke(Member, contract, std::get<I>(arguments).value()...);
    } catch (...) {
      write_back();
      throw;
    }
  };
  // The result last: nobody frees it after a failure.
  if constexpr (std::is_void_v<Result>) {
    run();
    write_back();
  } else {
    Result result = run();
    write_back();
    Store(std::move(result), *std::get<kParameters>(given));
  }
}

}  // namespace members

/// An entry of an interface that calls a member of the class.
template <auto Member>
class Entry {
 public:
  template <class This, class... Given>
  constexpr operator members::Function<This, Given...>() const noexcept {  // NOLINT
    return &Call<This, Given...>;
  }

 private:
  template <class This, class... Given>
  static HRESULT STDMETHODCALLTYPE Call(This* face, Given... given) noexcept {
    AutomationObject& object = AutomationObject::Of(face);
    const auto held = Ref<AutomationObject>::Share(&object);  // a client may let go meanwhile
    const LibraryCall call;
    try {
      using Parameters = typename members::Signature<decltype(Member)>::Parameters;
      members::Run<Member>(object, std::tuple<Given...>(given...),
                           std::make_index_sequence<std::tuple_size_v<Parameters>>());
      return S_OK;
    } catch (...) {
      return LeaveWithError(*object.entry().iid, object.entry().source);
    }
  }
};

/// An entry that every object serves alike.
template <auto Member>
class CommonEntry {
 public:
  template <class Result, class This, class... Given>
  using Pointer = Result(STDMETHODCALLTYPE*)(This*, Given...);

  template <class Result, class This, class... Given>
  constexpr operator Pointer<Result, This, Given...>() const noexcept {  // NOLINT
    return &Call<Result, This, Given...>;
  }

 private:
  template <class Result, class This, class... Given>
  static Result STDMETHODCALLTYPE Call(This* face, Given... given) noexcept {
    return (AutomationObject::Of(face).*Member)(given...);
  }
};

}  // namespace ohmwise::com
