// The fleet status window and the cell drawing of the tool's lists.
#include "fleetmgr/fltstat.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "fleetmgr/fieldtext.h"
#include "fleetmgr/fleetdlg.h"
#include "fleetmgr/fleetops.h"
#include "fleetmgr/fleetwindows.h"
#include "fleetmgr/fltstatout.h"
#include "fleetmgr/registry.h"
#include "shared/errors.h"
#include "shared/ui/uiglobals.h"
#include "toolkit/event.h"
#include "toolkit/tbut.h"
#include "toolkit/winpub.h"

const char* const gEngineProcessStr = "Engine";
const char* const gExternalProcessStr = "External Process";
const char* const gFossilProcessStr = "Fossil";
const char* const gStatusUpStr = "Up";
const char* const gStatusDownStr = "Down";

const fleetListInfo gFleetStatusHeadingInfo[kFleetStatusColumns] = {
    {"Type", 110},         {"Name", 95},       {"Status", 50},     {"Command Line", 395}, {"Date Started", 160},
    {"PID", 45},           {"DAS Port", 65},   {"UDP Port", 65},   {"TCP Port", 65},
};

namespace {

enum StatusChild {
  kUpdateButton = 0,
  kCloseButton = 1,
  kKillButton = 2,
  kRunButton = 3,
  kStatusList = 4,
  kPollToggle = 5,
  kPollInterval = 6
};
enum StatusColumn { kTypeCol = 1, kNameCol = 2, kStatusCol = 3, kCommandCol = 4, kFirstBufferCol = 5, kLastBufferCol = 9 };

// Each row's own buffers: the date (ctime's 26 characters fit), the pid
// and the three ports.
constexpr size_t kCellBufferSize = 32;

// The inset of a cell's text from the cell's edges, at 96 dots per inch.
constexpr Int16 kTextInset = 4;
constexpr Int16 kTextShrink = 6;

ClientPtr S_cell(const char* text) { return const_cast<char*>(text); }

ResPtr S_childOf(WinPtr win, Int index) { return RES_GetNthChild(reinterpret_cast<ResPtr>(win), index); }
LBoxPtr S_listOf(WinPtr win) {
  ResPtr res = S_childOf(win, kStatusList);
  return res && LBOX_IsLBox(WGT_FromRes(res)) ? reinterpret_cast<LBoxPtr>(res) : nullptr;
}
void S_enable(WinPtr win, Int index, bool on) {
  if (ResPtr child = S_childOf(win, index)) WGT_SetEnabled(WGT_FromRes(child), on ? TRUE : FALSE);
}
FleetObject* S_fleetOf(WinPtr win) {
  return win ? static_cast<FleetObject*>(reinterpret_cast<ResPtr>(win)->ClientData) : nullptr;
}

const char* S_typeText(int processType) {
  switch (processType) {
    case kEngineProcess:
      return gEngineProcessStr;
    case kExternalProcess:
      return gExternalProcessStr;
    default:
      return gFossilProcessStr;
  }
}

// Writes a row's own buffer at col, if it has one.
void S_putBuffer(LBoxPtr lbox, Int col, Int row, const char* text) {
  LBOX_GoColRow(lbox, col, row);
  if (char* buffer = static_cast<char*>(LBOX_CurGetClientData(lbox)))
    std::snprintf(buffer, kCellBufferSize, "%s", text);
}

// Fills the row's own buffers, columns 5 to 9.
void S_fillBuffers(LBoxPtr lbox, Int row, const fleetProcessInfo* p) {
  const char* date = "";
  if (p->startTime != 0) {
    time_t start = p->startTime;
    if (const char* text = std::ctime(&start)) date = text;  // with its line end
  }
  S_putBuffer(lbox, kFirstBufferCol, row, date);
  char number[kCellBufferSize];
  std::snprintf(number, sizeof number, "%ld", p->isRunning ? static_cast<long>(p->processID) : 0L);
  S_putBuffer(lbox, kFirstBufferCol + 1, row, number);
  bool engine = p->processType == kEngineProcess;
  const long ports[3] = {p->moreData.engData.debuggerPort, p->moreData.engData.udpPort, p->moreData.engData.tcpPort};
  for (int i = 0; i < 3; i++) {
    std::snprintf(number, sizeof number, "%ld", ports[i]);
    S_putBuffer(lbox, kFirstBufferCol + 2 + i, row, engine ? number : "");
  }
}

// The window's list refilled from its fleet's processes, read anew.
void S_refresh(WinPtr win) {
  FleetObject* fleet = S_fleetOf(win);
  LBoxPtr lbox = S_listOf(win);
  if (!fleet || !lbox) return;
  fleet->doPsFleetCmd();
  setStatusData(lbox, fleet->fleetStatus);
  setButtonStates(win, lbox);
}

// The Name of the selected row when its Status is wanted (by address);
// null otherwise.  Leaves the cursor in that row.
const char* S_selectedNameWhen(LBoxPtr lbox, const char* wanted) {
  if (!lbox || !LBOX_GoSelFirst(lbox)) return nullptr;
  if (LBOX_CurGetCol(lbox) == 0) LBOX_GoRight(lbox);
  LBOX_GoColRow(lbox, kStatusCol, LBOX_CurGetRow(lbox));
  if (LBOX_CurGetClientData(lbox) != S_cell(wanted)) return nullptr;
  LBOX_GoLeft(lbox);
  const char* name = static_cast<const char*>(LBOX_CurGetClientData(lbox));
  return name && *name ? name : nullptr;
}

// The button rule of the tool's windows: focus gained and lost ignored,
// a hit acts, the rest goes to the default.
template <void (*action)(WinPtr)>
long S_buttonNfy(ResPtr res, Int message, ClientPtr data) {
  if (message == WGT_NFYGAINFOCUS || message == WGT_NFYFOCUSLOST) return 0;
  if (message != TBUT_NFYHIT) return TBUT_DefNfy(res, message, data);
  if (WinPtr win = windowOfWidget(res)) action(win);
  return 0;
}

// A double click or Return on a row: the view of the row's process's
// output, from the fleet's directory as the operations take it.
void S_openRowOutput(LBoxPtr lbox) {
  WinPtr win = windowOfWidget(reinterpret_cast<ResPtr>(lbox));
  FleetObject* fleet = S_fleetOf(win);
  Int row = LBOX_CurGetRow(lbox);
  if (!fleet || row < 1) return;
  LBOX_GoColRow(lbox, kNameCol, row);
  const char* name = static_cast<const char*>(LBOX_CurGetClientData(lbox));
  if (!name || !*name) return;
  RunFleetArgs args;
  fleet->makeRunFleetArgs(&args);
  openProcessOutput(win, args.fleetDir, name);
}

void updatePressed(WinPtr win) { S_refresh(win); }

void closePressed(WinPtr win) {
  FleetObject* fleet = S_fleetOf(win);
  WIN_TerminateGetStatus(win);
  if (fleet && fleet->fleetStatusWindow == win) fleet->fleetStatusWindow = nullptr;
}

// Runs operation on the fleet for the selected row's process when the
// row's Status is wanted, and refreshes the rows when it succeeded.
template <class Operation>
void S_onSelectedProcess(WinPtr win, const char* wanted, Operation operation) {
  FleetObject* fleet = S_fleetOf(win);
  const char* name = S_selectedNameWhen(S_listOf(win), wanted);
  if (fleet && name && operation(fleet, name) == kNoError) S_refresh(win);
}

void killPressed(WinPtr win) {
  S_onSelectedProcess(win, gStatusUpStr, [](FleetObject* fleet, const char* name) {
    KillFleetArgs args;
    std::snprintf(args.chosenProcess, sizeof args.chosenProcess, "%s", name);
    return fleet->doKillFleetCmd(&args);
  });
}

// A single process is always warm-booted with nothing killed.
void runPressed(WinPtr win) {
  S_onSelectedProcess(win, gStatusDownStr, [](FleetObject* fleet, const char* name) {
    RunFleetArgs args;
    std::snprintf(args.specificProcess, sizeof args.specificProcess, "%s", name);
    return fleet->doRunFleetCmd(&args);
  });
}

long updateButtonNfy(ResPtr res, Int message, ClientPtr data) {
  return S_buttonNfy<updatePressed>(res, message, data);
}
long closeButtonNfy(ResPtr res, Int message, ClientPtr data) { return S_buttonNfy<closePressed>(res, message, data); }
long killButtonNfy(ResPtr res, Int message, ClientPtr data) { return S_buttonNfy<killPressed>(res, message, data); }
long runButtonNfy(ResPtr res, Int message, ClientPtr data) { return S_buttonNfy<runPressed>(res, message, data); }

// The polling delay in milliseconds, from the interval text in seconds.
Int S_pollDelay(WinPtr win) {
  char text[32];
  fieldGetText(S_childOf(win, kPollInterval), text, sizeof text);
  return static_cast<Int>(std::atoi(text)) * 1000;
}

long fleetStatusWindowNfy(ResPtr res, Int message, ClientPtr data) {
  WinPtr win = WIN_FromRes(res);
  if (message == WGT_NFYTIMEOUT) {
    long result = WIN_DefNfy(res, message, data);
    Int delay = S_pollDelay(win);
    std::printf("Got timeout event, setting another of of %ld ms!\n", static_cast<long>(delay));
    EVENT_StartTimer(WIN_Wgt(win), delay);
    S_refresh(win);
    EVENT_ProcessNext();
    return result;
  }
  if (message == WIN_NFYTERMINATE) closeProcessOutputs(win);
  if (message == WGT_NFYEND) {
    // Closed by other means than the close button (the window manager):
    // the fleet forgets it all the same.
    FleetObject* fleet = S_fleetOf(win);
    if (fleet && fleet->fleetStatusWindow == win) fleet->fleetStatusWindow = nullptr;
    res->ClientData = nullptr;
  }
  return fleetWindowNfy(res, message, data, "FleetStatus");
}

}  // namespace

