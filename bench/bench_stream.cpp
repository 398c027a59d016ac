// Stream throughput, wall time: a 64 MiB memory handle written to and read
// from memory streams, plainly and byte-swapped, through a file, and a
// 128 MiB volume written to a file as numpy's tofile writes an array.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <unistd.h>

#include "core/XClassRegistry.h"
#include "core/XCoreClasses.h"
#include "core/XHandleStream.h"
#include "core/XMemoryHandle.h"
#include "volume/XGrey16Volume.h"

using namespace mirelan;

namespace {

constexpr UInt64 kBytes = 64ull << 20;

XMemoryHandle MakeHandle() {
  XMemoryHandle h(kBytes);
  h.Clear(0x5A);
  return h;
}

void BM_WriteHandleToMemoryStream(benchmark::State& state) {
  XMemoryHandle h = MakeHandle();
  XMemoryStream s;
  for (auto _ : state) {
    s.SeekTo(0);
    s.WriteObject(h);
    benchmark::DoNotOptimize(s.GetBuffer());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kBytes));
}
BENCHMARK(BM_WriteHandleToMemoryStream)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_ReadHandleFromMemoryStream(benchmark::State& state) {
  XRegisterCoreClasses();
  XMemoryStream s;
  s.WriteObject(MakeHandle());
  for (auto _ : state) {
    s.SeekTo(0);
    auto back = s.ReadObjectAs<XMemoryHandle>();
    benchmark::DoNotOptimize(back.get());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kBytes));
}
BENCHMARK(BM_ReadHandleFromMemoryStream)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_SwapOnFirstLock(benchmark::State& state) {
  XMemoryHandle h = MakeHandle();
  for (auto _ : state) {
    h.SetSwapOnLock(kByteSwap16);
    XLock lock(h, kLockRead);
    benchmark::DoNotOptimize(h.GetData());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kBytes));
}
BENCHMARK(BM_SwapOnFirstLock)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_HandleThroughFile(benchmark::State& state) {
  XRegisterCoreClasses();
  XMemoryHandle h = MakeHandle();
  std::string path = "/tmp/mirelan_bench_" + std::to_string(::getpid()) + ".bin";
  for (auto _ : state) {
    {
      XFileStream out(XFileSpec(path), kCreateReadWrite);
      out.WriteObject(h);
    }
    XFileStream in(XFileSpec(path), kReadOnly);
    auto back = in.ReadObjectAs<XMemoryHandle>();
    benchmark::DoNotOptimize(back.get());
  }
  std::remove(path.c_str());
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kBytes * 2));
}
BENCHMARK(BM_HandleThroughFile)->Unit(benchmark::kMillisecond)->UseRealTime();

// The volume's voxels, as raw bytes at the start of a file (what tofile
// does), then the whole stored object.
void BM_WriteVolumeToFile(benchmark::State& state) {
  XGrey16Volume volume(1024, 1024, 64);
  volume.Fill(0x1234);
  const std::string path = "/tmp/mirelan_bench_volume_" + std::to_string(::getpid()) + ".raw";
  for (auto _ : state) {
    XFile file(XFileSpec(path), kCreateReadWrite);
    XLock lock(volume, kLockRead);
    file.WriteAt(0, volume.GetBasePtr(), volume.GetVolumeBytes());
  }
  std::remove(path.c_str());
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * volume.GetVolumeBytes()));
}
BENCHMARK(BM_WriteVolumeToFile)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_WriteVolumeObjectToFile(benchmark::State& state) {
  XGrey16Volume volume(1024, 1024, 64);
  volume.Fill(0x1234);
  const std::string path = "/tmp/mirelan_bench_volume_" + std::to_string(::getpid()) + ".mis";
  for (auto _ : state) {
    XFileStream out(XFileSpec(path), kCreateReadWrite);
    out.WriteObject(volume);
    out.Flush();
  }
  std::remove(path.c_str());
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * volume.GetVolumeBytes()));
}
BENCHMARK(BM_WriteVolumeObjectToFile)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
