#include "base/error.h"

#include <utility>

#include "base/text.h"

namespace ohmwise {

std::u16string_view StandardText(Err number) {
  switch (number) {
    case Err::kInvalidCall:
      return u"Invalid procedure call or argument";
    case Err::kOverflow:
      return u"Overflow";
    case Err::kOutOfMemory:
      return u"Out of memory";
    case Err::kSubscript:
      return u"Subscript out of range";
    case Err::kDivideByZero:
      return u"Division by zero";
    case Err::kTypeMismatch:
      return u"Type mismatch";
    case Err::kFileNotFound:
      return u"File not found";
    case Err::kInputPastEnd:
      return u"Input past end of file";
    case Err::kPermissionDenied:
      return u"Permission denied";
    case Err::kObjectNotSet:
      return u"Object variable or With block variable not set";
    case Err::kInvalidNull:
      return u"Invalid use of Null";
    case Err::kObjectRequired:
      return u"Object required";
    case Err::kUnsupportedMember:
      return u"Object doesn't support this property or method";
    case Err::kDuplicateKey:
      return u"This key is already associated with an element of this collection";
    case Err::kNoCurrentRecord:
      return u"Either BOF or EOF is True, or the current record has been deleted.";
    case Err::kHost:
      return u"The drawing program refused the operation";
    case Err::kProvider:
      return u"The database provider refused the operation";
  }
  return u"Application-defined or object-defined error";
}

AutomationError::AutomationError(Err number, std::u16string source, std::u16string description)
    : number_(number),
      source_(std::move(source)),
      description_(std::move(description)),
      utf8_(ToUtf8(description_)) {}

void Raise(Err number, std::u16string_view text) {
  throw AutomationError(number, {}, std::u16string(text.empty() ? StandardText(number) : text));
}

}  // namespace ohmwise
