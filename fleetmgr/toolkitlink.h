// The tool's use of the widget toolkit at its top level: start-up and
// end, its resource libraries and icon, and one turn of window events.
//
// The toolkit reports its own failures.  A start-up that fails (no display,
// or the toolkit's resource libraries missing from the installation) leaves
// the window system down: the tool then still serves the Tool Manager, its
// alerts go to the console, and the loop has no window events to serve.
#ifndef OWB_FLEETMGR_TOOLKITLINK_H
#define OWB_FLEETMGR_TOOLKITLINK_H

// ERR_Master (kept as the tool's error module), ERR_Init, APP_InitFirst,
// GW_LibInstall, GW_LibLoadInit, APP_InitLast.  False when the chain
// failed; the toolkit has then said why.
bool startWindowSystem();
// True once startWindowSystem succeeded.
bool windowSystemReady();
// GW_LibExit, APP_Exit.
void stopWindowSystem();

// Loads <resources directory>/<resourceFile> as the resource library
// libraryName.  False (logged) when it can't be loaded, and at once when
// the window system is down.
bool loadToolResourceLibrary(const char* libraryName, const char* resourceFile);
// The tool's icon, "fleetmgr" of the "shared" library; null when missing
// or when the window system is down.
void* loadToolIcon();

// EVENT_ProcessPending and EVENT_UpdateCursor, when the window system is up.
void serveWindowEvents();

#endif  // OWB_FLEETMGR_TOOLKITLINK_H
