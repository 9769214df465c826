// The display side of the event loop, called through replaceable hooks.
#include "toolkit/xhooks.h"

#include <sys/select.h>

#include <cerrno>
#include <cstring>
#include <ctime>
#include <string>

#include "owbtime.h"
#include "toolkit/dsply.h"
#include "toolkit/err.h"
#include "toolkit/evctx.h"

namespace {
XNextEventProc gNextEvent = X_DefNextXEvent;
XUnxBlockingProc gBlocking = X_DefXUnxBlocking;
XProcessEventProc gProcess = X_DefProcessXEvent;
XNonOiEventProc gNonOi = nullptr;
XPredicateProc gPredicate = nullptr;

template <class Proc>
Proc replace(Proc& slot, Proc proc, Proc def) {
  Proc old = slot;
  slot = proc ? proc : def;
  return old;
}
}  // namespace

XNextEventProc X_SetNextXEventProc(XNextEventProc proc) { return replace(gNextEvent, proc, X_DefNextXEvent); }
XUnxBlockingProc X_SetXUnxBlockingProc(XUnxBlockingProc proc) {
  return replace(gBlocking, proc, X_DefXUnxBlocking);
}
XProcessEventProc X_SetProcessXEventProc(XProcessEventProc proc) {
  return replace(gProcess, proc, X_DefProcessXEvent);
}
XNonOiEventProc X_SetProcessNonOiXEventProc(XNonOiEventProc proc) {
  return replace(gNonOi, proc, static_cast<XNonOiEventProc>(nullptr));
}
XPredicateProc X_SetCurrentXPredicate(XPredicateProc proc) {
  return replace(gPredicate, proc, static_cast<XPredicateProc>(nullptr));
}

XPredicateProc XCurrentPredicate() { return gPredicate; }
XNonOiEventProc XNonOiEventProcedure() { return gNonOi; }

BoolEnum X_NextXEvent(_DsplyEventRec* ev, int64_t limitMs) { return gNextEvent(ev, limitMs); }
BoolEnum X_XUnxBlocking(int fd, int64_t timeoutMs) { return gBlocking(fd, timeoutMs); }
void X_ProcessXEvent(_DsplyEventRec* ev) { gProcess(ev); }

BoolEnum X_DefNextXEvent(_DsplyEventRec* d, int64_t limitMs) {
  int64_t deadline = limitMs >= 0 ? static_cast<int64_t>(TIME_GetCurMillisecs()) + limitMs : -1;
  for (;;) {
    if (DSPLY_Pending() == 0) {
      EVENT_UpdateCursor();
      DSPLY_Flush();
    }
    if (DSPLY_CheckEvent(d)) return 1;
    int64_t remaining = -1;
    if (deadline >= 0) {
      remaining = deadline - static_cast<int64_t>(TIME_GetCurMillisecs());
      if (remaining <= 0) return 0;
    }
    EventBeforeWait();
    EVENT_ProcessPreBlocking();
    if (!DSPLY_IsOpen()) {
      // Without a display only time can pass.
      if (remaining < 0) return 0;
      struct timespec ts{static_cast<time_t>(remaining / 1000), static_cast<long>(remaining % 1000) * 1000000};
      nanosleep(&ts, nullptr);
      return 0;
    }
    X_XUnxBlocking(DSPLY_GetConnectionFd(), remaining);
  }
}

BoolEnum X_DefXUnxBlocking(int fd, int64_t timeoutMs) {
  if (DSPLY_Pending() > 0) return 1;
  if (fd < 0 || fd >= FD_SETSIZE) return 0;
  fd_set set;
  FD_ZERO(&set);
  FD_SET(fd, &set);
  timeval tv{};
  timeval* limit = nullptr;
  if (timeoutMs >= 0) {
    tv.tv_sec = static_cast<time_t>(timeoutMs / 1000);
    tv.tv_usec = static_cast<suseconds_t>((timeoutMs % 1000) * 1000);
    limit = &tv;
  }
  int r = select(fd + 1, &set, nullptr, nullptr, limit);
  if (r < 0 && errno != EINTR) {
    int err = errno;
    std::string why = std::string(": ") + std::strerror(err);
    ERR_FailFuncCall("select", err, why.c_str());
  }
  return r > 0;
}
