// The settings window of a fleet, template "fleetSettings".
//
// Children by path (the contract with resources/fleetmgr.rsrc):
//   0 master panel: 0 engine panel (0 engine list, 1 engine name, 2 add,
//     3 remove); 1 fleet name label; 2 base port; 3 detail panel (0-2 the
//     engine place, modules and projects tabs; 5 folder label; 6 list panel:
//     0 add, 1 remove, 2 file list; 7 file panel: 0 choose, 1 new file,
//     2 configuration file; 8 engine options; 9 authority; 10 load
//     debugger; 11 security)
//   1 button panel: 0 create or update, 1 cancel, 2 detail
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "fleetmgr/fieldtext.h"
#include "fleetmgr/fleetdlg.h"
#include "fleetmgr/fleetwindows.h"
#include "fleetmgr/registry.h"
#include "fleetmgr/settings.h"
#include "fleetmgr/settingsfile.h"
#include "fleetmgr/settingsui.h"
#include "shared/alert.h"
#include "shared/ui/uiglobals.h"
#include "shared/utils.h"
#include "toolkit/tarea.h"

namespace {

enum Tab { kEngPlaceTab = 0, kModulesTab = 1, kProjectsTab = 2, kNoTab = -1 };

// Paths of the children the code reads or writes.
#define ENG_LIST {0, 0, 0}
#define ENG_NAME {0, 0, 1}
#define FLEET_NAME {0, 1}
#define BASE_PORT {0, 2}
#define DETAIL_PANEL {0, 3}
#define FOLDER_LABEL {0, 3, 5}
#define LBOX_PANEL {0, 3, 6}
#define DETAIL_LIST {0, 3, 6, 2}
#define FILE_PANEL {0, 3, 7}
#define CONFIG_FILE {0, 3, 7, 2}
#define ENGINE_OPTIONS {0, 3, 8}
#define AUTHORITY {0, 3, 9}
#define LOAD_DEBUGGER {0, 3, 10}
#define SECURITY {0, 3, 11}

const char* const kFolderLabels[] = {"Engine place configuration file:", "Module configuration files:",
                                     "Project configuration files:"};

void S_setLabel(ResPtr root, std::initializer_list<Int> path, const char* text) {
  ResPtr res = childAt(root, path);
  if (res && RCLAS_IsSubClassOf(res->ResClass, TAREA_Class()))
    TAREA_SetText(reinterpret_cast<TAreaPtr>(res), text);
}

void S_setToggle(ResPtr root, std::initializer_list<Int> path, bool on) {
  if (TButPtr button = buttonAt(root, path)) TBUT_SetSelected(button, on ? TRUE : FALSE);
}

bool S_isOn(ResPtr root, std::initializer_list<Int> path) {
  TButPtr button = buttonAt(root, path);
  return button && TBUT_GetSelected(button);
}

Tab S_tabOn(ResPtr win) {
  ResPtr detail = childAt(win, DETAIL_PANEL);
  if (!detail) return kNoTab;
  TButPtr on = TBUT_PanelGetSelectedRadio(reinterpret_cast<PanelPtr>(detail));
  for (Int i = kEngPlaceTab; i <= kProjectsTab; i++)
    if (on && WGT_Res(TBUT_Wgt(on)) == RES_GetNthChild(detail, i)) return static_cast<Tab>(i);
  return kNoTab;
}

void S_warn(const char* text, const char* title) {
  displayAlertWindow(text, kAlertWarning, title, nullptr, nullptr, nullptr, TRUE, nullptr);
}

// The engine whose configuration lists the buttons of the list panel act
// on; null after the alert that says why there is none.
EngineObject* S_engineForListOperation(FleetObject* fleet) {
  if (fleet && fleet->currentEng) return fleet->currentEng;
  if (!fleet || fleet->engineList.totalElements == 0)
    S_warn("You must add an engine to the fleet first", "Configuration Error");
  else
    S_warn("You must select an engine for this operation", "Configuration Error");
  return nullptr;
}

// Fills the engine list, first engine in row 1.
void S_fillEngineList(FleetObject* fleet, LBoxPtr list) {
  if (!list) return;
  LBOX_ClearAll(list);
  for (long row = fleet->engineList.totalElements; row >= 1; row--) {
    LBOX_GoColRow(list, 1, static_cast<Int>(row));
    LBOX_CurSetClientData(list, fleet->engineList.get(row - 1));
  }
}

// Nothing the window shows may point into an engine that is gone.
void S_forgetEngineDetails(ResPtr win) {
  if (LBoxPtr list = listAt(win, DETAIL_LIST)) LBOX_ClearAll(list);
  fieldSetText(childAt(win, CONFIG_FILE), "");
}

// ---- Window -----------------------------------------------------------------------

long fleetSettingsNfy(ResPtr res, Int message, ClientPtr data) {
  if (message == RES_NFYEND) {
    // However the window ends, its fleet no longer has it.
    auto* fleet = static_cast<FleetObject*>(res->ClientData);
    if (fleet && fleet->fleetSettingsWindow == WIN_FromRes(res)) fleet->fleetSettingsWindow = nullptr;
    res->ClientData = nullptr;
  }
  return fleetWindowNfy(res, message, data, "FleetSettings");
}

// ---- Engines ----------------------------------------------------------------------

static void S_drawEngineCell(ResPtr res, ClientPtr data) {
  auto* engine = static_cast<EngineObject*>(LBOX_CurGetClientData(LBOX_FromWgt(WGT_FromRes(res))));
  drawListCell(res, data, engine ? engine->label() : nullptr);
}

long engListNfy(ResPtr res, Int message, ClientPtr data) {
  long answer = 0;
  if (!settingsListClicked(res, message, data, S_drawEngineCell, false, &answer)) return answer;
  LBoxPtr list = LBOX_FromWgt(WGT_FromRes(res));
  // The click: the cell's engine becomes the current one.
  auto* engine = static_cast<EngineObject*>(LBOX_CurGetClientData(list));
  FleetObject* fleet = fleetOfWindow(res);
  if (fleet && engine) {
    fleet->currentEng = engine;
    engine->drawSettings(windowOfWidget(res));
  }
  return 0;
}

long engNameNfy(ResPtr res, Int message, ClientPtr data) {
  if (message == kFieldNfyValidate) return 0;
  return fieldDefNfy(res, message, data);
}

void addEngineButton(ResPtr res) {
  FleetObject* fleet = fleetOfWindow(res);
  ResPtr win = winRes(windowOfWidget(res));
  processLabelType name;
  fieldGetText(childAt(win, ENG_NAME), name, sizeof name);
  // A name already present does nothing, with no message.
  if (!fleet || !name[0] || fleet->findEngine(name)) return;
  EngineObject* engine = fleet->addEngine(name);
  if (LBoxPtr list = listAt(win, ENG_LIST)) {
    LBOX_GoColRow(list, 1, 1);
    LBOX_InsertRow(list);
    LBOX_CurSetClientData(list, engine);
    selectListCellQuietly(list, false);
  }
  engine->drawSettings(WIN_FromRes(win));
}

void removeEngineButton(ResPtr res) {
  FleetObject* fleet = fleetOfWindow(res);
  ResPtr win = winRes(windowOfWidget(res));
  LBoxPtr list = listAt(win, ENG_LIST);
  if (!fleet || !list || !LBOX_GoSelAllocFirst(list)) return;
  auto* engine = static_cast<EngineObject*>(LBOX_CurGetClientData(list));
  if (!engine) return;
  // Of like-named engines the first goes, which need not be this cell's.
  bool thisOne = fleet->findEngine(engine->label()) == engine;
  processLabelType label;
  copyIntoField(label, sizeof label, engine->label());
  if (!fleet->removeEngine(label)) return;
  if (thisOne) LBOX_DeleteRow(list);
  else S_fillEngineList(fleet, list);
  // The file list may still show the files of the engine that went (it is
  // filled only for the modules and projects tabs): it is filled again.
  S_forgetEngineDetails(win);
  if (fleet->currentEng) fleet->currentEng->drawSettings(WIN_FromRes(win));
}

// ---- Fleet values -----------------------------------------------------------------

// A 0x or 0 prefix changes the base; the value is not checked here.
void S_storeBasePort(ResPtr field) {
  FleetObject* fleet = fleetOfWindow(field);
  char text[64];
  fieldGetText(field, text, sizeof text);
  if (fleet && fleet->fleetFile) fleet->fleetFile->basePort = std::strtol(text, nullptr, 0);
}

long basePortNoNfy(ResPtr res, Int message, ClientPtr data) {
  if (message == kFieldNfyFocusLost) S_storeBasePort(res);
  return fieldDefNfy(res, message, data);
}

// ---- Folders ----------------------------------------------------------------------

void showFolder(ResPtr win, Tab tab) {
  ResPtr detail = childAt(win, DETAIL_PANEL);
  for (Int i = kEngPlaceTab; i <= kProjectsTab; i++)
    if (ResPtr t = RES_GetNthChild(detail, i)) WGT_SetFont(WGT_FromRes(t), i == tab ? gLabelFont : gTextFont);
  WgtPtr lboxPanel = WGT_FromRes(childAt(win, LBOX_PANEL));
  WgtPtr filePanel = WGT_FromRes(childAt(win, FILE_PANEL));
  if (lboxPanel) WGT_SetVisibility(lboxPanel, tab == kEngPlaceTab ? FALSE : TRUE);
  if (filePanel) WGT_SetVisibility(filePanel, tab == kEngPlaceTab ? TRUE : FALSE);
  S_setLabel(win, FOLDER_LABEL, kFolderLabels[tab]);
  FleetObject* fleet = static_cast<FleetObject*>(win->ClientData);
  if (tab != kEngPlaceTab && fleet && fleet->currentEng) fleet->currentEng->drawSettings(WIN_FromRes(win));
}

template <Tab tab>
void folderTab(ResPtr res) {
  showFolder(winRes(windowOfWidget(res)), tab);
}

List* S_configList(EngineObject* engine, Tab tab) {
  return tab == kModulesTab ? &engine->engConfig->moduleConfigFiles : &engine->engConfig->projectConfigFiles;
}

void lboxPanelAddButton(ResPtr res) {
  FleetObject* fleet = fleetOfWindow(res);
  ResPtr win = winRes(windowOfWidget(res));
  EngineObject* engine = S_engineForListOperation(fleet);
  if (!engine || !engine->engConfig) return;
  Tab tab = S_tabOn(win);
  if (tab != kModulesTab && tab != kProjectsTab) return;
  const char* prompt =
      tab == kModulesTab ? "Select module configuration file:" : "Select project configuration file:";
  fileNameType filename;
  if (!chooseSettingsFile(1, filename, sizeof filename, prompt, "*.cfg", true, false)) return;
  auto* item = new StringItem(filename);
  S_configList(engine, tab)->include(item);
  if (LBoxPtr list = listAt(win, DETAIL_LIST)) {
    LBOX_GoColRow(list, 1, 1);
    LBOX_InsertRow(list);
    LBOX_CurSetClientData(list, item->string);
  }
}

void lboxPanelRemoveButton(ResPtr res) {
  FleetObject* fleet = fleetOfWindow(res);
  ResPtr win = winRes(windowOfWidget(res));
  EngineObject* engine = S_engineForListOperation(fleet);
  LBoxPtr list = listAt(win, DETAIL_LIST);
  Tab tab = S_tabOn(win);
  if (!engine || !engine->engConfig || !list || (tab != kModulesTab && tab != kProjectsTab)) return;
  if (!LBOX_GoSelFirst(list)) return;
  auto* text = static_cast<const char*>(LBOX_CurGetClientData(list));
  if (!text) return;
  StringItem key(text);
  ItemPtr removed = S_configList(engine, tab)->remove(&key);
  // The cell points into the item's text: the row goes first.
  LBOX_DeleteRow(list);
  delete removed;
}

static void S_drawDetailCell(ResPtr res, ClientPtr data) {
  drawListCell(res, data, static_cast<const char*>(LBOX_CurGetClientData(LBOX_FromWgt(WGT_FromRes(res)))));
}

long detailLBoxNfy(ResPtr res, Int message, ClientPtr data) {
  long answer = 0;
  settingsListClicked(res, message, data, S_drawDetailCell, false, &answer);
  return answer;
}

void filePickerButton(ResPtr res) {
  FleetObject* fleet = fleetOfWindow(res);
  if (!fleet || !fleet->currentEng) return;
  fileNameType filename;
  if (!chooseSettingsFile(1, filename, sizeof filename, "Select the engine place config:", "*.cfg", true, false))
    return;
  EngineConfiguration* config = fleet->currentEng->engConfig;
  copyIntoField(config->enginePlaceConfig, sizeof config->enginePlaceConfig, filename);
  fieldSetText(childAt(winRes(windowOfWidget(res)), CONFIG_FILE), filename);
}

void newFileButton(ResPtr res) {
  FleetObject* fleet = fleetOfWindow(res);
  if (!fleet) return;
  fileNameType filename;
  if (!chooseSettingsFile(1, filename, sizeof filename, "Select the engine place config file:", "*.cfg", false,
                          true))
    return;
  // The dialogs showing the old configuration go with it.
  closeEngPlaceDialogs();
  delete gFleetMgr->configFile;
  gFleetMgr->configFile = new EngConfigFile(filename);
  gFleetMgr->currentFleet = fleet;
  fleet->engConfigDlg = createNewEnginePlaceConfigDialog();
}

// A text in the configuration file field becomes the current engine's.
void S_storeConfigFile(ResPtr field) {
  fileNameType text;
  fieldGetText(field, text, sizeof text);
  FleetObject* fleet = fleetOfWindow(field);
  if (text[0] && fleet && fleet->currentEng) {
    EngineConfiguration* config = fleet->currentEng->engConfig;
    copyIntoField(config->enginePlaceConfig, sizeof config->enginePlaceConfig, text);
  }
}

long configFileNfy(ResPtr res, Int message, ClientPtr data) {
  if (message == kFieldNfyFocusLost || message == kFieldNfyValidate) S_storeConfigFile(res);
  return fieldDefNfy(res, message, data);
}

void loadDebugToggle(ResPtr res) {
  FleetObject* fleet = fleetOfWindow(res);
  if (fleet && fleet->currentEng)
    fleet->currentEng->engConfig->loadDebugger = TBUT_GetSelected(TBUT_FromWgt(WGT_FromRes(res))) ? OWB_TRUE : 0;
}

void securityToggle(ResPtr res) {
  FleetObject* fleet = fleetOfWindow(res);
  // Only with an engine chosen; the make reads the toggle itself anyway.
  if (fleet && fleet->currentEng && fleet->fleetFile)
    fleet->fleetFile->securityOn = TBUT_GetSelected(TBUT_FromWgt(WGT_FromRes(res))) ? OWB_TRUE : 0;
}

// ---- Buttons ----------------------------------------------------------------------

void createUpdateButton(ResPtr res) {
  WinPtr win = windowOfWidget(res);
  FleetObject* fleet = fleetOfWindow(res);
  if (!fleet) {
    WIN_TerminateGetStatus(win);
    return;
  }
  // A button takes no focus, so the fields that are stored when they lose
  // it may still hold what was typed last: they are stored now, so that
  // the fleet made is the one the window shows.
  S_storeBasePort(childAt(winRes(win), BASE_PORT));
  S_storeConfigFile(childAt(winRes(win), CONFIG_FILE));
  processLabelType authority, options;
  fieldGetText(childAt(winRes(win), AUTHORITY), authority, sizeof authority);
  fieldGetText(childAt(winRes(win), ENGINE_OPTIONS), options, sizeof options);
  FleetSettingsInput input{authority, options, S_isOn(winRes(win), SECURITY)};
  FleetObject* held = fleet;
  ErrorCode status = makeFleetFromSettings(&held, input);
  if (status == -1) return;  // a refused authority: the window stays open for correction
  // Made, or rolled back to the definition on disk: the window closes and
  // the fleet now held no longer has it.
  if (held && held->fleetSettingsWindow == win) held->fleetSettingsWindow = nullptr;
  winRes(win)->ClientData = nullptr;
  WIN_TerminateGetStatus(win);
}

long createUpdateButtonNfy(ResPtr res, Int message, ClientPtr data) {
  // Unlike the other buttons, gaining the focus goes on to the default.
  if (message == WGT_NFYGAINFOCUS) return TBUT_DefNfy(res, message, data);
  return onHitNfy<createUpdateButton>(res, message, data);
}

void cancelButton(ResPtr res) {
  WinPtr win = windowOfWidget(res);
  FleetObject* fleet = fleetOfWindow(res);
  // Deleting the fleet closes this window with the others of the fleet.
  if (fleet) revertFleetSettings(fleet);
  else WIN_TerminateGetStatus(win);
}

void moreDetailButton(ResPtr res) {
  FleetObject* fleet = fleetOfWindow(res);
  if (!fleet) return;
  fleet->showMoreDetail = fleet->showMoreDetail ? FALSE : TRUE;
  TBUT_SetLabel(TBUT_FromWgt(WGT_FromRes(res)), fleet->showMoreDetail ? kLessDetailLabel : kMoreDetailLabel);
  fleet->setFleetSettingsDetail(fleet->showMoreDetail);
}

void S_install(ResPtr win, std::initializer_list<Int> path, ResNfyCBack proc) {
  if (ResPtr res = childAt(win, path)) RES_SetNfyProcDS(res, proc, nullptr);
}

}  // namespace

