#include <gtest/gtest.h>

#include <QApplication>
#include <QLabel>
#include <QScreen>
#include <QScrollArea>
#include <QWheelEvent>

#include "labelformat/editor_support.h"
#include "store/recordset.h"

using namespace brindale;
using namespace brindale::labelformat;
using namespace brindale::labelformat::test;
using shell::MsgResult;
using brindale::labelformat::ui::ItemBox;

namespace {

long formatRows(EditorEnv& env) {
    store::Recordset rs(*env.state.Conn, "KVR_34");
    return rs.recordCount();
}

QString field(QWidget* f, const char* name) { return child<QLineEdit>(f, name)->text(); }

}  // namespace

TEST(LabelEditor, OpensOnFormatOneWithEveryControl) {
    EditorEnv env;
    auto f = env.open();
    for (const char* name : {"comboFreeFormatNo", "comboFreeFormatNoC", "comboLabelType", "chkGap", "picGap",
                             "txtLabelWidth", "txtLabelHeight", "listItem", "SelectItem", "txtItemPosX", "txtItemPosY",
                             "txtItemWidth", "txtItemHeight", "comboItemAngle", "comboItemFont", "comboItemStatus",
                             "txtThickOrImageNo", "labThickOrImageNo", "picLabelbox", "picLabel", "picItem_0",
                             "picItem_119", "txtItem_0", "txtItem_119", "VScrollDisplayLabel", "cmdDelete", "cmdSave",
                             "cmdClose", "cmdCopy", "cmdDownload", "cmdUpload"})
        EXPECT_NE(f->findChild<QWidget*>(name), nullptr) << name;
    EXPECT_EQ(f->SaveState(), "1");
    EXPECT_EQ(field(f.get(), "txtLabelWidth"), "56");
    EXPECT_EQ(field(f.get(), "txtLabelHeight"), "50");
    EXPECT_EQ(child<QListWidget>(f.get(), "listItem")->count(), 90);
    EXPECT_EQ(child<QListWidget>(f.get(), "SelectItem")->count(), 0);
    EXPECT_EQ(child<QComboBox>(f.get(), "comboItemFont")->count(), 35);
    EXPECT_EQ(child<QComboBox>(f.get(), "comboItemStatus")->count(), 8);
    EXPECT_EQ(child<QLabel>(f.get(), "txtItem_95")->text(), "06");
    choose(f.get(), "comboLabelType", 1);
    EXPECT_EQ(child<QListWidget>(f.get(), "listItem")->count(), 30);
    EXPECT_EQ(formatRows(env), 0);
}

TEST(LabelEditor, TickedTextItemOfEightCharactersIsEightByTwoMillimetres) {
    EditorEnv env;
    auto f = env.open();
    tick(f.get(), 9, true);  // item 10: eight characters
    EXPECT_EQ(f->CurItem(), 9);
    EXPECT_EQ(field(f.get(), "txtItemPosX"), "3");
    EXPECT_EQ(field(f.get(), "txtItemWidth"), "8");
    EXPECT_EQ(field(f.get(), "txtItemHeight"), "2");
    EXPECT_FALSE(child<QLineEdit>(f.get(), "txtItemWidth")->isEnabled());
    EXPECT_EQ(f->format().ItemString[9], "0018001800700200");
    EXPECT_EQ(f->format().ItemUsed[9], 1);
    EXPECT_EQ(f->picItem(9)->units, QRect(240, 4000 - 5 * 80, 640, 160));
    EXPECT_FALSE(f->picItem(9)->isHidden());
    EXPECT_EQ(f->SaveState(), "0");
    EXPECT_EQ(child<QComboBox>(f.get(), "comboItemStatus")->currentIndex(), 7);
}

TEST(LabelEditor, EmptySlotCannotBeTickedAndUntickingRemovesTheItem) {
    EditorEnv env;
    auto f = env.open();
    tick(f.get(), 58, true);  // item 59 has no column
    EXPECT_EQ(child<QListWidget>(f.get(), "listItem")->item(58)->checkState(), Qt::Unchecked);
    EXPECT_EQ(child<QListWidget>(f.get(), "SelectItem")->count(), 0);
    EXPECT_EQ(f->SaveState(), "1");
    tick(f.get(), 0, true);
    tick(f.get(), 0, false);
    EXPECT_EQ(child<QListWidget>(f.get(), "SelectItem")->count(), 0);
    EXPECT_TRUE(f->picItem(0)->isHidden());
    EXPECT_EQ(f->format().ItemUsed[0], 0);
    EXPECT_EQ(f->format().ItemString[0], "");
    EXPECT_EQ(field(f.get(), "txtItemPosX"), "");
    EXPECT_FALSE(child<QLineEdit>(f.get(), "txtItemPosX")->isEnabled());
    EXPECT_EQ(f->SaveState(), "0");
}

