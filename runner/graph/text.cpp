// The graph as text, a line for each commit. Two columns belong to a lane: one for what stands in
// it, one for what goes sideways to the next lane.
#include <algorithm>

#include "format/writer.h"
#include "graph/draw.h"

namespace uwugit::runner {
namespace {

struct Glyphs {
  const char* marks[4];  // in the order of CommitMark
  const char* pass;      // a lane that goes by, also above what goes sideways
  const char* across;
  const char* from_left;  // ends of edges from children: the left end, the right end, between them
  const char* from_right;
  const char* from_middle;
  const char* to_left;  // beginnings of edges to parents
  const char* to_right;
  const char* to_middle;
  const char* join_left;  // joined lanes
  const char* join_right;
  const char* join_middle;
  const char* cut;
};
constexpr Glyphs kUnicode = {
    {"○", "●", "◉", "◇"}, "│", "─", "╰", "╯", "┴", "╭", "╮", "┬", "├", "┤", "┼", "…"};
constexpr Glyphs kAscii = {
    {"o", "*", "@", "$"}, "|", "-", "`", "'", "'", ".", ".", ".", "+", "+", "+", "~"};

constexpr const char* kLaneColours[] = {"36", "35", "32", "34", "33", "31"};
constexpr const char* kLabelColours[] = {"1;36", "1;32", "1;31", "1;33", "1;35", "1"};  // LabelKind
constexpr char kIdColour[] = "33";

const char* lane_colour(std::size_t lane) { return kLaneColours[lane % std::size(kLaneColours)]; }

// A line in colours, cut where it is wider than the style says.
class Line {
 public:
  Line(const TextStyle& style, const char* cut) : style_(style), cut_(cut) {}

  void add(std::string_view text, const char* colour) { add(text, colour, display_width(text)); }

  void add(std::string_view text, const char* colour, std::size_t width) {
    text_ += text;
    width_ += width;
    if (!pieces_.empty() && pieces_.back().colour == colour) {
      pieces_.back().length += text.size();
    } else {
      pieces_.push_back({text.size(), colour});
    }
  }

  void write(std::FILE* file) {
    std::string_view rest = text_;
    if (width_ > style_.width) rest = cut_to_width(rest, style_.width - 1);
    rest = rest.substr(0, rest.find_last_not_of(' ') + 1);
    std::string line;
    for (const Piece& piece : pieces_) {
      const std::string_view text = rest.substr(0, piece.length);
      rest.remove_prefix(text.size());
      const bool is_coloured = style_.is_coloured && piece.colour && !text.empty();
      if (is_coloured) line.append("\033[").append(piece.colour).append("m");
      line += text;
      if (is_coloured) line += "\033[0m";
    }
    if (width_ > style_.width) line += cut_;
    line += '\n';
    std::fwrite(line.data(), 1, line.size(), file);
    text_.clear();
    pieces_.clear();
    width_ = 0;
  }

 private:
  struct Piece {
    std::size_t length;
    const char* colour;
  };

  const TextStyle& style_;
  const char* cut_;
  std::string text_;
  std::size_t width_ = 0;
  std::vector<Piece> pieces_;
};

struct Cell {
  const char* glyph = " ";
  const char* colour = nullptr;
};

class TextPicture {
 public:
  TextPicture(const CommitGraph& graph, const TextStyle& style)
      : graph_(graph), glyphs_(style.is_ascii ? kAscii : kUnicode), line_(style, glyphs_.cut) {
    room_ = std::max<std::size_t>(style.width / 2, 3);
  }

  void draw(std::FILE* file) {
    LaneLayout layout = graph_.layout();
    for (std::size_t row = 0; row < graph_.size() && !std::ferror(file); ++row) {
      const LaneRow& lanes = graph_.add_to(&layout, row);
      fill_cells(lanes, glyphs_.marks[static_cast<std::size_t>(graph_.mark(row))]);
      cut_cells(lanes.lane);
      for (const Cell& cell : cells_) line_.add(cell.glyph, cell.colour, 1);
      line_.add(" ", nullptr);
      add_words(row);
      line_.write(file);
    }
  }

