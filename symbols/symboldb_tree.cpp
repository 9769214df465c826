// Symbol database: sorted class lists, class numbering, the tree cursor,
// wild-card search and merging another database in.
#include <algorithm>
#include <cstring>
#include <string>
#include <utility>

#include "bigendian.h"
#include "symbols/symboldb.h"
#include "shared/wild.h"

namespace {

typedef std::vector<std::pair<std::string, long>> NamedRecords;

// A plain quick sort with the middle element as pivot, in strcmp order.
void quickSortByName(NamedRecords* items, long start, long finish) {
  if (start >= finish) return;
  long left = start, right = finish;
  std::string pivot = (*items)[(start + finish) / 2].first;
  while (left <= right) {
    while ((*items)[left].first.compare(pivot) < 0) ++left;
    while ((*items)[right].first.compare(pivot) > 0) --right;
    if (left <= right) std::swap((*items)[left++], (*items)[right--]);
  }
  quickSortByName(items, start, right);
  quickSortByName(items, left, finish);
}

std::vector<long> decodeRecords(const std::vector<uint8_t>& bytes) {
  std::vector<long> records;
  for (size_t at = 0; at + 4 <= bytes.size(); at += 4) records.push_back(owbcoding::getI32(&bytes[at]));
  return records;
}

}  // namespace

void SymbolDatabase::classNameQuickSort(long start, long finish, std::vector<long>* listPtr) {
  if (start < 0 || finish >= static_cast<long>(listPtr->size()) || start >= finish) return;
  // Each name is read once, then the records are sorted by them.
  NamedRecords items;
  char name[kSymbolNameSize];
  for (long i = start; i <= finish; ++i) {
    readName((*listPtr)[i], kClassNameField, name);
    items.emplace_back(name, (*listPtr)[i]);
  }
  quickSortByName(&items, 0, static_cast<long>(items.size()) - 1);
  for (long i = start; i <= finish; ++i) (*listPtr)[i] = items[i - start].second;
}

ErrorCode SymbolDatabase::findOrAddBlock(TypeIdent type, long* block) {
  lastError = getNthBlockOfType(type, 1, block);
  if (lastError == kNoBlockOfType) lastError = addBlock(type, 0, 0, block);
  return lastError;
}

ErrorCode SymbolDatabase::createSortedClassLists() {
  forgetDerivedState();
  long rootBlock = 0, listBlock = 0;
  if (findOrAddBlock(kRootListType, &rootBlock) != kNoError) return lastError;
  if (findOrAddBlock(kClassListType, &listBlock) != kNoError) return lastError;
  std::vector<long> classes, roots;
  long block = 0;
  while (getNextBlockOfType(kClassBlockType, block, &block) == kNoError) {
    classes.push_back(block);
    if (countSuperclasses(RecordIdentifier{block}) == 0) roots.push_back(block);
  }
  classNameQuickSort(0, static_cast<long>(classes.size()) - 1, &classes);
  classNameQuickSort(0, static_cast<long>(roots.size()) - 1, &roots);
  for (auto& [target, records] : {std::make_pair(rootBlock, &roots), std::make_pair(listBlock, &classes)}) {
    std::vector<uint8_t> raw(records->size() * 4);
    for (size_t i = 0; i < records->size(); ++i)
      owbcoding::putI32(raw.data() + 4 * i, static_cast<int32_t>((*records)[i]));
    if ((lastError = writeDataToBlock(target, raw.data(), static_cast<long>(raw.size()))) != kNoError)
      return lastError;
  }
  rootClassListBlock = rootBlock;
  return lastError = kNoError;
}

ErrorCode SymbolDatabase::loadClassList() {
  if (!classListBlock.empty()) return lastError = kNoError;
  long block = 0;
  if ((lastError = getNthBlockOfType(kClassListType, 1, &block)) != kNoError) return lastError;
  std::vector<uint8_t> bytes;
  if (readBlockBytes(block, &bytes) != kNoError) return lastError;
  for (long record : decodeRecords(bytes)) classListBlock.push_back(RecordIdentifier{record});
  return lastError;
}

long SymbolDatabase::countClasses() {
  if (numberOfClasses != 0) return numberOfClasses;
  if (accessType == kReadWriteAccess) {
    long count = 0;
    lastError = countBlocksOfType(kClassBlockType, &count);
    numberOfClasses = count;
  } else {
    loadClassList();
    numberOfClasses = static_cast<long>(classListBlock.size());
  }
  return numberOfClasses;
}

