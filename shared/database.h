// The block database file: numbered blocks of typed bytes in one file.
//
// Every access to a block goes through the master pointer list kept inside
// the file, so a block keeps its number when it grows and moves.  A block
// may be used as a list of length-prefixed fields.  The byte layout is in
// docs/block-database.md.
//
// Contracts:
// - One file-scope error variable serves all Database objects; operations
//   returning an ErrorCode return its value.  Positive codes are errno.
// - Nothing checks the file against its own bookkeeping: a damaged file
//   gives odd data, never a read or write outside the caller's buffers.
//   Buffers passed to readDataFromBlock must hold the block's length.
// - Blocks are numbered from 1; a number outside 1..mpEntries gives -505.
// - One object per open file and one writing process at a time (the flag
//   bit at offset 8 is a cooperative marker, not a lock).  While a file is
//   open for writing, its master pointer entries change only through
//   setMPEntry.
#ifndef OWB_SHARED_DATABASE_H
#define OWB_SHARED_DATABASE_H

#include <cstdint>
#include <fstream>
#include <memory>

#include "owbtypes.h"

typedef char* Ptr;

constexpr TypeIdent kFreeBlockType = makeTypeIdent("FREE");
constexpr TypeIdent kUnusedSlotType = makeTypeIdent("----");

enum : long { kReadOnlyAccess = 0, kReadWriteAccess = 1 };

constexpr long kFileHeaderSize = 20;
constexpr long kMPListHeaderSize = 8;
constexpr long kMPEntrySize = 16;
constexpr long kInitialMPSlots = 100;
constexpr long kMPGrowAmount = 100;
constexpr long kGrowthSlop = 60;            // slop given to a block that moves
constexpr long kSmallFreeLength = 5;        // free space below this is abandoned
constexpr long kDataCacheEntries = 32;
constexpr long kTempMemSize = 1024;
constexpr uint32_t kOpenForWritingFlag = 1;
// The largest buffer made for a block.  No block of the environment comes
// near it; a larger length can only come from a damaged file, and
// allocating it would exhaust memory for nothing (-1701).
constexpr long kMaxDataLength = 16L * 1024 * 1024;

// One block's pointer in the master pointer list.
struct MasterPtrEntry {
  TypeIdent blockType = 0;
  long length = 0;      // bytes in use (free space size for FREE)
  long slop = 0;        // bytes reserved behind the data
  long fileOffset = 0;  // where the data begins
};

// One slot of the read cache of a file opened for reading.
struct CacheEntry {
  long position = 0;
  long length = 0;
  long availableLength = 0;
  Ptr data = nullptr;
};

class FreeSpaceIndex;

class Database {
 public:
  Database();
  virtual ~Database();
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;

  // Writes the block statistics of a derived class; empty here.
  virtual void dumpBlockStats(long numberOfEntries, std::ofstream* stream);
  // Writes the file's statistics to the first free dblog.N (1..99) of the
  // current directory.
  virtual void dumpDatabaseStats();

  // File level.
  ErrorCode openDBFile(const char* pathname, long openAccessType, Boolean checkDupOpen);
  ErrorCode closeDBFile();
  // Writes a new empty database (1628 bytes) and leaves it closed.
  ErrorCode createDBFile(const char* pathname, TypeIdent headerInfo, short version);
  // -1302 missing, -507 other type or format; *version is set either way.
  ErrorCode validDBFile(const char* pathname, TypeIdent fileType, short* version);
  Boolean isOpen() const { return fileRefNum != 0; }

  // Blocks.
  ErrorCode addBlock(TypeIdent blockType, long blockLength, long blockSlop, long* blockNumber);
  ErrorCode deleteBlock(long blockNumber);
  ErrorCode countBlocksOfType(TypeIdent blockType, long* numberFound);
  // blockIndex counts from 1 in entry order; 0 finds nothing (-505).
  ErrorCode getNthBlockOfType(TypeIdent blockType, long blockIndex, long* blockNumber);
  // The first block of the type above startBlock.
  ErrorCode getNextBlockOfType(TypeIdent blockType, long startBlock, long* blockNumber);
  ErrorCode getBlockLength(long blockNumber, long* blockLength);
  ErrorCode readDataFromBlock(long blockNumber, Ptr data, Boolean useCache);
  ErrorCode writeDataToBlock(long blockNumber, const void* data, long length);

