// The forms of a diff that git has: the patch itself, and the lines that it adds and removes.
#include <algorithm>

#include "format/writer.h"
#include "uwugithost/repository.h"

namespace uwugit::runner {
namespace {

struct FileColumns {
  explicit FileColumns(const host::RowSet& files)
      : path(place(files, "path")),
        additions(place(files, "additions")),
        deletions(place(files, "deletions")),
        cut(place(files, "cut")),
        content(place(files, "content")) {}

  static std::size_t place(const host::RowSet& files, std::string_view name) {
    return static_cast<std::size_t>(files.find(name));
  }

  std::size_t path, additions, deletions, cut, content;
};

class DiffWriter : public RowWriter {
 public:
  DiffWriter(const host::RowSet& files, std::FILE* file) : columns_(files), file_(file) {}

 protected:
  void write(std::string_view text) { std::fwrite(text.data(), 1, text.size(), file_); }

  // A number or a whole patch that is not all there would be taken for one that is.
  void refuse_cut(host::RowReader& reader) const {
    if (reader.cell(columns_.cut).number == 0) return;
    throw host::RepositoryError("the diff of '" + std::string(reader.cell(columns_.path).text) +
                                "' is not whole: it is longer than 5,000,000 bytes, or has a NUL");
  }

  FileColumns columns_;

 private:
  std::FILE* file_;
};

class PatchWriter : public DiffWriter {
 public:
  using DiffWriter::DiffWriter;
  void row(host::RowReader& reader) override {
    refuse_cut(reader);
    write(reader.cell(columns_.content).text);
  }
};

std::string count_text(const host::Cell& cell) {
  return cell.is_null ? "-" : std::to_string(cell.number);
}

class NumstatWriter : public DiffWriter {
 public:
  using DiffWriter::DiffWriter;
  void row(host::RowReader& reader) override {
    refuse_cut(reader);
    write(count_text(reader.cell(columns_.additions)) + "\t" +
          count_text(reader.cell(columns_.deletions)) + "\t" +
          std::string(reader.cell(columns_.path).text) + "\n");
  }
};

// "path | 12 ++++----", as wide as 80 columns, and a sum.
class StatWriter : public DiffWriter {
 public:
  using DiffWriter::DiffWriter;

  void row(host::RowReader& reader) override {
    refuse_cut(reader);
    File file;
    append_utf8(file.path, reader.cell(columns_.path).text);
    const host::Cell additions = reader.cell(columns_.additions);
    file.is_binary = additions.is_null;
    file.additions = additions.number;
    file.deletions = reader.cell(columns_.deletions).number;
    files_.push_back(std::move(file));
  }

  void end() override {
    std::size_t width = 0;
    std::int64_t most = 1, additions = 0, deletions = 0;
    for (const File& file : files_) {
      width = std::max(width, display_width(file.path));
      most = std::max(most, file.additions + file.deletions);
      additions += file.additions;
      deletions += file.deletions;
    }
    const std::size_t digits = std::to_string(most).size();
    for (const File& file : files_) write(line(file, width, most, digits));
    write(" " + std::to_string(files_.size()) + " files changed, " + std::to_string(additions) +
          " insertions(+), " + std::to_string(deletions) + " deletions(-)\n");
  }

 private:
  struct File {
    std::string path;
    std::int64_t additions = 0;
    std::int64_t deletions = 0;
    bool is_binary = false;
  };
  static constexpr std::int64_t kSigns = 40;

  static std::string line(const File& file, std::size_t width, std::int64_t most,
                          std::size_t digits) {
    std::string text = " " + file.path;
    text.append(width - display_width(file.path), ' ');
    text += " | ";
    if (file.is_binary) return text + "binary\n";
    const std::string count = std::to_string(file.additions + file.deletions);
    text.append(digits - std::min(digits, count.size()), ' ');
    text += count;
    if (file.additions + file.deletions > 0) text += ' ';
    const auto signs = [most](std::int64_t lines) {
      const std::int64_t scaled = most <= kSigns ? lines : (lines * kSigns + most - 1) / most;
      return static_cast<std::size_t>(scaled);
    };
    text.append(signs(file.additions), '+');
    text.append(signs(file.deletions), '-');
    return text + "\n";
  }

  std::vector<File> files_;
};

}  // namespace

std::unique_ptr<RowWriter> make_diff_writer(Format format, const host::RowSet& files,
                                            std::FILE* file) {
  if (format == Format::kPatch) return std::make_unique<PatchWriter>(files, file);
  if (format == Format::kNumstat) return std::make_unique<NumstatWriter>(files, file);
  return std::make_unique<StatWriter>(files, file);
}

}  // namespace uwugit::runner
