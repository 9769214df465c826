// Booting one engine and starting the external processes of its
// configuration.
//
// An engine's persistent state is <fleetDir>/<engLabel>/db.  A cold boot
// ensures that directory and gives the engine `-b $OWB/lib/boot.s`; a warm
// boot requires it and gives `$OWB/lib/restart.s`.  Either way the
// engine's external processes (`!` and `&` lines of its startup.cfg) that
// are not running are started first, then the engine itself, in a
// terminal, as
//   $OWB/bin/eng -s db -f <engOptions> -o - <boot argument>
// in the engine's directory, unless it runs already.  Failures are
// reported to the user and give false; nothing started is undone.
#ifndef OWB_FLEET_ENG_UTIL_H
#define OWB_FLEET_ENG_UTIL_H

#include <cstddef>
#include <string>

#include "fleet/configitem.h"
#include "owbtypes.h"

// The most `@` settings handed to one engine.
constexpr int kMaxEngineEnvirons = 128;
// Room for one expanded external command, terminator included.
constexpr size_t kExpandedCommandSize = 2048;

OWBboolean coldBootEngine(const char* fleetDir, const char* engOptions, const char* engLabel, char** programEnv);
OWBboolean warmBootEngine(const char* fleetDir, const char* engOptions, const char* engLabel, char** programEnv);
OWBboolean doBootEngine(const char* fleetDir, const char* engOptions, const char* engLabel, const char* bootScript,
                        char** programEnv);

// True when <fleetDir>/<engLabel>/db opens as a directory (an empty one
// counts).
OWBboolean engineHasDB(const char* fleetDir, const char* engLabel);

// Reads the engine's configuration and starts its external processes that
// are not running: all of them when specificProcess is null, else only the
// one of that label (any case).
OWBboolean startExternalProcesses(const char* fleetDir, const char* engLabel, char** programEnv,
                                  const char* specificProcess);

// Walks configOptions in order, stopping at the first failure: `@`
// settings gather into the environment of the externals that follow them,
// and each external that is wanted and not running is expanded and started
// (in a terminal for `!`, in the background for `&`).
OWBboolean startExternalsFromConfig(const char* fleetDir, const char* engLabel, configItem* configOptions,
                                    char** programEnv, const char* specificProcess);

// Expands each `$name` of command (the name ends at white space, a
// punctuation character or the end) from the records of configOptions
// that stand before stopAt (the last record with that label and a value
// wins; externals are passed over), or else from the environment.  The
// result, cut at kExpandedCommandSize - 1 characters, goes into expanded.
// On an unknown name returns false with *missingName set to "$name".
bool expandExternalCommand(const char* command, configItem* configOptions, configItem* stopAt,
                           std::string* expanded, std::string* missingName);

// The working directory of an expanded command: its first word up to the
// last `/`, or "" when the word has none.
std::string commandDirectory(const std::string& expandedCommand);

#endif  // OWB_FLEET_ENG_UTIL_H
