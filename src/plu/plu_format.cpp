#include "plu/plu_format.h"

#include <array>

namespace brindale::plu {

bool allDigits(std::string_view text) {
  for (char c : text)
    if (c < '0' || c > '9') return false;
  return true;
}

namespace {

std::optional<int64_t> digitsValue(std::string_view digits) {
  if (digits.size() > 18 || !allDigits(digits)) return std::nullopt;
  int64_t v = 0;
  for (char c : digits) v = v * 10 + (c - '0');
  return v;
}

std::string scaledDigits(int64_t value, int places, std::string_view sign) {
  const bool negative = value < 0;
  std::string digits = std::to_string(value);
  if (negative) digits.erase(0, 1);
  std::string out;
  if (places <= 0) {
    out = digits;
  } else if (digits.size() > static_cast<std::size_t>(places)) {
    out = digits.substr(0, digits.size() - places);
    out += sign;
    out += digits.substr(digits.size() - places);
  } else {
    out = "0";
    out += sign;
    out.append(static_cast<std::size_t>(places) - digits.size(), '0');
    out += digits;
  }
  return negative ? "-" + out : out;
}

}  // namespace

std::string formatScaled(int64_t value, int places, std::string_view decimalSign) {
  return scaledDigits(value, places, decimalSign);
}

std::optional<int64_t> parseScaled(std::string_view text, int places, std::string_view decimalSign) {
  if (text.empty()) return 0;
  std::string_view whole = text, frac;
  if (!decimalSign.empty()) {
    const auto at = text.find(decimalSign);
    if (at != std::string_view::npos) {
      whole = text.substr(0, at);
      frac = text.substr(at + decimalSign.size());
      if (places <= 0 || frac.size() > static_cast<std::size_t>(places)) return std::nullopt;
    }
  }
  std::string digits(whole);
  digits += frac;
  if (places > 0 && frac.size() < static_cast<std::size_t>(places) && text.find(decimalSign) != std::string_view::npos)
    digits.append(static_cast<std::size_t>(places) - frac.size(), '0');
  if (digits.empty()) return 0;
  return digitsValue(digits);
}

std::string formatPercent(int64_t value, int places, std::string_view decimalSign) {
  if (places > 3) places = 3;
  if (places < 0) places = 0;
  return scaledDigits(value, places, decimalSign);
}

std::optional<ScaledValue> parsePercent(std::string_view text, std::string_view decimalSign) {
  ScaledValue r;
  if (text.empty()) return r;
  std::string_view whole = text, frac;
  const auto at = decimalSign.empty() ? std::string_view::npos : text.find(decimalSign);
  if (at != std::string_view::npos) {
    whole = text.substr(0, at);
    frac = text.substr(at + decimalSign.size());
  }
  if (frac.size() > 3) return std::nullopt;
  const auto v = digitsValue(std::string(whole) + std::string(frac));
  if (!v) return std::nullopt;
  r.value = *v;
  r.places = static_cast<int>(frac.size());
  return r;
}

std::optional<int64_t> parseTemperature(std::string_view text) {
  const bool negative = !text.empty() && text.front() == '-';
  if (negative) text.remove_prefix(1);
  if (text.empty()) return std::nullopt;
  const auto v = digitsValue(text);
  if (!v) return std::nullopt;
  return negative ? *v + 1000 : *v;
}

std::string formatTemperature(int64_t stored) {
  if (stored > 1000) return "-" + std::to_string(stored - 1000);
  return std::to_string(stored);
}

std::optional<int64_t> parseDayOfWeek(std::string_view text) {
  if (text.size() > 7) return std::nullopt;
  int64_t v = 0;
  for (char c : text) {
    if (c != '0' && c != '1') return std::nullopt;
    v = v * 2 + (c - '0');
  }
  return v;
}

std::string formatDayOfWeek(int64_t stored) {
  std::string s(7, '0');
  for (int i = 0; i < 7; ++i)
    if (stored & (int64_t{1} << (6 - i))) s[static_cast<std::size_t>(i)] = '1';
  return s;
}

int64_t storeDate(const DateValue& d) { return int64_t{d.day} * 10000 + d.month * 100 + d.year % 100; }

namespace {
bool validDate(int y, int m, int d) {
  static constexpr std::array<int, 12> kDays{31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  if (m < 1 || m > 12 || d < 1) return false;
  const bool leap = (y % 4 == 0 && y % 100 != 0) || y % 400 == 0;
  const int days = m == 2 ? (leap ? 29 : 28) : kDays[static_cast<std::size_t>(m - 1)];
  return d <= days;
}
}  // namespace

std::optional<DateValue> loadDate(int64_t stored) {
  if (stored < 0 || stored > 311299) return std::nullopt;
  DateValue d{2000 + static_cast<int>(stored % 100), static_cast<int>(stored / 100 % 100),
              static_cast<int>(stored / 10000)};
  if (!validDate(d.year, d.month, d.day)) return std::nullopt;
  return d;
}

int64_t storeTime(const TimeValue& t) { return int64_t{t.hour} * 100 + t.minute; }

std::optional<TimeValue> loadTime(int64_t stored) {
  if (stored < 0 || stored > 2359 || stored % 100 > 59) return std::nullopt;
  return TimeValue{static_cast<int>(stored / 100), static_cast<int>(stored % 100)};
}

namespace {
std::string pad(int v, int width) {
  std::string s = std::to_string(v);
  if (s.size() < static_cast<std::size_t>(width)) s.insert(0, static_cast<std::size_t>(width) - s.size(), '0');
  return s;
}
}  // namespace

std::string dateText(const DateValue& d) { return pad(d.year, 4) + "-" + pad(d.month, 2) + "-" + pad(d.day, 2); }

std::optional<DateValue> parseDateText(std::string_view t) {
  if (t.size() != 10 || t[4] != '-' || t[7] != '-') return std::nullopt;
  const auto y = digitsValue(t.substr(0, 4)), m = digitsValue(t.substr(5, 2)), d = digitsValue(t.substr(8, 2));
  if (!y || !m || !d) return std::nullopt;
  DateValue v{static_cast<int>(*y), static_cast<int>(*m), static_cast<int>(*d)};
  if (v.year < 2000 || v.year > 2099 || !validDate(v.year, v.month, v.day)) return std::nullopt;
  return v;
}

std::string timeText(const TimeValue& t) { return pad(t.hour, 2) + ":" + pad(t.minute, 2); }

std::optional<TimeValue> parseTimeText(std::string_view t) {
  if (t.size() != 5 || t[2] != ':') return std::nullopt;
  const auto h = digitsValue(t.substr(0, 2)), m = digitsValue(t.substr(3, 2));
  if (!h || !m || *h > 23 || *m > 59) return std::nullopt;
  return TimeValue{static_cast<int>(*h), static_cast<int>(*m)};
}

int64_t dateOrder(const DateValue& d) { return int64_t{d.year} * 10000 + d.month * 100 + d.day; }

std::string_view dateDisplayFormat(int dateTypeIndex) {
  static constexpr std::string_view kFormats[] = {"MM-dd-yy", "dd-MM-yy", "yy-MM-dd", "MM.dd.yy", "dd.MM.yy", "yy.MM.dd"};
  if (dateTypeIndex < 0 || dateTypeIndex > 5) dateTypeIndex = 0;
  return kFormats[dateTypeIndex];
}

}  // namespace brindale::plu
