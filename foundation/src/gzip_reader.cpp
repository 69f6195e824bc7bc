// SPDX-License-Identifier: Apache-2.0
#include "gzip_reader.h"

#include <new>

namespace qx {

namespace {

// Added to the size of the window, it has zlib read the gzip format alone, with its header and check sum.
constexpr int kGzipOnly = 16 + MAX_WBITS;

}  // namespace

GzipReader::GzipReader() {
  if (inflateInit2(&stream_, kGzipOnly) != Z_OK) throw std::bad_alloc();
}

GzipReader::~GzipReader() {
  // Its result only tells whether data were left over.
  static_cast<void>(inflateEnd(&stream_));
}

void GzipReader::setInput(std::string_view compressed) noexcept {
  // zlib doesn't write to its input, whatever the type of the pointer.
  stream_.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(compressed.data()));
  stream_.avail_in = static_cast<uInt>(compressed.size());
}

std::string_view GzipReader::decompressPiece() noexcept {
  // The format allows several compressed parts, one after the other; their texts are one.
  if (isEnded_ && stream_.avail_in > 0) {
    isDamaged_ = inflateReset(&stream_) != Z_OK;
    isEnded_ = false;
  }
  stream_.next_out = reinterpret_cast<Bytef*>(piece_);
  stream_.avail_out = kPieceBytes;
  if (isEnded_ || isDamaged_) return {};
  const int result = inflate(&stream_, Z_NO_FLUSH);
  isEnded_ = result == Z_STREAM_END;
  // Z_BUF_ERROR is no damage: nothing was left to do, where a full piece ended with the last byte of the input.
  isDamaged_ = result != Z_OK && result != Z_STREAM_END && result != Z_BUF_ERROR;
  return {piece_, kPieceBytes - stream_.avail_out};
}

}  // namespace qx
