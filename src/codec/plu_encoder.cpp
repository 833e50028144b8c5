#include <cstring>

#include "codec/barcode_detail.h"
#include "codec/code_page.h"
#include "codec/number_codec.h"
#include "codec/nutrition.h"
#include "codec/plu_record.h"
#include "codec/status_bytes.h"

namespace brindale::codec {

namespace {

using namespace detail;

// Write position in the record buffer. Every field claims its bytes here first, so nothing is
// written beyond the buffer.
struct Writer {
  uint8_t* buf;
  std::size_t pos;

  uint8_t* at(std::size_t width, const char* column) const {
    if (pos >= kPluRecordBufferSize)
      fail(Fault::BufferOverrun, column, static_cast<int64_t>(pos), kPluRecordBufferSize - 1);
    if (pos + width > kPluRecordBufferSize)
      fail(Fault::BufferOverrun, column, static_cast<int64_t>(pos + width - 1), kPluRecordBufferSize - 1);
    return buf + pos;
  }
  uint8_t* take(std::size_t width, const char* column) {
    uint8_t* p = at(width, column);
    pos += width;
    return p;
  }
  void bytes(const Bytes& col, const char* column) {
    if (!col) fail(Fault::Null, column);
    const std::size_t n = col->size();
    uint8_t* p = take(n, column);
    if (n) std::memcpy(p, col->data(), n);
  }
};

inline bool set(int64_t flag) { return flag != 0; }

#define BCD1(col) putBcd1(w.take(1, #col), row.col, #col)
#define BCD2(col) putBcd2Strict(w.take(2, #col), row.col, #col)
#define BCD2L(col) putBcd2Lenient(w.take(2, #col), row.col, #col)
#define BCD4(col) putBcd4(w.take(4, #col), row.col, #col)
#define BIN1(col) putBin1(w.take(1, #col), row.col, #col)
#define BIN4(col) putBin(w.take(4, #col), row.col, 4, #col)

// `pairs` bytes from the first 2*pairs hexadecimal digits of a text column.
void putHexPairs(uint8_t* out, const Text& col, std::size_t pairs, const char* column) {
  if (!col) fail(Fault::Null, column);
  const std::string& s = *col;
  if (s.size() < 2 * pairs) failText(Fault::TooShort, column, s, static_cast<int64_t>(2 * pairs));
  for (std::size_t k = 0; k < pairs; ++k) {
    const int hi = hexDigit(s[2 * k]), lo = hexDigit(s[2 * k + 1]);
    if (hi < 0 || lo < 0) failText(Fault::NotHex, column, s);
    out[k] = static_cast<uint8_t>(hi << 4 | lo);
  }
}

void putNutrition(Writer& w, const PluRow& row, int countryIndex, const CodePage& cp) {
  const NutrLayout layout = nutritionLayout(countryIndex);
  uint8_t* block = w.take(layout.size, "PLU_Nutr_SerSize");
  std::memset(block, 0, layout.size);
  for (const auto& part : layout.parts) {
    for (const NutrField& f : part) {
      uint8_t* p = block + f.offset;
      switch (f.encoding) {
        case NutrEncoding::Text:
        case NutrEncoding::TextNullFails: {
          const Text& t = row.*f.text;
          if (!t) {
            if (f.encoding == NutrEncoding::TextNullFails) fail(Fault::Null, f.name);
            break;  // a field of zeros
          }
          cp.encodeField(*t, p, f.width);
          break;
        }
        case NutrEncoding::Bin1: putBin1(p, row.*f.number, f.name); break;
        case NutrEncoding::Bcd1: putBcd1(p, row.*f.number, f.name); break;
        case NutrEncoding::Bcd2Lenient: putBcd2Lenient(p, row.*f.number, f.name); break;
        case NutrEncoding::Bcd4: putBcd4(p, row.*f.number, f.name); break;
      }
    }
  }
}

void putExtendedPart(Writer& w, PluRow& row) {
  for (auto col : {&PluRow::StatB_Byte1, &PluRow::StatB_Byte2, &PluRow::StatB_Byte3, &PluRow::StatB_Byte4,
                   &PluRow::Stat2B_Byte1, &PluRow::Stat2B_Byte2, &PluRow::Stat2B_Byte3, &PluRow::Stat2B_Byte4,
                   &PluRow::Stat2B_Byte5, &PluRow::Stat2B_Byte6, &PluRow::Stat2B_Byte7, &PluRow::Stat2B_Byte8})
    *w.take(1, "Stat2B_Byte1") = static_cast<uint8_t>(row.*col);
  if (set(row.Stat2B_2NDPrice)) BCD4(PLU_2NDPrice);
  if (set(row.Stat2B_2NDQTY)) BCD2(PLU_2NDQTY);
  // The preset name field keeps its width; its bytes do not carry the column (see docs).
  if (set(row.Stat2B_PreName)) std::memset(w.take(33, "PLU_CPLUPreset"), 0, 33);
  if (set(row.Stat2B_BonusPoint)) BCD2(PLU_BonusPoint);
  if (set(row.Stat2B_RefPLUNo)) BCD4(PLU_REPLUNo);
  if (set(row.Stat2B_DiscountDW)) BIN1(PLU_DisDayOfWeek);
  if (set(row.Stat2B_CoupledPLU)) BCD4(PLU_CoupledPLUNo);
  if (set(row.Stat2B_TaxNo)) BCD1(PLU_TAXNo);
  if (set(row.Stat2B_PrecentTare)) BCD2(PLU_PerTare);
  if (set(row.Stat2B_CDiscount)) BIN4(PLU_CustomerDis);
  if (set(row.Stat2B_RDiscount)) BIN4(PLU_RestPrice);
  if (set(row.Stat2B_STDiscount)) BIN4(PLU_StaffDis);
  if (set(row.Stat2B_2NDQTYSymbol)) BCD1(PLU_2NDQTYSymbol);
  if (set(row.Stat2B_TRBT)) BCD1(PLU_Traceability);
  if (set(row.Stat2B_TRBTLink)) BCD2(PLU_TraceabilityL);
  if (set(row.Stat2B_GPCode)) BCD2(PLU_GroupCode);
  if (set(row.Stat2B_STEMP1)) putStorageTemp(w.take(2, "PLU_ST1stLimit"), row.PLU_ST1stLimit, "PLU_ST1stLimit");
  if (set(row.Stat2B_STEMP2)) putStorageTemp(w.take(2, "PLU_ST2ndLimit"), row.PLU_ST2ndLimit, "PLU_ST2ndLimit");
  if (set(row.Stat2B_PKIndicator)) BCD1(PLU_PAKIndicator);
  if (set(row.Stat2B_MBarcode1)) w.bytes(row.PLU_MultiBar1, "PLU_MultiBar1");
  if (set(row.Stat2B_MBarcode1EXP)) w.bytes(row.PLU_MultiBar1EXP, "PLU_MultiBar1EXP");
  if (set(row.Stat2B_MBarcode2)) w.bytes(row.PLU_MultiBar2, "PLU_MultiBar2");
  // This field has always been read from its flag column, a number, so a record with the flag
  // set cannot be built. Kept: the scales have never received this field from us.
  if (set(row.Stat2B_MBarcode2EXP)) fail(Fault::TypeMismatch, "Stat2B_MBarcode2EXP", row.Stat2B_MBarcode2EXP);
  if (set(row.Stat2B_TMBarcode1)) w.bytes(row.PLU_TMultiBar1, "PLU_TMultiBar1");
  if (set(row.Stat2B_TTLMBAR1EXP)) w.bytes(row.PLU_TMultiBar1EXP, "PLU_TMultiBar1EXP");
  if (set(row.Stat2B_TMBarcode2)) w.bytes(row.PLU_TMultiBar2, "PLU_TMultiBar2");
  if (set(row.Stat2B_TTLMBAR2EXP)) w.bytes(row.PLU_TMultiBar2EXP, "PLU_TMultiBar2EXP");
  if (set(row.Stat2B_PLUSCR)) BCD2(PLU_Scroll);
  if (set(row.Stat2B_TextNoSLT)) {
    BCD1(PLU_LText1No);
    BCD1(PLU_LText2No);
    BCD1(PLU_LText3No);
    BCD1(PLU_LText4No);
    BCD1(PLU_LText5No);
  }
  if (set(row.Stat2B_TareRange)) {
    BCD2(PLU_1stTare);
    BCD2(PLU_2stTare);
  }
  if (set(row.Stat2B_LTrayFile)) {
    BCD1(PLU_LTray1);
    BCD1(PLU_LTray2);
    BCD1(PLU_LTray3);
  }
  if (set(row.Stat2B_ExIngrSPMGRecNo)) {
    BCD2(PLU_ESPMessageNo);
    BCD2(PLU_EIngredientNo);
  }
  if (set(row.Stat2B_2ndPrinter)) {
    BCD4(PLU_UCCEAN_Prefix);
    BCD4(PLU_SerialNo);
  }
  if (set(row.Stat2B_Trace_Ke)) {
    BIN1(PLU_TracePt_Ke);
    putHexPairs(w.take(5, "PLU_Trace_Ke"), row.PLU_Trace_Ke, 5, "PLU_Trace_Ke");
  }
}

void encode(EncoderContext& ctx, PluRow& row, bool inherit) {
  const CodecEnvironment& env = ctx.env;
  if (!env.codePage) fail(Fault::NoCodePage, "KVRBinData");
  RememberedSettings& rem = ctx.remembered;
  uint8_t* buf = ctx.buffer.data();

  encodeStatB(row);
  encodeStat2B(row);
  putBcd4(buf, row.PLU_No, "PLU_No");
  putBcd4(buf + 11, row.PLU_UPrice, "PLU_UPrice");
  Writer w{buf, 15};

  // Label format: a 0 is written but not kept, the next field takes its place.
  int64_t label = row.PLU_LBFormat1;
  if (inherit && label == 255) label = resolveRemembered(env.inheritance, rem, rem.lastLabelFormat, row, 0);
  putBin1(w.at(1, "PLU_LBFormat1"), label, "PLU_LBFormat1");
  row.Stat2_LBFormat1 = label == 0 ? 0 : 1;
  if (label != 0) ++w.pos;

  if (set(row.Stat2_LBFormat2)) BIN1(PLU_LBFormat2);

  int64_t bar = row.PLU_BarFormat;
  if (inherit && bar == 255) bar = resolveRemembered(env.inheritance, rem, rem.lastBarFormat, row, 1) % 100;
  putBin1(w.at(1, "PLU_BarFormat"), bar, "PLU_BarFormat");
  row.Stat2_BARFormat = bar == 0 ? 0 : 1;
  if (bar != 0) ++w.pos;

  encodeStat1(row);
  encodeStat2(row);
  buf[6] = static_cast<uint8_t>(row.Stat1_Byte1);
  buf[7] = static_cast<uint8_t>(row.Stat1_Byte2);
  buf[8] = static_cast<uint8_t>(row.Stat2_Byte1);
  buf[9] = static_cast<uint8_t>(row.Stat2_Byte2);
  buf[10] = static_cast<uint8_t>(row.Stat2_Byte3);

  if (!set(row.Stat2_ItemCode)) {
    *w.take(1, "PLU_EANFlags") = 0xFF;
  } else {
    int64_t flags = (inherit && row.PLU_BarFormat == 255)
                        ? resolveRemembered(env.inheritance, rem, rem.lastBarFlags, row, 2)
                        : row.PLU_EANFlags;
    checkNull(flags, "PLU_EANFlags");
    uint8_t* p = w.take(1, "PLU_EANFlags");
    if (flags >= 100)
      *p = 0xFF;  // the one packed field with a soft ceiling
    else
      putBcd1(p, flags, "PLU_EANFlags");
    detail::setEANData(env, rem, row, inherit);
    putHexPairs(w.take(6, "PLU_EANData"), row.PLU_EANData, 6, "PLU_EANData");
  }

  if (set(row.Stat2_MGCode)) BCD2(PLU_MG);
  if (set(row.Stat2_SBDate)) BCD2(PLU_SBDate);
  if (set(row.Stat2_SBTime)) BCD2(PLU_SBTime);
  if (set(row.Stat2_UBDate)) BCD2(PLU_UBDate);
  if (set(row.Stat2_PKDate)) BCD2(PLU_PAKDate);
  if (set(row.Stat2_PKTime)) BCD2(PLU_PAKTime);
  if (set(row.Stat2_Cost)) BCD4(PLU_Cost);
  if (set(row.Stat2_PLUTare)) BCD2(PLU_Tare);
  if (set(row.Stat2_QTY)) BCD2(PLU_QTY);
  if (set(row.Stat2_QTYSymbol)) BIN1(PLU_QTYSymbol);
  if (set(row.Stat2_SPMessageNo)) BCD1(PLU_SPMessageNo);
  if (set(row.Stat2_IngredientNo)) BCD1(PLU_IngredientNo);
  if (set(row.Stat2_PlaceNo)) BCD1(PLU_PlaceNo);
  if (set(row.Stat2_ImageNo)) {
    BCD1(PLU_Image1);
    BCD1(PLU_Image2);
    BCD1(PLU_Image3);
    BCD1(PLU_Image4);
    BCD1(PLU_Image5);
    BCD1(PLU_Image6);
    BCD1(PLU_Image7);
    BCD1(PLU_Image8);
    BCD1(PLU_Image9);
    BCD1(PLU_Image10);
  }

  // Whatever the Stat2B_ flags say, nothing of the extended part goes out without this flag.
  if (set(row.Stat2_PLUStatB2B)) putExtendedPart(w, row);

  if (set(row.Stat2_Discount)) {
    BCD4(PLU_Disc_SDate);
    BCD2L(PLU_Disc_STime);
    BCD4(PLU_Disc_EDate);
    BCD2L(PLU_Disc_ETime);
    BCD4(PLU_Disc_1stLim);
    BCD4(PLU_Disc_Within1stL);
    BCD4(PLU_Disc_2ndLim);
    BCD4(PLU_Disc_Within2ndL);
    // The scales know discount type 7 as 11. A stored 11 is turned to 7 on the way, so the row
    // keeps 7 either way.
    int64_t type = row.PLU_Disc_Type == 7 ? 11 : row.PLU_Disc_Type;
    putBin1(w.take(1, "PLU_Disc_Type"), type, "PLU_Disc_Type");
    if (type == 11) row.PLU_Disc_Type = 7;
    BCD1(PLU_Disc_Markdown);
  }
  if (set(row.Stat2_Nutrition)) putNutrition(w, row, env.settings.CountryIndex, *env.codePage);
  if (set(row.Stat2_Commodity)) w.bytes(row.PLU_Commodity, "PLU_Commodity");
  if (set(row.Stat2_Ingredient)) w.bytes(row.PLU_Ingredient, "PLU_Ingredient");
  if (set(row.Stat2_SPMessage)) w.bytes(row.PLU_SPMessage, "PLU_SPMessage");
  BIN1(BCC);

  const std::size_t length = w.pos;
  copyBytesReversed(buf + 4, static_cast<uint32_t>(length), 2);
  if (!row.KVRBinData) row.KVRBinData.emplace();
  row.KVRBinData->assign(buf, buf + length);
}

}  // namespace

Status encodePluRecord(EncoderContext& ctx, PluRow& row, bool inherit) {
  try {
    encode(ctx, row, inherit);
  } catch (detail::Failure& f) {
    return Status(std::move(f.error));
  }
  return {};
}

bool encoderWritesColumn(std::string_view name) {
  // The status byte columns (Stat1_Byte1, ..., Stat2B_Byte6) and the columns written above.
  if (name.starts_with("Stat") && name.find("_Byte") != std::string_view::npos) return true;
  return name == "KVRBinData" || name == "Stat2_LBFormat1" || name == "Stat2_BARFormat" || name == "PLU_EANData";
}

}  // namespace brindale::codec
