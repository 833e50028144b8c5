// Any bytes through the report format readers: the format record, the sequence record, the line
// stream parser and the placeholder decoder. Whatever reads without a fault must come back the
// same when built again.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "reportformat/report_format.h"

using namespace brindale::reportformat;

namespace {

const ReportCatalogue& catalogue() {
    static const ReportCatalogue c = [] {
        ReportCatalogue k;
        // A number of every sample kind, spread over the lists.
        const int numbers[] = {1001, 1002, 1003, 3001, 3002, 3003, 4002, 5002, 6001, 6002, 7001,
                               7002, 7003, 1313, 1314, 3101, 8100, 8101, 8103, 8104, 8331};
        int t = 0;
        for (int n : numbers) {
            k.lists[static_cast<size_t>(t % kTypeCount)].numbers.push_back(n);
            k.lists[static_cast<size_t>(t % kTypeCount)].items.push_back("item " + std::to_string(n));
            ++t;
        }
        k.index();
        return k;
    }();
    return c;
}

void check(bool ok) {
    if (!ok) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    const uint8_t mode = data[0] % 4;
    const uint8_t* rec = data + 1;
    const size_t n = size - 1;
    switch (mode) {
        case 0: {
            const FormatRecordView v = readFormatRecord(rec, n);
            if (v.error.empty()) {
                // Well formed: the fields and stream build the same bytes (bytes 21 to 31 zero).
                FormatRecordFields f = v.fields;
                if (f.data && *f.data == emptyLineStream()) f.data.reset();
                const auto again = buildFormatRecord(f);
                check(again.has_value());
                // A code, range or condition that is not packed decimal reads as 0 and is then
                // written as 0: compare only where the reader could read it.
                if (unpackNumber(rec) && unpackNumber(rec + 8) && unpackNumber(rec + 12) && unpackNumber(rec + 16))
                    check(again->size() == n && std::memcmp(again->data(), rec, n) == 0);
            }
            break;
        }
        case 1: {
            const SequenceRecordView v = readSequenceRecord(rec, n);
            if (v.error.empty()) {
                // Bytes 6 and 7 are not looked into (a scale takes them as they come) and are
                // written as zero.
                std::vector<uint8_t> expected(rec, rec + n);
                expected[6] = expected[7] = 0;
                const auto again = buildSequenceRecord(v.fields);
                check(again.has_value() && *again == expected);
            }
            break;
        }
        case 2: {
            const ParsedStream p = parseLineStream(rec, n);
            check(p.lines.size() <= static_cast<size_t>(kMaxLines));
            if (!p.damage && p.endedAtLastByte) {
                // Line ends other than 0D read as 0D, and an empty text is written as a blank.
                bool canonical = true;
                for (const Line& l : p.lines) canonical = canonical && !l.text.empty();
                const Bytes again = buildLineStream(p.lines);
                if (canonical) {
                    check(again.size() == n);
                    const ParsedStream q = parseLineStream(again);
                    check(!q.damage && q.lines.size() == p.lines.size());
                    for (size_t k = 0; k < p.lines.size(); ++k)
                        check(q.lines[k].font == p.lines[k].font && q.lines[k].text == p.lines[k].text);
                }
            }
            break;
        }
        default: {
            const std::string text(reinterpret_cast<const char*>(rec), n);
            const std::string out = decodeStr(text, catalogue());
            const std::string names = decodeNames(text, catalogue());
            // Without the signs nothing changes.
            if (text.find("%%") == std::string::npos) check(out == text && names == text);
            break;
        }
    }
    return 0;
}
