// Set-up of the window side's tests: the toolkit on the shared Xvfb with
// the installation's resource libraries, and a real Tool Manager process
// (tools/toolman) that this test process talks to as a tool, with a
// message center and a window manager of its own.
#ifndef OWB_TESTS_SHARED_UI_UI_FIXTURE_H
#define OWB_TESTS_SHARED_UI_UI_FIXTURE_H

#include <sys/prctl.h>
#include <sys/wait.h>

#include <chrono>
#include <cstring>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "shared/globals.h"
#include "shared/messages.h"
#include "shared/tcpxport.h"
#include "shared/ui/windman.h"
#include "shared/utils.h"
#include "tests/testsupport.h"
#include "tests/toolkit/tk_fixture.h"
#include "toolkit/app.h"

namespace uitest {

constexpr TypeIdent kTestToolType = OWB_TYPE("TSTT");

inline std::string toolmanPath() { return owbtest::buildDir() + "/tools/toolman"; }

// The installation's libraries of the generic windows and the shared
// resources, loaded unless they are.
inline bool loadInstallationLibraries() {
  std::snprintf(gResourcesDirectory, sizeof gResourcesDirectory, "%s/bin/resource/", owbtest::installTree().c_str());
  return tktest::loadTestLibrary("Genwin", "ndgw.dat") && tktest::loadTestLibrary("shared", "shared.dat");
}

// Runs proc from the event loop after ms milliseconds: the way a test acts
// while a modal window runs its own loop.
template <class Proc>
void after(int ms, Proc* proc) {
  EVENT_StartCBackAlarmDS([](ClientPtr p) { (*static_cast<Proc*>(p))(); }, proc, ms);
}

class ToolmanFixture : public tktest::ToolkitTest {
 protected:
  owbtest::TempDir home;
  owbtest::ScopedEnv homeEnv{"HOME", home.path()};
  std::string project = home.path() + "/proj";
  pid_t toolman = -1;
  int port = 0;

  // Options added to the Tool Manager's command line.
  virtual std::vector<std::string> toolmanOptions() { return {}; }

  void SetUp() override {
    tktest::ToolkitTest::SetUp();
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    ASSERT_TRUE(uitest::loadInstallationLibraries());
    ASSERT_EQ(0, system(("mkdir -p " + project).c_str()));
    int wanted = 31000 + static_cast<int>(getpid() % 3000) * 3;
    std::vector<std::string> args{toolmanPath(), "--port", std::to_string(wanted), "--project", project};
    for (const std::string& option : toolmanOptions()) args.push_back(option);
    toolman = owbtest::startProgram(args, home.file("toolman.out"));
    waitFor([&] { return (port = std::atoi(owbtest::readWholeFile(home.path() + "/.owb/owbport").c_str())) > 0; });
    ASSERT_GT(port, 0) << owbtest::readWholeFile(home.file("toolman.out"));
    forgetToolManagerPort();
    gToolName = newStringCopy("uitest");
    openToolLog(false);
    gMessageCenter = new MessageCenter();
    gToolManToolInfo.listenerPort = getToolManagerPort();
    gWindowManager = new WindowManager(FALSE);
    ToolInfo me{};
    std::strcpy(me.name, "uitest");
    me.toolType = kTestToolType;
    me.listenerPort = gMessageCenter->thisToolInfo.listenerPort;
    Message* regt = new Message(OWB_TYPE("REGT"), &gToolManToolInfo);
    regt->addToolInfoParam(me);
    regt->addStringParam(kParamStr255, "/bin/uitest");
    gMessageCenter->sendMessage(regt);
    ASSERT_TRUE(waitForReceived("REGT", 1));
  }

  void TearDown() override {
    tktest::ToolkitTest::TearDown();
    delete gWindowManager;
    gWindowManager = nullptr;
    if (toolman > 0) {
      send({"exit"});
      if (!waitFor([&] { return waitpid(toolman, nullptr, WNOHANG) == toolman; })) {
        kill(toolman, SIGKILL);
        waitpid(toolman, nullptr, 0);
      }
    }
    cleanUpGlobals();
    gToolManToolInfo = ToolInfo{};
    forgetToolManagerPort();
  }

  // Checks done every 10 ms until it holds or the time is over.
  template <class Done>
  static bool waitFor(Done done, int timeoutMs = 5000) {
    return owbtest::pumpUntil([] { std::this_thread::sleep_for(std::chrono::milliseconds(10)); }, done, timeoutMs);
  }

  // Runs `toolman --send` for each line while this tool serves its
  // messages and events; the exit status.
  int send(const std::vector<std::string>& lines) {
    std::vector<std::string> args{toolmanPath()};
    for (const std::string& line : lines) {
      args.push_back("--send");
      args.push_back(line);
    }
    pid_t sender = owbtest::startProgram(args, home.file("send.out"));
    int status = 0;
    for (int turn = 0; turn < 800; ++turn) {
      if (waitpid(sender, &status, WNOHANG) == sender) return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
      serve(1);
    }
    kill(sender, SIGKILL);
    waitpid(sender, nullptr, 0);
    return -1;
  }

  // Turns of the tool's loop: events, then one poll of the messages.
  void serve(int turns) {
    for (int i = 0; i < turns; ++i) {
      EVENT_ProcessPending();
      if (gMessageCenter) gMessageCenter->poll();
    }
  }

  // The lines toolman printed for the messages of a type it received.
  std::vector<std::string> received(const std::string& type) {
    std::vector<std::string> lines;
    std::istringstream in(owbtest::readWholeFile(home.file("toolman.out")));
    for (std::string line; std::getline(in, line);)
      if (line.compare(0, type.size() + 1, type + " ") == 0) lines.push_back(line);
    return lines;
  }

  bool waitForReceived(const std::string& type, size_t count, int timeoutMs = 5000) {
    return waitFor([&] { return received(type).size() >= count; }, timeoutMs);
  }
};

}  // namespace uitest

#endif  // OWB_TESTS_SHARED_UI_UI_FIXTURE_H
