#include "QMRTextTable.h"

#include <algorithm>
#include <utility>

#include "QMRHumanText.h"

QMRTextTable::QMRTextTable(std::vector<Column> columns) : _columns(std::move(columns)) {}

void QMRTextTable::addRow(std::vector<std::string> cells) {
    cells.resize(_columns.size());
    _rows.push_back(std::move(cells));
}

std::string QMRTextTable::render() const {
    // A column no row has a value for says nothing: it is left out.
    std::vector<std::size_t> shown;
    for (std::size_t i = 0; i < _columns.size(); ++i) {
        const bool hasValue = std::any_of(_rows.begin(), _rows.end(), [&](const auto& row) { return !row[i].empty(); });
        if (hasValue || _rows.empty()) shown.push_back(i);
    }
    std::vector<std::size_t> widths(_columns.size());
    for (std::size_t i : shown) widths[i] = QMRHumanText::displayWidth(_columns[i].header);
    for (const auto& row : _rows)
        for (std::size_t i : shown) widths[i] = std::max(widths[i], QMRHumanText::displayWidth(row[i]));

    std::string text;
    auto appendLine = [&](auto cellOf) {
        std::string line;
        for (std::size_t i : shown) {
            const std::string& cell = cellOf(i);
            const std::string padding(widths[i] - QMRHumanText::displayWidth(cell), ' ');
            if (i != shown.front()) line += "  ";
            line += _columns[i].align == Align::right ? padding + cell : cell + padding;
        }
        line.erase(line.find_last_not_of(' ') + 1);
        text += line + '\n';
    };
    const bool withHeader =
        std::any_of(_columns.begin(), _columns.end(), [](const Column& column) { return !column.header.empty(); });
    if (withHeader) appendLine([&](std::size_t i) -> const std::string& { return _columns[i].header; });
    for (const auto& row : _rows) appendLine([&](std::size_t i) -> const std::string& { return row[i]; });
    return text;
}
