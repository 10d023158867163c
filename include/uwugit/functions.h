// Everything that uwugit_p.so exports. A host calls the git functions by these names; their
// arguments, results and messages are described in docs/functions.md.
#pragma once

#include "uwugit/module_abi.h"

#define UWUGIT_EXPORT extern "C" __attribute__((visibility("default")))

namespace uwugit {

// Called once by the host when it has loaded the module; answers the module's information block.
UWUGIT_EXPORT const ModuleInformation* mcn_main(HostControlBlock* gcb, void* pidb);
UWUGIT_EXPORT const ModuleInformation vi_mcn;

// The function-module entry: the registration blocks of modes 1 and 2, null for any other mode.
UWUGIT_EXPORT void* uwugit_p(int mode, void* a1, void* a2, void* a3, void* a4, void* a5);

UWUGIT_EXPORT HostFunction git_version;
UWUGIT_EXPORT HostFunction get_status;
UWUGIT_EXPORT HostFunction get_status_attribute;
UWUGIT_EXPORT HostFunction free_status_objects;
UWUGIT_EXPORT HostFunction do_clone;
UWUGIT_EXPORT HostFunction init_repo;
UWUGIT_EXPORT HostFunction set_remote_url;
UWUGIT_EXPORT HostFunction delete_repo;
UWUGIT_EXPORT HostFunction add_files_to_index;
UWUGIT_EXPORT HostFunction remove_files_from_index;
UWUGIT_EXPORT HostFunction do_commit;
UWUGIT_EXPORT HostFunction reset_to_commit;
UWUGIT_EXPORT HostFunction reset_file_in_index;
UWUGIT_EXPORT HostFunction get_commit_log;
UWUGIT_EXPORT HostFunction get_commit_attribute;
UWUGIT_EXPORT HostFunction free_commit_objects;
UWUGIT_EXPORT HostFunction create_branch;
UWUGIT_EXPORT HostFunction delete_branch;
UWUGIT_EXPORT HostFunction checkout_branch;
UWUGIT_EXPORT HostFunction merge_branch;
UWUGIT_EXPORT HostFunction stash;
UWUGIT_EXPORT HostFunction stash_pop;
UWUGIT_EXPORT HostFunction stash_apply;
UWUGIT_EXPORT HostFunction stash_drop;
UWUGIT_EXPORT HostFunction rebase;
UWUGIT_EXPORT HostFunction rebase_operation;
UWUGIT_EXPORT HostFunction do_fetch;
UWUGIT_EXPORT HostFunction diff_commits;
UWUGIT_EXPORT HostFunction diff_file_in_index;
UWUGIT_EXPORT HostFunction get_diff_attribute;
UWUGIT_EXPORT HostFunction write_diff_to_file;
UWUGIT_EXPORT HostFunction free_diff_objects;
UWUGIT_EXPORT HostFunction do_pull;  // also registered as GIT_PULL
UWUGIT_EXPORT HostFunction do_push;  // also registered as GIT_PUSH

}  // namespace uwugit
