#include "shared/ui/uiglobals.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <regex>
#include <string>

#include "shared/alert.h"
#include "shared/errors.h"
#include "shared/list.h"
#include "shared/utils.h"
#include "testsupport.h"
#include "toolkit/app.h"
#include "toolkit/err.h"
#include "toolkit/icon.h"
#include "toolkit/pfld.h"
#include "toolkit/rlib.h"

namespace {

// The toolkit as a tool starts it, its libraries found in the installation
// tree; colours and fonts need no display.
void startToolkitOnce() {
  static bool started = false;
  if (started) return;
  started = true;
  owbtest::ScopedEnv path("ND_PATH", owbtest::installTree() + "/bin/resource");
  owbtest::ScopedEnv display("DISPLAY", std::nullopt);
  GW_LibInstall();
  GW_LibLoadInit();
}

// Runs initializeGlobals in a home of its own, with the installation tree
// as OWB, and cleans up afterwards.
class GlobalsTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { startToolkitOnce(); }

  owbtest::TempDir home;
  owbtest::ScopedEnv homeEnv{"HOME", home.path()};
  owbtest::ScopedEnv owbEnv{"OWB", owbtest::installTree()};
  owbtest::ScopedEnv levelEnv{"OWB_LOGLEVEL", std::nullopt};
  owbtest::ScopedEnv sizeEnv{"OWB_LOG_SIZE", std::nullopt};

  void TearDown() override {
    cleanUpGlobals();
    gMaxOWBLogSize = kDefaultMaxLogSize;
  }
  std::string logPath() const { return home.path() + "/.owb/owblog"; }
  std::string log() const { return owbtest::readWholeFile(logPath()); }
};

TEST_F(GlobalsTest, StartUpWritesLogHeaderAndDirectories) {
  initializeGlobals("fleetmgr", 0);
  EXPECT_EQ(std::string(gOwbDirectory), owbtest::installTree() + "/");
  EXPECT_EQ(std::string(gResourcesDirectory), owbtest::installTree() + "/bin/resource/");

  OWB_LOG("Got port of " << 4242 << " for Tool Manager");
  std::string text = log();
  EXPECT_TRUE(std::regex_search(
      text, std::regex("^fleetmgr globals\\.cpp \\([0-9]+\\): \t\nInitializing fleetmgr\n\n")))
      << text;
  EXPECT_TRUE(std::regex_search(
      text, std::regex("\nfleetmgr globals_test\\.cpp \\([0-9]+\\): \tGot port of 4242 for Tool Manager\n$")))
      << text;

  // A list logs its count, then each element on a line.
  List list(kStandardChunkSize, TRUE, EqualCompare);
  list.include(new NumberItem(7));
  list.include(new StringItem("seven"));
  list.log();
  text = log();
  EXPECT_NE(text.find("): \tList: (2) elements:\n"), std::string::npos);
  EXPECT_NE(text.find("): \t7\n"), std::string::npos);
  EXPECT_NE(text.find("): \tseven\n"), std::string::npos);
}

TEST_F(GlobalsTest, TrailingSlashAndLogSettings) {
  owbtest::ScopedEnv owb("OWB", owbtest::installTree() + "/");
  struct Case {
    const char *level, *size;
    int wantLevel;
    long wantSize;
  };
  // A level in the wrong case is ignored, an empty size keeps the default.
  for (const Case& c : {Case{"logall", "", 0, 409600}, Case{"logAll", "100", 2, 100}, Case{"logSome", "100", 1, 100}}) {
    owbtest::ScopedEnv level("OWB_LOGLEVEL", std::string(c.level));
    owbtest::ScopedEnv size("OWB_LOG_SIZE", std::string(c.size));
    initializeGlobals("t", 0);
    EXPECT_EQ(std::string(gOwbDirectory), owbtest::installTree() + "/");
    EXPECT_EQ(gLogLevel, c.wantLevel) << c.level;
    EXPECT_EQ(gMaxOWBLogSize, c.wantSize) << c.size;
    cleanUpGlobals();
  }
}

TEST_F(GlobalsTest, OnlyTheToolManagerEmptiesAnOversizedLog) {
  ASSERT_EQ(system(("mkdir -p '" + home.path() + "/.owb'").c_str()), 0);
  const std::string old(gMaxOWBLogSize + 10, 'o');
  owbtest::writeWholeFile(logPath(), old);

  initializeGlobals("tool", 0);  // a tool appends, whatever the size
  cleanUpGlobals();
  EXPECT_EQ(log().compare(0, old.size(), old), 0);

  initializeGlobals("toolman", 5000);
  cleanUpGlobals();
  const std::string trimmed = log();
  EXPECT_EQ(trimmed.find("ooo"), std::string::npos);
  EXPECT_NE(trimmed.find("Initializing toolman"), std::string::npos);
}

std::string rgb(ColorPtr color) {
  char text[8];
  std::snprintf(text, sizeof text, "#%02x%02x%02x", color->R, color->G, color->B);
  return text;
}

