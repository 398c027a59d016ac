// The library's error channel: numbered exceptions thrown by value, and the
// internal-error routine behind XAssert for broken preconditions.
#pragma once

#include <exception>
#include <stdexcept>

#include "core/XExport.h"
#include "core/XTypes.h"

namespace mirelan {

// Numbers the core throws. The imaging layers add their own (see docs).
enum : SInt32 {
  kErrEndOfStream = 1001,      // a read went past the end of a stream
  kErrBadStreamSize = 1002,    // a count or size in a stream cannot be right
  kErrFile = 1003,             // the operating system refused a file operation
  kErrBadStreamHeader = 1004,  // not a stream header of this library
  kErrWrongClass = 1005,       // stream holds another class than expected
  kErrGeneral = 1006,          // general failure of a service
  kErrBadCompressedData = 1007,
  kErrCancelled = 1008,        // the user cancelled through the progress sink
  kErrImpossibleSize = 1009,   // no volume can have this size (a side beyond 2^31 - 1, an inside-out box)
  kErrFileChanged = 1010,      // a file that data is read from on demand has changed or gone since it was opened
  kErrOutOfMemory = 1012,
  kErrNewerVersion = 1015,     // stream holds a newer version than this code reads
  kErrBadImageFile = 1020,     // an image file is damaged or is no image file
  kErrUnsupportedImage = 1021, // an image file or image of a kind this library does not read or write
  kErrNotForPixelType = 2500,  // operation not available for this pixel type
};

class MIRELAN_EXPORT XException : public std::exception {
 public:
  explicit XException(SInt32 inNumber, XString inDetail = XString());
  XException(const XException&) = default;
  XException& operator=(const XException&) = default;
  ~XException() override = default;

  SInt32 GetErrorNumber() const { return itsNumber; }
  const XString& GetDetail() const { return itsDetail; }

  virtual XString GetErrorMessage() const;
  virtual bool ShouldLogError() const { return !IsSilentErrorCode(); }
  virtual bool ShouldReportError() const { return !IsSilentErrorCode(); }
  virtual bool IsCrashError() const { return false; }
  virtual XString GetCrashDump() const { return XString(); }
  virtual bool IsSilentErrorCode() const { return itsNumber == kErrCancelled; }

  // The number's text and the detail, as they were when the exception was made.
  const char* what() const noexcept override;

  // The text map: numbers without an entry print as "error N".
  static void AddErrorStringToMap(SInt32 inNumber, const XString& inText);
  static XString GetErrorString(SInt32 inNumber);

  // Number of the last XException made on the calling thread, 0 if none.
  static SInt32 GetLastError();
  static void ResetLastError();

 private:
  SInt32 itsNumber;
  XString itsDetail;
  XString itsWhat;  // the message of this number and detail, made at construction
};

// A broken precondition: a programming error, never a data error. It does not
// derive from XException so that hosts do not mistake it for bad input.
class MIRELAN_EXPORT XInternalError : public std::logic_error {
 public:
  XInternalError(const char* inExpression, const char* inFile, int inLine);
  const char* GetExpression() const { return itsExpression; }
  const char* GetFile() const { return itsFile; }
  int GetLine() const { return itsLine; }

 private:
  const char* itsExpression;
  const char* itsFile;
  int itsLine;
};

using XInternalErrorHandler = void (*)(const char* inExpression, const char* inFile, int inLine);

// Installs a handler for broken preconditions and returns the previous one.
// The default throws XInternalError; a handler that returns is followed by abort().
MIRELAN_EXPORT XInternalErrorHandler SetInternalErrorHandler(XInternalErrorHandler inHandler);

[[noreturn]] MIRELAN_EXPORT void MirelanInternalError(const char* inExpression, const char* inFile, int inLine);

#define XAssert(expr) \
  ((expr) ? static_cast<void>(0) : ::mirelan::MirelanInternalError(#expr, __FILE__, __LINE__))

}  // namespace mirelan
