// The settings window and the engine place configuration dialog on a real
// X server, pressed through XTest: a new fleet made from the window gives
// the files that `fleetctl new` gives for the same values, and a
// configuration composed with one entry of each kind is written as its
// grammar says.  With FLEETMGR_SHOTS set to a directory, one more test
// saves each window there as a PNG (with "-200" at OWB_DPI=192; give the
// server room with OWB_XVFB_SCREEN=2560x1600).
#include <deque>
#include <filesystem>
#include <functional>

#include "fleetmgr/fieldtext.h"
#include "fleetmgr/fleetdlg_add.h"
#include "fleetmgr/settings.h"
#include "fleetmgr/settingsfile.h"
#include "fleetmgr/settingsui.h"
#include "shared/ui/resources.h"
#include "fleetmgr/fleetwin_support.h"
#include "toolkit/cbox.h"

namespace {

using fmtest::seenAlerts;
using fmtest::ToolTest;

// The names the file chooser gives, in turn; an empty queue cancels.
std::deque<std::string>& chosenFiles() {
  static std::deque<std::string> files;
  return files;
}
bool queuedChooser(int, char* filename, size_t size, const char*, const char*, bool, bool) {
  if (chosenFiles().empty()) return false;
  std::snprintf(filename, size, "%s", chosenFiles().front().c_str());
  chosenFiles().pop_front();
  return true;
}

class SettingsWindowTest : public fmtest::WindowTest {
 protected:
  void SetUp() override {
    WindowTest::SetUp();
    setSettingsFileChooser(queuedChooser);
    chosenFiles().clear();
    toolman->answerProjectPath(std::vector<std::string>{});
  }
  void TearDown() override {
    setSettingsFileChooser(nullptr);
    WindowTest::TearDown();  // deleting the fleets closes their windows
    for (WinPtr w : kept_) RES_Release(winRes(w));
    kept_.clear();
  }

  // Keeps the window readable after it has ended, until the test's end.
  WinPtr keep(WinPtr w) {
    if (w) {
      RES_Use(winRes(w));
      kept_.push_back(w);
    }
    return w;
  }

  static WgtPtr at(WinPtr win, std::initializer_list<Int> path) { return WGT_FromRes(childAt(winRes(win), path)); }

  // A real click in the middle of a widget, then the loop until done.
  void clickUntil(WgtPtr w, const std::function<bool()>& done) {
    click(w);
    EXPECT_TRUE(tktest::runUntil(done));
  }
  static void shot(WinPtr win, const std::string& name) {
    const char* dir = std::getenv("FLEETMGR_SHOTS");
    if (!dir) return;
    settle();
    const char* dpi = std::getenv("OWB_DPI");
    std::string suffix = dpi && std::atoi(dpi) >= 192 ? "-200" : "";
    WIN_SaveAsPng(win, (std::string(dir) + "/" + name + suffix + ".png").c_str());
  }

  // Shows a window and waits until it is drawn.
  static bool shown(WinPtr win) {
    if (!win) return false;
    WIN_Show(win);
    settle();
    return WIN_IsOpen(win) != 0;
  }

  std::vector<WinPtr> kept_;
};

// Every regular file under dir with its content, by path relative to dir.
std::map<std::string, std::string> snapshot(const std::string& dir) {
  std::map<std::string, std::string> files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(dir))
    if (entry.is_regular_file()) files[entry.path().string().substr(dir.size())] = owbtest::readWholeFile(entry.path());
  return files;
}

