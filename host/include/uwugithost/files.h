// The external-file service: references tied to paths, and files written record by record onto
// plain files.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "uwugit/host_abi.h"

namespace uwugit::host {

class OutputFile;

// Every operation answers 0 or a negative code, whose text message() gives.
class FileService {
 public:
  FileService();
  ~FileService();  // closes what is open

  // Ties the path to the reference; a blank one is filled in with a new name.
  int assign(char* reference, std::string_view path);
  // Creates the file, or empties it when it exists.
  int open(std::string_view reference, const FileAttributes& attributes, HostFile** file);
  int close(HostFile* file);

  std::string message(int code) const;

 private:
  int next_reference_ = 1;
  std::map<std::string, std::string, std::less<>> paths_;
  std::map<HostFile*, std::unique_ptr<OutputFile>> open_;
};

}  // namespace uwugit::host
