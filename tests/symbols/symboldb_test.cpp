// The symbol database: classes, features, files, links, hashing, sorted
// lists and position maps, and the symdump tool that prints a file.
#include "symbols/symboldb.h"

#include <gtest/gtest.h>

#include "shared/utils.h"
#include "testsupport.h"

namespace {

SourceLoc locIn(const char* file, long start, long end = 0, const char* interface = nullptr) {
  SourceLoc loc;
  loc.sourcePosIdent.relativePath = const_cast<char*>(file);
  loc.sourcePosIdent.startOffset = start;
  loc.sourcePosIdent.endOffset = end;
  loc.interfacePosIdent.relativePath = const_cast<char*>(interface);
  return loc;
}

class SymbolDbTest : public ::testing::Test {
 protected:
  owbtest::TempDir dir;
  std::string path = dir.file("prog.sym");
  SymbolDatabase db;

  void SetUp() override {
    ASSERT_EQ(db.createDatabase(path.c_str()), kNoError);
    ASSERT_EQ(db.openDatabase(path.c_str(), kReadWriteAccess), kNoError);
  }
  RecordIdentifier makeClass(const char* name, const char* file = "src/app.w", long time = 100) {
    SourceLoc loc = locIn(file, 1, 50);
    RecordIdentifier rec;
    EXPECT_EQ(db.newClassRecord(name, &loc, time, 0, &rec), kNoError);
    return rec;
  }
  std::string className(SymbolDatabase& from, RecordIdentifier rec) {
    char name[kSymbolNameSize];
    from.getClassName(rec, name);
    return name;
  }
  // The record number of the class of that name, or -1 when none is found.
  long numberOf(const char* name) {
    RecordIdentifier found;
    return db.getClassByName(name, &found) == kNoError ? found.recordNumber : -1;
  }
  long flagsOf(RecordIdentifier rec) {
    long flags = -1;
    EXPECT_EQ(db.getClassFlags(rec, &flags), kNoError);
    return flags;
  }
  // The record number that a look-up gave, or -1 when it failed.
  static long numberIf(ErrorCode code, const RecordIdentifier& rec) { return code == kNoError ? rec.recordNumber : -1; }
  std::string opName(RecordIdentifier rec, long n) {
    char name[kSymbolNameSize];
    db.getNthOperationName(rec, n, name);
    return name;
  }
};

TEST_F(SymbolDbTest, CreatedFilesAreValidAndOtherVersionsRefused) {
  EXPECT_TRUE(SymbolDatabase::validSymbolFile(path.c_str()));
  EXPECT_FALSE(SymbolDatabase::validSymbolFile(dir.file("none").c_str()));
  Database other;
  std::string v3 = dir.file("v3.sym");
  ASSERT_EQ(other.createDBFile(v3.c_str(), kSymbolFileType, 3), kNoError);
  EXPECT_FALSE(SymbolDatabase::validSymbolFile(v3.c_str()));
  EXPECT_EQ(db.openDatabase(v3.c_str(), kReadOnlyAccess), kWrongSymbolVersion);
  EXPECT_EQ(db.openDatabase(path.c_str(), kReadOnlyAccess), kNoError);
}

TEST_F(SymbolDbTest, ClassesKeepTheirFeaturesFilesAndNames) {
  SourceLoc loc = locIn("/home/u/src/shape.w", 10, 90, "/home/u/src/shape.wi");
  RecordIdentifier shape;
  ASSERT_EQ(db.newClassRecord("Shape", &loc, 1234, 8, &shape), kNoError);
  ASSERT_EQ(db.addAttribute(shape, "width", &loc), kNoError);
  ASSERT_EQ(db.addProperty(shape, "color", nullptr), kNoError);
  std::string longName(70, 'o');
  ASSERT_EQ(db.addOperation(shape, longName.c_str(), &loc), kNoError);
  SourceLoc other = locIn("lib/draw.w", 5, 6);
  ASSERT_EQ(db.addOperation(shape, "draw", &other), kNoError);

  EXPECT_EQ(className(db, shape), "Shape");
  EXPECT_EQ(flagsOf(shape), 8);
  EXPECT_EQ(db.countAttributes(shape), 1);
  EXPECT_EQ(db.countProperties(shape), 1);
  EXPECT_EQ(db.countOperations(shape), 2);
  EXPECT_EQ(opName(shape, 1), std::string(63, 'o'));
  EXPECT_EQ(opName(shape, 2), "draw");
  long number = 0;
  EXPECT_EQ(db.getOperationByName(shape, longName.c_str(), &number), kNoError);
  EXPECT_EQ(number, 1);
  EXPECT_EQ(db.getOperationByName(shape, "erase", &number), kNoBlockOfType);
  EXPECT_EQ(db.getAttributeByName(shape, "width", &number), kNoError);

  // Paths are kept as their last component, each file once.
  SourceLoc back;
  ASSERT_EQ(db.getClassSourceLoc(shape, &back), kNoError);
  EXPECT_STREQ(back.sourcePosIdent.relativePath, "shape.w");
  EXPECT_STREQ(back.interfacePosIdent.relativePath, "shape.wi");
  EXPECT_EQ(back.sourcePosIdent.startOffset, 10);
  EXPECT_EQ(back.sourcePosIdent.endOffset, 90);
  disposeSourceLoc(&back);
  ASSERT_EQ(db.getNthOperationSource(shape, 2, &back), kNoError);
  EXPECT_STREQ(back.sourcePosIdent.relativePath, "draw.w");
  EXPECT_EQ(back.interfacePosIdent.relativePath, nullptr);
  disposeSourceLoc(&back);
  ASSERT_EQ(db.getNthPropertySource(shape, 1, &back), kNoError);
  EXPECT_EQ(back.sourcePosIdent.relativePath, nullptr);
  long fileBlock = 0, files = 0;
  db.getNthBlockOfType(kSourceFileListType, 1, &fileBlock);
  db.countFieldsInBlock(fileBlock, &files);
  EXPECT_EQ(files, 3);
  EXPECT_TRUE(db.classHasSource(shape));
  EXPECT_TRUE(db.fileWithinDatabase("elsewhere/draw.w"));
  EXPECT_FALSE(db.fileWithinDatabase("circle.w"));

  // Naming information exists only once set, and is overwritten later.
  char name[64];
  EXPECT_EQ(db.getClassInterfaceName(shape, name, sizeof name), kNoNamingInfo);
  EXPECT_FALSE(db.classHasInterfaceOnly(shape));
  ASSERT_EQ(db.setClassNamingInfo(shape, TRUE, "IShape", 7, "ShapeSeries", 12, "ShapeImpl", 10), kNoError);
  ASSERT_EQ(db.setClassNamingInfo(shape, TRUE, "IShape2", 8, "S", 2, "Impl", 5), kNoError);
  EXPECT_TRUE(db.classHasInterfaceOnly(shape));
  EXPECT_EQ(db.mapClassNameToSeriesName("Shape", name, sizeof name), kNoError);
  EXPECT_STREQ(name, "S");
  EXPECT_EQ(db.getClassInterfaceName(shape, name, sizeof name), kNoError);
  EXPECT_STREQ(name, "IShape2");
  RecordIdentifier found;
  EXPECT_EQ(numberIf(db.mapImplementationNameToClass("Impl", &found), found), shape.recordNumber);
  EXPECT_EQ(db.mapInterfaceNameToClass("IShape", &found), kClassNotFound);

  ASSERT_EQ(db.setDocumentationFileName(shape, "/doc/shape.html"), kNoError);
  EXPECT_EQ(db.getDocumentationFileName(shape, name, sizeof name), kNoError);
  EXPECT_STREQ(name, "shape.html");
  long stamp = 0;
  EXPECT_EQ(db.getFileCompileTime("shape.w", &stamp), kNoBlockOfType);
  ASSERT_EQ(db.setFileCompileTime("shape.w"), kNoError);
  EXPECT_EQ(db.getFileCompileTime("shape.w", &stamp), kNoError);
  EXPECT_NEAR(stamp, static_cast<long>(timeInSeconds()), 5);
}

TEST_F(SymbolDbTest, NamesOfEqualHashAreAllFoundAndRecompilingKeepsOnlyLinks) {
  // The last character does not count, so these two share a hash value.
  RecordIdentifier first = makeClass("Widgeta");
  RecordIdentifier second = makeClass("Widgetb");
  EXPECT_EQ(numberOf("Widgetb"), second.recordNumber);
  EXPECT_EQ(numberOf("Widgeta"), first.recordNumber);
  RecordIdentifier found;
  EXPECT_EQ(db.getClassByName("Gadget", &found), kClassNotFound);
  EXPECT_EQ(found.recordNumber, 0);

  // A fresh reader fills its table from the file; deleting the class in
  // the table does not hide the other.
  ASSERT_EQ(db.deleteClassRecord(second), kNoError);
  EXPECT_EQ(numberOf("Widgeta"), first.recordNumber);
  EXPECT_EQ(numberOf("Widgetb"), -1);
  // Names beyond 63 characters compare on their first 63.
  RecordIdentifier longClass = makeClass(std::string(80, 'L').c_str());
  EXPECT_EQ(numberOf((std::string(63, 'L') + "xyz").c_str()), longClass.recordNumber);

  // Recompiling a class empties its features but keeps its links.
  RecordIdentifier base = makeClass("Base");
  RecordIdentifier derived = makeClass("Derived");
  ASSERT_EQ(db.addDoubleLink(base, derived), kNoError);
  SourceLoc loc = locIn("src/app.w", 3);
  ASSERT_EQ(db.addOperation(derived, "run", &loc), kNoError);
  ASSERT_EQ(db.addAttribute(derived, "count", &loc), kNoError);
  PC_MAP map[2] = {{{1, 4}, 0}, {{1, 5}, 8}};
  ASSERT_EQ(db.addMap(derived, "run", map, 2), kNoError);
  long mapBlock = 0;
  ASSERT_EQ(db.getNthBlockOfType(kMapBlockType, 1, &mapBlock), kNoError);

  // Without a source path only the time stamp changes.
  RecordIdentifier again;
  ASSERT_EQ(db.newClassRecord("Derived", nullptr, 200, 5, &again), kNoError);
  EXPECT_EQ(again.recordNumber, derived.recordNumber);
  EXPECT_EQ(db.countOperations(derived), 1);
  EXPECT_EQ(flagsOf(derived), 0);

  SourceLoc moved = locIn("src/new.w", 7);
  ASSERT_EQ(db.newClassRecord("Derived", &moved, 300, 5, &again), kNoError);
  EXPECT_EQ(db.countOperations(derived), 0);
  EXPECT_EQ(db.countAttributes(derived), 0);
  EXPECT_EQ(flagsOf(derived), 5);
  MasterPtrEntry entry;
  db.getMPEntry(mapBlock, &entry);
  EXPECT_EQ(entry.blockType, kFreeBlockType);
  EXPECT_EQ(db.countSuperclasses(derived), 1);
  char file[64];
  EXPECT_EQ(db.getClassSource(derived, file, sizeof file), kNoError);
  EXPECT_STREQ(file, "new.w");

  // Stale classes of a file go; newer ones and other files' stay.
  makeClass("Old", "src/new.w", 50);
  ASSERT_EQ(db.removeOldClassesForFile("/x/new.w", 250), kNoError);
  EXPECT_EQ(numberOf("Old"), -1);
  EXPECT_EQ(numberOf("Derived"), derived.recordNumber);
  EXPECT_EQ(numberOf("Base"), base.recordNumber);
  EXPECT_EQ(db.removeOldClassesForFile("unknown.w", 1000), kNoError);
}

TEST_F(SymbolDbTest, LinksAreSortedByNameAndDuplicatesChangeNothing) {
  RecordIdentifier root = makeClass("Root");
  RecordIdentifier zeta = makeClass("Zeta");
  RecordIdentifier alpha = makeClass("Alpha");
  RecordIdentifier mixin = makeClass("Mixin");
  ASSERT_EQ(db.addDoubleLink(root, zeta), kNoError);
  ASSERT_EQ(db.addDoubleLink(root, alpha), kNoError);
  ASSERT_EQ(db.addDoubleLink(mixin, alpha), kNoError);
  ASSERT_EQ(db.addDoubleLink(root, alpha), kNoError);

  EXPECT_EQ(db.countSubclasses(root), 2);
  RecordIdentifier rec;
  EXPECT_EQ(numberIf(db.getNthSubclass(root, 1, &rec), rec), alpha.recordNumber);
  EXPECT_EQ(numberIf(db.getNthSubclass(root, 2, &rec), rec), zeta.recordNumber);
  EXPECT_EQ(db.getNthSubclass(root, 3, &rec), kNoBlockOfType);
  // Superclasses sorted too; the first linked stays the flavor.
  EXPECT_EQ(numberIf(db.getNthSuperclass(alpha, 1, &rec), rec), mixin.recordNumber);
  EXPECT_EQ(numberIf(db.getFlavor(alpha, &rec), rec), root.recordNumber);

  ASSERT_EQ(db.deleteClassRecord(alpha), kNoError);
  EXPECT_EQ(db.countSubclasses(root), 1);
  EXPECT_EQ(db.countSubclasses(mixin), 0);
}

TEST_F(SymbolDbTest, ClassOrderIsBlockOrderForWritersAndNameOrderForReaders) {
  RecordIdentifier c = makeClass("Cedar"), a = makeClass("Ash"), b = makeClass("Birch");
  ASSERT_EQ(db.addDoubleLink(a, b), kNoError);
  EXPECT_EQ(db.countClasses(), 3);
  RecordIdentifier rec;
  EXPECT_EQ(numberIf(db.getNthClass(1, &rec), rec), c.recordNumber);
  EXPECT_EQ(db.getNthClass(0, &rec), kNoBlockOfType);
  ASSERT_EQ(db.createSortedClassLists(), kNoError);
  ASSERT_EQ(db.closeDatabase(), kNoError);

  SymbolDatabase reader;
  ASSERT_EQ(reader.openDatabase(path.c_str(), kReadOnlyAccess), kNoError);
  EXPECT_EQ(reader.countClasses(), 3);
  std::vector<std::string> names;
  for (long n = 1; n <= 3; ++n) {
    ASSERT_EQ(reader.getNthClass(n, &rec), kNoError);
    names.push_back(className(reader, rec));
  }
  EXPECT_EQ(names, (std::vector<std::string>{"Ash", "Birch", "Cedar"}));
  EXPECT_EQ(reader.getNthClass(4, &rec), kNoBlockOfType);
  EXPECT_EQ(rec.recordNumber, 0);
}

TEST_F(SymbolDbTest, PositionMapsTranslateBothWaysWithBoundedSortedAnswers) {
  SourceLoc first = locIn("src/calc.w", 10), second = locIn("src/calc.w", 20);
  RecordIdentifier calc = makeClass("Calc", "src/calc.w");
  ASSERT_EQ(db.addOperation(calc, "add", &first), kNoError);
  ASSERT_EQ(db.addOperation(calc, "sub", &second), kNoError);
  // Lines 11, 12, 14 at positions 100, 104, 110; 12 again at 120.
  PC_MAP addMap[4] = {{{1, 11}, 100}, {{1, 12}, 104}, {{1, 14}, 110}, {{1, 12}, 120}};
  ASSERT_EQ(db.addMap(calc, "add", addMap, 4), kNoError);
  PC_MAP subMap[2] = {{{1, 21}, 200}, {{1, 22}, 206}};
  ASSERT_EQ(db.addMap(calc, "sub", subMap, 2), kNoError);

  PC_MAP* map = nullptr;
  long length = 0;
  ASSERT_EQ(db.getMap(calc, 1, &map, &length), kNoError);
  ASSERT_EQ(length, 4);
  EXPECT_EQ(map[2].loc.line, 14);
  EXPECT_EQ(map[3].pc, 120);
  delete[] map;

  EXPECT_EQ(db.positionToLineNumber(calc, 1, 104), 12);
  EXPECT_EQ(db.positionToLineNumber(calc, 1, 108), 12);
  EXPECT_EQ(db.positionToLineNumber(calc, 1, 50), 12);  // below all: the last entry's line

  List positions(kStandardChunkSize, TRUE, EqualCompare);
  Boolean lastLine = TRUE;
  EXPECT_TRUE(db.lineNumberToPosition(calc, 1, 12, &positions, &lastLine));
  EXPECT_TRUE(lastLine);  // the entry at 120 has nothing after it
  ASSERT_EQ(positions.totalElements, 6 + 20);
  EXPECT_EQ(static_cast<NumberItem*>(positions.get(0))->number, 104);
  EXPECT_EQ(static_cast<NumberItem*>(positions.get(5))->number, 109);
  EXPECT_EQ(static_cast<NumberItem*>(positions.get(6))->number, 120);
  EXPECT_EQ(static_cast<NumberItem*>(positions.get(25))->number, 139);
  EXPECT_TRUE(db.lineNumberToPosition(calc, 1, 11, nullptr, nullptr));
  EXPECT_FALSE(db.lineNumberToPosition(calc, 1, 13, nullptr, nullptr));

  SourcePosIdentifier where;
  ASSERT_EQ(db.mapPositionToSource(calc, "sub", 207, &where), kNoError);
  EXPECT_STREQ(where.relativePath, "calc.w");
  EXPECT_EQ(where.startOffset, 22);
  delete[] where.relativePath;

  SourcePosIdentifier wanted;
  wanted.relativePath = const_cast<char*>("/work/src/calc.w");
  wanted.startOffset = 22;
  RecordIdentifier classRec;
  long op = 0;
  List found(kStandardChunkSize, TRUE, EqualCompare);
  ASSERT_TRUE(db.mapSourceToPosition(&wanted, &classRec, &op, &found, &lastLine));
  EXPECT_EQ(classRec.recordNumber, calc.recordNumber);
  EXPECT_EQ(op, 2);
  EXPECT_EQ(found.totalElements, 20);
  EXPECT_EQ(db.lastMatchedSourceClass, calc.recordNumber);
  wanted.startOffset = 13;
  EXPECT_FALSE(db.mapSourceToPosition(&wanted, &classRec, &op, nullptr, nullptr));

  short lines[16];
  ASSERT_EQ(db.buildLineNumberArray("calc.w", lines, 16), kNoError);
  std::vector<short> marked(lines, lines + 16);
  std::vector<short> expected(16, 0);
  expected[10] = expected[11] = expected[13] = 1;  // 22 and 21 lie beyond the array
  EXPECT_EQ(marked, expected);

  RecordIdentifier plain = makeClass("Plain");
  ASSERT_EQ(db.addOperation(plain, "noop", &first), kNoError);
  EXPECT_EQ(db.positionToLineNumber(plain, 1, 0), -1);
  EXPECT_EQ(db.lastError, kOperationHasNoMap);

  // A line repeated all over a map gives a bounded, sorted answer.
  SourceLoc start = locIn("src/big.w", 1);
  RecordIdentifier big = makeClass("Big", "src/big.w");
  ASSERT_EQ(db.addOperation(big, "run", &start), kNoError);
  // Line 5 three thousand times, written from the highest position down,
  // 1000 positions apart: three million positions unbounded.
  std::vector<PC_MAP> bigMap;
  for (long i = 2999; i >= 0; --i) bigMap.push_back({{1, 5}, 1000 * i});
  ASSERT_EQ(db.addMap(big, "run", bigMap.data(), static_cast<long>(bigMap.size())), kNoError);

  List bounded(kStandardChunkSize, TRUE, EqualCompare);
  bounded.include(new NumberItem(7));  // what the caller held is sorted in
  lastLine = FALSE;
  ASSERT_TRUE(db.lineNumberToPosition(big, 1, 5, &bounded, &lastLine));
  EXPECT_TRUE(lastLine);
  ASSERT_EQ(bounded.totalElements, 65536 + 1);
  long previous = -1;
  for (long i = 0; i < bounded.totalElements; ++i) {
    long number = static_cast<NumberItem*>(bounded.get(i))->number;
    ASSERT_LE(previous, number) << "at " << i;
    previous = number;
  }
  // The lowest positions are kept: 0 to 65535, with the caller's 7 twice.
  EXPECT_EQ(static_cast<NumberItem*>(bounded.get(0))->number, 0);
  EXPECT_EQ(static_cast<NumberItem*>(bounded.get(8))->number, 7);
  EXPECT_EQ(static_cast<NumberItem*>(bounded.get(65536))->number, 65535);
}

// symdump prints what a symbol file holds.
TEST_F(SymbolDbTest, SymdumpPrintsClassesLinksFeaturesAndMaps) {
  SourceLoc loc = locIn("src/shape.w", 4, 9);
  RecordIdentifier shape = makeClass("Shape"), circle;
  ASSERT_EQ(db.newClassRecord("Circle", &loc, 1, 4, &circle), kNoError);
  ASSERT_EQ(db.addDoubleLink(shape, circle), kNoError);
  ASSERT_EQ(db.addOperation(shape, "draw", &loc), kNoError);
  PC_MAP map[2] = {{{1, 5}, 0}, {{1, 6}, 8}};
  ASSERT_EQ(db.addMap(shape, "draw", map, 2), kNoError);
  ASSERT_EQ(db.closeDatabase(), kNoError);
  const std::string tool = owbtest::buildDir() + "/tools/symdump";
  std::string out;
  EXPECT_EQ(owbtest::runShell(tool + " " + path, &out), 0);
  EXPECT_NE(out.find("class Shape (block"), std::string::npos) << out;
  EXPECT_NE(out.find("  subclasses: Circle\n"), std::string::npos) << out;
  EXPECT_NE(out.find("flags 4)\n  source shape.w 4-9\n  flavor: Shape\n"), std::string::npos) << out;
  EXPECT_NE(out.find("  operation draw\n    source shape.w 4-9\n    map: 0->5 8->6\n"), std::string::npos) << out;
  EXPECT_NE(out.find("2 classes\n"), std::string::npos) << out;
  EXPECT_NE(owbtest::runShell(tool + " " + dir.file("missing.sym") + " 2>/dev/null", nullptr), 0);
}

}  // namespace
