#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <ktmp4/types.h>

namespace kt {

/// A text of a stranger for the page, where it can neither be markup nor end an attribute. Control characters
/// and what is no UTF-8 are written out ("\x1B").
std::string Html(std::string_view text);

/// "189.0 MB".
std::string SizeText(u64 bytes);
/// "01:02:03.004".
std::string TimeText(double seconds);
/// A number with a few places, such as a length or a position in a picture.
std::string PlaceText(double number);

/// A table with these headings. `more` rows are told to follow.
std::string HtmlTable(const std::vector<std::string>& columns,
                      const std::vector<std::vector<std::string>>& rows, u64 more);

/// What stands ahead of the page's own contents, and behind them. Nothing from outside is asked for, and by
/// its policy the page could not: it has no script either, so that nothing in a file can become one.
std::string PageHead(const std::string& title);
std::string PageEnd();

}  // namespace kt
