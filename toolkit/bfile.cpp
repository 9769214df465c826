// Block files: the byte image, block headers, chained records.
#include "toolkit/bfile.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <memory>
#include <set>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "bigendian.h"
#include "toolkit/err.h"
#include "toolkit/nfile.h"

using owbcoding::fits;
using owbcoding::getU16;
using owbcoding::getU32;
using owbcoding::putU32;

struct _BFileRec {
  std::string name;  // as asked for
  std::string path;  // as opened
  Int pageSize;
  int fd = -1;
  bool open = false;
  bool readOnly = true;
  std::vector<uint8_t> image;
  std::set<UInt32> dirtyPages;
  UInt32 endOffset = 0;
  ClientPtr clientData = nullptr;
  struct Later {
    UInt32 at[4];
    BFileLaterProc proc;
    ClientPtr client;
  };
  std::vector<Later> later;
  // The cursor: open read blocks (innermost last), the raw position, saved
  // cursors, and records being written.
  std::vector<std::unique_ptr<BlockReader>> reading;
  UInt32 rawPos = 0;
  struct Saved {
    std::vector<BlockReader> reading;
    UInt32 rawPos;
  };
  std::vector<Saved> saved;
  struct Writing {
    UInt32* offsetPtr = nullptr;  // null for a section
    UInt32 start = 0, limit = 0;  // a section's start and limit
    std::vector<uint8_t> data;
  };
  std::vector<Writing> writing;
};

namespace {

void S_Touch(BFilePtr file, UInt32 offset, UInt32 n) {
  if (!n) return;
  UInt32 page = static_cast<UInt32>(file->pageSize);
  for (UInt32 p = offset / page; p <= (offset + n - 1) / page; ++p) file->dirtyPages.insert(p);
}

void S_FailAt(Int id, UInt32 offset) { ERR_Fail("BFile", id, static_cast<long>(offset)); }

void S_PutLongHeader(BFilePtr file, UInt32 start, UInt32 size, UInt32 cont) {
  uint8_t h[kBFileLongHeader] = {0};
  putU32(h + 1, size);
  putU32(h + 5, cont);
  BFILE_WriteAt(file, start, h, sizeof h);
}

// Appends one new block at the end; long header when `forceLong`.
UInt32 S_AppendBlock(BFilePtr file, const uint8_t* data, UInt32 n, bool forceLong) {
  UInt32 start = file->endOffset;
  if (!forceLong && n + 1 < 256) {
    uint8_t size = static_cast<uint8_t>(n + 1);
    BFILE_WriteAt(file, start, &size, 1);
    BFILE_WriteAt(file, start + 1, data, n);
  } else {
    S_PutLongHeader(file, start, n + kBFileLongHeader, 0);
    BFILE_WriteAt(file, start + kBFileLongHeader, data, n);
  }
  return start;
}

void S_AddSegment(PlacedRecord* r, UInt32 start, UInt32 logical, UInt32 len) {
  r->SegStart.push_back(start);
  r->SegLogical.push_back(logical);
  r->SegLen.push_back(len);
}

}  // namespace

BFilePtr BFILE_New(const char* name, Int, Int pageSize) {
  BFilePtr file = new _BFileRec;
  file->name = name ? name : "";
  file->pageSize = pageSize > 0 ? pageSize : 1024;
  return file;
}

void BFILE_Dispose(BFilePtr file) {
  if (!file) return;
  if (file->fd >= 0) close(file->fd);
  delete file;
}