TEST_F(SettingsWindowTest, NewFleetMadeFromTheWindowGivesTheFilesOfFleetctlNew) {
  std::string dir = root.file("yard");
  const std::string authority = "04" + std::string(16, 'a') + std::string(16, 'B');
  // Both makes on the same host and from the same directory.
  setHostIP();
  std::string command = "cd " + root.path() + " && " + owbtest::installTree() + "/bin/fleetctl new " + dir +
                        " --engine eng1 --engine eng2 --base-port 6100 --authority " + authority +
                        " --options '-d1 -x' >/dev/null 2>&1";
  ASSERT_EQ(std::system(command.c_str()), 0);
  std::map<std::string, std::string> expected = snapshot(dir);
  ASSERT_TRUE(expected.count("/yard.flt"));
  ASSERT_EQ(std::system(("rm -rf " + dir).c_str()), 0);

  FleetObject* fleet = gFleetMgr->addFleet(dir.c_str(), nullptr);
  fleet->createFleetSettingsDialog();
  WinPtr win = keep(fleet->fleetSettingsWindow);
  ASSERT_TRUE(shown(win));
  LBoxPtr engines = listAt(winRes(win), {0, 0, 0});
  ASSERT_NE(engines, nullptr);
  EXPECT_EQ(TAREA_GetText(reinterpret_cast<TAreaPtr>(at(win, {0, 1}))), std::string("Fleet Name: yard"));

  // The detail panel opens and closes with its button.
  Int shortHeight = WIN_Wgt(win)->Box.Extent.Y;
  clickUntil(at(win, {1, 2}), [&] { return fleet->showMoreDetail != 0; });
  EXPECT_STREQ(TBUT_GetLabel(TBUT_FromWgt(at(win, {1, 2}))), "Less Detail...");
  EXPECT_GT(WIN_Wgt(win)->Box.Extent.Y, shortHeight + 100);

  // A second engine; a name already there adds nothing.
  fieldSetText(childAt(winRes(win), {0, 0, 1}), "eng2");
  clickUntil(at(win, {0, 0, 2}), [&] { return fleet->engineList.totalElements == 2; });
  click(at(win, {0, 0, 2}));
  EXPECT_EQ(fmtest::engineLabels(fleet), (std::vector<std::string>{"eng1", "eng2"}));
  LBOX_GoColRow(engines, 1, 1);
  EXPECT_EQ(LBOX_CurGetClientData(engines), fleet->engineList.get(1));  // newest on top
  EXPECT_EQ(fleet->currentEng, fleet->engineList.get(1));
  clickCell(engines, 1, 2);
  EXPECT_EQ(fleet->currentEng, fleet->engineList.get(0));
  LBOX_GoColRow(engines, 1, 2);
  EXPECT_TRUE(LBOX_IsCurSelected(engines));

  // Typed and never left: the make takes it all the same.
  fieldSetText(childAt(winRes(win), {0, 2}), "6100");
  fieldSetText(childAt(winRes(win), {0, 3, 8}), "-d1 -x");

  // The authority is checked before anything is made.
  fieldSetText(childAt(winRes(win), {0, 3, 9}), (authority + "0").c_str());
  clickUntil(at(win, {1, 0}), [&] { return !seenAlerts().empty(); });
  ASSERT_EQ(seenAlerts().size(), 1u);
  EXPECT_EQ(seenAlerts()[0].text, "Illegal authority string: authority must be 34 characters long.");
  EXPECT_FALSE(fleet->fleetExists);
  EXPECT_EQ(fleet->fleetSettingsWindow, win);

  fieldSetText(childAt(winRes(win), {0, 3, 9}), authority.c_str());
  clickUntil(at(win, {1, 0}), [&] { return fleet->fleetSettingsWindow == nullptr; });
  EXPECT_TRUE(fleet->fleetExists);
  EXPECT_EQ(seenAlerts().size(), 1u) << seenAlerts().back().text;
  std::map<std::string, std::string> made = snapshot(dir);
  // The definition's first line holds the time it was written.
  for (auto* files : {&made, &expected}) {
    std::string& definition = (*files)["/yard.flt"];
    definition.erase(0, definition.find('\n'));
  }
  EXPECT_EQ(made, expected);
}

