// commits and parents: the two sets of rows of a history.
#include <algorithm>
#include <filesystem>

#include "rows/readers.h"

namespace uwugit::host {
namespace {

constexpr Listing kListing = {"get_commit_log", "get_commit_attribute", "free_commit_objects"};

Cell first_line(std::string_view message, std::string*) {
  return {false, 0, message.substr(0, message.find('\n'))};
}

enum CommitColumn {
  kId,
  kAuthor,
  kEmail,
  kCommitter,
  kCommitterEmail,
  kTime,
  kDate,
  kMessage,
  kSummary,
  kParents,
  kChildren,
  kStash,
  kOnBranch,
};
constexpr Column kColumns[] = {
    {"id", ColumnType::kText, "whole id", "ID", as_text},
    {"author", ColumnType::kText, "who wrote it", "AUTHOR", as_text},
    {"email", ColumnType::kText, "the author's e-mail address", "EMAIL", as_text},
    {"committer", ColumnType::kText, "who committed it", "COMMITTER", as_text},
    {"committer_email", ColumnType::kText, "the committer's e-mail address", "COMMITTER_EMAIL",
     as_text},
    {"time", ColumnType::kTime, "when it was committed, in seconds since 1970", "TIME", as_number},
    {"date", ColumnType::kText, "the same as YYYY-MM-DD HH:MM:SS in UTC", "TIME", as_date},
    {"message", ColumnType::kText, "the whole message", "MESSAGE", as_text},
    {"summary", ColumnType::kText, "the first line of the message", "MESSAGE", first_line},
    {"parents", ColumnType::kIds, "ids of the parents, the first one first", "PARENT_IDS", as_text},
    {"children", ColumnType::kIds, "ids of the commits that have it as a parent", "CHILDREN_IDS",
     as_text},
    {"stash", ColumnType::kFlag, "whether it belongs to the latest stash", "STASH", as_flag},
    {"on_branch", ColumnType::kFlag, "whether the current branch reaches it", "IN_CURRENT_BRANCH",
     as_flag},
};

std::vector<std::string> keys_of(const Repository& repository) {
  if (repository.find_commit("HEAD").empty()) throw RepositoryError("HEAD has no commit yet");
  return {repository.path()};
}

bool contains(std::string_view text, const std::string& part) {
  return text.find(part) != std::string_view::npos;
}

class CommitRows : public ListedRows {
 public:
  CommitRows(const Repository& repository, RowQuery query)
      : ListedRows(repository, kListing, keys_of(repository), kColumns), query_(std::move(query)) {
    refuse_cut(repository);
  }

  bool next() override {
    if (given_ >= query_.limit) return false;
    while (ListedRows::next()) {
      if (!is_wanted()) continue;
      ++given_;
      return true;
    }
    return false;
  }

 private:
  // A walk that meets a missing commit ends there without an error. Its last commit then has
  // parents, as parents come last; so has that of a shallow clone, where libgit2 can read it.
  void refuse_cut(const Repository& repository) {
    seek(count());
    const bool is_whole =
        count() > 0 && (cell(kParents).text.empty() ||
                        std::filesystem::exists(repository.path() + "/.git/shallow"));
    seek(0);
    if (is_whole) return;
    throw RepositoryError(
        "the history cannot be read whole, as commits are missing (in a shallow clone: git fetch "
        "--unshallow; otherwise git fsck names them)");
  }

  // Asks only for the attributes that the query is about.
  bool is_wanted() {
    if (!query_.id.empty() && cell(kId).text != query_.id) return false;
    if (query_.is_current_branch && cell(kOnBranch).number == 0) return false;
    if (query_.merges && contains(cell(kParents).text, ",") != *query_.merges) return false;
    if (query_.since != RowQuery{}.since && cell(kTime).number < query_.since) return false;
    if (query_.until != RowQuery{}.until && cell(kTime).number > query_.until) return false;
    if (!query_.text.empty() && !contains(cell(kMessage).text, query_.text)) return false;
    return query_.author.empty() || contains(cell(kAuthor).text, query_.author) ||
           contains(cell(kEmail).text, query_.author);
  }

  RowQuery query_;
  std::uint64_t given_ = 0;
};

enum ParentColumn { kCommit, kPosition, kParent };
constexpr Column kOfParents[] = {
    {"id", ColumnType::kText, "id of a commit"},
    {"position", ColumnType::kNumber, "1 for its first parent, 2 for its second, ..."},
    {"parent", ColumnType::kText, "id of that parent"},
};

class ParentRows : public RowReader {
 public:
  ParentRows(const Repository& repository, const RowQuery& query) : commits_(repository, query) {}

  bool next() override {
    while (rest_.empty()) {
      if (!commits_.next()) return false;
      rest_ = commits_.cell(kParents).text;
      position_ = 0;
    }
    ++position_;
    parent_ = rest_.substr(0, rest_.find(','));
    rest_.remove_prefix(std::min(parent_.size() + 1, rest_.size()));
    return true;
  }

  Cell cell(std::size_t column) override {
    if (column == kPosition) return {false, position_, {}};
    return column == kCommit ? commits_.cell(kId) : Cell{false, 0, parent_};
  }

 private:
  CommitRows commits_;
  std::string_view rest_;
  std::string_view parent_;
  std::int64_t position_ = 0;
};

}  // namespace

const std::span<const Column> kCommitColumns = kColumns;
const std::span<const Column> kParentColumns = kOfParents;

std::unique_ptr<RowReader> open_commits(const Repository& repository, const RowQuery& query) {
  return std::make_unique<CommitRows>(repository, query);
}

std::unique_ptr<RowReader> open_parents(const Repository& repository, const RowQuery& query) {
  return std::make_unique<ParentRows>(repository, query);
}

}  // namespace uwugit::host
