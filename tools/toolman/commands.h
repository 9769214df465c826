// The Tool Manager's user commands: one line each, from standard input or
// from `toolman --send`.
#ifndef OWB_TOOLMAN_COMMANDS_H
#define OWB_TOOLMAN_COMMANDS_H

#include <string>
#include <vector>

#include "owbtypes.h"
#include "state.h"

// Runs one command line, appending its output (lines ending in "\n") to
// *output.  0 on success, kOperationFailed for a command that failed or
// that is not known.  An empty line or one starting with "#" does nothing.
ErrorCode runCommandLine(const std::string& line, std::string* output);

// Splits a line at blanks; double quotes group words, and inside them a
// backslash takes the next character as it is.
std::vector<std::string> splitCommandLine(const std::string& line);

// The commands' help text, as printed by `help` and `toolman --help`.
const char* commandHelpText();

// Sends tool the CMDS of the command labelled label, for file (absolute;
// "" for none), and appends a line saying so to *report.  A label the
// tool never installed is sent all the same, with a note; a command that
// acts on a file is refused without one.
ErrorCode sendToolCommand(const RegisteredTool& tool, const std::string& label, const std::string& file,
                          std::string* report);

enum class IdentifyAnswer { kIts, kNotIts, kFailed, kNoReply };
// Asks tool by IDFL whether file is one of its files, waiting up to
// timeoutMs (0: the message's default) for the reply; a yes teaches the
// file's type (ToolManState::setFileKind).  Appends the reply's account.
IdentifyAnswer askToolToIdentify(const RegisteredTool& tool, const std::string& file, unsigned long timeoutMs,
                                 std::string* report);

// Makes directory (made absolute; a leading "~" is the home directory) the
// project directory and reads it.  A name that is no directory leaves the
// project as it is, with a line starting "error: " in *report.
ErrorCode setProjectDirectory(const std::string& directory, std::string* report);

// The tool's name, or "port N" for a tool that gave none.
std::string toolDisplayName(const RegisteredTool& tool);

// Set by the `exit` command: the main loop ends after this turn.
extern bool gToolManShouldEnd;

#endif  // OWB_TOOLMAN_COMMANDS_H
