// The sparse lattice: sorted row and column lists of cells, a lazy cursor,
// and line insertion and extraction that touch existing cells only.
#include "toolkit/latt2.h"

#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <vector>

namespace {

typedef Latt2CellPtr _Latt2CellRec::*Link;
typedef Int16 _Latt2CellRec::*Coord;

// One direction of the lattice.  For rows: the heads (0, r) are chained
// down column 0 from the origin, and a row's cells to the right of its
// head.  For columns the roles are swapped.
struct Axis {
  Link HeadNext, HeadPrev;  // along the heads
  Link LineNext, LinePrev;  // along one line, from its head
  Coord Pos;                // the line's number
  Coord Across;             // the place in the line
};
const Axis kRows{&_Latt2CellRec::Down, &_Latt2CellRec::Up, &_Latt2CellRec::Right, &_Latt2CellRec::Left,
                 &_Latt2CellRec::Row, &_Latt2CellRec::Col};
const Axis kCols{&_Latt2CellRec::Right, &_Latt2CellRec::Left, &_Latt2CellRec::Down, &_Latt2CellRec::Up,
                 &_Latt2CellRec::Col, &_Latt2CellRec::Row};

Int16 sat16(long v) { return static_cast<Int16>(v > 32767 ? 32767 : v < -32768 ? -32768 : v); }

}  // namespace

// The record proper, with what the lattice keeps for itself.
struct Latt2Full {
  _Latt2Rec Pub;
  Latt2CellPtr Last[2];  // last row head, last column head
  // The heads of each direction in order, for far jumps; rebuilt when
  // needed after a head came or went (a shift keeps their order).
  std::vector<Latt2CellPtr> Index[2];
  bool IndexValid[2];
};

