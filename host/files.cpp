#include "uwugithost/files.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "missing_slots.h"

namespace uwugit::host {
namespace {

constexpr std::size_t kFileSlots = 16;
constexpr int kUnknownReference = -EBADF;

int last_error() { return errno != 0 ? -errno : -EIO; }

}  // namespace

class OutputFile final : public FullTable<HostFile, "file", kFileSlots> {
 public:
  explicit OutputFile(std::FILE* stream) : stream_(stream) {
    write = [](HostFile* file, const char* data, std::size_t length) {
      std::FILE* const to = static_cast<OutputFile*>(file)->stream_;
      return std::fwrite(data, 1, length, to) == length ? 0 : last_error();
    };
  }
  ~OutputFile() {
    if (stream_) std::fclose(stream_);
  }
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  int close() {
    std::FILE* const stream = stream_;
    stream_ = nullptr;
    return std::fclose(stream) == 0 ? 0 : last_error();
  }

 private:
  std::FILE* stream_;
};

FileService::FileService() = default;
FileService::~FileService() = default;

int FileService::assign(char* reference, std::string_view path) {
  std::string name(reference, kFileReferenceLength);
  if (name.find_first_not_of(' ') == std::string::npos) {
    const std::string number = std::to_string(next_reference_++ % 100000);
    name = "#UF" + std::string(kFileReferenceLength - 3 - number.size(), '0') + number;
    std::memcpy(reference, name.data(), kFileReferenceLength);
  }
  paths_[name] = path;
  return 0;
}

int FileService::open(std::string_view reference, const FileAttributes& attributes,
                      HostFile** file) {
  const auto found = paths_.find(reference);
  if (found == paths_.end()) return kUnknownReference;
  if (attributes.direction != kFileOutput) return -EINVAL;
  std::FILE* stream = std::fopen(found->second.c_str(), "wb");
  if (!stream) return last_error();
  auto opened = std::make_unique<OutputFile>(stream);
  *file = opened.get();
  open_.emplace(opened.get(), std::move(opened));
  return 0;
}

int FileService::close(HostFile* file) {
  const auto found = open_.find(file);
  if (found == open_.end()) return kUnknownReference;
  const int code = found->second->close();
  open_.erase(found);
  return code;
}

std::string FileService::message(int code) const {
  if (code == 0) return "The operation completed.";
  return "External file: " + std::string(std::strerror(code < 0 ? -code : code)) + " (code " +
         std::to_string(code) + ").";
}

}  // namespace uwugit::host
