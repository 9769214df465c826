// Text editors: the editable text field of the toolkit, single-line or
// multi-line (with or without wrapping), with a label of its own beside
// the text.  The text is UTF-8 in a gap string; the layout cuts it into
// lines.  The user edits with the keyboard (characters through the
// display's input method, so composed and non-Latin characters arrive),
// selects with the mouse (click, drag, double click for a word, triple
// click for the line, shift-click to extend) and the keys, and cuts,
// copies and pastes through the display's selections: the clipboard with
// Ctrl+X/C/V (and Shift+Delete, Ctrl+Insert, Shift+Insert), and the
// primary selection, which selecting offers and the middle button pastes.
//
// Contracts:
//  - Indices are byte offsets into the UTF-8 text; -1 stands for the end.
//    An index inside a character is moved to that character's start: a
//    caret or selection never splits a character.
//  - Text given to the editor (TED_SetStr, TED_InsertStr, a template's
//    InitialText, a paste) is made valid UTF-8 first: every invalid byte
//    sequence becomes U+FFFD.  A single-line editor turns line feeds into
//    blanks.
//  - MaxLen counts bytes, so that a field's text fits the fixed buffer
//    the tool copies it into; text that would pass it is cut back at the
//    insert position, never inside a character, with a beep and
//    TED_NFYFULL.
//  - TED_GetStr gives the editor's own text, NUL-terminated; the pointer
//    is valid until the next change of the editor.  TED_GetSelStr gives a
//    heap copy the caller frees with VSTR_Dispose.
//  - In mask mode (OptFlags TED_OPTMASK) the text only changes by typing:
//    the setting and inserting calls do nothing and select-all selects
//    the whole text.  No mask format is applied (there is no mask
//    language here).
//  - Read-only (TED_OPTREADONLY) editors select and copy but change only
//    through the program's calls.
//  - Notifications: TED_NFYVALIDATE on Return in a single-line editor
//    (the key then goes on to the window's default button unless the
//    procedure calls WGT_KeyHandled); TED_NFYFULL when text is cut at
//    MaxLen; TED_NFYSHOWCURSOR and TED_NFYHIDECURSOR as the caret comes
//    and goes.  A procedure may delete the editor: the editor keeps
//    itself alive through each notification.
#ifndef OWB_TOOLKIT_TED_H
#define OWB_TOOLKIT_TED_H

#include <string>

#include "toolkit/gstr.h"
#include "toolkit/sarea.h"
#include "toolkit/twlay.h"
#include "toolkit/wgtpub.h"

enum ENUM_TEdNfyEnum {
  TED_NFYVALIDATE = 200,
  TED_NFYSHOWCURSOR = 201,
  TED_NFYHIDECURSOR = 202,
  TED_NFYFULL = 203
};

// OptFlags.
enum {
  TED_OPTSELECTALLONFOCUS = 0x1,  // gaining the focus selects the whole text (not by a click)
  TED_OPTREADONLY = 0x2,
  TED_OPTMULTILINE = 0x4,         // several lines; Return breaks the line
  TED_OPTWRAP = 0x8,              // multi-line: long lines wrap at blanks
  TED_OPTNOBORDER = 0x10,         // no frame is drawn around the text
  TED_OPTPRESERVING = 0x100,      // typing replaces the selection only when it is empty
  TED_OPTMASK = 0x200             // mask mode
};

// Justif of a single-line editor's text.
enum { TED_JUSTLEFT = 0, TED_JUSTCENTER = 1, TED_JUSTRIGHT = 2 };

// RecalFlag bits: lay out again; bring the insert position into view.
enum { TED_RECALLAYOUT = 2, TED_RECALSHOWINSERT = 4 };

