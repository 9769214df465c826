// The Tool Manager's window, as a real toolman process on a private X
// server:
//  - from starting `toolman --window` on a project of 10 000 files until
//    its window is on the screen and drawn (target under 200 ms);
//  - from the Return key that chooses a tool's command in its menu until
//    the tool has the CMDS (target under 5 ms).
#include <benchmark/benchmark.h>

#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <thread>

#include "shared/globals.h"
#include "shared/log.h"
#include "shared/messages.h"
#include "shared/tcpxport.h"
#include "shared/utils.h"
#include "tests/testsupport.h"
#include "tests/xvfb_support.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kProjectFiles = 10000;
const char* const kSuffixes[] = {".flt", ".cfg", ".txt", ".log", ".c"};

struct Setting {
  owbtest::TempDir home;
  std::string project = home.path() + "/project";
  Display* dpy = nullptr;
  std::map<std::string, std::string> env;

  Setting() {
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    auto& xvfb = owbtest::sharedXvfb();
    dpy = xvfb.ok() ? XOpenDisplay(xvfb.display().c_str()) : nullptr;
    std::string made = "mkdir -p " + home.path() + "/.owb";
    for (int d = 0; d < 20; ++d) made += " " + project + "/dir" + std::to_string(d);
    if (system(made.c_str()) != 0) return;
    for (int i = 0; i < kProjectFiles; ++i) {
      std::string path = project + "/dir" + std::to_string(i % 20) + "/file" + std::to_string(i) + kSuffixes[i % 5];
      if (FILE* f = std::fopen(path.c_str(), "w")) std::fclose(f);
    }
    env = {{"HOME", home.path()},
           {"DISPLAY", xvfb.ok() ? xvfb.display() : ""},
           {"OWB", owbtest::installTree()},
           {"OWB_AUTOMATION", "1"}};
  }
  ~Setting() {
    if (dpy) XCloseDisplay(dpy);
  }

  // The description of the top-level window named "Tool Manager", "" when
  // there is none yet.
  std::string windowDescription(Window* found) {
    Window root = DefaultRootWindow(dpy), parent, *children = nullptr;
    unsigned count = 0;
    std::string text;
    if (!XQueryTree(dpy, root, &root, &parent, &children, &count)) return text;
    Atom prop = XInternAtom(dpy, "_OWB_WIDGETS", False);
    for (unsigned i = 0; i < count && text.empty(); ++i) {
      char* title = nullptr;
      if (!XFetchName(dpy, children[i], &title) || !title) continue;
      bool ours = std::strcmp(title, "Tool Manager") == 0;
      XFree(title);
      if (!ours) continue;
      Atom type;
      int format;
      unsigned long items = 0, after = 0;
      unsigned char* data = nullptr;
      if (XGetWindowProperty(dpy, children[i], prop, 0, 1 << 24, False, AnyPropertyType, &type, &format, &items,
                             &after, &data) == Success &&
          data) {
        text.assign(reinterpret_cast<char*>(data), items);
        XFree(data);
        if (found) *found = children[i];
      }
    }
    if (children) XFree(children);
    return text;
  }

  pid_t startToolman(int port) {
    return owbtest::startProgram({owbtest::buildDir() + "/tools/toolman", "--window", "--quiet", "--port",
                                  std::to_string(port), "--project", project},
                                 home.file("toolman.out"), &env);
  }

  static void end(pid_t pid) {
    kill(pid, SIGTERM);
    waitpid(pid, nullptr, 0);
  }
};

Setting& setting() {
  static Setting s;
  return s;
}

int benchPort() { return 32000 + static_cast<int>(getpid() % 2000) * 3; }

