// Byte streams with a byte order of their own, and the object protocol on top:
// every number is converted to the stream's order on write and back on read.
#pragma once

#include <memory>
#include <vector>

#include "core/XByteOrder.h"
#include "core/XException.h"
#include "core/XExport.h"
#include "core/XStorable.h"
#include "core/XUUID.h"

namespace mirelan {

class MIRELAN_EXPORT XStream {
 public:
  // Format version written into stream headers by WriteStreamInfo.
  static constexpr UInt16 kCurrentStreamFormat = 2;
  // Bytes of the header: magic, order mark, info word.
  static constexpr UInt64 kStreamInfoBytes = 10;
  // Objects within objects deeper than this are taken for a corrupt stream.
  static constexpr size_t kMaxObjectNesting = 64;

  explicit XStream(XByteOrder inOrder = GetByteOrderFromPlatform()) : itsByteOrder(inOrder) {}
  virtual ~XStream() = default;
  XStream(const XStream&) = delete;
  XStream& operator=(const XStream&) = delete;

  XByteOrder GetByteOrder() const { return itsByteOrder; }
  void SetByteOrder(XByteOrder inOrder) { itsByteOrder = inOrder; }
  bool IsPlatformByteOrder() const { return itsByteOrder == GetByteOrderFromPlatform(); }

  // Position and extent, in bytes from the start.
  virtual UInt64 GetPosition() const = 0;
  virtual UInt64 GetExtent() const = 0;
  // Seeking past the extent is allowed; a later write fills the gap with zeros.
  virtual void SeekTo(UInt64 inPosition) = 0;
  void Seek(SInt64 inDelta);
  // Cuts the stream at the current position.
  virtual void Truncate() = 0;
  virtual void Flush() {}
  UInt64 GetRemaining() const;
  // Throws 1002 when fewer than inBytes remain: every reader calls it before
  // it allocates from a size it read.
  void CheckReadable(UInt64 inBytes) const;

  // Raw bytes. A read short of inBytes throws 1001.
  virtual void ReadBytes(void* outBuffer, UInt64 inBytes) = 0;
  virtual void WriteBytes(const void* inBuffer, UInt64 inBytes) = 0;

  UInt8 Read8();
  UInt16 Read16();
  UInt32 Read32();
  SInt64 Read64S();
  Float32 ReadFloat32S();
  Float64 ReadFloat64S();
  void ReadBuffer8(void* outBuffer, UInt64 inCount) { ReadBytes(outBuffer, inCount); }
  void ReadBuffer16(UInt16* outBuffer, UInt64 inCount);
  void ReadBuffer32(UInt32* outBuffer, UInt64 inCount);
  XString ReadString();
  XUUID ReadUUID();
  // Four bytes alpha, red, green, blue, returned as 0xAARRGGBB.
  UInt32 ReadARGB32();
  XVersion ReadVersion() { return XVersion(Read32()); }

  void Write8(UInt8 inValue);
  void Write16(UInt16 inValue);
  void Write32(UInt32 inValue);
  void Write64S(SInt64 inValue);
  void WriteFloat32S(Float32 inValue);
  void WriteFloat64S(Float64 inValue);
  void WriteBuffer8(const void* inBuffer, UInt64 inCount) { WriteBytes(inBuffer, inCount); }
  void WriteBuffer16(const UInt16* inBuffer, UInt64 inCount);
  void WriteBuffer32(const UInt32* inBuffer, UInt64 inCount);
  void WriteString(const XString& inText);
  void WriteUUID(const XUUID& inUUID);
  void WriteARGB32(UInt32 inARGB);
  void WriteVersion(const XVersion& inVersion) { Write32(inVersion.GetValue()); }

  // Reads up to inCount bytes and steps back; returns the count read.
  UInt64 PeekBuffer8(void* outBuffer, UInt64 inCount);

  // Objects: the class's version word, then its body (WriteStream2). A null
  // object is the word 0.
  void WriteObject(const XStorable* inObject, XStorable::XOptions inOptions = XStorable::kReadAll);
  void WriteObject(const XStorable& inObject, XStorable::XOptions inOptions = XStorable::kReadAll);
  // A new object made through the registry, or null for the word 0.
  virtual XStorable* ReadObject(XStorable::XOptions inOptions = XStorable::kReadAll);
  // ReadObject, then a type check: 1005 when the object is not a T (nothing leaks).
  template <class T>
  std::unique_ptr<T> ReadObjectAs(XStorable::XOptions inOptions = XStorable::kReadAll);

