// The Tool Manager's registry and project state.
#include "state.h"

#include <cctype>
#include <cstring>
#include <filesystem>
#include <system_error>

ToolManState gToolManState;

namespace {

namespace fs = std::filesystem;

// Bounds of the project scan: deep or huge trees are not the project.
constexpr int kMaxScanDepth = 6;

std::string lowercase(std::string text) {
  for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

}  // namespace

std::string suffixOf(const std::string& path) {
  size_t slash = path.rfind('/');
  size_t dot = path.rfind('.');
  if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return "";
  return path.substr(dot);
}

std::string typeText(TypeIdent type) {
  std::string text;
  for (int shift = 24; shift >= 0; shift -= 8) {
    char c = static_cast<char>((type >> shift) & 0xFF);
    text += std::isprint(static_cast<unsigned char>(c)) ? c : '?';
  }
  return text;
}

TypeIdent typeFromText(const std::string& text) {
  if (text.size() != 4) return kWildTypeIdent;
  TypeIdent type = 0;
  for (char c : text) type = (type << 8) | static_cast<unsigned char>(c);
  return type;
}

RegisteredTool* ToolManState::toolAt(const ToolInfo& sender) {
  if (!tools.count(sender.listenerPort) && tools.size() >= kMaxTools) return nullptr;
  RegisteredTool& tool = tools[sender.listenerPort];
  if (tool.info.listenerPort == 0) tool.info = sender;
  return &tool;
}

RegisteredTool* ToolManState::findTool(const std::string& nameTypeOrPort) {
  if (nameTypeOrPort.empty()) return nullptr;
  bool allDigits = true;
  for (char c : nameTypeOrPort) allDigits = allDigits && std::isdigit(static_cast<unsigned char>(c));
  if (allDigits && nameTypeOrPort.size() < 7) {
    auto found = tools.find(std::stoi(nameTypeOrPort));
    if (found != tools.end()) return &found->second;
  }
  for (auto& entry : tools)
    if (lowercase(entry.second.info.name) == lowercase(nameTypeOrPort)) return &entry.second;
  if (nameTypeOrPort.size() == 4) return findToolByType(typeFromText(nameTypeOrPort));
  return nullptr;
}

RegisteredTool* ToolManState::findToolByType(TypeIdent toolType) {
  for (auto& entry : tools)
    if (entry.second.info.toolType == toolType) return &entry.second;
  return nullptr;
}

void ToolManState::forgetTool(int32_t listenerPort) {
  changed();
  tools.erase(listenerPort);
  if (activeSourceViewerPort == listenerPort) activeSourceViewerPort = 0;
}

void ToolManState::scanProject() {
  std::error_code error;
  fs::recursive_directory_iterator walk(projectDirectory,
                                        fs::directory_options::skip_permission_denied, error);
  std::set<std::string> found;
  for (; !error && walk != fs::recursive_directory_iterator(); walk.increment(error)) {
    const fs::path& path = walk->path();
    bool hidden = path.filename().string().rfind('.', 0) == 0;
    if (walk->is_directory(error)) {
      if (hidden || walk.depth() >= kMaxScanDepth) walk.disable_recursion_pending();
      continue;
    }
    if (hidden || !walk->is_regular_file(error)) continue;
    if (found.size() >= kMaxFiles) break;
    found.insert(path.string());
    addFile(path.string());
  }
  const std::string inside = projectDirectory + "/";
  for (auto it = files.lower_bound(inside); it != files.end() && it->first.compare(0, inside.size(), inside) == 0;) {
    if (found.count(it->first)) ++it;
    else it = files.erase(it);
  }
  changed();
}

bool ToolManState::addFile(const std::string& path) {
  std::string full = absolutePath(path);
  if (files.count(full)) return true;
  if (files.size() >= kMaxFiles) return false;
  changed();
  auto kind = kindBySuffix.find(suffixOf(full));
  files[full] = kind == kindBySuffix.end() ? kUnknownFileType : kind->second;
  return true;
}

void ToolManState::removeFile(const std::string& path) {
  if (files.erase(absolutePath(path))) changed();
}

void ToolManState::applyKnownSuffixes() {
  for (auto& file : files) {
    if (file.second != kUnknownFileType) continue;
    auto kind = kindBySuffix.find(suffixOf(file.first));
    if (kind != kindBySuffix.end()) {
      file.second = kind->second;
      changed();
    }
  }
}

void ToolManState::setFileKind(const std::string& path, TypeIdent type, const std::string& label,
                               const std::string& description) {
  changed();
  std::string full = absolutePath(path);
  if (files.count(full) || files.size() < kMaxFiles) files[full] = type;
  if (fileKinds.count(type) || fileKinds.size() < kMaxFileKinds) fileKinds[type] = FileKind{label, description};
  std::string suffix = suffixOf(full);
  if (!suffix.empty() && (kindBySuffix.count(suffix) || kindBySuffix.size() < kMaxFileKinds))
    kindBySuffix[suffix] = type;
}

TypeIdent ToolManState::fileTypeOf(const std::string& path) const {
  auto found = files.find(absolutePath(path));
  return found == files.end() ? kUnknownFileType : found->second;
}

std::string ToolManState::absolutePath(const std::string& path) const {
  if (path.empty() || path[0] == '/') return path;
  return projectDirectory + "/" + path;
}

std::string ToolManState::resolve(const std::string& partialPath) const {
  if (partialPath.empty()) return "";
  std::error_code error;
  if (partialPath[0] == '/') return fs::exists(partialPath, error) ? partialPath : "";
  std::vector<std::string> places{projectDirectory};
  places.insert(places.end(), searchPath.begin(), searchPath.end());
  for (const std::string& directory : places) {
    std::string candidate = directory + "/" + partialPath;
    if (fs::is_regular_file(candidate, error)) return candidate;
  }
  return "";
}

bool ToolManState::addSearchDirectory(const std::string& directory) {
  if (directory.empty()) return true;
  for (const std::string& known : searchPath)
    if (known == directory) return true;
  if (searchPath.size() >= kMaxSearchDirectories) return false;
  searchPath.push_back(directory);
  return true;
}
