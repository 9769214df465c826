// Error frames: unwinding, reports, severities, signals.
#include <csignal>

#include <gtest/gtest.h>
#include <unistd.h>

#include "tests/toolkit/tktest.h"
#include "toolkit/app.h"
#include "toolkit/err.h"

namespace {

struct Guard {
  bool* flag;
  ~Guard() { *flag = true; }
};

void failDeep(bool* innerDestroyed) {
  ErrTrace frame("RLib", "inner.c", 42);
  Guard guard{innerDestroyed};
  ERR_Fail("RLib", 9, "lib");
}

TEST(ErrFrames, FailureUnwindsToTheCatchingFrameAndRunsCleanUp) {
  CORE_LibInstall();
  tktest::ErrCapture capture;
  ErrFramePtr start = ERR_Master()->Top;
  bool innerDestroyed = false, cleanedUp = false, reachedAfterFail = false;
  ErrTrace outer("Res", "outer.c", 7);
  bool ok = ERR_TryRecoverFn(outer, [&] {
    ErrTrace middle("Res", "middle.c", 9);
    middle.setContext(3);
    ERR_TryCleanup(
        middle,
        [&] {
          failDeep(&innerDestroyed);
          reachedAfterFail = true;
        },
        [&] {
          cleanedUp = true;
          // The catching frame is the top again while it cleans up.
          EXPECT_EQ(ERR_Master()->Top, middle.rec());
          EXPECT_TRUE(ERR_InError());
        });
  });
  EXPECT_FALSE(ok);
  EXPECT_TRUE(innerDestroyed);
  EXPECT_TRUE(cleanedUp);
  EXPECT_FALSE(reachedAfterFail);
  EXPECT_EQ(ERR_GetSeverity(), 0);
  EXPECT_EQ(ERR_Master()->Top, outer.rec());
  EXPECT_EQ(outer.rec()->Next, start);
  // The report was made with every frame still on the stack, newest
  // first, each with its context, and the master frame last.
  std::string text = capture.text();
  EXPECT_NE(text.find("\n------------------- TRACEBACK -------------------------\n"
                      "Module \"RLib \" Message   9: file \"err.cpp   \""),
            std::string::npos)
      << text;
  EXPECT_NE(text.find("Module \"RLib \" Message  -1: file \"inner.c   \" line 42\n"
                      "Module \"Res  \" Message   3: file \"middle.c  \" line 9\n"
                      "Module \"Res  \" Message  -1: file \"outer.c   \" line 7\n"
                      "Module \"Err  \" Message  -1: file \"err       \" line 1489\n"
                      "-------------------------------------------------------\n"),
            std::string::npos)
      << text;
}

TEST(ErrFrames, AWarningReportsButNeitherUnwindsNorKeepsItsSeverity) {
  CORE_LibInstall();
  static Int reportedSeverity = -1;
  ErrTrace frame("Err", __FILE__, __LINE__);
  frame.rec()->ReportProc = [](ErrFramePtr, Int severity) { reportedSeverity = severity; };
  bool returned = false;
  bool ok = ERR_TryRecoverFn(frame, [&] {
    ERR_Warn("RLib", 1, "a", "b", "c");
    returned = true;
  });
  EXPECT_TRUE(ok);
  EXPECT_TRUE(returned);
  EXPECT_EQ(reportedSeverity, ERR_SEVWARNING);
  EXPECT_EQ(ERR_GetSeverity(), 0);
}

TEST(ErrFrames, MessageFormattingNeverTrustsTheFormat) {
  char out[128];
  ErrArg args[] = {ErrArg("name"), ErrArg(42)};
  ERR_FormatArgs(out, sizeof out, "%s has %d items", args, 2);
  EXPECT_STREQ(out, "name has 42 items");
  // Conversions that do not match the arguments, %n and '*' are harmless.
  ERR_FormatArgs(out, sizeof out, "%d|%s|%n|%*d|%s|%ld", args, 2);
  EXPECT_STREQ(out, "name|42|?|?d|?|?");
  ErrArg null(static_cast<const char*>(nullptr));
  ERR_FormatArgs(out, sizeof out, "[%-6s]", &null, 1);
  EXPECT_STREQ(out, "[(null)]");
  ERR_FormatArgs(out, 3, "%s", args, 1);
  EXPECT_STREQ(out, "na");
  // A frame's own format procedure, given with its data, makes its message.
  ErrTrace frame("Err", __FILE__, __LINE__);
  ERR_SetOpt(frame.rec(), [](ErrFramePtr f, char* buffer, Int size) {
    snprintf(buffer, static_cast<size_t>(size), "at %s", static_cast<const char*>(f->ClientData));
  }, const_cast<char*>("home"));
  ERR_Format(frame.rec(), out, sizeof out);
  EXPECT_STREQ(out, "at home");
}

TEST(ErrFrames, ASecondInterruptFailsTheFirstOnlyRecords) {
  CORE_LibInstall();
  ErrTrace frame("Err", __FILE__, __LINE__);
  static Int failedId = -2;
  frame.rec()->ReportProc = [](ErrFramePtr, Int) { failedId = ERR_Master()->Top->Id; };
  bool ok = ERR_TryRecoverFn(frame, [&] {
    ERR_SysException(SIGINT);
    EXPECT_EQ(ERR_Master()->InterruptState, 1);
    EXPECT_EQ(ERR_GetSeverity(), 0);
    ERR_SysException(SIGINT);
    ADD_FAILURE() << "the second interrupt returned";
  });
  EXPECT_FALSE(ok);
  EXPECT_EQ(failedId, kErrFailInterrupt);
  EXPECT_EQ(ERR_Master()->InterruptState, 0);  // recovered
}

TEST(ErrFramesDeath, FailuresThatCannotBeRecoveredEndTheProcessWithTheirMessage) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  // A failure nobody catches ends the process.
  EXPECT_EXIT(
      {
        CORE_LibInstall();
        ERR_Fail("RLib", 9, "lib");
      },
      testing::ExitedWithCode(2), "EXITING         cannot recover from error");
  // Before the messages are loaded, the report points at the search path.
  EXPECT_EXIT(
      {
        CORE_LibInstall();
        ErrTrace frame("Err", __FILE__, __LINE__);
        ERR_TryRecoverFn(frame, [] { ERR_FailStr("boom %d", 7); });
        std::exit(0);
      },
      testing::ExitedWithCode(0),
      "TRACEBACK.*Error \\(nd.dat, ndcore.dat or ndres.dat not loaded yet\\)\\.Severity = 4\tboom 7\n\n"
      "Check the ND_PATH environment variable\\.");
  // A failure during recovery is fatal.
  EXPECT_DEATH(
      {
        CORE_LibInstall();
        ErrTrace frame("Err", __FILE__, __LINE__);
        frame.rec()->ReportProc = [](ErrFramePtr, Int) { ERR_Fail("Res", 1, "again"); };
        ERR_TryRecoverFn(frame, [] { ERR_Fail("Res", 1, "first"); });
      },
      "FATAL ERROR     Failure during error recovery");
  // The system exception table holds thirty-two signals.
  EXPECT_DEATH(
      {
        CORE_LibInstall();
        // 13 slots are taken at start; 19 more fit.
        for (Int sig = 100; sig < 119; ++sig) ERR_SetSysExceptHandler(sig, nullptr);
        std::fprintf(stderr, "nineteen fitted\n");
        EXPECT_TRUE(ERR_SetSysExceptHandler(2, ERR_SysException));  // known: no new slot
        ERR_SetSysExceptHandler(200, nullptr);
      },
      "nineteen fitted\n.*FATAL ERROR     system exception table is full");
  // The frame check at entry finds a frame left behind.
  EXPECT_DEATH(
      {
        CORE_LibInstall();
        ERR_FatalIn();  // an empty stack passes
        ErrTrace left("Win", __FILE__, __LINE__);
        ERR_FatalIn();
      },
      "Bad error frame on entry.\nCheck for missing ERR_TRACEOUT or ERR_TRACERET.");
}

}  // namespace
