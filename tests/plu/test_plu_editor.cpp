#include <gtest/gtest.h>

#include <filesystem>
#include <map>

#include "codec/code_page.h"
#include "codec/plu_record.h"
#include "plu/plu_editor.h"
#include "plu/plu_store.h"
#include "plu_row_generator.h"
#include "../codec/codec_test_support.h"
#include "shell/language.h"
#include "shell/program_state.h"
#include "store/rebuild.h"
#include "store/row_mapper.h"

using namespace brindale;
using namespace brindale::plu;
using codec::PluRow;

namespace {

struct Inheritance : codec::InheritanceSource {
  codec::HierarchySettings group{7, 255, 0, 0, 0, 1};
  int mainGroupCalls = 0;
  std::optional<codec::HierarchySettings> mainGroup(int64_t, int64_t) override {
    ++mainGroupCalls;
    return group;
  }
  std::optional<codec::HierarchySettings> department(int64_t, int64_t) override { return std::nullopt; }
  std::optional<codec::HierarchySettings> store(int64_t) override { return std::nullopt; }
};

struct Flexi : codec::FlexiBarcodeSource {
  std::optional<int64_t> itemDigitNo(int64_t no, int64_t kind) override {
    if (no == 1) return kind == 1 ? 4 : 6;
    return std::nullopt;
  }
};

struct Editor : ::testing::Test {
  shell::LanguageSet lang;
  codec::CodePage codePage{"CP1252"};
  codec::BarcodeLists lists;
  Inheritance inheritance;
  Flexi flexi;
  PluEditorContext ctx;

  void SetUp() override {
    lang.loadAll(BRINDALE_SOURCE_ROOT, "Standard");
    lists = shell::barcodeListsOf(lang);
    ASSERT_EQ(lists.EAN_EDIT.size(), 34u);  // REF and the formats 0 to 32
    ctx.lang = &lang;
    ctx.env.codePage = &codePage;
    ctx.env.barcodeLists = &lists;
    ctx.env.inheritance = &inheritance;
    ctx.env.flexiBarcodes = &flexi;
    ctx.mainGroups = {{1, 1, "Fruit"}, {2, 1, "Meat"}};
    ctx.flexiFormats = {{1, 1}, {1, 0}};
    ctx.currentStore = 1;
    ctx.currentSection = 1;
  }

  PluRow baseRow() {
    PluRow r;
    r.ST_No = 1;
    r.SECT_No = 1;
    r.PLU_No = 10;
    r.PLU_MG = 1;
    r.Stat2_MGCode = 1;
    r.Stat1_Unit = 1;
    return r;
  }
  int indexOf(std::string_view control, const PluFields& f, int64_t value) {
    const auto e = baseComboEntries(ctx, f, control);
    for (size_t i = 0; i < e.size(); ++i)
      if (e[i].value == value) return static_cast<int>(i);
    return -1;
  }
};

}  // namespace

TEST_F(Editor, PriceTypedWithEitherDecimalSignStoresWholeAndShowsAgain) {
  PluRow row = baseRow();
  PluFields f = showPluData(ctx, row);
  f.meditUPrice = "12.34";
  ASSERT_TRUE(savePLU(ctx, f, row, false).ok());
  EXPECT_EQ(row.PLU_UPrice, 1234);
  EXPECT_EQ(showPluData(ctx, row).meditUPrice, "12.34");

  ctx.settings.DecimalSign = ",";
  f = showPluData(ctx, row);
  EXPECT_EQ(f.meditUPrice, "12,34");
  f.meditUPrice = "56,78";
  ASSERT_TRUE(savePLU(ctx, f, row, false).ok());
  EXPECT_EQ(row.PLU_UPrice, 5678);
}

TEST_F(Editor, DayOfWeekTextStoresBinaryNumber) {
  PluRow row = baseRow();
  PluFields f = showPluData(ctx, row);
  f.meditDiscDayOfWeek = "0000011";
  ASSERT_TRUE(savePLU(ctx, f, row, false).ok());
  EXPECT_EQ(row.PLU_DisDayOfWeek, 3);
  EXPECT_EQ(row.Stat2B_DiscountDW, 1);
  EXPECT_EQ(row.Stat2_PLUStatB2B, 1);
}