TEST(LabelEditor, PositionsAndSizesBeyondTheLabelAreCorrected) {
    EditorEnv env;
    auto f = env.open();
    tick(f.get(), 7, true);  // C1
    enter(f.get(), "txtItemPosX", "60");
    EXPECT_EQ(field(f.get(), "txtItemPosX"), "55");
    enter(f.get(), "txtItemPosY", "50");
    EXPECT_EQ(field(f.get(), "txtItemPosY"), "49");
    enter(f.get(), "txtItemPosX", "");
    EXPECT_EQ(field(f.get(), "txtItemPosX"), "0");
    enter(f.get(), "txtItemWidth", "70");
    EXPECT_EQ(field(f.get(), "txtItemWidth"), "54");
    enter(f.get(), "txtItemHeight", "1");
    EXPECT_EQ(field(f.get(), "txtItemHeight"), "2");
    enter(f.get(), "txtLabelWidth", "20");
    EXPECT_EQ(field(f.get(), "txtLabelWidth"), "30");
    enter(f.get(), "txtLabelHeight", "300");
    EXPECT_EQ(field(f.get(), "txtLabelHeight"), "220");
}

TEST(LabelEditor, BoxCannotBeDraggedPastTheEdgesOfTheLabel) {
    EditorEnv env;
    auto f = env.open();
    tick(f.get(), 7, true);  // C1, 10 x 6 mm at 3, 3
    ItemBox& box = *f->picItem(7);
    const QPoint mid(400, 240);
    f->boxMove(box, mid, false);
    EXPECT_EQ(f->NearEdge(), 0);
    f->boxPress(box, mid);
    EXPECT_EQ(f->DragMode(), 2);
    f->boxMove(box, QPoint(400 + 10000, 240 + 10000), true);
    EXPECT_EQ(box.units.topLeft(), QPoint(4480 - 800, 4000 - 480));
    EXPECT_EQ(field(f.get(), "txtItemPosX"), "46");
    EXPECT_EQ(field(f.get(), "txtItemPosY"), "0");
    f->boxMove(box, QPoint(400 - 20000, 240 - 20000), true);
    EXPECT_EQ(box.units.topLeft(), QPoint(0, 0));
    EXPECT_EQ(field(f.get(), "txtItemPosX"), "0");
    EXPECT_EQ(field(f.get(), "txtItemPosY"), "44");
    f->boxRelease(box);
    EXPECT_EQ(f->DragMode(), 0);
    EXPECT_EQ(f->format().ItemString[7].substr(0, 8), "00000160");
}

TEST(LabelEditor, BarcodeResizeZonesFollowTheAngle) {
    EditorEnv env;
    auto f = env.open();
    tick(f.get(), 11, true);  // B1, 26 x 6 mm
    ItemBox& box = *f->picItem(11);
    f->boxMove(box, QPoint(box.units.width() - 10, 100), false);
    EXPECT_EQ(f->NearEdge(), 0);
    f->boxMove(box, QPoint(100, box.units.height() - 10), false);
    EXPECT_EQ(f->NearEdge(), 1);
    EXPECT_EQ(f->HotEdge(), 2);
    choose(f.get(), "comboItemAngle", 1);
    EXPECT_EQ(box.units.size(), QSize(480, 2080));
    f->boxMove(box, QPoint(box.units.width() - 10, 100), false);
    EXPECT_EQ(f->NearEdge(), 1);
    EXPECT_EQ(f->HotEdge(), 1);
    f->boxMove(box, QPoint(100, box.units.height() - 10), false);
    EXPECT_EQ(f->NearEdge(), 0);
    // A text item has no zone at all.
    tick(f.get(), 0, true);
    ItemBox& text = *f->picItem(0);
    f->boxMove(text, QPoint(text.units.width() - 5, text.units.height() - 5), false);
    EXPECT_EQ(f->NearEdge(), 0);
}

