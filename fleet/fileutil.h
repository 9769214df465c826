// Directory and file utilities of the fleet operations, and the start-up
// set-up of the current directory, the installation and the host identity.
//
// Every function reports its own failures through alertUser or
// reportFatalError (fleet/output.h) and returns OWB_TRUE or OWB_FALSE,
// except where a comment names a silent one.  Nothing is rolled back: a
// partial copy or removal stays as far as it got.
#ifndef OWB_FLEET_FILEUTIL_H
#define OWB_FLEET_FILEUTIL_H

#include <cstddef>
#include <cstdio>

#include "owbtypes.h"

constexpr size_t kHostNameSize = 260;
constexpr size_t kHostIPSize = 64;

// Set once at start-up, read everywhere.
extern fileNameType ThisCurrentDir;   // the tool's current directory
extern fileNameType OWKInstallDir;    // the installation ($OWB)
extern char ThisHostName[kHostNameSize];
extern char ThisHostIP[kHostIPSize];  // dotted address

// Fills ThisCurrentDir from getcwd and OWKInstallDir from $OWB.  Unset or
// empty OWB is a fatal error ("ERROR").  The argument is not used.
OWBboolean setOWKInstallDir(const char* unusedArgument);
// Seeds rand() with the time (the one seeding in a process), then fills
// ThisHostName and ThisHostIP.  Always true.
OWBboolean setHostIP();

// mkdir with mode 0777, making missing parents first.
OWBboolean createDir(const char* dirName);
// True when dirName is a directory, or has been made one; an existing
// entry of another kind is refused.
OWBboolean ensureDir(const char* dirName);
// Silent tests: a directory, respectively a regular file (stat follows links).
OWBboolean dirExists(const char* dirName);
OWBboolean testIfFileExists(const char* fileName);

// Copies sourceFN to targetFN, created or truncated with itsModes.  A
// short write removes the target.
OWBboolean copyFile(const char* sourceFN, const char* targetFN, int itsModes);
// Copies sourceDir/relativePath to targetDir/<last component of
// relativePath> unless that target is current (older source, same size).
// True even when the copy itself fails (that copy has alerted).
OWBboolean ensureCopy(const char* targetDir, const char* sourceDir, const char* relativePath,
                      int itsModes);

// Removes dirName with everything in it.  A missing directory is true.
OWBboolean removeDir(const char* dirName);
// Renames sourceDir to destDir, removing an existing destDir first.  A
// failed rename is silent.
OWBboolean moveDir(const char* sourceDir, const char* destDir);
// Copies a tree; files keep their permission bits, links are copied as
// what they point to.
OWBboolean copyDir(const char* sourceDir, const char* destDir);

// Reads one line of at most lineSize - 1 characters (the rest of a longer
// line comes with the next call) and cuts it at its last newline and then
// at its last carriage return.  False at the end of the file.
OWBboolean readALine(char* aLine, int lineSize, FILE* openFile);

// A relative fileName becomes dirName/fileName, in place, truncated to
// size bytes.  An absolute one is left alone.
void padWithDir(char* fileName, const char* dirName, size_t size = sizeof(fileNameType));

#endif  // OWB_FLEET_FILEUTIL_H
