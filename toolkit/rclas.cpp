// The class registry.
#include "toolkit/rclas.h"

#include <algorithm>
#include <cctype>
#include <new>
#include <stdexcept>
#include <cstdlib>
#include <cstdint>
#include <cstring>
#include <map>
#include <string>
#include <unordered_map>
#include <vector>

#include "toolkit/bknot.h"
#include "toolkit/err.h"
#include "toolkit/res.h"
#include "toolkit/rlib.h"
#include "toolkit/strres.h"

namespace {

// A class's node in the name tree (7 words in the class's own terms: the
// name, the pool and room for the display layer).
struct ClassNode {
  const char* name;
  RClasPoolPtr pool;
  // Live instances, oldest first: keyed by creation number, with each
  // instance's number beside it, so that adding, removing and walking
  // stay logarithmic however many objects a class has.
  std::map<uint64_t, ResPtr> instances;
  std::unordered_map<ResPtr, uint64_t> created;
  uint64_t nextCreated = 0;
};

ClassNode* S_Node(RClasPtr cls) { return static_cast<ClassNode*>(cls->ClassNode); }

// The registries live as long as the process (never destroyed, so that
// classes stay reachable until the very end).
std::vector<RClasPtr>& sByName = *new std::vector<RClasPtr>;  // sorted, names compare with case
std::vector<RClasPtr>& sByIndex = *new std::vector<RClasPtr>;
void (*sPostRegister)(RClasPtr) = nullptr;

bool S_Less(RClasPtr a, const char* name) { return std::strcmp(a->Name, name) < 0; }

const char* const kTypeNames[PFLD_NUMTYPES] = {"Int16", "UInt16", "Int32",     "UInt32", "Str",
                                               "StrArray", "VStr", "VStrArray", "Res",  "Res0",
                                               "ResArray", "Data32", "Data8",   "Data16"};

Int S_Align(Int value, Int align) { return (value + align - 1) / align * align; }

// Lays the fields out after the parent's part, as a class read from a file.
void S_SetFields(RClasPtr cls, Int numFields, const char* const* names, const Int* types) {
  for (Int i = 0; i < numFields; ++i)
    if (types[i] < 0 || types[i] >= PFLD_NUMTYPES) ERR_Fail("RClas", kRClasErrBadField, cls->Name, names[i]);
  PFldPtr fields = new _PFldRec[static_cast<size_t>(numFields) + 1]();
  Int offset = cls->ParentClass ? cls->ParentClass->SizeOfRes : static_cast<Int>(sizeof(_ResObj));
  for (Int i = 0; i < numFields; ++i) {
    offset = S_Align(offset, PFLD_TypeAlign(types[i]));
    fields[i].Name = VSTR_New(names[i]);
    fields[i].Offset = offset;
    fields[i].Type = types[i];
    fields[i].Kind = (types[i] >= PFLD_STR && types[i] <= PFLD_VSTRARRAY) ? PFLD_KINDTEXT : PFLD_KINDVALUE;
    fields[i].FileIndex = -1;
    offset += PFLD_TypeSize(types[i]);
  }
  cls->Fields = fields;
  cls->SizeOfRes = S_Align(offset, static_cast<Int>(alignof(void*)));
}


}  // namespace

const char* PFLD_TypeName(Int type) { return type >= 0 && type < PFLD_NUMTYPES ? kTypeNames[type] : nullptr; }

Int PFLD_TypeFromName(const char* name) {
  for (Int i = 0; i < PFLD_NUMTYPES; ++i)
    if (std::strcmp(kTypeNames[i], name) == 0) return i;
  return -1;
}

Int PFLD_TypeSize(Int type) {
  switch (type) {
    case PFLD_INT16:
    case PFLD_UINT16: return 2;
    case PFLD_INT32:
    case PFLD_UINT32: return 4;
    case PFLD_DATA32:
    case PFLD_DATA8:
    case PFLD_DATA16: return static_cast<Int>(sizeof(_DataRec));
    default: return static_cast<Int>(sizeof(void*));
  }
}

