// Block files: the byte image, block headers, chained records.
#include "toolkit/bfile.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
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
  pos_ = h.PayloadStart();
  limit_ = h.OpenEnded ? static_cast<UInt32>(file->image.size()) : h.Start + h.Size;
  cont_ = h.Cont;
}

bool BlockReader::nextBlock() {
  if (!cont_) return false;
  if (seen_.empty()) seen_.push_back(offset_);
  if (std::find(seen_.begin(), seen_.end(), cont_) != seen_.end()) S_FailAt(kBFileErrChain, offset_);
  seen_.push_back(cont_);
  BlockHeader h = BFILE_ReadBlockHeader(file_, cont_);
  pos_ = h.PayloadStart();
  limit_ = h.OpenEnded ? static_cast<UInt32>(file_->image.size()) : h.Start + h.Size;
  cont_ = h.Cont;
  return true;
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
