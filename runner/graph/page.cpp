#include "graph/page.h"

#include <algorithm>
#include <filesystem>
#include <string>

#include "format/writer.h"

namespace uwugit::runner {
namespace {

// What is longer is cut, so that one commit does not make the page too heavy for a browser.
constexpr std::size_t kLongestPatch = 100'000;               // of a file
constexpr std::size_t kLongestPatches = 10 * kLongestPatch;  // of a commit

// JSON in pieces. It stands inside a page, where a "<" could end it.
class PageData {
 public:
  explicit PageData(std::FILE* file) : file_(file) {}

  void plain(std::string_view text) { line_ += text; }
  void number(std::int64_t number) { line_ += std::to_string(number) + ","; }
  void text(std::string_view text) {
    append_json_text(line_, text);
    line_ += ',';
  }
  // In the place of the comma after the last one.
  void end(std::string_view end) {
    if (line_.ends_with(',')) line_.pop_back();
    line_ += end;
  }
  void write() {
    std::string_view rest = line_;
    for (std::size_t at; (at = rest.find('<')) != std::string_view::npos;) {
      std::fwrite(rest.data(), 1, at, file_);
      std::fputs("\\u003c", file_);
      rest.remove_prefix(at + 1);
    }
    std::fwrite(rest.data(), 1, rest.size(), file_);
    line_.clear();
  }

 private:
  std::FILE* file_;
  std::string line_;
};

std::size_t column_of(const host::RowSet& set, std::string_view name) {
  return static_cast<std::size_t>(set.find(name));
}

class PageWriter {
 public:
  PageWriter(const CommitGraph& graph, const host::Repository& repository, std::FILE* file)
      : graph_(graph), repository_(repository), file_(file), data_(file) {}

  void write(const host::RowQuery& query, std::uint64_t diffs) {
    const std::string_view page = kPageText;
    const std::size_t mark = page.find(kPageMark);
    std::fwrite(page.data(), 1, mark, file_);
    data_.plain("{\"name\":");
    data_.text(std::filesystem::path(repository_.path()).filename().string());
    data_.plain("\"digits\":");
    data_.number(static_cast<std::int64_t>(graph_.short_id_digits()));
    write_rows(query);
    write_labels();
    write_diffs(std::min<std::uint64_t>(diffs, graph_.size()));
    data_.plain("}");
    data_.write();
    const std::string_view rest = page.substr(mark + sizeof kPageMark - 1);
    std::fwrite(rest.data(), 1, rest.size(), file_);
  }

 private:
  void write_rows(const host::RowQuery& query) {
    data_.plain("\n\"rows\":[");
    const host::RowSet& set = *host::find_row_set("commits");
    const auto reader = set.open(repository_, query);
    LaneLayout layout = graph_.layout();
    for (std::size_t row = 0; row < graph_.size() && !std::ferror(file_); ++row) {
      if (!reader->next() || reader->cell(column_of(set, "id")).text != graph_.id(row)) {
        throw host::RepositoryError("the history changed while it was read; try again");
      }
      data_.plain(row == 0 ? "\n[" : ",\n[");
      for (const char* name : {"id", "author", "email"}) {
        data_.text(reader->cell(column_of(set, name)).text);
      }
      data_.number(reader->cell(column_of(set, "time")).number);
      data_.text(reader->cell(column_of(set, "message")).text);
      data_.number(static_cast<std::int64_t>(graph_.mark(row)));
      write_lanes(graph_.add_to(&layout, row));
      write_ids(reader->cell(column_of(set, "parents")).text);
      data_.end("]");
      data_.write();
    }
    data_.plain("],\n");
  }

