#include "cli/cli.h"

#include <sqlite3.h>
#include <strings.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <set>
#include <sstream>
#include <thread>

#include "exchange/import_settings.h"
#include "exchange/plu_import.h"
#include "exchange/report_export.h"
#include "exchange/totals.h"
#include "shell/folder_lock.h"
#include "shell/lifecycle.h"
#include "shell/paths.h"
#include "store/fatal_error.h"
#include "store/mirror.h"
#include "transfer/flows.h"
#include "transfer/kvr_data_trans.h"
#include "transfer/language.h"

#ifndef BRINDALE_VERSION
#define BRINDALE_VERSION "0"
#endif

namespace fs = std::filesystem;

namespace brindale::cli {

namespace {

std::atomic<bool> g_stop{false};

// For benchmarks only, never configuration: with BRINDALE_CLI_TIMES set, the seconds of each
// phase go to the error output at the end.
struct PhaseTimes {
    bool on = std::getenv("BRINDALE_CLI_TIMES") != nullptr;
    std::chrono::steady_clock::time_point last = std::chrono::steady_clock::now();
    std::string text;
    void mark(const char* phase) {
        if (!on) return;
        const auto now = std::chrono::steady_clock::now();
        char b[64];
        std::snprintf(b, sizeof b, " %s %.3f", phase, std::chrono::duration<double>(now - last).count());
        text += b;
        last = now;
    }
    void print(std::ostream& err) const {
        if (on) err << "times:" << text << "\n";
    }
};

PhaseTimes* g_times = nullptr;

void mark(const char* phase) {
    if (g_times) g_times->mark(phase);
}

// A problem of the command line: exit 2 with the message.
struct UsageError {
    std::string message;
};

// The start and end see nobody: a left working database is not decided on here.
struct SilentView : shell::LifecycleView {
    void setLabel(const std::string&) override {}
    void repaint() override {}
    Recover askRecover() override { return Recover::Stop; }
};

int worst(int a, int b) { return a > b ? a : b; }

long long parseNumber(const std::string& option, const std::string& text, long long low, long long high) {
    size_t used = 0;
    long long v = 0;
    try {
        v = std::stoll(text, &used);
    } catch (...) {
        used = 0;
    }
    if (used == 0 || used != text.size() || v < low || v > high)
        throw UsageError{option + ": \"" + text + "\" is not a number from " + std::to_string(low) + " to " +
                         std::to_string(high)};
    return v;
}

std::vector<std::string> splitList(const std::string& text) {
    std::vector<std::string> out;
    std::string cur;
    for (char c : text) {
        if (c == ',') {
            if (!cur.empty()) out.push_back(cur);
            cur.clear();
        } else if (c != ' ') {
            cur += char(std::toupper(static_cast<unsigned char>(c)));
        }
    }
    if (!cur.empty()) out.push_back(cur);
    return out;
}

std::string jsonString(const std::string& s) {
    std::string out = "\"";
    for (unsigned char c : s) {
        switch (c) {
            case '"': out += "\\\""; break;
            case '\\': out += "\\\\"; break;
            case '\n': out += "\\n"; break;
            case '\r': out += "\\r"; break;
            case '\t': out += "\\t"; break;
            default:
                if (c < 0x20) {
                    char b[8];
                    std::snprintf(b, sizeof b, "\\u%04x", c);
                    out += b;
                } else {
                    out += char(c);
                }
        }
    }
    return out + "\"";
}

long long count(store::Database& db, const std::string& sql, long long bound) {
    auto st = db.prepare(sql);
    st->bind(1, store::Value(int64_t(bound)));
    st->step();
    return st->columnInt(0);
}

bool storeExists(store::Database& db, int number) {
    return count(db, "SELECT COUNT(*) FROM STORE WHERE ST_No = ?1", number) > 0;
}

// The control as the command line presents it: no window; a stop asked from outside cancels
// the scales under way.
// What every flow of the command line is given: the working database and the transfer's texts.
transfer::FlowContext flowContext(const shell::ProgramState& state) {
    transfer::FlowContext ctx;
    ctx.databasePath = state.databasePath();
    ctx.languageText = state.sectionText("ActX_KVR");
    return ctx;
}

void prepareControl(transfer::KVRDataTrans& control, const Transfers& t) {
    control.setOptions(t.options);
    control.setPresenter([](transfer::TransferEngine& engine, const transfer::LanguageTexts&) {
        std::atomic<bool> done{false};
        std::thread watch([&] {
            while (!done.load()) {
                if (g_stop.load()) {
                    engine.cancel();
                    return;
                }
                std::this_thread::sleep_for(std::chrono::milliseconds(20));
            }
        });
        transfer::TransferSummary s;
        try {
            s = engine.run(nullptr);
        } catch (...) {
            done = true;
            watch.join();
            throw;
        }
        done = true;
        watch.join();
        return s;
    });
}

// A line per scale, and the exit code the transfer gives.
int reportTransfer(const shell::ProgramState& state, const transfer::FlowOutcome& outcome,
                   const transfer::KVRDataTrans& control, std::ostream& out, std::ostream& err) {
    using transfer::FlowEnd;
    switch (outcome.end) {
        case FlowEnd::Transferred: break;
        case FlowEnd::Overflow:
            err << "brindale-cli: " << outcome.message << "; nothing was sent\n";
            return kRefused;
        case FlowEnd::Failed: err << "brindale-cli: " << outcome.message << "\n"; return kInternal;
        case FlowEnd::NoScaleRow: err << "brindale-cli: " << outcome.message << "\n"; return kNoScale;
        case FlowEnd::Cancelled:
        case FlowEnd::Declined: err << "brindale-cli: cancelled before the transfer\n"; return kScalesFailed;
    }
    const transfer::LanguageTexts texts(state.sectionText("ActX_KVR"));
    const transfer::TransferSummary& s = control.lastSummary();
    int code = kDone;
    if (s.reason != transfer::FailReason::None) {
        err << "brindale-cli: " << transfer::summaryText(s, texts) << "\n";
        code = s.reason == transfer::FailReason::NoScale ? kNoScale : kScalesFailed;
    }
    for (const auto& o : s.scales) {
        out << o.target.address << " " << o.target.name << ": " << transfer::outcomeText(o, texts) << "\n";
        if (o.state != transfer::ScaleState::Done) code = worst(code, kScalesFailed);
    }
    if (s.cancelled) code = worst(code, kScalesFailed);
    for (const auto& h : outcome.heldBack) {
        err << "PLU " << h.PLU_No << ": not sent, " << h.column << ": " << h.reason << "\n";
        code = worst(code, kSkipped);
    }
    return code;
}

// Runs a PLU flow over the rows marked in KVR_25: the download dialog's refresh, its boxes for
// departments and main groups, and the marks cleared after.
int runPluFlow(shell::ProgramState& state, int store, int section, bool remove, bool dept, bool mg,
               const Transfers& t, std::ostream& out, std::ostream& err) {
    transfer::KVRDataTrans control;
    prepareControl(control, t);
    transfer::FlowState flowState;
    const codec::CodecEnvironment env = state.codecEnvironment();
    transfer::FlowContext ctx = flowContext(state);
    ctx.currentStore = store;
    ctx.currentSection = section;
    ctx.env = &env;
    transfer::FlowHooks hooks;
    hooks.downloadDialog = [&](transfer::FlowSession& session) {
        session.firstActivation();
        mark("pack");
        if (g_stop.load()) session.cancel();
        else session.ok(dept, mg);
    };
    transfer::Flow flow = remove ? transfer::Flow::DeletePlu : transfer::Flow::SendAll;
    const transfer::FlowOutcome o = transfer::runFlow(flow, *state.Conn, control, flowState, ctx, hooks);
    mark("transfer");
    // The marks stay: the mirror keeps none, and the working database goes at the end.
    return reportTransfer(state, o, control, out, err);
}

int runStoreFlow(shell::ProgramState& state, transfer::Flow flow, int store, int section, const Transfers& t,
                 std::ostream& out, std::ostream& err) {
    transfer::KVRDataTrans control;
    prepareControl(control, t);
    transfer::FlowState flowState;
    transfer::FlowContext ctx = flowContext(state);
    ctx.currentStore = store;
    ctx.currentSection = section;
    const transfer::FlowOutcome o = transfer::runFlow(flow, *state.Conn, control, flowState, ctx, {});
    return reportTransfer(state, o, control, out, err);
}

}  // namespace

void requestStop() { g_stop.store(true); }
bool stopRequested() { return g_stop.load(); }
void clearStop() { g_stop.store(false); }

// ---- summary ----

Outcome summary(shell::ProgramState& state, bool json, std::ostream& out) {
    store::Database& db = *state.Conn;
    struct Row {
        long long number;
        std::string name;
        long long sections, scales, departments, groups, plus;
    };
    std::vector<Row> rows;
    {
        auto st = db.prepare("SELECT ST_No, ST_Name FROM STORE ORDER BY ST_No");
        while (st->step()) rows.push_back({st->columnInt(0), st->column(1).toText(), 0, 0, 0, 0, 0});
    }
    for (auto& r : rows) {
        r.sections = count(db, "SELECT COUNT(*) FROM SECT WHERE ST_No = ?1", r.number);
        r.scales = count(db, "SELECT COUNT(*) FROM SCALE WHERE ST_No = ?1", r.number);
        r.departments = count(db, "SELECT COUNT(*) FROM KVR_20 WHERE ST_No = ?1", r.number);
        r.groups = count(db, "SELECT COUNT(*) FROM KVR_23 WHERE ST_No = ?1", r.number);
        r.plus = count(db, "SELECT COUNT(*) FROM KVR_25 WHERE ST_No = ?1", r.number);
    }
    if (json) {
        out << "{\"stores\":[";
        for (size_t i = 0; i < rows.size(); ++i) {
            const Row& r = rows[i];
            out << (i ? "," : "") << "{\"store\":" << r.number << ",\"name\":" << jsonString(r.name)
                << ",\"sections\":" << r.sections << ",\"scales\":" << r.scales << ",\"departments\":" << r.departments
                << ",\"mainGroups\":" << r.groups << ",\"plus\":" << r.plus << "}";
        }
        out << "]}\n";
    } else {
        out << "store\tname\tsections\tscales\tdepartments\tmain groups\tPLUs\n";
        for (const Row& r : rows)
            out << r.number << "\t" << r.name << "\t" << r.sections << "\t" << r.scales << "\t" << r.departments
                << "\t" << r.groups << "\t" << r.plus << "\n";
    }
    return {};
}

// ---- send ----

Outcome send(shell::ProgramState& state, const SendArgs& args, const Transfers& t, std::ostream& out,
             std::ostream& err) {
    Outcome o;
    store::Database& db = *state.Conn;
    if (!storeExists(db, args.store)) {
        err << "brindale-cli: there is no store " << args.store << "\n";
        o.exit = kRefused;
        return o;
    }
    const std::set<std::string> tables(args.tables.begin(), args.tables.end());
    const bool plu = tables.count("25") > 0;
    if (!plu) {
        // Departments or main groups alone: their own flows.
        o.changed = true;
        int code = kDone;
        if (tables.count("20")) code = worst(code, runStoreFlow(state, transfer::Flow::DownloadDept, args.store, args.section, t, out, err));
        if (tables.count("23") && !g_stop.load())
            code = worst(code, runStoreFlow(state, transfer::Flow::DownloadMG, args.store, args.section, t, out, err));
        o.exit = code;
        return o;
    }
    int code = kDone;
    {
        store::Transaction tx(db);
        db.exec("UPDATE KVR_25 SET Is_Selected = 0 WHERE Is_Selected <> 0");
        if (args.allPlus) {
            auto st = db.prepare("UPDATE KVR_25 SET Is_Selected = 1 WHERE ST_No = ?1");
            st->bind(1, store::Value(int64_t(args.store)));
            st->step();
        } else {
            auto& st = db.cached("UPDATE KVR_25 SET Is_Selected = 1 WHERE ST_No = ?1 AND PLU_No = ?2");
            for (long long n : args.plus) {
                st.bind(1, store::Value(int64_t(args.store)));
                st.bind(2, store::Value(int64_t(n)));
                st.step();
                st.reset();
                if (sqlite3_changes(db.handle()) == 0) {
                    err << "PLU " << n << ": not in store " << args.store << "\n";
                    code = kSkipped;
                }
            }
        }
        tx.commit();
    }
    o.changed = true;
    code = worst(code, runPluFlow(state, args.store, args.section, args.remove, tables.count("20") > 0,
                                  tables.count("23") > 0, t, out, err));
    o.exit = code;
    return o;
}

// ---- import-plu ----

Outcome importPlu(shell::ProgramState& state, const ImportArgs& args, const Transfers& t, std::ostream& out,
                  std::ostream& err) {
    Outcome o;
    store::Database& db = *state.Conn;
    std::vector<std::string> items;
    if (const auto* section = state.lang.find("ImportOrExportItem"))
        for (size_t i = 0; i < section->size(); ++i) items.push_back(section->valueAt(i));
    exchange::ImportSettings set;
    std::string error;
    std::vector<std::string> passedOver;
    if (!exchange::loadImportSettings(args.set, int(items.size()), set, error, &passedOver)) {
        err << "brindale-cli: " << error << "\n";
        o.exit = kRefused;
        return o;
    }
    for (const auto& p : passedOver) err << args.set << ", " << p << ": passed over\n";
    if (set.weightFlag.empty()) {
        err << "brindale-cli: " << args.set << ": " << state.text("msgbox", "formatsave") << "\n";
        o.exit = kRefused;
        return o;
    }
    if (!storeExists(db, args.store)) {
        err << "brindale-cli: there is no store " << args.store << "\n";
        o.exit = kRefused;
        return o;
    }
    exchange::ImportOptions opt;
    for (int p : set.items) opt.columns.push_back(items[size_t(p)]);
    opt.separator = set.separator;
    opt.heading = args.heading;
    opt.weightFlag = set.weightFlag;
    opt.barType = set.barType;
    for (size_t i = 0; i < 3; ++i) opt.fontCodes[i] = exchange::fontCodeAt(set.fontPositions[i]).value_or(0);
    opt.stNo = args.store;
    opt.mgNo = args.mainGroup.value_or(997);
    opt.replaceExisting = args.replace;
    opt.priceDecimals = state.settings.PriceDecimals;
    opt.weightDecimals = state.settings.WeightDecimals;
    opt.decimalSign = state.settings.DecimalSign();
    opt.codePage = state.codePage.get();
    opt.barcodeLists = &state.barcodeLists;
    opt.progress = [](long long, long long) { return !g_stop.load(); };

    // The rows this import writes stay marked: exactly the file's PLUs for --send.
    opt.markImported = args.send;
    const exchange::ImportResult r = exchange::importPlus(db, args.file, opt);
    mark("import");

    switch (r.outcome) {
        case exchange::ImportOutcome::Refused:
            err << "brindale-cli: " << args.file << ": " << state.text("msgbox", r.error == "formatsave" ? "formatsave" : "importPLU")
                << "\n";
            o.exit = kRefused;
            return o;
        case exchange::ImportOutcome::Failed:
            err << "brindale-cli: " << r.error << "\n";
            o.exit = g_stop.load() ? kScalesFailed : kRefused;
            return o;
        default: break;
    }
    std::set<long> replaced, dropped, faulty;
    for (const auto& n : r.notes) {
        using A = exchange::ImportAction;
        if (n.action == A::DuplicateReplaced) replaced.insert(n.line);
        if (n.action == A::PluNoZeroRemoved || n.action == A::DuplicateKept || n.action == A::ReplacedByLaterLine)
            dropped.insert(n.line);
        if (exchange::actionIsFault(n.action)) faulty.insert(n.line);
    }
    auto lineList = [&](const char* what, const std::set<long>& lines) {
        out << what << " " << lines.size();
        if (!lines.empty()) {
            out << ": lines";
            const char* sep = " ";
            for (long l : lines) {
                out << sep << l;
                sep = ", ";
            }
        }
        out << "\n";
    };
    out << "added " << r.added << "\n";
    lineList("replaced", replaced);
    lineList("dropped", dropped);
    lineList("faulty", faulty);
    for (const auto& n : r.notes)
        err << args.file << ", line " << n.line << ": " << (n.pluNo.empty() ? "" : "PLU " + n.pluNo + ", ")
            << (n.column.empty() ? "" : n.column + ", ") << exchange::actionName(n.action) << "\n";
    o.changed = r.added > 0;
    o.exit = (dropped.empty() && faulty.empty()) ? kDone : kSkipped;
    if (!args.send) return o;
    if (g_stop.load()) {
        o.exit = worst(o.exit, kScalesFailed);
        return o;
    }
    o.changed = true;
    o.exit = worst(o.exit, runPluFlow(state, args.store, args.section, false, false, false, t, out, err));
    return o;
}

// ---- report ----

Outcome report(shell::ProgramState& state, const ReportArgs& args, const Transfers& t, std::ostream& out,
               std::ostream& err) {
    Outcome o;
    const exchange::TotalsLayout* layout = exchange::totalsLayout(args.name);
    if (!layout)
        for (const auto& l : exchange::totalsLayouts())
            if (strcasecmp(l.title, args.name.c_str()) == 0) layout = &l;
    if (!layout) {
        err << "brindale-cli: no report \"" << args.name << "\"\n";
        o.exit = kUsage;
        return o;
    }
    store::Database& db = *state.Conn;
    std::vector<std::string> columns = exchange::reportColumns(db, *layout);
    std::vector<std::string> chosen = columns;
    if (!args.columnSet.empty()) {
        const auto positions = exchange::loadColumnSet(args.columnSet, int(columns.size()));
        if (!positions) {
            err << "brindale-cli: " << args.columnSet << ": cannot be read\n";
            o.exit = kRefused;
            return o;
        }
        chosen.clear();
        for (int p : *positions) chosen.push_back(columns[size_t(p)]);
    }

    transfer::KVRDataTrans control;
    prepareControl(control, t);
    transfer::FlowState flowState;
    transfer::FlowContext ctx = flowContext(state);
    ctx.identifiers = {layout->identifier};
    ctx.reportStore = args.store;
    const transfer::FlowOutcome fo = transfer::runFlow(transfer::Flow::ReportUpload, db, control, flowState, ctx, {});
    o.changed = true;  // the fetched rows and the transfer history
    int code = reportTransfer(state, fo, control, out, err);
    if (fo.end != transfer::FlowEnd::Transferred) {
        o.exit = code;
        return o;
    }
    exchange::ExportRequest q;
    q.layout = layout;
    q.columns = columns;
    q.chosen = chosen;
    q.separator = args.separator;
    q.heading = args.heading;
    q.path = args.outFile;
    q.settings.priceDecimals = state.settings.PriceDecimals;
    q.settings.weightDecimals = state.settings.WeightDecimals;
    q.settings.decimalSign = state.settings.DecimalSign();
    try {
        const exchange::ExportResult r = exchange::exportReport(db, q);
        out << "rows " << r.rows << " written to " << args.outFile << "\n";
        if (r.stoppedAtRow > 0) {
            err << args.outFile << ": stopped at row " << r.stoppedAtRow << " (no value)\n";
            code = worst(code, kSkipped);
        }
    } catch (const exchange::TotalsFault& e) {
        err << "brindale-cli: " << e.what() << "\n";
        code = worst(code, kSkipped);
    } catch (const exchange::ExportError& e) {
        err << "brindale-cli: " << e.what() << "\n";
        code = worst(code, kRefused);
    }
    o.exit = code;
    return o;
}

// ---- the run ----

std::string usageText() {
    return "Usage: brindale-cli [--app-folder DIR] [--wait] [--port N] COMMAND [OPTIONS]\n"
           "\n"
           "Commands:\n"
           "  summary [--json]                 the chain, a line per store\n"
           "  import-plu FILE --set SET --store N [--mg M] [--heading] [--replace]\n"
           "             [--send [--section S]]\n"
           "                                   imports PLUs by a saved set of the import window;\n"
           "                                   --send sends exactly the file's PLUs\n"
           "  send --store N [--section S] --tables 25,20,23 [--plu all|LIST] [--delete]\n"
           "                                   sends (or deletes) PLUs, departments, main groups\n"
           "  report NAME --out FILE [--store N] [--columns SET] [--separator tab|comma|semicolon]\n"
           "             [--heading]           fetches a totals report and exports it\n"
           "\n"
           "  --app-folder DIR   the application folder (default: the program's, as it finds it)\n"
           "  --wait             wait while another job holds the folder (default: exit 3)\n"
           "  --port N           the scales' port (default 7450)\n"
           "  --version, --help\n"
           "\n"
           "Exit codes (the highest that applies): 0 done; 1 internal error; 2 usage; 3 folder in use;\n"
           "4 input refused, nothing changed; 5 done with skipped lines; 6 scales failed or cancelled;\n"
           "7 no scale there; 8 damaged application folder; 9 data not saved, old mirror kept.\n";
}

namespace {

struct Parsed {
    std::string command;
    std::string appFolder;
    bool wait = false;
    bool json = false;
    std::optional<int> port;
    SendArgs send;
    ImportArgs import;
    ReportArgs report;
};

Parsed parse(const std::vector<std::string>& args) {
    Parsed p;
    std::vector<std::string> positional;
    bool haveStore = false, haveTables = false, haveSet = false, haveOut = false, haveSection = false;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& a = args[i];
        auto value = [&]() -> const std::string& {
            if (i + 1 >= args.size()) throw UsageError{a + " needs a value"};
            return args[++i];
        };
        if (a == "--app-folder") p.appFolder = value();
        else if (a == "--wait") p.wait = true;
        else if (a == "--port") p.port = int(parseNumber(a, value(), 1, 65535));
        else if (a == "--json") p.json = true;
        else if (a == "--store") {
            const int n = int(parseNumber(a, value(), 0, 32767));
            p.send.store = p.import.store = p.report.store = n;
            haveStore = true;
        } else if (a == "--section") {
            p.send.section = p.import.section = int(parseNumber(a, value(), 0, 32767));
            haveSection = true;
        } else if (a == "--tables") {
            p.send.tables = splitList(value());
            haveTables = true;
        } else if (a == "--plu") {
            const std::string v = value();
            if (v == "all") {
                p.send.allPlus = true;
            } else {
                p.send.allPlus = false;
                p.send.plus.clear();
                for (const auto& n : splitList(v)) p.send.plus.push_back(parseNumber(a, n, 1, 999999999));
                if (p.send.plus.empty()) throw UsageError{"--plu needs \"all\" or PLU numbers"};
            }
        } else if (a == "--delete") p.send.remove = true;
        else if (a == "--set") {
            p.import.set = value();
            haveSet = true;
        } else if (a == "--mg") p.import.mainGroup = parseNumber(a, value(), 0, 999999);
        else if (a == "--heading") p.import.heading = p.report.heading = true;
        else if (a == "--replace") p.import.replace = true;
        else if (a == "--send") p.import.send = true;
        else if (a == "--out") {
            p.report.outFile = value();
            haveOut = true;
        } else if (a == "--columns") p.report.columnSet = value();
        else if (a == "--separator") {
            const std::string v = value();
            if (v == "tab") p.report.separator = 0;
            else if (v == "comma" || v == ",") p.report.separator = 1;
            else if (v == "semicolon" || v == ";") p.report.separator = 2;
            else throw UsageError{"--separator: \"" + v + "\" is not tab, comma or semicolon"};
        } else if (a.rfind("--", 0) == 0) throw UsageError{"unknown option " + a};
        else positional.push_back(a);
    }
    if (positional.empty()) throw UsageError{"no command"};
    p.command = positional[0];
    const size_t want = (p.command == "import-plu" || p.command == "report") ? 2 : 1;
    if (positional.size() != want) throw UsageError{p.command + ": " + (positional.size() < want ? "too few" : "too many") + " arguments"};
    if (p.command == "summary") {
    } else if (p.command == "send") {
        if (!haveStore) throw UsageError{"send needs --store"};
        if (!haveTables || p.send.tables.empty()) throw UsageError{"send needs --tables"};
        for (const auto& t : p.send.tables)
            if (t != "25" && t != "20" && t != "23") throw UsageError{"--tables: \"" + t + "\" is not 25, 20 or 23"};
        if (p.send.remove) {
            bool plu = false;
            for (const auto& t : p.send.tables) plu = plu || t == "25";
            if (!plu) throw UsageError{"--delete needs 25 among --tables"};
        }
    } else if (p.command == "import-plu") {
        p.import.file = positional[1];
        if (!haveSet) throw UsageError{"import-plu needs --set"};
        if (!haveStore) throw UsageError{"import-plu needs --store"};
        if (haveSection && !p.import.send) throw UsageError{"--section goes with --send"};
    } else if (p.command == "report") {
        p.report.name = positional[1];
        if (!haveOut) throw UsageError{"report needs --out"};
        if (!haveStore) p.report.store = 1;
    } else {
        throw UsageError{"unknown command \"" + p.command + "\""};
    }
    return p;
}

std::string joined(const std::vector<std::string>& args) {
    std::string s = "brindale-cli";
    for (const auto& a : args) s += " " + a;
    return s;
}

// The file the start found missing, for the message.
std::string missingSourceFile(const std::string& appDir) {
    for (const char* f : {shell::kLanguageFile, shell::kParameterFile, shell::kSettingsFile})
        if (!fs::is_regular_file(shell::joinPath(appDir, f))) return shell::joinPath(appDir, f);
    return appDir;
}

int runCommand(const Parsed& p, const std::string& appDir, const Environment& env, std::ostream& out,
               std::ostream& err) {
    PhaseTimes times;
    g_times = &times;
    struct Unset {
        ~Unset() { g_times = nullptr; }
    } unset;
    shell::ProgramState state;
    state.appDir = appDir;
    SilentView view;
    try {
        switch (shell::runStartup(state, view)) {
            case shell::StartResult::Ok: break;
            case shell::StartResult::MissingSourceFile:
                err << "brindale-cli: " << missingSourceFile(appDir) << ": " << shell::kMissingSourceText << "\n";
                return kDamaged;
            case shell::StartResult::LinkFailed:
                err << "brindale-cli: " << state.path(shell::kSchemaFile) << ": the working database cannot be made\n";
                return kDamaged;
            case shell::StartResult::Stopped:
                err << "brindale-cli: " << state.databasePath()
                    << ": a working database of a run that did not end is there; start the program to recover "
                       "it\n";
                return kDamaged;
        }
    } catch (const FatalError& e) {
        err << "brindale-cli: " << e.what() << "\n";
        return kDamaged;
    }
    for (const auto& n : state.startNotices) err << "brindale-cli: " << n << "\n";
    times.mark("start");

    Transfers t;
    if (env.transfer) t.options = *env.transfer;
    if (p.port) t.options.port = uint16_t(*p.port);

    Outcome o;
    try {
        if (p.command == "summary") o = summary(state, p.json, out);
        else if (p.command == "send") o = send(state, p.send, t, out, err);
        else if (p.command == "import-plu") o = importPlu(state, p.import, t, out, err);
        else if (p.command == "report") o = report(state, p.report, t, out, err);
    } catch (const std::exception& e) {
        // The database keeps what was done up to here; the end below writes it as the program's
        // end would.
        err << "brindale-cli: " << e.what() << "\n";
        o.exit = kInternal;
        o.changed = true;
    }

    times.mark("rest");
    if (!o.changed) {
        // Nothing to write: the mirror stays byte for byte as it was.
        state.closeDatabase();
        state.lang.clear();
        std::error_code ec;
        fs::remove(state.databasePath(), ec);
        return o.exit;
    }
    try {
        const std::vector<std::string> warnings = shell::endProgram(state, view);
        for (const auto& w : warnings) err << "brindale-cli: " << w << "\n";
        if (!warnings.empty()) o.exit = worst(o.exit, kSkipped);
        times.mark("end");
        times.print(err);
    } catch (const std::exception& e) {
        // The old mirror stands; the working database stays for the next start to recover.
        err << "brindale-cli: " << e.what() << "\nbrindale-cli: the data were not saved; the old mirror is kept and "
            << state.databasePath() << " stays for the next start\n";
        state.closeDatabase();
        return worst(o.exit, kNotSaved);
    }
    return o.exit;
}

}  // namespace

