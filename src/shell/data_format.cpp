#include "data_format.h"

namespace brindale::shell {

namespace {

ComboRows combo(std::vector<std::string> rows, int index) {
    ComboRows c;
    c.rows = std::move(rows);
    c.index = index >= 0 && index < static_cast<int>(c.rows.size()) ? index : -1;
    return c;
}

}  // namespace

DataFormatView dataFormatView(const LanguageSet& lang, const Settings& run) {
    const auto& t = lang.section("frm_OTHER");
    DataFormatView v;
    const std::vector<std::string> places = {"0", "1", "2", "3"};
    v.PPoint = combo(places, run.PriceDecimals);
    v.WPoint = combo(places, run.WeightDecimals);
    v.PPointType = combo({".", ","}, run.DecimalSignIndex);
    v.ScaleType = combo({"Alder", "Birch"}, run.ScaleTypeIndex);

    std::vector<std::string> units = {t.text("setRMB"), t.text("setDolar")};
    if (run.PriceUnitText != "$" && run.PriceUnitText != "RMB") {
        units.push_back(run.PriceUnitText);
        v.PriceUnit = combo(units, 2);
    } else {
        v.PriceUnit = combo(units, run.PriceUnitIndex);
    }

    const std::string mm = t.text("setMM"), dd = t.text("setDD"), yy = t.text("setYY");
    const std::vector<std::vector<std::string>> orders = {{mm, dd, yy}, {dd, mm, yy}, {yy, mm, dd}};
    std::vector<std::string> dates;
    for (int i = 0; i < 6; ++i) {
        const auto& o = orders[static_cast<size_t>(i % 3)];
        const std::string sep = i < 3 ? "-" : ".";
        dates.push_back(std::to_string(i + 1) + ". " + o[0] + sep + o[1] + sep + o[2]);
    }
    v.DateType = combo(dates, run.DateTypeIndex);

    std::vector<std::string> countries;
    if (const LanguageTable* c = lang.find("SYS_Country"))
        for (size_t i = 0; i < c->size(); ++i) countries.push_back(c->text("SYS_C" + std::to_string(i)));
    v.Country = combo(countries, run.CountryIndex);

    v.Store = combo({t.text("setSingleStore"), t.text("setMultiStore")}, run.StoreMode);
    v.StoreName = run.StoreNameSetting;
    return v;
}

DataFormatResult dataFormatResult(const Settings& run, const DataFormatChoice& c) {
    DataFormatResult r;
    const std::pair<int, const char*> needed[] = {
        {c.PPoint, "setPPoint"},   {c.PPointType, "setPPointType"}, {c.WPoint, "setWPoint"},
        {c.ScaleType, "setScale"}, {c.DateType, "setDate"},         {c.Country, "setSYS_Country"},
        {c.Store, "setSYS_Store"},
    };
    for (const auto& [index, key] : needed)
        if (index < 0) {
            r.missing = key;
            return r;
        }
    if (c.PriceUnitText.empty()) {
        r.missing = "setPUnit";
        return r;
    }
    Settings s = run;
    s.PriceDecimals = c.PPoint;
    s.DecimalSignIndex = c.PPointType;
    s.WeightDecimals = c.WPoint;
    s.ScaleTypeIndex = c.ScaleType;
    s.DateTypeIndex = c.DateType;
    if (c.PriceUnitText == "RMB") {
        s.PriceUnitIndex = 0;
        s.PriceUnitText = "RMB";
    } else if (c.PriceUnitText == "$") {
        s.PriceUnitIndex = 1;
        s.PriceUnitText = "$";
    } else {
        s.PriceUnitIndex = 2;
        s.PriceUnitText = c.PriceUnitText;
    }
    s.CountryIndex = c.Country;
    s.StoreMode = c.Store;
    // The literal counts whatever the mode: the next start reads it in multi store mode only.
    s.StoreNameSetting = c.StoreName.empty() ? kDefaultStoreName : c.StoreName;
    s.StoreNameLine = s.StoreNameSetting;
    r.written = s;
    return r;
}

void takeIntoRun(Settings& run, const Settings& w) {
    run.PriceDecimals = w.PriceDecimals;
    run.DecimalSignIndex = w.DecimalSignIndex;
    run.WeightDecimals = w.WeightDecimals;
    run.ScaleTypeIndex = w.ScaleTypeIndex;
    run.DateTypeIndex = w.DateTypeIndex;
    if (w.PriceUnitIndex == 2) run.PriceUnitText = w.PriceUnitText;
    run.StoreNameSetting = w.StoreNameSetting;
}

}  // namespace brindale::shell
