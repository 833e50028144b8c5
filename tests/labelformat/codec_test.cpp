#include <gtest/gtest.h>

#include "labelformat/codec.h"
#include "labelformat/item_string.h"
#include "labelformat/labelformat_fixture.h"
#include "labelformat/record_reader.h"
#include "store/recordset.h"

using namespace brindale;
using namespace brindale::labelformat;
using brindale::labelformat::test::LabelDb;

namespace {

int colWidth(store::Database& db, int ordinal) {
    store::Recordset rs(db, "KVR_34");
    return rs.field(ordinal).size;
}

}  // namespace

TEST(LabelTables, RoundingIsTiesToEven) {
    EXPECT_EQ(roundEven(2.5), 2);
    EXPECT_EQ(roundEven(3.5), 4);
    EXPECT_EQ(roundEven(-2.5), -2);
    EXPECT_EQ(dotsToMm(100), 12);  // 12.5 goes to the even 12
    EXPECT_EQ(dotsToMm(108), 14);  // 13.5 goes to 14
    EXPECT_EQ(mmToDots(56), 448);
}

TEST(LabelTables, SlotAndFontTables) {
    EXPECT_EQ(slotColumn(0), 6);
    EXPECT_EQ(slotColumn(11), 17);
    EXPECT_STREQ(slotTable()[11].ItemType, "B1");
    EXPECT_STREQ(slotTable()[11].ItemLength, "26");
    EXPECT_EQ(slotColumn(58), 0);
    EXPECT_STREQ(slotTable()[98].ItemType, "B1");
    EXPECT_EQ(slotColumn(119), 0);
    EXPECT_EQ(slotColumn(85), 150);
    EXPECT_EQ(fontIndex("A"), 10);
    EXPECT_EQ(fontIndex("B"), 11);
    EXPECT_EQ(fontIndex("26"), 34);
    EXPECT_EQ(fonts()[2].FontWidth, 8);
    EXPECT_EQ(fonts()[2].FontHeight, 16);
    EXPECT_EQ(fontIndex("ZZ"), -1);
}

TEST_F(LabelDb, ShippedWidthsAddUpAndMatchTheClasses) {
    RecordLayout l = layout();
    ASSERT_EQ(l.columnCount(), 153);
    EXPECT_EQ(l.recordBytes(1118), 1118);
    EXPECT_EQ(l.recordBytes(1400), 1400);
    EXPECT_EQ(l.recordBytes(1664), 1664);
    EXPECT_EQ(l.bytes[3], 2);
    EXPECT_EQ(l.bytes[4], 2);
    EXPECT_EQ(l.offset[6], 11);
    for (int s = 0; s < kSlotCount; ++s) {
        const int col = slotColumn(s);
        if (!col) continue;
        EXPECT_EQ(colWidth(db(), col), 2 * classBytes(slotTable()[static_cast<size_t>(s)].ItemType)) << "slot " << s;
    }
}

TEST_F(LabelDb, FormatWithoutRowOpensEmptyAndWritesNothing) {
    FormatState st;
    st.ItemString[0] = "x";
    st.ItemUsed[0] = 1;
    st.FormatSize = 1664;
    EXPECT_FALSE(OpenData(db(), 5, st));
    EXPECT_EQ(st.FormatSize, 1118);
    EXPECT_EQ(st.FormatLevel, 1);
    EXPECT_EQ(st.LabelWidth, "56");
    EXPECT_EQ(st.LabelHeight, "50");
    EXPECT_EQ(st.ItemString[0], "");
    EXPECT_EQ(st.ItemUsed[0], 0);
    EXPECT_EQ(rows("KVR_34"), 0);
}

TEST_F(LabelDb, StoredSizesAreClampedOnOpening) {
    struct Case {
        int wmm, hmm;
        const char *w, *h;
    } cases[] = {{24, 19, "30", "20"}, {60, 221, "56", "220"}, {40, 100, "40", "100"}};
    int n = 1;
    for (const auto& c : cases) {
        {
            store::Recordset rs(db(), "KVR_34");
            rs.addNew();
            rs.setValue(0, store::Value(std::to_string(n)));
            rs.setValue(2, store::Value("45E"));
            rs.setValue(3, store::Value(hex(c.wmm * 8)));
            rs.setValue(4, store::Value(hex(c.hmm * 8)));
            rs.setValue(5, store::Value("1"));
            rs.update();
        }
        FormatState st;
        EXPECT_TRUE(OpenData(db(), n, st));
        EXPECT_EQ(st.LabelWidth, c.w);
        EXPECT_EQ(st.LabelHeight, c.h);
        ++n;
    }
}

