// Texts that come from peers or from the catalogue, made fit to be shown. Everything that could
// pass for another line, move a terminal's cursor or turn the direction of what follows is escaped
// byte by byte, as "\x1b": control characters of either set, line and direction marks, and bytes
// that are not UTF-8.
#pragma once

#include <sys/time.h>

#include <string>

namespace programs {

// Runs of blanks and line breaks become one blank, as in "Remove 3:2" of a two-line panel text.
std::string OneLine(const std::string& text);

std::string Escape(const std::string& text);

// JSON, in which such characters are written as "\u009b": it means the same, and a terminal that
// shows it does nothing else.
std::string EscapeJson(const std::string& json);

// In quotes; quotes and backslashes get a backslash, so that nothing is ambiguous.
std::string Quote(const std::string& text);
// As Quote, with what is beyond `limit` bytes left out, and the text's size behind the quotes. Of
// a longer text more than `limit` bytes have to be there, not all of its `size`.
std::string QuoteUpTo(std::size_t limit, const std::string& text, std::size_t size);
// As much as a message of one line has room for, where the text may be of any length.
std::string QuoteBriefly(const std::string& text);

// Moments as they stand in lines and records.
timeval Now();

// By this machine's clock and time zone: "2025-06-01 14:07:21.250".
std::string LocalTime(timeval when);
// In UTC, for machines: "2025-06-01T12:07:21.250Z".
std::string UniversalTime(timeval when);

}  // namespace programs
