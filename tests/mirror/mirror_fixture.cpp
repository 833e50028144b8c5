#include "mirror_fixture.h"

#include "store/mirror.h"

namespace brindale::testing {

void MirrorChain::start() {
    state = std::make_unique<shell::ProgramState>();
    state->appDir = app.dir();
    state->systemLocale = locale;
    QuietView v;
    if (shell::runStartup(*state, v) != shell::StartResult::Ok) throw std::runtime_error("the start failed");
}

std::vector<std::string> MirrorChain::end() {
    QuietView v;
    auto w = shell::endProgram(*state, v);
    state.reset();
    return w;
}

void MirrorChain::add(const std::string& table, std::initializer_list<std::pair<const char*, store::Value>> values) {
    store::Recordset rs(db(), table);
    rs.addNew();
    for (const auto& [name, v] : values) rs.setValue(name, v);
    rs.update();
}

std::string MirrorChain::dumpTable(const std::string& table) {
    std::string out = "[" + table + "]\n";
    store::Recordset rs(db(), table);
    for (; !rs.eof(); rs.moveNext()) {
        for (int i = 0; i < rs.fieldCount(); ++i) {
            const store::Value& v = rs.value(i);
            out += rs.field(i).name + "=";
            if (v.isNull()) out += "<null>";
            else if (v.isBytes()) {
                static const char* hex = "0123456789ABCDEF";
                for (uint8_t b : v.bytes()) { out += hex[b >> 4]; out += hex[b & 15]; }
            } else out += v.toText();
            out += ";";
        }
        out += "\n";
    }
    return out;
}

std::string MirrorChain::dump() {
    std::string out;
    for (const auto& f : store::mirrorTextFiles()) out += dumpTable(f.table);
    return out;
}

void MirrorChain::generate(const datagen::ChainShape& shape, uint32_t seed) {
    const auto env = state->codecEnvironment();
    datagen::generateChain(db(), env, shape, seed);
}

}  // namespace brindale::testing
