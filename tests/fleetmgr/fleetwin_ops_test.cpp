// The windows with real fleet processes: a fleet made by the tool, started
// from the run dialog, looked at in the status window, one process killed
// and started again from its row, and the whole fleet stopped from the kill
// dialog.  The engines run under the installation's bgterm, without a
// terminal window.

#include "fleet/ops_support.h"
#include "fleetmgr/fleetdlg.h"
#include "fleetmgr/fleetwin_support.h"

namespace {

using fmtest::WindowTest;
using fmtest::seenAlerts;

typedef std::vector<std::string> Row;

class FleetWindowsWithProcesses : public WindowTest {
 protected:
  void SetUp() override {
    WindowTest::SetUp();
    std::string settings = std::string(getenv("HOME")) + "/.owb";
    mkdir(settings.c_str(), 0777);
    owbtest::writeWholeFile(settings + "/xterm_settings", owbtest::installTree() + "/bin/bgterm\n-sb\n");
  }
  void TearDown() override {
    opstest::killPidFileGroups(root.path());
    WindowTest::TearDown();
  }
  // Selects the row of a process by a click on its name.
  void clickProcess(LBoxPtr lbox, const std::string& name) {
    for (Int row = 1; row <= LBOX_GetUsedRows(lbox); row++)
      if (cellText(lbox, 2, row) == name) return clickCell(lbox, 2, row);
    ADD_FAILURE() << "no row for " << name;
  }
  static std::string statusOf(LBoxPtr lbox, const std::string& name) {
    for (const Row& row : statusRows(lbox))
      if (row[1] == name) return row[2];
    return "";
  }

  opstest::ChildReaper reaper;
  owbtest::ScopedEnv startDelay{"OWB_START_DELAY", std::string("0.2")};
  owbtest::ScopedEnv stopPatience{"OWB_STOP_PATIENCE", std::string("10")};
};

TEST_F(FleetWindowsWithProcesses, RunDialogStartsStatusWindowShowsAndKillsAndKillDialogStops) {
  long basePort = opstest::freeBasePort(8);
  ASSERT_GT(basePort, 0);
  FleetObject* fleet = makeToolFleet("yard", basePort);
  ASSERT_NE(fleet, nullptr);
  std::string dir = fleet->fleetPath;

  // The run dialog, as the template has it: the whole fleet, warm.
  createRunFleetOptions();
  WinPtr run = waitForWindow("Run Fleet");
  ASSERT_NE(run, nullptr);
  seenAlerts().clear();
  click(child(run, 4));
  EXPECT_TRUE(seenAlerts().empty()) << testing::PrintToString(output.everything());  // a good run says nothing
  EXPECT_EQ(openWindow("Run Fleet"), nullptr);

  ASSERT_EQ(fleet->doPsFleetCmd(), kNoError);
  fleet->createFleetStatusWindow();
  WinPtr status = waitForWindow("Fleet Status: " + dir);
  ASSERT_NE(status, nullptr);
  LBoxPtr lbox = statusList(status);
  ASSERT_GE(statusRows(lbox).size(), 3u);  // the engines and the place monitor
  EXPECT_EQ(statusOf(lbox, "eng1"), "Up");
  EXPECT_EQ(statusOf(lbox, "eng2"), "Up");

  // Kill one engine from its row, then start it again from the same row
  // (a single process is found only as the first engine or one of its
  // external processes: eng1 here).
  clickProcess(lbox, "eng1");
  ASSERT_TRUE(enabled(status, 2));
  click(child(status, 2));
  EXPECT_EQ(statusOf(lbox, "eng1"), "Down");
  EXPECT_EQ(statusOf(lbox, "eng2"), "Up");
  EXPECT_FALSE(enabled(status, 2));  // the rows were rebuilt: nothing selected
  EXPECT_FALSE(enabled(status, 3));
  clickProcess(lbox, "eng1");
  ASSERT_TRUE(enabled(status, 3));
  click(child(status, 3));
  // The process writes its pid file once it is up: the update button
  // shows it then.
  for (int i = 0; i < 50 && statusOf(lbox, "eng1") != "Up"; i++) {
    usleep(100000);
    click(child(status, 0));
  }
  EXPECT_EQ(statusOf(lbox, "eng1"), "Up");

  // The kill dialog stops everything and says so.
  createKillFleetOptions();
  WinPtr kill = waitForWindow("Kill Fleet");
  ASSERT_NE(kill, nullptr);
  seenAlerts().clear();
  click(child(kill, 4));
  ASSERT_FALSE(seenAlerts().empty());
  EXPECT_EQ(fmtest::alertTexts().back(), "Kill Fleet: Fleet successfully killed");
  click(child(status, 0));  // update
  for (const Row& row : statusRows(lbox)) EXPECT_EQ(row[2], "Down") << row[1];
}

}  // namespace
