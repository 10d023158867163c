#include "delete_repo.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "kept_packs.h"

namespace {

constexpr int kRemoved = 0;
constexpr int kNotRemoved = -1;
constexpr int kDoesNotExist = -2;
constexpr int kDirectoryFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

class Directory {
 public:
  explicit Directory(int descriptor) : stream_(descriptor < 0 ? nullptr : fdopendir(descriptor)) {
    if (!stream_ && descriptor >= 0) close(descriptor);
  }
  ~Directory() {
    if (stream_) closedir(stream_);
  }
  Directory(const Directory&) = delete;
  Directory& operator=(const Directory&) = delete;

  bool is_open() const { return stream_ != nullptr; }
  int descriptor() const { return dirfd(stream_); }

  // The names in the directory, taken at once: it changes under the removal.
  std::vector<std::string> names() const {
    std::vector<std::string> found;
    while (const dirent* entry = readdir(stream_)) {
      const char* name = entry->d_name;
      if (std::strcmp(name, ".") != 0 && std::strcmp(name, "..") != 0) found.emplace_back(name);
    }
    return found;
  }

 private:
  DIR* stream_;
};

// Opens a directory for emptying. Git's own read-only directories need the owner's bits first.
int open_directory(int parent, const char* name) {
  const int descriptor = openat(parent, name, kDirectoryFlags);
  if (descriptor >= 0) {
    fchmod(descriptor, S_IRWXU);
    return descriptor;
  }
  if (errno != EACCES) return descriptor;
  const int path_only = openat(parent, name, O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
  if (path_only < 0) return path_only;
  chmod(("/proc/self/fd/" + std::to_string(path_only)).c_str(), S_IRWXU);
  close(path_only);
  return openat(parent, name, kDirectoryFlags);
}

// Every directory is reached from its parent's descriptor, never by path, so that a link that takes
// a directory's place meanwhile leads nowhere. Goes on after a failure, to remove what can be
// removed.
bool empty_directory(const Directory& directory) {
  bool is_empty = true;
  for (const std::string& name : directory.names()) {
    if (unlinkat(directory.descriptor(), name.c_str(), 0) == 0) continue;
    const Directory inner(open_directory(directory.descriptor(), name.c_str()));
    const bool is_removed = inner.is_open() && empty_directory(inner) &&
                            unlinkat(directory.descriptor(), name.c_str(), AT_REMOVEDIR) == 0;
    is_empty = is_empty && is_removed;
  }
  return is_empty;
}

// The name without the slashes at its end, with which a link would be followed.
std::string without_last_slashes(std::string_view path) {
  while (path.ends_with('/')) path.remove_suffix(1);
  return std::string(path);
}

// A directory can be removed by its own name only; the root directory has none.
bool has_own_name(std::string_view path) {
  const std::string_view name = path.substr(path.rfind('/') + 1);
  return !name.empty() && name != "." && name != "..";
}

}  // namespace

int git_delete_repo(const char* given) {
  struct stat found {};
  if (lstat(given, &found) != 0) {
    return errno == ENOENT || errno == ENOTDIR ? kDoesNotExist : kNotRemoved;
  }
  const std::string path = without_last_slashes(given);
  if (!has_own_name(path)) return kNotRemoved;
  let_packs_go();  // or the disk would keep the room of those of this repository
  const Directory directory(open_directory(AT_FDCWD, path.c_str()));
  const bool is_removed =
      directory.is_open() && empty_directory(directory) && rmdir(path.c_str()) == 0;
  return is_removed ? kRemoved : kNotRemoved;
}
