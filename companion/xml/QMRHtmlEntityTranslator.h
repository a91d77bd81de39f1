#pragma once
// Servers put HTML named character references (&eacute;, &nbsp;, ...) into markup that is read as
// XML. An XML parser knows only its own five, so the reader first rewrites the HTML ones as numeric
// references, which every XML parser understands.
#include <optional>
#include <string>
#include <string_view>

class QMRHtmlEntityTranslator {
public:
    QMRHtmlEntityTranslator() = delete;

    // The character an HTML 4 named reference stands for ("eacute" -> U+00E9, case-sensitive), the
    // XML-only "apos" included; none for an unknown name.
    static std::optional<char32_t> codePointOfEntity(std::string_view name);

    // The markup with every known named reference other than XML's five (amp, lt, gt, quot, apos)
    // written as a decimal one ("&eacute;" -> "&#233;"), in one pass. Unknown names are left as they
    // stand. CDATA sections and comments are copied untouched: a reference there is literal text.
    // None when nothing needed rewriting, so the caller can use its input as is.
    static std::optional<std::string> toNumericReferences(std::string_view markup);
};
