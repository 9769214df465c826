// Questions a tool asks the Tool Manager through the message center.
#ifndef OWB_SHARED_TOOLREQUESTS_H
#define OWB_SHARED_TOOLREQUESTS_H

#include "owbtypes.h"
#include "shared/messages.h"

// Asks the user for a file when the Tool Manager could not resolve a
// partial path: fills result (a fileNameType) and returns true when a file
// was chosen.  The file picker installs the real chooser
// (chooseFile(1, result, "Choose file", "Accept", partialPath, 1, 1)); until
// one is installed, no file is chosen and makeFullPath does not resolve.
typedef bool (*FullPathChooserProc)(const char* partialPath, char* result);
FullPathChooserProc setFullPathChooser(FullPathChooserProc chooser);

// The full path of partialPath as a new[] string owned by the caller, or
// null.  A path starting with "/" is returned as it is; otherwise the Tool
// Manager (toolManager) is asked with RSLV, and with promptForFile the user
// is asked when it cannot resolve it; a chosen file's directory is then
// added to the Tool Manager's search path with ADGP.
char* makeFullPath(const char* partialPath, const ToolInfo* toolManager, Boolean promptForFile);

// Asks the Tool Manager for a running tool of toolType with LOOK.  Only when
// one was found is toolInfo overwritten; the caller tests for that.
void lookupTool(TypeIdent toolType, ToolInfo* toolInfo);

#endif  // OWB_SHARED_TOOLREQUESTS_H