  // Fields, numbered from 1.
  ErrorCode initBlockForFields(long blockNumber);
  ErrorCode countFieldsInBlock(long blockNumber, long* numberOfFields);
  ErrorCode getFieldLength(long blockNumber, long fieldNumber, long* fieldLength);
  // 0 unless the field is exactly 4 bytes long.
  ErrorCode getLongFromBlock(long blockNumber, long fieldNumber, long* fieldLong);
  // Copies at most maxLength bytes; *fieldLength is the number copied.
  ErrorCode getFieldIntoBuffer(long blockNumber, long fieldNumber, Ptr fieldData,
                               long* fieldLength, long maxLength);
  // *fieldData is a new[] block owned by the caller (delete[]).
  ErrorCode getField(long blockNumber, long fieldNumber, Ptr* fieldData, long* fieldLength);
  ErrorCode addFieldToBlock(long blockNumber, const void* fieldData, long fieldLength);
  ErrorCode deleteFieldFromBlock(long blockNumber, long fieldNumber);
  ErrorCode setFieldOfBlock(long blockNumber, long fieldNumber, const void* newFieldData,
                            long newFieldLength);

  // Low level, for derived classes and tools that inspect a file.
  long getMPOffset();
  void setMPOffset(long offset);
  long getMPEntries();
  void setMPEntries(long entries);
  long getMPSlots();
  void setMPSlots(long slots);
  ErrorCode getMPEntry(long entryNumber, MasterPtrEntry* entry);
  ErrorCode setMPEntry(long entryNumber, const MasterPtrEntry* newEntry);
  ErrorCode growMPList(long growAmount);
  long getFileLength();
  void setFileLength(long length);
  uint32_t readFlags();
  ErrorCode writeFlags(uint32_t flags);
  ErrorCode readDataFromFile(long position, Ptr data, long length, Boolean useCache);
  ErrorCode writeDataToFile(long position, const void* data, long length);
  ErrorCode appendDataToFile(const void* data, long length);
  // A zeroed buffer of length bytes, the scratch block when it is free and
  // large enough; null when length is negative or too large.
  Ptr newDataPtr(long length);
  void deleteDataPtr(Ptr ptr);

  // The error of the last operation of any Database in this process.
  static ErrorCode databaseLastError();

  long accessType = kReadOnlyAccess;
  int fileRefNum = 0;
  long fileLength = 0;
  long mpOffset = 0;
  long mpEntries = 0;
  long mpSlots = 0;
  long mpCacheStart = 0;
  long currentDataCachePosition = 0;
  CacheEntry* dataCache = nullptr;
  MasterPtrEntry* mpCache = nullptr;
  Ptr tempMem = nullptr;
  Boolean tempMemInUse = FALSE;
  Boolean cacheEnabled = TRUE;
  long dataCacheHits = 0;
  long dataCacheMisses = 0;
  long mpCacheHits = 0;
  long mpCacheMisses = 0;

 protected:
  // Entries that lie wholly inside the file, at most mpEntries: walks of the
  // list stop there, so a damaged count cannot make them run on.
  long scanLimit();
  // "Total <descriptor> in file: U (P%) / S (Q%)" on the statistics stream.
  void logStats(const char* descriptor, long bytesUsed, long bytesInSlop);

 private:
  long locateSmallFreeEntry();
  long grabFreeSpace(long totalSize);
  FreeSpaceIndex* freeIndex();
  long cacheWindow() const;
  void readEntryDirect(long entryNumber, MasterPtrEntry* entry);
  void fillMPCache(long firstEntry);
  Boolean readFromCache(long position, Ptr data, long length);
  void addToCache(long position, const void* data, long length);
  ErrorCode readFieldBlock(long blockNumber, Ptr* data, long* length);
  void resetState();
  void noteFileEnd(long end);

  long mpCacheCapacity_ = 0;  // entries allocated in mpCache
  long realFileEnd_ = 0;      // bytes known to exist in the file
  std::unique_ptr<FreeSpaceIndex> freeIndex_;
};

#endif  // OWB_SHARED_DATABASE_H
