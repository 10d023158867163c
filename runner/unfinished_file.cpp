#include "unfinished_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "uwugithost/repository.h"

namespace uwugit::runner {
namespace {

namespace fs = std::filesystem;

// Of a file that was there, or else as the user's mask has it for new ones.
mode_t rights_at(const fs::path& place) {
  struct stat found {};
  if (stat(place.c_str(), &found) == 0) return found.st_mode & 0777;
  const mode_t mask = umask(0);
  umask(mask);
  return 0666 & ~mask;
}

}  // namespace

UnfinishedFile::UnfinishedFile(fs::path place)
    : place_(std::move(place)), file_(place_.string() + ".XXXXXX") {
  const int file = mkostemp(file_.data(), O_CLOEXEC);
  if (file < 0) {
    throw host::RepositoryError("'" + place_.string() +
                                "' cannot be written: " + std::strerror(errno));
  }
  fchmod(file, rights_at(place_));
  close(file);
}

UnfinishedFile::~UnfinishedFile() {
  std::error_code error;
  fs::remove(file_, error);
}

void UnfinishedFile::put_in_place() const {
  std::error_code error;
  fs::rename(file_, place_, error);
  if (error) throw host::RepositoryError(place_.string() + ": " + error.message());
}

}  // namespace uwugit::runner
