#include "simcam/gzip.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <new>

namespace simcam {

namespace {

constexpr int kGzipWindow = MAX_WBITS + 16;  // zlib's way to ask for gzip
constexpr int kMemoryLevel = 8;

class Compressor {
 public:
  Compressor() {
    if (deflateInit2(&m_stream, Z_BEST_COMPRESSION, Z_DEFLATED, kGzipWindow, kMemoryLevel, Z_DEFAULT_STRATEGY) !=
        Z_OK) {
      throw std::bad_alloc();
    }
  }
  ~Compressor() { deflateEnd(&m_stream); }
  Compressor(const Compressor&) = delete;
  Compressor& operator=(const Compressor&) = delete;

  void Add(std::string_view text) { Run(text, Z_NO_FLUSH); }

  std::string Finish() {
    Run({}, Z_FINISH);
    return std::move(m_bytes);
  }

 private:
  void Run(std::string_view text, int flush) {
    // zlib reads only, but an old interface says otherwise.
    m_stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
    m_stream.avail_in = static_cast<uInt>(text.size());
    do {
      std::array<char, 16384> piece{};
      m_stream.next_out = reinterpret_cast<Bytef*>(piece.data());
      m_stream.avail_out = static_cast<uInt>(piece.size());
      deflate(&m_stream, flush);
      m_bytes.append(piece.data(), piece.size() - m_stream.avail_out);
    } while (m_stream.avail_out == 0);
  }

  z_stream m_stream{};
  std::string m_bytes;
};

}  // namespace

std::string Gzip(std::string_view text) {
  Compressor compressor;
  compressor.Add(text);
  return compressor.Finish();
}

std::string GzipBlanks(std::size_t size) {
  const std::string piece(std::size_t{64} * 1024, ' ');
  Compressor compressor;
  while (size > 0) {
    const std::size_t count = std::min(size, piece.size());
    compressor.Add(std::string_view(piece).substr(0, count));
    size -= count;
  }
  return compressor.Finish();
}

}  // namespace simcam
