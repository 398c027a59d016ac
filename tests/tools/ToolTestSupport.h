// Shared helpers of the tool tests: class registration (the dispatch walks
// the registry's tree), volumes made from coordinates or rows, and padded
// volumes, which only a stream can make.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <vector>

#include "../volume/VolumeTestSupport.h"
#include "tools/X1To1VolumeTool.h"
#include "volume/X3DRegion.h"

using namespace mirelan;

namespace tooltest {

using volumetest::ErrorOf;
using volumetest::FillWith;
using volumetest::VoxelAt;

class ToolTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { volumetest::RegisterVolumeClasses(); }
};

// One 2 x 2 x 1 volume of each class given.
template <class... V>
std::vector<std::unique_ptr<XVolume>> Volumes() {
  std::vector<std::unique_ptr<XVolume>> all;
  (all.emplace_back(new V(2, 2, 1)), ...);
  return all;
}

// Expects inCall to throw 2500 (not for this pixel type) on each volume.
inline void ExpectRefused(const std::vector<std::unique_ptr<XVolume>>& inVolumes,
                          const std::function<void(XVolume&)>& inCall) {
  for (const auto& v : inVolumes) EXPECT_EQ(ErrorOf([&] { inCall(*v); }), kErrNotForPixelType) << v->GetDescription();
}

// A mask of the box with the given voxels set to 255 and the rest 0.
inline XMaskVolume MakeMask(const X3DRect& inBox, std::function<bool(SInt32, SInt32, SInt32)> inSet) {
  XMaskVolume mask(inBox);
  FillWith(mask, [&](SInt32 x, SInt32 y, SInt32 z) { return UInt8(inSet(x, y, z) ? 255 : 0); });
  return mask;
}

// A volume of inClassTag (65641 Grey8, 65644 ARGB32) whose rows hold
// inRowVoxels voxels of which the first inWidth belong to the image; the block
// holds exactly the voxel bytes, without the usual spare bytes.
template <class V>
std::unique_ptr<V> ReadPadded(UInt32 inClassTag, UInt32 inWidth, UInt32 inHeight, UInt32 inDepth, UInt32 inRowVoxels,
                              const std::vector<UInt8>& inData) {
  volumetest::Bytes bytes;
  bytes.U32(inClassTag).U32(520).U32(inWidth).U32(inHeight).U32(inDepth).U32(0).U32(0).U32(0);
  bytes.F64(1).F64(1).F64(1).U32(114).U32(65638).U32(inRowVoxels).U32(0).Handle(inData);
  if (inClassTag == 65641) bytes.U32(103).U32(65640);
  bytes.U32(inClassTag);
  auto volume = volumetest::ReadFromBytes<V>(bytes.Get());
  EXPECT_TRUE(volume && volume->GetRowVoxels() == inRowVoxels);
  return volume;
}

// A Grey8 volume with rows of inRowVoxels, voxel (x, y, z) = inValueAt(x, y, z)
// and the padding bytes set to inPad.
template <class Fn>
std::unique_ptr<XGrey8Volume> MakePaddedGrey8(UInt32 inWidth, UInt32 inHeight, UInt32 inDepth, UInt32 inRowVoxels,
                                              Fn inValueAt, UInt8 inPad = 0xEE) {
  std::vector<UInt8> data(size_t(inRowVoxels) * inHeight * inDepth, inPad);
  for (UInt32 z = 0; z < inDepth; ++z)
    for (UInt32 y = 0; y < inHeight; ++y)
      for (UInt32 x = 0; x < inWidth; ++x)
        data[(size_t(z) * inHeight + y) * inRowVoxels + x] = UInt8(inValueAt(x, y, z));
  return ReadPadded<XGrey8Volume>(65641, inWidth, inHeight, inDepth, inRowVoxels, data);
}

// A one-row volume of the given voxels.
template <class V>
V RowOf(const std::vector<typename V::Voxel>& inVoxels) {
  V volume(UInt32(inVoxels.size()), 1, 1);
  FillWith(volume, [&](SInt32 x, SInt32, SInt32) { return inVoxels[x]; });
  return volume;
}

// The voxels of the first row of the first plane.
template <class V>
std::vector<typename V::Voxel> RowVoxels(const XVolume& inVolume) {
  const V& volume = dynamic_cast<const V&>(inVolume);
  const X3DRect& b = volume.GetBounds();
  std::vector<typename V::Voxel> out;
  for (SInt32 x = b.left; x < b.right; ++x) out.push_back(VoxelAt(volume, x, b.top, b.front));
  return out;
}

// Runs a tool on a one-row volume of the given voxels, into a new volume,
// and returns the new row.
template <class V>
std::vector<typename V::Voxel> ApplyToRow(X1To1VolumeTool& ioTool, const std::vector<typename V::Voxel>& inVoxels) {
  std::unique_ptr<XVolume> dest(ioTool.ApplyTool(RowOf<V>(inVoxels)));
  return RowVoxels<V>(*dest);
}

// The block's bytes, padding and spare bytes included.
template <class V>
std::vector<UInt8> BlockBytes(const V& inVolume, UInt64 inCount) {
  XLock lock(inVolume, kLockRead);
  return std::vector<UInt8>(inVolume.GetBasePtr(), inVolume.GetBasePtr() + inCount);
}

}  // namespace tooltest
