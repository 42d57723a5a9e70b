// JPEG files, by libjpeg.
#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

// jpeglib.h uses FILE and size_t without including them.
#include <jpeglib.h>

#include "simcam/picture.h"

namespace simcam {

namespace {

// The library reports an error by a call that must not return. It comes first, so that the library's pointer to the
// base is a pointer to the whole.
struct JpegErrors {
  jpeg_error_mgr base;
  std::jmp_buf back;
  char message[JMSG_LENGTH_MAX];
};

void GoBack(j_common_ptr compress) {
  auto* const errors = reinterpret_cast<JpegErrors*>(compress->err);
  compress->err->format_message(compress, static_cast<char*>(errors->message));
  std::longjmp(static_cast<std::jmp_buf&>(errors->back), 1);
}

struct JpegBuffer {
  unsigned char* bytes = nullptr;
  unsigned long size = 0;
  JpegBuffer() = default;
  ~JpegBuffer() { std::free(bytes); }
  JpegBuffer(const JpegBuffer&) = delete;
  JpegBuffer& operator=(const JpegBuffer&) = delete;
};

void WriteRows(jpeg_compress_struct& compress, const std::uint8_t* bgrx) {
  const std::size_t stride = std::size_t{4} * compress.image_width;
  while (compress.next_scanline < compress.image_height) {
    auto* row = const_cast<std::uint8_t*>(bgrx + stride * compress.next_scanline);
    jpeg_write_scanlines(&compress, &row, 1);
  }
}

// Nothing with a destructor may live here: an error jumps over it.
bool Compress(const std::uint8_t* bgrx, int width, int height, int quality, JpegErrors& errors, JpegBuffer& buffer) {
  jpeg_compress_struct compress{};
  compress.err = jpeg_std_error(&errors.base);
  errors.base.error_exit = GoBack;
  if (setjmp(static_cast<std::jmp_buf&>(errors.back)) != 0) {
    jpeg_destroy_compress(&compress);
    return false;
  }
  jpeg_create_compress(&compress);
  jpeg_mem_dest(&compress, &buffer.bytes, &buffer.size);
  compress.image_width = static_cast<JDIMENSION>(width);
  compress.image_height = static_cast<JDIMENSION>(height);
  compress.input_components = 4;
  compress.in_color_space = JCS_EXT_BGRX;
  jpeg_set_defaults(&compress);
  jpeg_set_quality(&compress, quality, TRUE);
  jpeg_start_compress(&compress, TRUE);
  WriteRows(compress, bgrx);
  jpeg_finish_compress(&compress);
  jpeg_destroy_compress(&compress);
  return true;
}

}  // namespace

std::string EncodeJpeg(const std::uint8_t* bgrx, int width, int height, int quality) {
  if (width < 1 || height < 1 || width > kMaxPictureEdge || height > kMaxPictureEdge) {
    throw std::invalid_argument("no JPEG of " + std::to_string(width) + "x" + std::to_string(height) +
                                ": width and height must be 1 to " + std::to_string(kMaxPictureEdge) + " pixels");
  }
  if (quality < 1 || quality > 100) {
    throw std::invalid_argument("the quality of a JPEG must be 1 to 100, not " + std::to_string(quality));
  }
  JpegErrors errors{};
  JpegBuffer buffer;
  if (!Compress(bgrx, width, height, quality, errors, buffer)) {
    throw std::runtime_error("the JPEG encoder failed: " + std::string(static_cast<const char*>(errors.message)));
  }
  return std::string(reinterpret_cast<const char*>(buffer.bytes), buffer.size);
}

}  // namespace simcam
