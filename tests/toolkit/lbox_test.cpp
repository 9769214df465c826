// List boxes: the cursor and structure calls with their notifications, the
// deferred selection, templates with bad values, and real input through
// the X server: clicks through a scrolled view, double clicks, the wheel,
// the keys.
#include "toolkit/lbox.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <map>
#include <string>
#include <tuple>

#include "tests/toolkit/tk_fixture.h"
#include "tests/toolkit/tktest.h"
#include "toolkit/pfld.h"

namespace {

using tktest::ToolkitTest;

// What the box told its owner, with the cursor where it stood.
struct Heard {
  Int message, col, row;
  long data;
};

// A cell's column and row, as compared in the checks.
struct At {
  Int Col, Row;
  bool operator==(const At& o) const { return Col == o.Col && Row == o.Row; }
};
std::ostream& operator<<(std::ostream& o, const At& a) { return o << a.Col << "," << a.Row; }

struct Owner {
  std::vector<Heard> heard;
  // Called on LBOX_NFYCELLHIGHLIGHTSEL: what a tool does there (treat it
  // as a click: select the row again).
  bool reselectOnHighlight = false;
  Int count(Int message) const {
    return std::count_if(heard.begin(), heard.end(), [&](const Heard& h) { return h.message == message; });
  }
  const Heard* last(Int message) const {
    for (auto it = heard.rbegin(); it != heard.rend(); ++it)
      if (it->message == message) return &*it;
    return nullptr;
  }
  // The cell of the last such message; {-1, -1} when none came.
  At cell(Int message) const {
    const Heard* h = last(message);
    return h ? At{h->col, h->row} : At{-1, -1};
  }
};

long ownerNfy(ResPtr res, Int message, ClientPtr data) {
  Owner* o = static_cast<Owner*>(res->ClientData);
  LBoxPtr box = LBOX_FromWgt(WGT_FromRes(res));
  if (o && message >= LBOX_NFYCELLINSERT && message <= LBOX_NFYROWUNSELECTED && message != LBOX_NFYCELLDRAW &&
      message != LBOX_NFYCELLSTRING)
    o->heard.push_back({message, LBOX_CurGetCol(box), LBOX_CurGetRow(box),
                        reinterpret_cast<long>(message == LBOX_NFYCELLDELETE ? LBOX_CurGetClientData(box) : nullptr)});
  if (o && o->reselectOnHighlight && message == LBOX_NFYCELLHIGHLIGHTSEL) {
    LBOX_AllUnselect(box);
    LBOX_CurSelectRow(box);
  }
  return LBOX_DefNfy(res, message, data);
}

// Cell texts that live as long as the test program.
const char* text(const std::string& s) {
  static std::deque<std::string> all;
  all.push_back(s);
  return all.back().c_str();
}
ClientPtr cellValue(Int col, Int row) {
  return const_cast<char*>(text("r" + std::to_string(row) + "c" + std::to_string(col)));
}

void fill(LBoxPtr box, Int rows, Int cols) {
  LBOX_GoHomeHead(box);
  for (Int c = 1; c <= cols; c++) {
    LBOX_GoRight(box);
    LBOX_CurSetClientData(box, const_cast<char*>(text("Head " + std::to_string(c))));
  }
  for (Int r = 1; r <= rows; r++)
    for (Int c = 1; c <= cols; c++) {
      LBOX_GoColRow(box, c, r);
      LBOX_CurSetClientData(box, cellValue(c, r));
    }
}

std::string valueAt(LBoxPtr box, Int col, Int row) {
  LBOX_GoColRow(box, col, row);
  const char* s = static_cast<const char*>(LBOX_CurGetClientData(box));
  return s ? s : "";
}

std::map<std::pair<Int, Int>, std::string>* gDrawn = nullptr;
void recordText(LBoxPtr, Int col, Int row, const char* s) {
  if (gDrawn) (*gDrawn)[{col, row}] = s;
}

class LBoxTest : public ToolkitTest {
 protected:
  void SetUp() override {
    ToolkitTest::SetUp();
    win_ = keep(tktest::newWin(150, 150, 520, 320, "list"));
    box_ = LBOX_Create();
    LBOX_Wgt(box_)->ResBox = RECT16_Make(10, 10, 420, 260);
    box_->StringFlags = LBOX_STRINGCLIENTDATA;
    PANEL_AddWgt(WIN_Panel(win_), LBOX_Wgt(box_));
    RES_SetNfyProcDS(WGT_Res(LBOX_Wgt(box_)), ownerNfy, &owner_);
    WIN_Init(win_);
  }
  void show() { ASSERT_TRUE(tktest::showFocused(win_)); }
  // The screen point in the middle of a cell's visible part.
  _Point16Rec cellPoint(Int col, Int row) {
    LBOX_GoColRow(box_, col, row);
    _Rect16Rec rect, clip;
    LBOX_CurQueryRects(box_, &rect, &clip);
    EXPECT_FALSE(RECT16_IsEmpty(clip)) << "cell " << col << "," << row << " is not in view";
    return tktest::absOf(LBOX_Wgt(box_), clip.Origin.X + clip.Extent.X / 2, clip.Origin.Y + clip.Extent.Y / 2);
  }
  SAreaPtr area() { return reinterpret_cast<SAreaPtr>(box_); }
  At cursor() { return At{LBOX_CurGetCol(box_), LBOX_CurGetRow(box_)}; }
  WinPtr win_ = nullptr;
  LBoxPtr box_ = nullptr;
  Owner owner_;
};

// The cursor is the lattice's (its moves and reads are checked there): here
// what the box makes of the cells.
TEST_F(LBoxTest, UsedRowsAndTheHeadingColumnFollowTheCells) {
  LBOX_GoHome(box_);
  EXPECT_EQ(cursor(), (At{1, 1}));
  fill(box_, 5, 3);
  EXPECT_EQ(LBOX_GetUsedRows(box_), 5);
  EXPECT_EQ(LBOX_GetUsedCols(box_), 3);
  // A value in column 0 is a row heading: the heading column shows.
  EXPECT_EQ(area()->HeadExt.X, 0);
  LBOX_GoColRow(box_, 2, 3);
  LBOX_GoRowHead(box_);
  EXPECT_EQ(cursor(), (At{0, 3}));
  LBOX_CurSetClientData(box_, const_cast<char*>("third"));
  EXPECT_GT(area()->HeadExt.X, 0);
  EXPECT_GT(area()->HeadExt.Y, 0);  // the column headings of fill()
}

TEST_F(LBoxTest, CellsOutsideTheSetNumbersFailAndRowsPushedPastTheEndAreDeleted) {
  LBOX_SetNumCol(box_, 3);
  LBOX_SetNumRow(box_, 10);
  LBOX_GoColRow(box_, 4, 1);
  EXPECT_NE(tktest::failureOf([&] { LBOX_CurSetClientData(box_, cellValue(4, 1)); }).find("LBox 1"),
            std::string::npos);
  LBOX_GoColRow(box_, 1, 11);
  EXPECT_NE(tktest::failureOf([&] { LBOX_CurSetClientData(box_, cellValue(1, 11)); }), "");
  LBOX_GoColRow(box_, 3, 10);
  EXPECT_EQ(tktest::failureOf([&] { LBOX_CurSetClientData(box_, cellValue(3, 10)); }), "");
  LBOX_GoColRow(box_, 3, 0);  // a heading lies inside
  EXPECT_EQ(tktest::failureOf([&] { LBOX_CurSetClientData(box_, const_cast<char*>("C")); }), "");
  LBOX_GoColRow(box_, -1, 2);
  EXPECT_NE(tktest::failureOf([&] { LBOX_CurSetClientData(box_, cellValue(0, 2)); }), "");

  LBOX_SetNumCol(box_, 0);
  LBOX_SetNumRow(box_, 0);
  LBOX_GoColRow(box_, 1, 32767);
  LBOX_CurSetClientData(box_, cellValue(1, 32767));
  LBOX_GoColRow(box_, 1, 32766);
  LBOX_CurSetClientData(box_, cellValue(1, 32766));
  LBOX_GoColRow(box_, 2, 5);
  LBOX_InsertRow(box_);
  const Heard* gone = owner_.last(LBOX_NFYCELLDELETE);
  ASSERT_NE(gone, nullptr);
  EXPECT_EQ(gone->row, 32767);
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(gone->data)), "r32767c1");
  EXPECT_EQ(valueAt(box_, 1, 32767), "r32766c1");  // the lines move as the lattice's do
}

