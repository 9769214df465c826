// The symbol database: what the Wandercode compiler knows about a program,
// kept in a block database file of type SYMB, version 4.
//
// Classes with names and source locations, superclass and subclass links,
// each class's attributes, operations and properties, the source and
// documentation file names these refer to, and per operation a map from
// code positions to source lines.  Readers browse classes as a tree, search
// them by wild card and translate between source lines and code positions.
// Block and field layouts are in docs/block-database.md.
//
// Contracts:
// - Every operation leaves its outcome in lastError; nothing raises an alert.
// - Names are compared on their first 63 characters; name buffers passed in
//   for results hold kSymbolNameSize bytes.
// - SourceLoc paths handed out are new[] strings owned by the caller
//   (disposeSourceLoc frees them); getMap gives a new[] array.
// - Opened for writing, classes count and number in block order; opened for
//   reading, in name order through the sorted class list that
//   createSortedClassLists writes.
#ifndef OWB_SYMBOLS_SYMBOLDB_H
#define OWB_SYMBOLS_SYMBOLDB_H

#include <cstddef>
#include <string>
#include <vector>

#include "owbtypes.h"
#include "shared/database.h"
#include "shared/errors.h"
#include "shared/list.h"

class WildCardString;

constexpr TypeIdent kSymbolFileType = makeTypeIdent("SYMB");
constexpr short kSymbolFileVersion = 4;

constexpr TypeIdent kSourceFileListType = makeTypeIdent("FILE");
constexpr TypeIdent kDocFileListType = makeTypeIdent("DOCF");
constexpr TypeIdent kClassBlockType = makeTypeIdent("CLAS");
constexpr TypeIdent kFeatureListType = makeTypeIdent("LIST");
constexpr TypeIdent kMapBlockType = makeTypeIdent("MAP ");
constexpr TypeIdent kFileInfoBlockType = makeTypeIdent("FIBK");
constexpr TypeIdent kRootListType = makeTypeIdent("ROOT");
constexpr TypeIdent kClassListType = makeTypeIdent("CLIS");

enum : ErrorCode {
  kClassNotFound = -601,
  kWrongSymbolVersion = -602,
  kOperationHasNoMap = -606,
  kNoLineForPosition = -607,
  kNoNamingInfo = -610,
};

// Fields of a class block; the three list fields double as list types.
enum : long {
  kClassNameField = 1,
  kAttributeList = 2,
  kOperationList = 3,
  kPropertyList = 4,
  kFlavorField = 5,
  kSuperclassField = 6,
  kSubclassField = 7,
  kSourceLocField = 8,
  kTimeStampField = 9,
  kDocFileField = 10,
  kClassFlagsField = 11,
  kInterfaceOnlyField = 12,
  kInterfaceNameField = 13,
  kSeriesNameField = 14,
  kImplementationNameField = 15,
};

// findNextClass: what is compared with the pattern.
enum : long { kSearchAttributes = 0, kSearchClassNames = 1, kSearchOperations = 2,
              kSearchProperties = 3 };

constexpr long kSymbolNameSize = 64;
constexpr long kMaxTreeDepth = 32;
constexpr long kClassHashEntries = 16383;  // 65532 bytes of 4-byte entries
// The flag of a class brought in by mergeInClasses.
constexpr long kMergedClassFlag = 2;

struct RecordIdentifier {
  long recordNumber = 0;  // a block number; 0 for none
};

struct T_LOC {
  short file = 0;
  short line = 0;
};

struct PC_MAP {
  T_LOC loc;
  long pc = 0;
};

struct SourcePosIdentifier {
  char* relativePath = nullptr;
  long startOffset = 0;
  long endOffset = 0;
};

struct SourceLoc {
  SourcePosIdentifier sourcePosIdent;
  SourcePosIdentifier interfacePosIdent;
};

// Frees the paths of a SourceLoc handed out by the database.
void disposeSourceLoc(SourceLoc* loc);

class SymbolDatabase : public Database, public HasErrorReporting, public Item {
 public:
  SymbolDatabase();
  ~SymbolDatabase() override;

  void dumpBlockStats(long numberOfEntries, std::ofstream* stream) override;

  // Lifecycle.
  ErrorCode createDatabase(const char* pathname);
  ErrorCode openDatabase(const char* pathname, long fileAccessType);
  ErrorCode closeDatabase();
  static Boolean validSymbolFile(const char* pathname);
  Boolean fileWithinDatabase(const char* relativePath);

