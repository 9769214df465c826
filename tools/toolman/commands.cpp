// User commands of the Tool Manager.
#include "commands.h"

#include <sys/stat.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>

#include "handlers.h"
#include "print.h"
#include "shared/errors.h"
#include "shared/messages.h"
#include "state.h"

bool gToolManShouldEnd = false;

namespace {

constexpr TypeIdent kCommandSelected = OWB_TYPE("CMDS");
constexpr TypeIdent kIdentifyFile = OWB_TYPE("IDFL");

typedef std::vector<std::string> Words;

ErrorCode fail(std::ostringstream& out, const std::string& text) {
  out << "error: " << text << "\n";
  return kOperationFailed;
}

std::string toolName(const RegisteredTool& tool) {
  return tool.info.name[0] ? tool.info.name : "port " + std::to_string(tool.info.listenerPort);
}

std::string projectName() {
  const std::string& directory = gToolManState.projectDirectory;
  size_t slash = directory.rfind('/');
  return slash == std::string::npos ? directory : directory.substr(slash + 1);
}

ErrorCode listTools(const Words&, std::ostringstream& out) {
  if (gToolManState.tools.empty()) out << "no tools registered\n";
  for (const auto& entry : gToolManState.tools) {
    const RegisteredTool& tool = entry.second;
    out << entry.first << "  " << toolName(tool) << "  type " << typeText(tool.info.toolType)
        << "  shows source " << (tool.info.canDisplaySource ? "yes" : "no") << "  versions "
        << tool.info.maxVersion << "/" << tool.info.minVersion << "  program "
        << (tool.executable.empty() ? "?" : tool.executable) << "\n";
  }
  return kNoError;
}

ErrorCode listCommands(const Words& words, std::ostringstream& out) {
  RegisteredTool* only = nullptr;
  if (words.size() > 1 && !(only = gToolManState.findTool(words[1])))
    return fail(out, "no tool " + words[1]);
  size_t listed = 0;
  for (const auto& entry : gToolManState.tools) {
    if (only && &entry.second != only) continue;
    for (const ToolCommand& command : entry.second.commands) {
      out << toolName(entry.second) << ": \"" << command.label << "\"  "
          << (command.requires ? "acts on a file" : "needs no file") << "  file type "
          << typeText(command.fileType) << "\n";
      ++listed;
    }
  }
  if (listed == 0) out << "no commands\n";
  return kNoError;
}

ErrorCode listEngines(const Words&, std::ostringstream& out) {
  if (gToolManState.engines.empty()) out << "no engines\n";
  for (const EngineEntry& engine : gToolManState.engines)
    out << engine.host << ":" << engine.port << "\n";
  return kNoError;
}

ErrorCode listFiles(const Words& words, std::ostringstream& out) {
  TypeIdent wanted = words.size() > 1 ? typeFromText(words[1]) : kWildTypeIdent;
  size_t listed = 0;
  for (const auto& file : gToolManState.files) {
    if (wanted != kWildTypeIdent && file.second != wanted) continue;
    out << typeText(file.second) << "  " << file.first << "\n";
    ++listed;
  }
  if (listed == 0) out << "no files\n";
  return kNoError;
}

ErrorCode listTypes(const Words&, std::ostringstream& out) {
  if (gToolManState.fileKinds.empty()) out << "no file types known yet (idfl teaches them)\n";
  for (const auto& kind : gToolManState.fileKinds)
    out << typeText(kind.first) << "  \"" << kind.second.label << "\"  "
        << kind.second.description << "\n";
  return kNoError;
}

ErrorCode listPlaces(const Words&, std::ostringstream& out) {
  size_t listed = 0;
  for (const auto& entry : gToolManState.windowPlaces) {
    for (const WindowPlace& place : entry.second) {
      out << typeText(entry.first) << "  id " << place.uniqueId << "  rect "
          << describeRectangle(place.rect) << "\n";
      ++listed;
    }
  }
  if (listed == 0) out << "no window places\n";
  return kNoError;
}

ErrorCode showStatus(const Words&, std::ostringstream& out) {
  const ToolManState& s = gToolManState;
  out << "port " << gMessageCenter->thisToolInfo.listenerPort << "\n"
      << "project " << s.projectDirectory << "\n"
      << "picker directory " << (s.pickerDirectory.empty() ? "(none)" : s.pickerDirectory) << "\n"
      << "search path";
  for (const std::string& directory : s.searchPath) out << " " << directory;
  out << (s.searchPath.empty() ? " (project only)\n" : "\n")
      << "tools " << s.tools.size() << ", engines " << s.engines.size() << ", files "
      << s.files.size() << "\n"
      << "active source viewer "
      << (s.activeSourceViewerPort ? std::to_string(s.activeSourceViewerPort) : "none") << "\n"
      << "last file shown " << (s.lastDisplayedFile.empty() ? "none" : s.lastDisplayedFile)
      << "\n";
  return kNoError;
}

ErrorCode rescanProject(const Words&, std::ostringstream& out) {
  gToolManState.scanProject();
  out << gToolManState.files.size() << " files in the project\n";
  return kNoError;
}

RegisteredTool* toolArgument(const Words& words, std::ostringstream& out, size_t minimumWords) {
  if (words.size() < minimumWords) {
    fail(out, "missing arguments; try help");
    return nullptr;
  }
  RegisteredTool* tool = gToolManState.findTool(words[1]);
  if (!tool) fail(out, "no tool " + words[1]);
  return tool;
}

ErrorCode chooseCommand(const Words& words, std::ostringstream& out) {
  RegisteredTool* tool = toolArgument(words, out, 3);
  if (!tool) return kOperationFailed;
  std::string file = words.size() > 3 ? gToolManState.absolutePath(words[3]) : "";
  std::string text;
  ErrorCode result = sendToolCommand(*tool, words[2], file, &text);
  out << text;
  return result;
}

ErrorCode identifyFile(const Words& words, std::ostringstream& out) {
  RegisteredTool* tool = toolArgument(words, out, 3);
  if (!tool) return kOperationFailed;
  std::string text;
  IdentifyAnswer answer = askToolToIdentify(*tool, gToolManState.absolutePath(words[2]), 0, &text);
  out << text;
  return answer == IdentifyAnswer::kNoReply || answer == IdentifyAnswer::kFailed ? kOperationFailed : kNoError;
}

ErrorCode changeProject(const Words& words, std::ostringstream& out) {
  if (words.size() < 2) return fail(out, "missing arguments; try help");
  std::string text;
  ErrorCode result = setProjectDirectory(words[1], &text);
  out << text;
  return result;
}

ErrorCode sendPlainMessage(const Words& words, std::ostringstream& out) {
  RegisteredTool* tool = toolArgument(words, out, 2);
  if (!tool) return kOperationFailed;
  std::string type = words[0];
  for (char& c : type) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  gMessageCenter->sendMessage(new Message(typeFromText(type), &tool->info));
  out << "sent " << type << " to " << toolName(*tool) << "\n";
  return kNoError;
}

ErrorCode tickleTool(const Words& words, std::ostringstream& out) {
  RegisteredTool* tool = toolArgument(words, out, 2);
  if (!tool) return kOperationFailed;
  std::string name = toolName(*tool);
  gMessageCenter->tickleTool(&tool->info);
  if (gMessageCenter->lastError != kNoError) {
    gToolManState.forgetTool(tool->info.listenerPort);
    return fail(out, name + " does not answer; it is no longer registered");
  }
  out << name << " answers\n";
  return kNoError;
}

ErrorCode endToolMan(const Words&, std::ostringstream& out) {
  gToolManShouldEnd = true;
  out << "toolman ends\n";
  return kNoError;
}

ErrorCode showHelp(const Words&, std::ostringstream& out) {
  out << commandHelpText();
  return kNoError;
}

// Where RSLV finds a name on the search path.
ErrorCode resolveName(const Words& words, std::ostringstream& out) {
  if (words.size() < 2) return fail(out, "missing arguments; try help");
  std::string full = gToolManState.resolve(words[1]);
  if (full.empty()) return fail(out, words[1] + " is not on the search path");
  out << full << "\n";
  return kNoError;
}

struct CommandEntry {
  const char* name;
  ErrorCode (*run)(const Words&, std::ostringstream&);
};

const CommandEntry kCommands[] = {
    {"help", showHelp},       {"tools", listTools},          {"commands", listCommands},
    {"engines", listEngines}, {"files", listFiles},          {"types", listTypes},
    {"places", listPlaces},   {"status", showStatus},        {"rescan", rescanProject},
    {"cmd", chooseCommand},   {"idfl", identifyFile},        {"quit", sendPlainMessage},
    {"show", sendPlainMessage}, {"hide", sendPlainMessage},  {"cwin", sendPlainMessage},
    {"tickle", tickleTool},   {"resolve", resolveName},      {"project", changeProject},
    {"exit", endToolMan},
};

}  // namespace

