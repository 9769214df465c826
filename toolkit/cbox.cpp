// Combo boxes: the class, the element cursor, the parts and the drop-down
// list in its pop-up window.
#include "toolkit/cbox.h"

#include <strings.h>

#include <cstdint>
#include <string>
#include <vector>

#include "toolkit/autom.h"
#include "toolkit/dsply.h"
#include "toolkit/event.h"
#include "toolkit/pfld.h"

namespace {

#define CBOX_FIELD(name, member, type, kind) PFLD_MEMBER(_CBoxObj, name, member, type, kind)
#define CITEM_FIELD(name, member, type, kind) PFLD_MEMBER(_CItemObj, name, member, type, kind)

_PFldRec sCBoxFields[] = {CBOX_FIELD("SubClass", SubClass, PFLD_INT16, PFLD_KINDVALUE),
                          CBOX_FIELD("CItems", CItems, PFLD_RESARRAY, PFLD_KINDVALUE),
                          CBOX_FIELD("DefCItem", DefCItem, PFLD_RES, PFLD_KINDVALUE),
                          CBOX_FIELD("CBoxFlags", CBoxFlags, PFLD_UINT16, PFLD_KINDVALUE),
                          CBOX_FIELD("MaxElts", MaxElts, PFLD_INT16, PFLD_KINDVALUE),
                          {nullptr, 0, 0, 0, 0, -1}};
_PFldRec sCItemFields[] = {CITEM_FIELD("Label", Label, PFLD_VSTR, PFLD_KINDTEXT), {nullptr, 0, 0, 0, 0, -1}};

RClasPtr sCBox = nullptr;
RClasPtr sCItem = nullptr;

constexpr Int kDefaultListRows = 8;

struct Elt {
  std::string label;  // unused with CBOX_FLAGAPPELTS
  ClientPtr data = nullptr;
};

struct Priv {
  std::vector<Elt> elts;
  TEdPtr ted = nullptr;
  TButPtr but = nullptr;
  LBoxPtr list = nullptr;  // held by its window's panel
  WinPtr shell = nullptr;  // one reference, the box's
  bool open = false;
  bool grabbed = false;
  Int hilite = -1;
  ClientPtr pendingDraw = nullptr;  // the list's drawing record while an element is drawn
};

WgtPtr W(CBoxPtr box) { return CBOX_Wgt(box); }
ResPtr R(CBoxPtr box) { return WGT_Res(CBOX_Wgt(box)); }
bool appElts(CBoxPtr box) { return box->CBoxFlags & CBOX_FLAGAPPELTS; }
bool inRange(CBoxPtr box, Int index) { return index >= 0 && index < box->NumElts; }

long S_TEdNfy(ResPtr res, Int message, ClientPtr data);
long S_ButNfy(ResPtr res, Int message, ClientPtr data);

// The parts are made on first need; a copied box finds those of its
// original among its children.
Priv* S_Priv(CBoxPtr box) {
  if (box->CBoxPrivate) return static_cast<Priv*>(box->CBoxPrivate);
  Priv* p = new Priv;
  box->CBoxPrivate = p;
  PanelPtr panel = reinterpret_cast<PanelPtr>(box);
  for (Int i = 0; i < PANEL_GetNumWgts(panel); i++) {
    WgtPtr c = PANEL_GetNthWgt(panel, i);
    if (!p->ted && TED_IsTEd(c)) p->ted = TED_FromWgt(c);
    else if (!p->but && TBUT_IsTBut(c)) p->but = TBUT_FromWgt(c);
  }
  if (!p->ted) {
    p->ted = TED_Create();
    PANEL_AddWgt(panel, TED_Wgt(p->ted));  // the panel takes the reference
  }
  if (!p->but) {
    p->but = TBUT_Create();
    PANEL_AddWgt(panel, TBUT_Wgt(p->but));
  }
  ResPtr tr = WGT_Res(TED_Wgt(p->ted));
  tr->Notify = S_TEdNfy;
  tr->ClientData = box;
  ResPtr br = WGT_Res(TBUT_Wgt(p->but));
  br->Notify = S_ButNfy;
  br->ClientData = box;
  // The button is reached with the pointer; the keyboard opens the list
  // from the field.
  TBUT_Wgt(p->but)->WgtFlags = static_cast<UInt16>(TBUT_Wgt(p->but)->WgtFlags & ~WGT_FLAGTABSTOP);
  W(box)->WgtFlags |= WGT_FLAGTABSTOP;
  if (box->SubClass == CBOX_SUBLIST) TED_SetOptFlags(p->ted, static_cast<UInt16>(TED_GetOptFlags(p->ted) | TED_OPTREADONLY));
  return p;
}

long S_Send(CBoxPtr box, Int message, ClientPtr data) { return RES_LockedSendNfyData(R(box), message, data); }

const char* S_Label(CBoxPtr box, Int index) {
  if (!inRange(box, index)) return nullptr;
  Priv* p = S_Priv(box);
  if (!appElts(box)) return p->elts[static_cast<size_t>(index)].label.c_str();
  _CBoxEltReqRec req{p->elts[static_cast<size_t>(index)].data, index, nullptr, {0, 0}, 0};
  S_Send(box, CBOX_NFYGETELTSTRING, &req);
  return req.Label;
}

// The field shows a label without telling anyone: an editable field's
// text is the user's until a choice.
void S_ShowLabel(CBoxPtr box, Int index) {
  const char* label = S_Label(box, index);
  TED_SetStr(S_Priv(box)->ted, label ? label : "");
}

// In the units of the box's template (WGT_SetBox scales them): the button
// a square at the right end, the field the rest.
void S_Layout(CBoxPtr box) {
  Priv* p = S_Priv(box);
  _Point16Rec ext = W(box)->ResBox.Extent;
  int bw = ext.Y < ext.X ? ext.Y : ext.X / 2;
  WGT_SetBox(TED_Wgt(p->ted), RECT16_Make(0, 0, ext.X - bw, ext.Y));
  WGT_SetBox(TBUT_Wgt(p->but), RECT16_Make(ext.X - bw, 0, bw, ext.Y));
}

// --- The open list ----------------------------------------------------------------------------

void S_SetHilite(CBoxPtr box, Int index) {
  Priv* p = S_Priv(box);
  if (!inRange(box, index)) index = -1;
  if (index == p->hilite) return;
  Int old = p->hilite;
  p->hilite = index;
  if (p->list) {
    LBOX_AllUnselect(p->list);
    if (index >= 0) {
      LBOX_GoColRow(p->list, 1, index + 1);
      LBOX_CurSelect(p->list);
      Int rowH = LBOX_GetRowHeight(p->list, index + 1);
      SAREA_MakeVisible(reinterpret_cast<SAreaPtr>(p->list), 0, index * rowH, 1, rowH);
    }
  }
  if (old >= 0) {
    _CBoxEltReqRec req{p->elts[static_cast<size_t>(old)].data, old, nullptr, {0, 0}, 0};
    S_Send(box, CBOX_NFYELTUNHIGHLIGHT, &req);
  }
  if (index >= 0 && inRange(box, index)) {
    _CBoxEltReqRec req{p->elts[static_cast<size_t>(index)].data, index, nullptr, {0, 0}, 1};
    S_Send(box, CBOX_NFYELTHIGHLIGHT, &req);
  }
  AUTOM_Touch();
}

void S_Choose(CBoxPtr box, Int index) {
  RES_Use(R(box));
  CBOX_CloseList(box);
  if (inRange(box, index)) {
    _CBoxEltReqRec req{S_Priv(box)->elts[static_cast<size_t>(index)].data, index, nullptr, {0, 0}, 0};
    S_Send(box, CBOX_NFYELTSELECT, &req);
  }
  RES_Release(R(box));
}

void S_Toggle(CBoxPtr box) {
  if (CBOX_IsListOpen(box)) CBOX_CloseList(box);
  else CBOX_OpenList(box);
}

// Keys while the list is open: all of them are the list's.
void S_ListKey(CBoxPtr box) {
  Priv* p = S_Priv(box);
  Int n = box->NumElts;
  Int rows = box->MaxElts > 0 ? box->MaxElts : kDefaultListRows;
  Int h = p->hilite;
  switch (EVENT_GetKeyCode()) {
    case EVENT_KEYESCAPE:
    case EVENT_KEYTAB:
      CBOX_CloseList(box);
      return;
    case EVENT_KEYRETURN:
    case EVENT_KEYENTER:
      if (h >= 0) S_Choose(box, h);
      else CBOX_CloseList(box);
      return;
    case EVENT_KEYUP:
      if (EVENT_GetKbMods() & EVENT_MODALT) {
        CBOX_CloseList(box);
        return;
      }
      S_SetHilite(box, h > 0 ? h - 1 : 0);
      return;
    case EVENT_KEYDOWN:
      S_SetHilite(box, h < n - 1 ? h + 1 : n - 1);
      return;
    case EVENT_KEYPREVPAGE:
      S_SetHilite(box, h - rows > 0 ? h - rows : 0);
      return;
    case EVENT_KEYNEXTPAGE:
      S_SetHilite(box, h + rows < n - 1 ? h + rows : n - 1);
      return;
    case EVENT_KEYHOME:
      S_SetHilite(box, 0);
      return;
    case EVENT_KEYEND:
      S_SetHilite(box, n - 1);
      return;
    default:
      return;
  }
}

// The list's window: a click outside it closes the list, and the keys
// that reach it (it has none of its own while the box has the keyboard)
// are the list's.  The window and the box are held for each message: a
// choice may end both.
long S_ShellNfy(ResPtr res, Int message, ClientPtr data) {
  CBoxPtr box = static_cast<CBoxPtr>(res->ClientData);
  if (!box) return WIN_DefNfy(res, message, data);
  RES_Use(res);
  RES_Use(R(box));
  long result = 0;
  switch (message) {
    case WGT_NFYMOUSECLICK: {
      _Point16Rec loc;
      WinPtr shell = WIN_FromRes(res);
      EVENT_QueryWinLoc(shell, &loc);
      _Point16Rec ext = WIN_Wgt(shell)->Box.Extent;
      if (loc.X < 0 || loc.Y < 0 || loc.X >= ext.X || loc.Y >= ext.Y) {
        WGT_MouseHandled(WIN_Wgt(shell));
        CBOX_CloseList(box);
      } else {
        result = WIN_DefNfy(res, message, data);
      }
      break;
    }
    case WGT_NFYKEYACCEL:
      if (S_Priv(box)->open) {
        WGT_KeyHandled(WIN_Wgt(WIN_FromRes(res)));
        S_ListKey(box);
      }
      break;
    case WGT_NFYKEYCIRC:
    case WGT_NFYKEYCHAR:
      break;
    default:
      result = WIN_DefNfy(res, message, data);
      break;
  }
  RES_Release(R(box));
  RES_Release(res);
  return result;
}

long S_ListNfy(ResPtr res, Int message, ClientPtr data) {
  CBoxPtr box = static_cast<CBoxPtr>(res->ClientData);
  LBoxPtr list = reinterpret_cast<LBoxPtr>(res);
  if (!box) return LBOX_DefNfy(res, message, data);
  Int index = LBOX_CurGetRow(list) - 1;
  switch (message) {
    case LBOX_NFYCELLSTRING:
      if (data) static_cast<_LBoxStringRec*>(data)->String = S_Label(box, index);
      return 0;
    case LBOX_NFYCELLDRAW: {
      if (!inRange(box, index)) return LBOX_DefNfy(res, message, data);
      Priv* p = S_Priv(box);
      _CBoxEltReqRec req{p->elts[static_cast<size_t>(index)].data, index, nullptr, {0, 0}, index == p->hilite};
      p->pendingDraw = data;
      RES_Use(res);
      S_Send(box, CBOX_NFYELTDRAW, &req);
      if (box->CBoxPrivate) static_cast<Priv*>(box->CBoxPrivate)->pendingDraw = nullptr;
      RES_Release(res);
      return 0;
    }
    case LBOX_NFYCELLIN:
      S_SetHilite(box, index);
      return LBOX_DefNfy(res, message, data);
    case LBOX_NFYCELLCLICKED:
    case LBOX_NFYVALIDATE:
      WGT_MouseHandled(LBOX_Wgt(list));
      S_Choose(box, index);
      return 0;
    default:
      return LBOX_DefNfy(res, message, data);
  }
}

// The window and its list are made at the first opening and kept.
void S_MakeShell(CBoxPtr box) {
  Priv* p = S_Priv(box);
  if (p->shell) return;
  WinPtr shell = WIN_FromRes(RES_Create(WIN_Class()));
  shell->OptFlags = static_cast<UInt16>(shell->OptFlags | WIN_OPTPOPUP | WIN_OPTNOACTIVATE);
  shell->Mode = WIN_MODENOACTIVATE;
  WIN_Wgt(shell)->ResBox = RECT16_Make(0, 0, 100, 100);
  WIN_Wgt(shell)->BgColor = COLOR_Window();
  WGT_Res(WIN_Wgt(shell))->ClientData = box;
  WGT_Res(WIN_Wgt(shell))->Notify = S_ShellNfy;
  LBoxPtr list = LBOX_Create();
  LBOX_Wgt(list)->ResBox = RECT16_Make(0, 0, 100, 100);
  WGT_Res(LBOX_Wgt(list))->ClientData = box;
  WGT_Res(LBOX_Wgt(list))->Notify = S_ListNfy;
  PANEL_AddWgt(WIN_Panel(shell), LBOX_Wgt(list));
  LBOX_SetFocusFlags(list, LBOX_FOCUSNOFRAME);
  // Only a vertical bar: the column is made as wide as the view.
  SAREA_SetHVFlags(reinterpret_cast<SAreaPtr>(list), SAREA_VSB | SAREA_BORDER);
  WIN_Init(shell);
  p->shell = shell;
  p->list = list;
}

void S_DropShell(CBoxPtr box) {
  Priv* p = static_cast<Priv*>(box->CBoxPrivate);
  if (!p || !p->shell) return;
  WinPtr shell = p->shell;
  p->shell = nullptr;
  ResPtr lr = WGT_Res(LBOX_Wgt(p->list));
  lr->ClientData = nullptr;
  lr->Notify = LBOX_DefNfy;
  p->list = nullptr;
  EVENT_WithdrawPopup(shell);
  ResPtr sr = WGT_Res(WIN_Wgt(shell));
  sr->ClientData = nullptr;
  sr->Notify = WIN_DefNfy;
  WIN_SelfMinimize(shell);
  RES_Release(sr);
}

// --- The class ------------------------------------------------------------------------------------

// Keys of the box with the focus inside it: Alt+Down and F4 open the
// list; in a box of the list kind Up and Down choose the neighbour
// without opening it.  While the list is open every key is the list's.
bool S_Key(CBoxPtr box) {
  Priv* p = S_Priv(box);
  if (p->open) {
    bool tab = EVENT_GetKeyCode() == EVENT_KEYTAB;
    S_ListKey(box);
    return !tab;  // a tab closes the list and goes on to move the focus
  }
  if (!WGT_HasFocus(TED_Wgt(p->ted), 0) && !WGT_HasFocus(TBUT_Wgt(p->but), 0)) return false;
  Int k = EVENT_GetKeyCode();
  UInt mods = EVENT_GetKbMods() & (EVENT_MODCONTROL | EVENT_MODALT | EVENT_MODSHIFT);
  if ((k == EVENT_KEYDOWN && mods == EVENT_MODALT) || (k == EVENT_KEYF1 + 3 && mods == 0)) {
    CBOX_OpenList(box);
    return true;
  }
  if (box->SubClass == CBOX_SUBLIST && mods == 0 && (k == EVENT_KEYUP || k == EVENT_KEYDOWN)) {
    Int next = box->SelIndex + (k == EVENT_KEYDOWN ? 1 : -1);
    if (box->SelIndex < 0) next = 0;
    if (inRange(box, next)) {
      CBOX_GoIndex(box, next);
      CBOX_CurSelect(box);
    }
    return true;
  }
  return false;
}

long S_TEdNfy(ResPtr res, Int message, ClientPtr data) {
  CBoxPtr box = static_cast<CBoxPtr>(res->ClientData);
  if (!box) return TED_DefNfy(res, message, data);
  switch (message) {
    case WGT_NFYMOUSECLICK:
      if (box->SubClass == CBOX_SUBLIST && EVENT_GetButton() == EVENT_BUT1) {
        WGT_GainFocus(WGT_FromRes(res));
        WGT_MouseHandled(WGT_FromRes(res));
        S_Toggle(box);
        return 0;
      }
      return TED_DefNfy(res, message, data);
    case TED_NFYVALIDATE: {
      if (box->SubClass == CBOX_SUBLIST) return TED_DefNfy(res, message, data);
      RES_Use(R(box));
      std::string text = TED_GetStr(TED_FromWgt(WGT_FromRes(res)));
      _CBoxEltReqRec req{nullptr, -1, text.c_str(), {0, 0}, 0};
      S_Send(box, CBOX_NFYMATCHSTRING, &req);
      if (inRange(box, req.Index)) {
        CBOX_GoIndex(box, req.Index);
        CBOX_CurSelect(box);
      } else {
        _CBoxEltReqRec fresh{nullptr, -1, text.c_str(), {0, 0}, 0};
        S_Send(box, CBOX_NFYNEWSTRING, &fresh);
      }
      RES_Release(R(box));
      return TED_DefNfy(res, message, data);
    }
    default:
      return TED_DefNfy(res, message, data);
  }
}

// The button shows a small triangle pointing down.
void S_DrawArrow(TButPtr but) {
  WgtPtr w = TBUT_Wgt(but);
  _Point16Rec ext = w->Box.Extent;
  int half = ext.X / 5 > 2 ? ext.X / 5 : 2;
  int cx = ext.X / 2, top = ext.Y / 2 - half / 2;
  ColorPtr color = WGT_IsEnabled(w) ? COLOR_Text() : COLOR_DisabledText();
  DrawPtr d = WGT_BeginDraw(w);
  for (int i = 0; i < half; i++) DRAW_Line(d, cx - half + i, top + i, cx + half - i, top + i, color, PEN_Solid());
  WGT_EndDraw(d);
}

long S_ButNfy(ResPtr res, Int message, ClientPtr data) {
  CBoxPtr box = static_cast<CBoxPtr>(res->ClientData);
  if (!box) return TBUT_DefNfy(res, message, data);
  switch (message) {
    case TBUT_NFYHIT:
      WGT_GainFocus(TED_Wgt(S_Priv(box)->ted));
      S_Toggle(box);
      return 0;
    case WGT_NFYREDRAW: {
      long result = TBUT_DefNfy(res, message, data);
      S_DrawArrow(TBUT_FromWgt(WGT_FromRes(res)));
      return result;
    }
    default:
      return TBUT_DefNfy(res, message, data);
  }
}

// The template's elements and its default choice.
void S_InitFromTemplate(CBoxPtr box) {
  Priv* p = S_Priv(box);
  if (!p->elts.empty() || !box->CItems) return;
  Int defIndex = -1;
  for (Int i = 0; i < ARRAY_GetCount(box->CItems); i++) {
    ResPtr r = static_cast<ResPtr>(ARRAY_GetNthPtr(box->CItems, i));
    if (!r || !RCLAS_IsSubClassOf(r->ResClass, sCItem)) continue;
    if (r == box->DefCItem) defIndex = box->NumElts;
    CBOX_GoIndex(box, box->NumElts);
    CBOX_CurAddElt(box, VSTR_Get(reinterpret_cast<CItemPtr>(r)->Label), nullptr);
  }
  if (defIndex >= 0) {
    box->SelIndex = defIndex;
    S_ShowLabel(box, defIndex);
  }
  box->Cursor = 0;
}

void S_Construct(ResPtr res, ResConstructPtr params) {
  CBoxPtr box = reinterpret_cast<CBoxPtr>(res);
  box->CBoxPrivate = nullptr;
  box->NumElts = 0;
  box->Cursor = 0;
  box->SelIndex = -1;
  (void)params;
}

void S_Destruct(ResPtr res) {
  CBoxPtr box = reinterpret_cast<CBoxPtr>(res);
  Priv* p = static_cast<Priv*>(box->CBoxPrivate);
  if (!p) return;
  if (p->grabbed) DSPLY_UngrabPointer();
  S_DropShell(box);
  delete p;
  box->CBoxPrivate = nullptr;
}

}  // namespace

