// The source view and its window on the test X server: geometry and
// scroll arithmetic, jumps and the target line, search, mouse selection
// through real input, keys, and following a file that grows.
#include "symbols/ui/srcview.h"

#include <memory>

#include "symbols/ui/srcwindow.h"
#include "toolkit/tk_fixture.h"

namespace {

std::string numberedLines(int count) {
  std::string text;
  for (int i = 1; i <= count; ++i) text += "line " + std::to_string(i) + (i % 10 == 0 ? " needle\n" : "\n");
  return text;
}

// Scroll bars that only remember the ranges they were given.
struct RecordingBars : SourceViewScrollBars {
  void placeBar(bool, _Point16Rec, int) override {}
  void setBarRange(bool vertical, const SourceViewScrollRange& range) override { (vertical ? v : h) = range; }
  SourceViewScrollRange v, h;
};

class SourceViewTest : public tktest::ToolkitTest {
 protected:
  // A window with a 400 x 300 viewport at (10, 10) showing path.
  std::unique_ptr<SourceView> openView(const std::string& path, long line = 1) {
    win_ = keep(tktest::newWin(40, 40, 460, 360, "view"));
    viewPort_ = WGT_Create();
    viewPort_->ResBox = RECT16_Make(10, 10, 400, 300);
    PANEL_AddWgt(WIN_Panel(win_), viewPort_);
    WIN_Init(win_);
    WGT_SetFont(viewPort_, FONT_LoadByText("DejaVu Sans Mono 10"));
    auto view = std::make_unique<SourceView>(win_, viewPort_, path.c_str(), line, 0, false, 0, false, false);
    view->setScrollBars(&bars_);
    return view;
  }
  // A key typed, and the loop run until it has been handled.
  void press(KeySym key, KeySym modifier = NoSymbol) {
    driver_->key(key, modifier);
    settle();
  }
  owbtest::TempDir dir_;
  WinPtr win_ = nullptr;
  WgtPtr viewPort_ = nullptr;
  RecordingBars bars_;
};

// Each byte a column; characters never split, odd bytes marked.
TEST(SourceCells, CharactersAreNeverSplitAndOddBytesAreMarked) {
  auto kinds = [](const std::string& text, bool cutAtRight, bool scrolledIn) {
    std::vector<SourceCellKind> cells(text.size());
    classifySourceCells(reinterpret_cast<const unsigned char*>(text.data()), static_cast<long>(text.size()),
                        cutAtRight, scrolledIn, cells.data());
    std::string shown;
    for (SourceCellKind kind : cells) shown += "tCbR"[kind];
    return shown;
  };
  EXPECT_EQ(kinds("Gr\xC3\xBC\xC3\x9F" "e", false, false), "ttCbCbt");
  EXPECT_EQ(kinds("\xE6\x97\xA5!", false, false), "Cbbt");
  EXPECT_EQ(kinds(std::string("a\xFF\xFE\x00\x01\x7F" "b", 7), false, false), "tRRRRRt");
  EXPECT_EQ(kinds("a\xE2\x82 b", false, false), "tRRtt");    // a sequence broken in the file
  EXPECT_EQ(kinds("a\xE2\x82", true, false), "tbb");         // one cut by the right edge
  EXPECT_EQ(kinds("\x97\xA5x", false, true), "bbt");         // one begun left of the view
  EXPECT_EQ(kinds("\x97\xA5x", false, false), "RRt");
  EXPECT_EQ(kinds("\xED\xA0\x80", false, false), "RRR");    // a surrogate is no character
  EXPECT_EQ(kinds("\xC0\xAF", false, false), "RR");          // nor an overlong form
  EXPECT_EQ(kinds("crlf\r", false, false), "ttttb");
  EXPECT_EQ(kinds("cr\rx", false, false), "ttRt");
  EXPECT_EQ(kinds("cut\r", true, false), "tttR");
}

// A window opened beside another: right of it, else left, else offset
// over it; on the screen in every case.
TEST(SourceWindowPlace, BesideThenLeftThenOffsetAndOnScreen) {
  const _Point16Rec screen{1000, 800}, extent{400, 300};
  auto at = [&](int x, int y, int w, int h) {
    _Point16Rec p = SourceWindow::placeBeside(RECT16_Make(x, y, w, h), extent, screen);
    return std::to_string(p.X) + "," + std::to_string(p.Y);
  };
  EXPECT_EQ(at(100, 100, 300, 200), "408,100");
  EXPECT_EQ(at(500, 100, 300, 200), "92,100");
  EXPECT_EQ(at(200, 600, 600, 150), "240,500");
  EXPECT_EQ(at(-50, -20, 1100, 900), "0,20");
}

TEST_F(SourceViewTest, GeometryScrollingJumpsAndFind) {
  owbtest::writeWholeFile(dir_.file("f"), numberedLines(1000) + std::string(300, 'x') + "\n");
  auto view = openView(dir_.file("f"), 500);
  ASSERT_EQ(view->lastError, 0);
  EXPECT_EQ(view->firstVisibleLine, 499);  // to the top, at 0 percent
  EXPECT_EQ(view->getLine(), 500);
  ASSERT_GT(view->fontHeight, 8);
  const long height = view->heightInLines;
  EXPECT_EQ(height, (300 - 6) / view->fontHeight);
  EXPECT_EQ(view->widthInCharacters, 400 / view->fontWidth);
  EXPECT_EQ(view->drawBufferSize, view->widthInCharacters + 1);
  EXPECT_TRUE(RECT16_Equal(view->viewPortClip, RECT16_Make(16, 16, 392, height * view->fontHeight)));
  EXPECT_EQ(bars_.v.max, 1001);
  EXPECT_EQ(bars_.h.max, 302);  // the widest line with its newline, plus one
  EXPECT_EQ(bars_.h.thumbSize, view->widthInCharacters);

  // Lines are held to the text by the window's keys and bars; columns here.
  view->hScrollbarCallback(100000);
  EXPECT_EQ(view->firstVisibleColumn, 302 - view->widthInCharacters);

  // Jumps: held to the text, a visible line stays where it is.
  view->jumpToLine(5000, 0, true, 0, true);  // beyond the end: the last line
  EXPECT_EQ(view->targetLine, 1000);
  EXPECT_TRUE(view->targetIsHilited);
  EXPECT_EQ(view->firstVisibleLine, 1001 - height);
  view->jumpToLine(300, 50, true, 0, false);
  EXPECT_EQ(view->firstVisibleLine, 299 - 50 * height / 100);
  EXPECT_FALSE(view->targetIsHilited);
  long first = view->firstVisibleLine;
  view->jumpToLine(302, 0, false, 0, false);
  EXPECT_EQ(view->firstVisibleLine, first);
  view->jumpToLine(-7, 0, true, 2000, true);  // the line held to 1, the target to the end
  EXPECT_EQ(view->firstVisibleLine, 0);
  EXPECT_EQ(view->targetLine, 1000);

  // A highlight clears the selection.
  view->setTargetHilite(false);
  ASSERT_TRUE(view->find("line 2", true));
  EXPECT_TRUE(view->hasSelection());
  view->jumpToLine(10, 0, false, 0, true);
  EXPECT_FALSE(view->hasSelection());
  EXPECT_EQ(view->targetLine, 9);

  // Reloading keeps the place, the target and its highlight.
  view->setFirstVisibleLine(120);
  view->reloadFile();
  EXPECT_EQ(view->firstVisibleLine, 120);
  EXPECT_EQ(view->targetLine, 9);
  EXPECT_TRUE(view->targetIsHilited);

  // A taller viewport at the end of the text: the view moves back so that
  // the end stays at the end.
  view->setFirstVisibleLine(100000);
  long before = view->firstVisibleLine;
  _Point16Rec taller{400, 600};
  WGT_Configure(viewPort_, nullptr, &taller);
  view->recalculateDimensions();
  EXPECT_LT(view->firstVisibleLine, before);
  EXPECT_EQ(view->firstVisibleLine + view->heightInLines, 1001);

  // A text that fits: always from the top.
  owbtest::writeWholeFile(dir_.file("short"), "a\nb\n");
  view->switchSourceView(dir_.file("short").c_str(), 2, 0, true, 0, false);
  view->setFirstVisibleLine(1);
  EXPECT_EQ(view->firstVisibleLine, 0);

  // Find goes down from the selection, without wrapping.
  owbtest::writeWholeFile(dir_.file("find"), numberedLines(95) + "\tTabbed Needle \xE9 here\n");
  ASSERT_TRUE(view->switchSourceView(dir_.file("find").c_str(), 1, 0, false, 0, false));
  ASSERT_TRUE(view->find("needle", false));
  EXPECT_EQ(view->selectionStartLine, 9);
  EXPECT_EQ(view->selectionStartChar, 8);
  EXPECT_EQ(view->selectionEndChar, 14);
  EXPECT_EQ(view->targetLine, 9);
  char text[64];
  EXPECT_EQ(view->getSelection(text, sizeof text), 6);
  EXPECT_STREQ(text, "needle");
  ASSERT_TRUE(view->findSelection());
  EXPECT_EQ(view->selectionStartLine, 19);
  // The match shows a third of the way down once the view has to move.
  for (int i = 0; i < 6; ++i) ASSERT_TRUE(view->find("needle", false));
  EXPECT_EQ(view->selectionStartLine, 79);
  view->setFirstVisibleLine(0);
  ASSERT_TRUE(view->find("needle", false));
  EXPECT_EQ(view->selectionStartLine, 89);
  // A third of the way down, unless that would leave room below the end.
  EXPECT_EQ(view->firstVisibleLine, std::min(89 - 33L * view->heightInLines / 100, 96L - view->heightInLines));
  // Case counts when asked; tabs are expanded in the columns found.
  EXPECT_FALSE(view->find("NEEDLE", true));
  EXPECT_EQ(view->selectionStartLine, 89);  // kept
  ASSERT_TRUE(view->find("needle", false));
  EXPECT_EQ(view->selectionStartLine, 95);
  EXPECT_EQ(view->selectionStartChar, 4 + 7);
  EXPECT_FALSE(view->find("needle", false));  // no wrap to the top
  EXPECT_EQ(view->selectionStartLine, 95);
  // A stray byte is found and selected as the code the view shows.
  ASSERT_TRUE(view->find("\\xE9 here", true));
  EXPECT_EQ(view->selectionStartChar, 4 + 14);
  EXPECT_EQ(view->getSelection(text, sizeof text), 9);
  EXPECT_STREQ(text, "\\xE9 here");
  // From a highlighted target without a selection: that line on.
  view->jumpToLine(50, 0, false, 0, true);
  ASSERT_TRUE(view->find("line", false));
  EXPECT_EQ(view->selectionStartLine, 49);
}

// The window: keys and bars scroll, the mouse selects and targets, the find
// field searches, and it follows a file that grows.
TEST_F(SourceViewTest, WindowScrollsSelectsFindsAndFollowsAGrowingFile) {
  owbtest::ScopedEnv followFast("OWB_FOLLOW_INTERVAL", std::string("30"));
  std::string path = dir_.file("run.out");
  owbtest::writeWholeFile(path, numberedLines(300));
  std::string error;
  std::unique_ptr<SourceWindow> window(SourceWindow::open(path.c_str(), 1, false, &error));
  ASSERT_TRUE(window) << error;
  SourceView* view = window->view();
  ASSERT_TRUE(tktest::runUntil([&] { return WIN_IsOpen(window->win()) && WIN_HasFocus(window->win()); }));
  settle();

  press(XK_Page_Down);
  EXPECT_EQ(view->firstVisibleLine, view->heightInLines - 1);
  press(XK_End, XK_Control_L);
  EXPECT_EQ(view->firstVisibleLine + view->heightInLines, 300);
  press(XK_Home, XK_Control_L);
  EXPECT_EQ(view->firstVisibleLine, 0);

  // The bars: placed beside the view, a press on the down arrow scrolls a
  // line, one on the track below the thumb a page.
  WgtPtr bar = SB_Wgt(window->verticalBar());
  EXPECT_EQ(bar->Box.Origin.X, window->viewPort()->Box.Origin.X + window->viewPort()->Box.Extent.X + 4);
  EXPECT_EQ(bar->Box.Extent.Y, window->viewPort()->Box.Extent.Y);
  _SbInfoRec info;
  SB_QueryInfo(window->verticalBar(), &info);
  EXPECT_EQ(info.Max, 300);
  EXPECT_EQ(info.ThumbSize, view->heightInLines);
  _Rect16Rec arrow = SB_QueryPartRect(window->verticalBar(), SB_PARTARROW2);
  clickOn(bar, arrow.Origin.X + arrow.Extent.X / 2, arrow.Origin.Y + arrow.Extent.Y / 2);
  EXPECT_EQ(view->firstVisibleLine, 1);
  _Rect16Rec track = SB_QueryPartRect(window->verticalBar(), SB_PARTBODY2);
  clickOn(bar, track.Origin.X + track.Extent.X / 2, track.Origin.Y + track.Extent.Y - 2);
  EXPECT_EQ(view->firstVisibleLine, 1 + view->heightInLines);
  view->setFirstVisibleLine(0);
  SB_QueryInfo(window->verticalBar(), &info);
  EXPECT_EQ(info.ThumbPos, 0);

  // A drag from column 0 of line 3 to column 4 of line 4 selects
  // "line 3\nline".
  WgtPtr viewPort = window->viewPort();
  const int fw = view->fontWidth, fh = view->fontHeight;
  _Point16Rec from = tktest::absOf(viewPort, 6 + 1, 6 + 2 * fh + fh / 2);
  ASSERT_TRUE(drag(from, tktest::absOf(viewPort, 6 + 4 * fw + 1, 6 + 3 * fh + fh / 2), 150, 250));
  std::this_thread::sleep_for(std::chrono::milliseconds(400));  // no double click with the next press
  EXPECT_EQ(view->selectionStartLine, 2);
  EXPECT_EQ(view->selectionEndLine, 3);
  char text[64];
  view->getSelection(text, sizeof text);
  EXPECT_STREQ(text, "line 3\nline");
  // Held below the view, the drag scrolls it until the button comes up.
  ASSERT_TRUE(drag(from, tktest::absOf(viewPort, 40, viewPort->Box.Extent.Y + 30), 150, 1350));
  std::this_thread::sleep_for(std::chrono::milliseconds(400));
  EXPECT_GT(view->firstVisibleLine, 3);
  EXPECT_GT(view->selectionEndLine, view->heightInLines);
  EXPECT_EQ(view->selectionStartLine, 2);
  // A double click on line 6 makes it the highlighted target.
  view->setFirstVisibleLine(0);
  settle();
  _Point16Rec sixth = tktest::absOf(viewPort, 30, 6 + 5 * fh + fh / 2);
  driver_->click(sixth.X, sixth.Y);
  settle();
  std::this_thread::sleep_for(std::chrono::milliseconds(60));
  driver_->click(sixth.X, sixth.Y);
  settle();
  EXPECT_TRUE(view->targetIsHilited);
  EXPECT_EQ(view->targetLine, 5);
  EXPECT_FALSE(view->hasSelection());
  _Point16Rec onTarget{30, static_cast<int16_t>(6 + 5 * fh + 2)};
  EXPECT_FALSE(view->handleMouseClick(onTarget, true));  // on the target already

  // Ctrl+F puts the focus in the find field; Return there finds and keeps
  // it, so Return again goes on; Escape gives the keys back to the view.
  WgtPtr field = TED_Wgt(window->findField());
  auto typeText = [&](const std::string& text) {
    for (char c : text) driver_->key(static_cast<KeySym>(c));
  };
  driver_->key(XK_f, XK_Control_L);
  typeText("needle");
  settle();
  EXPECT_TRUE(WGT_HasFocus(field, 1));
  EXPECT_STREQ(TED_GetStr(window->findField()), "needle");
  press(XK_Return);
  EXPECT_EQ(view->selectionStartLine, 9);
  press(XK_Return);
  EXPECT_EQ(view->selectionStartLine, 19);
  EXPECT_TRUE(WGT_HasFocus(field, 1));
  press(XK_Escape);
  EXPECT_TRUE(WGT_HasFocus(window->viewPort(), 1));
  press(XK_n);
  EXPECT_EQ(view->selectionStartLine, 29);
  // "/" selects the field's text, so that typing replaces it; a text with
  // no further match keeps the selection and says so.
  driver_->key(XK_slash);
  typeText("absent");
  press(XK_Return);
  EXPECT_STREQ(TED_GetStr(window->findField()), "absent");
  EXPECT_EQ(view->selectionStartLine, 29);
  EXPECT_NE(window->statusText().find("Not found: \"absent\" below line 30"), std::string::npos)
      << window->statusText();
  press(XK_Escape);

  // Following: what is appended comes into view at the bottom.
  press(XK_F, XK_Shift_L);
  ASSERT_TRUE(window->isFollowing());
  std::ofstream(path, std::ios::app) << "appended 1\nappended 2\n";
  ASSERT_TRUE(tktest::runUntil([&] { return view->dataStore->totalLines == 302; }));
  EXPECT_EQ(view->firstVisibleLine + view->heightInLines, 302);
  // Cut short and written anew: read again from the start.
  owbtest::writeWholeFile(path, "fresh\n");
  ASSERT_TRUE(tktest::runUntil([&] { return view->dataStore && view->dataStore->totalLines == 1; }));
  EXPECT_EQ(view->firstVisibleLine, 0);
  press(XK_q);
  EXPECT_TRUE(window->isClosed());
}

TEST_F(SourceViewTest, BadFilesLeaveAViewThatShowsNothing) {
  auto view = openView(dir_.file("missing"));
  EXPECT_EQ(view->lastError, -1301);
  EXPECT_FALSE(view->failureText().empty());
  EXPECT_EQ(view->getLine(), 0);
  EXPECT_FALSE(view->find("x", false));
  EXPECT_FALSE(view->updateFileDisplay());
  owbtest::writeWholeFile(dir_.file("good"), "x\n");
  EXPECT_TRUE(view->switchSourceView(dir_.file("good").c_str(), 1, 0, false, 0, false));
  EXPECT_EQ(view->lastError, 0);
  EXPECT_FALSE(view->switchSourceView(dir_.file("good").c_str(), 1, 0, false, 0, false));
}

}  // namespace
