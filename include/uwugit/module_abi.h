// What a function module tells its host: the information block that the bootstrap answers, the
// program names in it, and the registration blocks that the entry function builds.
#pragma once

#include "uwugit/host_abi.h"

namespace uwugit {

inline constexpr char kInformationTag[24] = "KEL_Image_Information=\0";  // ends in two NULs
inline constexpr std::uint32_t kInformationMarker = 0xB0BDEBED;

// One program of a module. The fields without a telling name are the host's bookkeeping.
struct ProgramName {
  std::uint64_t bookkeeping0;
  std::uint64_t bookkeeping8;
  std::uint64_t bookkeeping16;
  char name[16];  // NUL-padded
  void* entry;    // a ModuleEntry
  std::uint64_t bookkeeping48;
  std::uint64_t bookkeeping56;
  std::uint64_t bookkeeping64;
  std::uint64_t bookkeeping72;
};
static_assert(offsetof(ProgramName, name) == 24);
static_assert(offsetof(ProgramName, entry) == 40);
static_assert(sizeof(ProgramName) == 80);

struct ModuleInformation {
  char tag[24];
  std::uint32_t marker;
  std::uint32_t reserved28;
  std::uint64_t word_size;
  char release[6];  // NUL-filled, like all texts here
  char build_id[20];
  char build_date[14];  // "Nov 21 2026"
  unsigned char reserved80[16];
  const ProgramName* const* programs;  // ends with a null pointer
  const char* notice;
  char revision[8];
};
static_assert(offsetof(ModuleInformation, marker) == 24);
static_assert(offsetof(ModuleInformation, word_size) == 32);
static_assert(offsetof(ModuleInformation, release) == 40);
static_assert(offsetof(ModuleInformation, build_id) == 46);
static_assert(offsetof(ModuleInformation, build_date) == 66);
static_assert(offsetof(ModuleInformation, programs) == 96);
static_assert(offsetof(ModuleInformation, notice) == 104);
static_assert(offsetof(ModuleInformation, revision) == 112);
static_assert(sizeof(ModuleInformation) == 120);

// A registered function: what the host checks a call against before it passes it on.
struct FunctionDescriptor {
  char name[28];  // NUL-padded
  std::int16_t minimum_arguments;
  std::int16_t maximum_arguments;
  unsigned char kind;  // the meaning of this and of `attributes` is the host's
  unsigned char reserved33[15];
  std::uint32_t attributes;
  unsigned char reserved52[4];
};
static_assert(offsetof(FunctionDescriptor, minimum_arguments) == 28);
static_assert(offsetof(FunctionDescriptor, maximum_arguments) == 30);
static_assert(offsetof(FunctionDescriptor, kind) == 32);
static_assert(offsetof(FunctionDescriptor, attributes) == 48);
static_assert(sizeof(FunctionDescriptor) == 56);

inline constexpr int kListDescriptors = 1;      // entry mode 1, answers a DescriptorBlock
inline constexpr int kListImplementations = 2;  // entry mode 2, answers an implementation block

struct DescriptorBlock {
  std::uint32_t count;
  std::uint32_t reserved;
  const FunctionDescriptor* descriptors;
};
static_assert(offsetof(DescriptorBlock, descriptors) == 8);
static_assert(sizeof(DescriptorBlock) == 16);

// An implementation block is `count` + 1 words: word 0 is the host's, words 1 to count are the
// functions in the order of their descriptors.
using ModuleBootstrap = const ModuleInformation*(HostControlBlock* gcb, void* pidb);
using ModuleEntry = void*(int mode, void* a1, void* a2, void* a3, void* a4, void* a5);

}  // namespace uwugit
