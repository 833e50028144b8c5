// Arbitrary bytes as one kind of auxiliary scale file record (chosen when the target is built):
// a decoder must never crash nor read past its bytes, and what it accepts must encode again to
// the same bytes.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>
#include <vector>

#include "scalefiles/records.h"

using namespace brindale::scalefiles;

namespace {

// Ends the run loudly: a decoded record that does not encode back is a finding.
void require(bool condition) {
    if (!condition) std::abort();
}

template <class Decoded, class Encode>
void roundTrip(const Decoded& d, std::span<const uint8_t> in, Encode encode) {
    if (!d) return;
    const auto again = encode(*d);
    require(again && *again == std::vector<uint8_t>(in.begin(), in.end()));
}

// The longest input worth trying: a record of fixed size refuses every other length at once, so
// longer inputs only cost copying. Given before the command line's flags, which may override it.
#if defined(BRINDALE_FUZZ_CONTAINER) || defined(BRINDALE_FUZZ_DATE_TIME) || defined(BRINDALE_FUZZ_SCROLL_SEQUENCE)
constexpr const char* kMaxLen = "-max_len=64";  // records of 10, 14 and 21 bytes
#elif defined(BRINDALE_FUZZ_SCROLL_MESSAGE)
constexpr const char* kMaxLen = "-max_len=300";  // 8 bytes and at most 255 of text
#elif defined(BRINDALE_FUZZ_LOGO)
constexpr const char* kMaxLen = "-max_len=1100";  // 1030 bytes
#else
constexpr const char* kMaxLen = nullptr;  // text files and images: libFuzzer's own limit
#endif

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    if (!kMaxLen) return 0;
    static std::vector<char*> args;
    static std::string flag = kMaxLen;
    args.assign(*argv, *argv + *argc);
    args.insert(args.begin() + 1, flag.data());
    args.push_back(nullptr);
    *argc = static_cast<int>(args.size()) - 1;
    *argv = args.data();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // Copy into a buffer of exactly `size` bytes so that the sanitizer sees any read past it.
    const std::vector<uint8_t> buf(data, data + size);
    const std::span<const uint8_t> in(buf);
#if defined(BRINDALE_FUZZ_TEXT_FILE)
    roundTrip(decodeTextFile(in), in, encodeTextFile);
#elif defined(BRINDALE_FUZZ_CONTAINER)
    roundTrip(decodeContainer(in), in, encodeContainer);
#elif defined(BRINDALE_FUZZ_DATE_TIME)
    const auto d = decodeDateTime(in);
    // The record keeps the year's last two digits; the decoder gives them back in this century.
    roundTrip(d, in, encodeDateTime);
#elif defined(BRINDALE_FUZZ_SCROLL_MESSAGE)
    roundTrip(decodeScrollMessage(in), in, encodeScrollMessage);
#elif defined(BRINDALE_FUZZ_SCROLL_SEQUENCE)
    roundTrip(decodeScrollSequence(in), in, encodeScrollSequence);
#elif defined(BRINDALE_FUZZ_IMAGE)
    // The first byte cuts the rest into records: block-sized pieces, then what is left.
    if (size < 1) return 0;
    std::vector<RecordBytes> records;
    const std::size_t blocks = buf[0] % 4;
    std::size_t p = 1;
    for (std::size_t i = 0; i < blocks && p < size; ++i) {
        const std::size_t n = std::min(kImageBlockSize, size - p);
        records.emplace_back(buf.begin() + p, buf.begin() + p + n);
        p += n;
    }
    records.emplace_back(buf.begin() + p, buf.end());
    (void)decodeImageBlock(in);
    (void)decodeImageEnd(in);
    const auto d = decodeImage(records);
    if (d) require(d->printed.pixels.size() == static_cast<std::size_t>(d->printed.width) * d->printed.height);
#elif defined(BRINDALE_FUZZ_LOGO)
    const auto d = decodeLogo(in);
    if (d) require(d->printed.pixels.size() == static_cast<std::size_t>(kLogoRowPixels) * kLogoRows);
#endif
    return 0;
}
