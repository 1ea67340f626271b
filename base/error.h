#pragma once

#include <cstdint>
#include <exception>
#include <string>
#include <string_view>

namespace ohmwise {

/// Run-time error numbers of the automation runtime. Providers and hosts may raise others, kept as
/// they come.
enum class Err : int32_t {
  kInvalidCall = 5,        ///< "Invalid procedure call or argument"; also a missing collection key
  kOverflow = 6,           ///< "Overflow"
  kOutOfMemory = 7,        ///< "Out of memory"
  kSubscript = 9,          ///< "Subscript out of range"
  kDivideByZero = 11,      ///< "Division by zero"
  kTypeMismatch = 13,      ///< "Type mismatch"
  kFileNotFound = 53,      ///< "File not found"
  kInputPastEnd = 62,      ///< "Input past end of file"
  kPermissionDenied = 70,  ///< "Permission denied"
  kObjectNotSet = 91,      ///< "Object variable or With block variable not set"
  kInvalidNull = 94,       ///< "Invalid use of Null"
  kObjectRequired = 424,   ///< "Object required"
  kUnsupportedMember = 438,  ///< "Object doesn't support this property or method"
  kDuplicateKey = 457,  ///< "This key is already associated with an element of this collection"
  kNoCurrentRecord =
      3021,             ///< "Either BOF or EOF is True, or the current record has been deleted."
  kHost = -2032465766,  ///< The drawing host refuses; the sentence says what and where.
  kProvider = -2147467259,  ///< The database provider refuses; the sentence is the engine's.
};

/// The runtime's own sentence for a number of `Err`; a general one for any other number.
std::u16string_view StandardText(Err number);

/// The one exception that members called by the add-in raise. Callers branch on the number, never
/// on the text.
class AutomationError : public std::exception {
 public:
  AutomationError(Err number, std::u16string source, std::u16string description);

  Err number() const noexcept { return number_; }
  /// Name of the class that raised, "" when unknown (the COM door fills in its own).
  const std::u16string& source() const noexcept { return source_; }
  /// One plain sentence: what, and where.
  const std::u16string& description() const noexcept { return description_; }
  /// The description in UTF-8.
  const char* what() const noexcept override { return utf8_.c_str(); }

 private:
  Err number_;
  std::u16string source_;
  std::u16string description_;
  std::string utf8_;
};

/// Throws an `AutomationError`; an empty text takes the standard sentence of the number.
[[noreturn]] void Raise(Err number, std::u16string_view text = {});

}  // namespace ohmwise
