// libgit2 (1.1 to 1.9) makes a stash of what the index knows, and then checks HEAD out by force. It
// does not look into folders of which the index has nothing, nor at ignored files, nor at files
// that are marked as unchanged. So some content is in neither afterwards: a file that was unstaged
// as deleted and whose only copy is in the working tree; a folder or a nested repository in the
// place of a file; a file in the place of a folder. And with an index that another has locked, it
// makes the entry, takes the changes out of the files, and fails.
//
// Here git_stash_save looks for such content first, and refuses with its path. Content that HEAD
// has as well is not lost. A named pipe, a socket or a device in the place of a file is refused
// too, as nothing of it can be kept.

#include <filesystem>
#include <memory>
#include <set>
#include <vector>

#include "next.h"
#include "one_writer.h"
#include "special_file.h"
#include "unwritten_commit.h"

namespace {

constexpr std::uint32_t kKeepsAll = 1u << 3;  // GIT_STASH_KEEP_ALL since 1.6: no checkout follows
constexpr char kStash[] = "refs/stash";

template <auto release>
struct Release {
  void operator()(auto* object) const { release(object); }
};
template <class Object, auto release>
using Owned = std::unique_ptr<Object, Release<release>>;
using OwnedDiff = Owned<git_diff, git_diff_free>;

// A file that the checkout will write, as it is not there.
struct MissingFile {
  std::string path;
  git_oid content;
};

struct WorkingTree {
  git_repository* repo;
  std::string folder;
  std::vector<MissingFile> missing;
  std::set<std::string> kept;    // files outside the index that the stash takes up
  std::set<std::string> unkept;  // what it does not; a folder ends with '/'
};

int refuse(const std::string& why) {
  return fail(GIT_ERROR_STASH, "cannot stash changes - " + why);
}
int refuse_loss(const std::string& path) {
  return refuse("'" + path +
                "' would be lost: the stash does not keep it, and HEAD takes its place");
}

void note(const git_diff_delta& delta, std::uint32_t flags, WorkingTree* tree) {
  const std::string path = delta.new_file.path;
  const bool is_folder = path.ends_with('/');
  switch (delta.status) {
    case GIT_DELTA_DELETED:
      tree->missing.push_back({delta.old_file.path, delta.old_file.id});
      break;
    case GIT_DELTA_ADDED:  // a link in the place of a file, or the other way round
      tree->kept.insert(path);
      break;
    case GIT_DELTA_UNTRACKED:  // kept when it is a file that HEAD has, or by the flag
      if (!is_folder) tree->kept.insert(path);
      if (is_folder || (flags & GIT_STASH_INCLUDE_UNTRACKED) == 0) tree->unkept.insert(path);
      break;
    case GIT_DELTA_IGNORED: {
      const bool is_kept = !is_folder && (flags & GIT_STASH_INCLUDE_IGNORED) != 0;
      (is_kept ? tree->kept : tree->unkept).insert(path);
      break;
    }
    default:
      break;
  }
}

void note_all(git_diff* diff, std::uint32_t flags, WorkingTree* tree) {
  const OwnedDiff held(diff);
  for (std::size_t i = 0; i < git_diff_num_deltas(diff); ++i) {
    note(*git_diff_get_delta(diff, i), flags, tree);
  }
}

// The two comparisons that the stash is made of. False where libgit2 fails, as the stash then will.
bool compare(git_repository* repo, std::uint32_t flags, WorkingTree* tree) {
  git_diff* diff = nullptr;
  if ((flags & GIT_STASH_KEEP_INDEX) == 0) {  // else not HEAD is checked out but the index
    git_object* head = nullptr;
    if (git_revparse_single(&head, repo, "HEAD^{tree}") < 0) return false;
    const Owned<git_object, git_object_free> held(head);
    auto* head_tree = reinterpret_cast<git_tree*>(head);
    if (git_diff_tree_to_index(&diff, repo, head_tree, nullptr, nullptr) < 0) return false;
    note_all(diff, flags, tree);
    tree->kept.clear();  // what was added to the index is no matter here
  }
  git_diff_options options = GIT_DIFF_OPTIONS_INIT;
  options.flags =
      GIT_DIFF_IGNORE_SUBMODULES | GIT_DIFF_INCLUDE_UNTRACKED | GIT_DIFF_INCLUDE_IGNORED;
  if ((flags & GIT_STASH_INCLUDE_UNTRACKED) != 0) options.flags |= GIT_DIFF_RECURSE_UNTRACKED_DIRS;
  if ((flags & GIT_STASH_INCLUDE_IGNORED) != 0) options.flags |= GIT_DIFF_RECURSE_IGNORED_DIRS;
  if (git_diff_index_to_workdir(&diff, repo, nullptr, &options) < 0) return false;
  note_all(diff, flags, tree);
  return true;
}

// Whether a file of the working tree has the content of a blob. Links and whatever else count as
// having another.
bool has_content(const WorkingTree& tree, const std::string& path, const git_oid& content) {
  const std::string file = tree.folder + path;
  struct stat found {};
  git_oid id = {};
  return look_at(file, &found) && S_ISREG(found.st_mode) &&
         git_repository_hashfile(&id, tree.repo, file.c_str(), GIT_OBJECT_BLOB, path.c_str()) ==
             0 &&
         git_oid_equal(&id, &content);
}

bool has_files(const std::string& folder) {
  std::error_code error;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder, error)) {
    if (!entry.is_directory(error) || entry.is_symlink(error)) return true;
  }
  return false;
}

