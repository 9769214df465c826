// fleetctl as a real process: exit statuses, output and alerts of each
// command, and a demo fleet made, run, looked at, killed, backed up,
// restored and removed from the shell.
#include <gtest/gtest.h>

#include "fleet/ops_support.h"

namespace {

using opstest::eventually;
using opstest::fileExistsNow;
using owbtest::readWholeFile;
using owbtest::writeWholeFile;

struct Outcome {
  int status;
  std::string out;
  std::string err;
};

std::string fleetctlPath() { return owbtest::installTree() + "/bin/fleetctl"; }

// Runs the installation's fleetctl with args in directory, both streams
// into files; the reaper collects its status (and adopts what it leaves
// running).
Outcome fleetctl(opstest::ChildReaper& reaper, const std::string& directory, std::vector<std::string> args) {
  std::string outFile = directory + "/.stdout", errFile = directory + "/.stderr";
  std::string program = fleetctlPath();
  std::vector<char*> argv{program.data()};
  for (std::string& arg : args) argv.push_back(arg.data());
  argv.push_back(nullptr);
  pid_t child = fork();
  if (child == 0) {
    if (chdir(directory.c_str()) != 0) _exit(126);
    dup2(open(outFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644), 1);
    dup2(open(errFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644), 2);
    execv(program.c_str(), argv.data());
    _exit(127);
  }
  int status = reaper.waitFor(child, 120);
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, readWholeFile(outFile), readWholeFile(errFile)};
}

class Fleetctl : public testing::Test {
 protected:
  void SetUp() override {
    mkdir(tmp_.file("demo").c_str(), 0777);
    mkdir(tmp_.file("demo/eng1").c_str(), 0777);
  }
  Outcome run(const std::vector<std::string>& args) { return fleetctl(reaper_, tmp_.path(), args); }

  opstest::ChildReaper reaper_;
  owbtest::TempDir tmp_;
  owbtest::ScopedEnv owb_{"OWB", std::string("/opt/owb")};
};

TEST_F(Fleetctl, CheckSummarizesOrFailsWithTheReadersAlert) {
  writeWholeFile(tmp_.file("demo/demo.flt"),
                 "[ Common ]\nBasePort = 5000\n[ Engine ]\nEngineName = eng1\nEnginePlaceConfig = p.cfg\nModule = m\n");
  Outcome good = run({"check", "demo/"});
  EXPECT_EQ(good.status, 0) << good.err;
  EXPECT_EQ(good.out, "Fleet demo (" + tmp_.file("demo/demo.flt") + ")\n"
                      "  BasePort = 5000\n  Authority = (none)\n  EngineOptions = -d1\n  SecurityOn = True\n"
                      "  Engines: 1\n  Engine eng1\n    EnginePlaceConfig = p.cfg\n    LoadDebugger = True\n"
                      "    Module = m\n");
  EXPECT_EQ(good.err, "");
  // --verbose adds the progress notes, which the exact output above lacks.
  Outcome verbose = run({"--verbose", "check", "demo"});
  EXPECT_EQ(verbose.status, 0);
  EXPECT_NE(verbose.out.find("OWK Installation Directory: /opt/owb\n"), std::string::npos);
  EXPECT_NE(verbose.out.find("Current Directory: " + tmp_.path() + "\n"), std::string::npos);

  writeWholeFile(tmp_.file("demo/demo.flt"), "[ Common ]\nBasePort = 80\n");
  Outcome bad = run({"check", tmp_.file("demo")});
  EXPECT_EQ(bad.status, 1);
  EXPECT_EQ(bad.err, "Unable to Read Fleet Definition: Illegal line format on line number 2 of " +
                         tmp_.file("demo/demo.flt") + ": expected a port number greater than 1025\n");

  Outcome missing = run({"check", "elsewhere"});
  EXPECT_EQ(missing.status, 1);
  EXPECT_EQ(missing.err, "fleetctl: no fleet definition " + tmp_.file("elsewhere/elsewhere.flt") + "\n");
}

