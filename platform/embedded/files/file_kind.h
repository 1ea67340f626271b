#pragma once

#include <string>
#include <string_view>

namespace ohmwise::embedded {

/// What a file is by its bytes, for a sentence that refuses it: "a workbook (.xlsx)", "a text
/// file".
/// "" for what is not known.
std::string DescribeFile(std::string_view bytes);

}  // namespace ohmwise::embedded