// Whether a folder in the place of a file holds what the stash does not keep. That may stand in the
// list by itself, as the folder or as one above it.
bool holds_unkept(const WorkingTree& tree, const std::string& folder) {
  for (std::size_t end = folder.find('/'); end != std::string::npos;
       end = folder.find('/', end + 1)) {
    if (tree.unkept.contains(folder.substr(0, end + 1))) return has_files(tree.folder + folder);
  }
  struct stat found {};
  if (look_at(tree.folder + folder + "/.git", &found)) return true;  // a nested repository
  const std::string start = folder + "/";
  for (auto it = tree.unkept.lower_bound(start); it != tree.unkept.end() && it->starts_with(start);
       ++it) {
    if (!it->ends_with('/') || has_files(tree.folder + *it)) return true;
  }
  return false;
}

// Fails when the checkout of a missing file would destroy something.
int check(const WorkingTree& tree, const MissingFile& file) {
  struct stat found {};
  for (std::size_t end = file.path.find('/'); end != std::string::npos;
       end = file.path.find('/', end + 1)) {
    const std::string parent = file.path.substr(0, end);
    if (!look_at(tree.folder + parent, &found)) return 0;
    if (special_kind(found)) return refuse("'" + parent + "' is " + special_kind(found));
    if (!S_ISDIR(found.st_mode)) return tree.unkept.contains(parent) ? refuse_loss(parent) : 0;
  }
  if (!look_at(tree.folder + file.path, &found)) return 0;
  if (special_kind(found)) return refuse("'" + file.path + "' is " + special_kind(found));
  const bool is_lost = S_ISDIR(found.st_mode) ? holds_unkept(tree, file.path)
                                              : !tree.kept.contains(file.path) &&
                                                    !has_content(tree, file.path, file.content);
  return is_lost ? refuse_loss(file.path) : 0;
}

// Files that libgit2 takes for unchanged, as they are marked so.
int check_marked(const WorkingTree& tree) {
  git_index* index = nullptr;
  if (git_repository_index(&index, tree.repo) < 0) return 0;
  const Owned<git_index, git_index_free> held(index);
  struct stat found {};
  for (std::size_t i = 0; i < git_index_entrycount(index); ++i) {
    const git_index_entry* entry = git_index_get_byindex(index, i);
    const bool is_marked = (entry->flags & GIT_INDEX_ENTRY_VALID) != 0 ||
                           (entry->flags_extended & GIT_INDEX_ENTRY_SKIP_WORKTREE) != 0;
    if (is_marked && look_at(tree.folder + entry->path, &found) && !S_ISDIR(found.st_mode) &&
        !has_content(tree, entry->path, entry->id)) {
      return refuse_loss(entry->path);
    }
  }
  return 0;
}

int check_all(git_repository* repo, std::uint32_t flags) {
  const char* folder = git_repository_workdir(repo);
  if (!folder || (flags & kKeepsAll) != 0) return 0;
  WorkingTree tree = {repo, folder, {}, {}, {}};
  if (!compare(repo, flags, &tree)) return 0;
  for (const MissingFile& file : tree.missing) {
    if (const int code = check(tree, file)) return code;
  }
  return check_marked(tree);
}

int check_lock(git_repository* repo) {
  const std::string lock = git_repository_path(repo) + std::string("index.lock");
  struct stat found {};
  if (!look_at(lock, &found)) return 0;
  return fail(GIT_ERROR_INDEX, "cannot stash changes - the index is locked: " + lock + " exists",
              GIT_ELOCKED);
}

}  // namespace

EXPORT int git_stash_save(git_oid* id, git_repository* repo, const git_signature* stasher,
                          const char* message, std::uint32_t flags) {
  if (const int code = LOCK(repo)) return code;
  if (const int code = check_lock(repo)) return code;
  if (const int code = check_all(repo, flags)) return code;
  const int code = call_with_text(NEXT(git_stash_save), id, repo, stasher, message, flags);
  return confirm_commit(code, repo, id, kStash);
}
