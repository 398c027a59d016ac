#include "storage/internal/XContiguousTIFFWriter.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "core/XHandleStream.h"
#include "core/XProgress.h"

namespace mirelan {

namespace {

enum XFieldType : UInt16 { kASCII = 2, kShort = 3, kLong = 4, kRational = 5, kLong8 = 16 };

// One directory entry with its value bytes in little-endian order.
struct XEntry {
  UInt16 itsTag;
  UInt16 itsType;
  UInt64 itsCount;
  std::vector<UInt8> itsValue;
};

void Put(std::vector<UInt8>& ioBytes, UInt64 inValue, int inBytes) {
  for (int i = 0; i < inBytes; ++i) ioBytes.push_back(UInt8(inValue >> (8 * i)));
}

XEntry Shorts(UInt16 inTag, UInt16 inValue, UInt64 inCount = 1) {
  XEntry e{inTag, kShort, inCount, {}};
  for (UInt64 i = 0; i < inCount; ++i) Put(e.itsValue, inValue, 2);
  return e;
}

XEntry Long(UInt16 inTag, UInt32 inValue) {
  XEntry e{inTag, kLong, 1, {}};
  Put(e.itsValue, inValue, 4);
  return e;
}

// An offset or byte count: 32 bits in classic TIFF, 64 in BigTIFF.
XEntry Offset(UInt16 inTag, UInt64 inValue, bool inBig) {
  XEntry e{inTag, UInt16(inBig ? kLong8 : kLong), 1, {}};
  Put(e.itsValue, inValue, inBig ? 8 : 4);
  return e;
}

XEntry Text(UInt16 inTag, const XString& inText) {
  XEntry e{inTag, kASCII, inText.size() + 1, std::vector<UInt8>(inText.begin(), inText.end())};
  e.itsValue.push_back(0);
  return e;
}

// A positive number as a fraction of 32-bit integers, as close as they allow.
XEntry Rational(UInt16 inTag, Float64 inValue) {
  UInt64 denominator = 1000000;
  while (denominator > 1 && inValue * Float64(denominator) > 4294967295.0) denominator /= 10;
  const UInt64 numerator = UInt64(std::min(4294967295.0, std::floor(std::max(0.0, inValue) * Float64(denominator) + 0.5)));
  XEntry e{inTag, kRational, 1, {}};
  Put(e.itsValue, numerator, 4);
  Put(e.itsValue, denominator, 4);
  return e;
}

class XDirectoryWriter {
 public:
  XDirectoryWriter(XStream& ioStream, bool inBig) : itsStream(ioStream), itsBig(inBig) {}

  // Writes the directory at the current position, its larger values right
  // behind it; returns where its link to the next directory lies.
  UInt64 Write(std::vector<XEntry> inEntries) {
    std::sort(inEntries.begin(), inEntries.end(), [](const XEntry& a, const XEntry& b) { return a.itsTag < b.itsTag; });
    const UInt64 inlineBytes = itsBig ? 8 : 4, entryBytes = itsBig ? 20 : 12;
    const UInt64 start = itsStream.GetPosition();
    UInt64 extra = start + (itsBig ? 8 : 2) + inEntries.size() * entryBytes + (itsBig ? 8 : 4);
    WriteCount(inEntries.size(), itsBig ? 8 : 2);
    for (const XEntry& e : inEntries) {
      itsStream.Write16(e.itsTag);
      itsStream.Write16(e.itsType);
      WriteCount(e.itsCount, itsBig ? 8 : 4);
      if (e.itsValue.size() <= inlineBytes) {
        std::vector<UInt8> padded = e.itsValue;
        padded.resize(inlineBytes, 0);
        itsStream.WriteBuffer8(padded.data(), padded.size());
      } else {
        WriteCount(extra, inlineBytes);
        extra += (e.itsValue.size() + 1) & ~UInt64(1);  // values start on even offsets
      }
    }
    const UInt64 link = itsStream.GetPosition();
    WriteCount(0, itsBig ? 8 : 4);
    for (const XEntry& e : inEntries) {
      if (e.itsValue.size() <= inlineBytes) continue;
      itsStream.WriteBuffer8(e.itsValue.data(), e.itsValue.size());
      if (e.itsValue.size() & 1) itsStream.Write8(0);
    }
    return link;
  }

