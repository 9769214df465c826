// The class registry.
#include "toolkit/rclas.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "toolkit/err.h"
#include "toolkit/res.h"
#include "toolkit/rlib.h"

namespace {

// A class's node in the name tree (7 words in the class's own terms: the
// name, the pool and room for the display layer).
struct ClassNode {
  const char* name;
  ClientPtr pool;
  ClientPtr spare[5];
};

// The registries live as long as the process (never destroyed, so that
// classes stay reachable until the very end).
std::vector<RClasPtr>& sByName = *new std::vector<RClasPtr>;  // sorted, names compare with case
std::vector<RClasPtr>& sByIndex = *new std::vector<RClasPtr>;
void (*sPostRegister)(RClasPtr) = nullptr;

bool S_Less(RClasPtr a, const char* name) { return std::strcmp(a->Name, name) < 0; }

const char* const kTypeNames[PFLD_NUMTYPES] = {"Int16", "UInt16", "Int32",     "UInt32", "Str",
                                               "StrArray", "VStr", "VStrArray", "Res",  "Res0",
                                               "ResArray", "Data32", "Data8",   "Data16"};

Int S_Align(Int value, Int align) { return (value + align - 1) / align * align; }

}  // namespace

const char* PFLD_TypeName(Int type) { return type >= 0 && type < PFLD_NUMTYPES ? kTypeNames[type] : nullptr; }

Int PFLD_TypeFromName(const char* name) {
  for (Int i = 0; i < PFLD_NUMTYPES; ++i)
    if (std::strcmp(kTypeNames[i], name) == 0) return i;
  return -1;
}

Int PFLD_TypeSize(Int type) {
  switch (type) {
    case PFLD_INT16:
    case PFLD_UINT16: return 2;
    case PFLD_INT32:
    case PFLD_UINT32: return 4;
    case PFLD_DATA32:
    case PFLD_DATA8:
    case PFLD_DATA16: return static_cast<Int>(sizeof(_DataRec));
    default: return static_cast<Int>(sizeof(void*));
  }
}

// Every field starts at a multiple of 4; pointers need their own alignment
// on 64-bit machines.
Int PFLD_TypeAlign(Int type) { return std::max<Int>(4, type <= PFLD_UINT32 ? 4 : alignof(void*)); }

void RCLAS_Register(RClasPtr cls) {
  ErrTrace frame("RClas", __FILE__, __LINE__);
  if (RCLAS_FindByName(cls->Name)) ERR_Fail("RClas", kRClasErrExists, cls->Name);
  cls->Name = VSTR_New(cls->Name);
  cls->ModName = VSTR_New(cls->ModName);
  if (!cls->ParentClass && std::strcmp(cls->Name, "Res") != 0) cls->ParentClass = RES_Class();
  if (!cls->New) cls->New = RES_DefaultNew;
  if (!cls->Delete) cls->Delete = RES_DefaultDelete;
  if (cls->ParentClass) {
    if (!cls->DefNotify) cls->DefNotify = cls->ParentClass->DefNotify;
    cls->Flags |= cls->ParentClass->Flags & RCLAS_INHERITEDFLAGS;
  }
  ClassNode* node = new ClassNode{cls->Name, nullptr, {}};
  cls->ClassNode = node;
  sByName.insert(std::lower_bound(sByName.begin(), sByName.end(), cls->Name, S_Less), cls);
  cls->ClassIndex = static_cast<UInt16>(sByIndex.size());
  sByIndex.push_back(cls);
  NFIER_Broadcast(RES_GetResMgrNfier(), RES_MGRCLASSREGISTERED, cls);
  if (sPostRegister) sPostRegister(cls);
}

RClasPtr RCLAS_CPlusRegister(const char* name, RClasNewCBack newProc, RClasDeleteCBack deleteProc,
                             RClasConstructCBack construct, RClasPtr parent, PFldPtr fields,
                             Int sizeOfRes) {
  RClasPtr cls = new _RClasRec();
  cls->Name = name;
  cls->New = newProc;
  cls->Delete = deleteProc;
  cls->Construct = construct;
  cls->ParentClass = parent;
  cls->Fields = fields;
  cls->SizeOfRes = std::max<Int>(sizeOfRes, parent ? parent->SizeOfRes : static_cast<Int>(sizeof(_ResObj)));
  cls->Flags = RCLAS_FLAGEXTERN;
  RCLAS_Register(cls);
  return cls;
}

RClasPtr RCLAS_NewDataClass(const char* name, const char* modName, RClasPtr parent, UInt flags,
                            Int version, Int numFields, const char* const* fieldNames,
                            const Int* fieldTypes) {
  RClasPtr cls = new _RClasRec();
  cls->Name = name;
  cls->ModName = modName;
  cls->ParentClass = parent;
  cls->Flags = flags | RCLAS_FLAGDATA;
  cls->Version = version;
  PFldPtr fields = new _PFldRec[static_cast<size_t>(numFields) + 1]();
  Int offset = parent ? parent->SizeOfRes : static_cast<Int>(sizeof(_ResObj));
  for (Int i = 0; i < numFields; ++i) {
    offset = S_Align(offset, PFLD_TypeAlign(fieldTypes[i]));
    fields[i].Name = VSTR_New(fieldNames[i]);
    fields[i].Offset = offset;
    fields[i].Type = fieldTypes[i];
    fields[i].Kind = (fieldTypes[i] >= PFLD_STR && fieldTypes[i] <= PFLD_VSTRARRAY) ? PFLD_KINDTEXT
                                                                                   : PFLD_KINDVALUE;
    fields[i].FileIndex = -1;
    offset += PFLD_TypeSize(fieldTypes[i]);
  }
  cls->Fields = fields;
  cls->SizeOfRes = S_Align(offset, static_cast<Int>(alignof(void*)));
  RCLAS_Register(cls);
  return cls;
}

