// The Tool Manager window's menus.
#include "menus.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <deque>

#include "commands.h"
#include "shared/helpdefaults.h"
#include "shared/ui/filepick.h"
#include "shared/ui/help.h"
#include "state.h"
#include "toolkit/mbar.h"
#include "window.h"

namespace {

constexpr size_t kMaxStartablePrograms = 64;
constexpr const char* kWindowName = "ToolManager";
constexpr const char* kHelpBarLabel = "&Help";

// What a menu item does; items point at these through their client data.
struct MenuAction {
  enum Kind { kCommand, kToolMessage, kStart, kChangeProject, kRescan, kExit } kind;
  int32_t toolPort = 0;
  std::string text;  // the command's label, the message, or the program's path
  int32_t requires = 0;
  TypeIdent fileType = kWildTypeIdent;
};

struct MenuModel {
  // Actions of the bar on show and of the bars before it: a bar that is
  // replaced may still be handling its last choice, so they are kept
  // until the next rebuild after that.
  std::deque<MenuAction> actions, previousActions;
  std::string signature;
  bool menuHelpNext = false;
} gMenus;

std::string owbBinDirectory() {
  const char* owb = std::getenv("OWB");
  return owb && *owb ? std::string(owb) + "/bin" : "";
}

// Everything the tools' menus are made of: a change rebuilds them.
std::string toolsSignature() {
  std::string signature;
  for (const auto& entry : gToolManState.tools) {
    signature += std::to_string(entry.first) + "\x1f" + entry.second.info.name + "\x1e";
    for (const ToolCommand& command : entry.second.commands)
      signature += command.label + "\x1f" + std::to_string(command.requires) + typeText(command.fileType) + "\x1e";
  }
  return signature;
}

MenuAction* addAction(MenuAction action) {
  gMenus.actions.push_back(std::move(action));
  return &gMenus.actions.back();
}

void addItem(MenuPtr menu, const std::string& label, MenuAction action) {
  MENU_AddItem(menu, label.c_str());
  MENU_CurSetClientData(menu, addAction(std::move(action)));
}

// Labels come from the tools: an "&" would be taken as a mnemonic mark.
std::string plainLabel(const std::string& label) {
  std::string text;
  for (char c : label) {
    if (c == '&') text += "&&";
    else text += c;
  }
  return text;
}

MenuPtr toolsMenu() {
  MenuPtr menu = MENU_Create();
  for (const auto& entry : gToolManState.tools) {
    const RegisteredTool& tool = entry.second;
    MenuPtr sub = MENU_Create();
    const char* const kMessages[][2] = {{"&Quit", "quit"}, {"&Show", "show"}, {"&Hide", "hide"},
                                        {"Close &Windows", "cwin"}};
    for (const auto& message : kMessages)
      addItem(sub, message[0], MenuAction{MenuAction::kToolMessage, entry.first, message[1]});
    MENU_AddItem(menu, (plainLabel(toolDisplayName(tool)) + " (port " + std::to_string(entry.first) + ")").c_str());
    MENU_CurSetSubMenu(menu, sub);
    RES_Release(MENU_Res(sub));
  }
  if (!gToolManState.tools.empty()) MENU_AddSeparator(menu);
  std::string bin = owbBinDirectory();
  std::vector<std::string> programs = startablePrograms(bin);
  MenuPtr start = MENU_Create();
  for (const std::string& program : programs)
    addItem(start, plainLabel(program), MenuAction{MenuAction::kStart, 0, bin + "/" + program});
  MENU_AddItem(menu, "S&tart Program");
  MENU_CurSetSubMenu(menu, start);
  MENU_CurSetEnabled(menu, programs.empty() ? 0 : 1);
  RES_Release(MENU_Res(start));
  addItem(menu, "Change &Project...", MenuAction{MenuAction::kChangeProject, 0, ""});
  addItem(menu, "&Rescan Project", MenuAction{MenuAction::kRescan, 0, ""});
  MENU_AddSeparator(menu);
  addItem(menu, "E&xit Tool Manager", MenuAction{MenuAction::kExit, 0, ""});
  return menu;
}

void rebuildBar(WinPtr win) {
  gMenus.previousActions.swap(gMenus.actions);
  gMenus.actions.clear();
  MBarPtr bar = MBAR_Create();
  MBAR_AddItem(bar, "&Tools");
  MenuPtr tools = toolsMenu();
  MBAR_CurSetSubMenu(bar, tools);
  RES_Release(MENU_Res(tools));
  for (const auto& entry : gToolManState.tools) {
    const RegisteredTool& tool = entry.second;
    if (tool.commands.empty()) continue;
    MenuPtr menu = MENU_Create();
    for (const ToolCommand& command : tool.commands)
      addItem(menu, plainLabel(command.label),
              MenuAction{MenuAction::kCommand, entry.first, command.label, command.requires, command.fileType});
    MBAR_AddItem(bar, plainLabel(toolDisplayName(tool)).c_str());
    MBAR_CurSetSubMenu(bar, menu);
    RES_Release(MENU_Res(menu));
  }
  WIN_SetMenuBar(win, bar);
  RES_Release(MBAR_Res(bar));
  if (gHelpManager) gHelpManager->addMenu(win);
  gMenus.signature = toolsSignature();
}

void setEnabledCommands(WinPtr win, const std::string& selectedFile) {
  MBarPtr bar = WIN_GetMenuBar(win);
  if (!bar) return;
  TypeIdent selectedType = selectedFile.empty() ? 0 : gToolManState.fileTypeOf(selectedFile);
  for (MBAR_GoFirst(bar); MBAR_IsOk(bar); MBAR_GoNext(bar)) {
    MenuPtr menu = MBAR_CurGetSubMenu(bar);
    if (!menu) continue;
    for (MENU_GoFirst(menu); MENU_IsOk(menu); MENU_GoNext(menu)) {
      auto* action = static_cast<MenuAction*>(MENU_CurGetClientData(menu));
      if (!action || action->kind != MenuAction::kCommand) continue;
      bool enabled = !action->requires ||
                     (!selectedFile.empty() && (action->fileType == kWildTypeIdent || action->fileType == selectedType));
      MENU_CurSetEnabled(menu, enabled ? 1 : 0);
    }
  }
}

void startProgram(const std::string& path) {
  pid_t child = fork();
  if (child == 0) {
    setsid();
    int devnull = open("/dev/null", O_RDONLY);
    if (devnull >= 0) dup2(devnull, STDIN_FILENO);
    execl(path.c_str(), path.c_str(), static_cast<char*>(nullptr));
    _exit(127);
  }
  std::string name = path.substr(path.rfind('/') + 1);
  gToolManWindow->logLine(child > 0 ? "started " + name + " (pid " + std::to_string(child) + ")"
                                    : "could not start " + name);
}

// Help documents are found by the Tool Manager's own search path ($OWB/help
// is on it); the help manager is handed absolute paths, so that it never
// asks this very process to resolve them.
std::string helpDocumentPath(const std::string& document) {
  if (!document.empty() && document[0] == '/') return document;
  return gToolManState.resolve(document);
}

void showHelpDocument(const std::string& document, const char* anchor) {
  std::string path = helpDocumentPath(document);
  if (path.empty()) {
    gToolManWindow->logLine("no help document " + document);
    return;
  }
  gHelpManager->showHelp(path.c_str(), anchor, nullptr);
}

bool helpChosen(MBarPtr bar, MenuPtr menu) {
  const char* barLabel = MBAR_ChosenGetLabel(bar);
  if (!barLabel || std::strcmp(barLabel, kHelpBarLabel) != 0 || !gHelpManager) return false;
  const char* label = MENU_ChosenGetLabel(menu);
  if (!label) return true;
  if (std::strcmp(label, kMenuItemHelpLabel) == 0) {
    gMenus.menuHelpNext = true;  // the next item chosen shows its help
  } else if (std::strcmp(label, kThisWindowHelpLabel) == 0) {
    std::string anchor = std::string("OWBWin:") + kWindowName;
    showHelpDocument(kDefaultHelpFile, anchor.c_str());
  } else {
    for (const auto& item : gToolManState.helpItems)
      if (item.first == label) return showHelpDocument(item.second, nullptr), true;
    for (const HelpDocument& document : kDefaultHelpDocuments)
      if (std::strcmp(document.label, label) == 0) return showHelpDocument(document.document, nullptr), true;
  }
  return true;
}

}  // namespace