TEST_F(Fleetctl, ConfigListsTheRecordsAsTextOrJson) {
  writeWholeFile(tmp_.file("demo/eng1/startup.cfg"),
                 "On = #true\nN = 12\nS = \"a \\\"q\\\"\"\n@E = x\n!ext = xterm -e sh\n&bg = daemon\nNil = #nil\nBad\n");
  Outcome text = run({"config", "demo", "eng1"});
  EXPECT_EQ(text.status, 0);
  EXPECT_EQ(text.out, "file " + tmp_.file("demo/eng1/startup.cfg") +
                          "\nboolean On true\ninteger N 12\nstring S a \\\"q\\\"\nenviron E x\n"
                          "external ext ! xterm -e sh\nexternal bg & daemon\nnil Nil\n");
  EXPECT_EQ(text.err, "Illegal configuration line: Illegal line in " + tmp_.file("demo/eng1/startup.cfg") + ":  Bad\n");

  Outcome json = run({"config", "demo", "eng1", "--json"});
  EXPECT_EQ(json.status, 0);
  EXPECT_EQ(json.out, "[\n"
                      "  {\"kind\": \"file\", \"label\": \"" + tmp_.file("demo/eng1/startup.cfg") + "\", \"value\": null},\n"
                      "  {\"kind\": \"boolean\", \"label\": \"On\", \"value\": true},\n"
                      "  {\"kind\": \"integer\", \"label\": \"N\", \"value\": 12},\n"
                      "  {\"kind\": \"string\", \"label\": \"S\", \"value\": \"a \\\\\\\"q\\\\\\\"\"},\n"
                      "  {\"kind\": \"environ\", \"label\": \"E\", \"value\": \"x\"},\n"
                      "  {\"kind\": \"external\", \"label\": \"ext\", \"value\": {\"command\": \"xterm -e sh\", \"background\": false}},\n"
                      "  {\"kind\": \"external\", \"label\": \"bg\", \"value\": {\"command\": \"daemon\", \"background\": true}},\n"
                      "  {\"kind\": \"nil\", \"label\": \"Nil\", \"value\": null}\n"
                      "]\n");

  Outcome missing = run({"config", "demo", "eng2"});
  EXPECT_EQ(missing.status, 1);
  EXPECT_EQ(missing.err, "Cannot Read Configuration File: " + tmp_.file("demo/eng2/startup.cfg") + "\n");
}

TEST_F(Fleetctl, UsageErrorsGiveStatusTwo) {
  for (const std::vector<std::string>& args : std::vector<std::vector<std::string>>{
           {}, {"frobnicate", "demo"}, {"check"}, {"check", "a", "b"}, {"status", "demo", "--tree"},
           {"config", "demo", "eng1", "--json=yes"}, {"new", "f", "--engine", "9lives"},
           {"new", "f", "--engine", "a", "--engine", "A"}, {"new", "f", "--base-port", "80"},
           {"new", "f", "--authority", "xyz"}, {"new", "f", "--security", "maybe"}}) {
    Outcome r = run(args);
    EXPECT_EQ(r.status, 2) << testing::PrintToString(args);
    EXPECT_NE(r.err, "");
  }
  EXPECT_FALSE(fileExistsNow(tmp_.file("f")));
  Outcome help = run({"--help"});
  EXPECT_EQ(help.status, 0);
  for (const char* command : {"new", "make", "run", "kill", "status", "backup", "restore", "remove", "check", "config", "logs"})
    EXPECT_NE(help.out.find(std::string("  ") + command + " FLEETDIR"), std::string::npos) << command;
}

