// A host program that applies one tool to the objects of a stream file and
// writes the result to another, calling the library from C++ only. The
// Python tests give it the data they gave the module and compare.
//
//   mirelan_cpp_reference IN.mis OUT.mis TOOL [ARGUMENTS]
//
// TOOL: invert, flip_x, flip_y, rotate_cw, rotate_ccw, rotate_180,
// offset AMOUNT, arithmetic OPERATOR (objects 0 and 1), and_mask (volume 0,
// mask 1), convert PIXEL_TYPE, grow X Y Z (a region), median SIZE,
// resample WIDTH HEIGHT DEPTH FILTER, fft_gaussian SIGMA MARGIN, label (a
// region; the labels), seed_threshold MODE TOLERANCE CONNECTED X Y Z,
// threshold KIND LOW HIGH INVERT (KIND: intensity, percentage, std).
#include <cstdlib>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "core/XHandleStream.h"
#include "filters/XMedianFilterVolumeTool.h"
#include "numeric/XFFTFilterKernelCache.h"
#include "numeric/XFFTFilterVolumeTool.h"
#include "numeric/XFourierStrategyManager.h"
#include "numeric/XFourierVolume.h"
#include "segmentation/X3DConnectedComponentsTool.h"
#include "segmentation/XIntensityThresholdTool.h"
#include "segmentation/XPercentageThresholdTool.h"
#include "segmentation/XStandardDeviationThresholdTool.h"
#include "segmentation/XVolumeSeedThresholdTool.h"
#include "storage/XImageStack.h"
#include "storage/XRegisterImagingClasses.h"
#include "tools/XBooleanVolumeTool.h"
#include "tools/XFlipVolumeTools.h"
#include "tools/XImageOffsetTool.h"
#include "tools/XInvertVolumeTool.h"
#include "tools/XRotateVolumeTools.h"
#include "tools/XVolumeArithmeticTool.h"
#include "tools/XVolumeResampleTool.h"
#include "volume/X3DRegion.h"
#include "volume/XGrey16Volume.h"
#include "volume/XGrey32Volume.h"
#include "volume/XMaskVolume.h"

using namespace mirelan;

