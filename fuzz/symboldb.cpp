// Opens any bytes as a symbol file and walks every class: names, links,
// features, locations, maps, the tree and the searches.
#include <cstdint>
#include <cstdio>

#include "fuzzfile.h"
#include "symbols/symboldb.h"

namespace {

void walkClass(SymbolDatabase& db, RecordIdentifier classRec) {
  char name[kSymbolNameSize];
  char text[128];
  db.getClassName(classRec, name);
  long flags = 0;
  db.getClassFlags(classRec, &flags);
  SourceLoc loc;
  db.getClassSourceLoc(classRec, &loc);
  disposeSourceLoc(&loc);
  RecordIdentifier other;
  db.getFlavor(classRec, &other);
  for (long n = 1; n <= 16 && n <= db.countSubclasses(classRec); ++n) db.getNthSubclass(classRec, n, &other);
  for (long n = 1; n <= 16 && n <= db.countSuperclasses(classRec); ++n) db.getNthSuperclass(classRec, n, &other);
  db.classHasInterfaceOnly(classRec);
  db.getClassInterfaceName(classRec, text, sizeof text);
  db.getDocumentationFileName(classRec, text, sizeof text);
  long operations = db.countOperations(classRec);
  for (long n = 1; n <= operations && n <= 16; ++n) {
    db.getNthOperationName(classRec, n, name);
    db.getNthOperationSource(classRec, n, &loc);
    disposeSourceLoc(&loc);
    db.positionToLineNumber(classRec, n, 12);
    List positions(kStandardChunkSize, 1, EqualCompare);
    Boolean last = 0;
    db.lineNumberToPosition(classRec, n, 3, &positions, &last);
  }
  for (long n = 1; n <= db.countAttributes(classRec) && n <= 16; ++n) {
    db.getNthAttributeName(classRec, n, name);
    db.getNthAttributeSource(classRec, n, &loc);
    disposeSourceLoc(&loc);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string path = writeFuzzFile("fuzz_symboldb", data, size);
  if (path.empty()) return 0;
  {
    SymbolDatabase db;
    if (db.openDatabase(path.c_str(), kReadOnlyAccess) == 0) {
      long block = 0;
      for (int i = 0; i < 256 && db.getNextBlockOfType(kClassBlockType, block, &block) == 0; ++i)
        walkClass(db, RecordIdentifier{block});
      long count = db.countClasses();
      for (long n = 1; n <= count && n <= 256; ++n) {
        RecordIdentifier classRec;
        if (db.getNthClass(n, &classRec) == 0) walkClass(db, classRec);
      }
      RecordIdentifier found[kMaxTreeDepth];
      long length = 0, feature = 0;
      for (int i = 0; i < 256 && db.findNextClass("*", 1, 1, kSearchClassNames, found, &length, &feature); ++i) {
      }
      db.resetSearchPosition();
      for (int i = 0; i < 64 && db.findNextClass("*", 0, 0, kSearchOperations, found, &length, &feature); ++i) {
      }
      RecordIdentifier classRec;
      db.getClassByName("Shape", &classRec);
      SourcePosIdentifier where;
      where.relativePath = const_cast<char*>("shape.w");
      where.startOffset = 3;
      long op = 0;
      db.mapSourceToPosition(&where, &classRec, &op, nullptr, nullptr);
      short lines[32];
      db.buildLineNumberArray("shape.w", lines, 32);
    }
  }
  std::remove(path.c_str());
  return 0;
}
