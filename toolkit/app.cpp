// The layers' install, load and exit chains.
#include "toolkit/app.h"

#include <cstdio>
#include <cstring>

#include "toolkit/bknot.h"
#include "toolkit/linkedmodules.h"
#include "toolkit/rclas.h"
#include "toolkit/res.h"
#include "toolkit/rlib.h"
#include "toolkit/strres.h"

// Entries defined by the modules of the higher layers.  Declared weak: a
// module that is not linked in leaves its entry null and the step is skipped.
#define OWB_WEAK_ENTRY(name) void name() __attribute__((weak));
#define OWB_CORE_ENTRIES(X) X(PTR_Init) X(SYS_Init) X(SYS_TranslateInit) X(ArgsInit) X(SYS_TranslateExit)
#define OWB_VGM_INSTALL(X)                                                                        \
  X(GRES_InstallClass) X(FONT_InstallClass) X(COLOR_InstallClass) X(ICON_InstallClass)            \
  X(CURS_InstallClass) X(PATT_InstallClass) X(PEN_InstallClass) X(KYELT_InstallClass)             \
  X(KYLST_InstallClass) X(GCRES_InstallClass) X(WGT_InstallClass) X(PANEL_InstallClass)           \
  X(WIN_InstallClass) X(MENU_InstallClass) X(MITEM_InstallClass) X(MSEP_InstallClass)             \
  X(MBAR_InstallClass) X(TCAP_InstallClass) X(DSPLY_InitRes)
#define OWB_VGM_LOAD_AFTER_DISPLAY(X)                                                             \
  X(EVENT_Init) X(GRES_InitClass) X(FONT_InitClass) X(COLOR_InitClass) X(ICON_InitClass)         \
  X(CURS_InitClass) X(PATT_InitClass) X(PEN_InitClass) X(KYELT_InitClass) X(KYLST_InitClass)      \
  X(RGN_Init) X(PRINT_Init) X(DRAW_Init) X(WGT_InitClass) X(PANEL_InitClass) X(MENU_InitClass)    \
  X(MITEM_InitClass) X(MSEP_InitClass) X(MBAR_InitClass) X(WIN_InitClass) X(IMAGE_Init) X(DD_Init)
#define OWB_TKIT_INSTALL(X)                                                                       \
  X(SAREA_InstallClass) X(SOVER_InstallClass) X(TBUT_InstallClass) X(TAREA_InstallClass)          \
  X(IBUT_InstallClass) X(IAREA_InstallClass) X(SB_InstallClass) X(TED_InstallClass)               \
  X(FTED_InstallClass) X(LBCOL_InstallClass) X(LBROW_InstallClass) X(LBKEY_InstallClass)          \
  X(LBOX_InstallClass) X(LAYED_InstallClass) X(BROWS_InstallClass) X(BOVER_InstallClass)          \
  X(CBOX_InstallClass) X(CITEM_InstallClass) X(SPANL_InstallClass) X(SLIDR_InstallClass)          \
  X(CHART_InstallClass) X(HTED_InstallClass) X(PALET_InstallClass)
#define OWB_TKIT_LOOKS(X) \
  X(TButMacInstall) X(TButPcInstall) X(TButMotifInstall) X(TButOpenLookInstall) X(TButChrInstall)
#define OWB_TKIT_INIT(X)                                                                          \
  X(SAREA_InitClass) X(SOVER_InitClass) X(TBUT_InitClass) X(TAREA_InitClass) X(IBUT_InitClass)  \
  X(IAREA_InitClass) X(SB_InitClass) X(TED_InitClass) X(FTED_InitClass) X(LBCOL_InitClass)        \
  X(LBROW_InitClass) X(LBKEY_InitClass) X(LBOX_InitClass) X(LAYED_InitClass) X(BROWS_InitClass)   \
  X(BOVER_InitClass) X(CBOX_InitClass) X(SPANL_InitClass) X(SLIDR_InitClass) X(CHART_InitClass)   \
  X(HTED_InitClass) X(PALET_InitClass)