  // Writing.
  ErrorCode newClassRecord(const char* name, const SourceLoc* sourceLoc, long timeStamp,
                           long classFlags, RecordIdentifier* classRec);
  ErrorCode addAttribute(RecordIdentifier classRec, const char* name, const SourceLoc* sourceLoc);
  ErrorCode addOperation(RecordIdentifier classRec, const char* name, const SourceLoc* sourceLoc);
  ErrorCode addProperty(RecordIdentifier classRec, const char* name, const SourceLoc* sourceLoc);
  // mapLength counts entries.
  ErrorCode addMap(RecordIdentifier classRec, const char* operationName, const PC_MAP* mapPtr,
                   long mapLength);
  ErrorCode addDoubleLink(RecordIdentifier superclassRec, RecordIdentifier subclassRec);
  ErrorCode setClassNamingInfo(RecordIdentifier classRec, Boolean interfaceOnly,
                               const char* interfaceName, long interfaceSize,
                               const char* seriesName, long seriesSize,
                               const char* implementationName, long implementationSize);
  ErrorCode setFileCompileTime(const char* fileName);
  ErrorCode setDocumentationFileName(RecordIdentifier classRec, const char* fileName);
  ErrorCode removeOldClassesForFile(const char* fileName, long earliestValidTime);
  ErrorCode deleteClassRecord(RecordIdentifier classRec);
  ErrorCode createSortedClassLists();
  ErrorCode mergeInClasses(SymbolDatabase* sourceSym);

  // Reading classes.
  long countClasses();
  ErrorCode getNthClass(long number, RecordIdentifier* classRec);
  ErrorCode getClassByName(const char* name, RecordIdentifier* classRec);
  ErrorCode getClassName(RecordIdentifier classRec, char* className);
  ErrorCode getClassFlags(RecordIdentifier classRec, long* classFlags);
  ErrorCode setClassFlags(RecordIdentifier classRec, long classFlags);
  ErrorCode getClassSourceLoc(RecordIdentifier classRec, SourceLoc* sourceLoc);
  Boolean classHasSource(RecordIdentifier classRec);
  // The name of the class's source file.
  ErrorCode getClassSource(RecordIdentifier classRec, char* fileName, size_t size);
  ErrorCode getFlavor(RecordIdentifier classRec, RecordIdentifier* flavor);
  Boolean classHasInterfaceOnly(RecordIdentifier classRec);
  ErrorCode getClassInterfaceName(RecordIdentifier classRec, char* name, size_t size);
  ErrorCode getClassSeriesName(RecordIdentifier classRec, char* name, size_t size);
  ErrorCode getClassImplementationName(RecordIdentifier classRec, char* name, size_t size);

  // Reading features, numbered from 1.
  long countAttributes(RecordIdentifier classRec);
  ErrorCode getNthAttributeName(RecordIdentifier classRec, long n, char* name);
  ErrorCode getNthAttributeSource(RecordIdentifier classRec, long n, SourceLoc* sourceLoc);
  long countOperations(RecordIdentifier classRec);
  ErrorCode getNthOperationName(RecordIdentifier classRec, long n, char* name);
  ErrorCode getNthOperationSource(RecordIdentifier classRec, long n, SourceLoc* sourceLoc);
  long countProperties(RecordIdentifier classRec);
  ErrorCode getNthPropertyName(RecordIdentifier classRec, long n, char* name);
  ErrorCode getNthPropertySource(RecordIdentifier classRec, long n, SourceLoc* sourceLoc);
  // -505 when there is no feature of that name.
  ErrorCode getOperationByName(RecordIdentifier classRec, const char* name, long* operationNumber);
  ErrorCode getAttributeByName(RecordIdentifier classRec, const char* name, long* attributeNumber);

  // Links, other files and naming.
  long countSubclasses(RecordIdentifier classRec);
  ErrorCode getNthSubclass(RecordIdentifier classRec, long n, RecordIdentifier* subclassRec);
  long countSuperclasses(RecordIdentifier classRec);
  ErrorCode getNthSuperclass(RecordIdentifier classRec, long n, RecordIdentifier* superclassRec);
  ErrorCode getFileCompileTime(const char* fileName, long* time);
  // "" when the class has none.
  ErrorCode getDocumentationFileName(RecordIdentifier classRec, char* fileName, size_t size);
  ErrorCode mapClassNameToInterfaceName(const char* className, char* name, size_t size);
  ErrorCode mapClassNameToSeriesName(const char* className, char* name, size_t size);
  ErrorCode mapClassNameToImplementationName(const char* className, char* name, size_t size);
  ErrorCode mapInterfaceNameToClass(const char* name, RecordIdentifier* classRec);
  ErrorCode mapSeriesNameToClass(const char* name, RecordIdentifier* classRec);
  ErrorCode mapImplementationNameToClass(const char* name, RecordIdentifier* classRec);

  // Position maps.  *mapPtr is new[], *mapLength counts entries.
  ErrorCode getMap(RecordIdentifier classRec, long operationNumber, PC_MAP** mapPtr,
                   long* mapLength);
  // -1 without a map.
  long positionToLineNumber(RecordIdentifier classRec, long operationNumber, long position);
  // lowPositions (may be null) receives NumberItems, ascending.
  Boolean lineNumberToPosition(RecordIdentifier classRec, long operationNumber, long lineNumber,
                               List* lowPositions, Boolean* lastLineInMethod);
  // Fills sourcePos with the operation's source file (new[]) and the line in
  // both offsets.
  ErrorCode mapPositionToSource(RecordIdentifier classRec, const char* opName, long position,
                                SourcePosIdentifier* sourcePos);
  // sourcePos->startOffset holds the wanted line.
  Boolean mapSourceToPosition(const SourcePosIdentifier* sourcePos, RecordIdentifier* classRec,
                              long* opNumber, List* lowPositions, Boolean* lastLineInMethod);
  // Marks with 1 each element line - 1 of firstPosition (numElements shorts)
  // for which an operation of the file has code.
  ErrorCode buildLineNumberArray(const char* pathname, short* firstPosition, long numElements);

