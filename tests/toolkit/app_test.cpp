// The layers' chains with the installation's resource libraries, and the
// report once the messages are there.
#include <gtest/gtest.h>
#include <unistd.h>

#include "tests/testsupport.h"
#include "tests/toolkit/tktest.h"
#include "toolkit/app.h"
#include "toolkit/classes.h"
#include "toolkit/rclas.h"
#include "toolkit/str.h"

namespace {

TEST(Layers, TheChainsCountAndLoadTheLibrariesAndMessagesResolve) {
  owbtest::ScopedEnv path("ND_PATH", tktest::resourceDir());
  Int installed = GW_LibInstall();
  EXPECT_EQ(GW_LibInstall(), installed + 1);
  Int loaded = GW_LibLoadInit();
  EXPECT_EQ(GW_LibLoadInit(), loaded + 1);
  EXPECT_TRUE(ERR_IsResReady());
  for (const char* lib : {"Core", "ND", "Res", "Vgm", "TKit", "Genwin"}) EXPECT_NE(RLIB_Find(lib), nullptr) << lib;
  EXPECT_EQ(GW, ERR_Master());
  EXPECT_STREQ(STR_FindNthStr("Err", "Severities", ERR_SEVFAILURE), "ERROR");
  EXPECT_STREQ(STR_FindNthStr("Err", "Exceptions", 11), "Segmentation violation");
  EXPECT_STREQ(STR_LoadStr("Err", "Context"), "Context");
  EXPECT_STREQ(STR_LoadStr("ErrW", "ConfirmAbort"), "Abort the program now? Work not saved is lost.");

  // The report in its full form: severity and message, context.
  tktest::ErrCapture capture;
  ErrTrace outer("RLib", "outer.c", 3);
  outer.setContext(kRLibMsgLoading);
  ERR_SetOptStr(outer.rec(), "x.dat");
  ERR_TryRecoverFn(outer, [] { ERR_Fail("RLib", kRLibErrReadOnly, "lib"); });
  std::string text = capture.text();
  EXPECT_NE(text.find("\nERROR           Library \"lib\" is read only\n"
                      "Context         Loading library file \"x.dat\"\n"),
            std::string::npos)
      << text;
  // A warning: no traceback, its own label.
  tktest::ErrCapture warning;
  ERR_Warn("RLib", kRLibWarnName, "a", "b.dat", "c");
  EXPECT_EQ(warning.text().find("TRACEBACK"), std::string::npos);
  EXPECT_NE(warning.text().find("WARNING         Library \"a\" asked for, but file \"b.dat\" holds library \"c\""),
            std::string::npos);
  GW_LibExit();
  GW_LibExit();
}

// Every class row of the table is registered by the install chain, and a
// class's parent is installed by an earlier row (or below the table).
TEST(Layers, EveryClassOfTheTableIsInstalledAfterItsParent) {
  GW_LibInstall();
  const TkClassEntry* table = TK_ClassTable();
  for (int i = 0; i < TK_ClassCount(); ++i) {
    if (i > 0) {
      EXPECT_GE(table[i].layer, table[i - 1].layer) << table[i].name << ": layers in order";
    }
    if (!table[i].install) continue;
    RClasPtr cls = RCLAS_FindByName(table[i].name);
    ASSERT_NE(cls, nullptr) << table[i].name;
    RClasPtr parent = cls->ParentClass;
    if (!parent) continue;
    int parentRow = -1;
    for (int j = 0; j < TK_ClassCount(); ++j)
      if (table[j].install && RCLAS_FindByName(table[j].name) == parent) parentRow = j;
    EXPECT_LT(parentRow, i) << table[i].name << " comes before its parent";
  }
}

TEST(LayersDeath, AMissingLibraryIsAnnouncedAndEndsTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  owbtest::TempDir empty;
  owbtest::ScopedEnv path("ND_PATH", empty.path());
  EXPECT_EXIT(
      {
        dup2(STDERR_FILENO, STDOUT_FILENO);
        GW_LibInstall();
        GW_LibLoadInit();
      },
      testing::ExitedWithCode(2), "ERROR:\tCannot load \"Core\" resource file\n(.|\n)*EXITING         cannot recover");
}

}  // namespace
