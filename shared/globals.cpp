// Start-up and clean-up of the globals every tool rests on.
#include "shared/globals.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "shared/help.h"
#include "shared/messages.h"
#include "shared/resources.h"
#include "shared/tcpxport.h"
#include "shared/utils.h"
#include "toolkit/err.h"
#include "toolkit/pfld.h"
#include "toolkit/rclas.h"
#include "toolkit/res.h"

char* gToolName = nullptr;
long gMaxOWBLogSize = kDefaultMaxLogSize;
fileNameType gOwbDirectory = "";
fileNameType gResourcesDirectory = "";

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

// The shared resource library and the colours, pens, pattern and fonts
// every tool draws with.
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

}  // namespace

// Opens the log in the preferences directory.  Only the Tool Manager (a
// listener port other than 0) empties a log grown past gMaxOWBLogSize; no
// old copy is kept.  A failed open is not reported: the stream then
// swallows what is written.
void openToolLog(bool mayTrim) {
  fileNameType preferences;
  getValidPreferencesDirectory(preferences, sizeof preferences);
  fileNameType logPath;
  std::snprintf(logPath, sizeof logPath, "%sowblog", preferences);

  gOWBLogStream = new std::ofstream(logPath, std::ios::app);
  if (mayTrim && getFileLength(logPath) > gMaxOWBLogSize) {
    gOWBLogStream->close();
    std::ofstream emptied(logPath, std::ios::trunc);
    emptied.close();
    gOWBLogStream->open(logPath, std::ios::app);
  }
}

void seedRandomNumbers() {
  unsigned seed = static_cast<unsigned>(timeInSeconds());
  // The first four bytes of the name; a shorter name adds nothing past its end.
  for (int i = 0; i < 4 && gToolName[i]; i++) seed += static_cast<unsigned char>(gToolName[i]);
  std::srand(seed);
}

void readOwbDirectory() {
  const char* owb = std::getenv("OWB");
  if (!owb || !*owb) {
    OWB_LOG("the OWB environment variable was not set - this is bad");
    std::exit(-1);
  }
  const size_t length = std::strlen(owb);
  std::snprintf(gOwbDirectory, sizeof gOwbDirectory, "%s%s", owb,
                owb[length - 1] == '/' ? "" : "/");
  std::snprintf(gResourcesDirectory, sizeof gResourcesDirectory, "%sbin%cresource%c",
                gOwbDirectory, '/', '/');
}

void readLogSettings() {
  gLogLevel = kLogDefault;
  if (const char* level = std::getenv("OWB_LOGLEVEL")) {
    if (std::strcmp(level, "logAll") == 0) gLogLevel = kLogAll;
    else if (std::strcmp(level, "logSome") == 0) gLogLevel = kLogSome;
  }
  // Read after the log was opened, so in this process it bounds nothing;
  // the Tool Manager of the next start applies it.
  const char* size = std::getenv("OWB_LOG_SIZE");
  if (size && *size) gMaxOWBLogSize = std::atoi(size);
}

void initializeGlobals(const char* toolName, int listenerPort) {
  gToolName = newStringCopy(toolName);
  openToolLog(listenerPort != 0);

  OWB_LOG("");
  owbLogRaw(std::string("Initializing ") + gToolName + "\n\n");

  seedRandomNumbers();

  gMessageCenter = listenerPort != 0 ? new MessageCenter(listenerPort) : new MessageCenter();
  gToolManToolInfo.listenerPort = getToolManagerPort();
  OWB_LOG("Got port of " << gToolManToolInfo.listenerPort << " for Tool Manager");

  // The window manager comes with window bookkeeping.

  readOwbDirectory();
  loadSharedDrawingObjects();

  readLogSettings();
}

void cleanUpGlobals() {
  delete gMessageCenter;
  gMessageCenter = nullptr;
  delete[] gToolName;
  gToolName = nullptr;
  delete gHelpManager;
  gHelpManager = nullptr;
  if (gOWBLogStream) {
    gOWBLogStream->close();
    delete gOWBLogStream;
    gOWBLogStream = nullptr;
  }
}
