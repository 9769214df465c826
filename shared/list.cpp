// Items and lists.
#include "shared/list.h"

#include <cstdio>
#include <cstring>

#include "shared/log.h"
#include "shared/utils.h"

// ---------------------------------------------------------------- Item

Boolean Item::isEqual(ItemPtr other) { return other == this; }

long Item::compare(ItemPtr) { return 0; }

TypeIdent Item::getItemType() { return itemType; }

void Item::printToString(char* buf) {
  if (buf) std::strcpy(buf, "item");
}

// ---------------------------------------------------------------- StringItem

StringItem::StringItem() : string(newEmptyString()) {}

StringItem::StringItem(const char* str)
    : string(str ? newStringCopy(str) : newEmptyString()) {
  itemType = kFileItemType;
}

StringItem::~StringItem() { delete[] string; }

void StringItem::setString(const char* newString) {
  delete[] string;
  string = newString ? newStringCopy(newString) : newEmptyString();
}

Boolean StringItem::isEqual(ItemPtr other) {
  if (!other || other->getItemType() != itemType) return FALSE;
  StringItem* otherString = static_cast<StringItem*>(other);
  return string && otherString->string && std::strcmp(string, otherString->string) == 0;
}

void StringItem::printToString(char* buf) {
  if (buf) std::snprintf(buf, kItemPrintBufferSize, "%s", string);
}

// ---------------------------------------------------------------- NumberItem

NumberItem::NumberItem() : number(0) { itemType = kNumberItemType; }

NumberItem::NumberItem(int32_t value) : number(value) { itemType = kNumberItemType; }

Boolean NumberItem::isEqual(ItemPtr other) {
  if (!other || other->getItemType() != itemType) return FALSE;
  return static_cast<NumberItem*>(other)->number == number;
}

long NumberItem::compare(ItemPtr other) {
  // other - this, wrapping at 32 bits; its sign is reversed to give this - other.
  const int32_t difference = static_cast<int32_t>(
      static_cast<uint32_t>(static_cast<NumberItem*>(other)->number) - static_cast<uint32_t>(number));
  if (difference > 0) return -1;
  if (difference < 0) return 1;
  return 0;
}

void NumberItem::printToString(char* buf) {
  if (buf) std::snprintf(buf, kItemPrintBufferSize, "%ld", static_cast<long>(number));
}

// ---------------------------------------------------------------- FixedList

FixedList::FixedList(long initialLength, Boolean deleteItsElements, short comparisonType)
    : array(new ItemPtr[initialLength > 0 ? initialLength : 1]()),
      numberElements(0),
      maximumElements(initialLength > 0 ? initialLength : 0),
      deleteElements(deleteItsElements),
      comparisonMethod(comparisonType) {}

FixedList::~FixedList() {
  if (deleteElements) {
    for (long i = 0; i < numberElements; i++) delete array[i];
  }
  delete[] array;
}

bool FixedList::matches(ItemPtr item, ItemPtr element) const {
  if (item == element) return true;
  return comparisonMethod == EqualCompare && item && item->isEqual(element);
}

ItemPtr FixedList::get(long position) {
  if (position >= numberElements) return nullptr;
  return array[position];
}

Boolean FixedList::find(ItemPtr item) {
  // Only the first element is looked at; findi and findItem search.
  if (numberElements == 0) return FALSE;
  return matches(item, array[0]) ? TRUE : FALSE;
}

long FixedList::findi(ItemPtr item) {
  for (long i = 0; i < numberElements; i++) {
    if (matches(item, array[i])) return i;
  }
  return -1;
}

ItemPtr FixedList::findItem(ItemPtr item) {
  const long position = findi(item);
  return position < 0 ? nullptr : array[position];
}

void FixedList::include(ItemPtr item) {
  if (numberElements >= maximumElements) {
    OWB_LOG("FixedList: aborted attempt to overflow list on include");
    return;
  }
  array[numberElements++] = item;
}

void FixedList::insert(ItemPtr beforeItem, ItemPtr item) { inserti(findi(beforeItem), item); }

void FixedList::inserti(long position, ItemPtr item) {
  if (numberElements >= maximumElements) {
    OWB_LOG("FixedList: aborted attempt to overflow list on insertion");
    return;
  }
  // A position outside the array appends rather than writing out of bounds.
  if (position < 0 || position > numberElements) position = numberElements;
  std::memmove(&array[position + 1], &array[position],
               static_cast<size_t>(numberElements - position) * sizeof(ItemPtr));
  array[position] = item;
  numberElements++;
}

