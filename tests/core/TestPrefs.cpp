// Per-user preferences in a temporary folder.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "core/XUserPrefsSaver.h"

using namespace mirelan;

namespace fs = std::filesystem;
using namespace std::string_literals;

namespace {

class XPrefsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    char pattern[] = "/tmp/mirelan-prefs-XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    itsFolder = fs::path(pattern) / "nested";  // Save makes missing folders
    if (const char* old = std::getenv("MIRELAN_PREFS_DIR")) itsOld = old;
    setenv("MIRELAN_PREFS_DIR", itsFolder.c_str(), 1);
  }
  void TearDown() override {
    if (itsOld.empty())
      unsetenv("MIRELAN_PREFS_DIR");
    else
      setenv("MIRELAN_PREFS_DIR", itsOld.c_str(), 1);
    fs::remove_all(itsFolder.parent_path());
  }

  fs::path itsFolder;
  std::string itsOld;
};

}  // namespace

TEST_F(XPrefsTest, TypedValuesRoundTripThroughTheFile) {
  std::vector<UInt8> blob = {0, 1, 2, 0xFF, 0x80, '=', '\n'};
  {
    XUserPrefsSaver prefs("FFTW31-x86");
    prefs.SetString("BuildDate", "2024-05-01 12:00");
    prefs.SetSInt32("Count", -2147483647 - 1);
    prefs.SetFloat64("Scale", 0.1);
    prefs.SetFloat64("Huge", -1.5e300);
    prefs.SetBool("Enabled", true);
    prefs.SetBinary("Blob", blob);
    prefs.SetBinary("Empty", std::vector<UInt8>());
    EXPECT_EQ(prefs.GetSInt32("Count"), -2147483647 - 1);  // visible before saving
    ASSERT_TRUE(prefs.Save());
  }
  XUserPrefsSaver prefs("FFTW31-x86");
  EXPECT_EQ(prefs.GetString("BuildDate"), "2024-05-01 12:00");
  EXPECT_EQ(prefs.GetSInt32("Count"), -2147483647 - 1);
  EXPECT_EQ(prefs.GetFloat64("Scale"), 0.1);  // exactly
  EXPECT_EQ(prefs.GetFloat64("Huge"), -1.5e300);
  EXPECT_TRUE(prefs.GetBool("Enabled"));
  EXPECT_EQ(prefs.GetBinary("Blob"), blob);
  EXPECT_TRUE(prefs.HasKey("Empty"));
  EXPECT_TRUE(prefs.GetBinary("Empty", {9}).empty());
  // The wrong form reads as absent.
  EXPECT_EQ(prefs.GetSInt32("BuildDate", 7), 7);
  EXPECT_EQ(prefs.GetFloat64("Enabled", 2.5), 2.5);
  EXPECT_EQ(prefs.GetBinary("BuildDate", {3}), std::vector<UInt8>{3});
  // No temporary file is left beside the result.
  EXPECT_EQ(std::distance(fs::directory_iterator(itsFolder), fs::directory_iterator()), 1);
}

TEST_F(XPrefsTest, AwkwardTextSurvivesEscaping) {
  const std::string value = "  line one\nline=two\r\n[not a section]\t#x;y\\end\x01 ";
  const std::string key = " key=with\nnewline ";
  const std::string section = "odd]section[\n";
  {
    XUserPrefsSaver prefs(section);
    prefs.SetString(key, value);
    prefs.SetString("plain", "");
    ASSERT_TRUE(prefs.Save());
  }
  std::ifstream file(itsFolder / "prefs.ini", std::ios::binary);
  std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  // One section header and two entries: nothing leaked onto lines of its own.
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 3);
  XUserPrefsSaver prefs(section);
  EXPECT_EQ(prefs.GetString(key), value);
  EXPECT_EQ(prefs.GetString("plain", "x"), "");
  for (const std::string& s : {value, std::string("\\x4"), std::string("\\")})
    EXPECT_EQ(XUserPrefsSaver::Unescape(XUserPrefsSaver::Escape(s)), s);
}

