// The emulated scale's totals read through the decoder: hourly figures that follow the opening
// hours and add up to their period, receipts with a time, transactions agreeing with the PLU
// totals, and the record of the decoders' corners.
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "exchange/totals.h"
#include "totals.h"

using namespace brindale;
using namespace brindale::exchange;
namespace emu = brindale::scaleemu;

namespace {

uint32_t packed(uint64_t n) {
    uint32_t v = 0;
    for (int shift = 0; n; shift += 4, n /= 10) v |= uint32_t(n % 10) << shift;
    return v;
}

emu::Files holding(std::initializer_list<uint64_t> plus) {
    emu::Files held;
    for (uint64_t n : plus) held["25"][packed(n)] = emu::Record(4, 0);
    return held;
}

std::vector<std::string> decoded(const char* code, const emu::Record& r) {
    DecodeSettings s;
    s.priceDecimals = 2;
    return decodeRecord(*totalsLayout(code), r.data(), r.size(), {}, s);
}

std::vector<int64_t> values(const std::string& hourly) {
    std::vector<int64_t> out;
    std::istringstream in(hourly);
    std::string v;
    while (in >> v) {
        v.erase(std::remove(v.begin(), v.end(), '.'), v.end());
        out.push_back(std::stoll(v));
    }
    return out;
}

}  // namespace

TEST(EmulatedTotals, HourlyBlocksFollowOpeningHoursAndAddUpToTheirPeriod) {
    const auto held = holding({12, 345, 6789, 1001, 77});
    const auto recs = emu::makeTotals("46", held);
    ASSERT_EQ(recs.size(), 1u);
    const auto f = decoded("46", recs[0]);
    uint64_t dayCount = 0, dayAmount = 0;
    for (uint64_t n : {12, 345, 6789, 1001, 77}) {
        dayCount += emu::totalsCount(n);
        dayAmount += emu::totalsAmount(n);
    }
    // count 1, amount 1 and the block's first field of each period
    const int periods[4][3] = {{2, 4, 24}, {28, 30, 54}, {58, 60, 84}, {88, 90, 114}};
    for (int p = 0; p < 4; ++p) {
        EXPECT_EQ(f[periods[p][0]], std::to_string(dayCount * emu::kPeriodFactor[p])) << p;
        EXPECT_EQ(f[periods[p][1]], std::to_string(dayAmount * emu::kPeriodFactor[p])) << p;
        const auto counts = values(f[periods[p][2]]);
        const auto amounts = values(f[periods[p][2] + 2]);
        ASSERT_EQ(counts.size(), 24u);
        ASSERT_EQ(amounts.size(), 24u);
        int64_t c = 0, a = 0;
        for (int h = 0; h < 24; ++h) {
            c += counts[size_t(h)];
            a += amounts[size_t(h)];
            if (h < 8 || h > 19) {
                EXPECT_EQ(counts[size_t(h)], 0) << "hour " << h;
                EXPECT_EQ(amounts[size_t(h)], 0) << "hour " << h;
            } else {
                EXPECT_GT(amounts[size_t(h)], 0) << "hour " << h;
            }
        }
        EXPECT_EQ(c, std::stoll(f[periods[p][0]])) << p;
        EXPECT_EQ(a, std::stoll(f[periods[p][1]])) << p;
    }
}

TEST(EmulatedTotals, ReceiptsCarryATimeWithinOpeningHours) {
    const auto recs = emu::makeTotals("52", holding({1, 2, 3, 4, 5}));
    ASSERT_EQ(recs.size(), 5u);
    for (size_t i = 0; i < recs.size(); ++i) {
        const auto f = decoded("52", recs[i]);
        EXPECT_EQ(f[24], std::to_string(emu::receiptTime(i + 1)));
        const int t = std::stoi(f[24]);
        EXPECT_GE(t, 800);
        EXPECT_LE(t, 1959);
        EXPECT_LT(t % 100, 60);
    }
    EXPECT_EQ(emu::receiptTime(1), 1313u);
}

TEST(EmulatedTotals, TransactionsAgreeWithThePluTotals) {
    const auto held = holding({12, 345, 6789});
    const auto plu = emu::makeTotals("26", held);
    const auto trans = emu::makeTotals("2E", held);
    ASSERT_EQ(plu.size(), 3u);
    ASSERT_EQ(trans.size(), 3u);
    for (size_t i = 0; i < 3; ++i) {
        const auto p = decoded("26", plu[i]);
        const auto t = decoded("2E", trans[i]);
        EXPECT_EQ(t[2], p[0]);   // PLU_No
        EXPECT_EQ(t[3], p[5]);   // UnitPrice
        EXPECT_EQ(t[4], p[8]);   // Weight, Day_Weight
        EXPECT_EQ(t[5], p[7]);   // Quantity, Day_Count
        EXPECT_EQ(t[6], p[9]);   // TotalPrice, Day_Amount1
        EXPECT_EQ(t[13], p[9]);  // NetPrice
    }
    const auto p = decoded("26", plu[1]);
    EXPECT_EQ(p[0], "345");
    EXPECT_EQ(p[5], "445");                       // 100 + 345 % 900
    EXPECT_EQ(p[7], "46");                        // 345 % 50 + 1
    EXPECT_EQ(p[9], std::to_string(46 * 445));    // count times unit price
    EXPECT_EQ(p[8], std::to_string(46 * 250));
}

TEST(EmulatedTotals, CornersRecordReachesEveryReadingsEnd) {
    const auto held = holding({12});
    for (const auto& l : totalsLayouts()) {
        const auto plain = emu::makeTotals(l.identifier, held);
        const auto with = emu::makeTotals(l.identifier, held, true);
        ASSERT_EQ(with.size(), plain.size() + 1) << l.table;
        EXPECT_EQ(decoded(l.identifier, with.back())[0], "99999999") << l.table;
    }
    auto f = decoded("26", emu::makeTotals("26", held, true).back());
    EXPECT_EQ(f[4], "0");  // AB CD in a packed field
    EXPECT_EQ(f[7], "-1");
    EXPECT_EQ(f[5], "-1");
    EXPECT_EQ(f[9], "1000000000");
    f = decoded("2E", emu::makeTotals("2E", held, true).back());
    EXPECT_EQ(f[2], "0");  // A1 23 45 67
    EXPECT_EQ(f[11], "255");
    f = decoded("46", emu::makeTotals("46", held, true).back());
    EXPECT_EQ(f[2], "-1");
    EXPECT_EQ(f[4], "1000000000");
    EXPECT_EQ(f[9], "-1");
    EXPECT_EQ(f[124], "0");
    EXPECT_EQ(values(f[24])[12], 23456789);  // 123456789 keeps its rightmost 8 characters
}