namespace {

Latt2Full* full(Latt2Ptr latt) { return reinterpret_cast<Latt2Full*>(latt); }
Latt2CellPtr& lastHead(Latt2Ptr latt, const Axis& a) { return full(latt)->Last[&a == &kRows ? 0 : 1]; }
Latt2CellPtr& hint(Latt2Ptr latt, const Axis& a) { return &a == &kRows ? latt->RowHint : latt->ColHint; }
int axisNo(const Axis& a) { return &a == &kRows ? 0 : 1; }
void headsChanged(Latt2Ptr latt) { full(latt)->IndexValid[0] = full(latt)->IndexValid[1] = false; }

// Walks shorter than this go along the lists; longer ones use the index.
constexpr long kFarWalk = 48;

void syncFirst(Latt2Ptr latt) {
  latt->FirstRowHead = latt->Origin->Down;
  latt->FirstColHead = latt->Origin->Right;
}

Latt2CellPtr newCell(Latt2Ptr latt, Int col, Int row) {
  Latt2CellPtr cell = static_cast<Latt2CellPtr>(std::calloc(1, static_cast<size_t>(latt->SizeOf)));
  if (!cell) std::abort();
  cell->Latt = latt;
  cell->Col = static_cast<Int16>(col);
  cell->Row = static_cast<Int16>(row);
  latt->NumCells++;
  return cell;
}

// Walks a sorted list from `node` to the last cell whose position is at
// most `target` (the list's first cell bounds the walk going back).
Latt2CellPtr walk(Latt2Ptr latt, Latt2CellPtr node, Link next, Link prev, Coord pos, Int target) {
  while (node->*next && (node->*next)->*pos <= target) {
    node = node->*next;
    latt->Steps++;
  }
  while (node->*pos > target && node->*prev) {
    node = node->*prev;
    latt->Steps++;
  }
  return node;
}

// The last head of the direction at or before `n` (the origin for 0):
// from the head reached last or from the origin, whichever is nearer.
Latt2CellPtr findHead(Latt2Ptr latt, const Axis& a, Int n) {
  Latt2CellPtr start = latt->Origin;
  Latt2CellPtr h = hint(latt, a);
  if (h && std::abs(h->*a.Pos - n) < n) start = h;
  if (std::abs(start->*a.Pos - n) > kFarWalk) {
    // Far: a binary search of the heads in order.
    Latt2Full* f = full(latt);
    int i = axisNo(a);
    if (!f->IndexValid[i]) {
      f->Index[i].clear();
      for (Latt2CellPtr c = latt->Origin; c; c = c->*a.HeadNext) f->Index[i].push_back(c);
      f->IndexValid[i] = true;
    }
    const std::vector<Latt2CellPtr>& heads = f->Index[i];
    size_t lo = 0, hi = heads.size();  // the last head at or before n is below hi
    while (hi - lo > 1) {
      size_t mid = (lo + hi) / 2;
      latt->Steps++;
      if (heads[mid]->*a.Pos <= n) lo = mid;
      else hi = mid;
    }
    start = heads[lo];
  }
  Latt2CellPtr head = walk(latt, start, a.HeadNext, a.HeadPrev, a.Pos, n);
  hint(latt, a) = head;
  return head;
}

// Links `cell` into a sorted list after `pred` (null: it is first after
// nothing, which does not happen: every list starts with a head).
void linkAfter(Latt2CellPtr pred, Latt2CellPtr cell, Link next, Link prev) {
  cell->*prev = pred;
  cell->*next = pred->*next;
  if (pred->*next) (pred->*next)->*prev = cell;
  pred->*next = cell;
}

// The head of line n, made if missing.
Latt2CellPtr ensureHead(Latt2Ptr latt, const Axis& a, Int n) {
  Latt2CellPtr pred = findHead(latt, a, n);
  if (pred->*a.Pos == n) return pred;
  Latt2CellPtr head = &a == &kRows ? newCell(latt, 0, n) : newCell(latt, n, 0);
  linkAfter(pred, head, a.HeadNext, a.HeadPrev);
  headsChanged(latt);
  if (!(head->*a.HeadNext)) lastHead(latt, a) = head;
  hint(latt, a) = head;
  syncFirst(latt);
  if (latt->Notify) latt->Notify(latt, LATT2_NFYNEWCELL, head, nullptr, latt->NotifyData);
  return head;
}

// Takes a cell out of both its lists; the cursor node and the hints that
// stood on it move to a neighbour.
void unlink(Latt2Ptr latt, Latt2CellPtr x) {
  if (x->Row == 0 || x->Col == 0) headsChanged(latt);
  if (x->Up) x->Up->Down = x->Down;
  if (x->Down) x->Down->Up = x->Up;
  if (x->Left) x->Left->Right = x->Right;
  if (x->Right) x->Right->Left = x->Left;
  Latt2CellPtr near = x->Left ? x->Left : x->Up ? x->Up : latt->Origin;
  if (latt->Cur == x) latt->Cur = near;
  if (latt->RowHint == x) latt->RowHint = x->Up ? x->Up : latt->Origin;
  if (latt->ColHint == x) latt->ColHint = x->Left ? x->Left : latt->Origin;
  for (int i = 0; i < 2; i++) {
    Latt2CellPtr& last = full(latt)->Last[i];
    if (last == x) {
      last = i == 0 ? x->Up : x->Left;
      if (last == latt->Origin) last = nullptr;
    }
  }
  syncFirst(latt);
}

void freeCell(Latt2Ptr latt, Latt2CellPtr x) {
  latt->NumCells--;
  std::free(x);
}

bool isHead(Latt2CellPtr x) { return x->Row == 0 || x->Col == 0; }

// A head that holds no value and no cell goes.
void dropHeadIfEmpty(Latt2Ptr latt, Latt2CellPtr head, const Axis& a) {
  if (!head || head == latt->Origin || head->ClientData || head->*a.LineNext) return;
  unlink(latt, head);
  freeCell(latt, head);
}

// Removes a data cell, and its heads if they are left empty.
void removeCell(Latt2Ptr latt, Latt2CellPtr x) {
  Latt2CellPtr rowHead = findHead(latt, kRows, x->Row);
  Latt2CellPtr colHead = findHead(latt, kCols, x->Col);
  unlink(latt, x);
  freeCell(latt, x);
  dropHeadIfEmpty(latt, rowHead, kRows);
  dropHeadIfEmpty(latt, colHead, kCols);
}

// Brings the node to (col, row) without making anything; true when found.
bool seek(Latt2Ptr latt, Int col, Int row) {
  if (col < 0 || row < 0) return false;
  Latt2CellPtr start = latt->Cur ? latt->Cur : latt->Origin;
  long fromCur = std::labs(static_cast<long>(start->Row) - row) + std::labs(static_cast<long>(start->Col) - col);
  if (fromCur > static_cast<long>(row) + col) start = latt->Origin;
  bool far = std::labs(static_cast<long>(start->Row) - row) > kFarWalk;
  Latt2CellPtr n;
  if (start->Row == row) {
    n = walk(latt, start, &_Latt2CellRec::Right, &_Latt2CellRec::Left, &_Latt2CellRec::Col, col);
  } else if (start->Col == col && !far) {
    n = walk(latt, start, &_Latt2CellRec::Down, &_Latt2CellRec::Up, &_Latt2CellRec::Row, row);
  } else {
    // To the row through the row heads (a far one through their index),
    // then along the row; a missing row leaves the node on the head before
    // it.
    n = findHead(latt, kRows, row);
    if (n->Row == row) n = walk(latt, n, &_Latt2CellRec::Right, &_Latt2CellRec::Left, &_Latt2CellRec::Col, col);
  }
  latt->Cur = n;
  return n->Col == col && n->Row == row;
}

// Makes the cell (col, row), both >= 0, with its heads; `near` is a cell
// the caller stood on, a starting point for finding its place.
Latt2CellPtr makeCell(Latt2Ptr latt, Int col, Int row, Latt2CellPtr near) {
  if (row == 0 && col == 0) return latt->Origin;
  Latt2CellPtr rowHead = row == 0 ? latt->Origin : ensureHead(latt, kRows, row);
  if (col == 0) return rowHead;
  Latt2CellPtr colHead = ensureHead(latt, kCols, col);
  if (row == 0) return colHead;
  Latt2CellPtr cell = newCell(latt, col, row);
  // Its place in the row: from the head, or from a cell of the row before it.
  Latt2CellPtr from = rowHead;
  for (Latt2CellPtr c : {latt->Cur, near})
    if (c && c->Row == row && c->Col < col && c->Col > from->Col) from = c;
  Latt2CellPtr pred = walk(latt, from, &_Latt2CellRec::Right, &_Latt2CellRec::Left, &_Latt2CellRec::Col, col);
  linkAfter(pred, cell, &_Latt2CellRec::Right, &_Latt2CellRec::Left);
  from = colHead;
  for (Latt2CellPtr c : {latt->Cur, near})
    if (c && c != cell && c->Col == col && c->Row < row && c->Row > from->Row) from = c;
  if (from == colHead && rowHead->Up) {
    // A table filled row by row: the row above most likely has a cell in
    // this column, found along that row rather than down the column.
    Latt2CellPtr above = walk(latt, rowHead->Up, &_Latt2CellRec::Right, &_Latt2CellRec::Left, &_Latt2CellRec::Col, col);
    if (above->Col == col && above->Row > 0) from = above;
  }
  pred = walk(latt, from, &_Latt2CellRec::Down, &_Latt2CellRec::Up, &_Latt2CellRec::Row, row);
  linkAfter(pred, cell, &_Latt2CellRec::Down, &_Latt2CellRec::Up);
  if (latt->Notify) latt->Notify(latt, LATT2_NFYNEWCELL, cell, nullptr, latt->NotifyData);
  return cell;
}

// The first cell holding a value from `c` on along a link.
Latt2CellPtr firstWithData(Latt2CellPtr c, Link next) {
  while (c && !c->ClientData) c = c->*next;
  return c;
}

// The nearest cell with a value in the cursor's line (a row for kCols
// steps, a column for kRows steps), forward or back.
BoolEnum goAlloc(Latt2Ptr latt, const Axis& line, bool forward) {
  // `line` is the direction whose heads hold the line: for a move down a
  // column the line is a column (kCols) and the walk goes along LineNext.
  Int lineNo = latt->*(&line == &kRows ? &_Latt2Rec::Row : &_Latt2Rec::Col);
  Int at = latt->*(&line == &kRows ? &_Latt2Rec::Col : &_Latt2Rec::Row);
  if (lineNo < 0) return 0;
  Latt2CellPtr head = lineNo == 0 ? latt->Origin : findHead(latt, line, lineNo);
  if (head->*line.Pos != lineNo) return 0;
  Latt2CellPtr from = head;
  if (latt->Cur && latt->Cur->*line.Pos == lineNo) from = latt->Cur;
  Latt2CellPtr found;
  if (forward) {
    Latt2CellPtr n = walk(latt, from, line.LineNext, line.LinePrev, line.Across, at);
    found = firstWithData(n->*line.Across > at ? n : n->*line.LineNext, line.LineNext);
  } else {
    if (at <= 0) return 0;
    Latt2CellPtr n = walk(latt, from, line.LineNext, line.LinePrev, line.Across, at - 1);
    found = n->*line.Across > at - 1 ? nullptr : firstWithData(n, line.LinePrev);
  }
  if (!found) return 0;
  latt->Cur = found;
  latt->Col = found->Col;
  latt->Row = found->Row;
  return 1;
}

void perfLine(Latt2CellPtr head, Link next, Latt2PerfProc proc, ClientPtr data) {
  for (Latt2CellPtr c = head; c; c = c->*next)
    if (c->ClientData) proc(c, data);
}

// Removes line `n` (>= 1) of a direction with every cell in it.
void extractLine(Latt2Ptr latt, const Axis& a, Int n) {
  Latt2CellPtr head = findHead(latt, a, n);
  if (head->*a.Pos != n) return;
  const Axis& other = &a == &kRows ? kCols : kRows;
  for (Latt2CellPtr c = head->*a.LineNext; c;) {
    Latt2CellPtr next = c->*a.LineNext;
    Latt2CellPtr otherHead = findHead(latt, other, c->*a.Across);
    unlink(latt, c);
    freeCell(latt, c);
    dropHeadIfEmpty(latt, otherHead, other);
    c = next;
  }
  unlink(latt, head);
  freeCell(latt, head);
}

// Adds `delta` to the number of every line from `from` on, walking back
// from the last head.
void shiftLines(Latt2Ptr latt, const Axis& a, Int from, Int delta) {
  for (Latt2CellPtr h = lastHead(latt, a); h && h != latt->Origin && h->*a.Pos >= from; h = h->*a.HeadPrev)
    for (Latt2CellPtr c = h; c; c = c->*a.LineNext) c->*a.Pos = static_cast<Int16>(c->*a.Pos + delta);
}

Int cursorLine(Latt2Ptr latt, const Axis& a) {
  Int n = &a == &kRows ? latt->Row : latt->Col;
  return n < 1 ? 1 : n;
}

void insertLine(Latt2Ptr latt, const Axis& a) {
  Int at = cursorLine(latt, a);
  Latt2CellPtr last = lastHead(latt, a);
  if (last && last->*a.Pos == 32767) extractLine(latt, a, 32767);
  shiftLines(latt, a, at, 1);
}

void removeLine(Latt2Ptr latt, const Axis& a) {
  Int at = cursorLine(latt, a);
  extractLine(latt, a, at);
  shiftLines(latt, a, at + 1, -1);
}

}  // namespace

