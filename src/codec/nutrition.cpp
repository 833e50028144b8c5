#include "codec/nutrition.h"

namespace brindale::codec::detail {

namespace {

#define NUM(off, w, enc, col) {off, w, NutrEncoding::enc, #col, &PluRow::col, nullptr}
#define TXT(off, w, enc, col) {off, w, NutrEncoding::enc, #col, nullptr, &PluRow::col}

constexpr NutrField kCommon[] = {
    TXT(0, 20, Text, PLU_Nutr_SerSize),
    NUM(20, 1, Bin1, PLU_Nutr_SugDEP),
    TXT(21, 10, Text, PLU_Nutr_SerCont),
    NUM(31, 1, Bin1, PLU_Nutr_ProtDEP),
    NUM(32, 2, Bcd2Lenient, PLU_Nutr_Calories),
    NUM(34, 2, Bcd2Lenient, PLU_Nutr_CalorFat),
    NUM(36, 2, Bcd2Lenient, PLU_Nutr_TotalFat),
    NUM(38, 1, Bcd1, PLU_Nutr_TotalFatPTG),
    NUM(39, 1, Bin1, PLU_Nutr_TotalFatDEP),
    NUM(40, 2, Bcd2Lenient, PLU_Nutr_SaturFat),
    NUM(42, 1, Bcd1, PLU_Nutr_SaturFatPTG),
    NUM(43, 1, Bin1, PLU_Nutr_SaturFatDEP),
    NUM(44, 2, Bcd2Lenient, PLU_Nutr_Cholesterol),
    NUM(46, 1, Bcd1, PLU_Nutr_CholesPTG),
    NUM(47, 1, Bin1, PLU_Nutr_CholesDEP),
    NUM(48, 2, Bcd2Lenient, PLU_Nutr_Sodium),
    NUM(50, 1, Bcd1, PLU_Nutr_SodiumPTG),
    NUM(51, 1, Bin1, PLU_Nutr_SodiumDEP),
    NUM(52, 2, Bcd2Lenient, PLU_Nutr_Carbohy),
    NUM(54, 1, Bcd1, PLU_Nutr_CarbohyPTG),
    NUM(55, 1, Bin1, PLU_Nutr_CarbohyDEP),
    NUM(56, 2, Bcd2Lenient, PLU_Nutr_Fiber),
    NUM(58, 1, Bcd1, PLU_Nutr_FiberPTG),
    NUM(59, 1, Bin1, PLU_Nutr_FiberDEP),
    NUM(60, 2, Bcd2Lenient, PLU_Nutr_Sugars),
    NUM(62, 2, Bcd2Lenient, PLU_Nutr_Protein),
    NUM(64, 2, Bcd2Lenient, PLU_Nutr_VitaminA),
    NUM(66, 2, Bcd2Lenient, PLU_Nutr_VitaminC),
    NUM(68, 2, Bcd2Lenient, PLU_Nutr_Calcium),
    NUM(70, 2, Bcd2Lenient, PLU_Nutr_Iron),
    NUM(72, 2, Bcd2Lenient, PLU_Nutr_Thiamin),
    NUM(74, 2, Bcd2Lenient, PLU_Nutr_Riboflavin),
    NUM(76, 2, Bcd2Lenient, PLU_Nutr_Niacin),
    NUM(78, 1, Bin1, PLU_Nutr_Template),
    NUM(79, 1, Bin1, PLU_Nutr_Status),
};

constexpr NutrField kCountry1[] = {
    NUM(80, 2, Bcd2Lenient, PLU_Nutr_TransFat_CU),
    NUM(82, 1, Bin1, PLU_Nutr_TransFatDEP_CU),
    NUM(83, 1, Bin1, PLU_Nutr_Dummy_CU),
};

constexpr NutrField kCountry26[] = {
    NUM(80, 2, Bcd2Lenient, PLU_Nutr_TransFat_CU),
    NUM(82, 1, Bin1, PLU_Nutr_TransFatDEP_CU),
    TXT(83, 40, TextNullFails, PLU_Nutr_SerSizeNew_CU),
    TXT(123, 40, TextNullFails, PLU_Nutr_SerContNew_CU),
    NUM(163, 1, Bin1, PLU_Nutr_Dummy_CU),
};

constexpr NutrField kCompact[] = {
    TXT(0, 20, Text, PLU_Nutr_SerSize_BZ),
    NUM(20, 2, Bcd2Lenient, PLU_Nutr_CaloriesA_BZ),
    NUM(26, 2, Bcd2Lenient, PLU_Nutr_Carbohy_BZ),
    NUM(30, 2, Bcd2Lenient, PLU_Nutr_Protein_BZ),
    NUM(34, 2, Bcd2Lenient, PLU_Nutr_TotalFat_BZ),
    NUM(38, 2, Bcd2Lenient, PLU_Nutr_SaturFat_BZ),
    NUM(42, 2, Bcd2Lenient, PLU_Nutr_TransFat_BZ),
    NUM(44, 2, Bcd2Lenient, PLU_Nutr_Fiber_BZ),
    NUM(48, 4, Bcd4, PLU_Nutr_Sodium_BZ),
};

#undef NUM
#undef TXT

}  // namespace

NutrLayout nutritionLayout(int countryIndex) {
  switch (countryIndex) {
    case 30: return {164, {kCompact, {}}};
    case 1: return {84, {kCommon, kCountry1}};
    case 26: return {164, {kCommon, kCountry26}};
    default: return {80, {kCommon, {}}};
  }
}

}  // namespace brindale::codec::detail
