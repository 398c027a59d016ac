#include "volume/XMaskVolume.h"

#include "core/XStream.h"
#include "volume/internal/XBlockLoop.h"

namespace mirelan {

XMaskVolume::XMaskVolume() { AttachPlaneRenderer(XMakePlaneRenderer(XRendererKind::kMask)); }

XMaskVolume::XMaskVolume(UInt32 inWidth, UInt32 inHeight, UInt32 inDepth)
    : XGrey8Volume(inWidth, inHeight, inDepth) {
  AttachPlaneRenderer(XMakePlaneRenderer(XRendererKind::kMask));
}

XMaskVolume::XMaskVolume(const X3DRect& inBounds) : XGrey8Volume(inBounds) {
  AttachPlaneRenderer(XMakePlaneRenderer(XRendererKind::kMask));
}

XMaskVolume::XMaskVolume(XStream& inStream) : XGrey8Volume(inStream) {
  ReadMaskLayer(inStream);
  // A table that came with the stream stays the renderer.
  if (!HadLegacyLUT()) AttachPlaneRenderer(XMakePlaneRenderer(XRendererKind::kMask));
}

XMaskVolume* XMaskVolume::CloneWithoutCopy(const X3DRect& inRect) const {
  return FinishCloneWithoutCopy(new XMaskVolume(inRect));
}

bool XMaskVolume::IsPlaneRendererSupported(const XImageRenderer& inRenderer) const {
  return XIsPlaneRendererOfKind(inRenderer, XRendererKind::kMask);
}

void XMaskVolume::ReadMaskLayer(XStream& inStream) {
  if (GetStreamForm(inStream) == kLayeredForm) CheckClassVersion(ReadClassVersion(inStream), GetClassVersion());
}

XMemoryHandle XMaskVolume::ReadMaskImageStream(const XMemoryHandle& inStored, UInt32 inWidth, UInt32 inHeight) {
  const UInt64 width = inWidth, height = inHeight;
  const UInt64 storedRow = (width + 3) & ~UInt64(3);
  if (inStored.GetDataSize() < storedRow * height)
    throw XException(kErrBadStreamSize, "legacy mask block smaller than its padded rows");
  XMemoryHandle block(width * height + kSpareBytes);
  XLock storedLock(inStored, kLockRead);
  XLock blockLock(block, kLockWrite);
  const UInt8* from = inStored.GetData();
  UInt8* to = block.GetData();
  for (UInt64 y = 0; y < height; ++y)
    for (UInt64 x = 0; x < width; ++x) to[y * width + x] = UInt8(~from[y * storedRow + x]);
  return block;
}

void XMaskVolume::ReadStream2(XStream& inStream, XOptions inOptions) {
  ReadStream2_XMaskVolume(inStream, inOptions);
}

void XMaskVolume::ReadStream2_XMaskVolume(XStream& inStream, XOptions inOptions) {
  ReadStream2_XGrey8Volume(inStream, inOptions);
  ReadMaskLayer(inStream);
}

void XMaskVolume::WriteStream2(XStream& inStream, XOptions inOptions) const {
  XGrey8Volume::WriteStream2(inStream, inOptions);
  WriteStreamSelf(inStream);
}

void XMaskVolume::WriteStreamSelf(XStream& inStream) const { inStream.WriteVersion(GetClassVersion()); }

void XMaskVolume::Threshold(UInt8 inThreshold) {
  XLock lock(*this, kLockReadWrite);
  UInt8* __restrict voxel = GetBaseVoxelPtr();
  XForEachIndex(GetVolumeVoxels(), [&](UInt64 i) { voxel[i] = voxel[i] > inThreshold ? 255 : 0; });
}

}  // namespace mirelan
