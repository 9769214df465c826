// The display layer on a real X server: windows, drawing, text, input
// translation, expose merging, capture to PNG.  Regions need no server.
#include <gtest/gtest.h>

#include <tuple>

#include "tests/testsupport.h"
#include "tests/xvfb_support.h"
#include "toolkit/color.h"
#include "toolkit/draw.h"
#include "toolkit/dsply.h"
#include "toolkit/evkeys.h"
#include "toolkit/font.h"
#include "toolkit/rgn.h"

namespace {

class DisplayTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(owbtest::sharedXvfb().ok()) << "Xvfb did not start";
    ASSERT_TRUE(DSPLY_Init(nullptr)) << DSPLY_GetLastError();
  }
  void TearDown() override {
    for (NatWinId w : wins_) DSPLY_DisposeWin(w);
    // Drain what is left so that the next test starts clean.
    _DsplyEventRec ev;
    DSPLY_Sync();
    while (DSPLY_CheckEvent(&ev)) DSPLY_ClearEvent(&ev);
  }

  // A window shown, mapped and exposed (the server sends the map first).
  NatWinId mapWindow(_Rect16Rec box) {
    NatWinId w = DSPLY_NewWin(box, "test", COLOR_Window());
    wins_.push_back(w);
    DSPLY_ShowWin(w);
    _DsplyEventRec ev;
    for (int kind : {DSPLY_EVMAP, DSPLY_EVEXPOSE})
      if (nextEvent(w, kind, &ev)) DSPLY_ClearEvent(&ev);
    return w;
  }

  // Next event of a kind for the window, or false after the time.
  bool nextEvent(NatWinId w, int kind, _DsplyEventRec* out, int timeoutMs = 2000) {
    bool found = false;
    owbtest::pumpUntil(
        [&] {
          DSPLY_WaitForInput(20);
          _DsplyEventRec ev;
          while (!found && DSPLY_CheckEvent(&ev)) {
            if (ev.Win == w && ev.Kind == kind) {
              *out = ev;
              found = true;
            } else {
              DSPLY_ClearEvent(&ev);
            }
          }
        },
        [&] { return found; }, timeoutMs);
    return found;
  }

  static uint32_t pixelAt(const std::vector<uint8_t>& rgb, int width, int x, int y) {
    size_t i = (static_cast<size_t>(y) * width + x) * 3;
    return (uint32_t(rgb[i]) << 16) | (uint32_t(rgb[i + 1]) << 8) | rgb[i + 2];
  }

  std::vector<NatWinId> wins_;
};

TEST(RegionTest, ArithmeticBoundsAndPoints) {
  RegionPtr a = RGN_NewRect(RECT16_Make(0, 0, 10, 10));
  RegionPtr b = RGN_NewRect(RECT16_Make(5, 5, 10, 10));
  RegionPtr u = RGN_NewCopy(a);
  RGN_Union(u, b);
  _Rect16Rec bounds = RGN_QueryBounds(u);
  EXPECT_TRUE(RECT16_Equal(bounds, RECT16_Make(0, 0, 15, 15)));
  EXPECT_FALSE(RGN_ContainsPoint(u, 12, 2));  // the union is not its bounds

  RegionPtr i = RGN_NewCopy(a);
  RGN_Intersect(i, b);
  EXPECT_TRUE(RECT16_Equal(RGN_QueryBounds(i), RECT16_Make(5, 5, 5, 5)));

  RGN_Subtract(a, b);
  EXPECT_TRUE(RGN_ContainsPoint(a, 2, 2));
  EXPECT_FALSE(RGN_ContainsPoint(a, 7, 7));
  EXPECT_TRUE(RGN_OverlapsRect(a, RECT16_Make(4, 4, 2, 2)));
  EXPECT_FALSE(RGN_OverlapsRect(a, RECT16_Make(6, 6, 2, 2)));

  RGN_Offset(i, 10, -5);
  EXPECT_TRUE(RECT16_Equal(RGN_QueryBounds(i), RECT16_Make(15, 0, 5, 5)));
  RGN_SetEmpty(i);
  EXPECT_TRUE(RGN_IsEmpty(i));
  EXPECT_TRUE(RGN_Equal(i, nullptr));
  // Empty rectangles add nothing.
  RGN_UnionRect(i, RECT16_Make(3, 3, 0, 9));
  EXPECT_TRUE(RGN_IsEmpty(i));
  for (RegionPtr r : {a, b, u, i}) RGN_Dispose(r);
}

