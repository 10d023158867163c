// The graph as a picture. An edge is one path: sideways in the row of the child, straight down its
// lane, sideways in the row of the parent. Lines come before commits, so that these lie above them.
#include <algorithm>
#include <string>

#include "format/writer.h"
#include "graph/draw.h"

namespace uwugit::runner {
namespace {

constexpr int kLaneWidth = 16;
constexpr int kRowHeight = 24;
constexpr int kRadius = 8;  // of the corners of lines
constexpr int kMargin = 12;
constexpr int kBaseline = 4;               // of texts, below the middle of the row
constexpr double kCharacterWidth = 7.9;    // at most, of the fonts that may be found
constexpr std::size_t kLongestText = 120;  // columns of a subject
constexpr std::size_t kLaneColours = 6;

constexpr char kStyle[] =
    "<style>\n"
    "text{font:13px ui-monospace,'DejaVu Sans Mono',Menlo,Consolas,monospace;fill:#1f2328;"
    "white-space:pre}\n"
    "rect{fill:#fff}path{fill:none;stroke-width:2}circle,polygon{stroke-width:2}\n"
    ".c0{stroke:#0b7285}.c1{stroke:#9c36b5}.c2{stroke:#2b8a3e}.c3{stroke:#1864ab}"
    ".c4{stroke:#b26a00}.c5{stroke:#c92a2a}\n"
    ".c0.on{fill:#0b7285}.c1.on{fill:#9c36b5}.c2.on{fill:#2b8a3e}.c3.on{fill:#1864ab}"
    ".c4.on{fill:#b26a00}.c5.on{fill:#c92a2a}.off{fill:#fff}\n"
    ".id{fill:#6e7781}.head{fill:#0b7285;font-weight:bold}.branch{fill:#2b8a3e;font-weight:bold}"
    ".remote{fill:#c92a2a}.tag{fill:#b26a00}.stash{fill:#9c36b5}\n"
    "@media(prefers-color-scheme:dark){text{fill:#e6edf3}rect,.off{fill:#0d1117}.id{fill:#8b949e}\n"
    ".c0{stroke:#3bc9db}.c1{stroke:#da77f2}.c2{stroke:#69db7c}.c3{stroke:#74c0fc}"
    ".c4{stroke:#ffc078}.c5{stroke:#ff8787}\n"
    ".c0.on{fill:#3bc9db}.c1.on{fill:#da77f2}.c2.on{fill:#69db7c}.c3.on{fill:#74c0fc}"
    ".c4.on{fill:#ffc078}.c5.on{fill:#ff8787}\n"
    ".head{fill:#3bc9db}.branch{fill:#69db7c}.remote{fill:#ff8787}.tag{fill:#ffc078}"
    ".stash{fill:#da77f2}}\n"
    "</style>\n";
constexpr const char* kLabelClasses[] = {"head", "branch", "remote", "tag", "stash", "id"};

int x_of(std::size_t lane) { return kMargin + static_cast<int>(lane) * kLaneWidth; }
long long y_of(std::size_t row) { return kMargin + static_cast<long long>(row) * kRowHeight; }

// What XML does not allow in a text is a blank or U+FFFD.
std::string escaped(std::string_view text) {
  std::string visible, to;
  append_one_line(visible, text);
  for (std::size_t at = 0; at < visible.size(); ++at) {
    const std::string_view rest = std::string_view(visible).substr(at);
    if (rest.starts_with("\xEF\xBF\xBE") || rest.starts_with("\xEF\xBF\xBF")) {
      to += "\xEF\xBF\xBD";
      at += 2;
    } else if (const std::size_t which = std::string_view("&<>\"").find(visible[at]);
               which != std::string_view::npos) {
      constexpr const char* kEscapes[] = {"&amp;", "&lt;", "&gt;", "&quot;"};
      to += kEscapes[which];
    } else {
      to += visible[at];
    }
  }
  return to;
}

std::string shortened(std::string_view summary) {
  std::string text;
  append_one_line(text, summary);
  if (display_width(text) <= kLongestText) return text;
  return std::string(cut_to_width(text, kLongestText - 1)) + "…";
}

class SvgPicture {
 public:
  SvgPicture(const CommitGraph& graph, std::FILE* file) : graph_(graph), file_(file) {}

  void draw() {
    double width = 0;
    for_each_row([&](std::size_t row, const LaneRow& lanes) {
      width = std::max(width, x_of(lanes.above.size()) + kCharacterWidth * columns_of(row));
    });
    const long long height = y_of(graph_.size());
    std::fprintf(file_,
                 "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%.0f\" height=\"%lld\" "
                 "viewBox=\"0 0 %.0f %lld\">\n%s<rect width=\"100%%\" height=\"100%%\"/>\n",
                 width + kMargin, height, width + kMargin, height, kStyle);
    draw_lines();
    for_each_row([this](std::size_t row, const LaneRow& lanes) {
      draw_commit(row, lanes.lane);
      draw_words(row, lanes.above.size());
    });
    std::fputs("</svg>\n", file_);
  }

 private:
  template <class Do>
  void for_each_row(Do do_row) {
    LaneLayout layout = graph_.layout();
    for (std::size_t row = 0; row < graph_.size() && !std::ferror(file_); ++row) {
      do_row(row, graph_.add_to(&layout, row));
    }
  }