ErrorCode sendToolCommand(const RegisteredTool& tool, const std::string& label, const std::string& file,
                          std::string* report) {
  std::ostringstream out;
  const ToolCommand* known = nullptr;
  for (const ToolCommand& command : tool.commands)
    if (command.label == label) known = &command;
  if (!known) out << "note: \"" << label << "\" is not a command of " << toolName(tool) << "\n";
  if (known && known->requires && file.empty()) {
    ErrorCode result = fail(out, "\"" + label + "\" acts on a file; name one");
    *report += out.str();
    return result;
  }
  Message* message = new Message(kCommandSelected, &tool.info);
  addTextParam(message, kParamStr31, label);
  addTextParam(message, kParamStr31, projectName());
  message->addLongParam(known ? known->requires : (file.empty() ? 0 : 1));
  addTextParam(message, kParamStr31, file);
  gMessageCenter->sendMessage(message);
  out << "sent CMDS \"" << label << "\"" << (file.empty() ? "" : " for " + file) << " to "
      << toolName(tool) << "\n";
  *report += out.str();
  return kNoError;
}

IdentifyAnswer askToolToIdentify(const RegisteredTool& tool, const std::string& file,
                                 unsigned long timeoutMs, std::string* report) {
  std::ostringstream out;
  Message* message = new Message(kIdentifyFile, &tool.info);
  message->header.needsReply = TRUE;
  if (timeoutMs > 0) message->header.replyTimeout = timeoutMs;
  addTextParam(message, kParamStr255, file);
  Message* reply = gMessageCenter->sendMessage(message);
  if (!reply) {
    fail(out, "no reply from " + toolName(tool));
    *report += out.str();
    return IdentifyAnswer::kNoReply;
  }
  out << "reply: " << describeMessage(*reply) << "\n";
  ErrorCode remoteError = kNoError;
  bool isToolsFile = false;
  reply->getErrorParam(0, &remoteError);
  reply->getBooleanParam(1, &isToolsFile);
  TypeIdent fileType = 0;
  IdentifyAnswer answer = IdentifyAnswer::kNotIts;
  if (remoteError != kNoError) {
    out << file << ": " << toolName(tool) << " answered error " << remoteError << "\n";
    answer = IdentifyAnswer::kFailed;
  } else if (isToolsFile && reply->getIdentParam(3, &fileType)) {
    std::string label = textParam(reply, 2);
    std::string description = textParam(reply, 4);
    gToolManState.setFileKind(file, fileType, label, description);
    out << file << ": a " << label << " file of " << toolName(tool) << ", type "
        << typeText(fileType) << ": " << description << "\n";
    answer = IdentifyAnswer::kIts;
  } else {
    out << file << ": not a file of " << toolName(tool) << "\n";
  }
  delete reply;
  *report += out.str();
  return answer;
}

