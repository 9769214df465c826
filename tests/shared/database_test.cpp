// The block database file: layout of new files, block numbering, free
// space reuse, growth and moves, the open flag, validation and statistics;
// field blocks, files made by hand from the layout tables, and damaged
// files; the preference manager: opening, the invalid-file question, and
// the preference operations with their order of tests.
#include "shared/database.h"
#include "shared/prefman.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

#include "bigendian.h"
#include "shared/alert.h"
#include "shared/errors.h"
#include "shared/globals.h"
#include "shared/utils.h"
#include "testsupport.h"

namespace {

constexpr TypeIdent kTest = OWB_TYPE("TEST");
constexpr TypeIdent kHeader = OWB_TYPE("SYMB");

std::string bytes(const std::vector<uint8_t>& v) { return std::string(v.begin(), v.end()); }

// A new file built from the layout rules, independently of the database.
std::vector<uint8_t> expectedNewFile(TypeIdent type, short version) {
  std::vector<uint8_t> out;
  owbcoding::ByteWriter w(&out);
  w.u32(type);
  w.u16(1);
  w.i16(version);
  w.u32(0);
  w.u32(20);
  w.u32(1628);
  w.u32(0);
  w.u32(100);
  for (int i = 0; i < 100; ++i) {
    w.bytes("----", 4);
    w.zeros(12);
  }
  return out;
}

MasterPtrEntry entryOf(Database& db, long n) {
  MasterPtrEntry e;
  db.getMPEntry(n, &e);
  return e;
}

// What the database's getters give; -1 when they give an error.
long blockLength(Database& db, long n) { long v = -1; return db.getBlockLength(n, &v) == kNoError ? v : -1; }
long fieldCount(Database& db, long n) { long v = -1; return db.countFieldsInBlock(n, &v) == kNoError ? v : -1; }
long blocksOfType(Database& db, TypeIdent t) { long v = -1; return db.countBlocksOfType(t, &v) == kNoError ? v : -1; }
long longField(Database& db, long n, long f) { long v = -1; return db.getLongFromBlock(n, f, &v) == kNoError ? v : -1; }

class DatabaseFileTest : public ::testing::Test {
 protected:
  owbtest::TempDir dir;
  std::string path = dir.file("test.db");
  Database db;

