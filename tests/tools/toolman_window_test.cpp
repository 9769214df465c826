// toolman --window as a user meets it: a real toolman, a real fleetmgr and
// a private X server; the test reads the window's widget description and
// drives it with real pointer and key events.
#include <gtest/gtest.h>

#include <functional>

#include "shared/globals.h"
#include "shared/log.h"
#include "shared/messages.h"
#include "shared/utils.h"
#include "tests/fleetmgr/screen.h"

namespace {

using owbtest::readWholeFile;

std::string toolmanPath() { return owbtest::buildDir() + "/tools/toolman"; }

bool waitFor(const std::function<bool()>& done) { return opstest::eventually(done, 15); }

using owbtest::WidgetLine;

// The cell of the files list (child 0) whose text is text; null for none.
const WidgetLine* fileCell(const std::vector<WidgetLine>& lines, const std::string& text) {
  for (const WidgetLine& line : lines)
    if (line.cls == "Cell" && line.path.compare(0, 2, "0/") == 0 && line.text == text) return &line;
  return nullptr;
}

class ToolmanWindowTest : public ::testing::Test {
 protected:
  owbtest::TempDir home;
  std::string project = home.path() + "/fleets";
  std::map<std::string, std::string> env;
  std::vector<pid_t> started;
  fmtest::Screen screen;

  void SetUp() override {
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    auto& xvfb = owbtest::sharedXvfb();
    if (!xvfb.ok()) GTEST_SKIP() << "no Xvfb";
    ASSERT_TRUE(screen.ok());
    env = {{"HOME", home.path()},
           {"DISPLAY", xvfb.display()},
           {"OWB", owbtest::installTree()},
           {"OWB_AUTOMATION", "1"},
           {"OWB_TOOLMAN_IDFL_MS", "3000"}};
    ASSERT_EQ(system(("mkdir -p " + home.path() + "/.owb " + project).c_str()), 0);
  }

  void TearDown() override {
    for (pid_t pid : started) kill(pid, SIGTERM);
    for (pid_t pid : started) waitpid(pid, nullptr, 0);
  }

  pid_t start(const std::vector<std::string>& args, const std::string& output) {
    pid_t pid = owbtest::startProgram(args, home.file(output), &env);
    started.push_back(pid);
    return pid;
  }

  // The port the Tool Manager listens on: the one asked for, or one of
  // those above it when another process holds it.
  int toolmanPort = 0;

  Window openToolman(int wantedPort) {
    start({toolmanPath(), "--window", "--port", std::to_string(wantedPort), "--project", project}, "toolman.out");
    Window win = 0;
    waitFor([&] { return (win = screen.find("Tool Manager")) != 0 && !screen.widgets(win).empty(); });
    toolmanPort = std::atoi(readWholeFile(home.path() + "/.owb/owbport").c_str());
    return toolmanPort > 0 ? win : 0;
  }

