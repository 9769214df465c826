// List boxes: the cursor over the lattice, structure, selection ranges and
// their deferred notification, geometry of rows and columns, drawing of
// the cells, mouse and keys.
#include "toolkit/lbox.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "toolkit/autom.h"
#include "toolkit/dsply.h"
#include "toolkit/err.h"
#include "toolkit/pfld.h"

namespace {

#define LBOX_FIELD(name, member, type, kind) PFLD_MEMBER(_LBoxObj, name, member, type, kind)
#define LBCOL_FIELD(name, member, type, kind) PFLD_MEMBER(_LbColObj, name, member, type, kind)
#define LBROW_FIELD(name, member, type, kind) PFLD_MEMBER(_LbRowObj, name, member, type, kind)
// A name kept for old templates: read and dropped.
#define GONE_FIELD(name, type) {name, 0, type, PFLD_KINDALIAS, 0, -1}

_PFldRec sLBoxFields[] = {LBOX_FIELD("Col", Col, PFLD_RESARRAY, PFLD_KINDVALUE),
                          LBOX_FIELD("Row", Row, PFLD_RESARRAY, PFLD_KINDVALUE),
                          LBOX_FIELD("StartCol", StartCol, PFLD_DATA16, PFLD_KINDGEOMETRY),
                          LBOX_FIELD("StartRow", StartRow, PFLD_DATA16, PFLD_KINDGEOMETRY),
                          LBOX_FIELD("ColWidth", ColWidth, PFLD_DATA16, PFLD_KINDGEOMETRY),
                          LBOX_FIELD("RowHeight", RowHeight, PFLD_DATA16, PFLD_KINDGEOMETRY),
                          LBOX_FIELD("ColNum", ColNum, PFLD_INT16, PFLD_KINDVALUE),
                          LBOX_FIELD("RowNum", RowNum, PFLD_INT16, PFLD_KINDVALUE),
                          LBOX_FIELD("SelFlags", SelFlags, PFLD_UINT16, PFLD_KINDVALUE),
                          LBOX_FIELD("LbFlags", LbFlags, PFLD_UINT16, PFLD_KINDVALUE),
                          LBOX_FIELD("LbKeys", LbKeys, PFLD_RES, PFLD_KINDVALUE),
                          LBOX_FIELD("CellPen", CellPen, PFLD_RES0, PFLD_KINDVALUE),
                          LBOX_FIELD("TextEditor", TextEditor, PFLD_RES0, PFLD_KINDVALUE),
                          LBOX_FIELD("HeaderSlack", HeaderSlack, PFLD_INT16, PFLD_KINDVALUE),
                          LBOX_FIELD("CellCont", CellCont, PFLD_RESARRAY, PFLD_KINDVALUE),
                          LBOX_FIELD("CCStartRow", CCStartRow, PFLD_DATA16, PFLD_KINDVALUE),
                          LBOX_FIELD("CCStartCol", CCStartCol, PFLD_DATA16, PFLD_KINDVALUE),
                          LBOX_FIELD("CCRowExt", CCRowExt, PFLD_DATA16, PFLD_KINDVALUE),
                          LBOX_FIELD("CCColExt", CCColExt, PFLD_DATA16, PFLD_KINDVALUE),
                          LBOX_FIELD("StringFlags", StringFlags, PFLD_UINT16, PFLD_KINDVALUE),
                          GONE_FIELD("Line", PFLD_RESARRAY),
                          GONE_FIELD("LineNum", PFLD_INT16),
                          {nullptr, 0, 0, 0, 0, -1}};

_PFldRec sLbColFields[] = {LBCOL_FIELD("Font", Font, PFLD_VSTR, PFLD_KINDVALUE),
                           LBCOL_FIELD("Justif", Justif, PFLD_UINT16, PFLD_KINDVALUE),
                           LBCOL_FIELD("Width", Width, PFLD_INT16, PFLD_KINDGEOMETRY),
                           LBCOL_FIELD("LeftMargin", LeftMargin, PFLD_INT16, PFLD_KINDGEOMETRY),
                           LBCOL_FIELD("RightMargin", RightMargin, PFLD_INT16, PFLD_KINDGEOMETRY),
                           GONE_FIELD("StartCol", PFLD_INT16),
                           {nullptr, 0, 0, 0, 0, -1}};

_PFldRec sLbRowFields[] = {LBROW_FIELD("Font", Font, PFLD_VSTR, PFLD_KINDVALUE),
                           LBROW_FIELD("Justif", Justif, PFLD_UINT16, PFLD_KINDVALUE),
                           LBROW_FIELD("Height", Height, PFLD_INT16, PFLD_KINDGEOMETRY),
                           LBROW_FIELD("TopMargin", TopMargin, PFLD_INT16, PFLD_KINDGEOMETRY),
                           LBROW_FIELD("BotMargin", BotMargin, PFLD_INT16, PFLD_KINDGEOMETRY),
                           {nullptr, 0, 0, 0, 0, -1}};

RClasPtr sLBox = nullptr, sLbCol = nullptr, sLbRow = nullptr;
LBoxCellTextHook sTextHook = nullptr;

enum { kErrOutside = 1 };  // "LBox" Errors: a cell outside the set numbers
constexpr Int kMaxExtent = 8000;                // a column's width, a row's height
constexpr Int kMaxIndex = 32767;

int px(int n) { return n * DSPLY_GetScreenDpi() / 96; }

// A rectangle of cells, inclusive bounds.
struct Range {
  Int c0, r0, c1, r1;
  bool contains(Int c, Int r) const { return c >= c0 && c <= c1 && r >= r0 && r <= r1; }
  bool empty() const { return c1 < c0 || r1 < r0; }
};
Range intersect(const Range& a, const Range& b) {
  return Range{std::max(a.c0, b.c0), std::max(a.r0, b.r0), std::min(a.c1, b.c1), std::min(a.r1, b.r1)};
}
const Range kEverything{0, 0, kMaxIndex, kMaxIndex};

struct SelOp {
  Range range;
  bool select;
  bool rows;  // selected or unselected as whole rows
};

struct ColDef {
  FontPtr font = nullptr;
  Int justif = LBOX_JUSTLEFT;
  Int width = -1;  // -1: the default
  Int left = -1, right = -1;
};

struct LBoxState {
  std::vector<Int> colWidth;  // by column; -1: from the definition or the default
  Int headRowHeight = -1;     // -1: shown when row 0 holds a value
  Int rowHeight = -1;         // the body's rows; -1: from the font
  std::vector<ColDef> colDefs;
  FontPtr headFont = nullptr, bodyFont = nullptr;
  Int numRow = 0, numCol = 0;
  std::vector<Range> sel, drawnSel;
  std::vector<SelOp> pending;
  bool flushing = false;
  Int state = LBOX_STATEIDLE;
  UInt16 focusFlags = 0;
  Int focusCol = -1, focusRow = -1;  // the user's cell
  Int hoverCol = -1, hoverRow = -1;  // the cell under the pointer
  PenPtr cellPen = nullptr;
  std::vector<Int32> colStart;  // x of each column in the document, from column 1
  bool colStartValid = false;
  Int rowZeroValue = -1, colZeroValue = -1;  // whether a heading holds a value; -1: not known
  _LBoxCellDrawRec* cellDraw = nullptr;  // during a drawing message
  std::string copied;
  // With the automation surface on: the texts drawn in each cell at its
  // last drawing, by (column, row); cells out of view are dropped when the
  // box is described.
  std::map<std::pair<Int, Int>, std::string> drawnText;
};

WgtPtr W(LBoxPtr b) { return LBOX_Wgt(b); }
SAreaPtr SA(LBoxPtr b) { return reinterpret_cast<SAreaPtr>(b); }
LBoxState& st(LBoxPtr b) { return *static_cast<LBoxState*>(b->LBoxPrivate1); }
Latt2Ptr latt(LBoxPtr b) { return b->LBoxPrivate; }
bool initialized(LBoxPtr b) { return WGT_Res(W(b))->ResInitialized; }

Int clampExtent(long v) { return static_cast<Int>(v < 0 ? 0 : v > kMaxExtent ? kMaxExtent : v); }
Int16 clamp16(long v) { return static_cast<Int16>(v < -32768 ? -32768 : v > 32767 ? 32767 : v); }

// --- Template ------------------------------------------------------------------------

std::vector<Int> data16(const _DataRec& d) {
  std::vector<Int> values;
  if (!d.Data) return values;
  for (UInt32 i = 0; i + 1 < d.Size && values.size() <= static_cast<size_t>(kMaxIndex); i += 2)
    values.push_back(static_cast<Int16>((d.Data[i] << 8) | d.Data[i + 1]));
  return values;
}

ResPtr nthDef(ArrayPtr defs, Int n, RClasPtr cls) {
  ResPtr r = static_cast<ResPtr>(ARRAY_GetNthPtr(defs, n));
  return r && cls && RCLAS_IsSubClassOf(r->ResClass, cls) ? r : nullptr;
}

// The template's definitions, each value clamped to what can be shown and
// scaled to the screen as the boxes are: definitions of the wrong class
// are passed over.
void S_ReadTemplate(LBoxPtr b) {
  LBoxState& s = st(b);
  WgtPtr w = W(b);
  auto sx = [&](long v) { return clampExtent(WGT_ScaleX16(w, static_cast<Int16>(clampExtent(v)))); };
  auto sy = [&](long v) { return clampExtent(WGT_ScaleY16(w, static_cast<Int16>(clampExtent(v)))); };
  s.colDefs.clear();
  Int ncols = std::min(ARRAY_GetCount(b->Col), kMaxIndex + 1);
  for (Int i = 0; i < ncols; i++) {
    ColDef d;
    if (ResPtr r = nthDef(b->Col, i, sLbCol)) {
      _LbColObj* c = reinterpret_cast<_LbColObj*>(r);
      d.font = FONT_LoadByText(c->Font);
      d.justif = c->Justif <= LBOX_JUSTRIGHT ? static_cast<Int>(c->Justif) : static_cast<Int>(LBOX_JUSTLEFT);
      d.width = c->Width > 0 || (c->Width == 0 && i == 0) ? sx(c->Width) : -1;
      d.left = c->LeftMargin >= 0 ? sx(c->LeftMargin) : -1;
      d.right = c->RightMargin >= 0 ? sx(c->RightMargin) : -1;
    }
    s.colDefs.push_back(d);
  }
  if (ResPtr r = nthDef(b->Row, 0, sLbRow)) {
    _LbRowObj* row = reinterpret_cast<_LbRowObj*>(r);
    if (row->Height > 0) s.headRowHeight = sy(row->Height);
    s.headFont = FONT_LoadByText(row->Font);
  }
  if (ResPtr r = nthDef(b->Row, 1, sLbRow)) {
    _LbRowObj* row = reinterpret_cast<_LbRowObj*>(r);
    if (row->Height > 0) s.rowHeight = sy(row->Height);
    s.bodyFont = FONT_LoadByText(row->Font);
  }
  std::vector<Int> widths = data16(b->ColWidth);
  s.colWidth.assign(widths.size(), -1);
  for (size_t i = 0; i < widths.size(); i++)
    if (widths[i] >= 0) s.colWidth[i] = sx(widths[i]);
  std::vector<Int> heights = data16(b->RowHeight);
  if (heights.size() > 0 && heights[0] >= 0) s.headRowHeight = sy(heights[0]);
  if (heights.size() > 1 && heights[1] > 0) s.rowHeight = sy(heights[1]);
  s.numCol = b->ColNum > 0 ? b->ColNum : 0;
  s.numRow = b->RowNum > 0 ? b->RowNum : 0;
  s.colStartValid = false;
}

// --- Geometry ----------------------------------------------------------------------------

FontPtr bodyFont(LBoxPtr b) { return st(b).bodyFont ? st(b).bodyFont : WGT_GetFont(W(b)); }
FontPtr headFont(LBoxPtr b) { return st(b).headFont ? st(b).headFont : FONT_DefaultBold(); }

Int defaultRowHeight(LBoxPtr b) {
  Int h = FONT_GetHeight(bodyFont(b)) + px(8);
  return h > 0 ? h : px(22);
}
Int bodyRowHeight(LBoxPtr b) {
  Int h = st(b).rowHeight > 0 ? st(b).rowHeight : defaultRowHeight(b);
  return h > 0 ? h : 1;
}

// Whether a heading line holds a value: the column heads (row 0) or the
// row heads (column 0).  Known until a heading cell or the structure
// changes.
bool rowZeroHasValue(LBoxPtr b) {
  Int& known = st(b).rowZeroValue;
  if (known < 0) {
    known = latt(b)->Origin->ClientData != nullptr;
    for (Latt2CellPtr c = latt(b)->Origin->Right; c && !known; c = c->Right) known = c->ClientData != nullptr;
  }
  return known;
}
bool colZeroHasValue(LBoxPtr b) {
  Int& known = st(b).colZeroValue;
  if (known < 0) {
    known = 0;
    for (Latt2CellPtr c = latt(b)->Origin->Down; c && !known; c = c->Down) known = c->ClientData != nullptr;
  }
  return known;
}
void headingsChanged(LBoxPtr b) { st(b).rowZeroValue = st(b).colZeroValue = -1; }

Int headRowHeight(LBoxPtr b) {
  if (st(b).headRowHeight >= 0) return st(b).headRowHeight;
  return rowZeroHasValue(b) ? FONT_GetHeight(headFont(b)) + px(10) : 0;
}

Int colWidthOf(LBoxPtr b, Int col) {
  LBoxState& s = st(b);
  if (col >= 0 && static_cast<size_t>(col) < s.colWidth.size() && s.colWidth[static_cast<size_t>(col)] >= 0)
    return s.colWidth[static_cast<size_t>(col)];
  if (col >= 0 && static_cast<size_t>(col) < s.colDefs.size() && s.colDefs[static_cast<size_t>(col)].width >= 0)
    return s.colDefs[static_cast<size_t>(col)].width;
  if (col == 0) return colZeroHasValue(b) ? px(60) : 0;
  return px(100);
}

Int shownCols(LBoxPtr b) {
  LBoxState& s = st(b);
  if (s.numCol > 0) return s.numCol;
  Int n = LATT2_GetLastCol(latt(b));
  n = std::max(n, static_cast<Int>(s.colDefs.size()) - 1);
  return std::max(n, static_cast<Int>(s.colWidth.size()) - 1);
}
Int shownRows(LBoxPtr b) { return st(b).numRow > 0 ? st(b).numRow : LATT2_GetLastRow(latt(b)); }

// The x of every column with a width of its own (from column 1): the
// columns after them all have the default width and are computed, so that
// a grid of many columns costs nothing.
const std::vector<Int32>& colStarts(LBoxPtr b) {
  LBoxState& s = st(b);
  Int own = static_cast<Int>(std::max(s.colWidth.size(), s.colDefs.size())) - 1;
  Int n = std::max(0, std::min(shownCols(b), own));
  if (!s.colStartValid || s.colStart.size() != static_cast<size_t>(n) + 1) {
    s.colStart.assign(static_cast<size_t>(n) + 1, 0);
    for (Int c = 1; c <= n; c++)
      s.colStart[static_cast<size_t>(c)] = s.colStart[static_cast<size_t>(c - 1)] + colWidthOf(b, c);
    s.colStartValid = true;
  }
  return s.colStart;
}

// The document x of a column (1 .. shown + 1: the end of the last one).
Int32 colLeft(LBoxPtr b, Int col) {
  const std::vector<Int32>& starts = colStarts(b);
  Int k = static_cast<Int>(starts.size()) - 1;
  if (col - 1 <= k) return starts[static_cast<size_t>(std::max(col - 1, 0))];
  return starts.back() + (col - 1 - k) * px(100);
}

Int32 docWidth(LBoxPtr b) { return colLeft(b, shownCols(b) + 1); }

// The column whose document span holds x (1 .. shown), or 0 beyond.
Int colAtDocX(LBoxPtr b, Int32 x) {
  if (x < 0 || x >= docWidth(b)) return 0;
  const std::vector<Int32>& starts = colStarts(b);
  if (x < starts.back()) return static_cast<Int>(std::upper_bound(starts.begin(), starts.end(), x) - starts.begin());
  return static_cast<Int>(starts.size()) + (x - starts.back()) / px(100);
}

// Lays the box out again after a change of its cells or definitions.
void LBoxReCompute(LBoxPtr b) {
  SAreaPtr a = SA(b);
  Int rowH = bodyRowHeight(b);
  SAREA_SetScrollStep(a, px(20), rowH);
  SAREA_SetHeadExt(a, colWidthOf(b, 0), headRowHeight(b));
  SAREA_SetDocExt(a, docWidth(b), static_cast<Int32>(shownRows(b)) * rowH);
}

// The cell's rectangle in widget coordinates, cut to 16 bits, and the
// part it is shown in.
_Rect16Rec cellRect(LBoxPtr b, Int col, Int row, Int* part) {
  SAreaPtr a = SA(b);
  long x, y, w, h;
  if (col <= 0) {
    x = a->WorkBox.Origin.X;
    w = colWidthOf(b, 0);
  } else {
    x = a->ViewBox.Origin.X + static_cast<long>(colLeft(b, col)) - a->DocBox.X;
    w = colWidthOf(b, col);
  }
  if (row <= 0) {
    y = a->WorkBox.Origin.Y;
    h = headRowHeight(b);
  } else {
    h = bodyRowHeight(b);
    y = a->ViewBox.Origin.Y + static_cast<long>(row - 1) * h - a->DocBox.Y;
  }
  if (part)
    *part = row <= 0 ? (col <= 0 ? SAREA_PARTCORNER : SAREA_PARTTOPHEAD)
                     : (col <= 0 ? SAREA_PARTLEFTHEAD : SAREA_PARTBODY);
  long x2 = std::max(-32768L, std::min(32767L, x + w)), y2 = std::max(-32768L, std::min(32767L, y + h));
  x = std::max(-32768L, std::min(32767L, x));
  y = std::max(-32768L, std::min(32767L, y));
  return RECT16_Make(static_cast<int>(x), static_cast<int>(y), static_cast<int>(x2 - x), static_cast<int>(y2 - y));
}

_Rect16Rec partRectOf(LBoxPtr b, Int part) {
  SAreaPtr a = SA(b);
  const _Rect16Rec& v = a->ViewBox;
  const _Rect16Rec& k = a->WorkBox;
  int hx = v.Origin.X - k.Origin.X, hy = v.Origin.Y - k.Origin.Y;
  switch (part) {
    case SAREA_PARTBODY: return v;
    case SAREA_PARTTOPHEAD: return RECT16_Make(v.Origin.X, k.Origin.Y, v.Extent.X, hy);
    case SAREA_PARTLEFTHEAD: return RECT16_Make(k.Origin.X, v.Origin.Y, hx, v.Extent.Y);
    default: return RECT16_Make(k.Origin.X, k.Origin.Y, hx, hy);
  }
}

_Rect16Rec intersectRect(const _Rect16Rec& a, const _Rect16Rec& b) {
  int x = std::max(a.Origin.X, b.Origin.X), y = std::max(a.Origin.Y, b.Origin.Y);
  int x2 = std::min(a.Origin.X + a.Extent.X, b.Origin.X + b.Extent.X);
  int y2 = std::min(a.Origin.Y + a.Extent.Y, b.Origin.Y + b.Extent.Y);
  return RECT16_Make(x, y, std::max(0, x2 - x), std::max(0, y2 - y));
}

_Rect16Rec cellClip(LBoxPtr b, Int col, Int row, _Rect16Rec* rect) {
  Int part;
  _Rect16Rec r = cellRect(b, col, row, &part);
  if (rect) *rect = r;
  if (col > shownCols(b) || row > shownRows(b) || col < 0 || row < 0) return RECT16_Make(r.Origin.X, r.Origin.Y, 0, 0);
  return intersectRect(r, partRectOf(b, part));
}

// The visible body cells: rows r0..r1 and columns c0..c1 (empty when
// r1 < r0 or c1 < c0).
Range visibleBody(LBoxPtr b) {
  SAreaPtr a = SA(b);
  Int rowH = bodyRowHeight(b);
  Range v{1, 1, 0, 0};
  if (a->ViewBox.Extent.X <= 0 || a->ViewBox.Extent.Y <= 0) return v;
  v.r0 = a->DocBox.Y / rowH + 1;
  v.r1 = std::min(static_cast<Int>((static_cast<int64_t>(a->DocBox.Y) + a->ViewBox.Extent.Y - 1) / rowH + 1),
                  shownRows(b));
  v.c0 = colAtDocX(b, a->DocBox.X);
  Int c1 = colAtDocX(b, a->DocBox.X + a->ViewBox.Extent.X - 1);
  v.c1 = c1 ? c1 : shownCols(b);
  if (v.c0 == 0) v.c1 = -1;
  return v;
}

void invalCell(LBoxPtr b, Int col, Int row) {
  if (!initialized(b)) return;
  _Rect16Rec clip = cellClip(b, col, row, nullptr);
  if (!RECT16_IsEmpty(clip)) WGT_Inval(W(b), &clip);
}

// --- Notification of one cell ----------------------------------------------------------------

// Sends a message about a cell with the cursor on it; the cursor comes back.
long sendAtCell(LBoxPtr b, Int col, Int row, Int message, ClientPtr data = nullptr) {
  Latt2CursorRec saved;
  LATT2_SaveCursor(latt(b), &saved);
  LATT2_GoTo(latt(b), col, row);
  long result = WGT_Send(W(b), message, data);
  LATT2_RestoreCursor(latt(b), &saved);
  return result;
}

// A drawing message for a cell with a context clipped to it; false when
// nothing of the cell shows.
bool drawAtCell(LBoxPtr b, Int col, Int row, Int message) {
  _LBoxCellDrawRec rec;
  rec.Clip = cellClip(b, col, row, &rec.Rect);
  if (RECT16_IsEmpty(rec.Clip)) return false;
  rec.Draw = WGT_BeginDraw(W(b));
  DRAW_ClipRect(rec.Draw, rec.Clip);
  _LBoxCellDrawRec* outer = st(b).cellDraw;
  st(b).cellDraw = &rec;
  bool capture = message == LBOX_NFYCELLDRAW && AUTOM_IsOn();
  if (capture) AUTOM_CaptureBegin();
  sendAtCell(b, col, row, message, &rec);
  if (capture) st(b).drawnText[{col, row}] = AUTOM_CaptureEnd();
  st(b).cellDraw = outer;
  WGT_EndDraw(rec.Draw);
  return true;
}

// --- Selection ---------------------------------------------------------------------------------

bool inRanges(const std::vector<Range>& ranges, Int c, Int r) {
  for (const Range& g : ranges)
    if (g.contains(c, r)) return true;
  return false;
}

Range fromRec(const RangeRec& r) {
  if (r.Ori.Col == 0 && r.Ori.Row == 0 && r.Ext.Col == 0 && r.Ext.Row == 0) return kEverything;
  Int c0 = std::max<Int>(r.Ori.Col, 0), r0 = std::max<Int>(r.Ori.Row, 0);
  Int c1 = std::min<Int>(r.Ori.Col + r.Ext.Col - 1, kMaxIndex), r1 = std::min<Int>(r.Ori.Row + r.Ext.Row - 1, kMaxIndex);
  return Range{c0, r0, c1, r1};
}

RangeRec toRec(const Range& r) {
  return RangeRec{{clamp16(r.c0), clamp16(r.r0)}, {clamp16(r.c1 - r.c0 + 1), clamp16(r.r1 - r.r0 + 1)}};
}

void addRange(std::vector<Range>& ranges, const Range& g) {
  for (const Range& r : ranges)
    if (r.contains(g.c0, g.r0) && r.contains(g.c1, g.r1)) return;
  ranges.erase(std::remove_if(ranges.begin(), ranges.end(),
                              [&](const Range& r) { return g.contains(r.c0, r.r0) && g.contains(r.c1, r.r1); }),
               ranges.end());
  ranges.push_back(g);
}

void subtractRange(std::vector<Range>& ranges, const Range& g) {
  std::vector<Range> out;
  for (const Range& r : ranges) {
    Range i = intersect(r, g);
    if (i.empty()) {
      out.push_back(r);
      continue;
    }
    // What is left of r: the rows above and below, the sides between.
    if (r.r0 < i.r0) out.push_back(Range{r.c0, r.r0, r.c1, i.r0 - 1});
    if (i.r1 < r.r1) out.push_back(Range{r.c0, i.r1 + 1, r.c1, r.r1});
    if (r.c0 < i.c0) out.push_back(Range{r.c0, i.r0, i.c0 - 1, i.r1});
    if (i.c1 < r.c1) out.push_back(Range{i.c1 + 1, i.r0, r.c1, i.r1});
  }
  ranges.swap(out);
}

void flush(LBoxPtr b);

void selOp(LBoxPtr b, const Range& g, bool select, bool rows) {
  if (g.empty()) return;
  LBoxState& s = st(b);
  if (select) addRange(s.sel, g);
  else subtractRange(s.sel, g);
  s.pending.push_back(SelOp{g, select, rows});
  flush(b);
}

void collectCell(Latt2CellPtr cell, ClientPtr data) {
  static_cast<std::vector<std::pair<Int, Int>>*>(data)->push_back({cell->Col, cell->Row});
}

// The cells with a value whose state may have changed in an operation:
// those of the range that were or are selected.
std::set<std::pair<Int, Int>> touchedCells(LBoxPtr b, const Range& g, const std::vector<Range>& before) {
  std::set<std::pair<Int, Int>> cells;
  std::vector<std::pair<Int, Int>> found;
  Range bound{0, 0, LATT2_GetLastCol(latt(b)), LATT2_GetLastRow(latt(b))};
  for (const std::vector<Range>* list : {&before, static_cast<const std::vector<Range>*>(&st(b).sel)})
    for (const Range& r : *list) {
      Range i = intersect(intersect(r, g), bound);
      if (i.empty()) continue;
      LATT2_PerfRangeDS(latt(b), i.c0, i.r0, i.c1, i.r1, collectCell, &found);
    }
  for (auto& c : found) cells.insert({c.second, c.first});  // row-major
  return cells;
}

// Works the pending operations: the owner hears each, then every cell and
// row whose state differs from what was last drawn.
void flush(LBoxPtr b) {
  LBoxState& s = st(b);
  if (s.flushing) return;
  s.flushing = true;
  WgtPtr w = W(b);
  RES_Use(WGT_Res(w));
  for (int round = 0; round < 16 && !s.pending.empty(); round++) {
    std::vector<SelOp> ops;
    ops.swap(s.pending);
    for (const SelOp& op : ops) {
      _LBoxSelOpRec rec{op.select ? 1 : 0, toRec(op.range)};
      WGT_Send(w, LBOX_NFYSELOPERATION, &rec);
    }
    std::vector<Range> before = s.drawnSel;
    s.drawnSel = s.sel;
    std::set<std::pair<Int, Int>> cells, rows;
    std::vector<std::pair<Int, Int>> shown;
    Range vis = visibleBody(b);
    Range visAll{0, 0, vis.c1, vis.r1};
    for (const SelOp& op : ops) {
      for (auto& c : touchedCells(b, op.range, before)) cells.insert(c);
      for (Int r = std::max(op.range.r0, 1); r <= std::min(op.range.r1, LATT2_GetLastRow(latt(b))); r++)
        if (op.rows || inRanges(before, 0, r)) rows.insert({r, 0});
      Range v = intersect(op.range, visAll);
      for (Int r = v.r0; r <= v.r1; r++) {
        if (r > 0 && r < vis.r0) continue;
        for (Int c = v.c0; c <= v.c1; c++)
          if (c == 0 || c >= vis.c0) shown.push_back({r, c});
      }
    }
    for (auto& rc : cells) {
      bool was = inRanges(before, rc.second, rc.first), now = inRanges(s.sel, rc.second, rc.first);
      if (was != now) sendAtCell(b, rc.second, rc.first, now ? LBOX_NFYCELLSELECTED : LBOX_NFYCELLUNSELECTED);
    }
    for (auto& rr : rows) {
      Int r = rr.first;
      bool was = inRanges(before, 0, r) && inRanges(before, kMaxIndex, r);
      bool now = inRanges(s.sel, 0, r) && inRanges(s.sel, kMaxIndex, r);
      if (was != now) sendAtCell(b, 0, r, now ? LBOX_NFYROWSELECTED : LBOX_NFYROWUNSELECTED);
    }
    std::sort(shown.begin(), shown.end());
    shown.erase(std::unique(shown.begin(), shown.end()), shown.end());
    if (initialized(b) && w->Win && w->Win->State == WIN_STATEOPEN)
      for (auto& rc : shown) {
        bool was = inRanges(before, rc.second, rc.first), now = inRanges(s.sel, rc.second, rc.first);
        if (was != now)
          drawAtCell(b, rc.second, rc.first, now ? LBOX_NFYCELLHIGHLIGHTSEL : LBOX_NFYCELLUNHIGHLIGHTSEL);
      }
  }
  s.pending.clear();
  s.flushing = false;
  RES_Release(WGT_Res(w));
}

// Moves selection ranges (both lists) for a line inserted (delta 1) or
// removed (-1) at `at`, rows or columns.
void shiftRanges(std::vector<Range>& ranges, bool rows, Int at, Int delta) {
  std::vector<Range> out;
  for (Range r : ranges) {
    Int& lo = rows ? r.r0 : r.c0;
    Int& hi = rows ? r.r1 : r.c1;
    if (delta > 0) {
      if (lo >= at) lo = std::min(lo + 1, kMaxIndex);
      if (hi >= at && hi < kMaxIndex) hi++;
    } else {
      if (lo > at) lo--;
      if (hi >= at && hi < kMaxIndex) hi--;
    }
    if (!r.empty()) out.push_back(r);
  }
  ranges.swap(out);
}

// The next selected cell after (c, r) in row-major order, within the shown
// grid and, for a walk in one row or column, in that line.
bool nextSelected(LBoxPtr b, Int c, Int r, Int* nc, Int* nr, Int onlyRow = -1, Int onlyCol = -1) {
  Int maxC = std::max(shownCols(b), LATT2_GetLastCol(latt(b))), maxR = std::max(shownRows(b), LATT2_GetLastRow(latt(b)));
  bool found = false;
  Int bc = 0, br = 0;
  for (Range g : st(b).sel) {
    g = intersect(g, Range{0, 0, maxC, maxR});
    if (onlyRow >= 0) g = intersect(g, Range{0, onlyRow, kMaxIndex, onlyRow});
    if (onlyCol >= 0) g = intersect(g, Range{onlyCol, 0, onlyCol, kMaxIndex});
    if (g.empty()) continue;
    Int cc, cr;
    if (r >= g.r0 && r <= g.r1 && c < g.c1) {
      cc = std::max(c + 1, g.c0);
      cr = r;
    } else if (std::max(r + 1, g.r0) <= g.r1) {
      cr = std::max(r + 1, g.r0);
      cc = g.c0;
    } else {
      continue;
    }
    if (!found || cr < br || (cr == br && cc < bc)) {
      found = true;
      bc = cc;
      br = cr;
    }
  }
  *nc = bc;
  *nr = br;
  return found;
}

BoolEnum goSel(LBoxPtr b, Int c, Int r, bool alloc, Int onlyRow = -1, Int onlyCol = -1) {
  Latt2CursorRec saved;
  LATT2_SaveCursor(latt(b), &saved);
  Int nc, nr;
  while (nextSelected(b, c, r, &nc, &nr, onlyRow, onlyCol)) {
    LATT2_GoTo(latt(b), nc, nr);
    if (!alloc || LATT2_GetClientData(latt(b))) return 1;
    // Skip to the next cell with a value, and then to the next selected one.
    if (!LATT2_GoAllocNext(latt(b))) break;
    Latt2CellPtr cur = latt(b)->Cur;
    if ((onlyRow >= 0 && cur->Row != onlyRow) || (onlyCol >= 0 && cur->Col != onlyCol)) break;
    if (inRanges(st(b).sel, cur->Col, cur->Row)) return 1;
    c = cur->Col;
    r = cur->Row;
  }
  LATT2_RestoreCursor(latt(b), &saved);
  return 0;
}

// --- Drawing -------------------------------------------------------------------------------------

ColorPtr headingColor() { return COLOR_LoadByText("#eceef2"); }

void S_DefCellDraw(LBoxPtr b, _LBoxCellDrawRec* rec) {
  if (!rec || !rec->Draw) return;
  WgtPtr w = W(b);
  Int col = LBOX_CurGetCol(b), row = LBOX_CurGetRow(b);
  bool heading = col == 0 || row == 0;
  bool selected = inRanges(st(b).sel, col, row);
  ColorPtr bg = selected ? COLOR_Selection() : heading ? headingColor() : WGT_GetBgColor(w);
  if (!WGT_IsEnabled(w)) bg = heading ? headingColor() : COLOR_Window();
  const _Rect16Rec& r = rec->Rect;
  DRAW_FillRect(rec->Draw, r, bg);
  PenPtr pen = LBOX_GetCellPen(b);
  ColorPtr grid = heading ? COLOR_Border() : COLOR_LightGray();
  int right = r.Origin.X + r.Extent.X - 1, bottom = r.Origin.Y + r.Extent.Y - 1;
  DRAW_Line(rec->Draw, right, r.Origin.Y, right, bottom, grid, pen);
  DRAW_Line(rec->Draw, r.Origin.X, bottom, right, bottom, grid, pen);
  _LBoxStringRec text{nullptr};
  WGT_Send(w, LBOX_NFYCELLSTRING, &text);
  if (text.String) {
    ColorPtr fg = WGT_IsEnabled(w) ? WGT_GetFgColor(w) : COLOR_DisabledText();
    LBOX_DrawCellText(b, text.String, heading ? headFont(b) : nullptr, fg);
  }
  if (col == st(b).focusCol && row == st(b).focusRow && !(st(b).focusFlags & LBOX_FOCUSNOFRAME) &&
      WGT_HasFocus(w, 1))
    DRAW_FrameRect(rec->Draw, RECT16_Make(r.Origin.X, r.Origin.Y, r.Extent.X - 1, r.Extent.Y - 1), COLOR_Accent(),
                   PEN_Solid());
}

void S_DrawPart(LBoxPtr b, _SAreaDrawRec* rec) {
  if (!rec) return;
  WgtPtr w = W(b);
  LBoxState& s = st(b);
  Int saveState = s.state;
  s.state = LBOX_STATEBEINGDRAWN;
  Range vis = visibleBody(b);
  Range cells = vis;
  switch (rec->Part) {
    case SAREA_PARTTOPHEAD: cells.r0 = cells.r1 = 0; break;
    case SAREA_PARTLEFTHEAD: cells.c0 = cells.c1 = 0; break;
    case SAREA_PARTCORNER: cells = Range{0, 0, 0, 0}; break;
    default: break;
  }
  // Only the cells that the window is redrawing.
  RegionPtr dirty = w->Win ? w->Win->DrawRgn : nullptr;
  _Point16Rec origin = WGT_QueryWinOrigin(w);
  for (Int r = cells.r0; r <= cells.r1; r++)
    for (Int c = cells.c0; c <= cells.c1; c++) {
      if (dirty) {
        _Rect16Rec clip = cellClip(b, c, r, nullptr);
        clip.Origin.X = static_cast<int16_t>(clip.Origin.X + origin.X);
        clip.Origin.Y = static_cast<int16_t>(clip.Origin.Y + origin.Y);
        if (!RGN_OverlapsRect(dirty, clip)) continue;
      }
      drawAtCell(b, c, r, LBOX_NFYCELLDRAW);
    }
  s.state = saveState;
}

// --- The user's cell --------------------------------------------------------------------------------

void setFocusCell(LBoxPtr b, Int col, Int row) {
  LBoxState& s = st(b);
  if (s.focusCol == col && s.focusRow == row) return;
  Int oldC = s.focusCol, oldR = s.focusRow;
  s.focusCol = col;
  s.focusRow = row;
  if (oldC >= 0 && oldR >= 0) drawAtCell(b, oldC, oldR, LBOX_NFYCELLUNHIGHLIGHTFOCUS);
  if (col >= 0 && row >= 0) drawAtCell(b, col, row, LBOX_NFYCELLHIGHLIGHTFOCUS);
}

void showCell(LBoxPtr b, Int col, Int row) {
  Int rowH = bodyRowHeight(b);
  SAreaPtr a = SA(b);
  Int32 x = a->DocBox.X, w = 0;
  if (col >= 1 && col <= shownCols(b)) {
    x = colLeft(b, col);
    w = colWidthOf(b, col);
  }
  Int32 y = a->DocBox.Y, h = 0;
  if (row >= 1) {
    y = static_cast<Int32>(row - 1) * rowH;
    h = rowH;
  }
  SAREA_MakeVisible(a, x, y, w, h);
}

// The user chose a cell: it becomes the user's cell and the owner hears
// a click (or a validation) with the cursor on it.
void userCell(LBoxPtr b, Int col, Int row, bool validate) {
  WgtPtr w = W(b);
  RES_Use(WGT_Res(w));
  setFocusCell(b, col, row);
  LATT2_GoTo(latt(b), col, row);
  WGT_Send(w, validate ? LBOX_NFYVALIDATE : LBOX_NFYCELLCLICKED);
  flush(b);
  RES_Release(WGT_Res(w));
}

// The cell under a point of the box; false off the cells (a bar, the
// frame, below the last row or right of the last column).
bool cellAt(LBoxPtr b, _Point16Rec loc, Int* col, Int* row) {
  SAreaPtr a = SA(b);
  Int part = SAREA_QueryPartOnLoc(a, loc.X, loc.Y);
  if (part < 0) return false;
  *col = 0;
  *row = 0;
  if (part == SAREA_PARTBODY || part == SAREA_PARTTOPHEAD) {
    *col = colAtDocX(b, a->DocBox.X + loc.X - a->ViewBox.Origin.X);
    if (*col == 0) return false;
  }
  if (part == SAREA_PARTBODY || part == SAREA_PARTLEFTHEAD) {
    int64_t y = static_cast<int64_t>(a->DocBox.Y) + loc.Y - a->ViewBox.Origin.Y;
    *row = static_cast<Int>(y / bodyRowHeight(b) + 1);
    if (*row > shownRows(b)) return false;
  }
  return true;
}

void S_Click(LBoxPtr b) {
  WgtPtr w = W(b);
  _Point16Rec loc;
  EVENT_QueryWgtLoc(w, &loc);
  if (EVENT_GetButton() != EVENT_BUT1 || SAREA_QueryPartOnLoc(SA(b), loc.X, loc.Y) < 0) return;
  WGT_MouseHandled(w);
  if (w->WgtFlags & (WGT_FLAGTABSTOP | WGT_FLAGGROUP)) WGT_GainFocus(w);
  Int col, row;
  if (!cellAt(b, loc, &col, &row)) return;
  Int saved = st(b).state;
  st(b).state = LBOX_STATEPROCESSINGMOUSECLICK;
  userCell(b, col, row, EVENT_IsDouble());
  st(b).state = saved;
}

// The pointer entering and leaving cells: LBOX_NFYCELLOUT for the one it
// left, LBOX_NFYCELLIN for the one it is on.
void setHoverCell(LBoxPtr b, Int col, Int row) {
  LBoxState& s = st(b);
  if (s.hoverCol == col && s.hoverRow == row) return;
  Int oldC = s.hoverCol, oldR = s.hoverRow;
  s.hoverCol = col;
  s.hoverRow = row;
  if (oldC >= 0) sendAtCell(b, oldC, oldR, LBOX_NFYCELLOUT);
  if (col >= 0) sendAtCell(b, col, row, LBOX_NFYCELLIN);
}

void S_MouseMove(LBoxPtr b) {
  _Point16Rec loc;
  EVENT_QueryWgtLoc(W(b), &loc);
  Int col, row;
  if (!cellAt(b, loc, &col, &row)) col = row = -1;
  else WGT_MouseHandled(W(b));
  setHoverCell(b, col, row);
}

bool S_Key(LBoxPtr b) {
  LBoxState& s = st(b);
  Int rows = shownRows(b), cols = shownCols(b);
  if (rows < 1 || cols < 1) return false;
  Int col = s.focusCol >= 1 ? s.focusCol : 1, row = s.focusRow >= 1 ? s.focusRow : 0;
  CellRec first;
  if (s.focusRow < 1 && LBOX_SelTopLeft(b, &first)) {
    // No cell of the user's yet: the keys start from the selection.
    col = std::max<Int>(first.Col, 1);
    row = first.Row;
  }
  Int page = std::max(1, SA(b)->ViewBox.Extent.Y / bodyRowHeight(b) - 1);
  bool validate = false;
  switch (EVENT_GetKeyCode()) {
    case EVENT_KEYUP: row = row <= 1 ? 1 : row - 1; break;
    case EVENT_KEYDOWN: row = row + 1; break;
    case EVENT_KEYLEFT: col = col - 1; break;
    case EVENT_KEYRIGHT: col = col + 1; break;
    case EVENT_KEYPREVPAGE: row = row - page; break;
    case EVENT_KEYNEXTPAGE: row = row + page; break;
    case EVENT_KEYHOME: row = 1; if (EVENT_GetKbMods() & EVENT_MODCONTROL) col = 1; break;
    case EVENT_KEYEND: row = rows; if (EVENT_GetKbMods() & EVENT_MODCONTROL) col = cols; break;
    case EVENT_KEYRETURN:
    case EVENT_KEYENTER: validate = true; break;
    default:
      if (EVENT_GetKbAsciiChar() != ' ') return false;
      break;
  }
  row = std::max(1, std::min(row, rows));
  col = std::max(1, std::min(col, cols));
  WGT_KeyHandled(W(b));
  showCell(b, col, row);
  Int saved = s.state;
  s.state = LBOX_STATEPROCESSINGKEY;
  userCell(b, col, row, validate);
  s.state = saved;
  return true;
}

void S_DefClicked(LBoxPtr b) {
  UInt16 flags = b->SelFlags;
  if (flags & LBOX_SELNONE) return;
  LBOX_AllUnselect(b);
  if (flags & LBOX_SELROWS) LBOX_CurSelectRow(b);
  else LBOX_CurSelect(b);
}

// --- Life ---------------------------------------------------------------------------------

void S_LBoxConstruct(ResPtr res, ResConstructPtr params) {
  if (params->Mode == RES_MODECOPY) return;
  LBoxPtr b = reinterpret_cast<LBoxPtr>(res);
  b->LBoxPrivate = LATT2_New();
  b->LBoxPrivate1 = new LBoxState();
  SA(b)->HVFlags = SAREA_HSB | SAREA_VSB | SAREA_BORDER;
}

void S_LBoxDestruct(ResPtr res) {
  LBoxPtr b = reinterpret_cast<LBoxPtr>(res);
  // Ended while the cells are still here, so that the owner hears of each.
  if (res->ResInitialized) WGT_Send(W(b), WGT_NFYEND);
  delete static_cast<LBoxState*>(b->LBoxPrivate1);
  b->LBoxPrivate1 = nullptr;
  LATT2_Dispose(b->LBoxPrivate);
  b->LBoxPrivate = nullptr;
}

void S_Init(LBoxPtr b) {
  if (W(b)->WgtFlags == 0) W(b)->WgtFlags = WGT_FLAGTABSTOP;  // a list is reached with tab
  SAREA_DefNfy(WGT_Res(W(b)), WGT_NFYINIT, nullptr);
  S_ReadTemplate(b);
  LBoxReCompute(b);
}

// Tells LBOX_NFYCELLDELETE for the cells with a value, with the cursor on
// each (none while sorting).
void tellDeleted(LBoxPtr b, const std::vector<std::pair<Int, Int>>& cells) {
  if (st(b).state == LBOX_STATEBEINGSORTED) return;
  for (auto& c : cells) sendAtCell(b, c.first, c.second, LBOX_NFYCELLDELETE);
}

void clearCells(LBoxPtr b) {
  std::vector<std::pair<Int, Int>> cells;
  LATT2_PerfAllDS(latt(b), collectCell, &cells);
  tellDeleted(b, cells);
  LATT2_Reset(latt(b));
  LBoxState& s = st(b);
  s.sel.clear();
  s.drawnSel.clear();
  s.pending.clear();
  s.focusCol = s.focusRow = -1;
  s.hoverCol = s.hoverRow = -1;
}

void afterStructure(LBoxPtr b) {
  headingsChanged(b);
  st(b).hoverCol = st(b).hoverRow = -1;
  st(b).colStartValid = false;
  LBoxReCompute(b);
  if (initialized(b)) WGT_Inval(W(b), nullptr);
}

// Inserts or deletes a row or column at the cursor.
void lineOp(LBoxPtr b, bool rows, bool insert) {
  Latt2Ptr l = latt(b);
  LBoxState& s = st(b);
  Int at = rows ? l->Row : l->Col;
  if (at < 1) {
    if (!insert) return;
    at = 1;
  }
  Latt2CursorRec saved;
  LATT2_SaveCursor(l, &saved);
  // Cells leave: the deleted line, or the last line when it is pushed past
  // the end.
  Int leaving = insert ? (rows ? LATT2_GetLastRow(l) : LATT2_GetLastCol(l)) : at;
  if (!insert || leaving == kMaxIndex) {
    std::vector<std::pair<Int, Int>> cells;
    if (rows) LATT2_PerfLineDS(l, leaving, collectCell, &cells);
    else LATT2_PerfColDS(l, leaving, collectCell, &cells);
    tellDeleted(b, cells);
  }
  LATT2_GoTo(l, rows ? l->Col : at, rows ? at : l->Row);
  if (rows) insert ? LATT2_LineInsert(l) : LATT2_LineExtract(l);
  else insert ? LATT2_ColInsert(l) : LATT2_ColExtract(l);
  shiftRanges(s.sel, rows, at, insert ? 1 : -1);
  shiftRanges(s.drawnSel, rows, at, insert ? 1 : -1);
  if (!rows) {
    // Column definitions follow their columns.
    if (static_cast<size_t>(at) < s.colWidth.size()) {
      if (insert) s.colWidth.insert(s.colWidth.begin() + at, -1);
      else s.colWidth.erase(s.colWidth.begin() + at);
    }
    if (static_cast<size_t>(at) < s.colDefs.size()) {
      if (insert) s.colDefs.insert(s.colDefs.begin() + at, ColDef());
      else s.colDefs.erase(s.colDefs.begin() + at);
    }
    // A definition pushed past the last column goes with it.
    if (s.colWidth.size() > static_cast<size_t>(kMaxIndex) + 1) s.colWidth.resize(static_cast<size_t>(kMaxIndex) + 1);
    if (s.colDefs.size() > static_cast<size_t>(kMaxIndex) + 1) s.colDefs.resize(static_cast<size_t>(kMaxIndex) + 1);
  }
  Int& focus = rows ? s.focusRow : s.focusCol;
  if (focus >= at) focus = insert ? std::min(focus + 1, kMaxIndex) : (focus == at ? -1 : focus - 1);
  if (insert && st(b).state != LBOX_STATEBEINGSORTED)
    sendAtCell(b, rows ? 0 : at, rows ? at : 0, LBOX_NFYCELLINSERT);
  LATT2_RestoreCursor(l, &saved);
  afterStructure(b);
}

}  // namespace