TEST(LabelEditor, ResizingAtEachAngleChangesTheRightField) {
    EditorEnv env;
    auto f = env.open();
    tick(f.get(), 7, true);  // C1, 10 x 6 mm at 3, 3
    ItemBox& box = *f->picItem(7);
    struct Case {
        int angle;
        int edge;
        const char* field;
        const char* value;
    } cases[] = {{0, 1, "txtItemWidth", "15"}, {0, 2, "txtItemHeight", "15"}, {1, 1, "txtItemHeight", "15"},
                 {1, 2, "txtItemWidth", "15"}, {2, 1, "txtItemWidth", "15"}, {3, 2, "txtItemWidth", "15"}};
    for (const Case& c : cases) {
        enter(f.get(), "txtItemWidth", "10");
        enter(f.get(), "txtItemHeight", "6");
        enter(f.get(), "txtItemPosY", "20");
        choose(f.get(), "comboItemAngle", c.angle);
        const QSize s = box.units.size();
        const QPoint zone = c.edge == 1 ? QPoint(s.width() - 10, 10) : QPoint(10, s.height() - 10);
        f->boxMove(box, zone, false);
        ASSERT_EQ(f->HotEdge(), c.edge) << c.angle;
        f->boxPress(box, zone);
        ASSERT_EQ(f->DragMode(), 1);
        f->boxMove(box, c.edge == 1 ? QPoint(1200, 10) : QPoint(10, 1200), true);
        // Below 2 mm the edge stops.
        f->boxMove(box, c.edge == 1 ? QPoint(100, 10) : QPoint(10, 100), true);
        f->boxRelease(box);
        EXPECT_EQ(field(f.get(), c.field), c.value) << "angle " << c.angle << " edge " << c.edge;
        if (c.angle == 0 && c.edge == 2) {
            EXPECT_EQ(field(f.get(), "txtItemPosY"), "11");
        }
    }
}

TEST(LabelEditor, RefusedSaveQuestionKeepsTheOldFormatAndTheChange) {
    EditorEnv env;
    auto f = env.open();
    tick(f.get(), 0, true);
    env.answers = {MsgResult::No};
    child<QComboBox>(f.get(), "comboFreeFormatNo")->setCurrentIndex(4);
    ASSERT_EQ(env.asked.size(), 1u);
    EXPECT_EQ(env.asked[0], env.msg("formatsave"));
    EXPECT_EQ(child<QComboBox>(f.get(), "comboFreeFormatNo")->currentIndex(), 0);
    EXPECT_EQ(f->SaveState(), "0");
    EXPECT_EQ(f->format().ItemUsed[0], 1);
    // Yes goes on to the other format without saving.
    child<QComboBox>(f.get(), "comboFreeFormatNo")->setCurrentIndex(4);
    EXPECT_EQ(f->formatNumber(), 5);
    EXPECT_EQ(f->SaveState(), "1");
    EXPECT_EQ(f->format().ItemUsed[0], 0);
    EXPECT_EQ(formatRows(env), 0);
}

TEST(LabelEditor, SaveCopyAndDelete) {
    EditorEnv env;
    auto f = env.open();
    tick(f.get(), 7, true);
    enter(f.get(), "txtItemPosX", "12");
    f->cmdSave();
    EXPECT_EQ(f->SaveState(), "1");
    EXPECT_EQ(formatRows(env), 1);
    child<QComboBox>(f.get(), "comboFreeFormatNo")->setCurrentIndex(1);
    EXPECT_EQ(f->format().ItemUsed[7], 0);
    child<QComboBox>(f.get(), "comboFreeFormatNoC")->setCurrentIndex(0);
    f->cmdCopy();
    EXPECT_EQ(f->formatNumber(), 2);
    EXPECT_EQ(f->SaveState(), "0");
    EXPECT_EQ(f->format().ItemUsed[7], 1);
    EXPECT_EQ(field(f.get(), "txtItemPosX"), "12");
    EXPECT_EQ(child<QListWidget>(f.get(), "SelectItem")->count(), 1);
    EXPECT_EQ(formatRows(env), 1);
    f->cmdSave();
    EXPECT_EQ(formatRows(env), 2);
    // Delete: No keeps the row, Yes removes it and shows the empty format.
    env.answers = {MsgResult::No};
    f->cmdDelete();
    EXPECT_EQ(formatRows(env), 2);
    f->cmdDelete();
    EXPECT_EQ(formatRows(env), 1);
    EXPECT_EQ(f->format().ItemUsed[7], 0);
    EXPECT_EQ(f->SaveState(), "1");
    EXPECT_EQ(f->formatNumber(), 2);
}

