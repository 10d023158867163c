// Diffs of real repositories, checked with git; and what becomes of lines, failures and host codes
// that no repository gives at will.
#include <git2.h>

#include <map>
#include <sstream>

#include "module/bootstrap.h"
#include "store/diff_objects.h"
#include "support/leaks.h"
#include "support/module_test.h"
#include "uwugit/operations.h"

namespace uwugit::test {
namespace {

constexpr char kEmptyTree[] = "4b825dc642cb6eb9a060e54bf8d69288fbee4904";

// The patch that the records tell of, as git prints it.
std::string patch_of(const std::string& content) {
  const std::string between = "\"},{\"type\":\"";
  EXPECT_TRUE(content.starts_with(between.substr(3)) && content.ends_with("\"}")) << content;
  std::string patch;
  for (std::size_t at = between.size() - 3; at < content.size();) {
    const std::size_t end = std::min(content.find(between, at), content.size() - 2);
    const std::string record = content.substr(at, end - at);
    patch += record.starts_with("context") ? " " : "";
    patch += record.substr(record.find("\", \"value\":\"") + 12);
    at = end + between.size();
  }
  return patch.ends_with('\n') ? patch.substr(0, patch.size() - 1) : patch;
}

// What libgit2 is made to report instead of a repository's lines.
struct Line {
  std::string path;
  int status;
  int origin;
  std::string text;
};
std::vector<Line> lines;

int print_lines(git_diff*, git_diff_format_t format, git_diff_line_cb callback, void* payload) {
  EXPECT_EQ(format, GIT_DIFF_FORMAT_PATCH);
  EXPECT_EQ(payload, nullptr);
  for (const Line& it : lines) {
    git_diff_delta delta = {};
    delta.status = static_cast<git_delta_t>(it.status);
    delta.new_file.path = it.path.c_str();
    git_diff_line line = {};
    line.origin = static_cast<char>(it.origin);
    line.content = it.text.c_str();
    line.content_len = it.text.size();
    EXPECT_EQ(callback(&delta, nullptr, &line, payload), 0);
  }
  return 0;
}

class Diff : public ModuleTest {
 protected:
  Diff() { git(repo_, {"config", "core.abbrev", "7"}); }

  std::string attribute(int number, std::string_view name) {
    return output("get_diff_attribute", number, repo_, first_, second_, name);
  }
  std::string answer_of_diff() { return answer("diff_commits", repo_, first_, second_); }
  std::string print(std::vector<Line> reported) {
    lines = std::move(reported);
    replace_function("git_diff_print", reinterpret_cast<void*>(print_lines));
    return answer_of_diff();
  }
  // Two commits that differ in "a" (five records) and "b" (four).
  void commit_two() {
    write_file(repo_ / "a", "one\ntwo\n");
    first_ = commit_all(repo_, "old");
    write_file(repo_ / "a", "one\n2\n");
    write_file(repo_ / "b", "b\nb\n");
    second_ = commit_all(repo_, "new");
  }

