// The output views of the fleet status window.
#include "fleetmgr/fltstatout.h"

#include <sys/stat.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "fleet/fleetpath.h"
#include "shared/alert.h"
#include "shared/ui/windman.h"
#include "symbols/ui/srcwindow.h"

namespace {

const char* const kOutputAlertTitle = "Cannot Show Output";

struct OutputView {
  std::string file;  // the output file's real path: one view per file
  WinPtr statusWindow;
  SourceWindow* window;  // owned
};

std::vector<OutputView>& views() {
  static std::vector<OutputView> list;
  return list;
}

// The file's path with links and dots resolved, so that two names of one
// file share a view; the path as given when it cannot be resolved.
std::string S_realPath(const std::string& path) {
  char resolved[PATH_MAX];
  return realpath(path.c_str(), resolved) ? std::string(resolved) : path;
}

// Takes the view out of the list and the window manager's records, and
// frees it.  Ending a window that is still open goes through the window's
// default notification, so the closed handler does not run again.
void S_discard(SourceWindow* window) {
  auto& list = views();
  for (auto it = list.begin(); it != list.end(); ++it)
    if (it->window == window) {
      list.erase(it);
      break;
    }
  if (gWindowManager && window->win()) delete gWindowManager->removeWindowRec(window->win());
  delete window;
}

void S_viewClosed(SourceWindow* window, void*) { S_discard(window); }

void S_alert(const std::string& text) {
  displayAlertWindow(text.c_str(), kAlertWarning, kOutputAlertTitle, kDefaultAlertButton, nullptr, nullptr, TRUE,
                     nullptr);
}

}  // namespace

bool openProcessOutput(WinPtr statusWindow, const char* fleetDir, const char* labelText) {
  if (!fleetDir || !labelText || !*labelText) return false;
  // Copied: the label may live in a status list that a refresh replaces.
  const std::string label(labelText);
  const std::string path = pathIn(fleetDir, (label + ".out").c_str());
  const std::string file = S_realPath(path);
  for (const OutputView& view : views()) {
    if (view.file != file) continue;
    WinPtr win = view.window->win();
    // A window on its way out is let go, and a new one opened.
    if (view.window->isClosed() || !win || win->Closing) {
      S_discard(view.window);
      break;
    }
    WIN_Show(win);
    WIN_PopToFront(win);
    return true;
  }

  struct stat status;
  if (stat(path.c_str(), &status) != 0) {
    S_alert(errno == ENOENT ? "\"" + label + "\" has written no output yet: there is no file " + path +
                                  "."
                            : "Cannot read the output of \"" + label + "\", " + path + ": " +
                                  std::strerror(errno) + ".");
    return false;
  }
  std::string error;
  // Beside the status window rather than over its list; a place the Tool
  // Manager remembers for source viewers wins (addWindowRec below).
  const _Rect16Rec* statusBox = statusWindow ? &WIN_Wgt(statusWindow)->Box : nullptr;
  SourceWindow* window = SourceWindow::open(path.c_str(), 0, true, &error, statusBox);
  if (!window) {
    S_alert("Cannot show the output of \"" + label + "\": " + error);
    return false;
  }
  std::string title = "Output of " + label + ": " + fleetDir;
  WIN_SetLabel(window->win(), title.c_str());
  window->setClosedHandler(S_viewClosed, nullptr);
  views().push_back({file, statusWindow, window});
  if (gWindowManager) gWindowManager->addWindowRec(kSourceViewerWindowType, window->win(), nullptr, nullptr);
  return true;
}

void closeProcessOutputs(WinPtr statusWindow) {
  std::vector<SourceWindow*> ending;
  for (const OutputView& view : views())
    if (!statusWindow || view.statusWindow == statusWindow) ending.push_back(view.window);
  for (SourceWindow* window : ending) S_discard(window);
}

int processOutputViewCount() { return static_cast<int>(views().size()); }
