// Any bytes as a label format record: the reader and the column texts never fail hard, and a
// record that reads (a known size, a packed number) comes back byte for byte from its texts.
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "labelformat/record_codec.h"
#include "labelformat/record_reader.h"
#include "store/schema.h"

using namespace brindale;
using namespace brindale::labelformat;

namespace {

const RecordLayout& layout() {
    static const RecordLayout l = [] {
        const store::Schema s = store::readSchemaFile(BRINDALE_SCHEMA_TEXT);
        const store::TableDef* t = s.find("KVR_34");
        if (!t) std::abort();
        return RecordLayout::fromColumns(t->columns);
    }();
    return l;
}

}  // namespace

// Random bytes seldom have a known size and a packed number, so an odd first byte asks for a
// well-formed record filled from the rest of the input.
Bytes shape(const uint8_t* data, size_t size) {
    if (size < 3 || !(data[0] & 1)) return Bytes(data, data + size);
    static const int sizes[] = {1118, 1400, 1664};
    const int n = sizes[data[1] % 3];
    const int number = data[2] % 99 + 1;
    Bytes r(static_cast<size_t>(n), 0);
    for (size_t i = 6; i < r.size() && size > 3; ++i) r[i] = data[3 + (i - 6) % (size - 3)];
    r[2] = 0;
    r[3] = static_cast<uint8_t>((number / 10) << 4 | (number % 10));
    r[4] = static_cast<uint8_t>(n >> 8);
    r[5] = static_cast<uint8_t>(n & 0xFF);
    return r;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const Bytes record = shape(data, size);
    RecordView view;
    std::string why;
    readRecord(record, layout(), view, &why);

    std::vector<std::pair<int, std::string>> texts;
    if (!recordToColumns(record, layout(), texts)) return 0;
    std::vector<std::string> row(static_cast<size_t>(layout().columnCount()), "0");
    for (auto& [col, text] : texts) row[static_cast<size_t>(col)] = std::move(text);
    auto textOf = [&](int col) { return row[static_cast<size_t>(col)]; };
    Bytes back;
    int bad = -1;
    const bool coded = columnsToRecord(textOf, layout(), back, bad);
    const int stated = record[4] * 256 + record[5];
    int number = 0;
    const bool wellFormed = (stated == 1118 || stated == 1400 || stated == 1664) && record.size() == size_t(stated) &&
                            packedFormatNumber(record, number);
    if (wellFormed && (!coded || back != record)) std::abort();
    return 0;
}
