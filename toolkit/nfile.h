// Finding files through the search path.
#ifndef OWB_TOOLKIT_NFILE_H
#define OWB_TOOLKIT_NFILE_H

#include <string>

#include "toolkit/tkbase.h"

// "NFile" message numbers (Errors list).
enum {
  kNFileErrNotFound = 0,  // cannot find file %s
  kNFileErrNoPath = 2     // no search path
};

constexpr size_t kNFileMaxName = 255;

// The name as given if it exists (or is being created, or is absolute);
// otherwise the first directory of the search path that holds it.  The
// search path is the first variable set of ND_PATH, OIT_PATH, KNB_DATA: a
// colon-separated list.  With none set it is a failure "NFile" 2; a name
// found nowhere is "NFile" 0.
std::string NFILE_PathFind(const char* name, BoolEnum create);

#endif  // OWB_TOOLKIT_NFILE_H
