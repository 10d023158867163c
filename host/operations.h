// The operations that this host provides in its vectors.
#pragma once

#include <span>

#include "uwugit/operations.h"

namespace uwugit::host {

struct ProvidedOperation {
  OperationNumber number;
  HostOperation operation;
};
std::span<const ProvidedOperation> provided_operations();

// Stands in every other slot. A stub leaves its identity for it, so it can name vector and slot.
extern "C" void unprovided_operation();

}  // namespace uwugit::host
