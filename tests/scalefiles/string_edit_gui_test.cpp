// frmStringEdit offscreen, driven by its control names: append, insert, delete, the font list,
// the keyboard, OK giving the block, Cancel giving nothing, and the warnings.
#include <gtest/gtest.h>

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTableWidget>
#include <QTest>

#include "codec/code_page.h"
#include "hierarchy/gui_support.h"
#include "scalefiles/ui/string_edit.h"
#include "shell/lifecycle.h"
#include "shell/messages.h"
#include "string_edit_support.h"

using namespace brindale;
using namespace brindale::scalefiles;
using namespace brindale::testing;
using Block = std::vector<uint8_t>;

namespace {

// Messages are recorded and answered with `answer` (Yes or OK unless a test says otherwise).
struct Answers {
    std::vector<std::string> shown;
    shell::MsgResult yesNo = shell::MsgResult::Yes;
    Answers() {
        shell::Messages::setResponder([this](const shell::MessageRecord& r) {
            shown.push_back(r.text.toStdString());
            return r.buttons == shell::MsgButtons::YesNo ? yesNo : shell::MsgResult::Ok;
        });
    }
};

template <class T>
T* child(QWidget* f, const char* name) {
    T* w = f->findChild<T*>(name);
    EXPECT_NE(w, nullptr) << name;
    return w;
}

QTableWidget* grid(QWidget* f) { return child<QTableWidget>(f, "gridString"); }
QLineEdit* txtGrid(QWidget* f) { return child<QLineEdit>(f, "txtGrid"); }
QComboBox* cobFont(QWidget* f) { return child<QComboBox>(f, "CobFont"); }
QPushButton* cmd(QWidget* f, const char* name) { return child<QPushButton>(f, name); }

std::vector<std::string> gridTexts(QWidget* f, int column) {
    std::vector<std::string> v;
    for (int r = 0; r < grid(f)->rowCount(); ++r) v.push_back(grid(f)->item(r, column)->text().toStdString());
    return v;
}

std::vector<TextLine> readLines(const Block& b, const shell::ProgramState& s) {
    return linesFromBlock(b, *s.codePage).lines;
}

std::vector<std::string> texts(const std::vector<TextLine>& lines) {
    std::vector<std::string> v;
    for (const auto& l : lines) v.push_back(l.text);
    return v;
}

// The form shown and active, so that focus and keys behave as for a person.
void showForm(FrmStringEdit& f) {
    f.show();
    f.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&f));
}

void typeLine(FrmStringEdit& f, const QString& text) {
    ASSERT_TRUE(txtGrid(&f)->isVisible());
    txtGrid(&f)->selectAll();
    QTest::keyClicks(txtGrid(&f), text);
    QTest::keyClick(txtGrid(&f), Qt::Key_Return);
}

}  // namespace

TEST(StringEditGui, OpensWithTheBlocksLinesFontsAndCaptions) {
    EditorState e;
    FrmStringEdit f(e.state, kCommodityText, readLines(Block{0x10, 2, 'A', 'B', 0x0D, 0x12, 1, 'C', 0x0C}, e.state));
    EXPECT_EQ(f.objectName(), "frmStringEdit");
    EXPECT_EQ(f.windowTitle().toStdString(), e.text("frmStringEdit", "frmStrTitle"));
    EXPECT_EQ(cmd(&f, "cmdAppend")->text().toStdString(), e.text("frmStringEdit", "frmStrAppend"));
    EXPECT_EQ(cmd(&f, "cmdInsert")->text().toStdString(), e.text("frmStringEdit", "frmStrInsert"));
    EXPECT_EQ(cmd(&f, "cmdDelete")->text().toStdString(), e.text("frmStringEdit", "frmStrDelete"));
    EXPECT_EQ(cmd(&f, "cmdOK")->text().toStdString(), e.text("frmStringEdit", "frmStrOK"));
    EXPECT_EQ(cmd(&f, "cmdCancel")->text().toStdString(), e.text("frmStringEdit", "frmStrCancel"));
    EXPECT_EQ(gridTexts(&f, 0), (std::vector<std::string>{"AB", "C"}));
    EXPECT_EQ(gridTexts(&f, 1), (std::vector<std::string>{"J1", "J3"}));
    EXPECT_EQ(child<QLabel>(&f, "lblLines")->text().toStdString(),
              shell::fillIn(e.text("frmStringEdit", "frmStrLines"), {"2", "4"}));
    EXPECT_FALSE(child<QLabel>(&f, "lblWarning")->isVisibleTo(&f));
}

