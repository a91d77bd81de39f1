#include "companion/util/QMRRegularExpression.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <fmt/format.h>

#include "companion/util/QMRExceptions.h"

namespace {
using Options = QMRRegularExpressionOptions;

std::vector<std::size_t> matchLocations(const QMRRegularExpression& regex, std::string_view text) {
    std::vector<std::size_t> locations;
    for (const auto& match : regex.matchesInString(text)) locations.push_back(match.range().location);
    return locations;
}

// The exception of that type the call raised, if it raised one.
template <class Exception, class Call>
std::optional<Exception> raisedBy(Call call) {
    try {
        call();
    } catch (const Exception& e) {
        return e;
    }
    return std::nullopt;
}
}  // namespace

TEST(QMRRegularExpressionCompile, InvalidPatternRaisesInvalidArgumentWithPositionAndReason) {
    const auto raised = raisedBy<QMRInvalidArgumentException>([] { QMRRegularExpression("<tr((?!</tr>).+</tr>"); });
    ASSERT_TRUE(raised) << "compiled an unbalanced pattern";
    EXPECT_THAT(raised->reason(),
                testing::AllOf(testing::HasSubstr("missing closing parenthesis"), testing::HasSubstr("offset 20")));
}

// The login page check: the form's "Lost your password?" line, whatever the server's line ends.
class QMRRegularExpressionLineEnds : public testing::TestWithParam<std::string> {};

TEST_P(QMRRegularExpressionLineEnds, AnchorsMatchLinesFindsTheWholeLineWithoutItsEndAndOnlyWithTheOption) {
    const std::string& eol = GetParam();
    const std::string page = "<html>" + eol + "  <a href=\"/lost\">LOST YOUR PASSWORD?</a>" + eol + "</html>" + eol;
    const QMRRegularExpression regex("^.*Lost your password?.*$",
                                     Options::CaseInsensitive | Options::AnchorsMatchLines);
    const auto match = regex.firstMatchInString(page);
    ASSERT_TRUE(match);
    EXPECT_EQ(*match->substringAtIndex(page, 0), "  <a href=\"/lost\">LOST YOUR PASSWORD?</a>");
    // Without the option the anchors match only at the ends of the whole text.
    EXPECT_FALSE(QMRRegularExpression("^.*Lost your password?.*$", Options::CaseInsensitive).firstMatchInString(page));
}

TEST_P(QMRRegularExpressionLineEnds, DotStopsAtEveryLineEndUnlessAllowed) {
    const std::string text = "<p>" + GetParam() + "</p>";
    EXPECT_FALSE(QMRRegularExpression("<p>.+</p>").firstMatchInString(text));
    EXPECT_TRUE(QMRRegularExpression("<p>.+</p>", Options::DotMatchesLineSeparators).firstMatchInString(text));
}

INSTANTIATE_TEST_SUITE_P(LfCrCrlf, QMRRegularExpressionLineEnds, testing::Values("\n", "\r", "\r\n"));

TEST(QMRRegularExpressionOptions, CaseInsensitiveFoldsUnicodeLetters) {
    const std::string text = "<TR DATA-ID=\"1\" data-file=\"\xC3\x89t\xC3\xA9\">";
    EXPECT_FALSE(QMRRegularExpression("<tr data-id").firstMatchInString(text));
    EXPECT_TRUE(QMRRegularExpression("<tr data-id", Options::CaseInsensitive).firstMatchInString(text));
    EXPECT_TRUE(QMRRegularExpression("\xC3\xA9T\xC3\x89", Options::CaseInsensitive).firstMatchInString(text));
}

