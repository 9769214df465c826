// Resources: construction, loading, children, names, counting, notification.
#include "toolkit/res.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "toolkit/bknot.h"
#include "toolkit/err.h"
#include "toolkit/pfld.h"
#include "toolkit/rlib.h"

namespace {

_RClasRec sResClass;
bool sResRegistered = false;
ResSetNfyCBack sSetNfyProc = nullptr;
ResNfyCBack sResNfy = nullptr;
NfierPtr sMgrNfier = nullptr;
ResScriptCBack sConstructScript = nullptr;
ResScriptCBack sDestructScript = nullptr;
BoolEnum sScriptStatus = 0;
RClasPtr sWgtClass = nullptr;
ResScriptRunCBack sCompileScript = nullptr;
ResScriptRunCBack sExecuteScript = nullptr;
Int sLoadDepth = 0;
constexpr Int kMaxLoadDepth = 64;

// Counts nested loads so that chains of references cannot exhaust the stack.
struct LoadDepthGuard {
  LoadDepthGuard() { ++sLoadDepth; }
  ~LoadDepthGuard() { --sLoadDepth; }
};

long S_Send(ResPtr res, Int message, ClientPtr data) {
  return res->Notify ? res->Notify(res, message, data) : RES_DefNfy(res, message, data);
}

long S_DefaultResNfy(ResPtr res, Int message, ClientPtr) {
  switch (message) {
    case RES_NFYINIT: res->ResInitialized = 1; break;
    case RES_NFYEND: res->ResInitialized = 0; break;
    case RES_NFYRESET:
      if (res->ResInitialized) {
        S_Send(res, RES_NFYEND, nullptr);
        S_Send(res, RES_NFYINIT, nullptr);
      }
      break;
    default: break;
  }
  return 0;
}

ResPtr S_NearestTemplate(RClasPtr cls) {
  for (; cls; cls = cls->ParentClass)
    if (cls->Template) return cls->Template;
  return nullptr;
}

// Clones the children of src under res, with their lock flags.
void S_CloneChildren(ResPtr res, ResPtr src, bool named) {
  RES_LoadChildren(src);
  for (Int i = 0; i < RES_GetNumChildren(src); ++i) {
    ResPtr child = RES_GetNthChild(src, i);
    ResPtr copy = named ? RES_CloneNamed(child, 1) : RES_Clone(child, 1);
    copy->ResPrivate4 |= child->ResPrivate4 & RES_FLAGLOCKED;
    RES_SetParent(copy, res);
  }
}

void S_ResConstruct(ResPtr res, ResConstructPtr p) {
  RClasPtr cls = p->Class;
  BKnotPtr knot = p->Knot;
  res->ResClass = cls;
  res->ResPrivate5 = 1;
  res->ResPrivate = knot;
  if (knot) knot->Class = cls;
  RES_SetNfyProcDS(res, cls->DefNotify, nullptr);
  switch (p->Mode) {
    case RES_MODENEW: {
      if (knot) knot->Res = res;
      if (cls->Flags & RCLAS_FLAGNEWEXPORTED) res->ResPrivate4 |= RES_FLAGEXPORTED;
      if (ResPtr tmpl = S_NearestTemplate(cls)) {
        PFLD_ResCopy(res, tmpl);
        S_CloneChildren(res, tmpl, knot != nullptr);
      }
      break;
    }
    case RES_MODECLONE: {
      if (p->Named && knot) {
        knot->Res = res;
        res->ResPrivate4 = p->Source->ResPrivate4;
      } else {
        res->ResPrivate4 = 0;
      }
      res->ResPrivate3 = 1;
      PFLD_ResCopy(res, p->Source);
      if (p->Deep) S_CloneChildren(res, p->Source, p->Named != 0);
      break;
    }
    case RES_MODELOAD: {
      if (knot->Parent) {
        res->ResPrivate1 = knot->Parent->IsModule ? RLIB_GetModuleRes(knot->Parent) : knot->Parent->Res;
      } else {
        res->ResPrivate7 = knot->Lib;
      }
      if (p->Attach) knot->Res = res;
      if (knot->FieldOffset) PFLD_Load(knot->File, res);
      break;
    }
    case RES_MODECOPY: {
      ResPtr tmpl = S_NearestTemplate(cls);
      if (tmpl && tmpl != res) PFLD_ResCopy(res, tmpl);
      break;
    }
    default: break;
  }
}

void S_ResDestruct(ResPtr res) {
  if (res->ResInitialized) S_Send(res, RES_NFYEND, nullptr);
  RES_Detach(res);
  RES_ReleaseChildren(res);
  PFLD_ResFree(res);
  BKnotPtr knot = res->ResPrivate;
  if (knot && !knot->Res && !knot->Parent && !knot->IsModule && !knot->File) BKNOT_Dispose(knot);
  res->ResPrivate = nullptr;
}

// Undoes a construction that failed half-way, so that nothing points to
// the object or leaks from it.
void S_AbortConstruct(ResPtr res) {
  if (res->ResPrivate && res->ResPrivate->Res == res) res->ResPrivate->Res = nullptr;
  if (ArrayPtr children = res->ResPrivate2) {
    res->ResPrivate2 = nullptr;
    for (Int i = 0; i < children->Count; ++i) {
      ResPtr child = static_cast<ResPtr>(ARRAY_GetNthPtr(children, i));
      child->ResPrivate1 = nullptr;
      RES_Release(child);
    }
    ARRAY_Dispose(children);
  }
  if (res->ResClass) PFLD_ResFree(res);
}

}  // namespace