TEST(StringEditGui, AnEmptyTextOpensWithOneEmptyLineInTheFirstFont) {
    EditorState e("CP1252", 3);
    FrmStringEdit f(e.state, kSpecialMessageText, {});
    EXPECT_EQ(gridTexts(&f, 0), std::vector<std::string>{""});
    EXPECT_EQ(gridTexts(&f, 1), std::vector<std::string>{"G1"});
    EXPECT_FALSE(cmd(&f, "cmdDelete")->isEnabled());  // nothing to delete
}

TEST(StringEditGui, AppendAddsALineInThePreviousFontAndOpensItForTyping) {
    EditorState e;
    Answers a;
    FrmStringEdit f(e.state, kIngredientText, readLines(Block{0x12, 1, 'A', 0x0C}, e.state));
    showForm(f);
    cmd(&f, "cmdAppend")->click();
    ASSERT_EQ(grid(&f)->rowCount(), 2);
    EXPECT_TRUE(txtGrid(&f)->isVisible());
    EXPECT_TRUE(txtGrid(&f)->hasFocus());
    typeLine(f, "Salt");
    EXPECT_FALSE(txtGrid(&f)->isVisible());
    EXPECT_EQ(gridTexts(&f, 0), (std::vector<std::string>{"A", "Salt"}));
    EXPECT_EQ(gridTexts(&f, 1), (std::vector<std::string>{"J3", "J3"}));
    cmd(&f, "cmdOK")->click();
    EXPECT_EQ(f.result(), QDialog::Accepted);
    ASSERT_TRUE(f.block().has_value());
    EXPECT_EQ(*f.block(), (codec::Bytes(Block{0x12, 1, 'A', 0x0D, 0x12, 4, 'S', 'a', 'l', 't', 0x0C})));
    EXPECT_TRUE(a.shown.empty());
}

TEST(StringEditGui, InsertAddsALineAboveTheCurrentOne) {
    EditorState e;
    FrmStringEdit f(e.state, kSpecialMessageText,
                    readLines(Block{0x10, 1, 'A', 0x0D, 0x11, 1, 'B', 0x0C}, e.state));
    showForm(f);
    grid(&f)->setCurrentCell(1, 0);
    cmd(&f, "cmdInsert")->click();
    typeLine(f, "new");
    EXPECT_EQ(gridTexts(&f, 0), (std::vector<std::string>{"A", "new", "B"}));
    EXPECT_EQ(gridTexts(&f, 1), (std::vector<std::string>{"J1", "J2", "J2"}));  // the font of the line it pushed down
}

TEST(StringEditGui, DeleteTakesTheCurrentLineAndEmptiesTheLastOne) {
    EditorState e;
    FrmStringEdit f(e.state, kSpecialMessageText,
                    readLines(Block{0x10, 1, 'A', 0x0D, 0x11, 1, 'B', 0x0C}, e.state));
    showForm(f);
    grid(&f)->setCurrentCell(0, 0);
    cmd(&f, "cmdDelete")->click();
    EXPECT_EQ(gridTexts(&f, 0), std::vector<std::string>{"B"});
    cmd(&f, "cmdDelete")->click();
    EXPECT_EQ(gridTexts(&f, 0), std::vector<std::string>{""});
    EXPECT_EQ(grid(&f)->rowCount(), 1);
    EXPECT_FALSE(cmd(&f, "cmdDelete")->isEnabled());
    cmd(&f, "cmdOK")->click();
    EXPECT_EQ(f.result(), QDialog::Accepted);
    ASSERT_TRUE(f.block().has_value());
    EXPECT_FALSE(f.block()->has_value());  // an empty text: a Null column
}

