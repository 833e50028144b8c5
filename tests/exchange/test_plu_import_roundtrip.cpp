// 100,000 generated PLUs out with every importable column and back into an empty table.
#include <chrono>

#include "chain_generator.h"
#include "exchange/import_settings.h"
#include "exchange/plu_export.h"
#include "exchange/plu_import.h"
#include "plu_exchange_fixture.h"

namespace brindale::testing {
namespace {

class PluRoundTrip : public PluExchangeTest {};

std::string cutTo50(const std::string& utf8) {
    size_t pos = 0, n = 0;
    while (pos < utf8.size() && n < 50) {
        const auto b = static_cast<unsigned char>(utf8[pos]);
        pos += b < 0x80 ? 1 : (b >> 5) == 6 ? 2 : (b >> 4) == 14 ? 3 : 4;
        ++n;
    }
    return utf8.substr(0, pos);
}

TEST_F(PluRoundTrip, HundredThousandPlusWithAllColumnsComeBackTheSame) {
    datagen::ChainShape shape;
    shape.plus = 100000;
    chain.generate(shape, 11);
    const auto& items = chain.state->lang.section("ImportOrExportItem");
    ASSERT_EQ(items.size(), 38u);
    std::vector<std::string> columns;
    for (size_t i = 0; i < items.size(); ++i) columns.push_back(items.valueAt(i));
    const codec::CodePage& page = *chain.state->codePage;

    std::string select = "SELECT ";
    for (size_t i = 0; i < columns.size(); ++i) select += (i ? "," : "") + columns[i];
    select += " FROM KVR_25 ORDER BY rowid";
    auto snapshot = [&] {
        std::vector<std::vector<store::Value>> rows;
        auto st = db().prepare(select);
        while (st->step()) {
            std::vector<store::Value> row;
            for (int i = 0; i < st->columnCount(); ++i) row.push_back(st->column(i));
            rows.push_back(std::move(row));
        }
        return rows;
    };
    const auto before = snapshot();
    ASSERT_EQ(before.size(), 100000u);

    exchange::ExportOptions eo;
    eo.columns = columns;
    eo.priceDecimals = chain.state->settings.PriceDecimals;
    eo.weightDecimals = chain.state->settings.WeightDecimals;
    eo.codePage = &page;
    const auto er = exchange::exportPlus(db(), file("all.txt"), eo);
    ASSERT_TRUE(er.ok) << er.error;
    ASSERT_EQ(er.rows, 100000);

    db().exec("DELETE FROM KVR_25");
    exchange::ImportOptions io;
    io.columns = columns;
    io.weightFlag = "0";
    io.stNo = 1;
    io.priceDecimals = eo.priceDecimals;
    io.weightDecimals = eo.weightDecimals;
    io.decimalSign = chain.state->settings.DecimalSign();
    io.codePage = &page;
    io.barcodeLists = &chain.state->barcodeLists;
    const auto ir = exchange::importPlus(db(), file("all.txt"), io);
    ASSERT_EQ(ir.outcome, exchange::ImportOutcome::Ok) << ir.error;
    EXPECT_EQ(ir.added, 100000);
    const auto after = snapshot();
    ASSERT_EQ(after.size(), before.size());

    long texts = 0;
    for (size_t r = 0; r < before.size(); ++r) {
        for (size_t c = 0; c < columns.size(); ++c) {
            const store::Value& a = before[r][c];
            const store::Value& b = after[r][c];
            if (exchange::textColumnIndex(columns[c]) >= 0) {
                // One line of at most 50 characters, the lines joined by a blank.
                std::string expected;
                if (a.isBytes()) {
                    const auto& bytes = a.bytes();
                    const std::string joined = exchange::joinedBlockText(bytes.data(), bytes.size());
                    expected = cutTo50(page.decode(reinterpret_cast<const uint8_t*>(joined.data()), joined.size()));
                }
                std::string got;
                if (b.isBytes()) {
                    const auto& bytes = b.bytes();
                    ASSERT_GE(bytes.size(), 3u);
                    ASSERT_EQ(bytes[1], bytes.size() - 3);
                    ASSERT_EQ(bytes.back(), 0x0C);
                    got = page.decode(bytes.data() + 2, bytes.size() - 3);
                    ++texts;
                }
                ASSERT_EQ(got, expected) << "row " << r << " " << columns[c];
            } else {
                ASSERT_EQ(a.toText(), b.toText()) << "row " << r << " " << columns[c];
            }
        }
    }
    EXPECT_GT(texts, 100000);  // the generated chain has texts in every PLU
}

}  // namespace
}  // namespace brindale::testing