void BFILE_Open(BFilePtr file, BoolEnum readWrite, BoolEnum create) {
  ErrTrace frame("BFile", __FILE__, __LINE__);
  frame.setContext(kBFileMsgReading);
  ERR_SetOptStr(frame.rec(), file->name.c_str());
  file->path = NFILE_PathFind(file->name.c_str(), create);
  // Opened without blocking, so that a named pipe in the search path cannot
  // hold the program up before it is seen not to be a file; and closed on
  // exec, so that the programs this one starts do not inherit it.
  constexpr int kOpenFlags = O_NONBLOCK | O_CLOEXEC;
  int fd = -1;
  bool readOnly = !readWrite;
  if (create) {
    fd = open(file->path.c_str(), O_RDWR | O_CREAT | O_TRUNC | kOpenFlags, 0644);
    readOnly = false;
  } else {
    if (readWrite) fd = open(file->path.c_str(), O_RDWR | kOpenFlags);
    if (fd < 0) {
      fd = open(file->path.c_str(), O_RDONLY | kOpenFlags);
      readOnly = true;
    }
  }
  if (fd < 0) ERR_Fail("BFile", kBFileErrOpen, file->path);
  struct stat st;
  if (fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
    close(fd);
    ERR_Fail("BFile", kBFileErrOpen, file->path);
  }
  fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) & ~O_NONBLOCK);
  if (st.st_size > static_cast<off_t>(kBFileMaxSize)) {
    close(fd);
    ERR_Fail("BFile", kBFileErrTooLarge, file->path);
  }
  std::vector<uint8_t> image(static_cast<size_t>(st.st_size));
  size_t got = 0;
  while (got < image.size()) {
    ssize_t n = pread(fd, image.data() + got, image.size() - got, static_cast<off_t>(got));
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;
    got += static_cast<size_t>(n);
  }
  image.resize(got);
  file->fd = fd;
  file->image.swap(image);
  file->open = true;
  file->readOnly = readOnly;
  file->dirtyPages.clear();
  file->endOffset = file->image.size() >= kBFileHeaderSize ? getU32(file->image.data() + 60)
                                                           : static_cast<UInt32>(file->image.size());
}

void BFILE_OpenMemory(BFilePtr file, const void* data, size_t size) {
  if (size > kBFileMaxSize) ERR_Fail("BFile", kBFileErrTooLarge, file->name);
  const uint8_t* bytes = static_cast<const uint8_t*>(data);
  file->image.assign(bytes, bytes + size);
  file->path = file->name;
  file->open = true;
  file->readOnly = true;
  file->endOffset = size >= kBFileHeaderSize ? getU32(bytes + 60) : static_cast<UInt32>(size);
}

void BFILE_Close(BFilePtr file) {
  if (!file->open) return;
  if (!file->readOnly) BFILE_Flush(file);
  if (file->fd >= 0) close(file->fd);
  file->fd = -1;
  file->open = false;
  file->reading.clear();
  file->saved.clear();
  file->writing.clear();
  file->rawPos = 0;
  file->image.clear();
  file->image.shrink_to_fit();
}

void BFILE_WorkLaterList(BFilePtr file) {
  std::vector<_BFileRec::Later> later;
  later.swap(file->later);
  for (const auto& entry : later) {
    uint8_t value[4];
    putU32(value, entry.proc(entry.client));
    for (int i = 0; i < 4; ++i) BFILE_WriteAt(file, entry.at[i], value + i, 1);
  }
}

void BFILE_Flush(BFilePtr file) {
  if (!file->open || file->readOnly) return;
  BFILE_WorkLaterList(file);
  UInt32 page = static_cast<UInt32>(file->pageSize);
  for (UInt32 p : file->dirtyPages) {
    size_t from = static_cast<size_t>(p) * page;
    if (from >= file->image.size()) continue;
    size_t n = std::min<size_t>(page, file->image.size() - from);
    if (file->fd < 0 || pwrite(file->fd, file->image.data() + from, n, static_cast<off_t>(from)) !=
                            static_cast<ssize_t>(n))
      ERR_Fail("BFile", kBFileErrWrite, file->path);
  }
  file->dirtyPages.clear();
}

BoolEnum BFILE_IsOpen(BFilePtr file) { return file && file->open; }
BoolEnum BFILE_IsReadOnly(BFilePtr file) { return file->readOnly; }
const char* BFILE_GetName(BFilePtr file) { return file->path.empty() ? file->name.c_str() : file->path.c_str(); }
UInt32 BFILE_GetEndOffset(BFilePtr file) { return file->endOffset; }
void BFILE_SetEndOffset(BFilePtr file, UInt32 offset) { file->endOffset = offset; }
UInt32 BFILE_GetSize(BFilePtr file) { return static_cast<UInt32>(file->image.size()); }
void BFILE_SetClientData(BFilePtr file, ClientPtr data) { file->clientData = data; }
ClientPtr BFILE_GetClientData(BFilePtr file) { return file->clientData; }

