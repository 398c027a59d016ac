// Rendering a 1024 x 1024 plane into 32-bit words, one thread; items are
// pixels. Targets: Grey8 normal, Grey16 with white 4095 and ARGB32 normal on
// the same-size path at least 1 Gpixel/s; the table and linear shaders at
// least 400 Mpixel/s; the general float shader at least 100 Mpixel/s. A plain
// copy of the target's bytes gives the machine's bandwidth for comparison.
#include <benchmark/benchmark.h>

#include <cstring>
#include <functional>
#include <memory>
#include <vector>

#include "core/XLockable.h"
#include "rendering/XARGB32ImageRenderer.h"
#include "rendering/XFPImageRenderer.h"
#include "rendering/XGrey16ImageRenderer.h"
#include "rendering/XGrey8ImageRenderer.h"
#include "rendering/XRGB48ImageRenderer.h"
#include "volume/XColourVolumes.h"
#include "volume/XFPVolume.h"
#include "volume/XGrey16Volume.h"
#include "volume/XGrey8Volume.h"

using namespace mirelan;

namespace {

constexpr UInt32 kSide = 1024;
constexpr int64_t kPixels = int64_t(kSide) * kSide;

UInt32 Next(UInt32& ioState) { return ioState = ioState * 1664525u + 1013904223u; }

template <class V>
std::unique_ptr<V> MakePlane(UInt32 inSide, const std::function<typename V::Voxel(UInt32)>& inValue) {
  auto volume = std::make_unique<V>(inSide, inSide, 1);
  XLock lock(*volume, kLockWrite);
  typename V::Voxel* p = volume->GetBaseVoxelPtr();
  UInt32 state = 1;
  for (UInt64 i = 0; i < UInt64(inSide) * inSide; ++i) p[i] = inValue(Next(state));
  return volume;
}

// Renders the plane into a same-size target (or one twice as large) in the
// format given.
void Render(benchmark::State& state, const XImageRenderer& inRenderer, const XVolume& inSource, bool inBGRA,
            UInt32 inTargetSide = kSide) {
  XARGB32Volume argb(inTargetSide, inTargetSide, 1);
  XBGRA32Volume bgra(inTargetSide, inTargetSide, 1);
  for (auto _ : state) {
    if (inBGRA)
      inRenderer.RenderToBGRA32Volume(inSource, bgra, inSource.GetBounds(), bgra.GetBounds(), nullptr);
    else
      inRenderer.RenderToARGB32Volume(inSource, argb, inSource.GetBounds(), argb.GetBounds(), nullptr);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * int64_t(inTargetSide) * inTargetSide);
}

void BM_CopyTargetBytes(benchmark::State& state) {
  std::vector<UInt32> from(kPixels, 7), to(kPixels);
  for (auto _ : state) {
    std::memcpy(to.data(), from.data(), kPixels * sizeof(UInt32));
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * kPixels);
}
BENCHMARK(BM_CopyTargetBytes)->Unit(benchmark::kMicrosecond);

// ------------------------------------------------------------------ grey 8

void BM_Grey8Normal(benchmark::State& state) {
  auto plane = MakePlane<XGrey8Volume>(kSide, [](UInt32 r) { return UInt8(r >> 24); });
  Render(state, XGrey8ImageRenderer(), *plane, state.range(0));
}
BENCHMARK(BM_Grey8Normal)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

void BM_Grey8Linear(benchmark::State& state) {
  auto plane = MakePlane<XGrey8Volume>(kSide, [](UInt32 r) { return UInt8(r >> 24); });
  XGrey8ImageRenderer renderer;
  renderer.SetBlack(20);
  renderer.SetWhite(220);
  Render(state, renderer, *plane, state.range(0));
}
BENCHMARK(BM_Grey8Linear)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

void BM_Grey8Table(benchmark::State& state) {
  auto plane = MakePlane<XGrey8Volume>(kSide, [](UInt32 r) { return UInt8(r >> 24); });
  XGrey8ImageRenderer renderer;
  renderer.SetGamma(0.7);
  renderer.SetWhiteColour(XARGB32Colour(255, 255, 128, 0));
  Render(state, renderer, *plane, state.range(0));
}
BENCHMARK(BM_Grey8Table)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

void BM_Grey8Rainbow(benchmark::State& state) {
  auto plane = MakePlane<XGrey8Volume>(kSide, [](UInt32 r) { return UInt8(r >> 24); });
  XGrey8ImageRenderer renderer;
  renderer.SetRendererType(kRendererRainbow);
  Render(state, renderer, *plane, false);
}
BENCHMARK(BM_Grey8Rainbow)->Unit(benchmark::kMicrosecond);

// A 512 x 512 plane drawn at twice its size: the scaling path.
void BM_Grey8NormalZoom(benchmark::State& state) {
  auto plane = MakePlane<XGrey8Volume>(kSide / 2, [](UInt32 r) { return UInt8(r >> 24); });
  Render(state, XGrey8ImageRenderer(), *plane, false, kSide);
}
BENCHMARK(BM_Grey8NormalZoom)->Unit(benchmark::kMicrosecond);

// ----------------------------------------------------------------- grey 16

void BM_Grey16White4095(benchmark::State& state) {
  auto plane = MakePlane<XGrey16Volume>(kSide, [](UInt32 r) { return UInt16(r >> 20); });
  XGrey16ImageRenderer renderer;
  renderer.SetWhite(4095);
  Render(state, renderer, *plane, state.range(0));
}
BENCHMARK(BM_Grey16White4095)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

void BM_Grey16Linear(benchmark::State& state) {
  auto plane = MakePlane<XGrey16Volume>(kSide, [](UInt32 r) { return UInt16(r >> 16); });
  XGrey16ImageRenderer renderer;
  renderer.SetBlack(100);
  renderer.SetWhite(40000);
  Render(state, renderer, *plane, false);
}
BENCHMARK(BM_Grey16Linear)->Unit(benchmark::kMicrosecond);

void BM_Grey16Table(benchmark::State& state) {
  auto plane = MakePlane<XGrey16Volume>(kSide, [](UInt32 r) { return UInt16(r >> 16); });
  XGrey16ImageRenderer renderer;
  renderer.SetWhite(40000);
  renderer.SetGamma(0.7);
  Render(state, renderer, *plane, false);
}
BENCHMARK(BM_Grey16Table)->Unit(benchmark::kMicrosecond);

// ------------------------------------------------------------------ float

void BM_FloatNormal(benchmark::State& state) {
  auto plane = MakePlane<XFPVolume>(kSide, [](UInt32 r) { return Float32(r >> 24); });
  XFPImageRenderer renderer;
  renderer.SetWhite(255);
  Render(state, renderer, *plane, false);
}
BENCHMARK(BM_FloatNormal)->Unit(benchmark::kMicrosecond);

void BM_FloatTable256(benchmark::State& state) {
  auto plane = MakePlane<XFPVolume>(kSide, [](UInt32 r) { return Float32(r >> 20); });
  XFPImageRenderer renderer;
  renderer.SetWhite(4095);
  Render(state, renderer, *plane, false);
}
BENCHMARK(BM_FloatTable256)->Unit(benchmark::kMicrosecond);

// Arg: 0 a gamma of 1, 1 a gamma of 0.7.
void BM_FloatGeneral(benchmark::State& state) {
  auto plane = MakePlane<XFPVolume>(kSide, [](UInt32 r) { return Float32(r) / 4294967296.0f; });
  XFPImageRenderer renderer;
  renderer.SetBlack(0.2);
  renderer.SetWhite(0.8);
  if (state.range(0)) renderer.SetGamma(0.7);
  Render(state, renderer, *plane, false);
}
BENCHMARK(BM_FloatGeneral)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

// ----------------------------------------------------------------- colour

void BM_ARGB32Normal(benchmark::State& state) {
  auto plane = MakePlane<XARGB32Volume>(kSide, [](UInt32 r) { return XARGB32Colour::FromARGB(r); });
  Render(state, XARGB32ImageRenderer(), *plane, state.range(0));
}
BENCHMARK(BM_ARGB32Normal)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

void BM_ARGB32ChannelTable(benchmark::State& state) {
  auto plane = MakePlane<XARGB32Volume>(kSide, [](UInt32 r) { return XARGB32Colour::FromARGB(r); });
  XARGB32ImageRenderer renderer;
  renderer.SetGain(1.3);
  Render(state, renderer, *plane, false);
}
BENCHMARK(BM_ARGB32ChannelTable)->Unit(benchmark::kMicrosecond);

void BM_RGB48White4095(benchmark::State& state) {
  auto plane = MakePlane<XRGB48Volume>(kSide, [](UInt32 r) { return XRGB48Colour(r >> 20, r >> 8 & 4095, r & 4095); });
  XRGB48ImageRenderer renderer;
  renderer.SetWhite(4095);
  Render(state, renderer, *plane, false);
}
BENCHMARK(BM_RGB48White4095)->Unit(benchmark::kMicrosecond);

void BM_RGB48ChannelTable(benchmark::State& state) {
  auto plane = MakePlane<XRGB48Volume>(kSide, [](UInt32 r) { return XRGB48Colour(r >> 16, r & 65535, r >> 8); });
  XRGB48ImageRenderer renderer;
  renderer.SetGamma(0.7);
  Render(state, renderer, *plane, false);
}
BENCHMARK(BM_RGB48ChannelTable)->Unit(benchmark::kMicrosecond);

}  // namespace
