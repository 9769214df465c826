// A list box made from template values and driven by cursor, structure and
// selection calls.  Input: a length byte and that many bytes of column
// widths (Data16), the same for row heights, the column and row numbers
// (two bytes each), then operations of five bytes: a code, a column and a
// row (16 bits each).  After every operation the used rows and columns must
// agree with the cells the box holds.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <vector>

#include "toolkit/app.h"
#include "toolkit/err.h"
#include "toolkit/lbox.h"
#include "toolkit/pfld.h"

namespace {

struct Reader {
  const uint8_t* p;
  size_t n;
  uint8_t u8() { return n ? (--n, *p++) : 0; }
  int16_t i16() {
    int hi = u8();
    return static_cast<int16_t>((hi << 8) | u8());
  }
  std::vector<uint8_t> bytes(size_t count) {
    std::vector<uint8_t> out;
    while (count-- && n) out.push_back(u8());
    return out;
  }
};

void maxCell(Latt2CellPtr cell, ClientPtr data) {
  auto* m = static_cast<std::pair<Int, Int>*>(data);
  if (cell->Col > m->first) m->first = cell->Col;
  if (cell->Row > m->second) m->second = cell->Row;
}

void runOp(LBoxPtr box, int code, int16_t col, int16_t row) {
  LBOX_GoColRow(box, col, row);
  switch (code % 14) {
    case 0: LBOX_CurSetClientData(box, reinterpret_cast<ClientPtr>(static_cast<intptr_t>(code) + 1)); break;
    case 1: LBOX_CurSetClientData(box, nullptr); break;
    case 2: LBOX_InsertRow(box); break;
    case 3: LBOX_DeleteRow(box); break;
    case 4: LBOX_InsertCol(box); break;
    case 5: LBOX_DeleteCol(box); break;
    case 6: LBOX_CurSelect(box); break;
    case 7: LBOX_CurSelectRow(box); break;
    case 8: LBOX_AllUnselect(box); break;
    case 9:
      for (int i = 0; i < 64 && (i ? LBOX_GoSelNext(box) : LBOX_GoSelFirst(box)); i++) LBOX_GoColSelNext(box);
      break;
    case 10: LBOX_SetCurColWidth(box, row); break;
    case 11: LBOX_ClearAll(box); break;
    case 12:
      for (int i = 0; i < 64 && (i ? LBOX_GoAllocNext(box) : LBOX_GoAllocFirst(box)); i++) LBOX_CurGetClientData(box);
      break;
    default: {
      RangeRec r{{col, row}, {static_cast<Int16>(code), static_cast<Int16>(code / 3)}};
      LBOX_RangeUnselect(box, &r);
      break;
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static bool started = [] {
    TKIT_LibInstall();
    ERR_SetStream(std::fopen("/dev/null", "w"));
    return true;
  }();
  (void)started;
  Reader in{data, size};
  LBoxPtr box = LBOX_Create();
  ResPtr res = WGT_Res(LBOX_Wgt(box));
  std::vector<uint8_t> widths = in.bytes(in.u8());
  std::vector<uint8_t> heights = in.bytes(in.u8());
  PFLD_SetData(res, RCLAS_FindField(LBOX_Class(), "ColWidth"), widths.data(), static_cast<UInt32>(widths.size()));
  PFLD_SetData(res, RCLAS_FindField(LBOX_Class(), "RowHeight"), heights.data(), static_cast<UInt32>(heights.size()));
  box->ColNum = in.i16();
  box->RowNum = in.i16();
  LBOX_Wgt(box)->ResBox = RECT16_Make(0, 0, 300, 200);
  WGT_Send(LBOX_Wgt(box), WGT_NFYINIT);
  ErrTrace frame("Fuzz", __FILE__, __LINE__);
  while (in.n >= 5) {
    int code = in.u8();
    int16_t col = in.i16(), row = in.i16();
    // A cell outside the set numbers is a failure by design.
    ERR_TryRecoverFn(frame, [&] { runOp(box, code, col, row); });
    std::pair<Int, Int> most{0, 0};
    LATT2_PerfAllDS(box->LBoxPrivate, maxCell, &most);
    if (LBOX_GetUsedRows(box) != most.second || LBOX_GetUsedCols(box) != most.first) __builtin_trap();
  }
  RES_Release(res);
  return 0;
}
