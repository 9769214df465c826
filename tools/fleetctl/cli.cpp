// fleetctl's command table, help text and argument parsing.
#include "tools/fleetctl/cli.h"

#include <cstring>

#include "fleet/fileutil.h"
#include "tools/fleetctl/commands.h"
#include "tools/fleetctl/commands_ops.h"

namespace fleetctl {

namespace {

const OptionRule kVerbose = {"--verbose", false, false};

const char* const kHelp =
    "usage: fleetctl [--verbose] COMMAND FLEETDIR [ARGUMENTS] [OPTIONS]\n"
    "\n"
    "A command-line front end over the fleet operations.  Alerts are written to standard\n"
    "error as one line \"<category>: <details>\"; --verbose adds the progress notes on\n"
    "standard output.  Exit status: 0 when the operation succeeded, 1 when it failed,\n"
    "2 for a usage error.  A relative FLEETDIR is taken against the current directory.\n"
    "\n"
    "Commands:\n"
    "  new FLEETDIR [--engine LABEL]... [--base-port N] [--authority HEX|--no-authority]\n"
    "               [--options TEXT] [--security on|off] [--force]\n"
    "      a definition with the defaults of a new fleet (engine \"eng1\" unless --engine is\n"
    "      given, a random base port and authority, options \"-d1\", security off, place\n"
    "      configuration \"$OWB/lib/engplace.cfg\", debugger on), then the same as make.\n"
    "      Refuses an existing definition unless --force.\n"
    "  make FLEETDIR\n"
    "      (re-)make the fleet from the definition on disk; prints \"<label> <debugger port>\"\n"
    "      per engine\n"
    "  run FLEETDIR [--cold] [--kill-old] [--externals-only] [--process LABEL]\n"
    "      boot the fleet (each engine warm when it has a database, else cold); --cold wipes\n"
    "      the databases first, --kill-old lets it stop running engines; DISPLAY must be set\n"
    "  kill FLEETDIR [--cleanup] [--externals-only] [--engines-only] [--process LABEL]\n"
    "      stop the fleet's running processes; --cleanup also removes their output files\n"
    "  status FLEETDIR [--engines-only] [--externals-only] [--process LABEL] [--json]\n"
    "      the fleet's processes as a table of the status window's nine columns; with --json\n"
    "      an array of objects with the keys \"type\" (\"Engine\", \"External Process\" or\n"
    "      \"Fossil\"), \"name\", \"status\" (\"Up\" or \"Down\"), \"commandLine\" (string or null),\n"
    "      \"started\" (seconds since the epoch, 0 for none), \"pid\", \"debuggerPort\", \"udpPort\",\n"
    "      \"tcpPort\" (numbers; the ports null when not an engine)\n"
    "  backup FLEETDIR [--tag TAG]      (default tag \"backup\")\n"
    "  restore FLEETDIR [--tag TAG]\n"
    "  remove FLEETDIR\n"
    "  check FLEETDIR\n"
    "      read the definition; print a summary, or fail with the reader's alert\n"
    "  config FLEETDIR ENGINE [--json]\n"
    "      the engine's startup.cfg as read in use mode, one record per line\n"
    "      \"<kind> <label> <value>\"; with --json an array of objects {\"kind\", \"label\",\n"
    "      \"value\"}, kind one of \"boolean\", \"integer\", \"string\", \"environ\", \"external\",\n"
    "      \"nil\", \"file\"; value true/false, a number, a string, {\"command\": ...,\n"
    "      \"background\": true|false} for an external, null otherwise\n"
    "  logs FLEETDIR LABEL [--follow] [--lines N]\n"
    "      the output of process LABEL, FLEETDIR/LABEL.out (standard output and error, kept\n"
    "      whether it runs in a terminal window or in the background); --lines N prints only\n"
    "      the last N lines; --follow then prints what is appended, as tail -f does, until\n"
    "      interrupted, starting again from the top when the file is cut short or replaced\n";

}  // namespace

std::string ParsedArgs::value(const std::string& option, const std::string& fallback) const {
  auto found = options.find(option);
  return (found == options.end() || found->second.empty()) ? fallback : found->second.back();
}

const std::vector<std::string>& ParsedArgs::values(const std::string& option) const {
  static const std::vector<std::string> kNone;
  auto found = options.find(option);
  return found == options.end() ? kNone : found->second;
}

const std::vector<Command>& commandTable() {
  static const std::vector<Command> kCommands = {
      {"new", {"FLEETDIR"},
       {{"--engine", true, true}, {"--base-port", true, false}, {"--authority", true, false},
        {"--no-authority", false, false}, {"--options", true, false}, {"--security", true, false},
        {"--force", false, false}},
       newCommand},
      {"make", {"FLEETDIR"}, {}, makeCommand},
      {"run", {"FLEETDIR"},
       {{"--cold", false, false}, {"--kill-old", false, false}, {"--externals-only", false, false},
        {"--process", true, false}},
       runCommand},
      {"kill", {"FLEETDIR"},
       {{"--cleanup", false, false}, {"--externals-only", false, false}, {"--engines-only", false, false},
        {"--process", true, false}},
       killCommand},
      {"status", {"FLEETDIR"},
       {{"--engines-only", false, false}, {"--externals-only", false, false}, {"--process", true, false},
        {"--json", false, false}},
       statusCommand},
      {"backup", {"FLEETDIR"}, {{"--tag", true, false}}, backupCommand},
      {"restore", {"FLEETDIR"}, {{"--tag", true, false}}, restoreCommand},
      {"remove", {"FLEETDIR"}, {}, removeCommand},
      {"check", {"FLEETDIR"}, {}, checkCommand},
      {"config", {"FLEETDIR", "ENGINE"}, {{"--json", false, false}}, configCommand},
      {"logs", {"FLEETDIR", "LABEL"}, {{"--follow", false, false}, {"--lines", true, false}}, logsCommand},
  };
  return kCommands;
}

const Command* findCommand(const std::string& name) {
  for (const Command& command : commandTable())
    if (name == command.name) return &command;
  return nullptr;
}

const char* helpText() { return kHelp; }

bool parseCommandLine(const Command& command, int argc, char** argv, int first, ParsedArgs* parsed,
                      std::string* error) {
  bool optionsEnded = false;
  for (int i = first; i < argc; ++i) {
    std::string word = argv[i];
    if (optionsEnded || word.size() < 2 || word.compare(0, 2, "--") != 0) {
      parsed->operands.push_back(word);
      continue;
    }
    if (word == "--") {
      optionsEnded = true;
      continue;
    }
    std::string name = word;
    std::string value;
    bool valueAttached = false;
    size_t equals = word.find('=');
    if (equals != std::string::npos) {
      name = word.substr(0, equals);
      value = word.substr(equals + 1);
      valueAttached = true;
    }
    if (name == kVerbose.name && !valueAttached) {
      parsed->verbose = true;
      continue;
    }
    const OptionRule* rule = nullptr;
    for (const OptionRule& option : command.options)
      if (name == option.name) rule = &option;
    if (!rule) {
      *error = "unknown option " + name + " for " + command.name;
      return false;
    }
    if (rule->takesValue && !valueAttached) {
      if (i + 1 >= argc) {
        *error = name + " needs a value";
        return false;
      }
      value = argv[++i];
    } else if (!rule->takesValue && valueAttached) {
      *error = name + " takes no value";
      return false;
    }
    std::vector<std::string>& values = parsed->options[name];
    if (!values.empty() && !rule->repeatable) {
      *error = name + " given more than once";
      return false;
    }
    values.push_back(value);
  }
  if (parsed->operands.size() != command.operands.size()) {
    *error = std::string(command.name) + " takes " + std::to_string(command.operands.size()) + " operand" +
             (command.operands.size() == 1 ? "" : "s");
    return false;
  }
  return true;
}

std::string fleetDirectoryOperand(const std::string& operand) {
  std::string directory = operand;
  while (directory.size() > 1 && directory.back() == '/') directory.pop_back();
  if (directory.empty() || directory[0] == '/') return directory;
  // Padded as the tool pads a fleet path against its project directory.
  return std::string(ThisCurrentDir) + "/" + directory;
}

}  // namespace fleetctl
