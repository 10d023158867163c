#include "module/registration.h"

#include "module/bootstrap.h"
#include "module/vector_stubs.h"

namespace uwugit {
namespace {

constexpr unsigned char kGitFunctionKind = 0x42;
constexpr std::uint32_t kGitFunctionAttributes = 0x00052492;

constexpr FunctionDescriptor describe(const char (&name)[9]) {
  FunctionDescriptor row{};
  for (std::size_t i = 0; i + 1 < sizeof name; ++i) row.name[i] = name[i];
  row.minimum_arguments = 1;
  row.maximum_arguments = 7;
  row.kind = kGitFunctionKind;
  row.attributes = kGitFunctionAttributes;
  return row;
}

constexpr FunctionDescriptor kDescriptors[] = {describe("GIT_PULL"), describe("GIT_PUSH")};
constexpr HostFunction* kImplementations[] = {do_pull, do_push};
constexpr int kRegisteredFunctions = 2;

void* allocate_for_host(std::size_t bytes, void* a4, void* a5) {
  HostAllocator* allocator = v_global_gcb_anchor->allocator;
  void* block = allocator->allocate(allocator, bytes, kHostAllocation, allocator, a4, a5);
  if (!block) xexit(operation::kOutOfMemory);
  return block;
}

}  // namespace

void* xfmuent(int mode, int count, const FunctionDescriptor* descriptors,
              HostFunction* const* implementations, void* a4, void* a5) {
  if (mode == kListDescriptors) {
    void* block = allocate_for_host(sizeof(DescriptorBlock), a4, a5);
    *static_cast<DescriptorBlock*>(block) = {static_cast<std::uint32_t>(count), 0, descriptors};
    return block;
  }
  if (mode == kListImplementations) {
    const auto functions = static_cast<std::size_t>(count);
    void* block = allocate_for_host((functions + 1) * sizeof(void*), a4, a5);
    auto* words = static_cast<HostFunction**>(block);
    for (std::size_t i = 0; i < functions; ++i) words[i + 1] = implementations[i];
    return block;
  }
  return nullptr;
}

void* uwugit_p(int mode, void*, void*, void*, void* a4, void* a5) {
  switch (mode) {
    case kListDescriptors:
      return xfmuent(mode, kRegisteredFunctions, kDescriptors, nullptr, a4, a5);
    case kListImplementations:
      return xfmuent(mode, kRegisteredFunctions, nullptr, kImplementations, a4, a5);
    default:
      return nullptr;
  }
}

}  // namespace uwugit
