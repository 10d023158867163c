// How the module tells the host which functions it registers by name.
#pragma once

#include "uwugit/functions.h"

namespace uwugit {

// Builds the block that the host reads, from the host's allocator: a DescriptorBlock in mode 1, the
// implementation block in mode 2, null in any other mode. Ends the run when memory runs out.
void* xfmuent(int mode, int count, const FunctionDescriptor* descriptors,
              HostFunction* const* implementations, void* a4, void* a5);

}  // namespace uwugit
