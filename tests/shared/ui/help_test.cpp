// The help manager against a real Tool Manager (toolman, with the
// installation's help documents on its search path) and a viewer script
// that records its arguments: F1, the help menu, "&Menu Item", modal help,
// documents given by full path, and a Tool Manager that does not answer.
#include <sys/stat.h>

#include "shared/ui/help.h"
#include "tests/shared/ui/ui_fixture.h"
#include "toolkit/mbar.h"

namespace {

long helpWinNfy(ResPtr res, Int message, ClientPtr data) {
  WinPtr win = WIN_FromRes(res);
  auto* menuChoicesTaken = static_cast<std::vector<bool>*>(res->ClientData);
  if (message == WIN_NFYKEYCHAR && gHelpManager->checkHelpKey("TestWindow", win, nullptr)) return 0;
  if (message == WIN_NFYSELMENUBAR) {
    menuChoicesTaken->push_back(gHelpManager->handleHelpMItems(win, "TestWindow", nullptr));
    return 0;
  }
  return WIN_DefNfy(res, message, data);
}

std::string menuLabels(MenuPtr menu) {
  std::string labels;
  for (MENU_GoFirst(menu); MENU_IsOk(menu); MENU_GoNext(menu)) labels += std::string(MENU_CurGetLabel(menu)) + "|";
  return labels;
}

// A Tool Manager with the installation's help documents, whose viewer is a
// script that records its arguments, and the tool's help manager that got
// the defaults from it.
class HelpTest : public uitest::ToolmanFixture {
 protected:
  owbtest::ScopedEnv owbEnv{"OWB", owbtest::installTree()};
  std::string docs = owbtest::installTree() + "/help";
  std::string args = home.file("viewer-args");

  std::vector<std::string> toolmanOptions() override {
    std::string viewer = home.file("viewer");
    owbtest::writeWholeFile(viewer, "#!/bin/sh\nprintf '%s\\n' \"$*\" >> " + args + "\n");
    chmod(viewer.c_str(), 0755);
    return {"--help-viewer", viewer};
  }
  void SetUp() override {
    uitest::ToolmanFixture::SetUp();
    gHelpManager = new HelpManager(FALSE, nullptr);
    // The defaults come back as messages, one per turn of the loop.
    for (int turn = 0; turn < 200 && (!gHelpManager->viewerName || gHelpManager->menuNames->totalElements < 4); turn++)
      serve(1);
    ASSERT_NE(gHelpManager->viewerName, nullptr);
    ASSERT_EQ(gHelpManager->menuNames->totalElements, 4);
    gHelpManager->showMenuHelp = FALSE;
  }
  // The viewer runs in the background: its record is awaited.
  using Runs = std::vector<std::string>;
  Runs viewerRuns(size_t atLeast, int timeoutMs = 3000) {
    Runs got;
    waitFor(
        [&] {
          got.clear();
          std::istringstream in(owbtest::readWholeFile(args));
          for (std::string l; std::getline(in, l);) got.push_back(l);
          return got.size() >= atLeast;
        },
        timeoutMs);
    return got;
  }
  // Gives win a menu bar of one menu, title, holding one item; gives the
  // bar (the window holds it).
  static MBarPtr setMenuBar(WinPtr win, const char* title, const char* item) {
    MBarPtr bar = MBAR_Create();
    MBAR_AddItem(bar, title);
    MenuPtr menu = MENU_Create();
    MENU_AddItem(menu, item);
    MBAR_CurSetSubMenu(bar, menu);
    RES_Release(MENU_Res(menu));
    WIN_SetMenuBar(win, bar);
    RES_Release(MBAR_Res(bar));
    return bar;
  }
  WinPtr openWindow(bool withHelpMenu) {
    WinPtr win = keep(tktest::newWin(150, 150, 420, 200, "help"));
    RES_SetNfyProcDS(WGT_Res(WIN_Wgt(win)), helpWinNfy, &menuChoicesTaken_);
    if (withHelpMenu) {
      setMenuBar(win, "&File", "&Close");
      gHelpManager->addMenu(win);
    }
    WIN_Init(win);
    EXPECT_TRUE(tktest::showFocused(win));
    return win;
  }
  std::vector<bool> menuChoicesTaken_;
};

TEST_F(HelpTest, F1InAWindowStartsTheViewerOnTheWindowsAnchorAndEatsTheRepeats) {
  openWindow(false);
  auto start = std::chrono::steady_clock::now();
  driver_->key(XK_F1);
  driver_->key(XK_F1);  // a repeat, within the second that is eaten
  settle();
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(950));
  EXPECT_EQ(viewerRuns(1), Runs{docs + "/user.html#OWBWin:TestWindow"});
  EXPECT_EQ(viewerRuns(2, 200).size(), 1u);
}

