// Menus driven by real input: opening by click, by press-drag-release, by
// F10 and Alt with a mnemonic; arrows, Return, Escape; accelerators with the
// menus closed; a click outside; menus that must stay on the screen.
#include <gtest/gtest.h>


#include <map>
#include <string>
#include <vector>

#include "tests/toolkit/tk_fixture.h"
#include "tests/toolkit/tktest.h"
#include "toolkit/mbar.h"
#include "toolkit/menupriv.h"

namespace {

using tktest::ToolkitTest;

using Labels = std::vector<std::string>;

struct Choices {
  std::vector<std::string> labels;
  std::vector<ClientPtr> data;
  std::vector<std::string> barLabels;
};

// The window's procedure: what the tool would write.
long recordingWinNfy(ResPtr res, Int message, ClientPtr data) {
  if (message == WIN_NFYSELMENUBAR) {
    auto* c = static_cast<Choices*>(res->ClientData);
    MBarPtr bar = WIN_GetMenuBar(WIN_FromRes(res));
    MenuPtr menu = MBAR_ChosenGetMenu(bar);
    c->labels.push_back(MENU_ChosenGetLabel(menu));
    c->data.push_back(MENU_ChosenGetClientData(menu));
    c->barLabels.push_back(MBAR_CurGetLabel(bar) ? MBAR_CurGetLabel(bar) : "");
  }
  return WIN_DefNfy(res, message, data);
}

class MenuUiTest : public ToolkitTest {
 protected:
  void SetUp() override {
    ToolkitTest::SetUp();
    win_ = keep(tktest::newWin(100, 100, 460, 240, "menus"));
    bar_ = MBAR_Create();
    MBAR_AddItem(bar_, "&File");
    file_ = MENU_Create();
    MENU_AddItem(file_, "&Open");
    MENU_CurSetClientData(file_, &openData_);
    MENU_AddSeparator(file_);
    MENU_AddItem(file_, "&Print");
    MENU_CurSetEnabled(file_, 0);
    MENU_CurSetAccelKey(file_, EVENT_KEYNORMAL, EVENT_MODCONTROL, 'p');
    MENU_AddItem(file_, "&Quit");
    MENU_CurSetAccelKey(file_, EVENT_KEYNORMAL, EVENT_MODCONTROL, 'q');
    MENU_CurSetClientData(file_, &quitData_);
    MBAR_CurSetSubMenu(bar_, file_);
    MBAR_AddItem(bar_, "&Edit");
    edit_ = MENU_Create();
    MENU_AddItem(edit_, "&Wrap");
    MENU_CurSetCheckedMode(edit_, MITEM_CHECKTOGGLE);
    MENU_AddItem(edit_, "&More");
    more_ = MENU_Create();
    MENU_AddItem(more_, "&Deep");
    MENU_CurSetAccelKey(more_, EVENT_KEYF1 + 4, 0, 0);
    MENU_CurSetSubMenu(edit_, more_);
    MBAR_CurSetSubMenu(bar_, edit_);
    MBAR_AddItem(bar_, "&Help");
    MBAR_CurSetRightAligned(bar_, 1);
    help_ = MENU_Create();
    MENU_AddItem(help_, "&About");
    MBAR_CurSetSubMenu(bar_, help_);
    WIN_SetMenuBar(win_, bar_);
    // The creator's references go: the bar, items and window hold theirs.
    for (ResPtr r : {MBAR_Res(bar_), MENU_Res(file_), MENU_Res(edit_), MENU_Res(more_), MENU_Res(help_)})
      RES_Release(r);
    WGT_Res(WIN_Wgt(win_))->ClientData = &choices_;
    WGT_Res(WIN_Wgt(win_))->Notify = recordingWinNfy;
    WIN_Init(win_);
    ASSERT_TRUE(tktest::showFocused(win_));
  }
  void TearDown() override {
    MBAR_CloseMenus(bar_);
    ToolkitTest::TearDown();
  }
  _Point16Rec barItemCentre(Int index) {
    _Rect16Rec b = MBAR_QueryItemBox(bar_, index);
    return tktest::absOf(MBAR_Wgt(bar_), b.Origin.X + b.Extent.X / 2, b.Origin.Y + b.Extent.Y / 2);
  }
  _Point16Rec itemCentre(MenuPtr menu, Int index) {
    _Rect16Rec box = MenuScreenBox(menu);
    return _Point16Rec{static_cast<int16_t>(box.Origin.X + box.Extent.X / 2),
                       static_cast<int16_t>(box.Origin.Y + MenuItemTop(menu, index) +
                                            MenuRowHeight(MENU_GetNthItem(menu, index)) / 2)};
  }
  WinPtr win_ = nullptr;
  MBarPtr bar_ = nullptr;
  MenuPtr file_ = nullptr, edit_ = nullptr, more_ = nullptr, help_ = nullptr;
  int openData_ = 0, quitData_ = 0;
  Choices choices_;
};

TEST_F(MenuUiTest, AClickOpensAMenuAndASecondClickChoosesTheItem) {
  clickAt(barItemCentre(0));
  ASSERT_TRUE(MenuIsShown(file_));
  EXPECT_TRUE(MBAR_IsMenuOpen(bar_));
  _Rect16Rec box = MenuScreenBox(file_);
  _Point16Rec barBottom = tktest::absOf(MBAR_Wgt(bar_), 0, MBAR_GetHeight(bar_));
  EXPECT_EQ(box.Origin.Y, barBottom.Y);  // right under the bar

  // A click on the disabled item chooses nothing and leaves the menu open.
  clickAt(itemCentre(file_, 2));
  EXPECT_TRUE(choices_.labels.empty());
  EXPECT_TRUE(MenuIsShown(file_));

  clickAt(itemCentre(file_, 0));
  ASSERT_EQ(choices_.labels, Labels{"&Open"});
  EXPECT_EQ(choices_.data[0], &openData_);
  EXPECT_EQ(choices_.barLabels[0], "&File");
  EXPECT_FALSE(MenuIsShown(file_));
  EXPECT_FALSE(MBAR_IsMenuOpen(bar_));
  XWindowAttributes shell{};
  ASSERT_TRUE(XGetWindowAttributes(driver_->display(), WIN_GetNatWin(file_->Shell), &shell));
  EXPECT_NE(shell.map_state, IsViewable);  // off the screen, not just marked closed

  // A second click on the open bar item closes it; a click outside too.
  clickAt(barItemCentre(2));
  EXPECT_TRUE(MenuIsShown(help_));
  EXPECT_GT(MBAR_QueryItemBox(bar_, 2).Origin.X, MBAR_QueryItemBox(bar_, 1).Origin.X + 200);  // right-aligned
  _Rect16Rec helpItem = MBAR_QueryItemBox(bar_, 2);
  _Point16Rec helpRight = tktest::absOf(MBAR_Wgt(bar_), helpItem.Origin.X + helpItem.Extent.X, 0);
  EXPECT_EQ(MenuScreenBox(help_).Origin.X + MenuScreenBox(help_).Extent.X, helpRight.X);  // its menu ends under it
  clickAt(barItemCentre(2));
  EXPECT_FALSE(MenuIsShown(help_));
  clickAt(barItemCentre(1));
  EXPECT_TRUE(MenuIsShown(edit_));
  _Point16Rec away = tktest::absOf(WIN_Wgt(win_), 400, 220);
  clickAt(away);
  EXPECT_FALSE(MBAR_IsMenuOpen(bar_));
  EXPECT_EQ(choices_.labels.size(), 1u);
}

TEST_F(MenuUiTest, PressDragReleaseChoosesAndTogglesACheckItem) {
  _Point16Rec edit = barItemCentre(1);
  driver_->moveTo(edit.X, edit.Y);
  driver_->press(1);
  settle();
  ASSERT_TRUE(MenuIsShown(edit_));
  _Point16Rec wrap = itemCentre(edit_, 0);
  driver_->moveTo(wrap.X, wrap.Y);
  settle();
  EXPECT_EQ(edit_->Hilite, 0);
  driver_->release(1);
  settle();
  EXPECT_EQ(choices_.labels, Labels{"&Wrap"});
  EXPECT_TRUE(MENU_GetNthItem(edit_, 0)->Checked);

  // Moving onto an item with a sub-menu opens it beside its menu.
  clickAt(edit);
  _Point16Rec moreItem = itemCentre(edit_, 1);
  driver_->moveTo(moreItem.X, moreItem.Y);
  settle();
  ASSERT_TRUE(MenuIsShown(more_));
  EXPECT_GE(MenuScreenBox(more_).Origin.X, MenuScreenBox(edit_).Origin.X + MenuScreenBox(edit_).Extent.X - 4);
  clickAt(itemCentre(more_, 0));
  ASSERT_EQ(choices_.labels, (Labels{"&Wrap", "&Deep"}));
  EXPECT_EQ(choices_.barLabels[1], "&Edit");

  // Dragged off everything and let go: closed, nothing chosen.
  driver_->moveTo(edit.X, edit.Y);
  driver_->press(1);
  settle();
  driver_->moveTo(edit.X + 300, edit.Y + 150);
  driver_->release(1);
  settle();
  EXPECT_FALSE(MBAR_IsMenuOpen(bar_));
  EXPECT_EQ(choices_.labels.size(), 2u);
}

TEST_F(MenuUiTest, TheKeyboardOpensMovesChoosesAndClosesAndAcceleratorsAct) {
  key(XK_F10);
  ASSERT_TRUE(MenuIsShown(file_));
  EXPECT_EQ(file_->Hilite, 0);
  key(XK_Down);  // over the separator and the disabled item
  EXPECT_EQ(file_->Hilite, 3);
  key(XK_Down);
  EXPECT_EQ(file_->Hilite, 0);
  key(XK_Right);  // the next menu of the bar
  EXPECT_FALSE(MenuIsShown(file_));
  ASSERT_TRUE(MenuIsShown(edit_));
  key(XK_Down);
  key(XK_Right);  // into the sub-menu
  ASSERT_TRUE(MenuIsShown(more_));
  key(XK_Escape);  // one level
  EXPECT_FALSE(MenuIsShown(more_));
  EXPECT_TRUE(MenuIsShown(edit_));
  key(XK_Escape);
  EXPECT_FALSE(MBAR_IsMenuOpen(bar_));
  EXPECT_TRUE(choices_.labels.empty());

  key(XK_f, XK_Alt_L);  // Alt with the mnemonic
  ASSERT_TRUE(MenuIsShown(file_));
  key(XK_Return);
  EXPECT_EQ(choices_.labels, Labels{"&Open"});

  key(XK_e, XK_Alt_L);
  key(XK_w);  // an item's mnemonic chooses it
  EXPECT_EQ(choices_.labels, (Labels{"&Open", "&Wrap"}));
  EXPECT_FALSE(MBAR_IsMenuOpen(bar_));

  // Accelerators act with the menus closed, also in a sub-menu, but not
  // those of a disabled item.
  key(XK_q, XK_Control_L);
  ASSERT_EQ(choices_.labels, (Labels{"&Open", "&Wrap", "&Quit"}));
  EXPECT_EQ(choices_.data[2], &quitData_);
  EXPECT_FALSE(MBAR_IsMenuOpen(bar_));
  key(XK_p, XK_Control_L);
  key(XK_F5);
  EXPECT_EQ(choices_.labels, (Labels{"&Open", "&Wrap", "&Quit", "&Deep"}));
}

TEST_F(MenuUiTest, APinnedMenuTearsOffIntoAWindowThatChoosesAndFollowsCheckMarks) {
  edit_->UsePin = 1;
  clickAt(barItemCentre(1));
  ASSERT_TRUE(MenuIsShown(edit_));
  _Rect16Rec box = MenuScreenBox(edit_);
  _Point16Rec firstItem = itemCentre(edit_, 0);
  clickAt(_Point16Rec{firstItem.X, static_cast<int16_t>(box.Origin.Y + MenuPx(4) + MenuPx(6))});  // the pin
  EXPECT_FALSE(MBAR_IsMenuOpen(bar_));
  MenuPtr mirror = edit_->Mirror;
  ASSERT_NE(mirror, nullptr);
  WinPtr torn = MENU_Wgt(mirror)->Win;
  ASSERT_TRUE(tktest::runUntil([&] { return WIN_IsOpen(torn) && !EVENT_IsInvalPending(); }));
  EXPECT_STREQ(WIN_GetLabel(torn), "Edit");
  EXPECT_EQ(MENU_GetNumElts(mirror), 2);
  EXPECT_FALSE(MENU_GetNthItem(mirror, 1)->Activity == MITEM_ACTIVE);  // its sub-menu stays behind

  // An item chosen in the window is the menu's own.
  _Point16Rec wrap = tktest::absOf(MENU_Wgt(mirror), 20, MenuItemTop(mirror, 0) + 4);
  clickAt(wrap);
  ASSERT_EQ(choices_.labels, Labels{"&Wrap"});
  EXPECT_EQ(choices_.barLabels[0], "&Edit");
  EXPECT_TRUE(MENU_GetNthItem(edit_, 0)->Checked);
  EXPECT_TRUE(MENU_GetNthItem(mirror, 0)->Checked);
  MENU_GoFirst(edit_);
  MENU_CurSetChecked(edit_, 0);
  EXPECT_FALSE(MENU_GetNthItem(mirror, 0)->Checked);

  // Closing the window ends the copy; the menu tears off again later.
  WIN_TerminateGetStatus(torn);
  settle();
  EXPECT_EQ(edit_->Mirror, nullptr);
}

TEST_F(MenuUiTest, AMenuTallerThanTheScreenIsCutAndScrolls) {
  MenuPtr tall = MENU_Create();
  for (int i = 0; i < 200; i++) MENU_AddItem(tall, ("Item " + std::to_string(i)).c_str());
  MBAR_GoLabel(bar_, "&Help");
  MBAR_CurSetSubMenu(bar_, tall);
  RES_Release(MENU_Res(tall));
  key(XK_h, XK_Alt_L);
  ASSERT_TRUE(MenuIsShown(tall));
  _Rect16Rec box = MenuScreenBox(tall);
  _Point16Rec screen = DSPLY_GetScreenExt();
  EXPECT_LE(box.Origin.Y + box.Extent.Y, screen.Y);
  EXPECT_LE(box.Origin.X + box.Extent.X, screen.X);
  EXPECT_GE(box.Origin.X, 0);
  key(XK_End);
  EXPECT_EQ(tall->Hilite, 199);
  EXPECT_GT(tall->ScrollTop, 0);
  key(XK_Return);
  EXPECT_EQ(choices_.labels, Labels{"Item 199"});
}

}  // namespace

