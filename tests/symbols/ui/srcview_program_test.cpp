// The srcview program as a real process: its refusals, its picture, and a
// DISF from another tool reaching it through a real Tool Manager.
#include <sys/stat.h>

#include "shared/globals.h"
#include "shared/log.h"
#include "shared/messages.h"
#include "shared/tcpxport.h"
#include "shared/utils.h"
#include "symbols/ui/srcview.h"
#include "toolkit/mbar.h"
#include "toolkit/tk_fixture.h"

namespace {

using owbtest::readWholeFile;
using owbtest::startProgram;

std::string srcviewPath() { return owbtest::installTree() + "/bin/srcview"; }

// Whether done() holds within timeoutMs, looked at every periodMs.
template <class Done>
bool within(int timeoutMs, Done done, int periodMs = 10) {
  return owbtest::pumpUntil([&] { std::this_thread::sleep_for(std::chrono::milliseconds(periodMs)); }, done, timeoutMs);
}

// Whether child ends within timeoutMs; its wait status in *status.
bool endsWithin(pid_t child, int timeoutMs, int* status) {
  return within(timeoutMs, [&] { return waitpid(child, status, WNOHANG) == child; });
}

// Runs srcview to its end (at most 20 seconds); status and output.
std::pair<int, std::string> runSrcview(const std::vector<std::string>& args, const owbtest::TempDir& dir) {
  std::vector<std::string> argv{srcviewPath()};
  argv.insert(argv.end(), args.begin(), args.end());
  std::map<std::string, std::string> env{{"DISPLAY", owbtest::sharedXvfb().display()}, {"HOME", dir.path()}};
  pid_t child = startProgram(argv, dir.file("srcview.out"), &env);
  int status = 0;
  if (endsWithin(child, 20000, &status))
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, readWholeFile(dir.file("srcview.out"))};
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  return {-1, "srcview hung"};
}

TEST(SrcviewProgram, RefusesWhatItCannotShowAndPaintsWhatItCan) {
  ASSERT_TRUE(owbtest::sharedXvfb().ok());
  owbtest::TempDir dir;
  auto missing = runSrcview({dir.file("none.txt")}, dir);
  EXPECT_EQ(missing.first, 1);
  EXPECT_NE(missing.second.find("none.txt: No such file or directory"), std::string::npos) << missing.second;
  ASSERT_EQ(mkfifo(dir.file("pipe").c_str(), 0600), 0);
  auto fifo = runSrcview({dir.file("pipe")}, dir);  // refused at once, never read
  EXPECT_EQ(fifo.first, 1);
  EXPECT_NE(fifo.second.find("not a regular file"), std::string::npos);
  EXPECT_EQ(runSrcview({}, dir).first, 2);
  owbtest::writeWholeFile(dir.file("a.txt"), "one\ntwo\n");
  EXPECT_EQ(runSrcview({dir.file("a.txt"), "0"}, dir).first, 2);
  EXPECT_EQ(runSrcview({dir.file("a.txt"), "x"}, dir).first, 2);
  auto painted = runSrcview({"--png", dir.file("shot.png"), dir.file("a.txt"), "2"}, dir);
  EXPECT_EQ(painted.first, 0) << painted.second;
  EXPECT_EQ(readWholeFile(dir.file("shot.png")).substr(1, 3), "PNG");
}

// A Tool Manager in a home of its own with srcview registered with it,
// and this test process as another tool of the environment.
class WithToolManager : public tktest::ToolkitTest {
 protected:
  void SetUp() override {
    tktest::ToolkitTest::SetUp();
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    int wanted = 33000 + static_cast<int>(getpid() % 3000) * 3;
    manager_ = startProgram({toolman_, "--port", std::to_string(wanted), "--quiet"}, home_.file("toolman.out"));
    ASSERT_TRUE(within(5000, [&] { return std::atoi(readWholeFile(home_.path() + "/.owb/owbport").c_str()) > 0; }))
        << readWholeFile(home_.file("toolman.out"));
    owbtest::writeWholeFile(home_.file("first.txt"), "first\n");
    std::string lines;
    for (int i = 1; i <= 100; ++i) lines += "line " + std::to_string(i) + "\n";
    owbtest::writeWholeFile(home_.file("second.txt"), lines);
    std::map<std::string, std::string> env{{"DISPLAY", owbtest::sharedXvfb().display()},
                                           {"HOME", home_.path()},
                                           {"OWB", owbtest::installTree()}};
    viewer_ = startProgram({srcviewPath(), home_.file("first.txt")}, home_.file("srcview.out"), &env);
    ASSERT_TRUE(within(10000, [&] { return sendLine("tools").find("Source View") != std::string::npos; }, 100))
        << readWholeFile(home_.file("srcview.out"));
    forgetToolManagerPort();
    gToolName = newStringCopy("viewtest");
    openToolLog(false);
    gMessageCenter = new MessageCenter();
    gToolManToolInfo.listenerPort = getToolManagerPort();
  }

  void TearDown() override {
    cleanUpGlobals();
    gToolManToolInfo = ToolInfo{};
    forgetToolManagerPort();
    if (viewer_ > 0) {
      sendLine("quit SRCV");
      int status = -1;
      bool ended = endsWithin(viewer_, 10000, &status);
      EXPECT_TRUE(ended && WIFEXITED(status) && WEXITSTATUS(status) == 0) << readWholeFile(home_.file("srcview.out"));
      if (!ended) {
        kill(viewer_, SIGKILL);
        waitpid(viewer_, nullptr, 0);
      }
    }
    if (manager_ > 0) {
      sendLine("exit");
      waitpid(manager_, nullptr, 0);
    }
    tktest::ToolkitTest::TearDown();
  }

