// The source window: a SourceView in a window of its own, with a status
// line, a find field and the following of a growing file.
#include "symbols/ui/srcwindow.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "toolkit/autom.h"
#include "toolkit/dsply.h"
#include "toolkit/evkeys.h"
#include "toolkit/mbar.h"

namespace {

constexpr int kPad = 4;
constexpr int kStatusHeight = 22;
constexpr UInt16 kStretchBoth = 0x33;           // grows with the window both ways
constexpr UInt16 kStretchWidthKeepBottom = 0x63; // grows in width, stays at the bottom
constexpr UInt16 kKeepBottomLeft = 0x60;         // keeps its size at the bottom left
constexpr int kFindFieldWidth = 280;
constexpr Int32 kFindTextMax = 255;              // what a search can take

int followIntervalFromEnvironment() {
  const char* text = std::getenv("OWB_FOLLOW_INTERVAL");
  int value = text ? std::atoi(text) : 0;
  return value > 0 ? value : 250;
}

const char kFindItem[] = "&Find...";
const char kFindNextItem[] = "Find &Next";
const char kFollowItem[] = "F&ollow";
const char kCloseItem[] = "&Close";

// The bar: "&File" with the window's commands (their keys are the view's
// own, shown beside them).  A "&View" menu of the tools that show source
// comes in front when the Tool Manager lists any.
MBarPtr makeMenuBar() {
  MBarPtr bar = MBAR_Create();
  MBAR_AddItem(bar, "&File");
  MenuPtr file = MENU_Create();
  MENU_AddItem(file, kFindItem);
  MENU_CurSetAccelLabel(file, "Ctrl+F");
  MENU_AddItem(file, kFindNextItem);
  MENU_CurSetAccelLabel(file, "F3");
  MENU_AddItem(file, kFollowItem);
  MENU_CurSetCheckedMode(file, MITEM_CHECKTOGGLE);
  MENU_CurSetAccelLabel(file, "Shift+F");
  MENU_AddSeparator(file);
  MENU_AddItem(file, kCloseItem);
  MENU_CurSetAccelLabel(file, "Ctrl+W");
  MBAR_CurSetSubMenu(bar, file);
  RES_Release(MENU_Res(file));
  return bar;
}

// The bar's height in the units of the window's boxes (96 dots per inch).
int barHeightInBoxUnits(MBarPtr bar) {
  int dpi = DSPLY_GetScreenDpi();
  return dpi > 0 ? (MBAR_GetHeight(bar) * 96 + dpi - 1) / dpi : MBAR_GetHeight(bar);
}

}  // namespace

_Point16Rec SourceWindow::placeBeside(const _Rect16Rec& box, _Point16Rec extent, _Point16Rec screen) {
  constexpr int kGap = 8, kCascade = 40;
  auto within = [](int at, int size, int room) { return std::max(0, std::min(at, room - size)); };
  int x = box.Origin.X + box.Extent.X + kGap;
  int y = box.Origin.Y;
  if (x + extent.X > screen.X) {
    x = box.Origin.X - kGap - extent.X;
    // No room on either side: over the window, offset so that its title and
    // the top of its contents stay in sight.
    if (x < 0) {
      x = box.Origin.X + kCascade;
      y = box.Origin.Y + kCascade;
    }
  }
  return _Point16Rec{static_cast<Int16>(within(x, extent.X, screen.X)),
                     static_cast<Int16>(within(y, extent.Y, screen.Y))};
}

