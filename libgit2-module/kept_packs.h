// The packs of the repositories that were used last, kept open between the calls.
#pragma once

#include <git2.h>

// Keeps the packs of a repository open that is opened again, with those of its alternates, unless
// UWUGIT_KEEP_OBJECTS is 0. Packs whose files are other ones by now are let go before.
void keep_packs(git_repository* repo);

// Lets all packs go. To be called before libgit2 is taken down.
void let_packs_go();