// Every field starts at a multiple of 4; pointers need their own alignment
// on 64-bit machines.
Int PFLD_TypeAlign(Int type) { return std::max<Int>(4, type <= PFLD_UINT32 ? 4 : alignof(void*)); }

void RCLAS_Register(RClasPtr cls) {
  ErrTrace frame("RClas", __FILE__, __LINE__);
  if (RCLAS_FindByName(cls->Name)) ERR_Fail("RClas", kRClasErrExists, cls->Name);
  cls->Name = VSTR_New(cls->Name);
  cls->ModName = VSTR_New(cls->ModName);
  if (!cls->ParentClass && std::strcmp(cls->Name, "Res") != 0) cls->ParentClass = RES_Class();
  if (!cls->New) cls->New = RES_DefaultNew;
  if (!cls->Delete) cls->Delete = RES_DefaultDelete;
  if (cls->ParentClass) {
    if (!cls->DefNotify) cls->DefNotify = cls->ParentClass->DefNotify;
    cls->Flags |= cls->ParentClass->Flags & RCLAS_INHERITEDFLAGS;
  }
  ClassNode* node = new ClassNode{cls->Name, nullptr, {}, {}, 0};
  cls->ClassNode = node;
  sByName.insert(std::lower_bound(sByName.begin(), sByName.end(), cls->Name, S_Less), cls);
  cls->ClassIndex = static_cast<UInt16>(sByIndex.size());
  sByIndex.push_back(cls);
  NFIER_Broadcast(RES_GetResMgrNfier(), RES_MGRCLASSREGISTERED, cls);
  if (sPostRegister) sPostRegister(cls);
}

RClasPtr RCLAS_CPlusRegister(const char* name, RClasNewCBack newProc, RClasDeleteCBack deleteProc,
                             RClasConstructCBack construct, RClasPtr parent, PFldPtr fields,
                             Int sizeOfRes) {
  RClasPtr cls = new _RClasRec();
  cls->Name = name;
  cls->New = newProc;
  cls->Delete = deleteProc;
  cls->Construct = construct;
  cls->ParentClass = parent;
  cls->Fields = fields;
  cls->SizeOfRes = std::max<Int>(sizeOfRes, parent ? parent->SizeOfRes : static_cast<Int>(sizeof(_ResObj)));
  cls->Flags = RCLAS_FLAGEXTERN;
  RCLAS_Register(cls);
  return cls;
}

RClasPtr RCLAS_NewDataClass(const char* name, const char* modName, RClasPtr parent, UInt flags,
                            Int version, Int numFields, const char* const* fieldNames,
                            const Int* fieldTypes) {
  RClasPtr cls = new _RClasRec();
  cls->Name = name;
  cls->ModName = modName;
  cls->ParentClass = parent;
  cls->Flags = flags | RCLAS_FLAGDATA;
  cls->Version = version;
  S_SetFields(cls, numFields, fieldNames, fieldTypes);
  RCLAS_Register(cls);
  return cls;
}

RClasPtr RCLAS_FindByName(const char* name) {
  if (!name) return nullptr;
  auto at = std::lower_bound(sByName.begin(), sByName.end(), name, S_Less);
  return at != sByName.end() && std::strcmp((*at)->Name, name) == 0 ? *at : nullptr;
}

RClasPtr RCLAS_GetFirst() { return sByIndex.empty() ? nullptr : sByIndex.front(); }

RClasPtr RCLAS_GetNext(RClasPtr cls) {
  size_t next = static_cast<size_t>(cls->ClassIndex) + 1;
  return next < sByIndex.size() ? sByIndex[next] : nullptr;
}

BoolEnum RCLAS_IsSubClassOf(RClasPtr cls, RClasPtr ancestor) {
  for (; cls; cls = cls->ParentClass)
    if (cls == ancestor) return 1;
  return 0;
}

