#include "process.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

namespace uwugit::runner {

CommandResult run(const std::vector<std::string>& command) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("A pipe cannot be made.");
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, ends[1], STDERR_FILENO);
  std::vector<char*> words;
  for (const std::string& word : command) words.push_back(const_cast<char*>(word.c_str()));
  words.push_back(nullptr);
  pid_t child = 0;
  const int error = posix_spawnp(&child, words[0], &actions, nullptr, words.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(ends[1]);
  CommandResult result{};
  if (error == 0) {
    char buffer[4096];
    for (ssize_t got; (got = read(ends[0], buffer, sizeof buffer)) != 0;) {
      if (got > 0) result.output.append(buffer, static_cast<std::size_t>(got));
      if (got < 0 && errno != EINTR) break;
    }
  }
  close(ends[0]);
  if (error != 0) {
    throw std::runtime_error("The command " + command[0] +
                             " cannot be run: " + std::strerror(error));
  }
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return result;
}

std::filesystem::path temporary_folder() {
  std::string name = (std::filesystem::temp_directory_path() / "uwugit-XXXXXX").string();
  if (!mkdtemp(name.data())) throw std::runtime_error("A temporary folder cannot be made.");
  return name;
}

}  // namespace uwugit::runner