RClasPtr CBOX_Class() { return sCBox; }
RClasPtr CITEM_Class() { return sCItem; }

void CBOX_InstallClass() {
  PANEL_InstallClass();
  sCItem = WgtRegisterClass("CItem", "CItem", RES_Class(), sCItemFields, static_cast<Int>(sizeof(_CItemObj)), nullptr,
                            nullptr, nullptr);
  sCBox = WgtRegisterClass("CBox", "CBox", PANEL_Class(), sCBoxFields, static_cast<Int>(sizeof(_CBoxObj)),
                           S_Construct, S_Destruct, CBOX_DefNfy);
}

void CBOX_InitClass() {}

CBoxPtr CBOX_Create() { return reinterpret_cast<CBoxPtr>(RES_Create(sCBox)); }

BoolEnum CBOX_IsCBox(WgtPtr wgt) { return wgt && sCBox && RCLAS_IsSubClassOf(WGT_Res(wgt)->ResClass, sCBox); }

long CBOX_DefNfy(ResPtr res, Int message, ClientPtr data) {
  CBoxPtr box = reinterpret_cast<CBoxPtr>(res);
  switch (message) {
    case WGT_NFYINIT: {
      S_Layout(box);
      long result = PANEL_DefNfy(res, message, data);
      S_InitFromTemplate(box);
      S_Layout(box);
      return result;
    }
    case WGT_NFYSIZEINIT:
    case WGT_NFYRESIZE: {
      long result = PANEL_DefNfy(res, message, data);
      S_Layout(box);
      return result;
    }
    case WGT_NFYKEYACCEL:
      if (S_Key(box)) {
        WGT_KeyHandled(W(box));
        return 0;
      }
      return PANEL_DefNfy(res, message, data);
    case WGT_NFYFOCUSLOST:
    case WGT_NFYEND:
    case WGT_NFYDISABLE:
      CBOX_CloseList(box);
      return PANEL_DefNfy(res, message, data);
    case CBOX_NFYELTSELECT: {
      _CBoxEltReqRec* req = static_cast<_CBoxEltReqRec*>(data);
      if (!req || !inRange(box, req->Index)) return 0;
      _CBoxEltSelectedNfyRec sel{req->Index, box->SelIndex};
      box->SelIndex = req->Index;
      S_ShowLabel(box, req->Index);
      AUTOM_Touch();
      S_Send(box, CBOX_NFYELTSELECTED, &sel);
      return 0;
    }
    case CBOX_NFYMATCHSTRING: {
      _CBoxEltReqRec* req = static_cast<_CBoxEltReqRec*>(data);
      if (!req) return 0;
      req->Index = -1;
      for (Int i = 0; i < box->NumElts && req->Index < 0 && req->Label; i++) {
        const char* label = S_Label(box, i);
        if (label && strcasecmp(label, req->Label) == 0) req->Index = i;
      }
      return 0;
    }
    case CBOX_NFYGETELTSIZE: {
      _CBoxEltReqRec* req = static_cast<_CBoxEltReqRec*>(data);
      if (!req) return 0;
      const char* label = S_Label(box, req->Index);
      FontPtr font = W(box)->Font ? W(box)->Font : FONT_Default();
      req->Ext = DRAW_QueryTextExt(font, label ? label : "", -1);
      return 0;
    }
    case CBOX_NFYELTDRAW: {
      Priv* p = S_Priv(box);
      if (p->pendingDraw && p->list) LBOX_DefNfy(WGT_Res(LBOX_Wgt(p->list)), LBOX_NFYCELLDRAW, p->pendingDraw);
      return 0;
    }
    case CBOX_NFYELTHIGHLIGHT:
    case CBOX_NFYELTUNHIGHLIGHT:
    case CBOX_NFYELTSELECTED:
    case CBOX_NFYLISTACTIVATE:
    case CBOX_NFYLISTDEACTIVATE:
    case CBOX_NFYGETELTSTRING:
    case CBOX_NFYELTDELETE:
    case CBOX_NFYNEWSTRING:
      return 0;
    default:
      return PANEL_DefNfy(res, message, data);
  }
}

