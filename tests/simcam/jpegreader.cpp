#include "tests/simcam/jpegreader.h"

#include <csetjmp>
#include <cstdio>
// jpeglib.h uses FILE and size_t without including them.
#include <jpeglib.h>

namespace simcamtest {

namespace {

struct Errors {
  jpeg_error_mgr base;
  std::jmp_buf back;
};

void GoBack(j_common_ptr decompress) {
  std::longjmp(reinterpret_cast<Errors*>(decompress->err)->back, 1);
}

// Nothing with a destructor may live here: an error jumps over it.
bool Decode(const std::string& file, DecodedPicture& picture) {
  Errors errors{};
  jpeg_decompress_struct decompress{};
  decompress.err = jpeg_std_error(&errors.base);
  errors.base.error_exit = GoBack;
  if (setjmp(errors.back) != 0) {
    jpeg_destroy_decompress(&decompress);
    return false;
  }
  jpeg_create_decompress(&decompress);
  jpeg_mem_src(&decompress, reinterpret_cast<const unsigned char*>(file.data()), file.size());
  jpeg_read_header(&decompress, TRUE);
  decompress.out_color_space = JCS_EXT_BGRX;
  jpeg_start_decompress(&decompress);
  picture.width = static_cast<int>(decompress.output_width);
  picture.height = static_cast<int>(decompress.output_height);
  const std::size_t stride = std::size_t{4} * decompress.output_width;
  picture.bgrx.resize(stride * decompress.output_height);
  while (decompress.output_scanline < decompress.output_height) {
    JSAMPROW row = picture.bgrx.data() + stride * decompress.output_scanline;
    jpeg_read_scanlines(&decompress, &row, 1);
  }
  jpeg_finish_decompress(&decompress);
  const bool isWhole = errors.base.num_warnings == 0;
  jpeg_destroy_decompress(&decompress);
  return isWhole;
}

}  // namespace

DecodedPicture DecodeJpeg(const std::string& file) {
  DecodedPicture picture;
  return Decode(file, picture) ? picture : DecodedPicture();
}

}  // namespace simcamtest
