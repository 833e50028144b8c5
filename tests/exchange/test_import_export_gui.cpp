// frmImportOrExport and the import report offscreen, by control name, in the real program.
#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QProgressBar>
#include <QPushButton>
#include <QTableWidget>
#include <fstream>
#include <sstream>

#include "chain_generator.h"
#include "exchange/ui/import_export_window.h"
#include "gui_support.h"
#include "plu/ui/plu_list.h"

namespace brindale::testing {
namespace {

using exchange::ui::FrmImportOrExport;

std::unique_ptr<TempApp> smallChain() {
    datagen::ChainShape shape;
    shape.stores = 1;
    shape.sectionsPerStore = 1;
    shape.scalesPerSection = 1;
    shape.plus = 30;
    return generatedApp(shape, 5);
}

class ImportExportGui : public ::testing::Test {
protected:
    void SetUp() override {
        answerYes();
        clearMessages();
        g = std::make_unique<GuiApp>(smallChain());
        ASSERT_EQ(g->start(), 0);
        exchange::ui::setFileChooser([this](QWidget*, bool save, const QString& filter) {
            chooserCalls.push_back((save ? "save " : "open ") + filter.toStdString());
            return QString::fromStdString(nextFile);
        });
    }
    void TearDown() override { exchange::ui::setFileChooser({}); }

    std::string msg(const char* key) const { return g->text("msgbox", key); }
    std::string path(const std::string& name) const { return g->dir->path(name); }
    void write(const std::string& name, const std::string& bytes) const {
        std::ofstream(path(name), std::ios::binary) << bytes;
    }
    std::string read(const std::string& name) const {
        std::ifstream in(path(name), std::ios::binary);
        std::stringstream ss;
        ss << in.rdbuf();
        return ss.str();
    }
    template <class T>
    T* child(QWidget* w, const char* name) {
        auto* c = w->findChild<T*>(name);
        EXPECT_NE(c, nullptr) << name;
        return c;
    }
    // Chooses columns by their text in listItem, in order.
    void choose(FrmImportOrExport& w, std::initializer_list<const char*> columns) {
        auto* list = child<QListWidget>(&w, "listItem");
        for (const char* c : columns) {
            const auto found = list->findItems(c, Qt::MatchExactly);
            ASSERT_EQ(found.size(), 1) << c;
            list->setCurrentItem(found.front());
            child<QPushButton>(&w, "cmdAdd")->click();
        }
    }
    int count(const std::string& where) {
        auto st = g->state().Conn->prepare("SELECT count(*) FROM KVR_25 WHERE " + where);
        st->step();
        return static_cast<int>(st->columnInt(0));
    }
    int64_t value(const std::string& column, const std::string& where) {
        auto st = g->state().Conn->prepare("SELECT " + column + " FROM KVR_25 WHERE " + where);
        return st->step() ? st->columnInt(0) : -1;
    }