  void keys(std::initializer_list<KeySym> syms) {
    for (KeySym sym : syms) {
      screen.key(sym);
      std::this_thread::sleep_for(std::chrono::milliseconds(120));
    }
  }
};

// The demo's fleet in the project; the Fleet Manager types its definition,
// the user selects it and chooses "Fleet Status" from the Fleet Manager's
// menu, then QUIT from the Tools menu ends the Fleet Manager.
TEST_F(ToolmanWindowTest, FleetStatusFromTheFileListAndQuitFromTheToolsMenu) {
  std::string fleetctl = owbtest::installTree() + "/bin/fleetctl";
  ASSERT_EQ(system(("OWB=" + owbtest::installTree() + " HOME=" + home.path() + " " + fleetctl + " new " + project + "/demo --engine alpha --engine beta --force >/dev/null 2>&1").c_str()),
            0);
  owbtest::writeWholeFile(project + "/notes.txt", "not a fleet\n");
  int port = 31000 + static_cast<int>(getpid() % 3000) * 3;
  Window win = openToolman(port);
  ASSERT_NE(win, 0u) << readWholeFile(home.file("toolman.out"));
  std::vector<WidgetLine> lines = screen.widgets(win);
  ASSERT_TRUE(waitFor([&] { return fileCell(lines = screen.widgets(win), "demo/demo.flt") != nullptr; }))
      << readWholeFile(home.file("toolman.out"));

  pid_t fleetmgr = start({owbtest::installTree() + "/bin/fleetmgr"}, "fleetmgr.out");
  // Registered, its commands installed, and the definition typed by its IDFL answer.
  ASSERT_TRUE(waitFor([&] {
    const WidgetLine* name = fileCell(lines = screen.widgets(win), "demo/demo.flt");
    return name && screen.at(win, "0/2" + name->path.substr(name->path.find(','))).text == "fleet";
  })) << readWholeFile(home.file("toolman.out"));
  ASSERT_NE(fileCell(lines, "notes.txt"), nullptr);

  const WidgetLine* fleet = fileCell(lines, "demo/demo.flt");
  ASSERT_TRUE(screen.click(win, fleet->path));
  ASSERT_TRUE(waitFor([&] { return screen.at(win, fleet->path).has('S'); }));

  // F10 opens Tools on its first item, the Fleet Manager's; Right opens
  // that item's sub-menu, Right again the next menu of the bar, the Fleet
  // Manager's, whose fourth command is chosen.
  const std::string statusTitle = "Fleet Status: " + project + "/demo";
  keys({XK_F10, XK_Right, XK_Right, XK_Down, XK_Down, XK_Down, XK_Return});
  // The Fleet Manager answers the choice with a window of its own.
  ASSERT_TRUE(waitFor([&] { return screen.find(statusTitle) != 0; }))
      << readWholeFile(home.file("toolman.out")) << readWholeFile(home.file("fleetmgr.out"));

  // The status window closes on Escape; back in the Tool Manager's
  // window, Tools > Fleet Manager (port N) > Quit.
  keys({XK_Escape});
  ASSERT_TRUE(waitFor([&] { return screen.find(statusTitle) == 0; })) << readWholeFile(home.file("fleetmgr.out"));
  ASSERT_TRUE(screen.click(win, fleet->path));
  keys({XK_F10, XK_Right, XK_q});
  int status = -1;
  ASSERT_TRUE(waitFor([&] { return waitpid(fleetmgr, &status, WNOHANG) == fleetmgr; }))
      << readWholeFile(home.file("toolman.out"));
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  // The Tool Manager notices the tool is gone and drops it.
  EXPECT_TRUE(waitFor([&] {
    return readWholeFile(home.file("toolman.out")).find("Fleet Manager does not answer") != std::string::npos;
  })) << readWholeFile(home.file("toolman.out"));
}

// A listener that takes connections into its backlog and never reads them:
// a tool that hangs.
int silentListener(int* port) {
  int fd = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  if (fd < 0 || bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 || listen(fd, 64) != 0 ||
      getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) != 0)
    return -1;
  *port = ntohs(address.sin_port);
  return fd;
}

// A tool that registers with its listener at port and installs a command.
void registerTool(int toolmanPort, int port, const char* name) {
  if (!gToolName) {
    gToolName = newStringCopy("silenttest");
    openToolLog(false);
  }
  MessageCenter center;
  ToolInfo toolman{};
  toolman.listenerPort = toolmanPort;
  ToolInfo me{};
  std::snprintf(me.name, sizeof me.name, "%s", name);
  me.toolType = OWB_TYPE("HANG");
  me.listenerPort = port;
  Message* regt = new Message(OWB_TYPE("REGT"), &toolman);
  regt->addToolInfoParam(me);
  regt->addStringParam(kParamStr255, "/bin/hang");
  center.sendMessage(regt);
}