TEST_F(Editor, StorageTemperatureForms) {
  PluRow row = baseRow();
  PluFields f = showPluData(ctx, row);
  EXPECT_EQ(f.meditTemp1, "");
  f.meditTemp1 = "-5";
  f.meditTemp2 = "5";
  ASSERT_TRUE(savePLU(ctx, f, row, false).ok());
  EXPECT_EQ(row.PLU_ST1stLimit, 1005);
  EXPECT_EQ(row.PLU_ST2ndLimit, 5);
  EXPECT_EQ(row.Stat2B_STEMP1, 1);
  f = showPluData(ctx, row);
  EXPECT_EQ(f.meditTemp1, "-5");
  f.meditTemp2 = "";
  ASSERT_TRUE(savePLU(ctx, f, row, false).ok());
  EXPECT_EQ(row.Stat2B_STEMP2, 0);
}

TEST_F(Editor, FirstLabelFormatEntryStores255AndTheEncoderAsksTheMainGroup) {
  PluRow row = baseRow();
  PluFields f = showPluData(ctx, row);
  f.combLabelFormat1 = 0;
  ASSERT_TRUE(savePLU(ctx, f, row, false).ok());
  EXPECT_EQ(row.PLU_LBFormat1, 255);
  codec::EncoderContext enc(ctx.env);
  ASSERT_TRUE(codec::encodePluRecord(enc, row, true).ok());
  EXPECT_GT(inheritance.mainGroupCalls, 0);
  EXPECT_EQ(row.Stat2_LBFormat1, 1);
  EXPECT_EQ((*row.KVRBinData)[15], 7);  // the group's label format
  EXPECT_EQ(row.PLU_LBFormat1, 255);
  // Index n stores n - 1.
  f = showPluData(ctx, row);
  f.combLabelFormat1 = 3;
  ASSERT_TRUE(savePLU(ctx, f, row, false).ok());
  EXPECT_EQ(row.PLU_LBFormat1, 2);
}

TEST_F(Editor, Country27KeepsTransFatTheRecordDoesNotSend) {
  ctx.settings.CountryIndex = 27;
  ctx.env.settings.CountryIndex = 27;
  PluRow row = baseRow();
  PluFields f = showPluData(ctx, row);
  bool found = false;
  for (auto& c : f.GridNutri.rows)
    if (c.key == "TransFat") {
      c.value = "1.5";
      found = true;
    }
  ASSERT_TRUE(found);
  f.GridNutri.rows[0].value = "100 g";  // the long serving column for 27
  ASSERT_TRUE(savePLU(ctx, f, row, false).ok());
  EXPECT_EQ(row.PLU_Nutr_TransFat_CU, 15);
  EXPECT_EQ(row.PLU_Nutr_TransFatDEP_CU, 1);
  EXPECT_EQ(*row.PLU_Nutr_SerSizeNew_CU, "100 g");
  EXPECT_EQ(row.Stat2_Nutrition, 1);
  codec::EncoderContext enc(ctx.env);
  ASSERT_TRUE(codec::encodePluRecord(enc, row, false).ok());
  codec::PluRow back;
  back.KVRBinData = row.KVRBinData;
  ASSERT_EQ(codec::decodePluRecord(ctx.env, back).outcome, codec::DecodeOutcome::Decoded);
  EXPECT_EQ(back.PLU_Nutr_TransFat_CU, 0);
}

TEST_F(Editor, NutritionStatusBits) {
  PluRow r;
  r.PLU_Nutr_Thiamin = 1;
  r.PLU_Nutr_Niacin = 3;
  r.PLU_Nutr_TransFat_CU = 2;
  EXPECT_EQ(nutritionStatus(0, r), 5);
  EXPECT_EQ(nutritionStatus(1, r), 13);
  r.PLU_Nutr_Thiamin = 0;
  EXPECT_EQ(nutritionStatus(26, r), 4);
}

