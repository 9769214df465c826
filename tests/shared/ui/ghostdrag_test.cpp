// Dragging an outline with real pointer input: the 12-pixel threshold,
// the outline drawn while dragging and erased after; fitting text into a
// width with "...", measured on the display.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "shared/ui/uiutils.h"
#include "tests/toolkit/tk_fixture.h"
#include "toolkit/draw.h"

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
  // Drags from a point of the window by (dx, dy) and looks, while the
  // button is still down, at where the rectangle's corner would go.
  void dragBy(int dx, int dy) {
    probe_ = {static_cast<int16_t>(40 + dx), static_cast<int16_t>(40 + dy)};
    EVENT_StartCBackAlarmDS(
        [](ClientPtr p) {
          auto* t = static_cast<GhostDragTest*>(p);
          t->during_ = pixel(t->win_, t->probe_.X, t->probe_.Y);
        },
        this, 200);
    _Point16Rec from = tktest::absOf(WIN_Wgt(win_), 60, 60);
    ASSERT_TRUE(drag(from, {static_cast<int16_t>(from.X + dx), static_cast<int16_t>(from.Y + dy)}, 80, 300));
  }
  WinPtr win_ = nullptr;
  Drag drag_;
  _Point16Rec probe_{0, 0};
  uint32_t during_ = 0;
};

TEST_F(GhostDragTest, ADragOverTheThresholdMovesTheRectangleAndErasesItsOutline) {
  // Under twelve pixels nothing changes and no outline is drawn.
  uint32_t background = pixel(win_, 40, 40);
  dragBy(11, -11);
  EXPECT_EQ(drag_.calls, 1);
  EXPECT_FALSE(drag_.moved);
  EXPECT_TRUE(RECT16_Equal(drag_.rect, RECT16_Make(40, 40, 80, 50)));
  EXPECT_EQ(during_, background);

  background = pixel(win_, 90, 70);
  dragBy(50, 30);
  EXPECT_EQ(drag_.calls, 2);
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

int widthOf(const char* s) { return DRAW_QueryTextExt(FONT_Default(), s, -1).X; }

TEST(TruncTest, CutsTheEndOrTheFrontAndNeverGrows) {
  ASSERT_TRUE(tktest::startToolkit());
  const char* text = "/home/user/fleets/production/engines.flt";
  int full = widthOf(text);
  char buf[128];
  std::strcpy(buf, text);
  truncToFit(nullptr, full + 1, buf);  // narrower than the width: unchanged
  EXPECT_STREQ(buf, text);
  truncToFit(nullptr, full, buf);  // exactly the width: shortened
  EXPECT_NE(std::string(buf), text);

  std::strcpy(buf, text);
  truncToFit(nullptr, full / 2, buf);
  std::string cut(buf);
  ASSERT_GE(cut.size(), 4u);
  EXPECT_EQ(cut.substr(cut.size() - 3), "...");
  EXPECT_EQ(std::string(text).rfind(cut.substr(0, cut.size() - 3), 0), 0u);
  EXPECT_LE(widthOf(buf), full / 2);

  std::strcpy(buf, text);
  reverseTruncToFit(nullptr, full / 2, buf);
  std::string tail(buf);
  EXPECT_EQ(tail.substr(0, 3), "...");
  EXPECT_EQ(std::string(text).substr(std::strlen(text) - (tail.size() - 3)), tail.substr(3));
  EXPECT_LE(widthOf(buf), full / 2);

  std::strcpy(buf, text);
  truncToFit(nullptr, widthOf("...") - 1, buf);  // not even "..." fits
  EXPECT_STREQ(buf, "");

  // Short texts and multi-byte characters stay within their bytes.
  char two[3] = "WW";
  truncToFit(nullptr, widthOf("..."), two);
  EXPECT_LE(std::strlen(two), 2u);
  char umlauts[32] = "\xc3\xa4\xc3\xb6\xc3\xbc\xc3\xa4\xc3\xb6\xc3\xbc";
  truncToFit(nullptr, widthOf(umlauts) / 2, umlauts);
  std::string u(umlauts);
  EXPECT_EQ(u.substr(u.size() - 3), "...");
  EXPECT_EQ((u.size() - 3) % 2, 0u);  // whole two-byte characters
}

}  // namespace
