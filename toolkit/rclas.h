// Resource classes: a table of fields and callbacks per class, registered
// by name in one class tree.  Classes come from code (RCLAS_Register,
// RCLAS_CPlusRegister) or from the class section of a resource library
// (flag 0x400, "defined by data").  Widget classes register the same way
// from their modules' install routines.
#ifndef OWB_TOOLKIT_RCLAS_H
#define OWB_TOOLKIT_RCLAS_H

#include <cstddef>
#include <string>

#include "toolkit/tkbase.h"

struct _ResObj;
typedef _ResObj* ResPtr;
struct _RClasRec;
typedef _RClasRec* RClasPtr;
struct _BKnotRec;
typedef _BKnotRec* BKnotPtr;

// Field types: the number is the one stored in files.
enum {
  PFLD_INT16 = 0,
  PFLD_UINT16 = 1,
  PFLD_INT32 = 2,
  PFLD_UINT32 = 3,
  PFLD_STR = 4,        // char*, null for none
  PFLD_STRARRAY = 5,   // ArrayPtr of char*
  PFLD_VSTR = 6,       // VStrPtr
  PFLD_VSTRARRAY = 7,  // ArrayPtr of VStrPtr
  PFLD_RES = 8,        // ResPtr, holds a reference
  PFLD_RES0 = 9,       // ResPtr, holds a reference
  PFLD_RESARRAY = 10,  // ArrayPtr of ResPtr
  PFLD_DATA32 = 11,    // _DataRec
  PFLD_DATA8 = 12,
  PFLD_DATA16 = 13,
  PFLD_NUMTYPES = 14
};

// Raw bytes of a Data field: not converted when read or written.
struct _DataRec {
  UInt32 Size;
  uint8_t* Data;
};

// Field kinds (for property editors); -1 is an alias kept for old files
// and never written.
enum { PFLD_KINDALIAS = -1, PFLD_KINDTEXT = 1, PFLD_KINDVALUE = 2, PFLD_KINDGEOMETRY = 3, PFLD_KINDKEYS = 10 };

// A field descriptor.  A class's table is closed by an entry with a null
// Name.  An Offset of 0 marks a field that is gone: read and dropped.
struct _PFldRec {
  const char* Name;
  Int Offset;
  Int Type;
  Int Kind;
  Int Reserved;
  Int FileIndex;  // index in the field table of the library being saved
};
typedef _PFldRec* PFldPtr;

// A field-table entry for the member `member` of the object record `Record`.
#define PFLD_MEMBER(Record, name, member, type, kind) \
  {name, static_cast<Int>(offsetof(Record, member)), type, kind, 0, -1}

const char* PFLD_TypeName(Int type);  // "Int16" ... "Data16", null outside
Int PFLD_TypeFromName(const char* name);  // -1 when unknown
// Bytes a field of the type takes in an object, and its alignment.
Int PFLD_TypeSize(Int type);
Int PFLD_TypeAlign(Int type);

// Construction parameters.
enum { RES_MODENEW = 0, RES_MODECLONE = 1, RES_MODELOAD = 2, RES_MODECOPY = 3 };
struct _ResConstructRec {
  Int Mode;
  RClasPtr Class;
  BKnotPtr Knot;
  ResPtr Source;
  BoolEnum Deep;
  BoolEnum Named;
  BoolEnum Attach;
};
typedef _ResConstructRec* ResConstructPtr;

typedef long (*ResNfyCBack)(ResPtr res, Int message, ClientPtr data);
typedef ResPtr (*RClasNewCBack)(RClasPtr cls, ResConstructPtr params);
typedef void (*RClasDeleteCBack)(ResPtr res);
typedef void (*RClasConstructCBack)(ResPtr res, ResConstructPtr params);
typedef void (*RClasDestructCBack)(ResPtr res);