RClasPtr RCLAS_FindByName(const char* name) {
  if (!name) return nullptr;
  auto at = std::lower_bound(sByName.begin(), sByName.end(), name, S_Less);
  return at != sByName.end() && std::strcmp((*at)->Name, name) == 0 ? *at : nullptr;
}

RClasPtr RCLAS_GetFirst() { return sByIndex.empty() ? nullptr : sByIndex.front(); }

RClasPtr RCLAS_GetNext(RClasPtr cls) {
  size_t next = static_cast<size_t>(cls->ClassIndex) + 1;
  return next < sByIndex.size() ? sByIndex[next] : nullptr;
}

BoolEnum RCLAS_IsSubClassOf(RClasPtr cls, RClasPtr ancestor) {
  for (; cls; cls = cls->ParentClass)
    if (cls == ancestor) return 1;
  return 0;
}

Int RCLAS_GetVersion(RClasPtr cls) { return cls->Version ? cls->Version : kRClasDefaultVersion; }

Int RCLAS_GetNumSubClasses(RClasPtr cls) {
  Int n = 0;
  for (RClasPtr c : sByIndex)
    if (c->ParentClass == cls) ++n;
  return n;
}

RClasPtr RCLAS_GetNthSubClass(RClasPtr cls, Int n) {
  for (RClasPtr c : sByIndex)
    if (c->ParentClass == cls && n-- == 0) return c;
  return nullptr;
}

void RCLAS_SetDefNfy(RClasPtr cls, ResNfyCBack proc) { cls->DefNotify = proc; }

ResNfyCBack RCLAS_GetDefNfy(RClasPtr cls) { return cls->DefNotify; }

long RCLAS_ProcessDefNfy(RClasPtr cls, ResPtr res, Int message, ClientPtr data) {
  return cls && cls->DefNotify ? cls->DefNotify(res, message, data) : 0;
}

void RCLAS_SetTemplate(RClasPtr cls, ResPtr res) {
  ErrTrace frame("RClas", __FILE__, __LINE__);
  std::string wanted = std::string(cls->Name) + "Template";
  if (STR_ICmp(RES_GetName(res), wanted.c_str()) != 0)
    ERR_Fail("RClas", kRClasErrTemplateName, RES_GetName(res), cls->Name);
  RLibPtr lib = RES_GetLib(res);
  if (cls->ModName && *cls->ModName && RLIB_FindByModName(cls->ModName) != lib)
    ERR_Fail("RClas", kRClasErrTemplateLib, RES_GetName(res), cls->Name);
  if (cls->Template == res) return;
  if (cls->Template) {
    if (RES_GetLib(cls->Template) != lib) ERR_Fail("RClas", kRClasErrTemplateSet, cls->Name);
    ResPtr old = cls->Template;
    cls->Template = nullptr;
    if (lib) RLIB_RemoveTemplate(lib, old);
    RES_Release(old);
  }
  RES_Use(res);
  cls->Template = res;
  if (lib) RLIB_AddTemplate(lib, res);
  std::vector<ResPtr> stack;
  for (Int i = 0; i < RES_GetNumChildren(res); ++i) stack.push_back(RES_GetNthChild(res, i));
  while (!stack.empty()) {
    ResPtr r = stack.back();
    stack.pop_back();
    r->ResPrivate4 |= RES_FLAGLOCKED;
    for (Int i = 0; i < RES_GetNumChildren(r); ++i) stack.push_back(RES_GetNthChild(r, i));
  }
}

PFldPtr RCLAS_FindField(RClasPtr cls, const char* name) {
  for (; cls; cls = cls->ParentClass)
    for (PFldPtr f = cls->Fields; f && f->Name; ++f)
      if (STR_ICmp(f->Name, name) == 0) return f;
  return nullptr;
}

RClasPtr RCLAS_FieldOwner(RClasPtr cls, PFldPtr field) {
  for (; cls; cls = cls->ParentClass)
    for (PFldPtr f = cls->Fields; f && f->Name; ++f)
      if (f == field) return cls;
  return nullptr;
}

void RCLAS_ForEachField(RClasPtr cls, void (*proc)(PFldPtr field, ClientPtr data), ClientPtr data) {
  std::vector<RClasPtr> chain;
  for (; cls; cls = cls->ParentClass) chain.push_back(cls);
  for (auto it = chain.rbegin(); it != chain.rend(); ++it)
    for (PFldPtr f = (*it)->Fields; f && f->Name; ++f) proc(f, data);
}

void RCLAS_SetPostRegisterProc(void (*proc)(RClasPtr cls)) { sPostRegister = proc; }

void RCLAS_StartupInit() {}