struct TEdSelRec {
  Int32 Beg;
  Int32 End;
  BoolEnum L2R;  // the caret is at End (true) or at Beg (false)
};
struct _TEdIndexRangeRec {
  Int32 Beg;
  Int32 End;
};
// The look of a run of text: what a styled range would carry.  The editor
// shows plain text in one font; the record names the parts for callers
// that describe a look.
struct _TEdGStyleRec {
  FontPtr Font;
  ColorPtr BgColor;
  ColorPtr FgColor;
  PenPtr Pen;
  CursPtr Cursor;
  ResPtr Pattern;
};

// An editor is a scrolling area: a multi-line one shows a vertical bar
// when its text is taller than the field, and a horizontal one when lines
// do not wrap and are wider; the wheel scrolls it.  The area lies inside
// the field's frame, right of the label.
struct _TEdObj {
  _SAreaObj SArea;
  // Resource fields.
  VStrPtr ValKeys;       // more keys that validate, as TBUT_SetAccelKeys writes them
  Int32 MaxLen;          // bytes; 0 for no limit
  UInt16 Justif;
  UInt16 OptFlags;
  Int16 LeftMargin;      // pixels between the frame and the text
  Int16 RightMargin;
  Int16 Width;           // width of the label column; 0: as the label needs
  VStrPtr LabelFontName;
  VStrPtr LabelFgColorName;
  VStrPtr LabelBgColorName;
  VStrPtr LabelPenName;      // kept from the template; labels are drawn with
  VStrPtr LabelPatternName;  // a solid pen and no pattern in this look
  VStrPtr InitialText;
  VStrPtr Label;
  // Kept by the editor.
  GStrPtr Text;
  TWLayPtr Lay;
  TEdSelRec Sel;
  Int32 Anchor;          // the fixed end while the selection is being extended
  Int32 GoalX;           // x the caret keeps over vertical moves, -1 none
  UInt Overstrike : 1;
  UInt CaretShown : 1;
  UInt Highlit : 1;
  UInt LayStale : 1;
  UInt Tracking : 1;
  FontPtr LabelFont;
  ColorPtr LabelFgColor;
  ColorPtr LabelBgColor;
  Int ClickCount;        // 1, 2, 3: click, word, line
  int64_t LastClickTime;
  Int PasteState;        // a paste under way
  Int32 PastePos;        // where a middle-button paste goes, -1 at the selection
};
typedef _TEdObj* TEdPtr;

inline WgtPtr TED_Wgt(TEdPtr ted) { return reinterpret_cast<WgtPtr>(ted); }
inline TEdPtr TED_FromWgt(WgtPtr wgt) { return reinterpret_cast<TEdPtr>(wgt); }
inline SAreaPtr TED_SArea(TEdPtr ted) { return reinterpret_cast<SAreaPtr>(ted); }

RClasPtr TED_Class();
void TED_InstallClass();
void TED_InitClass();
TEdPtr TED_Create();
BoolEnum TED_IsTEd(WgtPtr wgt);
long TED_DefNfy(ResPtr res, Int message, ClientPtr data);
// The editor's part of the automation surface: its text, selected while
// it has a selection.
struct AutomDesc;
void TED_Describe(WgtPtr wgt, AutomDesc* desc);

// --- Text --------------------------------------------------------------------
const char* TED_GetStr(TEdPtr ted);
Int32 TED_GetStrLen(TEdPtr ted);
void TED_SetStr(TEdPtr ted, const char* text);
void TED_SetStrf(TEdPtr ted, const char* format, ...) __attribute__((format(printf, 2, 3)));
void TED_SetVStr(TEdPtr ted, VStrPtr text);
// The text of a string resource (module, name); nothing when it is missing.
void TED_SetResStr(TEdPtr ted, const char* module, const char* name);
// Copies the text into buffer (size bytes with the NUL), cut on a
// character boundary; gives the buffer.
char* TED_QueryStr(TEdPtr ted, char* buffer, size_t size);
void TED_QueryVStr(TEdPtr ted, VStrPtr* out);
// A heap copy of the whole text; the caller frees it with VSTR_Dispose.
VStrPtr TED_GetHugeStr(TEdPtr ted);
// Replaces the selection with text and puts the caret after it.
void TED_InsertStr(TEdPtr ted, const char* text);
void TED_InsertStrf(TEdPtr ted, const char* format, ...) __attribute__((format(printf, 2, 3)));
void TED_ClearAll(TEdPtr ted);
// Replaces [beg, end) (-1 the end) with text; the selection follows.
void TED_ReplaceRange(TEdPtr ted, Int32 beg, Int32 end, const char* text);