TEST(StringEditGui, AppendAndInsertStopAtTheLineLimitOfEachKind) {
    struct Case {
        int kind, scaleType, country, limit;
    };
    for (Case c : {Case{kCommodityText, 1, 0, 4}, Case{kSpecialMessageText, 1, 0, 30},
                   Case{kIngredientText, 0, 0, 15}, Case{kIngredientText, 0, 26, 99},
                   Case{kIngredientText, 1, 0, 99}}) {
        EditorState e("CP1252", c.country, c.scaleType);
        FrmStringEdit f(e.state, c.kind, readLines(Block{0x01, 1, 'A', 0x0C}, e.state));
        EXPECT_EQ(f.lineLimit(), c.limit);
        for (int i = 0; i < 120 && cmd(&f, "cmdAppend")->isEnabled(); ++i) {
            if (i % 2) cmd(&f, "cmdAppend")->click();
            else cmd(&f, "cmdInsert")->click();
        }
        EXPECT_EQ(grid(&f)->rowCount(), c.limit) << "kind " << c.kind << " country " << c.country;
        EXPECT_FALSE(cmd(&f, "cmdInsert")->isEnabled());
        // Run directly, the commands do nothing beyond the limit either.
        f.cmdAppend();
        f.cmdInsert();
        EXPECT_EQ(grid(&f)->rowCount(), c.limit);
        EXPECT_EQ(f.lines().size(), static_cast<std::size_t>(c.limit));
    }
}

TEST(StringEditGui, ABlockWithMoreLinesThanTheKindHoldsIsRefusedAtOk) {
    EditorState e;
    Answers a;
    std::vector<TextLine> five;
    for (int i = 0; i < 5; ++i) five.push_back(TextLine::typed(0x10, "L" + std::to_string(i)));
    FrmStringEdit f(e.state, kCommodityText, five);
    EXPECT_FALSE(cmd(&f, "cmdAppend")->isEnabled());
    f.cmdOK();
    EXPECT_NE(f.result(), QDialog::Accepted);
    EXPECT_FALSE(f.block().has_value());
    EXPECT_EQ(a.shown, std::vector<std::string>{shell::fillIn(e.text("frmStringEdit", "frmStrTooMany"), {"5", "4"})});
    grid(&f)->setCurrentCell(4, 0);
    f.cmdDelete();
    f.cmdOK();
    EXPECT_EQ(f.result(), QDialog::Accepted);
    EXPECT_EQ(readLines(**f.block(), e.state).size(), 4u);
}

TEST(StringEditGui, FontsOfCountry0Country3AndCountry37InCobFont) {
    struct Case {
        int country;
        std::vector<std::string> names;
        int pick;      // position chosen
        uint8_t code;  // the code it stores
    };
    for (const Case& c : {Case{0, {"J1", "J2", "J3", "J4"}, 3, 0x13}, Case{3, {"G1", "G2", "G3", "G4", "G5", "G6"}, 2, 0x14},
                          Case{37, {"T1", "T2", "T3"}, 1, 0x1F}}) {
        EditorState e("CP1252", c.country);
        FrmStringEdit f(e.state, kCommodityText, readLines(Block{fontsFor(c.country)[0].code, 1, 'A', 0x0C}, e.state));
        showForm(f);
        grid(&f)->setCurrentCell(0, 1);
        grid(&f)->setFocus();
        QTest::keyClick(grid(&f), Qt::Key_Return);
        QComboBox* font = cobFont(&f);
        ASSERT_TRUE(font->isVisible()) << c.country;
        std::vector<std::string> offered;
        for (int i = 0; i < font->count(); ++i) offered.push_back(font->itemText(i).toStdString());
        EXPECT_EQ(offered, c.names) << c.country;
        font->setCurrentIndex(c.pick);
        QTest::keyClick(font, Qt::Key_Return);
        EXPECT_FALSE(font->isVisible());
        EXPECT_EQ(grid(&f)->item(0, 1)->text().toStdString(), c.names[static_cast<std::size_t>(c.pick)]);
        f.cmdOK();
        ASSERT_TRUE(f.block() && *f.block());
        EXPECT_EQ((**f.block())[0], c.code) << c.country;
    }
}

