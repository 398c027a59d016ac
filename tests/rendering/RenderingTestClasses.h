// Class registration and helpers of the rendering tests.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <memory>
#include <vector>

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
#include "volume/XRegisterVolumeClasses.h"

using namespace mirelan;

// Stream tests read through the library's own class table.
class RenderingStreamTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { XRegisterVolumeClasses(); }
};

const XARGB32Colour kBlack(255, 0, 0, 0);
const XARGB32Colour kWhite(255, 255, 255, 255);

inline XARGB32Colour EntryOf(const XIntToColourLUT& inLUT, UInt32 inIndex) {
  XARGB32Colour c;
  inLUT.IndexToValue(inIndex, c);
  return c;
}

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
  XByteWriter& Put(UInt64 v, int inCount) {
    for (int i = 0; i < inCount; ++i) bytes.push_back(UInt8(v >> (8 * i)));
    return *this;
  }
  XByteWriter& U32(UInt32 v) { return Put(v, 4); }
  XByteWriter& F64(Float64 v) {
    UInt64 bits;
    std::memcpy(&bits, &v, 8);
    return Put(bits, 8);
  }
  XByteWriter& Raw(std::initializer_list<UInt8> inBytes) {
    bytes.insert(bytes.end(), inBytes.begin(), inBytes.end());
    return *this;
  }
  // A stored memory handle as the core writes it through WriteObject:
  // its tag twice, the 64-bit size, compression 0, the bytes.
  XByteWriter& Handle(std::initializer_list<UInt8> inData) {
    return U32(33).U32(33).Put(inData.size(), 8).U32(0).Raw(inData);
  }
};

// The XException number of reading inBytes through ReadStream2, 0 if none.
inline SInt32 ErrorReading(XStorable& ioTarget, const std::vector<UInt8>& inBytes) {
  XMemoryStream stream(inBytes.data(), inBytes.size(), kLittleEndian);
  return ErrorNumberOf([&] { ioTarget.ReadStream2(stream); });
}

// Every cut of a stream of two objects throws an XException; the cuts
// are dense within 200 bytes of either end.
inline void ExpectEveryCutOfTwoObjectsThrows(const std::vector<UInt8>& inBytes) {
  for (size_t length = 0; length < inBytes.size(); length += (length < 200 || inBytes.size() - length < 200) ? 1 : 97) {
    XMemoryStream cut(inBytes.data(), length, kLittleEndian);
    EXPECT_NE(ErrorNumberOf([&] { delete cut.ReadObject(), delete cut.ReadObject(); }), 0) << "length " << length;
  }
}

// The bytes of a stream written by inWrite.
inline std::vector<UInt8> BytesOf(const std::function<void(XStream&)>& inWrite, XByteOrder inOrder = kLittleEndian) {
  XMemoryStream stream(inOrder);
  inWrite(stream);
  return stream.GetBytes();
}

// Sets renderer properties by number.
inline void SetProperties(XImageRenderer& ioRenderer, std::initializer_list<std::pair<UInt32, Float64>> inValues) {
  for (const auto& [property, value] : inValues) ioRenderer.SetProperty(property, value);
}

// One renderer of each concrete class, in this order:
// Grey8, Mask, Grey16, FP, ARGB32, BGRA32, RGB48.
inline std::vector<std::unique_ptr<XImageRenderer>> EveryRenderer() {
  std::vector<std::unique_ptr<XImageRenderer>> all;
  for (XImageRenderer* r : std::initializer_list<XImageRenderer*>{new XGrey8ImageRenderer, new XMaskImageRenderer,
                            new XGrey16ImageRenderer, new XFPImageRenderer, new XARGB32ImageRenderer,
                            new XBGRA32ImageRenderer, new XRGB48ImageRenderer})
    all.emplace_back(r);
  return all;
}
