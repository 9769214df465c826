// Symbol database: file lifecycle, classes, features, files, links and naming.
#include "symbols/symboldb.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "bigendian.h"
#include "shared/log.h"
#include "shared/utils.h"

using owbcoding::getI32;
using owbcoding::putI32;

namespace {

constexpr long kStoredLocSize = 24;
constexpr long kFileListSlop = 600;

// A name as it is compared: its first 63 characters.
void cutName(const char* name, char* out) {
  std::snprintf(out, kSymbolNameSize, "%s", name ? name : "");
}

// The sum of each character times its distance from the last, in 14 bits;
// the last character counts for nothing.
long hashName(const char* name) {
  if (!name) return 0;
  long n = static_cast<long>(std::strlen(name));
  long sum = 0;
  for (long i = 0; i < n; ++i) sum += static_cast<unsigned char>(name[i]) * (n - 1 - i);
  return sum & 0x3FFF;
}

char* heapCopy(const std::string& text) {
  char* copy = new char[text.size() + 1];
  std::memcpy(copy, text.c_str(), text.size() + 1);
  return copy;
}

void copyOut(const std::string& text, char* out, size_t size) {
  if (!out || size == 0) return;
  size_t n = std::min(text.size(), size - 1);
  std::memcpy(out, text.data(), n);
  out[n] = '\0';
}

// Up to the first NUL: stored names carry theirs.
std::string untilNul(const std::string& text) { return text.substr(0, text.find('\0')); }

}  // namespace

void disposeSourceLoc(SourceLoc* loc) {
  if (!loc) return;
  delete[] loc->sourcePosIdent.relativePath;
  delete[] loc->interfacePosIdent.relativePath;
  loc->sourcePosIdent.relativePath = nullptr;
  loc->interfacePosIdent.relativePath = nullptr;
}

SymbolDatabase::SymbolDatabase() {}

SymbolDatabase::~SymbolDatabase() { closeDatabase(); }

// ---------------------------------------------------------------- field helpers

long SymbolDatabase::readLong(long block, long field) {
  long value = 0;
  lastError = getLongFromBlock(block, field, &value);
  return value;
}

ErrorCode SymbolDatabase::writeLong(long block, long field, long value) {
  uint8_t raw[4];
  putI32(raw, static_cast<int32_t>(value));
  return lastError = setFieldOfBlock(block, field, raw, 4);
}

ErrorCode SymbolDatabase::addLong(long block, long value) {
  uint8_t raw[4];
  putI32(raw, static_cast<int32_t>(value));
  return lastError = addFieldToBlock(block, raw, 4);
}

ErrorCode SymbolDatabase::readBlockBytes(long block, std::vector<uint8_t>* bytes) {
  bytes->clear();
  long length = 0;
  if ((lastError = getBlockLength(block, &length)) != kNoError) return lastError;
  if (length > kMaxDataLength) return lastError = kOutOfMemory;
  bytes->resize(static_cast<size_t>(std::max(0L, length)));
  lastError = readDataFromBlock(block, reinterpret_cast<Ptr>(bytes->data()), TRUE);
  if (lastError != kNoError) bytes->clear();
  return lastError;
}

// All fields of a block in one read; stops where the block's bytes end.
ErrorCode SymbolDatabase::readFields(long block, std::vector<std::string>* fields) {
  fields->clear();
  std::vector<uint8_t> bytes;
  if (readBlockBytes(block, &bytes) != kNoError) return lastError;
  owbcoding::ByteReader reader(bytes.data(), bytes.size());
  int32_t count = 0;
  reader.i32(&count);
  for (int32_t i = 0; i < count; ++i) {
    int32_t length = 0;
    const uint8_t* text = nullptr;
    if (!reader.i32(&length) || length < 0 || !(text = reader.view(length))) break;
    fields->emplace_back(reinterpret_cast<const char*>(text), length);
  }
  return lastError;
}

ErrorCode SymbolDatabase::readRecordList(long block, long field, std::vector<long>* records) {
  records->clear();
  Ptr data = nullptr;
  long length = 0;
  if ((lastError = getField(block, field, &data, &length)) != kNoError) return lastError;
  for (long at = 0; at + 4 <= length; at += 4)
    records->push_back(getI32(reinterpret_cast<uint8_t*>(data + at)));
  delete[] data;
  return lastError;
}

ErrorCode SymbolDatabase::writeRecordList(long block, long field,
                                          const std::vector<long>& records) {
  std::vector<uint8_t> raw(records.size() * 4);
  for (size_t i = 0; i < records.size(); ++i)
    putI32(raw.data() + 4 * i, static_cast<int32_t>(records[i]));
  return lastError = setFieldOfBlock(block, field, raw.data(), static_cast<long>(raw.size()));
}

