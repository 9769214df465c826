// Answers the alerts of a program under test: a thread with a connection
// of its own to the test's X server watches for top-level windows whose
// title is one of those given and presses a key in each (Return: the
// alert's first button), once per window.
#ifndef OWB_TESTS_ALERT_ANSWERER_H
#define OWB_TESTS_ALERT_ANSWERER_H

#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace owbtest {

class AlertAnswerer {
 public:
  AlertAnswerer(const std::string& display, std::vector<std::string> titles, KeySym key = XK_Return)
      : titles_(std::move(titles)), key_(key) {
    dpy_ = XOpenDisplay(display.c_str());
    if (!dpy_) return;
    // A window may go between the listing and the questions about it: the
    // errors of this connection are ignored, those of any other go on to
    // the handler that was there before (Xlib keeps one for the process).
    watcherDisplay() = dpy_;
    previousHandler() = XSetErrorHandler(ignoreWatcherErrors);
    thread_ = std::thread([this] { watch(); });
  }
  ~AlertAnswerer() {
    stopping_ = true;
    if (thread_.joinable()) thread_.join();
    if (dpy_) {
      XCloseDisplay(dpy_);
      XSetErrorHandler(previousHandler());
      watcherDisplay() = nullptr;
    }
  }
  AlertAnswerer(const AlertAnswerer&) = delete;
  AlertAnswerer& operator=(const AlertAnswerer&) = delete;

  // The titles of the windows answered so far, in order.
  std::vector<std::string> answered() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return answered_;
  }

 private:
  using ErrorHandler = int (*)(Display*, XErrorEvent*);
  static Display*& watcherDisplay() {
    static Display* display = nullptr;
    return display;
  }
  static ErrorHandler& previousHandler() {
    static ErrorHandler handler = nullptr;
    return handler;
  }
  static int ignoreWatcherErrors(Display* display, XErrorEvent* error) {
    if (display == watcherDisplay() || !previousHandler()) return 0;
    return previousHandler()(display, error);
  }

  void watch() {
    while (!stopping_) {
      Window root = DefaultRootWindow(dpy_), parent = 0, *children = nullptr;
      unsigned count = 0;
      if (XQueryTree(dpy_, root, &root, &parent, &children, &count)) {
        for (unsigned i = 0; i < count; i++) answer(children[i]);
        if (children) XFree(children);
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
  }

  void answer(Window win) {
    if (done_.count(win)) return;
    XWindowAttributes attributes;
    if (!XGetWindowAttributes(dpy_, win, &attributes) || attributes.map_state != IsViewable) return;
    char* name = nullptr;
    if (!XFetchName(dpy_, win, &name) || !name) return;
    std::string title = name;
    XFree(name);
    if (std::find(titles_.begin(), titles_.end(), title) == titles_.end()) return;
    done_.insert(win);
    // Give the program a moment to take the focus it asked for.
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    XSetInputFocus(dpy_, win, RevertToParent, CurrentTime);
    KeyCode code = XKeysymToKeycode(dpy_, key_);
    XTestFakeKeyEvent(dpy_, code, True, CurrentTime);
    XTestFakeKeyEvent(dpy_, code, False, CurrentTime);
    XSync(dpy_, False);
    std::lock_guard<std::mutex> lock(mutex_);
    answered_.push_back(title);
  }

  Display* dpy_ = nullptr;
  std::vector<std::string> titles_;
  KeySym key_;
  std::thread thread_;
  std::atomic<bool> stopping_{false};
  std::set<Window> done_;
  mutable std::mutex mutex_;
  std::vector<std::string> answered_;
};

}  // namespace owbtest

#endif  // OWB_TESTS_ALERT_ANSWERER_H
