// The layers' install, load and exit chains.
#include "toolkit/app.h"

#include <unistd.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "toolkit/bknot.h"
#include "toolkit/classes.h"
#include "toolkit/dsply.h"
#include "toolkit/rclas.h"
#include "toolkit/res.h"
#include "toolkit/rlib.h"
#include "toolkit/strres.h"

// Entries of the core layer that a program may define.  Declared weak: a
// module that is not linked in leaves its entry null and the step is skipped.
// The classes of the higher layers are in the class table (classes.cpp).
#define OWB_WEAK_ENTRY(name) void name() __attribute__((weak));
#define OWB_CORE_ENTRIES(X) X(PTR_Init) X(SYS_Init) X(SYS_TranslateInit) X(ArgsInit) X(SYS_TranslateExit)
OWB_CORE_ENTRIES(OWB_WEAK_ENTRY)

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
  RES_LibInstall();
  Int previous = sVgm.installed++;
  if (previous == 0) {
    VGM = ERR_Master();
    TK_InstallLayer(TK_LAYER_VGM);
  }
  return previous;
}

Int TKIT_LibInstall() {
  VGM_LibInstall();
  Int previous = sTkit.installed++;
  if (previous == 0) {
    TKIT = ERR_Master();
    TK_InstallLayer(TK_LAYER_TKIT);
  }
  return previous;
}

Int GW_LibInstall() {
  TKIT_LibInstall();
  Int previous = sGw.installed++;
  if (previous == 0) {
    GW = ERR_Master();
    TK_InstallLayer(TK_LAYER_GW);
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
    DSPLY_Init(0);
    TK_InitLayer(TK_LAYER_VGM);
  }
  return previous;
}

Int TKIT_LibLoadInit() {
  VGM_LibLoadInit();
  Int previous = sTkit.loaded++;
  if (previous == 0) {
    S_LoadLayerLib("TKit", "ndtkit.dat", true);
    TK_InitLayer(TK_LAYER_TKIT);
    RES_SetSetNfyProc(S_TkitSetNfyProc);
  }
  return previous;
}

Int GW_LibLoadInit() {
  TKIT_LibLoadInit();
  Int previous = sGw.loaded++;
  if (previous == 0) {
    S_LoadLayerLib("Genwin", "ndgw.dat", false);
    TK_InitLayer(TK_LAYER_GW);
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

void APP_UseResourcesBesideProgram(const char* argv0) {
  if (std::getenv("ND_PATH")) return;
  char self[PATH_MAX];
  ssize_t n = readlink("/proc/self/exe", self, sizeof self - 1);
  std::string dir = n > 0 ? std::string(self, static_cast<size_t>(n)) : std::string(argv0 ? argv0 : "");
  dir = dir.substr(0, dir.rfind('/') + 1) + "resource";
  setenv("ND_PATH", dir.c_str(), 1);
}