// ---- Polling, kept dormant: present, not installed. ---------------------------

void doPoll(ClientPtr ptr) {
  WinPtr win = static_cast<WinPtr>(ptr);
  Int delay = S_pollDelay(win);
  std::printf("Got timeout event, setting another of of %ld ms!\n", static_cast<long>(delay));
  EVENT_StartCBackAlarmDS(doPoll, win, delay);
  S_refresh(win);
  EVENT_ProcessNext();
}

long pollButtonNfy(ResPtr res, Int message, ClientPtr data) {
  if (message == WGT_NFYGAINFOCUS || message == WGT_NFYFOCUSLOST) return 0;
  if (message != TBUT_NFYHIT) return TBUT_DefNfy(res, message, data);
  WinPtr win = windowOfWidget(res);
  if (!win) return 0;
  if (TBUT_GetSelected(TBUT_FromWgt(WGT_FromRes(res)))) {
    Int delay = S_pollDelay(win);
    S_enable(win, kUpdateButton, false);
    S_enable(win, kPollInterval, true);
    std::printf("Setting alarm on pollButton with delay %d ms\n", static_cast<int>(delay));
    EVENT_StartCBackAlarmDS(doPoll, win, delay);
    EVENT_ProcessNext();
  } else {
    S_enable(win, kUpdateButton, true);
    S_enable(win, kPollInterval, false);
    std::printf("Removing alarm on pollButton\n");
    EVENT_StopCBackAlarm(win);
  }
  return 0;
}

