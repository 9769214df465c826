// The preference manager: opening, the invalid-file question, and the
// preference operations with their order of tests.
#include "shared/prefman.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "shared/alert.h"
#include "shared/globals.h"
#include "shared/utils.h"
#include "testsupport.h"

namespace {

constexpr TypeIdent kWindowPrefs = OWB_TYPE("WPOS");

// Each alert as "type|title|button 1|button 2|text".
std::vector<std::string> gAlerts;
long gAnswer = 0;

long recordingAlert(const char* text, long type, const char* title, const char* b1, const char* b2,
                    const char*, Boolean, const char*) {
  auto shown = [](const char* s) { return std::string(s ? s : ""); };
  gAlerts.push_back(std::to_string(type) + "|" + shown(title) + "|" + shown(b1) + "|" + shown(b2) + "|" + shown(text));
  return gAnswer;
}

class PrefManTest : public ::testing::Test {
 protected:
  owbtest::TempDir home;
  owbtest::ScopedEnv homeEnv{"HOME", home.path()};
  std::string prefPath = home.path() + "/.owb/fleetmgr.prf";
  AlertHandler saved = nullptr;
  char* savedTool = nullptr;

  void SetUp() override {
    gAlerts.clear();
    gAnswer = 0;
    saved = setAlertHandler(recordingAlert);
    savedTool = gToolName;
    gToolName = const_cast<char*>("fleetmgr");
  }
  void TearDown() override {
    setAlertHandler(saved);
    gToolName = savedTool;
  }
  std::string read(PrefMan& prefs, long n) {
    char buf[64] = {0};
    long length = prefs.readNthPreference(kWindowPrefs, n, buf, sizeof buf);
    return std::string(buf, length);
  }
};

TEST_F(PrefManTest, AFileOfAnotherTypeOrVersionBringsTheQuestionAndOneNotMadeAnError) {
  Database other;
  fileNameType directory;
  ASSERT_EQ(getValidPreferencesDirectory(directory), kNoError);
  ASSERT_EQ(other.createDBFile(prefPath.c_str(), OWB_TYPE("XXXX"), 2), kNoError);
  std::string before = owbtest::readWholeFile(prefPath);
  {
    PrefMan prefs(kFleetPrefsFileType);  // "Cancel": left alone, preferences off
    EXPECT_EQ(prefs.lastError, kNoError);
    EXPECT_FALSE(prefs.isOpen());
    prefs.addPreference(kWindowPrefs, "x", 1);
    EXPECT_EQ(prefs.lastError, kPrefsNotOpen);
    EXPECT_EQ(prefs.countPreferencesOfType(kWindowPrefs), 0);
  }
  EXPECT_EQ(gAlerts, std::vector<std::string>{"1|Invalid file|Cancel|Overwrite|The preferences file " + prefPath +
                                               " was invalid. Would you like to overwrite the exisiting file?"});
  EXPECT_EQ(owbtest::readWholeFile(prefPath), before);

  // Another version asks too; "Overwrite" makes a new file but leaves it closed.
  ASSERT_EQ(other.createDBFile(prefPath.c_str(), kFleetPrefsFileType, 1), kNoError);
  gAnswer = 2;
  {
    PrefMan prefs(kFleetPrefsFileType);
    EXPECT_EQ(prefs.lastError, kNoError);
    EXPECT_FALSE(prefs.isOpen());
  }
  EXPECT_EQ(gAlerts.size(), 2u);
  short version = 0;
  EXPECT_EQ(other.validDBFile(prefPath.c_str(), kFleetPrefsFileType, &version), kNoError);
  EXPECT_EQ(version, 2);
  PrefMan next(kFleetPrefsFileType);
  EXPECT_TRUE(next.isOpen());
  EXPECT_EQ(gAlerts.size(), 2u);

  // A file that cannot be made is reported.
  gAlerts.clear();
  std::string path = home.file("no/such/dir/x.prf");
  PrefMan prefs(kFleetPrefsFileType, 2, path.c_str(), "window", TRUE);
  EXPECT_EQ(prefs.lastError, ENOENT);
  EXPECT_EQ(gAlerts, std::vector<std::string>{"2|File error|Ok||An error occurred opening or creating the window file " +
                                               path + " (" + std::to_string(ENOENT) + ")."});
}

// The first start makes the file silently; preferences are numbered fields
// of their type's block.
TEST_F(PrefManTest, FirstStartAndPreferencesNumberedInTheirTypesBlock) {
  PrefMan prefs(kFleetPrefsFileType);
  EXPECT_EQ(prefs.lastError, kNoError);
  EXPECT_TRUE(prefs.isOpen());
  EXPECT_EQ(std::string(prefs.prefPath), prefPath);
  EXPECT_TRUE(gAlerts.empty());
  short version = 0;
  Database probe;
  EXPECT_EQ(probe.validDBFile(prefPath.c_str(), kFleetPrefsFileType, &version), kNoError);
  EXPECT_EQ(version, 2);

  // Writing any number of a type that has none makes preference 1.
  prefs.writeNthPreference(kWindowPrefs, 5, "first", 5);
  EXPECT_EQ(prefs.lastError, kNoError);
  EXPECT_EQ(prefs.countPreferencesOfType(kWindowPrefs), 1);
  prefs.addPreference(kWindowPrefs, "second", 6);
  prefs.writeNthPreference(kWindowPrefs, 3, "third", 5);  // one above the count: appended
  EXPECT_EQ(prefs.countPreferencesOfType(kWindowPrefs), 3);
  prefs.writeNthPreference(kWindowPrefs, 2, "2nd", 3);
  EXPECT_EQ(read(prefs, 1), "first");
  EXPECT_EQ(read(prefs, 2), "2nd");
  EXPECT_EQ(read(prefs, 3), "third");
  char small[3];
  EXPECT_EQ(prefs.readNthPreference(kWindowPrefs, 1, small, 3), 3);

  // A number beyond the count is not appended; it fails, and the failure
  // makes the next write be dropped.
  prefs.writeNthPreference(kWindowPrefs, 7, "seventh", 7);
  EXPECT_EQ(prefs.lastError, kNoSuchField);
  prefs.writeNthPreference(kWindowPrefs, 1, "dropped", 7);
  EXPECT_EQ(read(prefs, 1), "first");
  prefs.writeNthPreference(kWindowPrefs, 1, "kept", 4);
  EXPECT_EQ(read(prefs, 1), "kept");

  prefs.deleteNthPreference(kWindowPrefs, 1);
  EXPECT_EQ(read(prefs, 1), "2nd");
  EXPECT_EQ(prefs.countPreferencesOfType(kWindowPrefs), 2);

  EXPECT_EQ(prefs.countPreferencesOfType(OWB_TYPE("NONE")), 0);
  EXPECT_EQ(prefs.lastError, kNoBlockOfType);
  prefs.deletePreferencesOfType(OWB_TYPE("NONE"));
  EXPECT_EQ(prefs.lastError, kNoError);
  prefs.deletePreferencesOfType(kWindowPrefs);
  EXPECT_EQ(prefs.countPreferencesOfType(kWindowPrefs), 0);
  EXPECT_EQ(prefs.lastError, kNoError);

  // They live in the file: another run sees them.
  prefs.addPreference(kWindowPrefs, "saved", 5);
  PrefMan second(kFleetPrefsFileType);
  EXPECT_TRUE(second.isOpen());
  EXPECT_EQ(read(second, 1), "saved");
}

}  // namespace