#define OWB_GW_INSTALL(X)                                                                         \
  X(ALRTW_InstallClass) X(HELPW_InstallClass) X(LISTW_InstallClass) X(FILEW_InstallClass)         \
  X(PJOBW_InstallClass) X(PDOCW_InstallClass)
#define OWB_GW_INIT(X)                                                                            \
  X(ERRW_Init) X(ALRTW_InitClass) X(HELPW_InitClass) X(LISTW_InitClass) X(FILEW_InitClass)        \
  X(PJOBW_InitClass) X(PDOCW_InitClass)

OWB_CORE_ENTRIES(OWB_WEAK_ENTRY)
OWB_VGM_INSTALL(OWB_WEAK_ENTRY)
OWB_VGM_LOAD_AFTER_DISPLAY(OWB_WEAK_ENTRY)
OWB_TKIT_INSTALL(OWB_WEAK_ENTRY)
OWB_TKIT_LOOKS(OWB_WEAK_ENTRY)
OWB_TKIT_INIT(OWB_WEAK_ENTRY)
OWB_GW_INSTALL(OWB_WEAK_ENTRY)
OWB_GW_INIT(OWB_WEAK_ENTRY)
OWB_WEAK_ENTRY(DSPLY_UpdateLook)
void DSPLY_Init(int) __attribute__((weak));

#define OWB_CALL_ENTRY(name) \
  if (name) name();

ErrMasterPtr CORE = nullptr;
ErrMasterPtr RES = nullptr;
ErrMasterPtr VGM = nullptr;
ErrMasterPtr TKIT = nullptr;
ErrMasterPtr GW = nullptr;

void __attribute__((weak)) APP_InitFirst() {}
void __attribute__((weak)) APP_InitLast() {}
void __attribute__((weak)) APP_Exit() {}

namespace {

struct Counters {
  Int installed = 0;
  Int loaded = 0;
};
Counters sCore, sRes, sVgm, sTkit, sGw;

// Loads one layer's library; a failure is announced on the standard
// output (when the layer has an announcement) and propagates.
void S_LoadLayerLib(const char* libName, const char* fileName, bool announce) {
  ErrTrace frame("Core", __FILE__, __LINE__);
  ERR_TryCleanup(
      frame, [&] { RLIB_LoadLibFile(libName, fileName); },
      [&] {
        if (announce) std::printf("ERROR:\tCannot load \"%s\" resource file\n", libName);
        std::fflush(stdout);
      });
}

// The widget layer's set-notify procedure: as the default one, except for
// an image button named "FlipPage", whose first procedure is kept and
// wrapped so that an uninitialised button still gets the resource default
// for message 0.
ResNfyCBack sFlipPageProc = nullptr;

long S_FlipPageNfy(ResPtr res, Int message, ClientPtr data) {
  long result = sFlipPageProc ? sFlipPageProc(res, message, data) : 0;
  if (!res->ResInitialized && message == RES_NFYINIT) RES_DefNfy(res, message, data);
  return result;
}

void S_TkitSetNfyProc(ResPtr res, ResNfyCBack proc, ClientPtr data) {
  RClasPtr ibut = RCLAS_FindByName("IBut");
  if (ibut && RCLAS_IsSubClassOf(res->ResClass, ibut) && std::strcmp(RES_GetName(res), "FlipPage") == 0) {
    if (!sFlipPageProc) sFlipPageProc = proc;
    proc = S_FlipPageNfy;
  }
  RES_DefSetNfyProcDS(res, proc, data);
}

}  // namespace

// --- Install ------------------------------------------------------------------

Int CORE_LibInstall() {
  Int previous = sCore.installed++;
  if (previous == 0) {
    CORE = ERR_Master();
    ERR_Init();
    OWB_CALL_ENTRY(PTR_Init)
    OWB_CALL_ENTRY(SYS_Init)
    OWB_CALL_ENTRY(SYS_TranslateInit)
    OWB_CALL_ENTRY(ArgsInit)
  }
  return previous;
}