TEST(LabelEditor, ClosingWithChangesAsksFirst) {
    EditorEnv env;
    auto f = env.open();
    f->show();
    tick(f.get(), 0, true);
    env.answers = {MsgResult::No};
    f->cmdClose();
    EXPECT_TRUE(f->isVisible());
    EXPECT_EQ(f->SaveState(), "0");
    env.answers = {MsgResult::No};
    f->close();
    EXPECT_TRUE(f->isVisible());
    f->close();  // Yes
    EXPECT_FALSE(f->isVisible());
    EXPECT_EQ(f->SaveState(), "");
    EXPECT_EQ(env.asked.size(), 3u);
}

TEST(LabelEditor, TallLabelIsShownThroughTheScrollBar) {
    EditorEnv env;
    auto f = env.open();
    auto* bar = child<QScrollBar>(f.get(), "VScrollDisplayLabel");
    EXPECT_TRUE(bar->isHidden());
    enter(f.get(), "txtLabelHeight", "220");
    EXPECT_FALSE(bar->isHidden());
    EXPECT_EQ(bar->maximum(), (17600 - 8880 + 80) / 80);
    bar->setValue(50);
    EXPECT_EQ(f->picLabel()->y(), qRound(-4000 * f->zoom()));
    enter(f.get(), "txtLabelHeight", "100");
    EXPECT_TRUE(bar->isHidden());
    EXPECT_EQ(bar->value(), 0);
}

TEST(LabelEditor, ZoomKeepsTheUnits) {
    EditorEnv env;
    auto f = env.open();
    tick(f.get(), 7, true);
    const QRect units = f->picItem(7)->units;
    f->setZoom(0.1);
    EXPECT_EQ(f->picItem(7)->units, units);
    EXPECT_EQ(f->picItem(7)->width(), 80);
    EXPECT_EQ(f->picLabel()->width(), 448);
    f->setZoom(0.025);
    EXPECT_EQ(f->picItem(7)->width(), 20);
    EXPECT_EQ(f->picLabel()->width(), 112);
    // Ctrl+wheel zooms in steps, within 25 % to 400 %.
    f->setZoom(ui::FrmLabelFormat::kDefaultZoom);
    QWheelEvent in(QPointF(10, 10), QPointF(10, 10), QPoint(), QPoint(0, 120), Qt::NoButton, Qt::ControlModifier,
                   Qt::NoScrollPhase, false);
    QApplication::sendEvent(f.get(), &in);
    EXPECT_DOUBLE_EQ(f->zoom(), ui::FrmLabelFormat::kDefaultZoom * 1.25);
    for (int i = 0; i < 20; ++i) QApplication::sendEvent(f.get(), &in);
    EXPECT_DOUBLE_EQ(f->zoom(), ui::FrmLabelFormat::kDefaultZoom * 4);
    EXPECT_EQ(f->picLabel()->width(), qRound(4480 * ui::FrmLabelFormat::kDefaultZoom * 4));
}

TEST(LabelEditor, DamagedRecordsAreNamedAtOpeningAndOpenEmpty) {
    EditorEnv env;
    {
        store::Recordset rs(*env.state.Conn, "KVR_34");
        rs.addNew();
        rs.setValue(0, store::Value("1"));
        rs.setValue("KVRBinData", store::Value(store::Bytes(300, 0)));
        rs.update();
    }
    auto f = env.open();
    ASSERT_EQ(env.asked.size(), 1u);
    const QString expected = QString::fromStdString(env.msg("formatunreadable")).arg("1").arg(300);
    EXPECT_EQ(env.asked[0], expected.toStdString());
    EXPECT_EQ(f->format().ItemUsed[0], 0);
    EXPECT_EQ(f->SaveState(), "1");
    // Nothing was written: the damaged record is still there.
    store::Recordset rs(*env.state.Conn, "KVR_34");
    EXPECT_EQ(rs.value("KVRBinData").bytes().size(), 300u);
}

