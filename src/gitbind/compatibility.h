// One binary, many libgit2: the module is compiled against one libgit2's headers and may meet any
// of 1.1 to 1.9 at run time. All that differs between them is dealt with here.
#pragma once

#include "gitbind/libgit2.h"

namespace uwugit {

// False when the loaded libgit2 has record layouts that this module does not know, after an error
// in the log. A library that does not tell its version is taken as it is.
bool is_supported_libgit2(GitModule* git);

// Whether libgit2 answers a null where it needs an argument with an error. Before 1.2 it ends the
// process.
bool refuses_null_arguments(GitModule* git);

// libgit2's last error, or null when there is none. From 1.8 on libgit2 answers "no error" as a
// record of class 0. `is_found` tells whether libgit2 has the function at all.
const git_error* last_git_error(GitModule* git, bool* is_found = nullptr);

// Logs libgit2's last error and answers its class; -1 when libgit2 has none; 0, and nothing logged,
// when git_error_last cannot be found.
int log_git_error(GitModule* git);

// Checkout strategies by their numbers: libgit2's headers gave the names other values later, and a
// "safe" that compiles to 0 is a silent dry run on older libraries.
inline constexpr unsigned kCheckoutSafe = 1;
inline constexpr unsigned kCheckoutForce = 2;
inline constexpr unsigned kCheckoutAllowConflicts = 16;
inline constexpr unsigned kCheckoutRemoveUntracked = 32;
// Reports what would be overwritten and touches nothing: libraries that do not know bit 24 do so
// for want of "safe" and "force". Bits 8 and 19 keep them all from writing the index and ignored
// files.
inline constexpr unsigned kCheckoutDryRun = 1u << 24 | 1u << 19 | 1u << 8;

// Room for the options of a transfer, which grow and shift between versions.
struct alignas(16) TransferOptions {
  unsigned char bytes[2048];
};
enum class Transfer { kFetch, kPush, kClone };

// Gives the options the loaded library's own initial values (else the compiled ones) and sets the
// credential callback and its payload.
void prepare_transfer(GitModule* git, Transfer transfer, TransferOptions* options,
                      git_credential_acquire_cb credentials, void* payload);

}  // namespace uwugit
