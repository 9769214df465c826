// The text of a file held for viewing: TextDataStore cuts the file into
// TextDataChunks of at most kTextChunkSize bytes, each with the offsets at
// which its lines begin, so that any line can be fetched by number.
//
// Lines end at a newline.  A chunk boundary can cut a line in two: the
// chunk's last line then has no newline and is "run-on", and the next
// chunk's first line is the rest of it.  Such a line counts once, in the
// chunk where it begins, and fillBuffer fetches it whole.
//
// Line numbers count from 0 here.  Columns count bytes, with tabs expanded
// (see expandTabs).  A store made to escape invalid bytes also shows every
// byte that is no part of a valid UTF-8 character as its code, "\xE9":
// four columns, in the fetched text and in the widths alike, so that a
// viewer's columns, selection and search all see what it draws.
//
// Contracts:
// - The store owns its chunks and keeps its file open so that bytes
//   appended later can be taken in (addNewFileData).
// - After construction, lastError is 0, -1301 (the file cannot be opened
//   or read, or is not a regular file; failureText says why) or -1701 (no
//   memory).  A store with a non-zero lastError must only be destroyed.
// - fillBuffer never writes past lineBuffer[lineBufferSize - 1].
#ifndef OWB_SYMBOLS_TEXTSTORE_H
#define OWB_SYMBOLS_TEXTSTORE_H

#include <sys/types.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "shared/errors.h"
#include "shared/list.h"

constexpr long kTextChunkSize = 2000;
// The columns of a byte shown as its code, "\xE9".
constexpr long kEscapedByteWidth = 4;

// For a byte of 0x80 and above at text: the length (2 to 4) of the valid
// UTF-8 character it begins, 0 when it begins none, -1 when available cuts
// short what may be one.
int utf8SequenceLength(const unsigned char* text, long available);

// Error codes of the text store and the view over it.
enum : ErrorCode {
  kTextFileUnreadable = -1301,
  kTextNoMemory = kOutOfMemory,          // -1701
  kTextLineOutOfRange = kNoBlockOfType,  // -505
};

class TextDataChunk : public Item, public HasErrorReporting {
 public:
  // Reads min(kTextChunkSize, *bytesLeft) bytes from file at its present
  // offset and lowers *bytesLeft by that much.  On failure lastError is
  // -1301 or -1701 and the chunk holds no text.
  TextDataChunk(int file, long* bytesLeft, long theTabValue, bool escapeInvalidBytes = false);
  ~TextDataChunk() override;
  TextDataChunk(const TextDataChunk&) = delete;
  TextDataChunk& operator=(const TextDataChunk&) = delete;

  // True when the chunk's last line does not end in a newline; kept while
  // the text is unloaded.
  bool isRunOn() const;
  // Rebuilds lineStarts and totalColumns from the text.
  void calculateLineStarts();
  // The newline that ends the line starting at ptr, or the end of the text;
  // *tabPadding gets tabValue - 1 for each tab on the way, and with
  // escaping 3 for each invalid byte.  A character cut by the chunk's end
  // counts as escaped, so that a width is never counted too narrow.
  const unsigned char* scanForReturnAndTabs(const unsigned char* ptr, long* tabPadding) const;
  // Clears the error; the text stays as it is.
  void loadData();
  // Drops the text and the line starts.
  void unloadData();
  // The start of line lineNumber of this chunk (from 0), its length in
  // bytes with its newline, and whether it is the run-on last line.  Null
  // for a number outside the chunk.  The pointer lives as long as the
  // chunk's text.
  const unsigned char* getNthLinePtr(long lineNumber, long* lineLength, bool* runOn) const;
  // Lines that begin or end in this chunk.
  long lineCount() const { return lineStarts.empty() ? 0 : static_cast<long>(lineStarts.size()) - 1; }
  // Width in columns of the chunk's first line, as counted for totalColumns.
  long firstLineWidth() const { return firstLineWidth_; }