TEST_F(Fleetctl, LogsPrintsTheOutputFileOrItsLastLines) {
  writeWholeFile(tmp_.file("demo/eng1.out"), "one\ntwo\nthree\nfour");
  EXPECT_EQ(run({"logs", "demo", "eng1"}).out, "one\ntwo\nthree\nfour");
  EXPECT_EQ(run({"logs", "demo", "eng1", "--lines", "2"}).out, "three\nfour");
  writeWholeFile(tmp_.file("demo/eng1.out"), "one\ntwo\nthree\n");
  EXPECT_EQ(run({"logs", "demo", "eng1", "--lines=2"}).out, "two\nthree\n");
  EXPECT_EQ(run({"logs", "demo", "eng1", "--lines", "0"}).out, "");
  EXPECT_EQ(run({"logs", "demo", "eng1", "--lines", "99"}).out, "one\ntwo\nthree\n");
  std::string big;
  for (int i = 0; i < 20000; ++i) big += "line " + std::to_string(i) + "\n";
  writeWholeFile(tmp_.file("demo/big.out"), big);
  EXPECT_EQ(run({"logs", "demo", "big", "--lines", "2"}).out, "line 19998\nline 19999\n");

  Outcome missing = run({"logs", "demo", "nobody"});
  EXPECT_EQ(missing.status, 1);
  EXPECT_NE(missing.err.find("nobody.out"), std::string::npos);
  ASSERT_EQ(mkfifo(tmp_.file("demo/pipe.out").c_str(), 0600), 0);
  Outcome fifo = run({"logs", "demo", "pipe"});  // refused at once, not read
  EXPECT_EQ(fifo.status, 1);
  EXPECT_NE(fifo.err.find("not a regular file"), std::string::npos);
  EXPECT_EQ(run({"logs", "demo", "../x"}).status, 2);
  EXPECT_EQ(run({"logs", "demo", "eng1", "--lines", "-3"}).status, 2);
  EXPECT_EQ(run({"logs", "demo"}).status, 2);
}

TEST_F(Fleetctl, LogsFollowPrintsWhatIsAppendedUntilInterrupted) {
  std::string out = tmp_.file("demo/eng1.out");
  writeWholeFile(out, "old 1\nold 2\n");
  int pipeEnds[2];
  ASSERT_EQ(pipe(pipeEnds), 0);
  pid_t child = fork();
  if (child == 0) {
    dup2(pipeEnds[1], 1);
    close(pipeEnds[0]);
    if (chdir(tmp_.path().c_str()) != 0) _exit(126);
    std::string program = fleetctlPath();
    execl(program.c_str(), program.c_str(), "logs", "demo", "eng1", "--follow", "--lines", "1",
          static_cast<char*>(nullptr));
    _exit(127);
  }
  close(pipeEnds[1]);
  fcntl(pipeEnds[0], F_SETFL, O_NONBLOCK);
  std::string seen;
  auto seenEventually = [&](const std::string& text) {
    return eventually([&] {
      char buffer[256];
      for (ssize_t n; (n = read(pipeEnds[0], buffer, sizeof buffer)) > 0;) seen.append(buffer, static_cast<size_t>(n));
      return seen.find(text) != std::string::npos;
    }, 5);
  };
  EXPECT_TRUE(seenEventually("old 2\n"));
  {
    std::ofstream append(out, std::ios::app);
    append << "new 3\n";
  }
  EXPECT_TRUE(seenEventually("old 2\nnew 3\n"));
  EXPECT_EQ(seen.find("old 1"), std::string::npos);
  writeWholeFile(out, "restarted\n");  // cut short: printed from its start
  EXPECT_TRUE(seenEventually("new 3\nrestarted\n"));
  kill(child, SIGINT);
  EXPECT_TRUE(WIFSIGNALED(reaper_.waitFor(child, 20)));
  close(pipeEnds[0]);
}

