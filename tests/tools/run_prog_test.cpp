// run_prog under a terminal: the command gets a terminal of its own that
// run_prog relays to the window and into the fleet's .out file, and the
// pid file names the command.
#include <gtest/gtest.h>
#include <poll.h>

#include "fleet/ops_support.h"

namespace {

using opstest::eventually;
using owbtest::readWholeFile;

// A pseudo-terminal standing for the terminal window.
struct WindowTerminal {
  WindowTerminal() {
    master = posix_openpt(O_RDWR | O_NOCTTY);
    if (master >= 0 && grantpt(master) == 0 && unlockpt(master) == 0) slave = ptsname(master);
  }
  ~WindowTerminal() {
    if (master >= 0) close(master);
  }
  // Everything the window has shown so far, read without blocking.
  const std::string& shown() {
    char buffer[4096];
    struct pollfd ready = {master, POLLIN, 0};
    while (poll(&ready, 1, 0) > 0 && (ready.revents & POLLIN)) {
      ssize_t n = read(master, buffer, sizeof buffer);
      if (n <= 0) break;
      text.append(buffer, static_cast<size_t>(n));
    }
    return text;
  }
  int master = -1;
  std::string slave;
  std::string text;
};

TEST(RunProg, TerminalFormRelaysAPseudoTerminalIntoTheOutFile) {
  opstest::ChildReaper reaper;
  owbtest::TempDir fleet;
  WindowTerminal window;
  ASSERT_FALSE(window.slave.empty());
  std::string runProg = owbtest::installTree() + "/bin/run_prog";
  const char* script =
      "if [ -t 0 ] && [ -t 1 ]; then echo on-a-terminal; fi; echo \"pid=$$ pgid=$(ps -o pgid= -p $$ | tr -d ' ')\"; "
      "read answer; echo \"got $answer\"; exit 3";
  pid_t relay = fork();
  if (relay == 0) {
    setsid();
    int terminal = open(window.slave.c_str(), O_RDWR);
    for (int fd : {0, 1, 2}) dup2(terminal, fd);
    execl(runProg.c_str(), runProg.c_str(), "-f", "asker", fleet.path().c_str(), "/bin/sh", "-c", script,
          static_cast<char*>(nullptr));
    _exit(127);
  }
  ASSERT_TRUE(eventually([&] { return window.shown().find("pid=") != std::string::npos; }));
  std::string pidLine = readWholeFile(fleet.file("asker.pid"));
  pid_t command = std::atoi(pidLine.c_str());
  ASSERT_GT(command, 0);
  EXPECT_NE(command, relay);  // the command, not the relay
  EXPECT_EQ(getpgid(command), command);
  EXPECT_NE(window.shown().find("pid=" + std::to_string(command) + " pgid=" + std::to_string(command)),
            std::string::npos);
  EXPECT_EQ(pidLine.substr(pidLine.find('\n') + 1, 10), "/bin/sh -c");

  ASSERT_EQ(write(window.master, "yes\r", 4), 4);  // typed in the window
  EXPECT_EQ(WEXITSTATUS(reaper.waitFor(relay, 20)), 3);
  std::string out = readWholeFile(fleet.file("asker.out"));
  EXPECT_NE(out.find("on-a-terminal"), std::string::npos);
  EXPECT_NE(out.find("got yes"), std::string::npos);
  EXPECT_NE(window.shown().find("got yes"), std::string::npos);
}

TEST(RunProg, BothFormsAppendToTheOutFileAndTheBackgroundHasNoTerminal) {
  opstest::ChildReaper reaper;
  owbtest::TempDir fleet;
  owbtest::writeWholeFile(fleet.file("quiet.out"), "earlier run\n");
  std::string runProg = owbtest::installTree() + "/bin/run_prog";
  auto run = [&](const char* form) {
    pid_t child = fork();
    if (child == 0) {
      int nothing = open("/dev/null", O_RDWR);
      for (int fd : {0, 1, 2}) dup2(nothing, fd);
      execl(runProg.c_str(), runProg.c_str(), form, "quiet", fleet.path().c_str(), "/bin/sh", "-c",
            "if [ -t 1 ]; then echo terminal; else echo no-terminal; fi; echo err >&2",
            static_cast<char*>(nullptr));
      _exit(127);
    }
    return reaper.waitFor(child, 20);
  };
  EXPECT_EQ(run("-b"), 0);
  EXPECT_EQ(run("-f"), 0);  // without a window's terminal the relay still runs
  EXPECT_EQ(readWholeFile(fleet.file("quiet.out")), "earlier run\nno-terminal\nerr\nterminal\r\nerr\r\n");
}

}  // namespace
