// Start-up and clean-up of the globals every tool rests on.
#include "shared/globals.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

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

void (*sWindowSideStart)(int listenerPort) = nullptr;
void (*sWindowSideEnd)() = nullptr;
void (*gWindowSideCleanUp)() = nullptr;

// The log is opened early, among the first descriptors; the scan for it
// stops here.
constexpr long kHighestDescriptorScanned = 4096;

// The log stream gives no access to its descriptor: every descriptor open
// on the log file is marked close-on-exec, so that the programs a tool
// starts (a fleet's engines among them) do not inherit the log.
void closeLogOnExec(const char* logPath) {
  struct stat logInfo;
  if (stat(logPath, &logInfo) != 0) return;
  long highest = sysconf(_SC_OPEN_MAX);
  if (highest < 0 || highest > kHighestDescriptorScanned) highest = kHighestDescriptorScanned;
  for (int descriptor = 0; descriptor < highest; ++descriptor) {
    struct stat info;
    if (fstat(descriptor, &info) != 0 || info.st_dev != logInfo.st_dev || info.st_ino != logInfo.st_ino) continue;
    int flags = fcntl(descriptor, F_GETFD);
    if (flags >= 0) fcntl(descriptor, F_SETFD, flags | FD_CLOEXEC);
  }
}

}  // namespace

void setWindowSideHooks(void (*start)(int listenerPort), void (*end)()) {
  sWindowSideStart = start;
  sWindowSideEnd = end;
}
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
  closeLogOnExec(logPath);
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

  if (sWindowSideStart) sWindowSideStart(listenerPort);

  readOwbDirectory();

  readLogSettings();
}

void cleanUpGlobals() {
  // First: the window side still sends messages (UWIN) as it ends.
  if (sWindowSideEnd) sWindowSideEnd();
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