TEST(LabelEditor, NonHexadecimalTextIsNamedAtTheSave) {
    EditorEnv env;
    auto f = env.open();
    f->cmdSave();
    {
        store::Recordset rs(*env.state.Conn, "KVR_34");
        rs.setValue("PF_Res032", store::Value("XYZ"));
        rs.update();
    }
    f->cmdSave();
    ASSERT_EQ(env.asked.size(), 1u);
    EXPECT_NE(env.asked[0].find("PF_Res032"), std::string::npos) << env.asked[0];
    EXPECT_NE(env.asked[0].find("XYZ"), std::string::npos);
}

TEST(LabelEditor, RealSizeAndPercentZoomsFromTheCombo) {
    EditorEnv env;
    auto f = env.open();
    auto* zoom = child<QComboBox>(f.get(), "comboZoom");
    ASSERT_NE(zoom, nullptr);
    ASSERT_EQ(zoom->count(), 6);
    EXPECT_EQ(zoom->currentIndex(), 2);
    choose(f.get(), "comboZoom", 3);  // 200 %
    EXPECT_DOUBLE_EQ(f->zoom(), ui::FrmLabelFormat::kDefaultZoom * 2);
    EXPECT_EQ(f->picLabel()->width(), qRound(4480 * ui::FrmLabelFormat::kDefaultZoom * 2));
    choose(f.get(), "comboZoom", 5);  // real size
    const double dpi = f->screen()->logicalDotsPerInchX();
    EXPECT_DOUBLE_EQ(f->zoom(), dpi / 25.4 / 80);
    // 56 mm wide and 50 mm high on the screen.
    EXPECT_NEAR(f->picLabel()->width(), 56 / 25.4 * dpi, 1.0);
    EXPECT_NEAR(f->picLabel()->height(), 50 / 25.4 * dpi, 1.0);
    // The rules in units hold: a box keeps its units.
    tick(f.get(), 7, true);
    EXPECT_NEAR(f->picItem(7)->width(), f->picItem(7)->units.width() / 80.0 / 25.4 * dpi, 1.0);
}

TEST(LabelEditor, OpensScrolledToTheTopLeftAtAnyZoom) {
    EditorEnv env;
    auto f = env.open();
    f->resize(700, 420);
    choose(f.get(), "comboZoom", 4);  // 400 %: the label is larger than its area
    f->show();
    QApplication::processEvents();
    auto* area = child<QScrollArea>(f.get(), "scrollLabel");
    ASSERT_NE(area, nullptr);
    EXPECT_GT(area->verticalScrollBar()->maximum(), 0);
    EXPECT_GT(area->horizontalScrollBar()->maximum(), 0);
    EXPECT_EQ(area->verticalScrollBar()->value(), 0);
    EXPECT_EQ(area->horizontalScrollBar()->value(), 0);
    // The label's top-left corner is in sight, and the window fits its size.
    const QPoint corner = f->picLabel()->mapTo(area->viewport(), QPoint(0, 0));
    EXPECT_GE(corner.y(), 0);
    EXPECT_GE(corner.x(), 0);
    EXPECT_LT(corner.y(), area->viewport()->height());
    EXPECT_LE(f->height(), 420);
    // Scrolled away, a zoom change brings the corner back.
    area->verticalScrollBar()->setValue(area->verticalScrollBar()->maximum());
    area->horizontalScrollBar()->setValue(area->horizontalScrollBar()->maximum());
    choose(f.get(), "comboZoom", 3);
    EXPECT_EQ(area->verticalScrollBar()->value(), 0);
    EXPECT_EQ(area->horizontalScrollBar()->value(), 0);
    // Ctrl+wheel over the label zooms rather than scrolls.
    const double before = f->zoom();
    QWheelEvent in(QPointF(10, 10), QPointF(10, 10), QPoint(), QPoint(0, 120), Qt::NoButton, Qt::ControlModifier,
                   Qt::NoScrollPhase, false);
    QApplication::sendEvent(area->viewport(), &in);
    EXPECT_DOUBLE_EQ(f->zoom(), before * 1.25);
    EXPECT_EQ(area->verticalScrollBar()->value(), 0);
    f->hide();
}