std::vector<std::string> startablePrograms(const std::string& directory) {
  std::vector<std::string> programs;
  DIR* dir = directory.empty() ? nullptr : opendir(directory.c_str());
  if (!dir) return programs;
  while (struct dirent* entry = readdir(dir)) {
    if (entry->d_name[0] == '.') continue;
    std::string path = directory + "/" + entry->d_name;
    struct stat info;
    if (stat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode) || access(path.c_str(), X_OK) != 0) continue;
    programs.push_back(entry->d_name);
  }
  closedir(dir);
  std::sort(programs.begin(), programs.end());
  if (programs.size() > kMaxStartablePrograms) programs.resize(kMaxStartablePrograms);
  return programs;
}

void buildToolMenus(WinPtr win) {
  if (!gHelpManager) {
    // Its HGDM handler gives way to the Tool Manager's own, registered
    // first.  It starts with the default documents; the --help-item ones
    // follow them.
    gHelpManager = new HelpManager(TRUE, gToolManState.helpViewer.c_str());
    for (const auto& item : gToolManState.helpItems) {
      bool isDefault = false;
      for (const HelpDocument& document : kDefaultHelpDocuments)
        isDefault = isDefault || (item.first == document.label && item.second == document.document);
      if (!isDefault) gHelpManager->addHelpMItem(item.first.c_str(), item.second.c_str());
    }
  }
  rebuildBar(win);
}

