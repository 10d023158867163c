// Memory pools as a module sees them through HostServices and HostPool.
//
// A pool hands out blocks from regions that it reserves and the system commits page by page: a
// large block costs what is written into it. Small pools come from a cache and cost well under a
// microsecond.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "uwugit/host_abi.h"

namespace uwugit::host {

struct PoolCounters {
  std::uint64_t created = 0;    // since the start
  std::uint64_t destroyed = 0;  // by their owner
  std::uint64_t recycled = 0;   // by the host, after the call that left them empty
  std::size_t pools = 0;        // alive now
  std::size_t blocks = 0;       // in use in them
  std::size_t bytes = 0;        // asked for by those blocks
  std::size_t reserved = 0;     // address space held for them, committed or not
};

struct PoolDescription {
  std::string name;
  std::size_t blocks;
  std::size_t bytes;
};

class Pool;

class PoolService {
 public:
  PoolService();
  ~PoolService();  // releases every pool
  PoolService(const PoolService&) = delete;
  PoolService& operator=(const PoolService&) = delete;

  // A new pool; `name` is copied (its start, when it is long). Ends the run when memory runs out.
  HostPool* create(const char* name);

  // Around the call of an exported function. The end recycles every pool that the call made and
  // that holds no block: the module leaves those to the host.
  void begin_call();
  void end_call();

  PoolCounters counters() const;
  std::vector<PoolDescription> describe() const;  // the living pools, oldest first

  // Releases a pool and all its blocks: what HostPool's own operation does.
  int destroy(Pool* pool);

 private:
  void retire(Pool* pool);

  Pool* newest_ = nullptr;         // living pools, linked
  std::vector<Pool*> cache_;       // retired pools, ready for reuse
  std::vector<Pool*> call_pools_;  // made by the current call
  bool is_in_call_ = false;
  PoolCounters totals_;
};

}  // namespace uwugit::host
