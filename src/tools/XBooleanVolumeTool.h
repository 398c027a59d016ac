// Combines a volume with a mask, voxel by voxel over the box the two share:
// And keeps a voxel where the mask byte is not 0 and clears it elsewhere; Xor
// flips the bits of a byte voxel by the mask byte.
#pragma once

#include "core/XException.h"
#include "core/XExport.h"
#include "volume/XVolume.h"

namespace mirelan {

class X3DRegion;
class XMaskVolume;
class XGrey8Volume;
class XGrey16Volume;
class XARGB32Volume;
class XRGB48Volume;
class XFPVolume;

class MIRELAN_EXPORT XBooleanVolumeTool {
 public:
  // When inSource is not ioDest, ioDest first takes the source's content.
  // And serves masks, Grey8, Grey16, ARGB32, RGB48 and FP by IsA; any other
  // class throws 2500.
  static void AndVolumes(const XVolume& inSource, const XMaskVolume& inMask, XVolume& ioDest);
  // Xor serves XMaskVolume and XGrey8Volume by exact class; others throw 2500.
  static void XorVolumes(const XVolume& inSource, const XMaskVolume& inMask, XVolume& ioDest);

 protected:
  static void AndVolumesSelf(const XMaskVolume& inMask, XVolume& ioDest);
  static void XorVolumesSelf(const XMaskVolume& inMask, XVolume& ioDest);

  // The working region: mask bounds & dest bounds.
  static void AndMaskVolume(const XMaskVolume& inMask, XMaskVolume& ioDest, const X3DRegion& inRegion);
  static void AndGrey8Volume(const XMaskVolume& inMask, XGrey8Volume& ioDest, const X3DRegion& inRegion);
  static void AndGrey16Volume(const XMaskVolume& inMask, XGrey16Volume& ioDest, const X3DRegion& inRegion);
  static void AndFPVolume(const XMaskVolume& inMask, XFPVolume& ioDest, const X3DRegion& inRegion);
  static void AndARGB32Volume(const XMaskVolume& inMask, XARGB32Volume& ioDest, const X3DRegion& inRegion);
  static void AndRGB48Volume(const XMaskVolume& inMask, XRGB48Volume& ioDest, const X3DRegion& inRegion);
  static void XorMaskVolume(const XMaskVolume& inMask, XMaskVolume& ioDest, const X3DRegion& inRegion);
  static void XorGrey8Volume(const XMaskVolume& inMask, XGrey8Volume& ioDest, const X3DRegion& inRegion);
};

}  // namespace mirelan
