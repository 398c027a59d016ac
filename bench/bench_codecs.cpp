// Storage codecs, wall time:
// - lazy reading: opening a stored file of 2,000 planes of 1024 x 1024 16-bit
//   grey (the counters give the memory the open took, which must not grow
//   with the pixels), and the first lock of one plane;
// - JPEG: a 1024 x 1024 x 64 8-bit grey volume coded and decoded plane by
//   plane (bench/peers/codec_peers.py times OpenCV on the same planes);
// - PICT: decoding the largest real files (when ../shared/data is there) and
//   a 4096 x 4096 ARGB plane written and read.
// Items are voxels.
#include <benchmark/benchmark.h>

#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "core/XHandleStream.h"
#include "core/XMemoryHandle.h"
#include "geometry/XRect.h"
#include "storage/XJPEGStream.h"
#include "storage/XLazyReadFileStream.h"
#include "storage/XPICTDecoder.h"
#include "storage/XPICTEncoder.h"
#include "storage/XRegisterImagingClasses.h"
#include "volume/XColourVolumes.h"
#include "volume/XGrey16Volume.h"
#include "volume/XGrey8Volume.h"

using namespace mirelan;

namespace {

constexpr UInt32 kPlanes = 2000;
constexpr UInt32 kSide = 1024;
constexpr UInt32 kJPEGPlanes = 64;

void Register() {
  static const bool sDone = [] {
    XRegisterImagingClasses();
    return true;
  }();
  (void)sDone;
}

// Resident bytes of the process now.
UInt64 ResidentBytes() {
  std::ifstream statm("/proc/self/statm");
  UInt64 pages = 0, resident = 0;
  statm >> pages >> resident;
  return resident * UInt64(::sysconf(_SC_PAGESIZE));
}

// ---------------------------------------------------------------- lazy reading

// The file of 2,000 planes, each stored as a 16-bit volume object. Its voxel
// data are holes: the file takes 4 GiB of addresses and little disk, and
// reads as zeros.
class XPlaneFile {
 public:
  XPlaneFile() : itsSpec("/tmp/mirelan_bench_lazy_2000_planes_" + std::to_string(::getpid()) + ".mis") {
    Register();
    XGrey16Volume plane(kSide, kSide, 1);
    plane.Clear();
    XMemoryStream form(kLittleEndian);
    form.WriteObject(plane);
    const std::vector<UInt8> bytes = form.GetBytes();
    // The block's data start behind its size (8 bytes) and compression (4).
    const UInt64 dataBytes = plane.GetDataSize();
    UInt8 marker[12] = {};
    for (int i = 0; i < 8; ++i) marker[i] = UInt8(dataBytes >> (8 * i));
    const UInt64 data = UInt64(std::search(bytes.begin(), bytes.end(), marker, marker + 12) - bytes.begin()) + 12;
    XFile file(itsSpec, kCreateReadWrite);
    {
      XMemoryStream head(kLittleEndian);
      head.WriteStreamInfo();
      file.WriteAt(0, head.GetBuffer(), head.GetExtent());
    }
    UInt64 at = XStream::kStreamInfoBytes;
    for (UInt32 i = 0; i < kPlanes; ++i) {
      file.WriteAt(at, bytes.data(), data);
      at += data + dataBytes;
      file.WriteAt(at, bytes.data() + data + dataBytes, bytes.size() - data - dataBytes);
      at += bytes.size() - data - dataBytes;
    }
  }
  ~XPlaneFile() { std::remove(itsSpec.GetPath().c_str()); }
  const XFileSpec& GetSpec() const { return itsSpec; }

