// The engine place configuration dialog, template "enginePlaceConfigDlg":
// composes gFleetMgr->configFile and writes it.
//
// Children by path (the contract with resources/fleetmgr.rsrc):
//   0 script panel: 0 boot script text, 1 choose button
//   1 folder tabs: 0 pre-boot, 1 autoload, 2 environment, 3 options,
//     4 externals
//   2 detail panel: 0 list (up to 3 columns), 1 add, 2 remove, 3 label
//   3 create, 4 cancel
// The window's user data is the FleetObject it was opened on.  The cells
// of the list point into the items of the configuration's lists.
#include <cstdio>

#include "fleetmgr/fieldtext.h"
#include "fleetmgr/fleetdlg.h"
#include "fleetmgr/fleetdlg_add.h"
#include "fleetmgr/fleetwindows.h"
#include "fleetmgr/registry.h"
#include "fleetmgr/settings.h"
#include "fleetmgr/settingsfile.h"
#include "fleetmgr/settingsui.h"
#include "shared/ui/uiglobals.h"
#include "shared/utils.h"
#include "toolkit/tarea.h"

namespace {

#define BOOT_SCRIPT {0, 0}
#define FOLDER_TABS {1}
#define CONFIG_LIST {2, 0}
#define LIST_LABEL {2, 3}
#define SETTINGS_CONFIG_FILE {0, 3, 7, 2}

// The tab that is on, 0 to 4; -1 for none.
int S_folderOn(ResPtr win) {
  ResPtr tabs = childAt(win, FOLDER_TABS);
  if (!tabs) return -1;
  TButPtr on = TBUT_PanelGetSelectedRadio(reinterpret_cast<PanelPtr>(tabs));
  for (Int i = 0; i < kConfigFolderCount; i++)
    if (on && WGT_Res(TBUT_Wgt(on)) == RES_GetNthChild(tabs, i)) return i;
  return -1;
}

long enginePlaceConfigDlgNfy(ResPtr res, Int message, ClientPtr data) {
  if (message == RES_NFYEND) {
    // However the dialog ends, its fleet no longer has it.
    auto* fleet = static_cast<FleetObject*>(res->ClientData);
    if (fleet && fleet->engConfigDlg == WIN_FromRes(res)) fleet->engConfigDlg = nullptr;
    res->ClientData = nullptr;
  }
  return fleetWindowNfy(res, message, data, "EnginePlaceConfigFile");
}

long S_engPlaceScriptTEditNfy(ResPtr res, Int message, ClientPtr data) {
  if (message == kFieldNfyValidate) return 0;
  return fieldDefNfy(res, message, data);
}

void chooseEngPlaceScript(ResPtr res) {
  EngConfigFile* config = gFleetMgr ? gFleetMgr->configFile : nullptr;
  if (!config) return;
  fileNameType filename;
  if (!chooseSettingsFile(1, filename, sizeof filename, "Select Engine Place boot script: ", "*.s;*.wcp", true,
                          false))
    return;
  // Only this button sets the script: what is typed in its text is not read.
  copyIntoField(config->engPlaceBootScript, sizeof config->engPlaceBootScript, filename);
  fieldSetText(childAt(winRes(windowOfWidget(res)), BOOT_SCRIPT), config->engPlaceBootScript);
}

// Shows folder in the list: label, columns by their width codes, then
// the list's items, newest in row 1.
void S_showFolder(ResPtr win, int folder) {
  LBoxPtr list = listAt(win, CONFIG_LIST);
  List* items = configFolderList(gFleetMgr ? gFleetMgr->configFile : nullptr, folder);
  if (!list || folder < 0 || folder >= kConfigFolderCount) return;
  const ConfigFolder& info = gConfigFolders[folder];
  if (ResPtr label = childAt(win, LIST_LABEL))
    if (RCLAS_IsSubClassOf(label->ResClass, TAREA_Class()))
      TAREA_SetText(reinterpret_cast<TAreaPtr>(label), info.table[0].heading);
  LBOX_Reset(list);
  for (int c = 0; c < info.columns; c++) LBOX_InsertCol(list);
  LBOX_GoHome(list);
  LBOX_GoUp(list);
  // The width the cells can take: the list's, less its frame and the
  // room of a vertical bar, so that the columns never need a horizontal one.
  WgtPtr listWgt = WGT_FromRes(childAt(win, CONFIG_LIST));
  int listWidth = listWgt->Box.Extent.X - WGT_ScaleX16(listWgt, 20);
  int used = 0;
  for (int column = 1; column <= info.columns; column++) {
    int width = columnWidthFromCode(info.table[column].width, listWidth, used);
    used += width;
    LBOX_SetCurColWidth(list, width);
    LBOX_CurSetClientData(list, const_cast<char*>(info.table[column].heading));
    for (long i = items ? items->totalElements - 1 : -1; i >= 0; i--) {
      LBOX_GoDown(list);
      LBOX_CurSetClientData(list, const_cast<char*>(configFolderCell(items->get(i), column)));
    }
    LBOX_GoRight(list);
    LBOX_GoColHead(list);
  }
}

long folderTabBtnNfy(ResPtr res, Int message, ClientPtr data) {
  if (message == TBUT_NFYHIT) {
    ResPtr win = winRes(windowOfWidget(res));
    ResPtr tabs = childAt(win, FOLDER_TABS);
    int hit = -1;
    for (Int i = 0; i < kConfigFolderCount; i++) {
      ResPtr tab = RES_GetNthChild(tabs, i);
      if (!tab) continue;
      WGT_SetFont(WGT_FromRes(tab), tab == res ? gLabelFont : gTextFont);
      if (tab == res) hit = i;
    }
    S_showFolder(win, hit);
  }
  return TBUT_DefNfy(res, message, data);
}

// The list's own drawing first, then the cell's string if it has one.
void S_drawConfigCell(ResPtr res, ClientPtr data) {
  LBoxPtr list = LBOX_FromWgt(WGT_FromRes(res));
  LBOX_DefNfy(res, LBOX_NFYCELLDRAW, data);
  if (auto* text = static_cast<const char*>(LBOX_CurGetClientData(list))) drawCellString(list, text);
}

long configListBoxNfy(ResPtr res, Int message, ClientPtr data) {
  long answer = 0;
  settingsListClicked(res, message, data, S_drawConfigCell, true, &answer);
  return answer;
}

// Puts a new script at the top of the list and selects it.
void S_insertScriptRow(ResPtr win, StringItem* item) {
  LBoxPtr list = listAt(win, CONFIG_LIST);
  if (!list || !item) return;
  LBOX_GoColRow(list, 1, 1);
  LBOX_InsertRow(list);
  LBOX_CurSetClientData(list, item->string);
  selectListCellQuietly(list, true);
}

long addConfigBtnNfy(ResPtr res, Int message, ClientPtr data) {
  if (message == WGT_NFYGAINFOCUS || message == WGT_NFYFOCUSLOST) return 0;
  if (message != TBUT_NFYHIT) return TBUT_DefNfy(res, message, data);
  WinPtr dialog = windowOfWidget(res);
  ResPtr win = winRes(dialog);
  fileNameType filename;
  switch (S_folderOn(win)) {
    case kPreBootFolder:
      if (chooseSettingsFile(1, filename, sizeof filename, "Select a file for boot-time loading", "*.s;*.wcp",
                             true, false))
        S_insertScriptRow(win, addBootScriptFile(filename));
      break;
    case kAutoloadFolder:
      if (chooseSettingsFile(1, filename, sizeof filename, "Select a file to be auto-loaded", "*.s;*.wcp", true,
                             false))
        S_insertScriptRow(win, addAutoloadScriptFile(filename));
      break;
    case kEnvVarFolder: createAddEnvVariableDlg(dialog); break;
    case kConfigOptionsFolder: createAddConfigOptionDlg(dialog); break;
    case kExtProcFolder: createAddExtProcDlg(dialog); break;
    default: break;
  }
  return TBUT_DefNfy(res, message, data);
}

void removeConfigButton(ResPtr res) {
  ResPtr win = winRes(windowOfWidget(res));
  LBoxPtr list = listAt(win, CONFIG_LIST);
  int folder = S_folderOn(win);
  List* items = configFolderList(gFleetMgr ? gFleetMgr->configFile : nullptr, folder);
  if (!list || !items || !LBOX_GoSelFirst(list)) return;
  if (LBOX_CurGetCol(list) == 0) LBOX_GoColSelNext(list);
  if (!LBOX_IsCurSelected(list) || !LBOX_CurGetClientData(list)) return;
  // The row's strings, compared with the list's elements.
  const int columns = gConfigFolders[folder].columns;
  const char* strings[4] = {nullptr, nullptr, nullptr, nullptr};
  for (int c = 0; c < columns; c++) {
    if (c > 0) LBOX_GoColSelNext(list);
    strings[c] = static_cast<const char*>(LBOX_CurGetClientData(list));
    if (!strings[c]) strings[c] = "";
  }
  ItemPtr removed;
  if (folder == kPreBootFolder || folder == kAutoloadFolder) {
    StringItem key(strings[0]);
    removed = items->remove(&key);
  } else {
    StringTupleItem key(strings);
    removed = items->remove(&key);
  }
  // The row's cells point into the removed item: the row goes first.
  LBOX_DeleteRow(list);
  delete removed;
}

void createButton(ResPtr res) {
  WinPtr dialog = windowOfWidget(res);
  auto* fleet = static_cast<FleetObject*>(winRes(dialog)->ClientData);
  EngConfigFile* config = gFleetMgr ? gFleetMgr->configFile : nullptr;
  if (config) {
    writeConfigFile();
    if (fleet && fleet->currentEng) {
      EngineConfiguration* engine = fleet->currentEng->engConfig;
      copyIntoField(engine->enginePlaceConfig, sizeof engine->enginePlaceConfig, config->filename);
      if (fleet->fleetSettingsWindow)
        fieldSetText(childAt(winRes(fleet->fleetSettingsWindow), SETTINGS_CONFIG_FILE), config->filename);
    }
  }
  WIN_TerminateGetStatus(dialog);
  if (fleet && fleet->engConfigDlg == dialog) fleet->engConfigDlg = nullptr;
}

void cancelButton(ResPtr res) { WIN_TerminateGetStatus(windowOfWidget(res)); }

void S_install(ResPtr win, std::initializer_list<Int> path, ResNfyCBack proc) {
  if (ResPtr res = childAt(win, path)) RES_SetNfyProcDS(res, proc, nullptr);
}

}  // namespace

