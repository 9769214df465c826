// Things too big for their room: a window larger than the work area, and a
// text wider than the width it is given.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/toolkit/tk_fixture.h"
#include "toolkit/color.h"
#include "toolkit/draw.h"
#include "toolkit/dsply.h"
#include "toolkit/font.h"

namespace {

using tktest::ToolkitTest;

bool inside(const _Rect16Rec& box, const _Rect16Rec& area) {
  return box.Origin.X >= area.Origin.X && box.Origin.Y >= area.Origin.Y &&
         box.Origin.X + box.Extent.X <= area.Origin.X + area.Extent.X &&
         box.Origin.Y + box.Extent.Y <= area.Origin.Y + area.Extent.Y;
}

// Shown, a window larger than the work area shrinks to it and lays its
// children out again (the one kept at the right edge stays in sight); one
// that lies partly off it moves in; one that fits stays where it was put.
TEST_F(ToolkitTest, AWindowFirstShownFitsTheWorkArea) {
  const _Rect16Rec area = DSPLY_GetWorkArea();
  ASSERT_FALSE(RECT16_IsEmpty(area));
  WinPtr big = keep(tktest::newWin(40, 30, area.Extent.X + 300, area.Extent.Y + 200, "too big"));
  const int wide = area.Extent.X + 300;
  TButPtr right = tktest::addButton(WIN_Panel(big), "Right", wide - 110, 10, 100, 30);
  TBUT_Wgt(right)->RzFlags = 6 | 5 << 4;  // keeps its distance from the right edge
  WIN_Init(big);
  ASSERT_TRUE(tktest::showAndWait(big));
  const _Rect16Rec box = WIN_Wgt(big)->Box;
  EXPECT_TRUE(inside(box, area)) << box.Origin.X << "," << box.Origin.Y << " " << box.Extent.X << "x"
                                 << box.Extent.Y;
  EXPECT_EQ(box.Extent.X, area.Extent.X);
  const _Rect16Rec button = TBUT_Wgt(right)->Box;
  EXPECT_EQ(button.Origin.X + button.Extent.X, box.Extent.X - 10);

  WinPtr off = keep(tktest::newWin(area.Extent.X - 100, area.Extent.Y - 50, 300, 200, "partly off"));
  WIN_Init(off);
  ASSERT_TRUE(tktest::showAndWait(off));
  EXPECT_TRUE(inside(WIN_Wgt(off)->Box, area));
  EXPECT_EQ(WIN_Wgt(off)->Box.Extent.X, 300);

  WinPtr fits = keep(tktest::newWin(area.Origin.X + 50, area.Origin.Y + 60, 300, 200, "fits"));
  WIN_Init(fits);
  ASSERT_TRUE(tktest::showAndWait(fits));
  EXPECT_EQ(WIN_Wgt(fits)->Box.Origin.X, area.Origin.X + 50);
  EXPECT_EQ(WIN_Wgt(fits)->Box.Origin.Y, area.Origin.Y + 60);
}

std::vector<std::string> gTapped;

// A text cut to its width: no ink past the width, the mark at its end, the
// whole text seen by the tap; a text that fits is drawn as it is; a cut
// never splits a character.
TEST_F(ToolkitTest, ATextCutToItsWidthEndsInAMarkAndTheTapSeesItWhole) {
  WinPtr win = keep(tktest::newWin(60, 60, 400, 60, "cut"));
  WIN_Init(win);
  ASSERT_TRUE(tktest::showAndWait(win));
  FontPtr font = FONT_Default();
  // The columns that hold ink once text is drawn by draw(d) on white at
  // (10, 30).
  auto inkOf = [&](auto draw) {
    DrawPtr d = DRAW_Begin(win->NatWin, _Point16Rec{0, 0}, nullptr);
    DRAW_FillRect(d, RECT16_Make(0, 0, 400, 60), COLOR_White());
    draw(d);
    DRAW_End(d);
    DSPLY_Sync();
    int width = 0, height = 0;
    std::vector<uint8_t> rgb;
    std::vector<bool> inked;
    if (!DSPLY_CaptureWin(win->NatWin, &width, &height, &rgb)) return inked;
    inked.assign(static_cast<size_t>(width), false);
    for (int y = 0; y < height; ++y)
      for (int x = 0; x < width; ++x)
        if (rgb[(static_cast<size_t>(y) * width + x) * 3] < 0xA0) inked[static_cast<size_t>(x)] = true;
    return inked;
  };
  auto cut = [&](int width, const char* text) {
    return inkOf([&](DrawPtr d) { DRAW_TextCut(d, font, COLOR_Black(), 10, 30, width, text, -1); });
  };
  auto whole = [&](const char* text) {
    return inkOf([&](DrawPtr d) { DRAW_Text(d, font, COLOR_Black(), 10, 30, text, -1); });
  };
  const std::string text = "caf\xC3\xA9 caf\xC3\xA9 caf\xC3\xA9 caf\xC3\xA9 caf\xC3\xA9 caf\xC3\xA9";
  const int width = 90;
  ASSERT_GT(DRAW_QueryTextExt(font, text.c_str(), -1).X, width);

  DRAW_SetTextTap([](const char* t, int len, void*) { gTapped.emplace_back(t, static_cast<size_t>(len)); }, nullptr);
  std::vector<bool> inked = cut(width, text.c_str());
  DRAW_SetTextTap(nullptr, nullptr);
  ASSERT_EQ(gTapped.size(), 1u);
  EXPECT_EQ(gTapped[0], text);
  ASSERT_EQ(inked.size(), 400u);
  int last = -1;
  for (int x = 0; x < 400; ++x)
    if (inked[static_cast<size_t>(x)]) last = x;
  EXPECT_LE(last, 10 + width);
  const int mark = DRAW_QueryTextExt(font, "\xE2\x80\xA6", -1).X;
  EXPECT_GE(last, 10 + width - mark - DRAW_QueryTextExt(font, "\xC3\xA9", -1).X);

  // Cut just inside the two bytes of the e with its accent: the prefix
  // drawn stops before it, never on half of it.
  const int beforeAccent = DRAW_QueryTextExt(font, "caf", 3).X;
  EXPECT_EQ(cut(beforeAccent + mark + 1, text.c_str()), whole("caf\xE2\x80\xA6"));
  // A text that fits is drawn whole, as DRAW_Text draws it.
  EXPECT_EQ(cut(300, "short"), whole("short"));
}

}  // namespace
