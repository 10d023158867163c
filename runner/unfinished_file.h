// A file that takes the place of another one when it is whole.
#pragma once

#include <filesystem>
#include <string>

namespace uwugit::runner {

// Lies beside that place under a name of its own, with the rights of the file that it replaces, and
// is removed unless it was put in place.
class UnfinishedFile {
 public:
  // Makes it, empty. Throws host::RepositoryError, as put_in_place() does.
  explicit UnfinishedFile(std::filesystem::path place);
  ~UnfinishedFile();
  UnfinishedFile(const UnfinishedFile&) = delete;
  UnfinishedFile& operator=(const UnfinishedFile&) = delete;

  const std::string& name() const { return file_; }
  void put_in_place() const;

 private:
  std::filesystem::path place_;
  std::string file_;
};

}  // namespace uwugit::runner