ErrorCode setProjectDirectory(const std::string& typed, std::string* report) {
  // "~" and "~/..." stand for the home directory, as in a shell.
  std::string directory = typed;
  const char* home = std::getenv("HOME");
  if (home && *home && (typed == "~" || typed.compare(0, 2, "~/") == 0)) directory = home + typed.substr(1);
  char resolved[PATH_MAX];
  if (directory.empty() || !realpath(directory.c_str(), resolved)) {
    *report += "error: no project directory " + directory + "\n";
    return kOperationFailed;
  }
  struct stat info;
  if (stat(resolved, &info) != 0 || !S_ISDIR(info.st_mode)) {
    *report += "error: " + std::string(resolved) + " is not a directory\n";
    return kOperationFailed;
  }
  // The old project's files go with it; files added by ADDF elsewhere stay.
  const std::string oldInside = gToolManState.projectDirectory + "/";
  auto& files = gToolManState.files;
  for (auto it = files.lower_bound(oldInside); it != files.end() && it->first.compare(0, oldInside.size(), oldInside) == 0;)
    it = files.erase(it);
  gToolManState.projectDirectory = resolved;
  gToolManState.scanProject();
  *report += "project " + gToolManState.projectDirectory + ", " + std::to_string(gToolManState.files.size()) +
             " files\n";
  return kNoError;
}