  void write_lanes(const LaneRow& lanes) {
    const auto commit = lanes.lane;
    data_.number(static_cast<std::int64_t>(commit));
    data_.number(static_cast<std::int64_t>(lanes.above.size()));
    write_list(lanes.above.size(), [&](std::size_t lane) {
      return lanes.above[lane] != kNoCommit && lanes.above[lane] == lanes.below[lane];
    });
    const auto is_in = [](const std::vector<std::size_t>& list, std::size_t lane) {
      return std::find(list.begin(), list.end(), lane) != list.end();
    };
    write_list(lanes.above.size(),
               [&](std::size_t lane) { return lane != commit && is_in(lanes.from, lane); });
    for (const bool is_joined : {false, true}) {
      write_list(lanes.above.size(), [&](std::size_t lane) {
        return is_in(lanes.to, lane) && (lanes.above[lane] != kNoCommit) == is_joined;
      });
    }
    data_.number(lanes.above[commit] != kNoCommit);
    data_.number(lanes.below[commit] != kNoCommit);
  }

  template <class Is>
  void write_list(std::size_t lanes, Is is_in_list) {
    data_.plain("[");
    for (std::size_t lane = 0; lane < std::min(lanes, kMostLanes); ++lane) {
      if (is_in_list(lane)) data_.number(static_cast<std::int64_t>(lane));
    }
    data_.end("],");
  }

  void write_ids(std::string_view ids) {
    data_.plain("[");
    while (!ids.empty()) {
      const std::string_view id = ids.substr(0, ids.find(','));
      ids.remove_prefix(std::min(id.size() + 1, ids.size()));
      data_.text(id);
    }
    data_.end("]");
  }

  void write_labels() {
    data_.plain("\"labels\":{");
    for (std::size_t row = 0; row < graph_.size(); ++row) {
      if (graph_.labels(row).empty()) continue;
      data_.plain("\"" + std::to_string(row) + "\":[");
      for (const Label& label : graph_.labels(row)) {
        data_.plain("[");
        data_.number(static_cast<std::int64_t>(label.kind));
        data_.text(label.text);
        data_.end("],");
      }
      data_.end("],");
    }
    data_.end("},\n");
  }

  void write_diffs(std::uint64_t count) {
    data_.plain("\"diffs\":{");
    for (std::size_t row = 0; row < count && !std::ferror(file_); ++row) {
      data_.plain((row == 0 ? "\"" : ",\n\"") + std::to_string(row) + "\":[");
      write_files(row);
      data_.end("]");
      data_.write();
    }
    data_.plain("}");
  }

  // Against the first parent, as everywhere.
  void write_files(std::size_t row) {
    const host::RowSet& set = *host::find_row_set("files");
    host::RowQuery query;
    query.first = graph_.first_parent_id(row);
    query.second = graph_.id(row);
    std::size_t room = kLongestPatches;
    const auto reader = set.open(repository_, query);
    while (reader->next()) {
      data_.plain("[");
      data_.text(reader->cell(column_of(set, "path")).text);
      data_.text(reader->cell(column_of(set, "type")).text);
      for (const char* name : {"additions", "deletions"}) {
        const host::Cell cell = reader->cell(column_of(set, name));
        if (cell.is_null) data_.plain("null,");
        if (!cell.is_null) data_.number(cell.number);
      }
      bool is_cut = reader->cell(column_of(set, "cut")).number != 0;
      std::string_view content = reader->cell(column_of(set, "content")).text;
      if (content.size() > std::min(room, kLongestPatch)) {
        is_cut = true;
        content = content.substr(0, std::min(room, kLongestPatch));
        content = content.substr(0, content.rfind('\n') + 1);
      }
      room -= content.size();
      data_.number(is_cut);
      data_.text(content);
      data_.end("],");
    }
  }

  static constexpr std::size_t kMostLanes = 41;  // that the page draws

  const CommitGraph& graph_;
  const host::Repository& repository_;
  std::FILE* file_;
  PageData data_;
};

}  // namespace

void write_page(const CommitGraph& graph, const host::Repository& repository,
                const host::RowQuery& query, std::uint64_t diffs, std::FILE* file) {
  PageWriter(graph, repository, file).write(query, diffs);
}

}  // namespace uwugit::runner