TEST_F(Editor, OverlapWhileAddingKeepsTheEnteredData) {
  const std::string dir = std::filesystem::temp_directory_path() / ("plu_overlap_" + std::to_string(::getpid()));
  std::filesystem::create_directories(dir);
  const std::string dbPath = dir + "/Brindale1.mdb";
  ASSERT_EQ(store::rebuildDatabase(std::string(BRINDALE_SOURCE_ROOT) + "/Database/ABC1.txt", dbPath, 0), 0);
  auto db = store::Database::open(dbPath);
  ASSERT_TRUE(db);
  {
    store::Recordset rs(*db, "KVR_25");
    rs.addNew();
    PluRow row = baseRow();
    row.PLU_No = 42;
    writePluRow(rs, row);
    rs.update();
  }
  EXPECT_EQ(overlapQuery("42", 1), "Select * from KVR_25 Where PLU_No=42 and ST_No=1");
  PluFields f = clearPLUControls(ctx);
  f.meditPLU = "42";
  f.meditUPrice = "3.00";
  EXPECT_TRUE(checkPLUOverlap(*db, f.meditPLU, 1, true, 0, false));
  EXPECT_FALSE(checkPLUOverlap(*db, f.meditPLU, 2, true, 0, false));
  EXPECT_FALSE(checkPLUOverlap(*db, f.meditPLU, 1, false, 42, false));  // the row itself
  EXPECT_FALSE(checkPLUOverlap(*db, f.meditPLU, 1, true, 0, true));     // a copy skips the check
  EXPECT_EQ(f.meditUPrice, "3.00");
  // The stored row reads back the same.
  store::Recordset rs(*db, "select * from KVR_25 where PLU_No=42");
  ASSERT_EQ(rs.recordCount(), 1);
  EXPECT_EQ(readPluRow(rs).PLU_MG, 1);
  db.reset();
  std::filesystem::remove_all(dir);
}

TEST_F(Editor, ItemCodeIsCutToNOnScreen) {
  PluRow row = baseRow();
  row.PLU_BarFormat = 1;  // first list: N 5
  row.Stat2_ItemCode = 1;
  row.PLU_EANItemCode = "123456789";
  row.PLU_EANLastByte = 5;
  row.PLU_EANData = "";
  const PluFields f = showPluData(ctx, row);
  EXPECT_EQ(f.meditItemCode, "12345");
  const auto c = showBarcodeControls(ctx, 1, 5, "123456789", row, "2", "3");
  EXPECT_TRUE(c.itemEnabled);
  EXPECT_EQ(c.itemDigits, 5);
  EXPECT_TRUE(c.flag1.enabled);
  EXPECT_EQ(c.flag1.text, "2");
  // Format 27 of the first list: no flags, N 7.
  const auto d = showBarcodeControls(ctx, 27, 5, "123456789", row);
  EXPECT_EQ(d.flag1.text, "0");
  EXPECT_FALSE(d.flag1.enabled);
  EXPECT_EQ(d.itemText, "1234567");
  // A flexi format: both flags "F", N from its row; without a row, 10.
  const auto x = showBarcodeControls(ctx, 33, 5, "123456789", row);
  EXPECT_EQ(x.flag1.text, "F");
  EXPECT_FALSE(x.flag2.enabled);
  EXPECT_EQ(x.itemDigits, 4);
  EXPECT_EQ(showBarcodeControls(ctx, 40, 5, "1", row).itemDigits, 10);
}

TEST_F(Editor, MultiBarcodeKindAboveTwoShowsZero) {
  PluRow row = baseRow();
  std::vector<uint8_t> b(51, 0);
  b[0] = 134;
  b[1] = '1';
  b[2] = '2';
  b[50] = 3;
  row.PLU_MultiBar1 = b;
  row.Stat2B_MBarcode1 = 1;
  PluFields f = showPluData(ctx, row);
  EXPECT_EQ(f.txtMBar, "12");
  EXPECT_EQ(f.CombMBarType, 0);
  // Another barcode typed into the second buffer is saved with its kind.
  selectMultiBarcode(ctx, f, 1);
  EXPECT_EQ(f.txtMBar, "");
  f.txtMBar = "987";
  f.CombMBarType = 2;
  ASSERT_TRUE(savePLU(ctx, f, row, false).ok());
  ASSERT_TRUE(row.PLU_MultiBar2);
  EXPECT_EQ((*row.PLU_MultiBar2)[0], 134);
  EXPECT_EQ((*row.PLU_MultiBar2)[50], 2);
  EXPECT_EQ(row.Stat2B_MBarcode2, 1);
  EXPECT_EQ(*row.PLU_MultiBar1, b);  // untouched: its byte 50 stays 3
}

