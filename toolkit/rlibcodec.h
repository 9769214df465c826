// The records of a resource library file, and the one set of encoders and
// decoders that the reader and the writer share.  Encoders append to a
// owbcoding::ByteWriter; decoders read a logical record through a
// BlockReader and fail through the error frames on anything that does not
// add up.  Offsets and sizes: docs/resource-library.md.
#ifndef OWB_TOOLKIT_RLIBCODEC_H
#define OWB_TOOLKIT_RLIBCODEC_H

#include <string>
#include <vector>

#include "bigendian.h"
#include "toolkit/bfile.h"

// The 64-byte file header.
struct DatHeader {
  uint8_t Creator[4] = {'Q', 'K', 0, 0};
  char Type[32] = "Resource Database";
  uint8_t Chip = 5;
  uint8_t Byte37 = 1;
  uint8_t Byte38 = 1;
  uint8_t Major = 6;
  uint8_t Minor = 0;
  UInt32 EndOffset = 0;
};
constexpr uint8_t kDatMajor = 6;
constexpr uint8_t kDatMinor = 0;
constexpr uint8_t kDatChipMips = 5;
constexpr const char* kDatType = "Resource Database";

void RLIBC_EncodeHeader(const DatHeader& header, uint8_t out[64]);
DatHeader RLIBC_DecodeHeader(const uint8_t in[64]);
// Checks a header and fails with its literal message (ERR_FailStr) when it
// is not one of ours.  `creating`: a major version of 0 fails silently.
void RLIBC_CheckHeader(const DatHeader& header, bool creating);

// Str: i16 length including the NUL (0 for null), then the bytes.
// Longer texts are cut at 32766 bytes.
void RLIBC_PutStr(owbcoding::ByteWriter& w, const char* text);
inline void RLIBC_PutStr(owbcoding::ByteWriter& w, const std::string& text) {
  RLIBC_PutStr(w, text.c_str());
}
// False for a null string.
inline bool RLIBC_GetStr(BlockReader& r, std::string* out) { return r.str(out); }

// A knot record.
struct KnotRecord {
  std::string Name;
  uint8_t Version = 8;
  uint8_t Flags = 0;
  Int NumChildren = 0;
  UInt32 ChildRootOffset = 0;
  UInt32 LeftOffset = 0, RightOffset = 0;
  Int ClassIndex = 0;
  Int ModuleIndex = -1;     // exported: the parent's module index, or -1
  UInt32 ParentOffset = 0;  // exported, parent not a module
  Int Balance = 0;          // -1, 0, 1
};
enum {
  KNOT_HASCHILDREN = 1,
  KNOT_EXPORTED = 2,
  KNOT_WIDECLASS = 4,
  KNOT_HASLEFT = 8,
  KNOT_HASRIGHT = 16
};
// Where the encoder put the offsets that are filled in later.
struct KnotPatchSites {
  Int ChildRoot = -1, Left = -1, Right = -1;  // logical positions, -1 none
};
// Flags are derived from the record's contents (children, left, right,
// class index width, exported when ModuleIndex/ParentOffset are given by
// `exported`).
void RLIBC_EncodeKnot(owbcoding::ByteWriter& w, const KnotRecord& knot, bool exported,
                      bool hasLeft, bool hasRight, KnotPatchSites* sites);
KnotRecord RLIBC_DecodeKnot(BlockReader& r);

// Module section entry.
struct ModuleEntry {
  std::string Name;
  UInt32 NameOffset = 0;  // decoded: file offset of the name (the module's knot offset)
  Int NumChildren = 0;
  UInt32 ChildRootOffset = 0;
  UInt32 FieldOffset = 0;
};
Int RLIBC_PutModule(owbcoding::ByteWriter& w, const ModuleEntry& m);  // gives the name's position
ModuleEntry RLIBC_GetModule(BlockReader& r);

// Class section entry.
struct ClassRecord {
  std::string Name;
  std::string ModName;  // empty: defined elsewhere, nothing more follows
  std::string Parent;
  UInt16 Flags = 0;
  Int Version = 0;
  std::vector<std::string> FieldNames;
  std::vector<Int> FieldTypes;
  std::vector<std::pair<Int, std::string>> Bindings;  // field table index, field name
};
void RLIBC_PutClass(owbcoding::ByteWriter& w, const ClassRecord& c);
ClassRecord RLIBC_GetClass(BlockReader& r);

// Import section entry.
struct ImportEntry {
  std::string Name, FileName;
  Int Version = 0;
};
void RLIBC_PutImport(owbcoding::ByteWriter& w, const ImportEntry& e);
ImportEntry RLIBC_GetImport(BlockReader& r);

// A count: i16, refused when negative.
Int RLIBC_GetCount(BlockReader& r);

#endif  // OWB_TOOLKIT_RLIBCODEC_H
