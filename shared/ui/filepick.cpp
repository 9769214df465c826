// The file picker's window.
#include "shared/ui/filepick.h"

#include <unistd.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "shared/log.h"
#include "shared/toolrequests.h"
#include "shared/ui/help.h"
#include "shared/ui/pickrules.h"
#include "shared/ui/rempickr.h"
#include "shared/ui/uiglobals.h"
#include "shared/ui/uiutils.h"
#include "shared/ui/windman.h"
#include "shared/utils.h"
#include "toolkit/cbox.h"
#include "toolkit/curs.h"
#include "toolkit/dsply.h"
#include "toolkit/event.h"
#include "toolkit/evkeys.h"
#include "toolkit/fmgr.h"
#include "toolkit/icon.h"
#include "toolkit/lbox.h"
#include "toolkit/tbut.h"
#include "toolkit/ted.h"

namespace {

const char* const kPickerModule = "shared";
const char* const kPickerTemplate = "filePicker";
const char* const kOpenDirectoryLabel = "Open Directory";
// The search looks for a key to stop it after this many entries.
constexpr long kSearchKeyCheckEvery = 64;

// Kept from one use to the next.
bool gUseDisk = true;
std::string gCurrentDirectory;
ResPtr gFolderIcon = nullptr, gFileIcon = nullptr;

// One use.
WinPtr gFilePickerWindow = nullptr;
PickerChoice* gChoice = nullptr;
bool gDirectoryChooser = false;
bool gInitializing = false;
std::unique_ptr<WildCardList> gWildText;
long gFilesInList = 0;

int px(int n) { return n * DSPLY_GetScreenDpi() / 96; }

WgtPtr child(Int n) { return WGT_FromRes(RES_GetNthChild(WGT_Res(WIN_Wgt(gFilePickerWindow)), n)); }
LBoxPtr diskList() { return LBOX_FromWgt(child(FPICK_DISKLIST)); }
LBoxPtr projectList() { return LBOX_FromWgt(child(FPICK_PROJECTLIST)); }
CBoxPtr componentTypes() { return CBOX_FromWgt(child(FPICK_COMPONENTTYPES)); }
TButPtr button(Int n) { return TBUT_FromWgt(child(n)); }
TButPtr sourceToggle(Int n) { return TBUT_FromWgt(WGT_FromRes(RES_GetNthChild(WGT_Res(child(FPICK_SOURCES)), n))); }

// The text fields of positions 6 and 7.
std::string fieldText(Int n) { return TED_GetStr(TED_FromWgt(child(n))); }
void setFieldText(Int n, const std::string& text) { TED_SetStr(TED_FromWgt(child(n)), text.c_str()); }

void setVisible(WgtPtr w, bool visible) {
  if (visible) WGT_SetVisible(w);
  else WGT_SetInvisible(w);
}

const char* rowText(LBoxPtr list) { return static_cast<const char*>(LBOX_CurGetClientData(list)); }

void freeRow(LBoxPtr list) { delete[] static_cast<char*>(LBOX_CurGetClientData(list)); }

// --- The disk list ---------------------------------------------------------------

void populateDiskList(bool hilite) {
  LBoxPtr list = diskList();
  LBOX_ClearAll(list);
  gFilesInList = 0;
  if (gCurrentDirectory.empty() || FMGR_GetNodeType(gCurrentDirectory.c_str()) != FMGR_NODEDIR) {
    char here[4096];
    gCurrentDirectory = getcwd(here, sizeof here) ? here : "/";
  }
  std::vector<PickerRow> rows =
      pickerListDirectory(gCurrentDirectory, gWildText.get(), gDirectoryChooser, &gFilesInList);
  for (size_t i = 0; i < rows.size(); i++) {
    LBOX_GoColRow(list, 1, static_cast<Int>(i + 1));
    LBOX_CurSetClientData(list, newStringCopy(rows[i].name.c_str()));
  }
  LBOX_GoColRow(list, 1, 1);
  if (hilite) {
    LBOX_CurSelectRow(list);
    LBOX_FlushSelOperations(list);
  }
}

void drawDiskRow(LBoxPtr list, _LBoxCellDrawRec* cell) {
  const char* name = rowText(list);
  if (!cell || !name) return;
  bool selected = LBOX_IsCurSelected(list);
  _Rect16Rec r = cell->Rect;
  r.Extent.Y = static_cast<int16_t>(r.Extent.Y - 1);
  ColorPtr hilite = gHiliteColor ? gHiliteColor : COLOR_Accent();
  DRAW_FillRect(cell->Draw, r, selected ? hilite : WGT_GetBgColor(LBOX_Wgt(list)));
  std::string path = pickerSelectionForRow(gCurrentDirectory, name, FMGR_NODEFILE);
  int type = std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0 ? FMGR_NODEDIR
                                                                          : FMGR_GetNodeType(path.c_str());
  ResPtr icon = type == FMGR_NODEFILE ? gFileIcon : gFolderIcon;
  if (icon) {
    _Point16Rec ext = ICON_GetScreenSize(icon);
    ICON_Draw(cell->Draw, icon, r.Origin.X + px(2) + (px(17) - ext.X) / 2, r.Origin.Y + (r.Extent.Y - ext.Y) / 2);
  }
  FontPtr font = type == FMGR_NODEFILE ? gTextFont : gLabelFont;
  if (!font) font = FONT_Default();
  std::string shown = pickerDisplayName(name);
  std::vector<char> text(shown.begin(), shown.end());
  text.push_back(0);
  int width = r.Extent.X - px(21);
  truncToFit(LBOX_Wgt(list), width, text.data());
  int y = r.Origin.Y + (r.Extent.Y - DRAW_QueryTextExt(font, "Ag", 2).Y) / 2 + FONT_GetAscent(font);
  // Light text on the selection's colour, the widget's own otherwise.
  ColorPtr color = selected ? COLOR_White() : WGT_GetFgColor(LBOX_Wgt(list));
  DRAW_Text(cell->Draw, font, color, r.Origin.X + px(21), y, text.data(), -1);
}

void drawProjectRow(LBoxPtr list, _LBoxCellDrawRec* cell) {
  const char* path = rowText(list);
  if (!cell || !path) return;
  bool selected = LBOX_IsCurSelected(list);
  _Rect16Rec r = cell->Rect;
  r.Extent.Y = static_cast<int16_t>(r.Extent.Y - 1);
  ColorPtr hilite = gHiliteColor ? gHiliteColor : COLOR_Accent();
  DRAW_FillRect(cell->Draw, r, selected ? hilite : WGT_GetBgColor(LBOX_Wgt(list)));
  FontPtr font = gTextFont ? gTextFont : FONT_Default();
  const char* name = findFilenameInPath(path);
  std::string shown = pickerDisplayName(name ? name : "");
  int y = r.Origin.Y + (r.Extent.Y - DRAW_QueryTextExt(font, "Ag", 2).Y) / 2 + FONT_GetAscent(font);
  DRAW_Text(cell->Draw, font, selected ? COLOR_White() : WGT_GetFgColor(LBOX_Wgt(list)), r.Origin.X + px(3), y,
            shown.c_str(), -1);
}

// --- Accepting --------------------------------------------------------------------

// Runs an accept of the selection field; true when the dialog is to close.
bool acceptSelection() {
  gChoice->currentDirectory = gCurrentDirectory;
  gChoice->diskMode = gUseDisk;
  PickerAcceptOutcome outcome = pickerAcceptSelection(gChoice, fieldText(FPICK_SELECTION));
  if (outcome == kPickerEntered) {
    gCurrentDirectory = gChoice->currentDirectory;
    populateDiskList(true);
  }
  return outcome == kPickerClose;
}

bool acceptDirectorySelection() {
  return pickerAcceptDirectory(gChoice, fieldText(FPICK_SELECTION)) == kPickerClose;
}

void closeWith(bool accepted) { WIN_ModalReturn(gFilePickerWindow, accepted ? 1 : 0); }

// An accept counts only with a row under the list's cursor.
void acceptFrom(LBoxPtr list, bool directory) {
  if (!rowText(list)) return;
  if (directory ? acceptDirectorySelection() : acceptSelection()) closeWith(true);
}

// --- Filter ---------------------------------------------------------------------------

bool changeWildText() {
  std::string text = fieldText(FPICK_FILTER);
  if (!pickerFilterChanged(gWildText.get(), text)) return false;
  gWildText = std::make_unique<WildCardList>(pickerFilterText(text).c_str(), TRUE);
  return true;
}

// --- Project mode -------------------------------------------------------------------

void displayComponentList(bool showDisk) {
  setVisible(child(FPICK_FILTER), showDisk);
  setVisible(child(FPICK_DISKLIST), showDisk);
  setVisible(child(FPICK_PROJECTLABEL), !showDisk);
  setVisible(child(FPICK_PROJECTLIST), !showDisk);
  setVisible(child(FPICK_COMPONENTTYPES), !showDisk);
  TBUT_SetSelected(sourceToggle(0), showDisk);
  TBUT_SetSelected(sourceToggle(1), !showDisk);
  if (showDisk) populateDiskList(true);
  else populateProjectList(projectList(), getComponentType(componentTypes()));
}

// --- Find -----------------------------------------------------------------------------

void findNfy() {
  changeWildText();
  PickerSearch search;
  search.filter = gWildText.get();
  search.directoryChooser = gDirectoryChooser;
  WinPtr win = gFilePickerWindow;
  search.progress = [win](long frame) {
    WIN_UseCursor(win, CURS_WaitFrame(static_cast<int>(frame % 128)));
    if (frame % kSearchKeyCheckEvery != 0) return false;
    DSPLY_Flush();
    // Escape typed meanwhile stops the search.
    _DsplyEventRec ev;
    bool stop = false;
    while (DSPLY_CheckKeyEvent(&ev)) {
      if (ev.Key == EVENT_KEYESCAPE) stop = true;
      DSPLY_ClearEvent(&ev);
    }
    return stop;
  };
  std::string found = pickerSearch(gCurrentDirectory, search);
  WIN_UseCursor(win, CURS_Arrow());
  if (found.empty()) return;
  setFieldText(FPICK_SELECTION, found);
  char directory[sizeof(fileNameType)];
  extractPathname(found.c_str(), directory);
  gCurrentDirectory = *directory ? directory : "/";
  populateDiskList(false);
  const char* name = findFilenameInPath(found.c_str());
  LBoxPtr list = diskList();
  for (long row = 1; row <= gFilesInList; row++) {
    LBOX_GoColRow(list, 1, static_cast<Int>(row));
    const char* text = rowText(list);
    if (text && name && std::strcmp(text, name) == 0) break;
  }
  LBOX_CurSelectRow(list);
  LBOX_FlushSelOperations(list);
  setFieldText(FPICK_SELECTION, found);
}

// --- Notifications ------------------------------------------------------------------

long windowNfy(ResPtr res, Int message, ClientPtr data) {
  WinPtr win = WIN_FromRes(res);
  if (message == WIN_NFYKEYCHAR && gHelpManager && gHelpManager->checkHelpKey("FilePicker", win, nullptr)) {
    if (gMessageCenter) gMessageCenter->modalPoll(win, message);
    return 0;
  }
  if (message == WIN_NFYTERMINATE) {
    if (gWindowManager) delete gWindowManager->removeWindowRec(win);
    gFilePickerWindow = nullptr;
    pickerTellDirectory(gCurrentDirectory);
  }
  long result = WIN_DefNfy(res, message, data);
  if (message == WGT_NFYRESIZE) WGT_Inval(WIN_Wgt(win), nullptr);
  if (gMessageCenter) gMessageCenter->modalPoll(win, message);
  return result;
}

long diskListNfy(ResPtr res, Int message, ClientPtr data) {
  LBoxPtr list = LBOX_FromWgt(WGT_FromRes(res));
  switch (message) {
    case LBOX_NFYCELLDRAW:
      drawDiskRow(list, static_cast<_LBoxCellDrawRec*>(data));
      return 0;
    case LBOX_NFYCELLDELETE:
      freeRow(list);
      return 0;
    case LBOX_NFYSELOPERATION:
      if (const char* name = rowText(list)) {
        std::string path = pickerSelectionForRow(gCurrentDirectory, name, FMGR_NODEFILE);
        int type = FMGR_GetNodeType(path.c_str());
        setFieldText(FPICK_SELECTION, pickerSelectionForRow(gCurrentDirectory, name, type));
      }
      return 0;
    case LBOX_NFYVALIDATE:
      acceptFrom(list, false);
      return 0;
    default:
      return LBOX_DefNfy(res, message, data);
  }
}

long projectListNfy(ResPtr res, Int message, ClientPtr data) {
  LBoxPtr list = LBOX_FromWgt(WGT_FromRes(res));
  switch (message) {
    case LBOX_NFYCELLDRAW:
      drawProjectRow(list, static_cast<_LBoxCellDrawRec*>(data));
      return 0;
    case LBOX_NFYCELLDELETE:
      freeRow(list);
      return 0;
    case LBOX_NFYSELOPERATION:
      if (const char* path = rowText(list)) setFieldText(FPICK_SELECTION, path);
      return 0;
    case LBOX_NFYVALIDATE:
      acceptFrom(list, false);
      return 0;
    default:
      return LBOX_DefNfy(res, message, data);
  }
}

long buttonNfy(ResPtr res, Int message, ClientPtr data) {
  if (message != TBUT_NFYHIT) return TBUT_DefNfy(res, message, data);
  WgtPtr w = WGT_FromRes(res);
  if (w == child(FPICK_ACCEPT)) acceptFrom(gDirectoryChooser || gUseDisk ? diskList() : projectList(), false);
  else if (w == child(FPICK_CHOOSEDIRECTORY)) acceptFrom(diskList(), true);
  else if (w == child(FPICK_FIND)) findNfy();
  else if (w == child(FPICK_CANCEL)) closeWith(false);
  else if (w == child(FPICK_DUMMYDEFAULT)) {
    TED_SelectAll(TED_FromWgt(child(FPICK_FILTER)));
    if (changeWildText()) populateDiskList(true);
  }
  return 0;
}

// The filter takes effect when it validates and when it loses the focus;
// while it has the focus, Return goes to the dummy default button.
long filterNfy(ResPtr res, Int message, ClientPtr data) {
  long result = TED_DefNfy(res, message, data);
  if (message == TED_NFYVALIDATE || message == WGT_NFYFOCUSLOST) {
    if (message == WGT_NFYFOCUSLOST) WIN_SetDefWgt(gFilePickerWindow, child(FPICK_ACCEPT));
    if (changeWildText()) populateDiskList(true);
  } else if (message == WGT_NFYFOCUSGAINED) {
    WIN_SetDefWgt(gFilePickerWindow, child(FPICK_DUMMYDEFAULT));
  }
  return result;
}

// Return in the selection field does nothing of its own: it goes on to the
// default button.
long selectionNfy(ResPtr res, Int message, ClientPtr data) {
  if (message == TED_NFYVALIDATE) return 0;
  return TED_DefNfy(res, message, data);
}

// The combo box of component types is filled from the Tool Manager when it
// starts; a type chosen in it (once the dialog is set up, and not in a
// directory chooser) is remembered and its files listed.
long componentTypesNfy(ResPtr res, Int message, ClientPtr data) {
  long result = CBOX_DefNfy(res, message, data);
  CBoxPtr box = CBOX_FromWgt(WGT_FromRes(res));
  if (message == WGT_NFYINIT) buildProjectPopUp(box);
  else if (message == CBOX_NFYELTSELECTED && !gInitializing && !gDirectoryChooser && gFilePickerWindow) {
    TypeIdent type = getComponentType(box);
    setDefaultComponentType(type);
    populateProjectList(projectList(), type);
  }
  return result;
}

long sourceToggleNfy(ResPtr res, Int message, ClientPtr data) {
  if (message != TBUT_NFYHIT) return TBUT_DefNfy(res, message, data);
  bool disk = TBUT_FromWgt(WGT_FromRes(res)) == sourceToggle(0);
  gUseDisk = disk;
  WGT_GainFocus(LBOX_Wgt(disk ? diskList() : projectList()));
  if (disk) WGT_Enable(child(FPICK_FIND));
  else WGT_Disable(child(FPICK_FIND));
  displayComponentList(disk);
  return 0;
}

// --- Opening ------------------------------------------------------------------------

void loadIconsOnce() {
  if (gFolderIcon) return;
  gFolderIcon = RES_Load(kPickerModule, "folderIcon");
  gFileIcon = RES_Load(kPickerModule, "fileIcon");
}

void initialize(const char* promptString) {
  WinPtr win = WIN_Load(kPickerModule, kPickerTemplate);
  gFilePickerWindow = win;
  RES_SetNfyProcDS(WGT_Res(WIN_Wgt(win)), windowNfy, nullptr);
  RES_SetNfyProcDS(WGT_Res(child(FPICK_DISKLIST)), diskListNfy, nullptr);
  RES_SetNfyProcDS(WGT_Res(child(FPICK_PROJECTLIST)), projectListNfy, nullptr);
  for (Int n : {FPICK_ACCEPT, FPICK_FIND, FPICK_CANCEL, FPICK_DUMMYDEFAULT, FPICK_CHOOSEDIRECTORY})
    RES_SetNfyProcDS(WGT_Res(child(n)), buttonNfy, nullptr);
  for (Int n : {0, 1}) RES_SetNfyProcDS(WGT_Res(TBUT_Wgt(sourceToggle(n))), sourceToggleNfy, nullptr);
  RES_SetNfyProcDS(WGT_Res(child(FPICK_FILTER)), filterNfy, nullptr);
  RES_SetNfyProcDS(WGT_Res(child(FPICK_SELECTION)), selectionNfy, nullptr);
  RES_SetNfyProcDS(WGT_Res(child(FPICK_COMPONENTTYPES)), componentTypesNfy, nullptr);
  WIN_Init(win);
  loadIconsOnce();
  // One column as wide as the list.
  for (LBoxPtr list : {diskList(), projectList()}) {
    LBOX_GoColRow(list, 1, 0);
    LBOX_SetCurColWidth(list, LBOX_Wgt(list)->Box.Extent.X - px(20));
  }
  if (gWindowManager) gWindowManager->addWindowRec(kFilePickerWindowType, win, nullptr, nullptr);
  if (promptString) WIN_SetLabel(win, promptString);
  std::string remembered = pickerAskDirectory();
  if (!remembered.empty()) gCurrentDirectory = remembered;
  gChoice->warningLevel = 1;
}

// Runs the dialog; true when result is not empty.
Boolean runPicker(char* result) {
  WIN_ModalProcess(gFilePickerWindow);
  if (gFilePickerWindow) WIN_TerminateGetStatus(gFilePickerWindow);
  copyIntoField(result, sizeof(fileNameType), gChoice->result.c_str());
  gWildText.reset();
  delete gChoice;
  gChoice = nullptr;
  return result[0] != 0;
}

void begin(char* result, bool mustExist, bool confirmOverwrite, bool directoryChooser) {
  gInitializing = true;
  gDirectoryChooser = directoryChooser;
  if (result) result[0] = 0;
  gChoice = new PickerChoice();
  gChoice->mustExist = mustExist;
  gChoice->confirmOverwrite = confirmOverwrite;
}

void setFilter(const char* filter) {
  std::string text = filter && *filter ? filter : "*";
  gWildText = std::make_unique<WildCardList>(text.c_str(), TRUE);
  setFieldText(FPICK_FILTER, text);
}

bool chooseForFullPath(const char* partialPath, char* result) {
  return chooseFile(kDisplayFiles, result, "Choose file", "Accept", partialPath, TRUE, TRUE);
}

}  // namespace

