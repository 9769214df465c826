// A fleet's whole life with real engines and external processes: made,
// booted cold, looked at, killed with clean-up, booted warm, backed up,
// restored from a backup with other engines, removed.  And the filters of
// kill and status.
#include <gtest/gtest.h>

#include "fleet/backup.h"
#include "fleet/eng_util.h"
#include "fleet/fleetdef.h"
#include "fleet/kilfleet.h"
#include "fleet/ops_support.h"
#include "fleet/pidfile.h"
#include "fleet/psfleet.h"
#include "fleet/restore.h"
#include "fleet/rmfleet.h"
#include "fleet/runfleet.h"
#include "shared/globals.h"
#include "shared/log.h"

namespace {

typedef std::vector<owbtest::RecordingOutput::Entry> Entries;
using opstest::eventually;
using opstest::fileExistsNow;
using owbtest::readWholeFile;
using owbtest::writeWholeFile;

// The first line a TCP server on the loopback port answers, or "".
std::string statusLineAt(long port) {
  std::string line;
  int descriptor = owbtest::connectLoopback(static_cast<int>(port));
  if (descriptor < 0) return line;
  char buffer[512];
  ssize_t got;
  while ((got = recv(descriptor, buffer, sizeof buffer, 0)) > 0) line.append(buffer, static_cast<size_t>(got));
  close(descriptor);
  return line;
}

bool statusSays(long port, const std::string& text) {
  return eventually([&] { return statusLineAt(port).find(text) != std::string::npos; });
}

void makeDefinedFleet(const std::string& fleetDir, std::initializer_list<const char*> labels, long basePort,
                      const std::string& extraProject = "") {
  MakeFleetArgs args;
  opstest::defineFleet(&args, fleetDir, labels, opstest::FleetSandbox::installTree() + "/lib/engplace.cfg", basePort);
  // The second engine brings the extra project file.
  if (!extraProject.empty())
    static_cast<EngineConfiguration*>(args.fleetDefn.engines.get(1))
        ->projectConfigFiles.include(new StringItem(extraProject.c_str()));
  List debuggerPorts(kStandardChunkSize, TRUE, EqualCompare);
  ASSERT_TRUE(makeFleet(&args, &debuggerPorts));
}

const fleetProcessInfo* recordOf(const fleetProcessInfo* list, const char* label) {
  for (; list; list = list->next)
    if (std::strcmp(list->processLabel, label) == 0) return list;
  return nullptr;
}

// A status list as "label:type:running:udp/tcp/debugger ", with the pid
// after running for a process that is not (a running one's varies).
std::string describe(const fleetProcessInfo* list) {
  std::string text;
  for (; list; list = list->next) {
    const engineProcessInfo& ports = list->moreData.engData;
    text += std::string(list->processLabel) + ":" + std::to_string(list->processType) + ":" +
            std::to_string(list->isRunning) + (list->isRunning ? "" : ":" + std::to_string(list->processID)) + ":" +
            std::to_string(ports.udpPort) + "/" + std::to_string(ports.tcpPort) + "/" +
            std::to_string(ports.debuggerPort) + " ";
  }
  return text;
}

// Those of the names that exist in the fleet directory, each with a blank.
std::string presentOf(const std::string& fleet, std::initializer_list<std::string> names) {
  std::string present;
  for (const std::string& name : names)
    if (fileExistsNow(fleet + "/" + name)) present += name + " ";
  return present;
}

// Makes the fleet with a free base port for its engines and boots it.
void makeAndRun(const std::string& fleetDir, std::initializer_list<const char*> labels, long* basePort) {
  *basePort = opstest::freeBasePort(4);
  ASSERT_NE(*basePort, 0);
  makeDefinedFleet(fleetDir, labels, *basePort);
  auto run = opstest::argsFor<RunFleetArgs>(fleetDir);
  ASSERT_TRUE(runFleet(&run, nullptr));
}

bool killAll(const std::string& fleetDir) {
  auto kill = opstest::argsFor<KillFleetArgs>(fleetDir);
  return killFleet(&kill) != 0;
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

  auto run = opstest::argsFor<RunFleetArgs>(fleet);
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
  ASSERT_TRUE(eventually([&] {
    return presentOf(fleet, {"alpha.pid", "beta.pid", "placemon.pid", "watcher.pid"}) ==
           "alpha.pid beta.pid placemon.pid watcher.pid ";
  }));
  EXPECT_TRUE(statusSays(base + 2, "alpha up"));
  EXPECT_TRUE(statusSays(base + 2, "boots=1 boot=cold"));
  EXPECT_TRUE(statusSays(base + 14, "beta up"));  // the debugger port answers too

  // Status: engines with ports, externals with their expanded commands, a fossil.
  writeWholeFile(fleet + "/ghost.pid", "999999\nold command\n");
  auto ps = opstest::argsFor<PsFleetArgs>(fleet);
  fleetProcessInfo* status = nullptr;
  ASSERT_TRUE(psFleet(&ps, &status));
  auto port = [&](long offset) { return std::to_string(base + offset); };
  EXPECT_EQ(describe(status), "alpha:0:1:" + port(0) + "/" + port(2) + "/" + port(6) + " beta:0:1:" + port(8) + "/" +
                                  port(10) + "/" + port(14) +
                                  " placemon:1:1:0/0/0 watcher:1:1:0/0/0 ghost:2:0:999999:0/0/0 ");
  ASSERT_NE(recordOf(status, "placemon"), nullptr);
  EXPECT_EQ(std::string(recordOf(status, "placemon")->commandLine),
            sandbox.installTree() + "/bin/placemon demo " + port(0));
  EXPECT_NE(status->startTime, 0);
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
  auto kill = opstest::argsFor<KillFleetArgs>(fleet);
  kill.cleanup = OWB_TRUE;
  ASSERT_TRUE(killFleet(&kill));
  EXPECT_FALSE(fleetIsRunning(fleet.c_str()));
  EXPECT_EQ(presentOf(fleet, {"alpha.pid", "beta.pid", "placemon.pid", "watcher.pid", "ghost.pid", "alpha.out",
                              "placemon.out", "beta/eng.prof", "alpha/debug.log"}),
            "");
  EXPECT_TRUE(eventually([&] { return statusLineAt(base + 2).empty(); }));

  // Warm boot: the engines resume their databases.
  run.coldBoot = OWB_FALSE;
  ASSERT_TRUE(runFleet(&run, nullptr));
  EXPECT_TRUE(statusSays(base + 2, "boots=2 boot=warm"));
  EXPECT_TRUE(statusSays(base + 10, "beta up"));
  kill.cleanup = OWB_FALSE;
  ASSERT_TRUE(killFleet(&kill));
  EXPECT_NE(readWholeFile(fleet + "/alpha.out").find("stopping cleanly"), std::string::npos);

  // Backup, and a failed second backup that leaves the first one standing.
  auto backup = opstest::argsFor<BackupFleetArgs>(fleet);
  std::snprintf(backup.backupTag, sizeof backup.backupTag, "snap");
  ASSERT_TRUE(backupFleet(&backup));
  EXPECT_EQ(presentOf(fleet, {"snap/life.flt", "snap/region/ports.cfg", "snap/alpha.out"}),
            "snap/life.flt snap/region/ports.cfg ");
  EXPECT_EQ(readWholeFile(fleet + "/snap/beta/db/state"), readWholeFile(fleet + "/beta/db/state"));
  ASSERT_EQ(rename((fleet + "/beta").c_str(), (fleet + "/beta.away").c_str()), 0);
  EXPECT_FALSE(backupFleet(&backup));
  ASSERT_EQ(rename((fleet + "/beta.away").c_str(), (fleet + "/beta").c_str()), 0);
  EXPECT_EQ(presentOf(fleet, {"snap/beta/db/state", "snap.tmp"}), "snap/beta/db/state ");

  // Re-made with another engine, then restored: the backup's engines return
  // with their state, and the other engine's directory goes.
  makeDefinedFleet(fleet, {"gamma"}, base);
  EXPECT_FALSE(fileExistsNow(fleet + "/alpha"));
  auto restore = opstest::argsFor<RestoreFleetArgs>(fleet);
  std::snprintf(restore.backupTag, sizeof restore.backupTag, "snap");
  ASSERT_TRUE(restoreFleet(&restore));
  EXPECT_EQ(presentOf(fleet, {"gamma", "snap/life.flt"}), "snap/life.flt ");  // the backup stays
  EXPECT_NE(readWholeFile(fleet + "/alpha/db/state").find("boots 2"), std::string::npos);
  EXPECT_EQ(readWholeFile(fleet + "/life.flt"), readWholeFile(fleet + "/snap/life.flt"));

  // The restored fleet boots warm again, then is killed and removed.
  ASSERT_TRUE(runFleet(&run, nullptr));
  EXPECT_TRUE(statusSays(base + 2, "boots=3 boot=warm"));
  EXPECT_FALSE(removeFleet(fleet.c_str()));  // not while it runs
  ASSERT_TRUE(dirExists(fleet.c_str()));
  ASSERT_TRUE(killFleet(&kill));
  EXPECT_TRUE(removeFleet(fleet.c_str()));
  EXPECT_FALSE(dirExists(fleet.c_str()));

  EXPECT_TRUE(eventually([] { return opstest::childProcesses().empty(); }));
}

TEST(BootEngine, UndefinedNameInAnExternalFailsTheBoot) {
  opstest::ChildReaper reaper;
  opstest::FleetSandbox sandbox;
  const std::string fleet = sandbox.fleetDir("broken");
  writeWholeFile(sandbox.root() + "/bad.cfg", "&bad = /bin/sleep $NOSUCHVALUE\n");
  makeDefinedFleet(fleet, {"one", "two"}, 9200, "bad.cfg");

  EXPECT_FALSE(warmBootEngine(fleet.c_str(), "-d1", "one", nullptr));
  EXPECT_EQ(sandbox.output.fatals,
            (Entries{{"Engine Not Started", "Cannot warm boot because there is no old database for engine one"}}));
  sandbox.output.clear();
  EXPECT_FALSE(coldBootEngine(fleet.c_str(), "-d1", "two", nullptr));
  EXPECT_EQ(sandbox.output.fatals,
            (Entries{{"Cannot Start External Process",
                      "No value is available for $NOSUCHVALUE in the command line for external process 'bad'"},
                     {"Engine Not Started", "Failed to start the external processes"}}));
  EXPECT_FALSE(fileExistsNow(fleet + "/two.pid"));
  EXPECT_FALSE(fileExistsNow(fleet + "/bad.pid"));
  // The place's external, which stands before the faulty line, was started.
  EXPECT_TRUE(eventually([&] { return isRunning(fleet.c_str(), "placemon") != 0; }));
  EXPECT_TRUE(killAll(fleet));
}

// A fleet below a folder whose name holds a blank, a command substitution
// and a quote runs its engine (in a terminal) and its external (in the
// background) in place, and the shell runs nothing of the folder's name.
TEST(RunFleet, FolderNamesSpecialToTheShellStayPaths) {
  opstest::ChildReaper reaper;
  opstest::FleetSandbox sandbox;
  const std::string folder = sandbox.root() + "/My fleets $(touch pwned) it's;";
  ASSERT_EQ(mkdir(folder.c_str(), 0777), 0);
  const std::string fleet = folder + "/demo";
  long base = 0;
  makeAndRun(fleet, {"alpha"}, &base);
  EXPECT_TRUE(statusSays(base + 2, "alpha up"));
  ASSERT_TRUE(eventually([&] { return isRunning(fleet.c_str(), "placemon") != 0; }));
  EXPECT_TRUE(isRunning(fleet.c_str(), "alpha"));
  EXPECT_NE(readWholeFile(fleet + "/alpha.pid").find("\n" + sandbox.installTree() + "/bin/eng -s db -f -d1 -o - -b " +
                                                     sandbox.installTree() + "/lib/boot.s\n"),
            std::string::npos);

  EXPECT_FALSE(fileExistsNow("pwned"));
  std::string found;
  owbtest::runShell("find " + sandbox.root() + " -name pwned; LC_ALL=C ls -A " + sandbox.root(), &found);
  EXPECT_EQ(found, "My fleets $(touch pwned) it's;\nhome\n");

  EXPECT_TRUE(killAll(fleet));
  EXPECT_EQ(presentOf(fleet, {"alpha.pid", "placemon.pid"}), "");
}

// The names of everything below directory and a checksum of each file.
std::string treeOf(const std::string& directory) {
  std::string listing;
  owbtest::runShell("cd " + directory + " && find . | LC_ALL=C sort && find . -type f | LC_ALL=C sort | xargs md5sum",
                    &listing);
  return listing;
}

// A tag that names a part of the fleet, or leaves its directory, is refused
// by backup and restore with an alert, and the fleet stays as it was.
TEST(BackupFleet, TagsNamingThePartsOfTheFleetAreRefused) {
  opstest::ChildReaper reaper;
  opstest::FleetSandbox sandbox;
  const std::string fleet = sandbox.fleetDir("demo");
  makeDefinedFleet(fleet, {"alpha", "beta"}, 9300);
  writeWholeFile(fleet + "/alpha.out", "earlier output\n");
  const std::string before = treeOf(fleet);
  ASSERT_NE(before.find("./alpha.out"), std::string::npos) << before;

  const char* const forbidden[] = {"alpha", "Beta", "region", "demo.flt", "alpha.pid", "alpha.out", "x.PID",
                                   "",      ".",    "..",     "../demo",  "a/b"};
  for (const char* tag : forbidden) {
    SCOPED_TRACE(tag);
    sandbox.output.clear();
    auto backup = opstest::argsFor<BackupFleetArgs>(fleet);
    std::snprintf(backup.backupTag, sizeof backup.backupTag, "%s", tag);
    EXPECT_FALSE(backupFleet(&backup));
    auto restore = opstest::argsFor<RestoreFleetArgs>(fleet);
    std::snprintf(restore.backupTag, sizeof restore.backupTag, "%s", tag);
    EXPECT_FALSE(restoreFleet(&restore));
    ASSERT_EQ(sandbox.output.fatals.size(), 2u);
    EXPECT_EQ(sandbox.output.fatals[0].first, "Cannot Backup the Fleet");
    EXPECT_EQ(sandbox.output.fatals[1].first, "Cannot Restore the Fleet");
    EXPECT_NE(sandbox.output.fatals[0].second.find(std::string("\"") + tag + "\""), std::string::npos);
    EXPECT_EQ(treeOf(fleet), before);
  }
  EXPECT_EQ(sandbox.output.fatals[0].second,
            "The backup tag \"a/b\" must name a directory within the fleet directory.");
  sandbox.output.clear();
  auto backup = opstest::argsFor<BackupFleetArgs>(fleet);
  std::snprintf(backup.backupTag, sizeof backup.backupTag, "alpha");
  EXPECT_FALSE(backupFleet(&backup));
  EXPECT_EQ(sandbox.output.fatals.at(0).second, "The backup tag \"alpha\" names the engine alpha.  Choose another tag.");
}

// One limit for engine names: the longest that can be made runs with its
// pid file and shows in status; a longer one is refused when the fleet is
// made; status of a name up to the field's size finds its configuration.
TEST(EngineNames, LongNamesHaveOneLimit) {
  opstest::ChildReaper reaper;
  opstest::FleetSandbox sandbox;

  MakeFleetArgs tooLong;
  const std::string refusedFleet = sandbox.fleetDir("refused");
  const std::string longest(kMaxEngineNameLength, 'e');
  opstest::defineFleet(&tooLong, refusedFleet, {(longest + "x").c_str()}, "", 9400);
  List ports(kStandardChunkSize, TRUE, EqualCompare);
  EXPECT_FALSE(makeFleet(&tooLong, &ports));
  ASSERT_EQ(sandbox.output.fatals.size(), 1u);
  EXPECT_EQ(sandbox.output.fatals[0].first, "Cannot Configure a Fleet");
  EXPECT_NE(sandbox.output.fatals[0].second.find("at most 251 characters"), std::string::npos);
  EXPECT_FALSE(fileExistsNow(refusedFleet));

  const std::string fleet = sandbox.fleetDir("long");
  long base = 0;
  makeAndRun(fleet, {longest.c_str()}, &base);
  EXPECT_TRUE(eventually([&] { return isRunning(fleet.c_str(), longest.c_str()) != 0; }));
  auto ps = opstest::argsFor<PsFleetArgs>(fleet);
  fleetProcessInfo* status = nullptr;
  ASSERT_TRUE(psFleet(&ps, &status));
  ASSERT_NE(recordOf(status, longest.c_str()), nullptr);
  EXPECT_EQ(recordOf(status, longest.c_str())->isRunning, 1);
  EXPECT_NE(recordOf(status, "placemon"), nullptr);
  freeFleetProcessInfo(&status);
  EXPECT_TRUE(killAll(fleet));

  // A definition written by hand with a name of the field's full size.
  const std::string full(sizeof(processLabelType) - 1, 'f');
  const std::string handMade = sandbox.fleetDir("hand");
  ASSERT_EQ(mkdir(handMade.c_str(), 0777), 0);
  ASSERT_EQ(mkdir((handMade + "/" + full).c_str(), 0777), 0);
  writeWholeFile(handMade + "/hand.flt", "[ Common ]\nBasePort = 9500\n[ Engine ]\nEngineName = " + full +
                                             "\nEnginePlaceConfig = place.cfg\n");
  writeWholeFile(handMade + "/" + full + "/startup.cfg", "&helper = /bin/true\n");
  sandbox.output.clear();
  ps = opstest::argsFor<PsFleetArgs>(handMade);
  ASSERT_TRUE(psFleet(&ps, &status));
  EXPECT_NE(recordOf(status, full.c_str()), nullptr);
  EXPECT_NE(recordOf(status, "helper"), nullptr);
  EXPECT_TRUE(sandbox.output.everything().empty()) << testing::PrintToString(sandbox.output.everything());
  freeFleetProcessInfo(&status);
}

// Where each open descriptor of process pid leads, by number.
std::map<int, std::string> descriptorsOf(pid_t pid) {
  std::map<int, std::string> targets;
  std::error_code error, linkError;
  for (std::filesystem::directory_iterator entry("/proc/" + std::to_string(pid) + "/fd", error), end;
       !error && entry != end; entry.increment(error))
    targets[std::atoi(entry->path().filename().c_str())] = std::filesystem::read_symlink(entry->path(), linkError);
  return targets;
}

// An engine started by a tool whose log is open, beside a descriptor that
// some library opened without close-on-exec, holds none of them: only its
// standard descriptors and the sockets it makes itself.
TEST(Descriptors, AnEngineInheritsNothingOfTheTool) {
  opstest::ChildReaper reaper;
  opstest::FleetSandbox sandbox;
  openToolLog(false);
  const std::string logPath = sandbox.homeDir() + "/.owb/owblog";
  int logDescriptor = -1;
  for (const auto& open : descriptorsOf(getpid()))
    if (open.second == logPath) logDescriptor = open.first;
  ASSERT_GE(logDescriptor, 0);
  EXPECT_TRUE(fcntl(logDescriptor, F_GETFD) & FD_CLOEXEC);
  const std::string strayPath = sandbox.root() + "/stray";
  writeWholeFile(strayPath, "");
  int stray = open(strayPath.c_str(), O_RDONLY);
  ASSERT_GE(stray, 0);

  const std::string fleet = sandbox.fleetDir("plain");
  long base = 0;
  makeAndRun(fleet, {"alpha"}, &base);
  ASSERT_TRUE(statusSays(base + 2, "alpha up"));
  for (const char* label : {"alpha", "placemon"}) {
    pid_t pid = getProcessID(fleet.c_str(), label);
    ASSERT_GT(pid, 1) << label;
    std::map<int, std::string> open = descriptorsOf(pid);
    EXPECT_EQ(open.count(0) + open.count(1) + open.count(2), 3u) << label;
    for (const auto& descriptor : open) {
      EXPECT_NE(descriptor.second, logPath) << label;
      EXPECT_NE(descriptor.second, strayPath) << label;
      // The engine holds nothing but its own sockets; placemon, a shell
      // script, also holds its script.
      if (descriptor.first <= 2 || std::string(label) != "alpha") continue;
      EXPECT_EQ(descriptor.second.compare(0, 7, "socket:"), 0)
          << label << " " << descriptor.first << " -> " << descriptor.second;
    }
  }
  close(stray);
  delete gOWBLogStream;
  gOWBLogStream = nullptr;
  EXPECT_TRUE(killAll(fleet));
}

// Kill and status filters: kill's follow the chosen process, then the
// external and engine flags; status merges pid files into the records by
// label and shows fossils.
TEST(KillAndStatus, FiltersCleanUpAndFossils) {
  List engines(kStandardChunkSize, TRUE, EqualCompare);
  engines.include(new StringItem("Alpha"));
  KillFleetArgs filter;
  EXPECT_FALSE(canIgnore("alpha", &filter, &engines));
  EXPECT_FALSE(canIgnore("other", &filter, &engines));
  filter.enginesOnly = OWB_TRUE;
  EXPECT_FALSE(canIgnore("ALPHA", &filter, &engines));
  EXPECT_TRUE(canIgnore("other", &filter, &engines));
  filter.externalOnly = OWB_TRUE;  // wins over enginesOnly
  EXPECT_TRUE(canIgnore("alpha", &filter, &engines));
  EXPECT_FALSE(canIgnore("other", &filter, &engines));
  std::snprintf(filter.chosenProcess, sizeof filter.chosenProcess, "alpha");  // wins over both
  EXPECT_FALSE(canIgnore("Alpha", &filter, &engines));
  EXPECT_TRUE(canIgnore("other", &filter, &engines));

  // A chosen process's clean-up takes its output but every engine's profile.
  opstest::FleetSandbox sandbox;
  const std::string fleet = sandbox.fleetDir("tidy");
  makeDefinedFleet(fleet, {"one", "two"}, 9000);
  for (const char* name : {"one.out", "two.out", "stale.pid", "one/eng.prof", "two/eng.prof", "two/debug.log"})
    writeWholeFile(fleet + "/" + name, "x\n");
  writeWholeFile(fleet + "/x.PID", "999999\n");
  auto args = opstest::argsFor<KillFleetArgs>(fleet);
  args.cleanup = OWB_TRUE;
  std::snprintf(args.chosenProcess, sizeof args.chosenProcess, "one");
  ASSERT_TRUE(killFleet(&args));
  // The other's output and the pid file outside the request stay.
  EXPECT_EQ(presentOf(fleet, {"one.out", "two.out", "stale.pid", "x.PID", "one/eng.prof", "two/eng.prof", "two/debug.log"}),
            "two.out stale.pid x.PID ");
  args.chosenProcess[0] = '\0';
  ASSERT_TRUE(killFleet(&args));
  EXPECT_EQ(presentOf(fleet, {"two.out", "stale.pid", "x.PID"}), "");

  // No definition, no kill.
  sandbox.output.clear();
  EXPECT_FALSE(killAll(sandbox.fleetDir("nothing")));
  EXPECT_EQ(sandbox.output.fatals, (Entries{{"ERROR", "Cannot read the fleet's definition"}}));

  const std::string seen = sandbox.fleetDir("seen");
  makeDefinedFleet(seen, {"one", "two"}, 9100);
  writeWholeFile(seen + "/ONE.pid", "999998\nrecorded command\n9100\n9106\n9102\n");
  writeWholeFile(seen + "/relic.pid", "");
  auto labels = [&](bool enginesOnly, bool externalsOnly, const char* specific) {
    auto args = opstest::argsFor<PsFleetArgs>(seen);
    args.enginesOnly = enginesOnly ? OWB_TRUE : OWB_FALSE;
    args.externalsOnly = externalsOnly ? OWB_TRUE : OWB_FALSE;
    std::snprintf(args.specificProcess, sizeof args.specificProcess, "%s", specific);
    fleetProcessInfo* list = nullptr;
    EXPECT_TRUE(psFleet(&args, &list));
    std::string records = describe(list);
    freeFleetProcessInfo(&list);
    return records;
  };
  // A label differing only in case merges into the engine's record.
  const std::string one = "one:0:0:999998:9100/9102/9106 ", two = "two:0:0:0:0/0/0 ";
  const std::string placemon = "placemon:1:0:0:0/0/0 ", relic = "relic:2:0:0:0/0/0 ";
  EXPECT_EQ(labels(false, false, ""), one + two + placemon + relic);
  EXPECT_EQ(labels(true, false, ""), one + two);
  EXPECT_EQ(labels(false, true, ""), placemon);
  EXPECT_EQ(labels(true, true, ""), "");
  EXPECT_EQ(labels(false, false, "TWO"), two);
  EXPECT_EQ(labels(false, false, "relic"), relic);
  EXPECT_EQ(labels(false, false, "nobody"), "");

  // Without a definition the pid files alone tell.
  unlink((seen + "/seen.flt").c_str());
  unlink((seen + "/relic.pid").c_str());  // fossils come in directory order: keep one
  EXPECT_EQ(labels(false, false, ""), "ONE:2:0:999998:0/0/0 ");

  auto missing = opstest::argsFor<PsFleetArgs>(sandbox.fleetDir("absent"));
  fleetProcessInfo* list = nullptr;
  EXPECT_FALSE(psFleet(&missing, &list));
  EXPECT_EQ(list, nullptr);
}

}  // namespace
