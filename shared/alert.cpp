// The alert of all tools, through one replaceable handler.
#include "shared/alert.h"

#include <cstdio>

#include "shared/log.h"

const char* const kDefaultAlertTitle = "Could not complete that operation";
const char* const kDefaultAlertButton = "Ok";

namespace {
AlertHandler gAlertHandler = consoleAlertHandler;
}

long consoleAlertHandler(const char* alertText, long, const char* alertTitle, const char*,
                         const char*, const char*, Boolean, const char*) {
  const char* title = alertTitle ? alertTitle : kDefaultAlertTitle;
  std::fprintf(stderr, "%s: %s\n", title, alertText);
  std::fflush(stderr);
  OWB_LOG("alert: " << title << ": " << alertText);
  return 0;
}

long displayAlertWindow(const char* alertText, long alertType, const char* alertTitle,
                        const char* button1text, const char* button2text,
                        const char* button3text, Boolean beep, const char* helpWindowName) {
  if (!alertText) return 0;
  return gAlertHandler(alertText, alertType, alertTitle, button1text, button2text, button3text,
                       beep, helpWindowName);
}

AlertHandler setAlertHandler(AlertHandler handler) {
  AlertHandler previous = gAlertHandler;
  gAlertHandler = handler ? handler : consoleAlertHandler;
  return previous;
}
