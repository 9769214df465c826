// The Tool Manager's window (toolman --window): the project's files with
// the types the tools gave them, their sizes and dates; the project's path,
// which the user may edit to change the project;
// the engines the tools announced; the messages received, newest last; and
// a menu bar with a menu of commands per registered tool, the Tools menu
// and Help.
//
// Contracts:
// - One window per process.  The toolkit must be started and the resource
//   library "toolman" loadable; gMessageCenter must exist while it is open.
// - The window reads gToolManState and draws it again when its revision
//   moves; it never keeps pointers into the state across turns.
// - Commands chosen in the window go out as CMDS through sendToolCommand,
//   exactly as the `cmd` command line sends them.
#ifndef OWB_TOOLMAN_WINDOW_H
#define OWB_TOOLMAN_WINDOW_H

#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "toolkit/lbox.h"
#include "toolkit/winpub.h"

// At most this many lines are kept in the message pane; the oldest go.
constexpr size_t kMaxLogLines = 500;

class ToolManWindow {
 public:
  // Opens and shows the window; null with *error set when the template
  // cannot be loaded.
  static ToolManWindow* open(std::string* error);
  ~ToolManWindow();
  ToolManWindow(const ToolManWindow&) = delete;
  ToolManWindow& operator=(const ToolManWindow&) = delete;

  // Handles the window's pending events and draws what changed in the
  // state.  False once the user closed the window.
  bool turn();
  // Appends a line to the message pane (drawn on the next turn).
  void logLine(const std::string& line);

  WinPtr win() const { return win_; }
  // The selected file's absolute path, "" for none.
  std::string selectedFile() const;
  // Selects the row of path, as a click on it would; false when the file is
  // not listed.
  bool selectFile(const std::string& path);
  // What a double click on a file does: the first command of the tool
  // that owns the file's type, for that file.  False when no tool owns it.
  bool runDefaultCommand(const std::string& path);

  // For the menus: a file selection changed or the tools changed.
  void filesChanged();

  // Makes directory the project, as Return in the path field does.  On
  // failure the project stays, the field shows it again, and the reason
  // goes to the message pane and an alert.
  bool changeProject(const std::string& directory);

 private:
  struct FileRow {
    std::string path, name, type, size, date;
  };

  ToolManWindow() = default;
  static long windowNfy(ResPtr res, Int message, ClientPtr data);
  static long filesNfy(ResPtr res, Int message, ClientPtr data);
  static long pathNfy(ResPtr res, Int message, ClientPtr data);
  void fillFiles();
  void fillEngines();
  void flushLog();

  WinPtr win_ = nullptr;
  LBoxPtr files_ = nullptr, engines_ = nullptr, log_ = nullptr;
  bool closed_ = false;
  uint64_t drawnRevision_ = ~uint64_t(0);
  std::string drawnProject_;
  std::vector<FileRow> rows_;
  std::vector<std::string> engineTexts_;
  std::deque<std::string> logShown_;
  std::vector<std::string> logPending_;
  std::string selected_;
};

extern ToolManWindow* gToolManWindow;

#endif  // OWB_TOOLMAN_WINDOW_H
