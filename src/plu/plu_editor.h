// The PLU editor as data: every control of the editor under its name, with its value as text
// (check boxes as bool, list boxes as the index into their entries), and both directions
// between those values and a row of KVR_25: showPluData and savePLU. A window binds each control
// by name through pluControls() and asks controlLimit() for what it may take.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "codec/barcode.h"
#include "codec/environment.h"
#include "codec/plu_row.h"
#include "plu/plu_format.h"

namespace brindale::shell {
class LanguageSet;
}

namespace brindale::plu {

// One row of the nutrition grid GridNutri: a serving text, or a value with its decimal places
// and, for some nutrients, a percentage.
struct NutritionCell {
  std::string key;      // key of the row in the sections Nutrition and Nutri_Num
  bool isText = false;  // the serving size and servings per container
  bool hasPercent = false;
  std::string value;    // the text, or the number with its decimal places
  std::string percent;  // PTG value, when hasPercent
  bool operator==(const NutritionCell&) const = default;
};

struct NutritionGrid {
  std::vector<NutritionCell> rows;
  std::string templateNo = "0";  // PLU_Nutr_Template
  bool operator==(const NutritionGrid&) const = default;
};

struct PluFields {
  // MainTab0: PLU data
  std::string meditPLU, meditUPrice, meditCost, meditTare, meditQty;
  bool chkWeighed = false;
  int combSymbol = 0;
  int combMG = 0;
  std::string meditDepartment;
  std::string meditIngrNum, meditSMsgNum, meditPlaceNum, meditCoupledPLU;
  std::string meditTemp1, meditTemp2;
  bool chkUPoverride = false, chknegativePLU = false;
  std::string txtName;  // first line of the commodity block (display only)
  // MainTab1: label and barcode
  int combLabelFormat1 = 0, combLabelFormat2 = 0;
  std::string meditItemCode;
  int combBarcodeFormat = 0;
  std::string meditFlagCode1, meditFlagCode2;
  int CombBarType = 0;  // 0: first barcode kind (EAN, last byte below 10), 1: second (ITF)
  int combBarCode = 0;  // the last byte within its kind (BAR_LAST_BYTE)
  int CombBarTypeC = 0; // EAN128 template of the multi barcode
  int CombMBar = 0;     // which of the four multi barcodes txtMBar shows
  int CombMBarType = 0;
  std::string txtMBar;
  // MainTab2: dates and texts
  std::string meditSellDate;
  bool chkSellDatePrint = false;
  std::string DTPickerSellTime = "00:00";
  bool chkSellTimePrint = false, chkSellTimeRTC = false;
  std::string meditPackDate;
  bool chkPackDatePrint = false;
  std::string DTPickerPackTime = "00:00";
  bool chkPackTimePrint = false, chkPackTimeRTC = false;
  std::string meditUseDate;
  bool chkUseDatePrint = false;
  std::string meditText1, meditText2, meditText3, meditText4, meditText5;
  std::string meditImage1, meditImage2, meditImage3, meditImage4, meditImage5, meditImage6, meditImage7,
      meditImage8, meditImage9, meditImage10;
  std::string meditExIngrNum, meditExSMsgNum;
  std::string meditIngredient, meditSMG;  // first lines of the two blocks (display only)
  // MainTab3: discount
  int combDiscType = 0, combMarkdownType = 0;
  std::string meditDiscLimit1, meditDiscLmtPer1, meditDiscLimit2, meditDiscLmtPer2;
  std::string DTPickerStartDate = "2000-01-01", DTPickerEndDate = "2000-01-01";
  std::string DTPickerStartTime = "00:00", DTPickerEndTime = "00:00";
  std::string meditDiscDayOfWeek = "0000000";
  // MainTab8: nutrition
  bool chkNutriPNT = false;
  NutritionGrid GridNutri;

  // What the string editor and the multi barcode selector keep behind the controls.
  codec::Bytes commodityBlock, ingredientBlock, spMessageBlock;
  codec::MultiBarcodeBuffers multiBarcodes;