ResPtr RES_DefaultNew(RClasPtr cls, ResConstructPtr params) {
  ResPtr res = static_cast<ResPtr>(RClasAlloc(cls));
  try {
    RES_CallConstructs(res, cls, params);
  } catch (...) {
    S_AbortConstruct(res);
    if (res->ResPrivate5 > 1) {
      res->ResPrivate5--;  // someone took a reference meanwhile: it is theirs now
      res->ResPrivate = nullptr;
    } else {
      RClasFree(cls, res);
    }
    throw;
  }
  return res;
}

void RES_DefaultDelete(ResPtr res) {
  RClasPtr cls = res->ResClass;
  RES_CallDestructs(res);
  RClasFree(cls, res);
}

namespace {

ResPtr S_NewRes(RClasPtr cls, Int mode, BKnotPtr knot, ResPtr source, BoolEnum deep, BoolEnum named,
                BoolEnum attach) {
  _ResConstructRec params{mode, cls, knot, source, deep, named, attach};
  RClasNewCBack make = cls->New ? cls->New : RES_DefaultNew;
  return make(cls, &params);
}

ResPtr S_NewNamed(const char* name, RClasPtr cls) {
  BKnotPtr knot = BKNOT_NewSetNameClass(name, cls);
  try {
    return S_NewRes(cls, RES_MODENEW, knot, nullptr, 0, 1, 1);
  } catch (...) {
    BKNOT_Dispose(knot);
    throw;
  }
}

BKnotPtr S_FindOrFail(const char* moduleName, const char* name) {
  BKnotPtr knot = BKNOT_Find(moduleName, name);
  if (!knot) {
    std::string full = std::string(moduleName ? moduleName : "") + "." + (name ? name : "");
    ERR_Fail("Res", kResErrNotFound, full);
  }
  return knot;
}

void S_FormatResName(ErrFramePtr frame, char* buffer, Int size) {
  std::string name = RES_QueryFullName(static_cast<ResPtr>(frame->ClientData));
  ErrArg arg(name.c_str());
  ERR_FormatMsg(frame, buffer, size, &arg, 1);
}

}  // namespace

// --- The root class ------------------------------------------------------------

RClasPtr RES_Class() { return &sResClass; }

