// Compiles any text as a resource library source, against the graphics and
// toolkit libraries compiled once from the project's own sources.  A source
// either compiles or fails with a "file:line: text" message; a library that
// compiles must dump back to text.
//
// Classes stay registered for the life of the process, so a class that an
// earlier input declared "exists already" for a later one: one more error
// path, not a fault.  The libraries an input loads are unloaded after it.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "fuzz/fuzz_support.h"
#include "toolkit/app.h"
#include "toolkit/rlib.h"
#include "tools/rescomp/rsrc.h"

namespace {

std::string readSource(const std::string& path) {
  std::string text;
  if (FILE* file = std::fopen(path.c_str(), "rb")) {
    char block[4096];
    size_t got;
    while ((got = std::fread(block, 1, sizeof block, file)) > 0) text.append(block, got);
    std::fclose(file);
  }
  return text;
}

void unloadAllBut(const std::vector<RLibPtr>& kept) {
  for (RLibPtr lib : RLIB_GetAll()) {
    bool keep = false;
    for (RLibPtr k : kept) keep = keep || k == lib;
    if (!keep) RLIB_Unload(lib);
  }
}

// The scratch directory, holding ndvgm.dat and ndtkit.dat, which is also
// the search path of imports.
const std::string& prepare() {
  static const std::string directory = [] {
    const std::string& scratch = fuzzsupport::scratchDirectory();
    setenv("ND_PATH", scratch.c_str(), 1);
    fuzzsupport::installResourcesSilently();
    std::vector<RLibPtr> before = RLIB_GetAll();
    for (const char* name : {"ndvgm", "ndtkit"}) {
      std::string source = readSource(std::string(OWB_FUZZ_SOURCE_DIR "/resources/") + name + ".rsrc");
      std::string error;
      if (!RSRC_Compile(name, source, scratch + "/" + name + ".dat", &error)) {
        std::fprintf(stderr, "cannot compile %s: %s\n", name, error.c_str());
        std::abort();
      }
      unloadAllBut(before);
    }
    return scratch;
  }();
  return directory;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string& scratch = prepare();
  const std::vector<RLibPtr> before = RLIB_GetAll();
  const std::string source(reinterpret_cast<const char*>(data), size);
  const std::string output = scratch + "/fuzz.dat";
  std::string error;
  bool compiled = RSRC_Compile("fuzz.rsrc", source, output, &error);
  if (!compiled && error.compare(0, 9, "fuzz.rsrc") != 0) std::abort();
  unloadAllBut(before);
  if (compiled) {
    std::string text;
    if (!RSRC_Dump(output, &text, &error)) std::abort();
    unloadAllBut(before);
  }
  return 0;
}
