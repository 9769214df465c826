#include "shared/database.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "bigendian.h"
#include "shared/errors.h"
#include "shared/freespaceindex.h"
#include "shared/log.h"
#include "shared/utils.h"

using owbcoding::getI32;
using owbcoding::getU32;
using owbcoding::putI32;
using owbcoding::putU32;

namespace {

// Shared by every Database of the process.
ErrorCode lastError = kNoError;

// The statistics file being written by dumpDatabaseStats.
std::ofstream* statstream = nullptr;

// Reads up to length bytes at position; stops at the end of the file or on
// an error.  Returns the count read.
long readAt(int fd, long position, void* data, long length) {
  if (position < 0 || length <= 0) return 0;
  long done = 0;
  while (done < length) {
    ssize_t got = pread(fd, static_cast<char*>(data) + done, static_cast<size_t>(length - done),
                        static_cast<off_t>(position + done));
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    done += got;
  }
  return done;
}

// Writes length bytes at position; 0 or the errno of the failure.
int writeAt(int fd, long position, const void* data, long length) {
  if (position < 0) return EINVAL;
  long done = 0;
  while (done < length) {
    ssize_t put = pwrite(fd, static_cast<const char*>(data) + done,
                         static_cast<size_t>(length - done), static_cast<off_t>(position + done));
    if (put < 0 && errno == EINTR) continue;
    if (put < 0) return errno;
    if (put == 0) break;  // a short write counts as success
    done += put;
  }
  return 0;
}

void decodeEntry(const uint8_t* raw, MasterPtrEntry* entry) {
  entry->blockType = getU32(raw);
  entry->length = getI32(raw + 4);
  entry->slop = getI32(raw + 8);
  entry->fileOffset = getI32(raw + 12);
}

void encodeEntry(const MasterPtrEntry& entry, uint8_t* raw) {
  putU32(raw, entry.blockType);
  putI32(raw + 4, static_cast<int32_t>(entry.length));
  putI32(raw + 8, static_cast<int32_t>(entry.slop));
  putI32(raw + 12, static_cast<int32_t>(entry.fileOffset));
}

// File offset of master pointer entry n (from 1) in a list at listOffset.
long entryPosition(long listOffset, long entryNumber) {
  return listOffset + kMPEntrySize * entryNumber - 8;
}

// Where field fieldNumber of a field block lies.  The test for a bad number
// is an AND, so a number above the count is not refused by it; the walk is
// kept inside the block, and a field that would lie outside it is -502.
ErrorCode getFieldInfo(const uint8_t* blockData, long blockLength, long fieldNumber,
                       long* fieldOffset, long* fieldLength) {
  long numberOfFields = blockLength >= 4 ? getI32(blockData) : 0;
  if (fieldNumber < 1 && numberOfFields < fieldNumber) return kNoSuchField;
  size_t size = static_cast<size_t>(std::max(0L, blockLength));
  long offset = 4;
  for (long field = 1; field < fieldNumber; ++field) {
    if (!owbcoding::fits(size, offset, 4)) return kNoSuchField;
    long length = getI32(blockData + offset);
    if (length < 0) return kNoSuchField;
    offset += length + 4;
  }
  if (!owbcoding::fits(size, offset, 4)) return kNoSuchField;
  long length = getI32(blockData + offset);
  offset += 4;
  if (length < 0 || !owbcoding::fits(size, offset, length)) return kNoSuchField;
  *fieldOffset = offset;
  *fieldLength = length;
  return kNoError;
}

}  // namespace

Database::Database() {
  tempMem = new (std::nothrow) char[kTempMemSize];
  if (tempMem) std::memset(tempMem, 0, kTempMemSize);
}

Database::~Database() {
  delete[] tempMem;
  tempMem = nullptr;
  closeDBFile();
}

ErrorCode Database::databaseLastError() { return lastError; }

void Database::dumpBlockStats(long, std::ofstream*) {}

void Database::noteFileEnd(long end) { realFileEnd_ = std::max(realFileEnd_, end); }

void Database::resetState() {
  if (dataCache) {
    for (long i = 0; i < kDataCacheEntries; ++i) std::free(dataCache[i].data);
    delete[] dataCache;
  }
  dataCache = nullptr;
  delete[] mpCache;
  mpCache = nullptr;
  mpCacheCapacity_ = 0;
  fileRefNum = 0;
  fileLength = mpOffset = mpEntries = mpSlots = 0;
  mpCacheStart = 0;
  currentDataCachePosition = 0;
  dataCacheHits = dataCacheMisses = mpCacheHits = mpCacheMisses = 0;
  cacheEnabled = TRUE;
  realFileEnd_ = 0;
  freeIndex_.reset();
}

