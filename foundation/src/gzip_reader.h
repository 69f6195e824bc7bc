// SPDX-License-Identifier: Apache-2.0
// Decompresses gzip as it arrives. libcurl would do it too, but takes a compressed body that breaks off for a whole
// one.
#pragma once

#include <zlib.h>

#include <string_view>

namespace qx {

/// Large, so it is for the heap, and only where something is compressed.
class GzipReader {
 public:
  /// Throws `std::bad_alloc`.
  GzipReader();
  ~GzipReader();
  GzipReader(const GzipReader&) = delete;
  GzipReader& operator=(const GzipReader&) = delete;

  /// Decompresses what comes next and hands it piece by piece to `take`, a callable that gets a `std::string_view` and
  /// returns false to stop. False when the data are damaged or `take` stopped.
  template <typename Take>
  bool decompress(std::string_view compressed, Take&& take) {
    setInput(compressed);
    do {
      const std::string_view piece = decompressPiece();
      if (isDamaged_ || (!piece.empty() && !take(piece))) return false;
    } while (hasMore());
    return true;
  }
  /// True when the compressed body has come up to its check sum.
  bool isWhole() const noexcept { return isEnded_; }

 private:
  static constexpr unsigned kPieceBytes = 16U * 1024U;

  void setInput(std::string_view compressed) noexcept;
  std::string_view decompressPiece() noexcept;
  bool hasMore() const noexcept { return stream_.avail_in > 0 || stream_.avail_out == 0; }

  z_stream stream_{};
  bool isEnded_ = false;
  bool isDamaged_ = false;
  char piece_[kPieceBytes];
};

}  // namespace qx
