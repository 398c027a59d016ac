// Regions of interest: a polygon of 10,000 vertices filled into a 4096 x 4096
// region (bench/peers/roi_peers.py times OpenCV and scikit-image on the same
// polygon), an ellipse ROI of 2048 x 2048 x 64, and a collection of 10,000
// ROIs: a hit test of one voxel against all of them, writing and reading.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstring>

#include "core/XStream.h"
#include "data/XCuboidROI.h"
#include "data/XEllipseROI.h"
#include "data/XIrregularROI.h"
#include "data/XROICollection.h"
#include "data/XRegisterDataClasses.h"
#include "volume/XMaskVolume.h"
#include "volume/XRegisterVolumeClasses.h"

using namespace mirelan;

namespace {

constexpr SInt32 kCanvas = 4096;
constexpr int kVertices = 10000;

// A star of spikes around the centre: a slow and a fast wave on the radius.
// roi_peers.py makes the same points.
XVector<XPoint> StarPolygon() {
  XVector<XPoint> points;
  const double pi = 3.14159265358979323846;
  for (int i = 0; i < kVertices; ++i) {
    const double t = 2.0 * pi * i / kVertices;
    const double r = 2000.0 * (0.55 + 0.25 * std::sin(13.0 * t) + 0.2 * std::sin(997.0 * t));
    points.emplace_back(SInt32(std::floor(2048.0 + r * std::cos(t) + 0.5)),
                        SInt32(std::floor(2048.0 + r * std::sin(t) + 0.5)));
  }
  return points;
}

void BM_PolygonRegion(benchmark::State& state) {
  const XVector<XPoint> points = StarPolygon();
  const XRect canvas(0, 0, kCanvas, kCanvas);
  for (auto _ : state) {
    X3DRegion region = XROI::Create2DRegionFromPoints(points, canvas);
    benchmark::DoNotOptimize(region);
  }
  state.SetItemsProcessed(state.iterations() * SInt64(kCanvas) * kCanvas);
}
BENCHMARK(BM_PolygonRegion)->Unit(benchmark::kMillisecond);

// What the polygon region costs besides the fill: a cleared mask of the
// canvas and a region made from it (the crop scan), here of a filled box.
void BM_PolygonRegionBaseline(benchmark::State& state) {
  for (auto _ : state) {
    XMaskVolume mask(X3DRect(0, 0, 0, kCanvas, kCanvas, 1));
    mask.Clear();
    {
      XLock lock(mask, kLockReadWrite);
      for (SInt32 y = 100; y < 4000; ++y) std::memset(mask.GetVoxelPtr(100, y, 0), 255, 3000);
    }
    X3DRegion region(mask);
    benchmark::DoNotOptimize(region);
  }
  state.SetItemsProcessed(state.iterations() * SInt64(kCanvas) * kCanvas);
}
BENCHMARK(BM_PolygonRegionBaseline)->Unit(benchmark::kMillisecond);

void BM_EllipseROI(benchmark::State& state) {
  for (auto _ : state) {
    XEllipseROI ellipse(X3DRect(0, 0, 0, 2048, 2048, 64));
    benchmark::DoNotOptimize(ellipse);
  }
  state.SetItemsProcessed(state.iterations() * SInt64(2048) * 2048 * 64);
}
BENCHMARK(BM_EllipseROI)->Unit(benchmark::kMillisecond);

// The floor of the ellipse: a new mask of the same box written once.
void BM_EllipseROIBaseline(benchmark::State& state) {
  for (auto _ : state) {
    XMaskVolume mask(X3DRect(0, 0, 0, 2048, 2048, 64));
    mask.Fill(255);
    benchmark::DoNotOptimize(mask);
  }
  state.SetItemsProcessed(state.iterations() * SInt64(2048) * 2048 * 64);
}
BENCHMARK(BM_EllipseROIBaseline)->Unit(benchmark::kMillisecond);

// 10,000 small ROIs over a 2048 x 2048 x 16 image: a third cuboids, a third
// ellipses, a third irregular triangles.
const XROICollection& Collection() {
  static const XROICollection sROIs = [] {
    XROICollection rois;
    for (int i = 0; i < 10000; ++i) {
      const SInt32 x = (i * 193) % 2000, y = (i * 389) % 2000, z = i % 12;
      const X3DRect box(x, y, z, x + 8 + i % 40, y + 8 + i % 30, z + 1 + i % 4);
      if (i % 3 == 0)
        rois.AttachROI(new XCuboidROI(box));
      else if (i % 3 == 1)
        rois.AttachROI(new XEllipseROI(box));
      else
        rois.AttachROI(new XIrregularROI({XPoint(x, y), XPoint(x + 20, y), XPoint(x, y + 20)}, kXYPlane, box));
    }
    return rois;
  }();
  return sROIs;
}

void BM_CollectionHitTest(benchmark::State& state) {
  const XROICollection& rois = Collection();
  SInt64 hits = 0;
  UInt32 probe = 0;
  for (auto _ : state) {
    probe = probe * 1664525u + 1013904223u;
    const X3DPoint voxel(SInt32(probe % 2048), SInt32((probe >> 11) % 2048), SInt32((probe >> 22) % 16));
    hits += SInt64(rois.GetROIsContaining(voxel).size());
  }
  benchmark::DoNotOptimize(hits);
  state.SetItemsProcessed(state.iterations() * SInt64(rois.GetROICount()));
}
BENCHMARK(BM_CollectionHitTest)->Unit(benchmark::kMicrosecond);

void BM_CollectionWrite(benchmark::State& state) {
  const XROICollection& rois = Collection();
  UInt64 bytes = 0;
  for (auto _ : state) {
    XMemoryStream stream;
    stream.WriteObject(rois);
    bytes = stream.GetExtent();
  }
  state.counters["stored_bytes"] = double(bytes);
  state.SetItemsProcessed(state.iterations() * SInt64(rois.GetROICount()));
}
BENCHMARK(BM_CollectionWrite)->Unit(benchmark::kMillisecond);

void BM_CollectionRead(benchmark::State& state) {
  XRegisterVolumeClasses();
  XRegisterDataClasses();
  const XROICollection& rois = Collection();
  XMemoryStream written;
  written.WriteObject(rois);
  const std::vector<UInt8> bytes = written.GetBytes();
  for (auto _ : state) {
    XMemoryStream stream(bytes.data(), bytes.size());
    std::unique_ptr<XStorable> copy(stream.ReadObject());
    benchmark::DoNotOptimize(copy);
  }
  state.SetItemsProcessed(state.iterations() * SInt64(rois.GetROICount()));
}
BENCHMARK(BM_CollectionRead)->Unit(benchmark::kMillisecond);

}  // namespace