void RES_InstallClass() {
  if (!sSetNfyProc) sSetNfyProc = RES_DefSetNfyProcDS;
  if (!sResNfy) sResNfy = S_DefaultResNfy;
  if (sResRegistered) return;
  sResRegistered = true;
  sResClass = _RClasRec();
  sResClass.SizeOfRes = static_cast<Int>(sizeof(_ResObj));
  sResClass.Name = "Res";
  sResClass.ModName = "Res";
  sResClass.New = RES_DefaultNew;
  sResClass.Delete = RES_DefaultDelete;
  sResClass.Construct = S_ResConstruct;
  sResClass.Destruct = S_ResDestruct;
  sResClass.DefNotify = RES_DefNfy;
  RCLAS_Register(&sResClass);
}

void RES_CallConstructs(ResPtr res, RClasPtr cls, ResConstructPtr params) {
  std::vector<RClasPtr> chain;
  for (RClasPtr c = cls; c; c = c->ParentClass) chain.push_back(c);
  for (auto it = chain.rbegin(); it != chain.rend(); ++it)
    if ((*it)->Construct) (*it)->Construct(res, params);
  if (sConstructScript && (sScriptStatus || !sWgtClass || !RCLAS_IsSubClassOf(cls, sWgtClass)))
    sConstructScript(res);
  if (params->Mode == RES_MODECOPY) return;
  cls->InstanceCount++;
  RClasAddInstance(cls, res);
}

void RES_CallDestructs(ResPtr res) {
  RClasPtr cls = res->ResClass;
  if (cls->InstanceCount) cls->InstanceCount--;
  RClasRemoveInstance(cls, res);
  for (RClasPtr c = cls; c; c = c->ParentClass)
    if (c->Destruct) c->Destruct(res);
  if (sDestructScript) sDestructScript(res);
}

void RES_SetConstructScriptProc(ResScriptCBack proc) { sConstructScript = proc; }
void RES_SetDestructScriptProc(ResScriptCBack proc) { sDestructScript = proc; }
void RES_SetScriptCompilerStatus(BoolEnum status) { sScriptStatus = status; }
BoolEnum RES_GetScriptCompilerStatus() { return sScriptStatus; }
void RES_SetWgtClass(RClasPtr cls) { sWgtClass = cls; }

void RES_SetCompileScriptProc(ResScriptRunCBack proc) { sCompileScript = proc; }
void RES_SetExecuteScriptProc(ResScriptRunCBack proc) { sExecuteScript = proc; }

namespace {

long S_RunScript(ResScriptRunCBack proc, const char* what, ResPtr res, const char* script) {
  if (!proc) ERR_Fail("Res", kResErrNoScript, what, RES_QueryFullName(res));
  return proc(res, script);
}

}  // namespace

long RES_CompileScript(ResPtr res, const char* script) {
  return S_RunScript(sCompileScript, "compile", res, script);
}

long RES_ExecuteScript(ResPtr res, const char* script) {
  return S_RunScript(sExecuteScript, "run", res, script);
}

// --- Creation ------------------------------------------------------------------

ResPtr RES_Create(RClasPtr cls) { return S_NewRes(cls, RES_MODENEW, nullptr, nullptr, 0, 0, 0); }

ResPtr RES_CreateNamed(RClasPtr cls) { return S_NewNamed((std::string(cls->Name) + "1").c_str(), cls); }

ResPtr RES_Clone(ResPtr res, BoolEnum deep) {
  return S_NewRes(res->ResClass, RES_MODECLONE, nullptr, res, deep, 0, 0);
}

ResPtr RES_CloneNamed(ResPtr res, BoolEnum deep) {
  BKnotPtr knot = BKNOT_New(RES_GetName(res), res->ResClass);
  try {
    return S_NewRes(res->ResClass, RES_MODECLONE, knot, res, deep, 1, 1);
  } catch (...) {
    BKNOT_Dispose(knot);
    throw;
  }
}

ResPtr RES_NewSetNameClass(const char* name, RClasPtr cls) { return S_NewNamed(name, cls); }

