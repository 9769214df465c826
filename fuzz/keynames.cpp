// Key names from resource libraries and widget texts for the automation
// surface, both of which come from outside.  Input: 4 bytes that make the
// current key event (key, modifiers, typed character), then the text.
// The key names are matched against the event; the text is escaped for a
// line of the description, which must hold no tab and no newline and must
// give back the text when read.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "toolkit/autom.h"
#include "toolkit/event.h"
#include "toolkit/kylst.h"

namespace {

// Reads an escaped text back: \\ \t \n \xHH.
std::string unescape(const std::string& s) {
  std::string out;
  for (size_t i = 0; i < s.size(); i++) {
    if (s[i] != '\\') {
      out += s[i];
      continue;
    }
    char next = i + 1 < s.size() ? s[i + 1] : 0;
    if (next == '\\') out += '\\', i++;
    else if (next == 't') out += '\t', i++;
    else if (next == 'n') out += '\n', i++;
    else if (next == 'x' && i + 3 < s.size()) {
      out += static_cast<char>(std::strtol(s.substr(i + 2, 2).c_str(), nullptr, 16));
      i += 3;
    } else {
      std::abort();  // an escape that the writer never makes
    }
  }
  return out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 4) return 0;
  _EventRec* ev = EVENT_GetCurEvent();
  ev->Type = data[0] & 1 ? EVENT_TYPEKEYPRESS : EVENT_TYPEBUTTONPRESS;
  ev->Key = data[1];
  ev->KbModifiers = data[2];
  ev->KbAsciiStr[0] = static_cast<char>(data[3]);
  ev->KbAsciiStr[1] = 0;
  // The text ends at the first NUL, as the C strings it stands for do.
  std::string text(reinterpret_cast<const char*>(data + 4), size - 4);
  text = text.substr(0, text.find('\0'));
  KYLST_MatchKeys(text.c_str());
  std::string line = AUTOM_Escape(text.c_str());
  if (line.find('\t') != std::string::npos || line.find('\n') != std::string::npos) std::abort();
  if (unescape(line) != text) std::abort();
  return 0;
}
