// git_diff_tree_to_tree (1.1 to 1.9) reads and lists every tree of both sides, also those whose ids
// are equal, so comparing neighbouring commits costs as much as the whole repository is large.
//
// Here the two sides are walked first, from the roots and into trees that differ only. libgit2 then
// gets the paths that differ, by which it leaves out all others, and makes the same diff. A tree
// that is equal on both sides is not read: git does not notice either that it is lost.

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "diff_options.h"
#include "next.h"

namespace {

// libgit2 looks for each file among all the paths, in the worst case from the first. Of more paths
// it takes no notice: the diff itself is work enough then.
constexpr std::size_t kMostPaths = 250;

struct FreeTree {
  void operator()(git_tree* tree) const { git_tree_free(tree); }
};
using Tree = std::unique_ptr<git_tree, FreeTree>;

struct DifferingPaths {
  git_repository* repo;
  std::vector<std::string> paths{};

  // Adds the paths below a folder, whose name ends with a slash, or is empty for the root. False
  // when there are too many, or when libgit2 had better find out by itself what is wrong.
  bool add_between(const git_tree* left, const git_tree* right, const std::string& folder) {
    const std::size_t left_count = git_tree_entrycount(left);
    const std::size_t right_count = git_tree_entrycount(right);
    std::size_t l = 0;
    std::size_t r = 0;
    while (l < left_count || r < right_count) {
      const git_tree_entry* old_entry = l < left_count ? git_tree_entry_byindex(left, l) : nullptr;
      const git_tree_entry* new_entry =
          r < right_count ? git_tree_entry_byindex(right, r) : nullptr;
      const int order = !old_entry ? 1 : !new_entry ? -1 : git_tree_entry_cmp(old_entry, new_entry);
      if (order <= 0) ++l;
      if (order >= 0) ++r;
      const bool is_added = order == 0 ? add_entries(old_entry, new_entry, folder)
                                       : add(order < 0 ? old_entry : new_entry, folder);
      if (!is_added) return false;
    }
    return true;
  }

 private:
  // Of one name on both sides.
  bool add_entries(const git_tree_entry* left, const git_tree_entry* right,
                   const std::string& folder) {
    const bool is_equal = git_oid_equal(git_tree_entry_id(left), git_tree_entry_id(right)) &&
                          git_tree_entry_filemode_raw(left) == git_tree_entry_filemode_raw(right);
    if (is_equal) return true;
    const Tree old_tree = tree_of(left);
    const Tree new_tree = tree_of(right);
    if (!old_tree || !new_tree) return add(left, folder);
    return add_between(old_tree.get(), new_tree.get(), folder + git_tree_entry_name(left) + '/');
  }

  // A submodule's path would be taken for a pattern.
  bool add(const git_tree_entry* entry, const std::string& folder) {
    if (git_tree_entry_type(entry) == GIT_OBJECT_COMMIT || paths.size() == kMostPaths) return false;
    paths.push_back(folder + git_tree_entry_name(entry));
    return true;
  }

  Tree tree_of(const git_tree_entry* entry) const {
    git_tree* tree = nullptr;
    if (git_tree_entry_type(entry) == GIT_OBJECT_TREE) {
      git_tree_lookup(&tree, repo, git_tree_entry_id(entry));
    }
    return Tree(tree);
  }
};

// Whether the caller wants what differs and nothing else.
bool is_plain(const git_diff_options* options) {
  constexpr unsigned other_flags = GIT_DIFF_INCLUDE_UNMODIFIED | GIT_DIFF_IGNORE_CASE |
                                   GIT_DIFF_INCLUDE_TYPECHANGE_TREES |
                                   GIT_DIFF_DISABLE_PATHSPEC_MATCH;
  return !options ||
         (options->version == GIT_DIFF_OPTIONS_VERSION && (options->flags & other_flags) == 0 &&
          options->pathspec.count == 0 && !options->notify_cb && !options->progress_cb);
}

}  // namespace

EXPORT int git_diff_tree_to_tree(git_diff** diff, git_repository* repo, git_tree* old_tree,
                                 git_tree* new_tree, const git_diff_options* given) {
  auto* const make = NEXT(git_diff_tree_to_tree);
  DifferingPaths differing{repo};
  if (!old_tree || !new_tree || !is_plain(given) ||
      !differing.add_between(old_tree, new_tree, "")) {
    return make(diff, repo, old_tree, new_tree, given);
  }
  if (differing.paths.empty()) return make(diff, repo, nullptr, nullptr, given);
  git_diff_options options = given ? *given : default_diff_options(repo);
  std::vector<char*> strings;
  for (std::string& path : differing.paths) strings.push_back(path.data());
  options.flags |= GIT_DIFF_DISABLE_PATHSPEC_MATCH;  // each path is itself, not a pattern
  options.pathspec = {strings.data(), strings.size()};
  return make(diff, repo, old_tree, new_tree, &options);
}
