// Expected outputs: files beside the tests that hold what the module must answer.
#pragma once

#include "sandbox.h"

namespace uwugit::test {

// The log of another version of libgit2 as the one that the expected outputs were written with.
std::string in_usual_words(const std::string& log);

// Expects a file to hold what the test wrote, and shows the first line that differs. Ids are
// numbered in the order in which they first appear, as they are others in each run; so is the
// sandbox's folder, which is FOLDER. With UWUGIT_WRITE_EXPECTED=1 in the environment the file is
// written instead.
void expect_text(const fs::path& file, std::string written, const Sandbox& sandbox);

}  // namespace uwugit::test
