// The demo command: volumes of every pixel type made from one synthetic
// specimen, an inverted copy and a region of its bright blobs, stored in one
// stream file, read back and compared.
#include <cmath>
#include <cstdio>
#include <memory>
#include <sys/stat.h>
#include <vector>

#include "Commands.h"
#include "core/XHandleStream.h"
#include "tools/XInvertVolumeTool.h"
#include "volume/X3DRegion.h"
#include "volume/XARGB32Volume.h"
#include "volume/XBGRA32Volume.h"
#include "volume/XFPVolume.h"
#include "volume/XGrey16Volume.h"
#include "volume/XGrey32Volume.h"
#include "volume/XGrey8Volume.h"
#include "volume/XMaskVolume.h"
#include "volume/XRGB48Volume.h"
#include "storage/XRegisterImagingClasses.h"

using namespace mirelan;

namespace {

// A stack of 8-bit planes with a few bright blobs on a dim gradient, like a
// small confocal stack of labelled vesicles.
std::unique_ptr<XGrey8Volume> MakeSpecimen() {
  auto volume = std::make_unique<XGrey8Volume>(X3DRect(-32, -32, 0, 96, 96, 12));
  volume->SetXCalibration(0.2);
  volume->SetYCalibration(0.2);
  volume->SetZCalibration(0.5);
  const X3DRect& b = volume->GetBounds();
  const double blobs[][3] = {{0, 0, 5}, {40, 20, 7}, {-10, 50, 3}};
  XLock lock(*volume, kLockWrite);
  for (SInt32 z = b.front; z < b.back; ++z)
    for (SInt32 y = b.top; y < b.bottom; ++y)
      for (SInt32 x = b.left; x < b.right; ++x) {
        double value = 10.0 + (x - b.left) * 0.3;
        for (const auto& c : blobs) {
          double d2 = (x - c[0]) * (x - c[0]) + (y - c[1]) * (y - c[1]) + 4.0 * (z - c[2]) * (z - c[2]);
          value += 220.0 * std::exp(-d2 / 60.0);
        }
        volume->SetVoxel(x, y, z, static_cast<UInt8>(std::min(255.0, value)));
      }
  return volume;
}

template <class V>
std::unique_ptr<XVolume> ConvertTo(const XVolume& inSource) {
  auto dest = std::make_unique<V>(inSource.GetBounds());
  dest->CopyScalingFrom(inSource);
  dest->CopyIn(inSource, inSource.GetBounds(), inSource.GetBounds(), nullptr);
  return dest;
}

// The bright blobs as a region: threshold a mask copy of the stack, and
// measure what it holds.
X3DRegion FindBlobs(const XGrey8Volume& inStack) {
  XMaskVolume mask(inStack.GetBounds());
  mask.CopyIn(inStack, inStack.GetBounds(), inStack.GetBounds(), nullptr);
  mask.Threshold(127);
  X3DRegion blobs(mask);
  X3DPointF centre;
  blobs.CalculateCentroid(centre);
  X3DRegion rims(blobs);
  rims.Outline(1);
  std::printf("blobs: %u voxels in a box of %ux%ux%u, centroid (%.1f, %.1f, %.1f), rims %u voxels\n",
              blobs.GetVolume(), blobs.GetBounds().GetWidth(), blobs.GetBounds().GetHeight(),
              blobs.GetBounds().GetDepth(), centre.x, centre.y, centre.z, rims.GetVolume());
  return blobs;
}

}  // namespace

int RunDemo(int argc, char** argv) {
  const char* folder = argc > 0 ? argv[0] : "out";
  ::mkdir(folder, 0755);
  XRegisterImagingClasses();

  std::unique_ptr<XGrey8Volume> specimen = MakeSpecimen();
  X3DRegion blobs = FindBlobs(*specimen);
  std::unique_ptr<XVolume> inverted(XInvertVolumeTool().ApplyTool(*specimen));
  std::vector<std::unique_ptr<XVolume>> volumes;
  volumes.push_back(ConvertTo<XMaskVolume>(*specimen));
  volumes.push_back(ConvertTo<XGrey16Volume>(*specimen));
  volumes.push_back(ConvertTo<XFPVolume>(*specimen));
  volumes.push_back(ConvertTo<XARGB32Volume>(*specimen));
  volumes.push_back(ConvertTo<XBGRA32Volume>(*specimen));
  volumes.push_back(ConvertTo<XRGB48Volume>(*specimen));
  volumes.push_back(std::move(inverted));
  volumes.insert(volumes.begin(), std::move(specimen));

  // Big-endian on purpose: the file reads back the same on any machine.
  std::string path = std::string(folder) + "/demo-volumes.mis";
  {
    XFileStream out(XFileSpec(path), kCreateReadWrite, XFileStream::kDefaultBufferBytes, kBigEndian);
    out.WriteStreamInfo();
    out.Write32(static_cast<UInt32>(volumes.size()));
    for (const auto& v : volumes) out.WriteObject(*v);
    out.WriteObject(blobs);
    out.Flush();
  }
  std::printf("wrote %zu volumes of %ux%ux%u voxels to %s\n", volumes.size(), volumes[0]->GetWidth(),
              volumes[0]->GetHeight(), volumes[0]->GetDepth(), path.c_str());

  XFileStream in(XFileSpec(path), kReadOnly);
  in.ReadStreamInfo();
  UInt32 count = in.Read32();
  std::printf("%-26s %12s %10s %8s\n", "class", "bytes", "CRC-32", "equal");
  int mismatches = 0;
  for (UInt32 i = 0; i < count && i < volumes.size(); ++i) {
    std::unique_ptr<XVolume> back = in.ReadObjectAs<XVolume>();
    bool equal = *back == *volumes[i] && back->GetBounds().IsEqual(volumes[i]->GetBounds());
    mismatches += equal ? 0 : 1;
    std::printf("%-26s %12llu   %08x %8s\n", back->GetDescription().c_str(),
                static_cast<unsigned long long>(back->GetMemoryUsage()), back->CalculateCRC(),
                equal ? "yes" : "NO");
  }
  std::unique_ptr<X3DRegion> blobsBack = in.ReadObjectAs<X3DRegion>();
  bool regionEqual = blobsBack && blobsBack->IsEqual(blobs);
  mismatches += regionEqual ? 0 : 1;
  std::printf("%-26s %12u %10s %8s\n", "region of the blobs", blobsBack ? blobsBack->GetVolume() : 0u, "",
              regionEqual ? "yes" : "NO");
  std::printf("file size %llu bytes; %s\n", static_cast<unsigned long long>(in.GetExtent()),
              mismatches ? "MISMATCHES FOUND" : "everything read back equal to what was written");
  return mismatches ? 1 : 0;
}