namespace {

std::vector<std::unique_ptr<XStorable>> ReadAll(const char* inPath) {
  XFileStream stream(XFileSpec(inPath), kReadOnly);
  stream.ReadStreamInfo();
  std::vector<std::unique_ptr<XStorable>> objects;
  while (stream.GetPosition() < stream.GetExtent()) objects.emplace_back(stream.ReadObject());
  return objects;
}

XVolume& VolumeAt(const std::vector<std::unique_ptr<XStorable>>& inObjects, size_t inIndex) {
  return dynamic_cast<XVolume&>(*inObjects.at(inIndex));
}

std::unique_ptr<XStorable> Apply(X1To1VolumeTool&& ioTool, XVolume& inVolume) {
  return std::unique_ptr<XStorable>(ioTool.ApplyTool(inVolume));
}

// The labels as grey16: streams carry no grey32 volumes.
std::unique_ptr<XStorable> Labels16(const X3DRegion& inRegion) {
  std::unique_ptr<XGrey32Volume> labels(X3DConnectedComponentsTool().ApplyTool(inRegion));
  auto result = std::make_unique<XGrey16Volume>(labels->GetBounds());
  XLock from(*labels, kLockRead);
  XLock to(*result, kLockWrite);
  const X3DRect& box = labels->GetBounds();
  for (SInt32 z = box.front; z < box.back; ++z)
    for (SInt32 y = box.top; y < box.bottom; ++y) {
      const UInt32* in = labels->GetVoxelPtr(box.left, y, z);
      UInt16* out = result->GetVoxelPtr(box.left, y, z);
      for (UInt32 x = 0; x < labels->GetWidth(); ++x) out[x] = UInt16(in[x]);
    }
  return result;
}

std::unique_ptr<XStorable> Run(const std::string& inTool, const std::vector<std::string>& inArguments,
                               std::vector<std::unique_ptr<XStorable>>& ioObjects) {
  if (inTool == "invert") return Apply(XInvertVolumeTool(), VolumeAt(ioObjects, 0));
  if (inTool == "flip_x") return Apply(XFlipHVolumeTool(), VolumeAt(ioObjects, 0));
  if (inTool == "flip_y") return Apply(XFlipVVolumeTool(), VolumeAt(ioObjects, 0));
  if (inTool == "rotate_cw") return Apply(XRotate90CWVolumeTool(), VolumeAt(ioObjects, 0));
  if (inTool == "rotate_ccw") return Apply(XRotate90CCWVolumeTool(), VolumeAt(ioObjects, 0));
  if (inTool == "rotate_180") return Apply(XRotate180VolumeTool(), VolumeAt(ioObjects, 0));
  if (inTool == "offset") return Apply(XImageOffsetTool(std::stof(inArguments.at(0))), VolumeAt(ioObjects, 0));
  if (inTool == "arithmetic") {
    XVolumeArithmeticTool tool;
    tool.ApplyTool(VolumeAt(ioObjects, 0), VolumeAt(ioObjects, 1),
                   XVolumeArithmeticTool::XOperator(std::stoi(inArguments.at(0))));
    return std::move(ioObjects[0]);
  }
  if (inTool == "and_mask") {
    XBooleanVolumeTool::AndVolumes(VolumeAt(ioObjects, 0), dynamic_cast<XMaskVolume&>(VolumeAt(ioObjects, 1)),
                                   VolumeAt(ioObjects, 0));
    return std::move(ioObjects[0]);
  }
  if (inTool == "convert") {
    XPixelType type;
    if (!XParsePixelType(inArguments.at(0), type)) throw std::invalid_argument("pixel type");
    const XVolume& source = VolumeAt(ioObjects, 0);
    std::unique_ptr<XVolume> dest = XNewVolume(type, source.GetBounds());
    dest->CopyScalingFrom(source);
    dest->CopyIn(source, source.GetBounds(), dest->GetBounds(), nullptr);
    return dest;
  }
  if (inTool == "grow") {
    auto& region = dynamic_cast<X3DRegion&>(*ioObjects.at(0));
    region.Grow(std::stoi(inArguments.at(0)), std::stoi(inArguments.at(1)), std::stoi(inArguments.at(2)));
    return std::move(ioObjects[0]);
  }
  if (inTool == "median") return Apply(XMedianFilterVolumeTool(std::stoul(inArguments.at(0))), VolumeAt(ioObjects, 0));
  if (inTool == "resample") {
    const XVolume& source = VolumeAt(ioObjects, 0);
    const X3DRect& from = source.GetBounds();
    const X3DRect to(from.left, from.top, from.front, from.left + std::stoi(inArguments.at(0)),
                     from.top + std::stoi(inArguments.at(1)), from.front + std::stoi(inArguments.at(2)));
    std::unique_ptr<XVolume> dest = XNewVolume(XPixelTypeOf(source), to);
    dest->CopyScalingFrom(source);
    XVolumeResampleTool(XFilterMode(std::stoi(inArguments.at(3)))).ApplyTool(source, *dest, from, to);
    return dest;
  }
  if (inTool == "fft_gaussian") {
    XFourierStrategyManager manager;
    const XVolume& source = VolumeAt(ioObjects, 0);
    const UInt32 margin = UInt32(std::stoul(inArguments.at(1)));
    XFFTFilterKernelCache cache;
    const XFourierVolume* kernel =
        cache.GetKernel(kGaussianKernel, source.GetBounds(), std::stof(inArguments.at(0)), margin);
    XPtrVector<XFFTFilterVolumeToolPlugin> none;
    return Apply(XFFTFilterVolumeTool(kernel, &none, margin), VolumeAt(ioObjects, 0));
  }
  if (inTool == "label") return Labels16(dynamic_cast<X3DRegion&>(*ioObjects.at(0)));
  if (inTool == "seed_threshold") {
    XVolumeSeedThresholdTool tool(XVolumeSeedThresholdTool::XMode(std::stoi(inArguments.at(0))),
                                  XVolumeSeedThresholdTool::XSelectionType(std::stoi(inArguments.at(2))));
    tool.SetTolerance(std::stof(inArguments.at(1)));
    const X3DPoint seed(X3DPointT<SInt32>(std::stoi(inArguments.at(3)), std::stoi(inArguments.at(4)),
                                          std::stoi(inArguments.at(5))));
    return std::make_unique<X3DRegion>(tool.ApplyTool(VolumeAt(ioObjects, 0), seed));
  }
  if (inTool == "threshold") {
    const std::string& kind = inArguments.at(0);
    const Float32 low = std::stof(inArguments.at(1)), high = std::stof(inArguments.at(2));
    const bool invert = std::stoi(inArguments.at(3)) != 0;
    auto region = std::make_unique<X3DRegion>();
    const XVolume& volume = VolumeAt(ioObjects, 0);
    if (kind == "intensity")
      XIntensityThresholdTool().ApplyThreshold(*region, volume, low, high, invert);
    else if (kind == "percentage")
      XPercentageThresholdTool().ApplyThreshold(*region, volume, low, high, invert);
    else if (kind == "std")
      XStandardDeviationThresholdTool().ApplyThreshold(*region, volume, low, high, invert);
    else
      throw std::invalid_argument("threshold kind " + kind);
    return region;
  }
  throw std::invalid_argument("unknown tool " + inTool);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 4) {
    std::cerr << "usage: mirelan_cpp_reference IN.mis OUT.mis TOOL [ARGUMENTS]\n";
    return 2;
  }
  try {
    XRegisterImagingClasses();
    auto objects = ReadAll(argv[1]);
    std::unique_ptr<XStorable> result = Run(argv[3], std::vector<std::string>(argv + 4, argv + argc), objects);
    XFileStream out(XFileSpec(argv[2]), kCreateReadWrite);
    out.WriteStreamInfo();
    out.WriteObject(*result);
    out.Flush();
  } catch (const std::exception& e) {
    std::cerr << "mirelan_cpp_reference: " << e.what() << "\n";
    return 1;
  }
  return 0;
}
