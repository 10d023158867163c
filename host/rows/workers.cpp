#include "rows/workers.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <stdexcept>

#include "uwugithost/repository.h"

namespace uwugit::host {
namespace {

// What stands before each message.
constexpr char kRow = 'R';
constexpr char kEndOfChunk = 'C';
constexpr char kFailure = 'F';  // a text follows: what was thrown

constexpr int kPipeBytes = 1 << 20;
constexpr int kWorkerFailed = 1;

[[noreturn]] void fail(const char* what) {
  throw RepositoryError(std::string("no process can be started for the comparison: ") + what);
}

}  // namespace

void WorkerOutput::write(const void* bytes, std::size_t size) {
  // Nobody reads any more.
  if (std::fwrite(bytes, 1, size, pipe_) != size) _exit(kWorkerFailed);
}

void WorkerOutput::begin_row() { write(&kRow, 1); }

void WorkerOutput::number(std::int64_t value) { write(&value, sizeof value); }

void WorkerOutput::text(std::string_view value) {
  number(static_cast<std::int64_t>(value.size()));
  write(value.data(), value.size());
}

void WorkerInput::read(void* bytes, std::size_t size) {
  errno = 0;
  if (std::fread(bytes, 1, size, pipe_.get()) == size) return;
  if (errno == EINTR) throw RepositoryError("comparing commits was interrupted");
  throw RepositoryError("a process that compared commits has ended before its work was done");
}

std::int64_t WorkerInput::number() {
  std::int64_t value = 0;
  read(&value, sizeof value);
  return value;
}

std::string WorkerInput::text() {
  std::string value(static_cast<std::size_t>(number()), '\0');
  read(value.data(), value.size());
  return value;
}

Workers::Workers(unsigned jobs, std::size_t chunks, const Work& work) : chunks_(chunks) {
  for (unsigned job = 0; job < jobs; ++job) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) fail("there are too many open files");
    fcntl(ends[1], F_SETPIPE_SZ, kPipeBytes);  // a larger one keeps all at work for longer
    const pid_t process = fork();
    if (process == 0) {
      inputs_.clear();
      close(ends[0]);
      work_through(fdopen(ends[1], "w"), job, jobs, chunks, work);
    }
    close(ends[1]);
    inputs_.emplace_back(File(fdopen(ends[0], "r")));
    if (process < 0) fail("there are too many processes");
    processes_.push_back(process);
  }
}

Workers::~Workers() {
  inputs_.clear();
  for (const pid_t process : processes_) kill(process, SIGTERM);
  for (const pid_t process : processes_) waitpid(process, nullptr, 0);
}

// In the new process, which ends here and without what the old one does at its end.
void Workers::work_through(std::FILE* pipe, unsigned first, unsigned step, std::size_t chunks,
                           const Work& work) {
  // What the old process has not written yet is not written by this one, however it ends.
  const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
  if (nowhere < 0 || dup2(nowhere, STDOUT_FILENO) < 0) _exit(kWorkerFailed);
  WorkerOutput output(pipe);
  try {
    for (std::size_t chunk = first; chunk < chunks; chunk += step) {
      work(chunk, output);
      output.write(&kEndOfChunk, 1);
      std::fflush(pipe);
    }
  } catch (const std::exception& error) {
    output.write(&kFailure, 1);
    output.text(error.what());
  }
  std::fflush(pipe);
  _exit(0);
}

WorkerInput* Workers::next_row() {
  while (chunk_ < chunks_) {
    WorkerInput& input = inputs_[chunk_ % inputs_.size()];
    char what = 0;
    input.read(&what, 1);
    if (what == kRow) return &input;
    if (what == kFailure) throw RepositoryError(input.text());
    ++chunk_;
  }
  return nullptr;
}

}  // namespace uwugit::host
