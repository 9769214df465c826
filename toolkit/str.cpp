// The base string module: loaders installed by the resource layer.
#include "toolkit/str.h"

namespace {
StrRLoadProc sLoadProc = nullptr;
ClientPtr sLoadData = nullptr;
StrRFindProc sFindProc = nullptr;
ClientPtr sFindData = nullptr;
}  // namespace

void STR_SetStrRLoadProcDS(StrRLoadProc proc, ClientPtr data) {
  sLoadProc = proc;
  sLoadData = data;
}

void STR_SetStrRFindProcDS(StrRFindProc proc, ClientPtr data) {
  sFindProc = proc;
  sFindData = data;
}

StrRFindProc STR_GetStrRFindProc(ClientPtr* data) {
  if (data) *data = sFindData;
  return sFindProc;
}

const char* STR_LoadStr(const char* module, const char* name) {
  return sLoadProc ? sLoadProc(module, name, sLoadData) : nullptr;
}

const char* STR_FindNthStr(const char* module, const char* listName, Int n) {
  return sFindProc ? sFindProc(module, listName, n, sFindData) : nullptr;
}
