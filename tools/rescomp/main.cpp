// rescomp: compiles resource library sources into `.dat` files and dumps
// `.dat` files back into source text.
//
//   rescomp [-I dir]... -o out.dat source.rsrc
//   rescomp [-I dir]... --dump lib.dat [-o out.rsrc]
//
// -I adds a directory to the search path for imported libraries.
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>

#include "toolkit/app.h"
#include "tools/rescomp/rsrc.h"
#include "tools/rescomp/rsrcreport.h"

namespace {

int usage() {
  std::fprintf(stderr,
               "usage: rescomp [-I dir]... -o out.dat source.rsrc\n"
               "       rescomp [-I dir]... --dump lib.dat [-o out.rsrc]\n");
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  std::string output, input, searchPath;
  bool dump = false;
  for (int i = 1; i < argc; ++i) {
    std::string arg = argv[i];
    if (arg == "-I" && i + 1 < argc) searchPath += (searchPath.empty() ? "" : ":") + std::string(argv[++i]);
    else if (arg == "-o" && i + 1 < argc) output = argv[++i];
    else if (arg == "--dump") dump = true;
    else if (!arg.empty() && arg[0] == '-') return usage();
    else if (input.empty()) input = arg;
    else return usage();
  }
  if (input.empty() || (!dump && output.empty())) return usage();
  if (const char* old = std::getenv("ND_PATH")) searchPath += (searchPath.empty() ? "" : ":") + std::string(old);
  setenv("ND_PATH", searchPath.empty() ? "." : searchPath.c_str(), 1);

  ERR_SetStream(stderr);
  RES_LibInstall();
  RSRC_InstallMessageTexts();
  std::string error;
  if (dump) {
    std::string text;
    if (!RSRC_Dump(input, &text, &error)) {
      std::fprintf(stderr, "rescomp: %s\n", RSRC_PrintableText(error).c_str());
      return 1;
    }
    if (output.empty()) {
      std::fputs(text.c_str(), stdout);
    } else {
      std::ofstream out(output, std::ios::binary);
      out << text;
      if (!out) {
        std::fprintf(stderr, "rescomp: cannot write %s\n", output.c_str());
        return 1;
      }
    }
    return 0;
  }
  std::ifstream in(input, std::ios::binary);
  if (!in) {
    std::fprintf(stderr, "rescomp: cannot read %s\n", input.c_str());
    return 1;
  }
  std::stringstream source;
  source << in.rdbuf();
  if (!RSRC_Compile(input, source.str(), output, &error)) {
    std::fprintf(stderr, "rescomp: %s\n", RSRC_PrintableText(error).c_str());
    return 1;
  }
  return 0;
}
