// Pixels as a PNG file (ISO/IEC 15948).
#pragma once

#include "sheaf/layer/parts.h"

namespace sheaf::layer {

/// The file; empty when there is no memory.
Data png_file(const Pixels& pixels);

}  // namespace sheaf::layer
