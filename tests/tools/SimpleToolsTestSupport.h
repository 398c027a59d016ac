// Helpers of the simple-tool tests: class registration (the dispatch walks
// the registry's tree), volumes made from coordinates, and padded volumes,
// which only a stream can make.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "../volume/VolumeTestSupport.h"
#include "tools/X1To1VolumeTool.h"

namespace simpletools {

using volumetest::Bytes;
using volumetest::ErrorOf;
using volumetest::FillWith;
using volumetest::VoxelAt;

class SimpleToolTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { volumetest::RegisterVolumeClasses(); }
};

// A volume of inClassTag (65641 Grey8, 65644 ARGB32) whose rows hold
// inRowVoxels voxels of which the first inWidth belong to the image; the block
// holds exactly the voxel bytes, without the usual spare bytes.
inline std::vector<UInt8> PaddedVolumeBytes(UInt32 inClassTag, UInt32 inWidth, UInt32 inHeight, UInt32 inDepth,
                                            UInt32 inRowVoxels, const std::vector<UInt8>& inData) {
  Bytes bytes;
  bytes.U32(inClassTag).U32(520).U32(inWidth).U32(inHeight).U32(inDepth).U32(0).U32(0).U32(0);
  bytes.F64(1).F64(1).F64(1);
  bytes.U32(114).U32(65638).U32(inRowVoxels).U32(0).Handle(inData);
  if (inClassTag == 65641)
    bytes.U32(103).U32(65640).U32(65641);
  else
    bytes.U32(inClassTag);
  return bytes.Get();
}

// A Grey8 volume with rows of inRowVoxels, voxel (x, y, z) = inValueAt(x, y, z)
// and the padding bytes set to inPad.
template <class Fn>
std::unique_ptr<XGrey8Volume> MakePaddedGrey8(UInt32 inWidth, UInt32 inHeight, UInt32 inDepth,
                                              UInt32 inRowVoxels, Fn inValueAt, UInt8 inPad = 0xEE) {
  std::vector<UInt8> data(size_t(inRowVoxels) * inHeight * inDepth, inPad);
  for (UInt32 z = 0; z < inDepth; ++z)
    for (UInt32 y = 0; y < inHeight; ++y)
      for (UInt32 x = 0; x < inWidth; ++x)
        data[(size_t(z) * inHeight + y) * inRowVoxels + x] = UInt8(inValueAt(x, y, z));
  auto volume = volumetest::ReadFromBytes<XGrey8Volume>(
      PaddedVolumeBytes(65641, inWidth, inHeight, inDepth, inRowVoxels, data));
  EXPECT_TRUE(volume);
  if (volume) {
    EXPECT_EQ(volume->GetRowVoxels(), inRowVoxels);
  }
  return volume;
}

// Runs a tool on a one-row volume of the given voxels, into a new volume,
// and returns the new row.
template <class V>
std::vector<typename V::Voxel> ApplyToRow(X1To1VolumeTool& ioTool, const std::vector<typename V::Voxel>& inVoxels) {
  V volume(UInt32(inVoxels.size()), 1, 1);
  FillWith(volume, [&](SInt32 x, SInt32, SInt32) { return inVoxels[x]; });
  std::unique_ptr<XVolume> dest(ioTool.ApplyTool(volume));
  std::vector<typename V::Voxel> out;
  for (UInt32 x = 0; x < inVoxels.size(); ++x) out.push_back(VoxelAt(dynamic_cast<V&>(*dest), x, 0, 0));
  return out;
}

// The block's bytes, padding and spare bytes included.
template <class V>
std::vector<UInt8> BlockBytes(const V& inVolume, UInt64 inCount) {
  XLock lock(inVolume, kLockRead);
  const UInt8* base = inVolume.GetBasePtr();
  return std::vector<UInt8>(base, base + inCount);
}

}  // namespace simpletools
