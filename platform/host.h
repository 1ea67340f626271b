#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "base/collection.h"
#include "base/conversion.h"
#include "platform/database.h"
#include "platform/drawing.h"
#include "platform/files.h"
#include "platform/forms.h"
#include "platform/settings_store.h"
#include "platform/spreadsheet.h"

namespace ohmwise {

/// What a host supplies; see platform/README.md. A class made without arguments finds its services
/// through the current host of its thread.
class Host {
 public:
  virtual ~Host() = default;

  virtual Database& database() = 0;
  /// The user's settings and the files beside a program. The defaults raise 438: a host that serves
  /// texts and drawings alone needs neither.
  virtual SettingsStore& settings_store();
  virtual FileSystem& files();
  /// The spreadsheet program that reports are written with. The default raises 438.
  virtual Spreadsheet& spreadsheet();
  /// How the user writes numbers, for what the runtime takes for one. The default is the invariant
  /// form, the same on every machine; a host in a user's session gives that user's.
  virtual NumberFormat number_format();
  /// The library's own folder, ending with the separator or not as the host has it.
  virtual std::u16string LibraryFolder() = 0;

  /// Shows a box with an OK button and returns when it is dismissed.
  virtual void ShowMessageBox(std::u16string_view text, std::u16string_view title,
                              MessageIcon icon) = 0;
  virtual std::unique_ptr<MessageWindow> MakeMessageWindow(const MessageFormLayout& layout) = 0;
  /// Lets pending input run once.
  virtual void ProcessEvents() = 0;

  /// Typed views of late-bound objects. Raise 13 when the object is of another kind. The defaults
  /// serve objects of this process; the COM host wraps foreign ones.
  virtual CollectionRef AsCollection(const ObjectRef& object);
  virtual ShapeRef AsShape(const ObjectRef& object);
};

/// Raises 91 when no host is installed on this thread.
Host& CurrentHost();

/// Installs a host for the current thread and restores the former one at the end of the scope. What
/// was made for the thread meanwhile (`AtHostEnd`) ends with the scope, unless the scope merely
/// installed once more the host that was there.
class HostScope {
 public:
  explicit HostScope(Host& host);
  ~HostScope();
  HostScope(const HostScope&) = delete;
  HostScope& operator=(const HostScope&) = delete;

 private:
  Host* former_;
  size_t made_before_;
};

/// Registers a function that ends a shared instance of the thread; run, the last one first, while
/// the host is still installed. For shapeutil/ and lang/ alone.
void AtHostEnd(void (*end)());

/// Shorthands: the value as a typed handle through the current host. Raise 424, 91 or 13.
CollectionRef ToCollection(const Value& value);
ShapeRef ToShape(const Value& value);

}  // namespace ohmwise
