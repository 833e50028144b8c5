// frmScrollMSG in the running program, offscreen, driven by control name: messages typed through
// txtGrid, a sequence chosen in the combos of its steps, both saved and sent to the two scales of
// store 1 (not to the third, of store 2), fetched back with READ and decoded to what was typed;
// two rows with one number refused naming both; the sequence shown again from its row.
#include <gtest/gtest.h>

#include <QComboBox>
#include <QLineEdit>
#include <QTableWidget>
#include <QTest>

#include "scale_app_fixture.h"
#include "scalefiles/records.h"
#include "scalefiles/ui/scroll_window.h"
#include "window_typing.h"

namespace brindale::testing {
namespace {

class ScrollWindow : public ScaleFilesApp {
protected:
    static QList<QComboBox*> combos(QDialog* w, const char* name) { return w->findChildren<QComboBox*>(name); }
};

TEST_F(ScrollWindow, MessagesAndASequenceAreSavedSentAndFetchedBackAsTyped) {
    inWindow("menuScrollMSG", "frmScrollMSG", [&](QDialog* w) {
        typeScrollCell(w, 0, 0, "12");
        typeScrollCell(w, 0, 1, "Welcome to Brindale");
        typeScrollCell(w, 1, 0, "3x");  // the x is not taken
        typeScrollCell(w, 1, 1, "Café open");
        typeScrollCell(w, 2, 1, "no number: not saved");
        button(w, "cmdDownloadM")->click();
        // The lists of the steps now offer the saved numbers after "none".
        ASSERT_EQ(combos(w, "combMSGNo").size(), 3);
        QStringList offered;
        for (int i = 0; i < combos(w, "combMSGNo")[0]->count(); ++i) offered << combos(w, "combMSGNo")[0]->itemText(i);
        EXPECT_EQ(offered, (QStringList{"none", "3", "12"}));
        comboBox(w, "combSeqNum")->setCurrentIndex(1);  // sequence 2
        combos(w, "combMSGNo")[0]->setCurrentIndex(2);
        combos(w, "combPattern")[0]->setCurrentIndex(4);
        combos(w, "combSpeed")[0]->setCurrentIndex(2);
        combos(w, "combMSGNo")[1]->setCurrentIndex(1);
        combos(w, "combPattern")[1]->setCurrentIndex(1);
        button(w, "cmdDownloadS")->click();
    });
    const Records messages = tableRecords("SELECT KVRBinData FROM KVR_3F ORDER BY Number");
    ASSERT_EQ(messages.size(), 2u);
    const auto m3 = scalefiles::decodeScrollMessage(messages[0]);
    const auto m12 = scalefiles::decodeScrollMessage(messages[1]);
    ASSERT_TRUE(m3 && m12);
    EXPECT_EQ(m3->number, 3u);
    EXPECT_EQ(g->state().codePage->decode(m3->text.data(), m3->text.size()), "Café open");
    EXPECT_EQ(m12->number, 12u);
    EXPECT_EQ(std::string(m12->text.begin(), m12->text.end()), "Welcome to Brindale");
    EXPECT_EQ(g->count("SELECT * FROM KVR_3F WHERE Is_Selected <> 0"), 0);  // cleared after
    const Records sequences = tableRecords("SELECT KVRBinData FROM KVR_40");
    ASSERT_EQ(sequences.size(), 1u);
    const auto s = scalefiles::decodeScrollSequence(sequences[0]);
    ASSERT_TRUE(s) << s.reason;
    EXPECT_EQ(*s, (scalefiles::ScrollSequenceRecord{2, {scalefiles::ScrollStep{2, 4, 2}, scalefiles::ScrollStep{1, 1, 0},
                                                        scalefiles::ScrollStep{0, 0, 0}}}));
    EXPECT_EQ(g->count("SELECT * FROM KVR_40 WHERE Group1 = 0 AND Display1 = 0 AND File1 = 2 AND Scroll1 = 4"), 1);
    for (int i : {0, 1}) {
        EXPECT_EQ(fetched(i, "3F"), messages);
        EXPECT_EQ(fetched(i, "40"), sequences);
    }
    EXPECT_TRUE(fetched(2, "3F").empty());
    EXPECT_TRUE(fetched(2, "40").empty());
    // Opened again, the grid and the sequence come back from their rows.
    inWindow("menuScrollMSG", "frmScrollMSG", [&](QDialog* w) {
        auto* grid = w->findChild<QTableWidget*>("gridScrollMsg");
        EXPECT_EQ(grid->item(0, 0)->text(), "3");
        EXPECT_EQ(grid->item(1, 1)->text(), "Welcome to Brindale");
        EXPECT_EQ(combos(w, "combPattern")[0]->currentIndex(), 0);  // sequence 1 has no row
        comboBox(w, "combSeqNum")->setCurrentIndex(1);
        EXPECT_EQ(combos(w, "combMSGNo")[0]->currentIndex(), 2);
        EXPECT_EQ(combos(w, "combPattern")[0]->currentIndex(), 4);
        EXPECT_EQ(combos(w, "combSpeed")[0]->currentIndex(), 2);
    });
}

TEST_F(ScrollWindow, TwoRowsWithOneNumberAreRefusedNamingBothAndNothingIsSent) {
    inWindow("menuScrollMSG", "frmScrollMSG", [&](QDialog* w) {
        typeScrollCell(w, 0, 0, "5");
        typeScrollCell(w, 0, 1, "first");
        typeScrollCell(w, 3, 0, "5");
        typeScrollCell(w, 3, 1, "second");
        button(w, "cmdDownloadM")->click();
    });
    ASSERT_EQ(messagesShown().size(), 1u);
    EXPECT_EQ(messagesShown()[0], "lines 1 and 4 both have the number 5");
    EXPECT_EQ(g->count("SELECT * FROM KVR_3F"), 0);
    EXPECT_TRUE(fetched(0, "3F").empty());
}

// A table of more messages than the grid's ten rows loses none of them to a save.
TEST_F(ScrollWindow, MoreMessagesThanTenRowsAreAllShownAndKeptBySavingOne) {
    for (int n = 1; n <= 12; ++n)
        db().exec("INSERT INTO KVR_3F (Number, Data, Is_Selected) VALUES (" + std::to_string(n) + ", 'message " +
                  std::to_string(n) + "', 0)");
    inWindow("menuScrollMSG", "frmScrollMSG", [&](QDialog* w) {
        auto* grid = w->findChild<QTableWidget*>("gridScrollMsg");
        ASSERT_EQ(grid->rowCount(), 12);
        EXPECT_EQ(grid->item(11, 1)->text(), "message 12");
        grid->item(0, 1)->setText("changed");
        button(w, "cmdSaveM")->click();
    });
    EXPECT_EQ(g->count("SELECT * FROM KVR_3F"), 12);
    EXPECT_EQ(g->count("SELECT * FROM KVR_3F WHERE Number = 1 AND Data = 'changed'"), 1);
    EXPECT_EQ(g->count("SELECT * FROM KVR_3F WHERE Number = 11 AND Data = 'message 11'"), 1);
    EXPECT_EQ(g->count("SELECT * FROM KVR_3F WHERE Number = 12 AND Data = 'message 12'"), 1);
}

// Qt's item delegates commit a cell on Return only once the event loop runs again, so a save that
// followed at once (a click, or the dialog's default button taking that Return) read the old
// text of a filled cell. The editor now writes every change into its cell as it is typed.
TEST_F(ScrollWindow, TypingIntoFilledCellsChangesThemAtOnceAndASaveTakesThem) {
    db().exec("INSERT INTO KVR_3F (Number, Data, Is_Selected) VALUES (4, 'old text', 0), (5, 'keep', 0)");
    inWindow("menuScrollMSG", "frmScrollMSG", [&](QDialog* w) {
        auto* grid = w->findChild<QTableWidget*>("gridScrollMsg");
        ASSERT_EQ(grid->item(0, 1)->text(), "old text");
        typeScrollCell(w, 0, 1, "new text");
        EXPECT_EQ(grid->item(0, 1)->text(), "new text");
        typeScrollCell(w, 0, 0, "14");
        EXPECT_EQ(grid->item(0, 0)->text(), "14");
        // Typed, still in the cell, and saved.
        typeScrollCell(w, 1, 1, "kept no more", false);
        EXPECT_EQ(grid->item(1, 1)->text(), "kept no more");
        button(w, "cmdSaveM")->click();
    });
    EXPECT_TRUE(messagesShown().empty());
    EXPECT_EQ(g->count("SELECT * FROM KVR_3F"), 2);
    EXPECT_EQ(g->count("SELECT * FROM KVR_3F WHERE Number = 14 AND Data = 'new text'"), 1);
    EXPECT_EQ(g->count("SELECT * FROM KVR_3F WHERE Number = 5 AND Data = 'kept no more'"), 1);
}

}  // namespace
}  // namespace brindale::testing
