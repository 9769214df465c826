// Bounds-checked big-endian coding, used by every binary format of the
// environment: the message wire format, resource libraries and block
// database files.  Header-only so that the toolkit, which links nothing of
// ours, can use it too.
//
// Raw helpers encode into / decode from a buffer the caller has sized.
// ByteReader never reads past its span: a read that does not fit fails,
// leaves the output untouched and makes ok() false for good.
#ifndef OWB_BIGENDIAN_H
#define OWB_BIGENDIAN_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace owbcoding {

inline void putU16(uint8_t* p, uint16_t v) {
  p[0] = static_cast<uint8_t>(v >> 8);
  p[1] = static_cast<uint8_t>(v);
}
inline void putU32(uint8_t* p, uint32_t v) {
  p[0] = static_cast<uint8_t>(v >> 24);
  p[1] = static_cast<uint8_t>(v >> 16);
  p[2] = static_cast<uint8_t>(v >> 8);
  p[3] = static_cast<uint8_t>(v);
}
inline void putI16(uint8_t* p, int16_t v) { putU16(p, static_cast<uint16_t>(v)); }
inline void putI32(uint8_t* p, int32_t v) { putU32(p, static_cast<uint32_t>(v)); }

inline uint16_t getU16(const uint8_t* p) {
  return static_cast<uint16_t>((p[0] << 8) | p[1]);
}
inline uint32_t getU32(const uint8_t* p) {
  return (static_cast<uint32_t>(p[0]) << 24) | (static_cast<uint32_t>(p[1]) << 16) |
         (static_cast<uint32_t>(p[2]) << 8) | static_cast<uint32_t>(p[3]);
}
inline int16_t getI16(const uint8_t* p) { return static_cast<int16_t>(getU16(p)); }
inline int32_t getI32(const uint8_t* p) { return static_cast<int32_t>(getU32(p)); }

// True when [offset, offset + length) lies inside a buffer of size bytes.
inline bool fits(size_t size, size_t offset, size_t length) {
  return offset <= size && length <= size - offset;
}

// Sequential, bounds-checked reading of a byte span.
class ByteReader {
 public:
  ByteReader(const void* data, size_t size)
      : data_(static_cast<const uint8_t*>(data)), size_(size) {}

  bool ok() const { return ok_; }
  size_t position() const { return pos_; }
  size_t size() const { return size_; }
  size_t remaining() const { return size_ - pos_; }

  bool seek(size_t offset) { return check(offset <= size_) && (pos_ = offset, true); }
  bool skip(size_t n) { return check(fits(size_, pos_, n)) && (pos_ += n, true); }

  bool u8(uint8_t* v) { return take(1) && (*v = data_[pos_ - 1], true); }
  bool u16(uint16_t* v) { return take(2) && (*v = getU16(data_ + pos_ - 2), true); }
  bool u32(uint32_t* v) { return take(4) && (*v = getU32(data_ + pos_ - 4), true); }
  bool i16(int16_t* v) { return take(2) && (*v = getI16(data_ + pos_ - 2), true); }
  bool i32(int32_t* v) { return take(4) && (*v = getI32(data_ + pos_ - 4), true); }
  bool bytes(void* out, size_t n) {
    if (!take(n)) return false;
    if (n) std::memcpy(out, data_ + pos_ - n, n);
    return true;
  }
  // A pointer to the next n bytes, or null when they are not there.
  const uint8_t* view(size_t n) { return take(n) ? data_ + pos_ - n : nullptr; }

 private:
  bool check(bool cond) {
    if (!cond) ok_ = false;
    return cond && ok_;
  }
  bool take(size_t n) {
    if (!check(fits(size_, pos_, n))) return false;
    pos_ += n;
    return true;
  }

  const uint8_t* data_;
  size_t size_;
  size_t pos_ = 0;
  bool ok_ = true;
};

// Sequential big-endian writing into a growing byte vector.
class ByteWriter {
 public:
  explicit ByteWriter(std::vector<uint8_t>* out) : out_(out) {}

  size_t position() const { return out_->size(); }
  void u8(uint8_t v) { out_->push_back(v); }
  void u16(uint16_t v) { uint8_t b[2]; putU16(b, v); bytes(b, 2); }
  void u32(uint32_t v) { uint8_t b[4]; putU32(b, v); bytes(b, 4); }
  void i16(int16_t v) { u16(static_cast<uint16_t>(v)); }
  void i32(int32_t v) { u32(static_cast<uint32_t>(v)); }
  void bytes(const void* data, size_t n) {
    const uint8_t* p = static_cast<const uint8_t*>(data);
    out_->insert(out_->end(), p, p + n);
  }
  void zeros(size_t n) { out_->insert(out_->end(), n, 0); }
  // Overwrites 4 bytes already written at offset (for sizes known late).
  void patchU32(size_t offset, uint32_t v) { putU32(out_->data() + offset, v); }
  void patchU16(size_t offset, uint16_t v) { putU16(out_->data() + offset, v); }

 private:
  std::vector<uint8_t>* out_;
};

}  // namespace owbcoding

#endif  // OWB_BIGENDIAN_H
