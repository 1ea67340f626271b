#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/host.h"

namespace ohmwise::testing {

/// A host whose message boxes and progress texts are recorded and whose language database answers
/// "T<number>" for every text unless told otherwise.
class TestHost : public Host {
 public:
  struct Box {
    std::u16string text, title;
    MessageIcon icon;
  };

  TestHost();
  ~TestHost() override;

  Database& database() override;
  NumberFormat number_format() override { return numbers; }
  std::u16string LibraryFolder() override { return u"library\\"; }
  void ShowMessageBox(std::u16string_view text, std::u16string_view title,
                      MessageIcon icon) override;
  std::unique_ptr<MessageWindow> MakeMessageWindow(const MessageFormLayout& layout) override;
  void ProcessEvents() override {}
  CollectionRef AsCollection(const ObjectRef& object) override;
  ShapeRef AsShape(const ObjectRef& object) override;

  /// The text that the language database gives for a number.
  std::u16string Text(int32_t number);

  std::map<int32_t, std::u16string> texts;  ///< texts other than "T<number>"
  bool language_database = true;            ///< false: opening it fails with the provider's error
  std::vector<int32_t> texts_read;          ///< numbers asked for, in order
  NumberFormat numbers;
  std::vector<Box> boxes;
  std::vector<std::u16string> progress;  ///< every text of the progress line, in order
  int open_windows = 0;
  int shown_windows = 0;

 private:
  struct FakeDatabase;
  std::unique_ptr<FakeDatabase> database_;
};

}  // namespace ohmwise::testing
