// Shared helpers of the tool tests: class registration and small volume makers.
#pragma once

#include <gtest/gtest.h>

#include <functional>

#include "core/XClassRegistry.h"
#include "core/XCoreClasses.h"
#include "core/XException.h"
#include "geometry/X3DRect.h"
#include "volume/X3DRegion.h"
#include "volume/XColourVolumes.h"
#include "volume/XFPVolume.h"
#include "volume/XGrey16Volume.h"
#include "volume/XGrey32Volume.h"
#include "volume/XGrey8Volume.h"
#include "volume/XMaskVolume.h"
#include "volume/XRegisterImagingClasses.h"

namespace tooltest {

// Tests read streams through the library's own class table.
inline void RegisterToolClasses() { XRegisterImagingClasses(); }

class ToolTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { RegisterToolClasses(); }
};

// The number of the XException a call throws, 0 when it throws none.
inline SInt32 ErrorOf(const std::function<void()>& inCall) {
  try {
    inCall();
  } catch (const XException& e) {
    return e.GetErrorNumber();
  }
  return 0;
}

template <class V, class Fn>
void FillWith(V& ioVolume, Fn inValueAt) {
  XLock lock(ioVolume, kLockReadWrite);
  const X3DRect& b = ioVolume.GetBounds();
  for (SInt32 z = b.front; z < b.back; ++z)
    for (SInt32 y = b.top; y < b.bottom; ++y)
      for (SInt32 x = b.left; x < b.right; ++x) ioVolume.SetVoxel(x, y, z, inValueAt(x, y, z));
}

template <class V>
typename V::Voxel At(const V& inVolume, SInt32 x, SInt32 y, SInt32 z) {
  XLock lock(inVolume, kLockRead);
  return inVolume.GetVoxel(x, y, z);
}

// A mask of the box with the given voxels set to 255 and the rest 0.
inline XMaskVolume MakeMask(const X3DRect& inBox, std::function<bool(SInt32, SInt32, SInt32)> inSet) {
  XMaskVolume mask(inBox);
  FillWith(mask, [&](SInt32 x, SInt32 y, SInt32 z) { return UInt8(inSet(x, y, z) ? 255 : 0); });
  return mask;
}

}  // namespace tooltest
