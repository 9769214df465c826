#include "shared/wild.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

namespace {

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
}

TEST(WildCardStringTest, ChunksAlternateAndCaseIsFolded) {
  WildCardString wild("Ab*c?", FALSE);
  std::string chunks;
  for (WildChunk* c = wild.firstChunk; c; c = c->getNextChunk()) chunks += std::string(c->strData) + "|";
  EXPECT_EQ(chunks, "ab|*|c|?|");
  EXPECT_STREQ(wild.originalString, "Ab*c?");
  EXPECT_TRUE(wild.wildCardStringEqual("ABXXCY"));
  EXPECT_FALSE(matches("Ab*", "abc"));
}

TEST(WildCardStringTest, ShortSubjectsAreNeverReadPast) {
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
  EXPECT_STREQ(filter.getOriginalString(), "*.flt;*.cfg");
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
