// Numeric kernels:
// - every vector operation, portable and accelerated, on 1M floats (in cache
//   on most machines' L3) and 64M floats (256 MiB an array), beside a plain
//   copy of the same bytes for the machine's bandwidth;
// - a forward and inverse transform of a 256 x 256 x 64 XFourierVolume
//   against bare FFTW with the same plan (FFTW's wisdom makes it the same),
//   one thread and all cores;
// - XFFTFilterVolumeTool Gaussian (sigma 2, margin 16) on a 512 x 512 16-bit
//   plane and a 256 x 256 x 64 16-bit volume; items are voxels;
// - the first transform of a fresh size in a fresh process, planning
//   included: run twice with the same MIRELAN_PREFS_DIR and the second run
//   plans from the stored wisdom instead of measuring.
#include <benchmark/benchmark.h>
#include <fftw3.h>

#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "core/XThread.h"
#include "numeric/XFFTFilterKernelCache.h"
#include "numeric/XFFTFilterVolumeTool.h"
#include "numeric/XFourierStrategyManager.h"
#include "numeric/XFourierVolume.h"
#include "numeric/XVectorMathTool.h"
#include "numeric/XVectorMathToolImp.h"
#include "storage/XRegisterImagingClasses.h"
#include "volume/XGrey16Volume.h"

using namespace mirelan;