Boolean chooseFile(long displayMode, char* result, const char* promptString, const char*, const char* filter,
                   Boolean mustExist, Boolean confirmOverwrite) {
  if (gFilePickerWindow) {
    owbBeep();
    WIN_Show(gFilePickerWindow);
    return FALSE;
  }
  if (!result) return FALSE;
  begin(result, mustExist, confirmOverwrite, false);
  initialize(promptString);
  setFilter(filter);
  setVisible(child(FPICK_SOURCES), displayMode == kDisplayFilesAndComponents);
  setVisible(child(FPICK_CHOOSEDIRECTORY), false);
  if (displayMode == kDisplayFiles) gUseDisk = true;
  else if (displayMode == kDisplayComponents) gUseDisk = false;
  if (gUseDisk) WGT_Enable(child(FPICK_FIND));
  else WGT_Disable(child(FPICK_FIND));
  displayComponentList(gUseDisk);
  gInitializing = false;
  return runPicker(result);
}

Boolean chooseDirectory(char* result, const char* promptString, const char*, const char* filter, Boolean mustExist) {
  if (gFilePickerWindow || !result) return FALSE;
  begin(result, mustExist, false, true);
  gUseDisk = true;
  initialize(promptString);
  setFilter(filter);
  TBUT_SetLabel(button(FPICK_ACCEPT), kOpenDirectoryLabel);
  setVisible(child(FPICK_SOURCES), false);
  setVisible(child(FPICK_CHOOSEDIRECTORY), true);
  WGT_Enable(child(FPICK_FIND));
  displayComponentList(true);
  gInitializing = false;
  return runPicker(result);
}

Boolean getPathname(char* pathname, const char* promptString, const char* filter, Boolean mustExist) {
  return chooseFile(kDisplayFilesAndComponents, pathname, promptString, nullptr, filter, mustExist, TRUE);
}

WinPtr FPICK_GetWin() { return gFilePickerWindow; }

const char* FPICK_GetCurrentDirectory() { return gCurrentDirectory.c_str(); }

void installFilePicker() { setFullPathChooser(chooseForFullPath); }
