// Ordering a panel's children by their `Index` field, so that
// RES_GetNthChild(panel, n) gives the child whose Index is n.
#ifndef OWB_TOOLKIT_WGTARRAY_H
#define OWB_TOOLKIT_WGTARRAY_H

#include "toolkit/res.h"

// "Panel" message numbers (Errors list).
enum {
  kPanelErrIndexRange = 0,  // index %d of %s outside 0 to %d
  kPanelErrIndexTwice = 1,  // two widgets with index %d in %s
  kPanelErrNoIndex = 2      // %s has no Index field
};

// Sets a child's links to its panel and window; installed by the widget
// module (the links are fields of its objects).
typedef void (*PanelLinkProc)(ResPtr child, ResPtr panel, ResPtr win);
void PANEL_SetWgtLinkProc(PanelLinkProc proc);

// Orders the children of `panel` by Index into a new array, links each to
// its panel and to `panel` as window, and does the same for every child
// that has children.  An Index outside 0..count-1 or given twice is a
// failure of "Panel"; the children stay as they were then.
void PANEL_BuildWgtArray(ResPtr panel);

#endif  // OWB_TOOLKIT_WGTARRAY_H
