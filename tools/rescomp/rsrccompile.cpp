// Compiling the text form into a library.
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <vector>

#include <unistd.h>

#include "toolkit/bknot.h"
#include "toolkit/pfld.h"
#include "toolkit/rlib.h"
#include "tools/rescomp/rsrc.h"
#include "tools/rescomp/rsrclexer.h"
#include "tools/rescomp/rsrcreport.h"

namespace {

using namespace rsrc;

// Resources within resources, and lists within lists, are read by
// recursion; deeper than this the text is refused, at the line that went
// too deep, before the stack could run out.  A module and 63 resources
// within one another are the 64 levels a library may hold.
constexpr int kMaxNesting = 63;

// A value as written: a number, a string, null, a reference, data or a list.
struct Value {
  enum Kind { kNumber, kText, kNull, kRef, kData, kList } kind = kNull;
  long number = 0;
  std::string text;
  std::vector<Value> items;
  int line = 0;
};

struct PendingRef {
  ResPtr res;
  PFldPtr field;
  Value value;
};

class Compiler {
 public:
  Compiler(const std::string& src, const std::string& outPath) : lex_(src), outPath_(outPath) { advance(); }

  void run() {
    while (tok_.kind != kEnd) statement();
    if (!lib_) throw ParseError{tok_.line, "no library statement"};
    checkClassModules();
    for (const PendingRef& p : refs_) resolve(p);
    RLIB_Save(lib_);
  }

  RLibPtr library() const { return lib_; }

 private:
  void advance() { tok_ = lex_.next(); }

  [[noreturn]] void fail(const std::string& text) { throw ParseError{tok_.line, text}; }

  bool isPunct(char c) const { return tok_.kind == kPunct && tok_.text[0] == c; }
  bool isWord(const char* w) const { return tok_.kind == kIdent && tok_.text == w; }

  void expectPunct(char c) {
    if (!isPunct(c)) fail(std::string("expected '") + c + "'");
    advance();
  }

  std::string name() {  // an identifier or a quoted name
    if (tok_.kind != kIdent && tok_.kind != kString) fail("expected a name");
    checkName(tok_.text);
    std::string n = tok_.text;
    advance();
    return n;
  }

  // Names are kept as C strings by the toolkit: an empty one or one with a
  // NUL byte would be stored as something else than was written.
  void checkName(const std::string& text) {
    if (text.empty()) fail("a name cannot be empty");
    if (text.find('\0') != std::string::npos) fail("a name cannot hold a NUL byte");
  }

  std::string nameString() {  // a library name or file name: a quoted name
    if (tok_.kind == kString) checkName(tok_.text);
    return string();
  }

  std::string string() {
    if (tok_.kind != kString) fail("expected a string");
    std::string s = tok_.text;
    advance();
    return s;
  }

  long number() {
    if (tok_.kind != kInt) fail("expected a number");
    long v = tok_.value;
    advance();
    return v;
  }

  void statement() {
    if (isWord("library")) {
      advance();
      if (lib_) fail("a second library statement");
      std::string libName = nameString();
      unlink(outPath_.c_str());
      lib_ = RLIB_CreateDatFile(libName.c_str(), outPath_.c_str());
      return;
    }
    if (!lib_) fail("the library statement must come first");
    if (isWord("import")) {
      advance();
      std::string libName = nameString();
      std::string file = nameString();
      RLibPtr imported = RLIB_LoadLibFile(libName.c_str(), file.c_str());
      RLIB_AddImportLib(lib_, imported);
    } else if (isWord("class")) {
      advance();
      classDecl();
    } else if (isWord("module")) {
      advance();
      std::string moduleName = name();
      if (BKNOT_FindModule(moduleName.c_str())) fail("module " + moduleName + " exists already");
      ResPtr module = RLIB_AddModuleKnot(lib_, moduleName.c_str());
      ownModules_.insert(moduleName);
      body(module);
    } else {
      fail("expected library, import, class or module");
    }
  }

  // A class is stored with the library of its module, so a class must name
  // one of this library's own modules; another library's module would give
  // a file that cannot be read back.  The module may be declared later in
  // the source, hence the check once everything is read.
  void checkClassModules() const {
    for (const DeclaredClass& c : declaredClasses_) {
      if (!ownModules_.count(c.module))
        throw ParseError{c.line, "class " + c.name + " names module " + c.module +
                                     ", which is not a module of this library"};
    }
  }