void updateToolMenus(WinPtr win, const std::string& selectedFile) {
  MBarPtr bar = WIN_GetMenuBar(win);
  if (bar && MBAR_IsMenuOpen(bar)) return;
  if (toolsSignature() != gMenus.signature) rebuildBar(win);
  setEnabledCommands(win, selectedFile);
}

bool toolMenuChosen(WinPtr win) {
  MBarPtr bar = WIN_GetMenuBar(win);
  if (!bar) return false;
  MenuPtr menu = MBAR_ChosenGetMenu(bar);
  if (!menu) return false;
  auto* action = static_cast<MenuAction*>(MENU_ChosenGetClientData(menu));
  if (gMenus.menuHelpNext) {
    gMenus.menuHelpNext = false;
    const char* label = MENU_ChosenGetLabel(menu);
    Str255 anchor;
    helpMenuAnchor(anchor, sizeof anchor, kWindowName, label ? label : "");
    showHelpDocument(kDefaultHelpFile, anchor);
    return true;
  }
  if (!action) return helpChosen(bar, menu);
  std::string report;
  auto tool = gToolManState.tools.find(action->toolPort);
  switch (action->kind) {
    case MenuAction::kCommand:
      if (tool == gToolManState.tools.end()) return true;  // gone since the menu was built
      sendToolCommand(tool->second, action->text, action->requires ? gToolManWindow->selectedFile() : "",
                      &report);
      break;
    case MenuAction::kToolMessage:
      if (tool == gToolManState.tools.end()) return true;
      runCommandLine(action->text + " " + std::to_string(action->toolPort), &report);
      break;
    case MenuAction::kStart:
      startProgram(action->text);
      return true;
    case MenuAction::kChangeProject: {
      // The picker asks this Tool Manager for its directory and window
      // place; messages to oneself are answered in place.
      fileNameType chosen;
      if (!chooseDirectory(chosen, "Project directory", nullptr, nullptr, TRUE) || !chosen[0]) return true;
      gToolManWindow->changeProject(chosen);
      return true;
    }
    case MenuAction::kRescan:
      runCommandLine("rescan", &report);
      break;
    case MenuAction::kExit:
      runCommandLine("exit", &report);
      break;
  }
  if (!report.empty()) gToolManWindow->logLine(report.substr(0, report.find('\n')));
  return true;
}