TEST_F(SettingsWindowTest, CancelForgetsTheEditsOfASavedFleetAndClosesTheWindow) {
  std::string dir = writeFleet("harbour", {{"A", ""}}, 7000);
  FleetObject* fleet = gFleetMgr->addFleet(dir.c_str(), readDefinition(dir));
  fleet->createFleetSettingsDialog();
  WinPtr win = keep(fleet->fleetSettingsWindow);
  ASSERT_TRUE(shown(win));
  fieldSetText(childAt(winRes(win), {0, 0, 1}), "B");
  clickUntil(at(win, {0, 0, 2}), [&] { return fleet->engineList.totalElements == 2; });
  // An engine added and removed again: the list follows.
  fieldSetText(childAt(winRes(win), {0, 0, 1}), "C");
  clickUntil(at(win, {0, 0, 2}), [&] { return fleet->engineList.totalElements == 3; });
  LBoxPtr engines = listAt(winRes(win), {0, 0, 0});
  clickCell(engines, 1, 1);
  clickUntil(at(win, {0, 0, 3}), [&] { return fleet->engineList.totalElements == 2; });
  EXPECT_EQ(fmtest::engineLabels(fleet), (std::vector<std::string>{"A", "B"}));
  EXPECT_EQ(LBOX_GetUsedRows(engines), 2);
  // A second command only brings the same window up.
  fleet->createFleetSettingsDialog();
  EXPECT_EQ(fleet->fleetSettingsWindow, win);

  clickUntil(at(win, {1, 1}), [&] { return WIN_GetState(win) == WIN_STATETERMINATED; });
  FleetObject* reread = gFleetMgr->findFleet((dir + "/harbour.flt").c_str());
  ASSERT_NE(reread, nullptr);
  EXPECT_EQ(fmtest::engineLabels(reread), std::vector<std::string>{"A"});
  EXPECT_EQ(reread->fleetSettingsWindow, nullptr);
}