SourceWindow* SourceWindow::open(const char* fileName, long lineToView, bool follow, std::string* error,
                                 const _Rect16Rec* beside) {
  std::unique_ptr<SourceWindow> window(new SourceWindow());
  window->followIntervalMs_ = followIntervalFromEnvironment();
  const int width = 760, height = 520;
  WinPtr win = WIN_FromRes(RES_Create(WIN_Class()));
  WIN_Wgt(win)->ResBox = RECT16_Make(80, 60, width, height);
  win->DpiX = win->DpiY = 96;  // the boxes below are for 96 dots per inch and scale with the screen
  const char* slash = fileName ? std::strrchr(fileName, '/') : nullptr;
  VSTR_Set(&WIN_Panel(win)->Label, slash ? slash + 1 : (fileName ? fileName : ""));

  // Under the menu bar: the view, its scroll bars right of and below it
  // (the view places them), and at the bottom the find field and the
  // status line beside it.
  MBarPtr menuBar = makeMenuBar();
  WIN_SetMenuBar(win, menuBar);
  RES_Release(MBAR_Res(menuBar));
  const int top = barHeightInBoxUnits(menuBar) + kPad;
  const int bar = SB_GetThickness() + 4;
  WgtPtr viewPort = WGT_Create();
  viewPort->ResBox = RECT16_Make(kPad, top, width - 2 * kPad - bar, height - top - 2 * kPad - kStatusHeight - bar);
  viewPort->RzFlags = kStretchBoth;
  viewPort->WgtFlags = WGT_FLAGTABSTOP;
  PANEL_AddWgt(WIN_Panel(win), viewPort);
  SbPtr vertical = SB_Create();
  SB_Wgt(vertical)->ResBox = RECT16_Make(width - kPad - bar + 4, top, bar - 4, 100);
  SB_Wgt(vertical)->RzFlags = 0x36;  // stays at the right, grows in height
  PANEL_AddWgt(WIN_Panel(win), SB_Wgt(vertical));
  SbPtr horizontal = SB_Create();
  SB_Wgt(horizontal)->ResBox = RECT16_Make(kPad, height - 2 * kPad - kStatusHeight - bar + 4, 100, bar - 4);
  SB_Wgt(horizontal)->RzFlags = 0x63;  // grows in width, stays at the bottom
  PANEL_AddWgt(WIN_Panel(win), SB_Wgt(horizontal));
  TEdPtr findField = TED_Create();
  TED_Wgt(findField)->ResBox = RECT16_Make(kPad, height - kPad - kStatusHeight, kFindFieldWidth, kStatusHeight);
  TED_Wgt(findField)->RzFlags = kKeepBottomLeft;
  TED_Wgt(findField)->WgtFlags |= WGT_FLAGTABSTOP;
  TED_SetLabel(findField, "Find ");
  TED_SetMaxLen(findField, kFindTextMax);
  PANEL_AddWgt(WIN_Panel(win), TED_Wgt(findField));
  TAreaPtr status = TAREA_Create();
  WgtPtr statusWgt = reinterpret_cast<WgtPtr>(status);
  const int statusLeft = kPad + kFindFieldWidth + kPad;
  statusWgt->ResBox = RECT16_Make(statusLeft, height - kPad - kStatusHeight, width - statusLeft - kPad, kStatusHeight);
  statusWgt->RzFlags = kStretchWidthKeepBottom;
  PANEL_AddWgt(WIN_Panel(win), statusWgt);
  WIN_Init(win);
  WGT_SetFont(viewPort, FONT_LoadByText("DejaVu Sans Mono 10"));  // kept for the program's life
  WGT_SetBgColor(viewPort, COLOR_White());
  WGT_SetFgColor(viewPort, COLOR_Black());

  window->win_ = win;
  window->viewPort_ = viewPort;
  window->status_ = status;
  window->findField_ = findField;
  window->verticalScroll_ = vertical;
  window->horizontalScroll_ = horizontal;
  window->view_ = std::make_unique<SourceView>(win, viewPort, fileName, std::max(1L, lineToView), 0, true, 0,
                                               false, true);
  if (window->view_->lastError != 0) {
    if (error) *error = std::string(fileName ? fileName : "") + ": " + window->view_->failureText();
    window->view_.reset();
    WIN_TerminateGetStatus(win);
    window->win_ = nullptr;
    return nullptr;
  }
  RES_SetNfyProcDS(WGT_Res(WIN_Wgt(win)), windowNfy, window.get());
  RES_SetNfyProcDS(WGT_Res(viewPort), viewPortNfy, window.get());
  // The viewport is a plain widget: its class's description is ours while
  // source windows are shown, and says nothing of other plain widgets.
  AUTOM_SetDescribeProc(WGT_Res(viewPort)->ResClass, describeViewPort);
  RES_SetNfyProcDS(WGT_Res(SB_Wgt(vertical)), scrollBarNfy, window.get());
  RES_SetNfyProcDS(WGT_Res(SB_Wgt(horizontal)), scrollBarNfy, window.get());
  RES_SetNfyProcDS(WGT_Res(TED_Wgt(findField)), findFieldNfy, window.get());
  window->view_->setScrollBars(window.get());
  // Without a line: a followed file from its end, another from its top.
  if (lineToView <= 0 && follow) window->view_->jumpToLine(window->view_->dataStore->totalLines, 99, true, 0, false);
  window->setFollowing(follow);
  window->updateStatus();
  if (beside) {
    _Rect16Rec box = WIN_Wgt(win)->Box;
    box.Origin = placeBeside(*beside, box.Extent, DSPLY_GetScreenExt());
    WIN_SetBox(win, box);
  }
  WIN_Show(win);
  WGT_GainFocus(viewPort);
  return window.release();
}