  // The stream header: magic "MIRL", an order mark "II" or "MM", and an info
  // word whose high half is the format version. Reading sets the byte order.
  void WriteStreamInfo(UInt16 inFormatVersion = kCurrentStreamFormat);
  UInt32 ReadStreamInfo();
  UInt32 GetStreamInfo() const { return itsStreamInfo; }
  UInt16 GetStreamFormat() const { return static_cast<UInt16>(itsStreamInfo >> 16); }

  // The version of the object now being constructed from this stream (the
  // innermost, when objects nest); 0 outside ReadObject.
  XVersion GetLastClassCreated() const;
  void PushClassCreated(const XVersion& inVersion) { itsClassesCreated.push_back(inVersion); }
  void PopClassCreated();

 protected:
  // For streams that start where another left off (a copy of a file stream).
  void SetStreamInfo(UInt32 inInfo) { itsStreamInfo = inInfo; }

 private:
  template <typename U>
  U ReadNumber();
  template <typename U>
  void WriteNumber(U inValue);

  XByteOrder itsByteOrder;
  UInt32 itsStreamInfo = static_cast<UInt32>(kCurrentStreamFormat) << 16;
  std::vector<XVersion> itsClassesCreated;
};

template <class T>
std::unique_ptr<T> XStream::ReadObjectAs(XStorable::XOptions inOptions) {
  std::unique_ptr<XStorable> object(ReadObject(inOptions));
  if (!object) return nullptr;
  T* typed = dynamic_cast<T*>(object.get());
  if (!typed) throw XException(kErrWrongClass, "unexpected object class on stream");
  object.release();
  return std::unique_ptr<T>(typed);
}

// Growable stream in memory.
class MIRELAN_EXPORT XMemoryStream : public XStream {
 public:
  explicit XMemoryStream(XByteOrder inOrder = GetByteOrderFromPlatform()) : XStream(inOrder) {}
  // A stream over a copy of the given bytes, positioned at the start.
  XMemoryStream(const void* inData, UInt64 inBytes,
                XByteOrder inOrder = GetByteOrderFromPlatform());

  UInt64 GetPosition() const override { return itsPosition; }
  UInt64 GetExtent() const override { return itsExtent; }
  void SeekTo(UInt64 inPosition) override { itsPosition = inPosition; }
  void Truncate() override;
  void ReadBytes(void* outBuffer, UInt64 inBytes) override;
  void WriteBytes(const void* inBuffer, UInt64 inBytes) override;

  const UInt8* GetBuffer() const { return itsBuffer.get(); }
  std::vector<UInt8> GetBytes() const { return std::vector<UInt8>(itsBuffer.get(), itsBuffer.get() + itsExtent); }

 private:
  void Reserve(UInt64 inBytes);

  std::unique_ptr<UInt8[]> itsBuffer;
  UInt64 itsCapacity = 0;
  UInt64 itsExtent = 0;
  UInt64 itsPosition = 0;
};

// Helpers for storable value vectors: a 32-bit count, then each value.
template <typename T, typename WriteOne>
void XWriteVector(XStream& inStream, const std::vector<T>& inValues, WriteOne inWrite) {
  inStream.Write32(static_cast<UInt32>(inValues.size()));
  for (const T& v : inValues) inWrite(inStream, v);
}

// inMinBytesEach is the least a value takes on the stream, so that a corrupt
// count fails before anything is allocated.
template <typename T, typename ReadOne>
void XReadVector(XStream& inStream, std::vector<T>& outValues, ReadOne inRead,
                 UInt64 inMinBytesEach = 1) {
  UInt32 count = inStream.Read32();
  inStream.CheckReadable(static_cast<UInt64>(count) * inMinBytesEach);
  outValues.clear();
  outValues.reserve(count);
  for (UInt32 i = 0; i < count; ++i) outValues.push_back(inRead(inStream));
}

// Bytes XWriteVector takes for fixed-size values.
inline UInt64 XGetValueVectorStreamUsage(UInt64 inCount, UInt64 inBytesEach) {
  return 4 + inCount * inBytesEach;
}

inline void WriteStreamValue(XStream& s, UInt8 v) { s.Write8(v); }
inline void WriteStreamValue(XStream& s, UInt16 v) { s.Write16(v); }
inline void WriteStreamValue(XStream& s, UInt32 v) { s.Write32(v); }
inline void WriteStreamValue(XStream& s, SInt32 v) { s.Write32(static_cast<UInt32>(v)); }
inline void WriteStreamValue(XStream& s, SInt64 v) { s.Write64S(v); }
inline void WriteStreamValue(XStream& s, Float32 v) { s.WriteFloat32S(v); }
inline void WriteStreamValue(XStream& s, Float64 v) { s.WriteFloat64S(v); }
inline void WriteStreamValue(XStream& s, const XString& v) { s.WriteString(v); }

}  // namespace mirelan
