// The three windows of the key sheets on a generated chain, offscreen, by control name; the sheet
// sent through the main window's transfer to emulated scales on loopback.
#include <gtest/gtest.h>

#include "pdf_info.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QComboBox>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QPrinter>
#include <QPushButton>
#include <QRadioButton>
#include <QRegularExpression>
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include "emulated_scale.h"
#include "gui_support.h"
#include "loopback_scales.h"
#include "presetkey/key_value.h"
#include "presetkey/ui/preset_windows.h"
#include "store/hierarchy.h"
#include "transfer/ui/main_transfers.h"

namespace brindale::testing {
namespace {

namespace pk = presetkey;
namespace pkui = presetkey::ui;

const char* kAddresses[] = {"127.0.0.2", "127.0.0.3", "127.0.0.4"};

std::string padded(const std::string& ip) { return store::padAddress(ip); }

// One store: A (.2) and B (.3) in section 1, C (.4) in section 2; department 900 has no groups.
std::unique_ptr<TempApp> chainWithScales() {
    datagen::ChainShape shape;
    shape.stores = 1;
    shape.sectionsPerStore = 2;
    shape.scalesPerSection = 1;
    shape.departmentsPerStore = 2;
    shape.mainGroupsPerDepartment = 3;
    shape.plus = 150;
    return generatedApp(shape, 21, 0, [](shell::ProgramState& st) {
        st.Conn->exec("DELETE FROM SCALE");
        int n = 0;
        for (const char* a : kAddresses) {
            ++n;
            st.Conn->exec("INSERT INTO SCALE (SC_IP, SC_No, SC_Used, SC_PSK_Layout, ST_No, SECT_No) VALUES ('" +
                          padded(a) + "', 'Scale " + std::to_string(n) + "', 1, 0, 1, " +
                          std::to_string(n <= 2 ? 1 : 2) + ")");
        }
        st.Conn->exec("INSERT INTO KVR_20 (DP_No, DP_Name, ST_No, SECT_No) VALUES (900, 'Empty', 1, 0)");
    });
}

class PresetGui : public ::testing::Test {
protected:
    std::unique_ptr<GuiApp> g;
    std::vector<std::unique_ptr<scaleemu::EmulatedScale>> scales;
    QTimer closer;  // closes the progress window once its transfer has ended

    virtual bool refuse(const std::string&) const { return false; }

    void SetUp() override {
        answerYes();
        clearMessages();
        g = std::make_unique<GuiApp>(chainWithScales());
        ASSERT_EQ(g->start(), 0);
        std::string error;
        scales = startLoopbackScales(*g, closer, [this](const std::string& a) { return refuse(a); }, error);
        ASSERT_EQ(scales.size(), 3u) << error;
        g->select(store::machineKey(1, 1, padded("127.0.0.2")));
    }
    void TearDown() override {
        closer.stop();
        pkui::FrmPresetKey::setPrinterSource({});
        for (auto& s : scales) s->stop();
    }

    store::Database& db() { return *g->state().Conn; }
    int64_t scalar(const std::string& sql) {
        auto st = db().prepare(sql);
        return st->step() ? st->columnInt(0) : -1;
    }
    int64_t rows(const std::string& where) { return scalar("SELECT count(*) FROM KVR_41 WHERE " + where); }

