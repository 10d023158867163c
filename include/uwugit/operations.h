// The signatures of the host operations in vectors.h, shared by the module's stubs and the host.
// Operations that only other modules' runtimes use have no signature here.
#pragma once

#include "uwugit/host_abi.h"
#include "uwugit/vectors.h"

namespace uwugit {

// Where an operation lies in the control block's vectors.
struct OperationNumber {
  std::uint32_t vector;
  std::uint32_t slot;
};

namespace operation_number {
#define UWUGIT_NUMBER(name, vector, slot) inline constexpr OperationNumber name{vector, slot};
UWUGIT_HOST_OPERATIONS(UWUGIT_NUMBER)
#undef UWUGIT_NUMBER
}  // namespace operation_number

}  // namespace uwugit

namespace uwugit::operation {

// Writes one line to the host's log: a severity prefix ("%1z" error, "%3z" note), then a
// printf-style format with its arguments.
using xpslog = void(const char* text, ...);

// Formats into a character variable of that capacity; no NUL is added, what does not fit is cut.
// Answers the number of characters written.
using xpsstr = std::int64_t(char* characters, std::int64_t capacity, const char* format, ...);

// Logs the host's own message for a return code of the file service. The first argument is 0.
using xprrlog = void(std::int64_t zero, int code);

// Ties a file reference (eight characters, blank: the host chooses one and fills it in) to a path.
using xxrasgn = int(char* reference, const char* engine, const char* path, std::size_t path_length,
                    std::uint64_t options);
using xxropen = int(const char* reference, const FileAttributes* attributes, HostFile** file);
using xxclose = int(HostFile* file);

// Ends the host's run; does not return.
using xexit = void(int code);
inline constexpr int kOutOfMemory = 1016;

// Renders the message text of a return code; answers its length (at most the capacity).
using xprlstr = std::int64_t(int code, char* text, std::int64_t capacity);

// Macro variables: the anchor of their table, then setting a character or a numeric one.
using xalanch = void*();
using xjsympc = int(void* anchor, const char* name, std::int64_t name_length, const char* text,
                    std::int64_t text_length, int option);
using xjsympn = int(void* anchor, const char* name, std::int64_t name_length, double value,
                    int option);

// Decodes a password into a new block of the pool; 0 on success.
using omidcrp = int(HostPool* pool, const char* encoded, std::int64_t encoded_length,
                    char** decoded, std::int64_t* decoded_length);

}  // namespace uwugit::operation

namespace uwugit {

// A return code is a sign, a group of warning bits, and a facility and a message of 11 bits each.
// All but the warning bits:
constexpr std::uint32_t significant_bits(int code) {
  return static_cast<std::uint32_t>(code) & 0x803FFFFF;
}
inline constexpr std::uint32_t kEndOfData = 0x801;  // the end of a file: nothing is wrong

}  // namespace uwugit
