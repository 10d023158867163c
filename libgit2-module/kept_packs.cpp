// Every call opens its repository anew, and libgit2 then lists, opens and maps its packs again, and
// inflates again the objects that others are deltas of. But libgit2 knows the packs that are open
// in the process by their paths, and hands an open one to everybody who opens it. So it is enough
// to hold them: here by a pack backend of our own for each object folder, beside the repositories.
//
// Each repository still has an object database of its own, which lists the folder itself. What is
// not there any more is not found, and what is new is. A pack that is held was read from a file
// that is still there unchanged; this is looked at whenever a repository is opened.

#include "kept_packs.h"

#include <git2/odb_backend.h>
#include <git2/sys/odb_backend.h>

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <list>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "file_state.h"

namespace {

// A pack holds one descriptor, its index and some windows of its file mapped, and at most 16 MB of
// objects that others are deltas of.
constexpr std::size_t kMostFolders = 8;
constexpr std::size_t kMostPacks = 64;
constexpr int kMostAlternates = 5;  // of alternates, as in git

struct FreeBackend {
  void operator()(git_odb_backend* backend) const { backend->free(backend); }
};

// An object folder. The first time it is only remembered: many programs use a repository once.
struct Folder {
  using File = std::pair<std::string, struct stat>;

  bool has_changed() const {
    return !is_listed || has_other_files() || !is_same(look_at(packs_path().c_str()), state);
  }
  // A file that is gone is none of these: who has it open may go on reading it.
  bool has_other_files() const {
    return std::any_of(files.begin(), files.end(), [](const File& file) {
      const struct stat found = look_at(file.first.c_str());
      return found.st_ino != 0 && !is_same(found, file.second);
    });
  }
  std::size_t pack_count() const { return files.size() / 2; }  // a pack and its index
  std::string packs_path() const { return path + "pack"; }

  // Holds the packs that are there now. Those that were held and still are stay open meanwhile.
  void hold() {
    if (has_other_files()) packs.reset();
    list();
    git_odb_backend* opened = nullptr;
    if (pack_count() > kMostPacks) {
      files.clear();
    } else {
      git_odb_backend_pack(&opened, path.c_str());
    }
    packs.reset(opened);
  }

  void list() {
    files.clear();
    state = look_at(packs_path().c_str());
    is_listed = true;
    std::error_code failed;  // a folder that cannot be listed has no packs
    std::filesystem::directory_iterator entry(packs_path(), failed);
    for (; !failed && entry != std::filesystem::directory_iterator(); entry.increment(failed)) {
      const std::string extension = entry->path().extension();
      if (extension != ".pack" && extension != ".idx") continue;
      files.emplace_back(entry->path(), look_at(entry->path().c_str()));
    }
  }

  std::string path;           // with a slash at its end
  bool is_listed = false;     // what follows is known
  struct stat state {};       // of the folder of the packs
  std::vector<File> files{};  // the packs and their indexes
  std::unique_ptr<git_odb_backend, FreeBackend> packs{};
};

// The folders that were used last, the latest first.
class KeptFolders {
 public:
  void use(const std::string& path) {
    const auto known = std::find_if(folders_.begin(), folders_.end(),
                                    [&path](const Folder& folder) { return folder.path == path; });
    if (known == folders_.end()) {
      folders_.push_front({.path = path});
    } else {
      folders_.splice(folders_.begin(), folders_, known);
      if (folders_.front().has_changed()) folders_.front().hold();
    }
    let_oldest_go();
  }

 private:
  void let_oldest_go() {
    std::size_t packs = 0;
    for (const Folder& folder : folders_) packs += folder.pack_count();
    while (folders_.size() > kMostFolders || packs > kMostPacks) {
      packs -= folders_.back().pack_count();
      folders_.pop_back();
    }
  }

  std::list<Folder> folders_;
};

std::mutex mutex;
// Packs cannot be closed any more when libgit2 is finished, as it is when the process ends.
KeptFolders* kept = nullptr;

void let_go() {
  delete kept;
  kept = nullptr;
}

bool is_kept() {
  const char* wanted = std::getenv("UWUGIT_KEEP_OBJECTS");
  return !wanted || std::string_view(wanted) != "0";
}

// Folders may name each other as alternates; each is used once. The paths are put together as
// libgit2 does it: it knows its open packs by them, and takes relative ones of the first only.
void use_with_alternates(const std::string& path, int depth, std::set<std::string>& used) {
  if (!used.insert(path).second) return;
  kept->use(path);
  if (depth == kMostAlternates) return;
  std::ifstream alternates(path + "info/alternates");
  for (std::string line; std::getline(alternates, line);) {
    if (line.empty() || line.front() == '#') continue;
    if (line.front() == '.' && depth == 0) line.insert(0, path);
    if (line.back() != '/') line += '/';
    use_with_alternates(line, depth + 1, used);
  }
}

}  // namespace

void keep_packs(git_repository* repo) {
  const std::lock_guard lock(mutex);
  if (!is_kept()) return let_go();
  git_buf objects = {};
  try {
    if (!kept) kept = new KeptFolders;
    std::set<std::string> used;
    if (git_repository_item_path(&objects, repo, GIT_REPOSITORY_ITEM_OBJECTS) == 0) {
      use_with_alternates(objects.ptr, 0, used);
    }
  } catch (const std::exception&) {  // memory has run out: nothing needs to be kept
    let_go();
  }
  git_buf_dispose(&objects);
}

void let_packs_go() {
  const std::lock_guard lock(mutex);
  let_go();
}