TEST_F(Editor, MultiBarcodeLengthFollowsTheTemplate) {
  PluRow row = baseRow();
  PluFields f = showPluData(ctx, row);
  f.CombBarTypeC = 3;  // "(11)XXXXCD": four digits
  f.txtMBar = "12345";
  const auto r = savePLU(ctx, f, row, false);
  ASSERT_TRUE(r.inputError);
  EXPECT_EQ(r.inputError->control, "txtMBar");
  EXPECT_EQ(r.inputError->limit, "4");
}

TEST_F(Editor, ValueNoEntryStandsForShowsAsExtraEntryAndIsKept) {
  PluRow row = baseRow();
  row.PLU_QTYSymbol = 13;
  row.PLU_MG = 55;
  row.PLU_LBFormat2 = 40;
  row.PLU_BarFormat = 35;  // flexi 3: no KVR_14 row
  PluFields f = showPluData(ctx, row);
  const auto sym = comboEntries(ctx, f, "combSymbol", 13, nullptr);
  ASSERT_EQ(sym.size(), 14u);
  EXPECT_EQ(sym.back().text, "13 (not in the list)");
  EXPECT_EQ(f.combSymbol, 13);
  EXPECT_EQ(comboEntries(ctx, f, "combMG", 55, nullptr).back().text, "55 (not in the list)");
  EXPECT_TRUE(comboEntries(ctx, f, "combBarcodeFormat", 35, nullptr).back().notInList);
  EXPECT_FALSE(comboEntries(ctx, f, "combBarcodeFormat", 33, nullptr).back().notInList);
  PluRow saved = row;
  ASSERT_TRUE(savePLU(ctx, f, saved, false).ok());
  EXPECT_EQ(saved.PLU_QTYSymbol, 13);
  EXPECT_EQ(saved.PLU_MG, 55);
  EXPECT_EQ(saved.PLU_LBFormat2, 40);
  EXPECT_EQ(saved.PLU_BarFormat, 35);
  f.combSymbol = 2;
  f.combMG = indexOf("combMG", f, 2);
  ASSERT_TRUE(savePLU(ctx, f, saved, false).ok());
  EXPECT_EQ(saved.PLU_QTYSymbol, 2);
  EXPECT_EQ(saved.PLU_MG, 2);
  EXPECT_EQ(showPluData(ctx, saved).meditDepartment, "1");
}

// The free label formats 1F to 99F (17 to 115) are entries of both label format lists, as in the
// hierarchy's forms; only a value beyond them is "not in the list".
TEST_F(Editor, LabelFormatListsHoldTheFreeFormats) {
  PluRow row = baseRow();
  row.PLU_LBFormat1 = 115;
  row.Stat2_LBFormat1 = 1;
  row.PLU_LBFormat2 = 60;
  row.Stat2_LBFormat2 = 1;
  PluFields f = showPluData(ctx, row);
  const auto one = comboEntries(ctx, f, "combLabelFormat1", 115, nullptr);
  const auto two = comboEntries(ctx, f, "combLabelFormat2", 60, nullptr);
  EXPECT_EQ(one.at(static_cast<size_t>(f.combLabelFormat1)).text, "99F");
  EXPECT_EQ(two.at(static_cast<size_t>(f.combLabelFormat2)).text, "44F");
  for (const auto& e : one) EXPECT_FALSE(e.notInList) << e.text;
  EXPECT_TRUE(comboEntries(ctx, f, "combLabelFormat1", 116, nullptr).back().notInList);
  f.combLabelFormat2 = static_cast<int>(two.size()) - 1;  // 99F
  ASSERT_TRUE(savePLU(ctx, f, row, false).ok());
  EXPECT_EQ(row.PLU_LBFormat1, 115);
  EXPECT_EQ(row.PLU_LBFormat2, 115);
}

