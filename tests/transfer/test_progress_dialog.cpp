// The progress window, driven offscreen: rows per scale, the summary, and
// the cancel and close buttons.
#include <gtest/gtest.h>

#include <QApplication>
#include <QLabel>
#include <QPushButton>
#include <QTableWidget>
#include <QTest>
#include <QTimer>

#include <functional>

#include "test_support.h"
#include "transfer/kvr_data_trans.h"
#include "transfer/ui/progress_dialog.h"

using namespace brindale::transfer;
using namespace brindale::transfer::testing;

namespace {

// Calls step every 50 ms with the modal window (once it is up) until step
// says it is done or ten seconds have passed.
void drive(std::function<bool(QWidget*)> step) {
    auto* timer = new QTimer;
    auto started = std::make_shared<QElapsedTimer>();
    started->start();
    QObject::connect(timer, &QTimer::timeout, [timer, step, started] {
        QWidget* w = QApplication::activeModalWidget();
        if ((w && step(w)) || started->elapsed() > 10000) {
            timer->stop();
            timer->deleteLater();
        }
    });
    timer->start(50);
}

class Window : public ::testing::Test {
protected:
    void SetUp() override {
        db = std::make_unique<TestDb>(dir.path());
        std::vector<ScaleFarm::Member> members(2);
        members[0].address = "127.0.0.2";
        members[1].address = "127.0.0.3";
        members[1].options.hang = hangSecond;
        farm = std::make_unique<ScaleFarm>(members);
        ASSERT_TRUE(farm->ok()) << farm->error();
        db->addScale("127.0.0.2", "FIRST", 1, 1);
        db->addScale("127.0.0.3", "SECOND", 1, 1);
        for (uint32_t n = 1; n <= 20; ++n) db->addRow("KVR_25", makePlu(n, 100), 1);
        c.setDatabasePath(db->givenPath());
        c.setStoreNumber(1);
        c.setSectionNumber(1);
        c.setTransferMode(0);
        c.setTableList({"25"});
        c.setLanguageText("Title=Senden\nCancel=Abbrechen\nClose=Schliessen\nSummaryText=%1 von %2 fertig, %3 Fehler\n");
        auto o = quickOptions(farm->port());
        o.replyTimeout = std::chrono::milliseconds(20000);
        c.setOptions(o);
        ui::useProgressWindow(c);
    }
    bool hangSecond = false;
    TempDir dir;
    std::unique_ptr<TestDb> db;
    std::unique_ptr<ScaleFarm> farm;
    KVRDataTrans c;
};

TEST_F(Window, ShowsEachScaleAndTheSummaryThenCloses) {
    QString summary, address, progress, cancelText;
    bool cancelEnabledAtEnd = true;
    int rows = 0;
    drive([&](QWidget* w) {
        auto* close = w->findChild<QPushButton*>("cmdClose");
        if (!close || !close->isEnabled()) return false;
        auto* grid = w->findChild<QTableWidget*>("gridScales");
        rows = grid->rowCount();
        address = grid->item(1, 1)->text();
        progress = grid->item(0, 3)->text();
        summary = w->findChild<QLabel*>("lblSummary")->text();
        auto* cancel = w->findChild<QPushButton*>("cmdCancel");
        cancelEnabledAtEnd = cancel->isEnabled();
        cancelText = cancel->text();
        QTest::mouseClick(close, Qt::LeftButton);
        return true;
    });
    EXPECT_EQ(c.StartTransfer(), 0);
    EXPECT_EQ(rows, 2);
    EXPECT_EQ(address, "127.  0.  0.  3");
    EXPECT_EQ(progress, "20 / 20 records");
    EXPECT_TRUE(summary.startsWith("2 von 2 fertig, 0 Fehler")) << summary.toStdString();
    EXPECT_FALSE(cancelEnabledAtEnd);
    EXPECT_EQ(cancelText, "Abbrechen");
    EXPECT_EQ((*farm)[1].recordCount("25"), 20u);
}

class HangingWindow : public Window {
protected:
    void SetUp() override {
        hangSecond = true;
        Window::SetUp();
    }
};

TEST_F(HangingWindow, CancelButtonStopsTheTransfer) {
    bool pressedCancel = false;
    QString state;
    drive([&](QWidget* w) {
        auto* grid = w->findChild<QTableWidget*>("gridScales");
        auto* close = w->findChild<QPushButton*>("cmdClose");
        if (!pressedCancel) {
            // Wait until the first scale is done and the second is stuck.
            if (grid->rowCount() < 2 || !grid->item(0, 2)->text().startsWith("Done")) return false;
            EXPECT_FALSE(close->isEnabled());
            // Escape (the window frame's close) does not end a running transfer.
            QTest::keyClick(w, Qt::Key_Escape);
            EXPECT_TRUE(w->isVisible());
            QTest::mouseClick(w->findChild<QPushButton*>("cmdCancel"), Qt::LeftButton);
            pressedCancel = true;
            return false;
        }
        if (!close->isEnabled()) return false;
        state = grid->item(1, 2)->text();
        QTest::mouseClick(close, Qt::LeftButton);
        return true;
    });
    QElapsedTimer t;
    t.start();
    c.StartTransfer();
    EXPECT_LT(t.elapsed(), 8000);
    EXPECT_TRUE(pressedCancel);
    EXPECT_EQ(state, "Cancelled");
    EXPECT_TRUE(c.lastSummary().cancelled);
    EXPECT_EQ(c.lastSummary().scales[1].state, ScaleState::Cancelled);
}

}  // namespace

int main(int argc, char** argv) {
    // Listing the tests at build time happens without a display.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
