// The editor window of the demo: single-line fields with labels, and a
// multi-line editor that wraps.
#ifndef OWB_TOOLS_WGTDEMO_EDITDEMO_H
#define OWB_TOOLS_WGTDEMO_EDITDEMO_H

#include "toolkit/winpub.h"

// Loads wgtdemo.EditWindow and initialises it (not shown); the first
// field has the focus.
WinPtr LoadEditDemo();

#endif  // OWB_TOOLS_WGTDEMO_EDITDEMO_H
