// Block files: the layer under resource libraries.
//
// A block file is a 64-byte header followed by chained blocks.  A block
// starts with a short header (one non-zero byte: the block's total size,
// 1..255, no continuation) or a long one (a zero byte, u32 total size
// including the 9 header bytes, u32 offset of the continuation block or 0).
// A logical record runs on through the continuation blocks.  The block that
// ends at the file's end offset is open-ended: reading and writing may go
// past its stated size.  Layout tables: docs/resource-library.md.
//
// The file is held in memory while it is open (files are small); writes
// mark pages dirty and BFILE_Flush writes those pages back.  Everything read
// is checked: a block outside the file, a chain that does not end, or a
// record shorter than its contents fails with a "BFile" message through the
// error frames.
#ifndef OWB_TOOLKIT_BFILE_H
#define OWB_TOOLKIT_BFILE_H

#include <string>
#include <vector>

#include "toolkit/tkbase.h"

struct _BFileRec;
typedef _BFileRec* BFilePtr;

// "BFile" message numbers (Errors list).
enum {
  kBFileErrOpen = 0,       // cannot open file %s
  kBFileErrOutside = 1,    // block at offset %ld lies outside the file
  kBFileErrChain = 2,      // block chain at offset %ld does not end
  kBFileErrTruncated = 3,  // record at offset %ld is shorter than its contents
  kBFileErrWrite = 4,      // cannot write file %s
  kBFileErrHeader = 5,     // bad block header at offset %ld
  kBFileErrTooLarge = 6,   // file %s is too large
  kBFileErrExtend = 7,     // block at offset %ld cannot be extended
  kBFileMsgReading = 0     // Messages: reading file %s
};

constexpr UInt32 kBFileHeaderSize = 64;
constexpr UInt32 kBFileLongHeader = 9;
constexpr UInt32 kBFileMaxSize = 64u << 20;  // refuse larger files

BFilePtr BFILE_New(const char* name, Int maxPages, Int pageSize);
void BFILE_Dispose(BFilePtr file);
// Opens the file: found through the search path (NFILE_PathFind) unless
// created.  A read-write open that fails falls back to read only.
void BFILE_Open(BFilePtr file, BoolEnum readWrite, BoolEnum create);
// Opens over bytes held in memory, read only (used to check untrusted data
// without a file).
void BFILE_OpenMemory(BFilePtr file, const void* data, size_t size);
void BFILE_Close(BFilePtr file);  // flushes when writable
void BFILE_Flush(BFilePtr file);
BoolEnum BFILE_IsOpen(BFilePtr file);
BoolEnum BFILE_IsReadOnly(BFilePtr file);
const char* BFILE_GetName(BFilePtr file);  // the path actually opened
UInt32 BFILE_GetEndOffset(BFilePtr file);
void BFILE_SetEndOffset(BFilePtr file, UInt32 offset);
UInt32 BFILE_GetSize(BFilePtr file);  // bytes held
void BFILE_SetClientData(BFilePtr file, ClientPtr data);
ClientPtr BFILE_GetClientData(BFilePtr file);

// Raw, bounds-checked access to the bytes.
bool BFILE_ReadAt(BFilePtr file, UInt32 offset, void* out, UInt32 n);
void BFILE_WriteAt(BFilePtr file, UInt32 offset, const void* data, UInt32 n);

// One block's header as read.
struct BlockHeader {
  UInt32 Start = 0;
  UInt32 Size = 0;       // total, header included
  UInt32 Cont = 0;       // continuation, 0 for none
  UInt32 HeaderLen = 1;  // 1 or 9
  bool OpenEnded = false;
  UInt32 PayloadStart() const { return Start + HeaderLen; }
};
// Reads and checks the header at offset (fails "BFile" on a bad one).
BlockHeader BFILE_ReadBlockHeader(BFilePtr file, UInt32 offset);

// Reads one logical record through its chain of blocks.
class BlockReader {
 public:
  BlockReader(BFilePtr file, UInt32 offset);
  // Copies n bytes; fails "BFile" (truncated) when the chain ends first.
  void read(void* out, size_t n);
  uint8_t u8();
  uint16_t u16();
  uint32_t u32();
  int16_t i16() { return static_cast<int16_t>(u16()); }
  int32_t i32() { return static_cast<int32_t>(u32()); }
  // A Str: i16 length including the NUL (0: null), then length-1 bytes.
  // Gives false for a null string.
  bool str(std::string* out);
  // Absolute offset of the next byte.
  UInt32 position();
  UInt32 recordOffset() const { return offset_; }
  UInt32 firstBlockEnd() const { return firstEnd_; }

 private:
  bool nextBlock();
  BFilePtr file_;
  UInt32 offset_;
  UInt32 firstEnd_;
  UInt32 pos_;    // absolute position in the current block
  UInt32 limit_;  // end of the current block's payload
  UInt32 cont_;
  UInt32 hops_ = 0;
};

// Where a placed record's bytes went: logical position -> file offset.
struct PlacedRecord {
  UInt32 Offset = 0;         // the record's first block
  UInt32 FirstBlockEnd = 0;  // start + size of that block
  std::vector<UInt32> SegStart, SegLogical, SegLen;
  UInt32 absolute(UInt32 logical) const;
};

// Writes a record as a new block at the end of the file: a short header
// when the whole block is below 256 bytes, a long one otherwise.
PlacedRecord BFILE_PlaceNew(BFilePtr file, const std::vector<uint8_t>& data);
// Payload bytes an existing chain holds without growing; UINT32_MAX when
// its last block is open-ended.
UInt32 BFILE_ChainCapacity(BFilePtr file, UInt32 offset);
// Rewrites an existing chain in place; the data must fit (ChainCapacity).
PlacedRecord BFILE_PlaceInChain(BFilePtr file, UInt32 offset, const std::vector<uint8_t>& data);
// Writes a section at its fixed start: the stored size (if any) or
// `limit` bounds the first block; what does not fit goes on through the
// continuation chain, which grows at the end of the file.
PlacedRecord BFILE_PlaceSection(BFilePtr file, UInt32 start, UInt32 limit,
                                const std::vector<uint8_t>& data);

// Deferred writes: a u32 whose value is known only later (the offset of a
// knot not yet written).  BFILE_Flush works the list before writing pages.
typedef UInt32 (*BFileLaterProc)(ClientPtr client);
void BFILE_WriteLater(BFilePtr file, const PlacedRecord& record, UInt32 logical,
                      BFileLaterProc proc, ClientPtr client);
void BFILE_WorkLaterList(BFilePtr file);

#endif  // OWB_TOOLKIT_BFILE_H
