// The three output functions through which the fleet operations speak to
// the user.  The operations never know whether a window or a terminal
// listens: they call alertUser, fyiUser and reportFatalError, and whichever
// FleetOutput is installed decides what becomes of the text.
//
// Until a program installs something else the console form is in place,
// quiet (fyiUser prints nothing).  The Fleet Manager tool installs its
// window form at start-up.
#ifndef OWB_FLEET_OUTPUT_H
#define OWB_FLEET_OUTPUT_H

#include "owbtypes.h"

// The category under which the kill operation reports each process; an
// alert in this category is never shown.
extern const char* const kKillingProcessCategory;  // "Killing process ..."

// One implementation of the output functions.  Every member must be set.
struct FleetOutput {
  // Something the user must see; category is the title, details the text.
  void (*alertUser)(const char* category, const char* details);
  // Progress notes; flag (0 or -1) is passed on untouched.
  void (*fyiUser)(const char* category, const char* details, OWBboolean flag);
  // The failure that ends an operation.  Returns to the caller.
  void (*reportFatalError)(const char* category, const char* details);
};

// Installs output (copied); null puts the quiet console form back.
void setFleetOutput(const FleetOutput* output);

// Installs the console form: alerts and fatal errors as one line
// "<category>: <details>" on standard error (a null category gives the
// details alone, null details the category alone); progress notes the same
// way on standard output, but only when verbose.
void useConsoleOutput(bool verbose);

// The output functions of the fleet operations.  alertUser drops the
// category kKillingProcessCategory before the installed form sees it.
void alertUser(const char* category, const char* details);
void fyiUser(const char* category, const char* details, OWBboolean flag);
void reportFatalError(const char* category, const char* details);

#endif  // OWB_FLEET_OUTPUT_H
