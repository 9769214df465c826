// The resource compiler: a readable text form of resource libraries,
// compiled into a `.dat` through the library's own save code, and the dump
// of a library back into the same text.  The text form is described in
// docs/resource-text.md.
#ifndef OWB_TOOLS_RESCOMP_RSRC_H
#define OWB_TOOLS_RESCOMP_RSRC_H

#include <string>

// Compiles `source` (the text of file `sourceName`) into a new library
// file `outPath`.  Libraries named by `import` are found through the search
// path (ND_PATH).  On failure gives false and a message "file:line: text".
bool RSRC_Compile(const std::string& sourceName, const std::string& source, const std::string& outPath,
                  std::string* error);

// Loads the library in `datPath` and writes its text form.
bool RSRC_Dump(const std::string& datPath, std::string* text, std::string* error);

#endif  // OWB_TOOLS_RESCOMP_RSRC_H
