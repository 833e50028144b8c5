#include <gtest/gtest.h>

#include <array>

#include "codec/bytes.h"
#include "codec/columns.h"
#include "codec/numbers.h"

namespace brindale::codec {
namespace {

TEST(Bytes, ReadTwoBytesBigEndian) {
  const uint8_t src[] = {0x12, 0x34};
  uint32_t v = 0xFFFFFFFF;
  readBytesReversed(v, src, 2);
  EXPECT_EQ(v, 0x1234u);
}

TEST(Bytes, ReadFourBytesBigEndian) {
  const uint8_t src[] = {0x00, 0x12, 0x34, 0x56};
  EXPECT_EQ(readBytesReversed(src, 4), 0x123456u);
}

TEST(Bytes, CopyTwoBytesDropsHigherDigits) {
  uint8_t out[2] = {};
  copyBytesReversed(out, 0x12345u, 2);
  EXPECT_EQ(out[0], 0x23);
  EXPECT_EQ(out[1], 0x45);
}

TEST(Bytes, CopyFromMemoryReversesByteOrder) {
  const uint32_t v = 0x12345;  // little-endian in memory: 45 23 01 00
  uint8_t out[2] = {};
  copyBytesReversed(out, &v, 2);
  EXPECT_EQ(out[0], 0x23);
  EXPECT_EQ(out[1], 0x45);
}

std::array<uint8_t, 4> write(NumberEncoding e, int64_t v, Status* status = nullptr) {
  std::array<uint8_t, 4> out{};
  Status s = writeNumber(e, v, out.data(), "COL");
  if (status) *status = s;
  return out;
}

TEST(Numbers, Bcd4EightDigits) {
  Status s;
  auto b = write(NumberEncoding::Bcd4, 12345678, &s);
  ASSERT_TRUE(s.ok());
  EXPECT_EQ(b, (std::array<uint8_t, 4>{0x12, 0x34, 0x56, 0x78}));
  b = write(NumberEncoding::Bcd4, 123456, &s);
  EXPECT_EQ(b, (std::array<uint8_t, 4>{0x00, 0x12, 0x34, 0x56}));
}

TEST(Numbers, Bcd4NineDigitsOverflow) {
  Status s;
  write(NumberEncoding::Bcd4, 100000000, &s);
  ASSERT_FALSE(s.ok());
  EXPECT_EQ(s.error().fault, Fault::Overflow);
  EXPECT_EQ(s.error().limit, 99999999);
  EXPECT_EQ(s.message(), "column COL: value 100000000 exceeds limit 99999999");
}

TEST(Numbers, Bcd2StrictFourDigits) {
  Status s;
  auto b = write(NumberEncoding::Bcd2Strict, 9999, &s);
  ASSERT_TRUE(s.ok());
  EXPECT_EQ(b[0], 0x99);
  EXPECT_EQ(b[1], 0x99);
  write(NumberEncoding::Bcd2Strict, 10000, &s);
  ASSERT_FALSE(s.ok());
  EXPECT_EQ(s.error().fault, Fault::Overflow);
}

TEST(Numbers, Bcd2LenientDropsHighDigits) {
  Status s;
  auto b = write(NumberEncoding::Bcd2Lenient, 12345, &s);
  ASSERT_TRUE(s.ok());
  EXPECT_EQ(b[0], 0x23);
  EXPECT_EQ(b[1], 0x45);
  b = write(NumberEncoding::Bcd2Lenient, 99999999, &s);
  ASSERT_TRUE(s.ok());
  EXPECT_EQ(b[0], 0x99);
  write(NumberEncoding::Bcd2Lenient, 100000000, &s);
  ASSERT_FALSE(s.ok());
  EXPECT_EQ(s.error().fault, Fault::Overflow);
}

TEST(Numbers, Bcd1TwoDigits) {
  Status s;
  EXPECT_EQ(write(NumberEncoding::Bcd1, 99, &s)[0], 0x99);
  ASSERT_TRUE(s.ok());
  for (int64_t v : {100, 255, 256, 1000}) {
    write(NumberEncoding::Bcd1, v, &s);
    ASSERT_FALSE(s.ok()) << v;
    EXPECT_EQ(s.error().fault, Fault::Overflow) << v;
  }
}

TEST(Numbers, NegativeAndNullFail) {
  Status s;
  for (auto e : {NumberEncoding::Bcd1, NumberEncoding::Bcd2Strict, NumberEncoding::Bcd2Lenient, NumberEncoding::Bcd4}) {
    write(e, -1, &s);
    ASSERT_FALSE(s.ok());
    EXPECT_EQ(s.error().fault, Fault::Negative);
    write(e, kNullNumber, &s);
    ASSERT_FALSE(s.ok());
    EXPECT_EQ(s.error().fault, Fault::Null);
  }
}

TEST(Numbers, Bin4IsPlainBinary) {
  Status s;
  EXPECT_EQ(write(NumberEncoding::Bin4, 1234, &s), (std::array<uint8_t, 4>{0x00, 0x00, 0x04, 0xD2}));
  EXPECT_EQ(write(NumberEncoding::Bin4, -1, &s), (std::array<uint8_t, 4>{0xFF, 0xFF, 0xFF, 0xFF}));
  int64_t v = 0;
  const uint8_t in[] = {0xFF, 0xFF, 0xFF, 0xFE};
  ASSERT_TRUE(readNumber(NumberEncoding::Bin4, in, v, "COL").ok());
  EXPECT_EQ(v, -2);
  write(NumberEncoding::Bin4, 2147483648LL, &s);
  EXPECT_FALSE(s.ok());
}

TEST(Numbers, Bin1Limits) {
  Status s;
  EXPECT_EQ(write(NumberEncoding::Bin1, 255, &s)[0], 0xFF);
  ASSERT_TRUE(s.ok());
  write(NumberEncoding::Bin1, 256, &s);
  EXPECT_FALSE(s.ok());
  write(NumberEncoding::Bin1, -1, &s);
  EXPECT_FALSE(s.ok());
}

TEST(Numbers, Bin2WritesLowBytes) {
  Status s;
  auto b = write(NumberEncoding::Bin2, 0x12345, &s);
  ASSERT_TRUE(s.ok());
  EXPECT_EQ(b[0], 0x23);
  EXPECT_EQ(b[1], 0x45);
}

TEST(Numbers, StorageTemperature) {
  Status s;
  auto b = write(NumberEncoding::StorageTemp, 1000, &s);
  EXPECT_EQ(b[0], 0x0A);
  EXPECT_EQ(b[1], 0x00);
  b = write(NumberEncoding::StorageTemp, 1001, &s);
  EXPECT_EQ(b[0], 0x80);
  EXPECT_EQ(b[1], 0x01);
  b = write(NumberEncoding::StorageTemp, 1025, &s);
  EXPECT_EQ(b[0], 0x80);
  EXPECT_EQ(b[1], 0x25);
  b = write(NumberEncoding::StorageTemp, 325, &s);
  EXPECT_EQ(b[0], 0x03);
  EXPECT_EQ(b[1], 0x25);
  ASSERT_TRUE(s.ok());
  write(NumberEncoding::StorageTemp, 13800, &s);
  EXPECT_FALSE(s.ok());

  int64_t v = 0;
  const uint8_t neg[] = {0x80, 0x25};
  ASSERT_TRUE(readNumber(NumberEncoding::StorageTemp, neg, v, "COL").ok());
  EXPECT_EQ(v, 1025);
  const uint8_t pos[] = {0x03, 0x25};
  ASSERT_TRUE(readNumber(NumberEncoding::StorageTemp, pos, v, "COL").ok());
  EXPECT_EQ(v, 325);
}

TEST(Numbers, PackedDigitsReadBack) {
  int64_t v = 0;
  const uint8_t good[] = {0x12, 0x34, 0x56, 0x78};
  ASSERT_TRUE(readNumber(NumberEncoding::Bcd4, good, v, "COL").ok());
  EXPECT_EQ(v, 12345678);
  const uint8_t bad[] = {0x12, 0x3A, 0x00, 0x00};
  Status s = readNumber(NumberEncoding::Bcd4, bad, v, "COL");
  ASSERT_FALSE(s.ok());
  EXPECT_EQ(s.error().fault, Fault::NotDecimal);
}

}  // namespace
}  // namespace brindale::codec
