// Failures of library code as message strings.
#include "tools/rescomp/rsrcreport.h"

#include <cstring>

#include "toolkit/err.h"

namespace {

std::string* sCapture = nullptr;

void S_CaptureReport(ErrFramePtr, Int severity) {
  if (severity < ERR_SEVFAILURE || !sCapture) return;
  ErrFramePtr top = ERR_Master()->Top;
  char text[1024];
  ERR_Format(top, text, sizeof text);
  std::string message = text;
  if (message.empty() || message == "Unknown error")
    message += " (" + std::string(top->Module ? top->Module : "?") + " message " + std::to_string(top->Id) + ")";
  // The context of the failure: the messages of the frames below.
  for (ErrFramePtr f = top->Next; f; f = f->Next) {
    ERR_Format(f, text, sizeof text);
    if (text[0] && std::strcmp(text, "Unknown error") != 0) message += std::string("; ") + text;
  }
  *sCapture = message;
}

}  // namespace

bool RSRC_Guard(const std::function<void()>& body, std::string* error) {
  ErrTrace frame("Err", __FILE__, __LINE__);
  frame.rec()->ReportProc = S_CaptureReport;
  std::string captured;
  std::string* previous = sCapture;
  sCapture = &captured;
  bool ok = ERR_TryRecoverFn(frame, [&] { body(); });
  sCapture = previous;
  if (!ok && error) *error = captured.empty() ? "failed" : captured;
  return ok;
}