SourceWindow::~SourceWindow() {
  EVENT_StopCBackAlarm(this);
  if (win_ && !closed_) {
    detachWidgets();
    WIN_TerminateGetStatus(win_);
  }
}

void SourceWindow::detachWidgets() {
  RES_SetNfyProcDS(WGT_Res(WIN_Wgt(win_)), WIN_DefNfy, nullptr);
  RES_SetNfyProcDS(WGT_Res(viewPort_), WGT_DefNfy, nullptr);
  RES_SetNfyProcDS(WGT_Res(SB_Wgt(verticalScroll_)), SB_DefNfy, nullptr);
  RES_SetNfyProcDS(WGT_Res(SB_Wgt(horizontalScroll_)), SB_DefNfy, nullptr);
  RES_SetNfyProcDS(WGT_Res(TED_Wgt(findField_)), TED_DefNfy, nullptr);
}

void SourceWindow::close() {
  if (closed_ || !win_) return;
  EVENT_StopCBackAlarm(this);
  WIN_TerminateGetStatus(win_);
}

bool SourceWindow::showFile(const char* fileName, long lineToView, long lineToHilite, bool hilite,
                            std::string* error) {
  view_->switchSourceView(fileName, std::max(1L, lineToView), 33, false, lineToHilite, hilite);
  if (view_->lastError != 0) {
    if (error) *error = std::string(fileName ? fileName : "") + ": " + view_->failureText();
    message_ = view_->failureText();
  }
  const char* slash = std::strrchr(view_->sourceFileName.c_str(), '/');
  WIN_SetLabel(win_, slash ? slash + 1 : view_->sourceFileName.c_str());
  updateStatus();
  return view_->lastError == 0;
}

void SourceWindow::setFollowing(bool follow) {
  EVENT_StopCBackAlarm(this);
  following_ = follow;
  if (MBarPtr bar = win_ ? WIN_GetMenuBar(win_) : nullptr) {
    MBAR_GoFirst(bar);
    if (MenuPtr file = MBAR_CurGetSubMenu(bar)) {
      for (MENU_GoFirst(file); MENU_IsOk(file); MENU_GoNext(file))
        if (const char* label = MENU_CurGetLabel(file))
          if (std::strcmp(label, kFollowItem) == 0) MENU_CurSetChecked(file, following_ ? 1 : 0);
    }
  }
  if (following_) {
    view_->updateFileDisplay();
    EVENT_StartCBackAlarmDS(followAlarm, this, followIntervalMs_);
  }
  updateStatus();
}

void SourceWindow::followAlarm(ClientPtr data) {
  SourceWindow* window = static_cast<SourceWindow*>(data);
  if (!window->following_ || window->closed_) return;
  if (window->view_->updateFileDisplay()) window->updateStatus();
  EVENT_StartCBackAlarmDS(followAlarm, window, window->followIntervalMs_);
}

bool SourceWindow::findText(const std::string& text) {
  if (text.empty()) return false;
  if (findField_ && text != TED_GetStr(findField_)) TED_SetStr(findField_, text.c_str());
  bool found = view_->find(text.c_str(), false);
  message_.clear();
  if (!found) {
    long from = view_->hasSelection() ? view_->selectionEndLine + 1 : view_->getLine();
    message_ = "Not found: \"" + text + "\" below line " + std::to_string(std::max(1L, from));
    DSPLY_Beep();
  }
  updateStatus();
  return found;
}

void SourceWindow::findAgain() {
  const char* text = findField_ ? TED_GetStr(findField_) : "";
  if (text && *text) findText(text);
  else focusFindField();
}

void SourceWindow::focusFindField() {
  if (!findField_) return;
  TED_SelectAll(findField_);
  WGT_GainFocus(TED_Wgt(findField_));
}