Latt2Ptr LATT2_NewSetSizeOf(Int sizeOf) {
  Latt2Full* f = new Latt2Full();
  Latt2Ptr latt = &f->Pub;
  latt->SizeOf = sizeOf < static_cast<Int>(sizeof(_Latt2CellRec)) ? static_cast<Int>(sizeof(_Latt2CellRec)) : sizeOf;
  latt->Origin = newCell(latt, 0, 0);
  latt->NumCells = 0;  // the origin is not counted
  latt->Cur = latt->Origin;
  latt->Col = -1;
  latt->Row = -1;
  return latt;
}

Latt2Ptr LATT2_New() { return LATT2_NewSetSizeOf(static_cast<Int>(sizeof(_Latt2CellRec))); }

void LATT2_Reset(Latt2Ptr latt) {
  if (!latt) return;
  // Every row with its cells, then the column heads left over.
  for (Latt2CellPtr h = latt->Origin->Down; h;) {
    Latt2CellPtr nextHead = h->Down;
    for (Latt2CellPtr c = h; c;) {
      Latt2CellPtr next = c->Right;
      freeCell(latt, c);
      c = next;
    }
    h = nextHead;
  }
  for (Latt2CellPtr c = latt->Origin->Right; c;) {
    Latt2CellPtr next = c->Right;
    freeCell(latt, c);
    c = next;
  }
  Latt2CellPtr o = latt->Origin;
  o->Down = o->Up = o->Right = o->Left = nullptr;
  o->ClientData = nullptr;
  latt->Cur = o;
  latt->RowHint = latt->ColHint = nullptr;
  full(latt)->Last[0] = full(latt)->Last[1] = nullptr;
  headsChanged(latt);
  syncFirst(latt);
}