int run(const std::vector<std::string>& args, std::ostream& out, std::ostream& err, const Environment& env) {
    for (const auto& a : args) {
        if (a == "--help" || a == "-h") {
            out << usageText();
            return kDone;
        }
        if (a == "--version") {
            out << "brindale-cli " << BRINDALE_VERSION << "\n";
            return kDone;
        }
    }
    Parsed p;
    try {
        p = parse(args);
    } catch (const UsageError& e) {
        err << "brindale-cli: " << e.message << "\n\n" << usageText();
        return kUsage;
    }
    // Without --app-folder: the program's own folder, as the program finds it (a build or a copy
    // in a folder of its own is its folder; an installed one uses the user's folder).
    std::string appDir = p.appFolder;
    if (appDir.empty()) {
        try {
            appDir = shell::resolveApplicationFolder(env.executableFolder, env.dataHome);
        } catch (const std::exception& e) {
            err << "brindale-cli: " << e.what() << "\n";
            return kDamaged;
        }
    }
    if (!fs::is_directory(appDir)) {
        err << "brindale-cli: " << appDir << ": no such application folder\n";
        return kUsage;
    }
    shell::FolderLock lock;
    const std::string job = joined(args);
    shell::FolderLock::Result r = lock.acquire(appDir, job);
    if (r == shell::FolderLock::Result::Busy && p.wait) {
        err << "brindale-cli: waiting for " << lock.holder().job << " (process " << lock.holder().pid << ")\n";
        r = lock.acquireWaiting(appDir, job, [&] { return !g_stop.load() && (!env.keepWaiting || env.keepWaiting()); });
    }
    if (r == shell::FolderLock::Result::Failed) {
        err << "brindale-cli: " << lock.error() << "\n";
        return kDamaged;
    }
    if (r == shell::FolderLock::Result::Busy) {
        err << "brindale-cli: " << appDir << " is in use by " << lock.holder().job << " (process " << lock.holder().pid
            << ")\n";
        return kFolderInUse;
    }
    try {
        return runCommand(p, appDir, env, out, err);
    } catch (const std::exception& e) {
        err << "brindale-cli: " << e.what() << "\n";
        return kInternal;
    }
}

}  // namespace brindale::cli