// --- Classes ----------------------------------------------------------------------------------

RClasPtr LBOX_Class() { return sLBox; }
RClasPtr LBCOL_Class() { return sLbCol; }
RClasPtr LBROW_Class() { return sLbRow; }

void LBCOL_InstallClass() {
  sLbCol = WgtRegisterClass("LbCol", "LbCol", RES_Class(), sLbColFields, static_cast<Int>(sizeof(_LbColObj)), nullptr,
                            nullptr, nullptr);
}
void LBROW_InstallClass() {
  sLbRow = WgtRegisterClass("LbRow", "LbRow", RES_Class(), sLbRowFields, static_cast<Int>(sizeof(_LbRowObj)), nullptr,
                            nullptr, nullptr);
}

void LBOX_InstallClass() {
  SAREA_InstallClass();
  LBCOL_InstallClass();
  LBROW_InstallClass();
  sLBox = WgtRegisterClass("LBox", "LBox", SAREA_Class(), sLBoxFields, static_cast<Int>(sizeof(_LBoxObj)),
                           S_LBoxConstruct, S_LBoxDestruct, LBOX_DefNfy);
}

void LBOX_InitClass() {}
void LBCOL_InitClass() {}
void LBROW_InitClass() {}

LBoxPtr LBOX_Create() { return reinterpret_cast<LBoxPtr>(RES_Create(sLBox)); }

