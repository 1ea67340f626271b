#include "platform/com/collection_client.h"

#include <optional>
#include <utility>

#include "base/error.h"
#include "platform/com/error_mapping.h"
#include "platform/com/foreign_object.h"
#include "platform/com/late_binding.h"

namespace ohmwise::com {

namespace {

class CollectionClient final : public Client<Collection, Kind::kCollection> {
 public:
  CollectionClient(Ref<IDispatch> object, Ref<KeyedCollection> dual)
      : Client(std::move(object)), dual_(std::move(dual)) {}

  bool IsCollection() {
    return dual_ || (late_.Answers(Member::kCount) && late_.Answers(Member::kItem) &&
                     late_.Answers(Member::kAdd) && late_.Answers(Member::kRemove));
  }

  int32_t Count() override {
    if (!dual_) return late_.Number(Member::kCount);
    LONG count = 0;
    Demand(dual_->Count(&count));
    return static_cast<int32_t>(count);
  }
  Value Item(int32_t position) override { return ItemAt(position); }
  Value Item(std::u16string_view key) override { return ItemAt(key); }

  void Add(const Value& item, std::optional<std::u16string_view> key) override {
    Insert(item, key, Omitted{}, Omitted{});
  }
  void AddBefore(const Value& item, std::optional<std::u16string_view> key,
                 int32_t position) override {
    Insert(item, key, position, Omitted{});
  }
  void AddAfter(const Value& item, std::optional<std::u16string_view> key,
                int32_t position) override {
    Insert(item, key, Omitted{}, position);
  }
  void Remove(int32_t position) override { RemoveAt(position); }
  void Remove(std::u16string_view key) override { RemoveAt(key); }

 private:
  /// Error information belongs to a failed call only if the object says that it supplies it.
  void Demand(HRESULT result) {
    if (result == S_OK) return;
    if (!explains_failures_) {
      const Ref<ISupportErrorInfo> support = Query<ISupportErrorInfo>(dual_.get());
      explains_failures_ = support && support->InterfaceSupportsErrorInfo(kKeyedCollection) == S_OK;
    }
    if (*explains_failures_) {
      EXCEPINFO exception{};
      RaiseInvokeFailure(FillException(result, &exception), exception);
    }
    Check(result);
    Raise(Err::kHost);  // a success that is none
  }
  template <class Where>
  Value ItemAt(const Where& where) {
    if (!dual_) return FromVariant(late_.Call(Member::kItem, where).get());
    Variant index, item;
    Fill(index.get(), where);
    Demand(dual_->Item(&index.get(), item.Fresh()));
    return FromVariant(item.get());
  }
  template <class Where>
  void RemoveAt(const Where& where) {
    if (!dual_) {
      late_.Call(Member::kRemove, where);
      return;
    }
    Variant index;
    Fill(index.get(), where);
    Demand(dual_->Remove(&index.get()));
  }
  template <class Before, class After>
  void Insert(const Value& item, std::optional<std::u16string_view> key, const Before& before,
              const After& after) {
    Variant what, name, first, second;
    Fill(what.get(), item);
    if (key) {
      Fill(name.get(), *key);
    } else {
      Fill(name.get(), Omitted{});
    }
    Fill(first.get(), before);
    Fill(second.get(), after);
    if (dual_) {
      Demand(dual_->Add(&what.get(), &name.get(), &first.get(), &second.get()));
    } else {
      late_.Call(Member::kAdd, what.get(), name.get(), first.get(), second.get());
    }
  }

  Ref<KeyedCollection> dual_;
  std::optional<bool> explains_failures_;
};

}  // namespace

CollectionRef AsCollection(const ObjectRef& object) {
  if (!object) return nullptr;
  if (auto* own = dynamic_cast<Collection*>(object.get())) return CollectionRef::Share(own);
  const auto* foreign = dynamic_cast<const Foreign*>(object.get());
  if (!foreign) Raise(Err::kTypeMismatch);
  auto* late = dynamic_cast<ForeignObject*>(object.get());
  if (late && late->typed) {
    if (auto* typed = dynamic_cast<Collection*>(late->typed.get())) {
      return CollectionRef::Share(typed);
    }
  }
  Ref<KeyedCollection> dual;
  static_cast<void>(
      foreign->dispatch()->QueryInterface(kKeyedCollection, Receive<KeyedCollection>(dual)));
  auto client =
      MakeRef<CollectionClient>(Ref<IDispatch>::Share(foreign->dispatch()), std::move(dual));
  if (!client->IsCollection()) Raise(Err::kTypeMismatch);
  if (late) late->typed = client;
  return client;
}

CollectionRef AsCollection(IDispatch* object) { return AsCollection(FromDispatch(object)); }

}  // namespace ohmwise::com
