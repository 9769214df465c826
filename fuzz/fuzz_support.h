// What the fuzz targets share: silent output functions, a scratch fleet
// directory that lives as long as the process, and the resource classes
// installed without reports.
#ifndef OWB_FUZZ_FUZZ_SUPPORT_H
#define OWB_FUZZ_FUZZ_SUPPORT_H

#include <stdlib.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "fleet/output.h"
#include "toolkit/app.h"
#include "toolkit/err.h"

namespace fuzzsupport {

inline void silentAlert(const char*, const char*) {}
inline void silentNote(const char*, const char*, OWBboolean) {}

// Installs silent output once and returns a fresh directory under $TMPDIR.
inline const std::string& scratchDirectory() {
  static const std::string directory = [] {
    static const FleetOutput silent = {silentAlert, silentNote, silentAlert};
    setFleetOutput(&silent);
    const char* base = std::getenv("TMPDIR");
    std::string pattern = std::string(base && *base ? base : "/tmp") + "/owbfuzz.XXXXXX";
    const char* made = mkdtemp(pattern.data());
    return std::string(made ? made : "/tmp");
  }();
  return directory;
}

// Installs the resource classes once, with the toolkit's failure reports
// sent nowhere: the targets provoke them by the thousand.
inline void installResourcesSilently() {
  static const bool installed = [] {
    RES_LibInstall();
    ERR_SetStream(std::fopen("/dev/null", "w"));
    return true;
  }();
  (void)installed;
}

inline void writeFile(const std::string& path, const uint8_t* data, size_t size) {
  if (FILE* file = std::fopen(path.c_str(), "wb")) {
    std::fwrite(data, 1, size, file);
    std::fclose(file);
  }
}

}  // namespace fuzzsupport

#endif  // OWB_FUZZ_FUZZ_SUPPORT_H