TEST(FleetctlOps, DemoFleetFromTheShell) {
  opstest::ChildReaper reaper;
  opstest::FleetSandbox sandbox;
  auto run = [&](std::vector<std::string> args) { return fleetctl(reaper, sandbox.root(), args); };
  const long base = opstest::freeBasePort(8);
  ASSERT_NE(base, 0);
  const std::string port = std::to_string(base);
  const std::string fleet = sandbox.fleetDir("demo");

  // Before it is made, the fleet can be neither run nor killed.
  Outcome noFleet = run({"run", "demo"});
  EXPECT_EQ(noFleet.status, 1);
  EXPECT_EQ(noFleet.err, "ERROR: Unable to read the fleet's definition\n");
  EXPECT_EQ(run({"kill", "demo"}).status, 1);

  Outcome made = run({"new", "demo", "--engine", "alpha", "--engine", "beta", "--base-port", port, "--no-authority"});
  ASSERT_EQ(made.status, 0) << made.err;
  EXPECT_EQ(made.out, "alpha " + std::to_string(base + 6) + "\nbeta " + std::to_string(base + 14) + "\n");
  EXPECT_EQ(run({"new", "demo"}).status, 1);  // exists already
  EXPECT_EQ(run({"make", "demo"}).out, made.out);

  Outcome ran = run({"run", "demo"});
  ASSERT_EQ(ran.status, 0) << ran.err;
  ASSERT_TRUE(eventually([&] {
    return fileExistsNow(fleet + "/alpha.pid") && fileExistsNow(fleet + "/beta.pid") &&
           fileExistsNow(fleet + "/placemon.pid");
  }));

  Outcome json = run({"status", "demo", "--json"});
  ASSERT_EQ(json.status, 0);
  EXPECT_NE(json.out.find("{\"type\": \"Engine\", \"name\": \"alpha\", \"status\": \"Up\""), std::string::npos);
  EXPECT_NE(json.out.find("\"debuggerPort\": " + std::to_string(base + 6) + ", \"udpPort\": " + port +
                          ", \"tcpPort\": " + std::to_string(base + 2) + "}"),
            std::string::npos);
  EXPECT_NE(json.out.find("\"type\": \"External Process\", \"name\": \"placemon\", \"status\": \"Up\""),
            std::string::npos);
  EXPECT_NE(json.out.find("\"debuggerPort\": null, \"udpPort\": null, \"tcpPort\": null}"), std::string::npos);
  Outcome table = run({"status", "demo", "--engines-only"});
  EXPECT_EQ(table.out.substr(0, table.out.find('\n')).find("Type"), 0u);
  EXPECT_NE(table.out.find("DAS Port  UDP Port  TCP Port"), std::string::npos);
  EXPECT_EQ(table.out.find("placemon"), std::string::npos);

  Outcome busyBackup = run({"backup", "demo"});
  EXPECT_EQ(busyBackup.status, 1);
  EXPECT_EQ(busyBackup.err,
            "Cannot Backup the Fleet: One or more fleet processes are running.  You must stop the fleet first.\n");

  Outcome killed = run({"kill", "demo", "--cleanup"});
  ASSERT_EQ(killed.status, 0) << killed.err;
  EXPECT_FALSE(fileExistsNow(fleet + "/alpha.pid"));
  EXPECT_FALSE(fileExistsNow(fleet + "/placemon.out"));
  Outcome down = run({"status", "demo", "--json", "--process", "beta"});
  EXPECT_EQ(down.out,
            "[\n  {\"type\": \"Engine\", \"name\": \"beta\", \"status\": \"Down\", \"commandLine\": null, "
            "\"started\": 0, \"pid\": 0, \"debuggerPort\": 0, \"udpPort\": 0, \"tcpPort\": 0}\n]\n");

  EXPECT_EQ(run({"backup", "demo", "--tag", "first"}).status, 0);
  EXPECT_TRUE(fileExistsNow(fleet + "/first/beta/db/state"));
  EXPECT_EQ(run({"backup", "demo", "--tag", "../outside"}).status, 2);
  Outcome noBackup = run({"restore", "demo"});  // no backup of the default tag
  EXPECT_EQ(noBackup.status, 1);
  EXPECT_EQ(noBackup.err, "Cannot Restore the Fleet: The backup is clearly garbled.\n");
  EXPECT_EQ(run({"restore", "demo", "--tag", "first"}).status, 0);

  EXPECT_EQ(run({"remove", "demo"}).status, 0);
  EXPECT_FALSE(fileExistsNow(fleet));
  Outcome gone = run({"remove", "demo"});
  EXPECT_EQ(gone.status, 0);
  EXPECT_EQ(gone.err, "Heads Up: The fleet does not exist\n");
  EXPECT_TRUE(eventually([] { return opstest::childProcesses().empty(); }));
}

}  // namespace
