// The window bookkeeping of a tool.
#include "shared/ui/windman.h"

#include <vector>

#include "shared/log.h"

WindowManager* gWindowManager = nullptr;

namespace {

constexpr TypeIdent kShowMsg = OWB_TYPE("SHOW");
constexpr TypeIdent kHideMsg = OWB_TYPE("HIDE");
constexpr TypeIdent kCloseMsg = OWB_TYPE("CWIN");
constexpr TypeIdent kDeactivateSourceMsg = OWB_TYPE("DSRC");
constexpr TypeIdent kActivateSourceMsg = OWB_TYPE("ASRC");
constexpr TypeIdent kGetWindowPlaceMsg = OWB_TYPE("GWIN");
constexpr TypeIdent kGiveWindowPlaceMsg = OWB_TYPE("UWIN");

void put16(uint8_t* p, int16_t v) {
  p[0] = static_cast<uint8_t>(static_cast<uint16_t>(v) >> 8);
  p[1] = static_cast<uint8_t>(v);
}

int16_t get16(const uint8_t* p) { return static_cast<int16_t>(static_cast<uint16_t>(p[0] << 8 | p[1])); }

}  // namespace

void windowRectToWire(const _Rect16Rec& rect, uint8_t wire[kWindowRectWireSize]) {
  put16(wire, rect.Origin.X);
  put16(wire + 2, rect.Origin.Y);
  put16(wire + 4, rect.Extent.X);
  put16(wire + 6, rect.Extent.Y);
}

_Rect16Rec windowRectFromWire(const uint8_t wire[kWindowRectWireSize]) {
  _Rect16Rec rect;
  rect.Origin.X = get16(wire);
  rect.Origin.Y = get16(wire + 2);
  rect.Extent.X = get16(wire + 4);
  rect.Extent.Y = get16(wire + 6);
  return rect;
}

WindowManager::WindowManager(Boolean forToolManager)
    : activeViewerWin(nullptr), isToolManager(forToolManager), firstWindow(nullptr) {
  registerHandlers();
}

WindowManager::~WindowManager() {
  while (firstWindow) delete removeWindowRec(firstWindow->win);
  if (gMessageCenter) {
    gMessageCenter->removeMessageHandler(kShowMsg);
    gMessageCenter->removeMessageHandler(kHideMsg);
    gMessageCenter->removeMessageHandler(kCloseMsg);
    if (!isToolManager) gMessageCenter->removeMessageHandler(kDeactivateSourceMsg);
  }
}

void WindowManager::registerHandlers() {
  if (!gMessageCenter) return;
  MessageTemplate none = makeMessageTemplate({});
  gMessageCenter->registerMessageHandler(kShowMsg, &none, showAllWindowsMsg);
  gMessageCenter->registerMessageHandler(kHideMsg, &none, hideAllWindowsMsg);
  gMessageCenter->registerMessageHandler(kCloseMsg, &none, closeAllWindowsMsg);
  if (!isToolManager) gMessageCenter->registerMessageHandler(kDeactivateSourceMsg, &none, deactivateSourceViewerMsg);
}

ToolWindowRecPtr WindowManager::addWindowRec(TypeIdent winType, WinPtr win, TButPtr tbut,
                                             SetActiveViewerProcPtr callback) {
  ToolWindowRecPtr oldHead = firstWindow;
  ToolWindowRecPtr rec = new ToolWindowRec{};

  if (gMessageCenter) {
    Message* request = new Message(kGetWindowPlaceMsg, &gToolManToolInfo);
    request->header.needsReply = TRUE;
    request->addIdentParam(winType);
    if (Message* reply = gMessageCenter->sendMessage(request)) {
      bool found = false;
      int32_t id = 0;
      reply->getBooleanParam(1, &found);
      // A rectangle of another size is not a place.
      if (reply->getParamType(2) == kParamData && reply->getParamLength(2) == static_cast<long>(kWindowRectWireSize))
        rec->windowRect = windowRectFromWire(reinterpret_cast<const uint8_t*>(reply->getParam(2)));
      else found = false;
      if (reply->getLongParam(3, &id)) rec->uniqueID = id;
      delete reply;
      if (found && win && rec->windowRect.Extent.X > 0 && rec->windowRect.Extent.Y > 0)
        WIN_Configure(win, &rec->windowRect.Origin, &rec->windowRect.Extent);
    }
  }

  rec->refCon = nullptr;
  rec->win = win;
  rec->tbut = tbut;
  rec->callback = callback;
  rec->winType = winType;
  rec->activeViewer = FALSE;
  if (win) RES_Use(WGT_Res(WIN_Wgt(win)));
  rec->next = oldHead;
  rec->prev = nullptr;
  if (oldHead) oldHead->prev = rec;
  firstWindow = rec;

  setActiveViewer(win, TRUE);
  lastError = kNoError;
  return rec;
}

void WindowManager::unlink(ToolWindowRecPtr rec) {
  if (rec->prev) rec->prev->next = rec->next;
  else firstWindow = rec->next;
  if (rec->next) rec->next->prev = rec->prev;
  rec->next = rec->prev = nullptr;
}

