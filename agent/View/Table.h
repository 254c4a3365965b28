// A table of text, aligned and broken to a width.
//
//   Table table({"SEGMENT", "PREFIXES"}, style);
//   table.row({{"web"}, {"10.0.0.0/8", "10.1.0.0/16"}});
//   table.print(out, "  ");
//
// A cell is a list of items, joined by ", ". Where the columns do not fit, the widest is made
// narrower, down to its longest item, and its cells go on in the next line. Long lists and long
// tables end in the count of what is left out, unless the style says all.
#pragma once

#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

namespace Agent {

struct TextStyle {
  std::size_t width = 80;
  bool all = false;
  bool color = false;
};

class Table {
 public:
  using Cell = std::vector<std::string>;

  Table(std::vector<std::string> headings, const TextStyle& style)
      : headings_(std::move(headings)), style_(style) {}

  void row(std::vector<Cell> cells);
  std::size_t rows() const noexcept { return rows_.size() + leftOut_; }
  bool empty() const noexcept { return rows() == 0; }
  void print(std::ostream& out, std::string_view indent) const;

 private:
  static constexpr std::size_t maxRows = 40;
  static constexpr std::size_t maxItems = 6;

  void line(std::ostream& out, std::string_view indent, const std::vector<Cell>& cells,
            const std::vector<std::size_t>& widths) const;

  std::vector<std::string> headings_;
  TextStyle style_;
  std::vector<std::vector<Cell>> rows_;
  std::size_t leftOut_ = 0;
};

}  // namespace Agent