TEST_F(XPrefsTest, MalformedLinesReadAsAbsent) {
  fs::create_directories(itsFolder);
  std::ofstream(itsFolder / "prefs.ini", std::ios::binary) <<
      "orphan=before any section\n"
      "[Good]\n"
      "  a = 1  \r\n"
      "no separator here\n"
      "bad\\qescape=2\n"
      "c=trailing backslash\\\n"
      "d=\\x4\n"
      "=no key\n"
      "# comment=3\n"
      "; comment=4\n"
      "e=5\n"
      "[Broken\n"
      "f=6\n"
      "[Good]\n"
      "g=7\n"
      "\x00\xFF\xFE garbage\n"s;
  XUserPrefsSaver prefs("Good");
  EXPECT_EQ(prefs.GetSInt32("a"), 1);
  EXPECT_EQ(prefs.GetSInt32("e"), 5);
  EXPECT_EQ(prefs.GetSInt32("g"), 7);  // a repeated section adds to the first
  for (const char* absent : {"orphan", "no separator here", "bad\\qescape", "badqescape", "c", "d",
                             "", "# comment", "f"})
    EXPECT_FALSE(prefs.HasKey(absent)) << absent;
  EXPECT_FALSE(XUserPrefsSaver("Broken").HasKey("f"));

  // Saving rewrites the file cleanly and keeps what was readable.
  prefs.SetSInt32("h", 8);
  ASSERT_TRUE(prefs.Save());
  XUserPrefsSaver again("Good");
  EXPECT_EQ(again.GetSInt32("a"), 1);
  EXPECT_EQ(again.GetSInt32("h"), 8);
}

TEST_F(XPrefsTest, MissingOrUnusableFileGivesDefaults) {
  EXPECT_EQ(XUserPrefsSaver("S").GetSInt32("k", 3), 3);
  fs::create_directories(itsFolder / "prefs.ini");  // a folder where the file should be
  XUserPrefsSaver blocked("S");
  EXPECT_FALSE(blocked.HasKey("k"));
  blocked.SetSInt32("k", 1);
  EXPECT_FALSE(blocked.Save());
  EXPECT_EQ(blocked.GetSInt32("k"), 1);  // kept for a retry
}

TEST_F(XPrefsTest, SaversMergeTheirOwnChanges) {
  XUserPrefsSaver first("A"), second("A"), other("B");
  first.SetSInt32("x", 1);
  first.SetSInt32("gone", 1);
  ASSERT_TRUE(first.Save());
  second.SetSInt32("y", 2);  // made before first saved, yet keeps x
  other.SetSInt32("z", 3);
  first.Remove("gone");
  ASSERT_TRUE(second.Save() && other.Save() && first.Save());
  XUserPrefsSaver a("A");
  EXPECT_EQ(a.GetSInt32("x") + a.GetSInt32("y"), 1 + 2);
  EXPECT_FALSE(a.HasKey("gone"));

  a.RemoveAll();
  a.SetBool("fresh", true);
  ASSERT_TRUE(a.Save());
  XUserPrefsSaver after("A");
  EXPECT_FALSE(after.HasKey("x"));
  EXPECT_TRUE(after.GetBool("fresh"));
  EXPECT_EQ(XUserPrefsSaver("B").GetSInt32("z"), 3);
}

TEST_F(XPrefsTest, FolderChoiceFollowsTheEnvironment) {
  EXPECT_EQ(XUserPrefsSaver::GetPrefsFilePath(), (itsFolder / "prefs.ini").string());
  const char* xdg = std::getenv("XDG_CONFIG_HOME");
  std::string oldXdg = xdg ? xdg : "", oldHome = std::getenv("HOME") ? std::getenv("HOME") : "";
  unsetenv("MIRELAN_PREFS_DIR");
  setenv("XDG_CONFIG_HOME", "/somewhere/config", 1);
  EXPECT_EQ(XUserPrefsSaver::GetPrefsFilePath(), "/somewhere/config/MirelanImaging/prefs.ini");
  setenv("XDG_CONFIG_HOME", "relative/ignored", 1);
  setenv("HOME", "/home/someone", 1);
  EXPECT_EQ(XUserPrefsSaver::GetPrefsFilePath(), "/home/someone/.config/MirelanImaging/prefs.ini");
  xdg ? setenv("XDG_CONFIG_HOME", oldXdg.c_str(), 1) : unsetenv("XDG_CONFIG_HOME");
  setenv("HOME", oldHome.c_str(), 1);
}

TEST(XPrefsCodec, Base64KnownValuesAndRejects) {
  const UInt8 foob[] = {'f', 'o', 'o', 'b'};
  EXPECT_EQ(XUserPrefsSaver::EncodeBase64(foob, 4), "Zm9vYg");
  EXPECT_EQ(XUserPrefsSaver::DecodeBase64("Zm9vYg=="), std::vector<UInt8>(foob, foob + 4));
  EXPECT_FALSE(XUserPrefsSaver::DecodeBase64("Zm9vY"));  // one stray character
  EXPECT_FALSE(XUserPrefsSaver::DecodeBase64("Zm9v!A"));
}
