// The file manager calls of the toolkit's base library: what a path names,
// walking one directory, the top directory, making a directory.
//
// Contracts: paths are NUL-terminated byte strings of any length; a null
// path names nothing.  Nothing here keeps a pointer the caller gave it.
#ifndef OWB_TOOLKIT_FMGR_H
#define OWB_TOOLKIT_FMGR_H

#include "toolkit/tkbase.h"

// What a path names, following symbolic links.  A link that leads nowhere
// and a path that cannot be examined name nothing.  Unix has no volumes
// apart from directories, so FMGR_NODEVOLUME is never answered here; the
// callers that treat a volume as a directory keep doing so.
enum ENUM_FmgrNodeEnum {
  FMGR_NODENONE = 0,
  FMGR_NODEFILE = 1,    // a regular file
  FMGR_NODEDIR = 2,     // a directory
  FMGR_NODEVOLUME = 3,  // the root of a volume
  FMGR_NODEOTHER = 4    // a device, pipe or socket
};
Int FMGR_GetNodeType(const char* path);

// What a directory walk's procedure answers.
enum ENUM_PerfEnum { PERF_CONTINUE = 0, PERF_STOP = 1 };
// Called with the directory as given and one entry's name (never "." or
// "..").  Both strings live only during the call.
typedef Int (*FmgrPerfDirProc)(const char* directoryName, const char* fileName, ClientPtr data);

// Calls proc for every entry of the directory in byte order of the names,
// until it answers PERF_STOP.  Returns the number of calls made, or -1 when
// the directory cannot be read (then proc is never called).  The entries
// are read before the first call, so the procedure may change the
// directory.
Int FMGR_PerfDirFiles(const char* directoryName, FmgrPerfDirProc proc, ClientPtr data);

// True when path is the top directory: "/" (also written "//", "/." or "/..").
BoolEnum FNAME_QueryTopDir(const char* path);

// Makes a directory with the access bits given; true when it exists as a
// directory afterwards.
BoolEnum FMGR_CreateDir(const char* path, UInt mode);

#endif  // OWB_TOOLKIT_FMGR_H
