// Error frames, failures, reports and system exceptions.
#include "toolkit/err.h"

#include <csignal>
#include <cstdarg>
#include <cstdlib>
#include <cstring>

#include <unistd.h>

#include "toolkit/nfier.h"
#include "toolkit/str.h"

namespace {

_ErrMasterRec sMaster = {nullptr, 0, 0, 0, 0};
_ErrFrameRec sStaticFrame;
bool sBeenHere = false;
bool sTraceBackDone = false;
bool sResAvailable = false;
FILE* sStream = nullptr;
NfierPtr sNotifier = nullptr;

constexpr Int kLiteralSize = 1024;
constexpr Int kPrintfSize = 2048;
constexpr Int kReportTextSize = 256;  // a reported frame text: at most 255 characters
constexpr Int kContextLabelSize = 16;

// The system exception table.
struct SysExceptSlot {
  Int signal;
  ErrSysExceptProc handler;
};
constexpr Int kSysExceptSlots = 32;
SysExceptSlot sSysExcept[kSysExceptSlots] = {
    {2, ERR_SysException},  {4, ERR_SysException},  {8, ERR_SysException},
    {11, ERR_SysException}, {15, ERR_SysException}, {1, ERR_SysException},
    {3, ERR_SysException},  {5, ERR_SysException},  {7, ERR_SysException},
    {10, ERR_SysException}, {12, ERR_SysException}, {13, ERR_SysException},
    {14, ERR_SysException}};

// Signals recorded by the process-level handler, delivered later.
volatile sig_atomic_t sPending[65];

FILE* S_Stream() { return sStream ? sStream : stderr; }

const char* S_BaseName(const char* path) {
  const char* slash = std::strrchr(path, '/');
  return slash ? slash + 1 : path;
}

void S_Copy(char* buffer, Int size, const char* text) {
  if (size <= 0) return;
  std::snprintf(buffer, static_cast<size_t>(size), "%s", text ? text : "");
}

// --- The checked formatter -------------------------------------------------

void S_Append(std::string* out, const char* text) { out->append(text ? text : "(null)"); }

void S_FormatOne(std::string* out, const std::string& conversion, char conv, const ErrArg* arg) {
  char piece[512];
  if (!arg || arg->kind == ErrArg::kNone) {
    out->append("?");
    return;
  }
  if (std::strchr("diouxXc", conv)) {
    if (arg->kind != ErrArg::kInt) {
      if (arg->kind == ErrArg::kStr) S_Append(out, arg->s);
      else std::snprintf(piece, sizeof piece, "%g", arg->d), out->append(piece);
      return;
    }
    std::string f = conversion + (conv == 'c' ? "c" : std::string("ll") + conv);
    if (conv == 'c') std::snprintf(piece, sizeof piece, f.c_str(), static_cast<int>(arg->i));
    else std::snprintf(piece, sizeof piece, f.c_str(), arg->i);
  } else if (conv == 's') {
    if (arg->kind != ErrArg::kStr) {
      if (arg->kind == ErrArg::kInt) std::snprintf(piece, sizeof piece, "%lld", arg->i);
      else std::snprintf(piece, sizeof piece, "%g", arg->d);
      out->append(piece);
      return;
    }
    std::snprintf(piece, sizeof piece, (conversion + "s").c_str(), arg->s ? arg->s : "(null)");
  } else {  // e E f g G
    double v = arg->kind == ErrArg::kReal ? arg->d : static_cast<double>(arg->i);
    if (arg->kind == ErrArg::kStr) {
      S_Append(out, arg->s);
      return;
    }
    std::snprintf(piece, sizeof piece, (conversion + conv).c_str(), v);
  }
  out->append(piece);
}

// --- Frames ------------------------------------------------------------------

struct FailArgs {
  const ErrArg* args;
  Int count;
};

void S_FormatFailArgs(ErrFramePtr frame, char* buffer, Int size) {
  const FailArgs* a = static_cast<const FailArgs*>(frame->ClientData);
  ERR_FormatMsg(frame, buffer, size, a ? a->args : nullptr, a ? a->count : 0);
}

void S_FormatLiteral(ErrFramePtr frame, char* buffer, Int size) {
  S_Copy(buffer, size, static_cast<const char*>(frame->ClientData));
}

void S_FormatOptInt(ErrFramePtr frame, char* buffer, Int size) {
  ErrArg arg(static_cast<long>(reinterpret_cast<intptr_t>(frame->ClientData)));
  ERR_FormatMsg(frame, buffer, size, &arg, 1);
}

void S_FormatOptStr(ErrFramePtr frame, char* buffer, Int size) {
  ErrArg arg(static_cast<const char*>(frame->ClientData));
  ERR_FormatMsg(frame, buffer, size, &arg, 1);
}

void S_FormatException(ErrFramePtr frame, char* buffer, Int size) {
  Int signal = static_cast<Int>(reinterpret_cast<intptr_t>(frame->ClientData));
  const char* text = STR_FindNthStr("Err", "Exceptions", signal);
  S_Copy(buffer, size, text ? text : "Unknown exception");
}

void S_ReportSilent(ErrFramePtr, Int) {}

void S_FillFrame(ErrFramePtr f, const char* module, const char* file, Int line) {
  f->Next = sMaster.Top;
  f->Env = nullptr;
  f->Failed = 0;
  f->File = file;
  f->Line = line;
  f->Module = module;
  f->Id = -1;
  f->Type = 0;
  f->FormatProc = nullptr;
  f->ReportProc = nullptr;
  f->ClientData = nullptr;
}

// The nearest report procedure on the stack, or null.
ErrReportProc S_NearestReport() {
  for (ErrFramePtr f = sMaster.Top; f; f = f->Next)
    if (f->ReportProc) return f->ReportProc;
  return nullptr;
}

// Raises a failure from a frame the caller has filled: it catches its own
// jump first, so that after the report it propagates or, if the report
// procedure recovered, returns.
void S_RaiseFailure(ErrTrace& frame) {
  try {
    frame.catching();
    ERR_Signal(kErrSoftwareCode, ERR_SEVFAILURE, 1);
  } catch (const ErrJump& jump) {
    if (!frame.caught(jump)) throw;
    frame.endCatch();
  }
}

void S_RaiseWarning() { ERR_Signal(kErrSoftwareCode, ERR_SEVWARNING, 1); }

void S_Quit(Int mode, Int signal) {
  if (sMaster.Severity >= ERR_SEVFAILURE) ERR_Exit("Interrupt during error recovery");
  if (sMaster.InterruptState != 0) {
    sMaster.InterruptState = mode;
    if (mode == 1) ERR_Fail("Err", kErrFailInterrupt);
    else ERR_Fail("Err", kErrFailTerminate);
  } else {
    sMaster.InterruptState = mode;
    if (sMaster.InterruptAllowed == 1) ERR_Signal(signal, ERR_SEVINTERRUPT, 0);
  }
  sMaster.Severity = 0;
}

bool S_IsFault(int sig) {
  return sig == SIGILL || sig == SIGFPE || sig == SIGSEGV || sig == SIGBUS || sig == SIGTRAP ||
         sig == SIGSYS;
}

void S_OsSignal(int sig) {
  if (S_IsFault(sig)) {
    ErrSysExceptProc handler = ERR_GetSysExceptHandler(sig);
    if (handler && handler != ERR_SysException) {
      handler(sig);
      return;
    }
    // Unwinding out of a fault is not safe: report and end as a failure
    // that nobody catches.
    ERR_TraceBack();
    ERR_Printf("EXCEPTION #%d\n", sig);
    ERR_Exit("cannot recover from error");
  }
  if (sig > 0 && sig < 65) sPending[sig] = 1;
}

void S_Arm(Int signal) {
  if (signal > 0 && signal < 65) std::signal(signal, S_OsSignal);
}

}  // namespace