ItemPtr FixedList::remove(ItemPtr item) {
  if (!item) return nullptr;
  const long position = findi(item);
  if (position < 0) return nullptr;
  return removei(position);
}

ItemPtr FixedList::removei(long position) {
  if (position < 0 || position >= numberElements) return nullptr;
  ItemPtr removed = array[position];
  std::memmove(&array[position], &array[position + 1],
               static_cast<size_t>(numberElements - position - 1) * sizeof(ItemPtr));
  numberElements--;
  array[numberElements] = nullptr;
  return removed;
}

ItemPtr FixedList::replace(ItemPtr item) {
  const long position = findi(item);
  if (position < 0) {
    include(item);
    return nullptr;
  }
  return replacei(position, item);
}

ItemPtr FixedList::replacei(long position, ItemPtr item) {
  if (position < 0 || position >= numberElements) return nullptr;
  ItemPtr old = array[position];
  array[position] = item;
  return old;
}

// The same partition scheme serves FixedList and List; only element access
// differs.  A greater element goes left when ascendMultiplier is 1.
template <typename Container>
static void quickSortElements(Container* list, long start, long finish, long ascendMultiplier) {
  if (start >= finish) return;
  long left = start;
  long right = finish;
  ItemPtr starterValue = list->get((start + finish) / 2);
  do {
    ItemPtr leftItem = list->get(left);
    while (starterValue->compare(leftItem) * ascendMultiplier < 0) leftItem = list->get(++left);
    ItemPtr rightItem = list->get(right);
    while (starterValue->compare(rightItem) * ascendMultiplier > 0) rightItem = list->get(--right);
    if (left <= right) {
      list->replacei(left, rightItem);
      list->replacei(right, leftItem);
      left++;
      right--;
    }
  } while (left < right);
  if (start < right) quickSortElements(list, start, right, ascendMultiplier);
  if (left < finish) quickSortElements(list, left, finish, ascendMultiplier);
}

void FixedList::quickSort(long start, long finish, long ascendMultiplier) {
  quickSortElements(this, start, finish, ascendMultiplier);
}

void FixedList::sort(Boolean ascending) { quickSort(0, numberElements - 1, ascending ? 1 : -1); }

// ---------------------------------------------------------------- ListChunk

ListChunk::ListChunk(long initialLength, Boolean deleteItsElements, short comparisonType)
    : FixedList(initialLength, deleteItsElements, comparisonType) {}

ListChunk::~ListChunk() {
  if (prevListChunk) prevListChunk->nextListChunk = nextListChunk;
  if (nextListChunk) nextListChunk->prevListChunk = prevListChunk;
}

// ---------------------------------------------------------------- List

List::List(long newChunkSize, Boolean deleteItsElements, short comparisonType)
    : firstListChunk(nullptr),
      totalElements(0),
      chunkSize(newChunkSize > 0 ? newChunkSize : 1),
      deleteElements(deleteItsElements),
      comparisonMethod(comparisonType) {
  firstListChunk = lastListChunk_ = newChunk();
}

List::~List() {
  ListChunk* chunk = firstListChunk;
  while (chunk) {
    ListChunk* next = chunk->nextListChunk;
    delete chunk;
    chunk = next;
  }
}

ListChunk* List::newChunk() { return new ListChunk(chunkSize, deleteElements, comparisonMethod); }

ListChunk* List::lastChunk() {
  if (!lastListChunk_) {
    lastListChunk_ = firstListChunk;
    while (lastListChunk_ && lastListChunk_->nextListChunk) lastListChunk_ = lastListChunk_->nextListChunk;
  }
  return lastListChunk_;
}

ListChunk* List::mapByPosition(long position, long* index) {
  if (position >= 0) {
    ListChunk* chunk = firstListChunk;
    long start = 0;
    if (cachedChunk_ && position >= cachedStart_) {
      chunk = cachedChunk_;
      start = cachedStart_;
    }
    for (; chunk; chunk = chunk->nextListChunk) {
      if (position - start < chunk->numberElements) {
        cachedChunk_ = chunk;
        cachedStart_ = start;
        *index = position - start;
        return chunk;
      }
      start += chunk->numberElements;
    }
  }
  *index = -1;
  return nullptr;
}