// Numbers: the Get forms read the text as a decimal number; *ok (may be
// null) tells whether all of it was one that fits the type.
#define TED_NUMBER_FAMILY(X) X(Int, Int) X(UInt, UInt) X(Int16, Int16) X(UInt16, UInt16) X(Int32, Int32) X(UInt32, UInt32)
#define TED_DECLARE_NUMBER(Name, Type)                  \
  Type TED_Get##Name(TEdPtr ted, BoolEnum* ok = nullptr); \
  void TED_Set##Name(TEdPtr ted, Type value);           \
  void TED_Insert##Name(TEdPtr ted, Type value);
TED_NUMBER_FAMILY(TED_DECLARE_NUMBER)
#undef TED_DECLARE_NUMBER

// --- Selection and insert position ------------------------------------------
void TED_QuerySelRange(TEdPtr ted, TEdSelRec* sel);
void TED_SetSelRange(TEdPtr ted, const TEdSelRec* sel);
void TED_SelectRange(TEdPtr ted, Int32 beg, Int32 end);
void TED_SelectAll(TEdPtr ted);
void TED_SelectNone(TEdPtr ted);
// Sets an empty selection at index and asks for it to be scrolled into
// view at the next recalculation.
void TED_SetInsertPos(TEdPtr ted, Int32 index);
Int32 TED_GetInsertPos(TEdPtr ted);
VStrPtr TED_GetSelStr(TEdPtr ted);

// --- Clipboard ---------------------------------------------------------------
void TED_SelCopy(TEdPtr ted);
void TED_SelCut(TEdPtr ted);
// Asks the clipboard's owner for its text; the text replaces the
// selection when it arrives, later in the loop.  A paste that fails or
// takes too long leaves the editor as it was.
void TED_SelPaste(TEdPtr ted);
// Whether a paste is waiting for its text.
BoolEnum TED_IsPasting(TEdPtr ted);

// --- Options -----------------------------------------------------------------
void TED_ToggleOverstrikeMode(TEdPtr ted);
BoolEnum TED_IsInOverstrikeMode(TEdPtr ted);
void TED_SetMaxLen(TEdPtr ted, Int32 maxLen);
Int32 TED_GetMaxLen(TEdPtr ted);
void TED_SetJustif(TEdPtr ted, UInt16 justif);
void TED_SetOptFlags(TEdPtr ted, UInt16 flags);
UInt16 TED_GetOptFlags(TEdPtr ted);
void TED_SetLabel(TEdPtr ted, const char* label);
const char* TED_GetLabel(TEdPtr ted);

// --- Geometry ----------------------------------------------------------------
// The index nearest to a point of the widget (widget coordinates).
Int32 TED_LocGetIndex(TEdPtr ted, _Point16Rec loc);
// The caret's place of an index in widget coordinates: the top of the
// line; false when the index lies outside the visible text.
BoolEnum TED_IndexQueryLoc(TEdPtr ted, Int32 index, _Point16Rec* loc);
// The box of the text part, in widget coordinates.
_Rect16Rec TEdQueryTextBox(TEdPtr ted);
// The number of lines of the layout.
Int32 TEdGetNumLines(TEdPtr ted);
// Starts asking for a selection's text (DSPLY_SELCLIPBOARD or
// DSPLY_SELPRIMARY) for a paste whose state the caller has set.
void TEdStartPaste(TEdPtr ted, int which);

#endif  // OWB_TOOLKIT_TED_H
