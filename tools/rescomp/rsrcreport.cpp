// Failures of library code as message strings.
#include "tools/rescomp/rsrcreport.h"

#include <cstdio>
#include <cstring>
#include <map>
#include <vector>

#include "toolkit/err.h"
#include "toolkit/str.h"
#include "tools/rescomp/rsrclexer.h"

namespace {

std::string* sCapture = nullptr;

// The string lists of the built-in message sources, by "module.list".
std::map<std::string, std::vector<std::string>>* sMessageLists = nullptr;
StrRFindProc sToolkitFind = nullptr;
ClientPtr sToolkitFindData = nullptr;

// Collects every `StrL name { Text = [ "..." ... ] }` of source under its
// module.  The sources are the project's own, so a token that does not fit
// this shape is simply passed over.
void S_CollectStringLists(const char* source, std::map<std::string, std::vector<std::string>>* lists) {
  std::string text = source;
  rsrc::Lexer lexer(text);
  std::string module;
  try {
    for (rsrc::Token t = lexer.next(); t.kind != rsrc::kEnd; t = lexer.next()) {
      if (t.kind != rsrc::kIdent) continue;
      if (t.text == "module") {
        module = lexer.next().text;
      } else if (t.text == "StrL") {
        std::vector<std::string>& list = (*lists)[module + "." + lexer.next().text];
        for (t = lexer.next(); t.kind != rsrc::kEnd && !(t.kind == rsrc::kPunct && t.text == "["); t = lexer.next()) {
        }
        for (t = lexer.next(); t.kind != rsrc::kEnd && !(t.kind == rsrc::kPunct && t.text == "]"); t = lexer.next())
          if (t.kind == rsrc::kString) list.push_back(t.text);
      }
    }
  } catch (const rsrc::ParseError&) {
  }
}

const char* S_FindNthStr(const char* module, const char* listName, Int n, ClientPtr) {
  if (sToolkitFind)
    if (const char* text = sToolkitFind(module, listName, n, sToolkitFindData)) return text;
  if (!sMessageLists || !module || !listName || n < 0) return nullptr;
  auto found = sMessageLists->find(std::string(module) + "." + listName);
  if (found == sMessageLists->end() || static_cast<size_t>(n) >= found->second.size()) return nullptr;
  return found->second[static_cast<size_t>(n)].c_str();
}

// Whether text[at...] starts a well-formed UTF-8 sequence of a character
// above 0x7F; its length in *length.
bool S_IsUtf8Sequence(const std::string& text, size_t at, size_t* length) {
  unsigned char lead = static_cast<unsigned char>(text[at]);
  size_t count = lead >= 0xF0 && lead <= 0xF4 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC2 && lead <= 0xDF ? 2 : 0;
  if (count == 0 || at + count > text.size()) return false;
  for (size_t i = 1; i < count; ++i)
    if ((static_cast<unsigned char>(text[at + i]) & 0xC0) != 0x80) return false;
  *length = count;
  return true;
}

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
  *sCapture = RSRC_PrintableText(message);
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

void RSRC_InstallMessageTexts() {
  if (!sMessageLists) {
    sMessageLists = new std::map<std::string, std::vector<std::string>>;  // kept to the end
    for (const char* const* source = kRsrcMessageSources; *source; ++source)
      S_CollectStringLists(*source, sMessageLists);
  }
  ClientPtr data = nullptr;
  StrRFindProc current = STR_GetStrRFindProc(&data);
  if (current == S_FindNthStr) return;
  sToolkitFind = current;
  sToolkitFindData = data;
  STR_SetStrRFindProcDS(S_FindNthStr, nullptr);
}

std::string RSRC_PrintableText(const std::string& text) {
  std::string printable;
  for (size_t at = 0; at < text.size();) {
    unsigned char c = static_cast<unsigned char>(text[at]);
    size_t length = 1;
    if ((c >= 0x20 && c < 0x7F) || (c >= 0x80 && S_IsUtf8Sequence(text, at, &length))) {
      printable.append(text, at, length);
    } else {
      char escape[8];
      std::snprintf(escape, sizeof escape, "\\x%02x", c);
      printable += escape;
    }
    at += length;
  }
  return printable;
}
