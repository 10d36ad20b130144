#include "velmar/text.h"

#include <algorithm>
#include <array>

namespace velmar {
namespace {

constexpr char16_t kReplacement = 0xFFFD;

// Windows-1252 bytes 0x80..0x9F; the rest of the page equals Latin-1.
constexpr std::array<char16_t, 32> kCp1252High = {
    0x20AC, 0xFFFD, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0xFFFD, 0x017D, 0xFFFD, 0xFFFD, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0xFFFD, 0x017E, 0x0178};

void AppendCodePoint(std::u16string& out, char32_t cp) {
  if (cp < 0x10000) {
    out.push_back(static_cast<char16_t>(cp));
  } else {
    cp -= 0x10000;
    out.push_back(static_cast<char16_t>(0xD800 + (cp >> 10)));
    out.push_back(static_cast<char16_t>(0xDC00 + (cp & 0x3FF)));
  }
}

void AppendUtf8(std::string& out, char32_t cp) {
  if (cp < 0x80) {
    out.push_back(static_cast<char>(cp));
  } else if (cp < 0x800) {
    out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
    out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  } else if (cp < 0x10000) {
    out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
    out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  } else {
    out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
    out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  }
}

char16_t FoldCase(char16_t c) {
  if (c >= u'A' && c <= u'Z') return static_cast<char16_t>(c + 32);
  if (c >= 0xC0 && c <= 0xDE && c != 0xD7) return static_cast<char16_t>(c + 32);
  return c;
}

}  // namespace

std::u16string Utf8ToWide(std::string_view s) {
  std::u16string out;
  out.reserve(s.size());
  size_t i = 0;
  while (i < s.size()) {
    auto b = static_cast<unsigned char>(s[i]);
    if (b < 0x80) {
      out.push_back(b);
      ++i;
      continue;
    }
    int len = b >= 0xF0 ? 4 : b >= 0xE0 ? 3 : b >= 0xC0 ? 2 : 0;
    if (len == 0 || b > 0xF4 || i + len > s.size()) {
      out.push_back(kReplacement);
      ++i;
      continue;
    }
    char32_t cp = b & (0x7F >> len);
    bool ok = true;
    for (int k = 1; k < len; ++k) {
      auto c = static_cast<unsigned char>(s[i + k]);
      if ((c & 0xC0) != 0x80) { ok = false; break; }
      cp = (cp << 6) | (c & 0x3F);
    }
    constexpr char32_t kMin[5] = {0, 0, 0x80, 0x800, 0x10000};
    if (!ok || cp < kMin[len] || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) {
      out.push_back(kReplacement);
      ++i;
      continue;
    }
    AppendCodePoint(out, cp);
    i += len;
  }
  return out;
}

std::string WideToUtf8(std::u16string_view w) {
  std::string out;
  out.reserve(w.size());
  for (size_t i = 0; i < w.size(); ++i) {
    char32_t c = w[i];
    if (c >= 0xD800 && c <= 0xDBFF && i + 1 < w.size() && w[i + 1] >= 0xDC00 && w[i + 1] <= 0xDFFF) {
      c = 0x10000 + ((c - 0xD800) << 10) + (w[i + 1] - 0xDC00);
      ++i;
    } else if (c >= 0xD800 && c <= 0xDFFF) {
      c = kReplacement;
    }
    AppendUtf8(out, c);
  }
  return out;
}

std::u16string AnsiToWide(std::string_view ansi) {
  std::u16string out;
  out.reserve(ansi.size());
  for (char ch : ansi) {
    auto b = static_cast<unsigned char>(ch);
    out.push_back(b >= 0x80 && b < 0xA0 ? kCp1252High[b - 0x80] : char16_t{b});
  }
  return out;
}

std::string WideToAnsi(std::u16string_view wide) {
  std::string out;
  out.reserve(wide.size());
  for (char16_t c : wide) {
    if (c < 0x80 || (c >= 0xA0 && c <= 0xFF)) {
      out.push_back(static_cast<char>(c));
      continue;
    }
    auto it = std::find(kCp1252High.begin(), kCp1252High.end(), c);
    out.push_back(it != kCp1252High.end() && c != kReplacement
                      ? static_cast<char>(0x80 + (it - kCp1252High.begin()))
                      : '?');
  }
  return out;
}

int CompareNoCase(std::u16string_view a, std::u16string_view b) {
  size_t n = std::min(a.size(), b.size());
  for (size_t i = 0; i < n; ++i) {
    char16_t x = FoldCase(a[i]), y = FoldCase(b[i]);
    if (x != y) return x < y ? -1 : 1;
  }
  return a.size() == b.size() ? 0 : (a.size() < b.size() ? -1 : 1);
}

bool EqualsNoCase(std::u16string_view a, std::u16string_view b) {
  return a.size() == b.size() && CompareNoCase(a, b) == 0;
}

std::u16string ToLowerWide(std::u16string_view s) {
  std::u16string out(s);
  for (auto& c : out) c = FoldCase(c);
  return out;
}

}  // namespace velmar