TEST_F(GlobalsTest, SharedColoursFontsAndIconComeFromTheSharedLibrary) {
  initializeGlobals("fleetmgr", 0);
  // The shared library's 16-bit components, high bytes.
  const std::pair<ColorPtr, const char*> fromLibrary[] = {
      {gHiliteColor, "#3264c8"},      {gHiliteLighterColor, "#afcdf0"}, {gHiliteDarkerColor, "#1e3c82"},
      {gLightYellowColor, "#ffffd2"}, {gLightRedColor, "#ffcdcd"},      {gLightGreenColor, "#cdffcd"},
      {gGrayTextColor, "#808080"}};
  for (const auto& [color, expected] : fromLibrary) {
    ASSERT_NE(color, nullptr) << expected;
    EXPECT_EQ(rgb(color), expected);
    EXPECT_EQ(color->Kind, COLOR_KINDRGB);
  }
  ASSERT_NE(gTextFont, nullptr);
  EXPECT_STREQ(gTextFont->Family, "DejaVu Sans Mono");
  EXPECT_EQ(gTextFont->Points, 12);
  EXPECT_FALSE(gTextFont->Bold);
  ASSERT_NE(gLabelFont, nullptr);
  EXPECT_STREQ(gLabelFont->Family, "DejaVu Sans");
  EXPECT_TRUE(gLabelFont->Bold);
  // The colour classes' library comes along; the tool's icon is there too.
  EXPECT_NE(RLIB_Find("Vgm"), nullptr);
  ResPtr icon = RES_Load("shared", "fleetmgr");
  EXPECT_EQ(PFLD_GetInt(icon, RCLAS_FindField(icon->ResClass, "Width")), 16);
  EXPECT_TRUE(ICON_ShapeIsValid(PFLD_GetStr(icon, RCLAS_FindField(icon->ResClass, "Shape"))));
  RES_Release(icon);

  // A second start (the fonts and colours are the toolkit's, kept for the
  // program's life) gives the same objects.
  ColorPtr hilite = gHiliteColor;
  FontPtr text = gTextFont;
  cleanUpGlobals();
  initializeGlobals("fleetmgr", 0);
  EXPECT_EQ(gHiliteColor, hilite);
  EXPECT_EQ(gTextFont, text);
}

TEST_F(GlobalsTest, AnInstallationWithoutTheSharedLibraryIsTheToolkitsFailure) {
  owbtest::TempDir owb;
  ASSERT_EQ(system(("mkdir -p '" + owb.path() + "/bin/resource'").c_str()), 0);
  owbtest::ScopedEnv noInstall("OWB", owb.path());
  owbtest::ScopedEnv path("ND_PATH", owbtest::installTree() + "/bin/resource");
  if (RLibPtr loaded = RLIB_Find("shared")) RLIB_Unload(loaded);

  ErrTrace frame("Test", __FILE__, __LINE__);
  ERR_SetReportSilent(frame.rec());
  EXPECT_FALSE(ERR_TryRecoverFn(frame, [] { initializeGlobals("fleetmgr", 0); }));
  EXPECT_EQ(RLIB_Find("shared"), nullptr);
}

TEST(GlobalsDeathTest, MissingOwbEndsTheProcess) {
  owbtest::TempDir home;
  owbtest::ScopedEnv homeEnv("HOME", home.path());
  for (const char* value : {static_cast<const char*>(nullptr), ""}) {
    owbtest::ScopedEnv owb("OWB", value ? std::optional<std::string>(value) : std::nullopt);
    EXPECT_EXIT(initializeGlobals("fleetmgr", 0), ::testing::ExitedWithCode(255), "");
  }
  EXPECT_NE(owbtest::readWholeFile(home.path() + "/.owb/owblog")
                .find("the OWB environment variable was not set - this is bad"),
            std::string::npos);
}

// Records what reaches the alert handler.
std::string gLastAlert;
long recordingHandler(const char* text, long type, const char* title, const char*, const char*,
                      const char*, Boolean beep, const char*) {
  gLastAlert = std::to_string(type) + "|" + (title ? title : "(none)") + "|" + text + "|" +
               std::to_string(beep);
  return 2;
}

TEST(ErrorsTest, TextsAndAlerts) {
  char text[64];
  for (auto [code, want] : {std::pair{-505, "the symbol file is missing or invalid"},
                            {-602, "the symbol file is missing or invalid"}, {-1702, "there is insufficient memory"},
                            {-1402, "an unknown error occurred"}}) {
    convertErrorToText(code, text, FALSE);
    EXPECT_STREQ(text, want);
  }
  convertErrorToText(-803, text, TRUE);
  EXPECT_EQ(static_cast<unsigned char>(text[0]), static_cast<unsigned char>('a' + 32));
  EXPECT_STREQ(text + 1, "n error occurred reading the preferences file");

  AlertHandler previous = setAlertHandler(recordingHandler);
  HasErrorReporting reporter;
  EXPECT_EQ(reporter.lastError, 0);
  reporter.lastError = -505;
  reporter.alertLastError();
  EXPECT_EQ(gLastAlert, "0|(none)|Unable to complete that operation because the symbol file is missing or invalid.|1");
  EXPECT_EQ(displayAlertWindow(nullptr, 3, "t", nullptr, nullptr, nullptr, FALSE, nullptr), 0);
  EXPECT_EQ(displayAlertWindow("x", 3, "t", nullptr, nullptr, nullptr, FALSE, nullptr), 2);
  EXPECT_EQ(setAlertHandler(previous), recordingHandler);

  ::testing::internal::CaptureStderr();
  EXPECT_EQ(displayAlertWindow("text", 1, nullptr, "Yes", "No", nullptr, TRUE, nullptr), 0);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "Could not complete that operation: text\n");
}

}  // namespace
