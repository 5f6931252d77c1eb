// SPDX-License-Identifier: GPL-2.0-or-later
#include "Html.h"

#include "host/console/Text.h"
#include "vantorel/base/Text.h"

namespace vantorel::host {

namespace {

/// The text with what means something in markup written as references. Control characters, which neither XML nor a
/// reader can take, are blanks by now; line ends are left, for texts that keep their lines.
std::string escaped(std::string_view text)
{
    std::string result;
    result.reserve(text.size());
    for (const char c : text) {
        switch (c) {
        case '&':
            result += "&amp;";
            break;
        case '<':
            result += "&lt;";
            break;
        case '>':
            result += "&gt;";
            break;
        case '"':
            result += "&quot;";
            break;
        case '\'':
            result += "&#39;";
            break;
        default:
            result += c;
        }
    }
    // The two characters that XML forbids although they are well-formed UTF-8.
    for (const char* const forbidden : {"\uFFFE", "\uFFFF"}) {
        if (result.find(forbidden) != std::string::npos)
            result = base::replacingAll(result, forbidden, "\uFFFD");
    }
    return result;
}

/// `printable` line by line.
std::string printableLines(std::string_view text)
{
    std::string result;
    for (;;) {
        const std::size_t end = text.find('\n');
        result += printable(text.substr(0, end));
        if (end == std::string_view::npos)
            return result;
        result += '\n';
        text.remove_prefix(end + 1);
    }
}

std::string opening(std::string_view name, HtmlAttributes attributes)
{
    std::string text = "<" + std::string(name);
    for (const auto& [key, value] : attributes) {
        if (!value.empty())
            text.append(" ").append(key).append("=\"").append(escaped(printableLines(value))).append("\"");
    }
    return text;
}

} // namespace

Html::Html(std::string_view text) : markup_(escaped(printableLines(text))) {}

Html Html::element(std::string_view name, HtmlAttributes attributes, const Html& content)
{
    Html element;
    element.markup_ = opening(name, attributes);
    element.markup_.append(">").append(content.markup_).append("</").append(name).append(">");
    return element;
}

Html Html::emptyElement(std::string_view name, HtmlAttributes attributes)
{
    Html element;
    element.markup_ = opening(name, attributes) + "/>";
    return element;
}

Html Html::style(std::string_view sheet)
{
    Html element;
    element.markup_.append("<style>").append(sheet).append("</style>\n");
    return element;
}

} // namespace vantorel::host