TEST(QMRRegularExpressionCaptures, GreedyGroupRunsToTheLastDelimiterOfItsLine) {
    const std::string page = "<script>\nvar oc_requesttoken = 'ab';c';\nvar other = 'x';\n</script>";
    const QMRRegularExpression regex("^.*var oc_requesttoken = '(.+)';.*$",
                                     Options::CaseInsensitive | Options::AnchorsMatchLines);
    const auto match = regex.firstMatchInString(page);
    ASSERT_TRUE(match);
    ASSERT_EQ(match->numberOfRanges(), 2U);
    EXPECT_EQ(*match->substringAtIndex(page, 1), "ab';c");
    EXPECT_EQ(match->rangeAtIndex(1), (QMRTextRange{page.find("ab"), 5}));
}

TEST(QMRRegularExpressionCaptures, GroupOutsideTheMatchIsNotFound) {
    const QMRRegularExpression regex("(a)|(b)");
    const std::string text = "xb";
    const auto match = regex.firstMatchInString(text);
    ASSERT_TRUE(match);
    EXPECT_FALSE(match->rangeAtIndex(1).found());
    EXPECT_EQ(match->rangeAtIndex(1).location, QMRTextRange::notFound);
    EXPECT_EQ(match->substringAtIndex(text, 1), std::nullopt);
    EXPECT_EQ(match->rangeAtIndex(2), (QMRTextRange{1, 1}));
    EXPECT_THROW(match->rangeAtIndex(3), QMRRangeException);
}

TEST(QMRRegularExpressionRanges, SearchInsideARangeTreatsItAsTheWholeTextAndReportsFullTextOffsets) {
    const std::string page =
        "<table><tr data-id=\"7\" data-file=\"a\">\n<td>a</td></tr>\n<tr data-id=\"8\"></tr></table>";
    const QMRRegularExpression row("<tr data-id((?!</tr>).)+</tr>",
                                   Options::CaseInsensitive | Options::DotMatchesLineSeparators);
    const QMRRegularExpression openingTag("^.*<tr.*$", Options::CaseInsensitive | Options::AnchorsMatchLines);
    const auto rows = row.matchesInString(page);
    ASSERT_EQ(rows.size(), 2U);

    // "^" matches at the start of the row's range although the row starts in the middle of a line.
    const auto tag = openingTag.firstMatchInString(page, rows[0].range());
    ASSERT_TRUE(tag);
    EXPECT_EQ(tag->range().location, page.find("<tr data-id=\"7\""));
    EXPECT_EQ(*tag->substringAtIndex(page, 0), "<tr data-id=\"7\" data-file=\"a\">");

    // The second row's tag is not found from inside the first row.
    const QMRRegularExpression secondId("data-id=\"8\"");
    EXPECT_FALSE(secondId.firstMatchInString(page, rows[0].range()));
    EXPECT_EQ(secondId.numberOfMatchesInString(page, rows[1].range()), 1U);
}

TEST(QMRRegularExpressionRanges, RangeBeyondTheTextOrCuttingACheckedCharacterRaisesRangeException) {
    const QMRRegularExpression a("a");
    EXPECT_THROW(a.firstMatchInString("abc", QMRTextRange{2, 2}), QMRRangeException);
    EXPECT_THROW(a.matchesInString("abc", QMRTextRange{4, 0}), QMRRangeException);
    EXPECT_EQ(a.numberOfMatchesInString("abc", QMRTextRange{3, 0}), 0U);

    const QMRUtf8Text checked = QMRUtf8Text::validated("a\xC3\xA9z");
    const QMRRegularExpression any(".");
    for (const QMRTextRange range : {QMRTextRange{2, 2}, QMRTextRange{0, 2}, QMRTextRange{3, 5}})
        EXPECT_THROW(any.firstMatchInString(checked, range), QMRRangeException);
    const auto match = any.firstMatchInString(checked, QMRTextRange{1, 3});
    ASSERT_TRUE(match);
    EXPECT_EQ(match->range(), (QMRTextRange{1, 2}));
}

