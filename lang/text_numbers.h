#pragma once

#include <cstdint>

/// Numbers of the user texts that the library shows; the wording is in the language database.
namespace ohmwise::text_number {

inline constexpr int32_t kNet = 12;  ///< what a net is called
inline constexpr int32_t kBusy = 20;
inline constexpr int32_t kError = 70;
inline constexpr int32_t kStartSpreadsheet = 88;
inline constexpr int32_t kMakeWorkbook = 89;
inline constexpr int32_t kFindSheet = 90;
inline constexpr int32_t kWriteSheet = 91;
inline constexpr int32_t kNetText = 96;  ///< what the text of a net is called
inline constexpr int32_t kPage = 132;
inline constexpr int32_t kProgressTitle = 142;
inline constexpr int32_t kNotFound = 165;
inline constexpr int32_t kGroup = 166;
inline constexpr int32_t kComponent = 197;      ///< what a component is called
inline constexpr int32_t kComponentText = 201;  ///< what the text of a component is called
inline constexpr int32_t kEmptyText = 275;      ///< a warning; speaks of a net
inline constexpr int32_t kLanguageTitle = 276;
inline constexpr int32_t kNewLanguage = 325;

}  // namespace ohmwise::text_number
