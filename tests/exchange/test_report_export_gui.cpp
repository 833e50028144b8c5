// frmExportReportData driven offscreen by control name: the load state, the fetch and its question,
// the list rules, the report change, export and column sets, the chart, faults; and end to end
// through menuExportReport with emulated scales on loopback.
#include <gtest/gtest.h>

#include <QApplication>
#include <QLabel>
#include <QListWidget>
#include <QProgressBar>
#include <QPushButton>
#include <QTableWidget>
#include <QTimer>
#include <fstream>
#include <map>
#include <set>
#include <sstream>

#include "chain_settings.h"
#include "emulated_scale.h"
#include "exchange/report_export.h"
#include "exchange/ui/report_export_window.h"
#include "gui_support.h"
#include "store/hierarchy.h"
#include "totals.h"

using namespace brindale;
using namespace brindale::exchange;
using brindale::exchange::ui::ReportExportWindow;

namespace brindale::testing {
namespace {

using Record = std::vector<uint8_t>;

// Records are made as the emulated scale makes them.
using scaleemu::putBcd;
using scaleemu::putInt;
std::string slurp(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}
QListWidget* list(QWidget* w, const char* name) { return w->findChild<QListWidget*>(name); }
QStringList entries(QListWidget* l) {
    QStringList out;
    for (int i = 0; i < l->count(); ++i) out << l->item(i)->text();
    return out;
}

std::unique_ptr<TempApp> smallChain() {
    datagen::ChainShape shape;
    shape.stores = 1;
    shape.sectionsPerStore = 1;
    shape.scalesPerSection = 1;
    shape.plus = 5;
    return generatedApp(shape, 3);
}

// The window over a started program; the fetch is replaced by one that puts `fetched` records
// into RC_ of the identifier, as the control would.
class ReportWindow : public ::testing::Test {
protected:
    std::unique_ptr<GuiApp> g;
    std::unique_ptr<ReportExportWindow> w;
    std::vector<std::string> fetchedIds;
    std::map<std::string, std::vector<Record>> fetched;
    std::vector<QString> answers;  // the next file names the dialog gives
    int chooserCalls = 0;