TEST(QMRRegularExpressionWalk, EmptyMatchesAdvanceOneCharacterAtATime) {
    // "é" is two bytes and CRLF one line end: neither is split.
    const std::string text = "a\xC3\xA9\r\nb";
    EXPECT_THAT(matchLocations(QMRRegularExpression("x*"), text), testing::ElementsAre(0, 1, 3, 5, 6));
    EXPECT_THAT(matchLocations(QMRRegularExpression("a*"), "baaac"), testing::ElementsAre(0, 1, 4, 5));
    EXPECT_THAT(matchLocations(QMRRegularExpression("^", Options::AnchorsMatchLines), "a\nb\rc"),
                testing::ElementsAre(0, 2, 4));
}

TEST(QMRRegularExpressionWalk, EnumerationStopsWhenAsked) {
    int calls = 0;
    QMRRegularExpression("\\d").enumerateMatchesInString(
        "1234", [&calls](const QMRRegularExpressionMatch&, bool& stop) { stop = ++calls == 2; });
    EXPECT_EQ(calls, 2);
}

TEST(QMRRegularExpressionWalk, ManyMatchesOverALargePageAreAllFound) {
    // Validating the page on every search would make this walk quadratic: minutes instead of milliseconds.
    constexpr int kRows = 50000;
    std::string page = "<table>\n";
    for (int i = 0; i < kRows; ++i)
        page += fmt::format("<tr data-id=\"{}\" data-file=\"f\xC3\xA9{}.txt\"><td>cell</td></tr>\n", i, i);
    page += "</table>";
    const QMRRegularExpression row("<tr data-id=\"(\\d+)\"((?!</tr>).)+</tr>",
                                   Options::CaseInsensitive | Options::DotMatchesLineSeparators);
    const auto rows = row.matchesInString(page);
    ASSERT_EQ(rows.size(), static_cast<std::size_t>(kRows));
    EXPECT_EQ(*rows.back().substringAtIndex(page, 1), std::to_string(kRows - 1));
    EXPECT_EQ(row.stringByReplacingMatchesInString(page, ""), "<table>\n" + std::string(kRows, '\n') + "</table>");
}

TEST(QMRRegularExpressionReplace, ReplacementIsLiteralAndEmptyMatchesAreReplacedToo) {
    EXPECT_EQ(QMRRegularExpression("(o)").stringByReplacingMatchesInString("foo", "$1\\"), "f$1\\$1\\");
    EXPECT_EQ(QMRRegularExpression("x*").stringByReplacingMatchesInString("ab", "-"), "-a-b-");
    EXPECT_EQ(QMRRegularExpression("z").stringByReplacingMatchesInString("ab", "-"), "ab");
}

// The cleaning of a multistatus: whole responses, over many lines, removed one by one.
TEST(QMRRegularExpressionLimits, LookAheadOverAMultiMegabyteMultiLineElementMatches) {
    std::string content;
    while (content.size() < 4 * 1024 * 1024) content += "<d:href>/data/x</d:href>\r\n";
    const std::string body = "<d:response>" + content + "</d:response>\n<d:response>y</d:response>";
    const QMRRegularExpression element("<d:response>(?:(?!</d:response>).)+</d:response>",
                                       Options::DotMatchesLineSeparators);
    EXPECT_EQ(element.stringByReplacingMatchesInString(body, ""), "\n");

    const std::string row = "<tr data-id=\"1\">" + std::string(1024 * 1024, 'x') + "</tr>";
    const auto match = QMRRegularExpression("<tr data-id((?!</tr>).)+</tr>").firstMatchInString(row);
    ASSERT_TRUE(match);
    EXPECT_EQ(match->range(), (QMRTextRange{0, row.size()}));
}

TEST(QMRRegularExpressionLimits, RunawayBacktrackingRaisesInsteadOfReportingNoMatch) {
    const std::string text = std::string(40, 'a') + "b";
    const auto raised =
        raisedBy<QMRRegularExpressionMatchException>([&] { QMRRegularExpression("^(a+)+$").firstMatchInString(text); });
    ASSERT_TRUE(raised) << "a search that cannot finish reported a result";
    EXPECT_LT(raised->errorCode(), 0);
}