  fs::path repo_ = sandbox_.new_repository();
  std::string first_ = commit_all(repo_, "first");
  std::string second_ = first_;
};

TEST_F(Diff, TellsWhatGitTells) {
  std::string many;
  for (int i = 0; i < 40; ++i) many += std::to_string(i) + "\n";
  const struct {
    const char* name;
    std::string before, after;  // empty: there is no such file
    const char* type;           // of a record that the change must have
  } files[] = {
      {"binary", std::string("\0\1", 2), std::string("\0\2", 2), "binary"},
      {"deleted", many, "", "deletion"},
      {"dir/executable", many, many, "file_header"},
      {"gained", "no end", "no end\n", "old_file_has_no_lf_at_end_new_does"},
      {"hunks", many, "first\n" + many + "last\n", "context"},
      {"link", "hunks\n", "hunks\n", "hunk_header"},
      {"lost", "one\nend\n", "one\nend", "old_file_has_lf_at_end_new_doesnt"},
      {"neither", "one\ntwo", "1\ntwo", "no_lf_at_end_of_both_files"},
      {"new", "", "\xff %s%n\n", "addition"},
      {"new-name", "", many, "addition"},
      {"old-name", many, "", "deletion"},
      {"quotes", "{\"a\": \"\\n\"}\n", "{\"b\": \"\\\\t\"}\n\"},{\n", "deletion"},
  };
  for (const auto& file : files) {
    if (!file.before.empty()) write_file(repo_ / file.name, file.before);
  }
  first_ = commit_all(repo_, "old");
  for (const auto& file : files) {
    fs::remove(repo_ / file.name);
    if (!file.after.empty()) write_file(repo_ / file.name, file.after);
  }
  fs::permissions(repo_ / "dir/executable", fs::perms::owner_all);
  fs::remove(repo_ / "link");
  fs::create_symlink("hunks", repo_ / "link");
  second_ = commit_all(repo_, "new");

  const auto compare = [&](const std::string& old_side) {
    std::istringstream names(
        git(repo_, {"diff", "--no-renames", "--name-status", old_side, second_}));
    std::map<std::string, std::string> contents;
    int number = 0;
    const std::string answered = answer_of_diff();
    for (std::string line; std::getline(names, line);) {
      const std::string name = line.substr(2);
      EXPECT_EQ(attribute(++number, "FILE"), name);
      // A file that became a link is reported as deleted, then as new.
      EXPECT_EQ(attribute(number, "diff_type  ")[0], line[0] == 'T' ? 'D' : line[0]);
      contents[name] = attribute(number, "Diff_Content");
      EXPECT_EQ(patch_of(contents[name]),
                git(repo_, {"diff", "--no-renames", old_side, second_, "--", name}));
    }
    EXPECT_EQ(answered, std::to_string(number) + "$");
    return contents;
  };
  const std::map<std::string, std::string> contents = compare(first_);
  for (const auto& [name, before, after, type] : files) {
    EXPECT_NE(contents.at(name).find("{\"type\":\"" + std::string(type) + "\""), std::string::npos);
  }
  for (const std::string& nothing : {std::string(), std::string("main"), first_ + "0"}) {
    first_ = nothing;
    compare(kEmptyTree);
  }
  first_ = second_;
  EXPECT_EQ(answer_of_diff(), "0$");
}

TEST_F(Diff, WritesEachLineAsOneRecord) {
  const std::map<int, std::string> kinds = {
      {' ', R"({"type":"context", "value":")"},
      {'+', R"({"type":"addition", "value":"+)"},
      {'-', R"({"type":"deletion", "value":"-)"},
      {'<', R"({"type":"old_file_has_lf_at_end_new_doesnt", "value":")"},
      {'=', R"({"type":"no_lf_at_end_of_both_files", "value":")"},
      {'>', R"({"type":"old_file_has_no_lf_at_end_new_does", "value":")"},
      {'B', R"({"type":"binary", "value":")"},
      {'F', R"({"type":"file_header", "value":")"},
      {'H', R"({"type":"hunk_header", "value":")"}};
  for (int origin = 0; origin < 256; ++origin) {
    print({{"a", 1, origin, "x\n"}, {"a", 1, origin, "%s\"\\"}});
    const auto kind = kinds.find(origin);
    EXPECT_EQ(attribute(1, "DIFF_CONTENT"),
              kind == kinds.end() ? "x\n\"}%s\"\\\"}"
                                  : kind->second + "x\n\"}," + kind->second + "%s\"\\\"}");
  }
  const std::map<int, std::string> change_types = {{1, "ADDED"}, {2, "DELETED"}, {3, "MODIFIED"}};
  for (int status = 0; status <= GIT_DELTA_CONFLICTED; ++status) {
    print({{"a", status, 'F', ""}});
    const auto type = change_types.find(status);
    EXPECT_EQ(attribute(1, "DIFF_TYPE"), type == change_types.end() ? "" : type->second);
  }
}

// In whatever order the lines come: those of one name, trailing blanks aside, make one file.
TEST_F(Diff, CollectsTheLinesOfAFile) {
  EXPECT_EQ(print({{"b", 1, '?', "1"},
                   {"a", 3, '?', "2"},
                   {"b", 2, '?', "3"},
                   {"c", 2, '?', "4"},
                   {"a ", 1, '?', "5"},
                   {"a", 1, '?', std::string("6\0x", 3)},
                   {"B", 3, '?', "7"},
                   {"c", 2, '?', "8"}}),
            "4$");
  std::string files;
  for (int i = 1; i <= 4; ++i) {
    for (const char* name : {"FILE", "DIFF_TYPE", "DIFF_CONTENT"})
      files += attribute(i, name) + " ";
  }
  EXPECT_EQ(files, R"(b ADDED 1"}3"} a MODIFIED 2"}5"}6"} c DELETED 4"}8"} B MODIFIED 7"} )");
}

