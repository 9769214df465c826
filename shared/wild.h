// Wild-card matching of file names: `*` and `?`, single pass, no backtracking.
//
// A literal after a `*` binds to its first occurrence and is never
// reconsidered: `*.c` matches "a.c" but not "a.c.c".  A chunk of two or more
// wild characters ("**", "*?") is compared as literal text.
#ifndef OWB_SHARED_WILD_H
#define OWB_SHARED_WILD_H

#include "owbtypes.h"
#include "shared/list.h"

// One run of wild or of literal characters of a pattern; owns the rest of
// the chain.
class WildChunk {
 public:
  WildChunk();
  explicit WildChunk(const char* str);
  ~WildChunk();
  WildChunk(const WildChunk&) = delete;
  WildChunk& operator=(const WildChunk&) = delete;

  void setString(const char* str);
  WildChunk* getNextChunk();
  // Appends chunk at the end of the chain; nothing when chunk is this one.
  void addChunk(WildChunk* chunk);
  Boolean matchesAnyChar();
  // Matches this chunk at *offset of str, moving
  // *offset; scanFlag says that a `*` stands before this chunk.
  Boolean chunkMatchesString(const char* str, long* offset, Boolean* scanFlag);

  char* strData;
  WildChunk* nextChunk;
};

// One pattern.  A null pattern means `*`.
class WildCardString : public Item {
 public:
  WildCardString();
  explicit WildCardString(const char* str);
  WildCardString(const char* str, Boolean compareCase);
  ~WildCardString() override;

  void init(const char* str, Boolean compareCase);
  void buildWildChunks();
  Boolean matchesAnyChar();
  Boolean wildCardStringEqual(const char* str);

  char* actualString = nullptr;
  WildChunk* firstChunk = nullptr;
  Boolean caseSensitive = TRUE;
  char* originalString = nullptr;
};

// A `;`-separated list of patterns; matches when any pattern does.
class WildCardList {
 public:
  WildCardList(const char* str, Boolean compareCase);
  ~WildCardList();
  WildCardList(const WildCardList&) = delete;
  WildCardList& operator=(const WildCardList&) = delete;

  const char* getOriginalString();
  Boolean wildCardListEqual(const char* compareStr);

  List* wildList;
  Boolean matchesAnyCharBool;
  char* originalString;
};

#endif  // OWB_SHARED_WILD_H
