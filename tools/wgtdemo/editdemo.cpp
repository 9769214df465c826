// The editor window of the demo.
#include "tools/wgtdemo/editdemo.h"

#include <cstdio>

#include "toolkit/cbox.h"
#include "toolkit/tbut.h"
#include "toolkit/ted.h"

namespace {

enum { kName = 0, kPort = 1, kNotes = 2, kOk = 3, kStart = 4 };

WgtPtr child(WinPtr win, Int n) { return WGT_FromRes(RES_GetNthChild(WGT_Res(WIN_Wgt(win)), n)); }

// Return in a field prints what it holds; the port must be a number.
long fieldNfy(ResPtr res, Int message, ClientPtr data) {
  if (message == TED_NFYVALIDATE) {
    TEdPtr ted = TED_FromWgt(WGT_FromRes(res));
    std::printf("%s: %s\n", TED_GetLabel(ted), TED_GetStr(ted));
    std::fflush(stdout);
  }
  return TED_DefNfy(res, message, data);
}

// A choice in the combo box prints its label.
long startNfy(ResPtr res, Int message, ClientPtr data) {
  if (message == CBOX_NFYELTSELECTED) {
    CBoxPtr box = CBOX_FromWgt(WGT_FromRes(res));
    std::printf("Start: %s\n", TED_GetStr(CBOX_GetTEd(box)));
    std::fflush(stdout);
  }
  return CBOX_DefNfy(res, message, data);
}

}  // namespace

WinPtr LoadEditDemo() {
  WinPtr win = WIN_Load("wgtdemo", "EditWindow");
  CBoxPtr start = CBOX_FromWgt(child(win, kStart));
  TEdPtr startField = CBOX_GetTEd(start);
  startField->Width = 90;
  TED_SetLabel(startField, "Start");
  RES_SetNfyProcDS(WGT_Res(CBOX_Wgt(start)), startNfy, nullptr);
  WIN_Init(win);
  for (Int i : {kName, kPort}) RES_SetNfyProcDS(WGT_Res(child(win, i)), fieldNfy, nullptr);
  WGT_GainFocus(child(win, kName));
  return win;
}
