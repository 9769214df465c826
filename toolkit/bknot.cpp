// Knots and their trees.
#include "toolkit/bknot.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <set>

#include "toolkit/err.h"
#include "toolkit/rlib.h"

namespace {

std::vector<BKnotPtr>& sModules = *new std::vector<BKnotPtr>;  // sorted by name, case ignored; never destroyed

bool S_Less(BKnotPtr a, const char* name) { return STR_ICmp(a->Name, name) < 0; }

void S_InOrder(BKnotPtr node, std::vector<BKnotPtr>* out) {
  if (!node) return;
  S_InOrder(node->Left, out);
  out->push_back(node);
  S_InOrder(node->Right, out);
}

Int S_Build(std::vector<BKnotPtr>& nodes, Int lo, Int hi, BKnotPtr* root) {
  if (lo > hi) {
    *root = nullptr;
    return 0;
  }
  Int mid = lo + (hi - lo + 1) / 2;
  BKnotPtr node = nodes[static_cast<size_t>(mid)];
  Int left = S_Build(nodes, lo, mid - 1, &node->Left);
  Int right = S_Build(nodes, mid + 1, hi, &node->Right);
  node->Balance = right - left;
  *root = node;
  return 1 + std::max(left, right);
}

void S_SetTree(BKnotPtr parent, std::vector<BKnotPtr>& children) {
  S_Build(children, 0, static_cast<Int>(children.size()) - 1, &parent->ChildRoot);
  parent->NumChildren = static_cast<Int>(children.size());
  parent->TreeChanged = 1;
}

void S_FailAt(Int id, UInt32 offset) { ERR_Fail("BKnot", id, static_cast<long>(offset)); }

bool S_ValidName(const std::string& name) {
  return !name.empty() && name.find('.') == std::string::npos;
}

// Reading one child tree as it is stored.
struct TreeReader {
  BKnotPtr parent;
  RLibPtr lib;
  std::set<UInt32> visited;
  std::vector<std::unique_ptr<_BKnotRec, void (*)(BKnotPtr)>> made;

  BKnotPtr read(UInt32 offset, Int height) {
    if (height > kBKnotMaxTreeHeight || !visited.insert(offset).second)
      S_FailAt(kBKnotErrCorrupt, offset);
    if (static_cast<Int>(visited.size()) > parent->NumChildren)
      ERR_Fail("BKnot", kBKnotErrCount, static_cast<long>(parent->ChildRootOffset), parent->NumChildren);
    UInt32 fieldOffset = 0;
    KnotRecord rec = BKNOT_ReadRecord(parent->File, offset, &fieldOffset);
    if (!S_ValidName(rec.Name)) ERR_Fail("BKnot", kBKnotErrName, rec.Name);
    BKnotPtr knot = BKNOT_New(rec.Name.c_str(), RLIB_IndexToResClass(lib, rec.ClassIndex));
    made.emplace_back(knot, [](BKnotPtr k) { std::free(k->Name); delete k; });
    knot->File = parent->File;
    knot->Offset = offset;
    knot->Parent = parent;
    knot->Lib = lib;
    knot->Version = rec.Version;
    knot->Balance = rec.Balance;
    knot->NumChildren = rec.NumChildren;
    knot->ChildRootOffset = rec.ChildRootOffset;
    knot->FieldOffset = (knot->Class->Flags & RCLAS_FLAGNORECORD) ? 0 : fieldOffset;
    if (rec.Flags & KNOT_HASLEFT) knot->Left = read(rec.LeftOffset, height + 1);
    if (rec.Flags & KNOT_HASRIGHT) knot->Right = read(rec.RightOffset, height + 1);
    return knot;
  }
};

}  // namespace

BKnotPtr BKNOT_New(const char* name, RClasPtr cls) {
  BKnotPtr knot = new _BKnotRec;
  knot->Name = VSTR_New(name ? name : "");
  knot->Class = cls;
  return knot;
}

