// frmFlexiBarcode in the running program, offscreen, driven by control name: a layout from its
// combos to its label and record, the illegal length refused, the number change, delete, and the
// table sent to the two scales of store 1 (not to the third, of store 2) and fetched back; the
// layouts of each flag type back from their records after an end and a new start.
#include <gtest/gtest.h>

#include <QComboBox>
#include <QLabel>

#include "plu/flexi_barcode.h"
#include "scale_app_fixture.h"

namespace brindale::testing {
namespace {

class FlexiWindow : public ScaleFilesApp {
protected:
    static void set(QDialog* w, const char* name, int index) { comboBox(w, name)->setCurrentIndex(index); }
};

TEST_F(FlexiWindow, ALayoutFromItsCombosToItsLabelRecordAndTheScales) {
    db().exec("DELETE FROM KVR_14");
    Records table;
    inWindow("menuEditFlexiBarcode", "frmFlexiBarcode", [&](QDialog* w) {
        EXPECT_EQ(comboBox(w, "ComboNo")->count(), 222);
        EXPECT_FALSE(button(w, "cmdDelete")->isEnabled());
        set(w, "ComboNo", 4);  // layout 5
        set(w, "ComboType", 1);
        set(w, "ComboItemDigitNo", 4);
        set(w, "ComboData1Type", 3);
        set(w, "ComboData1", 3);
        set(w, "ComboData2", 2);
        set(w, "ComboCD", 3);
        set(w, "ComboEANorITF", 1);
        EXPECT_EQ(w->findChild<QLabel*>("labFBar_Item")->text(), "F1F2CCCCXXXCDYYCD");
        button(w, "cmdSave")->click();
        EXPECT_TRUE(button(w, "cmdDelete")->isEnabled());
        set(w, "ComboNo", 5);  // layout 6 has no row: the defaults
        EXPECT_FALSE(button(w, "cmdDelete")->isEnabled());
        EXPECT_EQ(comboBox(w, "ComboType")->currentIndex(), 0);
        set(w, "ComboNo", 4);  // back to 5: its row
        EXPECT_EQ(comboBox(w, "ComboCD")->currentIndex(), 3);
        EXPECT_EQ(w->findChild<QLabel*>("labFBar_Item")->text(), "F1F2CCCCXXXCDYYCD");
        table = tableRecords("SELECT KVRBinData FROM KVR_14 ORDER BY FBar_No");
        button(w, "cmdDownload")->click();
    });
    ASSERT_EQ(table.size(), 1u);
    EXPECT_EQ(table[0][11], 128 + 3);
    codec::FlexiBarcodeRow row;
    row.KVRBinData = table[0];
    ASSERT_TRUE(codec::decodeSmallRecords(std::span<codec::FlexiBarcodeRow>(&row, 1), *g->state().codePage).ok());
    EXPECT_EQ(row.FBar_No, 5);
    EXPECT_EQ(row.FBar_FBarDigitNo, 2);
    EXPECT_EQ(row.FBar_ItemDigitNo, 4);
    EXPECT_EQ(row.FBar_Data1, 3);
    EXPECT_EQ(row.FBar_Data2, 2);
    EXPECT_EQ(row.FBar_Data1Type, 3);
    for (int s : {0, 1}) EXPECT_EQ(fetched(s, "14"), table);
    EXPECT_TRUE(fetched(2, "14").empty());
}

TEST_F(FlexiWindow, AnIllegalLengthIsRefusedAndDeleteEmptiesTheNumber) {
    db().exec("DELETE FROM KVR_14");
    inWindow("menuEditFlexiBarcode", "frmFlexiBarcode", [&](QDialog* w) {
        set(w, "ComboNo", 0);
        set(w, "ComboItemDigitNo", 9);  // F2 + 9 + 5 + CD = 16 digits
        button(w, "cmdSave")->click();
        EXPECT_EQ(g->count("SELECT * FROM KVR_14"), 0);
        set(w, "ComboItemDigitNo", 6);  // 13: legal for EAN-13
        set(w, "ComboEANorITF", 1);
        button(w, "cmdSave")->click();
        EXPECT_EQ(g->count("SELECT * FROM KVR_14 WHERE FBar_No = 1"), 1);
        button(w, "cmdDelete")->click();
        EXPECT_EQ(g->count("SELECT * FROM KVR_14"), 0);
        EXPECT_FALSE(button(w, "cmdDelete")->isEnabled());
    });
    ASSERT_EQ(messagesShown().size(), 1u);
    EXPECT_EQ(messagesShown()[0], g->text("msgbox", "fbarcodeillegal"));
}

// Each flag type from its combos to its label, its column and record (FBar_FBarDigitNo: the flag's
// digits), and back: after an end and a new start, which rebuild the columns from the records,
// the window shows the same layouts.
TEST_F(FlexiWindow, TheDigitCountAgreesInLabelColumnAndRecordAndComesBackAfterARestart) {
    db().exec("DELETE FROM KVR_14");
    const char* labels[] = {"F2CCCCCXXXXXYCD", "F1F2CCCCCXXXXXCD", "CCCCCXXXXXYYCD"};
    const int data2[] = {1, 0, 2};
    inWindow("menuEditFlexiBarcode", "frmFlexiBarcode", [&](QDialog* w) {
        for (int type = 0; type < 3; ++type) {
            set(w, "ComboNo", type);
            set(w, "ComboType", type);
            set(w, "ComboItemDigitNo", 5);
            set(w, "ComboData1", 5);
            set(w, "ComboData2", data2[type]);  // to 13 digits
            set(w, "ComboCD", 2);
            set(w, "ComboEANorITF", 1);
            EXPECT_EQ(w->findChild<QLabel*>("labFBar_Item")->text(), labels[type]);
            button(w, "cmdSave")->click();
        }
    });
    ASSERT_TRUE(messagesShown().empty()) << messagesShown()[0];
    const int flags[] = {1, 2, 0};
    for (int type = 0; type < 3; ++type) {
        const std::string where = " FROM KVR_14 WHERE FBar_No = " + std::to_string(type + 1);
        EXPECT_EQ(g->count("SELECT *" + where + " AND FBar_FBarDigitNo = " + std::to_string(flags[type])), 1) << type;
        const Records rec = tableRecords("SELECT KVRBinData" + where);
        ASSERT_EQ(rec.size(), 1u);
        EXPECT_EQ(rec[0][10], flags[type]);
    }
    // The end writes the mirror and the next start rebuilds KVR_14's columns from its records.
    closer.stop();
    g->w().menuExit();
    ASSERT_TRUE(g->app->ended());
    auto dir = std::move(g->dir);
    g.reset();
    g = std::make_unique<GuiApp>(std::move(dir));
    ASSERT_EQ(g->start(), 0);
    g->select("STORE 1");
    g->tree().cmdData();
    for (int type = 0; type < 3; ++type)
        EXPECT_EQ(g->count("SELECT * FROM KVR_14 WHERE FBar_No = " + std::to_string(type + 1) +
                           " AND FBar_FBarDigitNo = " + std::to_string(flags[type]) + " AND FBar_Type = " +
                           std::to_string(type)),
                  1)
            << type;
    inWindow("menuEditFlexiBarcode", "frmFlexiBarcode", [&](QDialog* w) {
        for (int type = 0; type < 3; ++type) {
            set(w, "ComboNo", type);
            EXPECT_TRUE(button(w, "cmdDelete")->isEnabled());
            EXPECT_EQ(comboBox(w, "ComboType")->currentIndex(), type);
            EXPECT_EQ(w->findChild<QLabel*>("labFBar_Item")->text(), labels[type]);
        }
    });
}

}  // namespace
}  // namespace brindale::testing
