// Resources: the head of every toolkit object, its life, names, children
// and notification.
//
// A resource is a plain record that begins with ResObj and is created and
// destroyed through its class.  It is reference counted (RES_Use,
// RES_Release; a count of 65535 never changes), may be named by a knot in
// a library's tree, attached to that knot (shared by every RES_Load) or
// detached (a private copy), and hears events through one notification
// procedure, Notify(res, message, data).
//
// Contracts:
// - Every RES_Load*, RES_Find*, RES_Create* and RES_Clone* returns a
//   reference the caller owns: it ends it with RES_Release (or gives it to
//   a parent, RES_AddChild).  RES_Use takes one more reference.
// - A failure (no such resource, no file, nesting too deep, a failing
//   constructor) unwinds through the toolkit's error frames; nothing is
//   left half made and the caller owns nothing.  RES_Find* return null for
//   a missing resource instead.
// - Names are looked up in the loaded libraries: the library of the module
//   must be loaded (RLIB_LoadLibFile) before a load by name.
#ifndef OWB_TOOLKIT_RES_H
#define OWB_TOOLKIT_RES_H

#include <string>

#include "toolkit/nfier.h"
#include "toolkit/rclas.h"

struct _ErrFrameRec;
struct _RLibRec;
typedef _RLibRec* RLibPtr;
struct _BFileRec;

// The private fields are the resource module's; other modules read them
// through the RES_ calls named beside them.
struct _ResObj {
  RClasPtr ResClass;
  BKnotPtr ResPrivate;      // the knot naming it in a library's tree; null when unnamed (RES_GetName)
  ResPtr ResPrivate1;       // the parent, not owned; null at the top (RES_GetParent)
  ArrayPtr ResPrivate2;     // the children, one reference each, or null (RES_GetNthChild)
  UInt ResInitialized : 1;  // RES_NFYINIT seen
  UInt ResPrivate3 : 1;     // modified since the last save (RES_SetModified)
  UInt ResPrivate4 : 14;    // flags, RES_FLAG... below
  UInt16 ResPrivate5;       // reference count; kResImmortal never changes, 0 while being destroyed (RES_GetRefCount)
  ClientPtr ClientData;
  ClientPtr NfyData;
  ResNfyCBack Notify;
  ClientPtr ResPrivate6;  // unused, always null; kept for the record's layout
  ClientPtr ResPrivate7;  // a module resource: its library (an RLibPtr, not owned); otherwise null
};

// Resource flags (ResPrivate4).
enum {
  RES_FLAGEXPORTED = 1,
  RES_FLAGPRELOAD = 2,   // loaded with the library
  RES_FLAGSAVEALL = 8,   // every field is saved
  RES_FLAGTYPED = 16,    // field types stored in the record
  RES_FLAGSCAN = 0x200,  // scan mark
  RES_FLAGLOCKED = 0x400 // a part of a template
};

constexpr UInt16 kResImmortal = 65535;

enum ENUM_ResNfyEnum {
  RES_NFYINIT = 0,
  RES_NFYEND = 1,
  RES_NFYRESET = 2,
  RES_NFYRESMGR = 3,
  RES_NFYCTRLDATA = 4,
  RES_NFYSETDATA = 5,
  RES_NFYGETDATA = 6
};

// Codes broadcast on the resource manager's notifier.
enum { RES_MGRLIBLOADED = 1, RES_MGRCLASSREGISTERED = 15 };

struct _ResCtrlDataRec {
  ClientPtr Key;
  ResPtr Res;
  ClientPtr Data;
  ClientPtr ClientData;
};
struct _ResCtrlNfyRec {
  _ResCtrlDataRec* CtrlData;
  ResPtr CtrlCaller;
  Int CtrlMsg;
};

// "Res" message numbers.
enum {
  kResErrNoFile = 0,      // Errors: resource %s has no file
  kResErrNotFound = 1,    // Errors: cannot find resource %s
  kResErrTooDeep = 2,     // Errors: resources nested too deeply at %s
  kResErrWrongClass = 4,  // Errors: %s is a %s, expected a %s
  kResErrNull = 5,        // Errors: null resource, expected a %s
  kResErrNoScript = 6,    // Errors: no script procedure to %s %s is installed
  kResErrChangeClass = 7, // Errors: %s cannot become a %s
  kResMsgLoading = 0,     // Messages: loading resource %s
  kResMsgSaving = 1       // Messages: saving resource %s
};