// ---------------------------------------------------------------- file level

ErrorCode Database::openDBFile(const char* pathname, long openAccessType, Boolean checkDupOpen) {
  lastError = kNoError;
  if (fileRefNum != 0) {
    if (accessType == openAccessType) return kNoError;
    closeDBFile();
    lastError = kNoError;
  }
  accessType = openAccessType;

  if (cacheEnabled) {
    dataCache = new (std::nothrow) CacheEntry[kDataCacheEntries]();
    if (!dataCache) lastError = kOutOfMemory;
  }
  if (lastError == kNoError) {
    // Opened without blocking, so that a named pipe cannot hold the open
    // up; anything but a regular file is not a database file.
    int fd = accessType == kReadWriteAccess
                 ? ::open(pathname ? pathname : "", O_RDWR | O_CREAT | O_CLOEXEC | O_NONBLOCK, 0666)
                 : ::open(pathname ? pathname : "", O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    struct stat opened;
    if (fd < 0) {
      lastError = errno;
    } else if (fstat(fd, &opened) != 0 || !S_ISREG(opened.st_mode)) {
      ::close(fd);
      lastError = kNotValidDBFile;
    } else {
      fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) & ~O_NONBLOCK);
      if (fd == 0) {  // 0 means "no file" to this object; keep the file elsewhere
        int moved = fcntl(fd, F_DUPFD_CLOEXEC, 3);
        ::close(fd);
        fd = moved;
      }
      if (fd < 0) lastError = errno;
      else fileRefNum = fd;
    }
  }
  if (lastError == kNoError) {
    struct stat info;
    realFileEnd_ = fstat(fileRefNum, &info) == 0 ? static_cast<long>(info.st_size) : 0;
    if (cacheEnabled) {
      long capacity = kInitialMPSlots;
      if (accessType != kReadWriteAccess) {
        // The whole list is the window of a reader; entries that the file
        // cannot hold are not given room.
        capacity = std::min(getMPEntries(), scanLimit());
        capacity = std::max(0L, capacity);
      }
      mpCache = new (std::nothrow) MasterPtrEntry[std::max(1L, capacity)];
      if (!mpCache) lastError = kOutOfMemory;
      else mpCacheCapacity_ = capacity;
    }
  }
  if (lastError == kNoError && checkDupOpen) {
    uint32_t flags = readFlags();
    if (flags & kOpenForWritingFlag) {
      lastError = kFileOpenForWriting;
    } else if (accessType == kReadWriteAccess) {
      lastError = writeFlags(flags | kOpenForWritingFlag);
    }
  }
  if (lastError != kNoError) {
    ErrorCode error = lastError;
    closeDBFile();
    lastError = error;
  }
  return lastError;
}

ErrorCode Database::closeDBFile() {
  ErrorCode error = kNoError;
  if (fileRefNum != 0) {
    if (accessType == kReadWriteAccess) error = writeFlags(readFlags() & ~kOpenForWritingFlag);
    ::close(fileRefNum);
  }
  resetState();
  lastError = error;
  return error;
}

ErrorCode Database::createDBFile(const char* pathname, TypeIdent headerInfo, short version) {
  ErrorCode error = openDBFile(pathname, kReadWriteAccess, TRUE);
  if (error == kNoError) {
    uint8_t header[4];
    putU32(header, headerInfo);
    error = writeDataToFile(0, header, 4);
    uint8_t versions[4];
    owbcoding::putU16(versions, 1);
    owbcoding::putU16(versions + 2, static_cast<uint16_t>(version));
    if (error == kNoError) error = writeDataToFile(4, versions, 4);
    if (error == kNoError) {
      setMPOffset(kFileHeaderSize);
      setFileLength(kFileHeaderSize);
      // The list header and its 100 unused slots.
      std::vector<uint8_t> list;
      owbcoding::ByteWriter writer(&list);
      writer.i32(0);
      writer.i32(static_cast<int32_t>(kInitialMPSlots));
      for (long slot = 0; slot < kInitialMPSlots; ++slot) {
        writer.u32(kUnusedSlotType);
        writer.zeros(12);
      }
      appendDataToFile(list.data(), static_cast<long>(list.size()));
    }
  }
  ErrorCode closeError = closeDBFile();
  if (error == kNoError) error = closeError;
  if (error != kNoError && pathname) ::unlink(pathname);
  lastError = error;
  return error;
}

