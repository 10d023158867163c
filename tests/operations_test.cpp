// What no program can bring about: libgit2 functions that answer something else, variables and
// argument blocks of odd sizes, file services that fail. The programs in tests/programs show the
// rest. Each test tells what it does and is answered, which must be the text of its expected file.
#include <git2.h>

#include <algorithm>
#include <climits>
#include <sstream>

#include "process.h"
#include "support/expected.h"
#include "support/module_test.h"
#include "uwugit/operations.h"

namespace uwugit::test {
namespace {

std::ostringstream told;
int calls, given;

class Operations : public ModuleTest {
 protected:
  Operations() {
    setenv("GIT_COMMITTER_DATE", "1700000000 +0000", 1);
    told.str({});
    calls = 0;
  }

  void TearDown() override {
    const std::string name = testing::UnitTest::GetInstance()->current_test_info()->name();
    expect_text(UWUGIT_SOURCE_FOLDER "/tests/expected/" + name + ".txt", told.str(), sandbox_);
  }

  // Calls a function with an argument block of these words: "#1" is a number, "@9" is a variable
  // with room for nine characters, which are told, and all else are texts.
  void tell(const std::vector<std::string>& words) {
    host::Arguments arguments;
    HostString* variable = nullptr;
    for (std::size_t i = 1; i < words.size(); ++i) {
      if (words[i][0] == '#') {
        arguments.number(std::stod(words[i].substr(1)));
      } else if (words[i][0] == '@') {
        variable = &arguments.output(std::stoul(words[i].substr(1))).string(i - 1);
        std::fill_n(variable->characters, variable->length = variable->capacity, '?');
      } else {
        arguments.text(words[i]);
      }
    }
    const host::CallResult result = host_.call(module_.find(words[0]), arguments.block());
    told << words[0] << " -> " << host::Outcome{.result = result}.code_text();
    if (variable) {
      told << " [";
      told.write(variable->characters, variable->length) << "]";
    }
    told << "\n" << logged();
  }

  // Runs a shell script in the repository, which can `commit TEXT`, and answers what it printed,
  // without the last line break.
  std::string run(const std::string& script) {
    const std::string prelude =
        "cd '" + path_ + "'\ncommit() { git add .; git commit --quiet --allow-empty -m $1; }\n";
    const runner::CommandResult result = runner::run({"sh", "-ec", prelude + script});
    EXPECT_EQ(result.status, 0) << script << "\n" << result.output;
    return result.output.substr(0, result.output.find_last_not_of('\n') + 1);
  }

  // Puts a function in the place of libgit2's; also several, one after the other.
  template <class Lambda>
  void replace(std::string_view name, Lambda lambda) {
    host_.modules().set_lookup_hook(
        [=, before = host_.modules().lookup_hook()](std::string_view asked, void* found) {
          if (asked == name) return reinterpret_cast<void*>(+lambda);
          return before ? before(asked, found) : found;
        });
  }

