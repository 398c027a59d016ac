// Writing one value over a region: XVoxelSetter holds a voxel converted once
// from an ARGB colour, XFillHelper writes it at every scanned voxel.
#pragma once

#include <algorithm>

#include "core/XTypes.h"
#include "volume/XColour.h"
#include "volume/XColourVolumes.h"
#include "volume/internal/XVolumeConversion.h"
#include "tools/XScanHelperBase.h"

namespace mirelan {

// Converts the colour with the conversion copy's converter for ARGB32 to T,
// set up against the destination (the float converter reads its display range).
template <class Converter, class T>
class XVoxelSetter {
 public:
  XVoxelSetter(const XARGB32Colour& inColour, const XPackedVolume<T>& inDest) {
    // The converters are set up against a source volume; only its type matters here.
    const XARGB32Volume noSource(0, 0, 0);
    Converter converter;
    converter.Setup(noSource, inDest);
    converter.CopyVoxelPtr(&inColour, &itsValue);
  }
  // A voxel given directly, for fills that need no conversion.
  explicit XVoxelSetter(const T& inValue) : itsValue(inValue) {}

  void Set(T* outVoxel) const { *outVoxel = itsValue; }
  void SetRun(T* outRun, SInt32 inCount) const { std::fill_n(outRun, inCount, itsValue); }
  const T& GetValue() const { return itsValue; }

 private:
  T itsValue{};
};

template <class Setter, class T>
class XFillHelper : public XScanHelperBase {
 public:
  explicit XFillHelper(const Setter& inSetter) : itsSetter(inSetter) {}
  template <class V>
  void ScanPixel(T* outVoxel, V&, SInt32, SInt32, SInt32) {
    itsSetter.Set(outVoxel);
  }
  template <class V>
  void ScanRun(T* outRun, SInt32 inCount, V&, SInt32, SInt32, SInt32) {
    itsSetter.SetRun(outRun, inCount);
  }

 private:
  Setter itsSetter;
};

}  // namespace mirelan
