// The end keeps label formats: a row whose record a scale would refuse writes the last good
// record the mirror held for that format, and the operator is told which format and why.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "mirror/mirror_fixture.h"
#include "store/recordset.h"

using namespace brindale;
using brindale::testing::MirrorChain;

namespace {

store::Bytes formatRecord(int number, size_t size, unsigned seed) {
    store::Bytes b(size, 0);
    std::mt19937 rng(seed);
    for (auto& x : b) x = static_cast<uint8_t>(rng() & 0xFF);
    b[0] = 0;
    b[1] = 0;
    b[2] = static_cast<uint8_t>(((number / 1000) % 10) << 4 | ((number / 100) % 10));
    b[3] = static_cast<uint8_t>(((number / 10) % 10) << 4 | (number % 10));
    b[4] = static_cast<uint8_t>(size >> 8);
    b[5] = static_cast<uint8_t>(size & 0xFF);
    return b;
}

// Written around the recordset so that any value, text included, lands as it is.
void setRecord(MirrorChain& c, const std::string& number, const store::Value& v) {
    auto st = c.db().prepare("UPDATE KVR_34 SET KVRBinData=?1 WHERE PF_No=?2");
    st->bind(1, v);
    st->bind(2, store::Value(number));
    st->step();
}

store::Value recordOf(MirrorChain& c, const std::string& number) {
    store::Recordset rs(c.db(), "KVR_34");
    for (; !rs.eof(); rs.moveNext())
        if (rs.value("PF_No").toText() == number) return rs.value("KVRBinData");
    return {};
}

std::string warningAbout(const std::vector<std::string>& warnings, const std::string& name) {
    for (const auto& w : warnings)
        if (w.rfind(name + ":", 0) == 0) return w;
    return "";
}

std::string joined(const std::vector<store::Bytes>& records) {
    std::string s;
    for (const auto& r : records) s.append(r.begin(), r.end());
    return s;
}

}  // namespace

TEST(LabelFormatMirror, DamagedRecordsKeepTheLastGoodOneAndTheEndNamesTheFormat) {
    const store::Bytes five = formatRecord(5, 1664, 11), six = formatRecord(6, 1118, 12), eight = formatRecord(8, 1400, 13);
    MirrorChain c;
    c.start();
    c.add("KVR_34", {{"PF_No", "5"}, {"KVRBinData", five}});
    c.add("KVR_34", {{"PF_No", "6"}, {"KVRBinData", six}});
    c.add("KVR_34", {{"PF_No", "8"}, {"KVRBinData", eight}});
    const auto first = c.end();
    for (const char* n : {"5", "6", "8"}) EXPECT_EQ(warningAbout(first, std::string("Label format ") + n), "");
    ASSERT_EQ(c.app.read("AccessData/tempformatkvr.txt"), joined({five, six, eight}));

    c.start();
    // 5: an odd size, as a 1646 record written back as 1118 bytes; 6: no packed number.
    store::Bytes odd = five;
    odd.resize(1118);
    odd[4] = 1646 >> 8;
    odd[5] = 1646 & 0xFF;
    setRecord(c, "5", odd);
    store::Bytes unpacked = six;
    unpacked[3] = 0xAB;
    setRecord(c, "6", unpacked);
    // 7: damaged with nothing earlier, but it can still be framed: it is not blanked.
    const store::Bytes seven = formatRecord(7, 1646, 14);
    c.add("KVR_34", {{"PF_No", "7"}, {"KVRBinData", seven}});
    const auto second = c.end();

    EXPECT_EQ(c.app.read("AccessData/tempformatkvr.txt"), joined({five, six, eight, seven}))
        << "the mirror does not hold the last good records byte for byte";
    const std::string w5 = warningAbout(second, "Label format 5");
    EXPECT_NE(w5.find("of 1118 bytes gives 1646 as its length"), std::string::npos) << w5;
    EXPECT_NE(w5.find("last good record of 1664 bytes was kept"), std::string::npos) << w5;
    const std::string w6 = warningAbout(second, "Label format 6");
    EXPECT_NE(w6.find("no packed number"), std::string::npos) << w6;
    EXPECT_NE(w6.find("last good record"), std::string::npos) << w6;
    // 7 changed nothing: it is written as it stands, as the editor lists it on opening.
    EXPECT_EQ(warningAbout(second, "Label format 7"), "");
    EXPECT_EQ(warningAbout(second, "Label format 8"), "");

    c.start();
    EXPECT_EQ(recordOf(c, "5"), store::Value(five));
    EXPECT_EQ(recordOf(c, "6"), store::Value(six));
    EXPECT_EQ(recordOf(c, "7"), store::Value(seven));
    c.end();
}

TEST(LabelFormatMirror, TextWhereTheRecordShouldBeIsReplacedByTheLastGoodRecord) {
    const store::Bytes nine = formatRecord(9, 1400, 21);
    MirrorChain c;
    c.start();
    c.add("KVR_34", {{"PF_No", "9"}, {"KVRBinData", nine}});
    c.end();
    c.start();
    setRecord(c, "9", store::Value(std::string("0A1B2C not a record")));
    const auto w = c.end();
    EXPECT_NE(warningAbout(w, "Label format 9").find("text, not a record"), std::string::npos);
    EXPECT_EQ(c.app.read("AccessData/tempformatkvr.txt"), joined({nine}));
}