Int RCLAS_GetVersion(RClasPtr cls) { return cls->Version ? cls->Version : kRClasDefaultVersion; }

Int RCLAS_GetNumSubClasses(RClasPtr cls) {
  Int n = 0;
  for (RClasPtr c : sByIndex)
    if (c->ParentClass == cls) ++n;
  return n;
}

RClasPtr RCLAS_GetNthSubClass(RClasPtr cls, Int n) {
  for (RClasPtr c : sByIndex)
    if (c->ParentClass == cls && n-- == 0) return c;
  return nullptr;
}

void RCLAS_SetDefNfy(RClasPtr cls, ResNfyCBack proc) { cls->DefNotify = proc; }

ResNfyCBack RCLAS_GetDefNfy(RClasPtr cls) { return cls->DefNotify; }

long RCLAS_ProcessDefNfy(RClasPtr cls, ResPtr res, Int message, ClientPtr data) {
  return cls && cls->DefNotify ? cls->DefNotify(res, message, data) : 0;
}

void RCLAS_SetTemplate(RClasPtr cls, ResPtr res) {
  ErrTrace frame("RClas", __FILE__, __LINE__);
  std::string wanted = std::string(cls->Name) + "Template";
  if (STR_ICmp(RES_GetName(res), wanted.c_str()) != 0)
    ERR_Fail("RClas", kRClasErrTemplateName, RES_GetName(res), cls->Name);
  RLibPtr lib = RES_GetLib(res);
  if (cls->ModName && *cls->ModName && RLIB_FindByModName(cls->ModName) != lib)
    ERR_Fail("RClas", kRClasErrTemplateLib, RES_GetName(res), cls->Name);
  if (cls->Template == res) return;
  if (cls->Template) {
    if (RES_GetLib(cls->Template) != lib) ERR_Fail("RClas", kRClasErrTemplateSet, cls->Name);
    ResPtr old = cls->Template;
    cls->Template = nullptr;
    if (lib) RLIB_RemoveTemplate(lib, old);
    RES_Release(old);
  }
  RES_Use(res);
  cls->Template = res;
  if (lib) RLIB_AddTemplate(lib, res);
  std::vector<ResPtr> stack;
  for (Int i = 0; i < RES_GetNumChildren(res); ++i) stack.push_back(RES_GetNthChild(res, i));
  while (!stack.empty()) {
    ResPtr r = stack.back();
    stack.pop_back();
    r->ResPrivate4 |= RES_FLAGLOCKED;
    for (Int i = 0; i < RES_GetNumChildren(r); ++i) stack.push_back(RES_GetNthChild(r, i));
  }
}

PFldPtr RCLAS_FindField(RClasPtr cls, const char* name) {
  for (; cls; cls = cls->ParentClass)
    for (PFldPtr f = cls->Fields; f && f->Name; ++f)
      if (STR_ICmp(f->Name, name) == 0) return f;
  return nullptr;
}

RClasPtr RCLAS_FieldOwner(RClasPtr cls, PFldPtr field) {
  for (; cls; cls = cls->ParentClass)
    for (PFldPtr f = cls->Fields; f && f->Name; ++f)
      if (f == field) return cls;
  return nullptr;
}

void RCLAS_ForEachField(RClasPtr cls, void (*proc)(PFldPtr field, ClientPtr data), ClientPtr data) {
  std::vector<RClasPtr> chain;
  for (; cls; cls = cls->ParentClass) chain.push_back(cls);
  for (auto it = chain.rbegin(); it != chain.rend(); ++it)
    for (PFldPtr f = (*it)->Fields; f && f->Name; ++f) proc(f, data);
}

void RCLAS_SetPostRegisterProc(void (*proc)(RClasPtr cls)) { sPostRegister = proc; }

void RCLAS_StartupInit() {}

// --- Pools and instances ----------------------------------------------------------

