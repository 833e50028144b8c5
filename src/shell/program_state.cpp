#include "program_state.h"

#include "paths.h"

namespace brindale::shell {

std::string ProgramState::path(const std::string& relative) const { return joinPath(appDir, relative); }

std::string ProgramState::databasePath() const { return path(kDatabaseFile); }

std::string ProgramState::sectionText(const std::string& section) const {
    return getSectionText(path(kLanguageFile), settings.LanguageName(), section, "");
}

codec::BarcodeLists barcodeListsOf(const LanguageSet& lang) {
    auto values = [&](const char* section) {
        std::vector<std::string> v;
        if (const LanguageTable* t = lang.find(section))
            for (size_t i = 0; i < t->size(); ++i) v.push_back(t->valueAt(i));
        return v;
    };
    codec::BarcodeLists lists;
    lists.EAN_DISP = values("EAN_DISP");
    lists.EAN_EDIT = values("EAN_EDIT");
    lists.ITF_DISP = values("ITF_DISP");
    lists.ITF_EDIT = values("ITF_EDIT");
    lists.BAR_LAST_BYTE = values("BAR_LAST_BYTE");
    lists.EAN128C = values("EAN128C");
    return lists;
}

void ProgramState::prepareCodec() {
    if (!codePage) codePage = std::make_unique<codec::CodePage>(systemCodePageName());
    barcodeLists = barcodeListsOf(lang);
}

std::string ProgramState::systemCodePageName() const {
    const uint16_t language = systemLocale ? codec::languageIdFromLocale(*systemLocale) : codec::systemLanguageId();
    return codec::iconvNameForCharset(codec::textCharsetForLanguage(language));
}

codec::CodecEnvironment ProgramState::codecEnvironment() const {
    codec::CodecEnvironment env;
    env.settings.CountryIndex = settings.CountryIndex;
    env.settings.ScaleTypeIndex = settings.ScaleTypeIndex;
    env.settings.PriceDecimals = settings.PriceDecimals;
    env.settings.WeightDecimals = settings.WeightDecimals;
    env.codePage = codePage.get();
    env.barcodeLists = &barcodeLists;
    return env;
}

void ProgramState::closeDatabase() {
    RsWork.reset();
    RsPLU.reset();
    RsAux.reset();
    if (Conn) Conn->close();
    Conn.reset();
}

}  // namespace brindale::shell
