// List boxes: a scrolling grid of cells, each holding one client pointer.
//
// The programming model is a cursor: LBOX_Go... moves it (moves never fail
// and may stand on a cell that does not exist, even outside the grid) and
// LBOX_Cur... reads or writes the cell under it.  Row 0 holds the column
// headings and column 0 the row headings; data cells start at (1, 1).  Only
// cells with a value exist (toolkit/latt2.h): writing 0 removes a cell, and
// memory follows the cells that hold data, not the grid.
//
// On the screen the heading row and the heading column stay put while the
// body scrolls; each is shown when one of its cells holds a value (or when
// the template gives it a height or width).  Columns have widths of their
// own.  Each visible cell is drawn by LBOX_NFYCELLDRAW, with the cursor on
// the cell and a drawing context clipped to it: the owner draws it, or
// passes the message on to LBOX_DefNfy, which paints the background (the
// selection colour for a selected cell), the grid, and the text that
// LBOX_NFYCELLSTRING gives (by default, with LBOX_STRINGCLIENTDATA set,
// the client data taken as a C string).
//
// The user: a click on a cell (button 1) sends LBOX_NFYCELLCLICKED with the
// cursor on it; passed on, it selects the cell (or its row, with
// LBOX_SELROWS).  A double click, Return or Enter send LBOX_NFYVALIDATE.
// With the focus, the arrow keys, Home, End, Page Up and Page Down move the
// user's cell, keep it in view and act as a click on it.  The pointer going
// over cells sends LBOX_NFYCELLOUT and LBOX_NFYCELLIN.  The wheel and the
// bars scroll.  In-cell editing and sorting are not offered.
//
// Selection is a list of ranges.  Each change is drawn and told when the
// operation ends (LBOX_FlushSelOperations): LBOX_NFYSELOPERATION for each
// operation, then LBOX_NFYCELLSELECTED / ...UNSELECTED for each cell with a
// value whose state changed, ...ROWSELECTED / ...ROWUNSELECTED for rows
// selected as rows, and LBOX_NFYCELLHIGHLIGHTSEL / ...UNHIGHLIGHTSEL for
// each visible cell that must show the change.  A change made while these
// are told is worked in the same flush; a cell whose state comes back to
// where it was is not told again.
//
// Contracts:
//  - Per-cell notifications are sent with the cursor on the cell; the
//    cursor is put back afterwards, except after LBOX_NFYCELLCLICKED and
//    LBOX_NFYVALIDATE, which leave it on the user's cell.
//  - LBOX_CurSetClientData on a cell outside the numbers set with
//    LBOX_SetNumRow / LBOX_SetNumCol (when above 0), or at a negative
//    coordinate, fails with "LBox" 1.
//  - Client data stay the owner's.  Rows and columns deleted, and every
//    cell on LBOX_ClearAll, LBOX_Reset and the end of the box, are told with
//    LBOX_NFYCELLDELETE first, so that the owner can free them.
#ifndef OWB_TOOLKIT_LBOX_H
#define OWB_TOOLKIT_LBOX_H

#include "toolkit/latt2.h"
#include "toolkit/sarea.h"

struct CellRec {
  Int16 Col;
  Int16 Row;
};
struct RangeRec {
  CellRec Ori;
  CellRec Ext;  // (0, 0) from (0, 0): everything
};

enum ENUM_LBoxStateEnum {
  LBOX_STATEIDLE = 0,
  LBOX_STATEBEINGDRAWN = 1,
  LBOX_STATEBEINGSORTED = 2,
  LBOX_STATEPROCESSINGMOUSECLICK = 3,
  LBOX_STATEPROCESSINGKEY = 4
};

