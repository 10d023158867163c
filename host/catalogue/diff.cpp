#include "groups.h"
#include "rows.h"

namespace uwugit::host {
namespace {

using enum Kind;

constexpr Parameter kNumberOfFile = {"number", kNumber, "number of the file, counted from 1"};
constexpr Parameter kFirstCommit = id_parameter(
    "first",
    "id of the old commit, all 40 digits; a text of any other length stands for \"nothing\"");
constexpr Parameter kSecondCommit = id_parameter("second", "id of the new commit, all 40 digits");
constexpr Parameter kFirstOfDiff =
    id_parameter("first", "the first commit, as it was for the diff");
constexpr Parameter kSecondOfDiff =
    id_parameter("second", "the second commit, as it was for the diff");

constexpr Parameter kDiffParameters[] = {kRepository, kFirstCommit, kSecondCommit};
constexpr ResultRow kDiffResults[] = {
    unless_logged(success(0, "nothing differs, or the diff failed")),
    unless_logged(success_with_count("the number of files")),
};

constexpr Parameter kDiffFileParameters[] = {
    kRepository,
    {"file", kText, "path of the file, relative to the working tree"},
    {.name = "records",
     .kind = kOutput,
     .meaning = "the file's records, as DIFF_CONTENT of get_diff_attribute",
     .capacity = 5'000'000},  // all that a file can have: a second try would write the file again
    {"with_index", kNumber,
     "1 compares HEAD with the index; 0, as without this argument, with the working tree",
     kOptional},
    {"external_file", kText, "a file to which the records are written as well", kOptional},
};
constexpr ResultRow kDiffFileResults[] = {
    unless_logged(
        success(0,
                "the variable was filled, and the external file written; an error in the log tells "
                "when libgit2 failed midway, and the records are those until then")),
    failure(-1, "something failed, or the file does not differ"),
};

constexpr std::string_view kDiffAttributes[] = {"FILE", "DIFF_CONTENT", "DIFF_TYPE"};
constexpr Parameter kDiffAttributeParameters[] = {
    kNumberOfFile,
    kRepository,
    kFirstOfDiff,
    kSecondOfDiff,
    word_parameter("attribute", kDiffAttributes),
    {"value", kOutput,
     "the path on the new side; the records; \"ADDED\", \"DELETED\", \"MODIFIED\" or blank"},
};
constexpr ResultRow kDiffAttributeResults[] = {
    failure_returned(1, "there is no such diff"),
    success_unchanged("the variable was filled; it is blank when there is no such attribute, and "
                      "was left alone when there is no such file"),
};

constexpr Parameter kWriteDiffParameters[] = {
    kNumberOfFile,
    kRepository,
    kFirstOfDiff,
    kSecondOfDiff,
    {"external_file", kText, "the file to write; one that exists is overwritten"}};
constexpr ResultRow kWriteDiffResults[] = {
    success(0, "the file was written"),
    failure(-1, "there is no such diff, or the file could not be written"),
    failure_unchanged("there is no such file in the diff; nothing was written"),
};

constexpr Parameter kFreeDiffParameters[] = {kRepository, kFirstOfDiff, kSecondOfDiff};
constexpr ResultRow kFreeDiffResults[] = {
    success(0, "the diff was discarded, or there was none"),
    failure(1, "its memory could not be released"),
};

constexpr Function kFunctions[] = {
    {
        .name = "diff_commits",
        .summary = "Lists the files that differ between two commits.",
        .details =
            "Keeps them for get_diff_attribute and write_diff_to_file, in place of those of an "
            "earlier call with the same arguments. A renamed file counts as one deleted and one "
            "added. A failure answers 0 as well, or the files until then when libgit2 fails "
            "midway: look for its error in the log, and if a 0 comes without one, whether the "
            "repository exists (get_status answers -2 if not). A branch name or an abbreviated id "
            "as the first commit means \"nothing\", so that all files come out as added: give "
            "whole ids. Letter case does not distinguish diffs: of two repositories whose paths "
            "differ only in it, the second diff of the same commits replaces the first; give one "
            "of them another path, for example with \"/.\" at its end.",
        .parameters = kDiffParameters,
        .results = kDiffResults,
        .example = R"(local count = git.diff_commits("/home/me/project", old_id, new_id))",
    },
    {
        .name = "diff_file_in_index",
        .summary = "Compares one file of HEAD with the working tree or the index.",
        .details =
            "A file that HEAD does not have differs only when it is staged and compared with the "
            "index. The diff is not kept, unless the external file cannot be written: then it can "
            "be read with \"INDEX\" and \"WORKDIR\" in place of the commits until the next call. "
            "When libgit2 breaks off, the error is in the log and the records until then are "
            "handed "
            "out with 0, so look into the log where all records count.",
        .parameters = kDiffFileParameters,
        .results = kDiffFileResults,
        .example =
            R"(local code, records = git.diff_file_in_index("/home/me/project", "src/main.c"))",
    },
    {
        .name = "get_diff_attribute",
        .summary = "Reads one attribute of one file of a diff.",
        .details =
            "DIFF_CONTENT is a list of JSON objects with commas between them, one for each line of "
            "the patch: {\"type\":\"addition\", \"value\":\"+...\"}. The types are file_header, "
            "hunk_header, context, addition, deletion, binary, and, for a last line without a line "
            "break, old_file_has_lf_at_end_new_doesnt, old_file_has_no_lf_at_end_new_does and "
            "no_lf_at_end_of_both_files. The lines stand in it as they are, with their line "
            "breaks, quotes and backslashes, so a JSON parser refuses it. Split it where "
            "\"},{\"type\":\" follows a line break, or where one of the three types of a missing "
            "line break follows; a line can hold this text itself, but not behind a line break. It "
            "is cut after 4,999,999 bytes without a sign, and a line at a NUL byte. DIFF_TYPE is "
            "blank for any other kind of change. Two files whose names differ only in trailing "
            "blanks count as one.",
        .parameters = kDiffAttributeParameters,
        .results = kDiffAttributeResults,
        .example =
            R"(local code, path = git.get_diff_attribute(1, "/home/me/project", old_id, new_id, "FILE"))",
    },
    {
        .name = "write_diff_to_file",
        .summary = "Writes the records of one file of a diff to an external file.",
        .details =
            "They are the DIFF_CONTENT of get_diff_attribute, and nothing is written behind them.",
        .parameters = kWriteDiffParameters,
        .results = kWriteDiffResults,
        .example =
            R"(git.write_diff_to_file(1, "/home/me/project", old_id, new_id, "/tmp/first.diff"))",
    },
    {
        .name = "free_diff_objects",
        .summary = "Discards the diff of two commits.",
        .parameters = kFreeDiffParameters,
        .results = kFreeDiffResults,
        .example = R"(git.free_diff_objects("/home/me/project", old_id, new_id))",
    },
};

}  // namespace

std::span<const Function> diff_functions() { return kFunctions; }

}  // namespace uwugit::host
