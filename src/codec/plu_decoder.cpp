#include <cstring>

#include "codec/barcode_detail.h"
#include "codec/code_page.h"
#include "codec/number_codec.h"
#include "codec/nutrition.h"
#include "codec/plu_record.h"
#include "codec/status_bytes.h"
#include "codec/text_block.h"

namespace brindale::codec {

namespace {

using namespace detail;

// Read position in the record; every field claims its bytes here first, so nothing is read
// beyond the array.
struct Reader {
  const uint8_t* data;
  std::size_t size;
  std::size_t pos;

  const uint8_t* take(std::size_t width, const char* column) {
    if (width > size || pos > size - width)
      fail(Fault::RecordTooShort, column, static_cast<int64_t>(pos + width), static_cast<int64_t>(size));
    const uint8_t* p = data + pos;
    pos += width;
    return p;
  }
  uint8_t byte(const char* column) { return *take(1, column); }
};

inline bool set(int64_t flag) { return flag != 0; }

void assignBytes(Bytes& col, const uint8_t* p, std::size_t n) {
  if (!col) col.emplace();
  col->assign(p, p + n);
}

// Bytes as uppercase hexadecimal digits, two a byte.
void assignHex(Text& col, const uint8_t* p, std::size_t n) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  if (!col) col.emplace();
  col->resize(2 * n);
  char* out = col->data();
  for (std::size_t i = 0; i < n; ++i) {
    out[2 * i] = kHex[p[i] >> 4];
    out[2 * i + 1] = kHex[p[i] & 0x0F];
  }
}

#define BCD1(col) row.col = getBcd(r.take(1, #col), 1, #col)
#define BCD2(col) row.col = getBcd(r.take(2, #col), 2, #col)
#define BCD4(col) row.col = getBcd(r.take(4, #col), 4, #col)
#define BIN1(col) row.col = r.byte(#col)
#define BIN4(col) row.col = getBin4(r.take(4, #col))
#define BLOCK51(col) assignBytes(row.col, r.take(51, #col), 51)

// Text numbers: a byte above 0x99 reads as 0 before it is taken as packed digits.
#define TEXTNO(col)                                   \
  do {                                                \
    const uint8_t* p_ = r.take(1, #col);              \
    row.col = *p_ > 0x99 ? 0 : getBcd(p_, 1, #col);   \
  } while (0)

void readNutrition(Reader& r, PluRow& row, int countryIndex, const CodePage& cp) {
  const NutrLayout layout = nutritionLayout(countryIndex);
  const uint8_t* block = r.take(layout.size, "PLU_Nutr_SerSize");
  for (const auto& part : layout.parts) {
    for (const NutrField& f : part) {
      const uint8_t* p = block + f.offset;
      switch (f.encoding) {
        case NutrEncoding::Text:
        case NutrEncoding::TextNullFails: {
          Text& t = row.*f.text;
          if (!t) t.emplace();
          cp.decode(p, f.width, *t);  // the whole width, zero bytes included
          break;
        }
        case NutrEncoding::Bin1: row.*f.number = *p; break;
        case NutrEncoding::Bcd1: row.*f.number = getBcd(p, 1, f.name); break;
        case NutrEncoding::Bcd2Lenient: row.*f.number = getBcd(p, 2, f.name); break;
        case NutrEncoding::Bcd4: row.*f.number = getBcd(p, 4, f.name); break;
      }
    }
  }
}

void readExtendedPart(Reader& r, PluRow& row) {
  for (auto col : {&PluRow::StatB_Byte1, &PluRow::StatB_Byte2, &PluRow::StatB_Byte3, &PluRow::StatB_Byte4})
    row.*col = r.byte("StatB_Byte1");
  decodeStatB(row);
  for (auto col : {&PluRow::Stat2B_Byte1, &PluRow::Stat2B_Byte2, &PluRow::Stat2B_Byte3, &PluRow::Stat2B_Byte4,
                   &PluRow::Stat2B_Byte5, &PluRow::Stat2B_Byte6, &PluRow::Stat2B_Byte7, &PluRow::Stat2B_Byte8})
    row.*col = r.byte("Stat2B_Byte1");
  decodeStat2B(row);

  if (set(row.Stat2B_2NDPrice)) BCD4(PLU_2NDPrice);
  if (set(row.Stat2B_2NDQTY)) BCD2(PLU_2NDQTY);
  if (set(row.Stat2B_PreName)) assignBytes(row.PLU_CPLUPreset, r.take(33, "PLU_CPLUPreset"), 33);
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
  if (set(row.Stat2B_STEMP1)) row.PLU_ST1stLimit = getStorageTemp(r.take(2, "PLU_ST1stLimit"), "PLU_ST1stLimit");
  if (set(row.Stat2B_STEMP2)) row.PLU_ST2ndLimit = getStorageTemp(r.take(2, "PLU_ST2ndLimit"), "PLU_ST2ndLimit");
  if (set(row.Stat2B_PKIndicator)) BCD1(PLU_PAKIndicator);
  // The multi barcode fields are read 51 bytes wide, whatever was written.
  if (set(row.Stat2B_MBarcode1)) BLOCK51(PLU_MultiBar1);
  if (set(row.Stat2B_MBarcode1EXP)) BLOCK51(PLU_MultiBar1EXP);
  if (set(row.Stat2B_MBarcode2)) BLOCK51(PLU_MultiBar2);
  if (set(row.Stat2B_MBarcode2EXP)) BLOCK51(PLU_MultiBar2EXP);
  if (set(row.Stat2B_TMBarcode1)) BLOCK51(PLU_TMultiBar1);
  if (set(row.Stat2B_TTLMBAR1EXP)) BLOCK51(PLU_TMultiBar1EXP);
  if (set(row.Stat2B_TMBarcode2)) BLOCK51(PLU_TMultiBar2);
  if (set(row.Stat2B_TTLMBAR2EXP)) BLOCK51(PLU_TMultiBar2EXP);
  if (set(row.Stat2B_PLUSCR)) BCD2(PLU_Scroll);
  if (set(row.Stat2B_TextNoSLT)) {
    TEXTNO(PLU_LText1No);
    TEXTNO(PLU_LText2No);
    TEXTNO(PLU_LText3No);
    TEXTNO(PLU_LText4No);
    TEXTNO(PLU_LText5No);
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
    assignHex(row.PLU_Trace_Ke, r.take(5, "PLU_Trace_Ke"), 5);
  }
}

void readTextBlock(Reader& r, Bytes& col, const char* column) {
  const std::size_t n = detail::textBlockLength(r.data + r.pos, r.size - r.pos, column);
  assignBytes(col, r.take(n, column), n);
}

void decode(const CodecEnvironment& env, PluRow& row, Reader& r) {
  if (!env.codePage) fail(Fault::NoCodePage, "KVRBinData");
  const uint8_t* p = r.data;
  row.PLU_No = getBcd(p, 4, "PLU_No");
  row.Stat1_Byte1 = p[6];
  row.Stat1_Byte2 = p[7];
  decodeStat1(row);
  row.Stat2_Byte1 = p[8];
  row.Stat2_Byte2 = p[9];
  row.Stat2_Byte3 = p[10];
  decodeStat2(row);
  row.PLU_UPrice = getBcd(p + 11, 4, "PLU_UPrice");
  r.pos = 15;

  if (set(row.Stat2_LBFormat1)) {
    const int64_t v = r.byte("PLU_LBFormat1");
    row.PLU_LBFormat1 = v > 115 && v != 255 ? 0 : v;
  } else {
    row.PLU_LBFormat1 = 0;
  }
  if (set(row.Stat2_LBFormat2)) {
    const int64_t v = r.byte("PLU_LBFormat2");
    row.PLU_LBFormat2 = v > 99 ? 0 : v;
  }
  if (set(row.Stat2_BARFormat)) {
    const int64_t v = r.byte("PLU_BarFormat");
    row.PLU_BarFormat = v > 41 && v != 255 ? 0 : v;
  } else {
    row.PLU_BarFormat = 0;
  }
  {
    const uint8_t* f = r.take(1, "PLU_EANFlags");
    row.PLU_EANFlags = *f == 0xFF ? 255 : getBcd(f, 1, "PLU_EANFlags");
  }
  if (set(row.Stat2_ItemCode)) assignHex(row.PLU_EANData, r.take(6, "PLU_EANData"), 6);
  if (set(row.Stat2_MGCode))
    BCD2(PLU_MG);
  else
    row.PLU_MG = 997;
  // The split needs the main group, so it runs here.
  if (set(row.Stat2_ItemCode)) detail::splitEANData(env, row);
  if (set(row.Stat2_SBDate)) BCD2(PLU_SBDate);
  if (set(row.Stat2_SBTime)) BCD2(PLU_SBTime);
  if (set(row.Stat2_UBDate)) BCD2(PLU_UBDate);
  if (set(row.Stat2_PKDate)) BCD2(PLU_PAKDate);
  if (set(row.Stat2_PKTime)) BCD2(PLU_PAKTime);
  if (set(row.Stat2_Cost)) BCD4(PLU_Cost);
  if (set(row.Stat2_PLUTare)) BCD2(PLU_Tare);
  if (set(row.Stat2_QTY)) BCD2(PLU_QTY);
  if (set(row.Stat2_QTYSymbol)) {
    const int64_t v = r.byte("PLU_QTYSymbol");
    row.PLU_QTYSymbol = v > 12 ? 0 : v;
  }
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
  if (set(row.Stat2_PLUStatB2B)) readExtendedPart(r, row);
  if (set(row.Stat2_Discount)) {
    BCD4(PLU_Disc_SDate);
    BCD2(PLU_Disc_STime);
    BCD4(PLU_Disc_EDate);
    BCD2(PLU_Disc_ETime);
    BCD4(PLU_Disc_1stLim);
    BCD4(PLU_Disc_Within1stL);
    BCD4(PLU_Disc_2ndLim);
    BCD4(PLU_Disc_Within2ndL);
    const int64_t type = r.byte("PLU_Disc_Type");
    row.PLU_Disc_Type = type > 7 ? 7 : type;  // brings the scales' 11 back to 7
    BCD1(PLU_Disc_Markdown);
    if (row.PLU_Disc_Markdown > 3) row.PLU_Disc_Markdown = 3;
  }
  if (set(row.Stat2_Nutrition)) readNutrition(r, row, env.settings.CountryIndex, *env.codePage);
  if (!row.PLU_CommodityFirst) row.PLU_CommodityFirst.emplace();
  row.PLU_CommodityFirst->assign(1, ' ');
  if (set(row.Stat2_Commodity)) readTextBlock(r, row.PLU_Commodity, "PLU_Commodity");
  if (set(row.Stat2_Ingredient)) readTextBlock(r, row.PLU_Ingredient, "PLU_Ingredient");
  if (set(row.Stat2_SPMessage)) readTextBlock(r, row.PLU_SPMessage, "PLU_SPMessage");
  BIN1(BCC);

  firstLine(row.PLU_Commodity, FirstLineVariant::List, *env.codePage, *row.PLU_CommodityFirst);
  if (row.PLU_CommodityFirst->empty()) row.PLU_CommodityFirst->assign(1, ' ');
}

}  // namespace

DecodeResult decodePluRecord(const CodecEnvironment& env, PluRow& row) {
  DecodeResult result;
  if (!row.KVRBinData) return result;
  // Fields are written into the row while the record is read, so read from a stable view of it;
  // KVRBinData itself is never written here.
  const std::vector<uint8_t>& rec = *row.KVRBinData;
  const std::size_t n = rec.size();
  if (n < 6) {
    result.outcome = DecodeOutcome::TooShort;
    return result;
  }
  if (readBytesReversed(rec.data() + 4, 2) != n) {
    result.outcome = DecodeOutcome::LengthMismatch;
    return result;
  }
  if (n < 15) {
    result.outcome = DecodeOutcome::TooShort;
    return result;
  }
  Reader r{rec.data(), n, 0};
  try {
    decode(env, row, r);
    result.outcome = DecodeOutcome::Decoded;
  } catch (detail::Failure& f) {
    row.Is_Selected = 1;
    result.outcome = DecodeOutcome::Failed;
    result.error = std::move(f.error);
    result.error.offset = r.pos;
  }
  return result;
}

}  // namespace brindale::codec
