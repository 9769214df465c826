// The windows of a tool under test read and pressed from outside, as
// another client does: through their widget description (_OWB_WIDGETS)
// and real XTest events on the shared Xvfb.
#ifndef OWB_TESTS_FLEETMGR_SCREEN_H
#define OWB_TESTS_FLEETMGR_SCREEN_H

#include <array>

#include "fleet/ops_support.h"
#include "xvfb_support.h"

namespace fmtest {

using owbtest::WidgetLine;

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
  Window waitFor(const std::string& title, const std::string& text = "") {
    return opstest::eventually([&] { return find(title, text) != 0; }, 10) ? find(title, text) : 0;
  }
  bool shows(Window win, const std::string& text) {
    for (const WidgetLine& w : widgets(win))
      if (w.text == text) return true;
    return false;
  }
  std::vector<WidgetLine> widgets(Window win) {
    return owbtest::parseWidgetLines(owbtest::readWidgetsProperty(dpy_, win));
  }

  // A real click in the middle of the widget at path (or of the cell).
  bool click(Window win, const std::string& path) {
    WidgetLine w = at(win, path);
    int x = 0, y = 0;
    Window child;
    XTranslateCoordinates(dpy_, win, DefaultRootWindow(dpy_), w.x + w.w / 2, w.y + w.h / 2, &x, &y, &child);
    if (w.fields) input_.click(x, y);
    return w.fields != 0;
  }
  // Clicks the text field at path, selects its text and types text over
  // it (letters, digits and the characters of a path, ~ too).
  bool typeInto(Window win, const std::string& path, const std::string& text) {
    if (!click(win, path)) return false;
    key(XK_a, XK_Control_L);
    for (char c : text) {
      if ((c >= 'A' && c <= 'Z') || c == '~') key(static_cast<KeySym>(c), XK_Shift_L);
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
  // The widget at path (empty when there is none).
  WidgetLine at(Window win, const std::string& path) {
    for (const WidgetLine& w : widgets(win))
      if (w.path == path) return w;
    return WidgetLine{};
  }
  std::string text(Window win, const std::string& path) { return at(win, path).text; }
  bool enabled(Window win, const std::string& path) { return at(win, path).has('E'); }
  // The window's place on the screen: x, y, width, height.
  std::array<int, 4> box(Window win) {
    XWindowAttributes a{};
    Window child = 0;
    int x = 0, y = 0;
    XGetWindowAttributes(dpy_, win, &a);
    XTranslateCoordinates(dpy_, win, DefaultRootWindow(dpy_), 0, 0, &x, &y, &child);
    return {x, y, a.width, a.height};
  }

 private:
  owbtest::XTestDriver input_;
  Display* dpy_;
};

}  // namespace fmtest

#endif  // OWB_TESTS_FLEETMGR_SCREEN_H
