#include "rows/readers.h"

namespace uwugit::host {
namespace {

constexpr Listing kListing = {"get_status", "get_status_attribute", "free_status_objects"};
constexpr Column kColumns[] = {
    {"path", ColumnType::kText, "path in the working tree", "PATH", as_text},
    {"status", ColumnType::kText,
     "\"new\", \"modified\", \"deleted\", \"renamed\", \"typechange\" or \"conflicted\"", "STATUS",
     as_text},
    {"staged", ColumnType::kFlag,
     "whether the change is in the index; a file that is staged and has changed since has two rows",
     "STAGED", as_flag},
};

}  // namespace

const std::span<const Column> kStatusColumns = kColumns;

std::unique_ptr<RowReader> open_status(const Repository& repository, const RowQuery&) {
  return std::make_unique<ListedRows>(repository, kListing, std::vector{repository.path()},
                                      kColumns);
}

}  // namespace uwugit::host