// --- Formatting --------------------------------------------------------------

void ERR_FormatArgs(char* buffer, Int size, const char* format, const ErrArg* args, Int count) {
  if (size <= 0) return;
  std::string out;
  Int next = 0;
  const char* p = format ? format : "";
  while (*p && out.size() < static_cast<size_t>(size)) {
    if (*p != '%') {
      out.push_back(*p++);
      continue;
    }
    ++p;
    if (*p == '%') {
      out.push_back('%');
      ++p;
      continue;
    }
    std::string conversion = "%";
    while (*p && std::strchr("-+ #0", *p) && conversion.size() < 8) conversion.push_back(*p++);
    for (int digits = 0; *p >= '0' && *p <= '9'; ++p)
      if (++digits <= 3) conversion.push_back(*p);
    if (*p == '.') {
      conversion.push_back(*p++);
      for (int digits = 0; *p >= '0' && *p <= '9'; ++p)
        if (++digits <= 3) conversion.push_back(*p);
    }
    while (*p && std::strchr("hlLqjzt", *p)) ++p;
    char conv = *p;
    if (!conv) break;
    ++p;
    if (!std::strchr("diouxXcseEfgG", conv)) {
      out.push_back('?');  // %n, %p, '*' and unknown conversions are not honoured
      continue;
    }
    const ErrArg* arg = next < count ? &args[next] : nullptr;
    ++next;
    S_FormatOne(&out, conversion, conv, arg);
  }
  S_Copy(buffer, size, out.c_str());
}

