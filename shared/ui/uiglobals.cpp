// The shared drawing objects every tool with windows draws with, and the
// start-up of such a tool.
#include "shared/ui/uiglobals.h"

#include <cstdio>

#include "shared/globals.h"
#include "shared/ui/alertwin.h"
#include "shared/ui/filepick.h"
#include "shared/ui/resources.h"
#include "shared/ui/windman.h"
#include "toolkit/err.h"
#include "toolkit/pfld.h"
#include "toolkit/rclas.h"
#include "toolkit/res.h"

ColorPtr gHiliteColor = nullptr, gHiliteLighterColor = nullptr, gHiliteDarkerColor = nullptr;
ColorPtr gBlackColor = nullptr, gGrayColor = nullptr, gLightGrayColor = nullptr, gRedColor = nullptr,
         gYellowColor = nullptr, gGreenColor = nullptr;
ColorPtr gLightYellowColor = nullptr, gLightRedColor = nullptr, gLightGreenColor = nullptr,
         gGrayTextColor = nullptr;
ColorPtr gTransparentColor = nullptr, gInvisibleColor = nullptr;
FontPtr gTextFont = nullptr, gLabelFont = nullptr;
PenPtr gSolidPen = nullptr, gInvisiblePen = nullptr;
PattPtr gEmptyPattern = nullptr;

namespace {

const char* const kSharedLibrary = "shared";
const char* const kSharedResourceFile = "shared.dat";
// Font weights from this one up are drawn bold.
constexpr long kBoldWeight = 600;

// An integer field of a resource; a resource of another class than the one
// asked for lacks it, and that is the toolkit's failure.
long intField(ResPtr res, const char* field) {
  PFldPtr descriptor = RCLAS_FindField(res->ResClass, field);
  if (!descriptor) ERR_FailStr("Resource %s has no field %s", RES_GetName(res), field);
  return PFLD_GetInt(res, descriptor);
}

// A colour of the shared library (16-bit red, green, blue) as the toolkit's
// colour of the same value, kept by the toolkit for the program's life.
ColorPtr loadSharedColor(const char* name) {
  ResPtr res = RES_LoadInit(kSharedLibrary, name);
  char description[8];
  std::snprintf(description, sizeof description, "#%02x%02x%02x", static_cast<unsigned>(intField(res, "Red") >> 8 & 0xff),
                static_cast<unsigned>(intField(res, "Green") >> 8 & 0xff),
                static_cast<unsigned>(intField(res, "Blue") >> 8 & 0xff));
  RES_Release(res);
  return COLOR_LoadByText(description);
}

// A font of the shared library (family, size in points, weight) as the
// toolkit's font of that description, kept for the program's life.
FontPtr loadSharedFont(const char* name) {
  ResPtr res = RES_LoadInit(kSharedLibrary, name);
  PFldPtr familyField = RCLAS_FindField(res->ResClass, "Family");
  if (!familyField) ERR_FailStr("Resource %s has no field Family", name);
  char description[128];
  long points = intField(res, "Size");
  std::snprintf(description, sizeof description, "%.63s %ld%s", PFLD_GetStr(res, familyField),
                points > 0 ? points : static_cast<long>(FONT_DEFPOINTS),
                intField(res, "Weight") >= kBoldWeight ? " bold" : "");
  RES_Release(res);
  return FONT_LoadByText(description);
}


// The window manager comes right after the message center, which it
// registers its handlers with, and goes before it.
void startWindowSide(int listenerPort) { gWindowManager = new WindowManager(listenerPort > 0); }

void endWindowSide() {
  delete gWindowManager;
  gWindowManager = nullptr;
  uninstallAlertWindow();
}

}  // namespace

void loadSharedDrawingObjects() {
  ndLoadResourceLibary(kSharedLibrary, kSharedResourceFile);

  gBlackColor = COLOR_Black();
  gGrayColor = COLOR_Gray();
  gLightGrayColor = COLOR_LightGray();
  gYellowColor = COLOR_Yellow();
  gRedColor = COLOR_Red();
  gGreenColor = COLOR_Green();
  gTransparentColor = COLOR_Transparent();
  gInvisibleColor = COLOR_LoadById(0);
  gHiliteColor = loadSharedColor("hiliteColor");
  gHiliteLighterColor = loadSharedColor("hiliteLighterColor");
  gHiliteDarkerColor = loadSharedColor("hiliteDarkerColor");
  gLightYellowColor = loadSharedColor("lightYellowColor");
  gLightRedColor = loadSharedColor("lightRedColor");
  gLightGreenColor = loadSharedColor("lightGreenColor");
  gGrayTextColor = loadSharedColor("grayTextColor");

  gSolidPen = PEN_Solid();
  gInvisiblePen = PEN_Invisible();
  gEmptyPattern = PATT_Empty();

  gTextFont = loadSharedFont("TextFont");
  gLabelFont = loadSharedFont("LabelFont");
}

void initializeGlobals(const char* toolName, int listenerPort) {
  setWindowSideHooks(startWindowSide, endWindowSide);
  initializeToolGlobals(toolName, listenerPort);
  loadSharedDrawingObjects();
  installAlertWindow();
  installFilePicker();
}