ResPtr RES_NewSetKnotClass(BKnotPtr knot, RClasPtr cls) {
  return S_NewRes(cls, RES_MODENEW, knot, nullptr, 0, 1, 1);
}

// --- Loading ---------------------------------------------------------------------

ResPtr RES_LoadFromKnot(BKnotPtr knot, BoolEnum attach) {
  ErrTrace frame("Res", __FILE__, __LINE__);
  frame.setContext(kResMsgLoading);
  ERR_SetOptStr(frame.rec(), knot->Name);
  if (attach && knot->Res) {
    RES_Use(knot->Res);
    return knot->Res;
  }
  if (!knot->File) ERR_Fail("Res", kResErrNoFile, knot->Name);
  if (sLoadDepth >= kMaxLoadDepth) ERR_Fail("Res", kResErrTooDeep, knot->Name);
  LoadDepthGuard depth;
  return S_NewRes(knot->Class, RES_MODELOAD, knot, nullptr, 0, 1, attach);
}

ResPtr RES_Load(const char* moduleName, const char* name) {
  return RES_LoadFromKnot(S_FindOrFail(moduleName, name), 1);
}

ResPtr RES_LoadInit(const char* moduleName, const char* name) {
  ResPtr res = RES_Load(moduleName, name);
  if (!res->ResInitialized) S_Send(res, RES_NFYINIT, nullptr);
  return res;
}

ResPtr RES_LoadDetach(const char* moduleName, const char* name) {
  return RES_LoadFromKnot(S_FindOrFail(moduleName, name), 0);
}

ResPtr RES_LoadInitDetach(const char* moduleName, const char* name) {
  ResPtr res = RES_LoadDetach(moduleName, name);
  if (!res->ResInitialized) S_Send(res, RES_NFYINIT, nullptr);
  return res;
}

ResPtr RES_LoadDeepDetach(const char* moduleName, const char* name) {
  ResPtr res = RES_LoadDetach(moduleName, name);
  try {
    RES_LoadDeepChildren(res);
  } catch (...) {
    RES_Release(res);
    throw;
  }
  return res;
}

ResPtr RES_LoadByFullName(const char* fullName) {
  BKnotPtr knot = BKNOT_FindByFullName(fullName);
  if (!knot) ERR_Fail("Res", kResErrNotFound, fullName);
  return knot->IsModule ? (RES_Use(RLIB_GetModuleRes(knot)), knot->Res) : RES_LoadFromKnot(knot, 1);
}

ResPtr RES_LoadDetachByFullName(const char* fullName) {
  BKnotPtr knot = BKNOT_FindByFullName(fullName);
  if (!knot) ERR_Fail("Res", kResErrNotFound, fullName);
  return RES_LoadFromKnot(knot, 0);
}

ResPtr RES_LoadFromOffset(_BFileRec* file, UInt32 offset) {
  BKnotPtr knot = BKNOT_LoadFromOffset(file, offset);
  if (!knot) ERR_Fail("Res", kResErrNotFound, std::to_string(offset));
  return RES_LoadFromKnot(knot, 1);
}

ResPtr RES_Find(const char* moduleName, const char* name) {
  BKnotPtr knot = BKNOT_Find(moduleName, name);
  return knot ? RES_LoadFromKnot(knot, 1) : nullptr;
}

ResPtr RES_FindByFullName(const char* fullName) {
  BKnotPtr knot = BKNOT_FindByFullName(fullName);
  return knot && !knot->IsModule ? RES_LoadFromKnot(knot, 1) : nullptr;
}

// --- Children ----------------------------------------------------------------------

Int RES_GetNumChildren(ResPtr res) { return res ? ARRAY_GetCount(res->ResPrivate2) : 0; }

ResPtr RES_GetNthChild(ResPtr res, Int n) {
  return res ? static_cast<ResPtr>(ARRAY_GetNthPtr(res->ResPrivate2, n)) : nullptr;
}

ResPtr RES_GetFirstChild(ResPtr res) { return RES_GetNthChild(res, 0); }

