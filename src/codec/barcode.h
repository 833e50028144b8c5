// Barcode data of a PLU: the twelve digits the scale reads (PLU_EANData) built from the edited
// columns and split back, the inherited settings of main group, department and store, the
// multi barcode buffers and the EAN128 templates.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "codec/environment.h"
#include "codec/plu_row.h"
#include "codec/status.h"

namespace brindale::codec {

// kind 0: label format; kind 1: barcode flag times 100 plus barcode format; kind 2 (and any
// other): Flag1 times 10 plus Flag2. A value of 255 at main group or department level lets the
// next level decide; the store decides whatever it holds. No row at any level gives 0.
Status getInheritedSetting(InheritanceSource* source, const PluRow& row, int kind, int16_t& result);

// Number of item digits N of a built-in format line: character 5, or characters 5 and 6 when
// character 6 is not ",".
Status formatLineItemDigits(std::string_view line, int& digits);

// The built-in formats are 0 to 32; 33 and above are flexi barcodes.
inline constexpr int64_t kLastBuiltInFormat = 32;

// The line of a built-in format in an edit list (EAN_EDIT or ITF_EDIT as BarcodeLists holds
// them): the list starts with its REF line, so format k is the line keyed Bk, one place after
// k. nullptr for a format outside 0..32 or a list too short to hold it. Every reader of a
// format line goes through here.
const std::string* builtInFormatLine(const std::vector<std::string>& editList, int64_t format);

// N of a built-in format of a barcode kind (1: EAN_EDIT, 0: ITF_EDIT, as FBar_EANorITF counts
// them), from its line; MissingFormatLine when the list has no line for it.
Status builtInFormatItemDigits(const BarcodeLists* lists, int64_t format, int64_t kind, int& digits);

// Rewrites PLU_EANData (and PLU_EANItemCode when it is longer than the format allows). With
// `inherit` and a PLU_BarFormat of 255 the format and last byte come from the remembered
// settings or, when the row's store and main group differ from the remembered key, from a
// lookup, which then moves the key.
Status setEANData(const CodecEnvironment& env, RememberedSettings& remembered, PluRow& row, bool inherit);

// The inverse: PLU_EANItemCode from the digits of PLU_EANData, PLU_EANLastByte from its
// characters 11 and 12.
Status splitEANData(const CodecEnvironment& env, PluRow& row);

// Multi barcode buffers (PLU_MultiBar1, PLU_MultiBar2, PLU_TMultiBar1, PLU_TMultiBar2).
inline constexpr std::size_t kMultiBarcodeSize = 51;
inline constexpr uint8_t kMultiBarcodeInUse = 134;
using MultiBarcodeBuffer = std::array<uint8_t, kMultiBarcodeSize>;

struct MultiBarcode {
  bool inUse = false;
  std::string text;  // at most 48 bytes of the code page
  int kind = 0;      // list index of the barcode kind, 0 to 2
};

// The 51 bytes of one buffer from the text and kind list index; in use when the text is not
// empty.
MultiBarcodeBuffer buildMultiBarcode(std::string_view text, int kind, const CodePage& codePage);
// Reads a buffer; a kind above 2 reads as 0.
MultiBarcode readMultiBarcode(const MultiBarcodeBuffer& buffer, const CodePage& codePage);

struct MultiBarcodeBuffers {
  std::array<MultiBarcodeBuffer, 4> buffers{};
};
// index 1 to 4: loads the column's bytes into the buffer when its flag is set, else clears it.
void loadMultiBarcodes(const PluRow& row, int index, MultiBarcodeBuffers& buffers);
// index 1 to 4: builds the buffer from the text and kind.
void saveMultiBarcode(MultiBarcodeBuffers& buffers, int index, std::string_view text, int kind,
                      const CodePage& codePage);

// The 38 EAN128 templates in list order; X is a digit to enter, CD the check digit.
std::span<const std::string_view> ean128Templates();
// How many digits the template at `index` asks for (its X's); -1 for an unknown index.
int ean128DigitCount(std::size_t index);

}  // namespace brindale::codec
