// A text button's label beyond TBUT_SetLabel and TBUT_GetLabel: the label
// as the growing string the button holds, copied into a caller's buffer,
// and set from a message of a resource module (so that it follows the
// module's language).
#ifndef OWB_TOOLKIT_TBUTLABEL_H
#define OWB_TOOLKIT_TBUTLABEL_H

#include "toolkit/tbut.h"

// The button's own string (null for no label); it stays the button's and
// changes with the next TBUT_SetLabel.
VStrPtr TBUT_GetLabelVStr(TButPtr but);
// Copies the label into buf of size bytes, cut off to fit and always
// terminated; gives the length copied.
Int TBUT_QueryLabel(TButPtr but, char* buf, Int size);
// Sets the label to the message name of the module; false (label kept)
// when the module has no such message.
BoolEnum TBUT_SetLabelMsg(TButPtr but, const char* module, const char* name);

#endif  // OWB_TOOLKIT_TBUTLABEL_H
