#include "storage/internal/XTIFFHandle.h"

#include <cstdarg>
#include <cstdio>
#include <algorithm>
#include <cstring>

namespace mirelan {

// What the handle's callbacks share: the last message and, for memory
// reading, the bytes and the position.
struct XTIFFHandle::XState {
  XString itsLastError;
  const UInt8* itsData = nullptr;
  UInt64 itsSize = 0;
  UInt64 itsPosition = 0;
  std::unique_ptr<XFile> itsFile;  // raw reads of a file being read
};

namespace {

int KeepError(TIFF*, void* inUser, const char* inModule, const char* inFormat, va_list inArgs) {
  char text[512];
  std::vsnprintf(text, sizeof(text), inFormat, inArgs);
  auto* state = static_cast<XTIFFHandle::XState*>(inUser);
  state->itsLastError = inModule && *inModule ? XString(inModule) + ": " + text : XString(text);
  return 1;  // handled: libtiff prints nothing
}

int IgnoreWarning(TIFF*, void*, const char*, const char*, va_list) { return 1; }

// Largest single buffer libtiff may allocate for one file.
constexpr tmsize_t kMaxLibTIFFAllocation = tmsize_t(1) << 30;

struct XOptions {
  TIFFOpenOptions* itsOptions;
  explicit XOptions(XTIFFHandle::XState* inState) : itsOptions(TIFFOpenOptionsAlloc()) {
    TIFFOpenOptionsSetErrorHandlerExtR(itsOptions, &KeepError, inState);
    TIFFOpenOptionsSetWarningHandlerExtR(itsOptions, &IgnoreWarning, inState);
    TIFFOpenOptionsSetMaxSingleMemAlloc(itsOptions, kMaxLibTIFFAllocation);
  }
  ~XOptions() { TIFFOpenOptionsFree(itsOptions); }
};

XTIFFHandle::XState& StateOf(thandle_t inHandle) { return *static_cast<XTIFFHandle::XState*>(inHandle); }

tmsize_t MemoryRead(thandle_t inHandle, void* outBuffer, tmsize_t inBytes) {
  XTIFFHandle::XState& s = StateOf(inHandle);
  if (inBytes <= 0 || s.itsPosition >= s.itsSize) return 0;
  UInt64 count = std::min<UInt64>(UInt64(inBytes), s.itsSize - s.itsPosition);
  std::memcpy(outBuffer, s.itsData + s.itsPosition, count);
  s.itsPosition += count;
  return tmsize_t(count);
}

tmsize_t MemoryWrite(thandle_t, void*, tmsize_t) { return 0; }

toff_t MemorySeek(thandle_t inHandle, toff_t inOffset, int inWhence) {
  XTIFFHandle::XState& s = StateOf(inHandle);
  UInt64 base = inWhence == SEEK_CUR ? s.itsPosition : inWhence == SEEK_END ? s.itsSize : 0;
  s.itsPosition = base + inOffset;
  return s.itsPosition;
}

int MemoryClose(thandle_t) { return 0; }
toff_t MemorySize(thandle_t inHandle) { return StateOf(inHandle).itsSize; }
int NoMap(thandle_t, void**, toff_t*) { return 0; }
void NoUnmap(thandle_t, void*, toff_t) {}

}  // namespace

XTIFFHandle::XTIFFHandle(const XFileSpec& inFile, const char* inMode, const XString& inShownName)
    : itsName(inShownName.empty() ? inFile.GetPath() : inShownName), itsState(std::make_unique<XState>()) {
  const bool reading = inMode[0] == 'r';
  if (reading) {
    // The system's reason (no such file, no permission) comes from XFile.
    itsState->itsFile = std::make_unique<XFile>(inFile, kReadOnly);
    itsFileSize = itsState->itsFile->GetSize();
  }
  XOptions options(itsState.get());
  itsTIFF = TIFFOpenExt(inFile.GetPath().c_str(), inMode, options.itsOptions);
  if (!itsTIFF) {
    if (!reading) throw XException(kErrFile, itsName + ": cannot be written: " + itsState->itsLastError);
    Fail(kErrBadImageFile, "not a TIFF file");
  }
}

XTIFFHandle::XTIFFHandle(const void* inData, UInt64 inBytes, const XString& inName)
    : itsName(inName), itsFileSize(inBytes), itsState(std::make_unique<XState>()) {
  itsState->itsData = static_cast<const UInt8*>(inData);
  itsState->itsSize = inBytes;
  XOptions options(itsState.get());
  // "m": no memory mapping, the buffer is read through the procedures.
  itsTIFF = TIFFClientOpenExt(inName.c_str(), "rm", itsState.get(), &MemoryRead, &MemoryWrite, &MemorySeek,
                              &MemoryClose, &MemorySize, &NoMap, &NoUnmap, options.itsOptions);
  if (!itsTIFF) Fail(kErrBadImageFile, "not a TIFF file");
}

XTIFFHandle::~XTIFFHandle() {
  if (itsTIFF) TIFFClose(itsTIFF);
}

void XTIFFHandle::ReadRaw(UInt64 inOffset, void* outBuffer, UInt64 inBytes) const {
  if (inOffset > itsFileSize || inBytes > itsFileSize - inOffset) Fail(kErrBadImageFile, "image data beyond the end");
  if (itsState->itsFile) {
    if (itsState->itsFile->ReadAt(inOffset, outBuffer, inBytes) != inBytes) Fail(kErrBadImageFile, "short read");
  } else {
    std::memcpy(outBuffer, itsState->itsData + inOffset, inBytes);
  }
}

void XTIFFHandle::Fail(SInt32 inNumber, const XString& inWhat) const {
  XString text = itsName + ": " + inWhat;
  if (!itsState->itsLastError.empty()) text += " (" + itsState->itsLastError + ")";
  throw XException(inNumber, text);
}

void XTIFFHandle::Check(int inResult, const char* inWhat) const {
  if (inResult <= 0) Fail(kErrBadImageFile, inWhat);
}

}  // namespace mirelan
