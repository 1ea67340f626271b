#pragma once

#include <string>

namespace ohmwise::embedded {

/// A package with no pages and no masters that the drawing program opens.
std::string NewDrawingBytes();

}  // namespace ohmwise::embedded
