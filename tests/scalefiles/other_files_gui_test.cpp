// frmOtherFile in the running program, offscreen, driven by control name: the six text kinds
// typed through frmStringEdit (txtGrid and CobFont) into their tables, the container table, the
// seven check boxes marking whole tables, the number boxes' filter, and the send of every ticked
// table and of the date and time to the two scales of store 1 (not to the third, of store 2),
// fetched back with the protocol's READ and decoded to what was typed.
#include <gtest/gtest.h>

#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QTableWidget>
#include <QTest>

#include "codec/code_page.h"
#include "scale_app_fixture.h"
#include "scalefiles/records.h"
#include "scalefiles/text_files.h"
#include "scalefiles/text_lines.h"
#include "scalefiles/ui/other_files_window.h"
#include "scalefiles/ui/string_edit.h"
#include "window_typing.h"

namespace brindale::testing {
namespace {

class OtherFilesWindow : public ScaleFilesApp {
protected:
    const codec::CodePage& page() { return *g->state().codePage; }
};

TEST_F(OtherFilesWindow, SixKindsAndAContainerTypedStoredSentAndFetchedBackAsTyped) {
    const QStringList lines = {"Free text", "Lakeside farm", "Wheat flour, salt", "Keep cool", "Two for one",
                               "Brindale Market"};
    inWindow("menuEditOtherFiles", "frmOtherFile", [&](QDialog* w) {
        int i = 0;
        for (const auto& k : scalefiles::textFileKinds()) {
            typeKindNumber(w, k, QString::number(1000 + i));
            typeKindText(w, k, lines[i], i % 3);
            EXPECT_EQ(lineEdit(w, k.textBox)->text(), lines[i]) << k.table;
            ++i;
        }
        setText(w, "txtCNo", "77");
        lineEdit(w, "txtPLUNo")->setText("12345");
        emit lineEdit(w, "txtPLUNo")->editingFinished();
        for (const char* box : {"chkText", "chkPlace", "chkIng", "chkSmsg", "chkAdv", "chkSname", "chkContainer"})
            w->findChild<QCheckBox*>(box)->setChecked(true);
        button(w, "cmdSend")->click();
    });
    const auto fonts = scalefiles::fontsFor(g->state().settings.CountryIndex);
    int i = 0;
    for (const auto& k : scalefiles::textFileKinds()) {
        const std::string table = k.table;
        const Records rows = tableRecords("SELECT KVRBinData FROM " + table);
        ASSERT_EQ(rows.size(), 1u) << table;
        const auto rec = scalefiles::decodeTextFile(rows[0]);
        ASSERT_TRUE(rec) << rec.reason;
        EXPECT_EQ(rec->number, uint32_t(1000 + i));
        const auto back = scalefiles::linesFromBlock(codec::Bytes(rec->text), page());
        ASSERT_EQ(back.lines.size(), 1u);
        EXPECT_EQ(back.lines[0].text, lines[i].toStdString());
        EXPECT_EQ(back.lines[0].font, fonts[size_t(i % 3)].code) << table;
        for (int s : {0, 1}) EXPECT_EQ(fetched(s, k.code), rows) << table << " on scale " << s;
        EXPECT_TRUE(fetched(2, k.code).empty()) << table;
        ++i;
    }
    const Records containers = tableRecords("SELECT KVRBinData FROM KVR_DF");
    ASSERT_EQ(containers.size(), 1u);
    EXPECT_EQ(*scalefiles::decodeContainer(containers[0]), (scalefiles::ContainerRecord{77, 12345}));
    for (int s : {0, 1}) EXPECT_EQ(fetched(s, "DF"), containers);
    EXPECT_TRUE(fetched(2, "DF").empty());
}

TEST_F(OtherFilesWindow, CheckBoxesMarkTheirWholeTableAndNumberBoxesKeepEightDigits) {
    for (int n : {1, 2, 3}) ASSERT_EQ(scalefiles::storeTextFile(db(), 13, n, std::nullopt, page()), "");
    inWindow("menuEditOtherFiles", "frmOtherFile", [&](QDialog* w) {
        auto* ing = w->findChild<QCheckBox*>("chkIng");
        ing->setChecked(true);
        EXPECT_EQ(g->count("SELECT * FROM KVR_3A WHERE Is_Selected = 1"), 3);
        ing->setChecked(false);
        EXPECT_EQ(g->count("SELECT * FROM KVR_3A WHERE Is_Selected = 0"), 3);
        auto* box = lineEdit(w, "txtIngNo");
        QTest::keyClicks(box, "1x2-3");
        EXPECT_EQ(box->text(), "123");
        box->clear();
        QTest::keyClicks(box, "1234567890");
        EXPECT_EQ(box->text(), "12345678");
        // The container's PLU is looked up on a change of its number; PLU 0 removes the row.
        ASSERT_EQ(scalefiles::storeContainer(db(), 5, 66), "");
        setText(w, "txtCNo", "5");
        EXPECT_EQ(lineEdit(w, "txtPLUNo")->text(), "66");
        lineEdit(w, "txtPLUNo")->setText("0");
        emit lineEdit(w, "txtPLUNo")->editingFinished();
        EXPECT_EQ(g->count("SELECT * FROM KVR_DF"), 0);
    });
}

// The window's clock is set to the last minute of 2009, so that the record is known to the byte.
TEST_F(OtherFilesWindow, DateAndTimeTwiceLeavesOneRowOfItsClockAndReachesTheStoresScales) {
    int readings = 0;
    inWindow("menuEditOtherFiles", "frmOtherFile", [&](QDialog* w) {
        static_cast<scalefiles::FrmOtherFile*>(w)->setClock([&readings] {
            ++readings;
            std::tm t{};
            t.tm_year = 2009 - 1900;
            t.tm_mon = 11;
            t.tm_mday = 31;
            t.tm_hour = 23;
            t.tm_min = 59;
            t.tm_sec = 30;
            return t;
        });
        button(w, "cmdDTTM")->click();
        button(w, "cmdDTTM")->click();
    });
    EXPECT_EQ(readings, 2);
    const Records rows = tableRecords("SELECT KVRBinData FROM KVR_4E");
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0], (std::vector<uint8_t>{0, 0, 0, 0xFF, 0, 0x0E, 0, 0x31, 0x12, 0x09, 0, 0, 0x23, 0x59}));
    const auto t = scalefiles::decodeDateTime(rows[0]);
    ASSERT_TRUE(t) << t.reason;
    EXPECT_EQ(*t, (scalefiles::ClockReading{2009, 12, 31, 23, 59}));
    for (int s : {0, 1}) EXPECT_EQ(fetched(s, "4E"), rows);
    EXPECT_TRUE(fetched(2, "4E").empty());
}

TEST_F(OtherFilesWindow, AnEmptyTextKeepsItsRowWithAnEightByteRecordAndNullName) {
    ASSERT_EQ(scalefiles::storeTextFile(db(), 11, 9, codec::Bytes(std::vector<uint8_t>{0, 1, 'A', 0x0C}), page()), "");
    ASSERT_EQ(scalefiles::storeTextFile(db(), 11, 9, std::nullopt, page()), "");
    EXPECT_EQ(tableRecords("SELECT KVRBinData FROM KVR_38"), (Records{{0, 0, 0, 9, 0, 8, 0, 0}}));
    EXPECT_EQ(g->count("SELECT * FROM KVR_38 WHERE Name IS NULL AND NameFirstLine IS NULL"), 1);
    EXPECT_FALSE(scalefiles::textFileBlock(db(), 11, 9));
}

}  // namespace
}  // namespace brindale::testing
