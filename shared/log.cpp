// The tool log.
#include "shared/log.h"

#include <cstring>

#include "shared/globals.h"

std::ofstream* gOWBLogStream = nullptr;
short gLogLevel = kLogDefault;

void owbLogLine(const char* sourceFile, int sourceLine, const std::string& text) {
  if (!gOWBLogStream) return;
  const char* slash = sourceFile ? std::strrchr(sourceFile, '/') : nullptr;
  const char* fileName = slash ? slash + 1 : (sourceFile ? sourceFile : "");
  *gOWBLogStream << (gToolName ? gToolName : "") << ' ' << fileName << " (" << sourceLine
                 << "): \t" << text << '\n';
  gOWBLogStream->flush();
}

void owbLogRaw(const std::string& text) {
  if (!gOWBLogStream) return;
  *gOWBLogStream << text;
  gOWBLogStream->flush();
}
