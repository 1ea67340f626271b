#pragma once

#include <cstdint>

/// Symbol type numbers: what a shape says in its cell "User.Type" that it is.
namespace ohmwise::symbol {

inline constexpr int32_t kTitleBlock = 102;
inline constexpr int32_t kNet = 106;
inline constexpr int32_t kJunction = 107;
inline constexpr int32_t kTerminal = 113;
inline constexpr int32_t kTerminalTwin = 114;
inline constexpr int32_t kLadderZone = 123;
inline constexpr int32_t kLabel = 125;
inline constexpr int32_t kComponent = 132;
inline constexpr int32_t kContact = 133;
inline constexpr int32_t kDevice = 1002;
inline constexpr int32_t kDeviceTwin = 1003;
inline constexpr int32_t kCable = 1004;

constexpr bool IsTerminal(int32_t type) noexcept {
  return type == kTerminal || type == kTerminalTwin;
}

/// The components that bear a reference.
constexpr bool IsComponent(int32_t type) noexcept {
  return type == kComponent || type == kContact || (type >= kDevice && type <= kCable);
}

}  // namespace ohmwise::symbol
