// The file manager calls against real files in a temporary directory.
#include "toolkit/fmgr.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "tests/testsupport.h"

namespace {

void touch(const std::string& path) { owbtest::writeWholeFile(path, "x"); }

TEST(FmgrTest, NodeTypesFollowLinksAndNameNothingWhenMissing) {
  owbtest::TempDir dir;
  touch(dir.file("plain"));
  mkdir(dir.file("sub").c_str(), 0755);
  symlink("plain", dir.file("tofile").c_str());
  symlink("sub", dir.file("todir").c_str());
  symlink("nowhere", dir.file("dangling").c_str());
  mkfifo(dir.file("pipe").c_str(), 0644);

  for (auto [name, type] : {std::pair<const char*, Int>{"plain", FMGR_NODEFILE}, {"sub", FMGR_NODEDIR},
                             {"tofile", FMGR_NODEFILE}, {"todir", FMGR_NODEDIR}, {"dangling", FMGR_NODENONE},
                             {"pipe", FMGR_NODEOTHER}, {"missing", FMGR_NODENONE}})
    EXPECT_EQ(type, FMGR_GetNodeType(dir.file(name).c_str())) << name;
  EXPECT_EQ(FMGR_NODENONE, FMGR_GetNodeType(""));
  EXPECT_EQ(FMGR_NODENONE, FMGR_GetNodeType(nullptr));
  EXPECT_EQ(FMGR_NODEDIR, FMGR_GetNodeType("/"));
}

struct Walk {
  std::vector<std::string> names;
  std::string directory;
  size_t stopAfter = 1000;
};

Int record(const char* directoryName, const char* fileName, ClientPtr data) {
  Walk* walk = static_cast<Walk*>(data);
  walk->directory = directoryName;
  walk->names.push_back(fileName);
  return walk->names.size() >= walk->stopAfter ? PERF_STOP : PERF_CONTINUE;
}

TEST(FmgrTest, DirectoryWalkIsSortedSkipsDotsAndStops) {
  owbtest::TempDir dir;
  touch(dir.file("b"));
  touch(dir.file("a"));
  touch(dir.file("line\nbreak"));
  mkdir(dir.file("C").c_str(), 0755);

  Walk all;
  EXPECT_EQ(4, FMGR_PerfDirFiles(dir.path().c_str(), record, &all));
  EXPECT_EQ((std::vector<std::string>{"C", "a", "b", "line\nbreak"}), all.names);
  EXPECT_EQ(dir.path(), all.directory);

  Walk two;
  two.stopAfter = 2;
  EXPECT_EQ(2, FMGR_PerfDirFiles(dir.path().c_str(), record, &two));
  EXPECT_EQ(2u, two.names.size());

  Walk none;
  EXPECT_EQ(-1, FMGR_PerfDirFiles(dir.file("a").c_str(), record, &none));
  EXPECT_EQ(-1, FMGR_PerfDirFiles(dir.file("missing").c_str(), record, &none));
  EXPECT_TRUE(none.names.empty());

  owbtest::TempDir empty;
  EXPECT_EQ(0, FMGR_PerfDirFiles(empty.path().c_str(), record, &none));
}

// The walk reads the names first, so a procedure that removes entries
// still sees each name once.
Int removeAll(const char* directoryName, const char* fileName, ClientPtr data) {
  std::string path = std::string(directoryName) + "/" + fileName;
  unlink(path.c_str());
  (*static_cast<int*>(data))++;
  return PERF_CONTINUE;
}

TEST(FmgrTest, ProcedureMayChangeTheDirectoryItWalks) {
  owbtest::TempDir dir;
  for (int i = 0; i < 50; i++) touch(dir.file("f" + std::to_string(i)));
  int calls = 0;
  EXPECT_EQ(50, FMGR_PerfDirFiles(dir.path().c_str(), removeAll, &calls));
  EXPECT_EQ(50, calls);
  Walk after;
  EXPECT_EQ(0, FMGR_PerfDirFiles(dir.path().c_str(), record, &after));
}

TEST(FmgrTest, TopDirectory) {
  for (const char* top : {"/", "//", "/.", "/..", "/./", "/../.."}) EXPECT_TRUE(FNAME_QueryTopDir(top)) << top;
  for (const char* other : {"", "tmp", "/tmp", "/.x", "/..x", "./", "/tmp/.."}) EXPECT_FALSE(FNAME_QueryTopDir(other)) << other;
  EXPECT_FALSE(FNAME_QueryTopDir(nullptr));
}

TEST(FmgrTest, CreateDirMakesOneLevelAndReportsWhatExists) {
  owbtest::TempDir dir;
  EXPECT_TRUE(FMGR_CreateDir(dir.file("new").c_str(), 0775));
  EXPECT_EQ(FMGR_NODEDIR, FMGR_GetNodeType(dir.file("new").c_str()));
  EXPECT_TRUE(FMGR_CreateDir(dir.file("new").c_str(), 0775));  // already there
  touch(dir.file("file"));
  EXPECT_FALSE(FMGR_CreateDir(dir.file("file").c_str(), 0775));
  EXPECT_FALSE(FMGR_CreateDir(dir.file("no/such/parent").c_str(), 0775));
}

}  // namespace
