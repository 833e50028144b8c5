// Label formats sent to and fetched from emulated scales on loopback through the editor: store 1
// has 127.0.0.2 and 127.0.0.3 in section 1 and 127.0.0.4 in section 2.
#include <gtest/gtest.h>

#include <QApplication>
#include <QComboBox>
#include <QListWidget>
#include <QPushButton>
#include <QTimer>
#include <deque>

#include "chain_generator.h"
#include "emulated_scale.h"
#include "gui_support.h"
#include "loopback_scales.h"
#include "labelformat/codec.h"
#include "labelformat/ui/label_format.h"
#include "store/hierarchy.h"
#include "store/recordset.h"
#include "transfer/ui/main_transfers.h"

namespace brindale::testing {
namespace {

using labelformat::ui::FrmLabelFormat;

std::unique_ptr<TempApp> chain() {
    datagen::ChainShape shape;
    shape.stores = 1;
    shape.sectionsPerStore = 2;
    shape.scalesPerSection = 1;
    shape.plus = 5;
    return generatedApp(shape, 5, 0, [](shell::ProgramState& st) {
        st.Conn->exec("DELETE FROM SCALE");
        int n = 0;
        for (const char* a : {"127.0.0.2", "127.0.0.3", "127.0.0.4"}) {
            ++n;
            st.Conn->exec("INSERT INTO SCALE (SC_IP, SC_No, SC_Used, ST_No, SECT_No) VALUES ('" + store::padAddress(a) +
                          "', 'Scale " + std::to_string(n) + "', 1, 1, " + std::to_string(n <= 2 ? 1 : 2) + ")");
        }
    });
}

labelformat::Bytes record(int number, int size, uint8_t fill) {
    labelformat::Bytes r(static_cast<size_t>(size), 0);
    r[3] = static_cast<uint8_t>((number / 10) << 4 | (number % 10));
    r[4] = static_cast<uint8_t>(size >> 8);
    r[5] = static_cast<uint8_t>(size & 0xFF);
    r[7] = 0xC0;  // 56 mm wide
    r[8] = 0x01;
    r[9] = 0x90;  // 50 mm high
    r[10] = 0x01;
    // Item 1 placed at (fill, 3) mm.
    r[11] = 0x00;
    r[12] = fill * 8;
    r[13] = 0x00;
    r[14] = 0x18;
    r[15] = 0x00;
    r[16] = 0x70;
    r[17] = 0x02;
    r[18] = 0x06;
    return r;
}

class LabelTransfers : public ::testing::Test {
protected:
    std::unique_ptr<GuiApp> g;
    std::vector<std::unique_ptr<scaleemu::EmulatedScale>> scales;
    QTimer closer;
    std::deque<shell::MsgResult> answers;
    std::vector<std::string> asked;

    virtual bool refuse(const std::string&) const { return false; }

