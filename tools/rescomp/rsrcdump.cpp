// Writing a library back into the text form.
#include <algorithm>
#include <cctype>
#include <cstdio>

#include "toolkit/bknot.h"
#include "toolkit/pfld.h"
#include "toolkit/rlib.h"
#include "tools/rescomp/rsrc.h"
#include "tools/rescomp/rsrcreport.h"

namespace {

std::string S_Quote(const char* text) {
  if (!text) return "null";
  std::string out = "\"";
  for (const unsigned char* p = reinterpret_cast<const unsigned char*>(text); *p; ++p) {
    switch (*p) {
      case '"': out += "\\\""; break;
      case '\\': out += "\\\\"; break;
      case '\n': out += "\\n"; break;
      case '\t': out += "\\t"; break;
      default:
        if (*p < 32 || *p >= 127) {
          char hex[8];
          std::snprintf(hex, sizeof hex, "\\x%02x", *p);
          out += hex;
        } else {
          out.push_back(static_cast<char>(*p));
        }
    }
  }
  return out + "\"";
}

bool S_IsWord(const std::string& s) {
  static const char* const kReserved[] = {"library", "import", "class",    "module",  "null",    "ref",
                                          "data",    "export", "template", "default", "preload"};
  if (s.empty() || !(std::isalpha(static_cast<unsigned char>(s[0])) || s[0] == '_')) return false;
  for (char c : s)
    if (!std::isalnum(static_cast<unsigned char>(c)) && c != '_') return false;
  for (const char* r : kReserved)
    if (s == r) return false;
  return true;
}

std::string S_Name(const char* name) { return S_IsWord(name) ? std::string(name) : S_Quote(name); }

std::string S_Ref(ResPtr res) { return res ? "ref " + S_Quote(RES_QueryFullName(res).c_str()) : "null"; }

class Dumper {
 public:
  explicit Dumper(RLibPtr lib) : lib_(lib) {}

  std::string run() {
    out_ += "library " + S_Quote(lib_->Name.c_str()) + "\n";
    for (const auto& imp : lib_->Imports)
      if (imp.Lib != lib_) out_ += "import " + S_Quote(imp.Name.c_str()) + " " + S_Quote(imp.FileName.c_str()) + "\n";
    for (RClasPtr cls : lib_->Classes) classDecl(cls);
    for (BKnotPtr m : lib_->Modules) {
      ResPtr module = RLIB_GetModuleRes(m);
      out_ += "\nmodule " + S_Name(m->Name) + " {\n";
      RES_LoadChildren(module);
      for (Int i = 0; i < RES_GetNumChildren(module); ++i) resource(RES_GetNthChild(module, i), 1);
      out_ += "}\n";
    }
    return out_;
  }

 private:
  void classDecl(RClasPtr cls) {
    if (!(cls->Flags & RCLAS_FLAGDATA) || !cls->ModName || RLIB_FindByModName(cls->ModName) != lib_) return;
    out_ += "\nclass " + S_Name(cls->Name);
    if (cls->ParentClass && std::string(cls->ParentClass->Name) != "Res") out_ += " : " + S_Name(cls->ParentClass->Name);
    out_ += " module " + S_Name(cls->ModName);
    if (cls->Version) out_ += " version " + std::to_string(cls->Version);
    if (cls->Flags & ~RCLAS_FLAGDATA) out_ += " flags " + std::to_string(cls->Flags & ~RCLAS_FLAGDATA);
    out_ += " {\n";
    for (PFldPtr f = cls->Fields; f && f->Name; ++f) out_ += "  " + S_Name(f->Name) + " " + PFLD_TypeName(f->Type) + "\n";
    out_ += "}\n";
  }

  std::string attributes(ResPtr res) {
    std::string out;
    Int exp = RLIB_ExportResToIndex(lib_, res);
    if (exp >= 0) out += lib_->Exports[static_cast<size_t>(exp)].Kind == RLIB_EXPORTPRELOAD ? " preload" : " export";
    if (std::find(lib_->Templates.begin(), lib_->Templates.end(), res->ResPrivate) != lib_->Templates.end())
      out += " template";
    for (size_t i = 0; i < lib_->DefaultOffsets.size(); ++i)
      if (lib_->DefaultKnots[i] == res->ResPrivate ||
          (res->ResPrivate && lib_->DefaultOffsets[i] == res->ResPrivate->Offset))
        out += " default";
    return out;
  }