// --- ErrTrace ----------------------------------------------------------------

ErrTrace::ErrTrace(const char* module, const char* file, Int line) {
  S_FillFrame(&rec_, module, file, line);
  sMaster.Top = &rec_;
}

ErrTrace::~ErrTrace() {
  if (sMaster.Top == &rec_) sMaster.Top = rec_.Next;
}

bool ErrTrace::caught(const ErrJump& jump) {
  if (jump.Target != &rec_) return false;
  ERR_Catched(&rec_, jump.Code);
  return true;
}

void ErrTrace::endCatch() {
  if (rec_.Failed) ERR_Propagate();
}

bool ERR_TryRecover(ErrTrace& frame, void (*body)(ClientPtr), ClientPtr data) {
  bool ok = true;
  try {
    frame.catching();
    body(data);
  } catch (const ErrJump& jump) {
    if (!frame.caught(jump)) throw;
    ERR_Recover(frame.rec());
    ok = false;
  }
  return ok;
}

// --- Master and start-up -----------------------------------------------------

ErrMasterPtr ERR_Master() { return &sMaster; }

void ERR_Init() {
  if (sBeenHere) return;
  sBeenHere = true;
  std::memset(&sStaticFrame, 0, sizeof sStaticFrame);
  sStaticFrame.File = "err";
  sStaticFrame.Line = 1489;
  sStaticFrame.Module = "Err";
  sStaticFrame.Id = -1;
  sStaticFrame.ReportProc = ERR_Print;
  sMaster.Top = &sStaticFrame;
  for (const SysExceptSlot& slot : sSysExcept)
    if (slot.signal != 0 && slot.handler) S_Arm(slot.signal);
}

// --- Failures ----------------------------------------------------------------

void ERR_FailArgs(const char* module, Int id, const ErrArg* args, Int count) {
  ErrTrace frame(module, __FILE__, __LINE__);
  FailArgs a{args, count};
  frame.rec()->Id = id;
  frame.rec()->Type = kErrTypeError;
  frame.rec()->FormatProc = S_FormatFailArgs;
  frame.rec()->ClientData = &a;
  S_RaiseFailure(frame);
}

void ERR_WarnArgs(const char* module, Int id, const ErrArg* args, Int count) {
  ErrTrace frame(module, __FILE__, __LINE__);
  FailArgs a{args, count};
  frame.rec()->Id = id;
  frame.rec()->Type = kErrTypeWarning;
  frame.rec()->FormatProc = S_FormatFailArgs;
  frame.rec()->ClientData = &a;
  S_RaiseWarning();
}

namespace {
void S_LiteralFrame(ErrTrace& frame, char* text) {
  frame.rec()->Type = kErrTypeError;
  frame.rec()->FormatProc = S_FormatLiteral;
  frame.rec()->ClientData = text;
}
}  // namespace

void ERR_FailStr(const char* format, ...) {
  char text[kLiteralSize];
  va_list ap;
  va_start(ap, format);
  std::vsnprintf(text, sizeof text, format, ap);
  va_end(ap);
  ErrTrace frame("Err", __FILE__, __LINE__);
  S_LiteralFrame(frame, text);
  S_RaiseFailure(frame);
}

void ERR_WarnStr(const char* format, ...) {
  char text[kLiteralSize];
  va_list ap;
  va_start(ap, format);
  std::vsnprintf(text, sizeof text, format, ap);
  va_end(ap);
  ErrTrace frame("Err", __FILE__, __LINE__);
  S_LiteralFrame(frame, text);
  frame.rec()->Type = kErrTypeWarning;
  S_RaiseWarning();
}

