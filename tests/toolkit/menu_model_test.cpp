// Menu bars and menus without a screen: the cursor model, labels with
// mnemonics, accelerator texts, check marks and a torn-off mirror.
#include <gtest/gtest.h>

#include <string>

#include "tests/toolkit/tk_fixture.h"
#include "toolkit/mbar.h"
#include "toolkit/menupriv.h"

namespace {

class MenuModelTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(tktest::startToolkit()); }
};

TEST_F(MenuModelTest, BarCursorWalksItemsAndStaysPutOnAMissingLabel) {
  MBarPtr bar = MBAR_Create();
  EXPECT_EQ(MBAR_GoLast(bar), -1);  // an empty bar
  EXPECT_FALSE(MBAR_IsOk(bar));
  EXPECT_EQ(MBAR_CurGetLabel(bar), nullptr);

  for (const char* l : {"&File", "&Edit", "&Help"}) MBAR_AddItem(bar, l);
  std::string seen;
  for (MBAR_GoFirst(bar); MBAR_IsOk(bar); MBAR_GoNext(bar)) seen += std::string(MBAR_CurGetLabel(bar)) + "|";
  EXPECT_EQ(seen, "&File|&Edit|&Help|");
  // Past the end: not a failure, just not ok, and no label.
  EXPECT_EQ(MBAR_GoNext(bar), 4);
  EXPECT_FALSE(MBAR_IsOk(bar));
  EXPECT_EQ(MBAR_CurGetLabel(bar), nullptr);

  EXPECT_TRUE(MBAR_GoLabel(bar, "&Edit"));
  EXPECT_FALSE(MBAR_GoLabel(bar, "&help"));  // case counts
  EXPECT_STREQ(MBAR_CurGetLabel(bar), "&Edit");
  EXPECT_EQ(MBAR_GoLast(bar), 2);

  // The window list item is left alone by the loop.
  MBAR_AddItem(bar, "&Windows");
  MBAR_GetNthItem(bar, 3)->DisplayMode = MITEM_DISPLAYWINMENU;
  EXPECT_FALSE(MBAR_IsOk(bar));
  EXPECT_STREQ(MBAR_CurGetLabel(bar), "&Windows");
  RES_Release(MBAR_Res(bar));
}

TEST_F(MenuModelTest, MenuItemsKeepSubMenusAndTheCursorStaysInRange) {
  MenuPtr menu = MENU_Create();
  EXPECT_EQ(MENU_GoLast(menu), -1);
  MENU_AddItem(menu, "&Open");
  MENU_CurSetClientData(menu, reinterpret_cast<ClientPtr>(0x51));
  MENU_AddSeparator(menu);
  MENU_AddItem(menu, "&More");
  MenuPtr sub = MENU_Create();
  MENU_CurSetSubMenu(menu, sub);
  RES_Release(MENU_Res(sub));  // the item holds its own reference
  EXPECT_EQ(MENU_CurGetSubMenu(menu), sub);
  MENU_GoIndex(menu, 1);
  EXPECT_FALSE(MENU_CurIsEnabled(menu));  // a separator is never chosen
  MENU_GoIndex(menu, 9);
  EXPECT_FALSE(MENU_IsOk(menu));
  EXPECT_EQ(MENU_CurGetClientData(menu), nullptr);
  MENU_CurSetChecked(menu, 1);  // out of range: nothing happens
  EXPECT_EQ(MENU_ChosenGetClientData(menu), nullptr);  // nothing chosen yet
  RES_Release(MENU_Res(menu));
}

TEST_F(MenuModelTest, RadioItemsCheckOneOfTheirGroup) {
  MenuPtr menu = MENU_Create();
  for (const char* l : {"&Left", "&Centre", "&Right"}) {
    MENU_AddItem(menu, l);
    MENU_CurSetCheckedMode(menu, MITEM_CHECKRADIO);
  }
  MENU_AddSeparator(menu);
  MENU_AddItem(menu, "&Other");
  MENU_CurSetCheckedMode(menu, MITEM_CHECKRADIO);
  MENU_CurSetChecked(menu, 1);
  MenuApplyCheck(menu, 0);
  MenuApplyCheck(menu, 2);
  EXPECT_FALSE(MENU_GetNthItem(menu, 0)->Checked);
  EXPECT_TRUE(MENU_GetNthItem(menu, 2)->Checked);
  EXPECT_TRUE(MENU_GetNthItem(menu, 4)->Checked);  // behind the separator: another group
  RES_Release(MENU_Res(menu));
}

TEST_F(MenuModelTest, LabelsLoseTheirMarksAndKeepTheirMnemonic) {
  // The first single mark counts; a doubled one is a plain "&".
  struct Case {
    const char* label;
    std::string text;
    Int pos;
    char mnemonic;
  } cases[] = {{"&Help", "Help", 0, 'h'}, {"Save && &Quit &Now&", "Save & Quit Now", 7, 'q'}, {"a&&b", "a&b", -1, 0}};
  for (const Case& c : cases) {
    MItemShownLabel shown = MITEM_ParseLabel(c.label);
    EXPECT_EQ(shown.Text, c.text);
    if (c.mnemonic) { EXPECT_EQ(shown.MnemonicPos, c.pos) << c.label; }
    EXPECT_EQ(shown.Mnemonic, c.mnemonic) << c.label;
  }
  EXPECT_EQ(MITEM_ParseLabel(nullptr).Text, "");

  std::string longLabel(5000, 'x');
  EXPECT_EQ(MITEM_ParseLabel(("&" + longLabel).c_str()).Text.size(), 5000u);
}

TEST_F(MenuModelTest, AcceleratorTextsComeFromTheKeyUnlessALabelIsGiven) {
  MenuPtr menu = MENU_Create();
  MENU_AddItem(menu, "&Menu Item");
  MENU_CurSetAccelKey(menu, EVENT_KEYNORMAL, EVENT_MODCONTROL, 'h');
  EXPECT_EQ(MITEM_AccelText(MENU_GetNthItem(menu, 0)), "Ctrl+H");
  MENU_AddItem(menu, "&This Window");
  MENU_CurSetAccelKey(menu, EVENT_KEYF1, 0, ' ');
  EXPECT_EQ(MITEM_AccelText(MENU_GetNthItem(menu, 1)), "F1");
  MENU_CurSetAccelLabel(menu, "Help key");
  EXPECT_EQ(MITEM_AccelText(MENU_GetNthItem(menu, 1)), "Help key");
  RES_Release(MENU_Res(menu));
}

}  // namespace
