// The display's selections on Xlib: owning CLIPBOARD and PRIMARY and
// answering other clients' requests (TARGETS, UTF8_STRING, STRING, TEXT,
// TIMESTAMP; increments for large texts), and asking for them (UTF8_STRING
// with STRING as the fallback; increments).  Everything runs from the
// event stream: nothing here waits for another client.
#include "toolkit/x11/x11priv.h"  // first: it settles the X type names

#include <X11/Xatom.h>

#include <time.h>

#include <cstring>
#include <deque>
#include <memory>
#include <vector>

#include "owbtime.h"
#include "toolkit/dsplysel.h"

namespace {

int64_t nowMs() { return static_cast<int64_t>(TIME_GetCurMillisecs()); }

// An answer to another client, sent in increments.
struct OutTransfer {
  Window requestor;
  Atom property;
  Atom type;
  std::shared_ptr<const std::string> data;
  size_t offset;
  bool finished;  // the last, empty increment has been written
  int64_t deadline;
};

struct Request {
  int which;
  DsplySelProc proc;
  void* client;
  int timeoutMs;
  Atom target;  // UTF8_STRING first, then STRING
  bool sent;
  bool incr;
  std::string data;
  int64_t deadline;
};

struct SelState {
  Display* dpy = nullptr;  // the connection the state below belongs to
  Window win = 0;          // owner and requestor window, never mapped
  Atom atoms[2] = {0, 0};  // PRIMARY, CLIPBOARD
  Atom targets = 0, text = 0, timestamp = 0, incr = 0, multiple = 0, property = 0;
  std::shared_ptr<const std::string> owned[2];
  Time ownedSince[2] = {0, 0};
  std::vector<OutTransfer> out;
  std::deque<Request> requests;
};
SelState gSel;

// Increments of 64 KB; a text above a quarter of the largest request goes
// in increments.
constexpr size_t kChunk = 64 * 1024;
constexpr int kOutPatienceMs = 30000;

bool ready() {
  X11State& x = X11();
  if (!x.dpy) return false;
  if (gSel.dpy == x.dpy && gSel.win) return true;
  gSel = SelState{};
  gSel.dpy = x.dpy;
  XSetWindowAttributes attrs{};
  attrs.event_mask = PropertyChangeMask;
  gSel.win = XCreateWindow(x.dpy, x.root, -10, -10, 1, 1, 0, 0, InputOnly, CopyFromParent, CWEventMask, &attrs);
  gSel.atoms[DSPLY_SELPRIMARY] = XA_PRIMARY;
  gSel.atoms[DSPLY_SELCLIPBOARD] = XInternAtom(x.dpy, "CLIPBOARD", False);
  gSel.targets = XInternAtom(x.dpy, "TARGETS", False);
  gSel.text = XInternAtom(x.dpy, "TEXT", False);
  gSel.timestamp = XInternAtom(x.dpy, "TIMESTAMP", False);
  gSel.incr = XInternAtom(x.dpy, "INCR", False);
  gSel.multiple = XInternAtom(x.dpy, "MULTIPLE", False);
  gSel.property = XInternAtom(x.dpy, "OWB_SELECTION", False);
  return gSel.win != 0;
}

int whichOf(Atom selection) {
  for (int i = 0; i < 2; i++)
    if (gSel.atoms[i] == selection) return i;
  return -1;
}

size_t maxChunk() {
  long words = XExtendedMaxRequestSize(gSel.dpy);
  if (words <= 0) words = XMaxRequestSize(gSel.dpy);
  // A quarter of the largest request, in bytes: words * 4 / 4.
  size_t quarter = static_cast<size_t>(words);
  return quarter < kChunk ? quarter : kChunk;
}

std::string latin1Of(const std::string& utf8) {
  std::string out;
  for (size_t i = 0; i < utf8.size();) {
    unsigned char c = static_cast<unsigned char>(utf8[i]);
    if (c < 0x80) {
      out.push_back(static_cast<char>(c));
      i++;
    } else if ((c & 0xE0) == 0xC0 && i + 1 < utf8.size()) {
      unsigned cp = ((c & 0x1Fu) << 6) | (static_cast<unsigned char>(utf8[i + 1]) & 0x3Fu);
      out.push_back(cp < 0x100 ? static_cast<char>(cp) : '?');
      i += 2;
    } else {
      out.push_back('?');
      i++;
      while (i < utf8.size() && (static_cast<unsigned char>(utf8[i]) & 0xC0) == 0x80) i++;
    }
  }
  return out;
}

std::string utf8OfLatin1(const std::string& latin1) {
  std::string out;
  for (unsigned char c : latin1) {
    if (c < 0x80) {
      out.push_back(static_cast<char>(c));
    } else {
      out.push_back(static_cast<char>(0xC0 | (c >> 6)));
      out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    }
  }
  return out;
}

// Writes one answer for (target, property) on the requestor; false when
// the target is not one we give.
bool S_Answer(Window requestor, Atom property, Atom target, int which, Time time) {
  Display* dpy = gSel.dpy;
  X11State& x = X11();
  if (target == gSel.targets) {
    Atom list[] = {gSel.targets, gSel.timestamp, x.utf8String, XA_STRING, gSel.text};
    XChangeProperty(dpy, requestor, property, XA_ATOM, 32, PropModeReplace, reinterpret_cast<unsigned char*>(list),
                    static_cast<int>(sizeof list / sizeof list[0]));
    return true;
  }
  if (target == gSel.timestamp) {
    long t = static_cast<long>(gSel.ownedSince[which] ? gSel.ownedSince[which] : time);
    XChangeProperty(dpy, requestor, property, XA_INTEGER, 32, PropModeReplace, reinterpret_cast<unsigned char*>(&t),
                    1);
    return true;
  }
  std::shared_ptr<const std::string> data;
  Atom type;
  if (target == x.utf8String || target == gSel.text) {
    data = gSel.owned[which];
    type = x.utf8String;
  } else if (target == XA_STRING) {
    data = std::make_shared<const std::string>(latin1Of(*gSel.owned[which]));
    type = XA_STRING;
  } else {
    return false;
  }
  if (data->size() <= maxChunk()) {
    XChangeProperty(dpy, requestor, property, type, 8, PropModeReplace,
                    reinterpret_cast<const unsigned char*>(data->data()), static_cast<int>(data->size()));
    return true;
  }
  // In increments: the size first; each time the requestor deletes the
  // property, the next part; an empty part ends it.
  XWindowAttributes attrs;
  if (!XGetWindowAttributes(dpy, requestor, &attrs)) return false;
  XSelectInput(dpy, requestor, attrs.your_event_mask | PropertyChangeMask);
  long size = static_cast<long>(data->size());
  XChangeProperty(dpy, requestor, property, gSel.incr, 32, PropModeReplace, reinterpret_cast<unsigned char*>(&size),
                  1);
  gSel.out.push_back({requestor, property, type, data, 0, false, nowMs() + kOutPatienceMs});
  return true;
}

void S_HandleRequest(XSelectionRequestEvent& req) {
  XEvent reply{};
  reply.xselection.type = SelectionNotify;
  reply.xselection.display = req.display;
  reply.xselection.requestor = req.requestor;
  reply.xselection.selection = req.selection;
  reply.xselection.target = req.target;
  reply.xselection.time = req.time;
  reply.xselection.property = None;
  int which = whichOf(req.selection);
  // Old clients give no property: the target names it.
  Atom property = req.property != None ? req.property : req.target;
  if (which >= 0 && gSel.owned[which] && req.owner == gSel.win && req.target != gSel.multiple &&
      S_Answer(req.requestor, property, req.target, which, req.time))
    reply.xselection.property = property;
  XSendEvent(gSel.dpy, req.requestor, False, NoEventMask, &reply);
  XFlush(gSel.dpy);
}

void S_SendNextChunk(OutTransfer& t) {
  size_t n = t.data->size() - t.offset;
  if (n > maxChunk()) n = maxChunk();
  XChangeProperty(gSel.dpy, t.requestor, t.property, t.type, 8, PropModeReplace,
                  reinterpret_cast<const unsigned char*>(t.data->data() + t.offset), static_cast<int>(n));
  t.offset += n;
  if (n == 0) t.finished = true;
  t.deadline = nowMs() + kOutPatienceMs;
  XFlush(gSel.dpy);
}

void S_EndTransfer(size_t i) {
  Window w = gSel.out[i].requestor;
  gSel.out.erase(gSel.out.begin() + static_cast<long>(i));
  for (const OutTransfer& t : gSel.out)
    if (t.requestor == w) return;
  // The requestor's property events are not ours to hear any more.
  XWindowAttributes attrs;
  if (XGetWindowAttributes(gSel.dpy, w, &attrs))
    XSelectInput(gSel.dpy, w, attrs.your_event_mask & ~PropertyChangeMask);
}

void S_Finish(bool ok) {
  if (gSel.requests.empty()) return;
  Request r = std::move(gSel.requests.front());
  gSel.requests.pop_front();
  if (gSel.dpy && gSel.dpy == X11().dpy && gSel.win) XDeleteProperty(gSel.dpy, gSel.win, gSel.property);
  r.proc(r.client, ok, ok ? r.data : std::string());
}

void S_StartNext();

// Reads the whole property (deleting it); false for a bad or oversized
// answer.  *type gets its type.
bool S_ReadProperty(std::string* out, Atom* type, bool* empty) {
  *empty = true;
  long offset = 0;
  for (;;) {
    Atom actual = None;
    int format = 0;
    unsigned long count = 0, after = 0;
    unsigned char* data = nullptr;
    if (XGetWindowProperty(gSel.dpy, gSel.win, gSel.property, offset, 1 << 20, True, AnyPropertyType, &actual,
                           &format, &count, &after, &data) != Success) return false;
    *type = actual;
    if (actual == None) {
      if (data) XFree(data);
      return true;
    }
    size_t bytes = count * static_cast<size_t>(format == 32 ? sizeof(long) : format / 8);
    if (actual == gSel.incr) {
      if (data) XFree(data);
      return true;
    }
    if (format != 8) {
      if (data) XFree(data);
      return false;
    }
    if (out->size() + bytes > kDsplySelMaxBytes) {
      if (data) XFree(data);
      return false;
    }
    if (bytes) *empty = false;
    out->append(reinterpret_cast<char*>(data), bytes);
    XFree(data);
    if (after == 0) return true;
    offset += static_cast<long>(count / 4);
  }
}

void S_HandleNotify(XSelectionEvent& ev) {
  if (gSel.requests.empty() || !gSel.requests.front().sent) return;
  Request& r = gSel.requests.front();
  if (ev.selection != gSel.atoms[r.which]) return;
  if (ev.property == None) {
    // Refused: plain strings are the last thing to ask for.
    if (r.target == X11().utf8String) {
      r.target = XA_STRING;
      r.sent = false;
      S_StartNext();
      return;
    }
    S_Finish(false);
    S_StartNext();
    return;
  }
  Atom type = None;
  bool empty = true;
  std::string part;
  if (!S_ReadProperty(&part, &type, &empty)) {
    S_Finish(false);
    S_StartNext();
    return;
  }
  if (type == gSel.incr) {
    // The property was deleted on reading: the owner sends the parts.
    r.incr = true;
    r.deadline = nowMs() + r.timeoutMs;
    return;
  }
  r.data = type == XA_STRING ? utf8OfLatin1(part) : part;
  S_Finish(true);
  S_StartNext();
}

void S_HandleIncrPart() {
  Request& r = gSel.requests.front();
  Atom type = None;
  bool empty = true;
  std::string part;
  if (!S_ReadProperty(&part, &type, &empty) || r.data.size() + part.size() > kDsplySelMaxBytes) {
    S_Finish(false);
    S_StartNext();
    return;
  }
  if (type == None) return;  // not written yet
  if (empty) {
    if (r.target == XA_STRING) r.data = utf8OfLatin1(r.data);
    S_Finish(true);
    S_StartNext();
    return;
  }
  r.data += part;
  r.deadline = nowMs() + r.timeoutMs;
}

void S_StartNext() {
  while (!gSel.requests.empty() && !gSel.requests.front().sent) {
    Request& r = gSel.requests.front();
    if (!ready()) {
      S_Finish(false);
      continue;
    }
    if (r.target == None) r.target = X11().utf8String;
    XDeleteProperty(gSel.dpy, gSel.win, gSel.property);
    XConvertSelection(gSel.dpy, gSel.atoms[r.which], r.target, gSel.property, gSel.win, CurrentTime);
    XFlush(gSel.dpy);
    r.sent = true;
    r.deadline = nowMs() + r.timeoutMs;
    return;
  }
}

}  // namespace

