// Gap strings.
#include "toolkit/gstr.h"

#include <cstdlib>
#include <cstring>

#include "toolkit/err.h"

namespace {

constexpr Int32 kMinRoom = 64;

Int32 clampPos(const _GStrRec* s, Int32 pos) {
  Int32 len = GSTR_GetLen(s);
  return pos < 0 ? 0 : pos > len ? len : pos;
}

// Makes the gap at least `need` + 1 bytes wide: the room doubles, so that
// a run of insertions costs amortised constant time per byte.
void S_Grow(GStrPtr s, Int32 need) {
  Int32 gap = s->GapEnd - s->GapBeg;
  if (gap > need) return;
  Int32 len = GSTR_GetLen(s);
  int64_t room = s->Room < kMinRoom ? kMinRoom : s->Room;
  while (room - len <= need) room *= 2;
  // A text of a gigabyte is not an editor's.
  if (room > INT32_MAX / 2) ERR_FailStr("text of %ld bytes is too long", static_cast<long>(len + need));
  char* buf = static_cast<char*>(std::malloc(static_cast<size_t>(room)));
  if (!buf) ERR_FailStr("no memory for a text of %ld bytes", static_cast<long>(room));
  Int32 tail = s->Room - s->GapEnd;
  if (s->GapBeg) std::memcpy(buf, s->Buf, static_cast<size_t>(s->GapBeg));
  if (tail) std::memcpy(buf + room - tail, s->Buf + s->GapEnd, static_cast<size_t>(tail));
  std::free(s->Buf);
  s->Buf = buf;
  s->GapEnd = static_cast<Int32>(room) - tail;
  s->Room = static_cast<Int32>(room);
}

}  // namespace

GStrPtr GSTR_New() {
  GStrPtr s = new _GStrRec{nullptr, 0, 0, 0};
  S_Grow(s, 0);
  return s;
}

void GSTR_Dispose(GStrPtr str) {
  if (!str) return;
  std::free(str->Buf);
  delete str;
}

void GSTR_MoveGap(GStrPtr s, Int32 pos) {
  if (!s) return;
  pos = clampPos(s, pos);
  Int32 gap = s->GapEnd - s->GapBeg;
  if (pos < s->GapBeg) {
    Int32 n = s->GapBeg - pos;
    std::memmove(s->Buf + pos + gap, s->Buf + pos, static_cast<size_t>(n));
  } else if (pos > s->GapBeg) {
    Int32 n = pos - s->GapBeg;
    std::memmove(s->Buf + s->GapBeg, s->Buf + s->GapEnd, static_cast<size_t>(n));
  }
  s->GapBeg = pos;
  s->GapEnd = pos + gap;
}

const char* GSTR_2Str(GStrPtr s) {
  if (!s) return "";
  GSTR_MoveGap(s, GSTR_GetLen(s));
  s->Buf[s->GapBeg] = 0;  // the gap is never empty
  return s->Buf;
}

void GSTR_Insert(GStrPtr s, Int32 pos, const char* text, Int32 len) {
  if (!s || !text || len <= 0) return;
  S_Grow(s, len);
  GSTR_MoveGap(s, pos);
  std::memcpy(s->Buf + s->GapBeg, text, static_cast<size_t>(len));
  s->GapBeg += len;
}

void GSTR_Delete(GStrPtr s, Int32 pos, Int32 len) {
  if (!s || len <= 0) return;
  pos = clampPos(s, pos);
  Int32 end = clampPos(s, pos + len);
  if (end <= pos) return;
  GSTR_MoveGap(s, pos);
  s->GapEnd += end - pos;
}

void GSTR_Clear(GStrPtr s) {
  if (!s) return;
  s->GapBeg = 0;
  s->GapEnd = s->Room;
}

const char* GSTR_Range(const _GStrRec* s, Int32 beg, Int32 end, std::string* scratch) {
  if (!s) return "";
  beg = clampPos(s, beg);
  end = clampPos(s, end);
  if (end <= beg) return "";
  if (end <= s->GapBeg) return s->Buf + beg;
  if (beg >= s->GapBeg) return s->Buf + beg + (s->GapEnd - s->GapBeg);
  GSTR_CopyRange(s, beg, end, scratch);
  return scratch->data();
}