ErrorCode SymbolDatabase::getNthClass(long number, RecordIdentifier* classRec) {
  classRec->recordNumber = 0;
  if (accessType == kReadWriteAccess)
    return lastError = getNthBlockOfType(kClassBlockType, number, &classRec->recordNumber);
  if (loadClassList() != kNoError) return lastError;
  if (number < 1 || number > static_cast<long>(classListBlock.size()))
    return lastError = kNoBlockOfType;
  *classRec = classListBlock[number - 1];
  return lastError = kNoError;
}

// ---------------------------------------------------------------- tree cursor

const std::vector<long>& SymbolDatabase::rootList() {
  if (!rootListLoaded_) {
    rootListLoaded_ = true;
    rootList_.clear();
    long block = rootClassListBlock;
    if (block == 0 && getNthBlockOfType(kRootListType, 1, &block) != kNoError) block = 0;
    std::vector<uint8_t> bytes;
    if (block != 0 && readBlockBytes(block, &bytes) == kNoError) {
      rootClassListBlock = block;
      rootList_ = decodeRecords(bytes);
    }
  }
  return rootList_;
}

// Moves the cursor at its current depth by step among its siblings; the
// root list is read once and kept, a subclass list is read per step.
Boolean SymbolDatabase::goSibling(long step) {
  if (foundTreePosition < 0) return FALSE;
  long index = foundTreeOffsets[foundTreePosition] + step;
  long record = 0;
  if (foundTreePosition == 0) {
    const std::vector<long>& roots = rootList();
    if (index < 1 || index > static_cast<long>(roots.size())) return FALSE;
    record = roots[index - 1];
  } else {
    std::vector<long> siblings;
    readRecordList(foundTreeRecords[foundTreePosition - 1].recordNumber, kSubclassField, &siblings);
    if (index < 1 || index > static_cast<long>(siblings.size())) return FALSE;
    record = siblings[index - 1];
  }
  foundTreeOffsets[foundTreePosition] = index;
  foundTreeRecords[foundTreePosition].recordNumber = record;
  foundFeatureIndex = -1;
  return TRUE;
}

void SymbolDatabase::resetSearchPosition() {
  foundTreePosition = -1;
  foundFeatureIndex = -1;
}

Boolean SymbolDatabase::goStartRootClass(Boolean forward) {
  const std::vector<long>& roots = rootList();
  if (roots.empty()) return FALSE;
  long index = forward ? 1 : static_cast<long>(roots.size());
  foundTreePosition = 0;
  foundTreeOffsets[0] = index;
  foundTreeRecords[0].recordNumber = roots[index - 1];
  foundFeatureIndex = -1;
  return TRUE;
}

Boolean SymbolDatabase::goChild(Boolean forward) {
  if (foundTreePosition < 0 || foundTreePosition + 1 >= kMaxTreeDepth) return FALSE;
  std::vector<long> children;
  readRecordList(foundTreeRecords[foundTreePosition].recordNumber, kSubclassField, &children);
  if (children.empty()) return FALSE;
  long index = forward ? 1 : static_cast<long>(children.size());
  long child = children[index - 1];
  // A class that is its own ancestor can only come from a damaged file.
  for (long depth = 0; depth <= foundTreePosition; ++depth)
    if (foundTreeRecords[depth].recordNumber == child) return FALSE;
  ++foundTreePosition;
  foundTreeOffsets[foundTreePosition] = index;
  foundTreeRecords[foundTreePosition].recordNumber = child;
  foundFeatureIndex = -1;
  return TRUE;
}

Boolean SymbolDatabase::goParent() {
  if (foundTreePosition <= 0) return FALSE;
  --foundTreePosition;
  foundFeatureIndex = -1;
  return TRUE;
}

Boolean SymbolDatabase::goNextSibling() { return goSibling(1); }

Boolean SymbolDatabase::goPrevSibling() { return goSibling(-1); }

Boolean SymbolDatabase::goStartClass(Boolean forward) {
  long count = countClasses();
  if (count <= 0) return FALSE;
  long index = forward ? 1 : count;
  RecordIdentifier classRec;
  if (getNthClass(index, &classRec) != kNoError) return FALSE;
  foundTreePosition = 0;
  foundTreeOffsets[0] = index;
  foundTreeRecords[0] = classRec;
  foundFeatureIndex = -1;
  return TRUE;
}

Boolean SymbolDatabase::goNextClass(Boolean forward) {
  if (foundTreePosition < 0) return FALSE;
  long index = foundTreeOffsets[0] + (forward ? 1 : -1);
  RecordIdentifier classRec;
  if (index < 1 || index > countClasses() || getNthClass(index, &classRec) != kNoError) return FALSE;
  foundTreePosition = 0;
  foundTreeOffsets[0] = index;
  foundTreeRecords[0] = classRec;
  foundFeatureIndex = -1;
  return TRUE;
}