ErrorCode SymbolDatabase::readStoredLoc(long block, long field, StoredLoc* loc) {
  *loc = StoredLoc();
  Ptr data = nullptr;
  long length = 0;
  if ((lastError = getField(block, field, &data, &length)) != kNoError) return lastError;
  owbcoding::ByteReader reader(data, static_cast<size_t>(length));
  int32_t v[6] = {0, 0, 0, 0, 0, 0};
  for (int32_t& value : v) reader.i32(&value);
  delete[] data;
  *loc = StoredLoc{v[0], v[1], v[2], v[3], v[4], v[5]};
  return lastError;
}

// The location with both paths entered in the source file list and replaced
// by their field numbers.
ErrorCode SymbolDatabase::storeSourceLoc(const SourceLoc* sourceLoc,
                                         std::vector<uint8_t>* encoded) {
  encoded->clear();
  owbcoding::ByteWriter writer(encoded);
  SourceLoc none;
  const SourceLoc& loc = sourceLoc ? *sourceLoc : none;
  long sourceFile = addFileToList(kSourceFileListType, loc.sourcePosIdent.relativePath);
  if (lastError != kNoError) return lastError;
  long interfaceFile = addFileToList(kSourceFileListType, loc.interfacePosIdent.relativePath);
  if (lastError != kNoError) return lastError;
  writer.i32(static_cast<int32_t>(sourceFile));
  writer.i32(static_cast<int32_t>(loc.sourcePosIdent.startOffset));
  writer.i32(static_cast<int32_t>(loc.sourcePosIdent.endOffset));
  writer.i32(static_cast<int32_t>(interfaceFile));
  writer.i32(static_cast<int32_t>(loc.interfacePosIdent.startOffset));
  writer.i32(static_cast<int32_t>(loc.interfacePosIdent.endOffset));
  return lastError;
}

// Stored file numbers back to heap strings; after a failure both are null.
ErrorCode SymbolDatabase::remapSourceReferences(const StoredLoc& stored, SourceLoc* sourceLoc) {
  *sourceLoc = SourceLoc();
  sourceLoc->sourcePosIdent.startOffset = stored.sourceStart;
  sourceLoc->sourcePosIdent.endOffset = stored.sourceEnd;
  sourceLoc->interfacePosIdent.startOffset = stored.interfaceStart;
  sourceLoc->interfacePosIdent.endOffset = stored.interfaceEnd;
  std::string source, interface;
  lastError = kNoError;
  if (stored.sourceFile != 0) fileNameAt(kSourceFileListType, stored.sourceFile, &source);
  if (lastError == kNoError && stored.interfaceFile != 0)
    fileNameAt(kSourceFileListType, stored.interfaceFile, &interface);
  if (lastError != kNoError) return lastError;
  if (stored.sourceFile != 0) sourceLoc->sourcePosIdent.relativePath = heapCopy(source);
  if (stored.interfaceFile != 0) sourceLoc->interfacePosIdent.relativePath = heapCopy(interface);
  return lastError;
}

// ---------------------------------------------------------------- file lists

ErrorCode SymbolDatabase::fileNameAt(TypeIdent fileListType, long fieldNumber,
                                     std::string* name) {
  long block = 0;
  if ((lastError = getNthBlockOfType(fileListType, 1, &block)) != kNoError) return lastError;
  std::vector<std::string> names;
  if (readFields(block, &names) != kNoError) return lastError;
  if (fieldNumber < 1 || fieldNumber > static_cast<long>(names.size()))
    return lastError = kNoSuchField;
  *name = untilNul(names[fieldNumber - 1]);
  return lastError;
}

// The field number of fileName in the list, from 1, or -1.
long SymbolDatabase::findFileInList(TypeIdent fileListType, const char* fileName) {
  long block = 0;
  if ((lastError = getNthBlockOfType(fileListType, 1, &block)) != kNoError) return -1;
  std::vector<std::string> names;
  if (readFields(block, &names) != kNoError) return -1;
  for (size_t i = 0; i < names.size(); ++i)
    if (untilNul(names[i]) == fileName) return static_cast<long>(i) + 1;
  return -1;
}

// Enters the last component of relativePath; its field number, 0 for no path.
long SymbolDatabase::addFileToList(TypeIdent fileListType, const char* relativePath) {
  lastError = kNoError;
  // An empty path names no file, like a null one.
  if (!relativePath || !*relativePath) return 0;
  fileNameType name;
  extractFilename(relativePath, name, sizeof name);
  long found = findFileInList(fileListType, name);
  if (found > 0) return found;
  if (lastError != kNoError) return 0;
  long block = 0;
  getNthBlockOfType(fileListType, 1, &block);
  if ((lastError = addFieldToBlock(block, name, static_cast<long>(std::strlen(name)) + 1)) !=
      kNoError)
    return 0;
  long count = 0;
  lastError = countFieldsInBlock(block, &count);
  return count;
}

Boolean SymbolDatabase::fileWithinDatabase(const char* relativePath) {
  if (!relativePath) return FALSE;
  fileNameType name;
  extractFilename(relativePath, name, sizeof name);
  return findFileInList(kSourceFileListType, name) > 0 ? TRUE : FALSE;
}