TEST_F(Diff, CutsALongContent) {
  constexpr std::size_t kLongest = 4'999'999;
  for (const std::size_t size :
       {kLongest - 1, kLongest, kLongest + 1, kLongest + 2, 2 * kLongest}) {
    const std::string text(size - 2, 'x');
    EXPECT_EQ(print({{"a", 1, '?', text}, {"b", 1, '?', "b"}, {"a", 1, '?', "more"}}), "2$");
    EXPECT_EQ(attribute(1, "DIFF_CONTENT"), (text + "\"}more\"}").substr(0, kLongest));
    EXPECT_EQ(attribute(2, "DIFF_CONTENT"), "b\"}");
  }
}

TEST_F(Diff, ReportsWhatIsNoCommit) {
  commit_two();
  const std::string tree = git(repo_, {"rev-parse", "HEAD^{tree}"});
  const std::string blob = git(repo_, {"rev-parse", "HEAD:b"});
  for (const std::string& id : {std::string(40, 'g'), std::string(40, '1'), tree, blob,
                                second_.substr(0, 7), second_ + "0", std::string()}) {
    if (id.size() == 40) {
      EXPECT_PRED2(starts_with, answer("diff_commits", repo_, id, second_), "0 ERROR: Return code");
    }
    EXPECT_PRED2(starts_with, answer("diff_commits", repo_, first_, id), "0 ERROR: Return code");
    EXPECT_EQ(call("get_diff_attribute", 1, repo_, first_, id, "FILE").result.returned, 1);
  }
  EXPECT_EQ(answer("diff_commits", sandbox_.root(), first_, second_), "0$");
  fs::remove(repo_ / ".git/objects" / blob.substr(0, 2) / blob.substr(2));
  EXPECT_PRED2(starts_with, answer_of_diff(), "1 ERROR: Return code from GIT is (9). object not");
  EXPECT_EQ(attribute(1, "FILE") + attribute(2, "FILE"), "a");
}

TEST_F(Diff, IsFoundByUpperCasedKeys) {
  commit_two();
  EXPECT_EQ(answer_of_diff(), "2$");
  std::string path = repo_.string();
  std::string second = second_;
  for (std::string* text : {&path, &second}) {
    for (char& c : *text) c = static_cast<char>(std::toupper(c));
  }
  EXPECT_EQ(output("get_diff_attribute", 2, path, first_ + " ", second, "FILE"), "b");
  const fs::path other = repo_.parent_path() / "REPO";
  fs::copy(repo_, other, fs::copy_options::recursive);
  for (int i = 0; i < 5; ++i) EXPECT_EQ(answer("diff_commits", other, first_, second_), "2$");
  EXPECT_EQ(host_.pools().counters().pools, 1u) << "replaced, and nothing is left behind";
  EXPECT_EQ(answer("diff_commits", repo_, "", second_), "2$");
  EXPECT_EQ(output("get_diff_attribute", 1, repo_, "", second_, "DIFF_TYPE"), "ADDED");
  EXPECT_EQ(attribute(1, "DIFF_TYPE"), "MODIFIED");

  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(answer("free_diff_objects", path, first_, second_),
              "0 NOTE: Diff objects freed successfully.\n$");
  }
  EXPECT_EQ(answer("get_diff_attribute", 1, repo_, first_, second_, "FILE"),
            "unchanged ERROR: Could not find any diff objects. Run GITFN_DIFF between two commits "
            "prior to obtaining diff objects.\n$");
  EXPECT_EQ(answer("write_diff_to_file", 1, repo_, first_, second_, "/dev/null"),
            "-1 ERROR: Could not find any diff objects. Run GIT_DIFF between two commits prior to "
            "obtaining data from diff objects.\n$");
  call("free_diff_objects", repo_, "", second_);
  EXPECT_EQ(host_.pools().counters().pools, 0u);
}

TEST_F(Diff, FillsTheVariableOnlyForAFileThatThereIs) {
  commit_two();
  EXPECT_EQ(answer_of_diff(), "2$");
  const struct {
    double number;
    const char* name;
    const char* expected;
  } rows[] = {{1.9, "file", "a    "}, {2, "DIFF_TYPE", "ADDED"}, {1, "DIFF_CONTENT", "{\"typ"},
              {1, "FILES", "     "},  {0, "FILE", "\0\0\0\0\0"}, {3, "FILE", "\0\0\0\0\0"}};
  for (const auto& row : rows) {
    host::Arguments arguments;
    arguments.number(row.number).text(repo_.string()).text(first_).text(second_).text(row.name);
    arguments.output(5).string(5).length = 5;
    EXPECT_EQ(host_.call(module_.find("get_diff_attribute"), arguments.block()).returned, 0);
    EXPECT_EQ(arguments.output_text(5), std::string(row.expected, 5)) << row.number << row.name;
  }
}

