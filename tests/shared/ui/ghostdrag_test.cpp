// Dragging an outline with real pointer input: the 12-pixel threshold,
// the outline drawn while dragging and erased after.
#include <gtest/gtest.h>

#include <vector>

#include "shared/ui/uiutils.h"
#include "tests/toolkit/tk_fixture.h"

namespace {

using tktest::ToolkitTest;

struct Drag {
  _Rect16Rec rect = RECT16_Make(40, 40, 80, 50);
  int calls = 0;
  bool moved = false;
};

long dragNfy(ResPtr res, Int message, ClientPtr data) {
  if (message == WGT_NFYMOUSECLICK) {
    Drag* drag = static_cast<Drag*>(res->ClientData);
    drag->calls++;
    drag->moved = trackGhostDrag(WIN_FromRes(res), &drag->rect, nullptr);
    WGT_MouseHandled(WGT_FromRes(res));
    return 0;
  }
  return WIN_DefNfy(res, message, data);
}

// The colour of one pixel of the window as the server has it.
uint32_t pixel(WinPtr win, int x, int y) {
  int w = 0, h = 0;
  std::vector<uint8_t> rgb;
  if (!DSPLY_CaptureWin(WIN_GetNatWin(win), &w, &h, &rgb) || x >= w || y >= h) return 0xdeadbeef;
  size_t i = (static_cast<size_t>(y) * w + x) * 3;
  return (uint32_t{rgb[i]} << 16) | (uint32_t{rgb[i + 1]} << 8) | rgb[i + 2];
}

class GhostDragTest : public ToolkitTest {
 protected:
  void SetUp() override {
    ToolkitTest::SetUp();
    win_ = keep(tktest::newWin(100, 100, 300, 200, "drag"));
    WIN_Init(win_);
    RES_SetNfyProcDS(WGT_Res(WIN_Wgt(win_)), dragNfy, &drag_);
    ASSERT_TRUE(tktest::showAndWait(win_));
  }
  // Presses at a point of the window, moves by (dx, dy) while the button is
  // down, looks at the screen, and releases; all in the drag's own loop.
  void dragBy(int dx, int dy) {
    struct Script {
      owbtest::XTestDriver* driver;
      WinPtr win;
      _Point16Rec to;
      _Point16Rec probe;
      uint32_t during = 0;
    };
    _Point16Rec from = tktest::absOf(WIN_Wgt(win_), 60, 60);
    script_ = std::make_unique<Script>(Script{driver_.get(), win_,
                                              {static_cast<int16_t>(from.X + dx), static_cast<int16_t>(from.Y + dy)},
                                              {static_cast<int16_t>(40 + dx), static_cast<int16_t>(40 + dy)}});
    Script* s = static_cast<Script*>(script_.get());
    EVENT_StartCBackAlarmDS(
        [](ClientPtr p) {
          auto* s = static_cast<Script*>(p);
          s->driver->moveTo(s->to.X, s->to.Y);
        },
        s, 80);
    EVENT_StartCBackAlarmDS(
        [](ClientPtr p) {
          auto* s = static_cast<Script*>(p);
          s->during = pixel(s->win, s->probe.X, s->probe.Y);
          s->driver->release(1);
        },
        s, 250);
    driver_->moveTo(from.X, from.Y);
    driver_->press(1);
    settle();
    ASSERT_TRUE(tktest::runUntil([&] { return TIMER_GetQueuedCount() == 0 && !EVENT_IsTracking(); }));
    settle();
    during_ = s->during;
  }
  WinPtr win_ = nullptr;
  Drag drag_;
  std::shared_ptr<void> script_;
  uint32_t during_ = 0;
};

TEST_F(GhostDragTest, ADragUnderTwelvePixelsChangesNothing) {
  uint32_t background = pixel(win_, 40, 40);
  dragBy(11, -11);
  EXPECT_EQ(drag_.calls, 1);
  EXPECT_FALSE(drag_.moved);
  EXPECT_TRUE(RECT16_Equal(drag_.rect, RECT16_Make(40, 40, 80, 50)));
  EXPECT_EQ(during_, background);  // no outline was drawn
}

TEST_F(GhostDragTest, ADragOverTheThresholdMovesTheRectangleAndErasesItsOutline) {
  uint32_t background = pixel(win_, 90, 70);
  dragBy(50, 30);
  EXPECT_EQ(drag_.calls, 1);
  EXPECT_TRUE(drag_.moved);
  EXPECT_TRUE(RECT16_Equal(drag_.rect, RECT16_Make(90, 70, 80, 50)));
  EXPECT_NE(during_, background);  // the outline's corner, inverted
  EXPECT_EQ(pixel(win_, 90, 70), background);  // and erased at the end
  EXPECT_EQ(pixel(win_, 40, 40), pixel(win_, 41, 41));
  // Twelve pixels in one direction are enough.
  dragBy(0, 12);
  EXPECT_TRUE(drag_.moved);
  EXPECT_TRUE(RECT16_Equal(drag_.rect, RECT16_Make(90, 82, 80, 50)));
}

}  // namespace
