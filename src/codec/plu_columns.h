// The columns of a PLU row (table KVR_25), in table order.
// N: number, T: text, B: bytes. Names are spelt as the database spells them.
#pragma once

#define BRINDALE_PLU_COLUMNS(N, T, B)                                                          \
  N(PLU_No) N(PLU_UPrice) N(PLU_MG) N(PLU_LBFormat1) N(PLU_LBFormat2) N(PLU_BarFormat)         \
  N(PLU_EANFlags) T(PLU_EANData) T(PLU_EANItemCode) N(PLU_EANLastByte) N(PLU_SBDate)           \
  N(PLU_SBTime) N(PLU_UBDate) N(PLU_PAKDate) N(PLU_PAKTime) N(PLU_Cost) N(PLU_Tare) N(PLU_QTY) \
  N(PLU_QTYSymbol) N(PLU_SPMessageNo) N(PLU_IngredientNo) N(PLU_PlaceNo) N(PLU_Image1)         \
  N(PLU_Image2) N(PLU_Image3) N(PLU_Image4) N(PLU_Image5) N(PLU_Image6) N(PLU_Image7)          \
  N(PLU_Image8) N(PLU_Image9) N(PLU_Image10) N(PLU_2NDPrice) N(PLU_2NDQTY)                     \
  N(PLU_2NDQTYSymbol) B(PLU_CPLUPreset) N(PLU_BonusPoint) N(PLU_REPLUNo) N(PLU_DisDayOfWeek)   \
  N(PLU_CoupledPLUNo) N(PLU_TAXNo) N(PLU_PerTare) N(PLU_CustomerDis) N(PLU_RestPrice)          \
  N(PLU_StaffDis) N(PLU_Traceability) N(PLU_TraceabilityL) N(PLU_GroupCode)                    \
  N(PLU_ST1stLimit) N(PLU_ST2ndLimit) N(PLU_PAKIndicator) B(PLU_MultiBar1)                     \
  B(PLU_MultiBar1EXP) B(PLU_MultiBar2) B(PLU_MultiBar2EXP) B(PLU_TMultiBar1)                   \
  B(PLU_TMultiBar1EXP) B(PLU_TMultiBar2) B(PLU_TMultiBar2EXP) N(PLU_Scroll) N(PLU_LText1No)    \
  N(PLU_LText2No) N(PLU_LText3No) N(PLU_LText4No) N(PLU_LText5No) N(PLU_1stTare)               \
  N(PLU_2stTare) N(PLU_LTray1) N(PLU_LTray2) N(PLU_LTray3) N(PLU_ESPMessageNo)                 \
  N(PLU_EIngredientNo) N(PLU_UCCEAN_Prefix) N(PLU_SerialNo) N(PLU_TracePt_Ke)                  \
  T(PLU_Trace_Ke) B(PLU_Commodity) T(PLU_CommodityFirst) B(PLU_Ingredient) B(PLU_SPMessage)    \
  N(PLU_Disc_SDate) N(PLU_Disc_STime) N(PLU_Disc_EDate) N(PLU_Disc_ETime) N(PLU_Disc_1stLim)   \
  N(PLU_Disc_Within1stL) N(PLU_Disc_2ndLim) N(PLU_Disc_Within2ndL) N(PLU_Disc_Type)            \
  N(PLU_Disc_Markdown)                                                                         \
  T(PLU_Nutr_SerSize) N(PLU_Nutr_SugDEP) T(PLU_Nutr_SerCont) N(PLU_Nutr_ProtDEP)               \
  N(PLU_Nutr_Calories) N(PLU_Nutr_CalorFat) N(PLU_Nutr_TotalFat) N(PLU_Nutr_TotalFatPTG)       \
  N(PLU_Nutr_TotalFatDEP) N(PLU_Nutr_SaturFat) N(PLU_Nutr_SaturFatPTG)                         \
  N(PLU_Nutr_SaturFatDEP) N(PLU_Nutr_Cholesterol) N(PLU_Nutr_CholesPTG) N(PLU_Nutr_CholesDEP)  \
  N(PLU_Nutr_Sodium) N(PLU_Nutr_SodiumPTG) N(PLU_Nutr_SodiumDEP) N(PLU_Nutr_Carbohy)           \
  N(PLU_Nutr_CarbohyPTG) N(PLU_Nutr_CarbohyDEP) N(PLU_Nutr_Fiber) N(PLU_Nutr_FiberPTG)         \
  N(PLU_Nutr_FiberDEP) N(PLU_Nutr_Sugars) N(PLU_Nutr_Protein) N(PLU_Nutr_VitaminA)             \
  N(PLU_Nutr_VitaminC) N(PLU_Nutr_Calcium) N(PLU_Nutr_Iron) N(PLU_Nutr_Thiamin)                \
  N(PLU_Nutr_Riboflavin) N(PLU_Nutr_Niacin) N(PLU_Nutr_Template) N(PLU_Nutr_Status)            \
  N(PLU_Nutr_TransFat_CU) N(PLU_Nutr_TransFatDEP_CU) N(PLU_Nutr_Dummy_CU)                      \
  T(PLU_Nutr_SerSizeNew_CU) T(PLU_Nutr_SerContNew_CU) T(PLU_Nutr_SerSize_BZ)                   \
  N(PLU_Nutr_CaloriesA_BZ) N(PLU_Nutr_Carbohy_BZ) N(PLU_Nutr_Protein_BZ)                       \
  N(PLU_Nutr_TotalFat_BZ) N(PLU_Nutr_SaturFat_BZ) N(PLU_Nutr_TransFat_BZ)                      \
  N(PLU_Nutr_Fiber_BZ) N(PLU_Nutr_Sodium_BZ)                                                   \
  N(Stat1_Byte1) N(Stat1_Byte2) N(Stat1_AppendPLUData) N(Stat1_FSHElFLife) N(Stat1_NUTPrint)   \
  N(Stat1_PBPreUnit) N(Stat1_PKDate) N(Stat1_PKTime) N(Stat1_RTCPKTime) N(Stat1_RTCSBTime)     \
  N(Stat1_SBDate) N(Stat1_SBDateSource) N(Stat1_SBTime) N(Stat1_SecurityTag) N(Stat1_UBDate)   \
  N(Stat1_UPriceOV) N(Stat1_Unit) N(Stat1_UnitPrice)                                           \
  N(Stat2_Byte1) N(Stat2_Byte2) N(Stat2_Byte3) N(Stat2_BARFormat) N(Stat2_Commodity)           \
  N(Stat2_Cost) N(Stat2_Discount) N(Stat2_ImageNo) N(Stat2_Ingredient) N(Stat2_IngredientNo)   \
  N(Stat2_ItemCode) N(Stat2_LBFormat1) N(Stat2_LBFormat2) N(Stat2_MGCode) N(Stat2_Nutrition)   \
  N(Stat2_PKDate) N(Stat2_PKTime) N(Stat2_PLUStatB2B) N(Stat2_PLUTare) N(Stat2_PlaceNo)        \
  N(Stat2_QTY) N(Stat2_QTYSymbol) N(Stat2_SBDate) N(Stat2_SBTime) N(Stat2_SPMessage)           \
  N(Stat2_SPMessageNo) N(Stat2_UBDate)                                                         \
  N(StatB_Byte1) N(StatB_Byte2) N(StatB_Byte3) N(StatB_Byte4) N(StatB_AutoPtperPLU)            \
  N(StatB_CoupPLUQTY) N(StatB_NegativePLU) N(StatB_PLUPriceCH) N(StatB_PrintGrTare)            \
  N(StatB_PrintTPrice) N(StatB_PrintUPrice) N(StatB_PrintWeight)                               \
  N(Stat2B_Byte1) N(Stat2B_Byte2) N(Stat2B_Byte3) N(Stat2B_Byte4) N(Stat2B_Byte5)              \
  N(Stat2B_Byte6) N(Stat2B_Byte7) N(Stat2B_Byte8) N(Stat2B_2NDPrice) N(Stat2B_2NDQTY)          \
  N(Stat2B_2NDQTYSymbol) N(Stat2B_2ndPrinter) N(Stat2B_BonusPoint) N(Stat2B_CDiscount)         \
  N(Stat2B_CoupledPLU) N(Stat2B_DiscountDW) N(Stat2B_ExIngrSPMGRecNo) N(Stat2B_GPCode)         \
  N(Stat2B_LTrayFile) N(Stat2B_MBarcode1) N(Stat2B_MBarcode1EXP) N(Stat2B_MBarcode2)           \
  N(Stat2B_MBarcode2EXP) N(Stat2B_PKIndicator) N(Stat2B_PLUSCR) N(Stat2B_PreName)              \
  N(Stat2B_PrecentTare) N(Stat2B_RDiscount) N(Stat2B_RefPLUNo) N(Stat2B_SPriceDiscount)        \
  N(Stat2B_STDiscount) N(Stat2B_STEMP1) N(Stat2B_STEMP2) N(Stat2B_TMBarcode1)                  \
  N(Stat2B_TMBarcode2) N(Stat2B_TRBT) N(Stat2B_TRBTLink) N(Stat2B_TTLMBAR1EXP)                 \
  N(Stat2B_TTLMBAR2EXP) N(Stat2B_TareRange) N(Stat2B_TaxNo) N(Stat2B_TextNoSLT)                \
  N(Stat2B_Trace_Ke)                                                                           \
  N(ST_No) N(SECT_No) B(KVRBinData) N(Is_Selected) N(BCC)
