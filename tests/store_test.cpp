// The store from inside, where no program can see it: how lists are linked, objects whose memory
// cannot be released, and the lines of a diff as libgit2 hands them over.
#include <git2.h>
#include <gtest/gtest.h>

#include <cstring>

#include "module/bootstrap.h"
#include "ops/diff_lines.h"
#include "store/diff_objects.h"
#include "store/log_objects.h"
#include "store/status_objects.h"
#include "support/expected.h"
#include "uwugithost/call.h"

namespace uwugit::test {
namespace {

class Store : public testing::Test {
 protected:
  Store() { mcn_main(host_.control_block(), nullptr); }

  // Calls a function of the rooms and answers its code with all that it logged.
  std::string answer(HostFunction* function, std::initializer_list<const char*> texts) {
    host::Arguments arguments;
    for (const char* text : texts) arguments.text(text);
    log_.clear();
    const double code = host_.call(function, arguments.block()).code;
    return std::to_string(static_cast<int>(code)) + " " + log_.text();
  }

  host::Host host_{{}};
  host::LogCapture log_{host_.log()};
  char repo_[8] = "REPO", a_[2] = "A", b_[2] = "B", c_[2] = "C", d_[2] = "D";  // keys of diffs
};

TEST_F(Store, TakesObjectsOutOfTheirListsAlsoWhenTheirMemoryStays) {
  const auto refuse = [](HostPool* pool) { pool->destroy = [](HostPool*) { return -1; }; };
  RepoLog* log = insertRepoLogAtTail(host_.pools().create("last"), "last  ");
  refuse(insertRepoLogAtHead(host_.pools().create("first"), "first")->pool);
  DiffObject* diff = insertDiffObjectAtTail(repo_, a_, c_);
  refuse(insertDiffObjectAtHead(repo_, a_, b_)->pool);
  refuse(insertRepoStatusAtTail("repo")->pool);
  EXPECT_TRUE(log->prev == headLogObject && diff->prev == headDiffObject);
  EXPECT_EQ(answer(free_commit_objects, {"first"}),
            "1 ERROR: An error occurred while trying to free commit objects\n");
  EXPECT_EQ(answer(free_diff_objects, {"repo", "a", "b"}),
            "1 ERROR: An error occurred while trying to free diff object of A commit and B "
            "commit\n");
  EXPECT_EQ(answer(free_status_objects, {"repo"}), "-2 ");
  EXPECT_TRUE(headLogObject == log && headDiffObject == diff && !diff->prev && !headStatus);
  EXPECT_EQ(free_repo_log("last") + free_diffObject(repo_, a_, c_), 0);
  EXPECT_TRUE(!headLogObject && !headDiffObject);
}

TEST_F(Store, ReadsAStatusAsItsListIsNow) {
  workingRepoStatus = insertRepoStatusAtTail("repo");
  for (int number = 0; auto* insert : {insertGitStatusEntryAtHead, insertGitStatusEntryAtTail,
                                       insertGitStatusEntryAtHead}) {
    insert("path", "new", kStaged);
    EXPECT_TRUE(status_entry(workingRepoStatus, ++number));
  }
  EXPECT_EQ(free_repo_status("repo"), 0);
}

// A file put at the head is linked in front of the first and does not become it, and a list begun
// that way has no last file.
TEST_F(Store, KeepsTheHeadOfADiffWhereItIs) {
  DiffObject* diff = workingDiffObject = insertDiffObjectAtTail(repo_, a_, b_);
  MeasuredDiffFile files[4] = {};
  for (int i = 0; char* name : {a_, b_, c_, d_}) files[i++].name = name;
  const auto numbered = [diff] {
    std::string names;
    for (int i = 1; const DiffFileObject* file = diff_file(diff, i); ++i) names += file->name;
    return names;
  };
  insertDiffFileObjectAtHead(&files[0]);
  EXPECT_EQ(numbered(), "A");
  insertDiffFileObjectAtTail(&files[1]);
  EXPECT_EQ(numbered(), "AB");
  insertDiffFileObjectAtTail(&files[2]);
  insertDiffFileObjectAtHead(&files[3]);
  EXPECT_EQ(numbered(), "ABC");
  EXPECT_TRUE(diff->firstFile == &files[0] && !diff->lastFile && files[2].prev == &files[1]);
  EXPECT_TRUE(files[0].prev == &files[3] && files[3].next == &files[0] && !files[3].prev);
  files[1].name = nullptr;
  EXPECT_EQ(findDiffFileObject("C"), nullptr) << "a file without a name ends the search";
  files[1].name = b_;
  EXPECT_TRUE(!findDiffFileObject("D") && findDiffFileObject("C  ") == &files[2]);

  diff->firstFile = nullptr;
  for (int i : {3, 2}) insertDiffFileObjectAtTail(&files[i]);
  EXPECT_EQ(numbered(), "DC");
  EXPECT_TRUE(diff->lastFile == &files[2] && files[2].prev == &files[3]);
  EXPECT_EQ(free_diffObject(repo_, a_, b_), 0);
}

// Lines go to the working diff, whoever hands them over. What libgit2 gives is its own again when
// the call returns: the path comes in a buffer that the next line reuses.
class DiffLines : public Store {
 protected:
  DiffLines() { workingDiffObject = insertDiffObjectAtTail(repo_, a_, b_); }

