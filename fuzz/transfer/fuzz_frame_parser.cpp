// Feeds arbitrary bytes to the frame splitter, in pieces of varying size,
// and every frame that comes out to the payload readers of both ends (the
// engine's and the scale's) and to the record checks.
#include <cstddef>
#include <cstdint>
#include <string>

#include "transfer/protocol.h"
#include "transfer/records.h"

using namespace brindale::transfer;
using namespace brindale::transfer::proto;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    // The first byte chooses how the stream is cut into reads.
    const size_t piece = 1 + data[0] % 97;
    ++data;
    --size;
    FrameParser parser;
    Frame f;
    std::string why;
    for (size_t pos = 0; pos < size;) {
        const size_t n = size - pos < piece ? size - pos : piece;
        parser.feed(data + pos, n);
        pos += n;
        for (;;) {
            const auto r = parser.next(f);
            if (r != FrameParser::Result::Frame) {
                if (r == FrameParser::Result::Error) return 0;
                break;
            }
            HelloReq hr;
            HelloOk ho;
            RecordBatch rb;
            DeleteReq dr;
            FileReq fr;
            AckMsg am;
            FileInfo fi;
            ErrorMsg em;
            parseHelloReq(f.payload, hr, why);
            parseHelloOk(f.payload, ho, why);
            parseDeleteReq(f.payload, dr, why);
            parseFileReq(f.payload, fr, why);
            parseAck(f.payload, am, why);
            parseFileInfo(f.payload, fi, why);
            parseError(f.payload, em, why);
            if (parseRecordBatch(f.payload, rb, why)) {
                for (const auto& rec : rb.records) {
                    checkRecord(rb.code, rec.data, rec.size);
                    if (rec.size >= 4) (void)recordNumber(rec.data);
                }
            }
        }
    }
    return 0;
}