// The last byte of the barcode data: the bar style with the first kind, 90 plus the style with
// the second (as the store's bar flag); anything else is kept as "not in the list".
TEST_F(Editor, LastByteIsTheStyleOrNinetyPlusTheStyle) {
  PluRow row = baseRow();
  row.PLU_EANLastByte = 93;
  PluFields f = showPluData(ctx, row);
  EXPECT_EQ(f.CombBarType, 1);
  EXPECT_EQ(f.combBarCode, 3);
  f.combBarCode = 4;
  ASSERT_TRUE(savePLU(ctx, f, row, false).ok());
  EXPECT_EQ(row.PLU_EANLastByte, 94);
  f.CombBarType = 0;
  ASSERT_TRUE(savePLU(ctx, f, row, false).ok());
  EXPECT_EQ(row.PLU_EANLastByte, 4);
  row.PLU_EANLastByte = 15;
  f = showPluData(ctx, row);
  EXPECT_EQ(f.CombBarType, 1);
  EXPECT_TRUE(comboEntries(ctx, f, "combBarCode", 15, nullptr).back().notInList);
  ASSERT_TRUE(savePLU(ctx, f, row, false).ok());
  EXPECT_EQ(row.PLU_EANLastByte, 15);
}

TEST_F(Editor, WeighedStateSwitchesTheSymbolList) {
  PluRow row = baseRow();
  PluFields f = showPluData(ctx, row);
  EXPECT_EQ(symbolEntries(ctx, true).size(), 2u);
  EXPECT_EQ(unitCaption(ctx, true), "kg");
  EXPECT_EQ(unitCaption(ctx, false), "pcs");
  f.chkWeighed = true;
  f.combSymbol = 1;
  ASSERT_TRUE(savePLU(ctx, f, row, false).ok());
  EXPECT_EQ(row.Stat1_Unit, 0);
  EXPECT_EQ(row.Stat1_PBPreUnit, 1);
  EXPECT_EQ(row.Stat2_QTYSymbol, 0);
}

TEST_F(Editor, ValueBeyondItsLimitIsRefusedWithTheMessage) {
  PluRow row = baseRow();
  const PluRow before = row;
  PluFields f = showPluData(ctx, row);
  f.meditSMsgNum = "100";
  auto r = savePLU(ctx, f, row, false);
  ASSERT_TRUE(r.inputError);
  EXPECT_EQ(r.inputError->control, "meditSMsgNum");
  EXPECT_EQ(inputErrorMessage(ctx, *r.inputError), "Invalid input, the value must not be>99!");
  EXPECT_EQ(row, before);
  f = showPluData(ctx, row);
  f.meditUPrice = "1000000.00";
  r = savePLU(ctx, f, row, false);
  ASSERT_TRUE(r.inputError);
  EXPECT_EQ(r.inputError->limit, "999999.99");
  f = showPluData(ctx, row);
  f.meditPLU = "0";
  r = savePLU(ctx, f, row, false);
  ASSERT_TRUE(r.inputError);
  EXPECT_FALSE(r.inputError->above);
  f = showPluData(ctx, row);
  f.meditTemp1 = "-12800";
  r = savePLU(ctx, f, row, false);
  ASSERT_TRUE(r.inputError);
  EXPECT_EQ(inputErrorMessage(ctx, *r.inputError), "Invalid input, the value must not be<-12799!");
}

