// Items and lists: the collections of every tool.
//
// A List owns its elements when built with deleteElements true: destroying
// it, or removeAll, deletes them; remove, removei, replace and replacei hand
// the element back to the caller, who then owns it.  Nothing here is
// thread-safe.
#ifndef OWB_SHARED_LIST_H
#define OWB_SHARED_LIST_H

#include "owbtypes.h"

// Comparison methods for FixedList and List.
enum { EqualCompare = 0, SameCompare = 1 };

// Size of the buffer that List::log gives to printToString.
constexpr int kItemPrintBufferSize = 255;

// The polymorphic element.  itemType is assigned by derived classes only.
class Item {
 public:
  Item() = default;
  virtual ~Item() = default;
  // True only when other is this very object.
  virtual Boolean isEqual(ItemPtr other);
  // Sign of this minus other; the base gives 0 always.
  virtual long compare(ItemPtr other);
  virtual TypeIdent getItemType();
  // Writes at most kItemPrintBufferSize bytes (NUL included) into buf,
  // which may be null.  The base writes "item".
  virtual void printToString(char* buf);

  TypeIdent itemType = 0;
};

// A heap copy of a string, type FILE.  The item owns the text.
class StringItem : public Item {
 public:
  // Allocates an empty string and assigns no type identifier.
  StringItem();
  // Copies str (null gives the empty string); type FILE.
  explicit StringItem(const char* str);
  ~StringItem() override;
  StringItem(const StringItem&) = delete;
  StringItem& operator=(const StringItem&) = delete;

  void setString(const char* newString);
  // Same type identifier and strcmp equal; case-sensitive.
  Boolean isEqual(ItemPtr other) override;
  void printToString(char* buf) override;

  char* string;  // never null
};

// A 32-bit number, type NUMB.
class NumberItem : public Item {
 public:
  NumberItem();
  explicit NumberItem(int32_t value);
  Boolean isEqual(ItemPtr other) override;
  // Sign of this number minus other's, with 32-bit wrap-around.  other must
  // be a NumberItem; it is not tested.
  long compare(ItemPtr other) override;
  void printToString(char* buf) override;

  int32_t number;
};

// A bounded array of items.
class FixedList {
 public:
  FixedList(long initialLength, Boolean deleteItsElements, short comparisonType);
  virtual ~FixedList();
  FixedList(const FixedList&) = delete;
  FixedList& operator=(const FixedList&) = delete;

  // Null when position is not below numberElements.
  ItemPtr get(long position);
  // Looks at the first element only; findi and findItem search.
  Boolean find(ItemPtr item);
  long findi(ItemPtr item);
  ItemPtr findItem(ItemPtr item);
  // When full, nothing is stored (the caller keeps item) and a line is logged.
  void include(ItemPtr item);
  // beforeItem must be present.
  void insert(ItemPtr beforeItem, ItemPtr item);
  void inserti(long position, ItemPtr item);
  ItemPtr remove(ItemPtr item);
  ItemPtr removei(long position);
  ItemPtr replace(ItemPtr item);
  ItemPtr replacei(long position, ItemPtr item);
  void quickSort(long start, long finish, long ascendMultiplier);
  // true gives greatest first, false least first.
  void sort(Boolean ascending);

  ItemPtr* array;
  long numberElements;
  long maximumElements;
  Boolean deleteElements;
  short comparisonMethod;

 private:
  bool matches(ItemPtr item, ItemPtr element) const;
};

// One block of a List's chain.  The destructor unlinks it from its neighbours.
class ListChunk : public FixedList {
 public:
  ListChunk(long initialLength, Boolean deleteItsElements, short comparisonType);
  ~ListChunk() override;

  ListChunk* nextListChunk = nullptr;
  ListChunk* prevListChunk = nullptr;
};

// An unbounded list: a doubly linked chain of chunks, which may be partly
// filled or empty anywhere in the chain.
class List {
 public:
  List(long newChunkSize, Boolean deleteItsElements, short comparisonType);
  virtual ~List();
  List(const List&) = delete;
  List& operator=(const List&) = delete;

  // The chunk holding position, with the index within it; past the end
  // stores -1 and returns null.
  ListChunk* mapByPosition(long position, long* index);
  ListChunk* mapByItem(ItemPtr item, long* index);

  ItemPtr get(long position);
  Boolean find(ItemPtr item);
  long findi(ItemPtr item);
  ItemPtr findItem(ItemPtr item);
  void include(ItemPtr item);
  // A missing beforeItem or a position past the end appends.
  void insert(ItemPtr beforeItem, ItemPtr item);
  void inserti(long position, ItemPtr item);
  // Frees a chunk that it empties.
  ItemPtr remove(ItemPtr item);
  // Never frees an emptied chunk.
  ItemPtr removei(long position);
  // Empties the list, deleting the elements when it owns them; chunks stay.
  void removeAll();
  ItemPtr replace(ItemPtr item);
  ItemPtr replacei(long position, ItemPtr item);
  void quickSort(long start, long finish, long ascendMultiplier);
  void sort(Boolean ascending);
  // Writes the element count and each element's printToString to the log.
  virtual void log();

  ListChunk* firstListChunk;
  long totalElements;
  long chunkSize;
  Boolean deleteElements;
  short comparisonMethod;

 private:
  void privateInsert(ListChunk* targetChunk, long index, ItemPtr item);
  ListChunk* newChunk();
  ListChunk* lastChunk();
  void forgetPositions() { cachedChunk_ = nullptr; }

  // The end of the chain, so that include need not walk it; kept in step by
  // every operation that adds or frees a chunk.
  ListChunk* lastListChunk_ = nullptr;
  // The chunk of the last position looked up and the position of its first
  // element, so that walking a list in order does not start from the head
  // each time.  Forgotten by every operation that moves elements.
  ListChunk* cachedChunk_ = nullptr;
  long cachedStart_ = 0;
};

// The settings of every list in the tools.
constexpr long kStandardChunkSize = 32;

#endif  // OWB_SHARED_LIST_H