ResPtr RES_GetNextChild(ResPtr res, ResPtr child) {
  for (Int i = 0; i < RES_GetNumChildren(res); ++i)
    if (RES_GetNthChild(res, i) == child) return RES_GetNthChild(res, i + 1);
  return nullptr;
}

ResPtr RES_FindChild(ResPtr res, const char* name) {
  RES_LoadChildren(res);
  for (Int i = 0; i < RES_GetNumChildren(res); ++i) {
    ResPtr child = RES_GetNthChild(res, i);
    if (child->ResPrivate && STR_ICmp(child->ResPrivate->Name, name) == 0) return child;
  }
  return nullptr;
}

void RES_LoadChildren(ResPtr res) {
  if (res->ResPrivate2) return;
  res->ResPrivate2 = ARRAY_New(static_cast<Int>(sizeof(ResPtr)), 0);
  BKnotPtr knot = res->ResPrivate;
  if (!knot || !knot->File) return;
  BKNOT_LoadChildren(knot);
  BoolEnum attach = RES_IsAttached(res);
  for (BKnotPtr childKnot : BKNOT_Children(knot)) {
    if (!childKnot->File) continue;
    ResPtr child = RES_LoadFromKnot(childKnot, attach);
    child->ResPrivate1 = res;
    ARRAY_AddPtr(res->ResPrivate2, child);
  }
}

void RES_LoadDeepChildren(ResPtr res) {
  LoadDepthGuard depth;
  if (sLoadDepth > kMaxLoadDepth) ERR_Fail("Res", kResErrTooDeep, RES_GetName(res));
  RES_LoadChildren(res);
  for (Int i = 0; i < RES_GetNumChildren(res); ++i) RES_LoadDeepChildren(RES_GetNthChild(res, i));
}

void RES_AddChild(ResPtr parent, ResPtr child) { RES_SetParent(child, parent); }

void RES_LinkChild(ResPtr parent, ResPtr child, const char* name) {
  if (name) RES_Rename(child, name);
  RES_SetParent(child, parent);
}

void RES_SetParent(ResPtr res, ResPtr parent) {
  ResPtr old = res->ResPrivate1;
  if (old == parent) return;
  BoolEnum attached = RES_IsAttached(res);
  if (!parent && attached && (res->ResPrivate4 & RES_FLAGEXPORTED))
    if (RLibPtr lib = RES_GetLib(res)) RLIB_RemoveExportRes(lib, res);
  if (old) {
    if (ArrayPtr children = old->ResPrivate2)
      for (Int i = 0; i < children->Count; ++i)
        if (ARRAY_GetNthPtr(children, i) == res) {
          ARRAY_RemoveAt(children, i);
          break;
        }
    RES_SetModified(old);
  }
  if (parent && !parent->ResPrivate2) {
    if (parent->ResPrivate && parent->ResPrivate->File) RES_LoadChildren(parent);
    else parent->ResPrivate2 = ARRAY_New(static_cast<Int>(sizeof(ResPtr)), 0);
  }
  if (attached && res->ResPrivate) BKNOT_SetParent(res->ResPrivate, parent ? parent->ResPrivate : nullptr);
  res->ResPrivate1 = parent;
  if (parent) ARRAY_AddPtr(parent->ResPrivate2, res);
  RES_SetModified(res);
  if (parent && RES_IsAttached(parent)) RES_Attach(res);
  else RES_Detach(res);
}

ResPtr RES_GetParent(ResPtr res) { return res->ResPrivate1; }

void RES_ReleaseChildren(ResPtr res) {
  if (ArrayPtr children = res->ResPrivate2) {
    res->ResPrivate2 = nullptr;
    for (Int i = 0; i < children->Count; ++i) {
      ResPtr child = static_cast<ResPtr>(ARRAY_GetNthPtr(children, i));
      if (child->ResPrivate1 == res) child->ResPrivate1 = nullptr;
      RES_Release(child);
    }
    ARRAY_Dispose(children);
  }
}