 private:
  XFileSpec itsSpec;
};

const XPlaneFile& PlaneFile() {
  static const XPlaneFile sFile;
  return sFile;
}

std::vector<std::unique_ptr<XVolume>> OpenLazily(const XFileSpec& inSpec) {
  XFile file(inSpec, kReadOnly);
  XLazyReadFileStream stream(file, kReadOnly, 4096);
  stream.ReadStreamInfo();
  std::vector<std::unique_ptr<XVolume>> planes;
  planes.reserve(kPlanes);
  for (UInt32 i = 0; i < kPlanes; ++i) planes.emplace_back(dynamic_cast<XVolume*>(stream.ReadObject()));
  return planes;
}

void BM_LazyOpen2000Planes(benchmark::State& state) {
  const XFileSpec file = PlaneFile().GetSpec();
  UInt64 allocated = 0, resident = 0, heap = 0;
  for (auto _ : state) {
    const UInt64 allocatedBefore = XMemoryHandle::GetAllocatedBytes(), residentBefore = ResidentBytes();
    const UInt64 heapBefore = ::mallinfo2().uordblks;
    std::vector<std::unique_ptr<XVolume>> planes = OpenLazily(file);
    allocated = std::max(allocated, XMemoryHandle::GetAllocatedBytes() - allocatedBefore);
    heap = std::max<UInt64>(heap, ::mallinfo2().uordblks - heapBefore);
    resident = std::max<UInt64>(resident, std::max<SInt64>(0, SInt64(ResidentBytes()) - SInt64(residentBefore)));
    benchmark::DoNotOptimize(planes.data());
    state.PauseTiming();
    planes.clear();
    state.ResumeTiming();
  }
  // The pixels are 4 GiB; what the open holds is the headers.
  state.counters["block_bytes_held"] = Float64(allocated);
  state.counters["resident_growth_bytes"] = Float64(resident);
  state.counters["heap_bytes_per_plane"] = Float64(heap) / kPlanes;
  state.counters["pixel_bytes"] = Float64(UInt64(kPlanes) * kSide * kSide * 2);
  state.SetItemsProcessed(state.iterations() * kPlanes);
  state.SetLabel("items are planes");
}
BENCHMARK(BM_LazyOpen2000Planes)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_LazyFirstLockOfOnePlane(benchmark::State& state) {
  const XFileSpec file = PlaneFile().GetSpec();
  for (auto _ : state) {
    state.PauseTiming();
    std::vector<std::unique_ptr<XVolume>> planes = OpenLazily(file);
    state.ResumeTiming();
    {
      XLock lock(*planes[kPlanes / 2], kLockRead);
      benchmark::DoNotOptimize(dynamic_cast<XGrey16Volume&>(*planes[kPlanes / 2]).GetVoxel(5, 5, 0));
    }
    state.PauseTiming();
    planes.clear();
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * kSide * kSide);
}
BENCHMARK(BM_LazyFirstLockOfOnePlane)->Unit(benchmark::kMillisecond)->UseRealTime();

// ---------------------------------------------------------------- JPEG

// The planes of the JPEG volume; codec_peers.py makes the same.
UInt8 JPEGVoxel(UInt32 inX, UInt32 inY, UInt32 inZ) {
  const SInt32 smooth = 128 + SInt32((inX * 3 + inY * 2 + inZ * 17) % 96) - 48;
  const SInt32 texture = SInt32((inX * 7919 + inY * 104729 + inZ * 31) % 13) - 6;
  return UInt8(std::min(255, std::max(0, smooth + texture)));
}

const std::vector<std::unique_ptr<XGrey8Volume>>& JPEGPlanes() {
  static const std::vector<std::unique_ptr<XGrey8Volume>> sPlanes = [] {
    Register();
    std::vector<std::unique_ptr<XGrey8Volume>> planes;
    for (UInt32 z = 0; z < kJPEGPlanes; ++z) {
      planes.emplace_back(new XGrey8Volume(kSide, kSide, 1));
      XLock lock(*planes.back(), kLockWrite);
      UInt8* voxel = planes.back()->GetBaseVoxelPtr();
      for (UInt32 y = 0; y < kSide; ++y)
        for (UInt32 x = 0; x < kSide; ++x) voxel[y * kSide + x] = JPEGVoxel(x, y, z);
    }
    return planes;
  }();
  return sPlanes;
}

void ReportJPEG(benchmark::State& ioState) {
  ioState.SetItemsProcessed(ioState.iterations() * UInt64(kSide) * kSide * kJPEGPlanes);
}

void BM_JPEGEncode1024x1024x64Grey8(benchmark::State& state) {
  const auto& planes = JPEGPlanes();
  UInt64 bytes = 0;
  XMemoryStream stream;
  // Once untimed, so that the stream's buffer has grown before the timing.
  for (const auto& plane : planes) XJPEGStream(stream).WriteVolume(*plane, 75);
  for (auto _ : state) {
    stream.SeekTo(0);
    for (const auto& plane : planes) XJPEGStream(stream).WriteVolume(*plane, 75);
    bytes = stream.GetPosition();
  }
  state.counters["coded_bytes"] = Float64(bytes);
  ReportJPEG(state);
}
BENCHMARK(BM_JPEGEncode1024x1024x64Grey8)->Unit(benchmark::kMillisecond)->UseRealTime();

// The planes as stored lossy grey volumes, one after another.
const std::vector<UInt8>& LossyPlanes() {
  static const std::vector<UInt8> sBytes = [] {
    XMemoryStream stream;
    for (const auto& plane : JPEGPlanes()) plane->WriteStreamLossyCompressed(stream, 75);
    return stream.GetBytes();
  }();
  return sBytes;
}

void BM_JPEGDecodeLossyGrey1024x1024x64(benchmark::State& state) {
  const std::vector<UInt8>& bytes = LossyPlanes();
  for (auto _ : state) {
    XMemoryStream stream(bytes.data(), bytes.size());
    for (UInt32 z = 0; z < kJPEGPlanes; ++z) {
      std::unique_ptr<XStorable> plane(stream.ReadObject());
      benchmark::DoNotOptimize(plane.get());
    }
  }
  ReportJPEG(state);
}
BENCHMARK(BM_JPEGDecodeLossyGrey1024x1024x64)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_JPEGDecodeToARGB1024x1024x64(benchmark::State& state) {
  XMemoryStream coded;
  std::vector<UInt64> starts;
  for (const auto& plane : JPEGPlanes()) {
    starts.push_back(coded.GetPosition());
    XJPEGStream(coded).WriteVolume(*plane, 75);
  }
  XARGB32Volume target(kSide, kSide, 1);
  for (auto _ : state) {
    for (UInt64 start : starts) {
      coded.SeekTo(start);
      XJPEGStream(coded).ReadToVolume(target);
    }
  }
  ReportJPEG(state);
}
BENCHMARK(BM_JPEGDecodeToARGB1024x1024x64)->Unit(benchmark::kMillisecond)->UseRealTime();

// ---------------------------------------------------------------- PICT

std::unique_ptr<XVolume> VolumeForDepth(UInt32 inDepth, const XRect& inRect) {
  const X3DRect box(inRect, 0, 1);
  if (inDepth == 8) return std::unique_ptr<XVolume>(new XGrey8Volume(box));
  return std::unique_ptr<XVolume>(new XARGB32Volume(box));
}

// Times ReadInfo and ReadToVolume of the picture at inStart; the stream and
// the volume are made once, as a host reading many pictures would.
void BenchDecode(benchmark::State& ioState, const std::vector<UInt8>& inBytes, UInt64 inStart) {
  XMemoryStream stream(inBytes.data(), inBytes.size(), kBigEndian);
  const UInt32 length = UInt32(inBytes.size() - inStart);
  XRect rect;
  UInt32 depth = 0;
  stream.SeekTo(inStart);
  XPICTDecoder(stream, length).ReadInfo(rect, depth);
  std::unique_ptr<XVolume> volume = VolumeForDepth(depth, rect);
  for (auto _ : ioState) {
    stream.SeekTo(inStart);
    XPICTDecoder decoder(stream, length);
    decoder.ReadInfo(rect, depth);
    stream.SeekTo(inStart);
    decoder.ReadToVolume(*volume);
    benchmark::DoNotOptimize(volume.get());
  }
}

// The real files: the largest (whose first band is all the decoder reads)
// and the largest that decodes whole.
// The shared data folder beside the repository, or MIRELAN_SHARED_DATA.
std::string SharedData(const char* inName) {
  if (const char* given = std::getenv("MIRELAN_SHARED_DATA")) return std::string(given) + "/" + inName;
  std::string here = __FILE__;
  here.erase(here.find_last_of('/'));
  return here + "/../../shared/data/" + inName;
}

void BM_PICTDecodeRealFile(benchmark::State& state, const char* inName) {
  const std::string path = SharedData(inName);
  std::ifstream file(path, std::ios::binary);
  const std::vector<UInt8> bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  if (bytes.size() <= 512) return state.SkipWithError("no shared data");
  BenchDecode(state, bytes, 512);
  state.SetBytesProcessed(state.iterations() * SInt64(bytes.size()));
}
BENCHMARK_CAPTURE(BM_PICTDecodeRealFile, largest_file_first_band, "twelvemonkeys_pict_1.pict")
    ->Unit(benchmark::kMicrosecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(BM_PICTDecodeRealFile, largest_whole_image, "twelvemonkeys_pict_test.pct")
    ->Unit(benchmark::kMicrosecond)
    ->UseRealTime();

const XARGB32Volume& BigPlane() {
  static const std::unique_ptr<XARGB32Volume> sPlane = [] {
    Register();
    std::unique_ptr<XARGB32Volume> plane(new XARGB32Volume(4096, 4096, 1));
    XLock lock(*plane, kLockWrite);
    XARGB32Colour* voxel = plane->GetBaseVoxelPtr();
    for (UInt32 y = 0; y < 4096; ++y)
      for (UInt32 x = 0; x < 4096; ++x)
        voxel[UInt64(y) * 4096 + x] = XARGB32Colour(255, JPEGVoxel(x, y, 0), JPEGVoxel(x, y, 1), UInt8(x >> 4));
    return plane;
  }();
  return *sPlane;
}

void BM_PICTEncode4096ARGB32(benchmark::State& state) {
  UInt64 bytes = 0;
  XMemoryStream stream(kBigEndian);
  XPICTEncoder(stream).WriteVolume(BigPlane());  // untimed: the buffer grows once
  for (auto _ : state) {
    stream.SeekTo(0);  // the buffer stays: no growing in the loop
    bytes = XPICTEncoder(stream).WriteVolume(BigPlane());
  }
  state.counters["picture_bytes"] = Float64(bytes);
  state.SetItemsProcessed(state.iterations() * 4096 * 4096);
}
BENCHMARK(BM_PICTEncode4096ARGB32)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_PICTDecode4096ARGB32(benchmark::State& state) {
  XMemoryStream stream(kBigEndian);
  XPICTEncoder(stream).WriteVolume(BigPlane());
  BenchDecode(state, stream.GetBytes(), 0);
  state.SetItemsProcessed(state.iterations() * 4096 * 4096);
}
BENCHMARK(BM_PICTDecode4096ARGB32)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
