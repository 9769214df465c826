// Combo boxes: a text field, a button and a drop-down list that together
// offer a choice of labels.  The box is a panel whose three parts are
// ordinary widgets: a text editor (CBOX_GetTEd), a push button
// (CBOX_GetTBut) and a list box (CBOX_GetLBox) shown in a pop-up window
// of its own while the list is open.
//
// The list opens under the field (above it when the screen's bottom edge
// leaves no room) on a click on the button, on Alt+Down or F4, and, in a
// box of the list kind, on a click on the field.  While it is open it
// takes the keyboard (Up, Down, Home, End, Page Up, Page Down move the
// highlight; Return chooses; Escape closes) and the pointer (a click on
// an element chooses it, a click anywhere else closes the list).  A
// choice shows the element's label in the field.
//
// Elements are read and changed through a cursor, as the list box's
// cells: CBOX_GoFirst / CBOX_GoNext / CBOX_GoIndex move it (with no
// check), CBOX_IsOk tells whether it stands on an element, and the
// CBOX_Cur... calls act on the element under it.
//
// Contracts:
//  - With CBOX_FLAGAPPELTS in CBoxFlags the application supplies the
//    labels: the box keeps only the client data and the count, and asks
//    each label with CBOX_NFYGETELTSTRING (a _CBoxEltReqRec holding Data
//    and Index; the answer sets Label, which must stay valid until the
//    next request).  CBOX_CurSetLabel then does nothing.
//  - Client data stay the owner's; CBOX_NFYELTDELETE tells each element
//    CBOX_CurRemoveElt removes.  The box's end tells nothing: an owner
//    that must free client data walks the cursor first.
//  - A choice, by the user or CBOX_CurSelect, goes as CBOX_NFYELTSELECT
//    (a _CBoxEltReqRec with the index) to the box's Notify; passed on to
//    CBOX_DefNfy it becomes the selection, the label goes into the field
//    and CBOX_NFYELTSELECTED follows with the new and previous indices.
//  - CBOX_NFYLISTACTIVATE comes before the list opens and
//    CBOX_NFYLISTDEACTIVATE after it closed; CBOX_NFYELTHIGHLIGHT and
//    CBOX_NFYELTUNHIGHLIGHT as the highlight moves in the open list.
//  - Return in an editable field sends CBOX_NFYMATCHSTRING with the text
//    as Label; the default answer is the index of the first element whose
//    label equals it, ignoring case (-1 for none).  A match is chosen; any
//    other text goes out as CBOX_NFYNEWSTRING.
//  - A procedure may delete the box during any of these messages: the box
//    keeps itself alive through each.
#ifndef OWB_TOOLKIT_CBOX_H
#define OWB_TOOLKIT_CBOX_H

#include "toolkit/lbox.h"
#include "toolkit/tbut.h"
#include "toolkit/ted.h"
#include "toolkit/winpub.h"

enum ENUM_CBoxNfyEnum {
  CBOX_NFYELTHIGHLIGHT = 160,
  CBOX_NFYELTUNHIGHLIGHT = 161,
  CBOX_NFYELTSELECTED = 162,
  CBOX_NFYLISTACTIVATE = 163,
  CBOX_NFYLISTDEACTIVATE = 164,
  CBOX_NFYGETELTSTRING = 165,
  CBOX_NFYGETELTSIZE = 166,
  CBOX_NFYELTDRAW = 167,
  CBOX_NFYELTDELETE = 168,
  CBOX_NFYNEWSTRING = 169,
  CBOX_NFYMATCHSTRING = 170,
  CBOX_NFYELTSELECT = 171
};

// SubClass: the kind of box.  Edit: the field is editable and only the
// button opens the list with the pointer.  List: the field only shows the
// choice, and a click on it opens the list.
enum { CBOX_SUBEDIT = 0, CBOX_SUBLIST = 1 };
// CBoxFlags.
enum { CBOX_FLAGAPPELTS = 1 };

// Data of the element messages.  Index is the element's; Data its client
// data; Label the label (the answer of CBOX_NFYGETELTSTRING, the text of
// CBOX_NFYMATCHSTRING and CBOX_NFYNEWSTRING); Ext the size in pixels (the
// answer of CBOX_NFYGETELTSIZE); Flag: for CBOX_NFYELTDRAW whether the
// element is highlighted, for CBOX_NFYMATCHSTRING the answer's index goes
// in Index.
struct _CBoxEltReqRec {
  ClientPtr Data;
  Int Index;
  const char* Label;
  _Point16Rec Ext;
  Int Flag;
};
struct _CBoxEltSelectedNfyRec {
  Int SelIndex;
  Int PrevSelIndex;
};