void* RClasAlloc(RClasPtr cls) {
  size_t size = static_cast<size_t>(cls->SizeOfRes);
  ClassNode* node = S_Node(cls);
  void* block = node && node->pool ? node->pool->Alloc(size, node->pool->Data) : std::malloc(size);
  if (!block) throw std::bad_alloc();
  std::memset(block, 0, size);
  return block;
}

void RClasFree(RClasPtr cls, void* block) {
  ClassNode* node = S_Node(cls);
  if (node && node->pool) node->pool->Free(block, node->pool->Data);
  else std::free(block);
}

void RClasAddInstance(RClasPtr cls, ResPtr res) {
  ClassNode* node = S_Node(cls);
  if (!node || node->created.count(res)) return;
  node->created[res] = node->nextCreated;
  node->instances[node->nextCreated++] = res;
}

void RClasRemoveInstance(RClasPtr cls, ResPtr res) {
  ClassNode* node = S_Node(cls);
  if (!node) return;
  auto at = node->created.find(res);
  if (at == node->created.end()) return;
  node->instances.erase(at->second);
  node->created.erase(at);
}

void RCLAS_SetMemPool(RClasPtr cls, RClasPoolPtr pool) {
  ClassNode* node = S_Node(cls);
  if (node->pool == pool) return;
  if (!node->instances.empty() || cls->InstanceCount) ERR_Fail("RClas", kRClasErrInUse, cls->Name);
  node->pool = pool;
}

RClasPoolPtr RCLAS_GetMemPool(RClasPtr cls) { return S_Node(cls) ? S_Node(cls)->pool : nullptr; }

ResPtr RCLAS_GetResFirst(RClasPtr cls) {
  ClassNode* node = S_Node(cls);
  return node && !node->instances.empty() ? node->instances.begin()->second : nullptr;
}

ResPtr RCLAS_GetResNext(RClasPtr cls, ResPtr res) {
  ClassNode* node = S_Node(cls);
  if (!node) return nullptr;
  auto at = node->created.find(res);
  if (at == node->created.end()) return nullptr;
  auto next = node->instances.upper_bound(at->second);
  return next == node->instances.end() ? nullptr : next->second;
}

Int RCLAS_GetCreateVersion(ResConstructPtr params) {
  if (params->Mode == RES_MODELOAD && params->Knot) return params->Knot->Version;
  return RCLAS_GetVersion(params->Class);
}

// --- Editing ----------------------------------------------------------------------------

namespace {

// Own fields of a class as names and types.
void S_OwnFields(RClasPtr cls, std::vector<const char*>* names, std::vector<Int>* types) {
  for (PFldPtr f = cls->Fields; f && f->Name; ++f) {
    names->push_back(f->Name);
    types->push_back(f->Type);
  }
}

// Fails unless the class may change shape or go away.
void S_CheckUnused(RClasPtr cls) {
  bool used = !RCLAS_IsEditable(cls) || cls->InstanceCount || !S_Node(cls)->instances.empty() ||
              cls->Template || RCLAS_GetNumSubClasses(cls) > 0;
  for (RLibPtr lib : RLIB_GetAll()) used = used || RLIB_ResClassToIndex(lib, cls) >= 0;
  if (used) ERR_Fail("RClas", kRClasErrInUse, cls->Name);
}

void S_FreeFields(RClasPtr cls) {
  for (PFldPtr f = cls->Fields; f && f->Name; ++f) VSTR_Dispose(const_cast<char*>(f->Name));
  delete[] cls->Fields;
  cls->Fields = nullptr;
}

}  // namespace

BoolEnum RCLAS_IsEditable(RClasPtr cls) { return cls && (cls->Flags & RCLAS_FLAGDATA) ? 1 : 0; }

RClasPtr RCLAS_NewSetParentAndModule(const char* name, RClasPtr parent, const char* modName) {
  return RCLAS_NewDataClass(name, modName, parent ? parent : RES_Class(), 0, 0, 0, nullptr, nullptr);
}

