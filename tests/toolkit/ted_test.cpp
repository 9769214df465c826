// Text editors: the text and selection calls, and typing, keys and the
// mouse through real input on the test server.
#include <gtest/gtest.h>

#include <X11/keysym.h>

#include "tests/toolkit/tk_fixture.h"
#include "toolkit/ted.h"

namespace {

using tktest::ToolkitTest;

TEdPtr addTEd(PanelPtr panel, int x, int y, int w, int h, UInt16 opt = 0, const char* label = nullptr) {
  TEdPtr t = TED_Create();
  TED_Wgt(t)->ResBox = RECT16_Make(x, y, w, h);
  t->OptFlags = opt;
  if (label) VSTR_Set(&t->Label, label);
  PANEL_AddWgt(panel, TED_Wgt(t));
  return t;
}

std::string sel(TEdPtr t) {
  VStrPtr s = TED_GetSelStr(t);
  std::string out = VSTR_Get(s);
  VSTR_Dispose(s);
  return out;
}

// --- The calls, on an editor of its own --------------------------------------------------

class TEdCalls : public ToolkitTest {
 protected:
  void SetUp() override {
    ToolkitTest::SetUp();
    ted_ = TED_Create();
    tktest::logTo(TED_Wgt(ted_), &log_);
  }
  void TearDown() override {
    if (ted_) RES_Release(WGT_Res(TED_Wgt(ted_)));
    ToolkitTest::TearDown();
  }
  TEdPtr ted_ = nullptr;
  tktest::NfyLog log_;
};

TEST_F(TEdCalls, SettingInsertingAppendingAndTheMaskMode) {
  EXPECT_EQ(TED_GetStrLen(ted_), 0);
  EXPECT_STREQ(TED_GetStr(ted_), "");
  TED_SetStr(ted_, "fleet");
  TED_SetInsertPos(ted_, -1);
  TED_InsertStr(ted_, " one");
  EXPECT_STREQ(TED_GetStr(ted_), "fleet one");
  EXPECT_EQ(TED_GetInsertPos(ted_), 9);
  TED_SetInsertPos(ted_, 0);
  TED_InsertStr(ted_, ">");
  EXPECT_STREQ(TED_GetStr(ted_), ">fleet one");
  // Insertion replaces the selection.
  TED_SelectRange(ted_, 1, 6);
  TED_InsertStr(ted_, "engine");
  EXPECT_STREQ(TED_GetStr(ted_), ">engine one");
  TED_ReplaceRange(ted_, 0, 1, "");
  TED_ReplaceRange(ted_, 6, -1, "s");
  EXPECT_STREQ(TED_GetStr(ted_), "engines");
  TED_SelectAll(ted_);
  EXPECT_EQ(sel(ted_), "engines");
  TED_ClearAll(ted_);
  EXPECT_EQ(TED_GetStrLen(ted_), 0);
  // A single-line editor keeps one line; bad UTF-8 shows as U+FFFD.
  TED_SetStr(ted_, "a\nb\r\nc\xC3");
  EXPECT_STREQ(TED_GetStr(ted_), "a b c\xEF\xBF\xBD");
  // An index inside a character lands on its start.
  TED_SetStr(ted_, "\xE2\x82\xAC" "5");
  TED_SetInsertPos(ted_, 2);
  EXPECT_EQ(TED_GetInsertPos(ted_), 0);
  // In mask mode setting and inserting are ignored, selecting all is not.
  TED_SetStr(ted_, "12:30");
  TED_SetOptFlags(ted_, TED_OPTMASK);
  TED_SetStr(ted_, "other");
  TED_SetInsertPos(ted_, -1);
  TED_InsertStr(ted_, "x");
  TED_ReplaceRange(ted_, 0, 2, "");
  EXPECT_STREQ(TED_GetStr(ted_), "12:30");
  TED_SelectAll(ted_);
  EXPECT_EQ(sel(ted_), "12:30");
}

TEST_F(TEdCalls, MaxLenCutsAtTheInsertPositionOnACharacterBoundary) {
  TED_SetMaxLen(ted_, 5);
  TED_SetStr(ted_, "abcdefgh");
  EXPECT_STREQ(TED_GetStr(ted_), "abcde");
  EXPECT_EQ(log_.count(TED_NFYFULL), 1);
  TED_SetStr(ted_, "abc");
  TED_SetInsertPos(ted_, 1);
  TED_InsertStr(ted_, "XYZ");
  EXPECT_STREQ(TED_GetStr(ted_), "aXYbc");
  EXPECT_EQ(TED_GetInsertPos(ted_), 3);
  // One byte of room does not take half of a two-byte character: nothing
  // of the insertion remains and the text stays.
  TED_SetMaxLen(ted_, 6);
  TED_SetInsertPos(ted_, -1);
  TED_InsertStr(ted_, "\xC3\xA9");
  EXPECT_STREQ(TED_GetStr(ted_), "aXYbc");
  EXPECT_EQ(log_.count(TED_NFYFULL), 3);
  // Text within the limit sends nothing.
  TED_SetMaxLen(ted_, 0);
  TED_InsertStr(ted_, "long enough now");
  EXPECT_EQ(log_.count(TED_NFYFULL), 3);
}

TEST_F(TEdCalls, NumbersAreReadWholeAndWithinTheirType) {
  TED_SetInt32(ted_, -42);
  EXPECT_STREQ(TED_GetStr(ted_), "-42");
  BoolEnum ok = 0;
  EXPECT_EQ(TED_GetInt(ted_, &ok), -42);
  EXPECT_TRUE(ok);
  EXPECT_EQ(TED_GetUInt16(ted_, &ok), 0);
  EXPECT_FALSE(ok);
  TED_SetStr(ted_, " 70000 ");
  EXPECT_EQ(TED_GetUInt32(ted_, &ok), 70000u);
  EXPECT_TRUE(ok);
  TED_GetInt16(ted_, &ok);
  EXPECT_FALSE(ok);
  TED_SetStr(ted_, "12abc");
  TED_GetInt(ted_, &ok);
  EXPECT_FALSE(ok);
  TED_SetInsertPos(ted_, -1);
  TED_InsertUInt(ted_, 7);
  EXPECT_STREQ(TED_GetStr(ted_), "12abc7");
}

long deleteOnFull(ResPtr res, Int message, ClientPtr data) {
  if (message == TED_NFYFULL) {
    *static_cast<bool*>(res->ClientData) = true;
    RES_Release(res);
    return 0;
  }
  return TED_DefNfy(res, message, data);
}

TEST_F(TEdCalls, AProcedureMayDeleteTheEditorInItsNotification) {
  bool called = false;
  RES_SetNfyProcDS(WGT_Res(TED_Wgt(ted_)), deleteOnFull, &called);
  TED_SetMaxLen(ted_, 2);
  TED_SetStr(ted_, "too long");  // the editor is gone after this
  EXPECT_TRUE(called);
  ted_ = nullptr;
}

// --- Real input ----------------------------------------------------------------------------

class TEdInput : public ToolkitTest {
 protected:
  void SetUp() override {
    ToolkitTest::SetUp();
    win_ = keep(tktest::newWin(150, 150, 460, 260, "editors"));
    field_ = addTEd(WIN_Panel(win_), 10, 10, 300, 28, 0, "Name");
    other_ = addTEd(WIN_Panel(win_), 10, 46, 300, 28, TED_OPTSELECTALLONFOCUS);
    multi_ = addTEd(WIN_Panel(win_), 10, 84, 300, 120, TED_OPTMULTILINE | TED_OPTWRAP);
    ok_ = tktest::addButton(WIN_Panel(win_), "OK", 340, 210, 100, 32);
    ok_->DefButton = 1;
    for (WgtPtr w : {TED_Wgt(field_), TED_Wgt(other_), TED_Wgt(multi_), TBUT_Wgt(ok_)}) tktest::logTo(w, &log_);
    WIN_Init(win_);
    ASSERT_TRUE(tktest::showFocused(win_));
  }
  void type(const char* text) {
    for (const char* p = text; *p; p++) {
      if (*p == '\n') driver_->key(XK_Return);
      else if (*p == ' ') driver_->key(XK_space);
      else if (*p >= 'A' && *p <= 'Z') driver_->key(static_cast<KeySym>(*p), XK_Shift_L);
      else driver_->key(static_cast<KeySym>(*p));
    }
    settle();
  }
  // A double (or triple) click: presses closer together than the double
  // click time.
  void clicks(WgtPtr w, int x, int y, int n) {
    _Point16Rec p = tktest::absOf(w, x, y);
    driver_->moveTo(p.X, p.Y);
    for (int i = 0; i < n; i++) {
      // Apart by a few milliseconds: presses of one instant are no double
      // click.
      if (i) usleep(15000);
      driver_->press(1);
      driver_->release(1);
    }
    settle();
  }
  WinPtr win_ = nullptr;
  TEdPtr field_ = nullptr, other_ = nullptr, multi_ = nullptr;
  TButPtr ok_ = nullptr;
  tktest::NfyLog log_;
};

TEST_F(TEdInput, TypingEditingReturnValidatingAndTabSelectingAll) {
  clickOn(TED_Wgt(field_), 150, 14);
  ASSERT_TRUE(WGT_HasFocus(TED_Wgt(field_), 1));
  EXPECT_GE(log_.count(TED_Wgt(field_), TED_NFYSHOWCURSOR), 1);
  type("Fleet one");
  EXPECT_STREQ(TED_GetStr(field_), "Fleet one");
  key(XK_BackSpace);
  key(XK_Left);
  key(XK_Left);
  key(XK_Delete);
  type("x");
  EXPECT_STREQ(TED_GetStr(field_), "Fleet xn");
  key(XK_Left, XK_Control_L);  // a word back
  EXPECT_EQ(TED_GetInsertPos(field_), 6);
  // Overstrike replaces the character after the caret.
  key(XK_Insert);
  type("on");
  key(XK_Insert);
  EXPECT_STREQ(TED_GetStr(field_), "Fleet on");
  // Return validates, and the default button still gets it.
  key(XK_Return);
  EXPECT_EQ(log_.count(TED_Wgt(field_), TED_NFYVALIDATE), 1);
  EXPECT_EQ(log_.count(TBUT_Wgt(ok_), TBUT_NFYHIT), 1);
  // Tab leaves; the field keeps its selection without showing it.  The
  // next one selects all it holds when Tab brings the focus, not a click.
  TED_SetStr(other_, "selected");
  key(XK_Tab);
  EXPECT_TRUE(WGT_HasFocus(TED_Wgt(other_), 0));
  EXPECT_GE(log_.count(TED_Wgt(field_), TED_NFYHIDECURSOR), 1);
  EXPECT_FALSE(field_->Highlit);
  EXPECT_EQ(sel(other_), "selected");
  clickOn(TED_Wgt(field_), 150, 14);
  clickOn(TED_Wgt(other_), 5, 14);
  EXPECT_EQ(sel(other_), "");
  EXPECT_EQ(TED_GetInsertPos(other_), 0);
}

TEST_F(TEdInput, HomeAndEndWithAndWithoutShiftAndReadOnly) {
  clickOn(TED_Wgt(field_), 150, 14);
  type("alpha beta");
  key(XK_Home);
  EXPECT_EQ(TED_GetInsertPos(field_), 0);
  EXPECT_EQ(sel(field_), "");
  key(XK_Right);
  key(XK_Right);
  key(XK_End, XK_Shift_L);
  EXPECT_EQ(sel(field_), "pha beta");
  TEdSelRec s;
  TED_QuerySelRange(field_, &s);
  EXPECT_TRUE(s.L2R);
  key(XK_Home, XK_Shift_L);  // from the start to the end of the selection
  EXPECT_EQ(sel(field_), "alpha beta");
  TED_QuerySelRange(field_, &s);
  EXPECT_FALSE(s.L2R);
  key(XK_End);
  EXPECT_EQ(TED_GetInsertPos(field_), 10);
  EXPECT_EQ(sel(field_), "");
  key(XK_Left, XK_Shift_L, XK_Control_L);
  EXPECT_EQ(sel(field_), "beta");
  // Read only: the keys select but take no text.
  TED_SetStr(field_, "fixed");
  TED_SetOptFlags(field_, TED_OPTREADONLY);
  type("xy");
  key(XK_BackSpace);
  key(XK_Home, XK_Shift_L);
  EXPECT_STREQ(TED_GetStr(field_), "fixed");
  EXPECT_EQ(sel(field_), "fixed");
}

TEST_F(TEdInput, MouseSelectsCharactersWordsAndTheLine) {
  TED_SetStr(field_, "cold warm boot");
  clickOn(TED_Wgt(field_), 150, 14);
  // The word under a double click.
  _Point16Rec loc;
  ASSERT_TRUE(TED_IndexQueryLoc(field_, 6, &loc));
  clicks(TED_Wgt(field_), loc.X + 3, 14, 2);
  EXPECT_EQ(sel(field_), "warm");
  // Shift-click extends from where the selection is anchored.
  ASSERT_TRUE(TED_IndexQueryLoc(field_, 14, &loc));
  settle(400);  // not a double click any more
  _Point16Rec p = tktest::absOf(TED_Wgt(field_), loc.X + 2, 14);
  driver_->moveTo(p.X, p.Y);
  XTestFakeKeyEvent(driver_->display(), XKeysymToKeycode(driver_->display(), XK_Shift_L), True, CurrentTime);
  driver_->press(1);
  driver_->release(1);
  XTestFakeKeyEvent(driver_->display(), XKeysymToKeycode(driver_->display(), XK_Shift_L), False, CurrentTime);
  XSync(driver_->display(), False);
  settle();
  EXPECT_EQ(sel(field_), "warm boot");
  // Triple click: the whole line.
  settle(400);
  clicks(TED_Wgt(field_), loc.X - 20, 14, 3);
  EXPECT_EQ(sel(field_), "cold warm boot");
  // A drag selects what it passes over.
  settle(400);
  ASSERT_TRUE(TED_IndexQueryLoc(field_, 0, &loc));
  _Point16Rec from = tktest::absOf(TED_Wgt(field_), loc.X + 1, 14);
  ASSERT_TRUE(TED_IndexQueryLoc(field_, 4, &loc));
  _Point16Rec to = tktest::absOf(TED_Wgt(field_), loc.X, 14);
  ASSERT_TRUE(drag(from, to, 100, 250));
  EXPECT_EQ(sel(field_), "cold");
}

TEST_F(TEdInput, NonLatinAndComposedCharactersArriveWhole) {
  clickOn(TED_Wgt(field_), 150, 14);
  // Keys the server's map lacks are put on spare key codes, as a user's
  // keyboard layout would have them.
  Display* dpy = driver_->display();
  int minCode = 0, maxCode = 0;
  XDisplayKeycodes(dpy, &minCode, &maxCode);
  KeySym syms[] = {XK_eacute, 0x6c4 /* Cyrillic_de */, 0x10020ac /* euro as a Unicode keysym */};
  for (int i = 0; i < 3; i++) XChangeKeyboardMapping(dpy, maxCode - 1 - i, 1, &syms[i], 1);
  XSync(dpy, False);
  settle(200);
  for (KeySym s : syms) key(s);
  EXPECT_STREQ(TED_GetStr(field_), "\xC3\xA9\xD0\xB4\xE2\x82\xAC");
  // The caret steps over whole characters.
  key(XK_Left);
  EXPECT_EQ(TED_GetInsertPos(field_), 4);
  key(XK_BackSpace);
  EXPECT_STREQ(TED_GetStr(field_), "\xC3\xA9\xE2\x82\xAC");
}

TEST_F(TEdInput, MultiLineBreaksWrapsAndMovesByLines) {
  clickOn(TED_Wgt(multi_), 100, 20);
  ASSERT_TRUE(WGT_HasFocus(TED_Wgt(multi_), 0));
  type("one\ntwo\nthree");
  EXPECT_STREQ(TED_GetStr(multi_), "one\ntwo\nthree");
  // Return broke the line and did not reach the default button.
  EXPECT_EQ(log_.count(TBUT_Wgt(ok_), TBUT_NFYHIT), 0);
  EXPECT_EQ(TEdGetNumLines(multi_), 3);
  key(XK_Up);
  key(XK_Home);
  EXPECT_EQ(TED_GetInsertPos(multi_), 4);
  key(XK_Down, XK_Shift_L);
  EXPECT_EQ(sel(multi_), "two\n");
  key(XK_Home, XK_Control_L);
  EXPECT_EQ(TED_GetInsertPos(multi_), 0);
  // A long line wraps at blanks; every line stays within the width.
  std::string words;
  for (int i = 0; i < 40; i++) words += "word" + std::to_string(i) + " ";
  TED_SetStr(multi_, words.c_str());
  settle();
  EXPECT_GT(TEdGetNumLines(multi_), 5);
  _Rect16Rec tb = TEdQueryTextBox(multi_);
  for (Int32 i = 0; i < TEdGetNumLines(multi_); i++) {
    const TWLayLine& l = TWLAY_GetLine(multi_->Lay, i);
    EXPECT_LE(l.Width, tb.Extent.X + 8) << "line " << i;
    if (i > 0) {
      EXPECT_NE(GSTR_At(multi_->Text, l.Beg), ' ');
    }
  }
  // Page Down moves the caret by a page and scrolls.
  key(XK_Home, XK_Control_L);
  key(XK_Next);
  EXPECT_GT(TED_GetInsertPos(multi_), 0);
  EXPECT_GT(SAREA_GetScrollY(TED_SArea(multi_)), 0);
  _Point16Rec loc;
  EXPECT_TRUE(TED_IndexQueryLoc(multi_, TED_GetInsertPos(multi_), &loc));
}

// A text taller than the field shows the bar; the wheel and the bar's
// thumb scroll it, and typing at the end keeps the caret in view with the
// thumb following.  A wide line scrolls sideways.
TEST_F(TEdInput, ALongTextScrollsByTheWheelTheBarAndTypingAndAWideLineSideways) {
  SAreaPtr area = TED_SArea(multi_);
  SbPtr vsb = SAREA_GetVSb(area);
  TED_SetStr(multi_, "short");
  settle();
  EXPECT_TRUE(SB_Wgt(vsb)->Invisible);
  std::string text;
  for (int i = 0; i < 40; i++) text += "line " + std::to_string(i) + "\n";
  TED_SetStr(multi_, text.c_str());
  TED_SetInsertPos(multi_, 0);
  settle();
  ASSERT_FALSE(SB_Wgt(vsb)->Invisible);
  EXPECT_TRUE(SB_Wgt(SAREA_GetHSb(area))->Invisible);  // wrapping: never sideways
  // The wheel, down and back up.
  _Point16Rec mid = tktest::absOf(TED_Wgt(multi_), 100, 60);
  driver_->moveTo(mid.X, mid.Y);
  tap(5);
  Int32 wheeled = SAREA_GetScrollY(area);
  EXPECT_GT(wheeled, 0);
  tap(4);
  EXPECT_EQ(SAREA_GetScrollY(area), 0);
  // Dragging the thumb to the bottom shows the end of the text.
  _Rect16Rec thumb = SB_QueryPartRect(vsb, SB_PARTTHUMB);
  _Point16Rec from = tktest::absOf(SB_Wgt(vsb), thumb.Origin.X + thumb.Extent.X / 2, thumb.Origin.Y + 3);
  _Point16Rec to = tktest::absOf(SB_Wgt(vsb), thumb.Origin.X + thumb.Extent.X / 2, SB_Wgt(vsb)->Box.Extent.Y + 40);
  ASSERT_TRUE(drag(from, to));
  Int32 bottom = area->DocBox.H - area->ViewBox.Extent.Y;
  EXPECT_EQ(SAREA_GetScrollY(area), bottom);
  EXPECT_EQ(SB_GetThumbPos(vsb), bottom);
  // Back at the top, the caret goes to the end and typing stays in view.
  driver_->moveTo(mid.X, mid.Y);
  for (int i = 0; i < 20; i++) driver_->press(4), driver_->release(4);
  settle();
  clickOn(TED_Wgt(multi_), 100, 20);
  key(XK_End, XK_Control_L);
  type("more\nand more");
  _Point16Rec caret;
  ASSERT_TRUE(TED_IndexQueryLoc(multi_, TED_GetInsertPos(multi_), &caret));
  _Rect16Rec tb = TEdQueryTextBox(multi_);
  EXPECT_LE(caret.Y + FONT_GetHeight(WGT_GetFont(TED_Wgt(multi_))), tb.Origin.Y + tb.Extent.Y);
  EXPECT_GE(caret.Y, tb.Origin.Y);
  EXPECT_EQ(SB_GetThumbPos(vsb), SAREA_GetScrollY(area));
  EXPECT_GT(SAREA_GetScrollY(area), 0);

  // Without wrapping, a line wider than the field brings the horizontal
  // bar, and the sideways wheel moves along it.
  TED_SetOptFlags(multi_, TED_OPTMULTILINE);
  TED_SetStr(multi_, (std::string(300, 'w') + "\nend").c_str());
  settle();
  ASSERT_FALSE(SB_Wgt(SAREA_GetHSb(area))->Invisible);
  driver_->moveTo(mid.X, mid.Y);
  tap(7);
  EXPECT_GT(SAREA_GetScrollX(area), 0);
  EXPECT_EQ(SB_GetThumbPos(SAREA_GetHSb(area)), SAREA_GetScrollX(area));
}

}  // namespace
