// Fitting text into a width with "...", measured on the display.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "shared/ui/uiutils.h"
#include "tests/xvfb_support.h"
#include "toolkit/draw.h"
#include "toolkit/dsply.h"

namespace {

int widthOf(const char* s) { return DRAW_QueryTextExt(FONT_Default(), s, -1).X; }

class TruncTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(owbtest::sharedXvfb().ok());
    ASSERT_TRUE(DSPLY_Init(owbtest::sharedXvfb().display().c_str()));
  }
};

TEST_F(TruncTest, CutsTheEndOrTheFrontAndNeverGrows) {
  const char* text = "/home/user/fleets/production/engines.flt";
  int full = widthOf(text);
  char buf[128];

  std::strcpy(buf, text);
  truncToFit(nullptr, full + 1, buf);  // narrower than the width: unchanged
  EXPECT_STREQ(buf, text);
  truncToFit(nullptr, full, buf);  // exactly the width: shortened
  EXPECT_NE(std::string(buf), text);

  std::strcpy(buf, text);
  truncToFit(nullptr, full / 2, buf);
  std::string cut(buf);
  ASSERT_GE(cut.size(), 4u);
  EXPECT_EQ(cut.substr(cut.size() - 3), "...");
  EXPECT_EQ(std::string(text).rfind(cut.substr(0, cut.size() - 3), 0), 0u);
  EXPECT_LE(widthOf(buf), full / 2);

  std::strcpy(buf, text);
  reverseTruncToFit(nullptr, full / 2, buf);
  std::string tail(buf);
  EXPECT_EQ(tail.substr(0, 3), "...");
  EXPECT_TRUE(std::string(text).size() >= tail.size() - 3 &&
              std::string(text).compare(std::strlen(text) - (tail.size() - 3), std::string::npos, tail.substr(3)) == 0);
  EXPECT_LE(widthOf(buf), full / 2);

  std::strcpy(buf, text);
  truncToFit(nullptr, widthOf("...") - 1, buf);  // not even "..." fits
  EXPECT_STREQ(buf, "");

  // Short texts and multi-byte characters stay within their bytes.
  char two[3] = "WW";
  truncToFit(nullptr, widthOf("..."), two);
  EXPECT_LE(std::strlen(two), 2u);
  char umlauts[32] = "\xc3\xa4\xc3\xb6\xc3\xbc\xc3\xa4\xc3\xb6\xc3\xbc";
  truncToFit(nullptr, widthOf(umlauts) / 2, umlauts);
  std::string u(umlauts);
  EXPECT_EQ(u.substr(u.size() - 3), "...");
  EXPECT_EQ((u.size() - 3) % 2, 0u);  // whole two-byte characters
}

}  // namespace