void ERR_FailSilent() {
  ErrTrace frame("Err", __FILE__, __LINE__);
  frame.rec()->ReportProc = S_ReportSilent;
  S_RaiseFailure(frame);
}

void ERR_FailAssert(const char* expr, const char* file, Int line) {
  ErrArg args[] = {ErrArg(expr ? expr : "?"), ErrArg(file), ErrArg(line)};
  ErrTrace frame("Err", __FILE__, __LINE__);
  FailArgs a{args, 3};
  frame.rec()->Id = kErrFailAssert;
  frame.rec()->Type = kErrTypeError;
  frame.rec()->FormatProc = S_FormatFailArgs;
  frame.rec()->ClientData = &a;
  if (S_NearestReport() == S_ReportSilent) frame.rec()->ReportProc = ERR_Print;
  S_RaiseFailure(frame);
}

void ERR_FailError(const char* a, const char* b) {
  ErrArg args[] = {ErrArg(a), ErrArg(b)};
  ErrTrace frame("Err", __FILE__, __LINE__);
  FailArgs fa{args, 2};
  frame.rec()->Id = kErrFailError;
  frame.rec()->Type = kErrTypeError;
  frame.rec()->FormatProc = S_FormatFailArgs;
  frame.rec()->ClientData = &fa;
  if (S_NearestReport() == S_ReportSilent) frame.rec()->ReportProc = ERR_Print;
  S_RaiseFailure(frame);
}

void ERR_WarnNiy(const char* a, const char* b) { ERR_Warn("Err", kErrWarnNiy, a, b); }

std::string ERR_GetFuncCallErrMsg(const char* funcName, long code, const char* extra) {
  char number[32];
  std::snprintf(number, sizeof number, "%ld", code);
  std::string text = "Error calling ";
  text += funcName ? funcName : "";
  text += extra ? extra : "";
  text += "\nReturned error code ";
  text += number;
  return text;
}

void ERR_FailFuncCall(const char* funcName, long code, const char* extra) {
  ERR_FailStr("%s", ERR_GetFuncCallErrMsg(funcName, code, extra).c_str());
}

void ERR_WarnFuncCall(const char* funcName, long code, const char* extra) {
  ERR_WarnStr("%s", ERR_GetFuncCallErrMsg(funcName, code, extra).c_str());
}

// --- Signalling --------------------------------------------------------------

void ERR_Signal(Int code, Int severity, Int report) {
  if (severity >= ERR_SEVFAILURE && sMaster.Severity >= ERR_SEVFAILURE) {
    ERR_TraceBack();
    ERR_Fatal("Failure during error recovery");
  }
  if (severity != 0) {
    if (sMaster.Severity >= severity) return;
    sMaster.Severity = severity;
  }
  if (report == 1) {
    ErrFramePtr f = sMaster.Top;
    while (f && !f->ReportProc) f = f->Next;
    if (f) f->ReportProc(f, severity);
    else ERR_TraceBack();
  }
  if (severity == 0 && report == 1) {
    sTraceBackDone = false;
    return;
  }
  if (severity == ERR_SEVMESSAGE || severity == ERR_SEVWARNING) {
    sMaster.Severity = 0;
    return;
  }
  ErrFramePtr target = sMaster.Top;
  while (target && !target->Env) target = target->Next;
  if (!target) {
    if (severity == ERR_SEVEXCEPTION) {
      ERR_TraceBack();
      ERR_Printf("EXCEPTION #%d\n", code);
    }
    ERR_Exit("cannot recover from error");
  }
  if (code != kErrSoftwareCode && !(target->Type & kErrTypeNoTraceback)) ERR_TraceBack();
  sMaster.Jumping = 1;
  sMaster.Top = target;
  throw ErrJump{code, target};
}

void ERR_Propagate() { ERR_Signal(kErrSoftwareCode, 0, 0); }

void ERR_Recover(ErrFramePtr frame) {
  frame->Failed = 0;
  sMaster.Severity = 0;
  sMaster.InterruptState = 0;
  sMaster.InterruptAllowed = 0;
  sMaster.Jumping = 0;
}

void ERR_Catched(ErrFramePtr frame, Int code) {
  frame->Failed = 1;
  frame->Env = nullptr;
  if (code == kErrSoftwareCode) return;
  // A system signal reached this frame: report its exception once more,
  // without a second traceback.
  ErrTrace exception("Err", __FILE__, __LINE__);
  exception.rec()->Id = kErrFailException;
  exception.rec()->Type = kErrTypeError;
  exception.rec()->FormatProc = S_FormatException;
  exception.rec()->ClientData = reinterpret_cast<ClientPtr>(static_cast<intptr_t>(code));
  sTraceBackDone = true;
  ERR_Signal(code, 0, 1);
}

