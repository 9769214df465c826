// The tool library's resource libraries.
#include "shared/ui/resources.h"

#include <cstdio>
#include <cstdlib>

#include "shared/globals.h"

void useResourcesDirectoryAsSearchPath() {
  if (!std::getenv("ND_PATH") && !std::getenv("OIT_PATH") && !std::getenv("KNB_DATA") && gResourcesDirectory[0])
    setenv("ND_PATH", gResourcesDirectory, 1);
}

RLibPtr ndLoadResourceLibary(const char* libraryName, const char* resourceFile) {
  useResourcesDirectoryAsSearchPath();
  fileNameType path;
  std::snprintf(path, sizeof path, "%s%s", gResourcesDirectory, resourceFile);
  return RLIB_LoadLibFile(libraryName, path);
}
