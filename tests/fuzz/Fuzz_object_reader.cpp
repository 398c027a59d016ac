// The object reader on arbitrary bytes. The first byte chooses the stream's
// byte order (bit 0) and a header-only read (bit 1); the rest is the stream.
// Besides crashes and sanitizer reports, the target fails when a read
// allocates far more than its input can describe, or when an object's stored
// form does not read back to the same bytes.
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "core/XMemoryHandle.h"
#include "core/XStream.h"
#include "volume/X3DRegion.h"
#include "volume/XGrey8Volume.h"
#include "storage/XRegisterImagingClasses.h"

using namespace mirelan;

namespace {

// What a stored form may expand to: zlib inflates at most about 1032 times,
// and a blank legacy image may hold 64 MiB from no data at all.
constexpr UInt64 kBytesPerInputByte = 1100;
constexpr UInt64 kAllowance = UInt64(80) << 20;
// Larger objects are only read: copying them round would cost seconds a run
// and reach no code that smaller ones do not.
constexpr UInt64 kMaxUsedBytes = UInt64(4) << 20;

void Fail(const char* inWhat, UInt64 inValue) {
  std::fprintf(stderr, "object reader: %s (%llu)\n", inWhat, static_cast<unsigned long long>(inValue));
  std::abort();
}

std::vector<UInt8> StoredForm(const XStorable& inObject, XByteOrder inOrder) {
  XMemoryStream stream(inOrder);
  stream.WriteObject(inObject);
  return stream.GetBytes();
}

// What the library writes it reads back, and writing that again gives the
// same bytes, in both orders. An object that cannot be written (its data
// cannot be had) is no finding; a written form that fails to read is.
void CheckRoundTrip(const XStorable& inObject) {
  for (XByteOrder order : {kLittleEndian, kBigEndian}) {
    std::vector<UInt8> first;
    try {
      first = StoredForm(inObject, order);
    } catch (const XException&) {
      return;
    }
    XMemoryStream stream(first.data(), first.size(), order);
    std::unique_ptr<XStorable> again;
    try {
      again.reset(stream.ReadObject());
    } catch (const XException& e) {
      Fail(e.what(), first.size());
    }
    if (!again) Fail("a stored object read back as null", first.size());
    if (StoredForm(*again, order) != first) Fail("a stored form changed on its way back", first.size());
  }
}

void UseVolume(XVolume& ioVolume) {
  ioVolume.CalculateCRC();
  std::unique_ptr<XVolume> copy(ioVolume.Clone());
  if (!(*copy == ioVolume)) Fail("a clone differs from its volume", ioVolume.GetBounds().GetVolume());
  XGrey8Volume grey(ioVolume.GetBounds());
  ioVolume.CopyOut(grey, ioVolume.GetBounds(), grey.GetBounds(), nullptr);
}

void UseRegion(const X3DRegion& inRegion) {
  X3DRegion copy(inRegion);
  copy.GetVolume();
  const X3DRect& b = inRegion.GetBounds();
  X3DRect inner(b.left, b.top, b.front, b.left + 1, b.top + 1, b.front + 1);
  copy.Union(X3DRegion(inner));
  copy.Sect(X3DRegion(b));
  copy.Xor(inRegion);
  copy.Difference(X3DRegion(inner));
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  XRegisterImagingClasses();
  XMemoryHandle::SetAllocationLimit(UInt64(1) << 30);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const UInt8* inData, size_t inSize) {
  if (inSize < 1) return 0;
  const XByteOrder order = inData[0] & 1 ? kBigEndian : kLittleEndian;
  const XStorable::XOptions options = inData[0] & 2 ? XStorable::kReadHeaderOnly : XStorable::kReadAll;
  XMemoryStream stream(inData + 1, inSize - 1, order);

  const UInt64 before = XMemoryHandle::GetAllocatedBytes();
  XMemoryHandle::ResetPeakAllocatedBytes();
  std::unique_ptr<XStorable> object;
  try {
    object.reset(stream.ReadObject(options));
  } catch (const XException&) {
  }
  const UInt64 grown = XMemoryHandle::GetPeakAllocatedBytes() - before;
  if (grown > inSize * kBytesPerInputByte + kAllowance) Fail("allocated far more than the input describes", grown);
  // Header-only objects have no data to use; their blocks are never made.
  if (!object || options == XStorable::kReadHeaderOnly || grown > kMaxUsedBytes) return 0;
  try {
    if (auto* volume = dynamic_cast<XVolume*>(object.get())) UseVolume(*volume);
    if (auto* region = dynamic_cast<X3DRegion*>(object.get())) UseRegion(*region);
  } catch (const XException&) {
  }
  CheckRoundTrip(*object);
  return 0;
}