TEST(StringEditGui, AFontCodeNotInTheListShowsAsSuchAndIsKept) {
    EditorState e("CP1252", 0);
    FrmStringEdit f(e.state, kCommodityText, readLines(Block{0x30, 1, 'A', 0x0D, 0x10, 1, 'B', 0x0C}, e.state));
    const std::string shown = shell::fillIn(e.text("frmStringEdit", "frmStrNotInList"), {"0x30"});
    EXPECT_EQ(gridTexts(&f, 1), (std::vector<std::string>{shown, "J1"}));
    showForm(f);
    grid(&f)->setCurrentCell(0, 1);
    f.editCurrentCell();
    ASSERT_EQ(cobFont(&f)->count(), 5);
    EXPECT_EQ(cobFont(&f)->currentText().toStdString(), shown);
    QTest::keyClick(cobFont(&f), Qt::Key_Escape);
    f.cmdOK();
    ASSERT_TRUE(f.block() && *f.block());
    EXPECT_EQ(**f.block(), (Block{0x30, 1, 'A', 0x0D, 0x10, 1, 'B', 0x0C}));
}

TEST(StringEditGui, KeyboardEditsInsertsDeletesAndCancels) {
    EditorState e;
    Answers a;
    FrmStringEdit f(e.state, kSpecialMessageText, readLines(Block{0x10, 1, 'A', 0x0C}, e.state));
    showForm(f);
    QTableWidget* g = grid(&f);
    g->setFocus();
    g->setCurrentCell(0, 0);
    QTest::keyClick(g, Qt::Key_F2);  // F2 opens the cell
    ASSERT_TRUE(txtGrid(&f)->isVisible());
    EXPECT_EQ(txtGrid(&f)->text(), "A");
    QTest::keyClicks(txtGrid(&f), "First");
    QTest::keyClick(txtGrid(&f), Qt::Key_Return);
    EXPECT_EQ(gridTexts(&f, 0), std::vector<std::string>{"First"});
    EXPECT_TRUE(g->hasFocus());

    QTest::keyClick(g, Qt::Key_Insert);  // Insert adds a line above and opens it
    ASSERT_TRUE(txtGrid(&f)->isVisible());
    QTest::keyClicks(txtGrid(&f), "Top");
    QTest::keyClick(txtGrid(&f), Qt::Key_Down);  // Down keeps the typing and moves on
    EXPECT_EQ(gridTexts(&f, 0), (std::vector<std::string>{"Top", "First"}));
    EXPECT_EQ(g->currentRow(), 1);

    QTest::keyClick(g, Qt::Key_Return);  // Enter opens the cell too
    QTest::keyClicks(txtGrid(&f), "dropped");
    QTest::keyClick(txtGrid(&f), Qt::Key_Escape);  // Escape in the cell drops the typing only
    EXPECT_TRUE(f.isVisible());
    EXPECT_EQ(gridTexts(&f, 0), (std::vector<std::string>{"Top", "First"}));

    g->setCurrentCell(0, 0);
    QTest::keyClick(g, Qt::Key_Delete);
    EXPECT_EQ(gridTexts(&f, 0), std::vector<std::string>{"First"});

    QTest::keyClick(g, Qt::Key_Escape);  // Escape on the grid cancels the window
    EXPECT_FALSE(f.isVisible());
    EXPECT_EQ(f.result(), QDialog::Rejected);
    EXPECT_FALSE(f.block().has_value());
    EXPECT_TRUE(a.shown.empty());
}

