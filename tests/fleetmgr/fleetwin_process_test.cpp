// fleetmgr as a real process under the test Tool Manager, its windows read
// and pressed from outside through the automation surface (_OWB_WIDGETS)
// with real X events: "Fleet Status" on a running fleet made and started by
// fleetctl shows fleetctl's rows; a process is killed from its row; a
// second "Fleet Status" refreshes the same window; "Kill Fleet" opens the
// kill dialog whose button stops the rest.  Beside the real toolman, "New
// Fleet" goes through the directory chooser and the settings window, typed
// into, to a definition on disk and the engines announced; and a double
// click on a row opens the view of that process's output.
#include <gtest/gtest.h>
// After gtest: Xlib's None macro would break its headers.
#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "fleet/ops_support.h"
#include "fleetmgr/test_toolman.h"
#include "shared/wiremessage.h"
#include "testsupport.h"
#include "xvfb_support.h"

namespace {

using fmtest::TestToolManager;

using owbtest::WidgetLine;

// The tool's windows read and pressed as another client does.
class Screen {
 public:
  Screen() : input_(owbtest::sharedXvfb().display()), dpy_(input_.display()) {
    // The tool's windows come and go while they are looked at.
    XSetErrorHandler([](Display*, XErrorEvent*) { return 0; });
  }
  bool ok() const { return dpy_ != nullptr; }

  // The mapped top-level window titled title whose widgets show text (any
  // when text is empty), or 0.
  Window find(const std::string& title, const std::string& text = "") {
    return owbtest::shownWindowNamed(dpy_, title, [&](Window w) { return text.empty() || shows(w, text); });
  }
  Window waitFor(const std::string& title, const std::string& text = "", double seconds = 10) {
    return opstest::eventually([&] { return find(title, text) != 0; }, seconds) ? find(title, text) : 0;
  }
  bool shows(Window win, const std::string& text) {
    for (const WidgetLine& w : widgets(win))
      if (w.text == text) return true;
    return false;
  }
  std::vector<WidgetLine> widgets(Window win) {
    return owbtest::parseWidgetLines(owbtest::readWidgetsProperty(dpy_, win));
  }

  // The status list's body rows as the cells show them: row -> columns.
  std::map<int, std::map<int, std::string>> rows(Window win) {
    std::map<int, std::map<int, std::string>> rows;
    for (const WidgetLine& w : widgets(win)) {
      if (w.cls != "Cell" || w.path.rfind("4/", 0) != 0) continue;
      int col = 0, row = 0;
      if (std::sscanf(w.path.c_str(), "4/%d,%d", &col, &row) == 2 && row > 0) rows[row][col] = w.text;
    }
    return rows;
  }
  // The status of the process name as the list shows it ("" when absent).
  std::string statusOf(Window win, const std::string& name) {
    for (auto& row : rows(win))
      if (row.second[2] == name) return row.second[3];
    return "";
  }

  // A real click in the middle of the widget at path (or of the cell), or
  // of the button labelled label when path is empty.
  bool click(Window win, const std::string& path, const std::string& label = "") {
    for (const WidgetLine& w : widgets(win))
      if (path.empty() ? w.cls == "TBut" && w.text == label : w.path == path) {
        int x = 0, y = 0;
        Window child;
        XTranslateCoordinates(dpy_, win, DefaultRootWindow(dpy_), w.x + w.w / 2, w.y + w.h / 2, &x, &y, &child);
        input_.click(x, y);
        return true;
      }
    return false;
  }
  // Clicks the text field at path, selects its text and types text over
  // it (letters, digits and the characters of a path).
  bool typeInto(Window win, const std::string& path, const std::string& text) {
    if (!click(win, path)) return false;
    key(XK_a, XK_Control_L);
    for (char c : text) {
      if (c >= 'A' && c <= 'Z') key(static_cast<KeySym>(c), XK_Shift_L);
      else key(static_cast<KeySym>(static_cast<unsigned char>(c)));
    }
    return true;
  }
  void key(KeySym sym, KeySym modifier = NoSymbol) { input_.key(sym, modifier); }
  // The path of the widget with the keyboard's focus ("" for none).
  std::string focused(Window win) {
    for (const WidgetLine& w : widgets(win))
      if (w.path != "-" && w.has('F')) return w.path;
    return "";
  }
  std::string text(Window win, const std::string& path) {
    for (const WidgetLine& w : widgets(win))
      if (w.path == path) return w.text;
    return "";
  }
  // The window's place on the screen: x, y, width, height.
  std::array<int, 4> box(Window win) {
    XWindowAttributes a{};
    Window child = 0;
    int x = 0, y = 0;
    XGetWindowAttributes(dpy_, win, &a);
    XTranslateCoordinates(dpy_, win, DefaultRootWindow(dpy_), 0, 0, &x, &y, &child);
    return {x, y, a.width, a.height};
  }
  bool enabled(Window win, const std::string& path) {
    for (const WidgetLine& w : widgets(win))
      if (w.path == path) return w.has('E');
    return false;
  }

