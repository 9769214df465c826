// The automation surface: the widget tree of each window as text in a
// property of its client window, rewritten when it changed.
#include "toolkit/autom.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <set>
#include <vector>

#include "toolkit/draw.h"
#include "toolkit/dsply.h"
#include "toolkit/mbar.h"
#include "toolkit/winpub.h"

struct AutomDesc {
  std::string Text;
  BoolEnum Selected = 0;
  // Lines after the widget's own: cells and other parts.
  struct Part {
    std::string Suffix, Class;
    _Rect16Rec Box;
    std::string State, Text;
  };
  std::vector<Part> Parts;
};

namespace {

const char kProperty[] = "_OWB_WIDGETS";

BoolEnum gOn = 0;
constexpr int64_t kSafetyCheckMs = 500;
int64_t gLastCheck = 0;
std::map<RClasPtr, AutomDescribeProc> gProcs;
std::map<NatWinId, std::string> gWritten;  // what each window carries now
std::map<WinPtr, WgtPtr> gContent;         // widgets shown in windows, not children
long gWrites = 0;

std::string* gCapture = nullptr;
std::string gCaptureText;

void S_CaptureTap(const char* text, int len, void*) {
  if (!gCapture || !text) return;
  size_t n = len < 0 ? std::strlen(text) : static_cast<size_t>(len);
  if (!gCapture->empty()) *gCapture += ' ';
  gCapture->append(text, n);
}

AutomDescribeProc procOf(RClasPtr cls) {
  for (RClasPtr c = cls; c; c = c->ParentClass) {
    auto it = gProcs.find(c);
    if (it != gProcs.end()) return it->second;
  }
  return nullptr;
}

// The length of the valid UTF-8 sequence at s (n bytes left), or 0.
size_t utf8Length(const unsigned char* s, size_t n) {
  unsigned char c = s[0];
  size_t len;
  uint32_t cp;
  if (c < 0x80) return 1;
  if (c >= 0xc2 && c <= 0xdf) len = 2, cp = c & 0x1f;
  else if (c >= 0xe0 && c <= 0xef) len = 3, cp = c & 0x0f;
  else if (c >= 0xf0 && c <= 0xf4) len = 4, cp = c & 0x07;
  else return 0;
  if (n < len) return 0;
  for (size_t i = 1; i < len; i++) {
    if ((s[i] & 0xc0) != 0x80) return 0;
    cp = (cp << 6) | (s[i] & 0x3f);
  }
  // Overlong forms, surrogates and code points past U+10FFFF are not valid.
  if ((len == 3 && cp < 0x800) || (len == 4 && (cp < 0x10000 || cp > 0x10ffff)) || (cp >= 0xd800 && cp <= 0xdfff))
    return 0;
  return len;
}

void appendInt(std::string& out, long v) {
  char buf[24];
  std::snprintf(buf, sizeof buf, "%ld", v);
  out += buf;
}

void appendLine(std::string& out, const std::string& path, const char* cls, const _Rect16Rec& box,
                const std::string& state, const std::string& text) {
  out += path;
  out += '\t';
  out += cls;
  for (long v : {static_cast<long>(box.Origin.X), static_cast<long>(box.Origin.Y), static_cast<long>(box.Extent.X),
                 static_cast<long>(box.Extent.Y)}) {
    out += '\t';
    appendInt(out, v);
  }
  out += '\t';
  out += state.empty() ? "-" : state;
  out += '\t';
  out += AUTOM_Escape(text.c_str());
  out += '\n';
}

bool inside(const _Rect16Rec& box, const _Rect16Rec& area) {
  return box.Extent.X > 0 && box.Extent.Y > 0 && box.Origin.X < area.Origin.X + area.Extent.X &&
         box.Origin.Y < area.Origin.Y + area.Extent.Y && box.Origin.X + box.Extent.X > area.Origin.X &&
         box.Origin.Y + box.Extent.Y > area.Origin.Y;
}

// One widget's line, its cells' and, depth first, its children's.
void describe(std::string& out, WgtPtr w, const std::string& path, WinPtr win, bool shownAbove, WgtPtr focus) {
  bool isWin = w == WIN_Wgt(win);
  // The procedure first: it may bring a box that is kept lazily up to date.
  AutomDesc desc;
  if (AutomDescribeProc proc = procOf(WGT_Res(w)->ResClass)) proc(w, &desc);
  _Point16Rec origin = isWin ? _Point16Rec{0, 0} : WGT_QueryWinOrigin(w);
  _Rect16Rec box = RECT16_Make(origin.X, origin.Y, w->Box.Extent.X, w->Box.Extent.Y);
  _Rect16Rec winArea = RECT16_Make(0, 0, WIN_Wgt(win)->Box.Extent.X, WIN_Wgt(win)->Box.Extent.Y);
  bool shown = shownAbove && !w->Invisible && inside(box, winArea);
  std::string state;
  if (shown) state += 'V';
  if (isWin ? !w->Disabled : WGT_IsEnabled(w)) state += 'E';
  if (desc.Selected) state += 'S';
  if (isWin ? win->HasFocus : (win->HasFocus && focus == w)) state += 'F';
  if (!isWin && WIN_GetDefWgt(win) == w) state += 'D';
  const char* cls = WGT_Res(w)->ResClass->Name;
  appendLine(out, path, cls ? cls : "", box, state, desc.Text);
  for (const AutomDesc::Part& p : desc.Parts) {
    _Rect16Rec pb = RECT16_Make(origin.X + p.Box.Origin.X, origin.Y + p.Box.Origin.Y, p.Box.Extent.X, p.Box.Extent.Y);
    // A part of a widget that is not shown is not shown either.
    std::string partState = p.State;
    if (!shown) partState.erase(std::remove(partState.begin(), partState.end(), 'V'), partState.end());
    appendLine(out, path + p.Suffix, p.Class.c_str(), pb, partState, p.Text);
  }
  if (isWin) {
    MBarPtr bar = WIN_GetMenuBar(win);
    if (bar && WGT_Res(MBAR_Wgt(bar))->ResInitialized) describe(out, MBAR_Wgt(bar), "-/bar", win, shown, focus);
  }
  Int count = 0;
  if (PANEL_IsPanel(w)) {
    PanelPtr panel = reinterpret_cast<PanelPtr>(w);
    count = PANEL_GetNumWgts(panel);
    for (Int i = 0; i < count; i++) {
      WgtPtr child = PANEL_GetNthWgt(panel, i);
      if (!child) continue;
      std::string childPath = isWin ? std::string() : path + ",";
      appendInt(childPath, i);
      describe(out, child, childPath, win, shown, focus);
    }
    // Composite parts (a scrolling list's bars) are no children: they
    // follow as "<path>/c<n>" in the order the panel keeps them.
    for (Int i = 0; i < ARRAY_GetCount(panel->CompoWgts); i++) {
      WgtPtr part = static_cast<WgtPtr>(ARRAY_GetNthPtr(panel->CompoWgts, i));
      if (!part) continue;
      std::string partPath = path + "/c";
      appendInt(partPath, i);
      describe(out, part, partPath, win, shown, focus);
    }
  }
  if (isWin) {
    auto content = gContent.find(win);
    if (content != gContent.end()) {
      std::string contentPath;
      appendInt(contentPath, count);
      describe(out, content->second, contentPath, win, shown, focus);
    }
  }
}


}  // namespace