ErrorCode Database::validDBFile(const char* pathname, TypeIdent fileType, short* version) {
  lastError = kNoError;
  *version = 0;
  cacheEnabled = FALSE;
  if (!pathname || !fileExists(pathname)) return lastError = kFileDoesNotExist;
  ErrorCode error = openDBFile(pathname, kReadOnlyAccess, FALSE);
  if (error != kNoError) return lastError = error;
  uint8_t header[8] = {0};
  readDataFromFile(0, reinterpret_cast<Ptr>(header), 8, FALSE);
  closeDBFile();
  *version = owbcoding::getI16(header + 6);
  if (getU32(header) != fileType || owbcoding::getI16(header + 4) != 1)
    return lastError = kNotValidDBFile;
  return lastError = kNoError;
}

// ---------------------------------------------------------------- header values

namespace {
long readLongAt(Database* db, long position) {
  uint8_t raw[4] = {0};
  db->readDataFromFile(position, reinterpret_cast<Ptr>(raw), 4, FALSE);
  return getI32(raw);
}
void writeLongAt(Database* db, long position, long value) {
  uint8_t raw[4];
  putI32(raw, static_cast<int32_t>(value));
  db->writeDataToFile(position, raw, 4);
}
}  // namespace

long Database::getMPOffset() {
  if (mpOffset == 0) mpOffset = readLongAt(this, 12);
  return mpOffset;
}

void Database::setMPOffset(long offset) {
  writeLongAt(this, 12, offset);
  mpOffset = offset;
  mpCacheStart = 0;
}

long Database::getMPEntries() {
  if (mpEntries == 0) mpEntries = readLongAt(this, getMPOffset());
  return mpEntries;
}

void Database::setMPEntries(long entries) {
  // The free index follows single steps, each followed by setMPEntry of the
  // new entry; any other change makes it read the list again.
  if (freeIndex_ && entries != mpEntries + 1 && entries != mpEntries) freeIndex_.reset();
  writeLongAt(this, getMPOffset(), entries);
  mpEntries = entries;
}

long Database::getMPSlots() {
  if (mpSlots == 0) mpSlots = readLongAt(this, getMPOffset() + 4);
  return mpSlots;
}

void Database::setMPSlots(long slots) {
  writeLongAt(this, getMPOffset() + 4, slots);
  mpSlots = slots;
}

long Database::getFileLength() {
  if (fileLength == 0) fileLength = readLongAt(this, 16);
  return fileLength;
}

void Database::setFileLength(long length) {
  writeLongAt(this, 16, length);
  fileLength = length;
}

uint32_t Database::readFlags() {
  uint8_t raw[4] = {0};
  readDataFromFile(8, reinterpret_cast<Ptr>(raw), 4, FALSE);
  return getU32(raw);
}

ErrorCode Database::writeFlags(uint32_t flags) {
  uint8_t raw[4];
  putU32(raw, flags);
  return writeDataToFile(8, raw, 4);
}

// Entries that lie wholly inside the file as far as it is known, at most
// mpEntries: scans stop there, so a damaged count cannot make them run on.
long Database::scanLimit() {
  long entries = getMPEntries();
  long listOffset = getMPOffset();
  if (entries <= 0 || listOffset < 0) return 0;
  long fitting = (realFileEnd_ - listOffset - kMPListHeaderSize) / kMPEntrySize;
  return std::max(0L, std::min(entries, fitting));
}

// ---------------------------------------------------------------- master pointers

long Database::cacheWindow() const {
  return accessType == kReadWriteAccess ? std::min(kInitialMPSlots, mpCacheCapacity_)
                                        : mpCacheCapacity_;
}

void Database::readEntryDirect(long entryNumber, MasterPtrEntry* entry) {
  uint8_t raw[kMPEntrySize] = {0};
  readDataFromFile(entryPosition(getMPOffset(), entryNumber), reinterpret_cast<Ptr>(raw),
                   kMPEntrySize, FALSE);
  decodeEntry(raw, entry);
}

void Database::fillMPCache(long firstEntry) {
  long window = cacheWindow();
  mpCacheStart = firstEntry;
  std::vector<uint8_t> raw(static_cast<size_t>(window * kMPEntrySize), 0);
  if (window > 0)
    readDataFromFile(entryPosition(getMPOffset(), firstEntry), reinterpret_cast<Ptr>(raw.data()),
                     window * kMPEntrySize, FALSE);
  for (long i = 0; i < window; ++i) decodeEntry(raw.data() + i * kMPEntrySize, &mpCache[i]);
}

