// Text editor: insertions at the caret, setting and reading a megabyte,
// the layout of a 10 000-line text, and on a private X server with real
// input: a key pressed with XTest to its character drawn (target under
// 2 ms), and the first paint of a 10 000-line text (target under 50 ms).
#include <benchmark/benchmark.h>
#include <time.h>

#include <X11/keysym.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "bench/bench_timing.h"
#include "bench/bench_display.h"
#include "tests/xvfb_support.h"
#include "toolkit/app.h"
#include "toolkit/dsply.h"
#include "toolkit/event.h"
#include "toolkit/ted.h"
#include "toolkit/twlay.h"
#include "toolkit/winpub.h"

namespace {

bool started() { return benchdisplay::startToolkit(); }

// One character at a time at the caret; the gap makes each amortised
// constant.  Reported as time per character.
void BM_InsertAtCaret(benchmark::State& state) {
  started();
  for (auto _ : state) {
    TEdPtr ted = TED_Create();
    TED_SetStr(ted, "head tail");
    TED_SetInsertPos(ted, 5);
    for (int i = 0; i < 100000; i++) TED_InsertStr(ted, "x");
    benchmark::DoNotOptimize(TED_GetStrLen(ted));
    RES_Release(WGT_Res(TED_Wgt(ted)));
  }
  state.SetItemsProcessed(state.iterations() * 100000);
}
BENCHMARK(BM_InsertAtCaret)->Unit(benchmark::kMillisecond);

void BM_SetAndGetMegabyte(benchmark::State& state) {
  started();
  std::string text(1 << 20, 'a');
  for (size_t i = 0; i < text.size(); i += 64) text[i] = ' ';
  TEdPtr ted = TED_Create();
  for (auto _ : state) {
    TED_SetStr(ted, text.c_str());
    benchmark::DoNotOptimize(TED_GetStr(ted));
  }
  RES_Release(WGT_Res(TED_Wgt(ted)));
}
BENCHMARK(BM_SetAndGetMegabyte)->Unit(benchmark::kMillisecond);

// Laying out 10 000 lines, wrapped at 600 pixels.
void BM_LayoutTenThousandLines(benchmark::State& state) {
  if (!started()) {
    state.SkipWithError("no X server");
    return;
  }
  std::string text;
  for (int i = 0; i < 10000; i++) text += "line " + std::to_string(i) + " of the engine log, with some words to wrap\n";
  GStrPtr g = GSTR_New();
  GSTR_Insert(g, 0, text.data(), static_cast<Int32>(text.size()));
  TWLayPtr lay = TWLAY_New(g, FONT_Default());
  lay->WrapWidth = 600;
  for (auto _ : state) {
    TWLAY_Recompute(lay);
    benchmark::DoNotOptimize(TWLAY_GetNumLines(lay));
  }
  TWLAY_Dispose(lay);
  GSTR_Dispose(g);
}
BENCHMARK(BM_LayoutTenThousandLines)->Unit(benchmark::kMillisecond);

// One character typed in the middle of a 10 000-line text: the paragraph
// is laid out again, not the text.
void BM_LayoutUpdateOneKey(benchmark::State& state) {
  if (!started()) {
    state.SkipWithError("no X server");
    return;
  }
  std::string text;
  for (int i = 0; i < 10000; i++) text += "line " + std::to_string(i) + " of the engine log, with some words to wrap\n";
  GStrPtr g = GSTR_New();
  GSTR_Insert(g, 0, text.data(), static_cast<Int32>(text.size()));
  TWLayPtr lay = TWLAY_New(g, FONT_Default());
  Int32 pos = static_cast<Int32>(text.size() / 2);
  for (auto _ : state) {
    GSTR_Insert(g, pos, "k", 1);
    TWLAY_Update(lay, pos, 0, 1);
  }
  TWLAY_Dispose(lay);
  GSTR_Dispose(g);
}
BENCHMARK(BM_LayoutUpdateOneKey)->Unit(benchmark::kMicrosecond);

using benchtiming::median;
using benchtiming::nowUs;

std::string tenThousandLines(const char* word) {
  std::string text;
  for (int i = 0; i < 10000; i++) text += std::string(word) + " " + std::to_string(i) + " of the engine log, with some words\n";
  return text;
}

// A window with one editor that has the focus.
struct EditorWindow {
  WinPtr win = nullptr;
  TEdPtr ted = nullptr;
  explicit EditorWindow(UInt16 opt, int height) {
    win = WIN_FromRes(RES_Create(WIN_Class()));
    ted = TED_Create();
    ted->OptFlags = opt;
    PANEL_AddWgt(WIN_Panel(win), TED_Wgt(ted));
    WIN_Wgt(win)->ResBox = RECT16_Make(20, 20, 620, height + 20);
    TED_Wgt(ted)->ResBox = RECT16_Make(10, 10, 600, height);
    WIN_Init(win);
    WIN_Show(win);
    settle();
    WGT_GainFocus(TED_Wgt(ted));
    settle();
  }
  bool drawn() { return WIN_IsOpen(win) && !EVENT_IsInvalPending() && RGN_IsEmpty(win->InvalRgn); }
  void settle() {
    benchdisplay::runUntil([&] { return drawn() && WIN_HasFocus(win); });
  }
  ~EditorWindow() { benchdisplay::endWindow(win); }
};

// A key pressed with XTest to its character in the text and drawn on the
// server: the X event, the input method, the insertion, the layout of the
// line and the repaint of the field.
void BM_KeyPressToCharacterDrawn(benchmark::State& state) {
  if (!started()) {
    state.SkipWithError("no X server");
    return;
  }
  EditorWindow w(0, 28);
  owbtest::XTestDriver driver(owbtest::sharedXvfb().display());
  std::vector<double> ms;
  for (auto _ : state) {
    Int32 before = TED_GetStrLen(w.ted);
    int64_t t0 = nowUs();
    driver.key(XK_a);
    int64_t until = DSPLY_Now() + 2000;
    while (DSPLY_Now() < until && (TED_GetStrLen(w.ted) == before || !w.drawn())) {
      EVENT_ProcessPending();
      if (TED_GetStrLen(w.ted) == before) DSPLY_WaitForInput(1);
    }
    DSPLY_Sync();
    ms.push_back((nowUs() - t0) / 1000.0);
    if (TED_GetStrLen(w.ted) == before) {
      state.SkipWithError("a key did not arrive");
      return;
    }
    if (TED_GetStrLen(w.ted) > 60) TED_ClearAll(w.ted), w.settle();
  }
  state.counters["median_ms"] = median(ms);
  std::printf("XTest key press to the character drawn, median of %zu: %.3f ms (target < 2 ms)\n", ms.size(), median(ms));
}
BENCHMARK(BM_KeyPressToCharacterDrawn)->Iterations(100)->Unit(benchmark::kMillisecond);

// A 10 000-line text given to a multi-line editor on the screen, to the
// field painted with its bar: the layout of the whole text and the first
// page drawn.
void BM_TenThousandLinesFirstPaint(benchmark::State& state) {
  if (!started()) {
    state.SkipWithError("no X server");
    return;
  }
  EditorWindow w(TED_OPTMULTILINE | TED_OPTWRAP, 400);
  std::string texts[2] = {tenThousandLines("line"), tenThousandLines("entry")};
  std::vector<double> ms;
  int n = 0;
  for (auto _ : state) {
    int64_t t0 = nowUs();
    TED_SetStr(w.ted, texts[n++ % 2].c_str());
    TED_SetInsertPos(w.ted, 0);
    int64_t until = DSPLY_Now() + 3000;
    do EVENT_ProcessPending();
    while (DSPLY_Now() < until && !w.drawn());
    DSPLY_Sync();
    ms.push_back((nowUs() - t0) / 1000.0);
  }
  state.counters["median_ms"] = median(ms);
  std::printf("layout and first paint of a 10 000-line text, median of %zu: %.2f ms (target < 50 ms)\n", ms.size(),
              median(ms));
}
BENCHMARK(BM_TenThousandLinesFirstPaint)->Iterations(20)->Unit(benchmark::kMillisecond);

}  // namespace
