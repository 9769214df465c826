// Forking the shell line that starts a process through bin/run_prog.
#include "fleet/launch.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "fleet/fileutil.h"
#include "fleet/fleetpath.h"
#include "fleet/output.h"
#include "fleet/timing.h"
#include "shared/utils.h"

const char* const kDefaultTerminalProgram = "/usr/bin/X11/xterm";
const char* const kDefaultTerminalOptions = "-sb -j +ls -bg rgbi:0.125/0.33/0.99 -fg black";

namespace {

void useDefaultTerminal(char* program, char* options) {
  copyIntoField(program, kTerminalSettingSize, kDefaultTerminalProgram);
  copyIntoField(options, kTerminalSettingSize, kDefaultTerminalOptions);
}

// The shell line of the child: settings, then the run_prog call.
std::string composeShellLine(const char* fleetDir, const char* cmdLabel, const char* cmdLine,
                             configItem** environValues, bool giveXterm) {
  std::string line;
  for (configItem** setting = environValues; setting && *setting; ++setting) {
    line += (*setting)->label ? (*setting)->label : "";
    line += '=';
    line += (*setting)->value.asEnviron ? (*setting)->value.asEnviron : "";
    line += ' ';
  }
  std::string runProg = shellWord(pathIn(OWKInstallDir, "bin/run_prog"));
  std::string label = shellWord(cmdLabel);
  if (giveXterm) {
    char program[kTerminalSettingSize];
    char options[kTerminalSettingSize];
    readTerminalSettings(program, options);
    line += std::string(program) + " -n " + label + " -T " + label + " " + options + " -e " + runProg + " -f ";
  } else {
    line += runProg + " -b ";
  }
  line += label + " " + shellWord(fleetDir) + " " + cmdLine + " &";
  return line;
}

// Marks every descriptor but standard input, output and error
// close-on-exec, so that the shell and what it starts inherit none of the
// tool's files, sockets or display connection, whoever opened them.
void keepDescriptorsFromTheShell() {
#ifdef CLOSE_RANGE_CLOEXEC
  if (close_range(STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC) == 0) return;
#endif
  // Without that call (or on a kernel that lacks it), one at a time.
  constexpr long kHighestDescriptor = 65536;
  long highest = sysconf(_SC_OPEN_MAX);
  if (highest < 0 || highest > kHighestDescriptor) highest = kHighestDescriptor;
  for (int descriptor = STDERR_FILENO + 1; descriptor < highest; ++descriptor) {
    int flags = fcntl(descriptor, F_GETFD);
    if (flags >= 0 && !(flags & FD_CLOEXEC)) fcntl(descriptor, F_SETFD, flags | FD_CLOEXEC);
  }
}

// The forked child: never returns.  _exit rather than exit, so that the
// parent's stdio buffers and destructors are not run a second time here.
[[noreturn]] void runInChild(const char* fleetDir, const char* cmdLabel, const char* cmdLine,
                             const char* cmdDirectory, configItem** environValues, bool giveXterm) {
  std::string line = composeShellLine(fleetDir, cmdLabel, cmdLine, environValues, giveXterm);
  keepDescriptorsFromTheShell();
  if (cmdDirectory && *cmdDirectory && chdir(cmdDirectory) != 0) {
    std::printf("**Command not run:  cannot connect to directory '%s'\n", cmdDirectory);
    std::fflush(stdout);
    _exit(1);
  }
  errno = 0;
  int status = std::system(line.c_str());
  // With SIGCHLD ignored, system() can report ECHILD for a line that ran.
  if (status != 0 && errno != 0 && errno != ECHILD) {
    std::printf("***Command not run:  failed to execute the command, errno = %d\n'%s'\n%s\n", errno, cmdLine,
                line.c_str());
    std::fflush(stdout);
    _exit(1);
  }
  std::fflush(stdout);
  _exit(0);
}

}  // namespace

std::string shellWord(const std::string& text) {
  auto isPlain = [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           std::strchr("_-./,:+=@%", c) != nullptr;
  };
  bool plain = !text.empty();
  for (char c : text) plain = plain && c != '\0' && isPlain(c);
  if (plain) return text;
  std::string quoted = "'";
  for (char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

void readTerminalSettings(char* program, char* options) {
  useDefaultTerminal(program, options);
  const char* home = std::getenv("HOME");
  if (!home) return;
  std::string settingsName = pathIn(home, ".owb", "xterm_settings");
  if (FILE* settings = openRegularFile(settingsName.c_str())) {
    char firstLine[kTerminalSettingSize];
    char secondLine[kTerminalSettingSize];
    if (readALine(firstLine, sizeof firstLine, settings) && readALine(secondLine, sizeof secondLine, settings)) {
      copyIntoField(program, kTerminalSettingSize, firstLine);
      copyIntoField(options, kTerminalSettingSize, secondLine);
    }
    std::fclose(settings);
    return;
  }
  if (FILE* created = std::fopen(settingsName.c_str(), "we")) {
    std::fprintf(created, "%s\n%s\n", kDefaultTerminalProgram, kDefaultTerminalOptions);
    std::fclose(created);
  }
}

OWBboolean runCommandWithPid(const char* fleetDir, const char* cmdLabel, const char* cmdLine,
                             const char* cmdDirectory, configItem** environValues, char** /*programEnv*/,
                             OWBboolean giveXterm) {
  // Whatever waits in the buffers would otherwise be written by both.
  std::fflush(nullptr);
  pid_t child = fork();
  if (child < 0) {
    alertUser("Unable to Start a Process", cmdLine);
    return OWB_FALSE;
  }
  if (child == 0) runInChild(fleetDir, cmdLabel, cmdLine, cmdDirectory, environValues, giveXterm != 0);
  sleepSeconds(startDelaySeconds());
  // The tool ignores SIGCHLD, so this finds nothing there; a program that
  // does not is spared a zombie when the child has ended by now.  It never
  // blocks.
  waitpid(child, nullptr, WNOHANG);
  return OWB_TRUE;
}
