// Key names and modifier bits of toolkit events, the same on every display.
// The display layer translates its native key codes into these.
#ifndef OWB_TOOLKIT_EVKEYS_H
#define OWB_TOOLKIT_EVKEYS_H

enum EvKeyEnum {
  EVENT_KEYNONE = 0,
  EVENT_KEYNORMAL = 1,  // a character key: the text is in the event's strings
  EVENT_KEYCONTROL = 2, // a control character
  EVENT_KEYESCAPE = 3,
  EVENT_KEYBACKSPACE = 4,
  EVENT_KEYDELETE = 5,
  EVENT_KEYCLEAR = 6,
  EVENT_KEYTAB = 7,
  EVENT_KEYRETURN = 8,
  EVENT_KEYLINEFEED = 9,
  EVENT_KEYENTER = 10,
  EVENT_KEYINSERT = 11,
  EVENT_KEYHOME = 20,
  EVENT_KEYLEFT = 21,
  EVENT_KEYUP = 22,
  EVENT_KEYRIGHT = 23,
  EVENT_KEYDOWN = 24,
  EVENT_KEYNEXTPAGE = 25,
  EVENT_KEYPREVPAGE = 26,
  EVENT_KEYBEGIN = 27,
  EVENT_KEYEND = 28,
  // Editing keys.
  EVENT_KEYSELECT = 30,
  EVENT_KEYPRINT = 31,
  EVENT_KEYEXECUTE = 32,
  EVENT_KEYUNDO = 33,
  EVENT_KEYREDO = 34,
  EVENT_KEYMENU = 35,
  EVENT_KEYFIND = 36,
  EVENT_KEYCANCEL = 37,
  EVENT_KEYHELP = 38,
  EVENT_KEYBREAK = 39,
  EVENT_KEYCOPY = 40,
  EVENT_KEYCUT = 41,
  EVENT_KEYPASTE = 42,
  EVENT_KEYF1 = 51,   // .. EVENT_KEYF12 = 62
  EVENT_KEYF12 = 62,
  // Shift and modifier keys.
  EVENT_KEYSHIFTL = 63,
  EVENT_KEYSHIFTR = 64,
  EVENT_KEYCONTROLL = 65,
  EVENT_KEYCONTROLR = 66,
  EVENT_KEYCAPSLOCK = 67,
  EVENT_KEYSHIFTLOCK = 68,
  EVENT_KEYMETAL = 69,
  EVENT_KEYMETAR = 70,
  EVENT_KEYALTL = 71,
  EVENT_KEYALTR = 72,
  EVENT_KEYSUPERL = 73,
  EVENT_KEYSUPERR = 74,
  EVENT_KEYHYPERL = 75,
  EVENT_KEYHYPERR = 76,
  EVENT_KEYF13 = 153,  // .. EVENT_KEYF35 = 175
  EVENT_KEYF35 = 175,
  EVENT_KEYPAUSE = 200,
  EVENT_KEYSCROLLLOCK = 201,
  EVENT_KEYSYSREQ = 202,
  EVENT_KEYNUMLOCK = 203,
  EVENT_KEYMODESWITCH = 211,
  EVENT_KEYALTGR = 212
};

// Modifier bits of MouseModifiers and KbModifiers.  The three low bits are
// the mouse buttons held down.
enum {
  EVENT_MODBUT1 = 0x1,
  EVENT_MODBUT2 = 0x2,
  EVENT_MODBUT3 = 0x4,
  EVENT_MODSHIFT = 0x8,
  EVENT_MODCONTROL = 0x10,
  EVENT_MODALT = 0x20,
  EVENT_MODSUPER = 0x40,
  EVENT_MODCAPSLOCK = 0x80,
  EVENT_MODHYPER = 0x100,
  EVENT_MODNUMLOCK = 0x200,
  EVENT_MODALTGR = 0x400
};
// Modifiers that leave a typed character an ordinary character for the
// type-ahead buffer.
constexpr unsigned EVENT_MODTYPEAHEAD = EVENT_MODSHIFT | EVENT_MODCAPSLOCK | EVENT_MODNUMLOCK | EVENT_MODALTGR;

enum { EVENT_BUTNONE = 0, EVENT_BUT1 = 1, EVENT_BUT2 = 2, EVENT_BUT3 = 3 };

// A turn of the mouse wheel arrives as a press with no button and one of
// these in the event's Wheel field: the steps up and down are -1 and 1,
// left and right -2 and 2.
enum { EVENT_WHEELUP = -1, EVENT_WHEELDOWN = 1, EVENT_WHEELLEFT = -2, EVENT_WHEELRIGHT = 2 };

#endif  // OWB_TOOLKIT_EVKEYS_H