void SymbolDatabase::descendToLast() {
  while (goChild(FALSE)) {
  }
}

// Forward: a class before its subclasses.  Backward: the exact reverse, a
// class after its subclasses.
Boolean SymbolDatabase::advanceInTree(Boolean forward) {
  if (forward) {
    if (goChild(TRUE)) return TRUE;
    while (!goNextSibling())
      if (!goParent()) return FALSE;
    return TRUE;
  }
  if (goPrevSibling()) {
    descendToLast();
    return TRUE;
  }
  return goParent();
}

Boolean SymbolDatabase::advance(Boolean forward, Boolean searchSubclasses) {
  return searchSubclasses ? advanceInTree(forward) : goNextClass(forward);
}

// The index of the first matching feature from startIndex on (-1: from the
// last, going backward), 0 for a matching class name, -1 for no match.
long SymbolDatabase::compareCurrentClass(WildCardString* pattern, long searchType,
                                         long startIndex, Boolean forward) {
  RecordIdentifier classRec = foundTreeRecords[foundTreePosition];
  if (searchType == kSearchClassNames) {
    char name[kSymbolNameSize];
    if (getClassName(classRec, name) != kNoError) return -1;
    return pattern->wildCardStringEqual(name) ? 0 : -1;
  }
  long listType = 0;
  switch (searchType) {
    case kSearchAttributes: listType = kAttributeList; break;
    case kSearchOperations: listType = kOperationList; break;
    case kSearchProperties: listType = kPropertyList; break;
    default: return -1;
  }
  long list = listBlockOf(classRec, listType);
  std::vector<std::string> fields;
  if (lastError != kNoError || readFields(list, &fields) != kNoError) return -1;
  long per = listType == kOperationList ? 3 : 2;
  long count = static_cast<long>(fields.size()) / per;
  long index = startIndex < 0 ? count : startIndex;
  for (; index >= 1 && index <= count; index += forward ? 1 : -1) {
    std::string name = fields[(index - 1) * per];
    name = name.substr(0, std::min(name.find('\0'), size_t(kSymbolNameSize - 1)));
    if (pattern->wildCardStringEqual(name.c_str())) return index;
  }
  return -1;
}

Boolean SymbolDatabase::findNextClass(const char* matchStr, Boolean findForward,
                                      Boolean searchSubclasses, long searchType,
                                      RecordIdentifier* foundClassRec, long* treeLength,
                                      long* returnFeatureIndex) {
  lastError = kNoError;
  *treeLength = 0;
  if (returnFeatureIndex) *returnFeatureIndex = -1;
  WildCardString pattern(matchStr);
  long first = findForward ? 1 : -1;
  long startIndex = first;
  if (foundTreePosition < 0) {
    Boolean started = searchSubclasses ? goStartRootClass(findForward) : goStartClass(findForward);
    if (!started) {
      resetSearchPosition();
      return FALSE;
    }
    if (searchSubclasses && !findForward) descendToLast();
  } else if (foundFeatureIndex >= 0) {
    // Continue behind the last match: within the class for features.
    if (searchType != kSearchClassNames && foundFeatureIndex > 0) {
      startIndex = foundFeatureIndex + (findForward ? 1 : -1);
      if (startIndex < 1) startIndex = 0;  // nothing left before the first
    } else if (!advance(findForward, searchSubclasses)) {
      resetSearchPosition();
      return FALSE;
    }
  }
  // A class with several superclasses is met once per path to it, so a
  // lattice of classes that share subclasses level after level has
  // exponentially many paths.  One search takes at most kMaxTreeDepth steps
  // per class block, far more than real class hierarchies need, and then
  // ends as not found.
  long stepLimit = 0;
  if (searchSubclasses) {
    countBlocksOfType(kClassBlockType, &stepLimit);
    stepLimit *= kMaxTreeDepth;
  }
  for (long steps = 0;; ++steps) {
    long index = startIndex == 0 ? -1 : compareCurrentClass(&pattern, searchType, startIndex, findForward);
    if (index >= 0) {
      foundFeatureIndex = index;
      for (long depth = 0; depth <= foundTreePosition; ++depth)
        foundClassRec[depth] = foundTreeRecords[depth];
      *treeLength = foundTreePosition + 1;
      if (returnFeatureIndex) *returnFeatureIndex = index;
      return TRUE;
    }
    if ((searchSubclasses && steps > stepLimit) || !advance(findForward, searchSubclasses)) {
      resetSearchPosition();
      return FALSE;
    }
    startIndex = first;
  }
}