BoolEnum LBOX_IsLBox(WgtPtr wgt) { return wgt && sLBox && RCLAS_IsSubClassOf(WGT_Res(wgt)->ResClass, sLBox); }

long LBOX_DefNfy(ResPtr res, Int message, ClientPtr data) {
  LBoxPtr b = reinterpret_cast<LBoxPtr>(res);
  switch (message) {
    case WGT_NFYINIT:
      S_Init(b);
      return 0;
    case WGT_NFYEND:
      // The owner frees its client data here.
      clearCells(b);
      return SAREA_DefNfy(res, message, data);
    case SAREA_NFYDRAWPART:
      S_DrawPart(b, static_cast<_SAreaDrawRec*>(data));
      return 0;
    case WGT_NFYMOUSECLICK:
      SAREA_DefNfy(res, message, data);  // the bars and the wheel
      if (!WGT_IsMouseHandled()) S_Click(b);
      return 0;
    case WGT_NFYKEYCHAR:
      if (!S_Key(b)) return SAREA_DefNfy(res, message, data);
      return 0;
    case WGT_NFYMOUSEMOVE:
      SAREA_DefNfy(res, message, data);  // the bars
      if (!WGT_IsMouseHandled()) S_MouseMove(b);
      else setHoverCell(b, -1, -1);
      return 0;
    case WGT_NFYMOUSEOUT:
      setHoverCell(b, -1, -1);
      return SAREA_DefNfy(res, message, data);
    case WGT_NFYFOCUSGAINED:
    case WGT_NFYFOCUSLOST:
      if (st(b).focusCol >= 0)
        drawAtCell(b, st(b).focusCol, st(b).focusRow,
                   message == WGT_NFYFOCUSGAINED ? LBOX_NFYCELLHIGHLIGHTFOCUS : LBOX_NFYCELLUNHIGHLIGHTFOCUS);
      return SAREA_DefNfy(res, message, data);
    case LBOX_NFYCELLDRAW:
      S_DefCellDraw(b, static_cast<_LBoxCellDrawRec*>(data));
      return 0;
    case LBOX_NFYCELLHIGHLIGHTSEL:
    case LBOX_NFYCELLUNHIGHLIGHTSEL:
    case LBOX_NFYCELLHIGHLIGHTFOCUS:
    case LBOX_NFYCELLUNHIGHLIGHTFOCUS:
      invalCell(b, LBOX_CurGetCol(b), LBOX_CurGetRow(b));
      return 0;
    case LBOX_NFYCELLSTRING:
      if (data && (b->StringFlags & LBOX_STRINGCLIENTDATA))
        static_cast<_LBoxStringRec*>(data)->String = static_cast<const char*>(LBOX_CurGetClientData(b));
      return 0;
    case LBOX_NFYCELLCLICKED:
      S_DefClicked(b);
      return 0;
    default:
      if (message >= LBOX_NFYCELLINSERT && message <= LBOX_NFYROWUNSELECTED) return 0;
      return SAREA_DefNfy(res, message, data);
  }
}

