// Fuzz target: read a class definition in its text form from untrusted
// bytes.  Any input must register a class or fail through the error
// frames; a class that was made is written out, read back the same, and
// removed again.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "fuzz/fuzz_support.h"
#include "toolkit/app.h"
#include "toolkit/rclas.h"
#include "toolkit/res.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzzsupport::installResourcesSilently();
  std::string text(reinterpret_cast<const char*>(data), size);
  ErrTrace frame("Err", __FILE__, __LINE__);
  ERR_SetReportSilent(frame.rec());
  RClasPtr cls = nullptr;
  ERR_TryRecoverFn(frame, [&] { cls = RCLAS_ParseCompile(text.c_str()); });
  if (cls) {
    std::string out = RCLAS_ParseOutput(cls);
    RCLAS_Dispose(cls);
    RClasPtr again = RCLAS_ParseCompile(out.c_str());
    if (RCLAS_ParseOutput(again) != out) std::abort();
    RCLAS_Dispose(again);
  }
  return 0;
}