void GSTR_CopyRange(const _GStrRec* s, Int32 beg, Int32 end, std::string* out) {
  out->clear();
  if (!s) return;
  beg = clampPos(s, beg);
  end = clampPos(s, end);
  if (end <= beg) return;
  out->reserve(static_cast<size_t>(end - beg));
  if (beg < s->GapBeg) {
    Int32 e = end < s->GapBeg ? end : s->GapBeg;
    out->append(s->Buf + beg, static_cast<size_t>(e - beg));
    beg = e;
  }
  if (beg < end) {
    Int32 off = s->GapEnd - s->GapBeg;
    out->append(s->Buf + beg + off, static_cast<size_t>(end - beg));
  }
}

Int32 GSTR_NextChar(const _GStrRec* s, Int32 pos) {
  Int32 len = GSTR_GetLen(s);
  if (pos >= len) return len;
  pos = pos < 0 ? 0 : pos + 1;
  while (pos < len && !GSTR_IsCharStart(GSTR_At(s, pos))) pos++;
  return pos;
}

Int32 GSTR_PrevChar(const _GStrRec* s, Int32 pos) {
  pos = clampPos(s, pos);
  if (pos == 0) return 0;
  pos--;
  // A character is at most 4 bytes: never walk further back than that.
  for (int i = 0; i < 3 && pos > 0 && !GSTR_IsCharStart(GSTR_At(s, pos)); i++) pos--;
  return pos;
}

Int32 GSTR_CharStart(const _GStrRec* s, Int32 pos) {
  pos = clampPos(s, pos);
  for (int i = 0; i < 3 && pos > 0 && pos < GSTR_GetLen(s) && !GSTR_IsCharStart(GSTR_At(s, pos)); i++) pos--;
  return pos;
}

UInt32 GSTR_DecodeAt(const _GStrRec* s, Int32 pos, Int32* len) {
  Int32 total = GSTR_GetLen(s);
  unsigned char c = static_cast<unsigned char>(GSTR_At(s, pos));
  Int32 n = c < 0x80 ? 1 : c >= 0xF0 ? 4 : c >= 0xE0 ? 3 : c >= 0xC0 ? 2 : 1;
  if (pos + n > total) n = total - pos > 0 ? total - pos : 1;
  UInt32 cp = n == 1 ? c : n == 2 ? (c & 0x1Fu) : n == 3 ? (c & 0x0Fu) : (c & 0x07u);
  for (Int32 i = 1; i < n; i++) cp = (cp << 6) | (static_cast<unsigned char>(GSTR_At(s, pos + i)) & 0x3Fu);
  if (len) *len = n;
  return cp;
}

std::string GSTR_CleanUtf8(const char* text, size_t len) {
  std::string out;
  if (!text) return out;
  out.reserve(len);
  static const char kReplacement[] = "\xEF\xBF\xBD";
  const unsigned char* p = reinterpret_cast<const unsigned char*>(text);
  size_t i = 0;
  while (i < len) {
    unsigned char c = p[i];
    if (c < 0x80) {
      if (c) out.push_back(static_cast<char>(c));
      i++;
      continue;
    }
    size_t n = 0;
    UInt32 cp = 0, min = 0;
    if (c >= 0xC2 && c <= 0xDF) n = 2, cp = c & 0x1F, min = 0x80;
    else if (c >= 0xE0 && c <= 0xEF) n = 3, cp = c & 0x0F, min = 0x800;
    else if (c >= 0xF0 && c <= 0xF4) n = 4, cp = c & 0x07, min = 0x10000;
    size_t k = 1;
    bool ok = n != 0;
    for (; ok && k < n; k++) {
      if (i + k >= len || (p[i + k] & 0xC0) != 0x80) {
        ok = false;
        break;
      }
      cp = (cp << 6) | (p[i + k] & 0x3F);
    }
    if (ok && (cp < min || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF))) ok = false;
    if (ok) {
      out.append(text + i, n);
      i += n;
    } else {
      // One replacement for the lead byte and the continuation bytes that
      // followed it.
      out.append(kReplacement, 3);
      i += k > 1 ? k : 1;
    }
  }
  return out;
}

size_t GSTR_Utf8Prefix(const char* text, size_t len, size_t maxBytes) {
  if (len <= maxBytes) return len;
  size_t n = maxBytes;
  while (n > 0 && (static_cast<unsigned char>(text[n]) & 0xC0) == 0x80) n--;
  return n;
}