TEST(AttributeTest, StockObjectsAndLookups) {
  EXPECT_EQ(COLOR_LoadById(COLOR_IDBLACK), COLOR_Black());
  for (int outside : {-1, static_cast<int>(COLOR_IDCOUNT)}) EXPECT_EQ(COLOR_LoadById(outside), nullptr);
  EXPECT_EQ(COLOR_LoadByName("accent"), COLOR_Accent());
  EXPECT_EQ(COLOR_LoadByName("no such colour"), nullptr);
  ColorPtr mine = COLOR_NewRgb(0, 0, 0);
  EXPECT_TRUE(COLOR_Equal(mine, COLOR_Black()));
  COLOR_Dispose(mine);
  COLOR_Dispose(COLOR_Black());  // stock: ignored
  EXPECT_EQ(COLOR_Black()->R, 0);
  FontPtr f = FONT_New("DejaVu Sans", 10, false);
  EXPECT_TRUE(FONT_Equal(f, FONT_Default()));
  EXPECT_FALSE(FONT_Equal(f, FONT_DefaultBold()));
  FONT_Dispose(f);
}

TEST_F(DisplayTest, FillsFramesAndCapturesPixels) {
  NatWinId w = mapWindow(RECT16_Make(20, 20, 120, 80));
  DrawPtr d = DRAW_Begin(w, _Point16Rec{10, 10}, nullptr);
  DRAW_FillRect(d, RECT16_Make(0, 0, 40, 30), COLOR_Red());
  DRAW_FrameRect(d, RECT16_Make(50, 0, 40, 30), COLOR_Blue(), PEN_Solid());
  DRAW_FillRect(d, RECT16_Make(60, 40, 20, 20), COLOR_Transparent());  // draws nothing
  DRAW_End(d);
  // A clip keeps drawing inside it.
  RegionPtr clip = RGN_NewRect(RECT16_Make(0, 60, 10, 10));
  d = DRAW_Begin(w, _Point16Rec{0, 0}, clip);
  DRAW_FillRect(d, RECT16_Make(0, 60, 40, 20), COLOR_Green());
  DRAW_End(d);
  RGN_Dispose(clip);

  int width = 0, height = 0;
  std::vector<uint8_t> rgb;
  ASSERT_TRUE(DSPLY_CaptureWin(w, &width, &height, &rgb)) << DSPLY_GetLastError();
  ASSERT_EQ(width, 120);
  ASSERT_EQ(height, 80);
  ColorPtr red = COLOR_Red(), blue = COLOR_Blue(), bg = COLOR_Window(), green = COLOR_Green();
  auto rgbOf = [](ColorPtr c) { return (uint32_t(c->R) << 16) | (uint32_t(c->G) << 8) | c->B; };
  // The fill's corners and just past them, the frame and inside it, the
  // transparent fill, in the clip and outside it.
  for (auto [x, y, c] : {std::tuple<int, int, ColorPtr>{10, 10, red}, {49, 39, red}, {50, 40, bg}, {60, 10, blue},
                         {70, 20, bg}, {75, 55, bg}, {5, 65, green}, {20, 65, bg}})
    EXPECT_EQ(pixelAt(rgb, width, x, y), rgbOf(c)) << x << "," << y;

  // Invert flips what it covers, twice gives the original back.
  d = DRAW_Begin(w, _Point16Rec{0, 0}, nullptr);
  DRAW_FillRect(d, RECT16_Make(100, 0, 10, 10), COLOR_Invert());
  DRAW_End(d);
  ASSERT_TRUE(DSPLY_CaptureWin(w, &width, &height, &rgb));
  EXPECT_EQ(pixelAt(rgb, width, 105, 5), 0xffffffu ^ rgbOf(bg));

  owbtest::TempDir dir;
  ASSERT_TRUE(DSPLY_SaveWinPng(w, dir.file("shot.png"))) << DSPLY_GetLastError();
  std::string png = owbtest::readWholeFile(dir.file("shot.png"));
  ASSERT_GT(png.size(), 8u);
  EXPECT_EQ(png.substr(1, 3), "PNG");
}

TEST_F(DisplayTest, TextIsMeasuredAndDrawnWithTheDefaultFamily) {
  EXPECT_EQ(DRAW_QueryTextExt(FONT_Default(), "", 0).X, 0);
  _Point16Rec one = DRAW_QueryTextExt(FONT_Default(), "Cancel", -1);
  _Point16Rec two = DRAW_QueryTextExt(FONT_Default(), "CancelCancel", -1);
  EXPECT_GT(one.X, 20);
  EXPECT_NEAR(two.X, 2 * one.X, 2);
  EXPECT_EQ(one.Y, FONT_GetHeight(FONT_Default()));
  EXPECT_GT(DRAW_QueryTextExt(FONT_DefaultBold(), "Cancel", -1).X, one.X);
  // A bigger size in points gives proportionally wider text.
  FontPtr big = FONT_New(nullptr, 20, false);
  EXPECT_NEAR(DRAW_QueryTextExt(big, "Cancel", -1).X, 2 * one.X, one.X / 5);  // hinting rounds
  FONT_Dispose(big);

  NatWinId w = mapWindow(RECT16_Make(20, 200, 200, 40));
  DrawPtr d = DRAW_Begin(w, _Point16Rec{0, 0}, nullptr);
  DRAW_Text(d, FONT_Default(), COLOR_Black(), 10, 25, "Hello", -1);
  DRAW_End(d);
  int width, height;
  std::vector<uint8_t> rgb;
  ASSERT_TRUE(DSPLY_CaptureWin(w, &width, &height, &rgb));
  int dark = 0, grey = 0;
  for (int y = 0; y < height; y++)
    for (int x = 0; x < width; x++) {
      uint32_t p = pixelAt(rgb, width, x, y);
      int r = p >> 16;
      if (r < 0x40) dark++;
      else if (r < 0xe0) grey++;  // anti-aliased edges
      if (r < 0xe0) {
        EXPECT_LT(x, 10 + DRAW_QueryTextExt(FONT_Default(), "Hello", -1).X + 2);
      }
    }
  EXPECT_GT(dark, 20);
  EXPECT_GT(grey, 5);
}

