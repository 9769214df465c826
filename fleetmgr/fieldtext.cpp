// Text fields of the dialogs: text editors, read and written in one place.
#include "fleetmgr/fieldtext.h"

#include <cstdio>

#include "toolkit/rclas.h"
#include "toolkit/tarea.h"
#include "toolkit/ted.h"

namespace {

// A field is a text editor; a text area at a field's index (a template
// that shows a value without letting it be edited) is read and written
// too.  Any other widget reads as empty instead of being misread.
TEdPtr S_editor(ResPtr field) {
  if (!field || !RCLAS_IsSubClassOf(field->ResClass, TED_Class())) return nullptr;
  return TED_FromWgt(reinterpret_cast<WgtPtr>(field));
}

TAreaPtr S_area(ResPtr field) {
  if (!field || !RCLAS_IsSubClassOf(field->ResClass, TAREA_Class())) return nullptr;
  return reinterpret_cast<TAreaPtr>(field);
}

const char* S_text(ResPtr field) {
  if (TEdPtr editor = S_editor(field)) return TED_GetStr(editor);
  if (TAreaPtr area = S_area(field)) return TAREA_GetText(area);
  return nullptr;
}

}  // namespace

void fieldGetText(ResPtr field, char* text, size_t size) {
  if (!text || size == 0) return;
  const char* value = S_text(field);
  std::snprintf(text, size, "%s", value ? value : "");
}

void fieldSetText(ResPtr field, const char* text) {
  if (TEdPtr editor = S_editor(field)) TED_SetStr(editor, text ? text : "");
  else if (TAreaPtr area = S_area(field)) TAREA_SetText(area, text ? text : "");
}

bool fieldIsEmpty(ResPtr field) {
  const char* value = S_text(field);
  return !value || !*value;
}

long fieldDefNfy(ResPtr res, Int message, ClientPtr data) {
  if (S_editor(res)) return TED_DefNfy(res, message, data);
  return TAREA_DefNfy(res, message, data);
}
