// One call of a faster library for streams that zlib would inflate in one call as well.
#pragma once

#include <zlib.h>

// Inflates a zlib stream that is given as a whole to a stream record that has done nothing yet, and
// moves the record on as zlib would. False, with nothing changed but the bytes behind next_out,
// when that cannot be done: zlib then does the work, or finds what is wrong.
bool inflate_whole_stream(z_streamp stream);