void CBOX_Describe(WgtPtr wgt, AutomDesc* desc) {
  CBoxPtr box = CBOX_FromWgt(wgt);
  AUTOM_SetText(desc, TED_GetStr(S_Priv(box)->ted));
  AUTOM_SetSelected(desc, S_Priv(box)->open);
}

// --- Cursor ------------------------------------------------------------------------------------

void CBOX_GoFirst(CBoxPtr box) {
  if (box) box->Cursor = 0;
}
void CBOX_GoNext(CBoxPtr box) {
  if (box && box->Cursor < INT16_MAX) box->Cursor++;
}
void CBOX_GoIndex(CBoxPtr box, Int index) {
  if (!box) return;
  box->Cursor = static_cast<Int16>(index < INT16_MIN ? INT16_MIN : index > INT16_MAX ? INT16_MAX : index);
}
BoolEnum CBOX_IsOk(CBoxPtr box) { return box && inRange(box, box->Cursor); }
Int CBOX_GetNumElts(CBoxPtr box) { return box ? box->NumElts : 0; }

// --- Elements -----------------------------------------------------------------------------------

void CBOX_CurAddElt(CBoxPtr box, const char* label, ClientPtr data) {
  // The cursor is an Int16: the box holds no more elements than it can
  // reach.
  if (!box || box->NumElts >= INT16_MAX) return;
  Priv* p = S_Priv(box);
  Int at = inRange(box, box->Cursor) ? box->Cursor : box->NumElts;
  Elt e;
  if (!appElts(box) && label) e.label = label;
  e.data = data;
  p->elts.insert(p->elts.begin() + at, e);
  box->NumElts = static_cast<Int>(p->elts.size());
  box->Cursor = static_cast<Int16>(at);
  if (box->SelIndex >= at) box->SelIndex++;
  if (p->open) CBOX_CloseList(box);
}

