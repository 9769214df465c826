// The list window of the demo.
#include "tools/wgtdemo/listdemo.h"

#include <cstdio>
#include <deque>
#include <string>

#include "toolkit/lbox.h"
#include "toolkit/sb.h"
#include "toolkit/tarea.h"

namespace {

constexpr int kRows = 10000;
constexpr int kCols = 9;
const char* const kHeadings[kCols] = {"#", "Engine", "Host", "Port", "State", "Pid", "Started", "Memory", "Notes"};
const char* const kHosts[] = {"alpha", "bravo", "charlie", "delta"};

// The texts the cells point at.
std::deque<std::string>& texts() {
  static std::deque<std::string> t;
  return t;
}

const char* keep(std::string s) {
  texts().push_back(std::move(s));
  return texts().back().c_str();
}

std::string cellText(int row, int col) {
  char buf[64];
  switch (col) {
    case 1: std::snprintf(buf, sizeof buf, "%d", row); break;
    case 2: std::snprintf(buf, sizeof buf, "engine%05d", row); break;
    case 3: std::snprintf(buf, sizeof buf, "%s.local", kHosts[row % 4]); break;
    case 4: std::snprintf(buf, sizeof buf, "%d", 7000 + row); break;
    case 5: return row % 7 == 3 ? "down" : "up";
    case 6: std::snprintf(buf, sizeof buf, "%d", 20000 + row * 3); break;
    case 7: std::snprintf(buf, sizeof buf, "%02d:%02d:%02d", row / 3600 % 24, row / 60 % 60, row % 60); break;
    case 8: std::snprintf(buf, sizeof buf, "%d MB", 64 + row % 512); break;
    default: return row % 10 == 0 ? "checkpoint written" : "";
  }
  return buf;
}

// The bar's value is shown beside it.
long barNfy(ResPtr res, Int message, ClientPtr data) {
  if (message == SB_NFYTHUMBPOS) {
    WgtPtr bar = WGT_FromRes(res);
    char buf[32];
    std::snprintf(buf, sizeof buf, "Value %d", static_cast<int>(SB_GetThumbPos(SB_FromWgt(bar))));
    TAREA_SetText(reinterpret_cast<TAreaPtr>(RES_GetNthChild(WGT_Res(WIN_Wgt(bar->Win)), 2)), buf);
  }
  return SB_DefNfy(res, message, data);
}

}  // namespace

WinPtr LoadListDemo() {
  WinPtr win = WIN_Load("wgtdemo", "ListWindow");
  ResPtr w = WGT_Res(WIN_Wgt(win));
  LBoxPtr list = LBOX_FromWgt(WGT_FromRes(RES_GetNthChild(w, 0)));
  RES_SetNfyProcDS(RES_GetNthChild(w, 1), barNfy, nullptr);
  WIN_Init(win);
  LBOX_GoHomeHead(list);
  for (int c = 1; c <= kCols; c++) {
    LBOX_GoRight(list);
    LBOX_CurSetClientData(list, const_cast<char*>(kHeadings[c - 1]));
  }
  for (int r = 1; r <= kRows; r++)
    for (int c = 1; c <= kCols; c++) {
      std::string t = cellText(r, c);
      if (t.empty()) continue;
      LBOX_GoColRow(list, c, r);
      LBOX_CurSetClientData(list, const_cast<char*>(keep(t)));
    }
  LBOX_GoColRow(list, 1, 3);
  LBOX_CurSelectRow(list);
  WGT_GainFocus(LBOX_Wgt(list));
  return win;
}