TEST_F(LBoxTest, RowsAndColumnsMoveWithTheirSelectionAndClearAllTellsEveryCell) {
  fill(box_, 6, 3);
  LBOX_GoColRow(box_, 1, 4);
  LBOX_CurSelectRow(box_);
  EXPECT_EQ(owner_.count(LBOX_NFYROWSELECTED), 1);
  EXPECT_EQ(owner_.count(LBOX_NFYCELLSELECTED), 3);  // the three cells; column 0 holds nothing
  LBOX_GoColRow(box_, 2, 2);
  LBOX_InsertRow(box_);
  EXPECT_EQ(owner_.cell(LBOX_NFYCELLINSERT).Row, 2);
  EXPECT_EQ(cursor(), (At{2, 2}));  // the cursor stays, on the new row
  EXPECT_EQ(LBOX_CurGetClientData(box_), nullptr);
  EXPECT_EQ(valueAt(box_, 2, 3), "r2c2");
  LBOX_GoColRow(box_, 1, 5);
  EXPECT_TRUE(LBOX_IsCurSelected(box_));
  // The tool's way of reading a selected row.
  ASSERT_TRUE(LBOX_GoSelFirst(box_));
  EXPECT_EQ(cursor(), (At{0, 5}));
  ASSERT_TRUE(LBOX_GoColSelNext(box_));
  EXPECT_EQ(valueAt(box_, LBOX_CurGetCol(box_), LBOX_CurGetRow(box_)), "r4c1");
  ASSERT_TRUE(LBOX_GoSelAllocFirst(box_));
  EXPECT_EQ(LBOX_CurGetCol(box_), 1);

  owner_.heard.clear();
  LBOX_GoColRow(box_, 3, 5);
  LBOX_DeleteRow(box_);
  EXPECT_EQ(owner_.count(LBOX_NFYCELLDELETE), 3);
  EXPECT_FALSE(LBOX_GoSelFirst(box_));  // the selected row went with it
  EXPECT_EQ(LBOX_CurGetRow(box_), 5);   // and the cursor was put back
  EXPECT_EQ(valueAt(box_, 1, 5), "r5c1");

  LBOX_GoColRow(box_, 2, 1);
  LBOX_DeleteCol(box_);
  EXPECT_EQ(valueAt(box_, 2, 1), "r1c3");
  EXPECT_EQ(LBOX_GetUsedCols(box_), 2);

  owner_.heard.clear();
  Int32 withValue = 2 + 5 * 2;  // two headings, five rows of two cells
  LBOX_ClearAll(box_);
  EXPECT_EQ(owner_.count(LBOX_NFYCELLDELETE), withValue);
  for (auto& h : owner_.heard) EXPECT_NE(h.data, 0) << "told at " << h.col << "," << h.row;
  EXPECT_EQ(LBOX_GetUsedRows(box_), 0);
  EXPECT_EQ(box_->LBoxPrivate->NumCells, 0);
}

