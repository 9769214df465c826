// Running library code for the compiler: a failure raised through the
// toolkit's error frames becomes a message string instead of a report.
#ifndef OWB_TOOLS_RESCOMP_RSRCREPORT_H
#define OWB_TOOLS_RESCOMP_RSRCREPORT_H

#include <functional>
#include <string>

// Runs body; gives false and the failure's text when it failed.
bool RSRC_Guard(const std::function<void()>& body, std::string* error);

#endif  // OWB_TOOLS_RESCOMP_RSRCREPORT_H