  bool operator==(const PluFields& o) const;
};

enum class ControlKind : uint8_t { Edit, Check, Combo, Time, Date, Grid, TextBlock };

// One control as a window binds it: its name (the objectName), the page ("MainTab0" ...), its
// kind and where its value lives. Listed in the order of the editor's table.
struct ControlInfo {
  const char* name;
  const char* page;
  ControlKind kind;
  std::string PluFields::*text = nullptr;  // Edit, Time, Date, TextBlock (its first line)
  bool PluFields::*check = nullptr;        // Check
  int PluFields::*combo = nullptr;         // Combo
};
std::span<const ControlInfo> pluControls();
const ControlInfo* findControl(std::string_view name);

// What a main group list entry and a flexi barcode entry need from KVR_23 and KVR_14.
struct MainGroupInfo {
  int64_t MG_No = 0;
  int64_t DP_No = 0;
  std::string MG_Name;
};
struct FlexiInfo {
  int64_t FBar_No = 0;
  int64_t FBar_EANorITF = 0;  // 1 first kind, 0 second
};

// Everything the editor's logic reads besides the row.
struct PluEditorContext {
  NumberSettings settings;
  codec::CodecEnvironment env;              // code page required; lists, inheritance, flexi rows
  const shell::LanguageSet* lang = nullptr; // captions, list entries and messages
  std::vector<MainGroupInfo> mainGroups;    // of the current store
  std::vector<FlexiInfo> flexiFormats;
  int64_t currentStore = 0, currentSection = 0;
};

// ---- list entries -------------------------------------------------------------------------
struct ComboEntry {
  std::string text;
  int64_t value = 0;
  bool notInList = false;  // the extra entry for a row value that no entry stands for
  bool operator==(const ComboEntry&) const = default;
};
using ComboEntries = std::vector<ComboEntry>;

// The entries of a list box for the row's value: when no entry stands for `rowValue`, an extra
// entry "n (not in the list)" is added at the end. `index` gets the entry of the value.
ComboEntries comboEntries(const PluEditorContext& ctx, const PluFields& fields, std::string_view control,
                          int64_t rowValue, int* index);
// The entries without any extra one.
ComboEntries baseComboEntries(const PluEditorContext& ctx, const PluFields& fields, std::string_view control);

// combSymbol by the weighed state (combSymbolChgList): two entries weighed, thirteen not; and the
// unit caption beside quantity and tare ("Wg" weighed, "Wpcs" not).
ComboEntries symbolEntries(const PluEditorContext& ctx, bool weighed);
std::string unitCaption(const PluEditorContext& ctx, bool weighed);

// ---- barcode fields -------------------------------------------------------------------------
struct FlagField {
  std::string text;
  bool enabled = false;
  int length = 0;
};
struct BarcodeControls {
  FlagField flag1, flag2;
  bool itemEnabled = false;
  int itemDigits = 0;        // N
  std::string itemText;      // cut to N
  bool flexi = false;
  std::string error;         // a format line that does not parse
};
// Shapes the barcode fields for a format (the stored value: 0..32 built in, 33+ flexi, 255
// inherited, resolved through the store's settings for this row) and the last byte's kind.
BarcodeControls showBarcodeControls(const PluEditorContext& ctx, int64_t format, int64_t lastByte,
                                    std::string_view itemText, const codec::PluRow& row,
                                    std::string_view flag1 = {}, std::string_view flag2 = {});
// The twelve digits of PLU_EANData as the scale will get them for the values on screen,
// inheritance resolved; the codec's message when they cannot be built.
std::string barcodePreview(const PluEditorContext& ctx, const PluFields& fields, const codec::PluRow& row);
// How many digits txtMBar may hold under the chosen EAN128 template.
int multiBarcodeMaxLength(int templateIndex);
// Shows another of the four multi barcodes: what txtMBar holds goes to its buffer first.
void selectMultiBarcode(const PluEditorContext& ctx, PluFields& fields, int newIndex);

// ---- discount -------------------------------------------------------------------------------
struct DiscountControls {
  bool limit1 = false, lmtPer1 = false, limit2 = false, lmtPer2 = false, markdown = false, pickers = false;
  bool percentSymbols = false;     // lblDiscLmtPerSym1, 2
  std::string lmtPer1CaptionKey;   // "MainTabDiscAmt1" or "MainTabDiscFixPrice"
};
DiscountControls discountControls(int discType);
// A change of the discount type while editing: with the percent symbols hidden, the two
// "per" values lose their decimal sign and keep at most their last four digits.
void applyDiscountType(const PluEditorContext& ctx, PluFields& fields);
// The limit rules after a change of `changed` (a picker or limit control name): an end date
// before the start date follows the changed one, the same for times; a second limit above the
// first lifts the first, the same for the two values behind them.
void applyDiscountRules(PluFields& fields, std::string_view changed);

// ---- nutrition ------------------------------------------------------------------------------
NutritionGrid nutritionGrid(const PluEditorContext& ctx, const codec::PluRow& row);
// The caption and unit of a grid row from the sections Nutrition and Nutri_Num.
std::string nutritionCaption(const PluEditorContext& ctx, const NutritionCell& cell);
std::string nutritionUnit(const PluEditorContext& ctx, const NutritionCell& cell);
// PLU_Nutr_Status from the row's values.
int64_t nutritionStatus(int countryIndex, const codec::PluRow& row);

// ---- limits ---------------------------------------------------------------------------------
struct InputError {
  std::string control;   // the control to give the focus back to
  std::string limit;     // as shown
  bool above = true;     // exceeded (">") or undercut ("<")
  std::string detail;    // for a grid cell or a line: which
};
struct FieldLimit {
  int64_t low = 0, high = 0;  // whole numbers as stored
  int places = 0;             // the scale of the text
  int maxBytes = 0;           // texts: bytes in the code page; 0 for numbers
};
// The limit of a control, from the encoding of its column in the PLU record.
std::optional<FieldLimit> controlLimit(const PluEditorContext& ctx, std::string_view control);
// "inputErr" then ">" or "<", the limit and "!".
std::string inputErrorMessage(const PluEditorContext& ctx, const InputError& e);
// Checks one control's text; nullopt when it may be saved.
std::optional<InputError> checkControl(const PluEditorContext& ctx, const PluFields& fields, std::string_view control);

// ---- both directions --------------------------------------------------------------------------
// The controls for a row, in the order of the editor's table: unit list, main group, barcode
// split, multi barcodes, and the forms of chgByPoint.
PluFields showPluData(const PluEditorContext& ctx, const codec::PluRow& row);
// clearPLUControls: blank texts, "0" in the number controls, no checks, every list at 0.
PluFields clearPLUControls(const PluEditorContext& ctx);

struct SaveResult {
  std::optional<InputError> inputError;  // a value beyond its limit: nothing written
  std::string failure;                   // a barcode that cannot be built: nothing written
  bool ok() const { return !inputError && failure.empty(); }
};
// Writes the controls into `row` in the fifteen steps of the save. `row` is the row as stored
// (for a new row, a fresh row of the table); a control that still shows what the row gave keeps
// a column that it cannot show exactly (a date that is no date, a nutrition value of more than
// three places, a multi barcode with bytes beyond its text). On failure `row` is left untouched.
SaveResult savePLU(const PluEditorContext& ctx, const PluFields& fields, codec::PluRow& row, bool asNew);

}  // namespace brindale::plu
