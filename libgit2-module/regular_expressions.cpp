// libgit2 before 1.7 does not give the match block of a regular expression back when nothing
// matches, about twenty times in each fetch, pull, push, creation and deletion of a branch. From
// PCRE2 10.41 on such a block holds more than 10 KB.
//
// libgit2 takes a block, matches, and is done with it before it takes the next. So what a thread
// took last and did not give back is given back when it takes another, and at the end of a bracket.
//
// Only libgit2 finds these functions, as the companion is loaded for itself. Where the host has
// PCRE2 among its own libraries, libgit2 finds that first and nothing changes.

#include "regular_expressions.h"

#include <cstdint>

#include "next.h"

EXPORT void* pcre2_match_data_create_8(std::uint32_t pairs, void* context);
EXPORT void pcre2_match_data_free_8(void* block);

namespace {

thread_local void* last_block = nullptr;

}  // namespace

void give_back_match_block() {
  if (last_block) NEXT(pcre2_match_data_free_8)(last_block);
  last_block = nullptr;
}

void* pcre2_match_data_create_8(std::uint32_t pairs, void* context) {
  give_back_match_block();
  last_block = NEXT(pcre2_match_data_create_8)(pairs, context);
  return last_block;
}

void pcre2_match_data_free_8(void* block) {
  if (block == last_block) last_block = nullptr;
  NEXT(pcre2_match_data_free_8)(block);
}