void LBOX_Update(LBoxPtr box) {
  if (box && initialized(box)) EVENT_ProcessWgtRecal(W(box));
}

// --- Cursor -----------------------------------------------------------------------------------

void LBOX_GoCell(LBoxPtr box, CellRec cell) { LATT2_GoTo(latt(box), cell.Col, cell.Row); }
void LBOX_GoColRow(LBoxPtr box, Int col, Int row) { LATT2_GoTo(latt(box), col, row); }
void LBOX_GoCellRel(LBoxPtr box, CellRec delta) { LATT2_GoBy(latt(box), delta.Col, delta.Row); }
void LBOX_GoHome(LBoxPtr box) { LATT2_GoTo(latt(box), 1, 1); }
void LBOX_GoHomeHead(LBoxPtr box) { LATT2_GoTo(latt(box), 0, 0); }
void LBOX_GoRowHead(LBoxPtr box) { LATT2_GoTo(latt(box), 0, latt(box)->Row); }
void LBOX_GoColHead(LBoxPtr box) { LATT2_GoTo(latt(box), latt(box)->Col, 0); }
void LBOX_GoUp(LBoxPtr box) { LATT2_GoUp(latt(box)); }
void LBOX_GoDown(LBoxPtr box) { LATT2_GoDown(latt(box)); }
void LBOX_GoLeft(LBoxPtr box) { LATT2_GoLeft(latt(box)); }
void LBOX_GoRight(LBoxPtr box) { LATT2_GoRight(latt(box)); }
BoolEnum LBOX_GoAllocUp(LBoxPtr box) { return LATT2_GoAllocUp(latt(box)); }
BoolEnum LBOX_GoAllocDown(LBoxPtr box) { return LATT2_GoAllocDown(latt(box)); }
BoolEnum LBOX_GoAllocLeft(LBoxPtr box) { return LATT2_GoAllocLeft(latt(box)); }
BoolEnum LBOX_GoAllocRight(LBoxPtr box) { return LATT2_GoAllocRight(latt(box)); }
BoolEnum LBOX_GoAllocFirst(LBoxPtr box) {
  Latt2CursorRec saved;
  LATT2_SaveCursor(latt(box), &saved);
  LATT2_GoTo(latt(box), -1, -1);
  if (LATT2_GoAllocNext(latt(box))) return 1;
  LATT2_RestoreCursor(latt(box), &saved);
  return 0;
}
BoolEnum LBOX_GoAllocNext(LBoxPtr box) { return LATT2_GoAllocNext(latt(box)); }

