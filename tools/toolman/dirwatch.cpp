// Changes under the project directory, through inotify.
#include "dirwatch.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <filesystem>
#include <system_error>

namespace {

constexpr int kMaxWatchDepth = 6;
constexpr int kMaxWatches = 4096;
constexpr uint32_t kWatchedEvents =
    IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_CLOSE_WRITE | IN_ATTRIB | IN_DELETE_SELF;

}  // namespace

DirectoryWatch::~DirectoryWatch() {
  if (fd_ >= 0) close(fd_);
}

bool DirectoryWatch::watch(const std::string& root) {
  namespace fs = std::filesystem;
  if (fd_ >= 0) close(fd_);
  fd_ = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
  if (fd_ < 0) return false;
  if (inotify_add_watch(fd_, root.c_str(), kWatchedEvents) < 0) return false;
  int watches = 1;
  std::error_code error;
  fs::recursive_directory_iterator walk(root, fs::directory_options::skip_permission_denied, error);
  for (; !error && walk != fs::recursive_directory_iterator() && watches < kMaxWatches; walk.increment(error)) {
    if (!walk->is_directory(error) || walk->is_symlink(error)) continue;
    if (walk->path().filename().string().rfind('.', 0) == 0 || walk.depth() >= kMaxWatchDepth) {
      walk.disable_recursion_pending();
      continue;
    }
    if (inotify_add_watch(fd_, walk->path().c_str(), kWatchedEvents) >= 0) ++watches;
  }
  return true;
}

bool DirectoryWatch::changed() {
  if (fd_ < 0) return false;
  bool any = false;
  alignas(struct inotify_event) char buffer[4096];
  ssize_t got;
  while ((got = read(fd_, buffer, sizeof buffer)) > 0) any = true;
  return any;
}