// ---------------------------------------------------------------- lifecycle

ErrorCode SymbolDatabase::createDatabase(const char* pathname) {
  ErrorCode error = createDBFile(pathname, kSymbolFileType, kSymbolFileVersion);
  if (error == kNoError) error = openDBFile(pathname, kReadWriteAccess, TRUE);
  for (TypeIdent type : {kSourceFileListType, kDocFileListType}) {
    long block = 0;
    if (error == kNoError) error = addBlock(type, 0, kFileListSlop, &block);
    if (error == kNoError) error = initBlockForFields(block);
  }
  ErrorCode closeError = closeDatabase();
  return lastError = error != kNoError ? error : closeError;
}

ErrorCode SymbolDatabase::openDatabase(const char* pathname, long fileAccessType) {
  closeDatabase();
  short version = 0;
  if ((lastError = validDBFile(pathname, kSymbolFileType, &version)) != kNoError) return lastError;
  if (version != kSymbolFileVersion) return lastError = kWrongSymbolVersion;
  // The open flag keeps readers away from a file that is being written.
  if ((lastError = openDBFile(pathname, fileAccessType, TRUE)) != kNoError) return lastError;
  dbPathname = newStringCopy(pathname);
  classHashTable = new (std::nothrow) int32_t[kClassHashEntries]();
  if (!classHashTable) {
    closeDatabase();
    return lastError = kOutOfMemory;
  }
  return lastError = kNoError;
}

ErrorCode SymbolDatabase::closeDatabase() {
  ErrorCode error = closeDBFile();
  delete[] classHashTable;
  classHashTable = nullptr;
  delete[] dbPathname;
  dbPathname = nullptr;
  forgetDerivedState();
  lastMatchedSourceClass = 0;
  resetSearchPosition();
  return lastError = error;
}

void SymbolDatabase::forgetDerivedState() {
  hashTablePopulated = FALSE;
  if (classHashTable) std::memset(classHashTable, 0, sizeof(int32_t) * kClassHashEntries);
  numberOfClasses = 0;
  rootClassListBlock = 0;
  classListBlock.clear();
  rootList_.clear();
  rootListLoaded_ = false;
}

Boolean SymbolDatabase::validSymbolFile(const char* pathname) {
  Database probe;
  short version = 0;
  return probe.validDBFile(pathname, kSymbolFileType, &version) == kNoError &&
                 version == kSymbolFileVersion
             ? TRUE
             : FALSE;
}

// ---------------------------------------------------------------- classes

ErrorCode SymbolDatabase::readName(long block, long field, char* name) {
  long length = 0;
  name[0] = '\0';
  lastError = getFieldIntoBuffer(block, field, name, &length, kSymbolNameSize);
  name[std::min(std::max(0L, length), kSymbolNameSize - 1)] = '\0';
  return lastError;
}

ErrorCode SymbolDatabase::getClassName(RecordIdentifier classRec, char* className) {
  return readName(classRec.recordNumber, kClassNameField, className);
}

void SymbolDatabase::enterInHashTable(const char* name, long classBlock) {
  long hash = hashName(name);
  // The top value has no room in the table: such names are always found by
  // the scan.
  if (classHashTable && hash < kClassHashEntries) classHashTable[hash] = static_cast<int32_t>(classBlock);
}

void SymbolDatabase::populateHashTable() {
  if (!classHashTable) return;
  std::memset(classHashTable, 0, sizeof(int32_t) * kClassHashEntries);
  long block = 0;
  char name[kSymbolNameSize];
  while (getNextBlockOfType(kClassBlockType, block, &block) == kNoError) {
    if (readName(block, kClassNameField, name) == kNoError) enterInHashTable(name, block);
  }
  hashTablePopulated = TRUE;
}

ErrorCode SymbolDatabase::getClassByName(const char* name, RecordIdentifier* classRec) {
  classRec->recordNumber = 0;
  char key[kSymbolNameSize], found[kSymbolNameSize];
  cutName(name, key);
  if (classHashTable) {
    if (!hashTablePopulated) populateHashTable();
    long hash = hashName(key);
    if (hash < kClassHashEntries) {
      long candidate = classHashTable[hash];
      if (candidate == 0) return lastError = kClassNotFound;
      if (readName(candidate, kClassNameField, found) == kNoError && std::strcmp(found, key) == 0) {
        classRec->recordNumber = candidate;
        return lastError = kNoError;
      }
    }
  }
  // Another name of the same hash stands in the table: scan the classes.
  long block = 0;
  while (getNextBlockOfType(kClassBlockType, block, &block) == kNoError) {
    if (readName(block, kClassNameField, found) == kNoError && std::strcmp(found, key) == 0) {
      classRec->recordNumber = block;
      return lastError = kNoError;
    }
  }
  return lastError = kClassNotFound;
}

