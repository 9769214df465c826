// The fleet commands: the make, run, kill, status and remove operations as
// the tool calls them, what they tell the Tool Manager, their reports, and
// the command handlers' look-ups.

#include <algorithm>

#include "fleetmgr/fleetcmds.h"
#include "fleetmgr/fleetwin_support.h"
#include "shared/ui/filepick.h"
#include "fleetmgr/fleetreports.h"
#include "fleetmgr/fleetwindows.h"
#include "fleetmgr/toolmsgs.h"

namespace {

using fmtest::ToolTest;
typedef std::vector<std::pair<std::string, std::string>> Notes;
typedef std::vector<std::string> Texts;

long mockPort(const std::string& portsFile, const std::string& engine) {
  std::string text = owbtest::readWholeFile(portsFile);
  std::string key = engine + "_MOCK_PORT = ";
  size_t at = text.find(key);
  return at == std::string::npos ? -1 : std::atol(text.c_str() + at + key.size());
}

TEST_F(ToolTest, MakeAnnouncesEveryEngineAndTheNewFileOnce) {
  toolman->answerProjectPath(std::vector<std::string>{"/projects/area/demo.prj"});
  std::string place = root.file("place.cfg");
  owbtest::writeWholeFile(place, "PlaceName = \"p\"\n");
  std::string dir = root.file("yard");
  FleetObject* fleet = gFleetMgr->addFleet(dir.c_str(), nullptr);
  fleet->fleetFile->basePort = 6000;
  fleet->addEngine("eng2");
  for (long i = 0; i < 2; ++i)
    std::snprintf(static_cast<EngineObject*>(fleet->engineList.get(i))->engConfig->enginePlaceConfig,
                  sizeof(fileNameType), "%s", place.c_str());

  MakeFleetArgs first;
  ASSERT_EQ(fleet->doMakeFleetCmd(&first), kNoError) << testing::PrintToString(output.everything());

  EXPECT_STREQ(ThisCurrentDir, "/projects/area");  // the project's directory from GCPP
  EXPECT_TRUE(fleet->fleetExists);
  EXPECT_EQ(access((dir + "/yard.flt").c_str(), F_OK), 0);
  long port1 = mockPort(dir + "/region/ports.cfg", "eng1");
  long port2 = mockPort(dir + "/region/ports.cfg", "eng2");
  EXPECT_EQ(static_cast<EngineObject*>(fleet->engineList.get(0))->port, port1);
  EXPECT_EQ(static_cast<EngineObject*>(fleet->engineList.get(1))->port, port2);

  markAndWait();
  auto asked = toolman->messagesOf(kProjectPathMessage);
  ASSERT_EQ(asked.size(), 1u);
  EXPECT_TRUE(asked[0].header.needsReply);
  EXPECT_TRUE(asked[0].params.empty());
  auto engines = toolman->messagesOf(kAddEngineMessage);
  ASSERT_EQ(engines.size(), 2u);
  EXPECT_EQ(engines[0].number(1), port1);
  EXPECT_EQ(engines[1].number(1), port2);
  auto files = toolman->messagesOf(kAddFileMessage);
  ASSERT_EQ(files.size(), 1u);
  EXPECT_EQ(files[0].params, (fmtest::WireParams{{kParamStr255, fmtest::nul(dir + "/yard.flt")}}));

  // The make's report, in order.
  Notes expected = {{"----------------------------------------", "<null>"},
                    {"Fleet directory", dir},
                    {"Fleet name", "yard"},
                    {"Base port number", "6000"},
                    {"    Engine name", "eng1"},
                    {"    Engine place configuration", place},
                    {"    Load debugging support", "yes"},
                    {"    Installed modules to be loaded", "none"},
                    {"    Personal projects to be loaded", "none"},
                    {"    Engine name", "eng2"}};
  ASSERT_GE(output.notes.size(), expected.size());
  EXPECT_EQ(Notes(output.notes.begin(), output.notes.begin() + static_cast<long>(expected.size())), expected);
  // The closing rule follows the last engine, before the make's own notes.
  const Notes::value_type rule("----------------------------------------", "<null>");
  EXPECT_EQ(std::count(output.notes.begin(), output.notes.end(), rule), 2);

  // A second make announces the engines again, but not the file.
  MakeFleetArgs second;
  ASSERT_EQ(fleet->doMakeFleetCmd(&second), kNoError);
  markAndWait();
  EXPECT_EQ(toolman->messagesOf(kAddEngineMessage).size(), 4u);
  EXPECT_EQ(toolman->messagesOf(kAddFileMessage).size(), 1u);
}

TEST_F(ToolTest, MakeArgumentsExpandTheInstallationAndCopyEngines) {
  toolman->answerProjectPath(std::vector<std::string>{});  // a reply of the status alone
  std::string before = ThisCurrentDir;
  FleetObject* fleet = gFleetMgr->addFleet("rel/yard", nullptr);
  EngineObject* second = fleet->addEngine("e2");
  std::snprintf(second->engConfig->enginePlaceConfig, sizeof(fileNameType), "conf/place.cfg");
  second->engConfig->loadDebugger = OWB_FALSE;
  second->engConfig->moduleConfigFiles.include(new StringItem("m1.cfg"));
  second->engConfig->moduleConfigFiles.include(new StringItem("m2.cfg"));
  second->engConfig->projectConfigFiles.include(new StringItem("p.cfg"));

  MakeFleetArgs args;
  fleet->makeMakeFleetArgs(&args);
  EXPECT_EQ(std::string(ThisCurrentDir), before);
  EXPECT_STREQ(args.fleetDir, "rel/yard");  // not taken against the project
  EXPECT_STREQ(args.fleetDefn.fleetName, "yard");
  EXPECT_EQ(args.fleetDefn.basePort, fleet->fleetFile->basePort);
  ASSERT_EQ(args.fleetDefn.engines.totalElements, 2);
  auto* eng1 = static_cast<EngineConfiguration*>(args.fleetDefn.engines.get(0));
  auto* e2 = static_cast<EngineConfiguration*>(args.fleetDefn.engines.get(1));
  EXPECT_EQ(std::string(eng1->enginePlaceConfig), fmtest::installTree() + "/lib/engplace.cfg");
  EXPECT_STREQ(e2->enginePlaceConfig, "conf/place.cfg");
  EXPECT_EQ(e2->loadDebugger, OWB_FALSE);
  ASSERT_EQ(e2->moduleConfigFiles.totalElements, 2);
  EXPECT_STREQ(static_cast<StringItem*>(e2->moduleConfigFiles.get(1))->string, "m2.cfg");
  EXPECT_NE(e2, second->engConfig);  // copies, owned by the record

  // A fleet without a name is made as "fleet"; run and kill records take
  // the directory against the project.
  fleet->fleetFile->fleetName[0] = '\0';
  MakeFleetArgs unnamed;
  fleet->makeMakeFleetArgs(&unnamed);
  EXPECT_STREQ(unnamed.fleetDefn.fleetName, "fleet");
  RunFleetArgs run;
  fleet->makeRunFleetArgs(&run);
  EXPECT_EQ(std::string(run.fleetDir), before + "/rel/yard");
  KillFleetArgs kill;
  fleet->makeKillFleetArgs(&kill);
  EXPECT_EQ(std::string(kill.fleetDir), before + "/rel/yard");

  // With every engine gone the make refuses, with a success status.
  markAndWait();
  toolman->clear();
  ASSERT_TRUE(fleet->removeEngine("eng1"));
  ASSERT_TRUE(fleet->removeEngine("e2"));
  EXPECT_EQ(fleet->doMakeFleetCmd(nullptr), kNoError);
  EXPECT_EQ(fmtest::alertTexts(), Texts{"Create Fleet Error: Cannot create a fleet with no engines"});
  EXPECT_EQ(fmtest::seenAlerts().at(0).type, kAlertWarning);
  markAndWait();
  EXPECT_EQ(toolman->messages().size(), 1u);  // the marker alone: no GCPP, ADDE or ADDF
  EXPECT_FALSE(fleet->fleetExists);
}

TEST_F(ToolTest, RunAndKillReportTheirRequestAndFailWithoutTheirPrerequisites) {
  owbtest::ScopedEnv noDisplay("DISPLAY", std::nullopt);
  FleetObject* fleet = gFleetMgr->addFleet("rel/yard", nullptr);
  const std::string dir = root.path() + "/rel/yard";

  EXPECT_EQ(fleet->doRunFleetCmd(nullptr), kOperationFailed);  // no DISPLAY
  EXPECT_EQ(output.notes, (Notes{{"Fleet directory", dir},
                                 {"Engine boot type", "warm boot engines where possible"},
                                 {"Boot type", "engines plus their external processes"},
                                 {"<null>", "If there are any running processes, don't try to cold-boot the fleet"}}));
  output.clear();
  RunFleetArgs one;
  one.coldBoot = OWB_TRUE;
  one.killOld = OWB_TRUE;
  one.externalsOnly = OWB_TRUE;
  std::snprintf(one.specificProcess, sizeof one.specificProcess, "eng1");
  EXPECT_EQ(fleet->doRunFleetCmd(&one), kOperationFailed);
  EXPECT_EQ(output.notes, (Notes{{"Fleet directory", dir},
                                 {"Engine boot type", "cold boot engines"},
                                 {"Process to boot", "eng1"},
                                 {"Running processes will be killed if needed", "<null>"}}));

  output.clear();
  EXPECT_EQ(fleet->doKillFleetCmd(nullptr), kOperationFailed);  // no definition on disk
  EXPECT_EQ(output.notes, (Notes{{"Fleet directory", dir},
                                 {"Clean-up policy", "do not delete any files"},
                                 {"Processes to kill", "all Wandercode engines and all external processes"}}));

  // A chosen process is named over the groups (the dialog's test covers them).
  KillFleetArgs kill;
  kill.cleanup = kill.enginesOnly = kill.externalOnly = OWB_TRUE;
  std::snprintf(kill.chosenProcess, sizeof kill.chosenProcess, "placemon");
  output.clear();
  printKillFleetArgs(&kill);
  EXPECT_EQ(output.notes.at(1).second, "delete runtime output files");
  EXPECT_EQ(output.notes.at(2).second, "placemon");
}

// The handlers open their windows: these tests run on the X server.
class CommandWindowTest : public fmtest::WindowTest {};

TEST_F(CommandWindowTest, HandlersLookTheFleetUpAndReportUnknownOnes) {
  std::string dir = writeFleet("pier", {{"A", ""}, {"B", ""}});
  FleetObject* fleet = gFleetMgr->addFleet(dir.c_str(), readDefinition(dir));
  const std::string known = dir + "/pier.flt";
  const std::string unknown = root.file("nowhere/nowhere.flt");

  const std::vector<std::pair<const char*, CallbackProcPtr>> lookingUp = {
      {"Run Fleet", runFleetCommand},       {"Fleet Settings", fleetSettingsCommand},
      {"Kill Fleet", killFleetCommand},     {"Backup Fleet", backupFleetCommand},
      {"Restore Fleet", restoreFleetCommand}};
  for (const auto& command : lookingUp) {
    SCOPED_TRACE(command.first);
    fmtest::seenAlerts().clear();
    gFleetMgr->currentFleet = fleet;
    Message missing = fmtest::commandSelectedMessage(command.first, unknown);
    EXPECT_EQ(command.second(&missing, nullptr), kWrongParamType);
    EXPECT_EQ(gFleetMgr->currentFleet, nullptr);
    EXPECT_EQ(fmtest::alertTexts(), Texts{command.first + std::string(": Error finding fleet")});
    EXPECT_EQ(fmtest::seenAlerts().at(0).type, kAlertWarning);

    // A known fleet becomes current and its window opens.
    fmtest::seenAlerts().clear();
    Message found = fmtest::commandSelectedMessage(command.first, known);
    EXPECT_EQ(command.second(&found, nullptr), kNoError);
    EXPECT_EQ(gFleetMgr->currentFleet, fleet);
    std::string title = command.first == std::string("Backup Fleet") ? "Backup " + dir : command.first;
    EXPECT_NE(waitForWindow(title), nullptr);
    EXPECT_TRUE(fmtest::seenAlerts().empty());
  }

  // Status: an unknown fleet is passed over silently, a known one is read.
  fmtest::seenAlerts().clear();
  FleetObject* other = gFleetMgr->addFleet(root.file("other").c_str(), nullptr);
  Message missing = fmtest::commandSelectedMessage("Fleet Status", unknown);
  EXPECT_EQ(fleetStatusCommand(&missing, nullptr), kNoError);
  EXPECT_EQ(gFleetMgr->currentFleet, other);
  EXPECT_TRUE(fmtest::seenAlerts().empty());
  Message found = fmtest::commandSelectedMessage("Fleet Status", known);
  EXPECT_EQ(fleetStatusCommand(&found, nullptr), kNoError);
  EXPECT_EQ(gFleetMgr->currentFleet, fleet);
  std::vector<std::string> processes;
  for (fleetProcessInfo* p = fleet->fleetStatus; p; p = p->next) processes.push_back(p->processLabel);
  EXPECT_EQ(processes, (std::vector<std::string>{"A", "B"}));
  EXPECT_NE(waitForWindow("Fleet Status: " + dir), nullptr);
}

TEST_F(ToolTest, DeleteFleetDirectoryAsksThenWithdrawsEnginesAndFile) {
  std::string dir = writeFleet("wharf", {{"A", "A_MOCK_PORT = 7002\n"}, {"B", "B_MOCK_PORT = 7006\n"}});
  gFleetMgr->addFleet(dir.c_str(), readDefinition(dir));
  const std::string name = dir + "/wharf.flt";
  Message remove = fmtest::commandSelectedMessage("Delete Fleet Directory", name);

  fmtest::alertAnswer() = 1;  // Cancel
  EXPECT_EQ(removeFleetCommand(&remove, nullptr), kNoError);
  EXPECT_EQ(fmtest::alertTexts(), Texts{"Delete Fleet Directory: Deleting " + dir +
                                         " will permanently delete the entire directory and all files and backups "
                                         "in that directory.  Are you sure you want to do this?"});
  EXPECT_EQ(fmtest::seenAlerts().at(0).button1 + "/" + fmtest::seenAlerts().at(0).button2, "Cancel/Delete");
  EXPECT_EQ(access(dir.c_str(), F_OK), 0);
  ASSERT_NE(gFleetMgr->findFleet(name.c_str()), nullptr);

  markAndWait();
  toolman->clear();
  fmtest::alertAnswer() = 2;  // Delete
  EXPECT_EQ(removeFleetCommand(&remove, nullptr), kNoError);
  EXPECT_NE(access(dir.c_str(), F_OK), 0);
  EXPECT_EQ(gFleetMgr->findFleet(name.c_str()), nullptr);
  EXPECT_EQ(gFleetMgr->currentFleet, nullptr);
  markAndWait();
  auto withdrawn = toolman->messagesOf(kRemoveEngineMessage);
  ASSERT_EQ(withdrawn.size(), 2u);
  EXPECT_EQ(withdrawn[0].params[0].bytes, fmtest::nul(fmtest::kTestHost));
  EXPECT_EQ(withdrawn[0].number(1), 7006);  // last engine first
  EXPECT_EQ(withdrawn[1].number(1), 7002);
  auto files = toolman->messagesOf(kRemoveFileMessage);
  ASSERT_EQ(files.size(), 1u);
  EXPECT_EQ(files[0].params[0], (fmtest::WireParam{kParamIdent, "FLTF"}));
  EXPECT_EQ(files[0].text(1), name);
  auto order = toolman->messages();
  EXPECT_EQ(order[2].type(), kRemoveFileMessage);  // after the engines
}

TEST_F(CommandWindowTest, NewFleetCancelledAtTheDirectoryAddsNothing) {
  // The directory chooser is modal: its cancel button is pressed from
  // within its own loop.
  struct Press {
    CommandWindowTest* test;
    bool pickerShown = false;
  } press{this};
  EVENT_StartCBackAlarmDS(
      [](ClientPtr data) {
        auto* p = static_cast<Press*>(data);
        WinPtr picker = FPICK_GetWin();
        p->pickerShown = picker && WIN_IsOpen(picker);
        if (picker) WGT_Send(child(picker, FPICK_CANCEL), TBUT_NFYHIT);
      },
      &press, 500);
  Message message = fmtest::commandSelectedMessage("New Fleet", "");
  EXPECT_EQ(newFleetCommand(&message, nullptr), kNoError);
  EXPECT_TRUE(press.pickerShown);
  EXPECT_EQ(FPICK_GetWin(), nullptr);
  EXPECT_EQ(gFleetMgr->fleetList.totalElements, 0);
  EXPECT_EQ(gFleetMgr->currentFleet, nullptr);
}

}  // namespace
