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
//
// Exit status: 2 for a bad command line, 1 when the pid file or the output
// file can't be written, 127 when the command can't be run (its pid file
// is then removed again); otherwise whatever the command gives.
#include <fcntl.h>
#include <signal.h>
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
