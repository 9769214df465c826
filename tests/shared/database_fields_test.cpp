// Field blocks, files made by hand from the layout tables, and damaged files.
#include "shared/database.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "bigendian.h"
#include "shared/errors.h"
#include "testsupport.h"

namespace {

constexpr TypeIdent kPref = OWB_TYPE("PREF");

std::string fieldString(Database& db, long block, long field) {
  Ptr data = nullptr;
  long length = 0;
  if (db.getField(block, field, &data, &length) != kNoError) return "<error>";
  std::string out(data, length);
  delete[] data;
  return out;
}

class DatabaseFieldsTest : public ::testing::Test {
 protected:
  owbtest::TempDir dir;
  std::string path = dir.file("fields.db");
  Database db;
  long block = 0;

  void SetUp() override {
    ASSERT_EQ(db.createDBFile(path.c_str(), kPref, 1), kNoError);
    ASSERT_EQ(db.openDBFile(path.c_str(), kReadWriteAccess, TRUE), kNoError);
    ASSERT_EQ(db.addBlock(kPref, 20, 0, &block), kNoError);
    ASSERT_EQ(db.initBlockForFields(block), kNoError);
  }
};

TEST_F(DatabaseFieldsTest, FieldsAreAddedReplacedAndDeleted) {
  long length = 0, count = -1;
  ASSERT_EQ(db.getBlockLength(block, &length), kNoError);
  EXPECT_EQ(length, 4);
  MasterPtrEntry entry;
  db.getMPEntry(block, &entry);
  EXPECT_EQ(entry.slop, 16);

  ASSERT_EQ(db.addFieldToBlock(block, "alpha", 5), kNoError);
  ASSERT_EQ(db.addFieldToBlock(block, "be", 2), kNoError);
  uint8_t four[4];
  owbcoding::putI32(four, -7);
  ASSERT_EQ(db.addFieldToBlock(block, four, 4), kNoError);
  EXPECT_EQ(db.countFieldsInBlock(block, &count), kNoError);
  EXPECT_EQ(count, 3);
  EXPECT_EQ(fieldString(db, block, 1), "alpha");
  EXPECT_EQ(fieldString(db, block, 2), "be");
  long value = 0;
  EXPECT_EQ(db.getLongFromBlock(block, 3, &value), kNoError);
  EXPECT_EQ(value, -7);
  value = 99;
  EXPECT_EQ(db.getLongFromBlock(block, 1, &value), kNoError);  // not 4 bytes: 0, no error
  EXPECT_EQ(value, 0);

  // Longer, then shorter, in the middle; the neighbours stay intact.
  ASSERT_EQ(db.setFieldOfBlock(block, 2, "a longer field", 14), kNoError);
  EXPECT_EQ(fieldString(db, block, 2), "a longer field");
  EXPECT_EQ(fieldString(db, block, 1), "alpha");
  ASSERT_EQ(db.setFieldOfBlock(block, 2, "x", 1), kNoError);
  EXPECT_EQ(fieldString(db, block, 2), "x");
  EXPECT_EQ(db.getLongFromBlock(block, 3, &value), kNoError);
  EXPECT_EQ(value, -7);
  EXPECT_EQ(db.getBlockLength(block, &length), kNoError);
  EXPECT_EQ(length, 4 + 9 + 5 + 8);

  ASSERT_EQ(db.deleteFieldFromBlock(block, 1), kNoError);
  EXPECT_EQ(db.countFieldsInBlock(block, &count), kNoError);
  EXPECT_EQ(count, 2);
  EXPECT_EQ(fieldString(db, block, 1), "x");
  EXPECT_EQ(db.getFieldLength(block, 2, &length), kNoError);
  EXPECT_EQ(length, 4);

  char small[3] = {0};
  EXPECT_EQ(db.getFieldIntoBuffer(block, 2, small, &length, 2), kNoError);
  EXPECT_EQ(length, 2);

  // Emptying keeps the block and its space.
  ASSERT_EQ(db.initBlockForFields(block), kNoError);
  EXPECT_EQ(db.countFieldsInBlock(block, &count), kNoError);
  EXPECT_EQ(count, 0);
}

TEST_F(DatabaseFieldsTest, FieldNumbersAreTestedOnlyAsFarAsTheBlockGoes) {
  ASSERT_EQ(db.addFieldToBlock(block, "one", 3), kNoError);
  long length = 0;
  // Field 0 is not refused (the test is an AND): it reads as field 1.
  EXPECT_EQ(fieldString(db, block, 0), "one");
  EXPECT_EQ(db.getFieldLength(block, 2, &length), kNoSuchField);
  EXPECT_EQ(db.setFieldOfBlock(block, 5, "x", 1), kNoSuchField);
  EXPECT_EQ(db.deleteFieldFromBlock(block, 2), kNoSuchField);
  EXPECT_EQ(fieldString(db, block, 1), "one");

  // A count that understates the fields: the walk goes on past it.
  uint8_t raw[4 + 4 + 3 + 4 + 3];
  owbcoding::putI32(raw, 1);
  owbcoding::putI32(raw + 4, 3);
  std::memcpy(raw + 8, "one", 3);
  owbcoding::putI32(raw + 11, 3);
  std::memcpy(raw + 15, "two", 3);
  ASSERT_EQ(db.writeDataToBlock(block, raw, sizeof raw), kNoError);
  EXPECT_EQ(fieldString(db, block, 2), "two");

  // A length word that runs past the block is refused, not followed.
  owbcoding::putI32(raw + 11, 1000);
  ASSERT_EQ(db.writeDataToBlock(block, raw, sizeof raw), kNoError);
  EXPECT_EQ(db.getFieldLength(block, 2, &length), kNoSuchField);
  owbcoding::putI32(raw + 11, -50);
  ASSERT_EQ(db.writeDataToBlock(block, raw, sizeof raw), kNoError);
  EXPECT_EQ(db.getFieldLength(block, 3, &length), kNoSuchField);
}

// A file laid out by hand: header, one data block, then the list with two
// entries, the second free.
std::vector<uint8_t> handMadeFile() {
  std::vector<uint8_t> out;
  owbcoding::ByteWriter w(&out);
  w.bytes("HAND", 4);
  w.u16(1);
  w.u16(7);
  w.u32(0);
  w.u32(0);  // list offset, patched
  w.u32(0);  // total length, patched
  size_t blockAt = w.position();
  w.i32(2);  // two fields
  w.i32(5);
  w.bytes("hello", 5);
  w.i32(4);
  w.i32(1234);
  size_t blockLength = w.position() - blockAt;
  w.zeros(6);  // slop
  size_t listAt = w.position();
  w.i32(2);
  w.i32(3);
  w.bytes("DATA", 4);
  w.i32(static_cast<int32_t>(blockLength));
  w.i32(6);
  w.i32(static_cast<int32_t>(blockAt));
  w.bytes("FREE", 4);
  w.i32(32);
  w.i32(0);
  w.i32(2000);
  w.bytes("----", 4);
  w.zeros(12);
  w.patchU32(12, static_cast<uint32_t>(listAt));
  w.patchU32(16, static_cast<uint32_t>(w.position()));
  return out;
}

TEST(DatabaseHandMade, AFileLaidOutFromTheTablesReads) {
  owbtest::TempDir dir;
  std::string path = dir.file("hand.db");
  std::vector<uint8_t> file = handMadeFile();
  owbtest::writeWholeFile(path, std::string(file.begin(), file.end()));

  Database db;
  short version = 0;
  ASSERT_EQ(db.validDBFile(path.c_str(), OWB_TYPE("HAND"), &version), kNoError);
  EXPECT_EQ(version, 7);
  ASSERT_EQ(db.openDBFile(path.c_str(), kReadOnlyAccess, TRUE), kNoError);
  long block = 0, count = 0, number = 0;
  ASSERT_EQ(db.getNthBlockOfType(OWB_TYPE("DATA"), 1, &block), kNoError);
  EXPECT_EQ(block, 1);
  EXPECT_EQ(db.countFieldsInBlock(block, &count), kNoError);
  EXPECT_EQ(count, 2);
  EXPECT_EQ(fieldString(db, block, 1), "hello");
  EXPECT_EQ(db.getLongFromBlock(block, 2, &number), kNoError);
  EXPECT_EQ(number, 1234);
  long length = 0;
  EXPECT_EQ(db.getBlockLength(2, &length), kNoError);
  EXPECT_EQ(length, 32);

  // Written to, it takes the free entry's space, which lies beyond its end.
  ASSERT_EQ(db.openDBFile(path.c_str(), kReadWriteAccess, TRUE), kNoError);
  long added = 0;
  ASSERT_EQ(db.addBlock(OWB_TYPE("DATA"), 10, 0, &added), kNoError);
  EXPECT_EQ(added, 3);
  MasterPtrEntry entry;
  db.getMPEntry(3, &entry);
  EXPECT_EQ(entry.fileOffset, 2000);
}

TEST(DatabaseDamaged, TruncatedAndInconsistentFilesGiveOddDataNotErrors) {
  owbtest::TempDir dir;
  std::string path = dir.file("cut.db");
  std::vector<uint8_t> file = handMadeFile();
  // Cut inside the block's data: the list is gone too.
  owbtest::writeWholeFile(path, std::string(file.begin(), file.begin() + 30));
  Database db;
  ASSERT_EQ(db.openDBFile(path.c_str(), kReadOnlyAccess, TRUE), kNoError);
  char buf[8] = {'k', 'e', 'p', 't', 0, 0, 0, 0};
  EXPECT_EQ(db.readDataFromFile(25, buf, 8, FALSE), kNoError);
  EXPECT_EQ(buf[5], 0);
  EXPECT_EQ(db.readDataFromFile(5000, buf, 4, TRUE), kNoError);
  EXPECT_EQ(std::string(buf, 4), std::string(reinterpret_cast<char*>(file.data()) + 25, 4));
  long count = 7;
  EXPECT_EQ(db.countBlocksOfType(OWB_TYPE("DATA"), &count), kNoError);
  EXPECT_EQ(count, 0);

  // An entry count far beyond the file is not walked.
  std::vector<uint8_t> big = handMadeFile();
  size_t listAt = owbcoding::getU32(big.data() + 12);
  owbcoding::putU32(big.data() + listAt, 0x7fffffff);
  owbcoding::putU32(big.data() + listAt + 4, 0x7fffffff);
  owbtest::writeWholeFile(path, std::string(big.begin(), big.end()));
  Database wide;
  ASSERT_EQ(wide.openDBFile(path.c_str(), kReadOnlyAccess, TRUE), kNoError);
  EXPECT_EQ(wide.countBlocksOfType(OWB_TYPE("DATA"), &count), kNoError);
  EXPECT_EQ(count, 1);
  long block = 0;
  EXPECT_EQ(wide.getNthBlockOfType(OWB_TYPE("----"), 1, &block), kNoError);
  EXPECT_EQ(wide.getNextBlockOfType(OWB_TYPE("DATA"), 1, &block), kNoBlockOfType);
  // Writing to it cannot grow the list to an impossible size.
  ASSERT_EQ(wide.openDBFile(path.c_str(), kReadWriteAccess, FALSE), kNoError);
  long added = 0;
  EXPECT_EQ(wide.addBlock(OWB_TYPE("DATA"), 4, 0, &added), kOutOfMemory);
  EXPECT_EQ(wide.growMPList(100), kOutOfMemory);
  // Nothing is written where the format's offsets cannot reach.
  EXPECT_EQ(wide.writeDataToFile(0x7ffffffe, "abcd", 4), EFBIG);
}

}  // namespace
