// The help manager: the help menu, the help key, and the viewer.
#include "shared/ui/help.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "shared/globals.h"
#include "shared/log.h"
#include "shared/toolrequests.h"
#include "shared/ui/uiutils.h"
#include "shared/utils.h"
#include "toolkit/mbar.h"

HelpManager* gHelpManager = nullptr;

namespace {

constexpr TypeIdent kGetHelpDefaults = OWB_TYPE("HGDM");
constexpr TypeIdent kHelpViewer = OWB_TYPE("HDTM");
constexpr TypeIdent kHelpMenuItem = OWB_TYPE("HMEM");
constexpr const char* kHelpBarLabel = "&Help";
constexpr Int kHelpKeyCode = EVENT_KEYF1;  // 51
constexpr Int kEventWaitMs = 1000;

MessageTemplate templateOf(std::initializer_list<TypeIdent> types) {
  MessageTemplate t{};
  for (TypeIdent type : types) t.paramType[t.numberOfParams++] = type;
  return t;
}

void deleteHelpManager() {
  delete gHelpManager;
  gHelpManager = nullptr;
}

char* copyOrNull(const char* text) { return text ? newStringCopy(text) : nullptr; }

const char* stringAt(List* list, long position) {
  StringItem* item = static_cast<StringItem*>(list->get(position));
  return item ? item->string : nullptr;
}

// Adds an item to a menu with its id and accelerator.  An item may carry
// an accelerator without a label of its own: the menu then shows the key.
void addItem(MenuPtr menu, const char* label, Int16 id, const char* keyLabel, char key, Int keycode, UInt kbmods) {
  MENU_AddItem(menu, label);
  MENU_CurSetId(menu, static_cast<UInt16>(id));
  if (keycode != EVENT_KEYNONE) MENU_CurSetAccelKey(menu, keycode, kbmods, key);
  if (keyLabel) MENU_CurSetAccelLabel(menu, keyLabel);
}

// "OWBWin:" and the window's name.
void windowAnchor(char* anchor, size_t size, const char* windowName) {
  std::snprintf(anchor, size, "OWBWin:%s", windowName ? windowName : "");
}

}  // namespace

ModalClientData::ModalClientData(const char* window, const char* file)
    : windowName(newStringCopy(window)), helpFile(newStringCopy(file)) {}

ModalClientData::~ModalClientData() {
  delete[] windowName;
  delete[] helpFile;
}

void helpMenuAnchor(char* anchor, size_t size, const char* windowName, const char* menuLabel) {
  Str255 cleaned;
  size_t n = 0;
  for (const char* p = menuLabel ? menuLabel : ""; *p && n + 1 < sizeof cleaned; p++)
    if (*p != ' ' && *p != '&') cleaned[n++] = *p;
  cleaned[n] = '\0';
  std::snprintf(anchor, size, "OWBMenu:%s:%s", windowName ? windowName : "", cleaned);
}

HelpManager::HelpManager(Boolean isToolManager, const char* newViewerName)
    : menuNames(new List(kStandardChunkSize, TRUE, EqualCompare)),
      docPaths(new List(kStandardChunkSize, TRUE, EqualCompare)) {
  setWindowSideCleanUp(deleteHelpManager);
  if (isToolManager) {
    setViewerName(newViewerName ? newViewerName : kDefaultHelpViewer);
    for (const HelpDocument& d : kDefaultHelpDocuments) addHelpMItem(d.label, d.document);
    MessageTemplate none = templateOf({});
    if (gMessageCenter) gMessageCenter->registerMessageHandler(kGetHelpDefaults, &none, getHelpDefaultsMsg);
    return;
  }
  if (!gMessageCenter) return;
  MessageTemplate viewer = templateOf({kParamStr255});
  MessageTemplate item = templateOf({kParamStr255, kParamStr255});
  gMessageCenter->registerMessageHandler(kHelpViewer, &viewer, addDefaultToolMsg);
  gMessageCenter->registerMessageHandler(kHelpMenuItem, &item, addMenuItemMsg);
  // The answer comes later, as HDTM and HMEM messages, through the loop.
  gMessageCenter->sendMessage(new Message(kGetHelpDefaults, &gToolManToolInfo));
}

HelpManager::~HelpManager() {
  delete[] viewerName;
  delete[] lastMenuLabel;
  delete menuNames;
  delete docPaths;
}

void HelpManager::setViewerName(const char* newName) {
  delete[] viewerName;
  viewerName = copyOrNull(newName);
}