ErrorCode SymbolDatabase::newClassRecord(const char* name, const SourceLoc* sourceLoc,
                                         long timeStamp, long classFlags,
                                         RecordIdentifier* classRec) {
  ErrorCode lookup = getClassByName(name, classRec);
  if (lookup != kNoError && lookup != kClassNotFound) return lastError;
  if (lookup == kClassNotFound) {
    long block = 0, lists[3] = {0, 0, 0};
    if (addBlock(kClassBlockType, 100, 20, &block) != kNoError ||
        initBlockForFields(block) != kNoError)
      return lastError = databaseLastError();
    for (long& list : lists)
      if (addBlock(kFeatureListType, 10, 20, &list) != kNoError || initBlockForFields(list) != kNoError)
        return lastError = databaseLastError();
    const char* text = name ? name : "";
    std::vector<uint8_t> loc;
    if ((lastError = addFieldToBlock(block, text, static_cast<long>(std::strlen(text)) + 1)) != kNoError)
      return lastError;
    for (long list : lists)
      if (addLong(block, list) != kNoError) return lastError;
    if (addLong(block, 0) != kNoError) return lastError;  // flavor
    if ((lastError = addFieldToBlock(block, "", 0)) != kNoError) return lastError;
    if ((lastError = addFieldToBlock(block, "", 0)) != kNoError) return lastError;
    if (storeSourceLoc(sourceLoc, &loc) != kNoError) return lastError;
    if ((lastError = addFieldToBlock(block, loc.data(), kStoredLocSize)) != kNoError) return lastError;
    if (addLong(block, timeStamp) != kNoError || addLong(block, 0) != kNoError ||
        addLong(block, classFlags) != kNoError)
      return lastError;
    numberOfClasses = 0;
    char key[kSymbolNameSize];
    cutName(name, key);
    if (hashTablePopulated) enterInHashTable(key, block);
    classRec->recordNumber = block;
    return lastError = kNoError;
  }

  long block = classRec->recordNumber;
  if (sourceLoc && sourceLoc->sourcePosIdent.relativePath && *sourceLoc->sourcePosIdent.relativePath) {
    // Compiled again: new location, empty feature lists, maps dropped.
    // Links to other classes stay.
    std::vector<uint8_t> loc;
    if (storeSourceLoc(sourceLoc, &loc) != kNoError) return lastError;
    if ((lastError = setFieldOfBlock(block, kSourceLocField, loc.data(), kStoredLocSize)) != kNoError)
      return lastError;
    long operations = listBlockOf(*classRec, kOperationList);
    std::vector<std::string> fields;
    if (operations && readFields(operations, &fields) == kNoError) {
      for (size_t f = 3; f <= fields.size(); f += 3) {
        const std::string& ref = fields[f - 1];
        long map = ref.size() == 4 ? getI32(reinterpret_cast<const uint8_t*>(ref.data())) : 0;
        if (map != 0) deleteBlock(map);
      }
    }
    for (long list : {kAttributeList, kPropertyList, kOperationList}) {
      long listBlock = listBlockOf(*classRec, list);
      if (listBlock && (lastError = initBlockForFields(listBlock)) != kNoError) return lastError;
    }
    if (writeLong(block, kDocFileField, 0) != kNoError) return lastError;
    if (writeLong(block, kClassFlagsField, classFlags) != kNoError) return lastError;
  }
  return writeLong(block, kTimeStampField, timeStamp);
}

ErrorCode SymbolDatabase::getClassFlags(RecordIdentifier classRec, long* classFlags) {
  *classFlags = readLong(classRec.recordNumber, kClassFlagsField);
  return lastError;
}

ErrorCode SymbolDatabase::setClassFlags(RecordIdentifier classRec, long classFlags) {
  return writeLong(classRec.recordNumber, kClassFlagsField, classFlags);
}

ErrorCode SymbolDatabase::getClassSourceLoc(RecordIdentifier classRec, SourceLoc* sourceLoc) {
  StoredLoc stored;
  *sourceLoc = SourceLoc();
  if (readStoredLoc(classRec.recordNumber, kSourceLocField, &stored) != kNoError) return lastError;
  return remapSourceReferences(stored, sourceLoc);
}

Boolean SymbolDatabase::classHasSource(RecordIdentifier classRec) {
  StoredLoc stored;
  return readStoredLoc(classRec.recordNumber, kSourceLocField, &stored) == kNoError &&
                 stored.sourceFile != 0
             ? TRUE
             : FALSE;
}

ErrorCode SymbolDatabase::getClassSource(RecordIdentifier classRec, char* fileName, size_t size) {
  copyOut("", fileName, size);
  SourceLoc loc;
  if (getClassSourceLoc(classRec, &loc) == kNoError && loc.sourcePosIdent.relativePath)
    copyOut(loc.sourcePosIdent.relativePath, fileName, size);
  disposeSourceLoc(&loc);
  return lastError;
}

