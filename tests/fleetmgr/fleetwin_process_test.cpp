// fleetmgr as a real process beside the real toolman, its windows read
// and pressed from outside through the automation surface (_OWB_WIDGETS)
// with real X events: "New Fleet" goes through the directory chooser and
// the settings window, typed into, to a definition on disk and the engines
// announced; and a double click on a row of "Fleet Status" on a fleet run
// by fleetctl opens the view of that process's output.
#include <gtest/gtest.h>

// After gtest: Xlib's None macro would break its headers.
#include "fleetmgr/screen.h"

namespace {

using fmtest::Screen;

class FleetMgrWindowsProcess : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(owbtest::sharedXvfb().ok());
    ASSERT_TRUE(screen.ok());
    home = root.file("home");
    mkdir(home.c_str(), 0777);
    mkdir((home + "/.owb").c_str(), 0777);
    owbtest::writeWholeFile(home + "/.owb/xterm_settings", owbtest::installTree() + "/bin/bgterm\n-sb\n");
  }
  void TearDown() override {
    if (tool > 0) {
      kill(tool, SIGKILL);
      reaper.waitFor(tool, 10);
    }
    if (manager > 0) {
      kill(manager, SIGTERM);
      EXPECT_NE(reaper.waitFor(manager, 10), -1) << "toolman did not end on SIGTERM";
    }
    opstest::killPidFileGroups(root.path());
  }

  std::map<std::string, std::string> environment() const {
    return {{"HOME", home},
            {"OWB", owbtest::installTree()},
            {"DISPLAY", owbtest::sharedXvfb().display()},
            {"OWB_AUTOMATION", "1"},
            {"OWB_START_DELAY", "0.2"},
            {"OWB_STOP_PATIENCE", "10"}};
  }
  int fleetctl(const std::vector<std::string>& args) {
    std::vector<std::string> argv{owbtest::installTree() + "/bin/fleetctl"};
    argv.insert(argv.end(), args.begin(), args.end());
    auto env = environment();
    pid_t child = owbtest::startProgram(argv, root.file("fleetctl.out"), &env);
    int status = reaper.waitFor(child, 120);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  // The real Tool Manager on project, found through `toolman --send`
  // (which reads the port it took from owbport), then fleetmgr beside it.
  void startToolmanAndTool(const std::string& project) {
    auto env = environment();
    manager = owbtest::startProgram({toolmanProgram(), "--project", project}, root.file("toolman.out"), &env);
    ASSERT_TRUE(opstest::eventually([&] { return send("status").find("port") != std::string::npos; }))
        << owbtest::readWholeFile(root.file("toolman.out"));
    tool = owbtest::startProgram({owbtest::installTree() + "/bin/fleetmgr"}, root.file("fleetmgr.out"), &env);
    ASSERT_TRUE(opstest::eventually([&] { return send("commands FLTT").find("New Fleet") != std::string::npos; }))
        << owbtest::readWholeFile(root.file("fleetmgr.out"));
  }
  // What `toolman --send line` printed ("" when it failed).
  std::string send(const std::string& line) {
    auto env = environment();
    pid_t sender = owbtest::startProgram({toolmanProgram(), "--send", line}, root.file("send.out"), &env);
    int status = reaper.waitFor(sender, 30);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? owbtest::readWholeFile(root.file("send.out")) : "";
  }
  static std::string toolmanProgram() { return owbtest::buildDir() + "/tools/toolman"; }

  opstest::ChildReaper reaper;
  Screen screen;
  owbtest::TempDir root;
  std::string home;
  pid_t tool = 0, manager = 0;
};

