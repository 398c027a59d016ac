// Fixed-width scalar types used for every stored, streamed or voxel value.
#pragma once

#include <cstdint>
#include <string>

namespace mirelan {

using SInt8 = std::int8_t;
using SInt16 = std::int16_t;
using SInt32 = std::int32_t;
using SInt64 = std::int64_t;
using UInt8 = std::uint8_t;
using UInt16 = std::uint16_t;
using UInt32 = std::uint32_t;
using UInt64 = std::uint64_t;
using Float32 = float;
using Float64 = double;

// Text is UTF-8 throughout.
using XString = std::string;

static_assert(sizeof(Float32) == 4 && sizeof(Float64) == 8, "IEEE floats expected");

}  // namespace mirelan
