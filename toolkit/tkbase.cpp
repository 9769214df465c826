// Growing arrays and strings of the toolkit.
#include "toolkit/tkbase.h"

#include <cctype>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

Int S_NextRoom(Int room, Int wanted) {
  Int next = room > 0 ? room : 4;
  while (next < wanted) {
    if (next < kArrayDoubleLimit) next *= 2;
    else next = wanted;
  }
  return next;
}

}  // namespace

ArrayPtr ARRAY_New(Int eltSize, Int room) {
  ArrayPtr array = new _ArrayRec{0, 0, eltSize, nullptr};
  if (room > 0) ARRAY_Reserve(array, room);
  return array;
}

void ARRAY_Dispose(ArrayPtr array) {
  if (!array) return;
  std::free(array->Data);
  delete array;
}

Int ARRAY_GetCount(ArrayPtr array) { return array ? array->Count : 0; }

void* ARRAY_GetNth(ArrayPtr array, Int n) {
  if (!array || n < 0 || n >= array->Count) return nullptr;
  return array->Data + static_cast<size_t>(n) * array->EltSize;
}

void ARRAY_Reserve(ArrayPtr array, Int count) {
  if (count <= array->Room) return;
  Int room = S_NextRoom(array->Room, count);
  void* data = std::realloc(array->Data, static_cast<size_t>(room) * array->EltSize);
  if (!data) throw std::bad_alloc();
  array->Data = static_cast<uint8_t*>(data);
  array->Room = room;
}

void ARRAY_Add(ArrayPtr array, const void* elt) { ARRAY_InsertAt(array, array->Count, elt); }

void ARRAY_InsertAt(ArrayPtr array, Int n, const void* elt) {
  if (n < 0) n = 0;
  if (n > array->Count) n = array->Count;
  ARRAY_Reserve(array, array->Count + 1);
  uint8_t* at = array->Data + static_cast<size_t>(n) * array->EltSize;
  std::memmove(at + array->EltSize, at, static_cast<size_t>(array->Count - n) * array->EltSize);
  std::memcpy(at, elt, array->EltSize);
  array->Count++;
}

void ARRAY_RemoveAt(ArrayPtr array, Int n) {
  if (!array || n < 0 || n >= array->Count) return;
  uint8_t* at = array->Data + static_cast<size_t>(n) * array->EltSize;
  std::memmove(at, at + array->EltSize, static_cast<size_t>(array->Count - n - 1) * array->EltSize);
  array->Count--;
}

VStrPtr VSTR_New(const char* text) { return text ? VSTR_NewLen(text, std::strlen(text)) : nullptr; }

VStrPtr VSTR_NewLen(const char* text, size_t n) {
  char* copy = static_cast<char*>(std::malloc(n + 1));
  if (!copy) throw std::bad_alloc();
  if (n) std::memcpy(copy, text, n);
  copy[n] = 0;
  return copy;
}

void VSTR_Dispose(VStrPtr str) { std::free(str); }

void VSTR_Set(VStrPtr* str, const char* text) {
  VStrPtr copy = VSTR_New(text);
  VSTR_Dispose(*str);
  *str = copy;
}

const char* VSTR_Get(VStrPtr str) { return str ? str : ""; }

Int STR_ICmp(const char* a, const char* b) {
  for (;; ++a, ++b) {
    int ca = std::tolower(static_cast<unsigned char>(*a));
    int cb = std::tolower(static_cast<unsigned char>(*b));
    if (ca != cb || !ca) return ca - cb;
  }
}
