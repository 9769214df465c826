// Start-up and clean-up of the globals every tool rests on.
#include "shared/globals.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "shared/messages.h"
#include "shared/tcpxport.h"
#include "shared/utils.h"

char* gToolName = nullptr;
long gMaxOWBLogSize = kDefaultMaxLogSize;
fileNameType gOwbDirectory = "";
fileNameType gResourcesDirectory = "";

namespace {
void (*gWindowSideCleanUp)() = nullptr;
}  // namespace

void setWindowSideCleanUp(void (*cleanUp)()) { gWindowSideCleanUp = cleanUp; }

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

void initializeToolGlobals(const char* toolName, int listenerPort) {
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

  readLogSettings();
}

void cleanUpGlobals() {
  delete gMessageCenter;
  gMessageCenter = nullptr;
  delete[] gToolName;
  gToolName = nullptr;
  if (gWindowSideCleanUp) gWindowSideCleanUp();
  if (gOWBLogStream) {
    gOWBLogStream->close();
    delete gOWBLogStream;
    gOWBLogStream = nullptr;
  }
}
