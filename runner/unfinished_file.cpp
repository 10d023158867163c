#include "unfinished_file.h"

#include "uwugithost/repository.h"

namespace uwugit::runner {

namespace fs = std::filesystem;

void UnfinishedFile::put_in_place() const {
  std::error_code error;
  fs::rename(file_, place_, error);
  if (error) throw host::RepositoryError(place_.string() + ": " + error.message());
}

void UnfinishedFile::remove() const {
  std::error_code error;
  fs::remove(file_, error);
}

}  // namespace uwugit::runner