// Class flags.
enum {
  RCLAS_FLAGNEWEXPORTED = 32,  // new instances get resource flag 1
  RCLAS_FLAGNORECORD = 0x100,  // instances have no field record
  RCLAS_FLAGDATA = 0x400,      // defined by data
  RCLAS_FLAGEXTERN = 0x800,    // registered from outside
  RCLAS_INHERITEDFLAGS = 142   // only these bits pass to a derived class
};

struct _RClasRec {
  Int SizeOfRes;
  const char* Name;
  PFldPtr Fields;
  UInt Flags;
  ResNfyCBack DefNotify;
  RClasNewCBack New;
  RClasDeleteCBack Delete;
  RClasConstructCBack Construct;
  RClasDestructCBack Destruct;
  RClasPtr ParentClass;
  ClientPtr ClientData;
  ClientPtr ClassNode;
  Int Version;  // 0 counts as 8
  const char* ModName;
  UInt16 InstanceCount;
  ResPtr Template;
  UInt16 ClassIndex;
  UInt32 ClassId;
};

constexpr Int kRClasDefaultVersion = 8;

// "RClas" message numbers (Errors list).
enum {
  kRClasErrExists = 0,        // class %s exists already
  kRClasErrNoField = 4,       // class %s has no field %s
  kRClasErrFieldType = 5,     // field %s of class %s has another type
  kRClasErrUnknown = 6,       // unknown class %s
  kRClasErrTemplateName = 8,  // template %s must be named %sTemplate
  kRClasErrTemplateLib = 9,   // template %s is not in the library of class %s
  kRClasErrTemplateSet = 10,  // class %s has a template already
  kRClasErrVersion = 11,      // class %s: version %d in file is newer than %d
  kRClasErrBadField = 12,     // class %s: bad field %s
  kRClasErrInUse = 13,        // class %s cannot change while it has instances, subclasses or a template
  kRClasErrText = 14          // class text, line %d: %s
};

// Registers the class; it keeps the record (the caller's, usually static).
// Name and ModName are copied.  A second class of one name fails.
void RCLAS_Register(RClasPtr cls);
// A class made from these parts (flag 0x800).  The field table is used as
// it is and must live as long as the class.
RClasPtr RCLAS_CPlusRegister(const char* name, RClasNewCBack newProc, RClasDeleteCBack deleteProc,
                             RClasConstructCBack construct, RClasPtr parent, PFldPtr fields,
                             Int sizeOfRes);
// A class defined by data: fields (name, type) laid out after the parent's
// part.  Registered with flag 0x400.
RClasPtr RCLAS_NewDataClass(const char* name, const char* modName, RClasPtr parent, UInt flags,
                            Int version, Int numFields, const char* const* fieldNames,
                            const Int* fieldTypes);

RClasPtr RCLAS_FindByName(const char* name);
RClasPtr RCLAS_GetFirst();
RClasPtr RCLAS_GetNext(RClasPtr cls);
BoolEnum RCLAS_IsSubClassOf(RClasPtr cls, RClasPtr ancestor);
Int RCLAS_GetVersion(RClasPtr cls);  // 8 for a class with none
Int RCLAS_GetNumSubClasses(RClasPtr cls);
RClasPtr RCLAS_GetNthSubClass(RClasPtr cls, Int n);

void RCLAS_SetDefNfy(RClasPtr cls, ResNfyCBack proc);
ResNfyCBack RCLAS_GetDefNfy(RClasPtr cls);
long RCLAS_ProcessDefNfy(RClasPtr cls, ResPtr res, Int message, ClientPtr data);
void RCLAS_SetTemplate(RClasPtr cls, ResPtr res);

// The field named `name` of the class or an ancestor (case ignored), or null.
PFldPtr RCLAS_FindField(RClasPtr cls, const char* name);
// The class whose own table holds the field.
RClasPtr RCLAS_FieldOwner(RClasPtr cls, PFldPtr field);
// Calls proc for every field from the root class down.
void RCLAS_ForEachField(RClasPtr cls, void (*proc)(PFldPtr field, ClientPtr data), ClientPtr data);