ErrorCode SymbolDatabase::getFlavor(RecordIdentifier classRec, RecordIdentifier* flavor) {
  flavor->recordNumber = readLong(classRec.recordNumber, kFlavorField);
  return lastError;
}

ErrorCode SymbolDatabase::deleteClassRecord(RecordIdentifier classRec) {
  numberOfClasses = 0;
  long block = classRec.recordNumber;
  long lists[3] = {listBlockOf(classRec, kAttributeList), listBlockOf(classRec, kOperationList),
                   listBlockOf(classRec, kPropertyList)};
  unlinkClass(classRec);
  if ((lastError = deleteBlock(block)) != kNoError) return lastError;
  for (long list : lists)
    if (list) deleteBlock(list);
  // Another class of the same hash may be hidden behind this one.
  forgetDerivedState();
  if (lastMatchedSourceClass == block) lastMatchedSourceClass = 0;
  return lastError = kNoError;
}

ErrorCode SymbolDatabase::removeOldClassesForFile(const char* fileName, long earliestValidTime) {
  lastError = kNoError;
  if (!fileName) return lastError;
  fileNameType name;
  extractFilename(fileName, name, sizeof name);
  long fileNumber = findFileInList(kSourceFileListType, name);
  if (fileNumber < 1) return lastError = kNoError;
  long block = 0;
  while (getNextBlockOfType(kClassBlockType, block, &block) == kNoError) {
    StoredLoc stored;
    if (readStoredLoc(block, kSourceLocField, &stored) != kNoError) continue;
    long stamp = readLong(block, kTimeStampField);
    if (stored.sourceFile == fileNumber && stamp < earliestValidTime)
      deleteClassRecord(RecordIdentifier{block});
  }
  return lastError = kNoError;
}

// ---------------------------------------------------------------- features

long SymbolDatabase::listBlockOf(RecordIdentifier classRec, long listType) {
  long list = readLong(classRec.recordNumber, listType);
  return lastError == kNoError ? list : 0;
}

namespace {
long fieldsPerItem(long listType) { return listType == kOperationList ? 3 : 2; }
}  // namespace

ErrorCode SymbolDatabase::addListItem(RecordIdentifier classRec, long listType, const char* name,
                                      const SourceLoc* sourceLoc) {
  long list = listBlockOf(classRec, listType);
  if (lastError != kNoError) return lastError;
  char cut[kSymbolNameSize];
  cutName(name, cut);
  if ((lastError = addFieldToBlock(list, cut, static_cast<long>(std::strlen(cut)) + 1)) != kNoError)
    return lastError;
  std::vector<uint8_t> loc;
  if (storeSourceLoc(sourceLoc, &loc) != kNoError) return lastError;
  if ((lastError = addFieldToBlock(list, loc.data(), kStoredLocSize)) != kNoError) return lastError;
  if (listType == kOperationList) addLong(list, 0);  // no map yet
  return lastError;
}

long SymbolDatabase::countListItems(RecordIdentifier classRec, long listType) {
  long list = listBlockOf(classRec, listType);
  if (lastError != kNoError) return 0;
  long count = 0;
  lastError = countFieldsInBlock(list, &count);
  return std::max(0L, count / fieldsPerItem(listType));
}

ErrorCode SymbolDatabase::getNthItemName(RecordIdentifier classRec, long listType, long n,
                                         char* name) {
  name[0] = '\0';
  long list = listBlockOf(classRec, listType);
  if (lastError != kNoError) return lastError;
  if (n < 1) return lastError = kNoBlockOfType;
  return readName(list, (n - 1) * fieldsPerItem(listType) + 1, name);
}

ErrorCode SymbolDatabase::getNthItemSource(RecordIdentifier classRec, long listType, long n,
                                           SourceLoc* sourceLoc) {
  *sourceLoc = SourceLoc();
  long list = listBlockOf(classRec, listType);
  if (lastError != kNoError) return lastError;
  if (n < 1) return lastError = kNoBlockOfType;
  StoredLoc stored;
  if (readStoredLoc(list, (n - 1) * fieldsPerItem(listType) + 2, &stored) != kNoError)
    return lastError;
  return remapSourceReferences(stored, sourceLoc);
}

ErrorCode SymbolDatabase::getItemByName(RecordIdentifier classRec, long listType,
                                        const char* name, long* number) {
  *number = 0;
  long list = listBlockOf(classRec, listType);
  if (lastError != kNoError) return lastError;
  std::vector<std::string> fields;
  if (readFields(list, &fields) != kNoError) return lastError;
  char key[kSymbolNameSize];
  cutName(name, key);
  long per = fieldsPerItem(listType);
  for (size_t f = 0; f < fields.size(); f += per) {
    if (untilNul(fields[f]).substr(0, kSymbolNameSize - 1) == key) {
      *number = static_cast<long>(f) / per + 1;
      return lastError = kNoError;
    }
  }
  return lastError = kNoBlockOfType;
}

