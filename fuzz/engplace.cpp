// Fuzzes the engine place configuration as the add dialogs fill it: any
// type, keyword and value go through addConfigOption, environment
// variables and external processes through their add functions, and the
// file is written.  An accepted value never grows, and every line written
// is one entry: no value can start a line of its own.
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

#include "fleetmgr/fleetdlg_add.h"
#include "fleetmgr/registry.h"
#include "fleetmgr/settingsfile.h"
#include "fuzz/fuzz_support.h"
#include "shared/alert.h"

namespace {

long silentAlertWindow(const char*, long, const char*, const char*, const char*, const char*, Boolean,
                       const char*) {
  return 1;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string& scratch = fuzzsupport::scratchDirectory();
  static bool ready = [] {
    setAlertHandler(silentAlertWindow);
    // The refusals' lines on standard output are not wanted here.
    return std::freopen("/dev/null", "w", stdout) != nullptr;
  }();
  (void)ready;
  if (size < 1) return 0;
  gFleetMgr = new FleetMgr();
  gFleetMgr->configFile = new EngConfigFile((scratch + "/place.cfg").c_str());

  // The first byte picks the type; the rest is keyword and value, split at
  // the first NUL.
  char type[32];
  std::snprintf(type, sizeof type, "%s", gTypeComboStrs[data[0] % 7]);
  std::string rest(reinterpret_cast<const char*>(data + 1), size - 1);
  size_t cut = rest.find('\0');
  std::string keywordText = rest.substr(0, cut == std::string::npos ? rest.size() : cut);
  std::string valueText = cut == std::string::npos ? "" : rest.substr(cut + 1);
  valueText = valueText.substr(0, valueText.find('\0'));
  char keyword[256], value[1024];
  std::snprintf(keyword, sizeof keyword, "%s", keywordText.c_str());
  std::snprintf(value, sizeof value, "%s", valueText.c_str());
  size_t before = std::strlen(value);
  char* triple[] = {type, keyword, value, nullptr};
  if (addConfigOption(triple) && std::strlen(value) > before) std::abort();
  const char* pair[] = {keyword, value, nullptr};
  addEnvVar(pair);
  addExtProc(pair);
  writeConfigFile();

  // Heading, blank line, then: three section headings with their blank
  // lines, and one line per entry at most.
  FILE* file = std::fopen(gFleetMgr->configFile->filename, "rb");
  int lines = 0;
  for (int c; file && (c = std::fgetc(file)) != EOF;)
    if (c == '\n') lines++;
  if (file) std::fclose(file);
  if (lines > 2 + 3 * 2 + 3) std::abort();
  delete gFleetMgr;
  gFleetMgr = nullptr;
  return 0;
}
