// Encoders and decoders of the resource library records.
#include "toolkit/rlibcodec.h"

#include <cstring>

#include "toolkit/err.h"
#include "toolkit/rlib.h"

using owbcoding::ByteWriter;
using owbcoding::getU32;
using owbcoding::putU32;

namespace {

void S_Corrupt(BlockReader& r, const char* what) {
  ERR_Fail("RLib", kRLibErrCorrupt, static_cast<long>(r.recordOffset()), what);
}

}  // namespace

void RLIBC_EncodeHeader(const DatHeader& h, uint8_t out[64]) {
  std::memset(out, 0, 64);
  std::memcpy(out, h.Creator, 4);
  std::memcpy(out + 4, h.Type, strnlen(h.Type, 31));
  out[36] = h.Chip;
  out[37] = h.Byte37;
  out[38] = h.Byte38;
  out[39] = h.Major;
  out[40] = h.Minor;
  putU32(out + 60, h.EndOffset);
}

DatHeader RLIBC_DecodeHeader(const uint8_t in[64]) {
  DatHeader h;
  std::memcpy(h.Creator, in, 4);
  std::memcpy(h.Type, in + 4, 31);
  h.Type[31] = 0;
  h.Chip = in[36];
  h.Byte37 = in[37];
  h.Byte38 = in[38];
  h.Major = in[39];
  h.Minor = in[40];
  h.EndOffset = getU32(in + 60);
  return h;
}

void RLIBC_CheckHeader(const DatHeader& h, bool creating) {
  static const uint8_t kCreator[4] = {'Q', 'K', 0, 0};
  if (std::memcmp(h.Creator, kCreator, 4) != 0) ERR_FailStr("Wrong file type");
  if (std::strcmp(h.Type, kDatType) != 0) ERR_FailStr("File is a %s, expected a %s", h.Type, kDatType);
  if (h.Major < 3 && h.Chip != kDatChipMips)
    ERR_FailStr("Bad machine architecture: got %s, expected %s", MCH_ChipCodeToStr(h.Chip),
                MCH_ChipCodeToStr(kDatChipMips));
  if (h.Major == 0 && creating) ERR_FailSilent();
  if (h.Major != kDatMajor) ERR_FailStr("Bad major version number: got %d, expected %d", h.Major, kDatMajor);
  if (h.Minor > kDatMinor) ERR_FailStr("Bad major minor number: got %d, expected %d", h.Minor, kDatMinor);
}

void RLIBC_PutStr(ByteWriter& w, const char* text) {
  std::vector<uint8_t> bytes;
  BFILE_EncodeStr(&bytes, text);
  w.bytes(bytes.data(), bytes.size());
}

Int RLIBC_GetCount(BlockReader& r) {
  int16_t n = r.i16();
  if (n < 0) S_Corrupt(r, "negative count");
  return n;
}

void RLIBC_EncodeKnot(ByteWriter& w, const KnotRecord& k, bool exported, bool hasLeft, bool hasRight,
                      KnotPatchSites* sites) {
  size_t nameLen = std::min<size_t>(k.Name.size(), 255);
  w.u8(static_cast<uint8_t>(nameLen));
  w.bytes(k.Name.data(), nameLen);
  w.u8(k.Version);
  uint8_t flags = 0;
  if (k.NumChildren > 0) flags |= KNOT_HASCHILDREN;
  if (exported) flags |= KNOT_EXPORTED;
  if (k.ClassIndex >= 255) flags |= KNOT_WIDECLASS;
  if (hasLeft) flags |= KNOT_HASLEFT;
  if (hasRight) flags |= KNOT_HASRIGHT;
  flags |= static_cast<uint8_t>(((k.Balance + 1) & 7) << 5);
  w.u8(flags);
  if (flags & KNOT_HASCHILDREN) {
    w.i16(static_cast<int16_t>(k.NumChildren));
    if (sites) sites->ChildRoot = static_cast<Int>(w.position());
    w.u32(k.ChildRootOffset);
  }
  if (hasLeft) {
    if (sites) sites->Left = static_cast<Int>(w.position());
    w.u32(k.LeftOffset);
  }
  if (hasRight) {
    if (sites) sites->Right = static_cast<Int>(w.position());
    w.u32(k.RightOffset);
  }
  if (flags & KNOT_WIDECLASS) w.u16(static_cast<uint16_t>(k.ClassIndex));
  else w.u8(static_cast<uint8_t>(k.ClassIndex));
  if (exported) {
    w.i16(static_cast<int16_t>(k.ModuleIndex));
    if (k.ModuleIndex < 0) w.u32(k.ParentOffset);
  }
}

