// Unpacks gzip as it arrives. libcurl would do it too, but takes a packed text that breaks off for a whole one.
#pragma once

#include <zlib.h>

#include <string_view>

namespace qx {

/// Large, so it is for the heap, and only where something is packed.
class GzipReader {
 public:
  /// Throws `std::bad_alloc`.
  GzipReader();
  ~GzipReader();
  GzipReader(const GzipReader&) = delete;
  GzipReader& operator=(const GzipReader&) = delete;

  /// Unpacks what comes next and hands it piece by piece to `take`, a callable that gets a `std::string_view` and
  /// returns false to stop. False when the data are damaged or `take` stopped.
  template <typename Take>
  bool unpack(std::string_view packed, Take&& take) {
    setInput(packed);
    do {
      const std::string_view piece = unpackPiece();
      if (isDamaged_ || (!piece.empty() && !take(piece))) return false;
    } while (hasMore());
    return true;
  }
  /// True when the packed text has come up to its check sum.
  bool isWhole() const noexcept { return isEnded_; }

 private:
  static constexpr unsigned kPieceBytes = 16U * 1024U;

  void setInput(std::string_view packed) noexcept;
  std::string_view unpackPiece() noexcept;
  bool hasMore() const noexcept { return stream_.avail_in > 0 || stream_.avail_out == 0; }

  z_stream stream_{};
  bool isEnded_ = false;
  bool isDamaged_ = false;
  char piece_[kPieceBytes];
};

}  // namespace qx