bool BFILE_ReadAt(BFilePtr file, UInt32 offset, void* out, UInt32 n) {
  if (!fits(file->image.size(), offset, n)) return false;
  if (n) std::memcpy(out, file->image.data() + offset, n);
  return true;
}

void BFILE_WriteAt(BFilePtr file, UInt32 offset, const void* data, UInt32 n) {
  if (static_cast<uint64_t>(offset) + n > kBFileMaxSize) ERR_Fail("BFile", kBFileErrTooLarge, file->path);
  if (offset + n > file->image.size()) file->image.resize(offset + n, 0);
  if (n) std::memcpy(file->image.data() + offset, data, n);
  if (offset + n > file->endOffset) file->endOffset = offset + n;
  S_Touch(file, offset, n);
}

BlockHeader BFILE_ReadBlockHeader(BFilePtr file, UInt32 offset) {
  BlockHeader h;
  h.Start = offset;
  const size_t size = file->image.size();
  if (offset < kBFileHeaderSize || !fits(size, offset, 1)) S_FailAt(kBFileErrOutside, offset);
  const uint8_t* p = file->image.data() + offset;
  if (p[0] != 0) {
    h.Size = p[0];
    h.HeaderLen = 1;
  } else {
    if (!fits(size, offset, kBFileLongHeader)) S_FailAt(kBFileErrOutside, offset);
    h.Size = getU32(p + 1);
    h.Cont = getU32(p + 5);
    h.HeaderLen = kBFileLongHeader;
    if (h.Size < kBFileLongHeader) S_FailAt(kBFileErrHeader, offset);
  }
  uint64_t end = static_cast<uint64_t>(offset) + h.Size;
  if (end == file->endOffset && h.Cont == 0) h.OpenEnded = true;
  else if (end > size) S_FailAt(kBFileErrOutside, offset);
  return h;
}

// --- Reading records -----------------------------------------------------------

BlockReader::BlockReader(BFilePtr file, UInt32 offset) : file_(file), offset_(offset) {
  BlockHeader h = BFILE_ReadBlockHeader(file, offset);
  firstEnd_ = h.Start + h.Size;
  enter(h);
}

void BlockReader::enter(const BlockHeader& h) {
  pos_ = payload_ = h.PayloadStart();
  openEnded_ = h.OpenEnded;
  limit_ = realLimit_ = h.OpenEnded ? static_cast<UInt32>(file_->image.size()) : h.Start + h.Size;
  cont_ = realCont_ = h.Cont;
}

bool BlockReader::nextBlock() {
  if (!cont_) return false;
  if (seen_.empty()) seen_.push_back(offset_);
  if (std::find(seen_.begin(), seen_.end(), cont_) != seen_.end()) S_FailAt(kBFileErrChain, offset_);
  seen_.push_back(cont_);
  enter(BFILE_ReadBlockHeader(file_, cont_));
  return true;
}

void BlockReader::setBlockEnd(UInt32 end) {
  UInt32 real = openEnded_ ? kBFileOpenEnd : realLimit_;
  if (end < pos_ || end > real) S_FailAt(kBFileErrOutside, end);
  bool whole = end == real;
  limit_ = whole ? realLimit_ : std::min(end, realLimit_);
  cont_ = whole ? realCont_ : 0;
}

void BlockReader::seekTo(UInt32 offset) {
  if (offset < payload_ || offset > limit_) S_FailAt(kBFileErrOutside, offset);
  pos_ = offset;
}

size_t BlockReader::readRest(void* out, size_t max) {
  uint8_t* to = static_cast<uint8_t*>(out);
  size_t done = 0;
  while (done < max) {
    if (pos_ >= limit_ && !nextBlock()) break;
    if (pos_ >= limit_) continue;
    size_t take = std::min<size_t>(max - done, limit_ - pos_);
    read(to ? to + done : nullptr, take);
    done += take;
  }
  return done;
}

