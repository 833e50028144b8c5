// The entries of the editor's list boxes, from the language and parameter tables.
#include <string>

#include "codec/barcode.h"
#include "plu/plu_editor.h"
#include "shell/language.h"

namespace brindale::plu {

namespace {

const shell::LanguageTable* section(const PluEditorContext& ctx, std::string_view name) {
  return ctx.lang ? ctx.lang->find(name) : nullptr;
}

std::string text(const PluEditorContext& ctx, std::string_view sec, std::string_view key) {
  const auto* t = section(ctx, sec);
  const std::string* v = t ? t->find(key) : nullptr;
  return v ? *v : std::string(key);
}

// The lines of a section in order, skipping the keys in `skip`.
void addSection(const PluEditorContext& ctx, std::string_view sec, ComboEntries& out, int64_t firstValue,
                std::initializer_list<std::string_view> skip = {}) {
  const auto* t = section(ctx, sec);
  if (!t) return;
  int64_t v = firstValue;
  for (std::size_t i = 0; i < t->size(); ++i) {
    bool skipped = false;
    for (auto k : skip)
      if (codec::equalsIgnoreCase(t->keyAt(i), k)) skipped = true;
    if (skipped) continue;
    out.push_back({t->valueAt(i), v++, false});
  }
}

}  // namespace

ComboEntries symbolEntries(const PluEditorContext& ctx, bool weighed) {
  ComboEntries e;
  if (weighed) {
    e.push_back({text(ctx, "SSTab_Symbol", "Wkg"), 0, false});
    e.push_back({text(ctx, "SSTab_Symbol", "W100g"), 1, false});
    return e;
  }
  int64_t v = 0;
  for (auto k : {"NWnone", "NWpcs", "NWfor", "NWkg", "NWlb", "NWg", "NWoz"}) e.push_back({text(ctx, "SSTab_Symbol", k), v++, false});
  const std::string unused = text(ctx, "SSTab_Symbol", "NWnotused");
  for (int i = 1; i <= 6; ++i) e.push_back({unused + std::to_string(i), v++, false});
  return e;
}

std::string unitCaption(const PluEditorContext& ctx, bool weighed) {
  return text(ctx, "SSTab_Symbol", weighed ? "Wg" : "Wpcs");
}

// After the fixed formats the free formats 1F to 99F follow, as in the hierarchy's forms: with
// 16 fixed formats 1F is 17 and 99F 115, the highest the record takes.
void addFreeLabelFormats(ComboEntries& e, int64_t first) {
  for (int n = 1; n <= 99; ++n) e.push_back({std::to_string(n) + "F", first + n - 1, false});
}

ComboEntries baseComboEntries(const PluEditorContext& ctx, const PluFields& fields, std::string_view control) {
  ComboEntries e;
  auto is = [&](const char* n) { return control == n; };
  if (is("combSymbol")) return symbolEntries(ctx, fields.chkWeighed);
  if (is("combMG")) {
    e.push_back({"997 - " + text(ctx, "SSTab_Symbol", "NWnone"), 997, false});
    for (const auto& g : ctx.mainGroups) e.push_back({std::to_string(g.MG_No) + " - " + g.MG_Name, g.MG_No, false});
  } else if (is("combLabelFormat1")) {
    // The first line stands for 255 (the group decides); then formats 0 on.
    const auto* t = section(ctx, "Label_Format");
    if (t && t->size() > 0) {
      e.push_back({t->valueAt(0), 255, false});
      int64_t v = 0;
      for (std::size_t i = 1; i < t->size(); ++i)
        if (!codec::equalsIgnoreCase(t->keyAt(i), "FREE")) e.push_back({t->valueAt(i), v++, false});
      addFreeLabelFormats(e, v);
    }
  } else if (is("combLabelFormat2")) {
    addSection(ctx, "Label_Format", e, 0, {"F1L255", "FREE"});
    addFreeLabelFormats(e, static_cast<int64_t>(e.size()));
  } else if (is("combBarcodeFormat")) {
    const bool firstKind = fields.CombBarType == 0;
    const auto* t = section(ctx, firstKind ? "EAN_DISP" : "ITF_DISP");
    if (t) {
      for (std::size_t i = 0; i < t->size(); ++i) e.push_back({t->valueAt(i), i == 0 ? 255 : static_cast<int64_t>(i - 1), false});
    }
    const std::string flexi = text(ctx, "frmMain_sstab", "MainTabFlexiBar");
    for (const auto& f : ctx.flexiFormats)
      if (f.FBar_EANorITF == (firstKind ? 1 : 0))
        e.push_back({std::to_string(f.FBar_No + codec::kLastBuiltInFormat) + " - " + flexi + " " + std::to_string(f.FBar_No),
                     f.FBar_No + codec::kLastBuiltInFormat, false});
  } else if (is("CombBarType")) {
    e.push_back({text(ctx, "frmMain_sstab", "MainTabBarKindEAN"), 0, false});
    e.push_back({text(ctx, "frmMain_sstab", "MainTabBarKindITF"), 1, false});
  } else if (is("combBarCode")) {
    addSection(ctx, "BAR_LAST_BYTE", e, 0);
  } else if (is("CombBarTypeC")) {
    int64_t v = 0;
    for (auto t : codec::ean128Templates()) e.push_back({std::string(t), v++, false});
  } else if (is("CombMBar")) {
    int64_t v = 0;
    for (auto k : {"MainTabMB1", "MainTabMB2", "MainTabTMB1", "MainTabTMB2"}) e.push_back({text(ctx, "frmMain_sstab", k), v++, false});
  } else if (is("CombMBarType")) {
    int64_t v = 0;
    for (auto k : {"MainTabEAN128A", "MainTabEAN128B", "MainTabEAN128C"}) e.push_back({text(ctx, "frmMain_sstab", k), v++, false});
  } else if (is("combDiscType")) {
    const auto* t = section(ctx, "discount");
    int64_t v = 0;
    if (t)
      for (std::size_t i = 0; i < t->size(); ++i)
        if (t->keyAt(i).starts_with("D")) e.push_back({t->valueAt(i), v++, false});
  } else if (is("combMarkdownType")) {
    const auto* t = section(ctx, "discount");
    int64_t v = 0;
    if (t)
      for (std::size_t i = 0; i < t->size(); ++i)
        if (t->keyAt(i).starts_with("M")) e.push_back({t->valueAt(i), v++, false});
  }
  return e;
}

ComboEntries comboEntries(const PluEditorContext& ctx, const PluFields& fields, std::string_view control,
                          int64_t rowValue, int* index) {
  ComboEntries e = baseComboEntries(ctx, fields, control);
  for (std::size_t i = 0; i < e.size(); ++i)
    if (e[i].value == rowValue) {
      if (index) *index = static_cast<int>(i);
      return e;
    }
  e.push_back({std::to_string(rowValue) + " " + text(ctx, "frmMain_sstab", "MainTabNotInList"), rowValue, true});
  if (index) *index = static_cast<int>(e.size() - 1);
  return e;
}

}  // namespace brindale::plu
