#pragma once

#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

struct Column {
  enum Side { Left, Right };
  std::string_view title;
  size_t width; ///< in characters; a longer cell pushes the rest of its row to the right
  Side side;
};

/// Rows with fixed columns, two blanks apart. The widths do not depend on the content, so that output can be compared
/// and cut by scripts.
class Table {
public:
  /// Writes the header at once.
  Table(std::ostream& stream, std::vector<Column> columnList);
  void row(const std::vector<std::string>& cells);

private:
  std::ostream& out;
  std::vector<Column> columns;
};

} // namespace tool
