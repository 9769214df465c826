// A sparse two-dimensional lattice of cells, each holding one client
// pointer, with a lazy cursor.  The list box keeps its cells here.
//
// Coordinates are (Col, Row), 16-bit.  Row 0 holds the column heads and
// column 0 the row heads; data cells start at (1, 1).  Only cells with a
// value exist: the cells of one row and of one column form sorted doubly
// linked lists, a cell (c, r) exists only together with its heads (c, 0)
// and (0, r), and the origin (0, 0) always exists.  Memory is proportional
// to the cells that hold data, whatever the coordinates.
//
// The cursor is lazy: LATT2_GoTo / LATT2_GoBy and the one-step moves only
// store coordinates.  A list is walked when a cell is read or written
// (LATT2_UpdateCursor), from the present node or from the origin, which
// ever is nearer, so that a walk down a column or along a row costs one
// step per cell and a jump no more than a walk from the start.
//
// Contracts:
//  - A lattice is owned by whoever made it with LATT2_New and freed with
//    LATT2_Dispose; the client pointers stay the caller's (the lattice
//    never frees them).
//  - Moves never fail; coordinates saturate at the ends of Int16.  Cells
//    are never made at a negative coordinate.
//  - The notify procedure hears LATT2_NFYNEWCELL when a cell is made and
//    LATT2_NFYREPLACE (with the old value) before a value is replaced; it
//    must not change the lattice.
#ifndef OWB_TOOLKIT_LATT2_H
#define OWB_TOOLKIT_LATT2_H

#include "toolkit/tkbase.h"

struct _Latt2Rec;
typedef _Latt2Rec* Latt2Ptr;

struct _Latt2CellRec {
  _Latt2CellRec* Down;   // next cell of the column
  _Latt2CellRec* Up;
  _Latt2CellRec* Right;  // next cell of the row
  _Latt2CellRec* Left;
  Latt2Ptr Latt;
  Int16 Col, Row;
  ClientPtr ClientData;
};
typedef _Latt2CellRec* Latt2CellPtr;

enum { LATT2_NFYNEWCELL = 1, LATT2_NFYREPLACE = 3 };
typedef void (*Latt2NfyProc)(Latt2Ptr latt, Int message, Latt2CellPtr cell, ClientPtr old, ClientPtr data);
typedef void (*Latt2PerfProc)(Latt2CellPtr cell, ClientPtr data);

struct _Latt2Rec {
  Int SizeOf;               // bytes of one cell record
  Latt2CellPtr Origin;      // (0, 0)
  Latt2CellPtr FirstRowHead;  // (0, r) with the lowest r >= 1, or null
  Latt2CellPtr FirstColHead;  // (c, 0) with the lowest c >= 1, or null
  Latt2CellPtr Cur;         // the cursor node: the cell reached last
  Int16 Col, Row;           // the cursor's coordinates (start -1, -1)
  Latt2NfyProc Notify;
  ClientPtr NotifyData;
  // Kept by the lattice: heads reached last (where a search for a head
  // starts), the number of cells, the links followed by cursor walks.
  Latt2CellPtr RowHint, ColHint;
  Int32 NumCells;
  UInt64 Steps;
};

struct Latt2CursorRec {
  Int16 Col, Row;
};

// A lattice with cells of sizeof(_Latt2CellRec), or of `sizeOf` bytes for
// a caller that keeps more in each cell (at least the record's size).
Latt2Ptr LATT2_New();
Latt2Ptr LATT2_NewSetSizeOf(Int sizeOf);
void LATT2_Dispose(Latt2Ptr latt);
// Removes every cell but the origin, whose value goes back to 0.
void LATT2_Reset(Latt2Ptr latt);
void LATT2_SetNotify(Latt2Ptr latt, Latt2NfyProc proc, ClientPtr data);

// --- Cursor (lazy) ---------------------------------------------------------
void LATT2_GoTo(Latt2Ptr latt, Int col, Int row);
void LATT2_GoBy(Latt2Ptr latt, Int dCol, Int dRow);
void LATT2_GoRight(Latt2Ptr latt);
void LATT2_GoLeft(Latt2Ptr latt);
void LATT2_GoDown(Latt2Ptr latt);
void LATT2_GoUp(Latt2Ptr latt);
void LATT2_SaveCursor(Latt2Ptr latt, Latt2CursorRec* saved);
void LATT2_RestoreCursor(Latt2Ptr latt, const Latt2CursorRec* saved);
// Brings the cursor node to the coordinates, making the cell (and its
// heads) with `create`; true when the node stands on the coordinates.
BoolEnum LATT2_UpdateCursor(Latt2Ptr latt, BoolEnum create);
// Whether the node stands exactly on the coordinates (no walk).
BoolEnum LATT2_IsCursorOk(Latt2Ptr latt);
// LATT2_GoTo and a walk without creating: true when the cell exists.
BoolEnum LATT2_GoToAlloc(Latt2Ptr latt, Int col, Int row);

// --- Values ------------------------------------------------------------------
// The value of the cell at the cursor; 0 when there is no cell.
ClientPtr LATT2_GetClientData(Latt2Ptr latt);
// Stores a value at the cursor.  A non-zero value makes the cell if
// needed; 0 on a data cell removes it (and a head left empty), 0 on a head
// only clears the head's value.
void LATT2_SetClientData(Latt2Ptr latt, ClientPtr data);

// --- Walks over existing cells --------------------------------------------------
// The nearest cell holding a value from the cursor in a direction (not the
// cursor's own), or in row-major order after it; the cursor moves there.
// False, with the cursor left alone, when there is none.
BoolEnum LATT2_GoAllocDown(Latt2Ptr latt);
BoolEnum LATT2_GoAllocUp(Latt2Ptr latt);
BoolEnum LATT2_GoAllocRight(Latt2Ptr latt);
BoolEnum LATT2_GoAllocLeft(Latt2Ptr latt);
BoolEnum LATT2_GoAllocNext(Latt2Ptr latt);
// The highest row (column) with a cell or a head value; 0 when none.
Int LATT2_GetLastRow(Latt2Ptr latt);
Int LATT2_GetLastCol(Latt2Ptr latt);
// Calls proc for every cell that holds a value: of one row, of one column,
// or all in row-major order.  proc must not change the lattice.
void LATT2_PerfLineDS(Latt2Ptr latt, Int row, Latt2PerfProc proc, ClientPtr data);
void LATT2_PerfColDS(Latt2Ptr latt, Int col, Latt2PerfProc proc, ClientPtr data);
void LATT2_PerfAllDS(Latt2Ptr latt, Latt2PerfProc proc, ClientPtr data);
// The same for the cells of a rectangle, columns c0..c1 of rows r0..r1.
void LATT2_PerfRangeDS(Latt2Ptr latt, Int c0, Int r0, Int c1, Int r1, Latt2PerfProc proc, ClientPtr data);

// --- Structure -------------------------------------------------------------------
// Moves every row (column) at or after the cursor's, from 1 up, one step
// down (right).  Cells that would pass 32767 are removed first.  Only
// existing cells are touched.
void LATT2_LineInsert(Latt2Ptr latt);
void LATT2_ColInsert(Latt2Ptr latt);
// Removes the cursor's row (column), from 1 up, and moves the later ones
// back by one.
void LATT2_LineExtract(Latt2Ptr latt);
void LATT2_ColExtract(Latt2Ptr latt);

#endif  // OWB_TOOLKIT_LATT2_H
