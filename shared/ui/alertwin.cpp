// The alert window.
#include "shared/ui/alertwin.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "shared/alert.h"
#include "shared/messages.h"
#include "shared/ui/uiutils.h"
#include "toolkit/draw.h"
#include "toolkit/dsply.h"
#include "toolkit/event.h"
#include "toolkit/tarea.h"
#include "toolkit/tbut.h"

namespace {

const char* const kAlertModule = "shared";
const char* const kAlertTemplate = "alertWindow";
const char* const kIconModule = "AlrtW";
const char* const kDefaultHelpName = "AlertWindow";
constexpr int kButtonCount = 3;

WinPtr gAlertWindow = nullptr;

int px(int n) { return n * DSPLY_GetScreenDpi() / 96; }

WgtPtr childOf(ResPtr parent, Int n) { return WGT_FromRes(RES_GetNthChild(parent, n)); }
WgtPtr alertChild(WinPtr win, Int n) { return childOf(WGT_Res(WIN_Wgt(win)), n); }
TButPtr alertButton(WinPtr win, int number) {
  return TBUT_FromWgt(childOf(WGT_Res(alertChild(win, ALRTW_BUTTONS)), number - 1));
}

const char* iconNameOf(long alertType) {
  switch (alertType) {
    case kAlertCritical: return "DefIconCriticalMsw";
    case kAlertQuestion: return "DefIconQuestionMsw";
    case kAlertInformation: return "DefIconInfoMsw";
    default: return "DefIconWarningMsw";
  }
}

// Messages are served while the alert stands: the first poll comes with
// the window's initialisation, each later one from its 100 ms alarm.
long alertWindowNfy(ResPtr res, Int message, ClientPtr data) {
  long result = WIN_DefNfy(res, message, data);
  if (gMessageCenter) gMessageCenter->modalPoll(WIN_FromRes(res), message);
  return result;
}

// The icon is a picture, not a button: pressing it or giving it the focus
// does nothing.
long alertIconNfy(ResPtr res, Int message, ClientPtr data) {
  if (message == WGT_NFYGAINFOCUS || message == TBUT_NFYHIT) return 0;
  return TBUT_DefNfy(res, message, data);
}

long alertButtonNfy(ResPtr res, Int message, ClientPtr data) {
  if (message != TBUT_NFYHIT) return TBUT_DefNfy(res, message, data);
  WgtPtr button = WGT_FromRes(res);
  WinPtr win = button->Win;
  for (int number = 1; number <= kButtonCount; number++)
    if (TBUT_Wgt(alertButton(win, number)) == button) WIN_ModalReturn(win, number);
  return 0;
}

void startModalAlarm(void* win, long milliseconds) {
  if (win) EVENT_StartWgtAlarm(WIN_Wgt(static_cast<WinPtr>(win)), nullptr, static_cast<Int>(milliseconds));
}

WinPtr createAlertWindow() {
  WinPtr win = WIN_Load(kAlertModule, kAlertTemplate);
  RES_SetNfyProcDS(WGT_Res(WIN_Wgt(win)), alertWindowNfy, nullptr);
  RES_SetNfyProcDS(WGT_Res(alertChild(win, ALRTW_ICON)), alertIconNfy, nullptr);
  for (int number = 1; number <= kButtonCount; number++)
    RES_SetNfyProcDS(WGT_Res(TBUT_Wgt(alertButton(win, number))), alertButtonNfy, nullptr);
  WIN_Init(win);
  gAlertWindow = win;
  return win;
}

// Breaks text into lines no wider than width at blanks, a word wider than
// a line at a character; the text's own line ends are kept.
std::string wrapText(FontPtr font, const std::string& text, int width) {
  auto fits = [&](const std::string& s) { return DRAW_QueryTextExt(font, s.data(), static_cast<int>(s.size())).X <= width; };
  std::string out, line;
  size_t pos = 0;
  while (pos <= text.size()) {
    size_t end = text.find('\n', pos);
    if (end == std::string::npos) end = text.size();
    std::string paragraph = text.substr(pos, end - pos);
    line.clear();
    size_t w = 0;
    while (w < paragraph.size()) {
      size_t blank = paragraph.find(' ', w);
      std::string word = paragraph.substr(w, blank == std::string::npos ? std::string::npos : blank - w);
      w = blank == std::string::npos ? paragraph.size() : blank + 1;
      std::string candidate = line.empty() ? word : line + " " + word;
      if (fits(candidate)) {
        line = candidate;
        continue;
      }
      if (!line.empty()) out += line + "\n";
      line.clear();
      // A word longer than a line goes character by character (whole UTF-8
      // sequences).
      while (!word.empty() && !fits(word)) {
        size_t cut = 0, next = 0;
        while (next < word.size()) {
          size_t step = 1;
          while (next + step < word.size() && (static_cast<unsigned char>(word[next + step]) & 0xC0) == 0x80) step++;
          if (!fits(word.substr(0, next + step)) && next > 0) break;
          next += step;
          cut = next;
        }
        out += word.substr(0, cut) + "\n";
        word.erase(0, cut);
      }
      line = word;
    }
    out += line;
    if (end < text.size()) out += "\n";
    pos = end + 1;
  }
  return out;
}

// Shows the text in a window as high as it needs: at least as high as the
// icon, at most three quarters of the screen.
void setAlertText(WinPtr win, const char* alertText) {
  TAreaPtr area = reinterpret_cast<TAreaPtr>(alertChild(win, ALRTW_TEXT));
  WgtPtr text = alertChild(win, ALRTW_TEXT);
  FontPtr font = WGT_GetFont(text);
  std::string wrapped = wrapText(font, alertText, text->Box.Extent.X);
  TAREA_SetText(area, wrapped.c_str());
  int lines = 1 + static_cast<int>(std::count(wrapped.begin(), wrapped.end(), '\n'));
  int needed = std::max<int>(lines * DRAW_QueryTextExt(font, "Ag", 2).Y, alertChild(win, ALRTW_ICON)->Box.Extent.Y);
  int extra = needed - text->Box.Extent.Y;
  if (extra == 0) return;
  _Rect16Rec box = WIN_Wgt(win)->Box;
  int most = DSPLY_GetScreenExt().Y * 3 / 4;
  box.Extent.Y = static_cast<int16_t>(std::min(box.Extent.Y + extra, std::max<int>(most, box.Extent.Y)));
  WIN_SetBox(win, box);
}

// The buttons that have a text, from the right edge leftwards in the
// order 1, 2, 3, each as wide as its label needs.
void arrangeButtons(WinPtr win) {
  WgtPtr panel = alertChild(win, ALRTW_BUTTONS);
  int right = panel->Box.Extent.X - px(16);
  for (int number = 1; number <= kButtonCount; number++) {
    TButPtr button = alertButton(win, number);
    WgtPtr w = TBUT_Wgt(button);
    if (w->Invisible) continue;
    _Point16Rec extent{static_cast<int16_t>(std::max<int>(TButMinWidth(button), px(88))), w->Box.Extent.Y};
    _Point16Rec origin{static_cast<int16_t>(right - extent.X), w->Box.Origin.Y};
    WGT_Configure(w, &origin, &extent);
    right = origin.X - px(8);
  }
}

}  // namespace