 private:
  void fill_cells(const LaneRow& row, const char* mark) {
    cells_.assign(2 * row.above.size(), Cell{});
    for (std::size_t lane = 0; lane < row.above.size(); ++lane) {
      const bool is_passing = row.above[lane] != kNoCommit && row.above[lane] == row.below[lane];
      if (is_passing) cells_[2 * lane] = {glyphs_.pass, lane_colour(lane)};
    }
    std::size_t left = row.lane, right = row.lane;
    for (const auto* ends : {&row.from, &row.to}) {
      for (const std::size_t lane : *ends) {
        left = std::min(left, lane);
        right = std::max(right, lane);
      }
    }
    for (const std::size_t lane : row.from) {
      put(lane,
          pick(lane, left, right, glyphs_.from_left, glyphs_.from_right, glyphs_.from_middle));
    }
    for (const std::size_t lane : row.to) {
      const bool is_joined = row.above[lane] != kNoCommit;
      put(lane,
          is_joined
              ? pick(lane, left, right, glyphs_.join_left, glyphs_.join_right, glyphs_.join_middle)
              : pick(lane, left, right, glyphs_.to_left, glyphs_.to_right, glyphs_.to_middle));
    }
    put(row.lane, mark);
    fill_across(row, left, right);
    while (!cells_.empty() && cells_.back().glyph == Cell{}.glyph) cells_.pop_back();
  }

  void put(std::size_t lane, const char* glyph) { cells_[2 * lane] = {glyph, lane_colour(lane)}; }

  static const char* pick(std::size_t lane, std::size_t left, std::size_t right,
                          const char* at_left, const char* at_right, const char* between) {
    return lane == left ? at_left : lane == right ? at_right : between;
  }

  // What goes sideways has the colour of the lane that it goes to, seen from the commit.
  void fill_across(const LaneRow& row, std::size_t left, std::size_t right) {
    const char* colour = lane_colour(left);
    const auto cross = [&](std::size_t place) {
      if (cells_[place].glyph == Cell{}.glyph) cells_[place] = {glyphs_.across, colour};
      const bool is_end =
          cells_[place].glyph != glyphs_.across && cells_[place].glyph != glyphs_.pass;
      if (is_end) colour = cells_[place].colour;
    };
    for (std::size_t place = 2 * left + 1; place < 2 * row.lane; ++place) cross(place);
    colour = lane_colour(right);
    for (std::size_t place = 2 * right; place-- > 2 * row.lane + 1;) cross(place);
  }

  // Of too many lanes those on the left are shown, and the commit.
  void cut_cells(std::size_t lane) {
    if (cells_.size() <= room_) return;
    const Cell commit = cells_[2 * lane];
    cells_.resize(room_);
    cells_[room_ - 1] = {glyphs_.cut, nullptr};
    if (2 * lane < room_ - 1) return;
    cells_[room_ - 2] = {glyphs_.cut, nullptr};
    cells_[room_ - 1] = commit;
  }

  void add_words(std::size_t row) {
    line_.add(graph_.short_id(row), kIdColour);
    line_.add(" ", nullptr);
    const auto labels = graph_.labels(row);
    for (std::size_t i = 0; i < labels.size(); ++i) {
      line_.add(i == 0 ? "(" : ", ", kIdColour);
      std::string text;
      append_one_line(text, labels[i].text);
      line_.add(text, kLabelColours[static_cast<std::size_t>(labels[i].kind)]);
    }
    if (!labels.empty()) line_.add(")", kIdColour);
    if (!labels.empty()) line_.add(" ", nullptr);
    std::string text;
    append_one_line(text, graph_.summary(row));
    line_.add(text, nullptr);
  }

  const CommitGraph& graph_;
  const Glyphs& glyphs_;
  Line line_;
  std::size_t room_;  // columns for the graph
  std::vector<Cell> cells_;
};

}  // namespace

void draw_text(const CommitGraph& graph, const TextStyle& style, std::FILE* file) {
  TextPicture(graph, style).draw(file);
}

}  // namespace uwugit::runner
