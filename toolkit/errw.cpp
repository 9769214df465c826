// The error window.
#include "toolkit/errw.h"

#include <cstdio>
#include <string>

#include "toolkit/dsply.h"
#include "toolkit/strres.h"
#include "toolkit/tarea.h"
#include "toolkit/tbut.h"
#include "toolkit/ted.h"

namespace {

enum { kReport = 0, kContinue = 1, kDetails = 2, kAbort = 3, kFirstReserved = 4, kLastReserved = 7 };
enum { kConfirmQuestion = 0, kConfirmBack = 1, kConfirmAbort = 2 };
constexpr long kAnswerAbort = 4;

WinPtr sWin = nullptr;
ErrFramePtr sFrames = nullptr;  // the first frame below the top, while a report is shown
bool sReporting = false;

WgtPtr child(WinPtr win, Int n) { return WGT_FromRes(RES_GetNthChild(WGT_Res(WIN_Wgt(win)), n)); }

// The report: a read-only multi-line text editor.
TEdPtr reportEditor() {
  WgtPtr w = child(sWin, kReport);
  return TED_IsTEd(w) ? TED_FromWgt(w) : nullptr;
}

// Appended at the end, which is brought into view.
void appendText(const std::string& text) {
  if (TEdPtr ted = reportEditor()) {
    TED_SetInsertPos(ted, -1);
    TED_InsertStr(ted, text.c_str());
  }
}

// "Module %-5s Message %3d: file %-10s, line %d" for each frame.
void appendFrames() {
  std::string text = "\n";
  for (ErrFramePtr f = sFrames; f; f = f->Next) {
    char line[512];
    std::snprintf(line, sizeof line, "Module %-5s Message %3d: file %-10s, line %d\n",
                  f->Module ? f->Module : "(Unknown)", static_cast<int>(f->Id), f->File ? f->File : "(Unknown)",
                  static_cast<int>(f->Line));
    text += line;
  }
  appendText(text);
}

long confirmNfy(ResPtr res, Int message, ClientPtr data) {
  if (message == TBUT_NFYHIT) {
    WgtPtr w = WGT_FromRes(res);
    WIN_ModalReturn(w->Win, w->Index == kConfirmAbort ? kAnswerAbort : 0);
  }
  return RCLAS_ProcessDefNfy(res->ResClass, res, message, data);
}

// Asks before aborting; the answer 4 means abort.
long confirmAbort() {
  long answer = 0;
  ErrTrace frame("ErrW", __FILE__, __LINE__);
  ERR_TryRecoverFn(frame, [&] {
    WinPtr confirm = WIN_LoadInit("ErrW", "WinConfirm");
    const char* question = STRR_FindStr("ErrW", "ConfirmAbort");
    TAREA_SetText(reinterpret_cast<TAreaPtr>(child(confirm, kConfirmQuestion)), question ? question : "Abort?");
    RES_SetNfyProcDS(WGT_Res(child(confirm, kConfirmBack)), confirmNfy, nullptr);
    RES_SetNfyProcDS(WGT_Res(child(confirm, kConfirmAbort)), confirmNfy, nullptr);
    DSPLY_Beep();
    answer = WIN_SafeModalProcess(confirm);
    WIN_TerminateGetStatus(confirm);
  });
  return answer;
}

long buttonNfy(ResPtr res, Int message, ClientPtr data) {
  if (message == TBUT_NFYHIT) {
    switch (WGT_FromRes(res)->Index) {
      case kContinue:
        WIN_ModalReturn(sWin, 0);
        break;
      case kDetails:
        appendFrames();
        break;
      case kAbort:
        if (confirmAbort() == kAnswerAbort) ERR_Fatal("aborted from error window");
        break;
      default:
        break;
    }
    return 0;
  }
  return RCLAS_ProcessDefNfy(res->ResClass, res, message, data);
}

}  // namespace

void ERRW_Init() {
  if (sWin) return;
  ErrTrace frame("ErrW", __FILE__, __LINE__);
  // Without its template the toolkit reports on the error stream alone.
  ERR_TryRecoverFn(frame, [] {
    WinPtr win = WIN_LoadInit("ErrW", "WinErr");
    if (RES_GetNumChildren(WGT_Res(WIN_Wgt(win))) <= kAbort) {
      RES_Release(WGT_Res(WIN_Wgt(win)));
      return;
    }
    for (Int i = kContinue; i <= kAbort; i++) RES_SetNfyProcDS(WGT_Res(child(win, i)), buttonNfy, nullptr);
    for (Int i = kFirstReserved; i <= kLastReserved; i++)
      if (WgtPtr w = child(win, i)) WGT_SetInvisible(w);
    sWin = win;
    EVENT_SetErrHandler(ERRW_Report);
  });
}

WinPtr ERRW_GetWin() { return sWin; }

void ERRW_Report(ErrFramePtr frame, Int severity) {
  ERR_Print(frame, severity);
  if (!sWin || sReporting || !DSPLY_IsOpen() || WIN_GetState(sWin) == WIN_STATETERMINATED) return;
  sReporting = true;
  ErrFramePtr top = ERR_Master()->Top;
  sFrames = top ? top->Next : nullptr;
  std::string text;
  for (ErrFramePtr f = top; f; f = f->Next) {
    char line[1024];
    line[0] = 0;
    ERR_Format(f, line, sizeof line);
    if (line[0]) text += std::string(line) + "\n";
  }
  if (TEdPtr ted = reportEditor()) {
    TED_ClearAll(ted);
    TED_InsertStr(ted, text.c_str());
    TED_SetInsertPos(ted, 0);
  }
  bool wasClosed = !WIN_IsOpen(sWin);
  WIN_Show(sWin);
  WGT_GainFocus(child(sWin, kContinue));
  WIN_ModalWait(sWin);
  if (wasClosed) {
    WIN_Minimize(sWin);
    if (WIN_Wgt(sWin)->NeedsRecal) EVENT_ProcessWgtRecal(WIN_Wgt(sWin));
  }
  sFrames = nullptr;
  sReporting = false;
}

void ERRW_Exit() {
  if (!sWin) return;
  if (EVENT_QueryErrHandler() == ERRW_Report) EVENT_SetErrHandler(nullptr);
  WIN_TerminateGetStatus(sWin);
  sWin = nullptr;
}
