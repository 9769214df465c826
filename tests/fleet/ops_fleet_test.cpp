// A fleet's whole life with real engines and external processes: made,
// booted cold, looked at, killed with clean-up, booted warm, backed up,
// restored from a backup with other engines, removed.  And the filters of
// kill and status.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>

#include "fleet/backup.h"
#include "fleet/eng_util.h"
#include "fleet/kilfleet.h"
#include "fleet/mkfleet.h"
#include "fleet/ops_support.h"
#include "fleet/pidfile.h"
#include "fleet/psfleet.h"
#include "fleet/restore.h"
#include "fleet/rmfleet.h"
#include "fleet/runfleet.h"

namespace {

using opstest::eventually;
using opstest::fileExistsNow;
using owbtest::readWholeFile;
using owbtest::writeWholeFile;

// The first line a TCP server on the loopback port answers, or "".
std::string statusLineAt(long port) {
  int descriptor = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  std::string line;
  if (connect(descriptor, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0) {
    char buffer[512];
    ssize_t got;
    while ((got = recv(descriptor, buffer, sizeof buffer, 0)) > 0) line.append(buffer, static_cast<size_t>(got));
  }
  close(descriptor);
  return line;
}

bool statusSays(long port, const std::string& text) {
  return eventually([&] { return statusLineAt(port).find(text) != std::string::npos; });
}

void makeDefinedFleet(const std::string& fleetDir, std::initializer_list<const char*> labels, long basePort,
                      const std::string& extraProject = "") {
  MakeFleetArgs args;
  std::snprintf(args.fleetDir, sizeof args.fleetDir, "%s", fleetDir.c_str());
  std::snprintf(args.fleetDefn.fleetName, sizeof args.fleetDefn.fleetName, "%s", std::strrchr(fleetDir.c_str(), '/') + 1);
  args.fleetDefn.basePort = basePort;
  std::snprintf(args.fleetDefn.engineOptions, sizeof args.fleetDefn.engineOptions, "-d1");
  for (const char* label : labels) {
    auto* engine = new EngineConfiguration(label);
    std::snprintf(engine->enginePlaceConfig, sizeof engine->enginePlaceConfig, "%s/lib/engplace.cfg",
                  opstest::FleetSandbox::installTree().c_str());
    if (!extraProject.empty() && args.fleetDefn.engines.totalElements == 1)
      engine->projectConfigFiles.include(new StringItem(extraProject.c_str()));
    args.fleetDefn.engines.include(engine);
  }
  List debuggerPorts(kStandardChunkSize, TRUE, EqualCompare);
  ASSERT_TRUE(makeFleet(&args, &debuggerPorts));
}

const fleetProcessInfo* recordOf(const fleetProcessInfo* list, const char* label) {
  for (; list; list = list->next)
    if (std::strcmp(list->processLabel, label) == 0) return list;
  return nullptr;
}

bool allGone(const std::string& fleet, std::initializer_list<const char*> labels) {
  for (const char* label : labels)
    if (fileExistsNow(fleet + "/" + label + ".pid")) return false;
  return true;
}

TEST(FleetLife, MadeBootedKilledBackedUpRestoredRemoved) {
  opstest::ChildReaper reaper;
  opstest::FleetSandbox sandbox;
  const long base = opstest::freeBasePort(8);
  ASSERT_NE(base, 0);
  const std::string fleet = sandbox.fleetDir("life");
  // The second engine brings a terminal external of its own; both share the place's placemon.
  writeWholeFile(sandbox.root() + "/watch.cfg", "!watcher = $OWBBinDirectory/placemon watcher $EnginePort\n");
  makeDefinedFleet(fleet, {"alpha", "beta"}, base, "watch.cfg");

  RunFleetArgs run;
  std::snprintf(run.fleetDir, sizeof run.fleetDir, "%s", fleet.c_str());
  {
    owbtest::ScopedEnv noDisplay("DISPLAY", std::nullopt);
    EXPECT_FALSE(runFleet(&run, nullptr));
  }
  ASSERT_EQ(sandbox.output.fatals.size(), 1u);
  EXPECT_EQ(sandbox.output.fatals[0].first, "Cannot Run the Fleet");
  EXPECT_FALSE(fleetIsRunning(fleet.c_str()));

  // Cold boot.
  run.coldBoot = OWB_TRUE;
  ASSERT_TRUE(runFleet(&run, nullptr)) << testing::PrintToString(sandbox.output.everything());
  ASSERT_TRUE(eventually([&] { return !allGone(fleet, {"alpha"}) && fileExistsNow(fleet + "/beta.pid") &&
                                      fileExistsNow(fleet + "/placemon.pid") && fileExistsNow(fleet + "/watcher.pid"); }));
  EXPECT_TRUE(statusSays(base + 2, "alpha up"));
  EXPECT_TRUE(statusSays(base + 2, "boots=1 boot=cold"));
  EXPECT_TRUE(statusSays(base + 14, "beta up"));  // the debugger port answers too

  // Status: engines with ports, externals with their expanded commands, a fossil.
  writeWholeFile(fleet + "/ghost.pid", "999999\nold command\n");
  PsFleetArgs ps;
  std::snprintf(ps.fleetDir, sizeof ps.fleetDir, "%s", fleet.c_str());
  fleetProcessInfo* status = nullptr;
  ASSERT_TRUE(psFleet(&ps, &status));
  const fleetProcessInfo* alpha = recordOf(status, "alpha");
  const fleetProcessInfo* beta = recordOf(status, "beta");
  const fleetProcessInfo* placemon = recordOf(status, "placemon");
  const fleetProcessInfo* ghost = recordOf(status, "ghost");
  ASSERT_TRUE(alpha && beta && placemon && recordOf(status, "watcher") && ghost);
  EXPECT_EQ(status, alpha);  // engines first, then externals, then fossils
  EXPECT_EQ(alpha->processType, kEngineProcess);
  EXPECT_EQ(alpha->isRunning, 1);
  EXPECT_EQ(alpha->moreData.engData.udpPort, base);
  EXPECT_EQ(alpha->moreData.engData.tcpPort, base + 2);
  EXPECT_EQ(alpha->moreData.engData.debuggerPort, base + 6);
  EXPECT_EQ(beta->moreData.engData.udpPort, base + 8);
  EXPECT_NE(alpha->startTime, 0);
  EXPECT_EQ(placemon->processType, kExternalProcess);
  EXPECT_EQ(placemon->isRunning, 1);
  EXPECT_EQ(std::string(placemon->commandLine),
            sandbox.installTree() + "/bin/placemon demo " + std::to_string(base));
  EXPECT_EQ(placemon->moreData.engData.udpPort, 0);
  EXPECT_EQ(ghost->processType, kFossilProcess);
  EXPECT_EQ(ghost->isRunning, 0);
  EXPECT_EQ(ghost->processID, 999999);
  EXPECT_EQ(ghost->next, nullptr);
  freeFleetProcessInfo(&status);
  EXPECT_EQ(status, nullptr);

  // A cold boot with an engine running and no leave to kill it changes nothing.
  sandbox.output.clear();
  EXPECT_FALSE(runFleet(&run, nullptr));
  ASSERT_EQ(sandbox.output.fatals.size(), 1u);
  EXPECT_EQ(sandbox.output.fatals[0].second, "Engine alpha is running.  You must stop all engines before cold booting.");
  EXPECT_TRUE(engineHasDB(fleet.c_str(), "alpha"));

  // Kill with clean-up.
  writeWholeFile(fleet + "/beta/eng.prof", "profile\n");
  ASSERT_TRUE(fileExistsNow(fleet + "/alpha/debug.log"));  // the debugger support keeps it
  KillFleetArgs kill;
  std::snprintf(kill.fleetDir, sizeof kill.fleetDir, "%s", fleet.c_str());
  kill.cleanup = OWB_TRUE;
  ASSERT_TRUE(killFleet(&kill));
  EXPECT_TRUE(allGone(fleet, {"alpha", "beta", "placemon", "watcher", "ghost"}));
  EXPECT_FALSE(fleetIsRunning(fleet.c_str()));
  EXPECT_FALSE(fileExistsNow(fleet + "/alpha.out"));
  EXPECT_FALSE(fileExistsNow(fleet + "/placemon.out"));
  EXPECT_FALSE(fileExistsNow(fleet + "/beta/eng.prof"));
  EXPECT_FALSE(fileExistsNow(fleet + "/alpha/debug.log"));
  EXPECT_TRUE(eventually([&] { return statusLineAt(base + 2).empty(); }));

  // Warm boot: the engines resume their databases.
  run.coldBoot = OWB_FALSE;
  ASSERT_TRUE(runFleet(&run, nullptr));
  EXPECT_TRUE(statusSays(base + 2, "boots=2 boot=warm"));
  EXPECT_TRUE(statusSays(base + 10, "beta up"));
  kill.cleanup = OWB_FALSE;
  ASSERT_TRUE(killFleet(&kill));
  EXPECT_TRUE(fileExistsNow(fleet + "/alpha.out"));
  EXPECT_TRUE(readWholeFile(fleet + "/alpha.out").find("stopping cleanly") != std::string::npos);

  // Backup, and a failed second backup that leaves the first one standing.
  BackupFleetArgs backup;
  std::snprintf(backup.fleetDir, sizeof backup.fleetDir, "%s", fleet.c_str());
  std::snprintf(backup.backupTag, sizeof backup.backupTag, "snap");
  ASSERT_TRUE(backupFleet(&backup));
  EXPECT_TRUE(fileExistsNow(fleet + "/snap/life.flt"));
  EXPECT_TRUE(fileExistsNow(fleet + "/snap/region/ports.cfg"));
  EXPECT_EQ(readWholeFile(fleet + "/snap/beta/db/state"), readWholeFile(fleet + "/beta/db/state"));
  EXPECT_FALSE(fileExistsNow(fleet + "/snap/alpha.out"));
  ASSERT_EQ(rename((fleet + "/beta").c_str(), (fleet + "/beta.away").c_str()), 0);
  EXPECT_FALSE(backupFleet(&backup));
  ASSERT_EQ(rename((fleet + "/beta.away").c_str(), (fleet + "/beta").c_str()), 0);
  EXPECT_TRUE(fileExistsNow(fleet + "/snap/beta/db/state"));
  EXPECT_FALSE(fileExistsNow(fleet + "/snap.tmp"));

  // Re-made with another engine, then restored: the backup's engines return
  // with their state, and the other engine's directory goes.
  makeDefinedFleet(fleet, {"gamma"}, base);
  EXPECT_FALSE(fileExistsNow(fleet + "/alpha"));
  RestoreFleetArgs restore;
  std::snprintf(restore.fleetDir, sizeof restore.fleetDir, "%s", fleet.c_str());
  std::snprintf(restore.backupTag, sizeof restore.backupTag, "snap");
  ASSERT_TRUE(restoreFleet(&restore));
  EXPECT_FALSE(fileExistsNow(fleet + "/gamma"));
  EXPECT_TRUE(readWholeFile(fleet + "/alpha/db/state").find("boots 2") != std::string::npos);
  EXPECT_EQ(readWholeFile(fleet + "/life.flt"), readWholeFile(fleet + "/snap/life.flt"));
  EXPECT_TRUE(fileExistsNow(fleet + "/snap/life.flt"));  // the backup stays
  sandbox.output.clear();
  std::snprintf(restore.backupTag, sizeof restore.backupTag, "nosuch");
  EXPECT_FALSE(restoreFleet(&restore));
  ASSERT_EQ(sandbox.output.fatals.size(), 1u);
  EXPECT_EQ(sandbox.output.fatals[0].second, "The backup is clearly garbled.");

  // The restored fleet boots warm again, then is killed and removed.
  ASSERT_TRUE(runFleet(&run, nullptr));
  EXPECT_TRUE(statusSays(base + 2, "boots=3 boot=warm"));
  EXPECT_FALSE(removeFleet(fleet.c_str()));
  EXPECT_TRUE(dirExists(fleet.c_str()));
  ASSERT_TRUE(killFleet(&kill));
  EXPECT_TRUE(removeFleet(fleet.c_str()));
  EXPECT_FALSE(dirExists(fleet.c_str()));
  sandbox.output.clear();
  EXPECT_TRUE(removeFleet(fleet.c_str()));
  ASSERT_EQ(sandbox.output.alerts.size(), 1u);
  EXPECT_EQ(sandbox.output.alerts[0], (owbtest::RecordingOutput::Entry{"Heads Up", "The fleet does not exist"}));

  EXPECT_TRUE(eventually([] { return opstest::childProcesses().empty(); }));
}

TEST(BootEngine, UndefinedNameInAnExternalFailsTheBoot) {
  opstest::ChildReaper reaper;
  opstest::FleetSandbox sandbox;
  const std::string fleet = sandbox.fleetDir("broken");
  writeWholeFile(sandbox.root() + "/bad.cfg", "&bad = /bin/sleep $NOSUCHVALUE\n");
  makeDefinedFleet(fleet, {"one", "two"}, 9200, "bad.cfg");

  EXPECT_FALSE(warmBootEngine(fleet.c_str(), "-d1", "one", nullptr));
  ASSERT_EQ(sandbox.output.fatals.size(), 1u);
  EXPECT_EQ(sandbox.output.fatals[0],
            (owbtest::RecordingOutput::Entry{"Engine Not Started",
                                             "Cannot warm boot because there is no old database for engine one"}));
  sandbox.output.clear();
  EXPECT_FALSE(coldBootEngine(fleet.c_str(), "-d1", "two", nullptr));
  ASSERT_EQ(sandbox.output.fatals.size(), 2u);
  EXPECT_EQ(sandbox.output.fatals[0],
            (owbtest::RecordingOutput::Entry{
                "Cannot Start External Process",
                "No value is available for $NOSUCHVALUE in the command line for external process 'bad'"}));
  EXPECT_EQ(sandbox.output.fatals[1],
            (owbtest::RecordingOutput::Entry{"Engine Not Started", "Failed to start the external processes"}));
  EXPECT_FALSE(fileExistsNow(fleet + "/two.pid"));
  EXPECT_FALSE(fileExistsNow(fleet + "/bad.pid"));
  // The place's external, which stands before the faulty line, was started.
  EXPECT_TRUE(eventually([&] { return isRunning(fleet.c_str(), "placemon") != 0; }));
  KillFleetArgs kill;
  std::snprintf(kill.fleetDir, sizeof kill.fleetDir, "%s", fleet.c_str());
  EXPECT_TRUE(killFleet(&kill));
}

TEST(KillFleet, CanIgnoreFollowsChosenThenExternalThenEngineFlags) {
  List engines(kStandardChunkSize, TRUE, EqualCompare);
  engines.include(new StringItem("Alpha"));
  KillFleetArgs args;
  EXPECT_FALSE(canIgnore("alpha", &args, &engines));
  EXPECT_FALSE(canIgnore("other", &args, &engines));
  args.enginesOnly = OWB_TRUE;
  EXPECT_FALSE(canIgnore("ALPHA", &args, &engines));
  EXPECT_TRUE(canIgnore("other", &args, &engines));
  args.externalOnly = OWB_TRUE;  // wins over enginesOnly
  EXPECT_TRUE(canIgnore("alpha", &args, &engines));
  EXPECT_FALSE(canIgnore("other", &args, &engines));
  std::snprintf(args.chosenProcess, sizeof args.chosenProcess, "alpha");  // wins over both
  EXPECT_FALSE(canIgnore("Alpha", &args, &engines));
  EXPECT_TRUE(canIgnore("other", &args, &engines));
}

TEST(KillFleet, ChosenProcessCleansItsOutputButEveryEnginesProfile) {
  opstest::FleetSandbox sandbox;
  const std::string fleet = sandbox.fleetDir("tidy");
  makeDefinedFleet(fleet, {"one", "two"}, 9000);
  for (const char* name : {"one.out", "two.out", "stale.pid", "one/eng.prof", "two/eng.prof", "two/debug.log"})
    writeWholeFile(fleet + "/" + name, "x\n");
  writeWholeFile(fleet + "/x.PID", "999999\n");
  KillFleetArgs args;
  std::snprintf(args.fleetDir, sizeof args.fleetDir, "%s", fleet.c_str());
  args.cleanup = OWB_TRUE;
  std::snprintf(args.chosenProcess, sizeof args.chosenProcess, "one");
  ASSERT_TRUE(killFleet(&args));
  EXPECT_FALSE(fileExistsNow(fleet + "/one.out"));
  EXPECT_TRUE(fileExistsNow(fleet + "/two.out"));
  EXPECT_TRUE(fileExistsNow(fleet + "/stale.pid"));  // outside the request
  EXPECT_FALSE(fileExistsNow(fleet + "/one/eng.prof"));
  EXPECT_FALSE(fileExistsNow(fleet + "/two/eng.prof"));
  EXPECT_FALSE(fileExistsNow(fleet + "/two/debug.log"));

  args.chosenProcess[0] = '\0';
  ASSERT_TRUE(killFleet(&args));
  EXPECT_FALSE(fileExistsNow(fleet + "/stale.pid"));
  EXPECT_FALSE(fileExistsNow(fleet + "/x.PID"));
  EXPECT_FALSE(fileExistsNow(fleet + "/two.out"));

  // No definition, no kill.
  sandbox.output.clear();
  std::snprintf(args.fleetDir, sizeof args.fleetDir, "%s", sandbox.fleetDir("nothing").c_str());
  EXPECT_FALSE(killFleet(&args));
  ASSERT_EQ(sandbox.output.fatals.size(), 1u);
  EXPECT_EQ(sandbox.output.fatals[0], (owbtest::RecordingOutput::Entry{"ERROR", "Cannot read the fleet's definition"}));
}

TEST(PsFleet, FiltersAndFossils) {
  opstest::FleetSandbox sandbox;
  const std::string fleet = sandbox.fleetDir("seen");
  makeDefinedFleet(fleet, {"one", "two"}, 9100);
  writeWholeFile(fleet + "/ONE.pid", "999998\nrecorded command\n9100\n9106\n9102\n");
  writeWholeFile(fleet + "/relic.pid", "");
  auto labels = [&](bool enginesOnly, bool externalsOnly, const char* specific) {
    PsFleetArgs args;
    std::snprintf(args.fleetDir, sizeof args.fleetDir, "%s", fleet.c_str());
    args.enginesOnly = enginesOnly ? OWB_TRUE : OWB_FALSE;
    args.externalsOnly = externalsOnly ? OWB_TRUE : OWB_FALSE;
    std::snprintf(args.specificProcess, sizeof args.specificProcess, "%s", specific);
    fleetProcessInfo* list = nullptr;
    EXPECT_TRUE(psFleet(&args, &list));
    std::string seen;
    for (fleetProcessInfo* record = list; record; record = record->next)
      seen += std::string(record->processLabel) + ":" + std::to_string(record->processType) + ":" +
              std::to_string(record->processID) + ":" + std::to_string(record->moreData.engData.debuggerPort) + " ";
    freeFleetProcessInfo(&list);
    return seen;
  };
  // A label differing only in case merges into the engine's record.
  EXPECT_EQ(labels(false, false, ""), "one:0:999998:9106 two:0:0:0 placemon:1:0:0 relic:2:0:0 ");
  EXPECT_EQ(labels(true, false, ""), "one:0:999998:9106 two:0:0:0 ");
  EXPECT_EQ(labels(false, true, ""), "placemon:1:0:0 ");
  EXPECT_EQ(labels(true, true, ""), "");
  EXPECT_EQ(labels(false, false, "TWO"), "two:0:0:0 ");
  EXPECT_EQ(labels(false, false, "relic"), "relic:2:0:0 ");
  EXPECT_EQ(labels(false, false, "nobody"), "");

  // Without a definition the pid files alone tell.
  unlink((fleet + "/seen.flt").c_str());
  unlink((fleet + "/relic.pid").c_str());  // fossils come in directory order: keep one
  EXPECT_EQ(labels(false, false, ""), "ONE:2:999998:0 ");

  PsFleetArgs missing;
  std::snprintf(missing.fleetDir, sizeof missing.fleetDir, "%s", sandbox.fleetDir("absent").c_str());
  fleetProcessInfo* list = nullptr;
  EXPECT_FALSE(psFleet(&missing, &list));
  EXPECT_EQ(list, nullptr);
}

}  // namespace
