// The shared utilities: paths, strings, files and the preferences
// directory; wildcard patterns and lists of them.
#include "shared/utils.h"
#include "shared/wild.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cstring>
#include <memory>
#include <string>

#include "testsupport.h"

namespace {

TEST(PathUtilsTest, PathnameAndFilename) {
  struct Case {
    const char *path, *directory, *file;
  };
  // A single leading slash is kept in the file name.
  for (const Case& c : {Case{"/a/b", "/a", "b"}, Case{"/abc", "", "/abc"}, Case{"/", "", "/"}, Case{"plain", "", "plain"},
                        Case{"dir/", "dir", ""}, Case{"", "", ""}, Case{nullptr, "", ""}}) {
    fileNameType directory = "junk", file = "junk";
    extractPathname(c.path, directory);
    extractFilename(c.path, file);
    EXPECT_STREQ(directory, c.directory) << (c.path ? c.path : "(null)");
    EXPECT_STREQ(file, c.file) << (c.path ? c.path : "(null)");
  }
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
  // The suffix goes from the last dot wherever it stands.
  for (auto [name, want] : {std::pair{"a.b.c", "a.b.d"}, {"fleet", "fleet.d"}, {"/dir.x/fleet", "/dir.d"}}) {
    replaceSuffix(out, name, "d");
    EXPECT_STREQ(out, want);
  }
  // The cut is at the blank whatever character is passed.
  for (auto [text, want] : {std::pair{"a,b c", "a,b"}, {"noblank", "noblank"}}) {
    truncAtChar(out, text, ',');
    EXPECT_STREQ(out, want);
  }

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

  // In "late" the NUL is past the first 256 bytes.
  for (auto [path, isText] :
       {std::pair{text, true}, {binary, false}, {empty, true}, {late, true}, {dir.file("missing"), false}})
    EXPECT_EQ(static_cast<bool>(isTextFile(path.c_str())), isText) << path;
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
  fileNameType path;
  {
    // A file where the directory should be: unusable, but the path is filled.
    owbtest::TempDir blocked;
    owbtest::writeWholeFile(blocked.file(".owb"), "not a directory");
    owbtest::ScopedEnv home("HOME", blocked.path());
    EXPECT_EQ(getValidPreferencesDirectory(path), -1303);
    EXPECT_EQ(std::string(path), blocked.path() + "/.owb/");
  }
  {
    owbtest::ScopedEnv home("HOME", std::nullopt);
    getHomeDirectory(path);
    EXPECT_STREQ(path, "");
    EXPECT_EQ(getValidPreferencesDirectory(path), -1303);
    EXPECT_STREQ(path, ".owb/");
  }
}

bool matches(const char* pattern, const char* subject, Boolean caseSensitive = TRUE) {
  WildCardString wild(pattern, caseSensitive);
  return wild.wildCardStringEqual(subject);
}

TEST(WildCardStringTest, SinglePassMatching) {
  struct Case {
    const char* pattern;
    const char* subject;
    bool expected;
  };
  const Case cases[] = {
      {"*", "", true},         {"*", "anything", true}, {"a?c", "abc", true},
      {"a?c", "ac", false},    {"a?c", "abcd", false},  {"?", "", false},
      {"?", "x", true},        {"a*", "a", true},       {"a*", "abc", true},
      {"*b*", "abc", true},    {"*ab", "abab", false},  {"*ab", "cab", true},
      {"*.c", "a.c", true},    {"*.c", "a.c.c", false}, {"a**b", "a**b", true},
      {"a**b", "axxb", false}, {"a**b", "ab", false},   {"", "", true},
      {"", "a", false},        {"abc", "ab", false},    {"abc", "abc", true},
      {"*?", "*?", true},      {"?*", "x", false},      {"x*?", "xa", false},
      {"x*?", "x*?", true},    {"*a?", "bax", true},    {"*a?", "ba", false},
  };
  for (const Case& c : cases)
    EXPECT_EQ(matches(c.pattern, c.subject), c.expected) << c.pattern << " vs " << c.subject;

  WildCardString nullPattern(nullptr);
  EXPECT_TRUE(nullPattern.matchesAnyChar());
  EXPECT_TRUE(nullPattern.wildCardStringEqual("x"));
  EXPECT_FALSE(nullPattern.wildCardStringEqual(nullptr));

  // Chunks alternate between text and wildcards; case is folded when asked.
  WildCardString wild("Ab*c?", FALSE);
  std::string chunks;
  for (WildChunk* c = wild.firstChunk; c; c = c->getNextChunk()) chunks += std::string(c->strData) + "|";
  EXPECT_EQ(chunks, "ab|*|c|?|");
  EXPECT_TRUE(wild.wildCardStringEqual("ABXXCY"));
  EXPECT_FALSE(matches("Ab*", "abc"));

  // A chunk longer than what is left of the subject must mismatch; run under
  // the address sanitizer, a subject in an exact-size heap block shows any
  // read past its end.
  const char* subjects[] = {"", "a", "ab", "abc"};
  for (const char* s : subjects) {
    std::unique_ptr<char[]> exact(new char[std::strlen(s) + 1]);
    std::memcpy(exact.get(), s, std::strlen(s) + 1);
    EXPECT_FALSE(matches("abcdefgh", exact.get()));
    EXPECT_FALSE(matches("???x", exact.get()));
    EXPECT_FALSE(matches("a??*zz", exact.get()));
  }
}

TEST(WildCardListTest, PatternListsSplitAtSemicolons) {
  WildCardList filter("*.flt;*.cfg", FALSE);
  EXPECT_TRUE(filter.wildCardListEqual("X.FLT"));
  EXPECT_TRUE(filter.wildCardListEqual("a.cfg"));
  EXPECT_FALSE(filter.wildCardListEqual("a.txt"));
  EXPECT_FALSE(filter.matchesAnyCharBool);
  // The last pattern stands first.
  EXPECT_STREQ(static_cast<WildCardString*>(filter.wildList->get(0))->originalString, "*.cfg");

  WildCardList leadingEmpty(";a", TRUE);
  EXPECT_EQ(leadingEmpty.wildList->totalElements, 2);
  EXPECT_TRUE(leadingEmpty.wildCardListEqual(""));
  EXPECT_TRUE(leadingEmpty.wildCardListEqual("a"));
  EXPECT_FALSE(leadingEmpty.wildCardListEqual("b"));

  WildCardList empty("", TRUE);
  EXPECT_FALSE(empty.wildCardListEqual(""));
  WildCardList any("*.c;*", TRUE);
  EXPECT_TRUE(any.matchesAnyCharBool);

  // A pattern longer than the split buffer is cut, not overrun.
  std::string longPattern(1000, 'x');
  WildCardList cut((longPattern + ";y").c_str(), TRUE);
  EXPECT_EQ(std::strlen(static_cast<WildCardString*>(cut.wildList->get(1))->originalString), 255u);
  EXPECT_TRUE(cut.wildCardListEqual("y"));
}

}  // namespace
