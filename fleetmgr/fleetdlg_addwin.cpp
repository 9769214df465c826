// The three add dialogs of the engine place configuration: templates
// "addEnvVariableDlg", "addConfigOptionDlg" and "addExtProcDlg".
//
// Children by index (the contract with resources/fleetmgr.rsrc): 1 first
// text (name, keyword, symbolic name), 2 second text (value, command
// line), 3 add, 4 cancel; the option dialog has its type choice at 5.
// The window's user data is the engine place configuration dialog that
// opened it; the entry is shown in that dialog's list.  When that dialog
// has closed in the meantime, the add button only closes.
//
// The type choice is a panel of radio buttons, one per type, until the
// toolkit's combo box is in place; only this file changes then.
#include <cstring>

#include "fleetmgr/fieldtext.h"
#include "fleetmgr/fleetdlg.h"
#include "fleetmgr/fleetdlg_add.h"
#include "fleetmgr/settingsfile.h"
#include "fleetmgr/settingsui.h"
#include "shared/alert.h"

namespace {

enum { kFirstText = 1, kSecondText = 2, kAddButton = 3, kCancelButton = 4, kTypeChoice = 5 };

long S_plainTextNfy(ResPtr res, Int message, ClientPtr data) {
  if (message == kFieldNfyValidate) return 0;
  return fieldDefNfy(res, message, data);
}

// The engine place dialog that opened res's window, if it is still open.
WinPtr S_openerOf(ResPtr res) {
  WinPtr own = windowOfWidget(res);
  auto opener = own ? static_cast<WinPtr>(winRes(own)->ClientData) : nullptr;
  return isOpenEngPlaceDialog(opener) ? opener : nullptr;
}

// The name and value dialogs: an empty name is dropped without a word.
template <StringTupleItem* (*add)(const char* const*), int folder>
void addPairButton(ResPtr res) {
  WinPtr own = windowOfWidget(res);
  if (WinPtr opener = S_openerOf(res)) {
    fileNameType name, value;
    fieldGetText(childAt(winRes(own), {kFirstText}), name, sizeof name);
    fieldGetText(childAt(winRes(own), {kSecondText}), value, sizeof value);
    const char* pair[] = {name, value, nullptr};
    if (name[0]) showAddedEntry(opener, folder, add(pair));
  }
  WIN_TerminateGetStatus(own);
}

// ---- Type choice -------------------------------------------------------------------

TButPtr S_typeButton(ResPtr choice, int index) { return buttonAt(choice, {index}); }

void S_fillTypes(ResPtr choice, int selected) {
  for (int i = 0; gTypeComboStrs[i][0]; i++)
    if (TButPtr button = S_typeButton(choice, i)) {
      TBUT_SetLabel(button, gTypeComboStrs[i]);
      TBUT_SetSelected(button, i == selected ? TRUE : FALSE);
    }
}

void S_typeLabel(ResPtr choice, char* type, size_t size) {
  type[0] = '\0';
  TButPtr on = choice ? TBUT_PanelGetSelectedRadio(reinterpret_cast<PanelPtr>(choice)) : nullptr;
  if (on && TBUT_GetLabel(on)) std::snprintf(type, size, "%s", TBUT_GetLabel(on));
}

long typeCBoxNfy(ResPtr res, Int message, ClientPtr data) { return PANEL_DefNfy(res, message, data); }

void configOptionAddButton(ResPtr res) {
  WinPtr own = windowOfWidget(res);
  WinPtr opener = S_openerOf(res);
  if (!opener) {
    WIN_TerminateGetStatus(own);
    return;
  }
  char type[32];
  processLabelType keyword;
  fileNameType value;
  S_typeLabel(childAt(winRes(own), {kTypeChoice}), type, sizeof type);
  fieldGetText(childAt(winRes(own), {kFirstText}), keyword, sizeof keyword);
  fieldGetText(childAt(winRes(own), {kSecondText}), value, sizeof value);
  if (!keyword[0]) {
    displayAlertWindow("Configuration options must have a keyword.", kAlertWarning, "Add Configuration Option",
                       nullptr, nullptr, nullptr, TRUE, nullptr);
    return;
  }
  char* triple[] = {type, keyword, value, nullptr};
  StringTupleItem* item = addConfigOption(triple);
  if (!item) return;  // refused: the dialog stays open so that the value can be mended
  showAddedEntry(opener, kConfigOptionsFolder, item);
  WIN_TerminateGetStatus(own);
}

// ---- Windows -----------------------------------------------------------------------

template <const char* const* helpKey>
long addDialogNfy(ResPtr res, Int message, ClientPtr data) {
  return fleetWindowNfy(res, message, data, *helpKey);
}
const char* const kEnvHelp = "FleetEnvironmentVariable";
const char* const kOptionHelp = "FleetConfigurationOption";
const char* const kExtProcHelp = "ExternalProcess";

WinPtr S_openAddDialog(const char* name, ResNfyCBack windowNfy, ResNfyCBack firstNfy, ResNfyCBack secondNfy,
                       ResNfyCBack addNfy) {
  WinPtr dialog = WIN_Load("fleetmgr", name);
  if (!dialog) return nullptr;
  ResPtr win = winRes(dialog);
  RES_SetNfyProcDS(win, windowNfy, nullptr);
  const ResNfyCBack procs[] = {firstNfy, secondNfy, addNfy, genericCancelButtonNfy};
  for (Int i = kFirstText; i <= kCancelButton; i++)
    if (ResPtr child = RES_GetNthChild(win, i)) RES_SetNfyProcDS(child, procs[i - kFirstText], nullptr);
  return dialog;
}

}  // namespace

WinPtr createAddEnvVariableDlg(WinPtr configFileDlg) {
  WinPtr dialog = S_openAddDialog("addEnvVariableDlg", addDialogNfy<&kEnvHelp>, S_plainTextNfy, S_plainTextNfy,
                                  onHitNfy<addPairButton<addEnvVar, kEnvVarFolder>>);
  if (!dialog) return nullptr;
  WIN_Init(dialog);
  winRes(dialog)->ClientData = configFileDlg;
  WIN_Show(dialog);
  return dialog;
}

WinPtr createAddExtProcDlg(WinPtr configFileDlg) {
  WinPtr dialog = S_openAddDialog("addExtProcDlg", addDialogNfy<&kExtProcHelp>, S_plainTextNfy, S_plainTextNfy,
                                  onHitNfy<addPairButton<addExtProc, kExtProcFolder>>);
  if (!dialog) return nullptr;
  WIN_Init(dialog);
  winRes(dialog)->ClientData = configFileDlg;
  WIN_Show(dialog);
  return dialog;
}

WinPtr createAddConfigOptionDlg(WinPtr configFileDlg) {
  WinPtr dialog = S_openAddDialog("addConfigOptionDlg", addDialogNfy<&kOptionHelp>, S_plainTextNfy,
                                  S_plainTextNfy, onHitNfy<configOptionAddButton>);
  if (!dialog) return nullptr;
  ResPtr choice = childAt(winRes(dialog), {kTypeChoice});
  if (choice) RES_SetNfyProcDS(choice, typeCBoxNfy, nullptr);
  WIN_Init(dialog);
  winRes(dialog)->ClientData = configFileDlg;
  S_fillTypes(choice, kDefaultOptionType);
  WIN_Show(dialog);
  return dialog;
}
