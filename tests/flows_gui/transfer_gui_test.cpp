// The transfer commands of the main window on a generated chain: store 1 has 127.0.0.2 and
// 127.0.0.3 in section 1 and 127.0.0.4 in section 2, each an emulated scale.
#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QElapsedTimer>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QTableWidget>
#include <QListWidget>
#include <QPushButton>
#include <QTimer>

#include "chain_generator.h"
#include "chain_settings.h"
#include "codec/plu_record.h"
#include "emulated_scale.h"
#include "gui_support.h"
#include "loopback_scales.h"
#include "plu/ui/plu_list.h"
#include "shell/lifecycle.h"
#include "store/hierarchy.h"
#include "transfer/ui/download_dialog.h"
#include "transfer/ui/main_transfers.h"
#include "transfer/ui/transfer_log_window.h"
#include "transfer/ui/upload_window.h"

namespace brindale::testing {
namespace {


std::string padded(const std::string& ip) { return store::padAddress(ip); }

// A generated chain of one store with three loopback scales, and a second store to take fetched
// PLUs into; ended once, so that the program starts on its mirror.
std::unique_ptr<TempApp> generatedChain() {
    datagen::ChainShape shape;
    shape.stores = 1;
    shape.sectionsPerStore = 2;
    shape.scalesPerSection = 1;
    shape.plus = 60;
    auto dir = generatedApp(shape, 11, 0, [](shell::ProgramState& st) {
        st.Conn->exec("DELETE FROM SCALE");
        int n = 0;
        for (const char* a : {"127.0.0.2", "127.0.0.3", "127.0.0.4"}) {
            ++n;
            st.Conn->exec("INSERT INTO SCALE (SC_IP, SC_No, SC_Used, ST_No, SECT_No) VALUES ('" + padded(a) +
                          "', 'Scale " + std::to_string(n) + "', 1, 1, " + std::to_string(n <= 2 ? 1 : 2) + ")");
        }
        st.Conn->exec("UPDATE KVR_25 SET Is_Selected = 0");
        // A second store with one department and main group 5, where fetched PLUs are taken.
        st.Conn->exec("INSERT INTO STORE (ST_No, ST_Name) VALUES (2, 'Harbour')");
        st.Conn->exec("INSERT INTO KVR_20 (DP_No, DP_Name, ST_No, SECT_No) VALUES (1, 'Fresh', 2, 0)");
        st.Conn->exec("INSERT INTO KVR_23 (MG_No, MG_Name, ST_No, SECT_No, DP_No) VALUES (5, 'Fish', 2, 0, 1)");
    });
    datagen::writeChainSettings(dir->dir(), 2);  // two stores: multi store mode
    return dir;
}

class MainTransfersGui : public ::testing::Test {
protected:
    std::unique_ptr<GuiApp> g;
    std::vector<std::unique_ptr<scaleemu::EmulatedScale>> scales;
    plu::ui::PluList* list = nullptr;
    QTimer closer;  // closes the progress window once its transfer has ended

    virtual bool refuse(const std::string&) const { return false; }

    void SetUp() override {
        answerYes();
        clearMessages();
        g = std::make_unique<GuiApp>(generatedChain());
        ASSERT_EQ(g->start(), 0);
        std::string error;
        scales = startLoopbackScales(*g, closer, [this](const std::string& a) { return refuse(a); }, error);
        ASSERT_EQ(scales.size(), 3u) << error;
        list = plu::ui::PluList::of(g->w());
        ASSERT_NE(list, nullptr);
        ASSERT_NE(transfer::ui::MainTransfers::of(g->w()), nullptr);
        g->select("SECT 1 1");  // section 1: 127.0.0.2 and 127.0.0.3
        ASSERT_GT(list->shownCount(), 5);
    }
    void TearDown() override {
        closer.stop();
        for (auto& s : scales) s->stop();
    }

