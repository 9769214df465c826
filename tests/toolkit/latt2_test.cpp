// The sparse lattice: its lazy cursor, cells made and removed by value,
// line insertion and extraction, checked against a plain map of values.
#include "toolkit/latt2.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <set>
#include <utility>

namespace {

using Key = std::pair<int, int>;  // (row, col): row-major order

ClientPtr val(long v) { return reinterpret_cast<ClientPtr>(v); }

// Every list sorted and doubly linked, every cell in both of its lists, the
// heads present; gives the values by coordinates.
std::map<Key, long> checkedContents(Latt2Ptr latt) {
  std::map<Key, long> seen;
  std::set<Latt2CellPtr> inRows;
  int cells = 0;
  Latt2CellPtr prevHead = nullptr;
  for (Latt2CellPtr h = latt->Origin; h; prevHead = h, h = h->Down) {
    EXPECT_EQ(h->Col, 0);
    EXPECT_EQ(h->Up, prevHead);
    if (prevHead) { EXPECT_GT(h->Row, prevHead->Row); }
    Latt2CellPtr prev = nullptr;
    for (Latt2CellPtr c = h; c; prev = c, c = c->Right) {
      EXPECT_EQ(c->Row, h->Row);
      EXPECT_EQ(c->Left, prev);
      if (prev) { EXPECT_GT(c->Col, prev->Col); }
      if (c->Row > 0 && c->Col > 0) { EXPECT_NE(c->ClientData, nullptr) << "a data cell with no value"; }
      if (c->ClientData) seen[{c->Row, c->Col}] = reinterpret_cast<long>(c->ClientData);
      inRows.insert(c);
      cells++;
    }
    if (h != latt->Origin) { EXPECT_TRUE(h->Right || h->ClientData) << "an empty row head " << h->Row; }
  }
  int inCols = 0;
  for (Latt2CellPtr h = latt->Origin; h; h = h->Right) {
    EXPECT_EQ(h->Row, 0);
    if (h != latt->Origin) { EXPECT_TRUE(h->Down || h->ClientData) << "an empty column head " << h->Col; }
    Latt2CellPtr prev = nullptr;
    for (Latt2CellPtr c = h; c; prev = c, c = c->Down) {
      EXPECT_EQ(c->Col, h->Col);
      EXPECT_EQ(c->Up, prev);
      if (prev) { EXPECT_GT(c->Row, prev->Row); }
      EXPECT_TRUE(inRows.count(c)) << "cell " << c->Col << "," << c->Row << " is in no row";
      inCols++;
    }
  }
  EXPECT_EQ(inCols, cells) << "cells missing from their columns";
  EXPECT_EQ(cells, latt->NumCells + 1);
  return seen;
}

void set(Latt2Ptr latt, int col, int row, long v) {
  LATT2_GoTo(latt, col, row);
  LATT2_SetClientData(latt, val(v));
}

long get(Latt2Ptr latt, int col, int row) {
  LATT2_GoTo(latt, col, row);
  return reinterpret_cast<long>(LATT2_GetClientData(latt));
}

struct Lattice {
  Latt2Ptr p = LATT2_New();
  ~Lattice() { LATT2_Dispose(p); }
};

// Removing cells by value and the last lines are checked against a model
// in the random test below; here what it seldom meets.
TEST(Latt2Test, ReadsNegativeCoordinatesAndClearedHeadingsLeaveNothing) {
  Lattice l;
  EXPECT_EQ(get(l.p, 3, 500), 0);
  set(l.p, -1, 4, 5);
  EXPECT_EQ(get(l.p, -1, 4), 0);
  EXPECT_EQ(l.p->NumCells, 0);
  // A heading value keeps its head with no cell beside it; clearing it
  // lets the head go.
  set(l.p, 2, 0, 9);
  set(l.p, 0, 3, 8);
  EXPECT_EQ(l.p->NumCells, 2);
  set(l.p, 2, 0, 0);
  set(l.p, 0, 3, 0);
  EXPECT_EQ(l.p->NumCells, 0);
  set(l.p, 2, 3, 7);
  EXPECT_EQ(l.p->NumCells, 3);  // the cell, its row head and its column head
}

TEST(Latt2Test, MovesAreLazyAndWalksAreLinear) {
  Lattice l;
  const int n = 2000;
  for (int r = 1; r <= n; r++)
    for (int c = 1; c <= 3; c++) set(l.p, c, r, r * 10 + c);
  UInt64 steps = l.p->Steps;
  LATT2_GoTo(l.p, 3, 1700);
  LATT2_GoBy(l.p, -2, -1500);
  LATT2_GoDown(l.p);
  LATT2_GoRight(l.p);
  EXPECT_EQ(l.p->Steps, steps) << "a move walked a list";
  EXPECT_FALSE(LATT2_IsCursorOk(l.p));

  // Down every column: about one step per cell.
  for (int c = 1; c <= 3; c++) {
    LATT2_GoTo(l.p, c, 1);
    steps = l.p->Steps;
    for (int r = 1; r <= n; r++) {
      ASSERT_EQ(reinterpret_cast<long>(LATT2_GetClientData(l.p)), r * 10 + c);
      LATT2_GoDown(l.p);
    }
    EXPECT_LE(l.p->Steps - steps, static_cast<UInt64>(n + 10));
  }
  // A jump is no worse than a walk from the origin.
  LATT2_GoTo(l.p, 1, 1);
  LATT2_GetClientData(l.p);
  steps = l.p->Steps;
  EXPECT_EQ(get(l.p, 2, n), n * 10 + 2);
  EXPECT_LE(l.p->Steps - steps, static_cast<UInt64>(n + 2));
  // Filling cost one walk per cell too (the cells above were made in order).
  EXPECT_LT(l.p->NumCells, 4 * n + 4 + 1);
}

TEST(Latt2Test, CoordinatesSaturateAndTheLastRowFallsOffOnInsert) {
  Lattice l;
  LATT2_GoTo(l.p, 32767, 32767);
  LATT2_GoRight(l.p);
  LATT2_GoDown(l.p);
  EXPECT_EQ(Key(l.p->Row, l.p->Col), Key(32767, 32767));
  LATT2_GoBy(l.p, -70000, -70000);
  EXPECT_EQ(Key(l.p->Row, l.p->Col), Key(-32768, -32768));

  set(l.p, 1, 32767, 1);
  set(l.p, 1, 32766, 2);
  set(l.p, 32767, 1, 3);
  LATT2_GoTo(l.p, 1, 10);
  LATT2_LineInsert(l.p);
  LATT2_GoTo(l.p, 10, 1);
  LATT2_ColInsert(l.p);
  EXPECT_EQ(checkedContents(l.p), (std::map<Key, long>{{{32767, 1}, 2}}));
  EXPECT_EQ(Key(LATT2_GetLastRow(l.p), LATT2_GetLastCol(l.p)), Key(32767, 1));
}

TEST(Latt2Test, NotifyHearsNewCellsAndReplacedValues) {
  Lattice l;
  std::vector<std::pair<int, long>> heard;
  LATT2_SetNotify(
      l.p,
      [](Latt2Ptr, Int message, Latt2CellPtr cell, ClientPtr old, ClientPtr data) {
        auto* h = static_cast<std::vector<std::pair<int, long>>*>(data);
        h->push_back({message, message == LATT2_NFYREPLACE ? reinterpret_cast<long>(old) : cell->Col * 100 + cell->Row});
      },
      &heard);
  set(l.p, 2, 3, 5);
  set(l.p, 2, 3, 6);
  set(l.p, 2, 3, 0);
  // Row head, column head, the cell; then the old values 5 and 6.
  EXPECT_EQ(heard, (std::vector<std::pair<int, long>>{
                       {LATT2_NFYNEWCELL, 3}, {LATT2_NFYNEWCELL, 200}, {LATT2_NFYNEWCELL, 203},
                       {LATT2_NFYREPLACE, 5}, {LATT2_NFYREPLACE, 6}}));
}

TEST(Latt2Test, WalksOverExistingCellsFindTheNearestValue) {
  Lattice l;
  set(l.p, 2, 2, 1);
  set(l.p, 2, 7, 2);
  set(l.p, 5, 7, 3);
  set(l.p, 3, 0, 4);  // a heading
  LATT2_GoTo(l.p, 2, 3);
  ASSERT_TRUE(LATT2_GoAllocDown(l.p));
  EXPECT_EQ(l.p->Row, 7);
  EXPECT_FALSE(LATT2_GoAllocDown(l.p));
  EXPECT_EQ(l.p->Row, 7);
  ASSERT_TRUE(LATT2_GoAllocRight(l.p));
  EXPECT_EQ(l.p->Col, 5);
  ASSERT_TRUE(LATT2_GoAllocLeft(l.p));
  EXPECT_EQ(l.p->Col, 2);
  ASSERT_TRUE(LATT2_GoAllocUp(l.p));
  EXPECT_EQ(l.p->Row, 2);
  EXPECT_FALSE(LATT2_GoAllocUp(l.p));  // the column head holds nothing
  // Row-major order from before the start.
  std::vector<long> order;
  LATT2_GoTo(l.p, -1, -1);
  while (LATT2_GoAllocNext(l.p)) order.push_back(reinterpret_cast<long>(LATT2_GetClientData(l.p)));
  EXPECT_EQ(order, (std::vector<long>{4, 1, 2, 3}));
}

// Random work against a map: values set and cleared, lines inserted and
// extracted in both directions.
TEST(Latt2Test, RandomWorkKeepsTheListsAndValuesRight) {
  Lattice l;
  std::map<Key, long> model;
  std::mt19937 rng(1234);
  auto rnd = [&](int n) { return static_cast<int>(rng() % static_cast<unsigned>(n)); };
  for (int step = 0; step < 4000; step++) {
    int op = rnd(20);
    int c = rnd(12), r = rnd(12);
    if (op < 12) {
      long v = rnd(3) == 0 ? 0 : step + 1;
      set(l.p, c, r, v);
      if (v) model[{r, c}] = v;
      else model.erase({r, c});
    } else if (op < 16) {
      long want = model.count({r, c}) ? model[{r, c}] : 0;
      ASSERT_EQ(get(l.p, c, r), want);
    } else {
      LATT2_GoTo(l.p, c, r);
      bool rows = op < 18, insert = op % 2 == 0;
      int at = std::max(rows ? r : c, 1);
      std::map<Key, long> next;
      for (auto& [k, v] : model) {
        int line = rows ? k.first : k.second;
        if (line >= at && line > 0) {
          if (!insert && line == at) continue;
          line += insert ? 1 : -1;
        }
        next[rows ? Key{line, k.second} : Key{k.first, line}] = v;
      }
      model = next;
      if (rows) insert ? LATT2_LineInsert(l.p) : LATT2_LineExtract(l.p);
      else insert ? LATT2_ColInsert(l.p) : LATT2_ColExtract(l.p);
    }
    if (step % 200 == 0) {
      ASSERT_EQ(checkedContents(l.p), model) << "after step " << step;
      int lastRow = 0, lastCol = 0;
      for (auto& [k, v] : model) lastRow = std::max(lastRow, k.first), lastCol = std::max(lastCol, k.second);
      ASSERT_EQ(LATT2_GetLastRow(l.p), lastRow) << "after step " << step;
      ASSERT_EQ(LATT2_GetLastCol(l.p), lastCol) << "after step " << step;
    }
  }
  ASSERT_EQ(checkedContents(l.p), model);
  LATT2_Reset(l.p);
  EXPECT_TRUE(checkedContents(l.p).empty());
  EXPECT_EQ(l.p->NumCells, 0);
}

}  // namespace