TEST_F(LBoxTest, SelectionIsToldOnceAndAHandlerThatReselectsEnds) {
  fill(box_, 8, 3);
  show();
  owner_.reselectOnHighlight = true;
  LBOX_GoColRow(box_, 2, 3);
  LBOX_CurSelect(box_);
  // The handler took the highlight as a click and selected the row.
  LBOX_GoColRow(box_, 3, 3);
  EXPECT_TRUE(LBOX_IsCurSelected(box_));
  LBOX_GoColRow(box_, 1, 4);
  EXPECT_FALSE(LBOX_IsCurSelected(box_));
  EXPECT_EQ(owner_.count(LBOX_NFYROWSELECTED), 1);
  EXPECT_GE(owner_.count(LBOX_NFYSELOPERATION), 3);
  owner_.reselectOnHighlight = false;
  owner_.heard.clear();
  LBOX_AllUnselect(box_);
  EXPECT_EQ(owner_.count(LBOX_NFYCELLUNSELECTED), 3);
  EXPECT_EQ(owner_.count(LBOX_NFYROWUNSELECTED), 1);
  EXPECT_EQ(owner_.count(LBOX_NFYCELLUNHIGHLIGHTSEL), 3);  // column 0 is not shown
  // Selecting and unselecting in one operation tells nothing of the cell.
  owner_.heard.clear();
  LBOX_GoColRow(box_, 1, 1);
  RangeRec r{{1, 1}, {2, 2}};
  LBOX_RangeSelect(box_, &r);
  EXPECT_EQ(owner_.count(LBOX_NFYCELLSELECTED), 4);
  CellRec tl;
  ASSERT_TRUE(LBOX_SelTopLeft(box_, &tl));
  EXPECT_EQ((At{tl.Col, tl.Row}), (At{1, 1}));
  EXPECT_STREQ(LBOX_SelCopy(box_), "r1c1\tr1c2\nr2c1\tr2c2\n");
}

