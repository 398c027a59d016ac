// Selects voxels from one voxel the user points at, the seed. Not a growing
// front: every voxel of the volume is tested against the seed in one plain
// pass, and for a contiguous selection the piece that holds the seed is then
// kept by labelling the result (X3DConnectedComponentsTool). No queue or
// stack of voxels is needed.
#pragma once

#include "core/XExport.h"
#include "core/XTypes.h"
#include "geometry/XPoint.h"
#include "volume/X3DRegion.h"

namespace mirelan {

class XProgress;
class XVolume;

class MIRELAN_EXPORT XVolumeSeedThresholdTool {
 public:
  enum XMode : SInt32 {
    kSimilar = 0,   // within the tolerance of the seed
    kBrighter = 1,  // at least as bright as the seed
    kDarker = 2,    // at most as bright as the seed
    kTexture = 3,   // a smooth neighbourhood: local variance below 2.0
  };
  enum XSelectionType : SInt32 {
    kAllMatches = 0,        // every voxel that passes
    kConnectedToSeed = 1,   // only the passing voxels joined to the seed by faces
  };

  XVolumeSeedThresholdTool(XMode inMode, XSelectionType inSelectionType);
  XVolumeSeedThresholdTool(const XVolumeSeedThresholdTool&) = default;
  XVolumeSeedThresholdTool& operator=(const XVolumeSeedThresholdTool&) = default;
  virtual ~XVolumeSeedThresholdTool() = default;

  // A fraction of the renderer's window from black to white (of 255 for
  // ARGB32): 0.1 means ten percent.
  void SetTolerance(Float32 inTolerance) { itsTolerance = inTolerance; }
  Float32 GetTolerance() const { return itsTolerance; }
  XMode GetMode() const { return itsMode; }
  XSelectionType GetSelectionType() const { return itsSelectionType; }

  // The selected voxels. A seed outside the volume is moved to the nearest
  // voxel of it. Grey8, mask, Grey16, ARGB32, RGB48 and FP are served; any
  // other type throws 2500. A mode out of range fails the precondition
  // "false".
  virtual X3DRegion ApplyTool(const XVolume& inVolume, const X3DPoint& inSeed);

 private:
  // One selection pass over the whole volume per mode, given the clamped seed.
  virtual X3DRegion ApplyToolSimilar(const XVolume& inVolume, const X3DPoint& inSeed);
  virtual X3DRegion ApplyToolBrighter(const XVolume& inVolume, const X3DPoint& inSeed);
  virtual X3DRegion ApplyToolDarker(const XVolume& inVolume, const X3DPoint& inSeed);
  virtual X3DRegion ApplyToolTexture(const XVolume& inVolume, const X3DPoint& inSeed);

  // Keeps the piece of inSelection that holds the seed, by its label; two
  // steps of ioProgress.
  static X3DRegion KeepSeedComponent(const X3DRegion& inSelection, const X3DPoint& inSeed, XProgress& ioProgress);

  Float32 itsTolerance = 0.0f;
  XMode itsMode;
  XSelectionType itsSelectionType;
};

}  // namespace mirelan