TEST_F(SettingsWindowTest, EnginePlaceConfigurationComposedWithOneEntryOfEachKind) {
  FleetObject* fleet = gFleetMgr->addFleet(root.file("yard").c_str(), nullptr);
  fleet->showMoreDetail = TRUE;
  fleet->createFleetSettingsDialog();
  WinPtr settings = fleet->fleetSettingsWindow;
  ASSERT_TRUE(shown(settings));

  std::string cfg = root.file("place.cfg");
  chosenFiles() = {cfg};
  clickUntil(at(settings, {0, 3, 7, 1}), [&] { return fleet->engConfigDlg != nullptr; });
  WinPtr dlg = fleet->engConfigDlg;
  ASSERT_TRUE(shown(dlg));
  EXPECT_EQ(std::string(WIN_GetLabel(dlg)), "Engine Configuration file " + cfg);
  LBoxPtr list = listAt(winRes(dlg), {2, 0});
  EXPECT_EQ(cellText(list, 1, 0), "Filename");

  chosenFiles() = {"/lib/boot.s"};
  click(at(dlg, {0, 1}));
  chosenFiles() = {"pre1.s", "pre2.wcp"};
  click(at(dlg, {2, 1}));
  click(at(dlg, {2, 1}));
  EXPECT_EQ(cellText(list, 1, 1), "pre2.wcp");

  clickUntil(at(dlg, {1, 1}), [&] { return cellText(list, 1, 1).empty(); });
  chosenFiles() = {"auto.s"};
  click(at(dlg, {2, 1}));
  EXPECT_EQ(cellText(list, 1, 1), "auto.s");

  // An environment variable through its dialog.
  clickUntil(at(dlg, {1, 2}), [&] { return cellText(list, 2, 0) == "Variable Value"; });
  click(at(dlg, {2, 1}));
  WinPtr env = keep(waitForWindow("Environment Variable"));
  ASSERT_TRUE(shown(env));
  fieldSetText(childAt(winRes(env), {1}), "PLACE_HOME");
  fieldSetText(childAt(winRes(env), {2}), "/srv/place");
  clickUntil(at(env, {3}), [&] { return WIN_GetState(env) == WIN_STATETERMINATED; });
  EXPECT_EQ(cellText(list, 1, 1), "PLACE_HOME");
  EXPECT_EQ(cellText(list, 2, 1), "/srv/place");

  // A configuration option: refused while its value is wrong, then added.
  clickUntil(at(dlg, {1, 3}), [&] { return cellText(list, 3, 0) == "Value"; });
  click(at(dlg, {2, 1}));
  WinPtr opt = keep(waitForWindow("Configuration Option"));
  ASSERT_TRUE(shown(opt));
  // The type box opens on "String" with the keyboard's focus: Up goes to
  // the type before it; a choice in the opened list with the pointer is
  // the type the add button reads.
  auto* types = CBOX_FromWgt(at(opt, {5}));
  EXPECT_EQ(CBOX_GetSelIndex(types), 6);
  driver_->key(XK_Up);
  EXPECT_TRUE(tktest::runUntil([&] { return CBOX_GetSelIndex(types) == 5; }));
  clickUntil(TED_Wgt(CBOX_GetTEd(types)), [&] { return CBOX_IsListOpen(types) != 0; });
  clickCell(CBOX_GetLBox(types), 1, 4);  // "Integer"
  EXPECT_TRUE(tktest::runUntil([&] { return CBOX_GetSelIndex(types) == 3 && !CBOX_IsListOpen(types); }));
  fieldSetText(childAt(winRes(opt), {1}), "RegionPort");
  fieldSetText(childAt(winRes(opt), {2}), "7x");
  clickUntil(at(opt, {3}), [&] { return !seenAlerts().empty(); });
  ASSERT_EQ(seenAlerts().size(), 1u);
  EXPECT_EQ(seenAlerts()[0].text, "Invalid integer value.");
  EXPECT_NE(WIN_GetState(opt), WIN_STATETERMINATED);
  fieldSetText(childAt(winRes(opt), {2}), " - 7");
  clickUntil(at(opt, {3}), [&] { return WIN_GetState(opt) == WIN_STATETERMINATED; });
  EXPECT_EQ(cellText(list, 1, 1), "Integer");
  EXPECT_EQ(cellText(list, 2, 1), "RegionPort");
  EXPECT_EQ(cellText(list, 3, 1), "-7");

  // An external process, and one removed again.
  clickUntil(at(dlg, {1, 4}), [&] { return cellText(list, 1, 0) == "Symbolic Name"; });
  for (const char* name : {"monitor", "spare"}) {
    click(at(dlg, {2, 1}));
    WinPtr ext = keep(waitForWindow("External Process"));
    ASSERT_TRUE(shown(ext));
    fieldSetText(childAt(winRes(ext), {1}), name);
    fieldSetText(childAt(winRes(ext), {2}), "placemon -p 1");
    clickUntil(at(ext, {3}), [&] { return WIN_GetState(ext) == WIN_STATETERMINATED; });
  }
  EXPECT_EQ(gFleetMgr->configFile->extProcsList.totalElements, 2);
  clickCell(list, 1, 1);  // "spare", the newest
  clickUntil(at(dlg, {2, 2}), [&] { return gFleetMgr->configFile->extProcsList.totalElements == 1; });
  EXPECT_EQ(cellText(list, 1, 1), "monitor");

  clickUntil(at(dlg, {3}), [&] { return fleet->engConfigDlg == nullptr; });
  // Each entry reaches the file (whose grammar the file's own test checks).
  std::string text = owbtest::readWholeFile(cfg);
  for (const char* line : {"Libraries += \"pre2.wcp pre1.s \"\n", "EngineBootScript = \"/lib/boot.s\"\n",
                           "AutoLoadFiles += \"auto.s \"\n", "@ PLACE_HOME = /srv/place\n", "RegionPort = -7\n",
                           "!monitor=placemon -p 1\n"})
    EXPECT_NE(text.find(line), std::string::npos) << line << text;
  EXPECT_EQ(text.find("spare"), std::string::npos) << text;
  EXPECT_STREQ(fleet->currentEng->engConfig->enginePlaceConfig, cfg.c_str());
  char shown[1024];
  fieldGetText(childAt(winRes(settings), {0, 3, 7, 2}), shown, sizeof shown);
  EXPECT_EQ(std::string(shown), cfg);
}

