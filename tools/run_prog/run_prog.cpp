// run_prog: starts one process of a fleet and records it in a pid file.
//
//   run_prog -f LABEL FLEETDIR COMMAND [ARGUMENT...]   under a terminal window
//   run_prog -b LABEL FLEETDIR COMMAND [ARGUMENT...]   in the background
//
// run_prog becomes the leader of a new process group, writes
// FLEETDIR/LABEL.pid and then replaces itself with the command, so that
// the pid in the file is the command's own and signals to its group reach
// everything it starts.  The pid file holds, one per line:
//   1. the process id (also the process group id)
//   2. the command line
//   3-5. the UDP, debugger and TCP ports, from UDP_PORT, MOCK_PORT and
//        TCP_PORT, when the environment has any of them ("0" for one missing)
// In the background form standard output and standard error go to
// FLEETDIR/LABEL.out (appended to, so that the output of earlier runs
// stays until a clean-up) and standard input comes from /dev/null.
// Under a terminal window the command runs on a pseudo-terminal of its own
// that run_prog relays, as script(1) does: the command still sees a
// terminal (interactive programs and line buffering behave as on the
// window's own), keys go to it, and what it writes shows in the window and
// is appended to FLEETDIR/LABEL.out too.  The command leads its own session
// and group there, and the pid file names it, not the relay.
//
// Exit status: 2 for a bad command line, 1 when the pid file or the output
// file can't be written, 127 when the command can't be run (its pid file
// is then removed again); otherwise whatever the command gives.
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

void usage() {
  std::fprintf(stderr, "usage: run_prog -f|-b LABEL FLEETDIR COMMAND [ARGUMENT...]\n");
  std::exit(2);
}

// A shell that starts a command with `&` leaves SIGINT and SIGQUIT
// ignored, and the Fleet Manager ignores SIGCHLD; the command must get the
// ordinary dispositions so that the fleet's stop signals work.
void restoreDefaultSignals() {
  for (int signalNumber : {SIGINT, SIGQUIT, SIGCHLD, SIGTERM, SIGHUP}) signal(signalNumber, SIG_DFL);
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
}

std::string commandLineOf(int argc, char** argv, int first) {
  std::string line;
  for (int i = first; i < argc; ++i) {
    if (i > first) line += ' ';
    line += argv[i];
  }
  return line;
}

std::string portLines() {
  const char* names[] = {"UDP_PORT", "MOCK_PORT", "TCP_PORT"};
  bool any = false;
  std::string lines;
  for (const char* name : names) {
    const char* value = std::getenv(name);
    any = any || (value && *value);
    lines += (value && *value) ? value : "0";
    lines += '\n';
  }
  return any ? lines : std::string();
}

// Writes the pid file under a temporary name first, so that nobody reads
// it half written.  The temporary name does not grow with the label, so
// that every label whose pid file name fits also gets its pid file.
bool writePidFile(const std::string& fleetDir, const std::string& pidFileName, const std::string& contents) {
  std::string temporaryName = fleetDir + "/." + std::to_string(getpid()) + ".pid-new";
  FILE* file = std::fopen(temporaryName.c_str(), "we");
  if (!file) return false;
  bool written = std::fputs(contents.c_str(), file) >= 0;
  written = (std::fclose(file) == 0) && written;
  if (!written || std::rename(temporaryName.c_str(), pidFileName.c_str()) != 0) {
    std::remove(temporaryName.c_str());
    return false;
  }
  return true;
}

bool sendOutputTo(const std::string& outputName) {
  int output = open(outputName.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0666);
  if (output < 0) return false;
  int input = open("/dev/null", O_RDONLY);
  if (input >= 0) {
    dup2(input, STDIN_FILENO);
    if (input != STDIN_FILENO) close(input);
  }
  dup2(output, STDOUT_FILENO);
  dup2(output, STDERR_FILENO);
  if (output != STDOUT_FILENO && output != STDERR_FILENO) close(output);
  return true;
}

// --- The terminal relay -------------------------------------------------------------

volatile sig_atomic_t gWindowResized = 0;
struct termios gSavedTerminal;
bool gTerminalSaved = false;

void restoreTerminal() {
  if (gTerminalSaved) tcsetattr(STDIN_FILENO, TCSAFLUSH, &gSavedTerminal);
}

bool writeAll(int fd, const char* data, ssize_t length) {
  while (length > 0) {
    ssize_t n = write(fd, data, static_cast<size_t>(length));
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    data += n;
    length -= n;
  }
  return true;
}

void copyWindowSize(int from, int to) {
  struct winsize size;
  if (ioctl(from, TIOCGWINSZ, &size) == 0) ioctl(to, TIOCSWINSZ, &size);
}

