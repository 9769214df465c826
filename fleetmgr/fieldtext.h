// The text fields of the tool's dialogs, read and written in one place.
//
// A field is a child of a template addressed by its index.  The text read
// is cut to the buffer given (size bytes, terminator included) and is never
// longer than that; a null field reads as the empty string and is not
// written.
//
// The fields are single-line text editors (toolkit/ted.h); a text area in
// a field's place is read and written as well.
#ifndef OWB_FLEETMGR_FIELDTEXT_H
#define OWB_FLEETMGR_FIELDTEXT_H

#include <cstddef>

#include "toolkit/res.h"

void fieldGetText(ResPtr field, char* text, size_t size);
void fieldSetText(ResPtr field, const char* text);
bool fieldIsEmpty(ResPtr field);

// The code a text field sends when its text is checked (swallowed by the
// tool's text procedures) and when it loses the focus.
enum { kFieldNfyValidate = 200, kFieldNfyFocusLost = 115 };

// The default procedure of a text field.
long fieldDefNfy(ResPtr res, Int message, ClientPtr data);

#endif  // OWB_FLEETMGR_FIELDTEXT_H