TEST_F(LBoxTest, AClickThroughAScrolledViewReachesTheOwnerAtItsCell) {
  fill(box_, 300, 6);
  show();
  std::map<std::pair<Int, Int>, std::string> drawn;
  gDrawn = &drawn;
  LBOX_SetCellTextHook(recordText);
  SAREA_ScrollTo(area(), 150, 100 * LBOX_GetRowHeight(box_, 1));
  settle();
  LBOX_SetCellTextHook(nullptr);
  gDrawn = nullptr;
  EXPECT_EQ(drawn[std::make_pair(3, 102)], "r102c3");
  EXPECT_EQ(drawn[std::make_pair(4, 0)], "Head 4");  // the headings stay in view
  EXPECT_EQ(drawn.count(std::make_pair(1, 1)), 0u);

  // The pointer going over cells.
  _Point16Rec p = cellPoint(2, 104);
  driver_->moveTo(p.X, p.Y);
  settle();
  EXPECT_EQ(owner_.cell(LBOX_NFYCELLIN), (At{2, 104}));
  p = cellPoint(3, 105);
  driver_->moveTo(p.X, p.Y);
  settle();
  EXPECT_EQ(owner_.cell(LBOX_NFYCELLOUT), (At{2, 104}));
  EXPECT_EQ(owner_.cell(LBOX_NFYCELLIN), (At{3, 105}));

  clickAt(p);
  EXPECT_EQ(owner_.cell(LBOX_NFYCELLCLICKED), (At{3, 105}));
  EXPECT_EQ(cursor(), (At{3, 105}));  // left on the user's cell
  LBOX_GoColRow(box_, 3, 105);
  EXPECT_TRUE(LBOX_IsCurSelected(box_));  // passed on: the default selects
  EXPECT_EQ(owner_.count(LBOX_NFYVALIDATE), 0);
  EXPECT_TRUE(WGT_HasFocus(LBOX_Wgt(box_), 1));

  // The second press of a double click validates.
  clickAt(p);
  EXPECT_EQ(owner_.cell(LBOX_NFYVALIDATE), (At{3, 105}));
  EXPECT_EQ(owner_.count(LBOX_NFYCELLCLICKED), 1);

  // A heading click is told at row 0; below the last row nothing.
  SAREA_ScrollTo(area(), 0, 0);
  settle();
  p = cellPoint(2, 0);
  clickAt(p);
  EXPECT_EQ(owner_.cell(LBOX_NFYCELLCLICKED), (At{2, 0}));
}

TEST_F(LBoxTest, TheWheelScrollsAndKeysFollowTheUsersCell) {
  fill(box_, 400, 3);
  show();
  SbPtr vsb = SAREA_GetVSb(area());
  ASSERT_FALSE(SB_Wgt(vsb)->Invisible);
  EXPECT_TRUE(SB_Wgt(SAREA_GetHSb(area()))->Invisible);  // three columns fit
  _Point16Rec p = cellPoint(2, 3);
  driver_->moveTo(p.X, p.Y);
  tap(5);
  Int32 down = SAREA_GetScrollY(area());
  EXPECT_GT(down, 0);
  EXPECT_EQ(SB_GetThumbPos(vsb), down);
  tap(4);
  EXPECT_EQ(SAREA_GetScrollY(area()), 0);
  EXPECT_EQ(owner_.count(LBOX_NFYCELLCLICKED), 0);  // a wheel step is no click
  // (The thumb's drag is the scrolled area's, checked with the editor.)

  // Keys: the user's cell starts from the selection, moves and stays in
  // view; Return validates.
  SAREA_ScrollTo(area(), 0, 0);
  LBOX_GoColRow(box_, 1, 1);
  LBOX_CurSelectRow(box_);
  ASSERT_TRUE(WGT_GainFocus(LBOX_Wgt(box_)));
  settle();
  owner_.heard.clear();
  driver_->key(XK_Down);
  key(XK_Right);
  EXPECT_EQ(owner_.cell(LBOX_NFYCELLCLICKED), (At{2, 2}));
  key(XK_End);
  EXPECT_EQ(owner_.cell(LBOX_NFYCELLCLICKED), (At{2, 400}));
  LBOX_GoColRow(box_, 2, 400);
  _Rect16Rec rect, clip;
  LBOX_CurQueryRects(box_, &rect, &clip);
  EXPECT_TRUE(RECT16_Equal(rect, clip)) << "the last row is not wholly in view";
  driver_->key(XK_Next);
  driver_->key(XK_Home);
  key(XK_Return);
  EXPECT_EQ(owner_.cell(LBOX_NFYVALIDATE).Row, 1);
  EXPECT_EQ(SAREA_GetScrollY(area()), 0);
}