// Every field at its limit: the row that the editor accepts always encodes.
TEST_F(Editor, EveryFieldAtItsLimitEncodes) {
  for (int country : {0, 1, 26, 30}) {
    ctx.settings.CountryIndex = country;
    ctx.env.settings.CountryIndex = country;
    PluRow row = baseRow();
    PluFields f = clearPLUControls(ctx);
    for (const auto& c : pluControls()) {
      const auto lim = controlLimit(ctx, c.name);
      if (!lim || !c.text || lim->maxBytes) continue;
      f.*c.text = formatScaled(lim->high, lim->places, ctx.settings.DecimalSign);
    }
    f.meditTemp1 = "-12799";
    f.meditTemp2 = "1000";
    f.meditDiscDayOfWeek = "1111111";
    f.combBarcodeFormat = indexOf("combBarcodeFormat", f, 16);  // N 10
    f.meditItemCode = "9999999999";
    f.combBarCode = 9;
    f.combDiscType = 7;
    f.combMarkdownType = 3;
    f.DTPickerStartDate = "2099-12-31";
    f.DTPickerEndDate = "2099-12-31";
    f.DTPickerSellTime = "23:59";
    f.CombBarTypeC = 0;
    f.txtMBar = std::string(16, '9');
    for (auto& cell : f.GridNutri.rows) {
      if (cell.isText) cell.value = std::string(cell.key == "SerCont" ? 10 : (country == 26 ? 40 : 20), 'X');
      else cell.value = cell.key == "Sodium_BZ" ? "99999999" : (cell.key == "TotalFat" ? "9.999" : "9999");
      if (cell.hasPercent) cell.percent = "99";
    }
    f.GridNutri.templateNo = "255";
    f.commodityBlock = std::vector<uint8_t>{1, 3, 'A', 'B', 'C', 0x0C};
    auto r = savePLU(ctx, f, row, true);
    ASSERT_TRUE(r.ok()) << country << " " << (r.inputError ? r.inputError->control + r.inputError->detail : r.failure);
    EXPECT_EQ(row.PLU_No, 99999999);
    if (country != 30) EXPECT_EQ(row.PLU_Nutr_TotalFat, 9999);
    codec::EncoderContext enc(ctx.env);
    const auto s = codec::encodePluRecord(enc, row, true);
    EXPECT_TRUE(s.ok()) << country << " " << s.message();
  }
}

TEST_F(Editor, DiscountControlsByType) {
  EXPECT_FALSE(discountControls(0).pickers);
  const auto one = discountControls(1);
  EXPECT_TRUE(one.pickers);
  EXPECT_FALSE(one.limit1);
  const auto six = discountControls(6);
  EXPECT_TRUE(six.lmtPer1);
  EXPECT_FALSE(six.limit1);
  EXPECT_EQ(six.lmtPer1CaptionKey, "MainTabDiscFixPrice");
  const auto three = discountControls(3);
  EXPECT_TRUE(three.limit2 && three.lmtPer2 && three.markdown && three.percentSymbols);
  EXPECT_FALSE(discountControls(4).percentSymbols);

  PluFields f;
  f.combDiscType = 2;
  f.meditDiscLmtPer1 = "123.45";
  f.meditDiscLmtPer2 = "7";
  applyDiscountType(ctx, f);
  EXPECT_EQ(f.meditDiscLmtPer1, "2345");
  EXPECT_EQ(f.meditDiscLmtPer2, "7");

  f.DTPickerStartDate = "2024-05-10";
  f.DTPickerEndDate = "2024-05-01";
  applyDiscountRules(f, "DTPickerEndDate");
  EXPECT_EQ(f.DTPickerStartDate, "2024-05-01");
  f.DTPickerEndDate = "2024-04-01";
  applyDiscountRules(f, "DTPickerStartDate");
  EXPECT_EQ(f.DTPickerEndDate, "2024-05-01");
  f.meditDiscLimit1 = "1.00";
  f.meditDiscLimit2 = "2.00";
  applyDiscountRules(f, "meditDiscLimit2");
  EXPECT_EQ(f.meditDiscLimit1, "2.00");
}

TEST_F(Editor, DiscountDatesAndTypeSaved) {
  PluRow row = baseRow();
  PluFields f = showPluData(ctx, row);
  f.combDiscType = 7;
  f.DTPickerStartDate = "2024-03-15";
  f.DTPickerEndTime = "18:30";
  ASSERT_TRUE(savePLU(ctx, f, row, false).ok());
  EXPECT_EQ(row.PLU_Disc_Type, 7);
  EXPECT_EQ(row.Stat2_Discount, 1);
  EXPECT_EQ(row.PLU_Disc_SDate, 150324);
  EXPECT_EQ(row.PLU_Disc_ETime, 1830);
}

TEST_F(Editor, ControlsAreListedByNameAndPage) {
  EXPECT_NE(findControl("meditUPrice"), nullptr);
  EXPECT_STREQ(findControl("combDiscType")->page, "MainTab3");
  EXPECT_STREQ(findControl("GridNutri")->page, "MainTab8");
  EXPECT_EQ(findControl("combBarFormat"), nullptr);
}