TEST(StringEditGui, ACharacterThePageCannotHoldIsWarnedWhileTypingAndRefusedAtOk) {
    EditorState e("CP1252");
    Answers a;
    FrmStringEdit f(e.state, kCommodityText, readLines(Block{0x10, 1, 'A', 0x0C}, e.state));
    showForm(f);
    cmd(&f, "cmdAppend")->click();
    QTest::keyClicks(txtGrid(&f), "Fresh ");
    txtGrid(&f)->insert(QString::fromUtf8("鲜肉"));  // as an input method would put it
    const std::string expected = shell::fillIn(e.text("frmStringEdit", "frmStrLine"), {"2"}) + " " +
                                 shell::fillIn(e.text("msgbox", "codepageNotHeld"), {"鲜", "CP1252"});
    QLabel* warning = child<QLabel>(&f, "lblWarning");
    EXPECT_TRUE(warning->isVisible());  // while typing, before the cell is left
    EXPECT_EQ(warning->text().toStdString(), expected);
    QTest::keyClick(txtGrid(&f), Qt::Key_Return);
    EXPECT_TRUE(warning->isVisible());
    f.cmdOK();
    EXPECT_EQ(a.shown, std::vector<std::string>{expected});
    EXPECT_TRUE(f.isVisible());
    EXPECT_FALSE(f.block().has_value());
    EXPECT_EQ(grid(&f)->currentRow(), 1);  // back on the line named
    EXPECT_EQ(gridTexts(&f, 0), (std::vector<std::string>{"A", "Fresh 鲜肉"}));  // the typing is kept

    f.editCurrentCell();
    txtGrid(&f)->setText("Fresh meat");
    EXPECT_FALSE(warning->isVisible());
    f.cmdOK();
    EXPECT_EQ(f.result(), QDialog::Accepted);
    EXPECT_EQ(texts(readLines(**f.block(), e.state)), (std::vector<std::string>{"A", "Fresh meat"}));
}

TEST(StringEditGui, ALineOver255BytesIsWarnedAndRefusedNamingTheLine) {
    EditorState e("GBK");
    Answers a;
    FrmStringEdit f(e.state, kIngredientText, readLines(Block{0x10, 1, 'A', 0x0D, 0x10, 1, 'B', 0x0C}, e.state));
    showForm(f);
    grid(&f)->setCurrentCell(1, 0);
    f.editCurrentCell();
    txtGrid(&f)->setText(QString::fromUtf8("面").repeated(128));  // 256 bytes in GBK
    const std::string expected = shell::fillIn(e.text("frmStringEdit", "frmStrTooLong"), {"2", "256", "255"});
    EXPECT_EQ(child<QLabel>(&f, "lblWarning")->text().toStdString(), expected);
    cmd(&f, "cmdOK")->click();
    EXPECT_EQ(a.shown, std::vector<std::string>{expected});
    EXPECT_TRUE(f.isVisible());
    EXPECT_FALSE(f.block().has_value());
    // 255 bytes go: one character less and an ASCII letter.
    f.editCurrentCell();
    txtGrid(&f)->setText(QString::fromUtf8("面").repeated(127) + "x");
    cmd(&f, "cmdOK")->click();
    EXPECT_EQ(f.result(), QDialog::Accepted);
    ASSERT_TRUE(f.block() && *f.block());
    EXPECT_EQ((**f.block())[5], 255);
}

TEST(StringEditGui, AnEmptyFirstLineAboveTextAsksBeforeEmptyingTheText) {
    EditorState e;
    Answers a;
    a.yesNo = shell::MsgResult::No;
    FrmStringEdit f(e.state, kSpecialMessageText, readLines(Block{0x10, 1, 'A', 0x0D, 0x11, 1, 'B', 0x0C}, e.state));
    showForm(f);
    grid(&f)->setCurrentCell(0, 0);
    f.editCurrentCell();
    txtGrid(&f)->clear();
    f.cmdOK();
    EXPECT_EQ(a.shown, std::vector<std::string>{e.text("frmStringEdit", "frmStrFirstEmpty")});
    EXPECT_TRUE(f.isVisible());
    EXPECT_FALSE(f.block().has_value());
    a.yesNo = shell::MsgResult::Yes;
    f.cmdOK();
    EXPECT_EQ(f.result(), QDialog::Accepted);
    ASSERT_TRUE(f.block().has_value());
    EXPECT_FALSE(f.block()->has_value());
}