void HelpManager::addHelpMItem(const char* name, const char* docPath) {
  menuNames->include(new StringItem(name));
  docPaths->include(new StringItem(docPath));
}

void HelpManager::sendViewerNameMessage(const ToolInfo* destinationTool) {
  if (!gMessageCenter || !destinationTool) return;
  Message* message = new Message(kHelpViewer, destinationTool);
  message->addStringParam(kParamStr255, viewerName ? viewerName : "");
  gMessageCenter->sendMessage(message);
}

ErrorCode HelpManager::getHelpDefaultsMsg(Message* message, Message*) {
  if (!gHelpManager || !gMessageCenter) return kNoError;
  const ToolInfo asker = message->header.senderInfo;
  gHelpManager->sendViewerNameMessage(&asker);
  for (long i = 0; i < gHelpManager->menuNames->totalElements; i++) {
    Message* item = new Message(kHelpMenuItem, &asker);
    item->addStringParam(kParamStr255, stringAt(gHelpManager->menuNames, i));
    item->addStringParam(kParamStr255, stringAt(gHelpManager->docPaths, i));
    gMessageCenter->sendMessage(item);
  }
  return kNoError;
}

ErrorCode HelpManager::addDefaultToolMsg(Message* message, Message*) {
  Str255 name;
  message->getStringParam(0, name, sizeof name);
  if (gHelpManager) gHelpManager->setViewerName(name);
  return kNoError;
}

ErrorCode HelpManager::addMenuItemMsg(Message* message, Message*) {
  Str255 label, document;
  message->getStringParam(0, label, sizeof label);
  message->getStringParam(1, document, sizeof document);
  if (gHelpManager) gHelpManager->addHelpMItem(label, document);
  return kNoError;
}

void HelpManager::addMenu(WinPtr win) {
  if (!win) return;
  MBarPtr bar = WIN_GetMenuBar(win);
  if (!bar) {
    // A window without a bar gets one for its help.
    bar = MBAR_Create();
    WIN_SetMenuBar(win, bar);
    RES_Release(MBAR_Res(bar));
  }
  MenuPtr menu = MENU_Create();
  if (MBAR_GoLabel(bar, kHelpBarLabel)) {
    // The window has help items of its own: they stay, and ours follow
    // them behind a separator.
    if (MenuPtr own = MBAR_CurGetSubMenu(bar)) {
      RES_Release(MENU_Res(menu));
      menu = own;
      RES_Use(MENU_Res(menu));
    }
    MENU_AddSeparator(menu);
  } else {
    MBAR_AddItem(bar, kHelpBarLabel);
    MBAR_GoLabel(bar, kHelpBarLabel);
  }
  Int16 id = 0;
  for (long i = 0; i < menuNames->totalElements; i++)
    addItem(menu, stringAt(menuNames, i), id++, nullptr, 0, EVENT_KEYNONE, 0);
  addItem(menu, kMenuItemHelpLabel, id++, nullptr, 'H', EVENT_KEYNORMAL, EVENT_MODCONTROL);
  addItem(menu, kThisWindowHelpLabel, id++, "F1", ' ', EVENT_KEYF1, 0);
  MBAR_CurSetSubMenu(bar, menu);
  MBAR_CurSetRightAligned(bar, TRUE);
  RES_Release(MENU_Res(menu));
}

void HelpManager::addMenuItem(WinPtr win, const char* menuItemLabel, Int16 widgetIndex, const char* keyLabel,
                              char key, Int keycode, UInt kbmods) {
  MBarPtr bar = WIN_GetMenuBar(win);
  if (!bar || MBAR_GoLast(bar) < 0) return;
  MenuPtr menu = MBAR_CurGetSubMenu(bar);
  if (!menu) return;
  addItem(menu, menuItemLabel, widgetIndex, keyLabel, key, keyLabel ? keycode : EVENT_KEYNONE, kbmods);
}

