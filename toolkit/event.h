// The event system: one loop on one thread turns display input, timers and
// pending work (recalculation, redrawing) into notification messages on
// widgets.
//
// A stack of event contexts decides what may be delivered: the base context
// lets everything through; a modal window, a mouse tracking loop or a timed
// wait pushes a context that restricts delivery to its window or to the
// non-input types.  Timers and alarms run from one queue sorted by due time
// inside the loop; there are no threads and no signals.
#ifndef OWB_TOOLKIT_EVENT_H
#define OWB_TOOLKIT_EVENT_H

#include <cstdint>
#include <string>

#include "toolkit/evkeys.h"
#include "toolkit/geom.h"
#include "toolkit/rgn.h"
#include "toolkit/tkbase.h"

struct _WgtObj;
typedef _WgtObj* WgtPtr;
struct _WinObj;
typedef _WinObj* WinPtr;

enum ENUM_EventTypeEnum {
  EVENT_TYPENOTHING = 0,
  EVENT_TYPEFIRST = 0,
  EVENT_TYPEALARM = 1,
  EVENT_TYPERECAL = 2,
  EVENT_TYPEINVAL = 3,
  EVENT_TYPEREDRAW = 4,
  EVENT_TYPEBUTTONPRESS = 5,
  EVENT_TYPEBUTTONRELEASE = 6,
  EVENT_TYPEMOUSEMOVE = 7,
  EVENT_TYPEMOUSELEAVE = 8,
  EVENT_TYPEKEYPRESS = 9,
  EVENT_TYPEKEYRELEASE = 10,
  EVENT_TYPEWINMGR = 11,
  EVENT_TYPESETCURSOR = 12,
  EVENT_TYPELAST = 12
};

// Type masks: bit 1 << type.
constexpr UInt EVENT_MASKALLBUTLEAVE = 0x1EFE;  // 7934
constexpr UInt EVENT_MASKNONINPUT = 0x81E;      // 2078: alarm, recal, inval, redraw, winmgr
constexpr UInt EVENT_MASKNONINPUTCURSOR = 0x181E;  // 6174: the same and set cursor
constexpr UInt EVENT_MASKINVAL = 0x8;
constexpr UInt EVENT_MASKMOUSE = (1u << EVENT_TYPEBUTTONPRESS) | (1u << EVENT_TYPEBUTTONRELEASE) |
                                 (1u << EVENT_TYPEMOUSEMOVE) | (1u << EVENT_TYPEMOUSELEAVE);
constexpr UInt EVENT_MASKKEY = (1u << EVENT_TYPEKEYPRESS) | (1u << EVENT_TYPEKEYRELEASE);

// What a window-manager event says happened (WinMgrType bits).
enum {
  EVENT_WMOPENED = 0x1,
  EVENT_WMCLOSED = 0x2,
  EVENT_WMMOVED = 0x4,
  EVENT_WMMOVEDRESIZED = 0x8,
  EVENT_WMACTIVATED = 0x10,
  EVENT_WMDEACTIVATED = 0x20,
  EVENT_WMICONIFIED = 0x40,
  EVENT_WMDEICONIFIED = 0x80,
  EVENT_WMRESTACKED = 0x100,
  EVENT_WMMAXIMIZED = 0x200,    // the window manager shows it maximized
  EVENT_WMUNMAXIMIZED = 0x400,  // ... no longer maximized
  EVENT_WMREDRAW = 0x4000,
  EVENT_WMPINCHANGED = 0x8000,
  EVENT_WMTERMINATE = 0x10000,
  EVENT_WMTAKEFOCUS = 0x20000
};

struct _EventRec {
  Int Type;
  WgtPtr Wgt;              // destination: a window for display input
  int64_t Time;            // the loop's clock, milliseconds
  uint32_t MouseTime;      // the server's time of a mouse event
  BoolEnum IsDouble;
  _Point16Rec AbsLoc;      // pointer on the screen
  _Point16Rec WinLoc;      // pointer in the destination window
  Int Button;              // EVENT_BUTNONE, EVENT_BUT1..3
  UInt MouseModifiers;     // EVENT_MOD... bits; 1, 2, 4 for the buttons down
  uint32_t KbTime;
  char KbStr[256];
  char KbAsciiStr[256];
  Int Key;                 // EvKeyEnum
  UInt KbModifiers;
  UInt WinMgrType;         // EVENT_WM... bits
  _Rect16Rec Box;          // configure: the new client box on the screen
  ClientPtr AlarmData;
  _Rect16Rec Rect;
  RegionPtr Rgn;
  Int AlignDummy;
  BoolEnum DestIsTopLevelWin;
  BoolEnum InNumKeyPad;
  Int Wheel;               // a wheel press: EVENT_WHEEL..., else 0
};
typedef _EventRec* EventPtr;

struct EventTrackDelayRec {
  Int32 Delay0;
  Int32 Delay1;
  Int16 RunLen;
  Int16 RunAccel;
};

enum { EVENT_CONTINUE = 0, EVENT_STOPOK = 1, EVENT_STOPNOK = 2 };