BoolEnum ERR_InError() { return sMaster.Severity >= ERR_SEVFAILURE; }

Int ERR_GetSeverity() { return sMaster.Severity; }

void ERR_SetInterruptAllowed(Int allowed) { sMaster.InterruptAllowed = allowed; }

// --- Messages and reports ----------------------------------------------------

void ERR_LoadMsg(ErrFramePtr frame, char* buffer, Int size) {
  if (size <= 0) return;
  buffer[0] = 0;
  if (frame->Id < 0) return;
  static const char* const kLists[] = {"Messages", "Warnings", "Errors"};
  Int list = frame->Type & 15;
  const char* text = list < 3 && frame->Module
                         ? STR_FindNthStr(frame->Module, kLists[list], frame->Id)
                         : nullptr;
  S_Copy(buffer, size, text ? text : "Unknown error");
}

void ERR_FormatMsg(ErrFramePtr frame, char* buffer, Int size, const ErrArg* args, Int count) {
  if (size <= 0) return;
  char message[kLiteralSize];
  ERR_LoadMsg(frame, message, sizeof message);
  ERR_FormatArgs(buffer, size, message, args, count);
}

void ERR_Format(ErrFramePtr frame, char* buffer, Int size) {
  if (size <= 0) return;
  buffer[0] = 0;
  if (frame->FormatProc) frame->FormatProc(frame, buffer, size);
  else if (frame->Id >= 0) ERR_LoadMsg(frame, buffer, size);
}

void ERR_Printf(const char* format, ...) {
  char text[kPrintfSize];
  va_list ap;
  va_start(ap, format);
  std::vsnprintf(text, sizeof text, format, ap);
  va_end(ap);
  std::fputs(text, S_Stream());
  std::fflush(S_Stream());
}

void ERR_SetStream(FILE* stream) { sStream = stream; }

FILE* ERR_GetStream() { return S_Stream(); }

void ERR_TraceBack() {
  if (sTraceBackDone) {
    sTraceBackDone = false;
    return;
  }
  ERR_Printf("\n------------------- TRACEBACK -------------------------\n");
  for (ErrFramePtr f = sMaster.Top; f; f = f->Next) {
    if (!f->File) ERR_Fatal("Error frame corrupted: file == NULL");
    if (!f->Module) ERR_Fatal("Error frame corrupted: module == NULL");
    if (f->Id < -1 || f->Id > 1000) ERR_Fatal("Error frame corrupted: unrealistic id");
    if ((f->Type & 15) >= 3) ERR_Fatal("Error frame corrupted: invalid type");
    ERR_Printf("Module \"%-5s\" Message %3d: file \"%-10s\" line %d\n", f->Module, f->Id,
               S_BaseName(f->File), f->Line);
  }
  ERR_Printf("-------------------------------------------------------\n");
  std::fflush(stdout);
}

void ERR_Print(ErrFramePtr, Int severity) {
  ErrFramePtr top = sMaster.Top;
  if (!top) return;
  if (!ERR_IsResReady()) {
    ERR_TraceBack();
    ERR_Printf("Error (nd.dat, ndcore.dat or ndres.dat not loaded yet).");
    if (top->FormatProc == S_FormatLiteral)
      ERR_Printf("Severity = %d\t%s\n", severity, static_cast<const char*>(top->ClientData));
    ERR_Printf("\nCheck the ND_PATH environment variable.\n");
    return;
  }
  if (severity != ERR_SEVWARNING) ERR_TraceBack();
  const char* sevText = STR_FindNthStr("Err", "Severities", severity);
  char text[kReportTextSize];
  ERR_Format(top, text, sizeof text);
  ERR_Printf("\n%-16s%s\n", sevText ? sevText : "UNKNOWN", text);
  char label[kContextLabelSize + 1];
  S_Copy(label, sizeof label, STR_LoadStr("Err", "Context"));
  for (ErrFramePtr f = top->Next; f; f = f->Next) {
    ERR_Format(f, text, sizeof text);
    if (!text[0]) continue;
    ERR_Printf("%-16s%s\n", label, text);
    label[0] = 0;
  }
}

