// The fleet status window on the X server: its rows from a status list,
// the run and kill buttons following the selected row, a refresh with
// fewer rows freeing the rows' buffers, one window per fleet, and the
// views of a process's output opened from its row.

#include <ctime>

#include "fleetmgr/fleetwin_support.h"
#include "fleetmgr/fltstatout.h"
#include "toolkit/autom.h"

namespace {

using fmtest::seenAlerts;
using fmtest::WindowTest;

fleetProcessInfo* record(const char* label, int type, bool running, const char* command, pid_t pid, time_t start,
                         long debuggerPort = 0) {
  auto* p = static_cast<fleetProcessInfo*>(std::calloc(1, sizeof(fleetProcessInfo)));
  std::snprintf(p->processLabel, sizeof p->processLabel, "%s", label);
  p->processType = type;
  p->isRunning = running ? 1 : 0;
  p->commandLine = command ? strdup(command) : nullptr;
  p->processID = pid;
  p->startTime = start;
  p->moreData.engData.debuggerPort = debuggerPort;
  p->moreData.engData.udpPort = debuggerPort ? debuggerPort + 1 : 0;
  p->moreData.engData.tcpPort = debuggerPort ? debuggerPort + 2 : 0;
  return p;
}

fleetProcessInfo* chain(std::vector<fleetProcessInfo*> records) {
  for (size_t i = 0; i + 1 < records.size(); i++) records[i]->next = records[i + 1];
  return records.empty() ? nullptr : records.front();
}

typedef std::vector<std::string> Row;

class StatusWindowTest : public WindowTest {
 protected:
  FleetObject* fleetWith(fleetProcessInfo* status) {
    FleetObject* fleet = gFleetMgr->addFleet(root.file("yard").c_str(), nullptr);
    fleet->fleetStatus = status;
    return fleet;
  }
  void clickRow(LBoxPtr lbox, Int row) { clickCell(lbox, 2, row); }
};

TEST_F(StatusWindowTest, RowsShowTheProcessesAndTheButtonsFollowTheSelectedRow) {
  const time_t started = 1700000000;
  FleetObject* fleet = fleetWith(chain({record("eng1", kEngineProcess, true, "bin/eng -d1", 4242, started, 7000),
                                        record("placemon", kExternalProcess, false, "placemon -v", 4343, 0),
                                        record("old", kFossilProcess, false, nullptr, 0, 0)}));
  fleet->createFleetStatusWindow();
  WinPtr win = waitForWindow("Fleet Status: " + root.file("yard"));
  ASSERT_NE(win, nullptr);
  ASSERT_EQ(fleet->fleetStatusWindow, win);
  LBoxPtr lbox = statusList(win);
  EXPECT_EQ(cellText(lbox, 1, 0), "Type");  // the headings' row
  EXPECT_EQ(cellText(lbox, kFleetStatusColumns, 0), "TCP Port");
  // Not running: pid 0; no start time: no date; not an engine: no ports.
  EXPECT_EQ(statusRows(lbox),
            (std::vector<Row>{{"Engine", "eng1", "Up", "bin/eng -d1", std::ctime(&started), "4242", "7000", "7001",
                               "7002"},
                              {"External Process", "placemon", "Down", "placemon -v", "", "0", "", "", ""},
                              {"Fossil", "old", "Down", "", "", "0", "", "", ""}}));

  // The first row is selected at the opening: an Up row can be killed.
  EXPECT_TRUE(enabled(win, 2));
  EXPECT_FALSE(enabled(win, 3));
  EXPECT_FALSE(WGT_IsVisible(child(win, 5)));
  EXPECT_FALSE(WGT_IsEnabled(child(win, 6)));

  clickRow(lbox, 2);  // Down: run, not kill
  EXPECT_FALSE(enabled(win, 2));
  EXPECT_TRUE(enabled(win, 3));
  LBOX_GoColRow(lbox, 1, 2);
  EXPECT_TRUE(LBOX_IsCurSelected(lbox));
  LBOX_GoColRow(lbox, 1, 1);
  EXPECT_FALSE(LBOX_IsCurSelected(lbox));

  // The keyboard moves the selection as a click does.
  driver_->key(XK_Up);
  settle();
  EXPECT_TRUE(enabled(win, 2));
  EXPECT_FALSE(enabled(win, 3));

  // A second "Fleet Status" refreshes the same window, with fewer rows:
  // the old rows' buffers are freed (the sanitizer build checks).
  freeFleetProcessInfo(&fleet->fleetStatus);
  fleet->fleetStatus = chain({record("eng1", kEngineProcess, false, "bin/eng -d1", 0, 0, 7000)});
  fleet->createFleetStatusWindow();
  settle();
  EXPECT_EQ(fleet->fleetStatusWindow, win);
  EXPECT_EQ(statusRows(lbox),
            (std::vector<Row>{{"Engine", "eng1", "Down", "bin/eng -d1", "", "0", "7000", "7001", "7002"}}));
  EXPECT_TRUE(enabled(win, 3));

  // No processes: the headings alone, and neither button.
  freeFleetProcessInfo(&fleet->fleetStatus);
  fleet->createFleetStatusWindow();
  settle();
  EXPECT_EQ(LBOX_GetUsedRows(lbox), 0);
  EXPECT_FALSE(enabled(win, 2));
  EXPECT_FALSE(enabled(win, 3));

  // A fleet deleted with its window open ends the window.
  gFleetMgr->deleteFleet(fleet->fleetFileName);
  settle();
  EXPECT_EQ(openWindow("Fleet Status: " + root.file("yard")), nullptr);
}

// A double click or Return on a row opens one view of the process's
// output, showing its text; asking again raises it; a process without
// output gets an alert and no window; a view closed by the user is
// forgotten, and the views end with the status window.
TEST_F(StatusWindowTest, ARowOpensOneViewOfItsProcessOutputThatEndsWithTheWindow) {
  FleetObject* fleet = fleetWith(chain({record("eng1", kEngineProcess, true, "bin/eng -d1", 4242, 0, 7000),
                                        record("placemon", kExternalProcess, false, "placemon -v", 0, 0)}));
  const std::string dir = root.file("yard");
  mkdir(dir.c_str(), 0777);
  owbtest::writeWholeFile(dir + "/eng1.out", "eng eng1: warm boot 1\n\tready\n");
  fleet->createFleetStatusWindow();
  WinPtr status = waitForWindow("Fleet Status: " + dir);
  ASSERT_NE(status, nullptr);
  LBoxPtr lbox = statusList(status);
  const std::string title = "Output of eng1: " + dir;
  clickRow(lbox, 1);
  clickRow(lbox, 1);
  WinPtr view = waitForWindow(title);
  ASSERT_NE(view, nullptr);
  EXPECT_EQ(processOutputViewCount(), 1);
  AUTOM_SetOn(1);
  const std::string shown = AUTOM_Describe(view);
  AUTOM_SetOn(0);
  EXPECT_NE(shown.find("eng eng1: warm boot 1\\n    ready"), std::string::npos) << shown;

  // Return on the same row, from the status window: the same view, in front.
  WIN_PopToFront(status);
  settle();
  clickRow(lbox, 1);
  driver_->key(XK_Return);
  settle();
  EXPECT_EQ(processOutputViewCount(), 1);
  EXPECT_EQ(openWindow(title), view);
  EXPECT_EQ(WIN_GetTopWin(), view);

  // No output yet: said so, nothing opened.
  WIN_PopToFront(status);
  settle();
  clickRow(lbox, 2);
  driver_->key(XK_Return);
  settle();
  ASSERT_EQ(seenAlerts().size(), 1u);
  EXPECT_EQ(seenAlerts()[0].title, "Cannot Show Output");
  EXPECT_NE(seenAlerts()[0].text.find(dir + "/placemon.out"), std::string::npos) << seenAlerts()[0].text;
  EXPECT_EQ(processOutputViewCount(), 1);

  // Closed by the user (Ctrl+W in the view): forgotten; a new one opens.
  WIN_PopToFront(view);
  settle();
  driver_->key(XK_w, XK_Control_L);
  settle();
  EXPECT_EQ(openWindow(title), nullptr);
  EXPECT_EQ(processOutputViewCount(), 0);
  WIN_PopToFront(status);
  settle();
  clickRow(lbox, 1);
  clickRow(lbox, 1);
  ASSERT_NE(waitForWindow(title), nullptr);

  click(child(status, 1));  // close: the fleet forgets the window
  EXPECT_EQ(fleet->fleetStatusWindow, nullptr);
  EXPECT_EQ(processOutputViewCount(), 0);
  EXPECT_EQ(openWindow(title), nullptr);
}

}  // namespace
