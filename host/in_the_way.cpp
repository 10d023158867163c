#include "in_the_way.h"

#include <sys/statvfs.h>

#include <algorithm>
#include <fstream>

namespace uwugit::host {
namespace {

namespace fs = std::filesystem;

// What a function that writes needs to be free.
constexpr unsigned kIndex = 1;
constexpr unsigned kState = 2;  // HEAD, and what is kept beside it, as MERGE_MSG and packed-refs
constexpr unsigned kReferences = 4;
constexpr unsigned kConfiguration = 8;
// With a lock on this the function answers success, does nothing and logs nothing.
constexpr unsigned kSilently = 16;
constexpr unsigned kNoRebase = 32;
constexpr unsigned kWholeRebase = 64;

// With less room left, a call that failed may have failed because of it.
constexpr unsigned long kLittleRoom = 1 << 20;

struct Need {
  std::string_view function;
  unsigned needed;
};

constexpr Need kNeeds[] = {
    {"add_files_to_index", kIndex},
    {"remove_files_from_index", kIndex},
    {"do_commit", kSilently},
    {"checkout_branch", kIndex | kState | kReferences},
    {"create_branch", kState | kReferences},
    {"delete_branch", kState | kReferences | kConfiguration},
    {"merge_branch", kIndex | kState | kReferences | kNoRebase},
    {"do_pull", kIndex | kState | kReferences | kNoRebase | kSilently},
    {"do_fetch", kReferences},
    {"do_push", kReferences},
    {"reset_to_commit", kIndex | kState | kReferences},
    {"reset_file_in_index", kIndex},
    {"stash", kIndex | kState | kReferences},
    {"stash_pop", kIndex | kState | kReferences},
    {"stash_apply", kIndex},
    {"stash_drop", kState | kReferences},
    {"rebase", kIndex | kState | kReferences | kNoRebase},
    {"rebase_operation", kIndex | kState | kReferences | kWholeRebase},
    {"set_remote_url", kConfiguration},
};

unsigned needed_by(const Function& function) {
  const auto* need = std::ranges::find(kNeeds, function.name, &Need::function);
  return need == std::end(kNeeds) ? 0 : need->needed;
}

// The first line of a file without the word before it; empty when it does not begin with that word.
std::string named_in(const fs::path& file, std::string_view word) {
  std::ifstream stream(file);
  std::string line;
  std::getline(stream, line);
  return line.starts_with(word) ? line.substr(word.size()) : std::string();
}

bool is_there(const fs::path& path) {
  std::error_code error;
  return fs::exists(path, error);
}

// The git folder of a work tree: ".git", or where a file of that name leads to; or the repository
// itself when it is bare.
fs::path git_folder(const fs::path& repo) {
  if (is_there(repo / ".git/HEAD")) return repo / ".git";
  const std::string elsewhere = named_in(repo / ".git", "gitdir: ");
  return elsewhere.empty() ? repo : repo / elsewhere;
}

fs::path rebase_in(const fs::path& folder) {
  for (const char* name : {"rebase-merge", "rebase-apply"}) {
    if (is_there(folder / name)) return folder / name;
  }
  return {};
}

// Whether all commits of the rebase are noted: before that, and when they are removed, HEAD is on
// its branch. A rebase of git's own is left to git.
bool is_whole(const fs::path& rebase) {
  if (rebase.filename() != "rebase-merge" || is_there(rebase / "interactive")) return true;
  const std::string last = named_in(rebase / "end", "");
  return last == "0" || is_there(rebase / ("cmt." + last));
}

// Calls the procedure with each lock file in a folder: all that is in it, or what is just in it.
template <class Iterator>
void for_each_lock(const fs::path& folder, auto&& procedure) {
  std::error_code error;
  for (Iterator file(folder, error), end; !error && file != end; file.increment(error)) {
    if (file->path().extension() == ".lock") procedure(file->path());
  }
}

unsigned kind_of(const fs::path& lock) {
  if (lock.filename() == "index.lock") return kIndex;
  return lock.filename() == "config.lock" ? kConfiguration : kState;
}

// A commit is not made when the reference that it is to move is locked; a pull merges nothing when
// what it fetched cannot be noted.
fs::path silent_lock(const Function& function, std::span<const Value> values,
                     const fs::path& folder, const fs::path& common) {
  if (function.name != "do_commit") return folder / "FETCH_HEAD.lock";
  std::string reference = std::get<std::string>(values[1]);
  if (reference == "HEAD") reference = named_in(folder / "HEAD", "ref: ");
  return common / (reference + ".lock");
}

}  // namespace

InTheWay::InTheWay(Log& log, const Function& function, std::span<const Value> values)
    : log_(log), errors_before_(log.errors()), needed_(needed_by(function)) {
  if (needed_ == 0) return;
  std::error_code error;
  const fs::path repo = fs::absolute(std::get<std::string>(values[0]), error);
  folder_ = git_folder(repo.lexically_normal());
  if (!is_there(folder_ / "HEAD")) needed_ = 0;
  const std::string common = named_in(folder_ / "commondir", "");
  common_ = common.empty() ? folder_ : (folder_ / common).lexically_normal();
  rebase_ = rebase_in(folder_);
  if ((needed_ & kSilently) != 0) silent_ = silent_lock(function, values, folder_, common_);
}

void InTheWay::tell_lock(const fs::path& file) const {
  log_.error(file.string() +
             " exists: another program is working in this repository, or was ended in the middle. "
             "When none is at work there, remove the file and call again.");
}

void InTheWay::tell_disk() const {
  struct statvfs disk {};
  if (statvfs(folder_.c_str(), &disk) != 0) return;
  if ((disk.f_flag & ST_RDONLY) != 0) {
    log_.error("The disk of " + folder_.string() + " is read-only.");
  } else if (const unsigned long room = disk.f_bavail * disk.f_frsize; room < kLittleRoom) {
    log_.error("The disk of " + folder_.string() + " is full: it has only " +
               std::to_string(room / 1024) + " KB left.");
  }
}

void InTheWay::tell_rebase() const {
  if ((needed_ & (kNoRebase | kWholeRebase)) == 0 || !is_there(rebase_)) return;
  if (!is_whole(rebase_)) {
    log_.error(rebase_.string() +
               " exists and is not complete: a rebase was ended as it began, or when it was done. "
               "Remove this folder and call again.");
  } else if ((needed_ & kNoRebase) != 0) {
    log_.error(rebase_.string() +
               " exists: a rebase is in progress. Go on with rebase_operation CONTINUE or SKIP, or "
               "go back with ABORT; one that git began is ended with git rebase --abort.");
  }
}

void InTheWay::tell_after(bool is_success) const {
  if (is_success && log_.errors() == errors_before_) {
    if (is_there(silent_)) tell_lock(silent_);
    return;
  }
  if (needed_ == 0) return;
  tell_disk();
  const auto tell = [this](const fs::path& lock) {
    if ((needed_ & kind_of(lock)) != 0) tell_lock(lock);
  };
  const auto tell_any = [this](const fs::path& lock) { tell_lock(lock); };
  for_each_lock<fs::directory_iterator>(folder_, tell);
  if (common_ != folder_) for_each_lock<fs::directory_iterator>(common_, tell);
  for (const char* references : {"refs", "logs"}) {
    if ((needed_ & kReferences) == 0) break;
    for_each_lock<fs::recursive_directory_iterator>(common_ / references, tell_any);
  }
  tell_rebase();
}

}  // namespace uwugit::host
