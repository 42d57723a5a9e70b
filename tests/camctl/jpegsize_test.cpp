#include "camctl/jpegsize.h"

#include <gtest/gtest.h>

#include "tests/camctl/jpegbytes.h"

namespace camctl {
namespace {

TEST(ReadJpegSize, SizeOfTheFrameHeader) {
  const std::optional<PictureSize> size = ReadJpegSize(JpegBytes(640, 360));
  ASSERT_TRUE(size);
  EXPECT_EQ(size->width, 640);
  EXPECT_EQ(size->height, 360);
}

TEST(ReadJpegSize, ProgressivePicturesHaveOneToo) {
  EXPECT_EQ(ReadJpegSize(JpegBytes(65535, 1, '\xC2'))->width, 65535);
}

TEST(ReadJpegSize, FillersBeforeAMarkerAreSkipped) {
  std::string picture = JpegBytes(640, 360);
  picture.insert(2, "\xFF\xFF");
  EXPECT_TRUE(ReadJpegSize(picture));
}

TEST(ReadJpegSize, BytesBehindTheEndDoNotMatter) {
  EXPECT_TRUE(ReadJpegSize(JpegBytes(640, 360) + std::string(100, '\0')));
}

struct BadJpeg {
  const char* what;
  std::string bytes;
};

TEST(ReadJpegSize, WhatIsNoWholePictureHasNone) {
  const std::string good = JpegBytes(640, 360);
  const BadJpeg rows[] = {
      {"nothing", ""},
      {"one byte", "\xFF"},
      {"a web page", "<html>no picture</html>"},
      {"begin alone", "\xFF\xD8\xFF"},
      {"no end", good.substr(0, good.size() - 2)},
      {"width 0", JpegBytes(0, 360)},
      {"height 0", JpegBytes(640, 0)},
      {"a Huffman table in place of the frame header", JpegBytes(640, 360, '\xC4')},
      {"a scan before any frame header", std::string("\xFF\xD8\xFF\xDA\x00\x02", 6) + good.substr(2)},
      {"a segment of length 0", std::string("\xFF\xD8\xFF\xE0\x00\x00", 6) + good.substr(2)},
      {"a segment that reaches over the end", std::string("\xFF\xD8\xFF\xE0\xFF\xFF", 6) + good.substr(2)},
      {"a frame header that is cut", std::string("\xFF\xD8\xFF\xC0\x00\x11\x08\x01\xFF\xD9", 10)},
      {"a frame header that says to be short", std::string("\xFF\xD8\xFF\xC0\x00\x02\x08\x01\x68\x02\x80\xFF\xD9", 13)},
      {"no marker where one must be", std::string("\xFF\xD8\xFF\xE0\x00\x02", 6) + "abcd" + good.substr(2)},
  };
  for (const BadJpeg& row : rows) EXPECT_FALSE(ReadJpegSize(row.bytes)) << row.what;
}

TEST(ReadJpegSize, NoCutOfAPictureIsReadBeyondItsEnd) {
  const std::string good = JpegBytes(640, 360);
  for (std::size_t length = 0; length < good.size(); ++length) {
    // In memory of its own, where a sanitizer sees each step too far.
    const std::string cut(good.data(), length);
    EXPECT_FALSE(ReadJpegSize(cut)) << length;
  }
}

}  // namespace
}  // namespace camctl