  unsigned char* textData = nullptr;  // textLength bytes and a NUL
  long textLength = 0;
  // Offsets into textData of each line's start, and one more for the end of
  // the text.  Kept as 16-bit offsets (a chunk is at most 2000 bytes) rather
  // than an item per line, so that a file's line table costs two bytes a
  // line.
  std::vector<uint16_t> lineStarts;
  Boolean inMemory = FALSE;
  int file;
  off_t filepos = 0;
  long totalColumns = 0;  // the widest line, newline and tab padding counted
  long tabValue;
  bool escapeInvalidBytes;

 private:
  void readText(bool atFilepos);

  long firstLineWidth_ = 0;
  bool runOn_ = false;
};

class TextDataStore : public HasErrorReporting {
 public:
  TextDataStore(const char* pathname, long theTabValue, bool escapeInvalidBytes = false);
  ~TextDataStore() override;
  TextDataStore(const TextDataStore&) = delete;
  TextDataStore& operator=(const TextDataStore&) = delete;

  // Makes chunks for the next length bytes of the file.
  void createNewTextChunks(long length);
  // Takes in bytes appended to the file since the last read; true when
  // there were any.
  bool addNewFileData();
  // True when the file has shrunk below what was read, or its name now
  // stands for another file: what is held no longer matches the disk and
  // the owner should read it again from the start.
  bool fileChangedUnderneath() const;
  // A new tab width: columns are counted again.
  void setTabValue(long newTabValue);
  // Drops every chunk's text (unloadData).
  void invalidateAllChunks();

  // Expands line lineNumber (from 0) into lineBuffer, skipping its first
  // rightScrolled columns, and gives the number of characters placed.  The
  // last character placed (the line's newline, or the last byte of a line
  // without one, or the last that fitted) is overwritten by a NUL.  A
  // number outside the lines gives 0 with lastError -505.
  long fillBuffer(long lineNumber, unsigned char* lineBuffer, long lineBufferSize, long rightScrolled);
  // Copies source into dest with tabs expanded to blanks: a tab of the
  // line's leading run is tabValue columns wide, a later one reaches the
  // next multiple of tabValue.  The first rightScrolled columns are
  // skipped; a tab across that point leaves its remaining blanks.  The copy
  // ends when source or dest is used up or a tab does not fit.  Gives the
  // number of characters copied.  With escaping, invalid bytes are expanded
  // to their codes the same way.
  long expandTabs(const unsigned char* source, long sourceSize, unsigned char* dest, long destSize,
                  long rightScrolled);

  // Bytes of the file taken in so far.
  off_t readPosition() const { return readPosition_; }
  const std::string& pathname() const { return pathname_; }
  // Why construction failed, for a message; empty when it did not.
  const std::string& failureText() const { return failureText_; }

  long totalLines = 0;
  // Held by index so that a line's chunk is found by binary search.
  std::vector<std::unique_ptr<TextDataChunk>> textChunks;
  int file = -1;
  long totalColumns = 0;
  long tabValue;

 private:
  struct ExpandState;
  struct Run;
  Run nextRun(const unsigned char* at, long left, const unsigned char* following, long followingSize,
              ExpandState* state) const;
  // following: the bytes after source when the line runs on into the next
  // chunk, for a character cut by the boundary.
  long expandInto(const unsigned char* source, long sourceSize, const unsigned char* following, long followingSize,
                  unsigned char* dest, long destSize, ExpandState* state);
  void indexChunk(size_t index);
  void recountColumns();
  void fail(ErrorCode code, const std::string& why);

  bool escapeInvalidBytes_;
  std::string pathname_;
  std::string failureText_;
  off_t readPosition_ = 0;
  dev_t device_ = 0;
  ino_t inode_ = 0;
  // For each chunk, the number of the first line counted in it, and the
  // width of a line still running on at its end (0 when none does).
  std::vector<long> firstLineOf_;
  std::vector<long> runOnWidthAfter_;
};

#endif  // OWB_SYMBOLS_TEXTSTORE_H