ErrorCode Database::getMPEntry(long entryNumber, MasterPtrEntry* entry) {
  if (!cacheEnabled || !mpCache || entryNumber < 1) {
    readEntryDirect(entryNumber, entry);
    return kNoError;
  }
  long window = cacheWindow();
  if (mpCacheStart != 0 && entryNumber >= mpCacheStart && entryNumber < mpCacheStart + window) {
    ++mpCacheHits;
  } else {
    ++mpCacheMisses;
    fillMPCache(accessType == kReadWriteAccess ? entryNumber : 1);
  }
  if (entryNumber >= mpCacheStart && entryNumber < mpCacheStart + window)
    *entry = mpCache[entryNumber - mpCacheStart];
  else
    readEntryDirect(entryNumber, entry);  // beyond what the file holds
  return kNoError;
}

ErrorCode Database::setMPEntry(long entryNumber, const MasterPtrEntry* newEntry) {
  uint8_t raw[kMPEntrySize];
  encodeEntry(*newEntry, raw);
  ErrorCode error = writeDataToFile(entryPosition(getMPOffset(), entryNumber), raw, kMPEntrySize);
  mpCacheStart = 0;
  if (freeIndex_ && error == kNoError)
    freeIndex_->set(entryNumber, newEntry->blockType == kFreeBlockType, newEntry->length);
  return error;
}

FreeSpaceIndex* Database::freeIndex() {
  if (freeIndex_) return freeIndex_.get();
  freeIndex_.reset(new FreeSpaceIndex);
  long limit = scanLimit();
  constexpr long kChunkEntries = 4096;
  std::vector<uint8_t> raw(kChunkEntries * kMPEntrySize);
  for (long first = 1; first <= limit; first += kChunkEntries) {
    long count = std::min(kChunkEntries, limit - first + 1);
    std::fill(raw.begin(), raw.end(), 0);
    readDataFromFile(entryPosition(getMPOffset(), first), reinterpret_cast<Ptr>(raw.data()),
                     count * kMPEntrySize, FALSE);
    for (long i = 0; i < count; ++i) {
      MasterPtrEntry entry;
      decodeEntry(raw.data() + i * kMPEntrySize, &entry);
      if (entry.blockType == kFreeBlockType) freeIndex_->set(first + i, true, entry.length);
    }
  }
  return freeIndex_.get();
}

// The first FREE entry whose space is too small to matter, or -1.
long Database::locateSmallFreeEntry() { return freeIndex()->firstSmall(scanLimit()); }

// First fit in number order: takes the front of the first FREE space of at
// least totalSize bytes and returns its old offset; 0 when nothing fits.
long Database::grabFreeSpace(long totalSize) {
  long entryNumber = freeIndex()->firstFit(totalSize, scanLimit());
  if (entryNumber < 0) return 0;
  MasterPtrEntry entry;
  getMPEntry(entryNumber, &entry);
  long oldOffset = entry.fileOffset;
  entry.fileOffset += totalSize;
  entry.length -= totalSize;
  setMPEntry(entryNumber, &entry);
  return oldOffset;
}

ErrorCode Database::growMPList(long growAmount) {
  long slots = getMPSlots();
  long oldMPSize = slots * kMPEntrySize + kMPListHeaderSize;
  long newMPSize = oldMPSize + kMPEntrySize * growAmount;
  if (slots < 0 || growAmount < 0 || newMPSize > kMaxDataLength) return lastError = kOutOfMemory;
  Ptr buffer = newDataPtr(newMPSize);
  if (!buffer) return lastError = kOutOfMemory;

  long listOffset = getMPOffset();
  long totalLength = getFileLength();
  if (listOffset + oldMPSize == totalLength) {
    appendDataToFile(buffer + oldMPSize, newMPSize - oldMPSize);
    setMPSlots(slots + growAmount);
  } else {
    long entries = getMPEntries();
    readDataFromFile(listOffset, buffer, oldMPSize, FALSE);
    appendDataToFile(buffer, newMPSize);
    setMPOffset(totalLength);
    setMPSlots(slots + growAmount);
    MasterPtrEntry oldList{kFreeBlockType, oldMPSize, 0, listOffset};
    setMPEntries(entries + 1);
    setMPEntry(entries + 1, &oldList);
    OWB_LOG("Moved master ptr list from " << listOffset << " to " << totalLength);
    OWB_LOG("oldSlots = " << slots << ", newSlots = " << slots + growAmount);
    OWB_LOG("oldMPSize = " << oldMPSize << ", newMPSize = " << newMPSize);
  }
  deleteDataPtr(buffer);
  return kNoError;
}

// ---------------------------------------------------------------- blocks