typedef void (*EventProc)(ClientPtr data);
typedef void (*EventAlarmProc)(ClientPtr data);
typedef long (*EventDispatchProc)(WgtPtr wgt, Int message, ClientPtr data, ClientPtr clientData);
typedef Int (*EventTrackProc)(WgtPtr wgt, ClientPtr clientData);
typedef void (*EventErrHandler)(struct _ErrFrameRec* frame, Int severity);

// --- Start-up ------------------------------------------------------------------
// Resets timers, reads OIT_MODALOPT, pushes the base context, installs the
// default procedures.  Safe to call again (it starts over).
void EVENT_Init();

// --- The loop ------------------------------------------------------------------
// One step; a failure inside is reported and recovered, never passed out.
void EVENT_ProcessNext();
// Steps while display events are waiting, runs timers that are due, then
// EVENT_Update.  Never sleeps.
void EVENT_ProcessPending();
BoolEnum EVENT_IsPending();
void EVENT_Update();  // recal, then inval
void EVENT_MainLoop();
// The main loop installed at start-up: EVENT_ProcessNext while the current
// context runs, then recal and inval.
void EVENT_DefMainLoop(ClientPtr data);
void EVENT_MainExit();
void EVENT_Process(EventPtr event);
long EVENT_Dispatch(WgtPtr wgt, Int message, ClientPtr data);
long EVENT_DefDispatch(WgtPtr wgt, Int message, ClientPtr data, ClientPtr clientData);
void EVENT_SetDispatchProcDS(EventDispatchProc proc, ClientPtr data);
void EVENT_SetProcNextEventProcDS(EventProc proc, ClientPtr data);
void EVENT_SetMainLoopProcDS(EventProc proc, ClientPtr data);
void EVENT_SetMainLoopExitProcDS(EventProc proc, ClientPtr data);
void EVENT_SetErrHandler(EventErrHandler proc);
EventErrHandler EVENT_QueryErrHandler();
void EVENT_UpdateCursor();
void EVENT_SetBlocking(BoolEnum flag);
BoolEnum EVENT_IsBlocking();
void EVENT_AddPreBlockingProcDS(EventProc proc, ClientPtr data);
void EVENT_RemovePreBlockingProc(EventProc proc, ClientPtr data);
void EVENT_ProcessPreBlocking();
// Waits ms milliseconds running the loop; input in that time is dropped.
void EVENT_Wait(WgtPtr wgt, Int milliseconds);

// --- Timers and alarms ---------------------------------------------------------
void EVENT_StartTimer(WgtPtr wgt, Int milliseconds);
void EVENT_StopTimer(WgtPtr wgt);
void EVENT_StartWgtAlarm(WgtPtr wgt, ClientPtr data, Int milliseconds);
void EVENT_StopWgtAlarm(WgtPtr wgt, ClientPtr data);
void EVENT_StopAllWgtAlarms(WgtPtr wgt);
void EVENT_StartCBackAlarmDS(EventAlarmProc proc, ClientPtr data, Int milliseconds);
void EVENT_StopCBackAlarm(ClientPtr data);
void EVENT_SetAlarmStartProcDS(void (*proc)(Int waitMs, ClientPtr), ClientPtr data);
void EVENT_SetAlarmStopProcDS(EventProc proc, ClientPtr data);
void EVENT_ProcessTimeOut();

// The timer queue under the alarms: clients sorted by due time on the
// toolkit clock (TIME_GetCurMillisecs); one due at the same time as others
// goes behind them.  A client is any record that starts with a
// _TimerClientRec; the timer processing of the loop takes each elapsed one
// off and calls its Fire, once.
//
// Contracts:
//  - The caller owns a client it queues; it must stay valid while queued
//    (TIMER_Dequeue it before freeing it).  Dispose, if set, is called for
//    clients still queued when the event system starts over.
//  - Queuing a queued client moves it to its new time.
struct _TimerClientRec;
typedef _TimerClientRec* TimerClientPtr;
struct _TimerClientRec {
  void (*Fire)(TimerClientPtr client);
  void (*Dispose)(TimerClientPtr client);
};
typedef BoolEnum (*TimerMatchProc)(TimerClientPtr client, ClientPtr data);
void TIMER_Queue(TimerClientPtr client, Int milliseconds);
// Takes the client off the queue (or keeps it from firing when the timer
// processing running now has already taken it off); false if not queued.
BoolEnum TIMER_Dequeue(TimerClientPtr client);
// Takes off and returns the earliest client if its time has come, else null.
TimerClientPtr TIMER_DequeueElapsed();
BoolEnum TIMER_IsQueued(TimerClientPtr client);
// The first queued client, in time order, for which match gives true.
TimerClientPtr TIMER_GetQueuedDS(TimerMatchProc match, ClientPtr data);
// Milliseconds until the earliest entry is due (negative when late), or -1
// with *none set when the queue is empty.
int64_t TIMER_QueryWait(BoolEnum* none);
Int TIMER_GetQueuedCount();

