// Types shared by every tool of the environment.
//
// Text is held in plain `char` buffers; the fixed buffer types below are
// NUL-terminated and sized as the environment's files and messages need.
#ifndef OWB_OWBTYPES_H
#define OWB_OWBTYPES_H

#include <cstdint>

// A four-character code, first character in the most significant byte.
typedef uint32_t TypeIdent;

// Builds a TypeIdent from its four characters: OWB_TYPE("FLTT").
constexpr TypeIdent makeTypeIdent(const char (&code)[5]) {
  return (static_cast<TypeIdent>(static_cast<unsigned char>(code[0])) << 24) |
         (static_cast<TypeIdent>(static_cast<unsigned char>(code[1])) << 16) |
         (static_cast<TypeIdent>(static_cast<unsigned char>(code[2])) << 8) |
         static_cast<TypeIdent>(static_cast<unsigned char>(code[3]));
}
#define OWB_TYPE(code) makeTypeIdent(code)

constexpr TypeIdent kWildTypeIdent = makeTypeIdent("****");
constexpr TypeIdent kFileItemType = makeTypeIdent("FILE");    // StringItem
constexpr TypeIdent kNumberItemType = makeTypeIdent("NUMB");  // NumberItem
constexpr TypeIdent kEngineItemType = makeTypeIdent("FLTE");  // EngineConfiguration
constexpr TypeIdent kFleetItemType = makeTypeIdent("FLTC");   // FleetObject

// 0 for success; negative values are the library's own codes (shared/errors.h),
// positive values are errno values passed on by the block database.
typedef int32_t ErrorCode;

// The shared library's truth value: 0 or 1.
typedef uint8_t Boolean;
#ifndef TRUE
#define TRUE 1
#endif
#ifndef FALSE
#define FALSE 0
#endif

// The fleet operations' truth value: -1 for true, 0 for false.  A few tests
// give 1, so callers test against zero.
typedef int32_t OWBboolean;
constexpr OWBboolean OWB_TRUE = -1;
constexpr OWBboolean OWB_FALSE = 0;

typedef char Str31[32];
typedef char Str255[256];
typedef char processLabelType[256];
typedef char fileNameType[1024];

class Item;
typedef Item* ItemPtr;

#endif  // OWB_OWBTYPES_H
