// Input details of the loop: double clicks, the type-ahead buffer and its
// accelerator match, user queues, non-blocking steps, repetition while a
// button is held, attributes set to what they are.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/toolkit/tk_fixture.h"

namespace {

using tktest::ToolkitTest;

// What a plain widget saw: clicks with their double flag, typed text with
// the accelerator match at that moment.
struct Seen {
  std::vector<bool> clicks;
  std::vector<std::string> chars, matches;
  int trackSteps = 0;
};

long recordingNfy(ResPtr res, Int message, ClientPtr data) {
  Seen* seen = static_cast<Seen*>(res->ClientData);
  WgtPtr w = WGT_FromRes(res);
  if (message == WGT_NFYMOUSECLICK) {
    seen->clicks.push_back(EVENT_IsDouble());
    WGT_MouseHandled(w);
    if (EVENT_GetButton() == EVENT_BUT3) {
      // Held with the right button: count the steps of a track.
      EVENT_TrackDownBegin(w);
      while (EVENT_TrackDown(w)) seen->trackSteps++;
      EVENT_TrackDownEnd(w);
    }
    return 0;
  }
  if (message == WGT_NFYKEYCHAR) {
    seen->chars.push_back(EVENT_GetKbStr());
    seen->matches.push_back(EVENT_GetKbMatchStr());
    WGT_KeyHandled(w);
    return 0;
  }
  return RCLAS_ProcessDefNfy(res->ResClass, res, message, data);
}

class InputTest : public ToolkitTest {
 protected:
  void SetUp() override {
    ToolkitTest::SetUp();
    win_ = keep(tktest::newWin(300, 300, 300, 200, "input"));
    area_ = TAREA_Create();
    TAREA_SetText(area_, "input");
    WgtPtr w = reinterpret_cast<WgtPtr>(area_);
    w->ResBox = RECT16_Make(20, 20, 200, 100);
    w->WgtFlags = WGT_FLAGTABSTOP;
    PANEL_AddWgt(WIN_Panel(win_), w);
    WIN_Init(win_);
    RES_SetNfyProcDS(WGT_Res(w), recordingNfy, &seen_);
    ASSERT_TRUE(tktest::showFocused(win_));
    ASSERT_TRUE(WGT_GainFocus(w));
  }
  WgtPtr area() { return reinterpret_cast<WgtPtr>(area_); }
  WinPtr win_ = nullptr;
  TAreaPtr area_ = nullptr;
  Seen seen_;
};

TEST_F(InputTest, ASecondClickSoonAndCloseIsDouble) {
  _Point16Rec p = tktest::absOf(area(), 50, 50);
  driver_->click(p.X, p.Y);
  usleep(30 * 1000);  // two presses in one millisecond are no double click
  driver_->click(p.X + 3, p.Y + 2);  // within 300 ms and 10 pixels
  settle();
  driver_->click(p.X + 40, p.Y);  // too far from the last reference
  settle();
  usleep(350 * 1000);
  driver_->click(p.X + 40, p.Y);  // too late
  settle();
  EXPECT_EQ(seen_.clicks, (std::vector<bool>{false, true, false, false}));
}

TEST_F(InputTest, TypedCharactersArriveOneByOneAndMatchWithinHalfASecond) {
  driver_->key(XK_a);
  key(XK_b);
  usleep(600 * 1000);
  key(XK_c);
  key(XK_F2);  // a named key comes without text
  EXPECT_EQ(seen_.chars, (std::vector<std::string>{"a", "b", "c", ""}));
  ASSERT_EQ(seen_.matches.size(), 4u);
  EXPECT_EQ(seen_.matches[1], "ab");
  EXPECT_EQ(seen_.matches[2], "c");
  // Keys dropped before they are read never arrive.
  driver_->key(XK_d);
  DSPLY_Sync();
  EVENT_DiscardKbEvents();
  settle();
  EXPECT_EQ(seen_.chars.size(), 4u);
}

TEST_F(InputTest, HoldingAButtonRepeatsTheTrackingStep) {
  EventTrackDelayRec delay{100, 50, 5, 700};
  EVENT_SetTrackDelay(&delay);
  _Point16Rec p = tktest::absOf(area(), 50, 50);
  EVENT_StartCBackAlarmDS([](ClientPtr d) { static_cast<owbtest::XTestDriver*>(d)->release(3); }, driver_.get(), 420);
  driver_->moveTo(p.X, p.Y);
  driver_->press(3);
  settle();
  ASSERT_TRUE(tktest::runUntil([&] { return !EVENT_IsTracking() && TIMER_GetQueuedCount() == 0; }));
  EVENT_SetTrackDelay(nullptr);
  // The first step at once, then at 100 ms and every 50 ms until 420 ms.
  EXPECT_GE(seen_.trackSteps, 5);
  EXPECT_LE(seen_.trackSteps, 9);
  EXPECT_EQ(EVENT_GetContextDepth(), 0);
}

std::vector<std::string>* gRan = nullptr;
void ranHigh(ClientPtr) { gRan->push_back("high"); }
void ranLow(ClientPtr) { gRan->push_back("low"); }

TEST_F(InputTest, UserQueuesAndNonBlockingSteps) {
  std::vector<std::string> ran;
  gRan = &ran;
  EventQueuePtr high = EVENT_UserQueueNew(1);
  EventQueuePtr low = EVENT_GetSystemQueue();
  EVENT_UserQueuePostEvent(low, ranLow, nullptr);
  EVENT_UserQueuePostEvent(high, ranHigh, nullptr);
  EVENT_SetBlocking(0);
  int64_t start = DSPLY_Now();
  EVENT_ProcessNext();  // the high queue first
  EVENT_ProcessNext();  // nothing else to do: the low queue
  EVENT_ProcessNext();  // and then a step that finds nothing
  EXPECT_EQ(EVENT_GetCurEventType(), EVENT_TYPENOTHING);
  EXPECT_LT(DSPLY_Now() - start, 100);  // it never slept
  EVENT_SetBlocking(1);
  EXPECT_EQ(ran, (std::vector<std::string>{"high", "low"}));
  EVENT_UserQueuePostEvent(high, ranHigh, nullptr);
  EVENT_UserQueueFlush(high);
  EVENT_UserQueueDispose(high);
  gRan = nullptr;
}

TEST_F(InputTest, EqualAttributesChangeNothing) {
  WGT_SetFont(area(), FONT_Default());
  settle();
  ASSERT_TRUE(RGN_IsEmpty(win_->InvalRgn));
  FontPtr same = FONT_New(FONT_DEFFAMILY, FONT_DEFPOINTS, false);
  WGT_SetFont(area(), same);  // equal to the present one: no redraw
  EXPECT_TRUE(RGN_IsEmpty(win_->InvalRgn));
  EXPECT_EQ(area()->Font, FONT_Default());
  FONT_Dispose(same);
  WGT_SetFgColor(area(), COLOR_Red());
  EXPECT_FALSE(RGN_IsEmpty(win_->InvalRgn));
}

}  // namespace