ErrorCode SymbolDatabase::addAttribute(RecordIdentifier c, const char* n, const SourceLoc* s) {
  return addListItem(c, kAttributeList, n, s);
}
ErrorCode SymbolDatabase::addOperation(RecordIdentifier c, const char* n, const SourceLoc* s) {
  return addListItem(c, kOperationList, n, s);
}
ErrorCode SymbolDatabase::addProperty(RecordIdentifier c, const char* n, const SourceLoc* s) {
  return addListItem(c, kPropertyList, n, s);
}
long SymbolDatabase::countAttributes(RecordIdentifier c) { return countListItems(c, kAttributeList); }
long SymbolDatabase::countOperations(RecordIdentifier c) { return countListItems(c, kOperationList); }
long SymbolDatabase::countProperties(RecordIdentifier c) { return countListItems(c, kPropertyList); }
ErrorCode SymbolDatabase::getNthAttributeName(RecordIdentifier c, long n, char* name) {
  return getNthItemName(c, kAttributeList, n, name);
}
ErrorCode SymbolDatabase::getNthOperationName(RecordIdentifier c, long n, char* name) {
  return getNthItemName(c, kOperationList, n, name);
}
ErrorCode SymbolDatabase::getNthPropertyName(RecordIdentifier c, long n, char* name) {
  return getNthItemName(c, kPropertyList, n, name);
}
ErrorCode SymbolDatabase::getNthAttributeSource(RecordIdentifier c, long n, SourceLoc* s) {
  return getNthItemSource(c, kAttributeList, n, s);
}
ErrorCode SymbolDatabase::getNthOperationSource(RecordIdentifier c, long n, SourceLoc* s) {
  return getNthItemSource(c, kOperationList, n, s);
}
ErrorCode SymbolDatabase::getNthPropertySource(RecordIdentifier c, long n, SourceLoc* s) {
  return getNthItemSource(c, kPropertyList, n, s);
}
ErrorCode SymbolDatabase::getOperationByName(RecordIdentifier c, const char* name, long* n) {
  return getItemByName(c, kOperationList, name, n);
}
ErrorCode SymbolDatabase::getAttributeByName(RecordIdentifier c, const char* name, long* n) {
  return getItemByName(c, kAttributeList, name, n);
}

// ---------------------------------------------------------------- links

Boolean SymbolDatabase::alreadyInList(const std::vector<long>& records, long record) {
  if (std::find(records.begin(), records.end(), record) == records.end()) return FALSE;
  char name[kSymbolNameSize];
  readName(record, kClassNameField, name);
  OWB_LOG("found duplicate link: " << name);
  return TRUE;
}

ErrorCode SymbolDatabase::addDoubleLink(RecordIdentifier superclassRec,
                                        RecordIdentifier subclassRec) {
  long super = superclassRec.recordNumber, sub = subclassRec.recordNumber;
  std::vector<long> subclasses, superclasses;
  if (readRecordList(super, kSubclassField, &subclasses) != kNoError) return lastError;
  if (readRecordList(sub, kSuperclassField, &superclasses) != kNoError) return lastError;
  if (alreadyInList(subclasses, sub) || alreadyInList(superclasses, super))
    return lastError = kNoError;
  bool firstSuperclass = superclasses.empty();
  subclasses.push_back(sub);
  classNameQuickSort(0, static_cast<long>(subclasses.size()) - 1, &subclasses);
  superclasses.push_back(super);
  classNameQuickSort(0, static_cast<long>(superclasses.size()) - 1, &superclasses);
  if (writeRecordList(super, kSubclassField, subclasses) != kNoError) return lastError;
  if (writeRecordList(sub, kSuperclassField, superclasses) != kNoError) return lastError;
  // The first superclass linked stays the flavor.
  if (firstSuperclass) writeLong(sub, kFlavorField, super);
  return lastError;
}

void SymbolDatabase::unlinkClass(RecordIdentifier classRec) {
  long self = classRec.recordNumber;
  std::vector<long> superclasses, subclasses, others;
  readRecordList(self, kSuperclassField, &superclasses);
  readRecordList(self, kSubclassField, &subclasses);
  for (long super : superclasses) {
    if (readRecordList(super, kSubclassField, &others) != kNoError) continue;
    others.erase(std::remove(others.begin(), others.end(), self), others.end());
    writeRecordList(super, kSubclassField, others);
  }
  for (long sub : subclasses) {
    if (readRecordList(sub, kSuperclassField, &others) != kNoError) continue;
    others.erase(std::remove(others.begin(), others.end(), self), others.end());
    writeRecordList(sub, kSuperclassField, others);
  }
}

long SymbolDatabase::countSubclasses(RecordIdentifier classRec) {
  std::vector<long> records;
  readRecordList(classRec.recordNumber, kSubclassField, &records);
  return static_cast<long>(records.size());
}

