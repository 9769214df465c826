// The tool log, owblog, shared by every tool of a user.
//
// A line is: tool name, " ", source file, " (", line, "): \t", text, "\n",
// flushed.  Lines are written only once initializeGlobals has opened the log;
// before that they are dropped.
//
//   OWB_LOG("Got port of " << port << " for Tool Manager");
//   OWB_LOG_AT(kLogAll, "sending " << TypeIdentToCStr(type));
#ifndef OWB_SHARED_LOG_H
#define OWB_SHARED_LOG_H

#include <fstream>
#include <sstream>
#include <string>

// Levels of gLogLevel.  Failures and ordinary lines are logged at every level.
enum { kLogDefault = 0, kLogSome = 1, kLogAll = 2 };

extern std::ofstream* gOWBLogStream;
extern short gLogLevel;

// Writes one log line; sourceFile may be a full path, only its last
// component is written.
void owbLogLine(const char* sourceFile, int sourceLine, const std::string& text);

// Writes text to the log as it is, without the line prefix.
void owbLogRaw(const std::string& text);

#define OWB_LOG(expr)                                   \
  do {                                                  \
    if (gOWBLogStream) {                                \
      std::ostringstream owbLogText_;                   \
      owbLogText_ << expr;                              \
      owbLogLine(__FILE__, __LINE__, owbLogText_.str()); \
    }                                                   \
  } while (0)

#define OWB_LOG_AT(level, expr)                   \
  do {                                            \
    if (gLogLevel >= (level)) OWB_LOG(expr);      \
  } while (0)

#endif  // OWB_SHARED_LOG_H