// Return (or F3) finds the next match and keeps the focus here, so that
// Return again goes on down; Escape goes back to the view.
long SourceWindow::findFieldNfy(ResPtr res, Int message, ClientPtr data) {
  SourceWindow* window = static_cast<SourceWindow*>(res->ClientData);
  WgtPtr wgt = WGT_FromRes(res);
  if (!window || !window->view_) return TED_DefNfy(res, message, data);
  if (message == TED_NFYVALIDATE) {
    WGT_KeyHandled(wgt);
    window->findAgain();
    return 0;
  }
  if (message == WGT_NFYKEYCHAR) {
    Int key = EVENT_GetKeyCode();
    if (key == EVENT_KEYESCAPE) {
      WGT_KeyHandled(wgt);
      WGT_GainFocus(window->viewPort_);
      return 0;
    }
    if (key == EVENT_KEYF1 + 2) {
      WGT_KeyHandled(wgt);
      window->findAgain();
      return 0;
    }
  }
  return TED_DefNfy(res, message, data);
}

std::string SourceWindow::statusText() const {
  std::string text = view_->sourceFileName;
  long total = view_->dataStore ? view_->dataStore->totalLines : 0;
  if (total > 0) {
    long last = std::min(total, view_->firstVisibleLine + view_->heightInLines);
    text += "   lines " + std::to_string(view_->firstVisibleLine + 1) + "-" + std::to_string(last) + " of " +
            std::to_string(total);
  } else {
    text += "   (empty)";
  }
  if (following_) text += "   following";
  if (!message_.empty()) text += "   " + message_;
  return text;
}

void SourceWindow::updateStatus() {
  if (status_) TAREA_SetText(status_, statusText().c_str());
}

bool SourceWindow::handleMenuChoice() {
  if (const ToolInfo* tool = SourceView::handleMenuSelection(win_)) {
    view_->sendSourceMessage(*tool);
    return true;
  }
  MBarPtr bar = WIN_GetMenuBar(win_);
  MenuPtr menu = bar ? MBAR_ChosenGetMenu(bar) : nullptr;
  const char* label = menu ? MENU_ChosenGetLabel(menu) : nullptr;
  if (!label) return false;
  if (std::strcmp(label, kFindItem) == 0) {
    focusFindField();
  } else if (std::strcmp(label, kFindNextItem) == 0) {
    findAgain();
  } else if (std::strcmp(label, kFollowItem) == 0) {
    setFollowing(!following_);
  } else if (std::strcmp(label, kCloseItem) == 0) {
    close();
    return true;
  } else {
    return false;
  }
  updateStatus();
  return true;
}

long SourceWindow::windowNfy(ResPtr res, Int message, ClientPtr data) {
  SourceWindow* window = static_cast<SourceWindow*>(res->ClientData);
  if (window && message == WIN_NFYSELMENUBAR && window->view_) {
    long result = WIN_DefNfy(res, message, data);
    window->handleMenuChoice();
    return result;
  }
  if (window && (message == WIN_NFYTERMINATED || message == WIN_NFYTERMINATE)) {
    EVENT_StopCBackAlarm(window);
    window->following_ = false;
    if (message == WIN_NFYTERMINATED) {
      window->closed_ = true;
      // The widgets are freed after this notification, and the object may
      // be gone by then: they forget it.
      window->detachWidgets();
      long result = WIN_DefNfy(res, message, data);
      // Last: the handler may delete the object.
      if (window->closedHandler_) window->closedHandler_(window, window->closedData_);
      return result;
    }
  }
  return WIN_DefNfy(res, message, data);
}

void SourceWindow::describeViewPort(WgtPtr wgt, AutomDesc* desc) {
  ResPtr res = WGT_Res(wgt);
  if (res->Notify != viewPortNfy || !res->ClientData) return;
  SourceWindow* window = static_cast<SourceWindow*>(res->ClientData);
  if (window->view_) AUTOM_SetText(desc, window->view_->visibleText(1024).c_str());
}

