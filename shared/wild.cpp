// Wild-card matching.
#include "shared/wild.h"

#include <cstring>
#include <string>

#include "shared/utils.h"

namespace {

bool isWildChar(char c) { return c == '*' || c == '?'; }

// Size of the buffer through which a pattern list is split at ';'.
constexpr size_t kPatternBufferSize = 256;

}  // namespace

// ---------------------------------------------------------------- WildChunk

WildChunk::WildChunk() : strData(nullptr), nextChunk(nullptr) {}

WildChunk::WildChunk(const char* str) : strData(newStringCopy(str)), nextChunk(nullptr) {}

WildChunk::~WildChunk() {
  delete[] strData;
  // The chain is deleted iteratively so that a long pattern cannot exhaust
  // the stack.
  WildChunk* rest = nextChunk;
  while (rest) {
    WildChunk* next = rest->nextChunk;
    rest->nextChunk = nullptr;
    delete rest;
    rest = next;
  }
}

void WildChunk::setString(const char* str) {
  delete[] strData;
  strData = newStringCopy(str);
}

WildChunk* WildChunk::getNextChunk() { return nextChunk; }

void WildChunk::addChunk(WildChunk* chunk) {
  if (chunk == this) return;
  WildChunk* last = this;
  while (last->nextChunk) last = last->nextChunk;
  last->nextChunk = chunk;
}

Boolean WildChunk::matchesAnyChar() { return strData && std::strcmp(strData, "*") == 0; }

Boolean WildChunk::chunkMatchesString(const char* str, long* offset, Boolean* scanFlag) {
  const char* text = strData ? strData : "";
  const size_t subjectLength = std::strlen(str);
  // An offset past the end (after `?` chunks) leaves nothing to look at.
  const size_t start = *offset < 0 ? 0 : static_cast<size_t>(*offset);
  const char* rest = start <= subjectLength ? str + start : str + subjectLength;

  if (std::strcmp(text, "*") == 0) {
    *scanFlag = TRUE;
    return TRUE;
  }
  if (std::strcmp(text, "?") == 0) {
    if (!*scanFlag) *offset += 1;
    return TRUE;
  }
  const size_t length = std::strlen(text);
  if (*scanFlag) {
    *scanFlag = FALSE;
    if (start > subjectLength) return FALSE;
    const char* found = std::strstr(rest, text);
    if (!found) return FALSE;
    *offset = static_cast<long>((found - str) + length);
    return TRUE;
  }
  // A subject too short for the chunk is a mismatch; nothing past its end
  // is read.
  const bool equal = start <= subjectLength && length <= subjectLength - start &&
                     std::memcmp(rest, text, length) == 0;
  *offset += static_cast<long>(length);
  return equal ? TRUE : FALSE;
}

// ---------------------------------------------------------------- WildCardString

WildCardString::WildCardString() { init(nullptr, TRUE); }

WildCardString::WildCardString(const char* str) { init(str, TRUE); }

WildCardString::WildCardString(const char* str, Boolean compareCase) { init(str, compareCase); }

WildCardString::~WildCardString() {
  delete firstChunk;
  delete[] actualString;
  delete[] originalString;
}

void WildCardString::init(const char* str, Boolean compareCase) {
  delete firstChunk;
  delete[] actualString;
  delete[] originalString;
  firstChunk = nullptr;
  if (!str) str = "*";
  caseSensitive = compareCase;
  originalString = newStringCopy(str);
  actualString = newStringCopy(str);
  if (!caseSensitive) makeLowercase(actualString);
  buildWildChunks();
}

void WildCardString::buildWildChunks() {
  delete firstChunk;
  firstChunk = nullptr;
  const char* text = actualString ? actualString : "";
  const size_t total = std::strlen(text);
  if (total == 0) {
    firstChunk = new WildChunk("");
    return;
  }
  WildChunk* last = nullptr;
  size_t begin = 0;
  while (begin < total) {
    const bool wild = isWildChar(text[begin]);
    size_t end = begin + 1;
    while (end < total && isWildChar(text[end]) == wild) end++;
    std::string run(text + begin, end - begin);
    WildChunk* chunk = new WildChunk(run.c_str());
    if (last) last->nextChunk = chunk;
    else firstChunk = chunk;
    last = chunk;
    begin = end;
  }
}

Boolean WildCardString::matchesAnyChar() {
  return firstChunk && !firstChunk->nextChunk && firstChunk->matchesAnyChar();
}

Boolean WildCardString::wildCardStringEqual(const char* str) {
  if (!str) return FALSE;
  if (matchesAnyChar()) return TRUE;
  std::string subject(str);
  if (!caseSensitive) makeLowercase(subject.data());
  long offset = 0;
  Boolean scanFlag = FALSE;
  Boolean matched = TRUE;
  for (WildChunk* chunk = firstChunk; chunk && matched; chunk = chunk->nextChunk)
    matched = chunk->chunkMatchesString(subject.c_str(), &offset, &scanFlag);
  return matched && (offset == static_cast<long>(subject.size()) || scanFlag) ? TRUE : FALSE;
}

// ---------------------------------------------------------------- WildCardList

WildCardList::WildCardList(const char* str, Boolean compareCase)
    : wildList(new List(kStandardChunkSize, TRUE, EqualCompare)),
      matchesAnyCharBool(FALSE),
      originalString(newStringCopy(str ? str : "")) {
  const char* rest = originalString;
  while (*rest) {
    const size_t length = std::strcspn(rest, ";");
    char pattern[kPatternBufferSize];
    const size_t kept = length < kPatternBufferSize - 1 ? length : kPatternBufferSize - 1;
    std::memcpy(pattern, rest, kept);
    pattern[kept] = '\0';
    WildCardString* wild = new WildCardString(pattern, compareCase);
    if (wild->matchesAnyChar()) matchesAnyCharBool = TRUE;
    wildList->inserti(0, wild);
    rest += length;
    if (*rest == ';') rest++;
  }
}

WildCardList::~WildCardList() {
  delete wildList;
  delete[] originalString;
}

const char* WildCardList::getOriginalString() { return originalString; }

Boolean WildCardList::wildCardListEqual(const char* compareStr) {
  for (long i = 0; i < wildList->totalElements; i++) {
    if (static_cast<WildCardString*>(wildList->get(i))->wildCardStringEqual(compareStr)) return TRUE;
  }
  return FALSE;
}
