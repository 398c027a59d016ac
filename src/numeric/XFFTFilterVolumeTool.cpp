#include "numeric/XFFTFilterVolumeTool.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <memory>

#include "core/XException.h"
#include "numeric/XFFTFilterKernelGenerator.h"
#include "numeric/XFourierVolume.h"
#include "numeric/XVectorMathTool.h"
#include "rendering/XImageRenderer.h"
#include "volume/XFPVolume.h"

namespace mirelan {

namespace {

// Index inIndex of a line whose real samples are inFirst .. inLast, reflected
// about the edges (the edge sample repeated) until it falls among them.
ptrdiff_t Reflect(ptrdiff_t inIndex, ptrdiff_t inFirst, ptrdiff_t inLast) {
  const ptrdiff_t count = inLast - inFirst + 1;
  ptrdiff_t t = (inIndex - inFirst) % (2 * count);
  if (t < 0) t += 2 * count;
  if (t >= count) t = 2 * count - 1 - t;
  return inFirst + t;
}

// The margins of one line of inLength samples spaced inStride apart: the
// sample d outside an edge takes the sample d - 1 inside it.
void MirrorLine(float* ioLine, ptrdiff_t inStride, ptrdiff_t inLength, ptrdiff_t inFirst, ptrdiff_t inLast) {
  for (ptrdiff_t d = 1; d <= inFirst; ++d)
    ioLine[(inFirst - d) * inStride] = ioLine[Reflect(inFirst + d - 1, inFirst, inLast) * inStride];
  for (ptrdiff_t d = 1; inLast + d < inLength; ++d)
    ioLine[(inLast + d) * inStride] = ioLine[Reflect(inLast - (d - 1), inFirst, inLast) * inStride];
}

}  // namespace

XFFTFilterVolumeToolPlugin::~XFFTFilterVolumeToolPlugin() = default;

XFFTFilterVolumeTool::XFFTFilterVolumeTool(const XFourierVolume* inKernel,
                                           const XPtrVector<XFFTFilterVolumeToolPlugin>* inPlugins, UInt32 inMargin)
    : itsKernel(inKernel), itsPlugins(inPlugins), itsMargin(inMargin) {}

void XFFTFilterVolumeTool::ApplyToolSelf(const XVolume& inSource, XVolume& ioDest) {
  XAssert(itsKernel);
  const X3DRect& bounds = inSource.GetBounds();
  const X3DRect paddedRect = XFFTFilterKernelGenerator::GetPaddedRect(bounds, itsMargin);

  XFourierVolume padded(paddedRect);
  PreparePaddedImage(inSource, padded);
  // Both in Fourier space: Convolve is a single product of spectra.
  padded.FourierTransform();
  padded.Convolve(*itsKernel);
  padded.InverseFourierTransform();

  XFPVolume unwrapped(paddedRect);
  UnwrapFourierToFPImage(padded, unwrapped);
  XFPVolume result(bounds);
  result.CopyIn(unwrapped, bounds, bounds, nullptr);

  if (itsPlugins)
    for (XFFTFilterVolumeToolPlugin* plugin : *itsPlugins)
      if (plugin) plugin->ManipulateImage(result, inSource);

  Float32 minimum = 0.0f, maximum = 0.0f;
  result.FindMinMax(minimum, maximum);
  result.GetPlaneRenderer().SetBlack(minimum);
  result.GetPlaneRenderer().SetWhite(maximum);
  if (ioDest.HasPlaneRenderer()) {
    ioDest.GetPlaneRenderer().SetBlack(minimum);
    ioDest.GetPlaneRenderer().SetWhite(maximum);
  }
  ioDest.Clear();
  ioDest.CopyIn(result, bounds, bounds, nullptr);
}

void XFFTFilterVolumeTool::PreparePaddedImage(const XVolume& inSource, XFourierVolume& ioPadded) {
  const X3DRect& source = inSource.GetBounds();
  const X3DRect& padded = ioPadded.GetBounds();
  XAssert(padded.Contains(source));
  ioPadded.FillReal(0.0f);
  ioPadded.CopyIn(inSource, source, source, nullptr);

  XLock lock(ioPadded, kLockReadWrite);
  const ptrdiff_t row = ioPadded.GetRealLayout().GetRowSize();
  const ptrdiff_t layer = ioPadded.GetRealLayout().GetLayerSize();
  const ptrdiff_t firstX = source.left - padded.left, lastX = source.right - 1 - padded.left;
  const ptrdiff_t firstY = source.top - padded.top, lastY = source.bottom - 1 - padded.top;
  const ptrdiff_t firstZ = source.front - padded.front, lastZ = source.back - 1 - padded.front;
  const ptrdiff_t width = padded.GetWidth(), height = padded.GetHeight(), depth = padded.GetDepth();
  float* base = ioPadded.GetFirstVoxelPtr();
  // X over the source's rows, Y over whole planes of the source's depth, Z over everything.
  for (ptrdiff_t z = firstZ; z <= lastZ; ++z)
    for (ptrdiff_t y = firstY; y <= lastY; ++y) MirrorLine(base + z * layer + y * row, 1, width, firstX, lastX);
  for (ptrdiff_t z = firstZ; z <= lastZ; ++z)
    for (ptrdiff_t x = 0; x < width; ++x) MirrorLine(base + z * layer + x, row, height, firstY, lastY);
  if (depth > lastZ - firstZ + 1)
    for (ptrdiff_t y = 0; y < height; ++y)
      for (ptrdiff_t x = 0; x < width; ++x) MirrorLine(base + y * row + x, layer, depth, firstZ, lastZ);
}

void XFFTFilterVolumeTool::UnwrapFourierToFPImage(const XFourierVolume& inWrappedI, XFPVolume& outImage) {
  XAssert(( inWrappedI.GetWidth() % 2 ) == 0);
  XAssert(( inWrappedI.GetHeight() % 2 ) == 0);
  const X3DRect& b = inWrappedI.GetBounds();
  const X3DRect& o = outImage.GetBounds();
  XAssert(o.IsSameSizeAs(b));
  const SInt32 halfWidth = SInt32(b.GetWidth() / 2), halfHeight = SInt32(b.GetHeight() / 2);
  for (int quadrant = 0; quadrant < 4; ++quadrant) {
    const SInt32 dx = (quadrant & 1) ? halfWidth : 0, dy = (quadrant & 2) ? halfHeight : 0;
    const X3DRect from(b.left + dx, b.top + dy, b.front, b.left + dx + halfWidth, b.top + dy + halfHeight, b.back);
    const SInt32 ox = halfWidth - dx, oy = halfHeight - dy;
    const X3DRect to(o.left + ox, o.top + oy, o.front, o.left + ox + halfWidth, o.top + oy + halfHeight, o.back);
    inWrappedI.CopyOut(outImage, from, to, nullptr);
  }
}

// ================================================================ plug-ins

void XAbsoluteValuePlugin::ManipulateImageSelf(XFPVolume& ioResult, const XVolume&) {
  XLock lock(ioResult, kLockReadWrite);
  const UInt64 count = ioResult.GetVolumeVoxels();
  float* voxel = ioResult.GetBaseVoxelPtr();
  // The vector operations take 32-bit counts.
  for (UInt64 done = 0; done < count;) {
    const UInt32 step = UInt32(std::min<UInt64>(count - done, UInt64(1) << 30));
    XVectorMathTool::VectorAbsolute(voxel + done, voxel + done, step);
    done += step;
  }
}

void XLaplacianDetailEnhancerPlugin::ManipulateImageSelf(XFPVolume& ioResult, const XVolume& inSource) {
  XFPVolume difference(inSource.GetBounds());
  difference.CopyIn(inSource, inSource.GetBounds(), inSource.GetBounds(), nullptr);
  difference -= ioResult;
  difference *= difference;
  difference -= difference.FindMin();
  difference /= difference.FindMax();
  difference *= Float32(inSource.GetPlaneRenderer().GetMaxInputValue());
  ioResult.CopyIn(difference, difference.GetBounds(), ioResult.GetBounds(), nullptr);
}

}  // namespace mirelan