    std::unique_ptr<GuiApp> g;
    std::string nextFile;
    std::vector<std::string> chooserCalls;
};

TEST_F(ImportExportGui, EveryControlByNameWithItsCaption) {
    FrmImportOrExport w(g->state());
    for (const char* key : {"labData", "labSeperator", "labListItem", "labSelectItem", "labWaiting", "labWeightFlag",
                            "labBarType", "labST_No", "labMG_No", "labFontSize"})
        EXPECT_EQ(child<QLabel>(&w, key)->text().toStdString(), g->text("frm_ImportOrExport", key)) << key;
    for (const char* key : {"cmdImport", "cmdExport", "cmdClose", "commandOpen", "commandSave", "cmdAdd", "cmdDelete",
                            "cmdImportReport"})
        EXPECT_EQ(child<QPushButton>(&w, key)->text().toStdString(), g->text("frm_ImportOrExport", key)) << key;
    EXPECT_EQ(child<QCheckBox>(&w, "chkPLU")->text().toStdString(), g->text("frm_ImportOrExport", "chkPLU"));
    auto* iorE = child<QComboBox>(&w, "comboIorE");
    ASSERT_EQ(iorE->count(), 2);
    EXPECT_EQ(iorE->itemText(0).toStdString(), g->text("frm_ImportOrExport", "labImport"));
    EXPECT_EQ(iorE->itemText(1).toStdString(), g->text("frm_ImportOrExport", "labExport"));
    auto* sep = child<QComboBox>(&w, "comboSeperator");
    ASSERT_EQ(sep->count(), 3);
    EXPECT_EQ(sep->itemText(2).toStdString(), g->text("frm_ImportOrExport", "semicolon"));
    auto* bar = child<QComboBox>(&w, "comboBarType");
    ASSERT_EQ(bar->count(), 2);
    EXPECT_EQ(bar->itemText(1), "ITF");
    EXPECT_EQ(child<QComboBox>(&w, "comboFontSize")->count(), 33);
    EXPECT_EQ(child<QListWidget>(&w, "listItem")->count(), 38);
    EXPECT_EQ(child<QListWidget>(&w, "listItem")->item(0)->text(), "PLU_No");
    EXPECT_EQ(child<QComboBox>(&w, "comboST_No")->itemText(0), "1");
    EXPECT_GT(child<QComboBox>(&w, "comboMG_No")->count(), 0);
    EXPECT_NE(child<QProgressBar>(&w, "prgWaiting"), nullptr);
    child<QLineEdit>(&w, "txtWeightFlag");
}

TEST_F(ImportExportGui, DirectionAndChosenColumnsShowTheSupplyingControls) {
    FrmImportOrExport w(g->state());
    w.show();
    auto visible = [&](const char* n) { return child<QWidget>(&w, n)->isVisible(); };
    EXPECT_TRUE(visible("cmdImport"));
    EXPECT_FALSE(visible("cmdExport"));
    EXPECT_TRUE(visible("comboST_No"));
    EXPECT_FALSE(visible("comboFontSize"));  // no text column chosen
    choose(w, {"ST_No", "PLU_MG", "Stat1_Unit", "PLU_EANFlags"});
    for (const char* n : {"comboST_No", "labST_No", "comboMG_No", "txtWeightFlag", "comboBarType", "labBarType"})
        EXPECT_FALSE(visible(n)) << n;
    choose(w, {"ST_No"});  // a column stands once
    EXPECT_EQ(child<QListWidget>(&w, "SelectItem")->count(), 4);
    child<QListWidget>(&w, "SelectItem")->setCurrentRow(0);
    child<QPushButton>(&w, "cmdDelete")->click();
    EXPECT_TRUE(visible("comboST_No"));
    EXPECT_FALSE(visible("comboMG_No"));
    child<QComboBox>(&w, "comboIorE")->setCurrentIndex(1);
    EXPECT_TRUE(visible("cmdExport"));
    for (const char* n : {"cmdImport", "chkPLU", "comboST_No", "comboBarType", "txtWeightFlag", "comboFontSize"})
        EXPECT_FALSE(visible(n)) << n;
}

TEST_F(ImportExportGui, EachTextColumnKeepsItsFontPosition) {
    FrmImportOrExport w(g->state());
    w.show();
    choose(w, {"PLU_No", "PLU_Commodity", "PLU_Ingredient"});
    auto* select = child<QListWidget>(&w, "SelectItem");
    auto* font = child<QComboBox>(&w, "comboFontSize");
    select->setCurrentRow(1);
    EXPECT_TRUE(font->isVisible());
    font->setCurrentIndex(10);
    emit font->activated(10);
    select->setCurrentRow(2);
    EXPECT_EQ(font->currentIndex(), 0);
    font->setCurrentIndex(32);
    emit font->activated(32);
    select->setCurrentRow(0);
    EXPECT_FALSE(font->isVisible());
    select->setCurrentRow(1);
    EXPECT_EQ(font->currentIndex(), 10);
    EXPECT_EQ(w.settings().fontPositions, (std::array<int, 3>{10, 32, 0}));
}

TEST_F(ImportExportGui, ImportRefusalsByMessage) {
    FrmImportOrExport w(g->state());
    choose(w, {"PLU_UPrice"});
    child<QPushButton>(&w, "cmdImport")->click();
    ASSERT_EQ(messagesShown().size(), 1u);
    EXPECT_EQ(messagesShown().back(), msg("formatsave"));
    child<QLineEdit>(&w, "txtWeightFlag")->setText("W");
    child<QPushButton>(&w, "cmdImport")->click();
    ASSERT_EQ(messagesShown().size(), 2u);
    EXPECT_EQ(messagesShown().back(), msg("importPLU"));
    EXPECT_TRUE(chooserCalls.empty());
    // A file that is not there: the dialog is closed again and nothing happens.
    choose(w, {"PLU_No"});
    nextFile = path("missing.txt");
    child<QPushButton>(&w, "cmdImport")->click();
    EXPECT_EQ(chooserCalls, (std::vector<std::string>{"open (*.txt)"}));
    EXPECT_EQ(messagesShown().size(), 3u);  // only the heading question
    EXPECT_EQ(messagesShown().back(), msg("PLUTitle"));
    EXPECT_FALSE(w.imported());
}

TEST_F(ImportExportGui, ImportWithTheSeparatorMessageAndTheReportRows) {
    FrmImportOrExport w(g->state());
    choose(w, {"PLU_No", "PLU_UPrice", "PLU_EANFlags"});
    child<QLineEdit>(&w, "txtWeightFlag")->setText("W");
    child<QCheckBox>(&w, "chkPLU")->setChecked(true);
    g->state().Conn->exec("UPDATE KVR_25 SET PLU_UPrice=1 WHERE PLU_No=(SELECT min(PLU_No) FROM KVR_25)");
    const int64_t first = value("min(PLU_No)", "ST_No=1");
    // Heading line (the question is answered Yes), a replacement, a new PLU, an empty line.
    write("in.txt", "PLU_No\tPLU_UPrice\tPLU_EANFlags\r\n" + std::to_string(first) + "\t2.50\t300\r\n\r\n9001\t1\t4\r\n");
    nextFile = path("in.txt");
    child<QPushButton>(&w, "cmdImport")->click();
    ASSERT_FALSE(messagesShown().empty());
    EXPECT_EQ(messagesShown().back(), msg("importseperator"));
    EXPECT_TRUE(w.imported());
    EXPECT_EQ(value("PLU_UPrice", "PLU_No=" + std::to_string(first)), 250);
    EXPECT_EQ(value("PLU_EANFlags", "PLU_No=" + std::to_string(first)), 44);
    EXPECT_EQ(value("PLU_UPrice", "PLU_No=9001"), 100);
    EXPECT_TRUE(child<QPushButton>(&w, "cmdImportReport")->isEnabled());

    std::vector<std::string> rows;
    std::string counts;
    ModalDriver driver("frmImportReport", [&](QDialog* d) {
        auto* grid = d->findChild<QTableWidget*>("gridReport");
        ASSERT_NE(grid, nullptr);
        for (int r = 0; r < grid->rowCount(); ++r) {
            std::string line;
            for (int c = 0; c < grid->columnCount(); ++c) line += grid->item(r, c)->text().toStdString() + "|";
            rows.push_back(line);
        }
        counts = d->findChild<QLabel*>("labCounts")->text().toStdString();
        nextFile = path("report.txt");
        d->findChild<QPushButton*>("cmdSave")->click();
        d->findChild<QPushButton*>("cmdClose")->click();
    });
    child<QPushButton>(&w, "cmdImportReport")->click();
    ASSERT_TRUE(driver.seen());
    const std::string p = std::to_string(first);
    auto act = [&](const char* key) { return g->text("frm_ImportOrExport", key); };
    EXPECT_EQ(rows, (std::vector<std::string>{"2|" + p + "|PLU_EANFlags|300|" + act("actModulo256") + "|",
                                              "2|" + p + "|PLU_No|" + p + "|" + act("actDuplicateReplaced") + "|",
                                              "3||||" + act("actEmptyLine") + "|"}));
    EXPECT_NE(counts.find(act("actEmptyLine") + ": 1"), std::string::npos) << counts;
    const std::string saved = read("report.txt");
    EXPECT_EQ(saved.find(g->text("frm_ImportOrExport", "rptLine") + "\t"), 0u) << saved;
    EXPECT_NE(saved.find("3\t\t\t\t" + act("actEmptyLine") + "\r\n"), std::string::npos) << saved;
}

TEST_F(ImportExportGui, TheProgressBarFollowsTheFileBesideTheWaitingLabel) {
    FrmImportOrExport w(g->state());
    w.show();
    choose(w, {"PLU_No", "PLU_UPrice"});
    child<QLineEdit>(&w, "txtWeightFlag")->setText("W");
    std::string content;
    for (int i = 1; i <= 5000; ++i) content += std::to_string(80000 + i) + "\t1.00\n";
    write("many.txt", content);
    nextFile = path("many.txt");
    auto* bar = child<QProgressBar>(&w, "prgWaiting");
    auto* waiting = child<QLabel>(&w, "labWaiting");
    std::vector<int> values;
    bool shownTogether = true;
    QObject::connect(bar, &QProgressBar::valueChanged, [&](int v) {
        values.push_back(v);
        shownTogether = shownTogether && bar->isVisible() && waiting->isVisible();
    });
    EXPECT_FALSE(bar->isVisible());
    child<QPushButton>(&w, "cmdImport")->click();
    EXPECT_EQ(count("PLU_No > 80000 AND PLU_No <= 85000"), 4999);  // the first line was taken as the heading
    ASSERT_FALSE(values.empty());
    EXPECT_TRUE(std::find(values.begin(), values.end(), 1000) != values.end());  // the whole file
    EXPECT_LE(values.size(), 8u);  // a few repaints, not one per line
    EXPECT_TRUE(shownTogether);
    EXPECT_FALSE(bar->isVisible());
    EXPECT_FALSE(waiting->isVisible());
}

TEST_F(ImportExportGui, SettingsSavedAndOpenedAgain) {
    FrmImportOrExport w(g->state());
    choose(w, {"PLU_No", "PLU_Commodity", "PLU_UPrice"});
    child<QComboBox>(&w, "comboSeperator")->setCurrentIndex(2);
    child<QComboBox>(&w, "comboBarType")->setCurrentIndex(1);
    child<QLineEdit>(&w, "txtWeightFlag")->setText("K");
    nextFile = path("set.txt");
    child<QPushButton>(&w, "commandSave")->click();
    EXPECT_EQ(read("set.txt"), "2\r\n1\r\nK\r\n0\r\n0\r\n0\r\n0\r\n35\r\n3\r\n");

    FrmImportOrExport other(g->state());
    write("set2.txt", read("set.txt") + "99\r\nzz\r\n");  // bad lines are passed over
    nextFile = path("set2.txt");
    child<QPushButton>(&other, "commandOpen")->click();
    EXPECT_EQ(other.chosenColumns(), (std::vector<std::string>{"PLU_No", "PLU_Commodity", "PLU_UPrice"}));
    EXPECT_EQ(child<QComboBox>(&other, "comboSeperator")->currentIndex(), 2);
    EXPECT_EQ(child<QComboBox>(&other, "comboBarType")->currentIndex(), 1);
    EXPECT_EQ(child<QLineEdit>(&other, "txtWeightFlag")->text(), "K");
    nextFile = path("nothere.txt");
    child<QPushButton>(&other, "commandOpen")->click();
    ASSERT_FALSE(messagesShown().empty());
    EXPECT_NE(messagesShown().back().find("nothere.txt"), std::string::npos);
}

TEST_F(ImportExportGui, ExportWritesTheFileAndSaysSo) {
    FrmImportOrExport w(g->state());
    child<QComboBox>(&w, "comboIorE")->setCurrentIndex(1);
    child<QComboBox>(&w, "comboSeperator")->setCurrentIndex(1);
    choose(w, {"PLU_No", "ST_No"});
    nextFile = path("out.txt");
    child<QPushButton>(&w, "cmdExport")->click();
    ASSERT_FALSE(messagesShown().empty());
    EXPECT_EQ(messagesShown().back(), msg("exportOK"));
    const std::string out = read("out.txt");
    EXPECT_EQ(out.find("PLU_No,ST_No\r\n"), 0u);
    EXPECT_EQ(std::count(out.begin(), out.end(), '\n'), 1 + count("1"));
    nextFile = path("no/folder/out.txt");
    child<QPushButton>(&w, "cmdExport")->click();
    EXPECT_NE(messagesShown().back().find("no/folder/out.txt"), std::string::npos);
}

TEST_F(ImportExportGui, MenuOpensTheWindowInTheDataViewAndTheListIsReadAgain) {
    EXPECT_FALSE(g->enabled("menuImportOrExport"));  // the store view
    g->w().button("cmdData")->click();
    ASSERT_EQ(g->state().viewNumber, 0);
    EXPECT_TRUE(g->enabled("menuImportOrExport"));
    auto* list = plu::ui::PluList::of(g->w());
    ASSERT_NE(list, nullptr);
    const int before = list->shownCount();
    ASSERT_GT(before, 0);
    write("in.txt", "77001\r\n77002\r\n");
    nextFile = path("in.txt");
    ModalDriver driver("frmImportOrExport", [&](QDialog* d) {
        auto* w = qobject_cast<FrmImportOrExport*>(d);
        ASSERT_NE(w, nullptr);
        choose(*w, {"PLU_No"});
        w->findChild<QLineEdit*>("txtWeightFlag")->setText("W");
        w->cmdImport();
        d->findChild<QPushButton*>("cmdClose")->click();
    });
    clearMessages();
    // No heading line this time.
    shell::Messages::setResponder([](const shell::MessageRecord&) { return shell::MsgResult::No; });
    g->trigger("menuImportOrExport");
    answerYes();
    ASSERT_TRUE(driver.seen());
    EXPECT_EQ(count("PLU_No IN (77001, 77002)"), 2);
    EXPECT_EQ(list->shownCount(), before + 2);
}

}  // namespace
}  // namespace brindale::testing
