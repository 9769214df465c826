// StrR, StrL and RMod.
#include "toolkit/strres.h"

#include <cstddef>
#include <map>
#include <string>

#include "toolkit/err.h"
#include "toolkit/str.h"

namespace {

RClasPtr sStrR = nullptr;
RClasPtr sStrL = nullptr;
RClasPtr sRMod = nullptr;

_PFldRec sStrRFields[] = {
    {"Id", static_cast<Int>(offsetof(StrRObj, Id)), PFLD_INT16, PFLD_KINDVALUE, 0, -1},
    {"Text", static_cast<Int>(offsetof(StrRObj, Text)), PFLD_VSTR, PFLD_KINDTEXT, 0, -1},
    {"Severity", static_cast<Int>(offsetof(StrRObj, Severity)), PFLD_INT16, PFLD_KINDVALUE, 0, -1},
    {nullptr, 0, 0, 0, 0, -1}};

_PFldRec sStrLFields[] = {
    {"Text", static_cast<Int>(offsetof(StrLObj, Text)), PFLD_VSTRARRAY, PFLD_KINDTEXT, 0, -1},
    {nullptr, 0, 0, 0, 0, -1}};

_PFldRec sRModFields[] = {
    {"MakeList", static_cast<Int>(offsetof(RModObj, MakeList)), PFLD_VSTRARRAY, PFLD_KINDTEXT, 0, -1},
    {"FileList", static_cast<Int>(offsetof(RModObj, FileList)), PFLD_VSTRARRAY, PFLD_KINDTEXT, 0, -1},
    {nullptr, 0, 0, 0, 0, -1}};

StrRObj* S_StrR(ResPtr res) {
  RES_CheckClass(res, sStrR);
  return reinterpret_cast<StrRObj*>(res);
}

StrLObj* S_StrL(ResPtr res) {
  RES_CheckClass(res, sStrL);
  return reinterpret_cast<StrLObj*>(res);
}

void S_StrRConstruct(ResPtr res, ResConstructPtr params) {
  StrRObj* s = reinterpret_cast<StrRObj*>(res);
  if (params->Mode == RES_MODENEW && !s->Text) s->Text = VSTR_New("");
}

ArrayPtr S_List(StrLObj* s) {
  if (!s->Text) s->Text = ARRAY_New(static_cast<Int>(sizeof(VStrPtr)), 0);
  return s->Text;
}

// Lookups for the base module.  Each resource found is kept with one
// reference so that the texts handed out stay valid.
std::map<std::string, ResPtr>& S_Cache() {
  static auto* cache = new std::map<std::string, ResPtr>;  // never destroyed
  return *cache;
}

ResPtr S_Lookup(const char* module, const char* name, RClasPtr cls) {
  if (!module || !name) return nullptr;
  std::string key = std::string(module) + "." + name;
  auto& cache = S_Cache();
  auto at = cache.find(key);
  if (at != cache.end()) return at->second;
  ResPtr res = RES_Find(module, name);
  if (res && !RCLAS_IsSubClassOf(res->ResClass, cls)) {
    RES_Release(res);
    res = nullptr;
  }
  if (res) cache[key] = res;
  return res;
}

const char* S_LoadStr(const char* module, const char* name, ClientPtr) {
  ResPtr res = S_Lookup(module, name, sStrR);
  return res ? reinterpret_cast<StrRObj*>(res)->Text : nullptr;
}

const char* S_FindNthStr(const char* module, const char* listName, Int n, ClientPtr) {
  ResPtr res = S_Lookup(module, listName, sStrL);
  return res ? STRL_GetNthStr(res, n) : nullptr;
}

RClasPtr S_Install(const char* name, _PFldRec* fields, Int size, RClasConstructCBack construct) {
  if (RClasPtr existing = RCLAS_FindByName(name)) return existing;
  RClasPtr cls = RCLAS_CPlusRegister(name, nullptr, nullptr, construct, RES_Class(), fields, size);
  cls->ModName = VSTR_New("Res");
  return cls;
}

}  // namespace

RClasPtr STRR_Class() { return sStrR; }
RClasPtr STRL_Class() { return sStrL; }
RClasPtr RMOD_Class() { return sRMod; }

void STRR_InstallClass() {
  sStrR = S_Install("StrR", sStrRFields, static_cast<Int>(sizeof(StrRObj)), S_StrRConstruct);
  STR_SetStrRLoadProcDS(S_LoadStr, nullptr);
  STR_SetStrRFindProcDS(S_FindNthStr, nullptr);
}

void STRL_InstallClass() { sStrL = S_Install("StrL", sStrLFields, static_cast<Int>(sizeof(StrLObj)), nullptr); }

void RMOD_InstallClass() { sRMod = S_Install("RMod", sRModFields, static_cast<Int>(sizeof(RModObj)), nullptr); }

void STRR_ForgetLookups() {
  std::map<std::string, ResPtr> held;
  held.swap(S_Cache());
  for (auto& entry : held) RES_Release(entry.second);
}

Int STRR_GetId(ResPtr res) { return S_StrR(res)->Id; }
void STRR_SetId(ResPtr res, Int id) { S_StrR(res)->Id = static_cast<Int16>(id); }
const char* STRR_GetStr(ResPtr res) { return S_StrR(res)->Text; }
void STRR_SetStr(ResPtr res, const char* text) { VSTR_Set(&S_StrR(res)->Text, text); }

const char* STRR_LoadStr(const char* module, const char* name) {
  ResPtr res = S_Lookup(module, name, sStrR);
  if (!res) ERR_Fail("Res", 1, std::string(module) + "." + name);
  return res ? reinterpret_cast<StrRObj*>(res)->Text : nullptr;
}

const char* STRR_FindStr(const char* module, const char* name) { return S_LoadStr(module, name, nullptr); }

Int STRL_GetLen(ResPtr res) { return ARRAY_GetCount(S_StrL(res)->Text); }

const char* STRL_GetNthStr(ResPtr res, Int n) {
  return static_cast<const char*>(ARRAY_GetNthPtr(S_StrL(res)->Text, n));
}

void STRL_SetNthStr(ResPtr res, Int n, const char* text) {
  StrLObj* s = S_StrL(res);
  VStrPtr* at = static_cast<VStrPtr*>(ARRAY_GetNth(s->Text, n));
  if (at) VSTR_Set(at, text);
}

void STRL_AddStr(ResPtr res, const char* text) { ARRAY_AddPtr(S_List(S_StrL(res)), VSTR_New(text)); }

void STRL_AddStrAtIndex(ResPtr res, const char* text, Int n) {
  VStrPtr copy = VSTR_New(text);
  ARRAY_InsertAt(S_List(S_StrL(res)), n, &copy);
}

void STRL_RemoveIndex(ResPtr res, Int n) {
  StrLObj* s = S_StrL(res);
  VStrPtr* at = static_cast<VStrPtr*>(ARRAY_GetNth(s->Text, n));
  if (!at) return;
  VSTR_Dispose(*at);
  ARRAY_RemoveAt(s->Text, n);
}