// --- The cell at the cursor ----------------------------------------------------------------------

void LBOX_CurSetClientData(LBoxPtr box, ClientPtr data) {
  Latt2Ptr l = latt(box);
  LBoxState& s = st(box);
  Int col = l->Col, row = l->Row;
  bool outside = col < 0 || row < 0 || (s.numCol > 0 && col > s.numCol && row >= 0) ||
                 (s.numRow > 0 && row > s.numRow && col >= 0);
  if (outside) ERR_Fail("LBox", kErrOutside, col, row, s.numCol, s.numRow);
  LATT2_SetClientData(l, data);
  LATT2_GoTo(l, col, row);
  if (row == 0 || col == 0) headingsChanged(box);
  LBoxReCompute(box);
  invalCell(box, col, row);
}

ClientPtr LBOX_CurGetClientData(LBoxPtr box) { return LATT2_GetClientData(latt(box)); }
Int LBOX_CurGetCol(LBoxPtr box) { return latt(box)->Col; }
Int LBOX_CurGetRow(LBoxPtr box) { return latt(box)->Row; }
void LBOX_CurQueryCell(LBoxPtr box, CellRec* cell) {
  if (cell) *cell = CellRec{latt(box)->Col, latt(box)->Row};
}

void LBOX_CurQueryRects(LBoxPtr box, _Rect16Rec* rect, _Rect16Rec* clip) {
  _Rect16Rec r;
  _Rect16Rec c = cellClip(box, latt(box)->Col, latt(box)->Row, &r);
  if (rect) *rect = r;
  if (clip) *clip = c;
}

