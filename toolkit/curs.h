// Mouse cursors.  All cursors are stock objects.  CURS_Parent() is not a
// shape: a widget with it shows the cursor of the panel around it.
#ifndef OWB_TOOLKIT_CURS_H
#define OWB_TOOLKIT_CURS_H

enum CursIdEnum {
  CURS_IDARROW = 0,
  CURS_IDIBEAM,
  CURS_IDCROSS,
  CURS_IDHAND,
  CURS_IDMOVE,
  CURS_IDSIZEH,
  CURS_IDSIZEV,
  CURS_IDWAIT,
  CURS_IDPARENT,
  CURS_IDCOUNT
};

struct _CursRec {
  int Id;
  unsigned long Native;  // display cursor, 0 until made
};
typedef _CursRec* CursPtr;

CursPtr CURS_Arrow();
CursPtr CURS_IBeam();
CursPtr CURS_Cross();
CursPtr CURS_Hand();
CursPtr CURS_Move();
CursPtr CURS_Wait();
CursPtr CURS_Parent();
// A stock cursor by number; null outside the table.
CursPtr CURS_LoadById(int id);
// The wait cursor for frame 0..127 of its animation.  The display shows one
// still watch for every frame.
CursPtr CURS_WaitFrame(int frame);

#endif  // OWB_TOOLKIT_CURS_H
