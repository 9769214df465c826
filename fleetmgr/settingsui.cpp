// Shared parts of the settings windows.
#include "fleetmgr/settingsui.h"

#include "fleetmgr/fleetwindows.h"
#include "fleetmgr/fltstat.h"
#include "fleetmgr/registry.h"
#include "shared/ui/filepick.h"

#include <cstdio>

ResPtr childAt(ResPtr root, std::initializer_list<Int> path) {
  ResPtr res = root;
  for (Int index : path) {
    if (!res) return nullptr;
    res = RES_GetNthChild(res, index);
  }
  return res;
}

LBoxPtr listAt(ResPtr root, std::initializer_list<Int> path) {
  ResPtr res = childAt(root, path);
  return res && RCLAS_IsSubClassOf(res->ResClass, LBOX_Class()) ? LBOX_FromWgt(WGT_FromRes(res)) : nullptr;
}

TButPtr buttonAt(ResPtr root, std::initializer_list<Int> path) {
  ResPtr res = childAt(root, path);
  return res && RCLAS_IsSubClassOf(res->ResClass, TBUT_Class()) ? TBUT_FromWgt(WGT_FromRes(res)) : nullptr;
}

FleetObject* fleetOfWindow(ResPtr res) {
  WinPtr win = windowOfWidget(res);
  return win ? static_cast<FleetObject*>(winRes(win)->ClientData) : nullptr;
}

void drawListCell(ResPtr list, ClientPtr data, const char* text) {
  // A cell without a value is the list's own.
  if (text) drawCellString(LBOX_FromWgt(WGT_FromRes(list)), text);
  else LBOX_DefNfy(list, LBOX_NFYCELLDRAW, data);
}

namespace {
bool sSelecting = false;  // a selection of ours is under way
}  // namespace

void selectListCellQuietly(LBoxPtr list, bool wholeRow) {
  sSelecting = true;
  LBOX_AllUnselect(list);
  if (wholeRow) LBOX_CurSelectRow(list);
  else LBOX_CurSelect(list);
  sSelecting = false;
}

bool settingsListClicked(ResPtr res, Int message, ClientPtr data, void (*drawCell)(ResPtr, ClientPtr), bool wholeRow,
                         long* answer) {
  *answer = 0;
  switch (message) {
    case LBOX_NFYCELLDRAW:
      drawCell(res, data);
      return false;
    case LBOX_NFYCELLHIGHLIGHTSEL:
    case LBOX_NFYCELLUNHIGHLIGHTSEL:
      drawCell(res, data);
      if (sSelecting) return false;
      break;  // taken as a click on the cell
    case LBOX_NFYCELLHIGHLIGHTFOCUS:
    case LBOX_NFYCELLUNHIGHLIGHTFOCUS:
      return false;
    case LBOX_NFYCELLCLICKED:
      break;
    default:
      *answer = LBOX_DefNfy(res, message, data);
      return false;
  }
  selectListCellQuietly(LBOX_FromWgt(WGT_FromRes(res)), wholeRow);
  return true;
}

namespace {

// The tool's file picker.
bool S_filePicker(int mode, char* filename, size_t size, const char* prompt, const char* pattern, bool mustExist,
                  bool confirmOverwrite) {
  fileNameType chosen;
  if (!chooseFile(mode, chosen, prompt, nullptr, pattern, mustExist ? TRUE : FALSE, confirmOverwrite ? TRUE : FALSE))
    return false;
  std::snprintf(filename, size, "%s", chosen);
  return true;
}

SettingsFileChooser sChooser = S_filePicker;

}  // namespace

bool chooseSettingsFile(int mode, char* filename, size_t size, const char* prompt, const char* pattern,
                        bool mustExist, bool confirmOverwrite) {
  if (!filename || size == 0) return false;
  filename[0] = '\0';
  bool chosen = sChooser(mode, filename, size, prompt, pattern, mustExist, confirmOverwrite);
  filename[size - 1] = '\0';
  return chosen && filename[0];
}

SettingsFileChooser setSettingsFileChooser(SettingsFileChooser chooser) {
  SettingsFileChooser previous = sChooser;
  sChooser = chooser ? chooser : S_filePicker;
  return previous;
}

bool isOpenEngPlaceDialog(WinPtr dialog) {
  if (!dialog || !gFleetMgr) return false;
  for (long i = 0; i < gFleetMgr->fleetList.totalElements; i++) {
    auto* fleet = static_cast<FleetObject*>(gFleetMgr->fleetList.get(i));
    if (fleet && fleet->engConfigDlg == dialog) return true;
  }
  return false;
}

void closeEngPlaceDialogs() {
  if (!gFleetMgr) return;
  for (long i = 0; i < gFleetMgr->fleetList.totalElements; i++) {
    auto* fleet = static_cast<FleetObject*>(gFleetMgr->fleetList.get(i));
    if (!fleet || !fleet->engConfigDlg) continue;
    WinPtr dialog = fleet->engConfigDlg;
    fleet->engConfigDlg = nullptr;
    // Its cells point into the configuration about to be replaced.
    if (LBoxPtr list = listAt(winRes(dialog), {2, 0})) LBOX_ClearAll(list);
    terminateFleetWindow(dialog);
  }
}