WinPtr ALRTW_GetWin() { return gAlertWindow; }

long alertWindowHandler(const char* alertText, long alertType, const char* alertTitle, const char* button1text,
                        const char* button2text, const char* button3text, Boolean beep,
                        const char* helpWindowName) {
  if (!DSPLY_IsOpen())
    return consoleAlertHandler(alertText, alertType, alertTitle, button1text, button2text, button3text, beep,
                               helpWindowName);
  if (gAlertWindow) {
    owbBeep();
    return 0;
  }
  if (!alertText) return 0;
  if (beep) owbBeep();

  WinPtr win = createAlertWindow();
  if (!alertTitle) alertTitle = kDefaultAlertTitle;
  if (!button1text) button1text = kDefaultAlertButton;

  ResPtr icon = RES_Load(kIconModule, iconNameOf(alertType));
  TBUT_SetIcon(TBUT_FromWgt(alertChild(win, ALRTW_ICON)), icon);
  RES_Release(icon);  // the button holds its own reference

  const char* texts[kButtonCount] = {button1text, button2text, button3text};
  int last = 1;
  for (int number = 1; number <= kButtonCount; number++) {
    TButPtr button = alertButton(win, number);
    const char* label = texts[number - 1];
    if (number > 1 && !(label && *label)) {
      WGT_SetInvisible(TBUT_Wgt(button));
      continue;
    }
    TBUT_SetLabel(button, label);
    WGT_SetVisible(TBUT_Wgt(button));
    last = number;
  }
  // Escape answers with the last button shown: "Cancel" in the alerts that
  // offer it, "Ok" in one that offers nothing else.
  TBUT_SetAccelKeys(alertButton(win, last), "Escape");
  arrangeButtons(win);

  WIN_SetLabel(win, alertTitle);
  setAlertText(win, alertText);
  arrangeButtons(win);

  // The help for the alert, under helpWindowName or "AlertWindow", comes
  // with the help manager.
  (void)helpWindowName;
  (void)kDefaultHelpName;

  long result = WIN_ModalProcess(win);
  WIN_TerminateGetStatus(win);
  gAlertWindow = nullptr;
  return result;
}

void installAlertWindow() {
  setAlertHandler(alertWindowHandler);
  setModalAlarmProc(startModalAlarm);
}

void uninstallAlertWindow() {
  setAlertHandler(nullptr);
  setModalAlarmProc(nullptr);
}