void showAddedEntry(WinPtr dialog, int folder, StringTupleItem* item) {
  ResPtr win = winRes(dialog);
  LBoxPtr list = listAt(win, CONFIG_LIST);
  if (!list || !item || folder < 0 || folder >= kConfigFolderCount || S_folderOn(win) != folder) return;
  LBOX_GoColRow(list, 1, 1);
  LBOX_InsertRow(list);
  for (int column = 1; column <= gConfigFolders[folder].columns; column++) {
    if (column > 1) LBOX_GoRight(list);
    LBOX_CurSetClientData(list, item->strings[column - 1]);
  }
  selectListCellQuietly(list, true);
}

WinPtr createNewEnginePlaceConfigDialog() {
  if (!gFleetMgr || !gFleetMgr->configFile || !gFleetMgr->currentFleet) return nullptr;
  WinPtr dialog = WIN_Load("fleetmgr", "enginePlaceConfigDlg");
  if (!dialog) return nullptr;
  ResPtr win = winRes(dialog);
  RES_SetNfyProcDS(win, enginePlaceConfigDlgNfy, nullptr);
  S_install(win, BOOT_SCRIPT, S_engPlaceScriptTEditNfy);
  S_install(win, {0, 1}, onHitNfy<chooseEngPlaceScript>);
  for (Int i = 0; i < kConfigFolderCount; i++) {
    S_install(win, {1, i}, folderTabBtnNfy);
    if (TButPtr tab = buttonAt(win, {1, i})) TBUT_SetStyle(tab, 1);
  }
  if (TButPtr first = buttonAt(win, {1, 0})) TBUT_Select(first);
  S_install(win, CONFIG_LIST, configListBoxNfy);
  S_install(win, {2, 1}, addConfigBtnNfy);
  S_install(win, {2, 2}, onHitNfy<removeConfigButton>);
  S_install(win, {3}, onHitNfy<createButton>);
  S_install(win, {4}, onHitNfy<cancelButton>);

  LBoxPtr list = listAt(win, CONFIG_LIST);
  if (list) LBOX_SetNumCol(list, 3);
  WIN_Init(dialog);
  win->ClientData = gFleetMgr->currentFleet;
  setFleetWindowIcon(dialog);
  char title[sizeof(Str255) + 32];
  std::snprintf(title, sizeof title, "Engine Configuration file %s", gFleetMgr->configFile->filename);
  WIN_SetLabel(dialog, title);
  fieldSetText(childAt(win, BOOT_SCRIPT), gFleetMgr->configFile->engPlaceBootScript);
  if (ResPtr first = childAt(win, {1, 0})) WGT_SetFont(WGT_FromRes(first), gLabelFont);
  S_showFolder(win, kPreBootFolder);
  showWithFirstFocus(dialog);
  return dialog;
}