    std::unique_ptr<pkui::FrmPresetKey> window(const char* ip = "127.0.0.2") {
        auto sheet = pkui::openSheet(g->state(), padded(ip), &g->w());
        if (!sheet) return nullptr;
        return std::make_unique<pkui::FrmPresetKey>(g->w(), std::move(*sheet), &g->w());
    }
    void clickKey(pkui::FrmPresetKey& w, int key) {
        QTest::mouseClick(w.canvas(), Qt::LeftButton, {}, w.canvas()->centreOf(key));
    }
public:
    static QLineEdit* edit(QWidget* f, const char* n) { return f->findChild<QLineEdit*>(n); }
    static QPushButton* btn(QWidget* f, const char* n) { return f->findChild<QPushButton*>(n); }
    static QComboBox* combo(QWidget* f, const char* n) { return f->findChild<QComboBox*>(n); }
    static QLabel* label(QWidget* f, const char* n) { return f->findChild<QLabel*>(n); }
};

// Page 1 by browsing, page 2 function key 12, page 3 the third other key of value 5.
void fillThreePages(QDialog* d, int64_t* pluNo, std::string* pluName) {
    auto* put = static_cast<pkui::FrmPutPreKey*>(d);
    PresetGui::btn(d, "cmdBrowse")->click();
    auto* grid = d->findChild<QTableView*>("GridBrowse");
    ASSERT_NE(grid, nullptr);
    ASSERT_TRUE(grid->isVisible());
    QApplication::processEvents();
    // Every PLU of the store is listed, but only the rows in view have been read.
    EXPECT_EQ(put->browseModel()->rowCount(), 150);
    EXPECT_GT(put->browseModel()->rowsRead(), 0);
    EXPECT_LT(put->browseModel()->rowsRead(), 80);
    const QModelIndex second = grid->model()->index(1, 0);
    QTest::mouseClick(grid->viewport(), Qt::LeftButton, {}, grid->visualRect(second).center());
    *pluNo = PresetGui::edit(d, "txtPLUNo")->text().toLongLong();
    *pluName = PresetGui::edit(d, "txtCommodity")->text().toStdString();
    EXPECT_EQ(*pluNo, put->browseModel()->row(1).PLU_No);
    EXPECT_FALSE(PresetGui::btn(d, "cmdPrev")->isEnabled());
    PresetGui::btn(d, "cmdNext")->click();
    EXPECT_EQ(put->PageNo, 2);
    auto* func = PresetGui::combo(d, "CombFuncKey");
    func->setCurrentIndex(11);
    emit func->activated(11);
    EXPECT_EQ(PresetGui::edit(d, "txtPLUNo")->text(), "12");
    EXPECT_EQ(PresetGui::label(d, "lblPLUNo")->text(), "Function no.");
    PresetGui::btn(d, "cmdNext")->click();
    EXPECT_FALSE(PresetGui::btn(d, "cmdNext")->isEnabled());
    auto* other = PresetGui::combo(d, "CombOtherKeys");
    other->setCurrentIndex(2);
    emit other->activated(2);
    QTest::keyClicks(PresetGui::edit(d, "meditValue"), "5");
    EXPECT_FALSE(PresetGui::label(d, "lblpersymbol")->isVisible());
    EXPECT_EQ(put->pages()[2].value, 5000005);
    EXPECT_EQ(PresetGui::label(d, "lblPresetKey")->text(), "Key 20,  Page 3");
    PresetGui::btn(d, "cmdOK")->click();
}

}  // namespace

TEST_F(PresetGui, MenuOpensTheSheetAClickSetsThreePagesAndTheSheetShowsThem) {
    ASSERT_TRUE(g->enabled("menuEditPresetKey"));
    int64_t pluNo = 0;
    std::string pluName;
    bool putSeen = false;
    ModalDriver outer("frmPresetKey", [&](QDialog* d) {
        auto* w = static_cast<pkui::FrmPresetKey*>(d);
        EXPECT_EQ(label(d, "lblScale")->text().toStdString(), "Alder-A (74 keys):  " + padded("127.0.0.2"));
        for (const char* n : {"cmdClearAll", "cmdUpload", "cmdPrint", "cmdAuto", "cmdClose"}) EXPECT_TRUE(btn(d, n)) << n;
        ModalDriver inner("frmPutPreKey", [&](QDialog* p) { fillThreePages(p, &pluNo, &pluName); });
        clickKey(*w, 20);
        putSeen = inner.seen();
        EXPECT_EQ(w->CurrentKey, 20);
        const auto& k = w->canvas()->keys()[19];
        EXPECT_EQ(k[0].name, pluName.empty() ? " " : pluName);
        EXPECT_EQ(k[1].name, "Reprint");
        EXPECT_EQ(k[2].value, 5000005);
        btn(d, "cmdClose")->click();
    });
    g->trigger("menuEditPresetKey");
    ASSERT_TRUE(outer.seen());
    ASSERT_TRUE(putSeen);
    EXPECT_EQ(rows("1"), 3);
    EXPECT_EQ(rows("Number=20 AND Status=0 AND Key_Switch=" + std::to_string(pluNo)), 1);
    EXPECT_EQ(rows("Number=94 AND Status=1 AND Key_Switch=12"), 1);
    EXPECT_EQ(rows("Number=168 AND Status=240 AND Key_Switch=83886085"), 1);
}

TEST_F(PresetGui, ReopeningShowsThePagesDelRemovesARowAndCancelChangesNothing) {
    auto w = window();
    ASSERT_TRUE(w);
    pk::KeyPages pages;
    pages[0] = {1234, "Apples", false};
    pages[1] = {2000003, "Clerk 3", false};
    pk::saveKey(db(), w->sheet().ref, 7, pages);
    w->redraw();
    {
        ModalDriver put("frmPutPreKey", [&](QDialog* d) {
            EXPECT_EQ(edit(d, "txtPLUNo")->text(), "1234");
            EXPECT_EQ(edit(d, "txtCommodity")->text(), "Apples");
            btn(d, "cmdNext")->click();
            EXPECT_EQ(combo(d, "CombClerkKey")->currentIndex(), 2);
            EXPECT_EQ(label(d, "lblPLUNo")->text(), "Clerk no.");
            btn(d, "cmdPrev")->click();
            btn(d, "cmdDel")->click();
            EXPECT_EQ(edit(d, "txtPLUNo")->text(), "");
            btn(d, "cmdCancel")->click();
        });
        clickKey(*w, 7);
        ASSERT_TRUE(put.seen());
    }
    EXPECT_EQ(rows("Number=7"), 1);  // Cancel: nothing changed
    {
        ModalDriver put("frmPutPreKey", [&](QDialog* d) {
            btn(d, "cmdDel")->click();
            btn(d, "cmdOK")->click();
        });
        clickKey(*w, 7);
        ASSERT_TRUE(put.seen());
    }
    EXPECT_EQ(rows("Number=7"), 0);
    EXPECT_EQ(rows("Number=81"), 1);
    EXPECT_EQ(w->canvas()->keys()[6][0].name, "");
    EXPECT_EQ(w->canvas()->keys()[6][1].name, "Clerk 3");
}

TEST_F(PresetGui, TypedNumbersStopAtSixDigitsAndTheValueStaysBelowAMillion) {
    auto w = window();
    ModalDriver put("frmPutPreKey", [&](QDialog* d) {
        QTest::keyClicks(edit(d, "txtPLUNo"), "12345678");
        EXPECT_EQ(edit(d, "txtPLUNo")->text(), "123456");
        btn(d, "cmdNext")->click();
        combo(d, "CombOtherKeys")->setCurrentIndex(0);
        emit combo(d, "CombOtherKeys")->activated(0);
        QTest::keyClicks(edit(d, "meditValue"), "99999999");
        auto* put = static_cast<pkui::FrmPutPreKey*>(d);
        EXPECT_EQ(put->pages()[1].value, 3999999);
        EXPECT_EQ(edit(d, "meditValue")->text(), "9999.99");
        btn(d, "cmdOK")->click();
    });
    clickKey(*w, 1);
    ASSERT_TRUE(put.seen());
    EXPECT_EQ(rows("Number=1 AND Key_Switch=123456"), 1);
    EXPECT_EQ(rows("Number=75 AND Status=8 AND Key_Switch=999999"), 1);
}

TEST_F(PresetGui, ClicksOnABorderOrANumberBeyondTheKeysOpenNothing) {
    auto w = window();
    ModalDriver put("frmPutPreKey", [&](QDialog* d) { d->reject(); });
    const double px = pk::pixelsPerCmX(*w->canvas());
    QTest::mouseClick(w->canvas(), Qt::LeftButton, {}, QPoint(int(1.0 * px), w->canvas()->centreOf(1).y()));
    clickKey(*w, 76);  // drawn, but layout 0 has 74 keys
    QTest::qWait(50);
    EXPECT_FALSE(put.seen());
    EXPECT_EQ(w->CurrentKey, 0);
}

TEST_F(PresetGui, AutoFillsTheStoreAndClearAllEmptiesTheSheet) {
    auto w = window();
    ModalDriver a("frmAutoPresetKey", [&](QDialog* d) {
        EXPECT_TRUE(d->findChild<QRadioButton*>("opST")->isChecked());
        EXPECT_TRUE(label(d, "lStore")->text().startsWith("Store 1"));
        btn(d, "cmdOK")->click();
    });
    btn(w.get(), "cmdAuto")->click();
    ASSERT_TRUE(a.seen());
    EXPECT_EQ(rows("Number BETWEEN 1 AND 74"), 74);
    EXPECT_EQ(rows("Number > 74"), 0);
    EXPECT_EQ(scalar("SELECT min(PLU_No) FROM KVR_25 WHERE ST_No=1"), scalar("SELECT Key_Switch FROM KVR_41 WHERE Number=1"));
    EXPECT_NE(w->canvas()->keys()[0][0].name, "");
    btn(w.get(), "cmdClearAll")->click();
    EXPECT_EQ(rows("1"), 0);
    EXPECT_EQ(w->canvas()->keys()[0][0].name, "");
}

TEST_F(PresetGui, ADepartmentWithoutGroupsIsRefusedWithAMessageAndTheSheetKept) {
    auto w = window();
    pk::KeyPages pages;
    pages[0] = {77, "Kept", false};
    pk::saveKey(db(), w->sheet().ref, 3, pages);
    clearMessages();
    ModalDriver a("frmAutoPresetKey", [&](QDialog* d) {
        d->findChild<QRadioButton*>("opDP")->setChecked(true);
        auto* dept = combo(d, "combDept");
        dept->setCurrentIndex(dept->findData(qlonglong(900)));
        EXPECT_EQ(combo(d, "combMG")->count(), 0);
        btn(d, "cmdOK")->click();
        EXPECT_TRUE(d->isVisible());
        btn(d, "cmdCancel")->click();
    });
    btn(w.get(), "cmdAuto")->click();
    ASSERT_TRUE(a.seen());
    auto shown = messagesShown();
    ASSERT_EQ(shown.size(), 1u);
    EXPECT_NE(shown[0].find("Department 900 has no main groups"), std::string::npos) << shown[0];
    EXPECT_EQ(rows("1"), 1);
}

TEST_F(PresetGui, ADamagedLayoutFileNamesFileKeyAndLayoutAndNothingOpens) {
    g->dir->write("ini/PresetKey1.ini", "<Standard>\n[PresetKey]\nkeyType=A,B,C,D,E,F,G,H,I,J\n\n");
    clearMessages();
    ModalDriver never("frmPresetKey", [](QDialog* d) { d->reject(); });
    g->trigger("menuEditPresetKey");
    QTest::qWait(30);
    EXPECT_FALSE(never.seen());
    auto shown = messagesShown();
    ASSERT_EQ(shown.size(), 1u);
    EXPECT_NE(shown[0].find("PresetKey1.ini"), std::string::npos) << shown[0];
    EXPECT_NE(shown[0].find("key keyNum"), std::string::npos) << shown[0];
    EXPECT_NE(shown[0].find("layout 0"), std::string::npos) << shown[0];
    EXPECT_EQ(rows("1"), 0);
}

TEST_F(PresetGui, PrintGoesToOneLandscapePageAndWithoutAPrinterAMessageSaysSo) {
    QTemporaryDir dir;
    const QString out = dir.filePath("print.pdf");
    pkui::FrmPresetKey::setPrinterSource([out] {
        auto p = std::make_unique<QPrinter>(QPrinter::HighResolution);
        p->setOutputFormat(QPrinter::PdfFormat);
        p->setOutputFileName(out);
        p->setPageSize(QPageSize(QPageSize::A4));
        return p;
    });
    auto w = window();
    btn(w.get(), "cmdPrint")->click();
    // One landscape A4 page, 297 mm across and 210 mm down in points, as pdfinfo reads it.
    const PdfInfo info = pdfInfo(out);
    EXPECT_EQ(info.pages, 1);
    ASSERT_EQ(info.sizes.size(), 1u);
    EXPECT_NEAR(info.sizes[0].first, 841.9, 1.0);
    EXPECT_NEAR(info.sizes[0].second, 595.3, 1.0);

    clearMessages();
    pkui::FrmPresetKey::setPrinterSource([] { return std::unique_ptr<QPrinter>(); });
    btn(w.get(), "cmdPrint")->click();
    auto shown = messagesShown();
    ASSERT_EQ(shown.size(), 1u);
    EXPECT_EQ(shown[0], g->text("msgbox", "presetNoPrinter"));
}

TEST_F(PresetGui, ExportsWritePngAndPdfAndAStorePdfOfEachScaleWithASheet) {
    QTemporaryDir dir;
    QString next;
    pkui::FrmPresetKey::setFileChooser([&](QWidget*, const QString&, const QString&) { return next; });
    auto w = window();
    pk::KeyPages pages;
    pages[0] = {5, "Five", false};
    pk::saveKey(db(), w->sheet().ref, 1, pages);
    pk::saveKey(db(), {padded("127.0.0.4"), 0, 74}, 1, pages);
    w->redraw();
    next = dir.filePath("a.png");
    btn(w.get(), "cmdExportPng")->click();
    EXPECT_TRUE(QFile::exists(next));
    next = dir.filePath("a.pdf");
    btn(w.get(), "cmdExportPdf")->click();
    EXPECT_TRUE(QFile::exists(next));
    next = dir.filePath("store.pdf");
    btn(w.get(), "cmdExportStore")->click();
    // A page for each of the two machines with a sheet.
    EXPECT_EQ(pdfInfo(next).pages, 2);
    EXPECT_EQ(pdfInfo(dir.filePath("a.pdf")).pages, 1);
    clearMessages();
    next = dir.filePath("missing/x.png");
    btn(w.get(), "cmdExportPng")->click();
    auto shown = messagesShown();
    ASSERT_EQ(shown.size(), 1u);
    EXPECT_NE(shown[0].find("missing/x.png"), std::string::npos);
    EXPECT_FALSE(QFile::exists(next));
    pkui::FrmPresetKey::setFileChooser({});
}

// ---------------------------------------------------------------- end to end

namespace {
std::vector<std::vector<uint8_t>> sheetRecords(store::Database& db, const std::string& ip) {
    auto st = db.prepare("SELECT KVRBinData FROM KVR_41 WHERE Scale_IP='" + ip + "' AND PSK_Layout=0 ORDER BY Number");
    std::vector<std::vector<uint8_t>> out;
    while (st->step()) out.push_back(st->column(0).bytes());
    return out;
}
std::vector<std::vector<uint8_t>> held(const scaleemu::EmulatedScale& s) {
    std::vector<std::vector<uint8_t>> out;
    for (const auto& [n, r] : s.file("41")) out.push_back(r);
    return out;
}
}  // namespace

TEST_F(PresetGui, UploadSendsTheSheetToEveryScaleOfItsSectionAndClearsTheFlags) {
    auto w = window();
    // Part filled automatically, then three pages of one key by hand.
    ASSERT_FALSE(pk::autoFill(db(), w->sheet().ref, 1, pk::FillScope::MainGroup,
                              scalar("SELECT min(PLU_MG) FROM KVR_25 WHERE ST_No=1"), *g->state().codePage)
                     .refused);
    pk::KeyPages pages;
    pages[0] = {4321, "Hand", false};
    pages[1] = {1000004, "Print", false};
    pages[2] = {4000015, "15 %", false};
    pk::saveKey(db(), w->sheet().ref, 74, pages);
    pk::KeyPages own;
    own[0] = {999, "B only", false};
    pk::saveKey(db(), {padded("127.0.0.3"), 0, 74}, 5, own);
    const auto sent = sheetRecords(db(), padded("127.0.0.2"));
    ASSERT_GT(sent.size(), 3u);

    QElapsedTimer t;
    t.start();
    btn(w.get(), "cmdUpload")->click();
    EXPECT_LT(t.elapsed(), 30000);
    std::sort(const_cast<std::vector<std::vector<uint8_t>>&>(sent).begin(),
              const_cast<std::vector<std::vector<uint8_t>>&>(sent).end());
    EXPECT_EQ(held(*scales[0]), sent);  // record numbers order = packed address order
    EXPECT_EQ(held(*scales[1]), sent);  // B holds A's sheet; its own was not sent
    EXPECT_TRUE(held(*scales[2]).empty());
    EXPECT_EQ(scalar("SELECT count(*) FROM KVR_41 WHERE Is_Selected<>0"), 0);
}

class PresetGuiRefusing : public PresetGui {
protected:
    bool refuse(const std::string& a) const override { return a == "127.0.0.3"; }
};

TEST_F(PresetGuiRefusing, ARefusingScaleIsNamedInTheSummaryAndTheFlagsAreStillCleared) {
    auto w = window();
    pk::KeyPages pages;
    pages[0] = {12, "Twelve", false};
    pk::saveKey(db(), w->sheet().ref, 1, pages);
    btn(w.get(), "cmdUpload")->click();
    const auto& summary = g->w().KVRDataTrans1().lastSummary();
    ASSERT_EQ(summary.scales.size(), 2u);
    bool bFailed = false;
    for (const auto& s : summary.scales)
        if (s.target.address == "127.0.0.3") bFailed = s.state == transfer::ScaleState::Failed;
    EXPECT_TRUE(bFailed);
    EXPECT_EQ(held(*scales[0]).size(), 1u);
    EXPECT_EQ(scalar("SELECT count(*) FROM KVR_41 WHERE Is_Selected<>0"), 0);
}

}  // namespace brindale::testing
