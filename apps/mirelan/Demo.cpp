// mirelan demo: a short pipeline on the bead stack that ships with the
// program (its summary, renderings, a converted and an inverted stack), then
// volumes of every pixel type made from a synthetic specimen, stored in one
// stream file, read back and compared.
#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "CliSupport.h"
#include "Render.h"
#include "core/XHandleStream.h"
#include "storage/XPNGCodec.h"
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

namespace mirelan::cli {

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

// The synthetic part; returns the number of objects that did not read back equal.
int RunGeneratedRoundTrip(const std::string& inFolder) {
  const char* folder = inFolder.c_str();

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
  return mismatches;
}

// Seconds since inStart, for the summary.
double SecondsSince(std::chrono::steady_clock::time_point inStart) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - inStart).count();
}

void Render(const XImageStack& inStack, XRenderOptions inOptions, const std::string& inPath, std::ostream& ioSummary) {
  std::vector<XChannelLevels> levels;
  std::unique_ptr<XARGB32Volume> picture = RenderStack(inStack, inOptions, &levels);
  XPNGCodec::Write(*picture, 0, XFileSpec(inPath));
  ioSummary << "  " << inPath << " (black " << levels[0].itsBlack << ", white " << levels[0].itsWhite << ")\n";
}

// Where the brightest voxel lies: the bead's centre.
X3DPoint Peak(const XVolume& inVolume) {
  XFPVolume values(inVolume.GetBounds());
  values.CopyIn(inVolume, inVolume.GetBounds(), values.GetBounds(), nullptr);
  XLock lock(values, kLockRead);
  const Float32* voxel = values.GetBaseVoxelPtr();
  const UInt64 at = UInt64(std::max_element(voxel, voxel + values.GetVolumeVoxels()) - voxel);
  const UInt64 plane = UInt64(values.GetWidth()) * values.GetHeight();
  return X3DPoint(SInt32(at % values.GetWidth()), SInt32(at % plane / values.GetWidth()), SInt32(at / plane));
}

// The bead: what it holds, three pictures, two stacks; returns 1 when a
// stack did not read back equal.
int RunBeadPipeline(const std::string& inSample, const std::string& inFolder) {
  std::ostringstream summary;
  auto start = std::chrono::steady_clock::now();
  XImageStack bead = ReadStack(inSample);
  const XVolume& first = bead.GetFirstVolume();
  Float64 low = 0, high = 0;
  DataRange(bead, low, high);
  summary << "sample:      " << inSample << "\n"
          << "size:        " << first.GetWidth() << " x " << first.GetHeight() << " x " << first.GetDepth()
          << " voxels, " << XPixelTypeName(XPixelTypeOf(first)) << ", " << bead.GetChannelCount() << " channel(s), "
          << bead.GetTimepointCount() << " timepoint(s)\n"
          << "values:      " << low << " to " << high << "\n"
          << "read in:     " << SecondsSince(start) << " s\n";

  // The rings around the bead are faint: a gamma below 1 lifts them.
  const X3DPoint centre = Peak(first);
  summary << "brightest:   (" << centre.x << ", " << centre.y << ", " << centre.z << ")\nrenderings:\n";
  XRenderOptions mip;
  mip.itsMaximumProjection = true;
  mip.itsGamma = 0.5;
  Render(bead, mip, inFolder + "/bead-mip.png", summary);
  XRenderOptions plane;
  plane.itsPlane = UInt32(centre.z);
  plane.itsGamma = 0.5;
  Render(bead, plane, inFolder + "/bead-plane.png", summary);
  // A side view through the bead's centre, x across and z down: the light
  // cone above and below the focus.
  XImageStack side(1, 1);
  side.SetVolume(1, 1, std::unique_ptr<XVolume>(first.XZPlaneToVolume(centre.y, false)));
  XRenderOptions sideView;
  sideView.itsGamma = 0.5;
  Render(side, sideView, inFolder + "/bead-side.png", summary);

  start = std::chrono::steady_clock::now();
  const std::string streamPath = inFolder + "/bead.mis", eightBitPath = inFolder + "/bead-8bit.tif";
  WriteStack(bead, streamPath);
  XImageStack back = ReadStack(streamPath);
  const bool equal = back.GetFirstVolume() == first;
  WriteStack(RescaledStack(bead, XPixelType::kGrey8), eightBitPath);
  XImageStack inverted = ReadStack(inSample);
  XInvertVolumeTool invert;
  ApplyToEveryVolume(inverted, invert, "inverting");
  WriteStack(inverted, inFolder + "/bead-inverted.tif");
  summary << "stacks:\n  " << streamPath << " (read back " << (equal ? "equal" : "DIFFERENT") << ")\n  "
          << eightBitPath << " (range mapped onto 0 to 255)\n  " << inFolder << "/bead-inverted.tif\n"
          << "written in:  " << SecondsSince(start) << " s\n";
  std::ofstream(inFolder + "/summary.txt") << summary.str();
  std::fputs(summary.str().c_str(), stdout);
  return equal ? 0 : 1;
}

int RunDemo(const std::string& inFolder, const std::string& inSample) {
  ::mkdir(inFolder.c_str(), 0755);
  std::printf("== the bead stack\n");
  int failures = RunBeadPipeline(inSample, inFolder);
  std::printf("\n== volumes of every pixel type\n");
  failures += RunGeneratedRoundTrip(inFolder);
  return failures;
}

}  // namespace

void AddDemoCommand(CLI::App& ioApp) {
  CLI::App* command = ioApp.add_subcommand(
      "demo", "Run a short pipeline on the bead stack that ships with mirelan and a round trip of every pixel "
              "type, writing pictures, stacks and a summary to a folder.");
  auto folder = std::make_shared<std::string>("out");
  auto sample = std::make_shared<std::string>("data/samples/bead_psf_z61_u16.tif");
  command->add_option("folder", *folder, "where the results go")->capture_default_str();
  command->add_option("--sample", *sample, "the stack to work on")->capture_default_str();
  command->callback([folder, sample] {
    if (RunDemo(*folder, *sample)) throw XException(kErrGeneral, "the demo found differences");
  });
}

}  // namespace mirelan::cli
