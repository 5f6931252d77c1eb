// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

namespace vantorel::host {

/// An attribute of an element: its name, which is ours, and its value, which is escaped. One without a value is left
/// out.
using HtmlAttribute = std::pair<std::string_view, std::string_view>;
using HtmlAttributes = std::initializer_list<HtmlAttribute>;

/// A piece of a page, in markup that is XML as well as HTML. A text becomes one by being escaped, and nothing else
/// makes markup of a text: what a drive or a file says stays text whatever it says.
class Html {
public:
    Html() = default;
    // Implicit, so that texts stand among elements as they are.
    Html(std::string_view text);                                    // NOLINT(google-explicit-constructor)
    Html(const std::string& text) : Html(std::string_view(text)) {} // NOLINT(google-explicit-constructor)
    Html(const char* text) : Html(std::string_view(text)) {}        // NOLINT(google-explicit-constructor)

    /// An element around its content.
    [[nodiscard]] static Html element(std::string_view name, HtmlAttributes attributes, const Html& content);
    /// An element of a kind that never has content, such as `meta`.
    [[nodiscard]] static Html emptyElement(std::string_view name, HtmlAttributes attributes);
    /// A style sheet, which is ours and goes in as it is; it has neither `<` nor `&`.
    [[nodiscard]] static Html style(std::string_view sheet);

    Html& operator+=(const Html& next)
    {
        markup_ += next.markup_;
        return *this;
    }

    [[nodiscard]] bool isEmpty() const { return markup_.empty(); }
    [[nodiscard]] const std::string& markup() const { return markup_; }

private:
    std::string markup_;
};

/// An element around these pieces, one behind the other.
template <typename... Pieces>
[[nodiscard]] Html tag(std::string_view name, HtmlAttributes attributes, const Pieces&... pieces)
{
    Html content;
    ((content += pieces), ...);
    return Html::element(name, attributes, content);
}

/// An element without attributes.
template <typename... Pieces>
[[nodiscard]] Html tag(std::string_view name, const Pieces&... pieces)
{
    return tag(name, HtmlAttributes{}, pieces...);
}

} // namespace vantorel::host
