// symdump: prints the classes of a symbol file with their links, features,
// source locations and position maps.
//
//   symdump FILE
#include <cstdio>

#include "symbols/symboldb.h"

namespace {

void printLoc(const char* indent, const SourceLoc& loc) {
  std::printf("%ssource %s %ld-%ld", indent,
              loc.sourcePosIdent.relativePath ? loc.sourcePosIdent.relativePath : "-",
              loc.sourcePosIdent.startOffset, loc.sourcePosIdent.endOffset);
  if (loc.interfacePosIdent.relativePath)
    std::printf(", interface %s %ld-%ld", loc.interfacePosIdent.relativePath,
                loc.interfacePosIdent.startOffset, loc.interfacePosIdent.endOffset);
  std::printf("\n");
}

void printLinks(SymbolDatabase& db, const char* label, RecordIdentifier classRec, bool subclasses) {
  long count = subclasses ? db.countSubclasses(classRec) : db.countSuperclasses(classRec);
  if (count == 0) return;
  std::printf("  %s:", label);
  char name[kSymbolNameSize];
  for (long n = 1; n <= count; ++n) {
    RecordIdentifier other;
    ErrorCode error = subclasses ? db.getNthSubclass(classRec, n, &other)
                                 : db.getNthSuperclass(classRec, n, &other);
    if (error == kNoError && db.getClassName(other, name) == kNoError) std::printf(" %s", name);
  }
  std::printf("\n");
}

void printFeatures(SymbolDatabase& db, RecordIdentifier classRec, const char* label, long count,
                   ErrorCode (SymbolDatabase::*getName)(RecordIdentifier, long, char*),
                   ErrorCode (SymbolDatabase::*getSource)(RecordIdentifier, long, SourceLoc*),
                   bool withMaps) {
  char name[kSymbolNameSize];
  for (long n = 1; n <= count; ++n) {
    if ((db.*getName)(classRec, n, name) != kNoError) break;
    std::printf("  %s %s\n", label, name);
    SourceLoc loc;
    if ((db.*getSource)(classRec, n, &loc) == kNoError) printLoc("    ", loc);
    disposeSourceLoc(&loc);
    if (!withMaps) continue;
    PC_MAP* map = nullptr;
    long length = 0;
    if (db.getMap(classRec, n, &map, &length) == kNoError) {
      std::printf("    map:");
      for (long i = 0; i < length; ++i) std::printf(" %ld->%d", map[i].pc, map[i].loc.line);
      std::printf("\n");
    }
    delete[] map;
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: symdump FILE\n");
    return 2;
  }
  SymbolDatabase db;
  if (db.openDatabase(argv[1], kReadOnlyAccess) != kNoError) {
    std::fprintf(stderr, "symdump: cannot open %s as a symbol file (%d)\n", argv[1],
                 static_cast<int>(db.lastError));
    return 1;
  }
  // Block order always works; the sorted list exists only once written.
  long block = 0;
  long classes = 0;
  char name[kSymbolNameSize];
  while (db.getNextBlockOfType(kClassBlockType, block, &block) == kNoError) {
    RecordIdentifier classRec{block};
    if (db.getClassName(classRec, name) != kNoError) continue;
    ++classes;
    long flags = 0;
    db.getClassFlags(classRec, &flags);
    std::printf("class %s (block %ld, flags %ld)\n", name, block, flags);
    SourceLoc loc;
    if (db.getClassSourceLoc(classRec, &loc) == kNoError) printLoc("  ", loc);
    disposeSourceLoc(&loc);
    RecordIdentifier flavor;
    if (db.getFlavor(classRec, &flavor) == kNoError && flavor.recordNumber &&
        db.getClassName(flavor, name) == kNoError)
      std::printf("  flavor: %s\n", name);
    printLinks(db, "superclasses", classRec, false);
    printLinks(db, "subclasses", classRec, true);
    char text[256];
    if (db.getClassInterfaceName(classRec, text, sizeof text) == kNoError)
      std::printf("  interface name: %s\n", text);
    if (db.getDocumentationFileName(classRec, text, sizeof text) == kNoError && text[0])
      std::printf("  documentation: %s\n", text);
    printFeatures(db, classRec, "attribute", db.countAttributes(classRec),
                  &SymbolDatabase::getNthAttributeName, &SymbolDatabase::getNthAttributeSource, false);
    printFeatures(db, classRec, "operation", db.countOperations(classRec),
                  &SymbolDatabase::getNthOperationName, &SymbolDatabase::getNthOperationSource, true);
    printFeatures(db, classRec, "property", db.countProperties(classRec),
                  &SymbolDatabase::getNthPropertyName, &SymbolDatabase::getNthPropertySource, false);
  }
  std::printf("%ld classes\n", classes);
  return 0;
}
