#include "core/XByteOrder.h"

#include <cstring>

namespace mirelan {

namespace {

template <typename U, U (*Swap)(U)>
void SwapUnits(UInt8* outDest, const UInt8* inSource, UInt64 inCount) {
  // memcpy keeps this free of alignment and aliasing assumptions; the
  // compiler turns it into plain loads and stores.
  for (UInt64 i = 0; i < inCount; ++i) {
    U value;
    std::memcpy(&value, inSource + i * sizeof(U), sizeof(U));
    value = Swap(value);
    std::memcpy(outDest + i * sizeof(U), &value, sizeof(U));
  }
}

}  // namespace

void SwapBuffer16(void* ioBuffer, UInt64 inCount) {
  auto* p = static_cast<UInt8*>(ioBuffer);
  SwapUnits<UInt16, SwapBytes16>(p, p, inCount);
}

void SwapBuffer32(void* ioBuffer, UInt64 inCount) {
  auto* p = static_cast<UInt8*>(ioBuffer);
  SwapUnits<UInt32, SwapBytes32>(p, p, inCount);
}

void SwapBufferBytes(void* outDest, const void* inSource, UInt64 inBytes, XByteSwapMode inMode) {
  auto* dest = static_cast<UInt8*>(outDest);
  const auto* source = static_cast<const UInt8*>(inSource);
  UInt64 unit = inMode == kByteSwap16 ? 2 : inMode == kByteSwap32 ? 4 : 1;
  UInt64 whole = inBytes / unit;
  if (unit == 2) SwapUnits<UInt16, SwapBytes16>(dest, source, whole);
  if (unit == 4) SwapUnits<UInt32, SwapBytes32>(dest, source, whole);
  // Mode 0 copies everything; the other modes copy a tail shorter than a unit.
  UInt64 done = unit == 1 ? 0 : whole * unit;
  if (done < inBytes && dest != source) std::memmove(dest + done, source + done, inBytes - done);
}

}  // namespace mirelan
