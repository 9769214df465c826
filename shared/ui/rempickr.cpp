// The project side of the file picker.
#include "shared/ui/rempickr.h"

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "shared/messages.h"
#include "shared/ui/pickrules.h"
#include "shared/utils.h"

namespace {

TypeIdent gDefaultComponentType = 0;

ClientPtr typeData(TypeIdent type) { return reinterpret_cast<ClientPtr>(static_cast<uintptr_t>(type)); }
TypeIdent dataType(ClientPtr data) { return static_cast<TypeIdent>(reinterpret_cast<uintptr_t>(data)); }

}  // namespace

void buildProjectPopUp(CBoxPtr cbox) {
  std::unique_ptr<Message> reply(pickerAskComponentTypes());
  if (!reply || reply->getParamCount() < 2) return;  // the box stays as it was
  std::vector<std::pair<std::string, TypeIdent>> types;
  if (!pickerComponentTypes(reply.get(), &types)) return;
  for (CBOX_GoFirst(cbox); CBOX_IsOk(cbox);) CBOX_CurRemoveElt(cbox);
  Int current = -1;
  for (const auto& type : types) {
    CBOX_GoIndex(cbox, CBOX_GetNumElts(cbox));
    CBOX_CurAddElt(cbox, type.first.c_str(), typeData(type.second));
    if (current < 0 && type.second == gDefaultComponentType) current = CBOX_GetNumElts(cbox) - 1;
  }
  if (CBOX_GetNumElts(cbox) == 0) return;
  CBOX_GoIndex(cbox, current < 0 ? 0 : current);
  CBOX_CurSelect(cbox);
}

void populateProjectList(LBoxPtr lbox, TypeIdent componentType) {
  std::unique_ptr<Message> reply(pickerAskProjectFiles(componentType));
  std::vector<std::string> rows;
  if (!reply || !pickerProjectFiles(reply.get(), &rows)) return;
  LBOX_ClearAll(lbox);
  for (size_t i = 0; i < rows.size(); i++) {
    LBOX_GoColRow(lbox, 1, static_cast<Int>(i + 1));
    LBOX_CurSetClientData(lbox, newStringCopy(rows[i].c_str()));
  }
  LBOX_GoColRow(lbox, 1, 1);
}

TypeIdent getComponentType(CBoxPtr cbox) {
  Int selected = CBOX_GetSelIndex(cbox);
  CBOX_GoIndex(cbox, selected);
  if (!CBOX_IsOk(cbox)) CBOX_GoFirst(cbox);
  return CBOX_IsOk(cbox) ? dataType(CBOX_CurGetClientData(cbox)) : 0;
}

TypeIdent getDefaultComponentType() { return gDefaultComponentType; }

void setDefaultComponentType(TypeIdent type) { gDefaultComponentType = type; }