 private:
  owbtest::XTestDriver input_;
  Display* dpy_;
};

class FleetMgrWindowsProcess : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(owbtest::sharedXvfb().ok());
    ASSERT_TRUE(screen.ok());
    home = root.file("home");
    mkdir(home.c_str(), 0777);
    toolman = std::make_unique<TestToolManager>(home);
    owbtest::writeWholeFile(home + "/.owb/xterm_settings", owbtest::installTree() + "/bin/bgterm\n-sb\n");
  }
  void TearDown() override {
    if (tool > 0) {
      kill(tool, SIGKILL);
      reaper.waitFor(tool, 10);
    }
    opstest::killPidFileGroups(root.path());
    toolman.reset();
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
  void identify(const std::string& file) {
    Message message(OWB_TYPE("IDFL"), nullptr);
    message.addStringParam(kParamStr255, file.c_str());
    ASSERT_TRUE(toolman->ask(toolPort, message));
  }
  void command(const char* text, const std::string& file) {
    Message message = fmtest::commandSelectedMessage(text, file);
    ASSERT_TRUE(toolman->ask(toolPort, message));
  }

  opstest::ChildReaper reaper;
  Screen screen;
  owbtest::TempDir root;
  std::string home;
  std::unique_ptr<TestToolManager> toolman;
  pid_t tool = 0;
  int toolPort = 0;
};

TEST_F(FleetMgrWindowsProcess, StatusWindowShowsTheRunningFleetAndKillsFromItsRowAndTheKillDialog) {
  std::string dir = root.file("demo"), definition = dir + "/demo.flt";
  long base = opstest::freeBasePort(8);
  ASSERT_EQ(fleetctl({"new", dir, "--engine", "alpha", "--engine", "beta", "--base-port", std::to_string(base)}), 0)
      << owbtest::readWholeFile(root.file("fleetctl.out"));
  ASSERT_EQ(fleetctl({"run", dir}), 0) << owbtest::readWholeFile(root.file("fleetctl.out"));

  auto env = environment();
  tool = owbtest::startProgram({owbtest::installTree() + "/bin/fleetmgr"}, root.file("fleetmgr.out"), &env);
  ASSERT_TRUE(toolman->waitForCount(OWB_TYPE("ADDC"), 8)) << owbtest::readWholeFile(root.file("fleetmgr.out"));
  toolPort = toolman->messagesOf(OWB_TYPE("REGT")).at(0).header.senderInfo.listenerPort;
  identify(definition);
  command("Fleet Status", definition);

  Window status = screen.waitFor("Fleet Status: " + dir);
  ASSERT_NE(status, 0u) << owbtest::readWholeFile(root.file("fleetmgr.out"));
  ASSERT_TRUE(opstest::eventually([&] { return screen.statusOf(status, "beta") == "Up"; }));
  EXPECT_EQ(screen.statusOf(status, "alpha"), "Up");
  auto rows = screen.rows(status);
  ASSERT_EQ(rows.size(), 3u);  // alpha, beta and the place monitor
  EXPECT_EQ(rows[1][1], "Engine");
  EXPECT_EQ(rows[3][1], "External Process");

  // alpha (the first engine, whose row is selected at the opening) is
  // killed from its row; the rows are read again.
  EXPECT_TRUE(screen.enabled(status, "2"));
  EXPECT_FALSE(screen.enabled(status, "3"));
  ASSERT_TRUE(screen.click(status, "4/2,1"));
  ASSERT_TRUE(screen.click(status, "2"));
  EXPECT_TRUE(opstest::eventually([&] { return screen.statusOf(status, "alpha") == "Down"; }));
  EXPECT_EQ(screen.statusOf(status, "beta"), "Up");

  // A second "Fleet Status" refreshes the same window.
  command("Fleet Status", definition);
  EXPECT_EQ(screen.waitFor("Fleet Status: " + dir), status);

  // The kill dialog, set to kill everything, stops the rest and says so.
  command("Kill Fleet", definition);
  Window dialog = screen.waitFor("Kill Fleet");
  ASSERT_NE(dialog, 0u);
  ASSERT_TRUE(opstest::eventually([&] { return screen.enabled(dialog, "4"); }));
  ASSERT_TRUE(screen.click(dialog, "4"));
  Window alert = screen.waitFor("Kill Fleet", "Fleet successfully killed", 60);
  ASSERT_NE(alert, 0u);
  ASSERT_TRUE(screen.click(alert, "", "Ok"));
  EXPECT_TRUE(opstest::eventually([&] { return screen.find("Kill Fleet") == 0; }));
  ASSERT_TRUE(screen.click(status, "0"));                      // update
  EXPECT_TRUE(opstest::eventually([&] { return screen.statusOf(status, "beta") == "Down"; }));
}

