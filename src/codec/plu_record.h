// The PLU record the scale takes: built from a row of KVR_25 and spread back over one.
// Between runs a PLU lives only as this record, so both directions keep every byte.
#pragma once

#include <string_view>

#include <cstddef>
#include <cstdint>
#include <vector>

#include "codec/environment.h"
#include "codec/plu_row.h"
#include "codec/status.h"

namespace brindale::codec {

// Indexes 0 to 20480 of the record buffer; a write at or beyond its end fails.
inline constexpr std::size_t kPluRecordBufferSize = 20481;

// What the encoder keeps across a pass over many rows: the environment, the five remembered
// settings and the record buffer. One per thread.
class EncoderContext {
 public:
  explicit EncoderContext(CodecEnvironment environment)
      : env(environment), buffer(kPluRecordBufferSize, 0) {}
  CodecEnvironment env;
  RememberedSettings remembered;
  std::vector<uint8_t> buffer;
};

// Builds the record of `row` into row.KVRBinData and rewrites the status byte columns,
// Stat2_LBFormat1, Stat2_BARFormat and (with Stat2_ItemCode) PLU_EANData. With `inherit` a
// label or barcode setting of 255 is resolved through main group, department and store.
// On failure KVRBinData keeps its old value; the columns changed before the failure stay changed
// in the row, so the caller does not save it.
Status encodePluRecord(EncoderContext& ctx, PluRow& row, bool inherit);
// Whether encodePluRecord may write the column of this name (the record, the status bytes and the
// columns it derives), so that a caller writes back only those.
bool encoderWritesColumn(std::string_view name);

enum class DecodeOutcome : uint8_t {
  NoRecord,        // KVRBinData is Null: nothing changed, nothing to save
  TooShort,        // fewer than 6 bytes, or fewer than 15: nothing changed
  LengthMismatch,  // the length field differs from the array: nothing changed
  Decoded,         // every field read; save the row
  Failed,          // stopped at a field it could not read: what came before stays,
                   // Is_Selected is 1; save the row
};

struct DecodeResult {
  DecodeOutcome outcome = DecodeOutcome::NoRecord;
  CodecError error;  // when outcome is Failed; error.offset is the read position
  bool rowChanged() const { return outcome == DecodeOutcome::Decoded || outcome == DecodeOutcome::Failed; }
};

// Spreads row.KVRBinData over the row's columns. Columns whose presence flag is off keep their
// value, except PLU_LBFormat1 and PLU_BarFormat (0) and PLU_MG (997).
DecodeResult decodePluRecord(const CodecEnvironment& env, PluRow& row);

}  // namespace brindale::codec
