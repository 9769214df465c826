// Icons: the shape painter, the installation's icons, and icons on buttons.
#include "toolkit/icon.h"

#include <gtest/gtest.h>

#include "tests/toolkit/tk_fixture.h"
#include "toolkit/pfld.h"
#include "toolkit/rclas.h"

namespace {

uint32_t at(const std::vector<uint32_t>& p, int w, int x, int y) { return p[static_cast<size_t>(y) * w + x]; }
uint32_t alphaOf(uint32_t argb) { return argb >> 24; }

TEST(IconShapeTest, PaintsInOrderWithSmoothEdgesAtAnyScale) {
  const char* shape = "fill #ff0000; circle 8 8 6; fill #0000ff80; rect 0 0 4 4";
  EXPECT_TRUE(ICON_ShapeIsValid(shape));
  for (int scale : {1, 2, 3}) {
    int n = 16 * scale;
    std::vector<uint32_t> p = ICON_RenderShape(shape, 16, 16, n, n);
    ASSERT_EQ(static_cast<size_t>(n * n), p.size());
    EXPECT_EQ(0xffff0000u, at(p, n, n / 2, n / 2)) << scale;           // inside the disc
    EXPECT_EQ(0u, at(p, n, n - 1, n - 1)) << scale;                      // outside everything
    EXPECT_EQ(0x80000080u, at(p, n, 0, 0)) << scale;  // blue at half alpha, premultiplied
    // The disc's rim, 45 degrees up right of the centre, is neither empty nor full.
    uint32_t rim = at(p, n, static_cast<int>(12.24 * scale), static_cast<int>(3.76 * scale));
    EXPECT_GT(alphaOf(rim), 0u) << scale;
    EXPECT_LT(alphaOf(rim), 255u) << scale;
  }
  // Premultiplied: no colour channel above alpha.
  for (uint32_t px : ICON_RenderShape("fill #ffffff; circle 3 3 2.5; line 1 0 0 6 6", 6, 6, 12, 12)) {
    uint32_t a = alphaOf(px);
    EXPECT_LE((px >> 16) & 0xff, a);
    EXPECT_LE(px & 0xff, a);
  }
}

TEST(IconShapeTest, LinesAndArcsAreRoundAndArcsKeepToTheirAngles) {
  // An arc over the right half only: 0 (top) to 180 (bottom), clockwise.
  std::vector<uint32_t> arc = ICON_RenderShape("arc 2 10 10 6 0 180", 20, 20, 20, 20);
  EXPECT_EQ(255u, alphaOf(at(arc, 20, 16, 10)));  // east, on the circle
  EXPECT_EQ(0u, alphaOf(at(arc, 20, 3, 10)));     // west: not part of it
  // A line has round caps reaching half its width beyond its ends.
  std::vector<uint32_t> line = ICON_RenderShape("line 4 5 10 15 10", 20, 20, 20, 20);
  EXPECT_EQ(255u, alphaOf(at(line, 20, 10, 10)));
  EXPECT_GT(alphaOf(at(line, 20, 3, 10)), 0u);
  EXPECT_EQ(0u, alphaOf(at(line, 20, 10, 14)));
}

TEST(IconShapeTest, ABadCommandEndsTheShapeAndSizesAreBounded) {
  const char* broken = "fill #00ff00; rect 0 0 4 4; bogus 1 2; rect 4 4 4 4";
  EXPECT_FALSE(ICON_ShapeIsValid(broken));
  std::vector<uint32_t> p = ICON_RenderShape(broken, 8, 8, 8, 8);
  EXPECT_EQ(0xff00ff00u, at(p, 8, 1, 1));
  EXPECT_EQ(0u, at(p, 8, 6, 6));
  for (const char* bad : {"fill red", "circle 1 2", "poly 1 2 3 4 5", "line 1 2 3 4", "rect 1 2 3 nan",
                          "arc 1 2 3 4 5", "circle 1e300 1 1"})
    EXPECT_FALSE(ICON_ShapeIsValid(bad)) << bad;
  EXPECT_TRUE(ICON_ShapeIsValid(""));
  EXPECT_TRUE(ICON_ShapeIsValid(" ;\n; "));
  EXPECT_EQ(1024u * 1024u, ICON_RenderShape("circle 1 1 1", 2, 2, 5000, 5000).size());
  EXPECT_TRUE(ICON_RenderShape("circle 1 1 1", 2, 2, -3, 4).empty());
  std::vector<uint32_t> none = ICON_RenderShape(nullptr, 0, 0, 4, 4);
  for (uint32_t px : none) EXPECT_EQ(0u, px);
}

class IconTest : public tktest::ToolkitTest {
 protected:
  void SetUp() override {
    tktest::ToolkitTest::SetUp();
    ASSERT_TRUE(tktest::loadTestLibrary("Genwin", "ndgw.dat"));
    ASSERT_TRUE(tktest::loadTestLibrary("shared", "shared.dat"));
  }
};

// Every icon of the installation reads to its end and paints something at
// both scales.
TEST_F(IconTest, TheInstallationsIconsAreCompleteAndPaint) {
  const std::pair<const char*, const char*> icons[] = {
      {"AlrtW", "DefIconCriticalMsw"}, {"AlrtW", "DefIconQuestionMsw"}, {"AlrtW", "DefIconInfoMsw"},
      {"AlrtW", "DefIconWarningMsw"},  {"shared", "folderIcon"},         {"shared", "fileIcon"}};
  for (auto& [module, name] : icons) {
    ResPtr icon = RES_Load(module, name);
    ASSERT_TRUE(ICON_IsIcon(icon)) << name;
    _Point16Rec size = ICON_GetSize(icon);
    EXPECT_GT(size.X, 0) << name;
    const char* shape = PFLD_GetStr(icon, RCLAS_FindField(icon->ResClass, "Shape"));
    EXPECT_TRUE(ICON_ShapeIsValid(shape)) << name;
    for (int scale : {1, 2}) {
      std::vector<uint32_t> p = ICON_RenderShape(shape, size.X, size.Y, size.X * scale, size.Y * scale);
      size_t opaque = 0;
      for (uint32_t px : p) opaque += alphaOf(px) == 255;
      EXPECT_GT(opaque, p.size() / 4) << name << " at " << scale;
    }
    RES_Release(icon);
  }
}

TEST_F(IconTest, AButtonShowsItsIconAndHoldsItsOwnReference) {
  WinPtr win = keep(tktest::newWin(30, 30, 200, 100, "icons"));
  WIN_Init(win);
  TButPtr iconOnly = tktest::addButton(WIN_Panel(win), "", 10, 10, 40, 40);
  iconOnly->Style = TBUT_STYLEICON;
  TButPtr withLabel = tktest::addButton(WIN_Panel(win), "Open", 60, 10, 120, 40);
  ResPtr icon = RES_Load("AlrtW", "DefIconCriticalMsw");
  UInt16 count = icon->ResPrivate5;
  TBUT_SetIcon(iconOnly, icon);
  TBUT_SetIcon(withLabel, icon);
  EXPECT_EQ(count + 2, icon->ResPrivate5);
  EXPECT_EQ(icon, TBUT_GetIcon(iconOnly));
  // The label's extent makes room for the icon.
  EXPECT_GE(TButQueryLabelExt(withLabel).X, ICON_GetScreenSize(icon).X);
  ASSERT_TRUE(tktest::showAndWait(win));

  int w = 0, h = 0;
  std::vector<uint8_t> rgb;
  ASSERT_TRUE(DSPLY_CaptureWin(WIN_GetNatWin(win), &w, &h, &rgb));
  auto pixel = [&](int x, int y) {
    size_t i = (static_cast<size_t>(y) * w + x) * 3;
    return uint32_t(rgb[i]) << 16 | uint32_t(rgb[i + 1]) << 8 | rgb[i + 2];
  };
  // The icon's red disc at the centre of the icon-only button, its white
  // cross through the middle.
  _Point16Rec ext = ICON_GetScreenSize(icon);
  int ox = 10 + (40 - ext.X) / 2, oy = 10 + (40 - ext.Y) / 2;
  EXPECT_EQ(0xd93025u, pixel(ox + ext.X * 3 / 16, oy + ext.Y / 2));
  EXPECT_EQ(0xffffffu, pixel(ox + ext.X / 2, oy + ext.Y / 2));

  TBUT_SetIcon(withLabel, nullptr);
  EXPECT_EQ(count + 1, icon->ResPrivate5);
  RES_Release(icon);
}

}  // namespace