TEST_F(FleetMgrWindowsProcess, NewFleetFromTheRealToolmanIsTypedIntoTheSettingsWindowAndMade) {
  // The real Tool Manager instead of the test's: it finds a free port and
  // writes it to owbport, where fleetmgr and `toolman --send` look.
  toolman.reset();
  std::remove((home + "/.owb/owbport").c_str());
  auto env = environment();
  const std::string toolmanProgram = owbtest::buildDir() + "/tools/toolman";
  std::string project = root.file("fleets");
  mkdir(project.c_str(), 0777);
  pid_t manager = owbtest::startProgram({toolmanProgram, "--project", project, "--quiet"}, root.file("toolman.out"),
                                        &env);
  auto send = [&](const std::string& line) {
    pid_t child = owbtest::startProgram({toolmanProgram, "--send", line}, root.file("send.out"), &env);
    reaper.waitFor(child, 60);
    return owbtest::readWholeFile(root.file("send.out"));
  };
  // Ends the Tool Manager however the test ends.
  std::shared_ptr<void> stopManager(nullptr, [&](void*) {
    kill(manager, SIGTERM);
    reaper.waitFor(manager, 10);
  });
  ASSERT_TRUE(opstest::eventually([&] { return access((home + "/.owb/owbport").c_str(), F_OK) == 0; }))
      << owbtest::readWholeFile(root.file("toolman.out"));
  tool = owbtest::startProgram({owbtest::installTree() + "/bin/fleetmgr"}, root.file("fleetmgr.out"), &env);
  EXPECT_TRUE(opstest::eventually([&] { return send("commands").find("New Fleet") != std::string::npos; }))
      << owbtest::readWholeFile(root.file("fleetmgr.out"));

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
  std::string authority = screen.text(settings, "0,3,9");
  ASSERT_EQ(authority.size(), 34u);
  ASSERT_TRUE(screen.click(settings, "1,0"));
  ASSERT_TRUE(opstest::eventually([&] { return screen.find("Fleet Settings") == 0; }))
      << owbtest::readWholeFile(root.file("fleetmgr.out"));

  // The definition is the one `fleetctl new` writes for the same values
  // (but for its first line, the time); the Tool Manager has the file and
  // the two engines with their debugger ports.
  std::string made = owbtest::readWholeFile(dir + "/yard.flt");
  std::string other = root.file("other/yard");
  ASSERT_EQ(fleetctl({"new", other, "--engine", "eng1", "--engine", "beta", "--base-port", "6100", "--authority",
                      authority, "--options", "-d1"}),
            0);
  std::string expected = owbtest::readWholeFile(other + "/yard.flt");
  ASSERT_FALSE(made.empty());
  EXPECT_EQ(made.substr(made.find('\n')), expected.substr(expected.find('\n')));
  EXPECT_NE(send("files").find("yard/yard.flt"), std::string::npos) << send("files");
  std::string engines = send("engines");
  EXPECT_NE(engines.find("6106"), std::string::npos) << engines;
  EXPECT_NE(engines.find("6114"), std::string::npos) << engines;
}