BKnotPtr BKNOT_NewSetNameClass(const char* name, RClasPtr cls) {
  std::string text = name ? name : "";
  if (!S_ValidName(text) || text.size() > 255) ERR_Fail("BKnot", kBKnotErrName, text);
  return BKNOT_New(text.c_str(), cls);
}

_BFileRec* BKNOT_GetBFile(BKnotPtr knot) { return knot ? knot->File : nullptr; }

BKnotPtr BKNOT_GetRoot(BKnotPtr knot) {
  if (!knot) return nullptr;
  BKNOT_LoadChildren(knot);
  return knot->ChildRoot;
}

void BKNOT_Dispose(BKnotPtr knot) {
  if (!knot) return;
  std::vector<BKnotPtr> children;
  S_InOrder(knot->ChildRoot, &children);
  for (BKnotPtr child : children) BKNOT_Dispose(child);
  VSTR_Dispose(knot->Name);
  delete knot;
}

void BKNOT_Init() {}

void BKNOT_AddModule(BKnotPtr knot) {
  auto at = std::lower_bound(sModules.begin(), sModules.end(), knot->Name, S_Less);
  sModules.insert(at, knot);
}

void BKNOT_RemoveModule(BKnotPtr knot) {
  sModules.erase(std::remove(sModules.begin(), sModules.end(), knot), sModules.end());
}

BKnotPtr BKNOT_FindModule(const char* name) {
  auto at = std::lower_bound(sModules.begin(), sModules.end(), name, S_Less);
  return at != sModules.end() && STR_ICmp((*at)->Name, name) == 0 ? *at : nullptr;
}

std::vector<BKnotPtr> BKNOT_GetModules() { return sModules; }

KnotRecord BKNOT_ReadRecord(_BFileRec* file, UInt32 offset, UInt32* fieldOffset) {
  BlockReader r(file, offset);
  KnotRecord rec = RLIBC_DecodeKnot(r);
  if (fieldOffset) *fieldOffset = r.firstBlockEnd();
  return rec;
}

void BKNOT_LoadChildren(BKnotPtr knot) {
  if (knot->ChildrenLoaded) return;
  if (!knot->File) {  // made at run time: its tree is in memory already
    knot->ChildrenLoaded = 1;
    return;
  }
  if (knot->NumChildren <= 0 || knot->ChildRootOffset == 0) {
    knot->NumChildren = 0;
    knot->ChildrenLoaded = 1;
    return;
  }
  if (BKNOT_Depth(knot) >= kBKnotMaxDepth) S_FailAt(kBKnotErrTooDeep, knot->Offset);
  TreeReader reader{knot, knot->Lib, {}, {}};
  BKnotPtr root = reader.read(knot->ChildRootOffset, 1);
  if (static_cast<Int>(reader.visited.size()) != knot->NumChildren)
    ERR_Fail("BKnot", kBKnotErrCount, static_cast<long>(knot->ChildRootOffset), knot->NumChildren);
  for (auto& made : reader.made) made.release();
  knot->ChildRoot = root;
  knot->ChildrenLoaded = 1;
}

BKnotPtr BKNOT_FindChild(BKnotPtr parent, const char* name) {
  if (!parent || !name) return nullptr;
  BKNOT_LoadChildren(parent);
  for (BKnotPtr node = parent->ChildRoot; node;) {
    int c = STR_ICmp(name, node->Name);
    if (c == 0) return node;
    node = c < 0 ? node->Left : node->Right;
  }
  return nullptr;
}

namespace {

// Walks a dotted path below `knot`; parts are at most 255 characters.
BKnotPtr S_Walk(BKnotPtr knot, const char* path) {
  std::string rest = path ? path : "";
  size_t from = 0;
  while (knot && from <= rest.size()) {
    size_t dot = rest.find('.', from);
    std::string part = rest.substr(from, dot == std::string::npos ? std::string::npos : dot - from);
    if (part.empty() || part.size() > 255) return nullptr;
    knot = BKNOT_FindChild(knot, part.c_str());
    if (dot == std::string::npos) break;
    from = dot + 1;
  }
  return knot;
}

}  // namespace

BKnotPtr BKNOT_Find(const char* moduleName, const char* name) {
  return S_Walk(BKNOT_FindModule(moduleName), name);
}

