// SSH with a libgit2 that does not check who it is talking to.
#pragma once

// Refuses SSH from now on where that is the case. libgit2 is initialised.
void guard_ssh_hosts();
// Ends that, before libgit2 is shut down or the companion unloaded.
void unguard_ssh_hosts();
