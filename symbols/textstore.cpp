// The text store of the source view: chunks of a file with their line
// starts, an index of the chunks' first line numbers, and line fetching
// with tab expansion.
#include "symbols/textstore.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "shared/log.h"

namespace {

constexpr TypeIdent kTextChunkItemType = makeTypeIdent("TXTC");

// Reads exactly length bytes at the file's present offset; false when the
// file ends first or the read fails.
bool readFully(int file, unsigned char* buffer, long length) {
  long got = 0;
  while (got < length) {
    ssize_t n = read(file, buffer + got, static_cast<size_t>(length - got));
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    got += n;
  }
  return true;
}

bool preadFully(int file, unsigned char* buffer, long length, off_t position) {
  long got = 0;
  while (got < length) {
    ssize_t n = pread(file, buffer + got, static_cast<size_t>(length - got), position + got);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    got += n;
  }
  return true;
}

// The invalid bytes of [p, end), each shown escaped.
long countInvalidBytes(const unsigned char* p, const unsigned char* end) {
  long count = 0;
  while (p < end) {
    if (*p < 0x80) {
      ++p;
      continue;
    }
    int length = utf8SequenceLength(p, end - p);
    if (length > 0) {
      p += length;
    } else {
      ++count;
      ++p;
    }
  }
  return count;
}

}  // namespace

int utf8SequenceLength(const unsigned char* text, long available) {
  unsigned char lead = text[0];
  if (lead < 0xC2 || lead > 0xF4) return 0;
  int length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  for (int i = 1; i < length; ++i) {
    if (i >= available) return -1;
    unsigned char next = text[i];
    unsigned char low = 0x80, high = 0xBF;
    if (i == 1 && lead == 0xE0) low = 0xA0;   // overlong
    if (i == 1 && lead == 0xED) high = 0x9F;  // surrogates
    if (i == 1 && lead == 0xF0) low = 0x90;   // overlong
    if (i == 1 && lead == 0xF4) high = 0x8F;  // beyond U+10FFFF
    if (next < low || next > high) return 0;
  }
  return length;
}

// --- TextDataChunk ------------------------------------------------------------------

TextDataChunk::TextDataChunk(int theFile, long* bytesLeft, long theTabValue, bool escape)
    : file(theFile), tabValue(theTabValue), escapeInvalidBytes(escape) {
  itemType = kTextChunkItemType;
  long wanted = std::min(kTextChunkSize, std::max(0L, *bytesLeft));
  *bytesLeft -= wanted;
  filepos = lseek(file, 0, SEEK_CUR);
  textLength = wanted;
  readText(false);
}

// Reads the chunk's textLength bytes, at the file's present offset or at
// filepos, and counts its lines; on failure the chunk holds no text.
void TextDataChunk::readText(bool atFilepos) {
  textData = static_cast<unsigned char*>(std::malloc(static_cast<size_t>(textLength) + 1));
  if (!textData) {
    lastError = kTextNoMemory;
    return;
  }
  bool read = atFilepos ? preadFully(file, textData, textLength, filepos) : readFully(file, textData, textLength);
  if (!read) {
    OWB_LOG("problem reading into TextDataChunk");
    std::free(textData);
    textData = nullptr;
    lastError = kTextFileUnreadable;
    return;
  }
  textData[textLength] = 0;
  inMemory = TRUE;
  try {
    calculateLineStarts();
  } catch (const std::bad_alloc&) {
    unloadData();
    lastError = kTextNoMemory;
  }
}

TextDataChunk::~TextDataChunk() { std::free(textData); }

bool TextDataChunk::isRunOn() const { return runOn_; }

const unsigned char* TextDataChunk::scanForReturnAndTabs(const unsigned char* ptr, long* tabPadding) const {
  const unsigned char* end = textData + textLength;
  const unsigned char* newline = static_cast<const unsigned char*>(std::memchr(ptr, '\n', end - ptr));
  const unsigned char* lineEnd = newline ? newline : end;
  long tabs = 0;
  for (const unsigned char* tab = ptr;
       (tab = static_cast<const unsigned char*>(std::memchr(tab, '\t', lineEnd - tab))) != nullptr; ++tab)
    ++tabs;
  *tabPadding = tabs * (tabValue - 1);
  if (escapeInvalidBytes) *tabPadding += countInvalidBytes(ptr, lineEnd) * (kEscapedByteWidth - 1);
  return lineEnd;
}