void CBOX_CurRemoveElt(CBoxPtr box) {
  if (!CBOX_IsOk(box)) return;
  RES_Use(R(box));
  Priv* p = S_Priv(box);
  if (p->open) CBOX_CloseList(box);
  Int at = box->Cursor;
  _CBoxEltReqRec req{p->elts[static_cast<size_t>(at)].data, at, S_Label(box, at), {0, 0}, 0};
  S_Send(box, CBOX_NFYELTDELETE, &req);
  if (box->CBoxPrivate && inRange(box, at)) {
    p->elts.erase(p->elts.begin() + at);
    box->NumElts = static_cast<Int>(p->elts.size());
    if (box->SelIndex == at) box->SelIndex = -1;
    else if (box->SelIndex > at) box->SelIndex--;
  }
  RES_Release(R(box));
}

const char* CBOX_CurGetLabel(CBoxPtr box) { return CBOX_IsOk(box) ? S_Label(box, box->Cursor) : nullptr; }

void CBOX_CurSetLabel(CBoxPtr box, const char* label) {
  if (!CBOX_IsOk(box) || appElts(box)) return;
  S_Priv(box)->elts[static_cast<size_t>(box->Cursor)].label = label ? label : "";
  if (box->SelIndex == box->Cursor) S_ShowLabel(box, box->Cursor);
  if (S_Priv(box)->list && S_Priv(box)->open) WGT_Inval(LBOX_Wgt(S_Priv(box)->list), nullptr);
}