void RES_ResetChildren(ResPtr res, ArrayPtr children) {
  if (res->ResPrivate2 != children) ARRAY_Dispose(res->ResPrivate2);
  res->ResPrivate2 = children;
}

// --- Identity --------------------------------------------------------------------

const char* RES_GetName(ResPtr res) { return res && res->ResPrivate ? res->ResPrivate->Name : "<unknown>"; }

std::string RES_QueryFullName(ResPtr res) {
  return res && res->ResPrivate ? BKNOT_QueryFullName(res->ResPrivate) : std::string("<unknown>");
}

BoolEnum RES_IsNamed(ResPtr res) { return res->ResPrivate != nullptr; }

BoolEnum RES_IsNameDefault(ResPtr res) {
  if (!res->ResPrivate) return 0;
  const char* name = res->ResPrivate->Name;
  size_t n = std::strlen(res->ResClass->Name);
  if (strncmp(name, res->ResClass->Name, n) != 0 || !name[n]) return 0;
  for (const char* p = name + n; *p; ++p)
    if (*p < '0' || *p > '9') return 0;
  return 1;
}

void RES_Rename(ResPtr res, const char* name) {
  if (res->ResPrivate) BKNOT_SetName(res->ResPrivate, name);
  else res->ResPrivate = BKNOT_New(name, res->ResClass);
  RES_SetModified(res);
}

ResPtr RES_GetModule(ResPtr res) {
  BKnotPtr module = BKNOT_GetModuleKnot(res ? res->ResPrivate : nullptr);
  return module ? RLIB_GetModuleRes(module) : nullptr;
}

RLibPtr RES_GetLib(ResPtr res) {
  if (!res) return nullptr;
  if (BKnotPtr module = BKNOT_GetModuleKnot(res->ResPrivate)) return module->Lib;
  return static_cast<RLibPtr>(res->ResPrivate7);
}

UInt32 RES_GetKnotOffset(ResPtr res) { return res->ResPrivate ? res->ResPrivate->Offset : 0; }

UInt32 RES_GetResOffset(ResPtr res) { return res->ResPrivate ? res->ResPrivate->FieldOffset : 0; }

void RES_ChangeClass(ResPtr res, RClasPtr cls) {
  RClasPtr old = res->ResClass;
  if (old == cls) return;
  bool related = RCLAS_IsSubClassOf(cls, old) || RCLAS_IsSubClassOf(old, cls);
  if (!related || cls->SizeOfRes != old->SizeOfRes || RCLAS_GetMemPool(cls) != RCLAS_GetMemPool(old))
    ERR_Fail("Res", kResErrChangeClass, RES_QueryFullName(res), cls->Name);
  if (old->InstanceCount) old->InstanceCount--;
  RClasRemoveInstance(old, res);
  res->ResClass = cls;
  cls->InstanceCount++;
  RClasAddInstance(cls, res);
  if (res->ResPrivate) res->ResPrivate->Class = cls;
  RES_SetModified(res);
}

void RES_Reload(ResPtr res) {
  ErrTrace frame("Res", __FILE__, __LINE__);
  frame.setContext(kResMsgLoading);
  RES_SetErrFmtOpt(frame.rec(), res);
  BKnotPtr knot = res->ResPrivate;
  if (!knot || !knot->File || !BFILE_IsOpen(knot->File) || !knot->FieldOffset)
    ERR_Fail("Res", kResErrNoFile, RES_QueryFullName(res));
  if (res->ResClass->Flags & RCLAS_FLAGNORECORD) return;
  PFLD_ResFree(res);
  PFLD_Load(knot->File, res);
  res->ResPrivate3 = 0;
}

void RES_SetModified(ResPtr res) {
  res->ResPrivate3 = 1;
  BKnotPtr module = BKNOT_GetModuleKnot(res->ResPrivate);
  if (module && module != res->ResPrivate && module->Lib) RLIB_GetModuleRes(module)->ResPrivate3 = 1;
}

