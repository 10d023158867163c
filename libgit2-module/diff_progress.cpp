// Comparing a large working tree, and the texts of a large diff, take seconds to minutes. Here the
// empty callbacks tell the host how many files are done, and may end it. A status is made of two
// such comparisons: libgit2's own calls of these functions come by here as well.

#include "diff_options.h"
#include "next.h"
#include "progress.h"

namespace {

using uwugit::WorkStage;

thread_local std::uint64_t compared = 0;

int tell_compared(const git_diff*, const char*, const char*, void*) {
  return go_on({WorkStage::kComparing, ++compared, 0, 0});
}

// Calls a function that compares with options that tell the host.
template <class Compare>
int compare(git_repository* repo, const git_diff_options* given, Compare function) {
  if (!is_watched() || !repo || (given && given->progress_cb)) return function(given);
  git_diff_options options = given ? *given : default_diff_options(repo);
  options.progress_cb = tell_compared;
  compared = 0;
  return unless_ended(function(&options));
}

// The lines of a diff on their way to the caller.
struct Lines {
  git_diff_line_cb take;
  void* payload;
  std::uint64_t file_count;
  std::uint64_t files = 0;
  const git_diff_delta* file = nullptr;

  static int tell_and_take(const git_diff_delta* delta, const git_diff_hunk* hunk,
                           const git_diff_line* line, void* self) {
    auto* const lines = static_cast<Lines*>(self);
    if (delta != lines->file) ++lines->files;
    lines->file = delta;
    const Progress progress = {WorkStage::kComparing, lines->files, lines->file_count, 0};
    if (const int code = go_on(progress)) return code;
    return lines->take(delta, hunk, line, lines->payload);
  }
};

}  // namespace

EXPORT int git_diff_tree_to_index(git_diff** diff, git_repository* repo, git_tree* tree,
                                  git_index* index, const git_diff_options* given) {
  return compare(repo, given, [=](const git_diff_options* options) {
    return NEXT(git_diff_tree_to_index)(diff, repo, tree, index, options);
  });
}

EXPORT int git_diff_index_to_workdir(git_diff** diff, git_repository* repo, git_index* index,
                                     const git_diff_options* given) {
  return compare(repo, given, [=](const git_diff_options* options) {
    return NEXT(git_diff_index_to_workdir)(diff, repo, index, options);
  });
}

EXPORT int git_diff_tree_to_workdir(git_diff** diff, git_repository* repo, git_tree* tree,
                                    const git_diff_options* given) {
  return compare(repo, given, [=](const git_diff_options* options) {
    return NEXT(git_diff_tree_to_workdir)(diff, repo, tree, options);
  });
}

EXPORT int git_diff_print(git_diff* diff, git_diff_format_t format, git_diff_line_cb take,
                          void* payload) {
  if (!is_watched() || !diff || !take) return NEXT(git_diff_print)(diff, format, take, payload);
  Lines lines = {take, payload, git_diff_num_deltas(diff)};
  return unless_ended(NEXT(git_diff_print)(diff, format, Lines::tell_and_take, &lines));
}
