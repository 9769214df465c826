// Text editor: insertions at the caret, setting and reading a megabyte,
// and the layout of a 10 000-line text on a private X server (the fonts'
// metrics come from the display).
#include <benchmark/benchmark.h>

#include <string>

#include "tests/xvfb_support.h"
#include "toolkit/app.h"
#include "toolkit/dsply.h"
#include "toolkit/ted.h"
#include "toolkit/twlay.h"

namespace {

bool started() {
  static bool ok = [] {
    TKIT_LibInstall();
    return owbtest::sharedXvfb().ok() && DSPLY_Init(owbtest::sharedXvfb().display().c_str());
  }();
  return ok;
}

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

}  // namespace