    store::Database& db() { return *g->state().Conn; }
    std::vector<int64_t> column(const std::string& sql) {
        std::vector<int64_t> out;
        auto st = db().prepare(sql);
        while (st->step()) out.push_back(st->columnInt(0));
        return out;
    }
    std::vector<int64_t> pluNumbersOn(int i) {
        const auto env = g->state().codecEnvironment();
        std::vector<int64_t> out;
        for (const auto& [n, r] : scales[size_t(i)]->file("25")) {
            codec::PluRow row;
            row.KVRBinData = r;
            EXPECT_EQ(codec::decodePluRecord(env, row).outcome, codec::DecodeOutcome::Decoded);
            out.push_back(row.PLU_No);
        }
        std::sort(out.begin(), out.end());
        return out;
    }
    // Marks the PLUs of the list's rows through the list, as the operator does.
    void markRows(std::initializer_list<int> rows) {
        for (int r : rows) {
            ASSERT_TRUE(list->moveTo(r));
            list->togglePLUSelection();
        }
    }
    // Drives frmDownLoad: waits for its buttons, ticks the boxes and presses a button.
    std::unique_ptr<ModalDriver> answerDialog(bool dept, bool mg, const char* press, QString* title = nullptr,
                                              QStringList* held = nullptr) {
        // The buttons come on after the packing, which runs from the dialog's own event loop: the
        // answer is given from a timer of the dialog, never by waiting inside it.
        return std::make_unique<ModalDriver>("frmDownLoad", [=](QDialog* d) {
            auto* t = new QTimer(d);
            QObject::connect(t, &QTimer::timeout, d, [=] {
                auto* ok = d->findChild<QPushButton*>("cmdOK");
                if (!ok->isEnabled()) return;
                t->stop();
                EXPECT_FALSE(d->findChild<QLabel*>("lblloading")->isVisible());
                if (title)
                    *title = d->windowTitle() + "|" + d->findChild<QWidget*>("Frame1")->property("title").toString();
                if (held) {
                    auto* lst = d->findChild<QListWidget*>("lstHeld");
                    for (int i = 0; i < lst->count(); ++i) *held << lst->item(i)->text();
                }
                d->findChild<QCheckBox*>("chkDept")->setChecked(dept);
                d->findChild<QCheckBox*>("chkMG")->setChecked(mg);
                d->findChild<QPushButton*>(press)->click();
            });
            t->start(10);
        });
    }
};

TEST_F(MainTransfersGui, SendAllWithDepartmentsAndGroupsReachesSectionOneOnly) {
    markRows({0, 2, 4});
    const auto marked = column("SELECT PLU_No FROM KVR_25 WHERE Is_Selected = 1 ORDER BY PLU_No");
    ASSERT_EQ(marked.size(), 3u);
    ASSERT_TRUE(g->enabled("cmdSendAll"));
    QString captions;
    auto driver = answerDialog(true, true, "cmdOK", &captions);
    g->w().button("cmdSendAll")->click();
    EXPECT_TRUE(driver->seen());
    EXPECT_EQ(captions.toStdString(), g->text("frm_OTHER", "downTitle") + "|" + g->text("frm_OTHER", "downFrame"));
    EXPECT_EQ(pluNumbersOn(0), marked);
    EXPECT_EQ(pluNumbersOn(1), marked);
    EXPECT_TRUE(scales[2]->file("25").empty());
    const size_t depts = column("SELECT COUNT(*) FROM KVR_20 WHERE ST_No = 1")[0];
    const size_t groups = column("SELECT COUNT(*) FROM KVR_23 WHERE ST_No = 1")[0];
    EXPECT_EQ(scales[0]->file("20").size(), depts);
    EXPECT_EQ(scales[1]->file("23").size(), groups);
    EXPECT_TRUE(scales[2]->file("20").empty());
    EXPECT_TRUE(g->enabled("cmdSendAll"));  // back on after the flow
}

TEST_F(MainTransfersGui, CancelInTheDialogSendsNothingAndEscapeIsCancel) {
    markRows({1});
    auto driver = std::make_unique<ModalDriver>("frmDownLoad", [](QDialog* d) {
        auto* t = new QTimer(d);
        QObject::connect(t, &QTimer::timeout, d, [=] {
            if (!d->findChild<QPushButton*>("cmdCancel")->isEnabled()) return;
            t->stop();
            QKeyEvent esc(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
            QApplication::sendEvent(d, &esc);
        });
        t->start(10);
    });
    g->w().action("menuDownLoad")->trigger();
    EXPECT_TRUE(driver->seen());
    EXPECT_EQ(g->w().flowState().cancelFlag, 1);
    for (auto& s : scales) EXPECT_TRUE(s->file("25").empty());
    EXPECT_EQ(column("SELECT COUNT(*) FROM KVR_25 WHERE Is_Selected = 1")[0], 1);
}

TEST_F(MainTransfersGui, AnEditedPluIsSentAloneByCmdDownloadAndItsMarkCleared) {
    ASSERT_TRUE(list->moveTo(3));
    const int64_t rowid = list->currentRowId();
    const int64_t no = column("SELECT PLU_No FROM KVR_25 WHERE rowid = " + std::to_string(rowid))[0];
    // Typed into the editor, not saved: the download saves it first.
    auto* price = qobject_cast<QLineEdit*>(g->w().pluTabs()->findChild<QWidget*>("meditUPrice"));
    ASSERT_NE(price, nullptr);
    g->w().button("cmdEdit")->click();
    price->setText("7.77");
    ASSERT_TRUE(g->enabled("cmdDownload"));
    auto driver = answerDialog(false, false, "cmdOK");
    g->w().button("cmdDownload")->click();
    EXPECT_TRUE(driver->seen());
    ASSERT_EQ(pluNumbersOn(0), (std::vector<int64_t>{no}));
    codec::PluRow row;
    row.KVRBinData = scales[1]->file("25").begin()->second;
    ASSERT_EQ(codec::decodePluRecord(g->state().codecEnvironment(), row).outcome, codec::DecodeOutcome::Decoded);
    EXPECT_EQ(row.PLU_UPrice, 777);
    EXPECT_EQ(column("SELECT COUNT(*) FROM KVR_25 WHERE Is_Selected <> 0")[0], 0);
    EXPECT_EQ(list->currentRowId(), rowid);
    EXPECT_EQ(column("SELECT PLU_UPrice FROM KVR_25 WHERE rowid = " + std::to_string(rowid))[0], 777);
    EXPECT_FALSE(g->state().pluChanged);
}

TEST_F(MainTransfersGui, DeleteShowsTheDeleteCaptionsAndRemovesTheMarkedPlusFromSectionOne) {
    markRows({0, 1, 2});
    auto send = answerDialog(false, false, "cmdOK");
    g->w().button("cmdSendAll")->click();
    ASSERT_EQ(pluNumbersOn(0).size(), 3u);
    list->cmdClearAll();
    markRows({1});
    const auto gone = column("SELECT PLU_No FROM KVR_25 WHERE Is_Selected = 1");
    QString captions;
    auto del = answerDialog(false, false, "cmdOK", &captions);
    g->w().button("cmdDel")->click();
    EXPECT_TRUE(del->seen());
    EXPECT_EQ(captions.toStdString(), g->text("frm_OTHER", "delTitle") + "|" + g->text("frm_OTHER", "delFrame"));
    for (int i : {0, 1}) {
        const auto left = pluNumbersOn(i);
        EXPECT_EQ(left.size(), 2u);
        EXPECT_EQ(std::count(left.begin(), left.end(), gone[0]), 0);
    }
    EXPECT_TRUE(scales[2]->file("25").empty());
}

TEST_F(MainTransfersGui, APluThatCannotBePackedIsListedAndStaysMarkedWhileTheOthersGo) {
    markRows({0, 1});
    const auto marked = column("SELECT rowid FROM KVR_25 WHERE Is_Selected = 1 ORDER BY PLU_No");
    db().exec("UPDATE KVR_25 SET PLU_UPrice = 99999999999 WHERE rowid = " + std::to_string(marked[1]));
    const int64_t badNo = column("SELECT PLU_No FROM KVR_25 WHERE rowid = " + std::to_string(marked[1]))[0];
    QStringList held;
    auto driver = answerDialog(false, false, "cmdOK", nullptr, &held);
    g->w().button("cmdSendAll")->click();
    ASSERT_EQ(held.size(), 1);
    EXPECT_TRUE(held[0].contains(QString::number(badNo))) << held[0].toStdString();
    EXPECT_TRUE(held[0].contains("PLU_UPrice")) << held[0].toStdString();
    EXPECT_EQ(pluNumbersOn(0).size(), 1u);
    EXPECT_EQ(column("SELECT Is_Selected FROM KVR_25 WHERE rowid = " + std::to_string(marked[1]))[0], 1);
}

TEST_F(MainTransfersGui, DepartmentsOfTheStoreGoByTheMenuOfADepartmentNode) {
    g->select("STORE 1");
    if (g->state().viewNumber == 1) g->w().button("cmdData")->click();
    const int64_t dept = column("SELECT DP_No FROM KVR_20 WHERE ST_No = 1 ORDER BY DP_No LIMIT 1")[0];
    g->select("DEPT 1 " + std::to_string(dept));
    ASSERT_TRUE(g->enabled("menuDownloadDept"));
    g->trigger("menuDownloadDept");
    EXPECT_EQ(scales[0]->file("20").size(), size_t(column("SELECT COUNT(*) FROM KVR_20 WHERE ST_No = 1")[0]));
    EXPECT_TRUE(scales[0]->file("23").empty());
}

TEST_F(MainTransfersGui, FetchedPlusAreReviewedAndTheMarkedOnesTakenIntoAnotherStoreAndGroup) {
    markRows({0, 1, 2});
    const auto sent = column("SELECT PLU_No FROM KVR_25 WHERE Is_Selected = 1 ORDER BY PLU_No");
    auto send = answerDialog(false, false, "cmdOK");
    g->w().button("cmdSendAll")->click();
    ASSERT_EQ(pluNumbersOn(0), sent);
    ASSERT_EQ(pluNumbersOn(1), sent);

    int gridRows = -1;
    std::vector<long> added, overwritten;
    auto review = std::make_unique<ModalDriver>("frmUpload", [&](QDialog* d) {
        auto* win = qobject_cast<transfer::ui::UploadWindow*>(d);
        ASSERT_NE(win, nullptr);
        auto* t = new QTimer(d);
        QObject::connect(t, &QTimer::timeout, d, [=, &gridRows, &added, &overwritten] {
            if (win->model()->rowCount() == 0) return;
            t->stop();
            gridRows = win->model()->rowCount();
            // Each PLU came from both scales: rows 0 and 2 are two different PLUs.
            win->clickGrid(0, 6);
            win->clickGrid(2, 6);
            auto* st = d->findChild<QComboBox*>("combST");
            st->setCurrentIndex(st->findText("2"));
            auto* dp = d->findChild<QComboBox*>("combDP");
            dp->setCurrentIndex(dp->findText("1"));
            auto* mg = d->findChild<QComboBox*>("combMG");
            mg->setCurrentIndex(mg->findText("5"));
            auto* same = d->findChild<QCheckBox*>("chkSamePLU");
            auto* transfer = d->findChild<QPushButton*>("cmdTransfer");
            same->setChecked(false);
            const long before = long(column("SELECT COUNT(*) FROM KVR_25 WHERE ST_No = 2")[0]);
            transfer->click();
            added.push_back(long(column("SELECT COUNT(*) FROM KVR_25 WHERE ST_No = 2")[0]) - before);
            // Again, unticked: both numbers now exist in store 2 and are left out.
            db().exec("UPDATE KVR_25 SET PLU_UPrice = 1 WHERE ST_No = 2");
            transfer->click();
            overwritten.push_back(long(column("SELECT COUNT(*) FROM KVR_25 WHERE ST_No = 2 AND PLU_UPrice <> 1")[0]));
            same->setChecked(true);
            transfer->click();
            overwritten.push_back(long(column("SELECT COUNT(*) FROM KVR_25 WHERE ST_No = 2 AND PLU_UPrice <> 1")[0]));
            d->findChild<QPushButton*>("cmdClose")->click();
        });
        t->start(10);
    });
    clearMessages();
    g->w().button("cmdUpload")->click();
    ASSERT_TRUE(review->seen());
    EXPECT_EQ(gridRows, 6);  // three PLUs from each of the two scales of section 1
    EXPECT_EQ(added, (std::vector<long>{2}));
    EXPECT_EQ(overwritten, (std::vector<long>{0, 2}));  // left out unticked, overwritten ticked
    // Re-homed: store 2, main group 5, the group flag on.
    const auto taken = column("SELECT PLU_No FROM KVR_25 WHERE ST_No = 2 AND PLU_MG = 5 AND Stat2_MGCode = 1 "
                              "ORDER BY PLU_No");
    EXPECT_EQ(taken, (std::vector<int64_t>{sent[0], sent[1]}));
    EXPECT_EQ(column("SELECT COUNT(*) FROM RC_25")[0], 0);
    // cmdUpload clears the selection after a review.
    EXPECT_EQ(column("SELECT COUNT(*) FROM KVR_25 WHERE Is_Selected <> 0")[0], 0);
    EXPECT_TRUE(g->w().isEnabled());
    EXPECT_EQ(messagesShown().size(), 3u);  // upTranOK with the counts, once per cmdTransfer
}

TEST_F(MainTransfersGui, TheMenuUploadKeepsTheSelection) {
    markRows({0});
    auto send = answerDialog(false, false, "cmdOK");
    g->w().button("cmdSendAll")->click();
    auto review = std::make_unique<ModalDriver>("frmUpload", [](QDialog* d) {
        auto* t = new QTimer(d);
        QObject::connect(t, &QTimer::timeout, d, [=] {
            auto* win = qobject_cast<transfer::ui::UploadWindow*>(d);
            if (win->model()->rowCount() == 0) return;
            t->stop();
            d->findChild<QPushButton*>("cmdClose")->click();
        });
        t->start(10);
    });
    g->w().action("menuUpLoad")->trigger();
    EXPECT_TRUE(review->seen());
    EXPECT_EQ(column("SELECT COUNT(*) FROM KVR_25 WHERE Is_Selected <> 0")[0], 1);
    EXPECT_EQ(column("SELECT COUNT(*) FROM RC_25")[0], 0);
}

TEST_F(MainTransfersGui, ASectionNumberAboveAByteIsNamedInAMessageAndNothingIsShownOrSent) {
    markRows({0});
    const auto before = column("SELECT Is_Selected FROM KVR_25 ORDER BY rowid");
    g->state().currentSection = 300;  // beyond what the scales' link can carry
    clearMessages();
    bool dialog = false;
    auto driver = std::make_unique<ModalDriver>("frmDownLoad", [&dialog](QDialog* d) {
        dialog = true;
        d->reject();
    });
    g->w().button("cmdSendAll")->click();
    EXPECT_FALSE(dialog);
    ASSERT_EQ(messagesShown().size(), 1u);
    EXPECT_EQ(messagesShown()[0], QString::fromStdString(g->text("msgbox", "storeOverflow")).arg(1).arg(300).toStdString());
    for (auto& s : scales) EXPECT_TRUE(s->file("25").empty());
    EXPECT_EQ(column("SELECT Is_Selected FROM KVR_25 ORDER BY rowid"), before);
    EXPECT_TRUE(g->enabled("cmdSendAll"));
}

class RefusingScaleGui : public MainTransfersGui {
    bool refuse(const std::string& a) const override { return a == "127.0.0.3"; }
};

TEST_F(RefusingScaleGui, ADownloadWithOneScaleRefusingCompletesTheOtherAndNamesTheFailedOne) {
    markRows({0});
    QString summary;
    closer.stop();
    QTimer reader;
    QObject::connect(&reader, &QTimer::timeout, [&] {
        QWidget* m = QApplication::activeModalWidget();
        if (!m || m->objectName() != "frmTransfer") return;
        auto* close = m->findChild<QPushButton*>("cmdClose");
        if (close && close->isEnabled()) {
            summary = m->findChild<QLabel*>("lblSummary")->text();
            auto* grid = m->findChild<QTableWidget*>("gridScales");
            for (int r = 0; r < grid->rowCount(); ++r) {
                summary += "\n";
                for (int c = 0; c < grid->columnCount(); ++c)
                    if (grid->item(r, c)) summary += grid->item(r, c)->text() + "|";
            }
            close->click();
        }
    });
    reader.start(20);
    auto driver = answerDialog(false, false, "cmdOK");
    g->w().button("cmdSendAll")->click();
    reader.stop();
    EXPECT_EQ(pluNumbersOn(0).size(), 1u);
    EXPECT_TRUE(scales[1]->file("25").empty());
    // The failed scale is named with its address and the reason.
    const QString failedLine = summary.section('\n', 2, 2);
    EXPECT_TRUE(failedLine.contains("Scale 2") && failedLine.contains("127.  0.  0.  3")) << summary.toStdString();
    EXPECT_TRUE(failedLine.contains("The scale refused the connection")) << summary.toStdString();
    EXPECT_EQ(g->w().KVRDataTrans1().lastSummary().countFailed(), 1u);

    // The history names each scale with its outcome, also after the end and a new start.
    for (auto& s : scales) s->stop();
    g->w().menuExit();
    ASSERT_TRUE(g->app->ended());
    auto dir = std::move(g->dir);
    g.reset();
    g = std::make_unique<GuiApp>(std::move(dir));
    ASSERT_EQ(g->start(), 0);
    std::vector<std::string> rows;
    auto log = std::make_unique<ModalDriver>("frmTransferLog", [&](QDialog* d) {
        auto* w = qobject_cast<transfer::ui::FrmTransferLog*>(d);
        ASSERT_NE(w, nullptr);
        const auto& m = w->model();
        for (int r = 0; r < m.rowCount(); ++r) {
            std::string line;
            for (int c : {transfer::ui::TransferLogModel::Mode, transfer::ui::TransferLogModel::Scale,
                          transfer::ui::TransferLogModel::Address, transfer::ui::TransferLogModel::State,
                          transfer::ui::TransferLogModel::Records})
                line += m.index(r, c).data().toString().toStdString() + "|";
            rows.push_back(line);
        }
        d->findChild<QPushButton*>("cmdClose")->click();
    });
    g->trigger("menuTransferLog");
    ASSERT_TRUE(log->seen());
    ASSERT_EQ(rows.size(), 2u);
    std::sort(rows.begin(), rows.end());
    EXPECT_EQ(rows[0].find(g->text("frm_TransferLog", "modeDownload") + "|Scale 1|127.0.0.2|Done|"), 0u) << rows[0];
    EXPECT_NE(rows[0].find("|1 / 1|"), std::string::npos) << rows[0];
    EXPECT_EQ(rows[1].find(g->text("frm_TransferLog", "modeDownload") + "|Scale 2|127.0.0.3|Failed|"), 0u) << rows[1];
    EXPECT_NE(rows[1].find("|0 / "), std::string::npos) << rows[1];
}

}  // namespace
}  // namespace brindale::testing