// A tool that never answers IDFL, and a project of odd names: the window
// lists every file, stays usable while the question times out, and asks
// the silent tool nothing more once it has let one question go unanswered.
TEST_F(ToolmanWindowTest, ASilentToolAndOddNamesLeaveTheWindowUsable) {
  const std::vector<std::string> odd = {"tab\tname.txt", std::string("caf\xe9.txt"), std::string(200, 'l') + ".txt",
                                        "quote\"back\\slash.txt"};
  for (const std::string& name : odd) owbtest::writeWholeFile(project + "/" + name, "x");
  ASSERT_EQ(system(("mkdir -p " + project + "/zmany").c_str()), 0);
  for (int i = 0; i < 3000; ++i) owbtest::writeWholeFile(project + "/zmany/f" + std::to_string(i) + ".dat", "");
  env["OWB_TOOLMAN_IDFL_MS"] = "400";
  int port = 31000 + static_cast<int>(getpid() % 3000) * 3 + 1;
  Window win = openToolman(port);
  ASSERT_NE(win, 0u) << readWholeFile(home.file("toolman.out"));
  for (const char* shown : {"tab\\tname.txt", "caf\\xE9.txt", "quote\"back\\\\slash.txt"})
    EXPECT_TRUE(waitFor([&] { return fileCell(screen.widgets(win), shown) != nullptr; })) << shown;

  owbtest::ScopedEnv homeEnv("HOME", home.path());
  int silentPort = 0;
  int silent = silentListener(&silentPort);
  ASSERT_GE(silent, 0);
  registerTool(toolmanPort, silentPort, "Hanger");
  // While the question waits for its answer, a click still selects.
  const WidgetLine first = screen.at(win, "0/1,1");
  ASSERT_EQ(first.cls, "Cell");
  auto clickTime = std::chrono::steady_clock::now();
  screen.click(win, first.path);
  ASSERT_TRUE(waitFor([&] { return screen.at(win, first.path).has('S'); }));
  EXPECT_LT(std::chrono::steady_clock::now() - clickTime, std::chrono::seconds(2));
  // One question went unanswered; no more are asked of the silent tool.
  // The question may come late on a busy machine: its connection waiting
  // in the listener's backlog is awaited first, then the time in which
  // more would have come.
  EXPECT_TRUE(waitFor([&] {
    pollfd waiting{silent, POLLIN, 0};
    return poll(&waiting, 1, 0) > 0;
  }));
  std::this_thread::sleep_for(std::chrono::milliseconds(1500));
  int pending = 0;
  fcntl(silent, F_SETFL, O_NONBLOCK);
  for (;;) {
    int connection = accept(silent, nullptr, nullptr);
    if (connection < 0) break;
    close(connection);
    ++pending;
  }
  close(silent);
  EXPECT_GE(pending, 1);
  EXPECT_LE(pending, 4);  // the question, and the probes of a tool that is still there
}

// The path field: a directory typed there and Return make it the project;
// a directory that does not exist is refused with an alert and a line in
// the message pane, and the project stays.
TEST_F(ToolmanWindowTest, TypingADirectoryInThePathFieldChangesTheProject) {
  owbtest::writeWholeFile(project + "/alpha.txt", "a");
  ASSERT_EQ(system(("mkdir -p " + home.path() + "/other").c_str()), 0);
  owbtest::writeWholeFile(home.path() + "/other/beta.txt", "b");
  int port = 31000 + static_cast<int>(getpid() % 3000) * 3 + 2;
  Window win = openToolman(port);
  ASSERT_NE(win, 0u) << readWholeFile(home.file("toolman.out"));
  ASSERT_TRUE(waitFor([&] { return fileCell(screen.widgets(win), "alpha.txt") != nullptr; }));
  auto field = [&] { return screen.at(win, "3"); };
  WidgetLine path = field();
  ASSERT_EQ("TEd", path.cls);
  ASSERT_NE(std::string::npos, path.text.find("/fleets"));

  // Types text into the field in place of what it holds, then Return.
  auto typeInField = [&](const std::string& text) {
    ASSERT_TRUE(screen.typeInto(win, "3", text));
    screen.key(XK_Return);
  };

  typeInField("~/nothere");
  ASSERT_TRUE(waitFor([&] { return screen.find("Change Project") != 0; })) << readWholeFile(home.file("toolman.out"));
  keys({XK_Return});
  ASSERT_TRUE(waitFor([&] { return screen.find("Change Project") == 0; }));
  ASSERT_TRUE(waitFor([&] {
    for (const WidgetLine& line : screen.widgets(win))
      if (line.cls == "Cell" && line.path.compare(0, 2, "2/") == 0 &&
          line.text.find("no project directory " + home.path() + "/nothere") != std::string::npos)
        return true;
    return false;
  }));
  EXPECT_NE(fileCell(screen.widgets(win), "alpha.txt"), nullptr);
  EXPECT_EQ(project, field().text);

  typeInField("~/other");
  EXPECT_TRUE(waitFor([&] {
    auto lines = screen.widgets(win);
    return fileCell(lines, "beta.txt") != nullptr && fileCell(lines, "alpha.txt") == nullptr;
  })) << readWholeFile(home.file("toolman.out"));
  EXPECT_EQ(home.path() + "/other", field().text);
}

}  // namespace