void BlockReader::read(void* out, size_t n) {
  uint8_t* to = static_cast<uint8_t*>(out);
  while (n > 0) {
    if (pos_ >= limit_) {
      if (!nextBlock()) S_FailAt(kBFileErrTruncated, offset_);
      continue;
    }
    size_t take = std::min<size_t>(n, limit_ - pos_);
    if (!fits(file_->image.size(), pos_, take)) S_FailAt(kBFileErrTruncated, offset_);
    if (to) std::memcpy(to, file_->image.data() + pos_, take), to += take;
    pos_ += static_cast<UInt32>(take);
    n -= take;
  }
}

uint8_t BlockReader::u8() {
  uint8_t b;
  read(&b, 1);
  return b;
}

uint16_t BlockReader::u16() {
  uint8_t b[2];
  read(b, 2);
  return getU16(b);
}

uint32_t BlockReader::u32() {
  uint8_t b[4];
  read(b, 4);
  return getU32(b);
}

bool BlockReader::str(std::string* out) {
  int16_t len = i16();
  out->clear();
  if (len <= 0) {
    if (len < 0) S_FailAt(kBFileErrTruncated, offset_);
    return false;
  }
  out->resize(static_cast<size_t>(len - 1));
  if (len > 1) read(&(*out)[0], static_cast<size_t>(len - 1));
  return true;
}

UInt32 BlockReader::position() {
  while (pos_ >= limit_ && cont_) nextBlock();
  return pos_;
}

// --- Placing records -------------------------------------------------------------

UInt32 PlacedRecord::absolute(UInt32 logical) const {
  for (size_t i = 0; i < SegStart.size(); ++i)
    if (logical >= SegLogical[i] && logical < SegLogical[i] + SegLen[i])
      return SegStart[i] + (logical - SegLogical[i]);
  return SegStart.empty() ? 0 : SegStart.back() + SegLen.back();
}

PlacedRecord BFILE_PlaceNew(BFilePtr file, const std::vector<uint8_t>& data) {
  PlacedRecord r;
  UInt32 n = static_cast<UInt32>(data.size());
  r.Offset = S_AppendBlock(file, data.data(), n, false);
  UInt32 header = n + 1 < 256 ? 1 : kBFileLongHeader;
  r.FirstBlockEnd = r.Offset + header + n;
  S_AddSegment(&r, r.Offset + header, 0, n);
  return r;
}

UInt32 BFILE_ChainCapacity(BFilePtr file, UInt32 offset) {
  UInt64 total = 0;
  UInt32 hops = 0;
  for (UInt32 at = offset; at;) {
    BlockHeader h = BFILE_ReadBlockHeader(file, at);
    if (h.OpenEnded) return UINT32_MAX;
    total += h.Size - h.HeaderLen;
    at = h.Cont;
    if (++hops > file->image.size()) S_FailAt(kBFileErrChain, offset);
  }
  return static_cast<UInt32>(std::min<UInt64>(total, UINT32_MAX - 1));
}

namespace {

// Writes data through the chain at `start`; `first` is the header already
// read there.  Extends the chain at the end of the file when allowed.
void S_WriteChain(BFilePtr file, BlockHeader h, const std::vector<uint8_t>& data, bool mayExtend,
                  PlacedRecord* r) {
  UInt32 done = 0;
  const UInt32 n = static_cast<UInt32>(data.size());
  UInt32 hops = 0;
  for (;;) {
    if (h.OpenEnded) {
      UInt32 rest = n - done;
      UInt32 size = std::max(h.Size, h.HeaderLen + rest);
      if (h.HeaderLen == 1 && size >= 256) {
        h.HeaderLen = kBFileLongHeader;  // the last block grows its header in place
        size = std::max(h.Size, kBFileLongHeader + rest);
      }
      if (h.HeaderLen == 1) {
        uint8_t b = static_cast<uint8_t>(size);
        BFILE_WriteAt(file, h.Start, &b, 1);
      } else {
        S_PutLongHeader(file, h.Start, size, 0);
      }
      BFILE_WriteAt(file, h.Start + h.HeaderLen, data.data() + done, rest);
      S_AddSegment(r, h.Start + h.HeaderLen, done, rest);
      if (r->FirstBlockEnd == 0) r->FirstBlockEnd = h.Start + size;
      return;
    }
    if (r->FirstBlockEnd == 0) r->FirstBlockEnd = h.Start + h.Size;
    UInt32 room = h.Size - h.HeaderLen;
    UInt32 take = std::min(room, n - done);
    BFILE_WriteAt(file, h.PayloadStart(), data.data() + done, take);
    S_AddSegment(r, h.PayloadStart(), done, take);
    done += take;
    if (done == n) return;
    if (h.Cont) {
      if (++hops > file->image.size()) S_FailAt(kBFileErrChain, r->Offset);
      h = BFILE_ReadBlockHeader(file, h.Cont);
      continue;
    }
    if (!mayExtend || h.HeaderLen != kBFileLongHeader) S_FailAt(kBFileErrExtend, h.Start);
    UInt32 cont = file->endOffset;
    S_PutLongHeader(file, h.Start, h.Size, cont);
    UInt32 rest = n - done;
    S_AppendBlock(file, data.data() + done, rest, true);
    S_AddSegment(r, cont + kBFileLongHeader, done, rest);
    return;
  }
}

}  // namespace

