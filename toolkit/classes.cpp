// The toolkit's classes, in the order the start-up chain installs and
// initialises them.
//
// A static archive member is linked into a program only when something
// refers to it strongly; the rows below refer to every class module, and
// the start-up chain refers to this table, so a program that starts the
// toolkit links every class it can load from a resource library.
#include "toolkit/classes.h"

#include <iterator>

#include "toolkit/autom.h"
#include "toolkit/cbox.h"
#include "toolkit/draw.h"
#include "toolkit/dsply.h"
#include "toolkit/errw.h"
#include "toolkit/event.h"
#include "toolkit/kylst.h"
#include "toolkit/lbox.h"
#include "toolkit/mbar.h"
#include "toolkit/rgn.h"
#include "toolkit/tarea.h"
#include "toolkit/tbut.h"
#include "toolkit/ted.h"
#include "toolkit/wgtpub.h"
#include "toolkit/winpub.h"

// The generic windows are written above the toolkit (the shared window
// side); the toolkit cannot link them, so their entries are weak and stay
// null in a program without them.
#define OWB_WEAK_ENTRY(name) void name() __attribute__((weak));
OWB_WEAK_ENTRY(ALRTW_InstallClass)
OWB_WEAK_ENTRY(ALRTW_InitClass)
OWB_WEAK_ENTRY(HELPW_InstallClass)
OWB_WEAK_ENTRY(HELPW_InitClass)
OWB_WEAK_ENTRY(LISTW_InstallClass)
OWB_WEAK_ENTRY(LISTW_InitClass)
OWB_WEAK_ENTRY(FILEW_InstallClass)
OWB_WEAK_ENTRY(FILEW_InitClass)
OWB_WEAK_ENTRY(PJOBW_InstallClass)
OWB_WEAK_ENTRY(PJOBW_InitClass)
OWB_WEAK_ENTRY(PDOCW_InstallClass)
OWB_WEAK_ENTRY(PDOCW_InitClass)
#undef OWB_WEAK_ENTRY

namespace {

const TkClassEntry kClasses[] = {
    // Graphics and windows.  The event system, regions and drawing start
    // before the widget classes initialise.
    {TK_LAYER_VGM, "Event", nullptr, EVENT_Init},
    {TK_LAYER_VGM, "GRes", GRES_InstallClass, nullptr},
    {TK_LAYER_VGM, "Rgn", nullptr, RGN_Init},
    {TK_LAYER_VGM, "Draw", nullptr, DRAW_Init},
    {TK_LAYER_VGM, "KyLst", KYLST_InstallClass, nullptr},
    {TK_LAYER_VGM, "Wgt", WGT_InstallClass, WGT_InitClass},
    {TK_LAYER_VGM, "Panel", PANEL_InstallClass, PANEL_InitClass},
    {TK_LAYER_VGM, "Win", WIN_InstallClass, WIN_InitClass, WIN_Describe},
    {TK_LAYER_VGM, "Menu", MENU_InstallClass, MENU_InitClass, MENU_Describe},
    {TK_LAYER_VGM, "MItem", MITEM_InstallClass, MITEM_InitClass},
    {TK_LAYER_VGM, "MSep", MSEP_InstallClass, MSEP_InitClass},
    {TK_LAYER_VGM, "MBar", MBAR_InstallClass, MBAR_InitClass, MBAR_Describe},

    // Widgets.  A NEW WIDGET CLASS GOES HERE: one row, after its parent's,
    // {TK_LAYER_TKIT, "Name", NAME_InstallClass, NAME_InitClass}, with
    // NAME_Describe after them when the class shows text, a selection or
    // cells to the automation surface.
    {TK_LAYER_TKIT, "TBut", TBUT_InstallClass, TBUT_InitClass, TBUT_Describe},
    {TK_LAYER_TKIT, "TArea", TAREA_InstallClass, TAREA_InitClass, TAREA_Describe},
    {TK_LAYER_TKIT, "SArea", SAREA_InstallClass, SAREA_InitClass},
    {TK_LAYER_TKIT, "Sb", SB_InstallClass, SB_InitClass},
    {TK_LAYER_TKIT, "LbCol", LBCOL_InstallClass, LBCOL_InitClass},
    {TK_LAYER_TKIT, "LbRow", LBROW_InstallClass, LBROW_InitClass},
    {TK_LAYER_TKIT, "LBox", LBOX_InstallClass, LBOX_InitClass, LBOX_Describe},
    {TK_LAYER_TKIT, "TEd", TED_InstallClass, TED_InitClass, TED_Describe},
    {TK_LAYER_TKIT, "CBox", CBOX_InstallClass, CBOX_InitClass, CBOX_Describe},
    // The look is applied once every widget class is initialised.
    {TK_LAYER_TKIT, "Look", nullptr, DSPLY_UpdateLook},

    // Generic windows: the error window, then the shared window side's.
    {TK_LAYER_GW, "ErrW", nullptr, ERRW_Init},
    {TK_LAYER_GW, "AlrtW", ALRTW_InstallClass, ALRTW_InitClass},
    {TK_LAYER_GW, "HelpW", HELPW_InstallClass, HELPW_InitClass},
    {TK_LAYER_GW, "ListW", LISTW_InstallClass, LISTW_InitClass},
    {TK_LAYER_GW, "FileW", FILEW_InstallClass, FILEW_InitClass},
    {TK_LAYER_GW, "PJobW", PJOBW_InstallClass, PJOBW_InitClass},
    {TK_LAYER_GW, "PDocW", PDOCW_InstallClass, PDOCW_InitClass},
};

}  // namespace

const TkClassEntry* TK_ClassTable() { return kClasses; }

int TK_ClassCount() { return static_cast<int>(std::size(kClasses)); }

void TK_InstallLayer(TkLayer layer) {
  for (const TkClassEntry& entry : kClasses) {
    if (entry.layer != layer) continue;
    if (entry.install) entry.install();
    if (entry.describe) AUTOM_SetDescribeProc(RCLAS_FindByName(entry.name), entry.describe);
  }
}

void TK_InitLayer(TkLayer layer) {
  for (const TkClassEntry& entry : kClasses)
    if (entry.layer == layer && entry.init) entry.init();
}