enum ENUM_LBoxNfyEnum {
  LBOX_NFYCELLINSERT = 200,
  LBOX_NFYCELLDELETE = 201,
  LBOX_NFYCELLDRAW = 202,
  LBOX_NFYCELLIN = 203,
  LBOX_NFYCELLOUT = 204,
  LBOX_NFYCELLCLICK = 205,
  LBOX_NFYCELLHIGHLIGHTSEL = 206,
  LBOX_NFYCELLUNHIGHLIGHTSEL = 207,
  LBOX_NFYCELLHIGHLIGHTFOCUS = 208,
  LBOX_NFYCELLUNHIGHLIGHTFOCUS = 209,
  LBOX_NFYCELLREPLACE = 210,
  LBOX_NFYSTARTEDIT = 211,
  LBOX_NFYENDEDIT = 212,
  LBOX_NFYCELLSTRING = 213,
  LBOX_NFYCOMPARE = 214,
  LBOX_NFYSELOPERATION = 215,
  LBOX_NFYVALIDATE = 216,
  LBOX_NFYCELLCLICKED = 217,
  LBOX_NFYCELLSETCURSOR = 218,
  LBOX_NFYCELLSELECTED = 219,
  LBOX_NFYCELLUNSELECTED = 220,
  LBOX_NFYCELLEDITED = 221,
  LBOX_NFYROWSELECTED = 222,
  LBOX_NFYROWUNSELECTED = 223
};

// SelFlags: what a click passed on to LBOX_DefNfy selects.
enum { LBOX_SELROWS = 1, LBOX_SELNONE = 2 };
// String flags: the client data of a cell is its text.
enum { LBOX_STRINGCLIENTDATA = 1 };
// Focus flags: the user's cell is not framed.
enum { LBOX_FOCUSNOFRAME = 1 };
// Justification of a column's text (LbCol Justif).
enum { LBOX_JUSTLEFT = 0, LBOX_JUSTCENTER = 1, LBOX_JUSTRIGHT = 2 };

// Data of the drawing messages (202, 206 to 209): the context is clipped
// to Clip; Rect is the whole cell; both in widget coordinates.
struct _LBoxCellDrawRec {
  DrawPtr Draw;
  _Rect16Rec Rect;
  _Rect16Rec Clip;
};
struct _LBoxSelOpRec {
  BoolEnum Selection;  // selected (1) or unselected (0)
  RangeRec Range;
};
struct _LBoxStringRec {
  const char* String;  // set by the answer; null for none
};

// Column and row definitions of a template.
struct _LbColObj {
  _ResObj Res;
  VStrPtr Font;
  UInt16 Justif;
  Int16 Width;
  Int16 LeftMargin;
  Int16 RightMargin;
};
struct _LbRowObj {
  _ResObj Res;
  VStrPtr Font;
  UInt16 Justif;
  Int16 Height;
  Int16 TopMargin;
  Int16 BotMargin;
};

struct _LBoxObj {
  _SAreaObj SArea;
  // The template's fields.
  ArrayPtr Col;          // LbCol definitions, column 0 first
  ArrayPtr Row;          // LbRow definitions: row 0 (headings), then the body
  _DataRec StartCol, StartRow;  // derived from the widths and heights: read, not used
  _DataRec ColWidth;     // widths by column, column 0 first
  _DataRec RowHeight;    // heights: row 0, then the body's rows
  Int16 ColNum, RowNum;
  UInt16 SelFlags, LbFlags;
  ResPtr LbKeys;
  ResPtr CellPen, TextEditor;
  Int16 HeaderSlack;
  ArrayPtr CellCont;
  _DataRec CCStartRow, CCStartCol, CCRowExt, CCColExt;
  UInt16 StringFlags;
  // Kept by the box.
  Latt2Ptr LBoxPrivate;    // the cells
  ClientPtr LBoxPrivate1;  // definitions, selection, state
};
typedef _LBoxObj* LBoxPtr;

inline WgtPtr LBOX_Wgt(LBoxPtr box) { return reinterpret_cast<WgtPtr>(box); }
inline LBoxPtr LBOX_FromWgt(WgtPtr wgt) { return reinterpret_cast<LBoxPtr>(wgt); }

