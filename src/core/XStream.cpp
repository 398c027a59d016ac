#include "core/XStream.h"

#include <algorithm>
#include <cstring>

#include "core/XClassRegistry.h"

namespace mirelan {

namespace {

constexpr char kStreamMagic[4] = {'M', 'I', 'R', 'L'};
// A string longer than this is taken for a corrupt count.
constexpr UInt32 kMaxStringBytes = 64u << 20;

}  // namespace

void XStream::Seek(SInt64 inDelta) {
  SInt64 target = static_cast<SInt64>(GetPosition()) + inDelta;
  if (target < 0) throw XException(kErrEndOfStream, "seek before the start of the stream");
  SeekTo(static_cast<UInt64>(target));
}

UInt64 XStream::GetRemaining() const {
  UInt64 position = GetPosition(), extent = GetExtent();
  return position < extent ? extent - position : 0;
}

void XStream::CheckReadable(UInt64 inBytes) const {
  if (inBytes > GetRemaining())
    throw XException(kErrBadStreamSize, std::to_string(inBytes) + " bytes wanted, " +
                                            std::to_string(GetRemaining()) + " left");
}

template <typename U>
U XStream::ReadNumber() {
  U value;
  ReadBytes(&value, sizeof(U));
  if (IsPlatformByteOrder()) return value;
  if constexpr (sizeof(U) == 2) return SwapBytes16(value);
  if constexpr (sizeof(U) == 4) return SwapBytes32(value);
  if constexpr (sizeof(U) == 8) return SwapBytes64(value);
  return value;
}

template <typename U>
void XStream::WriteNumber(U inValue) {
  if (!IsPlatformByteOrder()) {
    if constexpr (sizeof(U) == 2) inValue = SwapBytes16(inValue);
    if constexpr (sizeof(U) == 4) inValue = SwapBytes32(inValue);
    if constexpr (sizeof(U) == 8) inValue = SwapBytes64(inValue);
  }
  WriteBytes(&inValue, sizeof(U));
}

UInt8 XStream::Read8() { return ReadNumber<UInt8>(); }
UInt16 XStream::Read16() { return ReadNumber<UInt16>(); }
UInt32 XStream::Read32() { return ReadNumber<UInt32>(); }
SInt64 XStream::Read64S() { return static_cast<SInt64>(ReadNumber<UInt64>()); }

Float32 XStream::ReadFloat32S() {
  UInt32 bits = ReadNumber<UInt32>();
  Float32 value;
  std::memcpy(&value, &bits, 4);
  return value;
}

Float64 XStream::ReadFloat64S() {
  UInt64 bits = ReadNumber<UInt64>();
  Float64 value;
  std::memcpy(&value, &bits, 8);
  return value;
}

void XStream::ReadBuffer16(UInt16* outBuffer, UInt64 inCount) {
  ReadBytes(outBuffer, inCount * 2);
  if (!IsPlatformByteOrder()) SwapBuffer16(outBuffer, inCount);
}

void XStream::ReadBuffer32(UInt32* outBuffer, UInt64 inCount) {
  ReadBytes(outBuffer, inCount * 4);
  if (!IsPlatformByteOrder()) SwapBuffer32(outBuffer, inCount);
}

XString XStream::ReadString() {
  UInt32 length = Read32();
  if (length > kMaxStringBytes) throw XException(kErrBadStreamSize, "string length");
  CheckReadable(length);
  XString text(length, '\0');
  ReadBytes(text.data(), length);
  return text;
}

XUUID XStream::ReadUUID() {
  std::array<UInt8, 16> bytes;
  ReadBytes(bytes.data(), 16);
  return XUUID(bytes);
}

UInt32 XStream::ReadARGB32() {
  UInt8 argb[4];
  ReadBytes(argb, 4);
  return (UInt32(argb[0]) << 24) | (UInt32(argb[1]) << 16) | (UInt32(argb[2]) << 8) | argb[3];
}

void XStream::Write8(UInt8 inValue) { WriteNumber(inValue); }
void XStream::Write16(UInt16 inValue) { WriteNumber(inValue); }
void XStream::Write32(UInt32 inValue) { WriteNumber(inValue); }
void XStream::Write64S(SInt64 inValue) { WriteNumber(static_cast<UInt64>(inValue)); }

void XStream::WriteFloat32S(Float32 inValue) {
  UInt32 bits;
  std::memcpy(&bits, &inValue, 4);
  WriteNumber(bits);
}

void XStream::WriteFloat64S(Float64 inValue) {
  UInt64 bits;
  std::memcpy(&bits, &inValue, 8);
  WriteNumber(bits);
}

void XStream::WriteBuffer16(const UInt16* inBuffer, UInt64 inCount) {
  if (IsPlatformByteOrder()) return WriteBytes(inBuffer, inCount * 2);
  for (UInt64 i = 0; i < inCount; ++i) Write16(inBuffer[i]);
}

void XStream::WriteBuffer32(const UInt32* inBuffer, UInt64 inCount) {
  if (IsPlatformByteOrder()) return WriteBytes(inBuffer, inCount * 4);
  for (UInt64 i = 0; i < inCount; ++i) Write32(inBuffer[i]);
}

void XStream::WriteString(const XString& inText) {
  if (inText.size() > kMaxStringBytes) throw XException(kErrBadStreamSize, "string too long");
  Write32(static_cast<UInt32>(inText.size()));
  WriteBytes(inText.data(), inText.size());
}

void XStream::WriteUUID(const XUUID& inUUID) { WriteBytes(inUUID.GetBytes().data(), 16); }

void XStream::WriteARGB32(UInt32 inARGB) {
  UInt8 argb[4] = {UInt8(inARGB >> 24), UInt8(inARGB >> 16), UInt8(inARGB >> 8), UInt8(inARGB)};
  WriteBytes(argb, 4);
}

UInt64 XStream::PeekBuffer8(void* outBuffer, UInt64 inCount) {
  UInt64 position = GetPosition();
  UInt64 count = std::min(inCount, GetRemaining());
  ReadBytes(outBuffer, count);
  SeekTo(position);
  return count;
}

void XStream::WriteObject(const XStorable* inObject, XStorable::XOptions inOptions) {
  if (!inObject) return Write32(0);
  WriteObject(*inObject, inOptions);
}

void XStream::WriteObject(const XStorable& inObject, XStorable::XOptions inOptions) {
  WriteVersion(inObject.GetVersion());
  inObject.WriteStream2(*this, inOptions);
}

XStorable* XStream::ReadObject(XStorable::XOptions inOptions) {
  XVersion version = ReadVersion();
  if (version.IsNull()) return nullptr;
  // A crafted stream could nest objects until the stack overflows.
  if (itsClassesCreated.size() >= kMaxObjectNesting)
    throw XException(kErrBadStreamSize, "objects nested too deeply");
  PushClassCreated(version);
  struct Pop {
    XStream& s;
    ~Pop() { s.PopClassCreated(); }
  } pop{*this};
  return XClassRegistry::CreateObject(version, *this, inOptions);
}

void XStream::WriteStreamInfo(UInt16 inFormatVersion) {
  WriteBytes(kStreamMagic, 4);
  WriteBytes(itsByteOrder == kBigEndian ? "MM" : "II", 2);
  itsStreamInfo = static_cast<UInt32>(inFormatVersion) << 16;
  Write32(itsStreamInfo);
}

UInt32 XStream::ReadStreamInfo() {
  char header[6];
  ReadBytes(header, 6);
  if (std::memcmp(header, kStreamMagic, 4) != 0) throw XException(kErrBadStreamHeader);
  if (header[4] == 'I' && header[5] == 'I')
    itsByteOrder = kLittleEndian;
  else if (header[4] == 'M' && header[5] == 'M')
    itsByteOrder = kBigEndian;
  else
    throw XException(kErrBadStreamHeader, "byte order mark");
  itsStreamInfo = Read32();
  return itsStreamInfo;
}

XVersion XStream::GetLastClassCreated() const {
  return itsClassesCreated.empty() ? XVersion() : itsClassesCreated.back();
}

void XStream::PopClassCreated() {
  if (!itsClassesCreated.empty()) itsClassesCreated.pop_back();
}

// ---------------------------------------------------------------- memory stream

XMemoryStream::XMemoryStream(const void* inData, UInt64 inBytes, XByteOrder inOrder)
    : XStream(inOrder) {
  WriteBytes(inData, inBytes);
  itsPosition = 0;
}

void XMemoryStream::Reserve(UInt64 inBytes) {
  if (inBytes <= itsCapacity) return;
  UInt64 capacity = std::max<UInt64>({inBytes, itsCapacity * 2, 256});
  std::unique_ptr<UInt8[]> buffer(new UInt8[capacity]);
  if (itsExtent) std::memcpy(buffer.get(), itsBuffer.get(), itsExtent);
  itsBuffer = std::move(buffer);
  itsCapacity = capacity;
}

void XMemoryStream::Truncate() {
  if (itsPosition < itsExtent) itsExtent = itsPosition;
}

void XMemoryStream::ReadBytes(void* outBuffer, UInt64 inBytes) {
  if (inBytes > GetRemaining()) {
    itsPosition = std::max(itsPosition, itsExtent);
    throw XException(kErrEndOfStream);
  }
  if (inBytes) std::memcpy(outBuffer, itsBuffer.get() + itsPosition, inBytes);
  itsPosition += inBytes;
}

void XMemoryStream::WriteBytes(const void* inBuffer, UInt64 inBytes) {
  UInt64 end = itsPosition + inBytes;
  Reserve(end);
  if (itsPosition > itsExtent) std::memset(itsBuffer.get() + itsExtent, 0, itsPosition - itsExtent);
  if (inBytes) std::memcpy(itsBuffer.get() + itsPosition, inBuffer, inBytes);
  itsPosition = end;
  itsExtent = std::max(itsExtent, end);
}

}  // namespace mirelan