void LATT2_Dispose(Latt2Ptr latt) {
  if (!latt) return;
  LATT2_Reset(latt);
  std::free(latt->Origin);
  delete full(latt);
}

void LATT2_SetNotify(Latt2Ptr latt, Latt2NfyProc proc, ClientPtr data) {
  latt->Notify = proc;
  latt->NotifyData = data;
}

void LATT2_GoTo(Latt2Ptr latt, Int col, Int row) {
  latt->Col = sat16(col);
  latt->Row = sat16(row);
}
void LATT2_GoBy(Latt2Ptr latt, Int dCol, Int dRow) {
  latt->Col = sat16(static_cast<long>(latt->Col) + dCol);
  latt->Row = sat16(static_cast<long>(latt->Row) + dRow);
}
void LATT2_GoRight(Latt2Ptr latt) { LATT2_GoBy(latt, 1, 0); }
void LATT2_GoLeft(Latt2Ptr latt) { LATT2_GoBy(latt, -1, 0); }
void LATT2_GoDown(Latt2Ptr latt) { LATT2_GoBy(latt, 0, 1); }
void LATT2_GoUp(Latt2Ptr latt) { LATT2_GoBy(latt, 0, -1); }

void LATT2_SaveCursor(Latt2Ptr latt, Latt2CursorRec* saved) { *saved = Latt2CursorRec{latt->Col, latt->Row}; }
void LATT2_RestoreCursor(Latt2Ptr latt, const Latt2CursorRec* saved) { LATT2_GoTo(latt, saved->Col, saved->Row); }