bool X11SelHandleEvent(XEvent* xe) {
  if (!gSel.win || gSel.dpy != X11().dpy) return false;
  switch (xe->type) {
    case SelectionRequest:
      if (xe->xselectionrequest.owner != gSel.win) return false;
      S_HandleRequest(xe->xselectionrequest);
      return true;
    case SelectionClear: {
      if (xe->xselectionclear.window != gSel.win) return false;
      int which = whichOf(xe->xselectionclear.selection);
      if (which >= 0) gSel.owned[which].reset();
      return true;
    }
    case SelectionNotify:
      if (xe->xselection.requestor != gSel.win) return false;
      S_HandleNotify(xe->xselection);
      return true;
    case PropertyNotify: {
      XPropertyEvent& p = xe->xproperty;
      if (p.window == gSel.win) {
        if (p.atom == gSel.property && p.state == PropertyNewValue && !gSel.requests.empty() &&
            gSel.requests.front().incr)
          S_HandleIncrPart();
        return true;
      }
      for (size_t i = 0; i < gSel.out.size(); i++) {
        OutTransfer& t = gSel.out[i];
        if (t.requestor != p.window || t.property != p.atom || p.state != PropertyDelete) continue;
        if (t.finished) S_EndTransfer(i);
        else S_SendNextChunk(t);
        return true;
      }
      return false;
    }
    default:
      return false;
  }
}

