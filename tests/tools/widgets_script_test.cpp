// scripts/owb-widgets.sh against the test window program, as a GUI test of
// someone else's would use it: xprop reads the widget description and
// xdotool clicks, from processes of their own.
#include <gtest/gtest.h>

#include <regex>

#include "fleet/ops_support.h"
#include "tests/xvfb_support.h"

namespace {

// Runs a shell command; its exit status and standard output.
int run(const std::string& command, std::string* output) {
  return owbtest::runShell(command + " 2>/dev/null", output);
}

using opstest::eventually;

TEST(WidgetsScript, ListsTheTestWindowAndClicksItsWidgetsByTextAndPath) {
  if (access("/usr/bin/xdotool", X_OK) != 0 || access("/usr/bin/xprop", X_OK) != 0)
    GTEST_SKIP() << "needs xdotool and xprop (x11-utils)";
  ASSERT_TRUE(owbtest::sharedXvfb().ok());
  owbtest::TempDir dir;
  std::string out = dir.file("wgtdemo.out");
  setenv("OWB_AUTOMATION", "1", 1);
  pid_t demo = owbtest::startProgram({owbtest::installTree() + "/bin/wgtdemo"}, out);
  unsetenv("OWB_AUTOMATION");
  ASSERT_GT(demo, 0);
  struct Reap {
    pid_t pid;
    ~Reap() {
      if (pid > 0 && waitpid(pid, nullptr, WNOHANG) == 0) {
        kill(pid, SIGTERM);
        waitpid(pid, nullptr, 0);
      }
    }
  } reap{demo};

  std::string script = owbtest::sourceDir() + "/scripts/owb-widgets.sh";
  std::string list;
  ASSERT_TRUE(eventually([&] { return run(script + " 'Widget test'", &list) == 0; })) << list;
  // The boxes follow the test window's layout; the script's lines keep
  // their fields whatever the layout.
  EXPECT_TRUE(std::regex_search(list, std::regex("(^|\n)-\tWin\t0\t0\t420\t[0-9]+\t[A-Z]+\tWidget test\n"))) << list;
  EXPECT_TRUE(std::regex_search(list, std::regex("\n3,1\tTBut\t[0-9]+\t[0-9]+\t160\t24\tVE\tWarm\n"))) << list;

  // The disabled button is no target; an unknown one neither.
  EXPECT_NE(run(script + " 'Widget test' TBut 'Not now'", nullptr), 0);
  EXPECT_NE(run(script + " 'Widget test' TBut Nothing", nullptr), 0);

  ASSERT_EQ(run(script + " 'Widget test' TBut Warm", nullptr), 0);
  EXPECT_TRUE(eventually([&] { return owbtest::readWholeFile(out).find("Warm\n") != std::string::npos; }));
  EXPECT_TRUE(eventually([&] {
    return run(script + " 'Widget test'", &list) == 0 && list.find("\tVES\tWarm\n") != std::string::npos;
  })) << list;

  // A menu: the bar item opens it, and its window, named after the item,
  // is read and clicked in the same way.
  ASSERT_EQ(run(script + " 'Widget test' MItem Edit", nullptr), 0);
  ASSERT_TRUE(eventually([&] { return run(script + " 'Edit menu' MItem 'Wrap Lines'", nullptr) == 0; }));
  EXPECT_TRUE(eventually([&] { return owbtest::readWholeFile(out).find("Wrap Lines on\n") != std::string::npos; }));

  // OK by its path ends the program.
  ASSERT_EQ(run(script + " 'Widget test' --path 4", nullptr), 0);
  EXPECT_TRUE(eventually([&] { return waitpid(demo, nullptr, WNOHANG) == demo; }));
  reap.pid = 0;
  EXPECT_NE(owbtest::readWholeFile(out).find("OK\n"), std::string::npos);
}

}  // namespace
