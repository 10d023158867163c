// Most of the time that a history or a diff takes is spent on inflating its objects. libgit2 knows
// the size of an object, so a packed one is inflated by a single call with all of its input and
// room for all of its output; libdeflate does that in about half of the time that zlib needs, which
// must be able to stop at any byte. It checks the stream's checksum as zlib does.

#include "whole_stream.h"

#include <libdeflate.h>

#include <memory>

namespace {

struct Free {
  void operator()(libdeflate_decompressor* it) const { libdeflate_free_decompressor(it); }
};

}  // namespace

bool inflate_whole_stream(z_streamp stream) {
  // The head of a loose object is inflated alone, into so little room. It is never the whole.
  constexpr uInt head_room = 64;
  if (stream->total_in != 0 || stream->total_out != 0 || stream->avail_out <= head_room) {
    return false;
  }
  thread_local const std::unique_ptr<libdeflate_decompressor, Free> decompressor(
      libdeflate_alloc_decompressor());
  if (!decompressor) return false;
  std::size_t taken = 0;
  std::size_t made = 0;
  if (libdeflate_zlib_decompress_ex(decompressor.get(), stream->next_in, stream->avail_in,
                                    stream->next_out, stream->avail_out, &taken,
                                    &made) != LIBDEFLATE_SUCCESS) {
    return false;
  }
  stream->next_in += taken;
  stream->avail_in -= static_cast<uInt>(taken);
  stream->total_in += taken;
  stream->next_out += made;
  stream->avail_out -= static_cast<uInt>(made);
  stream->total_out += made;
  return true;
}
