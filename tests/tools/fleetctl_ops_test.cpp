// fleetctl's fleet commands as real processes: a demo fleet made, run,
// looked at, killed, backed up, restored and removed from the shell.
#include <fcntl.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "fleet/ops_support.h"

namespace {

using opstest::eventually;
using opstest::fileExistsNow;
using owbtest::readWholeFile;

struct Outcome {
  int status;
  std::string out;
  std::string err;
};

// Runs the installation's fleetctl in the sandbox's root; the reaper
// collects its status (and adopts what it leaves running).
Outcome fleetctl(opstest::ChildReaper& reaper, const opstest::FleetSandbox& sandbox,
                 std::vector<std::string> args) {
  std::string outFile = sandbox.root() + "/fleetctl.stdout";
  std::string errFile = sandbox.root() + "/fleetctl.stderr";
  std::string program = sandbox.installTree() + "/bin/fleetctl";
  std::vector<char*> argv{program.data()};
  for (std::string& arg : args) argv.push_back(arg.data());
  argv.push_back(nullptr);
  pid_t child = fork();
  if (child == 0) {
    if (chdir(sandbox.root().c_str()) != 0) _exit(126);
    int out = open(outFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    int err = open(errFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    dup2(out, 1);
    dup2(err, 2);
    execv(program.c_str(), argv.data());
    _exit(127);
  }
  int status = reaper.waitFor(child, 120);
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, readWholeFile(outFile), readWholeFile(errFile)};
}

TEST(FleetctlOps, DemoFleetFromTheShell) {
  opstest::ChildReaper reaper;
  opstest::FleetSandbox sandbox;
  const long base = opstest::freeBasePort(8);
  ASSERT_NE(base, 0);
  const std::string port = std::to_string(base);
  const std::string fleet = sandbox.fleetDir("demo");

  Outcome made = fleetctl(reaper, sandbox,
                          {"new", "demo", "--engine", "alpha", "--engine", "beta", "--base-port", port, "--no-authority"});
  ASSERT_EQ(made.status, 0) << made.err;
  EXPECT_EQ(made.out, "alpha " + std::to_string(base + 6) + "\nbeta " + std::to_string(base + 14) + "\n");
  EXPECT_NE(readWholeFile(fleet + "/demo.flt").find("EnginePlaceConfig = " + sandbox.installTree() + "/lib/engplace.cfg"),
            std::string::npos);
  EXPECT_EQ(fleetctl(reaper, sandbox, {"new", "demo"}).status, 1);  // exists already
  EXPECT_EQ(fleetctl(reaper, sandbox, {"make", "demo"}).out, made.out);

  Outcome ran = fleetctl(reaper, sandbox, {"run", "demo"});
  ASSERT_EQ(ran.status, 0) << ran.err;
  ASSERT_TRUE(eventually([&] {
    return fileExistsNow(fleet + "/alpha.pid") && fileExistsNow(fleet + "/beta.pid") &&
           fileExistsNow(fleet + "/placemon.pid");
  }));

  Outcome json = fleetctl(reaper, sandbox, {"status", "demo", "--json"});
  ASSERT_EQ(json.status, 0);
  EXPECT_NE(json.out.find("{\"type\": \"Engine\", \"name\": \"alpha\", \"status\": \"Up\""), std::string::npos);
  EXPECT_NE(json.out.find("\"debuggerPort\": " + std::to_string(base + 6) + ", \"udpPort\": " + port +
                          ", \"tcpPort\": " + std::to_string(base + 2) + "}"),
            std::string::npos);
  EXPECT_NE(json.out.find("\"type\": \"External Process\", \"name\": \"placemon\", \"status\": \"Up\""),
            std::string::npos);
  EXPECT_NE(json.out.find("\"debuggerPort\": null, \"udpPort\": null, \"tcpPort\": null}"), std::string::npos);
  Outcome table = fleetctl(reaper, sandbox, {"status", "demo", "--engines-only"});
  EXPECT_EQ(table.out.substr(0, table.out.find('\n')).find("Type"), 0u);
  EXPECT_NE(table.out.find("DAS Port  UDP Port  TCP Port"), std::string::npos);
  EXPECT_EQ(table.out.find("placemon"), std::string::npos);

  Outcome busyBackup = fleetctl(reaper, sandbox, {"backup", "demo"});
  EXPECT_EQ(busyBackup.status, 1);
  EXPECT_EQ(busyBackup.err,
            "Cannot Backup the Fleet: One or more fleet processes are running.  You must stop the fleet first.\n");

  Outcome killed = fleetctl(reaper, sandbox, {"kill", "demo", "--cleanup"});
  ASSERT_EQ(killed.status, 0) << killed.err;
  EXPECT_FALSE(fileExistsNow(fleet + "/alpha.pid"));
  EXPECT_FALSE(fileExistsNow(fleet + "/placemon.out"));
  Outcome down = fleetctl(reaper, sandbox, {"status", "demo", "--json", "--process", "beta"});
  EXPECT_EQ(down.out,
            "[\n  {\"type\": \"Engine\", \"name\": \"beta\", \"status\": \"Down\", \"commandLine\": null, "
            "\"started\": 0, \"pid\": 0, \"debuggerPort\": 0, \"udpPort\": 0, \"tcpPort\": 0}\n]\n");

  EXPECT_EQ(fleetctl(reaper, sandbox, {"backup", "demo", "--tag", "first"}).status, 0);
  EXPECT_TRUE(fileExistsNow(fleet + "/first/beta/db/state"));
  EXPECT_EQ(fleetctl(reaper, sandbox, {"backup", "demo", "--tag", "../outside"}).status, 2);
  Outcome garbled = fleetctl(reaper, sandbox, {"restore", "demo"});
  EXPECT_EQ(garbled.status, 1);
  EXPECT_EQ(garbled.err, "Cannot Restore the Fleet: The backup is clearly garbled.\n");
  EXPECT_EQ(fleetctl(reaper, sandbox, {"restore", "demo", "--tag", "first"}).status, 0);

  EXPECT_EQ(fleetctl(reaper, sandbox, {"remove", "demo"}).status, 0);
  EXPECT_FALSE(fileExistsNow(fleet));
  EXPECT_TRUE(eventually([] { return opstest::childProcesses().empty(); }));
}

TEST(FleetctlOps, UsageErrorsAndMissingPrerequisites) {
  opstest::ChildReaper reaper;
  opstest::FleetSandbox sandbox;
  EXPECT_EQ(fleetctl(reaper, sandbox, {"new", "f", "--engine", "9lives"}).status, 2);
  EXPECT_EQ(fleetctl(reaper, sandbox, {"new", "f", "--engine", "a", "--engine", "A"}).status, 2);
  EXPECT_EQ(fleetctl(reaper, sandbox, {"new", "f", "--base-port", "80"}).status, 2);
  EXPECT_EQ(fleetctl(reaper, sandbox, {"new", "f", "--authority", "xyz"}).status, 2);
  EXPECT_EQ(fleetctl(reaper, sandbox, {"new", "f", "--security", "maybe"}).status, 2);
  EXPECT_EQ(fleetctl(reaper, sandbox, {"run", "f", "--cold=yes"}).status, 2);
  EXPECT_FALSE(fileExistsNow(sandbox.fleetDir("f")));

  Outcome noFleet = fleetctl(reaper, sandbox, {"run", "nothing"});
  EXPECT_EQ(noFleet.status, 1);
  EXPECT_EQ(noFleet.err, "ERROR: Unable to read the fleet's definition\n");
  {
    owbtest::ScopedEnv noDisplay("DISPLAY", std::nullopt);
    Outcome blind = fleetctl(reaper, sandbox, {"run", "nothing"});
    EXPECT_EQ(blind.status, 1);
    EXPECT_EQ(blind.err.substr(0, blind.err.find(':')), "Cannot Run the Fleet");
  }
  EXPECT_EQ(fleetctl(reaper, sandbox, {"kill", "nothing"}).status, 1);
  Outcome gone = fleetctl(reaper, sandbox, {"remove", "nothing"});
  EXPECT_EQ(gone.status, 0);
  EXPECT_EQ(gone.err, "Heads Up: The fleet does not exist\n");
}

}  // namespace
