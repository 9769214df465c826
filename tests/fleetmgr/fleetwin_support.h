// The world of the tests of the Fleet Manager's windows: the in-process
// tool of fleetmgr_support.h, plus the toolkit started on the shared Xvfb
// as the tool starts it, the tool's templates and icon loaded, the shared
// drawing objects set, and an XTest driver to press the windows' buttons.
// Every window still open at the end of a test is closed.
#ifndef OWB_TESTS_FLEETMGR_FLEETWIN_SUPPORT_H
#define OWB_TESTS_FLEETMGR_FLEETWIN_SUPPORT_H

#include "fleetmgr/fleetmgr_support.h"
#include "fleetmgr/fleetops.h"
#include "fleetmgr/fltstat.h"
#include "fleetmgr/toolwindows.h"
#include "toolkit/lbox.h"
#include "tests/toolkit/tk_fixture.h"

namespace fmtest {

class WindowTest : public ToolTest {
 protected:
  void SetUp() override {
    ToolTest::SetUp();
    ASSERT_TRUE(startToolWindows()) << "no X server or no templates: " << DSPLY_GetLastError();
    driver_ = std::make_unique<owbtest::XTestDriver>(owbtest::sharedXvfb().display());
    ASSERT_TRUE(driver_->ok());
  }
  void TearDown() override {
    // The fleets' own windows end with their fleets; the dialogs here.
    for (Int n = WIN_GetNumOpen(); n > 0; n--)
      if (WinPtr win = WIN_GetNthOpen(n - 1)) WIN_TerminateGetStatus(win);
    settle();
    ToolTest::TearDown();
    settle();
  }

  // Runs the loop until nothing has come for a moment.
  static void settle(int quietMs = 60) { tktest::settle(quietMs, 5000); }

  // The open window with that title, or null.
  static WinPtr openWindow(const std::string& title) {
    for (Int n = 0; n < WIN_GetNumOpen(); n++) {
      WinPtr win = WIN_GetNthOpen(n);
      if (win && WIN_GetLabel(win) && title == WIN_GetLabel(win)) return win;
    }
    return nullptr;
  }
  // Waits until the window of that title is open and drawn.
  WinPtr waitForWindow(const std::string& title) {
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    WinPtr win = nullptr;
    while (!(win = openWindow(title)) && std::chrono::steady_clock::now() < deadline) settle(20);
    settle();
    return win;
  }

  static WgtPtr child(WinPtr win, Int index) {
    ResPtr res = RES_GetNthChild(reinterpret_cast<ResPtr>(win), index);
    return res ? WGT_FromRes(res) : nullptr;
  }
  static bool isOn(WinPtr win, Int index) { return TBUT_GetSelected(TBUT_FromWgt(child(win, index))); }
  static bool enabled(WinPtr win, Int index) { return WGT_IsEnabled(child(win, index)); }

  // A real click in the middle of a widget, then the loop until quiet.
  void click(WgtPtr wgt) {
    ASSERT_NE(wgt, nullptr);
    clickAt(wgt, wgt->Box.Extent.X / 2, wgt->Box.Extent.Y / 2);
  }
  // A click at a point of a widget.
  void clickAt(WgtPtr wgt, int x, int y) { tktest::clickAt(driver_.get(), wgt, x, y); }
  // A click in the middle of a list's cell (rows from 1).
  void clickCell(LBoxPtr list, Int col, Int row) {
    LBOX_GoColRow(list, col, row);
    _Rect16Rec rect, clip;
    LBOX_CurQueryRects(list, &rect, &clip);
    clickAt(LBOX_Wgt(list), rect.Origin.X + rect.Extent.X / 2, rect.Origin.Y + rect.Extent.Y / 2);
  }
  // The text of a list's cell, "" when it has none.
  static std::string cellText(LBoxPtr list, Int col, Int row) {
    LBOX_GoColRow(list, col, row);
    const char* text = static_cast<const char*>(LBOX_CurGetClientData(list));
    return text ? text : "";
  }

  // The list of a fleet status window, and its rows' nine texts each.
  static LBoxPtr statusList(WinPtr win) { return reinterpret_cast<LBoxPtr>(child(win, 4)); }
  static std::vector<std::vector<std::string>> statusRows(LBoxPtr list) {
    std::vector<std::vector<std::string>> rows(static_cast<size_t>(LBOX_GetUsedRows(list)));
    for (size_t row = 0; row < rows.size(); row++)
      for (Int col = 1; col <= kFleetStatusColumns; col++) rows[row].push_back(cellText(list, col, Int(row + 1)));
    return rows;
  }

  // A fleet of two engines (eng1, eng2) on the installation's engine place
  // made by the tool as the settings window makes it; null on failure.
  FleetObject* makeToolFleet(const std::string& name, long basePort) {
    toolman->answerProjectPath(std::vector<std::string>{root.file("fleets.prj")});
    FleetObject* fleet = gFleetMgr->addFleet(root.file(name).c_str(), nullptr);
    fleet->fleetFile->basePort = basePort;
    fleet->addEngine("eng2");
    for (long i = 0; i < 2; ++i)
      std::snprintf(static_cast<EngineObject*>(fleet->engineList.get(i))->engConfig->enginePlaceConfig,
                    sizeof(fileNameType), "%s/lib/engplace.cfg", owbtest::installTree().c_str());
    MakeFleetArgs make;
    std::snprintf(make.fleetDefn.engineOptions, sizeof make.fleetDefn.engineOptions, "-d1");
    return fleet->doMakeFleetCmd(&make) == kNoError ? fleet : nullptr;
  }

  std::unique_ptr<owbtest::XTestDriver> driver_;
};

}  // namespace fmtest

#endif  // OWB_TESTS_FLEETMGR_FLEETWIN_SUPPORT_H
