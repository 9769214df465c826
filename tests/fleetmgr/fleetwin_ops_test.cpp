// The windows with real fleet processes: a fleet made by the tool, started
// from the run dialog, looked at in the status window (whose rows are what
// `fleetctl status --json` says of the same fleet), one process killed and
// started again from its row, and the whole fleet stopped from the kill
// dialog.  The engines run under the installation's bgterm, without a
// terminal window.
#include <gtest/gtest.h>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <ctime>
#include <regex>
#include <string>
#include <vector>

#include "fleet/ops_support.h"
#include "fleetmgr/fleetdlg.h"
#include "fleetmgr/fleetops.h"
#include "fleetmgr/fleetwin_support.h"
#include "fleetmgr/fltstat.h"

namespace {

using fmtest::WindowTest;
using fmtest::seenAlerts;

typedef std::vector<std::string> Row;

// What `fleetctl status DIR --json` says, one row of the list's nine texts
// per process.
std::vector<Row> fleetctlRows(opstest::ChildReaper& reaper, const std::string& dir, const std::string& workDir) {
  std::string program = owbtest::installTree() + "/bin/fleetctl";
  std::string out = workDir + "/status.json";
  pid_t child = fork();
  if (child == 0) {
    int fd = open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    dup2(fd, 1);
    execl(program.c_str(), program.c_str(), "status", dir.c_str(), "--json", static_cast<char*>(nullptr));
    _exit(127);
  }
  EXPECT_EQ(reaper.waitFor(child, 60), 0);
  std::string json = owbtest::readWholeFile(out);
  std::regex object(
      "\\{\"type\": \"([^\"]*)\", \"name\": \"([^\"]*)\", \"status\": \"([^\"]*)\", \"commandLine\": "
      "(null|\"((?:[^\"\\\\]|\\\\.)*)\"), \"started\": (\\d+), \"pid\": (\\d+), \"debuggerPort\": (\\w+), "
      "\"udpPort\": (\\w+), \"tcpPort\": (\\w+)\\}");
  std::vector<Row> rows;
  for (std::sregex_iterator it(json.begin(), json.end(), object), end; it != end; ++it) {
    const std::smatch& m = *it;
    time_t started = std::stol(m[6]);
    auto port = [](const std::string& text) { return text == "null" ? std::string() : text; };
    rows.push_back({m[1], m[2], m[3], m[5], started ? std::ctime(&started) : "", m[7], port(m[8]), port(m[9]),
                    port(m[10])});
  }
  return rows;
}

std::vector<Row> listRows(LBoxPtr lbox) {
  std::vector<Row> rows;
  for (Int row = 1; row <= LBOX_GetUsedRows(lbox); row++) {
    Row texts;
    for (Int col = 1; col <= kFleetStatusColumns; col++) {
      LBOX_GoColRow(lbox, col, row);
      const char* text = static_cast<const char*>(LBOX_CurGetClientData(lbox));
      texts.push_back(text ? text : "");
    }
    rows.push_back(texts);
  }
  return rows;
}

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
  static LBoxPtr listOf(WinPtr win) { return reinterpret_cast<LBoxPtr>(child(win, 4)); }
  // Selects the row of a process by a click on its name.
  void clickProcess(LBoxPtr lbox, const std::string& name) {
    for (Int row = 1; row <= LBOX_GetUsedRows(lbox); row++) {
      LBOX_GoColRow(lbox, 2, row);
      const char* text = static_cast<const char*>(LBOX_CurGetClientData(lbox));
      if (!text || name != text) continue;
      _Rect16Rec rect, clip;
      LBOX_CurQueryRects(lbox, &rect, &clip);
      clickAt(LBOX_Wgt(lbox), rect.Origin.X + 8, rect.Origin.Y + rect.Extent.Y / 2);
      return;
    }
    ADD_FAILURE() << "no row for " << name;
  }
  static std::string statusOf(LBoxPtr lbox, const std::string& name) {
    for (const Row& row : listRows(lbox))
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
  LBoxPtr lbox = listOf(status);
  std::vector<Row> rows = listRows(lbox);
  ASSERT_GE(rows.size(), 2u);
  EXPECT_EQ(rows, fleetctlRows(reaper, dir, root.path()));
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
  EXPECT_EQ(listRows(lbox), fleetctlRows(reaper, dir, root.path()));

  // The kill dialog stops everything and says so.
  createKillFleetOptions();
  WinPtr kill = waitForWindow("Kill Fleet");
  ASSERT_NE(kill, nullptr);
  seenAlerts().clear();
  click(child(kill, 4));
  ASSERT_FALSE(seenAlerts().empty());
  EXPECT_EQ(seenAlerts().back().text, "Fleet successfully killed");
  EXPECT_EQ(seenAlerts().back().title, "Kill Fleet");
  click(child(status, 0));  // update
  for (const Row& row : listRows(lbox)) EXPECT_EQ(row[2], "Down") << row[1];
}

}  // namespace
