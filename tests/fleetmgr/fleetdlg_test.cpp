// The run, kill, backup and restore dialogs on the X server, pressed with
// real clicks: which toggles exclude which, what reaches the operation,
// the cases that do nothing, the alerts, and the dialogs acting on the
// fleet that is current when the button is pressed.

#include "fleetmgr/fleetdlg.h"
#include "fleetmgr/fleetwin_support.h"

namespace {

using fmtest::SeenAlert;
using fmtest::WindowTest;
using fmtest::seenAlerts;
typedef std::vector<std::pair<std::string, std::string>> Notes;

class DialogTest : public WindowTest {
 protected:
  // The "Processes to kill" note of the kill that ran, or "" when none ran.
  std::string killedProcesses() const {
    for (const auto& note : output.notes)
      if (note.first == "Processes to kill") return note.second;
    return "";
  }
};

TEST_F(DialogTest, KillDialogKillsEverythingByDefaultAndNothingWithoutAChoice) {
  gFleetMgr->addFleet(root.file("yard").c_str(), nullptr);  // current; not on disk, so a kill fails
  createKillFleetOptions();
  WinPtr win = waitForWindow("Kill Fleet");
  ASSERT_NE(win, nullptr);
  EXPECT_TRUE(isOn(win, 0));
  EXPECT_TRUE(isOn(win, 1));
  EXPECT_FALSE(isOn(win, 2));
  EXPECT_FALSE(enabled(win, 3));  // a named process only without a group

  // From the keyboard: Escape is the cancel button, Return the kill.
  driver_->key(XK_Escape);
  settle();
  EXPECT_EQ(openWindow("Kill Fleet"), nullptr);
  EXPECT_TRUE(output.notes.empty());
  createKillFleetOptions();
  ASSERT_NE(waitForWindow("Kill Fleet"), nullptr);
  driver_->key(XK_Return);
  settle();
  EXPECT_EQ(killedProcesses(), "all Wandercode engines and all external processes");
  EXPECT_TRUE(seenAlerts().empty() || seenAlerts().back().text != "Fleet successfully killed");
  EXPECT_EQ(openWindow("Kill Fleet"), nullptr);

  // Engines alone; externals alone with clean-up; nothing chosen: nothing runs.
  struct Case {
    bool externals, engines, cleanup;
    std::string expected;
  } cases[] = {{false, true, false, "all Wandercode engines"},
               {true, false, true, "all external processes"},
               {false, false, false, ""}};
  for (const Case& c : cases) {
    output.clear();
    createKillFleetOptions();
    ASSERT_NE(win = waitForWindow("Kill Fleet"), nullptr);
    if (!c.externals) click(child(win, 0));
    if (!c.engines) click(child(win, 1));
    if (c.cleanup) click(child(win, 2));
    EXPECT_EQ(enabled(win, 3), !c.externals && !c.engines);
    click(child(win, 4));
    EXPECT_EQ(killedProcesses(), c.expected);
    EXPECT_EQ(openWindow("Kill Fleet"), nullptr);
  }
}

TEST_F(DialogTest, RunDialogTogglesExcludeEachOtherAndAFailedRunSaysSo) {
  owbtest::ScopedEnv noDisplay("DISPLAY", std::nullopt);  // the run fails at once
  gFleetMgr->addFleet(root.file("yard").c_str(), nullptr);
  createRunFleetOptions();
  WinPtr win = waitForWindow("Run Fleet");
  ASSERT_NE(win, nullptr);
  for (Int i = 0; i < 4; i++) EXPECT_TRUE(enabled(win, i)) << i;

  click(child(win, 1));  // kill running: no externals alone, no single process
  EXPECT_FALSE(enabled(win, 0));
  EXPECT_FALSE(enabled(win, 3));
  click(child(win, 2));  // and cold boot
  click(child(win, 1));  // cold boot still on
  EXPECT_FALSE(enabled(win, 0));
  click(child(win, 2));
  EXPECT_TRUE(enabled(win, 0));
  EXPECT_TRUE(enabled(win, 3));

  click(child(win, 0));  // externals alone: neither kill, cold boot nor a process
  EXPECT_FALSE(enabled(win, 1));
  EXPECT_FALSE(enabled(win, 2));
  EXPECT_FALSE(enabled(win, 3));

  seenAlerts().clear();
  click(child(win, 4));
  EXPECT_EQ(openWindow("Run Fleet"), nullptr);
  ASSERT_FALSE(seenAlerts().empty());
  EXPECT_EQ(fmtest::alertTexts().back(), "Run Fleet: Could not start fleet");
  EXPECT_EQ(seenAlerts().back().type, 2);
  EXPECT_EQ(output.notes.at(1), (std::pair<std::string, std::string>{"Engine boot type",
                                                                     "warm boot engines where possible"}));
  EXPECT_EQ(output.notes.at(2), (std::pair<std::string, std::string>{"Boot type", "externals-only"}));
}

TEST_F(DialogTest, BackupAndRestoreUseTheTagAndActOnTheFleetCurrentAtThePress) {
  FleetObject* fleet = makeToolFleet("yard", 6000);
  ASSERT_NE(fleet, nullptr);
  std::string dir = fleet->fleetPath;
  std::string file = fleet->fleetFileName;

  createBackupOptions(file.c_str());
  WinPtr win = waitForWindow("Backup " + dir);
  ASSERT_NE(win, nullptr);
  seenAlerts().clear();
  click(child(win, 1));
  EXPECT_EQ(openWindow("Backup " + dir), nullptr);
  EXPECT_EQ(fmtest::alertTexts(), std::vector<std::string>{"Backup Fleet: Fleet backed up to " + dir + "/backup"})
      << testing::PrintToString(output.everything());
  EXPECT_EQ(seenAlerts().at(0).type, 3);
  EXPECT_EQ(access((dir + "/backup/yard.flt").c_str(), F_OK), 0);

  createRestoreOptions(file.c_str());
  ASSERT_NE(win = waitForWindow("Restore Fleet"), nullptr);
  seenAlerts().clear();
  click(child(win, 1));
  EXPECT_EQ(fmtest::alertTexts(), std::vector<std::string>{"Restore Fleet: Fleet restored from " + dir + "/backup"});

  // The cancel button closes without a word; a dialog whose fleet is no
  // longer current when its button is pressed does nothing and closes.
  createRestoreOptions(file.c_str());
  ASSERT_NE(win = waitForWindow("Restore Fleet"), nullptr);
  seenAlerts().clear();
  click(child(win, 2));
  EXPECT_EQ(openWindow("Restore Fleet"), nullptr);
  createBackupOptions(file.c_str());
  ASSERT_NE(win = waitForWindow("Backup " + dir), nullptr);
  gFleetMgr->deleteFleet(fleet->fleetFileName);
  click(child(win, 1));
  EXPECT_EQ(openWindow("Backup " + dir), nullptr);
  EXPECT_TRUE(seenAlerts().empty());
}

}  // namespace
