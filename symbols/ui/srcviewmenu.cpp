// The "&View" menu of a source view: an item "In <tool>" for each tool of
// the environment that can show source, as the Tool Manager lists them
// (GSAT), and the DISF that shows the view's file in the chosen one.
#include <cstdio>
#include <cstring>
#include <memory>

#include "shared/messages.h"
#include "symbols/ui/srcview.h"
#include "toolkit/mbar.h"

namespace {

constexpr TypeIdent kSourceToolsMessage = makeTypeIdent("GSAT");
const char kViewMenuLabel[] = "&View";

// Puts a new bar item with menu at the front of the bar.  The bar only
// appends, so each item's label and menu move one place on and the first
// place takes the new ones.
void addAtFront(MBarPtr bar, const char* label, MenuPtr menu) {
  MBAR_AddItem(bar, label);
  for (Int i = MBAR_GetNumItems(bar) - 1; i > 0; --i) {
    MItemPtr item = MBAR_GetNthItem(bar, i);
    MItemPtr before = MBAR_GetNthItem(bar, i - 1);
    MITEM_SetLabel(item, MITEM_GetLabel(before));
    MITEM_SetSubMenu(item, MITEM_GetSubMenu(before));
  }
  MItemPtr first = MBAR_GetNthItem(bar, 0);
  MITEM_SetLabel(first, label);
  MITEM_SetSubMenu(first, menu);
}

}  // namespace

void SourceView::initializeMenu() {
  if (!hasMenuBar || !win || !gMessageCenter) return;
  MBarPtr bar = WIN_GetMenuBar(win);
  if (!bar) return;
  Message* question = new Message(kSourceToolsMessage, &gToolManToolInfo);
  question->header.needsReply = TRUE;
  std::unique_ptr<Message> reply(gMessageCenter->sendMessage(question));
  if (!reply || reply->getParamCount() < 2) return;
  MenuPtr menu = nullptr;
  if (MBAR_GoLabel(bar, kViewMenuLabel)) menu = MBAR_CurGetSubMenu(bar);
  if (menu) {
    MENU_AddSeparator(menu);
  } else {
    menu = MENU_Create();
    addAtFront(bar, kViewMenuLabel, menu);
    RES_Release(MENU_Res(menu));  // the bar item holds it now
  }
  viewMenu_ = menu;
  for (short param = 1; param < reply->getParamCount(); ++param) {
    ToolInfo tool;
    if (!reply->getToolInfoParam(param, &tool)) continue;
    tool.name[sizeof tool.name - 1] = 0;
    char label[sizeof tool.name + 8];
    std::snprintf(label, sizeof label, "In %s", tool.name);
    MENU_AddItem(menu, label);
    menuTools_.push_back(std::make_unique<ToolInfo>(tool));
    MENU_CurSetClientData(menu, menuTools_.back().get());
  }
}

void SourceView::garbageCollectMenu() {
  if (viewMenu_) {
    // The items stay; they no longer point at the copies.
    for (MENU_GoFirst(viewMenu_); MENU_IsOk(viewMenu_); MENU_GoNext(viewMenu_))
      for (const auto& tool : menuTools_)
        if (MENU_CurGetClientData(viewMenu_) == tool.get()) MENU_CurSetClientData(viewMenu_, nullptr);
  }
  menuTools_.clear();
  viewMenu_ = nullptr;
}

const ToolInfo* SourceView::handleMenuSelection(WinPtr win) {
  MBarPtr bar = win ? WIN_GetMenuBar(win) : nullptr;
  if (!bar) return nullptr;
  const char* label = MBAR_ChosenGetLabel(bar);
  if (!label || std::strcmp(label, kViewMenuLabel) != 0) return nullptr;
  MenuPtr menu = MBAR_ChosenGetMenu(bar);
  return menu ? static_cast<const ToolInfo*>(MENU_ChosenGetClientData(menu)) : nullptr;
}