  void classDecl() {
    const int declarationLine = tok_.line;
    std::string className = name();
    std::string parentName = "Res";
    std::string moduleName;
    long version = 0, flags = 0;
    if (isPunct(':')) {
      advance();
      parentName = name();
    }
    while (tok_.kind == kIdent && !isPunct('{')) {
      if (isWord("module")) advance(), moduleName = name();
      else if (isWord("version")) advance(), version = number();
      else if (isWord("flags")) advance(), flags = number();
      else fail("expected module, version, flags or '{'");
    }
    if (moduleName.empty()) fail("class " + className + " needs a module");
    RClasPtr parent = RCLAS_FindByName(parentName.c_str());
    if (!parent) fail("unknown class " + parentName);
    expectPunct('{');
    std::vector<std::string> names;
    std::vector<Int> types;
    while (!isPunct('}')) {
      int line = tok_.line;
      names.push_back(name());
      std::string typeName = name();
      Int type = PFLD_TypeFromName(typeName.c_str());
      if (type < 0) throw ParseError{line, "unknown field type " + typeName};
      if (type == PFLD_STRARRAY) throw ParseError{line, "StrArray fields cannot be stored; use VStrArray"};
      types.push_back(type);
    }
    advance();
    if (RCLAS_FindByName(className.c_str())) fail("class " + className + " exists already");
    std::vector<const char*> cnames;
    for (const auto& n : names) cnames.push_back(n.c_str());
    RClasPtr cls = RCLAS_NewDataClass(className.c_str(), moduleName.c_str(), parent, static_cast<UInt>(flags),
                                      static_cast<Int>(version), static_cast<Int>(cnames.size()), cnames.data(),
                                      types.data());
    RLIB_AddResClass(lib_, cls);
    declaredClasses_.push_back({className, moduleName, declarationLine});
  }

  // '{' (field | resource)* '}'
  void body(ResPtr owner) {
    expectPunct('{');
    while (!isPunct('}')) {
      if (tok_.kind == kEnd) fail("missing '}'");
      std::string first = name();
      if (isPunct('=')) {
        advance();
        field(owner, first);
      } else {
        resource(owner, first);
      }
    }
    advance();
  }

  void resource(ResPtr parent, const std::string& className) {
    int line = tok_.line;
    NestingLevel level(&resourceDepth_, line, "resources");
    RClasPtr cls = RCLAS_FindByName(className.c_str());
    if (!cls) throw ParseError{line, "unknown class " + className};
    std::string resName = name();
    if (resName.find('.') != std::string::npos || resName.size() > 255)
      throw ParseError{line, "bad resource name " + resName};
    if (RES_FindChild(parent, resName.c_str())) throw ParseError{line, "duplicate resource " + resName};
    bool exported = false, preload = false, isTemplate = false, isDefault = false;
    while (tok_.kind == kIdent) {
      if (isWord("export")) exported = true;
      else if (isWord("preload")) preload = true;
      else if (isWord("template")) isTemplate = true;
      else if (isWord("default")) isDefault = true;
      else fail("unknown attribute " + tok_.text);
      advance();
    }
    ResPtr res = RES_NewSetNameClass(resName.c_str(), cls);
    RES_SetParent(res, parent);
    if (exported || preload) RLIB_AddExportRes(lib_, res, preload ? RLIB_EXPORTPRELOAD : RLIB_EXPORTLAZY);
    if (isDefault) RLIB_AddDefaultRes(lib_, res);
    body(res);
    if (isTemplate) makeTemplate(res);
  }

  // A template takes effect at once: what follows it in the source starts
  // from its values.  Its own references are resolved first.
  void makeTemplate(ResPtr res) {
    std::vector<PendingRef> later;
    for (const PendingRef& p : refs_) {
      bool inside = false;
      for (ResPtr r = p.res; r && !inside; r = RES_GetParent(r)) inside = r == res;
      if (inside) resolve(p);
      else later.push_back(p);
    }
    refs_.swap(later);
    RCLAS_SetTemplate(res->ResClass, res);
  }

  Value value() {
    Value v;
    v.line = tok_.line;
    if (tok_.kind == kInt) {
      v.kind = Value::kNumber;
      v.number = number();
    } else if (tok_.kind == kString) {
      v.kind = Value::kText;
      v.text = string();
    } else if (isWord("null")) {
      advance();
    } else if (isWord("ref")) {
      advance();
      v.kind = Value::kRef;
      v.text = string();
    } else if (isWord("data")) {
      advance();
      v.kind = Value::kData;
      v.text = string();
    } else if (isPunct('[')) {
      NestingLevel level(&listDepth_, tok_.line, "lists");
      advance();
      v.kind = Value::kList;
      while (!isPunct(']')) {
        v.items.push_back(value());
        if (isPunct(',')) advance();
        else if (!isPunct(']')) fail("expected ',' or ']'");
      }
      advance();
    } else {
      fail("expected a value");
    }
    return v;
  }

