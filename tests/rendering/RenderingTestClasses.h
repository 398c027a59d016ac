// Class registration and helpers of the rendering tests.
#pragma once

#include <functional>
#include <vector>

#include "core/XClassRegistry.h"
#include "core/XCoreClasses.h"
#include "core/XException.h"
#include "core/XStream.h"
#include "rendering/XARGB32ImageRenderer.h"
#include "rendering/XFPImageRenderer.h"
#include "rendering/XFloatToColourLUT.h"
#include "rendering/XGrey16ImageRenderer.h"
#include "rendering/XGrey8ImageRenderer.h"
#include "rendering/XIntToColourLUT.h"
#include "rendering/XIntToIntLUT.h"
#include "rendering/XMaskImageRenderer.h"
#include "rendering/XRGB48ImageRenderer.h"
#include "volume/XRegisterImagingClasses.h"

// Tests read streams through the library's own class table.
inline void RegisterRenderingClassesForTest() { XRegisterImagingClasses(); }

// The number of the XException a call throws, 0 if none.
inline SInt32 ErrorNumberOf(const std::function<void()>& inCall) {
  try {
    inCall();
  } catch (const XException& e) {
    return e.GetErrorNumber();
  }
  return 0;
}

// Little-endian byte builders for hand-written streams.
struct XByteWriter {
  std::vector<UInt8> bytes;
  XByteWriter& U32(UInt32 v) {
    for (int i = 0; i < 4; ++i) bytes.push_back(UInt8(v >> (8 * i)));
    return *this;
  }
  XByteWriter& U64(UInt64 v) {
    for (int i = 0; i < 8; ++i) bytes.push_back(UInt8(v >> (8 * i)));
    return *this;
  }
  XByteWriter& F64(Float64 v) {
    UInt64 bits;
    static_assert(sizeof bits == sizeof v, "");
    __builtin_memcpy(&bits, &v, 8);
    return U64(bits);
  }
  XByteWriter& Raw(std::initializer_list<UInt8> inBytes) {
    bytes.insert(bytes.end(), inBytes.begin(), inBytes.end());
    return *this;
  }
  // A stored memory handle as the core writes it through WriteObject:
  // its tag twice, the 64-bit size, compression 0, the bytes.
  XByteWriter& Handle(std::initializer_list<UInt8> inData) {
    U32(33).U32(33).U64(inData.size()).U32(0);
    return Raw(inData);
  }
};
