// The stock cursors.
#include "toolkit/curs.h"

namespace {
_CursRec* table() {
  static _CursRec cursors[CURS_IDCOUNT];
  static bool made = false;
  if (!made) {
    for (int i = 0; i < CURS_IDCOUNT; i++) cursors[i] = _CursRec{i, 0};
    made = true;
  }
  return cursors;
}
}  // namespace

CursPtr CURS_LoadById(int id) { return id >= 0 && id < CURS_IDCOUNT ? &table()[id] : nullptr; }
CursPtr CURS_Arrow() { return CURS_LoadById(CURS_IDARROW); }
CursPtr CURS_IBeam() { return CURS_LoadById(CURS_IDIBEAM); }
CursPtr CURS_Cross() { return CURS_LoadById(CURS_IDCROSS); }
CursPtr CURS_Hand() { return CURS_LoadById(CURS_IDHAND); }
CursPtr CURS_Move() { return CURS_LoadById(CURS_IDMOVE); }
CursPtr CURS_Wait() { return CURS_LoadById(CURS_IDWAIT); }
CursPtr CURS_Parent() { return CURS_LoadById(CURS_IDPARENT); }
CursPtr CURS_WaitFrame(int) { return CURS_Wait(); }
