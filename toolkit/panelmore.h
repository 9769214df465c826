// The panel calls beyond routing and focus moves: composite widgets, the
// stored focus order, propagation of messages to the children, the box
// with the children following, and the class defaults for panels of new
// classes.
//
// Composite widgets are parts of a panel that are not its children (not
// counted by RES_GetNthChild, not saved with it): a window's tool bar, a
// panel's own scroll bar.  They are offered mouse events before the
// children and have the panel as Panel.
//
// Contracts:
//  - PANEL_AddCompoWgt... takes over the caller's reference to the widget;
//    PANEL_RemoveCompoWgt hands it back (the caller releases it).  A panel
//    releases the composite widgets it still has when it is freed.
//  - The focus order holds child indices; a widget that is not a child of
//    the panel is ignored.
#ifndef OWB_TOOLKIT_PANELMORE_H
#define OWB_TOOLKIT_PANELMORE_H

#include "toolkit/winpub.h"

// Label justification (LabelJustif) of a panel's title.
enum { PANEL_JUSTIFLEFT = 0, PANEL_JUSTIFCENTER = 1, PANEL_JUSTIFRIGHT = 2 };

void PANEL_AddCompoWgt(PanelPtr panel, WgtPtr wgt);
void PANEL_AddCompoWgtAtIndex(PanelPtr panel, WgtPtr wgt, Int index);
void PANEL_RemoveCompoWgt(PanelPtr panel, WgtPtr wgt);
Int PANEL_GetNumCompoWgts(PanelPtr panel);
WgtPtr PANEL_GetNthCompoWgt(PanelPtr panel, Int n);

// The stored focus order: a child joins at the end or at a place of the
// order (and may take the focus on tab); it leaves it again.
void PANEL_AddFocusWgt(PanelPtr panel, WgtPtr wgt);
void PANEL_AddFocusWgtAtIndex(PanelPtr panel, WgtPtr wgt, Int index);
void PANEL_RemoveFocusWgt(PanelPtr panel, WgtPtr wgt);
// Makes wgt the widget keys go to, down from this panel, without asking
// the present one (null: the panel keeps no key widget).
void PANEL_SetKeyWgt(PanelPtr panel, WgtPtr wgt);

UInt16 PANEL_GetLabelJustif(PanelPtr panel);
void PANEL_SetLabelJustif(PanelPtr panel, UInt16 justif);

// Messages to the children: every child and composite widget; the children
// a user can reach (enabled and visible), deep through panels; and the
// children from the top down until one answers non-zero, which is
// returned (null if none did).
void PANEL_Propagate(PanelPtr panel, Int message, ClientPtr data);
void PANEL_PropagateAccessWgts(PanelPtr panel, Int message, ClientPtr data);
WgtPtr PANEL_PropagateProtocol(PanelPtr panel, Int message, ClientPtr data);

// The panel's box (in its parent) and its resource box; once it is
// initialised its children follow by their RzFlags.
void PANEL_SetBox(PanelPtr panel, const _Rect16Rec& box);
void PANEL_SetResBox(PanelPtr panel, const _Rect16Rec& resBox);

// Class defaults.
void PANEL_DefInit(PanelPtr panel);
void PANEL_DefEnd(PanelPtr panel);
void PANEL_DefMouseOut(PanelPtr panel);
// Initialises the children that are not yet.
void PANEL_SubwgtsInit(PanelPtr panel);
// Offers the current mouse move to the composite widgets and children; the
// one that took it, or null.
WgtPtr PANEL_SubwgtsMouseMove(PanelPtr panel);

// For the panel class.
void PanelEndCompoWgts(PanelPtr panel);
void PanelReleaseCompoWgts(ResPtr panel);

#endif  // OWB_TOOLKIT_PANELMORE_H