// An element of a template: its label.
struct _CItemObj {
  _ResObj Res;
  VStrPtr Label;
};
typedef _CItemObj* CItemPtr;

struct _CBoxObj {
  _PanelObj Panel;
  // Resource fields.
  Int16 SubClass;
  ArrayPtr CItems;    // CItem elements of the template, in order
  ResPtr DefCItem;    // the one chosen at the start (one of CItems), or null
  UInt16 CBoxFlags;
  Int16 MaxElts;      // rows the open list shows before it scrolls; 0: 8
  // Kept by the box.
  ClientPtr CBoxPrivate;  // the elements, the parts and the list's window
  Int NumElts;
  Int16 Cursor;
  Int SelIndex;       // -1 for none
};
typedef _CBoxObj* CBoxPtr;

inline WgtPtr CBOX_Wgt(CBoxPtr box) { return reinterpret_cast<WgtPtr>(box); }
inline CBoxPtr CBOX_FromWgt(WgtPtr wgt) { return reinterpret_cast<CBoxPtr>(wgt); }

RClasPtr CBOX_Class();
RClasPtr CITEM_Class();
void CBOX_InstallClass();
void CBOX_InitClass();
CBoxPtr CBOX_Create();
BoolEnum CBOX_IsCBox(WgtPtr wgt);
long CBOX_DefNfy(ResPtr res, Int message, ClientPtr data);
// The automation surface: the field's text.  The open list is a window of
// its own and describes its cells there.
struct AutomDesc;
void CBOX_Describe(WgtPtr wgt, AutomDesc* desc);

// --- Cursor ------------------------------------------------------------------------------------
void CBOX_GoFirst(CBoxPtr box);
void CBOX_GoNext(CBoxPtr box);
void CBOX_GoIndex(CBoxPtr box, Int index);
BoolEnum CBOX_IsOk(CBoxPtr box);
Int CBOX_GetNumElts(CBoxPtr box);

// --- The element under the cursor -----------------------------------------------------------------
// Inserts an element before the cursor (at the end when the cursor is not
// on an element) and leaves the cursor on it.  The label is copied; with
// CBOX_FLAGAPPELTS it is not kept and may be null.
void CBOX_CurAddElt(CBoxPtr box, const char* label, ClientPtr data);
// Removes the element (CBOX_NFYELTDELETE first); a selected one leaves no
// selection.  The cursor stays on the same index.
void CBOX_CurRemoveElt(CBoxPtr box);
// The label (null with the cursor out of range).  The box's own text,
// valid until the element changes; with CBOX_FLAGAPPELTS the application's
// answer.
const char* CBOX_CurGetLabel(CBoxPtr box);
void CBOX_CurSetLabel(CBoxPtr box, const char* label);
ClientPtr CBOX_CurGetClientData(CBoxPtr box);
void CBOX_CurSetClientData(CBoxPtr box, ClientPtr data);
// Chooses the element as the user would (CBOX_NFYELTSELECT).
void CBOX_CurSelect(CBoxPtr box);
// The selected element's index, -1 for none.
Int CBOX_GetSelIndex(CBoxPtr box);

// --- The list ---------------------------------------------------------------------------------------
void CBOX_OpenList(CBoxPtr box);
void CBOX_CloseList(CBoxPtr box);
BoolEnum CBOX_IsListOpen(CBoxPtr box);
// The highlighted element of the open list, -1 for none.
Int CBOX_GetHilite(CBoxPtr box);
// The window the list is shown in (null before the first opening).
WinPtr CBOX_GetListWin(CBoxPtr box);

// --- The parts ----------------------------------------------------------------------------------------
TEdPtr CBOX_GetTEd(CBoxPtr box);
// The list and its window are made on the first call or opening (the
// display must be open); the cells are filled at each opening.
LBoxPtr CBOX_GetLBox(CBoxPtr box);
TButPtr CBOX_GetTBut(CBoxPtr box);

#endif  // OWB_TOOLKIT_CBOX_H