// ---- FleetObject and EngineObject -------------------------------------------------

void FleetObject::createFleetSettingsDialog() {
  if (!fleetSettingsWindow) {
    WinPtr win = WIN_Load("fleetmgr", "fleetSettings");
    if (!win) return;
    fleetSettingsWindow = win;
    ResPtr res = winRes(win);
    RES_SetNfyProcDS(res, fleetSettingsNfy, nullptr);
    S_install(res, ENG_LIST, engListNfy);
    S_install(res, ENG_NAME, engNameNfy);
    S_install(res, {0, 0, 2}, onHitNfy<addEngineButton>);
    S_install(res, {0, 0, 3}, onHitNfy<removeEngineButton>);
    S_install(res, BASE_PORT, basePortNoNfy);
    S_install(res, {0, 3, 0}, onHitNfy<folderTab<kEngPlaceTab>>);
    S_install(res, {0, 3, 1}, onHitNfy<folderTab<kModulesTab>>);
    S_install(res, {0, 3, 2}, onHitNfy<folderTab<kProjectsTab>>);
    S_install(res, {0, 3, 6, 0}, onHitNfy<lboxPanelAddButton>);
    S_install(res, {0, 3, 6, 1}, onHitNfy<lboxPanelRemoveButton>);
    S_install(res, DETAIL_LIST, detailLBoxNfy);
    S_install(res, {0, 3, 7, 0}, onHitNfy<filePickerButton>);
    S_install(res, {0, 3, 7, 1}, onHitNfy<newFileButton>);
    S_install(res, CONFIG_FILE, configFileNfy);
    S_install(res, LOAD_DEBUGGER, onHitNfy<loadDebugToggle>);
    S_install(res, SECURITY, onHitNfy<securityToggle>);
    S_install(res, {1, 0}, createUpdateButtonNfy);
    S_install(res, {1, 1}, onHitNfy<cancelButton>);
    S_install(res, {1, 2}, onHitNfy<moreDetailButton>);
    for (Int i = kEngPlaceTab; i <= kProjectsTab; i++)
      if (TButPtr tab = buttonAt(res, {0, 3, i})) TBUT_SetStyle(tab, 1);
    if (TButPtr first = buttonAt(res, {0, 3, kEngPlaceTab})) TBUT_Select(first);

    WIN_Init(win);
    res->ClientData = this;
    setFleetWindowIcon(win);
    showFolder(res, kEngPlaceTab);
    fieldSetText(childAt(res, ENGINE_OPTIONS), fleetFile ? fleetFile->engineOptions : "");
    S_fillEngineList(this, listAt(res, ENG_LIST));
    if (currentEng) currentEng->drawSettings(win);
    drawSettings();
    if (LBoxPtr list = listAt(res, ENG_LIST)) LBOX_AllUnselect(list);
    if (LBoxPtr list = listAt(res, DETAIL_LIST)) LBOX_AllUnselect(list);
    if (TButPtr detail = buttonAt(res, {1, 2}))
      TBUT_SetLabel(detail, showMoreDetail ? kLessDetailLabel : kMoreDetailLabel);
    setFleetSettingsDetail(showMoreDetail);
  }
  showWithFirstFocus(fleetSettingsWindow);
}

