// The run, kill, backup and restore dialogs.
#include "fleetmgr/fleetdlg.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "fleetmgr/fieldtext.h"
#include "fleetmgr/fleetops.h"
#include "fleetmgr/registry.h"
#include "shared/alert.h"
#include "shared/errors.h"
#include "shared/ui/help.h"
#include "shared/utils.h"
#include "toolkit/tbut.h"
#include "toolkit/winpub.h"

namespace {

const char* const kLibrary = "fleetmgr";

// The children the code reads; the buttons are reached only through the
// procedures installed in child order by S_loadDialog.
enum RunChild { kRunExternals = 0, kRunKillOld = 1, kRunColdBoot = 2, kRunProcess = 3 };
enum KillChild { kKillExternals = 0, kKillEngines = 1, kKillCleanup = 2, kKillProcess = 3 };
enum TagChild { kTagText = 0 };

const char* const kDefaultBackupTag = "backup";

ResPtr S_child(ResPtr res, Int index) { return RES_GetNthChild(res, index); }
WgtPtr S_childWgt(ResPtr res, Int index) {
  ResPtr child = S_child(res, index);
  return child ? WGT_FromRes(child) : nullptr;
}
void S_enable(ResPtr win, Int index, bool on) {
  if (WgtPtr w = S_childWgt(win, index)) WGT_SetEnabled(w, on ? TRUE : FALSE);
}
bool S_isOn(ResPtr win, Int index) {
  WgtPtr w = S_childWgt(win, index);
  return w && TBUT_IsTBut(w) && TBUT_GetSelected(TBUT_FromWgt(w));
}
void S_close(ResPtr res) {
  if (WinPtr win = windowOfWidget(res)) WIN_TerminateGetStatus(win);
}
ResPtr S_winRes(ResPtr res) { return reinterpret_cast<ResPtr>(windowOfWidget(res)); }

void S_warn(const char* text, const char* title) {
  displayAlertWindow(text, kAlertWarning, title, nullptr, nullptr, nullptr, TRUE, nullptr);
}
void S_inform(const char* text, const char* title) {
  displayAlertWindow(text, kAlertInformation, title, nullptr, nullptr, nullptr, TRUE, nullptr);
}

// The button rule of the tool's dialogs: focus gained and lost are
// ignored, a hit runs action, everything else goes to the default.
template <void (*action)(ResPtr)>
long S_buttonNfy(ResPtr res, Int message, ClientPtr data) {
  if (message == WGT_NFYGAINFOCUS || message == WGT_NFYFOCUSLOST) return 0;
  if (message == TBUT_NFYHIT) {
    action(res);
    return 0;
  }
  return TBUT_DefNfy(res, message, data);
}

// Run and kill buttons act on a hit and pass every other code, focus
// included, to the default.
template <void (*action)(ResPtr)>
long S_actOnHitNfy(ResPtr res, Int message, ClientPtr data) {
  if (message == TBUT_NFYHIT) {
    action(res);
    return 0;
  }
  return TBUT_DefNfy(res, message, data);
}

// A text procedure with no task of its own swallows the validation.
long S_plainTextNfy(ResPtr res, Int message, ClientPtr data) {
  if (message == kFieldNfyValidate) return 0;
  return fieldDefNfy(res, message, data);
}

// Loads a dialog and installs its window procedure and the procedures of
// its children 0 to count - 1, in child order; null when the template
// cannot be loaded.  The window is not initialised yet.
WinPtr S_loadDialog(const char* name, ResNfyCBack windowNfy, std::initializer_list<ResNfyCBack> childNfys) {
  WinPtr win = WIN_Load(kLibrary, name);
  if (!win) return nullptr;
  ResPtr res = reinterpret_cast<ResPtr>(win);
  RES_SetNfyProcDS(res, windowNfy, nullptr);
  Int index = 0;
  for (ResNfyCBack proc : childNfys) {
    if (ResPtr child = S_child(res, index)) RES_SetNfyProcDS(child, proc, nullptr);
    index++;
  }
  return win;
}

// The process text of run and kill: when it loses the focus, a name in it
// rules out the toggles given, and an empty text gives them back.
long S_processFieldNfy(ResPtr res, Int message, ClientPtr data, std::initializer_list<Int> toggles) {
  if (message == kFieldNfyFocusLost) {
    ResPtr win = S_winRes(res);
    bool empty = fieldIsEmpty(res);
    for (Int index : toggles) S_enable(win, index, empty);
  }
  return fieldDefNfy(res, message, data);
}

// ---- Run --------------------------------------------------------------------------

long runFleetOptionsNfy(ResPtr res, Int message, ClientPtr data) {
  return fleetWindowNfy(res, message, data, "RunFleet");
}

// Killing the running processes or a cold boot rule out a run of the
// externals alone and of one named process.
void killCold(ResPtr res) {
  ResPtr win = S_winRes(res);
  bool free = !S_isOn(win, kRunKillOld) && !S_isOn(win, kRunColdBoot);
  S_enable(win, kRunExternals, free);
  S_enable(win, kRunProcess, free);
}
long killColdNfy(ResPtr res, Int message, ClientPtr data) { return S_actOnHitNfy<killCold>(res, message, data); }

void runExternals(ResPtr res) {
  ResPtr win = S_winRes(res);
  bool externals = S_isOn(win, kRunExternals);
  S_enable(win, kRunKillOld, !externals);
  S_enable(win, kRunColdBoot, !externals);
  S_enable(win, kRunProcess, !externals);
}
long runExternalsNfy(ResPtr res, Int message, ClientPtr data) {
  return S_actOnHitNfy<runExternals>(res, message, data);
}

long runProcessNfy(ResPtr res, Int message, ClientPtr data) {
  return S_processFieldNfy(res, message, data, {kRunExternals, kRunKillOld, kRunColdBoot});
}

void runPressed(ResPtr res) {
  ResPtr win = S_winRes(res);
  FleetObject* fleet = gFleetMgr ? gFleetMgr->currentFleet : nullptr;
  if (fleet) {
    RunFleetArgs args;
    args.externalsOnly = S_isOn(win, kRunExternals) ? -1 : 0;
    args.killOld = S_isOn(win, kRunKillOld) ? -1 : 0;
    args.coldBoot = S_isOn(win, kRunColdBoot) ? -1 : 0;
    fieldGetText(S_child(win, kRunProcess), args.specificProcess, sizeof args.specificProcess);
    ErrorCode status = fleet->doRunFleetCmd(&args);
    if (status != kNoError) S_warn("Could not start fleet", "Run Fleet");
    // A run of the whole fleet that succeeds says nothing.
    else if (args.externalsOnly) S_inform("Fleet processes started", "Run Fleet");
  }
  S_close(res);
}
long runButNfy(ResPtr res, Int message, ClientPtr data) { return S_actOnHitNfy<runPressed>(res, message, data); }

// ---- Kill -------------------------------------------------------------------------

long killFleetOptionsNfy(ResPtr res, Int message, ClientPtr data) {
  return fleetWindowNfy(res, message, data, "KillFleet");
}

// A named process is possible only when neither group is chosen.  The
// clean-up toggle has the same procedure and looks only at the other two.
void genericKill(ResPtr res) {
  ResPtr win = S_winRes(res);
  S_enable(win, kKillProcess, !S_isOn(win, kKillExternals) && !S_isOn(win, kKillEngines));
}
long genericKillButNfy(ResPtr res, Int message, ClientPtr data) {
  return S_actOnHitNfy<genericKill>(res, message, data);
}

long killProcessNfy(ResPtr res, Int message, ClientPtr data) {
  return S_processFieldNfy(res, message, data, {kKillExternals, kKillEngines});
}

void killPressed(ResPtr res) {
  ResPtr win = S_winRes(res);
  KillFleetArgs args;
  bool externals = S_isOn(win, kKillExternals);
  bool engines = S_isOn(win, kKillEngines);
  args.cleanup = S_isOn(win, kKillCleanup) ? -1 : 0;
  fieldGetText(S_child(win, kKillProcess), args.chosenProcess, sizeof args.chosenProcess);
  FleetObject* fleet = gFleetMgr ? gFleetMgr->currentFleet : nullptr;
  // Nothing chosen (clean-up alone included) does nothing.
  if (fleet && (externals || engines || args.chosenProcess[0])) {
    // Both groups on leave both flags off, which the operation reads as all.
    if (externals && !engines) args.externalOnly = -1;
    if (engines && !externals) args.enginesOnly = -1;
    if (fleet->doKillFleetCmd(&args) == kNoError) S_inform("Fleet successfully killed", "Kill Fleet");
  }
  S_close(res);
}
long killButNfy(ResPtr res, Int message, ClientPtr data) { return S_actOnHitNfy<killPressed>(res, message, data); }

// ---- Backup and restore -------------------------------------------------------

// The window's user data is the heap copy of the selected file's path.
long S_tagWindowNfy(ResPtr res, Int message, ClientPtr data, const char* helpKey) {
  if (message == WGT_NFYEND) {
    long result = WIN_DefNfy(res, message, data);
    delete[] static_cast<char*>(res->ClientData);
    res->ClientData = nullptr;
    return result;
  }
  return fleetWindowNfy(res, message, data, helpKey);
}
long backupOptionsNfy(ResPtr res, Int message, ClientPtr data) {
  return S_tagWindowNfy(res, message, data, "FleetBackup");
}
long restoreOptionsNfy(ResPtr res, Int message, ClientPtr data) {
  return S_tagWindowNfy(res, message, data, "RestoreFleet");
}

// Fills the directory and tag of a backup or restore from the dialog.
template <class Args>
void S_tagArgs(ResPtr win, Args* args) {
  const char* file = static_cast<const char*>(win->ClientData);
  extractPathname(file ? file : "", args->fleetDir, sizeof args->fleetDir);
  fieldGetText(S_child(win, kTagText), args->backupTag, sizeof args->backupTag);
  if (!args->backupTag[0]) std::snprintf(args->backupTag, sizeof args->backupTag, "%s", kDefaultBackupTag);
}

void S_reportTagDone(const char* format, const char* dir, const char* tag, const char* title) {
  char text[sizeof(fileNameType) + sizeof(processLabelType) + 64];
  std::snprintf(text, sizeof text, format, dir, tag);
  S_inform(text, title);
}

void backupPressed(ResPtr res) {
  ResPtr win = S_winRes(res);
  FleetObject* fleet = gFleetMgr ? gFleetMgr->currentFleet : nullptr;
  if (win && fleet) {
    BackupFleetArgs args;
    S_tagArgs(win, &args);
    if (fleet->doBackupFleetCmd(&args) == kNoError)
      S_reportTagDone("Fleet backed up to %s/%s", args.fleetDir, args.backupTag, "Backup Fleet");
  }
  S_close(res);
}
long doCmdBtnNfy(ResPtr res, Int message, ClientPtr data) { return S_buttonNfy<backupPressed>(res, message, data); }

void restorePressed(ResPtr res) {
  ResPtr win = S_winRes(res);
  FleetObject* fleet = gFleetMgr ? gFleetMgr->currentFleet : nullptr;
  if (win && fleet) {
    RestoreFleetArgs args;
    S_tagArgs(win, &args);
    if (fleet->doRestoreFleetCmd(&args) == kNoError)
      S_reportTagDone("Fleet restored from %s/%s", args.fleetDir, args.backupTag, "Restore Fleet");
  }
  S_close(res);
}
long restoreOptionsDoNfy(ResPtr res, Int message, ClientPtr data) {
  return S_buttonNfy<restorePressed>(res, message, data);
}

// Opens a backup or restore dialog; title null keeps the template's.
void S_createTagDialog(const char* templateName, ResNfyCBack windowNfy, ResNfyCBack doNfy, const char* filename,
                       bool setTitle) {
  WinPtr win = S_loadDialog(templateName, windowNfy, {S_plainTextNfy, doNfy, genericCancelButtonNfy});
  if (!win) return;
  char* copy = newStringCopy(filename ? filename : "");
  ResPtr res = reinterpret_cast<ResPtr>(win);
  WIN_Init(win);
  if (setTitle) {
    fileNameType dir;
    extractPathname(copy, dir, sizeof dir);
    char title[sizeof dir + 16];
    std::snprintf(title, sizeof title, "Backup %s", dir);
    WIN_SetLabel(win, title);
  }
  res->ClientData = copy;
  fieldSetText(S_child(res, kTagText), kDefaultBackupTag);
  showWithFirstFocus(win);
}

}  // namespace