  void WriteCount(UInt64 inValue, UInt64 inBytes) {
    if (inBytes == 2) itsStream.Write16(UInt16(inValue));
    if (inBytes == 4) itsStream.Write32(UInt32(inValue));
    if (inBytes == 8) itsStream.Write64S(SInt64(inValue));
  }

 private:
  XStream& itsStream;
  bool itsBig;
};

std::vector<XEntry> PageEntries(const XTIFFPageLayout& inLayout, UInt64 inDataOffset, UInt64 inDataBytes,
                                const XString* inDescription, bool inBig) {
  std::vector<XEntry> entries = {
      Long(256, inLayout.itsWidth),
      Long(257, inLayout.itsHeight),
      Shorts(258, inLayout.itsBits, inLayout.itsSamples),
      Shorts(259, 1),  // no compression
      Shorts(262, inLayout.itsPhotometric),
      Offset(273, inDataOffset, inBig),
      Shorts(274, 1),  // top left
      Shorts(277, inLayout.itsSamples),
      Long(278, inLayout.itsHeight),  // one strip a page
      Offset(279, inDataBytes, inBig),
      Rational(282, inLayout.itsXResolution),
      Rational(283, inLayout.itsYResolution),
      Shorts(284, 1),  // samples of a pixel together
      Shorts(296, 1),  // no absolute unit: ImageJ names it in the description
      Text(305, "MirelanImaging"),
      Shorts(339, inLayout.itsSampleFormat, inLayout.itsSamples),
  };
  if (inDescription) entries.push_back(Text(270, *inDescription));
  return entries;
}

}  // namespace

void XWriteContiguousTIFF(const XFileSpec& inFile, const XTIFFPageLayout& inLayout, UInt32 inPages,
                          const XString& inDescription, bool inBigTIFF, const XTIFFRowSource& inRows) {
  XFileStream stream(inFile, kCreateReadWrite, UInt64(1) << 20, kLittleEndian);
  XDirectoryWriter directories(stream, inBigTIFF);
  const UInt64 rowBytes = UInt64(inLayout.itsWidth) * inLayout.itsSamples * (inLayout.itsBits / 8);
  const UInt64 pageBytes = rowBytes * inLayout.itsHeight;
  stream.WriteBuffer8("II", 2);
  if (inBigTIFF) {
    stream.Write16(43);
    stream.Write16(8);
    stream.Write16(0);
    stream.Write64S(16);
  } else {
    stream.Write16(42);
    stream.Write32(8);
  }
  // The first directory, then room up to the data, which starts on 16 bytes.
  const UInt64 firstDirectory = stream.GetPosition();
  const UInt64 dataAt = [&] {
    XMemoryStream probe(kLittleEndian);
    probe.SeekTo(firstDirectory);
    XDirectoryWriter(probe, inBigTIFF).Write(PageEntries(inLayout, 0, pageBytes, &inDescription, inBigTIFF));
    return (probe.GetPosition() + 15) & ~UInt64(15);
  }();
  UInt64 link = directories.Write(PageEntries(inLayout, dataAt, pageBytes, &inDescription, inBigTIFF));
  while (stream.GetPosition() < dataAt) stream.Write8(0);

  XProgress progress(inPages, ("writing " + inFile.GetName()).c_str(), kProgressStandard, 500, false);
  std::vector<UInt8> row(rowBytes);
  for (UInt32 page = 0; page < inPages; ++page) {
    for (UInt32 y = 0; y < inLayout.itsHeight; ++y) {
      inRows(page, y, row.data());
      stream.WriteBuffer8(row.data(), row.size());
    }
    progress.Increment();
  }
  // The other directories, each linked from the one before.
  for (UInt32 page = 1; page < inPages; ++page) {
    UInt64 here = (stream.GetPosition() + 1) & ~UInt64(1);
    while (stream.GetPosition() < here) stream.Write8(0);
    stream.SeekTo(link);
    directories.WriteCount(here, inBigTIFF ? 8 : 4);
    stream.SeekTo(here);
    link = directories.Write(PageEntries(inLayout, dataAt + UInt64(page) * pageBytes, pageBytes, nullptr, inBigTIFF));
  }
  stream.Flush();
}

}  // namespace mirelan