TEST_F(DisplayTest, PointerEventsAreTranslated) {
  NatWinId w = mapWindow(RECT16_Make(300, 100, 200, 100));
  owbtest::XTestDriver drv(owbtest::sharedXvfb().display());
  ASSERT_TRUE(drv.ok());

  drv.moveTo(340, 130);
  drv.press(1);
  _DsplyEventRec ev;
  ASSERT_TRUE(nextEvent(w, DSPLY_EVBUTTONPRESS, &ev));
  EXPECT_EQ(ev.Button, EVENT_BUT1);
  EXPECT_EQ(std::vector<int>({ev.WinLoc.X, ev.WinLoc.Y, ev.AbsLoc.X}), std::vector<int>({40, 30, 340}));
  EXPECT_TRUE(ev.Modifiers & EVENT_MODBUT1);
  drv.release(1);
  ASSERT_TRUE(nextEvent(w, DSPLY_EVBUTTONRELEASE, &ev));
  EXPECT_FALSE(ev.Modifiers & EVENT_MODBUT1);
  drv.press(4);  // the wheel is no button of the toolkit
  drv.release(4);
  ASSERT_TRUE(nextEvent(w, DSPLY_EVBUTTONPRESS, &ev));
  EXPECT_EQ(ev.Button, EVENT_BUTNONE);

  _Point16Rec abs, loc;
  NatWinId under = 0;
  drv.moveTo(310, 150);
  ASSERT_TRUE(DSPLY_QueryPointer(&abs, &under, &loc, nullptr));
  EXPECT_EQ(under, w);
  EXPECT_EQ(std::vector<int>({loc.X, loc.Y}), std::vector<int>({10, 50}));
}

TEST_F(DisplayTest, QueuedExposuresOfAWindowMergeIntoOneRegion) {
  NatWinId w = mapWindow(RECT16_Make(20, 400, 200, 100));
  DSPLY_InvalWinRect(w, RECT16_Make(0, 0, 10, 10));
  DSPLY_InvalWinRect(w, RECT16_Make(50, 50, 10, 10));
  DSPLY_InvalWinRect(w, RECT16_Make(100, 0, 5, 5));
  DSPLY_Sync();
  _DsplyEventRec ev;
  ASSERT_TRUE(nextEvent(w, DSPLY_EVEXPOSE, &ev));
  EXPECT_TRUE(RGN_ContainsPoint(ev.Rgn, 5, 5));
  EXPECT_TRUE(RGN_ContainsPoint(ev.Rgn, 55, 55));
  EXPECT_TRUE(RGN_ContainsPoint(ev.Rgn, 102, 2));
  EXPECT_FALSE(RGN_ContainsPoint(ev.Rgn, 30, 30));
  DSPLY_ClearEvent(&ev);
  EXPECT_FALSE(nextEvent(w, DSPLY_EVEXPOSE, &ev, 200));
}

TEST(DisplayClosedTest, EverythingIsHarmlessWithoutAServer) {
  DSPLY_Exit();
  DSPLY_Beep();
  EXPECT_EQ(DRAW_QueryTextExt(FONT_Default(), "abc", -1).X, 0);
  DRAW_FillRect(nullptr, RECT16_Make(0, 0, 5, 5), COLOR_Red());
  DrawPtr d = DRAW_Begin(0, _Point16Rec{0, 0}, nullptr);
  DRAW_Text(d, FONT_Default(), COLOR_Black(), 0, 0, "x", -1);
  DRAW_End(d);
  _DsplyEventRec ev;
  EXPECT_FALSE(DSPLY_CheckEvent(&ev));
  EXPECT_EQ(DSPLY_NewWin(RECT16_Make(0, 0, 10, 10), "x", nullptr), 0u);
  EXPECT_FALSE(DSPLY_Init(":32767"));
  EXPECT_FALSE(DSPLY_IsOpen());
  EXPECT_NE(std::string(DSPLY_GetLastError()).find("32767"), std::string::npos);
}

}  // namespace
