// Notices changes on disk under the project directory (inotify on the
// directory and its subdirectories, as deep as the project scan goes), so
// that the window's file list follows files made, removed or renamed by
// other programs.
#ifndef OWB_TOOLMAN_DIRWATCH_H
#define OWB_TOOLMAN_DIRWATCH_H

#include <cstdint>
#include <string>

class DirectoryWatch {
 public:
  DirectoryWatch() = default;
  ~DirectoryWatch();
  DirectoryWatch(const DirectoryWatch&) = delete;
  DirectoryWatch& operator=(const DirectoryWatch&) = delete;

  // Watches root and the directories under it (at most 4096, hidden ones
  // left out), dropping what was watched before.  False when nothing can
  // be watched; changes then go unnoticed.
  bool watch(const std::string& root);
  // Reads what happened without waiting; true when something changed
  // since the last call that returned true.
  bool changed();

 private:
  int fd_ = -1;
};

#endif  // OWB_TOOLMAN_DIRWATCH_H
