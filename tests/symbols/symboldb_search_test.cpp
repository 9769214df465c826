// The symbol database's tree cursor, wild-card search and merging.
#include "symbols/symboldb.h"

#include <gtest/gtest.h>

#include "testsupport.h"

namespace {

class SymbolSearchTest : public ::testing::Test {
 protected:
  owbtest::TempDir dir;
  std::string path = dir.file("tree.sym");
  SymbolDatabase db;

  // Animal { Bird { Eagle }, Cat }, Plant; Animal has features.
  void SetUp() override {
    ASSERT_EQ(db.createDatabase(path.c_str()), kNoError);
    ASSERT_EQ(db.openDatabase(path.c_str(), kReadWriteAccess), kNoError);
    for (const char* name : {"Plant", "Cat", "Eagle", "Animal", "Bird"}) make(name);
    link("Animal", "Cat");
    link("Animal", "Bird");
    link("Bird", "Eagle");
    RecordIdentifier animal = rec("Animal");
    SourceLoc loc;
    for (const char* operation : {"eat", "sleep", "eatMore"}) db.addOperation(animal, operation, &loc);
    db.addAttribute(rec("Cat"), "eats", &loc);
    ASSERT_EQ(db.createSortedClassLists(), kNoError);
  }
  void make(const char* name) {
    SourceLoc loc;
    RecordIdentifier r;
    ASSERT_EQ(db.newClassRecord(name, &loc, 1, 0, &r), kNoError);
  }
  RecordIdentifier rec(const char* name) {
    RecordIdentifier r;
    EXPECT_EQ(db.getClassByName(name, &r), kNoError);
    return r;
  }
  void link(const char* super, const char* sub) {
    ASSERT_EQ(db.addDoubleLink(rec(super), rec(sub)), kNoError);
  }
  std::string name(RecordIdentifier r) {
    char text[kSymbolNameSize];
    db.getClassName(r, text);
    return text;
  }
  std::string here() { return name(db.foundTreeRecords[db.foundTreePosition]); }

