// The srcview program as a real process: its refusals, its picture, and a
// DISF from another tool reaching it through a real Tool Manager.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <string>
#include <thread>

#include "shared/globals.h"
#include "shared/log.h"
#include "shared/messages.h"
#include "shared/tcpxport.h"
#include "shared/utils.h"
#include "symbols/ui/srcview.h"
#include "testsupport.h"
#include "xvfb_support.h"

namespace {

using owbtest::readWholeFile;
using owbtest::startProgram;

std::string srcviewPath() { return owbtest::installTree() + "/bin/srcview"; }

// Runs srcview to its end (at most 20 seconds); status and output.
std::pair<int, std::string> runSrcview(const std::vector<std::string>& args, const owbtest::TempDir& dir) {
  std::vector<std::string> argv{srcviewPath()};
  argv.insert(argv.end(), args.begin(), args.end());
  std::map<std::string, std::string> env{{"DISPLAY", owbtest::sharedXvfb().display()}, {"HOME", dir.path()}};
  pid_t child = startProgram(argv, dir.file("srcview.out"), &env);
  int status = 0;
  for (int waited = 0; waited < 20000; waited += 10) {
    if (waitpid(child, &status, WNOHANG) == child)
      return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, readWholeFile(dir.file("srcview.out"))};
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  return {-1, "srcview hung"};
}

TEST(SrcviewProgram, RefusesWhatItCannotShowAndPaintsWhatItCan) {
  ASSERT_TRUE(owbtest::sharedXvfb().ok());
  owbtest::TempDir dir;
  auto missing = runSrcview({dir.file("none.txt")}, dir);
  EXPECT_EQ(missing.first, 1);
  EXPECT_NE(missing.second.find("none.txt: No such file or directory"), std::string::npos) << missing.second;
  ASSERT_EQ(mkfifo(dir.file("pipe").c_str(), 0600), 0);
  auto fifo = runSrcview({dir.file("pipe")}, dir);  // refused at once, never read
  EXPECT_EQ(fifo.first, 1);
  EXPECT_NE(fifo.second.find("not a regular file"), std::string::npos);
  EXPECT_EQ(runSrcview({}, dir).first, 2);
  owbtest::writeWholeFile(dir.file("a.txt"), "one\ntwo\n");
  EXPECT_EQ(runSrcview({dir.file("a.txt"), "0"}, dir).first, 2);
  EXPECT_EQ(runSrcview({dir.file("a.txt"), "x"}, dir).first, 2);
  auto painted = runSrcview({"--png", dir.file("shot.png"), dir.file("a.txt"), "2"}, dir);
  EXPECT_EQ(painted.first, 0) << painted.second;
  EXPECT_EQ(readWholeFile(dir.file("shot.png")).substr(1, 3), "PNG");
}

// Another tool asks the Tool Manager to show a file in the source viewer;
// the Tool Manager hands the DISF on to srcview, which opens it.  QUIT
// from the Tool Manager ends srcview.
TEST(SrcviewProgram, OpensTheFileADisplayMessageNames) {
  ASSERT_TRUE(owbtest::sharedXvfb().ok());
  prctl(PR_SET_CHILD_SUBREAPER, 1);
  owbtest::TempDir home;
  owbtest::ScopedEnv homeEnv("HOME", home.path());
  std::string toolman = owbtest::buildDir() + "/tools/toolman";
  int wanted = 33000 + static_cast<int>(getpid() % 3000) * 3;
  pid_t manager = startProgram({toolman, "--port", std::to_string(wanted), "--quiet"}, home.file("toolman.out"));
  int port = 0;
  for (int waited = 0; waited < 5000 && port == 0; waited += 10) {
    port = std::atoi(readWholeFile(home.path() + "/.owb/owbport").c_str());
    if (port == 0) std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  ASSERT_GT(port, 0) << readWholeFile(home.file("toolman.out"));

  owbtest::writeWholeFile(home.file("first.txt"), "first\n");
  std::string second;
  for (int i = 1; i <= 100; ++i) second += "line " + std::to_string(i) + "\n";
  owbtest::writeWholeFile(home.file("second.txt"), second);
  std::map<std::string, std::string> env{{"DISPLAY", owbtest::sharedXvfb().display()},
                                         {"HOME", home.path()},
                                         {"OWB", owbtest::installTree()}};
  pid_t viewer = startProgram({srcviewPath(), home.file("first.txt")}, home.file("srcview.out"), &env);
  auto sendLine = [&](const std::string& line) {
    std::string out = home.file("send.out");
    pid_t sender = startProgram({toolman, "--send", line}, out);
    int status = 0;
    waitpid(sender, &status, 0);
    return readWholeFile(out);
  };
  bool registered = false;
  for (int waited = 0; waited < 10000 && !registered; waited += 100) {
    registered = sendLine("tools").find("Source View") != std::string::npos;
    if (!registered) std::this_thread::sleep_for(std::chrono::milliseconds(100));
  }
  ASSERT_TRUE(registered) << readWholeFile(home.file("srcview.out"));

  // This test is the other tool.
  forgetToolManagerPort();
  gToolName = newStringCopy("disftest");
  openToolLog(false);
  gMessageCenter = new MessageCenter();
  gToolManToolInfo.listenerPort = getToolManagerPort();
  _Rect16Rec place = RECT16_Make(10, 20, 300, 200);
  SourceView::sendDisplayFileMessage(home.file("second.txt").c_str(), false, 40, 33, true, 42, true, true,
                                     makeTypeIdent("SRCV"), &place, 0, 0);
  EXPECT_EQ(gMessageCenter->lastError, 0);
  std::string expected = "srcview shows " + home.file("second.txt") + " at line 40";
  bool shown = false;
  for (int waited = 0; waited < 10000 && !shown; waited += 50) {
    shown = readWholeFile(home.path() + "/.owb/owblog").find(expected) != std::string::npos;
    if (!shown) std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  EXPECT_TRUE(shown) << readWholeFile(home.path() + "/.owb/owblog");
  cleanUpGlobals();
  gToolManToolInfo = ToolInfo{};
  forgetToolManagerPort();

  sendLine("quit SRCV");
  int status = -1;
  for (int waited = 0; waited < 10000; waited += 10) {
    if (waitpid(viewer, &status, WNOHANG) == viewer) break;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << readWholeFile(home.file("srcview.out"));
  if (status == -1) {
    kill(viewer, SIGKILL);
    waitpid(viewer, nullptr, 0);
  }
  sendLine("exit");
  waitpid(manager, nullptr, 0);
}

}  // namespace
