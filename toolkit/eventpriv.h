// Between the event system and the widget and window modules: what the
// loop needs to know of widgets, and what widgets tell the loop.
#ifndef OWB_TOOLKIT_EVENTPRIV_H
#define OWB_TOOLKIT_EVENTPRIV_H

#include "toolkit/event.h"

// A widget goes away: it leaves the work lists, its alarms stop, and no
// context refers to it any more.
void EventEndWgtManagement(WgtPtr wgt);
// A window goes away.
void EventEndWinManagement(WinPtr win);
// The cursor must be worked out again at the next chance.
void EventCursorChanged();

#endif  // OWB_TOOLKIT_EVENTPRIV_H