void LBOX_CurEndEdit(LBoxPtr) {}

// --- Structure -------------------------------------------------------------------------------------

void LBOX_InsertRow(LBoxPtr box) { lineOp(box, true, true); }
void LBOX_DeleteRow(LBoxPtr box) { lineOp(box, true, false); }
void LBOX_InsertCol(LBoxPtr box) { lineOp(box, false, true); }
void LBOX_DeleteCol(LBoxPtr box) { lineOp(box, false, false); }

void LBOX_ClearAll(LBoxPtr box) {
  Latt2CursorRec saved;
  LATT2_SaveCursor(latt(box), &saved);
  clearCells(box);
  LATT2_RestoreCursor(latt(box), &saved);
  afterStructure(box);
}

void LBOX_Reset(LBoxPtr box) {
  Latt2CursorRec saved;
  LATT2_SaveCursor(latt(box), &saved);
  clearCells(box);
  LBoxState& s = st(box);
  s.colWidth.clear();
  s.colDefs.clear();
  s.headRowHeight = -1;
  s.rowHeight = -1;
  LATT2_RestoreCursor(latt(box), &saved);
  afterStructure(box);
}

Int LBOX_GetUsedRows(LBoxPtr box) { return LATT2_GetLastRow(latt(box)); }
Int LBOX_GetUsedCols(LBoxPtr box) { return LATT2_GetLastCol(latt(box)); }
void LBOX_QueryUsedRange(LBoxPtr box, RangeRec* range) {
  if (range) *range = RangeRec{{1, 1}, {clamp16(LBOX_GetUsedCols(box)), clamp16(LBOX_GetUsedRows(box))}};
}

