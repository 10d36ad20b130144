// Wide texts (UTF-16) at interfaces; UTF-8 and the ANSI code page at the edges.
#pragma once

#include <string>
#include <string_view>

namespace velmar {

// UTF-8 <-> UTF-16. Invalid input sequences become U+FFFD; never throws on bad bytes.
std::u16string Utf8ToWide(std::string_view utf8);
std::string WideToUtf8(std::u16string_view wide);

// The system's ANSI code page is Windows-1252: the one conversion used for
// texts that files store as single bytes.
std::u16string AnsiToWide(std::string_view ansi);
// Characters with no Windows-1252 byte become '?'.
std::string WideToAnsi(std::u16string_view wide);

// Case-insensitive compare of wide texts (ASCII and Latin-1 letters), as the
// platform's registry and name lookups do.
int CompareNoCase(std::u16string_view a, std::u16string_view b);
bool EqualsNoCase(std::u16string_view a, std::u16string_view b);
std::u16string ToLowerWide(std::u16string_view s);

// u"" literal helper for tests and messages built from ASCII.
inline std::u16string W(std::string_view ascii) { return Utf8ToWide(ascii); }

}  // namespace velmar
