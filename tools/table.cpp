// Text tables with fixed columns.
//
// Cells may come from other participants: control characters are masked before they are written. Widths count
// characters, not bytes, and rows never end in blanks.

#include "table.h"

#include <algorithm>
#include <ostream>

#include "arguments.h"

namespace tool {
namespace {

size_t characters(std::string_view text) {
  return static_cast<size_t>(
      std::count_if(text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

} // namespace

Table::Table(std::ostream& stream, std::vector<Column> columnList) : out(stream), columns(std::move(columnList)) {
  std::vector<std::string> titles;
  for (const Column& column : columns) titles.emplace_back(column.title);
  row(titles);
}

void Table::row(const std::vector<std::string>& cells) {
  std::string line;
  for (size_t i = 0; i < cells.size(); ++i) {
    const size_t used = characters(cells[i]);
    const std::string fill(columns[i].width > used ? columns[i].width - used : 0, ' ');
    if (i > 0) line += "  ";
    line += columns[i].side == Column::Right ? fill + printable(cells[i]) : printable(cells[i]) + fill;
  }
  line.erase(line.find_last_not_of(' ') + 1);
  out << line << '\n';
}

} // namespace tool