TEST_F(Diff, OfOneFileComparesHeadWithIndexOrWorkingTree) {
  const fs::path out = sandbox_.root() / "out";
  write_file(repo_ / "file", "head\n");
  commit_all(repo_, "base");
  write_file(repo_ / "file", "index\n");
  write_file(repo_ / "new", "new\n");
  git(repo_, {"add", "--all"});
  write_file(repo_ / "file", std::string(2000, 'w') + "\n");
  write_file(repo_ / "untracked", "x\n");
  int prints = 0;
  host_.modules().set_lookup_hook([&](std::string_view name, void* found) {
    prints += name == "git_diff_print";
    return found;
  });
  EXPECT_EQ(patch_of(output("diff_file_in_index", repo_, "file")),
            git(repo_, {"diff", "HEAD", "--", "file"}));
  EXPECT_EQ(prints, 1) << "a long value does not make the host ask twice";
  for (const char* name : {"file", "new"}) {
    const std::string records =
        output("diff_file_in_index", repo_, name + std::string(" "), 1, out);
    EXPECT_EQ(patch_of(records), git(repo_, {"diff", "--cached", "--", name}));
    EXPECT_EQ(read_file(out), records);
  }
  for (const char* name : {"untracked", "", "nothing"}) {
    EXPECT_EQ(answer("diff_file_in_index", repo_, name, 1),
              "-1 ERROR: Unable to diff file \"" + std::string(name) +
                  "\" because it's not currently in the index or it's a new file.\n$");
  }
  EXPECT_EQ(answer("diff_file_in_index", sandbox_.root(), "file"),
            "-1 ERROR: Unable to open local repository '" + sandbox_.root().string() + "'.\n$");
  EXPECT_PRED2(starts_with, answer("diff_file_in_index", sandbox_.new_repository("unborn"), "file"),
               "-1 ERROR: Return code from GIT is (4). ");
  EXPECT_EQ(host_.pools().counters().pools, 0u) << "nothing is kept";

  EXPECT_EQ(answer("diff_file_in_index", repo_, "file", 0, sandbox_.root() / "no" / "folder"),
            "-1 ERROR: External file: No such file or directory (code -2).\n$");
  EXPECT_EQ(output("get_diff_attribute", 1, repo_, "INDEX", "WORKDIR", "FILE"), "file");
  EXPECT_EQ(answer("diff_file_in_index", repo_, "file"), "0$");
  EXPECT_EQ(host_.pools().counters().pools, 0u) << "the next call replaced and freed it";
}

// A file service that answers the given codes of its four steps and tells what it was asked.
int file_codes[4];
std::string seen;
HostFile faulty_file;

int assign(char* reference, const char* engine, const char* path, std::size_t length,
           std::uint64_t) {
  seen = std::string(reference, 8) + "|" + engine + "|" + std::string(path, length) + "|";
  return file_codes[0];
}
int open(const char*, const FileAttributes* how, HostFile** file) {
  seen += std::to_string(how->direction) + std::to_string(how->organisation) + " ";
  seen += std::to_string(how->record_length) + "|";
  *file = &faulty_file;
  return file_codes[1];
}
int write(HostFile*, const char* data, std::size_t length) {
  seen += std::string(data, length) + "|";
  return file_codes[2];
}
int close(HostFile*) {
  seen += "closed";
  return file_codes[3];
}

TEST_F(Diff, HeedsTheCodesOfTheFileService) {
  commit_two();
  EXPECT_EQ(answer_of_diff(), "2$");
  const auto provide = [&](OperationNumber number, auto* operation) {
    const auto* slot = &host_.control_block()->vectors[number.vector][number.slot];
    *const_cast<HostOperation*>(slot) = reinterpret_cast<HostOperation>(operation);
  };
  provide(operation_number::xxrasgn, assign);
  provide(operation_number::xxropen, open);
  provide(operation_number::xxclose, close);
  faulty_file.write = write;
  const std::string content = attribute(2, "DIFF_CONTENT");
  const std::string all =
      "        |        |/x y|22 " + std::to_string(content.size()) + "|" + content + "|closed";
  // What is seen when a step fails; a failed write still closes the file.
  const std::string until[] = {all.substr(0, 23), all.substr(0, all.find('{')), all, all};
  for (int step = 0; step < 4; ++step) {
    for (const int given : {0, 0x801, 0x40000801, 5, -5}) {
      std::fill_n(file_codes, 4, 0);
      file_codes[step] = given;
      const std::string log = given != 5 && given != -5
                                  ? "$"
                                  : " ERROR: External file: Input/output error (code " +
                                        std::to_string(given) + ").\n$";
      EXPECT_EQ(answer("write_diff_to_file", 2, repo_, first_, second_, "/x y"),
                (given < 0 ? "-1" : "0") + log);
      EXPECT_EQ(seen, given < 0 ? until[step] : all) << step;
    }
  }
  EXPECT_EQ(answer("write_diff_to_file", 3, repo_, first_, second_, "/x"), "unchanged$");
}

