#include "DataStore/owncloud/QMROcReadFolderContentRequestv5_0_6.h"

#include <fmt/format.h>

#include "DataStore/owncloud/QMROcPathUtil.h"
#include "companion/util/QMRDateFormat.h"

std::string QMROcReadFolderContentRequestv5_0_6::constructReadFolderContentReqUrl() const {
    // The path goes into the query as it stands, unescaped.
    return builtUrl("/index.php/apps/files", fmt::format("dir={}", folderPath()));
}

std::string QMROcReadFolderContentRequestv5_0_6::expectedBreadcrumbLink() const {
    return fmt::format("/index.php/apps/files?dir={}\">{}</a>", lowercased(folderPath()),
                       lowercased(QMROcPathUtil::extractFolderOrFileFromPath(folderPath())));
}

QMROcReadFolderContentRequestv4_5_7::RowPatterns QMROcReadFolderContentRequestv5_0_6::rowPatterns() const {
    using enum QMRRegularExpressionOptions;
    static const QMRRegularExpression row("<tr data-id.*?</tr>", CaseInsensitive | DotMatchesLineSeparators);
    // A 5.0.6 row's opening tag spans several lines.
    static const QMRRegularExpression openingTag("<tr.*?>", CaseInsensitive | DotMatchesLineSeparators);
    static const QMRRegularExpression modifiedCell("<span class=\"modified\".*?</span>",
                                                   CaseInsensitive | DotMatchesLineSeparators);
    return {row, openingTag, modifiedCell};
}

std::optional<QMRDate> QMROcReadFolderContentRequestv5_0_6::toModificationDate(std::string_view title) const {
    return QMRDateFormat::fromMonthDayYearTimeString(title, false);
}