BoolEnum LATT2_IsCursorOk(Latt2Ptr latt) {
  return latt->Cur && latt->Cur->Col == latt->Col && latt->Cur->Row == latt->Row;
}

BoolEnum LATT2_UpdateCursor(Latt2Ptr latt, BoolEnum create) {
  if (LATT2_IsCursorOk(latt)) return 1;
  Latt2CellPtr before = latt->Cur;
  if (seek(latt, latt->Col, latt->Row)) return 1;
  if (!create || latt->Col < 0 || latt->Row < 0) return 0;
  latt->Cur = makeCell(latt, latt->Col, latt->Row, before);
  return 1;
}

BoolEnum LATT2_GoToAlloc(Latt2Ptr latt, Int col, Int row) {
  LATT2_GoTo(latt, col, row);
  return LATT2_UpdateCursor(latt, 0);
}

ClientPtr LATT2_GetClientData(Latt2Ptr latt) { return LATT2_UpdateCursor(latt, 0) ? latt->Cur->ClientData : nullptr; }

void LATT2_SetClientData(Latt2Ptr latt, ClientPtr data) {
  if (!LATT2_UpdateCursor(latt, data != nullptr)) return;
  Latt2CellPtr cell = latt->Cur;
  if (cell->ClientData && latt->Notify)
    latt->Notify(latt, LATT2_NFYREPLACE, cell, cell->ClientData, latt->NotifyData);
  cell->ClientData = data;
  if (data) return;
  if (!isHead(cell)) removeCell(latt, cell);
  else if (cell->Col == 0) dropHeadIfEmpty(latt, cell, kRows);
  else dropHeadIfEmpty(latt, cell, kCols);
}