RClasPtr RCLAS_Clone(RClasPtr cls, const char* name) {
  std::vector<const char*> names;
  std::vector<Int> types;
  S_OwnFields(cls, &names, &types);
  return RCLAS_NewDataClass(name, cls->ModName, cls->ParentClass, cls->Flags & ~RCLAS_FLAGEXTERN, cls->Version,
                            static_cast<Int>(names.size()), names.data(), types.data());
}

void RCLAS_Update(RClasPtr cls, Int numFields, const char* const* fieldNames, const Int* fieldTypes) {
  ErrTrace frame("RClas", __FILE__, __LINE__);
  S_CheckUnused(cls);
  PFldPtr old = cls->Fields;
  Int oldSize = cls->SizeOfRes;
  try {
    S_SetFields(cls, numFields, fieldNames, fieldTypes);
  } catch (...) {
    cls->Fields = old;
    cls->SizeOfRes = oldSize;
    throw;
  }
  PFldPtr fresh = cls->Fields;
  cls->Fields = old;
  S_FreeFields(cls);
  cls->Fields = fresh;
}

void RCLAS_Dispose(RClasPtr cls) {
  ErrTrace frame("RClas", __FILE__, __LINE__);
  S_CheckUnused(cls);
  sByName.erase(std::remove(sByName.begin(), sByName.end(), cls), sByName.end());
  sByIndex.erase(std::remove(sByIndex.begin(), sByIndex.end(), cls), sByIndex.end());
  for (size_t i = 0; i < sByIndex.size(); ++i) sByIndex[i]->ClassIndex = static_cast<UInt16>(i);
  S_FreeFields(cls);
  delete S_Node(cls);
  VSTR_Dispose(const_cast<char*>(cls->Name));
  VSTR_Dispose(const_cast<char*>(cls->ModName));
  delete cls;
}

// --- Text form -----------------------------------------------------------------------

std::string RCLAS_ParseOutput(RClasPtr cls) {
  std::string out = std::string("class ") + cls->Name;
  if (cls->ParentClass) out += std::string(" : ") + cls->ParentClass->Name;
  if (cls->ModName && *cls->ModName) out += std::string(" module ") + cls->ModName;
  if (cls->Version) out += " version " + std::to_string(cls->Version);
  UInt flags = cls->Flags & ~static_cast<UInt>(RCLAS_FLAGDATA | RCLAS_FLAGEXTERN);
  if (flags) out += " flags " + std::to_string(flags);
  out += " {\n";
  for (PFldPtr f = cls->Fields; f && f->Name; ++f)
    if (f->Kind != PFLD_KINDALIAS && f->Offset) out += std::string("  ") + f->Name + " " + PFLD_TypeName(f->Type) + "\n";
  out += "}\n";
  return out;
}

namespace {

// Words of a class text with their line numbers; '#' starts a comment.
struct ClassText {
  std::vector<std::string> words;
  std::vector<Int> lines;
  size_t at = 0;
  ClassText(const char* text) {
    Int line = 1;
    for (const char* p = text ? text : ""; *p;) {
      if (*p == '\n') ++line, ++p;
      else if (*p == '#') while (*p && *p != '\n') ++p;
      else if (std::isspace(static_cast<unsigned char>(*p))) ++p;
      else if (*p == ':' || *p == '{' || *p == '}') words.emplace_back(1, *p++), lines.push_back(line);
      else {
        const char* from = p;
        while (*p && !std::isspace(static_cast<unsigned char>(*p)) && !std::strchr(":{}#", *p)) ++p;
        words.emplace_back(from, p), lines.push_back(line);
      }
    }
  }
  Int line() const { return lines.empty() ? 1 : lines[std::min(at, lines.size() - 1)]; }
  [[noreturn]] void fail(const char* what) const {
    ERR_Fail("RClas", kRClasErrText, line(), what);
    throw std::logic_error(what);  // not reached: a failure unwinds
  }
  const std::string& next(const char* what) {
    if (at >= words.size()) fail(what);
    return words[at++];
  }
  bool peek(const char* word) const { return at < words.size() && words[at] == word; }
};

bool S_IsName(const std::string& w) {
  if (w.empty() || w.size() > 255 || !(std::isalpha(static_cast<unsigned char>(w[0])) || w[0] == '_')) return false;
  for (char c : w)
    if (!std::isalnum(static_cast<unsigned char>(c)) && c != '_') return false;
  return true;
}

}  // namespace