    void SetUp() override {
        answerYes();
        g = std::make_unique<GuiApp>(chain());
        ASSERT_EQ(g->start(), 0);
        shell::Messages::setResponder([this](const shell::MessageRecord& r) {
            asked.push_back(r.text.toStdString());
            if (answers.empty()) return r.buttons == shell::MsgButtons::Ok ? shell::MsgResult::Ok : shell::MsgResult::Yes;
            auto a = answers.front();
            answers.pop_front();
            return a;
        });
        std::string error;
        scales = startLoopbackScales(*g, closer, [this](const std::string& a) { return refuse(a); }, error);
        ASSERT_EQ(scales.size(), 3u) << error;
        g->select("SECT 1 1");
    }
    void TearDown() override {
        closer.stop();
        for (auto& s : scales) s->stop();
        shell::Messages::setResponder({});
    }
    std::unique_ptr<FrmLabelFormat> editor() {
        return std::make_unique<FrmLabelFormat>(g->state(), [this](transfer::Flow f, transfer::FlowHooks h) {
            return transfer::ui::MainTransfers::of(g->w())->run(f, {}, std::move(h));
        });
    }
    labelformat::Bytes stored(int number) {
        store::Recordset rs(*g->state().Conn, "KVR_34");
        while (!rs.eof()) {
            if (labelformat::leadingDecimal(rs.value(0).toText()) == number) return rs.value("KVRBinData").bytes();
            rs.moveNext();
        }
        return {};
    }
    long rows(const char* table) {
        store::Recordset rs(*g->state().Conn, table);
        return rs.recordCount();
    }
};

TEST_F(LabelTransfers, TheMenuOpensTheEditor) {
    g->select("STORE 1");
    g->w().button("cmdData")->click();  // the editors of the data view
    ASSERT_TRUE(g->enabled("menuEditLabelFormat"));
    auto driver = std::make_unique<ModalDriver>("frmLabelFormat", [](QDialog* d) {
        d->findChild<QPushButton*>("cmdClose")->click();
    });
    g->trigger("menuEditLabelFormat");
    EXPECT_TRUE(driver->seen());
}

TEST_F(LabelTransfers, AFormatMadeAndSentReachesBothScalesOfTheSectionByteForByte) {
    auto f = editor();
    f->findChild<QListWidget*>("listItem")->item(0)->setCheckState(Qt::Checked);
    f->cmdSave();
    const labelformat::Bytes sent = stored(1);
    ASSERT_EQ(sent.size(), 1118u);
    f->cmdDownload();
    ASSERT_EQ(scales[0]->file("34").size(), 1u);
    EXPECT_EQ(scales[0]->file("34").begin()->second, sent);
    ASSERT_EQ(scales[1]->file("34").size(), 1u);
    EXPECT_EQ(scales[1]->file("34").begin()->second, sent);
    EXPECT_TRUE(scales[2]->file("34").empty());
}

TEST_F(LabelTransfers, FetchingMergesByTheAnswerAndShowsTheCurrentFormatAnew) {
    auto f = editor();
    f->findChild<QComboBox*>("comboFreeFormatNo")->setCurrentIndex(6);  // format 7
    f->findChild<QListWidget*>("listItem")->item(1)->setCheckState(Qt::Checked);
    f->cmdSave();
    const labelformat::Bytes own7 = stored(7);
    scales[0]->put("34", record(7, 1118, 20));
    scales[0]->put("34", record(12, 1400, 9));
    answers = {shell::MsgResult::No};  // formatoverride
    f->cmdUpload();
    EXPECT_EQ(stored(7), own7);
    EXPECT_EQ(stored(12), record(12, 1400, 9));
    EXPECT_EQ(rows("RC_34"), 0);
    EXPECT_EQ(f->format().ItemUsed[1], 1);
    answers = {shell::MsgResult::Yes};
    f->cmdUpload();
    EXPECT_EQ(stored(7), record(7, 1118, 20));
    // The editor shows the fetched format 7: item 1 at 20 mm, item 2 gone.
    EXPECT_EQ(f->format().ItemUsed[1], 0);
    EXPECT_EQ(f->format().ItemUsed[0], 1);
    EXPECT_EQ(f->findChild<QLineEdit*>("txtItemPosX")->text(), "20");
    EXPECT_EQ(f->SaveState(), "1");
}

TEST_F(LabelTransfers, AnOddSizeComesUpOpensAs1664AndLeavesAs1664) {
    auto f = editor();
    scales[0]->put("34", record(9, 1646, 4));
    f->cmdUpload();
    EXPECT_EQ(stored(9).size(), 1646u);
    const std::string odd = g->state().text("msgbox", "formatoddsize");
    bool listed = false;
    for (const auto& a : asked) listed |= a.find("9 (1646)") != std::string::npos;
    EXPECT_TRUE(listed) << odd;
    f->findChild<QComboBox*>("comboFreeFormatNo")->setCurrentIndex(8);
    EXPECT_EQ(f->format().FormatSize, 1664);
    f->cmdSave();
    const labelformat::Bytes saved = stored(9);
    ASSERT_EQ(saved.size(), 1664u);
    EXPECT_EQ(saved[4], 0x06);
    EXPECT_EQ(saved[5], 0x80);
    f->cmdDownload();
    ASSERT_EQ(scales[0]->file("34").size(), 1u);
    EXPECT_EQ(scales[0]->file("34").begin()->second, saved);
}

class RefusingLabelTransfers : public LabelTransfers {
    bool refuse(const std::string& a) const override { return a == "127.0.0.3"; }
};

TEST_F(RefusingLabelTransfers, ARefusingScaleLeavesTheFormatsAndIsCounted) {
    auto f = editor();
    f->findChild<QListWidget*>("listItem")->item(0)->setCheckState(Qt::Checked);
    f->cmdSave();
    const labelformat::Bytes before = stored(1);
    f->cmdUpload();
    EXPECT_EQ(stored(1), before);
    EXPECT_EQ(rows("KVR_34"), 1);
    EXPECT_EQ(g->w().KVRDataTrans1().lastSummary().countFailed(), 1u);
}

}  // namespace
}  // namespace brindale::testing

namespace brindale::testing {
namespace {

TEST_F(LabelTransfers, FetchedRecordsWithoutAFormatNumberAreListedAndNotTaken) {
    auto f = editor();
    labelformat::Bytes bad = record(5, 1118, 3);
    bad[3] = 0x0A;
    scales[0]->put("34", bad);
    scales[0]->put("34", record(6, 1118, 3));
    f->cmdUpload();
    EXPECT_EQ(rows("KVR_34"), 1);
    EXPECT_EQ(stored(6), record(6, 1118, 3));
    const std::string expected =
        QString::fromStdString(g->state().text("msgbox", "formatrejected")).arg("0000000A").toStdString();
    EXPECT_NE(std::find(asked.begin(), asked.end(), expected), asked.end());
}

}  // namespace
}  // namespace brindale::testing
