// The Tool Manager's user commands: one line each, from standard input or
// from `toolman --send`.
#ifndef OWB_TOOLMAN_COMMANDS_H
#define OWB_TOOLMAN_COMMANDS_H

#include <string>
#include <vector>

#include "owbtypes.h"

// Runs one command line, appending its output (lines ending in "\n") to
// *output.  0 on success, kOperationFailed for a command that failed or
// that is not known.  An empty line or one starting with "#" does nothing.
ErrorCode runCommandLine(const std::string& line, std::string* output);

// Splits a line at blanks; double quotes group words, and inside them a
// backslash takes the next character as it is.
std::vector<std::string> splitCommandLine(const std::string& line);

// The commands' help text, as printed by `help` and `toolman --help`.
const char* commandHelpText();

// Set by the `exit` command: the main loop ends after this turn.
extern bool gToolManShouldEnd;

#endif  // OWB_TOOLMAN_COMMANDS_H
