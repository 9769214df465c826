// Symbol database: maps between code positions and source lines.
#include <algorithm>
#include <cstring>

#include "bigendian.h"
#include "symbols/symboldb.h"
#include "shared/utils.h"

namespace {
constexpr long kMapEntrySize = 8;
// Positions given to the last line of an operation, which has no next entry.
constexpr long kLastLinePositions = 20;
// A damaged map could put lines millions of positions apart, or repeat a
// line thousands of times; one answer holds at most this many positions.
constexpr size_t kMaxPositionsPerAnswer = 65536;
}  // namespace

ErrorCode SymbolDatabase::setOperationMap(RecordIdentifier classRec, long operationNumber,
                                          const PC_MAP* mapPtr, long mapLength) {
  long operations = listBlockOf(classRec, kOperationList);
  if (lastError != kNoError) return lastError;
  if (operationNumber < 1) return lastError = kNoBlockOfType;
  long refField = operationNumber * 3;
  long old = readLong(operations, refField);
  if (lastError != kNoError) return lastError;
  long count = std::max(0L, mapLength);
  std::vector<uint8_t> raw;
  owbcoding::ByteWriter writer(&raw);
  for (long i = 0; i < count; ++i) {
    writer.i16(mapPtr[i].loc.file);
    writer.i16(mapPtr[i].loc.line);
    writer.i32(static_cast<int32_t>(mapPtr[i].pc));
  }
  long block = 0;
  if ((lastError = addBlock(kMapBlockType, 0, count * kMapEntrySize + 8, &block)) != kNoError ||
      (lastError = initBlockForFields(block)) != kNoError ||
      (lastError = addFieldToBlock(block, raw.data(), static_cast<long>(raw.size()))) != kNoError)
    return lastError;
  if (writeLong(operations, refField, block) != kNoError) return lastError;
  // A map given again replaces the old one, whose block would otherwise be lost.
  if (old != 0) deleteBlock(old);
  return lastError = kNoError;
}

ErrorCode SymbolDatabase::addMap(RecordIdentifier classRec, const char* operationName,
                                 const PC_MAP* mapPtr, long mapLength) {
  long operation = 0;
  if (getOperationByName(classRec, operationName, &operation) != kNoError) return lastError;
  return setOperationMap(classRec, operation, mapPtr, mapLength);
}

ErrorCode SymbolDatabase::findOperationMap(RecordIdentifier classRec, long operationNumber,
                                           std::vector<PC_MAP>* map) {
  map->clear();
  long operations = listBlockOf(classRec, kOperationList);
  if (lastError != kNoError) return lastError;
  if (operationNumber < 1) return lastError = kNoBlockOfType;
  long block = readLong(operations, operationNumber * 3);
  if (lastError != kNoError) return lastError;
  if (block == 0) return lastError = kOperationHasNoMap;
  Ptr data = nullptr;
  long length = 0;
  if ((lastError = getField(block, 1, &data, &length)) != kNoError) return lastError;
  const uint8_t* bytes = reinterpret_cast<const uint8_t*>(data);
  for (long at = 0; at + kMapEntrySize <= length; at += kMapEntrySize) {
    PC_MAP entry;
    entry.loc.file = owbcoding::getI16(bytes + at);
    entry.loc.line = owbcoding::getI16(bytes + at + 2);
    entry.pc = owbcoding::getI32(bytes + at + 4);
    map->push_back(entry);
  }
  delete[] data;
  return lastError;
}

ErrorCode SymbolDatabase::getMap(RecordIdentifier classRec, long operationNumber,
                                 PC_MAP** mapPtr, long* mapLength) {
  *mapPtr = nullptr;
  *mapLength = 0;
  std::vector<PC_MAP> map;
  if (findOperationMap(classRec, operationNumber, &map) != kNoError) return lastError;
  *mapPtr = new PC_MAP[std::max<size_t>(1, map.size())];
  std::copy(map.begin(), map.end(), *mapPtr);
  *mapLength = static_cast<long>(map.size());
  return lastError;
}

long SymbolDatabase::positionToLineNumber(RecordIdentifier classRec, long operationNumber,
                                          long position) {
  std::vector<PC_MAP> map;
  if (findOperationMap(classRec, operationNumber, &map) != kNoError) return -1;
  if (map.empty()) {
    lastError = kNoLineForPosition;
    return -1;
  }
  long best = -1;
  for (size_t i = 0; i < map.size(); ++i) {
    if (map[i].pc == position) return map[i].loc.line;
    // The greatest position below, the first among equals.
    if (map[i].pc < position && (best < 0 || map[i].pc > map[best].pc)) best = static_cast<long>(i);
  }
  // Nothing below: the operation's last entry answers.
  return best >= 0 ? map[best].loc.line : map.back().loc.line;
}