BoolEnum gAutomStale = 1;

BoolEnum AUTOM_IsOn() { return gOn; }

void AUTOM_InitFromEnv() {
  const char* env = std::getenv("OWB_AUTOMATION");
  AUTOM_SetOn(env && std::strcmp(env, "1") == 0);
}

void AUTOM_SetOn(BoolEnum flag) {
  gOn = flag ? 1 : 0;
  gAutomStale = 1;
  if (gOn) return;
  // Off: the properties written so far go, so that no driver reads a
  // description that is no longer kept.
  for (auto& written : gWritten) DSPLY_DeleteWinProperty(written.first, kProperty);
  gWritten.clear();
}

void AUTOM_SetDescribeProc(RClasPtr cls, AutomDescribeProc proc) {
  if (!cls) return;
  if (proc) gProcs[cls] = proc;
  else gProcs.erase(cls);
}

void AUTOM_SetText(AutomDesc* desc, const char* text) {
  if (desc) desc->Text = text ? text : "";
}

void AUTOM_SetSelected(AutomDesc* desc, BoolEnum flag) {
  if (desc) desc->Selected = flag ? 1 : 0;
}

void AUTOM_SetContent(WinPtr win, WgtPtr wgt) {
  if (!win) return;
  if (wgt) gContent[win] = wgt;
  else gContent.erase(win);
  AUTOM_Touch();
}

