// The search path for data files.
#include "toolkit/nfile.h"

#include <cstdlib>

#include <unistd.h>

#include "toolkit/err.h"

std::string NFILE_PathFind(const char* name, BoolEnum create) {
  ERR_TRACEIN("NFile");
  std::string given = name ? name : "";
  if (create || access(given.c_str(), F_OK) == 0 || given.empty() || given[0] == '/') return given;
  const char* path = nullptr;
  for (const char* var : {"ND_PATH", "OIT_PATH", "KNB_DATA"}) {
    path = std::getenv(var);
    if (path) break;
  }
  if (!path) ERR_Fail("NFile", kNFileErrNoPath);
  std::string list = path ? path : "";
  size_t from = 0;
  while (from <= list.size()) {
    size_t colon = list.find(':', from);
    std::string dir = list.substr(from, colon == std::string::npos ? std::string::npos : colon - from);
    from = colon == std::string::npos ? list.size() + 1 : colon + 1;
    if (dir.empty()) continue;
    std::string full = dir + "/" + given;
    if (full.size() > kNFileMaxName) continue;
    if (access(full.c_str(), F_OK) == 0) return full;
  }
  ERR_Fail("NFile", kNFileErrNotFound, given);
  return given;
}
