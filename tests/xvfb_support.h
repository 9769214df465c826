// A private X server for the tests that need a display, and a driver that
// sends real pointer and key events through it with the XTest extension.
//
// One Xvfb per test program: sharedXvfb() starts it on first use on a free
// display number (Xvfb picks it and reports it through -displayfd), points
// DISPLAY at it, and stops it when the program ends.  The server is also
// told to die with the test program, so a crashed test leaves none behind.
#ifndef OWB_TESTS_XVFB_SUPPORT_H
#define OWB_TESTS_XVFB_SUPPORT_H

#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

namespace owbtest {

class XvfbServer {
 public:
  XvfbServer(int width = 1024, int height = 768) {
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    int fds[2];
    if (pipe(fds) != 0) return;
    pid_ = fork();
    if (pid_ == 0) {
      prctl(PR_SET_PDEATHSIG, SIGTERM);
      close(fds[0]);
      int devnull = open("/dev/null", O_WRONLY);
      if (devnull >= 0) {
        dup2(devnull, 1);
        dup2(devnull, 2);
      }
      std::string fd = std::to_string(fds[1]);
      std::string screen = std::to_string(width) + "x" + std::to_string(height) + "x24";
      execlp("Xvfb", "Xvfb", "-displayfd", fd.c_str(), "-screen", "0", screen.c_str(), "-nolisten", "tcp",
             "-noreset", "+extension", "XTEST", static_cast<char*>(nullptr));
      _exit(127);
    }
    close(fds[1]);
    if (pid_ < 0) {
      close(fds[0]);
      return;
    }
    // Xvfb writes its display number once it accepts connections.
    std::string number;
    pollfd p{fds[0], POLLIN, 0};
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (std::chrono::steady_clock::now() < deadline) {
      if (poll(&p, 1, 200) > 0) {
        char c;
        ssize_t n = read(fds[0], &c, 1);
        if (n <= 0) break;
        if (c == '\n') break;
        number += c;
      }
    }
    close(fds[0]);
    if (number.empty()) {
      stop();
      return;
    }
    display_ = ":" + number;
    setenv("DISPLAY", display_.c_str(), 1);
  }
  ~XvfbServer() { stop(); }
  XvfbServer(const XvfbServer&) = delete;
  XvfbServer& operator=(const XvfbServer&) = delete;

  bool ok() const { return !display_.empty(); }
  const std::string& display() const { return display_; }

 private:
  // Only the process that started the server stops it: a forked child
  // (a death test) that ends must leave it to its parent.
  void stop() {
    if (pid_ > 0 && getpid() == owner_) {
      kill(pid_, SIGTERM);
      int status;
      waitpid(pid_, &status, 0);
      pid_ = -1;
    }
  }
  pid_t pid_ = -1;
  pid_t owner_ = getpid();
  std::string display_;
};

// OWB_XVFB_SCREEN ("WIDTHxHEIGHT") gives the server another screen size,
// for pictures of large windows at 200%.
inline XvfbServer& sharedXvfb() {
  static int width = 1024, height = 768;
  static bool sized = [] {
    if (const char* size = std::getenv("OWB_XVFB_SCREEN")) {
      int w = 0, h = 0;
      if (std::sscanf(size, "%dx%d", &w, &h) == 2 && w >= 640 && h >= 480 && w <= 8192 && h <= 8192) {
        width = w;
        height = h;
      }
    }
    return true;
  }();
  (void)sized;
  static XvfbServer server(width, height);
  return server;
}

// Real input through the server, on a connection of its own.
class XTestDriver {
 public:
  explicit XTestDriver(const std::string& display) { dpy_ = XOpenDisplay(display.c_str()); }
  ~XTestDriver() {
    if (dpy_) XCloseDisplay(dpy_);
  }
  XTestDriver(const XTestDriver&) = delete;
  XTestDriver& operator=(const XTestDriver&) = delete;

  bool ok() const { return dpy_ != nullptr; }
  void moveTo(int x, int y) {
    XTestFakeMotionEvent(dpy_, -1, x, y, CurrentTime);
    XSync(dpy_, False);
  }
  void press(int button) {
    XTestFakeButtonEvent(dpy_, static_cast<unsigned>(button), True, CurrentTime);
    XSync(dpy_, False);
  }
  void release(int button) {
    XTestFakeButtonEvent(dpy_, static_cast<unsigned>(button), False, CurrentTime);
    XSync(dpy_, False);
  }
  void click(int x, int y, int button = 1) {
    moveTo(x, y);
    press(button);
    release(button);
  }
  // Presses and releases a key by its keysym, with the given modifier keys
  // (XK_Shift_L, XK_Control_L, ...) held.
  void key(KeySym sym, KeySym modifier1 = NoSymbol, KeySym modifier2 = NoSymbol) {
    KeySym mods[2] = {modifier1, modifier2};
    for (KeySym m : mods)
      if (m != NoSymbol) XTestFakeKeyEvent(dpy_, XKeysymToKeycode(dpy_, m), True, CurrentTime);
    KeyCode code = XKeysymToKeycode(dpy_, sym);
    XTestFakeKeyEvent(dpy_, code, True, CurrentTime);
    XTestFakeKeyEvent(dpy_, code, False, CurrentTime);
    for (int i = 1; i >= 0; i--)
      if (mods[i] != NoSymbol) XTestFakeKeyEvent(dpy_, XKeysymToKeycode(dpy_, mods[i]), False, CurrentTime);
    XSync(dpy_, False);
  }
  // Raises a window over the others, as a user clicking a title bar would.
  void raise(unsigned long win) {
    XRaiseWindow(dpy_, win);
    XSync(dpy_, False);
  }
  // Sends the window manager's close request to a window.
  void closeBox(unsigned long win) {
    XEvent ev{};
    ev.xclient.type = ClientMessage;
    ev.xclient.window = win;
    ev.xclient.message_type = XInternAtom(dpy_, "WM_PROTOCOLS", False);
    ev.xclient.format = 32;
    ev.xclient.data.l[0] = static_cast<long>(XInternAtom(dpy_, "WM_DELETE_WINDOW", False));
    ev.xclient.data.l[1] = CurrentTime;
    XSendEvent(dpy_, win, False, NoEventMask, &ev);
    XSync(dpy_, False);
  }
  Display* display() { return dpy_; }