  std::string path_ = sandbox_.new_repository();
};

// The variable as the module leaves it, with room for more than the value, for less, and for none.
TEST_F(Operations, FillTheWholeVariable) {
  const std::string id = run("echo >file; commit x; echo x >file; git rev-parse HEAD");
  for (const char* name : {"get_status", "get_commit_log"}) tell({name, path_});
  tell({"diff_commits", path_, "", id});
  for (const char* number : {"#1", "#2"}) {
    for (const char* room : {"@24", "@3", "@0"}) {
      for (const char* name : {"PATH", "STAGED", "NONE"}) {
        tell({"get_status_attribute", number, path_, name, room});
      }
      for (const char* name : {"TIME", "NONE"}) {
        tell({"get_commit_attribute", number, path_, name, room});
      }
      tell({"get_diff_attribute", number, path_, "", id, "FILE", room});
    }
  }
}

// Some arguments count only in a block of exactly so many.
TEST_F(Operations, CountTheirArguments) {
  const std::string id = run("echo >file; commit x; echo x >file; git rev-parse HEAD");
  tell({"stash", path_, "Me", "me@example.org"});
  tell({"stash_pop", path_, "#5"});
  tell({"stash", path_, "Me", "me@example.org"});
  tell({"stash_apply", path_, "#5", "#5"});
  tell({"stash_drop", path_, "#5", "#5"});
  tell({"init_repo", path_, "main", "url", "more"});
  tell({"do_commit", path_, "HEAD", "Me", "me@example.org", "x", id, "more"});
  tell({"diff_file_in_index", path_, "file", "@9", "#0", path_ + "/out", "more"});
  told << run("git remote; git log -1 --format='parents: %P'; git status --short");
}

// What the flags mean is a table of whole values. The walk is replaced by one that reports each
// value that sixteen bits can have, and a null path.
TEST_F(Operations, ListStatusByWholeValuesOfTheFlags) {
  replace("git_status_list_new",
          [](git_status_list** list, git_repository* repo, const git_status_options* options) {
            told << options->version << " " << options->show << " " << options->flags << "\n";
            return git_status_list_new(list, repo, options);
          });
  replace("git_status_foreach", [](git_repository*, git_status_cb callback, void* payload) {
    int failures = callback(nullptr, 1, payload);
    for (unsigned flags = 0; flags <= 0xFFFF; ++flags) {
      failures += callback(std::to_string(flags).c_str(), flags, payload);
    }
    return failures;
  });
  tell({"get_status", path_});
  for (int number = 1; number <= 19; ++number) {
    for (const char* name : {"PATH", "STATUS", "STAGED"}) {
      told << output("get_status_attribute", number, path_, name) << " ";
    }
  }
}

TEST_F(Operations, PassOverACommitThatCannotBeLookedUp) {
  told << run("for name in root lost tip; do commit $name; done; git rev-list HEAD") << "\n";
  replace("git_commit_lookup", [](git_commit** commit, git_repository* repo, const git_oid* oid) {
    return ++calls == 2 ? -1 : git_commit_lookup(commit, repo, oid);
  });
  tell({"get_commit_log", path_});
  for (const char* name : {"ID", "PARENT_IDS", "CHILDREN_IDS", "IN_CURRENT_BRANCH"}) {
    for (int number : {1, 2}) told << output("get_commit_attribute", number, path_, name) << "|";
  }
}

// A reset that fails, about which libgit2 says nothing, counts as done when the state of a merge
// can be cleared.
TEST_F(Operations, ResetByClearingTheState) {
  const std::string id = run("commit x; git rev-parse HEAD");
  replace("git_reset", [](git_repository*, const git_object*, git_reset_t kind,
                          const git_checkout_options* options) {
    told << kind << " " << options->checkout_strategy << " ";
    return -1;
  });
  replace("git_repository_state_cleanup", [] { return given; });
  for (given = -1; given <= 0; ++given) {
    for (const char* mode : {"SOFT", "MIXED", "HARD"}) tell({"reset_to_commit", path_, id, mode});
  }
}

// libgit2 gives some of these values only together with others; the value counts as a whole.
TEST_F(Operations, MergeByTheExactAnalysis) {
  run("commit base; git switch -qc topic; commit theirs; git switch -q main");
  replace("git_merge_analysis", [](git_merge_analysis_t* analysis) {
    *analysis = static_cast<git_merge_analysis_t>(given);
    return 0;
  });
  replace("git_merge", [](git_repository*, const git_annotated_commit**, size_t,
                          const git_merge_options* merge, const git_checkout_options* checkout) {
    told << merge->flags << " " << merge->file_flags << " " << checkout->checkout_strategy << " "
         << checkout->ancestor_label << " " << checkout->our_label << " " << checkout->their_label
         << "\n";
    return -1;
  });
  for (const int analysis : {8, 12, 0, 2, 1, 5, 4}) {
    told << "analysis " << (given = analysis) << ": ";
    run("touch .git/MERGE_MSG");
    tell({"merge_branch", path_, "topic", "Me", "me@example.org"});
    told << run("git log -1 --format=%s; ls .git | grep MERGE_MSG || true") << "\n";
  }
}

// Operations to squash, fix up or execute (3 to 5) are counted and not committed. Only another
// program's rebase can hold such; libgit2 is made to give them.
TEST_F(Operations, RebaseByTheTypeOfAnOperation) {
  const std::string onto = run("commit base; git switch -qc onto; commit onto; git rev-parse HEAD");
  run("git switch -q main; echo >a; commit a; echo >b; commit b");
  const std::string tip = run("git rev-parse HEAD");
  replace("git_rebase_next", [](git_rebase_operation** operation, git_rebase* rebase) -> int {
    static git_rebase_operation made{};
    made.type = static_cast<git_rebase_operation_t>(given);
    const int rc = given < 3 ? git_rebase_next(operation, rebase) : ++calls % 3 ? 0 : GIT_ITEROVER;
    if (given >= 3) *operation = &made;
    if (rc == 0) (*operation)->type = made.type;
    return rc;
  });
  for (given = 0; given < 6; ++given) {
    run("git reset -q --hard " + tip);
    tell({"rebase", path_, tip, onto, "Me", "me@example.org"});
    told << given << ": " << run("git log --format=%s | paste -sd' '") << "\n";
  }
}

// What is in the way is a file that one commit of the branch makes and a later one removes again.
// Each attempt asks once more than it has operations. HEAD goes back to where it was.
TEST_F(Operations, GiveARebaseUpAfterAHundredRepeats) {
  const std::string base = run("echo >file; commit base; git branch other; git rev-parse HEAD");
  run("echo >passing; commit one; git rm --quiet passing; echo >b; commit two");
  const std::string tip =
      run("git rev-parse HEAD; git switch -q other; echo o >file; commit other");
  replace("git_rebase_next", [](git_rebase_operation** operation, git_rebase* rebase) {
    ++calls;
    return git_rebase_next(operation, rebase) == 0 ? 0 : -1;  // never the end
  });
  for (const std::string place : {"main", "other", "--detach other"}) {
    run("git switch --quiet " + place + "; echo mine >passing");
    calls = 0;
    tell({"rebase", path_, tip, base, "Me", "me@example.org"});
    told << calls
         << run(" git status --short --branch; git log -1 --format=%s; cat passing; rm passing")
         << "\n";
  }
}

int file_codes[3];  // what opening, writing and closing answer

TEST_F(Operations, HeedTheCodesOfTheFileService) {
  const auto provide = [this](OperationNumber number, auto lambda) {
    const auto* slot = &host_.control_block()->vectors[number.vector][number.slot];
    *const_cast<HostOperation*>(slot) = reinterpret_cast<HostOperation>(+lambda);
  };
  provide(operation_number::xxropen, [](const char*, const FileAttributes* as, HostFile** file) {
    static HostFile opened;
    opened.write = [](HostFile*, const char*, std::size_t length) {
      told << " write " << length;
      return file_codes[1];
    };
    *file = &opened;
    told << "open " << as->direction << " " << as->organisation << " " << as->record_length;
    return file_codes[0];
  });
  provide(operation_number::xxclose, [] {
    told << " close ";
    return file_codes[2];
  });
  const std::string id = run("echo >a; commit x; git rev-parse HEAD");
  tell({"diff_commits", path_, "", id});
  for (int& step : file_codes) {
    for (const int code : {0x801, 0x7FC00801, 0x802, 5, -5, INT_MIN + 0x801, 0}) {
      step = code;
      tell({"write_diff_to_file", "#1", path_, "", id, "/x"});
    }
  }
}

}  // namespace
}  // namespace uwugit::test
