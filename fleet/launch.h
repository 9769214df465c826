// Starting one process of a fleet through the installation's bin/run_prog.
//
// The tool forks; the child composes one shell line
//   [NAME=value ...] <terminal> -n L -T L <options> -e $OWB/bin/run_prog -f L <fleetDir> <command> &
// or, in the background,
//   [NAME=value ...] $OWB/bin/run_prog -b L <fleetDir> <command> &
// where the label L, the fleet directory and the installation directory
// are quoted for the shell when they hold anything special to it.
// runs it with system() and ends; the shell returns at once because of the
// `&`.  The parent only waits the start delay (fleet/timing.h).  Whether
// the process really started shows only through its pid file, which
// bin/run_prog writes.
#ifndef OWB_FLEET_LAUNCH_H
#define OWB_FLEET_LAUNCH_H

#include <cstddef>
#include <string>

#include "fleet/configitem.h"
#include "owbtypes.h"

// The terminal used when the settings file gives none.
extern const char* const kDefaultTerminalProgram;  // "/usr/bin/X11/xterm"
extern const char* const kDefaultTerminalOptions;  // "-sb -j +ls -bg rgbi:0.125/0.33/0.99 -fg black"
// Each line of the settings file holds at most this many characters.
constexpr size_t kTerminalSettingSize = 256;

// text as one word of a shell line: unchanged when it holds only letters,
// digits and `_ - . / , : + = @ %`, otherwise in single quotes (a quote
// within written as '\''), so that a blank, `$(...)` or `;` in a path of
// ours stays part of that path.  The user's own configuration text (the
// command, the `@` settings, the terminal settings) is never passed here.
std::string shellWord(const std::string& text);

// Fills program and options (kTerminalSettingSize bytes each) from
// $HOME/.owb/xterm_settings: its first line is the terminal program, its
// second the options.  HOME unset, or a file of fewer than two lines, gives
// the defaults; a file that does not open is created with the defaults
// when possible, and the defaults are used.
void readTerminalSettings(char* program, char* options);

// Starts cmdLine under label cmdLabel as described above, in cmdDirectory
// when that is not empty, with the `@` settings of environValues (a
// null-ended array of configEnviron records) in front of it, in a terminal
// when giveXterm is set.  False, with the alert "Unable to Start a
// Process", only when fork fails.  programEnv is passed through unused:
// the child inherits this process's environment.
OWBboolean runCommandWithPid(const char* fleetDir, const char* cmdLabel, const char* cmdLine,
                             const char* cmdDirectory, configItem** environValues, char** programEnv,
                             OWBboolean giveXterm);

#endif  // OWB_FLEET_LAUNCH_H