ToolWindowRecPtr WindowManager::removeWindowRec(WinPtr win) {
  ToolWindowRecPtr rec = getWindowRec(win);
  if (!rec) return nullptr;
  unlink(rec);
  if (rec->winType == kSourceViewerWindowType && rec->activeViewer) sendToolManagerMsg(kDeactivateSourceMsg);
  if (gMessageCenter) {
    uint8_t wire[kWindowRectWireSize] = {};
    if (win) windowRectToWire(WIN_Wgt(win)->Box, wire);
    Message* message = new Message(kGiveWindowPlaceMsg, &gToolManToolInfo);
    message->addIdentParam(rec->winType);
    message->addParam(kParamData, wire, kWindowRectWireSize);
    message->addLongParam(static_cast<int32_t>(rec->uniqueID));
    delete gMessageCenter->sendMessage(message);
  }
  if (win) RES_Release(WGT_Res(WIN_Wgt(win)));
  lastError = kNoError;
  return rec;
}

ToolWindowRecPtr WindowManager::getWindowRec(WinPtr win) {
  for (ToolWindowRecPtr rec = firstWindow; rec; rec = rec->next) {
    if (rec->win == win) {
      lastError = kNoError;
      return rec;
    }
  }
  lastError = kWindowNotFound;
  return nullptr;
}

Boolean WindowManager::windowTypeExists(TypeIdent winType) {
  for (ToolWindowRecPtr rec = firstWindow; rec; rec = rec->next)
    if (rec->winType == winType) return TRUE;
  return FALSE;
}

ToolWindowRecPtr WindowManager::getActiveViewer(TypeIdent winType) {
  for (ToolWindowRecPtr rec = firstWindow; rec; rec = rec->next) {
    if (rec->winType == winType && rec->activeViewer) {
      lastError = kNoError;
      return rec;
    }
  }
  lastError = kWindowNotFound;
  return nullptr;
}

void WindowManager::setActiveViewer(WinPtr win, Boolean status) {
  lastError = kNoError;
  // One test decides for the whole list: a tool whose newest window has no
  // tool button keeps no active viewers at all.
  if (!firstWindow || !firstWindow->tbut) return;
  ToolWindowRecPtr rec = getWindowRec(win);
  if (!rec) return;  // lastError -701
  if (!status) {
    rec->activeViewer = FALSE;
    if (rec->winType == kSourceViewerWindowType) sendToolManagerMsg(kDeactivateSourceMsg);
    return;
  }
  if (rec->winType == kSourceViewerWindowType) sendToolManagerMsg(kActivateSourceMsg);
  const TypeIdent type = rec->winType;
  // A callback may add or remove records: the windows of the type are
  // taken first, and each is looked up again before it is told.
  std::vector<WinPtr> sameType;
  for (ToolWindowRecPtr r = firstWindow; r; r = r->next)
    if (r->winType == type) sameType.push_back(r->win);
  for (WinPtr w : sameType) {
    ToolWindowRecPtr r = getWindowRec(w);
    if (!r) continue;
    r->activeViewer = w == win;
    if (r->callback) r->callback(r->win, r->tbut, r->activeViewer);
  }
  lastError = kNoError;
}

void WindowManager::setAllWindowsVisibility(Boolean visibility, Boolean closeWindows) {
  // Closing a window removes its record, and a window's notification may
  // remove others: the windows are taken first, and each is acted on only
  // while its record is still there.
  std::vector<WinPtr> windows;
  for (ToolWindowRecPtr rec = firstWindow; rec; rec = rec->next) windows.push_back(rec->win);
  for (WinPtr win : windows) {
    if (!getWindowRec(win) || !win) continue;
    if (closeWindows) WIN_TerminateGetStatus(win);
    else if (visibility) WIN_Show(win);
    else WIN_Minimize(win);
  }
  lastError = kNoError;
}

void WindowManager::sendToolManagerMsg(TypeIdent msgType) {
  if (!gMessageCenter) return;
  delete gMessageCenter->sendMessage(new Message(msgType, &gToolManToolInfo));
}

ErrorCode WindowManager::showAllWindowsMsg(Message*, Message*) {
  if (!gWindowManager) return kNoError;
  gWindowManager->setAllWindowsVisibility(TRUE, FALSE);
  return gWindowManager->lastError;
}

ErrorCode WindowManager::hideAllWindowsMsg(Message*, Message*) {
  if (!gWindowManager) return kNoError;
  gWindowManager->setAllWindowsVisibility(FALSE, FALSE);
  return gWindowManager->lastError;
}

ErrorCode WindowManager::closeAllWindowsMsg(Message*, Message*) {
  if (!gWindowManager) return kNoError;
  gWindowManager->setAllWindowsVisibility(FALSE, TRUE);
  return gWindowManager->lastError;
}

ErrorCode WindowManager::deactivateSourceViewerMsg(Message*, Message*) {
  if (!gWindowManager) return kNoError;
  // The Tool Manager sent it, so no DSRC goes back.
  for (ToolWindowRecPtr rec = gWindowManager->firstWindow; rec; rec = rec->next) {
    if (rec->winType == kSourceViewerWindowType && rec->activeViewer) {
      // Cleared before the callback, which may remove the record.
      rec->activeViewer = FALSE;
      if (rec->callback) rec->callback(rec->win, rec->tbut, FALSE);
      break;
    }
  }
  return gWindowManager->lastError;
}
