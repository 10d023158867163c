// The control block and all that hangs on it: the vectors of operations, the service table, the
// allocator and the upper-case table.
#include "uwugithost/host.h"

#include <array>
#include <bit>
#include <stdexcept>

#include "missing_slots.h"
#include "operations.h"
#include "run.h"

namespace uwugit::host {
namespace {

Host* current_host = nullptr;

constexpr std::size_t kVectors = 1024;
constexpr std::size_t kSlots = 512;
constexpr std::size_t kServiceSlots = 64;
constexpr std::size_t kAllocatorSlots = 16;

// A NaN that no computation yields: a result that still holds it was not written.
constexpr std::uint64_t kUnchangedBits = 0x7FF8C0FFEE00D1CE;

HostPool* create_pool(HostServices*, const PoolAttributes*, std::uint64_t, const char* name) {
  return Host::current()->pools().create(name);
}

GitModule* load_module(HostServices*, const wchar_t* name, std::size_t length,
                       ModuleLocation location, std::uint64_t) {
  return Host::current()->modules().load({name, length}, location);
}

int tell_observer(const WorkProgress* progress, void* observer) {
  return static_cast<CallObserver*>(observer)->go_on(*progress) ? 0 : 1;
}

}  // namespace

struct Host::ControlTables {
  ControlTables();
  void provide(OperationNumber number, HostOperation operation);
  void* allocate(std::size_t bytes);

  HostControlBlock gcb{};
  HostTaskBlock task{};
  std::array<unsigned char, 256> upper_case{};

  using Vector = std::array<HostOperation, kSlots>;
  Vector empty_vector;
  std::map<std::uint32_t, Vector> provided;
  std::array<const HostOperation*, kVectors> vectors;

  FullTable<HostServices, "service table", kServiceSlots> services;
  FullTable<HostAllocator, "host allocator", kAllocatorSlots> allocator;
  std::vector<std::unique_ptr<std::byte[]>> allocations;  // live as long as the host
};

Host::ControlTables::ControlTables() {
  empty_vector.fill(unprovided_operation);
  vectors.fill(empty_vector.data());
  for (const ProvidedOperation& row : provided_operations()) provide(row.number, row.operation);

  for (std::size_t i = 0; i < upper_case.size(); ++i) {
    const bool is_lower = i >= 'a' && i <= 'z';
    upper_case[i] = static_cast<unsigned char>(is_lower ? i - 'a' + 'A' : i);
  }
  services.create_pool = create_pool;
  services.load_module = load_module;
  allocator.allocate = [](HostAllocator*, std::size_t bytes, std::uint64_t, HostAllocator*, void*,
                          void*) { return Host::current()->tables_->allocate(bytes); };

  gcb.vectors = vectors.data();
  gcb.task = &task;
  gcb.upper_case = upper_case.data();
  gcb.allocator = &allocator;
  gcb.services = &services;
}

void Host::ControlTables::provide(OperationNumber number, HostOperation operation) {
  const auto [vector, is_new] = provided.try_emplace(number.vector, empty_vector);
  if (is_new) vectors[number.vector] = vector->second.data();
  vector->second[number.slot] = operation;
}

void* Host::ControlTables::allocate(std::size_t bytes) {
  allocations.push_back(std::make_unique<std::byte[]>(bytes));
  return allocations.back().get();
}

Host::Host(SearchLists lists) : modules_(std::move(lists), log_) {
  if (current_host) throw std::logic_error("A process has one host at a time.");
  tables_ = std::make_unique<ControlTables>();
  current_host = this;
  set_log_of_run(&log_);
}

Host::~Host() {
  set_observer(nullptr);
  set_log_of_run(nullptr);
  current_host = nullptr;
}

Host* Host::current() { return current_host; }

HostControlBlock* Host::control_block() { return &tables_->gcb; }

void Host::set_observer(CallObserver* observer) {
  observer_ = observer;
  modules_.set_progress(observer ? tell_observer : nullptr, observer);
}

CallResult Host::call(HostFunction* function, const HostArgumentBlock* arguments) {
  CallResult result;
  result.code = std::bit_cast<double>(kUnchangedBits);
  last_formatted_ = {};
  pools_.begin_call();
  result.returned = function(arguments, &result.code);
  pools_.end_call();
  result.is_unchanged = std::bit_cast<std::uint64_t>(result.code) == kUnchangedBits;
  return result;
}

}  // namespace uwugit::host