TEST_F(FleetMgrWindowsProcess, NewFleetFromTheRealToolmanIsTypedIntoTheSettingsWindowAndMade) {
  std::string project = root.file("fleets");
  mkdir(project.c_str(), 0777);
  startToolmanAndTool(project);

  // The directory is typed into the chooser.
  std::string dir = project + "/yard";
  send("cmd FLTT \"New Fleet\"");
  Window chooser = screen.waitFor("Enter a directory name for the fleet");
  ASSERT_NE(chooser, 0u) << owbtest::readWholeFile(root.file("fleetmgr.out"));
  ASSERT_TRUE(opstest::eventually([&] { return screen.enabled(chooser, "11"); }));
  ASSERT_TRUE(screen.typeInto(chooser, "6", dir));
  ASSERT_TRUE(opstest::eventually([&] { return screen.text(chooser, "6") == dir; })) << screen.text(chooser, "6");
  ASSERT_TRUE(screen.click(chooser, "11"));

  // A new fleet has the engine eng1; a second is named and added, and the
  // base port typed in hexadecimal.
  Window settings = screen.waitFor("Fleet Settings", "Fleet Name: yard");
  ASSERT_NE(settings, 0u) << owbtest::readWholeFile(root.file("fleetmgr.out"));
  ASSERT_TRUE(screen.typeInto(settings, "0,0,1", "beta"));
  ASSERT_TRUE(screen.click(settings, "0,0,2"));
  EXPECT_TRUE(opstest::eventually([&] { return screen.text(settings, "0,0,0/1,1") == "beta"; }));
  ASSERT_TRUE(screen.typeInto(settings, "0,2", "0x17d4"));
  // Tab leaves the base port (which takes it) for the first tab inside
  // the detail panel.
  screen.key(XK_Tab);
  EXPECT_TRUE(opstest::eventually([&] { return screen.focused(settings) == "0,3,0"; })) << screen.focused(settings);
  ASSERT_TRUE(screen.click(settings, "1,0"));
  ASSERT_TRUE(opstest::eventually([&] { return screen.find("Fleet Settings") == 0; }))
      << owbtest::readWholeFile(root.file("fleetmgr.out"));

  // The definition is on disk (the settings window's own test compares it
  // with what `fleetctl new` writes); the Tool Manager has the file and the
  // two engines with the debugger ports of base port 6100.
  EXPECT_NE(owbtest::readWholeFile(dir + "/yard.flt").find("BasePort = 6100\n"), std::string::npos);
  EXPECT_NE(send("files").find("yard/yard.flt"), std::string::npos) << send("files");
  std::string engines = send("engines");
  EXPECT_NE(engines.find("6106"), std::string::npos) << engines;
  EXPECT_NE(engines.find("6114"), std::string::npos) << engines;
}

// A fleet run by fleetctl: "Fleet Status" chosen through toolman, then a
// real double click on the engine's row opens a window on the engine's output that shows its text
// and is placed by toolman as a source viewer; closing the status window
// ends it, and its place goes back to toolman.
TEST_F(FleetMgrWindowsProcess, ADoubleClickOnARowShowsTheProcessOutputBesideTheRealToolman) {
  std::string dir = root.file("demo"), definition = dir + "/demo.flt";
  ASSERT_EQ(fleetctl({"new", dir, "--engine", "alpha", "--base-port", std::to_string(opstest::freeBasePort(4))}), 0)
      << owbtest::readWholeFile(root.file("fleetctl.out"));
  ASSERT_EQ(fleetctl({"run", dir}), 0) << owbtest::readWholeFile(root.file("fleetctl.out"));
  ASSERT_TRUE(opstest::eventually([&] {
    return owbtest::readWholeFile(dir + "/alpha.out").find("eng alpha:") != std::string::npos;
  }));

  startToolmanAndTool(dir);
  send("idfl FLTT " + definition);
  send("cmd FLTT \"Fleet Status\" " + definition);

  Window status = screen.waitFor("Fleet Status: " + dir);
  ASSERT_NE(status, 0u) << owbtest::readWholeFile(root.file("fleetmgr.out"));
  // The status of the first row, the engine's.
  ASSERT_TRUE(opstest::eventually([&] { return screen.text(status, "4/3,1") == "Up"; }));
  // Two clicks a moment apart: a double click.
  ASSERT_TRUE(screen.click(status, "4/2,1"));
  std::this_thread::sleep_for(std::chrono::milliseconds(60));
  ASSERT_TRUE(screen.click(status, "4/2,1"));
  const std::string title = "Output of alpha: " + dir;
  Window view = screen.waitFor(title);
  ASSERT_NE(view, 0u) << owbtest::readWholeFile(root.file("fleetmgr.out"));
  // Opened where it leaves the status list in sight.
  auto statusBox = screen.box(status), viewBox = screen.box(view);
  EXPECT_TRUE(viewBox[0] >= statusBox[0] + statusBox[2] || viewBox[0] + viewBox[2] <= statusBox[0] ||
              (viewBox[0] == statusBox[0] + 40 && viewBox[1] == statusBox[1] + 40))
      << viewBox[0] << "," << viewBox[1] << " beside " << statusBox[0] << "," << statusBox[1];
  auto toolmanHeard = [&](const std::string& type) {
    std::string heard = owbtest::readWholeFile(root.file("toolman.out"));
    for (size_t at = heard.find(type); at != std::string::npos; at = heard.find(type, at + 1))
      if (heard.find("SRCW", at) < heard.find('\n', at)) return true;
    return false;
  };
  EXPECT_TRUE(opstest::eventually([&] { return toolmanHeard("GWIN"); }));

  ASSERT_TRUE(screen.click(status, "1"));  // close
  EXPECT_TRUE(opstest::eventually([&] { return screen.find(title) == 0; }));
  EXPECT_TRUE(opstest::eventually([&] { return toolmanHeard("UWIN"); })) << owbtest::readWholeFile(root.file("toolman.out"));
}

}  // namespace
