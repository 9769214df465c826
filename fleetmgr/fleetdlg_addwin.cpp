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
// The type choice is a combo box of the list kind: its field shows the
// chosen type and cannot be typed into, so the type read at the add button
// is always one of gTypeComboStrs.
#include <cstdio>
#include <cstring>

#include "fleetmgr/fieldtext.h"
#include "fleetmgr/fleetdlg.h"
#include "fleetmgr/fleetdlg_add.h"
#include "fleetmgr/settingsfile.h"
#include "fleetmgr/settingsui.h"
#include "shared/alert.h"
#include "shared/ui/uiglobals.h"
#include "toolkit/cbox.h"
#include "toolkit/sarea.h"

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

CBoxPtr S_typeBox(ResPtr win) {
  ResPtr res = childAt(win, {kTypeChoice});
  return res && CBOX_IsCBox(WGT_FromRes(res)) ? reinterpret_cast<CBoxPtr>(res) : nullptr;
}

void S_fillTypes(CBoxPtr box) {
  CBOX_GoFirst(box);
  for (int i = 0; gTypeComboStrs[i][0]; i++) {
    CBOX_CurAddElt(box, gTypeComboStrs[i], nullptr);
    CBOX_CurSetLabel(box, gTypeComboStrs[i]);
    CBOX_GoNext(box);
  }
  CBOX_GoIndex(box, kDefaultOptionType);
  CBOX_CurSelect(box);
}

// The chosen type.  A choice made with the pointer leaves the cursor where
// it stood, so the cursor is put on the chosen element first.
void S_typeLabel(CBoxPtr box, char* type, size_t size) {
  type[0] = '\0';
  if (!box) return;
  CBOX_GoIndex(box, CBOX_GetSelIndex(box));
  if (const char* label = CBOX_CurGetLabel(box)) std::snprintf(type, size, "%s", label);
}

// The box takes the window's background in all its parts and the tool's
// text font.
long typeCBoxNfy(ResPtr res, Int message, ClientPtr data) {
  if (message != WGT_NFYINIT) return CBOX_DefNfy(res, message, data);
  WgtPtr wgt = WGT_FromRes(res);
  WinPtr win = windowOfWidget(res);
  ColorPtr background = win ? WGT_GetBgColor(WIN_Wgt(win)) : nullptr;
  long result = CBOX_DefNfy(res, message, data);
  CBoxPtr box = CBOX_FromWgt(wgt);
  if (background) {
    WGT_SetBgColor(TBUT_Wgt(CBOX_GetTBut(box)), background);
    SAREA_SetBgColor(reinterpret_cast<SAreaPtr>(CBOX_GetLBox(box)), background);
    WGT_SetBgColor(TED_Wgt(CBOX_GetTEd(box)), background);
  }
  if (gTextFont) WGT_SetFont(wgt, gTextFont);
  return result;
}

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
  S_typeLabel(S_typeBox(winRes(own)), type, sizeof type);
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
  showWithFirstFocus(dialog);
  return dialog;
}

WinPtr createAddExtProcDlg(WinPtr configFileDlg) {
  WinPtr dialog = S_openAddDialog("addExtProcDlg", addDialogNfy<&kExtProcHelp>, S_plainTextNfy, S_plainTextNfy,
                                  onHitNfy<addPairButton<addExtProc, kExtProcFolder>>);
  if (!dialog) return nullptr;
  WIN_Init(dialog);
  winRes(dialog)->ClientData = configFileDlg;
  showWithFirstFocus(dialog);
  return dialog;
}

WinPtr createAddConfigOptionDlg(WinPtr configFileDlg) {
  WinPtr dialog = S_openAddDialog("addConfigOptionDlg", addDialogNfy<&kOptionHelp>, S_plainTextNfy,
                                  S_plainTextNfy, onHitNfy<configOptionAddButton>);
  if (!dialog) return nullptr;
  CBoxPtr box = S_typeBox(winRes(dialog));
  if (box) RES_SetNfyProcDS(reinterpret_cast<ResPtr>(box), typeCBoxNfy, nullptr);
  WIN_Init(dialog);
  winRes(dialog)->ClientData = configFileDlg;
  if (box) S_fillTypes(box);
  showWithFirstFocus(dialog);
  return dialog;
}