PlacedRecord BFILE_PlaceInChain(BFilePtr file, UInt32 offset, const std::vector<uint8_t>& data) {
  PlacedRecord r;
  r.Offset = offset;
  S_WriteChain(file, BFILE_ReadBlockHeader(file, offset), data, false, &r);
  return r;
}

PlacedRecord BFILE_PlaceSection(BFilePtr file, UInt32 start, UInt32 limit,
                                const std::vector<uint8_t>& data) {
  PlacedRecord r;
  r.Offset = start;
  BlockHeader h;
  uint8_t raw[kBFileLongHeader] = {0};
  bool stored = BFILE_ReadAt(file, start, raw, sizeof raw) && raw[0] == 0 && getU32(raw + 1) > 0;
  if (stored) {
    h = BFILE_ReadBlockHeader(file, start);
  } else {
    // A fresh section: its block runs to the fixed limit, or is open-ended
    // when it starts at the end of the file.
    h.Start = start;
    h.HeaderLen = kBFileLongHeader;
    h.OpenEnded = start >= file->endOffset;
    h.Size = h.OpenEnded ? kBFileLongHeader : limit - start;
    if (!h.OpenEnded) S_PutLongHeader(file, start, h.Size, 0);
  }
  S_WriteChain(file, h, data, true, &r);
  return r;
}

void BFILE_WriteLater(BFilePtr file, const PlacedRecord& record, UInt32 logical,
                      BFileLaterProc proc, ClientPtr client) {
  _BFileRec::Later entry;
  for (UInt32 i = 0; i < 4; ++i) entry.at[i] = record.absolute(logical + i);
  entry.proc = proc;
  entry.client = client;
  file->later.push_back(entry);
}

// --- The cursor ---------------------------------------------------------------------

namespace {

BlockReader* S_Reader(BFilePtr file) { return file->reading.empty() ? nullptr : file->reading.back().get(); }

_BFileRec::Writing* S_Writing(BFilePtr file) { return file->writing.empty() ? nullptr : &file->writing.back(); }

// Raw bytes at the position, when no block is open.
void S_RawRead(BFilePtr file, void* out, UInt32 n) {
  if (!fits(file->image.size(), file->rawPos, n)) S_FailAt(kBFileErrTruncated, file->rawPos);
  if (out && n) std::memcpy(out, file->image.data() + file->rawPos, n);
  file->rawPos += n;
}

void S_Put(BFilePtr file, const void* data, UInt32 n) {
  if (_BFileRec::Writing* w = S_Writing(file)) {
    const uint8_t* p = static_cast<const uint8_t*>(data);
    w->data.insert(w->data.end(), p, p + n);
    return;
  }
  BFILE_WriteAt(file, file->rawPos, data, n);
  file->rawPos += n;
}

template <class T>
T S_ReadBE(BFilePtr file) {
  uint8_t b[sizeof(T)];
  BFILE_Read(file, b, sizeof b);
  uint32_t v = 0;
  for (uint8_t byte : b) v = (v << 8) | byte;
  return static_cast<T>(v);
}

template <class T>
void S_WriteBE(BFilePtr file, T value) {
  uint8_t b[sizeof(T)];
  uint32_t v = static_cast<uint32_t>(value);
  for (size_t i = sizeof(T); i-- > 0; v >>= 8) b[i] = static_cast<uint8_t>(v);
  S_Put(file, b, sizeof b);
}

// The length of a Str; 0 for a null string.
Int S_ReadStrLen(BFilePtr file) {
  Int16 len = BFILE_ReadInt16(file);
  if (len < 0) S_FailAt(kBFileErrTruncated, BFILE_CurOffset(file));
  return len;
}

}  // namespace

