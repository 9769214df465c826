// Pid files that must never turn into a probe or signal to 0, 1 or -1.
//
// This test program defines kill() itself, so that every call from the
// fleet operations linked into it comes here: a call aimed at 0, 1 or -1
// (or at -0 and -1 as groups) is recorded and never delivered, and pretends
// to succeed as the real call would for such targets; every other call
// goes to the system unchanged.
#include <gtest/gtest.h>
#include <sys/syscall.h>

#include "fleet/fleetdef.h"
#include "fleet/kilfleet.h"
#include "fleet/ops_support.h"
#include "fleet/pidfile.h"
#include "fleet/psfleet.h"
#include "shared/utils.h"

namespace {

std::mutex gHeldMutex;
std::vector<std::pair<pid_t, int>> gHeldSignals;

std::vector<std::pair<pid_t, int>> takeHeldSignals() {
  std::lock_guard<std::mutex> lock(gHeldMutex);
  std::vector<std::pair<pid_t, int>> held;
  held.swap(gHeldSignals);
  return held;
}

}  // namespace

extern "C" int kill(pid_t target, int signalNumber) {
  if (target >= -1 && target <= 1) {
    std::lock_guard<std::mutex> lock(gHeldMutex);
    gHeldSignals.emplace_back(target, signalNumber);
    return 0;
  }
  return static_cast<int>(syscall(SYS_kill, target, signalNumber));
}

namespace {

using owbtest::writeWholeFile;

// First lines that atoi would read as 1, 0 or -1, or that wrap to them.
const char* const kHostileFirstLines[] = {"1",    " 1",         "+1",         "1abc",        "00001", "4294967297",
                                          "0",    "-1",         "4294967295", "18446744073709551617", "2147483648",
                                          "1 2",  "\t1",        "0x2"};

// Plain pids are read; the hostile first lines are tried below, on pid files.
TEST(PidGuard, PlainPidsAreRead) {
  EXPECT_EQ(processIDFromText("12345"), 12345);
  EXPECT_EQ(processIDFromText("2"), 2);
  EXPECT_EQ(processIDFromText("2147483647"), 2147483647);
  EXPECT_EQ(processIDFromText(""), 0);
}

TEST(PidGuard, HostilePidFilesAreNeverSignalledAndCountAsStale) {
  opstest::ChildReaper reaper;
  opstest::FleetSandbox sandbox;
  owbtest::ScopedEnv patience("OWB_STOP_PATIENCE", std::string("1"));
  const std::string fleet = sandbox.fleetDir("demo");
  mkdir(fleet.c_str(), 0777);
  writeWholeFile(fleet + "/demo.flt", "[ Common ]\nBasePort = 20000\n[ Engine ]\nEngineName = alpha\n"
                                      "EnginePlaceConfig = place.cfg\n");
  takeHeldSignals();

  for (const char* line : kHostileFirstLines) {
    SCOPED_TRACE(line);
    const std::string pidFile = fleet + "/alpha.pid";
    writeWholeFile(pidFile, std::string(line) + "\ncommand\n");
    EXPECT_EQ(getProcessID(fleet.c_str(), "alpha"), 0);

    auto status = opstest::argsFor<PsFleetArgs>(fleet);
    fleetProcessInfo* records = nullptr;
    ASSERT_TRUE(psFleet(&status, &records));
    ASSERT_NE(records, nullptr);
    EXPECT_EQ(records->isRunning, 0);
    EXPECT_EQ(records->processID, 0);
    freeFleetProcessInfo(&records);

    EXPECT_TRUE(stopProcess(fleet.c_str(), "alpha"));
    writeWholeFile(pidFile, std::string(line) + "\n");
    EXPECT_EQ(isRunning(fleet.c_str(), "alpha"), 0);
    EXPECT_FALSE(opstest::fileExistsNow(pidFile));  // stale, so tidied away

    writeWholeFile(pidFile, std::string(line) + "\n");
    auto killArgs = opstest::argsFor<KillFleetArgs>(fleet);
    EXPECT_TRUE(killFleet(&killArgs));
    EXPECT_FALSE(fleetIsRunning(fleet.c_str()));
    EXPECT_FALSE(processOrGroupExists(1));

    for (const auto& held : takeHeldSignals())
      ADD_FAILURE() << "signal " << held.second << " aimed at " << held.first;
  }
}

}  // namespace
