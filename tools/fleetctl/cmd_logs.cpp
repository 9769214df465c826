// fleetctl logs: a fleet process's output file, <fleetDir>/<label>.out,
// whole or its last lines, and with --follow what is appended to it.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "tools/fleetctl/commands.h"
#include "tools/fleetctl/fleetdir.h"

namespace fleetctl {

namespace {

constexpr useconds_t kFollowPause = 200 * 1000;

bool writeOut(const char* data, size_t length) {
  return length == 0 || std::fwrite(data, 1, length, stdout) == length;
}

// Opens the output file without blocking on a named pipe; -1 with a
// message when it is missing (and quiet is false) or not a regular file.
int openOutput(const std::string& path, bool quiet, struct stat* status) {
  int fd = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) {
    if (!quiet) std::fprintf(stderr, "fleetctl: cannot read %s: %s\n", path.c_str(), std::strerror(errno));
    return -1;
  }
  if (fstat(fd, status) != 0 || !S_ISREG(status->st_mode)) {
    std::fprintf(stderr, "fleetctl: %s is not a regular file\n", path.c_str());
    close(fd);
    return -1;
  }
  return fd;
}

// Where the last `lines` lines of the first `size` bytes begin; a last line
// without newline counts as a line.
off_t startOfLastLines(int fd, off_t size, long lines) {
  if (lines == 0) return size;
  char block[65536];
  off_t end = size;
  long newlines = 0;
  while (end > 0) {
    off_t begin = end > static_cast<off_t>(sizeof block) ? end - static_cast<off_t>(sizeof block) : 0;
    ssize_t got = pread(fd, block, static_cast<size_t>(end - begin), begin);
    if (got <= 0) return 0;
    for (ssize_t i = got - 1; i >= 0; --i) {
      // The newline that ends the file closes the last line, not a line.
      if (begin + i == size - 1) continue;
      if (block[i] == '\n' && ++newlines == lines) return begin + i + 1;
    }
    end = begin;
  }
  return 0;
}

// Copies bytes from `from` to the file's present end; gives the new position.
off_t copyFrom(int fd, off_t from) {
  char block[65536];
  for (;;) {
    ssize_t got = pread(fd, block, sizeof block, from);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    if (!writeOut(block, static_cast<size_t>(got))) std::exit(kExitFalse);
    from += got;
  }
  std::fflush(stdout);
  return from;
}

}  // namespace

int logsCommand(const ParsedArgs& args) {
  fileNameType fleetDir;
  if (!takeFleetDirectory(args.operands[0], fleetDir)) return kExitUsage;
  const std::string& label = args.operands[1];
  if (label.empty() || label.find('/') != std::string::npos || label.size() >= sizeof(processLabelType)) {
    std::fprintf(stderr, "fleetctl: '%s' is not a process label\n", label.c_str());
    return kExitUsage;
  }
  long lines = -1;  // all
  if (args.has("--lines")) {
    std::string text = args.value("--lines");
    char* end = nullptr;
    errno = 0;
    lines = std::strtol(text.c_str(), &end, 10);
    if (text.empty() || *end || errno || lines < 0) {
      std::fprintf(stderr, "fleetctl: --lines needs a number of lines, not '%s'\n", text.c_str());
      return kExitUsage;
    }
  }
  bool follow = args.has("--follow");
  std::string path = std::string(fleetDir) + "/" + label + ".out";

  struct stat status;
  int fd = openOutput(path, follow, &status);
  if (fd < 0 && !follow) return kExitFalse;
  if (fd < 0) {
    if (errno != ENOENT) return kExitFalse;
    std::fprintf(stderr, "fleetctl: waiting for %s\n", path.c_str());
    while ((fd = openOutput(path, true, &status)) < 0) {
      if (errno != ENOENT) return kExitFalse;
      usleep(kFollowPause);
    }
  }
  off_t position = lines < 0 ? 0 : startOfLastLines(fd, status.st_size, lines);
  position = copyFrom(fd, position);
  if (!follow) {
    close(fd);
    return kExitTrue;
  }
  // Until interrupted: what is appended is printed; a file cut short or
  // replaced (a new run after a clean-up) is printed again from its start.
  for (;;) {
    usleep(kFollowPause);
    struct stat now;
    struct stat named;
    bool replaced = stat(path.c_str(), &named) == 0 && (named.st_ino != status.st_ino || named.st_dev != status.st_dev);
    if (replaced) {
      int fresh = openOutput(path, true, &now);
      if (fresh >= 0) {
        close(fd);
        fd = fresh;
        status = now;
        std::fprintf(stderr, "fleetctl: %s was replaced; following the new file\n", path.c_str());
        position = 0;
      }
    } else if (fstat(fd, &now) == 0 && now.st_size < position) {
      std::fprintf(stderr, "fleetctl: %s was truncated; following it from its start\n", path.c_str());
      position = 0;
    }
    position = copyFrom(fd, position);
  }
}

}  // namespace fleetctl
