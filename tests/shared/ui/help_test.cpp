// The help manager against a real Tool Manager (toolman, with the
// installation's help documents on its search path) and a viewer script
// that records its arguments: F1, the help menu, "&Menu Item", modal help,
// documents given by full path, and a Tool Manager that does not answer.
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <chrono>
#include <cstring>
#include <map>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "shared/globals.h"
#include "shared/ui/help.h"
#include "shared/tcpxport.h"
#include "shared/utils.h"
#include "tests/toolkit/tk_fixture.h"
#include "toolkit/mbar.h"

namespace {

using tktest::ToolkitTest;

struct Suite {
  owbtest::TempDir home;
  std::string args;  // what the viewer script records
  std::string docs;  // the installation's help documents
  pid_t toolman = -1;
  int port = 0;
  std::string oldHome;
};
Suite* gSuite = nullptr;

std::vector<std::string> lines(const std::string& text) {
  std::vector<std::string> out;
  std::istringstream in(text);
  for (std::string l; std::getline(in, l);) out.push_back(l);
  return out;
}

// The viewer runs in the background: its record is awaited.
std::vector<std::string> viewerRuns(size_t atLeast, int timeoutMs = 3000) {
  auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
  std::vector<std::string> got;
  while (std::chrono::steady_clock::now() < deadline) {
    got = lines(owbtest::readWholeFile(gSuite->args));
    if (got.size() >= atLeast) break;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return got;
}

struct WinLog {
  std::vector<bool> menuChoicesTaken;
};

long helpWinNfy(ResPtr res, Int message, ClientPtr data) {
  WinPtr win = WIN_FromRes(res);
  auto* log = static_cast<WinLog*>(res->ClientData);
  if (message == WIN_NFYKEYCHAR && gHelpManager->checkHelpKey("TestWindow", win, nullptr)) return 0;
  if (message == WIN_NFYSELMENUBAR) {
    log->menuChoicesTaken.push_back(gHelpManager->handleHelpMItems(win, "TestWindow", nullptr));
    return 0;
  }
  return WIN_DefNfy(res, message, data);
}

class HelpTest : public ToolkitTest {
 protected:
  static void SetUpTestSuite() {
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    gSuite = new Suite;
    gSuite->docs = owbtest::installTree() + "/help";
    gSuite->args = gSuite->home.file("viewer-args");
    std::string viewer = gSuite->home.file("viewer");
    owbtest::writeWholeFile(viewer, "#!/bin/sh\nprintf '%s\\n' \"$*\" >> " + gSuite->args + "\n");
    chmod(viewer.c_str(), 0755);
    mkdir(gSuite->home.file("proj").c_str(), 0755);
    if (const char* h = getenv("HOME")) gSuite->oldHome = h;
    setenv("HOME", gSuite->home.path().c_str(), 1);
    std::map<std::string, std::string> env{{"HOME", gSuite->home.path()}, {"OWB", owbtest::installTree()}};
    int wanted = 33000 + static_cast<int>(getpid() % 3000) * 3;
    gSuite->toolman =
        owbtest::startProgram({owbtest::buildDir() + "/tools/toolman", "--port", std::to_string(wanted), "--project",
                               gSuite->home.file("proj"), "--help-viewer", viewer, "--quiet"},
                              gSuite->home.file("toolman.out"), &env);
    for (int waited = 0; waited < 5000 && gSuite->port == 0; waited += 10) {
      gSuite->port = std::atoi(owbtest::readWholeFile(gSuite->home.path() + "/.owb/owbport").c_str());
      if (gSuite->port == 0) std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    forgetToolManagerPort();
    gToolName = newStringCopy("helptest");
    openToolLog(false);
    gMessageCenter = new MessageCenter();
    gToolManToolInfo.listenerPort = gSuite->port;
    gHelpManager = new HelpManager(FALSE, nullptr);
    // The defaults come back as messages, one per turn of the loop.
    for (int turn = 0; turn < 200 && (!gHelpManager->viewerName || gHelpManager->menuNames->totalElements < 4); turn++)
      gMessageCenter->poll();
  }
  static void TearDownTestSuite() {
    delete gHelpManager;
    gHelpManager = nullptr;
    delete gMessageCenter;
    gMessageCenter = nullptr;
    if (gSuite->toolman > 0) {
      kill(gSuite->toolman, SIGTERM);
      int status;
      waitpid(gSuite->toolman, &status, 0);
    }
    if (!gSuite->oldHome.empty()) setenv("HOME", gSuite->oldHome.c_str(), 1);
    delete gSuite;
    gSuite = nullptr;
  }
  void SetUp() override {
    ToolkitTest::SetUp();
    ASSERT_GT(gSuite->port, 0) << owbtest::readWholeFile(gSuite->home.file("toolman.out"));
    ASSERT_NE(gHelpManager->viewerName, nullptr);
    ASSERT_EQ(gHelpManager->menuNames->totalElements, 4);
    gToolManToolInfo.listenerPort = gSuite->port;
    gHelpManager->showMenuHelp = FALSE;
    std::remove(gSuite->args.c_str());
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
    WGT_Res(WIN_Wgt(win))->ClientData = &log_;
    WGT_Res(WIN_Wgt(win))->Notify = helpWinNfy;
    if (withHelpMenu) {
      setMenuBar(win, "&File", "&Close");
      gHelpManager->addMenu(win);
    }
    WIN_Init(win);
    EXPECT_TRUE(tktest::showFocused(win));
    return win;
  }
  void key(KeySym sym, KeySym mod = NoSymbol) {
    driver_->key(sym, mod);
    settle();
  }
  WinLog log_;
};

TEST_F(HelpTest, F1InAWindowStartsTheViewerOnTheWindowsAnchorAndEatsTheRepeats) {
  WinPtr win = openWindow(false);
  (void)win;
  auto start = std::chrono::steady_clock::now();
  driver_->key(XK_F1);
  driver_->key(XK_F1);  // a repeat, within the second that is eaten
  settle();
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(950));
  std::vector<std::string> runs = viewerRuns(1);
  ASSERT_EQ(runs.size(), 1u);
  EXPECT_EQ(runs[0], gSuite->docs + "/user.html#OWBWin:TestWindow");
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  EXPECT_EQ(viewerRuns(1).size(), 1u);
}

TEST_F(HelpTest, TheHelpMenuShowsDocumentsWindowHelpAndHelpOnMenuItems) {
  WinPtr win = openWindow(true);
  MBarPtr bar = WIN_GetMenuBar(win);
  ASSERT_TRUE(MBAR_GoLabel(bar, "&Help"));
  MenuPtr help = MBAR_CurGetSubMenu(bar);
  ASSERT_NE(help, nullptr);
  std::string labels;
  for (MENU_GoFirst(help); MENU_IsOk(help); MENU_GoNext(help)) labels += std::string(MENU_CurGetLabel(help)) + "|";
  EXPECT_EQ(labels, "&Developer Library|&Programmng Guide|&Language Reference|&User Guide|&Menu Item|&This Window|");
  EXPECT_GT(MBAR_QueryItemBox(bar, 1).Origin.X, MBAR_QueryItemBox(bar, 0).Origin.X + 200);  // right-aligned

  key(XK_h, XK_Alt_L);
  key(XK_u);  // "&User Guide": the document itself
  key(XK_h, XK_Alt_L);
  key(XK_m);  // "&Menu Item", then an item: help on that item
  key(XK_h, XK_Alt_L);
  key(XK_l);
  key(XK_h, XK_Control_L);  // "&Menu Item" by its accelerator, twice: help on itself
  key(XK_h, XK_Control_L);
  key(XK_h, XK_Control_L);  // "&Menu Item", then an item of another menu
  key(XK_f, XK_Alt_L);
  key(XK_c);
  key(XK_f, XK_Alt_L);  // without it, the window's own item is the window's
  key(XK_c);
  std::vector<std::string> runs = viewerRuns(4);
  ASSERT_EQ(runs.size(), 4u);
  EXPECT_EQ(runs[0], gSuite->docs + "/userGuide.html");
  EXPECT_EQ(runs[1], gSuite->docs + "/user.html#OWBMenu:TestWindow:LanguageReference");
  EXPECT_EQ(runs[2], gSuite->docs + "/user.html#OWBMenu:TestWindow:MenuItem");
  EXPECT_EQ(runs[3], gSuite->docs + "/user.html#OWBMenu:TestWindow:Close");
  EXPECT_EQ(log_.menuChoicesTaken, (std::vector<bool>{true, true, true, true, true, true, true, false}));

  // "&This Window" by F1, its accelerator in the menu.
  key(XK_F1);
  runs = viewerRuns(5);
  ASSERT_EQ(runs.size(), 5u);
  EXPECT_EQ(runs[4], gSuite->docs + "/user.html#OWBWin:TestWindow");
}

TEST_F(HelpTest, AWindowsOwnHelpMenuKeepsItsItemsAheadOfASeparator) {
  WinPtr win = keep(tktest::newWin(150, 150, 420, 200, "own help"));
  MBarPtr bar = setMenuBar(win, "&Help", "&About");
  MBAR_GoFirst(bar);
  MenuPtr own = MBAR_CurGetSubMenu(bar);
  gHelpManager->addMenu(win);
  ASSERT_EQ(MBAR_GetNumItems(bar), 1);
  MBAR_GoFirst(bar);
  ASSERT_EQ(MBAR_CurGetSubMenu(bar), own);
  std::string labels;
  for (MENU_GoFirst(own); MENU_IsOk(own); MENU_GoNext(own)) labels += std::string(MENU_CurGetLabel(own)) + "|";
  EXPECT_EQ(labels,
            "&About||&Developer Library|&Programmng Guide|&Language Reference|&User Guide|&Menu Item|&This Window|");
}

TEST_F(HelpTest, AModalWindowGetsF1ThroughItsHiddenButton) {
  WinPtr win = keep(tktest::newWin(200, 200, 300, 120, "alert"));
  gHelpManager->addModalHelp(win, "AlertWindow", nullptr);
  ASSERT_EQ(PANEL_GetNumWgts(WIN_Panel(win)), 1);
  WIN_Init(win);
  ASSERT_TRUE(tktest::showFocused(win));
  key(XK_F1);
  std::vector<std::string> runs = viewerRuns(1);
  ASSERT_EQ(runs.size(), 1u);
  EXPECT_EQ(runs[0], gSuite->docs + "/user.html#OWBWin:AlertWindow");

  // The button's end frees what it held.
  WgtPtr button = PANEL_GetNthWgt(WIN_Panel(win), 0);
  ASSERT_NE(WGT_Res(button)->ClientData, nullptr);
  PANEL_RemoveWgt(WIN_Panel(win), button);
  EXPECT_EQ(WGT_Res(button)->ClientData, nullptr);
  RES_Release(WGT_Res(button));
}

TEST_F(HelpTest, AFullPathNeedsNoToolManagerAndAMissingAnswerCostsTheWait) {
  owbtest::writeWholeFile(gSuite->home.file("own.html"), "<html></html>");
  // Nobody listens at the Tool Manager's port now.
  gToolManToolInfo.listenerPort = 1;
  auto start = std::chrono::steady_clock::now();
  gHelpManager->showHelp(gSuite->home.file("own.html").c_str(), "Part", nullptr);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(1000));
  std::vector<std::string> runs = viewerRuns(1);
  ASSERT_EQ(runs.size(), 1u);
  EXPECT_EQ(runs[0], gSuite->home.file("own.html") + "#Part");

  start = std::chrono::steady_clock::now();
  gHelpManager->showHelp("user.html", nullptr, nullptr);
  auto waited = std::chrono::steady_clock::now() - start;
  EXPECT_GE(waited, std::chrono::milliseconds(4900));
  EXPECT_LT(waited, std::chrono::milliseconds(8000));
  EXPECT_EQ(viewerRuns(2, 300).size(), 1u);  // nothing resolved, nothing run
}

TEST_F(HelpTest, ACommandLineTooLongForItsBufferIsNotRun) {
  std::string saved = gHelpManager->viewerName;
  gHelpManager->setViewerName((std::string(240, 'v') + " " + gSuite->home.path() + "/viewer").c_str());
  gHelpManager->showHelp("/tmp/x.html", "Anchor", nullptr);
  gHelpManager->setViewerName(saved.c_str());
  EXPECT_EQ(viewerRuns(1, 300).size(), 0u);

  char anchor[256];
  helpMenuAnchor(anchor, sizeof anchor, "Win", "A  long&&label & more");
  EXPECT_STREQ(anchor, "OWBMenu:Win:Alonglabelmore");
  std::string label(600, 'x');
  helpMenuAnchor(anchor, sizeof anchor, "Win", label.c_str());
  EXPECT_EQ(std::strlen(anchor), 255u);
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

namespace {

// The Tool Manager's side: the default viewer and documents, and the HGDM
// handler that hands them out.
TEST(HelpManagerOfTheToolManager, HoldsTheDefaultsAndAnswersHgdm) {
  MessageCenter* savedCenter = gMessageCenter;
  HelpManager* savedHelp = gHelpManager;
  gMessageCenter = new MessageCenter();
  gHelpManager = new HelpManager(TRUE, nullptr);
  EXPECT_STREQ(gHelpManager->viewerName, "netscape");
  ASSERT_EQ(gHelpManager->menuNames->totalElements, 4);
  EXPECT_STREQ(static_cast<StringItem*>(gHelpManager->menuNames->get(1))->string, "&Programmng Guide");
  EXPECT_STREQ(static_cast<StringItem*>(gHelpManager->docPaths->get(3))->string, "userGuide.html");
  MessageTemplate none = makeMessageTemplate({});
  gMessageCenter->registerMessageHandler(OWB_TYPE("HGDM"), &none, nullptr);
  EXPECT_EQ(gMessageCenter->lastError, -4);  // registered already, by the manager
  delete gHelpManager;
  HelpManager named(TRUE, "myviewer");
  EXPECT_STREQ(named.viewerName, "myviewer");
  delete gMessageCenter;
  gMessageCenter = savedCenter;
  gHelpManager = savedHelp;
}

}  // namespace
