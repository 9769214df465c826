// Menu items and separators: fields, labels with mnemonics, accelerators.
#include "toolkit/menuitem.h"

#include <cctype>
#include <cstdio>

#include "toolkit/menu.h"
#include "toolkit/pfld.h"

namespace {

#define MITEM_FIELD(name, member, type, kind) PFLD_MEMBER(_MItemObj, name, member, type, kind)

enum { kKindColour = 4, kKindIcon = 9, kKindKeys = 10, kKindMenu = 11 };

_PFldRec sMItemFields[] = {MITEM_FIELD("Label", Label, PFLD_VSTR, PFLD_KINDTEXT),
                           MITEM_FIELD("MarginX", MarginX, PFLD_INT16, PFLD_KINDGEOMETRY),
                           MITEM_FIELD("MarginY", MarginY, PFLD_INT16, PFLD_KINDGEOMETRY),
                           MITEM_FIELD("Id", Id, PFLD_UINT16, PFLD_KINDVALUE),
                           MITEM_FIELD("Icon", Icon, PFLD_RES0, kKindIcon),
                           MITEM_FIELD("SubPopup", SubPopup, PFLD_RES0, kKindMenu),
                           MITEM_FIELD("DisplayMode", DisplayMode, PFLD_INT16, PFLD_KINDVALUE),
                           MITEM_FIELD("CheckType", CheckType, PFLD_INT16, PFLD_KINDVALUE),
                           MITEM_FIELD("CheckedIcon", CheckedIcon, PFLD_RES0, kKindIcon),
                           MITEM_FIELD("UncheckedIcon", UncheckedIcon, PFLD_RES0, kKindIcon),
                           MITEM_FIELD("Activity", Activity, PFLD_INT16, PFLD_KINDVALUE),
                           MITEM_FIELD("AcceleratorLabel", AcceleratorLabel, PFLD_VSTR, PFLD_KINDTEXT),
                           MITEM_FIELD("AcceleratorKeys", AcceleratorKeys, PFLD_RES0, kKindKeys),
                           MITEM_FIELD("HiliteFgColor", HiliteFgColor, PFLD_RES, kKindColour),
                           MITEM_FIELD("HiliteBgColor", HiliteBgColor, PFLD_RES, kKindColour),
                           // Names of old files: read and dropped.
                           {"Keys", 0, PFLD_RES0, PFLD_KINDALIAS, 0, -1},
                           {"Apparent", 0, PFLD_INT16, PFLD_KINDALIAS, 0, -1},
                           {nullptr, 0, 0, 0, 0, -1}};

_PFldRec sMSepFields[] = {{nullptr, 0, 0, 0, 0, -1}};

RClasPtr sMItem = nullptr;
RClasPtr sMSep = nullptr;

void S_MSepConstruct(ResPtr res, ResConstructPtr params) {
  if (params->Mode != RES_MODECOPY) reinterpret_cast<MItemPtr>(res)->IsSeparator = 1;
}

}  // namespace

RClasPtr MITEM_Class() { return sMItem; }
RClasPtr MSEP_Class() { return sMSep; }

void MITEM_InstallClass() {
  WGT_InstallClass();
  sMItem = WgtRegisterClass("MItem", "MItem", WGT_Class(), sMItemFields, static_cast<Int>(sizeof(_MItemObj)),
                            nullptr, nullptr, MITEM_DefNfy);
}
void MITEM_InitClass() {}

void MSEP_InstallClass() {
  MITEM_InstallClass();
  sMSep = WgtRegisterClass("MSep", "MSep", sMItem, sMSepFields, static_cast<Int>(sizeof(_MItemObj)),
                           S_MSepConstruct, nullptr, MITEM_DefNfy);
}
void MSEP_InitClass() {}

MItemPtr MITEM_Create(const char* label) {
  if (!sMItem) MITEM_InstallClass();
  MItemPtr item = reinterpret_cast<MItemPtr>(RES_Create(sMItem));
  VSTR_Set(&item->Label, label);
  return item;
}

MItemPtr MSEP_Create() {
  if (!sMSep) MSEP_InstallClass();
  return reinterpret_cast<MItemPtr>(RES_Create(sMSep));
}

long MITEM_DefNfy(ResPtr res, Int message, ClientPtr data) { return WGT_DefNfy(res, message, data); }

BoolEnum MITEM_IsItem(ResPtr res) { return res && sMItem && RCLAS_IsSubClassOf(res->ResClass, sMItem); }

const char* MITEM_GetLabel(MItemPtr item) { return item ? VSTR_Get(item->Label) : ""; }

void MITEM_SetLabel(MItemPtr item, const char* label) {
  if (item) VSTR_Set(&item->Label, label);
}

