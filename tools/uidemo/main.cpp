// Shows the windows of the shared window side: the alerts and the file
// picker.
//
//   uidemo alert critical|question|warning|info [--png FILE]
//   uidemo picker [DIRECTORY] [--png FILE]
//
// With --png the window is saved as a PNG file once it is drawn, and the
// program ends.  Resource libraries are found in the resource folder next
// to this program ($OWB/bin/resource) unless ND_PATH names another.
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "shared/alert.h"
#include "shared/globals.h"
#include "shared/ui/alertwin.h"
#include "shared/ui/filepick.h"
#include "shared/ui/uiglobals.h"
#include "shared/ui/resources.h"
#include "toolkit/app.h"
#include "toolkit/dsply.h"
#include "toolkit/err.h"
#include "toolkit/event.h"
#include "toolkit/rlib.h"

namespace {

const char* gPng = nullptr;
bool gSaved = false;
// The window to save: asked for again on each turn, since a modal window
// is made inside the call that runs it.
WinPtr (*gWindowToSave)() = nullptr;

void setResourcePath(const char* argv0) {
  char self[PATH_MAX];
  ssize_t n = readlink("/proc/self/exe", self, sizeof self - 1);
  std::string dir = n > 0 ? std::string(self, static_cast<size_t>(n)) : std::string(argv0);
  dir = dir.substr(0, dir.rfind('/') + 1) + "resource";
  if (!std::getenv("ND_PATH")) setenv("ND_PATH", dir.c_str(), 1);
  std::snprintf(gResourcesDirectory, sizeof gResourcesDirectory, "%s/", std::getenv("ND_PATH"));
}

// Saves the window once it is open and drawn, then ends its modal run.
void saveWhenDrawn(ClientPtr) {
  WinPtr win = gWindowToSave ? gWindowToSave() : nullptr;
  if (!win || !WIN_IsOpen(win) || EVENT_IsInvalPending()) {
    EVENT_StartCBackAlarmDS(saveWhenDrawn, nullptr, 50);
    return;
  }
  DSPLY_Sync();
  gSaved = WIN_SaveAsPng(win, gPng);
  if (!gSaved) std::fprintf(stderr, "uidemo: %s\n", DSPLY_GetLastError());
  WIN_ModalReturn(win, 0);
}

int usage() {
  std::fprintf(stderr,
               "usage: uidemo alert critical|question|warning|info [--png FILE]\n"
               "       uidemo picker [DIRECTORY] [--png FILE]\n");
  return 2;
}

long showAlert(const char* kind) {
  const char* kinds[] = {"critical", "question", "warning", "info"};
  for (long type = 0; type < 4; type++) {
    if (std::strcmp(kind, kinds[type]) != 0) continue;
    switch (type) {
      case kAlertCritical:
        return displayAlertWindow("Unable to complete that operation because the symbol file is missing or invalid.",
                                  type, nullptr, nullptr, nullptr, nullptr, FALSE, nullptr);
      case kAlertQuestion:
        return displayAlertWindow("Are you sure you want to replace demo.flt?", type, "Replace existing file?",
                                  "Replace", "Cancel", nullptr, FALSE, nullptr);
      case kAlertWarning:
        return displayAlertWindow("Found /home/user/fleets/demo/demo.flt", type, "Find", "Select", "Continue",
                                  "Cancel", FALSE, nullptr);
      default:
        return displayAlertWindow("Fleet processes started", type, "Fleet Manager", nullptr, nullptr, nullptr,
                                  FALSE, nullptr);
    }
  }
  return -1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return usage();
  std::string what = argv[1];
  const char* argument = nullptr;
  for (int i = 2; i < argc; i++) {
    if (std::strcmp(argv[i], "--png") == 0 && i + 1 < argc) gPng = argv[++i];
    else if (!argument) argument = argv[i];
    else return usage();
  }
  if (what != "alert" && what != "picker") return usage();
  if (what == "alert" && !argument) return usage();

  setResourcePath(argv[0]);
  ERR_Init();
  GW_LibInstall();
  GW_LibLoadInit();
  if (!DSPLY_IsOpen()) {
    std::fprintf(stderr, "uidemo: %s\n", DSPLY_GetLastError());
    return 1;
  }
  loadSharedDrawingObjects();
  installAlertWindow();

  long answer = 0;
  if (gPng) EVENT_StartCBackAlarmDS(saveWhenDrawn, nullptr, 50);
  if (what == "alert") {
    gWindowToSave = ALRTW_GetWin;
    answer = showAlert(argument);
    if (answer < 0) return usage();
    if (!gPng) std::printf("%ld\n", answer);
  } else {
    if (argument && chdir(argument) != 0) {
      std::fprintf(stderr, "uidemo: cannot enter %s\n", argument);
      return 1;
    }
    gWindowToSave = FPICK_GetWin;
    fileNameType chosen;
    if (chooseFile(kDisplayFilesAndComponents, chosen, "Choose a fleet file", nullptr, "*.flt;*.cfg", TRUE, FALSE) &&
        !gPng)
      std::printf("%s\n", chosen);
  }
  GW_LibExit();
  return gPng && !gSaved ? 1 : 0;
}
