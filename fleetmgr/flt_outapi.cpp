// The tool's output functions for the fleet operations.
#include "fleetmgr/flt_outapi.h"

#include "fleet/output.h"
#include "shared/alert.h"

void toolAlertUser(const char* category, const char* details) {
  displayAlertWindow(details, kAlertInformation, category, nullptr, nullptr, nullptr, TRUE, nullptr);
}

// The operations' progress notes are not shown by this tool.
void toolFyiUser(const char*, const char*, OWBboolean) {}

void toolReportFatalError(const char* category, const char* details) {
  displayAlertWindow(details, kAlertWarning, category, nullptr, nullptr, nullptr, TRUE, nullptr);
}

void installToolOutput() {
  const FleetOutput output = {toolAlertUser, toolFyiUser, toolReportFatalError};
  setFleetOutput(&output);
}
