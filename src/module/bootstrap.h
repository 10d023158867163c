// The start of the module: what the host gave it, kept for the life of the process.
#pragma once

#include "uwugit/functions.h"

namespace uwugit {

// Hidden, so that the stubs reach it without the dynamic linker.
extern "C" __attribute__((visibility("hidden"))) HostControlBlock* v_global_gcb_anchor;
extern void* v_global_pidb_anchor;
extern HostServices* Exported_TKHandle;

// Initialises the module. Every function module has this routine; this one has nothing to do in it.
void himodcn();

}  // namespace uwugit
