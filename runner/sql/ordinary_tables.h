// The sets of rows written into a database file that other programs open.
#pragma once

#include <span>
#include <string>

#include "uwugithost/rows.h"

namespace uwugit::runner {

// The names of the sets that take no commits.
std::vector<std::string> plain_tables();

// Writes beside the file, which is put in place when everything is written: with an error there is
// no file, or the one that was there before. Throws host::RepositoryError.
void write_ordinary_tables(const host::Repository& repository, unsigned jobs,
                           std::span<const std::string> names, const std::string& file);

}  // namespace uwugit::runner