BKnotPtr BKNOT_FindByFullName(const char* fullName) {
  std::string full = fullName ? fullName : "";
  size_t dot = full.find('.');
  BKnotPtr module = BKNOT_FindModule(full.substr(0, dot).c_str());
  if (dot == std::string::npos) return module;
  return S_Walk(module, full.c_str() + dot + 1);
}

namespace {

BKnotPtr S_LoadFromOffset(_BFileRec* file, UInt32 offset, Int depth) {
  if (depth > kBKnotMaxDepth) S_FailAt(kBKnotErrTooDeep, offset);
  RLibPtr lib = static_cast<RLibPtr>(BFILE_GetClientData(file));
  KnotRecord rec = BKNOT_ReadRecord(file, offset, nullptr);
  if (!(rec.Flags & KNOT_EXPORTED) || !lib) return nullptr;
  BKnotPtr parent = rec.ModuleIndex >= 0 ? RLIB_IndexToModuleKnot(lib, rec.ModuleIndex)
                                         : S_LoadFromOffset(file, rec.ParentOffset, depth + 1);
  BKnotPtr knot = BKNOT_FindChild(parent, rec.Name.c_str());
  return knot && knot->Offset == offset ? knot : nullptr;
}

}  // namespace

BKnotPtr BKNOT_LoadFromOffset(_BFileRec* file, UInt32 offset) { return S_LoadFromOffset(file, offset, 0); }

std::vector<BKnotPtr> BKNOT_Children(BKnotPtr knot) {
  std::vector<BKnotPtr> out;
  if (knot) S_InOrder(knot->ChildRoot, &out);
  return out;
}

BKnotPtr BKNOT_GetFirst(BKnotPtr knot) {
  BKNOT_LoadChildren(knot);
  std::vector<BKnotPtr> all = BKNOT_Children(knot);
  return all.empty() ? nullptr : all.front();
}

BKnotPtr BKNOT_GetNext(BKnotPtr knot, BKnotPtr child) {
  std::vector<BKnotPtr> all = BKNOT_Children(knot);
  auto at = std::find(all.begin(), all.end(), child);
  return at == all.end() || at + 1 == all.end() ? nullptr : *(at + 1);
}

void BKNOT_Rebalance(BKnotPtr knot) {
  std::vector<BKnotPtr> all = BKNOT_Children(knot);
  S_SetTree(knot, all);
}

void BKNOT_SetParent(BKnotPtr knot, BKnotPtr parent) {
  if (knot->Parent == parent) return;
  if (BKnotPtr old = knot->Parent) {
    std::vector<BKnotPtr> all = BKNOT_Children(old);
    all.erase(std::remove(all.begin(), all.end(), knot), all.end());
    S_SetTree(old, all);
  }
  knot->Parent = nullptr;
  knot->Left = knot->Right = nullptr;
  if (!parent) return;
  BKNOT_LoadChildren(parent);
  if (BKNOT_FindChild(parent, knot->Name)) {
    // The name is taken: cut the trailing digits and number until free.
    std::string base = knot->Name;
    while (!base.empty() && base.back() >= '0' && base.back() <= '9') base.pop_back();
    for (long n = 1;; ++n) {
      std::string candidate = base + std::to_string(n);
      if (!BKNOT_FindChild(parent, candidate.c_str())) {
        VSTR_Set(&knot->Name, candidate.c_str());
        break;
      }
    }
  }
  std::vector<BKnotPtr> all = BKNOT_Children(parent);
  auto at = std::lower_bound(all.begin(), all.end(), knot->Name, S_Less);
  all.insert(at, knot);
  S_SetTree(parent, all);
  knot->Parent = parent;
  std::vector<BKnotPtr> stack{knot};
  while (!stack.empty()) {  // the subtree now belongs to the parent's library
    BKnotPtr k = stack.back();
    stack.pop_back();
    k->Lib = parent->Lib;
    for (BKnotPtr c : BKNOT_Children(k)) stack.push_back(c);
  }
}

