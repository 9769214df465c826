// The label calls of text buttons (see tbutlabel.h).
#include <cstring>

#include "toolkit/strres.h"
#include "toolkit/tbutlabel.h"

VStrPtr TBUT_GetLabelVStr(TButPtr but) { return but ? but->Label : nullptr; }

Int TBUT_QueryLabel(TButPtr but, char* buf, Int size) {
  if (!buf || size <= 0) return 0;
  const char* label = TBUT_GetLabel(but);
  size_t n = std::strlen(label);
  if (n > static_cast<size_t>(size - 1)) n = static_cast<size_t>(size - 1);
  std::memcpy(buf, label, n);
  buf[n] = 0;
  return static_cast<Int>(n);
}

BoolEnum TBUT_SetLabelMsg(TButPtr but, const char* module, const char* name) {
  if (!but || !module || !name) return 0;
  const char* text = STRR_FindStr(module, name);
  if (!text) return 0;
  TBUT_SetLabel(but, text);
  return 1;
}
