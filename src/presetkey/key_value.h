#pragma once
// A key's page as one number (KeyValue), its Status and Key_Switch in KVR_41, and the 45-byte
// record the scale takes.
#include <array>
#include <cstdint>
#include <optional>

namespace brindale::presetkey {

enum class KeyKind { Empty, Plu, Function, Clerk, Other1, Other2, Other3 };

inline constexpr int32_t kKindStep = 1000000;        // KeyValue = kind * 1000000 + value
inline constexpr int64_t kOther3Switch = 83886080;   // 0x5000000, added to the third other key
inline constexpr int kRecordSize = 45;

KeyKind kindOf(int32_t keyValue);  // Empty for 0 and below and for values beyond the six kinds

struct KeyColumns {
    int64_t Status = 0;
    int64_t Key_Switch = 0;
};

// Nothing for an empty page or a value beyond the six kinds.
std::optional<KeyColumns> columnsOf(int32_t keyValue);
// The inverse: nothing for a Status that is none of the six, or a Key_Switch that would read
// back as another kind.
std::optional<int32_t> keyValueOf(int64_t status, int64_t keySwitch);

// Page (from 1) and key (from 1) of a row's Number, and the packed address p * 256 + k.
int pageOf(int64_t number, int keyNum);
int keyOf(int64_t number, int keyNum);
int64_t keyAddress(int64_t number, int keyNum);
int64_t numberOf(int page, int key, int keyNum);

using KeyRecord = std::array<uint8_t, kRecordSize>;
// The one routine that builds the record, for the key save and the automatic fill alike. Fails
// (nothing) when a number does not fit its bytes.
std::optional<KeyRecord> keyRecord(int64_t number, int keyNum, int64_t status, int64_t keySwitch);

}  // namespace brindale::presetkey
