// The base string module's view of string resources.  The resource layer
// installs the loaders (STRR_InstallClass); before that every lookup gives
// null, which is what lets the error module print before any library is
// loaded.
#ifndef OWB_TOOLKIT_STR_H
#define OWB_TOOLKIT_STR_H

#include "toolkit/tkbase.h"

// Text of string resource `name` in module `module`, or null.
typedef const char* (*StrRLoadProc)(const char* module, const char* name, ClientPtr data);
// Entry n of string list `listName` in module `module`, or null.
typedef const char* (*StrRFindProc)(const char* module, const char* listName, Int n, ClientPtr data);

void STR_SetStrRLoadProcDS(StrRLoadProc proc, ClientPtr data);
void STR_SetStrRFindProcDS(StrRFindProc proc, ClientPtr data);
// The find procedure installed now (null if none) and its data, so that a
// program can put its own in front of it.
StrRFindProc STR_GetStrRFindProc(ClientPtr* data);

// The returned text belongs to the resource; copy it to keep it.
const char* STR_LoadStr(const char* module, const char* name);
const char* STR_FindNthStr(const char* module, const char* listName, Int n);

#endif  // OWB_TOOLKIT_STR_H
