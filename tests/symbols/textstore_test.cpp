// The text store: chunks, run-on lines, the line index, tab expansion and a
// growing file, on real files.
#include "symbols/textstore.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <random>

#include "testsupport.h"

namespace {

using owbtest::TempDir;

// What fillBuffer gives for a line, as a string of the characters placed
// (the last of them already replaced by the NUL).
std::string fetch(TextDataStore& store, long line, long bufferSize = 1 << 20, long rightScrolled = 0) {
  std::vector<unsigned char> buffer(static_cast<size_t>(bufferSize), 0xEE);
  long placed = store.fillBuffer(line, buffer.data(), bufferSize, rightScrolled);
  return std::string(buffer.begin(), buffer.begin() + std::max(0L, placed));
}

// A plain reading of the same rules, a line at a time from a whole-file
// split: the line with its newline, tabs expanded from column 0, the first
// rightScrolled columns left out, cut where the buffer ends, the last
// character replaced by a NUL.
std::string expected(const std::string& line, long tab, long bufferSize, long rightScrolled) {
  std::string out;
  long column = 0;
  for (char c : line) {
    long width = c != '\t' ? 1 : tab - column % tab;
    long shown = column + width - std::max(column, rightScrolled);
    column += width;
    if (shown <= 0) continue;
    if (static_cast<long>(out.size()) + shown > bufferSize) break;
    out += c == '\t' ? std::string(static_cast<size_t>(shown), ' ') : std::string(1, c);
  }
  if (!out.empty()) out.back() = '\0';
  return out;
}

std::vector<std::string> splitLines(const std::string& text) {
  std::vector<std::string> lines;
  for (size_t start = 0, end; start < text.size(); start = end) {
    end = std::min(text.find('\n', start), text.size() - 1) + 1;
    lines.push_back(text.substr(start, end - start));
  }
  return lines;
}

TEST(TextDataStore, TenMegabytesWithoutANewlineAreOneLine) {
  TempDir dir;
  std::string text;
  for (int i = 0; i < 1000000; ++i) text += "0123456789";
  owbtest::writeWholeFile(dir.file("f"), text);
  TextDataStore store(dir.file("f").c_str(), 4);
  ASSERT_EQ(store.totalLines, 1);
  EXPECT_EQ(store.totalColumns, 10000000);
  EXPECT_EQ(store.textChunks.size(), 5000u);
  EXPECT_EQ(fetch(store, 0, 81, 0), text.substr(0, 80) + '\0');
  // Scrolled to the end: the last columns, the very last lost to the NUL.
  EXPECT_EQ(fetch(store, 0, 81, 9999990), std::string("012345678") + '\0');
}

TEST(TextDataStore, BadFilesAreRefusedWithoutHanging) {
  // A missing file and a pipe are refused through the srcview program's test.
  TempDir dir;
  TextDataStore directory(dir.path().c_str(), 4);
  EXPECT_EQ(directory.lastError, -1301);
  EXPECT_EQ(directory.failureText(), "not a regular file");
  TextDataStore device("/dev/zero", 4);
  EXPECT_EQ(device.lastError, -1301);
  if (geteuid() != 0) {
    owbtest::writeWholeFile(dir.file("secret"), "x\n");
    chmod(dir.file("secret").c_str(), 0);
    TextDataStore unreadable(dir.file("secret").c_str(), 4);
    EXPECT_EQ(unreadable.lastError, -1301);
  }
}

// NUL bytes and carriage returns are kept as bytes; text dropped from
// memory comes back from the file.
TEST(TextDataStore, NulBytesAndCarriageReturnsAreKeptAndDroppedTextComesBack) {
  TempDir dir;
  std::string text("a\0b\r\nc\rd\n", 9);
  for (int i = 0; i < 500; ++i) text += "line " + std::to_string(i) + "\n";
  owbtest::writeWholeFile(dir.file("f"), text);
  TextDataStore store(dir.file("f").c_str(), 4);
  ASSERT_EQ(store.totalLines, 502);
  EXPECT_EQ(fetch(store, 0), std::string("a\0b\r\0", 5));
  EXPECT_EQ(fetch(store, 1), std::string("c\rd\0", 4));
  store.invalidateAllChunks();
  EXPECT_FALSE(store.textChunks[0]->inMemory);
  EXPECT_EQ(fetch(store, 323), "line 321" + std::string(1, '\0'));
  EXPECT_EQ(store.lastError, 0);
}

// Escaping: a byte of no valid character becomes its code, four columns,
// in the text and the widths; valid characters stay whole, also when a
// chunk boundary or the left edge cuts them.
TEST(TextDataStore, InvalidBytesAreEscapedAndCharactersNeverSplit) {
  TempDir dir;
  const std::string first = "caf\xC3\xA9 \xE9t\xC3\n";  // é, a stray byte, a character cut by the line end
  // The euro sign's three bytes at file offsets 1999 to 2001, across chunks.
  const std::string second = std::string(kTextChunkSize - 1 - first.size(), 'x') + "\xE2\x82\xAC\xFF\n";
  owbtest::writeWholeFile(dir.file("f"), first + second);
  TextDataStore store(dir.file("f").c_str(), 4, true);
  ASSERT_EQ(store.totalLines, 2);
  EXPECT_EQ(fetch(store, 0), std::string("caf\xC3\xA9 \\xE9t\\xC3") + '\0');
  EXPECT_EQ(fetch(store, 0, 1 << 20, 7), std::string("xE9t\\xC3") + '\0');        // a code across the edge
  EXPECT_EQ(fetch(store, 0, 1 << 20, 4), std::string("\xA9 \\xE9t\\xC3") + '\0');  // é across the edge
  EXPECT_EQ(fetch(store, 0, 8), std::string("caf\xC3\xA9 \\") + '\0');            // a code cut at the right
  const long euro = static_cast<long>(second.size()) - 5;
  std::string whole = fetch(store, 1);
  EXPECT_EQ(whole.substr(static_cast<size_t>(euro)), std::string("\xE2\x82\xAC\\xFF") + '\0');
  EXPECT_EQ(fetch(store, 1, 1 << 20, euro + 1), std::string("\x82\xAC\\xFF") + '\0');
  // Widths count the codes; never narrower than what is fetched.
  EXPECT_GE(store.totalColumns, static_cast<long>(whole.size()));
  owbtest::writeWholeFile(dir.file("g"), first);
  EXPECT_EQ(TextDataStore(dir.file("g").c_str(), 4, true).totalColumns, 16);
  // Without escaping the bytes come as they are.
  TextDataStore raw(dir.file("f").c_str(), 4);
  EXPECT_EQ(fetch(raw, 0), std::string("caf\xC3\xA9 \xE9t\xC3") + '\0');
}

TEST(TextDataStore, FollowsAGrowingFileAndNoticesTruncationAndReplacement) {
  TempDir dir;
  std::string path = dir.file("out");
  owbtest::writeWholeFile(path, "one\ntw");
  TextDataStore store(path.c_str(), 4);
  ASSERT_EQ(store.totalLines, 2);
  EXPECT_FALSE(store.addNewFileData());
  std::ofstream(path, std::ios::app) << "o\nthree\n";
  EXPECT_TRUE(store.addNewFileData());
  EXPECT_FALSE(store.fileChangedUnderneath());
  EXPECT_EQ(truncate(path.c_str(), 3), 0);
  EXPECT_TRUE(store.fileChangedUnderneath());
  EXPECT_FALSE(store.addNewFileData());  // nothing garbled is taken in

  std::string other = dir.file("other");
  owbtest::writeWholeFile(other, "new\n");
  TextDataStore second(other.c_str(), 4);
  owbtest::writeWholeFile(dir.file("next"), "replacement\n");
  ASSERT_EQ(rename(dir.file("next").c_str(), other.c_str()), 0);
  EXPECT_TRUE(second.fileChangedUnderneath());
}

// The index against a plain split: random files (the first empty) of
// short lines and lines running over several chunks, with tabs, some
// without a last newline, fetched with every kind of buffer and scroll,
// and the same file taken in by pieces as it grows; the width of the text
// exactly.
TEST(TextDataStore, IndexedFetchMatchesAPlainSplit) {
  TempDir dir;
  std::mt19937 random(20261123);
  for (int round = 0; round < 12; ++round) {
    std::string text;
    int lines = round == 0 ? 0 : std::uniform_int_distribution<int>(0, 300)(random);
    for (int i = 0; i < lines; ++i) {
      int kind = std::uniform_int_distribution<int>(0, 9)(random);
      int length = kind < 6 ? std::uniform_int_distribution<int>(0, 80)(random)
                            : kind < 9 ? std::uniform_int_distribution<int>(0, 2500)(random)
                                       : std::uniform_int_distribution<int>(2000, 9000)(random);
      for (int c = 0; c < length; ++c) {
        int pick = std::uniform_int_distribution<int>(0, 15)(random);
        text += pick == 0 ? '\t' : static_cast<char>('a' + pick);
      }
      if (i + 1 < lines || std::uniform_int_distribution<int>(0, 1)(random)) text += '\n';
    }
    long tab = std::uniform_int_distribution<long>(1, 8)(random);
    std::string path = dir.file("r" + std::to_string(round));
    // Half the files are read whole, half grow in random pieces.
    bool growing = round % 2 == 1;
    size_t written = growing ? std::min(text.size(), size_t{137}) : text.size();
    owbtest::writeWholeFile(path, text.substr(0, written));
    TextDataStore store(path.c_str(), tab);
    ASSERT_EQ(store.lastError, 0);
    while (written < text.size()) {
      size_t piece = std::uniform_int_distribution<size_t>(1, 3000)(random);
      piece = std::min(piece, text.size() - written);
      std::ofstream(path, std::ios::app) << text.substr(written, piece);
      written += piece;
      ASSERT_TRUE(store.addNewFileData());
    }
    std::vector<std::string> reference = splitLines(text);
    ASSERT_EQ(store.totalLines, static_cast<long>(reference.size())) << "round " << round;
    // A line's width counts each tab as a whole tab stop.
    auto widest = [&](long tabValue) {
      long width = 0;
      for (const std::string& line : reference)
        width = std::max(width, static_cast<long>(line.size() + std::count(line.begin(), line.end(), '\t') * (tabValue - 1)));
      return width;
    };
    EXPECT_EQ(store.totalColumns, widest(tab));
    for (long n = 0; n < store.totalLines; ++n) {
      const std::string& line = reference[static_cast<size_t>(n)];
      ASSERT_EQ(fetch(store, n), expected(line, tab, 1 << 20, 0)) << "round " << round << " line " << n;
      long bufferSize = std::uniform_int_distribution<long>(1, 120)(random);
      long scrolled = std::uniform_int_distribution<long>(0, static_cast<long>(line.size()) * 2 + 10)(random);
      ASSERT_EQ(fetch(store, n, bufferSize, scrolled), expected(line, tab, bufferSize, scrolled))
          << "round " << round << " line " << n << " buffer " << bufferSize << " scrolled " << scrolled;
    }
    for (long outside : {store.totalLines, -1L}) {
      EXPECT_EQ(fetch(store, outside), "");
      EXPECT_EQ(store.lastError, kTextLineOutOfRange);
    }
    // Another tab width counts the text again.
    store.setTabValue(tab % 8 + 1);
    EXPECT_EQ(store.totalColumns, widest(tab % 8 + 1));
    for (long n = 0; n < store.totalLines; ++n)
      ASSERT_EQ(fetch(store, n), expected(reference[static_cast<size_t>(n)], tab % 8 + 1, 1 << 20, 0));
  }
}

}  // namespace
