// The kernels of bench/compare in ITK, timed as bench/compare times the
// Python peers: one warm-up, then five calls, wall time, one thread, on the
// same sizes, each filter writing into an output made once (grafted: ITK's
// in-place mode hands the input's buffer to the output, so a second run
// would find no input). Prints one line per kernel and
// size: "<key> <size> <seconds> <seconds> ...", for bench/compare to read.
#include <itkAddImageFilter.h>
#include <itkFlipImageFilter.h>
#include <itkImage.h>
#include <itkInvertIntensityImageFilter.h>
#include <itkMinimumMaximumImageCalculator.h>
#include <itkMultiThreaderBase.h>
#include <itkRGBAPixel.h>
#include <itkRGBToLuminanceImageFilter.h>
#include <itkShiftScaleImageFilter.h>
#include <itkStatisticsImageFilter.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <random>
#include <string>

namespace {

using Grey8 = itk::Image<std::uint8_t, 3>;
using Grey16 = itk::Image<std::uint16_t, 3>;
using ARGB = itk::Image<itk::RGBAPixel<std::uint8_t>, 3>;

// (x, y, z) of size 0 (in cache) or 1 (out of cache, at least 128 MiB), as
// bench/compare and bench/BenchSupport.h choose them.
itk::Size<3> SizeFor(int inSize, unsigned inVoxelBytes) {
  if (inSize == 0) return {{256, 256, 64}};
  const unsigned long depth = ((128ul << 20) + (1ul << 20) * inVoxelBytes - 1) / ((1ul << 20) * inVoxelBytes);
  return {{1024, 1024, depth}};
}

template <class Image>
typename Image::Pointer Make(const itk::Size<3>& inSize, unsigned inSeed) {
  auto image = Image::New();
  image->SetRegions(typename Image::RegionType(inSize));
  image->Allocate();
  std::mt19937 random(inSeed);
  auto* p = reinterpret_cast<std::uint8_t*>(image->GetBufferPointer());
  const std::size_t bytes = image->GetPixelContainer()->Size() * sizeof(typename Image::PixelType);
  for (std::size_t i = 0; i < bytes; ++i) p[i] = std::uint8_t(random());
  return image;
}

void Time(const char* inKey, int inSize, const std::function<void()>& inCall) {
  inCall();
  std::printf("%s %d", inKey, inSize);
  for (int run = 0; run < 5; ++run) {
    const auto start = std::chrono::steady_clock::now();
    inCall();
    std::printf(" %.9f", std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
  }
  std::printf("\n");
  std::fflush(stdout);
}

// A filter run again into the output it was given once.
template <class Filter>
std::function<void()> Rerun(typename Filter::Pointer inFilter) {
  return [inFilter] {
    inFilter->Modified();
    inFilter->Update();
  };
}

template <class Filter, class Output>
void Graft(Filter* ioFilter, Output* inOutput) {
  ioFilter->GraftOutput(inOutput);
}

void RunSize(int inSize) {
  const auto s8 = SizeFor(inSize, 1), s16 = SizeFor(inSize, 2), s32 = SizeFor(inSize, 4);
  auto g8 = Make<Grey8>(s8, 1), g8b = Make<Grey8>(s8, 2), o8 = Make<Grey8>(s8, 3);
  auto g16 = Make<Grey16>(s16, 4), wide = Make<Grey16>(s16, 5), o16 = Make<Grey16>(s16, 9);
  auto g8for16 = Make<Grey8>(s16, 6);
  auto argb = Make<ARGB>(s32, 7);
  auto grey = Make<Grey8>(s32, 8);

  auto scale = itk::ShiftScaleImageFilter<Grey8, Grey16>::New();
  scale->SetInput(g8for16);
  scale->SetScale(257);
  Graft(scale.GetPointer(), wide.GetPointer());
  Time("widen", inSize, Rerun<itk::ShiftScaleImageFilter<Grey8, Grey16>>(scale));

  auto luminance = itk::RGBToLuminanceImageFilter<ARGB, Grey8>::New();
  luminance->SetInput(argb);
  Graft(luminance.GetPointer(), grey.GetPointer());
  Time("luminance", inSize, Rerun<itk::RGBToLuminanceImageFilter<ARGB, Grey8>>(luminance));

  using Add8 = itk::AddImageFilter<Grey8, Grey8, Grey8>;
  auto add = Add8::New();
  add->SetInput1(g8);
  add->SetInput2(g8b);
  Graft(add.GetPointer(), o8.GetPointer());
  Time("add", inSize, Rerun<Add8>(add));

  auto addConstant = Add8::New();
  addConstant->SetInput1(g8);
  addConstant->SetConstant2(3);
  Graft(addConstant.GetPointer(), o8.GetPointer());
  Time("offset8", inSize, Rerun<Add8>(addConstant));

  using Add16 = itk::AddImageFilter<Grey16, Grey16, Grey16>;
  auto addConstant16 = Add16::New();
  addConstant16->SetInput1(g16);
  addConstant16->SetConstant2(3);
  Graft(addConstant16.GetPointer(), o16.GetPointer());
  Time("offset16", inSize, Rerun<Add16>(addConstant16));

  auto invert = itk::InvertIntensityImageFilter<Grey8, Grey8>::New();
  invert->SetInput(g8);
  invert->SetMaximum(255);
  Graft(invert.GetPointer(), o8.GetPointer());
  Time("invert", inSize, Rerun<itk::InvertIntensityImageFilter<Grey8, Grey8>>(invert));

  auto flip = itk::FlipImageFilter<Grey8>::New();
  flip->SetInput(g8);
  itk::FixedArray<bool, 3> axes;
  axes[0] = true, axes[1] = false, axes[2] = false;
  flip->SetFlipAxes(axes);
  Graft(flip.GetPointer(), o8.GetPointer());
  Time("flip", inSize, Rerun<itk::FlipImageFilter<Grey8>>(flip));

  auto minMax = itk::MinimumMaximumImageCalculator<Grey16>::New();
  minMax->SetImage(g16);
  Time("minmax", inSize, [minMax] { minMax->Compute(); });

  auto statistics = itk::StatisticsImageFilter<Grey16>::New();
  statistics->SetInput(g16);
  Time("sum", inSize, Rerun<itk::StatisticsImageFilter<Grey16>>(statistics));
}

}  // namespace

int main(int argc, char** argv) {
  itk::MultiThreaderBase::SetGlobalDefaultNumberOfThreads(1);
  itk::MultiThreaderBase::SetGlobalMaximumNumberOfThreads(1);
  const bool small = argc > 1 && std::string(argv[1]) == "--small";
  for (int size = 0; size <= (small ? 0 : 1); ++size) RunSize(size);
  return 0;
}
