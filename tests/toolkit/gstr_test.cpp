// The gap string and its UTF-8 helpers.
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "toolkit/gstr.h"

namespace {

std::string all(GStrPtr s) {
  std::string out;
  GSTR_CopyRange(s, 0, GSTR_GetLen(s), &out);
  return out;
}

TEST(GStr, EditsAnywhereMatchAPlainStringAndClosingTheGapGivesTheText) {
  GStrPtr s = GSTR_New();
  EXPECT_EQ(GSTR_GetLen(s), 0);
  EXPECT_STREQ(GSTR_2Str(s), "");
  // Random inserts and deletes, compared with std::string, with the gap
  // moving back and forth and the buffer growing past its first room.
  std::mt19937 rng(7);
  std::string model;
  for (int i = 0; i < 2000; i++) {
    Int32 pos = static_cast<Int32>(rng() % (model.size() + 1));
    if (rng() % 3) {
      std::string piece(1 + rng() % 40, static_cast<char>('a' + rng() % 26));
      GSTR_Insert(s, pos, piece.data(), static_cast<Int32>(piece.size()));
      model.insert(static_cast<size_t>(pos), piece);
    } else {
      Int32 n = static_cast<Int32>(rng() % 30);
      GSTR_Delete(s, pos, n);
      model.erase(static_cast<size_t>(pos), static_cast<size_t>(n));
    }
    ASSERT_EQ(GSTR_GetLen(s), static_cast<Int32>(model.size()));
    if (i % 97 == 0) {
      ASSERT_EQ(all(s), model);
    }
  }
  Int32 mid = GSTR_GetLen(s) / 2;
  GSTR_MoveGap(s, mid);
  for (Int32 p : {0, mid - 1, mid, GSTR_GetLen(s) - 1}) {
    EXPECT_EQ(GSTR_At(s, p), model[static_cast<size_t>(p)]);
  }
  EXPECT_EQ(GSTR_At(s, -1), 0);
  EXPECT_EQ(GSTR_At(s, GSTR_GetLen(s)), 0);
  // A range across the gap is copied; one on a side of it is not.
  std::string scratch;
  const char* across = GSTR_Range(s, mid - 3, mid + 3, &scratch);
  EXPECT_EQ(std::string(across, 6), model.substr(static_cast<size_t>(mid - 3), 6));
  EXPECT_EQ(across, scratch.data());
  EXPECT_NE(GSTR_Range(s, 0, 3, &scratch), scratch.data());
  EXPECT_EQ(std::string(GSTR_2Str(s)), model);
  // Positions outside the text are brought into it.
  GSTR_Insert(s, 1 << 30, "!", 1);
  GSTR_Delete(s, -5, 1);
  EXPECT_EQ(std::string(GSTR_2Str(s)), model.substr(1) + "!");
  GSTR_Clear(s);
  EXPECT_EQ(GSTR_GetLen(s), 0);
  EXPECT_STREQ(GSTR_2Str(s), "");
  GSTR_Dispose(s);
}

TEST(GStr, InvalidUtf8BecomesReplacementCharactersAndValidTextStays) {
  const std::string fffd = "\xEF\xBF\xBD";
  const std::string good = "caf\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x98\x80";
  EXPECT_EQ(GSTR_CleanUtf8(good.data(), good.size()), good);
  EXPECT_EQ(GSTR_CleanUtf8("a\x80z", 3), "a" + fffd + "z");                // stray continuation
  EXPECT_EQ(GSTR_CleanUtf8("a\xC3", 2), "a" + fffd);                       // cut short at the end
  EXPECT_EQ(GSTR_CleanUtf8("\xE2\x82z", 3), fffd + "z");                   // cut short inside
  EXPECT_EQ(GSTR_CleanUtf8("\xC0\xAF", 2), fffd + fffd);                   // overlong form
  EXPECT_EQ(GSTR_CleanUtf8("\xED\xA0\x80", 3), fffd);                      // surrogate
  EXPECT_EQ(GSTR_CleanUtf8("\xF4\x90\x80\x80", 4), fffd);                  // above U+10FFFF
  EXPECT_EQ(GSTR_CleanUtf8(std::string("a\0b", 3).c_str(), 3), "ab");      // NUL dropped
  // A prefix never ends inside a character.
  std::string euro = "\xE2\x82\xAC\xE2\x82\xAC";
  EXPECT_EQ(GSTR_Utf8Prefix(euro.data(), euro.size(), 4), 3u);
  EXPECT_EQ(GSTR_Utf8Prefix(euro.data(), euro.size(), 2), 0u);
  EXPECT_EQ(GSTR_Utf8Prefix(euro.data(), euro.size(), 10), 6u);
}

TEST(GStr, CharacterStepsNeverSplitACharacter) {
  GStrPtr s = GSTR_New();
  std::string text = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80z";  // a é € 😀 z
  GSTR_Insert(s, 0, text.data(), static_cast<Int32>(text.size()));
  GSTR_MoveGap(s, 4);  // the gap inside the euro sign
  std::vector<Int32> forward;
  for (Int32 p = 0; p < GSTR_GetLen(s); p = GSTR_NextChar(s, p)) forward.push_back(p);
  EXPECT_EQ(forward, (std::vector<Int32>{0, 1, 3, 6, 10}));
  std::vector<Int32> back;
  for (Int32 p = GSTR_GetLen(s); p > 0;) back.push_back(p = GSTR_PrevChar(s, p));
  EXPECT_EQ(back, (std::vector<Int32>{10, 6, 3, 1, 0}));
  EXPECT_EQ(GSTR_CharStart(s, 8), 6);
  Int32 n = 0;
  EXPECT_EQ(GSTR_DecodeAt(s, 3, &n), 0x20ACu);
  EXPECT_EQ(n, 3);
  EXPECT_EQ(GSTR_DecodeAt(s, 6, &n), 0x1F600u);
  GSTR_Dispose(s);
}

}  // namespace
