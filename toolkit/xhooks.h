// Hooks of the display side of the event loop, so that another loop can be
// plugged in: a program that serves its own sockets, a test that counts
// what the loop does, a library with windows of its own on the same
// connection.  The loop calls every step through these procedures; each
// setter returns the procedure it replaces, and null puts back the default.
//
//   next event      waits for the next display event, at most a time
//                   (X_DefNextXEvent);
//   blocking        waits on the connection's descriptor when nothing is
//                   queued (X_DefXUnxBlocking);
//   process event   turns a display event into toolkit events
//                   (X_DefProcessXEvent);
//   non-toolkit     hears the display events of windows that are not the
//                   toolkit's (default: none);
//   predicate       picks which queued display events the loop takes
//                   (default: all); the others stay queued.
//
// The display library's own event record is passed as NatEventPtr (an
// XEvent* under X11), opaque outside the display layer.
//
// Contracts:
//  - Procedures run inside EVENT_ProcessNext and may fail through the
//    error frames like any notification.
//  - A predicate must not call the display library (it runs while the
//    library's queue is locked).
#ifndef OWB_TOOLKIT_XHOOKS_H
#define OWB_TOOLKIT_XHOOKS_H

#include <cstdint>

// This header is also read by the display layer, where the X headers'
// names clash with the toolkit's base header; the one type it needs is
// repeated here (the same as in tkbase.h).
typedef int BoolEnum;

struct _DsplyEventRec;
typedef void* NatEventPtr;

// limitMs -1: no limit.  True with ev filled, false on time-out.
typedef BoolEnum (*XNextEventProc)(_DsplyEventRec* ev, int64_t limitMs);
// timeoutMs -1: no limit.  True when there is input to read.
typedef BoolEnum (*XUnxBlockingProc)(int fd, int64_t timeoutMs);
typedef void (*XProcessEventProc)(_DsplyEventRec* ev);
typedef void (*XNonOiEventProc)(NatEventPtr event);
typedef BoolEnum (*XPredicateProc)(NatEventPtr event);

XNextEventProc X_SetNextXEventProc(XNextEventProc proc);
XUnxBlockingProc X_SetXUnxBlockingProc(XUnxBlockingProc proc);
XProcessEventProc X_SetProcessXEventProc(XProcessEventProc proc);
XNonOiEventProc X_SetProcessNonOiXEventProc(XNonOiEventProc proc);
XPredicateProc X_SetCurrentXPredicate(XPredicateProc proc);

// The defaults.  X_DefNextXEvent: while nothing is queued it brings the
// cursor up to date and flushes, takes a queued event that passes the
// predicate, and otherwise runs the pre-blocking procedures and the
// blocking procedure for the time left.
BoolEnum X_DefNextXEvent(_DsplyEventRec* ev, int64_t limitMs);
// True at once when events are queued; otherwise waits on fd for input
// (false on time-out, on an interrupted wait or a descriptor that cannot be
// waited on).  A failed wait of another kind fails through the error
// frames.
BoolEnum X_DefXUnxBlocking(int fd, int64_t timeoutMs);
// Translates the event into a toolkit event and processes it; recal runs
// before and after.  The caller clears the event.
void X_DefProcessXEvent(_DsplyEventRec* ev);

// What the loop calls: the procedures in force.
BoolEnum X_NextXEvent(_DsplyEventRec* ev, int64_t limitMs);
BoolEnum X_XUnxBlocking(int fd, int64_t timeoutMs);
void X_ProcessXEvent(_DsplyEventRec* ev);

// For the display layer: the procedures in force for the predicate and the
// events of other windows (null when none is set).
XPredicateProc XCurrentPredicate();
XNonOiEventProc XNonOiEventProcedure();

#endif  // OWB_TOOLKIT_XHOOKS_H
