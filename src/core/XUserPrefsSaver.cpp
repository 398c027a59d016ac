#include "core/XUserPrefsSaver.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cctype>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <mutex>

namespace mirelan {

namespace {

using Section = std::map<XString, XString>;
using Sections = std::map<XString, Section>;

constexpr std::streamoff kMaxFileSize = 16 << 20;
constexpr const char* kFileName = "prefs.ini";
constexpr const char* kBase64 = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// Savers of one process do their read-merge-write one at a time.
std::mutex& FileMutex() {
  static std::mutex sMutex;
  return sMutex;
}

XString HomeFolder() {
  if (const char* home = std::getenv("HOME"); home && *home) return home;
  struct passwd entry;
  struct passwd* found = nullptr;
  char buffer[4096];
  if (getpwuid_r(getuid(), &entry, buffer, sizeof buffer, &found) == 0 && found && found->pw_dir)
    return found->pw_dir;
  return XString();
}

XString PrefsFolder() {
  if (const char* dir = std::getenv("MIRELAN_PREFS_DIR"); dir && *dir) return dir;
  // Relative values are invalid by the XDG rules and ignored.
  if (const char* config = std::getenv("XDG_CONFIG_HOME"); config && config[0] == '/')
    return XString(config) + "/MirelanImaging";
  XString home = HomeFolder();
  if (home.empty()) return XString();
  return home + "/.config/MirelanImaging";
}

bool IsBlank(char inChar) { return inChar == ' ' || inChar == '\t'; }

XString Trim(const XString& inText) {
  size_t first = 0, last = inText.size();
  while (first < last && IsBlank(inText[first])) ++first;
  while (last > first && IsBlank(inText[last - 1])) --last;
  return inText.substr(first, last - first);
}

// Position of the first inTarget not part of an escape, or npos.
size_t FindUnescaped(const XString& inText, char inTarget, size_t inFrom = 0) {
  for (size_t i = inFrom; i < inText.size(); ++i) {
    if (inText[i] == '\\')
      ++i;
    else if (inText[i] == inTarget)
      return i;
  }
  return XString::npos;
}

Sections ParseText(const XString& inText) {
  Sections sections;
  std::optional<XString> current;  // none before the first header, or after a bad one
  size_t start = 0;
  while (start < inText.size()) {
    size_t end = inText.find('\n', start);
    if (end == XString::npos) end = inText.size();
    XString line = Trim(inText.substr(start, end - start));
    start = end + 1;
    if (!line.empty() && line.back() == '\r') line = Trim(line.substr(0, line.size() - 1));
    if (line.empty() || line[0] == '#' || line[0] == ';') continue;

    if (line[0] == '[') {
      size_t close = FindUnescaped(line, ']', 1);
      current.reset();
      if (close == line.size() - 1) current = XUserPrefsSaver::Unescape(Trim(line.substr(1, close - 1)));
      continue;
    }
    size_t equals = FindUnescaped(line, '=');
    if (!current || equals == XString::npos) continue;
    auto key = XUserPrefsSaver::Unescape(Trim(line.substr(0, equals)));
    auto value = XUserPrefsSaver::Unescape(Trim(line.substr(equals + 1)));
    if (!key || key->empty() || !value) continue;
    sections[*current][*key] = *value;
  }
  return sections;
}

Sections ReadFile(const XString& inPath) {
  std::ifstream in(inPath, std::ios::binary);
  if (!in) return Sections();
  in.seekg(0, std::ios::end);
  std::streamoff size = in.tellg();
  if (size < 0 || size > kMaxFileSize) return Sections();
  in.seekg(0, std::ios::beg);
  XString text(static_cast<size_t>(size), '\0');
  if (!in.read(text.data(), size)) return Sections();
  return ParseText(text);
}

XString FormatText(const Sections& inSections) {
  XString text;
  for (const auto& [name, keys] : inSections) {
    if (keys.empty()) continue;
    if (!text.empty()) text += '\n';
    text += '[' + XUserPrefsSaver::Escape(name) + "]\n";
    for (const auto& [key, value] : keys)
      text += XUserPrefsSaver::Escape(key) + '=' + XUserPrefsSaver::Escape(value) + '\n';
  }
  return text;
}

bool WriteAll(int inFile, const XString& inText) {
  const char* data = inText.data();
  size_t left = inText.size();
  while (left > 0) {
    ssize_t written = ::write(inFile, data, left);
    if (written < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    data += written;
    left -= static_cast<size_t>(written);
  }
  return true;
}

// Readers see the old file or the new one, never a part: write a temporary
// beside it, flush it to disk, then rename over.
bool WriteFileAtomically(const XString& inPath, const XString& inText) {
  static std::atomic<UInt32> sCounter{0};
  XString temporary = inPath + ".tmp-" + std::to_string(::getpid()) + "-" + std::to_string(sCounter++);
  int file = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  if (file < 0) return false;
  bool ok = WriteAll(file, inText) && ::fsync(file) == 0;
  ok = ::close(file) == 0 && ok;
  if (ok) ok = ::rename(temporary.c_str(), inPath.c_str()) == 0;
  if (!ok) ::unlink(temporary.c_str());
  return ok;
}

template <class T>
bool ParseNumber(const XString& inText, T& outValue) {
  const char* end = inText.data() + inText.size();
  auto [ptr, error] = std::from_chars(inText.data(), end, outValue);
  return error == std::errc() && ptr == end && !inText.empty();
}

}  // namespace

// ---------------------------------------------------------------------------

XUserPrefsSaver::XUserPrefsSaver(const XString& inSection) : itsSection(inSection) { Reload(); }

XString XUserPrefsSaver::GetPrefsFilePath() {
  XString folder = PrefsFolder();
  if (folder.empty()) return XString();
  return folder + "/" + kFileName;
}

void XUserPrefsSaver::Reload() {
  XString path = GetPrefsFilePath();
  Sections sections;
  if (!path.empty()) {
    std::lock_guard<std::mutex> guard(FileMutex());
    sections = ReadFile(path);
  }
  auto found = sections.find(itsSection);
  itsValues = found == sections.end() ? Section() : std::move(found->second);
}

bool XUserPrefsSaver::Save() {
  XString path = GetPrefsFilePath();
  if (path.empty()) return false;
  std::lock_guard<std::mutex> guard(FileMutex());
  Sections sections = ReadFile(path);
  Section& mine = sections[itsSection];
  if (itsRemoveAll) mine.clear();
  for (const auto& [key, value] : itsChanges) {
    if (value)
      mine[key] = *value;
    else
      mine.erase(key);
  }
  std::error_code error;
  std::filesystem::create_directories(std::filesystem::path(path).parent_path(), error);
  if (!WriteFileAtomically(path, FormatText(sections))) return false;
  itsValues = mine;
  itsChanges.clear();
  itsRemoveAll = false;
  return true;
}

std::optional<XString> XUserPrefsSaver::Find(const XString& inKey) const {
  if (auto change = itsChanges.find(inKey); change != itsChanges.end()) return change->second;
  if (itsRemoveAll) return std::nullopt;
  if (auto value = itsValues.find(inKey); value != itsValues.end()) return value->second;
  return std::nullopt;
}

bool XUserPrefsSaver::HasKey(const XString& inKey) const { return Find(inKey).has_value(); }

XString XUserPrefsSaver::GetString(const XString& inKey, const XString& inDefault) const {
  auto value = Find(inKey);
  return value ? *value : inDefault;
}

SInt32 XUserPrefsSaver::GetSInt32(const XString& inKey, SInt32 inDefault) const {
  auto text = Find(inKey);
  SInt32 value;
  return text && ParseNumber(*text, value) ? value : inDefault;
}

Float64 XUserPrefsSaver::GetFloat64(const XString& inKey, Float64 inDefault) const {
  auto text = Find(inKey);
  Float64 value;
  return text && ParseNumber(*text, value) ? value : inDefault;
}

bool XUserPrefsSaver::GetBool(const XString& inKey, bool inDefault) const {
  auto text = Find(inKey);
  if (!text) return inDefault;
  XString lower;
  for (char c : *text) lower += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  if (lower == "true" || lower == "1" || lower == "yes" || lower == "on") return true;
  if (lower == "false" || lower == "0" || lower == "no" || lower == "off") return false;
  return inDefault;
}

std::vector<UInt8> XUserPrefsSaver::GetBinary(const XString& inKey,
                                              const std::vector<UInt8>& inDefault) const {
  auto text = Find(inKey);
  if (!text) return inDefault;
  auto data = DecodeBase64(*text);
  return data ? std::move(*data) : inDefault;
}

void XUserPrefsSaver::SetString(const XString& inKey, const XString& inValue) {
  itsChanges[inKey] = inValue;
}

void XUserPrefsSaver::SetSInt32(const XString& inKey, SInt32 inValue) {
  SetString(inKey, std::to_string(inValue));
}

void XUserPrefsSaver::SetFloat64(const XString& inKey, Float64 inValue) {
  char text[64];
  auto result = std::to_chars(text, text + sizeof text, inValue);
  SetString(inKey, XString(text, result.ptr));
}

void XUserPrefsSaver::SetBool(const XString& inKey, bool inValue) {
  SetString(inKey, inValue ? "true" : "false");
}

void XUserPrefsSaver::SetBinary(const XString& inKey, const std::vector<UInt8>& inValue) {
  SetString(inKey, EncodeBase64(inValue.data(), inValue.size()));
}

void XUserPrefsSaver::SetBinary(const XString& inKey, const void* inData, size_t inSize) {
  SetString(inKey, EncodeBase64(static_cast<const UInt8*>(inData), inSize));
}

void XUserPrefsSaver::Remove(const XString& inKey) { itsChanges[inKey] = std::nullopt; }

void XUserPrefsSaver::RemoveAll() {
  itsChanges.clear();
  itsRemoveAll = true;
}

// ---------------------------------------------------------------------------

XString XUserPrefsSaver::Escape(const XString& inText) {
  static const char* kHex = "0123456789ABCDEF";
  XString out;
  out.reserve(inText.size());
  for (size_t i = 0; i < inText.size(); ++i) {
    unsigned char c = static_cast<unsigned char>(inText[i]);
    switch (c) {
      case '\\': out += "\\\\"; continue;
      case '\n': out += "\\n"; continue;
      case '\r': out += "\\r"; continue;
      case '\t': out += "\\t"; continue;
      case '=': case '[': case ']': case '#': case ';':
        out += '\\';
        out += static_cast<char>(c);
        continue;
      default: break;
    }
    // Spaces at the ends would be trimmed on reading.
    bool endSpace = c == ' ' && (i == 0 || i + 1 == inText.size());
    if (c < 0x20 || c == 0x7F || endSpace) {
      out += "\\x";
      out += kHex[c >> 4];
      out += kHex[c & 15];
    } else {
      out += static_cast<char>(c);
    }
  }
  return out;
}

std::optional<XString> XUserPrefsSaver::Unescape(const XString& inText) {
  auto hexDigit = [](char c) -> int {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
  };
  XString out;
  out.reserve(inText.size());
  for (size_t i = 0; i < inText.size(); ++i) {
    char c = inText[i];
    if (c != '\\') {
      out += c;
      continue;
    }
    if (++i == inText.size()) return std::nullopt;
    switch (inText[i]) {
      case '\\': case '=': case '[': case ']': case '#': case ';': out += inText[i]; break;
      case 'n': out += '\n'; break;
      case 'r': out += '\r'; break;
      case 't': out += '\t'; break;
      case 'x': {
        if (i + 2 >= inText.size()) return std::nullopt;
        int high = hexDigit(inText[i + 1]), low = hexDigit(inText[i + 2]);
        if (high < 0 || low < 0) return std::nullopt;
        out += static_cast<char>(high * 16 + low);
        i += 2;
        break;
      }
      default: return std::nullopt;
    }
  }
  return out;
}

XString XUserPrefsSaver::EncodeBase64(const UInt8* inData, size_t inSize) {
  XString out;
  out.reserve((inSize + 2) / 3 * 4);
  size_t i = 0;
  for (; i + 3 <= inSize; i += 3) {
    UInt32 bits = UInt32(inData[i]) << 16 | UInt32(inData[i + 1]) << 8 | inData[i + 2];
    out += kBase64[bits >> 18];
    out += kBase64[(bits >> 12) & 63];
    out += kBase64[(bits >> 6) & 63];
    out += kBase64[bits & 63];
  }
  if (size_t rest = inSize - i; rest > 0) {
    UInt32 bits = UInt32(inData[i]) << 16 | (rest == 2 ? UInt32(inData[i + 1]) << 8 : 0);
    out += kBase64[bits >> 18];
    out += kBase64[(bits >> 12) & 63];
    if (rest == 2) out += kBase64[(bits >> 6) & 63];
  }
  return out;
}

std::optional<std::vector<UInt8>> XUserPrefsSaver::DecodeBase64(const XString& inText) {
  size_t length = inText.size();
  // Padding is accepted, though Encode does not write it.
  while (length > 0 && inText[length - 1] == '=' && inText.size() - length < 2) --length;
  if (length % 4 == 1) return std::nullopt;
  std::vector<UInt8> out;
  out.reserve(length * 3 / 4);
  UInt32 bits = 0;
  int count = 0;
  for (size_t i = 0; i < length; ++i) {
    const char* found = std::strchr(kBase64, inText[i]);
    if (!found || inText[i] == '\0') return std::nullopt;
    bits = bits << 6 | static_cast<UInt32>(found - kBase64);
    if (++count == 4) {
      out.push_back(static_cast<UInt8>(bits >> 16));
      out.push_back(static_cast<UInt8>(bits >> 8));
      out.push_back(static_cast<UInt8>(bits));
      bits = 0;
      count = 0;
    }
  }
  if (count == 2) {
    out.push_back(static_cast<UInt8>(bits >> 4));
  } else if (count == 3) {
    out.push_back(static_cast<UInt8>(bits >> 10));
    out.push_back(static_cast<UInt8>(bits >> 2));
  }
  return out;
}

}  // namespace mirelan
