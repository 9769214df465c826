// PNG output through libpng.
#include "toolkit/png.h"

#include <png.h>

#include <cstdio>
#include <memory>

bool PNG_WriteRgb(const std::string& path, int width, int height, const std::vector<uint8_t>& rgb,
                  std::string* error) {
  auto fail = [&](const char* why) {
    if (error) *error = why;
    return false;
  };
  if (width <= 0 || height <= 0 || rgb.size() != static_cast<size_t>(width) * height * 3)
    return fail("picture size does not match its pixels");
  std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen(path.c_str(), "wbe"), std::fclose);
  if (!file) return fail("cannot create the file");
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  if (!png) return fail("out of memory");
  png_infop info = png_create_info_struct(png);
  if (!info) {
    png_destroy_write_struct(&png, nullptr);
    return fail("out of memory");
  }
  // libpng reports its errors by a long jump back here; nothing with a
  // destructor is created between this point and the end of the writing.
  if (setjmp(png_jmpbuf(png))) {
    png_destroy_write_struct(&png, &info);
    return fail("writing the PNG failed");
  }
  png_init_io(png, file.get());
  png_set_IHDR(png, info, static_cast<png_uint_32>(width), static_cast<png_uint_32>(height), 8, PNG_COLOR_TYPE_RGB,
               PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_write_info(png, info);
  for (int y = 0; y < height; y++)
    png_write_row(png, const_cast<png_bytep>(rgb.data() + static_cast<size_t>(y) * width * 3));
  png_write_end(png, info);
  png_destroy_write_struct(&png, &info);
  if (std::fflush(file.get()) != 0) return fail("writing the file failed");
  return true;
}
