#pragma once
// What an operator does in the file windows, by control name, for the GUI tests: a kind's number
// and text typed in frmOtherFile (through frmStringEdit's txtGrid and CobFont), a scroll grid cell
// typed through its txtGrid, and a bitmap file to open in frmImage or frmLogo.
#include <gtest/gtest.h>

#include <QComboBox>
#include <QImage>
#include <QLineEdit>
#include <QTableWidget>
#include <QTest>
#include <random>

#include "gui_support.h"
#include "scalefiles/text_files.h"
#include "scalefiles/ui/string_edit.h"

namespace brindale::testing {

// Sets the number a kind of frmOtherFile works on, as the operator types it.
inline void typeKindNumber(QDialog* w, const scalefiles::TextFileKind& k, const QString& n) {
    if (k.numberBox) {
        auto* box = lineEdit(w, k.numberBox);
        box->clear();
        QTest::keyClicks(box, n);
    } else {
        auto* combo = comboBox(w, k.combo);
        combo->lineEdit()->clear();
        QTest::keyClicks(combo->lineEdit(), n);
    }
}

// Types one line with the font at list position `font` in the editor the kind's button opens,
// then OK.
inline void typeKindText(QDialog* w, const scalefiles::TextFileKind& k, const QString& line, int font) {
    ModalDriver d("frmStringEdit", [&](QDialog* e) {
        auto* grid = e->findChild<QTableWidget*>("gridString");
        grid->setCurrentCell(0, 0);
        static_cast<scalefiles::FrmStringEdit*>(e)->editCurrentCell();
        auto* txt = e->findChild<QLineEdit*>("txtGrid");
        ASSERT_TRUE(txt->isVisible());
        txt->selectAll();
        QTest::keyClicks(txt, line);
        QTest::keyClick(txt, Qt::Key_Return);
        grid->setCurrentCell(0, 1);
        static_cast<scalefiles::FrmStringEdit*>(e)->editCurrentCell();
        auto* cob = e->findChild<QComboBox*>("CobFont");
        ASSERT_TRUE(cob->isVisible());
        cob->setCurrentIndex(font);
        QTest::keyClick(cob, Qt::Key_Return);
        button(e, "cmdOK")->click();
    });
    button(w, k.button)->click();
    ASSERT_TRUE(d.seen());
}

// Types into a cell of frmScrollMSG's grid through its editor txtGrid, as the operator does, and
// presses Return unless `enter` is false (the editor then stays open).
inline void typeScrollCell(QDialog* w, int row, int column, const QString& text, bool enter = true) {
    auto* grid = w->findChild<QTableWidget*>("gridScrollMsg");
    grid->setCurrentCell(row, column);
    grid->editItem(grid->item(row, column));
    // Closed editors wait hidden for their deletion: the open one is the visible one.
    QLineEdit* editor = nullptr;
    for (auto* e : grid->findChildren<QLineEdit*>("txtGrid"))
        if (e->isVisible()) editor = e;
    ASSERT_NE(editor, nullptr);
    editor->selectAll();
    // Keys for what a keyboard types here; the rest as an input method hands it over.
    bool ascii = true;
    for (QChar c : text) ascii = ascii && c.unicode() < 128;
    if (ascii) QTest::keyClicks(editor, text);
    else editor->insert(text);
    if (enter) QTest::keyClick(editor, Qt::Key_Return);
}

// A BMP at `path` of random pure black and other pixels (grey among them); false when it cannot
// be written.
inline bool writeBitmap(const QString& path, int w, int h, uint32_t seed) {
    QImage img(w, h, QImage::Format_RGB32);
    std::mt19937 rng(seed);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            const int r = int(rng() % 4);
            img.setPixel(x, y, r == 0 ? 0xFF000000u : r == 1 ? 0xFF202020u : 0xFFFFFFFFu);
        }
    return img.save(path, "BMP");
}

}  // namespace brindale::testing
