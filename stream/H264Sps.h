// Picture size from an H.264 sequence parameter set.
#pragma once

#include <cstdint>

namespace kovo {

// nal: the whole SPS NAL unit, header byte first. Leaves width and height
// untouched and returns false when the unit cannot be read.
bool ReadSpsPictureSize(const uint8_t* nal, uint32_t size, int* width, int* height);

}  // namespace kovo