// The environment's own toolman, a fleet run by fleetctl, and fleetmgr:
// "Fleet Status" chosen through toolman, then a real double click on the
// engine's row opens a window on the engine's output that shows its text
// and is placed by toolman as a source viewer; closing the status window
// ends it, and its place goes back to toolman.
TEST_F(FleetMgrWindowsProcess, ADoubleClickOnARowShowsTheProcessOutputBesideTheRealToolman) {
  std::string dir = root.file("demo"), definition = dir + "/demo.flt", ownHome = root.file("realhome");
  mkdir(ownHome.c_str(), 0777);
  ASSERT_EQ(fleetctl({"new", dir, "--engine", "alpha", "--base-port", std::to_string(opstest::freeBasePort(4))}), 0)
      << owbtest::readWholeFile(root.file("fleetctl.out"));
  ASSERT_EQ(fleetctl({"run", dir}), 0) << owbtest::readWholeFile(root.file("fleetctl.out"));
  ASSERT_TRUE(opstest::eventually([&] {
    return owbtest::readWholeFile(dir + "/alpha.out").find("eng alpha:") != std::string::npos;
  }));

  const std::string toolmanProgram = owbtest::buildDir() + "/tools/toolman";
  std::map<std::string, std::string> toolmanEnv = {{"HOME", ownHome}};
  pid_t realToolman = owbtest::startProgram(
      {toolmanProgram, "--port", std::to_string(opstest::freeBasePort(1)), "--project", dir},
      root.file("toolman.out"), &toolmanEnv);
  auto send = [&](const std::string& line) {
    pid_t sender = owbtest::startProgram({toolmanProgram, "--send", line}, root.file("send.out"), &toolmanEnv);
    int status = reaper.waitFor(sender, 30);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? owbtest::readWholeFile(root.file("send.out")) : "";
  };
  auto env = environment();
  env["HOME"] = ownHome;
  ASSERT_TRUE(opstest::eventually([&] { return send("status").find("port") != std::string::npos; }));
  tool = owbtest::startProgram({owbtest::installTree() + "/bin/fleetmgr"}, root.file("fleetmgr.out"), &env);
  ASSERT_TRUE(opstest::eventually([&] { return send("commands FLTT").find("Fleet Status") != std::string::npos; }))
      << owbtest::readWholeFile(root.file("fleetmgr.out"));
  send("idfl FLTT " + definition);
  send("cmd FLTT \"Fleet Status\" " + definition);

  Window status = screen.waitFor("Fleet Status: " + dir);
  ASSERT_NE(status, 0u) << owbtest::readWholeFile(root.file("fleetmgr.out"));
  ASSERT_TRUE(opstest::eventually([&] { return screen.statusOf(status, "alpha") == "Up"; }));
  // Two clicks a moment apart: a double click.
  ASSERT_TRUE(screen.click(status, "4/2,1"));
  std::this_thread::sleep_for(std::chrono::milliseconds(60));
  ASSERT_TRUE(screen.click(status, "4/2,1"));
  const std::string title = "Output of alpha: " + dir;
  Window view = screen.waitFor(title);
  ASSERT_NE(view, 0u) << owbtest::readWholeFile(root.file("fleetmgr.out"));
  EXPECT_TRUE(opstest::eventually([&] {
    for (const WidgetLine& w : screen.widgets(view))
      if (w.text.find("eng alpha: ") != std::string::npos) return true;
    return false;
  }));
  // Opened where it leaves the status list in sight, and on the screen.
  auto statusBox = screen.box(status), viewBox = screen.box(view);
  EXPECT_TRUE(viewBox[0] >= statusBox[0] + statusBox[2] || viewBox[0] + viewBox[2] <= statusBox[0] ||
              (viewBox[0] == statusBox[0] + 40 && viewBox[1] == statusBox[1] + 40))
      << viewBox[0] << "," << viewBox[1] << " beside " << statusBox[0] << "," << statusBox[1];
  EXPECT_GE(viewBox[0], 0);
  EXPECT_GE(viewBox[1], 0);
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

  kill(realToolman, SIGTERM);
  EXPECT_NE(reaper.waitFor(realToolman, 10), -1);
}

}  // namespace
