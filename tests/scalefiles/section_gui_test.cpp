// Every scale file sent through its window's button to the two scales of one section, and not to
// the third scale, which stands in another section of the same store: one chain, one send after
// another, each file fetched back with the protocol's READ, byte-equal to its table and decoded to
// what was typed.
//
// The windows open only in the data view, where the tree's selection is a store and the section
// is 0 (all of the store's scales). The flows send to the section of the program's selection, so
// the test sets that section, as a section node of the store view does, once the data view is up.
#include <gtest/gtest.h>

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QTableWidget>

#include "codec/code_page.h"
#include "plu/flexi_barcode.h"
#include "scale_app_fixture.h"
#include "scalefiles/picture_rows.h"
#include "scalefiles/records.h"
#include "scalefiles/text_files.h"
#include "scalefiles/text_lines.h"
#include "scalefiles/ui/other_files_window.h"
#include "scalefiles/ui/picture_window.h"
#include "window_typing.h"

namespace brindale::testing {
namespace {

// One store of two sections: 127.0.0.2 and 127.0.0.3 in section 1, 127.0.0.4 in section 2.
class SectionChain : public ScaleFilesApp {
protected:
    QString chosen;  // what frmImage's and frmLogo's file dialog answers

    std::unique_ptr<TempApp> chain() override { return chainWithThreeScales(1, 2, {{{1, 1}, {1, 1}, {1, 2}}}); }
    void SetUp() override {
        ScaleFilesApp::SetUp();
        if (HasFatalFailure()) return;
        g->state().currentSection = 1;
        scalefiles::FrmPicture::setFileChooser([this](QWidget*, const QString&) { return chosen; });
    }
    void TearDown() override {
        scalefiles::FrmPicture::setFileChooser({});
        ScaleFilesApp::TearDown();
    }
    // The file `code` on both scales of section 1 is `table`, and the scale of section 2 has none.
    void onSectionOnly(const std::string& code, const Records& table) {
        for (int s : {0, 1}) EXPECT_EQ(fetched(s, code), table) << code << " on scale " << s;
        EXPECT_TRUE(fetched(2, code).empty()) << code << " reached the other section";
    }
};

TEST_F(SectionChain, EveryFileReachesBothScalesOfTheSectionAndNoneOfTheOther) {
    const codec::CodePage& page = *g->state().codePage;

    // The six text kinds and the container, all ticked and sent; then the date and time.
    const QStringList lines = {"Free text", "Lakeside farm", "Wheat flour, salt", "Keep cool", "Two for one",
                               "Brindale Market"};
    inWindow("menuEditOtherFiles", "frmOtherFile", [&](QDialog* w) {
        int i = 0;
        for (const auto& k : scalefiles::textFileKinds()) {
            typeKindNumber(w, k, QString::number(200 + i));
            typeKindText(w, k, lines[i], i % 2);
            ++i;
        }
        setText(w, "txtCNo", "31");
        lineEdit(w, "txtPLUNo")->setText("4711");
        emit lineEdit(w, "txtPLUNo")->editingFinished();
        for (const char* box : {"chkText", "chkPlace", "chkIng", "chkSmsg", "chkAdv", "chkSname", "chkContainer"})
            w->findChild<QCheckBox*>(box)->setChecked(true);
        button(w, "cmdSend")->click();
        static_cast<scalefiles::FrmOtherFile*>(w)->setClock([] {
            std::tm t{};
            t.tm_year = 2009 - 1900;
            t.tm_mon = 11;
            t.tm_mday = 31;
            t.tm_hour = 23;
            t.tm_min = 59;
            return t;
        });
        button(w, "cmdDTTM")->click();
    });
    const auto fonts = scalefiles::fontsFor(g->state().settings.CountryIndex);
    int i = 0;
    for (const auto& k : scalefiles::textFileKinds()) {
        const Records rows = tableRecords(std::string("SELECT KVRBinData FROM ") + k.table);
        ASSERT_EQ(rows.size(), 1u) << k.table;
        const auto rec = scalefiles::decodeTextFile(rows[0]);
        ASSERT_TRUE(rec) << rec.reason;
        EXPECT_EQ(rec->number, uint32_t(200 + i));
        const auto back = scalefiles::linesFromBlock(codec::Bytes(rec->text), page);
        ASSERT_EQ(back.lines.size(), 1u) << k.table;
        EXPECT_EQ(back.lines[0].text, lines[i].toStdString());
        EXPECT_EQ(back.lines[0].font, fonts[size_t(i % 2)].code);
        onSectionOnly(k.code, rows);
        ++i;
    }
    const Records containers = tableRecords("SELECT KVRBinData FROM KVR_DF");
    ASSERT_EQ(containers.size(), 1u);
    const auto container = scalefiles::decodeContainer(containers[0]);
    ASSERT_TRUE(container) << container.reason;
    EXPECT_EQ(*container, (scalefiles::ContainerRecord{31, 4711}));
    onSectionOnly("DF", containers);
    const Records moments = tableRecords("SELECT KVRBinData FROM KVR_4E");
    ASSERT_EQ(moments.size(), 1u);
    const auto moment = scalefiles::decodeDateTime(moments[0]);
    ASSERT_TRUE(moment) << moment.reason;
    EXPECT_EQ(*moment, (scalefiles::ClockReading{2009, 12, 31, 23, 59}));
    onSectionOnly("4E", moments);

    // Two scroll messages and a sequence.
    inWindow("menuScrollMSG", "frmScrollMSG", [&](QDialog* w) {
        typeScrollCell(w, 0, 0, "7");
        typeScrollCell(w, 0, 1, "Fresh bread at eight");
        typeScrollCell(w, 1, 0, "9");
        typeScrollCell(w, 1, 1, "Closed on Sunday");
        button(w, "cmdDownloadM")->click();
        auto steps = w->findChildren<QComboBox*>("combMSGNo");
        ASSERT_EQ(steps.size(), 3);
        steps[0]->setCurrentIndex(2);  // message 9
        w->findChildren<QComboBox*>("combPattern")[0]->setCurrentIndex(3);
        w->findChildren<QComboBox*>("combSpeed")[0]->setCurrentIndex(1);
        button(w, "cmdDownloadS")->click();
    });
    const Records messages = tableRecords("SELECT KVRBinData FROM KVR_3F ORDER BY Number");
    ASSERT_EQ(messages.size(), 2u);
    const auto m9 = scalefiles::decodeScrollMessage(messages[1]);
    ASSERT_TRUE(m9) << m9.reason;
    EXPECT_EQ(m9->number, 9u);
    EXPECT_EQ(std::string(m9->text.begin(), m9->text.end()), "Closed on Sunday");
    onSectionOnly("3F", messages);
    const Records sequences = tableRecords("SELECT KVRBinData FROM KVR_40");
    ASSERT_EQ(sequences.size(), 1u);
    const auto seq = scalefiles::decodeScrollSequence(sequences[0]);
    ASSERT_TRUE(seq) << seq.reason;
    EXPECT_EQ(*seq, (scalefiles::ScrollSequenceRecord{1, {scalefiles::ScrollStep{2, 3, 1}, scalefiles::ScrollStep{0, 0, 0},
                                                          scalefiles::ScrollStep{0, 0, 0}}}));
    onSectionOnly("40", sequences);

    // The largest image: 49 blocks and the end record, printed on the scale as previewed.
    chosen = file("large.bmp");
    ASSERT_TRUE(writeBitmap(chosen, 448, 1760, 11));
    QImage preview;
    inWindow("menuEditImage", "frmImage", [&](QDialog* w) {
        button(w, "cmdOpen")->click();
        preview = static_cast<scalefiles::FrmPicture*>(w)->preview();
        button(w, "cmdSend")->click();
    });
    const Records image = scalefiles::pictureRows(db(), scalefiles::PictureTable::Image);
    ASSERT_EQ(image.size(), 50u);
    onSectionOnly("37", image);
    const auto printed = scalefiles::decodeImage(fetched(1, "37"));
    ASSERT_TRUE(printed) << printed.reason;
    EXPECT_EQ(printed->blockCount, 49);
    ASSERT_FALSE(preview.isNull());
    EXPECT_EQ(scalefiles::printedImage(printed->printed, 448, 1760), preview);

    // A logo.
    chosen = file("logo.bmp");
    ASSERT_TRUE(writeBitmap(chosen, 128, 64, 12));
    QImage logoPreview;
    inWindow("menuEditLogo", "frmLogo", [&](QDialog* w) {
        button(w, "cmdOpen")->click();
        logoPreview = static_cast<scalefiles::FrmPicture*>(w)->preview();
        button(w, "cmdSend")->click();
    });
    const Records logo = scalefiles::pictureRows(db(), scalefiles::PictureTable::Logo);
    ASSERT_EQ(logo.size(), 1u);
    onSectionOnly("36", logo);
    const auto logoBack = scalefiles::decodeLogo(fetched(0, "36").at(0));
    ASSERT_TRUE(logoBack) << logoBack.reason;
    EXPECT_EQ(scalefiles::printedImage(logoBack->printed, 128, 64), logoPreview);

    // A flexi barcode layout.
    db().exec("DELETE FROM KVR_14");
    inWindow("menuEditFlexiBarcode", "frmFlexiBarcode", [&](QDialog* w) {
        comboBox(w, "ComboNo")->setCurrentIndex(2);  // layout 3
        comboBox(w, "ComboType")->setCurrentIndex(0);
        comboBox(w, "ComboItemDigitNo")->setCurrentIndex(6);
        comboBox(w, "ComboData1")->setCurrentIndex(5);
        comboBox(w, "ComboData2")->setCurrentIndex(0);
        comboBox(w, "ComboCD")->setCurrentIndex(2);
        comboBox(w, "ComboEANorITF")->setCurrentIndex(1);
        EXPECT_EQ(w->findChild<QLabel*>("labFBar_Item")->text(), "F2CCCCCCXXXXXCD");
        button(w, "cmdSave")->click();
        button(w, "cmdDownload")->click();
    });
    const Records flexi = tableRecords("SELECT KVRBinData FROM KVR_14");
    ASSERT_EQ(flexi.size(), 1u);
    codec::FlexiBarcodeRow row;
    row.KVRBinData = flexi[0];
    ASSERT_TRUE(codec::decodeSmallRecords(std::span<codec::FlexiBarcodeRow>(&row, 1), page).ok());
    EXPECT_EQ(plu::flexiPattern(plu::flexiLayoutOf(row)), "F2CCCCCCXXXXXCD");
    onSectionOnly("14", flexi);

    // The image deleted: file 37 is empty on both scales of the section.
    inWindow("menuEditImage", "frmImage", [&](QDialog* w) { button(w, "cmdDelete")->click(); });
    for (int s : {0, 1}) EXPECT_TRUE(fetched(s, "37").empty()) << "scale " << s;
}

}  // namespace
}  // namespace brindale::testing