// --- Creation ----------------------------------------------------------------
ResPtr RES_Create(RClasPtr cls);
ResPtr RES_CreateNamed(RClasPtr cls);  // named class name + "1"
ResPtr RES_Clone(ResPtr res, BoolEnum deep);
ResPtr RES_CloneNamed(ResPtr res, BoolEnum deep);
ResPtr RES_NewSetNameClass(const char* name, RClasPtr cls);
ResPtr RES_NewSetKnotClass(BKnotPtr knot, RClasPtr cls);

// --- Loading by name -----------------------------------------------------------
// Each returns a new reference the caller releases (see Contracts above).
// The attached forms share one object per knot: a second load of the same
// name gives the same object with one more reference.  The detached forms
// make a private copy each time, which the knot does not keep.
ResPtr RES_Load(const char* moduleName, const char* name);      // attached
ResPtr RES_LoadInit(const char* moduleName, const char* name);  // attached, RES_NFYINIT sent once
ResPtr RES_LoadDetach(const char* moduleName, const char* name);
ResPtr RES_LoadInitDetach(const char* moduleName, const char* name);
// Detached, with every child loaded down the tree.
ResPtr RES_LoadDeepDetach(const char* moduleName, const char* name);
// "Module.Name" names; a module's own name gives its module resource.
ResPtr RES_LoadByFullName(const char* fullName);
ResPtr RES_LoadDetachByFullName(const char* fullName);
// knot must have a file unless attach finds it already loaded.
ResPtr RES_LoadFromKnot(BKnotPtr knot, BoolEnum attach);
// The knot stored at offset of an open library file (owned by its library).
ResPtr RES_LoadFromOffset(_BFileRec* file, UInt32 offset);
// Like RES_Load, but null when there is no such resource.
ResPtr RES_Find(const char* moduleName, const char* name);
ResPtr RES_FindByFullName(const char* fullName);

// --- Children ----------------------------------------------------------------
Int RES_GetNumChildren(ResPtr res);
ResPtr RES_GetNthChild(ResPtr res, Int n);  // null outside, or with no array
ResPtr RES_GetFirstChild(ResPtr res);
ResPtr RES_GetNextChild(ResPtr res, ResPtr child);
ResPtr RES_FindChild(ResPtr res, const char* name);
void RES_LoadChildren(ResPtr res);
void RES_LoadDeepChildren(ResPtr res);
void RES_AddChild(ResPtr parent, ResPtr child);
void RES_LinkChild(ResPtr parent, ResPtr child, const char* name);
void RES_SetParent(ResPtr res, ResPtr parent);
ResPtr RES_GetParent(ResPtr res);
// Replaces the child array (the panel module orders children this way).
void RES_ResetChildren(ResPtr res, ArrayPtr children);
// Drops res's child array, unlinking each child that names res as its
// parent and releasing it; used when res itself is taken apart.
void RES_ReleaseChildren(ResPtr res);

// --- Identity ----------------------------------------------------------------
const char* RES_GetName(ResPtr res);  // "<unknown>" for no knot
std::string RES_QueryFullName(ResPtr res);
BoolEnum RES_IsNamed(ResPtr res);
BoolEnum RES_IsNameDefault(ResPtr res);
void RES_Rename(ResPtr res, const char* name);
ResPtr RES_GetModule(ResPtr res);
RLibPtr RES_GetLib(ResPtr res);
UInt32 RES_GetKnotOffset(ResPtr res);
UInt32 RES_GetResOffset(ResPtr res);
void RES_SetModified(ResPtr res);  // marks it and its module for saving
// Makes res an instance of cls in place: cls must be an ancestor or a
// descendant of res's class with the same instance size and memory pool
// (failure "Res" 7).  Its knot follows, and it is marked modified.
void RES_ChangeClass(ResPtr res, RClasPtr cls);
// Reads res's fields again from its library file, dropping changes not
// saved; a resource without a file fails "Res" 0.  Children are kept.
void RES_Reload(ResPtr res);
// Writes res's knot, its field record and its children's, in tree order,
// into lib (which must be open for writing).  The library's sections (a
// class or export this adds, a record that moved) are written by the next
// RLIB_Save.
void RES_SaveRec(RLibPtr lib, ResPtr res);