TEST_F(LabelDb, FormatNumberIsPackedInTheFirstFourBytes) {
    insertRecord("KVR_34", "", store::Value(makeRecord(7, 1118, 0)));
    decodeFormat(db());
    EXPECT_EQ(columnOf(7, 0), "7");
    codeFormat(db());
    const Bytes b = binOf("KVR_34", 7).bytes();
    ASSERT_EQ(b.size(), 1118u);
    EXPECT_EQ(b[0], 0x00);
    EXPECT_EQ(b[1], 0x00);
    EXPECT_EQ(b[2], 0x00);
    EXPECT_EQ(b[3], 0x07);
    Bytes b11 = makeRecord(11, 1118, 0);
    EXPECT_EQ(b11[3], 0x11);
}

TEST_F(LabelDb, AllZeroColumnDecodesToZeroAndEncodesToZeroBytes) {
    insertRecord("KVR_34", "", store::Value(makeRecord(3, 1118, 0)));
    decodeFormat(db());
    EXPECT_EQ(columnOf(3, 6), "0");
    EXPECT_EQ(columnOf(3, 20), "0");
    EXPECT_EQ(columnOf(3, 2), "045E");
    codeFormat(db());
    const Bytes b = binOf("KVR_34", 3).bytes();
    const RecordLayout l = layout();
    for (int i = 0; i < l.bytes[6]; ++i) EXPECT_EQ(b[static_cast<size_t>(l.offset[6] + i)], 0);
    EXPECT_EQ(b, makeRecord(3, 1118, 0));
}

TEST_F(LabelDb, DecodeThenEncodeKeepsEveryByteOfTheThreeSizes) {
    int number = 1;
    for (int size : {1118, 1400, 1664})
        for (unsigned seed = 1; seed <= 3; ++seed) insertRecord("KVR_34", "", store::Value(makeRecord(number++, size, seed * 97 + size)));
    DecodeReport d = decodeFormat(db());
    EXPECT_TRUE(d.unreadable.empty());
    EXPECT_TRUE(d.oddSize.empty());
    CodeReport c = codeFormat(db());
    EXPECT_TRUE(c.notHex.empty());
    number = 1;
    for (int size : {1118, 1400, 1664})
        for (unsigned seed = 1; seed <= 3; ++seed) {
            const int n = number++;
            EXPECT_EQ(binOf("KVR_34", n).bytes(), makeRecord(n, size, seed * 97 + size)) << "format " << n;
        }
}

TEST_F(LabelDb, OddSizeDecodesWithTheShortLoopAndOpensAs1664) {
    Bytes b = makeRecord(9, 1646, 5);
    insertRecord("KVR_34", "9", store::Value(b));
    DecodeReport d = decodeFormat(db());
    ASSERT_EQ(d.oddSize.size(), 1u);
    EXPECT_EQ(d.oddSize[0].size, 1646);
    EXPECT_EQ(columnOf(9, 2), "066E");
    // Column 110 lies behind the 1118 loop: untouched, still empty.
    EXPECT_EQ(columnOf(9, 110), "");
    FormatState st;
    ASSERT_TRUE(OpenData(db(), 9, st));
    EXPECT_EQ(st.FormatSize, 1664);
    // Saved from the editor, it goes out as a whole 1664 record.
    SaveData(db(), 9, st);
    codeFormat(db());
    const Bytes out = binOf("KVR_34", 9).bytes();
    ASSERT_EQ(out.size(), 1664u);
    EXPECT_EQ(out[4], 0x06);
    EXPECT_EQ(out[5], 0x80);
}

