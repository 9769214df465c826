// What the Tool Manager knows: registered tools and their commands, engines,
// the project's files and their kinds, window places, the file picker's
// directory, the search path, the help defaults and the active source viewer.
#ifndef OWB_TOOLMAN_STATE_H
#define OWB_TOOLMAN_STATE_H

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "shared/messages.h"

struct ToolCommand {
  std::string label;
  int32_t requires = 0;  // 1: acts on a selected file
  TypeIdent fileType = kWildTypeIdent;
};

struct RegisteredTool {
  ToolInfo info{};
  std::string executable;
  std::vector<ToolCommand> commands;
  // What the window's background identification learnt of this tool: it
  // stops asking a tool that let an IDFL time out, and asks each suffix
  // (or suffix-less file) once.  A tool registering again starts afresh.
  bool answersIdentify = true;
  std::set<std::string> identifyAsked;
};

struct EngineEntry {
  std::string host;
  int32_t port = 0;
};

// A kind of project file, as a tool described it in its IDFL answer.
struct FileKind {
  std::string label;
  std::string description;
};

struct WindowPlace {
  uint8_t rect[8] = {};  // four 16-bit values, as the tool sent them
  int32_t uniqueId = 0;
};

constexpr TypeIdent kUnknownFileType = OWB_TYPE("FILE");

// Bounds of what the tools' messages can make the Tool Manager keep, so
// that a flood of distinct registrations cannot grow it without limit.
// What would pass a bound is refused, except window places: of one window
// type only the latest are kept.
constexpr size_t kMaxTools = 128;
constexpr size_t kMaxCommandsPerTool = 64;
constexpr size_t kMaxEngines = 512;
constexpr size_t kMaxWindowTypes = 64;
constexpr size_t kMaxPlacesPerWindowType = 32;
constexpr size_t kMaxSearchDirectories = 64;
constexpr size_t kMaxFiles = 20000;
constexpr size_t kMaxFileKinds = 256;

class ToolManState {
 public:
  // Tools, by listener port.  toolAt makes an entry for a sender not yet
  // known; null when the table is full.
  RegisteredTool* toolAt(const ToolInfo& sender);
  RegisteredTool* findTool(const std::string& nameTypeOrPort);
  RegisteredTool* findToolByType(TypeIdent toolType);
  void forgetTool(int32_t listenerPort);

  // Project files, by absolute path.  The scan adds what is in the
  // project directory and drops the files under it that are gone.
  void scanProject();
  // False when the file table is full.
  bool addFile(const std::string& path);
  void removeFile(const std::string& path);
  void setFileKind(const std::string& path, TypeIdent type, const std::string& label,
                   const std::string& description);
  TypeIdent fileTypeOf(const std::string& path) const;
  std::string absolutePath(const std::string& path) const;
  // Gives the files still of unknown type whose suffix a tool has
  // identified the type of that suffix.
  void applyKnownSuffixes();

  // Bumped by every change of the tools, engines or files, so that a view
  // of them knows when to draw them again.
  void changed() { ++revision; }
  uint64_t revision = 0;

  // The first existing file named partialPath in the search path, or "".
  std::string resolve(const std::string& partialPath) const;
  // False when the search path is full.
  bool addSearchDirectory(const std::string& directory);

  std::string projectDirectory;
  std::map<int32_t, RegisteredTool> tools;
  std::vector<EngineEntry> engines;
  std::map<std::string, TypeIdent> files;
  std::map<TypeIdent, FileKind> fileKinds;
  std::map<std::string, TypeIdent> kindBySuffix;
  std::map<TypeIdent, std::vector<WindowPlace>> windowPlaces;
  int32_t nextWindowId = 1;
  std::string pickerDirectory;
  std::vector<std::string> searchPath;
  std::string helpViewer = "netscape";
  std::vector<std::pair<std::string, std::string>> helpItems;  // label, document
  int32_t activeSourceViewerPort = 0;
  std::string lastDisplayedFile;
};

extern ToolManState gToolManState;

// ".flt" of "/a/b.flt", "" when the name has no dot.
std::string suffixOf(const std::string& path);

// Text of a four-character code, for display.
std::string typeText(TypeIdent type);
// A four-character code from text ("****" for anything not four characters).
TypeIdent typeFromText(const std::string& text);

#endif  // OWB_TOOLMAN_STATE_H
