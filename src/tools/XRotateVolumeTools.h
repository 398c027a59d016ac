// Rotations of every plane of a volume by a quarter or half turn, on Grey8
// (and masks), Grey16, ARGB32, BGRA32, RGB48 and FP volumes.
//
// The quarter turns swap width and height: the new box is centred on the
// source's box, so on a non-square volume its left and top change. They need
// a second volume and so work in place only on square planes, through a copy.
#pragma once

#include "core/XExport.h"
#include "tools/X1To1VolumeTool.h"

namespace mirelan {

template <class T>
class XPackedVolume;

// Shared slots: each pixel type reaches the one template of the derived tool.
class MIRELAN_EXPORT XRotateVolumeTool : public X1To1VolumeTool {
 public:
  ~XRotateVolumeTool() override;

 protected:
  enum XTurn { kTurnCW, kTurnCCW, kTurn180 };
  explicit XRotateVolumeTool(XTurn inTurn) : itsTurn(inTurn) {}

  void ApplyToolGrey8(const XGrey8Volume& inSource, XVolume& ioDest) override;
  void ApplyToolGrey16(const XGrey16Volume& inSource, XVolume& ioDest) override;
  void ApplyToolARGB32(const XARGB32Volume& inSource, XVolume& ioDest) override;
  void ApplyToolBGRA32(const XBGRA32Volume& inSource, XVolume& ioDest) override;
  void ApplyToolRGB48(const XRGB48Volume& inSource, XVolume& ioDest) override;
  void ApplyToolFP(const XFPVolume& inSource, XVolume& ioDest) override;

  // Width and height exchanged, centred on the source's bounds.
  static X3DRect QuarterTurnBounds(const X3DRect& inSource);

 private:
  template <class T>
  void RotateCopy(const XPackedVolume<T>& inSource, XPackedVolume<T>& ioDest) const;

  XTurn itsTurn;
};

// dest(height - 1 - y, x) = src(x, y) in each plane, coordinates from the box corners.
class MIRELAN_EXPORT XRotate90CWVolumeTool : public XRotateVolumeTool {
 public:
  XRotate90CWVolumeTool() : XRotateVolumeTool(kTurnCW) {}
  ~XRotate90CWVolumeTool() override;

 protected:
  bool CanApplyInPlace() const override { return false; }
  XVolume* MakeDestVolume(const XVolume& inSource) override;
};

// dest(y, width - 1 - x) = src(x, y).
class MIRELAN_EXPORT XRotate90CCWVolumeTool : public XRotateVolumeTool {
 public:
  XRotate90CCWVolumeTool() : XRotateVolumeTool(kTurnCCW) {}
  ~XRotate90CCWVolumeTool() override;

 protected:
  bool CanApplyInPlace() const override { return false; }
  XVolume* MakeDestVolume(const XVolume& inSource) override;
};

// dest(width - 1 - x, height - 1 - y) = src(x, y); the bounds stay. In place
// it exchanges voxel pairs, so it needs no copy.
class MIRELAN_EXPORT XRotate180VolumeTool : public XRotateVolumeTool {
 public:
  XRotate180VolumeTool() : XRotateVolumeTool(kTurn180) {}
  ~XRotate180VolumeTool() override;
};

}  // namespace mirelan
