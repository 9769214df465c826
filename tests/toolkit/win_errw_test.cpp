// The error window: a failure in a notification is shown and waits for the
// user; Details lists the frames; Continue lets the loop go on.
#include <gtest/gtest.h>

#include <string>

#include "tests/toolkit/tk_fixture.h"
#include "tests/toolkit/tktest.h"
#include "toolkit/ted.h"
#include "toolkit/errw.h"

namespace {

using tktest::ToolkitTest;

long failOnHit(ResPtr res, Int message, ClientPtr data) {
  if (message == TBUT_NFYHIT) ERR_FailStr("disk %s is full", "/var");
  return TBUT_DefNfy(res, message, data);
}

struct Script {
  owbtest::XTestDriver* driver = nullptr;
  bool shown = false;
  std::string report, details;
};

WgtPtr errChild(Int n) { return WGT_FromRes(RES_GetNthChild(WGT_Res(WIN_Wgt(ERRW_GetWin())), n)); }

void clickChild(owbtest::XTestDriver* driver, WgtPtr w) {
  _Point16Rec p = tktest::absOf(w, 10, 10);
  driver->click(p.X, p.Y);
}

TEST_F(ToolkitTest, AFailureIsShownInTheErrorWindowUntilTheUserContinues) {
  ASSERT_TRUE(tktest::loadTestLibrary("Genwin", "ndgw.dat"));
  ERRW_Init();
  ASSERT_NE(ERRW_GetWin(), nullptr);
  EXPECT_EQ(EVENT_QueryErrHandler(), ERRW_Report);
  for (Int i = 4; i <= 7; i++) EXPECT_TRUE(errChild(i)->Invisible);

  WinPtr win = keep(tktest::newWin(40, 40, 300, 120, "failing"));
  WIN_Init(win);
  TButPtr bad = tktest::addButton(WIN_Panel(win), "Fail", 20, 20, 100, 30);
  RES_SetNfyProcDS(WGT_Res(TBUT_Wgt(bad)), failOnHit, nullptr);
  ASSERT_TRUE(tktest::showAndWait(win));

  // The error window waits in a loop of its own; alarms look at it and
  // press its buttons.
  Script script;
  script.driver = driver_.get();
  EVENT_StartCBackAlarmDS(
      [](ClientPtr p) {
        auto* s = static_cast<Script*>(p);
        s->shown = WIN_IsOpen(ERRW_GetWin());
        s->report = TED_GetStr(TED_FromWgt(errChild(0)));
        clickChild(s->driver, errChild(2));  // Details
      },
      &script, 300);
  EVENT_StartCBackAlarmDS(
      [](ClientPtr p) {
        auto* s = static_cast<Script*>(p);
        s->details = TED_GetStr(TED_FromWgt(errChild(0)));
        clickChild(s->driver, errChild(1));  // Continue
      },
      &script, 600);
  {
    tktest::ErrCapture quiet;
    clickOn(TBUT_Wgt(bad), 10, 10);
  }

  EXPECT_TRUE(script.shown);
  EXPECT_NE(script.report.find("disk /var is full"), std::string::npos) << script.report;
  EXPECT_NE(script.details.find("Module Event Message  -1: file"), std::string::npos) << script.details;
  EXPECT_FALSE(WIN_IsOpen(ERRW_GetWin()));  // put away again
  EXPECT_EQ(EVENT_GetContextDepth(), 0);
  // The loop goes on: the window still answers.
  tktest::NfyLog log;
  tktest::logTo(TBUT_Wgt(bad), &log);
  clickOn(TBUT_Wgt(bad), 10, 10);
  EXPECT_EQ(log.count(TBUT_NFYHIT), 1);
  ERRW_Exit();
  EXPECT_EQ(ERRW_GetWin(), nullptr);
  EXPECT_EQ(EVENT_QueryErrHandler(), nullptr);
}

}  // namespace
