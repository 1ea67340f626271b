#pragma once

#include "platform/com/late_binding.h"
#include "platform/com/moment.h"

namespace ohmwise::com {

/// The wrapper of a foreign object that was made since the last entry, so that what it remembers
/// serves again; null otherwise.
ObjectRef KnownWrapper(IDispatch* foreign);
void KnowWrapper(IDispatch* foreign, const ObjectRef& wrapper);

/// A foreign object of which nothing is known but that its members have names.
class ForeignObject final : public Client<Object, Kind::kOther> {
 public:
  using Client::Client;

  /// As the drawing program's, except for what a shape means by `Text` and `UniqueID` here.
  Value Get(std::u16string_view member, std::span<const Value> arguments) override;
  void Put(std::u16string_view member, const Value& value,
           std::span<const Value> arguments) override {
    const EntryNote note;  // it may be anything of the drawing
    Client::Put(member, value, arguments);
  }
  Value Call(std::u16string_view member, std::span<const Value> arguments) override {
    const EntryNote note;
    return Client::Call(member, arguments);
  }

  /// The client that it turned out to be, made once.
  ObjectRef typed;
};

}  // namespace ohmwise::com