TEST_F(LabelDb, OneCharacterFontCodeShiftsTheItemInTheRecord) {
    FormatState st;
    ItemEdit e;
    e.posX = "3";
    e.posY = "4";
    e.ItemAttr = "0070";
    e.ItemValue = fonts()[10].FontCode;  // "A"
    const std::string s = SaveTempItemString(0, e);
    EXPECT_EQ(s, "001800200070A06");
    EXPECT_EQ(s.size(), 15u);
    st.ItemString[0] = s;
    st.ItemUsed[0] = 1;
    SaveData(db(), 1, st);
    codeFormat(db());
    const Bytes b = binOf("KVR_34", 1).bytes();
    const RecordLayout l = layout();
    EXPECT_EQ(ByteToString(b, static_cast<size_t>(l.offset[6]), static_cast<size_t>(l.offset[6] + 7)), "0001800200070A06");
    // Read back, X and Y are those of the shifted digits.
    ItemFields f = readItemString(0, "0001800200070A06");
    EXPECT_EQ(f.x, 0x0001);
    EXPECT_EQ(f.y, 0x8002);
}

TEST_F(LabelDb, LineKeepsItsEndPointAndReadsFromTheSmallerCorner) {
    // A line from (12, 5) to (2, 5) millimetres.
    const std::string s = hex(12 * 8, 4) + hex(5 * 8, 4) + "0070" + hex(2 * 8, 4) + hex(5 * 8, 4) + "0004";
    FormatState st;
    st.ItemString[21] = s;
    st.ItemUsed[21] = 1;
    SaveData(db(), 2, st);
    codeFormat(db());
    decodeFormat(db());
    const std::string back = columnOf(2, 30);
    EXPECT_EQ(back, s);
    EXPECT_EQ(mid(back, 13, 8), "00100028");
    ItemFields f = readItemString(21, back);
    EXPECT_EQ(f.x, 16);
    EXPECT_EQ(f.y, 40);
    EXPECT_EQ(f.width, 80);
    EXPECT_EQ(f.height, 0);
    EXPECT_EQ(f.value, "0004");
}

namespace {
FormatState withUsed(std::initializer_list<int> used, int size = 1118, int level = 1) {
    FormatState st;
    st.FormatSize = size;
    st.FormatLevel = level;
    for (int i : used) st.ItemUsed[static_cast<size_t>(i)] = 1;
    return st;
}
}  // namespace

TEST(LabelSizeRule, RangesDecideSizeAndLevel) {
    for (int i : {65, 70, 76}) {
        FormatState st = withUsed({0, i});
        applySizeRule(st);
        EXPECT_EQ(st.FormatSize, 1400) << i;
        EXPECT_EQ(st.FormatLevel, 3) << i;
    }
    for (int i : {77, 80, 85}) {
        FormatState st = withUsed({i});
        applySizeRule(st);
        EXPECT_EQ(st.FormatSize, 1664) << i;
        EXPECT_EQ(st.FormatLevel, 7) << i;
    }
    for (int i : {109, 117}) {
        FormatState st = withUsed({i});
        applySizeRule(st);
        EXPECT_EQ(st.FormatSize, 1400) << i;
        EXPECT_EQ(st.FormatLevel, 3) << i;
    }
    // 77..85 ends the walk before a later total slot.
    FormatState a = withUsed({66, 78, 110});
    applySizeRule(a);
    EXPECT_EQ(a.FormatSize, 1664);
    // Other slots change nothing; a format that reached 1664 stays there.
    FormatState b = withUsed({0, 64, 86, 118}, 1664, 7);
    applySizeRule(b);
    EXPECT_EQ(b.FormatSize, 1664);
    EXPECT_EQ(b.FormatLevel, 7);
    FormatState c = withUsed({0, 10});
    applySizeRule(c);
    EXPECT_EQ(c.FormatSize, 1118);
    // At 1664 with only 65..76 or 109..117 used, it falls back to 1400.
    FormatState d = withUsed({70}, 1664, 7);
    applySizeRule(d);
    EXPECT_EQ(d.FormatSize, 1400);
    EXPECT_EQ(d.FormatLevel, 3);
    FormatState e = withUsed({112}, 1664, 7);
    applySizeRule(e);
    EXPECT_EQ(e.FormatSize, 1400);
}

