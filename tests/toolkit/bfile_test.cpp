// Block files through their cursor: typed values written and read back
// across continuation blocks, positions saved and restored, narrowed block
// ends, and reads that run past what is there.
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "tests/testsupport.h"
#include "tests/toolkit/tktest.h"
#include "toolkit/bfile.h"

namespace {

// A fresh writable block file: a header and zeros up to 2100, where new
// records begin (room for a section at 2000).
BFilePtr newFile(const owbtest::TempDir& dir) {
  BFilePtr file = BFILE_New(dir.file("blocks.dat").c_str(), 8, 1024);
  BFILE_Open(file, 1, 1);
  std::vector<uint8_t> start(2100, 0);
  start[0] = 'Q';
  BFILE_Write(file, start.data(), static_cast<UInt32>(start.size()));
  return file;
}

TEST(BlockFileCursor, TypedValuesComeBackThroughBlocksAndTheirContinuations) {
  tktest::LibraryScope scope;
  owbtest::TempDir dir;
  BFilePtr file = newFile(dir);
  std::string longText(600, 'x');
  UInt32 record = 0;
  BFILE_WriteBlockBegin(file, &record);
  BFILE_WriteInt8(file, -2);
  BFILE_WriteUInt8(file, 250);
  BFILE_WriteInt16(file, -3000);
  BFILE_WriteUInt16(file, 65000);
  BFILE_WriteInt32(file, -70000);
  BFILE_WriteUInt32(file, 0xdeadbeef);
  BFILE_WriteStr(file, "name");
  BFILE_WriteStr(file, nullptr);
  BFILE_WriteVStr(file, const_cast<char*>(longText.c_str()));
  EXPECT_EQ(BFILE_WriteBlockEnd(file), record);
  EXPECT_EQ(record, 2100u);
  // A section whose fixed room is smaller than its record goes on in a
  // continuation block at the end of the file.
  BFILE_WriteBlockBegin2(file, 2000, 2020);
  for (UInt32 i = 0; i < 10; ++i) BFILE_WriteUInt32(file, i * 7);
  BFILE_WriteBlockEnd(file);
  // The file header is written raw at a position.
  BFILE_SeekTo(file, 60);
  BFILE_WriteUInt32(file, BFILE_GetEndOffset(file));
  BFILE_Close(file);

  BFILE_Open(file, 0, 0);
  BFILE_ReadBlockBegin(file, record);
  EXPECT_EQ(BFILE_ReadInt8(file), -2);
  EXPECT_EQ(BFILE_ReadUInt8(file), 250);
  EXPECT_EQ(BFILE_ReadInt16(file), -3000);
  EXPECT_EQ(BFILE_ReadUInt16(file), 65000);
  EXPECT_EQ(BFILE_ReadInt32(file), -70000);
  BFILE_BackupPos(file);
  EXPECT_EQ(BFILE_ReadUInt32(file), 0xdeadbeefu);
  char small[3];
  EXPECT_TRUE(BFILE_ReadStr(file, small, sizeof small));  // cut, the rest skipped
  EXPECT_STREQ(small, "na");
  EXPECT_EQ(BFILE_ReadNewStr(file), nullptr);  // a null string stays null
  VStrPtr text = BFILE_ReadNewVStr(file);
  EXPECT_EQ(std::string(text), longText);
  VSTR_Dispose(text);
  BFILE_RestorePos(file);
  EXPECT_EQ(BFILE_ReadUInt32(file), 0xdeadbeefu);
  BFILE_SeekBy(file, -4);
  EXPECT_EQ(BFILE_ReadUInt32(file), 0xdeadbeefu);
  BFILE_ReadBlockEnd(file);

  // Nested blocks: the section read inside the record's block gives the
  // outer cursor back when it ends.
  BFILE_ReadBlockBegin(file, record);
  BFILE_SeekBy(file, 1);
  BFILE_ReadBlockBegin(file, 2000);
  EXPECT_EQ(BFILE_GetBlockEnd(file), 2020u);
  for (UInt32 i = 0; i < 10; ++i) EXPECT_EQ(BFILE_ReadUInt32(file), i * 7);
  BFILE_ReadBlockEnd(file);
  EXPECT_EQ(BFILE_ReadUInt8(file), 250);
  BFILE_ReadBlockEnd(file);

  uint8_t whole[40];
  EXPECT_EQ(BFILE_ReadBlock(file, 2000, whole, sizeof whole), 40u);
  EXPECT_EQ(whole[39], 63);
  BFILE_Dispose(file);
}

TEST(BlockFileCursor, ReadsPastABlockOrTheFileFailThroughTheErrorFrames) {
  tktest::LibraryScope scope;
  owbtest::TempDir dir;
  BFilePtr file = newFile(dir);
  UInt32 first = 0, second = 0;
  BFILE_WriteBlockBegin(file, &first);
  BFILE_WriteUInt16(file, 7);
  BFILE_WriteBlockEnd(file);
  BFILE_WriteBlockBegin(file, &second);
  BFILE_WriteStr(file, "abc");
  BFILE_WriteBlockEnd(file);

  // The first block is closed by the second: its end is firm.
  BFILE_ReadBlockBegin(file, first);
  EXPECT_EQ(BFILE_ReadUInt16(file), 7);
  EXPECT_EQ(tktest::failureOf([&] { BFILE_ReadUInt8(file); }).rfind("BFile 3", 0), 0u);
  BFILE_ReadBlockEnd(file);

  // A narrowed end stops reading where it says and can be widened again.
  BFILE_ReadBlockBegin(file, second);
  BFILE_SetBlockEnd(file, BFILE_CurOffset(file) + 2);
  EXPECT_EQ(tktest::failureOf([&] { BFILE_ReadNewStr(file); }).rfind("BFile 3", 0), 0u);
  EXPECT_EQ(tktest::failureOf([&] { BFILE_SetBlockEnd(file, first); }).rfind("BFile 1", 0), 0u);
  BFILE_ReadBlockEnd(file);
  BFILE_ReadBlockBegin(file, second);
  BFILE_SetBlockEnd(file, BFILE_CurOffset(file));
  BFILE_SetBlockEnd(file, kBFileOpenEnd);  // the last block is open-ended
  char* text = BFILE_ReadNewStr(file);
  EXPECT_STREQ(text, "abc");
  VSTR_Dispose(text);
  BFILE_ReadBlockEnd(file);

  // Raw reads stop at the end of the file; a block offset outside it and
  // an end with nothing open fail too.
  BFILE_SeekTo(file, BFILE_GetSize(file) - 1);
  EXPECT_EQ(tktest::failureOf([&] { BFILE_ReadUInt16(file); }).rfind("BFile 3", 0), 0u);
  EXPECT_EQ(tktest::failureOf([&] { BFILE_ReadBlockBegin(file, 1u << 20); }).rfind("BFile 1", 0), 0u);
  EXPECT_EQ(tktest::failureOf([&] { BFILE_WriteBlockEnd(file); }).rfind("BFile 8", 0), 0u);
  EXPECT_EQ(tktest::failureOf([&] { BFILE_RestorePos(file); }).rfind("BFile 8", 0), 0u);

  // A record rewritten longer than its short block moves to the end.
  UInt32 moved = first;
  BFILE_WriteBlockBegin(file, &moved);
  std::string big(300, 'y');
  BFILE_WriteStr(file, big.c_str());
  BFILE_WriteBlockEnd(file);
  EXPECT_GT(moved, second);
  BFILE_ReadBlockBegin(file, moved);
  char buffer[400];
  EXPECT_TRUE(BFILE_ReadStr(file, buffer, sizeof buffer));
  EXPECT_EQ(std::string(buffer), big);
  BFILE_ReadBlockEnd(file);
  BFILE_Dispose(file);
}

}  // namespace