ErrorCode Database::addBlock(TypeIdent blockType, long blockLength, long blockSlop,
                             long* blockNumber) {
  lastError = kNoError;
  long entries = getMPEntries();
  long slots = getMPSlots();
  long totalSize = blockLength + blockSlop;
  MasterPtrEntry entry{blockType, blockLength, blockSlop, 0};
  if (blockLength < 0 || blockSlop < 0) return lastError = kOutOfMemory;

  long reusedEntry = locateSmallFreeEntry();
  if (reusedEntry < 0 && entries == slots) {
    if (growMPList(kMPGrowAmount) != kNoError) return lastError;
    entries = getMPEntries();
  }
  Ptr buffer = newDataPtr(totalSize);
  if (!buffer) return lastError = kOutOfMemory;
  // The buffer's bytes only reserve the space; what they hold is undefined.
  long fileOffset = grabFreeSpace(totalSize);
  if (fileOffset == 0) {
    fileOffset = getFileLength();
    appendDataToFile(buffer, totalSize);
  } else {
    lastError = writeDataToFile(fileOffset, buffer, totalSize);
  }
  deleteDataPtr(buffer);
  if (lastError != kNoError) return lastError;

  long number = reusedEntry;
  if (number < 0) {
    number = entries + 1;
    setMPEntries(number);
  }
  entry.fileOffset = fileOffset;
  lastError = setMPEntry(number, &entry);
  if (lastError == kNoError) *blockNumber = number;
  return lastError;
}

ErrorCode Database::deleteBlock(long blockNumber) {
  lastError = kNoError;
  if (blockNumber < 1 || blockNumber > getMPEntries()) return lastError = kNoBlockOfType;
  MasterPtrEntry entry;
  getMPEntry(blockNumber, &entry);
  if (entry.blockType == kFreeBlockType) return lastError = kBlockIsFree;
  entry.length += entry.slop;
  entry.slop = 0;
  entry.blockType = kFreeBlockType;
  return lastError = setMPEntry(blockNumber, &entry);
}

ErrorCode Database::countBlocksOfType(TypeIdent blockType, long* numberFound) {
  lastError = kNoError;
  long found = 0;
  long limit = scanLimit();
  MasterPtrEntry entry;
  for (long number = 1; number <= limit; ++number) {
    getMPEntry(number, &entry);
    if (entry.blockType == blockType) ++found;
  }
  *numberFound = found;
  return lastError;
}

ErrorCode Database::getNthBlockOfType(TypeIdent blockType, long blockIndex, long* blockNumber) {
  lastError = kNoError;
  *blockNumber = 0;
  long counter = blockIndex;
  long limit = scanLimit();
  MasterPtrEntry entry;
  for (long number = 1; number <= limit; ++number) {
    getMPEntry(number, &entry);
    // The counter is tested after its decrement, so index 0 never matches.
    if (entry.blockType == blockType && --counter == 0) {
      *blockNumber = number;
      return lastError;
    }
  }
  return lastError = kNoBlockOfType;
}

ErrorCode Database::getNextBlockOfType(TypeIdent blockType, long startBlock, long* blockNumber) {
  lastError = kNoError;
  *blockNumber = 0;
  long limit = scanLimit();
  MasterPtrEntry entry;
  for (long number = std::max(1L, startBlock + 1); number <= limit; ++number) {
    getMPEntry(number, &entry);
    if (entry.blockType == blockType) {
      *blockNumber = number;
      return lastError;
    }
  }
  return lastError = kNoBlockOfType;
}

ErrorCode Database::getBlockLength(long blockNumber, long* blockLength) {
  lastError = kNoError;
  if (blockNumber < 1 || blockNumber > getMPEntries()) return lastError = kNoBlockOfType;
  MasterPtrEntry entry;
  getMPEntry(blockNumber, &entry);
  *blockLength = entry.length;
  return lastError;
}

ErrorCode Database::readDataFromBlock(long blockNumber, Ptr data, Boolean useCache) {
  lastError = kNoError;
  if (blockNumber < 1 || blockNumber > getMPEntries()) return lastError = kNoBlockOfType;
  MasterPtrEntry entry;
  getMPEntry(blockNumber, &entry);
  if (entry.blockType == kFreeBlockType) return lastError = kBlockIsFree;
  readDataFromFile(entry.fileOffset, data, entry.length, useCache);
  return lastError;
}