KnotRecord RLIBC_DecodeKnot(BlockReader& r) {
  KnotRecord k;
  uint8_t nameLen = r.u8();
  k.Name.resize(nameLen);
  if (nameLen) r.read(&k.Name[0], nameLen);
  k.Version = r.u8();
  k.Flags = r.u8();
  k.Balance = ((k.Flags >> 5) & 7) - 1;
  if (k.Balance < -1 || k.Balance > 1) S_Corrupt(r, "knot balance");
  if (k.Flags & KNOT_HASCHILDREN) {
    k.NumChildren = RLIBC_GetCount(r);
    k.ChildRootOffset = r.u32();
  }
  if (k.Flags & KNOT_HASLEFT) k.LeftOffset = r.u32();
  if (k.Flags & KNOT_HASRIGHT) k.RightOffset = r.u32();
  k.ClassIndex = (k.Flags & KNOT_WIDECLASS) ? r.u16() : r.u8();
  if (k.Flags & KNOT_EXPORTED) {
    k.ModuleIndex = r.i16();
    if (k.ModuleIndex < 0) k.ParentOffset = r.u32();
  }
  return k;
}

Int RLIBC_PutModule(ByteWriter& w, const ModuleEntry& m) {
  Int at = static_cast<Int>(w.position());
  RLIBC_PutStr(w, m.Name);
  w.i16(static_cast<int16_t>(m.NumChildren));
  w.u32(m.NumChildren > 0 ? m.ChildRootOffset : 0);
  w.u32(m.FieldOffset);
  return at;
}

ModuleEntry RLIBC_GetModule(BlockReader& r) {
  ModuleEntry m;
  m.NameOffset = r.position();
  if (!RLIBC_GetStr(r, &m.Name) || m.Name.empty()) S_Corrupt(r, "module without a name");
  m.NumChildren = RLIBC_GetCount(r);
  m.ChildRootOffset = r.u32();
  m.FieldOffset = r.u32();
  return m;
}

void RLIBC_PutClass(ByteWriter& w, const ClassRecord& c) {
  RLIBC_PutStr(w, c.Name);
  // An absent module or parent is a null string.
  RLIBC_PutStr(w, c.ModName.empty() ? nullptr : c.ModName.c_str());
  if (!c.ModName.empty()) {
    RLIBC_PutStr(w, c.Parent.empty() ? nullptr : c.Parent.c_str());
    w.u16(static_cast<uint16_t>(c.Flags & ~0x400u));
    w.i16(static_cast<int16_t>(c.Version));
    w.i16(static_cast<int16_t>(c.FieldNames.size()));
    for (size_t i = 0; i < c.FieldNames.size(); ++i) {
      RLIBC_PutStr(w, c.FieldNames[i]);
      w.i16(static_cast<int16_t>(c.FieldTypes[i]));
    }
  }
  for (const auto& b : c.Bindings) {
    w.i16(static_cast<int16_t>(b.first));
    RLIBC_PutStr(w, b.second);
  }
  w.i16(-1);
}

ClassRecord RLIBC_GetClass(BlockReader& r) {
  ClassRecord c;
  if (!RLIBC_GetStr(r, &c.Name) || c.Name.empty()) S_Corrupt(r, "class without a name");
  RLIBC_GetStr(r, &c.ModName);
  if (!c.ModName.empty()) {
    RLIBC_GetStr(r, &c.Parent);
    c.Flags = r.u16();
    c.Version = r.i16();
    Int n = RLIBC_GetCount(r);
    for (Int i = 0; i < n; ++i) {
      std::string name;
      if (!RLIBC_GetStr(r, &name) || name.empty()) S_Corrupt(r, "field without a name");
      Int type = r.i16();
      if (type < 0 || type >= PFLD_NUMTYPES) S_Corrupt(r, "field type");
      c.FieldNames.push_back(name);
      c.FieldTypes.push_back(type);
    }
  }
  for (;;) {
    Int index = r.i16();
    if (index == -1) break;
    if (index < 0) S_Corrupt(r, "field index");
    std::string name;
    RLIBC_GetStr(r, &name);
    c.Bindings.emplace_back(index, name);
  }
  return c;
}

void RLIBC_PutImport(ByteWriter& w, const ImportEntry& e) {
  RLIBC_PutStr(w, e.Name);
  RLIBC_PutStr(w, e.FileName);
  w.i16(static_cast<int16_t>(e.Version));
}

ImportEntry RLIBC_GetImport(BlockReader& r) {
  ImportEntry e;
  if (!RLIBC_GetStr(r, &e.Name) || e.Name.empty()) S_Corrupt(r, "import without a name");
  RLIBC_GetStr(r, &e.FileName);
  e.Version = r.i16();  // read and ignored
  return e;
}
