// Per-user preferences: sections of typed keys in one small text file.
#pragma once

#include <map>
#include <optional>
#include <vector>

#include "core/XExport.h"
#include "core/XTypes.h"

namespace mirelan {

// The file is "prefs.ini" in $MIRELAN_PREFS_DIR when set, else in
// $XDG_CONFIG_HOME/MirelanImaging/, else in ~/.config/MirelanImaging/.
//
// Format, one entry a line, UTF-8:
//   [section]
//   key=value
// Section names, keys and values are escaped so that any bytes survive:
// backslash, newline, carriage return, tab, '=', '[', ']', '#', ';' become
// "\\", "\n", "\r", "\t", "\=", "\[", "\]", "\#", "\;", other control bytes
// "\xHH", and a space at either end "\x20". Lines starting with '#' or ';'
// are comments; blank space around names and values is ignored. A line that
// cannot be read is treated as absent, and the whole file as empty when it is
// missing, unreadable or larger than 16 MiB. Integers and bools are written in
// decimal and as "true"/"false"; floats in the shortest form that reads back
// exactly; binary blobs in base64 without padding. A value of the wrong form
// reads as absent.
//
// The saver reads the file when made. Save merges this saver's changes into
// the file as it is then (other sections, and keys this saver did not change,
// keep what other savers wrote meanwhile) and replaces it atomically through a
// temporary file and a rename. Save does not happen by itself: call it.
class MIRELAN_EXPORT XUserPrefsSaver {
 public:
  explicit XUserPrefsSaver(const XString& inSection);

  const XString& GetSection() const { return itsSection; }

  bool HasKey(const XString& inKey) const;

  XString GetString(const XString& inKey, const XString& inDefault = XString()) const;
  SInt32 GetSInt32(const XString& inKey, SInt32 inDefault = 0) const;
  Float64 GetFloat64(const XString& inKey, Float64 inDefault = 0.0) const;
  bool GetBool(const XString& inKey, bool inDefault = false) const;
  std::vector<UInt8> GetBinary(const XString& inKey,
                               const std::vector<UInt8>& inDefault = std::vector<UInt8>()) const;

  void SetString(const XString& inKey, const XString& inValue);
  void SetSInt32(const XString& inKey, SInt32 inValue);
  void SetFloat64(const XString& inKey, Float64 inValue);
  void SetBool(const XString& inKey, bool inValue);
  void SetBinary(const XString& inKey, const std::vector<UInt8>& inValue);
  void SetBinary(const XString& inKey, const void* inData, size_t inSize);

  void Remove(const XString& inKey);
  // Removes every key of the section.
  void RemoveAll();

  // False when the folder or the file could not be written; the changes are kept for a retry.
  bool Save();
  // Reads the file again; unsaved changes stay on top of what it holds.
  void Reload();

  // The path of the file, empty when no folder can be found (no variables, no home).
  static XString GetPrefsFilePath();

  // The escaping and base64 forms, exposed for tests and tools.
  static XString Escape(const XString& inText);
  static std::optional<XString> Unescape(const XString& inText);
  static XString EncodeBase64(const UInt8* inData, size_t inSize);
  static std::optional<std::vector<UInt8>> DecodeBase64(const XString& inText);

 private:
  std::optional<XString> Find(const XString& inKey) const;

  XString itsSection;
  std::map<XString, XString> itsValues;                  // this section as last read
  std::map<XString, std::optional<XString>> itsChanges;  // unsaved: value, or removal
  bool itsRemoveAll = false;                             // unsaved RemoveAll
};

}  // namespace mirelan