ErrorCode Database::writeDataToBlock(long blockNumber, const void* data, long length) {
  lastError = kNoError;
  if (blockNumber < 1 || blockNumber > getMPEntries()) return lastError = kNoBlockOfType;
  if (length < 0) return lastError = kOutOfMemory;
  MasterPtrEntry entry;
  getMPEntry(blockNumber, &entry);
  if (entry.blockType == kFreeBlockType) return lastError = kBlockIsFree;

  if (length <= entry.length + entry.slop) {
    // In place; a shrinking block gives its bytes back to the slop.
    entry.slop += entry.length - length;
    entry.length = length;
    lastError = writeDataToFile(entry.fileOffset, data, length);
    if (lastError == kNoError) lastError = setMPEntry(blockNumber, &entry);
    return lastError;
  }

  // The block moves.  The order of writes is fixed: the free entry for the
  // old place, then the data at the new place, then the block's own entry,
  // so that the old contents stay readable until the last write.
  long entries = getMPEntries();
  if (entries == getMPSlots()) {
    if (growMPList(kMPGrowAmount) != kNoError) return lastError;
    entries = getMPEntries();
  }
  MasterPtrEntry oldPlace{kFreeBlockType, entry.length + entry.slop, 0, entry.fileOffset};
  setMPEntries(entries + 1);
  lastError = setMPEntry(entries + 1, &oldPlace);
  if (lastError != kNoError) return lastError;

  entry.slop = kGrowthSlop;
  entry.length = length;
  long fileOffset = grabFreeSpace(length + kGrowthSlop);
  if (fileOffset != 0) {
    lastError = writeDataToFile(fileOffset, data, length);
  } else {
    fileOffset = getFileLength();
    appendDataToFile(data, length);
    Ptr slop = newDataPtr(kGrowthSlop);
    if (!slop) return lastError = kOutOfMemory;
    appendDataToFile(slop, kGrowthSlop);
    deleteDataPtr(slop);
  }
  if (lastError != kNoError) return lastError;
  entry.fileOffset = fileOffset;
  return lastError = setMPEntry(blockNumber, &entry);
}

// ---------------------------------------------------------------- fields

ErrorCode Database::readFieldBlock(long blockNumber, Ptr* data, long* length) {
  *data = nullptr;
  *length = 0;
  if (getBlockLength(blockNumber, length) != kNoError) return lastError;
  Ptr buffer = newDataPtr(std::max(0L, *length));
  if (!buffer) return lastError = kOutOfMemory;
  if (readDataFromBlock(blockNumber, buffer, TRUE) != kNoError) {
    deleteDataPtr(buffer);
    return lastError;
  }
  *length = std::max(0L, *length);
  *data = buffer;
  return lastError;
}

ErrorCode Database::initBlockForFields(long blockNumber) {
  static const uint8_t kNoFields[4] = {0, 0, 0, 0};
  return writeDataToBlock(blockNumber, kNoFields, 4);
}

ErrorCode Database::countFieldsInBlock(long blockNumber, long* numberOfFields) {
  Ptr data;
  long length;
  *numberOfFields = 0;
  if (readFieldBlock(blockNumber, &data, &length) != kNoError) return lastError;
  if (length >= 4) *numberOfFields = getI32(reinterpret_cast<uint8_t*>(data));
  deleteDataPtr(data);
  return lastError;
}

ErrorCode Database::getFieldLength(long blockNumber, long fieldNumber, long* fieldLength) {
  Ptr field = nullptr;
  ErrorCode error = getField(blockNumber, fieldNumber, &field, fieldLength);
  delete[] field;
  return error;
}

ErrorCode Database::getLongFromBlock(long blockNumber, long fieldNumber, long* fieldLong) {
  *fieldLong = 0;
  char raw[4];
  long length = 0;
  Ptr field = nullptr;
  if (getField(blockNumber, fieldNumber, &field, &length) == kNoError && length == 4) {
    std::memcpy(raw, field, 4);
    *fieldLong = getI32(reinterpret_cast<uint8_t*>(raw));
  }
  delete[] field;
  return lastError;
}

ErrorCode Database::getFieldIntoBuffer(long blockNumber, long fieldNumber, Ptr fieldData,
                                       long* fieldLength, long maxLength) {
  Ptr data;
  long blockLength;
  *fieldLength = 0;
  if (readFieldBlock(blockNumber, &data, &blockLength) != kNoError) return lastError;
  long offset = 0, length = 0;
  lastError = getFieldInfo(reinterpret_cast<uint8_t*>(data), blockLength, fieldNumber, &offset,
                           &length);
  if (lastError == kNoError) {
    *fieldLength = std::max(0L, std::min(length, maxLength));
    if (*fieldLength > 0) std::memcpy(fieldData, data + offset, *fieldLength);
  }
  deleteDataPtr(data);
  return lastError;
}

