// fleetctl's command table and argument parsing.
//
// Each command is one entry of the table: its name, its operands, the
// options it accepts and the function that runs it.  A command whose
// function is still null is listed in the help but answers "not yet
// available" with the usage status.  Adding a command means writing its
// function in a cmd_<name>.cpp and naming it in the table (cli.cpp).
#ifndef OWB_TOOLS_FLEETCTL_CLI_H
#define OWB_TOOLS_FLEETCTL_CLI_H

#include <map>
#include <string>
#include <vector>

namespace fleetctl {

// Exit statuses: the operation returned true, returned false, or the
// command line was not understood.
enum { kExitTrue = 0, kExitFalse = 1, kExitUsage = 2 };

struct OptionRule {
  const char* name;   // with its leading "--"
  bool takesValue;    // "--name VALUE" (or "--name=VALUE")
  bool repeatable;    // may be given more than once
};

// A parsed command line: the operands in order and each option's values
// (an empty string for an option without value).
struct ParsedArgs {
  std::vector<std::string> operands;
  std::map<std::string, std::vector<std::string>> options;
  bool verbose = false;

  bool has(const std::string& option) const { return options.count(option) != 0; }
  // The last value given, or fallback.
  std::string value(const std::string& option, const std::string& fallback = "") const;
  const std::vector<std::string>& values(const std::string& option) const;
};

typedef int (*CommandFunction)(const ParsedArgs& args);

struct Command {
  const char* name;
  std::vector<const char*> operands;  // names for the usage text, all required
  std::vector<OptionRule> options;
  CommandFunction run;                // null: not yet available
};

// Every command, in the order of the help text.
const std::vector<Command>& commandTable();
const Command* findCommand(const std::string& name);

// The full help text.
const char* helpText();

// Parses argv[first..argc) for command; false with *error set on a usage
// error.  "--verbose" is accepted anywhere.
bool parseCommandLine(const Command& command, int argc, char** argv, int first, ParsedArgs* parsed,
                      std::string* error);

// The fleet directory operand as the fleet operations want it: trailing
// slashes dropped, a relative path taken against ThisCurrentDir.
std::string fleetDirectoryOperand(const std::string& operand);

}  // namespace fleetctl

#endif  // OWB_TOOLS_FLEETCTL_CLI_H