TEST_F(SettingsWindowTest, AddDialogOutlivingItsConfigurationDialogAddsNothing) {
  FleetObject* fleet = gFleetMgr->addFleet(root.file("yard").c_str(), nullptr);
  fleet->showMoreDetail = TRUE;
  fleet->createFleetSettingsDialog();
  ASSERT_TRUE(shown(fleet->fleetSettingsWindow));
  chosenFiles() = {root.file("place.cfg")};
  clickUntil(at(fleet->fleetSettingsWindow, {0, 3, 7, 1}), [&] { return fleet->engConfigDlg != nullptr; });
  WinPtr dlg = fleet->engConfigDlg;
  ASSERT_TRUE(shown(dlg));
  click(at(dlg, {1, 2}));
  click(at(dlg, {2, 1}));
  WinPtr env = keep(waitForWindow("Environment Variable"));
  ASSERT_TRUE(shown(env));

  // The fleet goes (its dialogs with it) while the add dialog is open.
  gFleetMgr->deleteFleet(fleet->fleetFileName);
  settle();
  fieldSetText(childAt(winRes(env), {1}), "NAME");
  clickUntil(at(env, {3}), [&] { return WIN_GetState(env) == WIN_STATETERMINATED; });
  EXPECT_EQ(gFleetMgr->configFile->envVarList.totalElements, 0);
}

TEST_F(SettingsWindowTest, PicturesOfEachWindow) {
  if (!std::getenv("FLEETMGR_SHOTS")) GTEST_SKIP() << "FLEETMGR_SHOTS names no directory";
  FleetObject* fleet = gFleetMgr->addFleet(root.file("yard").c_str(), nullptr);
  fleet->addEngine("eng2");
  fleet->fleetFile->basePort = 6100;
  fleet->showMoreDetail = TRUE;
  fleet->createFleetSettingsDialog();
  ASSERT_TRUE(shown(fleet->fleetSettingsWindow));
  shot(fleet->fleetSettingsWindow, "fleetmgr-settings");

  gFleetMgr->configFile = new EngConfigFile(root.file("place.cfg").c_str());
  addBootScriptFile("/home/user/lib/preboot.s");
  std::snprintf(gFleetMgr->configFile->engPlaceBootScript, sizeof(Str255), "%s", "/home/user/lib/boot.s");
  const char* integer[] = {"Integer", "RegionPort", "7000", nullptr};
  const char* boolean[] = {"Boolean", "Verbose", "true", nullptr};
  for (const char** option : {integer, boolean})
    gFleetMgr->configFile->configOptions.include(new StringTupleItem(option));
  gFleetMgr->currentFleet = fleet;
  WinPtr dlg = fleet->engConfigDlg = createNewEnginePlaceConfigDialog();
  ASSERT_TRUE(shown(dlg));
  TBUT_Select(TBUT_FromWgt(at(dlg, {1, 3})));
  WGT_Send(at(dlg, {1, 3}), TBUT_NFYHIT);
  shot(dlg, "fleetmgr-engplace");

  struct Dialog {
    WinPtr (*create)(WinPtr);
    const char *first, *second, *name;
  };
  for (const Dialog& d : {Dialog{createAddEnvVariableDlg, "PLACE_HOME", "/srv/place", "fleetmgr-addenv"},
                          Dialog{createAddConfigOptionDlg, "RegionPort", "7000", "fleetmgr-addoption"},
                          Dialog{createAddExtProcDlg, "monitor", "placemon -p 7001", "fleetmgr-addextproc"}}) {
    WinPtr win = d.create(dlg);
    ASSERT_NE(win, nullptr);
    fieldSetText(childAt(winRes(win), {1}), d.first);
    fieldSetText(childAt(winRes(win), {2}), d.second);
    ASSERT_TRUE(shown(win));
    shot(win, d.name);
    WIN_TerminateGetStatus(win);
  }
}

}  // namespace