  // Tree cursor.
  Boolean goStartRootClass(Boolean forward);
  Boolean goNextClass(Boolean forward);
  Boolean goStartClass(Boolean forward);
  Boolean goNextSibling();
  Boolean goPrevSibling();
  Boolean goChild(Boolean forward);
  Boolean goParent();
  void resetSearchPosition();
  // foundClassRec receives the path from a root (kMaxTreeDepth entries).
  Boolean findNextClass(const char* matchStr, Boolean findForward, Boolean searchSubclasses,
                        long searchType, RecordIdentifier* foundClassRec, long* treeLength,
                        long* returnFeatureIndex);

  char* dbPathname = nullptr;
  long foundTreePosition = -1;
  long foundFeatureIndex = -1;
  long foundTreeOffsets[kMaxTreeDepth] = {};
  RecordIdentifier foundTreeRecords[kMaxTreeDepth];
  long numberOfClasses = 0;
  long rootClassListBlock = 0;
  long lastMatchedSourceClass = 0;
  Boolean hashTablePopulated = FALSE;
  int32_t* classHashTable = nullptr;
  std::vector<RecordIdentifier> classListBlock;  // the CLIS block, once read

 private:
  // A class location as stored: file field numbers instead of paths.
  struct StoredLoc {
    long sourceFile = 0, sourceStart = 0, sourceEnd = 0;
    long interfaceFile = 0, interfaceStart = 0, interfaceEnd = 0;
  };

  ErrorCode fail(ErrorCode error) { return lastError = error; }
  long readLong(long block, long field);
  ErrorCode writeLong(long block, long field, long value);
  ErrorCode addLong(long block, long value);
  ErrorCode readBlockBytes(long block, std::vector<uint8_t>* bytes);
  ErrorCode readFields(long block, std::vector<std::string>* fields);
  ErrorCode readRecordList(long block, long field, std::vector<long>* records);
  ErrorCode writeRecordList(long block, long field, const std::vector<long>& records);
  ErrorCode readStoredLoc(long block, long field, StoredLoc* loc);
  ErrorCode storeSourceLoc(const SourceLoc* sourceLoc, std::vector<uint8_t>* encoded);
  ErrorCode remapSourceReferences(const StoredLoc& stored, SourceLoc* sourceLoc);
  long addFileToList(TypeIdent fileListType, const char* relativePath);
  long findFileInList(TypeIdent fileListType, const char* fileName);
  ErrorCode fileNameAt(TypeIdent fileListType, long fieldNumber, std::string* name);
  ErrorCode readName(long block, long field, char* name);
  ErrorCode readNamingField(RecordIdentifier classRec, long field, char* name, size_t size);
  ErrorCode mapNameToClass(long field, const char* name, RecordIdentifier* classRec);
  ErrorCode mapClassNameToNamingField(const char* className, long field, char* name,
                                      size_t size);
  void populateHashTable();
  void enterInHashTable(const char* name, long classBlock);
  void forgetDerivedState();

  long listBlockOf(RecordIdentifier classRec, long listType);
  ErrorCode addListItem(RecordIdentifier classRec, long listType, const char* name,
                        const SourceLoc* sourceLoc);
  long countListItems(RecordIdentifier classRec, long listType);
  ErrorCode getNthItemName(RecordIdentifier classRec, long listType, long n, char* name);
  ErrorCode getNthItemSource(RecordIdentifier classRec, long listType, long n,
                             SourceLoc* sourceLoc);
  ErrorCode getItemByName(RecordIdentifier classRec, long listType, const char* name,
                          long* number);

  Boolean alreadyInList(const std::vector<long>& records, long record);
  void unlinkClass(RecordIdentifier classRec);
  void classNameQuickSort(long start, long finish, std::vector<long>* listPtr);
  ErrorCode findOrAddBlock(TypeIdent type, long* block);
  ErrorCode copyClassContents(SymbolDatabase* source, long sourceClass, long newClass);

  ErrorCode loadClassList();
  const std::vector<long>& rootList();
  Boolean goSibling(long step);
  void descendToLast();
  Boolean advanceInTree(Boolean forward);
  Boolean advance(Boolean forward, Boolean searchSubclasses);
  long compareCurrentClass(WildCardString* pattern, long searchType, long startIndex,
                           Boolean forward);
  ErrorCode setOperationMap(RecordIdentifier classRec, long operationNumber, const PC_MAP* mapPtr,
                            long mapLength);
  Boolean tryClassForSource(long classBlock, const char* fileName, long line, List* lowPositions,
                            Boolean* lastLineInMethod, long* opNumber);
  ErrorCode findOperationMap(RecordIdentifier classRec, long operationNumber,
                             std::vector<PC_MAP>* map);

  std::vector<long> rootList_;
  bool rootListLoaded_ = false;
};

#endif  // OWB_SYMBOLS_SYMBOLDB_H