void BFILE_SeekTo(BFilePtr file, UInt32 offset) {
  if (BlockReader* r = S_Reader(file)) return r->seekTo(offset);
  if (offset > file->image.size()) S_FailAt(kBFileErrOutside, offset);
  file->rawPos = offset;
}

void BFILE_SeekBy(BFilePtr file, Int32 delta) {
  if (delta >= 0) return BFILE_Read(file, nullptr, static_cast<UInt32>(delta));
  UInt32 back = static_cast<UInt32>(-static_cast<int64_t>(delta));
  UInt32 at = BFILE_CurOffset(file);
  if (back > at) S_FailAt(kBFileErrOutside, 0);
  BFILE_SeekTo(file, at - back);
}

UInt32 BFILE_CurOffset(BFilePtr file) {
  if (_BFileRec::Writing* w = S_Writing(file)) return static_cast<UInt32>(w->data.size());
  if (BlockReader* r = S_Reader(file)) return r->position();
  return file->rawPos;
}

UInt32 BFILE_GetBlockEnd(BFilePtr file) {
  BlockReader* r = S_Reader(file);
  return r ? r->blockEnd() : file->endOffset;
}

void BFILE_SetBlockEnd(BFilePtr file, UInt32 end) { BFILE_CurReader(file).setBlockEnd(end); }

void BFILE_BackupPos(BFilePtr file) {
  _BFileRec::Saved saved{{}, file->rawPos};
  for (const auto& r : file->reading) saved.reading.push_back(*r);
  file->saved.push_back(std::move(saved));
}

void BFILE_RestorePos(BFilePtr file) {
  if (file->saved.empty()) ERR_Fail("BFile", kBFileErrNoBlock, "a saved position");
  _BFileRec::Saved saved = std::move(file->saved.back());
  file->saved.pop_back();
  file->reading.clear();
  for (const auto& r : saved.reading) file->reading.push_back(std::make_unique<BlockReader>(r));
  file->rawPos = saved.rawPos;
}

void BFILE_ReadBlockBegin(BFilePtr file, UInt32 offset) {
  auto reader = std::make_unique<BlockReader>(file, offset);
  file->reading.push_back(std::move(reader));
}

void BFILE_ReadBlockEnd(BFilePtr file) {
  if (!file->reading.empty()) file->reading.pop_back();
}

BlockReader& BFILE_CurReader(BFilePtr file) {
  BlockReader* r = S_Reader(file);
  if (!r) ERR_Fail("BFile", kBFileErrNoBlock, file->name);
  return *r;
}

UInt32 BFILE_ReadBlock(BFilePtr file, UInt32 offset, void* buffer, UInt32 size) {
  BFileReadBlock block(file, offset);
  return static_cast<UInt32>(block.reader().readRest(buffer, size));
}

void BFILE_Read(BFilePtr file, void* buffer, UInt32 size) {
  if (BlockReader* r = S_Reader(file)) return r->read(buffer, size);
  S_RawRead(file, buffer, size);
}

int8_t BFILE_ReadInt8(BFilePtr file) { return static_cast<int8_t>(S_ReadBE<UInt8>(file)); }
UInt8 BFILE_ReadUInt8(BFilePtr file) { return S_ReadBE<UInt8>(file); }
Int16 BFILE_ReadInt16(BFilePtr file) { return static_cast<Int16>(S_ReadBE<UInt16>(file)); }
UInt16 BFILE_ReadUInt16(BFilePtr file) { return S_ReadBE<UInt16>(file); }
Int32 BFILE_ReadInt32(BFilePtr file) { return static_cast<Int32>(S_ReadBE<UInt32>(file)); }
UInt32 BFILE_ReadUInt32(BFilePtr file) { return S_ReadBE<UInt32>(file); }

