// Running library code for the compiler: a failure raised through the
// toolkit's error frames becomes a message string instead of a report.
#ifndef OWB_TOOLS_RESCOMP_RSRCREPORT_H
#define OWB_TOOLS_RESCOMP_RSRCREPORT_H

#include <functional>
#include <string>

// Runs body; gives false and the failure's text when it failed.  Bytes of
// the text that are not printable (a damaged file's names, for one) are
// written as \xNN escapes.
bool RSRC_Guard(const std::function<void()>& body, std::string* error);

// Puts a lookup of message texts in front of the toolkit's: a message that
// no loaded library holds is taken from the message libraries' sources
// built into the compiler.  Call after the toolkit is installed.
void RSRC_InstallMessageTexts();

// The text with control bytes and bytes that are not UTF-8 written as \xNN.
std::string RSRC_PrintableText(const std::string& text);

// The sources of the message libraries, null-ended (generated).
extern const char* const kRsrcMessageSources[];

#endif  // OWB_TOOLS_RESCOMP_RSRCREPORT_H
