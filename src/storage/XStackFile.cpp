#include "storage/XStackFile.h"

#include <algorithm>
#include <cstring>

#include "core/XHandleStream.h"
#include "core/XProgress.h"
#include "storage/XPNGCodec.h"
#include "storage/internal/XTemporaryOutput.h"

namespace mirelan {

namespace {

XString LowerCase(XString inText) {
  std::transform(inText.begin(), inText.end(), inText.begin(), [](unsigned char c) { return char(std::tolower(c)); });
  return inText;
}

}  // namespace

XStackFileKind XStackFile::KindOfName(const XFileSpec& inFile) {
  const XString extension = LowerCase(inFile.GetExtension());
  if (extension == "tif" || extension == "tiff" || extension == "btf" || extension == "tf8") return XStackFileKind::kTIFF;
  if (extension == kStreamExtension) return XStackFileKind::kStream;
  if (extension == "png") return XStackFileKind::kPNG;
  return XStackFileKind::kUnknown;
}

XStackFileKind XStackFile::KindOfContent(const XFileSpec& inFile) {
  XFile file(inFile, kReadOnly);
  UInt8 head[8] = {0};
  const UInt64 count = file.ReadAt(0, head, sizeof(head));
  const bool little = count >= 4 && head[0] == 'I' && head[1] == 'I' && (head[2] == 42 || head[2] == 43) && head[3] == 0;
  const bool big = count >= 4 && head[0] == 'M' && head[1] == 'M' && head[2] == 0 && (head[3] == 42 || head[3] == 43);
  if (little || big) return XStackFileKind::kTIFF;
  if (count >= 4 && !std::memcmp(head, "MIRL", 4)) return XStackFileKind::kStream;
  if (count >= 8 && !std::memcmp(head, "\x89PNG\r\n\x1A\n", 8)) return XStackFileKind::kPNG;
  return XStackFileKind::kUnknown;
}

XImageStack XStackFile::Read(const XFileSpec& inFile) {
  switch (KindOfContent(inFile)) {
    case XStackFileKind::kTIFF:
      return XTIFFCodec::Read(inFile);
    case XStackFileKind::kPNG:
      return XPNGCodec::Read(inFile);
    case XStackFileKind::kStream: {
      XFileStream stream(inFile, kReadOnly);
      try {
        return ReadStream(stream);
      } catch (const XException& e) {
        throw XException(e.GetErrorNumber(), inFile.GetPath() + ": " + e.GetErrorMessage());
      }
    }
    case XStackFileKind::kUnknown:
      break;
  }
  throw XException(kErrUnsupportedImage, inFile.GetPath() + ": not a TIFF, PNG or MirelanImaging stream file");
}

void XStackFile::Write(const XImageStack& inStack, const XFileSpec& inFile, const XTIFFWriteOptions& inTIFFOptions) {
  switch (KindOfName(inFile)) {
    case XStackFileKind::kTIFF:
      return XTIFFCodec::Write(inStack, inFile, inTIFFOptions);
    case XStackFileKind::kStream: {
      inStack.CheckComplete();
      XTemporaryOutput output(inFile);
      {
        XFileStream stream(output.GetTemporary(), kCreateReadWrite);
        WriteStream(inStack, stream);
        stream.Flush();
      }
      output.Commit();
      return;
    }
    default:
      throw XException(kErrUnsupportedImage,
                       inFile.GetPath() + ": stacks are written as .tif, .tiff or ." + kStreamExtension + " files");
  }
}

void XStackFile::WriteStream(const XImageStack& inStack, XStream& ioStream) {
  inStack.CheckComplete();
  ioStream.WriteStreamInfo();
  ioStream.Write32(inStack.GetTimepointCount());
  ioStream.Write32(inStack.GetChannelCount());
  ioStream.WriteString(inStack.GetUnit());
  ioStream.WriteFloat64S(inStack.GetTimeInterval());
  for (UInt32 c = 1; c <= inStack.GetChannelCount(); ++c) ioStream.WriteString(inStack.GetChannelName(c));
  XProgress progress(UInt64(inStack.GetTimepointCount()) * inStack.GetChannelCount(), "writing", kProgressStandard,
                     500, false);
  for (UInt32 t = 1; t <= inStack.GetTimepointCount(); ++t)
    for (UInt32 c = 1; c <= inStack.GetChannelCount(); ++c) {
      ioStream.WriteObject(inStack.GetVolume(t, c));
      progress.Increment();
    }
}

XImageStack XStackFile::ReadStream(XStream& ioStream) {
  ioStream.ReadStreamInfo();
  const UInt32 timepoints = ioStream.Read32(), channels = ioStream.Read32();
  // Each volume takes more than its four-byte object word.
  if (timepoints == 0 || channels == 0) throw XException(kErrBadStreamSize, "a stack of no volumes");
  ioStream.CheckReadable(UInt64(timepoints) * channels * 4);
  XImageStack stack(timepoints, channels);
  stack.SetUnit(ioStream.ReadString());
  stack.SetTimeInterval(ioStream.ReadFloat64S());
  for (UInt32 c = 1; c <= channels; ++c) stack.SetChannelName(c, ioStream.ReadString());
  XProgress progress(UInt64(timepoints) * channels, "reading", kProgressStandard, 500, false);
  for (UInt32 t = 1; t <= timepoints; ++t)
    for (UInt32 c = 1; c <= channels; ++c) {
      stack.SetVolume(t, c, ioStream.ReadObjectAs<XVolume>());
      progress.Increment();
    }
  stack.CheckComplete();
  return stack;
}

}  // namespace mirelan
