// Combo boxes: the element cursor and application-supplied labels, and the
// drop-down list driven with real input on the test server.
#include <gtest/gtest.h>

#include <X11/keysym.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/toolkit/tk_fixture.h"
#include "toolkit/cbox.h"

namespace {

using tktest::ToolkitTest;

// Records the box's messages with their data, then does what the class does.
struct CBoxLog {
  std::vector<Int> messages;
  std::vector<_CBoxEltSelectedNfyRec> selected;
  std::vector<ClientPtr> deleted;
  std::vector<std::string> labels;  // labels answered, by index, for app-supplied elements
  Int count(Int message) const { return std::count(messages.begin(), messages.end(), message); }
};

long loggingCBoxNfy(ResPtr res, Int message, ClientPtr data) {
  CBoxLog* log = static_cast<CBoxLog*>(res->ClientData);
  if (message >= CBOX_NFYELTHIGHLIGHT && message <= CBOX_NFYELTSELECT) log->messages.push_back(message);
  if (message == CBOX_NFYELTSELECTED) log->selected.push_back(*static_cast<_CBoxEltSelectedNfyRec*>(data));
  if (message == CBOX_NFYELTDELETE) log->deleted.push_back(static_cast<_CBoxEltReqRec*>(data)->Data);
  if (message == CBOX_NFYGETELTSTRING) {
    auto* req = static_cast<_CBoxEltReqRec*>(data);
    if (req->Index >= 0 && req->Index < static_cast<Int>(log->labels.size()))
      req->Label = log->labels[static_cast<size_t>(req->Index)].c_str();
    return 0;
  }
  return CBOX_DefNfy(res, message, data);
}

CBoxPtr newBox(CBoxLog* log, std::initializer_list<const char*> labels, UInt16 flags = 0) {
  CBoxPtr box = CBOX_Create();
  box->CBoxFlags = flags;
  RES_SetNfyProcDS(WGT_Res(CBOX_Wgt(box)), loggingCBoxNfy, log);
  intptr_t n = 0;
  for (const char* l : labels) {
    CBOX_GoIndex(box, CBOX_GetNumElts(box));
    CBOX_CurAddElt(box, l, reinterpret_cast<ClientPtr>(++n));
  }
  return box;
}

class CBoxCalls : public ToolkitTest {
 protected:
  void TearDown() override {
    if (box_) RES_Release(WGT_Res(CBOX_Wgt(box_)));
    ToolkitTest::TearDown();
  }
  CBoxPtr box_ = nullptr;
  CBoxLog log_;
};

TEST_F(CBoxCalls, CursorWalksInsertsAndRemovesElements) {
  box_ = newBox(&log_, {"alpha", "beta", "gamma"});
  std::vector<std::string> seen;
  for (CBOX_GoFirst(box_); CBOX_IsOk(box_); CBOX_GoNext(box_)) seen.push_back(CBOX_CurGetLabel(box_));
  EXPECT_EQ(seen, (std::vector<std::string>{"alpha", "beta", "gamma"}));
  // Out of range the cursor reads nothing and writes nothing.
  EXPECT_EQ(CBOX_CurGetLabel(box_), nullptr);
  EXPECT_EQ(CBOX_CurGetClientData(box_), nullptr);
  CBOX_CurSetLabel(box_, "ignored");
  CBOX_GoIndex(box_, -1);
  EXPECT_FALSE(CBOX_IsOk(box_));
  // Insertion before the cursor leaves the cursor on the new element.
  CBOX_GoIndex(box_, 1);
  CBOX_CurAddElt(box_, "between", reinterpret_cast<ClientPtr>(9));
  EXPECT_STREQ(CBOX_CurGetLabel(box_), "between");
  CBOX_GoNext(box_);
  EXPECT_STREQ(CBOX_CurGetLabel(box_), "beta");
  EXPECT_EQ(CBOX_CurGetClientData(box_), reinterpret_cast<ClientPtr>(2));
  CBOX_CurSetLabel(box_, "BETA");
  CBOX_CurSetClientData(box_, reinterpret_cast<ClientPtr>(20));
  // Choosing by the cursor shows the label and tells the choice.
  CBOX_CurSelect(box_);
  EXPECT_EQ(CBOX_GetSelIndex(box_), 2);
  EXPECT_STREQ(TED_GetStr(CBOX_GetTEd(box_)), "BETA");
  ASSERT_EQ(log_.selected.size(), 1u);
  EXPECT_EQ(log_.selected[0].SelIndex, 2);
  EXPECT_EQ(log_.selected[0].PrevSelIndex, -1);
  // Removing an element before the selection keeps the same one selected;
  // removing the selected one leaves none; the owner hears of each.
  CBOX_GoIndex(box_, 0);
  CBOX_CurRemoveElt(box_);
  EXPECT_EQ(CBOX_GetSelIndex(box_), 1);
  CBOX_GoIndex(box_, 1);
  CBOX_CurRemoveElt(box_);
  EXPECT_EQ(CBOX_GetSelIndex(box_), -1);
  EXPECT_EQ(log_.deleted, (std::vector<ClientPtr>{reinterpret_cast<ClientPtr>(1), reinterpret_cast<ClientPtr>(20)}));
  EXPECT_EQ(CBOX_GetNumElts(box_), 2);
}

TEST_F(CBoxCalls, ApplicationSuppliedLabelsAreAskedForEachRead) {
  log_.labels = {"disk one", "disk two"};
  box_ = newBox(&log_, {nullptr, nullptr}, CBOX_FLAGAPPELTS);
  CBOX_GoIndex(box_, 1);
  EXPECT_STREQ(CBOX_CurGetLabel(box_), "disk two");
  log_.labels[1] = "disk 2";
  EXPECT_STREQ(CBOX_CurGetLabel(box_), "disk 2");
  EXPECT_EQ(log_.count(CBOX_NFYGETELTSTRING), 2);
  // The box keeps no label of its own for these.
  CBOX_CurSetLabel(box_, "mine");
  EXPECT_STREQ(CBOX_CurGetLabel(box_), "disk 2");
  CBOX_GoIndex(box_, 5);
  EXPECT_EQ(CBOX_CurGetLabel(box_), nullptr);
}

// --- The drop-down list with real input ----------------------------------------------------------------

class CBoxInput : public ToolkitTest {
 protected:
  void open(int y, Int16 subClass) {
    win_ = keep(tktest::newWin(100, y, 360, 120, "combo"));
    box_ = newBox(&log_, {"red", "green", "blue", "cyan"});
    box_->SubClass = subClass;
    CBOX_Wgt(box_)->ResBox = RECT16_Make(10, 10, 220, 28);
    PANEL_AddWgt(WIN_Panel(win_), CBOX_Wgt(box_));
    other_ = tktest::addButton(WIN_Panel(win_), "Other", 250, 70, 90, 30);
    WIN_Init(win_);
    ASSERT_TRUE(tktest::showFocused(win_));
  }
  bool isOpen() { return CBOX_IsListOpen(box_) && WIN_IsOpen(CBOX_GetListWin(box_)); }
  WinPtr win_ = nullptr;
  CBoxPtr box_ = nullptr;
  TButPtr other_ = nullptr;
  CBoxLog log_;
};

TEST_F(CBoxInput, ButtonOpensUnderTheFieldAndAClickChooses) {
  open(100, CBOX_SUBEDIT);
  TButPtr but = CBOX_GetTBut(box_);
  clickOn(TBUT_Wgt(but), 10, 10);
  ASSERT_TRUE(isOpen());
  EXPECT_EQ(log_.count(CBOX_NFYLISTACTIVATE), 1);
  // The list lies just under the box, from the field's text.
  _Rect16Rec listBox = WIN_Wgt(CBOX_GetListWin(box_))->Box;
  _Point16Rec under = tktest::absOf(CBOX_Wgt(box_), 0, CBOX_Wgt(box_)->Box.Extent.Y);
  EXPECT_EQ(listBox.Origin.Y, under.Y);
  EXPECT_GE(listBox.Extent.Y, 4 * 10);
  // A click on the third element chooses it and closes the list.
  LBoxPtr list = CBOX_GetLBox(box_);
  LBOX_GoColRow(list, 1, 3);
  _Rect16Rec cell, clip;
  LBOX_CurQueryRects(list, &cell, &clip);
  clickOn(LBOX_Wgt(list), cell.Origin.X + 5, cell.Origin.Y + cell.Extent.Y / 2);
  EXPECT_FALSE(isOpen());
  ASSERT_EQ(log_.selected.size(), 1u);
  EXPECT_EQ(log_.selected[0].SelIndex, 2);
  EXPECT_STREQ(TED_GetStr(CBOX_GetTEd(box_)), "blue");
  EXPECT_EQ(log_.count(CBOX_NFYLISTDEACTIVATE), 1);
  // The pointer is free again: the other button takes a click.
  tktest::NfyLog log;
  tktest::logTo(TBUT_Wgt(other_), &log);
  clickOn(TBUT_Wgt(other_), 20, 10);
  EXPECT_EQ(log.count(TBUT_NFYHIT), 1);
}

TEST_F(CBoxInput, KeyboardOpensMovesChoosesAndEscapeCloses) {
  open(100, CBOX_SUBEDIT);
  clickOn(TED_Wgt(CBOX_GetTEd(box_)), 30, 10);
  ASSERT_TRUE(WGT_HasFocus(TED_Wgt(CBOX_GetTEd(box_)), 1));
  key(XK_Down, XK_Alt_L);
  ASSERT_TRUE(isOpen());
  EXPECT_EQ(CBOX_GetHilite(box_), 0);
  // While open the keys are the list's, not the field's.
  key(XK_Down);
  key(XK_Down);
  key(XK_x);
  EXPECT_EQ(CBOX_GetHilite(box_), 2);
  EXPECT_STREQ(TED_GetStr(CBOX_GetTEd(box_)), "");
  EXPECT_GE(log_.count(CBOX_NFYELTHIGHLIGHT), 3);
  key(XK_Escape);
  EXPECT_FALSE(isOpen());
  EXPECT_TRUE(log_.selected.empty());
  // Opened again the highlight starts on the first; Return chooses.
  key(XK_F4);
  ASSERT_TRUE(isOpen());
  key(XK_End);
  key(XK_Return);
  EXPECT_FALSE(isOpen());
  ASSERT_EQ(log_.selected.size(), 1u);
  EXPECT_EQ(log_.selected[0].SelIndex, 3);
  EXPECT_STREQ(TED_GetStr(CBOX_GetTEd(box_)), "cyan");
  // Reopened, the highlight stands on the choice.
  key(XK_Down, XK_Alt_L);
  EXPECT_EQ(CBOX_GetHilite(box_), 3);
  key(XK_Escape);
}

TEST_F(CBoxInput, ListKindOpensOnAClickAndAClickOutsideCloses) {
  open(100, CBOX_SUBLIST);
  clickOn(TED_Wgt(CBOX_GetTEd(box_)), 30, 10);
  ASSERT_TRUE(isOpen());
  // A click elsewhere in the window closes the list and does nothing else.
  tktest::NfyLog log;
  tktest::logTo(TBUT_Wgt(other_), &log);
  clickOn(TBUT_Wgt(other_), 20, 10);
  EXPECT_FALSE(isOpen());
  EXPECT_EQ(log.count(TBUT_NFYHIT), 0);
  EXPECT_TRUE(log_.selected.empty());
  // A click on the field again opens it, and one on the button closes it.
  clickOn(TED_Wgt(CBOX_GetTEd(box_)), 30, 10);
  ASSERT_TRUE(isOpen());
  clickOn(TBUT_Wgt(CBOX_GetTBut(box_)), 10, 10);
  EXPECT_FALSE(isOpen());
  // Up and Down choose without opening.
  key(XK_Down);
  key(XK_Down);
  EXPECT_FALSE(isOpen());
  EXPECT_STREQ(TED_GetStr(CBOX_GetTEd(box_)), "green");
}

TEST_F(CBoxInput, NearTheScreenBottomTheListOpensAbove) {
  _Point16Rec scr = DSPLY_GetScreenExt();
  open(scr.Y - 90, CBOX_SUBEDIT);
  clickOn(TBUT_Wgt(CBOX_GetTBut(box_)), 10, 10);
  ASSERT_TRUE(isOpen());
  _Rect16Rec listBox = WIN_Wgt(CBOX_GetListWin(box_))->Box;
  _Point16Rec top = tktest::absOf(CBOX_Wgt(box_), 0, 0);
  EXPECT_EQ(listBox.Origin.Y + listBox.Extent.Y, top.Y);
  key(XK_Escape);
  EXPECT_FALSE(isOpen());
}

}  // namespace
