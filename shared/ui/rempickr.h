// The project side of the file picker: the combo box of the project's
// component types and the list of the project's files of one type, both
// learnt from the Tool Manager (GCCP and GFCP).
//
// Contracts:
// - Each element of the combo box carries its component type as client
//   data (the TypeIdent itself, not a pointer); nothing is to be freed.
// - Each row of the project list carries a heap copy of its path (new[]),
//   which the list's owner frees when the row goes (LBOX_NFYCELLDELETE).
// - Both calls block until the Tool Manager answers or its request times
//   out; without an answer the box or list stays as it was.
#ifndef OWB_SHARED_UI_REMPICKR_H
#define OWB_SHARED_UI_REMPICKR_H

#include "owbtypes.h"
#include "toolkit/cbox.h"
#include "toolkit/lbox.h"

// Fills cbox with the project's component types, in the Tool Manager's
// order.  The type chosen last (setDefaultComponentType) becomes the
// current and selected element, else the first; with no type nothing is
// selected.  The selection is made through CBOX_CurSelect, so the box's
// procedure hears CBOX_NFYELTSELECTED.
void buildProjectPopUp(CBoxPtr cbox);

// Refills lbox with the project's files of componentType, one row per
// path and an empty last row, and puts its cursor on the first row.  An
// error answer leaves the list as it stands.
void populateProjectList(LBoxPtr lbox, TypeIdent componentType);

// The type of the box's selected element (of the first element when none
// is selected); 0 for an empty box.
TypeIdent getComponentType(CBoxPtr cbox);

// The type the user chose last, kept for the life of the tool.
TypeIdent getDefaultComponentType();
void setDefaultComponentType(TypeIdent type);

#endif  // OWB_SHARED_UI_REMPICKR_H