  std::string sendLine(const std::string& line) {
    std::string out = home_.file("send.out");
    pid_t sender = startProgram({toolman_, "--send", line}, out);
    waitpid(sender, nullptr, 0);
    return readWholeFile(out);
  }

  // Whether srcview's log says that it shows file from line within 10 s.
  bool srcviewShows(const std::string& file, long line) {
    std::string expected = "srcview shows " + file + " at line " + std::to_string(line);
    return within(10000, [&] { return readWholeFile(home_.path() + "/.owb/owblog").find(expected) != std::string::npos; });
  }

  owbtest::TempDir home_;
  owbtest::ScopedEnv homeEnv_{"HOME", home_.path()};
  std::string toolman_ = owbtest::buildDir() + "/tools/toolman";
  pid_t manager_ = -1;
  pid_t viewer_ = -1;
};

// Another tool asks the Tool Manager to show a file in the source viewer;
// the Tool Manager hands the DISF on to srcview, which opens it.  A view
// with a menu bar lists the tools that show source under "&View"; choosing
// one sends it the view's file.
TEST_F(WithToolManager, SrcviewOpensTheFilesThatADisplayMessageAndTheViewMenuName) {
  _Rect16Rec place = RECT16_Make(10, 20, 300, 200);
  SourceView::sendDisplayFileMessage(home_.file("second.txt").c_str(), false, 40, 33, true, 42, true, true,
                                     makeTypeIdent("SRCV"), &place, 0, 0);
  EXPECT_EQ(gMessageCenter->lastError, 0);
  EXPECT_TRUE(srcviewShows(home_.file("second.txt"), 40)) << readWholeFile(home_.path() + "/.owb/owblog");

  WinPtr win = keep(tktest::newWin(60, 60, 420, 300, "menu"));
  MBarPtr bar = MBAR_Create();
  MBAR_AddItem(bar, "&File");
  MenuPtr file = MENU_Create();
  MENU_AddItem(file, "&Close");
  MBAR_CurSetSubMenu(bar, file);
  RES_Release(MENU_Res(file));
  WIN_SetMenuBar(win, bar);
  RES_Release(MBAR_Res(bar));
  WgtPtr viewPort = WGT_Create();
  viewPort->ResBox = RECT16_Make(10, 40, 380, 200);
  PANEL_AddWgt(WIN_Panel(win), viewPort);
  WIN_Init(win);
  auto view = std::make_unique<SourceView>(win, viewPort, home_.file("second.txt").c_str(), 70, 0, true, 70, true,
                                           true);
  ASSERT_EQ(view->lastError, 0);
  // No "&View" in the bar: one comes at the front, with the tool.
  ASSERT_EQ(MBAR_GetNumItems(bar), 2);
  MBAR_GoFirst(bar);
  EXPECT_STREQ(MBAR_CurGetLabel(bar), "&View");
  MenuPtr viewMenu = MBAR_CurGetSubMenu(bar);
  ASSERT_NE(viewMenu, nullptr);
  MENU_GoFirst(viewMenu);
  EXPECT_STREQ(MENU_CurGetLabel(viewMenu), "In Source View");  // its tool is the one srcview hears below
  MBAR_GoNext(bar);
  EXPECT_STREQ(MBAR_CurGetLabel(bar), "&File");
  EXPECT_EQ(MBAR_CurGetSubMenu(bar), file);

  // Chosen with its accelerator, as a user would.
  MENU_CurSetAccelKey(viewMenu, EVENT_KEYNORMAL, EVENT_MODCONTROL, 'e');
  RES_SetNfyProcDS(WGT_Res(WIN_Wgt(win)),
                   [](ResPtr res, Int message, ClientPtr data) -> long {
                     long result = WIN_DefNfy(res, message, data);
                     if (message == WIN_NFYSELMENUBAR)
                       if (const ToolInfo* chosen = SourceView::handleMenuSelection(WIN_FromRes(res)))
                         static_cast<SourceView*>(res->ClientData)->sendSourceMessage(*chosen);
                     return result;
                   },
                   view.get());
  ASSERT_TRUE(tktest::showAndWait(win));
  driver_->key(XK_e, XK_Control_L);
  settle();
  ASSERT_NE(view->firstVisibleLine + 1, 40);  // not the line shown before
  EXPECT_TRUE(srcviewShows(home_.file("second.txt"), view->firstVisibleLine + 1))
      << readWholeFile(home_.path() + "/.owb/owblog");

  // A second view on the same bar finds "&View" and puts a separator first;
  // the copies go with the menu's garbage collection.
  auto second = std::make_unique<SourceView>(win, viewPort, home_.file("first.txt").c_str(), 1, 0, true, 0, false,
                                             true);
  EXPECT_EQ(MBAR_GetNumItems(bar), 2);
  EXPECT_EQ(MENU_GetNumElts(viewMenu), 3);
  EXPECT_TRUE(MENU_GetNthItem(viewMenu, 1)->IsSeparator);
  second->garbageCollectMenu();
  MENU_GoIndex(viewMenu, 2);
  EXPECT_EQ(MENU_CurGetClientData(viewMenu), nullptr);
  RES_SetNfyProcDS(WGT_Res(WIN_Wgt(win)), WIN_DefNfy, nullptr);  // before the views go
}

}  // namespace
