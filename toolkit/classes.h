// The one table of the toolkit's classes and of the modules the start-up
// chain starts with them (toolkit/classes.cpp).
//
// Contracts:
// - The table is walked in its order: a layer's install step runs every
//   row's install entry of that layer, its load step every row's init entry.
//   A class's row therefore comes after the row of its parent class.
// - A null entry is skipped; so is a row whose entry is declared weak and
//   was not linked in (the generic windows live outside the toolkit).
// - The table refers to every entry of the toolkit, so a program that
//   starts the toolkit links every class module in.
// - A row's describe entry, when given, is the class's part of the
//   automation surface (toolkit/autom.h): installing the row registers it
//   for the class named by the row.
#ifndef OWB_TOOLKIT_CLASSES_H
#define OWB_TOOLKIT_CLASSES_H

// The layers whose classes the table holds (the core and resource layers
// register their few fixed classes themselves).
enum TkLayer { TK_LAYER_VGM, TK_LAYER_TKIT, TK_LAYER_GW };

struct _WgtObj;
struct AutomDesc;

struct TkClassEntry {
  TkLayer layer;
  const char* name;  // the class or module, for reading and for tests
  void (*install)();  // registers the class: no display, no files
  void (*init)();     // after the layer's resource library is loaded
  void (*describe)(_WgtObj* wgt, AutomDesc* desc) = nullptr;  // text, state, cells
};

// The table and its number of rows; the table is static and never changes.
const TkClassEntry* TK_ClassTable();
int TK_ClassCount();

// Runs the install (or init) entries of one layer, in table order.
void TK_InstallLayer(TkLayer layer);
void TK_InitLayer(TkLayer layer);

#endif  // OWB_TOOLKIT_CLASSES_H