    void SetUp() override {
        answerYes();
        clearMessages();
        g = std::make_unique<GuiApp>(smallChain());
        ASSERT_EQ(g->start(), 0);
        w = std::make_unique<ReportExportWindow>(
            g->state(),
            [this](const std::string& id, const std::function<void()>& after) {
                fetchedIds.push_back(id);
                db().exec("DELETE FROM RC_" + id);
                for (const auto& r : fetched[id]) {
                    auto st = db().prepare("INSERT INTO RC_" + id + " (KVRBinData) VALUES (?)");
                    st->bind(1, store::Value(store::Bytes(r)));
                    st->step();
                }
                after();
            },
            &g->w());
        w->setFileChooser([this](bool) {
            ++chooserCalls;
            if (answers.empty()) return QString();
            QString f = answers.front();
            answers.erase(answers.begin());
            return f;
        });
        w->show();
    }
    void TearDown() override {
        w.reset();
        shell::Messages::setResponder({});
    }
    store::Database& db() { return *g->state().Conn; }
    QPushButton* btn(const char* n) { return w->findChild<QPushButton*>(n); }
    QComboBox* combo(const char* n) { return w->findChild<QComboBox*>(n); }
    bool listsOn() {
        for (const char* n : {"listItem", "SelectItem"})
            if (!w->findChild<QWidget*>(n)->isEnabled()) return false;
        for (const char* n : {"cmdAdd", "cmdDelete", "cmdAddAll", "cmdDeleteAll", "cmdExport", "commandOpen",
                              "commandSave"})
            if (!btn(n)->isEnabled()) return false;
        return true;
    }
    bool listsOff() {
        for (const char* n : {"listItem", "SelectItem"})
            if (w->findChild<QWidget*>(n)->isEnabled()) return false;
        for (const char* n : {"cmdAdd", "cmdDelete", "cmdAddAll", "cmdDeleteAll", "cmdExport", "commandOpen",
                              "commandSave"})
            if (btn(n)->isEnabled()) return false;
        return true;
    }
    Record dept(uint64_t n, int64_t count, int64_t amount) {
        Record r(105, 0);
        putBcd(r, 0, 4, n);
        putInt(r, 4, 2, 105);
        putInt(r, 6, 4, count);
        putInt(r, 14, 4, amount);
        return r;
    }
    void pick(const char* listName, const QString& text) {
        auto* l = list(w.get(), listName);
        auto found = l->findItems(text, Qt::MatchExactly);
        ASSERT_FALSE(found.isEmpty()) << text.toStdString();
        l->setCurrentItem(found.first());
    }
};

TEST_F(ReportWindow, LoadShowsCaptionsListsAndKeepsTheListsOff) {
    EXPECT_EQ(w->objectName(), "frmExportReportData");
    EXPECT_EQ(w->windowTitle().toStdString(), g->text("frmMain_Menu", "menuExportReport"));
    for (const char* k : {"labReport", "labSeperator", "labListItem", "labSelectItem", "labWaiting"})
        EXPECT_EQ(w->findChild<QLabel*>(k)->text().toStdString(), g->text("frm_ExportReportData", k)) << k;
    for (const char* k : {"cmdUpload", "cmdExport", "cmdClose", "cmdAdd", "cmdDelete", "cmdAddAll", "cmdDeleteAll",
                          "commandOpen", "commandSave"})
        EXPECT_EQ(btn(k)->text().toStdString(), g->text("frm_ExportReportData", k)) << k;
    auto* report = combo("comboReport");
    ASSERT_EQ(report->count(), 9);
    EXPECT_EQ(report->currentIndex(), 0);
    EXPECT_EQ(report->itemText(0), "DEPARTMENT TOTAL FILE");
    EXPECT_EQ(report->itemText(3), "PLU TOTAL (TRANSACTION TYPE)  FILE");
    EXPECT_EQ(report->itemText(8), "TRACEABILITY REPORT FILE");
    auto* sep = combo("comboSeperator");
    ASSERT_EQ(sep->count(), 3);
    EXPECT_EQ(sep->currentIndex(), 0);
    EXPECT_EQ(sep->itemText(1).toStdString(), g->text("frm_ExportReportData", "comma"));
    const QStringList cols = entries(list(w.get(), "listItem"));
    ASSERT_EQ(cols.size(), 28);
    EXPECT_EQ(cols.first(), "DP_No");
    EXPECT_EQ(cols.last(), "KVRBinData");
    EXPECT_TRUE(listsOff());
    EXPECT_TRUE(btn("cmdUpload")->isEnabled());
    EXPECT_FALSE(w->findChild<QLabel*>("labWaiting")->isVisible());
    EXPECT_FALSE(w->findChild<QProgressBar*>("progressWaiting")->isVisible());
}

TEST_F(ReportWindow, UploadAsksAndYesTurnsTheListsOnNoOff) {
    btn("cmdUpload")->click();
    EXPECT_EQ(fetchedIds, std::vector<std::string>{"21"});
    ASSERT_EQ(messagesShown().size(), 1u);
    EXPECT_EQ(messagesShown()[0], g->text("msgbox", "exportreport"));
    EXPECT_TRUE(listsOn());
    shell::Messages::setResponder([](const shell::MessageRecord&) { return shell::MsgResult::No; });
    btn("cmdUpload")->click();
    EXPECT_TRUE(listsOff());
}

TEST_F(ReportWindow, ListRules) {
    btn("cmdUpload")->click();
    auto* sel = list(w.get(), "SelectItem");
    pick("listItem", "Day_Count1");
    btn("cmdAdd")->click();
    btn("cmdAdd")->click();  // twice: still once
    EXPECT_EQ(entries(sel), QStringList{"Day_Count1"});
    pick("listItem", "DP_No");
    auto* li = list(w.get(), "listItem");
    emit li->itemDoubleClicked(li->currentItem());
    EXPECT_EQ(entries(sel), (QStringList{"Day_Count1", "DP_No"}));
    li->setCurrentRow(-1);
    btn("cmdAdd")->click();  // nothing picked: nothing added
    EXPECT_EQ(sel->count(), 2);
    btn("cmdAddAll")->click();
    EXPECT_EQ(entries(sel), entries(li));
    sel->setCurrentRow(3);
    btn("cmdDelete")->click();
    EXPECT_EQ(sel->count(), 27);
    EXPECT_EQ(sel->currentRow(), 26);  // the last one is picked
    EXPECT_FALSE(entries(sel).contains("Day_Count2"));
    emit sel->itemDoubleClicked(sel->currentItem());
    EXPECT_EQ(sel->count(), 26);
    btn("cmdDeleteAll")->click();
    EXPECT_EQ(sel->count(), 0);
}

TEST_F(ReportWindow, ChangingReportTurnsTheListsOffUntilANewFetch) {
    btn("cmdUpload")->click();
    btn("cmdAddAll")->click();
    ASSERT_TRUE(listsOn());
    combo("comboReport")->setCurrentIndex(0);  // the same position: nothing happens
    EXPECT_TRUE(listsOn());
    combo("comboReport")->setCurrentIndex(8);
    EXPECT_TRUE(listsOff());
    EXPECT_EQ(list(w.get(), "SelectItem")->count(), 0);
    EXPECT_EQ(entries(list(w.get(), "listItem")).first(), "Rec_No");
    EXPECT_EQ(list(w.get(), "listItem")->count(), 11);
    btn("cmdUpload")->click();
    EXPECT_EQ(fetchedIds.back(), "59");
    EXPECT_TRUE(listsOn());
}

TEST_F(ReportWindow, ExportWithNothingChosenDecodesAndAsksNothing) {
    fetched["21"] = {dept(4, 2, 300)};
    btn("cmdUpload")->click();
    clearMessages();
    btn("cmdExport")->click();
    EXPECT_TRUE(messagesShown().empty());
    EXPECT_EQ(chooserCalls, 0);
    auto st = db().prepare("SELECT DP_No, Day_Amount1 FROM RC_21");
    ASSERT_TRUE(st->step());
    EXPECT_EQ(st->column(0).toText(), "4");
    EXPECT_EQ(st->column(1).toText(), "300");
}

TEST_F(ReportWindow, ExportWritesTheFileAndSetsAreSavedAndReopened) {
    g->state().settings.PriceDecimals = 2;
    g->state().settings.RunDecimalSign = ",";
    fetched["21"] = {dept(4, 2, 300), dept(5, 1, 7)};
    btn("cmdUpload")->click();
    pick("listItem", "DP_No");
    btn("cmdAdd")->click();
    pick("listItem", "Day_Amount1");
    btn("cmdAdd")->click();
    combo("comboSeperator")->setCurrentIndex(2);
    const std::string out = g->dir->path("report.txt");
    answers = {QString::fromStdString(out)};
    clearMessages();
    btn("cmdExport")->click();
    ASSERT_EQ(messagesShown().size(), 1u);
    EXPECT_EQ(messagesShown()[0], g->text("msgbox", "ReportTitle"));
    EXPECT_EQ(slurp(out), "DP_No;Day_Amount1\r\n4;3,00\r\n5;0,07\r\n");
    EXPECT_TRUE(w->isEnabled());
    EXPECT_FALSE(w->findChild<QLabel*>("labWaiting")->isVisible());

    const std::string set = g->dir->path("set.txt");
    answers = {QString::fromStdString(set)};
    btn("commandSave")->click();
    EXPECT_EQ(slurp(set), "0\r\n4\r\n");
    btn("cmdDeleteAll")->click();
    answers = {QString::fromStdString(set)};
    btn("commandOpen")->click();
    EXPECT_EQ(entries(list(w.get(), "SelectItem")), (QStringList{"DP_No", "Day_Amount1"}));
    EXPECT_EQ(list(w.get(), "SelectItem")->currentRow(), 0);
    // A file that is not there changes nothing.
    answers = {QString::fromStdString(g->dir->path("none.txt"))};
    btn("commandOpen")->click();
    EXPECT_EQ(list(w.get(), "SelectItem")->count(), 2);
    // Answering No to the heading and cancelling the dialog writes nothing.
    shell::Messages::setResponder([](const shell::MessageRecord&) { return shell::MsgResult::No; });
    std::remove(out.c_str());
    btn("cmdExport")->click();
    EXPECT_FALSE(g->dir->exists("report.txt"));
}

TEST_F(ReportWindow, ShortRecordIsNamedAndNoFileIsWritten) {
    fetched["21"] = {dept(4, 2, 300), Record(40, 0)};
    btn("cmdUpload")->click();
    btn("cmdAddAll")->click();
    answers = {QString::fromStdString(g->dir->path("report.txt"))};
    clearMessages();
    btn("cmdExport")->click();
    ASSERT_EQ(messagesShown().size(), 1u);
    EXPECT_NE(messagesShown()[0].find(g->text("msgbox", "reportfault")), std::string::npos);
    EXPECT_NE(messagesShown()[0].find("RC_21, row 2: the record has 40 bytes, its layout needs 105"),
              std::string::npos);
    EXPECT_FALSE(g->dir->exists("report.txt"));
    EXPECT_TRUE(w->isEnabled());
}

TEST_F(ReportWindow, UnwritableFileIsNamed) {
    fetched["21"] = {dept(4, 2, 300)};
    btn("cmdUpload")->click();
    btn("cmdAddAll")->click();
    answers = {QString::fromStdString(g->dir->path("missing/report.txt"))};
    clearMessages();
    btn("cmdExport")->click();
    ASSERT_EQ(messagesShown().size(), 2u);
    EXPECT_NE(messagesShown()[1].find("missing/report.txt"), std::string::npos);
    EXPECT_TRUE(w->isEnabled());
}

TEST_F(ReportWindow, ChartBarsOfKnownRecords) {
    g->state().settings.PriceDecimals = 2;
    Record a(2184, 0), b(2184, 0);
    putInt(a, 86 + 16 * 12 + 8, 4, 250);  // day amount 1 at noon
    putInt(b, 86 + 16 * 12 + 8, 4, 150);
    putInt(b, 86 + 16 * 18 + 8, 4, 99);
    fetched["46"] = {a, b};
    combo("comboReport")->setCurrentIndex(5);
    btn("cmdUpload")->click();
    EXPECT_EQ(combo("comboChartColumn")->currentText(), "Day_HourlyAmount1");
    ASSERT_EQ(w->bars().size(), 24u);
    EXPECT_DOUBLE_EQ(w->bars()[12].value, 4.0);
    EXPECT_EQ(w->bars()[18].text, "0.99");
    EXPECT_DOUBLE_EQ(w->bars()[3].value, 0.0);
    combo("comboChartColumn")->setCurrentText("Day_HourlyCount1");
    EXPECT_DOUBLE_EQ(w->bars()[12].value, 0.0);
    // Departments: per item, largest first.
    fetched["21"] = {dept(4, 2, 300), dept(5, 9, 7), dept(4, 1, 1)};
    combo("comboReport")->setCurrentIndex(0);
    btn("cmdUpload")->click();
    ASSERT_EQ(w->bars().size(), 2u);
    EXPECT_EQ(w->bars()[0].label, "5");
    EXPECT_DOUBLE_EQ(w->bars()[0].value, 9);
    EXPECT_DOUBLE_EQ(w->bars()[1].value, 3);
}

TEST_F(ReportWindow, MenuOpensTheWindow) {
    w.reset();
    EXPECT_FALSE(g->enabled("menuExportReport"));  // off in the store view
    g->w().button("cmdData")->click();
    ModalDriver driver("frmExportReportData", [](QDialog* d) { d->reject(); });
    g->trigger("menuExportReport");
    EXPECT_TRUE(driver.seen());
}

// ---- end to end ----

std::string padded(const std::string& ip) { return store::padAddress(ip); }

uint32_t packed(uint64_t n) {
    uint32_t v = 0;
    for (int shift = 0; n; shift += 4, n /= 10) v |= uint32_t(n % 10) << shift;
    return v;
}

// Two stores: 127.0.0.2 and 127.0.0.3 in sections 1 and 2 of store 1, 127.0.0.4 in store 2.
std::unique_ptr<TempApp> twoStoreChain() {
    datagen::ChainShape shape;
    shape.stores = 2;
    shape.sectionsPerStore = 2;
    shape.scalesPerSection = 1;
    shape.plus = 10;
    auto dir = generatedApp(shape, 5, 0, [](shell::ProgramState& st) {
        st.Conn->exec("DELETE FROM SCALE");
        const char* at[3][3] = {{"127.0.0.2", "1", "1"}, {"127.0.0.3", "1", "2"}, {"127.0.0.4", "2", "1"}};
        for (auto& a : at)
            st.Conn->exec(std::string("INSERT INTO SCALE (SC_IP, SC_No, SC_Used, ST_No, SECT_No) VALUES ('") +
                          padded(a[0]) + "', 'Scale', 1, " + a[1] + ", " + a[2] + ")");
    });
    datagen::writeChainSettings(dir->dir(), 2);
    return dir;
}

class ReportEndToEnd : public ::testing::Test {
protected:
    std::unique_ptr<GuiApp> g;
    std::vector<std::unique_ptr<scaleemu::EmulatedScale>> scales;
    QTimer closer;
    std::map<QString, QString> outcomes;  // the progress window's state of each scale
    // PLUs held by each scale; 9000s only on the scale of store 2.
    const std::vector<std::vector<uint64_t>> plus = {{11, 12, 13}, {21, 22}, {9001, 9002, 9003, 9004}};