ErrorCode Database::getField(long blockNumber, long fieldNumber, Ptr* fieldData,
                             long* fieldLength) {
  Ptr data;
  long blockLength;
  *fieldData = nullptr;
  *fieldLength = 0;
  if (readFieldBlock(blockNumber, &data, &blockLength) != kNoError) return lastError;
  long offset = 0, length = 0;
  lastError = getFieldInfo(reinterpret_cast<uint8_t*>(data), blockLength, fieldNumber, &offset,
                           &length);
  if (lastError == kNoError) {
    Ptr copy = new (std::nothrow) char[std::max(1L, length)];
    if (!copy) {
      lastError = kOutOfMemory;
    } else {
      if (length > 0) std::memcpy(copy, data + offset, length);
      *fieldData = copy;
      *fieldLength = length;
    }
  }
  deleteDataPtr(data);
  return lastError;
}

ErrorCode Database::addFieldToBlock(long blockNumber, const void* fieldData, long fieldLength) {
  if (fieldLength < 0) return lastError = kNoSuchField;
  Ptr data;
  long blockLength;
  if (readFieldBlock(blockNumber, &data, &blockLength) != kNoError) return lastError;
  if (blockLength < 4) {  // not a field block: it has no field count
    deleteDataPtr(data);
    return lastError = kNoSuchField;
  }
  long newLength = blockLength + fieldLength + 4;
  Ptr block = newDataPtr(newLength);
  if (!block) {
    deleteDataPtr(data);
    return lastError = kOutOfMemory;
  }
  std::memcpy(block, data, blockLength);
  deleteDataPtr(data);
  uint8_t* bytes = reinterpret_cast<uint8_t*>(block);
  putI32(bytes, getI32(bytes) + 1);
  putI32(bytes + blockLength, static_cast<int32_t>(fieldLength));
  if (fieldLength > 0) std::memcpy(block + blockLength + 4, fieldData, fieldLength);
  writeDataToBlock(blockNumber, block, newLength);
  deleteDataPtr(block);
  return lastError;
}

ErrorCode Database::deleteFieldFromBlock(long blockNumber, long fieldNumber) {
  Ptr data;
  long blockLength;
  if (readFieldBlock(blockNumber, &data, &blockLength) != kNoError) return lastError;
  uint8_t* bytes = reinterpret_cast<uint8_t*>(data);
  long offset = 0, length = 0;
  lastError = getFieldInfo(bytes, blockLength, fieldNumber, &offset, &length);
  if (lastError == kNoError) {
    std::memmove(bytes + offset - 4, bytes + offset + length, blockLength - (offset + length));
    putI32(bytes, getI32(bytes) - 1);
    writeDataToBlock(blockNumber, data, blockLength - length - 4);
  }
  deleteDataPtr(data);
  return lastError;
}

ErrorCode Database::setFieldOfBlock(long blockNumber, long fieldNumber, const void* newFieldData,
                                    long newFieldLength) {
  if (newFieldLength < 0) return lastError = kNoSuchField;
  Ptr data;
  long blockLength;
  if (readFieldBlock(blockNumber, &data, &blockLength) != kNoError) return lastError;
  uint8_t* bytes = reinterpret_cast<uint8_t*>(data);
  long offset = 0, length = 0;
  lastError = getFieldInfo(bytes, blockLength, fieldNumber, &offset, &length);
  if (lastError != kNoError) {
    deleteDataPtr(data);
    return lastError;
  }
  long newLength = blockLength + newFieldLength - length;
  long tail = blockLength - (offset + length);
  if (newFieldLength > length) {
    Ptr block = newDataPtr(newLength);
    if (!block) {
      deleteDataPtr(data);
      return lastError = kOutOfMemory;
    }
    std::memcpy(block, data, offset - 4);
    putI32(reinterpret_cast<uint8_t*>(block + offset - 4), static_cast<int32_t>(newFieldLength));
    std::memcpy(block + offset, newFieldData, newFieldLength);
    std::memcpy(block + offset + newFieldLength, data + offset + length, tail);
    deleteDataPtr(data);
    writeDataToBlock(blockNumber, block, newLength);
    deleteDataPtr(block);
    return lastError;
  }
  if (newFieldLength > 0) std::memmove(bytes + offset, newFieldData, newFieldLength);
  std::memmove(bytes + offset + newFieldLength, bytes + offset + length, tail);
  putI32(bytes + offset - 4, static_cast<int32_t>(newFieldLength));
  writeDataToBlock(blockNumber, data, newLength);
  deleteDataPtr(data);
  return lastError;
}

// ---------------------------------------------------------------- file access

ErrorCode Database::readDataFromFile(long position, Ptr data, long length, Boolean useCache) {
  if (cacheEnabled && useCache && readFromCache(position, data, length)) {
    ++dataCacheHits;
    return kNoError;
  }
  if (useCache) ++dataCacheMisses;
  // Bytes beyond the end of the file are left as the caller's buffer held them.
  if (fileRefNum != 0) readAt(fileRefNum, position, data, length);
  if (useCache) addToCache(position, data, length);
  return kNoError;
}