long pollIntervalNfy(ResPtr res, Int message, ClientPtr data) {
  if (message == kFieldNfyValidate) return 0;
  return fieldDefNfy(res, message, data);
}

// ---- The list -------------------------------------------------------------------------

void drawCellString(LBoxPtr lbox, const char* dataStr) {
  if (!lbox || !LBOX_GetCellDraw(lbox)) return;
  _Rect16Rec rect, clip;
  LBOX_CurQueryRects(lbox, &rect, &clip);
  if (RECT16_IsEmpty(clip)) return;
  WgtPtr wgt = LBOX_Wgt(lbox);
  DrawPtr draw = WGT_BeginDraw(wgt);
  DRAW_ClipRect(draw, clip);

  ColorPtr background = LBOX_IsCurSelected(lbox) && gHiliteColor ? gHiliteColor : WGT_GetBgColor(wgt);
  PenPtr pen = LBOX_GetCellPen(lbox);
  if (!pen || pen == PEN_Invisible()) pen = gSolidPen ? gSolidPen : PEN_Solid();
  if (background) {
    DRAW_FillRect(draw, rect, background);
    DRAW_FrameRect(draw, rect, background, pen);
  }

  if (dataStr) {
    Int16 insetX = WGT_ScaleX16(wgt, kTextInset), insetY = WGT_ScaleY16(wgt, kTextInset);
    _Rect16Rec text = RECT16_Make(rect.Origin.X + insetX, rect.Origin.Y + insetY,
                                  rect.Extent.X - WGT_ScaleX16(wgt, kTextShrink),
                                  rect.Extent.Y - WGT_ScaleY16(wgt, kTextShrink));
    FontPtr font = LBOX_CurGetRow(lbox) >= 1 ? gTextFont : gLabelFont;
    if (!font) font = WGT_GetFont(wgt);
    if (!RECT16_IsEmpty(text) && font) {
      DRAW_ClipRect(draw, text);
      // A cell shows one line: a date from ctime keeps its line end.
      int len = static_cast<int>(std::strcspn(dataStr, "\n"));
      int y = text.Origin.Y + (text.Extent.Y - FONT_GetHeight(font)) / 2 + FONT_GetAscent(font);
      DRAW_TextCut(draw, font, gBlackColor ? gBlackColor : COLOR_Text(), text.Origin.X, y, text.Extent.X, dataStr,
                   len);
    }
  }
  WGT_EndDraw(draw);
}

