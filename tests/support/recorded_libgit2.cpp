// Stands in for libgit2 under a companion: does nothing, and writes down what it was asked for.
#include <git2.h>
#include <git2/sys/transport.h>

#include <cstdarg>
#include <string>

extern "C" std::string recorded_calls;
std::string recorded_calls;
int answer_of_init = 1;

int git_libgit2_init() {
  recorded_calls += "init ";
  return answer_of_init;
}

int git_libgit2_shutdown() {
  recorded_calls += "shutdown ";
  return 0;
}

int told_version = 151;
int git_libgit2_version(int* major, int* minor, int* revision) {
  *major = told_version / 100;
  *minor = told_version / 10 % 10;
  *revision = told_version % 10;
  return 0;
}

git_transport_cb guard = nullptr;
int git_transport_register(const char*, git_transport_cb connect, void*) {
  guard = connect;
  return 0;
}
int git_transport_unregister(const char*) { return 0; }
int git_transport_smart(git_transport**, git_remote*, void*) { return 0; }

extern "C" int git_error_set_str(int, const char*) { return 0; }
extern "C" void git_error_clear() { recorded_calls += "clear "; }

// An option that gets an address is one that reads: it answers 1000 and its number, by the last
// address it has, and is not written down. The others are, with the arguments that they have.
int git_libgit2_opts(int option, ...) {
  std::va_list list;
  va_start(list, option);
  std::size_t given[3];
  for (std::size_t& argument : given) argument = va_arg(list, std::size_t);
  va_end(list);
  if (given[0] > UINT32_MAX) {
    const std::size_t last = given[option == GIT_OPT_GET_CACHED_MEMORY ? 1 : 0];
    *reinterpret_cast<std::size_t*>(last) = 1000 + static_cast<std::size_t>(option);
    return 0;
  }
  const int count = option == 100 ? 3 : option == GIT_OPT_SET_CACHE_OBJECT_LIMIT ? 2 : 1;
  recorded_calls += std::to_string(option);
  for (int i = 0; i < count; ++i)
    recorded_calls += "=" + std::to_string(static_cast<int>(given[i]));
  recorded_calls += " ";
  return option / 100;
}