 private:
  Display* dpy_ = nullptr;
};

// One line of a window's widget description (the _OWB_WIDGETS property
// its tool keeps on it for automation): path, class, box in the window,
// state letters and text.  fields counts the tab-separated fields read.
struct WidgetLine {
  std::string path, cls;
  int x = 0, y = 0, w = 0, h = 0;
  std::string state, text;
  size_t fields = 0;
  bool has(char letter) const { return state.find(letter) != std::string::npos; }
};

// The widget description of win as another client reads it; "<none>"
// when there is none, "<wrong type>" when it is not UTF-8 text, "<error>"
// when the window cannot be read.
inline std::string readWidgetsProperty(Display* dpy, Window win) {
  Atom prop = XInternAtom(dpy, "_OWB_WIDGETS", False);
  Atom utf8 = XInternAtom(dpy, "UTF8_STRING", False);
  std::string text;
  long offset = 0;
  for (;;) {
    Atom type;
    int format;
    unsigned long count, after;
    unsigned char* data = nullptr;
    if (XGetWindowProperty(dpy, win, prop, offset, 1 << 16, False, AnyPropertyType, &type, &format, &count, &after,
                           &data) != Success)
      return "<error>";
    if (type == None) return "<none>";
    if (type != utf8 || format != 8) {
      XFree(data);
      return "<wrong type>";
    }
    text.append(reinterpret_cast<char*>(data), count);
    XFree(data);
    if (after == 0) return text;
    offset += static_cast<long>(count / 4);
  }
}

// The lines of a widget description in order; lines of fewer than seven
// fields are left out.
inline std::vector<WidgetLine> parseWidgetLines(const std::string& text) {
  std::vector<WidgetLine> lines;
  size_t start = 0;
  while (start < text.size()) {
    size_t end = text.find('\n', start);
    if (end == std::string::npos) end = text.size();
    std::vector<std::string> f;
    for (size_t at = start;;) {
      size_t tab = text.find('\t', at);
      if (tab == std::string::npos || tab > end) tab = end;
      f.push_back(text.substr(at, tab - at));
      if (tab == end) break;
      at = tab + 1;
    }
    start = end + 1;
    if (f.size() < 7) continue;
    WidgetLine l{f[0], f[1], std::atoi(f[2].c_str()), std::atoi(f[3].c_str()), std::atoi(f[4].c_str()),
                 std::atoi(f[5].c_str()), f[6], f.size() > 7 ? f[7] : "", f.size()};
    lines.push_back(l);
  }
  return lines;
}

// The first mapped top-level window titled title for which accept(window)
// holds, found as another client finds it (pop-up windows are children of
// the root), or 0.
template <class Accept>
Window shownWindowNamed(Display* dpy, const std::string& title, Accept accept) {
  Window root = DefaultRootWindow(dpy), parent = 0, *children = nullptr, found = 0;
  unsigned count = 0;
  if (!XQueryTree(dpy, root, &root, &parent, &children, &count)) return 0;
  for (unsigned i = 0; i < count && !found; i++) {
    XWindowAttributes attributes;
    char* name = nullptr;
    if (XGetWindowAttributes(dpy, children[i], &attributes) && attributes.map_state == IsViewable &&
        XFetchName(dpy, children[i], &name) && name) {
      bool titled = title == name;
      XFree(name);
      if (titled && accept(children[i])) found = children[i];
    }
  }
  if (children) XFree(children);
  return found;
}
inline Window shownWindowNamed(Display* dpy, const std::string& title) {
  return shownWindowNamed(dpy, title, [](Window) { return true; });
}

// Runs `step` until `done` is true or the time is over; true when done.
template <class Step, class Done>
bool pumpUntil(Step step, Done done, int timeoutMs = 3000) {
  auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
  while (!done()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    step();
  }
  return true;
}

}  // namespace owbtest

#endif  // OWB_TESTS_XVFB_SUPPORT_H