void setHeadings(LBoxPtr lbox) {
  LBOX_GoHomeHead(lbox);
  LBOX_GoRight(lbox);
  for (const fleetListInfo& column : gFleetStatusHeadingInfo) {
    LBOX_SetCurColWidth(lbox, WGT_ScaleX16(LBOX_Wgt(lbox), static_cast<Int16>(column.width)));
    LBOX_CurSetClientData(lbox, S_cell(column.heading));
    LBOX_GoRight(lbox);
  }
}

namespace {

// The table's widths were made for smaller fonts than the tool draws with
// now: a column is widened, never narrowed, until its heading and its
// texts fit, so that "External Process" or a date is not cut.  The command
// line keeps its width: it is the long one, and would push the pid and the
// ports out of sight.
void S_widenColumnsToFit(LBoxPtr lbox, Int rows) {
  WgtPtr wgt = LBOX_Wgt(lbox);
  const Int margins = WGT_ScaleX16(wgt, kTextShrink) + WGT_ScaleX16(wgt, kTextInset);
  for (Int col = 1; col <= kFleetStatusColumns; col++) {
    if (col == kCommandCol) continue;
    Int needed = 0;
    for (Int row = 0; row <= rows; row++) {
      LBOX_GoColRow(lbox, col, row);
      const char* text = static_cast<const char*>(LBOX_CurGetClientData(lbox));
      FontPtr font = row == 0 ? gLabelFont : gTextFont;
      if (!text || !*text || !font) continue;
      Int width = DRAW_QueryTextExt(font, text, static_cast<int>(std::strcspn(text, "\n"))).X + margins;
      if (width > needed) needed = width;
    }
    if (needed > LBOX_GetColWidth(lbox, col)) {
      LBOX_GoColRow(lbox, col, 0);
      LBOX_SetCurColWidth(lbox, needed);
    }
  }
}

}  // namespace

void setStatusData(LBoxPtr lbox, fleetProcessInfo* data) {
  if (!lbox) return;
  LBOX_ClearAll(lbox);
  setHeadings(lbox);
  Int rowNum = 1;
  for (fleetProcessInfo* p = data; p; p = p->next, rowNum++) {
    LBOX_GoColRow(lbox, kTypeCol, rowNum);
    if (LBOX_GetUsedRows(lbox) < rowNum) {
      LBOX_InsertRow(lbox);
      for (Int col = kFirstBufferCol; col <= kLastBufferCol; col++) {
        LBOX_GoColRow(lbox, col, rowNum);
        // A buffer that cannot be had leaves its cell empty.
        LBOX_CurSetClientData(lbox, std::calloc(1, kCellBufferSize));
      }
    }
    LBOX_GoColRow(lbox, kTypeCol, rowNum);
    LBOX_CurSetClientData(lbox, S_cell(S_typeText(p->processType)));
    LBOX_GoRight(lbox);
    LBOX_CurSetClientData(lbox, p->processLabel);
    LBOX_GoRight(lbox);
    LBOX_CurSetClientData(lbox, S_cell(p->isRunning ? gStatusUpStr : gStatusDownStr));
    LBOX_GoRight(lbox);
    LBOX_CurSetClientData(lbox, p->commandLine);
    S_fillBuffers(lbox, rowNum, p);
  }
  S_widenColumnsToFit(lbox, rowNum - 1);
}

