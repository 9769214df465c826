// Resource classes: a table of fields and callbacks per class, registered
// by name in one class tree.  Classes come from code (RCLAS_Register,
// RCLAS_CPlusRegister) or from the class section of a resource library
// (flag 0x400, "defined by data").  Widget classes register the same way
// from their modules' install routines.
#ifndef OWB_TOOLKIT_RCLAS_H
#define OWB_TOOLKIT_RCLAS_H

#include <cstddef>

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
  kRClasErrBadField = 12      // class %s: bad field %s
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

// Called after every registration (the display layer may hook here).
void RCLAS_SetPostRegisterProc(void (*proc)(RClasPtr cls));

// Resets the class registry to nothing (library start-up).
void RCLAS_StartupInit();

#endif  // OWB_TOOLKIT_RCLAS_H