// --- Memory pools ----------------------------------------------------------------
// A class with a pool allocates its instances from it (RES_DefaultNew and
// RES_DefaultDelete); the pool record belongs to the caller and must
// outlive the class's instances.  A pool can change only while the class
// has no instances (failure "RClas" 13).
struct _RClasPoolRec {
  void* (*Alloc)(size_t size, ClientPtr data);  // null when out of memory
  void (*Free)(void* block, ClientPtr data);
  ClientPtr Data;
};
typedef _RClasPoolRec* RClasPoolPtr;
void RCLAS_SetMemPool(RClasPtr cls, RClasPoolPtr pool);  // null: the heap
RClasPoolPtr RCLAS_GetMemPool(RClasPtr cls);

// --- Instances ---------------------------------------------------------------------
// The live instances of exactly this class (not of its subclasses), oldest
// first.  An instance destroyed during the walk must not be the one passed
// to RCLAS_GetResNext.
ResPtr RCLAS_GetResFirst(RClasPtr cls);
ResPtr RCLAS_GetResNext(RClasPtr cls, ResPtr res);
// The version under which an object is being built: a loaded object's
// stored version, otherwise its class's.
Int RCLAS_GetCreateVersion(ResConstructPtr params);

// --- Classes made and edited at run time ------------------------------------------
// Only classes defined by data (flag 0x400) are editable; RCLAS_Update and
// RCLAS_Dispose further require that the class has no instances, no
// subclasses and no template, and is listed by no loaded library
// (failure "RClas" 13).
BoolEnum RCLAS_IsEditable(RClasPtr cls);
// A new class without fields of its own, derived from parent (Res when
// null), defined in module modName.
RClasPtr RCLAS_NewSetParentAndModule(const char* name, RClasPtr parent, const char* modName);
// A new class under another name with cls's parent, module, version and
// own fields (laid out anew after the parent's part).
RClasPtr RCLAS_Clone(RClasPtr cls, const char* name);
// Replaces the own fields of an editable class.
void RCLAS_Update(RClasPtr cls, Int numFields, const char* const* fieldNames, const Int* fieldTypes);
// Unregisters an editable class and frees it.
void RCLAS_Dispose(RClasPtr cls);
// The class in the text form of resource sources:
//   class Name : Parent module Module version 8 flags 0 {
//     Field Type
//   }
// (version and flags only when set; flags 0x400 and 0x800 are the
// registry's own and never written or read).
// RCLAS_ParseOutput gives the class's own fields; RCLAS_ParseCompile reads
// one such definition and registers it as a class defined by data
// (failure "RClas" 14 naming the line for text it cannot read, 0 for a
// name taken, 6 for an unknown parent).
std::string RCLAS_ParseOutput(RClasPtr cls);
RClasPtr RCLAS_ParseCompile(const char* text);

// --- Display names -----------------------------------------------------------------
// The string resource that names the class for people: class name +
// "ClassName" in the class's module, else "Class" + key (key may be null)
// in the module named as the class.  A reference the caller releases, or
// null when there is none.
ResPtr RCLAS_QueryDispRes(RClasPtr cls, const char* key);
// Its text, or the class name when there is none.
std::string RCLAS_QueryDispName(RClasPtr cls, const char* key);

// Internal: instance bookkeeping for RES_CallConstructs/RES_CallDestructs,
// and the allocation through the class's pool.
void RClasAddInstance(RClasPtr cls, ResPtr res);
void RClasRemoveInstance(RClasPtr cls, ResPtr res);
void* RClasAlloc(RClasPtr cls);
void RClasFree(RClasPtr cls, void* block);

// Called after every registration (the display layer may hook here).
void RCLAS_SetPostRegisterProc(void (*proc)(RClasPtr cls));

// Resets the class registry to nothing (library start-up).
void RCLAS_StartupInit();

#endif  // OWB_TOOLKIT_RCLAS_H
