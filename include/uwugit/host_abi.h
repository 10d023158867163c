// The calling convention between a host runtime and the module: the argument block, the handles
// with their operation tables, and the control block. All of it is 64-bit, little-endian, C
// linkage.
//
// A handle is the address of its own table of operations: slot n is the 8-byte word at byte 8·n of
// what the handle points to, and the handle is passed back as the first argument. Slots that the
// module never calls are named `reserved`.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace uwugit {

static_assert(sizeof(void*) == 8, "the calling convention is 64-bit");
static_assert(sizeof(wchar_t) == 4, "wide names travel as 4-byte characters");

// A character argument, or a character variable that a function fills.
struct HostString {
  std::int32_t capacity;  // bytes that `characters` can take; meaningful for output variables only
  std::int32_t reserved;
  std::int64_t length;  // bytes in use: read as its low 32 bits (signed), written whole
  char* characters;     // not NUL-terminated; owned by the host
};
static_assert(offsetof(HostString, capacity) == 0);
static_assert(offsetof(HostString, length) == 8);
static_assert(offsetof(HostString, characters) == 16);
static_assert(sizeof(HostString) == 24);

struct HostArgumentSlot {
  void* value;  // a HostString, or a double for a numeric argument
  std::uint64_t reserved;
};
static_assert(sizeof(HostArgumentSlot) == 16);

// First parameter of every exported function. `count` slots follow the block directly.
struct HostArgumentBlock {
  std::uint64_t reserved0[4];
  std::int64_t count;  // arguments that the caller supplied
  std::uint64_t reserved5;

  const HostArgumentSlot* slots() const {
    return reinterpret_cast<const HostArgumentSlot*>(this + 1);
  }
};
static_assert(offsetof(HostArgumentBlock, count) == 32);
static_assert(sizeof(HostArgumentBlock) == 48, "the slots start at byte 48");

// An exported git function. The double is the return code that the host's program sees.
using HostFunction = int(const HostArgumentBlock* arguments, double* result);

// A named memory pool. Blocks are released one by one or all at once with the pool.
struct HostPool {
  void (*reserved0)();
  void (*reserved1)();
  int (*destroy)(HostPool* pool);  // 0 on success
  void* (*allocate)(HostPool* pool, std::size_t bytes, std::uint64_t flags);
  void (*free_block)(HostPool* pool, void* block);
  // Grows or shrinks a block, which may move; the last argument is 0.
  void* (*reallocate)(HostPool* pool, void* block, std::size_t bytes, std::uint64_t flags);
};
static_assert(offsetof(HostPool, destroy) == 16);
static_assert(offsetof(HostPool, allocate) == 24);
static_assert(offsetof(HostPool, free_block) == 32);
static_assert(offsetof(HostPool, reallocate) == 40);

// A module that the host loaded on request; here always libgit2.
struct GitModule {
  void (*reserved[3])();
  // Address of the function of that name, or null. `length` counts characters; the last argument is
  // 0.
  void* (*lookup)(GitModule* module, const wchar_t* name, std::size_t length, std::uint64_t flags);
};
static_assert(offsetof(GitModule, lookup) == 24);

enum class ModuleLocation : int { kExtension = 0, kSystem = 1, kInstall = 3 };

// What a new pool is made of; all zero asks for the host's defaults.
struct PoolAttributes {
  std::uint64_t words[3];
};
static_assert(sizeof(PoolAttributes) == 24);

struct HostServices {
  void (*reserved0[6])();
  // A new pool, never null. The name is copied.
  HostPool* (*create_pool)(HostServices* services, const PoolAttributes* attributes,
                           std::uint64_t flags, const char* name);
  void (*reserved7[17])();
  // The loaded module or null; loading the same module again gives a handle of the same module.
  GitModule* (*load_module)(HostServices* services, const wchar_t* name, std::size_t length,
                            ModuleLocation location, std::uint64_t flags);
};
static_assert(offsetof(HostServices, create_pool) == 48);
static_assert(offsetof(HostServices, load_module) == 192);

// The host's general allocator: for what lives as long as the process.
struct HostAllocator {
  void* (*allocate)(HostAllocator* allocator, std::size_t bytes, std::uint64_t flags,
                    HostAllocator* again, void* a4, void* a5);
};
inline constexpr std::uint64_t kHostAllocation = 0x2006;  // flags of every such allocation

// An external file that `xxropen` opened.
struct HostFile {
  void (*reserved[3])();
  // Writes one record; 0 on success, negative on failure.
  int (*write)(HostFile* file, const char* data, std::size_t length);
};
static_assert(offsetof(HostFile, write) == 24);

// How `xxropen` is to open a file.
struct FileAttributes {
  std::uint32_t direction;      // kFileOutput
  std::uint32_t organisation;   // kFileRecords
  std::uint64_t record_length;  // bytes of the longest record
  std::uint64_t reserved[3];
};
static_assert(offsetof(FileAttributes, record_length) == 8);
static_assert(sizeof(FileAttributes) == 40);
inline constexpr std::uint32_t kFileOutput = 2;
inline constexpr std::uint32_t kFileRecords = 2;
inline constexpr std::size_t kFileReferenceLength = 8;

// State of the host's running task. The module only ever clears the one byte.
struct HostTaskBlock {
  unsigned char reserved0[39];
  unsigned char operation_state;  // cleared before each operation of the host starts
  unsigned char reserved40[24];
};
static_assert(offsetof(HostTaskBlock, operation_state) == 39);

using HostOperation = void (*)();

// What the host hands to the bootstrap. The module reads the five named words.
struct HostControlBlock {
  const HostOperation* const* vectors;  // entry V is the vector, its entry S the operation
  HostTaskBlock* task;
  void* reserved2[4];
  const unsigned char* upper_case;  // 256 bytes: the upper-case form of each byte
  void* reserved7[3];
  HostAllocator* allocator;
  void* reserved11[71];
  HostServices* services;
};
static_assert(offsetof(HostControlBlock, vectors) == 0);
static_assert(offsetof(HostControlBlock, task) == 8);
static_assert(offsetof(HostControlBlock, upper_case) == 8 * 6);
static_assert(offsetof(HostControlBlock, allocator) == 8 * 10);
static_assert(offsetof(HostControlBlock, services) == 8 * 82);
static_assert(std::is_standard_layout_v<HostControlBlock>);

}  // namespace uwugit
