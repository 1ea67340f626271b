#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "base/collection.h"
#include "platform/database.h"

namespace ohmwise {

/// Texts of the user interface by number, in the language the user chose.
///
/// The texts live in LangDB.mdb in the library's folder; the connection stays open for the object's
/// life. Nothing is trapped: a missing or unreadable database fails the constructor with the
/// provider's error.
class clsLLang {
 public:
  clsLLang();
  /// Closes the connection unless it is closed already.
  ~clsLLang();
  clsLLang(const clsLLang&) = delete;
  clsLLang& operator=(const clsLLang&) = delete;

  /// The text of a number, through a cache of the 50 texts used last. A number without a row gives
  /// a fixed English sentence, which is cached like any text.
  std::u16string GetStr(int32_t SID);
  /// Stores the language chosen; tells the user when it changes. Objects that exist keep theirs.
  void SetLanguage(int16_t Value);
  /// Fills a list box (late-bound: Clear, AddItem, ListIndex) with the languages and selects the
  /// chosen one.
  void InitCombo(const ObjectRef& cmbActive);

 private:
  void Query(const RecordsetRef& records, std::u16string_view sql);

  ConnectionRef connection_;
  RecordsetRef records_;
  int16_t language_ = 0;
  /// Texts by decimal number, oldest use first; made on first use.
  CollectionRef cache_;
};

/// The thread's shared instance, made on first use; it ends with the thread's host.
clsLLang& SharedLang();

/// The sentence that stands where a text cannot be had. It is for the eye alone: see `StoredText`.
inline constexpr std::u16string_view kNoTextSentence =
    u"Error: Unable to get language strings from LangDB.mdb";

/// A text by number from the shared instance, for showing. Without a language database the fixed
/// sentence stands in, so that what has to be shown can be shown.
std::u16string UserText(int32_t number);

/// A text by number for what stays: texts, cells and links of a drawing, keys. Raises the
/// provider's error without a language database, and the same number when the text has no row in
/// it.
std::u16string StoredText(int32_t number);

}  // namespace ohmwise
