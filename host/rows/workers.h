// Work shared out among processes of this program, and read back in order.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace uwugit::host {

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

// What a worker says: rows of numbers and texts, which the reader takes in the same order.
class WorkerOutput {
 public:
  explicit WorkerOutput(std::FILE* pipe) : pipe_(pipe) {}
  void begin_row();
  void number(std::int64_t value);
  void text(std::string_view value);

 private:
  friend class Workers;
  void write(const void* bytes, std::size_t size);

  std::FILE* pipe_;
};

// Throws RepositoryError when the worker has ended.
class WorkerInput {
 public:
  explicit WorkerInput(File pipe) : pipe_(std::move(pipe)) {}
  std::int64_t number();
  std::string text();

 private:
  friend class Workers;
  void read(void* bytes, std::size_t size);

  File pipe_;
};

class Workers {
 public:
  using Work = std::function<void(std::size_t chunk, WorkerOutput& output)>;

  // Starts the processes, each with its share of the chunks. Throws RepositoryError.
  Workers(unsigned jobs, std::size_t chunks, const Work& work);
  // Ends processes that are still at work.
  ~Workers();
  Workers(const Workers&) = delete;
  Workers& operator=(const Workers&) = delete;

  // Where the next row is read from; null when there are no more. Throws what the work threw.
  WorkerInput* next_row();

 private:
  [[noreturn]] static void work_through(std::FILE* pipe, unsigned first, unsigned step,
                                        std::size_t chunks, const Work& work);

  std::vector<pid_t> processes_;
  std::vector<WorkerInput> inputs_;
  std::size_t chunks_;
  std::size_t chunk_ = 0;  // that is being read
};

}  // namespace uwugit::host
