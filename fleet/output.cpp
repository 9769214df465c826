// The output functions and their console form.
#include "fleet/output.h"

#include <cstdio>
#include <cstring>

#include "shared/log.h"

const char* const kKillingProcessCategory = "Killing process ...";

namespace {

bool gConsoleVerbose = false;

// "<category>: <details>\n", leaving out whichever half is null.
void writeConsoleLine(FILE* stream, const char* category, const char* details) {
  if (category && details) std::fprintf(stream, "%s: %s\n", category, details);
  else if (category) std::fprintf(stream, "%s\n", category);
  else if (details) std::fprintf(stream, "%s\n", details);
  else return;
  std::fflush(stream);
}

void consoleAlert(const char* category, const char* details) {
  OWB_LOG((category ? category : "") << ": " << (details ? details : ""));
  writeConsoleLine(stderr, category, details);
}

void consoleFyi(const char* category, const char* details, OWBboolean) {
  if (gConsoleVerbose) writeConsoleLine(stdout, category, details);
}

const FleetOutput kConsoleOutput = {consoleAlert, consoleFyi, consoleAlert};

FleetOutput gFleetOutput = kConsoleOutput;

}  // namespace

void setFleetOutput(const FleetOutput* output) {
  if (output && output->alertUser && output->fyiUser && output->reportFatalError) {
    gFleetOutput = *output;
  } else {
    gConsoleVerbose = false;
    gFleetOutput = kConsoleOutput;
  }
}

void useConsoleOutput(bool verbose) {
  gConsoleVerbose = verbose;
  gFleetOutput = kConsoleOutput;
}

void alertUser(const char* category, const char* details) {
  if (category && std::strcmp(category, kKillingProcessCategory) == 0) return;
  gFleetOutput.alertUser(category, details);
}

void fyiUser(const char* category, const char* details, OWBboolean flag) {
  gFleetOutput.fyiUser(category, details, flag);
}

void reportFatalError(const char* category, const char* details) {
  gFleetOutput.reportFatalError(category, details);
}
