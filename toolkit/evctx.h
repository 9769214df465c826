// The event contexts and the state the modules of the event system share
// (event.cpp: the loop; evinput.cpp: input translation; evwork.cpp: the work
// lists; evmodal.cpp, timer.cpp).  Not for use outside it.
#ifndef OWB_TOOLKIT_EVCTX_H
#define OWB_TOOLKIT_EVCTX_H

#include "toolkit/event.h"

struct EventContext {
  BoolEnum Running = 1;
  UInt WinMask = EVENT_MASKALLBUTLEAVE;  // types allowed for the context's window
  UInt AnyMask = EVENT_MASKALLBUTLEAVE;  // types allowed for any destination
  UInt UpdateMask = EVENT_MASKALLBUTLEAVE;  // types that update the input state
  WinPtr Win = nullptr;                  // the context's window
  WinPtr DestWin = nullptr;              // input is redirected to this window
  WgtPtr Target = nullptr;               // and given to this widget (tracking)
  BoolEnum Grab = 0;
  BoolEnum Modal = 0;
  _EventRec Last{};                      // the last event delivered
  BoolEnum Seen = 0;
  WgtPtr MouseWgt = nullptr;
  BoolEnum Blocking = 1;
  BoolEnum NoBlock = 0;
  BoolEnum TrackAborted = 0;
};

EventContext& EventTopContext();
// Pushes a copy of the current context with running, blocking and seen
// set; the caller sets the masks.
EventContext& EventPushContext();
void EventPopContext();
Int EventContextDepth();
EventContext& EventContextAt(Int depth);
// Pops contexts down to a depth (after a failure).
void EventUnwindContexts(Int depth);

// Runs an event through the context filter to its widget.
void EventProcess(EventPtr event);
// Computes the wait of the timer queue, tells the native alarm procedures.
void EventActivateTimer();
// Resets the timer queue (start-up).
void TimerReset();
// The window a widget is in (null for none).
WinPtr EventRootWin(WgtPtr wgt);
// Whether the context lets an event of the type reach the widget.
BoolEnum EventPassesFilter(const EventContext& ctx, Int type, WgtPtr wgt);

// Input (evinput.cpp).  The input state: buttons held and modifiers as
// last seen.
UInt EventMouseMods();
void EventUpdateInputState(const _EventRec& ev);
// Forgets the input state (start-up), the type-ahead buffer and the
// accelerator match (a context is pushed or popped).
void EventResetInput();
void EventResetKbBuf();
// Translates one display event and processes it; the event is cleared
// afterwards, also when a notification fails.
struct _DsplyEventRec;
void EventProcessDisplayEvent(_DsplyEventRec* d);

// Runs the loop with input dropped until *busy is clear (never, for a null
// busy) or the time is over (evmodal.cpp).
void EventWaitWhile(const BoolEnum* busy, Int milliseconds);

// The work lists (evwork.cpp), emptied at start-up.
void EventResetWorkLists();
// What is done each time before the loop may wait (after the work lists
// were worked): the automation surface is brought up to date.
void EventBeforeWait();

#endif  // OWB_TOOLKIT_EVCTX_H
