// Base types of the widget toolkit and its two small containers: the
// growing array (ArrayPtr) and the growing string (VStrPtr).
//
// The toolkit is self-contained: it includes nothing of the tool library.
#ifndef OWB_TOOLKIT_TKBASE_H
#define OWB_TOOLKIT_TKBASE_H

#include <cstddef>
#include <cstdint>

typedef int Int;
typedef unsigned int UInt;
typedef int16_t Int16;
typedef uint16_t UInt16;
typedef int32_t Int32;
typedef uint32_t UInt32;
typedef uint8_t UInt8;
typedef uint64_t UInt64;
typedef void* ClientPtr;
typedef char* Str;
typedef int BoolEnum;  // 0 false, non-zero true

// A growing array of fixed-size elements.  Room doubles while it is below
// kArrayDoubleLimit elements and then grows exactly to what is needed.
struct _ArrayRec {
  Int Count;
  Int Room;
  Int EltSize;
  uint8_t* Data;
};
typedef _ArrayRec* ArrayPtr;

constexpr Int kArrayDoubleLimit = 16383;

ArrayPtr ARRAY_New(Int eltSize, Int room);
void ARRAY_Dispose(ArrayPtr array);
Int ARRAY_GetCount(ArrayPtr array);  // 0 for a null array
// Address of element n, or null outside 0..Count-1.
void* ARRAY_GetNth(ArrayPtr array, Int n);
// Grows the room so that at least `count` elements fit.
void ARRAY_Reserve(ArrayPtr array, Int count);
void ARRAY_Add(ArrayPtr array, const void* elt);
// Inserts at n (0..Count), moving the tail up.
void ARRAY_InsertAt(ArrayPtr array, Int n, const void* elt);
void ARRAY_RemoveAt(ArrayPtr array, Int n);

// Arrays of pointers, the common case (children, strings).
inline void* ARRAY_GetNthPtr(ArrayPtr array, Int n) {
  void** p = static_cast<void**>(ARRAY_GetNth(array, n));
  return p ? *p : nullptr;
}
inline void ARRAY_AddPtr(ArrayPtr array, void* p) { ARRAY_Add(array, &p); }

// A heap string owned by whoever holds the pointer; null is a valid value
// and stands for "no string".
typedef char* VStrPtr;

VStrPtr VSTR_New(const char* text);             // copy; null gives null
VStrPtr VSTR_NewLen(const char* text, size_t n);  // copy of n bytes + NUL
void VSTR_Dispose(VStrPtr str);
void VSTR_Set(VStrPtr* str, const char* text);  // replaces, frees the old
const char* VSTR_Get(VStrPtr str);              // "" for null

// Case-insensitive comparison of ASCII names, as knot trees compare them.
Int STR_ICmp(const char* a, const char* b);

#endif  // OWB_TOOLKIT_TKBASE_H