TEST_F(HelpTest, TheHelpMenuShowsDocumentsWindowHelpAndHelpOnMenuItems) {
  WinPtr win = openWindow(true);
  MBarPtr bar = WIN_GetMenuBar(win);
  ASSERT_TRUE(MBAR_GoLabel(bar, "&Help"));
  MenuPtr help = MBAR_CurGetSubMenu(bar);
  ASSERT_NE(help, nullptr);
  EXPECT_EQ(menuLabels(help), "&Developer Library|&Programmng Guide|&Language Reference|&User Guide|&Menu Item|&This Window|");
  EXPECT_GT(MBAR_QueryItemBox(bar, 1).Origin.X, MBAR_QueryItemBox(bar, 0).Origin.X + 200);  // right-aligned

  // "&User Guide": the document itself; "&Menu Item", then an item: help on
  // that item; "&Menu Item" by its accelerator, twice: help on itself;
  // "&Menu Item", then an item of another menu; without it, the window's own
  // item is the window's.
  for (auto [sym, mod] : std::vector<std::pair<KeySym, KeySym>>{
           {XK_h, XK_Alt_L}, {XK_u, NoSymbol}, {XK_h, XK_Alt_L}, {XK_m, NoSymbol}, {XK_h, XK_Alt_L},
           {XK_l, NoSymbol}, {XK_h, XK_Control_L}, {XK_h, XK_Control_L}, {XK_h, XK_Control_L},
           {XK_f, XK_Alt_L}, {XK_c, NoSymbol}, {XK_f, XK_Alt_L}, {XK_c, NoSymbol}})
    key(sym, mod);
  Runs runs{docs + "/userGuide.html", docs + "/user.html#OWBMenu:TestWindow:LanguageReference",
            docs + "/user.html#OWBMenu:TestWindow:MenuItem", docs + "/user.html#OWBMenu:TestWindow:Close"};
  EXPECT_EQ(viewerRuns(4), runs);
  EXPECT_EQ(menuChoicesTaken_, (std::vector<bool>{true, true, true, true, true, true, true, false}));

  // "&This Window" by F1, its accelerator in the menu.
  key(XK_F1);
  runs.push_back(docs + "/user.html#OWBWin:TestWindow");
  EXPECT_EQ(viewerRuns(5), runs);
}

TEST_F(HelpTest, AModalWindowGetsF1ThroughItsHiddenButtonAndAnOwnHelpMenuKeepsItsItems) {
  WinPtr win = keep(tktest::newWin(200, 200, 300, 120, "alert"));
  gHelpManager->addModalHelp(win, "AlertWindow", nullptr);
  ASSERT_EQ(PANEL_GetNumWgts(WIN_Panel(win)), 1);
  WIN_Init(win);
  ASSERT_TRUE(tktest::showFocused(win));
  key(XK_F1);
  EXPECT_EQ(viewerRuns(1), Runs{docs + "/user.html#OWBWin:AlertWindow"});

  // The button's end frees what it held.
  WgtPtr button = PANEL_GetNthWgt(WIN_Panel(win), 0);
  ASSERT_NE(WGT_Res(button)->ClientData, nullptr);
  PANEL_RemoveWgt(WIN_Panel(win), button);
  EXPECT_EQ(WGT_Res(button)->ClientData, nullptr);
  RES_Release(WGT_Res(button));

  // A window's own help menu keeps its items ahead of a separator.
  win = keep(tktest::newWin(150, 150, 420, 200, "own help"));
  MBarPtr bar = setMenuBar(win, "&Help", "&About");
  MBAR_GoFirst(bar);
  MenuPtr own = MBAR_CurGetSubMenu(bar);
  gHelpManager->addMenu(win);
  ASSERT_EQ(MBAR_GetNumItems(bar), 1);
  MBAR_GoFirst(bar);
  ASSERT_EQ(MBAR_CurGetSubMenu(bar), own);
  EXPECT_EQ(menuLabels(own),
            "&About||&Developer Library|&Programmng Guide|&Language Reference|&User Guide|&Menu Item|&This Window|");
}

