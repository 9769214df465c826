// Field values of resources: typed access by descriptor, copying and
// freeing, and the field record of a resource in its library file.
#ifndef OWB_TOOLKIT_PFLD_H
#define OWB_TOOLKIT_PFLD_H

#include <string>
#include <vector>

#include "toolkit/res.h"

struct _BFileRec;

// "PFld" message numbers (Errors list).
enum {
  kPFldErrType = 0,     // field %s: type %d in file, %d in class
  kPFldErrNotOwn = 1,   // field %s does not belong to class %s
  kPFldErrAccess = 2    // field %s is not of the kind asked for
};

// Typed access.  The Int form serves the four integer types; the setters
// mark nothing (RES_SetModified does).
long PFLD_GetInt(ResPtr res, PFldPtr field);
void PFLD_SetInt(ResPtr res, PFldPtr field, long value);
const char* PFLD_GetStr(ResPtr res, PFldPtr field);  // Str and VStr
void PFLD_SetStr(ResPtr res, PFldPtr field, const char* value);
// StrArray and VStrArray.
Int PFLD_GetStrCount(ResPtr res, PFldPtr field);
const char* PFLD_GetNthStr(ResPtr res, PFldPtr field, Int n);
void PFLD_SetStrs(ResPtr res, PFldPtr field, const std::vector<const char*>& values);
// Res and Res0 (the field takes its own reference).
ResPtr PFLD_GetRes(ResPtr res, PFldPtr field);
void PFLD_SetRes(ResPtr res, PFldPtr field, ResPtr value);
Int PFLD_GetResCount(ResPtr res, PFldPtr field);
ResPtr PFLD_GetNthRes(ResPtr res, PFldPtr field, Int n);
void PFLD_SetResArray(ResPtr res, PFldPtr field, const std::vector<ResPtr>& values);
// Data32, Data8, Data16.
const _DataRec* PFLD_GetData(ResPtr res, PFldPtr field);
void PFLD_SetData(ResPtr res, PFldPtr field, const void* bytes, UInt32 size);

// Whether two resources' values of the field are the same.
BoolEnum PFLD_Equal(ResPtr a, ResPtr b, PFldPtr field);

// Copies every field of src's class into dst (deep: strings, arrays, data;
// references are shared with a reference taken).
void PFLD_ResCopy(ResPtr dst, ResPtr src);
// Frees string, array and data fields and releases references; leaves
// every field empty.
void PFLD_ResFree(ResPtr res);

// Reads the resource's field record (its knot's FieldOffset).
void PFLD_Load(_BFileRec* file, ResPtr res);
// Adds what the record needs to the library: imports, exports, fields.
void PFLD_LibUpdateRefs(RLibPtr lib, ResPtr res);
// The field record of the resource, encoded.  PFLD_LibUpdateRefs must
// have run, so that every reference has its import and export index.
std::vector<uint8_t> PFLD_Encode(RLibPtr lib, ResPtr res);

#endif  // OWB_TOOLKIT_PFLD_H
