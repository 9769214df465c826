// The clipboard as the event system offers it: a text set for other
// programs, and a text fetched from whoever holds the clipboard while the
// loop keeps running.
#include <string>

#include "toolkit/dsply.h"
#include "toolkit/dsplysel.h"
#include "toolkit/evctx.h"
#include "toolkit/event.h"

BoolEnum EVENT_SetClipboardStr(const char* text) {
  if (!DSPLY_IsOpen()) return 0;
  return DSPLY_OwnSelection(DSPLY_SELCLIPBOARD, text ? text : "");
}

namespace {
struct ClipRequest {
  BoolEnum Busy = 1;
  bool Ok = false;
  std::string* Text;
};

void clipDone(void* client, bool ok, const std::string& text) {
  ClipRequest* r = static_cast<ClipRequest*>(client);
  r->Ok = ok;
  if (ok) *r->Text = text;
  r->Busy = 0;
}
}  // namespace

BoolEnum EVENT_GetClipboardStr(std::string* text, Int timeoutMs) {
  if (!text) return 0;
  text->clear();
  if (!DSPLY_IsOpen()) return 0;
  ClipRequest request;
  request.Text = text;
  DSPLY_RequestSelection(DSPLY_SELCLIPBOARD, clipDone, &request, timeoutMs);
  // A little longer than the request's own limit, so that the display
  // layer's answer (a failure at worst) is what ends the wait.
  EventWaitWhile(&request.Busy, timeoutMs + 200);
  if (request.Busy) DSPLY_CancelSelectionRequests(&request);
  if (!request.Ok) text->clear();
  return request.Ok && !text->empty();
}