void LBOX_SetNumRow(LBoxPtr box, Int rows) {
  st(box).numRow = std::max(0, std::min(rows, kMaxIndex));
  afterStructure(box);
}
void LBOX_SetNumCol(LBoxPtr box, Int cols) {
  st(box).numCol = std::max(0, std::min(cols, kMaxIndex));
  afterStructure(box);
}
Int LBOX_GetNumRow(LBoxPtr box) { return shownRows(box); }
Int LBOX_GetNumCol(LBoxPtr box) { return shownCols(box); }

void LBOX_SetCurColWidth(LBoxPtr box, Int width) {
  Int col = latt(box)->Col;
  if (col < 0) return;
  LBoxState& s = st(box);
  if (s.colWidth.size() <= static_cast<size_t>(col)) s.colWidth.resize(static_cast<size_t>(col) + 1, -1);
  s.colWidth[static_cast<size_t>(col)] = clampExtent(width);
  afterStructure(box);
}

Int LBOX_GetColWidth(LBoxPtr box, Int col) { return colWidthOf(box, col); }
Int LBOX_GetRowHeight(LBoxPtr box, Int row) { return row <= 0 ? headRowHeight(box) : bodyRowHeight(box); }

PenPtr LBOX_GetCellPen(LBoxPtr box) { return st(box).cellPen ? st(box).cellPen : PEN_Solid(); }
void LBOX_SetCellPen(LBoxPtr box, PenPtr pen) {
  st(box).cellPen = pen;
  if (initialized(box)) WGT_Inval(W(box), nullptr);
}
Int LBOX_GetState(LBoxPtr box) { return st(box).state; }
void LBOX_SetSelFlags(LBoxPtr box, UInt16 flags) { box->SelFlags = flags; }
UInt16 LBOX_GetSelFlags(LBoxPtr box) { return box->SelFlags; }
void LBOX_SetFocusFlags(LBoxPtr box, UInt16 flags) { st(box).focusFlags = flags; }
void LBOX_SetStringFlags(LBoxPtr box, UInt16 flags) {
  box->StringFlags = flags;
  if (initialized(box)) WGT_Inval(W(box), nullptr);
}

// --- Selection ----------------------------------------------------------------------------------------

namespace {
Range cursorCell(LBoxPtr b) {
  Int c = latt(b)->Col, r = latt(b)->Row;
  return c < 0 || r < 0 ? Range{1, 1, 0, 0} : Range{c, r, c, r};
}
Range cursorRow(LBoxPtr b) {
  Int r = latt(b)->Row;
  return r < 0 ? Range{1, 1, 0, 0} : Range{0, r, kMaxIndex, r};
}
Range cursorCol(LBoxPtr b) {
  Int c = latt(b)->Col;
  return c < 0 ? Range{1, 1, 0, 0} : Range{c, 0, c, kMaxIndex};
}
}  // namespace

