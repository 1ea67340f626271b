#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/value.h"
#include "platform/com/objects.h"
#include "platform/com/variant.h"
#include "platform/com/windows.h"

struct IDispatchEx;

namespace ohmwise::com {

/// What a foreign object is to us. Objects of one kind and one implementation share their member
/// identifiers.
enum class Kind : uint8_t {
  kOther,
  kApplication,
  kDocuments,
  kDocument,
  kPages,
  kPage,
  kMasters,
  kMaster,
  kShapes,
  kShape,
  kCharacters,
  kCell,
  kConnects,
  kConnect,
  kCollection,
  kConnection,
  kRecordset,
  kFields,
  kField,
  kFileSystem,
  kTextStream,
  kSpreadsheet,
  kWorkbooks,
  kWorksheet,
  kRange,
  kFont
};

// Every member that the clients call, once: the enumerator and the name come from one word.
// clang-format off
#define OHMWISE_COM_MEMBERS(X) \
  X(ActiveDocument) X(ActiveSheet) X(Add) X(AddNamedRow) X(AddNew) X(AddRow) X(Application) \
  X(AtEndOfStream) X(AutoFit) X(Background) X(BeginTrans) X(Bold) X(CellExistsU) X(Cells) \
  X(CellsSRC) X(CellsSRCExists) X(CellsU) X(Characters) X(Close) X(Color) X(Columns) \
  X(CommitTrans) X(Connects) X(ContainingPage) X(ContainingPageID) X(ContainingShape) X(Count) \
  X(CursorLocation) X(Delete) X(DeleteRow) X(Document) X(Documents) X(DocumentSheet) X(EOF) \
  X(Fields) X(FileExists) X(Font) X(FormulaU) X(FromCell) X(FromConnects) X(FromSheet) \
  X(FullName) X(Hidden) X(HorizontalAlignment) X(ID) X(Index) X(Item) X(ItemU) X(Master) \
  X(Masters) X(MoveNext) X(Name) X(NameU) X(OneD) X(Open) X(OpenSchema) X(OpenTextFile) \
  X(Pages) X(PageSheet) X(Path) X(Quit) X(Range) X(ReadLine) X(Remove) X(ResultIU) X(ResultStr) \
  X(RollbackTrans) X(RowCount) X(RowNameU) X(Rows) X(RowType) X(SectionExists) X(Select) \
  X(Shapes) X(State) X(Text) X(ToCell) X(ToSheet) X(Type) X(UniqueID) X(Update) X(Value) \
  X(Visible) X(Workbooks)
// clang-format on
enum class Member : uint8_t {
#define OHMWISE_COM_ENUMERATOR(name) k##name,
  OHMWISE_COM_MEMBERS(OHMWISE_COM_ENUMERATOR)
#undef OHMWISE_COM_ENUMERATOR
      kMemberCount
};

struct MemberTable;  // late_binding.cpp: identifiers by member

void Fill(VARIANT& target, std::u16string_view text);
void Fill(VARIANT& target, int16_t number) noexcept;
void Fill(VARIANT& target, int32_t number) noexcept;
void Fill(VARIANT& target, double number) noexcept;
void Fill(VARIANT& target, bool flag) noexcept;
void Fill(VARIANT& target, const Value& value);
/// The object is counted for the time of the call.
void Fill(VARIANT& target, IDispatch* object) noexcept;
/// A copy of a variant that is there already.
void Fill(VARIANT& target, const VARIANT& content);
/// An optional argument that is left out.
struct Omitted {};
void Fill(VARIANT& target, Omitted) noexcept;

/// A foreign automation object whose members are called by name. Failures are raised with the
/// numbers and sentences of the object.
///
/// Identifiers of members are looked up once for all objects of a kind and an implementation, where
/// the implementation has a type description: then its names cannot change from object to object.
/// They are looked up once per object otherwise (scripts).
class LateBound {
 public:
  LateBound(Kind kind, Ref<IDispatch> object);
  ~LateBound();
  LateBound(const LateBound&) = delete;
  LateBound& operator=(const LateBound&) = delete;

  IDispatch* dispatch() const noexcept { return object_.get(); }
  /// True when objects like this have such a member.
  bool Has(Member member);
  /// True when this very object has such a member. Asks it: objects of several kinds may have one
  /// implementation, so what is known of others does not tell its kind.
  bool Answers(Member member);