  void SetUp() override {
    ASSERT_EQ(db.createDBFile(path.c_str(), kHeader, 4), kNoError);
    ASSERT_EQ(db.openDBFile(path.c_str(), kReadWriteAccess, TRUE), kNoError);
  }
  long add(long length, long slop) {
    long n = 0;
    EXPECT_EQ(db.addBlock(kTest, length, slop, &n), kNoError);
    return n;
  }
};

TEST(DatabaseCreate, NewFileLayoutValidationAndFilesThatCannotBeOpened) {
  owbtest::TempDir dir;
  std::string path = dir.file("new.db");
  Database db;
  ASSERT_EQ(db.createDBFile(path.c_str(), kHeader, 4), kNoError);
  EXPECT_FALSE(db.isOpen());
  EXPECT_EQ(owbtest::readWholeFile(path), bytes(expectedNewFile(kHeader, 4)));

  short version = 0;
  EXPECT_EQ(db.validDBFile(path.c_str(), kHeader, &version), kNoError);
  EXPECT_EQ(version, 4);
  EXPECT_EQ(db.validDBFile(path.c_str(), OWB_TYPE("FLTT"), &version), kNotValidDBFile);
  EXPECT_EQ(version, 4);
  EXPECT_EQ(db.validDBFile(dir.file("missing").c_str(), kHeader, &version), kFileDoesNotExist);
  EXPECT_EQ(version, 0);

  // A file whose format version is not 1 is refused too.
  std::string text = owbtest::readWholeFile(path);
  text[5] = 2;
  owbtest::writeWholeFile(dir.file("format2.db"), text);
  EXPECT_EQ(db.validDBFile(dir.file("format2.db").c_str(), kHeader, &version), kNotValidDBFile);

  EXPECT_EQ(db.openDBFile(dir.file("none").c_str(), kReadOnlyAccess, TRUE), ENOENT);
  // Only a regular file can be a database; a named pipe is not waited on.
  std::string pipe = dir.file("pipe.db");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  EXPECT_EQ(db.openDBFile(pipe.c_str(), kReadOnlyAccess, TRUE), kNotValidDBFile);
  EXPECT_EQ(db.openDBFile(dir.path().c_str(), kReadOnlyAccess, TRUE), kNotValidDBFile);
  EXPECT_FALSE(db.isOpen());

  // Creating over a file that a writer holds fails and removes the file.
  ASSERT_EQ(db.openDBFile(path.c_str(), kReadWriteAccess, TRUE), kNoError);
  Database other;
  EXPECT_EQ(other.createDBFile(path.c_str(), kHeader, 1), kFileOpenForWriting);
  EXPECT_EQ(access(path.c_str(), F_OK), -1);
}

TEST_F(DatabaseFileTest, BlocksAreNumberedFromOneAndWrittenByTheRules) {
  EXPECT_EQ(db.getMPOffset(), 20);
  EXPECT_EQ(add(10, 5), 1);
  EXPECT_EQ(db.writeDataToBlock(1, "hello", 5), kNoError);
  ASSERT_EQ(db.closeDBFile(), kNoError);

  std::vector<uint8_t> want = expectedNewFile(kHeader, 4);
  owbcoding::putU32(want.data() + 16, 1628 + 15);  // total length
  owbcoding::putU32(want.data() + 20, 1);          // mpEntries
  uint8_t* e1 = want.data() + 28;
  owbcoding::putU32(e1, kTest);
  owbcoding::putU32(e1 + 4, 5);      // length
  owbcoding::putU32(e1 + 8, 10);     // slop: 5 + (10 - 5) given back
  owbcoding::putU32(e1 + 12, 1628);  // the block was appended
  want.insert(want.end(), {'h', 'e', 'l', 'l', 'o', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
  EXPECT_EQ(owbtest::readWholeFile(path), bytes(want));
}

TEST_F(DatabaseFileTest, ListGrowsInPlaceAtTheEndAndMovesWhenBlocksFollowIt) {
  // Empty blocks leave the list at the end of the file: it grows in place.
  for (int i = 1; i <= 100; ++i) ASSERT_EQ(add(0, 0), i);
  EXPECT_EQ(add(0, 0), 101);
  EXPECT_EQ(db.getMPOffset(), 20);
  EXPECT_EQ(db.getMPSlots(), 200);
  EXPECT_EQ(db.getFileLength(), 20 + 8 + 200 * 16);

  // Blocks behind the list: the 201st entry moves it to the end of the file.
  for (int i = 102; i <= 200; ++i) ASSERT_EQ(add(4, 0), i);
  long end = db.getFileLength();
  EXPECT_EQ(add(4, 0), 202);
  EXPECT_EQ(db.getMPOffset(), end);
  EXPECT_EQ(db.getMPSlots(), 300);
  MasterPtrEntry oldList = entryOf(db, 201);
  EXPECT_EQ(oldList.blockType, kFreeBlockType);
  // The new block took the front of the old list's space.
  EXPECT_EQ(oldList.length, 200 * 16 + 8 - 4);
  EXPECT_EQ(oldList.fileOffset, 24);
  EXPECT_EQ(entryOf(db, 202).fileOffset, 20);
  EXPECT_EQ(db.getFileLength(), end + 300 * 16 + 8);

  // Everything reads back after reopening through the moved list.
  ASSERT_EQ(db.closeDBFile(), kNoError);
  ASSERT_EQ(db.openDBFile(path.c_str(), kReadOnlyAccess, TRUE), kNoError);
  EXPECT_EQ(blocksOfType(db, kTest), 201);
}

TEST_F(DatabaseFileTest, FreeSpaceIsReusedFirstFitAndTinyRestsGiveTheirEntry) {
  long a = add(40, 0), b = add(20, 0), c = add(10, 0);
  long offsetA = entryOf(db, a).fileOffset, offsetB = entryOf(db, b).fileOffset;
  ASSERT_EQ(db.deleteBlock(a), kNoError);
  ASSERT_EQ(db.deleteBlock(b), kNoError);
  EXPECT_EQ(db.deleteBlock(b), kBlockIsFree);

  // 30 bytes: first fit is a's 40, not b's 20.
  long d = add(25, 5);
  EXPECT_EQ(d, 4);
  EXPECT_EQ(entryOf(db, d).fileOffset, offsetA);
  EXPECT_EQ(entryOf(db, a).length, 10);
  EXPECT_EQ(entryOf(db, a).fileOffset, offsetA + 30);
  // Exactly b's size: b stays free with length 0...
  long e = add(20, 0);
  EXPECT_EQ(entryOf(db, e).fileOffset, offsetB);
  EXPECT_EQ(entryOf(db, b).blockType, kFreeBlockType);
  EXPECT_EQ(entryOf(db, b).length, 0);
  // ...and its entry is given to the next block, which takes a's rest.
  long f = add(8, 0);
  EXPECT_EQ(f, b);
  EXPECT_EQ(entryOf(db, f).blockType, kTest);
  EXPECT_EQ(entryOf(db, f).fileOffset, offsetA + 30);
  EXPECT_EQ(blockLength(db, c), 10);
}

TEST_F(DatabaseFileTest, AGrowingBlockKeepsItsNumberAndLeavesItsOldPlaceFree) {
  long n = add(4, 0);
  add(4, 0);
  long oldOffset = entryOf(db, n).fileOffset;
  std::string big(30, 'x');
  ASSERT_EQ(db.writeDataToBlock(n, big.data(), 30), kNoError);
  MasterPtrEntry moved = entryOf(db, n);
  EXPECT_EQ(moved.blockType, kTest);
  EXPECT_EQ(moved.length, 30);
  EXPECT_EQ(moved.slop, 60);
  EXPECT_NE(moved.fileOffset, oldOffset);
  MasterPtrEntry freed = entryOf(db, 3);
  EXPECT_EQ(freed.blockType, kFreeBlockType);
  EXPECT_EQ(freed.length, 4);
  EXPECT_EQ(freed.fileOffset, oldOffset);
  // The slop exists in the file behind the data.
  EXPECT_EQ(db.getFileLength(), moved.fileOffset + 90);

  // Growing by up to 60 bytes stays in place.
  std::string bigger(90, 'y');
  ASSERT_EQ(db.writeDataToBlock(n, bigger.data(), 90), kNoError);
  EXPECT_EQ(entryOf(db, n).fileOffset, moved.fileOffset);
  EXPECT_EQ(entryOf(db, n).slop, 0);
  std::string back(90, 0);
  ASSERT_EQ(db.readDataFromBlock(n, back.data(), FALSE), kNoError);
  EXPECT_EQ(back, bigger);

  // A move takes earlier free space that is big enough (first fit).
  long spare = add(200, 0);
  long spareOffset = entryOf(db, spare).fileOffset;
  ASSERT_EQ(db.deleteBlock(spare), kNoError);
  std::string huge(120, 'z');
  ASSERT_EQ(db.writeDataToBlock(n, huge.data(), 120), kNoError);
  EXPECT_EQ(entryOf(db, n).fileOffset, spareOffset);
  EXPECT_EQ(entryOf(db, spare).length, 20);
}

TEST_F(DatabaseFileTest, BlocksAreFoundByTypeAndFreeBlocksAndBadNumbersAreRefused) {
  constexpr TypeIdent kOther = OWB_TYPE("OTHR");
  long numbers[5];
  for (int i = 0; i < 5; ++i) db.addBlock(i % 2 ? kOther : kTest, 4, 0, &numbers[i]);
  long found = 0;
  EXPECT_EQ(blocksOfType(db, kTest), 3);
  EXPECT_EQ(db.getNthBlockOfType(kTest, 2, &found), kNoError);
  EXPECT_EQ(found, numbers[2]);
  EXPECT_EQ(db.getNthBlockOfType(kTest, 0, &found), kNoBlockOfType);
  EXPECT_EQ(db.getNthBlockOfType(kTest, 4, &found), kNoBlockOfType);
  EXPECT_EQ(db.getNextBlockOfType(kOther, numbers[1], &found), kNoError);
  EXPECT_EQ(found, numbers[3]);
  EXPECT_EQ(db.getNextBlockOfType(kOther, numbers[3], &found), kNoBlockOfType);

  long n = add(12, 3);
  ASSERT_EQ(db.deleteBlock(n), kNoError);
  char buf[32];
  EXPECT_EQ(db.readDataFromBlock(n, buf, FALSE), kBlockIsFree);
  EXPECT_EQ(db.writeDataToBlock(n, "x", 1), kBlockIsFree);
  EXPECT_EQ(blockLength(db, n), 15);
  long length = 0;
  EXPECT_EQ(db.getBlockLength(0, &length), kNoBlockOfType);
  EXPECT_EQ(db.readDataFromBlock(99, buf, FALSE), kNoBlockOfType);
  EXPECT_EQ(Database::databaseLastError(), kNoBlockOfType);
}

TEST_F(DatabaseFileTest, TheOpenFlagKeepsASecondWriterOutOnce) {
  EXPECT_EQ(db.readFlags() & kOpenForWritingFlag, 1u);
  Database second;
  EXPECT_EQ(second.openDBFile(path.c_str(), kReadOnlyAccess, TRUE), kFileOpenForWriting);
  EXPECT_FALSE(second.isOpen());
  EXPECT_EQ(second.openDBFile(path.c_str(), kReadOnlyAccess, TRUE), kFileOpenForWriting);
  // The refused writer's own close clears the mark, so its retry succeeds.
  EXPECT_EQ(second.openDBFile(path.c_str(), kReadWriteAccess, TRUE), kFileOpenForWriting);
  EXPECT_EQ(second.openDBFile(path.c_str(), kReadWriteAccess, TRUE), kNoError);
  EXPECT_EQ(second.closeDBFile(), kNoError);
  // A reader without the test, and opening twice with the same access.
  Database reader;
  EXPECT_EQ(reader.openDBFile(path.c_str(), kReadOnlyAccess, FALSE), kNoError);
  EXPECT_EQ(reader.openDBFile("/no/such/file", kReadOnlyAccess, TRUE), kNoError);
  EXPECT_TRUE(reader.isOpen());
  ASSERT_EQ(db.closeDBFile(), kNoError);
  std::string text = owbtest::readWholeFile(path);
  EXPECT_EQ(text[11], 0);
}

TEST_F(DatabaseFileTest, ReadCachesCountHitsAndMissesForReaders) {
  long n = add(8, 0);
  ASSERT_EQ(db.writeDataToBlock(n, "abcdefgh", 8), kNoError);
  add(8, 0);
  ASSERT_EQ(db.closeDBFile(), kNoError);
  ASSERT_EQ(db.openDBFile(path.c_str(), kReadOnlyAccess, TRUE), kNoError);

  char buf[9] = {0};
  for (int read = 1; read <= 2; read++) {  // the second from the caches
    ASSERT_EQ(db.readDataFromBlock(n, buf, TRUE), kNoError);
    EXPECT_STREQ(buf, "abcdefgh");
    EXPECT_EQ(db.mpCacheMisses + db.dataCacheMisses + db.mpCacheHits + db.dataCacheHits, 2 * read);
  }
  EXPECT_EQ(db.mpCacheHits + db.dataCacheHits, 2);
  // The middle of a cached block is served from the cache.
  char middle[4] = {0};
  EXPECT_EQ(db.readDataFromFile(entryOf(db, n).fileOffset + 2, middle, 3, TRUE), kNoError);
  EXPECT_STREQ(middle, "cde");
  EXPECT_EQ(db.dataCacheHits, 2);
  // Uncached reads count nothing.
  ASSERT_EQ(db.readDataFromBlock(n, buf, FALSE), kNoError);
  EXPECT_EQ(db.dataCacheHits + db.dataCacheMisses, 3);
  db.closeDBFile();
  EXPECT_EQ(db.mpCacheHits + db.mpCacheMisses + db.dataCacheHits, 0);
}

TEST_F(DatabaseFileTest, StatisticsGoToTheFirstFreeDblogFile) {
  add(8, 4);
  char cwd[1024];
  ASSERT_NE(getcwd(cwd, sizeof cwd), nullptr);
  ASSERT_EQ(chdir(dir.path().c_str()), 0);
  owbtest::writeWholeFile(dir.file("dblog.1"), "taken");
  db.dumpDatabaseStats();
  std::string stats = owbtest::readWholeFile(dir.file("dblog.2"));
  ASSERT_EQ(chdir(cwd), 0);
  EXPECT_EQ(stats,
            "Logging database stats\n"
            "12: offset to master pointer list = 20\n"
            "16: total length of database = 1640\n"
            "20: number of mp entries = 1\n"
            "24: number of mp slots = 100\n"
            "\n\n");
}

std::string fieldString(Database& db, long block, long field) {
  Ptr data = nullptr;
  long length = 0;
  if (db.getField(block, field, &data, &length) != kNoError) return "<error>";
  std::string out(data, length);
  delete[] data;
  return out;
}

// A block made ready for fields in a new file.
class DatabaseFieldsTest : public DatabaseFileTest {
 protected:
  long block = 0;
  void SetUp() override {
    DatabaseFileTest::SetUp();
    block = add(20, 0);
    ASSERT_EQ(db.initBlockForFields(block), kNoError);
  }
};

TEST_F(DatabaseFieldsTest, FieldsAreAddedReplacedAndDeleted) {
  long length = 0;
  EXPECT_EQ(blockLength(db, block), 4);
  EXPECT_EQ(entryOf(db, block).slop, 16);

  ASSERT_EQ(db.addFieldToBlock(block, "alpha", 5), kNoError);
  ASSERT_EQ(db.addFieldToBlock(block, "be", 2), kNoError);
  ASSERT_EQ(db.addFieldToBlock(block, "\xff\xff\xff\xf9", 4), kNoError);  // -7
  EXPECT_EQ(fieldCount(db, block), 3);
  EXPECT_EQ(fieldString(db, block, 1), "alpha");
  EXPECT_EQ(fieldString(db, block, 2), "be");
  EXPECT_EQ(longField(db, block, 3), -7);
  EXPECT_EQ(longField(db, block, 1), 0);  // not 4 bytes: 0, no error

  // Longer, then shorter, in the middle; the neighbours stay intact.
  ASSERT_EQ(db.setFieldOfBlock(block, 2, "a longer field", 14), kNoError);
  EXPECT_EQ(fieldString(db, block, 2), "a longer field");
  EXPECT_EQ(fieldString(db, block, 1), "alpha");
  ASSERT_EQ(db.setFieldOfBlock(block, 2, "x", 1), kNoError);
  EXPECT_EQ(fieldString(db, block, 2), "x");
  EXPECT_EQ(longField(db, block, 3), -7);
  EXPECT_EQ(blockLength(db, block), 4 + 9 + 5 + 8);

  ASSERT_EQ(db.deleteFieldFromBlock(block, 1), kNoError);
  EXPECT_EQ(fieldCount(db, block), 2);
  EXPECT_EQ(fieldString(db, block, 1), "x");
  EXPECT_EQ(db.getFieldLength(block, 2, &length), kNoError);
  EXPECT_EQ(length, 4);

  char small[3] = {0};
  EXPECT_EQ(db.getFieldIntoBuffer(block, 2, small, &length, 2), kNoError);
  EXPECT_EQ(length, 2);

  // Emptying keeps the block and its space.
  ASSERT_EQ(db.initBlockForFields(block), kNoError);
  EXPECT_EQ(fieldCount(db, block), 0);
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
  std::string raw("\0\0\0\1\0\0\0\3one\0\0\0\3two", 18);
  uint8_t* secondLength = reinterpret_cast<uint8_t*>(&raw[11]);
  ASSERT_EQ(db.writeDataToBlock(block, raw.data(), raw.size()), kNoError);
  EXPECT_EQ(fieldString(db, block, 2), "two");

  // A length word that runs past the block is refused, not followed.
  owbcoding::putI32(secondLength, 1000);
  ASSERT_EQ(db.writeDataToBlock(block, raw.data(), raw.size()), kNoError);
  EXPECT_EQ(db.getFieldLength(block, 2, &length), kNoSuchField);
  owbcoding::putI32(secondLength, -50);
  ASSERT_EQ(db.writeDataToBlock(block, raw.data(), raw.size()), kNoError);
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

TEST(DatabaseHandMade, AFileLaidOutFromTheTablesReadsAndDamageIsSurvived) {
  owbtest::TempDir dir;
  std::string path = dir.file("hand.db");
  std::vector<uint8_t> file = handMadeFile();
  owbtest::writeWholeFile(path, std::string(file.begin(), file.end()));

  Database db;
  short version = 0;
  ASSERT_EQ(db.validDBFile(path.c_str(), OWB_TYPE("HAND"), &version), kNoError);
  EXPECT_EQ(version, 7);
  ASSERT_EQ(db.openDBFile(path.c_str(), kReadOnlyAccess, TRUE), kNoError);
  long block = 0;
  ASSERT_EQ(db.getNthBlockOfType(OWB_TYPE("DATA"), 1, &block), kNoError);
  EXPECT_EQ(block, 1);
  EXPECT_EQ(fieldCount(db, block), 2);
  EXPECT_EQ(fieldString(db, block, 1), "hello");
  EXPECT_EQ(longField(db, block, 2), 1234);
  EXPECT_EQ(blockLength(db, 2), 32);

  // Written to, it takes the free entry's space, which lies beyond its end.
  ASSERT_EQ(db.openDBFile(path.c_str(), kReadWriteAccess, TRUE), kNoError);
  long added = 0;
  ASSERT_EQ(db.addBlock(OWB_TYPE("DATA"), 10, 0, &added), kNoError);
  EXPECT_EQ(added, 3);
  EXPECT_EQ(entryOf(db, 3).fileOffset, 2000);

  // Truncated and inconsistent files give odd data, not errors.  Cut inside
  // the block's data: the list is gone too.
  ASSERT_EQ(db.closeDBFile(), kNoError);
  owbtest::writeWholeFile(path, std::string(file.begin(), file.begin() + 30));
  ASSERT_EQ(db.openDBFile(path.c_str(), kReadOnlyAccess, TRUE), kNoError);
  char buf[8] = {'k', 'e', 'p', 't', 0, 0, 0, 0};
  EXPECT_EQ(db.readDataFromFile(25, buf, 8, FALSE), kNoError);
  EXPECT_EQ(buf[5], 0);
  EXPECT_EQ(db.readDataFromFile(5000, buf, 4, TRUE), kNoError);
  EXPECT_EQ(std::string(buf, 4), std::string(reinterpret_cast<char*>(file.data()) + 25, 4));
  EXPECT_EQ(blocksOfType(db, OWB_TYPE("DATA")), 0);

  // An entry count far beyond the file is not walked.
  std::vector<uint8_t> big = file;
  size_t listAt = owbcoding::getU32(big.data() + 12);
  owbcoding::putU32(big.data() + listAt, 0x7fffffff);
  owbcoding::putU32(big.data() + listAt + 4, 0x7fffffff);
  owbtest::writeWholeFile(path, std::string(big.begin(), big.end()));
  Database wide;
  ASSERT_EQ(wide.openDBFile(path.c_str(), kReadOnlyAccess, TRUE), kNoError);
  EXPECT_EQ(blocksOfType(wide, OWB_TYPE("DATA")), 1);
  EXPECT_EQ(wide.getNthBlockOfType(OWB_TYPE("----"), 1, &block), kNoError);
  EXPECT_EQ(wide.getNextBlockOfType(OWB_TYPE("DATA"), 1, &block), kNoBlockOfType);
  // Writing to it cannot grow the list to an impossible size.
  ASSERT_EQ(wide.openDBFile(path.c_str(), kReadWriteAccess, FALSE), kNoError);
  EXPECT_EQ(wide.addBlock(OWB_TYPE("DATA"), 4, 0, &added), kOutOfMemory);
  EXPECT_EQ(wide.growMPList(100), kOutOfMemory);
  // Nothing is written where the format's offsets cannot reach.
  EXPECT_EQ(wide.writeDataToFile(0x7ffffffe, "abcd", 4), EFBIG);
}

constexpr TypeIdent kWindowPrefs = OWB_TYPE("WPOS");

// Each alert as "type|title|button 1|button 2|text".
std::vector<std::string> gAlerts;
long gAnswer = 0;

long recordingAlert(const char* text, long type, const char* title, const char* b1, const char* b2,
                    const char*, Boolean, const char*) {
  auto shown = [](const char* s) { return std::string(s ? s : ""); };
  gAlerts.push_back(std::to_string(type) + "|" + shown(title) + "|" + shown(b1) + "|" + shown(b2) + "|" + shown(text));
  return gAnswer;
}

class PrefManTest : public ::testing::Test {
 protected:
  owbtest::TempDir home;
  owbtest::ScopedEnv homeEnv{"HOME", home.path()};
  std::string prefPath = home.path() + "/.owb/fleetmgr.prf";
  AlertHandler saved = nullptr;
  char* savedTool = nullptr;

  void SetUp() override {
    gAlerts.clear();
    gAnswer = 0;
    saved = setAlertHandler(recordingAlert);
    savedTool = gToolName;
    gToolName = const_cast<char*>("fleetmgr");
  }
  void TearDown() override {
    setAlertHandler(saved);
    gToolName = savedTool;
  }
  std::string read(PrefMan& prefs, long n) {
    char buf[64] = {0};
    long length = prefs.readNthPreference(kWindowPrefs, n, buf, sizeof buf);
    return std::string(buf, length);
  }
  // Every preference of the type, each followed by "|".
  std::string all(PrefMan& prefs) {
    std::string text;
    for (long n = 1; n <= prefs.countPreferencesOfType(kWindowPrefs); n++) text += read(prefs, n) + "|";
    return text;
  }
};

TEST_F(PrefManTest, AFileOfAnotherTypeOrVersionBringsTheQuestionAndOneNotMadeAnError) {
  Database other;
  fileNameType directory;
  ASSERT_EQ(getValidPreferencesDirectory(directory), kNoError);
  ASSERT_EQ(other.createDBFile(prefPath.c_str(), OWB_TYPE("XXXX"), 2), kNoError);
  std::string before = owbtest::readWholeFile(prefPath);
  {
    PrefMan prefs(kFleetPrefsFileType);  // "Cancel": left alone, preferences off
    EXPECT_EQ(prefs.lastError, kNoError);
    EXPECT_FALSE(prefs.isOpen());
    prefs.addPreference(kWindowPrefs, "x", 1);
    EXPECT_EQ(prefs.lastError, kPrefsNotOpen);
    EXPECT_EQ(prefs.countPreferencesOfType(kWindowPrefs), 0);
  }
  EXPECT_EQ(gAlerts, std::vector<std::string>{"1|Invalid file|Cancel|Overwrite|The preferences file " + prefPath +
                                               " was invalid. Would you like to overwrite the exisiting file?"});
  EXPECT_EQ(owbtest::readWholeFile(prefPath), before);

  // Another version asks too; "Overwrite" makes a new file but leaves it closed.
  ASSERT_EQ(other.createDBFile(prefPath.c_str(), kFleetPrefsFileType, 1), kNoError);
  gAnswer = 2;
  {
    PrefMan prefs(kFleetPrefsFileType);
    EXPECT_EQ(prefs.lastError, kNoError);
    EXPECT_FALSE(prefs.isOpen());
  }
  EXPECT_EQ(gAlerts.size(), 2u);
  short version = 0;
  EXPECT_EQ(other.validDBFile(prefPath.c_str(), kFleetPrefsFileType, &version), kNoError);
  EXPECT_EQ(version, 2);
  PrefMan next(kFleetPrefsFileType);
  EXPECT_TRUE(next.isOpen());
  EXPECT_EQ(gAlerts.size(), 2u);

  // A file that cannot be made is reported.
  gAlerts.clear();
  std::string path = home.file("no/such/dir/x.prf");
  PrefMan prefs(kFleetPrefsFileType, 2, path.c_str(), "window", TRUE);
  EXPECT_EQ(prefs.lastError, ENOENT);
  EXPECT_EQ(gAlerts, std::vector<std::string>{"2|File error|Ok||An error occurred opening or creating the window "
                                               "file " + path + " (" + std::to_string(ENOENT) + ")."});
}

// The first start makes the file silently; preferences are numbered fields
// of their type's block.
TEST_F(PrefManTest, FirstStartAndPreferencesNumberedInTheirTypesBlock) {
  PrefMan prefs(kFleetPrefsFileType);
  EXPECT_EQ(prefs.lastError, kNoError);
  EXPECT_TRUE(prefs.isOpen());
  EXPECT_EQ(std::string(prefs.prefPath), prefPath);
  EXPECT_TRUE(gAlerts.empty());
  short version = 0;
  Database probe;
  EXPECT_EQ(probe.validDBFile(prefPath.c_str(), kFleetPrefsFileType, &version), kNoError);
  EXPECT_EQ(version, 2);

  // Writing any number of a type that has none makes preference 1.
  prefs.writeNthPreference(kWindowPrefs, 5, "first", 5);
  EXPECT_EQ(prefs.lastError, kNoError);
  prefs.addPreference(kWindowPrefs, "second", 6);
  prefs.writeNthPreference(kWindowPrefs, 3, "third", 5);  // one above the count: appended
  prefs.writeNthPreference(kWindowPrefs, 2, "2nd", 3);
  EXPECT_EQ(all(prefs), "first|2nd|third|");
  char small[3];
  EXPECT_EQ(prefs.readNthPreference(kWindowPrefs, 1, small, 3), 3);

  // A number beyond the count is not appended; it fails, and the failure
  // makes the next write be dropped.
  prefs.writeNthPreference(kWindowPrefs, 7, "seventh", 7);
  EXPECT_EQ(prefs.lastError, kNoSuchField);
  prefs.writeNthPreference(kWindowPrefs, 1, "dropped", 7);
  EXPECT_EQ(read(prefs, 1), "first");
  prefs.writeNthPreference(kWindowPrefs, 1, "kept", 4);
  EXPECT_EQ(read(prefs, 1), "kept");

  prefs.deleteNthPreference(kWindowPrefs, 1);
  EXPECT_EQ(all(prefs), "2nd|third|");

  EXPECT_EQ(prefs.countPreferencesOfType(OWB_TYPE("NONE")), 0);
  EXPECT_EQ(prefs.lastError, kNoBlockOfType);
  prefs.deletePreferencesOfType(OWB_TYPE("NONE"));
  EXPECT_EQ(prefs.lastError, kNoError);
  prefs.deletePreferencesOfType(kWindowPrefs);
  EXPECT_EQ(prefs.countPreferencesOfType(kWindowPrefs), 0);
  EXPECT_EQ(prefs.lastError, kNoError);

  // They live in the file: another run sees them.
  prefs.addPreference(kWindowPrefs, "saved", 5);
  PrefMan second(kFleetPrefsFileType);
  EXPECT_TRUE(second.isOpen());
  EXPECT_EQ(read(second, 1), "saved");
}

}  // namespace
