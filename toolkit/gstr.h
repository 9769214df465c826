// Gap strings: the text of an editor held as one buffer with a gap at the
// place of the last edit, so that typing at one place costs no more than
// the bytes typed, whatever the length of the text.
//
// The text is Buf[0 .. GapBeg) followed by Buf[GapEnd .. Room); the gap
// never shrinks below one byte, so that GSTR_2Str can always add its NUL.
//
// Contracts:
//  - Positions are byte offsets, 0 .. GSTR_GetLen; a position outside is
//    brought into that range, never an overrun.
//  - The gap string owns its buffer.  The pointer that GSTR_2Str gives
//    stays the string's and is valid until the next change of the string.
//  - The bytes are stored as given; callers that want valid UTF-8 make it
//    so before they insert (GSTR_CleanUtf8).
#ifndef OWB_TOOLKIT_GSTR_H
#define OWB_TOOLKIT_GSTR_H

#include <string>

#include "toolkit/tkbase.h"

struct _GStrRec {
  char* Buf;
  Int32 Room;
  Int32 GapBeg;
  Int32 GapEnd;
};
typedef _GStrRec* GStrPtr;

GStrPtr GSTR_New();
void GSTR_Dispose(GStrPtr str);
// The text's length in bytes, without copying.
inline Int32 GSTR_GetLen(const _GStrRec* str) { return str ? str->Room - (str->GapEnd - str->GapBeg) : 0; }
// The byte at a position (0 .. len-1); 0 outside.
inline char GSTR_At(const _GStrRec* str, Int32 pos) {
  if (!str || pos < 0) return 0;
  if (pos < str->GapBeg) return str->Buf[pos];
  pos += str->GapEnd - str->GapBeg;
  return pos < str->Room ? str->Buf[pos] : 0;
}
// Closes the gap (moves it to the end) and gives the whole text,
// NUL-terminated; the pointer stays the string's.
const char* GSTR_2Str(GStrPtr str);
// Inserts len bytes at pos.
void GSTR_Insert(GStrPtr str, Int32 pos, const char* text, Int32 len);
// Removes len bytes from pos (cut to the text).
void GSTR_Delete(GStrPtr str, Int32 pos, Int32 len);
void GSTR_Clear(GStrPtr str);
// Moves the gap to pos.
void GSTR_MoveGap(GStrPtr str, Int32 pos);
// The bytes of [beg, end) as one run: a pointer into the buffer when the
// range lies on one side of the gap, else a copy in scratch.
const char* GSTR_Range(const _GStrRec* str, Int32 beg, Int32 end, std::string* scratch);
// Copies [beg, end) into out.
void GSTR_CopyRange(const _GStrRec* str, Int32 beg, Int32 end, std::string* out);

// UTF-8 helpers of the text editor.
// Whether the byte starts a character (is no continuation byte).
inline bool GSTR_IsCharStart(char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }
// The start of the character after / before pos.
Int32 GSTR_NextChar(const _GStrRec* str, Int32 pos);
Int32 GSTR_PrevChar(const _GStrRec* str, Int32 pos);
// pos moved back to the start of the character it lies in.
Int32 GSTR_CharStart(const _GStrRec* str, Int32 pos);
// The code point at pos (a character start), and its length in *len.
UInt32 GSTR_DecodeAt(const _GStrRec* str, Int32 pos, Int32* len);
// A copy of text in which every byte sequence that is not valid UTF-8
// (stray continuation bytes, overlong forms, surrogates, values above
// U+10FFFF, a sequence cut short) is replaced by U+FFFD, and NUL bytes
// are dropped.
std::string GSTR_CleanUtf8(const char* text, size_t len);
// The longest prefix of text, no longer than maxBytes, that ends on a
// character boundary (text is valid UTF-8).
size_t GSTR_Utf8Prefix(const char* text, size_t len, size_t maxBytes);

#endif  // OWB_TOOLKIT_GSTR_H