RClasPtr RCLAS_ParseCompile(const char* text) {
  ErrTrace frame("RClas", __FILE__, __LINE__);
  ClassText in(text);
  if (in.next("\"class\" expected") != "class") in.fail("\"class\" expected");
  std::string name = in.next("class name expected");
  if (!S_IsName(name)) in.fail("bad class name");
  if (RCLAS_FindByName(name.c_str())) ERR_Fail("RClas", kRClasErrExists, name);
  RClasPtr parent = RES_Class();
  if (in.peek(":")) {
    in.next("");
    std::string p = in.next("parent class expected");
    parent = RCLAS_FindByName(p.c_str());
    if (!parent) ERR_Fail("RClas", kRClasErrUnknown, p);
  }
  std::string module;
  if (in.peek("module")) {
    in.next("");
    module = in.next("module name expected");
    if (!S_IsName(module)) in.fail("bad module name");
  }
  Int version = 0;
  UInt flags = 0;
  for (;;) {
    bool isVersion = in.peek("version");
    if (!isVersion && !in.peek("flags")) break;
    in.next("");
    const std::string& word = in.next("number expected");
    char* end = nullptr;
    long value = std::strtol(word.c_str(), &end, 0);
    if (word.empty() || *end || value < 0 || value > (isVersion ? 255 : 0xffff)) in.fail("bad number");
    if (isVersion) version = static_cast<Int>(value);
    else flags = static_cast<UInt>(value) & ~static_cast<UInt>(RCLAS_FLAGDATA | RCLAS_FLAGEXTERN);
  }
  if (in.next("\"{\" expected") != "{") in.fail("\"{\" expected");
  std::vector<std::string> names;
  std::vector<Int> types;
  while (!in.peek("}")) {
    std::string field = in.next("\"}\" expected");
    if (!S_IsName(field)) in.fail("bad field name");
    for (const auto& n : names)
      if (STR_ICmp(n.c_str(), field.c_str()) == 0) in.fail("field named twice");
    Int type = PFLD_TypeFromName(in.next("field type expected").c_str());
    if (type < 0) in.fail("unknown field type");
    names.push_back(field);
    types.push_back(type);
  }
  in.next("");
  if (in.at != in.words.size()) in.fail("text after the class");
  std::vector<const char*> fieldNames;
  for (const auto& n : names) fieldNames.push_back(n.c_str());
  return RCLAS_NewDataClass(name.c_str(), module.c_str(), parent, flags, version, static_cast<Int>(names.size()),
                            fieldNames.data(), types.data());
}

// --- Display names ---------------------------------------------------------------------

ResPtr RCLAS_QueryDispRes(RClasPtr cls, const char* key) {
  if (cls->ModName && *cls->ModName)
    if (ResPtr res = RES_Find(cls->ModName, (std::string(cls->Name) + "ClassName").c_str())) return res;
  return RES_Find(cls->Name, (std::string("Class") + (key ? key : "")).c_str());
}

std::string RCLAS_QueryDispName(RClasPtr cls, const char* key) {
  ResPtr res = RCLAS_QueryDispRes(cls, key);
  if (!res) return cls->Name;
  std::string name = RCLAS_IsSubClassOf(res->ResClass, STRR_Class()) && STRR_GetStr(res) ? STRR_GetStr(res) : cls->Name;
  RES_Release(res);
  return name;
}
