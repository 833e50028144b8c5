// frmTransferLog offscreen: rows newest first, the scale filter, the day filter, the captions.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <QApplication>
#include <QComboBox>
#include <QDateEdit>
#include <QLabel>
#include <QPushButton>
#include <QTableView>
#include <QtTest/QTest>
#include <string>
#include <vector>

#include "shell/ini.h"
#include "store/schema.h"
#include "support/temp_app.h"
#include "transfer/transfer_log.h"
#include "transfer/ui/transfer_log_window.h"

using namespace brindale;
using namespace brindale::transfer;
using brindale::transfer::ui::FrmTransferLog;
using brindale::transfer::ui::TransferLogModel;

namespace {

// An in-memory database with the table as the shipped schema declares it.
class History {
public:
    History() {
        sqlite3_open(":memory:", &db);
        const store::Schema s = store::readSchemaFile(brindale::testing::sourceRoot() + "/Database/ABC1.txt");
        const store::TableDef* t = s.find("TRANSFER_LOG");
        if (!t) throw std::runtime_error("no TRANSFER_LOG in the schema");
        sqlite3_exec(db, store::createTableSql(*t).c_str(), nullptr, nullptr, nullptr);
    }
    ~History() { sqlite3_close(db); }
    void add(const std::string& start, const std::string& name, const std::string& address, const std::string& state,
             const std::string& reason, int mode = 0) {
        TransferLogRow r;
        r.start = start;
        r.scaleName = name;
        r.scaleAddress = address;
        r.state = state;
        r.reason = reason;
        r.mode = mode;
        r.tables = "25";
        r.done = 2;
        r.toDo = 5;
        r.durationMs = 2500;
        std::string error;
        if (!appendTransferLog(db, {r}, error)) throw std::runtime_error(error);
    }
    sqlite3* db = nullptr;
};

// The captions of the shipped language file, Standard block.
FrmTransferLog::Captions standardCaptions() {
    static shell::LanguageTable table = [] {
        shell::LanguageTable t;
        shell::loadSection(brindale::testing::sourceRoot() + "/ini/Language1.ini", "Standard", "frm_TransferLog", t);
        return t;
    }();
    return [](const char*, const char* key) { return table.text(key); };
}

template <class W>
W* child(QWidget& w, const char* name) {
    W* c = w.findChild<W*>(name);
    if (!c) throw std::runtime_error(std::string("no control ") + name);
    return c;
}

QString cell(QWidget& w, int row, int column) {
    auto* grid = child<QTableView>(w, "gridLog");
    return grid->model()->index(row, column).data().toString();
}

int rows(QWidget& w) { return child<QTableView>(w, "gridLog")->model()->rowCount(); }

QStringList column(QWidget& w, int c) {
    QStringList out;
    for (int r = 0; r < rows(w); ++r) out << cell(w, r, c);
    return out;
}

}  // namespace

TEST(TransferLogWindow, ShowsTheRowsNewestFirstWithTheirTexts) {
    History h;
    h.add("2024-03-01T08:00:00", "1", "127.0.0.2", "Done", "");
    h.add("2024-03-02T09:30:00", "2", "127.0.0.3", "Failed", "ErrRefused", 2);
    h.add("2024-03-01T10:00:00", "1", "127.0.0.2", "Done", "");
    FrmTransferLog w(h.db, standardCaptions(), LanguageTexts("ErrRefused=Refused here\n"));
    EXPECT_EQ(w.objectName(), "frmTransferLog");
    EXPECT_EQ(w.windowTitle(), "Transfer history");
    EXPECT_EQ(child<QPushButton>(w, "cmdClose")->text(), "Close");
    ASSERT_EQ(rows(w), 3);
    EXPECT_EQ(column(w, TransferLogModel::Start),
              QStringList({"2024-03-02 09:30:00", "2024-03-01 10:00:00", "2024-03-01 08:00:00"}));
    EXPECT_EQ(cell(w, 0, TransferLogModel::Scale), "2");
    EXPECT_EQ(cell(w, 0, TransferLogModel::Address), "127.0.0.3");
    EXPECT_EQ(cell(w, 0, TransferLogModel::Mode), "Delete");
    EXPECT_EQ(cell(w, 0, TransferLogModel::State), "Failed");
    EXPECT_EQ(cell(w, 0, TransferLogModel::Reason), "Refused here");  // in the transfer's texts
    EXPECT_EQ(cell(w, 1, TransferLogModel::Mode), "Send");
    EXPECT_EQ(cell(w, 1, TransferLogModel::Records), "2 / 5");
    EXPECT_EQ(cell(w, 1, TransferLogModel::Duration), "2.5");
    auto* grid = child<QTableView>(w, "gridLog");
    EXPECT_EQ(grid->model()->headerData(TransferLogModel::Start, Qt::Horizontal).toString(), "Started");
    EXPECT_EQ(grid->model()->headerData(TransferLogModel::Notes, Qt::Horizontal).toString(), "Notes");
    EXPECT_EQ(child<QLabel>(w, "lblCount")->text(), "3 entries shown");
    // The dates start on the whole history.
    EXPECT_EQ(child<QDateEdit>(w, "DTPickerFrom")->date(), QDate(2024, 3, 1));
    EXPECT_GE(child<QDateEdit>(w, "DTPickerTo")->date(), QDate::currentDate());
}

