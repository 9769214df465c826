// Text areas: fixed labels.
#include "toolkit/tarea.h"

#include <cstring>
#include <string>

#include "toolkit/autom.h"
#include "toolkit/draw.h"
#include "toolkit/pfld.h"
#include "toolkit/winpub.h"

namespace {

_PFldRec sTAreaFields[] = {
    {"Text", static_cast<Int>(offsetof(_TAreaObj, Text)), PFLD_VSTR, PFLD_KINDTEXT, 0, -1},
    {"Justif", static_cast<Int>(offsetof(_TAreaObj, Justif)), PFLD_UINT16, PFLD_KINDVALUE, 0, -1},
    {nullptr, 0, 0, 0, 0, -1}};

RClasPtr sTArea = nullptr;

void S_Redraw(TAreaPtr area) {
  WgtPtr w = reinterpret_cast<WgtPtr>(area);
  DrawPtr d = WGT_BeginDraw(w);
  DRAW_FillRect(d, RECT16_Make(0, 0, w->Box.Extent.X, w->Box.Extent.Y), WGT_GetBgColor(w));
  FontPtr font = WGT_GetFont(w);
  ColorPtr color = WGT_IsEnabled(w) ? WGT_GetFgColor(w) : COLOR_DisabledText();
  const char* text = VSTR_Get(area->Text);
  int line = FONT_GetHeight(font);
  int y = FONT_GetAscent(font);
  while (*text) {
    const char* end = std::strchr(text, '\n');
    int len = end ? static_cast<int>(end - text) : static_cast<int>(std::strlen(text));
    int width = DRAW_QueryTextExt(font, text, len).X;
    int x = 0;
    if (area->Justif == TAREA_JUSTCENTER) x = (w->Box.Extent.X - width) / 2;
    else if (area->Justif == TAREA_JUSTRIGHT) x = w->Box.Extent.X - width;
    DRAW_Text(d, font, color, x, y, text, len);
    y += line;
    text += len;
    if (*text == '\n') text++;
  }
  WGT_EndDraw(d);
}

}  // namespace

RClasPtr TAREA_Class() { return sTArea; }

void TAREA_InstallClass() {
  WGT_InstallClass();
  sTArea = WgtRegisterClass("TArea", "TArea", WGT_Class(), sTAreaFields, static_cast<Int>(sizeof(_TAreaObj)),
                            nullptr, nullptr, TAREA_DefNfy);
}

void TAREA_InitClass() {}

TAreaPtr TAREA_Create() { return reinterpret_cast<TAreaPtr>(RES_Create(sTArea)); }

long TAREA_DefNfy(ResPtr res, Int message, ClientPtr data) {
  if (message == WGT_NFYREDRAW) {
    S_Redraw(reinterpret_cast<TAreaPtr>(res));
    return 0;
  }
  return WGT_DefNfy(res, message, data);
}

void TAREA_SetText(TAreaPtr area, const char* text) {
  if (!area) return;
  if (std::strcmp(VSTR_Get(area->Text), text ? text : "") == 0) return;
  VSTR_Set(&area->Text, text);
  AUTOM_Touch();
  WGT_Inval(reinterpret_cast<WgtPtr>(area), nullptr);
}

const char* TAREA_GetText(TAreaPtr area) { return area ? VSTR_Get(area->Text) : ""; }

void TAREA_SetJustif(TAreaPtr area, UInt16 justif) {
  if (!area || area->Justif == justif) return;
  area->Justif = justif;
  WGT_Inval(reinterpret_cast<WgtPtr>(area), nullptr);
}

void TAREA_Describe(WgtPtr wgt, AutomDesc* desc) { AUTOM_SetText(desc, reinterpret_cast<TAreaPtr>(wgt)->Text); }