void AUTOM_AddLine(AutomDesc* desc, const char* suffix, const char* cls, const _Rect16Rec& box, const char* state,
                   const char* text) {
  if (desc)
    desc->Parts.push_back({suffix ? suffix : "", cls ? cls : "", box, state ? state : "", text ? text : ""});
}

void AUTOM_AddCell(AutomDesc* desc, Int col, Int row, const _Rect16Rec& box, BoolEnum selected, const char* text) {
  char suffix[32];
  std::snprintf(suffix, sizeof suffix, "/%ld,%ld", static_cast<long>(col), static_cast<long>(row));
  AUTOM_AddLine(desc, suffix, "Cell", box, selected ? "VS" : "V", text);
}

void AUTOM_CaptureBegin() {
  if (!gOn) return;
  gCaptureText.clear();
  gCapture = &gCaptureText;
  DRAW_SetTextTap(S_CaptureTap, nullptr);
}

std::string AUTOM_CaptureEnd() {
  if (!gCapture) return std::string();
  DRAW_SetTextTap(nullptr, nullptr);
  gCapture = nullptr;
  std::string text;
  text.swap(gCaptureText);
  return text;
}

std::string AUTOM_Escape(const char* text) {
  std::string out;
  if (!text) return out;
  const unsigned char* s = reinterpret_cast<const unsigned char*>(text);
  size_t n = std::strlen(text);
  for (size_t i = 0; i < n;) {
    unsigned char c = s[i];
    if (c == '\\') out += "\\\\";
    else if (c == '\t') out += "\\t";
    else if (c == '\n') out += "\\n";
    else if (size_t len = utf8Length(s + i, n - i)) {
      out.append(text + i, len);
      i += len;
      continue;
    } else {
      char hex[8];
      std::snprintf(hex, sizeof hex, "\\x%02X", c);
      out += hex;
    }
    i++;
  }
  return out;
}

std::string AUTOM_Describe(WinPtr win) {
  std::string out;
  if (!win) return out;
  WgtPtr focus = PANEL_GetDeepFocusWgt(WIN_Panel(win));
  describe(out, WIN_Wgt(win), "-", win, win->State == WIN_STATEOPEN, focus);
  return out;
}

void AUTOM_Update() {
  if (!gOn || !DSPLY_IsOpen()) return;
  int64_t now = DSPLY_Now();
  if (!gAutomStale && now - gLastCheck < kSafetyCheckMs) return;
  gAutomStale = 0;
  gLastCheck = now;
  std::set<NatWinId> live;
  long before = gWrites;
  WinForEachNative(
      [](WinPtr win, ClientPtr data) {
        auto* seen = static_cast<std::set<NatWinId>*>(data);
        NatWinId nat = WIN_GetNatWin(win);
        seen->insert(nat);
        std::string text = AUTOM_Describe(win);
        auto it = gWritten.find(nat);
        if (it != gWritten.end() && it->second == text) return;
        DSPLY_SetWinTextProperty(nat, kProperty, text);
        gWritten[nat] = std::move(text);
        gWrites++;
      },
      &live);
  // The loop may sleep next: what was written must reach the server.
  if (gWrites != before) DSPLY_Flush();
  // Windows that are gone leave nothing behind.
  for (auto it = gWritten.begin(); it != gWritten.end();) {
    if (live.count(it->first)) ++it;
    else it = gWritten.erase(it);
  }
}

long AUTOM_GetWriteCount() { return gWrites; }