void SourceWindow::placeBar(bool vertical, _Point16Rec origin, int length) {
  SbPtr bar = vertical ? verticalScroll_ : horizontalScroll_;
  if (!bar) return;
  _Rect16Rec box = SB_Wgt(bar)->Box;
  _Point16Rec extent = vertical ? _Point16Rec{box.Extent.X, static_cast<Int16>(length)}
                                : _Point16Rec{static_cast<Int16>(length), box.Extent.Y};
  if (box.Origin.X == origin.X && box.Origin.Y == origin.Y && box.Extent.X == extent.X && box.Extent.Y == extent.Y)
    return;
  WGT_Configure(SB_Wgt(bar), &origin, &extent);
}

void SourceWindow::setBarRange(bool vertical, const SourceViewScrollRange& range) {
  SbPtr bar = vertical ? verticalScroll_ : horizontalScroll_;
  if (!bar) return;
  _SbInfoRec info = {static_cast<Int32>(range.min), static_cast<Int32>(range.max),
                     static_cast<Int32>(range.thumbSize), static_cast<Int32>(range.thumbPos),
                     static_cast<Int32>(range.step)};
  SB_SetInfo(bar, &info);
}

long SourceWindow::scrollBarNfy(ResPtr res, Int message, ClientPtr data) {
  SourceWindow* window = static_cast<SourceWindow*>(res->ClientData);
  long result = SB_DefNfy(res, message, data);
  if (window && window->view_ && message == SB_NFYTHUMBPOS) {
    SbPtr bar = SB_FromWgt(WGT_FromRes(res));
    if (bar == window->verticalScroll_) window->view_->vScrollbarCallback(SB_GetThumbPos(bar));
    else window->view_->hScrollbarCallback(SB_GetThumbPos(bar));
    window->updateStatus();
  }
  return result;
}

long SourceWindow::viewPortNfy(ResPtr res, Int message, ClientPtr data) {
  SourceWindow* window = static_cast<SourceWindow*>(res->ClientData);
  WgtPtr wgt = WGT_FromRes(res);
  if (!window || !window->view_) return WGT_DefNfy(res, message, data);
  switch (message) {
    case WGT_NFYREDRAW:
      window->view_->redrawView();
      return 0;
    case WGT_NFYRESIZE:
    case WGT_NFYSIZEINIT:
      WGT_DefNfy(res, message, data);
      window->view_->recalculateDimensions();
      window->view_->invalidateView();
      window->updateStatus();
      return 0;
    case WGT_NFYMOUSECLICK: {
      WGT_MouseHandled(wgt);
      WGT_GainFocus(wgt);
      if (Int wheel = EVENT_GetWheel()) {
        SourceView* view = window->view_.get();
        if (wheel == EVENT_WHEELUP || wheel == EVENT_WHEELDOWN) view->setFirstVisibleLine(view->firstVisibleLine + 3 * wheel);
        else view->setFirstVisibleColumn(view->firstVisibleColumn + 4 * (wheel / 2));
        window->updateStatus();
        return 0;
      }
      if (EVENT_GetButton() != EVENT_BUT1) return 0;
      _Point16Rec where;
      EVENT_QueryWgtLoc(wgt, &where);
      window->view_->handleMouseClick(where, EVENT_IsDouble() != 0);
      window->updateStatus();
      return 0;
    }
    case WGT_NFYKEYCHAR:
      if (window->handleKey()) {
        WGT_KeyHandled(wgt);
        return 0;
      }
      return WGT_DefNfy(res, message, data);
    default:
      return WGT_DefNfy(res, message, data);
  }
}

bool SourceWindow::handleKey() {
  Int key = EVENT_GetKeyCode();
  UInt mods = EVENT_GetKbMods();
  bool control = (mods & EVENT_MODCONTROL) != 0;
  const char* typed = EVENT_GetKbStr();
  char ascii = typed && typed[0] && !typed[1] ? typed[0] : 0;
  bool handled = true;
  if ((control && (ascii == 'f' || ascii == 'F' || ascii == 6)) || (!control && ascii == '/')) {
    focusFindField();
  } else if (key == EVENT_KEYF1 + 2 || (control && (ascii == 'g' || ascii == 'G' || ascii == 7)) ||
             (!control && ascii == 'n')) {
    findAgain();
  } else if (!control && ascii == 'F') {
    setFollowing(!following_);
  } else if ((control && (ascii == 'w' || ascii == 'W' || ascii == 23)) || (!control && ascii == 'q')) {
    close();
    return true;
  } else {
    handled = view_->handleKey(key, mods);
  }
  if (handled) updateStatus();
  return handled;
}
