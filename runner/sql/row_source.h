// Where the tables of one statement get their rows from. The readers share the module's objects of
// the repository, so that only one may go through them at a time: where a second is wanted, the
// scan of the first keeps the rest of its rows in memory. So a statement that goes through one
// table has no copy of it, and a join keeps no more than the columns that it uses.
#pragma once

#include <map>
#include <optional>

#include "sql/kept_rows.h"

namespace uwugit::runner {

class RowSource;

// One way through the rows of a set: as they are read, or as they were kept.
class RowScan {
 public:
  RowScan(RowSource& source, const host::RowSet& set);
  ~RowScan();
  RowScan(const RowScan&) = delete;
  RowScan& operator=(const RowScan&) = delete;

  // A column that must have this text, as far as that saves work.
  struct Key {
    std::size_t column;
    std::string text;
    bool is_constant;  // the same in every scan of the statement
  };
  // Stands on the first row then, or at the end. Throws host::RepositoryError, as next() does.
  void begin(const host::RowQuery& query, std::optional<Key> key);
  void next();
  void end();
  bool is_at_end() const { return is_at_end_; }
  // As SQL has it, until the next row or cell.
  host::Cell cell(std::size_t column);
  // The same number for the same row in every scan.
  std::int64_t row_number();

  const host::RowSet& set() const { return set_; }
  const host::RowQuery& query() const { return query_; }

 private:
  friend class RowSource;

  void step();
  bool is_wanted();
  void keep_rest();

  RowSource& source_;
  const host::RowSet& set_;
  host::RowQuery query_;
  std::optional<Key> key_;
  bool was_begun_ = false;
  bool is_at_end_ = true;

  std::unique_ptr<host::RowReader> reader_;  // null when the rows are kept ones
  bool is_of_module_ = false;                // the reader goes through the module's objects
  std::shared_ptr<KeptRows> kept_;
  bool is_indexed_ = false;       // the kept rows are found by the key
  std::uint64_t place_ = 0;       // of the row in its set, from 0
  std::uint64_t first_kept_ = 0;  // the place of the first row that is kept
  std::string converted_;
};

class RowSource {
 public:
  RowSource(const host::Repository& repository, unsigned jobs)
      : repository_(repository), jobs_(jobs) {}

  const host::Repository& repository() const { return repository_; }
  unsigned jobs() const { return jobs_; }

  // Says which columns of a set the statement uses, a bit for each. Before the first scan.
  void use(const host::RowSet& set, std::uint64_t columns);
  std::uint64_t used(const host::RowSet& set) const;

 private:
  friend class RowScan;

  struct Kept {
    std::string first;
    std::string second;
    std::shared_ptr<KeptRows> rows;
  };

  std::unique_ptr<host::RowReader> open(const host::RowSet& set, const host::RowQuery& query);
  // All rows, read once. Of a set of two commits only those of the latest two stay.
  std::shared_ptr<KeptRows> keep_all(const host::RowSet& set, const host::RowQuery& query);
  bool has_kept(const host::RowSet& set, const host::RowQuery& query) const;
  bool has_other_scan(const RowScan& scan) const;
  // The changes of one commit, compared when they are asked for. Null: there is no such commit.
  std::unique_ptr<host::RowReader> changes_of(const std::string& id);

  const host::Repository& repository_;
  unsigned jobs_;
  std::map<const host::RowSet*, std::uint64_t> used_;
  std::map<const host::RowSet*, Kept> kept_;
  std::vector<RowScan*> scans_;
};

}  // namespace uwugit::runner