void TextDataChunk::calculateLineStarts() {
  lineStarts.clear();
  totalColumns = 0;
  firstLineWidth_ = 0;
  if (!textData) return;
  const unsigned char* end = textData + textLength;
  long newlines = 0;
  for (const unsigned char* p = textData;
       (p = static_cast<const unsigned char*>(std::memchr(p, '\n', end - p))) != nullptr; ++p)
    ++newlines;
  // Exactly as many entries as needed: a big file has tens of thousands of
  // chunks, and doubling growth would waste a quarter of the table.
  lineStarts.reserve(static_cast<size_t>(newlines) + 2);
  const unsigned char* p = textData;
  while (p < end) {
    lineStarts.push_back(static_cast<uint16_t>(p - textData));
    long padding = 0;
    const unsigned char* lineEnd = scanForReturnAndTabs(p, &padding);
    const unsigned char* next = lineEnd < end ? lineEnd + 1 : end;
    long width = (next - p) + padding;
    if (lineStarts.size() == 1) firstLineWidth_ = width;
    totalColumns = std::max(totalColumns, width);
    p = next;
  }
  lineStarts.push_back(static_cast<uint16_t>(textLength));
  runOn_ = textLength > 0 && textData[textLength - 1] != '\n';
}

void TextDataChunk::loadData() {
  lastError = 0;
  // The way back to text dropped by unloadData: read it again from where it
  // came.
  if (!inMemory) readText(true);
}

void TextDataChunk::unloadData() {
  std::free(textData);
  textData = nullptr;
  std::vector<uint16_t>().swap(lineStarts);
  inMemory = FALSE;
}

const unsigned char* TextDataChunk::getNthLinePtr(long lineNumber, long* lineLength, bool* runOn) const {
  if (lineNumber < 0 || lineNumber >= lineCount() || !textData) return nullptr;
  long start = lineStarts[static_cast<size_t>(lineNumber)];
  *lineLength = lineStarts[static_cast<size_t>(lineNumber) + 1] - start;
  *runOn = lineNumber == lineCount() - 1 && isRunOn();
  return textData + start;
}

// --- TextDataStore -----------------------------------------------------------------

// Where tab expansion stands in a line that may come in several pieces.
struct TextDataStore::ExpandState {
  long column = 0;        // columns of the line passed so far
  long skip = 0;          // columns to leave out at the start
  bool leadingRun = true; // nothing but tabs seen so far
  bool stopped = false;   // the destination is full
  long validCarry = 0;    // bytes ahead that end a character already begun
};

// What comes next in a line: bytes that are a column each (text, or a
// character's bytes), a tab, or a byte shown escaped.
struct TextDataStore::Run {
  enum Kind { kBytes, kTab, kEscaped } kind;
  long bytes;      // for kBytes
  bool character;  // kBytes of one character: cut, its rest is carried
};

TextDataStore::Run TextDataStore::nextRun(const unsigned char* at, long left, const unsigned char* following,
                                          long followingSize, ExpandState* state) const {
  if (state->validCarry > 0) {
    long bytes = std::min(state->validCarry, left);
    state->validCarry -= bytes;
    return {Run::kBytes, bytes, true};
  }
  if (*at == '\t') return {Run::kTab, 1, false};
  if (!escapeInvalidBytes_) {
    const void* tab = std::memchr(at, '\t', static_cast<size_t>(left));
    return {Run::kBytes, tab ? static_cast<const unsigned char*>(tab) - at : left, false};
  }
  if (*at < 0x80) {
    long bytes = 1;
    while (bytes < left && at[bytes] != '\t' && at[bytes] < 0x80) ++bytes;
    return {Run::kBytes, bytes, false};
  }
  int length = utf8SequenceLength(at, left);
  if (length < 0 && following) {
    // Cut by the chunk's end: judged with the bytes that follow.
    unsigned char joined[4];
    long have = std::min(left, 4L);
    std::memcpy(joined, at, static_cast<size_t>(have));
    long more = std::min(followingSize, 4 - have);
    std::memcpy(joined + have, following, static_cast<size_t>(more));
    length = utf8SequenceLength(joined, have + more);
    if (length > left) {
      state->validCarry = length - left;
      return {Run::kBytes, left, true};
    }
  }
  if (length > 0) return {Run::kBytes, length, true};
  return {Run::kEscaped, 1, false};
}

