#include "rows/readers.h"

namespace uwugit::host {
namespace {

enum RefColumn { kName, kKind, kId, kCurrent };
constexpr Column kColumns[] = {
    {"name", ColumnType::kText, "\"main\", \"origin/main\", \"v1.0\""},
    {"kind", ColumnType::kText, "\"branch\", \"remote branch\", \"tag\", \"stash\" or \"other\""},
    {"id", ColumnType::kText, "id of the commit that it leads to; null when it leads to none"},
    {"current", ColumnType::kFlag, "whether HEAD is on it"},
};

class RefRows : public RowReader {
 public:
  explicit RefRows(const Repository& repository) : references_(repository.references()) {}

  bool next() override {
    ++place_;
    return place_ <= references_.size();
  }

  Cell cell(std::size_t column) override {
    const Reference& reference = references_[place_ - 1];
    if (column == kCurrent) return {false, reference.is_current, {}};
    if (column == kId && reference.id.empty()) return {};
    return {false, 0,
            column == kName   ? reference.name
            : column == kKind ? reference.kind
                              : reference.id};
  }

 private:
  std::vector<Reference> references_;
  std::size_t place_ = 0;
};

}  // namespace

const std::span<const Column> kRefColumns = kColumns;

std::unique_ptr<RowReader> open_refs(const Repository& repository, const RowQuery&) {
  return std::make_unique<RefRows>(repository);
}

}  // namespace uwugit::host