// Each libgit2 function that the two diffs look up: missing, then failing.
TEST_F(Diff, ToleratesAnyFunctionThatIsMissingOrFails) {
  commit_two();
  write_file(repo_ / "a", "changed\n");
  const std::string rows[][3] = {{"git_libgit2_init", "0$", "-1$"},
                                 {"git_repository_open", "0$", "-1 ERROR: Unable to open"},
                                 {"git_oid_fromstrp", "0 ERROR: ", "0$"},
                                 {"git_commit_lookup", "0 ERROR: ", "0$"},
                                 {"git_commit_tree", "0 ERROR: ", "-1 ERROR: "},
                                 {"git_diff_tree_to_tree", "0 ERROR: ", "0$"},
                                 {"git_diff_print", "0 ERROR: ", "-1 ERROR: "},
                                 {"git_repository_head", "2$", "-1 ERROR: "},
                                 {"git_reference_peel", "2$", "-1 ERROR: "},
                                 {"git_diff_tree_to_workdir", "2$", "-1 ERROR: "},
                                 {"git_diff_tree_to_index", "2$", "0$"},
                                 {"git_diff_free", "2$", "0$"}};
  for (const auto& [function, commits, file] : rows) {
    const LeaksOnPurpose leaks;
    for (void* const replacement : {static_cast<void*>(nullptr), kFails}) {
      replace_function(function, replacement);
      EXPECT_PRED2(starts_with, answer_of_diff(), commits) << function;
      EXPECT_PRED2(starts_with, answer("diff_file_in_index", repo_, "a"), file) << function;
    }
  }
  replace_function("git_diff_tree_to_index", kFails);
  EXPECT_PRED2(starts_with, answer("diff_file_in_index", repo_, "a", 1), "-1 ERROR: ");
}

// The lists, from inside: what diffs of repositories never show.
TEST(DiffObjects, KeepTheirOrderAndTheRulesOfTheHead) {
  host::Host host{{}};
  mcn_main(host.control_block(), nullptr);
  char a[] = "A", b[] = "B", c[] = "C", lower[] = "a ";
  DiffObject* middle = insertDiffObjectAtTail(a, b, b);
  DiffObject* last = insertDiffObjectAtTail(a, b, c);
  DiffObject* first = insertDiffObjectAtHead(c, b, a);
  EXPECT_TRUE(headDiffObject == first && first->next == middle && middle->next == last);
  EXPECT_TRUE(findDiffObject(lower, b, c) == last && std::string(lower) == "A ");
  workingDiffObject = middle;
  DiffFileObject one{.name = a}, two{.name = b}, three{.name = c}, front{.name = lower};
  insertDiffFileObjectAtHead(&one);
  insertDiffFileObjectAtTail(&two);
  insertDiffFileObjectAtTail(&three);
  insertDiffFileObjectAtHead(&front);
  EXPECT_TRUE(middle->firstFile == &one && one.prev == &front && !middle->lastFile);
  EXPECT_TRUE(diff_file(middle, 3) == &three && findDiffFileObject("C ") == &three);
  two.name = nullptr;
  EXPECT_FALSE(findDiffFileObject("C")) << "a file without a name ends the search";
  first->key2 = nullptr;
  EXPECT_FALSE(findDiffObject(a, b, c)) << "and so does an object without a key";
  first->key2 = b;
  middle->pool->destroy = [](HostPool*) { return -1; };
  EXPECT_TRUE(free_diffObject(a, b, b) == 1 && !workingDiffObject && first->next == last);
  EXPECT_TRUE(free_diffObject(c, b, a) == 0 && headDiffObject == last && !last->prev);
  EXPECT_TRUE(free_diffObject(a, b, c) == 0 && !headDiffObject && free_diffObject(a, b, c) == 0);
}

}  // namespace
}  // namespace uwugit::test