  void resource(ResPtr res, int depth) {
    std::string pad(static_cast<size_t>(depth) * 2, ' ');
    out_ += pad + S_Name(res->ResClass->Name) + " " + S_Name(RES_GetName(res)) + attributes(res) + " {\n";
    // Fields that differ from what a new object of the class has.
    // A template is compared with an object made without it.
    RClasPtr templateOf = nullptr;
    for (RClasPtr c = res->ResClass; c && !templateOf; c = c->ParentClass)
      if (c->Template == res) templateOf = c;
    if (templateOf) templateOf->Template = nullptr;
    ResPtr fresh = RES_Create(res->ResClass);
    if (templateOf) templateOf->Template = res;
    struct Ctx {
      Dumper* self;
      ResPtr res, fresh;
      std::string pad;
    } ctx{this, res, fresh, pad + "  "};
    RCLAS_ForEachField(
        res->ResClass,
        [](PFldPtr f, ClientPtr data) {
          Ctx* c = static_cast<Ctx*>(data);
          if (f->Offset == 0 || f->Kind == PFLD_KINDALIAS || PFLD_Equal(c->res, c->fresh, f)) return;
          c->self->out_ += c->pad + S_Name(f->Name) + " = " + value(c->res, f, c->pad) + "\n";
        },
        &ctx);
    RES_Release(fresh);
    RES_LoadChildren(res);
    for (Int i = 0; i < RES_GetNumChildren(res); ++i) resource(RES_GetNthChild(res, i), depth + 1);
    out_ += pad + "}\n";
  }

  static std::string list(const std::vector<std::string>& items, const std::string& pad) {
    std::string out = "[\n";
    for (size_t i = 0; i < items.size(); ++i) out += pad + "  " + items[i] + (i + 1 < items.size() ? ",\n" : "\n");
    return out + pad + "]";
  }

  static std::string value(ResPtr res, PFldPtr f, const std::string& pad) {
    switch (f->Type) {
      case PFLD_INT16:
      case PFLD_UINT16:
      case PFLD_INT32:
      case PFLD_UINT32: return std::to_string(PFLD_GetInt(res, f));
      case PFLD_STR:
      case PFLD_VSTR: return S_Quote(PFLD_GetStr(res, f));
      case PFLD_STRARRAY:
      case PFLD_VSTRARRAY: {
        std::vector<std::string> items;
        for (Int i = 0; i < PFLD_GetStrCount(res, f); ++i) items.push_back(S_Quote(PFLD_GetNthStr(res, f, i)));
        return list(items, pad);
      }
      case PFLD_RES:
      case PFLD_RES0: return S_Ref(PFLD_GetRes(res, f));
      case PFLD_RESARRAY: {
        std::vector<std::string> items;
        for (Int i = 0; i < PFLD_GetResCount(res, f); ++i) items.push_back(S_Ref(PFLD_GetNthRes(res, f, i)));
        return list(items, pad);
      }
      default: {
        const _DataRec* d = PFLD_GetData(res, f);
        std::string hex;
        char b[3];
        for (UInt32 i = 0; i < d->Size; ++i) std::snprintf(b, sizeof b, "%02x", d->Data[i]), hex += b;
        return "data \"" + hex + "\"";
      }
    }
  }

  RLibPtr lib_;
  std::string out_;
};

}  // namespace

bool RSRC_Dump(const std::string& datPath, std::string* text, std::string* error) {
  std::string failure;
  bool ok = RSRC_Guard(
      [&] {
        RLibPtr lib = RLIB_LoadFile(datPath.c_str());
        *text = Dumper(lib).run();
      },
      &failure);
  if (!ok && error) *error = datPath + ": " + failure;
  return ok;
}