TEST_F(LabelDb, MergeYesNoNewAndTwoScalesWithOneNumber) {
    insertRecord("KVR_34", "", store::Value(makeRecord(7, 1118, 1)));
    decodeFormat(db());
    const Bytes old7 = binOf("KVR_34", 7).bytes();
    const Bytes up7 = makeRecord(7, 1118, 2), up12 = makeRecord(12, 1400, 3);
    insertRecord("RC_34", "", store::Value(up7));
    insertRecord("RC_34", "", store::Value(up12));
    MergeReport no = mergeUploaded(db(), false);
    EXPECT_EQ(no.kept, std::vector<int>{7});
    EXPECT_EQ(no.added, std::vector<int>{12});
    EXPECT_EQ(binOf("KVR_34", 7).bytes(), old7);
    EXPECT_EQ(binOf("KVR_34", 12).bytes(), up12);
    EXPECT_EQ(rows("RC_34"), 0);
    decodeFormat(db());
    EXPECT_EQ(columnOf(12, 0), "12");
    EXPECT_EQ(columnOf(12, 2), "0578");

    // Yes: the same number from two scales, the later row wins.
    const Bytes a7 = makeRecord(7, 1118, 4), b7 = makeRecord(7, 1664, 5);
    insertRecord("RC_34", "", store::Value(a7));
    insertRecord("RC_34", "", store::Value(b7));
    MergeReport yes = mergeUploaded(db(), true);
    EXPECT_EQ(yes.replaced, (std::vector<int>{7, 7}));
    EXPECT_EQ(binOf("KVR_34", 7).bytes(), b7);
    EXPECT_EQ(rows("KVR_34"), 2);

    // A new number from two scales: added once, then treated by the answer.
    insertRecord("RC_34", "", store::Value(makeRecord(30, 1118, 6)));
    insertRecord("RC_34", "", store::Value(makeRecord(30, 1118, 7)));
    MergeReport twice = mergeUploaded(db(), false);
    EXPECT_EQ(twice.added, std::vector<int>{30});
    EXPECT_EQ(twice.kept, std::vector<int>{30});
    EXPECT_EQ(binOf("KVR_34", 30).bytes(), makeRecord(30, 1118, 6));
}

TEST_F(LabelDb, FetchedRecordWithoutPackedNumberIsNotMerged) {
    Bytes bad = makeRecord(5, 1118, 0);
    bad[3] = 0x0A;
    Bytes zero = makeRecord(0, 1118, 0);
    Bytes big = makeRecord(100, 1118, 0);
    insertRecord("RC_34", "", store::Value(bad));
    insertRecord("RC_34", "", store::Value(zero));
    insertRecord("RC_34", "", store::Value(big));
    insertRecord("RC_34", "", store::Value(Bytes{1, 2}));
    MergeReport r = mergeUploaded(db(), true);
    EXPECT_EQ(r.rejected, (std::vector<std::string>{"0000000A", "00000000", "00000100", "(2 bytes)"}));
    EXPECT_TRUE(r.added.empty());
    EXPECT_EQ(rows("KVR_34"), 0);
    EXPECT_EQ(rows("RC_34"), 0);
}

TEST_F(LabelDb, UnreadableRecordsAreNamedAndLeftAlone) {
    insertRecord("KVR_34", "4", store::Value());
    insertRecord("KVR_34", "5", store::Value(Bytes(700, 0x11)));
    Bytes shortOne = makeRecord(6, 1400, 1);
    shortOne.resize(1200);
    insertRecord("KVR_34", "6", store::Value(shortOne));
    insertRecord("KVR_34", "", store::Value(makeRecord(8, 1118, 2)));
    DecodeReport d = decodeFormat(db());
    ASSERT_EQ(d.unreadable.size(), 3u);
    EXPECT_EQ(d.unreadable[0].format, "4");
    EXPECT_EQ(d.unreadable[0].length, 0u);
    EXPECT_EQ(d.unreadable[1].length, 700u);
    EXPECT_EQ(d.unreadable[2].format, "6");
    EXPECT_EQ(d.unreadable[2].length, 1200u);
    EXPECT_EQ(columnOf(6, 2), "");
    EXPECT_EQ(columnOf(8, 0), "8");
}

