// The file manager calls on POSIX.
#include "toolkit/fmgr.h"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

Int FMGR_GetNodeType(const char* path) {
  if (!path || !*path) return FMGR_NODENONE;
  struct stat st;
  if (stat(path, &st) != 0) return FMGR_NODENONE;
  if (S_ISREG(st.st_mode)) return FMGR_NODEFILE;
  if (S_ISDIR(st.st_mode)) return FMGR_NODEDIR;
  return FMGR_NODEOTHER;
}

Int FMGR_PerfDirFiles(const char* directoryName, FmgrPerfDirProc proc, ClientPtr data) {
  if (!directoryName || !proc) return -1;
  DIR* dir = opendir(*directoryName ? directoryName : ".");
  if (!dir) return -1;
  std::vector<std::string> names;
  while (dirent* entry = readdir(dir)) {
    const char* n = entry->d_name;
    if (std::strcmp(n, ".") == 0 || std::strcmp(n, "..") == 0) continue;
    names.emplace_back(n);
  }
  closedir(dir);
  std::sort(names.begin(), names.end());
  Int calls = 0;
  for (const std::string& name : names) {
    calls++;
    if (proc(directoryName, name.c_str(), data) == PERF_STOP) break;
  }
  return calls;
}

BoolEnum FNAME_QueryTopDir(const char* path) {
  if (!path || path[0] != '/') return 0;
    for (const char* p = path; *p;) {
    while (*p == '/') p++;
    if (!*p) break;
    const char* end = std::strchr(p, '/');
    size_t len = end ? static_cast<size_t>(end - p) : std::strlen(p);
    // "." and ".." both stay at the top.
    if (!(len == 1 && p[0] == '.') && !(len == 2 && p[0] == '.' && p[1] == '.')) return 0;
    p += len;
  }
  return 1;
}

BoolEnum FMGR_CreateDir(const char* path, UInt mode) {
  if (!path || !*path) return 0;
  mkdir(path, static_cast<mode_t>(mode));
  return FMGR_GetNodeType(path) == FMGR_NODEDIR;
}