ErrorCode Database::writeDataToFile(long position, const void* data, long length) {
  if (fileRefNum == 0) return EBADF;
  if (length <= 0) return kNoError;
  // File offsets are 32-bit in the format; a damaged value must not make a
  // huge sparse file.
  if (position + length > INT32_MAX) return EFBIG;
  int error = writeAt(fileRefNum, position, data, length);
  if (error == 0) noteFileEnd(position + length);
  return error;
}

ErrorCode Database::appendDataToFile(const void* data, long length) {
  // An append never reports failure: the total length moves on all the same.
  long position = getFileLength();
  writeDataToFile(position, data, length);
  setFileLength(position + length);
  return kNoError;
}

Boolean Database::readFromCache(long position, Ptr data, long length) {
  if (accessType != kReadOnlyAccess || !dataCache || length < 0) return FALSE;
  for (long i = 0; i < kDataCacheEntries; ++i) {
    const CacheEntry& slot = dataCache[i];
    if (!slot.data || position < slot.position) continue;
    if (slot.position + slot.length - position >= length) {
      if (length > 0) std::memcpy(data, slot.data + (position - slot.position), length);
      return TRUE;
    }
  }
  return FALSE;
}

// Round robin; the first 12 header bytes are never cached.
void Database::addToCache(long position, const void* data, long length) {
  if (accessType != kReadOnlyAccess || !dataCache) return;
  if (length < 0 || length > kTempMemSize || position < 13) return;
  CacheEntry& slot = dataCache[currentDataCachePosition];
  if (slot.availableLength < length) {
    long size = std::max(256L, length);
    Ptr block = static_cast<Ptr>(std::malloc(size));
    if (!block) return;
    std::free(slot.data);
    slot.data = block;
    slot.availableLength = size;
  }
  if (!slot.data) {  // a zero-length request on an empty slot
    slot.data = static_cast<Ptr>(std::malloc(256));
    if (!slot.data) return;
    slot.availableLength = 256;
  }
  if (length > 0) std::memcpy(slot.data, data, length);
  slot.position = position;
  slot.length = length;
  currentDataCachePosition = (currentDataCachePosition + 1) % kDataCacheEntries;
}

Ptr Database::newDataPtr(long length) {
  if (length < 0 || length > kMaxDataLength) return nullptr;
  if (tempMem && !tempMemInUse && length <= kTempMemSize) {
    tempMemInUse = TRUE;
    std::memset(tempMem, 0, static_cast<size_t>(length));
    return tempMem;
  }
  return static_cast<Ptr>(std::calloc(static_cast<size_t>(std::max(1L, length)), 1));
}

void Database::deleteDataPtr(Ptr ptr) {
  if (!ptr) return;
  if (ptr == tempMem) tempMemInUse = FALSE;
  else std::free(ptr);
}

// ---------------------------------------------------------------- statistics

void Database::dumpDatabaseStats() {
  char name[32];
  bool found = false;
  for (int n = 1; n <= 99 && !found; ++n) {
    std::snprintf(name, sizeof name, "dblog.%d", n);
    found = !fileExists(name);
  }
  if (!found) {
    OWB_LOG("too many dblog files!");
    std::fputs("\a\a\a", stderr);
    return;
  }
  std::ofstream stream(name);
  if (!stream) return;
  statstream = &stream;
  long listOffset = getMPOffset();
  long entries = getMPEntries();
  stream << "Logging database stats" << std::endl;
  stream << 12 << ": offset to master pointer list = " << listOffset << std::endl;
  stream << 16 << ": total length of database = " << getFileLength() << std::endl;
  stream << listOffset << ": number of mp entries = " << entries << std::endl;
  stream << listOffset + 4 << ": number of mp slots = " << getMPSlots() << std::endl;
  stream << std::endl;
  dumpBlockStats(entries, statstream);
  stream << std::endl;
  statstream = nullptr;
}

void Database::logStats(const char* descriptor, long bytesUsed, long bytesInSlop) {
  if (!statstream) return;
  long total = getFileLength();
  long usedPercent = total > 0 ? bytesUsed * 100 / total : 0;
  long slopPercent = total > 0 ? bytesInSlop * 100 / total : 0;
  *statstream << "Total " << descriptor << " in file: " << bytesUsed << " (" << usedPercent
              << "%) / " << bytesInSlop << " (" << slopPercent << "%)" << std::endl;
}