    virtual bool refuse(const std::string&) const { return false; }

    void SetUp() override {
        answerYes();
        clearMessages();
        g = std::make_unique<GuiApp>(twoStoreChain());
        ASSERT_EQ(g->start(), 0);
        std::string error;
        scales = scaleemu::startScales({"127.0.0.2", "127.0.0.3", "127.0.0.4"},
                                       [this](const std::string& a) { return refuse(a); }, error);
        ASSERT_EQ(scales.size(), 3u) << error;
        for (size_t s = 0; s < 3; ++s)
            for (uint64_t n : plus[s]) {
                Record r(4, 0);
                for (int i = 0; i < 4; ++i) r[size_t(i)] = uint8_t(packed(n) >> (24 - 8 * i));
                scales[s]->put("25", r);
            }
        transfer::TransferOptions to;
        to.port = scales[0]->port();
        to.connectTimeout = std::chrono::milliseconds(2000);
        to.replyTimeout = std::chrono::milliseconds(5000);
        to.scaleTimeout = std::chrono::milliseconds(20000);
        g->w().KVRDataTrans1().setOptions(to);
        QObject::connect(&closer, &QTimer::timeout, [this] {
            QWidget* m = QApplication::activeModalWidget();
            if (!m || m->objectName() != "frmTransfer") return;
            auto* close = m->findChild<QPushButton*>("cmdClose");
            if (!close || !close->isEnabled()) return;
            // What the summary tells of each scale, by address.
            auto* grid = m->findChild<QTableWidget*>("gridScales");
            for (int r = 0; grid && r < grid->rowCount(); ++r)
                outcomes[grid->item(r, 1)->text().simplified().remove(' ')] = grid->item(r, 2)->text();
            close->click();
        });
        closer.start(20);
        // The report is a command of the data view; the tree shows store 2's data, and the fetch
        // goes to store 1 all the same.
        g->select("STORE 2");
        g->w().button("cmdData")->click();
        ASSERT_EQ(g->state().currentStore, 2);
    }
    void TearDown() override {
        closer.stop();
        for (auto& s : scales) s->stop();
        shell::Messages::setResponder({});
    }
};

std::vector<std::vector<std::string>> lines(const std::string& text) {
    std::vector<std::vector<std::string>> out;
    std::istringstream in(text);
    std::string line;
    while (std::getline(in, line)) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        std::vector<std::string> f;
        std::string cell;
        std::istringstream cells(line);
        while (std::getline(cells, cell, '\t')) f.push_back(cell);
        out.push_back(f);
    }
    return out;
}

TEST_F(ReportEndToEnd, EveryReportFetchedFromStoreOneAndExported) {
    g->state().settings.PriceDecimals = 2;
    g->state().settings.WeightDecimals = 3;
    g->state().settings.RunDecimalSign = ".";
    std::map<std::string, std::vector<std::vector<std::string>>> files;
    bool checked = false;
    ModalDriver driver("frmExportReportData", [&](QDialog* d) {
        auto* w = static_cast<ReportExportWindow*>(d);
        int file = 0;
        w->setFileChooser([&](bool) { return QString::fromStdString(g->dir->path("r" + std::to_string(file) + ".txt")); });
        for (int r = 0; r < 9; ++r) {
            file = r;
            d->findChild<QComboBox*>("comboReport")->setCurrentIndex(r);
            d->findChild<QPushButton*>("cmdUpload")->click();
            EXPECT_EQ(g->w().KVRDataTrans1().StoreNumber(), 1);
            EXPECT_EQ(g->w().KVRDataTrans1().SectionNumber(), 0);
            EXPECT_EQ(g->w().KVRDataTrans1().TableList(), std::vector<std::string>{totalsLayouts()[size_t(r)].identifier});
            d->findChild<QPushButton*>("cmdAddAll")->click();
            d->findChild<QPushButton*>("cmdExport")->click();
            files[totalsLayouts()[size_t(r)].identifier] = lines(slurp(g->dir->path("r" + std::to_string(r) + ".txt")));
            if (r == 5) {
                // The chart of the store total: its hourly amounts add up to the day's amounts.
                double sum = 0;
                for (const auto& b : w->bars()) sum += b.value;
                uint64_t day = 0;
                for (size_t s = 0; s < 2; ++s)
                    for (uint64_t n : plus[s]) day += scaleemu::totalsAmount(n);
                EXPECT_NEAR(sum, double(day) / 100, 1e-6);
                checked = true;
            }
        }
        d->reject();
    });
    g->trigger("menuExportReport");
    ASSERT_TRUE(driver.seen());
    ASSERT_TRUE(checked);
    // Only store 1's scales were asked.
    std::set<QString> asked;
    for (const auto& [address, state] : outcomes) asked.insert(address);
    EXPECT_EQ(asked, (std::set<QString>{"127.0.0.2", "127.0.0.3"}));

    // PLU totals: one line per PLU of store 1's scales (plus the heading), none of store 2.
    const auto& p = files["26"];
    ASSERT_EQ(p.size(), 1u + 5u);
    EXPECT_EQ(p[0][0], "PLU_No");
    std::set<uint64_t> seen;
    for (size_t i = 1; i < p.size(); ++i) {
        const uint64_t n = std::stoull(p[i][0]);
        seen.insert(n);
        EXPECT_EQ(p[i][5], placeDecimals(std::to_string(scaleemu::totalsUnitPrice(n)), 2, ".")) << n;
        EXPECT_EQ(p[i][7], std::to_string(scaleemu::totalsCount(n))) << n;
        EXPECT_EQ(p[i][8], placeDecimals(std::to_string(scaleemu::totalsWeight(n)), 3, ".")) << n;
        EXPECT_EQ(p[i][9], placeDecimals(std::to_string(scaleemu::totalsAmount(n)), 2, ".")) << n;
    }
    EXPECT_EQ(seen, (std::set<uint64_t>{11, 12, 13, 21, 22}));
    // Transactions agree with the PLU totals.
    ASSERT_EQ(files["2E"].size(), 6u);
    for (size_t i = 1; i < files["2E"].size(); ++i) {
        const uint64_t n = std::stoull(files["2E"][i][2]);
        EXPECT_TRUE(seen.count(n)) << n;
        EXPECT_EQ(files["2E"][i][6], placeDecimals(std::to_string(scaleemu::totalsAmount(n)), 2, "."));
    }
    // Store total: one line per scale of store 1, day count 1 the sum of its PLUs' counts.
    const auto& s = files["46"];
    ASSERT_EQ(s.size(), 3u);
    std::multiset<std::string> counts;
    for (size_t i = 1; i < 3; ++i) counts.insert(s[i][2]);
    uint64_t c1 = 0, c2 = 0;
    for (uint64_t n : plus[0]) c1 += scaleemu::totalsCount(n);
    for (uint64_t n : plus[1]) c2 += scaleemu::totalsCount(n);
    EXPECT_EQ(counts, (std::multiset<std::string>{std::to_string(c1), std::to_string(c2)}));
    // Receipts: one per PLU of each scale (up to 20), their time in the time form.
    ASSERT_EQ(files["52"].size(), 1u + 5u);
    for (size_t i = 1; i < files["52"].size(); ++i) {
        const uint64_t r = std::stoull(files["52"][i][0]);
        const uint64_t t = scaleemu::receiptTime(r);
        char expect[8];
        std::snprintf(expect, sizeof expect, "%02d.%02d", int(t / 100), int(t % 100));
        EXPECT_EQ(files["52"][i][24], expect);
    }
    // Clerks and tax rates: four per scale of store 1; departments and main groups as held.
    EXPECT_EQ(files["45"].size(), 1u + 8u);
    EXPECT_EQ(files["4A"].size(), 1u + 8u);
    EXPECT_EQ(files["59"].size(), 1u + 5u);
    EXPECT_EQ(files["21"].size(), 1u);  // the scales hold no departments: the heading alone
    EXPECT_EQ(files["24"].size(), 1u);
}

// A scale of store 1 that refuses: the progress window tells it, the operator still answers Yes,
// and the file holds what the other scale sent.
class ReportEndToEndOneRefuses : public ReportEndToEnd {
protected:
    bool refuse(const std::string& a) const override { return a == "127.0.0.3"; }
};

TEST_F(ReportEndToEndOneRefuses, TheFileHoldsTheScalesThatAnswered) {
    std::string file = g->dir->path("plu.txt");
    ModalDriver driver("frmExportReportData", [&](QDialog* d) {
        auto* w = static_cast<ReportExportWindow*>(d);
        w->setFileChooser([&](bool) { return QString::fromStdString(file); });
        d->findChild<QComboBox*>("comboReport")->setCurrentIndex(2);
        d->findChild<QPushButton*>("cmdUpload")->click();
        d->findChild<QPushButton*>("cmdAddAll")->click();
        d->findChild<QPushButton*>("cmdExport")->click();
        d->reject();
    });
    g->trigger("menuExportReport");
    ASSERT_TRUE(driver.seen());
    const auto rows = lines(slurp(file));
    ASSERT_EQ(rows.size(), 1u + 3u);
    std::set<std::string> numbers;
    for (size_t i = 1; i < rows.size(); ++i) numbers.insert(rows[i][0]);
    EXPECT_EQ(numbers, (std::set<std::string>{"11", "12", "13"}));
    ASSERT_EQ(outcomes.size(), 2u);  // store 1's two scales, none of store 2
    ASSERT_TRUE(outcomes.count("127.0.0.3"));
    EXPECT_NE(outcomes["127.0.0.3"], outcomes["127.0.0.2"]);
    EXPECT_FALSE(outcomes["127.0.0.3"].isEmpty());
}

}  // namespace
}  // namespace brindale::testing
