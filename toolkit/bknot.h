// Knots: the names of resources.  Every named resource has a knot in a
// tree: module knots at the root (one per module of a loaded library),
// their children below, each parent's children a balanced binary tree
// sorted by name without regard to case.  A knot read from a file keeps
// its file position and the shape of its tree as stored; a tree that
// changes is rebalanced.
#ifndef OWB_TOOLKIT_BKNOT_H
#define OWB_TOOLKIT_BKNOT_H

#include <string>
#include <vector>

#include "toolkit/rclas.h"
#include "toolkit/rlibcodec.h"

struct _BFileRec;
struct _RLibRec;

struct _BKnotRec {
  BKnotPtr Left = nullptr;  // tree node among the siblings
  BKnotPtr Right = nullptr;
  Int Balance = 0;          // -1, 0 or 1
  char* Name = nullptr;
  ResPtr Res = nullptr;     // the attached resource
  _BFileRec* File = nullptr;
  UInt32 Offset = 0;        // knot offset in File, 0 for none
  RClasPtr Class = nullptr;
  BKnotPtr Parent = nullptr;
  BKnotPtr ChildRoot = nullptr;
  Int NumChildren = 0;
  UInt32 ChildRootOffset = 0;
  BoolEnum ChildrenLoaded = 0;
  UInt32 FieldOffset = 0;   // field record offset, 0 for none
  UInt8 Version = 8;
  BoolEnum IsModule = 0;
  BoolEnum TreeChanged = 0; // the child tree must be rebalanced and saved
  _RLibRec* Lib = nullptr;  // the library that owns this knot
};

// "BKnot" message numbers (Errors list).
enum {
  kBKnotErrCorrupt = 0,  // knot tree at offset %ld is corrupt
  kBKnotErrTooDeep = 1,  // knots nested too deeply at offset %ld
  kBKnotErrCount = 2,    // child tree at offset %ld does not hold %d knots
  kBKnotErrName = 3      // bad resource name %s
};

constexpr Int kBKnotMaxDepth = 64;       // nesting of resources
constexpr Int kBKnotMaxTreeHeight = 48;  // height of one child tree

BKnotPtr BKNOT_New(const char* name, RClasPtr cls);
// A new knot whose name is checked: 1 to 255 characters, no "." (failure
// "BKnot" 3).  Owned by the caller until it is given a parent.
BKnotPtr BKNOT_NewSetNameClass(const char* name, RClasPtr cls);
// The block file the knot was read from or saved to; null for a knot made
// at run time and not saved yet.
_BFileRec* BKNOT_GetBFile(BKnotPtr knot);
// The root of the knot's child tree (balanced by name, Left and Right),
// read from the file on first use; null without children.
BKnotPtr BKNOT_GetRoot(BKnotPtr knot);
// Writes the knot's block for lib: its class joins lib's class list, the
// offsets of its child root and siblings are filled in when the file is
// flushed.  The block is rewritten in place when the knot already lies in
// lib's file and both it and a field record of fieldBytes fit their
// chains, otherwise it goes to the end of the file, where the caller must
// place the field record at once (the record starts where the knot's
// block ends).  Gives true for in place.
bool BKNOT_Save(BKnotPtr knot, _RLibRec* lib, size_t fieldBytes, bool hasRecord);
// Frees the knot and its loaded child tree (the resources are not touched).
void BKNOT_Dispose(BKnotPtr knot);
void BKNOT_Init();

// Module knots, registered by name as libraries load.
void BKNOT_AddModule(BKnotPtr knot);
void BKNOT_RemoveModule(BKnotPtr knot);
BKnotPtr BKNOT_FindModule(const char* name);
std::vector<BKnotPtr> BKNOT_GetModules();

// Looks `name` up: a dotted path below module `moduleName`.  Null when absent.
BKnotPtr BKNOT_Find(const char* moduleName, const char* name);
BKnotPtr BKNOT_FindByFullName(const char* fullName);
BKnotPtr BKNOT_FindChild(BKnotPtr parent, const char* name);
// Reads the child tree from the file when it is not there yet.
void BKNOT_LoadChildren(BKnotPtr knot);
// A knot reached by offset alone (exported knots carry their parent).
BKnotPtr BKNOT_LoadFromOffset(_BFileRec* file, UInt32 offset);
// Reads and checks one knot record (its class index is not resolved).
KnotRecord BKNOT_ReadRecord(_BFileRec* file, UInt32 offset, UInt32* fieldOffset);

// Children in name order.
std::vector<BKnotPtr> BKNOT_Children(BKnotPtr knot);
BKnotPtr BKNOT_GetFirst(BKnotPtr knot);
BKnotPtr BKNOT_GetNext(BKnotPtr knot, BKnotPtr child);
// Moves a knot under a new parent (or none); a clash is solved by numbering.
void BKNOT_SetParent(BKnotPtr knot, BKnotPtr parent);
void BKNOT_SetName(BKnotPtr knot, const char* name);
const char* BKNOT_GetName(BKnotPtr knot);
BKnotPtr BKNOT_GetModuleKnot(BKnotPtr knot);
std::string BKNOT_QueryFullName(BKnotPtr knot);
Int BKNOT_Depth(BKnotPtr knot);
// Rebuilds the child tree balanced from the children in name order.
void BKNOT_Rebalance(BKnotPtr knot);

#endif  // OWB_TOOLKIT_BKNOT_H
