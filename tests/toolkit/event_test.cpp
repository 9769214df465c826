// The event loop: timers and alarms with their ordering rules, waits that
// swallow input, failures inside notifications, modal windows.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/toolkit/tk_fixture.h"
#include "tests/toolkit/tktest.h"
#include "toolkit/err.h"
#include "toolkit/evctx.h"

namespace {

using tktest::ToolkitTest;

std::vector<std::string>* gOrder = nullptr;

void record(ClientPtr data) { gOrder->push_back(static_cast<const char*>(data)); }

// Runs the loop until the timer queue is empty.
void drainTimers() {
  for (int i = 0; i < 200 && TIMER_GetQueuedCount() > 0; i++) EVENT_ProcessNext();
}

class TimerTest : public ToolkitTest {
 protected:
  void SetUp() override {
    ToolkitTest::SetUp();
    gOrder = &order_;
  }
  void TearDown() override {
    drainTimers();
    gOrder = nullptr;
    ToolkitTest::TearDown();
  }
  std::vector<std::string> order_;
};

void startAnother(ClientPtr) {
  gOrder->push_back("outer");
  EVENT_StartCBackAlarmDS(record, const_cast<char*>("inner"), 0);
}

TEST_F(TimerTest, AnAlarmStartedInsideTimerProcessingWaitsForTheNextPass) {
  EVENT_StartCBackAlarmDS(startAnother, nullptr, 0);
  EVENT_ProcessTimeOut();
  ASSERT_EQ(order_, std::vector<std::string>{"outer"});
  EXPECT_EQ(TIMER_GetQueuedCount(), 1);
  EVENT_ProcessTimeOut();
  EXPECT_EQ(order_, (std::vector<std::string>{"outer", "inner"}));
}

TEST_F(TimerTest, StoppingByDataRemovesTheFirstMatchAndWidgetAlarmsArriveAsTimeouts) {
  static char tag[] = "x";
  EVENT_StartCBackAlarmDS(record, tag, 0);
  EVENT_StartCBackAlarmDS(record, tag, 0);
  EVENT_StopCBackAlarm(tag);
  EXPECT_EQ(TIMER_GetQueuedCount(), 1);
  drainTimers();
  EXPECT_EQ(order_.size(), 1u);
  EVENT_StopCBackAlarm(tag);  // nothing left: harmless

  WinPtr win = keep(tktest::newWin(10, 10, 200, 100, "timers"));
  WIN_Init(win);
  tktest::NfyLog log;
  tktest::logTo(WIN_Wgt(win), &log);
  static char data[] = "payload";
  EVENT_StartWgtAlarm(WIN_Wgt(win), data, 0);
  EVENT_StartTimer(WIN_Wgt(win), 0);
  EVENT_StartTimer(WIN_Wgt(win), 10000);
  EVENT_StopWgtAlarm(WIN_Wgt(win), data);
  EXPECT_EQ(TIMER_GetQueuedCount(), 2);
  EVENT_StopTimer(WIN_Wgt(win));  // every alarm of the widget
  EXPECT_EQ(TIMER_GetQueuedCount(), 0);
  EVENT_StartWgtAlarm(WIN_Wgt(win), data, 0);
  drainTimers();
  EXPECT_EQ(log.count(WGT_NFYTIMEOUT), 1);
}

TEST_F(TimerTest, WaitLetsTimeAndDrawingPassButDropsInput) {
  WinPtr win = keep(tktest::newWin(100, 100, 300, 200, "wait"));
  WIN_Init(win);
  TButPtr b = tktest::addButton(WIN_Panel(win), "OK", 20, 20, 100, 30);
  tktest::NfyLog log;
  tktest::logTo(TBUT_Wgt(b), &log);
  ASSERT_TRUE(tktest::showAndWait(win));
  static const char tick[] = "tick";
  EVENT_StartCBackAlarmDS(record, const_cast<char*>(tick), 50);
  _Point16Rec p = tktest::absOf(TBUT_Wgt(b), 10, 10);
  driver_->click(p.X, p.Y);
  driver_->moveTo(p.X + 20, p.Y + 5);
  driver_->key(XK_Return);
  DSPLY_Sync();
  auto start = DSPLY_Now();
  EVENT_Wait(nullptr, 300);
  EXPECT_GE(DSPLY_Now() - start, 290);
  EXPECT_EQ(order_, std::vector<std::string>{"tick"});
  settle();
  EXPECT_EQ(log.count(WGT_NFYMOUSECLICK), 0);
  EXPECT_EQ(log.count(WGT_NFYMOUSEMOVE), 0);
  EXPECT_EQ(log.count(TBUT_NFYHIT), 0);
  EXPECT_EQ(EVENT_GetContextDepth(), 0);
}

long failingNfy(ResPtr res, Int message, ClientPtr data) {
  if (message == TBUT_NFYHIT) ERR_FailStr("the handler failed on purpose");
  return TBUT_DefNfy(res, message, data);
}

TEST_F(ToolkitTest, AFailingNotificationIsReportedAndTheLoopGoesOn) {
  WinPtr win = keep(tktest::newWin(100, 100, 300, 200, "failure"));
  WIN_Init(win);
  TButPtr bad = tktest::addButton(WIN_Panel(win), "Fail", 20, 20, 100, 30);
  TButPtr good = tktest::addButton(WIN_Panel(win), "Fine", 150, 20, 100, 30);
  RES_SetNfyProcDS(WGT_Res(TBUT_Wgt(bad)), failingNfy, nullptr);
  tktest::NfyLog log;
  tktest::logTo(TBUT_Wgt(good), &log);
  ASSERT_TRUE(tktest::showAndWait(win));
  {
    tktest::ErrCapture report;
    clickOn(TBUT_Wgt(bad), 10, 10);
    EXPECT_NE(report.text().find("the handler failed on purpose"), std::string::npos);
  }
  EXPECT_EQ(EVENT_GetContextDepth(), 0);
  EXPECT_FALSE(EVENT_IsTracking());
  clickOn(TBUT_Wgt(good), 10, 10);
  EXPECT_EQ(log.count(TBUT_NFYHIT), 1);
}

long modalButtonNfy(ResPtr res, Int message, ClientPtr data) {
  if (message == TBUT_NFYHIT) WIN_ModalReturn(WGT_FromRes(res)->Win, reinterpret_cast<long>(res->ClientData));
  return TBUT_DefNfy(res, message, data);
}

TEST_F(ToolkitTest, AModalWindowReturnsTheValueItsButtonGaveAndBlocksOtherWindows) {
  WinPtr main = keep(tktest::newWin(20, 20, 300, 150, "main"));
  WIN_Init(main);
  TButPtr mainBut = tktest::addButton(WIN_Panel(main), "Main", 20, 20, 100, 30);
  tktest::NfyLog mainLog;
  tktest::logTo(TBUT_Wgt(mainBut), &mainLog);
  ASSERT_TRUE(tktest::showAndWait(main));

  WinPtr dialog = keep(tktest::newWin(400, 20, 300, 150, "dialog"));
  WIN_Init(dialog);
  TButPtr yes = tktest::addButton(WIN_Panel(dialog), "Yes", 20, 60, 100, 30);
  TButPtr no = tktest::addButton(WIN_Panel(dialog), "No", 150, 60, 100, 30);
  RES_SetNfyProcDS(WGT_Res(TBUT_Wgt(yes)), modalButtonNfy, reinterpret_cast<ClientPtr>(7));
  RES_SetNfyProcDS(WGT_Res(TBUT_Wgt(no)), modalButtonNfy, reinterpret_cast<ClientPtr>(3));

  // The clicks are queued by an alarm that runs inside the modal loop: a
  // click on the main window first, which must be dropped, then "No".
  struct Script {
    owbtest::XTestDriver* driver;
    _Point16Rec mainAt, noAt;
  } script{driver_.get(), tktest::absOf(TBUT_Wgt(mainBut), 10, 10), tktest::absOf(TBUT_Wgt(no), 10, 10)};
  EVENT_StartCBackAlarmDS(
      [](ClientPtr p) {
        auto* s = static_cast<Script*>(p);
        s->driver->click(s->mainAt.X, s->mainAt.Y);
        s->driver->click(s->noAt.X, s->noAt.Y);
      },
      &script, 150);
  long value = WIN_ModalProcess(dialog);
  EXPECT_EQ(value, 3);
  EXPECT_EQ(WIN_GetState(dialog), WIN_STATECLOSED);
  EXPECT_EQ(EVENT_GetContextDepth(), 0);
  settle();
  EXPECT_EQ(mainLog.count(TBUT_NFYHIT), 0);
}

}  // namespace
