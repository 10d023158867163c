#include "module/sysmsg.h"

#include "module/bootstrap.h"
#include "module/vector_stubs.h"

namespace uwugit {

FunctionLibraryBlock* function_library = nullptr;

namespace {

constexpr char kMessageVariable[] = "SYSMSG";
constexpr char kCodeVariable[] = "SYSRC";
constexpr int kMacroOption = 71;

TaskWorkArea* work_area() {
  if (!function_library) fncinit();
  if (!function_library->work_area) {
    void* block = vmalcp_handler(sizeof(TaskWorkArea), kHostAllocation);
    if (!block) {
      xexit(operation::kOutOfMemory);
      return nullptr;  // not reached: the run has ended
    }
    function_library->work_area = static_cast<TaskWorkArea*>(block);
    *function_library->work_area = {};
  }
  return function_library->work_area;
}

std::int64_t message_number(int code) {
  const std::uint32_t bits = significant_bits(code);
  if (bits == 0) return 0;
  if (bits == kEndOfData) return -1;
  const std::int64_t number = (bits >> 11 & 0x7FF) * 10000 + (bits & 0x7FF);
  return code > 0 ? -number : number;
}

}  // namespace

void fncinit() {
  static FunctionLibraryBlock block{};
  function_library = &block;
}

void* vmalcp_handler(std::size_t bytes, std::uint64_t flags) {
  HostAllocator* allocator = v_global_gcb_anchor->allocator;
  return allocator->allocate(allocator, bytes, flags, allocator, nullptr, nullptr);
}

void set_sysmsg(int code) {
  TaskWorkArea* area = work_area();
  if (!area) return;
  if (code == 0) {
    area->message_number = 0;
    area->message_length = 0;
  } else {
    area->message_number = message_number(code);
    area->message_length = xprlstr(code, area->message, sizeof area->message);
  }
  void* macros = xalanch();
  xjsympc(macros, kMessageVariable, sizeof kMessageVariable - 1, area->message,
          area->message_length, kMacroOption);
  xjsympn(macros, kCodeVariable, sizeof kCodeVariable - 1, code, kMacroOption);
}

}  // namespace uwugit
