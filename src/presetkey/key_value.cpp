#include "key_value.h"

#include "codec/numbers.h"

namespace brindale::presetkey {

KeyKind kindOf(int32_t v) {
    if (v <= 0) return KeyKind::Empty;
    switch (v / kKindStep) {
        case 0: return KeyKind::Plu;
        case 1: return KeyKind::Function;
        case 2: return KeyKind::Clerk;
        case 3: return KeyKind::Other1;
        case 4: return KeyKind::Other2;
        case 5: return KeyKind::Other3;
        default: return KeyKind::Empty;
    }
}

std::optional<KeyColumns> columnsOf(int32_t v) {
    const int64_t rest = v % kKindStep;
    switch (kindOf(v)) {
        case KeyKind::Empty: return std::nullopt;
        case KeyKind::Plu: return KeyColumns{0, v};
        case KeyKind::Function: return KeyColumns{1, rest};
        case KeyKind::Clerk: return KeyColumns{2, rest};
        case KeyKind::Other1: return KeyColumns{8, rest};
        case KeyKind::Other2: return KeyColumns{128, rest};
        case KeyKind::Other3: return KeyColumns{240, rest + kOther3Switch};
    }
    return std::nullopt;
}

std::optional<int32_t> keyValueOf(int64_t status, int64_t keySwitch) {
    int32_t base = 0;
    switch (status) {
        case 0: base = 0; break;
        case 1: base = 1 * kKindStep; break;
        case 2: base = 2 * kKindStep; break;
        case 8: base = 3 * kKindStep; break;
        case 128: base = 4 * kKindStep; break;
        case 240: base = 5 * kKindStep; keySwitch -= kOther3Switch; break;
        default: return std::nullopt;
    }
    // A value of a million or more would be read as the next kind.
    if (keySwitch < 0 || keySwitch >= kKindStep) return std::nullopt;
    if (status == 0 && keySwitch == 0) return std::nullopt;
    return base + static_cast<int32_t>(keySwitch);
}

int pageOf(int64_t number, int keyNum) { return static_cast<int>((number - 1) / keyNum) + 1; }
int keyOf(int64_t number, int keyNum) { return static_cast<int>(number - (pageOf(number, keyNum) - 1) * int64_t(keyNum)); }
int64_t keyAddress(int64_t number, int keyNum) { return (pageOf(number, keyNum) - 1) * 256 + keyOf(number, keyNum); }
int64_t numberOf(int page, int key, int keyNum) { return int64_t(page - 1) * keyNum + key; }

std::optional<KeyRecord> keyRecord(int64_t number, int keyNum, int64_t status, int64_t keySwitch) {
    using codec::NumberEncoding;
    KeyRecord r{};
    if (number < 1 || keyNum < 1) return std::nullopt;
    if (!codec::writeNumber(NumberEncoding::Bcd4, keyAddress(number, keyNum), r.data(), "Number").ok())
        return std::nullopt;
    r[4] = 0x00;
    r[5] = kRecordSize;
    const bool packed = status == 0 || status == 2;
    if (!codec::writeNumber(packed ? NumberEncoding::Bcd4 : NumberEncoding::Bin4, keySwitch, r.data() + 6, "Key_Switch")
             .ok())
        return std::nullopt;
    if (status < 0 || status > 255) return std::nullopt;
    r[10] = static_cast<uint8_t>(status);
    return r;
}

}  // namespace brindale::presetkey