RClasPtr LBOX_Class();
RClasPtr LBCOL_Class();
RClasPtr LBROW_Class();
void LBOX_InstallClass();
void LBCOL_InstallClass();
void LBROW_InstallClass();
void LBOX_InitClass();
void LBCOL_InitClass();
void LBROW_InitClass();
LBoxPtr LBOX_Create();
long LBOX_DefNfy(ResPtr res, Int message, ClientPtr data);
BoolEnum LBOX_IsLBox(WgtPtr wgt);
// Brings pending recalculation of the box up to date.
void LBOX_Update(LBoxPtr box);

// --- Cursor -------------------------------------------------------------------
void LBOX_GoCell(LBoxPtr box, CellRec cell);
void LBOX_GoColRow(LBoxPtr box, Int col, Int row);
void LBOX_GoCellRel(LBoxPtr box, CellRec delta);
void LBOX_GoHome(LBoxPtr box);      // (1, 1)
void LBOX_GoHomeHead(LBoxPtr box);  // (0, 0)
void LBOX_GoRowHead(LBoxPtr box);   // column 0 of the cursor's row
void LBOX_GoColHead(LBoxPtr box);   // row 0 of the cursor's column
void LBOX_GoUp(LBoxPtr box);
void LBOX_GoDown(LBoxPtr box);
void LBOX_GoLeft(LBoxPtr box);
void LBOX_GoRight(LBoxPtr box);
// Moves to the nearest cell holding a value; false (cursor unmoved) when
// there is none.  First and Next walk all such cells in row-major order.
BoolEnum LBOX_GoAllocUp(LBoxPtr box);
BoolEnum LBOX_GoAllocDown(LBoxPtr box);
BoolEnum LBOX_GoAllocLeft(LBoxPtr box);
BoolEnum LBOX_GoAllocRight(LBoxPtr box);
BoolEnum LBOX_GoAllocFirst(LBoxPtr box);
BoolEnum LBOX_GoAllocNext(LBoxPtr box);

// --- The cell at the cursor -------------------------------------------------------
void LBOX_CurSetClientData(LBoxPtr box, ClientPtr data);
ClientPtr LBOX_CurGetClientData(LBoxPtr box);
Int LBOX_CurGetCol(LBoxPtr box);
Int LBOX_CurGetRow(LBoxPtr box);
void LBOX_CurQueryCell(LBoxPtr box, CellRec* cell);
// The cell's rectangle and the part of it that shows (empty when none),
// in widget coordinates.
void LBOX_CurQueryRects(LBoxPtr box, _Rect16Rec* rect, _Rect16Rec* clip);
// In-cell editing is not offered: nothing to end.
void LBOX_CurEndEdit(LBoxPtr box);

// --- Structure --------------------------------------------------------------------
void LBOX_InsertRow(LBoxPtr box);  // before the cursor's row (from 1)
void LBOX_DeleteRow(LBoxPtr box);
void LBOX_InsertCol(LBoxPtr box);
void LBOX_DeleteCol(LBoxPtr box);
void LBOX_ClearAll(LBoxPtr box);   // every cell and the selection
void LBOX_Reset(LBoxPtr box);      // the same, and the widths and heights
Int LBOX_GetUsedRows(LBoxPtr box);
Int LBOX_GetUsedCols(LBoxPtr box);
void LBOX_QueryUsedRange(LBoxPtr box, RangeRec* range);
void LBOX_SetNumRow(LBoxPtr box, Int rows);  // 0: as many as used
void LBOX_SetNumCol(LBoxPtr box, Int cols);
Int LBOX_GetNumRow(LBoxPtr box);
Int LBOX_GetNumCol(LBoxPtr box);
// The width of the cursor's column (0 hides it); kept between 0 and 8000.
void LBOX_SetCurColWidth(LBoxPtr box, Int width);
Int LBOX_GetColWidth(LBoxPtr box, Int col);
Int LBOX_GetRowHeight(LBoxPtr box, Int row);
// The pen of the grid lines; PEN_Solid() unless set.
PenPtr LBOX_GetCellPen(LBoxPtr box);
void LBOX_SetCellPen(LBoxPtr box, PenPtr pen);
Int LBOX_GetState(LBoxPtr box);
void LBOX_SetSelFlags(LBoxPtr box, UInt16 flags);
UInt16 LBOX_GetSelFlags(LBoxPtr box);
void LBOX_SetFocusFlags(LBoxPtr box, UInt16 flags);
void LBOX_SetStringFlags(LBoxPtr box, UInt16 flags);