TEST_F(LBoxTest, TemplateValuesAreClampedNotTrusted) {
  // A second box made from bad values: widths negative and huge, an odd
  // number of bytes, definitions of the wrong class, negative counts.
  LBoxPtr bad = LBOX_Create();
  LBOX_Wgt(bad)->ResBox = RECT16_Make(0, 0, 100, 100);
  const uint8_t widths[] = {0xff, 0xff, 0x7f, 0xff, 0x00, 0x20, 0x01};  // -1, 32767, 32, half a value
  PFLD_SetData(WGT_Res(LBOX_Wgt(bad)), RCLAS_FindField(LBOX_Class(), "ColWidth"), widths, sizeof widths);
  const uint8_t heights[] = {0x80, 0x00, 0xff, 0xf0};  // -32768, -16
  PFLD_SetData(WGT_Res(LBOX_Wgt(bad)), RCLAS_FindField(LBOX_Class(), "RowHeight"), heights, sizeof heights);
  bad->ColNum = -5;
  bad->RowNum = -7;
  ResPtr wrong = RES_Create(TBUT_Class());
  PFLD_SetResArray(WGT_Res(LBOX_Wgt(bad)), RCLAS_FindField(LBOX_Class(), "Col"), {wrong, wrong});
  RES_Release(wrong);
  PANEL_AddWgt(WIN_Panel(win_), LBOX_Wgt(bad));
  // -1 is the default (nothing in column 0), 32767 is cut to the largest width.
  EXPECT_EQ(std::vector<Int>({LBOX_GetColWidth(bad, 0), LBOX_GetColWidth(bad, 1), LBOX_GetColWidth(bad, 2)}),
            std::vector<Int>({0, 8000, 32}));
  EXPECT_GT(LBOX_GetRowHeight(bad, 1), 0);
  EXPECT_EQ(LBOX_GetRowHeight(bad, 0), 0);
  EXPECT_EQ(LBOX_GetNumCol(bad), 2);
  EXPECT_EQ(LBOX_GetNumRow(bad), 0);
  fill(bad, 3, 4);
  EXPECT_EQ(LBOX_GetNumRow(bad), 3);
  EXPECT_EQ(reinterpret_cast<SAreaPtr>(bad)->DocBox.W, 8000 + 32 + 2 * LBOX_GetColWidth(bad, 3));
}

TEST_F(LBoxTest, TheDemoTemplateGivesColumnsBarAndHeadings) {
  ASSERT_TRUE(tktest::loadTestLibrary());
  WinPtr win = keep(WIN_Load("wgtdemo", "ListWindow"));
  WIN_Init(win);
  LBoxPtr list = LBOX_FromWgt(WGT_FromRes(RES_GetNthChild(WGT_Res(WIN_Wgt(win)), 0)));
  SbPtr bar = SB_FromWgt(WGT_FromRes(RES_GetNthChild(WGT_Res(WIN_Wgt(win)), 1)));
  ASSERT_TRUE(LBOX_IsLBox(LBOX_Wgt(list)));
  ASSERT_TRUE(SB_IsSb(SB_Wgt(bar)));
  EXPECT_EQ(bar->Info.Max, 100);
  EXPECT_EQ(LBOX_GetColWidth(list, 3), 160 * DSPLY_GetScreenDpi() / 96);  // scaled as the boxes are
}

