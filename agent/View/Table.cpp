#include "agent/View/Table.h"

#include <algorithm>
#include <numeric>
#include <ostream>

#include "agent/Document/Count.h"
#include "agent/View/Text.h"

namespace Agent {
namespace {

constexpr std::string_view gap = "  ";

// Characters of UTF-8, each taken as one column.
std::size_t columnsOf(std::string_view text) {
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U;
  }));
}

// The items joined, broken behind a comma where a line would be wider.
std::vector<std::string> broken(const Table::Cell& cell, std::size_t width) {
  std::vector<std::string> lines{""};
  for (std::size_t i = 0; i < cell.size(); ++i) {
    const std::string item = cell[i] + (i + 1 < cell.size() ? "," : "");
    std::string& last = lines.back();
    if (last.empty()) {
      last = item;
    } else if (columnsOf(last) + 1 + columnsOf(item) <= width) {
      last += " " + item;
    } else {
      lines.push_back(item);
    }
  }
  return lines;
}

}  // namespace

void Table::row(std::vector<Cell> cells) {
  if (!style_.all && rows_.size() >= maxRows) {
    ++leftOut_;
    return;
  }
  for (Cell& cell : cells) {
    if (style_.all || cell.size() <= maxItems + 1) continue;
    const std::size_t more = cell.size() - maxItems;
    cell.resize(maxItems);
    cell.push_back("... " + grouped(more) + " more");
  }
  rows_.push_back(std::move(cells));
}

void Table::print(std::ostream& out, std::string_view indent) const {
  std::vector<std::size_t> widths;
  std::vector<std::size_t> narrowest;
  for (std::size_t column = 0; column < headings_.size(); ++column) {
    std::size_t natural = columnsOf(headings_[column]);
    std::size_t least = natural;
    for (const auto& cells : rows_) {
      std::size_t joined = 0;
      for (std::size_t i = 0; i < cells[column].size(); ++i) {
        const std::size_t item = columnsOf(cells[column][i]) + (i + 1 < cells[column].size());
        joined += item + (i == 0 ? 0 : 1);
        least = std::max(least, item);
      }
      natural = std::max(natural, joined);
    }
    widths.push_back(natural);
    narrowest.push_back(least);
  }
  const auto total = [&] {
    return indent.size() + gap.size() * (widths.size() - 1) +
           std::accumulate(widths.begin(), widths.end(), std::size_t{0});
  };
  while (total() > style_.width) {
    std::size_t widest = widths.size();
    for (std::size_t i = 0; i < widths.size(); ++i) {
      if (widths[i] > narrowest[i] && (widest == widths.size() || widths[i] > widths[widest])) {
        widest = i;
      }
    }
    if (widest == widths.size()) break;
    --widths[widest];
  }
  std::vector<Cell> headings;
  for (const std::string& heading : headings_) headings.push_back({heading});
  if (style_.color) out << "\x1b[1m";
  line(out, indent, headings, widths);
  if (style_.color) out << "\x1b[0m";
  for (const auto& cells : rows_) line(out, indent, cells, widths);
  if (leftOut_ != 0) out << indent << "... " << grouped(leftOut_) << " more (--all shows them)\n";
}

void Table::line(std::ostream& out, std::string_view indent, const std::vector<Cell>& cells,
                 const std::vector<std::size_t>& widths) const {
  std::vector<std::vector<std::string>> columns;
  std::size_t height = 1;
  for (std::size_t i = 0; i < cells.size(); ++i) {
    columns.push_back(broken(cells[i], widths[i]));
    height = std::max(height, columns.back().size());
  }
  for (std::size_t row = 0; row < height; ++row) {
    std::string text;
    std::size_t column = 0;  // where the text ends
    std::size_t start = 0;   // where the next cell begins
    for (std::size_t i = 0; i < columns.size(); ++i) {
      if (row < columns[i].size() && !columns[i][row].empty()) {
        text.append(start - column, ' ').append(columns[i][row]);
        column = start + columnsOf(columns[i][row]);
      }
      start = std::max(start + widths[i], column) + gap.size();
    }
    out << indent << text << '\n';
  }
}

}  // namespace Agent
