#include "shared/utils.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cstring>
#include <string>

#include "testsupport.h"

namespace {

std::string pathOf(const char* p) {
  fileNameType out = "junk";
  extractPathname(p, out);
  return out;
}

std::string fileOf(const char* p) {
  fileNameType out = "junk";
  extractFilename(p, out);
  return out;
}

TEST(PathUtilsTest, PathnameAndFilename) {
  EXPECT_EQ(pathOf("/a/b"), "/a");
  EXPECT_EQ(pathOf("/a"), "");
  EXPECT_EQ(pathOf("/"), "");
  EXPECT_EQ(pathOf("name"), "");
  EXPECT_EQ(pathOf("dir/"), "dir");
  EXPECT_EQ(pathOf("/a/b/"), "/a/b");
  EXPECT_EQ(pathOf(""), "");
  EXPECT_EQ(pathOf(nullptr), "");

  EXPECT_EQ(fileOf("/abc"), "/abc");  // a single leading slash is kept
  EXPECT_EQ(fileOf("/a/bc"), "bc");
  EXPECT_EQ(fileOf("a/b/c.flt"), "c.flt");
  EXPECT_EQ(fileOf("/a/b/"), "");
  EXPECT_EQ(fileOf("/"), "/");
  EXPECT_EQ(fileOf("plain"), "plain");
  EXPECT_EQ(fileOf(""), "");
  EXPECT_EQ(fileOf(nullptr), "");
  EXPECT_EQ(findFilenameInPath(""), nullptr);
  EXPECT_EQ(findFilenameInPath(nullptr), nullptr);

  // Results longer than the caller's buffer are cut to fit.
  char small[8];
  extractPathname("/abcdefghijkl/x", small, sizeof small);
  EXPECT_STREQ(small, "/abcdef");
  extractFilename("/d/abcdefghijkl", small, sizeof small);
  EXPECT_STREQ(small, "abcdefg");
}

TEST(StringUtilsTest, SuffixTruncationCaseAndTypes) {
  fileNameType out;
  replaceSuffix(out, "fleet.flt", "bak");
  EXPECT_STREQ(out, "fleet.bak");
  replaceSuffix(out, "a.b.c", "d");
  EXPECT_STREQ(out, "a.b.d");
  replaceSuffix(out, "fleet", "flt");
  EXPECT_STREQ(out, "fleet.flt");
  replaceSuffix(out, "/dir.x/fleet", "flt");  // the last dot wherever it stands
  EXPECT_STREQ(out, "/dir.flt");

  truncAtChar(out, "first second", ',');  // cut at the blank whatever is passed
  EXPECT_STREQ(out, "first");
  truncAtChar(out, "a,b c", ',');
  EXPECT_STREQ(out, "a,b");
  truncAtChar(out, "noblank", ' ');
  EXPECT_STREQ(out, "noblank");

  char text[] = "MiXeD 123 Z";
  makeLowercase(text);
  EXPECT_STREQ(text, "mixed 123 z");
  makeLowercase(nullptr);

  EXPECT_STREQ(TypeIdentToCStr(OWB_TYPE("FLTT")), "FLTT");
  char ident[5];
  StrFromTypeIdent(0x53594D42, ident);
  EXPECT_STREQ(ident, "SYMB");

  char* copy = newStringCopy(nullptr);
  EXPECT_STREQ(copy, "");
  delete[] copy;
  copy = newStringCopy("abc");
  EXPECT_STREQ(copy, "abc");
  delete[] copy;

  char bytes[4] = {1, 2, 3, 4};
  copyBytes("xy", bytes, 0);
  copyBytes("xy", bytes, -3);
  EXPECT_EQ(bytes[0], 1);
  copyBytes("xy", bytes, 2);
  EXPECT_EQ(bytes[1], 'y');
  mybzero(bytes, -1);
  EXPECT_EQ(bytes[3], 4);
  mybzero(bytes, 4);
  EXPECT_EQ(bytes[3], 0);
}

TEST(FileUtilsTest, TextFilesAndWholeFileReads) {
  owbtest::TempDir dir;
  const std::string text = dir.file("text"), binary = dir.file("binary"), empty = dir.file("empty"),
                    late = dir.file("late");
  owbtest::writeWholeFile(text, "line one\nline two");
  owbtest::writeWholeFile(binary, std::string("ab\0cd", 5));
  owbtest::writeWholeFile(empty, "");
  owbtest::writeWholeFile(late, std::string(300, 'x') + std::string(1, '\0'));

  EXPECT_TRUE(isTextFile(text.c_str()));
  EXPECT_FALSE(isTextFile(binary.c_str()));
  EXPECT_TRUE(isTextFile(empty.c_str()));
  EXPECT_TRUE(isTextFile(late.c_str()));  // the NUL is past the first 256 bytes
  EXPECT_FALSE(isTextFile(dir.file("missing").c_str()));
  EXPECT_FALSE(isTextFile(nullptr));

  EXPECT_TRUE(fileExists(text.c_str()));
  EXPECT_FALSE(fileExists(dir.file("missing").c_str()));
  EXPECT_FALSE(fileExists(nullptr));
  EXPECT_EQ(getFileLength(text.c_str()), 17);

  char* whole = readFile(text.c_str());
  ASSERT_NE(whole, nullptr);
  EXPECT_STREQ(whole, "line one\nline two\n");  // the last line gains its newline
  delete[] whole;
  EXPECT_EQ(readFile(empty.c_str()), nullptr);
  EXPECT_EQ(readFile(nullptr), nullptr);
  EXPECT_EQ(readFile(dir.file("missing").c_str()), nullptr);

  // A named pipe with no writer holds none of these up; it exists and,
  // read as empty, is text.
  const std::string pipe = dir.file("pipe");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  EXPECT_TRUE(fileExists(pipe.c_str()));
  EXPECT_TRUE(isTextFile(pipe.c_str()));
  EXPECT_EQ(getFileLength(pipe.c_str()), 0);
  EXPECT_EQ(readFile(pipe.c_str()), nullptr);

  // A line longer than the line limit is read in pieces, and the pieces'
  // added newlines never overrun the size + 2 buffer.
  const std::string longLine(40000, 'q');
  owbtest::writeWholeFile(dir.file("long"), longLine);
  whole = readFile(dir.file("long").c_str());
  ASSERT_NE(whole, nullptr);
  EXPECT_EQ(std::strlen(whole), longLine.size() + 1);
  EXPECT_EQ(std::string(whole, 16384), std::string(16384, 'q'));
  EXPECT_EQ(whole[16384], '\n');
  delete[] whole;
}

TEST(FileUtilsTest, PreferencesDirectory) {
  owbtest::TempDir dir;
  fileNameType path;
  {
    owbtest::ScopedEnv home("HOME", dir.path());
    EXPECT_EQ(getValidPreferencesDirectory(path), 0);
    EXPECT_EQ(std::string(path), dir.path() + "/.owb/");
    struct stat info;
    ASSERT_EQ(stat(path, &info), 0);
    EXPECT_TRUE(S_ISDIR(info.st_mode));
    EXPECT_EQ(getValidPreferencesDirectory(path), 0);  // already there
  }
  {
    // A file where the directory should be: unusable, but the path is filled.
    owbtest::TempDir blocked;
    owbtest::writeWholeFile(blocked.file(".owb"), "not a directory");
    owbtest::ScopedEnv home("HOME", blocked.path());
    EXPECT_EQ(getValidPreferencesDirectory(path), -1303);
    EXPECT_EQ(std::string(path), blocked.path() + "/.owb/");
  }
  {
    owbtest::ScopedEnv home("HOME", dir.file("nowhere"));
    EXPECT_EQ(getValidPreferencesDirectory(path), -1303);
  }
  {
    owbtest::ScopedEnv home("HOME", std::nullopt);
    getHomeDirectory(path);
    EXPECT_STREQ(path, "");
    EXPECT_EQ(getValidPreferencesDirectory(path), -1303);
    EXPECT_STREQ(path, ".owb/");
  }
}

}  // namespace
