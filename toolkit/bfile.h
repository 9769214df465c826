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
  kBFileErrNoBlock = 8,    // no block is open for %s
  kBFileMsgReading = 0     // Messages: reading file %s
};

constexpr UInt32 kBFileHeaderSize = 64;
constexpr UInt32 kBFileLongHeader = 9;
constexpr UInt32 kBFileMaxSize = 64u << 20;  // refuse larger files
constexpr UInt32 kBFileOpenEnd = 0x7fffffff;  // block end of the open-ended last block

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
  // Copies what is left of the record, at most max bytes; gives the count.
  size_t readRest(void* out, size_t max);
  // Absolute offset of the next byte.
  UInt32 position();
  UInt32 recordOffset() const { return offset_; }
  UInt32 firstBlockEnd() const { return firstEnd_; }
  // End of the current block: kBFileOpenEnd for the open-ended last block.
  UInt32 blockEnd() const { return openEnded_ && limit_ == realLimit_ ? kBFileOpenEnd : limit_; }
  // Moves the end of the current block back (reading stops there and the
  // chain is not followed) or out again, up to where the block really ends.
  void setBlockEnd(UInt32 end);
  // Moves to an absolute offset inside the current block's payload.
  void seekTo(UInt32 offset);

 private:
  bool nextBlock();
  void enter(const BlockHeader& h);
  BFilePtr file_;
  UInt32 offset_;
  UInt32 firstEnd_;
  UInt32 pos_;        // absolute position in the current block
  UInt32 limit_;      // end of the current block's payload as read now
  UInt32 payload_;    // start of the current block's payload
  UInt32 realLimit_;  // where the current block really ends
  UInt32 cont_;
  UInt32 realCont_;
  bool openEnded_ = false;
  std::vector<UInt32> seen_;  // blocks of this chain, to find a cycle
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

// --- The file's cursor: typed reads and writes --------------------------------
//
// Contracts:
// - Reading goes through the innermost block opened with
//   BFILE_ReadBlockBegin, following its continuations; with no block open
//   it reads the raw bytes at the position set by BFILE_SeekTo.  A read
//   past the record's end, the block end set by BFILE_SetBlockEnd or the
//   file's end fails "BFile" through the error frames; nothing is copied
//   beyond the buffer the caller names.
// - Blocks nest: every BFILE_ReadBlockBegin is paired with one
//   BFILE_ReadBlockEnd (BFileReadBlock does the pairing in C++ code, also
//   when a failure unwinds), which gives back the enclosing block's cursor.
// - Writing collects a record between BFILE_WriteBlockBegin(2) and
//   BFILE_WriteBlockEnd, which places it in the file; with no record open,
//   writes go to the raw bytes at the position (the file header).
// - BFILE_BackupPos saves the whole read cursor, BFILE_RestorePos brings
//   the last saved one back; they pair like the blocks.
// - Strings returned by BFILE_ReadNewStr and BFILE_ReadNewVStr belong to
//   the caller (VSTR_Dispose); null for a null string.
void BFILE_SeekTo(BFilePtr file, UInt32 offset);
void BFILE_SeekBy(BFilePtr file, Int32 delta);  // forward crosses continuations
UInt32 BFILE_CurOffset(BFilePtr file);  // while writing a record: bytes in it so far
UInt32 BFILE_GetBlockEnd(BFilePtr file);  // no block open: the file's end offset
void BFILE_SetBlockEnd(BFilePtr file, UInt32 end);
void BFILE_BackupPos(BFilePtr file);
void BFILE_RestorePos(BFilePtr file);

void BFILE_ReadBlockBegin(BFilePtr file, UInt32 offset);
void BFILE_ReadBlockEnd(BFilePtr file);
// The innermost open block's reader (the decoders of rlibcodec.h read
// through it); fails when none is open.
BlockReader& BFILE_CurReader(BFilePtr file);
// Copies the record at offset, at most size bytes; gives the count copied.
UInt32 BFILE_ReadBlock(BFilePtr file, UInt32 offset, void* buffer, UInt32 size);
void BFILE_Read(BFilePtr file, void* buffer, UInt32 size);  // null buffer: skips
int8_t BFILE_ReadInt8(BFilePtr file);
UInt8 BFILE_ReadUInt8(BFilePtr file);
Int16 BFILE_ReadInt16(BFilePtr file);
UInt16 BFILE_ReadUInt16(BFilePtr file);
Int32 BFILE_ReadInt32(BFilePtr file);
UInt32 BFILE_ReadUInt32(BFilePtr file);
// A Str into buffer (max bytes with the NUL; a longer text is cut and the
// rest skipped).  Gives 0 for a null string, which leaves buffer "".
BoolEnum BFILE_ReadStr(BFilePtr file, char* buffer, Int max);
char* BFILE_ReadNewStr(BFilePtr file);
VStrPtr BFILE_ReadNewVStr(BFilePtr file);

// offsetPtr: the record to rewrite, or 0 for a new one at the end of the
// file; BFILE_WriteBlockEnd stores where the record went.
void BFILE_WriteBlockBegin(BFilePtr file, UInt32* offsetPtr);
// A section at its fixed start, its first block bounded by limit.
void BFILE_WriteBlockBegin2(BFilePtr file, UInt32 start, UInt32 limit);
// Places the record; gives its offset.
UInt32 BFILE_WriteBlockEnd(BFilePtr file);
void BFILE_Write(BFilePtr file, const void* data, UInt32 size);
void BFILE_WriteInt8(BFilePtr file, int8_t value);
void BFILE_WriteUInt8(BFilePtr file, UInt8 value);
void BFILE_WriteInt16(BFilePtr file, Int16 value);
void BFILE_WriteUInt16(BFilePtr file, UInt16 value);
void BFILE_WriteInt32(BFilePtr file, Int32 value);
void BFILE_WriteUInt32(BFilePtr file, UInt32 value);
void BFILE_WriteStr(BFilePtr file, const char* text);  // null: a null string
void BFILE_WriteVStr(BFilePtr file, VStrPtr text);

// The one encoding of a Str: i16 length including the NUL (0 for null),
// then the bytes; longer texts are cut at kBFileMaxStr bytes.
constexpr size_t kBFileMaxStr = 32766;
void BFILE_EncodeStr(std::vector<uint8_t>* out, const char* text);

// Opens a block for reading and closes it when it goes out of scope.
class BFileReadBlock {
 public:
  BFileReadBlock(BFilePtr file, UInt32 offset) : file_(file) { BFILE_ReadBlockBegin(file, offset); }
  ~BFileReadBlock() { BFILE_ReadBlockEnd(file_); }
  BFileReadBlock(const BFileReadBlock&) = delete;
  BFileReadBlock& operator=(const BFileReadBlock&) = delete;
  BlockReader& reader() { return BFILE_CurReader(file_); }

 private:
  BFilePtr file_;
};

#endif  // OWB_TOOLKIT_BFILE_H