// --- Work lists ----------------------------------------------------------------
void EVENT_PostRecal(WgtPtr wgt);
void EVENT_RemoveRecal(WgtPtr wgt);
void EVENT_ProcessRecal();
void EVENT_ProcessWgtRecal(WgtPtr wgt);
BoolEnum EVENT_IsRecalPending();
// A window with something to redraw (its invalid region) joins the list.
void EVENT_PostInval(WinPtr win);
void EVENT_ProcessInval();
BoolEnum EVENT_IsInvalPending();

// --- Tracking --------------------------------------------------------------------
void EVENT_TrackDownBegin(WgtPtr wgt);
BoolEnum EVENT_TrackDown(WgtPtr wgt);
void EVENT_TrackDownEnd(WgtPtr wgt);
void EVENT_TrackUpBegin(WgtPtr wgt);
BoolEnum EVENT_TrackUp(WgtPtr wgt);
void EVENT_TrackUpEnd(WgtPtr wgt);
void EVENT_SetTrackDelay(const EventTrackDelayRec* delay);  // null: no repetition
void EVENT_QueryTrackDelay(EventTrackDelayRec* delay);
void EVENT_SetDefTrackDelay();
void EVENT_SetTrackDownProcDS(EventTrackProc proc, ClientPtr data);
Int EVENT_DefTrackDown(WgtPtr wgt, ClientPtr data);
BoolEnum EVENT_IsTracking();
BoolEnum EVENT_IsTrackingMouse();
// Makes the running track end at its next step.
void EVENT_AbortTracking();

// --- Modal processing ------------------------------------------------------------
void EVENT_BeginModalProcess(WinPtr win, BoolEnum systemModal, BoolEnum permissive);
void EVENT_DoModalProcess();
void EVENT_EndModalProcess();
void EVENT_ModalProcess(WinPtr win, BoolEnum systemModal, BoolEnum permissive);
void EVENT_TerminateModalProcess();
WinPtr EVENT_QueryModalProcess();  // the innermost modal window, or null
// A pop-up window that stands for a part of a widget (a combo box's open
// list) takes input like the window under it while it is admitted, even
// inside a modal run that holds back every other window's input.  One at
// a time; the owner withdraws it before the window goes.
void EVENT_AdmitPopup(WinPtr popup);
void EVENT_WithdrawPopup(WinPtr popup);
Int EVENT_GetContextDepth();

// --- The current event -------------------------------------------------------------
Int EVENT_GetCurEventType();
EventPtr EVENT_GetCurEvent();
Int EVENT_GetButton();
BoolEnum EVENT_IsDouble();
// The wheel step of the current press (EVENT_WHEEL...), 0 for a button.
Int EVENT_GetWheel();
Int EVENT_GetKeyCode();
const char* EVENT_GetKbStr();
char EVENT_GetKbAsciiChar();
// The typed characters that an accelerator is matched against: those of the
// current key and the ones typed before it less than 500 ms apart.
const char* EVENT_GetKbMatchStr();
UInt EVENT_GetKbMods();
int64_t EVENT_GetEventTime();
void EVENT_QueryAbsLoc(_Point16Rec* point);
void EVENT_QueryWgtLoc(WgtPtr wgt, _Point16Rec* point);
void EVENT_QueryWinLoc(WinPtr win, _Point16Rec* point);
void EVENT_SetMouseEventProcessed();
void EVENT_SetKbEventProcessed();
void EVENT_SetCursorEventProcessed();
BoolEnum EVENT_IsMouseEventProcessed();
BoolEnum EVENT_IsKbEventProcessed();
BoolEnum EVENT_IsCursorEventProcessed();
void EVENT_DiscardMouseEvents();
void EVENT_DiscardKbEvents();
void EVENT_DiscardUserEvents();
WgtPtr EVENT_GetFocusWgt();
void EVENT_SetDoubleInfo(Int timeMs, Int time2Ms, Int distance);

// --- Clipboard ------------------------------------------------------------------------
// The display's clipboard, shared with other programs (UTF-8).  Setting
// keeps a copy that the display hands out until another program takes the
// clipboard; false without a display.
BoolEnum EVENT_SetClipboardStr(const char* text);
// Asks the clipboard's owner for its text and runs the loop until it comes
// or timeoutMs have passed; user input in that time is dropped.  False
// (text emptied) when there is no text or no answer.
BoolEnum EVENT_GetClipboardStr(std::string* text, Int timeoutMs = 2000);

// --- User queues -------------------------------------------------------------------
// Queues of posted callbacks.  A queue of priority above 0 is served before
// display input; the others when the loop would otherwise have nothing to do.
struct _EventQueueRec;
typedef _EventQueueRec* EventQueuePtr;
EventQueuePtr EVENT_UserQueueNew(Int priority);
void EVENT_UserQueueDispose(EventQueuePtr queue);
void EVENT_UserQueuePostEvent(EventQueuePtr queue, EventProc proc, ClientPtr data);
void EVENT_UserQueueFlush(EventQueuePtr queue);
void EVENT_QueueSetPriority(EventQueuePtr queue, Int priority);
EventQueuePtr EVENT_GetSystemQueue();

#endif  // OWB_TOOLKIT_EVENT_H
