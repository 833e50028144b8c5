// The barcode format lines as shipped in ini/ParameterPLU1.ini, read the way the program reads
// them, and a PLU of a format whose line differs from its neighbour's, through a whole run.
#include <gtest/gtest.h>

#include <cstdio>

#include "codec/barcode.h"
#include "codec/plu_record.h"
#include "mirror_fixture.h"
#include "shell/program_state.h"

using namespace brindale;
using brindale::testing::MirrorChain;
using brindale::testing::TempApp;

namespace {

// N of a line as written in the file, found by its key rather than by position.
int digitsOfKeyedLine(const std::string& line) {
    // "a,b,N,..." or "a,b,NN,...": the third field.
    const size_t first = line.find(','), second = line.find(',', first + 1);
    const size_t third = line.find(',', second + 1);
    return std::stoi(line.substr(second + 1, third == std::string::npos ? std::string::npos : third - second - 1));
}

std::string key(int format) {
    char buf[8];
    std::snprintf(buf, sizeof buf, "B%02d", format);
    return buf;
}

}  // namespace

// Every format 0..32 of both edit lists, in all three language blocks: the codec's N is the N of
// the line keyed Bk.
TEST(ShippedBarcodeLists, FormatKReadsTheLineKeyedBkInEveryLanguageBlock) {
    TempApp app;
    for (const char* language : {"Standard", "Chinese", "Other"}) {
        shell::ProgramState st;
        st.appDir = app.dir();
        st.lang.loadAll(st.appDir, language);
        st.prepareCodec();
        const codec::BarcodeLists& lists = st.barcodeLists;
        int differingNeighbours = 0;
        for (int64_t kind = 0; kind <= 1; ++kind) {
            const char* section = kind == 1 ? "EAN_EDIT" : "ITF_EDIT";
            const shell::LanguageTable& table = st.lang.section(section);
            ASSERT_EQ(table.keyAt(0), "REF") << language << " " << section;
            for (int k = 0; k <= 32; ++k) {
                const std::string* keyed = table.find(key(k));
                ASSERT_NE(keyed, nullptr) << language << " " << section << " " << key(k);
                const std::string* line = codec::builtInFormatLine(kind == 1 ? lists.EAN_EDIT : lists.ITF_EDIT, k);
                ASSERT_NE(line, nullptr) << language << " " << section << " " << k;
                EXPECT_EQ(*line, *keyed) << language << " " << section << " format " << k;
                int n = -1;
                ASSERT_TRUE(codec::builtInFormatItemDigits(&lists, k, kind, n).ok()) << section << " " << k;
                EXPECT_EQ(n, digitsOfKeyedLine(*keyed)) << language << " " << section << " format " << k;
                const std::string& before = k == 0 ? table.text("REF") : *table.find(key(k - 1));
                if (digitsOfKeyedLine(before) != digitsOfKeyedLine(*keyed)) ++differingNeighbours;
            }
        }
        // The lists are such that a reading one line off shows: many formats differ from the line before.
        EXPECT_GE(differingNeighbours, 20) << language;
    }
}

// One store, one PLU of format 24 (line B24=1,0,7: N 7) with the item code 7102732 and last byte
// 6: after a start and a clean end its record is the same, byte for byte. Format 23 gives N 4.
TEST(ShippedBarcodeLists, PluOfFormat24KeepsItsSevenDigitItemCodeThroughARun) {
    MirrorChain c;
    c.start();
    const codec::CodecEnvironment env = c.state->codecEnvironment();
    codec::PluRow row;
    row.PLU_No = 1;
    row.ST_No = 1;
    row.SECT_No = 1;
    row.PLU_UPrice = 0;
    row.PLU_MG = 997;
    row.PLU_BarFormat = 24;
    row.PLU_EANLastByte = 6;
    row.PLU_EANItemCode = "7102732";
    row.Stat2_ItemCode = 1;
    codec::EncoderContext ctx(env);
    ASSERT_TRUE(codec::encodePluRecord(ctx, row, false).ok());
    const std::vector<uint8_t> record = *row.KVRBinData;
    ASSERT_EQ(record.size(), 24u);
    const std::vector<uint8_t> ean = {0x71, 0x02, 0x73, 0x20, 0x00, 0x06};
    ASSERT_NE(std::search(record.begin(), record.end(), ean.begin(), ean.end()), record.end());
    c.end();

    c.app.write("AccessData/tempstore.txt", " 1 \r\nMain street\r\n 0 \r\n 0 \r\n 0 \r\n 1 \r\n0\r\n 1 \r\n");
    c.app.write("AccessData/tempplu.txt", " 1 \r\n 1 \r\n 1 \r\n");
    c.app.write("AccessData/tempplukvr.txt", std::string(record.begin(), record.end()));
    c.start();
    {
        store::Recordset rs(c.db(), "KVR_25");
        ASSERT_EQ(rs.recordCount(), 1);
        EXPECT_EQ(rs.textValue("PLU_EANItemCode"), "7102732");
        EXPECT_EQ(rs.intValue("PLU_EANLastByte"), 6);
        EXPECT_EQ(rs.intValue("PLU_BarFormat"), 24);
    }
    c.end();
    const std::string after = c.app.read("AccessData/tempplukvr.txt");
    EXPECT_EQ(std::vector<uint8_t>(after.begin(), after.end()), record);
}