  // The next match of pattern; the path to it in path_[0 .. length_ - 1].
  bool find(const char* pattern, Boolean forward = TRUE, Boolean subclasses = TRUE,
            long kind = kSearchClassNames) {
    return db.findNextClass(pattern, forward, subclasses, kind, path_, &length_, &feature_);
  }
  // Every class a search for "*" visits, as "name/depth".
  std::vector<std::string> walk(Boolean forward, Boolean subclasses) {
    std::vector<std::string> seen;
    db.resetSearchPosition();
    while (find("*", forward, subclasses)) seen.push_back(name(path_[length_ - 1]) + "/" + std::to_string(length_));
    return seen;
  }
  RecordIdentifier path_[kMaxTreeDepth];
  long length_ = 0, feature_ = 0;
};

// The search moves the tree cursor: depth first from the roots, forward or
// backward, or flat through the classes in block order (a writer's order).
TEST_F(SymbolSearchTest, SearchWalksDepthFirstBothWaysOrFlat) {
  std::vector<std::string> forward = walk(TRUE, TRUE);
  EXPECT_EQ(forward, (std::vector<std::string>{"Animal/1", "Bird/2", "Eagle/3", "Cat/2", "Plant/1"}));
  std::vector<std::string> backward = walk(FALSE, TRUE);
  EXPECT_EQ(backward, (std::vector<std::string>{"Plant/1", "Cat/2", "Eagle/3", "Bird/2", "Animal/1"}));
  EXPECT_EQ(walk(TRUE, FALSE), (std::vector<std::string>{"Plant/1", "Cat/1", "Eagle/1", "Animal/1", "Bird/1"}));
  EXPECT_EQ(walk(FALSE, FALSE), (std::vector<std::string>{"Bird/1", "Animal/1", "Eagle/1", "Cat/1", "Plant/1"}));
  EXPECT_EQ(db.foundTreePosition, -1);  // reset when nothing is left
  EXPECT_FALSE(db.goChild(TRUE));       // so the cursor stands nowhere

  db.resetSearchPosition();
  ASSERT_TRUE(find("E*"));
  ASSERT_EQ(length_, 3);
  EXPECT_EQ(name(path_[0]) + "/" + name(path_[1]) + "/" + name(path_[2]), "Animal/Bird/Eagle");
  EXPECT_FALSE(find("E*"));

  // A feature search resumes inside the class it found.
  db.resetSearchPosition();
  ASSERT_TRUE(find("eat*", TRUE, TRUE, kSearchOperations));
  EXPECT_EQ(name(path_[0]), "Animal");
  EXPECT_EQ(feature_, 1);
  ASSERT_TRUE(find("eat*", TRUE, TRUE, kSearchOperations));
  EXPECT_EQ(feature_, 3);
  EXPECT_FALSE(find("eat*", TRUE, TRUE, kSearchOperations));

  db.resetSearchPosition();
  ASSERT_TRUE(find("eat?", TRUE, FALSE, kSearchAttributes));
  EXPECT_EQ(name(path_[0]), "Cat");
  EXPECT_EQ(length_, 1);
}

TEST_F(SymbolSearchTest, SharedSubclassesAreVisitedPerPathButCannotMakeASearchEndless) {
  // Eagle under both Bird and Cat: the walk meets it on each path.
  link("Cat", "Eagle");
  EXPECT_EQ(walk(TRUE, TRUE),
            (std::vector<std::string>{"Animal/1", "Bird/2", "Eagle/3", "Cat/2", "Eagle/3", "Plant/1"}));

  // Under Plant, 24 levels of two classes, each linked to both of the next:
  // 2^25 paths.  A search for a missing name gives up instead of walking
  // them all.
  for (int level = 0; level < 24; ++level) {
    for (char side : {'a', 'b'}) make(("L" + std::to_string(level) + side).c_str());
    for (char side : {'a', 'b'}) {
      std::string upper = level == 0 ? "Plant" : "L" + std::to_string(level - 1) + side;
      if (level == 0 && side == 'b') continue;
      for (char below : {'a', 'b'}) link(upper.c_str(), ("L" + std::to_string(level) + below).c_str());
    }
  }
  db.resetSearchPosition();
  EXPECT_FALSE(find("Missing"));
  EXPECT_EQ(db.foundTreePosition, -1);
  ASSERT_TRUE(find("L23?"));
  ASSERT_EQ(length_, 25);
  EXPECT_EQ(name(path_[24]), "L23a");
}

TEST_F(SymbolSearchTest, MergingBringsInMissingClassesWithTheirLinksAndMaps) {
  // The source knows Animal differently and adds Dog under it, with a map.
  std::string otherPath = dir.file("other.sym");
  SymbolDatabase other;
  ASSERT_EQ(other.createDatabase(otherPath.c_str()), kNoError);
  ASSERT_EQ(other.openDatabase(otherPath.c_str(), kReadWriteAccess), kNoError);
  SourceLoc loc;
  loc.sourcePosIdent.relativePath = const_cast<char*>("zoo/dog.w");
  loc.sourcePosIdent.startOffset = 3;
  RecordIdentifier animal, dog, puppy;
  ASSERT_EQ(other.newClassRecord("Animal", &loc, 5, 0, &animal), kNoError);
  ASSERT_EQ(other.newClassRecord("Dog", &loc, 7, 16, &dog), kNoError);
  ASSERT_EQ(other.newClassRecord("Puppy", &loc, 7, 0, &puppy), kNoError);
  ASSERT_EQ(other.addOperation(animal, "roar", &loc), kNoError);
  ASSERT_EQ(other.addOperation(dog, "bark", &loc), kNoError);
  ASSERT_EQ(other.addOperation(dog, "wag", &loc), kNoError);
  ASSERT_EQ(other.addAttribute(dog, "legs", &loc), kNoError);
  PC_MAP map[2] = {{{1, 4}, 10}, {{1, 5}, 16}};
  ASSERT_EQ(other.addMap(dog, "wag", map, 2), kNoError);
  ASSERT_EQ(other.setDocumentationFileName(dog, "dog.html"), kNoError);
  ASSERT_EQ(other.addDoubleLink(animal, dog), kNoError);
  ASSERT_EQ(other.addDoubleLink(dog, puppy), kNoError);
  ASSERT_EQ(other.createSortedClassLists(), kNoError);
  ASSERT_EQ(other.closeDatabase(), kNoError);
  ASSERT_EQ(other.openDatabase(otherPath.c_str(), kReadOnlyAccess), kNoError);

  ASSERT_EQ(db.mergeInClasses(&other), kNoError);
  RecordIdentifier mine = rec("Dog");
  long flags = 0;
  db.getClassFlags(mine, &flags);
  EXPECT_EQ(flags, 16 | kMergedClassFlag);
  EXPECT_EQ(db.countOperations(mine), 2);
  EXPECT_EQ(db.countAttributes(mine), 1);
  EXPECT_EQ(db.positionToLineNumber(mine, 2, 17), 5);
  EXPECT_EQ(db.positionToLineNumber(mine, 1, 17), -1);
  char doc[64];
  db.getDocumentationFileName(mine, doc, sizeof doc);
  EXPECT_STREQ(doc, "dog.html");
  RecordIdentifier r;
  ASSERT_EQ(db.getFlavor(mine, &r), kNoError);
  EXPECT_EQ(name(r), "Animal");
  EXPECT_EQ(db.countSubclasses(rec("Animal")), 3);
  EXPECT_EQ(db.countSubclasses(mine), 1);
  ASSERT_EQ(db.getNthSuperclass(rec("Puppy"), 1, &r), kNoError);
  EXPECT_EQ(name(r), "Dog");
  // Classes present on both sides stay as they were.
  EXPECT_EQ(db.countOperations(rec("Animal")), 3);
  ASSERT_EQ(db.getFlavor(rec("Animal"), &r), kNoError);
  EXPECT_EQ(r.recordNumber, 0);
}

}  // namespace