namespace {

// A menu bar given by a window's template: compiled by the resource
// compiler, loaded with the window, and opened from the keyboard.
TEST_F(ToolkitTest, AMenuBarFromAWindowTemplateWorks) {
  ASSERT_TRUE(tktest::loadTestLibrary());
  owbtest::TempDir dir;
  owbtest::writeWholeFile(dir.file("menutest.rsrc"), R"(library "menutest"
import "Vgm" "ndvgm.dat"
module menutest {
  MItem open {
    Label = "&Open"
    Id = 7
  }
  MSep sep {
  }
  MItem quit {
    Label = "&Quit"
    AcceleratorLabel = "Ctrl+Q"
  }
  Menu fileMenu {
    Choices = [ref "menutest.open", ref "menutest.sep", ref "menutest.quit"]
  }
  MItem file {
    Label = "&File"
    SubPopup = ref "menutest.fileMenu"
  }
  MBar bar export {
    Choices = [ref "menutest.file"]
  }
  Win MenuWindow export {
    X = 120
    Y = 120
    W = 300
    H = 160
    MenuBar = ref "menutest.bar"
  }
}
)");
  std::string out;
  ASSERT_EQ(tktest::runRescomp("-I " + tktest::resourceDir() + " -o " + dir.file("menutest.dat") + " " +
                                   dir.file("menutest.rsrc"),
                               &out),
            0)
      << out;
  RLIB_LoadLibFile("menutest", dir.file("menutest.dat").c_str());

  WinPtr win = keep(WIN_Load("menutest", "MenuWindow"));
  MBarPtr bar = WIN_GetMenuBar(win);
  ASSERT_NE(bar, nullptr);
  MBAR_GoFirst(bar);
  EXPECT_STREQ(MBAR_CurGetLabel(bar), "&File");
  MenuPtr file = MBAR_CurGetSubMenu(bar);
  ASSERT_NE(file, nullptr);
  ASSERT_EQ(MENU_GetNumElts(file), 3);
  EXPECT_TRUE(MENU_GetNthItem(file, 1)->IsSeparator);
  MENU_GoFirst(file);
  EXPECT_EQ(MENU_CurGetId(file), 7);

  WIN_Init(win);
  ASSERT_TRUE(tktest::showFocused(win));
  EXPECT_EQ(MITEM_AccelText(MENU_GetNthItem(file, 2)), "Ctrl+Q");
  key(XK_F10);
  EXPECT_TRUE(MenuIsShown(file));
  key(XK_Escape);
}

}  // namespace