// ---------------------------------------------------------------- merging

ErrorCode SymbolDatabase::copyClassContents(SymbolDatabase* source, long sourceClass,
                                            long newClass) {
  RecordIdentifier from{sourceClass}, to{newClass};
  char name[kSymbolNameSize];
  struct {
    long listType;
    ErrorCode (SymbolDatabase::*add)(RecordIdentifier, const char*, const SourceLoc*);
  } lists[] = {{kAttributeList, &SymbolDatabase::addAttribute},
               {kPropertyList, &SymbolDatabase::addProperty},
               {kOperationList, &SymbolDatabase::addOperation}};
  for (const auto& list : lists) {
    long count = source->countListItems(from, list.listType);
    for (long n = 1; n <= count; ++n) {
      SourceLoc loc;
      if (source->getNthItemName(from, list.listType, n, name) != kNoError) break;
      source->getNthItemSource(from, list.listType, n, &loc);
      ErrorCode error = (this->*list.add)(to, name, &loc);
      disposeSourceLoc(&loc);
      if (error != kNoError) return error;
      if (list.listType != kOperationList) continue;
      std::vector<PC_MAP> map;
      // An operation without a map in the source gets none here.
      if (source->findOperationMap(from, n, &map) != kNoError) continue;
      if (setOperationMap(to, countListItems(to, kOperationList), map.data(),
                          static_cast<long>(map.size())) != kNoError)
        return lastError;
    }
  }
  fileNameType docFile;
  if (source->getDocumentationFileName(from, docFile, sizeof docFile) == kNoError && docFile[0])
    return setDocumentationFileName(to, docFile);
  return lastError = kNoError;
}

ErrorCode SymbolDatabase::mergeInClasses(SymbolDatabase* sourceSym) {
  lastError = kNoError;
  if (!sourceSym) return lastError;
  List merged(kStandardChunkSize, TRUE, EqualCompare);
  char name[kSymbolNameSize];
  long count = sourceSym->countClasses();
  for (long n = 1; n <= count; ++n) {
    RecordIdentifier from, mine;
    if (sourceSym->getNthClass(n, &from) != kNoError) continue;
    if (sourceSym->getClassName(from, name) != kNoError) continue;
    if (getClassByName(name, &mine) != kClassNotFound) continue;  // present: left as it is
    SourceLoc loc;
    sourceSym->getClassSourceLoc(from, &loc);
    long stamp = sourceSym->readLong(from.recordNumber, kTimeStampField);
    long flags = 0;
    sourceSym->getClassFlags(from, &flags);
    ErrorCode error = newClassRecord(name, &loc, stamp, kMergedClassFlag, &mine);
    disposeSourceLoc(&loc);
    if (error != kNoError) return error;
    if (setClassFlags(mine, flags | kMergedClassFlag) != kNoError) return lastError;
    if (copyClassContents(sourceSym, from.recordNumber, mine.recordNumber) != kNoError)
      return lastError;
    merged.include(new NumberItem(static_cast<int32_t>(from.recordNumber)));
  }

  // Links by name, once every new class exists.
  for (long i = 0; i < merged.totalElements; ++i) {
    RecordIdentifier from{static_cast<NumberItem*>(merged.get(i))->number}, mine, other;
    if (sourceSym->getClassName(from, name) != kNoError || getClassByName(name, &mine) != kNoError)
      continue;
    for (long n = 1; n <= sourceSym->countSubclasses(from); ++n) {
      RecordIdentifier sub;
      if (sourceSym->getNthSubclass(from, n, &sub) != kNoError ||
          sourceSym->getClassName(sub, name) != kNoError || getClassByName(name, &other) != kNoError)
        continue;
      if (addDoubleLink(mine, other) != kNoError) return lastError;
    }
    for (long n = 1; n <= sourceSym->countSuperclasses(from); ++n) {
      RecordIdentifier super;
      if (sourceSym->getNthSuperclass(from, n, &super) != kNoError ||
          sourceSym->getClassName(super, name) != kNoError || getClassByName(name, &other) != kNoError)
        continue;
      if (addDoubleLink(other, mine) != kNoError) return lastError;
    }
    RecordIdentifier flavor;
    if (sourceSym->getFlavor(from, &flavor) == kNoError && flavor.recordNumber != 0 &&
        sourceSym->getClassName(flavor, name) == kNoError && getClassByName(name, &other) == kNoError)
      if (writeLong(mine.recordNumber, kFlavorField, other.recordNumber) != kNoError) return lastError;
  }
  return lastError = kNoError;
}