TEST(TransferLogWindow, TheScaleFilterNarrowsToOneScale) {
    History h;
    h.add("2024-03-01T08:00:00", "1", "127.0.0.2", "Done", "");
    h.add("2024-03-02T09:30:00", "2", "127.0.0.3", "Failed", "ErrRefused");
    h.add("2024-03-01T10:00:00", "1", "127.0.0.2", "Done", "");
    h.add("2024-03-03T10:00:00", "", "", "Failed", "ErrNoScale");
    FrmTransferLog w(h.db, standardCaptions(), LanguageTexts());
    auto* comb = child<QComboBox>(w, "combScale");
    ASSERT_EQ(comb->count(), 3);
    EXPECT_EQ(comb->itemText(0), "All scales");
    EXPECT_EQ(comb->itemText(1), "1 (127.0.0.2)");
    EXPECT_EQ(comb->itemText(2), "2 (127.0.0.3)");
    EXPECT_EQ(rows(w), 4);
    comb->setCurrentIndex(1);
    EXPECT_EQ(column(w, TransferLogModel::Start), QStringList({"2024-03-01 10:00:00", "2024-03-01 08:00:00"}));
    comb->setCurrentIndex(2);
    EXPECT_EQ(column(w, TransferLogModel::Scale), QStringList({"2"}));
    EXPECT_EQ(child<QLabel>(w, "lblCount")->text(), "1 entries shown");
    comb->setCurrentIndex(0);
    EXPECT_EQ(rows(w), 4);
}

TEST(TransferLogWindow, TheDayFilterKeepsWholeDays) {
    History h;
    h.add("2024-03-01T00:00:00", "1", "127.0.0.2", "Done", "");
    h.add("2024-03-02T23:59:59", "1", "127.0.0.2", "Done", "");
    h.add("2024-03-03T00:00:00", "2", "127.0.0.3", "Done", "");
    h.add("2024-03-04T12:00:00", "2", "127.0.0.3", "Done", "");
    FrmTransferLog w(h.db, standardCaptions(), LanguageTexts());
    auto* from = child<QDateEdit>(w, "DTPickerFrom");
    auto* to = child<QDateEdit>(w, "DTPickerTo");
    EXPECT_EQ(rows(w), 4);
    from->setDate(QDate(2024, 3, 2));
    to->setDate(QDate(2024, 3, 3));
    EXPECT_EQ(column(w, TransferLogModel::Start), QStringList({"2024-03-03 00:00:00", "2024-03-02 23:59:59"}));
    // Both filters at once.
    child<QComboBox>(w, "combScale")->setCurrentIndex(2);
    EXPECT_EQ(column(w, TransferLogModel::Start), QStringList({"2024-03-03 00:00:00"}));
    // Typed into the field, as the operator would.
    child<QComboBox>(w, "combScale")->setCurrentIndex(0);
    to->setFocus();
    to->setSelectedSection(QDateTimeEdit::DaySection);
    QTest::keyClicks(to, "04");
    EXPECT_EQ(to->date(), QDate(2024, 3, 4));
    EXPECT_EQ(rows(w), 3);
}

TEST(TransferLogWindow, AHistoryThatCannotBeReadIsSaidNotThrown) {
    sqlite3* db = nullptr;
    sqlite3_open(":memory:", &db);  // no TRANSFER_LOG at all
    {
        FrmTransferLog w(db, standardCaptions(), LanguageTexts());
        EXPECT_EQ(rows(w), 0);
        EXPECT_FALSE(w.errorText().isEmpty());
        EXPECT_TRUE(child<QLabel>(w, "lblCount")->text().startsWith("The transfer history cannot be read: "));
    }
    sqlite3_close(db);
}

TEST(TransferLogWindow, CloseEndsTheWindow) {
    History h;
    FrmTransferLog w(h.db, standardCaptions(), LanguageTexts());
    w.show();
    QTest::mouseClick(child<QPushButton>(w, "cmdClose"), Qt::LeftButton);
    EXPECT_FALSE(w.isVisible());
    EXPECT_EQ(w.result(), QDialog::Accepted);
}

int main(int argc, char** argv) {
    // Listing the tests at build time happens without a display.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
