// Text fields of the dialogs, shown as text areas for now.
#include "fleetmgr/fieldtext.h"

#include <cstdio>

#include "toolkit/rclas.h"
#include "toolkit/tarea.h"

namespace {

// Only a text area is read or written: a template that puts another
// widget at a field's index reads as empty instead of being misread.
TAreaPtr S_area(ResPtr field) {
  if (!field || !RCLAS_IsSubClassOf(field->ResClass, TAREA_Class())) return nullptr;
  return reinterpret_cast<TAreaPtr>(field);
}

}  // namespace

void fieldGetText(ResPtr field, char* text, size_t size) {
  if (!text || size == 0) return;
  TAreaPtr area = S_area(field);
  const char* value = area ? TAREA_GetText(area) : nullptr;
  std::snprintf(text, size, "%s", value ? value : "");
}

void fieldSetText(ResPtr field, const char* text) {
  if (TAreaPtr area = S_area(field)) TAREA_SetText(area, text ? text : "");
}

bool fieldIsEmpty(ResPtr field) {
  TAreaPtr area = S_area(field);
  const char* value = area ? TAREA_GetText(area) : nullptr;
  return !value || !*value;
}

long fieldDefNfy(ResPtr res, Int message, ClientPtr data) { return TAREA_DefNfy(res, message, data); }
