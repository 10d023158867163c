#include "rows/readers.h"

namespace uwugit::host {
namespace {

constexpr Listing kListing = {"get_status", "get_status_attribute", "free_status_objects"};
constexpr std::size_t kStaged = 2;  // its place among the columns
constexpr Column kColumns[] = {
    {"path", ColumnType::kText, "path in the working tree", "PATH", as_text},
    {"status", ColumnType::kText,
     "\"new\", \"modified\", \"deleted\", \"renamed\", \"typechange\" or \"conflicted\"", "STATUS",
     as_text},
    {"staged", ColumnType::kFlag,
     "whether the change is in the index; a file that is staged and has changed since has two rows",
     "STAGED", as_flag},
};

class StatusRows : public ListedRows {
 public:
  StatusRows(const Repository& repository, const RowQuery& query)
      : ListedRows(repository, kListing, {repository.path()}, kColumns),
        is_staged_(query.is_staged) {}

  bool next() override {
    while (ListedRows::next()) {
      if (!is_staged_ || *is_staged_ == (cell(kStaged).number != 0)) return true;
    }
    return false;
  }

 private:
  std::optional<bool> is_staged_;
};

}  // namespace

const std::span<const Column> kStatusColumns = kColumns;

std::unique_ptr<RowReader> open_status(const Repository& repository, const RowQuery& query) {
  return std::make_unique<StatusRows>(repository, query);
}

}  // namespace uwugit::host
