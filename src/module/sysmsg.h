// Publishing a return code to the host program's macro variables. Every function module carries
// this; none of the git functions calls it.
#pragma once

#include "uwugit/host_abi.h"

namespace uwugit {

// Per-task work area of the function library.
struct TaskWorkArea {
  std::int64_t message_number;
  std::int64_t message_length;
  char message[512];
  unsigned char reserved[520];
};
static_assert(sizeof(TaskWorkArea) == 1048);

// What the function library keeps for its host.
struct FunctionLibraryBlock {
  TaskWorkArea* work_area;
};
extern FunctionLibraryBlock* function_library;

// Makes the function-library block.
void fncinit();

// A block from the host's allocator, or null.
void* vmalcp_handler(std::size_t bytes, std::uint64_t flags);

// Sets the macro variables SYSMSG (the code's message text) and SYSRC (the code). Ends the run when
// memory runs out. It is in the delivered module although nothing there calls it.
[[gnu::used]] void set_sysmsg(int code);

}  // namespace uwugit
