// The binding to libgit2 from inside: what differs between versions, errors, releasing. Each test
// has a libgit2 of its own making.
#include <git2.h>
#include <gtest/gtest.h>

#include <cstring>
#include <list>
#include <map>

#include "gitbind/compatibility.h"
#include "gitbind/release.h"
#include "uwugit/functions.h"
#include "uwugithost/host.h"

namespace uwugit::test {
namespace {

class Binding : public testing::Test {
 protected:
  Binding() { mcn_main(host_.control_block(), nullptr); }

  host::Host host_{{}};
  host::LogCapture log_{host_.log()};
};

struct MadeUpGit : GitModule {
  MadeUpGit() : GitModule{} {
    lookup = [](GitModule* self, const wchar_t* name, std::size_t length, std::uint64_t) -> void* {
      const auto& known = static_cast<MadeUpGit*>(self)->functions;
      const auto found = known.find(std::wstring(name, length));
      return found == known.end() ? nullptr : found->second;
    };
  }
  template <class Function>
  void add(const wchar_t* name, Function* function) {
    functions[name] = reinterpret_cast<void*>(function);
  }
  std::map<std::wstring, void*> functions;
};

struct FoundVersion {
  int major, minor, features;
  bool has_long_ids = false;
} found;
int tell_version(int* major, int* minor, int* revision) {
  *major = found.major;
  *minor = found.minor;
  *revision = 3;
  return 0;
}

TEST_F(Binding, RefusesALibgit2WhoseRecordsItDoesNotKnow) {
  constexpr char kLongIds[] =
      "ERROR: libgit2 1.8.3 cannot be used. Its commit ids have room for SHA-256, as in "
      "experimental builds and in versions after 1.9.\n";
  const struct {
    FoundVersion version;
    const char* message;  // null: accepted
  } rows[] = {
      {{1, 1, 0}, nullptr},
      {{1, 9, 0}, nullptr},
      {{1, 0, 0}, "ERROR: libgit2 1.0.3 cannot be used. Versions 1.1 to 1.9 are supported.\n"},
      {{1, 10, 0}, "ERROR: libgit2 1.10.3 cannot be used. Versions 1.1 to 1.9 are supported.\n"},
      {{2, 1, 0}, "ERROR: libgit2 2.1.3 cannot be used. Versions 1.1 to 1.9 are supported.\n"},
      {{0, 28, 0}, "ERROR: libgit2 0.28.3 cannot be used. Versions 1.1 to 1.9 are supported.\n"},
      {{1, 8, 1 << 11}, kLongIds},
      {{1, 8, 0, true}, kLongIds},
  };
  std::list<MadeUpGit> libraries;  // each is asked once, so each row has its own
  for (const auto& row : rows) {
    found = row.version;
    MadeUpGit& git = libraries.emplace_back();
    git.add(L"git_libgit2_version", tell_version);
    git.add(
        L"git_libgit2_features", +[] { return found.features; });
    git.add(
        L"git_oid_fmt",
        +[](char* text, const git_oid*) { std::strcpy(text, found.has_long_ids ? "00" : "01"); });
    EXPECT_EQ(is_supported_libgit2(&git), row.message == nullptr);
    EXPECT_EQ(log_.text(), row.message ? row.message : "");
    log_.clear();
  }
  MadeUpGit silent;
  EXPECT_TRUE(is_supported_libgit2(&silent)) << "a library that does not tell its version";
}

git_error current_error;
bool has_error_record;

TEST_F(Binding, ReportsTheLastErrorOfAnyLibgit2) {
  char text[] = "what went wrong: %s %n";
  const struct {
    bool has_function, has_record;
    git_error error;
    int expected;
    const char* log;
  } rows[] = {
      {false, false, {}, 0, ""},
      {true, false, {}, -1, "ERROR: No detailed error info available.\n"},
      {true, true, {text, 0}, -1, "ERROR: No detailed error info available.\n"},  // 1.8 and later
      {true, true, {text, 2}, 2, "ERROR: Return code from GIT is (2). what went wrong: %s %n\n"},
  };
  for (const auto& row : rows) {
    MadeUpGit git;
    current_error = row.error;
    has_error_record = row.has_record;
    if (row.has_function) {
      git.add(
          L"git_error_last",
          +[]() -> const git_error* { return has_error_record ? &current_error : nullptr; });
    }
    EXPECT_EQ(log_git_error(&git), row.expected);
    EXPECT_EQ(log_.text(), row.log);
    log_.clear();
  }
}

// The compiled records tell where the fields are; before 1.2 the payload lay elsewhere.
TEST_F(Binding, PreparesTransfersOfEveryVersion) {
  const auto callback = reinterpret_cast<git_credential_acquire_cb>(0x1234);
  int payload = 0;
  TransferOptions options;
  MadeUpGit git;
  git.add(L"git_libgit2_version", tell_version);
  for (const bool has_init : {false, true}) {
    if (has_init) git.add(L"git_push_options_init", git_push_options_init);
    found = {1, 5, 0};
    prepare_transfer(&git, Transfer::kFetch, &options, callback, &payload);
    const auto* fetch = reinterpret_cast<git_fetch_options*>(options.bytes);
    EXPECT_EQ(fetch->callbacks.credentials, callback);
    EXPECT_EQ(fetch->callbacks.payload, &payload);
    EXPECT_EQ(fetch->update_fetchhead, 1);
    prepare_transfer(&git, Transfer::kPush, &options, callback, &payload);
    const auto* push = reinterpret_cast<git_push_options*>(options.bytes);
    EXPECT_EQ(push->version, 1u);
    EXPECT_EQ(push->pb_parallelism, 1u);
    EXPECT_EQ(push->callbacks.credentials, callback);
    EXPECT_EQ(push->callbacks.payload, &payload);
    prepare_transfer(&git, Transfer::kClone, &options, callback, &payload);
    const auto* clone = reinterpret_cast<git_clone_options*>(options.bytes);
    EXPECT_EQ(clone->fetch_opts.callbacks.credentials, callback);
    EXPECT_EQ(clone->fetch_opts.callbacks.payload, &payload);
  }
  MadeUpGit oldest;
  oldest.add(L"git_libgit2_version", tell_version);
  found = {1, 1, 0};
  prepare_transfer(&oldest, Transfer::kPush, &options, callback, &payload);
  void* at_96 = nullptr;
  std::memcpy(&at_96, options.bytes + 8 + 96, sizeof at_96);
  EXPECT_EQ(at_96, &payload);
}

int released;
void count_release(void*) { ++released; }

// Each release function with and without its libgit2 function, with and without an object.
TEST_F(Binding, ReleasesWhatItCan) {
  using Release = void(void*, GitModule*);
  const struct {
    void* release;
    const wchar_t* name;
    bool takes_null;
  } rows[] = {
#define ROW(function, name, takes_null) {reinterpret_cast<void*>(function), L"" #name, takes_null}
      ROW(free_git_repo, git_repository_free, true),
      ROW(free_git_tree, git_tree_free, true),
      ROW(free_git_commit, git_commit_free, true),
      ROW(free_git_signature, git_signature_free, true),
      ROW(free_git_remote, git_remote_free, true),
      ROW(free_git_reference, git_reference_free, true),
      ROW(free_git_annotated_commit, git_annotated_commit_free, true),
      ROW(free_git_rebase, git_rebase_free, false),
      ROW(free_git_diff, git_diff_free, false),
      ROW(free_git_revwalk, git_revwalk_free, false),
      ROW(free_git_index, git_index_free, false),
      ROW(free_git_object, git_object_free, false),
      ROW(free_git_index_conflict_iterator, git_index_conflict_iterator_free, false),
      ROW(free_git_status_list, git_status_list_free, false),
#undef ROW
  };
  for (const auto& row : rows) {
    MadeUpGit without;
    MadeUpGit with;
    with.add(row.name, count_release);
    auto* release = reinterpret_cast<Release*>(row.release);
    released = 0;
    release(&with, &without);
    EXPECT_EQ(released, 0);
    release(&with, &with);
    EXPECT_EQ(released, 1);
    release(nullptr, &with);
    EXPECT_EQ(released, row.takes_null ? 2 : 1);
  }
}

}  // namespace
}  // namespace uwugit::test
