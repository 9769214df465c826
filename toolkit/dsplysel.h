// The display's selections: the clipboard and the primary selection that
// programs of the display share, in terms free of any X type.
//
// Owning: the display layer keeps a copy of the text and answers every
// other program's request for it (as UTF-8, or Latin-1 for those that ask
// for plain strings; large texts in increments) until another program
// takes the selection or the program ends.
//
// Asking: a request is answered later, from inside DSPLY_CheckEvent (or
// DSPLY_ExpireSelectionRequests when its time is over): the loop never
// waits for the owner.  Requests run one after another.
//
// Contracts:
//  - The text is UTF-8 both ways; what comes from another program is not
//    checked here (the caller cleans it).  At most kDsplySelMaxBytes are
//    taken; a larger answer fails.
//  - proc is called exactly once per request unless the request is
//    cancelled first; client must stay valid until then or be cancelled.
#ifndef OWB_TOOLKIT_DSPLYSEL_H
#define OWB_TOOLKIT_DSPLYSEL_H

#include <cstddef>
#include <string>

enum { DSPLY_SELPRIMARY = 0, DSPLY_SELCLIPBOARD = 1 };
constexpr size_t kDsplySelMaxBytes = 64u << 20;

// True when the display now holds the text for the selection.
bool DSPLY_OwnSelection(int which, const std::string& utf8);
void DSPLY_DisownSelection(int which);
bool DSPLY_OwnsSelection(int which);

typedef void (*DsplySelProc)(void* client, bool ok, const std::string& text);
// Asks for the selection's text; an owner that does not answer within
// timeoutMs (for each step of an increment transfer) fails the request.
void DSPLY_RequestSelection(int which, DsplySelProc proc, void* client, int timeoutMs);
void DSPLY_CancelSelectionRequests(void* client);
bool DSPLY_HasSelectionRequests();
// Fails the requests whose time is over and drops stalled transfers to
// other programs.
void DSPLY_ExpireSelectionRequests();

#endif  // OWB_TOOLKIT_DSPLYSEL_H