ClientPtr CBOX_CurGetClientData(CBoxPtr box) {
  return CBOX_IsOk(box) ? S_Priv(box)->elts[static_cast<size_t>(box->Cursor)].data : nullptr;
}

void CBOX_CurSetClientData(CBoxPtr box, ClientPtr data) {
  if (CBOX_IsOk(box)) S_Priv(box)->elts[static_cast<size_t>(box->Cursor)].data = data;
}

void CBOX_CurSelect(CBoxPtr box) {
  if (CBOX_IsOk(box)) S_Choose(box, box->Cursor);
}

Int CBOX_GetSelIndex(CBoxPtr box) { return box ? box->SelIndex : -1; }

// --- The list ---------------------------------------------------------------------------------------

void CBOX_OpenList(CBoxPtr box) {
  if (!box || !W(box)->Win || CBOX_IsListOpen(box)) return;
  if (box->NumElts == 0) {
    DSPLY_Beep();
    return;
  }
  RES_Use(R(box));
  S_Send(box, CBOX_NFYLISTACTIVATE, nullptr);
  Priv* p = box->CBoxPrivate ? static_cast<Priv*>(box->CBoxPrivate) : nullptr;
  if (!p || !W(box)->Win || p->open || box->NumElts == 0) {
    RES_Release(R(box));
    return;
  }
  S_MakeShell(box);
  LBoxPtr list = p->list;
  LBOX_ClearAll(list);
  Int n = box->NumElts;
  // A non-zero value makes the cell; the label comes from the box.
  for (Int i = 0; i < n; i++) {
    LBOX_GoColRow(list, 1, i + 1);
    LBOX_CurSetClientData(list, reinterpret_cast<ClientPtr>(static_cast<intptr_t>(i + 1)));
  }

  // Under the field's text, as wide as the field or the widest label.
  TEdPtr ted = p->ted;
  _Rect16Rec text = TEdQueryTextBox(ted);
  _Point16Rec org{text.Origin.X, 0};
  WGT_ConvertWgtToAbs(TED_Wgt(ted), &org);
  _Point16Rec boxOrg{0, 0};
  WGT_ConvertWgtToAbs(W(box), &boxOrg);
  int fieldH = W(box)->Box.Extent.Y;
  int width = boxOrg.X + W(box)->Box.Extent.X - org.X;
  int margin = 8 * DSPLY_GetScreenDpi() / 96;
  int sbW = 16 * DSPLY_GetScreenDpi() / 96;  // room for the bar of a long list
  for (Int i = 0; i < n && i < 2000; i++) {
    _CBoxEltReqRec req{p->elts[static_cast<size_t>(i)].data, i, nullptr, {0, 0}, 0};
    S_Send(box, CBOX_NFYGETELTSIZE, &req);
    if (!box->CBoxPrivate) break;
    if (req.Ext.X + 2 * margin + sbW > width) width = req.Ext.X + 2 * margin + sbW;
  }
  Int maxRows = box->MaxElts > 0 ? box->MaxElts : kDefaultListRows;
  Int rows = n < maxRows ? n : maxRows;
  // The document's height holds the rows with their grid lines.
  SAreaPtr area = reinterpret_cast<SAreaPtr>(list);
  int docH = static_cast<int>(area->DocBox.H);
  int rowH = docH > 0 ? docH / n : LBOX_GetRowHeight(list, 1);
  if (rowH <= 0) rowH = fieldH;
  int frame = (area->HVFlags & SAREA_BORDER) ? 2 : 0;
  int height = (rows == n && docH > 0 ? docH : rows * rowH) + frame;
  _Point16Rec scr = DSPLY_GetScreenExt();
  int sw = scr.X > 0 ? scr.X : 32000, sh = scr.Y > 0 ? scr.Y : 32000;
  if (width > sw) width = sw;
  int x = org.X, y = boxOrg.Y + fieldH;
  int below = sh - y, above = boxOrg.Y;
  if (height > below && above > below) {
    // Near the bottom edge the list opens above the field.
    if (height > above) height = above;
    y = boxOrg.Y - height;
  } else if (height > below) {
    height = below;
  }
  if (x + width > sw) x = sw - width;
  if (x < 0) x = 0;
  if (height < 1) height = 1;
  _Rect16Rec where = RECT16_Make(x, y, width, height);
  WIN_SetBox(p->shell, where);
  WGT_SetBox(LBOX_Wgt(list), RECT16_Make(0, 0, width, height));
  // The one column fills the view, beside the vertical bar when there is one.
  LBOX_GoColRow(list, 1, 0);
  LBOX_SetCurColWidth(list, width - frame);
  SAreaLayout(area);
  LBOX_GoColRow(list, 1, 0);
  LBOX_SetCurColWidth(list, area->ViewBox.Extent.X);
  WIN_SelfShow(p->shell);
  p->open = true;
  p->hilite = -1;
  S_SetHilite(box, box->SelIndex >= 0 ? box->SelIndex : 0);
  // Every click goes to the list's window while it is open, so that one
  // outside it, in this program or any other, closes the list.
  DSPLY_GrabPointer(WIN_GetNatWin(p->shell));
  p->grabbed = true;
  // Inside a modal dialog the list's window is not the modal one: it is
  // let through for as long as it is open.
  EVENT_AdmitPopup(p->shell);
  AUTOM_Touch();
  RES_Release(R(box));
}

