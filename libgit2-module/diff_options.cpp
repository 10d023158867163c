#include "diff_options.h"

#include <cstdint>

#include "next.h"

git_diff_options default_diff_options(git_repository* repo) {
  git_diff_options options = GIT_DIFF_OPTIONS_INIT;
  git_config* config = nullptr;
  std::int32_t lines = -1;
  if (git_repository_config(&config, repo) == 0 &&
      git_config_get_int32(&lines, config, "diff.context") == 0 && lines >= 0) {
    options.context_lines = static_cast<std::uint32_t>(lines);
  }
  git_config_free(config);
  git_error_clear();
  return options;
}
