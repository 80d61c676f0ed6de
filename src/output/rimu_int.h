// Internals shared by the Rimu engine's files.
#pragma once
#include <cstdint>

#include "output/rimu.h"

namespace out {

// Packs the stream's current line into img (at least LINE_IMAGE_MAX bytes); returns the size.
int line_build(uint8_t *img, const RimuStream *s);

}  // namespace out