  void TearDown() override {
    EXPECT_EQ(free_diffObject(repo_, a_, b_), 0);
    const std::string name = testing::UnitTest::GetInstance()->current_test_info()->name();
    expect_text(UWUGIT_SOURCE_FOLDER "/tests/expected/" + name + ".txt", told_, Sandbox());
  }

  void hand_over(const char* path, int origin, std::string text, int status = 3) {
    std::strcpy(path_, path);
    git_diff_delta delta{};
    delta.status = static_cast<git_delta_t>(status);
    delta.new_file.path = path_;
    git_diff_line line{};
    line.origin = static_cast<char>(origin);
    line.content = text.data();
    line.content_len = text.size();
    EXPECT_EQ(diff_line_cb(&delta, nullptr, &line, nullptr), 0);
    std::strcpy(path_, "reused");
  }

  // Tells all files of the working diff, but for those of a content that says nothing.
  void tell_files(const std::string& nothing) {
    told_ += std::to_string(workingDiffObject->extra) + " files\n";
    for (int i = 1; const DiffFileObject* file = diff_file(workingDiffObject, i); ++i) {
      if (file->content == nothing) continue;
      told_ += std::string(file->name) + " " + (file->changeType ? file->changeType : "(none)") +
               " " + file->content + "\n";
    }
  }

  std::string told_;
  char path_[32];
};

TEST_F(DiffLines, BeginByTheirOrigin) {
  for (int origin = 0; origin < 256; ++origin) {
    for (int i = 0; i < 2; ++i) hand_over(std::to_string(origin).c_str(), origin, "a\\\"\n");
  }
  tell_files("a\\\"\n\"}a\\\"\n\"}");
}

TEST_F(DiffLines, JoinTheirFileInWhicheverOrderTheyCome) {
  for (const char* path : {"b", "a", "b ", "b", "c", "a", "B", "b"}) hand_over(path, '?', path);
  hand_over("a", '+', std::string("to\0hidden", 9), GIT_DELTA_ADDED);
  for (int status = 0; status <= GIT_DELTA_CONFLICTED; ++status) {
    hand_over(("status " + std::to_string(status)).c_str(), '-', "", status);
  }
  tell_files("nothing");
}

TEST_F(DiffLines, GoToTheWorkingDiff) {
  DiffObject* first = workingDiffObject;
  hand_over("a", ' ', "1");
  workingDiffObject = insertDiffObjectAtTail(repo_, a_, c_);
  hand_over("a", ' ', "other");
  tell_files("");
  EXPECT_EQ(free_diffObject(repo_, a_, c_), 0);
  workingDiffObject = first;
  hand_over("a", ' ', "2");
  tell_files("");
}

}  // namespace
}  // namespace uwugit::test
