// Children ordered by Index.
#include "toolkit/wgtarray.h"

#include <memory>

#include "toolkit/err.h"
#include "toolkit/pfld.h"

namespace {

PanelLinkProc sLinkProc = nullptr;

void S_Build(ResPtr panel, ResPtr win) {
  Int count = RES_GetNumChildren(panel);
  if (count == 0) return;
  std::unique_ptr<_ArrayRec, void (*)(ArrayPtr)> ordered(ARRAY_New(static_cast<Int>(sizeof(ResPtr)), count),
                                                        ARRAY_Dispose);
  std::vector<ResPtr> slots(static_cast<size_t>(count), nullptr);
  for (Int i = 0; i < count; ++i) {
    ResPtr child = RES_GetNthChild(panel, i);
    PFldPtr field = RCLAS_FindField(child->ResClass, "Index");
    if (!field || field->Type > PFLD_UINT32) ERR_Fail("Panel", kPanelErrNoIndex, RES_QueryFullName(child));
    long index = PFLD_GetInt(child, field);
    if (index < 0 || index >= count)
      ERR_Fail("Panel", kPanelErrIndexRange, index, RES_QueryFullName(child), count - 1);
    if (slots[static_cast<size_t>(index)])
      ERR_Fail("Panel", kPanelErrIndexTwice, index, RES_QueryFullName(panel));
    slots[static_cast<size_t>(index)] = child;
  }
  for (ResPtr child : slots) ARRAY_AddPtr(ordered.get(), child);
  RES_ResetChildren(panel, ordered.release());
  for (ResPtr child : slots) {
    if (sLinkProc) sLinkProc(child, panel, win);
    S_Build(child, win);
  }
}

}  // namespace

void PANEL_SetWgtLinkProc(PanelLinkProc proc) { sLinkProc = proc; }

void PANEL_BuildWgtArray(ResPtr panel) {
  ErrTrace frame("Panel", __FILE__, __LINE__);
  S_Build(panel, panel);
}
