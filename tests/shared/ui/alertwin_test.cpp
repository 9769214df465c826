// The alert window, driven through the X server while it runs its modal
// loop.
#include "shared/ui/alertwin.h"

#include <functional>

#include "shared/alert.h"
#include "tests/shared/ui/ui_fixture.h"
#include "toolkit/ted.h"

namespace {

class AlertTest : public tktest::ToolkitTest {
 protected:
  owbtest::TempDir home;
  owbtest::ScopedEnv homeEnv{"HOME", home.path()};

  void SetUp() override {
    tktest::ToolkitTest::SetUp();
    ASSERT_TRUE(uitest::loadInstallationLibraries());
    forgetToolManagerPort();
    gMessageCenter = new MessageCenter();
    installAlertWindow();
  }
  void TearDown() override {
    uninstallAlertWindow();
    delete gMessageCenter;
    gMessageCenter = nullptr;
    tktest::ToolkitTest::TearDown();
  }

  WgtPtr child(Int n) { return WGT_FromRes(RES_GetNthChild(WGT_Res(WIN_Wgt(ALRTW_GetWin())), n)); }
  TButPtr button(int number) {
    return TBUT_FromWgt(WGT_FromRes(RES_GetNthChild(WGT_Res(child(ALRTW_BUTTONS)), number - 1)));
  }
  void press(int number) {
    _Point16Rec p = tktest::absOf(TBUT_Wgt(button(number)), 12, 12);
    driver_->click(p.X, p.Y);
  }
  // What the standing alert shows: title, text, icon and the labels of its
  // visible buttons.
  std::vector<std::string> look() {
    WinPtr win = ALRTW_GetWin();
    if (!win || !WIN_IsOpen(win)) return {"(no alert)"};
    std::vector<std::string> seen{WIN_GetLabel(win), TED_GetStr(TED_FromWgt(child(ALRTW_TEXT))),
                                  RES_GetName(TBUT_GetIcon(TBUT_FromWgt(child(ALRTW_ICON))))};
    for (int n = 1; n <= 3; n++)
      if (!TBUT_Wgt(button(n))->Invisible) seen.push_back(TBUT_GetLabel(button(n)));
    return seen;
  }
};

TEST_F(AlertTest, EachKindShowsItsIconAndButtonsAndAnswersWithTheButtonOrKeyPressed) {
  const char* icons[] = {"DefIconCriticalMsw", "DefIconQuestionMsw", "DefIconWarningMsw", "DefIconInfoMsw"};
  std::vector<std::string> seen;
  for (long type = 0; type < 4; type++) {
    int pressing = static_cast<int>(type % 3) + 1;
    auto act = [&] {
      seen = look();
      press(pressing);
    };
    uitest::after(300, &act);
    EXPECT_EQ(pressing, displayAlertWindow("Something happened.", type, "Title", "One", "Two", "Three", FALSE, nullptr));
    EXPECT_EQ((std::vector<std::string>{"Title", "Something happened.", icons[type], "One", "Two", "Three"}), seen);
    EXPECT_EQ(nullptr, ALRTW_GetWin());
  }

  // Text alone gives "Ok" under the default title, and Escape answers it.
  auto escape = [&] {
    seen = look();
    driver_->key(XK_Escape);
  };
  uitest::after(300, &escape);
  EXPECT_EQ(1, displayAlertWindow("Just this.", 3, nullptr, nullptr, nullptr, nullptr, FALSE, nullptr));
  EXPECT_EQ((std::vector<std::string>{"Could not complete that operation", "Just this.", icons[3], "Ok"}), seen);

  // Two buttons: Escape is the second, Return the first.
  uitest::after(300, &escape);
  EXPECT_EQ(2, displayAlertWindow("Replace it?", 1, "Replace", "Replace", "Cancel", "", FALSE, nullptr));
  auto enter = [&] { driver_->key(XK_Return); };
  uitest::after(300, &enter);
  EXPECT_EQ(1, displayAlertWindow("Replace it?", 1, "Replace", "Replace", "Cancel", nullptr, FALSE, nullptr));
}

// A long text is shown whole, read-only, and the window grows to show it;
// beyond three quarters of the screen the text scrolls.
TEST_F(AlertTest, LongTextIsShownWholeAndTheWindowGrows) {
  std::string text;
  for (int i = 0; i < 40; i++) text += "word" + std::to_string(i) + " ";
  text += std::string(120, 'x');
  for (int i = 0; i < 200; i++) text += "\nline " + std::to_string(i);
  std::string shown;
  int height = 0;
  UInt16 flags = 0;
  bool bar = false;
  auto inspect = [&] {
    TEdPtr ted = TED_FromWgt(child(ALRTW_TEXT));
    shown = TED_GetStr(ted);
    flags = ted->OptFlags;
    bar = !SB_Wgt(SAREA_GetVSb(TED_SArea(ted)))->Invisible;
    height = WIN_Wgt(ALRTW_GetWin())->Box.Extent.Y;
    press(1);
  };
  uitest::after(300, &inspect);
  EXPECT_EQ(1, displayAlertWindow(text.c_str(), 2, nullptr, nullptr, nullptr, nullptr, FALSE, nullptr));
  EXPECT_EQ(text, shown);
  EXPECT_TRUE(flags & TED_OPTREADONLY);
  EXPECT_TRUE(flags & TED_OPTWRAP);
  EXPECT_GT(height, 200);
  EXPECT_TRUE(bar);
}

ErrorCode gPings = 0;
ErrorCode pingHandler(Message*, Message*) {
  gPings++;
  return kNoError;
}

// A second alert asked while one stands gives 0 at once; a message that
// arrives while the alert stands is served.
TEST_F(AlertTest, AlertsDoNotNestAndMessagesAreServedMeanwhile) {
  MessageTemplate none = makeMessageTemplate({});
  gMessageCenter->registerMessageHandler(OWB_TYPE("PING"), &none, pingHandler);
  gPings = 0;
  long nested = -1;
  auto during = [&] {
    nested = displayAlertWindow("Second", 0, nullptr, nullptr, nullptr, nullptr, FALSE, nullptr);
    Message ping(OWB_TYPE("PING"), &gMessageCenter->thisToolInfo);
    gMessageCenter->transport->sendMessage(&ping);  // through a socket to this tool
  };
  std::function<void()> finish;
  finish = [&] {
    if (gPings > 0) press(1);
    else uitest::after(100, &finish);  // the message is not served yet
  };
  uitest::after(300, &during);
  uitest::after(400, &finish);
  EXPECT_EQ(1, displayAlertWindow("First", 0, nullptr, nullptr, nullptr, nullptr, FALSE, nullptr));
  EXPECT_EQ(0, nested);
  EXPECT_EQ(1, gPings);
  gMessageCenter->removeMessageHandler(OWB_TYPE("PING"));
}

}  // namespace