long SymbolDatabase::countSuperclasses(RecordIdentifier classRec) {
  std::vector<long> records;
  readRecordList(classRec.recordNumber, kSuperclassField, &records);
  return static_cast<long>(records.size());
}

ErrorCode SymbolDatabase::getNthSubclass(RecordIdentifier classRec, long n,
                                         RecordIdentifier* subclassRec) {
  subclassRec->recordNumber = 0;
  std::vector<long> records;
  if (readRecordList(classRec.recordNumber, kSubclassField, &records) != kNoError) return lastError;
  if (n < 1 || n > static_cast<long>(records.size())) return lastError = kNoBlockOfType;
  subclassRec->recordNumber = records[n - 1];
  return lastError;
}

ErrorCode SymbolDatabase::getNthSuperclass(RecordIdentifier classRec, long n,
                                           RecordIdentifier* superclassRec) {
  superclassRec->recordNumber = 0;
  std::vector<long> records;
  if (readRecordList(classRec.recordNumber, kSuperclassField, &records) != kNoError)
    return lastError;
  if (n < 1 || n > static_cast<long>(records.size())) return lastError = kNoBlockOfType;
  superclassRec->recordNumber = records[n - 1];
  return lastError;
}

// ---------------------------------------------------------------- naming, files, docs

ErrorCode SymbolDatabase::setClassNamingInfo(RecordIdentifier classRec, Boolean interfaceOnly,
                                             const char* interfaceName, long interfaceSize,
                                             const char* seriesName, long seriesSize,
                                             const char* implementationName,
                                             long implementationSize) {
  long block = classRec.recordNumber;
  long count = 0;
  if ((lastError = countFieldsInBlock(block, &count)) != kNoError) return lastError;
  uint8_t only = interfaceOnly ? 1 : 0;
  struct Value {
    const void* data;
    long size;
  } values[4] = {{&only, 1},
                 {interfaceName, interfaceName ? std::max(0L, interfaceSize) : 0},
                 {seriesName, seriesName ? std::max(0L, seriesSize) : 0},
                 {implementationName, implementationName ? std::max(0L, implementationSize) : 0}};
  // Appended the first time, overwritten later.
  for (long i = 0; i < 4; ++i) {
    long field = kInterfaceOnlyField + i;
    lastError = field <= count ? setFieldOfBlock(block, field, values[i].data, values[i].size)
                               : addFieldToBlock(block, values[i].data, values[i].size);
    if (lastError != kNoError) return lastError;
  }
  return lastError;
}

ErrorCode SymbolDatabase::readNamingField(RecordIdentifier classRec, long field, char* name,
                                          size_t size) {
  copyOut("", name, size);
  Ptr data = nullptr;
  long length = 0;
  lastError = getField(classRec.recordNumber, field, &data, &length);
  if (lastError == kNoSuchField) return lastError = kNoNamingInfo;
  if (lastError == kNoError) copyOut(untilNul(std::string(data, length)), name, size);
  delete[] data;
  return lastError;
}

Boolean SymbolDatabase::classHasInterfaceOnly(RecordIdentifier classRec) {
  Ptr data = nullptr;
  long length = 0;
  lastError = getField(classRec.recordNumber, kInterfaceOnlyField, &data, &length);
  if (lastError == kNoSuchField) lastError = kNoNamingInfo;
  Boolean only = lastError == kNoError && length >= 1 && data[0] != 0 ? TRUE : FALSE;
  delete[] data;
  return only;
}

ErrorCode SymbolDatabase::getClassInterfaceName(RecordIdentifier c, char* name, size_t size) {
  return readNamingField(c, kInterfaceNameField, name, size);
}
ErrorCode SymbolDatabase::getClassSeriesName(RecordIdentifier c, char* name, size_t size) {
  return readNamingField(c, kSeriesNameField, name, size);
}
ErrorCode SymbolDatabase::getClassImplementationName(RecordIdentifier c, char* name, size_t size) {
  return readNamingField(c, kImplementationNameField, name, size);
}

ErrorCode SymbolDatabase::mapClassNameToNamingField(const char* className, long field, char* name,
                                                    size_t size) {
  copyOut("", name, size);
  RecordIdentifier classRec;
  if (getClassByName(className, &classRec) != kNoError) return lastError;
  return readNamingField(classRec, field, name, size);
}

ErrorCode SymbolDatabase::mapClassNameToInterfaceName(const char* c, char* name, size_t size) {
  return mapClassNameToNamingField(c, kInterfaceNameField, name, size);
}
ErrorCode SymbolDatabase::mapClassNameToSeriesName(const char* c, char* name, size_t size) {
  return mapClassNameToNamingField(c, kSeriesNameField, name, size);
}
ErrorCode SymbolDatabase::mapClassNameToImplementationName(const char* c, char* name, size_t size) {
  return mapClassNameToNamingField(c, kImplementationNameField, name, size);
}

