#pragma once
// A table for a terminal: a header row and columns padded to their widest cell, measured in
// characters rather than bytes so names with accents stay aligned. Numbers read best right-aligned.
#include <string>
#include <vector>

class QMRTextTable {
public:
    enum class Align { left, right };
    struct Column {
        std::string header;
        Align align = Align::left;
    };

    explicit QMRTextTable(std::vector<Column> columns);

    // A row with one cell per column; missing cells are blank, extra ones are dropped.
    void addRow(std::vector<std::string> cells);
    bool empty() const noexcept { return _rows.empty(); }

    // The lines, each ending in "\n", with two blanks between columns and no trailing blanks. A
    // column without a value in any row is left out, and so is the header row when every header is
    // empty.
    std::string render() const;

private:
    std::vector<Column> _columns;
    std::vector<std::vector<std::string>> _rows;
};