void X11SelReset() {
  if (gSel.dpy && gSel.dpy == X11().dpy && gSel.win) XDestroyWindow(gSel.dpy, gSel.win);
  // Requests under way fail; their procedures hear it now.
  std::deque<Request> pending;
  pending.swap(gSel.requests);
  gSel = SelState{};
  for (Request& r : pending) r.proc(r.client, false, std::string());
}

bool DSPLY_OwnSelection(int which, const std::string& utf8) {
  if (which < 0 || which > 1 || !ready()) return false;
  XSetSelectionOwner(gSel.dpy, gSel.atoms[which], gSel.win, CurrentTime);
  if (XGetSelectionOwner(gSel.dpy, gSel.atoms[which]) != gSel.win) return false;
  gSel.owned[which] = std::make_shared<const std::string>(utf8);
  gSel.ownedSince[which] = CurrentTime;
  return true;
}

void DSPLY_DisownSelection(int which) {
  if (which < 0 || which > 1 || !ready() || !gSel.owned[which]) return;
  gSel.owned[which].reset();
  if (XGetSelectionOwner(gSel.dpy, gSel.atoms[which]) == gSel.win)
    XSetSelectionOwner(gSel.dpy, gSel.atoms[which], None, CurrentTime);
}

bool DSPLY_OwnsSelection(int which) {
  return which >= 0 && which <= 1 && gSel.dpy == X11().dpy && gSel.owned[which] != nullptr;
}