Int RES_LibInstall() {
  CORE_LibInstall();
  Int previous = sRes.installed++;
  if (previous == 0) {
    RES = ERR_Master();
    if (!RES_GetSetNfyProc()) RES_SetSetNfyProc(RES_DefSetNfyProcDS);
    RES_SetResNfyDS(RES_QueryDefResNfy());
    RCLAS_StartupInit();
    BKNOT_Init();
    RLIB_Init();
    RES_InstallClass();
    RMOD_InstallClass();
    STRR_InstallClass();
    STRL_InstallClass();
  }
  return previous;
}

Int VGM_LibInstall() {
  TK_LinkedModuleCount();  // links the modules the entries below reach
  RES_LibInstall();
  Int previous = sVgm.installed++;
  if (previous == 0) {
    VGM = ERR_Master();
    OWB_VGM_INSTALL(OWB_CALL_ENTRY)
  }
  return previous;
}

Int TKIT_LibInstall() {
  VGM_LibInstall();
  Int previous = sTkit.installed++;
  if (previous == 0) {
    TKIT = ERR_Master();
    OWB_TKIT_INSTALL(OWB_CALL_ENTRY)
  }
  return previous;
}

Int GW_LibInstall() {
  TKIT_LibInstall();
  Int previous = sGw.installed++;
  if (previous == 0) {
    GW = ERR_Master();
    OWB_GW_INSTALL(OWB_CALL_ENTRY)
  }
  return previous;
}

// --- Load -----------------------------------------------------------------------

Int CORE_LibLoadInit() { return sCore.loaded++; }

Int RES_LibLoadInit() {
  Int previous = sRes.loaded;
  if (previous == 0) {
    S_LoadLayerLib("Core", "ndcore.dat", true);
    S_LoadLayerLib("ND", "nd.dat", true);
  }
  CORE_LibLoadInit();
  if (previous == 0) {
    S_LoadLayerLib("Res", "ndres.dat", true);
    ERR_ResIsReady();
  }
  sRes.loaded++;
  return previous;
}

Int VGM_LibLoadInit() {
  RES_LibLoadInit();
  Int previous = sVgm.loaded++;
  if (previous == 0) {
    S_LoadLayerLib("Vgm", "ndvgm.dat", true);
    if (DSPLY_Init) DSPLY_Init(0);
    OWB_VGM_LOAD_AFTER_DISPLAY(OWB_CALL_ENTRY)
  }
  return previous;
}

Int TKIT_LibLoadInit() {
  VGM_LibLoadInit();
  Int previous = sTkit.loaded++;
  if (previous == 0) {
    S_LoadLayerLib("TKit", "ndtkit.dat", true);
    OWB_TKIT_LOOKS(OWB_CALL_ENTRY)
    OWB_TKIT_INIT(OWB_CALL_ENTRY)
    OWB_CALL_ENTRY(DSPLY_UpdateLook)
    RES_SetSetNfyProc(S_TkitSetNfyProc);
  }
  return previous;
}

Int GW_LibLoadInit() {
  TKIT_LibLoadInit();
  Int previous = sGw.loaded++;
  if (previous == 0) {
    S_LoadLayerLib("Genwin", "ndgw.dat", false);
    OWB_GW_INIT(OWB_CALL_ENTRY)
  }
  return previous;
}

// --- Exit -------------------------------------------------------------------------

Int CORE_LibExit() {
  Int previous = sCore.loaded;
  if (sCore.loaded > 0 && --sCore.loaded == 0) OWB_CALL_ENTRY(SYS_TranslateExit)
  return previous;
}

namespace {
Int S_Exit(Counters& c, Int (*below)()) {
  Int previous = c.loaded;
  if (c.loaded > 0) --c.loaded;
  below();
  return previous;
}
}  // namespace

Int RES_LibExit() { return S_Exit(sRes, CORE_LibExit); }
Int VGM_LibExit() { return S_Exit(sVgm, RES_LibExit); }
Int TKIT_LibExit() { return S_Exit(sTkit, VGM_LibExit); }
Int GW_LibExit() { return S_Exit(sGw, TKIT_LibExit); }