void ERR_SetOpt(ErrFramePtr frame, ErrFormatProc proc, ClientPtr data) {
  frame->ClientData = data;
  frame->FormatProc = proc;
}

void ERR_SetOptInt(ErrFramePtr frame, long value) {
  ERR_SetOpt(frame, S_FormatOptInt, reinterpret_cast<ClientPtr>(static_cast<intptr_t>(value)));
}

void ERR_SetOptStr(ErrFramePtr frame, const char* value) {
  ERR_SetOpt(frame, S_FormatOptStr, const_cast<char*>(value));
}

void ERR_SetOptVStr(ErrFramePtr frame, VStrPtr value) { ERR_SetOptStr(frame, value); }

void ERR_SetReportPrint(ErrFramePtr frame) { frame->ReportProc = ERR_Print; }

void ERR_SetReportSilent(ErrFramePtr frame) { frame->ReportProc = S_ReportSilent; }

// --- Fatal and exit ----------------------------------------------------------

_NfierRec* ERR_Notifier() {
  if (!sNotifier) sNotifier = NFIER_New();
  return sNotifier;
}

void ERR_ModExit() { NFIER_Broadcast(sNotifier, 0, nullptr); }

void ERR_Fatal(const char* text) {
  if (sNotifier) NFIER_Broadcast(sNotifier, 1, nullptr);
  if (text) ERR_Printf("FATAL ERROR     %s\n", text);
  else ERR_Printf("FATAL ERROR     Unknown error");
  std::signal(SIGABRT, SIG_DFL);
  kill(getpid(), SIGABRT);
  std::abort();
}

void ERR_Exit(const char* text) {
  ERR_ModExit();
  if (text) ERR_Printf("EXITING         %s\n", text);
  else ERR_Printf("EXITING         Unknown error");
  std::exit(2);
}

void ERR_FatalIn() {
  if (sMaster.Top != &sStaticFrame)
    ERR_Fatal("Bad error frame on entry.\nCheck for missing ERR_TRACEOUT or ERR_TRACERET.");
}

void ERR_FatalOut() {
  if (sMaster.Top != &sStaticFrame)
    ERR_Fatal("Bad error frame on exit.\nCheck for missing ERR_TRACEOUT or ERR_TRACERET.");
}

// --- System exceptions -------------------------------------------------------

BoolEnum ERR_SetSysExceptHandler(Int signal, ErrSysExceptProc handler) {
  SysExceptSlot* slot = nullptr;
  for (SysExceptSlot& s : sSysExcept)
    if (s.signal == signal) {
      slot = &s;
      break;
    }
  BoolEnum found = slot != nullptr;
  if (!slot)
    for (SysExceptSlot& s : sSysExcept)
      if (s.signal == 0) {
        slot = &s;
        break;
      }
  if (!slot) ERR_Fatal("system exception table is full");
  slot->signal = signal;
  slot->handler = handler;
  if (handler && sBeenHere) S_Arm(signal);
  return found;
}

ErrSysExceptProc ERR_GetSysExceptHandler(Int signal) {
  for (const SysExceptSlot& s : sSysExcept)
    if (s.signal == signal) return s.handler;
  return nullptr;
}

void ERR_SysException(Int signal) {
  ErrTrace frame("Err", __FILE__, __LINE__);
  frame.rec()->Id = kErrFailException;
  frame.rec()->Type = kErrTypeError;
  frame.rec()->FormatProc = S_FormatException;
  frame.rec()->ClientData = reinterpret_cast<ClientPtr>(static_cast<intptr_t>(signal));
  if (ERR_GetSysExceptHandler(signal)) S_Arm(signal);
  if (signal == SIGINT) S_Quit(1, signal);
  else if (signal == SIGQUIT || signal == SIGTERM) S_Quit(2, signal);
  else ERR_Signal(signal, ERR_SEVEXCEPTION, 0);
}

void ERR_DispatchSignals() {
  for (Int sig = 1; sig < 65; ++sig) {
    if (!sPending[sig]) continue;
    sPending[sig] = 0;
    ErrSysExceptProc handler = ERR_GetSysExceptHandler(sig);
    if (handler) handler(sig);
  }
}

BoolEnum ERR_IsResReady() { return sResAvailable; }

void ERR_ResIsReady() { sResAvailable = true; }
