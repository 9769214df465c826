// symdump prints what a symbol file holds.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "symbols/symboldb.h"
#include "shared/utils.h"
#include "testsupport.h"

namespace {

TEST(SymDump, PrintsClassesLinksFeaturesAndMaps) {
  const std::string tool = owbtest::buildDir() + "/tools/symdump";
  ASSERT_TRUE(fileExists(tool.c_str())) << tool;
  owbtest::TempDir dir;
  std::string path = dir.file("dump.sym");
  {
    SymbolDatabase db;
    ASSERT_EQ(db.createDatabase(path.c_str()), kNoError);
    ASSERT_EQ(db.openDatabase(path.c_str(), kReadWriteAccess), kNoError);
    SourceLoc loc;
    loc.sourcePosIdent.relativePath = const_cast<char*>("src/shape.w");
    loc.sourcePosIdent.startOffset = 4;
    loc.sourcePosIdent.endOffset = 9;
    RecordIdentifier shape, circle;
    ASSERT_EQ(db.newClassRecord("Shape", &loc, 1, 0, &shape), kNoError);
    ASSERT_EQ(db.newClassRecord("Circle", &loc, 1, 4, &circle), kNoError);
    ASSERT_EQ(db.addDoubleLink(shape, circle), kNoError);
    ASSERT_EQ(db.addOperation(shape, "draw", &loc), kNoError);
    PC_MAP map[2] = {{{1, 5}, 0}, {{1, 6}, 8}};
    ASSERT_EQ(db.addMap(shape, "draw", map, 2), kNoError);
  }
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
