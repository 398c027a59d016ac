// The numbers of version 2 PICT pictures that the decoder and the encoder
// share: opcodes, the library's extension comments and the packing rules.
#pragma once

#include "core/XTypes.h"

namespace mirelan::pict {

// Opcodes.
constexpr UInt16 kOpClip = 0x0001;
constexpr UInt16 kOpVersion = 0x0011;
constexpr UInt16 kOpDefHilite = 0x001E;
constexpr UInt16 kOpBitsRect = 0x0090;
constexpr UInt16 kOpBitsRgn = 0x0091;
constexpr UInt16 kOpPackBitsRect = 0x0098;
constexpr UInt16 kOpPackBitsRgn = 0x0099;
constexpr UInt16 kOpDirectBitsRect = 0x009A;
constexpr UInt16 kOpDirectBitsRgn = 0x009B;
constexpr UInt16 kOpLongComment = 0x00A1;
constexpr UInt16 kOpEndOfPicture = 0x00FF;
constexpr UInt16 kOpHeader = 0x0C00;
constexpr UInt16 kOpCompressedQuickTime = 0x8200;
constexpr UInt16 kOpUncompressedQuickTime = 0x8201;
// The version opcode and version of a version 1 picture, read as one word.
constexpr UInt16 kOpVersion1 = 0x1101;
// The word behind kOpVersion in a version 2 picture.
constexpr UInt16 kVersion2 = 0x02FF;

// The library's long comments: 16-bit grey data and tables, and the colour
// table that goes with them.
constexpr UInt16 kDeepDataKind = 101;
constexpr UInt16 kDeepColourTableKind = 102;
constexpr UInt32 kDeepSignature = 0x515A5254;      // "QZRT"
constexpr UInt32 kDeepPixelSelector = 0x64627071;  // "dbpq"
constexpr UInt32 kDeepTableSelector = 0x6462706C;  // "dbpl"
constexpr UInt32 kDeepBlockBytes = 16000;
constexpr UInt32 kDeepBlockHeadBytes = 32;
// Deep tables are at most 2^16 entries: the bit depth of 16-bit grey.
constexpr UInt32 kMaxDeepDepth = 16;

// Colour tables: head (seed, flags, count - 1), then 8 bytes an entry.
constexpr UInt32 kColourTableSeed = 435987;
constexpr UInt32 kColourTableHeadBytes = 8;
constexpr UInt32 kColourEntryBytes = 8;

// Rows whose row bytes are below this carry an 8-bit count, others 16 bits.
constexpr UInt32 kWordCountRowBytes = 251;
// Row bytes take the low 14 bits of their word; the top two are flags.
constexpr UInt16 kRowBytesMask = 0x3FFF;
constexpr UInt16 kPixMapFlag = 0x8000;

// Pack types of direct pixel maps.
constexpr UInt16 kPackNone = 1;
constexpr UInt16 kPackPadRemoved = 2;
constexpr UInt16 kPackRLE16 = 3;
constexpr UInt16 kPackRLE32 = 4;

// Pictures are all big-endian words; coordinates are signed 16 bits.
constexpr SInt32 kMinCoordinate = -32768;
constexpr SInt32 kMaxCoordinate = 32767;

}  // namespace mirelan::pict
