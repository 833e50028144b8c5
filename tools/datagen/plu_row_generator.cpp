#include "plu_row_generator.h"

// GCC 12 reports a false overlap inside std::string at -O3 here (its bug 105329).
#pragma GCC diagnostic ignored "-Wrestrict"

#include "codec/status_bytes.h"

namespace brindale::codec::test {

std::string PluRowGenerator::ascii(std::size_t maxLen, bool nonEmpty) {
  static const char kChars[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789 .,-/%()";
  const auto bytes = static_cast<std::size_t>(num(nonEmpty ? 1 : 0, static_cast<int64_t>(maxLen)));
  std::string s;
  for (std::size_t i = 0; i < bytes; ++i) {
    // Now and then a character outside ASCII: one byte in the western page, two in UTF-8.
    if (num(0, 15) == 0)
      s.append(coin() ? "\xC3\xA9" : "\xC3\xBC", 2);
    else
      s += kChars[num(0, sizeof kChars - 2)];
  }
  return s;
}

std::vector<uint8_t> PluRowGenerator::textBlock(int lines, std::string* firstLine) {
  std::vector<uint8_t> b;
  for (int i = 0; i < lines; ++i) {
    std::string text;
    const std::size_t len = static_cast<std::size_t>(num(i == 0 ? 1 : 0, 40));
    for (std::size_t k = 0; k < len; ++k) text += static_cast<char>(num('A', 'Z'));
    if (i == 0 && firstLine) *firstLine = text;
    b.push_back(static_cast<uint8_t>(num(1, 9)));  // font code
    b.push_back(static_cast<uint8_t>(text.size()));
    b.insert(b.end(), text.begin(), text.end());
    b.push_back(i + 1 < lines ? 0x0D : 0x0C);
  }
  return b;
}

PluRow PluRowGenerator::next(int countryIndex) {
  PluRow r;
  fill(r, countryIndex, false);
  return r;
}

PluRow PluRowGenerator::full(int countryIndex) {
  PluRow r;
  fill(r, countryIndex, true);
  return r;
}

void PluRowGenerator::fill(PluRow& r, int countryIndex, bool all) {
  auto on = [&] { return all || coin(); };
  r.ST_No = num(1, 5);
  r.SECT_No = num(1, 3);
  r.PLU_No = num(1, 99999999);
  r.PLU_UPrice = num(0, 99999999);
  r.BCC = num(0, 255);
  for (const auto& f : stat1Flags()) r.*f.column = on() ? 1 : 0;

  // Label and barcode settings: the flags follow the values in the encoder.
  static const int64_t kLabels[] = {0, 1, 7, 115, 255};
  r.PLU_LBFormat1 = all ? 12 : kLabels[num(0, 4)];
  if (on()) {
    r.Stat2_LBFormat2 = 1;
    r.PLU_LBFormat2 = num(0, 99);
  }
  static const int64_t kFormats[] = {0, 1, 2, 3, 5, 33, 34, 35, 255};
  static const int kDigits[] = {10, 6, 10, 5, 7, 0, 0, 10, 10};  // N of each, flexi resolved below
  const int fi = all ? 1 : static_cast<int>(num(0, 8));
  r.PLU_BarFormat = kFormats[fi];
  r.PLU_EANFlags = 255;
  if (on()) {
    r.Stat2_ItemCode = 1;
    r.PLU_EANLastByte = num(0, 99);
    const bool firstKind = r.PLU_EANLastByte < 10;
    int n = kDigits[fi];
    if (r.PLU_BarFormat == 33) n = firstKind ? 4 : 6;
    if (r.PLU_BarFormat == 34) n = firstKind ? 8 : 3;
    if (r.PLU_BarFormat == 2 && !firstKind) n = 8;  // the second list's line
    if (r.PLU_BarFormat == 1 && !firstKind) n = 4;
    if ((r.PLU_BarFormat == 3 || r.PLU_BarFormat == 5) && !firstKind) {
      r.PLU_EANLastByte %= 10;  // those formats exist in the first list only
      n = kDigits[fi];
    }
    const int len = static_cast<int>(num(1, n < 1 ? 1 : n));
    std::string item;
    for (int i = 0; i < len; ++i) item += static_cast<char>('0' + num(i == 0 ? 1 : 0, 9));
    if (r.PLU_BarFormat == 0 && item.back() == '0') item.back() = '7';  // left-aligned: no trailing zero
    if (n == 0) item = "0";
    r.PLU_EANItemCode = item;
    r.PLU_EANFlags = num(0, 3) == 0 ? 255 : num(0, 99);
  }
  r.PLU_MG = 997;
  if (on()) {
    r.Stat2_MGCode = 1;
    r.PLU_MG = num(0, 9999);
  }
  auto bcd2 = [&](int64_t& flag, int64_t& col) {
    if (on()) {
      flag = 1;
      col = num(0, 9999);
    }
  };
  auto bcd1 = [&](int64_t& flag, int64_t& col) {
    if (on()) {
      flag = 1;
      col = num(0, 99);
    }
  };
  bcd2(r.Stat2_SBDate, r.PLU_SBDate);
  bcd2(r.Stat2_SBTime, r.PLU_SBTime);
  bcd2(r.Stat2_UBDate, r.PLU_UBDate);
  bcd2(r.Stat2_PKDate, r.PLU_PAKDate);
  bcd2(r.Stat2_PKTime, r.PLU_PAKTime);
  if (on()) {
    r.Stat2_Cost = 1;
    r.PLU_Cost = num(0, 99999999);
  }
  bcd2(r.Stat2_PLUTare, r.PLU_Tare);
  bcd2(r.Stat2_QTY, r.PLU_QTY);
  if (on()) {
    r.Stat2_QTYSymbol = 1;
    r.PLU_QTYSymbol = num(0, 12);
  }
  bcd1(r.Stat2_SPMessageNo, r.PLU_SPMessageNo);
  bcd1(r.Stat2_IngredientNo, r.PLU_IngredientNo);
  bcd1(r.Stat2_PlaceNo, r.PLU_PlaceNo);
  if (on()) {
    r.Stat2_ImageNo = 1;
    for (auto c : {&PluRow::PLU_Image1, &PluRow::PLU_Image2, &PluRow::PLU_Image3, &PluRow::PLU_Image4,
                   &PluRow::PLU_Image5, &PluRow::PLU_Image6, &PluRow::PLU_Image7, &PluRow::PLU_Image8,
                   &PluRow::PLU_Image9, &PluRow::PLU_Image10})
      r.*c = num(0, 99);
  }

  if (on()) {
    r.Stat2_PLUStatB2B = 1;
    for (const auto& f : statBFlags()) r.*f.column = on() ? 1 : 0;
    r.Stat2B_SPriceDiscount = on() ? 1 : 0;
    auto bcd4 = [&](int64_t& flag, int64_t& col) {
      if (on()) {
        flag = 1;
        col = num(0, 99999999);
      }
    };
    auto bin4 = [&](int64_t& flag, int64_t& col) {
      if (on()) {
        flag = 1;
        col = num(-2147483647 - 1, 2147483647);
      }
    };
    auto block51 = [&](int64_t& flag, Bytes& col) {
      if (on()) {
        flag = 1;
        std::vector<uint8_t> b(51);
        for (auto& x : b) x = static_cast<uint8_t>(num(0, 255));
        col = b;
      }
    };
    auto temp = [&](int64_t& flag, int64_t& col) {
      if (on()) {
        flag = 1;
        col = coin() ? num(0, 1000) : num(1001, 13799);
      }
    };
    bcd4(r.Stat2B_2NDPrice, r.PLU_2NDPrice);
    bcd2(r.Stat2B_2NDQTY, r.PLU_2NDQTY);
    if (on()) {
      r.Stat2B_PreName = 1;
      r.PLU_CPLUPreset = std::vector<uint8_t>(33, 'P');
    }
    bcd2(r.Stat2B_BonusPoint, r.PLU_BonusPoint);
    bcd4(r.Stat2B_RefPLUNo, r.PLU_REPLUNo);
    if (on()) {
      r.Stat2B_DiscountDW = 1;
      r.PLU_DisDayOfWeek = num(0, 127);
    }
    bcd4(r.Stat2B_CoupledPLU, r.PLU_CoupledPLUNo);
    bcd1(r.Stat2B_TaxNo, r.PLU_TAXNo);
    bcd2(r.Stat2B_PrecentTare, r.PLU_PerTare);
    bin4(r.Stat2B_CDiscount, r.PLU_CustomerDis);
    bin4(r.Stat2B_RDiscount, r.PLU_RestPrice);
    bin4(r.Stat2B_STDiscount, r.PLU_StaffDis);
    bcd1(r.Stat2B_2NDQTYSymbol, r.PLU_2NDQTYSymbol);
    bcd1(r.Stat2B_TRBT, r.PLU_Traceability);
    bcd2(r.Stat2B_TRBTLink, r.PLU_TraceabilityL);
    bcd2(r.Stat2B_GPCode, r.PLU_GroupCode);
    temp(r.Stat2B_STEMP1, r.PLU_ST1stLimit);
    temp(r.Stat2B_STEMP2, r.PLU_ST2ndLimit);
    bcd1(r.Stat2B_PKIndicator, r.PLU_PAKIndicator);
    block51(r.Stat2B_MBarcode1, r.PLU_MultiBar1);
    block51(r.Stat2B_MBarcode1EXP, r.PLU_MultiBar1EXP);
    block51(r.Stat2B_MBarcode2, r.PLU_MultiBar2);
    block51(r.Stat2B_TMBarcode1, r.PLU_TMultiBar1);
    block51(r.Stat2B_TTLMBAR1EXP, r.PLU_TMultiBar1EXP);
    block51(r.Stat2B_TMBarcode2, r.PLU_TMultiBar2);
    block51(r.Stat2B_TTLMBAR2EXP, r.PLU_TMultiBar2EXP);
    bcd2(r.Stat2B_PLUSCR, r.PLU_Scroll);
    if (on()) {
      r.Stat2B_TextNoSLT = 1;
      for (auto c : {&PluRow::PLU_LText1No, &PluRow::PLU_LText2No, &PluRow::PLU_LText3No, &PluRow::PLU_LText4No,
                     &PluRow::PLU_LText5No})
        r.*c = num(0, 99);
    }
    if (on()) {
      r.Stat2B_TareRange = 1;
      r.PLU_1stTare = num(0, 9999);
      r.PLU_2stTare = num(0, 9999);
    }
    if (on()) {
      r.Stat2B_LTrayFile = 1;
      r.PLU_LTray1 = num(0, 99);
      r.PLU_LTray2 = num(0, 99);
      r.PLU_LTray3 = num(0, 99);
    }
    if (on()) {
      r.Stat2B_ExIngrSPMGRecNo = 1;
      r.PLU_ESPMessageNo = num(0, 9999);
      r.PLU_EIngredientNo = num(0, 9999);
    }
    if (on()) {
      r.Stat2B_2ndPrinter = 1;
      r.PLU_UCCEAN_Prefix = num(0, 99999999);
      r.PLU_SerialNo = num(0, 99999999);
    }
    if (on()) {
      r.Stat2B_Trace_Ke = 1;
      r.PLU_TracePt_Ke = num(0, 255);
      std::string hex;
      for (int i = 0; i < 10; ++i) hex += "0123456789ABCDEF"[num(0, 15)];
      r.PLU_Trace_Ke = hex;
    }
  }

  if (on()) {
    r.Stat2_Discount = 1;
    r.PLU_Disc_SDate = num(0, 99999999);
    r.PLU_Disc_STime = num(0, 9999);
    r.PLU_Disc_EDate = num(0, 99999999);
    r.PLU_Disc_ETime = num(0, 9999);
    r.PLU_Disc_1stLim = num(0, 99999999);
    r.PLU_Disc_Within1stL = num(0, 99999999);
    r.PLU_Disc_2ndLim = num(0, 99999999);
    r.PLU_Disc_Within2ndL = num(0, 99999999);
    r.PLU_Disc_Type = num(0, 7);
    r.PLU_Disc_Markdown = num(0, 3);
  }

  if (on()) {
    r.Stat2_Nutrition = 1;
    auto lenient = [&](int64_t& c) { c = num(0, 9999); };
    if (countryIndex == 30) {
      r.PLU_Nutr_SerSize_BZ = ascii(20);
      for (auto c : {&PluRow::PLU_Nutr_CaloriesA_BZ, &PluRow::PLU_Nutr_Carbohy_BZ, &PluRow::PLU_Nutr_Protein_BZ,
                     &PluRow::PLU_Nutr_TotalFat_BZ, &PluRow::PLU_Nutr_SaturFat_BZ, &PluRow::PLU_Nutr_TransFat_BZ,
                     &PluRow::PLU_Nutr_Fiber_BZ})
        lenient(r.*c);
      r.PLU_Nutr_Sodium_BZ = num(0, 99999999);
    } else {
      r.PLU_Nutr_SerSize = ascii(20);
      r.PLU_Nutr_SerCont = ascii(10);
      for (auto c : {&PluRow::PLU_Nutr_Calories, &PluRow::PLU_Nutr_CalorFat, &PluRow::PLU_Nutr_TotalFat,
                     &PluRow::PLU_Nutr_SaturFat, &PluRow::PLU_Nutr_Cholesterol, &PluRow::PLU_Nutr_Sodium,
                     &PluRow::PLU_Nutr_Carbohy, &PluRow::PLU_Nutr_Fiber, &PluRow::PLU_Nutr_Sugars,
                     &PluRow::PLU_Nutr_Protein, &PluRow::PLU_Nutr_VitaminA, &PluRow::PLU_Nutr_VitaminC,
                     &PluRow::PLU_Nutr_Calcium, &PluRow::PLU_Nutr_Iron, &PluRow::PLU_Nutr_Thiamin,
                     &PluRow::PLU_Nutr_Riboflavin, &PluRow::PLU_Nutr_Niacin})
        lenient(r.*c);
      for (auto c : {&PluRow::PLU_Nutr_TotalFatPTG, &PluRow::PLU_Nutr_SaturFatPTG, &PluRow::PLU_Nutr_CholesPTG,
                     &PluRow::PLU_Nutr_SodiumPTG, &PluRow::PLU_Nutr_CarbohyPTG, &PluRow::PLU_Nutr_FiberPTG})
        r.*c = num(0, 99);
      for (auto c : {&PluRow::PLU_Nutr_SugDEP, &PluRow::PLU_Nutr_ProtDEP, &PluRow::PLU_Nutr_TotalFatDEP,
                     &PluRow::PLU_Nutr_SaturFatDEP, &PluRow::PLU_Nutr_CholesDEP, &PluRow::PLU_Nutr_SodiumDEP,
                     &PluRow::PLU_Nutr_CarbohyDEP, &PluRow::PLU_Nutr_FiberDEP, &PluRow::PLU_Nutr_Template,
                     &PluRow::PLU_Nutr_Status})
        r.*c = num(0, 255);
      if (countryIndex == 1 || countryIndex == 26) {
        lenient(r.PLU_Nutr_TransFat_CU);
        r.PLU_Nutr_TransFatDEP_CU = num(0, 255);
        r.PLU_Nutr_Dummy_CU = num(0, 255);
      }
      if (countryIndex == 26) {
        r.PLU_Nutr_SerSizeNew_CU = ascii(40);
        r.PLU_Nutr_SerContNew_CU = ascii(40);
      }
    }
  }

  r.PLU_CommodityFirst = " ";
  if (on()) {
    std::string first;
    r.Stat2_Commodity = 1;
    r.PLU_Commodity = textBlock(all ? 3 : static_cast<int>(num(1, 3)), &first);
    r.PLU_CommodityFirst = first;
  }
  if (on()) {
    r.Stat2_Ingredient = 1;
    r.PLU_Ingredient = textBlock(all ? 4 : static_cast<int>(num(1, 4)), nullptr);
  }
  if (on()) {
    r.Stat2_SPMessage = 1;
    r.PLU_SPMessage = textBlock(static_cast<int>(num(1, 2)), nullptr);
  }
}

}  // namespace brindale::codec::test