// --- Life ------------------------------------------------------------------------
// res must not be null.  Takes one more reference.
void RES_Use(ResPtr res);
// Ends one reference; the last one destroys res (its end notification,
// destructors, children released).  Null, an immortal resource and one
// already being destroyed are left alone, so a release from inside an end
// notification is safe.
void RES_Release(ResPtr res);
// Unlinks res from its parent (RES_SetParent null), then releases one
// reference.
void RES_Delete(ResPtr res);
void RES_Attach(ResPtr res);
void RES_Detach(ResPtr res);
void RES_DeepDetach(ResPtr res);
BoolEnum RES_IsAttached(ResPtr res);
UInt16 RES_GetRefCount(ResPtr res);

// --- Notification --------------------------------------------------------------
typedef void (*ResSetNfyCBack)(ResPtr res, ResNfyCBack proc, ClientPtr data);
void RES_SetNfyProcDS(ResPtr res, ResNfyCBack proc, ClientPtr data);
void RES_DefSetNfyProcDS(ResPtr res, ResNfyCBack proc, ClientPtr data);
ResSetNfyCBack RES_GetSetNfyProc();
void RES_SetSetNfyProc(ResSetNfyCBack proc);
long RES_DefNfy(ResPtr res, Int message, ClientPtr data);
void RES_SetResNfyDS(ResNfyCBack proc);
ResNfyCBack RES_QueryResNfy();
ResNfyCBack RES_QueryDefResNfy();
long RES_LockedSendNfyData(ResPtr res, Int message, ClientPtr data);
NfierPtr RES_GetResMgrNfier();

// --- Construction ---------------------------------------------------------------
// The default allocation of a class: SizeOfRes zeroed bytes, then the
// constructors.  A construction that fails is undone: nothing keeps
// pointing at the object, and it is freed unless a reference taken during
// the construction (a resource referring to itself) still holds it.
ResPtr RES_DefaultNew(RClasPtr cls, ResConstructPtr params);
void RES_DefaultDelete(ResPtr res);
void RES_CallConstructs(ResPtr res, RClasPtr cls, ResConstructPtr params);
void RES_CallDestructs(ResPtr res);
typedef void (*ResScriptCBack)(ResPtr res);
void RES_SetConstructScriptProc(ResScriptCBack proc);
void RES_SetDestructScriptProc(ResScriptCBack proc);
void RES_SetScriptCompilerStatus(BoolEnum status);
BoolEnum RES_GetScriptCompilerStatus();
void RES_SetWgtClass(RClasPtr cls);
// Scripts attached to resources are compiled and run by procedures that a
// scripting layer installs; the toolkit has none of its own.  With no
// procedure installed (or after one is set to null) RES_CompileScript and
// RES_ExecuteScript fail "Res" 6 naming the resource.  The procedure's
// result is returned as it is.
typedef long (*ResScriptRunCBack)(ResPtr res, const char* script);
void RES_SetCompileScriptProc(ResScriptRunCBack proc);
void RES_SetExecuteScriptProc(ResScriptRunCBack proc);
long RES_CompileScript(ResPtr res, const char* script);
long RES_ExecuteScript(ResPtr res, const char* script);

// --- Checks and errors ----------------------------------------------------------
void RES_CheckClass(ResPtr res, RClasPtr cls);
// The frame's message is formatted with the resource's full name.
void RES_SetErrFmtOpt(_ErrFrameRec* frame, ResPtr res);

// The root class `Res`, and its registration (resource layer install).
RClasPtr RES_Class();
void RES_InstallClass();

#endif  // OWB_TOOLKIT_RES_H