TextDataStore::TextDataStore(const char* pathname, long theTabValue, bool escapeInvalidBytes)
    : tabValue(theTabValue > 0 ? theTabValue : 1),
      escapeInvalidBytes_(escapeInvalidBytes),
      pathname_(pathname ? pathname : "") {
  // Opened without blocking so that a named pipe in the file's place cannot
  // hold us up; only a regular file is read.
  file = open(pathname_.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (file < 0) {
    fail(kTextFileUnreadable, std::strerror(errno));
    return;
  }
  struct stat status;
  if (fstat(file, &status) != 0 || !S_ISREG(status.st_mode)) {
    fail(kTextFileUnreadable, "not a regular file");
    return;
  }
  device_ = status.st_dev;
  inode_ = status.st_ino;
  off_t length = lseek(file, 0, SEEK_END);
  if (length < 0 || lseek(file, 0, SEEK_SET) != 0) {
    fail(kTextFileUnreadable, std::strerror(errno));
    return;
  }
  lastError = 0;
  createNewTextChunks(static_cast<long>(length));
}

TextDataStore::~TextDataStore() {
  if (file >= 0) close(file);
}

void TextDataStore::fail(ErrorCode code, const std::string& why) {
  lastError = code;
  failureText_ = why;
}

void TextDataStore::createNewTextChunks(long length) {
  long bytesLeft = length;
  while (bytesLeft > 0) {
    std::unique_ptr<TextDataChunk> chunk(new (std::nothrow) TextDataChunk(file, &bytesLeft, tabValue, escapeInvalidBytes_));
    if (!chunk) {
      fail(kTextNoMemory, "out of memory");
      return;
    }
    if (chunk->lastError != 0) {
      fail(chunk->lastError, chunk->lastError == kTextNoMemory ? "out of memory" : "the file could not be read");
      return;
    }
    readPosition_ += chunk->textLength;
    try {
      textChunks.push_back(std::move(chunk));
      indexChunk(textChunks.size() - 1);
    } catch (const std::bad_alloc&) {
      fail(kTextNoMemory, "out of memory");
      return;
    }
  }
}

// Adds chunk index to the line index.  A chunk after a run-on chunk counts
// one line less: its first line is the rest of the line before.  The width
// of a line that runs across chunks is the sum of its pieces.
void TextDataStore::indexChunk(size_t index) {
  const TextDataChunk& chunk = *textChunks[index];
  bool afterRunOn = index > 0 && textChunks[index - 1]->isRunOn();
  long carried = index > 0 ? runOnWidthAfter_[index - 1] : 0;
  firstLineOf_.push_back(totalLines);
  totalLines += chunk.lineCount() - (afterRunOn ? 1 : 0);
  totalColumns = std::max(totalColumns, chunk.totalColumns);
  long joinedFirst = afterRunOn ? carried + chunk.firstLineWidth() : chunk.firstLineWidth();
  totalColumns = std::max(totalColumns, joinedFirst);
  long runningOn = 0;
  if (chunk.isRunOn()) {
    if (chunk.lineCount() == 1) {
      runningOn = joinedFirst;
    } else {
      long length = 0;
      bool runOn = false;
      const unsigned char* last = chunk.getNthLinePtr(chunk.lineCount() - 1, &length, &runOn);
      long padding = 0;
      if (last) chunk.scanForReturnAndTabs(last, &padding);
      runningOn = length + padding;
    }
  }
  runOnWidthAfter_.push_back(runningOn);
}

void TextDataStore::recountColumns() {
  totalLines = 0;
  totalColumns = 0;
  firstLineOf_.clear();
  runOnWidthAfter_.clear();
  for (size_t index = 0; index < textChunks.size(); ++index) indexChunk(index);
}

bool TextDataStore::addNewFileData() {
  if (file < 0) return false;
  struct stat status;
  if (fstat(file, &status) != 0 || status.st_size <= readPosition_) return false;
  if (lseek(file, readPosition_, SEEK_SET) != readPosition_) return false;
  size_t before = textChunks.size();
  createNewTextChunks(static_cast<long>(status.st_size - readPosition_));
  return textChunks.size() > before;
}

bool TextDataStore::fileChangedUnderneath() const {
  if (file < 0) return false;
  struct stat status;
  if (fstat(file, &status) != 0 || status.st_size < readPosition_) return true;
  struct stat named;
  if (stat(pathname_.c_str(), &named) != 0) return true;
  return named.st_dev != device_ || named.st_ino != inode_;
}

void TextDataStore::setTabValue(long newTabValue) {
  if (newTabValue < 1) newTabValue = 1;
  if (newTabValue == tabValue) return;
  tabValue = newTabValue;
  // The line starts do not depend on the tab width, only the widths do:
  // each chunk counts its columns again, loading its text if it was dropped.
  for (auto& chunk : textChunks) {
    chunk->tabValue = tabValue;
    if (!chunk->inMemory) chunk->loadData();
    else chunk->calculateLineStarts();
  }
  recountColumns();
}

void TextDataStore::invalidateAllChunks() {
  for (auto& chunk : textChunks) chunk->unloadData();
}

long TextDataStore::expandInto(const unsigned char* source, long sourceSize, const unsigned char* following,
                               long followingSize, unsigned char* dest, long destSize, ExpandState* state) {
  auto tabWidth = [&]() { return state->leadingRun ? tabValue : tabValue - state->column % tabValue; };
  long copied = 0;
  long processed = 0;
  char code[kEscapedByteWidth + 1];
  // Step over the columns scrolled out of view.
  while (processed < sourceSize && state->column < state->skip) {
    Run run = nextRun(source + processed, sourceSize - processed, following, followingSize, state);
    if (run.kind == Run::kBytes) {
      long take = std::min(run.bytes, state->skip - state->column);
      // A character across the left edge: its other bytes come as they are.
      if (take < run.bytes && run.character) state->validCarry += run.bytes - take;
      state->leadingRun = false;
      state->column += take;
      processed += take;
      continue;
    }
    long width = run.kind == Run::kTab ? tabWidth() : kEscapedByteWidth;
    if (run.kind == Run::kEscaped) {
      std::snprintf(code, sizeof code, "\\x%02X", source[processed]);
      state->leadingRun = false;
    }
    ++processed;
    if (state->column + width <= state->skip) {
      state->column += width;
      continue;
    }
    // A tab or a code across the left edge: its remaining columns show.
    long remaining = state->column + width - state->skip;
    state->column += width;
    if (remaining > destSize) {
      state->stopped = true;
      return 0;
    }
    if (run.kind == Run::kTab) std::memset(dest, ' ', static_cast<size_t>(remaining));
    else std::memcpy(dest, code + (width - remaining), static_cast<size_t>(remaining));
    copied = remaining;
  }
  while (processed < sourceSize) {
    if (copied >= destSize) {
      state->stopped = true;
      break;
    }
    Run run = nextRun(source + processed, sourceSize - processed, following, followingSize, state);
    if (run.kind == Run::kBytes) {
      long take = std::min(run.bytes, destSize - copied);
      if (take < run.bytes && run.character) state->validCarry += run.bytes - take;
      std::memcpy(dest + copied, source + processed, static_cast<size_t>(take));
      state->leadingRun = false;
      state->column += take;
      copied += take;
      processed += take;
      continue;
    }
    if (run.kind == Run::kEscaped) {
      // Cut by the right edge like any text: as much of the code as fits.
      std::snprintf(code, sizeof code, "\\x%02X", source[processed]);
      long take = std::min(kEscapedByteWidth, destSize - copied);
      std::memcpy(dest + copied, code, static_cast<size_t>(take));
      state->leadingRun = false;
      state->column += kEscapedByteWidth;
      copied += take;
      ++processed;
      if (take < kEscapedByteWidth) state->stopped = true;
      continue;
    }
    long width = tabWidth();
    if (copied + width > destSize) {
      state->stopped = true;
      break;
    }
    std::memset(dest + copied, ' ', static_cast<size_t>(width));
    state->column += width;
    copied += width;
    ++processed;
  }
  if (copied > destSize)
    OWB_LOG("ERROR: srcview overran drawBuffer: numcopied = " << copied << ", numProcessed = " << processed
                                                               << ", destSize = " << destSize);
  return copied;
}

long TextDataStore::expandTabs(const unsigned char* source, long sourceSize, unsigned char* dest, long destSize,
                               long rightScrolled) {
  ExpandState state;
  state.skip = std::max(0L, rightScrolled);
  return expandInto(source, sourceSize, nullptr, 0, dest, destSize, &state);
}

long TextDataStore::fillBuffer(long lineNumber, unsigned char* lineBuffer, long lineBufferSize,
                               long rightScrolled) {
  lastError = 0;
  if (lineNumber < 0 || lineNumber >= totalLines) {
    lastError = kTextLineOutOfRange;
    return 0;
  }
  if (!lineBuffer || lineBufferSize <= 0) return 0;
  // The chunk of the line: the last whose first counted line is not beyond
  // it.  Chunks wholly inside one long line count no line of their own and
  // share their number with the next, so upper_bound passes over them.
  size_t index =
      static_cast<size_t>(std::upper_bound(firstLineOf_.begin(), firstLineOf_.end(), lineNumber) -
                          firstLineOf_.begin()) - 1;
  bool afterRunOn = index > 0 && textChunks[index - 1]->isRunOn();
  long lineInChunk = lineNumber - firstLineOf_[index] + (afterRunOn ? 1 : 0);

  ExpandState state;
  state.skip = std::max(0L, rightScrolled);
  long total = 0;
  // A run-on line continues with the next chunk's first line, for as long
  // as the chunks run on and the buffer has room.
  while (index < textChunks.size()) {
    TextDataChunk& chunk = *textChunks[index];
    if (!chunk.inMemory) {
      chunk.loadData();
      if (chunk.lastError != 0) {
        lastError = chunk.lastError;
        break;
      }
    }
    long length = 0;
    bool runOn = false;
    const unsigned char* line = chunk.getNthLinePtr(lineInChunk, &length, &runOn);
    if (!line) break;
    const unsigned char* following = nullptr;
    long followingSize = 0;
    if (runOn && escapeInvalidBytes_ && index + 1 < textChunks.size()) {
      TextDataChunk& next = *textChunks[index + 1];
      if (!next.inMemory) next.loadData();
      bool nextRunOn = false;
      following = next.getNthLinePtr(0, &followingSize, &nextRunOn);
    }
    total += expandInto(line, length, following, followingSize, lineBuffer + total, lineBufferSize - total, &state);
    if (!runOn || state.stopped || total >= lineBufferSize) break;
    ++index;
    lineInChunk = 0;
  }
  long terminatorLoc = total - 1;
  if (total < 0 || total > lineBufferSize) {
    OWB_LOG("ERROR: " << (total < 0 ? "underran " : "overran ")
                      << "lineBuffer in fillBuffer method, terminatorLoc = " << terminatorLoc);
    terminatorLoc = total < 0 ? 0 : lineBufferSize - 1;
  }
  // The last character placed, normally the newline, gives way to the NUL;
  // on a last line without newline that is a character of the text.
  lineBuffer[std::max(0L, terminatorLoc)] = 0;
  return total;
}