  // The text of a line is kept until its end is reached, one for each lane.
  void draw_lines() {
    std::vector<std::string> begun;
    for_each_row([&](std::size_t row, const LaneRow& lanes) {
      begun.resize(std::max(begun.size(), lanes.above.size()));
      for (const std::size_t lane : lanes.from) {
        end_line(lane, begun[lane] + down_to_commit(lane, lanes.lane, row));
      }
      for (const std::size_t lane : lanes.to) {
        const std::string beginning = from_commit(lane, lanes.lane, row);
        if (lanes.above[lane] == kNoCommit) {
          begun[lane] = beginning;
        } else {
          end_line(lane, beginning + "V" + std::to_string(y_of(row) + kRowHeight / 2));
        }
      }
      const bool goes_on = lanes.below[lanes.lane] != kNoCommit;
      if (goes_on) begun[lanes.lane] = point('M', x_of(lanes.lane), y_of(row));
      if (row + 1 == graph_.size()) end_open_lines(lanes, begun);
    });
  }

  // Edges to parents that are not shown.
  void end_open_lines(const LaneRow& lanes, const std::vector<std::string>& begun) {
    for (std::size_t lane = 0; lane < lanes.below.size(); ++lane) {
      if (lanes.below[lane] == kNoCommit) continue;
      end_line(lane, begun[lane] + "V" + std::to_string(y_of(graph_.size())));
    }
  }

  void end_line(std::size_t lane, const std::string& path) {
    std::fprintf(file_, "<path class=\"c%zu\" d=\"%s\"/>\n", lane % kLaneColours, path.c_str());
  }

  static std::string point(char command, int x, long long y) {
    return command + std::to_string(x) + " " + std::to_string(y);
  }

  static std::string from_commit(std::size_t lane, std::size_t commit, std::size_t row) {
    const int x = x_of(lane), side = lane > commit ? -kRadius : kRadius;
    const long long y = y_of(row);
    return point('M', x_of(commit), y) + "H" + std::to_string(x + side) + point('Q', x, y) + " " +
           std::to_string(x) + " " + std::to_string(y + kRadius);
  }

  static std::string down_to_commit(std::size_t lane, std::size_t commit, std::size_t row) {
    const int x = x_of(lane), side = lane > commit ? -kRadius : kRadius;
    const long long y = y_of(row);
    if (lane == commit) return "V" + std::to_string(y);
    return "V" + std::to_string(y - kRadius) + point('Q', x, y) + " " + std::to_string(x + side) +
           " " + std::to_string(y) + "H" + std::to_string(x_of(commit));
  }

  void draw_commit(std::size_t row, std::size_t lane) {
    const CommitMark mark = graph_.mark(row);
    const int x = x_of(lane);
    const long long y = y_of(row);
    if (mark == CommitMark::kHead) {
      std::fprintf(file_, "<circle class=\"c%zu off\" cx=\"%d\" cy=\"%lld\" r=\"7\"/>\n",
                   lane % kLaneColours, x, y);
    }
    const bool is_filled = mark == CommitMark::kHead || mark == CommitMark::kOnBranch;
    const char* filled = is_filled ? "on" : "off";
    if (mark == CommitMark::kStash) {
      std::fprintf(file_, "<polygon class=\"c%zu off\" points=\"%d,%lld %d,%lld %d,%lld %d,%lld\">",
                   lane % kLaneColours, x - 5, y, x, y - 5, x + 5, y, x, y + 5);
    } else {
      std::fprintf(file_, "<circle class=\"c%zu %s\" cx=\"%d\" cy=\"%lld\" r=\"%d\">",
                   lane % kLaneColours, filled, x, y, mark == CommitMark::kHead ? 3 : 4);
    }
    std::fprintf(file_, "<title>%s</title></%s>\n", graph_.id(row).c_str(),
                 mark == CommitMark::kStash ? "polygon" : "circle");
  }

  void draw_words(std::size_t row, std::size_t lanes) {
    std::fprintf(file_, "<text x=\"%d\" y=\"%lld\"><tspan class=\"id\">%s</tspan> ", x_of(lanes),
                 y_of(row) + kBaseline, graph_.short_id(row).c_str());
    for (const Label& label : graph_.labels(row)) {
      std::fprintf(file_, "<tspan class=\"%s\">[%s]</tspan> ",
                   kLabelClasses[static_cast<std::size_t>(label.kind)],
                   escaped(label.text).c_str());
    }
    std::fprintf(file_, "%s</text>\n", escaped(shortened(graph_.summary(row))).c_str());
  }

  double columns_of(std::size_t row) const {
    std::size_t columns = graph_.short_id(row).size() + 1;
    for (const Label& label : graph_.labels(row)) columns += display_width(label.text) + 3;
    return static_cast<double>(columns + display_width(shortened(graph_.summary(row))));
  }

  const CommitGraph& graph_;
  std::FILE* file_;
};

}  // namespace

void draw_svg(const CommitGraph& graph, std::FILE* file) { SvgPicture(graph, file).draw(); }

}  // namespace uwugit::runner
