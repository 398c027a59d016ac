#include "core/XException.h"

#include <atomic>
#include <cstdlib>
#include <map>
#include <mutex>

namespace mirelan {

namespace {

std::mutex& ErrorMapMutex() {
  static std::mutex sMutex;
  return sMutex;
}

std::map<SInt32, XString>& ErrorMap() {
  static std::map<SInt32, XString> sMap = {
      {kErrEndOfStream, "read past the end of the stream"},
      {kErrBadStreamSize, "the stream holds a size or count that cannot be right"},
      {kErrFile, "the file could not be opened, read or written"},
      {kErrBadStreamHeader, "the stream does not start with a MirelanImaging header"},
      {kErrBadCompressedData, "compressed data is damaged"},
      {kErrCancelled, "cancelled"},
      {kErrImpossibleSize, "no volume can have this size"},
      {kErrOutOfMemory, "out of memory"},
      {kErrBadImageFile, "the file is damaged or is no image file"},
      {kErrUnsupportedImage, "the image is of a kind this library does not handle"},
  };
  return sMap;
}

thread_local SInt32 sLastError = 0;

void ThrowInternalError(const char* inExpression, const char* inFile, int inLine) {
  throw XInternalError(inExpression, inFile, inLine);
}

std::atomic<XInternalErrorHandler> sHandler{&ThrowInternalError};

}  // namespace

XException::XException(SInt32 inNumber, XString inDetail)
    : itsNumber(inNumber), itsDetail(std::move(inDetail)) {
  sLastError = inNumber;
  // Made once here, so that what() writes nothing and may be called from
  // several threads at once.
  itsWhat = XException::GetErrorMessage();
}

XString XException::GetErrorMessage() const {
  XString text = GetErrorString(itsNumber);
  if (!itsDetail.empty()) text += ": " + itsDetail;
  return text;
}

const char* XException::what() const noexcept { return itsWhat.c_str(); }

void XException::AddErrorStringToMap(SInt32 inNumber, const XString& inText) {
  std::lock_guard<std::mutex> guard(ErrorMapMutex());
  ErrorMap()[inNumber] = inText;
}

XString XException::GetErrorString(SInt32 inNumber) {
  std::lock_guard<std::mutex> guard(ErrorMapMutex());
  auto it = ErrorMap().find(inNumber);
  if (it != ErrorMap().end()) return it->second;
  return "error " + std::to_string(inNumber);
}

SInt32 XException::GetLastError() { return sLastError; }

void XException::ResetLastError() { sLastError = 0; }

XInternalError::XInternalError(const char* inExpression, const char* inFile, int inLine)
    : std::logic_error(std::string("precondition failed: ") + inExpression + " (" + inFile + ":" +
                       std::to_string(inLine) + ")"),
      itsExpression(inExpression),
      itsFile(inFile),
      itsLine(inLine) {}

XInternalErrorHandler SetInternalErrorHandler(XInternalErrorHandler inHandler) {
  return sHandler.exchange(inHandler ? inHandler : &ThrowInternalError);
}

void MirelanInternalError(const char* inExpression, const char* inFile, int inLine) {
  sHandler.load()(inExpression, inFile, inLine);
  std::abort();
}

}  // namespace mirelan