  void field(ResPtr res, const std::string& fieldName) {
    int line = tok_.line;
    PFldPtr f = RCLAS_FindField(res->ResClass, fieldName.c_str());
    if (!f) throw ParseError{line, "class " + std::string(res->ResClass->Name) + " has no field " + fieldName};
    Value v = value();
    auto bad = [&] { throw ParseError{line, "wrong value for " + fieldName + " (" + PFLD_TypeName(f->Type) + ")"}; };
    switch (f->Type) {
      case PFLD_INT16:
      case PFLD_UINT16:
      case PFLD_INT32:
      case PFLD_UINT32:
        if (v.kind != Value::kNumber) bad();
        PFLD_SetInt(res, f, v.number);
        break;
      case PFLD_STR:
      case PFLD_VSTR:
        if (v.kind == Value::kNull) PFLD_SetStr(res, f, nullptr);
        else if (v.kind == Value::kText) PFLD_SetStr(res, f, v.text.c_str());
        else bad();
        break;
      case PFLD_STRARRAY:
      case PFLD_VSTRARRAY: {
        if (v.kind != Value::kList) bad();
        std::vector<const char*> items;
        for (const Value& item : v.items) {
          if (item.kind == Value::kText) items.push_back(item.text.c_str());
          else if (item.kind == Value::kNull) items.push_back(nullptr);
          else bad();
        }
        PFLD_SetStrs(res, f, items);
        break;
      }
      case PFLD_RES:
      case PFLD_RES0:
      case PFLD_RESARRAY: {
        bool list = f->Type == PFLD_RESARRAY;
        if (list ? v.kind != Value::kList : (v.kind != Value::kRef && v.kind != Value::kNull)) bad();
        for (const Value& item : v.items)
          if (item.kind != Value::kRef && item.kind != Value::kNull) bad();
        refs_.push_back({res, f, v});
        break;
      }
      default: {
        if (v.kind != Value::kData || v.text.size() % 2) bad();
        std::vector<uint8_t> bytes;
        for (size_t i = 0; i < v.text.size(); i += 2) {
          char* end = nullptr;
          std::string hex = v.text.substr(i, 2);
          long b = std::strtol(hex.c_str(), &end, 16);
          if (!end || *end) bad();
          bytes.push_back(static_cast<uint8_t>(b));
        }
        PFLD_SetData(res, f, bytes.data(), static_cast<UInt32>(bytes.size()));
        break;
      }
    }
    RES_SetModified(res);
  }

  ResPtr target(const Value& v) {
    if (v.kind == Value::kNull) return nullptr;
    BKnotPtr knot = BKNOT_FindByFullName(v.text.c_str());
    if (!knot || knot->IsModule) throw ParseError{v.line, "no resource " + v.text};
    return RES_LoadByFullName(v.text.c_str());
  }

  void resolve(const PendingRef& p) {
    std::vector<ResPtr> found;
    if (p.value.kind == Value::kList)
      for (const Value& item : p.value.items) found.push_back(target(item));
    else
      found.push_back(target(p.value));
    if (p.field->Type == PFLD_RESARRAY) PFLD_SetResArray(p.res, p.field, found);
    else PFLD_SetRes(p.res, p.field, found[0]);
    for (ResPtr r : found) RES_Release(r);
  }

  // One level more of *depth while it lives.
  class NestingLevel {
   public:
    NestingLevel(int* depth, int line, const char* what) : depth_(depth) {
      if (++*depth_ > kMaxNesting) {
        --*depth_;
        throw ParseError{line, std::string(what) + " nested deeper than " + std::to_string(kMaxNesting) + " levels"};
      }
    }
    ~NestingLevel() { --*depth_; }
    NestingLevel(const NestingLevel&) = delete;
    NestingLevel& operator=(const NestingLevel&) = delete;

   private:
    int* depth_;
  };

  Lexer lex_;
  Token tok_;
  int resourceDepth_ = 0;
  int listDepth_ = 0;
  std::string outPath_;
  RLibPtr lib_ = nullptr;
  struct DeclaredClass {
    std::string name;
    std::string module;
    int line;
  };
  std::vector<DeclaredClass> declaredClasses_;
  std::set<std::string> ownModules_;
  std::vector<PendingRef> refs_;
};

}  // namespace

bool RSRC_Compile(const std::string& sourceName, const std::string& source, const std::string& outPath,
                  std::string* error) {
  std::string failure;
  bool ok = false;
  try {
    ok = RSRC_Guard(
        [&] {
          Compiler compiler(source, outPath);
          compiler.run();
        },
        &failure);
    if (!ok) failure = sourceName + ": " + failure;
  } catch (const ParseError& e) {
    failure = sourceName + ":" + std::to_string(e.line) + ": " + e.text;
  }
  if (!ok) {
    unlink(outPath.c_str());
    if (error) *error = failure;
  }
  return ok;
}
