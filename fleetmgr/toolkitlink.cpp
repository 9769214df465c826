// The toolkit's start-up, resources and events as the tool uses them.
#include "fleetmgr/toolkitlink.h"

#include <cstdio>

#include "shared/globals.h"
#include "shared/log.h"
#include "toolkit/app.h"
#include "toolkit/err.h"
#if __has_include("toolkit/event.h")
#include "toolkit/event.h"
#define OWB_HAVE_EVENT_SYSTEM 1
#endif
#include "toolkit/res.h"
#include "toolkit/rlib.h"

// The tool's entry in the toolkit's error scheme.
ErrMasterPtr FLEETMGR = nullptr;

namespace {

const char* const S_ModuleName = "fleetmgr";
bool sWindowSystemReady = false;

}  // namespace

bool startWindowSystem() {
  FLEETMGR = ERR_Master();
  ERR_Init();
  APP_InitFirst();
  ErrTrace frame(S_ModuleName, __FILE__, __LINE__);
  sWindowSystemReady = ERR_TryRecoverFn(frame, [] {
    GW_LibInstall();
    GW_LibLoadInit();
  });
  APP_InitLast();
  if (!sWindowSystemReady)
    std::fprintf(stderr, "fleetmgr: the window system could not be started; no window can be shown\n");
  return sWindowSystemReady;
}

bool windowSystemReady() { return sWindowSystemReady; }

void stopWindowSystem() {
  GW_LibExit();
  APP_Exit();
  sWindowSystemReady = false;
}

bool loadToolResourceLibrary(const char* libraryName, const char* resourceFile) {
  // Without the toolkit's own libraries no other library can be read.
  if (!sWindowSystemReady) return false;
  char path[2048];
  std::snprintf(path, sizeof path, "%s%s", gResourcesDirectory, resourceFile);
  ErrTrace frame(S_ModuleName, __FILE__, __LINE__);
  bool loaded = ERR_TryRecoverFn(frame, [&] { RLIB_LoadLibFile(libraryName, path); });
  if (!loaded) OWB_LOG("Could not load resource library " << libraryName << " from " << path);
  return loaded;
}

void* loadToolIcon() {
  ResPtr icon = nullptr;
  if (!sWindowSystemReady) return nullptr;
  ErrTrace frame(S_ModuleName, __FILE__, __LINE__);
  if (!ERR_TryRecoverFn(frame, [&] { icon = RES_LoadInit("shared", "fleetmgr"); }))
    OWB_LOG("Could not load the icon fleetmgr of the shared resources");
  return icon;
}

// The toolkit's event system comes as a module of its own; a build without
// it has no window events to serve, and this is the one place that says so.
void serveWindowEvents() {
  if (!sWindowSystemReady) return;
#ifdef OWB_HAVE_EVENT_SYSTEM
  EVENT_ProcessPending();
  EVENT_UpdateCursor();
#endif
}