  /// Reads a property or calls a method.
  template <class... A>
  Variant Call(Member member, const A&... arguments) {
    std::array<Variant, sizeof...(A)> variants;
    size_t at = variants.size();
    (Fill(variants[--at].get(), arguments), ...);
    return Invoke(member, DISPATCH_METHOD | DISPATCH_PROPERTYGET, variants);
  }
  template <class... A>
  std::u16string Text(Member member, const A&... arguments) {
    const Variant result = Call(member, arguments...);
    if (result.get().vt == VT_BSTR) return FromBstr(result.get().bstrVal);
    return FromVariant(result.get()).ToText();
  }
  template <class... A>
  int32_t Number(Member member, const A&... arguments) {
    return FromVariant(Call(member, arguments...).get()).ToInt32();
  }
  template <class... A>
  double Real(Member member, const A&... arguments) {
    return FromVariant(Call(member, arguments...).get()).ToDouble();
  }
  template <class... A>
  bool Flag(Member member, const A&... arguments) {
    return FromVariant(Call(member, arguments...).get()).ToBoolean();
  }
  /// An object; null for Nothing.
  template <class... A>
  Ref<IDispatch> Object(Member member, const A&... arguments) {
    return TakeObject(Call(member, arguments...));
  }
  /// Assigns a property.
  template <class V>
  void Assign(Member member, const V& value) {
    std::array<Variant, 1> variants;
    Fill(variants[0].get(), value);
    Invoke(member, DISPATCH_PROPERTYPUT, variants);
  }

  /// The members of any object, by name. Raise 438 for an unknown one.
  Value GetNamed(std::u16string_view member, std::span<const Value> arguments);
  void PutNamed(std::u16string_view member, const Value& value, std::span<const Value> arguments);
  Value CallNamed(std::u16string_view member, std::span<const Value> arguments);

 private:
  struct NamedMember {
    std::u16string name;
    DISPID id;
  };
  std::vector<NamedMember>::iterator FindNamed(std::u16string_view member);

  static Ref<IDispatch> TakeObject(Variant result);
  Variant Invoke(Member member, WORD flags, std::span<Variant> arguments);
  Variant InvokeNamed(std::u16string_view member, WORD flags, std::span<Variant> arguments);
  HRESULT TryInvoke(DISPID id, WORD flags, std::span<Variant> arguments, Variant& result,
                    EXCEPINFO& exception);
  HRESULT LookUp(const wchar_t* name, DISPID& id);
  DISPID Known(Member member);
  /// Leaves the identifiers shared with other objects for the object's own.
  void LeaveSharedTable();

  Ref<IDispatch> object_;
  Kind kind_;
  MemberTable* table_;                // shared; null when the object has its own
  std::unique_ptr<MemberTable> own_;  // made on first use
  std::vector<NamedMember> named_;    // members called by name
  Ref<IDispatchEx> extended_;         // script objects answer by this interface alone
};

/// True when both are the same object: equal pointers, or one canonical identity.
bool SameObject(IUnknown* a, IUnknown* b) noexcept;

/// Base of the wrappers: a foreign object seen through one of our interfaces. What the interface
/// does not type is passed on by name.
template <class Interface, Kind kKind>
class Client : public Counted<Interface>, public Foreign {
 public:
  explicit Client(Ref<IDispatch> object) : late_(kKind, std::move(object)) {}

  Value Get(std::u16string_view member, std::span<const Value> arguments) override {
    return late_.GetNamed(member, arguments);
  }
  void Put(std::u16string_view member, const Value& value,
           std::span<const Value> arguments) override {
    late_.PutNamed(member, value, arguments);
  }
  Value Call(std::u16string_view member, std::span<const Value> arguments) override {
    return late_.CallNamed(member, arguments);
  }
  bool SameAs(const Object& other) const noexcept override {
    const auto* foreign = dynamic_cast<const Foreign*>(&other);
    return foreign != nullptr && SameObject(dispatch(), foreign->dispatch());
  }
  IDispatch* dispatch() const noexcept override { return late_.dispatch(); }

 protected:
  LateBound late_;
};

/// Makes a registered class by its name; raises 429 when that is not possible.
Ref<IDispatch> CreateByName(const wchar_t* name);

}  // namespace ohmwise::com
