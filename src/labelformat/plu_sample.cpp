#include "labelformat/plu_sample.h"

#include "codec/barcode.h"
#include "codec/plu_row.h"
#include "store/codec_sources.h"

namespace brindale::labelformat {

PluSample findPluSample(store::Database& db, int64_t pluNo, const codec::CodecEnvironment& env) {
    PluSample p;
    auto st = db.prepare(
        "SELECT PLU_No, PLU_UPrice, PLU_QTY, PLU_Tare, PLU_CommodityFirst, PLU_EANItemCode, PLU_EANFlags, "
        "PLU_BarFormat, PLU_EANLastByte, ST_No, PLU_MG, PLU_MultiBar1, PLU_MultiBar2, PLU_TMultiBar1, "
        "PLU_TMultiBar2, Stat2B_MBarcode1, Stat2B_MBarcode2, Stat2B_TMBarcode1, Stat2B_TMBarcode2 FROM KVR_25 "
        "WHERE PLU_No=?1 ORDER BY ST_No, rowid LIMIT 1");
    st->bind(1, store::Value(pluNo));
    if (!st->step()) return p;
    p.found = true;
    p.PLU_No = st->columnInt(0);
    p.unitPrice = st->columnInt(1);
    p.quantity = st->columnInt(2);
    p.tare = st->columnInt(3);
    p.name = st->column(4).toText();
    p.barcode.itemCode = st->column(5).toText();
    int64_t flags = st->columnInt(6), format = st->columnInt(7), lastByte = st->columnInt(8);
    codec::PluRow row;
    row.ST_No = st->columnInt(9);
    row.PLU_MG = st->columnInt(10);
    const auto bytesAt = [&](int i) -> codec::Bytes {
        const store::Value v = st->column(i);
        if (!v.isBytes()) return std::nullopt;
        return v.bytes();
    };
    row.PLU_MultiBar1 = bytesAt(11);
    row.PLU_MultiBar2 = bytesAt(12);
    row.PLU_TMultiBar1 = bytesAt(13);
    row.PLU_TMultiBar2 = bytesAt(14);
    row.Stat2B_MBarcode1 = st->columnInt(15);
    row.Stat2B_MBarcode2 = st->columnInt(16);
    row.Stat2B_TMBarcode1 = st->columnInt(17);
    row.Stat2B_TMBarcode2 = st->columnInt(18);
    if (env.codePage) {
        codec::MultiBarcodeBuffers buffers;
        for (int i = 1; i <= 4; ++i) {
            codec::loadMultiBarcodes(row, i, buffers);
            const codec::MultiBarcode m = codec::readMultiBarcode(buffers.buffers[static_cast<size_t>(i - 1)], *env.codePage);
            if (m.inUse) p.multiBarcodes[static_cast<size_t>(i - 1)] = m.text;
        }
    }
    store::DbInheritance inheritance(db);
    if (format == 255) {
        int16_t v = 0;
        if (codec::getInheritedSetting(&inheritance, row, 1, v).ok()) {
            format = v % 100;
            lastByte = v / 100;
        }
    }
    if (flags == 255) {
        int16_t v = 0;
        if (codec::getInheritedSetting(&inheritance, row, 2, v).ok()) flags = v;
    }
    p.barcode.flags = flags;
    p.itfList = lastByte >= 10;
    p.lastByte = lastByte;
    if (env.barcodeLists) {
        const auto& list = p.itfList ? env.barcodeLists->ITF_DISP : env.barcodeLists->EAN_DISP;
        if (const std::string* line = codec::builtInFormatLine(list, format)) p.formatLine = *line;
    }
    return p;
}

}  // namespace brindale::labelformat