// A command line too long for its buffer is not run; a full path needs no
// Tool Manager; a missing answer of the Tool Manager costs the wait.
TEST_F(HelpTest, CommandLinesFullPathsAndAToolManagerThatDoesNotAnswer) {
  std::string saved = gHelpManager->viewerName;
  gHelpManager->setViewerName((std::string(240, 'v') + " " + home.path() + "/viewer").c_str());
  gHelpManager->showHelp("/tmp/x.html", "Anchor", nullptr);
  gHelpManager->setViewerName(saved.c_str());
  EXPECT_EQ(viewerRuns(1, 300).size(), 0u);
  char anchor[256];
  helpMenuAnchor(anchor, sizeof anchor, "Win", "A  long&&label & more");
  EXPECT_STREQ(anchor, "OWBMenu:Win:Alonglabelmore");
  helpMenuAnchor(anchor, sizeof anchor, "Win", std::string(600, 'x').c_str());
  EXPECT_EQ(std::strlen(anchor), 255u);

  owbtest::writeWholeFile(home.file("own.html"), "<html></html>");
  // Nobody listens at the Tool Manager's port now.
  gToolManToolInfo.listenerPort = 1;
  auto start = std::chrono::steady_clock::now();
  gHelpManager->showHelp(home.file("own.html").c_str(), "Part", nullptr);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(1000));
  EXPECT_EQ(viewerRuns(1), Runs{home.file("own.html") + "#Part"});

  start = std::chrono::steady_clock::now();
  gHelpManager->showHelp("user.html", nullptr, nullptr);
  auto waited = std::chrono::steady_clock::now() - start;
  EXPECT_GE(waited, std::chrono::milliseconds(4900));
  EXPECT_LT(waited, std::chrono::milliseconds(8000));
  EXPECT_EQ(viewerRuns(2, 300).size(), 1u);  // nothing resolved, nothing run
}

// Every help key the tool's windows use has its anchor in the user guide.
TEST(HelpDocuments, TheUserGuideHoldsEveryAnchorOfTheToolsWindows) {
  std::string guide = owbtest::readWholeFile(owbtest::installTree() + "/help/user.html");
  ASSERT_FALSE(guide.empty());
  for (const char* window : {"FleetSettings", "EnginePlaceConfigFile", "RunFleet", "KillFleet", "FleetBackup",
                             "RestoreFleet", "FleetEnvironmentVariable", "FleetConfigurationOption", "ExternalProcess",
                             "FleetStatus", "FilePicker", "AlertWindow"}) {
    EXPECT_NE(guide.find(std::string("id=\"OWBWin:") + window + "\""), std::string::npos) << window;
    for (const char* item : {"MenuItem", "ThisWindow", "UserGuide"})
      EXPECT_NE(guide.find(std::string("id=\"OWBMenu:") + window + ":" + item + "\""), std::string::npos)
          << window << " " << item;
  }
  for (const HelpDocument& d : kDefaultHelpDocuments)
    EXPECT_TRUE(fileExists((owbtest::installTree() + "/help/" + d.document).c_str())) << d.document;
}

}  // namespace