TEST(QMRRegularExpressionLimits, InvalidUtf8IsRefusedByEverySearchAndTheCheckNamingWhereItStarts) {
    const std::string text = "ok \xC3\x28 bad";
    const QMRRegularExpression regex("bad");
    const std::function<void()> uses[] = {[&] { regex.firstMatchInString(text); }, [&] { regex.matchesInString(text); },
                                          [&] { regex.stringByReplacingMatchesInString(text, ""); },
                                          [&] { QMRUtf8Text::validated(text); }};
    for (const auto& use : uses) {
        const auto raised = raisedBy<QMRRegularExpressionMatchException>(use);
        ASSERT_TRUE(raised) << "searched invalid UTF-8";
        EXPECT_THAT(raised->what(), testing::HasSubstr("at byte 3"));
    }
    // Only the searched range has to be valid.
    EXPECT_TRUE(QMRRegularExpression("ok").firstMatchInString(text, QMRTextRange{0, 3}));
}

// The check of a whole page must accept exactly what a search accepts: whatever it let through is
// later searched without PCRE2's own check.
TEST(QMRRegularExpressionValidatedText, AcceptsExactlyTheTextsASearchAccepts) {
    const QMRRegularExpression search("z");
    using Refusal = QMRRegularExpressionMatchException;
    const std::string nexts = std::string("\x00\x41\x7F\x80\x8F\x90\x9F\xA0\xBF\xC0\xFF", 11);
    for (int lead = 0x7F; lead <= 0xFF; ++lead)
        for (char second : nexts)
            for (char third : {'\x80', '\xBF', 'A'})
                // Before it, ASCII runs that end on both sides of a block of 32 bytes; after it, the
                // end or more.
                for (const std::string tail : {"", "\x80", "\xBF\x80", "abcdefgh"}) {
                    const std::string text =
                        std::string(lead % 41, 'a') + static_cast<char>(lead) + second + third + tail;
                    EXPECT_EQ(raisedBy<Refusal>([&] { QMRUtf8Text::validated(text); }).has_value(),
                              raisedBy<Refusal>([&] { search.firstMatchInString(text); }).has_value())
                        << testing::PrintToString(text);
                }
}

// A walk's searches nest (a row, then its cells) and run on several threads at once; over a checked
// page they find what they find over the plain one.
TEST(QMRRegularExpressionThreads, NestedSearchesOverACheckedPageAgreeWithPlainOnesOnSeveralThreads) {
    std::string page;
    for (int i = 0; i < 200; ++i) page += fmt::format("<tr data-id=\"{}\"><td>x\xC3\xA9{}</td></tr>\n", i, i);
    const QMRUtf8Text checked = QMRUtf8Text::validated(page);
    const QMRRegularExpression row("<TR data-id.*?</tr>", Options::CaseInsensitive | Options::DotMatchesLineSeparators);
    const QMRRegularExpression cell("<td>(x[^<]+)</td>");
    auto countAgreeingCells = [&] {
        std::size_t agreeing = 0;
        row.enumerateMatchesInString(checked, [&](const QMRRegularExpressionMatch& match, bool&) {
            const auto inChecked = cell.firstMatchInString(checked, match.range());
            const auto inPlain = cell.firstMatchInString(page, match.range());
            if (inChecked && inPlain && inChecked->rangeAtIndex(1) == inPlain->rangeAtIndex(1)) ++agreeing;
        });
        return agreeing;
    };
    std::size_t counts[4] = {};
    std::vector<std::thread> threads;
    for (std::size_t& count : counts)
        threads.emplace_back([&count, &countAgreeingCells] { count = countAgreeingCells(); });
    for (auto& thread : threads) thread.join();
    for (const std::size_t count : counts) EXPECT_EQ(count, 200U);
}
