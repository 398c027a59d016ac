// The test program's own preferences folder: FFTW's wisdom goes there.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

namespace {

class PrefsFolder : public ::testing::Environment {
 public:
  void SetUp() override {
    char pattern[] = "/tmp/mirelan-alignment-XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    itsFolder = pattern;
    setenv("MIRELAN_PREFS_DIR", itsFolder.c_str(), 1);
  }
  void TearDown() override { std::filesystem::remove_all(itsFolder); }

 private:
  std::string itsFolder;
};

const auto* const kPrefsFolder = ::testing::AddGlobalTestEnvironment(new PrefsFolder);

}  // namespace