void BM_WindowOpenOnTenThousandFiles(benchmark::State& state) {
  Setting& s = setting();
  if (!s.dpy) return state.SkipWithError("no Xvfb");
  for (auto _ : state) {
    auto start = Clock::now();
    pid_t toolman = s.startToolman(benchPort());
    // Drawn: the window's description lists the files' cells.
    bool drawn = false;
    while (!drawn && Clock::now() - start < std::chrono::seconds(20)) {
      std::string text = s.windowDescription(nullptr);
      drawn = text.find("file0.flt") != std::string::npos;
      if (!drawn) std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    state.SetIterationTime(std::chrono::duration<double>(Clock::now() - start).count());
    Setting::end(toolman);
    if (!drawn) return state.SkipWithError("the window was not drawn");
  }
}
BENCHMARK(BM_WindowOpenOnTenThousandFiles)->UseManualTime()->Iterations(5)->Unit(benchmark::kMillisecond);

// Set when the transport hands the CMDS over, before it is queued.
bool gCommandReceived = false;
void watchForCommand(const Message& message, void*) {
  if (message.header.msgType == OWB_TYPE("CMDS")) gCommandReceived = true;
}
ErrorCode commandSelected(Message*, Message*) { return kNoError; }

void BM_MenuChoiceToCommandReceived(benchmark::State& state) {
  Setting& s = setting();
  if (!s.dpy) return state.SkipWithError("no Xvfb");
  owbtest::ScopedEnv homeEnv("HOME", s.home.path());
  pid_t toolman = s.startToolman(benchPort() + 1);
  Window win = 0;
  for (int waited = 0; waited < 20000 && s.windowDescription(&win).empty(); waited += 20)
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  forgetToolManagerPort();
  gToolName = newStringCopy("benchtool");
  openToolLog(false);
  gMessageCenter = new MessageCenter();
  gToolManToolInfo.listenerPort = getToolManagerPort();
  MessageTemplate cmds = makeMessageTemplate({kParamStr31, kParamStr31, kParamLong, kParamStr31});
  gMessageCenter->registerMessageHandler(OWB_TYPE("CMDS"), &cmds, commandSelected);
  gMessageCenter->setMessageObserver(watchForCommand, nullptr);
  ToolInfo me{};
  std::strcpy(me.name, "Bench");
  me.toolType = OWB_TYPE("BNCH");
  me.listenerPort = gMessageCenter->thisToolInfo.listenerPort;
  Message* regt = new Message(OWB_TYPE("REGT"), &gToolManToolInfo);
  regt->addToolInfoParam(me);
  regt->addStringParam(kParamStr255, "/bin/bench");
  gMessageCenter->sendMessage(regt);
  Message* addc = new Message(OWB_TYPE("ADDC"), &gToolManToolInfo);
  addc->addStringParam(kParamStr31, "Measure");
  addc->addLongParam(0);
  addc->addIdentParam(kWildTypeIdent);
  gMessageCenter->sendMessage(addc);
  std::this_thread::sleep_for(std::chrono::milliseconds(500));  // the menus are built again

  owbtest::XTestDriver driver(DisplayString(s.dpy));
  // A click on the project's label gives the window the keyboard.
  int rootX = 0, rootY = 0;
  Window child;
  XTranslateCoordinates(s.dpy, win, DefaultRootWindow(s.dpy), 20, 45, &rootX, &rootY, &child);
  driver.click(rootX, rootY);
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  for (auto _ : state) {
    gCommandReceived = false;
    // Tools on its first item (the tool's sub-menu), the sub-menu, then the
    // next menu of the bar: the tool's; its one command is chosen by Return.
    driver.key(XK_F10);
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    driver.key(XK_Right);
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    driver.key(XK_Right);
    std::this_thread::sleep_for(std::chrono::milliseconds(150));
    auto start = Clock::now();
    driver.key(XK_Return);
    while (!gCommandReceived && Clock::now() - start < std::chrono::seconds(5)) gMessageCenter->poll();
    state.SetIterationTime(std::chrono::duration<double>(Clock::now() - start).count());
    if (!gCommandReceived) {
      state.SkipWithError("no CMDS arrived");
      break;
    }
  }
  cleanUpGlobals();
  Setting::end(toolman);
}
BENCHMARK(BM_MenuChoiceToCommandReceived)->UseManualTime()->Iterations(20)->Unit(benchmark::kMillisecond);

}  // namespace