void setButtonStates(WinPtr win, LBoxPtr lbox) {
  if (!win || !lbox) return;
  if (!LBOX_GoSelFirst(lbox)) {
    S_enable(win, kRunButton, false);
    S_enable(win, kKillButton, false);
    return;
  }
  LBOX_GoColRow(lbox, kStatusCol, LBOX_CurGetRow(lbox));
  ClientPtr status = LBOX_CurGetClientData(lbox);
  if (!status) return;
  if (status == S_cell(gStatusUpStr)) {
    S_enable(win, kRunButton, false);
    S_enable(win, kKillButton, true);
  } else if (status == S_cell(gStatusDownStr)) {
    S_enable(win, kKillButton, false);
    S_enable(win, kRunButton, true);
  } else {
    std::printf("Error -- selected row neither up nor down!\n");
  }
}

long theLBoxNfy(ResPtr res, Int message, ClientPtr data) {
  LBoxPtr lbox = reinterpret_cast<LBoxPtr>(res);
  switch (message) {
    case LBOX_NFYCELLDELETE: {
      Int col = LBOX_CurGetCol(lbox);
      if (LBOX_CurGetRow(lbox) != 0 && col >= kFirstBufferCol && col <= kLastBufferCol)
        std::free(LBOX_CurGetClientData(lbox));
      return 0;
    }
    case LBOX_NFYCELLDRAW: {
      long result = LBOX_DefNfy(res, message, data);
      if (ClientPtr text = LBOX_CurGetClientData(lbox)) drawCellString(lbox, static_cast<const char*>(text));
      return result;
    }
    case LBOX_NFYCELLHIGHLIGHTSEL:
    case LBOX_NFYCELLUNHIGHLIGHTSEL:
      drawCellString(lbox, static_cast<const char*>(LBOX_CurGetClientData(lbox)));
      return 0;
    case LBOX_NFYCELLHIGHLIGHTFOCUS:
    case LBOX_NFYCELLUNHIGHLIGHTFOCUS:
      return 0;
    case LBOX_NFYCELLCLICKED:
      LBOX_AllUnselect(lbox);
      LBOX_CurSelectRow(lbox);
      setButtonStates(windowOfWidget(res), lbox);
      return 0;
    case LBOX_NFYVALIDATE:
      S_openRowOutput(lbox);
      return LBOX_DefNfy(res, message, data);
    default:
      return LBOX_DefNfy(res, message, data);
  }
}

void FleetObject::createFleetStatusWindow() {
  if (!fleetStatusWindow) {
    WinPtr win = WIN_Load("fleetmgr", "fleetStatusWindow");
    if (!win) return;
    ResPtr res = reinterpret_cast<ResPtr>(win);
    RES_SetNfyProcDS(res, fleetStatusWindowNfy, nullptr);
    const ResNfyCBack childNfys[] = {updateButtonNfy, closeButtonNfy, killButtonNfy, runButtonNfy, theLBoxNfy};
    for (Int index = 0; index < static_cast<Int>(sizeof childNfys / sizeof childNfys[0]); index++)
      if (ResPtr child = RES_GetNthChild(res, index)) RES_SetNfyProcDS(child, childNfys[index], nullptr);
    for (Int index : {kPollToggle, kPollInterval})
      if (ResPtr child = RES_GetNthChild(res, index)) {
        WGT_Disable(WGT_FromRes(child));
        WGT_SetInvisible(WGT_FromRes(child));
      }
    WIN_Init(win);
    fleetStatusWindow = win;
    res->ClientData = this;
    setFleetWindowIcon(win);
  }
  char title[sizeof fleetPath + 32];
  std::snprintf(title, sizeof title, "Fleet Status: %s", fleetPath);
  WIN_SetLabel(fleetStatusWindow, title);
  LBoxPtr lbox = S_listOf(fleetStatusWindow);
  setStatusData(lbox, fleetStatus);
  if (lbox) {
    LBOX_GoColRow(lbox, 1, 1);
    if (LBOX_GetUsedRows(lbox) >= 1) LBOX_CurSelectRow(lbox);
  }
  setButtonStates(fleetStatusWindow, lbox);
  WIN_Show(fleetStatusWindow);
}
