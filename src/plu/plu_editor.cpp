// showPluData and savePLU, the barcode fields, discount and nutrition rules, and the limits.
#include "plu/plu_editor.h"

#include <algorithm>

#include "codec/code_page.h"
#include "codec/text_block.h"
#include "shell/language.h"

namespace brindale::plu {

using codec::PluRow;

bool PluFields::operator==(const PluFields& o) const {
  for (const auto& c : pluControls()) {
    if (c.text && this->*c.text != o.*c.text) return false;
    if (c.check && this->*c.check != o.*c.check) return false;
    if (c.combo && this->*c.combo != o.*c.combo) return false;
  }
  return GridNutri == o.GridNutri && commodityBlock == o.commodityBlock && ingredientBlock == o.ingredientBlock &&
         spMessageBlock == o.spMessageBlock && multiBarcodes.buffers == o.multiBarcodes.buffers && txtMBar == o.txtMBar;
}

// ---- controls -----------------------------------------------------------------------------------
namespace {
#define E(n, p) {#n, p, ControlKind::Edit, &PluFields::n, nullptr, nullptr}
#define C(n, p) {#n, p, ControlKind::Check, nullptr, &PluFields::n, nullptr}
#define L(n, p) {#n, p, ControlKind::Combo, nullptr, nullptr, &PluFields::n}
#define T(n, p) {#n, p, ControlKind::Time, &PluFields::n, nullptr, nullptr}
#define D(n, p) {#n, p, ControlKind::Date, &PluFields::n, nullptr, nullptr}
#define B(n, p) {#n, p, ControlKind::TextBlock, &PluFields::n, nullptr, nullptr}
const ControlInfo kControls[] = {
    E(meditPLU, "MainTab0"), E(meditUPrice, "MainTab0"), E(meditCost, "MainTab0"), E(meditTare, "MainTab0"),
    E(meditQty, "MainTab0"), C(chkWeighed, "MainTab0"), L(combSymbol, "MainTab0"), L(combMG, "MainTab0"),
    E(meditDepartment, "MainTab0"), E(meditIngrNum, "MainTab2"), E(meditSMsgNum, "MainTab2"),
    E(meditPlaceNum, "MainTab2"), E(meditCoupledPLU, "MainTab0"), E(meditTemp1, "MainTab0"),
    E(meditTemp2, "MainTab0"), E(meditText1, "MainTab2"), E(meditText2, "MainTab2"), E(meditText3, "MainTab2"),
    E(meditText4, "MainTab2"), E(meditText5, "MainTab2"), E(meditDiscDayOfWeek, "MainTab3"),
    C(chkUPoverride, "MainTab0"), C(chknegativePLU, "MainTab0"), L(combLabelFormat1, "MainTab1"),
    L(combLabelFormat2, "MainTab1"), E(meditItemCode, "MainTab1"), L(combBarcodeFormat, "MainTab1"),
    E(meditFlagCode1, "MainTab1"), E(meditFlagCode2, "MainTab1"), L(combBarCode, "MainTab1"),
    L(CombBarType, "MainTab1"), L(CombBarTypeC, "MainTab1"), L(CombMBar, "MainTab1"), L(CombMBarType, "MainTab1"),
    E(txtMBar, "MainTab1"), E(meditSellDate, "MainTab2"), C(chkSellDatePrint, "MainTab2"),
    T(DTPickerSellTime, "MainTab2"), C(chkSellTimePrint, "MainTab2"), C(chkSellTimeRTC, "MainTab2"),
    E(meditPackDate, "MainTab2"), C(chkPackDatePrint, "MainTab2"), T(DTPickerPackTime, "MainTab2"),
    C(chkPackTimePrint, "MainTab2"), C(chkPackTimeRTC, "MainTab2"), E(meditUseDate, "MainTab2"),
    C(chkUseDatePrint, "MainTab2"), L(combDiscType, "MainTab3"), L(combMarkdownType, "MainTab3"),
    E(meditDiscLimit1, "MainTab3"), E(meditDiscLimit2, "MainTab3"), E(meditDiscLmtPer1, "MainTab3"),
    E(meditDiscLmtPer2, "MainTab3"), D(DTPickerStartDate, "MainTab3"), D(DTPickerEndDate, "MainTab3"),
    T(DTPickerStartTime, "MainTab3"), T(DTPickerEndTime, "MainTab3"), C(chkNutriPNT, "MainTab8"),
    {"GridNutri", "MainTab8", ControlKind::Grid, nullptr, nullptr, nullptr}, E(meditExIngrNum, "MainTab2"),
    E(meditExSMsgNum, "MainTab2"), E(meditImage1, "MainTab2"), E(meditImage2, "MainTab2"),
    E(meditImage3, "MainTab2"), E(meditImage4, "MainTab2"), E(meditImage5, "MainTab2"),
    E(meditImage6, "MainTab2"), E(meditImage7, "MainTab2"), E(meditImage8, "MainTab2"),
    E(meditImage9, "MainTab2"), E(meditImage10, "MainTab2"), B(txtName, "MainTab0"),
    B(meditIngredient, "MainTab2"), B(meditSMG, "MainTab2"),
};
#undef E
#undef C
#undef L
#undef T
#undef D
#undef B

std::string lookup(const PluEditorContext& ctx, std::string_view sec, std::string_view key) {
  const auto* t = ctx.lang ? ctx.lang->find(sec) : nullptr;
  const std::string* v = t ? t->find(key) : nullptr;
  return v ? *v : std::string(key);
}

const std::string& dsign(const PluEditorContext& ctx) { return ctx.settings.DecimalSign; }

std::string whole(int64_t v) { return v == codec::kNullNumber ? std::string("0") : std::to_string(v); }
int64_t num(int64_t v) { return v == codec::kNullNumber ? 0 : v; }

std::string blockFirstLine(const PluEditorContext& ctx, const codec::Bytes& b) {
  if (!ctx.env.codePage) return {};
  return codec::firstLine(b, codec::FirstLineVariant::Editor, *ctx.env.codePage);
}

int64_t comboValue(const PluEditorContext& ctx, const PluFields& f, std::string_view control, int64_t rowValue,
                   int index, bool* notInList = nullptr) {
  const ComboEntries e = comboEntries(ctx, f, control, rowValue, nullptr);
  if (index < 0 || static_cast<std::size_t>(index) >= e.size()) {
    if (notInList) *notInList = true;
    return rowValue;
  }
  if (notInList) *notInList = e[static_cast<std::size_t>(index)].notInList;
  return e[static_cast<std::size_t>(index)].value;
}

int16_t inherited(const PluEditorContext& ctx, const PluRow& row, int kind) {
  int16_t v = 0;
  if (!codec::getInheritedSetting(ctx.env.inheritance, row, kind, v)) return 0;
  return v;
}

}  // namespace

std::span<const ControlInfo> pluControls() { return kControls; }

const ControlInfo* findControl(std::string_view name) {
  for (const auto& c : kControls)
    if (codec::equalsIgnoreCase(c.name, name)) return &c;
  return nullptr;
}

// ---- barcode --------------------------------------------------------------------------------------
BarcodeControls showBarcodeControls(const PluEditorContext& ctx, int64_t format, int64_t lastByte,
                                    std::string_view itemText, const PluRow& row, std::string_view flag1,
                                    std::string_view flag2) {
  BarcodeControls c;
  bool inheritedFormat = false;
  if (format == 255) {
    PluRow r = row;
    const int64_t v = inherited(ctx, r, 1);
    format = v % 100;
    lastByte = v / 100;
    inheritedFormat = true;
  }
  const int64_t kind = lastByte < 10 ? 1 : 0;
  int n = 10, d1 = 0, d2 = 0;
  if (format > codec::kLastBuiltInFormat) {
    c.flexi = true;
    std::optional<int64_t> digits;
    if (ctx.env.flexiBarcodes) digits = ctx.env.flexiBarcodes->itemDigitNo(format - codec::kLastBuiltInFormat, kind);
    n = digits ? static_cast<int>(*digits) : 10;
  } else {
    const std::string* line = nullptr;
    if (ctx.env.barcodeLists)
      line = codec::builtInFormatLine(kind == 1 ? ctx.env.barcodeLists->EAN_EDIT : ctx.env.barcodeLists->ITF_EDIT, format);
    if (!line) {
      c.error = "PLU_BarFormat " + std::to_string(format) + ": no format line";
    } else {
      if (!codec::formatLineItemDigits(*line, n)) c.error = "PLU_BarFormat " + std::to_string(format) + ": " + *line;
      if (line->size() >= 3) {
        d1 = (*line)[0] >= '0' && (*line)[0] <= '9' ? (*line)[0] - '0' : 0;
        d2 = (*line)[2] >= '0' && (*line)[2] <= '9' ? (*line)[2] - '0' : 0;
      }
    }
  }
  if (n < 0) n = 0;
  if (n > 10) n = 10;
  c.itemDigits = n;
  if (c.flexi) {
    c.flag1 = {"F", false, 1};
    c.flag2 = {"F", false, 1};
  } else if (inheritedFormat) {
    // The flags come from the same level as the format when saving.
    const int64_t v = inherited(ctx, row, 2);
    c.flag1 = {std::to_string(v / 10 % 10), false, 1};
    c.flag2 = {std::to_string(v % 10), false, 1};
  } else {
    auto shape = [](FlagField& f, int digits, std::string_view text) {
      if (digits == 0) f = {"0", false, 0};
      else f = {std::string(text.substr(0, static_cast<std::size_t>(digits))), true, digits};
    };
    shape(c.flag1, d1, flag1);
    shape(c.flag2, d2, flag2);
  }
  c.itemEnabled = n > 0;
  c.itemText = n > 0 ? std::string(itemText.substr(0, std::min<std::size_t>(itemText.size(), static_cast<std::size_t>(n)))) : std::string();
  return c;
}

namespace {
// The last byte of the barcode data: the bar style's index with the first kind, 90 plus the index
// with the second, as the store's and department's bar flag is kept.
int64_t lastByteBase(int kind) { return kind == 0 ? 0 : 90; }

// The barcode columns the controls stand for, written into `row`.
int64_t lastByteOf(const PluEditorContext& ctx, const PluFields& f, const PluRow& row) {
  PluFields probe = f;
  bool extra = false;
  const int64_t v = comboValue(ctx, probe, "combBarCode", num(row.PLU_EANLastByte), f.combBarCode, &extra);
  return extra ? v : lastByteBase(f.CombBarType) + v;
}
}  // namespace

std::string barcodePreview(const PluEditorContext& ctx, const PluFields& f, const PluRow& row) {
  PluRow r = row;
  r.PLU_BarFormat = comboValue(ctx, f, "combBarcodeFormat", num(row.PLU_BarFormat), f.combBarcodeFormat);
  r.PLU_EANLastByte = lastByteOf(ctx, f, row);
  r.PLU_EANItemCode = f.meditItemCode;
  r.PLU_MG = comboValue(ctx, f, "combMG", num(row.PLU_MG), f.combMG);
  codec::RememberedSettings rem;
  const codec::Status s = codec::setEANData(ctx.env, rem, r, true);
  if (!s) return s.message();
  return r.PLU_EANData ? *r.PLU_EANData : std::string();
}

int multiBarcodeMaxLength(int templateIndex) {
  const int n = codec::ean128DigitCount(static_cast<std::size_t>(templateIndex));
  return n < 0 ? static_cast<int>(codec::kMultiBarcodeSize) - 3 : n;
}

namespace {
void storeShownMultiBarcode(const PluEditorContext& ctx, PluFields& f) {
  if (!ctx.env.codePage || f.CombMBar < 0 || f.CombMBar > 3) return;
  auto& buf = f.multiBarcodes.buffers[static_cast<std::size_t>(f.CombMBar)];
  const codec::MultiBarcode shown = codec::readMultiBarcode(buf, *ctx.env.codePage);
  // A buffer whose text and kind are as loaded keeps every byte it came with.
  if (shown.text == f.txtMBar && shown.kind == f.CombMBarType) return;
  codec::saveMultiBarcode(f.multiBarcodes, f.CombMBar + 1, f.txtMBar, f.CombMBarType, *ctx.env.codePage);
}
void showMultiBarcode(const PluEditorContext& ctx, PluFields& f) {
  if (!ctx.env.codePage || f.CombMBar < 0 || f.CombMBar > 3) return;
  const codec::MultiBarcode m = codec::readMultiBarcode(f.multiBarcodes.buffers[static_cast<std::size_t>(f.CombMBar)], *ctx.env.codePage);
  f.txtMBar = m.text;
  f.CombMBarType = m.kind;
}
}  // namespace

void selectMultiBarcode(const PluEditorContext& ctx, PluFields& f, int newIndex) {
  storeShownMultiBarcode(ctx, f);
  f.CombMBar = std::clamp(newIndex, 0, 3);
  showMultiBarcode(ctx, f);
}

// ---- discount -------------------------------------------------------------------------------------
DiscountControls discountControls(int t) {
  DiscountControls c;
  c.percentSymbols = t == 3 || t == 5;
  c.lmtPer1CaptionKey = t == 6 ? "MainTabDiscFixPrice" : "MainTabDiscAmt1";
  if (t == 0) return c;
  c.pickers = true;
  if (t == 1) return c;
  c.lmtPer1 = c.markdown = true;
  if (t == 6) return c;
  c.limit1 = c.limit2 = c.lmtPer2 = true;
  return c;
}

void applyDiscountType(const PluEditorContext& ctx, PluFields& f) {
  if (discountControls(f.combDiscType).percentSymbols) return;
  for (std::string* s : {&f.meditDiscLmtPer1, &f.meditDiscLmtPer2}) {
    std::string d;
    for (char c : *s)
      if (c >= '0' && c <= '9') d += c;
    if (d.size() > 4) d = d.substr(d.size() - 4);
    *s = d.empty() ? "0" : d;
  }
}

void applyDiscountRules(PluFields& f, std::string_view changed) {
  const auto sd = parseDateText(f.DTPickerStartDate), ed = parseDateText(f.DTPickerEndDate);
  if (sd && ed && dateOrder(*ed) < dateOrder(*sd)) {
    if (changed == "DTPickerEndDate") f.DTPickerStartDate = f.DTPickerEndDate;
    else f.DTPickerEndDate = f.DTPickerStartDate;
  }
  const auto st = parseTimeText(f.DTPickerStartTime), et = parseTimeText(f.DTPickerEndTime);
  if (st && et && storeTime(*et) < storeTime(*st)) {
    if (changed == "DTPickerEndTime") f.DTPickerStartTime = f.DTPickerEndTime;
    else f.DTPickerEndTime = f.DTPickerStartTime;
  }
  auto numeric = [](const std::string& s) {
    std::string d;
    for (char c : s)
      if (c >= '0' && c <= '9') d += c;
    return d.empty() || d.size() > 18 ? int64_t{0} : std::stoll(d);
  };
  if (numeric(f.meditDiscLimit2) > numeric(f.meditDiscLimit1)) f.meditDiscLimit1 = f.meditDiscLimit2;
  if (numeric(f.meditDiscLmtPer2) > numeric(f.meditDiscLmtPer1)) f.meditDiscLmtPer1 = f.meditDiscLmtPer2;
}

// ---- nutrition ------------------------------------------------------------------------------------
namespace {
struct NutrDef {
  const char* key;
  codec::Text PluRow::*text = nullptr;
  int maxBytes = 0;
  int64_t PluRow::*value = nullptr;
  int64_t PluRow::*dep = nullptr;
  int64_t PluRow::*ptg = nullptr;
  int64_t high = 9999;
};

std::vector<NutrDef> nutritionDefs(int ci) {
  using R = PluRow;
  if (ci == 30)
    return {{"SerSize_BZ", &R::PLU_Nutr_SerSize_BZ, 20},
            {"CaloriesA_BZ", nullptr, 0, &R::PLU_Nutr_CaloriesA_BZ},
            {"Carbohy_BZ", nullptr, 0, &R::PLU_Nutr_Carbohy_BZ},
            {"Protein_BZ", nullptr, 0, &R::PLU_Nutr_Protein_BZ},
            {"TotalFat_BZ", nullptr, 0, &R::PLU_Nutr_TotalFat_BZ},
            {"SaturFat_BZ", nullptr, 0, &R::PLU_Nutr_SaturFat_BZ},
            {"TransFat_BZ", nullptr, 0, &R::PLU_Nutr_TransFat_BZ},
            {"Fiber_BZ", nullptr, 0, &R::PLU_Nutr_Fiber_BZ},
            {"Sodium_BZ", nullptr, 0, &R::PLU_Nutr_Sodium_BZ, nullptr, nullptr, 99999999}};
  const bool longServing = ci == 26 || ci == 27;
  std::vector<NutrDef> d = {
      {"SerSize", longServing ? &R::PLU_Nutr_SerSizeNew_CU : &R::PLU_Nutr_SerSize, longServing ? 40 : 20},
      {"SerCont", longServing ? &R::PLU_Nutr_SerContNew_CU : &R::PLU_Nutr_SerCont, longServing ? 40 : 10},
      {"Calories", nullptr, 0, &R::PLU_Nutr_Calories},
      {"CalorFat", nullptr, 0, &R::PLU_Nutr_CalorFat},
      {"TotalFat", nullptr, 0, &R::PLU_Nutr_TotalFat, &R::PLU_Nutr_TotalFatDEP, &R::PLU_Nutr_TotalFatPTG},
      {"SaturFat", nullptr, 0, &R::PLU_Nutr_SaturFat, &R::PLU_Nutr_SaturFatDEP, &R::PLU_Nutr_SaturFatPTG}};
  if (ci == 1 || longServing)
    d.push_back({"TransFat", nullptr, 0, &R::PLU_Nutr_TransFat_CU, &R::PLU_Nutr_TransFatDEP_CU});
  const std::vector<NutrDef> rest = {
      {"Cholesterol", nullptr, 0, &R::PLU_Nutr_Cholesterol, &R::PLU_Nutr_CholesDEP, &R::PLU_Nutr_CholesPTG},
      {"Sodium", nullptr, 0, &R::PLU_Nutr_Sodium, &R::PLU_Nutr_SodiumDEP, &R::PLU_Nutr_SodiumPTG},
      {"Carbohy", nullptr, 0, &R::PLU_Nutr_Carbohy, &R::PLU_Nutr_CarbohyDEP, &R::PLU_Nutr_CarbohyPTG},
      {"Fiber", nullptr, 0, &R::PLU_Nutr_Fiber, &R::PLU_Nutr_FiberDEP, &R::PLU_Nutr_FiberPTG},
      {"Sugars", nullptr, 0, &R::PLU_Nutr_Sugars, &R::PLU_Nutr_SugDEP},
      {"Protein", nullptr, 0, &R::PLU_Nutr_Protein, &R::PLU_Nutr_ProtDEP},
      {"VitaminA", nullptr, 0, &R::PLU_Nutr_VitaminA},
      {"VitaminC", nullptr, 0, &R::PLU_Nutr_VitaminC},
      {"Calcium", nullptr, 0, &R::PLU_Nutr_Calcium},
      {"Iron", nullptr, 0, &R::PLU_Nutr_Iron},
      {"Thiamin", nullptr, 0, &R::PLU_Nutr_Thiamin},
      {"Riboflavin", nullptr, 0, &R::PLU_Nutr_Riboflavin},
      {"Niacin", nullptr, 0, &R::PLU_Nutr_Niacin}};
  d.insert(d.end(), rest.begin(), rest.end());
  return d;
}

std::optional<InputError> checkNutrition(const PluEditorContext& ctx, const NutritionGrid& g) {
  const auto defs = nutritionDefs(ctx.settings.CountryIndex);
  for (std::size_t i = 0; i < defs.size() && i < g.rows.size(); ++i) {
    const auto& d = defs[i];
    const auto& c = g.rows[i];
    if (d.text) {
      std::vector<uint8_t> bytes;
      if (ctx.env.codePage) ctx.env.codePage->encode(c.value, bytes);
      if (bytes.size() > static_cast<std::size_t>(d.maxBytes))
        return InputError{"GridNutri", std::to_string(d.maxBytes), true, d.key};
      continue;
    }
    const auto v = parsePercent(c.value, dsign(ctx));
    if (!v || (!d.dep && v->places > 0)) return InputError{"GridNutri", std::to_string(d.high), true, d.key};
    if (v->value > d.high) return InputError{"GridNutri", formatPercent(d.high, v->places, dsign(ctx)), true, d.key};
    if (d.ptg) {
      const auto p = parseScaled(c.percent, 0, dsign(ctx));
      if (!p || *p > 99) return InputError{"GridNutri", "99", true, d.key};
    }
  }
  const auto t = parseScaled(g.templateNo, 0, "");
  if (!t || *t > 255) return InputError{"GridNutri", "255", true, "PLU_Nutr_Template"};
  return std::nullopt;
}
}  // namespace

NutritionGrid nutritionGrid(const PluEditorContext& ctx, const PluRow& row) {
  NutritionGrid g;
  for (const auto& d : nutritionDefs(ctx.settings.CountryIndex)) {
    NutritionCell c;
    c.key = d.key;
    if (d.text) {
      c.isText = true;
      const auto& t = row.*d.text;
      c.value = t ? *t : std::string();
    } else {
      const int places = d.dep ? static_cast<int>(std::clamp<int64_t>(num(row.*d.dep), 0, 3)) : 0;
      c.value = formatPercent(num(row.*d.value), places, dsign(ctx));
      if (d.ptg) {
        c.hasPercent = true;
        c.percent = whole(row.*d.ptg);
      }
    }
    g.rows.push_back(std::move(c));
  }
  g.templateNo = whole(row.PLU_Nutr_Template);
  return g;
}

std::string nutritionCaption(const PluEditorContext& ctx, const NutritionCell& c) { return lookup(ctx, "Nutrition", c.key); }
std::string nutritionUnit(const PluEditorContext& ctx, const NutritionCell& c) { return lookup(ctx, "Nutri_Num", c.key); }

int64_t nutritionStatus(int ci, const PluRow& r) {
  int64_t s = 0;
  if (num(r.PLU_Nutr_Thiamin) > 0) s |= 1;
  if (num(r.PLU_Nutr_Riboflavin) > 0) s |= 2;
  if (num(r.PLU_Nutr_Niacin) > 0) s |= 4;
  if (ci != 26 && ci != 27) {
    if (ci == 1 && num(r.PLU_Nutr_TransFat_CU) > 0) s |= 8;
    else s &= 7;
  }
  return s;
}

// ---- limits -----------------------------------------------------------------------------------------
std::optional<FieldLimit> controlLimit(const PluEditorContext& ctx, std::string_view n) {
  const int price = ctx.settings.PriceDecimals, weight = ctx.settings.WeightDecimals;
  auto is = [&](std::initializer_list<std::string_view> names) {
    return std::find(names.begin(), names.end(), n) != names.end();
  };
  // bcd4: eight digits; bcd2 strict: four; bcd1: two.
  if (n == "meditPLU") return FieldLimit{1, 99999999, 0};
  if (is({"meditUPrice", "meditCost"})) return FieldLimit{0, 99999999, price};
  if (n == "meditTare") return FieldLimit{0, 9999, weight};
  if (is({"meditQty", "meditSellDate", "meditPackDate", "meditUseDate", "meditExIngrNum", "meditExSMsgNum"}))
    return FieldLimit{0, 9999, 0};
  if (is({"meditIngrNum", "meditSMsgNum", "meditPlaceNum", "meditText1", "meditText2", "meditText3", "meditText4",
          "meditText5", "meditImage1", "meditImage2", "meditImage3", "meditImage4", "meditImage5", "meditImage6",
          "meditImage7", "meditImage8", "meditImage9", "meditImage10"}))
    return FieldLimit{0, 99, 0};
  if (n == "meditCoupledPLU") return FieldLimit{0, 99999999, 0};
  // The first byte of the temperature form holds the hundreds, with 0x80 for below zero.
  if (is({"meditTemp1", "meditTemp2"})) return FieldLimit{-12799, 1000, 0};
  if (n == "meditDiscDayOfWeek") return FieldLimit{0, 1111111, 0};
  if (is({"meditFlagCode1", "meditFlagCode2"})) return FieldLimit{0, 9, 0};
  if (n == "meditItemCode") return FieldLimit{0, 9999999999, 0, 10};
  if (is({"meditDiscLimit1", "meditDiscLimit2", "meditDiscLmtPer1", "meditDiscLmtPer2"}))
    return FieldLimit{0, 99999999, price};
  if (n == "txtMBar") return FieldLimit{0, 0, 0, 48};
  return std::nullopt;
}

std::string inputErrorMessage(const PluEditorContext& ctx, const InputError& e) {
  return lookup(ctx, "msgbox", "inputErr") + (e.above ? ">" : "<") + e.limit + "!";
}

std::optional<InputError> checkControl(const PluEditorContext& ctx, const PluFields& f, std::string_view name) {
  const ControlInfo* c = findControl(name);
  const auto lim = controlLimit(ctx, name);
  if (!c || !c->text || !lim) return std::nullopt;
  const std::string& t = f.*c->text;
  const std::string ctrl(c->name);
  if (name == "meditTemp1" || name == "meditTemp2") {
    if (t.empty()) return std::nullopt;
    const bool negative = t.front() == '-';
    const auto v = parseScaled(negative ? std::string_view(t).substr(1) : std::string_view(t), 0, "");
    if (negative && (!v || *v > -lim->low)) return InputError{ctrl, std::to_string(lim->low), false, {}};
    if (!negative && (!v || *v > lim->high)) return InputError{ctrl, std::to_string(lim->high), true, {}};
    return std::nullopt;
  }
  if (name == "meditDiscDayOfWeek") {
    if (!parseDayOfWeek(t)) return InputError{ctrl, "1111111", true, {}};
    return std::nullopt;
  }
  if (name == "txtMBar") {
    // What the buffer already holds (as loaded) is not typed input.
    if (ctx.env.codePage && f.CombMBar >= 0 && f.CombMBar <= 3 &&
        codec::readMultiBarcode(f.multiBarcodes.buffers[static_cast<std::size_t>(f.CombMBar)], *ctx.env.codePage).text == t)
      return std::nullopt;
    std::vector<uint8_t> bytes;
    if (ctx.env.codePage) ctx.env.codePage->encode(t, bytes);
    const int most = std::min<int>(lim->maxBytes, multiBarcodeMaxLength(f.CombBarTypeC));
    if (bytes.size() > static_cast<std::size_t>(most)) return InputError{ctrl, std::to_string(most), true, {}};
    return std::nullopt;
  }
  if ((name == "meditFlagCode1" || name == "meditFlagCode2") && t == "F") return std::nullopt;
  if (name == "meditItemCode") {
    if (!allDigits(t) || t.size() > 10) return InputError{ctrl, "9999999999", true, {}};
    return std::nullopt;
  }
  const auto v = parseScaled(t, lim->places, dsign(ctx));
  if (!v || *v > lim->high) return InputError{ctrl, formatScaled(lim->high, lim->places, dsign(ctx)), true, {}};
  if (*v < lim->low) return InputError{ctrl, formatScaled(lim->low, lim->places, dsign(ctx)), false, {}};
  return std::nullopt;
}

// ---- show ---------------------------------------------------------------------------------------------
PluFields showPluData(const PluEditorContext& ctx, const PluRow& row) {
  PluFields f;
  const int price = ctx.settings.PriceDecimals, weight = ctx.settings.WeightDecimals;
  f.meditPLU = whole(row.PLU_No);
  f.meditUPrice = formatScaled(num(row.PLU_UPrice), price, dsign(ctx));
  f.meditCost = formatScaled(num(row.PLU_Cost), price, dsign(ctx));
  f.meditTare = formatScaled(num(row.PLU_Tare), weight, dsign(ctx));
  f.meditQty = whole(row.PLU_QTY);
  f.chkWeighed = num(row.Stat1_Unit) == 0;
  // combSymbolChgList: the list follows the weighed state.
  comboEntries(ctx, f, "combSymbol", f.chkWeighed ? num(row.Stat1_PBPreUnit) : num(row.PLU_QTYSymbol), &f.combSymbol);
  comboEntries(ctx, f, "combMG", num(row.PLU_MG), &f.combMG);
  f.meditDepartment = "0";
  for (const auto& g : ctx.mainGroups)
    if (g.MG_No == num(row.PLU_MG)) f.meditDepartment = std::to_string(g.DP_No);
  f.meditIngrNum = whole(row.PLU_IngredientNo);
  f.meditSMsgNum = whole(row.PLU_SPMessageNo);
  f.meditPlaceNum = whole(row.PLU_PlaceNo);
  f.meditCoupledPLU = whole(row.PLU_CoupledPLUNo);
  f.meditTemp1 = num(row.Stat2B_STEMP1) ? formatTemperature(num(row.PLU_ST1stLimit)) : std::string();
  f.meditTemp2 = num(row.Stat2B_STEMP2) ? formatTemperature(num(row.PLU_ST2ndLimit)) : std::string();
  f.meditText1 = whole(row.PLU_LText1No);
  f.meditText2 = whole(row.PLU_LText2No);
  f.meditText3 = whole(row.PLU_LText3No);
  f.meditText4 = whole(row.PLU_LText4No);
  f.meditText5 = whole(row.PLU_LText5No);
  f.meditDiscDayOfWeek = formatDayOfWeek(num(row.PLU_DisDayOfWeek));
  f.chkUPoverride = num(row.Stat1_UPriceOV) != 0;
  f.chknegativePLU = num(row.StatB_NegativePLU) != 0;
  comboEntries(ctx, f, "combLabelFormat1", num(row.PLU_LBFormat1), &f.combLabelFormat1);
  comboEntries(ctx, f, "combLabelFormat2", num(row.PLU_LBFormat2), &f.combLabelFormat2);

  // Barcode: the split of PLU_EANData gives item code and last byte; a row whose data cannot be
  // split shows its columns as they are.
  PluRow split = row;
  std::string item = row.PLU_EANItemCode ? *row.PLU_EANItemCode : std::string();
  int64_t lastByte = num(row.PLU_EANLastByte);
  if (num(row.Stat2_ItemCode) && codec::splitEANData(ctx.env, split)) {
    item = split.PLU_EANItemCode ? *split.PLU_EANItemCode : std::string();
    lastByte = num(split.PLU_EANLastByte);
  }
  f.CombBarType = lastByte < 10 ? 0 : 1;
  {
    const ComboEntries e = baseComboEntries(ctx, f, "combBarCode");
    const int64_t within = lastByte - lastByteBase(f.CombBarType);
    comboEntries(ctx, f, "combBarCode", within >= 0 && within < static_cast<int64_t>(e.size()) ? within : lastByte,
                 &f.combBarCode);
  }
  comboEntries(ctx, f, "combBarcodeFormat", num(row.PLU_BarFormat), &f.combBarcodeFormat);
  const int64_t flags = num(row.PLU_EANFlags);
  const BarcodeControls bc = showBarcodeControls(ctx, num(row.PLU_BarFormat), lastByte, item, row,
                                                 std::to_string(flags / 10 % 10), std::to_string(flags % 10));
  f.meditItemCode = bc.itemText;
  f.meditFlagCode1 = bc.flag1.text;
  f.meditFlagCode2 = bc.flag2.text;
  for (int i = 1; i <= 4; ++i) codec::loadMultiBarcodes(row, i, f.multiBarcodes);
  f.CombMBar = 0;
  showMultiBarcode(ctx, f);
  f.CombBarTypeC = 0;

  f.meditSellDate = whole(row.PLU_SBDate);
  f.chkSellDatePrint = num(row.Stat1_SBDate) != 0;
  f.DTPickerSellTime = timeText(loadTime(num(row.PLU_SBTime)).value_or(TimeValue{}));
  f.chkSellTimePrint = num(row.Stat1_SBTime) != 0;
  f.chkSellTimeRTC = num(row.Stat1_RTCSBTime) != 0;
  f.meditPackDate = whole(row.PLU_PAKDate);
  f.chkPackDatePrint = num(row.Stat1_PKDate) != 0;
  f.DTPickerPackTime = timeText(loadTime(num(row.PLU_PAKTime)).value_or(TimeValue{}));
  f.chkPackTimePrint = num(row.Stat1_PKTime) != 0;
  f.chkPackTimeRTC = num(row.Stat1_RTCPKTime) != 0;
  f.meditUseDate = whole(row.PLU_UBDate);
  f.chkUseDatePrint = num(row.Stat1_UBDate) != 0;

  comboEntries(ctx, f, "combDiscType", num(row.PLU_Disc_Type), &f.combDiscType);
  comboEntries(ctx, f, "combMarkdownType", num(row.PLU_Disc_Markdown), &f.combMarkdownType);
  f.meditDiscLimit1 = formatScaled(num(row.PLU_Disc_1stLim), price, dsign(ctx));
  f.meditDiscLimit2 = formatScaled(num(row.PLU_Disc_2ndLim), price, dsign(ctx));
  f.meditDiscLmtPer1 = formatScaled(num(row.PLU_Disc_Within1stL), price, dsign(ctx));
  f.meditDiscLmtPer2 = formatScaled(num(row.PLU_Disc_Within2ndL), price, dsign(ctx));
  f.DTPickerStartDate = dateText(loadDate(num(row.PLU_Disc_SDate)).value_or(DateValue{}));
  f.DTPickerEndDate = dateText(loadDate(num(row.PLU_Disc_EDate)).value_or(DateValue{}));
  f.DTPickerStartTime = timeText(loadTime(num(row.PLU_Disc_STime)).value_or(TimeValue{}));
  f.DTPickerEndTime = timeText(loadTime(num(row.PLU_Disc_ETime)).value_or(TimeValue{}));

  f.chkNutriPNT = num(row.Stat1_NUTPrint) != 0;
  f.GridNutri = nutritionGrid(ctx, row);
  f.meditExIngrNum = whole(row.PLU_EIngredientNo);
  f.meditExSMsgNum = whole(row.PLU_ESPMessageNo);
  std::string* images[] = {&f.meditImage1, &f.meditImage2, &f.meditImage3, &f.meditImage4, &f.meditImage5,
                           &f.meditImage6, &f.meditImage7, &f.meditImage8, &f.meditImage9, &f.meditImage10};
  const int64_t PluRow::*cols[] = {&PluRow::PLU_Image1, &PluRow::PLU_Image2, &PluRow::PLU_Image3, &PluRow::PLU_Image4,
                                   &PluRow::PLU_Image5, &PluRow::PLU_Image6, &PluRow::PLU_Image7, &PluRow::PLU_Image8,
                                   &PluRow::PLU_Image9, &PluRow::PLU_Image10};
  for (int i = 0; i < 10; ++i) *images[i] = whole(row.*cols[i]);
  f.commodityBlock = row.PLU_Commodity;
  f.ingredientBlock = row.PLU_Ingredient;
  f.spMessageBlock = row.PLU_SPMessage;
  f.txtName = blockFirstLine(ctx, f.commodityBlock);
  f.meditIngredient = blockFirstLine(ctx, f.ingredientBlock);
  f.meditSMG = blockFirstLine(ctx, f.spMessageBlock);
  return f;
}

PluFields clearPLUControls(const PluEditorContext& ctx) {
  PluFields f;
  for (const auto& c : pluControls())
    if (c.kind == ControlKind::Edit && controlLimit(ctx, c.name)) f.*c.text = "0";
  f.meditTemp1.clear();
  f.meditTemp2.clear();
  f.meditItemCode.clear();
  f.txtMBar.clear();
  f.meditDiscDayOfWeek = "0000000";
  f.meditDepartment = "0";
  const int price = ctx.settings.PriceDecimals, weight = ctx.settings.WeightDecimals;
  for (std::string* s : {&f.meditUPrice, &f.meditCost, &f.meditDiscLimit1, &f.meditDiscLimit2, &f.meditDiscLmtPer1,
                         &f.meditDiscLmtPer2})
    *s = formatScaled(0, price, dsign(ctx));
  f.meditTare = formatScaled(0, weight, dsign(ctx));
  PluRow empty;
  f.GridNutri = nutritionGrid(ctx, empty);
  return f;
}

// ---- save -----------------------------------------------------------------------------------------------
SaveResult savePLU(const PluEditorContext& ctx, const PluFields& in, PluRow& target, bool asNew) {
  SaveResult result;
  for (const auto& c : pluControls())
    if (auto e = checkControl(ctx, in, c.name)) {
      result.inputError = e;
      return result;
    }
  if (auto e = checkNutrition(ctx, in.GridNutri)) {
    result.inputError = e;
    return result;
  }
  PluFields f = in;
  storeShownMultiBarcode(ctx, f);
  const bool hasBase = !asNew;
  const PluFields base = hasBase ? showPluData(ctx, target) : PluFields{};
  PluRow row = target;
  const int price = ctx.settings.PriceDecimals, weight = ctx.settings.WeightDecimals;
  auto parse = [&](const std::string& t, int places = 0) { return parseScaled(t, places, dsign(ctx)).value_or(0); };
  auto b2b = [&](int64_t& flag, bool on) {
    flag = on ? 1 : 0;
    if (on) row.Stat2_PLUStatB2B = 1;
  };

  // 1. The key of a new row.
  if (asNew) {
    row.ST_No = ctx.currentStore;
    row.SECT_No = ctx.currentSection;
  }
  row.PLU_No = parse(f.meditPLU);
  // 2. Main group.
  row.PLU_MG = comboValue(ctx, f, "combMG", num(target.PLU_MG), f.combMG);
  row.Stat2_MGCode = row.PLU_MG == 997 ? 0 : 1;
  // 3. Prices, tare and quantity.
  if (!f.meditCost.empty()) row.PLU_Cost = parse(f.meditCost, price);
  if (!f.meditTare.empty()) row.PLU_Tare = parse(f.meditTare, weight);
  if (!f.meditUPrice.empty()) row.PLU_UPrice = parse(f.meditUPrice, price);
  if (!f.meditQty.empty()) row.PLU_QTY = parse(f.meditQty);
  row.Stat2_Cost = num(row.PLU_Cost) > 0;
  row.Stat2_PLUTare = num(row.PLU_Tare) > 0;
  row.Stat2_QTY = num(row.PLU_QTY) > 0;
  // 4. Unit and its symbol.
  row.Stat1_Unit = f.chkWeighed ? 0 : 1;
  if (f.chkWeighed) {
    row.Stat1_PBPreUnit = comboValue(ctx, f, "combSymbol", num(target.Stat1_PBPreUnit), f.combSymbol);
    row.Stat2_QTYSymbol = 0;
  } else {
    row.PLU_QTYSymbol = comboValue(ctx, f, "combSymbol", num(target.PLU_QTYSymbol), f.combSymbol);
    row.Stat2_QTYSymbol = 1;
  }
  // 5. Numbers of texts and the coupled PLU.
  row.PLU_IngredientNo = parse(f.meditIngrNum);
  row.PLU_SPMessageNo = parse(f.meditSMsgNum);
  row.PLU_PlaceNo = parse(f.meditPlaceNum);
  row.PLU_CoupledPLUNo = parse(f.meditCoupledPLU);
  row.Stat2_IngredientNo = row.PLU_IngredientNo > 0;
  row.Stat2_SPMessageNo = row.PLU_SPMessageNo > 0;
  row.Stat2_PlaceNo = row.PLU_PlaceNo > 0;
  b2b(row.Stat2B_CoupledPLU, row.PLU_CoupledPLUNo > 0);
  // 6. Storage temperatures, text numbers, multi barcodes.
  if (!f.meditTemp1.empty()) row.PLU_ST1stLimit = parseTemperature(f.meditTemp1).value_or(0);
  b2b(row.Stat2B_STEMP1, !f.meditTemp1.empty());
  if (!f.meditTemp2.empty()) row.PLU_ST2ndLimit = parseTemperature(f.meditTemp2).value_or(0);
  b2b(row.Stat2B_STEMP2, !f.meditTemp2.empty());
  row.PLU_LText1No = parse(f.meditText1);
  row.PLU_LText2No = parse(f.meditText2);
  row.PLU_LText3No = parse(f.meditText3);
  row.PLU_LText4No = parse(f.meditText4);
  row.PLU_LText5No = parse(f.meditText5);
  b2b(row.Stat2B_TextNoSLT, row.PLU_LText1No > 0 || row.PLU_LText2No > 0 || row.PLU_LText3No > 0 ||
                                row.PLU_LText4No > 0 || row.PLU_LText5No > 0);
  {
    codec::Bytes PluRow::*cols[] = {&PluRow::PLU_MultiBar1, &PluRow::PLU_MultiBar2, &PluRow::PLU_TMultiBar1,
                                    &PluRow::PLU_TMultiBar2};
    int64_t PluRow::*flags[] = {&PluRow::Stat2B_MBarcode1, &PluRow::Stat2B_MBarcode2, &PluRow::Stat2B_TMBarcode1,
                                &PluRow::Stat2B_TMBarcode2};
    for (std::size_t i = 0; i < 4; ++i) {
      const auto& buf = f.multiBarcodes.buffers[i];
      if (!hasBase || buf != base.multiBarcodes.buffers[i]) row.*cols[i] = std::vector<uint8_t>(buf.begin(), buf.end());
      b2b(row.*flags[i], buf[0] != 0);
    }
  }
  // 7. Days of the week, price override, negative PLU.
  row.PLU_DisDayOfWeek = parseDayOfWeek(f.meditDiscDayOfWeek).value_or(0);
  b2b(row.Stat2B_DiscountDW, row.PLU_DisDayOfWeek > 0);
  row.Stat1_UPriceOV = f.chkUPoverride;
  row.StatB_NegativePLU = f.chknegativePLU;
  if (f.chknegativePLU) row.Stat2_PLUStatB2B = 1;
  // 8. Label formats and barcode.
  row.PLU_LBFormat1 = comboValue(ctx, f, "combLabelFormat1", num(target.PLU_LBFormat1), f.combLabelFormat1);
  row.Stat2_LBFormat1 = 1;
  row.PLU_LBFormat2 = comboValue(ctx, f, "combLabelFormat2", num(target.PLU_LBFormat2), f.combLabelFormat2);
  row.Stat2_LBFormat2 = row.PLU_LBFormat2 > 0;
  if (!hasBase || f.meditItemCode != base.meditItemCode) {
    // A whole number: leading zeros go.
    std::string item = f.meditItemCode;
    while (item.size() > 1 && item.front() == '0') item.erase(0, 1);
    row.PLU_EANItemCode = item;
  }
  row.Stat2_ItemCode = f.meditItemCode.empty() ? 0 : 1;
  row.PLU_BarFormat = comboValue(ctx, f, "combBarcodeFormat", num(target.PLU_BarFormat), f.combBarcodeFormat);
  if (row.PLU_BarFormat == 255) {
    row.PLU_EANFlags = inherited(ctx, row, 2);
  } else if (row.PLU_BarFormat <= codec::kLastBuiltInFormat &&
             (!hasBase || f.meditFlagCode1 != base.meditFlagCode1 || f.meditFlagCode2 != base.meditFlagCode2 ||
              row.PLU_BarFormat != target.PLU_BarFormat)) {
    auto digit = [](const std::string& s) { return !s.empty() && s[0] >= '0' && s[0] <= '9' ? s[0] - '0' : 0; };
    row.PLU_EANFlags = digit(f.meditFlagCode1) * 10 + digit(f.meditFlagCode2);
  }
  row.Stat2_BARFormat = 1;
  row.PLU_EANLastByte = lastByteOf(ctx, f, target);
  if (row.Stat2_ItemCode) {
    codec::RememberedSettings rem;
    const codec::Status s = codec::setEANData(ctx.env, rem, row, true);
    if (!s) {
      result.failure = s.message();
      return result;
    }
  }
  // 9. The date block.
  row.PLU_SBDate = parse(f.meditSellDate);
  row.Stat1_SBDate = f.chkSellDatePrint;
  auto timeColumn = [&](int64_t& col, const std::string& text, const std::string& baseText) {
    if (hasBase && text == baseText) return;
    if (auto t = parseTimeText(text)) col = storeTime(*t);
  };
  auto dateColumn = [&](int64_t& col, const std::string& text, const std::string& baseText) {
    if (hasBase && text == baseText) return;
    if (auto d = parseDateText(text)) col = storeDate(*d);
  };
  timeColumn(row.PLU_SBTime, f.DTPickerSellTime, base.DTPickerSellTime);
  row.Stat1_SBTime = f.chkSellTimePrint;
  row.Stat1_RTCSBTime = f.chkSellTimeRTC;
  row.PLU_PAKDate = parse(f.meditPackDate);
  row.Stat1_PKDate = f.chkPackDatePrint;
  timeColumn(row.PLU_PAKTime, f.DTPickerPackTime, base.DTPickerPackTime);
  row.Stat1_PKTime = f.chkPackTimePrint;
  row.Stat1_RTCPKTime = f.chkPackTimeRTC;
  row.PLU_UBDate = parse(f.meditUseDate);
  row.Stat1_UBDate = f.chkUseDatePrint;
  row.Stat2_SBDate = num(row.PLU_SBDate) > 0;
  row.Stat2_SBTime = num(row.PLU_SBTime) > 0;
  row.Stat2_PKDate = num(row.PLU_PAKDate) > 0;
  row.Stat2_PKTime = num(row.PLU_PAKTime) > 0;
  row.Stat2_UBDate = num(row.PLU_UBDate) > 0;
  // 10. Discount.
  row.PLU_Disc_Type = comboValue(ctx, f, "combDiscType", num(target.PLU_Disc_Type), f.combDiscType);
  row.PLU_Disc_Markdown = comboValue(ctx, f, "combMarkdownType", num(target.PLU_Disc_Markdown), f.combMarkdownType);
  row.PLU_Disc_1stLim = parse(f.meditDiscLimit1, price);
  row.PLU_Disc_2ndLim = parse(f.meditDiscLimit2, price);
  row.PLU_Disc_Within1stL = parse(f.meditDiscLmtPer1, price);
  row.PLU_Disc_Within2ndL = parse(f.meditDiscLmtPer2, price);
  dateColumn(row.PLU_Disc_SDate, f.DTPickerStartDate, base.DTPickerStartDate);
  dateColumn(row.PLU_Disc_EDate, f.DTPickerEndDate, base.DTPickerEndDate);
  timeColumn(row.PLU_Disc_STime, f.DTPickerStartTime, base.DTPickerStartTime);
  timeColumn(row.PLU_Disc_ETime, f.DTPickerEndTime, base.DTPickerEndTime);
  row.Stat2_Discount = row.PLU_Disc_Type != 0;
  // 11. Nutrition.
  row.Stat1_NUTPrint = f.chkNutriPNT;
  {
    const auto defs = nutritionDefs(ctx.settings.CountryIndex);
    bool any = false;
    for (std::size_t i = 0; i < defs.size() && i < f.GridNutri.rows.size(); ++i) {
      const auto& d = defs[i];
      const auto& c = f.GridNutri.rows[i];
      const NutritionCell* b = hasBase && i < base.GridNutri.rows.size() ? &base.GridNutri.rows[i] : nullptr;
      if (d.text) {
        if (!b || b->value != c.value) row.*d.text = c.value;
        if (!c.value.empty()) any = true;
        continue;
      }
      if (!b || b->value != c.value) {
        const auto v = parsePercent(c.value, dsign(ctx)).value_or(ScaledValue{});
        row.*d.value = v.value;
        if (d.dep) row.*d.dep = v.places;
      }
      if (d.ptg && (!b || b->percent != c.percent)) row.*d.ptg = parse(c.percent);
      if (num(row.*d.value) != 0 || (d.ptg && num(row.*d.ptg) != 0)) any = true;
    }
    if (!hasBase || f.GridNutri.templateNo != base.GridNutri.templateNo) row.PLU_Nutr_Template = parse(f.GridNutri.templateNo);
    row.PLU_Nutr_Status = nutritionStatus(ctx.settings.CountryIndex, row);
    row.Stat2_Nutrition = any ? 1 : 0;
  }
  // 12. Extended text numbers.
  row.PLU_EIngredientNo = parse(f.meditExIngrNum);
  row.PLU_ESPMessageNo = parse(f.meditExSMsgNum);
  b2b(row.Stat2B_ExIngrSPMGRecNo, row.PLU_EIngredientNo > 0 || row.PLU_ESPMessageNo > 0);
  // 13. Images.
  {
    const std::string* images[] = {&f.meditImage1, &f.meditImage2, &f.meditImage3, &f.meditImage4, &f.meditImage5,
                                   &f.meditImage6, &f.meditImage7, &f.meditImage8, &f.meditImage9, &f.meditImage10};
    int64_t PluRow::*cols[] = {&PluRow::PLU_Image1, &PluRow::PLU_Image2, &PluRow::PLU_Image3, &PluRow::PLU_Image4,
                               &PluRow::PLU_Image5, &PluRow::PLU_Image6, &PluRow::PLU_Image7, &PluRow::PLU_Image8,
                               &PluRow::PLU_Image9, &PluRow::PLU_Image10};
    bool any = false;
    for (int i = 0; i < 10; ++i) {
      row.*cols[i] = parse(*images[i]);
      if (row.*cols[i] != 0) any = true;
    }
    row.Stat2_ImageNo = any;
  }
  // 14. The three text blocks; an empty block is a Null.
  auto block = [](const codec::Bytes& b) { return b && !b->empty() ? b : codec::Bytes{}; };
  row.PLU_Commodity = block(f.commodityBlock);
  row.Stat2_Commodity = row.PLU_Commodity.has_value();
  {
    std::string first = ctx.env.codePage && row.PLU_Commodity
                            ? codec::firstLine(row.PLU_Commodity, codec::FirstLineVariant::List, *ctx.env.codePage)
                            : std::string();
    row.PLU_CommodityFirst = first.empty() ? std::string(" ") : first;
  }
  row.PLU_SPMessage = block(f.spMessageBlock);
  row.Stat2_SPMessage = row.PLU_SPMessage.has_value();
  row.PLU_Ingredient = block(f.ingredientBlock);
  row.Stat2_Ingredient = row.PLU_Ingredient.has_value();
  // 15. The caller refreshes the buttons, runs Update and refreshes the list.
  target = row;
  return result;
}

}  // namespace brindale::plu
