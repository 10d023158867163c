// Passwords in the host's encoded form.
#pragma once

#include <cstddef>

namespace uwugit {

// A decoded password may be longer than its encoded form; the buffer takes this many times as much.
inline constexpr std::size_t kDecodedGrowth = 4;

// Decodes the first `*length` bytes of `buffer` in place through the host's service. The buffer
// holds kDecodedGrowth times the encoded length and one byte for the NUL that the caller adds.
// Answers 0 and sets the new length; anything else leaves text and length alone: the text was not
// encoded, and callers use it as it stands.
int zkeldec(char* buffer, std::size_t* length);

}  // namespace uwugit
