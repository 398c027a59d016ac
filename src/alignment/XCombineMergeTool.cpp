#include "alignment/XCombineMergeTool.h"

#include "alignment/internal/XMergeLoops.h"

namespace mirelan {

using alignment::XMergeAxis;
using alignment::XMergeOp;

XCombineMergeTool::~XCombineMergeTool() = default;

XVolume* XCombineMergeTool::CombineVolumesToVolume(const XPtrVector<XVolume>& src,
                                                   const XVector<double>& contributions) {
  return alignment::MergeVolumeList<XMergeOp::kSum>(src, contributions, 1.0);
}

XVolume* XCombineMergeTool::CombineVolumeToPlane(const XVolume& inSource) {
  return alignment::MergeStack<XMergeOp::kSum>(inSource, XMergeAxis::kAlongZ);
}

XAverageMergeTool::~XAverageMergeTool() = default;

XVolume* XAverageMergeTool::AverageVolumesToVolume(const XPtrVector<XVolume>& src,
                                                   const XVector<double>& contributions) {
  XAssert(src.size() == contributions.size());
  return alignment::MergeVolumeList<XMergeOp::kSum>(src, contributions, double(src.size()));
}

XVolume* XAverageMergeTool::AverageVolumeToPlane(const XVolume& inSource) {
  return alignment::MergeStack<XMergeOp::kSum>(inSource, XMergeAxis::kAlongZ);
}

}  // namespace mirelan