Boolean SymbolDatabase::lineNumberToPosition(RecordIdentifier classRec, long operationNumber,
                                             long lineNumber, List* lowPositions,
                                             Boolean* lastLineInMethod) {
  if (lastLineInMethod) *lastLineInMethod = FALSE;
  std::vector<PC_MAP> map;
  if (findOperationMap(classRec, operationNumber, &map) != kNoError) return FALSE;
  // Each entry's run reaches the next greater position anywhere in the map.
  std::vector<long> ordered;
  ordered.reserve(map.size());
  for (const PC_MAP& entry : map) ordered.push_back(entry.pc);
  std::sort(ordered.begin(), ordered.end());
  std::vector<std::pair<long, long>> runs;  // first position, length
  for (size_t i = 0; i < map.size(); ++i) {
    if (map[i].loc.line != lineNumber) continue;
    if (!lowPositions) return TRUE;
    auto next = std::upper_bound(ordered.begin(), ordered.end(), map[i].pc);
    if (next == ordered.end()) {
      if (lastLineInMethod) *lastLineInMethod = TRUE;
      runs.emplace_back(map[i].pc, kLastLinePositions);
    } else {
      runs.emplace_back(map[i].pc, *next - map[i].pc);
    }
  }
  // Over the bound, the lowest runs are the ones kept.
  std::sort(runs.begin(), runs.end());
  std::vector<long> found;
  for (const auto& run : runs)
    for (long p = 0; p < run.second && found.size() < kMaxPositionsPerAnswer; ++p) found.push_back(run.first + p);
  if (!lowPositions) return FALSE;
  // Sorted here, least first, and appended in order: sorting the list
  // itself walks its chunks for every comparison.
  std::sort(found.begin(), found.end());
  bool hadItems = lowPositions->totalElements > 0;
  for (long position : found) lowPositions->include(new NumberItem(static_cast<int32_t>(position)));
  if (hadItems) lowPositions->sort(FALSE);
  return lowPositions->totalElements > 0 ? TRUE : FALSE;
}

ErrorCode SymbolDatabase::mapPositionToSource(RecordIdentifier classRec, const char* opName,
                                              long position, SourcePosIdentifier* sourcePos) {
  *sourcePos = SourcePosIdentifier();
  long operation = 0;
  if (getOperationByName(classRec, opName, &operation) != kNoError) return lastError;
  long line = positionToLineNumber(classRec, operation, position);
  if (line < 0) return lastError;
  SourceLoc loc;
  if (getNthOperationSource(classRec, operation, &loc) != kNoError) return lastError;
  sourcePos->relativePath = loc.sourcePosIdent.relativePath;
  loc.sourcePosIdent.relativePath = nullptr;
  disposeSourceLoc(&loc);
  sourcePos->startOffset = line;
  sourcePos->endOffset = line;
  return lastError = kNoError;
}

// Walks the class's operations while they come from fileName; the first
// whose code covers line answers.
Boolean SymbolDatabase::tryClassForSource(long classBlock, const char* fileName, long line,
                                          List* lowPositions, Boolean* lastLineInMethod,
                                          long* opNumber) {
  RecordIdentifier classRec{classBlock};
  long operations = countOperations(classRec);
  for (long op = 1; op <= operations; ++op) {
    SourceLoc loc;
    if (getNthOperationSource(classRec, op, &loc) != kNoError) return FALSE;
    const char* path = loc.sourcePosIdent.relativePath;
    bool sameFile = path && std::strcmp(path, fileName) == 0;
    long start = loc.sourcePosIdent.startOffset;
    disposeSourceLoc(&loc);
    if (!sameFile) return FALSE;
    if (start <= line && lineNumberToPosition(classRec, op, line, lowPositions, lastLineInMethod)) {
      *opNumber = op;
      return TRUE;
    }
  }
  return FALSE;
}

Boolean SymbolDatabase::mapSourceToPosition(const SourcePosIdentifier* sourcePos,
                                            RecordIdentifier* classRec, long* opNumber,
                                            List* lowPositions, Boolean* lastLineInMethod) {
  classRec->recordNumber = 0;
  *opNumber = 0;
  if (!sourcePos || !sourcePos->relativePath) return FALSE;
  fileNameType fileName;
  extractFilename(sourcePos->relativePath, fileName, sizeof fileName);
  long line = sourcePos->startOffset;
  long previous = lastMatchedSourceClass;
  std::vector<long> candidates;
  if (previous) candidates.push_back(previous);
  long count = countClasses();
  for (long n = 1; n <= count; ++n) {
    RecordIdentifier next;
    if (getNthClass(n, &next) == kNoError && next.recordNumber != previous)
      candidates.push_back(next.recordNumber);
  }
  for (long candidate : candidates) {
    if (tryClassForSource(candidate, fileName, line, lowPositions, lastLineInMethod, opNumber)) {
      lastMatchedSourceClass = candidate;
      classRec->recordNumber = candidate;
      return TRUE;
    }
  }
  return FALSE;
}

ErrorCode SymbolDatabase::buildLineNumberArray(const char* pathname, short* firstPosition,
                                               long numElements) {
  lastError = kNoError;
  if (!firstPosition || numElements <= 0) return lastError;
  std::fill(firstPosition, firstPosition + numElements, 0);
  if (!pathname) return lastError;
  fileNameType fileName;
  extractFilename(pathname, fileName, sizeof fileName);
  long count = countClasses();
  for (long n = 1; n <= count; ++n) {
    RecordIdentifier classRec;
    if (getNthClass(n, &classRec) != kNoError) continue;
    long operations = countOperations(classRec);
    for (long op = 1; op <= operations; ++op) {
      SourceLoc loc;
      if (getNthOperationSource(classRec, op, &loc) != kNoError) break;
      bool inFile = loc.sourcePosIdent.relativePath &&
                    std::strcmp(loc.sourcePosIdent.relativePath, fileName) == 0;
      disposeSourceLoc(&loc);
      std::vector<PC_MAP> map;
      if (!inFile || findOperationMap(classRec, op, &map) != kNoError) continue;
      // Lines count from 1; a line of 0 or below marks nothing.
      for (const PC_MAP& entry : map)
        if (entry.loc.line >= 1 && entry.loc.line < numElements) firstPosition[entry.loc.line - 1] = 1;
    }
  }
  return lastError = kNoError;
}