ListChunk* List::mapByItem(ItemPtr item, long* index) {
  for (ListChunk* chunk = firstListChunk; chunk; chunk = chunk->nextListChunk) {
    const long found = chunk->findi(item);
    if (found != -1) {
      *index = found;
      return chunk;
    }
  }
  *index = -1;
  return nullptr;
}

ItemPtr List::get(long position) {
  long index;
  ListChunk* chunk = mapByPosition(position, &index);
  return chunk ? chunk->get(index) : nullptr;
}

Boolean List::find(ItemPtr item) { return findi(item) != -1 ? TRUE : FALSE; }

long List::findi(ItemPtr item) {
  long index;
  ListChunk* chunk = mapByItem(item, &index);
  if (!chunk) return -1;
  for (ListChunk* before = chunk->prevListChunk; before; before = before->prevListChunk)
    index += before->numberElements;
  return index;
}

ItemPtr List::findItem(ItemPtr item) {
  long index;
  ListChunk* chunk = mapByItem(item, &index);
  return chunk ? chunk->get(index) : nullptr;
}

void List::include(ItemPtr item) {
  ListChunk* last = lastChunk();
  if (!last) {
    firstListChunk = lastListChunk_ = last = newChunk();
  }
  if (last->numberElements == chunkSize) {
    ListChunk* added = newChunk();
    added->prevListChunk = last;
    last->nextListChunk = added;
    lastListChunk_ = last = added;
  }
  last->include(item);
  totalElements++;
}

void List::insert(ItemPtr beforeItem, ItemPtr item) {
  long index;
  ListChunk* chunk = mapByItem(beforeItem, &index);
  privateInsert(chunk, index, item);
}

void List::inserti(long position, ItemPtr item) {
  long index;
  ListChunk* chunk = mapByPosition(position, &index);
  privateInsert(chunk, index, item);
}

void List::privateInsert(ListChunk* targetChunk, long index, ItemPtr item) {
  forgetPositions();
  // A full chunk passes its last element on to the front of the next one.
  for (ListChunk* chunk = targetChunk; chunk; chunk = chunk->nextListChunk) {
    if (chunk->numberElements < chunkSize) {
      chunk->inserti(index, item);
      totalElements++;
      return;
    }
    ItemPtr overflow = chunk->removei(chunkSize - 1);
    chunk->inserti(index, item);
    item = overflow;
    index = 0;
  }
  include(item);
}

ItemPtr List::remove(ItemPtr item) {
  long index;
  ListChunk* chunk = mapByItem(item, &index);
  if (!chunk) return nullptr;
  forgetPositions();
  ItemPtr removed = chunk->removei(index);
  if (chunk->numberElements == 0) {
    if (chunk == firstListChunk) firstListChunk = chunk->nextListChunk;
    if (chunk == lastListChunk_) lastListChunk_ = chunk->prevListChunk;
    delete chunk;
  }
  totalElements--;
  return removed;
}

ItemPtr List::removei(long position) {
  long index;
  ListChunk* chunk = mapByPosition(position, &index);
  if (!chunk) return nullptr;
  forgetPositions();
  totalElements--;
  return chunk->removei(index);
}

void List::removeAll() {
  for (long position = totalElements - 1; position >= 0; position--) {
    ItemPtr removed = removei(position);
    if (deleteElements) delete removed;
  }
}

ItemPtr List::replace(ItemPtr item) {
  long index;
  ListChunk* chunk = mapByItem(item, &index);
  if (!chunk) {
    include(item);
    return nullptr;
  }
  return chunk->replacei(index, item);
}

ItemPtr List::replacei(long position, ItemPtr item) {
  long index;
  ListChunk* chunk = mapByPosition(position, &index);
  return chunk ? chunk->replacei(index, item) : nullptr;
}

void List::quickSort(long start, long finish, long ascendMultiplier) {
  quickSortElements(this, start, finish, ascendMultiplier);
}

void List::sort(Boolean ascending) { quickSort(0, totalElements - 1, ascending ? 1 : -1); }

void List::log() {
  OWB_LOG("List: (" << totalElements << ") elements:");
  for (long position = 0; position < totalElements; position++) {
    char text[kItemPrintBufferSize + 1] = "";
    if (ItemPtr element = get(position)) element->printToString(text);
    text[kItemPrintBufferSize] = '\0';
    OWB_LOG(text);
  }
}
