// The string classes (StrR: one string; StrL: a list of strings) and the
// module class (RMod), and the string loaders they give the base module.
#ifndef OWB_TOOLKIT_STRRES_H
#define OWB_TOOLKIT_STRRES_H

#include "toolkit/res.h"

struct StrRObj {
  _ResObj Res;
  Int16 Id;
  VStrPtr Text;
  Int16 Severity;
};

struct StrLObj {
  _ResObj Res;
  ArrayPtr Text;  // of VStrPtr
};

struct RModObj {
  _ResObj Res;
  ArrayPtr MakeList;  // of VStrPtr
  ArrayPtr FileList;  // of VStrPtr
};

RClasPtr STRR_Class();
RClasPtr STRL_Class();
RClasPtr RMOD_Class();
void STRR_InstallClass();  // also installs the base string loaders
void STRL_InstallClass();
void RMOD_InstallClass();

Int STRR_GetId(ResPtr res);
void STRR_SetId(ResPtr res, Int id);
const char* STRR_GetStr(ResPtr res);
void STRR_SetStr(ResPtr res, const char* text);
// The text of StrR `name` in `module` (failure "Res" 1 when missing).
const char* STRR_LoadStr(const char* module, const char* name);
// The same, null when missing.
const char* STRR_FindStr(const char* module, const char* name);

Int STRL_GetLen(ResPtr res);
const char* STRL_GetNthStr(ResPtr res, Int n);  // null outside the list
void STRL_SetNthStr(ResPtr res, Int n, const char* text);
void STRL_AddStr(ResPtr res, const char* text);
void STRL_AddStrAtIndex(ResPtr res, const char* text, Int n);
void STRL_RemoveIndex(ResPtr res, Int n);

#endif  // OWB_TOOLKIT_STRRES_H
