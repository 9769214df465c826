// List boxes:
//   - a walk of LBOX_GoDown + LBOX_CurGetClientData down every column of a
//     box of 3 000 and of 30 000 rows by 30 columns (ns per cell; it must
//     stay the same: the walk is linear);
//   - random jumps (LBOX_GoColRow + a read) in the 30 000-row box;
//   - resident memory of a box whose row and column numbers are the
//     largest Int16 coordinates, holding 100 cells;
//   - filling 10 000 rows by 9 columns;
//   - on a private X server: a full redraw of a visible page of 40 rows by
//     9 columns (target under 5 ms), and a wheel step sent with XTest to
//     the view repainted (target under one 16 ms frame).
#include <benchmark/benchmark.h>

#include <time.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "bench/bench_display.h"
#include "bench/bench_timing.h"
#include "tests/xvfb_support.h"
#include "toolkit/app.h"
#include "toolkit/dsply.h"
#include "toolkit/event.h"
#include "toolkit/lbox.h"
#include "toolkit/winpub.h"

namespace {

using benchtiming::median;
using benchtiming::nowUs;



long residentKb() {
  std::ifstream in("/proc/self/status");
  for (std::string line; std::getline(in, line);)
    if (line.rfind("VmRSS:", 0) == 0) return std::atol(line.c_str() + 6);
  return 0;
}

// A value that is never 0: the cell's coordinates.
ClientPtr value(Int col, Int row) { return reinterpret_cast<ClientPtr>(static_cast<intptr_t>(row) * 64 + col + 1); }

LBoxPtr filledBox(Int rows, Int cols) {
  TKIT_LibInstall();
  LBoxPtr box = LBOX_Create();
  for (Int r = 1; r <= rows; r++)
    for (Int c = 1; c <= cols; c++) {
      LBOX_GoColRow(box, c, r);
      LBOX_CurSetClientData(box, value(c, r));
    }
  return box;
}

void BM_LBoxColumnWalk(benchmark::State& state) {
  const Int rows = static_cast<Int>(state.range(0)), cols = 30;
  LBoxPtr box = filledBox(rows, cols);
  intptr_t sum = 0;
  for (auto _ : state) {
    for (Int c = 1; c <= cols; c++) {
      LBOX_GoColRow(box, c, 1);
      for (Int r = 1; r <= rows; r++) {
        sum += reinterpret_cast<intptr_t>(LBOX_CurGetClientData(box));
        LBOX_GoDown(box);
      }
    }
  }
  benchmark::DoNotOptimize(sum);
  state.SetItemsProcessed(state.iterations() * rows * cols);
  double ns = 0, steps = 0;
  {
    UInt64 steps0 = box->LBoxPrivate->Steps;
    int64_t t0 = nowUs();
    for (Int c = 1; c <= cols; c++) {
      LBOX_GoColRow(box, c, 1);
      for (Int r = 1; r <= rows; r++) {
        sum += reinterpret_cast<intptr_t>(LBOX_CurGetClientData(box));
        LBOX_GoDown(box);
      }
    }
    ns = (nowUs() - t0) * 1000.0 / (static_cast<double>(rows) * cols);
    steps = static_cast<double>(box->LBoxPrivate->Steps - steps0) / (static_cast<double>(rows) * cols);
  }
  state.counters["ns_per_cell"] = ns;
  state.counters["links_per_cell"] = steps;
  std::printf("walk down every column, %d rows x %d columns: %.1f ns and %.3f links followed per cell\n", rows, cols,
              ns, steps);
  RES_Release(WGT_Res(LBOX_Wgt(box)));
}
BENCHMARK(BM_LBoxColumnWalk)->Arg(3000)->Arg(30000)->Unit(benchmark::kMillisecond);

void BM_LBoxRandomJumps(benchmark::State& state) {
  const Int rows = 30000, cols = 30;
  LBoxPtr box = filledBox(rows, cols);
  std::mt19937 rng(7);
  std::vector<std::pair<Int, Int>> cells(10000);
  for (auto& c : cells) c = {static_cast<Int>(rng() % cols) + 1, static_cast<Int>(rng() % rows) + 1};
  intptr_t sum = 0;
  int64_t t0 = nowUs();
  for (auto _ : state)
    for (auto& c : cells) {
      LBOX_GoColRow(box, c.first, c.second);
      sum += reinterpret_cast<intptr_t>(LBOX_CurGetClientData(box));
    }
  double us = (nowUs() - t0) / static_cast<double>(state.iterations() * cells.size());
  benchmark::DoNotOptimize(sum);
  state.counters["us_per_jump"] = us;
  std::printf("random jumps in %d rows x %d columns: %.2f us per jump and read\n", rows, cols, us);
  RES_Release(WGT_Res(LBOX_Wgt(box)));
}
BENCHMARK(BM_LBoxRandomJumps)->Unit(benchmark::kMillisecond);

void BM_LBoxSparseMemory(benchmark::State& state) {
  TKIT_LibInstall();
  long kb = 0, cellBytes = 0;
  Int32 cells = 0;
  for (auto _ : state) {
    long before = residentKb();
    LBoxPtr box = LBOX_Create();
    LBOX_SetNumRow(box, 32767);
    LBOX_SetNumCol(box, 32767);
    std::mt19937 rng(11);
    for (int i = 0; i < 100; i++) {
      LBOX_GoColRow(box, static_cast<Int>(rng() % 32767) + 1, static_cast<Int>(rng() % 32767) + 1);
      LBOX_CurSetClientData(box, value(1, i));
    }
    kb = residentKb() - before;
    cells = box->LBoxPrivate->NumCells;
    cellBytes = static_cast<long>(cells) * box->LBoxPrivate->SizeOf;
    RES_Release(WGT_Res(LBOX_Wgt(box)));
  }
  state.counters["resident_kb"] = static_cast<double>(kb);
  std::printf("a box of 32767 x 32767 cells holding 100: %d cells with their heads, %ld bytes of cells; "
              "%ld KB resident more (whole pages)\n",
              cells, cellBytes, kb);
}
BENCHMARK(BM_LBoxSparseMemory)->Iterations(1);

void BM_LBoxFill(benchmark::State& state) {
  TKIT_LibInstall();
  std::vector<double> ms;
  for (auto _ : state) {
    int64_t t0 = nowUs();
    LBoxPtr box = filledBox(10000, 9);
    ms.push_back((nowUs() - t0) / 1000.0);
    state.PauseTiming();
    RES_Release(WGT_Res(LBOX_Wgt(box)));
    state.ResumeTiming();
  }
  std::printf("filling 10 000 rows x 9 columns: %.1f ms\n", median(ms));
  state.counters["median_ms"] = median(ms);
}
BENCHMARK(BM_LBoxFill)->Iterations(5)->Unit(benchmark::kMillisecond);

// --- On the X server ------------------------------------------------------------------

owbtest::XvfbServer& server() {
  static owbtest::XvfbServer big(1600, 1200);
  return big;
}

bool startDisplay() {
  static bool started = false;
  if (started) return true;
  if (!server().ok()) return false;
  TKIT_LibInstall();
  if (!DSPLY_Init(server().display().c_str())) return false;
  EVENT_Init();
  started = true;
  return true;
}

std::vector<std::string>& texts() {
  static std::vector<std::string> t;
  return t;
}

// A window whose list shows 40 rows of 9 columns with headings.
struct ListWindow {
  WinPtr win = nullptr;
  LBoxPtr box = nullptr;
  ListWindow() {
    win = WIN_FromRes(RES_Create(WIN_Class()));
    box = LBOX_Create();
    box->StringFlags = LBOX_STRINGCLIENTDATA;
    PANEL_AddWgt(WIN_Panel(win), LBOX_Wgt(box));
    if (texts().empty())
      for (Int r = 0; r <= 2000; r++)
        for (Int c = 1; c <= 9; c++) texts().push_back(r == 0 ? "Heading " + std::to_string(c) : "row " + std::to_string(r) + " col " + std::to_string(c));
    for (Int r = 0; r <= 2000; r++)
      for (Int c = 1; c <= 9; c++) {
        LBOX_GoColRow(box, c, r);
        LBOX_CurSetClientData(box, const_cast<char*>(texts()[static_cast<size_t>(r * 9 + c - 1)].c_str()));
      }
    // Room for 40 body rows, the heading row, the frame and a bar.
    Int width = 9 * LBOX_GetColWidth(box, 1) + 2 + SB_GetThickness();
    Int height = LBOX_GetRowHeight(box, 0) + 40 * LBOX_GetRowHeight(box, 1) + 2;
    WIN_Wgt(win)->ResBox = RECT16_Make(20, 20, width + 20, height + 20);
    LBOX_Wgt(box)->ResBox = RECT16_Make(10, 10, width, height);
    WIN_Init(win);
    WIN_Show(win);
    settle();
  }
  void settle() {
    benchdisplay::runUntil([&] { return WIN_IsOpen(win) && !EVENT_IsInvalPending() && RGN_IsEmpty(win->InvalRgn); });
  }
  ~ListWindow() { benchdisplay::endWindow(win); }
};

void BM_LBoxRedrawPage(benchmark::State& state) {
  if (!startDisplay()) {
    state.SkipWithError("no X server");
    return;
  }
  ListWindow w;
  std::vector<double> ms;
  for (auto _ : state) {
    int64_t t0 = nowUs();
    WGT_Inval(LBOX_Wgt(w.box), nullptr);
    EVENT_ProcessInval();
    DSPLY_Sync();
    ms.push_back((nowUs() - t0) / 1000.0);
  }
  state.counters["median_ms"] = median(ms);
  std::printf("full redraw of a page of 40 rows x 9 columns, median of %zu: %.2f ms (target < 5 ms)\n", ms.size(),
              median(ms));
}
BENCHMARK(BM_LBoxRedrawPage)->Iterations(50)->Unit(benchmark::kMillisecond);

void BM_LBoxWheelToRepaint(benchmark::State& state) {
  if (!startDisplay()) {
    state.SkipWithError("no X server");
    return;
  }
  ListWindow w;
  owbtest::XTestDriver driver(server().display());
  _Point16Rec at{100, 100};
  WGT_ConvertWgtToAbs(LBOX_Wgt(w.box), &at);
  driver.moveTo(at.X, at.Y);
  SAreaPtr area = reinterpret_cast<SAreaPtr>(w.box);
  std::vector<double> ms;
  int step = 0;
  for (auto _ : state) {
    Int32 before = SAREA_GetScrollY(area);
    int button = (step++ / 10) % 2 == 0 ? 5 : 4;  // ten down, ten up
    int64_t t0 = nowUs();
    driver.press(button);
    driver.release(button);
    while (SAREA_GetScrollY(area) == before || EVENT_IsInvalPending() || !RGN_IsEmpty(w.win->InvalRgn)) {
      EVENT_ProcessPending();
      if (SAREA_GetScrollY(area) == before) DSPLY_WaitForInput(1);
    }
    DSPLY_Sync();
    ms.push_back((nowUs() - t0) / 1000.0);
  }
  state.counters["median_ms"] = median(ms);
  std::printf("XTest wheel step to the view repainted, median of %zu: %.2f ms (target < 16 ms)\n", ms.size(),
              median(ms));
}
BENCHMARK(BM_LBoxWheelToRepaint)->Iterations(60)->Unit(benchmark::kMillisecond);

}  // namespace