BoolEnum LATT2_GoAllocDown(Latt2Ptr latt) { return goAlloc(latt, kCols, true); }
BoolEnum LATT2_GoAllocUp(Latt2Ptr latt) { return goAlloc(latt, kCols, false); }
BoolEnum LATT2_GoAllocRight(Latt2Ptr latt) { return goAlloc(latt, kRows, true); }
BoolEnum LATT2_GoAllocLeft(Latt2Ptr latt) { return goAlloc(latt, kRows, false); }

BoolEnum LATT2_GoAllocNext(Latt2Ptr latt) {
  Int row = latt->Row, col = latt->Col;
  if (row < 0) row = 0, col = -1;
  if (col < -1) col = -1;
  Latt2CellPtr head = row == 0 ? latt->Origin : findHead(latt, kRows, row);
  Latt2CellPtr found = nullptr;
  if (head->Row == row) {
    Latt2CellPtr n = walk(latt, head, &_Latt2CellRec::Right, &_Latt2CellRec::Left, &_Latt2CellRec::Col, col);
    found = firstWithData(n->Col > col ? n : n->Right, &_Latt2CellRec::Right);
  }
  for (Latt2CellPtr h = head->Down; !found && h; h = h->Down) found = firstWithData(h, &_Latt2CellRec::Right);
  if (!found) return 0;
  latt->Cur = found;
  latt->Col = found->Col;
  latt->Row = found->Row;
  return 1;
}

Int LATT2_GetLastRow(Latt2Ptr latt) { return full(latt)->Last[0] ? full(latt)->Last[0]->Row : 0; }
Int LATT2_GetLastCol(Latt2Ptr latt) { return full(latt)->Last[1] ? full(latt)->Last[1]->Col : 0; }

void LATT2_PerfLineDS(Latt2Ptr latt, Int row, Latt2PerfProc proc, ClientPtr data) {
  if (row < 0) return;
  Latt2CellPtr head = row == 0 ? latt->Origin : findHead(latt, kRows, row);
  if (head->Row == row) perfLine(head, &_Latt2CellRec::Right, proc, data);
}

void LATT2_PerfColDS(Latt2Ptr latt, Int col, Latt2PerfProc proc, ClientPtr data) {
  if (col < 0) return;
  Latt2CellPtr head = col == 0 ? latt->Origin : findHead(latt, kCols, col);
  if (head->Col == col) perfLine(head, &_Latt2CellRec::Down, proc, data);
}

void LATT2_PerfAllDS(Latt2Ptr latt, Latt2PerfProc proc, ClientPtr data) {
  for (Latt2CellPtr h = latt->Origin; h; h = h->Down) perfLine(h, &_Latt2CellRec::Right, proc, data);
}

void LATT2_PerfRangeDS(Latt2Ptr latt, Int c0, Int r0, Int c1, Int r1, Latt2PerfProc proc, ClientPtr data) {
  if (c0 < 0) c0 = 0;
  if (r0 < 0) r0 = 0;
  if (c1 < c0 || r1 < r0) return;
  Latt2CellPtr h = r0 == 0 ? latt->Origin : findHead(latt, kRows, r0);
  if (h->Row < r0) h = h->Down;
  for (; h && h->Row <= r1; h = h->Down) {
    Latt2CellPtr c = walk(latt, h, &_Latt2CellRec::Right, &_Latt2CellRec::Left, &_Latt2CellRec::Col, c0);
    if (c->Col < c0) c = c->Right;
    for (; c && c->Col <= c1; c = c->Right)
      if (c->ClientData) proc(c, data);
  }
}

void LATT2_LineInsert(Latt2Ptr latt) { insertLine(latt, kRows); }
void LATT2_ColInsert(Latt2Ptr latt) { insertLine(latt, kCols); }
void LATT2_LineExtract(Latt2Ptr latt) { removeLine(latt, kRows); }
void LATT2_ColExtract(Latt2Ptr latt) { removeLine(latt, kCols); }
