// The shared library of colours, fonts and the tool's icon, as the tool
// library loads it from the installation.
#include <cstring>

#include <gtest/gtest.h>

#include "shared/globals.h"
#include "shared/ui/resources.h"
#include "tests/testsupport.h"
#include "tests/toolkit/tktest.h"
#include "toolkit/icon.h"
#include "toolkit/pfld.h"

namespace {

TEST(SharedResources, TheInstallationsSharedLibraryHoldsColoursFontsAndTheIcon) {
  tktest::LibraryScope scope;
  owbtest::ScopedEnv path("ND_PATH", std::nullopt);
  owbtest::ScopedEnv oit("OIT_PATH", std::nullopt);
  owbtest::ScopedEnv knb("KNB_DATA", std::nullopt);
  std::snprintf(gResourcesDirectory, sizeof gResourcesDirectory, "%s/", tktest::resourceDir().c_str());
  RLibPtr lib = ndLoadResourceLibary("shared", "shared.dat");
  ASSERT_NE(lib, nullptr);
  EXPECT_NE(RLIB_Find("Vgm"), nullptr) << "the colour classes' library comes along";
  for (const char* colour : {"hiliteColor", "hiliteLighterColor", "hiliteDarkerColor", "lightYellowColor",
                             "lightRedColor", "lightGreenColor", "grayTextColor"}) {
    ResPtr c = RES_Load("shared", colour);
    EXPECT_STREQ(c->ResClass->Name, "Color") << colour;
    RES_Release(c);
  }
  ResPtr font = RES_Load("shared", "TextFont");
  EXPECT_STREQ(PFLD_GetStr(font, RCLAS_FindField(font->ResClass, "Family")), "DejaVu Sans Mono");
  RES_Release(font);
  ResPtr icon = RES_Load("shared", "fleetmgr");
  EXPECT_EQ(PFLD_GetInt(icon, RCLAS_FindField(icon->ResClass, "Width")), 16);
  EXPECT_TRUE(ICON_ShapeIsValid(PFLD_GetStr(icon, RCLAS_FindField(icon->ResClass, "Shape"))));
  RES_Release(icon);
  gResourcesDirectory[0] = 0;
}

}  // namespace
