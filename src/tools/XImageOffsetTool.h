// Subtracts a constant from every voxel: dest = src - offset, worked in float,
// kept within the type's limits and truncated. Grey8 (and masks), Grey16, FP,
// ARGB32 and RGB48; colours do red, green and blue and keep alpha.
#pragma once

#include <vector>

#include "core/XExport.h"
#include "tools/X1To1VolumeTool.h"
#include "tools/XClampTruncate.h"
#include "volume/XColour.h"
#include "tools/XScanHelperBase.h"

namespace mirelan {

// Scan helpers: one for the number types, one for the colours.
template <class T>
class MIRELAN_EXPORT XImageOffsetHelper : public XScanHelperBase {
 public:
  explicit XImageOffsetHelper(Float32 inOffset) : itsOffset(inOffset) {}
  template <class V>
  void ScanPixel(T* ioVoxel, V&, SInt32, SInt32, SInt32) {
    *ioVoxel = XClampTruncate<T>(Float32(*ioVoxel) - itsOffset);
  }

 private:
  Float32 itsOffset;
};

// The integer types and integer colour channels take one of few values: the
// float step above, done once per value into a table, gives the same result.
// When the table is a shift by a whole number, kept within the type (the
// common case of a whole offset), rows go through vector code instead.
template <class Channel>
class MIRELAN_EXPORT XImageOffsetTable {
 public:
  explicit XImageOffsetTable(Float32 inOffset);
  Channel operator[](Channel inValue) const { return itsTable[inValue]; }
  // Whether the table is v + delta within [0, max], and that delta.
  bool IsClampedShift() const { return itsIsClampedShift; }
  SInt32 GetShift() const { return itsShift; }

 private:
  std::vector<Channel> itsTable;
  bool itsIsClampedShift = false;
  SInt32 itsShift = 0;
};

template <class C>
class MIRELAN_EXPORT XImageOffsetColourHelper : public XScanHelperBase {
 public:
  using Channel = decltype(C().red);
  explicit XImageOffsetColourHelper(Float32 inOffset) : itsOffset(inOffset) {}
  template <class V>
  void ScanPixel(C* ioVoxel, V&, SInt32, SInt32, SInt32) {
    ioVoxel->red = XClampTruncate<Channel>(Float32(ioVoxel->red) - itsOffset);
    ioVoxel->green = XClampTruncate<Channel>(Float32(ioVoxel->green) - itsOffset);
    ioVoxel->blue = XClampTruncate<Channel>(Float32(ioVoxel->blue) - itsOffset);
  }

 private:
  Float32 itsOffset;
};

class MIRELAN_EXPORT XImageOffsetTool : public X1To1VolumeTool {
 public:
  explicit XImageOffsetTool(Float32 inOffset) : itsOffset(inOffset) {}
  ~XImageOffsetTool() override;

  Float32 GetOffset() const { return itsOffset; }

 protected:
  void ApplyToolGrey8(const XGrey8Volume& inSource, XVolume& ioDest) override;
  void ApplyToolGrey16(const XGrey16Volume& inSource, XVolume& ioDest) override;
  void ApplyToolFP(const XFPVolume& inSource, XVolume& ioDest) override;
  void ApplyToolARGB32(const XARGB32Volume& inSource, XVolume& ioDest) override;
  void ApplyToolRGB48(const XRGB48Volume& inSource, XVolume& ioDest) override;

 private:
  template <class V, class Helper>
  void Run(const XVolume& inSource, XVolume& ioDest);
  // Grey8, Grey16, ARGB32 and RGB48 through the table.
  template <class V>
  void RunTable(const XVolume& inSource, XVolume& ioDest);

  Float32 itsOffset;
};

}  // namespace mirelan