std::string toolDisplayName(const RegisteredTool& tool) { return toolName(tool); }

std::vector<std::string> splitCommandLine(const std::string& line) {
  std::vector<std::string> words;
  std::string word;
  bool inWord = false;
  bool quoted = false;
  for (size_t i = 0; i < line.size(); ++i) {
    char c = line[i];
    if (quoted) {
      if (c == '\\' && i + 1 < line.size()) word += line[++i];
      else if (c == '"') quoted = false;
      else word += c;
    } else if (c == '"') {
      quoted = inWord = true;
    } else if (c == ' ' || c == '\t' || c == '\r' || c == '\n') {
      if (inWord) words.push_back(word);
      word.clear();
      inWord = false;
    } else {
      word += c;
      inWord = true;
    }
  }
  if (inWord) words.push_back(word);
  return words;
}

ErrorCode runCommandLine(const std::string& line, std::string* output) {
  Words words = splitCommandLine(line);
  if (words.empty() || words[0][0] == '#') return kNoError;
  std::ostringstream out;
  ErrorCode result = kNoError;
  const CommandEntry* found = nullptr;
  for (const CommandEntry& entry : kCommands)
    if (words[0] == entry.name) found = &entry;
  if (found) result = found->run(words, out);
  else result = fail(out, "unknown command " + words[0] + "; try help");
  *output += out.str();
  return result;
}

const char* commandHelpText() {
  return "Commands (one per line; TOOL is a tool's name, its four-character type or\n"
         "its port; put words with blanks in double quotes):\n"
         "  tools                 list the registered tools\n"
         "  commands [TOOL]       list the commands the tools installed\n"
         "  engines               list the engines the tools announced\n"
         "  files [TYPE]          list the project's files, with their types\n"
         "  types                 list the file types the tools described\n"
         "  places                list the window places given back\n"
         "  status                port, project, picker directory, search path\n"
         "  rescan                read the project directory again\n"
         "  project DIR           make DIR the project directory and read it\n"
         "  cmd TOOL LABEL [FILE] choose a command of TOOL (sends CMDS: the label\n"
         "                        in parameter 0, the file in parameter 3)\n"
         "  idfl TOOL FILE        ask TOOL whether FILE is one of its files (IDFL)\n"
         "                        and show the reply; a yes teaches the file's type\n"
         "  quit TOOL             send QUIT\n"
         "  show TOOL             send SHOW\n"
         "  hide TOOL             send HIDE\n"
         "  cwin TOOL             send CWIN\n"
         "  tickle TOOL           probe TOOL's listener; forget it when it is gone\n"
         "  resolve NAME          the full path RSLV gives for NAME, from the search path\n"
         "  exit                  end toolman\n"
         "  help                  this text\n"
         "Relative FILE names are taken inside the project directory.\n";
}