void CBOX_CloseList(CBoxPtr box) {
  if (!CBOX_IsListOpen(box)) return;
  Priv* p = S_Priv(box);
  RES_Use(R(box));
  p->open = false;
  if (p->grabbed) {
    DSPLY_UngrabPointer();
    p->grabbed = false;
  }
  S_SetHilite(box, -1);
  if (p->shell) EVENT_WithdrawPopup(p->shell);
  if (box->CBoxPrivate && p->shell) WIN_SelfMinimize(p->shell);
  AUTOM_Touch();
  S_Send(box, CBOX_NFYLISTDEACTIVATE, nullptr);
  RES_Release(R(box));
}

BoolEnum CBOX_IsListOpen(CBoxPtr box) {
  return box && box->CBoxPrivate && static_cast<Priv*>(box->CBoxPrivate)->open;
}

Int CBOX_GetHilite(CBoxPtr box) { return CBOX_IsListOpen(box) ? S_Priv(box)->hilite : -1; }

WinPtr CBOX_GetListWin(CBoxPtr box) { return box && box->CBoxPrivate ? S_Priv(box)->shell : nullptr; }

// --- The parts ----------------------------------------------------------------------------------------

TEdPtr CBOX_GetTEd(CBoxPtr box) { return box ? S_Priv(box)->ted : nullptr; }
LBoxPtr CBOX_GetLBox(CBoxPtr box) {
  if (!box) return nullptr;
  S_MakeShell(box);
  return S_Priv(box)->list;
}
TButPtr CBOX_GetTBut(CBoxPtr box) { return box ? S_Priv(box)->but : nullptr; }
