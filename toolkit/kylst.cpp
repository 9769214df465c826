// Key lists and the matching of key names against the current key event.
#include "toolkit/kylst.h"

#include <cctype>
#include <cstdlib>
#include <sstream>
#include <string>

#include "toolkit/event.h"
#include "toolkit/pfld.h"
#include "toolkit/wgtpub.h"

namespace {

#define KYLST_FIELD(name, member, type, kind) PFLD_MEMBER(_KyLstObj, name, member, type, kind)

_PFldRec sKyLstFields[] = {KYLST_FIELD("Keys", Keys, PFLD_VSTR, PFLD_KINDTEXT), {nullptr, 0, 0, 0, 0, -1}};

RClasPtr sKyLst = nullptr;

struct NamedKey {
  const char* name;
  Int key;
};
const NamedKey kNamedKeys[] = {
    {"Return", EVENT_KEYRETURN},     {"Enter", EVENT_KEYENTER},       {"Escape", EVENT_KEYESCAPE},
    {"Tab", EVENT_KEYTAB},           {"Backspace", EVENT_KEYBACKSPACE}, {"Delete", EVENT_KEYDELETE},
    {"Insert", EVENT_KEYINSERT},     {"Home", EVENT_KEYHOME},         {"End", EVENT_KEYEND},
    {"PageUp", EVENT_KEYPREVPAGE},   {"PageDown", EVENT_KEYNEXTPAGE}, {"Up", EVENT_KEYUP},
    {"Down", EVENT_KEYDOWN},         {"Left", EVENT_KEYLEFT},         {"Right", EVENT_KEYRIGHT}};

Int namedKey(const std::string& k) {
  for (const NamedKey& n : kNamedKeys)
    if (k == n.name) return n.key;
  if (k.size() >= 2 && k.size() <= 3 && k[0] == 'F' && std::isdigit(static_cast<unsigned char>(k[1]))) {
    int n = std::atoi(k.c_str() + 1);
    if (n >= 1 && n <= 12) return EVENT_KEYF1 + n - 1;
  }
  return EVENT_KEYNONE;
}

const char* const kDefaultNames[4] = {"KeysNextWgt", "KeysPrevWgt", "KeysNextRadio", "KeysPrevRadio"};
const char* const kDefaultKeys[4] = {"Tab", "Shift+Tab", "Down Right", "Up Left"};

}  // namespace

RClasPtr KYLST_Class() { return sKyLst; }

void KYLST_InstallClass() {
  GRES_InstallClass();
  sKyLst = WgtRegisterClass("KyLst", "Vgm", GRES_Class(), sKyLstFields, static_cast<Int>(sizeof(_KyLstObj)),
                            nullptr, nullptr, nullptr);
}

KyLstPtr KYLST_New(const char* keys) {
  if (!sKyLst) KYLST_InstallClass();
  KyLstPtr list = reinterpret_cast<KyLstPtr>(RES_Create(sKyLst));
  VSTR_Set(&list->Keys, keys);
  return list;
}

void KYLST_SetKeys(KyLstPtr list, const char* keys) {
  if (list) VSTR_Set(&list->Keys, keys);
}

const char* KYLST_GetKeys(KyLstPtr list) { return list ? VSTR_Get(list->Keys) : ""; }

BoolEnum KYLST_Match(KyLstPtr list) { return list ? KYLST_MatchKeys(list->Keys) : 0; }

BoolEnum KYLST_MatchKeys(const char* keys) {
  if (!keys) return 0;
  Int type = EVENT_GetCurEventType();
  if (type != EVENT_TYPEKEYPRESS && type != EVENT_TYPEKEYRELEASE) return 0;
  Int key = EVENT_GetKeyCode();
  UInt mods = EVENT_GetKbMods() & (EVENT_MODCONTROL | EVENT_MODALT | EVENT_MODSHIFT);
  const char* ascii = EVENT_GetCurEvent()->KbAsciiStr;
  std::istringstream in(keys);
  for (std::string k; in >> k;) {
    UInt want = 0;
    for (;;) {
      if (k.rfind("Ctrl+", 0) == 0) want |= EVENT_MODCONTROL, k.erase(0, 5);
      else if (k.rfind("Alt+", 0) == 0) want |= EVENT_MODALT, k.erase(0, 4);
      else if (k.rfind("Shift+", 0) == 0) want |= EVENT_MODSHIFT, k.erase(0, 6);
      else break;
    }
    if (k.size() == 1) {
      // A character: shift may be part of typing it.
      char c = static_cast<char>(std::tolower(static_cast<unsigned char>(k[0])));
      char typed = ascii[0];
      if (key == EVENT_KEYCONTROL && typed > 0 && typed < 27) typed = static_cast<char>('a' + typed - 1);
      if ((mods & ~EVENT_MODSHIFT) == (want & ~EVENT_MODSHIFT) &&
          std::tolower(static_cast<unsigned char>(typed)) == c && typed != 0)
        return 1;
      continue;
    }
    if (k == "Space") {
      if (mods == want && ascii[0] == ' ' && ascii[1] == 0) return 1;
      continue;
    }
    Int named = namedKey(k);
    if (named != EVENT_KEYNONE && key == named && mods == want) return 1;
  }
  return 0;
}

ResPtr KYLST_GetDefault(Int which) {
  if (which < 0 || which > 3) return nullptr;
  if (ResPtr fromLibrary = RES_Find("Wgt", kDefaultNames[which])) {
    if (sKyLst && RCLAS_IsSubClassOf(fromLibrary->ResClass, sKyLst)) return fromLibrary;
    RES_Release(fromLibrary);
  }
  static KyLstPtr builtIn[4] = {};
  if (!builtIn[which]) {
    builtIn[which] = KYLST_New(kDefaultKeys[which]);
    builtIn[which]->Res.ResPrivate5 = kResImmortal;
  }
  return &builtIn[which]->Res;
}
