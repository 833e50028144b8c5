#include <gtest/gtest.h>

#include "plu/plu_format.h"

using namespace brindale::plu;

TEST(PluFormat, FormatScaledPlacesAndPadding) {
  EXPECT_EQ(formatScaled(5, 2, "."), "0.05");
  EXPECT_EQ(formatScaled(1234, 0, "."), "1234");
  EXPECT_EQ(formatScaled(1234, 2, ","), "12,34");
  EXPECT_EQ(formatScaled(0, 3, "."), "0.000");
}

TEST(PluFormat, ParseScaledStripsTheSign) {
  EXPECT_EQ(parseScaled("12.34", 2, "."), 1234);
  EXPECT_EQ(parseScaled("12,34", 2, ","), 1234);
  EXPECT_EQ(parseScaled("12.3", 2, "."), 1230);
  EXPECT_EQ(parseScaled("1234", 2, "."), 1234);
  EXPECT_FALSE(parseScaled("1.234", 2, ".").has_value());
  EXPECT_FALSE(parseScaled("1a", 0, ".").has_value());
  EXPECT_EQ(parseScaled("", 2, "."), 0);
}

TEST(PluFormat, FormatPercentCapsPlacesAtThree) {
  EXPECT_EQ(formatPercent(125, 1, "."), "12.5");
  EXPECT_EQ(formatPercent(5, 1, "."), "0.5");
  EXPECT_EQ(formatPercent(12345, 7, "."), "12.345");
  const auto v = parsePercent("12.5", ".");
  ASSERT_TRUE(v);
  EXPECT_EQ(v->value, 125);
  EXPECT_EQ(v->places, 1);
  EXPECT_FALSE(parsePercent("1.2345", ".").has_value());
}

TEST(PluFormat, TemperatureDayOfWeekDatesTimes) {
  EXPECT_EQ(parseTemperature("-5"), 1005);
  EXPECT_EQ(parseTemperature("5"), 5);
  EXPECT_EQ(formatTemperature(1005), "-5");
  EXPECT_EQ(formatTemperature(1000), "1000");
  EXPECT_EQ(parseDayOfWeek("0000011"), 3);
  EXPECT_EQ(parseDayOfWeek("1000000"), 64);
  EXPECT_FALSE(parseDayOfWeek("0000012").has_value());
  EXPECT_EQ(formatDayOfWeek(3), "0000011");
  EXPECT_EQ(storeDate({2024, 3, 15}), 150324);
  EXPECT_EQ(loadDate(150324), (DateValue{2024, 3, 15}));
  EXPECT_FALSE(loadDate(320124).has_value());
  EXPECT_EQ(storeTime({13, 45}), 1345);
  EXPECT_FALSE(loadTime(1360).has_value());
  EXPECT_EQ(parseDateText("2024-02-29"), (DateValue{2024, 2, 29}));
  EXPECT_FALSE(parseDateText("2023-02-29").has_value());
  EXPECT_EQ(dateDisplayFormat(4), "dd.MM.yy");
  EXPECT_EQ(dateDisplayFormat(9), "MM-dd-yy");
}