TEST_F(LabelDb, NonHexTextIsNamedAndTheRecordStays) {
    const Bytes rec = makeRecord(4, 1118, 9);
    insertRecord("KVR_34", "", store::Value(rec));
    insertRecord("KVR_34", "", store::Value(makeRecord(5, 1118, 0)));
    decodeFormat(db());
    {
        store::Recordset rs(db(), "KVR_34");
        rs.setValue(6, store::Value("00G1"));
        rs.update();
        rs.moveNext();
        rs.setValue(6, store::Value("0018002000700202"));
        rs.update();
    }
    CodeReport c = codeFormat(db());
    ASSERT_EQ(c.notHex.size(), 1u);
    EXPECT_EQ(c.notHex[0].format, "4");
    EXPECT_EQ(c.notHex[0].column, "PF_Item01");
    EXPECT_EQ(c.notHex[0].text, "00G1");
    EXPECT_EQ(binOf("KVR_34", 4).bytes(), rec);
    const Bytes five = binOf("KVR_34", 5).bytes();
    EXPECT_EQ(five[11], 0x00);
    EXPECT_EQ(five[12], 0x18);
}

TEST_F(LabelDb, SaveOpenKeepsItemsAndTheUsedTest) {
    FormatState st;
    st.LabelWidth = "40";
    st.LabelHeight = "30";
    st.ItemString[0] = "0018002000700206";
    st.ItemUsed[0] = 1;
    st.ItemString[1] = "0000000000000007";  // only the character count: not placed
    st.ItemString[5] = "0000000000000100";  // flag "0": a digit third from the end counts
    st.ItemString[7] = "0018002000700010008002000000";
    applySizeRule(st);
    SaveData(db(), 20, st);
    EXPECT_EQ(columnOf(20, 0), "20");
    EXPECT_EQ(columnOf(20, 2), "45E");
    EXPECT_EQ(columnOf(20, 3), "140");
    EXPECT_EQ(columnOf(20, 4), "F0");
    EXPECT_EQ(columnOf(20, 8), "0");  // slot 2, empty
    FormatState back;
    ASSERT_TRUE(OpenData(db(), 20, back));
    EXPECT_EQ(back.LabelWidth, "40");
    EXPECT_EQ(back.LabelHeight, "30");
    EXPECT_EQ(back.ItemString[0], st.ItemString[0]);
    EXPECT_EQ(back.ItemUsed[0], 1);
    EXPECT_EQ(back.ItemUsed[1], 0);
    EXPECT_EQ(back.ItemUsed[5], 1);
    EXPECT_EQ(back.ItemUsed[7], 1);
    EXPECT_EQ(back.ItemUsed[2], 0);
}

TEST_F(LabelDb, RecordReaderPlacesTheItemsTheScaleGets) {
    FormatState st;
    st.ItemString[0] = "0018002040700206";  // angle 90, status 7
    st.ItemUsed[0] = 1;
    st.ItemString[11] = "000800100030003000700000";
    st.ItemUsed[11] = 1;
    st.ItemString[77] = "0010001000000131";  // slot 77 needs a 1664 record
    st.ItemUsed[77] = 1;
    applySizeRule(st);
    ASSERT_EQ(st.FormatSize, 1664);
    SaveData(db(), 3, st);
    codeFormat(db());
    RecordView v;
    std::string why;
    ASSERT_TRUE(readRecord(binOf("KVR_34", 3).bytes(), layout(), v, &why)) << why;
    EXPECT_EQ(v.number, 3);
    EXPECT_EQ(v.size, 1664);
    EXPECT_EQ(v.widthDots, 448);
    EXPECT_EQ(v.heightDots, 400);
    EXPECT_EQ(v.level, 7);
    ASSERT_EQ(v.items.size(), 3u);
    EXPECT_EQ(v.items[0].slot, 0);
    EXPECT_EQ(v.items[0].fields.angle, 1);
    EXPECT_EQ(v.items[0].fields.font, 2);
    EXPECT_EQ(v.items[0].fields.width, 8 * 6);
    EXPECT_EQ(v.items[1].cls, "B1");
    EXPECT_EQ(v.items[1].fields.height, 0x30);
    EXPECT_EQ(v.items[1].fields.width, 0x70);
    EXPECT_EQ(v.items[2].slot, 77);
    EXPECT_EQ(v.items[2].fields.status, 0);  // a status digit of 0
    // A record shorter than its size's loop is refused with a reason.
    Bytes cut = binOf("KVR_34", 3).bytes();
    cut.resize(1500);
    EXPECT_FALSE(readRecord(cut, layout(), v, &why));
    EXPECT_NE(why.find("1500"), std::string::npos);
}