// --- Selection ----------------------------------------------------------------------
void LBOX_CurSelect(LBoxPtr box);
void LBOX_CurUnselect(LBoxPtr box);
void LBOX_CurSetSelect(LBoxPtr box, BoolEnum flag);
void LBOX_CurSelectRow(LBoxPtr box);  // the whole row, heading included
void LBOX_CurSelectCol(LBoxPtr box);
void LBOX_CurUnselectRow(LBoxPtr box);
void LBOX_CurUnselectCol(LBoxPtr box);
void LBOX_RowSelect(LBoxPtr box, Int row);
void LBOX_RangeSelect(LBoxPtr box, const RangeRec* range);
void LBOX_RangeUnselect(LBoxPtr box, const RangeRec* range);
void LBOX_AllSelect(LBoxPtr box);
void LBOX_AllUnselect(LBoxPtr box);
BoolEnum LBOX_IsCurSelected(LBoxPtr box);
// Selected cells within the shown grid, in row-major order; First starts
// at the top left.  False, with the cursor put back, when there is none.
BoolEnum LBOX_GoSelFirst(LBoxPtr box);
BoolEnum LBOX_GoSelNext(LBoxPtr box);
// The same for selected cells that hold a value.
BoolEnum LBOX_GoSelAllocFirst(LBoxPtr box);
BoolEnum LBOX_GoSelAllocNext(LBoxPtr box);
// Selected rows of the cursor's column, top down, and selected columns of
// the cursor's row, left to right.
BoolEnum LBOX_GoRowSelFirst(LBoxPtr box);
BoolEnum LBOX_GoRowSelNext(LBoxPtr box);
BoolEnum LBOX_GoColSelFirst(LBoxPtr box);
BoolEnum LBOX_GoColSelNext(LBoxPtr box);
// The top left selected cell (the cursor is not moved); false when none.
BoolEnum LBOX_SelTopLeft(LBoxPtr box, CellRec* cell);
// The smallest range holding the selection within the shown grid.
BoolEnum LBOX_SelQueryBounds(LBoxPtr box, RangeRec* range);
// The texts of the selected cells (LBOX_NFYCELLSTRING), a tab between
// cells and a line end after each row; the box keeps the text until the
// next copy.  Cut copies, then tells LBOX_NFYCELLDELETE and removes the
// cells.  Paste is not offered (the client data are the owner's) and gives
// false.
const char* LBOX_SelCopy(LBoxPtr box);
const char* LBOX_SelCut(LBoxPtr box);
BoolEnum LBOX_SelPaste(LBoxPtr box);
void LBOX_FlushSelOperations(LBoxPtr box);

// --- Drawing helpers --------------------------------------------------------------------
// During a drawing message: the cell's context, and its text drawn in the
// cell's rectangle with the column's margins and justification (the
// default drawing uses it, and an owner may).
DrawPtr LBOX_GetCellDraw(LBoxPtr box);
void LBOX_DrawCellText(LBoxPtr box, const char* text, FontPtr font, ColorPtr color);
// Hears every text drawn in a cell through LBOX_DrawCellText (for tests
// and the automation of a window); null to stop.
typedef void (*LBoxCellTextHook)(LBoxPtr box, Int col, Int row, const char* text);
void LBOX_SetCellTextHook(LBoxCellTextHook hook);

// The automation surface: one line per cell in view, headings included,
// with the texts drawn in it at its last drawing and its selection.
void LBOX_Describe(WgtPtr wgt, struct AutomDesc* desc);

#endif  // OWB_TOOLKIT_LBOX_H
