// The window bookkeeping against a real Tool Manager: places handed out
// and given back, the Tool Manager's SHOW, HIDE and CWIN, active viewers.
#include "shared/ui/windman.h"

#include "tests/shared/ui/ui_fixture.h"

namespace {

constexpr TypeIdent kTestWindow = OWB_TYPE("TSTW");

class WindowManagerTest : public uitest::ToolmanFixture {
 protected:
  WinPtr openWindow(const char* label, int x = 40, int y = 40) {
    WinPtr win = keep(tktest::newWin(x, y, 220, 120, label));
    WIN_Init(win);
    return win;
  }
};

TEST_F(WindowManagerTest, APlaceGivenBackIsHandedToTheNextWindowOfItsType) {
  WinPtr first = openWindow("first");
  ToolWindowRecPtr rec = gWindowManager->addWindowRec(kTestWindow, first, nullptr, nullptr);
  ASSERT_NE(rec, nullptr);
  EXPECT_EQ(gWindowManager->firstWindow, rec);
  EXPECT_GT(rec->uniqueID, 0);
  long id = rec->uniqueID;
  // No place was known: the window keeps the one it has.
  EXPECT_EQ(40, WIN_Wgt(first)->Box.Origin.X);
  ASSERT_TRUE(tktest::showAndWait(first));

  _Rect16Rec moved = RECT16_Make(123, 77, 210, 110);
  WIN_SetBox(first, moved);
  ASSERT_TRUE(tktest::runUntil([&] { return RECT16_Equal(WIN_Wgt(first)->Box, moved); }));
  delete gWindowManager->removeWindowRec(first);
  EXPECT_EQ(nullptr, gWindowManager->firstWindow);
  ASSERT_TRUE(waitForReceived("UWIN", 1));
  EXPECT_NE(std::string::npos, received("UWIN")[0].find("rect 123,77,210,110")) << received("UWIN")[0];

  WinPtr second = openWindow("second");
  rec = gWindowManager->addWindowRec(kTestWindow, second, nullptr, nullptr);
  EXPECT_EQ(id, rec->uniqueID);
  EXPECT_TRUE(RECT16_Equal(moved, rec->windowRect));
  EXPECT_TRUE(RECT16_Equal(moved, WIN_Wgt(second)->Box));

  // An unknown window is no error of the list and sends nothing.
  EXPECT_EQ(nullptr, gWindowManager->removeWindowRec(first));
  EXPECT_EQ(kWindowNotFound, gWindowManager->lastError);
  delete gWindowManager->removeWindowRec(second);
  ASSERT_TRUE(waitForReceived("UWIN", 2));
  serve(5);
  EXPECT_EQ(2u, received("UWIN").size());
}

// Owners remove their record when their window ends; closing the first of
// these windows also closes the second, so records vanish under the walk.
struct Closing {
  WinPtr partner = nullptr;
  int terminated = 0;
};

long closeWithPartner(ResPtr res, Int message, ClientPtr data) {
  Closing* closing = static_cast<Closing*>(res->ClientData);
  if (message == WIN_NFYTERMINATE) {
    closing->terminated++;
    WinPtr win = WIN_FromRes(res);
    delete gWindowManager->removeWindowRec(win);
    if (closing->partner && gWindowManager->getWindowRec(closing->partner)) {
      WinPtr partner = closing->partner;
      closing->partner = nullptr;
      WIN_TerminateGetStatus(partner);
    }
  }
  return WIN_DefNfy(res, message, data);
}

TEST_F(WindowManagerTest, ToolManagerHidesShowsAndClosesAllWindows) {
  WinPtr a = openWindow("a", 30, 30);
  WinPtr b = openWindow("b", 300, 30);
  Closing forA, forB;
  RES_SetNfyProcDS(WGT_Res(WIN_Wgt(a)), closeWithPartner, &forA);
  RES_SetNfyProcDS(WGT_Res(WIN_Wgt(b)), closeWithPartner, &forB);
  gWindowManager->addWindowRec(kTestWindow, a, nullptr, nullptr);
  gWindowManager->addWindowRec(kTestWindow, b, nullptr, nullptr);
  ASSERT_TRUE(tktest::showAndWait(a));
  ASSERT_TRUE(tktest::showAndWait(b));

  for (auto [command, state] : {std::pair{"hide uitest", WIN_STATEICONIFIED}, {"show uitest", WIN_STATEOPEN}}) {
    ASSERT_EQ(0, send({command}));
    serve(3);
    for (WinPtr w : {a, b}) EXPECT_EQ(state, WIN_GetState(w)) << command;
  }

  // b is the head: closing it closes a as well, whose record the walk
  // then finds gone.
  forB.partner = a;
  ASSERT_EQ(0, send({"cwin uitest"}));
  serve(3);
  EXPECT_EQ(1, forA.terminated);
  EXPECT_EQ(1, forB.terminated);
  for (WinPtr w : {a, b}) EXPECT_EQ(WIN_STATETERMINATED, WIN_GetState(w));
  EXPECT_EQ(nullptr, gWindowManager->firstWindow);
  EXPECT_TRUE(waitForReceived("UWIN", 2));
}

// The viewer callbacks: window and whether it became active.
std::vector<std::pair<WinPtr, bool>> gViewerCalls;

void noteViewer(WinPtr win, TButPtr, Boolean active) { gViewerCalls.push_back({win, active != 0}); }

TEST_F(WindowManagerTest, OneActiveViewerPerTypeAndSourceViewersTellTheToolManager) {
  gViewerCalls.clear();
  TButPtr button = TBUT_Create();
  WinPtr v1 = openWindow("viewer 1");
  WinPtr v2 = openWindow("viewer 2");
  gWindowManager->addWindowRec(kSourceViewerWindowType, v1, button, noteViewer);
  EXPECT_EQ(gWindowManager->getWindowRec(v1), gWindowManager->getActiveViewer(kSourceViewerWindowType));
  gWindowManager->addWindowRec(kSourceViewerWindowType, v2, button, noteViewer);
  EXPECT_EQ(gWindowManager->getWindowRec(v2), gWindowManager->getActiveViewer(kSourceViewerWindowType));
  EXPECT_FALSE(gWindowManager->getWindowRec(v1)->activeViewer);
  // The second addition told both windows of their state.
  ASSERT_GE(gViewerCalls.size(), 3u);
  EXPECT_TRUE(gViewerCalls.back().second || gViewerCalls[gViewerCalls.size() - 2].second);
  EXPECT_TRUE(waitForReceived("ASRC", 2));

  // Deactivating sends DSRC even for a window that was not active, and
  // tells no callback.
  size_t calls = gViewerCalls.size();
  gWindowManager->setActiveViewer(v1, FALSE);
  EXPECT_EQ(calls, gViewerCalls.size());
  EXPECT_TRUE(waitForReceived("DSRC", 1));

  // The Tool Manager's DSRC makes the active one inactive, without an answer.
  Message dsrc(OWB_TYPE("DSRC"), &gMessageCenter->thisToolInfo);
  EXPECT_EQ(kNoError, WindowManager::deactivateSourceViewerMsg(&dsrc, nullptr));
  EXPECT_FALSE(gWindowManager->getWindowRec(v2)->activeViewer);
  EXPECT_EQ(v2, gViewerCalls.back().first);
  EXPECT_FALSE(gViewerCalls.back().second);
  EXPECT_EQ(nullptr, gWindowManager->getActiveViewer(kSourceViewerWindowType));
  EXPECT_EQ(kWindowNotFound, gWindowManager->lastError);
  EXPECT_TRUE(gWindowManager->windowTypeExists(kSourceViewerWindowType));
  EXPECT_FALSE(gWindowManager->windowTypeExists(kTestWindow));

  // A newest window without a tool button switches the bookkeeping off.
  WinPtr plain = openWindow("plain");
  gWindowManager->addWindowRec(kSourceViewerWindowType, plain, nullptr, noteViewer);
  EXPECT_FALSE(gWindowManager->getWindowRec(plain)->activeViewer);
  gWindowManager->setActiveViewer(v1, TRUE);
  EXPECT_FALSE(gWindowManager->getWindowRec(v1)->activeViewer);

  for (WinPtr w : {plain, v2, v1}) delete gWindowManager->removeWindowRec(w);
  RES_Release(WGT_Res(TBUT_Wgt(button)));
}

}  // namespace