ErrorCode SymbolDatabase::mapNameToClass(long field, const char* name, RecordIdentifier* classRec) {
  classRec->recordNumber = 0;
  long block = 0;
  fileNameType stored;
  while (getNextBlockOfType(kClassBlockType, block, &block) == kNoError) {
    if (readNamingField(RecordIdentifier{block}, field, stored, sizeof stored) == kNoError &&
        std::strcmp(stored, name ? name : "") == 0) {
      classRec->recordNumber = block;
      return lastError = kNoError;
    }
  }
  return lastError = kClassNotFound;
}

ErrorCode SymbolDatabase::mapInterfaceNameToClass(const char* n, RecordIdentifier* c) {
  return mapNameToClass(kInterfaceNameField, n, c);
}
ErrorCode SymbolDatabase::mapSeriesNameToClass(const char* n, RecordIdentifier* c) {
  return mapNameToClass(kSeriesNameField, n, c);
}
ErrorCode SymbolDatabase::mapImplementationNameToClass(const char* n, RecordIdentifier* c) {
  return mapNameToClass(kImplementationNameField, n, c);
}

ErrorCode SymbolDatabase::setFileCompileTime(const char* fileName) {
  const char* name = fileName ? fileName : "";
  long nameSize = static_cast<long>(std::strlen(name)) + 1;
  long block = 0;
  std::vector<std::string> fields;
  while (getNextBlockOfType(kFileInfoBlockType, block, &block) == kNoError) {
    if (readFields(block, &fields) == kNoError && !fields.empty() && untilNul(fields[0]) == name)
      return writeLong(block, 2, static_cast<long>(timeInSeconds()));
  }
  if ((lastError = addBlock(kFileInfoBlockType, 0, nameSize + 16, &block)) != kNoError ||
      (lastError = initBlockForFields(block)) != kNoError ||
      (lastError = addFieldToBlock(block, name, nameSize)) != kNoError)
    return lastError;
  return addLong(block, static_cast<long>(timeInSeconds()));
}

ErrorCode SymbolDatabase::getFileCompileTime(const char* fileName, long* time) {
  *time = 0;
  long block = 0;
  std::vector<std::string> fields;
  while (getNextBlockOfType(kFileInfoBlockType, block, &block) == kNoError) {
    if (readFields(block, &fields) == kNoError && !fields.empty() &&
        untilNul(fields[0]) == (fileName ? fileName : "")) {
      *time = readLong(block, 2);
      return lastError;
    }
  }
  return lastError = kNoBlockOfType;
}

ErrorCode SymbolDatabase::setDocumentationFileName(RecordIdentifier classRec,
                                                   const char* fileName) {
  long number = addFileToList(kDocFileListType, fileName);
  if (lastError != kNoError) return lastError;
  return writeLong(classRec.recordNumber, kDocFileField, number);
}

ErrorCode SymbolDatabase::getDocumentationFileName(RecordIdentifier classRec, char* fileName,
                                                   size_t size) {
  copyOut("", fileName, size);
  long number = readLong(classRec.recordNumber, kDocFileField);
  if (lastError != kNoError || number == 0) return lastError;
  std::string name;
  if (fileNameAt(kDocFileListType, number, &name) == kNoError) copyOut(name, fileName, size);
  return lastError;
}

// ---------------------------------------------------------------- statistics

void SymbolDatabase::dumpBlockStats(long numberOfEntries, std::ofstream*) {
  struct Kind {
    TypeIdent types[2];
    const char* label;
    long used, slop;
  } kinds[] = {
      {{kClassBlockType, 0}, "class information/slop", 0, 0},
      {{kFeatureListType, kMapBlockType}, "feature text/slop", 0, 0},
      {{kRootListType, 0}, "root list space/slop", 0, 0},
      {{kClassListType, 0}, "class list space/slop", 0, 0},
      {{kSourceFileListType, 0}, "source file list/slop", 0, 0},
      {{kDocFileListType, 0}, "doc file list/slop", 0, 0},
      {{kFileInfoBlockType, 0}, "file info space/slop", 0, 0},
      {{kFreeBlockType, 0}, "free space/slop", 0, 0},
  };
  long otherUsed = 0, otherSlop = 0;
  long limit = std::min(numberOfEntries, scanLimit());
  for (long n = 1; n <= limit; ++n) {
    MasterPtrEntry entry;
    getMPEntry(n, &entry);
    bool counted = false;
    for (Kind& kind : kinds) {
      if (entry.blockType == kind.types[0] || (kind.types[1] && entry.blockType == kind.types[1])) {
        kind.used += entry.length;
        kind.slop += entry.slop;
        counted = true;
        break;
      }
    }
    if (!counted) {
      otherUsed += entry.length;
      otherSlop += entry.slop;
    }
  }
  for (const Kind& kind : kinds) logStats(kind.label, kind.used, kind.slop);
  logStats("unaccounted space/slop", otherUsed, otherSlop);
}