// Copies between the window's terminal and the command's until the command
// has ended and its terminal is drained; exits with the command's status.
[[noreturn]] void relay(int master, int output, pid_t command) {
  bool toWindow = true;  // false once the window's terminal is gone
  bool fromWindow = true;
  int status = 0;
  bool ended = false;
  char buffer[8192];
  for (;;) {
    if (gWindowResized) {
      gWindowResized = 0;
      copyWindowSize(STDIN_FILENO, master);
    }
    struct pollfd watched[2] = {{master, POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}};
    int ready = poll(watched, fromWindow ? 2 : 1, ended ? 0 : 200);
    if (ready < 0 && errno != EINTR) break;
    if (ready > 0 && (watched[0].revents & (POLLIN | POLLHUP | POLLERR))) {
      ssize_t n = read(master, buffer, sizeof buffer);
      if (n <= 0 && !(n < 0 && errno == EINTR)) break;  // EIO: nothing holds the command's terminal any more
      if (n > 0) {
        writeAll(output, buffer, n);
        if (toWindow) toWindow = writeAll(STDOUT_FILENO, buffer, n);
      }
      continue;
    }
    if (ready > 0 && fromWindow && (watched[1].revents & (POLLIN | POLLHUP | POLLERR))) {
      ssize_t n = read(STDIN_FILENO, buffer, sizeof buffer);
      if (n > 0) writeAll(master, buffer, n);
      else if (!(n < 0 && errno == EINTR)) fromWindow = false;
      continue;
    }
    if (ended) break;  // the command is gone and its terminal has nothing more
    if (waitpid(command, &status, WNOHANG) == command) ended = true;
  }
  if (!ended) waitpid(command, &status, 0);
  restoreTerminal();
  _exit(WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status));
}

// Under a terminal window: makes a pseudo-terminal, forks, and returns in
// the child, which leads a new session on it; the parent stays behind as
// the relay and never returns.  False, with errno, when the terminal or
// the output file cannot be made.
bool becomeCommandBehindRelay(const std::string& outputName) {
  int output = open(outputName.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
  if (output < 0) return false;
  int master = posix_openpt(O_RDWR | O_NOCTTY);
  if (master < 0 || grantpt(master) != 0 || unlockpt(master) != 0) return false;
  fcntl(master, F_SETFD, FD_CLOEXEC);
  const char* slaveName = ptsname(master);
  if (!slaveName) return false;
  std::string slavePath = slaveName;
  bool onTerminal = isatty(STDIN_FILENO);
  struct termios modes;
  if (onTerminal && tcgetattr(STDIN_FILENO, &modes) == 0) {
    gSavedTerminal = modes;
    gTerminalSaved = true;
  }
  std::fflush(nullptr);
  pid_t command = fork();
  if (command < 0) return false;
  if (command == 0) {
    setsid();
    int slave = open(slavePath.c_str(), O_RDWR);
    if (slave < 0) _exit(127);
    ioctl(slave, TIOCSCTTY, 0);
    if (gTerminalSaved) tcsetattr(slave, TCSANOW, &gSavedTerminal);
    if (onTerminal) copyWindowSize(STDIN_FILENO, slave);
    for (int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) dup2(slave, fd);
    if (slave > STDERR_FILENO) close(slave);
    close(output);
    return true;
  }
  // The relay: keys pass through untouched to the command's terminal,
  // whose own line discipline handles them (Ctrl-C reaches the command).
  if (gTerminalSaved) {
    struct termios raw = gSavedTerminal;
    cfmakeraw(&raw);
    tcsetattr(STDIN_FILENO, TCSAFLUSH, &raw);
  }
  struct sigaction resized = {};
  resized.sa_handler = [](int) { gWindowResized = 1; };
  sigaction(SIGWINCH, &resized, nullptr);
  // Stop signals are for the command's group; the relay ends with it.
  signal(SIGINT, SIG_IGN);
  signal(SIGQUIT, SIG_IGN);
  relay(master, output, command);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 5) usage();
  std::string form = argv[1];
  if (form != "-f" && form != "-b") usage();
  const char* label = argv[2];
  std::string fleetDir = argv[3];
  if (!*label || fleetDir.empty()) usage();

  restoreDefaultSignals();
  // A session leader (as under a terminal window) leads its group already.
  if (getpgrp() != getpid() && setpgid(0, 0) != 0)
    std::fprintf(stderr, "run_prog: cannot make a process group for %s: %s\n", label, std::strerror(errno));

  std::string base = fleetDir + "/" + label;
  if (form == "-b" && !sendOutputTo(base + ".out")) {
    std::fprintf(stderr, "run_prog: cannot write %s.out: %s\n", base.c_str(), std::strerror(errno));
    return 1;
  }
  if (form == "-f" && !becomeCommandBehindRelay(base + ".out")) {
    std::fprintf(stderr, "run_prog: cannot relay %s to %s.out: %s\n", label, base.c_str(), std::strerror(errno));
    return 1;
  }
  std::string pidFileName = base + ".pid";
  std::string contents = std::to_string(getpid()) + "\n" + commandLineOf(argc, argv, 4) + "\n" + portLines();
  if (!writePidFile(fleetDir, pidFileName, contents)) {
    std::fprintf(stderr, "run_prog: cannot write %s: %s\n", pidFileName.c_str(), std::strerror(errno));
    return 1;
  }
  std::fflush(nullptr);
  execvp(argv[4], argv + 4);
  int failure = errno;
  std::remove(pidFileName.c_str());
  std::fprintf(stderr, "run_prog: cannot run %s: %s\n", argv[4], std::strerror(failure));
  return 127;
}