// The standalone bar: the rule of SB_SetInfo, arrows that repeat while
// held, paging on the body, keys.
class SbTest : public ToolkitTest {
 protected:
  void SetUp() override {
    ToolkitTest::SetUp();
    win_ = keep(tktest::newWin(150, 150, 400, 120, "bar"));
    bar_ = SB_Create();
    SB_Wgt(bar_)->ResBox = RECT16_Make(10, 20, 300, 18);
    SB_Wgt(bar_)->WgtFlags = WGT_FLAGTABSTOP;
    PANEL_AddWgt(WIN_Panel(win_), SB_Wgt(bar_));
    tktest::logTo(SB_Wgt(bar_), &log_);
    WIN_Init(win_);
    _SbInfoRec info{0, 1000, 100, 0, 10};
    SB_SetInfo(bar_, &info);
  }
  WinPtr win_ = nullptr;
  SbPtr bar_ = nullptr;
  tktest::NfyLog log_;
};

TEST_F(SbTest, ArrowsRepeatWhileHeldTheBodyPagesAndBadValuesAreClamped) {
  ASSERT_TRUE(tktest::showAndWait(win_));
  _Rect16Rec a2 = SB_QueryPartRect(bar_, SB_PARTARROW2);
  _Point16Rec p = tktest::absOf(SB_Wgt(bar_), a2.Origin.X + a2.Extent.X / 2, a2.Origin.Y + a2.Extent.Y / 2);
  clickAt(p);
  EXPECT_EQ(SB_GetThumbPos(bar_), 10);
  EXPECT_EQ(log_.count(SB_NFYTHUMBPOS), 1);
  // Held for a second: the first step, the first delay, then repetition.
  driver_->moveTo(p.X, p.Y);
  driver_->press(1);
  EVENT_StartCBackAlarmDS([](ClientPtr d) { static_cast<owbtest::XTestDriver*>(d)->release(1); }, driver_.get(), 1000);
  ASSERT_TRUE(tktest::runUntil([&] { return TIMER_GetQueuedCount() == 0 && !EVENT_IsTracking(); }, 4000));
  settle();
  EXPECT_GE(SB_GetThumbPos(bar_), 10 + 10 * 3);  // the first step and at least two repeats
  EXPECT_LE(SB_GetThumbPos(bar_), 10 + 10 * 10);
  EXPECT_EQ(bar_->PressedPart, SB_PARTNONE);
  // A click on the body after the thumb pages by the thumb's size.
  Int32 before = SB_GetThumbPos(bar_);
  _Rect16Rec body = SB_QueryPartRect(bar_, SB_PARTBODY2);
  p = tktest::absOf(SB_Wgt(bar_), body.Origin.X + body.Extent.X - 3, body.Origin.Y + body.Extent.Y / 2);
  clickAt(p);
  EXPECT_EQ(SB_GetThumbPos(bar_), before + 100);
  // Keys, with the focus the click gave.
  ASSERT_TRUE(WGT_HasFocus(SB_Wgt(bar_), 1));
  key(XK_End);
  EXPECT_EQ(SB_GetThumbPos(bar_), 1000);
  driver_->key(XK_Left);
  key(XK_Prior);
  EXPECT_EQ(SB_GetThumbPos(bar_), 890);

  // The thumb dragged to the start: told on the way, accepted at the end.
  Int hits = log_.count(SB_NFYTHUMBPOS);
  _Rect16Rec thumb = SB_QueryPartRect(bar_, SB_PARTTHUMB);
  _Point16Rec from = tktest::absOf(SB_Wgt(bar_), thumb.Origin.X + 2, thumb.Origin.Y + thumb.Extent.Y / 2);
  ASSERT_TRUE(drag(from, {static_cast<int16_t>(from.X - 400), from.Y}));
  EXPECT_EQ(SB_GetThumbPos(bar_), 0);
  EXPECT_GT(log_.count(SB_NFYTHUMBPOS), hits);
  EXPECT_EQ(log_.count(SB_NFYACCEPT), 1);

  // Bad values from the program are clamped, and its changes not told.
  hits = log_.count(SB_NFYTHUMBPOS);
  _SbInfoRec info{50, 10, -4, 70, -1};  // Max below Min, negative sizes
  SB_SetInfo(bar_, &info);
  EXPECT_EQ(bar_->Info.Max, 50);
  EXPECT_EQ(SB_GetThumbPos(bar_), 50);
  EXPECT_EQ(bar_->Info.ThumbSize, 0);
  EXPECT_EQ(bar_->Info.Step, 0);
  SB_SetThumbPos(bar_, 50);
  SB_SetThumbPos(bar_, 9999);
  EXPECT_EQ(SB_GetThumbPos(bar_), 50);
  EXPECT_EQ(log_.count(SB_NFYTHUMBPOS), hits);
}

}  // namespace