Boolean HelpManager::handleHelpMItems(WinPtr win, const char* windowName, const char* helpFile) {
  if (!win) return FALSE;
  WIN_DefNfy(WGT_Res(WIN_Wgt(win)), WIN_NFYSELMENUBAR, nullptr);
  MBarPtr bar = WIN_GetMenuBar(win);
  MenuPtr menu = MBAR_ChosenGetMenu(bar);
  if (!menu) return FALSE;
  const char* barLabel = MBAR_ChosenGetLabel(bar);
  const char* label = MENU_ChosenGetLabel(menu);
  if (!label) return FALSE;
  const char* file = helpFile ? helpFile : kDefaultHelpFile;
  if (showMenuHelp) {
    showMenuHelp = FALSE;
    showMenuHelpWin(file, label, windowName);
    return TRUE;
  }
  if (std::strcmp(label, kMenuItemHelpLabel) == 0) {
    showMenuHelp = TRUE;
    return TRUE;
  }
  if (std::strcmp(label, kThisWindowHelpLabel) == 0) {
    Str255 anchor;
    windowAnchor(anchor, sizeof anchor, windowName);
    showHelp(file, anchor, win);
    return TRUE;
  }
  if (!barLabel || std::strcmp(barLabel, kHelpBarLabel) != 0) return FALSE;
  StringItem key(label);
  long position = menuNames->findi(&key);
  if (position < 0) return FALSE;
  showHelp(stringAt(docPaths, position), nullptr, nullptr);
  return TRUE;
}

void HelpManager::showMenuHelpWin(const char* file, const char* menuLabel, const char* windowName) {
  Str255 anchor;
  helpMenuAnchor(anchor, sizeof anchor, windowName, menuLabel);
  showHelp(file, anchor, nullptr);
}

void HelpManager::showHelp(const char* file, const char* anchor, WinPtr win) {
  char* path = makeFullPath(file, &gToolManToolInfo, TRUE);
  if (!path) {
    OWB_LOG("Could not find help file \"" << (file ? file : "") << "\" with anchor " << (anchor ? anchor : ""));
    owbBeep();
  } else if (!viewerName) {
    // The Tool Manager's defaults have not arrived: no viewer to start.
    OWB_LOG("No help viewer known yet for help file " << path);
    owbBeep();
  } else {
    Str255 command;
    int length = anchor ? std::snprintf(command, sizeof command, "%s %s#%s&", viewerName, path, anchor)
                        : std::snprintf(command, sizeof command, "%s %s&", viewerName, path);
    if (length < 0 || static_cast<size_t>(length) >= sizeof command) {
      // Cut, the line would lose its "&" and hold the tool until the
      // viewer ends: it is not run.
      OWB_LOG("Help command line too long for help file " << path);
      owbBeep();
    } else {
      OWB_LOG(command);
      int status = std::system(command);
      (void)status;  // the shell's status is not looked at: the viewer runs on its own
    }
  }
  delete[] path;
  if (win) {
    // A held-down F1 repeats; its repeats of the next second are eaten.
    WGT_KeyHandled(WIN_Wgt(win));
    EVENT_Wait(WIN_Wgt(win), kEventWaitMs);
    EVENT_DiscardKbEvents();
  }
}

Boolean HelpManager::checkHelpKey(const char* windowName, WinPtr win, const char* helpFile) {
  if (EVENT_GetKeyCode() != kHelpKeyCode) return FALSE;
  Str255 anchor;
  windowAnchor(anchor, sizeof anchor, windowName);
  showHelp(helpFile ? helpFile : kDefaultHelpFile, anchor, win);
  return TRUE;
}

void HelpManager::addModalHelp(WinPtr win, const char* windowName, const char* helpFile) {
  if (!win) return;
  TButPtr button = TBUT_Create();
  // Out of sight, but enabled and "visible", so that it hears its key.
  TBUT_Wgt(button)->ResBox = RECT16_Make(-10, -10, -10, -10);
  TBUT_SetAccelKeys(button, keys);
  RES_SetNfyProcDS(WGT_Res(TBUT_Wgt(button)), helpTButNfy,
                   new ModalClientData(windowName, helpFile ? helpFile : kDefaultHelpFile));
  PANEL_AddWgt(WIN_Panel(win), TBUT_Wgt(button));
  TBUT_SetLabel(button, "");
}

long HelpManager::helpTButNfy(ResPtr tbut, Int code, ClientPtr data) {
  ModalClientData* modal = static_cast<ModalClientData*>(tbut->ClientData);
  if (code == WGT_NFYEND && modal) {
    tbut->ClientData = nullptr;
    delete modal;
  } else if (code == TBUT_NFYHIT && modal && gHelpManager) {
    gHelpManager->checkHelpKey(modal->windowName, WGT_FromRes(tbut)->Win, modal->helpFile);
  }
  return TBUT_DefNfy(tbut, code, data);
}