void LBOX_CurSelect(LBoxPtr box) {
  if (st(box).state != LBOX_STATEBEINGSORTED) LBOX_Update(box);
  selOp(box, cursorCell(box), true, false);
}
void LBOX_CurUnselect(LBoxPtr box) { selOp(box, cursorCell(box), false, false); }
void LBOX_CurSetSelect(LBoxPtr box, BoolEnum flag) { flag ? LBOX_CurSelect(box) : LBOX_CurUnselect(box); }
void LBOX_CurSelectRow(LBoxPtr box) { selOp(box, cursorRow(box), true, true); }
void LBOX_CurSelectCol(LBoxPtr box) { selOp(box, cursorCol(box), true, false); }
void LBOX_CurUnselectRow(LBoxPtr box) { selOp(box, cursorRow(box), false, true); }
void LBOX_CurUnselectCol(LBoxPtr box) { selOp(box, cursorCol(box), false, false); }
void LBOX_RowSelect(LBoxPtr box, Int row) {
  if (row >= 0) selOp(box, Range{0, row, kMaxIndex, std::min(row, kMaxIndex)}, true, true);
}
void LBOX_RangeSelect(LBoxPtr box, const RangeRec* range) {
  if (range) selOp(box, fromRec(*range), true, false);
}
void LBOX_RangeUnselect(LBoxPtr box, const RangeRec* range) {
  if (range) selOp(box, fromRec(*range), false, false);
}
void LBOX_AllSelect(LBoxPtr box) { selOp(box, kEverything, true, false); }
void LBOX_AllUnselect(LBoxPtr box) {
  LBOX_Update(box);
  Latt2CursorRec saved;
  LATT2_SaveCursor(latt(box), &saved);
  RangeRec all{{0, 0}, {0, 0}};
  LBOX_RangeUnselect(box, &all);
  LATT2_RestoreCursor(latt(box), &saved);
}
BoolEnum LBOX_IsCurSelected(LBoxPtr box) { return inRanges(st(box).sel, latt(box)->Col, latt(box)->Row); }

BoolEnum LBOX_GoSelFirst(LBoxPtr box) { return goSel(box, -1, 0, false); }
BoolEnum LBOX_GoSelNext(LBoxPtr box) { return goSel(box, latt(box)->Col, latt(box)->Row, false); }
BoolEnum LBOX_GoSelAllocFirst(LBoxPtr box) { return goSel(box, -1, 0, true); }
BoolEnum LBOX_GoSelAllocNext(LBoxPtr box) { return goSel(box, latt(box)->Col, latt(box)->Row, true); }
// A walk down the cursor's column goes from row to row: in row-major order
// with the column fixed.
BoolEnum LBOX_GoRowSelFirst(LBoxPtr box) { return goSel(box, latt(box)->Col, -1, false, -1, latt(box)->Col); }
BoolEnum LBOX_GoRowSelNext(LBoxPtr box) {
  return goSel(box, latt(box)->Col, latt(box)->Row, false, -1, latt(box)->Col);
}
BoolEnum LBOX_GoColSelFirst(LBoxPtr box) { return goSel(box, -1, latt(box)->Row, false, latt(box)->Row); }
BoolEnum LBOX_GoColSelNext(LBoxPtr box) {
  return goSel(box, latt(box)->Col, latt(box)->Row, false, latt(box)->Row);
}

BoolEnum LBOX_SelQueryBounds(LBoxPtr box, RangeRec* range) {
  Int maxC = std::max(shownCols(box), LATT2_GetLastCol(latt(box)));
  Int maxR = std::max(shownRows(box), LATT2_GetLastRow(latt(box)));
  bool any = false;
  Range bound{kMaxIndex, kMaxIndex, 0, 0};
  for (const Range& g : st(box).sel) {
    Range i = intersect(g, Range{0, 0, maxC, maxR});
    if (i.empty()) continue;
    any = true;
    bound = Range{std::min(bound.c0, i.c0), std::min(bound.r0, i.r0), std::max(bound.c1, i.c1),
                  std::max(bound.r1, i.r1)};
  }
  if (any && range) *range = toRec(bound);
  return any;
}

BoolEnum LBOX_SelTopLeft(LBoxPtr box, CellRec* cell) {
  Latt2CursorRec saved;
  LATT2_SaveCursor(latt(box), &saved);
  BoolEnum found = LBOX_GoSelFirst(box);
  if (found && cell) *cell = CellRec{latt(box)->Col, latt(box)->Row};
  LATT2_RestoreCursor(latt(box), &saved);
  return found;
}

const char* LBOX_SelCopy(LBoxPtr box) {
  LBoxState& s = st(box);
  s.copied.clear();
  Latt2CursorRec saved;
  LATT2_SaveCursor(latt(box), &saved);
  Int lastRow = -1;
  for (BoolEnum ok = LBOX_GoSelAllocFirst(box); ok; ok = LBOX_GoSelAllocNext(box)) {
    Int row = latt(box)->Row;
    if (lastRow >= 0) s.copied += row == lastRow ? "\t" : "\n";
    lastRow = row;
    _LBoxStringRec text{nullptr};
    WGT_Send(W(box), LBOX_NFYCELLSTRING, &text);
    if (text.String) s.copied += text.String;
  }
  if (lastRow >= 0) s.copied += "\n";
  LATT2_RestoreCursor(latt(box), &saved);
  return s.copied.c_str();
}

const char* LBOX_SelCut(LBoxPtr box) {
  const char* text = LBOX_SelCopy(box);
  Latt2CursorRec saved;
  LATT2_SaveCursor(latt(box), &saved);
  std::vector<std::pair<Int, Int>> cells;
  for (BoolEnum ok = LBOX_GoSelAllocFirst(box); ok; ok = LBOX_GoSelAllocNext(box))
    cells.push_back({latt(box)->Col, latt(box)->Row});
  tellDeleted(box, cells);
  for (auto& c : cells) {
    LATT2_GoTo(latt(box), c.first, c.second);
    LATT2_SetClientData(latt(box), nullptr);
  }
  LATT2_RestoreCursor(latt(box), &saved);
  afterStructure(box);
  return text;
}

BoolEnum LBOX_SelPaste(LBoxPtr) { return 0; }

void LBOX_FlushSelOperations(LBoxPtr box) { flush(box); }

// --- Drawing helpers ---------------------------------------------------------------------------------

DrawPtr LBOX_GetCellDraw(LBoxPtr box) { return st(box).cellDraw ? st(box).cellDraw->Draw : nullptr; }

void LBOX_DrawCellText(LBoxPtr box, const char* text, FontPtr font, ColorPtr color) {
  _LBoxCellDrawRec* rec = st(box).cellDraw;
  if (!rec || !text) return;
  Int col = latt(box)->Col, row = latt(box)->Row;
  if (sTextHook) sTextHook(box, col, row, text);
  const ColDef* def = col >= 0 && static_cast<size_t>(col) < st(box).colDefs.size()
                          ? &st(box).colDefs[static_cast<size_t>(col)] : nullptr;
  if (!font) font = def && def->font ? def->font : bodyFont(box);
  Int left = def && def->left >= 0 ? def->left : px(6), right = def && def->right >= 0 ? def->right : px(6);
  const _Rect16Rec& r = rec->Rect;
  _Rect16Rec box16 = RECT16_Make(r.Origin.X + left, r.Origin.Y, r.Extent.X - left - right, r.Extent.Y);
  if (RECT16_IsEmpty(box16)) return;
  _Point16Rec ext = DRAW_QueryTextExt(font, text, -1);
  int x = box16.Origin.X;
  Int justif = def ? def->justif : LBOX_JUSTLEFT;
  // A text wider than its cell starts at the cell's left and is cut.
  if (ext.X < box16.Extent.X && justif == LBOX_JUSTCENTER) x += (box16.Extent.X - ext.X) / 2;
  else if (ext.X < box16.Extent.X && justif == LBOX_JUSTRIGHT) x += box16.Extent.X - ext.X;
  int y = box16.Origin.Y + (box16.Extent.Y - FONT_GetHeight(font)) / 2 + FONT_GetAscent(font);
  DrawPtr d = WGT_BeginDraw(W(box));
  DRAW_ClipRect(d, intersectRect(box16, rec->Clip));
  DRAW_TextCut(d, font, color ? color : COLOR_Text(), x, y, box16.Extent.X - (x - box16.Origin.X), text, -1);
  WGT_EndDraw(d);
}

void LBOX_SetCellTextHook(LBoxCellTextHook hook) { sTextHook = hook; }

// --- Automation -----------------------------------------------------------------------------------

void LBOX_Describe(WgtPtr wgt, AutomDesc* desc) {
  LBoxPtr b = LBOX_FromWgt(wgt);
  if (!b->LBoxPrivate1 || !initialized(b)) return;
  LBoxState& s = st(b);
  Range vis = visibleBody(b);
  // The heading row and column, then the body cells in view.
  std::vector<Int> rows{0}, cols{0};
  for (Int r = vis.r0; r <= vis.r1; r++) rows.push_back(r);
  for (Int c = vis.c0; c <= vis.c1 && c >= 1; c++) cols.push_back(c);
  std::map<std::pair<Int, Int>, std::string> kept;
  for (Int r : rows)
    for (Int c : cols) {
      _Rect16Rec clip = cellClip(b, c, r, nullptr);
      if (RECT16_IsEmpty(clip)) continue;
      auto drawn = s.drawnText.find({c, r});
      const char* text = drawn != s.drawnText.end() ? drawn->second.c_str() : "";
      AUTOM_AddCell(desc, c, r, clip, inRanges(s.sel, c, r), text);
      if (drawn != s.drawnText.end()) kept.insert(*drawn);
    }
  s.drawnText.swap(kept);
}
