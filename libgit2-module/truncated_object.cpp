// libgit2 (1.1 to 1.9) inflates a loose object until it has the length that its head names. When
// the file ends before that, it asks zlib for more output for ever, as it takes zlib's answer "no
// progress" for a buffer that is too small.
//
// Here inflate, which only the libraries below the companion reach, answers that the data is
// damaged when it was to finish without any input left and got no further. Who calls it with no
// flush, or has more input later, gets zlib's own answer.

#include <zlib.h>

#include "next.h"
#include "whole_stream.h"

EXPORT int inflate(z_streamp stream, int flush) {
  if (stream && inflate_whole_stream(stream)) return Z_STREAM_END;
  const bool has_input = stream && stream->avail_in != 0;
  const uInt room = stream ? stream->avail_out : 0;
  const int code = NEXT(inflate)(stream, flush);
  const bool is_stuck = code == Z_BUF_ERROR && flush == Z_FINISH && !has_input && room != 0 &&
                        stream->avail_out == room;
  if (!is_stuck) return code;
  stream->msg = const_cast<char*>("an object ends too early; git fsck names it");
  return Z_DATA_ERROR;
}
