// Mirror images: XFlipHVolumeTool reverses each row (left becomes right),
// XFlipVVolumeTool reverses the rows of each plane (top becomes bottom).
// Both serve every packed pixel type, since a flip only moves voxels: the
// work is a copy of GetVoxelBytes() bytes per voxel, whatever the type.
#pragma once

#include "core/XExport.h"
#include "tools/X1To1VolumeTool.h"

namespace mirelan {

class XBasePackedVolume;

class MIRELAN_EXPORT XFlipHVolumeTool : public X1To1VolumeTool {
 public:
  XFlipHVolumeTool() = default;
  ~XFlipHVolumeTool() override;

 protected:
  // Needs source and destination of one class; a source that is not packed
  // throws 2500. Bypasses the per-type slots.
  void ApplyToolSelf(const XVolume& inSource, XVolume& ioDest) override;
  // Requires equal bounds. Source and destination may be the same volume.
  virtual void Flip(const XBasePackedVolume& inSource, XBasePackedVolume& ioDest);
};

class MIRELAN_EXPORT XFlipVVolumeTool : public XFlipHVolumeTool {
 public:
  XFlipVVolumeTool() = default;
  ~XFlipVVolumeTool() override;

 protected:
  void Flip(const XBasePackedVolume& inSource, XBasePackedVolume& ioDest) override;
};

}  // namespace mirelan
