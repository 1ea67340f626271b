#pragma once

#include <string>

#include "platform/embedded/drawing/model.h"

namespace ohmwise::sample {

/// Adds the masters that a text file describes (its head says how) to an empty drawing.
void AddMasters(embedded::DocumentModel& model, const std::string& path);

}  // namespace ohmwise::sample
