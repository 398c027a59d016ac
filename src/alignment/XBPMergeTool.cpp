#include "alignment/XBPMergeTool.h"

#include "alignment/internal/XMergeLoops.h"

namespace mirelan {

using alignment::XMergeAxis;
using alignment::XMergeOp;

XBPMergeTool::~XBPMergeTool() = default;

XVolume* XBPMergeTool::MergeVolumesToVolume(const XPtrVector<XVolume>& src, const XVector<double>& contributions) {
  return alignment::MergeVolumeList<XMergeOp::kMaximum>(src, contributions, 1.0);
}

XVolume* XBPMergeTool::MergeVolumeToPlane(const XVolume& inSource) {
  return alignment::MergeStack<XMergeOp::kMaximum>(inSource, XMergeAxis::kAlongZ);
}

XVolume* XBPMergeTool::MergeVolumeToXYPlane(const XVolume& inSource) { return MergeVolumeToPlane(inSource); }

XVolume* XBPMergeTool::MergeVolumeToXZPlane(const XVolume& inSource) {
  return alignment::MergeStack<XMergeOp::kMaximum>(inSource, XMergeAxis::kAlongY);
}

XVolume* XBPMergeTool::MergeVolumeToYZPlane(const XVolume& inSource) {
  return alignment::MergeStack<XMergeOp::kMaximum>(inSource, XMergeAxis::kAlongX);
}

}  // namespace mirelan
