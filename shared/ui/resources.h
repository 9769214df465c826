// Loading the tool library's resource libraries from the installation.
#ifndef OWB_SHARED_UI_RESOURCES_H
#define OWB_SHARED_UI_RESOURCES_H

#include "toolkit/rlib.h"

// When no search path is set (ND_PATH, OIT_PATH, KNB_DATA), makes
// gResourcesDirectory the ND_PATH, so that the toolkit's own libraries and
// the libraries a library imports are found there.  Nothing when
// gResourcesDirectory is not known yet.
void useResourcesDirectoryAsSearchPath();

// Loads library `libraryName` from gResourcesDirectory + `resourceFile`
// ("%s%s"), after useResourcesDirectoryAsSearchPath.  A failure goes
// through the toolkit's error frames like any toolkit failure.  The
// misspelled name stands.
RLibPtr ndLoadResourceLibary(const char* libraryName, const char* resourceFile);

#endif  // OWB_SHARED_UI_RESOURCES_H
