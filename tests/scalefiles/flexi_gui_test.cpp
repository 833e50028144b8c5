// frmFlexiBarcode in the running program, offscreen, driven by control name: a layout from its
// combos to its label and record, the illegal length refused, the number change, delete, and the
// table sent to the two scales of store 1 (not to the third, of store 2) and fetched back.
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

}  // namespace
}  // namespace brindale::testing
