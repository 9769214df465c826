// The automation surface, read as another client reads it: the property
// on the client window, through a connection of its own.
#include <gtest/gtest.h>

#include <X11/Xatom.h>

#include <cstdio>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "tests/toolkit/tk_fixture.h"
#include "toolkit/autom.h"
#include "toolkit/lbox.h"
#include "toolkit/mbar.h"
#include "toolkit/pfld.h"

namespace {

using tktest::ToolkitTest;

using owbtest::shownWindowNamed;
using Line = owbtest::WidgetLine;

// The lines by path; every line must have all eight fields.
std::map<std::string, Line> parse(const std::string& text) {
  std::map<std::string, Line> lines;
  for (const Line& l : owbtest::parseWidgetLines(text)) {
    EXPECT_EQ(l.fields, 8u) << "line of " << l.path;
    lines[l.path] = l;
  }
  return lines;
}

// Checks the class, state and text of the line of a path; null skips one.
void expectLine(std::map<std::string, Line>& l, const std::string& path, const char* cls, const char* state,
                const char* text = nullptr) {
  ASSERT_EQ(l.count(path), 1u) << path;
  const Line& line = l[path];
  if (cls) { EXPECT_EQ(line.cls, cls) << path; }
  if (state) { EXPECT_EQ(line.state, state) << path; }
  if (text) { EXPECT_EQ(line.text, text) << path; }
}

class AutomationTest : public ToolkitTest {
 protected:
  void SetUp() override {
    ToolkitTest::SetUp();
    AUTOM_SetOn(1);
    ASSERT_TRUE(tktest::loadTestLibrary());
    win_ = keep(WIN_LoadInit("wgtdemo", "TestWindow"));
    WGT_Disable(child(6));
    ASSERT_TRUE(tktest::showFocused(win_));
    settle(20);
  }
  void TearDown() override {
    ToolkitTest::TearDown();
    AUTOM_SetOn(0);
  }
  WgtPtr child(Int i) { return PANEL_GetNthWgt(WIN_Panel(win_), i); }
  WgtPtr radio(Int i) { return PANEL_GetNthWgt(reinterpret_cast<PanelPtr>(child(3)), i); }
  // The description of a display window (the test window's by default),
  // once the loop has written what changed.
  std::string raw(Window w = 0) {
    settle(20);
    return owbtest::readWidgetsProperty(driver_->display(), w ? w : WIN_GetNatWin(win_));
  }
  std::map<std::string, Line> lines(Window w = 0) { return parse(raw(w)); }
  // Clicks the centre of a box read from the property of a window (the
  // test window by default), placed on the screen as another client sees
  // the window.
  void clickCentre(const Line& l, Window in = 0) {
    int ax, ay;
    Window unused;
    Display* dpy = driver_->display();
    XTranslateCoordinates(dpy, in ? in : WIN_GetNatWin(win_), DefaultRootWindow(dpy), l.x + l.w / 2, l.y + l.h / 2,
                          &ax, &ay, &unused);
    driver_->click(ax, ay);
    settle();
  }
  WinPtr win_ = nullptr;
};

TEST_F(AutomationTest, EveryWidgetHasALineWithItsPathClassBoxStateAndText) {
  std::map<std::string, Line> l = lines();
  ASSERT_EQ(l.size(), 11u) << raw();
  expectLine(l, "-", "Win", "VEF", "Widget test");
  EXPECT_EQ(std::vector<int>({l["-"].x, l["-"].y, l["-"].w, l["-"].h}), std::vector<int>({0, 0, 420, 260}));
  // The depth-first order: the window, then each child before its own
  // children.
  std::string order;
  std::istringstream in(raw());
  for (std::string row; std::getline(in, row);) order += row.substr(0, row.find('\t')) + " ";
  EXPECT_EQ(order, "- 0 1 2 3 3,0 3,1 3,2 4 5 6 ");

  // Boxes are the template's, placed in the window (the template is made
  // for this screen's resolution).
  for (Int i = 0; i < 7; i++) {
    _Rect16Rec rb;
    WGT_GetResBox(child(i), &rb);
    const Line& c = l[std::to_string(i)];
    EXPECT_EQ(c.cls, WGT_Res(child(i))->ResClass->Name);
    EXPECT_EQ(std::vector<int>({c.x, c.y, c.w, c.h}),
              std::vector<int>({rb.Origin.X, rb.Origin.Y, rb.Extent.X, rb.Extent.Y}));
  }
  _Rect16Rec panelBox, radioBox;
  WGT_GetResBox(child(3), &panelBox);
  WGT_GetResBox(radio(1), &radioBox);
  expectLine(l, "3,1", "TBut", nullptr);
  EXPECT_EQ(l["3,1"].x, panelBox.Origin.X + radioBox.Origin.X);
  EXPECT_EQ(l["3,1"].y, panelBox.Origin.Y + radioBox.Origin.Y);

  expectLine(l, "0", nullptr, "VE", "Buttons of every kind");
  expectLine(l, "3", nullptr, nullptr, "");  // a group's frame title is no text of a widget
  expectLine(l, "3,0", nullptr, "VES");      // the selected radio button
  expectLine(l, "4", nullptr, "VED");        // the default button
  expectLine(l, "6", nullptr, "V", "Not now");  // disabled

  // The state follows hiding, enabling, selecting and the focus.
  WGT_SetInvisible(child(3));
  WGT_Enable(child(6));
  TBUT_Select(TBUT_FromWgt(radio(2)));
  TBUT_Select(TBUT_FromWgt(child(2)));
  ASSERT_TRUE(WGT_GainFocus(child(1)));
  l = lines();
  // The radio button 3,2 is hidden with its panel.
  for (auto [path, state] : {std::pair<const char*, const char*>{"3", "E"}, {"3,2", "ES"}, {"3,0", "E"}, {"6", "VE"},
                             {"2", "VES"}, {"1", "VEF"}})
    expectLine(l, path, nullptr, state);
  // A widget moved out of the window is not shown.
  _Point16Rec away{500, 10};
  WGT_Configure(child(2), &away, nullptr);
  EXPECT_EQ(lines()["2"].state, "ES");
}

TEST_F(AutomationTest, TextsAreEscapedAndThePropertyIsWrittenOnlyOnChange) {
  TBUT_SetLabel(TBUT_FromWgt(child(1)), "a\tb\\c\nd\xff" "e\xc3\xa9");
  EXPECT_EQ(lines()["1"].text, "a\\tb\\\\c\\nd\\xFFe\xc3\xa9");
  EXPECT_EQ(AUTOM_Escape("\xc0\xaf|\xed\xa0\x80|\xf4\x90\x80\x80|\xe2\x82"),
            "\\xC0\\xAF|\\xED\\xA0\\x80|\\xF4\\x90\\x80\\x80|\\xE2\\x82");
  EXPECT_EQ(AUTOM_Escape("\xf0\x9f\x9a\x80 ok"), "\xf0\x9f\x9a\x80 ok");

  long writes = AUTOM_GetWriteCount();
  settle(100);
  EXPECT_EQ(AUTOM_GetWriteCount(), writes);  // nothing changed, nothing written
  WIN_SetLabel(win_, "Renamed");
  EXPECT_EQ(lines()["-"].text, "Renamed");
  EXPECT_EQ(AUTOM_GetWriteCount(), writes + 1);

  // Off: the property goes and nothing more is written.
  AUTOM_SetOn(0);
  WIN_SetLabel(win_, "Again");
  EXPECT_EQ(raw(), "<none>");
  EXPECT_EQ(AUTOM_GetWriteCount(), writes + 1);
}

// A widget with cells, as a list box has them: each cell's text is what
// was drawn in it, captured around its drawing.
struct CellList {
  int rows = 3, cols = 2;
  int describedCells = -1;  // -1: the drawn cells; else this many made up
  std::vector<std::string> drawn;
};
CellList gCells;

long cellListNfy(ResPtr res, Int message, ClientPtr data) {
  WgtPtr w = WGT_FromRes(res);
  if (message != WGT_NFYREDRAW) return WGT_DefNfy(res, message, data);
  DrawPtr d = WGT_BeginDraw(w);
  gCells.drawn.clear();
  for (int r = 0; r < gCells.rows; r++)
    for (int c = 0; c < gCells.cols; c++) {
      AUTOM_CaptureBegin();
      std::string a = "R" + std::to_string(r), b = "C" + std::to_string(c);
      DRAW_Text(d, WGT_GetFont(w), COLOR_Text(), c * 60 + 2, r * 20 + 14, a.c_str(), -1);
      DRAW_Text(d, WGT_GetFont(w), COLOR_Text(), c * 60 + 30, r * 20 + 14, b.c_str(), -1);
      gCells.drawn.push_back(AUTOM_CaptureEnd());
    }
  WGT_EndDraw(d);
  return 0;
}

void describeCells(WgtPtr, AutomDesc* desc) {
  if (gCells.describedCells >= 0) {
    for (int i = 0; i < gCells.describedCells; i++)
      AUTOM_AddCell(desc, 0, i, RECT16_Make(0, i, 10, 1), 0, "x");
    return;
  }
  for (size_t i = 0; i < gCells.drawn.size(); i++) {
    int r = static_cast<int>(i) / gCells.cols, c = static_cast<int>(i) % gCells.cols;
    AUTOM_AddCell(desc, c, r, RECT16_Make(c * 60, r * 20, 60, 20), r == 1, gCells.drawn[i].c_str());
  }
  AUTOM_AddLine(desc, "/more", "Part", RECT16_Make(0, 60, 10, 10), "", "a\tpart");
}

TEST_F(AutomationTest, CellsFollowTheirWidgetWithWhatWasDrawnInThem) {
  static _PFldRec noFields[] = {{nullptr, 0, 0, 0, 0, -1}};
  RClasPtr cls = WgtRegisterClass("AutomCellTest", "Test", WGT_Class(), noFields,
                                  static_cast<Int>(sizeof(_WgtObj)), nullptr, nullptr, cellListNfy);
  AUTOM_SetDescribeProc(cls, describeCells);
  gCells = CellList{};
  WgtPtr list = WGT_FromRes(RES_Create(cls));
  list->ResBox = RECT16_Make(20, 170, 130, 60);
  PANEL_AddWgt(WIN_Panel(win_), list);
  std::map<std::string, Line> l = lines();
  expectLine(l, "7", "AutomCellTest", nullptr);
  expectLine(l, "7/1,1", "Cell", "VS", "R1 C1");
  const Line& cell = l["7/1,1"];
  EXPECT_EQ(std::vector<int>({cell.x, cell.y, cell.w, cell.h}), std::vector<int>({80, 190, 60, 20}));
  expectLine(l, "7/0,2", nullptr, "V", "R2 C0");
  expectLine(l, "7/more", "Part", "-", "a\\tpart");
  EXPECT_EQ(l["7/more"].y, 230);
  EXPECT_EQ(l.size(), 12u + 7u);
  // Capture is off outside AUTOM_CaptureBegin .. End, and a capture
  // without the surface gives nothing.
  AUTOM_SetOn(0);
  AUTOM_CaptureBegin();
  EXPECT_EQ(AUTOM_CaptureEnd(), "");
  AUTOM_SetOn(1);

  // A large description is written and read whole.
  gCells.describedCells = 10000;
  WGT_Inval(list, nullptr);
  std::string big = raw();
  size_t lineCount = 0;
  for (char ch : big) lineCount += ch == '\n';
  EXPECT_EQ(lineCount, 12u + 10000u);
  EXPECT_NE(big.find("7/0,9999\tCell\t20\t10169\t10\t1\tV\tx\n"), std::string::npos);
  gCells.describedCells = -1;
  AUTOM_SetDescribeProc(cls, nullptr);
}

TEST_F(AutomationTest, AListBoxIsFollowedByItsCellsInView) {
  WinPtr win = keep(tktest::newWin(500, 100, 320, 200, "list"));
  LBoxPtr box = LBOX_Create();
  LBOX_Wgt(box)->ResBox = RECT16_Make(10, 10, 300, 150);
  box->StringFlags = LBOX_STRINGCLIENTDATA;
  PANEL_AddWgt(WIN_Panel(win), LBOX_Wgt(box));
  WIN_Init(win);
  static std::vector<std::string> texts;  // live as long as the box may draw them
  texts.clear();
  texts.reserve(30);
  for (Int r = 0; r < 10; r++)
    for (Int c = 1; c <= 3; c++) {
      texts.push_back(r ? "r" + std::to_string(r) + "c" + std::to_string(c) : "Head " + std::to_string(c));
      LBOX_GoColRow(box, c, r);
      LBOX_CurSetClientData(box, const_cast<char*>(texts.back().c_str()));
    }
  LBOX_RowSelect(box, 2);
  ASSERT_TRUE(tktest::showAndWait(win));
  std::map<std::string, Line> l = lines(WIN_GetNatWin(win));
  expectLine(l, "0", "LBox", nullptr);
  expectLine(l, "0/1,0", "Cell", nullptr, "Head 1");
  expectLine(l, "0/3,1", nullptr, "V", "r1c3");
  expectLine(l, "0/2,2", nullptr, "VS");
  // Only what is in view: the box is too low for nine rows.
  EXPECT_EQ(l.count("0/1,9"), 0u);
  EXPECT_EQ(l.count("0/0,1"), 0u);  // the heading column is not shown
  // Cells lie side by side inside the box.
  EXPECT_EQ(l["0/2,1"].x, l["0/1,1"].x + l["0/1,1"].w);
  EXPECT_GE(l["0/1,1"].y, l["0/1,0"].y + l["0/1,0"].h);
  EXPECT_GE(l["0/1,1"].x, 10);
  // Its scroll bars are parts of it: the vertical one, needed for the
  // rows out of view, is shown along its right edge.
  expectLine(l, "0/c0", "Sb", nullptr);
  expectLine(l, "0/c1", "Sb", "VE");
  EXPECT_GE(l["0/c1"].x + l["0/c1"].w, 300);
  EXPECT_LE(l["0/c1"].x + l["0/c1"].w, 310);
  EXPECT_GT(l["0/c1"].h, l["0/c1"].w);

  // A click on the middle of a cell read from the property selects it.
  ASSERT_EQ(l["0/3,3"].text, "r3c3");
  clickCentre(l["0/3,3"], WIN_GetNatWin(win));
  l = lines(WIN_GetNatWin(win));
  expectLine(l, "0/3,3", nullptr, "VS");
  expectLine(l, "0/2,2", nullptr, "V");
}

std::vector<std::string> gChosen;

long choiceRecordingNfy(ResPtr res, Int message, ClientPtr data) {
  if (message == WIN_NFYSELMENUBAR) gChosen.push_back(MENU_ChosenGetLabel(MBAR_ChosenGetMenu(WIN_GetMenuBar(WIN_FromRes(res)))));
  return WIN_DefNfy(res, message, data);
}

TEST_F(AutomationTest, ABarMenuOpenedFromOutsideDescribesItsItemsAndOneIsClicked) {
  WinPtr win = keep(tktest::newWin(500, 100, 300, 150, "menus"));
  MBarPtr bar = MBAR_Create();
  MBAR_AddItem(bar, "&File");
  MenuPtr file = MENU_Create();
  MENU_AddItem(file, "&Open");
  MENU_AddSeparator(file);
  MENU_AddItem(file, "&Print");
  MENU_CurSetEnabled(file, 0);
  MENU_AddItem(file, "&Wrap\ttext");
  MENU_CurSetCheckedMode(file, MITEM_CHECKTOGGLE);
  MENU_CurSetChecked(file, 1);
  MENU_AddItem(file, "&Quit");
  MBAR_CurSetSubMenu(bar, file);
  MBAR_AddItem(bar, "&Edit");
  MBAR_CurSetEnabled(bar, 0);
  WIN_SetMenuBar(win, bar);
  RES_Release(MBAR_Res(bar));
  RES_Release(MENU_Res(file));
  gChosen.clear();
  WGT_Res(WIN_Wgt(win))->Notify = choiceRecordingNfy;
  WIN_Init(win);
  ASSERT_TRUE(tktest::showAndWait(win));
  Display* dpy = driver_->display();

  // The bar follows the window's line, before the children.
  std::map<std::string, Line> l = lines(WIN_GetNatWin(win));
  ASSERT_EQ(l.count("-/bar"), 1u) << raw(WIN_GetNatWin(win));
  expectLine(l, "-/bar", "MBar", nullptr);
  EXPECT_EQ(std::vector<int>({l["-/bar"].x, l["-/bar"].y, l["-/bar"].w, l["-/bar"].h}),
            std::vector<int>({0, 0, 300, static_cast<int>(MBAR_GetHeight(bar))}));
  expectLine(l, "-/bar/0", "MItem", "VE", "File");
  expectLine(l, "-/bar/1", nullptr, "V");
  EXPECT_GE(l["-/bar/1"].x, l["-/bar/0"].x + l["-/bar/0"].w);
  EXPECT_EQ(shownWindowNamed(dpy, "File menu"), 0u);

  // A click on the bar item opens the menu: a window named after the item,
  // whose property gives each item in view with its row.
  clickCentre(l["-/bar/0"], WIN_GetNatWin(win));
  Window menuWin = 0;
  ASSERT_TRUE(tktest::runUntil([&] { return (menuWin = shownWindowNamed(dpy, "File menu")) != 0; }));
  std::map<std::string, Line> m = lines(menuWin);
  expectLine(m, "-", nullptr, nullptr, "File menu");
  expectLine(m, "0", "Menu", nullptr);
  expectLine(m, "0/0", "MItem", "VE", "Open");
  expectLine(m, "0/1", "MSep", nullptr);
  expectLine(m, "0/2", nullptr, "V");                   // disabled
  expectLine(m, "0/3", nullptr, "VES", "Wrap\\ttext");  // checked
  EXPECT_EQ(m.size(), 7u);
  EXPECT_EQ(m["0/4"].y, m["0/3"].y + m["0/3"].h);
  EXPECT_EQ(m["0/4"].w, m["0"].w);
  EXPECT_EQ(lines(WIN_GetNatWin(win))["-/bar/0"].state, "VES");  // its menu is open

  // The click on Quit's centre chooses it, and the menu's window goes.
  clickCentre(m["0/4"], menuWin);
  ASSERT_TRUE(tktest::runUntil([&] { return shownWindowNamed(dpy, "File menu") == 0; }));
  EXPECT_EQ(gChosen, std::vector<std::string>({"&Quit"}));
  EXPECT_EQ(lines(WIN_GetNatWin(win))["-/bar/0"].state, "VE");
}

TEST_F(AutomationTest, AWindowDestroyedByAnotherClientEndsNothing) {
  Display* dpy = driver_->display();
  XDestroyWindow(dpy, WIN_GetNatWin(win_));
  XSync(dpy, False);
  WIN_SetLabel(win_, "Gone");
  TBUT_SetLabel(TBUT_FromWgt(child(1)), "still here");
  settle(50);
  EXPECT_EQ(raw(), "<error>");
  // The loop goes on with other windows.
  WinPtr other = keep(tktest::newWin(50, 50, 200, 100, "other"));
  WIN_Init(other);
  ASSERT_TRUE(tktest::showAndWait(other));
  EXPECT_EQ(lines(WIN_GetNatWin(other))["-"].text, "other");
}

}  // namespace