Boolean FleetObject::drawSettings() {
  if (!fleetSettingsWindow || !fleetFile) return FALSE;
  ResPtr win = winRes(fleetSettingsWindow);
  if (fleetFile->fleetName[0]) {
    char label[sizeof fleetFile->fleetName + 16];
    std::snprintf(label, sizeof label, "Fleet Name: %s", fleetFile->fleetName);
    S_setLabel(win, FLEET_NAME, label);
  }
  char port[32];
  std::snprintf(port, sizeof port, "%ld", fleetFile->basePort);
  fieldSetText(childAt(win, BASE_PORT), port);
  S_setToggle(win, SECURITY, fleetFile->securityOn != 0);
  fieldSetText(childAt(win, ENGINE_OPTIONS), fleetFile->engineOptions);
  fieldSetText(childAt(win, AUTHORITY), fleetFile->authorityText);
  return TRUE;
}

void FleetObject::setFleetSettingsDetail(Boolean showDetail) {
  if (!fleetSettingsWindow) return;
  ResPtr win = winRes(fleetSettingsWindow);
  WgtPtr master = WGT_FromRes(childAt(win, {0}));
  WgtPtr detail = WGT_FromRes(childAt(win, DETAIL_PANEL));
  WgtPtr buttons = WGT_FromRes(childAt(win, {1}));
  if (!master || !detail || !buttons) return;
  _Rect16Rec box, detailBox, buttonBox;
  WGT_GetResBox(master, &box);
  WGT_GetResBox(detail, &detailBox);
  WGT_GetResBox(buttons, &buttonBox);
  // Without detail the master panel ends where the detail panel starts,
  // which hides it by clipping.
  box.Extent.Y = static_cast<Int16>(detailBox.Origin.Y + (showDetail ? detailBox.Extent.Y : 0));
  WGT_SetBox(master, box);
  buttonBox.Origin.Y = static_cast<Int16>(box.Origin.Y + box.Extent.Y + 5);
  WGT_SetBox(buttons, buttonBox);
  WgtPtr window = WGT_FromRes(win);
  _Point16Rec extent{window->Box.Extent.X,
                     WGT_ScaleY16(window, static_cast<Int16>(buttonBox.Origin.Y + buttonBox.Extent.Y + 15))};
  WIN_Configure(fleetSettingsWindow, nullptr, &extent);
  WGT_Inval(window, nullptr);
}

