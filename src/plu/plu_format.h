// Text forms of the editor's numbers: scaled prices and weights, nutrition values with their
// decimal places, storage temperatures, days of the week, the discount's dates and times.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace brindale::plu {

// The settings the editor's text forms depend on.
struct NumberSettings {
  int PriceDecimals = 2;
  int WeightDecimals = 3;
  std::string DecimalSign = ".";
  int CountryIndex = 0;
  int DateTypeIndex = 0;
};

// A stored whole number as text with `places` decimals: places 0 the plain digits; more digits
// than places: the digits with the sign inserted; otherwise "0", the sign, zeros, the digits.
std::string formatScaled(int64_t value, int places, std::string_view decimalSign);

// The typed text back to the whole number: the sign is stripped and the digits read as they
// stand (so "12.34" with 2 places is 1234). Missing decimals are filled with zeros ("12.3" is
// 1230), surplus decimals refuse. nullopt for a text that is not digits with at most one sign,
// or one beyond 18 digits. An empty text is 0.
std::optional<int64_t> parseScaled(std::string_view text, int places, std::string_view decimalSign);

// The nutrition grid's variant: places above 3 count as 3; with exactly `places` digits the
// integer part shows "0".
std::string formatPercent(int64_t value, int places, std::string_view decimalSign);

// A typed nutrition value: the whole number and its places (at most 3). nullopt when the text is
// not a number or has more than 3 decimals.
struct ScaledValue {
  int64_t value = 0;
  int places = 0;
};
std::optional<ScaledValue> parsePercent(std::string_view text, std::string_view decimalSign);

// Storage temperatures: a leading "-" is dropped and 1000 added ("-5" is 1005, "5" is 5).
// nullopt for a text that is not an optional "-" and digits.
std::optional<int64_t> parseTemperature(std::string_view text);
std::string formatTemperature(int64_t stored);

// Days of the week: seven digits 0 and 1, the first the highest bit ("0000011" is 3).
std::optional<int64_t> parseDayOfWeek(std::string_view text);
std::string formatDayOfWeek(int64_t stored);

// Discount dates are stored as day * 10000 + month * 100 + year % 100; times (and the sell-by
// and pack times) as hour * 100 + minute.
struct DateValue {
  int year = 2000, month = 1, day = 1;
  bool operator==(const DateValue&) const = default;
};
struct TimeValue {
  int hour = 0, minute = 0;
  bool operator==(const TimeValue&) const = default;
};
int64_t storeDate(const DateValue& d);
// nullopt when the number is not a date of the form (the picker then shows its own default and
// the editor keeps the column unless another date is picked).
std::optional<DateValue> loadDate(int64_t stored);
int64_t storeTime(const TimeValue& t);
std::optional<TimeValue> loadTime(int64_t stored);
// The text forms the editor's fields hold: "yyyy-MM-dd" and "HH:mm".
std::string dateText(const DateValue& d);
std::optional<DateValue> parseDateText(std::string_view text);
std::string timeText(const TimeValue& t);
std::optional<TimeValue> parseTimeText(std::string_view text);
// The order in which the limit rules compare dates: year * 10000 + month * 100 + day.
int64_t dateOrder(const DateValue& d);

// The display format of the discount tab's date pickers by DateTypeIndex (chgByPoint):
// 0 "MM-dd-yy", 1 "dd-MM-yy", 2 "yy-MM-dd", 3 "MM.dd.yy", 4 "dd.MM.yy", 5 "yy.MM.dd"; any other
// index reads as 0.
std::string_view dateDisplayFormat(int dateTypeIndex);

// True when the text is empty or only the digits 0-9.
bool allDigits(std::string_view text);

}  // namespace brindale::plu