namespace {

// ---------------------------------------------------------------- vector operations

constexpr UInt32 kSmall = 1u << 20;
constexpr UInt32 kLarge = 1u << 26;

struct Arrays {
  float* a;
  float* b;
  float* c;
  float* out;
};

// Four arrays of the large size, filled once: positive values, so that every
// operation (logarithms, roots, divisions) stays on ordinary numbers.
Arrays& SharedArrays() {
  static Arrays arrays = [] {
    Arrays made{};
    for (float** p : {&made.a, &made.b, &made.c, &made.out}) {
      *p = static_cast<float*>(std::aligned_alloc(64, size_t(kLarge) * sizeof(float)));
      UInt32 state = UInt32(reinterpret_cast<std::uintptr_t>(*p));
      for (UInt32 i = 0; i < kLarge; ++i) {
        state = state * 1664525u + 1013904223u;
        (*p)[i] = 0.5f + float(state >> 8) * (1.0f / 16777216.0f);
      }
    }
    return made;
  }();
  return arrays;
}

using VectorCall = std::function<void(XVectorMathToolImp&, Arrays&, UInt32)>;

struct VectorCase {
  const char* itsName;
  int itsArrays;  // arrays read and written: the bytes moved per element / 4
  VectorCall itsCall;
};

float gSink;

const std::vector<VectorCase>& VectorCases() {
  using I = XVectorMathToolImp;
  static const std::vector<VectorCase> cases = {
      {"Add", 3, [](I& m, Arrays& x, UInt32 n) { m.VectorAdd(x.a, x.b, x.out, n); }},
      {"AddScalar", 2, [](I& m, Arrays& x, UInt32 n) { m.VectorAddScalar(x.a, 1.5f, x.out, n); }},
      {"Subtract", 3, [](I& m, Arrays& x, UInt32 n) { m.VectorSubtract(x.a, x.b, x.out, n); }},
      {"Multiply", 3, [](I& m, Arrays& x, UInt32 n) { m.VectorMultiply(x.a, x.b, x.out, n); }},
      {"MultiplyScalar", 2, [](I& m, Arrays& x, UInt32 n) { m.VectorMultiplyScalar(x.a, 0.5f, x.out, n); }},
      {"ComplexDivide", 3, [](I& m, Arrays& x, UInt32 n) { m.VectorComplexDivide(x.a, x.b, x.out, n / 2); }},
      {"ComplexMultiply", 3, [](I& m, Arrays& x, UInt32 n) { m.VectorComplexMultiply(x.a, x.b, x.out, n / 2); }},
      {"ComplexMagnitude", 2, [](I& m, Arrays& x, UInt32 n) { m.VectorComplexMagnitude(x.a, x.out, n / 2); }},
      {"ComplexReciprocal", 2, [](I& m, Arrays& x, UInt32 n) { m.VectorComplexReciprocal(x.a, x.out, n / 2); }},
      {"Divide", 3, [](I& m, Arrays& x, UInt32 n) { m.VectorDivide(x.a, x.b, x.out, n); }},
      {"Absolute", 2, [](I& m, Arrays& x, UInt32 n) { m.VectorAbsolute(x.a, x.out, n); }},
      {"MultiplyAndDivide", 4, [](I& m, Arrays& x, UInt32 n) { m.VectorMultiplyAndDivide(x.a, x.b, x.c, x.out, n); }},
      {"MultiplyScalarAndDivide", 3,
       [](I& m, Arrays& x, UInt32 n) { m.VectorMultiplyAndDivide(x.a, 2.0f, x.c, x.out, n); }},
      {"MultiplyAndDivideScalar", 3,
       [](I& m, Arrays& x, UInt32 n) { m.VectorMultiplyAndDivide(x.a, x.b, 3.0f, x.out, n); }},
      {"Square", 2, [](I& m, Arrays& x, UInt32 n) { m.VectorSquare(x.a, x.out, n); }},
      {"DotProduct", 2, [](I& m, Arrays& x, UInt32 n) { gSink = m.VectorDotProduct(x.a, x.b, n); }},
      {"DotProduct64", 2, [](I& m, Arrays& x, UInt32 n) { gSink = float(m.VectorDotProduct64(x.a, x.b, n)); }},
      {"AddAndMultiply", 4, [](I& m, Arrays& x, UInt32 n) { m.VectorAddAndMultiply(x.a, x.b, x.c, x.out, n); }},
      {"FillReal", 1, [](I& m, Arrays& x, UInt32 n) { m.VectorFillReal(1.0f, x.out, n); }},
      {"LogBaseX", 2, [](I& m, Arrays& x, UInt32 n) { m.VectorLogBaseX(x.a, x.out, 10.0f, n); }},
      {"Sqrt", 2, [](I& m, Arrays& x, UInt32 n) { m.VectorSqrt(x.a, x.out, n); }},
      {"ReciprocalSqrt", 2, [](I& m, Arrays& x, UInt32 n) { m.VectorReciprocalSqrt(x.a, x.out, n); }},
      {"Sum", 1, [](I& m, Arrays& x, UInt32 n) { gSink = m.VectorSum(x.a, n); }},
      {"Sum64", 1, [](I& m, Arrays& x, UInt32 n) { gSink = float(m.VectorSum64(x.a, n)); }},
      {"FindMaxValue", 1, [](I& m, Arrays& x, UInt32 n) { gSink = m.VectorFindMaxValue(x.a, n); }},
      {"FindMinValue", 1, [](I& m, Arrays& x, UInt32 n) { gSink = m.VectorFindMinValue(x.a, n); }},
      {"FindMinMaxValue", 1,
       [](I& m, Arrays& x, UInt32 n) {
         float low, high;
         m.VectorFindMinMaxValue(x.a, low, high, n);
         gSink = low + high;
       }},
      {"Reciprocal", 2, [](I& m, Arrays& x, UInt32 n) { m.VectorReciprocal(x.a, x.out, n); }},
      {"DotProductDivide", 3, [](I& m, Arrays& x, UInt32 n) { gSink = m.VectorDotProductDivide(x.a, x.b, x.c, n); }},
      {"DotProductDivide64", 3,
       [](I& m, Arrays& x, UInt32 n) { gSink = float(m.VectorDotProductDivide64(x.a, x.b, x.c, n)); }},
      {"ClampBelow", 2, [](I& m, Arrays& x, UInt32 n) { m.VectorClampBelow(x.a, x.out, 0.7f, n); }},
      {"ClampAbove", 2, [](I& m, Arrays& x, UInt32 n) { m.VectorClampAbove(x.a, x.out, 0.9f, n); }},
      {"WeightedEntropy", 1,
       [](I& m, Arrays& x, UInt32 n) {
         float weighted, sum;
         m.VectorWeightedEntropy(x.a, weighted, sum, n);
         gSink = weighted + sum;
       }},
      {"ChiSquared", 3, [](I& m, Arrays& x, UInt32 n) { gSink = m.VectorChiSquared(x.a, x.b, x.c, n); }},
      {"ChiSquared64", 3, [](I& m, Arrays& x, UInt32 n) { gSink = float(m.VectorChiSquared64(x.a, x.b, x.c, n)); }},
      {"ScalarSubtract", 3, [](I& m, Arrays& x, UInt32 n) { m.VectorScalarSubtract(x.a, x.b, 2.0f, 0.5f, x.out, n); }},
      {"SquareMultiplySum", 2, [](I& m, Arrays& x, UInt32 n) { gSink = m.VectorSquareMultiplySum(x.a, x.b, n); }},
      {"SquareMultiplySum64", 2,
       [](I& m, Arrays& x, UInt32 n) { gSink = float(m.VectorSquareMultiplySum64(x.a, x.b, n)); }},
      {"SearchDerivatives", 3,
       [](I& m, Arrays& x, UInt32 n) {
         float first, second;
         m.VectorSearchDerivatives(x.a, x.b, x.c, 0.5f, first, second, n);
         gSink = first + second;
       }},
      {"CalcSearchVec1", 2,
       [](I& m, Arrays& x, UInt32 n) {
         float sum;
         m.VectorCalcSearchVec1(x.a, x.out, 0.5f, sum, n);
         gSink = sum;
       }},
      {"CalcSearchVec2", 3,
       [](I& m, Arrays& x, UInt32 n) {
         float sum;
         m.VectorCalcSearchVec2(x.a, x.b, x.out, sum, n);
         gSink = sum;
       }},
      {"CalcSearchVec2_64", 3,
       [](I& m, Arrays& x, UInt32 n) {
         double sum;
         m.VectorCalcSearchVec2_64(x.a, x.b, x.out, sum, n);
         gSink = float(sum);
       }},
      {"Transform3", 6,
       [](I& m, Arrays& x, UInt32 n) {
         XMiniSquareMatrix matrix(3);
         for (int r = 0; r < 3; ++r) matrix.Set(r, r, 1.0f);
         float* vectors[3] = {x.out, x.b, x.c};
         m.VectorTransform(vectors, 3, matrix, n);
       }},
      {"SubtractAndScalarMultiply", 3,
       [](I& m, Arrays& x, UInt32 n) { m.VectorSubtractAndScalarMultiply(x.a, x.b, 0.5f, x.out, n); }},
      {"DivideScalarByVector", 2, [](I& m, Arrays& x, UInt32 n) { m.VectorDivideScalarByVector(2.0f, x.a, x.out, n); }},
      {"ThresholdWithZeroFill", 2,
       [](I& m, Arrays& x, UInt32 n) { m.VectorThresholdWithZeroFill(x.a, 0.8f, x.out, n); }},
  };
  return cases;
}

void BM_Copy(benchmark::State& state) {
  Arrays& x = SharedArrays();
  const UInt32 n = UInt32(state.range(0));
  for (auto _ : state) {
    std::memcpy(x.out, x.a, size_t(n) * sizeof(float));
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * SInt64(n) * 8);
  state.SetItemsProcessed(state.iterations() * SInt64(n));
}
BENCHMARK(BM_Copy)->Arg(kSmall)->Arg(kLarge);

void RegisterVectorBenchmarks() {
  for (const VectorCase& op : VectorCases())
    for (bool accelerated : {false, true})
      for (UInt32 n : {kSmall, kLarge}) {
        const std::string name = std::string("BM_Vector/") + op.itsName + (accelerated ? "/accelerated/" : "/portable/") +
                                 (n == kSmall ? "1M" : "64M");
        benchmark::RegisterBenchmark(name.c_str(), [&op, accelerated, n](benchmark::State& state) {
          Arrays& x = SharedArrays();
          XVectorMathToolImp& implementation = accelerated ? *XVectorMathTool::GetAcceleratedImplementation()
                                                           : *XVectorMathTool::GetPortableImplementation();
          for (auto _ : state) {
            op.itsCall(implementation, x, n);
            benchmark::ClobberMemory();
          }
          state.SetBytesProcessed(state.iterations() * SInt64(n) * 4 * op.itsArrays);
          state.SetItemsProcessed(state.iterations() * SInt64(n));
        });
      }
}

// ---------------------------------------------------------------- Fourier transforms

constexpr UInt32 kWidth = 256, kHeight = 256, kDepth = 64;

// The host's manager, made before any Fourier volume and kept to the end,
// when it stores FFTW's wisdom.
XFourierStrategyManager& Manager() {
  static std::unique_ptr<XFourierStrategyManager> manager = [] {
    XRegisterImagingClasses();
    return std::make_unique<XFourierStrategyManager>();
  }();
  return *manager;
}

void BM_FourierRoundTrip(benchmark::State& state) {
  Manager();
  const bool multi = state.range(0) != 0;
  const X3DRect box(kWidth, kHeight, kDepth);
  XFourierVolume volume(box, multi ? XFourierStrategyManager::GetFFTStrategyMT(box)
                                   : XFourierStrategyManager::GetFFTStrategy(box));
  volume.FillReal(1.0f);
  volume.FourierTransform();  // plans, outside the timing
  volume.InverseFourierTransform();
  for (auto _ : state) {
    volume.FourierTransform();
    volume.InverseFourierTransform();
  }
  state.SetItemsProcessed(state.iterations() * SInt64(kWidth) * kHeight * kDepth);
}
BENCHMARK(BM_FourierRoundTrip)->Arg(0)->Arg(1)->ArgName("threads_all")->UseRealTime();

// Bare FFTW on the same padded in-place layout; its plan comes from the
// wisdom of the volume's plan. With scaling, the one pass our inverse adds.
void BM_BareFFTWRoundTrip(benchmark::State& state) {
  Manager();
  const bool multi = state.range(0) != 0, scale = state.range(1) != 0;
  {
    // Our plans first, so that the strategies' thread setting is not disturbed after.
    const X3DRect box(kWidth, kHeight, kDepth);
    XFourierVolume volume(box, multi ? XFourierStrategyManager::GetFFTStrategyMT(box)
                                     : XFourierStrategyManager::GetFFTStrategy(box));
    volume.FillReal(1.0f);
    volume.FourierTransform();
    volume.InverseFourierTransform();
  }
  const size_t floats = size_t(kWidth + 2) * kHeight * kDepth + 4;
  float* data = static_cast<float*>(fftwf_malloc(floats * sizeof(float)));
  auto* complex = reinterpret_cast<fftwf_complex*>(data);
  fftwf_plan_with_nthreads(multi ? int(XThread::GetProcessorCount()) : 1);
  fftwf_plan forward = fftwf_plan_dft_r2c_3d(kDepth, kHeight, kWidth, data, complex, FFTW_MEASURE);
  fftwf_plan inverse = fftwf_plan_dft_c2r_3d(kDepth, kHeight, kWidth, complex, data, FFTW_MEASURE);
  for (size_t i = 0; i < floats; ++i) data[i] = 1.0f;
  const float factor = 1.0f / float(kWidth * kHeight * kDepth);
  for (auto _ : state) {
    fftwf_execute_dft_r2c(forward, data, complex);
    fftwf_execute_dft_c2r(inverse, complex, data);
    if (scale)
      for (size_t i = 0; i < floats - 4; ++i) data[i] *= factor;
    benchmark::ClobberMemory();
  }
  fftwf_destroy_plan(forward);
  fftwf_destroy_plan(inverse);
  fftwf_free(data);
  state.SetItemsProcessed(state.iterations() * SInt64(kWidth) * kHeight * kDepth);
}
BENCHMARK(BM_BareFFTWRoundTrip)->Args({0, 0})->Args({0, 1})->Args({1, 0})->Args({1, 1})
    ->ArgNames({"threads_all", "scaled"})->UseRealTime();

// One transform pair of a size no other benchmark uses, planning included.
void BM_FirstPlan(benchmark::State& state) {
  Manager();
  for (auto _ : state) {
    const X3DRect box(240, 240, 60);
    XFourierVolume volume(box);
    volume.FillReal(1.0f);
    volume.FourierTransform();
    volume.InverseFourierTransform();
  }
}
BENCHMARK(BM_FirstPlan)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();

// ---------------------------------------------------------------- FFT filtering

void BM_FFTFilterGaussian(benchmark::State& state) {
  Manager();
  const X3DRect box = state.range(0) ? X3DRect(256, 256, 64) : X3DRect(512, 512, 1);
  XGrey16Volume image(box);
  {
    XLock lock(image, kLockWrite);
    UInt16* voxel = image.GetBaseVoxelPtr();
    for (UInt64 i = 0; i < box.GetVolume(); ++i) voxel[i] = UInt16((i * 2654435761u) >> 20);
  }
  static XFFTFilterKernelCache cache;
  const UInt32 margin = 16;
  const XFourierVolume* kernel = cache.GetKernel(kGaussianKernel, box, 2.0f, margin);
  XFFTFilterVolumeTool tool(kernel, nullptr, margin);
  std::unique_ptr<XVolume>(tool.ApplyTool(image));  // the plans, outside the timing
  for (auto _ : state) {
    std::unique_ptr<XVolume> filtered(tool.ApplyTool(image));
    benchmark::DoNotOptimize(filtered.get());
  }
  state.SetItemsProcessed(state.iterations() * SInt64(box.GetVolume()));
}
BENCHMARK(BM_FFTFilterGaussian)->Arg(0)->Arg(1)->ArgName("volume")->Unit(benchmark::kMillisecond)->UseRealTime();

const int kRegistered = (RegisterVectorBenchmarks(), 0);

}  // namespace