Boolean EngineObject::drawSettings(WinPtr fleetSettingsWindow) {
  if (!fleetSettingsWindow || !engConfig) return FALSE;
  ResPtr win = winRes(fleetSettingsWindow);
  S_setToggle(win, LOAD_DEBUGGER, engConfig->loadDebugger != 0);
  Tab tab = S_tabOn(win);
  WgtPtr panel = nullptr;
  if (tab == kEngPlaceTab) {
    fieldSetText(childAt(win, CONFIG_FILE), engConfig->enginePlaceConfig);
    panel = WGT_FromRes(childAt(win, FILE_PANEL));
  } else if (tab == kModulesTab || tab == kProjectsTab) {
    if (LBoxPtr list = listAt(win, DETAIL_LIST)) {
      List& files = tab == kModulesTab ? engConfig->moduleConfigFiles : engConfig->projectConfigFiles;
      LBOX_ClearAll(list);
      LBOX_GoHome(list);
      for (long i = 0; i < files.totalElements; i++) {
        auto* item = dynamic_cast<StringItem*>(files.get(i));
        if (!item) continue;
        LBOX_CurSetClientData(list, item->string);
        LBOX_GoDown(list);
      }
    }
    panel = WGT_FromRes(childAt(win, LBOX_PANEL));
  } else {
    return FALSE;
  }
  if (panel) WGT_Inval(panel, nullptr);
  return TRUE;
}