void DSPLY_RequestSelection(int which, DsplySelProc proc, void* client, int timeoutMs) {
  if (!proc) return;
  if (which < 0 || which > 1) which = DSPLY_SELCLIPBOARD;
  Request r{which, proc, client, timeoutMs > 0 ? timeoutMs : 1, None, false, false, {}, nowMs() + timeoutMs};
  if (!ready()) {
    // Without a display the answer is a failure, still given later.
    r.sent = true;
    r.deadline = 0;
    gSel.requests.push_back(std::move(r));
    return;
  }
  gSel.requests.push_back(std::move(r));
  S_StartNext();
}

void DSPLY_CancelSelectionRequests(void* client) {
  for (size_t i = 0; i < gSel.requests.size();) {
    if (gSel.requests[i].client != client) {
      i++;
      continue;
    }
    // A request under way stays in the queue without a procedure, so that
    // its late answer is not taken for the next one's.
    if (i == 0 && gSel.requests[i].sent && gSel.dpy) {
      gSel.requests[i].proc = [](void*, bool, const std::string&) {};
      gSel.requests[i].client = nullptr;
      i++;
      continue;
    }
    gSel.requests.erase(gSel.requests.begin() + static_cast<long>(i));
  }
}

bool DSPLY_HasSelectionRequests() { return !gSel.requests.empty() || !gSel.out.empty(); }

void DSPLY_ExpireSelectionRequests() {
  int64_t now = nowMs();
  while (!gSel.requests.empty() && gSel.requests.front().sent && gSel.requests.front().deadline <= now) {
    S_Finish(false);
    S_StartNext();
  }
  for (size_t i = 0; i < gSel.out.size();) {
    if (gSel.out[i].deadline <= now) S_EndTransfer(i);
    else i++;
  }
}
