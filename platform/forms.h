#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace ohmwise {

enum class MessageIcon : int32_t {
  kNone = 0,
  kCritical = 16,
  kExclamation = 48,
  kInformation = 64
};

/// A modeless fixed-dialog window with one label; measures in twips (1/1440 inch).
struct MessageFormLayout {
  int32_t client_width = 4680;
  int32_t client_height = 435;
  int32_t label_left = 120;
  int32_t label_top = 120;
  int32_t label_width = 4440;
  int32_t label_height = 195;
  std::u16string_view font_name = u"Tahoma";
  double font_points = 8.25;
};

/// The window behind the form `frmMessage`, made by the host when the form loads.
class MessageWindow {
 public:
  virtual ~MessageWindow() = default;
  virtual void SetTitle(std::u16string_view title) = 0;
  virtual void SetLabel(std::u16string_view text) = 0;
  virtual void Show() = 0;
  /// Paints at once without letting other events run.
  virtual void Repaint() = 0;
};

}  // namespace ohmwise