// --- Life ------------------------------------------------------------------------

void RES_Use(ResPtr res) {
  if (res->ResPrivate5 != kResImmortal) res->ResPrivate5++;
}

void RES_Release(ResPtr res) {
  // A count of 0 marks an object being destroyed: a release from its own
  // end notification does nothing more.
  if (!res || res->ResPrivate5 == kResImmortal || res->ResPrivate5 == 0) return;
  if (res->ResPrivate5 == 1) {
    res->ResPrivate5 = 0;
    RClasDeleteCBack drop = res->ResClass->Delete ? res->ResClass->Delete : RES_DefaultDelete;
    drop(res);
  } else {
    res->ResPrivate5--;
  }
}

void RES_Delete(ResPtr res) {
  RES_SetParent(res, nullptr);
  RES_Release(res);
}

void RES_Attach(ResPtr res) {
  if (res->ResPrivate && !res->ResPrivate->Res) res->ResPrivate->Res = res;
}

void RES_Detach(ResPtr res) {
  if (res->ResPrivate && res->ResPrivate->Res == res) res->ResPrivate->Res = nullptr;
}

void RES_DeepDetach(ResPtr res) {
  RES_Detach(res);
  for (Int i = 0; i < RES_GetNumChildren(res); ++i) RES_DeepDetach(RES_GetNthChild(res, i));
}

BoolEnum RES_IsAttached(ResPtr res) { return res->ResPrivate && res->ResPrivate->Res == res; }

UInt16 RES_GetRefCount(ResPtr res) { return res->ResPrivate5; }

// --- Notification ----------------------------------------------------------------

void RES_SetNfyProcDS(ResPtr res, ResNfyCBack proc, ClientPtr data) {
  (sSetNfyProc ? sSetNfyProc : RES_DefSetNfyProcDS)(res, proc, data);
}

void RES_DefSetNfyProcDS(ResPtr res, ResNfyCBack proc, ClientPtr data) {
  res->Notify = proc;
  res->ClientData = data;
}

ResSetNfyCBack RES_GetSetNfyProc() { return sSetNfyProc; }

void RES_SetSetNfyProc(ResSetNfyCBack proc) { sSetNfyProc = proc; }

long RES_DefNfy(ResPtr res, Int message, ClientPtr data) {
  return (sResNfy ? sResNfy : S_DefaultResNfy)(res, message, data);
}

void RES_SetResNfyDS(ResNfyCBack proc) { sResNfy = proc; }

ResNfyCBack RES_QueryResNfy() { return sResNfy; }

ResNfyCBack RES_QueryDefResNfy() { return S_DefaultResNfy; }

long RES_LockedSendNfyData(ResPtr res, Int message, ClientPtr data) {
  ClientPtr old = res->NfyData;
  res->NfyData = data;
  RES_Use(res);
  long result = 0;
  try {
    result = res->Notify ? res->Notify(res, message, data) : 0;
  } catch (...) {
    if (res->ResPrivate5 >= 2) res->NfyData = old;
    RES_Release(res);
    throw;
  }
  if (res->ResPrivate5 >= 2) res->NfyData = old;
  RES_Release(res);
  return result;
}

NfierPtr RES_GetResMgrNfier() {
  if (!sMgrNfier) sMgrNfier = NFIER_New();
  return sMgrNfier;
}

// --- Checks ------------------------------------------------------------------------

void RES_CheckClass(ResPtr res, RClasPtr cls) {
  if (!res) ERR_Fail("Res", kResErrNull, cls->Name);
  if (cls->Flags & RCLAS_FLAGNORECORD) return;
  if (!RCLAS_IsSubClassOf(res->ResClass, cls))
    ERR_Fail("Res", kResErrWrongClass, RES_QueryFullName(res), res->ResClass->Name, cls->Name);
}

void RES_SetErrFmtOpt(_ErrFrameRec* frame, ResPtr res) {
  ERR_SetOpt(frame, S_FormatResName, res);
}
