// The list window of the demo: a list box of 10 000 rows and 9 columns with
// headings, and a standalone scroll bar that shows its value.
#ifndef OWB_TOOLS_WGTDEMO_LISTDEMO_H
#define OWB_TOOLS_WGTDEMO_LISTDEMO_H

#include "toolkit/winpub.h"

// Loads wgtdemo.ListWindow, fills it and initialises it (not shown).  The
// window's texts live as long as the program.
WinPtr LoadListDemo();

#endif  // OWB_TOOLS_WGTDEMO_LISTDEMO_H