MenuPtr MITEM_GetSubMenu(MItemPtr item) { return item ? reinterpret_cast<MenuPtr>(item->SubPopup) : nullptr; }

void MITEM_SetSubMenu(MItemPtr item, MenuPtr menu) {
  if (!item || item->SubPopup == MENU_Res(menu)) return;
  if (menu) RES_Use(MENU_Res(menu));
  ResPtr old = item->SubPopup;
  item->SubPopup = MENU_Res(menu);
  if (old) RES_Release(old);
}

BoolEnum MITEM_IsChoosable(MItemPtr item) {
  return item && !item->IsSeparator && item->Activity == MITEM_ACTIVE && !MITEM_Wgt(item)->Disabled &&
         item->DisplayMode != MITEM_DISPLAYWINMENU;
}

MItemShownLabel MITEM_ParseLabel(const char* label) {
  MItemShownLabel shown;
  if (!label) return shown;
  for (const char* p = label; *p; p++) {
    if (*p != '&') {
      shown.Text += *p;
      continue;
    }
    if (p[1] == '&') {
      shown.Text += '&';
      p++;
    } else if (p[1] && shown.MnemonicPos < 0) {
      shown.MnemonicPos = static_cast<Int>(shown.Text.size());
      shown.Mnemonic = static_cast<char>(std::tolower(static_cast<unsigned char>(p[1])));
    }
  }
  return shown;
}

std::string MITEM_AccelText(MItemPtr item) {
  if (!item) return "";
  if (item->AcceleratorLabel && *item->AcceleratorLabel) return item->AcceleratorLabel;
  if (item->AccelKey == EVENT_KEYNONE) return "";
  std::string text;
  if (item->AccelMods & EVENT_MODCONTROL) text += "Ctrl+";
  if (item->AccelMods & EVENT_MODALT) text += "Alt+";
  if (item->AccelMods & EVENT_MODSHIFT) text += "Shift+";
  if (item->AccelKey >= EVENT_KEYF1 && item->AccelKey <= EVENT_KEYF12) {
    text += "F" + std::to_string(item->AccelKey - EVENT_KEYF1 + 1);
  } else if (item->AccelKey == EVENT_KEYNORMAL && item->AccelChar) {
    text += static_cast<char>(std::toupper(static_cast<unsigned char>(item->AccelChar)));
  } else {
    return "";
  }
  return text;
}

BoolEnum MITEM_MatchAccel(MItemPtr item) {
  if (!item || item->AccelKey == EVENT_KEYNONE) return 0;
  Int key = EVENT_GetKeyCode();
  const UInt relevant = EVENT_MODCONTROL | EVENT_MODALT | EVENT_MODSHIFT;
  UInt mods = EVENT_GetKbMods() & relevant;
  UInt want = item->AccelMods & relevant;
  if (item->AccelKey != EVENT_KEYNORMAL) return key == item->AccelKey && mods == want;
  if (key != EVENT_KEYNORMAL && key != EVENT_KEYCONTROL) return 0;
  char typed = EVENT_GetKbAsciiChar();
  // Ctrl with a letter arrives as a control character.
  if (key == EVENT_KEYCONTROL && typed > 0 && typed < 27) typed = static_cast<char>('a' + typed - 1);
  if (!typed || std::tolower(static_cast<unsigned char>(typed)) !=
                    std::tolower(static_cast<unsigned char>(item->AccelChar)))
    return 0;
  // Shift may be part of typing the character.
  return (mods & ~static_cast<UInt>(EVENT_MODSHIFT)) == (want & ~static_cast<UInt>(EVENT_MODSHIFT));
}

void MITEM_DrawLabel(DrawPtr draw, FontPtr font, ColorPtr color, int x, int y, const char* label) {
  MItemShownLabel shown = MITEM_ParseLabel(label);
  DRAW_Text(draw, font, color, x, y, shown.Text.c_str(), -1);
  if (shown.MnemonicPos < 0) return;
  // The mnemonic's character: one UTF-8 sequence.
  size_t start = static_cast<size_t>(shown.MnemonicPos);
  size_t end = start + 1;
  while (end < shown.Text.size() && (static_cast<unsigned char>(shown.Text[end]) & 0xc0) == 0x80) end++;
  int before = DRAW_QueryTextExt(font, shown.Text.c_str(), static_cast<int>(start)).X;
  int width = DRAW_QueryTextExt(font, shown.Text.c_str() + start, static_cast<int>(end - start)).X;
  int under = y + (FONT_GetDescent(font) + 1) / 2;
  DRAW_Line(draw, x + before, under, x + before + width - 1, under, color, PEN_Solid());
}
