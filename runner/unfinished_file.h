// A file that takes the place of another one when it is whole.
#pragma once

#include <filesystem>
#include <string>

namespace uwugit::runner {

// Lies beside that place with ".tmp" behind its name, and is removed unless it was put in place.
class UnfinishedFile {
 public:
  explicit UnfinishedFile(std::filesystem::path place)
      : place_(std::move(place)), file_(place_.string() + ".tmp") {
    remove();
  }
  ~UnfinishedFile() { remove(); }
  UnfinishedFile(const UnfinishedFile&) = delete;
  UnfinishedFile& operator=(const UnfinishedFile&) = delete;

  const std::string& name() const { return file_; }

  // Throws host::RepositoryError.
  void put_in_place() const;

 private:
  void remove() const;

  std::filesystem::path place_;
  std::string file_;
};

}  // namespace uwugit::runner