WinPtr windowOfWidget(ResPtr res) {
  while (res && !RCLAS_IsSubClassOf(res->ResClass, WIN_Class())) res = RES_GetParent(res);
  return res ? WIN_FromRes(res) : nullptr;
}

long fleetWindowNfy(ResPtr win, Int message, ClientPtr data, const char* helpKey) {
  if (message == WGT_NFYKEYCHAR && gHelpManager && gHelpManager->checkHelpKey(helpKey, WIN_FromRes(win), nullptr))
    return 0;
  return WIN_DefNfy(win, message, data);
}

long genericCancelButtonNfy(ResPtr res, Int message, ClientPtr data) { return S_buttonNfy<S_close>(res, message, data); }

void showWithFirstFocus(WinPtr win) {
  if (!win) return;
  if (!PANEL_GetDeepFocusWgt(WIN_Panel(win))) PANEL_FocusOnNextWgt(WIN_Panel(win));
  WIN_Show(win);
}

void createRunFleetOptions() {
  WinPtr win = S_loadDialog("runFleetOptions", runFleetOptionsNfy,
                            {runExternalsNfy, killColdNfy, killColdNfy, runProcessNfy, runButNfy,
                             genericCancelButtonNfy});
  if (!win) return;
  // The toggles start as the template has them.
  WIN_Init(win);
  showWithFirstFocus(win);
}

void createKillFleetOptions() {
  WinPtr win = S_loadDialog("killFleetOptions", killFleetOptionsNfy,
                            {genericKillButNfy, genericKillButNfy, genericKillButNfy, killProcessNfy, killButNfy,
                             genericCancelButtonNfy});
  if (!win) return;
  ResPtr res = reinterpret_cast<ResPtr>(win);
  WIN_Init(win);
  // By default everything is killed.
  for (Int index : {kKillExternals, kKillEngines})
    if (WgtPtr w = S_childWgt(res, index)) TBUT_Select(TBUT_FromWgt(w));
  S_enable(res, kKillProcess, false);
  showWithFirstFocus(win);
}

void createBackupOptions(const char* filename) {
  S_createTagDialog("backupOptions", backupOptionsNfy, doCmdBtnNfy, filename, true);
}

void createRestoreOptions(const char* filename) {
  S_createTagDialog("restoreOptions", restoreOptionsNfy, restoreOptionsDoNfy, filename, false);
}