TEST(StringEditGui, OkGivesTheBlockAndCancelGivesNothingThroughTheModalWindow) {
    EditorState e("GBK", 0);
    Answers a;
    const Block original{0x10, 4, 0xCF, 0xCA, 0xC8, 0xE2, 0x0C};  // 鲜肉
    {
        ModalDriver d("frmStringEdit", [](QDialog* f) {
            auto* form = static_cast<FrmStringEdit*>(f);
            form->cmdAppend();
            child<QLineEdit>(f, "txtGrid")->setText(QString::fromUtf8("熟食"));
            child<QPushButton>(f, "cmdCancel")->click();
        });
        EXPECT_EQ(editTextBlock(e.state, kCommodityText, original), std::nullopt);
        EXPECT_TRUE(d.seen());
    }
    {
        ModalDriver d("frmStringEdit", [](QDialog* f) {
            auto* form = static_cast<FrmStringEdit*>(f);
            form->cmdAppend();
            child<QLineEdit>(f, "txtGrid")->setText(QString::fromUtf8("熟食"));
            child<QPushButton>(f, "cmdOK")->click();
        });
        auto result = editTextBlock(e.state, kCommodityText, original);
        EXPECT_TRUE(d.seen());
        ASSERT_TRUE(result.has_value());
        EXPECT_EQ(*result, (codec::Bytes(Block{0x10, 4, 0xCF, 0xCA, 0xC8, 0xE2, 0x0D, 0x10, 4, 0xCA, 0xEC, 0xCA, 0xB3, 0x0C})));
    }
    EXPECT_TRUE(a.shown.empty());
}

TEST(StringEditGui, ADamagedBlockOpensWithTheLinesThatCanBeReadAfterAMessage) {
    EditorState e;
    Answers a;
    std::vector<std::string> linesSeen;
    ModalDriver d("frmStringEdit", [&](QDialog* f) {
        linesSeen = gridTexts(f, 0);
        child<QPushButton>(f, "cmdCancel")->click();
    });
    const Block damaged{0x10, 1, 'A', 0x0D, 0x11, 9, 'B', 'C'};
    EXPECT_EQ(editTextBlock(e.state, kIngredientText, damaged), std::nullopt);
    EXPECT_TRUE(d.seen());
    EXPECT_EQ(linesSeen, (std::vector<std::string>{"A", "BC"}));
    EXPECT_EQ(a.shown, std::vector<std::string>{
                           shell::fillIn(e.text("frmStringEdit", "frmStrDamaged"), {"PLU_Ingredient", "5"})});
}

TEST(StringEditGui, ChineseCaptions) {
    EditorState e("GBK", 0, 1, 1);
    FrmStringEdit f(e.state, kCommodityText, {});
    EXPECT_EQ(f.windowTitle(), QString::fromUtf8("编辑文本"));
    EXPECT_EQ(cmd(&f, "cmdAppend")->text(), QString::fromUtf8("追加"));
    EXPECT_EQ(child<QLabel>(&f, "lblLines")->text(), QString::fromUtf8("行数：1（最多4行）"));
}

TEST(StringEditGui, TheKeysOfTheButtonsAreInTheirTooltips) {
    EditorState e;
    FrmStringEdit f(e.state, kCommodityText, {});
    EXPECT_TRUE(cmd(&f, "cmdInsert")->toolTip().startsWith(cmd(&f, "cmdInsert")->text()));
    EXPECT_TRUE(cmd(&f, "cmdInsert")->toolTip().contains(QKeySequence(Qt::Key_Insert).toString(QKeySequence::NativeText)));
    EXPECT_TRUE(cmd(&f, "cmdDelete")->toolTip().contains(QKeySequence(Qt::Key_Delete).toString(QKeySequence::NativeText)));
    EXPECT_TRUE(cmd(&f, "cmdCancel")->toolTip().contains(QKeySequence(Qt::Key_Escape).toString(QKeySequence::NativeText)));
    for (const char* b : {"cmdAppend", "cmdInsert", "cmdDelete", "cmdOK", "cmdCancel"})
        EXPECT_FALSE(cmd(&f, b)->isDefault() || cmd(&f, b)->autoDefault()) << b;  // Enter is the grid's
}

TEST(StringEditGui, ANumberThatIsNoKindOpensNoWindow) {
    EditorState e;
    Answers a;
    bool opened = false;
    ModalDriver d("frmStringEdit", [&](QDialog* f) {
        opened = true;
        f->reject();
    });
    EXPECT_EQ(editTextBlock(e.state, 7, codec::Bytes(Block{0x10, 1, 'A', 0x0C})), std::nullopt);
    EXPECT_FALSE(opened);
}