BoolEnum BFILE_ReadStr(BFilePtr file, char* buffer, Int max) {
  Int len = S_ReadStrLen(file);
  if (max > 0) buffer[0] = 0;
  if (len == 0) return 0;
  UInt32 n = static_cast<UInt32>(len - 1);
  UInt32 keep = max > 0 ? std::min<UInt32>(n, static_cast<UInt32>(max - 1)) : 0;
  BFILE_Read(file, buffer, keep);
  if (max > 0) buffer[keep] = 0;
  BFILE_Read(file, nullptr, n - keep);
  return 1;
}

char* BFILE_ReadNewStr(BFilePtr file) {
  Int len = S_ReadStrLen(file);
  if (len == 0) return nullptr;
  std::string text(static_cast<size_t>(len - 1), '\0');
  BFILE_Read(file, &text[0], static_cast<UInt32>(text.size()));
  return VSTR_NewLen(text.data(), text.size());
}

VStrPtr BFILE_ReadNewVStr(BFilePtr file) { return BFILE_ReadNewStr(file); }

void BFILE_EncodeStr(std::vector<uint8_t>* out, const char* text) {
  owbcoding::ByteWriter w(out);
  if (!text) return w.i16(0);
  size_t n = std::min(std::strlen(text), kBFileMaxStr);
  w.i16(static_cast<int16_t>(n + 1));
  w.bytes(text, n);
}

void BFILE_WriteBlockBegin(BFilePtr file, UInt32* offsetPtr) {
  _BFileRec::Writing w;
  w.offsetPtr = offsetPtr;
  file->writing.push_back(std::move(w));
}

void BFILE_WriteBlockBegin2(BFilePtr file, UInt32 start, UInt32 limit) {
  if (start < kBFileHeaderSize || limit <= start + kBFileLongHeader) S_FailAt(kBFileErrOutside, start);
  _BFileRec::Writing w;
  w.start = start;
  w.limit = limit;
  file->writing.push_back(std::move(w));
}

UInt32 BFILE_WriteBlockEnd(BFilePtr file) {
  if (file->writing.empty()) ERR_Fail("BFile", kBFileErrNoBlock, file->name);
  _BFileRec::Writing w = std::move(file->writing.back());
  file->writing.pop_back();
  if (!w.offsetPtr) return BFILE_PlaceSection(file, w.start, w.limit, w.data).Offset;
  UInt32 at = *w.offsetPtr;
  // A record rewritten in place keeps its offset while it fits its chain;
  // one that has outgrown it moves to the end of the file.
  if (at && BFILE_ChainCapacity(file, at) >= w.data.size()) BFILE_PlaceInChain(file, at, w.data);
  else at = BFILE_PlaceNew(file, w.data).Offset;
  *w.offsetPtr = at;
  return at;
}

void BFILE_Write(BFilePtr file, const void* data, UInt32 size) { S_Put(file, data, size); }
void BFILE_WriteInt8(BFilePtr file, int8_t value) { S_WriteBE<UInt8>(file, static_cast<UInt8>(value)); }
void BFILE_WriteUInt8(BFilePtr file, UInt8 value) { S_WriteBE<UInt8>(file, value); }
void BFILE_WriteInt16(BFilePtr file, Int16 value) { S_WriteBE<UInt16>(file, static_cast<UInt16>(value)); }
void BFILE_WriteUInt16(BFilePtr file, UInt16 value) { S_WriteBE<UInt16>(file, value); }
void BFILE_WriteInt32(BFilePtr file, Int32 value) { S_WriteBE<UInt32>(file, static_cast<UInt32>(value)); }
void BFILE_WriteUInt32(BFilePtr file, UInt32 value) { S_WriteBE<UInt32>(file, value); }

void BFILE_WriteStr(BFilePtr file, const char* text) {
  std::vector<uint8_t> bytes;
  BFILE_EncodeStr(&bytes, text);
  S_Put(file, bytes.data(), static_cast<UInt32>(bytes.size()));
}

void BFILE_WriteVStr(BFilePtr file, VStrPtr text) { BFILE_WriteStr(file, text); }
