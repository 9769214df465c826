// Resource libraries: opening a library, and loading a 50-widget window
// template the way WIN_Load does (deep, detached, children ordered by
// Index).  Figures in microseconds.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>

#include <unistd.h>

#include "toolkit/app.h"
#include "toolkit/pfld.h"
#include "toolkit/rlib.h"
#include "toolkit/wgtarray.h"

namespace {

constexpr int kWidgets = 50;

// A library with one window template of kWidgets children, each with a
// name, an Index (in reverse name order), a label and a geometry.
const std::string& libraryPath() {
  static std::string path;
  if (!path.empty()) return path;
  RES_LibInstall();
  char dir[] = "/tmp/owbbench.XXXXXX";
  path = std::string(mkdtemp(dir)) + "/bench.dat";
  const char* names[] = {"Index", "Label", "X", "Y", "W", "H", "Flags"};
  Int types[] = {PFLD_INT16, PFLD_VSTR, PFLD_INT16, PFLD_INT16, PFLD_INT16, PFLD_INT16, PFLD_UINT16};
  RClasPtr cls = RCLAS_NewDataClass("BenchWgt", "Bench", nullptr, 0, 0, 7, names, types);
  RLibPtr lib = RLIB_CreateDatFile("bench", path.c_str());
  ResPtr module = RLIB_AddModuleKnot(lib, "Bench");
  ResPtr win = RES_NewSetNameClass("BenchWin", cls);
  RES_SetParent(win, module);
  for (int i = 0; i < kWidgets; ++i) {
    char name[32];
    std::snprintf(name, sizeof name, "widget%02d", i);
    ResPtr w = RES_NewSetNameClass(name, cls);
    RES_SetParent(w, win);
    PFLD_SetInt(w, RCLAS_FindField(cls, "Index"), kWidgets - 1 - i);
    PFLD_SetStr(w, RCLAS_FindField(cls, "Label"), name);
    PFLD_SetInt(w, RCLAS_FindField(cls, "X"), 10 * i);
    PFLD_SetInt(w, RCLAS_FindField(cls, "W"), 80);
  }
  RLIB_Save(lib);
  RLIB_Unload(lib);
  return path;
}

ResPtr loadWindow() {
  ResPtr win = RES_LoadDeepDetach("Bench", "BenchWin");
  PANEL_BuildWgtArray(win);
  return win;
}

void BM_OpenLibrary(benchmark::State& state) {
  const std::string& path = libraryPath();
  for (auto _ : state) {
    RLibPtr lib = RLIB_LoadFile(path.c_str());
    benchmark::DoNotOptimize(lib);
    state.PauseTiming();
    RLIB_Unload(lib);
    state.ResumeTiming();
  }
}
BENCHMARK(BM_OpenLibrary)->Unit(benchmark::kMicrosecond);

void BM_LoadWindowTemplate(benchmark::State& state) {
  RLibPtr lib = RLIB_LoadFile(libraryPath().c_str());
  for (auto _ : state) {
    ResPtr win = loadWindow();
    benchmark::DoNotOptimize(win);
    RES_Release(win);
  }
  state.counters["widgets"] = kWidgets;
  RLIB_Unload(lib);
}
BENCHMARK(BM_LoadWindowTemplate)->Unit(benchmark::kMicrosecond);

// Both together: what a tool pays for its first window of a library.
void BM_OpenLibraryAndLoadWindow(benchmark::State& state) {
  const std::string& path = libraryPath();
  for (auto _ : state) {
    RLibPtr lib = RLIB_LoadFile(path.c_str());
    ResPtr win = loadWindow();
    benchmark::DoNotOptimize(win);
    state.PauseTiming();
    RES_Release(win);
    RLIB_Unload(lib);
    state.ResumeTiming();
  }
}
BENCHMARK(BM_OpenLibraryAndLoadWindow)->Unit(benchmark::kMicrosecond);

}  // namespace
