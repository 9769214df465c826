// Directory and file utilities on real files.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <utime.h>

#include <cstring>

#include "fleet/fileutil.h"
#include "recording_output.h"
#include "testsupport.h"

namespace {

using owbtest::readWholeFile;
using owbtest::RecordingOutput;
using owbtest::TempDir;
using owbtest::writeWholeFile;
typedef RecordingOutput::Entry Entry;

mode_t modeOf(const std::string& path) {
  struct stat info;
  return stat(path.c_str(), &info) == 0 ? (info.st_mode & 0777) : 0;
}

void setModificationTime(const std::string& path, time_t when) {
  struct utimbuf times = {when, when};
  utime(path.c_str(), &times);
}

TEST(FileUtil, CopyFileAndCopyDirCopyContentAndModesAndReportEachFailure) {
  umask(022);
  TempDir tmp;
  RecordingOutput out;
  std::string big(5000, 'x');
  big += "end";
  writeWholeFile(tmp.file("src"), big);
  EXPECT_TRUE(copyFile(tmp.file("src").c_str(), tmp.file("dst").c_str(), 0640));
  EXPECT_EQ(readWholeFile(tmp.file("dst")), big);
  EXPECT_EQ(modeOf(tmp.file("dst")), 0640u);

  EXPECT_FALSE(copyFile(tmp.file("missing").c_str(), tmp.file("d2").c_str(), 0644));
  EXPECT_FALSE(copyFile(tmp.file("src").c_str(), tmp.file("nodir/d3").c_str(), 0644));
  EXPECT_EQ(out.everything(),
            (std::vector<Entry>{{"Cannot Copy File", "Unable to open " + tmp.file("missing") + " to make a copy"},
                                {"Cannot Copy File", "Unable to create or write " + tmp.file("nodir/d3")}}));

  out.clear();
  ASSERT_TRUE(ensureDir(tmp.file("tree/db/deep").c_str()));
  writeWholeFile(tmp.file("tree/run.sh"), "#!/bin/sh\n");
  chmod(tmp.file("tree/run.sh").c_str(), 0750);
  writeWholeFile(tmp.file("tree/db/deep/data"), big);
  EXPECT_TRUE(copyDir(tmp.file("tree").c_str(), tmp.file("copy").c_str()));
  EXPECT_EQ(modeOf(tmp.file("copy/run.sh")), 0750u);
  EXPECT_EQ(readWholeFile(tmp.file("copy/db/deep/data")), big);
  EXPECT_TRUE(out.everything().empty());
  EXPECT_FALSE(copyDir(tmp.file("nothing").c_str(), tmp.file("copy2").c_str()));
  EXPECT_EQ(out.alerts,
            (std::vector<Entry>{{"Cannot Copy Directory", "Failed to open directory " + tmp.file("nothing")}}));
}

TEST(FileUtil, EnsureCopyCopiesOnlyWhenTheTargetIsNotCurrent) {
  TempDir tmp;
  RecordingOutput out;
  ASSERT_TRUE(ensureDir(tmp.file("src/sub").c_str()));
  ASSERT_TRUE(ensureDir(tmp.file("dst").c_str()));
  std::string source = tmp.file("src/sub/f.cfg");
  std::string target = tmp.file("dst/f.cfg");

  writeWholeFile(source, "new!");
  writeWholeFile(target, "old!");
  setModificationTime(source, 1000);
  setModificationTime(target, 2000);
  EXPECT_TRUE(ensureCopy(tmp.file("dst").c_str(), tmp.file("src").c_str(), "sub/f.cfg", 0644));
  EXPECT_EQ(readWholeFile(target), "old!");  // older source, same size: current

  writeWholeFile(target, "older and longer");
  setModificationTime(target, 2000);
  EXPECT_TRUE(ensureCopy(tmp.file("dst").c_str(), tmp.file("src").c_str(), "sub/f.cfg", 0644));
  EXPECT_EQ(readWholeFile(target), "new!");  // different size: copied again

  setModificationTime(source, 3000);
  writeWholeFile(target, "xxxx");
  setModificationTime(target, 2000);
  EXPECT_TRUE(ensureCopy(tmp.file("dst").c_str(), tmp.file("src").c_str(), "sub/f.cfg", 0644));
  EXPECT_EQ(readWholeFile(target), "new!");  // newer source: copied
  EXPECT_TRUE(out.everything().empty());

  // No target and no source: true, after the copy's own alert.
  EXPECT_TRUE(ensureCopy(tmp.file("dst").c_str(), tmp.file("src").c_str(), "sub/gone.cfg", 0644));
  EXPECT_FALSE(testIfFileExists(tmp.file("dst/gone.cfg").c_str()));
  writeWholeFile(tmp.file("dst/gone.cfg"), "stale");
  EXPECT_FALSE(ensureCopy(tmp.file("dst").c_str(), tmp.file("src").c_str(), "sub/gone.cfg", 0644));
  EXPECT_EQ(out.everything(),
            (std::vector<Entry>{
                {"Cannot Copy File", "Unable to open " + tmp.file("src/sub/gone.cfg") + " to make a copy"},
                {"Cannot Copy File", "Cannot find the source file " + tmp.file("src/sub/gone.cfg") + "\n"}}));
}

// ensureDir makes missing parents and refuses a file; removeDir takes a
// tree and is quiet about a missing one; moveDir replaces the destination,
// but not by itself.
TEST(FileUtil, DirectoriesAreEnsuredRemovedAndMoved) {
  TempDir tmp;
  RecordingOutput out;
  std::string nested = tmp.file("a/b/c");
  EXPECT_TRUE(ensureDir(nested.c_str()));
  EXPECT_TRUE(dirExists(nested.c_str()));
  EXPECT_TRUE(ensureDir(nested.c_str()));  // already there

  writeWholeFile(tmp.file("plain"), "keep");
  EXPECT_FALSE(ensureDir(tmp.file("plain").c_str()));
  EXPECT_EQ(readWholeFile(tmp.file("plain")), "keep");
  EXPECT_FALSE(createDir(tmp.file("plain/sub").c_str()));
  EXPECT_EQ(out.everything(),
            (std::vector<Entry>{{"Cannot Make Directory", tmp.file("plain") + " exists and is not a directory"},
                                {"Cannot Make Directory", tmp.file("plain") + " exists and is not a directory"},
                                {"Cannot Make Directory", "Failed to create directory " + tmp.file("plain/sub")}}));

  EXPECT_TRUE(testIfFileExists(tmp.file("plain").c_str()));
  EXPECT_FALSE(testIfFileExists(tmp.file("a").c_str()));
  EXPECT_FALSE(dirExists(tmp.file("plain").c_str()));
  EXPECT_EQ(out.everything().size(), 3u);  // the tests themselves are silent

  out.clear();
  ASSERT_TRUE(ensureDir(tmp.file("tree/x/y").c_str()));
  writeWholeFile(tmp.file("tree/f"), "1");
  writeWholeFile(tmp.file("tree/x/y/g"), "2");
  ASSERT_EQ(symlink(tmp.file("tree/f").c_str(), tmp.file("tree/x/link").c_str()), 0);
  EXPECT_TRUE(removeDir(tmp.file("tree").c_str()));
  EXPECT_FALSE(dirExists(tmp.file("tree").c_str()));
  EXPECT_TRUE(removeDir(tmp.file("tree").c_str()));
  EXPECT_TRUE(out.everything().empty());

  EXPECT_FALSE(removeDir(tmp.file("plain").c_str()));
  EXPECT_EQ(out.alerts, (std::vector<Entry>{{"Failed to Remove Directory", tmp.file("plain")}}));

  out.clear();
  ASSERT_TRUE(ensureDir(tmp.file("a").c_str()));
  writeWholeFile(tmp.file("a/f"), "from a");
  ASSERT_TRUE(ensureDir(tmp.file("b").c_str()));
  writeWholeFile(tmp.file("b/old"), "old");
  EXPECT_TRUE(moveDir(tmp.file("a").c_str(), tmp.file("b").c_str()));
  EXPECT_EQ(readWholeFile(tmp.file("b/f")), "from a");
  EXPECT_FALSE(testIfFileExists(tmp.file("b/old").c_str()));
  EXPECT_FALSE(dirExists(tmp.file("a").c_str()));

  EXPECT_FALSE(moveDir(tmp.file("b").c_str(), tmp.file("b").c_str()));
  EXPECT_EQ(out.everything(), (std::vector<Entry>{{"Cannot Move Directory", "The destination is the same as the source (" +
                                                                                 tmp.file("b") + ")"}}));
  // Two spellings of one path: the destination, which is the source, goes.
  EXPECT_FALSE(moveDir(tmp.file("b").c_str(), (tmp.path() + "/./b").c_str()));
  EXPECT_FALSE(dirExists(tmp.file("b").c_str()));
}

TEST(FileUtil, ReadALineAndPadWithDirStayInTheirBuffers) {
  TempDir tmp;
  writeWholeFile(tmp.file("lines"), "plain\r\nsecond\n" + std::string(10, 'z') + "\nmid\rdle");
  FILE* file = std::fopen(tmp.file("lines").c_str(), "r");
  ASSERT_NE(file, nullptr);
  char line[8];
  std::vector<std::string> got;
  while (readALine(line, sizeof line, file)) got.push_back(line);
  std::fclose(file);
  // A line longer than the buffer comes in pieces; the carriage return in
  // the middle of the last line cuts it.
  EXPECT_EQ(got, (std::vector<std::string>{"plain", "second", "zzzzzzz", "zzz", "mid"}));

  // padWithDir prefixes only relative names, and stays in its buffer.
  char name[16] = "eng1.pid";
  padWithDir(name, "/f", sizeof name);
  EXPECT_STREQ(name, "/f/eng1.pid");
  padWithDir(name, "/other", sizeof name);
  EXPECT_STREQ(name, "/f/eng1.pid");
  char small[16] = "abcdef";
  padWithDir(small, "/a/long/directory", sizeof small);
  EXPECT_STREQ(small, "/a/long/directo");
}

TEST(FileUtil, StartUpSetsTheDirectoriesAndTheHost) {
  RecordingOutput out;
  {
    owbtest::ScopedEnv unset("OWB", std::nullopt);
    EXPECT_FALSE(setOWKInstallDir(nullptr));
    EXPECT_EQ(out.fatals,
              (std::vector<Entry>{{"ERROR", "Please set the environment variable OWB to be the directory containing "
                                            "the OWB's bin directory."}}));
  }
  {
    owbtest::ScopedEnv set("OWB", std::string("/opt/owb"));
    EXPECT_TRUE(setOWKInstallDir(nullptr));
    EXPECT_STREQ(OWKInstallDir, "/opt/owb");
    char cwd[1024];
    ASSERT_NE(getcwd(cwd, sizeof cwd), nullptr);
    EXPECT_STREQ(ThisCurrentDir, cwd);
  }
  EXPECT_TRUE(setHostIP());
  EXPECT_NE(ThisHostName[0], '\0');
  unsigned a, b, c, d;
  EXPECT_EQ(std::sscanf(ThisHostIP, "%u.%u.%u.%u", &a, &b, &c, &d), 4) << ThisHostIP;
  EXPECT_EQ(out.notes, (std::vector<Entry>{{"Current Directory", ThisCurrentDir},
                                           {"OWK Installation Directory", "/opt/owb"},
                                           {"This host's name", ThisHostName},
                                           {"This host's IP address", ThisHostIP}}));
}

}  // namespace
