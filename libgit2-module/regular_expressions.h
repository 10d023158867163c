// The match blocks of regular expressions.
#pragma once

// Gives back the block that libgit2 has forgotten in this thread, if any. Not during a match.
void give_back_match_block();