void BKNOT_SetName(BKnotPtr knot, const char* name) {
  BKnotPtr parent = knot->Parent;
  if (parent) BKNOT_SetParent(knot, nullptr);
  VSTR_Set(&knot->Name, name);
  if (parent) BKNOT_SetParent(knot, parent);
}

const char* BKNOT_GetName(BKnotPtr knot) { return knot ? knot->Name : nullptr; }

BKnotPtr BKNOT_GetModuleKnot(BKnotPtr knot) {
  while (knot && !knot->IsModule) knot = knot->Parent;
  return knot;
}

std::string BKNOT_QueryFullName(BKnotPtr knot) {
  std::string name;
  for (; knot; knot = knot->Parent) name = name.empty() ? knot->Name : std::string(knot->Name) + "." + name;
  return name;
}

Int BKNOT_Depth(BKnotPtr knot) {
  Int depth = 0;
  for (; knot; knot = knot->Parent) ++depth;
  return depth;
}

// --- Saving ---------------------------------------------------------------------------

namespace {

UInt32 S_ChildRootOffset(ClientPtr client) {
  BKnotPtr k = static_cast<BKnotPtr>(client);
  return k->ChildRoot ? k->ChildRoot->Offset : 0;
}
UInt32 S_LeftOffset(ClientPtr client) {
  BKnotPtr k = static_cast<BKnotPtr>(client);
  return k->Left ? k->Left->Offset : 0;
}
UInt32 S_RightOffset(ClientPtr client) {
  BKnotPtr k = static_cast<BKnotPtr>(client);
  return k->Right ? k->Right->Offset : 0;
}

}  // namespace

bool BKNOT_Save(BKnotPtr knot, RLibPtr lib, size_t fieldBytes, bool hasRecord) {
  RClasPtr cls = knot->Class;
  std::vector<BKnotPtr> children = BKNOT_Children(knot);
  KnotRecord rec;
  rec.Name = knot->Name;
  rec.Version = static_cast<uint8_t>((cls->Flags & RCLAS_FLAGDATA) ? RCLAS_GetVersion(cls) : kRClasDefaultVersion);
  rec.NumChildren = static_cast<Int>(children.size());
  rec.ClassIndex = RLIB_AddResClass(lib, cls);
  rec.Balance = knot->Balance;
  bool exported = knot->Res && (knot->Res->ResPrivate4 & RES_FLAGEXPORTED) != 0 && knot->Parent;
  if (exported) {
    rec.ModuleIndex = knot->Parent->IsModule ? RLIB_ModuleKnotToIndex(lib, knot->Parent) : -1;
    rec.ParentOffset = knot->Parent->Offset;
  }
  std::vector<uint8_t> data;
  owbcoding::ByteWriter w(&data);
  KnotPatchSites sites;
  RLIBC_EncodeKnot(w, rec, exported, knot->Left != nullptr, knot->Right != nullptr, &sites);
  bool inPlace = knot->File == lib->File && knot->Offset &&
                 BFILE_ChainCapacity(lib->File, knot->Offset) >= data.size() &&
                 (!hasRecord || (knot->FieldOffset && BFILE_ChainCapacity(lib->File, knot->FieldOffset) >= fieldBytes));
  PlacedRecord placed = inPlace ? BFILE_PlaceInChain(lib->File, knot->Offset, data) : BFILE_PlaceNew(lib->File, data);
  knot->File = lib->File;
  knot->Offset = placed.Offset;
  knot->Lib = lib;
  knot->NumChildren = rec.NumChildren;
  knot->ChildrenLoaded = 1;
  if (sites.ChildRoot >= 0) BFILE_WriteLater(lib->File, placed, static_cast<UInt32>(sites.ChildRoot), S_ChildRootOffset, knot);
  if (sites.Left >= 0) BFILE_WriteLater(lib->File, placed, static_cast<UInt32>(sites.Left), S_LeftOffset, knot);
  if (sites.Right >= 0) BFILE_WriteLater(lib->File, placed, static_cast<UInt32>(sites.Right), S_RightOffset, knot);
  return inPlace;
}