// The columns savePLU derives from the values; everything else must come back as it was.
static const char* const kDerived[] = {
    "Stat2_MGCode", "Stat2_Cost", "Stat2_PLUTare", "Stat2_QTY", "Stat2_QTYSymbol", "Stat2_IngredientNo",
    "Stat2_SPMessageNo", "Stat2_PlaceNo", "Stat2B_CoupledPLU", "Stat2B_TextNoSLT", "Stat2B_MBarcode1",
    "Stat2B_MBarcode2", "Stat2B_TMBarcode1", "Stat2B_TMBarcode2", "Stat2B_DiscountDW", "Stat2_PLUStatB2B",
    "Stat2_LBFormat1", "Stat2_LBFormat2", "Stat2_ItemCode", "Stat2_BARFormat", "PLU_EANData", "PLU_EANFlags",
    "Stat2_SBDate", "Stat2_SBTime", "Stat2_PKDate", "Stat2_PKTime", "Stat2_UBDate", "Stat2_Discount",
    "Stat2_Nutrition", "PLU_Nutr_Status", "Stat2B_ExIngrSPMGRecNo", "Stat2_ImageNo", "Stat2_Commodity",
    "Stat2_Ingredient", "Stat2_SPMessage"};

TEST_F(Editor, ShowThenSaveKeepsEveryColumnButTheDerivedFlags) {
  // The generator's item codes fit the format lines of the codec's sample lists.
  lists = codec::test::sampleBarcodeLists();
  for (int country : {0, 1, 26, 30}) {
    ctx.settings.CountryIndex = country;
    ctx.env.settings.CountryIndex = country;
    codec::test::PluRowGenerator gen(1234 + static_cast<uint32_t>(country));
    for (int i = 0; i < 300; ++i) {
      const PluRow original = gen.next(country);
      PluRow saved = original;
      const auto r = savePLU(ctx, showPluData(ctx, original), saved, false);
      ASSERT_TRUE(r.ok()) << "row " << i << ": " << (r.inputError ? r.inputError->control : r.failure);
      for (const auto& c : codec::pluColumns()) {
        bool derived = false;
        for (auto d : kDerived)
          if (codec::equalsIgnoreCase(d, c.name)) derived = true;
        if (derived) continue;
        const bool same = c.kind == codec::ColumnKind::Number ? original.*c.number == saved.*c.number
                          : c.kind == codec::ColumnKind::Text ? original.*c.text == saved.*c.text
                                                              : original.*c.bytes == saved.*c.bytes;
        EXPECT_TRUE(same) << "country " << country << " row " << i << " column " << c.name << " format " << original.PLU_BarFormat << " item " << original.PLU_EANItemCode.value_or("-") << " -> " << saved.PLU_EANItemCode.value_or("-") << " last " << original.PLU_EANLastByte;
      }
      // The derived flags follow their values.
      EXPECT_EQ(saved.Stat2_Cost, saved.PLU_Cost > 0 ? 1 : 0);
      EXPECT_EQ(saved.Stat2_MGCode, saved.PLU_MG == 997 ? 0 : 1);
      EXPECT_EQ(saved.Stat2_Discount, saved.PLU_Disc_Type != 0 ? 1 : 0);
      EXPECT_EQ(saved.PLU_Nutr_Status, nutritionStatus(country, saved));
      EXPECT_EQ(saved.Stat2_Commodity, saved.PLU_Commodity ? 1 : 0);
    }
  }
}

TEST_F(Editor, BarcodePreviewShowsTheTwelveDigits) {
  PluRow row = baseRow();
  PluFields f = showPluData(ctx, row);
  f.CombBarType = 0;
  f.combBarcodeFormat = indexOf("combBarcodeFormat", f, 0);
  f.combBarCode = 5;
  f.meditItemCode = "123";
  EXPECT_EQ(barcodePreview(ctx, f, row), "123000000005");
  f.combBarcodeFormat = indexOf("combBarcodeFormat", f, 10);  // N 6
  EXPECT_EQ(barcodePreview(ctx, f, row), "000123000005");
}
