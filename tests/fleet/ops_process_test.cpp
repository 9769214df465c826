// Pid files, process probes, stopping and launching, with real processes.
#include <gtest/gtest.h>

#include "fleet/launch.h"
#include "fleet/pidfile.h"
#include "fleet/ops_support.h"

namespace {

using opstest::eventually;
using opstest::fileExistsNow;
using owbtest::readWholeFile;
using owbtest::writeWholeFile;

// Starts /bin/sh -c script as the leader of its own process group and
// records it in <fleetDir>/<label>.pid, as run_prog would.
pid_t startRecorded(const std::string& fleetDir, const std::string& label, const std::string& script) {
  pid_t pid = fork();
  if (pid == 0) {
    setpgid(0, 0);
    execl("/bin/sh", "sh", "-c", script.c_str(), static_cast<char*>(nullptr));
    _exit(127);
  }
  setpgid(pid, pid);
  writeWholeFile(fleetDir + "/" + label + ".pid", std::to_string(pid) + "\n" + script + "\n");
  return pid;
}

// A recorded process that ignores SIGINT, once its shell has set that up.
pid_t startStubborn(const std::string& fleetDir, const std::string& label) {
  pid_t pid = startRecorded(fleetDir, label, "trap '' INT; exec sleep 60");
  EXPECT_TRUE(eventually([&] { return readWholeFile("/proc/" + std::to_string(pid) + "/cmdline").find("sleep") == 0; }));
  return pid;
}

// A pid file from absent through running to stale, and the scan of a
// fleet's pid files that tidies the stale ones.
TEST(PidFiles, LifeCycleFromAbsentThroughRunningToStaleAndTheFleetScan) {
  opstest::ChildReaper reaper;
  opstest::FleetSandbox sandbox;
  const std::string fleet = sandbox.root();

  EXPECT_EQ(getProcessID(fleet.c_str(), "nobody"), 0);
  EXPECT_EQ(isRunning(fleet.c_str(), "nobody"), 0);

  // No first line: no process, and isRunning tidies the file away (the
  // guard's test tries first lines that read as no process).
  writeWholeFile(fleet + "/empty.pid", "");
  // A named pipe in place of a pid file is not waited on.
  ASSERT_EQ(mkfifo((fleet + "/piped.pid").c_str(), 0600), 0);
  EXPECT_EQ(getProcessID(fleet.c_str(), "piped"), 0);
  EXPECT_EQ(isRunning(fleet.c_str(), "empty"), 0);
  EXPECT_FALSE(fileExistsNow(fleet + "/empty.pid"));

  pid_t sleeper = startRecorded(fleet, "sleeper", "exec sleep 60");
  EXPECT_EQ(getProcessID(fleet.c_str(), "sleeper"), sleeper);
  EXPECT_EQ(isRunning(fleet.c_str(), "sleeper"), 1);
  EXPECT_TRUE(fileExistsNow(fleet + "/sleeper.pid"));

  kill(sleeper, SIGKILL);
  reaper.waitFor(sleeper);
  EXPECT_EQ(isRunning(fleet.c_str(), "sleeper"), 0);
  EXPECT_FALSE(fileExistsNow(fleet + "/sleeper.pid"));

  EXPECT_FALSE(fleetIsRunning((fleet + "/missing").c_str()));
  writeWholeFile(fleet + "/stale.pid", "999999\n");
  writeWholeFile(fleet + "/.pid", "1\n");  // too short a name to be a pid file
  EXPECT_FALSE(fleetIsRunning(fleet.c_str()));
  EXPECT_FALSE(fileExistsNow(fleet + "/stale.pid"));
  EXPECT_TRUE(fileExistsNow(fleet + "/.pid"));

  // An upper-case ending counts as a pid file, and its label is looked up
  // as <label>.pid.
  sleeper = startRecorded(fleet, "live", "exec sleep 60");
  rename((fleet + "/live.pid").c_str(), (fleet + "/LIVE.PID").c_str());
  EXPECT_FALSE(fleetIsRunning(fleet.c_str()));
  rename((fleet + "/LIVE.PID").c_str(), (fleet + "/live.pid").c_str());
  EXPECT_TRUE(fleetIsRunning(fleet.c_str()));
  kill(sleeper, SIGKILL);
  reaper.waitFor(sleeper);
}

TEST(StopProcess, StopsPoliteProcessesKillsStubbornOnesAndSparesOneStartedDuringTheStop) {
  opstest::ChildReaper reaper;
  opstest::FleetSandbox sandbox;
  const std::string fleet = sandbox.root();

  EXPECT_TRUE(stopProcess(fleet.c_str(), "absent"));

  pid_t polite = startRecorded(fleet, "polite", "exec sleep 60");
  EXPECT_TRUE(stopProcess(fleet.c_str(), "polite"));
  EXPECT_TRUE(eventually([&] { return kill(polite, 0) != 0; }));
  EXPECT_FALSE(fileExistsNow(fleet + "/polite.pid"));

  // SIGINT ignored: after the (shortened) patience the group is killed.
  owbtest::ScopedEnv patience("OWB_STOP_PATIENCE", std::string("1"));
  pid_t stubborn = startStubborn(fleet, "stubborn");
  EXPECT_TRUE(stopProcess(fleet.c_str(), "stubborn"));
  int status = reaper.waitFor(stubborn, 10);
  ASSERT_NE(status, -1);
  EXPECT_TRUE(WIFSIGNALED(status));
  EXPECT_EQ(WTERMSIG(status), SIGKILL);
  EXPECT_FALSE(fileExistsNow(fleet + "/stubborn.pid"));

  // A start of the same label while a stop waits out its patience: the new
  // process's pid file survives the stop, so it stays tracked and in reach.
  owbtest::ScopedEnv longerPatience("OWB_STOP_PATIENCE", std::string("2"));
  pid_t old = startStubborn(fleet, "worker");

  std::thread stopper([&] { EXPECT_TRUE(stopProcess(fleet.c_str(), "worker")); });
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  ASSERT_TRUE(runCommandWithPid(fleet.c_str(), "worker", "sleep 60", "", nullptr, nullptr, OWB_FALSE));
  ASSERT_TRUE(eventually([&] {
    pid_t now = getProcessID(fleet.c_str(), "worker");
    return now > 0 && now != old;
  }));
  stopper.join();

  EXPECT_NE(reaper.waitFor(old, 10), -1);
  pid_t fresh = getProcessID(fleet.c_str(), "worker");
  EXPECT_NE(fresh, old);
  EXPECT_EQ(isRunning(fleet.c_str(), "worker"), 1);
  EXPECT_TRUE(stopProcess(fleet.c_str(), "worker"));
  EXPECT_NE(reaper.waitFor(fresh, 10), -1);
}

// A configEnviron record, as the configuration reader makes them.
struct EnvironRecord {
  EnvironRecord(const char* name, const char* value) {
    record.kind = configEnviron;
    record.label = const_cast<char*>(name);
    record.value.asEnviron = const_cast<char*>(value);
  }
  configItem record{};
};

// run_prog records the process, its ports and its output; the terminal form
// goes through the configured terminal; a directory it cannot enter starts
// nothing.  And the terminal settings when the file lacks them.
TEST(RunCommandWithPid, RecordsTheProcessAndItsOutputInBothForms) {
  opstest::ChildReaper reaper;
  opstest::FleetSandbox sandbox;
  const std::string fleet = sandbox.root();
  const std::string work = fleet + "/work";
  mkdir(work.c_str(), 0777);
  writeWholeFile(work + "/greeter.sh", "echo \"dir=$(pwd) greeting=$GREETING\"\nexec sleep 60\n");

  EnvironRecord greeting("GREETING", "hello"), udp("UDP_PORT", "5001"), tcp("TCP_PORT", "5003"),
      mock("MOCK_PORT", "5002");
  configItem* environment[] = {&greeting.record, &udp.record, &tcp.record, &mock.record, nullptr};
  std::string command = "/bin/sh " + work + "/greeter.sh";
  ASSERT_TRUE(runCommandWithPid(fleet.c_str(), "greeter", command.c_str(), work.c_str(), environment, nullptr,
                                OWB_FALSE));

  const std::string pidFile = fleet + "/greeter.pid";
  ASSERT_TRUE(eventually([&] { return fileExistsNow(pidFile); }));
  std::string contents = readWholeFile(pidFile);
  pid_t pid = getProcessID(fleet.c_str(), "greeter");
  ASSERT_GT(pid, 0);
  EXPECT_EQ(contents, std::to_string(pid) + "\n" + command + "\n5001\n5002\n5003\n");  // UDP, MOCK, TCP
  EXPECT_EQ(getpgid(pid), pid);  // the leader of its own group
  EXPECT_TRUE(eventually([&] {
    return readWholeFile(fleet + "/greeter.out").find("dir=" + work + " greeting=hello") != std::string::npos;
  }));

  EXPECT_TRUE(stopProcess(fleet.c_str(), "greeter"));
  EXPECT_NE(reaper.waitFor(pid, 10), -1);

  // The sandbox's terminal is bgterm, which runs run_prog without a window.
  ASSERT_TRUE(runCommandWithPid(fleet.c_str(), "windowed", "sleep 60", "", nullptr, nullptr, OWB_TRUE));
  ASSERT_TRUE(eventually([&] { return isRunning(fleet.c_str(), "windowed") != 0; }));
  contents = readWholeFile(fleet + "/windowed.pid");
  EXPECT_EQ(contents.substr(contents.find('\n')), "\nsleep 60\n");
  EXPECT_TRUE(stopProcess(fleet.c_str(), "windowed"));

  EXPECT_TRUE(runCommandWithPid(fleet.c_str(), "lost", "sleep 60", (fleet + "/nowhere").c_str(), nullptr, nullptr,
                                OWB_FALSE));
  // The parent has reported success; only the missing pid file tells.
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  EXPECT_FALSE(fileExistsNow(fleet + "/lost.pid"));

  // The terminal settings: defaults, and the file made when there is none.
  char program[kTerminalSettingSize];
  char options[kTerminalSettingSize];
  const std::string settings = sandbox.homeDir() + "/.owb/xterm_settings";

  // The sandbox's two-line file is read by every fleet that runs.  One line
  // is not enough: the defaults, and the file stays as it is.
  writeWholeFile(settings, "/usr/bin/xterm\n");
  readTerminalSettings(program, options);
  EXPECT_STREQ(program, kDefaultTerminalProgram);
  EXPECT_STREQ(options, kDefaultTerminalOptions);
  EXPECT_EQ(readWholeFile(settings), "/usr/bin/xterm\n");

  unlink(settings.c_str());
  readTerminalSettings(program, options);
  EXPECT_STREQ(program, kDefaultTerminalProgram);
  EXPECT_EQ(readWholeFile(settings),
            "/usr/bin/X11/xterm\n-sb -j +ls -bg rgbi:0.125/0.33/0.99 -fg black\n");

  // Without HOME nothing is written anywhere.
  unlink(settings.c_str());
  {
    owbtest::ScopedEnv noHome("HOME", std::nullopt);
    readTerminalSettings(program, options);
  }
  EXPECT_STREQ(program, kDefaultTerminalProgram);
  EXPECT_FALSE(fileExistsNow(settings));
}

}  // namespace
